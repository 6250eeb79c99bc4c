#include "display/Calendar.h"

#include <cmath>

#include "display/NumberFormatter.h"

namespace tally {
namespace {

constexpr i32 LEAP_DAY_SERIAL = 60;
constexpr i64 SERIAL_OF_1970 = 25569;
constexpr double DAYS_PER_SECOND = 1.1574074074074073e-5;

// Days since 1 January 1970 of a date in the proleptic Gregorian calendar; month 1 to 12.
i64 DaysFromCivil(i64 year, i64 month, i64 day) {
    year -= month <= 2;
    const i64 era = (year >= 0 ? year : year - 399) / 400;
    const i64 yearOfEra = year - era * 400;
    const i64 dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const i64 dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

bool IsLeapYear(i32 year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

}  // namespace

void SerialToDate(i32 serial, i32& year, i32& month, i32& day) {
    if (serial == LEAP_DAY_SERIAL) {
        year = 1900;
        month = 2;
        day = 29;
        return;
    }
    const i64 moved = i64{serial} + (serial < LEAP_DAY_SERIAL ? 1 : 0);
    const i64 days = moved - SERIAL_OF_1970 + 719468;
    const i64 era = (days >= 0 ? days : days - 146096) / 146097;
    const i64 dayOfEra = days - era * 146097;
    const i64 yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const i64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const i64 shifted = (5 * dayOfYear + 2) / 153;
    day = static_cast<i32>(dayOfYear - (153 * shifted + 2) / 5 + 1);
    month = static_cast<i32>(shifted < 10 ? shifted + 3 : shifted - 9);
    year = static_cast<i32>(yearOfEra + era * 400 + (month <= 2));
}

i32 DateToSerial(i32 year, i32 month, i32 day) {
    if (year == 1900 && month == 2 && day == 29) return LEAP_DAY_SERIAL;
    const i64 months = i64{year} * 12 + month - 1;
    const i64 carriedYear = months >= 0 ? months / 12 : (months - 11) / 12;
    i64 serial = DaysFromCivil(carriedYear, months - carriedYear * 12 + 1, 1) + SERIAL_OF_1970;
    if (serial <= LEAP_DAY_SERIAL) --serial;
    serial += i64{day} - 1;
    return serial > INT32_MAX ? INT32_MAX : serial < INT32_MIN ? INT32_MIN : static_cast<i32>(serial);
}

double TimeToSerial(i32 hour, i32 minute, i32 second, i32 millisecond) {
    return (static_cast<double>(hour) * 3600 + static_cast<double>(minute) * 60 + static_cast<double>(second) +
            static_cast<double>(millisecond) * 0.001) *
           DAYS_PER_SECOND;
}

void SerialToTime(double serial, i32& hour, i32& minute, i32& second) {
    const double fraction = serial - std::floor(serial);
    const i32 seconds = static_cast<i32>(RoundToInteger(fraction * 86400));
    hour = seconds / 3600;
    minute = seconds / 60 % 60;
    second = seconds % 60;
}

i32 DaysInMonth(i32 year, i32 month) {
    constexpr i32 days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && (year == 1900 || IsLeapYear(year)) ? 29 : days[month - 1];
}

}  // namespace tally
