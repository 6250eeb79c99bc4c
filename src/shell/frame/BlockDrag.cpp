#include "shell/frame/BlockDrag.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "editing/CarryCells.h"
#include "editing/ClearArea.h"
#include "editing/ExtendFill.h"
#include "editing/Guards.h"
#include "model/BookTable.h"
#include "shell/frame/MouseInput.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/grid/SelectionMarks.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// How far a line lies outside of two others: below 0 before them, above 0 behind.
i32 Beyond(i32 line, i32 first, i32 last) { return line < first ? line - first : std::max(0, line - last); }

// Pixels of the lines between two, the first left out.
i64 PixelsBetween(i32 from, i32 to, i32 (*size)(const Sheet&, i32)) {
    i64 pixels = 0;
    for (i32 line = std::min(from, to) + 1; line <= std::max(from, to); ++line)
        pixels += size(*CurrentSheet(), line);
    return pixels;
}

bool IsFarther(i32 rowFrom, i32 row, i32 columnFrom, i32 column) {
    return PixelsBetween(rowFrom, row, RowPixels) >= PixelsBetween(columnFrom, column, ColumnPixels);
}

// What the selection becomes when its corner is let go over a cell: longer or wider by whole lines, or shorter.
RefArea FillFrame(const RefArea& from, i32 row, i32 column) {
    RefArea frame = from;
    const i32 rows = Beyond(row, from.firstRow, from.lastRow),
              columns = Beyond(column, from.firstColumn, from.lastColumn);
    bool upright = rows != 0;
    if (rows && columns)
        upright = IsFarther(rows < 0 ? from.firstRow : from.lastRow, row,
                            columns < 0 ? from.firstColumn : from.lastColumn, column);
    if (!rows && !columns) upright = IsFarther(from.lastRow, row, from.lastColumn, column);
    if (upright) (rows < 0 ? frame.firstRow : frame.lastRow) = static_cast<u16>(row);
    else (columns < 0 ? frame.firstColumn : frame.lastColumn) = static_cast<u8>(column);
    return frame;
}

RefArea CarryFrame(const BlockDrag& drag, i32 row, i32 column) {
    const RefArea& from = drag.from;
    const i32 down = std::clamp(row - drag.row, -i32{from.firstRow}, MAX_ROWS - 1 - from.lastRow);
    const i32 right =
        std::clamp(column - drag.column, -i32{from.firstColumn}, MAX_COLUMNS - 1 - from.lastColumn);
    return {static_cast<u16>(from.firstRow + down), static_cast<u16>(from.lastRow + down),
            static_cast<u8>(from.firstColumn + right), static_cast<u8>(from.lastColumn + right)};
}

// What `outer` has and `inner`, which shares three edges with it, has not.
RefArea Rest(const RefArea& outer, const RefArea& inner) {
    RefArea rest = outer;
    if (inner.lastRow < outer.lastRow) rest.firstRow = static_cast<u16>(inner.lastRow + 1);
    else if (inner.firstRow > outer.firstRow) rest.lastRow = static_cast<u16>(inner.firstRow - 1);
    else if (inner.lastColumn < outer.lastColumn) rest.firstColumn = static_cast<u8>(inner.lastColumn + 1);
    else rest.lastColumn = static_cast<u8>(inner.firstColumn - 1);
    return rest;
}

void ShowResult() {
    UpdateTitle();
    ShowChangedCells();
    RefreshChrome();
}

void SelectResult(const RefArea& area, i32 row, i32 column) {
    if (!AreaHolds(area, row, column)) row = area.firstRow, column = area.firstColumn;
    SelectArea(area, true, row, column, false);
}

void DropFill(const BlockDrag& drag, bool otherWay) {
    const SheetView view = CurrentSheet()->view;
    if (drag.frame == drag.from) return;
    bool done = false;
    if (AreaHoldsArea(drag.from, drag.frame)) {
        const RefArea rest = Rest(drag.from, drag.frame);
        done = !RefuseEdit(*CurrentSheet(), rest) && ClearArea(rest, CLEAR_CONTENTS);
    } else {
        done = ExtendFill({drag.from, Rest(drag.frame, drag.from), otherWay});
    }
    if (!done) return;
    SelectResult(drag.frame, view.activeRow, view.activeColumn);
    ShowResult();
}

