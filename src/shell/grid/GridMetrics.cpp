#include "shell/grid/GridMetrics.h"

#include <algorithm>

#include "base/Number.h"
#include "model/CellStore.h"

namespace tally {
namespace {

// Whether a column is shown and has no width of its own.
bool HasDefaultWidth(const Sheet& sheet, i32 column) {
    u16 flags = 0, format = 0;
    IgnoreFailure(GetColumnInfo(sheet.columns, column, flags, format) != 0);
    return (flags & (COLUMN_HIDDEN | COLUMN_DEFAULT_WIDTH)) == COLUMN_DEFAULT_WIDTH;
}

// Widths of columns hold the room beside the digits, that of columns without one of their own does not when it
// counts whole digits. As published: five pixels of a screen, and up to a multiple of eight.
i32 DefaultColumn(const Sheet& sheet, i32 digitWidth, i32 dpiX) {
    constexpr i32 ROOM = 5, STEP = 8;
    const i32 width = DefaultColumnWidth(sheet);
    if (width == 0 || width % 256) return width;
    const i32 digit = std::max(1, MulDiv(digitWidth, 96, std::max(1, dpiX)));
    const i32 pixels = (width / 256 * digit + ROOM + STEP - 1) / STEP * STEP;
    return MulDiv(pixels, 256, digit);
}

}  // namespace

GridMetrics MetricsAt(const Sheet& sheet, i32 digitWidth, i32 dpiX, i32 dpiY, i32 zoom) {
    GridMetrics metrics;
    metrics.digitWidth = MulDiv(digitWidth, zoom, 100);
    if (sheet.viewFlags & VIEW_FORMULAS) metrics.digitWidth *= 2;
    metrics.defaultColumn = DefaultColumn(sheet, digitWidth, dpiX);
    metrics.dpiX = MulDiv(dpiX, zoom, 100);
    metrics.dpiY = MulDiv(dpiY, zoom, 100);
    return metrics;
}

GridMetrics MetricsOn(const DrawTarget& target, const Sheet& sheet, i32 digitWidth, i32 zoom) {
    GridMetrics metrics = MetricsAt(sheet, digitWidth, target.dpiX, target.dpiY, zoom);
    metrics.lineX = ScreenPixelX(target);
    metrics.lineY = ScreenPixelY(target);
    return metrics;
}

i32 ColumnPixels(const GridMetrics& metrics, const Sheet& sheet, i32 column) {
    const i32 width = HasDefaultWidth(sheet, column) ? metrics.defaultColumn : GetColumnWidth(sheet, column);
    return width ? std::max(1, MulDiv(metrics.digitWidth, width, 256)) : 0;
}

i32 RowPixels(const GridMetrics& metrics, const Sheet& sheet, i32 row) {
    const u16 height = GetRowHeight(sheet, row);
    return height ? std::max(1, MulDiv(height, metrics.dpiY, 1440)) : 0;
}

}  // namespace tally
