#pragma once
// Finds where a function of one number is zero.

#include <cmath>
#include <limits>

#include "base/Base.h"

namespace tally {

// The root between two places where the signs differ, to the last digits of `b`: Brent's method, which takes
// the secant or the inverse parabola where they are sure and halves where they are not.
template <typename Function>
double RootBetween(double a, double fa, double b, double fb, Function f) {
    constexpr i32 ROUNDS = 200;
    double c = a, fc = fa, step = b - a, before = step;
    for (i32 round = 0; round < ROUNDS && fb != 0; ++round) {
        if ((fb > 0) == (fc > 0)) {
            c = a;
            fc = fa;
            step = before = b - a;
        }
        if (std::fabs(fc) < std::fabs(fb)) {
            a = b;
            b = c;
            c = a;
            fa = fb;
            fb = fc;
            fc = fa;
        }
        const double least = std::fabs(b) * std::numeric_limits<double>::epsilon();
        const double half = (c - b) / 2;
        if (std::fabs(half) <= least) break;
        double p = 0, q = 0;
        if (std::fabs(before) >= least && std::fabs(fa) > std::fabs(fb)) {
            const double s = fb / fa;
            if (a == c) {
                p = 2 * half * s;
                q = 1 - s;
            } else {
                const double t = fa / fc, r = fb / fc;
                p = s * (2 * half * t * (t - r) - (b - a) * (r - 1));
                q = (t - 1) * (r - 1) * (s - 1);
            }
            q = p > 0 ? -q : q;
            p = std::fabs(p);
        }
        const bool sure = 2 * p < std::fmin(3 * half * q - std::fabs(least * q), std::fabs(before * q));
        before = sure ? step : half;
        step = sure ? p / q : half;
        a = b;
        fa = fb;
        b += std::fabs(step) > least ? step : std::copysign(least, half);
        fb = f(b);
        if (std::isnan(fb)) return fb;
    }
    return b;
}

// The root above zero of a function that rises: looked for from `start` on, at first in steps of the part
// `spread` of it. 0 or infinite when the function is above or below zero everywhere.
template <typename Function>
double RisingRoot(double start, double spread, Function f) {
    constexpr double WIDEST = 4, LONGEST_STEP = 1e16;
    constexpr double LARGEST = std::numeric_limits<double>::max();
    constexpr double SMALLEST = std::numeric_limits<double>::min();
    double low = start, atLow = f(start), high = low, atHigh = atLow;
    const bool up = atLow < 0;
    for (double factor = 1 + spread; up ? atHigh < 0 : atLow >= 0;
         factor = std::fmin(factor * factor, LONGEST_STEP)) {
        if (up) {
            low = high;
            atLow = atHigh;
            if (high == LARGEST) return std::numeric_limits<double>::infinity();
            high = std::fmin(high * factor, LARGEST);
            atHigh = f(high);
        } else {
            high = low;
            atHigh = atLow;
            if (low == SMALLEST) return 0;
            low = std::fmax(low / factor, SMALLEST);
            atLow = f(low);
        }
        if (std::isnan(atLow) || std::isnan(atHigh)) return std::numeric_limits<double>::quiet_NaN();
    }
    while (high / low > WIDEST) {
        const double middle = std::sqrt(low) * std::sqrt(high), at = f(middle);
        (at < 0 ? low : high) = middle;
        (at < 0 ? atLow : atHigh) = at;
    }
    return RootBetween(low, atLow, high, atHigh, f);
}

}  // namespace tally
