#include "model/CellShift.h"

#include <algorithm>
#include <cstring>

#include "model/CellStore.h"

namespace tally {
namespace {

void TouchColumns(CellStore& store, i32 first, i32 last) {
    for (i32 column = std::max(first, 0); column <= std::min(last, MAX_COLUMNS - 1); ++column)
        TouchColumn(store, column);
}

// Releases the slots [first, last) with all their cells and closes the gap.
void DropSlots(CellStore& store, u32 first, u32 last) {
    if (first >= last) return;
    for (u32 slot = first; slot < last; ++slot) {
        CellRow& row = store.rows[slot];
        for (u32 i = 0; i < row.count; ++i) FreeCellContents(store, row.cells[i]);
        store.count -= row.count;
        ReleaseBytes(row.cells);
    }
    const u32 tail = store.rows.Count() - last;
    CellRow* rows = store.rows.Data();
    std::memmove(static_cast<void*>(rows + first), static_cast<const void*>(rows + last),
                 tail * sizeof(CellRow));
    store.rows.Truncate(first + tail);
    store.lastSlot = 0;
}

// Adds `delta` to the rows of the slots from `slot` on and to the formulas in them.
void RenumberRows(CellStore& store, u32 slot, i32 firstRow, i32 delta) {
    for (; slot < store.rows.Count(); ++slot)
        store.rows[slot].row = static_cast<u16>(store.rows[slot].row + delta);
    for (FormulaCell* formula : store.formulas) {
        if (formula->row >= firstRow) formula->row = static_cast<u16>(formula->row + delta);
    }
    store.lastSlot = 0;
    TouchColumns(store, 0, MAX_COLUMNS - 1);
}

void PlaceFormula(CellStore& store, FormulaCell* formula, i32 row, i32 column) {
    if (!formula) return;
    --store.formulasInColumn[formula->column];
    formula->row = static_cast<u16>(row);
    formula->column = static_cast<u8>(column);
    ++store.formulasInColumn[formula->column];
}

// Releases the cells [first, last) of a row and closes the gap.
void DropFromRow(CellStore& store, CellRow& row, u32 first, u32 last) {
    if (first >= last) return;
    for (u32 i = first; i < last; ++i) FreeCellContents(store, row.cells[i]);
    std::memmove(static_cast<void*>(row.cells + first), static_cast<const void*>(row.cells + last),
                 (row.count - last) * sizeof(CellRecord));
    row.count = static_cast<u16>(row.count - (last - first));
    store.count -= last - first;
}

void ShiftRowCells(CellStore& store, CellRow& row, u32 from, i32 delta) {
    for (u32 i = from; i < row.count; ++i) {
        row.cells[i].column = static_cast<u8>(row.cells[i].column + delta);
        PlaceFormula(store, row.cells[i].formula, row.row, row.cells[i].column);
    }
}

// ---- moving an area -------------------------------------------------------------------------------

struct Move {
    RefArea source;
    i32 rows, columns;
    // The target, cut to the sheet; empty when firstRow is above lastRow or firstColumn above lastColumn.
    i32 firstRow, lastRow, firstColumn, lastColumn;
};

Move MakeMove(const RefArea& area, i32 rows, i32 columns) {
    return {area,
            rows,
            columns,
            std::max(area.firstRow + rows, 0),
            std::min(area.lastRow + rows, MAX_ROWS - 1),
            std::max(area.firstColumn + columns, 0),
            std::min(area.lastColumn + columns, MAX_COLUMNS - 1)};
}

bool InTarget(const Move& move, i32 row, i32 column) {
    return row >= move.firstRow && row <= move.lastRow && column >= move.firstColumn &&
           column <= move.lastColumn;
}
bool HasTargetRow(const Move& move, i32 row) {
    return row >= move.firstRow && row <= move.lastRow && move.firstColumn <= move.lastColumn;
}
bool IsTouched(const Move& move, i32 row) {
    return (row >= move.source.firstRow && row <= move.source.lastRow) || HasTargetRow(move, row);
}
bool Leaves(const Move& move, i32 row, i32 column) {
    return AreaHolds(move.source, row, column) && !InTarget(move, row + move.rows, column + move.columns);
}

// The cells [from, to) of a row whose columns lie between two limits.
std::span<CellRecord> Between(CellRow* row, i32 firstColumn, i32 lastColumn) {
    if (!row || firstColumn > lastColumn) return {};
    const u32 from = FindInRow(*row, firstColumn);
    const u32 to = FindInRow(*row, lastColumn + 1);
    return {row->cells + from, to - from};
}

// Appends what `row` holds after the move; a row that stays empty is not appended.
bool AppendMovedRow(Array<CellRow>& made, const Move& move, i32 row, CellRow* stays, CellRow* comes) {
    std::span<CellRecord> incoming;
    if (HasTargetRow(move, row))
        incoming = Between(comes, move.firstColumn - move.columns, move.lastColumn - move.columns);
    const std::size_t most = (stays ? stays->count : 0u) + incoming.size();
    if (!most) return true;
    CellRow fresh;
    fresh.row = static_cast<u16>(row);
    fresh.cells = static_cast<CellRecord*>(AllocateBytes(most * sizeof(CellRecord)));
    if (!fresh.cells) return false;
    fresh.capacity = static_cast<u16>(std::min<std::size_t>(most, MAX_COLUMNS));
    std::size_t next = 0;
    const auto takeIncoming = [&](i32 below) {
        for (; next < incoming.size() && incoming[next].column + move.columns < below; ++next) {
            CellRecord& cell = fresh.cells[fresh.count++];
            cell = incoming[next];
            cell.column = static_cast<u8>(cell.column + move.columns);
        }
    };
    for (u32 i = 0; stays && i < stays->count; ++i) {
        const CellRecord& cell = stays->cells[i];
        if (AreaHolds(move.source, row, cell.column) || InTarget(move, row, cell.column)) continue;
        takeIncoming(cell.column);
        fresh.cells[fresh.count++] = cell;
    }
    takeIncoming(MAX_COLUMNS);
    if (fresh.count && made.Append(fresh)) return true;
    ReleaseBytes(fresh.cells);
    return fresh.count == 0;
}

CellRow* RowOf(CellStore& store, i32 row) {
    const u32 slot = row < 0 ? store.rows.Count() : FindRowSlot(store, row);
    return slot < store.rows.Count() && store.rows[slot].row == row ? &store.rows[slot] : nullptr;
}

// The rows of the store as they stand after the move: untouched ones with their old cells, the others
// with new blocks. On failure `made` holds nothing.
bool BuildMovedRows(CellStore& store, const Move& move, Array<CellRow>& made) {
    bool good = made.Reserve(store.rows.Count());
    u32 slot = 0;
    // Where the next row of the source stands that may bring cells.
    u32 coming = FindRowSlot(store, move.source.firstRow);
    const auto comingRow = [&] {
        while (coming < store.rows.Count() && store.rows[coming].row <= move.source.lastRow) {
            if (HasTargetRow(move, store.rows[coming].row + move.rows))
                return store.rows[coming].row + move.rows;
            ++coming;
        }
        return MAX_ROWS;
    };
    while (good) {
        const i32 present = slot < store.rows.Count() ? i32{store.rows[slot].row} : MAX_ROWS;
        const i32 arriving = comingRow();
        const i32 row = std::min(present, arriving);
        if (row == MAX_ROWS) return true;
        CellRow* stays = present == row ? &store.rows[slot++] : nullptr;
        CellRow* comes = arriving == row ? &store.rows[coming++] : nullptr;
        good = IsTouched(move, row) ? AppendMovedRow(made, move, row, stays, comes) : made.Append(*stays);
    }
    for (CellRow& row : made) {
        if (IsTouched(move, row.row)) ReleaseBytes(row.cells);
    }
    made.Clear();
    return false;
}

// Releases what the move overwrites or pushes off the sheet.
u32 ReleaseLost(CellStore& store, const Move& move) {
    u32 lost = 0;
    for (CellRow& row : store.rows) {
        if (!IsTouched(move, row.row)) continue;
        for (u32 i = 0; i < row.count; ++i) {
            const i32 column = row.cells[i].column;
            const bool covered = InTarget(move, row.row, column) && !AreaHolds(move.source, row.row, column);
            if (!covered && !Leaves(move, row.row, column)) continue;
            FreeCellContents(store, row.cells[i]);
            ++lost;
        }
    }
    return lost;
}

template <typename Record, typename Key>
void ShiftKeys(Array<Record>& list, Key Record::*key, i32 first, i32 count, i32 limit) {
    u32 kept = 0;
    for (u32 i = 0; i < list.Count(); ++i) {
        i32 place = list[i].*key;
        if (place >= first) {
            if (count < 0 && place < first - count) continue;
            place += count;
        }
        if (place >= limit) continue;
        list[kept] = list[i];
        list[kept++].*key = static_cast<Key>(place);
    }
    list.Truncate(kept);
}

}  // namespace

void InsertCellRows(CellStore& store, i32 row, i32 count) {
    if (row < 0 || row >= MAX_ROWS || count <= 0) return;
    count = std::min(count, MAX_ROWS - row);
    DropSlots(store, FindRowSlot(store, MAX_ROWS - count), store.rows.Count());
    RenumberRows(store, FindRowSlot(store, row), row, count);
}

void DeleteCellRows(CellStore& store, i32 row, i32 count) {
    if (row < 0 || row >= MAX_ROWS || count <= 0) return;
    count = std::min(count, MAX_ROWS - row);
    const u32 slot = FindRowSlot(store, row);
    DropSlots(store, slot, FindRowSlot(store, row + count));
    RenumberRows(store, slot, row, -count);
}

void InsertCellColumns(CellStore& store, i32 column, i32 count) {
    if (column < 0 || column >= MAX_COLUMNS || count <= 0) return;
    count = std::min(count, MAX_COLUMNS - column);
    for (CellRow& row : store.rows) {
        DropFromRow(store, row, FindInRow(row, MAX_COLUMNS - count), row.count);
        ShiftRowCells(store, row, FindInRow(row, column), count);
    }
    DropEmptyRows(store);
    TouchColumns(store, column, MAX_COLUMNS - 1);
}

void DeleteCellColumns(CellStore& store, i32 column, i32 count) {
    if (column < 0 || column >= MAX_COLUMNS || count <= 0) return;
    count = std::min(count, MAX_COLUMNS - column);
    for (CellRow& row : store.rows) {
        const u32 from = FindInRow(row, column);
        DropFromRow(store, row, from, FindInRow(row, column + count));
        ShiftRowCells(store, row, from, -count);
    }
    DropEmptyRows(store);
    TouchColumns(store, column, MAX_COLUMNS - 1);
}

void DropEmptyRows(CellStore& store) {
    u32 kept = 0;
    while (kept < store.rows.Count() && store.rows[kept].count) ++kept;
    for (u32 slot = kept; slot < store.rows.Count(); ++slot) {
        if (store.rows[slot].count) {
            store.rows[kept++] = store.rows[slot];
        } else {
            ReleaseBytes(store.rows[slot].cells);
        }
    }
    store.rows.Truncate(kept);
    store.lastSlot = 0;
}

void RemoveCells(CellStore& store, const RefArea& area, bool keepRows) {
    bool emptied = false;
    for (u32 slot = FindRowSlot(store, area.firstRow); slot < store.rows.Count(); ++slot) {
        CellRow& row = store.rows[slot];
        if (row.row > area.lastRow) break;
        DropFromRow(store, row, FindInRow(row, area.firstColumn), FindInRow(row, area.lastColumn + 1));
        emptied = emptied || !row.count;
    }
    if (emptied && !keepRows) DropEmptyRows(store);
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) TouchColumn(store, column);
}

