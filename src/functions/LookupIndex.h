#pragma once
// What many lookups in the same column share: the column's numbers and texts in the order of their rows, and
// orders over them that give the places which a scan would find. A column is entered when the scans through it
// have cost as much as that costs, and is good until one of its cells changes.

#include "functions/Criteria.h"
#include "model/ModelTypes.h"

namespace tally {

enum LookupRule : u8 {
    FIRST_EQUAL,   // the first element that equals: Near numbers, texts without regard to case
    LAST_REACHED,  // the last element that is not above the value
    // The walk from the first element that ends at an equal one, or before the first above (below).
    WALK_UP,
    WALK_DOWN,
};

// A part of a column, all of it up to date.
struct LookupColumn {
    const Sheet* sheet;
    i32 column;
    i32 firstRow;
    i32 lastRow;
};

constexpr i32 LOOKUP_NONE = -1;

// False when the question must be answered by a scan: by what the value is, for lack of memory, or because the
// column is short or new here. Otherwise `row` is the sheet's row that was found, or LOOKUP_NONE. Texts with
// wildcards are no concern of this: the caller asks with plain ones only.
bool FindInColumn(const LookupColumn& where, const Value& value, LookupRule rule, i32& row);

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

// True when no cell of an area waits for its calculation. Cheap when asked again before a cell has changed.
bool IsCurrent(const Sheet& sheet, const RefArea& area);

void ResetLookups();

}  // namespace tally
