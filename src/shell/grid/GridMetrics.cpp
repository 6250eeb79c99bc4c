#include "shell/grid/GridMetrics.h"

#include <algorithm>

#include "base/Number.h"
#include "model/CellStore.h"

namespace tally {

GridMetrics MetricsAt(const Sheet& sheet, i32 digitWidth, i32 dpiX, i32 dpiY, i32 zoom) {
    GridMetrics metrics;
    metrics.digitWidth = MulDiv(digitWidth, zoom, 100);
    if (sheet.viewFlags & VIEW_FORMULAS) metrics.digitWidth *= 2;
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
    const u16 width = GetColumnWidth(sheet, column);
    return width ? std::max(1, MulDiv(metrics.digitWidth, width, 256)) : 0;
}

i32 RowPixels(const GridMetrics& metrics, const Sheet& sheet, i32 row) {
    const u16 height = GetRowHeight(sheet, row);
    return height ? std::max(1, MulDiv(height, metrics.dpiY, 1440)) : 0;
}

}  // namespace tally
