#pragma once
// What hangs on the cells of a block, laid over areas: arrays, merges, rules, hyperlinks, column records.

#include "editing/RestoreBlock.h"

namespace tally {

// More records than this are not made at one go.
constexpr u32 MAX_PASTED_RECORDS = 65'536;

// A place in the block as the sheet knows it.
inline i32 PlaceOfRow(const RestoreOrder& order, i32 row) {
    return order.rowPlaces.empty()
               ? row
               : order.rowPlaces[static_cast<std::size_t>(row - order.block->area.firstRow)];
}
inline i32 PlaceOfColumn(const RestoreOrder& order, i32 column) {
    return order.columnPlaces.empty()
               ? column
               : order.columnPlaces[static_cast<std::size_t>(column - order.block->area.firstColumn)];
}
// Where the tiles of a target begin.
struct TileStart {
    i32 row, column;  // below 0 where the first tile begins before the sheet
};
inline TileStart TileOrigin(const RestoreOrder& order, const RefArea& target) {
    const RefArea& origin = order.origin ? *order.origin : target;
    return {origin.firstRow - order.rowsBefore, origin.firstColumn - order.columnsBefore};
}
// Rows and columns that a tile takes at the target.
inline i32 TileRows(const RestoreOrder& order) {
    const RefArea& area = order.block->area;
    return order.transpose ? area.lastColumn - area.firstColumn + 1 : area.lastRow - area.firstRow + 1;
}
inline i32 TileColumns(const RestoreOrder& order) {
    const RefArea& area = order.block->area;
    return order.transpose ? area.lastRow - area.firstRow + 1 : area.lastColumn - area.firstColumn + 1;
}
// Whether the records of the block's columns come along with its cells.
bool BringsColumns(const RestoreOrder& order);

// What the block brings, behind what `after` keeps; its area is the smallest around all targets.
[[nodiscard]] bool RestoreArrays(const RestoreOrder& order, AreaContents& after);
[[nodiscard]] bool RestoreMerges(const RestoreOrder& order, AreaContents& after);
// The lists of the sheet as they will be.
[[nodiscard]] bool RestoreRules(const RestoreOrder& order, const Sheet& sheet, AreaContents& after);
// `drops` tells of each hyperlink of the sheet whether it goes.
[[nodiscard]] bool RestoreLinks(const RestoreOrder& order, const Sheet& sheet, std::span<const u8> drops,
                                AreaContents& after);

}  // namespace tally
