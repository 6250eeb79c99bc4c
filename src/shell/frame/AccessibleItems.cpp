#include "shell/frame/AccessibleItems.h"

#include <algorithm>

#include "base/Memory.h"
#include "base/MessageTable.h"
#include "base/Number.h"
#include "display/DisplayText.h"
#include "formula/FormulaText.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"
#include "shell/selection/ActiveCell.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

using Items = Array<AccessibleItem>;

// Appends an item behind the children that its parent has; null when memory fails.
AccessibleItem* Add(Items& items, i32 parent, AccessibleRole role, u32 key, WideView name,
                    const PixelRect& place, u32 states = 0) {
    AccessibleItem* item = items.AppendDefault();
    if (!item || !item->name.Assign(name)) return nullptr;
    item->role = role;
    item->key = key;
    item->place = place;
    item->states = states;
    item->parent = parent;
    if (parent < 0) return item;
    AccessibleItem& above = items[static_cast<u32>(parent)];
    if (!above.children++) above.firstChild = items.Count() - 1;
    return item;
}

bool AddButtons(Items& items, i32 parent) {
    const std::span<const ToolbarButton> buttons = ToolbarButtons();
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        const PixelRect place = ButtonPlace(i);
        if (IsEmptyRect(place)) continue;
        const u32 states = CommandEnabled(buttons[i].command) ? 0u : u32{ACCESSIBLE_DISABLED};
        if (!Add(items, parent, ACCESSIBLE_BUTTON, static_cast<u32>(buttons[i].command),
                 Message(buttons[i].tip), place, states))
            return false;
    }
    return true;
}

// What a cell shows, as it was last calculated.
bool ShownValue(const Sheet& sheet, i32 row, i32 column, WideText& out) {
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    return !cell || DisplayText(*BookAt(sheet.book), cell->value, cell->format, out);
}

bool AddActiveCell(Items& items, i32 parent, const Sheet& sheet) {
    const RefArea area = ActiveArea(sheet);
    const i32 row = area.firstRow, column = area.firstColumn;
    WideText name;
    const u32 states = ACCESSIBLE_SELECTED | (IsEditing() ? 0u : u32{ACCESSIBLE_FOCUSED});
    const u32 key = static_cast<u32>(row * MAX_COLUMNS + column);
    if (!CellToText(row, column, false, false, name)) return false;
    AccessibleItem* item = Add(items, parent, ACCESSIBLE_CELL, key, name,
                               IntersectRects(AreaPixels(area), Shell().layout.cells), states);
    if (!item || !ShownValue(sheet, row, column, item->value)) return false;
    const CellRecord* cell = GetCell(sheet.cells, row, column);
    return !cell || !cell->formula || LineText(sheet, row, column, item->description);
}

bool AddSelectedArea(Items& items, i32 parent, const Sheet& sheet) {
    const RefArea& area = sheet.view.selection;
    if (area == ActiveArea(sheet)) return true;
    WideText name;
    return AreaToText(sheet.book, sheet.index, area, AREA_ALL_RELATIVE | AREA_USE_A1, 0, 0, name) &&
           Add(items, parent, ACCESSIBLE_AREA, 0, name, IntersectRects(AreaPixels(area), Shell().layout.cells),
               ACCESSIBLE_SELECTED);
}

bool AddHeaders(Items& items, i32 parent, const Sheet& sheet) {
    const Layout& layout = Shell().layout;
    const RefArea& selection = sheet.view.selection;
    if (!(sheet.viewFlags & VIEW_HEADERS) || layout.cells.top == layout.grid.top) return true;
    WideText name;
    for (const ShownLine& line : layout.columns) {
        const bool selected = line.index >= selection.firstColumn && line.index <= selection.lastColumn;
        name.Truncate(0);
        if (!AppendColumnLetters(line.index, name) ||
            !Add(items, parent, ACCESSIBLE_COLUMN_HEADER, static_cast<u32>(line.index), name,
                 {line.start, layout.grid.top, std::min(line.end, layout.grid.right), layout.cells.top},
                 selected ? u32{ACCESSIBLE_SELECTED} : 0u))
            return false;
    }
    for (const ShownLine& line : layout.rows) {
        const bool selected = line.index >= selection.firstRow && line.index <= selection.lastRow;
        name.Truncate(0);
        if (!AppendInteger(name, line.index + 1) ||
            !Add(items, parent, ACCESSIBLE_ROW_HEADER, static_cast<u32>(line.index), name,
                 {layout.grid.left, line.start, layout.cells.left, std::min(line.end, layout.grid.bottom)},
                 selected ? u32{ACCESSIBLE_SELECTED} : 0u))
            return false;
    }
    return true;
}

bool AddGridParts(Items& items, i32 parent) {
    const Sheet& sheet = *CurrentSheet();
    return AddActiveCell(items, parent, sheet) && AddSelectedArea(items, parent, sheet) &&
           AddHeaders(items, parent, sheet);
}

