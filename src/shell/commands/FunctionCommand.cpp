// A chosen function's call in the entry line.

#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/entry/EntryEditor.h"
#include "shell/entry/TypedCall.h"

namespace tally {

void FunctionCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!IsEditing() && (RefuseProtected(sheet->view.selection) || RefuseArrayPart(sheet->view.selection)))
        return;
    u16 row = 0;
    if (AskFunction(sheet->kind == SHEET_WORKSHEET, row) && HasCells(CurrentSheet())) TypeCall(row);
}

}  // namespace tally
