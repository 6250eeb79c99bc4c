#pragma once
// What a paint needs beside the values that cells hold, worked out between messages: a paint evaluates nothing.

#include "shell/state/ShellState.h"

namespace tally {

// The values, the looks or the lines that are seen may have changed.
void NoteShownChange();
// Calculates the stale cells among those whose content can be seen and evaluates their conditional formats.
// Does nothing when no change was noted since the last call. What was painted in between is painted again.
void BringShownUpToDate();

// The condition in force at a cell, by lines of the layout; null when there is none, or when the cells have not
// been brought up to date since the layout changed.
const ConditionalCondition* ShownCondition(const Sheet& sheet, const ShownLine& row, const ShownLine& column);
// The same of a merge, whose first cell need not be shown.
const ConditionalCondition* ShownMergeCondition(const Sheet& sheet, const RefArea& merge);

}  // namespace tally
