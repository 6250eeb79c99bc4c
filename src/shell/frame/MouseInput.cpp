#include "shell/frame/MouseInput.h"

#include <algorithm>
#include <utility>

#include "editing/Guards.h"
#include "model/BookTable.h"
#include "shell/commands/Places.h"
#include "shell/entry/EntryEditor.h"
#include "shell/entry/RuleList.h"
#include "shell/frame/BlockDrag.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/NameBox.h"
#include "shell/frame/TabDrag.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/grid/ShownCells.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

constexpr i32 SCROLL_STEP_MILLISECONDS = 60;

bool IsResizing() { return Shell().gesture == GESTURE_RESIZE_ROW || Shell().gesture == GESTURE_RESIZE_COLUMN; }

// The line whose far edge is near the pixel: `inside` before it, `behind` after it, both as lengths on a screen
// with 96 pixels to the inch.
i32 EdgeAt(const Array<ShownLine>& lines, i32 pixel, i32 inside, i32 behind) {
    inside = ScreenLength(inside);
    behind = ScreenLength(behind);
    for (u32 i = 0; i < lines.Count(); ++i) {
        const i32 from = std::max(lines[i].end - inside, (lines[i].start + lines[i].end) / 2);
        if (pixel >= from && pixel < lines[i].end) return lines[i].index;
        if (i > 0 && pixel >= lines[i].start && pixel < lines[i].start + behind &&
            pixel < (lines[i].start + lines[i].end) / 2)
            return lines[i - 1].index;
    }
    return -1;
}

// From the active cell, or its row or column, to where the pointer is.
void DragTo(i32 row, i32 column) {
    const Sheet* sheet = CurrentSheet();
    const SheetView& view = sheet->view;
    RefArea area{static_cast<u16>(std::min<i32>(view.activeRow, row)),
                 static_cast<u16>(std::max<i32>(view.activeRow, row)),
                 static_cast<u8>(std::min<i32>(view.activeColumn, column)),
                 static_cast<u8>(std::max<i32>(view.activeColumn, column))};
    if (Shell().gesture == GESTURE_ROWS) area.firstColumn = 0, area.lastColumn = MAX_COLUMNS - 1;
    if (Shell().gesture == GESTURE_COLUMNS) area.firstRow = 0, area.lastRow = MAX_ROWS - 1;
    SelectArea(area, false, 0, 0, false);
    Shell().cornerRow = row;
    Shell().cornerColumn = column;
}

// A whole row or column, of which the first shown cell becomes active.
void SelectLine(bool column, i32 line) {
    const SheetView& view = CurrentSheet()->view;
    SelectArea(column ? RefArea{0, MAX_ROWS - 1, static_cast<u8>(line), static_cast<u8>(line)}
                      : RefArea{static_cast<u16>(line), static_cast<u16>(line), 0, MAX_COLUMNS - 1},
               true, column ? i32{view.firstRow} : line, column ? line : i32{view.firstColumn}, false);
}

void SelectSheetCells() {
    const SheetView& view = CurrentSheet()->view;
    SelectArea({0, MAX_ROWS - 1, 0, MAX_COLUMNS - 1}, false, view.activeRow, view.activeColumn, false);
}

