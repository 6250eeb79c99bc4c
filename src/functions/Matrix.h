#pragma once
// A rectangle of numbers as the handlers of matrices and of regression work with it.

#include "functions/Arguments.h"

namespace tally {

struct Matrix {
    u32 rows = 0;
    u32 columns = 0;
    Array<double> cells;
    double& At(u32 row, u32 column) { return cells[row * columns + column]; }
};

// An argument whose elements must all be numbers. False with the error in `result`.
bool ReadMatrix(Value& argument, Matrix& out, Value& result, const EvalContext& context);

}  // namespace tally
