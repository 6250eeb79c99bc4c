#include <algorithm>
#include <cmath>

#include "formula/AreaSums.h"
#include "formula/Precedents.h"
#include "functions/Aggregate.h"
#include "functions/CriteriaIndex.h"
#include "functions/CurrentRows.h"
#include "functions/Handlers.h"
#include "functions/RunningMoments.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

// Adds one argument as SUM reads it. False with the error in `result`.
bool AddArgument(Value& argument, double& sum, Value& result, const EvalContext& context) {
    if (argument.type == VT_EMPTY) return true;
    Value part;
    if (argument.type == VT_AREA && sum != 0) {
        // What has been added so far goes on cell by cell, so that the order of the additions stays.
        i32 error = ERR_VALUE;
        if (AddArea(context.book, context.sheet, argument.area, sum, error)) return true;
        result = ErrorValue(error);
        return false;
    }
    if (argument.type == VT_AREA || argument.type == VT_REF || argument.type == VT_ARRAY) {
        part = SumValue(argument, context);
    } else {
        CopyValue(part, argument);
        CoerceValue(part, VT_NUMBER, context);
    }
    if (part.type != VT_NUMBER) {
        result = part.type == VT_ERROR ? part : ErrorValue(ERR_VALUE);
        return false;
    }
    sum += part.number;
    return true;
}

// Sums over the pairs of two arrays of as many elements, whatever their shapes.
template <typename Term>
void SumPairs(Value* arguments, Value& result, const EvalContext& context, Term term) {
    for (i32 i = 0; i < 2; ++i) {
        if (!ArrayArgument(arguments[i], result, context)) return;
    }
    const u32 count = ArrayElementCount(arguments[0]);
    if (count != ArrayElementCount(arguments[1])) {
        result = ErrorValue(ERR_NA);
        return;
    }
    double sum = 0;
    u32 pairs = 0;
    for (u32 i = 0; i < count; ++i) {
        const Value& x = arguments[0].elements[i];
        const Value& y = arguments[1].elements[i];
        if (x.type == VT_ERROR || y.type == VT_ERROR) {
            result = ErrorValue(x.type == VT_ERROR ? x.error : y.error);
            return;
        }
        if (x.type != VT_NUMBER || y.type != VT_NUMBER) continue;
        sum += term(x.number, y.number);
        ++pairs;
    }
    result = pairs ? NumberValue(sum) : ErrorValue(ERR_DIV0);
}

// An argument that must be one area on one sheet.
bool OneArea(const Value& argument, const EvalContext& context, SheetArea& out, Value& result) {
    i32 error = ERR_REF;
    if (argument.type == VT_ERROR) {
        result = ErrorValue(argument.error);
        return false;
    }
    if (argument.type != VT_AREA && argument.type != VT_REF) {
        result = ErrorValue(ERR_VALUE);
        return false;
    }
    if (ResolveSingleArea(argument, context, out, error)) return true;
    result = ErrorValue(error);
    return false;
}

// The criteria argument as a scalar.
void PrepareCriteria(Value& criteria, const EvalContext& context) {
    EvalContext scalar = context;
    scalar.arrayMode = 0;
    ReduceToScalar(criteria, scalar);
}

struct Matching {
    const Criteria criteria;
    u64 visited = 0;
    u64 matches = 0;
};

bool CountMatch(const VisitedValue& visited, void* state) {
    Matching& matching = *static_cast<Matching*>(state);
    ++matching.visited;
    matching.matches += Matches(matching.criteria, *visited.value);
    return true;
}

struct SumMatching {
    const Criteria criteria;
    SheetArea from;
    SheetArea sums;
    double sum = 0;
    i32 error = -1;
};

bool AddMatch(SumMatching& matching, i32 row, i32 column, const Value& cell) {
    if (!Matches(matching.criteria, cell)) return true;
    const i32 sumRow = matching.sums.area.firstRow + (row - matching.from.area.firstRow);
    const i32 sumColumn = matching.sums.area.firstColumn + (column - matching.from.area.firstColumn);
    if (sumRow >= MAX_ROWS || sumColumn >= MAX_COLUMNS) return true;
    Value value;
    GetCellValue(matching.sums.book, matching.sums.sheet, sumRow, sumColumn, value);
    if (value.type == VT_NUMBER) matching.sum += value.number;
    FreeValue(value);
    return true;
}

