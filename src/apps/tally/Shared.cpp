#include <cstdio>

#include "apps/tally/Commands.h"
#include "base/MessageTable.h"
#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "shell/headless/HeadlessPlatform.h"

namespace tally {
namespace {

std::string Narrow(WideView text) {
    std::string out(Utf8Length(text), '\0');
    Utf8FromWide(text, out.data());
    for (char& c : out) {
        if (c == '\n' || c == '\r') c = ' ';
    }
    return out;
}

// The status of a failed open, from the message that was shown.
int StatusOfMessage(WideView text) {
    const WideView pattern = Message(MSG_CANNOT_READ_FILE);
    return text.substr(0, pattern.find(u"%s")) == pattern.substr(0, pattern.find(u"%s")) ? EXIT_FILES
                                                                                         : EXIT_DATA;
}

}  // namespace

int Complain(int status, std::string_view what, WideView detail) {
    std::fflush(stdout);
    const std::string more = Narrow(detail);
    std::fprintf(stderr, "tally: %.*s%s%s\n", static_cast<int>(what.size()), what.data(),
                 what.empty() || more.empty() ? "" : ": ", more.c_str());
    return status;
}

bool OpenInput(const std::string& path, const std::string& form, const Options& options, int& status) {
    WideText wide;
    const u32 flags = OPEN_SILENT_LINKS | (options.updateLinks ? OPEN_UPDATE_LINKS : 0u);
    bool good = WideFromUtf8(wide, path);
    if (good && path == "-") {
        Array<u8> bytes;
        const bool named = !form.empty() && WideFromUtf8(wide, "stdin." + form);
        if (!named) {
            status = Complain(EXIT_USAGE, "standard input needs --from");
            return false;
        }
        if (!Platform().readFile(u"-", bytes)) {
            status = Complain(EXIT_FILES, "cannot read standard input");
            return false;
        }
        good = OpenFileFromMemory(wide, bytes.Span(), flags);
    } else if (good) {
        good = OpenFile(wide, flags);
    }
    if (good) return true;
    const Array<RecordedBox>& boxes = Headless().boxes;
    const WideView text =
        boxes.IsEmpty() ? WideView(u"the file cannot be read to its end") : boxes.Last().text.View();
    status = Complain(StatusOfMessage(text), path, text);
    return false;
}

bool ChooseSheet(const std::string& name, int& status) {
    WideText wide;
    const i32 sheet = WideFromUtf8(wide, name) ? FindSheet(CurrentBook(), wide) : -1;
    if (sheet >= 0) {
        CurrentWorkbook()->currentSheet = sheet;
        return true;
    }
    status = Complain(EXIT_DATA, "no sheet of that name", wide);
    return false;
}

void RecalculateAll() {
    MarkAllStale();
    CalculateBook(CurrentBook());
}

}  // namespace tally
