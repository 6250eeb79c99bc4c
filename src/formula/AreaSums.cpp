#include "formula/AreaSums.h"

#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "formula/KeptRuns.h"
#include "formula/Links.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

// Adds one value; false for an error.
bool AddOne(const Value& value, double& sum, i32& error) {
    if (value.type == VT_NUMBER) {
        sum += value.number;
    } else if (value.type == VT_ERROR) {
        error = value.error;
        return false;
    }
    return true;
}

// Adds the cells of some rows of an area; stale ones are calculated first.
bool AddRows(i32 book, i32 sheetIndex, const RefArea& area, double& sum, i32& error) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    CellPosition position;
    FindCell(sheet->cells, area.firstRow, area.firstColumn, position);
    while (!AtEnd(sheet->cells, position)) {
        const i32 row = RowAt(sheet->cells, position);
        if (row > area.lastRow) return true;
        const CellRecord& cell = CellAt(sheet->cells, position);
        const i32 column = cell.column;
        if (column > area.lastColumn) {
            ++position.slot;
            position.index = 0;
            if (position.slot < sheet->cells.rows.Count())
                position.index = FindInRow(sheet->cells.rows[position.slot], area.firstColumn);
            if (position.slot < sheet->cells.rows.Count() &&
                position.index >= sheet->cells.rows[position.slot].count) {
                position.index = sheet->cells.rows[position.slot].count - 1u;
                NextCell(sheet->cells, position);
            }
            continue;
        }
        if (column >= area.firstColumn) {
            if (cell.calcState < CALC_CURRENT) {
                BringUpToDate(book, sheetIndex, row, column);
                sheet = SheetAt(book, sheetIndex);
                if (!sheet || !FindCell(sheet->cells, row, column, position)) return true;
            }
            if (!ReadCells(1) || !AddOne(CellAt(sheet->cells, position).value, sum, error)) return false;
        }
        NextCell(sheet->cells, position);
    }
    return true;
}

Value FinishSum(const SumState& state, u32) { return NumberValue(state.sum); }

double AddOn(const NumberRange& range, double sum) {
    ExactRange exact = range.kept->exact;
    exact.Add(sum);
    SumState rest;
    if (exact.Holds() && ExactSum(range, rest)) return sum + rest.sum;
    return WalkNumbers(range.Numbers(), range.Count(), SumState{sum}).sum;
}

// From the numbers that are kept; false when they do not serve.
bool AddKept(NumberRange& range, double& sum, i32& error, bool& good) {
    // What has been added so far goes on number by number, so that the order of the additions stays.
    if (sum != 0) {
        if (!TakeNumbers(range)) return false;
        good = range.error < 0;
        error = range.error;
        if (good) sum = AddOn(range, sum);
        return true;
    }
    Value value;
    if (!KeptResult(range, FinishSum, value)) return false;
    good = value.type == VT_NUMBER;
    if (good) sum = value.number;
    else error = value.error;
    return true;
}

bool AddArray(const Value& array, double& sum, i32& error) {
    const u32 count = ArrayElementCount(array);
    for (u32 i = 0; i < count; ++i) {
        if (!AddOne(array.elements[i], sum, error)) return false;
    }
    return true;
}

// Adds every area of a reference on every sheet that it names.
bool AddReference(const Value& value, const EvalContext& context, double& sum, i32& error) {
    ResolvedRef ref;
    ref.book = context.book;
    error = ERR_REF;
    if (!ResolveExternRef(value.externIndex, ref) || ref.firstSheet < 0) return false;
    for (i32 sheet = ref.firstSheet; sheet <= ref.lastSheet; ++sheet) {
        const Sheet* target = SheetAt(ref.targetBook, sheet);
        if (!target || !(target->kind & SHEET_WITH_CELLS)) continue;
        for (u16 i = 0; i < value.areas->count; ++i) {
            // Each part is added up by itself from what stands before it.
            if (!AddArea(ref.targetBook, sheet, value.areas->areas[i], sum, error)) return false;
        }
    }
    return true;
}

}  // namespace

bool AddArea(i32 book, i32 sheet, const RefArea& area, double& sum, i32& error) {
    Sheet* target = SheetAt(book, sheet);
    if (!target || !target->cells.count) return true;
    bool good = true;
    NumberRange range;
    if (LocateNumbersOn(*target, area, false, range) && AddKept(range, sum, error, good)) return good;
    return AddRows(book, sheet, area, sum, error);
}

Value SumValue(const Value& value, const EvalContext& context) {
    double sum = 0;
    i32 error = ERR_VALUE;
    bool good = false;
    switch (value.type) {
        case VT_AREA: good = AddArea(context.book, context.sheet, value.area, sum, error); break;
        case VT_REF: good = AddReference(value, context, sum, error); break;
        case VT_ARRAY: good = AddArray(value, sum, error); break;
        default: break;
    }
    return good ? NumberValue(sum) : ErrorValue(error);
}

}  // namespace tally
