#include "formula/SheetCalculation.h"

#include "base/LongOperation.h"
#include "formula/EngineState.h"

namespace tally {

void CalculateArea(Sheet& sheet, const RefArea& area) {
    const i32 book = sheet.book, index = sheet.index;
    CellStore& store = sheet.cells;
    if (store.formulas.IsEmpty() || Engine().suspended) return;
    const LongOperation work(OPERATION_CALCULATE);
    for (u32 slot = FindRowSlot(store, area.firstRow);
         slot < store.rows.Count() && store.rows[slot].row <= area.lastRow; ++slot) {
        for (u32 i = FindInRow(store.rows[slot], area.firstColumn);
             slot < store.rows.Count() && i < store.rows[slot].count; ++i) {
            const CellRecord& cell = store.rows[slot].cells[i];
            if (cell.column > area.lastColumn) break;
            if (cell.formula && cell.calcState == CALC_STALE)
                IgnoreFailure(CalculateCell(book, index, store.rows[slot].row, cell.column));
            if (Engine().suspended) return;
        }
    }
}

}  // namespace tally
