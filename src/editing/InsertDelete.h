#pragma once
// Inserting and deleting cells, rows and columns of the current sheet, with their refusals and undo.

#include "editing/Undo.h"

namespace tally {

// Each makes room at an area, or closes it: whole rows or columns when the area spans the sheet, cells of
// its columns or rows otherwise. False when it was refused, the user having been told, or memory failed;
// nothing has changed then.
[[nodiscard]] bool InsertRowsOrCellsDown(const RefArea& area);
[[nodiscard]] bool InsertColumnsOrCellsRight(const RefArea& area);
[[nodiscard]] bool DeleteRowsOrCellsUp(const RefArea& area);
[[nodiscard]] bool DeleteColumnsOrCellsLeft(const RefArea& area);

// Whether an area cuts an array formula or a data table, or a merged area of the sheet. The user has then been
// told.
bool RefuseCutArray(const Sheet& sheet, const RefArea& area);
bool RefuseCutMerge(const Sheet& sheet, const RefArea& area);

}  // namespace tally
