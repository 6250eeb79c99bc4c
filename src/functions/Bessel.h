#pragma once
// The Bessel functions of whole orders, to fourteen digits and more; close to a zero of J and Y the error stays
// that small beside the wave's height.
//
// Sources: Abramowitz and Stegun, Handbook of Mathematical Functions: 9.1.10 and 9.6.10 (power series), 9.1.27
// (recurrence), 9.1.88 (Y by a sum of J), 9.2.5 (large arguments), 9.12 (backward recurrence), 9.6.24 (K as
// an integral).

#include "base/Base.h"

namespace tally {

constexpr i32 MAX_BESSEL_ORDER = 1000000;

// Orders are 0 to MAX_BESSEL_ORDER; x is above zero for Y and K. What is too large for a double is infinite.
double BesselJ(double x, i32 order);
double BesselY(double x, i32 order);
double BesselI(double x, i32 order);
double BesselK(double x, i32 order);

}  // namespace tally
