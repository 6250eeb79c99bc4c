#include "shell/dialogs/Dialogs.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// Number of what holds the standard buttons; a table has no such row.
constexpr i32 BUTTON_ROW = -1;

bool AppendControl(Dialog& dialog, const ControlRow& row) {
    Control* control = dialog.controls.AppendDefault();
    if (!control) return false;
    control->row = row;
    control->enabled = !(row.flags & CONTROL_GREY);
    control->shown = !(row.flags & CONTROL_HIDDEN);
    if (HasItems(row)) control->choice = -1;
    for (u32 i = 0; i + 1 < dialog.controls.Count(); ++i)
        if (row.container && dialog.controls[i].row.id == row.container)
            control->container = static_cast<i32>(i);
    return !row.text || control->label.Assign(Message(row.text));
}

// A container of its own holds the buttons, so that they stand side by side at the right beneath all else.
bool AppendButtons(Dialog& dialog) {
    if (dialog.table->buttons == BUTTONS_NONE) return true;
    i16 row = 0, columns = 1;
    for (const Control& control : dialog.controls) {
        if (control.container >= 0) continue;
        row = std::max<i16>(row, static_cast<i16>(control.row.cell.row + control.row.cell.rows));
        columns = std::max<i16>(columns, static_cast<i16>(control.row.cell.column + control.row.cell.columns));
    }
    const ControlRow strip = {.id = BUTTON_ROW,
                              .kind = CONTROL_PAGE,
                              .cell = {row, 0, columns, 1},
                              .flags = CONTROL_NATURAL | CONTROL_RIGHT};
    const bool ok = dialog.table->buttons == BUTTONS_OK_CANCEL;
    if (!AppendControl(dialog, strip)) return false;
    if (ok && !AppendControl(dialog, {.id = IDOK,
                                      .kind = CONTROL_BUTTON,
                                      .text = MSG_BUTTON_OK,
                                      .cell = {0, 0},
                                      .container = BUTTON_ROW,
                                      .flags = CONTROL_DEFAULT}))
        return false;
    return AppendControl(dialog, {.id = IDCANCEL,
                                  .kind = CONTROL_BUTTON,
                                  .text = ok ? u16{MSG_BUTTON_CANCEL} : u16{MSG_BUTTON_CLOSE},
                                  .cell = {0, 1},
                                  .container = BUTTON_ROW});
}

// While a modal dialog is open; the sheet that it was opened over comes back, wherever a reference was picked.
struct ModalScope {
    explicit ModalScope(Dialog& dialog)
        : outer(Shell().modal), book(CurrentBook()), sheet(CurrentSheetIndex()) {
        Shell().modal = &dialog;
    }
    ~ModalScope() {
        Shell().modal = outer;
        if (book != CurrentBook() && BookAt(book)) SelectBook(book);
        if (sheet != CurrentSheetIndex()) SelectSheet(sheet);
    }
    ModalScope(const ModalScope&) = delete;
    ModalScope& operator=(const ModalScope&) = delete;
    static i32 CurrentSheetIndex() { return CurrentWorkbook() ? CurrentWorkbook()->currentSheet : -1; }
    Dialog* outer;
    i32 book, sheet;
};

}  // namespace

bool BuildDialog(Dialog& dialog, const DialogTable& table, void* context) {
    dialog.table = &table;
    dialog.context = context;
    if (table.title && !dialog.title.Assign(Message(table.title))) return false;
    for (const ControlRow& row : table.rows)
        if (!AppendControl(dialog, row)) return false;
    return AppendButtons(dialog) && SendDialogEvent(dialog, {.kind = DIALOG_START});
}

bool RunDialog(const DialogTable& table, void* context) {
    Dialog dialog;
    if (!BuildDialog(dialog, table, context)) return false;
    LayOutDialog(dialog);
    const ModalScope scope(dialog);
    ShellPlatform().runDialog(dialog);
    FinishDialog(dialog);
    return dialog.accepted;
}

bool OpenDialog(Dialog& dialog, const DialogTable& table, void* context) {
    dialog = Dialog();
    dialog.modeless = true;
    if (!BuildDialog(dialog, table, context)) return false;
    LayOutDialog(dialog);
    ShellPlatform().showDialog(dialog);
    return true;
}

}  // namespace tally
