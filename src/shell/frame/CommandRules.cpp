// What holds of the book, the sheet and the selection, for the commands that need it.

#include "editing/SheetOperations.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Tables.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

bool OtherVisibleSheet() {
    const i32 book = CurrentBook(), current = CurrentWorkbook()->currentSheet;
    return NextSheet(book) != current || PreviousSheet(book) != current;
}

bool HiddenSheet() {
    for (const Sheet* sheet : CurrentWorkbook()->sheets)
        if (sheet->hidden && sheet->kind != SHEET_MODULE) return true;
    return false;
}

u32 RulesOfSheet(const Sheet* sheet) {
    if (!sheet) return 0;
    u32 rules = sheet->viewFlags & VIEW_PROTECTED && HasCells(sheet) ? 0 : u32{NEEDS_UNLOCKED};
    if (!HasCells(sheet)) return rules;
    rules |= NEEDS_SHEET;
    if (sheet->selectedObject < 0 || sheet->kind == SHEET_MACRO) rules |= NEEDS_GRID;
    if (sheet->kind == SHEET_WORKSHEET) rules |= NEEDS_WORKSHEET;
    const RefArea& area = sheet->view.selection;
    const bool columns = area.firstRow == 0 && area.lastRow == MAX_ROWS - 1;
    const bool rows = area.firstColumn == 0 && area.lastColumn == MAX_COLUMNS - 1;
    if (!columns) rules |= NOT_COLUMNS;
    if (!rows) rules |= NOT_ROWS;
    if (sheet->filterState) rules |= NEEDS_FILTER;
    if (!sheet->filterState || rows || columns) rules |= NO_FILTERED_RANGE;
    return rules;
}

}  // namespace

u32 RulesThatHold(u32 asked) {
    u32 rules = IsEditing() ? u32{NEEDS_EDITING} : u32{NOT_EDITING};
    // These cost something, or another program has to answer.
    if ((asked & NEEDS_UNDO) && (IsEditing() ? ShellPlatform().editCanUndo(ENTRY_LINE) : UndoCount() > 0))
        rules |= NEEDS_UNDO;
    if ((asked & NEEDS_CLIPBOARD) && CanPaste()) rules |= NEEDS_CLIPBOARD;
    const Workbook* book = CurrentWorkbook();
    if (!book) return rules & asked;
    rules |= NEEDS_BOOK | RulesOfSheet(CurrentSheet());
    if ((asked & OTHER_SHEET) && OtherVisibleSheet()) rules |= OTHER_SHEET;
    if ((asked & MAY_DELETE_SHEET) && CanDeleteSheet(CurrentBook(), book->currentSheet))
        rules |= MAY_DELETE_SHEET;
    if ((asked & HIDDEN_SHEET) && HiddenSheet()) rules |= HIDDEN_SHEET;
    return rules & asked;
}

}  // namespace tally
