#include "editing/InsertDelete.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "editing/AreaLists.h"
#include "editing/ShiftBlock.h"
#include "formula/Links.h"
#include "model/CellShift.h"
#include "model/CellStore.h"

namespace tally {
namespace {

RefArea MakeArea(i32 firstRow, i32 lastRow, i32 firstColumn, i32 lastColumn) {
    return {static_cast<u16>(firstRow), static_cast<u16>(lastRow), static_cast<u8>(firstColumn),
            static_cast<u8>(lastColumn)};
}

// An edit of the current sheet: what goes for good, and what moves how far. Both deltas 0: nothing moves.
struct Edit {
    i32 kind = 0;
    AreaMove move;
    RefArea lost;
    bool rows = false;   // moves rows, else columns
    bool whole = false;  // spans the sheet, so that the sizes go along
    bool inserts = false;
};

bool Moves(const Edit& edit) { return edit.move.rowDelta || edit.move.columnDelta; }

// What the record of an edit holds beside the view. The rules and hyperlinks come with the shift.
bool SaveEdit(UndoRecord& record, const Edit& edit) {
    Sheet& sheet = *SheetAt(record.book, record.sheet);
    AreaContents& contents = record.contents;
    record.moved = edit.move.from;
    record.rowDelta = edit.move.rowDelta;
    record.columnDelta = edit.move.columnDelta;
    if (!SaveContents(contents, sheet, edit.lost, BLOCK_CELLS | BLOCK_ARRAYS | BLOCK_MERGES)) return false;
    if (!edit.whole) return true;
    if (!record.rowBreaks.AppendMany(sheet.page.rowBreaks.Data(), sheet.page.rowBreaks.Count()) ||
        !record.columnBreaks.AppendMany(sheet.page.columnBreaks.Data(), sheet.page.columnBreaks.Count()))
        return false;
    // Sizes go along with the shift, so that the whole list is kept.
    contents.mask |= edit.rows ? CONTENTS_ROWS : u32{BLOCK_COLUMNS};
    return edit.rows ? contents.rows.AppendMany(sheet.rows.Data(), sheet.rows.Count())
                     : contents.columns.AppendMany(sheet.columns.Data(), sheet.columns.Count());
}

UndoRecord* RecordEdit(const Edit& edit) {
    QuietMemoryScope quiet;
    if (!RecordUndo(edit.move.book, edit.move.sheet, edit.kind)) return nullptr;
    if (SaveEdit(*LastUndo(), edit)) return LastUndo();
    DropLastUndo();
    return nullptr;
}

// What the shift has taken out of the sheet passes to the record.
bool ReserveShift(UndoRecord* record, const ShiftPlan& plan) {
    return !record || (record->contents.rules.Reserve(plan.rules.Count()));
}
void KeepShift(UndoRecord* record, ShiftPlan& plan) {
    if (!record) return;
    for (SavedRules& rules : plan.rules) IgnoreFailure(record->contents.rules.Append(std::move(rules)));
    plan.rules.Clear();
    record->contents.links = std::move(plan.links);
    record->linkAreas = std::move(plan.linkAreas);
}

// Removes what lies in an area when nothing behind it moves up.
bool RemoveOnly(const Edit& edit, UndoRecord* record) {
    Sheet& sheet = *SheetAt(edit.move.book, edit.move.sheet);
    ShiftPlan plan;
    SavedRules made;
    plan.move = edit.move;
    const bool good = SheetRulesWithout(sheet, std::span(&edit.lost, 1), made) &&
                      PrepareLinks(plan, edit.lost) && plan.rules.Reserve(1) &&
                      (!record || record->contents.rules.Reserve(1));
    if (!good) {
        FreeSavedRules(made);
        return false;
    }
    if (made.hasValidations || made.hasFormats) IgnoreFailure(plan.rules.Append(std::move(made)));
    MarkDependentsOfArea(sheet.book, sheet.index, edit.lost);
    RemoveCells(sheet.cells, edit.lost);
    RemoveLists(sheet, plan, edit.lost);
    if (edit.whole && edit.rows)
        ShiftRowInfos(sheet.rows, edit.lost.firstRow, edit.lost.firstRow - edit.lost.lastRow - 1);
    if (edit.whole && !edit.rows)
        ShiftColumnInfos(sheet.columns, edit.lost.firstColumn,
                         edit.lost.firstColumn - edit.lost.lastColumn - 1);
    for (SavedRules& rules : plan.rules) SwapRules(rules);
    BookAt(sheet.book)->dirty = 1;
    KeepShift(record, plan);
    DropShift(plan);
    return true;
}

bool RunShift(const Edit& edit, UndoRecord* record) {
    if (!Moves(edit)) return RemoveOnly(edit, record);
    ShiftPlan plan;
    const bool good =
        PrepareShift(plan, edit.move, record, true) && ReserveShift(record, plan) && CommitShift(plan);
    if (good) {
        KeepShift(record, plan);
        MarkShifted(plan);
    }
    DropShift(plan);
    return good;
}

bool RunEdit(const Edit& edit) {
    UndoRecord* record = RecordEdit(edit);
    if (!RunShift(edit, record)) {
        if (record) DropLastUndo();
        return false;
    }
    IgnoreFailure(MarkVolatileCells());
    return true;
}

// ---- refusals -------------------------------------------------------------------------------------

bool Refuse(u16 message) {
    ShowMessage(Message(message));
    return true;
}

// Whether a cell of the area has a formula or a value.
bool HasContent(Sheet& sheet, const RefArea& area) {
    bool found = false;
    WalkArea(sheet.cells, area, [&found](u16, const CellRecord& cell) {
        found = cell.formula || cell.value.type != VT_EMPTY;
        return !found;
    });
    return found;
}

Edit StartEdit(const Sheet& sheet) {
    Edit edit;
    edit.move.book = sheet.book;
    edit.move.sheet = sheet.index;
    return edit;
}

bool RunInsert(Sheet& sheet, const Edit& edit, u16 noRoom) {
    if (HasContent(sheet, edit.lost)) return !Refuse(edit.whole ? noRoom : u16{MSG_NO_ROOM_FOR_CELLS});
    if (Moves(edit) && (RefuseCutArray(sheet, edit.move.from) || RefuseCutMerge(sheet, edit.move.from)))
        return false;
    // What moves must not come under a merged area that stays.
    if (RefuseCutMerge(sheet, edit.lost)) return false;
    return RunEdit(edit);
}

// ---- filters --------------------------------------------------------------------------------------

void ShowRows(Sheet& sheet, const RefArea& area) {
    for (RowInfo& info : sheet.rows)
        if (info.row >= area.firstRow && info.row <= area.lastRow)
            info.flags = static_cast<u16>(info.flags & ~ROW_HIDDEN);
}

// Deleting the header of the filtered list ends the filter.
void EndFilterOver(Sheet& sheet, const RefArea& area) {
    RefArea list;
    if (!(sheet.filterState & FILTER_AUTO) || !GetFilterArea(sheet.book, sheet.index, list) ||
        !AreaHolds(area, list.firstRow, list.firstColumn))
        return;
    sheet.filterState = static_cast<u16>(sheet.filterState & ~FILTER_AUTO);
    sheet.filterColumns.Clear();
    ShowRows(sheet, list);
}

bool RefuseFilterColumns(const Sheet& sheet, const RefArea& area) {
    RefArea list;
    if (!(sheet.filterState & (FILTER_AUTO | FILTER_ADVANCED)) ||
        !GetFilterArea(sheet.book, sheet.index, list) || area.lastColumn < list.firstColumn ||
        area.firstColumn > list.lastColumn)
        return false;
    return Refuse(MSG_FILTER_COLUMNS);
}

}  // namespace

bool RefuseCutArray(const Sheet& sheet, const RefArea& area) {
    const auto cuts = [&area](const auto& entry) { return IsCut(entry.area, area); };
    return (std::any_of(sheet.arrayFormulas.begin(), sheet.arrayFormulas.end(), cuts) ||
            std::any_of(sheet.dataTables.begin(), sheet.dataTables.end(), cuts)) &&
           Refuse(MSG_PART_OF_ARRAY);
}

bool RefuseCutMerge(const Sheet& sheet, const RefArea& area) {
    return std::any_of(sheet.mergedAreas.begin(), sheet.mergedAreas.end(),
                       [&area](const RefArea& merge) { return IsCut(merge, area); }) &&
           Refuse(MSG_PART_OF_MERGE);
}

bool InsertRowsOrCellsDown(const RefArea& area) {
    Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    const i32 count = area.lastRow - area.firstRow + 1;
    Edit edit = StartEdit(*sheet);
    edit.rows = edit.inserts = true;
    edit.whole = IsWholeRows(area);
    edit.kind = edit.whole ? UNDO_INSERT_ROWS : UNDO_INSERT_CELLS;
    edit.lost = MakeArea(MAX_ROWS - count, MAX_ROWS - 1, area.firstColumn, area.lastColumn);
    // An area that reaches the last row leaves nothing to move.
    if (area.lastRow < MAX_ROWS - 1) {
        edit.move.from = MakeArea(area.firstRow, MAX_ROWS - 1 - count, area.firstColumn, area.lastColumn);
        edit.move.rowDelta = count;
    }
    return RunInsert(*sheet, edit, MSG_NO_ROOM_FOR_ROWS);
}

bool InsertColumnsOrCellsRight(const RefArea& area) {
    Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    const i32 count = area.lastColumn - area.firstColumn + 1;
    Edit edit = StartEdit(*sheet);
    edit.inserts = true;
    edit.whole = IsWholeColumns(area);
    edit.kind = edit.whole ? UNDO_INSERT_COLUMNS : UNDO_INSERT_CELLS;
    edit.lost = MakeArea(area.firstRow, area.lastRow, MAX_COLUMNS - count, MAX_COLUMNS - 1);
    if (area.lastColumn < MAX_COLUMNS - 1) {
        edit.move.from = MakeArea(area.firstRow, area.lastRow, area.firstColumn, MAX_COLUMNS - 1 - count);
        edit.move.columnDelta = count;
    }
    return RunInsert(*sheet, edit, MSG_NO_ROOM_FOR_COLUMNS);
}

bool DeleteRowsOrCellsUp(const RefArea& area) {
    Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    Edit edit = StartEdit(*sheet);
    edit.rows = true;
    edit.whole = IsWholeRows(area);
    edit.kind = edit.whole ? UNDO_DELETE_ROWS : UNDO_DELETE_CELLS;
    edit.lost = area;
    if (RefuseCutArray(*sheet, area) || RefuseCutMerge(*sheet, area)) return false;
    if (area.lastRow < MAX_ROWS - 1) {
        edit.move.from = MakeArea(area.lastRow + 1, MAX_ROWS - 1, area.firstColumn, area.lastColumn);
        edit.move.rowDelta = area.firstRow - area.lastRow - 1;
        if (RefuseCutArray(*sheet, edit.move.from) || RefuseCutMerge(*sheet, edit.move.from)) return false;
    }
    EndFilterOver(*sheet, area);
    return RunEdit(edit);
}

bool DeleteColumnsOrCellsLeft(const RefArea& area) {
    Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    Edit edit = StartEdit(*sheet);
    edit.whole = IsWholeColumns(area);
    edit.kind = edit.whole ? UNDO_DELETE_COLUMNS : UNDO_DELETE_CELLS;
    edit.lost = area;
    if (RefuseFilterColumns(*sheet, area) || RefuseCutArray(*sheet, area) || RefuseCutMerge(*sheet, area))
        return false;
    if (area.lastColumn < MAX_COLUMNS - 1) {
        edit.move.from = MakeArea(area.firstRow, area.lastRow, area.lastColumn + 1, MAX_COLUMNS - 1);
        edit.move.columnDelta = area.firstColumn - area.lastColumn - 1;
        if (RefuseCutArray(*sheet, edit.move.from) || RefuseCutMerge(*sheet, edit.move.from)) return false;
    }
    return RunEdit(edit);
}

}  // namespace tally
