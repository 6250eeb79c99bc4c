#pragma once
// Operations on how sheets are seen: panes, scale, marks, names, protection. Each records undo and marks the
// book as changed; what is on the screen follows from the caller. Nobody is asked anything.

#include "model/ModelTypes.h"

namespace tally {

// Freezes the panes of a sheet with the cell as the first one of the moving pane.
struct FreezeRequest {
    i32 book = 0, sheet = 0;
    i32 row = 0, column = 0;
};
// False with nothing changed when the cell (or the start of its merge) is the first one shown, or the panes are
// frozen already.
bool FreezePanes(const FreezeRequest& request);
// The view goes back to where the upper left pane began. False when nothing was frozen.
bool UnfreezePanes(i32 book, i32 sheet);

constexpr i32 MIN_ZOOM = 10, MAX_ZOOM = 400;  // percent
// False with nothing changed for a number beyond them.
bool SetZoom(i32 book, i32 sheet, i32 percent);

// One of VIEW_GRIDLINES, VIEW_HEADERS and VIEW_FORMULAS; false for another.
struct ViewFlagRequest {
    i32 book = 0, sheet = 0;
    u16 flag = 0;
    bool on = true;
};
bool SetViewFlag(const ViewFlagRequest& request);

enum BookBar : u8 { BAR_VERTICAL_SCROLL, BAR_HORIZONTAL_SCROLL, BAR_SHEET_TABS };
// Without undo, as a part of the window.
void ShowBookBar(i32 book, BookBar bar, bool shown);
bool IsBookBarShown(const Workbook& book, BookBar bar);

// ---- sheets ----------------------------------------------------------------------------------------------

// The message that refuses a name for a sheet; 0 when it is good.
u16 SheetNameFault(i32 book, i32 sheet, WideView name);
// False with nothing changed when the name is refused or memory fails.
[[nodiscard]] bool NameSheet(i32 book, i32 sheet, WideView name);
// A hidden sheet leaves the current place to the next visible one. False when it is the last visible one.
[[nodiscard]] bool HideSheet(i32 book, i32 sheet);
// It becomes the current one. False when it was not hidden, or is no sheet to be seen.
[[nodiscard]] bool ShowSheet(i32 book, i32 sheet);

struct ProtectRequest {
    i32 book = 0, sheet = 0;
    bool on = true;
    WideView password;
};
// False with nothing changed for a password that is not the sheet's.
[[nodiscard]] bool ProtectSheet(const ProtectRequest& request);

constexpr u8 FIRST_TAB_COLOUR = 8, LAST_TAB_COLOUR = 63;  // of the palette
// 0 for none. False with nothing changed for a number beyond them.
[[nodiscard]] bool SetTabColour(i32 book, i32 sheet, u8 colour);

// ---- links -----------------------------------------------------------------------------------------------

struct HyperlinkRequest {
    i32 book = 0, sheet = 0;
    RefArea area;
    WideView target, location;  // both empty: the links inside the area go
};
// Takes the place of the links inside the area. False with nothing changed when memory fails.
[[nodiscard]] bool SetHyperlink(const HyperlinkRequest& request);

}  // namespace tally
