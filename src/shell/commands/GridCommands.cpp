#include <algorithm>

#include "editing/ViewOperations.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {

// Undo, cut, copy and paste of the entry line.
void EditLineCommand(i32 command) {
    EndPoint();
    ShellPlatform().editAction(ENTRY_LINE, static_cast<EditAction>(command - 130));
}

void EditCellCommand(i32) { StartEditAtEnd(); }

void InsertSheetCommand(i32 command) {
    const Workbook* book = CurrentWorkbook();
    const i32 kind = command == 166 ? SHEET_MACRO : SHEET_WORKSHEET;
    if (!InsertSheet(static_cast<i32>(book->sheets.Count()), nullptr, kind, true, true)) return;
    SelectSheet(CurrentWorkbook()->currentSheet);
}

void ClockCommand(i32 command) { InsertClock(command == 171); }

void EntryBarCommand(i32 command) {
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

void ViewFlagCommand(i32 command) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const u16 flag = command == 403 ? VIEW_GRIDLINES : command == 404 ? VIEW_HEADERS : VIEW_FORMULAS;
    if (SetViewFlag({CurrentBook(), sheet->index, flag, !(sheet->viewFlags & flag)})) RefreshChrome();
}

// The selection as large as the grid allows, in steps of 5; 0 for one without a size.
static i32 FittingZoom(const Sheet& sheet, const RefArea& area) {
    i64 width = 0, height = 0;
    for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) width += ColumnPixels(sheet, c);
    for (i32 r = area.firstRow; r <= area.lastRow; ++r) height += RowPixels(sheet, r);
    if (!width || !height) return 0;
    const PixelRect& grid = Shell().layout.grid;
    const i64 zoom = std::min(i64{sheet.zoomPercent} * (grid.right - grid.left) / width,
                              i64{sheet.zoomPercent} * (grid.bottom - grid.top) / height);
    return static_cast<i32>(std::clamp<i64>(zoom / 5 * 5, MIN_ZOOM, MAX_ZOOM));
}

void ZoomCommand(i32 command) {
    constexpr i32 zooms[] = {200, 150, 100, 75};
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const RefArea area = sheet->view.selection;
    const bool fits = command == 409;
    const i32 zoom = fits ? FittingZoom(*sheet, area) : zooms[command - 405];
    if (!SetZoom(CurrentBook(), sheet->index, zoom)) return;
    RefreshChrome();
    if (fits) ScrollTo(area.firstRow, area.firstColumn);
}

void BookBarCommand(i32 command) {
    const Workbook* book = CurrentWorkbook();
    if (!book) return;
    const auto bar = static_cast<BookBar>(command - 414);
    ShowBookBar(CurrentBook(), bar, !IsBookBarShown(*book, bar));
    RefreshChrome();
}

void FreezeCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const SheetView& view = sheet->view;
    // A cell that nothing can be frozen at only has the view laid out anew.
    if (IsFrozen(*sheet)) IgnoreFailure(UnfreezePanes(CurrentBook(), sheet->index));
    else IgnoreFailure(FreezePanes({CurrentBook(), sheet->index, view.activeRow, view.activeColumn}));
    RefreshChrome();
}

}  // namespace tally
