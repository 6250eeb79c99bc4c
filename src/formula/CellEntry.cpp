#include "formula/ArrayIndex.h"
#include "formula/Dependents.h"
#include "formula/Precedents.h"
#include "model/BookTable.h"
#include "model/Tokens.h"

namespace tally {
namespace {

void DropHyperlinks(Sheet& sheet, i32 row, i32 column) {
    for (u32 i = sheet.hyperlinks.Count(); i-- > 0;) {
        if (AreaHolds(sheet.hyperlinks[i].area, row, column)) sheet.hyperlinks.RemoveAt(i);
    }
}

void ReleaseInput(CellInput& input) {
    ClearValue(input.value);
    FreeTokens(input.tokens);
}

// Cells of an array that is being stored wait for its last one, which calculates for all of them.
bool WaitsForArray(const Sheet& sheet, i32 row, i32 column) {
    const ArrayEntry* entry = sheet.arrayFormulas.IsEmpty() ? nullptr : ArrayOfCell(sheet, row, column);
    return entry && (row != entry->area.lastRow || column != entry->area.lastColumn);
}

}  // namespace

void BuildPrecedents(FormulaCell& formula) {
    ForgetFormula(formula);
    formula.alwaysCalculate = TokensAlwaysCalculate(formula.tokens);
    formula.stopped = false;
    EnterFormula(formula);
}

bool SetCell(i32 book, i32 sheet, CellInput& input, bool recalculate, bool adjustRowHeight) {
    Sheet* target = SheetAt(book, sheet);
    if (!target) {
        ReleaseInput(input);
        return false;
    }
    const bool worksheet = (target->kind & SHEET_WORKSHEET) != 0;
    const bool hasFormula = HasFormula(input.tokens);
    CellStore& store = target->cells;
    const u32 before = store.count;
    CellRecord* cell = PutCell(store, input.row, input.column);
    if (!cell) {
        ReleaseInput(input);
        return false;
    }
    const bool isNew = store.count != before;
    if (hasFormula && !SetCellTokens(*target, input.row, *cell, input.tokens)) {
        CellPosition position;
        if (isNew && FindCell(store, input.row, input.column, position)) RemoveCell(store, position);
        ReleaseInput(input);
        return false;
    }
    if (!hasFormula) IgnoreFailure(SetCellTokens(*target, input.row, *cell, FormulaTokens()));
    if (!isNew) DropHyperlinks(*target, input.row, input.column);
    FreeValue(cell->value);
    cell->value = TakeValue(input.value);
    cell->format = input.format;
    cell->calcState = hasFormula ? CALC_STALE : cell->value.type != VT_EMPTY ? CALC_CURRENT : CALC_BLANK;
    input.tokens = FormulaTokens();
    TouchColumn(store, input.column);
    if (hasFormula && worksheet) {
        BuildPrecedents(*cell->formula);
        if (!WaitsForArray(*target, input.row, input.column))
            CalculateCell(book, sheet, input.row, input.column);
    }
    if (adjustRowHeight && worksheet) RecalculationView().rowHeightWanted(book, sheet, input.row);
    if (recalculate && worksheet) MarkDependents(book, sheet, input.row, input.column);
    return true;
}

}  // namespace tally
