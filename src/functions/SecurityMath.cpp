#include "functions/SecurityMath.h"

#include <algorithm>
#include <limits>

#include "display/Calendar.h"
#include "functions/DateMath.h"

namespace tally {
namespace {

constexpr i32 MONTHS_A_YEAR = 12;
// About the first day of the year 270000: no serial beyond is laid on a grid.
constexpr i32 GRID_LIMIT = 100000000;

struct Date {
    i32 year, month, day;
};

Date DateOf(i32 serial) {
    Date date{};
    SerialToDate(serial, date.year, date.month, date.day);
    return date;
}

bool IsLeap(i32 year) { return DaysInMonth(year, 2) == 29; }

// The mean length of the years that a span touches.
double ActualYear(i32 start, i32 end) {
    const Date from = DateOf(start), to = DateOf(end);
    const bool inOneYear = from.year == to.year;
    const bool withinAYear =
        to.year - from.year == 1 && (to.month < from.month || (to.month == from.month && to.day <= from.day));
    if (inOneYear) return IsLeap(from.year) ? 366 : 365;
    if (withinAYear) {
        const bool first = IsLeap(from.year) && start <= DateToSerial(from.year, 2, 29);
        const bool second = IsLeap(to.year) && end >= DateToSerial(to.year, 2, 29);
        return first || second ? 366 : 365;
    }
    const double days = static_cast<double>(DateToSerial(to.year + 1, 1, 1)) - DateToSerial(from.year, 1, 1);
    return days / (static_cast<double>(to.year) - from.year + 1);
}

i32 GridDate(const PeriodGrid& grid, i64 index) {
    return AddMonths(grid.anchor, static_cast<i32>(index * (MONTHS_A_YEAR / grid.frequency)));
}

bool IsMonths360(i32 basis) { return basis == BASIS_US360 || basis == BASIS_EU360; }

}  // namespace

i32 FrequencyArgument(ArgumentReader& in) {
    const i32 frequency = in.Integer();
    in.Require(frequency == 1 || frequency == 2 || frequency == 4);
    return frequency;
}

i32 BasisArgument(ArgumentReader& in) {
    const i32 basis = in.IntegerOr(BASIS_US360);
    in.Require(basis >= BASIS_US360 && basis <= BASIS_EU360);
    return basis;
}

double BasisDays(i32 start, i32 end, i32 basis) {
    if (IsMonths360(basis)) return Days360(start, end, basis == BASIS_EU360);
    return static_cast<double>(end) - start;
}

double YearPart(i32 start, i32 end, i32 basis) {
    const double days = BasisDays(start, end, basis);
    switch (basis) {
        case BASIS_ACTUAL: return days / ActualYear(start, end);
        case BASIS_YEAR365: return days / 365;
        default: return days / 360;
    }
}

CouponWalk WalkCoupons(i32 settlement, i32 maturity, i32 frequency) {
    const i32 months = MONTHS_A_YEAR / frequency;
    CouponWalk walk{maturity, maturity, 0};
    while (walk.previous > settlement) {
        // The day has become as small as it gets after two years; from there on several steps are one jump.
        i32 steps = 1;
        if (walk.count > 2 * frequency) {
            const i64 ahead = (i64{walk.previous} - settlement) / (31 * months);
            steps = static_cast<i32>(std::max(ahead, i64{1}));
        }
        walk.next = AddMonths(walk.previous, -(steps - 1) * months);
        walk.previous = AddMonths(walk.next, -months);
        walk.count += steps;
    }
    return walk;
}

double PeriodDays(i32 start, i32 end, i32 frequency, i32 basis) {
    if (basis == BASIS_ACTUAL) return static_cast<double>(end) - start;
    return (basis == BASIS_YEAR365 ? 365.0 : 360.0) / frequency;
}

PeriodSpan PeriodAt(const PeriodGrid& grid, i32 date) {
    const i64 months = MONTHS_A_YEAR / grid.frequency;
    i64 index = (i64{date} - grid.anchor) / (31 * months);
    if (date < grid.anchor) index = (i64{date} - grid.anchor) / (30 * months) - 1;
    PeriodSpan span{index, GridDate(grid, index), GridDate(grid, index + 1)};
    while (span.end <= date && span.start < span.end) {
        // A jump that never goes too far, as no month is longer than 31 days.
        span.index += std::max((i64{date} - span.end) / (31 * months), i64{1});
        span.start = GridDate(grid, span.index);
        span.end = GridDate(grid, span.index + 1);
    }
    return span;
}

double PeriodsBetween(const PeriodGrid& grid, i32 start, i32 end) {
    const auto tooFar = [](i32 date) { return date > GRID_LIMIT || date < -GRID_LIMIT; };
    const i64 most = i64{MAX_COUPONS} * 28 * (MONTHS_A_YEAR / grid.frequency);
    if (tooFar(start) || tooFar(end) || tooFar(grid.anchor) || i64{end} - start > most)
        return std::numeric_limits<double>::quiet_NaN();
    double sum = 0;
    PeriodSpan span = PeriodAt(grid, start);
    while (span.start < end) {
        const bool whole = span.start >= start && span.end <= end;
        const double length = PeriodDays(span.start, span.end, grid.frequency, grid.basis);
        const double days = BasisDays(std::max(span.start, start), std::min(span.end, end), grid.basis);
        sum += whole && IsMonths360(grid.basis) ? 1 : days / length;
        span = {span.index + 1, span.end, GridDate(grid, span.index + 2)};
    }
    return sum;
}

double DiscountFactor(double yield, double periods) {
    return yield > -1 ? std::exp(-periods * std::log1p(yield)) : std::pow(1 + yield, -periods);
}

double AnnuityFactor(double yield, double count) {
    if (yield == 0) return count;
    if (!(yield > -1)) return (1 - std::pow(1 + yield, -count)) / (1 - 1 / (1 + yield));
    const double force = std::log1p(yield);
    return std::expm1(-count * force) / std::expm1(-force);
}

CouponPlace PlaceCoupons(i32 settlement, i32 maturity, i32 frequency, i32 basis) {
    const CouponWalk walk = WalkCoupons(settlement, maturity, frequency);
    const double days = PeriodDays(walk.previous, walk.next, frequency, basis);
    return {walk.count, days, BasisDays(walk.previous, settlement, basis),
            BasisDays(settlement, walk.next, basis) / days};
}

double PriceCore(const CouponPlace& place, double rate, double yield, double redemption, i32 frequency) {
    const double coupon = rate * 100 / frequency;
    const double each = yield / frequency;
    const double sum = coupon * AnnuityFactor(each, place.count) * DiscountFactor(each, place.toNext) +
                       redemption * DiscountFactor(each, place.count - 1 + place.toNext);
    return sum - coupon * place.accruedDays / place.periodDays;
}

}  // namespace tally
