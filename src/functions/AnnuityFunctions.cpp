#include <cmath>

#include "functions/Annuity.h"
#include "functions/Arguments.h"
#include "functions/Handlers.h"
#include "functions/RootSearch.h"

// Loans and annuities with equal payments, and the rate that they imply.

namespace tally {

namespace {

using Wide = long double;

// Powers of 1 + rate, and sums of them, with all their digits when the rate is small.
Wide Growth(Wide rate, Wide periods) {
    return rate > -1 ? std::exp(periods * std::log1p(rate)) : std::pow(1 + rate, periods);
}
// The value at the end of payments of 1 at the end of each period.
Wide GrownPayments(Wide rate, Wide periods) {
    if (rate == 0) return periods;
    return (rate > -1 ? std::expm1(periods * std::log1p(rate)) : Growth(rate, periods) - 1) / rate;
}
Wide Due(Wide rate, double type) { return 1 + type * rate; }

Wide WidePayment(double rate, double nper, double pv, double fv, double type) {
    // By the values of today, which stay in range for a loan without an end.
    const Wide back = Growth(rate, -nper);
    if (rate > 0) return -(pv + fv * back) / (GrownPayments(rate, -nper) * -Due(rate, type));
    return -(pv * Growth(rate, nper) + fv) / (GrownPayments(rate, nper) * Due(rate, type));
}

Wide WideFuture(double rate, double nper, Wide pmt, double pv, double type) {
    const Wide payments = GrownPayments(rate, nper);
    if (!std::isfinite(payments)) return payments;
    return -(Due(rate, type) * pmt * payments + pv * Growth(rate, nper));
}

}  // namespace

double PaymentCore(double rate, double nper, double pv, double fv, double type) {
    return static_cast<double>(WidePayment(rate, nper, pv, fv, type));
}

double FutureValueCore(double rate, double nper, double pmt, double pv, double type) {
    return static_cast<double>(WideFuture(rate, nper, pmt, pv, type));
}

double InterestCore(double rate, double per, double nper, double pv, double fv, double type) {
    if (type != 0 && per == 1) return 0;
    const Wide payment = WidePayment(rate, nper, pv, fv, type);
    // Adding 0 takes the minus off a zero.
    return static_cast<double>(WideFuture(rate, per - 1, payment, pv, type) * rate / Due(rate, type)) + 0.0;
}

PaymentSums SumPayments(double rate, double nper, double pv, i32 first, i32 last, double type) {
    constexpr i32 ONE_BY_ONE = 1000;
    const Wide payment = WidePayment(rate, nper, pv, 0, type);
    const Wide count = static_cast<Wide>(last) - first + 1;
    PaymentSums sums;
    if (count <= ONE_BY_ONE) {
        // The principal of a payment is what its share of the payments to come is worth before them.
        const double force = std::log1p(rate);
        Wide shares = 0;
        for (i64 period = first; period <= last; ++period) {
            const double left = nper - static_cast<double>(period) + 1;
            if (type == 0 || period > 1) shares -= std::expm1(-left * force);
        }
        sums.interest = static_cast<double>(payment * shares);
        sums.principal = static_cast<double>(payment * (count - shares));
        return sums;
    }
    const auto balance = [&](double period) {
        return period == 0 ? -Wide{pv} : WideFuture(rate, period, payment, pv, type) / Due(rate, type);
    };
    const Wide principal = balance(first - 1.0) - balance(last);
    sums.principal = static_cast<double>(principal);
    sums.interest = static_cast<double>(payment * count - principal);
    return sums;
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

struct RateSearch {
    double nper, pmt, pv, fv, type;
    double operator()(double rate) const {
        return static_cast<double>(WideFuture(rate, nper, pmt, pv, type) - fv);
    }
};

// The cases that need no search. True with the answer in `result`.
bool RateAtOnce(const RateSearch& f, Value& result) {
    if (f.nper == 0) {
        result = f.pv + f.fv == 0 ? NumberValue(0) : ErrorValue(ERR_NUM);
        return true;
    }
    if (f.nper * f.pmt + f.pv + f.fv == 0) {
        result = NumberValue(0);
        return true;
    }
    if (f.pmt == 0) {
        if (f.fv == 0) {
            result = NumberValue(0);
            return true;
        }
        if (f.fv / f.pv < 0) {
            result = FiniteNumber(std::expm1(std::log(-f.fv / f.pv) / f.nper));
            return true;
        }
    }
    const double d = f.pv + f.type * f.pmt;
    if (f.pv + f.fv != 0 || d == 0) return false;
    result = FiniteNumber(-f.pmt / d);
    return true;
}

// Between 0 and the first place where the sign is another.
Value SearchRate(const RateSearch& f, double guess) {
    constexpr double TOTAL_LOSS = -1;
    const double atZero = f(0);
    double far = guess, atFar = f(guess);
    // Payments that leave nothing at the total loss do so by chance: another rate solves the equation too.
    const auto opposite = [&] {
        if (atFar == 0) return atZero != 0 && far != TOTAL_LOSS;
        return (atZero < 0 && atFar > 0) || (atZero > 0 && atFar < 0);
    };
    for (double end : {1.0, -1.0, 2.0, 10.0, -0.5, -0.99, 100.0, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, -2.0}) {
        if (opposite()) break;
        far = end;
        atFar = f(end);
    }
    return opposite() ? FiniteNumber(RootBetween(0, atZero, far, atFar, f)) : ErrorValue(ERR_NUM);
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
    result = FiniteNumber(
        static_cast<double>(Due(rate, a.type) * pmt * GrownPayments(rate, -nper) - fv * Growth(rate, -nper)));
}

void CallNper(Value* arguments, Value& result, const EvalContext& context) {
    Annuity a;
    if (!AnnuityArguments(arguments, result, context, 4, 3, a)) return;
    const double rate = a.number[0], pmt = a.number[1], pv = a.number[2], fv = a.number[3];
    const double due = pmt * (a.type * rate + 1);
    const double part = -rate * (pv + fv) / (due + pv * rate);
    result = FiniteNumber(rate == 0 ? -(pv + fv) / pmt : std::log1p(part) / std::log1p(rate));
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
