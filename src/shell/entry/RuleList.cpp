#include "shell/entry/RuleList.h"

#include "editing/StoreEntry.h"
#include "editing/Undo.h"
#include "editing/Validation.h"
#include "model/BookTable.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/ActiveCell.h"

namespace tally {
namespace {

void StoreItem(WideView text) {
    const Sheet* sheet = CurrentSheet();
    EntryTarget target;
    target.book = CurrentBook();
    target.sheet = sheet->index;
    target.refRow = sheet->view.activeRow;
    target.refColumn = sheet->view.activeColumn;
    const RefArea active = ActiveArea(*sheet);
    target.area = {active.firstRow, active.firstRow, active.firstColumn, active.firstColumn};
    target.undoKind = UNDO_DATA_FORM;
    target.checkRules = true;
    if (RefuseProtected(target.area) || RefuseArrayPart(target.area)) return;
    i32 outcome = ENTRY_STORED;
    IgnoreFailure(StoreEntry(target, text, outcome));
    ShowChangedCells();
}

}  // namespace

bool PressListArrow(i32 x, i32 y) {
    if (!RectHolds(ListArrowPlace(), x, y)) return false;
    const Sheet* sheet = CurrentSheet();
    const RefArea active = ActiveArea(*sheet);
    const PixelRect cell = AreaPixels(active);
    Array<WideText> texts;
    Array<MenuItem> items;
    if (!RuleListItems(CurrentBook(), sheet->index, active.firstRow, active.firstColumn, texts)) return true;
    for (u32 i = 0; i < texts.Count(); ++i) {
        WideText label;
        if (!AppendPlainLabel(label, texts[i]) ||
            !AddMenuItem(items, static_cast<i32>(i) + 1, label, true, false))
            return true;
    }
    if (items.IsEmpty()) return true;
    const i32 chosen = ShellPlatform().trackPopup(items, cell.left, cell.bottom);
    if (chosen > 0 && static_cast<u32>(chosen) <= texts.Count() && HasCells(CurrentSheet()))
        StoreItem(texts[static_cast<u32>(chosen) - 1]);
    return true;
}

}  // namespace tally
