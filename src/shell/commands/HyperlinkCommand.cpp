// Where a link of the selected cells leads to.

#include "editing/ViewOperations.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/ActiveCell.h"

namespace tally {

// The link of the active cell, or of the selection when it has none. One without a target and a place goes.
void HyperlinkCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    const i32 old = FindHyperlink(sheet->view.activeRow, sheet->view.activeColumn);
    const Hyperlink* link = old < 0 ? nullptr : &sheet->hyperlinks[static_cast<u32>(old)];
    const RefArea area = link ? link->area : sheet->view.selection;
    LinkChoice choice;
    if (link && (!choice.target.Assign(link->target) || !choice.location.Assign(link->location))) return;
    if (!AskHyperlink(choice) || !HasCells(CurrentSheet())) return;
    if (SetHyperlink({CurrentBook(), CurrentSheet()->index, area, choice.target, choice.location}))
        ShowChangedCells();
}

}  // namespace tally
