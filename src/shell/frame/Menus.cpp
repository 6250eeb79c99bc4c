// The menus as constant tables, and how they stand when a popup opens.

#include "base/MessageTable.h"
#include "base/Number.h"
#include "base/Text.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "objects/ObjectKinds.h"
#include "shell/commands/Commands.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/ShapePalettes.h"
#include "shell/frame/Tables.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

struct MenuRow {
    MenuId menu;
    i32 command;  // 0 with a popup or a separator
    MenuId popup;
    u16 text;  // of the message table
};

constexpr MenuId ShapePopup(i32 palette) { return static_cast<MenuId>(MENU_SHAPE_FIRST + palette); }

// In the order of the screen; a row without a text is a separator.
constexpr u16 NO_TEXT = 0;
constexpr MenuRow menuRows[] = {
    {MENU_BAR, 0, MENU_FILE, MSG_MENU_FILE},
    {MENU_BAR, 0, MENU_EDIT, MSG_MENU_EDIT},
    {MENU_BAR, 0, MENU_INSERT, MSG_MENU_INSERT},
    {MENU_BAR, 0, MENU_FORMAT, MSG_MENU_FORMAT},
    {MENU_FILE, 110, MENU_NONE, MSG_MENU_NEW},
    {MENU_FILE, 111, MENU_NONE, MSG_MENU_OPEN},
    {MENU_FILE, 0, MENU_RECENT, MSG_MENU_RECENT_FILES},
    {MENU_FILE, 112, MENU_NONE, MSG_MENU_CLOSE},
    {MENU_FILE, 113, MENU_NONE, MSG_MENU_SAVE},
    {MENU_FILE, 114, MENU_NONE, MSG_MENU_SAVE_AS},
    {MENU_FILE, 0, MENU_WINDOWS, MSG_MENU_WINDOW},
    {MENU_FILE, 117, MENU_NONE, MSG_MENU_PRINT},
    {MENU_FILE, 127, MENU_NONE, MSG_MENU_EXIT},
    {MENU_EDIT, 130, MENU_NONE, MSG_MENU_UNDO},
    {MENU_EDIT, 0, MENU_NONE, NO_TEXT},
    {MENU_EDIT, 131, MENU_NONE, MSG_MENU_CUT},
    {MENU_EDIT, 132, MENU_NONE, MSG_MENU_COPY},
    {MENU_EDIT, 133, MENU_NONE, MSG_MENU_PASTE},
    {MENU_EDIT, 134, MENU_NONE, MSG_MENU_PASTE_SPECIAL},
    {MENU_EDIT, 0, MENU_NONE, NO_TEXT},
    {MENU_EDIT, 0, MENU_FILL, MSG_MENU_FILL_POPUP},
    {MENU_EDIT, 0, MENU_CLEAR, MSG_MENU_CLEAR_POPUP},
    {MENU_EDIT, 144, MENU_NONE, MSG_MENU_DELETE_ASKED},
    {MENU_EDIT, 145, MENU_NONE, MSG_MENU_DELETE_SHEET},
    {MENU_EDIT, 146, MENU_NONE, MSG_MENU_MOVE_SHEET},
    {MENU_EDIT, 147, MENU_NONE, MSG_MENU_FIND},
    {MENU_EDIT, 148, MENU_NONE, MSG_MENU_REPLACE},
    {MENU_EDIT, 149, MENU_NONE, MSG_MENU_GO_TO},
    {MENU_FILL, 135, MENU_NONE, MSG_MENU_FILL_DOWN},
    {MENU_FILL, 136, MENU_NONE, MSG_MENU_FILL_RIGHT},
    {MENU_FILL, 137, MENU_NONE, MSG_MENU_FILL_UP},
    {MENU_FILL, 138, MENU_NONE, MSG_MENU_FILL_LEFT},
    {MENU_FILL, 139, MENU_NONE, MSG_MENU_FILL_SERIES},
    {MENU_CLEAR, 140, MENU_NONE, MSG_MENU_CLEAR_ALL},
    {MENU_CLEAR, 141, MENU_NONE, MSG_MENU_CLEAR_FORMATS},
    {MENU_CLEAR, 142, MENU_NONE, MSG_MENU_CLEAR_CONTENTS},
    {MENU_CLEAR, 143, MENU_NONE, MSG_MENU_CLEAR_COMMENTS},
    {MENU_INSERT, 160, MENU_NONE, MSG_MENU_INSERT_ASKED},
    {MENU_INSERT, 161, MENU_NONE, MSG_MENU_INSERT_ROWS},
    {MENU_INSERT, 162, MENU_NONE, MSG_MENU_INSERT_COLUMNS},
    {MENU_INSERT, 163, MENU_NONE, MSG_MENU_INSERT_SHEET},
    {MENU_INSERT, 0, MENU_CHART, MSG_MENU_CHART_POPUP},
    {MENU_INSERT, 166, MENU_NONE, MSG_MENU_MACRO_SHEET},
    {MENU_INSERT, 0, MENU_NONE, NO_TEXT},
    {MENU_INSERT, 167, MENU_NONE, MSG_MENU_FUNCTION},
    {MENU_INSERT, 0, MENU_NAME, MSG_MENU_NAME_POPUP},
    {MENU_INSERT, 169, MENU_NONE, MSG_MENU_COMMENT},
    {MENU_INSERT, 0, MENU_NONE, NO_TEXT},
    {MENU_INSERT, 0, MENU_CONTROLS, MSG_MENU_CONTROL_POPUP},
    {MENU_INSERT, 0, MENU_DRAWING, MSG_MENU_DRAWING_POPUP},
    {MENU_INSERT, 330, MENU_NONE, MSG_MENU_HYPERLINK},
    {MENU_CHART, 164, MENU_NONE, MSG_MENU_CHART_SHEET},
    {MENU_CHART, 165, MENU_NONE, MSG_MENU_CHART_OBJECT},
    {MENU_NAME, 168, MENU_NONE, MSG_MENU_DEFINE_NAME},
    {MENU_CONTROLS, 172, MENU_NONE, MSG_MENU_LABEL},
    {MENU_CONTROLS, 173, MENU_NONE, MSG_MENU_GROUP_BOX},
    {MENU_CONTROLS, 174, MENU_NONE, MSG_MENU_BUTTON},
    {MENU_CONTROLS, 175, MENU_NONE, MSG_MENU_CHECK_BOX},
    {MENU_CONTROLS, 176, MENU_NONE, MSG_MENU_OPTION_BUTTON},
    {MENU_CONTROLS, 177, MENU_NONE, MSG_MENU_LIST_BOX},
    {MENU_CONTROLS, 178, MENU_NONE, MSG_MENU_DROP_DOWN},
    {MENU_CONTROLS, 179, MENU_NONE, MSG_MENU_SCROLL_BAR},
    {MENU_CONTROLS, 180, MENU_NONE, MSG_MENU_SPINNER},
    {MENU_DRAWING, 181, MENU_NONE, MSG_MENU_LINE},
    {MENU_DRAWING, 182, MENU_NONE, MSG_MENU_RECTANGLE},
    {MENU_DRAWING, 183, MENU_NONE, MSG_MENU_OVAL},
    {MENU_DRAWING, 184, MENU_NONE, MSG_MENU_TEXT_BOX},
    {MENU_DRAWING, 0, MENU_SHAPES, MSG_MENU_SHAPE_POPUP},
    {MENU_SHAPES, 0, ShapePopup(0), MSG_MENU_SHAPE_LINES},
    {MENU_SHAPES, 0, ShapePopup(1), MSG_MENU_SHAPE_CONNECTORS},
    {MENU_SHAPES, 0, ShapePopup(2), MSG_MENU_SHAPE_BASIC},
    {MENU_SHAPES, 0, ShapePopup(3), MSG_MENU_SHAPE_ARROWS},
    {MENU_SHAPES, 0, ShapePopup(4), MSG_MENU_SHAPE_FLOW},
    {MENU_SHAPES, 0, ShapePopup(5), MSG_MENU_SHAPE_BANNERS},
    {MENU_SHAPES, 0, ShapePopup(6), MSG_MENU_SHAPE_CALLOUTS},
    {MENU_FORMAT, 390, MENU_NONE, MSG_MENU_FORMAT_CELLS},
    {MENU_FORMAT, 0, MENU_ROW, MSG_MENU_ROW_POPUP},
    {MENU_FORMAT, 0, MENU_COLUMN, MSG_MENU_COLUMN_POPUP},
    {MENU_FORMAT, 0, MENU_SHEET, MSG_MENU_SHEET_POPUP},
    {MENU_FORMAT, 0, MENU_VIEW, MSG_MENU_VIEW_POPUP},
    {MENU_FORMAT, 422, MENU_NONE, MSG_MENU_CONDITIONAL},
    {MENU_FORMAT, 0, MENU_NONE, NO_TEXT},
    {MENU_FORMAT, 423, MENU_NONE, MSG_MENU_FREEZE},
    {MENU_FORMAT, 421, MENU_NONE, MSG_MENU_FULL_SCREEN},
    {MENU_FORMAT, 0, MENU_NONE, NO_TEXT},
    {MENU_FORMAT, 0, MENU_DATA, MSG_MENU_DATA_POPUP},
    {MENU_ROW, 391, MENU_NONE, MSG_MENU_ROW_HEIGHT},
    {MENU_ROW, 392, MENU_NONE, MSG_MENU_ROW_FIT},
    {MENU_ROW, 393, MENU_NONE, MSG_MENU_ROW_HIDE},
    {MENU_ROW, 394, MENU_NONE, MSG_MENU_ROW_SHOW},
    {MENU_COLUMN, 395, MENU_NONE, MSG_MENU_COLUMN_WIDTH},
    {MENU_COLUMN, 396, MENU_NONE, MSG_MENU_COLUMN_FIT},
    {MENU_COLUMN, 397, MENU_NONE, MSG_MENU_COLUMN_HIDE},
    {MENU_COLUMN, 398, MENU_NONE, MSG_MENU_COLUMN_SHOW},
    {MENU_COLUMN, 399, MENU_NONE, MSG_MENU_STANDARD_WIDTH},
    {MENU_SHEET, 400, MENU_NONE, MSG_MENU_SHEET_RENAME},
    {MENU_SHEET, 401, MENU_NONE, MSG_MENU_SHEET_HIDE},
    {MENU_SHEET, 402, MENU_NONE, MSG_MENU_SHEET_SHOW},
    {MENU_SHEET, 403, MENU_NONE, MSG_MENU_GRIDLINES},
    {MENU_SHEET, 404, MENU_NONE, MSG_MENU_HEADINGS},
    {MENU_SHEET, 0, MENU_ZOOM, MSG_MENU_ZOOM_POPUP},
    {MENU_SHEET, 411, MENU_NONE, MSG_MENU_PROTECT},
    {MENU_SHEET, 412, MENU_NONE, MSG_MENU_FORMULAS},
    {MENU_SHEET, 413, MENU_NONE, MSG_MENU_TAB_COLOUR},
    {MENU_ZOOM, 405, MENU_NONE, MSG_MENU_ZOOM_200},
    {MENU_ZOOM, 406, MENU_NONE, MSG_MENU_ZOOM_150},
    {MENU_ZOOM, 407, MENU_NONE, MSG_MENU_ZOOM_100},
    {MENU_ZOOM, 408, MENU_NONE, MSG_MENU_ZOOM_75},
    {MENU_ZOOM, 409, MENU_NONE, MSG_MENU_ZOOM_FIT},
    {MENU_ZOOM, 410, MENU_NONE, MSG_MENU_ZOOM_CUSTOM},
    {MENU_VIEW, 0, MENU_VIEW_FILE, MSG_MENU_VIEW_FILE_POPUP},
    {MENU_VIEW, 0, MENU_TOOLBARS, MSG_MENU_TOOLBAR_POPUP},
    {MENU_VIEW, 419, MENU_NONE, MSG_MENU_FORMULA_BAR},
    {MENU_VIEW, 420, MENU_NONE, MSG_MENU_STATUS_BAR},
    {MENU_VIEW_FILE, 414, MENU_NONE, MSG_MENU_VERTICAL_BAR},
    {MENU_VIEW_FILE, 415, MENU_NONE, MSG_MENU_HORIZONTAL_BAR},
    {MENU_VIEW_FILE, 416, MENU_NONE, MSG_MENU_SHEET_TABS},
    {MENU_TOOLBARS, 417, MENU_NONE, MSG_MENU_STANDARD_BAR},
    {MENU_TOOLBARS, 418, MENU_NONE, MSG_MENU_FORMAT_BAR},
    {MENU_TOOLBARS, 438, MENU_NONE, MSG_MENU_ENTRY_BAR},
    {MENU_DATA, 424, MENU_NONE, MSG_MENU_SORT},
    {MENU_DATA, 0, MENU_FILTER, MSG_MENU_FILTER_POPUP},
    {MENU_DATA, 428, MENU_NONE, MSG_MENU_DATA_FORM},
    {MENU_DATA, 429, MENU_NONE, MSG_MENU_VALIDATION},
    {MENU_DATA, 430, MENU_NONE, MSG_MENU_TEXT_TO_COLUMNS},
    {MENU_DATA, 431, MENU_NONE, MSG_MENU_GOAL_SEEK},
    {MENU_FILTER, 425, MENU_NONE, MSG_MENU_AUTO_FILTER},
    {MENU_FILTER, 426, MENU_NONE, MSG_MENU_SHOW_ALL},
    {MENU_FILTER, 427, MENU_NONE, MSG_MENU_ADVANCED_FILTER},
};

