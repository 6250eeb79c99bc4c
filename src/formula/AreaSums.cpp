#include "formula/AreaSums.h"

#include <algorithm>

#include "formula/Coercion.h"
#include "formula/Links.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr i32 KEPT_ROWS = 64;  // areas with fewer rows are added up at once
constexpr u32 KEPT_SUMS = 16;

// The sums of an area's first rows: entry i is what stands after row `rows[i]`.
struct KeptSum {
    u32 serial = 0;   // of the sheet; 0 is none
    u32 version = 0;  // the columns' versions together
    u16 firstRow = 0;
    u8 firstColumn = 0, lastColumn = 0;
    i32 covered = 0;  // rows below this one are in the sums
    i32 error = -1;   // met in row `errorRow`
    i32 errorRow = 0;
    u64 used = 0;
    Array<u16> rows;
    Array<double> sums;
};

struct SumState {
    KeptSum kept[KEPT_SUMS];
    u64 clock = 0;
};
SumState state;

// Adds one value; false for an error.
bool AddOne(const Value& value, double& sum, i32& error) {
    if (value.type == VT_NUMBER) {
        sum += value.number;
    } else if (value.type == VT_ERROR) {
        error = value.error;
        return false;
    }
    return true;
}

// Adds the cells of some rows of an area; stale ones are calculated first.
bool AddRows(i32 book, i32 sheetIndex, const RefArea& area, double& sum, i32& error) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    CellPosition position;
    FindCell(sheet->cells, area.firstRow, area.firstColumn, position);
    while (!AtEnd(sheet->cells, position)) {
        const i32 row = RowAt(sheet->cells, position);
        if (row > area.lastRow) return true;
        const CellRecord& cell = CellAt(sheet->cells, position);
        const i32 column = cell.column;
        if (column > area.lastColumn) {
            ++position.slot;
            position.index = 0;
            if (position.slot < sheet->cells.rows.Count())
                position.index = FindInRow(sheet->cells.rows[position.slot], area.firstColumn);
            if (position.slot < sheet->cells.rows.Count() &&
                position.index >= sheet->cells.rows[position.slot].count) {
                position.index = sheet->cells.rows[position.slot].count - 1u;
                NextCell(sheet->cells, position);
            }
            continue;
        }
        if (column >= area.firstColumn) {
            if (cell.calcState < CALC_CURRENT) {
                BringUpToDate(book, sheetIndex, row, column);
                sheet = SheetAt(book, sheetIndex);
                if (!sheet || !FindCell(sheet->cells, row, column, position)) return true;
            }
            if (!AddOne(CellAt(sheet->cells, position).value, sum, error)) return false;
        }
        NextCell(sheet->cells, position);
    }
    return true;
}

u32 VersionOf(const Sheet& sheet, const RefArea& area) {
    u32 version = 0;
    for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) version += sheet.cells.columnVersion[c];
    return version;
}

KeptSum& FindKept(const Sheet& sheet, const RefArea& area) {
    KeptSum* oldest = &state.kept[0];
    for (KeptSum& kept : state.kept) {
        if (kept.serial == sheet.serial && kept.firstRow == area.firstRow &&
            kept.firstColumn == area.firstColumn && kept.lastColumn == area.lastColumn) {
            return kept;
        }
        if (kept.used < oldest->used) oldest = &kept;
    }
    oldest->serial = 0;
    return *oldest;
}

void Restart(KeptSum& kept, const Sheet& sheet, const RefArea& area, u32 version) {
    kept.serial = sheet.serial;
    kept.version = version;
    kept.firstRow = area.firstRow;
    kept.firstColumn = area.firstColumn;
    kept.lastColumn = area.lastColumn;
    kept.covered = area.firstRow;
    kept.error = -1;
    kept.rows.Truncate(0);
    kept.sums.Truncate(0);
}

// True when no cell of the rows still to be covered waits for its calculation.
bool AllCurrent(Sheet& sheet, const RefArea& area) {
    for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) {
        if (!sheet.cells.formulasInColumn[c]) continue;
        bool current = true;
        WalkArea(sheet.cells, area, [&](u16, CellRecord& cell) {
            if (cell.column > area.lastColumn || cell.column < area.firstColumn) return true;
            current = cell.calcState >= CALC_CURRENT;
            return current;
        });
        return current;
    }
    return true;
}

