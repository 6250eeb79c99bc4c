#include "model/CellStore.h"

#include <algorithm>
#include <cstring>

#include "base/Number.h"
#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {
namespace {

constexpr u32 MAX_ROW_CELLS = MAX_COLUMNS;

// Makes room for one more cell in a row; the cells stay as they are when it fails.
bool GrowRow(CellRow& row) {
    if (row.count < row.capacity) return true;
    const u32 wanted =
        row.capacity < 2 ? (row.capacity ? 4u : 1u) : std::min(MAX_ROW_CELLS, u32{row.capacity} * 2);
    void* moved = ReallocateBytes(row.cells, wanted * sizeof(CellRecord));
    if (!moved) return false;
    row.cells = static_cast<CellRecord*>(moved);
    row.capacity = static_cast<u16>(wanted);
    return true;
}

// The slot of a row, made when it is not there; the store's row count when memory fails.
u32 PutRowSlot(CellStore& store, i32 row) {
    const u32 slot = FindRowSlot(store, row);
    if (slot < store.rows.Count() && store.rows[slot].row == row) return slot;
    CellRow fresh;
    fresh.row = static_cast<u16>(row);
    // A first guess from the row above: files repeat their row length.
    fresh.capacity = slot && slot == store.rows.Count() ? store.rows[slot - 1].count : u16{1};
    fresh.cells = static_cast<CellRecord*>(AllocateBytes(fresh.capacity * sizeof(CellRecord)));
    if (!fresh.cells) return store.rows.Count();
    if (!store.rows.InsertAt(slot, fresh)) {
        ReleaseBytes(fresh.cells);
        return store.rows.Count();
    }
    return slot;
}

void DropRowSlot(CellStore& store, u32 slot) {
    ReleaseBytes(store.rows[slot].cells);
    store.rows.RemoveAt(slot);
    store.lastSlot = 0;
}

void ReleaseFormula(CellStore& store, CellRecord& cell) {
    FormulaCell* formula = cell.formula;
    if (!formula) return;
    if (formula->indexed) Calls().formulaGone(*formula);
    --store.formulasInColumn[formula->column];
    FormulaCell* last = store.formulas.Last();
    store.formulas[formula->listIndex] = last;
    last->listIndex = formula->listIndex;
    store.formulas.RemoveLast();
    FreeTokens(formula->tokens);
    DestroyRecord(formula);
    cell.formula = nullptr;
}

bool AttachFormula(Sheet& sheet, i32 row, CellRecord& cell, const FormulaTokens& tokens) {
    FormulaCell* formula = CreateRecord<FormulaCell>();
    if (!formula) return false;
    formula->listIndex = sheet.cells.formulas.Count();
    if (!sheet.cells.formulas.Append(formula)) {
        DestroyRecord(formula);
        return false;
    }
    formula->tokens = tokens;
    formula->sheet = &sheet;
    formula->row = static_cast<u16>(row);
    formula->column = cell.column;
    ++sheet.cells.formulasInColumn[cell.column];
    cell.formula = formula;
    return true;
}

// Position of a key in an ascending list of records, or where it would stand.
template <typename Record, typename Key>
u32 LowerBound(const Array<Record>& list, Key Record::*key, i32 wanted) {
    const Record* found = std::lower_bound(list.begin(), list.end(), wanted,
                                           [key](const Record& r, i32 k) { return i32{r.*key} < k; });
    return static_cast<u32>(found - list.begin());
}

template <typename Record, typename Key>
bool PutSorted(Array<Record>& list, Key Record::*key, const Record& record) {
    // Files list them in ascending order.
    if (list.IsEmpty() || list.Last().*key < record.*key) return list.Append(record);
    const u32 at = LowerBound(list, key, record.*key);
    if (list[at].*key == record.*key) {
        list[at] = record;
        return true;
    }
    return list.InsertAt(at, record);
}

}  // namespace