bool IsChecked(i32 command) {
    const Workbook* book = CurrentWorkbook();
    const Sheet* sheet = CurrentSheet();
    if (const i32 band = BandOfCommand(command); band >= 0) return !Shell().bandHidden[band];
    if (command == 420) return Shell().statusBarShown;
    if (command == 421) return (Shell().options5 & OPTION_FULL_SCREEN) != 0;
    if (!book || !sheet) return false;
    const i32 zoom = sheet->zoomPercent;
    const bool listed = zoom == 200 || zoom == 150 || zoom == 100 || zoom == 75;
    switch (command) {
        case 403: return (sheet->viewFlags & VIEW_GRIDLINES) != 0;
        case 404: return (sheet->viewFlags & VIEW_HEADERS) != 0;
        case 405: return zoom == 200;
        case 406: return zoom == 150;
        case 407: return zoom == 100;
        case 408: return zoom == 75;
        case 410: return !listed;
        case 412: return (sheet->viewFlags & VIEW_FORMULAS) != 0;
        case 414: return book->showVerticalScrollBar != 0;
        case 415: return book->showHorizontalScrollBar != 0;
        case 416: return book->showSheetTabs != 0;
        case 425: return (sheet->filterState & FILTER_AUTO) != 0;
        default: return false;
    }
}

