#pragma once
// Painting the frame's client area: the cells, and what stands around them.

#include "shell/state/ShellState.h"

namespace tally {

void PaintFrame(DrawTarget& target, const PixelRect& paint);
void PaintFrameBackground(DrawTarget& target, const PixelRect& paint);
void PaintHeaders(DrawTarget& target, const Sheet& sheet, const PixelRect& paint);
void PaintTabs(DrawTarget& target);
void PaintNameBox(DrawTarget& target);
void PaintStatusBar(DrawTarget& target);
// Text of the status bar's parts: the active cell's address, the readout, "END".
bool StatusText(i32 part, WideText& out);
constexpr i32 STATUS_PARTS = 3;
PixelRect StatusPartPlace(i32 part);
// Works the readout over the selection out anew when what it counts may have changed; empty when there is none.
// Calculates the cells of the selection, so that it has no place in a paint.
void RefreshAggregate();
WideView AggregateLabel(i32 selector);
constexpr i32 AGGREGATE_COUNT = 7;

}  // namespace tally
