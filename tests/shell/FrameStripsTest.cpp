// What stands around the cells: headers, tabs, the status line, the strips, and what the menus do with them.

#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

// The frame measures 800 by 600; a line of its font is 16 high, a digit 7 wide.
class FrameStripsTest : public ShellSandbox {
  protected:
    static constexpr u32 FACE = 0xF0F0F0, SHADE = 0xD8D8D8, EDGE = 0x808080, WHITE = 0xFFFFFF;

    static const Layout& Lay() { return Shell().layout; }
    static bool HasFill(const PixelRect& rect, u32 colour) {
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_FILL && record.rect == rect && record.colour == colour) return true;
        return false;
    }
    static bool HasLine(const PixelRect& ends, u32 colour) {
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_LINE && record.rect == ends && record.colour == colour) return true;
        return false;
    }
    // A text in the middle of a rectangle.
    static bool HasCentred(std::string_view text, const PixelRect& rect) {
        for (const DrawRecord& record : HeadlessFrame().drawing) {
            if (record.kind != DRAW_TEXT || Narrow(record.text) != text) continue;
            const i32 width = record.rect.right - record.rect.left,
                      height = record.rect.bottom - record.rect.top;
            if (record.rect.left == rect.left + (rect.right - rect.left - width) / 2 &&
                record.rect.top == rect.top + (rect.bottom - rect.top - height) / 2)
                return true;
        }
        return false;
    }
    static PixelRect ColumnHeader(u32 i) {
        return {Lay().columns[i].start, Lay().grid.top, Lay().columns[i].end, Lay().cells.top};
    }
    static PixelRect RowHeader(u32 i) {
        return {Lay().grid.left, Lay().rows[i].start, Lay().cells.left, Lay().rows[i].end};
    }
    static bool IsChecked(MenuId menu, i32 command) {
        Array<MenuItem> items;
        EXPECT_TRUE(FrameCallsInUse().menuItems(menu, items));
        for (const MenuItem& item : items)
            if (item.command == command) return item.checked;
        ADD_FAILURE() << "no item " << command;
        return false;
    }
    static void Resize(i32 width, i32 height) {
        HeadlessFrame().width = width;
        HeadlessFrame().height = height;
        ShellMessage message;
        message.message = WM_SIZE;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static void Scroll(bool vertical, i32 code, i32 position = 0) {
        ShellMessage message;
        message.message = vertical ? WM_VSCROLL : WM_HSCROLL;
        message.scrollCode = code;
        message.scrollPosition = position;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
};

TEST_F(FrameStripsTest, HeadersNameTheirLinesAndShadeTheSelectedOnes) {
    SelectArea({1, 2, 1, 3}, true, 1, 1, false);
    PaintHeadless();
    const char* letters[] = {"A", "B", "C", "D", "E"};
    for (u32 i = 0; i < 5; ++i) {
        EXPECT_TRUE(HasCentred(letters[i], ColumnHeader(i))) << i;
        EXPECT_TRUE(HasFill(ColumnHeader(i), i >= 1 && i <= 3 ? SHADE : FACE)) << i;
        EXPECT_FALSE(HasFill(ColumnHeader(i), i >= 1 && i <= 3 ? FACE : SHADE)) << i;
        EXPECT_TRUE(HasCentred(std::to_string(i + 1), RowHeader(i))) << i;
        EXPECT_TRUE(HasFill(RowHeader(i), i >= 1 && i <= 2 ? SHADE : FACE)) << i;
        EXPECT_FALSE(HasFill(RowHeader(i), i >= 1 && i <= 2 ? FACE : SHADE)) << i;
        for (const PixelRect& rect : {ColumnHeader(i), RowHeader(i)}) {
            EXPECT_TRUE(HasLine({rect.left, rect.bottom - 1, rect.right, rect.bottom - 1}, EDGE));
            EXPECT_TRUE(HasLine({rect.right - 1, rect.top, rect.right - 1, rect.bottom - 1}, EDGE));
        }
    }
    EXPECT_TRUE(HasFill({Lay().grid.left, Lay().grid.top, Lay().cells.left, Lay().cells.top}, FACE));
    // What the frame cuts off is not painted beyond it.
    const ShownLine &right = Lay().columns.Last(), &low = Lay().rows.Last();
    EXPECT_TRUE(
        HasFill({right.start, Lay().grid.top, std::min(right.end, Lay().grid.right), Lay().cells.top}, FACE));
    EXPECT_TRUE(
        HasFill({Lay().grid.left, low.start, Lay().cells.left, std::min(low.end, Lay().grid.bottom)}, FACE));
    for (const DrawRecord& record : HeadlessFrame().drawing)
        if (record.kind == DRAW_TEXT && Narrow(record.text) == "A") EXPECT_EQ(record.font, 0);
}

TEST_F(FrameStripsTest, HeadersOfAScaledSheetAreScaled) {
    EXPECT_EQ(Lay().headerHeight, 17);
    EXPECT_EQ(Lay().headerWidth, 3 * 7 + 3);
    CurrentSheet()->zoomPercent = 200;
    RefreshChrome();
    PaintHeadless();
    EXPECT_EQ(Lay().headerHeight, 33);
    EXPECT_EQ(Lay().headerWidth, 3 * 14 + 3);
    const DrawRecord* letter = FindDrawn("A");
    ASSERT_NE(letter, nullptr);
    ASSERT_GT(letter->font, 0);
    const HeadlessFont& font = HeadlessFontList()[static_cast<u32>(letter->font) - 1];
    EXPECT_EQ(font.pixelHeight, 26);
    EXPECT_EQ(Narrow(WideView(font.faceName)), "Arial");
}

TEST_F(FrameStripsTest, RowHeadersHaveRoomForTheirNumbers) {
    struct Case {
        i32 last;  // number of the last shown row
        i32 digits;
    };
    const i32 shown = CurrentSheet()->view.lastVisibleRow;
    for (const Case& row : {Case{999, 3}, {1000, 4}, {9999, 4}, {10000, 5}, {65000, 5}}) {
        ScrollTo(row.last - 1 - shown, 0);
        ASSERT_EQ(CurrentSheet()->view.lastVisibleRow, row.last - 1);
        EXPECT_EQ(Lay().headerWidth, row.digits * 7 + 3) << row.last;
    }
}

TEST_F(FrameStripsTest, WhatLiesBehindTheLastLineIsBare) {
    ScrollTo(65530, 252);
    PaintHeadless();
    const i32 right = Lay().columns.Last().end, bottom = Lay().rows.Last().end;
    ASSERT_LT(right, Lay().grid.right);
    ASSERT_LT(bottom, Lay().grid.bottom);
    EXPECT_EQ(Lay().columns.Last().index, 255);
    EXPECT_EQ(Lay().rows.Last().index, 65535);
    EXPECT_TRUE(HasFill({right, Lay().grid.top, Lay().grid.right, Lay().grid.bottom}, SHADE));
    EXPECT_TRUE(HasFill({Lay().grid.left, bottom, Lay().grid.right, Lay().grid.bottom}, SHADE));
    ScrollTo(0, 0);
    PaintHeadless();
    for (const DrawRecord& record : HeadlessFrame().drawing)
        if (record.kind == DRAW_FILL && record.colour == SHADE)
            EXPECT_FALSE(record.rect.right == Lay().grid.right && record.rect.bottom == Lay().grid.bottom);
}

TEST_F(FrameStripsTest, TabsBearTheNamesColoursAndTheCurrentSheet) {
    PickCommand(163);
    PickCommand(163);
    PickCommand(163);
    CurrentWorkbook()->sheets[0]->tabColour = 10;
    CurrentWorkbook()->sheets[1]->hidden = 1;
    SelectSheet(2);
    PaintHeadless();
    Array<SheetTab> tabs;
    ASSERT_TRUE(ShownTabs(tabs));
    ASSERT_EQ(tabs.Count(), 3u);
    i32 place = Lay().tabs.left;
    EXPECT_EQ(place, Lay().tabScroller.right);
    for (const SheetTab& tab : tabs) {
        const std::string name = Narrow(WideView(CurrentWorkbook()->sheets[static_cast<u32>(tab.sheet)]->name));
        EXPECT_EQ(tab.left, place);
        EXPECT_EQ(tab.right, place + static_cast<i32>(name.size()) * 7 + 16);
        place = tab.right;
        const PixelRect rect{tab.left, Lay().tabs.top, tab.right, Lay().tabs.bottom};
        EXPECT_TRUE(HasCentred(name, rect)) << name;
        EXPECT_TRUE(HasFill(rect, tab.sheet == 2 ? WHITE : FACE)) << name;
        EXPECT_EQ(HasFill({rect.left, rect.bottom - 3, rect.right, rect.bottom}, 0x0000FF), tab.sheet == 0);
        EXPECT_TRUE(HasLine({rect.right - 1, rect.top, rect.right - 1, rect.bottom}, EDGE));
    }
    // A tab that the strip cuts stands as if it went on behind its end.
    const SheetTab last = tabs.Last();
    Shell().layout.tabs.right = last.left + 9;
    PaintHeadless();
    const PixelRect cut{last.left, Lay().tabs.top, last.right, Lay().tabs.bottom};
    const std::string name = Narrow(WideView(CurrentWorkbook()->sheets[static_cast<u32>(last.sheet)]->name));
    EXPECT_TRUE(HasFill(cut, last.sheet == 2 ? WHITE : FACE));
    EXPECT_TRUE(HasCentred(name, cut));
    EXPECT_EQ(FindDrawn(name)->clip, (PixelRect{cut.left, cut.top, cut.left + 9, cut.bottom}));
    RefreshChrome();
    PaintHeadless();
    EXPECT_TRUE(HasFill(Lay().tabScroller, FACE));
    EXPECT_TRUE(HasFill(Lay().tabs, SHADE));
    EXPECT_TRUE(HasCentred("◂", {Lay().tabScroller.left, Lay().tabs.top, 17, Lay().tabs.bottom}));
    EXPECT_TRUE(HasCentred("▸", {17, Lay().tabs.top, 34, Lay().tabs.bottom}));
}

TEST_F(FrameStripsTest, TheArrowsBesideTheTabsPassThemAndTheCurrentOneIsBroughtIntoView) {
    for (int i = 0; i < 12; ++i) PickCommand(163);
    const auto first = [] {
        Array<SheetTab> tabs;
        EXPECT_TRUE(ShownTabs(tabs));
        return tabs.IsEmpty() ? -1 : tabs[0].sheet;
    };
    const auto currentIsWhole = [] {
        Array<SheetTab> tabs;
        EXPECT_TRUE(ShownTabs(tabs));
        for (const SheetTab& tab : tabs)
            if (tab.sheet == CurrentWorkbook()->currentSheet) return tab.right <= Shell().layout.tabs.right;
        return false;
    };
    EXPECT_TRUE(currentIsWhole());
    const i32 scrolled = first();
    EXPECT_GT(scrolled, 0);
    // No farther than it must.
    Shell().firstTab = scrolled - 1;
    EXPECT_FALSE(currentIsWhole());
    Shell().firstTab = scrolled;
    const i32 y = Lay().tabs.top + 3;
    ClickMouse(4, y);
    EXPECT_EQ(first(), scrolled - 1);
    ClickMouse(30, y);
    EXPECT_EQ(first(), scrolled);
    CurrentWorkbook()->sheets[static_cast<u32>(scrolled) + 1]->hidden = 1;
    ClickMouse(30, y);
    EXPECT_EQ(first(), scrolled + 2);
    ClickMouse(4, y);
    EXPECT_EQ(first(), scrolled);
    for (int i = 0; i < 20; ++i) ClickMouse(4, y);
    EXPECT_EQ(first(), 0);
    for (int i = 0; i < 20; ++i) ClickMouse(30, y);
    EXPECT_EQ(first(), 12);
    SelectSheet(1);
    EXPECT_EQ(first(), 1);
    SelectSheet(0);
    EXPECT_EQ(first(), 0);
    SelectSheet(12);
    EXPECT_TRUE(currentIsWhole());
}

TEST_F(FrameStripsTest, TheStatusLineHasThreeParts) {
    Enter("A1", "1");
    Enter("A2", "2");
    SelectArea({0, 1, 0, 0}, true, 0, 0, false);
    PressKey(VK_END);
    PaintHeadless();
    const PixelRect& bar = Lay().statusBar;
    EXPECT_EQ(bar, (PixelRect{0, 600 - 22, 800, 600}));
    EXPECT_TRUE(HasFill(bar, FACE));
    EXPECT_TRUE(HasLine({0, bar.top, 800, bar.top}, EDGE));
    struct Case {
        const char* text;
        i32 left, right;
    };
    // The place of the last one is as wide as its word, off a grip of 16 pixels.
    for (const Case& row : {Case{"A1", 0, 55}, {"求和=3", 55, 757}, {"END", 757, 784}}) {
        const DrawRecord* drawn = FindDrawn(row.text);
        ASSERT_NE(drawn, nullptr) << row.text;
        EXPECT_EQ(drawn->rect.left, row.left + 3);
        EXPECT_EQ(drawn->rect.top, bar.top + 3);
        EXPECT_EQ(drawn->clip, (PixelRect{row.left, bar.top, row.right, bar.bottom}));
    }
    PressKey(VK_END);
    PaintHeadless();
    EXPECT_EQ(FindDrawn("END"), nullptr);
}

TEST_F(FrameStripsTest, TheStripsAreShownAndHiddenFromTheMenu) {
    const Layout& layout = Lay();
    EXPECT_EQ(layout.toolbar, (PixelRect{0, 0, 800, 25}));
    EXPECT_EQ(layout.entryLine, (PixelRect{110, 25, 800, 49}));
    EXPECT_EQ(layout.grid, (PixelRect{0, 49, 784, 562}));
    EXPECT_EQ(layout.tabs, (PixelRect{34, 562, 400, 578}));
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].place, layout.entryLine);
    EXPECT_EQ(HeadlessFrame().verticalBar.place, (PixelRect{784, 49, 800, 562}));
    EXPECT_EQ(HeadlessFrame().horizontalBar.place, (PixelRect{400, 562, 784, 578}));
    struct Case {
        MenuId menu;
        i32 command;
        PixelRect grid, tabs;
    };
    for (const Case& row : {
             Case{MENU_TOOLBARS, 417, {0, 24, 784, 562}, {34, 562, 400, 578}},
             {MENU_VIEW, 419, {0, 25, 784, 562}, {34, 562, 400, 578}},
             {MENU_VIEW, 420, {0, 49, 784, 584}, {34, 584, 400, 600}},
             {MENU_VIEW_FILE, 414, {0, 49, 800, 562}, {34, 562, 400, 578}},
             {MENU_VIEW_FILE, 415, {0, 49, 784, 562}, {34, 562, 800, 578}},
             {MENU_VIEW_FILE, 416, {0, 49, 784, 562}, {0, 562, 0, 578}},
             {MENU_FORMAT, 421, {0, 0, 800, 600}, {0, 600, 0, 616}},
         }) {
        const bool before = IsChecked(row.menu, row.command);
        EXPECT_EQ(before, row.command != 421);
        PickCommand(row.command);
        EXPECT_EQ(layout.grid, row.grid) << row.command;
        EXPECT_EQ(layout.tabs, row.tabs) << row.command;
        EXPECT_EQ(IsChecked(row.menu, row.command), !before) << row.command;
        EXPECT_EQ(HeadlessFrame().verticalBar.shown, row.command != 414 && row.command != 421);
        EXPECT_EQ(HeadlessFrame().horizontalBar.shown, row.command != 415 && row.command != 421);
        EXPECT_EQ(IsEmptyRect(HeadlessFrame().edits[ENTRY_LINE].place),
                  row.command == 419 || row.command == 421);
        EXPECT_EQ(HeadlessFrame().fullScreen, row.command == 421);
        PaintHeadless();
        PickCommand(row.command);
        EXPECT_EQ(layout.grid, (PixelRect{0, 49, 784, 562})) << row.command;
    }
    // Without tabs and bar the grid reaches down to the status line.
    PickCommand(415);
    PickCommand(416);
    EXPECT_EQ(layout.grid, (PixelRect{0, 49, 784, 578}));
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
}

