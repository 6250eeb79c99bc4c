#pragma once
// The special functions that the distributions rest on, to about fifteen digits. What lies outside a
// domain, or does not settle within a bounded number of steps, is NaN.

#include "base/Base.h"

namespace tally {

// The share of the standard normal distribution below x.
double NormalCdf(double x);
// The x with that share below it (Wichura, AS 241, PPND16); infinite at 0 and 1.
double NormalInverse(double p);

double LogGamma(double x);
// The regularised lower incomplete gamma function of order a, and its complement.
double IncompleteGammaP(double x, double a);
double IncompleteGammaQ(double x, double a);
// x^a e^-x / gamma(a), without overflow.
double GammaPower(double x, double a);

// The regularised incomplete beta function.
double IncompleteBeta(double x, double a, double b);
// The same with 1 - x given too, for an x close to 1.
double IncompleteBetaOf(double x, double complement, double a, double b);
// x^a (1 - x)^b / beta(a, b), without overflow.
double BetaPower(double x, double complement, double a, double b);

// The x with IncompleteBeta(x, a, b) = p; infinite odds are 1.
double InverseBeta(double p, double a, double b);
// The odds x / (1 - x) of that x, by the share below it and the share above it, which make 1.
double InverseBetaOdds(double lower, double upper, double a, double b);
// The x with IncompleteGammaP(x, a) = p, and the one with IncompleteGammaQ(x, a) = p. Infinite at the end.
double InverseGammaP(double p, double a);
double InverseChiHalf(double a, double p);

// What lies above a value in Student's distribution and in the F distribution.
double StudentTail(double t, double freedom);
double FisherTail(double x, double freedom1, double freedom2);

}  // namespace tally
