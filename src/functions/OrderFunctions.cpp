#include <algorithm>
#include <cmath>

#include "functions/Aggregate.h"
#include "functions/Handlers.h"
#include "functions/KeptOrder.h"
#include "functions/RoundDigits.h"

// Order statistics.

namespace tally {
namespace {

constexpr u32 MAX_BINS = 65535;  // one row less than an array can have

bool IsNear(double a, double b) { return std::fabs(a - b) <= std::min(std::fabs(a), std::fabs(b)) * 1e-15; }

void Sort(Array<double>& values) { std::sort(values.begin(), values.end(), IsBefore); }

// The numbers of an argument in ascending order: a kept order, or their own.
struct OrderedNumbers {
    CollectOptions own;
    const KeptOrder* kept = nullptr;
    u32 keptCount = 0;

    u32 Count() const { return kept ? keptCount : own.values.Count(); }
    double At(u32 place) {
        if (kept) return NumberAt(*kept, place);
        Array<double>& values = own.values;
        // For one question the numbers need not all be sorted.
        std::nth_element(values.begin(), values.begin() + place, values.end(), IsBefore);
        return values[place];
    }
    u32 Below(double x) const {
        if (kept) return CountBelow(*kept, x);
        u32 count = 0;
        for (double value : own.values) count += value < x;
        return count;
    }
};

// False with the error in `result`.
bool ReadOrdered(const Value& argument, Value& result, const EvalContext& context, OrderedNumbers& out) {
    NumberRange range;
    if (LocateNumbers(argument, context, false, range) && TakeNumbers(range) && range.error < 0) {
        out.kept = TakeOrder(range);
        out.keptCount = range.Count();
        if (out.kept) return true;
    }
    return ReadNumbers(argument, context, out.own, result);
}

double MiddleOf(OrderedNumbers& numbers) {
    const u32 middle = numbers.Count() / 2;
    const double upper = numbers.At(middle);
    return numbers.Count() % 2 ? upper : (numbers.At(middle - 1) + upper) / 2;
}

Value Median(Array<double>& values) {
    if (values.IsEmpty()) return ErrorValue(ERR_NUM);
    OrderedNumbers numbers;
    numbers.own.values = std::move(values);
    return NumberValue(MiddleOf(numbers));
}

// Of values that stand there equally often it is the one that comes first.
Value Mode(Array<double>& values) {
    Array<double> sorted;
    if (!sorted.AppendMany(values.Data(), values.Count())) return ErrorValue(ERR_NA);
    Sort(sorted);
    std::ptrdiff_t longest = 1;
    for (const double* at = sorted.begin(); at != sorted.end();) {
        const double* end = std::upper_bound(at, static_cast<const double*>(sorted.end()), *at);
        longest = std::max(longest, end - at);
        at = end;
    }
    for (double x : values) {
        const auto [first, last] = std::equal_range(sorted.begin(), sorted.end(), x);
        if (longest > 1 && last - first == longest) return NumberValue(x);
    }
    return ErrorValue(ERR_NA);
}

// What is given to MODE by itself and is a text or a blank cell is not read as a number. False with the error
// in `result`.
bool NoTextsAlone(Value* arguments, Value& result) {
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        const Value& argument = arguments[i];
        const bool blank = argument.type == VT_EMPTY && !IsMissing(argument);
        if (argument.type != VT_ERROR && argument.type != VT_STRING && !blank) continue;
        result = ErrorValue(argument.type == VT_ERROR ? argument.error : i32{ERR_VALUE});
        return false;
    }
    return true;
}

// The value that the share `k` of the data lies below.
Value Percentile(OrderedNumbers& numbers, double k) {
    const u32 count = numbers.Count();
    if (!count || !(k >= 0 && k <= 1)) return ErrorValue(ERR_NUM);
    const double x = static_cast<double>(count - 1) * k;
    const u32 i = static_cast<u32>(x);
    if (i + 1 >= count) return NumberValue(numbers.At(count - 1));
    const double low = numbers.At(i);
    return NumberValue(low + (numbers.At(i + 1) - low) * (x - i));
}

// The k-th value from the top or from the bottom.
void Ranked(Value* arguments, Value& result, const EvalContext& context, bool fromTop) {
    double k = 0;
    OrderedNumbers numbers;
    if (!ReadOrdered(arguments[0], result, context, numbers) ||
        !NumberArgument(arguments[1], result, context, k))
        return;
    k = std::trunc(k);
    result = ErrorValue(ERR_NUM);
    const u32 count = numbers.Count();
    if (!(k >= 1 && k <= count)) return;
    result = NumberValue(numbers.At(fromTop ? count - static_cast<u32>(k) : static_cast<u32>(k) - 1));
}

// The share of the data below x, between two neighbours in proportion.
Value PercentRank(OrderedNumbers& numbers, double x, i32 digits) {
    const u32 count = numbers.Count();
    if (digits < 1 || !count) return ErrorValue(ERR_NUM);
    if (x < numbers.At(0) || x > numbers.At(count - 1)) return ErrorValue(ERR_NA);
    const u32 below = numbers.Below(x);
    const double next = numbers.At(below);
    double rank = below;
    if (next != x) {
        const double last = numbers.At(below - 1);
        rank += (x - last) / (next - last) - 1;
    }
    // A single value is above all of the others there are.
    if (count == 1) return NumberValue(1);
    rank /= static_cast<double>(count - 1);
    return NumberValue(RoundDigits(rank, digits, ROUND_DOWN));
}

}  // namespace

