// Where a link leads to.

#include "base/MessageTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { TARGET_LABEL = 100, TARGET, LOCATION_LABEL, LOCATION };

constexpr ControlRow rows[] = {
    {.id = TARGET_LABEL, .kind = CONTROL_LABEL, .text = MSG_HYPERLINK_TARGET, .cell = {0, 0}},
    {.id = TARGET, .kind = CONTROL_EDIT, .cell = {0, 1}, .width = 44},
    {.id = LOCATION_LABEL, .kind = CONTROL_LABEL, .text = MSG_HYPERLINK_LOCATION, .cell = {1, 0}},
    {.id = LOCATION, .kind = CONTROL_REFERENCE, .cell = {1, 1}, .width = 44, .flags = CONTROL_RELATIVE},
};

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    auto& choice = *static_cast<LinkChoice*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START:
            return SetControlText(dialog, TARGET, choice.target) &&
                   SetControlText(dialog, LOCATION, choice.location);
        case DIALOG_ACCEPT:
            return choice.target.Assign(ControlText(dialog, TARGET)) &&
                   choice.location.Assign(ControlText(dialog, LOCATION));
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_HYPERLINK_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskHyperlink(LinkChoice& choice) { return RunDialog(table, &choice); }

}  // namespace tally
