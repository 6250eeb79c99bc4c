#include <cmath>
#include <utility>

#include "base/Memory.h"
#include "base/MessageTable.h"
#include "base/Number.h"
#include "formula/Coercion.h"
#include "formula/SheetCalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/frame/FramePaint.h"

namespace tally {
namespace {

enum Aggregate : i32 { SHOW_NONE, SHOW_MEAN, SHOW_CELLS, SHOW_NUMBERS, SHOW_MAXIMUM, SHOW_MINIMUM, SHOW_SUM };

struct Totals {
    u32 cells = 0, numbers = 0;
    double mean = 0, maximum = 0, minimum = 0, sum = 0;
};

void AddNumber(Totals& totals, double x) {
    ++totals.numbers;
    if (totals.numbers == 1) {
        totals.mean = totals.maximum = totals.minimum = totals.sum = x;
        return;
    }
    totals.mean += (x - totals.mean) / totals.numbers;
    if (x > totals.maximum) totals.maximum = x;
    if (x < totals.minimum) totals.minimum = x;
    totals.sum += x;
}

bool AggregateText(WideText& out) {
    Sheet* sheet = CurrentSheet();
    const i32 selector = Shell().aggregate;
    if (!HasCells(sheet) || sheet->cells.count < 2 || selector == SHOW_NONE) return true;
    const RefArea area = sheet->view.selection;
    if (IsOneCell(area)) return true;
    CalculateArea(*sheet, area);
    Totals totals;
    i32 hiddenRow = -1, shownRow = -1;
    WalkArea(sheet->cells, area, [&](u16 row, CellRecord& cell) {
        if (row != hiddenRow && row != shownRow) (GetRowHeight(*sheet, row) ? shownRow : hiddenRow) = row;
        if (row == hiddenRow || (!cell.formula && cell.calcState == CALC_BLANK)) return true;
        ++totals.cells;
        if (cell.value.type == VT_NUMBER) AddNumber(totals, cell.value.number);
        return true;
    });
    if ((selector == SHOW_CELLS ? totals.cells : totals.numbers) < 2) return true;
    const double results[AGGREGATE_COUNT] = {0,
                                             totals.mean,
                                             static_cast<double>(totals.cells),
                                             static_cast<double>(totals.numbers),
                                             totals.maximum,
                                             totals.minimum,
                                             totals.sum};
    if (!std::isfinite(results[selector])) return true;
    char digits[NUMBER_TEXT_ROOM];
    const std::size_t length = PrintGeneral(results[selector], 15, digits);
    return out.Append(AggregateLabel(selector)) && out.Append(u'=') && out.AppendAscii({digits, length});
}

}  // namespace

WideView AggregateLabel(i32 selector) {
    return selector >= 0 && selector < AGGREGATE_COUNT
               ? Message(static_cast<u16>(MSG_AGGREGATE_FIRST + selector))
               : WideView();
}

void RefreshAggregate() {
    ShownState& shown = Shell().shown;
    if (!std::exchange(shown.aggregateChanged, false)) return;
    const QuietMemoryScope quiet;
    WideText text;
    if (!AggregateText(text)) text.Truncate(0);
    if (text.View() == shown.aggregate.View()) return;
    shown.aggregate = std::move(text);
    ShellPlatform().invalidate(Shell().layout.statusBar);
}

}  // namespace tally
