#include "editing/FillSeries.h"

#include <cmath>

#include "display/Calendar.h"
#include "editing/AreaLists.h"
#include "editing/Guards.h"
#include "editing/WorkRows.h"
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

SeriesLine BeginLine(const CellRecord* cell) {
    if (!cell || cell->value.type != VT_NUMBER) return {};
    return {true, cell->value.number, cell->format};
}

// The next number of a line in one place, or its start.
void StepLine(const SeriesRun& run, SeriesLine& line, WorkRows& work, i32 column, bool first) {
    if (first) {
        line = BeginLine(work.cells[column].old);
        return;
    }
    line.active = line.active && Advance(run.request, run.date1904, line.value);
    if (!line.active) return;
    SavedCell cell;
    cell.value = NumberValue(line.value);
    cell.format = line.format;
    StoreWorkCell(work, column, cell, work.columnFormats[column]);
}

bool MakeRows(SeriesRun& run, WorkRows& work) {
    const RefArea area = work.after.area;
    const bool down = run.request.direction == SERIES_COLUMNS;
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        LoadWorkRow(work, row);
        for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
            const bool first = down ? row == area.firstRow : column == area.firstColumn;
            StepLine(run, run.lines[down ? column - area.firstColumn : 0], work, column, first);
        }
        if (!PutWorkRow(work, true)) return false;
    }
    return true;
}

// Arrays and hyperlinks go from the whole selection.
bool MakeContents(SeriesRun& run, Sheet& sheet, AreaContents& after) {
    WorkRows work{sheet, after};
    after.mask |= BLOCK_HYPERLINKS;
    return StartWork(work) && MakeRows(run, work) &&
           KeepArraysAndMerges(sheet, std::span(&after.area, 1), after);
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
    Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    const RefArea area = sheet->view.selection;
    if (Refuses(*sheet, area)) return false;
    CalculateFirstCells(sheet->book, sheet->index, area, request.direction);
    sheet = CurrentSheet();
    const u64 failures = FailedAllocations();
    SeriesRun run{request, BookAt(sheet->book)->date1904 != 0, {}};
    AreaContents after;
    StartContents(after, *sheet, area, BLOCK_CELLS);
    const bool good = MakeContents(run, *sheet, after);
    return FinishArea(after, good, failures, UNDO_FILL_SERIES, BLOCK_BY_ENTRY);
}

}  // namespace tally
