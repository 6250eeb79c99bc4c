#include "editing/LineSizes.h"

#include <algorithm>

#include "editing/Undo.h"
#include "model/BookTable.h"

namespace tally {
namespace {

bool IsPlainRow(const RowInfo& info) {
    return (info.flags & (ROW_HIDDEN | ROW_DEFAULT_HEIGHT | ROW_KEPT)) == ROW_DEFAULT_HEIGHT;
}

// Every row of an area goes through `change`, those without a record as well.
template <typename Change>
bool ChangeRows(Sheet& sheet, const RefArea& area, Change change) {
    Array<RowInfo> changes;
    if (!changes.Reserve(area.lastRow - area.firstRow + 1u)) return false;
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        RowInfo info = RowInfoOf(sheet, row);
        change(info);
        IgnoreFailure(changes.Append(info));
    }
    return MergeRows(sheet, changes);
}

constexpr i32 lineKinds[2][3] = {{UNDO_ROW_HEIGHT, UNDO_HIDE_ROWS, UNDO_SHOW_ROWS},
                                 {UNDO_COLUMN_WIDTH, UNDO_HIDE_COLUMNS, UNDO_SHOW_COLUMNS}};

}  // namespace

RowInfo RowInfoOf(const Sheet& sheet, i32 row) {
    RowInfo info;
    info.row = static_cast<u16>(row);
    const RowInfo* found = FindRowInfo(sheet.rows, row);
    if (found) info = *found;
    return info;
}

// The list is built beside the old one, so that a failure changes nothing.
bool MergeRows(Sheet& sheet, const Array<RowInfo>& changes) {
    Array<RowInfo> merged;
    if (!merged.Reserve(sheet.rows.Count() + std::size_t{changes.Count()})) return false;
    u32 old = 0;
    for (const RowInfo& change : changes) {
        while (old < sheet.rows.Count() && sheet.rows[old].row < change.row)
            IgnoreFailure(merged.Append(sheet.rows[old++]));
        if (old < sheet.rows.Count() && sheet.rows[old].row == change.row) ++old;
        if (!IsPlainRow(change)) IgnoreFailure(merged.Append(change));
    }
    while (old < sheet.rows.Count()) IgnoreFailure(merged.Append(sheet.rows[old++]));
    sheet.rows = std::move(merged);
    return true;
}

bool ChangeLines(const LineRequest& request) {
    Sheet* sheet = SheetAt(request.book, request.sheet);
    if (!sheet) return false;
    const i32 kind = lineKinds[request.columns][request.change];
    const RefArea& area = request.area;
    if (request.columns) IgnoreFailure(RecordColumns(kind, request.book, request.sheet, area));
    else IgnoreFailure(RecordRows(kind, request.book, request.sheet, area));
    BookAt(request.book)->dirty = 1;
    if (request.change != LINES_SIZE) {
        const bool hide = request.change == LINES_HIDE;
        return request.columns ? HideColumns(*sheet, area, hide) : HideRows(*sheet, area, hide);
    }
    return request.columns ? SetColumnWidths(*sheet, area, request.size)
                           : SetRowHeights(*sheet, area, request.size);
}

bool SetStandardWidth(i32 book, i32 sheetIndex, i32 width) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    if (!sheet || width < 0 || width > MAX_COLUMN_WIDTH) return false;
    IgnoreFailure(RecordUndo(book, sheetIndex, UNDO_STANDARD_WIDTH));
    sheet->defaultColumnWidth = static_cast<u16>(width);
    sheet->viewFlags = static_cast<u16>(sheet->viewFlags & ~VIEW_STANDARD_WIDTH);
    BookAt(book)->dirty = 1;
    return true;
}

bool SetRowHeights(Sheet& sheet, const RefArea& area, i32 height) {
    if (height <= 0) return HideRows(sheet, area, true);
    return ChangeRows(sheet, area, [height](RowInfo& info) {
        info.flags = static_cast<u16>((info.flags & ROW_KEPT) | ROW_CUSTOM_HEIGHT);
        info.height = static_cast<u16>(std::min(height, MAX_ROW_HEIGHT));
    });
}

bool SetColumnWidths(Sheet& sheet, const RefArea& area, i32 width) {
    if (width <= 0) return HideColumns(sheet, area, true);
    return ChangeColumns(sheet, area, [width](ColumnInfo& info) {
        info.flags = static_cast<u16>(info.flags & COLUMN_OUTLINE);
        info.width = static_cast<u16>(std::min(width, MAX_COLUMN_WIDTH));
    });
}

bool HideRows(Sheet& sheet, const RefArea& area, bool hide) {
    return ChangeRows(sheet, area, [hide](RowInfo& info) {
        // A row that a file has hidden without a height comes back with the ordinary one.
        if (!hide && !info.height) info.flags |= ROW_DEFAULT_HEIGHT;
        info.flags = static_cast<u16>(hide ? info.flags | ROW_HIDDEN : info.flags & ~ROW_HIDDEN);
    });
}

bool HideColumns(Sheet& sheet, const RefArea& area, bool hide) {
    return ChangeColumns(sheet, area, [hide](ColumnInfo& info) {
        if (!hide && !info.width) info.flags |= COLUMN_DEFAULT_WIDTH;
        info.flags = static_cast<u16>(hide ? info.flags | COLUMN_HIDDEN : info.flags & ~COLUMN_HIDDEN);
    });
}

}  // namespace tally
