#include <algorithm>

#include "formula/Evaluator.h"

// The call of a handler, and its repetition over the elements of array arguments.

namespace tally {
namespace {

// What a repeated call costs beside an element that is only read.
constexpr u64 CALL_COST = 8;

bool IsLifted(const Value& argument, std::string_view signature, i32 index) {
    if (argument.type != VT_ARRAY || static_cast<std::size_t>(index) >= signature.size()) return false;
    const char letter = signature[static_cast<std::size_t>(index)];
    return letter == 'V' || letter == 'v' || letter == 'W' || letter == 'w';
}

struct LiftedShape {
    u32 rows = 1;
    u32 columns = 1;
};

// The smallest counts above one among the lifted arguments.
LiftedShape ShapeOf(const Value* arguments, i32 count, std::string_view signature) {
    LiftedShape shape;
    for (i32 i = 0; i < count; ++i) {
        if (!IsLifted(arguments[i], signature, i)) continue;
        const u32 rows = ArrayRows(arguments[i]);
        const u32 columns = arguments[i].columns;
        if (rows > 1 && (shape.rows == 1 || rows < shape.rows)) shape.rows = rows;
        if (columns > 1 && (shape.columns == 1 || columns < shape.columns)) shape.columns = columns;
    }
    return shape;
}

// The elements of the arrays that each repetition is given whole.
u64 CarriedElements(const Value* arguments, i32 count, std::string_view signature) {
    u64 elements = 0;
    for (i32 i = 0; i < count; ++i) {
        if (arguments[i].type == VT_ARRAY && !IsLifted(arguments[i], signature, i))
            elements += ArrayElementCount(arguments[i]);
    }
    return elements;
}

void FreeAll(Value* arguments) {
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) ClearValue(arguments[i]);
}

// One element's arguments: of a lifted array the element that the result's column count leads to.
void BuildFrame(const Value* arguments, i32 count, std::string_view signature, u32 row, u32 column, u32 columns,
                Value* frame) {
    for (i32 i = 0; i < count; ++i) {
        const Value& argument = arguments[i];
        if (!IsLifted(argument, signature, i)) {
            CopyValue(frame[i], argument);
            continue;
        }
        const u32 index = (ArrayRows(argument) != 1 ? row : 0) * columns + (argument.columns != 1 ? column : 0);
        if (index < ArrayElementCount(argument)) CopyValue(frame[i], argument.elements[index]);
    }
}

}  // namespace

void CallFunction(Value* arguments, i32 count, Value& result, FunctionHandler handler,
                  std::string_view signature, const EvalContext& context) {
    const LiftedShape shape = ShapeOf(arguments, count, signature);
    result = Value();
    if (shape.rows == 1 && shape.columns == 1) {
        // Lifted arrays of one element stand for that element.
        for (i32 i = 0; i < count; ++i) {
            if (!IsLifted(arguments[i], signature, i) || !ArrayElementCount(arguments[i])) continue;
            Value element = TakeValue(arguments[i].elements[0]);
            FreeValue(arguments[i]);
            arguments[i] = element;
        }
        handler(arguments, result, context);
        return FreeAll(arguments);
    }
    const u64 calls = u64{shape.rows} * shape.columns;
    const bool fits =
        SpendElements(calls * CALL_COST) && SpendSteps(calls * CarriedElements(arguments, count, signature));
    result = fits ? ArrayValue(shape.rows, shape.columns) : ErrorValue(ERR_NA);
    for (u32 i = 0; result.type == VT_ARRAY && i < shape.rows * shape.columns; ++i) {
        Value frame[MAX_ARGUMENTS];
        BuildFrame(arguments, count, signature, i / shape.columns, i % shape.columns, shape.columns, frame);
        Value element;
        handler(frame, element, context);
        // An element is a scalar; what is none cannot stand in an array.
        if (element.type & (VT_ARRAY | VT_REF | VT_AREA | VT_CONTROL)) SetError(element, ERR_VALUE);
        result.elements[i] = element;
        FreeAll(frame);
    }
    FreeAll(arguments);
}

}  // namespace tally