// What the command 390 formats besides cells, by what is selected, and what the two menus call it.
struct FormattedRow {
    u16 menuText, gridText;
};
constexpr FormattedRow formattedCells = {MSG_MENU_FORMAT_CELLS, MSG_GRID_FORMAT_CELLS},
                       formattedChart = {MSG_MENU_FORMAT_CHART, MSG_GRID_FORMAT_CHART},
                       formattedPicture = {MSG_MENU_FORMAT_PICTURE, MSG_GRID_FORMAT_PICTURE},
                       formattedControl = {MSG_MENU_FORMAT_CONTROL, MSG_GRID_FORMAT_CONTROL},
                       formattedDrawing = {MSG_MENU_FORMAT_DRAWING, MSG_GRID_FORMAT_DRAWING};

const FormattedRow& FormattedNow() {
    const Sheet* sheet = CurrentSheet();
    if (!sheet || RulesThatHold(NEEDS_GRID)) return formattedCells;
    if (sheet->kind == SHEET_CHART) return formattedChart;
    const u32 selected = static_cast<u32>(sheet->selectedObject);
    const u16 kind = selected < sheet->objects.Count() ? sheet->objects[selected].kind : u16{OBJECT_SHAPE};
    if (kind == OBJECT_CHART) return formattedChart;
    if (kind == OBJECT_PICTURE) return formattedPicture;
    return IsControlKind(kind) ? formattedControl : formattedDrawing;
}

