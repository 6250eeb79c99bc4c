#include <algorithm>
#include <cstdio>

#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "base/Text.h"
#include "fileio/OpenFile.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

std::string Narrow(WideView text) {
    std::string out(Utf8Length(text), '\0');
    Utf8FromWide(text, out.data());
    return out;
}

// One line that does to a terminal what it shows, whatever the name of a file holds.
std::string Visible(WideView text) {
    WideText escaped;
    return AppendEscaped(escaped, text) ? Narrow(escaped) : std::string();
}

std::string VisibleBytes(std::string_view bytes) {
    WideText wide;
    return WideFromPath(wide, bytes) ? Visible(wide) : std::string();
}

// The lines of a box stand beside each other.
std::string VisibleBox(WideView text) {
    std::string out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        out += Visible(text.substr(0, end));
        if (end < text.size()) out += ' ';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return out;
}

struct ReasonRow {
    ReadOutcome outcome;
    const char* text;
    int status;
};
constexpr ReasonRow reasons[] = {
    {READ_MISSING, "no such file", EXIT_FILES},
    {READ_FOLDER, "it is a directory", EXIT_FILES},
    {READ_NOT_PLAIN, "it is no plain file", EXIT_FILES},
    {READ_NO_ACCESS, "it is not readable: access is denied", EXIT_FILES},
    {READ_FAILED, "it cannot be read", EXIT_FILES},
    {READ_NO_ROOM, "it is too large for the memory", EXIT_FILES},
    {READ_UNWANTED, "it is not a workbook", EXIT_DATA},
};

int TellUnopened(const std::string& path, ReadOutcome outcome) {
    const Array<RecordedBox>& boxes = Headless().boxes;
    for (const ReasonRow& row : reasons) {
        if (row.outcome == outcome) return Complain(row.status, path + ": " + row.text);
    }
    const WideView text =
        boxes.IsEmpty() ? WideView(u"the file cannot be read to its end") : boxes.Last().text.View();
    return Complain(EXIT_DATA, path, text);
}

}  // namespace

int Complain(int status, std::string_view what, WideView detail) {
    std::fflush(stdout);
    const std::string first = VisibleBytes(what), more = VisibleBox(detail);
    std::fprintf(stderr, "tally: %s%s%s\n", first.c_str(), first.empty() || more.empty() ? "" : ": ",
                 more.c_str());
    return status;
}

bool OpenInput(const std::string& path, const std::string& form, const Options& options, int& status) {
    WideText wide;
    const u32 flags = OPEN_SILENT_LINKS | (options.updateLinks ? OPEN_UPDATE_LINKS : 0u);
    bool good = WideFromPath(wide, path);
    ReadOutcome outcome = READ_GOOD;
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
        good = OpenFile(wide, flags, 0, &outcome);
    }
    if (good) return true;
    status = TellUnopened(path, outcome);
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

int FinishLines() {
    if (!FlushLines()) return Complain(EXIT_FILES, "cannot write standard output");
    return EXIT_GOOD;
}

void RecalculateAll() {
    MarkAllStale();
    CalculateBook(CurrentBook());
}

}  // namespace tally
