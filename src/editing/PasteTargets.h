#pragma once
// Where a paste or a fill goes.

#include "model/ModelTypes.h"

namespace tally {

// The selection as one area, or as the runs that a filter leaves visible: first by rows, then by columns.
// False when memory fails.
[[nodiscard]] bool ListTargets(const Sheet& sheet, const RefArea& selection, Array<RefArea>& targets);

// Tries a block of that many rows and columns on every target, columns first, and grows the targets of one row
// or one column to it. False when it does not fit or an area is guarded; the user has been told.
[[nodiscard]] bool FitTargets(const Sheet& sheet, u32 rows, u32 columns, Array<RefArea>& targets);

// The smallest area around all; the list is not empty.
RefArea UnionOf(std::span<const RefArea> targets);

// Extends the sheet's selection over all of them.
void GrowSelection(Sheet& sheet, const Array<RefArea>& targets);

// More cells than this are not made at one go.
constexpr u64 MAX_PASTED_CELLS = 4'194'304;

}  // namespace tally
