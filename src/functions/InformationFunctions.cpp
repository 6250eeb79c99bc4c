#include <cmath>

#include "functions/Arguments.h"
#include "functions/Handlers.h"

namespace tally {
namespace {

// The scalar that an argument stands for; an array inside an array formula stays one.
const Value& Dereferenced(Value& argument, const EvalContext& context) {
    if (argument.type == VT_REF || argument.type == VT_AREA) DerefValue(argument, context);
    return argument;
}

template <typename Test>
void TestValue(Value* arguments, Value& result, const EvalContext& context, Test test) {
    result = BoolValue(test(Dereferenced(arguments[0], context)));
}

void TestParity(Value* arguments, Value& result, const EvalContext& context, double rest) {
    double number = 0;
    if (!NumberArgument(arguments[0], result, context, number)) return;
    result = BoolValue(std::fabs(std::fmod(std::trunc(number), 2)) == rest);
}

bool CountFilled(const VisitedValue& visited, void* state) {
    const Value& value = *visited.value;
    const bool blank = value.type == VT_EMPTY || (value.type == VT_STRING && TextOf(value).empty());
    if (!blank) ++*static_cast<u32*>(state);
    return true;
}

// The first cell of a reference in place of it.
bool FirstCell(Value& argument, Value& result, const EvalContext& context) {
    SheetArea from;
    i32 error = ERR_REF;
    if (!ResolveSingleArea(argument, context, from, error)) {
        result = ErrorValue(error);
        return false;
    }
    ClearValue(argument);
    GetCellValue(from.book, from.sheet, from.area.firstRow, from.area.firstColumn, argument);
    return true;
}

}  // namespace

void CallIsblank(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return v.type == VT_EMPTY; });
}
void CallIserr(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return IsError(v) && v.error != ERR_NA; });
}
void CallIserror(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return IsError(v); });
}
void CallIslogical(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return v.type == VT_BOOL; });
}
void CallIsna(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return IsError(v) && v.error == ERR_NA; });
}
void CallIsnontext(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return v.type != VT_STRING; });
}
void CallIsnumber(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return v.type == VT_NUMBER; });
}
void CallIstext(Value* arguments, Value& result, const EvalContext& context) {
    TestValue(arguments, result, context, [](const Value& v) { return v.type == VT_STRING; });
}
void CallIsref(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(context);
    result = BoolValue(arguments[0].type == VT_REF || arguments[0].type == VT_AREA);
}
void CallIseven(Value* arguments, Value& result, const EvalContext& context) {
    TestParity(arguments, result, context, 0);
}
void CallIsodd(Value* arguments, Value& result, const EvalContext& context) {
    TestParity(arguments, result, context, 1);
}

void CallN(Value* arguments, Value& result, const EvalContext& context) {
    Value& argument = arguments[0];
    if ((argument.type == VT_REF || argument.type == VT_AREA) && !FirstCell(argument, result, context)) return;
    switch (argument.type) {
        case VT_NUMBER:
        case VT_ERROR: result = argument; return;
        case VT_BOOL: result = NumberValue(argument.boolean ? 1 : 0); return;
        default: result = NumberValue(0); return;
    }
}

void CallType(Value* arguments, Value& result, const EvalContext& context) {
    const u16 type = Dereferenced(arguments[0], context).type;
    const bool told =
        type == VT_NUMBER || type == VT_STRING || type == VT_BOOL || type == VT_ERROR || type == VT_ARRAY;
    result = told ? NumberValue(type) : ErrorValue(ERR_VALUE);
}

void CallErrorType(Value* arguments, Value& result, const EvalContext& context) {
    const Value& argument = Dereferenced(arguments[0], context);
    result = IsError(argument) ? NumberValue(argument.error + 1) : ErrorValue(ERR_NA);
}

void CallCountblank(Value* arguments, Value& result, const EvalContext& context) {
    const Value& argument = arguments[0];
    SheetArea from;
    i32 error = ERR_REF;
    if (argument.type == VT_ERROR || !ResolveSingleArea(argument, context, from, error)) {
        result = ErrorValue(argument.type == VT_ERROR ? argument.error : error);
        return;
    }
    u32 filled = 0;
    IgnoreFailure(VisitValues(argument, context, CountFilled, &filled, error));
    const RefArea& area = from.area;
    const u32 cells = (area.lastRow - area.firstRow + 1u) * (area.lastColumn - area.firstColumn + 1u);
    result = NumberValue(cells - filled);
}

}  // namespace tally
