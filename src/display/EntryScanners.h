#pragma once
// The scanners of typed numbers, fractions, dates and times, in the user's regional settings.

#include "base/Base.h"

namespace tally {

// The whole of text[start, end) as a number.
bool ParseNumber(WideView text, std::size_t start, std::size_t end, double& out, bool allowThousands);
bool ParseMixedFraction(WideView text, std::size_t start, std::size_t end, double& out, i32& digits);
// `timeId` gets the built-in format id of the time part, 0 without one.
bool ParseDateEntry(WideView text, bool date1904, double& out, i32& timeId);
bool ParseTimeEntry(WideView text, double& out, i32& timeId);

}  // namespace tally
