#include "base/LongOperation.h"

namespace tally {
namespace {

// About a millisecond of light work.
constexpr u64 UNITS_A_STEP = 1u << 16;

void NoBegin(LongOperationKind) {}
void NoStep(u64, u64) {}
bool NotCancelled() { return false; }
void NoEnd() {}
constexpr LongOperationCalls noCalls = {NoBegin, NoStep, NotCancelled, NoEnd};

struct LongOperationState {
    LongOperationCalls calls = noCalls;
    u32 inside = 0;
    bool cancelled = false;
    u64 done = 0;
    u64 total = 0;
    u64 nextStep = 0;
};
LongOperationState state;

}  // namespace

LongOperationCalls& LongOperations() { return state.calls; }

LongOperation::LongOperation(LongOperationKind kind, u64 total) {
    if (state.inside++) return;
    state.cancelled = false;
    state.done = 0;
    state.total = total;
    state.nextStep = UNITS_A_STEP;
    state.calls.begin(kind);
}

LongOperation::~LongOperation() {
    if (!--state.inside) state.calls.end();
}

bool GoOn(u64 units) {
    if (!state.inside) return true;
    state.done += units;
    if (state.done < state.nextStep || state.cancelled) return !state.cancelled;
    state.nextStep = state.done + UNITS_A_STEP;
    state.calls.step(state.done, state.total);
    state.cancelled = state.calls.cancelled();
    return !state.cancelled;
}

void ResetLongOperations() { state = LongOperationState(); }

}  // namespace tally
