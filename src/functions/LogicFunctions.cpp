#include "functions/Arguments.h"
#include "functions/Handlers.h"

namespace tally {
namespace {

struct Truths {
    bool isAnd;
    bool truth;
    bool any = false;
    i32 error = -1;
    const EvalContext& context;

    void Take(bool one) {
        any = true;
        truth = isAnd ? truth && one : truth || one;
    }
};

bool TakeDirect(Truths& truths, const Value& value) {
    if (IsMissing(value)) return true;
    Value truth;
    CopyValue(truth, value);
    CoerceValue(truth, VT_BOOL, truths.context);
    if (truth.type == VT_BOOL) {
        truths.Take(truth.boolean != 0);
        return true;
    }
    truths.error = truth.type == VT_ERROR ? truth.error : i32{ERR_VALUE};
    FreeValue(truth);
    return false;
}

bool TakeTruth(const VisitedValue& visited, void* state) {
    Truths& truths = *static_cast<Truths*>(state);
    const Value& value = *visited.value;
    switch (value.type) {
        case VT_NUMBER: truths.Take(value.number != 0); return true;
        case VT_BOOL: truths.Take(value.boolean != 0); return true;
        case VT_ERROR: truths.error = value.error; return false;
        default: return visited.source != SOURCE_DIRECT || TakeDirect(truths, value);
    }
}

void Combine(Value* arguments, Value& result, const EvalContext& context, bool isAnd) {
    Truths truths{isAnd, isAnd, false, -1, context};
    for (i32 i = 0; i < MAX_ARGUMENTS; ++i) {
        i32 error = -1;
        if (VisitValues(arguments[i], context, TakeTruth, &truths, error)) continue;
        result = ErrorValue(truths.error >= 0 ? truths.error : error >= 0 ? error : i32{ERR_VALUE});
        return;
    }
    result = truths.any ? BoolValue(truths.truth) : ErrorValue(ERR_VALUE);
}

}  // namespace

void CallAnd(Value* arguments, Value& result, const EvalContext& context) {
    Combine(arguments, result, context, true);
}
void CallOr(Value* arguments, Value& result, const EvalContext& context) {
    Combine(arguments, result, context, false);
}

void CallNot(Value* arguments, Value& result, const EvalContext& context) {
    bool truth = false;
    if (BoolArgument(arguments[0], result, context, truth)) result = BoolValue(!truth);
}

// The call of IF itself runs only where the jumps do not stand, as in the form with one argument.
void CallIf(Value* arguments, Value& result, const EvalContext& context) {
    bool truth = false;
    if (!BoolArgument(arguments[0], result, context, truth)) return;
    Value& chosen = arguments[truth ? 1 : 2];
    if (!IsMissing(chosen)) {
        result = TakeValue(chosen);
    } else {
        result = truth ? NumberValue(0) : BoolValue(false);
    }
}

}  // namespace tally