void CallMedian(Value* arguments, Value& result, const EvalContext& context) {
    NumberRange range;
    OrderedNumbers numbers;
    if (LocateOnly(arguments, context, false, range) && TakeNumbers(range) && range.error < 0 &&
        range.Count() && (numbers.kept = TakeOrder(range)) != nullptr) {
        numbers.keptCount = range.Count();
        result = NumberValue(MiddleOf(numbers));
        return;
    }
    Aggregate(arguments, result, context, false, Median);
}
void CallMode(Value* arguments, Value& result, const EvalContext& context) {
    if (NoTextsAlone(arguments, result)) Aggregate(arguments, result, context, false, Mode);
}
void CallLarge(Value* arguments, Value& result, const EvalContext& context) {
    Ranked(arguments, result, context, true);
}
void CallSmall(Value* arguments, Value& result, const EvalContext& context) {
    Ranked(arguments, result, context, false);
}

void CallPercentile(Value* arguments, Value& result, const EvalContext& context) {
    OrderedNumbers data;
    double k = 0;
    if (ReadOrdered(arguments[0], result, context, data) && NumberArgument(arguments[1], result, context, k))
        result = Percentile(data, k);
}

void CallQuartile(Value* arguments, Value& result, const EvalContext& context) {
    OrderedNumbers data;
    double quarter = 0;
    if (ReadOrdered(arguments[0], result, context, data) &&
        NumberArgument(arguments[1], result, context, quarter))
        result = Percentile(data, std::trunc(quarter) * 0.25);
}

namespace {

// The rank in an order; 0 when x is none of its numbers.
double RankInOrder(const KeptOrder& order, u32 count, double x, bool ascending) {
    // Values that are near stand together about the place of x, equal ones side by side.
    u32 below = CountBelow(order, x), through = below;
    while (below && IsNear(NumberAt(order, below - 1), x))
        below = CountBelow(order, NumberAt(order, below - 1));
    while (through < count && IsNear(NumberAt(order, through), x))
        through = CountThrough(order, NumberAt(order, through));
    if (below == through) return 0;
    return static_cast<double>(ascending ? below : count - through) + 1;
}

double RankByCounting(const Array<double>& values, double x, bool ascending) {
    bool present = false;
    double rank = 1;
    for (double value : values) {
        const bool same = IsNear(value, x);
        present = present || same;
        rank += !same && (ascending ? value < x : value > x);
    }
    return present ? rank : 0;
}

}  // namespace

void CallRank(Value* arguments, Value& result, const EvalContext& context) {
    double x = 0, order = 0;
    OrderedNumbers data;
    if (!NumberArgument(arguments[0], result, context, x)) return;
    if (!ReadOrdered(arguments[1], result, context, data)) return;
    if (!OptionalNumber(arguments[2], result, context, 0, order)) return;
    const bool ascending = std::trunc(order) != 0;
    const double rank = data.kept ? RankInOrder(*data.kept, data.Count(), x, ascending)
                                  : RankByCounting(data.own.values, x, ascending);
    result = rank != 0 ? NumberValue(rank) : ErrorValue(ERR_NA);
}

void CallPercentrank(Value* arguments, Value& result, const EvalContext& context) {
    OrderedNumbers data;
    double x = 0;
    i32 digits = 0;
    if (ReadOrdered(arguments[0], result, context, data) && NumberArgument(arguments[1], result, context, x) &&
        OptionalInteger(arguments[2], result, context, 3, digits))
        result = PercentRank(data, x, digits);
}

void CallTrimmean(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions data;
    double share = 0;
    if (!ReadNumbers(arguments[0], context, data, result) ||
        !NumberArgument(arguments[1], result, context, share))
        return;
    result = ErrorValue(ERR_NUM);
    if (!(share >= 0 && share <= 1)) return;
    Sort(data.values);
    const u32 count = data.values.Count();
    const u32 drop = static_cast<u32>(count * share / 2);
    if (count <= 2 * drop) return;
    double sum = 0;
    for (u32 i = drop; i < count - drop; ++i) sum += data.values[i];
    result = NumberValue(sum / (count - 2 * drop));
}

void CallFrequency(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions data, bins;
    data.numbersOnly = bins.numbersOnly = true;
    if (!ReadNumbers(arguments[0], context, data, result)) return;
    if (!ReadNumbers(arguments[1], context, bins, result)) return;
    Array<double>& limits = bins.values;
    result = ErrorValue(ERR_NA);
    if (limits.IsEmpty() && !limits.Append(0)) return;
    Sort(limits);
    result = ErrorValue(ERR_NUM);
    if (limits.Count() > MAX_BINS) return;
    result = ArrayValue(limits.Count() + 1, 1);
    if (result.type != VT_ARRAY) return;
    for (u32 i = 0; i <= limits.Count(); ++i) result.elements[i] = NumberValue(0);
    for (double value : data.values)
        result.elements[std::lower_bound(limits.begin(), limits.end(), value) - limits.begin()].number += 1;
}

}  // namespace tally
