#pragma once
// What the rule of the active cell says beforehand, in a box below it.

#include "shell/state/ShellState.h"

namespace tally {

// Where the box stands: below the cell, above it where there is no room; empty when nothing is said.
PixelRect InputMessagePlace();
void PaintInputMessage(DrawTarget& target);

}  // namespace tally
