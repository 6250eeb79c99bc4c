#pragma once
// COUNTIF and SUMIF over a column from the orders that are kept of it.

#include "functions/Criteria.h"
#include "functions/LookupIndex.h"

namespace tally {

// Where the cells to be added up for a column's matching cells stand: as many rows further down.
struct SumColumn {
    const Sheet* sheet;
    i32 column;
    i32 rowsDown;  // may be below zero
};

// The number of cells that meet a criteria, and the sum of the numbers beside them in the order of the rows.
// False when the cells must be visited.
bool CountInColumn(const LookupColumn& where, const Criteria& criteria, u32& count);
bool SumInColumn(const LookupColumn& where, const Criteria& criteria, const SumColumn& sums, double& sum);

}  // namespace tally
