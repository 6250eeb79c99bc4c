#include "platform/headless/HeadlessForms.h"

#include "base/Text.h"

namespace tally {
namespace {

HeadlessFormState forms;

// A label as a user reads it: "右移(&R)" and "步长值:" are "右移" and "步长值".
bool PlainLabel(WideView label, WideText& out) {
    out.Truncate(0);
    for (std::size_t i = 0; i < label.size(); ++i) {
        if (label[i] == u'(' && i + 3 < label.size() && label[i + 1] == u'&' && label[i + 3] == u')') {
            i += 3;
            continue;
        }
        if (label[i] != u'&' && !out.Append(label[i])) return false;
    }
    while (!out.IsEmpty() && (out[out.Length() - 1] == u':' || out[out.Length() - 1] == u'.'))
        out.Truncate(out.Length() - 1);
    return true;
}

bool IsNamed(WideView label, WideView name) {
    WideText plain, wanted;
    return PlainLabel(label, plain) && PlainLabel(name, wanted) && EqualIgnoringCase(plain, wanted);
}

// -1 for a text that is no number below `count`.
i32 SmallNumber(WideView text, u32 count) {
    i32 number = 0;
    if (text.empty() || text.size() > 4) return -1;
    for (const char16_t c : text) {
        if (c < u'0' || c > u'9') return -1;
        number = number * 10 + (c - u'0');
    }
    return static_cast<u32>(number) < count ? number : -1;
}

i32 FindField(const Form& form, WideView name) {
    for (u32 i = 0; i < form.fields.Count(); ++i) {
        const FormField& field = form.fields[i];
        if (field.kind != FIELD_LABEL && IsNamed(field.label, name)) return static_cast<i32>(i);
    }
    return SmallNumber(name, form.fields.Count());
}

i32 FindItem(const FormField& field, WideView name) {
    for (u32 i = 0; i < field.items.Count(); ++i)
        if (IsNamed(field.items[i], name)) return static_cast<i32>(i);
    return SmallNumber(name, field.items.Count());
}

bool Enter(FormField& field, WideView value) {
    if (!field.enabled) return false;
    switch (field.kind) {
        case FIELD_EDIT:
        case FIELD_SECRET: return field.text.Assign(value);
        case FIELD_CHECK: field.choice = SmallNumber(value, 2); return field.choice >= 0;
        case FIELD_RADIO:
        case FIELD_LIST:
        case FIELD_DROP_LIST: {
            const i32 item = FindItem(field, value);
            if (item < 0 || (item < 32 && field.greyItems >> item & 1)) return false;
            field.choice = item;
            return true;
        }
        case FIELD_LABEL: return false;
    }
    return false;
}

bool FillIn(Form& form, const FormAnswer& answer) {
    bool understood = true;
    for (const FormEntry& entry : answer.entries) {
        const i32 field = FindField(form, entry.field);
        if (field < 0 || !Enter(form.fields[static_cast<u32>(field)], entry.value)) {
            understood = false;
        } else if (form.changed) {
            form.changed(form, static_cast<u32>(field));
        }
    }
    return understood;
}

}  // namespace

HeadlessFormState& HeadlessForms() { return forms; }
void ResetHeadlessForms() { forms = HeadlessFormState(); }

bool RunHeadlessForm(Form& form) {
    RecordedForm record;
    record.fieldCount = form.fields.Count();
    bool accepted = false;
    while (!accepted && forms.answersUsed < forms.answers.Count()) {
        const FormAnswer& answer = forms.answers[forms.answersUsed++];
        if (!FillIn(form, answer)) record.understood = false;
        if (!answer.accept) break;
        accepted = form.acceptable && (!form.accept || form.accept(form));
    }
    record.accepted = accepted;
    if (record.title.Assign(form.title)) IgnoreFailure(forms.shown.Append(std::move(record)));
    return accepted;
}

bool AnswerForm(bool accept) {
    FormAnswer answer;
    answer.accept = accept;
    return forms.answers.Append(std::move(answer));
}

bool EnterInForm(WideView field, WideView value) {
    FormEntry entry;
    return !forms.answers.IsEmpty() && entry.field.Assign(field) && entry.value.Assign(value) &&
           forms.answers.Last().entries.Append(std::move(entry));
}

}  // namespace tally
