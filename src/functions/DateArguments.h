#pragma once
// Dates as arguments and results: handlers reckon in serials of the 1900 system, whatever the book counts in.

#include "functions/Arguments.h"

namespace tally {

// What the book's serials have to be raised by to be serials of the 1900 system.
i32 SystemOffset(const EvalContext& context);
// Truncated, as a serial of the 1900 system. False with the error in `result`.
bool DateArgument(Value& argument, Value& result, const EvalContext& context, i32& out);
bool TwoDates(Value* arguments, Value& result, const EvalContext& context, i32& start, i32& end);
// A serial of the 1900 system as the book counts it.
Value DateValue(double serial, const EvalContext& context);

}  // namespace tally