bool VisitSum(const VisitedValue& visited, void* state) {
    return AddMatch(*static_cast<SumMatching*>(state), visited.row, visited.column, *visited.value);
}

// Cells of the sum's area whose partner in the range is no cell: they count when the criteria match empties.
void AddEmptyMatches(SumMatching& matching) {
    if (!matching.criteria.matchesEmpty) return;
    const RefArea& from = matching.from.area;
    RefArea area = matching.sums.area;
    area.lastRow = static_cast<u16>(std::min(area.firstRow + (from.lastRow - from.firstRow), MAX_ROWS - 1));
    area.lastColumn =
        static_cast<u8>(std::min(area.firstColumn + (from.lastColumn - from.firstColumn), MAX_COLUMNS - 1));
    Sheet* sums = SheetAt(matching.sums.book, matching.sums.sheet);
    const Sheet* range = SheetAt(matching.from.book, matching.from.sheet);
    if (!sums || !range) return;
    WalkArea(sums->cells, area, [&](u16 row, CellRecord& cell) {
        if (cell.column < area.firstColumn) return true;
        const i32 fromRow = from.firstRow + (row - area.firstRow);
        const i32 fromColumn = from.firstColumn + (cell.column - area.firstColumn);
        if (!GetCell(range->cells, fromRow, fromColumn) && cell.value.type == VT_NUMBER)
            matching.sum += cell.value.number;
        return true;
    });
}

Value Product(const ProductState& state, u32 count) { return NumberValue(count ? state.product : 0); }
Value SumOfSquares(const SquareSumState& state, u32) { return NumberValue(state.sum); }

}  // namespace

void CallSum(Value* arguments, Value& result, const EvalContext& context) {
    double sum = 0;
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        if (!AddArgument(arguments[i], sum, result, context)) return;
    }
    result = NumberValue(sum);
}

void CallProduct(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, false, Product);
}
void CallSumsq(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, false, SumOfSquares);
}

void CallSumx2my2(Value* arguments, Value& result, const EvalContext& context) {
    SumPairs(arguments, result, context, [](double x, double y) { return x * x - y * y; });
}
void CallSumx2py2(Value* arguments, Value& result, const EvalContext& context) {
    SumPairs(arguments, result, context, [](double x, double y) { return x * x + y * y; });
}
void CallSumxmy2(Value* arguments, Value& result, const EvalContext& context) {
    SumPairs(arguments, result, context, [](double x, double y) { return (x - y) * (x - y); });
}

void CallSumproduct(Value* arguments, Value& result, const EvalContext& context) {
    i32 count = 0;
    for (; count < MAX_ARGUMENTS && !IsMissing(arguments[count]); ++count) {
        Value& argument = arguments[count];
        if (!ArrayArgument(argument, result, context)) return;
        if (ArrayRows(argument) != ArrayRows(arguments[0]) || argument.columns != arguments[0].columns) {
            result = ErrorValue(ERR_VALUE);
            return;
        }
    }
    double sum = 0;
    const u32 elements = count ? ArrayElementCount(arguments[0]) : 0;
    for (u32 e = 0; e < elements; ++e) {
        double product = 1;
        for (i32 i = 0; i < count; ++i) {
            const Value& element = arguments[i].elements[e];
            if (element.type == VT_ERROR) {
                result = ErrorValue(element.error);
                return;
            }
            product *= element.type == VT_NUMBER ? element.number : 0;
        }
        sum += product;
    }
    result = NumberValue(sum);
}

