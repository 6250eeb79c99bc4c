#pragma once
// Painting the grid of the window: its panes, the selection and the marks on it. The work follows what lies in
// the rectangle to paint.

#include "shell/state/ShellState.h"

namespace tally {

// The panes of the current sheet, its selection and its marks.
void PaintCells(DrawTarget& target, Sheet& sheet, const PixelRect& paint);
// The edge of a row or column that is being resized.
void PaintResizeEdge(DrawTarget& target, const PixelRect& paint);

}  // namespace tally
