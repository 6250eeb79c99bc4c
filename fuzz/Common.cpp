#include "Common.h"

#include <cstdio>
#include <cstdlib>

#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "fileio/OpenFile.h"
#include "fileio/text/TextFiles.h"
#include "formula/Recalculation.h"
#include "functions/FunctionState.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {

void BeginRun() {
    UseHeadlessPlatform();
    Headless().fixedClock = true;
    Headless().clock = {2026, 1, 2, 3, 4, 5, 0};
    Headless().filesInMemory = true;
    IgnoreFailure(ReadLocaleSettings());
    IgnoreFailure(CreateWorkbook(nullptr, false));
}

void EndRun(u32 ownReads) {
    // Whatever a book or a text says, no run opens a file that the target itself did not name.
    if (Headless().foreignReads != 0 || Headless().ownReads != ownReads) {
        std::fprintf(stderr, "a file was read: %u foreign, %u own\n", Headless().foreignReads,
                     Headless().ownReads);
        std::abort();
    }
    ResetBooks();
    ResetFormulaEngine();
    ResetFunctions();
    ResetHeadlessPlatform();
}

bool InputText(const u8* data, std::size_t size, WideText& out) {
    return WideFromUtf8(out, {reinterpret_cast<const char*>(data), size});
}

void OpenInput(const u8* data, std::size_t size, WideView name) {
    BeginRun();
    if (OpenFileFromMemory(name, ByteView(data, size), OPEN_SILENT_LINKS)) {
        MarkAllStale();
        CalculateBook(CurrentBook());
        u32 losses = 0;
        IgnoreFailure(SaveText(CurrentBook(), u"out.csv", FILE_CSV, losses));
    }
    EndRun();
}

}  // namespace tally
