#pragma once
// Handlers that need no more than the numbers of all their arguments.

#include "formula/KeptRuns.h"
#include "functions/Arguments.h"

namespace tally {

// Makes one value of all the numbers; may put them into another order.
using FinishNumbers = Value (*)(Array<double>& values);

// A call with one argument that is an area worth keeping.
inline bool LocateOnly(Value* arguments, const EvalContext& context, bool allKinds, NumberRange& range) {
    return IsMissing(arguments[1]) && LocateNumbers(arguments[0], context, allKinds, range);
}

// From what is kept of an area; false when its cells must be read.
inline bool KeptResult(NumberRange& range, FinishNumbers finish, Value& result) {
    const void* tag = reinterpret_cast<const void*>(finish);
    if (RecallValue(range, tag, result)) return true;
    if (!TakeNumbers(range)) return false;
    if (range.error >= 0) {
        result = ErrorValue(range.error);
    } else {
        Array<double> values;
        if (!values.AppendMany(range.Numbers(), range.Count())) return false;
        result = finish(values);
    }
    RememberValue(range, tag, result);
    return true;
}

// Calls `finish` with all the numbers of the arguments; `allKinds` is that of the forms ending in A.
inline void Aggregate(Value* arguments, Value& result, const EvalContext& context, bool allKinds,
                      FinishNumbers finish) {
    NumberRange range;
    if (LocateOnly(arguments, context, allKinds, range) && KeptResult(range, finish, result)) return;
    CollectOptions options;
    options.allKinds = allKinds;
    if (CollectAll(arguments, context, options, result)) result = finish(options.values);
}

// The same with what goes through the numbers one after the other.
template <typename State>
void AggregateRun(Value* arguments, Value& result, const EvalContext& context, bool allKinds,
                  FinishState<State> finish) {
    NumberRange range;
    if (LocateOnly(arguments, context, allKinds, range) && KeptResult(range, finish, result)) return;
    CollectOptions options;
    options.allKinds = allKinds;
    if (!CollectAll(arguments, context, options, result)) return;
    const u32 count = options.values.Count();
    result = finish(WalkNumbers<State>(options.values.Data(), count), count);
}

// The numbers of one argument. False with the error in `result`.
inline bool ReadNumbers(const Value& argument, const EvalContext& context, CollectOptions& options,
                        Value& result) {
    if (CollectNumbers(argument, context, options)) return true;
    result = ErrorValue(options.error >= 0 ? options.error : i32{ERR_NA});
    return false;
}

}  // namespace tally
