// What the menus offer and mark, state by state.

#include <algorithm>
#include <functional>
#include <iterator>
#include <vector>

#include "editing/Undo.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Tables.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class MenuStatesTest : public ShellSandbox {
  protected:
    static std::string NameOf(const MenuItem& item) {
        if (item.command) return std::to_string(item.command);
        const char* names[MENU_COUNT] = {};
        names[MENU_RECENT] = "Recent";
        names[MENU_WINDOWS] = "Windows";
        names[MENU_FILL] = "Fill";
        names[MENU_CLEAR] = "Clear";
        names[MENU_CHART] = "Chart";
        names[MENU_NAME] = "Name";
        names[MENU_CONTROLS] = "Controls";
        names[MENU_DRAWING] = "Drawing";
        names[MENU_SHAPES] = "Shapes";
        for (i32 i = MENU_SHAPE_FIRST; i <= MENU_SHAPE_LAST; ++i) names[i] = "Palette";
        names[MENU_ROW] = "Row";
        names[MENU_COLUMN] = "Column";
        names[MENU_SHEET] = "Sheet";
        names[MENU_ZOOM] = "Zoom";
        names[MENU_VIEW] = "View";
        names[MENU_VIEW_FILE] = "ViewFile";
        names[MENU_TOOLBARS] = "Toolbars";
        names[MENU_DATA] = "Data";
        names[MENU_FILTER] = "Filter";
        return names[item.popup] ? names[item.popup] : "Bar";
    }
    // Items for which a command works or a popup stands, and that are grey all the same.
    static std::string Grey() {
        std::string all;
        bool opens[MENU_COUNT] = {true};
        for (i32 menu = MENU_BAR; menu < MENU_COUNT; ++menu) {
            Array<MenuItem> items;
            EXPECT_TRUE(FrameCallsInUse().menuItems(static_cast<MenuId>(menu), items));
            for (const MenuItem& item : items) {
                if (item.popup != MENU_NONE) opens[item.popup] = item.enabled && opens[menu];
                if (!opens[menu]) continue;
                if (item.text.IsEmpty() || item.enabled || (item.command && !FindCommand(item.command)))
                    continue;
                all += (all.empty() ? "" : " ") + NameOf(item);
            }
        }
        return all;
    }
    static std::string Label(MenuId menu, i32 command) {
        Array<MenuItem> items;
        EXPECT_TRUE(FrameCallsInUse().menuItems(menu, items));
        for (const MenuItem& item : items)
            if (item.command == command) return Narrow(item.text);
        return "none";
    }
    // The menu of the right button, as commands; a grey one in parentheses.
    static std::string OfTheGrid() {
        Array<MenuItem> items;
        EXPECT_TRUE(GridMenu(items));
        std::string all;
        for (const MenuItem& item : items) {
            const std::string name = item.text.IsEmpty() ? "-" : std::to_string(item.command);
            all += (all.empty() ? "" : " ") + (item.enabled ? name : "(" + name + ")");
        }
        return all;
    }
    static void SelectRows(u16 first, u16 last) { SelectArea({first, last, 0, 255}, true, first, 0, false); }
    static void SelectColumns(u8 first, u8 last) { SelectArea({0, 65535, first, last}, true, 0, first, false); }
};