bool MayReplace() {
    return Platform().messageBox(Message(MSG_REPLACE_CELLS), PROGRAM_NAME, MB_YESNO | MB_ICONQUESTION) == IDYES;
}

void DropCarry(const BlockDrag& drag, bool copy) {
    if (drag.frame == drag.from) return;
    const SheetView view = CurrentSheet()->view;
    const CarryRequest request = {CurrentBook(),       CurrentSheet()->index,  drag.from,
                                  drag.frame.firstRow, drag.frame.firstColumn, copy};
    if (RefuseCarry(request) || (CoversContent(request) && !MayReplace())) return;
    if (!HasCells(CurrentSheet()) || !CarryCells(request)) return;
    SelectResult(drag.frame, view.activeRow + drag.frame.firstRow - drag.from.firstRow,
                 view.activeColumn + drag.frame.firstColumn - drag.from.firstColumn);
    ShowResult();
}

bool IsHandle(i32 x, i32 y) {
    const Sheet* sheet = CurrentSheet();
    return HasCells(sheet) && !IsEditing() && RectHolds(Shell().layout.cells, x, y) &&
           !RectHolds(ListArrowPlace(), x, y) && RectHolds(FillHandlePlace(*sheet), x, y);
}

}  // namespace

PointerShape BlockPointer(i32 x, i32 y) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing() || !RectHolds(Shell().layout.cells, x, y)) return POINTER_ARROW;
    if (RectHolds(ListArrowPlace(), x, y)) return POINTER_ARROW;
    if (IsHandle(x, y)) return POINTER_FILL;
    return IsOnSelectionEdge(*sheet, x, y) ? POINTER_MOVE : POINTER_ARROW;
}

bool PressBlock(const ShellMessage& message) {
    const PointerShape shape = BlockPointer(message.x, message.y);
    if (shape == POINTER_ARROW || (message.modifiers & KEY_SHIFT)) return false;
    const Layout& layout = Shell().layout;
    const RefArea& selection = CurrentSheet()->view.selection;
    Shell().drag = {selection, selection, LineAtPixel(layout.rows, message.y),
                    LineAtPixel(layout.columns, message.x), false};
    StartGesture(shape == POINTER_FILL ? GESTURE_FILL : GESTURE_CARRY);
    InvalidateArea(selection);
    return true;
}

void DragBlock(i32 row, i32 column) {
    BlockDrag& drag = Shell().drag;
    drag.moved = drag.moved || row != drag.row || column != drag.column;
    const RefArea frame =
        Shell().gesture == GESTURE_FILL ? FillFrame(drag.from, row, column) : CarryFrame(drag, row, column);
    if (frame == drag.frame) return;
    InvalidateArea(drag.frame);
    drag.frame = frame;
    InvalidateArea(frame);
}

bool DropBlock(const ShellMessage& message) {
    const BlockDrag drag = Shell().drag;
    const bool fills = Shell().gesture == GESTURE_FILL;
    EndGesture();
    const Sheet* sheet = CurrentSheet();
    // Keys may have led elsewhere meanwhile.
    if (!HasCells(sheet) || IsEditing() || sheet->view.selection != drag.from) return true;
    if (!fills && !drag.moved) return false;
    const bool ctrl = (message.modifiers & KEY_CTRL) != 0;
    if (fills) DropFill(drag, ctrl);
    else DropCarry(drag, ctrl);
    return true;
}

bool DoubleOnHandle(const ShellMessage& message) {
    if (!IsHandle(message.x, message.y)) return false;
    const SheetView view = CurrentSheet()->view;
    RefArea target;
    if (!RowsBeside(view.selection, target) ||
        !ExtendFill({view.selection, target, (message.modifiers & KEY_CTRL) != 0}))
        return true;
    target.firstRow = view.selection.firstRow;
    SelectResult(target, view.activeRow, view.activeColumn);
    ShowResult();
    return true;
}

}  // namespace tally
