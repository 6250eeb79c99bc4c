#include "editing/FillSeries.h"

#include <cmath>

#include "display/Calendar.h"
#include "editing/AreaChange.h"
#include "editing/Guards.h"
#include "editing/Undo.h"
#include "formula/Coercion.h"
#include "formula/Recalculation.h"
#include "functions/DateMath.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

constexpr int STEP_DIGITS = 15;
constexpr double LAST_SERIAL = 2958465;  // 31 December 9999
constexpr double MOST_UNITS = 3e6;       // of a date that one step may go

// Where a line stands.
struct SeriesLine {
    bool active = false;
    double value = 0;
    u16 format = DEFAULT_CELL_FORMAT;
};

struct SeriesRun {
    const SeriesRequest& request;
    bool date1904;
    SeriesLine lines[MAX_COLUMNS];
};

// The date that lies a step behind another; false when there is none.
bool NextDate(const SeriesRequest& request, bool date1904, double& value) {
    const double offset = date1904 ? DATE_1904_OFFSET : 0;
    const double from = std::floor(value) + offset;
    const double units = std::trunc(request.step);
    if (!(from >= 0 && from <= LAST_SERIAL) || !(std::fabs(units) <= MOST_UNITS)) return false;
    const i32 step = static_cast<i32>(units);
    if (request.unit == SERIES_WEEKDAY) {
        value = static_cast<double>(AddWorkdays(static_cast<i64>(from), step));
    } else {
        i32 year = 0, month = 0, day = 0;
        SerialToDate(static_cast<i32>(from), year, month, day);
        if (request.unit == SERIES_DAY) day += step;
        if (request.unit == SERIES_MONTH) month += step;
        if (request.unit == SERIES_YEAR) year += step;
        // Beyond the calendar's years nothing has to be worked out any more.
        if (year < 0 || year > 9999 || std::abs(month) > 12 * 9999) return false;
        value = DateToSerial(year, month, day);
    }
    const bool good = value >= 0 && value <= LAST_SERIAL;
    value -= offset;
    return good;
}

// Goes one step on; false at the end of the line.
bool Advance(const SeriesRequest& request, bool date1904, double& value) {
    switch (request.type) {
        case SERIES_GROWTH: value *= request.step; break;
        case SERIES_DATE:
            if (!NextDate(request, date1904, value)) return false;
            break;
        default: value += request.step; break;
    }
    if (!std::isfinite(value)) return false;
    return !request.hasStop || (request.step >= 0 ? value <= request.stop : value >= request.stop);
}

SeriesLine BeginLine(const SavedCell* cell) {
    if (!cell || cell->value.type != VT_NUMBER) return {};
    return {true, cell->value.number, cell->format};
}

SavedCell NumberCell(i32 row, i32 column, const SeriesLine& line) {
    SavedCell cell;
    cell.value = NumberValue(line.value);
    cell.row = static_cast<u16>(row);
    cell.column = static_cast<u8>(column);
    cell.format = line.format;
    cell.calcState = CALC_CURRENT;
    return cell;
}

// Takes the place's own cell out of the list of old ones; null when there is none.
SavedCell* TakeOld(Array<SavedCell>& old, u32& next, i32 row, i32 column) {
    if (next == old.Count() || old[next].row != row || old[next].column != column) return nullptr;
    return &old[next++];
}

// The contents of one place: the line's next number, or what stands there, which then passes over.
bool PutPlace(SeriesRun& run, AreaChange& change, Array<SavedCell>& old, u32& next, i32 row, i32 column) {
    const RefArea& area = change.area;
    const bool down = run.request.direction == SERIES_COLUMNS;
    SavedCell* cell = TakeOld(old, next, row, column);
    SeriesLine& line = run.lines[down ? column - area.firstColumn : 0];
    if (down ? row == area.firstRow : column == area.firstColumn) {
        line = BeginLine(cell);
    } else if (line.active) {
        line.active = Advance(run.request, run.date1904, line.value);
        if (line.active) return change.cells.Append(NumberCell(row, column, line));
    }
    if (!cell) return true;
    if (!change.cells.Append(*cell)) return false;
    *cell = SavedCell();
    return true;
}

bool MakeCells(SeriesRun& run, AreaChange& change, Array<SavedCell>& old) {
    u32 next = 0;
    for (i32 row = change.area.firstRow; row <= change.area.lastRow; ++row) {
        for (i32 column = change.area.firstColumn; column <= change.area.lastColumn; ++column) {
            if (!PutPlace(run, change, old, next, row, column)) return false;
        }
        if (change.cells.Count() > MOST_CHANGED_CELLS) return RefuseSize();
    }
    return true;
}

// The first cells decide, so they must be up to date.
void CalculateFirstCells(i32 book, i32 sheet, const RefArea& area, i32 direction) {
    RefArea first = area;
    if (direction == SERIES_COLUMNS) first.lastRow = first.firstRow;
    else first.lastColumn = first.firstColumn;
    for (i32 row = first.firstRow; row <= first.lastRow; ++row) {
        for (i32 column = first.firstColumn; column <= first.lastColumn; ++column) {
            const CellRecord* cell = GetCell(SheetAt(book, sheet)->cells, row, column);
            if (cell && cell->calcState == CALC_STALE) CalculateCell(book, sheet, row, column);
        }
    }
}

bool Refuses(const Sheet& sheet, const RefArea& area) {
    return RefuseLockedCell(sheet, area) || RefuseCutArray(sheet, area) || RefuseMetMerge(sheet, area);
}

const Value* NumberAt(i32 row, i32 column) {
    const CellRecord* cell = GetCell(CurrentSheet()->cells, row, column);
    return cell && cell->value.type == VT_NUMBER ? &cell->value : nullptr;
}

}  // namespace

i32 ProposedDirection(const RefArea& selection) {
    return selection.lastRow - selection.firstRow > selection.lastColumn - selection.firstColumn
               ? SERIES_COLUMNS
               : SERIES_ROWS;
}

bool ProposedStep(i32 direction, WideText& out) {
    const RefArea& area = CurrentSheet()->view.selection;
    const bool down = direction == SERIES_COLUMNS;
    const bool several = down ? area.lastRow > area.firstRow : area.lastColumn > area.firstColumn;
    const Value* first = NumberAt(area.firstRow, area.firstColumn);
    const Value* second =
        several ? NumberAt(area.firstRow + (down ? 1 : 0), area.firstColumn + (down ? 0 : 1)) : nullptr;
    return NumberToText(first && second ? second->number - first->number : 1, STEP_DIGITS, out);
}

bool FillSeries(const SeriesRequest& request) {
    const i32 book = CurrentBook();
    const Workbook* workbook = BookAt(book);
    Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    AreaChange change;
    change.book = book;
    change.sheet = workbook->currentSheet;
    change.area = sheet->view.selection;
    if (Refuses(*sheet, change.area)) return false;
    CalculateFirstCells(book, change.sheet, change.area, request.direction);
    SeriesRun run{request, workbook->date1904 != 0, {}};
    Array<SavedCell> old;
    const bool good = SaveCells(CurrentSheet()->cells, change.area, old) && MakeCells(run, change, old) &&
                      ClearArraysAndLinks(change, change.area) && PrepareChange(change);
    if (good) {
        IgnoreFailure(RecordBlock(UNDO_FILL_SERIES, book, change.sheet, change.area, BLOCK_BY_ENTRY));
        CommitChange(change);
    }
    FreeSavedCells(old);
    DropChange(change);
    return good;
}

}  // namespace tally
