#include "editing/WorkRows.h"

#include <algorithm>
#include <utility>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "editing/PasteTargets.h"
#include "formula/Recalculation.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {
namespace {

bool KeepOld(const WorkRows& work, const CellRecord& old, Array<SavedCell>& cells) {
    SavedCell saved;
    saved.row = static_cast<u16>(work.row);
    saved.column = old.column;
    saved.format = old.format;
    saved.calcState = old.calcState;
    CopyValue(saved.value, old.value);
    if (old.formula) {
        CopyTokens(saved.tokens, old.formula->tokens);
        saved.alwaysCalculate = old.formula->alwaysCalculate;
    }
    if (cells.Append(saved)) return true;
    FreeValue(saved.value);
    FreeTokens(saved.tokens);
    return false;
}

void DropLinksOf(WorkRows& work, i32 column) {
    for (const u32 link : work.links)
        if (AreaHolds(work.sheet.hyperlinks[link].area, work.row, column)) work.drops[link] = 1;
}

}  // namespace

bool StartWork(WorkRows& work) {
    const Sheet& sheet = work.sheet;
    std::fill(std::begin(work.columnFormats), std::end(work.columnFormats), DEFAULT_CELL_FORMAT);
    for (const ColumnInfo& info : sheet.columns) work.columnFormats[info.column] = info.format;
    work.slot = FindRowSlot(sheet.cells, work.after.area.firstRow);
    const u32 links = sheet.hyperlinks.Count();
    if (!work.drops.Resize(links)) return false;
    for (u32 i = 0; i < links; ++i)
        if (AreasMeet(sheet.hyperlinks[i].area, work.after.area) && !work.links.Append(i)) return false;
    return true;
}

void LoadWorkRow(WorkRows& work, i32 row) {
    const RefArea& area = work.after.area;
    const Array<CellRow>& rows = work.sheet.cells.rows;
    work.row = row;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        WorkCell& cell = work.cells[column];
        cell.old = nullptr;
        cell.isNew = cell.stands = false;
    }
    while (work.slot < rows.Count() && rows[work.slot].row < row) ++work.slot;
    if (work.slot == rows.Count() || rows[work.slot].row != row) return;
    const CellRow& cells = rows[work.slot];
    for (u32 i = FindInRow(cells, area.firstColumn); i < cells.count; ++i) {
        if (cells.cells[i].column > area.lastColumn) break;
        WorkCell& cell = work.cells[cells.cells[i].column];
        cell.old = &cells.cells[i];
        cell.stands = true;
    }
}

u16 WorkFormat(const WorkRows& work, i32 column) {
    const WorkCell& cell = work.cells[column];
    if (!cell.stands) return work.columnFormats[column];
    return cell.isNew ? cell.cell.format : cell.old->format;
}

void StoreWorkCell(WorkRows& work, i32 column, SavedCell cell, u16 columnFormat) {
    WorkCell& place = work.cells[column];
    if (place.isNew) {
        FreeTokens(place.cell.tokens);
        FreeValue(place.cell.value);
    }
    if (place.old && !work.links.IsEmpty()) DropLinksOf(work, column);
    const bool formula = HasFormula(cell.tokens), empty = cell.value.type == VT_EMPTY;
    cell.row = static_cast<u16>(work.row);
    cell.column = static_cast<u8>(column);
    cell.alwaysCalculate = formula && TokensAlwaysCalculate(cell.tokens);
    cell.calcState = formula ? u8{CALC_STALE} : empty ? u8{CALC_BLANK} : u8{CALC_CURRENT};
    place.cell = cell;
    place.isNew = true;
    place.stands = cell.calcState != CALC_BLANK || cell.format != columnFormat;
}

bool PutWorkRow(WorkRows& work, bool good) {
    const RefArea& area = work.after.area;
    Array<SavedCell>& cells = work.after.cells;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        WorkCell& place = work.cells[column];
        if (!place.isNew) {
            good = good && (!place.stands || KeepOld(work, *place.old, cells));
            continue;
        }
        const bool passes = good && place.stands;
        if (passes) good = cells.Append(place.cell);
        if (passes && good) continue;
        FreeTokens(place.cell.tokens);
        FreeValue(place.cell.value);
    }
    return good && cells.Count() <= MAX_PASTED_CELLS;
}

bool RefuseSize() {
    ShowMessage(Message(MSG_OUT_OF_MEMORY));
    return false;
}

bool ReplaceArea(AreaContents& after, i32 undoKind, u32 undoMask) {
    const Sheet* sheet = FindSheetBySerial(after.serial);
    if (!sheet) return false;
    const bool recorded =
        undoKind >= 0 && RecordBlock(undoKind, sheet->book, sheet->index, after.area, undoMask);
    if (!PutContents(after)) {
        if (recorded) DropLastUndo();
        return false;
    }
    if (recorded || undoKind == UNDO_CONTINUED) LastUndo()->contents.tokens = std::move(after.tokens);
    BookAt(sheet->book)->dirty = 1;
    IgnoreFailure(MarkVolatileCells());
    return true;
}

bool FinishArea(AreaContents& after, bool good, u64 failures, i32 undoKind, u32 undoMask) {
    good = good && ReplaceArea(after, undoKind, undoMask);
    const Sheet* sheet = FindSheetBySerial(after.serial);
    if (good && sheet && (sheet->kind & SHEET_WORKSHEET)) {
        for (i32 row = after.area.firstRow; row <= after.area.lastRow; ++row)
            RecalculationView().rowHeightWanted(sheet->book, sheet->index, row);
    }
    FreeContents(after);
    // Of a lack of memory the user has been told.
    if (!good && FailedAllocations() == failures) return RefuseSize();
    return good;
}

}  // namespace tally
