#include <algorithm>

#include "fileio/biff/BiffReader.h"
#include "fileio/biff/CarriedRecords.h"
#include "fileio/biff/OptionRecords.h"
#include "fileio/biff/SaveState.h"

// The globals substream. What stands here is an order of records that a strict reader accepts; many of
// them are the same in every file.

namespace tally {
namespace {

constexpr std::size_t TABID_ROOM = RECORD_ROOM;
constexpr std::size_t USER_NAME_MOST = 54, USER_NAME_MOST_95 = 31;  // characters; bytes

// A record of two bytes, or of none.
struct FixedRecord {
    u16 id;
    i32 value;  // -1: the record is empty
};

constexpr u16 protection8[] = {RECORD_FNGROUPCOUNT, RECORD_WINDOWPROTECT, RECORD_PROTECT,
                               RECORD_PASSWORD,     RECORD_PROT4REV,      RECORD_PROT4REVPASS};
constexpr u16 protection95[] = {RECORD_WINDOWPROTECT, RECORD_PROTECT, RECORD_PASSWORD};
constexpr FixedRecord interface95[] = {{RECORD_INTERFACEHDR, -1},
                                       {RECORD_MMS, 0},
                                       {RECORD_TOOLBARHDR, -1},
                                       {RECORD_TOOLBAREND, -1},
                                       {RECORD_INTERFACEEND, -1}};
constexpr u16 backup[] = {RECORD_BACKUP, RECORD_HIDEOBJ};
constexpr u16 refresh8[] = {RECORD_REFRESHALL, RECORD_BOOKBOOL};

void WriteFixed(SaveState& save, std::span<const FixedRecord> rows) {
    for (const FixedRecord& row : rows) {
        if (row.value < 0) {
            WriteEmptyRecord(save.writer, row.id);
        } else {
            WriteRecordU16(save.writer, row.id, static_cast<u32>(row.value));
        }
    }
}

void WriteOptions(SaveState& save, std::span<const u16> ids) {
    for (const u16 id : ids) {
        for (const BookOptionRecord& row : bookOptionRecords)
            if (row.id == id) WriteRecordU16(save.writer, id, SavedBook(save).options.*row.field);
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
    IgnoreFailure(EndBody(save, RECORD_WRITEACCESS));
}

// Sheets keep their numbers, which views and others know them by; new ones get numbers above.
void WriteTabIds(SaveState& save) {
    u16 last = 0;
    for (const Sheet* sheet : SavedBook(save).sheets) last = std::max(last, sheet->options.tabId);
    BeginBody(save);
    for (const Sheet* sheet : SavedBook(save).sheets)
        WriteU16(save.body, sheet->options.tabId ? sheet->options.tabId : ++last);
    WriteSplitRecord(save.writer, RECORD_TABID, save.body.stream.Span(), TABID_ROOM, TABID_ROOM);
    save.writer.failed = save.writer.failed || save.body.failed;
}

void WriteWindow1(SaveState& save) {
    const Workbook& book = SavedBook(save);
    constexpr u32 BARS = SHOWS_HORIZONTAL_BAR | SHOWS_VERTICAL_BAR | SHOWS_TABS;
    u8* out = BeginRecord(save.writer, RECORD_WINDOW1, 18);
    u16 words[9];
    std::copy(std::begin(book.options.window), std::end(book.options.window), words);
    words[4] =
        static_cast<u16>((words[4] & ~BARS) | (book.showHorizontalScrollBar ? u32{SHOWS_HORIZONTAL_BAR} : 0u) |
                         (book.showVerticalScrollBar ? u32{SHOWS_VERTICAL_BAR} : 0u) |
                         (book.showSheetTabs ? u32{SHOWS_TABS} : 0u));
    words[5] = static_cast<u16>(book.currentSheet);
    if (words[6] >= book.sheets.Count()) words[6] = 0;  // the first tab that is seen
    words[7] = 1;                                       // of the sheets only the current one is selected
    for (u32 i = 0; i < std::size(words); ++i) PutU16(out + i * 2, words[i]);
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
        WriteU8(save.body, static_cast<u32>(sheet->hidden & SHEET_STATE_BITS));
        WriteU8(save.body, SheetType(sheet->kind));
        if (save.biffVersion == 8) {
            WriteShortString(save, save.body, WideView(sheet->name));
        } else {
            WriteShortString(save, save.body, WrittenSheetName(save, sheet->index));
        }
        IgnoreFailure(EndBody(save, RECORD_BOUNDSHEET));
    }
}

void WriteCountry(SaveState& save) {
    const Workbook& book = SavedBook(save);
    if (book.country[0] || book.country[1])
        WriteRecordU16Pair(save.writer, RECORD_COUNTRY, book.country[0], book.country[1]);
}

// Behind each group stands what was carried there.
void Close(SaveState& save, u16 place) { WriteCarried(save, nullptr, place); }

void WriteDates(SaveState& save) {
    WriteRecordU16(save.writer, RECORD_DATEMODE, SavedBook(save).date1904 != 0);
    WriteRecordU16(save.writer, RECORD_PRECISION, SavedBook(save).options.precision);
}

// The window, and what stands between it and the fonts.
void WriteWindowGroup(SaveState& save) {
    WriteWindow1(save);
    Close(save, GLOBALS_WINDOW);
    WriteOptions(save, backup);
    Close(save, GLOBALS_BACKUP);
    WriteDates(save);
}

void WriteSheetGroup(SaveState& save) {
    WriteBoundSheets(save);
    Close(save, GLOBALS_SHEETS);
    WriteCountry(save);
    Close(save, GLOBALS_COUNTRY);
}

void WriteGlobals8(SaveState& save) {
    const Workbook& book = SavedBook(save);
    BiffWriter& to = save.writer;
    WriteRecordU16(to, RECORD_INTERFACEHDR, book.fileCodePage);
    WriteRecordU16(to, RECORD_MMS, 0);
    WriteEmptyRecord(to, RECORD_INTERFACEEND);
    Close(save, GLOBALS_INTERFACE);
    WriteUserName(save);
    Close(save, GLOBALS_USER);
    WriteRecordU16(to, RECORD_CODEPAGE, book.fileCodePage);
    WriteRecordU16(to, RECORD_DSF, 0);
    Close(save, GLOBALS_CODE_PAGE);
    WriteTabIds(save);
    Close(save, GLOBALS_TABS);
    WriteOptions(save, protection8);
    Close(save, GLOBALS_PROTECTION);
    WriteWindowGroup(save);
    WriteOptions(save, refresh8);
    Close(save, GLOBALS_DATES);
    WriteFontsAndFormats(save);
    WriteRecordU16(to, RECORD_USESELFS, book.options.selfNames);
    Close(save, GLOBALS_SELF_NAMES);
    WriteSheetGroup(save);
    WriteExternBooks(save);
    Close(save, GLOBALS_LINKS);
    WriteNames(save);
    Close(save, GLOBALS_NAMES);
    Close(save, GLOBALS_DRAWINGS);
    WriteStringTable(save);
    Close(save, GLOBALS_STRINGS);
}

void WriteGlobals95(SaveState& save) {
    const Workbook& book = SavedBook(save);
    BiffWriter& to = save.writer;
    WriteFixed(save, interface95);
    Close(save, GLOBALS_INTERFACE);
    WriteUserName(save);
    Close(save, GLOBALS_USER);
    // All texts of this form are in the page that is named here.
    WriteRecordU16(to, RECORD_CODEPAGE, save.codePage);
    Close(save, GLOBALS_CODE_PAGE);
    Close(save, GLOBALS_TABS);
    WriteRecordU16(to, RECORD_FNGROUPCOUNT, book.options.functionGroups);
    // The table of the globals holds what any token string of the book needs.
    for (const DefinedName& name : book.names) {
        CollectLinks(save, name.tokens);
        if (name.sheet) OwnSheetEntry(save, name.sheet - 1);
    }
    for (const Sheet* sheet : book.sheets) CollectSheetLinks(save, *sheet);
    WriteLinkTable(save);
    Close(save, GLOBALS_LINKS);
    WriteNames(save);
    Close(save, GLOBALS_NAMES);
    WriteOptions(save, protection95);
    Close(save, GLOBALS_PROTECTION);
    WriteWindowGroup(save);
    WriteRecordU16(to, RECORD_BOOKBOOL, book.options.saveNoLinks);
    Close(save, GLOBALS_DATES);
    WriteFontsAndFormats(save);
    Close(save, GLOBALS_SELF_NAMES);
    WriteSheetGroup(save);
    Close(save, GLOBALS_DRAWINGS);
    Close(save, GLOBALS_STRINGS);
    ClearLinkTable(save);
}

}  // namespace

void WriteBof(SaveState& save, u32 type) {
    if (save.biffVersion == 8) {
        u8* out = BeginRecord(save.writer, RECORD_BOF, 16);
        PutU16(out, 1536);
        PutU16(out + 2, type);
        PutU16(out + 4, 5618);
        PutU16(out + 6, 1996);
        PutU32(out + 8, 73);
        PutU32(out + 12, 6);
        return;
    }
    u8* out = BeginRecord(save.writer, RECORD_BOF, 8);
    PutU16(out, type == SUBSTREAM_GLOBALS ? 1280 : 1536);
    PutU16(out + 2, type);
    PutU16(out + 4, 6818);
    PutU16(out + 6, 1996);
}

void WriteGlobals(SaveState& save) {
    WriteBof(save, SUBSTREAM_GLOBALS);
    WriteCarried(save, nullptr, GLOBALS_BEGIN);
    if (save.biffVersion == 8) {
        WriteGlobals8(save);
    } else {
        WriteGlobals95(save);
    }
    WriteEof(save.writer);
}

}  // namespace tally
