// Names for cells and formulas.

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "editing/NameOperations.h"
#include "formula/FormulaText.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {

bool SelectionFormula(const Sheet& sheet, WideText& out) {
    const SheetView& view = sheet.view;
    const RefArea area = view.selection == ActiveArea(sheet)
                             ? RefArea{view.activeRow, view.activeRow, view.activeColumn, view.activeColumn}
                             : view.selection;
    return AreaToText(sheet.book, sheet.index, area, AREA_USE_A1 | AREA_WITH_SHEET | AREA_WITH_EQUALS, 0, 0,
                      out);
}

void NameCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    const SheetView& view = sheet->view;
    NamesQuestion question;
    question.seen = {CurrentBook(), sheet->index, view.activeRow, view.activeColumn, {}, {}};
    question.define = [](const NameRequest& request, u16& fault) {
        const bool defined = DefineName(request, fault);
        if (fault) ShowMessage(Message(fault));
        return defined;
    };
    question.remove = [](i32 book, i32 name) { IgnoreFailure(DeleteName(book, name)); };
    if (!SelectionFormula(*sheet, question.formula)) return;
    AskNames(question);
    if (!HasCells(CurrentSheet())) return;
    ShowChangedCells();
    UpdateTitle();
}

}  // namespace tally
