#include "fileio/text/TextEntry.h"

#include <algorithm>

#include "display/EntryScanners.h"
#include "editing/EntryRecognition.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr i32 TEXT_KIND = -1;  // of KnownFormat: no number format

// The default row with what an entry asks for; looked up once for each kind.
bool CellFormatFor(TextEntry& entry, i32 kind, i32 subKind, bool prefixed, bool wrapped, u16& out) {
    for (const KnownFormat& known : entry.formats) {
        if (known.kind == kind && known.subKind == subKind && known.prefixed == prefixed &&
            known.wrapped == wrapped) {
            out = known.cellFormat;
            return true;
        }
    }
    Workbook& book = *BookAt(entry.book);
    CellFormat format = ResolveCellFormat(book, DEFAULT_CELL_FORMAT);
    u16 id = 0;
    if (kind > 0 && !FormatForEntry(entry.book, kind, subKind, {}, id)) return false;
    if (TakesProposedFormat(format.numberFormat, id)) format.numberFormat = id;
    if (prefixed) format.flags |= FORMAT_QUOTE_PREFIX;
    if (wrapped) format.flags |= FORMAT_WRAP;
    KnownFormat known = {kind, subKind, prefixed, wrapped, 0};
    if (!FindOrAddCellFormat(book, format, known.cellFormat) || !entry.formats.Append(known)) return false;
    out = known.cellFormat;
    return true;
}

bool StoreValue(const TextEntry& entry, i32 row, i32 column, u16 format, Value value, FormulaTokens tokens) {
    if (!InsertCell(*SheetAt(entry.book, entry.sheet), row, column, format, value, tokens)) return false;
    if (!HasFormula(tokens)) return true;
    CellRecord* cell = GetCell(SheetAt(entry.book, entry.sheet)->cells, row, column);
    cell->formula->alwaysCalculate = TokensAlwaysCalculate(tokens);
    return true;
}

bool StoreAsText(TextEntry& entry, i32 row, i32 column, WideView field, bool quoted) {
    const bool apostrophe = quoted || (!field.empty() && field[0] == u'\'');
    if (!quoted && apostrophe) field.remove_prefix(1);
    u16 format = DEFAULT_CELL_FORMAT;
    const bool wrapped = field.find(u'\n') != WideView::npos;
    if ((apostrophe || wrapped) && !CellFormatFor(entry, TEXT_KIND, 0, apostrophe, wrapped, format))
        return false;
    TextBlock* text = MakeText(field);
    return text && StoreValue(entry, row, column, format, OwnedTextValue(text), FormulaTokens());
}

bool StoreFormula(TextEntry& entry, const FormulaPlace& place, WideView field, i32 proposal) {
    FormulaTokens tokens;
    if (!CompileFormula(place, field, 'V', tokens))
        return StoreAsText(entry, place.row, place.column, field, false);
    u16 format = DEFAULT_CELL_FORMAT;
    if (proposal > 0) {
        CellFormat wanted = ResolveCellFormat(*BookAt(entry.book), DEFAULT_CELL_FORMAT);
        if (TakesProposedFormat(wanted.numberFormat, proposal))
            wanted.numberFormat = static_cast<u16>(proposal);
        if (!FindOrAddCellFormat(*BookAt(entry.book), wanted, format)) {
            FreeTokens(tokens);
            return false;
        }
    }
    return StoreValue(entry, place.row, place.column, format, Value(), tokens);
}

}  // namespace

bool StoreTextEntry(TextEntry& entry, i32 row, i32 column, WideView field, bool quoted) {
    double number = 0;
    if (quoted && ParseNumber(field, 0, field.size(), number, true))
        return StoreAsText(entry, row, column, field, true);
    FormulaPlace place;
    place.book = entry.book;
    place.sheet = entry.sheet;
    place.row = row;
    place.column = column;
    EntryResult result;
    u16 format = DEFAULT_CELL_FORMAT;
    switch (ClassifyEntry(place, field, result)) {
        case ENTRY_EMPTY: return true;
        case ENTRY_FORMULA: return StoreFormula(entry, place, field, result.formatProposal);
        case ENTRY_NUMBER:
            if (result.formatKind &&
                !CellFormatFor(entry, result.formatKind, result.subKind, false, false, format))
                return false;
            return StoreValue(entry, row, column, format, NumberValue(result.number), FormulaTokens());
        case ENTRY_BOOL:
            return StoreValue(entry, row, column, format, BoolValue(result.boolean != 0), FormulaTokens());
        case ENTRY_ERROR:
            return StoreValue(entry, row, column, format, ErrorValue(result.error), FormulaTokens());
        default: return StoreAsText(entry, row, column, field, false);
    }
}

void FitRowHeights(i32 book, i32 sheet) {
    Sheet& target = *SheetAt(book, sheet);
    const u16 line = DefaultRowHeight(target);
    constexpr u32 MAX_HEIGHT = 8180;  // twips
    for (const CellRow& row : target.cells.rows) {
        u32 lines = 1;
        for (u32 i = 0; i < row.count; ++i) {
            if (row.cells[i].value.type != VT_STRING) continue;
            const WideView text = TextOf(row.cells[i].value);
            lines = std::max(lines, 1 + static_cast<u32>(std::count(text.begin(), text.end(), u'\n')));
        }
        if (lines == 1) continue;
        RowInfo info;
        info.row = row.row;
        info.flags = 0;
        info.height = static_cast<u16>(std::min(MAX_HEIGHT, lines * line));
        // A row that memory refuses keeps the ordinary height.
        IgnoreFailure(SetRowInfo(target.rows, info));
    }
}

}  // namespace tally
