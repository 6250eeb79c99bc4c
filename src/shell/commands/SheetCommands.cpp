// A sheet's name, whether it is seen, its protection and its scale.

#include "base/MessageTable.h"
#include "base/Number.h"
#include "editing/SheetOperations.h"
#include "editing/ViewOperations.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

bool ReadZoom(WideView text, i32& zoom) {
    double number = 0;
    if (!TextToNumber(text, number) || number < MIN_ZOOM || number > MAX_ZOOM) return false;
    zoom = static_cast<i32>(number);
    return true;
}

bool AskZoom(i32& zoom) {
    LineQuestion question;
    question.title = MSG_ZOOM_TITLE;
    question.label = MSG_ZOOM_LABEL;
    question.fault = [](WideView text, const void*) {
        i32 read = 0;
        return ReadZoom(text, read) ? u16{0} : u16{MSG_ZOOM_LIMIT};
    };
    return AppendInteger(question.text, zoom) && AskLine(question) && ReadZoom(question.text, zoom);
}

bool AskSheetName(WideText& name) {
    LineQuestion question;
    question.title = MSG_RENAME_SHEET_TITLE;
    question.label = MSG_RENAME_SHEET_NAME;
    question.fault = [](WideView text, const void*) {
        return SheetNameFault(CurrentBook(), CurrentWorkbook()->currentSheet, text);
    };
    question.text = std::move(name);
    const bool asked = AskLine(question);
    name = std::move(question.text);
    return asked;
}

bool AskPassword(u16 title, WideText& password) {
    LineQuestion question;
    question.title = title;
    question.label = MSG_PASSWORD_LABEL;
    question.secret = true;
    const bool asked = AskLine(question);
    password = std::move(question.text);
    return asked;
}

}  // namespace

void RenameSheetCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    WideText name;
    if (!sheet || !name.Assign(WideView(sheet->name)) || !AskSheetName(name)) return;
    if (!CurrentSheet() || !NameSheet(CurrentBook(), CurrentWorkbook()->currentSheet, name)) return;
    RefreshChrome();
    ScrollTabs();
}

void HideSheetCommand(i32) {
    if (!HideSheet(CurrentBook(), CurrentWorkbook()->currentSheet)) return;
    SelectSheet(CurrentWorkbook()->currentSheet);
}

void UnhideSheetCommand(i32) {
    const i32 sheet = AskHiddenSheet(CurrentBook());
    if (sheet >= 0 && CurrentWorkbook() && ShowSheet(CurrentBook(), sheet)) SelectSheet(sheet);
}

void CustomZoomCommand(i32) {
    i32 zoom = CurrentSheet()->zoomPercent;
    if (!AskZoom(zoom) || !HasCells(CurrentSheet())) return;
    if (SetZoom(CurrentBook(), CurrentSheet()->index, zoom)) RefreshChrome();
}

void ProtectCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    const bool isProtected = (sheet->viewFlags & VIEW_PROTECTED) != 0;
    WideText password;
    const bool asks = !isProtected || sheet->passwordHash;
    if (asks && !AskPassword(isProtected ? MSG_UNPROTECT_TITLE : MSG_PROTECT_TITLE, password)) return;
    if (!HasCells(CurrentSheet())) return;
    if (!ProtectSheet({CurrentBook(), CurrentSheet()->index, !isProtected, password}))
        return ShowMessage(Message(MSG_WRONG_PASSWORD));
    RefreshChrome();
    RefreshEntryLine();
}

void TabColourCommand(i32) {
    const Sheet* sheet = CurrentSheet();
    if (!sheet || IsEditing()) return;
    u8 colour = sheet->tabColour;
    if (!AskTabColour(CurrentBook(), colour) || !CurrentSheet()) return;
    if (SetTabColour(CurrentBook(), CurrentSheet()->index, colour))
        ShellPlatform().invalidate(Shell().layout.tabs);
}

}  // namespace tally
