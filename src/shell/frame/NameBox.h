#pragma once
// The box at the left of the entry line: it shows the active cell, leads to what is typed into it, and gives
// the selection a name.

#include "platform/ShellPlatform.h"

namespace tally {

// Rows of FrameCalls for its edit control.
bool NameBoxKey(u32 key, u32 modifiers);
bool NameBoxClick();
// True when the box itself does what the command means for cells, as long as it has the focus.
bool NameBoxCommand(i32 command);
// Shows the active cell again; the focus stays where it is.
void LeaveNameBox();
// The list of names, when the place is that of its arrow.
bool PressNameArrow(i32 x, i32 y);

}  // namespace tally