namespace {

// A range of one column with every cell up to date, for the sums and counts that are kept of it.
bool TakeColumn(const SheetArea& from, LookupColumn& out) {
    Sheet* sheet = SheetAt(from.book, from.sheet);
    if (!sheet || from.area.firstColumn != from.area.lastColumn || !IsCurrent(*sheet, from.area)) return false;
    out = {sheet, from.area.firstColumn, from.area.firstRow, from.area.lastRow};
    return true;
}

bool CountKept(const SheetArea& from, const Criteria& criteria, Value& result) {
    LookupColumn column{};
    u32 count = 0;
    if (!TakeColumn(from, column) || !CountInColumn(column, criteria, count)) return false;
    result = NumberValue(count);
    return true;
}

bool SumKept(const SumMatching& matching, Value& result) {
    SheetArea partner = matching.sums;
    const RefArea& from = matching.from.area;
    partner.area.lastRow =
        static_cast<u16>(std::min(partner.area.firstRow + (from.lastRow - from.firstRow), MAX_ROWS - 1));
    partner.area.lastColumn = partner.area.firstColumn;
    LookupColumn column{}, sums{};
    double sum = 0;
    if (!TakeColumn(matching.from, column) || !TakeColumn(partner, sums) ||
        !SumInColumn(column, matching.criteria,
                     {sums.sheet, sums.column, partner.area.firstRow - from.firstRow}, sum))
        return false;
    result = NumberValue(sum);
    return true;
}

}  // namespace

void CallCountif(Value* arguments, Value& result, const EvalContext& context) {
    SheetArea from;
    if (!OneArea(arguments[0], context, from, result)) return;
    PrepareCriteria(arguments[1], context);
    Matching matching{TakeCriteria(arguments[1])};
    if (CountKept(from, matching.criteria, result)) return;
    i32 error = -1;
    IgnoreFailure(VisitValues(arguments[0], context, CountMatch, &matching, error));
    const u64 cells =
        u64{from.area.lastRow - from.area.firstRow + 1u} * (from.area.lastColumn - from.area.firstColumn + 1u);
    // Cells that are not stored match as empties do.
    if (matching.criteria.matchesEmpty) matching.matches += cells - matching.visited;
    result = NumberValue(static_cast<double>(matching.matches));
}

namespace {

// The cells that are added up have the shape of those that are compared, from the first of the given ones on.
// Where the formula does not show them all, as through a name, it is calculated after every change.
void FollowSums(const SheetArea& from, const SheetArea& sums, const EvalContext& context) {
    const RefArea reached = WithShapeOf(sums.area, from.area);
    if (AreaHoldsArea(sums.area, reached)) return;
    const Sheet* sheet = SheetAt(context.book, context.sheet);
    const CellRecord* cell = sheet ? GetCell(sheet->cells, context.row, context.column) : nullptr;
    if (!cell || !cell->formula) return;
    u32 at = 0;
    TokenPrecedent precedent;
    while (NextPrecedent(*cell->formula, at, precedent)) {
        if (AreaHoldsArea(precedent.area, reached)) return;
    }
    CalculateAlways(context);
}

}  // namespace

void CallSumif(Value* arguments, Value& result, const EvalContext& context) {
    SheetArea from, sums;
    if (!OneArea(arguments[0], context, from, result)) return;
    sums = from;
    if (!IsMissing(arguments[2]) && !OneArea(arguments[2], context, sums, result)) return;
    FollowSums(from, sums, context);
    PrepareCriteria(arguments[1], context);
    SumMatching matching{TakeCriteria(arguments[1]), from, sums};
    if (SumKept(matching, result)) return;
    i32 error = -1;
    IgnoreFailure(VisitValues(arguments[0], context, VisitSum, &matching, error));
    AddEmptyMatches(matching);
    result = NumberValue(matching.sum);
}

