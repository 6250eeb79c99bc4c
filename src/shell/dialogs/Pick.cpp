// References that are picked on the grid for the reference edit of an open dialog.

#include <algorithm>

#include "formula/FormulaText.h"
#include "model/BookTable.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

const Control* PickedControl() {
    const Dialog* dialog = Shell().pickInto;
    const Control* control = dialog ? FindControl(*dialog, dialog->focus) : nullptr;
    return control && control->row.kind == CONTROL_REFERENCE && IsControlReachable(*dialog, *control) ? control
                                                                                                      : nullptr;
}

// The area as the dialog's own sheet names it.
void WritePicked(const Control& control) {
    const PointState& point = Shell().point;
    Dialog& dialog = *Shell().pickInto;
    WideText text;
    u16 flags = AREA_USE_A1;
    if (control.row.flags & CONTROL_RELATIVE) flags |= AREA_ALL_RELATIVE;
    if (CurrentBook() != Shell().pickBook || CurrentWorkbook()->currentSheet != Shell().pickSheet)
        flags |= AREA_WITH_SHEET;
    if (CurrentBook() != Shell().pickBook) flags |= AREA_WITH_BOOK;
    if (!AreaToText(CurrentBook(), CurrentWorkbook()->currentSheet, point.area, flags, 0, 0, text)) return;
    UserEdits(dialog, control.row.id, text);
    if (Control* shown = FindControl(dialog, control.row.id)) {
        shown->stale = true;
        shown->selectStart = shown->selectEnd = static_cast<i32>(shown->text.Length());
    }
    ShellPlatform().syncDialog(dialog);
}

void PickTo(i32 row, i32 column) {
    const Control* control = PickedControl();
    PointState& point = Shell().point;
    const RefArea old = point.area;
    RefArea area{static_cast<u16>(std::min(row, point.anchorRow)),
                 static_cast<u16>(std::max(row, point.anchorRow)),
                 static_cast<u8>(std::min(column, point.anchorColumn)),
                 static_cast<u8>(std::max(column, point.anchorColumn))};
    if (point.wholeColumns) area.firstRow = 0, area.lastRow = MAX_ROWS - 1;
    if (point.wholeRows) area.firstColumn = 0, area.lastColumn = MAX_COLUMNS - 1;
    WidenOverMerges(*CurrentSheet(), area);
    if (!control || (point.active && old == area)) return;
    point.area = area;
    if (point.active) InvalidateArea(old);
    point.active = true;
    InvalidateArea(area);
    WritePicked(*control);
}

void PickDown(const ShellMessage& message) {
    const Layout& layout = Shell().layout;
    if (RectHolds(layout.tabs, message.x, message.y)) {
        Array<SheetTab> tabs;
        if (!ShownTabs(tabs)) return;
        for (const SheetTab& tab : tabs)
            if (message.x >= tab.left && message.x < tab.right) return SelectSheet(tab.sheet);
        return;
    }
    if (!HasCells(CurrentSheet()) || !RectHolds(layout.grid, message.x, message.y)) return;
    PointState& point = Shell().point;
    const bool extend = (message.modifiers & KEY_SHIFT) && point.active;
    const i32 row = LineAtPixel(layout.rows, message.y), column = LineAtPixel(layout.columns, message.x);
    if (!extend) {
        point.anchorRow = row;
        point.anchorColumn = column;
        point.wholeColumns = message.y < layout.cells.top;
        point.wholeRows = message.x < layout.cells.left;
    }
    Shell().gesture = GESTURE_PICK;
    ShellPlatform().setCapture(true);
    PickTo(row, column);
}

void PickUp() {
    if (Shell().gesture != GESTURE_PICK) return;
    Shell().gesture = GESTURE_NONE;
    ShellPlatform().setCapture(false);
}

}  // namespace

void DialogFocused(Dialog& dialog) {
    const bool had = Shell().pickInto != nullptr;
    // A gesture that a dialog ends in the midst of ends, too.
    if (Shell().gesture == GESTURE_PICK) PickUp();
    Shell().pickInto = &dialog;
    if (!PickedControl()) Shell().pickInto = nullptr;
    if (!had && Shell().pickInto && CurrentWorkbook()) {
        Shell().pickBook = CurrentBook();
        Shell().pickSheet = CurrentWorkbook()->currentSheet;
    }
    // The marks of what was picked go with the focus.
    if (std::exchange(Shell().point.active, false)) InvalidateArea(Shell().point.area);
}

bool TakenByDialog(const ShellMessage& message) {
    if (!Shell().modal && !Shell().pickInto) return false;
    const bool picks = PickedControl() != nullptr;
    switch (message.message) {
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            if (picks) PickDown(message);
            return picks || Shell().modal;
        case WM_MOUSEMOVE:
            if (Shell().gesture == GESTURE_PICK && HasCells(CurrentSheet()))
                PickTo(LineAtPixel(Shell().layout.rows, message.y),
                       LineAtPixel(Shell().layout.columns, message.x));
            return picks || Shell().modal;
        case WM_LBUTTONUP: PickUp(); return picks || Shell().modal;
        case WM_MOUSEWHEEL:
        case WM_HSCROLL:
        case WM_VSCROLL: return !picks && Shell().modal;
        case WM_PAINT:
        case WM_SIZE:
        case WM_DPICHANGED:
        case WM_TIMER: return false;
        default: return Shell().modal != nullptr;
    }
}

}  // namespace tally
