#pragma once
// The places of everything in the frame, and the pixels of rows and columns.

#include "base/Number.h"
#include "shell/grid/GridMetrics.h"
#include "shell/state/ShellState.h"

namespace tally {

// What a length in pixels of a screen with 96 to the inch takes on the screen of the window. Lines and the
// edges of strips and buttons are no lengths: they are one pixel everywhere.
inline i32 ScreenLength(i32 pixels) { return MulDiv(pixels, Shell().layout.dpi, 96); }

// Whether a band is to be seen now: that of the entry bar only above cells.
bool IsBandShown(i32 band);

// Works out all rectangles anew, places the children and asks for a whole repaint.
void RefreshChrome();
// Only the shown rows and columns, the scroll bars and the grid: after scrolling or a change of sizes.
void RefreshView();

// In the window.
i32 ColumnPixels(const Sheet& sheet, i32 column);
i32 RowPixels(const Sheet& sheet, i32 row);
// The rectangle of an area as far as it is shown; empty when it is not.
PixelRect AreaPixels(const RefArea& area);
// The active cell with its merge.
RefArea ActiveArea(const Sheet& sheet);
// The shown line of a row or column, or null.
const ShownLine* FindShown(const Array<ShownLine>& lines, i32 index);
// The line at a pixel: the last one shown when it lies behind them, the first when before.
i32 LineAtPixel(const Array<ShownLine>& lines, i32 pixel);
bool IsFrozen(const Sheet& sheet);
// First row or column of the moving pane's range: 0, or the split.
i32 MovingRowStart(const Sheet& sheet);
i32 MovingColumnStart(const Sheet& sheet);
// Rows or columns shown whole in the moving pane; at least 1.
i32 WholeRowsShown();
i32 WholeColumnsShown();

struct SheetTab {
    i32 sheet = 0;
    i32 left = 0, right = 0;
};
// The tabs that lie in the strip, from the first one shown.
bool ShownTabs(Array<SheetTab>& tabs);
// Moves the first tab so that the current sheet's lies in the strip.
void ScrollTabs();
void StepTabs(i32 direction);

void InvalidateAll();
void InvalidateArea(const RefArea& area);
void InvalidateHeaders();
void InvalidateStatus();

}  // namespace tally
