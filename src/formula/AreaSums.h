#pragma once
// Sums over areas. Partial sums of an area's rows are kept, so that many sums over the same cells, or
// over areas that only grow at their end, cost little; the result is that of adding cell by cell.

#include "formula/FormulaTypes.h"
#include "model/ModelTypes.h"

namespace tally {

// The sum of the numbers of an array or reference; the first error met instead. Texts, booleans and
// empties do not count.
Value SumValue(const Value& value, const EvalContext& context);
// Adds the numbers of one sheet's area to `sum`. False with the error in `error`.
bool AddArea(i32 book, i32 sheet, const RefArea& area, double& sum, i32& error);

// A cell's value has changed: sums that hold it are worth nothing any more.
void ForgetSums(const Sheet& sheet, i32 row, i32 column);
void ResetAreaSums();

}  // namespace tally
