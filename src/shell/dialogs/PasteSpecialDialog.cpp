// How a held block goes into the cells.

#include "base/MessageTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

// The radio buttons count on from the modes and operations, which begin at 1.
enum : i32 {
    WHAT = 100,
    FIRST_MODE,
    LAST_MODE = FIRST_MODE + 6,
    HOW,
    FIRST_OPERATION,
    LAST_OPERATION = FIRST_OPERATION + 4,
    SKIP_BLANKS,
    TRANSPOSE
};

constexpr ControlRow Choice(i32 id, u16 text, i32 container, i16 row, i16 column = 0) {
    return {.id = id, .kind = CONTROL_RADIO, .text = text, .cell = {row, column}, .container = container};
}

constexpr ControlRow rows[] = {
    {.id = WHAT, .kind = CONTROL_GROUP, .text = MSG_PASTE_WHAT, .cell = {0, 0, 2}},
    Choice(FIRST_MODE, MSG_PASTE_WHAT_ALL, WHAT, 0),
    Choice(FIRST_MODE + 1, MSG_PASTE_WHAT_FORMULAS, WHAT, 1),
    Choice(FIRST_MODE + 2, MSG_PASTE_WHAT_VALUES, WHAT, 2),
    Choice(FIRST_MODE + 3, MSG_PASTE_WHAT_FORMATS, WHAT, 3),
    Choice(FIRST_MODE + 4, MSG_PASTE_WHAT_COMMENTS, WHAT, 0, 1),
    Choice(FIRST_MODE + 5, MSG_PASTE_WHAT_BUT_BORDERS, WHAT, 1, 1),
    Choice(FIRST_MODE + 6, MSG_PASTE_WHAT_VALIDATION, WHAT, 2, 1),
    {.id = HOW, .kind = CONTROL_GROUP, .text = MSG_PASTE_HOW, .cell = {1, 0, 2}},
    Choice(FIRST_OPERATION, MSG_PASTE_HOW_NONE, HOW, 0),
    Choice(FIRST_OPERATION + 1, MSG_PASTE_HOW_ADD, HOW, 1),
    Choice(FIRST_OPERATION + 2, MSG_PASTE_HOW_SUBTRACT, HOW, 2),
    Choice(FIRST_OPERATION + 3, MSG_PASTE_HOW_MULTIPLY, HOW, 0, 1),
    Choice(FIRST_OPERATION + 4, MSG_PASTE_HOW_DIVIDE, HOW, 1, 1),
    {.id = SKIP_BLANKS, .kind = CONTROL_CHECK, .text = MSG_PASTE_SKIP_BLANKS, .cell = {2, 0}},
    {.id = TRANSPOSE, .kind = CONTROL_CHECK, .text = MSG_PASTE_TRANSPOSE_LABEL, .cell = {2, 1}},
};

i32 ModeOf(const Dialog& dialog) { return ChosenRadio(dialog, FIRST_MODE) - FIRST_MODE + PASTE_ALL; }

bool Calculates(i32 mode) {
    return mode == PASTE_ALL || mode == PASTE_FORMULAS || mode == PASTE_VALUES || mode == PASTE_BUT_BORDERS;
}

void Accept(const Dialog& dialog, PasteRequest& request) {
    request.mode = ModeOf(dialog);
    if (Calculates(request.mode))
        request.operation = ChosenRadio(dialog, FIRST_OPERATION) - FIRST_OPERATION + PASTE_NONE;
    request.skipBlanks = IsChecked(dialog, SKIP_BLANKS);
    request.transpose = IsChecked(dialog, TRANSPOSE);
    request.special = true;
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    if (event.kind == DIALOG_START) {
        SetControlChoice(dialog, FIRST_MODE, 1);
        SetControlChoice(dialog, FIRST_OPERATION, 1);
    }
    if (event.kind == DIALOG_CHANGED) EnableControl(dialog, HOW, Calculates(ModeOf(dialog)));
    if (event.kind == DIALOG_ACCEPT) Accept(dialog, *static_cast<PasteRequest*>(dialog.context));
    return true;
}
constexpr DialogTable table = {.title = MSG_PASTE_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskPasteSpecial(PasteRequest& request) { return RunDialog(table, &request); }

}  // namespace tally
