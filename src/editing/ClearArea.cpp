#include "editing/ClearArea.h"

#include "editing/AreaLists.h"
#include "editing/PasteTargets.h"
#include "editing/Undo.h"
#include "editing/WorkRows.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

// Calls visit(row, column) for the cells of an area whose column has a format, row by row. False when a visit
// is.
template <typename Visit>
bool VisitFormattedColumns(const Sheet& sheet, const RefArea& area, Visit visit) {
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        bool any = false;
        for (const ColumnInfo& info : sheet.columns) {
            if (info.column < area.firstColumn || info.column > area.lastColumn) continue;
            if (info.format == DEFAULT_CELL_FORMAT) continue;
            any = true;
            if (!visit(row, i32{info.column})) return false;
        }
        if (!any) return true;
    }
    return true;
}

void ClearColumnFormats(Array<ColumnInfo>& columns, const RefArea& area) {
    for (ColumnInfo& info : columns)
        if (info.column >= area.firstColumn && info.column <= area.lastColumn)
            info.format = DEFAULT_CELL_FORMAT;
}

bool HasOwnLook(const Sheet& sheet, i32 column) {
    u16 flags = 0, format = 0;
    IgnoreFailure(GetColumnInfo(sheet.columns, column, flags, format));
    return format != DEFAULT_CELL_FORMAT;
}

// Places of an area whose column has a format, those with a cell of their own left out where the area keeps
// its cells.
u64 FormattedPlaces(Sheet& sheet, const RefArea& area, bool keepsCells) {
    u64 places = 0;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column)
        if (HasOwnLook(sheet, column)) places += static_cast<u64>(area.lastRow - area.firstRow + 1);
    if (!places || !keepsCells) return places;
    WalkArea(sheet.cells, area, [&](u16, const CellRecord& cell) {
        places -= HasOwnLook(sheet, cell.column);
        return true;
    });
    return places;
}

// ---- contents alone: the cells keep their formats ------------------------------------------------------

bool ClearContents(Sheet& sheet, const RefArea& area) {
    constexpr u32 mask = BLOCK_CELLS | BLOCK_ARRAYS;
    IgnoreFailure(RecordBlock(UNDO_CLEAR, sheet.book, sheet.index, area, mask));
    RemoveArraysInside(sheet, area);
    MarkDependentsOfArea(sheet.book, sheet.index, area);
    WalkArea(sheet.cells, area, [&sheet](u16, CellRecord& cell) {
        FreeCellContents(sheet.cells, cell);
        return true;
    });
    return true;
}

// ---- formats alone -------------------------------------------------------------------------------------

// Gives every place whose column has a format a cell of its own, which looks as before.
bool MakeBlankCells(Sheet& sheet, const RefArea& area) {
    return VisitFormattedColumns(sheet, area, [&](i32 row, i32 column) {
        const u16 format = GetCellFormat(sheet, row, column);
        CellRecord* cell = PutCell(sheet.cells, row, column);
        if (cell) cell->format = format;
        return cell != nullptr;
    });
}

// Blank cells that look as their columns do are as good as none. From below, so that a row that goes moves
// none.
void DropPlainBlanks(Sheet& sheet, const RefArea& area) {
    IgnoreFailure(VisitFormattedColumns(sheet, area, [&](i32 fromBelow, i32 column) {
        const i32 row = area.lastRow - (fromBelow - area.firstRow);
        u16 flags = 0, format = 0;
        IgnoreFailure(GetColumnInfo(sheet.columns, column, flags, format));
        CellPosition position;
        if (!FindCell(sheet.cells, row, column, position)) return true;
        const CellRecord& cell = CellAt(sheet.cells, position);
        if (cell.calcState == CALC_BLANK && cell.format == format) RemoveCell(sheet.cells, position);
        return true;
    }));
}

bool ClearFormats(Sheet& sheet, const RefArea& area) {
    const bool whole = IsWholeColumns(area);
    if (!whole && FormattedPlaces(sheet, area, true) > MAX_PASTED_CELLS) return RefuseSize();
    const bool recorded = RecordBlock(UNDO_CLEAR, sheet.book, sheet.index, area, BLOCK_CELLS | BLOCK_COLUMNS);
    if (!whole && !MakeBlankCells(sheet, area)) {
        if (recorded) DropLastUndo();
        DropPlainBlanks(sheet, area);
        return false;
    }
    if (whole) ClearColumnFormats(sheet.columns, area);
    WalkArea(sheet.cells, area, [](u16, CellRecord& cell) {
        cell.format = DEFAULT_CELL_FORMAT;
        return true;
    });
    return true;
}

// ---- everything ----------------------------------------------------------------------------------------

// Blank cells stay where the column has a format that the area is to lose.
bool BlankCells(const Sheet& sheet, AreaContents& after) {
    return VisitFormattedColumns(sheet, after.area, [&](i32 row, i32 column) {
        SavedCell blank;
        blank.row = static_cast<u16>(row);
        blank.column = static_cast<u8>(column);
        blank.format = DEFAULT_CELL_FORMAT;
        return after.cells.Append(blank);
    });
}

bool BlankColumns(const Sheet& sheet, AreaContents& after) {
    after.mask |= BLOCK_COLUMNS;
    for (const ColumnInfo& info : sheet.columns) {
        if (info.column < after.area.firstColumn || info.column > after.area.lastColumn) continue;
        if (!after.columns.Append(info)) return false;
    }
    ClearColumnFormats(after.columns, after.area);
    return true;
}

bool ClearAll(Sheet& sheet, const RefArea& area) {
    const bool whole = IsWholeColumns(area);
    if (!whole && FormattedPlaces(sheet, area, false) > MAX_PASTED_CELLS) return RefuseSize();
    AreaContents after;
    StartContents(after, sheet, area, BLOCK_CELLS);
    const bool good = (whole ? BlankColumns(sheet, after) : BlankCells(sheet, after)) &&
                      EmptyLists(sheet, after) && ReplaceArea(after, UNDO_CLEAR, BLOCK_ALL);
    FreeContents(after);
    return good;
}

}  // namespace

bool ClearArea(const RefArea& area, ClearMode mode) {
    Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    BookAt(sheet->book)->dirty = 1;
    if (mode == CLEAR_CONTENTS) return ClearContents(*sheet, area);
    return mode == CLEAR_FORMATS ? ClearFormats(*sheet, area) : ClearAll(*sheet, area);
}

}  // namespace tally
