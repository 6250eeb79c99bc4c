#pragma once
// Data tables: the results of one formula for many values of one or two input cells.

#include <span>

#include "formula/FormulaTypes.h"
#include "model/ModelTypes.h"

namespace tally {

// Whether a formula is no more than a part of a data table.
bool IsTablePart(const FormulaTokens& tokens);
// The table that such a formula belongs to; null when its sheet knows of none there. Where a part lies tells,
// and not the place that its tokens name: tables move with their cells.
const DataTable* TableOf(const FormulaCell& formula);

// What one result of a table reads: its formula, then the headings whose values the inputs take.
struct TablePlaces {
    u32 count = 0;
    RefArea reads[3];
    RefArea inputs[2];  // one fewer than `reads`: input i takes the value of reads[i + 1]
};
// False for a table at the sheet's edge, which has no room for its headings.
bool PlacesOf(const DataTable& table, i32 row, i32 column, TablePlaces& out);

// Works out the part of a table in the context's cell, and with it all stale parts whose headings are up to
// date: the inputs take the headings' values in turn, and everything is as it was afterwards. False when the
// run was abandoned.
bool CalculateTable(Value& result, const EvalContext& context);

// A cell as it was before a trial.
struct TrialCell {
    i32 book = 0;
    i32 sheet = 0;
    u32 serial = 0;
    u16 row = 0;
    u8 column = 0;
    u8 calcState = CALC_CURRENT;
    Value value;
};
// Appends a cell with a copy of its value; false when memory fails.
[[nodiscard]] bool KeepForTrial(Array<TrialCell>& kept, const Sheet& sheet, i32 row, const CellRecord& cell);
// Makes stale what depends on the inputs without telling anybody; what became so is appended to `marked`.
void MarkForTrial(std::span<const TrialCell> inputs, Array<TrialCell>& marked);
// A cell has come up to date: a trial under way must know.
void NoteCalculated(i32 book, i32 sheet, i32 row, i32 column);

}  // namespace tally
