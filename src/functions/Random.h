#pragma once
// The generator of random numbers: one for the process, seeded from the clock when it is first asked.

#include "base/Base.h"

namespace tally {

struct RandomState {
    u64 state = 0;
    bool seeded = false;
};
RandomState& Random();
// At least 0 and below 1.
double NextRandom();

}  // namespace tally
