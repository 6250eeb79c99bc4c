#include "fileio/biff/OldBook.h"

#include <algorithm>
#include <iterator>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "base/Text.h"
#include "fileio/biff/LinkRecords.h"
#include "fileio/biff/SheetRecords.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"

// Bare files: the records of one sheet without a container, as the three oldest forms wrote them, and the
// workbook of several such sheets that the last of these forms knows.

namespace tally {
namespace {

int VersionOf(u16 bof) { return bof == RECORD_BOF_2 ? 2 : bof == RECORD_BOF_3 ? 3 : 4; }

// The version of the tokens in a record whose number two forms share.
int TokenVersion(const OldReader& r, u16 id) { return IsOldest(id) ? 2 : std::max(r.version, 3); }

// Where the value of a cell record begins.
std::size_t ValueAt(u16 id) { return IsOldest(id) ? 7 : 6; }

// A count in the size of its layout, and where what it counts begins.
struct OldCount {
    std::size_t count, start;
};
OldCount CountAt(u16 id, ByteView body, std::size_t at) {
    if (IsOldest(id)) return {ByteAt(body, at), at + 1};
    return {WordAt(body, at), at + 2};
}

bool ReadOldText(OldReader& r, u16 id, ByteView body, std::size_t at) {
    const OldCount length = CountAt(id, body, at);
    return ReadBiffString(From(body, length.start), 7, LoadedBook(r.load).codePage, length.count,
                          r.load.text) != STRING_FAILED;
}

bool AddOldCell(OldReader& r, u16 id, ByteView body, Value value, FormulaTokens tokens) {
    u16 format = 0;
    if (!OldCellFormat(r, id, body, format)) {
        FreeValue(value);
        FreeTokens(tokens);
        return false;
    }
    return AddCell(r.load, WordAt(body, 0), WordAt(body, 2), format, value, tokens);
}

bool ReadOldLabel(OldReader& r, u16 id, ByteView body) {
    if (!ReadOldText(r, id, body, ValueAt(id))) return false;
    TextBlock* text = MakeText(r.load.text);
    return text && AddOldCell(r, id, body, OwnedTextValue(text), FormulaTokens());
}

bool ReadOldBoolOrError(OldReader& r, u16 id, ByteView body) {
    const std::size_t at = ValueAt(id);
    const u8 value = ByteAt(body, at);
    return AddOldCell(r, id, body,
                      ByteAt(body, at + 1) == 0 ? BoolValue(value != 0) : ErrorValue(ErrorFromBiff(value)),
                      FormulaTokens());
}

// Tokens of an array formula follow in a record of their own.
bool ReadOldArray(OldReader& r, int version, ByteView tokens, FormulaTokens& out) {
    const u16 row = WordAt(tokens, 1);
    const u8 column = ByteAt(tokens, 3);
    for (const SharedFormula& entry : r.load.arrays) {
        if (entry.row != row || entry.column != column) continue;
        CopyTokens(out, entry.tokens);
        return true;
    }
    BiffRecord record;
    const u16 next = PeekRecordId(r.load.stream);
    if ((next != RECORD_ARRAY_2 && next != RECORD_ARRAY) || !NextRecord(r.load.stream, record)) return true;
    // Area 6 bytes, flags in the size of the layout, then the length.
    const OldCount length = CountAt(record.id, record.body, IsOldest(record.id) ? 7 : 8);
    SharedFormula entry = {row, column, {}};
    if (!WidenOldTokens(r.load, IsOldest(record.id) ? 2 : std::max(version, 3),
                        Part(record.body, length.start, length.count),
                        From(record.body, length.start + length.count), entry.tokens))
        return false;
    CopyTokens(out, entry.tokens);
    ArrayEntry area;
    area.area = {row, std::max(row, WordAt(record.body, 2)), column, std::max(column, ByteAt(record.body, 5))};
    if (!r.load.arrays.Append(entry)) {
        FreeTokens(entry.tokens);
    } else if (LoadedSheet(r.load).arrayFormulas.Append(area)) {
        return true;
    }
    FreeTokens(out);
    return false;
}

bool ReadOldFormula(OldReader& r, u16 id, ByteView body) {
    const int version = id == RECORD_FORMULA ? 2 : id == RECORD_FORMULA_3 ? 3 : 4;
    const std::size_t at = ValueAt(id);
    const u16 flags = IsOldest(id) ? ByteAt(body, at + 8) : WordAt(body, at + 8);
    const OldCount length = CountAt(id, body, at + (IsOldest(id) ? 9 : 10));
    const ByteView tokens = Part(body, length.start, length.count);
    FormulaTokens out;
    const bool shared = length.count == (version == 2 ? 4u : 5u) && ByteAt(tokens, 0) == ptgExp;
    if (shared ? !ReadOldArray(r, version, tokens, out)
               : !WidenOldTokens(r.load, version, tokens, From(body, length.start + length.count), out)) {
        return false;
    }
    if (!AddOldCell(r, id, body, CachedValue(Part(body, at, 8)), out)) return false;
    SetFormulaState(r.load, WordAt(body, 0), WordAt(body, 2), flags);
    return true;
}

bool ReadOldString(OldReader& r, u16 id, ByteView body) {
    if (!ReadOldText(r, id, body, 0) || !ReplaceLastText(r.load, r.load.text)) return false;
    if (!r.load.lastCellKnown) return true;
    CellRecord* cell = GetCell(LoadedSheet(r.load).cells, r.load.lastCell.row, r.load.lastCell.column);
    if (cell) cell->calcState = CALC_CURRENT;
    return true;
}

bool ReadOldName(OldReader& r, u16 id, ByteView body) {
    const bool builtIn = !IsOldest(id) && (WordAt(body, 0) & NAME_IS_BUILT_IN);
    const std::size_t nameLength = ByteAt(body, 3);
    const OldCount formula = CountAt(id, body, 4);
    Workbook& book = LoadedBook(r.load);
    if (ReadBiffString(From(body, formula.start), 7, book.codePage, nameLength, r.load.text) == STRING_FAILED ||
        (builtIn && !ExpandBuiltIn(r.load.text)))
        return false;
    // What a built-in name tells is told of the sheet; in a workbook each sheet has its own names.
    const i32 row =
        AddName(book, r.load.text, builtIn || r.workbook ? static_cast<u16>(r.load.sheet + 1) : u16{0});
    if (row < 0) return false;
    if (!IsOldest(id)) book.names[static_cast<u32>(row)].flags = WordAt(body, 0) & ~NAME_IS_BUILT_IN;
    const ByteView rest = From(body, formula.start + nameLength);
    FormulaTokens tokens;
    if (formula.count && !WidenOldTokens(r.load, TokenVersion(r, id), Part(rest, 0, formula.count),
                                         From(rest, formula.count), tokens))
        return false;
    FormulaTokens& place = LoadedBook(r.load).names[static_cast<u32>(row)].tokens;
    FreeTokens(place);
    place = tokens;
    return true;
}

// ---- sizes and views of the oldest layout -------------------------------------------------------------------

bool ReadOldColumns(OldReader& r, ByteView body) {
    for (u32 column = ByteAt(body, 0); column <= ByteAt(body, 1); ++column) {
        ColumnInfo info;
        info.column = static_cast<u8>(column);
        info.flags = 0;
        info.width = WordAt(body, 2);
        if (!SetColumnInfo(LoadedSheet(r.load).columns, info)) return false;
    }
    return true;
}

bool ReadOldRow(OldReader& r, ByteView body) {
    const u16 height = WordAt(body, 6);
    if (height & 0x8000) return true;  // it has the height of any row
    RowInfo info;
    info.row = WordAt(body, 0);
    info.flags = ROW_CUSTOM_HEIGHT;
    info.height = height;
    return SetRowInfo(LoadedSheet(r.load).rows, info);
}

void ReadOldDefaultHeight(OldReader& r, ByteView body) {
    Sheet& sheet = LoadedSheet(r.load);
    sheet.viewFlags = static_cast<u16>(sheet.viewFlags & ~VIEW_STANDARD_HEIGHT);
    sheet.defaultRowHeight = WordAt(body, 0) & 0x7FFF;
}

void ReadOldWindow2(OldReader& r, ByteView body) {
    Sheet& sheet = LoadedSheet(r.load);
    constexpr u16 flags[] = {VIEW_FORMULAS, VIEW_GRIDLINES, VIEW_HEADERS, VIEW_FROZEN};
    for (std::size_t i = 0; i < std::size(flags); ++i) {
        sheet.viewFlags =
            static_cast<u16>(ByteAt(body, i) ? sheet.viewFlags | flags[i] : sheet.viewFlags & ~flags[i]);
    }
    const bool frozen = (sheet.viewFlags & VIEW_FROZEN) != 0;
    (frozen ? sheet.view.frozenFirstRow : sheet.view.firstRow) = WordAt(body, 5);
    (frozen ? sheet.view.frozenFirstColumn : sheet.view.firstColumn) = ByteAt(body, 7);
}

// ---- the file -----------------------------------------------------------------------------------------------

// Records that the later forms took over as they were.
constexpr u16 sameLater[] = {RECORD_PROTECT,
                             RECORD_PASSWORD,
                             RECORD_HEADER,
                             RECORD_FOOTER,
                             RECORD_SELECTION,
                             RECORD_LEFTMARGIN,
                             RECORD_RIGHTMARGIN,
                             RECORD_TOPMARGIN,
                             RECORD_BOTTOMMARGIN,
                             RECORD_PRINTHEADERS,
                             RECORD_PRINTGRIDLINES,
                             RECORD_PANE,
                             RECORD_DEFCOLWIDTH,
                             RECORD_COLINFO,
                             RECORD_GUTS,
                             RECORD_WSBOOL,
                             RECORD_GRIDSET,
                             RECORD_HCENTER,
                             RECORD_VCENTER,
                             RECORD_STANDARDWIDTH,
                             RECORD_SCL,
                             RECORD_SETUP,
                             RECORD_ROW,
                             RECORD_DEFAULTROWHEIGHT,
                             RECORD_TABLE,
                             RECORD_WINDOW2};

bool ReadSameRecord(LoadState& load, u16 id, ByteView body) {
    if (std::find(std::begin(sameLater), std::end(sameLater), id) == std::end(sameLater)) return true;
    return ReadSheetRecord(load, id, body);
}

bool ReadOldCell(OldReader& r, u16 id, ByteView body) {
    switch (id) {
        case RECORD_INTEGER_2:
            return AddOldCell(r, id, body, NumberValue(WordAt(body, ValueAt(id))), FormulaTokens());
        case RECORD_NUMBER_2:
        case RECORD_NUMBER:
            return AddOldCell(r, id, body, NumberValue(DoubleAt(body, ValueAt(id))), FormulaTokens());
        case RECORD_LABEL_2:
        case RECORD_LABEL: return ReadOldLabel(r, id, body);
        case RECORD_BOOLERR_2:
        case RECORD_BOOLERR: return ReadOldBoolOrError(r, id, body);
        case RECORD_FORMULA:
        case RECORD_FORMULA_3:
        case RECORD_FORMULA_4: return ReadOldFormula(r, id, body);
        case RECORD_STRING_2:
        case RECORD_STRING: return ReadOldString(r, id, body);
        case RECORD_RK: return AddOldCell(r, id, body, NumberValue(DecodeRk(LongAt(body, 6))), FormulaTokens());
        default: return AddOldCell(r, id, body, Value(), FormulaTokens());
    }
}

bool IsCell(u16 id) {
    return (id >= RECORD_BLANK_2 && id <= RECORD_STRING_2) ||
           (id >= RECORD_BLANK && id <= RECORD_STRING && id != 514) || id == RECORD_RK ||
           id == RECORD_FORMULA_4;
}

bool ReadOldRecord(OldReader& r, u16 id, ByteView body) {
    if (IsCell(id)) return ReadOldCell(r, id, body);
    switch (id) {
        case RECORD_ROW_2: return ReadOldRow(r, body);
        case RECORD_NAME:
        case RECORD_NAME_3: return ReadOldName(r, id, body);
        case RECORD_FORMAT_2:
        case RECORD_FORMAT: return ReadOldFormat(r, id, body);
        case RECORD_DATEMODE: LoadedBook(r.load).date1904 = ByteAt(body, 0) != 0; return true;
        case RECORD_COLWIDTH_2: return ReadOldColumns(r, body);
        case RECORD_DEFAULTROWHEIGHT_2: ReadOldDefaultHeight(r, body); return true;
        case RECORD_FILEPASS: ShowMessage(Message(MSG_PASSWORD_PROTECTED)); return false;
        case RECORD_FONT:
        case RECORD_FONT_3: return ReadOldFont(r, id, body);
        case RECORD_WINDOW2_2: ReadOldWindow2(r, body); return true;
        case RECORD_CODEPAGE: ReadCodePage(r.load, body); return true;
        case RECORD_FONTCOLOR_2: ReadOldFontColour(r, body); return true;
        case RECORD_PALETTE: ReadPalette(r.load, body); return true;
        case RECORD_XF_3:
        case RECORD_XF_4: return ReadOldXf(r, id, body);
        default: return ReadSameRecord(r.load, id, body);
    }
}

// The header of one of several sheets: the length of its records, then its name.
bool BeginOldSheet(OldReader& r, ByteView body) {
    if (ReadBiffString(From(body, 5), 7, LoadedBook(r.load).codePage, ByteAt(body, 4), r.load.text) ==
            STRING_FAILED ||
        !AddBoundSheet(r.load, r.load.text, SHEET_WORKSHEET, 0))
        return false;
    r.load.sheet = static_cast<i32>(r.load.boundSheets) - 1;
    r.load.lastCellKnown = false;
    FreeShared(r.load.arrays);
    r.load.nameBase = LoadedBook(r.load).names.Count();
    r.ownFonts = r.ownFormats = r.ownNumberFormats = r.passed = false;
    return true;
}

void BeginOldSubstream(OldReader& r, const BiffRecord& bof) {
    r.version = VersionOf(bof.id);
    const u16 type = WordAt(bof.body, 2);
    if (type != SHEET_CHART && type != SHEET_MACRO) return;
    ResetSheet(type, 0);
    r.passed = type == SHEET_CHART;
}

bool ReadSheetsOfWorkbook(OldReader& r) {
    BiffRecord record;
    while (NextRecord(r.load.stream, record)) {
        if (record.id == RECORD_SHEETHDR_4) {
            if (!BeginOldSheet(r, record.body)) return false;
        } else if (record.id == RECORD_BOF_2 || record.id == RECORD_BOF_3 || record.id == RECORD_BOF_4) {
            if (r.load.boundSheets) BeginOldSubstream(r, record);
        } else if (!r.passed && !ReadOldRecord(r, record.id, record.body)) {
            return false;
        }
    }
    LoadedBook(r.load).currentSheet = 0;
    return true;
}

void NameSheetAsFile(LoadState& load) {
    const WideView file = FileNameOf(LoadedBook(load).path);
    const WideView name = file.substr(0, file.rfind(u'.')).substr(0, MAX_SHEET_NAME);
    Sheet& sheet = LoadedSheet(load);
    std::fill(std::begin(sheet.name), std::end(sheet.name), u'\0');
    std::copy(name.begin(), name.end(), sheet.name);
}

}  // namespace

bool ReadOldBook(LoadState& load, u16 bofId) {
    OldReader r{load, VersionOf(bofId)};
    load.biffVersion = 7;
    LoadedBook(load).biffVersion = 7;
    NameSheetAsFile(load);
    BiffRecord record;
    if (!NextRecord(load.stream, record)) return true;
    r.workbook = WordAt(record.body, 2) == SUBSTREAM_SHEETS;
    if (r.workbook) return ReadSheetsOfWorkbook(r);
    while (NextRecord(load.stream, record)) {
        if (!ReadOldRecord(r, record.id, record.body)) return false;
    }
    return true;
}

}  // namespace tally
