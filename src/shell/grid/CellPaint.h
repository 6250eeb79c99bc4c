#pragma once
// The painter of cells, the same for the window, paper and pictures: it knows its target, the metrics and the
// lines that it is given, and nothing of the window.

#include "model/ModelTypes.h"
#include "shell/state/ShellState.h"

namespace tally {

struct CellsPaint {
    DrawTarget& target;
    GridMetrics metrics;
    const Workbook* book = nullptr;
    Sheet* sheet = nullptr;
    // The lines to paint and where they stand on the target, ascending. Their cells are up to date.
    std::span<const ShownLine> rows, columns;
    PixelRect clip;
    // Its cells are inverted, but for the active one; one cell alone is not. Null without a selection.
    const RefArea* selection = nullptr;
    // The conditional formats in force at the cell of two of the lines, and at a merge; null without them.
    const ConditionalCondition* (*conditionAt)(const Sheet& sheet, const ShownLine& row,
                                               const ShownLine& column) = nullptr;
    const ConditionalCondition* (*conditionOfMerge)(const Sheet& sheet, const RefArea& merge) = nullptr;
    Array<RefArea> merges;  // those that are seen; PaintCellArea finds them
};

// Fills, texts, grid lines, merges and borders of the lines' cells, inside the clip. When memory fails, nothing
// or less is drawn.
void PaintCellArea(CellsPaint& cells);

// What painting a cell's text needs to know.
struct CellText {
    WideView text;
    u16 valueType = 0;
    const CellFormat* format = nullptr;
    FontHandle font = 0;
    i32 width = 0, height = 0;  // of the text on one line
    u32 colour = 0;
    i32 marginX = 1, marginY = 1;  // pixels of the target for one of the screen
};

// Draws a text into the rectangle of its cell, inside `clip`.
void PaintCellText(DrawTarget& target, const PixelRect& cell, const PixelRect& clip, CellText text);
// The alignment in force, general worked out by the type of the value.
u8 EffectiveAlignment(const CellFormat& format, u16 valueType);
// Lines that a text takes when it is wrapped into a cell of that many pixels.
i32 CountTextLines(FontHandle font, WideView text, i32 cellWidth, i32 marginX = 1);

}  // namespace tally