// Extends the sums through the area's last row. False when memory fails: nothing is kept then.
bool Extend(KeptSum& kept, Sheet& sheet, const RefArea& area) {
    double sum = kept.sums.IsEmpty() ? 0 : kept.sums.Last();
    RefArea rest = area;
    rest.firstRow = static_cast<u16>(kept.covered);
    bool good = true;
    i32 row = -1;
    WalkArea(sheet.cells, rest, [&](u16 at, CellRecord& cell) {
        if (cell.column > rest.lastColumn) return true;
        if (at != row) {
            if (row >= 0) good = kept.rows.Append(static_cast<u16>(row)) && kept.sums.Append(sum);
            row = at;
        }
        if (!good || AddOne(cell.value, sum, kept.error)) return good;
        kept.errorRow = at;
        return false;
    });
    if (good && row >= 0 && kept.error < 0)
        good = kept.rows.Append(static_cast<u16>(row)) && kept.sums.Append(sum);
    kept.covered = area.lastRow + 1;
    if (!good) kept.serial = 0;
    return good;
}

// The kept sum through a row.
double SumThrough(const KeptSum& kept, i32 row) {
    const u16* found = std::upper_bound(kept.rows.begin(), kept.rows.end(), row,
                                        [](i32 wanted, u16 r) { return wanted < i32{r}; });
    return found == kept.rows.begin() ? 0 : kept.sums[static_cast<std::size_t>(found - kept.rows.begin()) - 1];
}

// From the kept sums; false when they do not serve.
bool AddKept(Sheet& sheet, const RefArea& area, double& sum, i32& error, bool& good) {
    // Sums that start from something else than zero would round differently.
    if (sum != 0 || area.lastRow - area.firstRow < KEPT_ROWS) return false;
    KeptSum& kept = FindKept(sheet, area);
    const u32 version = VersionOf(sheet, area);
    if (kept.serial == 0 || kept.version != version) Restart(kept, sheet, area, version);
    kept.used = ++state.clock;
    if (kept.error < 0 && kept.covered <= area.lastRow) {
        RefArea rest = area;
        rest.firstRow = static_cast<u16>(kept.covered);
        if (!AllCurrent(sheet, rest) || !Extend(kept, sheet, area)) return false;
    }
    good = kept.error < 0 || kept.errorRow > area.lastRow;
    error = kept.error;
    if (good) sum += SumThrough(kept, area.lastRow);
    return true;
}

bool AddArray(const Value& array, double& sum, i32& error) {
    const u32 count = ArrayElementCount(array);
    for (u32 i = 0; i < count; ++i) {
        if (!AddOne(array.elements[i], sum, error)) return false;
    }
    return true;
}

// Adds every area of a reference on every sheet that it names.
bool AddReference(const Value& value, const EvalContext& context, double& sum, i32& error) {
    ResolvedRef ref;
    ref.book = context.book;
    error = ERR_REF;
    if (!ResolveExternRef(value.externIndex, ref) || ref.firstSheet < 0) return false;
    for (i32 sheet = ref.firstSheet; sheet <= ref.lastSheet; ++sheet) {
        const Sheet* target = SheetAt(ref.targetBook, sheet);
        if (!target || !(target->kind & SHEET_WITH_CELLS)) continue;
        for (u16 i = 0; i < value.areas->count; ++i) {
            // Each part is added up by itself from what stands before it.
            if (!AddArea(ref.targetBook, sheet, value.areas->areas[i], sum, error)) return false;
        }
    }
    return true;
}

}  // namespace

bool AddArea(i32 book, i32 sheet, const RefArea& area, double& sum, i32& error) {
    Sheet* target = SheetAt(book, sheet);
    if (!target || !target->cells.count) return true;
    bool good = true;
    if (AddKept(*target, area, sum, error, good)) return good;
    return AddRows(book, sheet, area, sum, error);
}

Value SumValue(const Value& value, const EvalContext& context) {
    double sum = 0;
    i32 error = ERR_VALUE;
    bool good = false;
    switch (value.type) {
        case VT_AREA: good = AddArea(context.book, context.sheet, value.area, sum, error); break;
        case VT_REF: good = AddReference(value, context, sum, error); break;
        case VT_ARRAY: good = AddArray(value, sum, error); break;
        default: break;
    }
    return good ? NumberValue(sum) : ErrorValue(error);
}

void ForgetSums(const Sheet& sheet, i32 row, i32 column) {
    for (KeptSum& kept : state.kept) {
        if (kept.serial == sheet.serial && column >= kept.firstColumn && column <= kept.lastColumn &&
            row >= kept.firstRow && row < kept.covered) {
            kept.serial = 0;
        }
    }
}

void ResetAreaSums() { state = SumState(); }

}  // namespace tally
