#include "shell/selection/Selection.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Text.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "recovery/Journal.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/ActiveCell.h"

namespace tally {
namespace {

// The first row (or column) for which `wanted` is the last line shown whole.
template <typename Size>
i32 FirstForLast(i32 wanted, i32 lowest, i32 room, Size size) {
    i32 first = wanted;
    i32 used = size(wanted);
    while (first > lowest) {
        const i32 more = size(first - 1);
        if (used + more > room) break;
        used += more;
        --first;
    }
    return first;
}

// The new first line of one axis so that `line` is shown.
template <typename Size>
i32 ScrolledFirst(i32 line, i32 first, i32 lowest, const Array<ShownLine>& shown, u32 fixed, i32 edge,
                  i32 start, Size size) {
    if (line < lowest) return first;  // in the fixed pane
    if (line < first) return line;
    const ShownLine* place = FindShown(shown, line);
    if (place && place->end <= edge) return first;
    if (!place && size(line) == 0 && !shown.IsEmpty() && line <= shown.Last().index) return first;
    const i32 paneStart = fixed < shown.Count() ? shown[fixed].start : start;
    return FirstForLast(line, lowest, edge - paneStart, size);
}

}  // namespace

void WidenOverMerges(const Sheet& sheet, RefArea& area) {
    for (bool changed = true; changed;) {
        changed = false;
        for (const RefArea& merge : sheet.mergedAreas) {
            if (!AreasMeet(merge, area) || AreaHoldsArea(area, merge)) continue;
            area.firstRow = std::min(area.firstRow, merge.firstRow);
            area.lastRow = std::max(area.lastRow, merge.lastRow);
            area.firstColumn = std::min(area.firstColumn, merge.firstColumn);
            area.lastColumn = std::max(area.lastColumn, merge.lastColumn);
            changed = true;
        }
    }
}

void SelectArea(RefArea area, bool setActive, i32 row, i32 column, bool scrollIntoView) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    WidenOverMerges(*sheet, area);
    SheetView& view = sheet->view;
    InvalidateListArrow();
    const RefArea oldArea = view.selection;
    const i32 oldRow = view.activeRow, oldColumn = view.activeColumn;
    view.selection = area;
    if (setActive) {
        view.activeRow = static_cast<u16>(row);
        view.activeColumn = static_cast<u8>(column);
        Shell().cornerRow = row;
        Shell().cornerColumn = column;
    }
    const bool moved = oldRow != view.activeRow || oldColumn != view.activeColumn;
    InvalidateListArrow();
    if (oldArea != area) {
        InvalidateArea(oldArea);
        InvalidateArea(area);
        InvalidateHeaders();
    } else if (moved) {
        for (const auto& [r, c] :
             {std::pair{oldRow, oldColumn}, {i32{view.activeRow}, i32{view.activeColumn}}}) {
            RefArea cell{static_cast<u16>(r), static_cast<u16>(r), static_cast<u8>(c), static_cast<u8>(c)};
            WidenOverMerges(*sheet, cell);
            InvalidateArea(cell);
        }
    }
    if (scrollIntoView) ScrollIntoView(view.activeRow, view.activeColumn);
    if (moved) RefreshEntryLine();
    else RefreshNameBox();
    InvalidateStatus();
}

void SelectCell(i32 row, i32 column, bool scrollIntoView) {
    row = std::clamp(row, 0, MAX_ROWS - 1);
    column = std::clamp(column, 0, MAX_COLUMNS - 1);
    const RefArea area{static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column),
                       static_cast<u8>(column)};
    if (const Sheet* sheet = CurrentSheet(); HasCells(sheet)) {
        if (const RefArea* merge = FindMerge(*sheet, row, column)) {
            row = merge->firstRow;
            column = merge->firstColumn;
        }
    }
    SelectArea(area, true, row, column, scrollIntoView);
}

void ScrollTo(i32 firstRow, i32 firstColumn) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    firstRow = std::clamp(firstRow, MovingRowStart(*sheet), MAX_ROWS - 1);
    firstColumn = std::clamp(firstColumn, MovingColumnStart(*sheet), MAX_COLUMNS - 1);
    if (firstRow == sheet->view.firstRow && firstColumn == sheet->view.firstColumn) return;
    sheet->view.firstRow = static_cast<u16>(firstRow);
    sheet->view.firstColumn = static_cast<u8>(firstColumn);
    RefreshView();
}

