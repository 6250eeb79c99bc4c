#pragma once
// Choosing from the list of the active cell's rule.

#include "shell/state/ShellState.h"

namespace tally {

// A press on the arrow: shows the list and stores what is chosen. False when it is not there.
bool PressListArrow(i32 x, i32 y);

}  // namespace tally
