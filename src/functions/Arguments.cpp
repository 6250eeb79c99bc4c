#include "functions/Arguments.h"

#include <cmath>

#include "formula/Dependents.h"
#include "formula/EvaluationNotes.h"
#include "formula/Evaluator.h"
#include "formula/KeptNumbers.h"
#include "formula/Links.h"
#include "model/CellStore.h"

namespace tally {
namespace {

bool Coerced(Value& argument, u16 wanted, Value& result, const EvalContext& context) {
    if (argument.type != wanted) CoerceValue(argument, wanted, context);
    if (argument.type != VT_ERROR) return true;
    result = ErrorValue(argument.error);
    return false;
}

bool VisitArea(i32 book, i32 sheetIndex, const RefArea& area, ValueVisit visit, void* state) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return true;
    CellPosition position;
    for (position.slot = FindRowSlot(sheet->cells, area.firstRow); position.slot < sheet->cells.rows.Count();
         ++position.slot) {
        const i32 row = RowAt(sheet->cells, position);
        if (row > area.lastRow) return true;
        position.index = FindInRow(sheet->cells.rows[position.slot], area.firstColumn);
        if (!ReadCells(static_cast<u32>(area.lastColumn - area.firstColumn) + 1)) return true;
        for (; position.index < sheet->cells.rows[position.slot].count; ++position.index) {
            const i32 column = CellAt(sheet->cells, position).column;
            if (column > area.lastColumn) break;
            if (CellAt(sheet->cells, position).calcState < CALC_CURRENT) {
                BringUpToDate(book, sheetIndex, row, column);
                sheet = SheetAt(book, sheetIndex);
                if (!sheet || !FindCell(sheet->cells, row, column, position)) return true;
            }
            const CellRecord& cell = CellAt(sheet->cells, position);
            if (!visit({&cell.value, SOURCE_CELL, book, sheetIndex, row, column, &cell}, state)) return false;
        }
    }
    return true;
}

bool VisitReference(const Value& argument, const EvalContext& context, ValueVisit visit, void* state,
                    i32& error) {
    ResolvedRef ref;
    ref.book = context.book;
    if (!ResolveExternRef(argument.externIndex, ref) || ref.firstSheet < 0) {
        error = ERR_REF;
        return false;
    }
    for (i32 sheet = ref.firstSheet; sheet <= ref.lastSheet; ++sheet) {
        for (u16 i = 0; i < argument.areas->count; ++i) {
            if (!VisitArea(ref.targetBook, sheet, argument.areas->areas[i], visit, state)) return false;
        }
    }
    return true;
}

bool IsHidden(const VisitedValue& visited, u8 mode) {
    const Sheet* sheet = SheetAt(visited.book, visited.sheet);
    if (!mode || !sheet || (mode == 2 && !sheet->filterState)) return false;
    u16 flags = 0;
    GetRowInfo(sheet->rows, visited.row, flags);
    return flags & ROW_HIDDEN;
}

struct Collecting {
    CollectOptions& options;
    const EvalContext& context;
};

bool Add(CollectOptions& options, double number) {
    if (options.values.Append(number)) return true;
    options.error = ERR_NA;
    return false;
}

// A value that is given by itself: texts and booleans are read.
bool CollectDirect(Collecting& collecting, const Value& value) {
    if (IsMissing(value) || collecting.options.numbersOnly) return true;
    Value number;
    CopyValue(number, value);
    CoerceValue(number, VT_NUMBER, collecting.context);
    if (number.type == VT_NUMBER) return Add(collecting.options, number.number);
    collecting.options.error = number.type == VT_ERROR ? number.error : i32{ERR_VALUE};
    FreeValue(number);
    return false;
}

bool CollectOne(const VisitedValue& visited, void* state) {
    Collecting& collecting = *static_cast<Collecting*>(state);
    CollectOptions& options = collecting.options;
    const Value& value = *visited.value;
    if (visited.source == SOURCE_CELL) {
        if (IsHidden(visited, options.hiddenRows)) return true;
        if (options.skipSubtotals && CallsSubtotal(*visited.cell)) return true;
    }
    if (value.type == VT_NUMBER) return Add(options, value.number);
    if (value.type == VT_ERROR) {
        if (!options.stopAtError) return true;
        options.error = value.error;
        return false;
    }
    if (visited.source == SOURCE_DIRECT) return CollectDirect(collecting, value);
    if (options.allKinds && value.type == VT_STRING) return Add(options, 0);
    if (options.allKinds && value.type == VT_BOOL) return Add(options, value.boolean ? 1 : 0);
    return true;
}

}  // namespace

void CalculateAlways(const EvalContext& context) {
    Sheet* sheet = SheetAt(context.book, context.sheet);
    if (!sheet || !(sheet->kind & SHEET_WORKSHEET)) return;
    CellRecord* cell = GetCell(sheet->cells, context.row, context.column);
    if (!cell || !cell->formula || cell->formula->alwaysCalculate) return;
    NoteEvaluation(NOTE_PLACE);
    EnterAlwaysCalculated(*cell->formula);
}

