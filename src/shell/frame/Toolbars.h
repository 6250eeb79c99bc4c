#pragma once
// The three toolbars in the band above the grid: what stands in them, their places, the mouse on them.

#include "shell/state/ShellState.h"

namespace tally {

struct ToolbarButton {
    BandNumber band;
    i32 command;
    u16 tip;  // of the message table
};
std::span<const ToolbarButton> ToolbarButtons();

// Pixels that the buttons of a band take side by side.
i32 ButtonsWidth(BandNumber band);
// The place of a button in the strip; empty while its band is hidden.
PixelRect ButtonPlace(std::size_t button);
// What has changed about the buttons since the last call is painted anew.
void RefreshToolbars();
void PaintToolbars(DrawTarget& target);

// True when the mouse is the toolbars'.
bool PressToolbar(i32 x, i32 y);
bool MoveOnToolbar(i32 x, i32 y);
bool ReleaseToolbar(i32 x, i32 y);

}  // namespace tally
