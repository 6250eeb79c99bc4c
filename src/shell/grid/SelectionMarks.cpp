#include "shell/grid/SelectionMarks.h"

#include <algorithm>

#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

// Lengths on a screen with 96 pixels to the inch.
constexpr i32 HANDLE_SIZE = 7;    // with the white line around it
constexpr i32 HANDLE_BEYOND = 2;  // of it lies outside the area
constexpr i32 EDGE_REACH = 2;     // from an edge to either side
constexpr i32 FRAME_THICKNESS = 2;
constexpr u32 BLACK = 0, WHITE = 0xFFFFFF, FRAME = 0x808080;

// Whether the edge of an area stands at the edge of its first shown line: nothing visible lies between.
bool IsFirstShown(i32 first, i32 shown, const Sheet& sheet, i32 (*size)(const Sheet&, i32)) {
    while (first < shown && !size(sheet, first)) ++first;
    return first == shown;
}

// Which edges of an area's rectangle are the area's own; the others are where the view ends.
struct OwnEdges {
    bool left, top, right, bottom;
};
OwnEdges EdgesOf(const Sheet& sheet, const RefArea& area) {
    const Layout& layout = Shell().layout;
    const auto from = [](const Array<ShownLine>& lines, i32 index) {
        return std::lower_bound(lines.begin(), lines.end(), index,
                                [](const ShownLine& line, i32 wanted) { return line.index < wanted; });
    };
    const ShownLine* row = from(layout.rows, area.firstRow);
    const ShownLine* column = from(layout.columns, area.firstColumn);
    const ShownLine* lastRow = from(layout.rows, area.lastRow + 1) - 1;
    const ShownLine* lastColumn = from(layout.columns, area.lastColumn + 1) - 1;
    return {IsFirstShown(area.firstColumn, column->index, sheet, ColumnPixels),
            IsFirstShown(area.firstRow, row->index, sheet, RowPixels),
            IsFirstShown(lastColumn->index + 1, area.lastColumn + 1, sheet, ColumnPixels),
            IsFirstShown(lastRow->index + 1, area.lastRow + 1, sheet, RowPixels)};
}

bool IsDragged() { return Shell().gesture == GESTURE_FILL || Shell().gesture == GESTURE_CARRY; }

// The edges of a reference's frame, within those of the outline around what is pointed at.
struct FrameEdges {
    PixelRect top, left, bottom, right;
};
FrameEdges EdgesOfFrame(const PixelRect& cells) {
    const i32 right = cells.right - FRAME_THICKNESS, bottom = cells.bottom - FRAME_THICKNESS;
    return {{cells.left, cells.top, right, cells.top + FRAME_THICKNESS},
            {cells.left, cells.top, cells.left + FRAME_THICKNESS, bottom},
            {cells.left, std::max(cells.top, bottom - FRAME_THICKNESS), right, bottom},
            {std::max(cells.left, right - FRAME_THICKNESS), cells.top, right, bottom}};
}

// The cells of a frame on the sheet that is shown; empty for one on another.
PixelRect FramedCells(const Sheet& sheet, const ReferenceFrame& frame) {
    const bool here = Shell().marks.book == sheet.book && frame.sheet == sheet.index;
    return here ? AreaPixels(frame.area) : PixelRect();
}

}  // namespace

void PaintOutline(DrawTarget& target, const Sheet& sheet, const RefArea& area) {
    const PixelRect rect = AreaPixels(area);
    if (IsEmptyRect(rect)) return;
    const OwnEdges own = EdgesOf(sheet, area);
    const i32 left = own.left ? rect.left - 1 : rect.left, bottom = own.bottom ? rect.bottom - 2 : rect.bottom;
    if (own.top) InvertRect(target, {left, rect.top - 1, rect.right, rect.top});
    if (own.left) InvertRect(target, {rect.left - 1, rect.top, rect.left, bottom});
    if (own.bottom) InvertRect(target, {left, rect.bottom - 2, rect.right, rect.bottom});
    if (own.right) InvertRect(target, {rect.right - 2, rect.top, rect.right, bottom});
}

