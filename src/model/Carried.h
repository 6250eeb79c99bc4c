#pragma once
// What carried bytes speak of, and whether it is still so.

#include "model/ModelTypes.h"

namespace tally {

// Cells of an area have moved by that many rows and columns. The inverse of the last move takes it back.
void NoteMove(Sheet& sheet, const RefArea& from, i32 rowDelta, i32 columnDelta);
// Whether cells at or above that row, and at or left of that column, have moved.
bool HasMovedWithin(const Sheet& sheet, i32 lastRow, i32 lastColumn);

// Notes which sheets there are; false when memory fails.
[[nodiscard]] bool MarkSheetsRead(Workbook& book);
// Sheets that were read and are gone, and sheets that are called otherwise.
bool SheetsWereRemoved(const Workbook& book);
bool SheetsWereRenamed(const Workbook& book);

}  // namespace tally
