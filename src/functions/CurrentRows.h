#pragma once
// Which rows of a column are known to be up to date.

#include "model/ModelTypes.h"

namespace tally {

// True when no cell of an area waits for its calculation. Rows that were looked at are not looked at again
// before a cell of their column has changed.
bool IsCurrent(const Sheet& sheet, const RefArea& area);

}  // namespace tally
