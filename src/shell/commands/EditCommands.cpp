// Undo, clearing, inserting and deleting, from the menus.

#include <algorithm>

#include "base/MessageTable.h"
#include "editing/ClearArea.h"
#include "editing/InsertDelete.h"
#include "editing/SheetOperations.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
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

RefArea RowsOf(const RefArea& area) { return {area.firstRow, area.lastRow, 0, MAX_COLUMNS - 1}; }
RefArea ColumnsOf(const RefArea& area) { return {0, MAX_ROWS - 1, area.firstColumn, area.lastColumn}; }

// The way that a selection of whole rows or columns leaves no choice about; else the answer.
CellWay WayFor(const RefArea& area, CellWay (*ask)(), i32 command) {
    if (IsWholeRows(area)) return WAY_WHOLE_ROWS;
    if (IsWholeColumns(area)) return WAY_WHOLE_COLUMNS;
    i32 way = WAY_NONE;
    return RepeatedArgument(command, way) ? static_cast<CellWay>(way) : ask();
}

using CellOperation = bool (*)(const RefArea& area);

// A command that makes room, or closes it, sideways or up and down.
void MoveCells(i32 command, CellWay (*ask)(), CellOperation sideways, CellOperation upright) {
    const RefArea area = CurrentSheet()->view.selection;
    bool done = false;
    const CellWay way = WayFor(area, ask, command);
    switch (way) {
        case WAY_COLUMNS_SIDEWAYS: done = sideways(area); break;
        case WAY_ROWS_DOWN: done = upright(area); break;
        case WAY_WHOLE_ROWS: done = upright(RowsOf(area)); break;
        case WAY_WHOLE_COLUMNS: done = sideways(ColumnsOf(area)); break;
        case WAY_NONE: return;
    }
    if (!done) return;
    NoteRepeatable(command, way);
    ShowOperation();
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
    const RefArea area = CurrentSheet()->view.selection;
    if (command == 161 ? InsertRowsOrCellsDown(RowsOf(area)) : InsertColumnsOrCellsRight(ColumnsOf(area)))
        ShowOperation();
}

void InsertCellsCommand(i32 command) {
    MoveCells(command, AskInsertWay, InsertColumnsOrCellsRight, InsertRowsOrCellsDown);
}
void DeleteCommand(i32 command) {
    MoveCells(command, AskDeleteWay, DeleteColumnsOrCellsLeft, DeleteRowsOrCellsUp);
}

void DeleteSheetCommand(i32) {
    if (DeleteSheet(CurrentWorkbook()->currentSheet, -1)) ShowOperation();
}

void PlaceCurrentSheet(i32 before, bool copy) {
    const i32 sheet = CurrentWorkbook()->currentSheet;
    if (copy ? CopySheet(before) : MoveSheet(CurrentBook(), sheet, before)) ShowOperation();
}

void MoveSheetCommand(i32) {
    MoveSheetChoice choice;
    if (AskMoveSheet(CurrentBook(), choice) && CurrentWorkbook()) PlaceCurrentSheet(choice.before, choice.copy);
}

}  // namespace tally
