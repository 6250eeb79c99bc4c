#pragma once
// Which array formula a cell belongs to, found without a walk over all of a sheet's arrays.

#include "model/ModelTypes.h"

namespace tally {

// As FindArray finds it. The order of a column's arrays is kept from the second question on, until the column
// or the list of arrays changes.
const ArrayEntry* ArrayOfCell(const Sheet& sheet, i32 row, i32 column);
void ResetArrayIndex();

}  // namespace tally
