#pragma once
// Names at evaluation: the run of a name's formula.

#include "formula/FormulaTypes.h"
#include "formula/NameMeaning.h"

namespace tally {

// Without a formula in the end the result is "#NAME?".
void EvaluateName(const NameMention& mention, Value& result, const EvalContext& context);

}  // namespace tally
