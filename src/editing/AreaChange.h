#pragma once
// New contents for an area of a sheet: cells and the lists that hang on them. All memory is got first, so
// that a change happens whole or not at all.

#include "model/SavedCells.h"

namespace tally {

struct AreaChange {
    i32 book = 0, sheet = 0;
    RefArea area;
    Array<SavedCell> cells;  // what the area is to hold, by row, then column; owned
    // New lists of the sheet, of those that change.
    bool hasArrays = false, hasMerges = false, hasLinks = false, hasRules = false;
    Array<ArrayEntry> arrays;
    Array<RefArea> merges;
    Array<Hyperlink> links;
    Array<ValidationRule> validations;
    Array<ConditionalFormat> formats;
    CellPatch patch;
};

// More cells than this are not changed at one go. RefuseSize tells the user and gives false.
constexpr u32 MOST_CHANGED_CELLS = 4'194'304;
bool RefuseSize();

// Start the new lists with what the sheet has outside of `part`, a part of the area: arrays that lie wholly in
// it go, and so do hyperlinks that touch it; rules lose it.
[[nodiscard]] bool ClearArraysAndLinks(AreaChange& change, const RefArea& part);
[[nodiscard]] bool ClearRules(AreaChange& change, const RefArea& part);
// Starts the new list of merged areas with that of the sheet.
[[nodiscard]] bool TakeMerges(AreaChange& change);
// Gets the memory for the cells. Nothing may change the sheet until the commit.
[[nodiscard]] bool PrepareChange(AreaChange& change);
// Puts everything in place, marks what reads the area, and tells the view that its rows may want other heights.
// Cannot fail.
void CommitChange(AreaChange& change);
// Gives back what was not committed, or what was replaced.
void DropChange(AreaChange& change);

}  // namespace tally
