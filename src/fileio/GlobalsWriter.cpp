#include <algorithm>

#include "fileio/BiffReader.h"
#include "fileio/SaveState.h"

// The globals substream. What stands here is an order of records that a strict reader accepts; many of
// them are the same in every file.

namespace tally {
namespace {

constexpr u16 BOF = 2057, WINDOW1 = 61, CODEPAGE = 66, WRITEACCESS = 92, BOUNDSHEET = 133, COUNTRY = 140,
              TABID = 317;
constexpr u32 SUBSTREAM_GLOBALS = 5;
constexpr std::size_t TABID_ROOM = RECORD_ROOM;
constexpr std::size_t USER_NAME_MOST = 54, USER_NAME_MOST_95 = 31;  // characters; bytes

// A record of two bytes, or of none.
struct FixedRecord {
    u16 id;
    i32 value;  // -1: the record is empty
};

constexpr FixedRecord protection8[] = {{156, 14}, {25, 0}, {18, 0}, {19, 0}, {431, 0}, {444, 0}};
constexpr FixedRecord protection95[] = {{25, 0}, {18, 0}, {19, 0}};
constexpr FixedRecord interface95[] = {{225, -1}, {193, 0}, {191, -1}, {192, -1}, {226, -1}};
constexpr FixedRecord backup[] = {{64, 0}, {141, 0}};
constexpr FixedRecord refresh8[] = {{439, 0}, {218, 0}};

void WriteFixed(SaveState& save, std::span<const FixedRecord> rows) {
    for (const FixedRecord& row : rows) {
        if (row.value < 0) {
            WriteEmptyRecord(save.writer, row.id);
        } else {
            WriteRecordU16(save.writer, row.id, static_cast<u32>(row.value));
        }
    }
}

// The user's name in the form of the file; `codePage` is that of a narrow one. False when memory fails.
bool UserNameText(const Workbook& book, WideText& out) {
    const ByteView bytes = book.userName.Span().subspan(1);
    const u8 kind = book.userName[0];
    if (kind == USER_NAME_NARROW)
        return ReadBiffString(bytes, 7, book.codePage, book.userNameLength, out) != STRING_FAILED;
    return ReadBiffString(book.userName.Span(), 8, book.codePage, book.userNameLength, out) != STRING_FAILED;
}

// The user's name as it was read, filled up with blanks; one of the other form by its characters.
void WriteUserName(SaveState& save) {
    const Workbook& book = SavedBook(save);
    if (!book.userNameLength || book.userName.IsEmpty()) return;
    const bool wide = save.biffVersion == 8;
    const std::size_t length = wide ? 112 : 32;
    BeginBody(save);
    if (wide == (book.userName[0] != USER_NAME_NARROW)) {
        if (wide) WriteU16(save.body, book.userNameLength);
        else WriteU8(save.body, book.userNameLength);
        const ByteView raw = book.userName.Span().subspan(wide ? 0 : 1);
        WriteBytes(save.body, raw.data(), std::min(raw.size(), length - (wide ? 2 : 1)));
    } else {
        WideText name;
        save.writer.failed = save.writer.failed || !UserNameText(book, name);
        const WideView cut = CutText(save, name, wide ? USER_NAME_MOST : USER_NAME_MOST_95);
        if (wide) {
            WriteLongString(save, save.body, cut);
        } else {
            const ByteView bytes = NarrowText(save, cut, USER_NAME_MOST_95);
            WriteU8(save.body, static_cast<u32>(bytes.size()));
            WriteBytes(save.body, bytes.data(), bytes.size());
        }
    }
    while (!save.body.failed && save.body.stream.Count() < length) WriteU8(save.body, ' ');
    IgnoreFailure(EndBody(save, WRITEACCESS));
}

void WriteTabIds(SaveState& save) {
    BeginBody(save);
    for (u32 i = 1; i <= SavedBook(save).sheets.Count(); ++i) WriteU16(save.body, i);
    WriteSplitRecord(save.writer, TABID, save.body.stream.Span(), TABID_ROOM, TABID_ROOM);
    save.writer.failed = save.writer.failed || save.body.failed;
}

void WriteWindow1(SaveState& save) {
    const Workbook& book = SavedBook(save);
    u8* out = BeginRecord(save.writer, WINDOW1, 18);
    const u32 flags = (book.showHorizontalScrollBar ? 8u : 0u) | (book.showVerticalScrollBar ? 16u : 0u) |
                      (book.showSheetTabs ? 32u : 0u);
    const u32 words[] = {0, 0, 15315, 8970, flags, static_cast<u32>(book.currentSheet), 0, 1, 600};
    for (u32 word : words) {
        PutU16(out, word);
        out += 2;
    }
}

u32 SheetType(i32 kind) {
    switch (kind) {
        case SHEET_WORKSHEET: return 0;
        case SHEET_MACRO: return 1;
        case SHEET_CHART: return 2;
        default: return 6;
    }
}

void WriteBoundSheets(SaveState& save) {
    for (const Sheet* sheet : SavedBook(save).sheets) {
        // Behind the record's header, filled in when the sheet is written.
        save.writer.failed = save.writer.failed || !save.boundSheets.Append(StreamOffset(save.writer) + 4);
        BeginBody(save);
        WriteU32(save.body, 0);
        WriteU8(save.body, static_cast<u32>(sheet->hidden & 3));
        WriteU8(save.body, SheetType(sheet->kind));
        if (save.biffVersion == 8) {
            WriteShortString(save, save.body, WideView(sheet->name));
        } else {
            WriteShortString(save, save.body, WrittenSheetName(save, sheet->index));
        }
        IgnoreFailure(EndBody(save, BOUNDSHEET));
    }
}

void WriteCountry(SaveState& save) {
    const Workbook& book = SavedBook(save);
    if (book.country[0] || book.country[1])
        WriteRecordU16Pair(save.writer, COUNTRY, book.country[0], book.country[1]);
}

void WriteGlobals8(SaveState& save) {
    const Workbook& book = SavedBook(save);
    BiffWriter& to = save.writer;
    WriteRecordU16(to, 225, book.fileCodePage);
    WriteRecordU16(to, 193, 0);
    WriteEmptyRecord(to, 226);
    WriteUserName(save);
    WriteRecordU16(to, CODEPAGE, book.fileCodePage);
    WriteRecordU16(to, 353, 0);
    WriteTabIds(save);
    WriteFixed(save, protection8);
    WriteWindow1(save);
    WriteFixed(save, backup);
    WriteRecordU16(to, 34, book.date1904 != 0);
    WriteRecordU16(to, 14, 1);
    WriteFixed(save, refresh8);
    WriteFontsAndFormats(save);
    WriteRecordU16(to, 352, 1);
    WriteBoundSheets(save);
    WriteCountry(save);
    WriteExternBooks(save);
    WriteNames(save);
    WriteStringTable(save);
}

void WriteGlobals95(SaveState& save) {
    const Workbook& book = SavedBook(save);
    BiffWriter& to = save.writer;
    WriteFixed(save, interface95);
    WriteUserName(save);
    // All texts of this form are in the page that is named here.
    WriteRecordU16(to, CODEPAGE, save.codePage);
    WriteRecordU16(to, 156, 14);
    // The table of the globals holds what any token string of the book needs.
    for (const DefinedName& name : book.names) {
        CollectLinks(save, name.tokens);
        if (name.sheet) OwnSheetEntry(save, name.sheet - 1);
    }
    for (const Sheet* sheet : book.sheets) CollectSheetLinks(save, *sheet);
    WriteLinkTable(save);
    WriteNames(save);
    WriteFixed(save, protection95);
    WriteWindow1(save);
    WriteFixed(save, backup);
    WriteRecordU16(to, 34, book.date1904 != 0);
    WriteRecordU16(to, 14, 1);
    WriteRecordU16(to, 218, 0);
    WriteFontsAndFormats(save);
    WriteBoundSheets(save);
    WriteCountry(save);
    ClearLinkTable(save);
}

}  // namespace

void WriteBof(SaveState& save, u32 type) {
    if (save.biffVersion == 8) {
        u8* out = BeginRecord(save.writer, BOF, 16);
        PutU16(out, 1536);
        PutU16(out + 2, type);
        PutU16(out + 4, 5618);
        PutU16(out + 6, 1996);
        PutU32(out + 8, 73);
        PutU32(out + 12, 6);
        return;
    }
    u8* out = BeginRecord(save.writer, BOF, 8);
    PutU16(out, type == SUBSTREAM_GLOBALS ? 1280 : 1536);
    PutU16(out + 2, type);
    PutU16(out + 4, 6818);
    PutU16(out + 6, 1996);
}

void WriteGlobals(SaveState& save) {
    WriteBof(save, SUBSTREAM_GLOBALS);
    if (save.biffVersion == 8) {
        WriteGlobals8(save);
    } else {
        WriteGlobals95(save);
    }
    WriteEof(save.writer);
}

}  // namespace tally
