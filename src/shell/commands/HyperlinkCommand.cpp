// Where a link of the selected cells leads to.

#include <utility>

#include "base/MessageTable.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "platform/Forms.h"
#include "shell/commands/Commands.h"
#include "shell/commands/Places.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/ActiveCell.h"

namespace tally {
namespace {

enum LinkField : u32 { LINK_TARGET, LINK_LOCATION };

bool FillForm(Form& form, const Hyperlink* link) {
    return form.title.Assign(Message(MSG_HYPERLINK_TITLE)) &&
           AddEdit(form, Message(MSG_HYPERLINK_TARGET), link ? link->target.View() : WideView()) &&
           AddEdit(form, Message(MSG_HYPERLINK_LOCATION), link ? link->location.View() : WideView());
}

}  // namespace

// The link of the active cell, or of the selection when it has none. One without a target and a place goes.
void HyperlinkCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing() || (sheet->viewFlags & VIEW_PROTECTED)) return;
    const i32 old = FindHyperlink(sheet->view.activeRow, sheet->view.activeColumn);
    const Hyperlink* link = old < 0 ? nullptr : &sheet->hyperlinks[static_cast<u32>(old)];
    Form form;
    if (!FillForm(form, link) || !ShowForm(form) || !HasCells(CurrentSheet())) return;
    Sheet& target = *CurrentSheet();
    const RefArea area = old < 0 ? target.view.selection : target.hyperlinks[static_cast<u32>(old)].area;
    Hyperlink fresh;
    fresh.area = area;
    fresh.target = std::move(form.fields[LINK_TARGET].text);
    fresh.location = std::move(form.fields[LINK_LOCATION].text);
    if (!target.hyperlinks.Reserve(std::size_t{target.hyperlinks.Count()} + 1)) return;
    IgnoreFailure(RecordBlock(UNDO_HYPERLINK, target.book, target.index, area, BLOCK_HYPERLINKS));
    for (u32 i = target.hyperlinks.Count(); i-- > 0;)
        if (AreaHoldsArea(area, target.hyperlinks[i].area)) target.hyperlinks.RemoveAt(i);
    if (!fresh.target.IsEmpty() || !fresh.location.IsEmpty())
        IgnoreFailure(target.hyperlinks.Append(std::move(fresh)));
    CurrentWorkbook()->dirty = 1;
    ShowChangedCells();
}

}  // namespace tally
