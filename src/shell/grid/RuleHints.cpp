#include "shell/grid/RuleHints.h"

#include <algorithm>

#include "editing/Validation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/grid/InputMessage.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

// Lengths on a screen with 96 pixels to the inch.
constexpr i32 ARROW_SIZE = 17, TRIANGLE_HEIGHT = 4;
constexpr u32 FACE = 0xF0F0F0, EDGE = 0x808080, INK = 0x202020;

const ValidationRule* RuleAt(const Sheet& sheet, i32 row, i32 column) {
    const i32 index = sheet.validations.IsEmpty() ? -1 : FindRule(sheet, row, column);
    return index < 0 ? nullptr : &sheet.validations[static_cast<u32>(index)];
}

}  // namespace

PixelRect ListArrowPlace() {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || IsEditing() || sheet->validations.IsEmpty()) return PixelRect();
    const RefArea active = ActiveArea(*sheet);
    const ValidationRule* rule = RuleAt(*sheet, active.firstRow, active.firstColumn);
    if (!rule || rule->kind != RULE_LIST || rule->noDropArrow) return PixelRect();
    const PixelRect cell = AreaPixels(active);
    if (IsEmptyRect(cell)) return PixelRect();
    const PixelRect& cells = Shell().layout.cells;
    const i32 size = ScreenLength(ARROW_SIZE);
    // Beside the cell, or inside it where the view ends.
    const i32 left = std::max(std::min(cell.right, cells.right - size), cells.left);
    return IntersectRects({left, std::max(cell.top, cell.bottom - size - 1), left + size, cell.bottom - 1},
                          cells);
}

void InvalidateListArrow() {
    ShellPlatform().invalidate(ListArrowPlace());
    ShellPlatform().invalidate(InputMessagePlace());
}

void PaintListArrow(DrawTarget& target) {
    const PixelRect place = ListArrowPlace();
    if (IsEmptyRect(place)) return;
    FillRect(target, place, EDGE);
    FillRect(target, {place.left + 1, place.top + 1, place.right - 1, place.bottom - 1}, FACE);
    const i32 height = ScreenLength(TRIANGLE_HEIGHT);
    const i32 middle = (place.left + place.right) / 2, top = (place.top + place.bottom) / 2 - height / 2;
    for (i32 i = 0; i < height; ++i)
        DrawLine(target, middle - height + 1 + i, top + i, middle + height - i, top + i, {INK});
}

i32 FindHyperlink(i32 row, i32 column) {
    const Sheet* sheet = CurrentSheet();
    for (u32 i = 0; sheet && i < sheet->hyperlinks.Count(); ++i)
        if (AreaHolds(sheet->hyperlinks[i].area, row, column)) return static_cast<i32>(i);
    return -1;
}

bool CellHint(i32 row, i32 column, WideText& out) {
    out.Truncate(0);
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet)) return true;
    const ValidationRule* rule = RuleAt(*sheet, row, column);
    if (rule && rule->showInput && !(rule->inputTitle.IsEmpty() && rule->inputText.IsEmpty()))
        return out.Append(rule->inputTitle) &&
               (rule->inputTitle.IsEmpty() || rule->inputText.IsEmpty() || out.Append(u'\n')) &&
               out.Append(rule->inputText);
    const i32 link = FindHyperlink(row, column);
    if (link < 0) return true;
    const Hyperlink& found = sheet->hyperlinks[static_cast<u32>(link)];
    return out.Append(found.target) &&
           (found.location.IsEmpty() || (out.Append(u'#') && out.Append(found.location)));
}

}  // namespace tally