bool MoveCells(CellStore& store, const RefArea& area, i32 rows, i32 columns) {
    if (area.firstRow > area.lastRow || area.firstColumn > area.lastColumn) return true;
    rows = std::clamp(rows, -MAX_ROWS, MAX_ROWS);
    columns = std::clamp(columns, -MAX_COLUMNS, MAX_COLUMNS);
    const Move move = MakeMove(area, rows, columns);
    Array<CellRow> made;
    if (!BuildMovedRows(store, move, made)) return false;
    store.count -= ReleaseLost(store, move);
    for (CellRow& row : store.rows) {
        if (IsTouched(move, row.row)) ReleaseBytes(row.cells);
    }
    store.rows = std::move(made);
    store.lastSlot = 0;
    for (i32 row = move.firstRow; row <= move.lastRow && !store.formulas.IsEmpty(); ++row) {
        for (CellRecord& cell : Between(RowOf(store, row), move.firstColumn, move.lastColumn))
            PlaceFormula(store, cell.formula, row, cell.column);
    }
    TouchColumns(store, area.firstColumn, area.lastColumn);
    TouchColumns(store, move.firstColumn, move.lastColumn);
    return true;
}

void ShiftRowInfos(Array<RowInfo>& rows, i32 first, i32 count) {
    ShiftKeys(rows, &RowInfo::row, first, count, MAX_ROWS);
}
void ShiftColumnInfos(Array<ColumnInfo>& columns, i32 first, i32 count) {
    ShiftKeys(columns, &ColumnInfo::column, first, count, MAX_COLUMNS);
}

}  // namespace tally
