#pragma once
// Serial dates. Serial 1 is 1 January 1900 and serial 60 the day 29 February 1900, by decree.

#include "base/Base.h"

namespace tally {

void SerialToDate(i32 serial, i32& year, i32& month, i32& day);
// Months and days out of range carry.
i32 DateToSerial(i32 year, i32 month, i32 day);
double TimeToSerial(i32 hour, i32 minute, i32 second, i32 millisecond);
void SerialToTime(double serial, i32& hour, i32& minute, i32& second);
i32 DaysInMonth(i32 year, i32 month);

// What a 1904-based serial has to be raised by.
constexpr i32 DATE_1904_OFFSET = 1462;

}  // namespace tally
