#pragma once
// The cells of a sheet, and the sorted lists of rows and columns that differ from the default.
// Nothing here calculates or marks: SetCell (formula/Recalculation.h) stands above.

#include "model/ModelTypes.h"

namespace tally {

// ---- finding and walking --------------------------------------------------------------------------

// True when the cell exists. `position` is where it stands, or where it would be inserted.
bool FindCell(CellStore& store, i32 row, i32 column, CellPosition& position);
// The stored cell or null. The pointer holds until the store next changes.
CellRecord* GetCell(CellStore& store, i32 row, i32 column);
const CellRecord* GetCell(const CellStore& store, i32 row, i32 column);
// Number of cells in front of a position: the index of the cell in the order of the walk.
u32 CellIndex(const CellStore& store, const CellPosition& position);

inline bool AtEnd(const CellStore& store, const CellPosition& position) {
    return position.slot >= store.rows.Count();
}
inline CellRecord& CellAt(CellStore& store, const CellPosition& position) {
    return store.rows[position.slot].cells[position.index];
}
inline const CellRecord& CellAt(const CellStore& store, const CellPosition& position) {
    return store.rows[position.slot].cells[position.index];
}
inline u16 RowAt(const CellStore& store, const CellPosition& position) { return store.rows[position.slot].row; }
// The next cell in the order of row, then column.
inline void NextCell(const CellStore& store, CellPosition& position) {
    if (++position.index >= store.rows[position.slot].count) {
        ++position.slot;
        position.index = 0;
    }
}
// The slot of the first CellRow at or below `row`.
u32 FindRowSlot(const CellStore& store, i32 row);
// The index of the first cell at or right of `column` in a row.
u32 FindInRow(const CellRow& row, i32 column);

// Calls visit(row number, CellRecord&) for each cell of an area in order; a visit that returns false
// ends the walk. The store must not change under it.
template <typename Visit>
void WalkArea(CellStore& store, const RefArea& area, Visit visit) {
    for (u32 slot = FindRowSlot(store, area.firstRow); slot < store.rows.Count(); ++slot) {
        CellRow& row = store.rows[slot];
        if (row.row > area.lastRow) return;
        for (u32 i = area.firstColumn ? FindInRow(row, area.firstColumn) : 0; i < row.count; ++i) {
            if (row.cells[i].column > area.lastColumn) break;
            if (!visit(row.row, row.cells[i])) return;
        }
    }
}

// ---- changing -------------------------------------------------------------------------------------

// The cell at that place, made blank with format 15 when it did not exist. Null when memory fails,
// the store then being as it was. Appending in the order of the walk costs no shift.
[[nodiscard]] CellRecord* PutCell(CellStore& store, i32 row, i32 column);
// Adds or replaces a cell as a reader does: value and tokens pass to the store, formulas are stale
// unless the caller says otherwise, nothing is calculated or marked. On failure they are released.
[[nodiscard]] bool InsertCell(Sheet& sheet, i32 row, i32 column, u16 format, Value value, FormulaTokens tokens);
// Gives a cell a formula (tokens pass to it) or, with null tokens, takes it away.
[[nodiscard]] bool SetCellTokens(Sheet& sheet, i32 row, CellRecord& cell, FormulaTokens tokens);
// Releases value and formula; the record stays, blank.
void FreeCellContents(CellStore& store, CellRecord& cell);
void RemoveCell(CellStore& store, const CellPosition& position);
void FreeStore(CellStore& store);

// A value in this column changed.
inline void TouchColumn(CellStore& store, i32 column) { ++store.columnVersion[column]; }
// The cell's value may no longer be read as it stands, nor what was made of it.
inline void SetStale(CellStore& store, CellRecord& cell) {
    cell.calcState = CALC_STALE;
    TouchColumn(store, cell.column);
}

// ---- rows, columns and sizes ----------------------------------------------------------------------

// The cell's format, else the column's, else 15.
u16 GetCellFormat(const Sheet& sheet, i32 row, i32 column);
// Width as stored; a column without a record gives flags 2 and format 15.
u16 GetColumnInfo(const Array<ColumnInfo>& columns, i32 column, u16& flags, u16& format);
// Height as stored; a row without a record gives flags 4.
u16 GetRowInfo(const Array<RowInfo>& rows, i32 row, u16& flags);
// The record of a row, or null.
const RowInfo* FindRowInfo(const Array<RowInfo>& rows, i32 row);
[[nodiscard]] bool SetRowInfo(Array<RowInfo>& rows, const RowInfo& info);
[[nodiscard]] bool SetColumnInfo(Array<ColumnInfo>& columns, const ColumnInfo& info);
// In 1/256 of a character; 0 when hidden.
u16 GetColumnWidth(const Sheet& sheet, i32 column);
// In twips; 0 when hidden.
u16 GetRowHeight(const Sheet& sheet, i32 row);
u16 DefaultColumnWidth(const Sheet& sheet);
u16 DefaultRowHeight(const Sheet& sheet);
// Pixel offset of a column's left edge from column 0, `charWidth` pixels to the digit, plus
// `fraction` 1024ths of the column.
i32 ColumnLeft(const Sheet& sheet, i32 column, i32 fraction, i32 charWidth);
// Pixel offset of a row's top edge from row 0, plus `fraction` 256ths of the row.
i32 RowTop(const Sheet& sheet, i32 row, i32 fraction, i32 pixelsPerInch);
// The greatest of the last cell's row, the last row record and the last row of any merge; 0 if none.
i32 LastUsedRow(const Sheet& sheet);
// The greatest column of any cell or merge; 0 if none.
i32 LastUsedColumn(const Sheet& sheet);
// The merge that holds a cell, or null.
const RefArea* FindMerge(const Sheet& sheet, i32 row, i32 column);
// The array formula that holds a cell, or null.
const ArrayEntry* FindArray(const Sheet& sheet, i32 row, i32 column);
// The data table whose results hold a cell, or null.
const DataTable* FindDataTable(const Sheet& sheet, i32 row, i32 column);

}  // namespace tally
