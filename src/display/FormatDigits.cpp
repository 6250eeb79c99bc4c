#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

#include "display/FormatRun.h"

namespace tally {
namespace {

constexpr i32 SIGNIFICANT_DIGITS = 15;
constexpr double MAX_DENOMINATOR = 1000000.0;  // tried one after the other

void Scale(FormatRun& run) {
    for (i32 i = 0; i < run.scan.percents; ++i) run.value *= 100.0;
    for (i32 i = 0; i < run.scan.scalingCommas; ++i) run.value *= 0.001;
    // Percents may leave the range of a double.
    run.value = std::fmin(run.value, std::numeric_limits<double>::max());
}

void WorkOutExponent(FormatRun& run) {
    if (!run.scan.scientific) return;
    const i32 magnitude = run.value == 0 ? 0 : static_cast<i32>(std::trunc(std::log10(run.value)));
    if (run.scan.hashPlaces > 0) {
        run.exponent = (magnitude - std::max(run.scan.zeroPlaces, 1) + 1) / 3 * 3;
    } else {
        run.exponent = magnitude + (run.value >= 1 ? 1 : 0) - run.scan.integerPlaces;
    }
    // In two steps where one power would leave the range of a double.
    if (run.exponent < -300) run.value *= 1e300;
    run.value /= std::pow(10.0, run.exponent < -300 ? run.exponent + 300 : run.exponent);
    run.exponentDigits =
        run.exponent == 0 ? 0 : static_cast<i32>(PrintInteger(std::abs(run.exponent), run.exponentText));
}

double RoundToPlaces(double value, i32 places) {
    const double power = PowerOfTen(places);
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
        const double limit = std::min(std::pow(10.0, run.scan.denominatorWidth), MAX_DENOMINATOR);
        if (limit > 2) denominator = BestDenominator(fraction, limit);
        numerator = std::trunc(denominator * fraction + 0.5);
    }
    if (fraction != 0 && run.scan.integerPlaces == 0) numerator += whole * denominator;
    const bool blank = numerator == 0 || fraction == 0;
    if (blank) denominator = run.scan.integerPlaces == 0 ? 1 : 0;
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

}  // namespace

double PowerOfTen(i32 exponent) {
    constexpr double exact[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    return exponent >= 0 && exponent < static_cast<i32>(std::size(exact)) ? exact[exponent]
                                                                          : std::pow(10.0, exponent);
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

bool MakeShortDigits(FormatRun& run, double value) {
    constexpr i64 powersOfFive[] = {1, 5, 25, 125, 625, 3125, 15625};
    constexpr double roof = 1e15;
    if (run.scan.decimalPlaces >= static_cast<i32>(std::size(powersOfFive))) return false;
    const double units = RoundToInteger(value * PowerOfTen(run.scan.decimalPlaces));
    if (!(units < roof)) return false;
    char text[NUMBER_TEXT_ROOM];
    const i32 length = static_cast<i32>(PrintInteger(static_cast<i64>(units), text));
    run.integerDigits = std::max(length - run.scan.decimalPlaces, 0);
    if (units == 0) run.integerDigits = 0;
    const i32 zeros = std::max(run.scan.decimalPlaces - length, 0);
    std::memset(run.digits, '0', static_cast<std::size_t>(zeros));
    std::memcpy(run.digits + zeros, text, static_cast<std::size_t>(length));
    run.decimalCount = run.scan.decimalPlaces;
    // A value with an end in binary has no digits behind its own, so that its trailing zeros are none;
    // all others are cut at the fifteenth digit and keep them.
    if (static_cast<i64>(units) % powersOfFive[run.scan.decimalPlaces]) return true;
    while (run.decimalCount && run.digits[run.integerDigits + run.decimalCount - 1] == '0') --run.decimalCount;
    return true;
}

void WorkOutDigits(FormatRun& run) {
    Scale(run);
    const bool anyPlace = run.scan.integerPlaces || run.scan.decimalPlaces || run.scan.exponentPlaces ||
                          run.scan.numeratorWidth || run.scan.denominatorWidth;
    if (!anyPlace) return;  // a date, or text alone
    WorkOutExponent(run);
    if (run.scan.fraction) {
        WorkOutFraction(run);
        MakeDigits(run, run.value);
    } else if (!MakeShortDigits(run, run.value)) {
        MakeDigits(run, RoundToPlaces(run.value, run.scan.decimalPlaces));
    }
}

}  // namespace tally
