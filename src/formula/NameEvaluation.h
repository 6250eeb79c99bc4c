#pragma once
// Names at evaluation: which row a token leads to, and the run of its formula.

#include "formula/FormulaTypes.h"

namespace tally {

// `index` is 1-based. Without a formula in the end the result is "#NAME?".
void EvaluateName(u32 index, Value& result, const EvalContext& context);
void EvaluateNameX(u32 externIndex, u32 index, Value& result, const EvalContext& context);

}  // namespace tally
