#include <cstdlib>

#include "Common.h"
#include "fileio/SaveFile.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/MemoryFiles.h"

// The input is a file of the pocket form. What was read is calculated and written; what was written must be
// read.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    if (size > 1 << 17) return 0;
    BeginRun();
    if (OpenFileFromMemory(u"a.pxl", ByteView(data, size), OPEN_SILENT_LINKS)) {
        MarkAllStale();
        CalculateBook(CurrentBook());
        u32 losses = 0;
        if (!WriteBookFile(CurrentBook(), u"b.pxl", FILE_PXL, losses)) std::abort();
        const MemoryFile* file = FindMemoryFile(u"b.pxl");
        Array<u8> written;
        if (!file || !written.AppendMany(file->bytes.Data(), file->bytes.Count())) std::abort();
        if (!OpenFileFromMemory(u"c.pxl", written.Span(), OPEN_SILENT_LINKS)) std::abort();
    }
    EndRun();
    return 0;
}
