#include "shell/grid/GridPaint.h"

#include <algorithm>

#include "model/BookTable.h"
#include "shell/grid/CellPaint.h"
#include "shell/grid/Layout.h"
#include "shell/grid/SelectionMarks.h"
#include "shell/grid/ShownCells.h"

namespace tally {
namespace {

constexpr u32 FROZEN_COLOUR = 0x000000;

// The lines that meet a stretch of pixels, and those beside them, whose thick borders reach into it.
std::span<const ShownLine> LinesIn(std::span<const ShownLine> lines, i32 from, i32 to) {
    std::size_t first = 0, last = lines.size();
    while (first < last && lines[first].end <= from) ++first;
    while (last > first && lines[last - 1].start >= to) --last;
    first -= first > 0;
    last += last < lines.size();
    return lines.subspan(first, last - first);
}

// A line along the last pixels of the fixed rows and columns.
void PaintFrozenEdges(DrawTarget& target, const Layout& layout) {
    const PixelRect& cells = layout.cells;
    if (layout.fixedRows) {
        const i32 bottom = layout.rows[layout.fixedRows - 1].end - 1;
        DrawLine(target, cells.left, bottom, cells.right, bottom, {FROZEN_COLOUR});
    }
    if (layout.fixedColumns) {
        const i32 right = layout.columns[layout.fixedColumns - 1].end - 1;
        DrawLine(target, right, cells.top, right, cells.bottom, {FROZEN_COLOUR});
    }
}

void PaintPanes(DrawTarget& target, Sheet& sheet, const PixelRect& paint) {
    const Layout& layout = Shell().layout;
    const auto part = [](const Array<ShownLine>& lines, u32 fixed, bool second) {
        return second ? lines.Span().subspan(fixed) : lines.Span().first(fixed);
    };
    for (int number = 0; number < 4; ++number) {
        CellsPaint pane{
            .target = target, .metrics = layout.metrics, .rows = {}, .columns = {}, .clip = {}, .merges = {}};
        pane.book = BookAt(sheet.book);
        pane.sheet = &sheet;
        pane.rows = part(layout.rows, layout.fixedRows, number >= 2);
        pane.columns = part(layout.columns, layout.fixedColumns, number & 1);
        if (pane.rows.empty() || pane.columns.empty()) continue;
        pane.selection = &sheet.view.selection;
        pane.conditionAt = ShownCondition;
        pane.conditionOfMerge = ShownMergeCondition;
        pane.clip = IntersectRects(IntersectRects({pane.columns.front().start, pane.rows.front().start,
                                                   pane.columns.back().end, pane.rows.back().end},
                                                  layout.cells),
                                   paint);
        if (IsEmptyRect(pane.clip)) continue;
        pane.rows = LinesIn(pane.rows, pane.clip.top, pane.clip.bottom);
        pane.columns = LinesIn(pane.columns, pane.clip.left, pane.clip.right);
        PaintCellArea(pane);
        const PixelRect former = PushClip(target, pane.clip);
        PaintReferenceFrames(target, sheet);
        PaintOutline(target, sheet, sheet.view.selection);
        PaintFillHandle(target, sheet);
        PaintDragFrame(target, sheet);
        if (Shell().point.active) PaintOutline(target, sheet, Shell().point.area);
        PaintFrozenEdges(target, layout);
        PopClip(target, former);
    }
}

}  // namespace

void PaintCells(DrawTarget& target, Sheet& sheet, const PixelRect& paint) {
    if (RectsMeet(Shell().layout.cells, paint)) PaintPanes(target, sheet, paint);
}

// Where the edge of a row or column stands while it is dragged.
void PaintResizeEdge(DrawTarget& target, const PixelRect& paint) {
    const ShellState& shell = Shell();
    const PixelRect& grid = shell.layout.grid;
    PixelRect line = grid;
    if (shell.gesture == GESTURE_RESIZE_COLUMN) {
        line.right = shell.gestureX - shell.gestureOffset;
        line.left = line.right - 1;
    } else if (shell.gesture == GESTURE_RESIZE_ROW) {
        line.bottom = shell.gestureY - shell.gestureOffset;
        line.top = line.bottom - 1;
    } else {
        return;
    }
    const PixelRect former = PushClip(target, IntersectRects(grid, paint));
    InvertRect(target, line);
    PopClip(target, former);
}

}  // namespace tally