// The labels that follow what is selected.
u16 LabelOf(const MenuRow& row) {
    const bool wholeLines = RulesThatHold(NOT_ROWS | NOT_COLUMNS) != (NOT_ROWS | NOT_COLUMNS);
    const Sheet* sheet = CurrentSheet();
    switch (row.command) {
        case 144: return wholeLines ? u16{MSG_MENU_DELETE} : row.text;
        case 160: return wholeLines ? u16{MSG_MENU_INSERT_CELLS} : row.text;
        case 390: return FormattedNow().menuText;
        case 411:
            if (!sheet || !(sheet->viewFlags & VIEW_PROTECTED)) return row.text;
            return sheet->passwordHash ? MSG_MENU_UNPROTECT_ASKED : MSG_MENU_UNPROTECT;
        case 423: return sheet && (sheet->viewFlags & VIEW_FROZEN) ? u16{MSG_MENU_UNFREEZE} : row.text;
        default: return row.text;
    }
}

bool RecentItems(Array<MenuItem>& items) {
    const Array<WideText>& recent = Shell().recent;
    for (u32 i = 0; i < recent.Count() && i < RECENT_FILES; ++i) {
        WideText text;
        if (!AppendPlainLabel(text, FileNameOf(recent[i]))) return false;
        if (!AddMenuItem(items, static_cast<i32>(118 + i), text, true, false)) return false;
    }
    return true;
}

