#pragma once
// Cells change their places. Nothing here rewrites a formula, marks a cell or asks the user: whoever
// shifts refuses, records and repairs the references, and then calls structureChanged.

#include "model/ModelTypes.h"

namespace tally {

// Cells at and below `row` go down `count` rows; those that would leave the sheet are released.
void InsertCellRows(CellStore& store, i32 row, i32 count);
// Releases the cells of `count` rows from `row` on and moves up what lies below.
void DeleteCellRows(CellStore& store, i32 row, i32 count);
// The same for columns, to the right and to the left.
void InsertCellColumns(CellStore& store, i32 column, i32 count);
void DeleteCellColumns(CellStore& store, i32 column, i32 count);

// Releases the cells of an area. With `keepRows` a row that is left without cells stays in the list until
// DropEmptyRows, which must follow before anything else looks at the store.
void RemoveCells(CellStore& store, const RefArea& area, bool keepRows = false);
void DropEmptyRows(CellStore& store);

// Moves the cells of an area by that many rows and columns. Cells that stood in the target are
// released, and so are cells whose target lies outside the sheet. When memory fails nothing has moved.
[[nodiscard]] bool MoveCells(CellStore& store, const RefArea& area, i32 rows, i32 columns);

// The size records of a sheet go the same ways: `count` above zero inserts that many at `first`,
// below zero deletes -count from `first` on.
void ShiftRowInfos(Array<RowInfo>& rows, i32 first, i32 count);
void ShiftColumnInfos(Array<ColumnInfo>& columns, i32 first, i32 count);

}  // namespace tally
