// How cells look: pages that are put together by what the question asks for.

#include "base/MessageTable.h"
#include "editing/AreaLook.h"
#include "shell/dialogs/CellFormatPages.h"
#include "shell/dialogs/Dialogs.h"

namespace tally {
namespace {

constexpr const CellFormatPage* pages[] = {&numberPage, &alignmentPage, &fontPage,
                                           &borderPage, &patternPage,   &protectionPage};

CellFormatSheet& SheetOf(const Dialog& dialog) { return *static_cast<CellFormatSheet*>(dialog.context); }

bool IsAsked(const CellFormatPage& page, const CellFormatSheet& sheet) {
    return (sheet.question.pages & page.bit) != 0;
}

const CellFormatPage* PageOf(i32 control) {
    for (const CellFormatPage* page : pages)
        for (const ControlRow& row : page->rows)
            if (row.id == control) return page;
    return nullptr;
}

bool Start(Dialog& dialog) {
    CellFormatSheet& sheet = SheetOf(dialog);
    for (const CellFormatPage* page : pages) {
        if (!IsAsked(*page, sheet)) continue;
        for (const PickerRow& picker : page->pickers)
            if (!FillPicker(dialog, picker, sheet.question.book)) return false;
        if (!page->start(dialog, sheet)) return false;
    }
    return true;
}

// Every painted control of a page shows what was chosen.
void RepaintPage(Dialog& dialog, const CellFormatPage& page) {
    for (const ControlRow& row : page.rows)
        if (row.kind == CONTROL_PAINTED) RepaintControl(dialog, row.id);
}

bool Accept(Dialog& dialog) {
    CellFormatSheet& sheet = SheetOf(dialog);
    i32 number = 0;
    for (const CellFormatPage* page : pages) {
        if (!IsAsked(*page, sheet)) continue;
        u16 fault = 0;
        i32 control = 0;
        if (page->accept && !page->accept(dialog, sheet, fault, control)) {
            if (fault) ShowMessage(Message(fault));
            SetControlChoice(dialog, CELL_FORMAT_PAGES, number);
            SelectControlText(dialog, control);
            return false;
        }
        ++number;
    }
    sheet.request.dialogOrder = true;
    sheet.question.request = sheet.request;
    return true;
}

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    if (event.kind == DIALOG_START) return Start(dialog);
    if (event.kind == DIALOG_ACCEPT) return Accept(dialog);
    CellFormatSheet& sheet = SheetOf(dialog);
    const CellFormatPage* page = PageOf(event.control);
    if (!page || HandlePicker(dialog, event, page->pickers, sheet.question.book)) return true;
    switch (event.kind) {
        case DIALOG_CHANGED:
        case DIALOG_PRESSED:
            page->changed(dialog, sheet, event.control);
            RepaintPage(dialog, *page);
            return true;
        case DIALOG_PAINT:
            if (page->paint) page->paint(sheet, event);
            return true;
        case DIALOG_MOUSE:
            if (page->mouse) page->mouse(dialog, sheet, event);
            RepaintPage(dialog, *page);
            return true;
        default: return true;
    }
}

bool AppendPage(Array<ControlRow>& rows, const CellFormatPage& page) {
    if (!rows.Append({.id = page.id, .kind = CONTROL_PAGE, .text = page.title, .container = CELL_FORMAT_PAGES}))
        return false;
    for (const ControlRow& row : page.rows)
        if (!rows.Append(row)) return false;
    return true;
}

}  // namespace

FormatRequest ShownLook(const CellFormatSheet& sheet) {
    FormatRequest look = sheet.question.look;
    TakeFields(look, sheet.request);
    return look;
}

bool AddMessages(Dialog& dialog, i32 id, u16 first, i32 count) {
    for (i32 i = 0; i < count; ++i)
        if (!AddControlItem(dialog, id, Message(static_cast<u16>(first + i)))) return false;
    return true;
}

bool AskCellFormat(CellFormatQuestion& question) {
    CellFormatSheet sheet{question, {}};
    Array<ControlRow> rows;
    if (!rows.Append({.id = CELL_FORMAT_PAGES, .kind = CONTROL_PAGES, .cell = {0, 0}})) return false;
    for (const CellFormatPage* page : pages)
        if (IsAsked(*page, sheet) && !AppendPage(rows, *page)) return false;
    const DialogTable table = {
        .title = MSG_CELL_FORMAT_TITLE, .rows = {rows.Data(), rows.Count()}, .procedure = Procedure};
    return rows.Count() > 1 && RunDialog(table, &sheet);
}

}  // namespace tally
