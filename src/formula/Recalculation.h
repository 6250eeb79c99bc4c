#pragma once
// Who becomes stale, and how a stale cell comes up to date.

#include "formula/Evaluator.h"
#include "model/CellStore.h"

namespace tally {

// Stores a cell: releases what stood there, drops the cell's hyperlink, builds precedents, calculates
// a formula at once and, with `recalculate`, marks dependents. Value and tokens of `input` pass to
// the store. False with the store unchanged when memory fails.
[[nodiscard]] bool SetCell(i32 book, i32 sheet, CellInput& input, bool recalculate, bool adjustRowHeight);
// After a worksheet formula got other tokens: its alwaysCalculate, and its place in the index of
// dependents. The references themselves are read from the tokens wherever they are needed.
void BuildPrecedents(FormulaCell& formula);
// Whether the tokens alone say that a formula has no fixed set of inputs.
bool TokensAlwaysCalculate(const FormulaTokens& tokens);
// Brings a cell and all it needs to CALC_CURRENT; false when a run was abandoned.
bool CalculateCell(i32 book, i32 sheet, i32 row, i32 column);
// Marks what depends on a cell, or on any cell of an area, as stale.
void MarkDependents(i32 book, i32 sheet, i32 row, i32 column);
void MarkDependentsOfArea(i32 book, i32 sheet, const RefArea& area);
// Marks formulas, names and all that depends on them as stale in one go. Formulas of sheets that are no
// worksheets are passed over.
struct ChangedName {
    i32 book = 0;
    i32 name = 0;
};
void MarkChanged(std::span<FormulaCell* const> formulas, std::span<const ChangedName> names);
// Marks what uses a name.
void MarkDependentsOfName(i32 book, i32 name);
// Sets the alwaysCalculate formulas of the current book's worksheets stale and marks what depends on
// them; true when there was any.
bool MarkVolatileCells();
// F9: every worksheet formula of every book.
void MarkAllStale();
// Calculates the stale cells of a book's worksheets.
void CalculateBook(i32 book);
// The index of dependents no longer fits the books; it is built again when next needed.
void DropDependents();

// How often calculations were stopped since the report was last taken, by EvaluationStop.
struct CalculationReport {
    u32 stops[STOP_MEMORY + 1] = {};
};
CalculationReport TakeCalculationReport();

// What the view wants to know. Harmless defaults; the shell fills them in.
struct RecalculationCalls {
    void (*cellChanged)(i32 book, i32 sheet, i32 row, i32 column);  // repaint it
    void (*rowHeightWanted)(i32 book, i32 sheet, i32 row);          // refit it
    void (*calculationStopped)(EvaluationStop why);                 // tell the user, once for many
};
RecalculationCalls& RecalculationView();

}  // namespace tally