bool WindowItems(Array<MenuItem>& items) {
    i32 number = 0;
    for (u32 i = 0; i < Books().books.Count(); ++i) {
        const Workbook& book = *Books().books[i];
        if (book.hiddenLink) continue;
        WideText text;
        if (++number <= 9 && !(text.Append(u'&') && AppendInteger(text, number) && text.Append(u' ')))
            return false;
        if (!AppendPlainLabel(text, FileNameOf(book.path))) return false;
        if (!AddMenuItem(items, static_cast<i32>(540 + i), text, true, static_cast<i32>(i) == CurrentBook()))
            return false;
    }
    return true;
}

// What would be undone stands behind the command's word.
bool AppendUndoLabel(WideText& text) {
    return !UndoCount() || (text.Append(u' ') && text.Append(UndoLabel()) && text.Append(u"\tCtrl+Z"));
}

bool MayOpen(MenuId popup);

// Whether an item can be picked; of a command that is still without a handler, whether it could with one.
bool HasWhatItNeeds(const MenuRow& row) {
    if (row.popup != MENU_NONE) return MayOpen(row.popup);
    const CommandRow* command = FindCommandRow(row.command);
    const u32 rules = command ? command->rules | command->menuRules : 0;
    return command && RulesThatHold(rules) == rules;
}

// A popup opens when any of its items could be picked.
bool MayOpen(MenuId popup) {
    if (popup == MENU_RECENT) return RulesThatHold(NOT_EDITING) != 0;
    if (popup == MENU_WINDOWS) return RulesThatHold(NEEDS_BOOK) != 0;
    if (FindShapePalette(popup)) return RulesThatHold(FREE_WORKSHEET) == FREE_WORKSHEET;
    for (const MenuRow& row : menuRows)
        if (row.menu == popup && row.text && HasWhatItNeeds(row)) return true;
    return false;
}

