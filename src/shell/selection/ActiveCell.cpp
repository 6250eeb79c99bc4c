#include "shell/selection/ActiveCell.h"

#include "base/Number.h"
#include "display/LocaleSettings.h"
#include "editing/StoreEntry.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/grid/Layout.h"
#include "shell/grid/ShownCells.h"
#include "shell/grid/Sizes.h"

namespace tally {

bool LineText(const Sheet& sheet, i32 row, i32 column, WideText& out) {
    const Workbook& book = *CurrentWorkbook();
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    if (!cell) return true;
    const CellFormat& format = ResolveCellFormat(book, cell->format);
    if ((sheet.viewFlags & VIEW_PROTECTED) && (format.flags & FORMAT_HIDDEN)) return true;
    if (!cell->formula) {
        if (!EditableText(CurrentBook(), cell->value, format.numberFormat, out)) return false;
        return cell->value.type != VT_STRING || !(format.flags & FORMAT_QUOTE_PREFIX) || out.Insert(0, u"'");
    }
    if (!FormulaToText(CurrentBook(), cell->formula->tokens, row, column, true, out)) return false;
    if (!FindArray(sheet, row, column) || Shell().entryMode == ENTRY_EDIT) return true;
    return out.Insert(0, u"{") && out.Append(u'}');
}

bool IsCellGesture(Gesture gesture) {
    return gesture == GESTURE_CELLS || gesture == GESTURE_ROWS || gesture == GESTURE_COLUMNS;
}

void RefreshNameBox() {
    if (Shell().naming) return;
    const Sheet* sheet = CurrentSheet();
    WideText text;
    bool good = true;
    if (HasCells(sheet)) {
        const RefArea& area = sheet->view.selection;
        if (IsCellGesture(Shell().gesture) && area != ActiveArea(*sheet))
            good = AppendInteger(text, area.lastRow - area.firstRow + 1) && text.Append(u" × ") &&
                   AppendInteger(text, area.lastColumn - area.firstColumn + 1);
        else good = CellToText(sheet->view.activeRow, sheet->view.activeColumn, false, false, text);
    }
    ShellPlatform().setEditText(NAME_BOX, good ? text.View() : WideView());
}

void RefreshEntryLine() {
    RefreshNameBox();
    if (IsEditing()) return;
    const Sheet* sheet = CurrentSheet();
    WideText text;
    if (HasCells(sheet)) {
        const RefArea active = ActiveArea(*sheet);
        if (!LineText(*sheet, active.firstRow, active.firstColumn, text)) text.Truncate(0);
    }
    ShellPlatform().setEditText(ENTRY_LINE, text);
}

void ShowChangedCells() {
    FitWantedRows();
    IgnoreFailure(MarkVolatileCells());
    RefreshEntryLine();
    NoteShownChange();
    ShellPlatform().invalidate(Shell().layout.grid);
    InvalidateStatus();
}

}  // namespace tally
