#pragma once
// The calendar and the prices of securities. Dates are serials of the 1900 system; `frequency` is 1, 2 or 4
// coupons a year, and `basis` says how days are counted: 0 months of 30 days as in the United States,
// 1 actual days, 2 actual days in years of 360, 3 actual days in years of 365, 4 months of 30 days as in
// Europe.

#include <cmath>

#include "functions/ArgumentReader.h"
#include "functions/RootSearch.h"

namespace tally {

enum DayBasis : i32 {
    BASIS_US360 = 0,
    BASIS_ACTUAL = 1,
    BASIS_YEAR360 = 2,
    BASIS_YEAR365 = 3,
    BASIS_EU360 = 4
};

// Enough for every span up to the year 9999; what is longer is not added up one by one.
constexpr i32 MAX_COUPONS = 40000;

// The argument of that meaning, its domain tested.
i32 FrequencyArgument(ArgumentReader& in);
// 0 when missing.
i32 BasisArgument(ArgumentReader& in);

// Days from one date to another as the basis counts them.
double BasisDays(i32 start, i32 end, i32 basis);
// The same as a part of a year. By basis 1 the year has the mean length of the years from start to end,
// and for no more than one year 366 days when 29 February lies in it.
double YearPart(i32 start, i32 end, i32 basis);

// The coupon dates around settlement, stepped back from maturity by whole periods, each step from the day
// that the one before it reached. A maturity that is not behind settlement is both dates, after 0 steps.
struct CouponWalk {
    i32 previous;
    i32 next;
    i32 count;  // coupons behind settlement
};
CouponWalk WalkCoupons(i32 settlement, i32 maturity, i32 frequency);
// Days of the coupon period from `start` to `end`.
double PeriodDays(i32 start, i32 end, i32 frequency, i32 basis);

// The coupon periods that are counted from `anchor`, forwards and backwards, wherever a coupon is paid.
struct PeriodGrid {
    i32 anchor;
    i32 frequency;
    i32 basis;
};
struct PeriodSpan {
    i64 index;  // 0 begins at the anchor
    i32 start;
    i32 end;
};
// The period that holds a date; its start belongs to it.
PeriodSpan PeriodAt(const PeriodGrid& grid, i32 date);
// The time from one date to another in coupon periods, each by its own length. NaN beyond MAX_COUPONS.
double PeriodsBetween(const PeriodGrid& grid, i32 start, i32 end);

// The value of 1 due in `periods` coupon periods, by a yield for one period; and of `count` payments of 1,
// the first due at once.
double DiscountFactor(double yield, double periods);
double AnnuityFactor(double yield, double count);

// Where a settlement stands between its coupons.
struct CouponPlace {
    i32 count;
    double periodDays;
    double accruedDays;  // since the previous coupon
    double toNext;       // the part of a period to the next coupon
};
CouponPlace PlaceCoupons(i32 settlement, i32 maturity, i32 frequency, i32 basis);
// The price of a bond of the face value 100, without the interest accrued. Rates are for a year.
double PriceCore(const CouponPlace& place, double rate, double yield, double redemption, i32 frequency);

// The yield at which `priceAt`, which falls from the loss of everything in a period on, gives `price`.
template <typename Price>
Value SolveYield(double price, i32 frequency, Price priceAt) {
    constexpr double START = 0.1;
    const double bottom = -frequency;
    // In the growth of a coupon period, which is above zero.
    const double growth = RisingRoot(START - bottom, 1.0 / 32, [&](double y) {
        const double at = priceAt(y + bottom);
        return std::isinf(at) ? -at : price - at;
    });
    const double yield = growth + bottom;
    const bool found = growth > 0 && std::isfinite(growth) && std::isfinite(priceAt(yield));
    return found ? NumberValue(yield) : ErrorValue(ERR_NUM);
}

}  // namespace tally
