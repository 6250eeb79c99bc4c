#pragma once
// Showing dialogs: the record of a table, the places of its controls, and the grid beneath them.

#include "platform/Dialog.h"
#include "shell/state/ShellState.h"

namespace tally {

// Shows a dialog and waits. True when it was accepted; the procedure has then taken what was chosen from its
// controls. False as well when memory fails.
bool RunDialog(const DialogTable& table, void* context);
// Shows a dialog that stays open beside the grid; `dialog` must live until DIALOG_END. False when it could not
// be.
[[nodiscard]] bool OpenDialog(Dialog& dialog, const DialogTable& table, void* context);

// Makes the record of a table, with the texts of the language in force and the standard buttons, and sends
// DIALOG_START. False when memory fails or the procedure says so.
[[nodiscard]] bool BuildDialog(Dialog& dialog, const DialogTable& table, void* context);
// Gives each control the room that its texts want, and its place.
void LayOutDialog(Dialog& dialog);

// ---- the grid beneath an open dialog ----------------------------------------------------------------------
// The focus has moved: what the grid writes references into.
void DialogFocused(Dialog& dialog);
// Whether a dialog keeps a message of the frame from its handler; what picks a reference is then done.
bool TakenByDialog(const ShellMessage& message);

}  // namespace tally
