#include <algorithm>
#include <cmath>

#include "formula/Evaluator.h"
#include "functions/Handlers.h"
#include "functions/Matrix.h"

namespace tally {
namespace {

constexpr u32 MAX_ORDER = 512;  // of a square matrix: larger ones would take minutes

bool ReadSquare(Value& argument, Matrix& out, Value& result, const EvalContext& context) {
    if (!ReadMatrix(argument, out, result, context)) return false;
    if (out.rows == out.columns && out.rows <= MAX_ORDER) return true;
    result = ErrorValue(out.rows == out.columns ? ERR_NUM : ERR_VALUE);
    return false;
}

// By cofactors along the first column, which for small whole numbers is exact.
double CofactorDeterminant(const Matrix& m) {
    const double* a = m.cells.Data();
    if (m.rows == 1) return a[0];
    if (m.rows == 2) return a[0] * a[3] - a[2] * a[1];
    return a[0] * (a[4] * a[8] - a[7] * a[5]) - a[3] * (a[1] * a[8] - a[7] * a[2]) +
           a[6] * (a[1] * a[5] - a[4] * a[2]);
}

// Brings the largest element of a column to the diagonal, in `other` too. False when the column is zero.
bool Pivot(Matrix& m, Matrix* other, u32 column, double& sign) {
    u32 best = column;
    for (u32 row = column + 1; row < m.rows; ++row) {
        if (std::fabs(m.At(row, column)) > std::fabs(m.At(best, column))) best = row;
    }
    if (m.At(best, column) == 0) return false;
    if (best == column) return true;
    sign = -sign;
    for (u32 c = 0; c < m.columns; ++c) std::swap(m.At(best, c), m.At(column, c));
    for (u32 c = 0; other && c < other->columns; ++c) std::swap(other->At(best, c), other->At(column, c));
    return true;
}

// Elimination with partial pivoting: the same value as by cofactors, in cubic time.
double Determinant(Matrix& m) {
    if (m.rows <= 3) return CofactorDeterminant(m);
    double sign = 1;
    double product = 1;
    for (u32 column = 0; column < m.rows; ++column) {
        if (!Pivot(m, nullptr, column, sign)) return 0;
        product *= m.At(column, column);
        for (u32 row = column + 1; row < m.rows; ++row) {
            const double factor = m.At(row, column) / m.At(column, column);
            for (u32 c = column; factor != 0 && c < m.columns; ++c) m.At(row, c) -= factor * m.At(column, c);
        }
    }
    return sign * product;
}

// False for a singular matrix.
bool Invert(Matrix& m, Matrix& inverse) {
    double sign = 1;
    for (u32 column = 0; column < m.rows; ++column) {
        if (!Pivot(m, &inverse, column, sign)) return false;
        const double pivot = m.At(column, column);
        for (u32 c = 0; c < m.columns; ++c) {
            m.At(column, c) /= pivot;
            inverse.At(column, c) /= pivot;
        }
        for (u32 row = 0; row < m.rows; ++row) {
            const double factor = row == column ? 0 : m.At(row, column);
            for (u32 c = 0; factor != 0 && c < m.columns; ++c) {
                m.At(row, c) -= factor * m.At(column, c);
                inverse.At(row, c) -= factor * inverse.At(column, c);
            }
        }
    }
    return true;
}

bool MakeIdentity(Matrix& m, u32 order) {
    m.rows = m.columns = order;
    if (!m.cells.Resize(std::size_t{order} * order)) return false;
    for (u32 i = 0; i < order; ++i) m.At(i, i) = 1;
    return true;
}

Value MatrixValue(const Matrix& m) {
    Value array = ArrayValue(m.rows, m.columns);
    for (u32 i = 0; array.type == VT_ARRAY && i < m.cells.Count(); ++i)
        array.elements[i] = NumberValue(m.cells[i]);
    return array;
}

// The adjugate over the determinant, for the sizes that cofactors settle exactly.
void InvertSmall(const Matrix& m, double determinant, Matrix& inverse) {
    const double* a = m.cells.Data();
    if (m.rows == 1) {
        inverse.cells[0] = 1 / a[0];
    } else {
        inverse.cells[0] = a[3] / determinant;
        inverse.cells[1] = -a[1] / determinant;
        inverse.cells[2] = -a[2] / determinant;
        inverse.cells[3] = a[0] / determinant;
    }
}

}  // namespace

bool ReadMatrix(Value& argument, Matrix& out, Value& result, const EvalContext& context) {
    if (!ArrayArgument(argument, result, context)) return false;
    out.rows = ArrayRows(argument);
    out.columns = argument.columns;
    const u32 count = ArrayElementCount(argument);
    result = ErrorValue(ERR_NA);
    if (!out.cells.Reserve(count)) return false;
    for (u32 i = 0; i < count; ++i) {
        const Value& element = argument.elements[i];
        if (element.type != VT_NUMBER) {
            result = ErrorValue(element.type == VT_ERROR ? element.error : i32{ERR_VALUE});
            return false;
        }
        if (!out.cells.Append(element.number)) return false;
    }
    return true;
}

void CallMmult(Value* arguments, Value& result, const EvalContext& context) {
    Matrix a, b, product;
    if (!ReadMatrix(arguments[0], a, result, context) || !ReadMatrix(arguments[1], b, result, context)) return;
    if (a.columns != b.rows) {
        result = ErrorValue(ERR_VALUE);
        return;
    }
    product.rows = a.rows;
    product.columns = b.columns;
    result = ErrorValue(ERR_NA);
    if (!product.cells.Resize(std::size_t{a.rows} * b.columns)) return;
    for (u32 row = 0; row < a.rows; ++row) {
        for (u32 column = 0; column < b.columns; ++column) {
            if (!ReadCells(a.columns)) return;
            double sum = 0;
            for (u32 i = 0; i < a.columns; ++i) sum += a.At(row, i) * b.At(i, column);
            product.At(row, column) = sum;
        }
    }
    result = MatrixValue(product);
}

void CallMdeterm(Value* arguments, Value& result, const EvalContext& context) {
    Matrix m;
    if (ReadSquare(arguments[0], m, result, context)) result = NumberValue(Determinant(m));
}

void CallMinverse(Value* arguments, Value& result, const EvalContext& context) {
    Matrix m, inverse;
    if (!ReadSquare(arguments[0], m, result, context)) return;
    result = ErrorValue(ERR_NA);
    if (!MakeIdentity(inverse, m.rows)) return;
    result = ErrorValue(ERR_NUM);
    if (m.rows <= 2) {
        const double determinant = CofactorDeterminant(m);
        if (determinant == 0) return;
        InvertSmall(m, determinant, inverse);
    } else if ((m.rows == 3 && CofactorDeterminant(m) == 0) || !Invert(m, inverse)) {
        return;
    }
    result = MatrixValue(inverse);
}

}  // namespace tally