TEST_F(MenuStatesTest, WhatIsGreyInEachState) {
    struct Case {
        const char* state;
        std::function<void()> make;
        const char* grey;
    };
    const Case cases[] = {
        {"a new book", [] {}, "130 133 134 145 401 402"},
        {"no book", [] { PickCommand(112); },
         "112 113 114 Windows 130 131 132 133 134 Fill 144 145 146 149 141 142 160 161 162 163 Chart 166 167 "
         "Name Controls Drawing 330 390 Row Column Sheet View 422 423 Data"},
        {"something to undo",
         [] {
             TypeText(u"1");
             PressKey(VK_RETURN);
         },
         "133 134 145 401 402"},
        {"typing", [] { TypeText(u"1"); },
         "110 111 Recent 130 133 134 Fill 144 145 146 149 141 142 160 161 162 163 Chart 166 167 Name Controls "
         "Drawing 330 390 Row Column Sheet View 422 423 Data"},
        {"a text on the clipboard",
         [] {
             const WideView text = u"x";
             CopyElsewhere(&text);
         },
         "130 145 401 402"},
        {"typing with a text on the clipboard",
         [] {
             const WideView text = u"x";
             CopyElsewhere(&text);
             TypeText(u"1");
         },
         "110 111 Recent 130 134 Fill 144 145 146 149 141 142 160 161 162 163 Chart 166 167 Name Controls "
         "Drawing 330 390 Row Column Sheet View 422 423 Data"},
        {"a protected sheet", [] { CurrentSheet()->viewFlags |= VIEW_PROTECTED; },
         "130 133 134 Fill 144 145 160 161 162 Controls Drawing 330 390 Row Column 422 401 402 Filter 429"},
        {"whole rows", [] { SelectRows(2, 4); }, "130 133 134 145 162 401 402"},
        {"whole columns", [] { SelectColumns(2, 4); }, "130 133 134 145 161 401 402"},
        {"the whole sheet",
         [] {
             SelectArea({0, 65535, 0, 255}, true, 0, 0, false);
         },
         "130 133 134 145 161 162 401 402"},
        {"two sheets", [] { PickCommand(163); }, "133 134 402"},
        {"a worksheet and a macro sheet, which is shown", [] { PickCommand(166); },
         "133 134 Controls Drawing 330 Data 402"},
        {"one of two sheets hidden",
         [] {
             PickCommand(163);
             PickCommand(401);
         },
         "133 134 145 401"},
        {"a module beside the sheet",
         [] {
             ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MODULE, false, false));
             CurrentWorkbook()->sheets[1]->hidden = 1;
             SelectSheet(0);
         },
         "130 133 134 145 401 402"},
        {"a chart sheet",
         [] {
             ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, true, false));
             SelectSheet(1);
         },
         "131 132 133 134 Fill 144 149 141 142 160 161 162 167 Name Controls Drawing 330 390 Row Column 422 "
         "423 "
         "Data 402 403 404 Zoom 411 412"},
        {"an object selected", [] { CurrentSheet()->selectedObject = 0; },
         "130 131 132 133 134 Fill 144 145 141 142 160 161 162 167 Name 390 Row Column 422 423 Data 401 402"},
        {"an object selected on a macro sheet",
         [] {
             PickCommand(166);
             CurrentSheet()->selectedObject = 0;
         },
         "133 134 Controls Drawing 330 Data 402"},
        {"a filter", [] { CurrentSheet()->filterState = FILTER_AUTO; }, "130 133 134 144 145 160 401 402"},
        {"a filter and whole rows",
         [] {
             CurrentSheet()->filterState = FILTER_AUTO;
             SelectRows(2, 4);
         },
         "130 133 134 145 162 401 402"},
    };
    for (const Case& row : cases) {
        TearDown();
        SetUp();
        row.make();
        EXPECT_EQ(Grey(), row.grey) << row.state;
    }
}

TEST_F(MenuStatesTest, TheMenuOfTheRightButtonFollowsTheSelection) {
    const auto shown = [](void (*select)()) {
        select();
        return OfTheGrid();
    };
    const auto cell = [] { SelectCell(3, 3, false); };
    const auto rows = [] { SelectRows(2, 4); };
    const auto columns = [] { SelectColumns(2, 4); };
    const auto all = [] { SelectArea({0, 65535, 0, 255}, true, 0, 0, false); };
    EXPECT_EQ(shown(cell), "131 132 (133) (134) - 160 144 142 - 390");
    EXPECT_EQ(shown(rows), "131 132 (133) (134) - 161 144 142 - 390 391 393 394");
    EXPECT_EQ(shown(columns), "131 132 (133) (134) - 162 144 142 - 390 395 397 398");
    EXPECT_EQ(shown(all), "131 132 (133) (134) - (161) (144) 142 - 390");
    const WideView text = u"x";
    CopyElsewhere(&text);
    EXPECT_EQ(shown(cell), "131 132 133 134 - 160 144 142 - 390");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_EQ(shown(cell), "131 132 133 134 - (160) (144) 142 - (390)");
    EXPECT_EQ(shown(rows), "131 132 133 134 - (161) (144) 142 - (390) (391) (393) (394)");
}

TEST_F(MenuStatesTest, LabelsFollowTheState) {
    EXPECT_EQ(Label(MENU_EDIT, 144), "删除(&D)...");
    EXPECT_EQ(Label(MENU_INSERT, 160), "单元格(&E)...");
    for (const auto select : {+[] { SelectRows(2, 4); }, +[] { SelectColumns(2, 4); }}) {
        select();
        EXPECT_EQ(Label(MENU_EDIT, 144), "删除(&D)");
        EXPECT_EQ(Label(MENU_INSERT, 160), "单元格(&E)");
    }
    EXPECT_EQ(Label(MENU_FORMAT, 423), "冻结拆分窗口(&F)");
    Select("B3");
    PickCommand(423);
    EXPECT_EQ(Label(MENU_FORMAT, 423), "撤消窗口冻结(&F)");
    EXPECT_EQ(Label(MENU_SHEET, 411), "保护(&P)...");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_EQ(Label(MENU_SHEET, 411), "撤消保护(&P)");
    CurrentSheet()->passwordHash = 1;
    EXPECT_EQ(Label(MENU_SHEET, 411), "撤消保护(&P)...");
}

