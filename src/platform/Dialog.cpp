#include "platform/Dialog.h"

#include <algorithm>

#include "platform/ShellPlatform.h"

namespace tally {
namespace {

const Control* ControlAt(const Dialog& dialog, i32 index) {
    return index < 0 ? nullptr : &dialog.controls[static_cast<u32>(index)];
}

bool IsTyped(ControlKind kind) {
    return kind == CONTROL_EDIT || kind == CONTROL_MULTILINE || kind == CONTROL_SECRET ||
           kind == CONTROL_COMBO || kind == CONTROL_REFERENCE;
}

// The radio buttons that exclude each other stand one behind the other in one container.
void RadioRow(const Dialog& dialog, u32 member, u32& first, u32& end) {
    const auto belongs = [&](u32 i) {
        return dialog.controls[i].row.kind == CONTROL_RADIO &&
               dialog.controls[i].container == dialog.controls[member].container;
    };
    first = member;
    end = member + 1;
    while (first > 0 && !(dialog.controls[first].row.flags & CONTROL_NEW_SET) && belongs(first - 1)) --first;
    while (end < dialog.controls.Count() && belongs(end) && !(dialog.controls[end].row.flags & CONTROL_NEW_SET))
        ++end;
}

u32 IndexOf(const Dialog& dialog, const Control& control) {
    return static_cast<u32>(&control - dialog.controls.begin());
}

void ChooseRadio(Dialog& dialog, Control& control) {
    u32 first = 0, end = 0;
    RadioRow(dialog, IndexOf(dialog, control), first, end);
    for (u32 i = first; i < end; ++i) {
        Control& member = dialog.controls[i];
        const i32 choice = &member == &control;
        member.stale |= member.choice != choice;
        member.choice = choice;
    }
}

void StoreChoice(Dialog& dialog, Control& control, i32 choice) {
    if (control.row.kind == CONTROL_RADIO) return ChooseRadio(dialog, control);
    control.stale = true;
    control.choice = choice;
}

i32 CountPages(const Dialog& dialog, const Control& pages) {
    i32 count = 0;
    for (const Control& control : dialog.controls)
        count += control.row.kind == CONTROL_PAGE && ControlAt(dialog, control.container) == &pages;
    return count;
}

// Which of its pages a page is.
i32 PageNumber(const Dialog& dialog, const Control& page) {
    i32 number = 0;
    for (const Control& control : dialog.controls) {
        if (&control == &page) break;
        number += control.row.kind == CONTROL_PAGE && control.container == page.container;
    }
    return number;
}

bool MayChoose(const Dialog& dialog, const Control& control, i32 choice) {
    switch (control.row.kind) {
        case CONTROL_CHECK: return choice == 0 || choice == 1;
        case CONTROL_RADIO: return true;
        case CONTROL_SPIN:
        case CONTROL_SCROLL: return choice >= control.minimum && choice <= control.maximum;
        case CONTROL_PAGES: return choice >= 0 && choice < CountPages(dialog, control);
        default:
            return HasItems(control.row) && choice >= 0 && static_cast<u32>(choice) < control.items.Count() &&
                   control.items[static_cast<u32>(choice)].enabled;
    }
}

Control* Reachable(Dialog& dialog, i32 id) {
    Control* control = dialog.ended ? nullptr : FindControl(dialog, id);
    return control && IsControlReachable(dialog, *control) ? control : nullptr;
}

}  // namespace

Control* FindControl(Dialog& dialog, i32 id) {
    return const_cast<Control*>(FindControl(static_cast<const Dialog&>(dialog), id));
}

const Control* FindControl(const Dialog& dialog, i32 id) {
    for (const Control& control : dialog.controls)
        if (control.row.id == id && id != 0) return &control;
    return nullptr;
}

WideView ControlText(const Dialog& dialog, i32 id) {
    const Control* control = FindControl(dialog, id);
    return control ? control->text.View() : WideView();
}

i32 ControlChoice(const Dialog& dialog, i32 id) {
    const Control* control = FindControl(dialog, id);
    return control ? control->choice : -1;
}

bool IsChecked(const Dialog& dialog, i32 id) { return ControlChoice(dialog, id) > 0; }

bool HasItems(const ControlRow& row) {
    return row.kind == CONTROL_LIST || row.kind == CONTROL_DROP_LIST || row.kind == CONTROL_COMBO ||
           (row.kind == CONTROL_PAINTED && (row.flags & CONTROL_PICKER));
}

i32 ChosenRadio(const Dialog& dialog, i32 id) {
    const Control* control = FindControl(dialog, id);
    if (!control || control->row.kind != CONTROL_RADIO) return 0;
    u32 first = 0, end = 0;
    RadioRow(dialog, IndexOf(dialog, *control), first, end);
    for (u32 i = first; i < end; ++i)
        if (dialog.controls[i].choice) return dialog.controls[i].row.id;
    return 0;
}

bool SetControlText(Dialog& dialog, i32 id, WideView text) {
    Control* control = FindControl(dialog, id);
    if (!control || control->text.View() == text) return true;
    control->stale = true;
    return control->text.Assign(text);
}

bool SetControlLabel(Dialog& dialog, i32 id, WideView label) {
    Control* control = FindControl(dialog, id);
    if (!control || control->label.View() == label) return true;
    control->stale = true;
    return control->label.Assign(label);
}

bool AddControlItem(Dialog& dialog, i32 id, WideView text, bool enabled) {
    Control* control = FindControl(dialog, id);
    if (!control) return true;
    DialogItem item;
    item.enabled = enabled;
    control->stale = control->itemsStale = true;
    return item.text.Assign(text) && control->items.Append(std::move(item));
}

void ClearControlItems(Dialog& dialog, i32 id) {
    Control* control = FindControl(dialog, id);
    if (!control) return;
    control->items.Truncate(0);
    control->choice = -1;
    control->stale = control->itemsStale = true;
}

void SetControlChoice(Dialog& dialog, i32 id, i32 choice) {
    Control* control = FindControl(dialog, id);
    if (control && (control->choice != choice || control->row.kind == CONTROL_RADIO))
        StoreChoice(dialog, *control, choice);
}

void SetControlRange(Dialog& dialog, i32 id, i32 minimum, i32 maximum) {
    Control* control = FindControl(dialog, id);
    if (!control) return;
    control->stale = true;
    control->minimum = minimum;
    control->maximum = std::max(minimum, maximum);
    control->choice = std::clamp(control->choice, control->minimum, control->maximum);
}

void EnableControl(Dialog& dialog, i32 id, bool enabled) {
    Control* control = FindControl(dialog, id);
    if (!control || control->enabled == enabled) return;
    control->enabled = enabled;
    control->stale = true;
}

void ShowControl(Dialog& dialog, i32 id, bool shown) {
    Control* control = FindControl(dialog, id);
    if (!control || control->shown == shown) return;
    control->shown = shown;
    control->stale = true;
}

void SelectControlText(Dialog& dialog, i32 id) {
    Control* control = FindControl(dialog, id);
    if (!control) return;
    control->selectStart = 0;
    control->selectEnd = static_cast<i32>(control->text.Length());
    control->stale = true;
    dialog.focus = id;
}

void RepaintControl(Dialog& dialog, i32 id) {
    if (Control* control = FindControl(dialog, id)) control->stale = true;
}

void EndDialog(Dialog& dialog, bool accepted) {
    dialog.ended = true;
    dialog.accepted = accepted;
}

bool IsControlVisible(const Dialog& dialog, const Control& control) {
    if (dialog.shrunkTo && dialog.shrunkTo != control.row.id) return false;
    for (const Control* at = &control; at; at = ControlAt(dialog, at->container)) {
        if (!at->shown) return false;
        if (at->row.kind != CONTROL_PAGE) continue;
        const Control* pages = ControlAt(dialog, at->container);
        if (pages && pages->choice != PageNumber(dialog, *at)) return false;
    }
    return true;
}

bool IsControlReachable(const Dialog& dialog, const Control& control) {
    for (const Control* at = &control; at; at = ControlAt(dialog, at->container))
        if (!at->enabled) return false;
    return IsControlVisible(dialog, control);
}

bool SendDialogEvent(Dialog& dialog, const DialogEvent& event) {
    return !dialog.table->procedure || dialog.table->procedure(dialog, event);
}

void FinishDialog(Dialog& dialog) {
    dialog.focus = 0;
    FrameCallsInUse().dialogFocused(dialog);
    IgnoreFailure(SendDialogEvent(dialog, {.kind = DIALOG_END, .value = dialog.accepted}));
}

void UserEdits(Dialog& dialog, i32 id, WideView text) {
    Control* control = Reachable(dialog, id);
    if (!control || !IsTyped(control->row.kind) || control->text.View() == text) return;
    // What the toolkit shows already is not stale.
    if (!control->text.Assign(text)) return;
    if (control->row.kind == CONTROL_COMBO) control->choice = -1;
    IgnoreFailure(SendDialogEvent(dialog, {.kind = DIALOG_CHANGED, .control = id}));
}

void UserChooses(Dialog& dialog, i32 id, i32 choice) {
    Control* control = Reachable(dialog, id);
    if (!control || !MayChoose(dialog, *control, choice)) return;
    // The toolkit may show the choice already, which a refusal takes back.
    control->stale = true;
    if (control->row.kind == CONTROL_PAGES && control->choice != choice &&
        !SendDialogEvent(dialog, {.kind = DIALOG_PAGE_LEFT, .control = id, .value = choice}))
        return;
    StoreChoice(dialog, *control, choice);
    if (control->row.kind == CONTROL_COMBO &&
        !control->text.Assign(control->items[static_cast<u32>(choice)].text))
        return;
    IgnoreFailure(SendDialogEvent(dialog, {.kind = DIALOG_CHANGED, .control = id, .value = choice}));
}

void UserPresses(Dialog& dialog, i32 id) {
    const Control* control = Reachable(dialog, id);
    if (!control || control->row.kind != CONTROL_BUTTON) return;
    if (id == IDOK) return UserAccepts(dialog);
    if (id == IDCANCEL) return UserCancels(dialog);
    IgnoreFailure(SendDialogEvent(dialog, {.kind = DIALOG_PRESSED, .control = id}));
}

void UserDoubleClicks(Dialog& dialog, i32 id) {
    if (!Reachable(dialog, id)) return;
    if (SendDialogEvent(dialog, {.kind = DIALOG_DOUBLE_CLICK, .control = id})) UserAccepts(dialog);
}

void UserFocuses(Dialog& dialog, i32 id) {
    if (!Reachable(dialog, id)) return;
    dialog.focus = id;
    FrameCallsInUse().dialogFocused(dialog);
    IgnoreFailure(SendDialogEvent(dialog, {.kind = DIALOG_FOCUS, .control = id}));
}

void UserShrinks(Dialog& dialog, i32 id) {
    const Control* control = FindControl(dialog, id);
    if (!control || control->row.kind != CONTROL_REFERENCE) return;
    if (!dialog.shrunkTo && !IsControlReachable(dialog, *control)) return;
    dialog.shrunkTo = dialog.shrunkTo == id ? 0 : id;
    dialog.focus = id;
    FrameCallsInUse().layOutDialog(dialog);
}

void UserAccepts(Dialog& dialog) {
    // Enter in a shrunken dialog brings the whole of it back.
    if (dialog.shrunkTo) return UserShrinks(dialog, dialog.shrunkTo);
    const Control* ok = FindControl(dialog, IDOK);
    if (dialog.ended || (ok && !IsControlReachable(dialog, *ok))) return;
    if (SendDialogEvent(dialog, {.kind = DIALOG_ACCEPT, .control = IDOK})) EndDialog(dialog, true);
}

void UserCancels(Dialog& dialog) {
    if (dialog.shrunkTo) return UserShrinks(dialog, dialog.shrunkTo);
    if (!dialog.ended && SendDialogEvent(dialog, {.kind = DIALOG_CANCEL, .control = IDCANCEL}))
        EndDialog(dialog, false);
}

}  // namespace tally
