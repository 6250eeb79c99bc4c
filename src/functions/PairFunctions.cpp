#include <algorithm>
#include <cmath>

#include "functions/Aggregate.h"
#include "functions/Handlers.h"
#include "functions/RunningMoments.h"
#include "functions/SpecialFunctions.h"

// Functions of two ranges that are walked in step.

namespace tally {
namespace {

constexpr double SHARES_TOLERANCE = 1e-10;

Value NumberOr(double x, i32 error) { return std::isfinite(x) ? NumberValue(x) : ErrorValue(error); }

// Calls `visit` with the places where both hold numbers. False with the error in `result`: that of an
// element, or "#N/A" for differing counts.
template <typename Visit>
bool WalkPairs(Value* arguments, Value& result, const EvalContext& context, Visit visit) {
    if (!ArrayArgument(arguments[0], result, context) || !ArrayArgument(arguments[1], result, context))
        return false;
    const u32 count = ArrayElementCount(arguments[0]);
    if (count != ArrayElementCount(arguments[1])) {
        result = ErrorValue(ERR_NA);
        return false;
    }
    for (u32 i = 0; i < count; ++i) {
        const Value& first = arguments[0].elements[i];
        const Value& second = arguments[1].elements[i];
        if (first.type == VT_ERROR || second.type == VT_ERROR) {
            result = ErrorValue(first.type == VT_ERROR ? first.error : second.error);
            return false;
        }
        if (first.type == VT_NUMBER && second.type == VT_NUMBER) visit(first.number, second.number);
    }
    return true;
}

using Wide = long double;

// Counts, means and the sums of squares and products about the means.
struct PairMoments {
    double count = 0;
    Wide mean1 = 0, mean2 = 0;
    Wide squares1 = 0, squares2 = 0, products = 0;

