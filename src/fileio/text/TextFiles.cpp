#include "fileio/text/TextFiles.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "base/Text.h"
#include "display/LocaleSettings.h"
#include "fileio/common/Bytes.h"
#include "fileio/text/TextEntry.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr char16_t CR = 13, LF = 10;

// The file's characters with line ends as the fields see them.
struct TextReader {
    WideView text;
    std::size_t at = 0;
    char16_t delimiter = u',';
    WideText field;  // for quoted fields, which are not a part of the text
    bool sawLineFeed = false;

    bool AtEnd() const { return at >= text.size(); }
    // The character at the place, line ends folded: a CR with its LF, and a LF alone, are one CR.
    char16_t Take(bool inQuotes) {
        const char16_t c = text[at++];
        if (c == CR && at < text.size() && text[at] == LF) ++at;
        return c == LF && !inQuotes ? CR : c;
    }
    bool AtFieldEnd() const { return AtEnd() || text[at] == delimiter || text[at] == CR || text[at] == LF; }
};

enum FieldEnd : u8 { FIELD_DELIMITER, FIELD_ROW, FIELD_FILE };

// Passes over what ends a field.
FieldEnd TakeFieldEnd(TextReader& r) {
    if (r.AtEnd()) return FIELD_FILE;
    return r.Take(false) == CR && r.text[r.at - 1] != r.delimiter ? FIELD_ROW : FIELD_DELIMITER;
}

enum FieldResult : u8 { FIELD_READ, FIELD_BAD, FIELD_NO_MEMORY };

// Takes a run of characters that mean nothing inside quotes.
bool TakeOrdinary(TextReader& r) {
    const std::size_t start = r.at;
    while (r.at < r.text.size() && r.text[r.at] != u'"' && r.text[r.at] != CR && r.text[r.at] != LF) ++r.at;
    return r.field.Append(r.text.substr(start, r.at - start));
}

// A field that begins with a quote, into r.field. `quoted`: nothing stood behind the closing quote.
FieldResult ReadQuoted(TextReader& r, bool& quoted) {
    r.field.Truncate(0);
    ++r.at;
    for (;;) {
        if (r.AtEnd()) return FIELD_BAD;
        const char16_t c = r.Take(true);
        if (c == LF) r.sawLineFeed = true;
        if (c == u'"') {
            if (r.AtEnd() || r.text[r.at] != u'"') break;
            ++r.at;
        }
        if (!r.field.Append(c) || !TakeOrdinary(r)) return FIELD_NO_MEMORY;
    }
    quoted = r.AtFieldEnd();
    while (!r.AtFieldEnd()) {
        if (!r.field.Append(r.Take(false))) return FIELD_NO_MEMORY;
    }
    return FIELD_READ;
}

struct TextPlace {
    i32 row = 0;
    i32 column = 0;
};

// Reads one field and stores it; `end` tells what ended it.
FieldResult ReadField(TextReader& r, TextEntry& entry, const TextPlace& place, FieldEnd& end) {
    WideView field;
    bool quoted = false;
    if (!r.AtEnd() && r.text[r.at] == u'"') {
        const FieldResult result = ReadQuoted(r, quoted);
        if (result != FIELD_READ) return result;
        field = r.field;
    } else {
        const std::size_t start = r.at;
        while (!r.AtFieldEnd()) ++r.at;
        field = r.text.substr(start, r.at - start);
    }
    end = TakeFieldEnd(r);
    if (field.empty()) return FIELD_READ;
    return StoreTextEntry(entry, place.row, place.column, field, quoted) ? FIELD_READ : FIELD_NO_MEMORY;
}

FieldResult ReadFields(TextReader& r, TextEntry& entry) {
    TextPlace place;
    while (!r.AtEnd()) {
        if (place.row >= MAX_ROWS || place.column >= MAX_COLUMNS) return FIELD_BAD;
        FieldEnd end = FIELD_FILE;
        const FieldResult result = ReadField(r, entry, place, end);
        if (result != FIELD_READ) return result;
        if (end == FIELD_ROW) {
            ++place.row;
            place.column = 0;
        } else {
            ++place.column;
        }
    }
    return FIELD_READ;
}

void NameSheet(i32 book) {
    const WideView file = FileNameOf(BookAt(book)->path);
    WideView name = file.substr(0, MAX_SHEET_NAME);
    name = name.substr(0, name.rfind(u'.'));
    if (name.empty()) return;
    Sheet& sheet = *SheetAt(book, 0);
    std::fill(std::begin(sheet.name), std::end(sheet.name), u'\0');
    std::copy(name.begin(), name.end(), sheet.name);
}

}  // namespace

bool ReadText(i32 book, ByteView file, FileType type, char16_t delimiter) {
    NameSheet(book);
    const TextCoding coding = CodingOfText(file);
    BookAt(book)->textCodePage = coding.page;
    BookAt(book)->textMark = coding.mark != 0;
    WideText text;
    const u64 failures = FailedAllocations();
    if (!Platform().multiByteToWideChar(coding.page, From(file, coding.mark), text) &&
        FailedAllocations() != failures)
        return false;
    TextReader r;
    r.text = text;
    r.delimiter = delimiter ? delimiter : type == FILE_TXT ? u'\t' : Locale().listSeparator;
    TextEntry entry;
    entry.book = book;
    const FieldResult result = ReadFields(r, entry);
    if (result == FIELD_BAD) ShowMessage(Message(MSG_INVALID_DATA));
    if (result != FIELD_READ) return false;
    BookAt(book)->currentSheet = 0;
    if (r.sawLineFeed) FitRowHeights(book, 0);
    BookAt(book)->dirty = 0;
    return true;
}

bool SaveText(i32 book, WideView path, FileType type, u32& losses) {
    const OutputHandle file = Platform().createFile(path);
    if (!file) {
        ShowMessageWith(Message(MSG_CANNOT_CREATE_FILE), path);
        return false;
    }
    if (!WriteText(book, file, type, losses)) {
        Platform().abandonFile(file);
        ShowMessageWith(Message(MSG_CANNOT_WRITE_FILE), path);
        return false;
    }
    if (Platform().closeFile(file)) return true;
    ShowMessageWith(Message(MSG_CANNOT_WRITE_FILE), path);
    return false;
}

}  // namespace tally
