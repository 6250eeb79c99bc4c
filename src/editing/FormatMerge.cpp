#include "editing/FormatMerge.h"

#include <algorithm>

#include "editing/AreaLists.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// Every cell of the area without its content.
bool AppendBlanks(Sheet& sheet, AreaContents& after) {
    bool good = true;
    WalkArea(sheet.cells, after.area, [&](u16 row, CellRecord& cell) {
        SavedCell blank;
        blank.row = row;
        blank.column = cell.column;
        blank.format = cell.format;
        good = after.cells.Append(blank);
        return good;
    });
    return good;
}

// The first content of the area, as a cell of its own; `kept` stays empty when there is none.
bool SaveFirstContent(Sheet& sheet, const RefArea& area, Array<SavedCell>& kept) {
    bool good = true;
    WalkArea(sheet.cells, area, [&](u16 row, CellRecord& cell) {
        if (!cell.formula && cell.value.type == VT_EMPTY) return true;
        good = SaveCells(sheet.cells, {row, row, cell.column, cell.column}, kept);
        return false;
    });
    return good;
}

// What was kept comes in front of all others, where the first cell is or would be.
bool PutFirst(const Sheet& sheet, AreaContents& after, Array<SavedCell>& kept) {
    if (kept.IsEmpty()) return true;
    const RefArea& area = after.area;
    const bool stands = !after.cells.IsEmpty() && after.cells[0].row == area.firstRow &&
                        after.cells[0].column == area.firstColumn;
    SavedCell first = kept[0];
    first.row = area.firstRow;
    first.column = area.firstColumn;
    first.format = GetCellFormat(sheet, area.firstRow, area.firstColumn);
    if (!stands) {
        if (!after.cells.Append(SavedCell())) return false;
        std::rotate(after.cells.begin(), after.cells.end() - 1, after.cells.end());
    }
    after.cells[0] = first;
    kept.Truncate(0);  // what it owns has passed over
    return true;
}

bool MakeMerged(Sheet& sheet, AreaContents& after, Array<SavedCell>& kept) {
    const RefArea targets[] = {after.area};
    return AppendBlanks(sheet, after) && SaveFirstContent(sheet, after.area, kept) &&
           PutFirst(sheet, after, kept) && KeepArraysAndMerges(sheet, targets, after) &&
           KeepLinks(sheet, after, [](u32) { return false; }) && after.merges.Append(after.area);
}

bool MergeArea(Sheet& sheet, const RefArea& area) {
    const RefArea* merge = FindMerge(sheet, area.firstRow, area.firstColumn);
    if (IsOneCell(area) || (merge && *merge == area)) return true;
    AreaContents after;
    Array<SavedCell> kept;
    StartContents(after, sheet, area, BLOCK_CELLS | BLOCK_ARRAYS | BLOCK_MERGES | BLOCK_HYPERLINKS);
    const bool good = MakeMerged(sheet, after, kept) && PutContents(after);
    FreeSavedCells(kept);
    FreeContents(after);
    return good;
}

void SplitMerges(Sheet& sheet, const RefArea& area) {
    u32 kept = 0;
    for (const RefArea& merge : sheet.mergedAreas)
        if (!AreasMeet(merge, area)) sheet.mergedAreas[kept++] = merge;
    sheet.mergedAreas.Truncate(kept);
}

}  // namespace

bool ChangeMerges(Sheet& sheet, const RefArea& area, bool merge) {
    if (merge) return MergeArea(sheet, area);
    SplitMerges(sheet, area);
    return true;
}

}  // namespace tally
