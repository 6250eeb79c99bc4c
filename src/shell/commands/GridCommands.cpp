#include <algorithm>

#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {

void RecordView(i32 kind) { IgnoreFailure(RecordUndo(CurrentBook(), CurrentWorkbook()->currentSheet, kind)); }

// Undo, cut, copy and paste of the entry line.
void EditLineCommand(i32 command) {
    if (!IsEditing()) return;
    EndPoint();
    ShellPlatform().entryAction(static_cast<EntryEditAction>(command - 130));
}

void EditCellCommand(i32) { StartEditAtEnd(); }

void InsertSheetCommand(i32 command) {
    Workbook* book = CurrentWorkbook();
    if (!book || IsEditing()) return;
    const i32 kind = command == 166 ? SHEET_MACRO : SHEET_WORKSHEET;
    if (!InsertSheet(static_cast<i32>(book->sheets.Count()), nullptr, kind, true, true)) return;
    SelectSheet(CurrentWorkbook()->currentSheet);
}

void ClockCommand(i32 command) { InsertClock(command == 171); }

void EntryBarCommand(i32 command) {
    if (!IsEditing()) return;
    switch (command) {
        case 439: CancelEntry(); break;
        case 440:
            if (!RefuseActiveArray()) IgnoreFailure(CommitEntry(false, false));
            break;
        case 441:
        case 442:
            if (!RefuseActiveArray()) IgnoreFailure(CommitEntry(command == 441, command == 442));
            break;
        default: InsertLineFeed(); break;
    }
}

void ScreenSidewaysCommand(i32 command) {
    if (CommitBeforeMove()) MoveScreenSideways(command == 444 ? -1 : 1);
}

void HideSheetCommand(i32) {
    Workbook* book = CurrentWorkbook();
    if (!book) return;
    const i32 sheet = book->currentSheet;
    i32 next = NextSheet(CurrentBook());
    if (next == sheet) next = PreviousSheet(CurrentBook());
    if (next == sheet) return;
    IgnoreFailure(RecordUndo(CurrentBook(), sheet, UNDO_HIDE_SHEET));
    book->sheets[static_cast<u32>(sheet)]->hidden = 1;
    book->dirty = 1;
    SelectSheet(next);
}

void ViewFlagCommand(i32 command) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    RecordView(command == 403 ? UNDO_GRIDLINES : command == 404 ? UNDO_HEADERS : UNDO_SHOW_FORMULAS);
    const u16 flag = command == 403 ? VIEW_GRIDLINES : command == 404 ? VIEW_HEADERS : VIEW_FORMULAS;
    sheet->viewFlags = static_cast<u16>(sheet->viewFlags ^ flag);
    CurrentWorkbook()->dirty = 1;
    RefreshChrome();
}

void ZoomCommand(i32 command) {
    constexpr i32 zooms[] = {200, 150, 100, 75};
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    if (command == 409) {
        // The selection as large as the grid allows, in steps of 5.
        const RefArea area = sheet->view.selection;
        i64 width = 0, height = 0;
        for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) width += ColumnPixels(*sheet, c);
        for (i32 r = area.firstRow; r <= area.lastRow; ++r) height += RowPixels(*sheet, r);
        if (!width || !height) return;
        const PixelRect& grid = Shell().layout.grid;
        const i64 zoom = std::min(i64{sheet->zoomPercent} * (grid.right - grid.left) / width,
                                  i64{sheet->zoomPercent} * (grid.bottom - grid.top) / height);
        RecordView(UNDO_ZOOM);
        sheet->zoomPercent = static_cast<i32>(std::clamp<i64>(zoom / 5 * 5, 10, 400));
        RefreshChrome();
        ScrollTo(area.firstRow, area.firstColumn);
    } else {
        RecordView(UNDO_ZOOM);
        sheet->zoomPercent = zooms[command - 405];
    }
    CurrentWorkbook()->dirty = 1;
    RefreshChrome();
}

void BookBarCommand(i32 command) {
    Workbook* book = CurrentWorkbook();
    if (!book) return;
    u32& flag = command == 414   ? book->showVerticalScrollBar
                : command == 415 ? book->showHorizontalScrollBar
                                 : book->showSheetTabs;
    flag = !flag;
    book->dirty = 1;
    RefreshChrome();
}

i32 BandOfCommand(i32 command) {
    switch (command) {
        case 417: return BAND_STANDARD;
        case 418: return BAND_FORMAT;
        case 419: return BAND_FORMULA;
        case 438: return BAND_ENTRY;
        default: return -1;
    }
}

void BarCommand(i32 command) {
    const i32 band = BandOfCommand(command);
    if (band >= 0) Shell().bandHidden[band] = !Shell().bandHidden[band];
    else Shell().statusBarShown = !Shell().statusBarShown;
    RefreshChrome();
}

void FullScreenCommand(i32) {
    Shell().options5 ^= OPTION_FULL_SCREEN;
    ShellPlatform().setFullScreen((Shell().options5 & OPTION_FULL_SCREEN) != 0);
    RefreshChrome();
}

void FreezeCommand(i32) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    SheetView& view = sheet->view;
    if (IsFrozen(*sheet)) {
        RecordView(UNDO_UNFREEZE);
        sheet->viewFlags &= static_cast<u16>(~VIEW_FROZEN);
        view.firstRow = view.frozenFirstRow;
        view.firstColumn = view.frozenFirstColumn;
        view.frozenFirstRow = view.splitRow = 0;
        view.frozenFirstColumn = view.splitColumn = 0;
    } else {
        i32 row = view.activeRow, column = view.activeColumn;
        if (const RefArea* merge = FindMerge(*sheet, row, column)) {
            row = merge->firstRow;
            column = merge->firstColumn;
        }
        if (row == view.firstRow && column == view.firstColumn) {
            RefreshChrome();
            return;
        }
        RecordView(UNDO_FREEZE);
        sheet->viewFlags |= VIEW_FROZEN;
        view.splitRow = static_cast<u16>(row > view.firstRow ? row : 0);
        view.splitColumn = static_cast<u8>(column > view.firstColumn ? column : 0);
        view.frozenFirstRow = view.splitRow == view.firstRow ? u16{0} : view.firstRow;
        view.frozenFirstColumn = view.splitColumn == view.firstColumn ? u8{0} : view.firstColumn;
        view.firstRow = static_cast<u16>(row);
        view.firstColumn = static_cast<u8>(column);
    }
    CurrentWorkbook()->dirty = 1;
    RefreshChrome();
}

}  // namespace tally
