#pragma once
// The criteria of COUNTIF, SUMIF and the database functions.

#include "formula/FormulaTypes.h"

namespace tally {

// Whether a cell's value meets a criteria value.
bool CriteriaMatch(const Value& criteria, const Value& cell, const EvalContext& context);
// Whether two numbers differ by no more than the last places of a double.
bool Near(double a, double b);
// "*", "?" and "~" over the whole text.
bool WildcardMatch(WideView pattern, WideView text, bool caseSensitive);

}  // namespace tally