// What would be formatted is named in both menus: cells, or the object that is selected.
TEST_F(MenuStatesTest, WhatIsFormattedIsNamedByWhatIsSelected) {
    const auto names = [] {
        Array<MenuItem> items;
        EXPECT_TRUE(GridMenu(items));
        for (const MenuItem& item : items)
            if (item.command == 390) return Label(MENU_FORMAT, 390) + " | " + Narrow(item.text);
        return std::string("none");
    };
    EXPECT_EQ(names(), "单元格(&E)...\tCtrl+1 | 单元格格式(&O)...");
    struct Case {
        u16 kind;
        const char* names;
    };
    for (const Case& row :
         {Case{5, "图表(&C)... | 图表格式(&O)..."}, Case{8, "图片(&T)... | 图片格式(&O)..."},
          Case{7, "控制(&O)... | 控制格式(&O)..."}, Case{11, "控制(&O)... | 控制格式(&O)..."},
          Case{20, "控制(&O)... | 控制格式(&O)..."}, Case{1, "绘图对象(&D)... | 绘图对象格式(&O)..."},
          Case{9, "绘图对象(&D)... | 绘图对象格式(&O)..."},
          Case{30, "绘图对象(&D)... | 绘图对象格式(&O)..."}}) {
        CurrentSheet()->objects.Clear();
        ASSERT_TRUE(CurrentSheet()->objects.Append({row.kind, 1}));
        CurrentSheet()->selectedObject = 0;
        EXPECT_EQ(names(), row.names) << row.kind;
    }
    // A macro sheet shows its cells' form whatever is selected, and nothing is without a book.
    PickCommand(166);
    CurrentSheet()->selectedObject = 0;
    EXPECT_EQ(names(), "单元格(&E)...\tCtrl+1 | 单元格格式(&O)...");
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_CHART, true, false));
    SelectSheet(2);
    EXPECT_EQ(names(), "图表(&C)... | 图表格式(&O)...");
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    PickCommand(112);
    EXPECT_EQ(Label(MENU_FORMAT, 390), "单元格(&E)...\tCtrl+1");
}

// The numbers of the shapes run along the rows of a palette, its items down the columns.
TEST_F(MenuStatesTest, ThePalettesOfShapesHaveTheirPlacesAndNumbers) {
    Array<MenuItem> items;
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_DRAWING, items));
    ASSERT_EQ(items.Count(), 5u);
    EXPECT_EQ(items[4].popup, MENU_SHAPES);
    EXPECT_EQ(Narrow(items[4].text), "自选图形(&U)");
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_SHAPES, items));
    struct Case {
        const char* name;
        u32 items;
        i32 perColumn;
        const char* commands;  // of the first column and the first of the second
    };
    const Case cases[] = {
        {"坐标轴(&L)", 6, 2, "185 188 186"},
        {"连接符(&N)", 9, 3, "191 194 197 192"},
        {"形状(&B)", 32, 8, "200 204 208 212 216 220 224 228 201"},
        {"箭头(&A)", 28, 7, "232 236 240 244 248 252 256 233"},
        {"流程图(&F)", 28, 7, "260 264 268 272 276 280 284 261"},
        {"横幅(&S)", 16, 4, "288 292 296 300 289"},
        {"标注(&C)", 20, 5, "304 308 312 316 320 305"},
    };
    ASSERT_EQ(items.Count(), std::size(cases));
    std::vector<i32> all;
    for (u32 i = 0; i < items.Count(); ++i) {
        const Case& row = cases[i];
        EXPECT_EQ(Narrow(items[i].text), row.name);
        EXPECT_TRUE(items[i].enabled);
        Array<MenuItem> shapes;
        ASSERT_TRUE(FrameCallsInUse().menuItems(items[i].popup, shapes));
        ASSERT_EQ(shapes.Count(), row.items);
        std::string commands;
        for (u32 n = 0; n < shapes.Count(); ++n) {
            const MenuItem& shape = shapes[n];
            if (static_cast<i32>(n) <= row.perColumn)
                commands += (n ? " " : "") + std::to_string(shape.command);
            EXPECT_EQ(shape.newColumn, n && static_cast<i32>(n) % row.perColumn == 0) << n;
            EXPECT_EQ(shape.paintedWidth, 22);
            EXPECT_EQ(shape.paintedHeight, 22);
            EXPECT_FALSE(shape.text.IsEmpty());
            EXPECT_FALSE(shape.enabled);  // nothing can be drawn yet
            all.push_back(shape.command);
        }
        EXPECT_EQ(commands, row.commands);
    }
    std::sort(all.begin(), all.end());
    for (std::size_t i = 0; i < all.size(); ++i) EXPECT_EQ(all[i], 185 + static_cast<i32>(i));
    EXPECT_EQ(all.size(), 139u);
    // They open where a shape could be placed.
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_SHAPES, items));
    for (const MenuItem& item : items) EXPECT_FALSE(item.enabled);
}

