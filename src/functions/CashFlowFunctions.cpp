#include <cmath>

#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "functions/RootSearch.h"

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

using Wide = long double;

// What a series is worth at a rate, and how that changes with the rate.
struct Worth {
    double value, slope;
};

// Payments after whole periods. The worth is that of the day of the first payment: its roots are the same.
struct EvenFlow {
    const Array<double>& values;
    Worth operator()(double rate) const {
        const Wide factor = 1 / (1 + Wide{rate});
        Wide sum = 0, slope = 0;
        for (u32 i = values.Count(); i-- > 0;) {
            slope = slope * factor + sum;
            sum = sum * factor + values[i];
        }
        return {static_cast<double>(sum), static_cast<double>(-slope * factor * factor)};
    }
};

// Payments at dates of their own, the first date being the day of the value.
struct DatedFlow {
    CollectOptions values;
    CollectOptions dates;
    Worth operator()(double rate) const {
        constexpr double YEARS_PER_DAY = 0.0027397260273972603;
        Wide sum = 0, slope = 0;
        for (u32 i = 0; i < values.values.Count(); ++i) {
            const double years = (dates.values[i] - dates.values[0]) * YEARS_PER_DAY;
            const double term = values.values[i] / std::pow(1 + rate, years);
            sum += term;
            slope -= term * years;
        }
        return {static_cast<double>(sum), static_cast<double>(slope / (1 + rate))};
    }
};

// Newton's method from the guess; steps that would pass the rate of total loss go half the way to it.
template <typename Flow>
bool StepToRoot(const Flow& flow, double& rate) {
    constexpr i32 ROUNDS = 60;
    constexpr double SETTLED = 1e-12, TOTAL_LOSS = -1;
    const bool above = rate > TOTAL_LOSS;
    for (i32 round = 0; round < ROUNDS; ++round) {
        const Worth at = flow(rate);
        if (at.value == 0) return true;
        double next = rate - at.value / at.slope;
        if (!std::isfinite(next)) return false;
        if (above && next <= TOTAL_LOSS) next = (rate + TOTAL_LOSS) / 2;
        const double step = next - rate;
        rate = next;
        if (std::fabs(step) <= SETTLED * (std::fabs(rate) + 1)) return rate != TOTAL_LOSS;
    }
    return false;
}

// The root nearest to the guess, by the logarithm of the growth, among places that lie further and further off.
template <typename Flow>
Value NearestRoot(const Flow& flow, double guess) {
    constexpr double FIRST_STEP = 0.01, WIDER = 1.2, END = 35;
    const double center = std::log1p(guess > -1 ? guess : 0.1);
    const auto at = [&](double force) { return flow(std::expm1(force)).value; };
    double places[2] = {center, center};
    double values[2] = {at(center), at(center)};
    for (double distance = FIRST_STEP; distance < 2 * END; distance *= WIDER) {
        for (i32 side = 0; side < 2; ++side) {
            const double place = center + (side ? -distance : distance);
            const double value = std::fabs(place) < END ? at(place) : NAN;
            if ((value > 0 && values[side] < 0) || (value < 0 && values[side] > 0)) {
                const auto worth = [&](double rate) { return flow(rate).value; };
                return NumberValue(
                    RootBetween(std::expm1(places[side]), values[side], std::expm1(place), value, worth));
            }
            if (std::isnan(value)) continue;
            places[side] = place;
            values[side] = value;
        }
    }
    return ErrorValue(ERR_NUM);
}

// The rate at which gains and losses are worth the same.
template <typename Flow>
Value RateOfReturn(const Flow& flow, const Array<double>& values, double guess) {
    bool gains = false, losses = false;
    for (double x : values) {
        gains = gains || x > 0;
        losses = losses || x < 0;
    }
    if (!gains || !losses) return ErrorValue(ERR_NUM);
    double rate = guess;
    return StepToRoot(flow, rate) ? NumberValue(rate) : NearestRoot(flow, guess);
}

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
    result = RateOfReturn(EvenFlow{options.values}, options.values, guess);
}

void CallMirr(Value* arguments, Value& result, const EvalContext& context) {
    CollectOptions options;
    double finance = 0, reinvest = 0;
    if (!ReadSeries(arguments[0], context, ERR_DIV0, options, result)) return;
    if (!TwoNumbers(arguments + 1, result, context, finance, reinvest)) return;
    double invested = 0, earned = 0;
    // Gains grow to the day of the last value, losses are worth what they were on the day of the first.
    for (double x : options.values) earned = earned * (1 + reinvest) + std::fmax(x, 0);
    for (u32 i = options.values.Count(); i-- > 0;)
        invested = invested / (1 + finance) + std::fmin(options.values[i], 0);
    const double periods = options.values.Count() - 1.0;
    result = invested == 0 || periods < 1 ? ErrorValue(ERR_DIV0)
                                          : NumberValue(std::pow(-earned / invested, 1 / periods) - 1);
}

void CallXirr(Value* arguments, Value& result, const EvalContext& context) {
    DatedFlow flow;
    double guess = 0;
    if (!ReadDatedFlow(arguments, result, context, flow)) return;
    if (!OptionalNumber(arguments[2], result, context, 0.1, guess)) return;
    result = RateOfReturn(flow, flow.values.values, guess);
}

void CallXnpv(Value* arguments, Value& result, const EvalContext& context) {
    DatedFlow flow;
    double rate = 0;
    if (!NumberArgument(arguments[0], result, context, rate)) return;
    if (ReadDatedFlow(arguments + 1, result, context, flow)) result = NumberValue(flow(rate).value);
}

}  // namespace tally
