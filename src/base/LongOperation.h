#pragma once
// Work that may last. It says when it begins, how far it has come and when it ends, and asks whether the user
// has had enough. What is done about it is the program's; without one nobody is told and nothing is cut short.

#include "base/Base.h"

namespace tally {

enum LongOperationKind : u8 { OPERATION_CALCULATE };

struct LongOperationCalls {
    void (*begin)(LongOperationKind kind);
    // Some ten thousand cells or elements since the last call. `total` is 0 where the end is not known.
    void (*step)(u64 done, u64 total);
    // Asked after each step.
    bool (*cancelled)();
    void (*end)();
};
LongOperationCalls& LongOperations();

// In force while it stands. Only the outermost one counts: those inside are parts of it.
struct LongOperation {
    explicit LongOperation(LongOperationKind kind, u64 total = 0);
    ~LongOperation();
    LongOperation(const LongOperation&) = delete;
    LongOperation& operator=(const LongOperation&) = delete;
};

// So many cells or elements have been gone over. False once the user has stopped the operation under way; it
// then stays false until the outermost one has ended.
bool GoOn(u64 units);
// Nobody is told, nothing is under way: for tests and the end of the process.
void ResetLongOperations();

}  // namespace tally
