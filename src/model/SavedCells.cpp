#include "model/SavedCells.h"

#include <algorithm>

#include "model/CellShift.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {
namespace {

void ReleaseRow(CellRow& row) {
    for (u32 i = 0; i < row.count; ++i) {
        FreeValue(row.cells[i].value);
        FormulaCell* formula = row.cells[i].formula;
        if (!formula) continue;
        FreeTokens(formula->tokens);
        DestroyRecord(formula);
    }
    ReleaseBytes(row.cells);
}

bool FillCell(CellRecord& cell, Sheet& sheet, const SavedCell& saved) {
    cell = CellRecord();
    CopyValue(cell.value, saved.value);
    cell.format = saved.format;
    cell.column = saved.column;
    cell.calcState = saved.calcState;
    if (!HasFormula(saved.tokens)) return true;
    cell.formula = CreateRecord<FormulaCell>();
    if (!cell.formula) return false;
    CopyTokens(cell.formula->tokens, saved.tokens);
    cell.formula->alwaysCalculate = saved.alwaysCalculate;
    cell.formula->sheet = &sheet;
    cell.formula->row = saved.row;
    cell.formula->column = saved.column;
    if (sheet.kind & SHEET_WORKSHEET) cell.calcState = CALC_STALE;
    return true;
}

u32 CellsInRow(const CellStore& store, i32 row) {
    const u32 slot = FindRowSlot(store, row);
    return slot < store.rows.Count() && store.rows[slot].row == row ? store.rows[slot].count : 0u;
}

// One row of the patch from the saved cells at `next`, which moves behind them.
bool PrepareRow(CellPatch& patch, Sheet& sheet, std::span<const SavedCell> cells, std::size_t& next) {
    const u16 number = cells[next].row;
    std::size_t last = next;
    while (last < cells.size() && cells[last].row == number) ++last;
    CellRow row;
    row.row = number;
    const std::size_t room = last - next + CellsInRow(sheet.cells, number);
    row.capacity = static_cast<u16>(std::min<std::size_t>(room, MAX_COLUMNS));
    row.cells = static_cast<CellRecord*>(AllocateBytes(row.capacity * sizeof(CellRecord)));
    bool good = row.cells != nullptr;
    for (; good && next < last; ++next) {
        good = FillCell(row.cells[row.count], sheet, cells[next]);
        ++row.count;
        patch.formulas += HasFormula(cells[next].tokens);
    }
    if (good && patch.rows.Append(row)) return true;
    if (row.cells) ReleaseRow(row);
    return false;
}

bool NeedsSpare(const CellPatch& patch, const CellStore& store, u32 rowsAdded) {
    if (rowsAdded) return true;
    for (const CellRow& row : patch.rows)
        if (!CellsInRow(store, row.row)) return true;
    return false;
}

// Puts what stands beside the area in the old row around the new cells, which become the row.
void MergeRow(CellStore& store, CellRow& old, CellRow& fresh, const RefArea& area) {
    const u32 from = FindInRow(old, area.firstColumn), to = FindInRow(old, area.lastColumn + 1);
    for (u32 i = from; i < to; ++i) FreeCellContents(store, old.cells[i]);
    const u32 right = old.count - to;
    CellRecord* cells = fresh.cells;
    std::memmove(static_cast<void*>(cells + from), static_cast<const void*>(cells),
                 fresh.count * sizeof(CellRecord));
    std::memcpy(static_cast<void*>(cells), static_cast<const void*>(old.cells), from * sizeof(CellRecord));
    std::memcpy(static_cast<void*>(cells + from + fresh.count), static_cast<const void*>(old.cells + to),
                right * sizeof(CellRecord));
    store.count += fresh.count;
    store.count -= to - from;
    ReleaseBytes(old.cells);
    old = fresh;
    old.count = static_cast<u16>(from + fresh.count + right);
    fresh.cells = nullptr;
}

void EnterFormulas(CellStore& store, const CellRow& row, u32 from, u32 count) {
    for (u32 i = from; i < from + count; ++i) {
        FormulaCell* formula = row.cells[i].formula;
        if (!formula) continue;
        formula->listIndex = store.formulas.Count();
        // Room was made before.
        IgnoreFailure(store.formulas.Append(formula));
        ++store.formulasInColumn[formula->column];
    }
}

bool HasEmptyRow(const CellStore& store, const RefArea& area) {
    for (u32 slot = FindRowSlot(store, area.firstRow); slot < store.rows.Count(); ++slot) {
        if (store.rows[slot].row > area.lastRow) return false;
        if (!store.rows[slot].count) return true;
    }
    return false;
}

// New rows go among the old ones, emptied ones go out.
void MergeRowList(CellStore& store, CellPatch& patch) {
    Array<CellRow>& all = patch.spare;
    u32 next = 0;
    const auto put = [&](const CellRow& row) { IgnoreFailure(all.Append(row)); };
    const auto putNew = [&](i32 below) {
        for (; next < patch.rows.Count() && patch.rows[next].row < below; ++next) {
            if (!patch.rows[next].cells) continue;
            put(patch.rows[next]);
            store.count += patch.rows[next].count;
        }
    };
    for (CellRow& row : store.rows) {
        putNew(row.row);
        if (row.count) put(row);
        else ReleaseBytes(row.cells);
    }
    putNew(MAX_ROWS);
    store.rows = std::move(all);
}

}  // namespace

