#pragma once
// Handlers that need no more than the numbers of all their arguments.

#include "functions/Arguments.h"
#include "functions/KeptNumbers.h"

namespace tally {

// Calls `finish` with all the numbers of the arguments; `allKinds` is that of the forms ending in A.
inline void Aggregate(Value* arguments, Value& result, const EvalContext& context, bool allKinds,
                      FinishNumbers finish) {
    KeptNumbers* kept = IsMissing(arguments[1]) ? NumbersOf(arguments[0], context, allKinds) : nullptr;
    if (kept && MakeValue(*kept, finish, result)) return;
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
