// The buttons and keys that change the look of the selected cells.

#include "base/MessageTable.h"
#include "editing/ApplyFormat.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/ActiveCell.h"

namespace tally {
namespace {

// What a button asks for: the opposite of what the active cell has.
FormatRequest RequestOf(i32 command, const CellFormat& active, const FontRecord& font) {
    FormatRequest request;
    const i32 alignment = command - 434;  // 1 left, 2 centre, 3 right
    switch (command) {
        case 432: request.bold = {true, font.weight <= 400}; break;
        case 433: request.italic = {true, !(font.attributes & FONT_ITALIC)}; break;
        case 434: request.underline = {true, !font.underline}; break;
        default: request.horizontal = {true, active.horizontal == alignment ? 0 : alignment}; break;
    }
    return request;
}

i64 CellsOf(const RefArea& area) {
    if (area.firstRow == 0 && area.lastRow == MAX_ROWS - 1) return 0;
    return i64{area.lastRow - area.firstRow + 1} * (area.lastColumn - area.firstColumn + 1);
}

// Cells and columns with their formats, and the heights that fonts may change.
void RecordFormats(const Sheet& sheet, const RefArea& area) {
    IgnoreFailure(RecordBlock(UNDO_CELL_FORMAT, sheet.book, sheet.index, area, BLOCK_CELLS | BLOCK_COLUMNS));
}

}  // namespace

void FormatCommand(i32 command) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    const SheetView& view = sheet->view;
    const RefArea area = view.selection;
    if (RefuseProtected(area)) return;
    if (CellsOf(area) > MAX_FORMATTED_CELLS) {
        ShowMessage(Message(MSG_OUT_OF_MEMORY));
        return;
    }
    const Workbook& book = *CurrentWorkbook();
    const CellFormat& active =
        ResolveCellFormat(book, GetCellFormat(*sheet, view.activeRow, view.activeColumn));
    const FormatRequest request = RequestOf(command, active, ResolveFont(book, active.font));
    RecordFormats(*sheet, area);
    ApplyFormat(*sheet, area, request);
    if ((request.bold.present || request.italic.present) && FitRows(*sheet, area, true)) RefreshView();
    ShowChangedCells();
}

}  // namespace tally
