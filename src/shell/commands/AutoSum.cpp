// The sum of what stands above or beside.

#include <algorithm>

#include "display/LocaleSettings.h"
#include "editing/Undo.h"
#include "editing/VisibleRuns.h"
#include "formula/Evaluator.h"
#include "formula/FormulaText.h"
#include "formula/FormulaTypes.h"
#include "formula/Recalculation.h"
#include "formula/SheetCalculation.h"
#include "formula/TokenWalk.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

constexpr u16 FUNCTION_SUM = 4;
constexpr u16 FUNCTION_SUBTOTAL = 344;

const CellRecord* CurrentCell(const Sheet& sheet, i32 row, i32 column) {
    if (row < 0 || column < 0 || row >= MAX_ROWS || column >= MAX_COLUMNS) return nullptr;
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    if (!cell || cell->calcState != CALC_STALE) return cell;
    IgnoreFailure(CalculateCell(sheet.book, sheet.index, row, column));
    return GetCell(sheet.cells, row, column);
}

bool HoldsNumber(const Sheet& sheet, i32 row, i32 column) {
    const CellRecord* cell = CurrentCell(sheet, row, column);
    return cell && cell->calcState >= CALC_CURRENT && cell->value.type == VT_NUMBER;
}

bool HasNoValue(const Sheet& sheet, i32 row, i32 column) {
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    return !cell || (!cell->formula && cell->calcState == CALC_BLANK);
}

// A direction away from a cell: up or to the left.
struct Step {
    i32 row, column;
};
constexpr Step UP = {-1, 0}, LEFT = {0, -1};

RefArea AreaBetween(i32 row1, i32 column1, i32 row2, i32 column2) {
    return {static_cast<u16>(std::min(row1, row2)), static_cast<u16>(std::max(row1, row2)),
            static_cast<u8>(std::min(column1, column2)), static_cast<u8>(std::max(column1, column2))};
}

// From a number cell along its unbroken run of numbers; the area reaches back to the cell beside `start`.
RefArea RunFrom(const Sheet& sheet, const Step& start, Step number, const Step& step) {
    while (HoldsNumber(sheet, number.row + step.row, number.column + step.column)) {
        number.row += step.row;
        number.column += step.column;
    }
    return AreaBetween(start.row + step.row, start.column + step.column, number.row, number.column);
}

// The first cell in a direction that is neither blank nor a text, if it is a number, and its run.
bool FarRun(const Sheet& sheet, const Step& start, const Step& step, RefArea& area) {
    for (Step at{start.row + step.row, start.column + step.column}; at.row >= 0 && at.column >= 0;
         at.row += step.row, at.column += step.column) {
        const CellRecord* cell = CurrentCell(sheet, at.row, at.column);
        if (!cell || cell->value.type == VT_EMPTY || cell->value.type == VT_STRING) continue;
        if (!HoldsNumber(sheet, at.row, at.column)) return false;
        area = RunFrom(sheet, start, at, step);
        return true;
    }
    return false;
}

bool ProposedRun(const Sheet& sheet, const Step& start, RefArea& area) {
    for (const Step& step : {UP, LEFT}) {
        const Step beside{start.row + step.row, start.column + step.column};
        if (!HoldsNumber(sheet, beside.row, beside.column)) continue;
        area = RunFrom(sheet, start, beside, step);
        return true;
    }
    return FarRun(sheet, start, UP, area) || FarRun(sheet, start, LEFT, area);
}

// Opens the line with the call, the reference selected; or bare, with the caret inside.
void ProposeSum(const Sheet& sheet, const RefArea* area) {
    WideText text, reference;
    if (area && !AreaToText(sheet.book, sheet.index, *area, AREA_ALL_RELATIVE | AREA_USE_A1, 0, 0, reference))
        return;
    bool good = text.Assign(u"=SUM(");
    if (HasHiddenFilterRows(sheet)) good = text.Assign(u"=SUBTOTAL(9") && text.Append(Locale().listSeparator);
    const i32 start = static_cast<i32>(text.Length());
    good = good && text.Append(reference);
    const i32 end = static_cast<i32>(text.Length());
    if (!good || !text.Append(u')')) return;
    ShellPlatform().setEditText(ENTRY_LINE, text);
    BeginEdit(ENTRY_ENTER);
    ShellPlatform().selectEdit(ENTRY_LINE, start, end);
}

// ---- stored sums ----------------------------------------------------------------------------------------

// One ptgArea with relative corners and the call around it; 13 bytes, of SUBTOTAL 16.
bool SumTokens(bool subtotal, const RefArea& area, FormulaTokens& out) {
    u8 bytes[16];
    u32 length = 0;
    const auto put = [&](u32 word, u32 count) {
        for (u32 i = 0; i < count; ++i) bytes[length++] = static_cast<u8>(word >> 8 * i);
    };
    if (subtotal) put(ptgInt, 1), put(9, 2);
    put(ptgArea, 1);
    put(area.firstRow, 2);
    put(area.lastRow, 2);
    put(area.firstColumn | 0xC000u, 2);
    put(area.lastColumn | 0xC000u, 2);
    put(ptgFuncVar + 0x20, 1);  // of the value class
    put(subtotal ? 2 : 1, 1);
    put(subtotal ? FUNCTION_SUBTOTAL : FUNCTION_SUM, 2);
    return MakeTokens(out, {bytes, length}, {});
}

bool IsSum(const Sheet& sheet, i32 row, i32 column, bool subtotal) {
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    if (!cell || !cell->formula) return false;
    const FormulaTokens& tokens = cell->formula->tokens;
    return tokens.length == (subtotal ? 16 : 13) &&
           TokensCall(tokens, subtotal ? FUNCTION_SUBTOTAL : FUNCTION_SUM);
}

