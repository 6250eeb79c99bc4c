#include "editing/Guards.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {

bool HoldsLockedCell(const Sheet& sheet, const RefArea& area) {
    if (!(sheet.viewFlags & VIEW_PROTECTED)) return false;
    const Workbook& book = *BookAt(sheet.book);
    // Beyond what is used every cell of a column has the column's format, so one row of them is enough.
    const i32 lastRow = std::min<i32>(area.lastRow, LastUsedRow(sheet) + 1);
    for (i32 row = area.firstRow; row <= std::max<i32>(lastRow, area.firstRow); ++row) {
        for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
            if (ResolveCellFormat(book, GetCellFormat(sheet, row, column)).flags & FORMAT_LOCKED) return true;
        }
    }
    return false;
}

bool RefuseLockedCell(const Sheet& sheet, const RefArea& area) {
    if (!HoldsLockedCell(sheet, area)) return false;
    ShowMessage(Message(MSG_PROTECTED_CELL));
    return true;
}

bool RefuseMetMerge(const Sheet& sheet, const RefArea& area) {
    if (!AnyAreaMeets(sheet.mergedAreas, area)) return false;
    ShowMessage(Message(MSG_PART_OF_MERGE));
    return true;
}

bool RefuseEdit(const Sheet& sheet, const RefArea& area) {
    return RefuseLockedCell(sheet, area) || RefuseCutArray(sheet, area) || RefuseCutMerge(sheet, area);
}

}  // namespace tally
