#include <algorithm>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "fileio/biff/FormatRecords.h"
#include "fileio/biff/FormulaRecords.h"
#include "fileio/biff/LinkRecords.h"
#include "fileio/biff/SheetRecords.h"
#include "fileio/pocket/PocketFiles.h"
#include "fileio/pocket/PocketFormats.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr i32 NO_SHEET_YET = -1;

// A sheet takes memory even when the file spends three bytes on it: beyond this many, a file must be that
// much longer for each.
constexpr u32 FREE_SHEETS = 20000, BYTES_PER_SHEET = 125;

struct PocketReader {
    LoadState& load;  // load.sheet is the sheet that has begun
    ByteView file;
    std::size_t at = 0;
    i32 zoom = 0;  // of the whole book, 0 when the file has none
    PocketFormatReader formats;
    WideText text;  // the text that TakeText gave last
};

bool InSheet(const PocketReader& r) { return SheetAt(r.load.book, r.load.sheet) != nullptr; }

// The next bytes of the file, as many as there are.
ByteView TakeBytes(PocketReader& r, std::size_t count) {
    const ByteView bytes = Part(r.file, r.at, count);
    r.at += count;
    return bytes;
}

// The next `count` characters into r.text.
bool TakeText(PocketReader& r, std::size_t count) {
    return ReadWideCharacters(TakeBytes(r, count * 2), r.text);
}

// ---- cells ------------------------------------------------------------------------------------------------

// A cell from the fields that all cell records begin with. Value and tokens pass on; a cell outside the
// sheets has no place.
bool AddPocketCell(PocketReader& r, ByteView body, Value value, FormulaTokens tokens) {
    if (!InSheet(r)) {
        FreeValue(value);
        FreeTokens(tokens);
        return true;
    }
    const u16 format = PocketCellFormat(LoadedBook(r.load), WordAt(body, 3));
    return AddCell(r.load, WordAt(body, 0), ByteAt(body, 2), format, value, tokens);
}

bool ReadBlankCell(PocketReader& r, ByteView body) { return AddPocketCell(r, body, Value(), FormulaTokens()); }

bool ReadNumber(PocketReader& r, ByteView body) {
    return AddPocketCell(r, body, NumberValue(DoubleAt(body, 5)), FormulaTokens());
}

bool ReadText(PocketReader& r, ByteView body) {
    if (!TakeText(r, WordAt(body, 5))) return false;
    TextBlock* block = MakeText(r.text);
    return block && AddPocketCell(r, body, OwnedTextValue(block), FormulaTokens());
}

bool ReadBoolErr(PocketReader& r, ByteView body) {
    const u8 value = ByteAt(body, 5);
    return AddPocketCell(r, body,
                         ByteAt(body, 6) == 0 ? BoolValue(value != 0) : ErrorValue(ErrorFromBiff(value)),
                         FormulaTokens());
}

bool ReadFormula(PocketReader& r, ByteView body) {
    const u16 row = WordAt(body, 0);
    const u8 column = ByteAt(body, 2);
    const std::size_t length = WordAt(body, 14);
    const ByteView bytes = TakeBytes(r, length);
    FormulaTokens tokens;
    // Tokens that the end of the file cuts off are no formula: the value stays.
    if (InSheet(r) && length && bytes.size() == length &&
        (!WidenPocketTokens(r.load, bytes, false, tokens) || !PlaceOffsets(tokens, row, column))) {
        FreeTokens(tokens);
        return false;
    }
    if (!AddPocketCell(r, body, CachedValue(Part(body, 5, 8)), tokens)) return false;
    if (!InSheet(r)) return true;
    const u16 flags = ByteAt(body, 13) & FORMULA_ALWAYS;
    SetFormulaState(r.load, row, column, flags);
    if (flags) r.load.hasVolatiles = true;
    return true;
}

bool ReadStringValue(PocketReader& r, ByteView body) {
    if (!TakeText(r, WordAt(body, 0))) return false;
    if (!InSheet(r) || !r.load.lastCellKnown) return true;
    if (!ReplaceLastText(r.load, r.text)) return false;
    CellRecord* cell = GetCell(LoadedSheet(r.load).cells, r.load.lastCell.row, r.load.lastCell.column);
    if (cell) cell->calcState = CALC_CURRENT;
    return true;
}

// ---- the book -----------------------------------------------------------------------------------------------

bool ReadBof(PocketReader& r, ByteView body) {
    Workbook& book = LoadedBook(r.load);
    const u16 type = WordAt(body, 2);
    if (type == SUBSTREAM_GLOBALS) book.biffVersion = 8;
    if (type != SUBSTREAM_SHEET) return true;
    if (r.load.sheet < static_cast<i32>(book.sheets.Count())) ++r.load.sheet;
    r.load.lastCellKnown = false;
    return true;
}

bool ReadEof(PocketReader&, ByteView) { return true; }

