#pragma once
// Lists of rectangles.

#include "model/ModelTypes.h"

namespace tally {

// Joins any two areas that share both columns and touch, or both rows and touch, until no pair is left.
void MergeAreas(Array<RefArea>& areas);

}  // namespace tally