TEST_F(MenuStatesTest, ACellOfAPaletteHasAFrameUnderThePointer) {
    Array<MenuItem> shapes;
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_SHAPE_FIRST, shapes));
    EXPECT_EQ(ShellPlatform().trackPopup(shapes, 0, 0), 0);
    const auto fills = [] {
        int count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing) count += record.kind == DRAW_FILL;
        return count;
    };
    PaintPopupItem(1, ITEM_GREY);
    EXPECT_EQ(fills(), 1);
    EXPECT_EQ(CountDrawn("4"), 1);
    const u32 plain = FindDrawn("4")->colour;
    PaintPopupItem(1, ITEM_SELECTED);
    EXPECT_EQ(fills(), 5);
    EXPECT_NE(FindDrawn("4")->colour, plain);
}

TEST_F(MenuStatesTest, RecentFilesAndOpenBooksAreListedByName) {
    for (const char16_t* path : {u"/b/second.csv", u"/a/R&D.csv"}) AddRecentFile(path);
    EXPECT_EQ(Label(MENU_RECENT, 118), "R&&D.csv");
    EXPECT_EQ(Label(MENU_RECENT, 119), "second.csv");
    for (int i = 0; i < 10; ++i) PickCommand(110);
    BookAt(1)->hiddenLink = 1;
    SelectBook(3);
    Array<MenuItem> items;
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_WINDOWS, items));
    ASSERT_EQ(items.Count(), 10u);
    EXPECT_EQ(Narrow(items[0].text), "&1 Book1");
    EXPECT_EQ(Narrow(items[1].text), "&2 Book3");
    EXPECT_EQ(Narrow(items[8].text), "&9 Book10");
    EXPECT_EQ(Narrow(items[9].text), "Book11");
    for (u32 i = 0; i < items.Count(); ++i) EXPECT_EQ(items[i].checked, i == 2) << i;
    // Each item shows its book.
    PickCommand(items[1].command);
    EXPECT_EQ(CurrentBook(), 2);
    PickCommand(items[0].command);
    EXPECT_EQ(CurrentBook(), 0);
    TypeText(u"=1+");
    PickCommand(items[1].command);
    EXPECT_EQ(CurrentBook(), 0);  // what is typed cannot be stored
    EXPECT_TRUE(IsEditing());
}

TEST_F(MenuStatesTest, KeysOfTheMenuBar) {
    struct Case {
        u32 key, modifiers;
        i32 command;
    };
    const Case cases[] = {
        {'C', KEY_CTRL, 132},
        {'D', KEY_CTRL, 135},
        {'F', KEY_CTRL, 147},
        {'G', KEY_CTRL, 149},
        {'H', KEY_CTRL, 148},
        {'K', KEY_CTRL, 330},
        {'N', KEY_CTRL, 110},
        {'O', KEY_CTRL, 111},
        {'P', KEY_CTRL, 117},
        {'R', KEY_CTRL, 136},
        {'S', KEY_CTRL, 113},
        {'V', KEY_CTRL, 133},
        {'X', KEY_CTRL, 131},
        {'Z', KEY_CTRL, 130},
        {'1', KEY_CTRL, 390},
        {VK_INSERT, KEY_CTRL, 132},
        {VK_INSERT, KEY_SHIFT, 133},
        {VK_OEM_PLUS, KEY_ALT, 389},
        {VK_OEM_1, KEY_CTRL, 170},
        {VK_OEM_COMMA, KEY_CTRL, 170},
        {VK_OEM_1, KEY_CTRL | KEY_SHIFT, 171},
        {VK_PRIOR, KEY_ALT, 444},
        {VK_NEXT, KEY_ALT, 445},
        {VK_OEM_PERIOD, KEY_CTRL, 171},
        {VK_PRIOR, KEY_ALT | KEY_SHIFT, 444},
        {VK_NEXT, KEY_ALT | KEY_SHIFT, 445},
    };
    for (const Case& row : cases) {
        i32 found = 0;
        for (const Accelerator& key : AcceleratorTable())
            if (key.key == row.key && key.modifiers == row.modifiers) found = key.command;
        EXPECT_EQ(found, row.command) << row.key << ' ' << row.modifiers;
    }
    // A key with other modifiers is no such key.
    EXPECT_FALSE(FrameCallsInUse().translateAccelerator('N', KEY_CTRL | KEY_SHIFT));
    EXPECT_FALSE(FrameCallsInUse().translateAccelerator('N', 0));
    EXPECT_TRUE(FrameCallsInUse().translateAccelerator('N', KEY_CTRL));
    EXPECT_EQ(Books().books.Count(), 2u);
}

}  // namespace
}  // namespace tally