bool RefusePassword(PocketReader&, ByteView) {
    ShowMessage(Message(MSG_PASSWORD_PROTECTED));
    return false;
}

bool ReadDefinedName(PocketReader& r, ByteView body) {
    if (!TakeText(r, ByteAt(body, 2))) return false;
    const std::size_t length = WordAt(body, 3);
    const ByteView bytes = TakeBytes(r, length);
    FormulaTokens tokens;
    if (length && bytes.size() == length && !WidenPocketTokens(r.load, bytes, true, tokens)) return false;
    DefinedName* name = LoadedBook(r.load).names.AppendDefault();
    if (!name) {
        FreeTokens(tokens);
        return false;
    }
    name->tokens = tokens;
    name->flags = static_cast<u16>(WordAt(body, 0) & ~NAME_IS_BUILT_IN);
    name->sheet = static_cast<u16>(WordAt(body, 5) + 1);
    name->text = std::move(r.text);
    return true;
}

bool ReadNumberFormat(PocketReader& r, ByteView body) {
    return TakeText(r, ByteAt(body, 0)) && ReadPocketFormat(r.load, r.formats, r.text);
}

bool ReadFontRecord(PocketReader& r, ByteView body) {
    return TakeText(r, ByteAt(body, 14)) && ReadFont(r.load, FONT_OF_HANDHELDS, body, r.text);
}

bool ReadCellFormat(PocketReader& r, ByteView body) { return ReadPocketXf(r.load, r.formats, body); }

bool ReadActiveSheet(PocketReader& r, ByteView body) {
    r.load.activeTab = WordAt(body, 2);
    return true;
}

bool ReadPage(PocketReader& r, ByteView body) {
    ReadCodePage(r.load, body);
    return true;
}

bool ReadSheetName(PocketReader& r, ByteView body) {
    if (!TakeText(r, ByteAt(body, 1))) return false;
    if (r.load.boundSheets >= std::min<std::size_t>(FREE_SHEETS + r.file.size() / BYTES_PER_SHEET, MAX_SHEETS))
        return true;
    return AddBoundSheet(r.load, r.text, SHEET_WORKSHEET, 0);
}

bool ReadCountry(PocketReader& r, ByteView body) {
    LoadedBook(r.load).country[0] = WordAt(body, 0);
    LoadedBook(r.load).country[1] = WordAt(body, 2);
    return true;
}

bool ReadScale(PocketReader& r, ByteView body) {
    const i32 percent = ZoomPercent(body);
    if (InSheet(r)) {
        LoadedSheet(r.load).zoomPercent = percent;
    } else if (r.load.sheet == NO_SHEET_YET) {
        r.zoom = percent;
    }
    return true;
}

// ---- the sheet ----------------------------------------------------------------------------------------------

bool ReadRowSize(PocketReader& r, ByteView body) {
    RowInfo info;
    info.row = WordAt(body, 0);
    info.height = WordAt(body, 2) & 0x7FFF;
    const u16 flags = WordAt(body, 4);
    info.flags = static_cast<u16>((flags & POCKET_ROW_HIDDEN ? ROW_HIDDEN : 0) |
                                  (flags & POCKET_ROW_OWN_HEIGHT ? ROW_CUSTOM_HEIGHT : 0));
    return SetRowInfo(LoadedSheet(r.load).rows, info);
}

bool ReadColumnSizes(PocketReader& r, ByteView body) {
    ColumnInfo info;
    info.width = WordAt(body, 4);
    info.format = PocketCellFormat(LoadedBook(r.load), WordAt(body, 6));
    info.flags = ByteAt(body, 8) & 1 ? u16{COLUMN_HIDDEN} : u16{0};
    for (i32 column = ByteAt(body, 0); column <= ByteAt(body, 2); ++column) {
        info.column = static_cast<u8>(column);
        if (!SetColumnInfo(LoadedSheet(r.load).columns, info)) return false;
    }
    return true;
}

bool ReadStandardHeight(PocketReader& r, ByteView body) {
    Sheet& sheet = LoadedSheet(r.load);
    sheet.viewFlags = static_cast<u16>(sheet.viewFlags & ~VIEW_STANDARD_HEIGHT);
    sheet.defaultRowHeight = WordAt(body, 2);
    return true;
}

bool ReadDefaultWidth(PocketReader& r, ByteView body) {
    Sheet& sheet = LoadedSheet(r.load);
    sheet.viewFlags = static_cast<u16>(sheet.viewFlags & ~VIEW_STANDARD_WIDTH);
    sheet.defaultColumnWidth = WordAt(body, 2);
    return true;
}

bool ReadView(PocketReader& r, ByteView body) {
    const u8 view[] = {static_cast<u8>(ByteAt(body, 3) ^ POCKET_HIDES), 0, ByteAt(body, 0), ByteAt(body, 1),
                       ByteAt(body, 2)};
    return ReadWindow2(r.load, view);
}