namespace {

struct FilledCells {
    u32 count = 0;
    bool skipHidden = false;  // rows hidden by hand, too
};

// COUNTA of a subtotal counts what is there, numbers or not.
bool CountFilled(const VisitedValue& visited, void* state) {
    FilledCells& filled = *static_cast<FilledCells*>(state);
    const Sheet* sheet = SheetAt(visited.book, visited.sheet);
    u16 flags = 0;
    const bool skips = sheet && (filled.skipHidden || sheet->filterState);
    if (skips) GetRowInfo(sheet->rows, visited.row, flags);
    const bool counts =
        visited.value->type != VT_EMPTY && !(flags & ROW_HIDDEN) && !CallsSubtotal(*visited.cell);
    filled.count += counts;
    return true;
}

Value Total(const SumState& state, u32) { return NumberValue(state.sum); }
Value RunningMean(const RunningMoments& moments, u32 count) {
    return count ? NumberValue(moments.Mean()) : ErrorValue(ERR_DIV0);
}
template <u64 less, bool root>
Value Spread(const RunningMoments& moments, u32) {
    return moments.Variance(less, root);
}

// The numbers of a call: those of one area that are kept, or its own.
struct SubtotalNumbers {
    NumberRange range;
    CollectOptions own;
};

template <typename State>
Value Run(SubtotalNumbers& numbers, FinishState<State> finish) {
    Value value;
    if (numbers.range.kept && KeptResult(numbers.range, finish, value)) return value;
    const u32 count = numbers.own.values.Count();
    return finish(WalkNumbers<State>(numbers.own.values.Data(), count), count);
}

Value Extreme(const SubtotalNumbers& numbers, bool greatest) {
    const NumberRange& range = numbers.range;
    const Array<double>& own = numbers.own.values;
    if (range.kept ? !range.Count() : own.IsEmpty()) return NumberValue(0);
    if (range.kept) return NumberValue(greatest ? GreatestOf(range) : LeastOf(range));
    return NumberValue(greatest ? *std::max_element(own.begin(), own.end())
                                : *std::min_element(own.begin(), own.end()));
}

Value SubtotalOf(i32 code, SubtotalNumbers& numbers) {
    if (numbers.range.kept && numbers.range.error >= 0) return ErrorValue(numbers.range.error);
    switch (code) {
        case 1: return Run(numbers, RunningMean);
        case 2: return NumberValue(numbers.range.kept ? numbers.range.Count() : numbers.own.values.Count());
        case 4: return Extreme(numbers, true);
        case 5: return Extreme(numbers, false);
        case 6: return Run(numbers, Product);
        case 7: return Run(numbers, Spread<1, true>);
        case 8: return Run(numbers, Spread<0, true>);
        case 9: return Run(numbers, Total);
        case 10: return Run(numbers, Spread<1, false>);
        default: return Run(numbers, Spread<0, false>);
    }
}

// What is kept of the only area, where no row is hidden by a filter and no cell calls SUBTOTAL.
bool TakeOnly(Value* arguments, const EvalContext& context, NumberRange& range) {
    if (LocateOnly(arguments + 1, context, false, range) && !range.sheet->filterState && TakeNumbers(range) &&
        !HoldsSubtotal(range))
        return true;
    range.kept = nullptr;
    return false;
}

}  // namespace

void CallSubtotal(Value* arguments, Value& result, const EvalContext& context) {
    i32 code = 0;
    if (!IntegerArgument(arguments[0], result, context, code)) return;
    // Codes from 101 on are the same ones, which also pass over rows that were hidden by hand.
    constexpr i32 WITHOUT_HIDDEN = 100;
    FilledCells filled;
    filled.skipHidden = code > WITHOUT_HIDDEN;
    if (filled.skipHidden) code -= WITHOUT_HIDDEN;
    if (code < 1 || code > 11) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    SubtotalNumbers numbers;
    numbers.own.skipSubtotals = true;
    numbers.own.hiddenRows = filled.skipHidden ? 1 : 2;
    if (!filled.skipHidden && TakeOnly(arguments, context, numbers.range)) {
        result = code == 3 ? NumberValue(numbers.range.Filled()) : SubtotalOf(code, numbers);
        return;
    }
    for (i32 i = 1; i < MAX_ARGUMENTS && !IsMissing(arguments[i]); ++i) {
        SheetArea area;
        i32 error = -1;
        if (!OneArea(arguments[i], context, area, result)) {
            result = ErrorValue(ERR_VALUE);
            return;
        }
        if (code == 3) {
            IgnoreFailure(VisitValues(arguments[i], context, CountFilled, &filled, error));
        } else if (!CollectNumbers(arguments[i], context, numbers.own)) {
            result = ErrorValue(numbers.own.error);
            return;
        }
    }
    result = code == 3 ? NumberValue(filled.count) : SubtotalOf(code, numbers);
}

}  // namespace tally
