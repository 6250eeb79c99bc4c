#pragma once
// The active cell and the selection, scrolling, and the moves of keys.

#include "shell/state/ShellState.h"

namespace tally {

// The one routine that changes the selection. The area is widened over the merges that it touches; with
// `setActive` the active cell goes to row and column. The entry line and the readout follow.
void SelectArea(RefArea area, bool setActive, i32 row, i32 column, bool scrollIntoView);
void SelectCell(i32 row, i32 column, bool scrollIntoView);
void ScrollIntoView(i32 row, i32 column, bool rows = true, bool columns = true);
void ScrollTo(i32 firstRow, i32 firstColumn);
void SelectSheet(i32 sheet);
void SelectBook(i32 book);
// Over every merge that it touches, until nothing changes.
void WidenOverMerges(const Sheet& sheet, RefArea& area);
void SetEndMode(bool on);

// A position that a key moves, with what the key is pressed together with.
struct MoveRequest {
    u32 key = 0;
    bool ctrl = false;
    i32 row = 0, column = 0;
};
// Where an arrow, Home, End (with Ctrl), PageUp or PageDown leads; false for another key.
bool MovePosition(const Sheet& sheet, MoveRequest& move);
// The jump of Ctrl with an arrow.
void JumpPosition(const Sheet& sheet, i32& row, i32& column, i32 rowStep, i32 columnStep);

// Book name and program into the title bar.
void UpdateTitle();
// Appends the title of the frame. False when memory fails.
[[nodiscard]] bool AppendTitle(WideText& title);

// A key on the grid with nothing being typed: true when it is one of the grid's.
bool GridKey(u32 key, u32 modifiers);
void TabMove(bool backward);
void EnterMove(bool backward);
void MoveScreenSideways(i32 direction);
void ScrollLines(bool vertical, i32 count);
void ScrollBy(bool vertical, i32 code, i32 position);

}  // namespace tally
