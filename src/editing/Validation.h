#pragma once
// Rules for what may be typed into a cell.

#include "model/ModelTypes.h"

namespace tally {

// The first rule of the sheet's list that covers a cell, or -1.
i32 FindRule(const Sheet& sheet, i32 row, i32 column);
// Whether the value that a cell holds now satisfies a rule.
bool PassesRule(i32 book, i32 sheet, i32 row, i32 column, const ValidationRule& rule);
// Tests the cells of an area that have just been stored, row by row, and asks the user about each that fails.
// False when one must go: `outcome` is then ENTRY_RETRY or ENTRY_CANCELLED.
bool CheckEntryRules(i32 book, i32 sheet, const RefArea& area, i32& outcome);

}  // namespace tally