TEST_F(FrameStripsTest, HeadersGridLinesAndFormulasAreShownAndHiddenFromTheMenu) {
    constexpr u32 GRID_LINE = 0xC0C0C0;
    const auto gridLines = [] {
        PaintHeadless();
        int count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            count += record.kind == DRAW_LINE && record.colour == GRID_LINE;
        return count;
    };
    EXPECT_GT(gridLines(), 50);
    PickCommand(403);
    EXPECT_EQ(gridLines(), 0);
    EXPECT_FALSE(IsChecked(MENU_SHEET, 403));
    EXPECT_TRUE(IsChecked(MENU_SHEET, 404));
    PickCommand(403);
    PickCommand(404);
    EXPECT_GT(gridLines(), 50);
    EXPECT_EQ(Lay().cells, Lay().grid);
    EXPECT_EQ(FindDrawn("A"), nullptr);
    EXPECT_FALSE(IsChecked(MENU_SHEET, 404));
    EXPECT_TRUE(IsChecked(MENU_SHEET, 403));
    PickCommand(404);
    EXPECT_FALSE(IsChecked(MENU_SHEET, 412));
    PickCommand(412);
    EXPECT_TRUE(IsChecked(MENU_SHEET, 412));
    EXPECT_TRUE(IsChecked(MENU_SHEET, 404));
    // Each of them is one undo.
    PickCommand(130);
    EXPECT_FALSE(IsChecked(MENU_SHEET, 412));
    PickCommand(404);
    PickCommand(130);
    EXPECT_TRUE(IsChecked(MENU_SHEET, 404));
}

