#pragma once
// Dialogs as records: a form is filled in, shown by the toolkit, and read once it was accepted.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

enum FormFieldKind : u8 {
    FIELD_LABEL,      // its label only
    FIELD_EDIT,       // one line of text
    FIELD_SECRET,     // the same, not to be read on the screen
    FIELD_CHECK,      // `choice` is 0 or 1
    FIELD_RADIO,      // one button an item, under the label as the group's title
    FIELD_LIST,       // a list box
    FIELD_DROP_LIST,  // a list that drops down
};

struct FormField {
    FormFieldKind kind = FIELD_LABEL;
    bool enabled = true;
    WideText label;         // "&" stands before the letter that leads to the field
    WideText text;          // FIELD_EDIT
    Array<WideText> items;  // of radio buttons and lists
    u32 greyItems = 0;      // radio buttons that cannot be chosen, bit by bit
    i32 choice = 0;         // the chosen item, -1 for none
};

// The form owns its fields, in the order of the tab key. OK and Cancel belong to every form.
struct Form {
    WideText title;
    Array<FormField> fields;
    bool acceptable = true;   // OK can be pressed
    void* context = nullptr;  // the caller's
    // The user changed a field; others may be filled or enabled. Null: nothing follows.
    void (*changed)(Form& form, u32 field) = nullptr;
    // OK was pressed; false keeps the form open, the reason having been shown. Null: always accepted.
    bool (*accept)(Form& form) = nullptr;
};

// Each adds a field at the end. False when memory fails.
[[nodiscard]] bool AddLabel(Form& form, WideView label);
[[nodiscard]] bool AddEdit(Form& form, WideView label, WideView text);
[[nodiscard]] bool AddSecret(Form& form, WideView label);
[[nodiscard]] bool AddCheck(Form& form, WideView label, bool checked);
// `kind` is FIELD_RADIO, FIELD_LIST or FIELD_DROP_LIST.
[[nodiscard]] bool AddChoice(Form& form, FormFieldKind kind, WideView label, std::span<const WideView> items,
                             i32 choice);
// The same with texts of the message table.
[[nodiscard]] bool AddMessageChoice(Form& form, FormFieldKind kind, u16 label, std::span<const u16> items,
                                    i32 choice);
// One more item of the last field.
[[nodiscard]] bool AddItem(Form& form, WideView item);

// Shows the form and waits. True when it was accepted; its fields then hold what the user chose.
bool ShowForm(Form& form);

}  // namespace tally
