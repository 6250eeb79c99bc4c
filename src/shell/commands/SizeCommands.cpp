// What the user does to the sizes of rows and columns.

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "editing/LineSizes.h"
#include "editing/Undo.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/Forms.h"
#include "shell/commands/Commands.h"
#include "shell/grid/Layout.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// A sheet whose sizes may be changed, or null.
Sheet* FreeSheet() {
    Sheet* sheet = CurrentSheet();
    return HasCells(sheet) && !IsEditing() && !(sheet->viewFlags & VIEW_PROTECTED) ? sheet : nullptr;
}

void SizesChanged() {
    CurrentWorkbook()->dirty = 1;
    RefreshView();
}

// ---- sizes by number ------------------------------------------------------------------------------------

// What one of the dialogs asks for.
struct SizeQuestion {
    i32 command;
    u16 title, label;
    double limit;  // greatest number
    i32 scale;     // stored units to one
    u16 message;
};
constexpr SizeQuestion sizeQuestions[] = {
    {391, MSG_ROW_HEIGHT_TITLE, MSG_ROW_HEIGHT_LABEL, 409, 20, MSG_ROW_HEIGHT_LIMIT},
    {395, MSG_COLUMN_WIDTH_TITLE, MSG_COLUMN_WIDTH_LABEL, 255, 256, MSG_COLUMN_WIDTH_LIMIT},
    {399, MSG_STANDARD_WIDTH_TITLE, MSG_STANDARD_WIDTH_LABEL, 255, 256, MSG_COLUMN_WIDTH_LIMIT},
};

bool ReadSize(const Form& form, double& size) {
    const auto* question = static_cast<const SizeQuestion*>(form.context);
    return TextToNumber(form.fields[0].text, size) && size >= 0 && size <= question->limit;
}

bool AcceptSize(Form& form) {
    double size = 0;
    if (ReadSize(form, size)) return true;
    ShowMessage(Message(static_cast<const SizeQuestion*>(form.context)->message));
    return false;
}

// The stored size that the question begins with: that of the selection's first line.
i32 PresentSize(const Sheet& sheet, i32 command) {
    switch (command) {
        case 391: return GetRowHeight(sheet, sheet.view.selection.firstRow);
        case 395: return GetColumnWidth(sheet, sheet.view.selection.firstColumn);
        default: return DefaultColumnWidth(sheet);
    }
}

// The sizes of an area's rows or columns as they are, for undo.
void RecordSizes(bool columns, i32 kind, const RefArea& area) {
    const i32 sheet = CurrentWorkbook()->currentSheet;
    if (columns) IgnoreFailure(RecordColumns(kind, CurrentBook(), sheet, area));
    else IgnoreFailure(RecordRows(kind, CurrentBook(), sheet, area));
}

bool StoreSize(Sheet& sheet, i32 command, i32 size) {
    const RefArea area = sheet.view.selection;
    if (command == 399) RecordView(UNDO_STANDARD_WIDTH);
    else RecordSizes(command == 395, command == 395 ? UNDO_COLUMN_WIDTH : UNDO_ROW_HEIGHT, area);
    if (command == 391) return SetRowHeights(sheet, area, size);
    if (command == 395) return SetColumnWidths(sheet, area, size);
    sheet.defaultColumnWidth = static_cast<u16>(size);
    sheet.viewFlags = static_cast<u16>(sheet.viewFlags & ~VIEW_STANDARD_WIDTH);
    return true;
}

}  // namespace

void LineSizeCommand(i32 command) {
    if (!FreeSheet()) return;
    for (const SizeQuestion& question : sizeQuestions) {
        if (question.command != command) continue;
        Form form;
        WideText number;
        form.context = const_cast<SizeQuestion*>(&question);
        form.accept = AcceptSize;
        const double size = PresentSize(*FreeSheet(), command) / static_cast<double>(question.scale);
        double wanted = 0;
        if (!NumberToText(size, 5, number) || !form.title.Assign(Message(question.title)) ||
            !AddEdit(form, Message(question.label), number) || !ShowForm(form) || !ReadSize(form, wanted))
            return;
        Sheet* sheet = FreeSheet();
        if (sheet && StoreSize(*sheet, command, static_cast<i32>(wanted * question.scale + 0.5)))
            SizesChanged();
    }
}

void FitCommand(i32 command) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = sheet->view.selection;
    RecordSizes(command != 392, command != 392 ? UNDO_COLUMN_WIDTH : UNDO_ROW_HEIGHT, area);
    if (command == 392) FitRows(*sheet, area, false);
    else FitColumns(*sheet, area);
    SizesChanged();
}

void HideLinesCommand(i32 command) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = sheet->view.selection;
    const bool rows = command == 393 || command == 394, hide = command == 393 || command == 397;
    if (rows) RecordSizes(false, hide ? UNDO_HIDE_ROWS : UNDO_SHOW_ROWS, area);
    else RecordSizes(true, hide ? UNDO_HIDE_COLUMNS : UNDO_SHOW_COLUMNS, area);
    if (rows ? HideRows(*sheet, area, hide) : HideColumns(*sheet, area, hide)) SizesChanged();
}

RefArea HeaderLines(bool columns, i32 line) {
    const RefArea& selection = CurrentSheet()->view.selection;
    if (columns) {
        const bool whole = selection.firstRow == 0 && selection.lastRow == MAX_ROWS - 1;
        if (whole && line >= selection.firstColumn && line <= selection.lastColumn) return selection;
        return {0, MAX_ROWS - 1, static_cast<u8>(line), static_cast<u8>(line)};
    }
    const bool whole = selection.firstColumn == 0 && selection.lastColumn == MAX_COLUMNS - 1;
    if (whole && line >= selection.firstRow && line <= selection.lastRow) return selection;
    return {static_cast<u16>(line), static_cast<u16>(line), 0, MAX_COLUMNS - 1};
}

void SizeHeaderLines(bool columns, i32 line, i32 pixels) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = HeaderLines(columns, line);
    const Layout& layout = Shell().layout;
    const i32 size = columns ? MulDiv(pixels, 256, std::max(1, layout.digitWidth))
                             : MulDiv(pixels, 1440, std::max(1, layout.dpiY));
    const i32 stored = pixels > 0 ? std::max(1, size) : 0;
    RecordSizes(columns, columns ? UNDO_COLUMN_WIDTH : UNDO_ROW_HEIGHT, area);
    if (columns ? SetColumnWidths(*sheet, area, stored) : SetRowHeights(*sheet, area, stored)) SizesChanged();
}

void FitHeaderLines(bool columns, i32 line) {
    Sheet* sheet = FreeSheet();
    if (!sheet) return;
    const RefArea area = HeaderLines(columns, line);
    RecordSizes(columns, columns ? UNDO_COLUMN_WIDTH : UNDO_ROW_HEIGHT, area);
    if (columns) FitColumns(*sheet, area);
    else FitRows(*sheet, area, false);
    SizesChanged();
}

}  // namespace tally
