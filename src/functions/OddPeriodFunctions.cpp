#include "functions/Handlers.h"
#include "functions/SecurityMath.h"

// Bonds whose first or last period is shorter or longer than the others. An odd period is measured in the
// regular periods that it would be made of, each by its own length.

namespace tally {
namespace {

struct OddFirst {
    double redemption;
    double coupon;
    i32 frequency;
    double first;    // the first payment in coupons
    double accrued;  // what has accrued at settlement, in coupons
    double toFirst;  // periods from settlement to the first payment
    i32 later;       // payments behind the first
};

struct OddFirstArguments {
    double second;  // the yield or the price
    OddFirst bond;
};

bool ReadOddFirst(Value* arguments, Value& result, const EvalContext& context, bool priced,
                  OddFirstArguments& out) {
    ArgumentReader in{arguments, result, context};
    const i32 settlement = in.Date(), maturity = in.Date(), issue = in.Date(), firstCoupon = in.Date();
    const double rate = in.Number();
    out.second = in.Number();
    const double redemption = in.Number();
    const i32 frequency = FrequencyArgument(in), basis = BasisArgument(in);
    in.Require(issue < settlement && settlement < firstCoupon && firstCoupon < maturity);
    in.Require(rate >= 0 && redemption > 0 && (priced ? out.second > 0 : out.second >= 0));
    if (!in.Done()) return false;
    const PeriodGrid grid{firstCoupon, frequency, basis};
    const PeriodSpan span = PeriodAt(grid, settlement);
    const double days = PeriodDays(span.start, span.end, frequency, basis);
    out.bond = {redemption,
                rate * 100 / frequency,
                frequency,
                PeriodsBetween(grid, issue, firstCoupon),
                PeriodsBetween(grid, issue, settlement),
                static_cast<double>(-span.index - 1) + BasisDays(settlement, span.end, basis) / days,
                WalkCoupons(firstCoupon, maturity, frequency).count};
    return true;
}

double OddFirstPrice(const OddFirst& bond, double yield) {
    const double each = yield / bond.frequency;
    const double payments = bond.first * DiscountFactor(each, bond.toFirst) +
                            AnnuityFactor(each, bond.later) * DiscountFactor(each, bond.toFirst + 1);
    return bond.redemption * DiscountFactor(each, bond.toFirst + bond.later) +
           bond.coupon * (payments - bond.accrued);
}

// A bond in its last period pays once more; its times are in coupon periods.
struct OddLast {
    double second;  // the yield or the price
    double redemption;
    double coupon;
    i32 frequency;
    double whole;    // last payment to maturity
    double accrued;  // last payment to settlement
    double left;     // settlement to maturity
};

bool ReadOddLast(Value* arguments, Value& result, const EvalContext& context, bool priced, OddLast& out) {
    ArgumentReader in{arguments, result, context};
    const i32 settlement = in.Date(), maturity = in.Date(), lastInterest = in.Date();
    const double rate = in.Number();
    out.second = in.Number();
    out.redemption = in.Number();
    out.frequency = FrequencyArgument(in);
    const i32 basis = BasisArgument(in);
    in.Require(lastInterest < settlement && settlement < maturity);
    in.Require(rate >= 0 && out.redemption > 0 && (priced ? out.second > 0 : out.second >= 0));
    if (!in.Done()) return false;
    const PeriodGrid grid{lastInterest, out.frequency, basis};
    out.coupon = rate * 100 / out.frequency;
    out.whole = PeriodsBetween(grid, lastInterest, maturity);
    out.accrued = PeriodsBetween(grid, lastInterest, settlement);
    out.left = PeriodsBetween(grid, settlement, maturity);
    return true;
}

}  // namespace

void CallOddfprice(Value* arguments, Value& result, const EvalContext& context) {
    OddFirstArguments a;
    if (ReadOddFirst(arguments, result, context, false, a))
        result = NumberValue(OddFirstPrice(a.bond, a.second));
}

void CallOddfyield(Value* arguments, Value& result, const EvalContext& context) {
    OddFirstArguments a;
    if (ReadOddFirst(arguments, result, context, true, a))
        result =
            SolveYield(a.second, a.bond.frequency, [&](double yield) { return OddFirstPrice(a.bond, yield); });
}

void CallOddlprice(Value* arguments, Value& result, const EvalContext& context) {
    OddLast b;
    if (!ReadOddLast(arguments, result, context, false, b)) return;
    const double due = b.redemption + b.whole * b.coupon;
    result = NumberValue(due / (1 + b.left * b.second / b.frequency) - b.accrued * b.coupon);
}

void CallOddlyield(Value* arguments, Value& result, const EvalContext& context) {
    OddLast b;
    if (!ReadOddLast(arguments, result, context, true, b)) return;
    const double paid = b.second + b.accrued * b.coupon;
    result = NumberValue((b.redemption + b.whole * b.coupon - paid) / paid * b.frequency / b.left);
}

}  // namespace tally
