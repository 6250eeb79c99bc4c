#include "functions/SpecialFunctions.h"

#include <bit>
#include <cmath>
#include <limits>
#include <numbers>

namespace tally {
namespace {

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double EPSILON = 1e-16;
constexpr double TINY = 1e-300;
constexpr double ROOT_TWO_PI = 2.5066282746310002;
constexpr i32 MAX_STEPS = 300000;
// Gamma functions of a higher order are so close to the normal that a short expansion carries them.
constexpr double ASYMPTOTIC_ORDER = 1e6;

double Polynomial(const double* coefficients, i32 count, double x) {
    double sum = 0;
    for (i32 i = count; i-- > 0;) sum = sum * x + coefficients[i];
    return sum;
}

// What StirlingRest was for some small arguments: a column of distributions has few shapes.
struct StirlingMemory {
    static constexpr u32 PLACES = 64;
    double arguments[PLACES] = {};
    double rests[PLACES] = {};
};
StirlingMemory stirling;

double StirlingSeries(double x) {
    double sum = 0;
    for (; x < 15; x += 1) sum += (x + 0.5) * std::log1p(1 / x) - 1;
    const double square = 1 / (x * x);
    constexpr double SERIES[] = {1.0 / 12, -1.0 / 360, 1.0 / 1260, -1.0 / 1680, 1.0 / 1188, -691.0 / 360360};
    return sum + Polynomial(SERIES, 6, square) / x;
}

// ln gamma(x + 1) less the leading part of Stirling's formula, for x above 0.
double StirlingRest(double x) {
    if (!(x < 15)) return StirlingSeries(x);
    const u64 bits = std::bit_cast<u64>(x);
    const u32 place = static_cast<u32>((bits ^ bits >> 32) * 0x9E3779B1u >> 20) % StirlingMemory::PLACES;
    if (stirling.arguments[place] != x) {
        stirling.arguments[place] = x;
        stirling.rests[place] = StirlingSeries(x);
    }
    return stirling.rests[place];
}

// ln(1 + d) - d
double LogRest(double d) {
    if (std::fabs(d) > 0.3) return std::log1p(d) - d;
    // ln((1 + r) / (1 - r)) with r = d / (2 + d), the term 2r leaving 2r - d = -r * d.
    const double r = d / (2 + d);
    const double square = r * r;
    double power = r * square, sum = 0;
    for (i32 i = 3; i < 60; i += 2, power *= square) {
        const double longer = sum + power / i;
        if (longer == sum) break;
        sum = longer;
    }
    return 2 * sum - r * d;
}

// x ln(x / mean) + mean - x, exact for an x close to the mean, by how far the mean lies above x.
double Deviance(double x, double mean, double above) {
    const double d = above / x;
    return std::fabs(d) > 0.3 ? x * std::log(x / mean) + above : -x * LogRest(d);
}

// The terms of Temme's uniform expansion, for orders above ASYMPTOTIC_ORDER.
double AsymptoticGamma(double x, double a, bool upper) {
    const double d = (x - a) / a;
    const double half = -LogRest(d);  // eta squared / 2
    const double eta = std::copysign(std::sqrt(2 * half), d);
    constexpr double FIRST[] = {
        -1.0 / 3,           1.0 / 12, -2.0 / 135, 1.0 / 864, 3.52733686067019e-4, -1.78755144032922e-4,
        3.91926317852244e-5};
    constexpr double SECOND[] = {-1.0 / 540, -1.0 / 288, 1.0 / 378};
    double rest = 0;
    if (std::fabs(eta) < 0.1)
        rest = std::exp(-a * half) / (ROOT_TWO_PI * std::sqrt(a)) *
               (Polynomial(FIRST, 7, eta) + Polynomial(SECOND, 3, eta) / a);
    const double z = eta * std::sqrt(a / 2);
    return upper ? 0.5 * std::erfc(z) + rest : 0.5 * std::erfc(-z) - rest;
}

// The lower function over GammaPower.
double GammaSeries(double x, double a) {
    double term = 1 / a, sum = term;
    for (i32 i = 1; i < MAX_STEPS; ++i) {
        term *= x / (a + i);
        sum += term;
        if (term < sum * EPSILON) return sum;
    }
    return NOT_A_NUMBER;
}

double NonZero(double x) { return std::fabs(x) < TINY ? TINY : x; }

// The upper function over GammaPower, by Lentz's form of the continued fraction.
double GammaFraction(double x, double a) {
    double b = x + 1 - a;
    double c = 1 / TINY, d = 1 / NonZero(b), product = d;
    for (i32 i = 1; i < MAX_STEPS; ++i) {
        const double numerator = -i * (i - a);
        b += 2;
        d = 1 / NonZero(numerator * d + b);
        c = NonZero(b + numerator / c);
        product *= d * c;
        if (std::fabs(d * c - 1) < 1e-15) return product;
    }
    return NOT_A_NUMBER;
}

double IncompleteGamma(double x, double a, bool upper) {
    if (!(a > 0) || std::isnan(x)) return NOT_A_NUMBER;
    if (x <= 0) return upper ? 1 : 0;
    if (std::isinf(x)) return upper ? 0 : 1;
    if (a >= ASYMPTOTIC_ORDER) return AsymptoticGamma(x, a, upper);
    if (x < a + 1) {
        const double lower = GammaPower(x, a) * GammaSeries(x, a);
        return upper ? 1 - lower : lower;
    }
    const double tail = GammaPower(x, a) * GammaFraction(x, a);
    return upper ? tail : 1 - tail;
}

// Numerators and denominators of two neighbouring convergents of a continued fraction.
struct Convergents {
    double top0, bottom0, top1, bottom1;

