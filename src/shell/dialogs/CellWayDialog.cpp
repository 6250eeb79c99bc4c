// Which way cells make room, or close it.

#include "base/MessageTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { WAYS = 100, FIRST_WAY };

constexpr ControlRow insertRows[] = {
    {.id = WAYS, .kind = CONTROL_GROUP, .text = MSG_INSERT_TITLE, .cell = {0, 0}, .width = 26},
    {.id = FIRST_WAY, .kind = CONTROL_RADIO, .text = MSG_INSERT_RIGHT, .cell = {0, 0}, .container = WAYS},
    {.id = FIRST_WAY + 1, .kind = CONTROL_RADIO, .text = MSG_INSERT_DOWN, .cell = {1, 0}, .container = WAYS},
    {.id = FIRST_WAY + 2, .kind = CONTROL_RADIO, .text = MSG_WAY_ROWS, .cell = {2, 0}, .container = WAYS},
    {.id = FIRST_WAY + 3, .kind = CONTROL_RADIO, .text = MSG_WAY_COLUMNS, .cell = {3, 0}, .container = WAYS},
};
constexpr ControlRow deleteRows[] = {
    {.id = WAYS, .kind = CONTROL_GROUP, .text = MSG_DELETE_TITLE, .cell = {0, 0}, .width = 26},
    {.id = FIRST_WAY, .kind = CONTROL_RADIO, .text = MSG_DELETE_LEFT, .cell = {0, 0}, .container = WAYS},
    {.id = FIRST_WAY + 1, .kind = CONTROL_RADIO, .text = MSG_DELETE_UP, .cell = {1, 0}, .container = WAYS},
    {.id = FIRST_WAY + 2, .kind = CONTROL_RADIO, .text = MSG_WAY_ROWS, .cell = {2, 0}, .container = WAYS},
    {.id = FIRST_WAY + 3, .kind = CONTROL_RADIO, .text = MSG_WAY_COLUMNS, .cell = {3, 0}, .container = WAYS},
};

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    auto& way = *static_cast<CellWay*>(dialog.context);
    if (event.kind == DIALOG_START) SetControlChoice(dialog, FIRST_WAY + i32{WAY_ROWS_DOWN}, 1);
    if (event.kind == DIALOG_ACCEPT) way = static_cast<CellWay>(ChosenRadio(dialog, FIRST_WAY) - FIRST_WAY);
    return true;
}
constexpr DialogTable insertTable = {.title = MSG_INSERT_TITLE, .rows = insertRows, .procedure = Procedure};
constexpr DialogTable deleteTable = {.title = MSG_DELETE_TITLE, .rows = deleteRows, .procedure = Procedure};

}  // namespace

CellWay AskInsertWay() {
    CellWay way = WAY_NONE;
    return RunDialog(insertTable, &way) ? way : WAY_NONE;
}

CellWay AskDeleteWay() {
    CellWay way = WAY_NONE;
    return RunDialog(deleteTable, &way) ? way : WAY_NONE;
}

}  // namespace tally