void ScrollIntoView(i32 row, i32 column, bool rows, bool columns) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const Layout& layout = Shell().layout;
    if (IsEmptyRect(layout.cells)) return;
    i32 firstRow = sheet->view.firstRow, firstColumn = sheet->view.firstColumn;
    if (rows)
        firstRow = ScrolledFirst(row, firstRow, MovingRowStart(*sheet), layout.rows, layout.fixedRows,
                                 layout.cells.bottom, layout.cells.top,
                                 [sheet](i32 line) { return RowPixels(*sheet, line); });
    if (columns)
        firstColumn = ScrolledFirst(column, firstColumn, MovingColumnStart(*sheet), layout.columns,
                                    layout.fixedColumns, layout.cells.right, layout.cells.left,
                                    [sheet](i32 line) { return ColumnPixels(*sheet, line); });
    ScrollTo(firstRow, firstColumn);
}

void SelectSheet(i32 sheet) {
    Workbook* book = CurrentWorkbook();
    if (!book || sheet < 0 || sheet >= static_cast<i32>(book->sheets.Count())) return;
    book->currentSheet = sheet;
    const Sheet* now = CurrentSheet();
    Shell().cornerRow = now->view.activeRow;
    Shell().cornerColumn = now->view.activeColumn;
    RefreshChrome();
    ScrollTabs();
    RefreshEntryLine();
}

void SelectBook(i32 book) {
    if (!BookAt(book)) return;
    Books().currentBook = book;
    Shell().firstTab = 0;
    UpdateTitle();
    SelectSheet(CurrentWorkbook()->currentSheet);
}

bool AppendTitle(WideText& title) {
    const Workbook* book = CurrentWorkbook();
    if (!title.Append(PROGRAM_NAME)) return false;
    if (!book) return true;
    return title.Append(u" - ") && title.Append(FileNameOf(book->path)) &&
           (!IsRecoveredBook(CurrentBook()) || title.Append(Message(MSG_TITLE_RECOVERED)));
}

void UpdateTitle() {
    WideText title;
    if (AppendTitle(title)) ShellPlatform().setTitle(title);
}

void SetEndMode(bool on) {
    if (Shell().endMode == on) return;
    Shell().endMode = on;
    InvalidateStatus();
}

void MoveScreenSideways(i32 direction) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const i32 step = direction * WholeColumnsShown();
    const i32 column = std::clamp(sheet->view.activeColumn + step, 0, MAX_COLUMNS - 1);
    ScrollTo(sheet->view.firstRow, sheet->view.firstColumn + step);
    SelectCell(sheet->view.activeRow, column, true);
}

void ScrollLines(bool vertical, i32 count) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const i32 step = count < 0 ? -1 : 1;
    const i32 lowest = vertical ? MovingRowStart(*sheet) : MovingColumnStart(*sheet);
    const i32 limit = vertical ? MAX_ROWS : MAX_COLUMNS;
    i32 line = vertical ? i32{sheet->view.firstRow} : i32{sheet->view.firstColumn};
    for (i32 left = count < 0 ? -count : count; left > 0; --left) {
        i32 next = line + step;
        while (next >= lowest && next < limit &&
               !(vertical ? GetRowHeight(*sheet, next) : GetColumnWidth(*sheet, next)))
            next += step;
        if (next < lowest || next >= limit) break;
        line = next;
    }
    if (vertical) ScrollTo(line, sheet->view.firstColumn);
    else ScrollTo(sheet->view.firstRow, line);
}

void ScrollBy(bool vertical, i32 code, i32 position) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const i32 page = vertical ? WholeRowsShown() : WholeColumnsShown();
    switch (code) {
        case SB_LINEUP: ScrollLines(vertical, -1); break;
        case SB_LINEDOWN: ScrollLines(vertical, 1); break;
        case SB_PAGEUP: ScrollLines(vertical, -page); break;
        case SB_PAGEDOWN: ScrollLines(vertical, page); break;
        case SB_THUMBPOSITION:
        case SB_THUMBTRACK:
            if (vertical) ScrollTo(position, sheet->view.firstColumn);
            else ScrollTo(sheet->view.firstRow, position);
            break;
        default: break;
    }
}

}  // namespace tally
