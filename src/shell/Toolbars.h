#pragma once
// The three toolbars in the band above the grid: what stands in them, their places, the mouse on them.

#include "shell/ShellState.h"

namespace tally {

struct ToolbarButton {
    BandNumber band;
    i32 command;
    WideView tip;
};
std::span<const ToolbarButton> ToolbarButtons();

constexpr i32 TOOLBAR_HEIGHT = 25;

// Whether a band is to be seen now: that of the entry bar only above cells.
bool IsBandShown(i32 band);
// The place of a button in the strip; empty while its band is hidden.
PixelRect ButtonPlace(std::size_t button);
bool IsButtonEnabled(const ToolbarButton& button);
// What has changed about the buttons since the last call is painted anew.
void RefreshToolbars();
void PaintToolbars(void* target);

// True when the mouse is the toolbars'.
bool PressToolbar(i32 x, i32 y);
bool MoveOnToolbar(i32 x, i32 y);
bool ReleaseToolbar(i32 x, i32 y);

}  // namespace tally
