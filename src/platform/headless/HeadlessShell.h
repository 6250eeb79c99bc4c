#pragma once
// The windowing toolkit without a screen: a frame of a fixed size, an entry line in memory, recorded drawing
// with fixed metrics, scripted dialogs. What a user does comes in through the helpers below.

#include "platform/ShellPlatform.h"

namespace tally {

enum DrawKind : u8 { DRAW_FILL, DRAW_PATTERN, DRAW_LINE, DRAW_INVERT, DRAW_TEXT };

// One drawing operation, as it reached the target.
struct DrawRecord {
    DrawKind kind = DRAW_FILL;
    PixelRect rect;  // of a line its ends, of a text its box
    PixelRect clip;
    u32 colour = 0;
    u32 backColour = 0;  // of a pattern
    u8 style = 0;        // PenStyle of a line; the number of a pattern
    FontHandle font = 0;
    WideText text;
};

struct HeadlessFont {
    char16_t faceName[32] = {};
    i32 pixelHeight = 13;
    u16 weight = 400;
    bool italic = false, underline = false, strikeout = false;
    i32 escapement = 0;
};

struct SettingRow {
    WideText section, key, value;
};

struct HeadlessShellState {
    i32 width = 800, height = 600;
    WideText title;
    bool entryFocused = false;
    bool hasQuit = false;
    bool fullScreen = false;
    bool captured = false;
    WideText toolTip;
    PointerShape pointer = POINTER_ARROW;
    WideText entry;
    i32 entryStart = 0, entryEnd = 0;
    PixelRect entryPlace;
    ScrollBarState verticalBar, horizontalBar;
    bool timers[8] = {};
    u32 invalidations = 0;
    Array<PixelRect> dirty;  // what was invalidated since the last paint
    WideText dialogPath;     // answer of the next file dialog; empty cancels
    // The row of the type list that goes with it; below 0 the first one that fits the path's end.
    i32 dialogFilter = -1;
    WideText offeredPath;  // what the last save dialog began with
    i32 offeredFilter = 0;
    i32 popupAnswer = 0;  // command that the next popup gives
    Array<WideText> popupTexts;
    i32 popupX = 0, popupY = 0;
    i32 popupChecked = -1;  // the first item with a check mark
    Array<HeadlessFont> fonts;
    PixelRect clip;
    Array<DrawRecord> drawing;  // of the last paint
    WideText clipboard;
    Array<u8> narrowClipboard;
    bool clipboardMarked = false;  // CF_PRIVATE
    bool clipboardLocked = false;  // it cannot be opened
    Array<SettingRow> settings;
    Array<WideText> opened;  // what other programs were asked to show
    bool opensExternally = false;
};
HeadlessShellState& HeadlessFrame();

void UseHeadlessShell();
void ResetHeadlessShell();

// ---- what a user does ----------------------------------------------------------------------------------
// A key as the toolkit delivers it: accelerators, then the line or the frame, then its character.
void PressKey(u32 key, u32 modifiers = 0);
void TypeText(WideView text);
void ClickMouse(i32 x, i32 y, u32 modifiers = 0);
void DragMouse(i32 fromX, i32 fromY, i32 toX, i32 toY);
void TurnWheel(i32 notches);
void PickCommand(i32 command);
void CloseFrame();
// Paints what was invalidated, or all.
void PaintHeadless(bool all = true);
// Another program copies a text; a null one something that is no text.
void CopyElsewhere(const WideView* text);

}  // namespace tally
