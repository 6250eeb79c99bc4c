// A question that one item of a list answers.

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { LABEL = 100, ITEMS };

constexpr ControlRow rows[] = {
    {.id = LABEL, .kind = CONTROL_LABEL, .cell = {0, 0}},
    {.id = ITEMS, .kind = CONTROL_LIST, .cell = {1, 0}, .width = 30, .lines = 8},
};

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    auto& question = *static_cast<ItemQuestion*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START:
            for (const WideView item : question.items)
                if (!AddControlItem(dialog, ITEMS, item)) return false;
            SetControlChoice(dialog, ITEMS, question.choice);
            return SetControlLabel(dialog, LABEL, Message(question.label)) &&
                   dialog.title.Assign(Message(question.title));
        case DIALOG_ACCEPT: question.choice = ControlChoice(dialog, ITEMS); return question.choice >= 0;
        default: return true;
    }
}
constexpr DialogTable table = {.rows = rows, .procedure = Procedure};

}  // namespace

bool AskItem(ItemQuestion& question) { return RunDialog(table, &question); }

i32 AskHiddenSheet(i32 book) {
    Array<WideView> names;
    Array<i32> hidden;
    if (!BookAt(book)) return -1;
    for (const Sheet* sheet : BookAt(book)->sheets) {
        if (!sheet->hidden || sheet->kind == SHEET_MODULE) continue;
        if (!names.Append(WideView(sheet->name)) || !hidden.Append(sheet->index)) return -1;
    }
    ItemQuestion question = {MSG_UNHIDE_SHEET_TITLE, MSG_UNHIDE_SHEET_LIST, names.Span()};
    return !hidden.IsEmpty() && AskItem(question) ? hidden[static_cast<u32>(question.choice)] : -1;
}

}  // namespace tally
