#include <cmath>
#include <numbers>

#include "functions/ArgumentReader.h"
#include "functions/Bessel.h"
#include "functions/Criteria.h"
#include "functions/Handlers.h"
#include "functions/UnitTable.h"

// Units, comparisons, the error function and the Bessel functions.

namespace tally {
namespace {

// The share of the error function between two places that lie so close that their values would cancel, by
// Gauss and Legendre's sixteen points.
double ErrorFunctionNear(double from, double to) {
    constexpr struct {
        long double place, weight;
    } POINTS[] = {
        {0.9894009349916499325962L, 0.02715245941175409485178L},
        {0.944575023073232576078L, 0.06225352393864789286284L},
        {0.8656312023878317438805L, 0.09515851168249278480993L},
        {0.7554044083550030338951L, 0.1246289712555338720525L},
        {0.6178762444026437484467L, 0.1495959888165767320815L},
        {0.4580167776572273863424L, 0.1691565193950025381893L},
        {0.2816035507792589132305L, 0.1826034150449235888668L},
        {0.09501250983763744018532L, 0.1894506104550684962854L},
    };
    // Beyond it the function has nothing left that a double holds.
    constexpr double END = 40;
    if (std::fabs(from) > END) return 0;
    const long double start = from, end = to;
    const long double middle = (start + end) / 2, half = (end - start) / 2;
    const auto height = [&](long double offset) { return std::exp(-offset * (2 * middle + offset)); };
    long double sum = 0;
    for (const auto& point : POINTS)
        sum += point.weight * (height(point.place * half) + height(-point.place * half));
    return static_cast<double>(sum * half * std::exp(-middle * middle) * 2 *
                               std::numbers::inv_sqrtpi_v<long double>);
}

double ErrorFunctionBetween(double from, double to) {
    constexpr double NEAR = 0.25;
    if (std::fabs(to - from) < NEAR) return ErrorFunctionNear(from, to);
    const long double start = from, end = to;
    if (from < -0.5 && to < -0.5) return ErrorFunctionBetween(-to, -from);
    const bool inTail = from > 0.5 && to > 0.5;
    return static_cast<double>(inTail ? std::erfc(start) - std::erfc(end) : std::erf(end) - std::erf(start));
}

// A value and the second one, which may be missing and is 0 then.
bool ReadTwo(Value* arguments, Value& result, const EvalContext& context, double& a, double& b) {
    return NumberArgument(arguments[0], result, context, a) &&
           OptionalNumber(arguments[1], result, context, 0, b);
}

using BesselFunction = double (*)(double x, i32 order);
// Some are defined only above zero.
void Bessel(Value* arguments, Value& result, const EvalContext& context, bool aboveZero, BesselFunction value) {
    ArgumentReader in{arguments, result, context};
    const double x = in.Number();
    const i32 order = in.Integer();
    in.Require(order >= 0 && order <= MAX_BESSEL_ORDER && (x > 0 || !aboveZero));
    if (in.Done()) result = NumberValue(value(x, order));
}

}  // namespace

void CallConvert(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    const double x = in.Number();
    const WideView from = in.Text(), to = in.Text();
    if (!in.Done()) return;
    const UnitRow* source = FindUnit(from);
    const UnitRow* target = FindUnit(to);
    if (!source || !target || source->group != target->group) {
        result = ErrorValue(ERR_NA);
        return;
    }
    result = NumberValue((x - UnitOffset(from)) * source->factor / target->factor + UnitOffset(to));
}

void CallDelta(Value* arguments, Value& result, const EvalContext& context) {
    double a = 0, b = 0;
    if (ReadTwo(arguments, result, context, a, b)) result = NumberValue(Near(a, b) ? 1 : 0);
}

void CallGestep(Value* arguments, Value& result, const EvalContext& context) {
    double number = 0, step = 0;
    if (ReadTwo(arguments, result, context, number, step))
        result = NumberValue(number > step || Near(number, step) ? 1 : 0);
}

void CallErf(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    TakeDefaults(arguments + 1, 1);
    const bool toValue = IsMissing(arguments[1]);
    const double a = in.Number(), b = in.NumberOr(0);
    if (in.Done()) result = NumberValue(toValue ? std::erf(a) : ErrorFunctionBetween(a, b));
}

void CallErfc(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    const double x = in.Number();
    if (in.Done()) result = NumberValue(std::erfc(x));
}

void CallBesseli(Value* arguments, Value& result, const EvalContext& context) {
    Bessel(arguments, result, context, false, BesselI);
}

void CallBesselj(Value* arguments, Value& result, const EvalContext& context) {
    Bessel(arguments, result, context, false, BesselJ);
}

void CallBesselk(Value* arguments, Value& result, const EvalContext& context) {
    Bessel(arguments, result, context, true, BesselK);
}

void CallBessely(Value* arguments, Value& result, const EvalContext& context) {
    Bessel(arguments, result, context, true, BesselY);
}

}  // namespace tally
