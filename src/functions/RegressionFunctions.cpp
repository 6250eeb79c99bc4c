#include <cmath>

#include "functions/Handlers.h"
#include "functions/LeastSquares.h"
#include "functions/Matrix.h"

// Least squares with any number of regressors, straight and logarithmic.

namespace tally {
namespace {

constexpr u32 MAX_REGRESSORS = 512;  // more would take minutes

// The known values and how their regressors lie, and what the fit gave.
struct Regression {
    Matrix y, x;
    bool byRows = false;  // observations lie in a row, each row of x is a regressor
    bool single = false;  // one regressor of the shape of y
    bool constant = true;
    u32 regressors = 1;
    FitResult fit;
};

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
    const u32 first = r.constant ? 1 : 0;
    const auto observe = [&](u32 i, double* x) {
        if (first) x[0] = 1;
        for (u32 k = 0; k < r.regressors; ++k) x[k + first] = RegressorOf(r, r.x, i, k);
        return r.y.cells[i];
    };
    return FitLeastSquares(Observations(r), r.regressors + first, first, observe, r.fit);
}

// Reads the known values. False with the error in `result`.
bool ReadKnown(Value* arguments, Value& result, const EvalContext& context, bool logarithmic, Regression& r) {
    const bool hasX = arguments[1].type != VT_EMPTY;
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
void FillStatistics(const FitResult& fit, Value* cells, u32 width) {
    const double variance = fit.errorSquares / fit.freedom;
    const double values[3][2] = {{fit.explained / (fit.explained + fit.errorSquares), std::sqrt(variance)},
                                 {fit.explained / fit.used / variance, fit.freedom},
                                 {fit.explained, fit.errorSquares}};
    for (u32 row = 0; row < 3; ++row) {
        for (u32 column = 0; column < 2; ++column)
            cells[(row + 2) * width + column] = Element(values[row][column]);
    }
}

// The coefficients from the last regressor to the first, then the intercept.
Value CoefficientTable(Regression& r, bool logarithmic, bool statistics) {
    const FitResult& fit = r.fit;
    const u32 first = r.constant ? 1 : 0;
    const u32 width = r.regressors + 1;
    Value table = ArrayValue(statistics ? 5 : 1, width);
    if (table.type != VT_ARRAY) return table;
    for (u32 i = 0; i < ArrayElementCount(table); ++i) table.elements[i] = ErrorValue(ERR_NA);
    for (u32 i = 0; i < width; ++i) {
        const bool intercept = i == r.regressors;
        const u32 place = intercept ? 0 : r.regressors - 1 - i + first;
        const double value = intercept && !first ? 0 : static_cast<double>(fit.coefficients[place]);
        table.elements[i] = Element(logarithmic ? std::exp(value) : value);
        if (statistics && !(intercept && !first)) table.elements[width + i] = Element(fit.errors[place]);
    }
    if (statistics) FillStatistics(fit, table.elements, width);
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
        long double sum = first ? r.fit.coefficients[0] : 0;
        for (u32 k = 0; k < r.regressors; ++k) sum += r.fit.coefficients[k + first] * RegressorOf(r, at, i, k);
        const double y = static_cast<double>(sum);
        table.elements[i] = Element(logarithmic ? std::exp(y) : y);
    }
    return table;
}

void Trend(Value* arguments, Value& result, const EvalContext& context, bool logarithmic) {
    Regression r;
    Matrix places;
    const bool elsewhere = arguments[2].type != VT_EMPTY;
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
