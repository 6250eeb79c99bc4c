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

// Counts, means and the sums of squares and products about the means.
struct PairMoments {
    double count = 0;
    double mean1 = 0, mean2 = 0;
    double squares1 = 0, squares2 = 0, products = 0;

    double Slope() const { return products / squares2; }
    double Intercept() const { return mean1 - Slope() * mean2; }
    double Correlation() const { return products / (std::sqrt(squares1) * std::sqrt(squares2)); }
};

// By two passes, so that a large mean costs no digits.
bool ReadMoments(Value* arguments, Value& result, const EvalContext& context, PairMoments& m) {
    double sum1 = 0, sum2 = 0;
    if (!WalkPairs(arguments, result, context, [&](double a, double b) {
            m.count += 1;
            sum1 += a;
            sum2 += b;
        }))
        return false;
    m.mean1 = sum1 / m.count;
    m.mean2 = sum2 / m.count;
    return WalkPairs(arguments, result, context, [&](double a, double b) {
        m.squares1 += (a - m.mean1) * (a - m.mean1);
        m.squares2 += (b - m.mean2) * (b - m.mean2);
        m.products += (a - m.mean1) * (b - m.mean2);
    });
}

// Handlers of the moments; what divides by zero is "#DIV/0!".
template <typename Finish>
void OfPairs(Value* arguments, Value& result, const EvalContext& context, Finish finish) {
    PairMoments m;
    if (ReadMoments(arguments, result, context, m)) result = NumberOr(finish(m), ERR_DIV0);
}

void Correlation(Value* arguments, Value& result, const EvalContext& context, bool squared) {
    OfPairs(arguments, result, context, [=](const PairMoments& m) {
        const double r = m.Correlation();
        return squared ? r * r : r;
    });
}

// Twice the smaller tail of the ratio of two variances.
Value VarianceTest(const PairMoments& m) {
    if (m.count < 2 || m.squares1 == 0 || m.squares2 == 0) return ErrorValue(ERR_DIV0);
    const double tail = FisherTail(m.squares1 / m.squares2, m.count - 1, m.count - 1);
    const double other = FisherTail(m.squares2 / m.squares1, m.count - 1, m.count - 1);
    return NumberOr(2 * std::min(tail, other), ERR_NUM);
}

// Student's test: type 1 paired, 2 of one variance, 3 of two.
Value MeansTest(const PairMoments& m, double tails, double type) {
    const double n = m.count;
    if (n < 2) return ErrorValue(ERR_DIV0);
    const double variance1 = m.squares1 / (n - 1), variance2 = m.squares2 / (n - 1);
    double spread = (variance1 + variance2) / n, freedom = 2 * n - 2;
    if (type == 1) {
        spread = (m.squares1 + m.squares2 - 2 * m.products) / (n - 1) / n;
        freedom = n - 1;
    } else if (type == 3) {
        // Welch and Satterthwaite.
        freedom = (n - 1) * (variance1 + variance2) * (variance1 + variance2) /
                  (variance1 * variance1 + variance2 * variance2);
    }
    if (!(spread > 0)) return ErrorValue(ERR_DIV0);
    return NumberOr(tails * StudentTail(std::fabs(m.mean1 - m.mean2) / std::sqrt(spread), freedom), ERR_NUM);
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
        const double rest = std::max(0.0, m.squares1 - m.products * m.Slope());
        return m.count < 3 || m.squares2 == 0 ? HUGE_VAL : std::sqrt(rest / (m.count - 2));
    });
}

void CallFtest(Value* arguments, Value& result, const EvalContext& context) {
    PairMoments m;
    if (ReadMoments(arguments, result, context, m)) result = VarianceTest(m);
}

void CallTtest(Value* arguments, Value& result, const EvalContext& context) {
    PairMoments m;
    double tails = 0, type = 0;
    if (!ReadMoments(arguments, result, context, m)) return;
    if (!TwoNumbers(arguments + 2, result, context, tails, type)) return;
    tails = std::trunc(tails);
    type = std::trunc(type);
    const bool known = (tails == 1 || tails == 2) && type >= 1 && type <= 3;
    result = known ? MeansTest(m, tails, type) : ErrorValue(ERR_NUM);
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
    const double z = (moments.mean - x) / (sigma / std::sqrt(static_cast<double>(moments.count)));
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
    if (!WalkPairs(arguments, result, context, [&](double actual, double expected) {
            negative = negative || expected < 0;
            zero = zero || expected == 0;
            sum += (actual - expected) * (actual - expected) / expected;
        }))
        return;
    const double freedom = TableFreedom(arguments[0]);
    if (freedom < 1) {
        result = ErrorValue(ERR_NA);
    } else if (negative || zero) {
        result = ErrorValue(negative ? ERR_NUM : ERR_DIV0);
    } else {
        result = NumberOr(IncompleteGammaQ(sum / 2, freedom / 2), ERR_NUM);
    }
}

}  // namespace tally
