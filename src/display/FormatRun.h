#pragma once
// One run of a number through one section: what the scans find out, and the digits that the
// placeholders take. Inside the display folder only.

#include "base/Number.h"
#include "display/FormatSections.h"
#include "display/NumberFormatter.h"

namespace tally {

constexpr std::size_t DECIMAL_DIGITS = 30;

// What the first scan finds in one section, whatever the value.
struct FormatScan {
    bool scientific = false;
    bool grouping = false;
    bool fraction = false;
    bool usesDates = false;
    bool usesTimes = false;
    bool twelveHour = false;
    i32 percents = 0;
    i32 scalingCommas = 0;
    i32 secondDecimals = 0;
    std::size_t exponentAt = 0;  // position of the "E"
    std::size_t numeratorStart = 0;
    i32 numeratorWidth = 0;
    i32 denominatorWidth = 0;  // in characters
    i32 fixedDenominator = 0;  // 0 where the denominator has places
    // Placeholders.
    i32 integerPlaces = 0;
    i32 decimalPlaces = 0;
    i32 exponentPlaces = 0;
    i32 hashPlaces = 0;
};

struct FormatRun {
    WideView format;
    FormatScan scan;
    double value = 0;     // absolute; scaled and divided by the exponent before the digits are made
    double unscaled = 0;  // absolute, as it came
    bool date1904 = false;
    const TextMeasure* measure = nullptr;
    i32 width = 0;
    WideText* out = nullptr;

    // Digits.
    char digits[FIXED_TEXT_ROOM + 2];  // integer digits, then the decimals, without a point
    i32 integerDigits = 0;
    i32 decimalCount = 0;
    i32 exponent = 0;
    char exponentText[NUMBER_TEXT_ROOM];
    i32 exponentDigits = 0;
    char numeratorText[NUMBER_TEXT_ROOM];
    i32 numeratorDigits = 0;
    char denominatorText[NUMBER_TEXT_ROOM];
    i32 denominatorDigits = 0;
    bool blankFraction = false;  // a whole number beside places of its own
    bool showsZero = false;      // nothing but zeros is left of the value

    // Calendar and clock.
    double days = 0;
    i32 year = 0, month = 0, day = 0, weekday = 0;
    i32 hour = 0, minute = 0, second = 0;
    i32 secondTicks = 0;  // decimals of the second, as many as the scan's
    bool afternoon = false;
};

inline bool IsPlaceholder(char16_t c) { return c == u'#' || c == u'0' || c == u'?'; }
// The position behind what stands for itself and holds no place: a quoted text, a bracket, a character behind
// "\\", "_" or "*". The same position for all other characters.
std::size_t BehindLiteral(WideView format, std::size_t at);

// The first scan and the count of the placeholders of a section.
FormatScan ScanFormat(WideView section);
// Calendar and time values, for formats that use them.
void WorkOutDates(FormatRun& run);
// Scaling, exponent, rounding, fraction and digit strings.
void WorkOutDigits(FormatRun& run);
// The digit strings of a value, which is rounded to its places already: thirty decimals without their
// trailing zeros, cut to fifteen significant digits.
void MakeDigits(FormatRun& run, double value);
// The same of a value yet to be rounded, as far as the format's decimal places reach, without the thirty
// decimals; false, and nothing made, where that road is not known to give the same digits.
bool MakeShortDigits(FormatRun& run, double value);
double PowerOfTen(i32 exponent);
// The main scan.
[[nodiscard]] bool WriteFormatted(FormatRun& run);

}  // namespace tally
