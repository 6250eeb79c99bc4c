#include "formula/ArrayIndex.h"

#include <algorithm>

#include "model/CellStore.h"

namespace tally {
namespace {

constexpr u32 FEW_ARRAYS = 16;  // are walked

// The arrays of a column from the top.
struct ColumnArrays {
    u32 version = 0;
    u32 count = 0;  // of all arrays of the sheet
    const ArrayEntry* arrays = nullptr;
    bool asked = false;
    bool ordered = false;
    Array<u32> order;
};

struct SheetArrays {
    u32 serial = 0;  // 0 is none
    ColumnArrays columns[MAX_COLUMNS];
};

constexpr u32 KEPT_SHEETS = 4;

struct ArrayIndexState {
    SheetArrays sheets[KEPT_SHEETS];
    u32 next = 0;  // the one that gives way
};
ArrayIndexState state;

SheetArrays& ArraysOf(const Sheet& sheet) {
    for (SheetArrays& kept : state.sheets) {
        if (kept.serial == sheet.serial) return kept;
    }
    SheetArrays& kept = state.sheets[state.next++ % KEPT_SHEETS];
    kept = SheetArrays();
    kept.serial = sheet.serial;
    return kept;
}

bool Fits(const ColumnArrays& kept, const Sheet& sheet, i32 column) {
    return kept.version == sheet.cells.columnVersion[column] && kept.count == sheet.arrayFormulas.Count() &&
           kept.arrays == sheet.arrayFormulas.Data();
}

// False when memory fails, or arrays of a damaged list lie over each other.
bool Order(ColumnArrays& kept, const Sheet& sheet, i32 column) {
    const Array<ArrayEntry>& arrays = sheet.arrayFormulas;
    kept.order.Truncate(0);
    for (u32 i = 0; i < arrays.Count(); ++i) {
        const bool meets = column >= arrays[i].area.firstColumn && column <= arrays[i].area.lastColumn;
        if (meets && !kept.order.Append(i)) return false;
    }
    std::sort(kept.order.begin(), kept.order.end(),
              [&](u32 a, u32 b) { return arrays[a].area.firstRow < arrays[b].area.firstRow; });
    for (u32 i = 1; i < kept.order.Count(); ++i) {
        if (arrays[kept.order[i]].area.firstRow <= arrays[kept.order[i - 1]].area.lastRow) return false;
    }
    return true;
}

}  // namespace

const ArrayEntry* ArrayOfCell(const Sheet& sheet, i32 row, i32 column) {
    const Array<ArrayEntry>& arrays = sheet.arrayFormulas;
    if (arrays.Count() <= FEW_ARRAYS) return FindArray(sheet, row, column);
    ColumnArrays& kept = ArraysOf(sheet).columns[column];
    if (!kept.asked || !Fits(kept, sheet, column)) {
        kept.version = sheet.cells.columnVersion[column];
        kept.count = arrays.Count();
        kept.arrays = arrays.Data();
        kept.asked = true;
        kept.ordered = false;
        return FindArray(sheet, row, column);
    }
    if (!kept.ordered && !Order(kept, sheet, column)) return FindArray(sheet, row, column);
    kept.ordered = true;
    const u32* behind = std::upper_bound(kept.order.begin(), kept.order.end(), row, [&](i32 wanted, u32 entry) {
        return wanted < i32{arrays[entry].area.firstRow};
    });
    if (behind == kept.order.begin()) return nullptr;
    const ArrayEntry& found = arrays[*(behind - 1)];
    return AreaHolds(found.area, row, column) ? &found : nullptr;
}

void ResetArrayIndex() {
    for (SheetArrays& kept : state.sheets) kept = SheetArrays();
}

}  // namespace tally
