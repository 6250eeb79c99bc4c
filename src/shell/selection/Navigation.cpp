// What keys do to the active cell and the selection.

#include <algorithm>

#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

bool IsBlankAt(const Sheet& sheet, i32 row, i32 column) {
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    return !cell || (!cell->formula && cell->calcState == CALC_BLANK);
}

bool IsHidden(const Sheet& sheet, i32 row, i32 column) {
    return !GetRowHeight(sheet, row) || !GetColumnWidth(sheet, column);
}

bool OnSheet(i32 row, i32 column) { return row >= 0 && row < MAX_ROWS && column >= 0 && column < MAX_COLUMNS; }

// The next line in a direction that holds a cell with content, or -1.
i32 NextUsed(const Sheet& sheet, i32 row, i32 column, i32 rowStep, i32 columnStep) {
    const CellStore& store = sheet.cells;
    const auto used = [](const CellRecord& cell) { return cell.formula || cell.calcState != CALC_BLANK; };
    if (columnStep) {
        const u32 slot = FindRowSlot(store, row);
        if (slot >= store.rows.Count() || store.rows[slot].row != row) return -1;
        const CellRow& line = store.rows[slot];
        i32 best = -1;
        for (u32 i = 0; i < line.count; ++i) {
            const CellRecord& cell = line.cells[i];
            if (!used(cell) || !GetColumnWidth(sheet, cell.column)) continue;
            if (columnStep > 0 && cell.column > column) return cell.column;
            if (columnStep < 0 && cell.column < column) best = cell.column;
        }
        return best;
    }
    const i32 count = static_cast<i32>(store.rows.Count());
    i32 slot = static_cast<i32>(FindRowSlot(store, rowStep > 0 ? row + 1 : row));
    if (rowStep < 0) --slot;
    for (; slot >= 0 && slot < count; slot += rowStep) {
        const CellRow& line = store.rows[static_cast<u32>(slot)];
        const u32 at = FindInRow(line, column);
        if (at < line.count && line.cells[at].column == column && used(line.cells[at]) &&
            GetRowHeight(sheet, line.row))
            return line.row;
    }
    return -1;
}

// One visible step, over a merge as over one cell. Stays where the sheet ends.
void StepPosition(const Sheet& sheet, i32& row, i32& column, i32 rowStep, i32 columnStep) {
    i32 r = row, c = column;
    if (const RefArea* merge = FindMerge(sheet, row, column)) {
        if (rowStep > 0) r = merge->lastRow;
        if (rowStep < 0) r = merge->firstRow;
        if (columnStep > 0) c = merge->lastColumn;
        if (columnStep < 0) c = merge->firstColumn;
    }
    do {
        r += rowStep;
        c += columnStep;
        if (!OnSheet(r, c)) return;
    } while (rowStep ? !GetRowHeight(sheet, r) : !GetColumnWidth(sheet, c));
    row = r;
    column = c;
    if (const RefArea* merge = FindMerge(sheet, row, column)) {
        row = merge->firstRow;
        column = merge->firstColumn;
    }
}

void ArrowStep(u32 key, i32& rowStep, i32& columnStep) {
    rowStep = key == VK_UP ? -1 : key == VK_DOWN ? 1 : 0;
    columnStep = key == VK_LEFT ? -1 : key == VK_RIGHT ? 1 : 0;
}

// Moves the corner opposite the active cell and rebuilds the selection.
void ExtendTo(i32 row, i32 column) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const SheetView& view = sheet->view;
    const bool wholeRows = view.selection.firstColumn == 0 && view.selection.lastColumn == MAX_COLUMNS - 1;
    const bool wholeColumns = view.selection.firstRow == 0 && view.selection.lastRow == MAX_ROWS - 1;
    RefArea area;
    area.firstRow = static_cast<u16>(std::min<i32>(view.activeRow, row));
    area.lastRow = static_cast<u16>(std::max<i32>(view.activeRow, row));
    area.firstColumn = static_cast<u8>(std::min<i32>(view.activeColumn, column));
    area.lastColumn = static_cast<u8>(std::max<i32>(view.activeColumn, column));
    if (wholeRows && !wholeColumns) area.firstColumn = 0, area.lastColumn = MAX_COLUMNS - 1;
    if (wholeColumns && !wholeRows) area.firstRow = 0, area.lastRow = MAX_ROWS - 1;
    SelectArea(area, false, 0, 0, false);
    Shell().cornerRow = row;
    Shell().cornerColumn = column;
    ScrollIntoView(row, column, !wholeColumns, !wholeRows);
}

