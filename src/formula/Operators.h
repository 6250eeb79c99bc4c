#pragma once
// The operators of the formula language on the top of the value stack.

#include "formula/FormulaTypes.h"

namespace tally {

// Replaces `left` by the result and takes `right` over. `token` is one of ptgAdd to ptgRange.
void ApplyBinary(u8 token, Value& left, Value& right, const EvalContext& context);
void NegateValue(Value& value, const EvalContext& context);
void PercentValue(Value& value, const EvalContext& context);

// Order of two scalars as the comparison operators see it, ranks included: below zero, zero, above zero;
// numbers that differ by less than about one part in 10^15 are equal. Neither may be an error.
int CompareScalars(const Value& left, const Value& right);

}  // namespace tally
