#pragma once
// The sizes that the user gives to rows and columns.

#include "model/CellStore.h"

namespace tally {

constexpr i32 MAX_ROW_HEIGHT = 409 * 20;     // twips
constexpr i32 MAX_COLUMN_WIDTH = 255 * 256;  // 1/256 of a digit

// What a change of sizes is to do to whole lines.
enum LineChange : u8 { LINES_SIZE, LINES_HIDE, LINES_SHOW };
struct LineRequest {
    i32 book = 0, sheet = 0;
    bool columns = false;
    RefArea area;  // its rows, or its columns
    LineChange change = LINES_SIZE;
    i32 size = 0;  // twips, or 1/256 of a digit; 0 hides
};
// With undo. False with nothing changed when memory fails.
[[nodiscard]] bool ChangeLines(const LineRequest& request);
// Of all columns that have no width of their own; with undo.
[[nodiscard]] bool SetStandardWidth(i32 book, i32 sheet, i32 width);

// ---- without undo ------------------------------------------------------------------------------------------
[[nodiscard]] bool SetRowHeights(Sheet& sheet, const RefArea& area, i32 height);
[[nodiscard]] bool SetColumnWidths(Sheet& sheet, const RefArea& area, i32 width);
[[nodiscard]] bool HideRows(Sheet& sheet, const RefArea& area, bool hide);
[[nodiscard]] bool HideColumns(Sheet& sheet, const RefArea& area, bool hide);

// A row's record as it stands, or the one that it would have.
RowInfo RowInfoOf(const Sheet& sheet, i32 row);
// Puts changed records, ascending, in the place of those that stand; plain ones are dropped. False with nothing
// changed when memory fails.
[[nodiscard]] bool MergeRows(Sheet& sheet, const Array<RowInfo>& changes);
// Every column of an area goes through `change`, which takes a ColumnInfo&; those that it leaves as they are
// keep their record, or their lack of one.
template <typename Change>
[[nodiscard]] bool ChangeColumns(Sheet& sheet, const RefArea& area, Change change) {
    if (!sheet.columns.Reserve(sheet.columns.Count() + std::size_t{MAX_COLUMNS})) return false;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        ColumnInfo info;
        info.column = static_cast<u8>(column);
        info.width = GetColumnInfo(sheet.columns, column, info.flags, info.format);
        const ColumnInfo old = info;
        change(info);
        if (info.flags == old.flags && info.width == old.width) continue;
        IgnoreFailure(SetColumnInfo(sheet.columns, info));
    }
    return true;
}

}  // namespace tally