u32 FindRowSlot(const CellStore& store, i32 row) {
    const u32 count = store.rows.Count();
    // Walks and loads ask for the rows in turn.
    if (!count || store.rows[count - 1].row < row) return count;
    const u32 hint = store.lastSlot;
    if (hint < count && store.rows[hint].row == row) return hint;
    if (hint + 1 < count && store.rows[hint + 1].row == row) return hint + 1;
    // Rows without gaps stand at their own number.
    if (row >= 0 && static_cast<u32>(row) < count && store.rows[static_cast<u32>(row)].row == row) {
        return static_cast<u32>(row);
    }
    return LowerBound(store.rows, &CellRow::row, row);
}

u32 FindInRow(const CellRow& row, i32 column) {
    u32 low = 0;
    u32 high = row.count;
    if (column >= 0 && static_cast<u32>(column) < high && row.cells[column].column == column) {
        return static_cast<u32>(column);
    }
    if (high && row.cells[high - 1].column < column) return high;
    while (low < high) {
        const u32 middle = (low + high) / 2;
        if (row.cells[middle].column < column) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

bool FindCell(CellStore& store, i32 row, i32 column, CellPosition& position) {
    position.slot = FindRowSlot(store, row);
    position.index = 0;
    if (position.slot >= store.rows.Count() || store.rows[position.slot].row != row) return false;
    store.lastSlot = position.slot;
    const CellRow& found = store.rows[position.slot];
    position.index = FindInRow(found, column);
    if (position.index < found.count) return found.cells[position.index].column == column;
    // Behind the last cell of the row the walk goes on with the next row.
    ++position.slot;
    position.index = 0;
    return false;
}

CellRecord* GetCell(CellStore& store, i32 row, i32 column) {
    CellPosition position;
    return FindCell(store, row, column, position) ? &CellAt(store, position) : nullptr;
}

const CellRecord* GetCell(const CellStore& store, i32 row, i32 column) {
    const u32 slot = FindRowSlot(store, row);
    if (slot >= store.rows.Count() || store.rows[slot].row != row) return nullptr;
    const CellRow& found = store.rows[slot];
    const u32 index = FindInRow(found, column);
    return index < found.count && found.cells[index].column == column ? &found.cells[index] : nullptr;
}

u32 CellIndex(const CellStore& store, const CellPosition& position) {
    u32 index = position.index;
    for (u32 slot = 0; slot < position.slot && slot < store.rows.Count(); ++slot)
        index += store.rows[slot].count;
    return index;
}

CellRecord* PutCell(CellStore& store, i32 row, i32 column) {
    if (row < 0 || row >= MAX_ROWS || column < 0 || column >= MAX_COLUMNS) return nullptr;
    const u32 slot = PutRowSlot(store, row);
    if (slot >= store.rows.Count()) return nullptr;
    CellRow& place = store.rows[slot];
    store.lastSlot = slot;
    const u32 index = FindInRow(place, column);
    if (index < place.count && place.cells[index].column == column) return &place.cells[index];
    if (!GrowRow(place)) {
        if (!place.count) DropRowSlot(store, slot);
        return nullptr;
    }
    std::memmove(static_cast<void*>(place.cells + index + 1), static_cast<const void*>(place.cells + index),
                 (place.count - index) * sizeof(CellRecord));
    CellRecord* cell = new (static_cast<void*>(place.cells + index)) CellRecord();
    cell->format = DEFAULT_CELL_FORMAT;
    cell->column = static_cast<u8>(column);
    ++place.count;
    ++store.count;
    return cell;
}

bool SetCellTokens(Sheet& sheet, i32 row, CellRecord& cell, FormulaTokens tokens) {
    if (!HasFormula(tokens)) {
        ReleaseFormula(sheet.cells, cell);
        return true;
    }
    if (!cell.formula) return AttachFormula(sheet, row, cell, tokens);
    FormulaCell& formula = *cell.formula;
    if (formula.indexed) Calls().formulaGone(formula);
    FreeTokens(formula.tokens);
    formula.alwaysCalculate = false;
    formula.tokens = tokens;
    return true;
}

bool InsertCell(Sheet& sheet, i32 row, i32 column, u16 format, Value value, FormulaTokens tokens) {
    CellStore& store = sheet.cells;
    const u32 before = store.count;
    CellRecord* cell = PutCell(store, row, column);
    const bool isNew = store.count != before;
    if (cell && HasFormula(tokens) && !SetCellTokens(sheet, row, *cell, tokens)) {
        if (isNew) {
            CellPosition position;
            if (FindCell(store, row, column, position)) RemoveCell(store, position);
        }
        cell = nullptr;
    }
    if (!cell) {
        FreeValue(value);
        FreeTokens(tokens);
        return false;
    }
    if (!HasFormula(tokens)) ReleaseFormula(store, *cell);
    FreeValue(cell->value);
    cell->value = value;
    cell->format = format;
    cell->calcState = cell->formula ? CALC_STALE : value.type != VT_EMPTY ? CALC_CURRENT : CALC_BLANK;
    TouchColumn(store, column);
    return true;
}

void FreeCellContents(CellStore& store, CellRecord& cell) {
    ReleaseFormula(store, cell);
    ClearValue(cell.value);
    cell.calcState = CALC_BLANK;
    TouchColumn(store, cell.column);
}

void RemoveCell(CellStore& store, const CellPosition& position) {
    CellRow& row = store.rows[position.slot];
    FreeCellContents(store, row.cells[position.index]);
    std::memmove(static_cast<void*>(row.cells + position.index),
                 static_cast<const void*>(row.cells + position.index + 1),
                 (row.count - position.index - 1u) * sizeof(CellRecord));
    --row.count;
    --store.count;
    if (!row.count) DropRowSlot(store, position.slot);
}

void FreeStore(CellStore& store) {
    for (CellRow& row : store.rows) {
        for (u32 i = 0; i < row.count; ++i) {
            FreeValue(row.cells[i].value);
            FormulaCell* formula = row.cells[i].formula;
            if (!formula) continue;
            if (formula->indexed) Calls().formulaGone(*formula);
            FreeTokens(formula->tokens);
            DestroyRecord(formula);
        }
        ReleaseBytes(row.cells);
    }
    store.rows.Clear();
    store.formulas.Clear();
    store.count = 0;
    store.lastSlot = 0;
    for (u32& version : store.columnVersion) ++version;
    for (u32& count : store.formulasInColumn) count = 0;
}

// ---- rows, columns and sizes ----------------------------------------------------------------------

u16 GetCellFormat(const Sheet& sheet, i32 row, i32 column) {
    if (const CellRecord* cell = GetCell(sheet.cells, row, column)) return cell->format;
    u16 flags = 0;
    u16 format = 0;
    GetColumnInfo(sheet.columns, column, flags, format);
    return format;
}

u16 GetColumnInfo(const Array<ColumnInfo>& columns, i32 column, u16& flags, u16& format) {
    const u32 at = LowerBound(columns, &ColumnInfo::column, column);
    ColumnInfo info;
    if (at < columns.Count() && columns[at].column == column) info = columns[at];
    flags = info.flags;
    format = info.format;
    return info.width;
}

u16 GetRowInfo(const Array<RowInfo>& rows, i32 row, u16& flags) {
    const RowInfo none;
    const RowInfo* found = FindRowInfo(rows, row);
    const RowInfo& info = found ? *found : none;
    flags = info.flags;
    return info.height;
}

const RowInfo* FindRowInfo(const Array<RowInfo>& rows, i32 row) {
    const u32 at = LowerBound(rows, &RowInfo::row, row);
    return at < rows.Count() && rows[at].row == row ? &rows[at] : nullptr;
}

bool SetRowInfo(Array<RowInfo>& rows, const RowInfo& info) { return PutSorted(rows, &RowInfo::row, info); }
bool SetColumnInfo(Array<ColumnInfo>& columns, const ColumnInfo& info) {
    return PutSorted(columns, &ColumnInfo::column, info);
}

u16 DefaultColumnWidth(const Sheet& sheet) {
    return sheet.viewFlags & VIEW_STANDARD_WIDTH ? u16{2048} : sheet.defaultColumnWidth;
}
u16 DefaultRowHeight(const Sheet& sheet) {
    return sheet.viewFlags & VIEW_STANDARD_HEIGHT ? u16{255} : sheet.defaultRowHeight;
}

namespace {

u16 WidthOf(const Sheet& sheet, u16 flags, u16 width) {
    if (flags & COLUMN_HIDDEN) return 0;
    return flags & COLUMN_DEFAULT_WIDTH ? DefaultColumnWidth(sheet) : width;
}
u16 HeightOf(const Sheet& sheet, u16 flags, u16 height) {
    if (flags & ROW_HIDDEN) return 0;
    return flags & ROW_DEFAULT_HEIGHT ? DefaultRowHeight(sheet) : height;
}

}  // namespace

u16 GetColumnWidth(const Sheet& sheet, i32 column) {
    u16 flags = 0;
    u16 format = 0;
    const u16 width = GetColumnInfo(sheet.columns, column, flags, format);
    return WidthOf(sheet, flags, width);
}

u16 GetRowHeight(const Sheet& sheet, i32 row) {
    u16 flags = 0;
    const u16 height = GetRowInfo(sheet.rows, row, flags);
    return HeightOf(sheet, flags, height);
}

i32 ColumnLeft(const Sheet& sheet, i32 column, i32 fraction, i32 charWidth) {
    i32 pixels = 0;
    i32 counted = 0;
    for (const ColumnInfo& info : sheet.columns) {
        if (info.column >= column) break;
        if (info.flags & COLUMN_HIDDEN) {
            ++counted;
        } else if (!(info.flags & COLUMN_DEFAULT_WIDTH)) {
            pixels += MulDiv(charWidth, info.width, 256);
            ++counted;
        }
    }
    pixels += MulDiv(charWidth, DefaultColumnWidth(sheet), 256) * (column - counted);
    if (fraction) pixels += MulDiv(fraction, MulDiv(charWidth, GetColumnWidth(sheet, column), 256), 1024);
    return pixels;
}

i32 RowTop(const Sheet& sheet, i32 row, i32 fraction, i32 pixelsPerInch) {
    i32 pixels = 0;
    i32 counted = 0;
    for (const RowInfo& info : sheet.rows) {
        if (info.row >= row) break;
        if (info.flags & ROW_HIDDEN) {
            ++counted;
        } else if (!(info.flags & ROW_DEFAULT_HEIGHT)) {
            pixels += MulDiv(info.height, pixelsPerInch, 1440);
            ++counted;
        }
    }
    pixels += MulDiv(DefaultRowHeight(sheet), pixelsPerInch, 1440) * (row - counted);
    if (fraction) pixels += MulDiv(fraction, MulDiv(GetRowHeight(sheet, row), pixelsPerInch, 1440), 256);
    return pixels;
}

i32 LastUsedRow(const Sheet& sheet) {
    i32 last = 0;
    if (!sheet.cells.rows.IsEmpty()) last = sheet.cells.rows.Last().row;
    if (!sheet.rows.IsEmpty()) last = std::max(last, i32{sheet.rows.Last().row});
    for (const RefArea& merge : sheet.mergedAreas) last = std::max(last, i32{merge.lastRow});
    return last;
}

i32 LastUsedColumn(const Sheet& sheet) {
    i32 last = 0;
    for (const CellRow& row : sheet.cells.rows) last = std::max(last, i32{row.cells[row.count - 1].column});
    for (const RefArea& merge : sheet.mergedAreas) last = std::max(last, i32{merge.lastColumn});
    return last;
}

const RefArea* FindMerge(const Sheet& sheet, i32 row, i32 column) {
    for (const RefArea& merge : sheet.mergedAreas) {
        if (AreaHolds(merge, row, column)) return &merge;
    }
    return nullptr;
}

const DataTable* FindDataTable(const Sheet& sheet, i32 row, i32 column) {
    for (const DataTable& table : sheet.dataTables)
        if (AreaHolds(table.area, row, column)) return &table;
    return nullptr;
}

const ArrayEntry* FindArray(const Sheet& sheet, i32 row, i32 column) {
    for (const ArrayEntry& entry : sheet.arrayFormulas) {
        if (AreaHolds(entry.area, row, column)) return &entry;
    }
    return nullptr;
}

}  // namespace tally
