#include <cmath>

#include "functions/Annuity.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"

// Loans and annuities with equal payments, and the rate that they imply.

namespace tally {

double PaymentCore(double rate, double nper, double pv, double fv, double type) {
    const double t = std::pow(1 + rate, nper);
    return -(t * pv + fv) / (((t - 1) / rate) * (type * rate + 1));
}

double FutureValueCore(double rate, double nper, double pmt, double pv, double type) {
    if (rate == 0) return -(nper * pmt + pv);
    const double t = std::pow(1 + rate, nper);
    if (!std::isfinite(t)) return t;
    return -((type * rate + 1) * (t - 1) * pmt / rate + t * pv);
}

double InterestCore(double rate, double per, double nper, double pv, double fv, double type) {
    const double payment = PaymentCore(rate, nper, pv, fv, type);
    return FutureValueCore(rate, per - 1, payment, pv, type) - FutureValueCore(rate, per, payment, pv, type);
}

namespace {

// Up to four numbers, of which the first `needed` must be there and the others are 0 when missing, and
// behind them the flag for payments at the start.
constexpr i32 MAX_NUMBERS = 5;
struct Annuity {
    double number[MAX_NUMBERS] = {};
    double type = 0;
};

bool FlagArgument(Value& argument, Value& result, const EvalContext& context, double& out) {
    i32 flag = 0;
    if (!OptionalPosition(argument, result, context, 0, flag)) return false;
    out = flag ? 1 : 0;
    return true;
}

bool AnnuityArguments(Value* arguments, Value& result, const EvalContext& context, i32 numbers, i32 needed,
                      Annuity& out) {
    for (i32 i = 0; i < numbers; ++i) {
        const bool read = i < needed ? NumberArgument(arguments[i], result, context, out.number[i])
                                     : OptionalNumber(arguments[i], result, context, 0, out.number[i]);
        if (!read) return false;
    }
    return FlagArgument(arguments[numbers], result, context, out.type);
}

Value FiniteNumber(double number) { return std::isfinite(number) ? NumberValue(number) : ErrorValue(ERR_NUM); }

bool IsZero(double x) { return std::fabs(x) <= std::fmin(std::fabs(x), 0) * 1e-15; }

struct RateSearch {
    double nper, pmt, pv, fv, type;
    double operator()(double rate) const { return FutureValueCore(rate, nper, pmt, pv, type) - fv; }
};

// The cases that need no search. True with the answer in `result`.
bool RateAtOnce(const RateSearch& f, Value& result) {
    if (f.nper == 0) {
        result = IsZero(f.pv + f.fv) ? NumberValue(0) : ErrorValue(ERR_NUM);
        return true;
    }
    if (IsZero(f.nper * f.pmt + f.pv + f.fv)) {
        result = NumberValue(0);
        return true;
    }
    if (f.pmt == 0) {
        if (f.fv == 0) {
            result = NumberValue(0);
            return true;
        }
        if (f.pv / f.fv < 0) {
            result = FiniteNumber(std::pow(-f.pv / f.fv, 1 / f.nper) - 1);
            return true;
        }
    }
    const double d = f.pv - f.type * f.pmt;
    if (!IsZero(f.pv + f.fv) || d == 0) return false;
    result = FiniteNumber(f.pmt / d);
    return true;
}

// Bisection between 0 and the first place where the sign is another.
Value SearchRate(const RateSearch& f, double guess) {
    constexpr i32 ROUNDS = 25;
    constexpr double STEP_LIMIT = 1e-7;
    const double atGuess = f(guess);
    if (IsZero(atGuess)) return NumberValue(guess);
    const double atZero = f(0);
    const auto opposite = [&](double y) { return (atZero < 0 && y > 0) || (atZero > 0 && y < 0); };
    double far = guess;
    if (!opposite(atGuess)) {
        far = 0;
        for (double end : {1.0, -1.0, 2.0, -2.0}) {
            if (!opposite(f(end))) continue;
            far = end;
            break;
        }
        if (far == 0) return ErrorValue(ERR_NUM);
    }
    double x = far / 2, step = far / 2;
    for (i32 round = 0; round < ROUNDS; ++round) {
        const double y = f(x);
        if (IsZero(y)) return NumberValue(x);
        step /= 2;
        if (std::fabs(step) < STEP_LIMIT) return NumberValue(x);
        x += opposite(y) ? -step : step;
    }
    return ErrorValue(ERR_NUM);
}

// The payment of a period and the part of it that InterestCore gives. False with the error in `result`.
bool PaymentParts(Value* arguments, Value& result, const EvalContext& context, double& payment,
                  double& interest) {
    Annuity a;
    if (!AnnuityArguments(arguments, result, context, 5, 4, a)) return false;
    const double rate = a.number[0], per = a.number[1], nper = a.number[2], pv = a.number[3], fv = a.number[4];
    if (!(per >= 1 && per <= nper)) {
        result = ErrorValue(ERR_NUM);
        return false;
    }
    payment = PaymentCore(rate, nper, pv, fv, a.type);
    interest = InterestCore(rate, per, nper, pv, fv, a.type);
    return true;
}

}  // namespace

void CallPmt(Value* arguments, Value& result, const EvalContext& context) {
    Annuity a;
    if (!AnnuityArguments(arguments, result, context, 4, 2, a)) return;
    result = FiniteNumber(PaymentCore(a.number[0], a.number[1], a.number[2], a.number[3], a.type));
}

void CallFv(Value* arguments, Value& result, const EvalContext& context) {
    Annuity a;
    if (!AnnuityArguments(arguments, result, context, 4, 3, a)) return;
    result = FiniteNumber(FutureValueCore(a.number[0], a.number[1], a.number[2], a.number[3], a.type));
}

void CallPv(Value* arguments, Value& result, const EvalContext& context) {
    Annuity a;
    if (!AnnuityArguments(arguments, result, context, 4, 3, a)) return;
    const double rate = a.number[0], nper = a.number[1], pmt = a.number[2], fv = a.number[3];
    const double t = std::pow(1 + rate, nper);
    result =
        FiniteNumber(rate == 0 ? -(nper * pmt + fv) : -((a.type * rate + 1) * (t - 1) * pmt / rate + fv) / t);
}

void CallNper(Value* arguments, Value& result, const EvalContext& context) {
    Annuity a;
    if (!AnnuityArguments(arguments, result, context, 4, 3, a)) return;
    const double rate = a.number[0], pmt = a.number[1], pv = a.number[2], fv = a.number[3];
    const double due = pmt * (a.type * rate + 1);
    result = FiniteNumber(rate == 0 ? -(pv + fv) / pmt
                                    : std::log((due - fv * rate) / (due + pv * rate)) / std::log(1 + rate));
}

void CallIpmt(Value* arguments, Value& result, const EvalContext& context) {
    double payment = 0, interest = 0;
    if (PaymentParts(arguments, result, context, payment, interest)) result = FiniteNumber(interest);
}

void CallPpmt(Value* arguments, Value& result, const EvalContext& context) {
    double payment = 0, interest = 0;
    if (PaymentParts(arguments, result, context, payment, interest)) result = FiniteNumber(payment - interest);
}

void CallIspmt(Value* arguments, Value& result, const EvalContext& context) {
    double x[4] = {};
    for (i32 i = 0; i < 4; ++i) {
        if (!NumberArgument(arguments[i], result, context, x[i])) return;
    }
    result = FiniteNumber(x[3] * x[0] * (x[1] / x[2] - 1));
}

void CallRate(Value* arguments, Value& result, const EvalContext& context) {
    Annuity a;
    double guess = 0;
    if (!AnnuityArguments(arguments, result, context, 4, 3, a)) return;
    if (!OptionalNumber(arguments[5], result, context, 0, guess)) return;
    const RateSearch f{a.number[0], a.number[1], a.number[2], a.number[3], a.type};
    if (!RateAtOnce(f, result)) result = SearchRate(f, guess == 0 ? 0.1 : guess);
}

}  // namespace tally