bool MoveKey(u32 key, u32 modifiers) {
    const Sheet* sheet = CurrentSheet();
    const bool shift = (modifiers & KEY_SHIFT) != 0;
    const SheetView& view = sheet->view;
    MoveRequest move{key, (modifiers & KEY_CTRL) != 0 || (Shell().endMode && key >= VK_LEFT && key <= VK_DOWN),
                     shift ? Shell().cornerRow : view.activeRow,
                     shift ? Shell().cornerColumn : view.activeColumn};
    const i32 from = move.row;
    if (!MovePosition(*sheet, move)) return false;
    SetEndMode(false);
    if (!move.ctrl && (key == VK_PRIOR || key == VK_NEXT))
        ScrollTo(view.firstRow + (move.row - from), view.firstColumn);
    if (shift) ExtendTo(move.row, move.column);
    else SelectCell(move.row, move.column, true);
    return true;
}

void SelectWhole(bool rows, bool columns) {
    const Sheet* sheet = CurrentSheet();
    RefArea area = sheet->view.selection;
    if (rows) area.firstColumn = 0, area.lastColumn = MAX_COLUMNS - 1;
    if (columns) area.firstRow = 0, area.lastRow = MAX_ROWS - 1;
    SelectArea(area, false, 0, 0, false);
}

void StepBook(bool backward) {
    const i32 count = static_cast<i32>(Books().books.Count());
    if (count < 2 || CurrentBook() < 0) return;
    i32 book = CurrentBook();
    do book = (book + (backward ? count - 1 : 1)) % count;
    while (BookAt(book)->hiddenLink && book != CurrentBook());
    SelectBook(book);
}

bool IsLocked(const Sheet& sheet, i32 row, i32 column);

// The next cell of a rectangle by rows (or by columns), wrapping.
void WalkRectangle(const RefArea& area, i32& row, i32& column, bool byColumn, bool backward) {
    const i32 width = area.lastColumn - area.firstColumn + 1, height = area.lastRow - area.firstRow + 1;
    const i64 count = i64{width} * height;
    i64 at = byColumn ? i64{column - area.firstColumn} * height + (row - area.firstRow)
                      : i64{row - area.firstRow} * width + (column - area.firstColumn);
    at = (at + (backward ? count - 1 : 1)) % count;
    row = area.firstRow + static_cast<i32>(byColumn ? at % height : at / width);
    column = area.firstColumn + static_cast<i32>(byColumn ? at / height : at % width);
}

// Passes the inner cells of merges and hidden lines; on a protected sheet the locked cells as well.
void WalkSelection(const Sheet& sheet, const RefArea& area, bool byColumn, bool backward, bool unlockedOnly,
                   i32& row, i32& column) {
    const i32 startRow = row, startColumn = column;
    for (i64 left = i64{area.lastRow - area.firstRow + 1} * (area.lastColumn - area.firstColumn + 1); left > 0;
         --left) {
        WalkRectangle(area, row, column, byColumn, backward);
        const RefArea* merge = FindMerge(sheet, row, column);
        if (merge && (merge->firstRow != row || merge->firstColumn != column)) continue;
        if (IsHidden(sheet, row, column)) continue;
        if (!unlockedOnly || !IsLocked(sheet, row, column)) return;
    }
    row = startRow;
    column = startColumn;
}

void WalkMove(bool byColumn, bool backward) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const SheetView& view = sheet->view;
    RefArea own{view.activeRow, view.activeRow, view.activeColumn, view.activeColumn};
    WidenOverMerges(*sheet, own);
    const bool many = view.selection != own;
    const bool isProtected = (sheet->viewFlags & VIEW_PROTECTED) != 0;
    i32 row = view.activeRow, column = view.activeColumn;
    if (!many && !isProtected) {
        const i32 step = backward ? -1 : 1;
        StepPosition(*sheet, row, column, byColumn ? step : 0, byColumn ? 0 : step);
        SelectCell(row, column, true);
        return;
    }
    RefArea area = view.selection;
    if (!many) {
        area = {0, static_cast<u16>(LastUsedRow(*sheet)), 0, static_cast<u8>(LastUsedColumn(*sheet))};
        if (!AreaHolds(area, row, column)) row = column = 0;
    }
    WalkSelection(*sheet, area, byColumn, backward, isProtected, row, column);
    if (many) SelectArea(view.selection, true, row, column, true);
    else if (!IsLocked(*sheet, row, column)) SelectCell(row, column, true);
}

