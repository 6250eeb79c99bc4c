#include "functions/LeastSquares.h"

#include <cmath>
#include <limits>

#include "functions/DoubleDouble.h"

namespace tally {
namespace {

constexpr double COLLINEAR = 1e-13;  // of a column's length, what counts as nothing
// The squared parts of the columns' lengths off those before them, multiplied: below it wide numbers would lose
// digits of the result.
constexpr double DELICATE = 1e-3;
// Steps of the longer numbers that a fit may take.
constexpr double MAX_LONG_STEPS = 4e6;

// The triangular system of Miller's AS 274: row i of `upper` holds what follows the 1 of the diagonal,
// `diagonal` the squared lengths and `theta` the right side.
template <typename Real>
struct LeastSquares {
    u32 columns = 0;
    Array<Real> diagonal, theta, upper, coefficients, observation;
    Real errorSquares = 0.0;

    Real& Upper(u32 row, u32 column) { return upper[row * columns + column]; }
};

template <typename Real>
bool IsZero(const Real& x) {
    return Nearest(x) == 0;
}

template <typename Real>
bool MakeSystem(LeastSquares<Real>& fit, u32 columns) {
    fit.columns = columns;
    const std::size_t cells = std::size_t{columns} * columns;
    return fit.diagonal.Resize(columns) && fit.theta.Resize(columns) && fit.upper.Resize(cells) &&
           fit.coefficients.Resize(columns) && fit.observation.Resize(columns);
}

// Turns one more observation, which it uses up, into the system from row `first` on.
template <typename Real>
void Include(LeastSquares<Real>& fit, u32 first, Real weight, Real y) {
    Real* x = fit.observation.begin();
    for (u32 i = first; i < fit.columns && !IsZero(weight); ++i) {
        const Real xi = x[i];
        if (IsZero(xi)) continue;
        const Real before = fit.diagonal[i];
        const Real weighted = weight * xi;
        const Real after = before + weighted * xi;
        const Real inverse = Real(1.0) / after;
        const Real cosine = before * inverse, sine = weighted * inverse;
        weight *= cosine;
        fit.diagonal[i] = after;
        for (u32 k = i + 1; k < fit.columns; ++k) {
            const Real xk = x[k];
            Real& r = fit.Upper(i, k);
            x[k] = xk - xi * r;
            r = cosine * r + sine * xk;
        }
        const Real old = y;
        y = old - xi * fit.theta[i];
        fit.theta[i] = cosine * fit.theta[i] + sine * old;
    }
    fit.errorSquares += weight * y * y;
}

// The squared part of a column's length that is off the columns before it.
template <typename Real>
double PartOff(LeastSquares<Real>& fit, u32 i) {
    Real length = fit.diagonal[i];
    for (u32 row = 0; row < i; ++row) length += fit.diagonal[row] * fit.Upper(row, i) * fit.Upper(row, i);
    return Nearest(Real(fit.diagonal[i] / length));
}

// Empties the columns that depend on those before them; what their rows held goes back into the rest.
template <typename Real>
void DropCollinear(LeastSquares<Real>& fit) {
    for (u32 i = 0; i < fit.columns; ++i) {
        if (!(PartOff(fit, i) <= COLLINEAR * COLLINEAR)) continue;
        const Real weight = fit.diagonal[i], y = fit.theta[i];
        for (u32 k = i + 1; k < fit.columns; ++k) {
            fit.observation[k] = fit.Upper(i, k);
            fit.Upper(i, k) = 0.0;
        }
        fit.diagonal[i] = fit.theta[i] = 0.0;
        Include(fit, i + 1, weight, y);
    }
}

// A length beyond all numbers leaves no coefficient.
template <typename Real>
Real CoefficientAt(LeastSquares<Real>& fit, u32 i) {
    if (IsZero(fit.diagonal[i])) return 0.0;
    if (!std::isfinite(Nearest(fit.diagonal[i]))) return std::numeric_limits<double>::quiet_NaN();
    Real value = fit.theta[i];
    for (u32 k = i + 1; k < fit.columns; ++k) value -= fit.Upper(i, k) * fit.coefficients[k];
    return value;
}

// The standard errors: the lengths of the rows of the inverse triangle, column by column.
template <typename Real>
bool FindErrors(LeastSquares<Real>& fit, FitResult& out) {
    const Real variance = fit.errorSquares / Real(out.freedom);
    Array<Real> inverse, sums;
    if (!inverse.Resize(fit.columns) || !sums.Resize(fit.columns) || !out.errors.Resize(fit.columns))
        return false;
    for (u32 column = 0; column < fit.columns; ++column) {
        if (IsZero(fit.diagonal[column])) continue;
        inverse[column] = 1.0;
        for (u32 i = column + 1; i-- > 0;) {
            if (i < column) {
                Real sum = 0.0;
                for (u32 k = i + 1; k <= column; ++k) sum -= fit.Upper(i, k) * inverse[k];
                inverse[i] = IsZero(fit.diagonal[i]) ? Real(0.0) : sum;
            }
            sums[i] += inverse[i] * inverse[i] / fit.diagonal[column];
        }
    }
    for (u32 i = 0; i < fit.columns; ++i)
        out.errors[i] = IsZero(fit.diagonal[i]) ? 0 : Nearest(SquareRoot(Real(variance * sums[i])));
    return true;
}

long double Widest(long double x) { return x; }
long double Widest(const DoubleDouble& x) { return static_cast<long double>(x.high) + x.low; }

template <typename Real>
bool Finish(LeastSquares<Real>& fit, u32 count, u32 constants, FitResult& out) {
    DropCollinear(fit);
    for (u32 i = fit.columns; i-- > 0;) fit.coefficients[i] = CoefficientAt(fit, i);
    out.freedom = count;
    Real explained = 0.0;
    for (u32 i = 0; i < fit.columns; ++i) {
        const bool used = !IsZero(fit.diagonal[i]);
        out.freedom -= used;
        if (i < constants) continue;
        out.used += used;
        explained += fit.diagonal[i] * fit.theta[i] * fit.theta[i];
    }
    out.explained = Nearest(explained);
    out.errorSquares = Nearest(fit.errorSquares);
    if (!out.coefficients.Resize(fit.columns)) return false;
    for (u32 i = 0; i < fit.columns; ++i) out.coefficients[i] = Widest(fit.coefficients[i]);
    return FindErrors(fit, out);
}

// Whether all observations got in; `delicate` when digits would be lost, unless the numbers are longer.
template <typename Real>
bool IncludeAll(LeastSquares<Real>& fit, u32 count, u32 columns, ObserveRow observe, const void* state,
                bool& delicate) {
    Array<double> row;
    if (!MakeSystem(fit, columns) || !row.Resize(columns)) return false;
    for (u32 i = 0; i < count; ++i) {
        const double y = observe(state, i, row.begin());
        for (u32 k = 0; k < columns; ++k) fit.observation[k] = row[k];
        Include(fit, 0, Real(1.0), Real(y));
    }
    double parts = 1;
    for (u32 i = 0; i < columns; ++i) parts *= PartOff(fit, i);
    delicate = parts < DELICATE;
    return true;
}

}  // namespace

bool FitObserved(u32 count, u32 columns, u32 constants, ObserveRow observe, const void* state, FitResult& out) {
    LeastSquares<long double> wide;
    bool delicate = false;
    if (!IncludeAll(wide, count, columns, observe, state, delicate)) return false;
    if (!delicate || static_cast<double>(count) * columns * columns > MAX_LONG_STEPS)
        return Finish(wide, count, constants, out);
    LeastSquares<DoubleDouble> longer;
    if (!IncludeAll(longer, count, columns, observe, state, delicate)) return false;
    // Their range is no wider than that of a double.
    if (!std::isfinite(Nearest(longer.errorSquares))) return Finish(wide, count, constants, out);
    return Finish(longer, count, constants, out);
}

}  // namespace tally
