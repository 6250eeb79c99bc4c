#include <algorithm>

#include "display/NumberFormatter.h"
#include "functions/Annuity.h"
#include "functions/Handlers.h"
#include "functions/SecurityMath.h"

// Loans over several periods, yearly rates, prices in fractions, and depreciation by French rules.

namespace tally {
namespace {

// The longest walk through the periods of a depreciation.
constexpr i32 MAX_PERIODS = 100000;

bool ReadLoanRange(Value* arguments, Value& result, const EvalContext& context, PaymentSums& out) {
    ArgumentReader in{arguments, result, context};
    const double rate = in.Number();
    const i32 nper = in.Integer();
    const double pv = in.Number();
    const i32 start = in.Integer(), end = in.Integer(), type = in.Integer();
    in.Require(rate > 0 && nper > 0 && pv > 0 && start >= 1 && start <= end && end <= nper);
    in.Require(type == 0 || type == 1);
    if (!in.Done()) return false;
    out = SumPayments(rate, nper, pv, start, end, type);
    return true;
}

// Splits a price into what stands before and behind the point, the latter as a whole number of `fraction`ths
// when it is multiplied by the power of ten that `digits` is.
struct Fraction {
    double whole, rest;
    double fraction, digits;
};
bool ReadFraction(Value* arguments, Value& result, const EvalContext& context, Fraction& out) {
    ArgumentReader in{arguments, result, context};
    const double price = in.Number(), fraction = in.Number();
    in.Require(!(fraction < 0));
    if (!in.Done()) return false;
    if (fraction < 1) {
        result = ErrorValue(ERR_DIV0);
        return false;
    }
    out.whole = std::trunc(price);
    out.rest = price - out.whole;
    out.fraction = std::trunc(fraction);
    out.digits = std::pow(10, std::ceil(std::log10(out.fraction)));
    return true;
}

struct Depreciation {
    double cost, salvage;
    i32 period;
    double rate;
    double firstPart;  // of a year
};
bool ReadDepreciation(Value* arguments, Value& result, const EvalContext& context, Depreciation& out) {
    ArgumentReader in{arguments, result, context};
    out.cost = in.Number();
    const i32 bought = in.Date(), firstEnd = in.Date();
    out.salvage = in.Number();
    out.period = in.Integer();
    out.rate = in.Number();
    const i32 basis = BasisArgument(in);
    in.Require(out.cost >= 0 && out.salvage >= 0 && out.salvage <= out.cost);
    in.Require(bought <= firstEnd && out.period >= 0 && out.rate > 0);
    if (!in.Done()) return false;
    out.firstPart = YearPart(bought, firstEnd, basis);
    return true;
}

// By how much a degressive rate is above the linear one, by the years of life.
double DegressiveFactor(double life) {
    if (life < 3) return 1;
    if (life < 5) return 1.5;
    return life <= 6 ? 2 : 2.5;
}

// Each year takes its share of what is left, in whole units of money. The year that would go below the
// salvage takes half of what is left, and those behind it nothing.
double Degressive(const Depreciation& d) {
    const double rate = d.rate * DegressiveFactor(1 / d.rate);
    double amount = RoundToInteger(d.cost * rate * d.firstPart);
    double book = d.cost - amount;
    double room = book - d.salvage;
    for (i32 i = 1; i <= d.period; ++i) {
        amount = RoundToInteger(rate * book);
        room -= amount;
        if (room < 0) return i == d.period ? RoundToInteger(book * 0.5) : 0;
        if (amount == 0) return 0;
        if (i > MAX_PERIODS) return HUGE_VAL;
        book -= amount;
    }
    return amount;
}

// Each year takes the same until the salvage is reached, the first one its part of a year.
double Linear(const Depreciation& d) {
    const double room = d.cost - d.salvage;
    const double first = std::min(d.cost * d.rate * d.firstPart, room);
    if (d.period == 0) return first;
    const double before = first + (d.period - 1.0) * d.cost * d.rate;
    return std::clamp(room - before, 0.0, d.cost * d.rate);
}

struct Schedule {
    double growth = 1;
    i32 error = -1;
};

bool TakeRate(const VisitedValue& visited, void* state) {
    Schedule& schedule = *static_cast<Schedule*>(state);
    const Value& value = *visited.value;
    if (value.type == VT_NUMBER) schedule.growth *= 1 + value.number;
    else if (value.type != VT_EMPTY) schedule.error = value.type == VT_ERROR ? value.error : i32{ERR_VALUE};
    return schedule.error < 0;
}

}  // namespace

void CallCumipmt(Value* arguments, Value& result, const EvalContext& context) {
    PaymentSums range;
    if (ReadLoanRange(arguments, result, context, range)) result = NumberValue(range.interest);
}

void CallCumprinc(Value* arguments, Value& result, const EvalContext& context) {
    PaymentSums range;
    if (ReadLoanRange(arguments, result, context, range)) result = NumberValue(range.principal);
}

void CallDollarde(Value* arguments, Value& result, const EvalContext& context) {
    Fraction f;
    if (ReadFraction(arguments, result, context, f))
        result = NumberValue(f.whole + f.rest * f.digits / f.fraction);
}

void CallDollarfr(Value* arguments, Value& result, const EvalContext& context) {
    Fraction f;
    if (ReadFraction(arguments, result, context, f))
        result = NumberValue(f.whole + f.rest * f.fraction / f.digits);
}

void CallEffect(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    const double nominal = in.Number();
    const i32 periods = in.Integer();
    in.Require(nominal > 0 && periods >= 1);
    if (in.Done()) result = NumberValue(std::expm1(periods * std::log1p(nominal / periods)));
}

void CallNominal(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    const double effective = in.Number();
    const i32 periods = in.Integer();
    in.Require(effective > 0 && periods >= 1);
    if (in.Done()) result = NumberValue(periods * std::expm1(std::log1p(effective) / periods));
}

void CallFvschedule(Value* arguments, Value& result, const EvalContext& context) {
    double principal = 0;
    if (!NumberArgument(arguments[0], result, context, principal)) return;
    Schedule schedule;
    i32 error = -1;
    if (VisitValues(arguments[1], context, TakeRate, &schedule, error))
        result = NumberValue(principal * schedule.growth);
    else result = ErrorValue(schedule.error >= 0 ? schedule.error : error >= 0 ? error : i32{ERR_VALUE});
}

void CallAmordegrc(Value* arguments, Value& result, const EvalContext& context) {
    Depreciation d;
    if (ReadDepreciation(arguments, result, context, d)) result = NumberValue(Degressive(d));
}

void CallAmorlinc(Value* arguments, Value& result, const EvalContext& context) {
    Depreciation d;
    if (ReadDepreciation(arguments, result, context, d)) result = NumberValue(Linear(d));
}

}  // namespace tally
