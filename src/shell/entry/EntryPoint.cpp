// References that are written into the entry line with keys or the mouse.

#include <algorithm>

#include "display/LocaleSettings.h"
#include "formula/FormulaText.h"
#include "model/BookTable.h"
#include "shell/entry/EntryEditor.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

// Whether a reference may begin at the caret.
bool CanStart(i32& start, i32& end) {
    WideText text;
    if (!ShellPlatform().editText(ENTRY_LINE, text) || text.IsEmpty()) return false;
    if (WideView(u"=-+").find(text[0]) == WideView::npos) return false;
    ShellPlatform().editSelection(ENTRY_LINE, start, end);
    if (start <= 0 || start > static_cast<i32>(text.Length())) return false;
    const char16_t before = text[static_cast<u32>(start) - 1];
    return WideView(u"&*^:.=!><-(+/ ").find(before) != WideView::npos || before == Locale().listSeparator;
}

bool StartPoint() {
    const Sheet* sheet = CurrentSheet();
    PointState& point = Shell().point;
    if (point.active) return true;
    if (!HasCells(sheet) || !CanStart(point.start, point.end)) return false;
    point.active = true;
    point.row = point.anchorRow = sheet->view.activeRow;
    point.column = point.anchorColumn = sheet->view.activeColumn;
    point.wholeRows = point.wholeColumns = false;
    return true;
}

// Writes the area over the span and leaves the caret behind it.
void ReplacePointText() {
    PointState& point = Shell().point;
    WideText text;
    if (!AreaToText(CurrentBook(), CurrentWorkbook()->currentSheet, point.area, AREA_ALL_RELATIVE | AREA_USE_A1,
                    0, 0, text))
        return;
    ShellPlatform().selectEdit(ENTRY_LINE, point.start, point.end);
    ShellPlatform().replaceEditSelection(ENTRY_LINE, text);
    point.end = point.start + static_cast<i32>(text.Length());
    ShellPlatform().selectEdit(ENTRY_LINE, point.end, point.end);
}

void PointTo(i32 row, i32 column, bool extend) {
    PointState& point = Shell().point;
    const RefArea old = point.area;
    point.row = row;
    point.column = column;
    if (!extend) {
        point.anchorRow = row;
        point.anchorColumn = column;
    }
    point.area = {static_cast<u16>(std::min(row, point.anchorRow)),
                  static_cast<u16>(std::max(row, point.anchorRow)),
                  static_cast<u8>(std::min(column, point.anchorColumn)),
                  static_cast<u8>(std::max(column, point.anchorColumn))};
    if (point.wholeRows) point.area.firstColumn = 0, point.area.lastColumn = MAX_COLUMNS - 1;
    if (point.wholeColumns) point.area.firstRow = 0, point.area.lastRow = MAX_ROWS - 1;
    WidenOverMerges(*CurrentSheet(), point.area);
    InvalidateArea(old);
    ReplacePointText();
    ScrollIntoView(row, column, !point.wholeColumns, !point.wholeRows);
    InvalidateArea(point.area);
}

}  // namespace

void EndPoint() {
    PointState& point = Shell().point;
    if (!point.active) return;
    point.active = false;
    InvalidateArea(point.area);
    if (Shell().gesture == GESTURE_POINT) Shell().gesture = GESTURE_NONE;
}

bool PointKey(u32 key, u32 modifiers) {
    const bool shift = (modifiers & KEY_SHIFT) != 0, ctrl = (modifiers & KEY_CTRL) != 0;
    PointState& point = Shell().point;
    if (key == VK_SPACE) {
        if ((!shift && !ctrl) || !StartPoint()) return false;
        point.wholeRows = point.wholeRows || shift;
        point.wholeColumns = point.wholeColumns || ctrl;
        PointTo(point.row, point.column, true);
        return true;
    }
    if ((key == VK_PRIOR || key == VK_NEXT) && ctrl) return false;
    if (key == VK_END && !ctrl) return false;
    if (!StartPoint()) return false;
    MoveRequest move{key, ctrl || (Shell().endMode && key >= VK_LEFT), point.row, point.column};
    if (!MovePosition(*CurrentSheet(), move)) return false;
    SetEndMode(false);
    point.wholeRows = point.wholeColumns = false;
    PointTo(move.row, move.column, shift);
    return true;
}

bool PointLines(i32 row, i32 column, bool extend, bool wholeRows, bool wholeColumns) {
    if (!IsEditing() || !StartPoint()) return false;
    Shell().point.wholeRows = wholeRows;
    Shell().point.wholeColumns = wholeColumns;
    PointTo(row, column, extend);
    return true;
}

bool PointMouse(i32 row, i32 column, bool extend) { return PointLines(row, column, extend, false, false); }

}  // namespace tally