TEST_F(FrameStripsTest, TheScalesOfTheMenu) {
    struct Case {
        i32 command, zoom, pixels;  // eight digits, each of whole pixels
    };
    for (const Case& row : {Case{405, 200, 112}, {406, 150, 88}, {408, 75, 40}, {407, 100, 56}}) {
        PickCommand(row.command);
        EXPECT_EQ(CurrentSheet()->zoomPercent, row.zoom);
        for (i32 other = 405; other <= 408; ++other)
            EXPECT_EQ(IsChecked(MENU_ZOOM, other), other == row.command) << other;
        EXPECT_FALSE(IsChecked(MENU_ZOOM, 410));
        EXPECT_EQ(ColumnPixels(*CurrentSheet(), 0), row.pixels);
    }
    CurrentSheet()->zoomPercent = 90;
    EXPECT_TRUE(IsChecked(MENU_ZOOM, 410));
    PickCommand(407);
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    PickCommand(130);
    EXPECT_EQ(CurrentSheet()->zoomPercent, 90);
}

TEST_F(FrameStripsTest, TheSelectionIsScaledToTheGrid) {
    // 784 by 513 pixels for columns of 56 and rows of 17.
    struct Case {
        RefArea area;
        i32 zoom;
    };
    for (const Case& row : {
             Case{{2, 5, 1, 2}, 400},    // 112 by 68: more than the largest
             Case{{0, 3, 1, 4}, 350},    // 224 wide
             Case{{10, 29, 3, 4}, 150},  // 340 high
             Case{{0, 9, 0, 27}, 50},    // 1568 wide
             Case{{0, 999, 0, 0}, 10},   // far too high
             Case{{0, 9, 0, 15}, 85},    // 87.5 is rounded down to a step of 5
         }) {
        CurrentSheet()->zoomPercent = 100;
        RefreshChrome();
        SelectArea(row.area, true, row.area.firstRow, row.area.firstColumn, false);
        PickCommand(409);
        EXPECT_EQ(CurrentSheet()->zoomPercent, row.zoom);
        EXPECT_EQ(CurrentSheet()->view.firstRow, row.area.firstRow);
        EXPECT_EQ(CurrentSheet()->view.firstColumn, row.area.firstColumn);
    }
}

