#pragma once
// Rows and columns that a filter leaves to be seen.

#include "model/ModelTypes.h"

namespace tally {

// Whether a filter with a criterion is in force.
bool HasHiddenFilterRows(const Sheet& sheet);

struct LineRun {
    i32 first = 0, last = 0;
};
// The lines of an area that are not hidden, as runs in ascending order. False when memory fails.
[[nodiscard]] bool VisibleRowRuns(const Sheet& sheet, const RefArea& area, Array<LineRun>& runs);
[[nodiscard]] bool VisibleColumnRuns(const Sheet& sheet, const RefArea& area, Array<LineRun>& runs);
// Whether a filter is in force and an area has both hidden and shown cells.
bool IsPartlyHidden(const Sheet& sheet, const RefArea& area);

}  // namespace tally