// A line is picked in its header, or its edge taken for a new size.
void ClickHeader(const ShellMessage& message, bool column) {
    ShellState& shell = Shell();
    const Layout& layout = shell.layout;
    const Array<ShownLine>& lines = column ? layout.columns : layout.rows;
    const i32 pixel = column ? message.x : message.y;
    const i32 edge = IsEditing() ? -1 : EdgeAt(lines, pixel, column ? 6 : 5, 3);
    const Sheet* sheet = CurrentSheet();
    if (edge >= 0 && !(sheet->viewFlags & VIEW_PROTECTED)) {
        shell.gestureLine = edge;
        const ShownLine* line = FindShown(lines, edge);
        shell.gestureOffset = pixel - line->end;
        shell.gestureX = message.x;
        shell.gestureY = message.y;
        StartGesture(column ? GESTURE_RESIZE_COLUMN : GESTURE_RESIZE_ROW);
        return;
    }
    const i32 picked = LineAtPixel(lines, pixel);
    if (PointLines(column ? 0 : picked, column ? picked : 0, (message.modifiers & KEY_SHIFT) != 0, !column,
                   column)) {
        StartGesture(GESTURE_POINT);
        return;
    }
    if (!CommitBeforeMove()) return;
    sheet = CurrentSheet();
    const SheetView& view = sheet->view;
    StartGesture(column ? GESTURE_COLUMNS : GESTURE_ROWS);
    if (message.modifiers & KEY_SHIFT) {
        DragTo(column ? i32{view.activeRow} : picked, column ? picked : i32{view.activeColumn});
        return;
    }
    SelectLine(column, picked);
}

void ClickCell(const ShellMessage& message) {
    const Layout& layout = Shell().layout;
    const i32 row = LineAtPixel(layout.rows, message.y), column = LineAtPixel(layout.columns, message.x);
    if (IsEditing() && PointMouse(row, column, (message.modifiers & KEY_SHIFT) != 0)) {
        StartGesture(GESTURE_POINT);
        return;
    }
    if (!CommitBeforeMove()) return;
    if (message.modifiers & KEY_SHIFT) {
        StartGesture(GESTURE_CELLS);
        DragTo(row, column);
        return;
    }
    SelectCell(row, column, true);
    if (!FollowHyperlink(row, column)) StartGesture(GESTURE_CELLS);
}

// The pixel at which the edge of a line that is being resized stands now.
i32 ResizeEdge() {
    const ShellState& shell = Shell();
    const i32 pixel = shell.gesture == GESTURE_RESIZE_COLUMN ? shell.gestureX : shell.gestureY;
    return pixel - shell.gestureOffset;
}

void InvalidateResizeEdge() {
    const PixelRect& grid = Shell().layout.grid;
    const i32 at = ResizeEdge() - 1;
    const bool column = Shell().gesture == GESTURE_RESIZE_COLUMN;
    ShellPlatform().invalidate(IntersectRects(grid, column ? PixelRect{at, grid.top, at + 1, grid.bottom}
                                                           : PixelRect{grid.left, at, grid.right, at + 1}));
}

// The new size of a line is stored as its dialog would; drawn to nothing it hides.
void StoreSize() {
    const ShellState& shell = Shell();
    const bool column = shell.gesture == GESTURE_RESIZE_COLUMN;
    const ShownLine* line = FindShown(column ? shell.layout.columns : shell.layout.rows, shell.gestureLine);
    if (!line || ResizeEdge() == line->end) return;
    SizeHeaderLines(column, shell.gestureLine, std::max(0, ResizeEdge() - line->start));
}

// A double click near the edge of a header; false when there is none.
bool FitAtEdge(const ShellMessage& message) {
    const Layout& layout = Shell().layout;
    if (!HasCells(CurrentSheet()) || IsEditing() || !RectHolds(layout.grid, message.x, message.y)) return false;
    const bool inColumns = message.y < layout.cells.top, inRows = message.x < layout.cells.left;
    if (inColumns == inRows) return false;
    const i32 line = inColumns ? EdgeAt(layout.columns, message.x, 5, 4) : EdgeAt(layout.rows, message.y, 5, 4);
    if (line < 0) return false;
    FitHeaderLines(inColumns, line);
    return true;
}

void AggregatePopup(i32 x, i32 y) {
    Array<MenuItem> items;
    for (i32 i = 0; i < AGGREGATE_COUNT; ++i) {
        if (!AddMenuItem(items, i + 1, AggregateLabel(i), true, Shell().aggregate == i)) return;
    }
    const i32 chosen = ShellPlatform().trackPopup(items, x, y);
    if (chosen > 0) Shell().aggregate = chosen - 1;
    InvalidateStatus();
}

