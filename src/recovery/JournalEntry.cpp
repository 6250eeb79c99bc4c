#include "recovery/JournalEntry.h"

#include <algorithm>
#include <cstring>

#include "base/Text.h"
#include "editing/PasteFormats.h"
#include "editing/SheetOperations.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/RuleLists.h"
#include "recovery/JournalRecords.h"

namespace tally {
namespace {

constexpr u8 ENTRY_VERSION = 1;
constexpr u32 NO_FORMAT = 0x10000;

// ---- tables ---------------------------------------------------------------------------------------

// Rows that have come behind the ones that the journal knows.
void MoveTables(JournalBytes& bytes, Workbook& book, TableSizes sizes) {
    MoveAll(bytes, sizes.externSheets, sizes.names);
    Demand(bytes, sizes.externSheets <= book.externSheets.Count());
    u32 rows = bytes.reading ? 0 : book.externSheets.Count() - sizes.externSheets;
    MoveBetween(bytes, rows, 0, 0xFFFF);
    for (u32 i = 0; i < rows && !bytes.failed; ++i) {
        ExternSheet row = bytes.reading ? ExternSheet() : book.externSheets[sizes.externSheets + i];
        MoveAll(bytes, row.externBook, row.firstSheet, row.lastSheet);
        const u32 at = sizes.externSheets + i;
        if (bytes.reading && !bytes.failed && at >= book.externSheets.Count())
            bytes.failed = !book.externSheets.Append(row);
    }
    // Names without a formula, which only their users speak of, are not in a file when they are the last ones.
    u32 names = bytes.reading ? 0 : book.names.Count() - sizes.names;
    MoveBetween(bytes, names, 0, 0xFFFF);
    for (u32 i = 0; i < names && !bytes.failed; ++i) {
        DefinedName fresh;
        DefinedName& name = bytes.reading ? fresh : book.names[sizes.names + i];
        MoveAll(bytes, name.text, name.flags, name.sheet);
        if (bytes.reading && !bytes.failed && sizes.names + i >= book.names.Count())
            bytes.failed = !book.names.Append(std::move(fresh));
    }
}

// ---- formats --------------------------------------------------------------------------------------

// The formats that an entry uses, by what they are: the numbers that they have in the book may be others when
// it is read.
struct FormatTable {
    Array<u16> sources;  // as the entry numbers them
    Array<u16> results;  // as the book does
};

void MoveFormatFields(JournalBytes& bytes, CellFormat& f) {
    MoveAll(bytes, f.flags, f.horizontal, f.vertical, f.rotation, f.pattern, f.patternColour, f.backColour,
            f.topStyle, f.topColour, f.leftStyle, f.leftColour, f.bottomStyle, f.bottomColour, f.rightStyle,
            f.rightColour, f.diagonalStyle, f.diagonalColour, f.diagonals, f.layout, f.spare, f.own, f.parent);
}

void MoveFont(JournalBytes& bytes, FontRecord& font) {
    MoveAll(bytes, font.height, font.attributes, font.colour, font.weight, font.underline, font.family,
            font.charSet, font.escapement);
    u8 length = static_cast<u8>(WideView(font.faceName).size());
    MoveBetween(bytes, length, 0, 31);
    if (!bytes.failed) MoveRaw(bytes, font.faceName, length * sizeof(char16_t));
}

bool FindFormat(Workbook& book, CellFormat format, const FontRecord& font, WideView text, u16 wanted,
                u16& result) {
    // Of several equal fonts the one that the format of that number has is meant.
    const bool there = wanted < book.cellFormats.Count();
    if (there && SameFont(ResolveFont(book, book.cellFormats[wanted].font), font))
        format.font = book.cellFormats[wanted].font;
    else if (!FindOrAddFontRecord(book, font, format.font)) return false;
    const bool sameNumber = GetNumberFormatText(book, format.numberFormat) == text;
    if (!sameNumber && !FindOrAddNumberFormat(book, text, format.numberFormat)) return false;
    if (format.parent != STYLE_PARENT && format.parent >= book.cellFormats.Count()) format.parent = 0;
    if (there && std::memcmp(&book.cellFormats[wanted], &format, sizeof format) == 0) {
        result = wanted;
        return true;
    }
    return FindOrAddCellFormat(book, format, result);
}

void MoveFormats(JournalBytes& bytes, Workbook& book, FormatTable& table) {
    u32 count = table.sources.Count();
    MoveBetween(bytes, count, 0, 0xFFFF);
    for (u32 i = 0; i < count && !bytes.failed; ++i) {
        u16 source = bytes.reading ? u16{0} : table.sources[i];
        CellFormat format;
        FontRecord font;
        WideText text;
        if (!bytes.reading) {
            format = ResolveCellFormat(book, source);
            font = ResolveFont(book, format.font);
            bytes.failed = !text.Assign(GetNumberFormatText(book, format.numberFormat));
        }
        MoveAll(bytes, source, format.numberFormat);
        MoveFormatFields(bytes, format);
        MoveFont(bytes, font);
        Move(bytes, text);
        if (!bytes.reading || bytes.failed) continue;
        u16 result = 0;
        bytes.failed = !FindFormat(book, format, font, text, source, result) || !table.sources.Append(source) ||
                       !table.results.Append(result);
    }
}

// Formats stand in ascending order.
void TranslateFormat(JournalBytes& bytes, const FormatTable& table, u16& format) {
    const u16* found = std::lower_bound(table.sources.begin(), table.sources.end(), format);
    const bool known = found != table.sources.end() && *found == format;
    Demand(bytes, known);
    if (known) format = table.results[static_cast<std::size_t>(found - table.sources.begin())];
}

void TranslateFormats(JournalBytes& bytes, const FormatTable& table, AreaContents& contents) {
    for (SavedCell& cell : contents.cells) TranslateFormat(bytes, table, cell.format);
    for (RowInfo& row : contents.rows) TranslateFormat(bytes, table, row.format);
    for (ColumnInfo& column : contents.columns) TranslateFormat(bytes, table, column.format);
}

struct UsedFormats {
    Array<u8> bits;
    bool Start() { return bits.Resize(NO_FORMAT / 8); }
    void Use(u16 format) { bits[format >> 3] = static_cast<u8>(bits[format >> 3] | 1u << (format & 7)); }
};

void NoteFormats(UsedFormats& used, const AreaContents& contents) {
    for (const SavedCell& cell : contents.cells) used.Use(cell.format);
    for (const RowInfo& row : contents.rows) used.Use(row.format);
    for (const ColumnInfo& column : contents.columns) used.Use(column.format);
}

bool ListFormats(const UsedFormats& used, FormatTable& table) {
    for (u32 format = 0; format < NO_FORMAT; ++format)
        if (used.bits[format >> 3] >> (format & 7) & 1 && !table.sources.Append(static_cast<u16>(format)))
            return false;
    return true;
}

// ---- sheets ---------------------------------------------------------------------------------------

// The fields of a sheet that commands change.
void MoveSheetHead(JournalBytes& bytes, Sheet& sheet) {
    SavedView head;
    std::memcpy(head.name, sheet.name, sizeof head.name);
    u8 length = static_cast<u8>(WideView(sheet.name).size());
    i32 hidden = sheet.hidden, zoom = sheet.zoomPercent;
    u16 flags = sheet.viewFlags, width = sheet.defaultColumnWidth, height = sheet.defaultRowHeight,
        password = sheet.passwordHash;
    u8 tab = sheet.tabColour;
    SheetView view = sheet.view;
    MoveBetween(bytes, length, 1, MAX_SHEET_NAME);
    if (!bytes.failed) MoveRaw(bytes, head.name, length * sizeof(char16_t));
    MoveBetween(bytes, hidden, 0, 2);
    MoveBetween(bytes, zoom, 10, 400);
    MoveAll(bytes, flags, width, height, password, tab);
    MoveAll(bytes, view.activeRow, view.activeColumn, view.selection, view.firstRow, view.firstColumn,
            view.frozenFirstRow, view.frozenFirstColumn, view.splitRow, view.splitColumn);
    if (!bytes.reading || bytes.failed) return;
    const WideView name(head.name, length);
    Demand(bytes, name.find(u'\0') == WideView::npos);
    if (bytes.failed) return;
    // While an entry is read two sheets may have one name: each gets the one that it had at its end.
    if (WideView(sheet.name) != name) bytes.failed = !RenameSheet(sheet, name);
    sheet.hidden = hidden;
    sheet.zoomPercent = zoom;
    sheet.viewFlags = flags;
    sheet.defaultColumnWidth = width;
    sheet.defaultRowHeight = height;
    sheet.passwordHash = password;
    sheet.tabColour = tab;
    sheet.view = view;
}

void MoveBookHead(JournalBytes& bytes, Workbook& book) {
    i32 current = book.currentSheet;
    bool vertical = book.showVerticalScrollBar != 0, horizontal = book.showHorizontalScrollBar != 0,
         tabs = book.showSheetTabs != 0;
    MoveBetween(bytes, current, 0, static_cast<i64>(book.sheets.Count()) - 1);
    MoveAll(bytes, vertical, horizontal, tabs);
    if (!bytes.reading || bytes.failed) return;
    book.currentSheet = current;
    book.showVerticalScrollBar = vertical;
    book.showHorizontalScrollBar = horizontal;
    book.showSheetTabs = tabs;
}

// ---- pieces ---------------------------------------------------------------------------------------

u64 HashOf(const void* raw, std::size_t size) {
    u64 hash = 0xCBF29CE484222325u ^ size;
    const u8* bytes = static_cast<const u8*>(raw);
    for (std::size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 0x100000001B3u;
    return hash;
}

u64 HashOfArrays(const Sheet& sheet) {
    return HashOf(sheet.arrayFormulas.Data(), sheet.arrayFormulas.Count() * sizeof(ArrayEntry)) * 3 +
           HashOf(sheet.dataTables.Data(), sheet.dataTables.Count() * sizeof(DataTable));
}
u64 HashOfMerges(const Sheet& sheet) {
    return HashOf(sheet.mergedAreas.Data(), sheet.mergedAreas.Count() * sizeof(RefArea));
}

// The mask without the lists that the journal has as they are.
bool LeaveOutTold(const Sheet& sheet, Array<ToldLists>& told, u32& mask) {
    if (!(mask & (BLOCK_ARRAYS | BLOCK_MERGES))) return true;
    ToldLists* lists = std::find_if(told.begin(), told.end(),
                                    [&](const ToldLists& each) { return each.serial == sheet.serial; });
    if (lists == told.end()) {
        if (!told.Append({sheet.serial, 0, 0})) return false;
        lists = &told.Last();
    }
    const u64 arrays = HashOfArrays(sheet), merges = HashOfMerges(sheet);
    if (mask & BLOCK_ARRAYS) {
        if (lists->arrays == arrays) mask &= ~u32{BLOCK_ARRAYS};
        lists->arrays = arrays;
    }
    if (mask & BLOCK_MERGES) {
        if (lists->merges == merges) mask &= ~u32{BLOCK_MERGES};
        lists->merges = merges;
    }
    return true;
}

bool WritePiece(JournalBytes& bytes, i32 book, const ChangeNote& note, Array<ToldLists>& told,
                UsedFormats& used) {
    Sheet* sheet = FindSheetBySerial(note.serial);
    AreaContents contents;
    u32 mask = note.mask & JOURNAL_MASK;
    if (!sheet || sheet->book != book || !LeaveOutTold(*sheet, told, mask))
        return !sheet || sheet->book != book;
    if (!(sheet->kind & SHEET_WITH_CELLS)) mask = 0;
    bool good = SaveContents(contents, *sheet, note.area, mask);
    if (good) {
        u16 index = static_cast<u16>(sheet->index);
        Move(bytes, index);
        MoveSheetHead(bytes, *sheet);
        MoveContents(bytes, contents);
        NoteFormats(used, contents);
        good = !bytes.failed;
    }
    FreeContents(contents);
    return good;
}

// What hangs on no area is told for the whole sheet.
bool ReadPiece(JournalBytes& bytes, i32 book, const FormatTable& formats, Array<u16>& renamed) {
    u16 index = 0;
    Move(bytes, index);
    Sheet* sheet = bytes.failed ? nullptr : SheetAt(book, index);
    Demand(bytes, sheet != nullptr);
    if (bytes.failed) return false;
    char16_t before[MAX_SHEET_NAME + 1];
    std::memcpy(before, sheet->name, sizeof before);
    MoveSheetHead(bytes, *sheet);
    if (WideView(before) != WideView(sheet->name) && !renamed.Append(index)) return false;
    AreaContents contents;
    MoveContents(bytes, contents);
    contents.serial = sheet->serial;
    for (SavedRules& rules : contents.rules) rules.serial = sheet->serial;
    Demand(bytes, !contents.mask || (sheet->kind & SHEET_WITH_CELLS));
    if (!bytes.failed) TranslateFormats(bytes, formats, contents);
    const bool good = !bytes.failed && PutContents(contents);
    FreeContents(contents);
    return good;
}

// Each of these sheets alone has its name.
bool AreNamesUnique(i32 book, const Array<u16>& sheets) {
    for (const u16 index : sheets) {
        const Sheet* sheet = SheetAt(book, index);
        for (const Sheet* other : BookAt(book)->sheets)
            if (other != sheet && EqualIgnoringCase(other->name, sheet->name)) return false;
    }
    return true;
}

bool SomethingIsSeen(const Workbook& book) {
    const auto seen = [](const Sheet* sheet) { return sheet->hidden == 0 && sheet->kind != SHEET_MODULE; };
    return std::any_of(book.sheets.begin(), book.sheets.end(), seen);
}

}  // namespace

TableSizes SizesOf(const Workbook& book) { return {book.externSheets.Count(), book.names.Count()}; }

bool WriteJournalEntry(i32 book, std::span<const ChangeNote> notes, TableSizes& sizes, Array<ToldLists>& told,
                       Array<u8>& out) {
    JournalBytes head, pieces;
    FormatTable formats;
    UsedFormats used;
    if (!used.Start()) return false;
    u32 count = 0;
    for (const ChangeNote& note : notes) {
        const std::size_t before = pieces.out.Count();
        if (!WritePiece(pieces, book, note, told, used)) return false;
        count += pieces.out.Count() != before;
    }
    Workbook& workbook = *BookAt(book);
    u8 version = ENTRY_VERSION;
    Move(head, version);
    MoveTables(head, workbook, sizes);
    if (!ListFormats(used, formats)) return false;
    MoveFormats(head, workbook, formats);
    Move(head, count);
    head.failed = head.failed || !head.out.AppendMany(pieces.out.Data(), pieces.out.Count());
    MoveBookHead(head, workbook);
    if (head.failed || !out.AppendMany(head.out.Data(), head.out.Count())) return false;
    sizes = SizesOf(workbook);
    return true;
}

bool ApplyJournalEntry(i32 book, ByteView bytesOfEntry) {
    JournalBytes bytes = ReaderOf(bytesOfEntry);
    Workbook& workbook = *BookAt(book);
    FormatTable formats;
    u8 version = 0;
    Move(bytes, version);
    Demand(bytes, version == ENTRY_VERSION);
    MoveTables(bytes, workbook, {});
    MoveFormats(bytes, workbook, formats);
    Demand(bytes, std::is_sorted(formats.sources.begin(), formats.sources.end()));
    Array<u16> renamed;
    u32 count = 0;
    Move(bytes, count);
    for (u32 i = 0; i < count && !bytes.failed; ++i)
        if (!ReadPiece(bytes, book, formats, renamed)) return false;
    MoveBookHead(bytes, workbook);
    return !bytes.failed && bytes.at == bytes.in.size() && SomethingIsSeen(workbook) &&
           AreNamesUnique(book, renamed);
}

}  // namespace tally