TEST_F(FrameStripsTest, TheScrollBarsFollowWhatIsUsedAndShown) {
    ScrollBarState& down = HeadlessFrame().verticalBar;
    ScrollBarState& across = HeadlessFrame().horizontalBar;
    // 496 pixels of rows, 760 of columns: 29 and 13 of them are whole.
    EXPECT_EQ(down.page, 29);
    EXPECT_EQ(across.page, 13);
    EXPECT_EQ(down.maximum, 1 + 29);
    EXPECT_EQ(across.maximum, 1 + 13);
    Enter("H200", "1");
    RefreshChrome();
    EXPECT_EQ(down.maximum, 199 + 29);
    EXPECT_EQ(across.maximum, 7 + 13);
    Scroll(true, SB_THUMBPOSITION, 500);
    EXPECT_EQ(down.position, 500);
    EXPECT_EQ(down.maximum, 500 + 29);
    Scroll(false, SB_THUMBTRACK, 20);
    EXPECT_EQ(across.position, 20);
    EXPECT_EQ(across.maximum, 20 + 13);
    Scroll(true, SB_THUMBTRACK, 70000);
    EXPECT_EQ(down.position, 65535);
    EXPECT_EQ(down.maximum, 65535);
    Scroll(false, SB_THUMBPOSITION, 300);
    EXPECT_EQ(across.position, 255);
    EXPECT_EQ(across.maximum, 255);
    EXPECT_EQ(Active(), "A1");
}

