#pragma once
// Numbers of about 32 digits: the unevaluated sum of two doubles (Dekker, 1971). For sums and products in which
// nearly all of the digits of a double cancel.

#include <cmath>

namespace tally {

struct DoubleDouble {
    double high = 0;
    double low = 0;

    DoubleDouble() = default;
    DoubleDouble(double x) : high(x) {}
    DoubleDouble(double h, double l) : high(h), low(l) {}
};

inline DoubleDouble ExactSum(double a, double b) {
    const double sum = a + b, part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}

// For |a| not below |b|.
inline DoubleDouble Renormalized(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}

inline DoubleDouble ExactProduct(double a, double b) {
    // By halves of 26 bits, as most targets have no fused operation to rely on.
    constexpr double SPLIT = 134217729.0;
    const double ca = SPLIT * a, a1 = ca - (ca - a), a2 = a - a1;
    const double cb = SPLIT * b, b1 = cb - (cb - b), b2 = b - b1;
    const double product = a * b;
    return {product, ((a1 * b1 - product) + a1 * b2 + a2 * b1) + a2 * b2};
}

inline DoubleDouble operator+(const DoubleDouble& a, const DoubleDouble& b) {
    const DoubleDouble sum = ExactSum(a.high, b.high), rest = ExactSum(a.low, b.low);
    const DoubleDouble first = Renormalized(sum.high, sum.low + rest.high);
    return Renormalized(first.high, first.low + rest.low);
}
inline DoubleDouble operator-(const DoubleDouble& a) { return {-a.high, -a.low}; }
inline DoubleDouble operator-(const DoubleDouble& a, const DoubleDouble& b) { return a + -b; }
inline DoubleDouble operator*(const DoubleDouble& a, const DoubleDouble& b) {
    const DoubleDouble product = ExactProduct(a.high, b.high);
    return Renormalized(product.high, product.low + (a.high * b.low + a.low * b.high));
}
inline DoubleDouble operator/(const DoubleDouble& a, const DoubleDouble& b) {
    const double first = a.high / b.high;
    if (!std::isfinite(first) || first == 0) return first;
    const DoubleDouble rest = a - b * first;
    const double second = rest.high / b.high;
    const DoubleDouble end = rest - b * second;
    return Renormalized(first, second) + DoubleDouble(end.high / b.high);
}
inline DoubleDouble& operator+=(DoubleDouble& a, const DoubleDouble& b) { return a = a + b; }
inline DoubleDouble& operator-=(DoubleDouble& a, const DoubleDouble& b) { return a = a - b; }
inline DoubleDouble& operator*=(DoubleDouble& a, const DoubleDouble& b) { return a = a * b; }

inline DoubleDouble SquareRoot(const DoubleDouble& a) {
    const double root = std::sqrt(a.high);
    if (!(root > 0) || !std::isfinite(root)) return root;
    const DoubleDouble rest = a - ExactProduct(root, root);
    return Renormalized(root, rest.high / (2 * root));
}
inline long double SquareRoot(long double a) { return std::sqrt(a); }

inline double Nearest(const DoubleDouble& a) { return a.high + a.low; }
inline double Nearest(long double a) { return static_cast<double>(a); }

}  // namespace tally
