#pragma once
// IF and CHOOSE whose condition is an array: the result takes each element from the branch that the
// condition's element names.

#include "formula/FormulaTypes.h"

namespace tally {

enum BranchKind : u8 { BRANCH_IF, BRANCH_CHOOSE };

// Whether a condition has to be gone through element by element.
bool IsChoiceArray(const Value& condition);
// Takes the condition and the branches over and frees them. References among the branches become arrays;
// one row or column is repeated over the others, and what lies beyond a larger branch is "#N/A".
Value ChooseElements(Value& condition, Value* branches, i32 count, BranchKind kind, const EvalContext& context);

}  // namespace tally