// The menu of the cells, over what is selected now.
void GridPopup(i32 x, i32 y) {
    Array<MenuItem> items;
    if (!GridMenu(items)) return;
    BringShownUpToDate();
    RefreshAggregate();
    const i32 command = ShellPlatform().trackPopup(items, x, y);
    if (command > 0) IgnoreFailure(RunCommand(command));
}

// What the menu of the right button is about: the selection when the place lies in it, else what is there.
void SelectForMenu(i32 x, i32 y) {
    const Layout& layout = Shell().layout;
    const RefArea& selection = CurrentSheet()->view.selection;
    const bool inColumns = y < layout.cells.top, inRows = x < layout.cells.left;
    const i32 row = LineAtPixel(layout.rows, y), column = LineAtPixel(layout.columns, x);
    if (inColumns && inRows) return SelectSheetCells();
    if (inColumns || inRows) {
        const RefArea line = inColumns
                                 ? RefArea{0, MAX_ROWS - 1, static_cast<u8>(column), static_cast<u8>(column)}
                                 : RefArea{static_cast<u16>(row), static_cast<u16>(row), 0, MAX_COLUMNS - 1};
        if (!AreaHoldsArea(selection, line)) SelectLine(inColumns, inColumns ? column : row);
    } else if (!AreaHolds(selection, row, column)) {
        SelectCell(row, column, false);
    }
}

// What the pointer looks like at a place: what a press there would do.
PointerShape PointerAt(i32 x, i32 y) {
    const Layout& layout = Shell().layout;
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || !RectHolds(layout.grid, x, y)) return POINTER_ARROW;
    const bool inColumns = y < layout.cells.top, inRows = x < layout.cells.left;
    if (inColumns && inRows) return POINTER_CELL;
    const bool mayResize = !IsEditing() && !(sheet->viewFlags & VIEW_PROTECTED);
    if (inColumns)
        return mayResize && EdgeAt(layout.columns, x, 6, 3) >= 0 ? POINTER_COLUMN_EDGE : POINTER_ARROW;
    if (inRows) return mayResize && EdgeAt(layout.rows, y, 5, 3) >= 0 ? POINTER_ROW_EDGE : POINTER_ARROW;
    if (const PointerShape shape = BlockPointer(x, y); shape != POINTER_ARROW) return shape;
    const bool link =
        !IsEditing() && FindHyperlink(LineAtPixel(layout.rows, y), LineAtPixel(layout.columns, x)) >= 0;
    return link ? POINTER_LINK : POINTER_CELL;
}

// The cell's hint comes with the pointer's first move over it and goes with it.
void ShowCellHint(i32 x, i32 y) {
    ShellState& shell = Shell();
    const bool inside = HasCells(CurrentSheet()) && RectHolds(shell.layout.cells, x, y);
    const i32 row = inside ? LineAtPixel(shell.layout.rows, y) : -1;
    const i32 column = inside ? LineAtPixel(shell.layout.columns, x) : -1;
    if (row == shell.hintRow && column == shell.hintColumn) return;
    shell.hintRow = row;
    shell.hintColumn = column;
    WideText hint;
    if (row < 0 || CellHint(row, column, hint)) ShellPlatform().setToolTip(hint);
}

// The second press on a cell that may be changed edits it. Always true.
bool EditAtPointer(const ShellMessage& message) {
    const Layout& layout = Shell().layout;
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing() || message.modifiers ||
        !RectHolds(layout.cells, message.x, message.y) || RectHolds(ListArrowPlace(), message.x, message.y))
        return true;
    const i32 row = LineAtPixel(layout.rows, message.y), column = LineAtPixel(layout.columns, message.x);
    const RefArea active = ActiveArea(*sheet);
    if (!AreaHolds(active, row, column) || FindHyperlink(row, column) >= 0 || HoldsLockedCell(*sheet, active))
        return true;
    EndGesture();
    StartEditAtEnd();
    return true;
}

}  // namespace

void StartGesture(Gesture gesture) {
    Shell().gesture = gesture;
    ShellPlatform().setCapture(true);
}

