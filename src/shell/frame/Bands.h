#pragma once
// Where the bands of the toolbars stand beside each other, and how the user moves them by their grips.

#include "platform/Drawing.h"
#include "shell/state/ShellState.h"

namespace tally {

// Where a shown band's buttons begin in the strip.
i32 BandLeft(BandNumber band);
// The place to drag a band by, before its buttons; empty for the first one and for one that is hidden.
PixelRect GripPlace(BandNumber band);
void PaintGrips(DrawTarget& target);

// True when the mouse is a grip's. What the bands are moved to shows at once.
bool PressGrip(i32 x, i32 y);
bool DragGrip(i32 x, i32 y);
bool ReleaseGrip();

}  // namespace tally
