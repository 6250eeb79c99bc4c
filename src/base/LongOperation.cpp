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

// How far the operation under way has come.
struct LongProgress {
    u64 total;
    u64 done = 0;
    u64 nextStep = UNITS_A_STEP;
    bool cancelled = false;
};

struct LongOperationState {
    LongOperationCalls calls = noCalls;
    u32 inside = 0;
    LongProgress progress{};
};
LongOperationState state;

}  // namespace

LongOperationCalls& LongOperations() { return state.calls; }

LongOperation::LongOperation(LongOperationKind kind, u64 total) {
    if (state.inside++) return;
    state.progress = {total};
    state.calls.begin(kind);
}

LongOperation::~LongOperation() {
    if (!--state.inside) state.calls.end();
}

bool GoOn(u64 units) {
    if (!state.inside) return true;
    LongProgress& progress = state.progress;
    progress.done += units;
    if (progress.done < progress.nextStep || progress.cancelled) return !progress.cancelled;
    progress.nextStep = progress.done + UNITS_A_STEP;
    state.calls.step(progress.done, progress.total);
    progress.cancelled = state.calls.cancelled();
    return !progress.cancelled;
}

void ResetLongOperations() { state = LongOperationState(); }

}  // namespace tally
