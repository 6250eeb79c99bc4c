#include <cmath>

#include "functions/Arguments.h"
#include "functions/Handlers.h"

// Series of payments: their value today and the rates of return that they imply.

namespace tally {
namespace {

// The numbers of a series in order. False with the error in `result`: `single` for a number in place of a
// series, "#VALUE!" for an error among the values.
bool ReadSeries(const Value& argument, const EvalContext& context, i32 single, CollectOptions& options,
                Value& result) {
    const bool series = argument.type == VT_AREA || argument.type == VT_REF || argument.type == VT_ARRAY;
    if (!series) {
        const bool empty = argument.type == VT_NUMBER || argument.type == VT_EMPTY;
        result = empty ? ErrorValue(single)
                       : ErrorValue(argument.type == VT_ERROR ? argument.error : i32{ERR_VALUE});
        return false;
    }
    options.stopAtError = true;
    if (CollectNumbers(argument, context, options)) return true;
    result = ErrorValue(ERR_VALUE);
    return false;
}

double Discounted(const Array<double>& values, double rate) {
    double sum = 0;
    for (u32 i = 0; i < values.Count(); ++i) sum += values[i] / std::pow(1 + rate, i + 1.0);
    return sum;
}

// Newton's method with central differences over a step that shrinks from `h`.
template <typename Worth>
Value RateOfReturn(const Worth& worth, double rate, double h, i32 rounds) {
    constexpr double GOOD_ENOUGH = 1e-7;
    for (i32 round = 0; round < rounds; ++round) {
        const double y = worth(rate);
        if (std::fabs(y) < GOOD_ENOUGH) return NumberValue(rate);
        const double below = worth(rate - h), above = worth(rate + h);
        if (below == above) return ErrorValue(ERR_NUM);
        rate -= 2 * y * h / (above - below);
        h /= 4;
    }
    return ErrorValue(ERR_NUM);
}

// Payments at dates of their own, the first date being the day of the value.
struct DatedFlow {
    CollectOptions values;
    CollectOptions dates;
    double operator()(double rate) const {
        constexpr double YEARS_PER_DAY = 0.0027397260273972603;
        double sum = 0;
        for (u32 i = 0; i < values.values.Count(); ++i) {
            const double years = (dates.values[i] - dates.values[0]) * YEARS_PER_DAY;
            sum += values.values[i] / std::pow(1 + rate, years);
        }
        return sum;
    }
};

bool ReadDatedFlow(Value* arguments, Value& result, const EvalContext& context, DatedFlow& flow) {
    CollectOptions* lists[] = {&flow.values, &flow.dates};
    for (i32 i = 0; i < 2; ++i) {
        if (CollectNumbers(arguments[i], context, *lists[i])) continue;
        result = ErrorValue(lists[i]->error >= 0 ? lists[i]->error : i32{ERR_NA});
        return false;
    }
    bool good = flow.values.values.Count() == flow.dates.values.Count() && flow.values.values.Count() >= 2;
    for (double& date : flow.dates.values) {
        date = std::trunc(date);
        good = good && date >= flow.dates.values[0];
    }
    if (!good) result = ErrorValue(ERR_NUM);
    return good;
}

}  // namespace

void CallNpv(Value* arguments, Value& result, const EvalContext& context) {
    double rate = 0;
    if (!NumberArgument(arguments[0], result, context, rate)) return;
    CollectOptions options;
    for (i32 i = 1; i < MAX_ARGUMENTS; ++i) {
        if (CollectNumbers(arguments[i], context, options)) continue;
        result = ErrorValue(options.error >= 0 ? options.error : i32{ERR_NA});
        return;
    }
    result = rate == -1 ? ErrorValue(ERR_DIV0) : NumberValue(Discounted(options.values, rate));
}

void CallIrr(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions options;
    double guess = 0;
    if (!ReadSeries(arguments[0], context, ERR_NUM, options, result)) return;
    if (!OptionalNumber(arguments[1], result, context, 0.1, guess)) return;
    const auto worth = [&](double rate) { return Discounted(options.values, rate); };
    result = options.values.IsEmpty() ? ErrorValue(ERR_NUM) : RateOfReturn(worth, guess, 0.01, 20);
}

void CallMirr(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions options;
    double finance = 0, reinvest = 0;
    if (!ReadSeries(arguments[0], context, ERR_DIV0, options, result)) return;
    if (!TwoNumbers(arguments + 1, result, context, finance, reinvest)) return;
    double gains = 0, gainCount = 0, losses = 0, lossCount = 0;
    for (double x : options.values) {
        if (x >= 0) {
            gains += x / std::pow(1 + reinvest, ++gainCount);
        } else {
            losses += x / std::pow(1 + finance, ++lossCount);
        }
    }
    if (gainCount == 0 || lossCount == 0) {
        result = ErrorValue(ERR_DIV0);
        return;
    }
    const double periods = gainCount + lossCount - 1;
    const double growth = -gains * std::pow(1 + reinvest, periods) / (losses * (1 + finance));
    result = NumberValue(std::pow(growth, 1 / periods) - 1);
}

void CallXirr(Value* arguments, Value& result, const EvalContext& context) {
    DatedFlow flow;
    double guess = 0;
    if (!ReadDatedFlow(arguments, result, context, flow)) return;
    if (!OptionalNumber(arguments[2], result, context, 0.1, guess)) return;
    bool gains = false, losses = false;
    for (double x : flow.values.values) {
        gains = gains || x > 0;
        losses = losses || x < 0;
    }
    result = gains && losses ? RateOfReturn(flow, guess, 0.1, 100) : ErrorValue(ERR_NUM);
}

void CallXnpv(Value* arguments, Value& result, const EvalContext& context) {
    DatedFlow flow;
    double rate = 0;
    if (!NumberArgument(arguments[0], result, context, rate)) return;
    if (ReadDatedFlow(arguments + 1, result, context, flow)) result = NumberValue(flow(rate));
}

}  // namespace tally
