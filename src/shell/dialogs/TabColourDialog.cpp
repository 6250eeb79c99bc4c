// The colour of a sheet's tab, out of the palette.

#include "base/MessageTable.h"
#include "editing/ViewOperations.h"
#include "model/BookTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Pickers.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { COLOUR_LABEL = 100, COLOUR, NO_COLOUR };

constexpr ControlRow rows[] = {
    {.id = COLOUR_LABEL, .kind = CONTROL_LABEL, .text = MSG_TAB_COLOUR_LABEL, .cell = {0, 0}},
    {.id = COLOUR, .kind = CONTROL_PAINTED, .cell = {0, 1}, .width = 22, .lines = 1, .flags = CONTROL_PICKER},
    {.id = NO_COLOUR, .kind = CONTROL_CHECK, .text = MSG_TAB_COLOUR_NONE, .cell = {1, 0, 2}},
};
constexpr PickerRow pickers[] = {{COLOUR, PICK_COLOUR}};

struct TabColourChoice {
    i32 book = 0;
    u8 colour = 0;
};

TabColourChoice& ChoiceOf(const Dialog& dialog) { return *static_cast<TabColourChoice*>(dialog.context); }

// The picker's automatic colour is none.
void Choose(Dialog& dialog, i32 colour) {
    ChoiceOf(dialog).colour = static_cast<u8>(colour);
    SetControlChoice(dialog, COLOUR, colour ? ItemOfColour(colour) : 0);
    SetControlChoice(dialog, NO_COLOUR, colour == 0);
    RepaintControl(dialog, COLOUR);
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    const i32 book = ChoiceOf(dialog).book;
    if (event.kind == DIALOG_START) {
        const bool filled = FillPicker(dialog, pickers[0], book);
        if (filled) Choose(dialog, ChoiceOf(dialog).colour);
        return filled;
    }
    if (HandlePicker(dialog, event, pickers, book) || event.kind != DIALOG_CHANGED) return true;
    if (event.control == COLOUR) Choose(dialog, ColourOfItem(ControlChoice(dialog, COLOUR), 0));
    else Choose(dialog, IsChecked(dialog, NO_COLOUR) ? 0 : FIRST_TAB_COLOUR);
    return true;
}
constexpr DialogTable table = {.title = MSG_TAB_COLOUR_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskTabColour(i32 book, u8& colour) {
    TabColourChoice choice{book, colour};
    if (!RunDialog(table, &choice)) return false;
    colour = choice.colour;
    return true;
}

}  // namespace tally
