#pragma once
// A rectangle of cells goes by rows or columns, and everything that points at it follows. All memory is
// got first: a shift either happens whole or not at all.

#include "editing/Undo.h"
#include "formula/ReferenceAdjustment.h"

namespace tally {

struct ShiftPlan {
    AreaMove move;
    Array<TokenChange> changes;  // null tokens: the formula's own are rewritten in place
    Marks stale;
    Array<SavedRules> rules;   // new lists of sheets; after the shift the old ones
    Array<SavedLink> links;    // room for the hyperlinks of the lost area; after the shift they are here
    Array<RefArea> linkAreas;  // of all hyperlinks of the sheet, before the shift
};

// The cells that a move overwrites, or pushes off the sheet. One of the deltas is 0.
RefArea LostArea(const AreaMove& move);

// Works everything out. What no inverse shift would bring back goes into `record` when there is one.
// Without `withLists` the rules of all sheets stay as they are and no hyperlink goes. False leaves an empty
// plan.
[[nodiscard]] bool PrepareShift(ShiftPlan& plan, const AreaMove& move, UndoRecord* record, bool withLists);
// Shifts cells, lists, sizes and rules and puts the new tokens in place; nothing is marked yet. The old
// rules stay in the plan. False with nothing changed when memory fails.
[[nodiscard]] bool CommitShift(ShiftPlan& plan);
// Marks what the shift has made stale.
void MarkShifted(ShiftPlan& plan);
void DropShift(ShiftPlan& plan);

// The whole of it for an area of the current sheet, without undo. What must be taken away first (parts of
// arrays and merges) is the caller's matter.
[[nodiscard]] bool ShiftBlock(const RefArea& area, i32 rowDelta, i32 columnDelta);

// The lists of a sheet without what lies in an area: arrays and merges inside it, hyperlinks that touch it,
// which go to the plan. The first gets the memory.
[[nodiscard]] bool PrepareLinks(ShiftPlan& plan, const RefArea& lost);
void RemoveLists(Sheet& sheet, ShiftPlan& plan, const RefArea& lost);

// The rules of a sheet after a move: new lists in `made` when anything changes. False when memory fails.
[[nodiscard]] bool ShiftedRules(Sheet& sheet, const MoveView& view, SavedRules& made);

}  // namespace tally
