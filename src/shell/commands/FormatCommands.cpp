// The buttons and keys that change the look of the selected cells.

#include "editing/AreaLook.h"
#include "editing/EntryRecognition.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"

namespace tally {
namespace {

// What a button asks for: the opposite of what the active cell has.
i32 WantedLook(i32 command, const CellFormat& active, const FontRecord& font) {
    const i32 alignment = command - 434;  // 1 left, 2 centre, 3 right
    switch (command) {
        case 432: return font.weight <= 400;
        case 433: return !(font.attributes & FONT_ITALIC);
        case 434: return !font.underline;
        default: return active.horizontal == alignment ? 0 : alignment;
    }
}

FormatRequest RequestOf(i32 command, i32 wanted) {
    FormatRequest request;
    switch (command) {
        case 432: request.bold = {true, wanted}; break;
        case 433: request.italic = {true, wanted}; break;
        case 434: request.underline = {true, wanted}; break;
        default: request.horizontal = {true, wanted}; break;
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
    i32 wanted = 0;
    if (!RepeatedArgument(command, wanted))
        wanted = WantedLook(command, active, ResolveFont(book, active.font));
    if (!FormatArea(sheet->book, sheet->index, area, RequestOf(command, wanted))) return;
    NoteRepeatable(command, wanted);
    ShowChangedCells();
}

void CellFormatCommand(i32) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    const RefArea area = sheet->view.selection;
    CellFormatQuestion question;
    question.book = sheet->book;
    question.look = LookOfArea(*sheet, area);
    question.rows = area.lastRow > area.firstRow;
    question.columns = area.lastColumn > area.firstColumn;
    question.sheet = sheet->index;
    question.row = sheet->view.activeRow;
    question.column = sheet->view.activeColumn;
    if (!AskCellFormat(question)) return;
    sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    u16 id = 0;
    if (question.formatKind >= 0) {
        if (!FormatForEntry(sheet->book, question.formatKind, question.formatSubKind, question.formatText, id))
            return;
        question.request.numberFormat = {true, id};
    }
    if (!AnyField(question.request)) return;
    if (FormatArea(sheet->book, sheet->index, area, question.request)) ShowChangedCells();
}

}  // namespace tally
