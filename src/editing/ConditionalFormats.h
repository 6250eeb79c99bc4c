#pragma once
// Which conditional format is in force at a cell.

#include "model/ModelTypes.h"

namespace tally {

// The first condition that holds at a cell, of the first format in the sheet's list that covers it; null when
// there is none. Evaluates, and so may bring other cells up to date.
const ConditionalCondition* FindConditionalFormat(i32 book, i32 sheet, i32 row, i32 column);

}  // namespace tally
