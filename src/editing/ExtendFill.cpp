#include "editing/ExtendFill.h"

#include <algorithm>
#include <cmath>

#include "display/Calendar.h"
#include "editing/EntryRecognition.h"
#include "editing/Fill.h"
#include "editing/Undo.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr double LAST_SERIAL = 2958465;  // 31 December 9999
constexpr i32 LAST_MONTH = 12 * 9999;
constexpr double SAME_STEP = 1e-9;  // of the size of a step

// One row or column of the source, read in the order of the sheet.
struct ExtendLine {
    i32 numbers = 0;  // constant ones
    bool dates = true, wholeDays = true;
    bool evenSteps = true, evenMonths = true;
    double first = 0, last = 0, step = 0, size = 0;
    double sum = 0, weighted = 0;           // of the numbers, and of each times its place
    i32 month = 0, day = 0, monthStep = 0;  // the last date's month since year 0 and its day

    bool continues = false, byMonths = false;
    double start = 0, slope = 0;  // of the series, over the places
};

struct Extension {
    const Workbook& book;
    const ExtendRequest& request;
    bool down;  // along columns
    i32 length = 0;
    Array<ExtendLine> lines;
};

double DateOffset(const Workbook& book) { return book.date1904 ? DATE_1904_OFFSET : 0; }

void ReadMonths(const Workbook& book, ExtendLine& line, double value) {
    const double serial = value + DateOffset(book);
    line.wholeDays = line.wholeDays && serial >= 1 && serial <= LAST_SERIAL && serial == std::floor(serial);
    if (!line.wholeDays) return;
    i32 year = 0, month = 0, day = 0;
    SerialToDate(static_cast<i32>(serial), year, month, day);
    month += 12 * year;
    if (line.numbers > 0) {
        const i32 step = month - line.month;
        line.evenMonths =
            line.evenMonths && step && day == line.day && (line.numbers == 1 || step == line.monthStep);
        line.monthStep = step;
    }
    line.month = month;
    line.day = day;
}

void ReadNumber(const Workbook& book, ExtendLine& line, double value, u16 format) {
    line.dates = line.dates && ShowsDate(book, ResolveCellFormat(book, format).numberFormat);
    if (line.dates) ReadMonths(book, line, value);
    if (!line.numbers) line.first = value;
    const double step = value - line.last;
    line.size = std::max({line.size, std::fabs(value), std::fabs(line.last)});
    if (line.numbers == 1) line.step = step;
    if (line.numbers > 1)
        line.evenSteps = line.evenSteps && std::fabs(step - line.step) <= line.size * SAME_STEP;
    line.sum += value;
    line.weighted += value * line.numbers;
    line.last = value;
    ++line.numbers;
}

// The straight line through the numbers, or nearest to them.
void FindSlope(ExtendLine& line) {
    const double count = line.numbers;
    line.start = line.first;
    if (line.numbers == 1) {
        line.slope = 1;
    } else if (line.evenSteps) {
        line.slope = (line.last - line.first) / (count - 1);
    } else {
        const double middle = (count - 1) / 2, spread = count * (count * count - 1) / 12;
        line.slope = (line.weighted - middle * line.sum) / spread;
        line.start = line.sum / count - line.slope * middle;
    }
}

void DecideLine(const Extension& extension, ExtendLine& line) {
    if (!line.numbers || line.numbers < extension.length) return;
    const bool usual = line.numbers > 1 || line.dates;
    line.continues = usual != extension.request.otherWay;
    line.byMonths = line.dates && line.wholeDays && line.evenMonths && line.numbers > 1;
    if (line.continues) FindSlope(line);
}