bool ReadFrozenPane(PocketReader& r, ByteView body) { return ReadPane(r.load, body); }

bool ReadSelectedArea(PocketReader& r, ByteView body) {
    SheetView& view = LoadedSheet(r.load).view;
    view.activeRow = WordAt(body, 0);
    view.activeColumn = ByteAt(body, 2);
    const auto [top, bottom] = std::minmax({WordAt(body, 3), WordAt(body, 5)});
    const auto [left, right] = std::minmax({ByteAt(body, 7), ByteAt(body, 8)});
    view.selection = {top, bottom, left, right};
    return true;
}

// ---- the table ----------------------------------------------------------------------------------------------

struct PocketRecord {
    u8 id;
    u8 size;                                       // of the fields in front of any text
    bool inSheet;                                  // and without a text: has no meaning outside a sheet
    bool (*read)(PocketReader& r, ByteView body);  // false ends the load
};

// Ascending by id.
constexpr PocketRecord records[] = {
    {RECORD_BLANK_2, 5, true, ReadBlankCell},
    {RECORD_NUMBER_2, 13, true, ReadNumber},
    {RECORD_LABEL_2, 7, false, ReadText},
    {RECORD_BOOLERR_2, 7, true, ReadBoolErr},
    {RECORD_FORMULA, 16, false, ReadFormula},
    {RECORD_STRING_2, 2, false, ReadStringValue},
    {RECORD_ROW_2, 8, true, ReadRowSize},
    {RECORD_BOF_2, 4, false, ReadBof},
    {RECORD_EOF, 0, false, ReadEof},
    {RECORD_NAME, 7, false, ReadDefinedName},
    {RECORD_SELECTION, 9, true, ReadSelectedArea},
    {RECORD_FORMAT_2, 1, false, ReadNumberFormat},
    {RECORD_DEFAULTROWHEIGHT_2, 4, true, ReadStandardHeight},
    {RECORD_FILEPASS, 0, false, RefusePassword},
    {RECORD_FONT, POCKET_FONT_SIZE, false, ReadFontRecord},
    {RECORD_WINDOW1, 4, false, ReadActiveSheet},
    {RECORD_WINDOW2_2, 5, true, ReadView},
    {RECORD_PANE, 9, true, ReadFrozenPane},
    {RECORD_CODEPAGE, 2, false, ReadPage},
    {RECORD_DEFCOLWIDTH, 6, true, ReadDefaultWidth},
    {RECORD_COLINFO, 9, true, ReadColumnSizes},
    {RECORD_BOUNDSHEET, 2, false, ReadSheetName},
    {RECORD_COUNTRY, 4, false, ReadCountry},
    {RECORD_SCL, 4, false, ReadScale},
    {RECORD_XF, POCKET_XF_SIZE, false, ReadCellFormat},
};

constexpr bool RecordsAscend() {
    for (std::size_t i = 1; i < std::size(records); ++i) {
        if (records[i - 1].id >= records[i].id) return false;
    }
    return true;
}
static_assert(RecordsAscend());

const PocketRecord* FindRecord(u8 id) {
    const PocketRecord* found =
        std::lower_bound(std::begin(records), std::end(records), id,
                         [](const PocketRecord& row, u8 wanted) { return row.id < wanted; });
    return found != std::end(records) && found->id == id ? found : nullptr;
}

bool ReadRecords(PocketReader& r) {
    while (r.at < r.file.size()) {
        const PocketRecord* record = FindRecord(r.file[r.at++]);
        if (!record) continue;
        const ByteView body = TakeBytes(r, record->size);
        if (body.size() < record->size) return true;
        if ((!record->inSheet || InSheet(r)) && !record->read(r, body)) return false;
    }
    return true;
}

// References of names to sheets that never came, and fonts of formats that did not, lead nowhere else.
void JudgeReferences(Workbook& book) {
    const i32 sheets = static_cast<i32>(book.sheets.Count());
    for (ExternSheet& row : book.externSheets) {
        if (row.firstSheet >= sheets) row.firstSheet = -1;
        if (row.lastSheet >= sheets) row.lastSheet = -1;
    }
    for (CellFormat& format : book.cellFormats) {
        if (format.font >= book.fonts.Count()) format.font = 0;
    }
}

}  // namespace

bool ReadPocket(LoadState& load, ByteView file) {
    load.biffVersion = 8;
    load.sheet = NO_SHEET_YET;
    PocketReader r{load, file, 0, 0, {}, {}};
    if (!ReadRecords(r)) return false;
    Workbook& book = LoadedBook(load);
    JudgeReferences(book);
    book.currentSheet = static_cast<u32>(load.activeTab) < book.sheets.Count() ? load.activeTab : 0;
    for (Sheet* sheet : book.sheets) {
        if (r.zoom) sheet->zoomPercent = r.zoom;
    }
    return true;
}

}  // namespace tally
