#include "formula/ArrayResults.h"

#include <cstring>

#include "formula/ArrayIndex.h"
#include "formula/DataTables.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

bool SameTokens(const FormulaTokens& a, const FormulaTokens& b) {
    return a.length == b.length && a.extraLength == b.extraLength &&
           (a.bytes == b.bytes || std::memcmp(a.bytes, b.bytes, std::size_t{a.length} + a.extraLength) == 0);
}

void PutPart(const Value& result, const RefArea& area, i32 row, CellRecord& cell) {
    FreeValue(cell.value);
    cell.value = Value();
    if (result.type == VT_ARRAY) {
        CopyArrayElement(result, area, row, cell.column, cell.value);
    } else {
        CopyValue(cell.value, result);
    }
    if (cell.value.type == VT_EMPTY) cell.value = NumberValue(0);
}

}  // namespace

void CopyArrayElement(const Value& array, const RefArea& area, i32 row, i32 column, Value& out) {
    const u32 rows = ArrayRows(array);
    const u32 columns = array.columns;
    const u32 down = rows == 1 ? 0 : static_cast<u32>(row - area.firstRow);
    const u32 right = columns == 1 ? 0 : static_cast<u32>(column - area.firstColumn);
    if (!array.elements || down >= rows || right >= columns) {
        out = ErrorValue(ERR_NA);
        return;
    }
    CopyValue(out, array.elements[down * columns + right]);
}

void ShareArrayResult(const Value& result, bool away, const EvalContext& context) {
    Sheet* sheet = SheetAt(context.book, context.sheet);
    const ArrayEntry* entry = sheet ? ArrayOfCell(*sheet, context.row, context.column) : nullptr;
    const CellRecord* own = entry ? GetCell(sheet->cells, context.row, context.column) : nullptr;
    if (!own || !own->formula || IsOneCell(entry->area)) return;
    const FormulaTokens& tokens = own->formula->tokens;
    WalkArea(sheet->cells, entry->area, [&](u16 row, CellRecord& cell) {
        if (cell.calcState != CALC_STALE || !cell.formula || !SameTokens(cell.formula->tokens, tokens))
            return true;
        cell.formula->kept = away && cell.value.type != VT_EMPTY;
        if (!cell.formula->kept) PutPart(result, entry->area, row, cell);
        cell.calcState = CALC_CURRENT;
        NoteCalculated(context.book, context.sheet, row, cell.column);
        return true;
    });
}

}  // namespace tally
