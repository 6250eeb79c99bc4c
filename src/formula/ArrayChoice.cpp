#include "formula/ArrayChoice.h"

#include <algorithm>
#include <cmath>

#include "formula/Coercion.h"
#include "formula/Evaluator.h"

namespace tally {
namespace {

struct ChoiceShape {
    u32 rows = 1;
    u32 columns = 1;

    void Cover(const Value& value) {
        if (value.type != VT_ARRAY) return;
        rows = std::max(rows, ArrayRows(value));
        columns = std::max(columns, u32{value.columns});
    }
};

// The element of a value at a place of the result; null beyond its end.
const Value* ElementAt(const Value& value, u32 row, u32 column) {
    if (value.type != VT_ARRAY) return &value;
    const u32 rows = ArrayRows(value);
    if (rows == 1) row = 0;
    if (value.columns == 1) column = 0;
    return row < rows && column < value.columns ? &value.elements[row * value.columns + column] : nullptr;
}

// The branch that an element of the condition names, or -1 with the error in `result`.
i32 BranchOf(const Value& element, i32 count, BranchKind kind, Value& result, const EvalContext& context) {
    Value test;
    CopyValue(test, element);
    if (test.type != VT_ERROR) CoerceValue(test, kind == BRANCH_IF ? VT_BOOL : VT_NUMBER, context);
    if (test.type == VT_ERROR) {
        result = test;
        return -1;
    }
    if (kind == BRANCH_IF) return test.boolean ? 0 : 1;
    const double index = std::trunc(test.number);
    if (index >= 1 && index <= count) return static_cast<i32>(index) - 1;
    result = ErrorValue(ERR_VALUE);
    return -1;
}

void TakeElement(const Value& condition, const Value* branches, i32 count, BranchKind kind, u32 row, u32 column,
                 Value& result, const EvalContext& context) {
    const Value* const test = ElementAt(condition, row, column);
    if (!test) {
        result = ErrorValue(ERR_NA);
        return;
    }
    const i32 branch = BranchOf(*test, count, kind, result, context);
    if (branch < 0) return;
    if (branch >= count) {
        result = BoolValue(false);  // IF without an else part
        return;
    }
    const Value* const element = ElementAt(branches[branch], row, column);
    if (element) {
        CopyValue(result, *element);
    } else {
        result = ErrorValue(ERR_NA);
    }
}

// A branch as an array or a single value. One that is left empty is 0.
void PrepareBranch(Value& branch, const EvalContext& context) {
    if (branch.type == VT_AREA || branch.type == VT_REF) CoerceValue(branch, VT_ARRAY, context);
    if (branch.type == VT_EMPTY) branch = NumberValue(0);
    if (branch.type & (VT_AREA | VT_REF | VT_CONTROL)) SetError(branch, ERR_VALUE);
}

}  // namespace

bool IsChoiceArray(const Value& condition) {
    return condition.type == VT_ARRAY && ArrayElementCount(condition) > 1;
}

Value ChooseElements(Value& condition, Value* branches, i32 count, BranchKind kind,
                     const EvalContext& context) {
    ChoiceShape shape;
    shape.Cover(condition);
    for (i32 i = 0; i < count; ++i) {
        PrepareBranch(branches[i], context);
        shape.Cover(branches[i]);
    }
    const u64 elements = u64{shape.rows} * shape.columns;
    Value result = SpendElements(elements) ? ArrayValue(shape.rows, shape.columns) : ErrorValue(ERR_NA);
    for (u32 row = 0; result.type == VT_ARRAY && row < shape.rows; ++row) {
        for (u32 column = 0; column < shape.columns; ++column) {
            TakeElement(condition, branches, count, kind, row, column,
                        result.elements[row * shape.columns + column], context);
        }
    }
    ClearValue(condition);
    for (i32 i = 0; i < count; ++i) ClearValue(branches[i]);
    return result;
}

}  // namespace tally
