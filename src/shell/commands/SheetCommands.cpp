// A sheet's name, whether it is seen, its protection and its scale.

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "editing/SheetOperations.h"
#include "editing/Undo.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "platform/Forms.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

void SheetChanged() {
    CurrentWorkbook()->dirty = 1;
    RefreshChrome();
}

// The message that refuses a name for the current sheet; 0 when it is good.
u16 NameFault(WideView name) {
    if (name.empty() || name.size() > static_cast<std::size_t>(MAX_SHEET_NAME)) return MSG_NAME_LENGTH;
    if (name.find_first_of(u"\\/?*[]:") != WideView::npos) return MSG_NAME_CHARACTERS;
    const i32 other = FindSheet(CurrentBook(), name);
    return other >= 0 && other != CurrentWorkbook()->currentSheet ? u16{MSG_NAME_NOT_UNIQUE} : u16{0};
}

bool AcceptName(Form& form) {
    const u16 fault = NameFault(form.fields[0].text);
    if (fault) ShowMessage(Message(fault));
    return !fault;
}

bool ReadZoom(const Form& form, i32& zoom) {
    double number = 0;
    if (!TextToNumber(form.fields[0].text, number) || number < 10 || number > 400) return false;
    zoom = static_cast<i32>(number);
    return true;
}

bool AcceptZoom(Form& form) {
    i32 zoom = 0;
    if (ReadZoom(form, zoom)) return true;
    ShowMessage(Message(MSG_ZOOM_LIMIT));
    return false;
}

bool AskPassword(WideView title, WideText& password) {
    Form form;
    if (!form.title.Assign(title) || !AddSecret(form, Message(MSG_PASSWORD_LABEL)) || !ShowForm(form))
        return false;
    return password.Assign(form.fields[0].text);
}

// The published verifier of 16 bits over the password's narrow characters; 0 without a password.
bool PasswordHash(WideView password, u16& hash) {
    Array<u8> bytes;
    hash = 0;
    if (password.empty()) return true;
    const Workbook* book = CurrentWorkbook();
    if (!Platform().wideCharToMultiByte(book->codePage, password, bytes) &&
        !Platform().wideCharToMultiByte(Platform().getACP(), password, bytes))
        return false;
    const auto turn = [](u32 h) { return (h >> 14 & 1) | (h << 1 & 0x7FFF); };
    u32 h = 0;
    for (u32 i = bytes.Count(); i-- > 0;) h = turn(h) ^ bytes[i];
    hash = static_cast<u16>(turn(h) ^ bytes.Count() ^ 0xCE4B);
    return true;
}

}  // namespace

void RenameSheetCommand(i32) {
    Sheet* sheet = CurrentSheet();
    if (!sheet || IsEditing()) return;
    Form form;
    form.accept = AcceptName;
    if (!form.title.Assign(Message(MSG_RENAME_SHEET_TITLE)) ||
        !AddEdit(form, Message(MSG_RENAME_SHEET_NAME), WideView(sheet->name)) || !ShowForm(form))
        return;
    sheet = CurrentSheet();
    const WideView name = form.fields[0].text;
    if (!sheet || NameFault(name)) return;
    RecordView(UNDO_RENAME_SHEET);
    if (!RenameSheet(*sheet, name)) return;
    SheetChanged();
    ScrollTabs();
}

void UnhideSheetCommand(i32) {
    const Workbook* book = CurrentWorkbook();
    if (!book || IsEditing()) return;
    Form form;
    Array<i32> hidden;
    if (!form.title.Assign(Message(MSG_UNHIDE_SHEET_TITLE)) ||
        !AddChoice(form, FIELD_LIST, Message(MSG_UNHIDE_SHEET_LIST), {}, 0))
        return;
    for (const Sheet* sheet : book->sheets) {
        if (!sheet->hidden || sheet->kind == SHEET_MODULE) continue;
        if (!hidden.Append(sheet->index) || !AddItem(form, WideView(sheet->name))) return;
    }
    if (hidden.IsEmpty() || !ShowForm(form)) return;
    const i32 choice = form.fields[0].choice;
    if (choice < 0 || static_cast<u32>(choice) >= hidden.Count()) return;
    Sheet* sheet = SheetAt(CurrentBook(), hidden[static_cast<u32>(choice)]);
    if (!sheet) return;
    IgnoreFailure(RecordUndo(CurrentBook(), sheet->index, UNDO_SHOW_SHEET));
    sheet->hidden = 0;
    CurrentWorkbook()->dirty = 1;
    SelectSheet(sheet->index);
}

void CustomZoomCommand(i32) {
    if (!HasCells(CurrentSheet())) return;
    Form form;
    WideText number;
    i32 zoom = 0;
    form.accept = AcceptZoom;
    if (!AppendInteger(number, CurrentSheet()->zoomPercent) || !form.title.Assign(Message(MSG_ZOOM_TITLE)) ||
        !AddEdit(form, Message(MSG_ZOOM_LABEL), number) || !ShowForm(form) || !ReadZoom(form, zoom))
        return;
    if (!HasCells(CurrentSheet())) return;
    RecordView(UNDO_ZOOM);
    CurrentSheet()->zoomPercent = zoom;
    SheetChanged();
}

void ProtectCommand(i32) {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return;
    const bool isProtected = (sheet->viewFlags & VIEW_PROTECTED) != 0;
    const WideView title = Message(isProtected ? MSG_UNPROTECT_TITLE : MSG_PROTECT_TITLE);
    WideText password;
    u16 hash = 0;
    const bool asks = !isProtected || sheet->passwordHash;
    if (asks && (!AskPassword(title, password) || !PasswordHash(password, hash))) return;
    sheet = CurrentSheet();
    if (!HasCells(sheet)) return;
    if (isProtected && sheet->passwordHash && hash != sheet->passwordHash) {
        ShowMessage(Message(MSG_WRONG_PASSWORD));
        return;
    }
    RecordView(UNDO_PROTECT);
    sheet->viewFlags = static_cast<u16>(sheet->viewFlags ^ VIEW_PROTECTED);
    sheet->passwordHash = isProtected ? u16{0} : hash;
    SheetChanged();
    RefreshEntryLine();
}

}  // namespace tally
