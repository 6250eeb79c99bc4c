#include "shell/grid/ShownCells.h"

#include <utility>

#include "base/LongOperation.h"
#include "base/Memory.h"
#include "editing/ConditionalFormats.h"
#include "formula/SheetCalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

bool IsBlank(const CellRecord& cell) { return !cell.formula && cell.calcState == CALC_BLANK; }

// The cells of a row whose text can be seen: those between two columns, and the nearest with content on either
// side. False when there is none.
bool SeenInRow(const Sheet& sheet, i32 row, i32 firstColumn, i32 lastColumn, RefArea& area) {
    const CellStore& store = sheet.cells;
    const u32 slot = FindRowSlot(store, row);
    if (slot >= store.rows.Count() || store.rows[slot].row != row) return false;
    const CellRow& cells = store.rows[slot];
    u32 first = FindInRow(cells, firstColumn), last = FindInRow(cells, lastColumn + 1);
    while (first > 0 && IsBlank(cells.cells[first - 1])) --first;
    if (first > 0) --first;
    while (last < cells.count && IsBlank(cells.cells[last])) ++last;
    if (last < cells.count) ++last;
    if (first >= last) return false;
    area = {static_cast<u16>(row), static_cast<u16>(row), cells.cells[first].column,
            cells.cells[last - 1].column};
    return true;
}

// A calculation may move lines and cells, so that both are found anew at each step.
void CalculateShown(Sheet& sheet) {
    if (sheet.cells.formulas.IsEmpty()) return;
    const LongOperation work(OPERATION_CALCULATE);
    const Layout& layout = Shell().layout;
    RefArea area;
    for (u32 i = 0; i < layout.rows.Count() && !layout.columns.IsEmpty(); ++i) {
        if (SeenInRow(sheet, layout.rows[i].index, layout.columns[0].index, layout.columns.Last().index, area))
            CalculateArea(sheet, area);
    }
    for (u32 i = 0; i < sheet.mergedAreas.Count(); ++i) {
        const RefArea merge = sheet.mergedAreas[i];
        if (!IsEmptyRect(AreaPixels(merge)))
            CalculateArea(sheet, {merge.firstRow, merge.firstRow, merge.firstColumn, merge.firstColumn});
    }
}

ConditionPlace PlaceAt(const Sheet& sheet, i32 row, i32 column) {
    const ConditionalCondition* found = FindConditionalFormat(sheet.book, sheet.index, row, column);
    for (u32 i = 0; found && i < sheet.conditionalFormats.Count(); ++i) {
        const Array<ConditionalCondition>& conditions = sheet.conditionalFormats[i].conditions;
        for (u32 j = 0; j < conditions.Count(); ++j)
            if (&conditions[j] == found) return {static_cast<i32>(i), static_cast<i32>(j)};
    }
    return {};
}

// False when memory fails.
bool EvaluateShown(const Sheet& sheet, ShownState& shown) {
    const Layout& layout = Shell().layout;
    for (u32 i = 0; i < layout.rows.Count(); ++i)
        for (u32 j = 0; j < layout.columns.Count(); ++j)
            if (!shown.conditions.Append(PlaceAt(sheet, layout.rows[i].index, layout.columns[j].index)))
                return false;
    for (const RefArea& merge : sheet.mergedAreas) {
        if (IsEmptyRect(AreaPixels(merge))) continue;
        if (!shown.merges.Append({merge, PlaceAt(sheet, merge.firstRow, merge.firstColumn)})) return false;
    }
    return true;
}

// The mark of a circle stands in the column headers as long as none of the cells that are seen changes.
void ShowCircle(bool circle) {
    if (std::exchange(Shell().circle, circle) == circle) return;
    const Layout& layout = Shell().layout;
    ShellPlatform().invalidate({layout.cells.left, layout.grid.top, layout.cells.right, layout.cells.top});
}

const ConditionalCondition* ConditionOf(const Sheet& sheet, const ConditionPlace& place) {
    if (place.format < 0 || static_cast<u32>(place.format) >= sheet.conditionalFormats.Count()) return nullptr;
    const auto& conditions = sheet.conditionalFormats[static_cast<u32>(place.format)].conditions;
    return static_cast<u32>(place.condition) < conditions.Count()
               ? &conditions[static_cast<u32>(place.condition)]
               : nullptr;
}

}  // namespace

void NoteShownChange() { Shell().shown.changed = true; }

void BringShownUpToDate() {
    ShownState& shown = Shell().shown;
    if (!std::exchange(shown.changed, false)) return;
    // What memory refuses is left out of the picture.
    const QuietMemoryScope quiet;
    const bool painted = std::exchange(shown.painted, false);
    shown.conditions.Truncate(0);
    shown.merges.Truncate(0);
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return ShowCircle(false);
    Workbook* book = CurrentWorkbook();
    book->circularSeen = 0;
    CalculateShown(*sheet);
    shown.serial = sheet->serial;
    if (!sheet->conditionalFormats.IsEmpty() && !EvaluateShown(*sheet, shown)) shown.conditions.Truncate(0);
    ShowCircle(book->circularSeen != 0);
    if (painted) ShellPlatform().invalidate(Shell().layout.grid);
}

const ConditionalCondition* ShownCondition(const Sheet& sheet, const ShownLine& row, const ShownLine& column) {
    const Layout& layout = Shell().layout;
    const ShownState& shown = Shell().shown;
    const u32 lines = layout.rows.Count(), width = layout.columns.Count();
    if (shown.serial != sheet.serial || shown.conditions.Count() != lines * width) return nullptr;
    const auto y = static_cast<u32>(&row - layout.rows.begin()),
               x = static_cast<u32>(&column - layout.columns.begin());
    return ConditionOf(sheet, shown.conditions[y * width + x]);
}

const ConditionalCondition* ShownMergeCondition(const Sheet& sheet, const RefArea& merge) {
    const ShownState& shown = Shell().shown;
    for (const MergeCondition& row : shown.merges)
        if (shown.serial == sheet.serial && row.merge == merge) return ConditionOf(sheet, row.place);
    return nullptr;
}

}  // namespace tally
