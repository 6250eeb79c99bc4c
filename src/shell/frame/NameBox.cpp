#include "shell/frame/NameBox.h"

#include "base/MessageTable.h"
#include "base/Text.h"
#include "editing/NameOperations.h"
#include "formula/FormulaText.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/commands/Places.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

constexpr i32 DEFINE_NAME = 168;
constexpr u32 MAX_LISTED = 500;

WideView WithoutBlanks(WideView text) {
    while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
    return text;
}

void Close() {
    LeaveNameBox();
    ShellPlatform().focusFrame();
}

void SelectAll() {
    WideText text;
    if (ShellPlatform().editText(NAME_BOX, text))
        ShellPlatform().selectEdit(NAME_BOX, 0, static_cast<i32>(text.Length()));
}

void KeepTyping(u16 fault) {
    ShowMessage(Message(fault));
    ShellPlatform().focusEdit(NAME_BOX);
    SelectAll();
}

// The selection under a new name.
void Define(WideView text) {
    const Sheet* sheet = CurrentSheet();
    NameRequest request;
    request.book = CurrentBook();
    request.sheet = sheet->index;
    request.row = sheet->view.activeRow;
    request.column = sheet->view.activeColumn;
    WideText formula;
    if (!SelectionFormula(*sheet, formula)) return Close();
    request.name = text;
    request.formula = formula;
    u16 fault = 0;
    const bool defined = DefineName(request, fault);
    if (fault) return KeepTyping(fault);
    Close();
    if (!defined) return;
    ShowChangedCells();
    UpdateTitle();
}

void Accept() {
    WideText typed;
    if (!HasCells(CurrentSheet()) || !ShellPlatform().editText(NAME_BOX, typed)) return Close();
    const WideView text = WithoutBlanks(typed);
    SheetArea place;
    if (text.empty()) return Close();
    if (FindPlace(text, place)) {
        Close();
        return GoToPlace(place);
    }
    // A name that stands for no place is not another one's to take.
    if (FindWrittenName(CurrentBook(), CurrentSheet()->index, text) >= 0)
        return KeepTyping(MSG_INVALID_LOCATION);
    if (CommandEnabled(DEFINE_NAME)) Define(text);
    else Close();
}

}  // namespace

void LeaveNameBox() {
    if (!Shell().naming) return;
    Shell().naming = false;
    RefreshNameBox();
}

bool NameBoxClick() {
    if (Shell().naming) return true;
    if (!HasCells(CurrentSheet()) || !CommitBeforeMove()) return false;
    Shell().naming = true;
    // All of it is selected, for a new text to take its place.
    ShellPlatform().focusEdit(NAME_BOX);
    SelectAll();
    return false;
}

bool NameBoxKey(u32 key, u32 modifiers) {
    if (!Shell().naming) return false;
    if (key == VK_ESCAPE) Close();
    else if (key == VK_RETURN) Accept();
    else if (key == VK_TAB) Close();
    else return (key == VK_UP || key == VK_DOWN) && !modifiers;
    return true;
}

bool NameBoxCommand(i32 command) {
    if (!Shell().naming) return false;
    // Undo, cut, copy and paste.
    if (command >= 130 && command <= 133) {
        ShellPlatform().editAction(NAME_BOX, static_cast<EditAction>(command - 130));
        return true;
    }
    Close();
    return false;
}

bool PressNameArrow(i32 x, i32 y) {
    if (!RectHolds(Shell().layout.nameArrow, x, y)) return false;
    const Workbook* book = CurrentWorkbook();
    Array<MenuItem> items;
    for (u32 i = 0; book && i < book->names.Count() && items.Count() < MAX_LISTED; ++i) {
        WideText text, label;
        if (!IsListedName(book->names[i])) continue;
        if (!NameLabel(CurrentBook(), static_cast<i32>(i), text) || !AppendPlainLabel(label, text) ||
            !AddMenuItem(items, static_cast<i32>(i) + 1, label, true, false))
            return true;
    }
    if (items.IsEmpty() || !CommitBeforeMove()) return true;
    const PixelRect& box = Shell().layout.nameBox;
    const i32 chosen = ShellPlatform().trackPopup(items, box.left, box.bottom);
    WideText text;
    SheetArea place;
    if (chosen <= 0 || !CurrentWorkbook() || !NameLabel(CurrentBook(), chosen - 1, text)) return true;
    if (FindPlace(text, place)) GoToPlace(place);
    else ShowMessage(Message(MSG_INVALID_LOCATION));
    return true;
}

}  // namespace tally
