#include <algorithm>

#include "formula/Evaluator.h"

// The call of a handler, and its repetition over the elements of array arguments.

namespace tally {
namespace {

// What a repeated call costs beside an element that is only read.
constexpr u64 CALL_COST = 8;

// Add-in functions take all arguments as they are written. These are the ones that want areas or arrays whole,
// a bit an argument; all other arguments stand for single values.
struct WholeArguments {
    WideView name;
    u32 arguments;
};
constexpr u32 ALL_WHOLE = ~0u;
constexpr WholeArguments addInWhole[] = {
    {u"FVSCHEDULE", 2},    {u"GCD", ALL_WHOLE}, {u"IMPRODUCT", ALL_WHOLE},
    {u"IMSUM", ALL_WHOLE}, {u"LCM", ALL_WHOLE}, {u"MULTINOMIAL", ALL_WHOLE},
    {u"NETWORKDAYS", 4},   {u"SERIESSUM", 8},   {u"WORKDAY", 4},
    {u"XIRR", 3},          {u"XNPV", 6},
};

u32 WholeOf(const FunctionEntry& entry) {
    for (const WholeArguments& row : addInWhole) {
        if (row.name == entry.name) return row.arguments;
    }
    return 0;
}

// A call and which of its arguments it is repeated over.
struct Lifting {
    Value* arguments;
    i32 count;
    u32 lifted = 0;  // a bit an argument
};

bool IsLifted(const Lifting& call, i32 index) { return call.lifted >> index & 1; }

// The area of a reference that leads to one; null otherwise.
const RefArea* OnlyAreaOf(const Value& argument) {
    if (argument.type == VT_AREA) return &argument.area;
    return argument.type == VT_REF && argument.areas->count == 1 ? &argument.areas->areas[0] : nullptr;
}

u32 RowsOf(const Value& argument) {
    const RefArea* area = OnlyAreaOf(argument);
    return area ? area->lastRow - area->firstRow + 1u : ArrayRows(argument);
}
u32 ColumnsOf(const Value& argument) {
    const RefArea* area = OnlyAreaOf(argument);
    return area ? area->lastColumn - area->firstColumn + 1u : argument.columns;
}

struct LiftedShape {
    u32 rows = 1;
    u32 columns = 1;
};

// The smallest counts above one among the lifted arguments.
LiftedShape ShapeOf(const Lifting& call) {
    LiftedShape shape;
    for (i32 i = 0; i < call.count; ++i) {
        if (!IsLifted(call, i)) continue;
        const u32 rows = RowsOf(call.arguments[i]);
        const u32 columns = ColumnsOf(call.arguments[i]);
        if (rows > 1 && (shape.rows == 1 || rows < shape.rows)) shape.rows = rows;
        if (columns > 1 && (shape.columns == 1 || columns < shape.columns)) shape.columns = columns;
    }
    return shape;
}

// The elements of the arrays that each repetition is given whole.
u64 CarriedElements(const Lifting& call) {
    u64 elements = 0;
    for (i32 i = 0; i < call.count; ++i) {
        if (call.arguments[i].type == VT_ARRAY && !IsLifted(call, i))
            elements += ArrayElementCount(call.arguments[i]);
    }
    return elements;
}

void MarkWritten(Value* arguments, i32 count) {
    for (i32 i = 0; i < count; ++i) {
        if (arguments[i].type == VT_EMPTY) arguments[i].spare = WRITTEN_ARGUMENT;
    }
}

void FreeAll(Value* arguments) {
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) ClearValue(arguments[i]);
}

// One element of a lifted argument. Of an array it is the one that the result's column count leads to, of a
// reference the cell itself, so that an empty one stays a cell that is there.
void TakeElement(const Value& argument, u32 row, u32 column, u32 columns, Value& element) {
    row = RowsOf(argument) != 1 ? row : 0;
    const bool oneColumn = ColumnsOf(argument) == 1;
    if (argument.type == VT_ARRAY) {
        const u32 index = oneColumn ? row : row * columns + column;
        if (index < ArrayElementCount(argument)) CopyValue(element, argument.elements[index]);
        return;
    }
    CopyValue(element, argument);
    if (element.type != VT_AREA && element.type != VT_REF) return;
    RefArea& area = element.type == VT_AREA ? element.area : element.areas->areas[0];
    area.firstRow = area.lastRow = static_cast<u16>(area.firstRow + row);
    area.firstColumn = area.lastColumn = static_cast<u8>(area.firstColumn + (oneColumn ? 0 : column));
}

void BuildFrame(const Lifting& call, u32 row, u32 column, u32 columns, Value* frame) {
    for (i32 i = 0; i < call.count; ++i) {
        if (IsLifted(call, i)) {
            TakeElement(call.arguments[i], row, column, columns, frame[i]);
        } else {
            CopyValue(frame[i], call.arguments[i]);
        }
    }
}

// Lifted arrays of one element stand for that element.
void CallOnce(const Lifting& call, Value& result, FunctionHandler handler, const EvalContext& context) {
    for (i32 i = 0; i < call.count; ++i) {
        Value& argument = call.arguments[i];
        if (!IsLifted(call, i) || argument.type != VT_ARRAY || !ArrayElementCount(argument)) continue;
        Value element = TakeValue(argument.elements[0]);
        FreeValue(argument);
        argument = element;
    }
    MarkWritten(call.arguments, call.count);
    handler(call.arguments, result, context);
    FreeAll(call.arguments);
}

void CallLifted(const Lifting& call, Value& result, FunctionHandler handler, const EvalContext& context) {
    const LiftedShape shape = ShapeOf(call);
    result = Value();
    if (shape.rows == 1 && shape.columns == 1) return CallOnce(call, result, handler, context);
    const u64 calls = u64{shape.rows} * shape.columns;
    const bool fits = SpendElements(calls * CALL_COST) && SpendSteps(calls * CarriedElements(call));
    result = fits ? ArrayValue(shape.rows, shape.columns) : ErrorValue(ERR_NA);
    for (u32 i = 0; result.type == VT_ARRAY && i < shape.rows * shape.columns && ReadCells(1); ++i) {
        Value frame[MAX_ARGUMENTS];
        BuildFrame(call, i / shape.columns, i % shape.columns, shape.columns, frame);
        MarkWritten(frame, call.count);
        Value element;
        handler(frame, element, context);
        // An element is a scalar; what is none cannot stand in an array.
        if (element.type & (VT_ARRAY | VT_REF | VT_AREA | VT_CONTROL)) SetError(element, ERR_VALUE);
        result.elements[i] = element;
        FreeAll(frame);
    }
    FreeAll(call.arguments);
}

bool IsSingleValue(std::string_view signature, i32 index) {
    if (static_cast<std::size_t>(index) >= signature.size()) return false;
    const char letter = signature[static_cast<std::size_t>(index)];
    return letter == 'V' || letter == 'v' || letter == 'W' || letter == 'w';
}

}  // namespace

void CallFunction(Value* arguments, i32 count, Value& result, FunctionHandler handler,
                  std::string_view signature, const EvalContext& context) {
    Lifting call{arguments, count};
    for (i32 i = 0; i < count; ++i) {
        if (arguments[i].type == VT_ARRAY && IsSingleValue(signature, i)) call.lifted |= 1u << i;
    }
    CallLifted(call, result, handler, context);
}

void CallAddIn(Value* arguments, i32 count, Value& result, const FunctionEntry& entry,
               const EvalContext& context) {
    Lifting call{arguments, count};
    for (i32 i = 0; i < count; ++i) {
        const bool lifts = arguments[i].type == VT_ARRAY || (context.arrayMode && OnlyAreaOf(arguments[i]));
        if (lifts) call.lifted |= 1u << i;
    }
    if (call.lifted) call.lifted &= ~WholeOf(entry);
    CallLifted(call, result, entry.handler, context);
}

}  // namespace tally