bool NumberArgument(Value& argument, Value& result, const EvalContext& context, double& out) {
    if (!Coerced(argument, VT_NUMBER, result, context)) return false;
    out = argument.number;
    return true;
}

bool BoolArgument(Value& argument, Value& result, const EvalContext& context, bool& out) {
    if (!Coerced(argument, VT_BOOL, result, context)) return false;
    out = argument.boolean != 0;
    return true;
}

bool TextArgument(Value& argument, Value& result, const EvalContext& context, WideView& out) {
    // An error stays an error where a text is wanted as an argument.
    if (argument.type == VT_REF || argument.type == VT_AREA) DerefValue(argument, context);
    if (argument.type == VT_ARRAY) ArrayValueToScalar(argument, context);
    if (argument.type == VT_ERROR || !Coerced(argument, VT_STRING, result, context)) {
        result = ErrorValue(argument.error);
        return false;
    }
    out = TextOf(argument);
    return true;
}

bool IntegerArgument(Value& argument, Value& result, const EvalContext& context, i32& out) {
    double number = 0;
    if (!NumberArgument(argument, result, context, number)) return false;
    number = std::trunc(number);
    if (!(number >= INT32_MIN && number <= INT32_MAX)) {
        result = ErrorValue(ERR_NUM);
        return false;
    }
    out = static_cast<i32>(number);
    return true;
}

bool PositionArgument(Value& argument, Value& result, const EvalContext& context, i32& out) {
    double number = 0;
    if (!NumberArgument(argument, result, context, number)) return false;
    out = static_cast<i32>(std::fmax(INT32_MIN, std::fmin(INT32_MAX, std::trunc(number))));
    return true;
}

bool OptionalPosition(Value& argument, Value& result, const EvalContext& context, i32 missing, i32& out) {
    out = missing;
    return IsMissing(argument) || PositionArgument(argument, result, context, out);
}

bool OptionalBool(Value& argument, Value& result, const EvalContext& context, bool missing, bool& out) {
    out = missing;
    return IsMissing(argument) || BoolArgument(argument, result, context, out);
}

bool OptionalNumber(Value& argument, Value& result, const EvalContext& context, double missing, double& out) {
    out = missing;
    return IsMissing(argument) || NumberArgument(argument, result, context, out);
}

bool OptionalInteger(Value& argument, Value& result, const EvalContext& context, i32 missing, i32& out) {
    out = missing;
    return IsMissing(argument) || IntegerArgument(argument, result, context, out);
}

bool ArrayArgument(Value& argument, Value& result, const EvalContext& context) {
    if (argument.type != VT_ARRAY && argument.type != VT_ERROR) CoerceValue(argument, VT_ARRAY, context);
    if (argument.type == VT_ARRAY) return true;
    result = ErrorValue(argument.type == VT_ERROR ? argument.error : i32{ERR_VALUE});
    return false;
}

bool TwoNumbers(Value* arguments, Value& result, const EvalContext& context, double& a, double& b) {
    return NumberArgument(arguments[0], result, context, a) && NumberArgument(arguments[1], result, context, b);
}

bool VisitValues(const Value& argument, const EvalContext& context, ValueVisit visit, void* state, i32& error) {
    error = -1;
    switch (argument.type) {
        case VT_AREA: return VisitArea(context.book, context.sheet, argument.area, visit, state);
        case VT_REF: return VisitReference(argument, context, visit, state, error);
        case VT_ARRAY: {
            const u32 count = ArrayElementCount(argument);
            for (u32 i = 0; i < count; ++i) {
                if (!visit({&argument.elements[i], SOURCE_ARRAY, 0, 0, 0, 0}, state)) return false;
            }
            return true;
        }
        default: return visit({&argument, SOURCE_DIRECT, 0, 0, 0, 0}, state);
    }
}

namespace {

// Whether every row counts, and no cell is left out for what its formula calls.
bool TakesAll(NumberRange& range, const CollectOptions& options) {
    if (options.hiddenRows == 1 || (options.hiddenRows == 2 && range.sheet->filterState)) return false;
    return !options.skipSubtotals || !HoldsSubtotal(range);
}

}  // namespace

bool CollectNumbers(const Value& argument, const EvalContext& context, CollectOptions& options) {
    NumberRange range;
    if (LocateNumbers(argument, context, options.allKinds, range) && TakeNumbers(range) &&
        TakesAll(range, options)) {
        if (range.error >= 0 && options.stopAtError) options.error = range.error;
        else if (!options.values.AppendMany(range.Numbers(), range.Count())) options.error = ERR_NA;
        else return true;
        return false;
    }
    Collecting collecting{options, context};
    i32 error = -1;
    if (VisitValues(argument, context, CollectOne, &collecting, error)) return true;
    if (error >= 0) options.error = error;
    return false;
}

bool CollectAll(Value* arguments, const EvalContext& context, CollectOptions& options, Value& result) {
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        if (CollectNumbers(arguments[i], context, options)) continue;
        result = ErrorValue(options.error >= 0 ? options.error : i32{ERR_NA});
        return false;
    }
    return true;
}

}  // namespace tally