bool AddTabs(Items& items, i32 parent) {
    const Workbook& book = *CurrentWorkbook();
    const PixelRect& strip = Shell().layout.tabs;
    Array<SheetTab> tabs;
    if (!ShownTabs(tabs)) return false;
    for (const SheetTab& tab : tabs) {
        const Sheet& sheet = *book.sheets[static_cast<u32>(tab.sheet)];
        const PixelRect place{tab.left, strip.top, std::min(tab.right, strip.right), strip.bottom};
        if (!Add(items, parent, ACCESSIBLE_TAB, sheet.serial, WideView(sheet.name), place,
                 tab.sheet == book.currentSheet ? u32{ACCESSIBLE_SELECTED} : 0u))
            return false;
    }
    return true;
}

bool AddStatusParts(Items& items, i32 parent) {
    WideText text;
    for (i32 part = 0; part < STATUS_PARTS; ++part) {
        if (!StatusText(part, text) ||
            !Add(items, parent, ACCESSIBLE_STATUS_PART, static_cast<u32>(part), text, StatusPartPlace(part)))
            return false;
    }
    return true;
}

// The strips of the window, from the top.
bool AddStrips(Items& items) {
    const Layout& layout = Shell().layout;
    const Sheet* sheet = CurrentSheet();
    if (!IsEmptyRect(layout.toolbar) &&
        !Add(items, 0, ACCESSIBLE_TOOLBAR, 0, Message(MSG_ACCESSIBLE_TOOLBAR), layout.toolbar))
        return false;
    if (!IsEmptyRect(layout.entryLine) &&
        !Add(items, 0, ACCESSIBLE_EDIT, ENTRY_LINE, Message(MSG_ACCESSIBLE_ENTRY_LINE), layout.entryLine,
             IsEditing() ? u32{ACCESSIBLE_FOCUSED} : 0u))
        return false;
    if (HasCells(sheet) && !Add(items, 0, ACCESSIBLE_GRID, sheet->serial, WideView(sheet->name), layout.grid))
        return false;
    if (CurrentWorkbook() && !IsEmptyRect(layout.tabs) &&
        !Add(items, 0, ACCESSIBLE_TAB_LIST, 0, Message(MSG_ACCESSIBLE_TABS), layout.tabs))
        return false;
    return IsEmptyRect(layout.statusBar) ||
           Add(items, 0, ACCESSIBLE_STATUS_BAR, 0, Message(MSG_ACCESSIBLE_STATUS_BAR), layout.statusBar);
}

constexpr struct {
    AccessibleRole role;
    bool (*addParts)(Items& items, i32 parent);
} stripParts[] = {
    {ACCESSIBLE_TOOLBAR, AddButtons},
    {ACCESSIBLE_GRID, AddGridParts},
    {ACCESSIBLE_TAB_LIST, AddTabs},
    {ACCESSIBLE_STATUS_BAR, AddStatusParts},
};

}  // namespace

bool BuildAccessibleItems(Array<AccessibleItem>& items) {
    // Nobody is at the window to be told that memory is short.
    const QuietMemoryScope quiet;
    const Layout& layout = Shell().layout;
    items.Truncate(0);
    WideText title;
    if (!AppendTitle(title) ||
        !Add(items, -1, ACCESSIBLE_WINDOW, 0, title, {0, 0, layout.width, layout.height}) || !AddStrips(items))
        return false;
    const u32 strips = items.Count();
    for (u32 i = 1; i < strips; ++i)
        for (const auto& row : stripParts)
            if (row.role == items[i].role && !row.addParts(items, static_cast<i32>(i))) return false;
    return true;
}

void TellAccessible() {
    ToldState& told = Shell().told;
    if (!ShellPlatform().accessibleWatched()) {
        told.any = false;
        return;
    }
    const QuietMemoryScope quiet;
    const Sheet* sheet = CurrentSheet();
    const bool cells = HasCells(sheet);
    const RefArea active = cells ? ActiveArea(*sheet) : RefArea();
    const RefArea selection = cells ? sheet->view.selection : RefArea();
    const u32 serial = cells ? sheet->serial : 0;
    WideText value;
    if (cells && !ShownValue(*sheet, active.firstRow, active.firstColumn, value)) value.Truncate(0);
    const bool same = told.any && told.serial == serial && told.active == active;
    u32 changes = 0;
    if (!same || told.editing != IsEditing()) changes |= ACCESSIBLE_FOCUS_MOVED;
    if (same && told.value.View() != value.View()) changes |= ACCESSIBLE_VALUE_CHANGED;
    if (!same || told.selection != selection) changes |= ACCESSIBLE_SELECTION_CHANGED;
    told = {true, IsEditing(), serial, active, selection, std::move(value)};
    ShellPlatform().accessibleChanged(changes);
}

}  // namespace tally
