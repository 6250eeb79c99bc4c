// The place that a sheet, or a copy of it, goes to.

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/dialogs/Questions.h"

namespace tally {
namespace {

enum : i32 { BEFORE_LABEL = 100, BEFORE, COPY };

constexpr ControlRow rows[] = {
    {.id = BEFORE_LABEL, .kind = CONTROL_LABEL, .text = MSG_MOVE_SHEET_BEFORE, .cell = {0, 0}},
    {.id = BEFORE, .kind = CONTROL_LIST, .cell = {1, 0}, .width = 34, .lines = 8},
    {.id = COPY, .kind = CONTROL_CHECK, .text = MSG_MOVE_SHEET_COPY, .cell = {2, 0}},
};

struct Asked {
    const Workbook& book;
    MoveSheetChoice& choice;
};

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    const auto& asked = *static_cast<Asked*>(dialog.context);
    switch (event.kind) {
        case DIALOG_START:
            for (const Sheet* sheet : asked.book.sheets)
                if (!AddControlItem(dialog, BEFORE, WideView(sheet->name))) return false;
            if (!AddControlItem(dialog, BEFORE, Message(MSG_MOVE_SHEET_TO_END))) return false;
            SetControlChoice(dialog, BEFORE, asked.book.currentSheet);
            return true;
        case DIALOG_ACCEPT:
            asked.choice = {ControlChoice(dialog, BEFORE), IsChecked(dialog, COPY)};
            return asked.choice.before >= 0;
        default: return true;
    }
}
constexpr DialogTable table = {.title = MSG_MOVE_SHEET_TITLE, .rows = rows, .procedure = Procedure};

}  // namespace

bool AskMoveSheet(i32 book, MoveSheetChoice& choice) {
    if (!BookAt(book)) return false;
    Asked asked{*BookAt(book), choice};
    return RunDialog(table, &asked);
}

}  // namespace tally
