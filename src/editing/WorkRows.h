#pragma once
// New contents for an area of a sheet, made row by row from what stands there, and put in its place with an
// undo record in one piece.

#include "editing/Undo.h"

namespace tally {

// A cell of the row in work: as it stands, or as it will.
struct WorkCell {
    const CellRecord* old = nullptr;  // the cell that stands there
    bool isNew = false;               // `cell` counts
    bool stands = false;              // there is a cell
    SavedCell cell;
};

struct WorkRows {
    Sheet& sheet;
    AreaContents& after;  // its area is what is worked on; gets the cells
    u32 slot = 0;         // in the store's rows
    i32 row = 0;
    u16 columnFormats[MAX_COLUMNS] = {};  // that a cell has which is not there
    Array<u32> links{};                   // hyperlinks that touch the area
    Array<u8> drops{};                    // of all hyperlinks: 1 goes with a cell that something is stored over
    WorkCell cells[MAX_COLUMNS] = {};
};

[[nodiscard]] bool StartWork(WorkRows& work);
// The next row, ascending, as it stands.
void LoadWorkRow(WorkRows& work, i32 row);
u16 WorkFormat(const WorkRows& work, i32 column);
// Stores a cell of the row in work, whose tokens and value pass over; a blank one that looks as its column
// does, `columnFormat`, is no cell.
void StoreWorkCell(WorkRows& work, i32 column, SavedCell cell, u16 columnFormat);
// The row goes to the block. False when memory fails, the cells are too many, or when `good` says that the
// row failed before; nothing of it is kept then.
[[nodiscard]] bool PutWorkRow(WorkRows& work, bool good);

// Tells the user that there are too many cells; false.
bool RefuseSize();
// Records what stands there, unless the kind says otherwise, and puts `after` in its place. False with nothing
// changed when memory fails.
[[nodiscard]] bool ReplaceArea(AreaContents& after, i32 undoKind, u32 undoMask);
// The same for contents that a user's paste or fill has made: `good` tells whether that went well. The rows
// wait to be fitted, `after` is released, and of too many cells the user is told; `failures` are the
// allocations that had failed before.
[[nodiscard]] bool FinishArea(AreaContents& after, bool good, u64 failures, i32 undoKind, u32 undoMask);

}  // namespace tally
