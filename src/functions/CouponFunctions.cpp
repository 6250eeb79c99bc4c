#include "functions/Handlers.h"
#include "functions/SecurityMath.h"

// Bonds with regular coupons: their dates, price, yield and duration.

namespace tally {
namespace {

struct Coupons {
    i32 settlement, maturity, frequency, basis;
    CouponWalk walk;
};

// The arguments of the coupon functions and the walk. False with the error in `result`.
bool ReadCoupons(Value* arguments, Value& result, const EvalContext& context, Coupons& out) {
    ArgumentReader in{arguments, result, context};
    out.settlement = in.Date();
    out.maturity = in.Date();
    out.frequency = FrequencyArgument(in);
    out.basis = BasisArgument(in);
    if (!in.Done()) return false;
    out.walk = WalkCoupons(out.settlement, out.maturity, out.frequency);
    return true;
}

// What the functions of a bond with regular coupons read; the middle two by the function.
struct Bond {
    i32 settlement, maturity;
    double rate;
    double second;  // the yield or the price
    double redemption;
    i32 frequency, basis;
};

void ReadBond(ArgumentReader& in, bool withRedemption, Bond& out) {
    out.settlement = in.Date();
    out.maturity = in.Date();
    out.rate = in.Number();
    out.second = in.Number();
    out.redemption = withRedemption ? in.Number() : 100;
    out.frequency = FrequencyArgument(in);
    out.basis = BasisArgument(in);
    in.Require(out.settlement < out.maturity && out.rate >= 0 && out.redemption > 0);
}

// The yield with one coupon left, simple interest from settlement to redemption.
double LastPeriodYield(const Bond& bond, const CouponPlace& place) {
    const double coupon = bond.rate / bond.frequency;
    const double paid = bond.second / 100 + place.accruedDays / place.periodDays * coupon;
    return (bond.redemption / 100 + coupon - paid) / paid * bond.frequency / place.toNext;
}

// Macaulay's duration in years. Not finite beyond MAX_COUPONS.
double Duration(const Bond& bond) {
    const CouponPlace place = PlaceCoupons(bond.settlement, bond.maturity, bond.frequency, bond.basis);
    if (place.count > MAX_COUPONS) return HUGE_VAL;
    const double coupon = bond.rate * 100 / bond.frequency;
    double value = 0, moment = 0;
    for (i32 i = 0; i < place.count; ++i) {
        const double time = i + place.toNext;
        const double paid = coupon + (i == place.count - 1 ? 100 : 0);
        const double now = paid * DiscountFactor(bond.second / bond.frequency, time);
        value += now;
        moment += now * time;
    }
    return moment / value / bond.frequency;
}

bool ReadDuration(Value* arguments, Value& result, const EvalContext& context, Bond& out) {
    ArgumentReader in{arguments, result, context};
    ReadBond(in, false, out);
    in.Require(out.second >= 0);
    return in.Done();
}

}  // namespace

void CallCoupnum(Value* arguments, Value& result, const EvalContext& context) {
    Coupons c;
    if (ReadCoupons(arguments, result, context, c)) result = NumberValue(c.walk.count);
}

void CallCouppcd(Value* arguments, Value& result, const EvalContext& context) {
    Coupons c;
    if (ReadCoupons(arguments, result, context, c)) result = DateValue(c.walk.previous, context);
}

void CallCoupncd(Value* arguments, Value& result, const EvalContext& context) {
    Coupons c;
    if (ReadCoupons(arguments, result, context, c)) result = DateValue(c.walk.next, context);
}

void CallCoupdaybs(Value* arguments, Value& result, const EvalContext& context) {
    Coupons c;
    if (ReadCoupons(arguments, result, context, c))
        result = NumberValue(BasisDays(c.walk.previous, c.settlement, c.basis));
}

void CallCoupdaysnc(Value* arguments, Value& result, const EvalContext& context) {
    Coupons c;
    if (ReadCoupons(arguments, result, context, c))
        result = NumberValue(BasisDays(c.settlement, c.walk.next, c.basis));
}

void CallCoupdays(Value* arguments, Value& result, const EvalContext& context) {
    Coupons c;
    if (ReadCoupons(arguments, result, context, c))
        result = NumberValue(PeriodDays(c.walk.previous, c.walk.next, c.frequency, c.basis));
}

void CallPrice(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    Bond bond;
    ReadBond(in, true, bond);
    in.Require(bond.second >= 0);
    if (!in.Done()) return;
    const CouponPlace place = PlaceCoupons(bond.settlement, bond.maturity, bond.frequency, bond.basis);
    result = NumberValue(PriceCore(place, bond.rate, bond.second, bond.redemption, bond.frequency));
}

void CallYield(Value* arguments, Value& result, const EvalContext& context) {
    ArgumentReader in{arguments, result, context};
    Bond bond;
    ReadBond(in, true, bond);
    in.Require(bond.second > 0);
    if (!in.Done()) return;
    const CouponPlace place = PlaceCoupons(bond.settlement, bond.maturity, bond.frequency, bond.basis);
    if (place.count == 1) {
        result = NumberValue(LastPeriodYield(bond, place));
        return;
    }
    result = SolveYield(bond.second, bond.frequency, [&](double yield) {
        return PriceCore(place, bond.rate, yield, bond.redemption, bond.frequency);
    });
}

void CallDuration(Value* arguments, Value& result, const EvalContext& context) {
    Bond bond;
    if (ReadDuration(arguments, result, context, bond)) result = NumberValue(Duration(bond));
}

void CallMduration(Value* arguments, Value& result, const EvalContext& context) {
    Bond bond;
    if (ReadDuration(arguments, result, context, bond))
        result = NumberValue(Duration(bond) / (1 + bond.second / bond.frequency));
}

}  // namespace tally
