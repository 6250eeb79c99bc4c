#include "editing/PasteTargets.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "editing/Guards.h"
#include "editing/VisibleRuns.h"

namespace tally {
namespace {

bool Refuse(u16 message) {
    ShowMessage(Message(message));
    return false;
}

// One axis of a target, `last` grown to the block where the target has a single line. The message that refuses
// it, or 0.
u16 FitAxis(u32 size, i32 first, i32& last, i32 limit) {
    const u32 lines = static_cast<u32>(last - first + 1);
    if (size <= 1) return 0;
    if (lines > 1) return lines % size ? u16{MSG_PASTE_SHAPE} : u16{0};
    if (first + static_cast<i32>(size) - 1 > limit) return MSG_NO_ROOM_TO_PASTE;
    last = first + static_cast<i32>(size) - 1;
    return 0;
}

}  // namespace

bool ListTargets(const Sheet& sheet, const RefArea& selection, Array<RefArea>& targets) {
    targets.Truncate(0);
    if (!HasHiddenFilterRows(sheet)) return targets.Append(selection);
    Array<LineRun> rows, columns;
    if (!VisibleRowRuns(sheet, selection, rows) || !VisibleColumnRuns(sheet, selection, columns)) return false;
    for (const LineRun& row : rows) {
        for (const LineRun& column : columns) {
            if (!targets.Append({static_cast<u16>(row.first), static_cast<u16>(row.last),
                                 static_cast<u8>(column.first), static_cast<u8>(column.last)}))
                return false;
        }
    }
    return true;
}

bool FitTargets(const Sheet& sheet, u32 rows, u32 columns, Array<RefArea>& targets) {
    for (RefArea& target : targets) {
        i32 lastColumn = target.lastColumn, lastRow = target.lastRow;
        u16 message = FitAxis(columns, target.firstColumn, lastColumn, MAX_COLUMNS - 1);
        if (!message) message = FitAxis(rows, target.firstRow, lastRow, MAX_ROWS - 1);
        if (message) return Refuse(message);
        target.lastColumn = static_cast<u8>(lastColumn);
        target.lastRow = static_cast<u16>(lastRow);
        if (RefuseEdit(sheet, target)) return false;
    }
    return true;
}

RefArea UnionOf(std::span<const RefArea> targets) {
    RefArea all = targets[0];
    for (const RefArea& target : targets) {
        all.firstRow = std::min(all.firstRow, target.firstRow);
        all.lastRow = std::max(all.lastRow, target.lastRow);
        all.firstColumn = std::min(all.firstColumn, target.firstColumn);
        all.lastColumn = std::max(all.lastColumn, target.lastColumn);
    }
    return all;
}

void GrowSelection(Sheet& sheet, const Array<RefArea>& targets) {
    const RefArea both[] = {UnionOf(targets.Span()), sheet.view.selection};
    sheet.view.selection = UnionOf(both);
}

}  // namespace tally
