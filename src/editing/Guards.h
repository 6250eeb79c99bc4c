#pragma once
// The refusals that stand in front of every edit, each with its box. True: refused. In this order where an
// edit does not say otherwise; those of arrays and merges are in InsertDelete.h.

#include "editing/InsertDelete.h"

namespace tally {

// Whether a protected sheet has a locked cell in an area; nobody is told.
bool HoldsLockedCell(const Sheet& sheet, const RefArea& area);
// The same with its box.
bool RefuseLockedCell(const Sheet& sheet, const RefArea& area);
// Whether a merged area has a cell in an area.
bool RefuseMetMerge(const Sheet& sheet, const RefArea& area);

// A locked cell, a cut array, a cut merge.
bool RefuseEdit(const Sheet& sheet, const RefArea& area);

}  // namespace tally
