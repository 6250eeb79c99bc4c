#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "display/FormatRun.h"

namespace tally {
namespace {

constexpr i32 SIGNIFICANT_DIGITS = 15;
constexpr double MAX_DENOMINATOR = 1000000.0;  // tried one after the other

void Scale(FormatRun& run) {
    for (i32 i = 0; i < run.percents; ++i) run.value *= 100.0;
    for (i32 i = 0; i < run.scalingCommas; ++i) run.value *= 0.001;
    // Percents may leave the range of a double.
    run.value = std::fmin(run.value, std::numeric_limits<double>::max());
}

void WorkOutExponent(FormatRun& run) {
    if (!run.scientific) return;
    const i32 magnitude = run.value == 0 ? 0 : static_cast<i32>(std::trunc(std::log10(run.value)));
    if (run.hashPlaces > 0) {
        run.exponent = (magnitude - std::max(run.zeroPlaces, 1) + 1) / 3 * 3;
    } else {
        run.exponent = magnitude + (run.value >= 1 ? 1 : 0) - run.integerPlaces;
    }
    // In two steps where one power would leave the range of a double.
    if (run.exponent < -300) run.value *= 1e300;
    run.value /= std::pow(10.0, run.exponent < -300 ? run.exponent + 300 : run.exponent);
    run.exponentDigits =
        run.exponent == 0 ? 0 : static_cast<i32>(PrintInteger(std::abs(run.exponent), run.exponentText));
}

double RoundToPlaces(double value, i32 places) {
    const double power = std::pow(10.0, places);
    const double rounded = RoundToInteger(value * power) / power;
    return std::isfinite(rounded) ? rounded : value;
}

double BestDenominator(double fraction, double limit) {
    double best = 1;
    double bestError = 0;
    for (double d = 2; d < limit; ++d) {
        const double n = std::trunc(fraction * d + 0.5);
        const double error = std::fabs(fraction - n / d);
        if (d == 2 || error < bestError) {
            best = d;
            bestError = error;
        }
        if (error == 0) break;
    }
    return best;
}

void WorkOutFraction(FormatRun& run) {
    const double whole = std::trunc(run.value);
    const double fraction = run.value - whole;
    double numerator = 0;
    double denominator = 1;
    if (fraction != 0) {
        const double limit = std::min(std::pow(10.0, run.denominatorWidth), MAX_DENOMINATOR);
        if (limit > 2) denominator = BestDenominator(fraction, limit);
        numerator = std::trunc(denominator * fraction + 0.5);
    }
    if (fraction != 0 && run.integerPlaces == 0) numerator += whole * denominator;
    const bool blank = numerator == 0 || fraction == 0;
    if (blank) denominator = run.integerPlaces == 0 ? 1 : 0;
    run.denominatorIsZero = denominator == 0;
    run.numeratorDigits = !blank && numerator < 1e18
                              ? static_cast<i32>(PrintInteger(static_cast<i64>(numerator), run.numeratorText))
                              : 0;
    run.denominatorDigits = static_cast<i32>(PrintInteger(static_cast<i64>(denominator), run.denominatorText));
}

// Adds one to the digit at `last`, carrying to the left; a carry out of the top inserts a "1".
void RoundUp(FormatRun& run, i32 last) {
    for (i32 i = last; i >= 0; --i) {
        if (run.digits[i] != '9') {
            ++run.digits[i];
            return;
        }
        run.digits[i] = '0';
    }
    std::memmove(run.digits + 1, run.digits, static_cast<std::size_t>(run.integerDigits + run.decimalCount));
    run.digits[0] = '1';
    ++run.integerDigits;
}

// Cuts to `kept` digits in front of and behind the point together, rounding at the next one.
void KeepDecimals(FormatRun& run, i32 decimals) {
    const i32 at = run.integerDigits + decimals;
    const bool up = run.digits[at] >= '5';
    run.decimalCount = decimals;
    if (up) RoundUp(run, at - 1);
}

void LimitSignificantDigits(FormatRun& run) {
    const i32 n = run.integerDigits;
    if (n + run.decimalCount <= SIGNIFICANT_DIGITS) return;
    if (n > SIGNIFICANT_DIGITS) {
        const bool up = run.digits[SIGNIFICANT_DIGITS] >= '5';
        for (i32 i = SIGNIFICANT_DIGITS; i < n; ++i) run.digits[i] = '0';
        run.decimalCount = 0;
        if (up) RoundUp(run, SIGNIFICANT_DIGITS - 1);
    } else if (n > 0) {
        KeepDecimals(run, SIGNIFICANT_DIGITS - n);
    } else {
        i32 zeros = 0;
        while (zeros < run.decimalCount && run.digits[zeros] == '0') ++zeros;
        if (zeros + SIGNIFICANT_DIGITS < run.decimalCount) KeepDecimals(run, zeros + SIGNIFICANT_DIGITS);
    }
}

void MakeDigits(FormatRun& run, double value) {
    char text[FIXED_TEXT_ROOM];
    const std::size_t length = PrintFixed(value, DECIMAL_DIGITS, text);
    const std::size_t integers = length - DECIMAL_DIGITS - 1;
    run.integerDigits = value < 1 ? 0 : static_cast<i32>(integers);
    std::memcpy(run.digits, text, static_cast<std::size_t>(run.integerDigits));
    std::memcpy(run.digits + run.integerDigits, text + integers + 1, DECIMAL_DIGITS);
    run.decimalCount = DECIMAL_DIGITS;
    while (run.decimalCount && run.digits[run.integerDigits + run.decimalCount - 1] == '0') --run.decimalCount;
    LimitSignificantDigits(run);
}

}  // namespace

void WorkOutDigits(FormatRun& run) {
    Scale(run);
    const bool anyPlace = run.integerPlaces || run.decimalPlaces || run.exponentPlaces || run.numeratorWidth ||
                          run.denominatorWidth;
    if (!anyPlace) return;  // a date, or text alone
    WorkOutExponent(run);
    double shown = run.value;
    if (run.fraction) {
        WorkOutFraction(run);
    } else {
        shown = RoundToPlaces(run.value, run.decimalPlaces);
    }
    MakeDigits(run, shown);
}

}  // namespace tally
