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
    for (i32 i = 0; i < run.scan.scalingCommas; ++i) run.value /= 1000.0;
    // Percents may leave the range of a double.
    run.value = std::fmin(run.value, std::numeric_limits<double>::max());
}

double RoundToPlaces(double value, i32 places) {
    const double power = PowerOfTen(places);
    const double rounded = RoundToInteger(value * power) / power;
    return std::isfinite(rounded) ? rounded : value;
}

// In two steps where one power would leave the range of a double.
double DividedByPower(double value, i32 exponent) {
    if (exponent >= -300) return value / std::pow(10.0, exponent);
    return value * 1e300 / std::pow(10.0, exponent + 300);
}

// With a "#" the exponent is a multiple of the count of places in front of the point.
i32 ExponentOf(const FormatScan& scan, double value) {
    if (scan.hashPlaces > 0) {
        const double period = scan.integerPlaces;
        return value == 0 ? 0 : static_cast<i32>(std::floor(std::floor(std::log10(value)) / period) * period);
    }
    const i32 magnitude = value == 0 ? 0 : static_cast<i32>(std::trunc(std::log10(value)));
    return magnitude + (value >= 1 ? 1 : 0) - scan.integerPlaces;
}

void WorkOutExponent(FormatRun& run) {
    if (!run.scan.scientific) return;
    const double value = run.value;
    run.exponent = ExponentOf(run.scan, value);
    run.value = DividedByPower(value, run.exponent);
    // What rounding carries over its places goes on with the next exponent.
    const double roof = PowerOfTen(run.scan.integerPlaces);
    if (run.value < roof && RoundToPlaces(run.value, run.scan.decimalPlaces) >= roof) {
        run.exponent += run.scan.hashPlaces > 0 ? run.scan.integerPlaces : 1;
        run.value = DividedByPower(value, run.exponent);
    }
    run.exponentDigits =
        run.exponent == 0 ? 0 : static_cast<i32>(PrintInteger(std::abs(run.exponent), run.exponentText));
}

double BestDenominator(double fraction, double limit) {
    double best = 1;
    double bestError = 2;
    for (double d = 1; d < limit; ++d) {
        const double n = std::trunc(fraction * d + 0.5);
        const double error = std::fabs(fraction - n / d);
        if (error < bestError) {
            best = d;
            bestError = error;
        }
        if (error == 0) break;
    }
    return best;
}

// A fraction that makes a whole one is carried; `value` becomes the whole number.
void WorkOutFraction(FormatRun& run) {
    double whole = std::trunc(run.value);
    const double fraction = run.value - whole;
    double denominator = run.scan.fixedDenominator;
    if (denominator == 0) {
        const double limit = std::min(std::pow(10.0, run.scan.denominatorWidth), MAX_DENOMINATOR);
        denominator = fraction == 0 ? 1 : BestDenominator(fraction, limit);
    }
    double numerator = std::trunc(denominator * fraction + 0.5);
    if (run.scan.integerPlaces == 0) {
        numerator += whole * denominator;
    } else if (numerator == denominator) {
        ++whole;
        numerator = 0;
        denominator = run.scan.fixedDenominator ? denominator : 1;
    }
    run.value = whole;
    run.blankFraction = numerator == 0 && run.scan.integerPlaces > 0;
    constexpr double roof = 1e18;
    run.numeratorDigits =
        static_cast<i32>(PrintInteger(static_cast<i64>(std::min(numerator, roof)), run.numeratorText));
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

void DropTrailingZeros(FormatRun& run) {
    while (run.decimalCount && run.digits[run.integerDigits + run.decimalCount - 1] == '0') --run.decimalCount;
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
    DropTrailingZeros(run);
    LimitSignificantDigits(run);
    DropTrailingZeros(run);
}

bool MakeShortDigits(FormatRun& run, double value) {
    constexpr i32 MOST_PLACES = 6;
    constexpr double roof = 1e15;
    if (run.scan.decimalPlaces > MOST_PLACES) return false;
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
    DropTrailingZeros(run);
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
        if (run.blankFraction && run.integerDigits == 0) {
            // The whole number is all there is to show.
            run.digits[0] = '0';
            run.integerDigits = 1;
        }
        run.showsZero = run.value == 0 && run.numeratorText[0] == '0';
        return;
    }
    if (!MakeShortDigits(run, run.value)) MakeDigits(run, RoundToPlaces(run.value, run.scan.decimalPlaces));
    run.showsZero = run.integerDigits == 0 && run.decimalCount == 0 && !run.scan.usesDates;
}

}  // namespace tally
