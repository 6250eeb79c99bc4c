#pragma once
// What a cell's rule shows in the window: the list to choose from, and what to type.

#include "shell/ShellState.h"

namespace tally {

// The arrow beside the active cell when its rule has a list; empty otherwise.
PixelRect ListArrowPlace();
void InvalidateListArrow();
void PaintListArrow(void* target);
// A press on the arrow: shows the list and stores what is chosen. False when it is not there.
bool PressListArrow(i32 x, i32 y);

// What rests beside the pointer over a cell: the message of its rule, or where its link leads.
bool CellHint(i32 row, i32 column, WideText& out);

}  // namespace tally
