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

// Newton's method with central differences over a step that shrinks.
Value RateOfReturn(const Array<double>& values, double rate) {
    constexpr i32 ROUNDS = 20;
    constexpr double GOOD_ENOUGH = 1e-7;
    double h = 0.01;
    for (i32 round = 0; round < ROUNDS; ++round) {
        const double y = Discounted(values, rate);
        if (std::fabs(y) < GOOD_ENOUGH) return NumberValue(rate);
        const double below = Discounted(values, rate - h), above = Discounted(values, rate + h);
        if (below == above) return ErrorValue(ERR_NUM);
        rate -= 2 * y * h / (above - below);
        h /= 4;
    }
    return ErrorValue(ERR_NUM);
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
    result = options.values.IsEmpty() ? ErrorValue(ERR_NUM) : RateOfReturn(options.values, guess);
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

}  // namespace tally
