#include <algorithm>
#include <cstdio>

#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "base/MessageTable.h"
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
    u16 message;
    int status;
};
constexpr ReasonRow reasons[] = {
    {READ_MISSING, MSG_TALLY_FILE_MISSING, EXIT_FILES},
    {READ_FOLDER, MSG_TALLY_FILE_IS_FOLDER, EXIT_FILES},
    {READ_NOT_PLAIN, MSG_TALLY_FILE_NOT_PLAIN, EXIT_FILES},
    {READ_NO_ACCESS, MSG_TALLY_FILE_NO_ACCESS, EXIT_FILES},
    {READ_FAILED, MSG_TALLY_FILE_UNREADABLE, EXIT_FILES},
    {READ_NO_ROOM, MSG_TALLY_FILE_TOO_LARGE, EXIT_FILES},
    {READ_UNWANTED, MSG_TALLY_FILE_NO_BOOK, EXIT_DATA},
};

}  // namespace

int ComplainInWords(int status, std::string_view place, WideView text) {
    std::fflush(stdout);
    const std::string first = VisibleBytes(place), more = VisibleBox(text);
    std::fprintf(stderr, "tally: %s%s\n", first.c_str(), more.c_str());
    return status;
}

int ComplainAt(int status, std::string_view place, u16 message, WideView insert) {
    WideText text;
    const bool good = FormatWith(text, Message(message), insert);
    return ComplainInWords(status, place, good ? text.View() : Message(MSG_OUT_OF_MEMORY));
}

int Complain(int status, u16 message, WideView insert) { return ComplainAt(status, {}, message, insert); }

int ComplainOf(int status, u16 message, std::string_view insert) {
    WideText wide;
    if (!WideFromPath(wide, insert)) return Complain(status, MSG_OUT_OF_MEMORY);
    return Complain(status, message, wide);
}

std::string MessageText(u16 message, std::string_view insert) {
    std::string text = Narrow(Message(message));
    const std::size_t cut = text.find("%s");
    if (cut != text.npos) text.replace(cut, 2, insert);
    return text;
}

int TellUnread(const std::string& path, ReadOutcome outcome) {
    for (const ReasonRow& row : reasons) {
        if (row.outcome == outcome) return ComplainOf(row.status, row.message, path);
    }
    const Array<RecordedBox>& boxes = Headless().boxes;
    if (boxes.IsEmpty()) return ComplainOf(EXIT_DATA, MSG_TALLY_FILE_CUT_SHORT, path);
    return ComplainInWords(EXIT_DATA, path + ": ", boxes.Last().text);
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
            status = Complain(EXIT_USAGE, MSG_TALLY_NEEDS_FROM);
            return false;
        }
        if (!Platform().readFile(u"-", bytes)) {
            status = Complain(EXIT_FILES, MSG_TALLY_INPUT_UNREADABLE);
            return false;
        }
        good = OpenFileFromMemory(wide, bytes.Span(), flags);
    } else if (good) {
        good = OpenFile(wide, flags, 0, &outcome);
    }
    if (good) return true;
    status = TellUnread(path, outcome);
    return false;
}

bool ChooseSheet(const std::string& name, int& status) {
    WideText wide;
    const i32 sheet = WideFromUtf8(wide, name) ? FindSheet(CurrentBook(), wide) : -1;
    if (sheet >= 0) {
        CurrentWorkbook()->currentSheet = sheet;
        return true;
    }
    status = Complain(EXIT_DATA, MSG_TALLY_NO_SHEET, wide);
    return false;
}

int FinishLines() {
    if (!FlushLines()) return Complain(EXIT_FILES, MSG_TALLY_OUTPUT_FAILED);
    return EXIT_GOOD;
}

void RecalculateAll() {
    MarkAllStale();
    CalculateBook(CurrentBook());
}

}  // namespace tally
