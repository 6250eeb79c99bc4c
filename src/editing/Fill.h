#pragma once
// One edge of the selection over the rest of it, with all that hangs on the cells.

#include "model/SavedCells.h"

namespace tally {

// Each copies the first or last row or column of the current sheet's selection over the others. A selection of
// one row takes the row above it, and so on; at the edge of the sheet nothing happens. `record` makes an undo
// record. False when it was refused, the user having been told, or memory failed; nothing has changed then.
[[nodiscard]] bool FillDown(bool record);
[[nodiscard]] bool FillRight(bool record);
[[nodiscard]] bool FillUp(bool record);
[[nodiscard]] bool FillLeft(bool record);

// What a fill does beyond laying its source over the target: see RestoreOrder.
struct FillWay {
    i32 rowsBefore = 0, columnsBefore = 0;
    bool (*place)(const void* context, i32 row, i32 column, SavedCell& cell) = nullptr;
    const void* context = nullptr;
};

// Copies rows or columns over an area beside them that is as wide or as high; `kind` is the UndoKind. Rows and
// columns that a filter hides are left as they are.
[[nodiscard]] bool FillBlock(const RefArea& source, const RefArea& target, bool record, i32 kind,
                             const FillWay& way = {});

}  // namespace tally
