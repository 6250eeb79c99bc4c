#pragma once
// Painting the cells. The work follows what lies in the rectangle to paint.

#include "shell/state/ShellState.h"

namespace tally {

// The panes of the current sheet, its selection and its marks; the clip is left inside them.
void PaintCells(DrawTarget& target, Sheet& sheet, const PixelRect& paint);
// The edge of a row or column that is being resized.
void PaintResizeEdge(DrawTarget& target, const PixelRect& paint);

// What painting a cell's text needs to know.
struct CellText {
    WideView text;
    u16 valueType = 0;
    const CellFormat* format = nullptr;
    FontHandle font = 0;
    i32 width = 0, height = 0;  // of the text on one line
    u32 colour = 0;
};

// Draws a text into the rectangle of its cell, inside `clip`.
void PaintCellText(DrawTarget& target, const PixelRect& cell, const PixelRect& clip, CellText text);
// The alignment in force, general worked out by the type of the value.
u8 EffectiveAlignment(const CellFormat& format, u16 valueType);
// Lines that a text takes when it is wrapped into a cell of that many pixels.
i32 CountTextLines(FontHandle font, WideView text, i32 cellWidth);

}  // namespace tally
