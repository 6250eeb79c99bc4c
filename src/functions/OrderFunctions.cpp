#include <algorithm>
#include <cmath>
#include <span>

#include "functions/Aggregate.h"
#include "functions/Handlers.h"
#include "functions/RoundDigits.h"

// Order statistics.

namespace tally {
namespace {

constexpr u32 MAX_BINS = 65535;  // one row less than an array can have

bool IsNear(double a, double b) { return std::fabs(a - b) <= std::min(std::fabs(a), std::fabs(b)) * 1e-15; }

void Sort(Array<double>& values) { std::sort(values.begin(), values.end()); }

// The numbers of an argument in ascending order: kept ones, or their own.
struct SortedData {
    CollectOptions own;
    const Array<double>* kept = nullptr;
    std::span<const double> Values() const { return kept ? kept->Span() : own.values.Span(); }
};

// False with the error in `result`.
bool ReadSorted(const Value& argument, Value& result, const EvalContext& context, SortedData& data) {
    if (KeptNumbers* kept = NumbersOf(argument, context, false)) {
        if (kept->error >= 0) {
            result = ErrorValue(kept->error);
            return false;
        }
        data.kept = SortedNumbers(*kept);
        if (data.kept) return true;
    }
    if (!ReadNumbers(argument, context, data.own, result)) return false;
    Sort(data.own.values);
    return true;
}

Value Median(Array<double>& values) {
    if (values.IsEmpty()) return ErrorValue(ERR_NUM);
    Sort(values);
    const u32 middle = values.Count() / 2;
    return NumberValue(values.Count() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2);
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

// Texts that are given to MODE by themselves are not read as numbers. False with the error in `result`.
bool NoTextsAlone(Value* arguments, Value& result) {
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        const Value& argument = arguments[i];
        if (argument.type != VT_ERROR && argument.type != VT_STRING) continue;
        result = ErrorValue(argument.type == VT_ERROR ? argument.error : i32{ERR_VALUE});
        return false;
    }
    return true;
}

// The value that the share `k` of the data lies below.
Value Percentile(std::span<const double> values, double k) {
    if (values.empty() || !(k >= 0 && k <= 1)) return ErrorValue(ERR_NUM);
    const double x = static_cast<double>(values.size() - 1) * k;
    const u32 i = static_cast<u32>(x);
    if (i + 1 >= values.size()) return NumberValue(values.back());
    return NumberValue(values[i] + (values[i + 1] - values[i]) * (x - i));
}

// The k-th value from the top or from the bottom.
void Ranked(Value* arguments, Value& result, const EvalContext& context, bool fromTop) {
    double k = 0;
    CollectOptions data;
    KeptNumbers* kept = NumbersOf(arguments[0], context, false);
    const Array<double>* sorted = kept && kept->error < 0 ? SortedNumbers(*kept) : nullptr;
    if (!sorted && !ReadNumbers(arguments[0], context, data, result)) return;
    if (!NumberArgument(arguments[1], result, context, k)) return;
    k = std::trunc(k);
    result = ErrorValue(ERR_NUM);
    const u32 count = sorted ? sorted->Count() : data.values.Count();
    if (!(k >= 1 && k <= count)) return;
    const u32 place = fromTop ? count - static_cast<u32>(k) : static_cast<u32>(k) - 1;
    // For one question the numbers need not all be sorted.
    if (!sorted) std::nth_element(data.values.begin(), data.values.begin() + place, data.values.end());
    result = NumberValue(sorted ? (*sorted)[place] : data.values[place]);
}

// The share of the data below x, between two neighbours in proportion.
Value PercentRank(std::span<const double> values, double x, i32 digits) {
    if (digits < 1 || values.empty()) return ErrorValue(ERR_NUM);
    if (x < values.front() || x > values.back()) return ErrorValue(ERR_NA);
    const double* at = std::lower_bound(values.data(), values.data() + values.size(), x);
    double rank = static_cast<double>(at - values.data());
    if (*at != x) rank += (x - at[-1]) / (*at - at[-1]) - 1;
    // A single value is above all of the others there are.
    if (values.size() == 1) return NumberValue(1);
    rank /= static_cast<double>(values.size() - 1);
    return NumberValue(RoundDigits(rank, digits, ROUND_DOWN));
}

}  // namespace

void CallMedian(Value* arguments, Value& result, const EvalContext& context) {
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
    SortedData data;
    double k = 0;
    if (ReadSorted(arguments[0], result, context, data) && NumberArgument(arguments[1], result, context, k))
        result = Percentile(data.Values(), k);
}

void CallQuartile(Value* arguments, Value& result, const EvalContext& context) {
    SortedData data;
    double quarter = 0;
    if (ReadSorted(arguments[0], result, context, data) &&
        NumberArgument(arguments[1], result, context, quarter))
        result = Percentile(data.Values(), std::trunc(quarter) * 0.25);
}

namespace {

// The rank among sorted values; 0 when x is none of them.
double RankInOrder(const Array<double>& sorted, double x, bool ascending) {
    // Values that are near stand together about the place of x, equal ones side by side.
    const double* const begin = sorted.begin();
    const double* const end = sorted.end();
    const double* below = std::lower_bound(begin, end, x);
    const double* above = below;
    while (below > begin && IsNear(below[-1], x)) below = std::lower_bound(begin, end, below[-1]);
    while (above < end && IsNear(*above, x)) above = std::upper_bound(begin, end, *above);
    if (below == above) return 0;
    return static_cast<double>(ascending ? below - begin : end - above) + 1;
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
    CollectOptions data;
    if (!NumberArgument(arguments[0], result, context, x)) return;
    KeptNumbers* kept = NumbersOf(arguments[1], context, false);
    const Array<double>* sorted = kept && kept->error < 0 ? SortedNumbers(*kept) : nullptr;
    if (!sorted && !ReadNumbers(arguments[1], context, data, result)) return;
    if (!OptionalNumber(arguments[2], result, context, 0, order)) return;
    const bool ascending = std::trunc(order) != 0;
    const double rank = sorted ? RankInOrder(*sorted, x, ascending) : RankByCounting(data.values, x, ascending);
    result = rank != 0 ? NumberValue(rank) : ErrorValue(ERR_NA);
}

void CallPercentrank(Value* arguments, Value& result, const EvalContext& context) {
    SortedData data;
    double x = 0;
    i32 digits = 0;
    if (ReadSorted(arguments[0], result, context, data) && NumberArgument(arguments[1], result, context, x) &&
        OptionalInteger(arguments[2], result, context, 3, digits))
        result = PercentRank(data.Values(), x, digits);
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
