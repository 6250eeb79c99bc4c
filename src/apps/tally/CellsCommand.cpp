#include "apps/tally/Commands.h"
#include "apps/tally/JsonLines.h"
#include "base/MessageTable.h"
#include "display/DisplayText.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

// Texts that are made anew for each cell, kept so that their memory is.
struct CellTexts {
    WideText formula;
    WideText shown;
};

bool WriteCell(i32 book, i32 sheet, i32 row, const CellRecord& cell, CellTexts& texts) {
    const Workbook& workbook = *BookAt(book);
    texts.formula.Truncate(0);
    if (cell.formula && !FormulaToText(book, cell.formula->tokens, row, cell.column, true, texts.formula))
        return false;
    if (!DisplayText(workbook, cell.value, cell.format, texts.shown)) return false;
    CellLine line;
    line.sheet = SheetAt(book, sheet)->name;
    line.row = row;
    line.column = cell.column;
    line.formula = texts.formula;
    line.value = &cell.value;
    line.text = texts.shown;
    line.format = GetNumberFormatText(workbook, ResolveCellFormat(workbook, cell.format).numberFormat);
    WriteCellLine(line);
    return true;
}

}  // namespace

bool WriteCells(i32 book, i32 sheet, const RefArea& area) {
    CellTexts texts;
    CellPosition position;
    // The store is fetched anew for each cell: bringing one up to date may change it.
    for (;;) {
        CellStore& store = SheetAt(book, sheet)->cells;
        if (AtEnd(store, position)) return true;
        const i32 row = RowAt(store, position);
        const i32 column = CellAt(store, position).column;
        if (row > area.lastRow) return true;
        if (!AreaHolds(area, row, column)) {
            NextCell(store, position);
            continue;
        }
        if (CellAt(store, position).calcState == CALC_STALE) CalculateCell(book, sheet, row, column);
        const CellRecord* cell = GetCell(SheetAt(book, sheet)->cells, row, column);
        if (cell && !WriteCell(book, sheet, row, *cell, texts)) return false;
        NextCell(SheetAt(book, sheet)->cells, position);
    }
}

int RunCells(const Options& options) {
    int status = EXIT_GOOD;
    if (!OpenInput(options.input, options.from, options, status)) return status;
    if (!options.sheet.empty() && !ChooseSheet(options.sheet, status)) return status;
    if (options.recalculate) RecalculateAll();
    const i32 book = CurrentBook();
    const i32 only = options.sheet.empty() ? -1 : BookAt(book)->currentSheet;
    for (u32 sheet = 0; sheet < BookAt(book)->sheets.Count(); ++sheet) {
        if (only >= 0 && static_cast<i32>(sheet) != only) continue;
        if (!(BookAt(book)->sheets[sheet]->kind & SHEET_WITH_CELLS)) continue;
        if (!WriteCells(book, static_cast<i32>(sheet), {0, MAX_ROWS - 1, 0, MAX_COLUMNS - 1}))
            return Complain(EXIT_FILES, MSG_OUT_OF_MEMORY);
    }
    return FinishLines();
}

}  // namespace tally
