#pragma once
// What stands on the cells of the window beside their own picture: outlines, the handle at the selection's
// corner, the frame of a block that is drawn elsewhere.

#include "shell/state/ShellState.h"

namespace tally {

// One pixel along the top and left edges, two along the bottom and right, each pixel flipped once.
void PaintOutline(DrawTarget& target, const Sheet& sheet, const RefArea& area);

// The square at the selection's corner, by which it fills the cells beside it; empty where the corner is not
// shown, or the selection is hardly larger.
PixelRect FillHandlePlace(const Sheet& sheet);
// Whether a place in the window lies on one of the selection's own edges.
bool IsOnSelectionEdge(const Sheet& sheet, i32 x, i32 y);
void PaintFillHandle(DrawTarget& target, const Sheet& sheet);
// The frame of the gesture under way, nothing without one.
void PaintDragFrame(DrawTarget& target, const Sheet& sheet);

// The colours of the frames around references that are typed, one after the other.
constexpr u8 REFERENCE_COLOURS = 7;
extern const u32 referenceColours[REFERENCE_COLOURS];
void InvalidateReferenceFrame(const ReferenceFrame& frame);
void PaintReferenceFrames(DrawTarget& target, const Sheet& sheet);

}  // namespace tally