PixelRect FillHandlePlace(const Sheet& sheet) {
    const RefArea& area = sheet.view.selection;
    const PixelRect rect = AreaPixels(area);
    const i32 size = ScreenLength(HANDLE_SIZE);
    if (rect.right - rect.left < 2 * size || rect.bottom - rect.top < 2 * size) return PixelRect();
    const OwnEdges own = EdgesOf(sheet, area);
    const PixelRect& cells = Shell().layout.cells;
    if (!own.right || !own.bottom || rect.right > cells.right || rect.bottom > cells.bottom) return PixelRect();
    return {rect.right + HANDLE_BEYOND - size, rect.bottom + HANDLE_BEYOND - size, rect.right + HANDLE_BEYOND,
            rect.bottom + HANDLE_BEYOND};
}

bool IsOnSelectionEdge(const Sheet& sheet, i32 x, i32 y) {
    const RefArea& area = sheet.view.selection;
    const PixelRect rect = AreaPixels(area);
    const i32 reach = ScreenLength(EDGE_REACH);
    // Where little is left between the edges, all of it stays the cell's.
    if (rect.right - rect.left < 6 * reach || rect.bottom - rect.top < 6 * reach) return false;
    if (!RectHolds({rect.left - reach, rect.top - reach, rect.right + reach, rect.bottom + reach}, x, y))
        return false;
    const OwnEdges own = EdgesOf(sheet, area);
    return (own.left && x < rect.left + reach) || (own.right && x >= rect.right - reach) ||
           (own.top && y < rect.top + reach) || (own.bottom && y >= rect.bottom - reach);
}

void PaintFillHandle(DrawTarget& target, const Sheet& sheet) {
    const PixelRect place = FillHandlePlace(sheet);
    if (IsEmptyRect(place) || IsDragged()) return;
    FillRect(target, place, WHITE);
    FillRect(target, {place.left + 1, place.top + 1, place.right - 1, place.bottom - 1}, BLACK);
}

void PaintDragFrame(DrawTarget& target, const Sheet& sheet) {
    const RefArea& area = Shell().drag.frame;
    const PixelRect rect = AreaPixels(area);
    if (!IsDragged() || IsEmptyRect(rect)) return;
    const OwnEdges own = EdgesOf(sheet, area);
    const i32 width = FRAME_THICKNESS;
    if (own.top) FillRect(target, {rect.left, rect.top, rect.right, rect.top + width}, FRAME);
    if (own.left) FillRect(target, {rect.left, rect.top, rect.left + width, rect.bottom}, FRAME);
    if (own.bottom) FillRect(target, {rect.left, rect.bottom - width, rect.right, rect.bottom}, FRAME);
    if (own.right) FillRect(target, {rect.right - width, rect.top, rect.right, rect.bottom}, FRAME);
}

// Dark enough on white, and each unlike its neighbours.
constexpr u32 referenceColours[REFERENCE_COLOURS] = {0xD2501E, 0x1E1EC8, 0x14820A, 0xA0288C,
                                                     0x0078DC, 0x968200, 0x7814DC};

void InvalidateReferenceFrame(const ReferenceFrame& frame) {
    const Sheet* sheet = CurrentSheet();
    const PixelRect cells = HasCells(sheet) ? FramedCells(*sheet, frame) : PixelRect();
    if (IsEmptyRect(cells)) return;
    const FrameEdges edges = EdgesOfFrame(cells);
    for (const PixelRect& edge : {edges.top, edges.left, edges.bottom, edges.right})
        ShellPlatform().invalidate(IntersectRects(edge, Shell().layout.cells));
}

void PaintReferenceFrames(DrawTarget& target, const Sheet& sheet) {
    for (const ReferenceFrame& frame : Shell().marks.frames) {
        const PixelRect cells = FramedCells(sheet, frame);
        if (IsEmptyRect(cells)) continue;
        const OwnEdges own = EdgesOf(sheet, frame.area);
        const FrameEdges edges = EdgesOfFrame(cells);
        const u32 colour = referenceColours[frame.colour];
        if (own.top) FillRect(target, edges.top, colour);
        if (own.left) FillRect(target, edges.left, colour);
        if (own.bottom) FillRect(target, edges.bottom, colour);
        if (own.right) FillRect(target, edges.right, colour);
    }
}

}  // namespace tally
