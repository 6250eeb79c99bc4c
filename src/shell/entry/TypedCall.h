#pragma once
// The call of a function that was chosen from a list, in the entry line.

#include "shell/state/ShellState.h"

namespace tally {

// Types the call of a row of the function table at the caret, with the names of its arguments, and selects the
// first of them. Begins an edit where none runs.
void TypeCall(u16 functionRow);
// Takes out of the line's text what the last typed call has left of its optional arguments. False when memory
// fails.
[[nodiscard]] bool DropUnusedArguments(WideText& line);

}  // namespace tally
