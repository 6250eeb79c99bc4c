#pragma once
// The tabs of the sheets under the mouse: picked, drawn to another place, their menu.

#include "platform/ShellPlatform.h"

namespace tally {

// Selects the sheet of the tab that is pressed; it can then be drawn elsewhere.
void PressTab(const ShellMessage& message);
void DragTab(i32 x);
// Moves the sheet to where its tab was drawn, with Ctrl a copy.
void DropTab(const ShellMessage& message);
// One step of the strip under a tab that is drawn beyond it.
void ScrollTabDrag();
// The menu of the tab at a place, whose sheet it selects.
void TabPopup(i32 x, i32 y);
// The visible sheets as a popup, which selects the chosen one.
void SheetsPopup(i32 x, i32 y);

}  // namespace tally
