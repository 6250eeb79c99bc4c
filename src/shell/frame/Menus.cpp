// The menus as constant tables, and how they stand when a popup opens.

#include "base/Number.h"
#include "base/Text.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/commands/Commands.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/Tables.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

struct MenuRow {
    MenuId menu;
    i32 command;  // 0 with a popup or a separator
    MenuId popup;
    WideView text;
    u32 rules;
};

// In the order of the screen; a row without a text is a separator.
constexpr MenuRow menuRows[] = {
    {MENU_BAR, 0, MENU_FILE, u"文件(&F)", 0},
    {MENU_BAR, 0, MENU_EDIT, u"编辑(&E)", 0},
    {MENU_BAR, 0, MENU_INSERT, u"插入(&I)", 0},
    {MENU_BAR, 0, MENU_FORMAT, u"格式(&O)", 0},
    {MENU_FILE, 110, MENU_NONE, u"新建(&N)\tCtrl+N", NOT_EDITING},
    {MENU_FILE, 111, MENU_NONE, u"打开(&O)...\tCtrl+O", NOT_EDITING},
    {MENU_FILE, 0, MENU_RECENT, u"最近的(&R)", NOT_EDITING},
    {MENU_FILE, 112, MENU_NONE, u"关闭(&C)", NEEDS_BOOK},
    {MENU_FILE, 113, MENU_NONE, u"保存(&S)\tCtrl+S", NEEDS_BOOK},
    {MENU_FILE, 114, MENU_NONE, u"另存为(&A)...", NEEDS_BOOK},
    {MENU_FILE, 0, MENU_WINDOWS, u"窗口(&W)", NEEDS_BOOK},
    {MENU_FILE, 117, MENU_NONE, u"打印(&P)...\tCtrl+P", NEEDS_BOOK | NOT_EDITING},
    {MENU_FILE, 127, MENU_NONE, u"退出(&X)", 0},
    {MENU_EDIT, 130, MENU_NONE, u"撤消(&U)", NEEDS_UNDO},
    {MENU_EDIT, 0, MENU_NONE, u"", 0},
    {MENU_EDIT, 131, MENU_NONE, u"剪切(&T)\tCtrl+X", NEEDS_GRID},
    {MENU_EDIT, 132, MENU_NONE, u"复制(&C)\tCtrl+C", NEEDS_GRID},
    {MENU_EDIT, 133, MENU_NONE, u"粘贴(&P)\tCtrl+V", NEEDS_GRID | NEEDS_CLIPBOARD},
    {MENU_EDIT, 134, MENU_NONE, u"选择性粘贴(&S)...", NEEDS_GRID | NEEDS_CLIPBOARD | NOT_EDITING},
    {MENU_EDIT, 0, MENU_NONE, u"", 0},
    {MENU_EDIT, 0, MENU_FILL, u"填充(&I)", FREE_GRID},
    {MENU_EDIT, 0, MENU_CLEAR, u"清除(&A)", 0},
    {MENU_EDIT, 144, MENU_NONE, u"删除(&D)...", FREE_GRID | NO_FILTERED_RANGE},
    {MENU_EDIT, 145, MENU_NONE, u"删除工作表(&L)", NEEDS_BOOK | NOT_EDITING | MAY_DELETE_SHEET},
    {MENU_EDIT, 146, MENU_NONE, u"移动或复制工作表(&M)...", NEEDS_BOOK | NOT_EDITING},
    {MENU_EDIT, 147, MENU_NONE, u"查找(&F)...\tCtrl+F", NEEDS_SHEET},
    {MENU_EDIT, 148, MENU_NONE, u"替换(&E)...\tCtrl+H", NEEDS_SHEET | NEEDS_UNLOCKED | NOT_EDITING},
    {MENU_EDIT, 149, MENU_NONE, u"定位(&G)...\tCtrl+G", NEEDS_SHEET | NOT_EDITING},
    {MENU_FILL, 135, MENU_NONE, u"向下(&D)\tCtrl+D", 0},
    {MENU_FILL, 136, MENU_NONE, u"向右(&R)\tCtrl+R", 0},
    {MENU_FILL, 137, MENU_NONE, u"向上(&U)", 0},
    {MENU_FILL, 138, MENU_NONE, u"向左(&L)", 0},
    {MENU_FILL, 139, MENU_NONE, u"系列(&S)...", 0},
    {MENU_CLEAR, 140, MENU_NONE, u"全部(&A)", 0},
    {MENU_CLEAR, 141, MENU_NONE, u"格式(&F)", NEEDS_GRID | NOT_EDITING},
    {MENU_CLEAR, 142, MENU_NONE, u"内容(&C)\tDel", NEEDS_GRID | NOT_EDITING},
    {MENU_CLEAR, 143, MENU_NONE, u"批注(&M)", NEEDS_GRID | NOT_EDITING},
    {MENU_INSERT, 160, MENU_NONE, u"单元格(&E)...", FREE_GRID},
    {MENU_INSERT, 161, MENU_NONE, u"行(&R)", FREE_GRID | NOT_COLUMNS},
    {MENU_INSERT, 162, MENU_NONE, u"列(&C)", FREE_GRID | NOT_ROWS},
    {MENU_INSERT, 163, MENU_NONE, u"工作表(&W)", NEEDS_BOOK | NOT_EDITING},
    {MENU_INSERT, 0, MENU_CHART, u"图表(&H)", NEEDS_BOOK | NOT_EDITING},
    {MENU_INSERT, 166, MENU_NONE, u"宏表(&M)", NEEDS_BOOK | NOT_EDITING},
    {MENU_INSERT, 0, MENU_NONE, u"", 0},
    {MENU_INSERT, 167, MENU_NONE, u"函数(&F)...", NEEDS_GRID | NOT_EDITING},
    {MENU_INSERT, 0, MENU_NAME, u"名称(&N)", NEEDS_GRID | NOT_EDITING},
    {MENU_INSERT, 169, MENU_NONE, u"批注(&M)", FREE_GRID},
    {MENU_INSERT, 0, MENU_NONE, u"", 0},
    {MENU_INSERT, 0, MENU_CONTROLS, u"控制(&O)", FREE_CELLS},
    {MENU_INSERT, 0, MENU_DRAWING, u"绘图对象(&D)", FREE_CELLS},
    {MENU_INSERT, 330, MENU_NONE, u"超级链接(&I)...\tCtrl+K", FREE_CELLS},
    {MENU_CHART, 164, MENU_NONE, u"工作表(&S)", 0},
    {MENU_CHART, 165, MENU_NONE, u"对象(&O)", NEEDS_SHEET | NEEDS_WORKSHEET | NEEDS_UNLOCKED},
    {MENU_NAME, 168, MENU_NONE, u"定义(&D)...", 0},
    {MENU_CONTROLS, 172, MENU_NONE, u"标签(&L)", 0},
    {MENU_CONTROLS, 173, MENU_NONE, u"选项框(&G)", 0},
    {MENU_CONTROLS, 174, MENU_NONE, u"按钮(&C)", 0},
    {MENU_CONTROLS, 175, MENU_NONE, u"复选框(&H)", 0},
    {MENU_CONTROLS, 176, MENU_NONE, u"选项钮(&O)", 0},
    {MENU_CONTROLS, 177, MENU_NONE, u"列表框(&I)", 0},
    {MENU_CONTROLS, 178, MENU_NONE, u"下拉框(&M)", 0},
    {MENU_CONTROLS, 179, MENU_NONE, u"滚动条(&S)", 0},
    {MENU_CONTROLS, 180, MENU_NONE, u"微调框(&P)", 0},
    {MENU_DRAWING, 181, MENU_NONE, u"线条(&L)", 0},
    {MENU_DRAWING, 182, MENU_NONE, u"矩形(&R)", 0},
    {MENU_DRAWING, 183, MENU_NONE, u"椭圆(&O)", 0},
    {MENU_DRAWING, 184, MENU_NONE, u"文本框(&T)", 0},
    {MENU_FORMAT, 390, MENU_NONE, u"单元格(&E)...\tCtrl+1", NEEDS_BOOK | NOT_EDITING | NEEDS_UNLOCKED},
    {MENU_FORMAT, 0, MENU_ROW, u"行(&R)", FREE_GRID},
    {MENU_FORMAT, 0, MENU_COLUMN, u"列(&C)", FREE_GRID},
    {MENU_FORMAT, 0, MENU_SHEET, u"工作表(&S)", NEEDS_BOOK | NOT_EDITING},
    {MENU_FORMAT, 0, MENU_VIEW, u"视图(&V)", NEEDS_BOOK | NOT_EDITING},
    {MENU_FORMAT, 422, MENU_NONE, u"设置条件格式(&O)...", FREE_GRID},
    {MENU_FORMAT, 0, MENU_NONE, u"", 0},
    {MENU_FORMAT, 423, MENU_NONE, u"冻结拆分窗口(&F)", NEEDS_GRID | NOT_EDITING},
    {MENU_FORMAT, 421, MENU_NONE, u"全屏显示(&U)", 0},
    {MENU_FORMAT, 0, MENU_NONE, u"", 0},
    {MENU_FORMAT, 0, MENU_DATA, u"数据(&D)", NEEDS_GRID | NEEDS_WORKSHEET | NOT_EDITING},
    {MENU_ROW, 391, MENU_NONE, u"行高(&E)...", 0},
    {MENU_ROW, 392, MENU_NONE, u"最适合的行高(&A)", 0},
    {MENU_ROW, 393, MENU_NONE, u"隐藏(&H)", 0},
    {MENU_ROW, 394, MENU_NONE, u"取消隐藏(&U)", 0},
    {MENU_COLUMN, 395, MENU_NONE, u"列宽(&W)...", 0},
    {MENU_COLUMN, 396, MENU_NONE, u"最适合的列宽(&A)", 0},
    {MENU_COLUMN, 397, MENU_NONE, u"隐藏(&H)", 0},
    {MENU_COLUMN, 398, MENU_NONE, u"取消隐藏(&U)", 0},
    {MENU_COLUMN, 399, MENU_NONE, u"标准列宽(&S)...", 0},
    {MENU_SHEET, 400, MENU_NONE, u"重命名(&R)...", 0},
    {MENU_SHEET, 401, MENU_NONE, u"隐藏(&H)", NEEDS_BOOK | OTHER_SHEET},
    {MENU_SHEET, 402, MENU_NONE, u"取消隐藏(&U)...", NEEDS_BOOK | HIDDEN_SHEET},
    {MENU_SHEET, 403, MENU_NONE, u"网格线(&G)", NEEDS_SHEET},
    {MENU_SHEET, 404, MENU_NONE, u"行号列标(&E)", NEEDS_SHEET},
    {MENU_SHEET, 0, MENU_ZOOM, u"缩放(&Z)", NEEDS_SHEET},
    {MENU_SHEET, 411, MENU_NONE, u"保护(&P)...", NEEDS_SHEET},
    {MENU_SHEET, 412, MENU_NONE, u"公式(&F)", NEEDS_SHEET},
    {MENU_SHEET, 413, MENU_NONE, u"工作表标签颜色(&T)...", 0},
    {MENU_ZOOM, 405, MENU_NONE, u"&200%", 0},
    {MENU_ZOOM, 406, MENU_NONE, u"1&50%", 0},
    {MENU_ZOOM, 407, MENU_NONE, u"&100%", 0},
    {MENU_ZOOM, 408, MENU_NONE, u"&75%", 0},
    {MENU_ZOOM, 409, MENU_NONE, u"恰好容纳选定区域(&F)", 0},
    {MENU_ZOOM, 410, MENU_NONE, u"自定义(&C)...", 0},
    {MENU_VIEW, 0, MENU_VIEW_FILE, u"文件(&I)", 0},
    {MENU_VIEW, 0, MENU_TOOLBARS, u"工具栏(&T)", 0},
    {MENU_VIEW, 419, MENU_NONE, u"编辑栏(&F)", 0},
    {MENU_VIEW, 420, MENU_NONE, u"状态栏(&S)", 0},
    {MENU_VIEW_FILE, 414, MENU_NONE, u"垂直滚动条(&V)", 0},
    {MENU_VIEW_FILE, 415, MENU_NONE, u"水平滚动条(&H)", 0},
    {MENU_VIEW_FILE, 416, MENU_NONE, u"工作表标签(&S)", 0},
    {MENU_TOOLBARS, 417, MENU_NONE, u"标准(&S)", 0},
    {MENU_TOOLBARS, 418, MENU_NONE, u"格式(&F)", 0},
    {MENU_TOOLBARS, 438, MENU_NONE, u"入口(&E)", 0},
    {MENU_DATA, 424, MENU_NONE, u"排序(&S)...", FREE_CELLS},
    {MENU_DATA, 0, MENU_FILTER, u"筛选(&F)", FREE_CELLS},
    {MENU_DATA, 428, MENU_NONE, u"记录单(&O)...", FREE_CELLS},
    {MENU_DATA, 429, MENU_NONE, u"有效性(&V)...", FREE_CELLS},
    {MENU_DATA, 430, MENU_NONE, u"列中的文本(&E)...", FREE_CELLS},
    {MENU_DATA, 431, MENU_NONE, u"单变量求解(&G)...", 0},
    {MENU_FILTER, 425, MENU_NONE, u"自动筛选(&F)", 0},
    {MENU_FILTER, 426, MENU_NONE, u"全部显示(&S)", 0},
    {MENU_FILTER, 427, MENU_NONE, u"高级筛选(&A)...", 0},
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

// The labels that follow what is selected.
WideView LabelOf(const MenuRow& row) {
    const bool wholeLines = RulesThatHold(NOT_ROWS | NOT_COLUMNS) != (NOT_ROWS | NOT_COLUMNS);
    const Sheet* sheet = CurrentSheet();
    switch (row.command) {
        case 144: return wholeLines ? u"删除(&D)" : row.text;
        case 160: return wholeLines ? u"单元格(&E)" : row.text;
        case 411:
            if (!sheet || !(sheet->viewFlags & VIEW_PROTECTED)) return row.text;
            return sheet->passwordHash ? u"撤消保护(&P)..." : u"撤消保护(&P)";
        case 423: return sheet && (sheet->viewFlags & VIEW_FROZEN) ? WideView(u"撤消窗口冻结(&F)") : row.text;
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
    for (const MenuRow& row : menuRows)
        if (row.menu == popup && !row.text.empty() && HasWhatItNeeds(row)) return true;
    return false;
}

bool IsEnabled(const MenuRow& row) {
    if (row.popup != MENU_NONE || row.text.empty())
        return row.menu == MENU_BAR || row.text.empty() || MayOpen(row.popup);
    return HasWhatItNeeds(row) && CommandEnabled(row.command);
}

}  // namespace

bool BuildMenu(MenuId menu, Array<MenuItem>& items) {
    items.Truncate(0);
    if (menu == MENU_RECENT) return RecentItems(items);
    if (menu == MENU_WINDOWS) return WindowItems(items);
    for (const MenuRow& row : menuRows) {
        if (row.menu != menu) continue;
        if (!AddMenuItem(items, row.command, LabelOf(row), IsEnabled(row), IsChecked(row.command)))
            return false;
        items.Last().popup = row.popup;
        if (row.command == 130 && !AppendUndoLabel(items.Last().text)) return false;
    }
    return true;
}

bool GridMenu(Array<MenuItem>& items) {
    items.Truncate(0);
    const bool rows = !RulesThatHold(NOT_ROWS), columns = !RulesThatHold(NOT_COLUMNS),
               plain = !rows && !columns;
    struct GridRow {
        i32 command;
        WideView text;
    };
    const GridRow fixed[] = {
        {131, u"剪切(&T)"},
        {132, u"复制(&C)"},
        {133, u"粘贴(&P)"},
        {134, u"选择性粘贴(&S)..."},
        {0, u""},
        {rows      ? 161
         : columns ? 162
                   : 160,
         plain ? u"插入(&I)..." : u"插入(&I)"},
        {144, plain ? u"删除(&D)..." : u"删除(&D)"},
        {142, u"清除内容(&A)"},
        {0, u""},
        {390, u"单元格格式(&O)..."},
        {rows ? 391 : 395, rows ? u"设置行高(&E)..." : u"设置列宽(&W)..."},
        {rows ? 393 : 397, u"隐藏(&H)"},
        {rows ? 394 : 398, u"取消隐藏(&U)"},
    };
    // The last three belong to whole rows and whole columns.
    const std::span all(fixed);
    for (const GridRow& row : rows == columns ? all.first(all.size() - 3) : all) {
        // Of a whole sheet nothing is left to make room beside.
        const bool shaped = !(rows && columns) || row.command != 144;
        const bool enabled = row.text.empty() || (shaped && CommandEnabled(row.command));
        if (!AddMenuItem(items, row.command, row.text, enabled, false)) return false;
    }
    return true;
}

}  // namespace tally
