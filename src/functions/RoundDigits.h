#pragma once
// Rounding on the printed decimal digits.

#include "base/Base.h"

namespace tally {

enum RoundMode : i32 { ROUND_NEAREST = 0, ROUND_DOWN = 1, ROUND_UP = 2 };

// The value is cut to 15 significant digits first, so that what lies beyond them does not count.
double RoundDigits(double value, double digits, RoundMode mode);

}  // namespace tally