TEST_F(FrameStripsTest, TheScrollBarsStepByLinesAndPages) {
    const SheetView& view = CurrentSheet()->view;
    struct Case {
        i32 code, row, column;
    };
    for (const Case& step : {Case{SB_LINEDOWN, 1, 1},
                             {SB_PAGEDOWN, 30, 14},
                             {SB_PAGEDOWN, 59, 27},
                             {SB_LINEUP, 58, 26},
                             {SB_PAGEUP, 29, 13},
                             {SB_PAGEUP, 0, 0},
                             {SB_LINEUP, 0, 0}}) {
        Scroll(true, step.code);
        Scroll(false, step.code);
        EXPECT_EQ(view.firstRow, step.row);
        EXPECT_EQ(view.firstColumn, step.column);
    }
    // Hidden lines are no step of their own.
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {1, ROW_HIDDEN, 0}));
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {2, ROW_HIDDEN, 0}));
    Scroll(true, SB_LINEDOWN);
    EXPECT_EQ(view.firstRow, 3);
    Scroll(true, SB_LINEUP);
    EXPECT_EQ(view.firstRow, 0);
}

TEST_F(FrameStripsTest, ASmallFrameLeavesNothingUpsideDown) {
    for (const auto& [width, height] : {std::pair{800, 10}, {10, 600}, {0, 0}, {30, 70}, {60, 100}}) {
        Resize(width, height);
        PaintHeadless();
        const Layout& layout = Lay();
        EXPECT_LE(layout.grid.left, layout.grid.right) << width << ' ' << height;
        EXPECT_LE(layout.grid.top, layout.grid.bottom) << width << ' ' << height;
        EXPECT_LE(layout.cells.left, layout.cells.right) << width << ' ' << height;
        EXPECT_LE(layout.cells.top, layout.cells.bottom) << width << ' ' << height;
        EXPECT_LE(layout.tabs.left, layout.tabs.right) << width << ' ' << height;
        EXPECT_GE(layout.statusBar.top, 0);
        PressKey(VK_NEXT);
        PressKey(VK_RIGHT);
    }
    Resize(800, 600);
    EXPECT_EQ(Lay().grid, (PixelRect{0, 49, 784, 562}));
}

TEST_F(FrameStripsTest, AFrameThatIsAnIconKeepsItsLayout) {
    HeadlessFrame().width = 0;
    ShellMessage message;
    message.message = WM_SIZE;
    message.minimised = true;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    EXPECT_EQ(Lay().width, 800);
}

}  // namespace
}  // namespace tally
