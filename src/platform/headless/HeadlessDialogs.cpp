#include "platform/headless/HeadlessDialogs.h"

#include "base/Platform.h"
#include "base/Text.h"

namespace tally {
namespace {

HeadlessDialogState state;

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

// -1 for a text that is no number.
i32 SmallNumber(WideView text) {
    i32 number = 0;
    if (text.empty() || text.size() > 6) return -1;
    for (const char16_t c : text) {
        if (!IsAsciiDigit(c)) return -1;
        number = number * 10 + (c - u'0');
    }
    return number;
}

// What can be filled in; radio buttons are so together.
bool IsField(const Dialog& dialog, const Control& control) {
    switch (control.row.kind) {
        case CONTROL_LABEL:
        case CONTROL_RADIO:
        case CONTROL_BUTTON:
        case CONTROL_PAGES:
        case CONTROL_PAGE: return false;
        case CONTROL_PAINTED: return HasItems(control.row);
        case CONTROL_GROUP:
            for (const Control& inside : dialog.controls)
                if (inside.row.kind == CONTROL_RADIO && inside.row.container == control.row.id) return true;
            return false;
        default: return true;
    }
}

// A number below those of controls counts what can be filled in, from 0.
Control* FindByNumber(Dialog& dialog, i32 number) {
    if (number >= FIRST_CONTROL) return FindControl(dialog, number);
    for (Control& control : dialog.controls)
        if (IsField(dialog, control) && number-- == 0) return &control;
    return nullptr;
}

// Pages may name their controls alike: what can be seen goes first.
Control* FindByName(Dialog& dialog, WideView name) {
    WideText label;
    for (const bool seen : {true, false}) {
        for (u32 i = 0; i < dialog.controls.Count(); ++i) {
            Control& control = dialog.controls[i];
            const bool taking = control.row.kind != CONTROL_LABEL && control.row.kind != CONTROL_PAGE;
            if (taking && (!seen || IsControlVisible(dialog, control)) && PlainControlLabel(dialog, i, label) &&
                !label.IsEmpty() && IsNamed(label, name))
                return &control;
        }
    }
    const i32 number = SmallNumber(name);
    return number >= 0 ? FindByNumber(dialog, number) : nullptr;
}

i32 FindItem(const Control& control, WideView name) {
    for (u32 i = 0; i < control.items.Count(); ++i)
        if (IsNamed(control.items[i].text, name)) return static_cast<i32>(i);
    return SmallNumber(name);
}

// Of the controls of a kind inside a container, the one that is named, or numbered from 0.
Control* FindInside(Dialog& dialog, const Control& container, ControlKind kind, WideView name) {
    const i32 wanted = SmallNumber(name);
    i32 number = 0;
    for (Control& control : dialog.controls) {
        if (control.row.kind != kind || control.row.container != container.row.id) continue;
        if (IsNamed(control.label, name) || number == wanted) return &control;
        ++number;
    }
    return nullptr;
}

// What a control shows afterwards tells whether it took the value.
bool Enter(Dialog& dialog, Control& control, WideView value) {
    const i32 id = control.row.id;
    if (!IsControlReachable(dialog, control)) return false;
    switch (control.row.kind) {
        case CONTROL_COMBO:
            if (const i32 item = FindItem(control, value);
                item >= 0 && static_cast<u32>(item) < control.items.Count()) {
                UserChooses(dialog, id, item);
                return true;
            }
            [[fallthrough]];
        case CONTROL_EDIT:
        case CONTROL_MULTILINE:
        case CONTROL_SECRET:
        case CONTROL_REFERENCE: UserEdits(dialog, id, value); return true;
        case CONTROL_RADIO: UserChooses(dialog, id, 1); return true;
        case CONTROL_BUTTON: UserPresses(dialog, id); return true;
        case CONTROL_CHECK:
        case CONTROL_SPIN:
        case CONTROL_SCROLL: {
            const i32 wanted = SmallNumber(value);
            UserChooses(dialog, id, wanted);
            return wanted >= 0 && control.choice == wanted;
        }
        case CONTROL_LIST:
        case CONTROL_PAINTED:
        case CONTROL_DROP_LIST: {
            const i32 item = FindItem(control, value);
            UserChooses(dialog, id, item);
            return item >= 0 && static_cast<u32>(item) < control.items.Count() &&
                   control.items[static_cast<u32>(item)].enabled;
        }
        case CONTROL_GROUP: {
            Control* radio = FindInside(dialog, control, CONTROL_RADIO, value);
            return radio && Enter(dialog, *radio, value);
        }
        case CONTROL_PAGES: {
            i32 page = 0;
            for (const Control& each : dialog.controls) {
                if (each.row.kind != CONTROL_PAGE || each.row.container != id) continue;
                if (IsNamed(each.label, value) || SmallNumber(value) == page) {
                    UserChooses(dialog, id, page);
                    return control.choice == page;
                }
                ++page;
            }
            return false;
        }
        case CONTROL_LABEL:
        case CONTROL_PAGE: return false;
    }
    return false;
}

}  // namespace

HeadlessDialogState& HeadlessDialogs() { return state; }
void ResetHeadlessDialogs() { state = HeadlessDialogState(); }

bool PlainControlLabel(const Dialog& dialog, u32 index, WideText& out) {
    const Control& control = dialog.controls[index];
    if (!control.label.IsEmpty()) return PlainLabel(control.label, out);
    out.Truncate(0);
    const bool labelled =
        index > 0 && dialog.controls[index - 1].row.kind == CONTROL_LABEL && control.row.kind != CONTROL_PAGES;
    return !labelled || PlainLabel(dialog.controls[index - 1].label, out);
}

bool FillIn(Dialog& dialog, WideView field, WideView value) {
    Control* control = FindByName(dialog, field);
    return control && Enter(dialog, *control, value);
}

void RunHeadlessDialog(Dialog& dialog) {
    RecordedDialog record;
    record.controls = dialog.controls.Count();
    ++state.depth;
    if (state.whileOpen) state.whileOpen(dialog);
    while (!dialog.ended && state.answersUsed < state.answers.Count()) {
        // Boxes and dialogs that the entries bring may take answers in between.
        const u32 answer = state.answersUsed++;
        for (u32 i = 0; i < state.answers[answer].entries.Count() && !dialog.ended; ++i) {
            const DialogEntry& entry = state.answers[answer].entries[i];
            if (!FillIn(dialog, entry.field, entry.value)) record.understood = false;
        }
        if (dialog.ended) break;
        if (state.answers[answer].accept) UserAccepts(dialog);
        else UserCancels(dialog);
        if (!state.answers[answer].accept) break;
    }
    if (!dialog.ended) EndDialog(dialog, false);
    --state.depth;
    record.accepted = dialog.accepted;
    if (record.title.Assign(dialog.title)) IgnoreFailure(state.shown.Append(std::move(record)));
}

void ShowHeadlessDialog(Dialog& dialog) { IgnoreFailure(state.open.Append(&dialog)); }

void SyncHeadlessDialog(Dialog& dialog) {
    for (Control& control : dialog.controls) control.stale = control.itemsStale = false;
}

void SettleOpenDialogs() {
    for (u32 i = state.open.Count(); i-- > 0;) {
        Dialog& dialog = *state.open[i];
        if (!dialog.ended) continue;
        state.open.RemoveAt(i);
        FinishDialog(dialog);
    }
}

bool AnswerDialog(bool accept) {
    DialogAnswer answer;
    answer.accept = accept;
    return state.answers.Append(std::move(answer));
}

bool EnterInDialog(WideView field, WideView value) {
    DialogEntry entry;
    return !state.answers.IsEmpty() && entry.field.Assign(field) && entry.value.Assign(value) &&
           state.answers.Last().entries.Append(std::move(entry));
}

}  // namespace tally
