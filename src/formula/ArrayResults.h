#pragma once
// One evaluation of an array formula serves all its cells.

#include "formula/FormulaTypes.h"
#include "model/ModelTypes.h"

namespace tally {

// Gives the stale cells of the context's array formula their parts of `result`, which the evaluation in the
// context's cell left and which does not depend on where that cell stands. `away`: what the formula asked for
// is not there, and cells keep the values that they have.
void ShareArrayResult(const Value& result, bool away, const EvalContext& context);
// The part of an array's result that a cell shows, as a copy: a single row or column goes on for all, what lies
// beyond the result is "#N/A".
void CopyArrayElement(const Value& array, const RefArea& area, i32 row, i32 column, Value& out);

}  // namespace tally
