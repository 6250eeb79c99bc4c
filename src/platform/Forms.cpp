#include "platform/Forms.h"

#include "base/MessageTable.h"
#include "platform/ShellPlatform.h"

namespace tally {
namespace {

FormField* AppendField(Form& form, FormFieldKind kind, WideView label) {
    FormField* field = form.fields.AppendDefault();
    if (!field || !field->label.Assign(label)) return nullptr;
    field->kind = kind;
    return field;
}

}  // namespace

bool AddLabel(Form& form, WideView label) { return AppendField(form, FIELD_LABEL, label) != nullptr; }

bool AddEdit(Form& form, WideView label, WideView text) {
    FormField* field = AppendField(form, FIELD_EDIT, label);
    return field && field->text.Assign(text);
}

bool AddSecret(Form& form, WideView label) { return AppendField(form, FIELD_SECRET, label) != nullptr; }

bool AddCheck(Form& form, WideView label, bool checked) {
    FormField* field = AppendField(form, FIELD_CHECK, label);
    if (field) field->choice = checked;
    return field != nullptr;
}

bool AddChoice(Form& form, FormFieldKind kind, WideView label, std::span<const WideView> items, i32 choice) {
    FormField* field = AppendField(form, kind, label);
    if (!field) return false;
    field->choice = choice;
    for (const WideView item : items)
        if (!AddItem(form, item)) return false;
    return true;
}

bool AddMessageChoice(Form& form, FormFieldKind kind, u16 label, std::span<const u16> items, i32 choice) {
    if (!AddChoice(form, kind, Message(label), {}, choice)) return false;
    for (const u16 item : items)
        if (!AddItem(form, Message(item))) return false;
    return true;
}

bool AddItem(Form& form, WideView item) {
    WideText text;
    return !form.fields.IsEmpty() && text.Assign(item) && form.fields.Last().items.Append(std::move(text));
}

bool ShowForm(Form& form) { return ShellPlatform().showForm(form); }

}  // namespace tally
