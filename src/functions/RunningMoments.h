#pragma once
// Mean and variance of a run of numbers by Welford's update.

#include <cmath>

#include "model/Value.h"

namespace tally {

struct RunningMoments {
    u64 count = 0;
    double mean = 0;
    double squares = 0;

    void Add(double x) {
        ++count;
        const double d = x - mean;
        mean += d / static_cast<double>(count);
        squares += d * (x - mean);
    }
    // With count - less as the divisor, or its square root; "#DIV/0!" when nothing is left to divide by.
    Value Variance(u64 less, bool root) const {
        if (count <= less) return ErrorValue(ERR_DIV0);
        const double variance = squares / static_cast<double>(count - less);
        return NumberValue(root ? std::sqrt(variance) : variance);
    }
};

}  // namespace tally
