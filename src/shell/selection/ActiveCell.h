#pragma once
// What the window shows of the active cell.

#include "shell/state/ShellState.h"

namespace tally {

// The text that the entry line shows for a cell; left empty for a hidden one. An array's stands between braces
// unless it is being edited.
[[nodiscard]] bool LineText(const Sheet& sheet, i32 row, i32 column, WideText& out);
// After cells of the current sheet were stored or cleared: what depends on the moment, the heights of their
// rows, the line and the whole grid, as a value may reach any cell shown and a text may spill.
void ShowChangedCells();
// Shows the active cell's text in the line, and its address in the name box.
void RefreshEntryLine();
// The address of the active cell, while the mouse selects the size of the selection. What is typed there stays.
void RefreshNameBox();
// Whether a gesture selects cells.
bool IsCellGesture(Gesture gesture);

}  // namespace tally
