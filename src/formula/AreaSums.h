#pragma once
// Sums over areas. What is kept of the cells makes many sums over the same ones cheap, and such over areas that
// grow or move on; the result is that of adding cell by cell.

#include "formula/FormulaTypes.h"
#include "model/ModelTypes.h"

namespace tally {

// The sum of the numbers of an array or reference; the first error met instead. Texts, booleans and
// empties do not count.
Value SumValue(const Value& value, const EvalContext& context);
// Adds the numbers of one sheet's area to `sum`. False with the error in `error`.
bool AddArea(i32 book, i32 sheet, const RefArea& area, double& sum, i32& error);

}  // namespace tally
