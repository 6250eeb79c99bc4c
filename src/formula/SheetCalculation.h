#pragma once
// Cells that must be current before they are shown or counted.

#include "model/ModelTypes.h"

namespace tally {

// Brings the stale cells of an area up to date, one by one, as a calculation may change the store.
void CalculateArea(Sheet& sheet, const RefArea& area);

}  // namespace tally
