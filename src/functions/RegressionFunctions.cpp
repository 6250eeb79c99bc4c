#include <algorithm>
#include <cmath>
#include <limits>

#include "functions/Handlers.h"
#include "functions/Matrix.h"

// Least squares with any number of regressors, straight and logarithmic.

namespace tally {
namespace {

constexpr u32 MAX_REGRESSORS = 512;  // more would take minutes
constexpr double COLLINEAR = 1e-13;  // of a column's length, what counts as nothing

// The triangular system of Miller's AS 274: row i of `upper` holds what follows the 1 of the diagonal,
// `diagonal` the squared lengths and `theta` the right side. Column 0 is the intercept when there is one.
struct LeastSquares {
    u32 columns = 0;
    Array<double> diagonal, theta, upper, coefficients, errors, observation;
    double errorSquares = 0;
    double freedom = 0;

    double& Upper(u32 row, u32 column) { return upper[row * columns + column]; }
};

// The known values and how their regressors lie.
struct Regression {
    Matrix y, x;
    bool byRows = false;  // observations lie in a row, each row of x is a regressor
    bool single = false;  // one regressor of the shape of y
    bool constant = true;
    u32 regressors = 1;
    LeastSquares fit;
};

bool MakeSystem(LeastSquares& fit, u32 columns) {
    fit.columns = columns;
    const std::size_t cells = std::size_t{columns} * columns;
    return fit.diagonal.Resize(columns) && fit.theta.Resize(columns) && fit.upper.Resize(cells) &&
           fit.coefficients.Resize(columns) && fit.errors.Resize(columns) && fit.observation.Resize(columns);
}

// Turns one more observation, which it uses up, into the system from row `first` on.
void Include(LeastSquares& fit, u32 first, double weight, double y) {
    double* x = fit.observation.begin();
    for (u32 i = first; i < fit.columns && weight != 0; ++i) {
        const double xi = x[i];
        if (xi == 0) continue;
        const double before = fit.diagonal[i];
        const double after = before + weight * xi * xi;
        const double cosine = before / after, sine = weight * xi / after;
        weight *= cosine;
        fit.diagonal[i] = after;
        for (u32 k = i + 1; k < fit.columns; ++k) {
            const double xk = x[k];
            double& r = fit.Upper(i, k);
            x[k] = xk - xi * r;
            r = cosine * r + sine * xk;
        }
        const double old = y;
        y = old - xi * fit.theta[i];
        fit.theta[i] = cosine * fit.theta[i] + sine * old;
    }
    fit.errorSquares += weight * y * y;
}

// Empties the columns that depend on those before them; what their rows held goes back into the rest.
void DropCollinear(LeastSquares& fit) {
    for (u32 i = 0; i < fit.columns; ++i) {
        double length = fit.diagonal[i];
        for (u32 row = 0; row < i; ++row) length += fit.diagonal[row] * fit.Upper(row, i) * fit.Upper(row, i);
        if (!std::isfinite(length) || fit.diagonal[i] > COLLINEAR * COLLINEAR * length) continue;
        const double weight = fit.diagonal[i], y = fit.theta[i];
        for (u32 k = i + 1; k < fit.columns; ++k) {
            fit.observation[k] = fit.Upper(i, k);
            fit.Upper(i, k) = 0;
        }
        fit.diagonal[i] = fit.theta[i] = 0;
        Include(fit, i + 1, weight, y);
    }
}

// A length beyond all numbers leaves no coefficient.
double CoefficientAt(LeastSquares& fit, u32 i) {
    if (fit.diagonal[i] == 0) return 0;
    if (!std::isfinite(fit.diagonal[i])) return std::numeric_limits<double>::quiet_NaN();
    double value = fit.theta[i];
    for (u32 k = i + 1; k < fit.columns; ++k) value -= fit.Upper(i, k) * fit.coefficients[k];
    return value;
}

void Solve(LeastSquares& fit) {
    for (u32 i = fit.columns; i-- > 0;) fit.coefficients[i] = CoefficientAt(fit, i);
}

// The standard errors: the lengths of the rows of the inverse triangle, column by column.
bool FindErrors(LeastSquares& fit) {
    const double variance = fit.errorSquares / fit.freedom;
    Array<double> inverse;
    if (!inverse.Resize(fit.columns)) return false;
    for (u32 column = 0; column < fit.columns; ++column) {
        if (fit.diagonal[column] == 0) continue;
        inverse[column] = 1;
        for (u32 i = column + 1; i-- > 0;) {
            if (i < column) {
                double sum = 0;
                for (u32 k = i + 1; k <= column; ++k) sum -= fit.Upper(i, k) * inverse[k];
                inverse[i] = fit.diagonal[i] == 0 ? 0 : sum;
            }
            fit.errors[i] += inverse[i] * inverse[i] / fit.diagonal[column];
        }
    }
    for (u32 i = 0; i < fit.columns; ++i)
        fit.errors[i] = fit.diagonal[i] == 0 ? 0 : std::sqrt(variance * fit.errors[i]);
    return true;
}

u32 Observations(const Regression& r) { return r.y.cells.Count(); }

// How x fits y. False for shapes that do not.
bool FindShape(Regression& r, bool hasX) {
    r.single = !hasX || (r.x.rows == r.y.rows && r.x.columns == r.y.columns);
    r.byRows = r.y.rows == 1 && r.y.columns > 1;
    if (r.single) return true;
    r.regressors = r.byRows ? r.x.rows : r.x.columns;
    if (r.byRows) return r.x.columns == r.y.columns;
    return r.y.columns == 1 && r.x.rows == r.y.rows;
}

double RegressorOf(Regression& r, Matrix& x, u32 observation, u32 regressor) {
    if (r.single) return x.cells[observation];
    return r.byRows ? x.At(regressor, observation) : x.At(observation, regressor);
}

bool TakeLogarithms(Matrix& y) {
    for (double& value : y.cells) {
        if (!(value > 0)) return false;
        value = std::log(value);
    }
    return true;
}

bool CountUp(Matrix& x, const Matrix& like) {
    x.rows = like.rows;
    x.columns = like.columns;
    if (!x.cells.Resize(like.cells.Count())) return false;
    for (u32 i = 0; i < x.cells.Count(); ++i) x.cells[i] = i + 1;
    return true;
}

bool Fit(Regression& r) {
    LeastSquares& fit = r.fit;
    const u32 first = r.constant ? 1 : 0;
    if (!MakeSystem(fit, r.regressors + first)) return false;
    for (u32 i = 0; i < Observations(r); ++i) {
        if (first) fit.observation[0] = 1;
        for (u32 k = 0; k < r.regressors; ++k) fit.observation[k + first] = RegressorOf(r, r.x, i, k);
        Include(fit, 0, 1, r.y.cells[i]);
    }
    DropCollinear(fit);
    Solve(fit);
    fit.freedom = Observations(r);
    for (double length : fit.diagonal) fit.freedom -= length != 0;
    return true;
}

// Reads the known values. False with the error in `result`.
bool ReadKnown(Value* arguments, Value& result, const EvalContext& context, bool logarithmic, Regression& r) {
    const bool hasX = !IsMissing(arguments[1]);
    if (!ReadMatrix(arguments[0], r.y, result, context)) return false;
    if (hasX && !ReadMatrix(arguments[1], r.x, result, context)) return false;
    result = ErrorValue(ERR_REF);
    if (!FindShape(r, hasX)) return false;
    result = ErrorValue(ERR_NA);
    if (!hasX && !CountUp(r.x, r.y)) return false;
    result = ErrorValue(ERR_NUM);
    return r.regressors <= MAX_REGRESSORS && (!logarithmic || TakeLogarithms(r.y));
}

bool ReadFlag(Value& argument, Value& result, const EvalContext& context, bool missing, bool& out) {
    out = missing;
    return IsMissing(argument) || BoolArgument(argument, result, context, out);
}

Value Element(double x) { return std::isfinite(x) ? NumberValue(x) : ErrorValue(ERR_NUM); }

// Rows 3 to 5 of the statistics, two values each.
void FillStatistics(Regression& r, Value* cells, u32 width) {
    LeastSquares& fit = r.fit;
    const u32 first = r.constant ? 1 : 0;
    double explained = 0, used = 0;
    for (u32 i = first; i < fit.columns; ++i) {
        explained += fit.diagonal[i] * fit.theta[i] * fit.theta[i];
        used += fit.diagonal[i] != 0;
    }
    const double variance = fit.errorSquares / fit.freedom;
    const double values[3][2] = {{explained / (explained + fit.errorSquares), std::sqrt(variance)},
                                 {explained / used / variance, fit.freedom},
                                 {explained, fit.errorSquares}};
    for (u32 row = 0; row < 3; ++row) {
        for (u32 column = 0; column < 2; ++column)
            cells[(row + 2) * width + column] = Element(values[row][column]);
    }
}

// The coefficients from the last regressor to the first, then the intercept.
Value CoefficientTable(Regression& r, bool logarithmic, bool statistics) {
    LeastSquares& fit = r.fit;
    const u32 first = r.constant ? 1 : 0;
    const u32 width = r.regressors + 1;
    if (statistics && !FindErrors(fit)) return ErrorValue(ERR_NA);
    Value table = ArrayValue(statistics ? 5 : 1, width);
    if (table.type != VT_ARRAY) return table;
    for (u32 i = 0; i < ArrayElementCount(table); ++i) table.elements[i] = ErrorValue(ERR_NA);
    for (u32 i = 0; i < width; ++i) {
        const bool intercept = i == r.regressors;
        const u32 place = intercept ? 0 : r.regressors - 1 - i + first;
        const double value = intercept && !first ? 0 : fit.coefficients[place];
        table.elements[i] = Element(logarithmic ? std::exp(value) : value);
        if (statistics && !(intercept && !first)) table.elements[width + i] = Element(fit.errors[place]);
    }
    if (statistics) FillStatistics(r, table.elements, width);
    return table;
}

void Coefficients(Value* arguments, Value& result, const EvalContext& context, bool logarithmic) {
    Regression r;
    bool statistics = false;
    if (!ReadKnown(arguments, result, context, logarithmic, r)) return;
    if (!ReadFlag(arguments[2], result, context, true, r.constant)) return;
    if (!ReadFlag(arguments[3], result, context, false, statistics)) return;
    result = Fit(r) ? CoefficientTable(r, logarithmic, statistics) : ErrorValue(ERR_NA);
}

// The values of the fit at the places of `at`, in the shape that y would have there.
Value Predictions(Regression& r, Matrix& at, bool logarithmic) {
    const u32 first = r.constant ? 1 : 0;
    const u32 rows = r.single || !r.byRows ? at.rows : 1;
    const u32 columns = r.single || r.byRows ? at.columns : 1;
    Value table = ArrayValue(rows, columns);
    for (u32 i = 0; table.type == VT_ARRAY && i < rows * columns; ++i) {
        double y = first ? r.fit.coefficients[0] : 0;
        for (u32 k = 0; k < r.regressors; ++k) y += r.fit.coefficients[k + first] * RegressorOf(r, at, i, k);
        table.elements[i] = Element(logarithmic ? std::exp(y) : y);
    }
    return table;
}

void Trend(Value* arguments, Value& result, const EvalContext& context, bool logarithmic) {
    Regression r;
    Matrix places;
    const bool elsewhere = !IsMissing(arguments[2]);
    if (!ReadKnown(arguments, result, context, logarithmic, r)) return;
    if (elsewhere && !ReadMatrix(arguments[2], places, result, context)) return;
    if (!ReadFlag(arguments[3], result, context, true, r.constant)) return;
    result = ErrorValue(ERR_REF);
    if (elsewhere && !r.single && (r.byRows ? places.rows : places.columns) != r.regressors) return;
    result = Fit(r) ? Predictions(r, elsewhere ? places : r.x, logarithmic) : ErrorValue(ERR_NA);
}

}  // namespace

void CallLinest(Value* arguments, Value& result, const EvalContext& context) {
    Coefficients(arguments, result, context, false);
}
void CallLogest(Value* arguments, Value& result, const EvalContext& context) {
    Coefficients(arguments, result, context, true);
}
void CallTrend(Value* arguments, Value& result, const EvalContext& context) {
    Trend(arguments, result, context, false);
}
void CallGrowth(Value* arguments, Value& result, const EvalContext& context) {
    Trend(arguments, result, context, true);
}

}  // namespace tally
