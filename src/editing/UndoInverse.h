#pragma once
// What undoes each kind of operation.

#include "editing/Undo.h"

namespace tally {

// Does the inverse of a record's kind, makes its book and sheet current and puts the view back. False with
// nothing changed when memory fails. What the record held passes to the book.
[[nodiscard]] bool RunInverse(UndoRecord& record);

// Releases what a record owns.
void FreeUndoContents(UndoRecord& record);

// A copy of a name as it is.
[[nodiscard]] bool SaveName(SavedName& saved, const Workbook& book, i32 name);

}  // namespace tally
