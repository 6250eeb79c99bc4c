#include <algorithm>
#include <cmath>

#include "functions/Aggregate.h"
#include "functions/Handlers.h"
#include "functions/RunningMoments.h"

namespace tally {
namespace {

Value Average(const SumState& state, u32 count) {
    return count ? NumberValue(state.sum / count) : ErrorValue(ERR_DIV0);
}

Value Largest(Array<double>& values) {
    return NumberValue(values.IsEmpty() ? 0 : *std::max_element(values.begin(), values.end()));
}
Value Smallest(Array<double>& values) {
    return NumberValue(values.IsEmpty() ? 0 : *std::min_element(values.begin(), values.end()));
}

void Extreme(Value* arguments, Value& result, const EvalContext& context, bool allKinds, bool greatest) {
    NumberRange range;
    if (LocateOnly(arguments, context, allKinds, range) && TakeNumbers(range)) {
        if (range.error >= 0) {
            result = ErrorValue(range.error);
        } else {
            result = NumberValue(!range.Count() ? 0 : greatest ? GreatestOf(range) : LeastOf(range));
        }
        return;
    }
    Aggregate(arguments, result, context, allKinds, greatest ? Largest : Smallest);
}

// Variances and their roots; one is left off the count for samples.
template <u64 less, bool root>
Value Spread(const RunningMoments& moments, u32) {
    return moments.Variance(less, root);
}

struct Counting {
    bool all;
    double count = 0;
    const EvalContext& context;
};

bool CountOne(const VisitedValue& visited, void* state) {
    Counting& counting = *static_cast<Counting*>(state);
    const Value& value = *visited.value;
    const bool written = visited.source == SOURCE_DIRECT && value.type == VT_EMPTY && !IsMissing(value);
    if (counting.all) {
        counting.count += value.type != VT_EMPTY || written;
        return true;
    }
    bool counts = value.type == VT_NUMBER || written;
    if (!counts && visited.source == SOURCE_DIRECT && (value.type == VT_STRING || value.type == VT_BOOL)) {
        double number = 0;
        counts = value.type == VT_BOOL || TextToNumber(TextOf(value), number);
    }
    counting.count += counts;
    return true;
}

void Count(Value* arguments, Value& result, const EvalContext& context, bool all) {
    NumberRange range;
    if (LocateOnly(arguments, context, false, range) && TakeNumbers(range)) {
        result = NumberValue(all ? range.Filled() : range.Count());
        return;
    }
    Counting counting{all, 0, context};
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        i32 error = -1;
        // What leads nowhere counts as an error: not for COUNT, once for COUNTA.
        if (!VisitValues(arguments[i], context, CountOne, &counting, error)) counting.count += all;
    }
    result = NumberValue(counting.count);
}

}  // namespace

void CallCount(Value* arguments, Value& result, const EvalContext& context) {
    Count(arguments, result, context, false);
}
void CallCounta(Value* arguments, Value& result, const EvalContext& context) {
    Count(arguments, result, context, true);
}
void CallAverage(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, false, Average);
}
void CallAveragea(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, true, Average);
}
void CallMax(Value* arguments, Value& result, const EvalContext& context) {
    Extreme(arguments, result, context, false, true);
}
void CallMaxa(Value* arguments, Value& result, const EvalContext& context) {
    Extreme(arguments, result, context, true, true);
}
void CallMin(Value* arguments, Value& result, const EvalContext& context) {
    Extreme(arguments, result, context, false, false);
}
void CallMina(Value* arguments, Value& result, const EvalContext& context) {
    Extreme(arguments, result, context, true, false);
}
void CallVar(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, false, Spread<1, false>);
}
void CallVarp(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, false, Spread<0, false>);
}
void CallStdev(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, false, Spread<1, true>);
}
void CallStdevp(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, false, Spread<0, true>);
}
void CallVara(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, true, Spread<1, false>);
}
void CallVarpa(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, true, Spread<0, false>);
}
void CallStdeva(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, true, Spread<1, true>);
}
void CallStdevpa(Value* arguments, Value& result, const EvalContext& context) {
    AggregateRun(arguments, result, context, true, Spread<0, true>);
}

}  // namespace tally