bool ReadLines(Extension& extension) {
    const RefArea& source = extension.request.source;
    const i32 count =
        extension.down ? source.lastColumn - source.firstColumn + 1 : source.lastRow - source.firstRow + 1;
    extension.length =
        extension.down ? source.lastRow - source.firstRow + 1 : source.lastColumn - source.firstColumn + 1;
    if (!extension.lines.Resize(static_cast<u32>(count))) return false;
    WalkArea(CurrentSheet()->cells, source, [&](u16 row, const CellRecord& cell) {
        const i32 at = extension.down ? cell.column - source.firstColumn : row - source.firstRow;
        if (!cell.formula && cell.value.type == VT_NUMBER)
            ReadNumber(extension.book, extension.lines[static_cast<u32>(at)], cell.value.number, cell.format);
        return true;
    });
    for (ExtendLine& line : extension.lines) DecideLine(extension, line);
    return true;
}

// The number at a place of a series, counted from the first cell of its source; false behind its end.
bool NumberAt(const Extension& extension, const ExtendLine& line, i32 place, double& number) {
    if (line.byMonths) {
        // The last date's month is that of the last place.
        const i64 month = line.month + i64{line.monthStep} * (place - (extension.length - 1));
        if (month < 12 || month > LAST_MONTH) return false;
        number = DateToSerial(static_cast<i32>(month / 12), static_cast<i32>(month % 12), line.day) -
                 DateOffset(extension.book);
        return true;
    }
    number = line.start + line.slope * place;
    const double serial = number + DateOffset(extension.book);
    return std::isfinite(number) && (!line.dates || (serial >= 0 && serial <= LAST_SERIAL));
}

bool PlaceCell(const void* context, i32 row, i32 column, SavedCell& cell) {
    const Extension& extension = *static_cast<const Extension*>(context);
    const RefArea& source = extension.request.source;
    const i32 at = extension.down ? column - source.firstColumn : row - source.firstRow;
    const ExtendLine& line = extension.lines[static_cast<u32>(at)];
    if (!line.continues) return true;
    return NumberAt(extension, line, extension.down ? row - source.firstRow : column - source.firstColumn,
                    cell.value.number);
}

// Where the first tile begins: its end stands at the source when the fill goes up or to the left.
i32 LinesBefore(i32 target, i32 source, i32 length) {
    const i32 rest = (source - target) % length;
    return source > target && rest ? length - rest : 0;
}

bool HasContent(const Sheet& sheet, i32 row, i32 column) {
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    return cell && (cell->formula || cell->calcState != CALC_BLANK);
}

}  // namespace

bool ExtendFill(const ExtendRequest& request) {
    const Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    const RefArea &source = request.source, &target = request.target;
    Extension extension{*BookAt(sheet->book), request, target.firstColumn == source.firstColumn, 0, {}};
    if (!ReadLines(extension)) return false;
    FillWay way;
    i32 kind = 0;
    if (extension.down) {
        way.rowsBefore = LinesBefore(target.firstRow, source.firstRow, extension.length);
        kind = target.firstRow < source.firstRow ? UNDO_FILL_UP : UNDO_FILL_DOWN;
    } else {
        way.columnsBefore = LinesBefore(target.firstColumn, source.firstColumn, extension.length);
        kind = target.firstColumn < source.firstColumn ? UNDO_FILL_LEFT : UNDO_FILL_RIGHT;
    }
    for (const ExtendLine& line : extension.lines)
        if (line.continues) kind = UNDO_FILL_SERIES;
    way.place = PlaceCell;
    way.context = &extension;
    return FillBlock(source, target, true, kind, way);
}

bool RowsBeside(const RefArea& area, RefArea& target) {
    const Sheet* sheet = CurrentSheet();
    if (!sheet || area.lastRow >= MAX_ROWS - 1) return false;
    for (const i32 column : {area.firstColumn - 1, area.lastColumn + 1}) {
        if (column < 0 || column >= MAX_COLUMNS) continue;
        i32 last = area.lastRow;
        while (last + 1 < MAX_ROWS && HasContent(*sheet, last + 1, column)) ++last;
        if (last == area.lastRow) continue;
        target = area;
        target.firstRow = static_cast<u16>(area.lastRow + 1);
        target.lastRow = static_cast<u16>(last);
        return true;
    }
    return false;
}

}  // namespace tally
