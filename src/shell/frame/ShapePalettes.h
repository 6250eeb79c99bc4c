#pragma once
// The palettes of shapes in the menus: seven popups of small pictures, one for each shape.

#include "platform/ShellPlatform.h"

namespace tally {

struct ShapePalette {
    u16 text;  // of the message table
    i32 items;
    i32 perColumn;
    i32 first;  // command of the first shape
};
constexpr i32 SHAPE_PALETTES = MENU_SHAPE_LAST - MENU_SHAPE_FIRST + 1;
// The palette of a popup; null for any other popup.
const ShapePalette* FindShapePalette(MenuId menu);
// The command of the n-th item: the numbers run along the rows, the items down the columns.
i32 ShapeCommand(const ShapePalette& palette, i32 item);
[[nodiscard]] bool ShapeItems(const ShapePalette& palette, Array<MenuItem>& items);
// WM_DRAWITEM.
bool PaintShapeItem(const ShellMessage& message);

}  // namespace tally
