#pragma once
// The windowing toolkit without a screen: a frame of a fixed size, edit controls in memory, recorded drawing
// with fixed metrics, scripted dialogs. What a user does comes in through the helpers below.

#include "platform/ShellPlatform.h"
#include "platform/headless/HeadlessDrawing.h"

namespace tally {

struct SettingRow {
    WideText section, key, value;
};

struct HeadlessClip {
    u32 format = 0;
    Array<u8> bytes;
};

struct HeadlessEdit {
    WideText text;
    i32 start = 0, end = 0;
    PixelRect place;  // empty: not shown
};

struct HeadlessShellState {
    i32 width = 800, height = 600;
    WideText title;
    EditHandle focus = EDIT_NONE;  // which edit control has it; none: the frame
    bool hasQuit = false;
    bool fullScreen = false;
    bool captured = false;
    WideText toolTip;
    PointerShape pointer = POINTER_ARROW;
    bool acceptsFiles = false;
    HeadlessEdit edits[EDIT_COUNT];
    ScrollBarState verticalBar, horizontalBar;
    bool timers[8] = {};
    u32 invalidations = 0;
    Array<PixelRect> dirty;  // what was invalidated since the last paint
    WideText dialogPath;     // answer of the next file dialog; empty cancels
    // The row of the type list that goes with it; below 0 the first one that fits the path's end.
    i32 dialogFilter = -1;
    WideText offeredPath;  // what the last save dialog began with
    i32 offeredFilter = 0;
    i32 popupAnswer = 0;         // command that the next popup gives
    Array<MenuItem> popupItems;  // of the last popup
    i32 popupX = 0, popupY = 0;
    i32 popupChecked = -1;         // the first item with a check mark
    Array<DrawRecord> drawing;     // of the last paint
    Array<HeadlessClip> clips;     // what lies on the clipboard
    bool clipboardLocked = false;  // it cannot be opened
    Array<SettingRow> settings;
    Array<WideText> opened;  // what other programs were asked to show
    bool opensExternally = false;
    Array<u32> waitingKeys;  // KeyCodes that the user presses while something lasts; one question takes all
    u32 keyQuestions = 0;
    u32 repaints = 0;  // at once
    bool accessibleWatched = false;
    Array<u32> accessibleChanges;  // as they were told
};
HeadlessShellState& HeadlessFrame();

void UseHeadlessShell();
void ResetHeadlessShell();

// ---- what a user does ----------------------------------------------------------------------------------
// A key as the toolkit delivers it: accelerators, then the edit control that has the focus or the frame, then
// its character.
void PressKey(u32 key, u32 modifiers = 0);
void TypeText(WideView text);
void ClickMouse(i32 x, i32 y, u32 modifiers = 0);
void DragMouse(i32 fromX, i32 fromY, i32 toX, i32 toY);
void TurnWheel(i32 notches);
void PickCommand(i32 command);
void CloseFrame();
// Files dropped on the frame; lost where it does not accept them.
void DropFiles(std::span<const WideView> paths);
// Paints what was invalidated, or all.
void PaintHeadless(bool all = true);
// Paints one rectangle; what was invalidated stays so.
void PaintHeadlessPart(const PixelRect& rect);
// Paints an item of the last popup, at its own size and with its MenuItemState, as it is shown in a menu.
void PaintPopupItem(u32 item, u32 state);
// Another program copies a text; a null one something that is no text.
void CopyElsewhere(const WideView* text);
// A format is no longer on the clipboard.
void ForgetClipboardFormat(u32 format);

}  // namespace tally
