#include "functions/DateMath.h"
#include "functions/Handlers.h"
#include "functions/SecurityMath.h"

// Securities that pay interest at maturity or none at all, Treasury bills, and interest accrued.

namespace tally {
namespace {

constexpr double USUAL_PAR = 1000;

// What the functions of a security without coupons read: two dates, two positive amounts or rates, and the
// basis. False with the error in `result`.
struct Discounted {
    double first, second;
    double years;  // from settlement to maturity
};
bool ReadDiscounted(Value* arguments, Value& result, const EvalContext& context, Discounted& out) {
    ArgumentReader in{arguments, result, context};
    const i32 settlement = in.Date(), maturity = in.Date();
    out.first = in.Number();
    out.second = in.Number();
    const i32 basis = BasisArgument(in);
    in.Require(settlement < maturity && out.first > 0 && out.second > 0);
    if (!in.Done()) return false;
    out.years = YearPart(settlement, maturity, basis);
    return true;
}

// A security with interest at maturity; times are parts of a year.
struct AtMaturity {
    double rate;
    double second;  // the yield or the price
    double whole;   // issue to maturity
    double left;    // settlement to maturity
    double passed;  // issue to settlement
};
bool ReadAtMaturity(Value* arguments, Value& result, const EvalContext& context, bool priced, AtMaturity& out) {
    ArgumentReader in{arguments, result, context};
    const i32 settlement = in.Date(), maturity = in.Date(), issue = in.Date();
    out.rate = in.Number();
    out.second = in.Number();
    const i32 basis = BasisArgument(in);
    in.Require(issue <= settlement && settlement < maturity && out.rate >= 0);
    in.Require(priced ? out.second > 0 : out.second >= 0);
    if (!in.Done()) return false;
    out.whole = YearPart(issue, maturity, basis);
    out.left = YearPart(settlement, maturity, basis);
    out.passed = YearPart(issue, settlement, basis);
    return true;
}

// A Treasury bill runs for a year at most.
bool ReadBill(Value* arguments, Value& result, const EvalContext& context, double& amount, double& days) {
    ArgumentReader in{arguments, result, context};
    const i32 settlement = in.Date(), maturity = in.Date();
    amount = in.Number();
    in.Require(settlement < maturity && maturity <= AddMonths(settlement, 12) && amount > 0);
    days = static_cast<double>(maturity) - settlement;
    return in.Done();
}

}  // namespace

void CallAccrint(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    const i32 issue = in.Date(), firstInterest = in.Date(), settlement = in.Date();
    const double rate = in.Number(), par = in.NumberOr(USUAL_PAR);
    const i32 frequency = FrequencyArgument(in), basis = BasisArgument(in);
    in.Require(issue < settlement && rate > 0 && par > 0);
    if (!in.Done()) return;
    const double periods = PeriodsBetween({firstInterest, frequency, basis}, issue, settlement);
    result = NumberValue(par * rate / frequency * periods);
}

void CallAccrintm(Value* arguments, Value& result, const EvalContext& context) {
    TakeDefaults(arguments + 3, 1);
    ArgumentReader in{arguments, result, context};
    const i32 issue = in.Date(), settlement = in.Date();
    const double rate = in.Number(), par = in.NumberOr(USUAL_PAR);
    const i32 basis = BasisArgument(in);
    in.Require(issue < settlement && rate > 0 && par > 0);
    if (in.Done()) result = NumberValue(par * rate * YearPart(issue, settlement, basis));
}

void CallDisc(Value* arguments, Value& result, const EvalContext& context) {
    Discounted d;
    if (ReadDiscounted(arguments, result, context, d))
        result = NumberValue((d.second - d.first) / d.second / d.years);
}

void CallIntrate(Value* arguments, Value& result, const EvalContext& context) {
    Discounted d;
    if (ReadDiscounted(arguments, result, context, d))
        result = NumberValue((d.second - d.first) / d.first / d.years);
}

// The price for a face value and the yield on it are interest on an investment.
void CallYielddisc(Value* arguments, Value& result, const EvalContext& context) {
    CallIntrate(arguments, result, context);
}

void CallReceived(Value* arguments, Value& result, const EvalContext& context) {
    Discounted d;
    if (ReadDiscounted(arguments, result, context, d)) result = NumberValue(d.first / (1 - d.second * d.years));
}

void CallPricedisc(Value* arguments, Value& result, const EvalContext& context) {
    Discounted d;
    if (ReadDiscounted(arguments, result, context, d))
        result = NumberValue(d.second - d.first * d.second * d.years);
}

void CallPricemat(Value* arguments, Value& result, const EvalContext& context) {
    AtMaturity m;
    if (!ReadAtMaturity(arguments, result, context, false, m)) return;
    const double due = 100 + m.whole * m.rate * 100;
    result = NumberValue(due / (1 + m.left * m.second) - m.passed * m.rate * 100);
}

void CallYieldmat(Value* arguments, Value& result, const EvalContext& context) {
    AtMaturity m;
    if (!ReadAtMaturity(arguments, result, context, true, m)) return;
    const double paid = m.second / 100 + m.passed * m.rate;
    result = NumberValue((1 + m.whole * m.rate - paid) / paid / m.left);
}

void CallTbilleq(Value* arguments, Value& result, const EvalContext& context) {
    double discount = 0, days = 0;
    if (ReadBill(arguments, result, context, discount, days))
        result = NumberValue(365 * discount / (360 - discount * days));
}

void CallTbillprice(Value* arguments, Value& result, const EvalContext& context) {
    double discount = 0, days = 0;
    if (ReadBill(arguments, result, context, discount, days))
        result = NumberValue(100 * (1 - discount * days / 360));
}

void CallTbillyield(Value* arguments, Value& result, const EvalContext& context) {
    double price = 0, days = 0;
    if (ReadBill(arguments, result, context, price, days))
        result = NumberValue((100 - price) / price * 360 / days);
}

}  // namespace tally
