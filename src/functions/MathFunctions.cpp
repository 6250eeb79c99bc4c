#include <cmath>
#include <numbers>

#include "display/NumberFormatter.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "functions/RoundDigits.h"

namespace tally {
namespace {

constexpr double MAX_COMBIN_STEPS = 10000;
constexpr double PI_VALUE = std::numbers::pi;

// One number in, one out; a result that is none becomes "#NUM!".
template <typename Function>
void OneNumber(Value* arguments, Value& result, const EvalContext& context, Function function) {
    double x = 0;
    if (!NumberArgument(arguments[0], result, context, x)) return;
    const double y = function(x);
    result = std::isfinite(y) ? NumberValue(y) : ErrorValue(ERR_NUM);
}

template <typename Function>
void TwoNumberFunction(Value* arguments, Value& result, const EvalContext& context, Function function) {
    double a = 0, b = 0;
    if (TwoNumbers(arguments, result, context, a, b)) result = function(a, b);
}

double Product(double from, double step) {
    double product = 1;
    for (double x = from; x > 1; x -= step) product *= x;
    return product;
}

bool SignsDiffer(double x, double s) { return (x < 0 && s > 0) || (x > 0 && s < 0); }

// The multiple of s that `whole` finds in the quotient; a quotient that is whole but for its last bits is.
double Multiple(double x, double s, double (*whole)(double)) {
    const double quotient = x / s, nearest = std::nearbyint(quotient);
    const bool near = std::fabs(quotient - nearest) <= std::fabs(quotient) * 1e-15;
    return s * (near ? nearest : whole(quotient));
}

}  // namespace

void CallAbs(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::fabs(x); });
}
void CallAcos(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::acos(x); });
}
void CallAcosh(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::acosh(x); });
}
void CallAsin(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::asin(x); });
}
void CallAsinh(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::asinh(x); });
}
void CallAtan(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::atan(x); });
}
void CallAtanh(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::atanh(x); });
}
void CallCos(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::cos(x); });
}
void CallCosh(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::cosh(x); });
}
void CallDegrees(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return x * 180 / PI_VALUE; });
}
void CallExp(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::exp(x); });
}
void CallInt(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::floor(x); });
}
void CallLn(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::log(x); });
}
void CallLog10(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::log10(x); });
}
void CallRadians(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return x * PI_VALUE / 180; });
}
void CallSin(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::sin(x); });
}
void CallSinh(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::sinh(x); });
}
void CallSqrt(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::sqrt(x); });
}
void CallSqrtpi(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::sqrt(x * 3.141592653589793); });
}
void CallTan(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::tan(x); });
}
void CallTanh(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return std::tanh(x); });
}
void CallSign(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) { return x > 0 ? 1.0 : x < 0 ? -1.0 : 0.0; });
}
void CallEven(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context,
              [](double x) { return x < 0 ? 2 * std::floor(x / 2) : 2 * std::ceil(x / 2); });
}
void CallOdd(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context, [](double x) {
        return x < 0 ? 2 * std::floor((x + 1) / 2) - 1 : 2 * std::ceil((x - 1) / 2) + 1;
    });
}
void CallFact(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context,
              [](double x) { return x < 0 || x > 170 ? NAN : Product(std::trunc(x), 1); });
}
void CallFactdouble(Value* arguments, Value& result, const EvalContext& context) {
    OneNumber(arguments, result, context,
              [](double x) { return x < 0 || x > 300 ? NAN : Product(std::trunc(x), 2); });
}

void CallPi(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(arguments);
    IgnoreFailure(context);
    result = NumberValue(PI_VALUE);
}

void CallAtan2(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double x, double y) {
        return x == 0 && y == 0 ? ErrorValue(ERR_DIV0) : NumberValue(std::atan2(y, x));
    });
}

void CallMod(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double a, double b) {
        return b == 0 ? ErrorValue(ERR_DIV0) : NumberValue(a - std::floor(a / b) * b);
    });
}

void CallCeiling(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double x, double s) {
        if (SignsDiffer(x, s)) return ErrorValue(ERR_NUM);
        return s == 0 ? NumberValue(0) : NumberValue(Multiple(x, s, std::ceil));
    });
}

void CallFloor(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double x, double s) {
        if (SignsDiffer(x, s)) return ErrorValue(ERR_NUM);
        if (s == 0) return x == 0 ? NumberValue(0) : ErrorValue(ERR_DIV0);
        return NumberValue(Multiple(x, s, std::floor));
    });
}

void CallMround(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double x, double m) {
        if (SignsDiffer(x, m)) return ErrorValue(ERR_NUM);
        return m == 0 ? NumberValue(0) : NumberValue(RoundToInteger(x / m) * m);
    });
}

void CallQuotient(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double a, double b) {
        return b == 0 ? ErrorValue(ERR_DIV0) : NumberValue(std::trunc(a / b));
    });
}

void CallPower(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double a, double b) {
        if (a == 0) return b < 0 ? ErrorValue(ERR_DIV0) : b == 0 ? ErrorValue(ERR_NUM) : NumberValue(0);
        if (b == 0) return NumberValue(1);
        if (a < 0 && std::fabs(b) < 1) return ErrorValue(ERR_NUM);
        return NumberValue(std::pow(a, b));
    });
}

void CallCombin(Value* arguments, Value& result, const EvalContext& context) {
    TwoNumberFunction(arguments, result, context, [](double a, double b) {
        double n = std::trunc(a);
        double k = std::trunc(b);
        if (k < 0 || n < k) return ErrorValue(ERR_NUM);
        // Of a long loop the shorter twin is taken; one that is long all the same has left the range.
        if (k > MAX_COMBIN_STEPS) k = std::fmin(k, n - k);
        if (k > MAX_COMBIN_STEPS) return ErrorValue(ERR_NUM);
        double r = 1;
        for (double i = k; i >= 1; --i) r = r * n-- / i;
        return NumberValue(r);
    });
}

void CallLog(Value* arguments, Value& result, const EvalContext& context) {
    double x = 0, base = 0;
    if (!NumberArgument(arguments[0], result, context, x) ||
        !OptionalNumber(arguments[1], result, context, 10, base))
        return;
    if (x <= 0 || base <= 0) {
        result = ErrorValue(ERR_NUM);
        return;
    }
    result = std::log(base) == 0 ? ErrorValue(ERR_DIV0) : NumberValue(std::log(x) / std::log(base));
}

void CallTrunc(Value* arguments, Value& result, const EvalContext& context) {
    double x = 0, digits = 0;
    if (!NumberArgument(arguments[0], result, context, x) ||
        !OptionalNumber(arguments[1], result, context, 0, digits))
        return;
    // Behind the point the printed digits are cut, so that 4.35 keeps both of them.
    result =
        NumberValue(std::trunc(digits) != 0 ? RoundDigits(x, std::trunc(digits), ROUND_DOWN) : std::trunc(x));
}

}  // namespace tally