void EndGesture() {
    const Gesture gesture = std::exchange(Shell().gesture, GESTURE_NONE);
    ShellPlatform().setCapture(false);
    ShellPlatform().killTimer(TIMER_AUTO_SCROLL);
    if (gesture == GESTURE_TAB) ShellPlatform().invalidate(Shell().layout.tabs);
    if (IsCellGesture(gesture)) RefreshNameBox();
    if (gesture != GESTURE_FILL && gesture != GESTURE_CARRY) return;
    InvalidateArea(Shell().drag.frame);
    InvalidateArea(Shell().drag.from);
}

bool BreakGesture() {
    const Gesture gesture = Shell().gesture;
    if (IsResizing()) InvalidateResizeEdge();
    else if (gesture != GESTURE_FILL && gesture != GESTURE_CARRY && gesture != GESTURE_TAB) return false;
    EndGesture();
    return true;
}

bool MouseDown(const ShellMessage& message) {
    const Layout& layout = Shell().layout;
    if (PressToolbar(message.x, message.y) || PressListArrow(message.x, message.y)) return true;
    if (PressNameArrow(message.x, message.y)) return true;
    if (RectHolds(layout.tabs, message.x, message.y)) {
        PressTab(message);
        return true;
    }
    if (RectHolds(layout.tabScroller, message.x, message.y)) {
        StepTabs(message.x < (layout.tabScroller.left + layout.tabScroller.right) / 2 ? -1 : 1);
        return true;
    }
    if (!HasCells(CurrentSheet()) || !RectHolds(layout.grid, message.x, message.y)) return true;
    const bool inColumns = message.y < layout.cells.top, inRows = message.x < layout.cells.left;
    if (inColumns && inRows) {
        if (!PointLines(0, 0, false, true, true) && CommitBeforeMove()) SelectSheetCells();
    } else if (inColumns || inRows) {
        ClickHeader(message, inColumns);
    } else if (!PressBlock(message)) {
        ClickCell(message);
    }
    return true;
}

bool MouseMove(const ShellMessage& message) {
    ShellState& shell = Shell();
    if (shell.gesture == GESTURE_NONE) {
        // Beside its buttons the toolbar has no hint, and a cell's does not stay.
        if (!MoveOnToolbar(message.x, message.y)) ShowCellHint(message.x, message.y);
        else if (shell.toolbar.hover < 0) ShowCellHint(-1, -1);
        ShellPlatform().setPointer(PointerAt(message.x, message.y));
    }
    if (shell.gesture == GESTURE_TAB) {
        shell.gestureX = message.x;
        DragTab(message.x);
        return true;
    }
    if (shell.gesture == GESTURE_NONE || !HasCells(CurrentSheet())) return true;
    if (IsResizing()) InvalidateResizeEdge();
    shell.gestureX = message.x;
    shell.gestureY = message.y;
    if (IsResizing()) {
        InvalidateResizeEdge();
        return true;
    }
    const PixelRect& cells = shell.layout.cells;
    if (!RectHolds(cells, message.x, message.y))
        ShellPlatform().startTimer(TIMER_AUTO_SCROLL, SCROLL_STEP_MILLISECONDS);
    else ShellPlatform().killTimer(TIMER_AUTO_SCROLL);
    const i32 row =
        LineAtPixel(shell.layout.rows, std::clamp(message.y, cells.top, std::max(cells.top, cells.bottom - 1)));
    const i32 column = LineAtPixel(shell.layout.columns,
                                   std::clamp(message.x, cells.left, std::max(cells.left, cells.right - 1)));
    const PointState& point = shell.point;
    if (shell.gesture == GESTURE_FILL || shell.gesture == GESTURE_CARRY) DragBlock(row, column);
    else if (shell.gesture == GESTURE_POINT)
        IgnoreFailure(PointLines(row, column, true, point.wholeRows, point.wholeColumns));
    else if (row != shell.cornerRow || column != shell.cornerColumn) DragTo(row, column);
    return true;
}

