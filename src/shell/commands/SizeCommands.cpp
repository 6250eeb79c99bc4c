// What the user does to the sizes of rows and columns.

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "editing/LineSizes.h"
#include "editing/Undo.h"
#include "formula/Coercion.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
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

bool ReadSize(WideView text, const SizeQuestion& question, double& size) {
    return TextToNumber(text, size) && size >= 0 && size <= question.limit;
}

// The size in stored units, which comes in as what is proposed.
bool AskSize(const SizeQuestion& row, i32& size) {
    LineQuestion question;
    question.title = row.title;
    question.label = row.label;
    question.context = &row;
    question.fault = [](WideView text, const void* context) {
        const auto& asked = *static_cast<const SizeQuestion*>(context);
        double read = 0;
        return ReadSize(text, asked, read) ? u16{0} : asked.message;
    };
    double wanted = 0;
    if (!NumberToText(size / static_cast<double>(row.scale), 5, question.text) || !AskLine(question) ||
        !ReadSize(question.text, row, wanted))
        return false;
    size = static_cast<i32>(wanted * row.scale + 0.5);
    return true;
}

// The stored size that the question begins with: that of the selection's first line.
i32 PresentSize(const Sheet& sheet, i32 command) {
    switch (command) {
        case 391: return GetRowHeight(sheet, sheet.view.selection.firstRow);
        case 395: return GetColumnWidth(sheet, sheet.view.selection.firstColumn);
        default: return DefaultColumnWidth(sheet);
    }
}

bool StoreSize(const Sheet& sheet, i32 command, i32 size) {
    if (command == 399) return SetStandardWidth(sheet.book, sheet.index, size);
    return ChangeLines({sheet.book, sheet.index, command == 395, sheet.view.selection, LINES_SIZE, size});
}

void FitArea(Sheet& sheet, bool columns, const RefArea& area) {
    if (columns) IgnoreFailure(RecordColumns(UNDO_COLUMN_WIDTH, sheet.book, sheet.index, area));
    else IgnoreFailure(RecordRows(UNDO_ROW_HEIGHT, sheet.book, sheet.index, area));
    if (columns) FitColumns(sheet, area);
    else FitRows(sheet, area, false);
    SizesChanged();
}

}  // namespace

void LineSizeCommand(i32 command) {
    for (const SizeQuestion& question : sizeQuestions) {
        if (question.command != command) continue;
        i32 size = PresentSize(*CurrentSheet(), command);
        if (!RepeatedArgument(command, size) && !AskSize(question, size)) return;
        const Sheet* sheet = FreeSheet();
        if (!sheet || !StoreSize(*sheet, command, size)) continue;
        NoteRepeatable(command, size);
        SizesChanged();
    }
}

void FitCommand(i32 command) {
    Sheet& sheet = *CurrentSheet();
    FitArea(sheet, command != 392, sheet.view.selection);
}

void HideLinesCommand(i32 command) {
    const Sheet* sheet = CurrentSheet();
    const bool columns = command >= 397, hide = command == 393 || command == 397;
    if (ChangeLines(
            {sheet->book, sheet->index, columns, sheet->view.selection, hide ? LINES_HIDE : LINES_SHOW}))
        SizesChanged();
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
    const i32 size = columns ? MulDiv(pixels, 256, std::max(1, layout.metrics.digitWidth))
                             : MulDiv(pixels, 1440, std::max(1, layout.metrics.dpiY));
    const i32 stored = pixels > 0 ? std::max(1, size) : 0;
    if (ChangeLines({sheet->book, sheet->index, columns, area, LINES_SIZE, stored})) SizesChanged();
}

void FitHeaderLines(bool columns, i32 line) {
    if (Sheet* sheet = FreeSheet()) FitArea(*sheet, columns, HeaderLines(columns, line));
}

}  // namespace tally
