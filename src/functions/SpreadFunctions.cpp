#include <cmath>

#include "functions/Aggregate.h"
#include "functions/Handlers.h"

// Means and measures of spread and shape.

namespace tally {
namespace {

using Wide = long double;

Wide Mean(const Array<double>& values) {
    Wide sum = 0;
    for (double x : values) sum += x;
    return sum / values.Count();
}

// Sum of a power of the deviations from the mean.
template <typename Term>
double SumDeviations(const Array<double>& values, Term term) {
    const Wide mean = Mean(values);
    Wide sum = 0;
    for (double x : values) sum += term(x - mean);
    return static_cast<double>(sum);
}

double SquareSum(const Array<double>& values) {
    return SumDeviations(values, [](Wide d) { return d * d; });
}

bool AllPositive(const Array<double>& values) {
    for (double x : values) {
        if (x <= 0) return false;
    }
    return !values.IsEmpty();
}

Value AverageDeviation(Array<double>& values) {
    if (values.IsEmpty()) return ErrorValue(ERR_NUM);
    return NumberValue(SumDeviations(values, [](Wide d) { return std::fabs(d); }) / values.Count());
}

Value SquaredDeviations(Array<double>& values) {
    return values.IsEmpty() ? ErrorValue(ERR_NUM) : NumberValue(SquareSum(values));
}

Value GeometricMean(Array<double>& values) {
    if (!AllPositive(values)) return ErrorValue(ERR_NUM);
    double sum = 0;
    for (double x : values) sum += std::log(x);
    return NumberValue(std::exp(sum / values.Count()));
}

Value HarmonicMean(Array<double>& values) {
    if (!AllPositive(values)) return ErrorValue(ERR_NUM);
    double sum = 0;
    for (double x : values) sum += 1 / x;
    return NumberValue(values.Count() / sum);
}

// The sample excess kurtosis.
Value Kurtosis(Array<double>& values) {
    const double n = values.Count();
    const double variance = n < 4 ? 0 : SquareSum(values) / (n - 1);
    if (variance == 0) return ErrorValue(ERR_DIV0);
    const double fourth =
        SumDeviations(values, [&](Wide d) { return (d * d / variance) * (d * d / variance); });
    return NumberValue(n * (n + 1) / ((n - 1) * (n - 2) * (n - 3)) * fourth -
                       3 * (n - 1) * (n - 1) / ((n - 2) * (n - 3)));
}

// The sample skewness.
Value Skewness(Array<double>& values) {
    const double n = values.Count();
    const double deviation = n < 3 ? 0 : std::sqrt(SquareSum(values) / (n - 1));
    if (deviation == 0) return ErrorValue(ERR_DIV0);
    const double third = SumDeviations(values, [&](Wide d) {
        const Wide z = d / deviation;
        return z * z * z;
    });
    return NumberValue(n / ((n - 1) * (n - 2)) * third);
}

}  // namespace

void CallAvedev(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, AverageDeviation);
}
void CallDevsq(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, SquaredDeviations);
}
void CallGeomean(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, GeometricMean);
}
void CallHarmean(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, HarmonicMean);
}
void CallKurt(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, Kurtosis);
}
void CallSkew(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, Skewness);
}

}  // namespace tally
