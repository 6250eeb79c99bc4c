#pragma once
// The common opening of the handlers: arguments are coerced in their order, and the first error ends
// the call.

#include "formula/Coercion.h"
#include "formula/FormulaTypes.h"

namespace tally {

// Not written. One that is written but empty is 0, FALSE or the empty text.
inline bool IsMissing(const Value& argument) {
    return argument.type == VT_EMPTY && argument.spare != WRITTEN_ARGUMENT;
}
// For functions whose empty arguments take their defaults whether they are written or not.
inline void TakeDefaults(Value* arguments, i32 count) {
    for (i32 i = 0; i < count; ++i) {
        if (arguments[i].type == VT_EMPTY) arguments[i].spare = 0;
    }
}

// Each coerces an argument in place. False with the error in `result`.
bool NumberArgument(Value& argument, Value& result, const EvalContext& context, double& out);
bool BoolArgument(Value& argument, Value& result, const EvalContext& context, bool& out);
// The text stays the argument's.
bool TextArgument(Value& argument, Value& result, const EvalContext& context, WideView& out);
// Truncated; out of the range of an i32 it is "#NUM!".
bool IntegerArgument(Value& argument, Value& result, const EvalContext& context, i32& out);
// Truncated, and cut to what an i32 holds: for positions, whose range the handler tests itself.
bool PositionArgument(Value& argument, Value& result, const EvalContext& context, i32& out);
// `missing` for an argument that is not there.
bool OptionalPosition(Value& argument, Value& result, const EvalContext& context, i32 missing, i32& out);
bool OptionalBool(Value& argument, Value& result, const EvalContext& context, bool missing, bool& out);
bool OptionalNumber(Value& argument, Value& result, const EvalContext& context, double missing, double& out);
bool OptionalInteger(Value& argument, Value& result, const EvalContext& context, i32 missing, i32& out);
// An argument as an array; one that is an error itself ends the call with it.
bool ArrayArgument(Value& argument, Value& result, const EvalContext& context);
// Two numbers.
bool TwoNumbers(Value* arguments, Value& result, const EvalContext& context, double& a, double& b);

// The calling cell, when it holds a worksheet's formula, is calculated after every change from now on.
void CalculateAlways(const EvalContext& context);

enum ValueSource : u8 { SOURCE_CELL, SOURCE_ARRAY, SOURCE_DIRECT };

// Where a visited value stands; sheet and place count only for cells.
struct VisitedValue {
    const Value* value;
    ValueSource source;
    i32 book, sheet, row, column;
    const CellRecord* cell = nullptr;
};
// False ends the visit.
using ValueVisit = bool (*)(const VisitedValue& visited, void* state);
// Visits what an argument holds: the stored cells of every area on every sheet, the elements of an array,
// or the argument itself. False when the visit ended it, or with `error` set (not -1) when a reference
// leads nowhere.
bool VisitValues(const Value& argument, const EvalContext& context, ValueVisit visit, void* state, i32& error);

// How numbers are collected.
struct CollectOptions {
    bool numbersOnly = false;  // texts and booleans given directly are not read
    bool stopAtError = true;
    bool skipSubtotals = false;  // cells whose formula calls SUBTOTAL
    u8 hiddenRows = 0;           // 0 keep, 1 skip, 2 skip when the sheet is filtered
    bool allKinds = false;       // texts count as 0 and booleans as 0 or 1
    bool coerceFailed = false;   // set: memory
    i32 error = -1;              // the first error
    Array<double> values;
};
// Appends the numbers of one argument. False with options.error set when it ended early.
bool CollectNumbers(const Value& argument, const EvalContext& context, CollectOptions& options);
// The numbers of all arguments; false with the error in `result`.
bool CollectAll(Value* arguments, const EvalContext& context, CollectOptions& options, Value& result);

}  // namespace tally
