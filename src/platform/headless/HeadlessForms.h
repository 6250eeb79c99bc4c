#pragma once
// How the headless platform fills in forms: from a script, one row a form.

#include "platform/Forms.h"

namespace tally {

// What the user does to one field: named by its label without "&" and a colon at the end, or by its number.
struct FormEntry {
    WideText field;
    WideText value;  // text; 0 or 1; an item by its text without "&", or by its number
};

struct FormAnswer {
    bool accept = true;
    Array<FormEntry> entries;
};

// A form that was shown and how it ended.
struct RecordedForm {
    WideText title;
    u32 fieldCount = 0;
    bool accepted = false;
    bool understood = true;  // every entry of its answer named a field and a value that it takes
};

struct HeadlessFormState {
    Array<FormAnswer> answers;  // of the next forms, first first; afterwards every form is cancelled
    u32 answersUsed = 0;
    Array<RecordedForm> shown;
};
HeadlessFormState& HeadlessForms();
void ResetHeadlessForms();

// Shows a form to the script. A form that does not accept what was entered takes the next answer.
bool RunHeadlessForm(Form& form);

// ---- for tests and scripts: the answer of the next form that has none ----------------------------------
[[nodiscard]] bool AnswerForm(bool accept);
// Adds an entry to the answer that was added last.
[[nodiscard]] bool EnterInForm(WideView field, WideView value);

}  // namespace tally
