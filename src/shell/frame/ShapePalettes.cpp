#include "shell/frame/ShapePalettes.h"

#include <algorithm>
#include <iterator>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

constexpr ShapePalette palettes[] = {
    {MSG_MENU_SHAPE_LINES, 6, 2, 185},     {MSG_MENU_SHAPE_CONNECTORS, 9, 3, 191},
    {MSG_MENU_SHAPE_BASIC, 32, 8, 200},    {MSG_MENU_SHAPE_ARROWS, 28, 7, 232},
    {MSG_MENU_SHAPE_FLOW, 28, 7, 260},     {MSG_MENU_SHAPE_BANNERS, 16, 4, 288},
    {MSG_MENU_SHAPE_CALLOUTS, 20, 5, 304},
};
static_assert(std::size(palettes) == SHAPE_PALETTES);

// Each palette is whole, and begins where the one before it ends.
constexpr bool PalettesAreWhole() {
    i32 next = 185;
    for (const ShapePalette& palette : palettes) {
        if (palette.first != next || palette.items % palette.perColumn) return false;
        next += palette.items;
    }
    return next == 324;
}
static_assert(PalettesAreWhole());

// Lengths on a screen with 96 pixels to the inch.
constexpr i32 PICTURE_SIZE = 16, PICTURE_MARGIN = 3;
constexpr u32 FACE = 0xF0F0F0, EDGE = 0xA0A0A0, INK = 0x404040, GREY = 0xA0A0A0;

const ShapePalette* PaletteOfCommand(i32 command) {
    for (const ShapePalette& palette : palettes)
        if (command >= palette.first && command < palette.first + palette.items) return &palette;
    return nullptr;
}

}  // namespace

const ShapePalette* FindShapePalette(MenuId menu) {
    const i32 index = menu - MENU_SHAPE_FIRST;
    return index >= 0 && index < SHAPE_PALETTES ? &palettes[index] : nullptr;
}

i32 ShapeCommand(const ShapePalette& palette, i32 item) {
    const i32 columns = palette.items / palette.perColumn;
    return palette.first + item / palette.perColumn + item % palette.perColumn * columns;
}

bool ShapeItems(const ShapePalette& palette, Array<MenuItem>& items) {
    const i32 size = ScreenLength(PICTURE_SIZE + 2 * PICTURE_MARGIN);
    WideText name;
    for (const char16_t c : Message(palette.text)) {
        // A letter for the keyboard stands behind the name, or inside it.
        if (c == u'(') break;
        if (c != u'&' && !name.Append(c)) return false;
    }
    for (i32 n = 0; n < palette.items; ++n) {
        WideText text;
        const i32 command = ShapeCommand(palette, n);
        if (!text.Assign(name) || !text.Append(u' ') || !AppendInteger(text, command - palette.first + 1) ||
            !AddMenuItem(items, command, text, CommandEnabled(command), false))
            return false;
        items.Last().newColumn = n > 0 && n % palette.perColumn == 0;
        items.Last().paintedWidth = items.Last().paintedHeight = size;
    }
    return true;
}

// The number of the shape in its palette, and a frame around the one under the pointer.
bool PaintShapeItem(const ShellMessage& message) {
    const ShapePalette* palette = PaletteOfCommand(message.command);
    if (!palette || !message.target) return false;
    DrawTarget& target = *message.target;
    const PixelRect& place = message.paint;
    FillRect(target, place, FACE);
    WideText number;
    if (AppendInteger(number, message.command - palette->first + 1)) {
        i32 width = 0, height = 0;
        Fonts().textExtent(0, number, width, height);
        DrawClippedText(target, (place.left + place.right - width) / 2, (place.top + place.bottom - height) / 2,
                        place, 0, message.itemState & ITEM_GREY ? GREY : INK, number);
    }
    if (!(message.itemState & ITEM_SELECTED)) return true;
    const i32 line = std::max(1, ScreenLength(1));
    FillRect(target, {place.left, place.top, place.right, place.top + line}, EDGE);
    FillRect(target, {place.left, place.bottom - line, place.right, place.bottom}, EDGE);
    FillRect(target, {place.left, place.top, place.left + line, place.bottom}, EDGE);
    FillRect(target, {place.right - line, place.top, place.right, place.bottom}, EDGE);
    return true;
}

}  // namespace tally
