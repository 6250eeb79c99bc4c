#pragma once
// A paint only paints. While a guard stands, a box, a file and a calculation are faults: they are counted in
// ShellState::paintFaults, and a program built with its checks ends at the first one unless a test counts them.

#include "base/LongOperation.h"
#include "base/Platform.h"

namespace tally {

struct PaintGuard {
    PaintGuard();
    ~PaintGuard();
    PaintGuard(const PaintGuard&) = delete;
    PaintGuard& operator=(const PaintGuard&) = delete;

    // What was in force before, and a table of it with rows that tell; the guard's own.
    const PlatformTable* platform;
    PlatformTable guarded;
    LongOperationCalls operations;
    PaintGuard* outer;
};

}  // namespace tally
