#pragma once
// The user's regional settings, read once at start-up, and what is derived from them.

#include "base/WideText.h"

namespace tally {

struct LocaleSettings {
    char16_t dateOrder[3];  // "0" month-day-year, "1" day-month-year, "2" year-month-day
    char16_t dateSeparator[3];
    char16_t timeSeparator[3];
    char16_t decimalSeparator;
    char16_t thousandsSeparator;
    char16_t currencySymbol[5];
    i32 currencyDigits;
    char16_t listSeparator;
    char16_t dayName[7][17];  // Monday first
    char16_t dayShort[7][9];
    char16_t monthName[12][17];
    char16_t monthShort[12][9];
    char16_t amText[5], pmText[5];
    char16_t shortDatePattern[17];
    bool timeLeadingZero;
    i32 negativeCurrencyOrder;
    // Derived.
    u32 monthInitials;        // bit per letter a to z that a month's name begins with
    bool otherMonthInitials;  // some name begins with something else
    WideText ampmUpper, ampmLower, apUpper, apLower;
    WideText amUpper, pmUpper, amLower, pmLower, aUpper, pUpper, aLower, pLower;
    WideText shortDateFormat, shortTimeFormat, longDateFormat, longTimeFormat;
    WideText dateTimeFormat, shortDateTimeFormat;
};

// The settings in force.
const LocaleSettings& Locale();
// Reads the platform's items, derives the rest, and sets the local built-in number formats.
[[nodiscard]] bool ReadLocaleSettings();
// Back to what holds before they are read.
void ResetLocaleSettings();

}  // namespace tally