bool SaveCells(CellStore& store, const RefArea& area, Array<SavedCell>& out) {
    bool good = true;
    WalkArea(store, area, [&](u16 row, const CellRecord& cell) {
        SavedCell saved;
        saved.row = row;
        saved.column = cell.column;
        saved.format = cell.format;
        saved.calcState = cell.calcState;
        CopyValue(saved.value, cell.value);
        if (cell.formula) {
            CopyTokens(saved.tokens, cell.formula->tokens);
            saved.alwaysCalculate = cell.formula->alwaysCalculate;
        }
        good = out.Append(saved);
        if (good) return true;
        FreeValue(saved.value);
        FreeTokens(saved.tokens);
        return false;
    });
    if (!good) FreeSavedCells(out);
    return good;
}

void FreeSavedCells(Array<SavedCell>& cells) {
    for (SavedCell& cell : cells) {
        FreeValue(cell.value);
        FreeTokens(cell.tokens);
    }
    cells.Clear();
}

bool PrepareCells(CellPatch& patch, Sheet& sheet, const RefArea& area, std::span<const SavedCell> cells,
                  u32 rowsAdded) {
    patch.area = area;
    bool good = true;
    for (std::size_t next = 0; good && next < cells.size();) good = PrepareRow(patch, sheet, cells, next);
    CellStore& store = sheet.cells;
    good = good && store.formulas.Reserve(std::size_t{store.formulas.Count()} + patch.formulas);
    if (good && NeedsSpare(patch, store, rowsAdded))
        good = patch.spare.Reserve(std::size_t{store.rows.Count()} + rowsAdded + patch.rows.Count() + 1);
    if (!good) DropPatch(patch);
    return good;
}

void CommitCells(CellPatch& patch, Sheet& sheet) {
    CellStore& store = sheet.cells;
    RemoveCells(store, patch.area, true);
    u32 next = 0;
    for (u32 slot = FindRowSlot(store, patch.area.firstRow); slot < store.rows.Count(); ++slot) {
        CellRow& row = store.rows[slot];
        while (next < patch.rows.Count() && patch.rows[next].row < row.row) ++next;
        if (next == patch.rows.Count()) break;
        if (patch.rows[next].row != row.row) continue;
        const u32 from = FindInRow(row, patch.area.firstColumn), count = patch.rows[next].count;
        MergeRow(store, row, patch.rows[next], patch.area);
        EnterFormulas(store, row, from, count);
    }
    for (const CellRow& row : patch.rows)
        if (row.cells) EnterFormulas(store, row, 0, row.count);
    if (patch.spare.Capacity()) MergeRowList(store, patch);
    else if (HasEmptyRow(store, patch.area)) DropEmptyRows(store);
    store.lastSlot = 0;
    for (i32 column = patch.area.firstColumn; column <= patch.area.lastColumn; ++column)
        TouchColumn(store, column);
    patch.rows.Clear();
    patch.spare.Clear();
}

void DropPatch(CellPatch& patch) {
    for (CellRow& row : patch.rows)
        if (row.cells) ReleaseRow(row);
    patch.rows.Clear();
    patch.spare.Clear();
    patch.formulas = 0;
}

}  // namespace tally
