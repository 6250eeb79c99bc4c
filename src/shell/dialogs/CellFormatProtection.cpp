// The page of protection.

#include "base/MessageTable.h"
#include "shell/dialogs/CellFormatPages.h"

namespace tally {
namespace {

enum : i32 { LOCKED = PROTECTION_CONTROLS, HIDDEN, NOTE };

constexpr ControlRow rows[] = {
    {.id = LOCKED,
     .kind = CONTROL_CHECK,
     .text = MSG_PROTECT_LOCKED,
     .cell = {0, 0},
     .container = PROTECTION_PAGE},
    {.id = HIDDEN,
     .kind = CONTROL_CHECK,
     .text = MSG_PROTECT_HIDDEN,
     .cell = {1, 0},
     .container = PROTECTION_PAGE},
    {.id = NOTE, .text = MSG_PROTECT_NOTE, .cell = {2, 0}, .container = PROTECTION_PAGE},
};

bool Start(Dialog& dialog, CellFormatSheet& sheet) {
    SetControlChoice(dialog, LOCKED, ChoiceOf(sheet.question.look.locked));
    SetControlChoice(dialog, HIDDEN, ChoiceOf(sheet.question.look.hidden));
    return true;
}

void Changed(Dialog& dialog, CellFormatSheet& sheet, i32 control) {
    FormatField& field = control == LOCKED ? sheet.request.locked : sheet.request.hidden;
    field = {true, ControlChoice(dialog, control)};
}

}  // namespace

constexpr CellFormatPage protectionPage = {.bit = FORMAT_PAGE_PROTECTION,
                                           .id = PROTECTION_PAGE,
                                           .title = MSG_FORMAT_PAGE_PROTECTION,
                                           .rows = rows,
                                           .pickers = {},
                                           .start = Start,
                                           .changed = Changed,
                                           .accept = nullptr,
                                           .paint = nullptr,
                                           .mouse = nullptr};

}  // namespace tally
