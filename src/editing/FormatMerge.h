#pragma once
// Cells of an area that become one cell, and the way back.

#include "model/ModelTypes.h"

namespace tally {

// Merges an area unless it is one cell or one merged area already: its first content, in the order of rows,
// goes into its first cell, all other contents, its arrays, merged areas and hyperlinks go, formats stay.
// Or splits the merged areas in it. False with nothing changed when memory fails. Refusals and undo are the
// caller's.
[[nodiscard]] bool ChangeMerges(Sheet& sheet, const RefArea& area, bool merge);

}  // namespace tally
