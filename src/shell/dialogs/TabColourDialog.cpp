// The colour of a sheet's tab, out of the palette.

#include <algorithm>

#include "base/MessageTable.h"
#include "editing/ViewOperations.h"
#include "model/BookTable.h"
#include "model/Formats.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { COLOUR_LABEL = 100, COLOURS, NO_COLOUR };
constexpr i32 COLUMNS = 8, LINES = 7;
static_assert(FIRST_TAB_COLOUR + COLUMNS * LINES - 1 == LAST_TAB_COLOUR);

constexpr ControlRow rows[] = {
    {.id = COLOUR_LABEL, .kind = CONTROL_LABEL, .text = MSG_TAB_COLOUR_LABEL, .cell = {0, 0}},
    {.id = COLOURS, .kind = CONTROL_PAINTED, .cell = {1, 0}, .width = 28, .lines = 11},
    {.id = NO_COLOUR, .kind = CONTROL_CHECK, .text = MSG_TAB_COLOUR_NONE, .cell = {2, 0}},
};

struct TabColourChoice {
    const Workbook& book;
    u8 colour = 0;
};

TabColourChoice& ChoiceOf(const Dialog& dialog) { return *static_cast<TabColourChoice*>(dialog.context); }

// A colour's field in a palette that fills a rectangle.
PixelRect FieldOf(const PixelRect& place, i32 index) {
    const i32 width = place.right - place.left, height = place.bottom - place.top;
    const i32 x = index % COLUMNS, y = index / COLUMNS;
    return {place.left + x * width / COLUMNS, place.top + y * height / LINES,
            place.left + (x + 1) * width / COLUMNS, place.top + (y + 1) * height / LINES};
}

void PaintColours(const TabColourChoice& choice, DrawTarget& target, const PixelRect& place) {
    constexpr u32 FACE = 0xF0F0F0, EDGE = 0x808080, BLACK = 0;
    FillRect(target, place, FACE);
    for (i32 i = 0; i < COLUMNS * LINES; ++i) {
        const i32 colour = FIRST_TAB_COLOUR + i;
        const PixelRect field = FieldOf(place, i);
        const bool chosen = choice.colour == colour;
        if (chosen) FillRect(target, field, BLACK);
        FillRect(target, {field.left + 2, field.top + 2, field.right - 2, field.bottom - 2}, EDGE);
        FillRect(target, {field.left + 3, field.top + 3, field.right - 3, field.bottom - 3},
                 PaletteColour(choice.book, static_cast<u16>(colour), 0));
    }
}

void Choose(Dialog& dialog, i32 colour) {
    ChoiceOf(dialog).colour = static_cast<u8>(colour);
    SetControlChoice(dialog, NO_COLOUR, colour == 0);
    RepaintControl(dialog, COLOURS);
}

void PressColour(Dialog& dialog, i32 x, i32 y) {
    const Control* control = FindControl(dialog, COLOURS);
    const PixelRect place{0, 0, control->place.right - control->place.left,
                          control->place.bottom - control->place.top};
    for (i32 i = 0; i < COLUMNS * LINES; ++i)
        if (RectHolds(FieldOf(place, i), x, y)) return Choose(dialog, FIRST_TAB_COLOUR + i);
}

// The arrows go from field to field and stop at the edges; the first one chooses the first field.
void MoveChoice(Dialog& dialog, i32 key) {
    const i32 index = ChoiceOf(dialog).colour - FIRST_TAB_COLOUR;
    const i32 x = index % COLUMNS, y = index / COLUMNS;
    const bool moves = key == VK_LEFT || key == VK_RIGHT || key == VK_UP || key == VK_DOWN;
    if (!moves) return;
    if (index < 0) return Choose(dialog, FIRST_TAB_COLOUR);
    const i32 toX = std::clamp(x + (key == VK_RIGHT) - (key == VK_LEFT), 0, COLUMNS - 1);
    const i32 toY = std::clamp(y + (key == VK_DOWN) - (key == VK_UP), 0, LINES - 1);
    Choose(dialog, FIRST_TAB_COLOUR + toY * COLUMNS + toX);
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    switch (event.kind) {
        case DIALOG_START: Choose(dialog, ChoiceOf(dialog).colour); return true;
        case DIALOG_CHANGED:
            if (event.control != NO_COLOUR) return true;
            Choose(dialog, IsChecked(dialog, NO_COLOUR) ? 0 : FIRST_TAB_COLOUR);
            return true;
        case DIALOG_PAINT: PaintColours(ChoiceOf(dialog), *event.target, event.paint); return true;
        case DIALOG_MOUSE:
            if (event.value == WM_LBUTTONDOWN) PressColour(dialog, event.x, event.y);
            return true;
        case DIALOG_KEY: MoveChoice(dialog, event.value); return true;
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_TAB_COLOUR_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskTabColour(const Workbook& book, u8& colour) {
    TabColourChoice choice{book, colour};
    if (!RunDialog(table, &choice)) return false;
    colour = choice.colour;
    return true;
}

}  // namespace tally
