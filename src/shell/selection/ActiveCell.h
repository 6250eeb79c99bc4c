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
// Shows the active cell's text in the line.
void RefreshEntryLine();

}  // namespace tally
