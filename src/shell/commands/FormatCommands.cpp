// The buttons and keys that change the look of the selected cells.

#include "editing/ApplyFormat.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/commands/Commands.h"
#include "shell/grid/Layout.h"
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

}  // namespace

void FormatCommand(i32 command) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    const SheetView& view = sheet->view;
    const RefArea area = view.selection;
    const Workbook& book = *CurrentWorkbook();
    const CellFormat& active =
        ResolveCellFormat(book, GetCellFormat(*sheet, view.activeRow, view.activeColumn));
    const FormatRequest request = RequestOf(command, active, ResolveFont(book, active.font));
    if (!FormatArea(sheet->book, sheet->index, area, request)) return;
    ShowChangedCells();
}

}  // namespace tally
