#pragma once
// Controls that the shell paints: pickers, which to their dialog are drop lists of small pictures, and samples
// of what was chosen. A picker's row is CONTROL_PAINTED with CONTROL_PICKER.

#include "editing/ApplyFormat.h"
#include "platform/Dialog.h"

namespace tally {

// ---- pickers ---------------------------------------------------------------------------------------------

enum PickerKind : u8 {
    PICK_COLOUR,   // automatic, then the rows 8 to 63 of the palette
    PICK_BORDER,   // by the border style, 0 to 13
    PICK_PATTERN,  // by the fill pattern, 0 to 18
    PICK_LINE,     // by the line style of objects and charts: 0 to 8, 5 is none
    PICKER_KINDS,
};
struct PickerRow {
    i32 control = 0;
    PickerKind kind = PICK_COLOUR;
};

i32 PickerItems(PickerKind kind);
// Between items of PICK_COLOUR and palette indexes. What is no colour of the palette is automatic; below 0 is
// no item.
i32 ItemOfColour(i32 colour);
i32 ColourOfItem(i32 item, i32 automatic);

// Gives a picker its items, whose texts a reader of the screen speaks. False when memory fails.
[[nodiscard]] bool FillPicker(Dialog& dialog, const PickerRow& row, i32 book);
// Paints it, changes its choice by keys and opens its list; a change is heard as DIALOG_CHANGED. False when the
// event is not that of one of the pickers.
bool HandlePicker(Dialog& dialog, const DialogEvent& event, std::span<const PickerRow> rows, i32 book);

// One item, as pickers and their lists show it.
void PaintPickerItem(DrawTarget& target, const PixelRect& rect, PickerKind kind, i32 item, i32 book);

// ---- samples ---------------------------------------------------------------------------------------------

// The lines of a request around two rows and two columns of cells; a line that is not present is dimmed.
void PaintBorderExemplar(DrawTarget& target, const PixelRect& rect, const FormatRequest& look, bool rows,
                         bool columns, i32 book);
// The line nearest to a point, or null beside all of them.
EdgeField FormatRequest::*ExemplarLine(const PixelRect& rect, i32 x, i32 y, bool rows, bool columns);
// Sample text in the font of a request; what is not present is that of the book's first font.
void PaintFontPreview(DrawTarget& target, const PixelRect& rect, const FormatRequest& look, i32 book);
// The fill of a request, whose colours stand in the dialog's order.
void PaintFillSample(DrawTarget& target, const PixelRect& rect, const FormatRequest& look, i32 book);

}  // namespace tally
