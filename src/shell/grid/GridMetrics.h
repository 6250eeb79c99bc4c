#pragma once
// Sizes of rows and columns in pixels, by metrics of any target.

#include "model/ModelTypes.h"
#include "platform/Drawing.h"
#include "shell/state/GridMetrics.h"

namespace tally {

// Of a target with so many pixels to the inch, whose digit "0" is `digitWidth` pixels wide, at a zoom in
// percent.
GridMetrics MetricsAt(const Sheet& sheet, i32 digitWidth, i32 dpiX, i32 dpiY, i32 zoom);
// Of paper or a picture: lines as wide as the target's own pixels for one of the screen.
GridMetrics MetricsOn(const DrawTarget& target, const Sheet& sheet, i32 digitWidth, i32 zoom);

// 0 when hidden, else at least 1.
i32 ColumnPixels(const GridMetrics& metrics, const Sheet& sheet, i32 column);
i32 RowPixels(const GridMetrics& metrics, const Sheet& sheet, i32 row);

}  // namespace tally
