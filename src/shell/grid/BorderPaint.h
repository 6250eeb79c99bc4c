#pragma once
// Borders of cells.

#include "shell/state/ShellState.h"

namespace tally {

// The conditional formats of a cell and of its neighbours to the right and below; null without one.
struct BorderConditions {
    const ConditionalCondition* own;
    const ConditionalCondition* right;
    const ConditionalCondition* below;
};

// Draws the right and bottom edges of a cell, and the left and top ones of the first row and column. An
// edge inside `merge` (which may be null) has none.
void PaintCellBorders(DrawTarget& target, const GridMetrics& metrics, const Workbook& book, const Sheet& sheet,
                      i32 row, i32 column, const PixelRect& rect, const RefArea* merge,
                      const BorderConditions& conditions);

// One line of a border style along x, or along y: `at` is the first pixel of the line that it stands on, which
// takes `unit` of them.
void PaintBorderLine(DrawTarget& target, bool horizontal, i32 unit, i32 at, i32 from, i32 to, u8 style,
                     u32 colour);

}  // namespace tally
