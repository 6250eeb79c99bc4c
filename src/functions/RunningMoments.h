#pragma once
// Mean and variance of a run of numbers, which can go on at any time. The numbers are counted from the first
// one, in wider numbers than those given: what they have in common costs no digits then.

#include <cmath>

#include "model/Value.h"

namespace tally {

struct RunningMoments {
    u64 count = 0;
    long double first = 0;
    long double sum = 0;
    long double squares = 0;

    void Add(double x) {
        if (!count++) first = x;
        const long double d = x - first;
        sum += d;
        squares += d * d;
    }
    double Mean() const { return static_cast<double>(first + sum / static_cast<long double>(count)); }
    // The squares of the distances from the mean.
    double Squares() const {
        const long double about = squares - sum * sum / static_cast<long double>(count);
        return static_cast<double>(about > 0 ? about : 0);
    }
    // With count - less as the divisor, or its square root; "#DIV/0!" when nothing is left to divide by.
    Value Variance(u64 less, bool root) const {
        if (count <= less) return ErrorValue(ERR_DIV0);
        const double variance = Squares() / static_cast<double>(count - less);
        return NumberValue(root ? std::sqrt(variance) : variance);
    }
};

}  // namespace tally
