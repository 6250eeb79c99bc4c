#pragma once
// Least squares over any number of columns, by observations that are given one at a time.

#include "base/Array.h"

namespace tally {

struct FitResult {
    Array<long double> coefficients;
    Array<double> errors;  // of the coefficients; not finite without degrees of freedom
    double errorSquares = 0;
    double explained = 0;  // squares that the columns behind the constant one explain
    double used = 0;       // how many of those are not zero for depending on others
    double freedom = 0;
};

// Writes the columns of an observation and gives its right side.
using ObserveRow = double (*)(const void* state, u32 observation, double* columns);

// The fit of `count` observations; `constants` is 1 when the first column is the intercept. A column that
// depends on those before it gets 0. False when memory fails.
[[nodiscard]] bool FitObserved(u32 count, u32 columns, u32 constants, ObserveRow observe, const void* state,
                               FitResult& out);

template <typename Observe>
[[nodiscard]] bool FitLeastSquares(u32 count, u32 columns, u32 constants, const Observe& observe,
                                   FitResult& out) {
    const auto row = [](const void* state, u32 i, double* x) {
        return (*static_cast<const Observe*>(state))(i, x);
    };
    return FitObserved(count, columns, constants, row, &observe, out);
}

}  // namespace tally
