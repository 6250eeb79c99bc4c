#include "functions/CurrentRows.h"

#include "formula/KeptStore.h"
#include "model/CellStore.h"

namespace tally {
namespace {

struct CurrentColumn {
    u32 version = 0;
    i32 from = 0, behind = 0;  // rows known to be up to date
};
struct CurrentRows {
    KeptItem item;
    CurrentColumn columns[MAX_COLUMNS];
};

// The first row from `row` through `lastRow` whose cell waits; the row behind them when there is none.
i32 FirstWaiting(const CellStore& store, i32 column, i32 row, i32 lastRow) {
    for (u32 slot = FindRowSlot(store, row); slot < store.rows.Count(); ++slot) {
        const CellRow& cells = store.rows[slot];
        if (cells.row > lastRow) break;
        const u32 at = FindInRow(cells, column);
        if (at < cells.count && cells.cells[at].column == column && cells.cells[at].calcState < CALC_CURRENT)
            return cells.row;
    }
    return lastRow + 1;
}

bool IsColumnCurrent(const CellStore& store, CurrentColumn& known, i32 column, i32 first, i32 last) {
    if (known.version != store.columnVersion[column]) known = {store.columnVersion[column], first, first};
    if (first < known.from && last + 1 >= known.from) {
        const i32 waiting = FirstWaiting(store, column, first, known.from - 1);
        if (waiting < known.from) return waiting > last;
        known.from = first;
    }
    if (first < known.from || first > known.behind) {
        // Of two parts that do not meet the longer one is worth more.
        const i32 waiting = FirstWaiting(store, column, first, last);
        if (waiting - first > known.behind - known.from) known = {known.version, first, waiting};
        return waiting > last;
    }
    if (last >= known.behind) known.behind = FirstWaiting(store, column, known.behind, last);
    return last < known.behind;
}

}  // namespace

bool IsCurrent(const Sheet& sheet, const RefArea& area) {
    CurrentRows* rows = nullptr;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        if (!sheet.cells.formulasInColumn[column]) continue;
        if (!rows) rows = KeptRecord<CurrentRows>({sheet.serial, KEPT_CURRENT_ROWS, 0, 0, 0});
        if (rows ? !IsColumnCurrent(sheet.cells, rows->columns[column], column, area.firstRow, area.lastRow)
                 : FirstWaiting(sheet.cells, column, area.firstRow, area.lastRow) <= area.lastRow)
            return false;
    }
    return true;
}

}  // namespace tally
