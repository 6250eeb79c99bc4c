// The names of a book: what each stands for, new ones, and ones that go.

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { NAME_LABEL = 100, NAME, NAMES, SIDE, ADD, REMOVE, REFERS_LABEL, REFERS };

constexpr ControlRow rows[] = {
    {.id = NAME_LABEL, .kind = CONTROL_LABEL, .text = MSG_NAMES_NAME, .cell = {0, 0}},
    {.id = NAME, .kind = CONTROL_EDIT, .cell = {1, 0}, .width = 34},
    {.id = NAMES, .kind = CONTROL_LIST, .cell = {2, 0}, .width = 34, .lines = 8},
    {.id = SIDE, .kind = CONTROL_PAGE, .cell = {1, 1, 1, 2}, .flags = CONTROL_NATURAL},
    {.id = ADD, .kind = CONTROL_BUTTON, .text = MSG_NAMES_ADD, .cell = {0, 0}, .container = SIDE},
    {.id = REMOVE, .kind = CONTROL_BUTTON, .text = MSG_NAMES_DELETE, .cell = {1, 0}, .container = SIDE},
    {.id = REFERS_LABEL, .kind = CONTROL_LABEL, .text = MSG_NAMES_REFERS_TO, .cell = {3, 0, 2}},
    {.id = REFERS, .kind = CONTROL_REFERENCE, .cell = {4, 0, 2}, .width = 44},
};

// The question and the rows of the names that are listed.
struct OpenNames {
    NamesQuestion& question;
    Array<i32> listed;
};

// What memory has no room for is not listed.
bool FillNames(Dialog& dialog, OpenNames& open) {
    ClearControlItems(dialog, NAMES);
    open.listed.Truncate(0);
    const i32 book = open.question.seen.book;
    WideText label;
    for (u32 i = 0; i < BookAt(book)->names.Count(); ++i) {
        if (!IsListedName(BookAt(book)->names[i])) continue;
        if (!NameLabel(book, static_cast<i32>(i), label) || !open.listed.Append(static_cast<i32>(i)) ||
            !AddControlItem(dialog, NAMES, label))
            return false;
    }
    return true;
}

// The row of what stands in the name's line; -1 for a new one.
i32 WrittenName(const Dialog& dialog, const OpenNames& open) {
    const NameRequest& seen = open.question.seen;
    const i32 row = FindWrittenName(seen.book, seen.sheet, ControlText(dialog, NAME));
    return row >= 0 && IsListedName(BookAt(seen.book)->names[static_cast<u32>(row)]) ? row : -1;
}

void FollowName(Dialog& dialog, const OpenNames& open) {
    const i32 row = WrittenName(dialog, open);
    i32 choice = -1;
    for (u32 i = 0; i < open.listed.Count(); ++i)
        if (open.listed[i] == row) choice = static_cast<i32>(i);
    SetControlChoice(dialog, NAMES, row < 0 ? -1 : choice);
    EnableControl(dialog, ADD, !ControlText(dialog, NAME).empty());
    EnableControl(dialog, REMOVE, row >= 0);
}

void ShowChosen(Dialog& dialog, const OpenNames& open) {
    const i32 choice = ControlChoice(dialog, NAMES);
    if (choice < 0 || static_cast<u32>(choice) >= open.listed.Count()) return;
    const i32 row = open.listed[static_cast<u32>(choice)];
    const NameRequest& seen = open.question.seen;
    WideText label, formula;
    if (!NameLabel(seen.book, row, label) || !NameFormula(seen.book, row, seen.row, seen.column, formula))
        return;
    IgnoreFailure(SetControlText(dialog, NAME, label) && SetControlText(dialog, REFERS, formula));
    FollowName(dialog, open);
}

// What stands in the two lines becomes a name; a name that already stands for that stays as it is.
bool AddName(Dialog& dialog, OpenNames& open) {
    NameRequest request = open.question.seen;
    request.name = ControlText(dialog, NAME);
    request.formula = ControlText(dialog, REFERS);
    const i32 row = WrittenName(dialog, open);
    WideText formula, label;
    const bool same = row >= 0 && NameLabel(request.book, row, label) && label == request.name &&
                      NameFormula(request.book, row, request.row, request.column, formula) &&
                      formula == request.formula;
    if (same) return true;
    u16 fault = 0;
    if (open.question.define(request, fault)) return true;
    SelectControlText(dialog, fault == MSG_FORMULA_ERROR ? REFERS : NAME);
    return false;
}

void Press(Dialog& dialog, i32 button, OpenNames& open) {
    if (button == ADD && !AddName(dialog, open)) return;
    if (button == REMOVE) {
        const i32 row = WrittenName(dialog, open);
        if (row < 0) return;
        open.question.remove(open.question.seen.book, row);
        IgnoreFailure(SetControlText(dialog, NAME, {}) &&
                      SetControlText(dialog, REFERS, open.question.formula));
    }
    IgnoreFailure(FillNames(dialog, open));
    FollowName(dialog, open);
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    auto& open = *static_cast<OpenNames*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START:
            if (!FillNames(dialog, open) || !SetControlText(dialog, REFERS, open.question.formula))
                return false;
            FollowName(dialog, open);
            return true;
        case DIALOG_CHANGED:
            if (event.control == NAME) FollowName(dialog, open);
            if (event.control == NAMES) ShowChosen(dialog, open);
            return true;
        case DIALOG_PRESSED:
            if (event.control == ADD || event.control == REMOVE) Press(dialog, event.control, open);
            return true;
        case DIALOG_ACCEPT: return ControlText(dialog, NAME).empty() || AddName(dialog, open);
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_NAMES_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

void AskNames(NamesQuestion& question) {
    if (!BookAt(question.seen.book)) return;
    OpenNames open{question, {}};
    IgnoreFailure(RunDialog(table, &open));
}

}  // namespace tally
