// Undo, clearing, inserting and deleting, from the menus.

#include <algorithm>

#include "base/MessageTable.h"
#include "editing/ClearArea.h"
#include "editing/InsertDelete.h"
#include "editing/SheetOperations.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "platform/Forms.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// After an operation that may have changed anything of the current book.
void ShowOperation() {
    const Workbook* book = CurrentWorkbook();
    if (!book) return;
    UpdateTitle();
    SelectSheet(book->currentSheet);
    InvalidateAll();
}

// A sheet whose cells may be moved about, or null.
Sheet* OpenSheet() {
    Sheet* sheet = CurrentSheet();
    return HasCells(sheet) && !IsEditing() && !(sheet->viewFlags & VIEW_PROTECTED) ? sheet : nullptr;
}

RefArea RowsOf(const RefArea& area) { return {area.firstRow, area.lastRow, 0, MAX_COLUMNS - 1}; }
RefArea ColumnsOf(const RefArea& area) { return {0, MAX_ROWS - 1, area.firstColumn, area.lastColumn}; }

// The four ways of the two dialogs, in their order.
enum CellWay : i32 { WAY_COLUMNS_SIDEWAYS, WAY_ROWS_DOWN, WAY_WHOLE_ROWS, WAY_WHOLE_COLUMNS };

// What the user chooses among four ways; -1 when cancelled.
i32 AskWay(u16 title, std::span<const u16> ways) {
    Form form;
    if (!form.title.Assign(Message(title)) ||
        !AddMessageChoice(form, FIELD_RADIO, title, ways, WAY_ROWS_DOWN) || !ShowForm(form))
        return -1;
    return form.fields[0].choice;
}

// The way that a selection of whole rows or columns leaves no choice about; else the answer.
i32 WayFor(const RefArea& area, u16 title, std::span<const u16> ways) {
    if (IsWholeRows(area)) return WAY_WHOLE_ROWS;
    if (IsWholeColumns(area)) return WAY_WHOLE_COLUMNS;
    return AskWay(title, ways);
}

}  // namespace

void UndoCommand(i32 command) {
    if (IsEditing()) return EditLineCommand(command);
    const i32 book = CurrentBook();
    if (!UndoLast()) return;
    if (CurrentBook() != book) SelectBook(CurrentBook());
    ShowOperation();
}

void ClearCommand(i32 command) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    const RefArea area = sheet->view.selection;
    constexpr ClearMode modes[] = {CLEAR_ALL, CLEAR_FORMATS, CLEAR_CONTENTS};
    if (RefuseProtected(area) || (command != 141 && RefuseArrayPart(area))) return;
    if (!ClearArea(area, modes[command - 140])) return;
    ShowChangedCells();
}

void InsertLinesCommand(i32 command) {
    const Sheet* sheet = OpenSheet();
    if (!sheet) return;
    const RefArea area = sheet->view.selection;
    if (command == 161 ? InsertRowsOrCellsDown(RowsOf(area)) : InsertColumnsOrCellsRight(ColumnsOf(area)))
        ShowOperation();
}

void InsertCellsCommand(i32) {
    const Sheet* sheet = OpenSheet();
    if (!sheet) return;
    constexpr u16 ways[] = {MSG_INSERT_RIGHT, MSG_INSERT_DOWN, MSG_WAY_ROWS, MSG_WAY_COLUMNS};
    const RefArea area = sheet->view.selection;
    bool done = false;
    switch (WayFor(area, MSG_INSERT_TITLE, ways)) {
        case WAY_COLUMNS_SIDEWAYS: done = InsertColumnsOrCellsRight(area); break;
        case WAY_ROWS_DOWN: done = InsertRowsOrCellsDown(area); break;
        case WAY_WHOLE_ROWS: done = InsertRowsOrCellsDown(RowsOf(area)); break;
        case WAY_WHOLE_COLUMNS: done = InsertColumnsOrCellsRight(ColumnsOf(area)); break;
        default: return;
    }
    if (done) ShowOperation();
}

void DeleteCommand(i32) {
    const Sheet* sheet = OpenSheet();
    if (!sheet) return;
    constexpr u16 ways[] = {MSG_DELETE_LEFT, MSG_DELETE_UP, MSG_WAY_ROWS, MSG_WAY_COLUMNS};
    const RefArea area = sheet->view.selection;
    bool done = false;
    switch (WayFor(area, MSG_DELETE_TITLE, ways)) {
        case WAY_COLUMNS_SIDEWAYS: done = DeleteColumnsOrCellsLeft(area); break;
        case WAY_ROWS_DOWN: done = DeleteRowsOrCellsUp(area); break;
        case WAY_WHOLE_ROWS: done = DeleteRowsOrCellsUp(RowsOf(area)); break;
        case WAY_WHOLE_COLUMNS: done = DeleteColumnsOrCellsLeft(ColumnsOf(area)); break;
        default: return;
    }
    if (done) ShowOperation();
}

void DeleteSheetCommand(i32) {
    const Workbook* book = CurrentWorkbook();
    if (!book || IsEditing() || !CanDeleteSheet(CurrentBook(), book->currentSheet)) return;
    if (DeleteSheet(book->currentSheet, -1)) ShowOperation();
}

void MoveSheetCommand(i32) {
    const Workbook* book = CurrentWorkbook();
    if (!book || IsEditing()) return;
    Form form;
    bool good = form.title.Assign(Message(MSG_MOVE_SHEET_TITLE)) &&
                AddChoice(form, FIELD_LIST, Message(MSG_MOVE_SHEET_BEFORE), {}, book->currentSheet);
    for (const Sheet* sheet : book->sheets) good = good && AddItem(form, WideView(sheet->name));
    if (!good || !AddItem(form, Message(MSG_MOVE_SHEET_TO_END)) ||
        !AddCheck(form, Message(MSG_MOVE_SHEET_COPY), false) || !ShowForm(form))
        return;
    const i32 before = form.fields[0].choice;
    book = CurrentWorkbook();
    if (!book || before < 0) return;
    if (form.fields[1].choice ? CopySheet(before) : MoveSheet(CurrentBook(), book->currentSheet, before))
        ShowOperation();
}

}  // namespace tally
