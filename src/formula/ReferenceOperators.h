#pragma once
// Intersection, union and range of references.

#include "formula/FormulaTypes.h"

namespace tally {

// Each replaces `left` by the result and takes `right` over.
void IntersectRefs(Value& left, Value& right, const EvalContext& context);
void UnionRefs(Value& left, Value& right, const EvalContext& context);
void RangeRefs(Value& left, Value& right, const EvalContext& context);

}  // namespace tally
