#pragma once
// What a cell's rule shows in the window: the list to choose from, and what to type.

#include "shell/state/ShellState.h"

namespace tally {

// The arrow beside the active cell when its rule has a list; empty otherwise.
PixelRect ListArrowPlace();
// The arrow and the message below the cell.
void InvalidateListArrow();
void PaintListArrow(DrawTarget& target);

// The hyperlink of a cell of the current sheet, or -1.
i32 FindHyperlink(i32 row, i32 column);
// What rests beside the pointer over a cell: the message of its rule, or where its link leads.
bool CellHint(i32 row, i32 column, WideText& out);

}  // namespace tally