bool StoreSum(i32 book, i32 sheet, i32 row, i32 column, const RefArea& area, bool subtotal) {
    CellInput input;
    input.row = static_cast<u16>(row);
    input.column = static_cast<u8>(column);
    input.format = GetCellFormat(*SheetAt(book, sheet), row, column);
    return SumTokens(subtotal, area, input.tokens) && SetCell(book, sheet, input, true, true);
}

// One record over the cells that take sums.
void RecordSums(i32 book, i32 sheet, const RefArea& area) {
    IgnoreFailure(RecordBlock(UNDO_TYPING, book, sheet, area, BLOCK_BY_ENTRY));
}

bool MayStore(const RefArea& target) { return !RefuseProtected(target) && !RefuseArrayPart(target); }

void ShowSums(const RefArea& selection) {
    CurrentWorkbook()->dirty = 1;
    SelectArea(selection, false, 0, 0, false);
    ShowChangedCells();
}

// The numbers of one row are summed in the first free cell from its last one on.
void SumOfRow(const Sheet& sheet, const RefArea& area, bool subtotal) {
    const i32 row = area.firstRow, book = sheet.book, index = sheet.index;
    i32 column = area.lastColumn;
    while (column < MAX_COLUMNS && !HasNoValue(sheet, row, column)) ++column;
    if (column >= MAX_COLUMNS) return;
    const i32 last = std::min<i32>(area.lastColumn, column - 1);
    if (last < area.firstColumn || !MayStore(AreaBetween(row, column, row, column))) return;
    RecordSums(book, index, AreaBetween(row, column, row, column));
    if (!StoreSum(book, index, row, column, AreaBetween(row, area.firstColumn, row, last), subtotal)) return;
    ShowSums(AreaBetween(row, area.firstColumn, row, std::max<i32>(area.lastColumn, column)));
}

// One row without a number: each column sums its own run above. False when there is none.
bool SumsAboveRow(const Sheet& sheet, const RefArea& area, bool subtotal) {
    const i32 row = area.firstRow, book = sheet.book, index = sheet.index;
    bool any = false;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        RefArea run;
        if (!FarRun(*SheetAt(book, index), {row, column}, UP, run)) continue;
        if (!any) RecordSums(book, index, area);
        any = true;
        if (!StoreSum(book, index, row, column, run, subtotal)) break;
    }
    if (any) ShowSums(area);
    return any;
}

void SumOneRow(const Sheet& sheet, const RefArea& area, bool subtotal) {
    if (IsSum(sheet, area.firstRow, area.lastColumn, subtotal)) return;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        if (!HoldsNumber(sheet, area.firstRow, column)) continue;
        SumOfRow(sheet, area, subtotal);
        return;
    }
    if (!SumsAboveRow(sheet, area, subtotal)) ProposeSum(sheet, nullptr);
}

// The first row from `row` on whose cells of these columns are all without a value; MAX_ROWS when none is.
i32 FirstFreeRow(const Sheet& sheet, i32 row, i32 firstColumn, i32 lastColumn) {
    for (; row < MAX_ROWS; ++row) {
        i32 column = firstColumn;
        while (column <= lastColumn && HasNoValue(sheet, row, column)) ++column;
        if (column > lastColumn) break;
    }
    return row;
}

void SumRows(const Sheet& sheet, const RefArea& area, bool subtotal) {
    const i32 book = sheet.book, index = sheet.index;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column)
        if (IsSum(sheet, area.lastRow, column, subtotal)) return;
    const i32 target = FirstFreeRow(sheet, area.lastRow, area.firstColumn, area.lastColumn);
    if (target >= MAX_ROWS || !MayStore(AreaBetween(target, area.firstColumn, target, area.lastColumn))) return;
    RefArea numbers = area;
    numbers.lastRow = static_cast<u16>(std::min<i32>(target - 1, area.lastRow));
    bool holdsNumber[MAX_COLUMNS] = {};
    if (target > area.firstRow) {
        CalculateArea(*SheetAt(book, index), numbers);
        WalkArea(SheetAt(book, index)->cells, numbers, [&](u16, CellRecord& cell) {
            holdsNumber[cell.column] |= cell.value.type == VT_NUMBER;
            return true;
        });
    }
    RecordSums(book, index, AreaBetween(target, area.firstColumn, target, area.lastColumn));
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        if (!holdsNumber[column]) continue;
        const RefArea run = AreaBetween(area.firstRow, column, numbers.lastRow, column);
        if (!StoreSum(book, index, target, column, run, subtotal)) break;
    }
    RefArea grown = area;
    grown.lastRow = static_cast<u16>(std::max<i32>(area.lastRow, target));
    ShowSums(grown);
}

}  // namespace

void AutoSumCommand(i32) {
    if (IsEditing()) {
        IgnoreFailure(CommitEntry(false, true));
        return;
    }
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const SheetView& view = sheet->view;
    const RefArea area = view.selection;
    if (!MayStore(area)) return;
    const RefArea* merge = FindMerge(*sheet, view.activeRow, view.activeColumn);
    const bool subtotal = HasHiddenFilterRows(*sheet);
    if (IsOneCell(area) || (merge && *merge == area)) {
        RefArea run;
        const bool found = ProposedRun(*sheet, {area.firstRow, area.firstColumn}, run);
        ProposeSum(*sheet, found ? &run : nullptr);
    } else if (area.firstRow == area.lastRow) {
        SumOneRow(*sheet, area, subtotal);
    } else {
        SumRows(*sheet, area, subtotal);
    }
}

}  // namespace tally
