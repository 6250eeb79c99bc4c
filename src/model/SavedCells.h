#pragma once
// Cells outside of a store, and putting them back without a step that can fail half way.

#include "model/ModelTypes.h"

namespace tally {

// A copy of a stored cell. It owns a use of its text and of its tokens.
struct SavedCell {
    Value value;
    FormulaTokens tokens;
    u16 row = 0;
    u16 format = 0;
    u8 column = 0;
    u8 calcState = CALC_BLANK;
    bool alwaysCalculate = false;
};

// Appends copies of the cells of an area, in the order of row, then column. When memory fails the list
// is empty.
[[nodiscard]] bool SaveCells(CellStore& store, const RefArea& area, Array<SavedCell>& out);
void FreeSavedCells(Array<SavedCell>& cells);

// Cells that are ready to take the place of all that stands in an area.
struct CellPatch {
    RefArea area;
    Array<CellRow> rows;   // with room for the cells that stand beside the area
    Array<CellRow> spare;  // room for the store's list of rows
    u32 formulas = 0;      // formulas among the cells
};
// Gets all memory. `rowsAdded` is how many rows the store may still gain before the commit. The saved
// cells keep what they own. False leaves the patch empty.
[[nodiscard]] bool PrepareCells(CellPatch& patch, Sheet& sheet, const RefArea& area,
                                std::span<const SavedCell> cells, u32 rowsAdded);
// The cells of the area are those of the patch from now on, and nothing else of it is left. The new
// formulas are the last `patch.formulas` of the store; those of a worksheet are stale. Not calculated,
// marked or indexed. Between the two calls no cell may have come into the rows of the area but by a
// move of cells that stood in those rows.
void CommitCells(CellPatch& patch, Sheet& sheet);
void DropPatch(CellPatch& patch);

}  // namespace tally
