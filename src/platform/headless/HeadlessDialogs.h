#pragma once
// How the headless platform fills in dialogs: from a script, one row a dialog, or by a routine of a test that
// acts as a user does.

#include "platform/Dialog.h"

namespace tally {

// What the user does to one control. It is named by its label without "&" and a colon at the end, which may be
// that of the label before it, or by its number.
struct DialogEntry {
    WideText field;
    // Text; 0 or 1 of a check; an item, a page or the radio button of a group by its text without "&", or by
    // its number. A button is pressed and a radio button chosen whatever stands here.
    WideText value;
};

struct DialogAnswer {
    bool accept = true;
    Array<DialogEntry> entries;
};

// A dialog that was shown and how it ended.
struct RecordedDialog {
    WideText title;
    u32 controls = 0;
    bool accepted = false;
    bool understood = true;  // every entry of its answer named a control and a value that it takes
};

struct HeadlessDialogState {
    Array<DialogAnswer> answers;  // of the next dialogs, first first; afterwards every dialog is cancelled
    u32 answersUsed = 0;
    Array<RecordedDialog> shown;
    // Acts on each modal dialog before its answers do.
    void (*whileOpen)(Dialog& dialog) = nullptr;
    Array<Dialog*> open;  // those that stay beside the grid
    i32 depth = 0;        // of modal dialogs in each other
};
HeadlessDialogState& HeadlessDialogs();
void ResetHeadlessDialogs();

// Rows of the platform's table. A dialog that does not accept what was entered takes the next answer.
void RunHeadlessDialog(Dialog& dialog);
void ShowHeadlessDialog(Dialog& dialog);
void SyncHeadlessDialog(Dialog& dialog);

// ---- for tests and scripts -------------------------------------------------------------------------------
// The answer of the next dialog that has none.
[[nodiscard]] bool AnswerDialog(bool accept);
// Adds an entry to the answer that was added last.
[[nodiscard]] bool EnterInDialog(WideView field, WideView value);
// One entry into an open dialog; false when it names no control or a value that it does not take.
bool FillIn(Dialog& dialog, WideView field, WideView value);
// Dialogs beside the grid that have ended go.
void SettleOpenDialogs();
// The label of a control as a user reads it; that of the label before it when it has none itself.
[[nodiscard]] bool PlainControlLabel(const Dialog& dialog, u32 index, WideText& out);

}  // namespace tally