    // Takes in one more term, which replaces the older convergent.
    void Take(double numerator, double denominator) {
        const double top = denominator * top1 + numerator * top0;
        const double bottom = denominator * bottom1 + numerator * bottom0;
        top0 = top1;
        bottom0 = bottom1;
        top1 = top;
        bottom1 = bottom;
    }
    // Only their ratio counts: they are kept inside the range of a double.
    void Rescale() {
        constexpr double LARGE = 1.157920892373162e+77, SMALL = 8.636168555094445e-78;
        const double size = std::fabs(bottom1);
        const double scale = size > LARGE ? SMALL : size < SMALL ? LARGE : 1;
        top0 *= scale;
        bottom0 *= scale;
        top1 *= scale;
        bottom1 *= scale;
    }
};

// How far (a + b) x lies above a. The smaller of x and its complement tells it.
double AboveMean(double x, double complement, double a, double b) {
    const long double n = static_cast<long double>(a) + b;
    return static_cast<double>(x < complement ? n * x - a : b - n * complement);
}

// IncompleteBeta over BetaPower, by every second convergent of the usual fraction; settles fast for x below the
// mean. Its terms are written by the distance from the mean and by the complement, so that none cancels for an
// x close to 1.
double BetaFraction(double x, double complement, double a, double b) {
    const double below = -AboveMean(x, complement, a, b);
    Convergents fraction = {1, 0, (1 + below) / (a + 1), 1};
    double before = fraction.bottom1 / fraction.top1;
    for (i32 m = 1; m < MAX_STEPS; ++m) {
        const double order = a + m, twice = a + 2.0 * m;
        const double even = m * (b - m) * x / ((twice - 1) * twice);
        const double odd = (order - 1) * (order - 1 + b) * x / ((twice - 2) * (twice - 1));
        const double rest = order * (below + m * complement + 2.0 * m + 1) + m * (m + 1.0);
        fraction.Take(odd * even, rest / (twice * (twice + 1)) + even);
        fraction.Rescale();
        const double value = fraction.bottom1 / fraction.top1;
        if (std::fabs(value - before) <= 1e-15 * std::fabs(value)) return value / a;
        if (std::isnan(value)) break;
        before = value;
    }
    return NOT_A_NUMBER;
}

}  // namespace

double NormalCdf(double x) {
    if (x > 40) return 1;
    if (x < -40) return 0;
    return 0.5 * std::erfc(-x * (1 / std::numbers::sqrt2));
}

double NormalInverse(double p) {
    constexpr double A[] = {3.3871328727963666080e0,  1.3314166789178437745e+2, 1.9715909503065514427e+3,
                            1.3731693765509461125e+4, 4.5921953931549871457e+4, 6.7265770927008700853e+4,
                            3.3430575583588128105e+4, 2.5090809287301226727e+3};
    constexpr double B[] = {1.0,
                            4.2313330701600911252e+1,
                            6.8718700749205790830e+2,
                            5.3941960214247511077e+3,
                            2.1213794301586595867e+4,
                            3.9307895800092710610e+4,
                            2.8729085735721942674e+4,
                            5.2264952788528545610e+3};
    constexpr double C[] = {1.42343711074968357734e0,  4.63033784615654529590e0, 5.76949722146069140550e0,
                            3.64784832476320460504e0,  1.27045825245236838258e0, 2.41780725177450611770e-1,
                            2.27238449892691845833e-2, 7.74545014278341407640e-4};
    constexpr double D[] = {1.0,
                            2.05319162663775882187e0,
                            1.67638483018380384940e0,
                            6.89767334985100004550e-1,
                            1.48103976427480074590e-1,
                            1.51986665636164571966e-2,
                            5.47593808499534494600e-4,
                            1.05075007164441684324e-9};
    constexpr double E[] = {6.65790464350110377720e0,  5.46378491116411436990e0,  1.78482653991729133580e0,
                            2.96560571828504891230e-1, 2.65321895265761230930e-2, 1.24266094738807843860e-3,
                            2.71155556874348757815e-5, 2.01033439929228813265e-7};
    constexpr double F[] = {1.0,
                            5.99832206555887937690e-1,
                            1.36929880922735805310e-1,
                            1.48753612908506148525e-2,
                            7.86869131145613259100e-4,
                            1.84631831751005468180e-5,
                            1.42151175831644588870e-7,
                            2.04426310338993978564e-15};
    const double q = p - 0.5;
    if (std::fabs(q) <= 0.425) {
        const double r = 0.180625 - q * q;
        return q * Polynomial(A, 8, r) / Polynomial(B, 8, r);
    }
    const double tail = q < 0 ? p : 1 - p;
    if (!(tail >= 0)) return NOT_A_NUMBER;
    if (tail == 0) return std::copysign(std::numeric_limits<double>::infinity(), q);
    const double r = std::sqrt(-std::log(tail));
    const double x = r <= 5 ? Polynomial(C, 8, r - 1.6) / Polynomial(D, 8, r - 1.6)
                            : Polynomial(E, 8, r - 5) / Polynomial(F, 8, r - 5);
    return std::copysign(x, q);
}

double LogGamma(double x) { return std::lgamma(x); }

double GammaPower(double x, double a) {
    if (x <= 0) return 0;
    // x^a e^-x / gamma(a + 1) is a Poisson term, here by its distance from the peak (Loader, 2000).
    return std::sqrt(a) / ROOT_TWO_PI * std::exp(-StirlingRest(a) - Deviance(a, x, x - a));
}

double IncompleteGammaP(double x, double a) { return IncompleteGamma(x, a, false); }
double IncompleteGammaQ(double x, double a) { return IncompleteGamma(x, a, true); }

double BetaPower(double x, double complement, double a, double b) {
    if (x <= 0 || complement <= 0) return 0;
    const double n = a + b;
    const double rest = StirlingRest(n) - StirlingRest(a) - StirlingRest(b);
    const double above = AboveMean(x, complement, a, b);
    return std::sqrt(a) * std::sqrt(b / n) / ROOT_TWO_PI *
           std::exp(rest - Deviance(a, n * x, above) - Deviance(b, n * complement, -above));
}

double IncompleteBetaOf(double x, double complement, double a, double b) {
    if (!(a >= 0 && b >= 0) || (a == 0 && b == 0) || std::isnan(x)) return NOT_A_NUMBER;
    if (x <= 0) return 0;
    if (complement <= 0) return 1;
    if (a == 0) return 1;
    if (b == 0) return 0;
    const double power = BetaPower(x, complement, a, b);
    if ((b + 1) * x <= (a + 1) * complement) return power * BetaFraction(x, complement, a, b);
    return 1 - power * BetaFraction(complement, x, b, a);
}

double IncompleteBeta(double x, double a, double b) { return IncompleteBetaOf(x, 1 - x, a, b); }

double StudentTail(double t, double freedom) {
    const double square = t * t;
    const double above = square / (freedom + square);
    const double tail =
        0.5 *
        (std::isfinite(square) ? IncompleteBetaOf(freedom / (freedom + square), above, freedom / 2, 0.5) : 0);
    return t < 0 ? 1 - tail : tail;
}

double FisherTail(double x, double freedom1, double freedom2) {
    if (x <= 0) return 1;
    const double scaled = freedom1 * x;
    if (!std::isfinite(scaled)) return 0;
    return IncompleteBetaOf(freedom2 / (freedom2 + scaled), scaled / (freedom2 + scaled), freedom2 / 2,
                            freedom1 / 2);
}

}  // namespace tally
