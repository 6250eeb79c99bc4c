#pragma once
// What undoes each kind of operation.

#include "editing/Undo.h"
#include "formula/Recalculation.h"

namespace tally {

// Does the inverse of a record's kind, makes its book and sheet current and puts the view back. False with
// nothing changed when memory fails. What the record held passes to the book.
[[nodiscard]] bool RunInverse(UndoRecord& record);

// Puts the area of a record back as far as its mask and lists go, whoever filled them in. All memory is got
// first: false with nothing changed when there is too little. What the record held passes to the sheet.
[[nodiscard]] bool RestoreArea(UndoRecord& record);

// Releases what a record owns.
void FreeUndoContents(UndoRecord& record);

// Puts a record's saved tokens in place and adds their formulas and names to what must be marked, for which
// ReserveMarks makes the room.
[[nodiscard]] bool ReserveMarks(const UndoRecord& record, Array<FormulaCell*>& stale,
                                Array<ChangedName>& names);
void PutSavedTokens(UndoRecord& record, Array<FormulaCell*>& stale, Array<ChangedName>& names);
// A copy of a name as it is.
[[nodiscard]] bool SaveName(SavedName& saved, const Workbook& book, i32 name);

}  // namespace tally