bool CtrlKey(u32 key, u32 modifiers) {
    const bool shift = (modifiers & KEY_SHIFT) != 0;
    switch (key) {
        case VK_SPACE: SelectWhole(shift, true); return true;
        case 'A': SelectWhole(true, true); return true;
        case 'B': return SendCommand(432);
        case 'I': return SendCommand(433);
        case 'U': return SendCommand(434);
        case VK_OEM_3:
        case VK_OEM_8: return SendCommand(412);
        case VK_TAB: StepBook(shift); return true;
        case VK_PRIOR: SelectSheet(PreviousSheet(CurrentBook())); return true;
        case VK_NEXT: SelectSheet(NextSheet(CurrentBook())); return true;
        default: return false;
    }
}

}  // namespace

void JumpPosition(const Sheet& sheet, i32& row, i32& column, i32 rowStep, i32 columnStep) {
    i32& line = rowStep ? row : column;
    const i32 step = rowStep ? rowStep : columnStep;
    const i32 edge = step < 0 ? 0 : (rowStep ? MAX_ROWS : MAX_COLUMNS) - 1;
    const i32 used = NextUsed(sheet, row, column, rowStep, columnStep);
    if (used < 0) {
        line = edge;
        return;
    }
    i32 nextRow = row, nextColumn = column;
    StepPosition(sheet, nextRow, nextColumn, rowStep, columnStep);
    if (IsBlankAt(sheet, row, column) || IsBlankAt(sheet, nextRow, nextColumn)) {
        line = used;
        return;
    }
    for (;;) {
        row = nextRow;
        column = nextColumn;
        StepPosition(sheet, nextRow, nextColumn, rowStep, columnStep);
        if ((nextRow == row && nextColumn == column) || IsBlankAt(sheet, nextRow, nextColumn)) return;
    }
}

bool MovePosition(const Sheet& sheet, MoveRequest& move) {
    i32 rowStep = 0, columnStep = 0;
    ArrowStep(move.key, rowStep, columnStep);
    if (rowStep || columnStep) {
        if (move.ctrl) JumpPosition(sheet, move.row, move.column, rowStep, columnStep);
        else StepPosition(sheet, move.row, move.column, rowStep, columnStep);
        return true;
    }
    switch (move.key) {
        case VK_HOME:
            move.column = MovingColumnStart(sheet);
            if (move.ctrl) move.row = MovingRowStart(sheet);
            return true;
        case VK_END:
            if (!move.ctrl) return false;
            move.row = LastUsedRow(sheet);
            move.column = LastUsedColumn(sheet);
            return true;
        case VK_PRIOR:
        case VK_NEXT: {
            if (move.ctrl) return false;
            const i32 step = WholeRowsShown();
            move.row = std::clamp(move.row + (move.key == VK_PRIOR ? -step : step), 0, MAX_ROWS - 1);
            return true;
        }
        default: return false;
    }
}

bool GridKey(u32 key, u32 modifiers) {
    const Sheet* sheet = CurrentSheet();
    if (!sheet) return false;
    if ((modifiers & KEY_CTRL) && CtrlKey(key, modifiers)) return true;
    if (!HasCells(sheet)) return false;
    if (key == VK_END && !(modifiers & KEY_CTRL)) {
        SetEndMode(!Shell().endMode);
        return true;
    }
    if (MoveKey(key, modifiers)) return true;
    switch (key) {
        case VK_DELETE: SetEndMode(false); return SendCommand(142);
        case VK_F2: return SendCommand(150);
        case VK_F3: return (modifiers & KEY_SHIFT) && SendCommand(167);
        case VK_F5: return SendCommand(149);
        case VK_F9:
            MarkAllStale();
            InvalidateAll();
            return true;
        case VK_SPACE:
            if (!(modifiers & KEY_SHIFT)) return false;
            SelectWhole(true, false);
            return true;
        default: return false;
    }
}

namespace {
bool IsLocked(const Sheet& sheet, i32 row, i32 column) {
    const Workbook* book = CurrentWorkbook();
    if (!book) return false;
    const u16 format = GetCellFormat(sheet, row, column);
    return format >= book->cellFormats.Count() || (book->cellFormats[format].flags & FORMAT_LOCKED);
}
}  // namespace

void TabMove(bool backward) { WalkMove(false, backward); }

void EnterMove(bool backward) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    if (!Shell().endMode) {
        WalkMove(true, backward);
        return;
    }
    SetEndMode(false);
    const i32 row = sheet->view.activeRow;
    const u32 slot = FindRowSlot(sheet->cells, row);
    i32 last = sheet->view.activeColumn;
    if (slot < sheet->cells.rows.Count() && sheet->cells.rows[slot].row == row) {
        const CellRow& line = sheet->cells.rows[slot];
        last = line.cells[line.count - 1].column;
    }
    if (backward) ExtendTo(row, last);
    else SelectCell(row, last, true);
}

}  // namespace tally
