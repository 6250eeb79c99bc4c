#pragma once
// Handlers that need no more than the numbers of all their arguments.

#include "functions/Arguments.h"

namespace tally {

// Calls `finish` with all the numbers of the arguments; `allKinds` is that of the forms ending in A.
template <typename Finish>
void Aggregate(Value* arguments, Value& result, const EvalContext& context, bool allKinds, Finish finish) {
    CollectOptions options;
    options.allKinds = allKinds;
    if (CollectAll(arguments, context, options, result)) result = finish(options.values);
}

// The numbers of one argument. False with the error in `result`.
inline bool ReadNumbers(const Value& argument, const EvalContext& context, CollectOptions& options,
                        Value& result) {
    if (CollectNumbers(argument, context, options)) return true;
    result = ErrorValue(options.error >= 0 ? options.error : i32{ERR_NA});
    return false;
}

}  // namespace tally