    Wide Slope() const { return products / squares2; }
    Wide Intercept() const { return mean1 - Slope() * mean2; }
    Wide Correlation() const { return products / (std::sqrt(squares1) * std::sqrt(squares2)); }
};

// By two passes, so that a large mean costs no digits.
bool ReadMoments(Value* arguments, Value& result, const EvalContext& context, PairMoments& m) {
    Wide sum1 = 0, sum2 = 0;
    if (!WalkPairs(arguments, result, context, [&](double a, double b) {
            m.count += 1;
            sum1 += a;
            sum2 += b;
        }))
        return false;
    m.mean1 = sum1 / m.count;
    m.mean2 = sum2 / m.count;
    return WalkPairs(arguments, result, context, [&](double a, double b) {
        const Wide d1 = a - m.mean1, d2 = b - m.mean2;
        m.squares1 += d1 * d1;
        m.squares2 += d2 * d2;
        m.products += d1 * d2;
    });
}

// Handlers of the moments; what divides by zero is "#DIV/0!".
template <typename Finish>
void OfPairs(Value* arguments, Value& result, const EvalContext& context, Finish finish) {
    PairMoments m;
    if (ReadMoments(arguments, result, context, m)) result = NumberOr(static_cast<double>(finish(m)), ERR_DIV0);
}

void Correlation(Value* arguments, Value& result, const EvalContext& context, bool squared) {
    OfPairs(arguments, result, context, [=](const PairMoments& m) {
        const Wide r = m.Correlation();
        return squared ? r * r : r;
    });
}

// The numbers of an argument about their own mean. False with the error in `result`.
bool ReadSample(Value& argument, Value& result, const EvalContext& context, RunningMoments& moments) {
    if (!ArrayArgument(argument, result, context)) return false;
    for (u32 i = 0; i < ArrayElementCount(argument); ++i) {
        const Value& element = argument.elements[i];
        if (element.type == VT_ERROR) {
            result = ErrorValue(element.error);
            return false;
        }
        if (element.type == VT_NUMBER) moments.Add(element.number);
    }
    return true;
}

// Two ranges, each by its own numbers.
struct Samples {
    RunningMoments first, second;
};
bool ReadSamples(Value* arguments, Value& result, const EvalContext& context, Samples& samples) {
    return ReadSample(arguments[0], result, context, samples.first) &&
           ReadSample(arguments[1], result, context, samples.second);
}

// Twice the smaller tail of the ratio of two variances.
Value VarianceTest(const Samples& samples) {
    const double freedom1 = static_cast<double>(samples.first.count) - 1;
    const double freedom2 = static_cast<double>(samples.second.count) - 1;
    const double variance1 = samples.first.Squares() / freedom1;
    const double variance2 = samples.second.Squares() / freedom2;
    if (freedom1 < 1 || freedom2 < 1 || variance1 == 0 || variance2 == 0) return ErrorValue(ERR_DIV0);
    const double tail = FisherTail(variance1 / variance2, freedom1, freedom2);
    const double other = FisherTail(variance2 / variance1, freedom2, freedom1);
    return NumberOr(2 * std::min(tail, other), ERR_NUM);
}

Value StudentTest(double difference, double spread, double freedom, double tails) {
    if (!(spread > 0)) return ErrorValue(ERR_DIV0);
    return NumberOr(tails * StudentTail(std::fabs(difference) / std::sqrt(spread), freedom), ERR_NUM);
}

// Student's test of the differences of pairs.
Value PairedTest(const PairMoments& m, double tails) {
    if (m.count < 2) return ErrorValue(ERR_DIV0);
    const Wide squares = m.squares1 + m.squares2 - 2 * m.products;
    return StudentTest(static_cast<double>(m.mean1 - m.mean2),
                       static_cast<double>(squares / (m.count - 1) / m.count), m.count - 1, tails);
}

// Student's test of two means, of one variance or by Welch and Satterthwaite of two.
Value MeansTest(const Samples& samples, double tails, bool oneVariance) {
    const double n1 = static_cast<double>(samples.first.count), n2 = static_cast<double>(samples.second.count);
    const double difference = samples.first.Mean() - samples.second.Mean();
    const double squares1 = samples.first.Squares(), squares2 = samples.second.Squares();
    if (n1 < 2 || n2 < 2) return ErrorValue(ERR_DIV0);
    if (oneVariance) {
        const double freedom = n1 + n2 - 2;
        return StudentTest(difference, (squares1 + squares2) / freedom * (1 / n1 + 1 / n2), freedom, tails);
    }
    const double part1 = squares1 / (n1 - 1) / n1, part2 = squares2 / (n2 - 1) / n2;
    const double spread = part1 + part2;
    const double freedom = spread * spread / (part1 * part1 / (n1 - 1) + part2 * part2 / (n2 - 1));
    return StudentTest(difference, spread, freedom, tails);
}

// Of a table of rows and columns, or of a single row or column.
double TableFreedom(const Value& table) {
    const double rows = ArrayRows(table), columns = table.columns;
    return rows > 1 && columns > 1 ? (rows - 1) * (columns - 1) : rows * columns - 1;
}

}  // namespace

void CallCorrel(Value* arguments, Value& result, const EvalContext& context) {
    Correlation(arguments, result, context, false);
}
void CallPearson(Value* arguments, Value& result, const EvalContext& context) {
    Correlation(arguments, result, context, false);
}
void CallRsq(Value* arguments, Value& result, const EvalContext& context) {
    Correlation(arguments, result, context, true);
}
void CallCovar(Value* arguments, Value& result, const EvalContext& context) {
    OfPairs(arguments, result, context, [](const PairMoments& m) { return m.products / m.count; });
}
void CallSlope(Value* arguments, Value& result, const EvalContext& context) {
    OfPairs(arguments, result, context, [](const PairMoments& m) { return m.Slope(); });
}
void CallIntercept(Value* arguments, Value& result, const EvalContext& context) {
    OfPairs(arguments, result, context, [](const PairMoments& m) { return m.Intercept(); });
}
void CallForecast(Value* arguments, Value& result, const EvalContext& context) {
    double x = 0;
    if (!NumberArgument(arguments[0], result, context, x)) return;
    OfPairs(arguments + 1, result, context,
            [=](const PairMoments& m) { return m.Intercept() + m.Slope() * x; });
}
void CallSteyx(Value* arguments, Value& result, const EvalContext& context) {
    OfPairs(arguments, result, context, [](const PairMoments& m) {
        const Wide rest = std::max(Wide{0}, m.squares1 - m.products * m.Slope());
        return m.count < 3 || m.squares2 == 0 ? Wide{HUGE_VAL} : std::sqrt(rest / (m.count - 2));
    });
}

void CallFtest(Value* arguments, Value& result, const EvalContext& context) {
    Samples samples;
    if (ReadSamples(arguments, result, context, samples)) result = VarianceTest(samples);
}

void CallTtest(Value* arguments, Value& result, const EvalContext& context) {
    double tails = 0, type = 0;
    for (i32 i = 0; i < 2; ++i) {
        if (!ArrayArgument(arguments[i], result, context)) return;
    }
    if (!TwoNumbers(arguments + 2, result, context, tails, type)) return;
    tails = std::trunc(tails);
    type = std::trunc(type);
    if (!((tails == 1 || tails == 2) && type >= 1 && type <= 3)) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    PairMoments m;
    Samples samples;
    if (type == 1) {
        if (ReadMoments(arguments, result, context, m)) result = PairedTest(m, tails);
    } else if (ReadSamples(arguments, result, context, samples)) {
        result = MeansTest(samples, tails, type == 2);
    }
}

void CallZtest(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions data;
    double x = 0, sigma = 0;
    if (!ReadNumbers(arguments[0], context, data, result)) return;
    if (!NumberArgument(arguments[1], result, context, x)) return;
    if (!OptionalNumber(arguments[2], result, context, 0, sigma)) return;
    RunningMoments moments;
    for (double value : data.values) moments.Add(value);
    result = ErrorValue(ERR_DIV0);
    if (!moments.count) return;
    if (IsMissing(arguments[2])) {
        result = moments.Variance(1, true);
        if (result.type != VT_NUMBER) return;
        sigma = result.number;
        result = ErrorValue(ERR_DIV0);
        if (sigma == 0) return;
    }
    result = ErrorValue(ERR_NUM);
    if (!(sigma > 0)) return;
    const double z = (moments.Mean() - x) / (sigma / std::sqrt(static_cast<double>(moments.count)));
    result = NumberValue(NormalCdf(-z));
}

void CallProb(Value* arguments, Value& result, const EvalContext& context) {
    if (!ArrayArgument(arguments[0], result, context) || !ArrayArgument(arguments[1], result, context)) return;
    double low = 0, high = 0;
    if (!NumberArgument(arguments[2], result, context, low)) return;
    if (!OptionalNumber(arguments[3], result, context, low, high)) return;
    double all = 0, inside = 0;
    bool valid = true;
    if (!WalkPairs(arguments, result, context, [&](double x, double share) {
            valid = valid && share > 0 && share <= 1;
            all += share;
            if (x >= low && x <= high) inside += share;
        }))
        return;
    valid = valid && std::fabs(all - 1) <= SHARES_TOLERANCE;
    result = valid ? NumberValue(inside) : ErrorValue(ERR_NUM);
}

void CallChitest(Value* arguments, Value& result, const EvalContext& context) {
    double sum = 0;
    bool negative = false, zero = false;
    u32 pairs = 0;
    if (!WalkPairs(arguments, result, context, [&](double actual, double expected) {
            ++pairs;
            negative = negative || expected < 0;
            zero = zero || expected == 0;
            sum += (actual - expected) * (actual - expected) / expected;
        }))
        return;
    const double freedom = TableFreedom(arguments[0]);
    if (freedom < 1) {
        result = ErrorValue(ERR_NA);
    } else if (negative || zero || !pairs) {
        result = ErrorValue(negative ? ERR_NUM : ERR_DIV0);
    } else {
        result = NumberOr(IncompleteGammaQ(sum / 2, freedom / 2), ERR_NUM);
    }
}

}  // namespace tally
