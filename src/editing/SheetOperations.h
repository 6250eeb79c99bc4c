#pragma once
// Deleting, moving and copying whole sheets, with the repair of what refers to them.

#include "editing/Undo.h"

namespace tally {

// Whether among the other sheets at least one is a worksheet and at least one is visible.
bool CanDeleteSheet(i32 book, i32 sheet);
// Deletes a sheet of the current book, with undo, and makes `nextCurrent` current, counted before the
// removal; -1 takes the next visible one behind it, else the nearest before. False with nothing changed
// when memory fails.
[[nodiscard]] bool DeleteSheet(i32 sheet, i32 nextCurrent);
// The same without undo and for any book.
[[nodiscard]] bool DeleteSheetPlain(i32 book, i32 sheet);
// The sheet at `from` goes in front of what stands at `before` (the count of sheets: to the end). With undo.
[[nodiscard]] bool MoveSheet(i32 book, i32 from, i32 before);
// A copy of the current sheet in front of `before`, current afterwards and with the next default name.
// With undo. False with nothing changed when it could not be made.
[[nodiscard]] bool CopySheet(i32 before);

// Gives a sheet another name, in the links of other open books too. False with nothing changed when memory
// fails.
[[nodiscard]] bool RenameSheet(Sheet& sheet, WideView name);

// Marks the formulas that read a range of sheets of a book: it may hold others than before.
void MarkSheetRanges(i32 book);

// For undo: an inserted sheet goes. Extern rows, which pass over an inserted chart, do so again.
[[nodiscard]] bool TakeBackInsert(i32 book, i32 sheet);
// A removed sheet goes back to its place, and a moved one.
[[nodiscard]] bool ReturnSheet(UndoRecord& record);
void MoveSheetBack(const UndoRecord& record);

}  // namespace tally
