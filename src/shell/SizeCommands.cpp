// What the user does to the sizes of rows and columns.

#include <algorithm>

#include "base/Number.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/Commands.h"
#include "shell/Layout.h"
#include "shell/Selection.h"
#include "shell/Sizes.h"

namespace tally {
namespace {

// A sheet whose sizes may be changed, or null.
Sheet* FreeSheet() {
    Sheet* sheet = CurrentSheet();
    return HasCells(sheet) && !IsEditing() && !(sheet->viewFlags & VIEW_PROTECTED) ? sheet : nullptr;
}

void SizesChanged() {
    CurrentWorkbook()->dirty = 1;
    RefreshView();
}

}  // namespace

void FitCommand(i32 command) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = sheet->view.selection;
    if (command == 392) FitRows(*sheet, area, false);
    else FitColumns(*sheet, area);
    SizesChanged();
}

void HideLinesCommand(i32 command) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = sheet->view.selection;
    const bool rows = command == 393 || command == 394, hide = command == 393 || command == 397;
    if (rows ? HideRows(*sheet, area, hide) : HideColumns(*sheet, area, hide)) SizesChanged();
}

RefArea HeaderLines(bool columns, i32 line) {
    const RefArea& selection = CurrentSheet()->view.selection;
    if (columns) {
        const bool whole = selection.firstRow == 0 && selection.lastRow == MAX_ROWS - 1;
        if (whole && line >= selection.firstColumn && line <= selection.lastColumn) return selection;
        return {0, MAX_ROWS - 1, static_cast<u8>(line), static_cast<u8>(line)};
    }
    const bool whole = selection.firstColumn == 0 && selection.lastColumn == MAX_COLUMNS - 1;
    if (whole && line >= selection.firstRow && line <= selection.lastRow) return selection;
    return {static_cast<u16>(line), static_cast<u16>(line), 0, MAX_COLUMNS - 1};
}

void SizeHeaderLines(bool columns, i32 line, i32 pixels) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = HeaderLines(columns, line);
    const Layout& layout = Shell().layout;
    const i32 size = columns ? MulDiv(pixels, 256, std::max(1, layout.digitWidth))
                             : MulDiv(pixels, 1440, std::max(1, layout.dpiY));
    const i32 stored = pixels > 0 ? std::max(1, size) : 0;
    if (columns ? SetColumnWidths(*sheet, area, stored) : SetRowHeights(*sheet, area, stored)) SizesChanged();
}

void FitHeaderLines(bool columns, i32 line) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = HeaderLines(columns, line);
    if (columns) FitColumns(*sheet, area);
    else FitRows(*sheet, area, false);
    SizesChanged();
}

}  // namespace tally
