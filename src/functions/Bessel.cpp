#include "functions/Bessel.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tally {
namespace {

// Wider than a double where the machine has it, so that what recurrences and sums lose does not show.
using Wide = long double;

constexpr Wide PI = std::numbers::pi_v<Wide>;
constexpr Wide EULER = std::numbers::egamma_v<Wide>;
constexpr Wide SMALL_TERM = 1e-21L;
constexpr Wide INFINITE = std::numeric_limits<Wide>::infinity();
// From here on the expansion for large arguments settles.
constexpr Wide LARGE_ARGUMENT = 40;
// Exponents of e beyond which a value is no double.
constexpr Wide OVERFLOW_EXPONENT = 730;
constexpr Wide UNDERFLOW_EXPONENT = -770;

// Values are kept inside these by powers of two.
constexpr int SCALE_BITS = 4000;
constexpr Wide HUGE_VALUE = 0x1p4000L;
constexpr Wide TINY_VALUE = 0x1p-4000L;

// A number times a power of two.
struct Scaled {
    Wide value = 1;
    int bits = 0;
    void Multiply(Wide factor) {
        value *= factor;
        if (std::fabs(value) > HUGE_VALUE) {
            value *= TINY_VALUE;
            bits += SCALE_BITS;
        } else if (std::fabs(value) < TINY_VALUE && value != 0) {
            value *= HUGE_VALUE;
            bits -= SCALE_BITS;
        }
    }
};

// (x/2)^n / n! times the sum of q^k / (k! (n+1)...(n+k)), where q is (x/2)^2 for I and its negative for J.
Wide PowerSeries(Wide x, i32 order, Wide q) {
    Scaled lead;
    for (i32 i = 1; i <= order; ++i) lead.Multiply(x / 2 / i);
    Wide term = 1, sum = 1;
    for (Wide k = 1; std::fabs(term) > SMALL_TERM * std::fabs(sum) || k * (k + order) < std::fabs(q); ++k) {
        term *= q / (k * (k + order));
        sum += term;
        if (sum > HUGE_VALUE) {
            term *= TINY_VALUE;
            sum *= TINY_VALUE;
            lead.bits += SCALE_BITS;
        }
    }
    return std::ldexp(lead.value * sum, lead.bits);
}

struct Pair {
    Wide j, y;
};

// Both functions for an x that is large beside the order. False when the expansion does not settle.
bool LargeArgument(Wide x, i32 order, Pair& out) {
    const Wide square = 4 * static_cast<Wide>(order) * order;
    Wide term = 1, before = 2, even = 1, odd = 0;
    for (i32 k = 1; std::fabs(term) > SMALL_TERM; ++k) {
        const Wide root = 2 * k - 1;
        before = term;
        term *= (square - root * root) / (8 * k * x);
        if (std::fabs(term) > 2 || (k > 1 && std::fabs(term) >= std::fabs(before))) return false;
        (k & 1 ? odd : even) += k & 2 ? -term : term;
    }
    // The phase is x - pi/4 - order * pi/2.
    const Wide sine = std::sin(x), cosine = std::cos(x), root = std::numbers::sqrt2_v<Wide>;
    const Wide c = (cosine + sine) / root, s = (sine - cosine) / root;
    const Wide turnedCosine[] = {c, s, -c, -s}, turnedSine[] = {s, -c, -s, c};
    const Wide a = turnedCosine[order & 3], b = turnedSine[order & 3];
    const Wide height = std::sqrt(2 / (PI * x));
    out = {height * (even * a - odd * b), height * (even * b + odd * a)};
    return true;
}

// An order from which the backward recurrence down to `order` has settled.
i32 BackwardStart(Wide x, i32 order) {
    const Wide from = std::max(x, static_cast<Wide>(order));
    return static_cast<i32>(from + 15 * std::cbrt(from)) + 60;
}

// J of an order and J and Y of the orders 0 and 1, by the backward recurrence; for an x that is not large.
struct LowOrders {
    Wide wanted = 0;
    Wide j0 = 0, j1 = 0, y0 = 0, y1 = 0;
};
LowOrders BackwardSums(Wide x, i32 order) {
    LowOrders out;
    Wide above = 0, now = TINY_VALUE, norm = 0, sumY0 = 0, sumY1 = 0;
    for (i32 k = BackwardStart(x, order) | 1; k > 0; --k) {
        // `now` is J of the order k, up to a factor that is common to all.
        if (k == order) out.wanted = now;
        if (k % 2 == 0) {
            norm += 2 * now;
            sumY0 += (k & 2 ? -now : now) / (k / 2);
        } else if (k > 1) {
            const Wide half = (k - 1) / 2;
            sumY1 += (k & 2 ? -now : now) * k / (half * (half + 1));
        } else {
            out.j1 = now;
        }
        const Wide below = 2 * k / x * now - above;
        above = now;
        now = below;
        if (std::fabs(now) > HUGE_VALUE) {
            for (Wide* value : {&above, &now, &norm, &sumY0, &sumY1, &out.wanted, &out.j1})
                *value *= TINY_VALUE;
        }
    }
    norm += now;
    out.j0 = now / norm;
    out.j1 /= norm;
    out.wanted = order == 0 ? out.j0 : out.wanted / norm;
    const Wide logarithm = std::log(x / 2) + EULER;
    out.y0 = 2 / PI * (logarithm * out.j0 - 2 * sumY0 / norm);
    out.y1 = 2 / PI * ((logarithm - 1) * out.j1 - sumY1 / norm - out.j0 / x);
    return out;
}

// From the values of two orders that follow each other to that of a higher one.
Wide Forward(Wide x, i32 order, Wide zeroth, Wide first) {
    if (order == 0) return zeroth;
    for (i32 k = 1; k < order && std::isfinite(first); ++k) {
        const Wide next = 2 * k / x * first - zeroth;
        zeroth = first;
        first = next;
    }
    return first;
}

// J beyond its turning point, by the backward recurrence down to known values.
Wide BackwardTo(Wide x, i32 order, Wide zeroth, Wide first) {
    Wide above = 0, now = TINY_VALUE, wanted = 0;
    for (i32 k = BackwardStart(x, order); k > 0; --k) {
        if (k == order) wanted = now;
        const Wide below = 2 * k / x * now - above;
        above = now;
        now = below;
        if (std::fabs(now) > HUGE_VALUE) {
            for (Wide* value : {&above, &now, &wanted}) *value *= TINY_VALUE;
        }
    }
    return std::fabs(zeroth) > std::fabs(first) ? wanted / now * zeroth : wanted / above * first;
}

Wide PositiveJ(Wide x, i32 order) {
    if (x * x <= 16 * (static_cast<Wide>(order) + 1)) return PowerSeries(x, order, -x * x / 4);
    if (x < LARGE_ARGUMENT) return BackwardSums(x, order).wanted;
    Pair at, zeroth, first;
    if (LargeArgument(x, order, at)) return at.j;
    if (!LargeArgument(x, 0, zeroth) || !LargeArgument(x, 1, first)) return INFINITE;
    return static_cast<Wide>(order) <= x ? Forward(x, order, zeroth.j, first.j)
                                         : BackwardTo(x, order, zeroth.j, first.j);
}

Wide PositiveY(Wide x, i32 order) {
    if (x < LARGE_ARGUMENT) {
        const LowOrders low = BackwardSums(x, 0);
        return Forward(x, order, low.y0, low.y1);
    }
    Pair at, zeroth, first;
    if (LargeArgument(x, order, at)) return at.y;
    if (!LargeArgument(x, 0, zeroth) || !LargeArgument(x, 1, first)) return INFINITE;
    return Forward(x, order, zeroth.y, first.y);
}

// I and K grow and fall with the exponential of this, but for powers.
Wide GrowthExponent(Wide x, i32 order) {
    const Wide n = order;
    return std::hypot(x, n) - n * std::asinh(n / x);
}

Wide PositiveI(Wide x, i32 order) {
    const Wide exponent = GrowthExponent(x, order);
    if (exponent > OVERFLOW_EXPONENT) return INFINITE;
    if (exponent < UNDERFLOW_EXPONENT) return 0;
    return PowerSeries(x, order, x * x / 4);
}

// Half the integral of exp(n t - x cosh t) over all t, over exp(-GrowthExponent), by equal steps from the
// peak; they lie so close that the sum is the integral (the integrand is entire and dies off doubly
// exponentially).
Wide IntegralOfK(Wide x, i32 order) {
    constexpr Wide NEGLIGIBLE = 52;
    const Wide n = order, peak = std::hypot(x, n);
    const Wide rest = x / (peak + n) * x;  // peak - n
    const Wide step = 0.6L / std::sqrt(peak + 10);
    // How far the exponent lies below its peak.
    const auto depth = [&](Wide s) {
        const Wide half = std::sinh(s / 2);
        return n * (std::expm1(s) - s) + rest * 2 * half * half;
    };
    Wide sum = 1;
    for (const Wide direction : {step, -step}) {
        Wide below = 0;
        for (i32 i = 1; below < NEGLIGIBLE; ++i) {
            below = depth(direction * i);
            sum += std::exp(-below);
        }
    }
    return step / 2 * sum;
}

// By the recurrence, for orders whose exponent has too many digits before the point. The values are over
// exp(-x).
Wide HighOrderK(Wide x, i32 order) {
    Wide zeroth = IntegralOfK(x, 0);
    Wide first = IntegralOfK(x, 1) * std::exp(std::asinh(1 / x) - 1 / (x + std::hypot(x, 1.0L)));
    int bits = 0;
    for (i32 k = 1; k < order; ++k) {
        const Wide next = 2 * k / x * first + zeroth;
        zeroth = first;
        first = next;
        if (first > HUGE_VALUE) {
            zeroth *= TINY_VALUE;
            first *= TINY_VALUE;
            bits += SCALE_BITS;
        }
    }
    // exp(-x) as a power of two and a rest, with ln 2 in two pieces.
    constexpr Wide LN2_HIGH = 0xb.17217f7d1cf79acp-4L, LN2_LOW = -0xd.871319ff0342543p-70L;
    const Wide twos = std::round(x / LN2_HIGH);
    const Wide rest = std::fma(-twos, LN2_LOW, std::fma(-twos, LN2_HIGH, x));
    return std::ldexp(first * std::exp(-rest), bits - static_cast<int>(twos));
}

Wide PositiveK(Wide x, i32 order) {
    constexpr i32 MANY_ORDERS = 5000;
    const Wide exponent = -GrowthExponent(x, order);
    if (exponent > OVERFLOW_EXPONENT) return INFINITE;
    if (exponent < UNDERFLOW_EXPONENT) return 0;
    return order > MANY_ORDERS ? HighOrderK(x, order) : IntegralOfK(x, order) * std::exp(exponent);
}

// J and I of a negative argument have the sign of the order.
double WithSign(double x, i32 order, Wide value) {
    return static_cast<double>(x < 0 && order % 2 ? -value : value);
}

}  // namespace

double BesselJ(double x, i32 order) {
    if (x == 0) return order == 0;
    return WithSign(x, order, PositiveJ(std::fabs(static_cast<Wide>(x)), order));
}

double BesselI(double x, i32 order) {
    if (x == 0) return order == 0;
    return WithSign(x, order, PositiveI(std::fabs(static_cast<Wide>(x)), order));
}

double BesselY(double x, i32 order) { return static_cast<double>(PositiveY(x, order)); }

double BesselK(double x, i32 order) { return static_cast<double>(PositiveK(x, order)); }

}  // namespace tally