bool MouseUp(const ShellMessage& message) {
    ShellState& shell = Shell();
    if (ReleaseToolbar(message.x, message.y)) return true;
    if (IsResizing()) {
        InvalidateResizeEdge();
        shell.gestureX = message.x;
        shell.gestureY = message.y;
        StoreSize();
    }
    if (shell.gesture == GESTURE_FILL || shell.gesture == GESTURE_CARRY) {
        if (!DropBlock(message)) ClickCell(message);
    }
    if (shell.gesture == GESTURE_TAB) DropTab(message);
    if (shell.gesture != GESTURE_NONE) EndGesture();
    return true;
}

bool MouseDouble(const ShellMessage& message) {
    const Layout& layout = Shell().layout;
    if (RectHolds(layout.statusBar, message.x, message.y)) AggregatePopup(message.x, message.y);
    else if (RectHolds(layout.tabs, message.x, message.y)) SheetsPopup(message.x, message.y);
    else if (!DoubleOnHandle(message) && !FitAtEdge(message))
        return MouseDown(message) && EditAtPointer(message);
    return true;
}

bool MouseRight(const ShellMessage& message) {
    const Layout& layout = Shell().layout;
    if (RectHolds(layout.statusBar, message.x, message.y)) {
        AggregatePopup(message.x, message.y);
        return true;
    }
    if (RectHolds(layout.tabs, message.x, message.y)) TabPopup(message.x, message.y);
    if (RectHolds(layout.tabScroller, message.x, message.y)) SheetsPopup(message.x, message.y);
    if (!HasCells(CurrentSheet()) || !RectHolds(layout.grid, message.x, message.y) || IsEditing()) return true;
    SelectForMenu(message.x, message.y);
    GridPopup(message.x, message.y);
    return true;
}

bool MenuByKey(const ShellMessage&) {
    if (!HasCells(CurrentSheet()) || IsEditing()) return true;
    ScrollIntoView(CurrentSheet()->view.activeRow, CurrentSheet()->view.activeColumn);
    const PixelRect cell = AreaPixels(ActiveArea(*CurrentSheet()));
    GridPopup(cell.left, cell.bottom);
    return true;
}

// A wheel that is turned sideways, or with Shift, moves columns. To the right is above zero for the former.
bool MouseWheel(const ShellMessage& message) {
    const bool sideways = message.message == WM_MOUSEHWHEEL;
    const bool vertical = !sideways && !(message.modifiers & KEY_SHIFT);
    if (message.wheel) ScrollBy(vertical, (message.wheel > 0) != sideways ? SB_LINEUP : SB_LINEDOWN, 0);
    return true;
}

// One step of the view under a drag that has left it, and the drag again.
bool GestureTimer(const ShellMessage& message) {
    ShellState& shell = Shell();
    if (message.command != TIMER_AUTO_SCROLL) return true;
    if (shell.gesture == GESTURE_TAB) {
        ScrollTabDrag();
        return true;
    }
    if (shell.gesture == GESTURE_NONE || !HasCells(CurrentSheet())) {
        ShellPlatform().killTimer(TIMER_AUTO_SCROLL);
        return true;
    }
    const PixelRect& cells = shell.layout.cells;
    const i32 above = cells.top - shell.gestureY, below = shell.gestureY - cells.bottom + 1;
    const i32 left = cells.left - shell.gestureX, right = shell.gestureX - cells.right + 1;
    if (shell.gesture != GESTURE_COLUMNS && (above > 0 || below > 0))
        ScrollLines(true, above > 0 ? -1 - above / 20 : 1 + below / 20);
    if (shell.gesture != GESTURE_ROWS && (left > 0 || right > 0))
        ScrollLines(false, left > 0 ? -1 - left / 40 : 1 + right / 40);
    ShellMessage again;
    again.message = WM_MOUSEMOVE;
    again.x = shell.gestureX;
    again.y = shell.gestureY;
    return MouseMove(again);
}

}  // namespace tally