bool IsEnabled(const MenuRow& row) {
    if (row.popup != MENU_NONE || !row.text) return row.menu == MENU_BAR || !row.text || MayOpen(row.popup);
    return HasWhatItNeeds(row) && CommandEnabled(row.command);
}

}  // namespace

bool BuildMenu(MenuId menu, Array<MenuItem>& items) {
    items.Truncate(0);
    if (menu == MENU_RECENT) return RecentItems(items);
    if (menu == MENU_WINDOWS) return WindowItems(items);
    if (const ShapePalette* palette = FindShapePalette(menu)) return ShapeItems(*palette, items);
    for (const MenuRow& row : menuRows) {
        if (row.menu != menu) continue;
        if (!AddMenuItem(items, row.command, Message(LabelOf(row)), IsEnabled(row), IsChecked(row.command)))
            return false;
        items.Last().popup = row.popup;
        if (row.command == 130 && !AppendUndoLabel(items.Last().text)) return false;
    }
    return true;
}

bool SheetMenu(Array<MenuItem>& items) {
    items.Truncate(0);
    // Those of the menus, but for a text of their own.
    struct SheetRow {
        i32 command;
        u16 text;
    };
    constexpr SheetRow rows[] = {{163, MSG_GRID_INSERT}, {145, NO_TEXT}, {400, NO_TEXT}, {146, NO_TEXT},
                                 {0, NO_TEXT},           {413, NO_TEXT}, {411, NO_TEXT}, {0, NO_TEXT},
                                 {401, NO_TEXT},         {402, NO_TEXT}};
    for (const SheetRow& row : rows) {
        if (!row.command && !AddMenuItem(items, 0, WideView(), true, false)) return false;
        for (const MenuRow& known : menuRows) {
            if (!row.command || known.command != row.command) continue;
            const u16 text = row.text ? row.text : LabelOf(known);
            if (!AddMenuItem(items, row.command, Message(text), IsEnabled(known), false)) return false;
        }
    }
    return true;
}

bool GridMenu(Array<MenuItem>& items) {
    items.Truncate(0);
    const bool rows = !RulesThatHold(NOT_ROWS), columns = !RulesThatHold(NOT_COLUMNS),
               plain = !rows && !columns;
    struct GridRow {
        i32 command;
        u16 text;
    };
    const GridRow fixed[] = {
        {131, MSG_GRID_CUT},
        {132, MSG_GRID_COPY},
        {133, MSG_GRID_PASTE},
        {134, MSG_GRID_PASTE_SPECIAL},
        {0, NO_TEXT},
        {rows      ? 161
         : columns ? 162
                   : 160,
         plain ? MSG_GRID_INSERT_ASKED : MSG_GRID_INSERT},
        {144, plain ? MSG_GRID_DELETE_ASKED : MSG_GRID_DELETE},
        {142, MSG_GRID_CLEAR},
        {0, NO_TEXT},
        {390, FormattedNow().gridText},
        {rows ? 391 : 395, rows ? MSG_GRID_ROW_HEIGHT : MSG_GRID_COLUMN_WIDTH},
        {rows ? 393 : 397, MSG_GRID_HIDE},
        {rows ? 394 : 398, MSG_GRID_SHOW},
    };
    // The last three belong to whole rows and whole columns.
    const std::span all(fixed);
    for (const GridRow& row : rows == columns ? all.first(all.size() - 3) : all) {
        // Of a whole sheet nothing is left to make room beside.
        const bool shaped = !(rows && columns) || row.command != 144;
        const bool enabled = !row.text || (shaped && CommandEnabled(row.command));
        if (!AddMenuItem(items, row.command, Message(row.text), enabled, false)) return false;
    }
    return true;
}

}  // namespace tally
