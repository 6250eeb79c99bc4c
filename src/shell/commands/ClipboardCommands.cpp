// Cut, copy and paste of cells, and what other programs copy.

#include "base/MessageTable.h"
#include "editing/Clipboard.h"
#include "editing/PasteText.h"
#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// Forms of text, the preferred one first.
struct TextFormat {
    u32 format;
    u16 name;
};
constexpr TextFormat textFormats[] = {{CF_UNICODETEXT, MSG_PASTE_AS_UNICODE}, {CF_TEXT, MSG_PASTE_AS_TEXT}};

// The sheet whose cells the commands mean; null while something is typed or an object is selected.
Sheet* GridSheet() {
    Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing()) return nullptr;
    return sheet->selectedObject < 0 || sheet->kind == SHEET_MACRO ? sheet : nullptr;
}

// The block's text and the marker go to the clipboard. What cannot be put there stays away; the block stays.
void PutOnClipboard() {
    WideText text;
    Array<u8> narrow;
    const bool rendered =
        ClipboardBlockText(text) && Platform().wideCharToMultiByte(Platform().getACP(), text, narrow);
    const WideView view = text;
    IgnoreFailure(PutClipboardText(rendered ? &view : nullptr, narrow.Span()));
}

// The block that is held, unless another program has copied something since: then it is dropped.
bool HasLiveBlock() {
    if (!Clipboard().blockExists) return false;
    if (ShellPlatform().clipboardHas(CF_PRIVATE)) return true;
    DropClipboardBlock();
    return false;
}

bool ReadClipboard(u32 format, u16 codePage, WideText& text) {
    if (format == CF_UNICODETEXT) return ReadClipboardText(text);
    Array<u8> bytes;
    if (!ShellPlatform().readClipboard(CF_TEXT, bytes)) return false;
    if (Platform().multiByteToWideChar(codePage, bytes.Span(), text)) return true;
    text.Truncate(0);
    return Platform().multiByteToWideChar(Platform().getACP(), bytes.Span(), text);
}

PasteRequest RequestFor(const Sheet& sheet) {
    PasteRequest request;
    request.book = sheet.book;
    request.sheet = sheet.index;
    request.area = sheet.view.selection;
    return request;
}

// After cells, sizes and the selection may have changed.
void ShowPasted() {
    UpdateTitle();
    ShowChangedCells();
    RefreshChrome();
}

void PasteFormat(u32 format) {
    Sheet* sheet = GridSheet();
    WideText text;
    if (!sheet || !ReadClipboard(format, CurrentWorkbook()->codePage, text)) return;
    if (PasteText(RequestFor(*sheet), text)) ShowPasted();
}

// ---- asked how --------------------------------------------------------------------------------------------

void PasteBlockSpecially() {
    PasteRequest choice;
    if (!AskPasteSpecial(choice)) return;
    const Sheet* sheet = GridSheet();
    if (!sheet || !HasLiveBlock()) return;
    const PasteRequest place = RequestFor(*sheet);
    choice.book = place.book;
    choice.sheet = place.sheet;
    choice.area = place.area;
    if (PasteBlock(choice)) ShowPasted();
}

void PasteTextSpecially() {
    WideView names[std::size(textFormats)];
    u32 offered[std::size(textFormats)] = {};
    u32 count = 0;
    for (const TextFormat& row : textFormats) {
        if (!ShellPlatform().clipboardHas(row.format)) continue;
        names[count] = Message(row.name);
        offered[count++] = row.format;
    }
    ItemQuestion question = {MSG_PASTE_TITLE, MSG_PASTE_AS, std::span(names).first(count)};
    if (count && AskItem(question)) PasteFormat(offered[question.choice]);
}

}  // namespace

bool CanPaste() {
    if (Clipboard().blockExists && ShellPlatform().clipboardHas(CF_PRIVATE)) return true;
    for (const TextFormat& row : textFormats)
        if (ShellPlatform().clipboardHas(row.format)) return true;
    return false;
}

void CopySelection() {
    const Sheet* sheet = GridSheet();
    if (sheet && CopyCells(sheet->book, sheet->index, sheet->view.selection)) PutOnClipboard();
}

void CutSelection() {
    const Sheet* sheet = GridSheet();
    if (!sheet || !CutCells(sheet->book, sheet->index, sheet->view.selection)) return;
    PutOnClipboard();
    ShowPasted();
}

void PasteClipboard() {
    const Sheet* sheet = GridSheet();
    if (!sheet) return;
    if (HasLiveBlock()) {
        PasteRequest request = RequestFor(*sheet);
        request.mode = PlainPasteMode();
        if (PasteBlock(request)) ShowPasted();
        return;
    }
    for (const TextFormat& row : textFormats)
        if (ShellPlatform().clipboardHas(row.format)) return PasteFormat(row.format);
}

void PasteSpecialDialog() {
    if (!GridSheet()) return;
    if (HasLiveBlock()) PasteBlockSpecially();
    else PasteTextSpecially();
}

void ClipboardCommand(i32 command) {
    if (IsEditing()) {
        if (command != 134) EditLineCommand(command);
        return;
    }
    constexpr void (*actions[])() = {CutSelection, CopySelection, PasteClipboard, PasteSpecialDialog};
    actions[command - 131]();
}

}  // namespace tally
