#include <algorithm>
#include <cmath>
#include <limits>

#include "functions/RootSearch.h"
#include "functions/SpecialFunctions.h"

// The inverses of the incomplete functions. The smaller of the two shares is the one that is met, so that none
// loses its digits beside 1, and it is met by its logarithm, which is nearly straight far out in a tail.

namespace tally {
namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

// How far a share lies above the wanted one; finite where the share is too small for a double.
double Above(double share, double wanted) {
    return std::log(std::max(share, std::numeric_limits<double>::denorm_min()) / wanted);
}

double Narrow(double spread) { return std::clamp(spread / 8, 1e-12, 0.5); }

// The x with the shares `lower` below and `upper` above it in the gamma distribution of order a.
double InverseGamma(double a, double lower, double upper) {
    if (!(lower >= 0 && upper >= 0 && a > 0)) return NOT_A_NUMBER;
    if (lower == 0) return 0;
    if (upper == 0) return INFINITE;
    // The cube root is nearly normal (Wilson and Hilferty); where that fails the first term of the series
    // holds.
    const double z = lower < upper ? NormalInverse(lower) : -NormalInverse(upper);
    const double root = 1 - 1 / (9 * a) + z / (3 * std::sqrt(a));
    double start = a * root * root * root;
    double spread = 1 / std::sqrt(a);
    if (!(root > 0.1)) {
        start = std::exp((std::log(lower) + LogGamma(a + 1)) / a);
        spread = 1;
    }
    start = std::clamp(start, std::numeric_limits<double>::min(), std::numeric_limits<double>::max());
    return RisingRoot(start, Narrow(spread), [=](double x) {
        return lower < upper ? Above(IncompleteGammaP(x, a), lower) : -Above(IncompleteGammaQ(x, a), upper);
    });
}

}  // namespace

double InverseGammaP(double p, double a) { return InverseGamma(a, p, 1 - p); }

double InverseChiHalf(double a, double p) { return InverseGamma(a, 1 - p, p); }

double InverseBetaOdds(double lower, double upper, double a, double b) {
    if (!(lower >= 0 && upper >= 0 && a > 0 && b > 0)) return NOT_A_NUMBER;
    if (lower == 0) return 0;
    if (upper == 0) return INFINITE;
    const double z = lower < upper ? NormalInverse(lower) : -NormalInverse(upper);
    const double spread = std::sqrt(1 / a + 1 / b);
    const double start = std::exp(std::clamp(std::log(a / b) + z * spread, -700.0, 700.0));
    return RisingRoot(start, Narrow(spread), [=](double odds) {
        const double x = odds / (1 + odds), complement = 1 / (1 + odds);
        return lower < upper ? Above(IncompleteBetaOf(x, complement, a, b), lower)
                             : -Above(IncompleteBetaOf(complement, x, b, a), upper);
    });
}

double InverseBeta(double p, double a, double b) {
    const double odds = InverseBetaOdds(p, 1 - p, a, b);
    return std::isinf(odds) ? 1 : odds / (1 + odds);
}

}  // namespace tally
