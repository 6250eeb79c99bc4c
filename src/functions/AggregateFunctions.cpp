#include <algorithm>
#include <cmath>

#include "functions/Aggregate.h"
#include "functions/Handlers.h"
#include "functions/RunningMoments.h"

namespace tally {
namespace {

Value Average(Array<double>& values) {
    double sum = 0;
    for (double x : values) sum += x;
    return values.IsEmpty() ? ErrorValue(ERR_DIV0) : NumberValue(sum / values.Count());
}
Value Largest(Array<double>& values) {
    return NumberValue(values.IsEmpty() ? 0 : *std::max_element(values.begin(), values.end()));
}
Value Smallest(Array<double>& values) {
    return NumberValue(values.IsEmpty() ? 0 : *std::min_element(values.begin(), values.end()));
}

Value Spread(Array<double>& values, u64 less, bool root) {
    RunningMoments moments;
    for (double x : values) moments.Add(x);
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
    const KeptNumbers* kept = IsMissing(arguments[1]) ? NumbersOf(arguments[0], context, false) : nullptr;
    if (kept && (all || kept->error < 0)) {
        result = NumberValue(all ? kept->filledCells : kept->values.Count());
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
    Aggregate(arguments, result, context, false, Average);
}
void CallAveragea(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, true, Average);
}
void CallMax(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, Largest);
}
void CallMaxa(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, true, Largest);
}
void CallMin(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, Smallest);
}
void CallMina(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, true, Smallest);
}
void CallVar(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, [](Array<double>& v) { return Spread(v, 1, false); });
}
void CallVarp(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, [](Array<double>& v) { return Spread(v, 0, false); });
}
void CallStdev(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, [](Array<double>& v) { return Spread(v, 1, true); });
}
void CallStdevp(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, false, [](Array<double>& v) { return Spread(v, 0, true); });
}
void CallVara(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, true, [](Array<double>& v) { return Spread(v, 1, false); });
}
void CallVarpa(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, true, [](Array<double>& v) { return Spread(v, 0, false); });
}
void CallStdeva(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, true, [](Array<double>& v) { return Spread(v, 1, true); });
}
void CallStdevpa(Value* arguments, Value& result, const EvalContext& context) {
    Aggregate(arguments, result, context, true, [](Array<double>& v) { return Spread(v, 0, true); });
}

}  // namespace tally
