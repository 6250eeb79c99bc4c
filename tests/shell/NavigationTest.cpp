// Where keys lead on the grid, what the view shows of it, and the mouse beside the cells.

#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

struct KeyStroke {
    u32 key, modifiers;
};

class NavigationTest : public ShellSandbox {
  protected:
    static void SelectRange(std::string_view first, std::string_view last) {
        const RefArea area = AreaOf(first, last);
        SelectArea(area, true, area.firstRow, area.firstColumn, false);
    }
    static void HideRow(u16 row) { ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {row, ROW_HIDDEN, 0})); }
    static void HideColumn(u8 column) {
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {column, COLUMN_HIDDEN, 0, DEFAULT_CELL_FORMAT}));
    }
    static void Send(u32 number, i32 x, i32 y, u32 modifiers = 0) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = y;
        message.modifiers = modifiers;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static void Timer(i32 timer) {
        ShellMessage message;
        message.message = WM_TIMER;
        message.command = timer;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static std::string First() {
        const SheetView& view = CurrentSheet()->view;
        return std::to_string(view.firstRow) + "," + std::to_string(view.firstColumn);
    }
};

TEST_F(NavigationTest, WhereEachKeyLeads) {
    // A block B2:D4, which a hidden column parts from F2, a cell C8 below a hidden row, H2:I3 as one cell.
    struct Case {
        const char* from;
        KeyStroke key;
        const char* to;
        const char* selection;
    };
    for (const Case& row : {
             Case{"B2", {VK_RIGHT, KEY_CTRL}, "F2", "F2"},
             {"D2", {VK_RIGHT, KEY_CTRL}, "F2", "F2"},
             {"F2", {VK_RIGHT, KEY_CTRL}, "IV2", "IV2"},
             {"F2", {VK_LEFT, KEY_CTRL}, "B2", "B2"},
             {"D2", {VK_LEFT, KEY_CTRL}, "B2", "B2"},
             {"B2", {VK_LEFT, KEY_CTRL}, "A2", "A2"},
             {"A2", {VK_RIGHT, KEY_CTRL}, "B2", "B2"},
             {"IV2", {VK_LEFT, KEY_CTRL}, "F2", "F2"},
             {"C2", {VK_DOWN, KEY_CTRL}, "C4", "C4"},
             {"C4", {VK_DOWN, KEY_CTRL}, "C8", "C8"},
             {"C8", {VK_DOWN, KEY_CTRL}, "C65536", "C65536"},
             {"C8", {VK_UP, KEY_CTRL}, "C4", "C4"},
             {"C4", {VK_UP, KEY_CTRL}, "C2", "C2"},
             {"C2", {VK_UP, KEY_CTRL}, "C1", "C1"},
             {"C65536", {VK_UP, KEY_CTRL}, "C8", "C8"},
             {"A9", {VK_RIGHT, KEY_CTRL}, "IV9", "IV9"},
             {"A9", {VK_LEFT, KEY_CTRL}, "A9", "A9"},
             {"A1", {VK_UP, 0}, "A1", "A1"},
             {"A1", {VK_LEFT, 0}, "A1", "A1"},
             {"IV65536", {VK_RIGHT, 0}, "IV65536", "IV65536"},
             {"C5", {VK_DOWN, 0}, "C7", "C7"},
             {"C7", {VK_UP, 0}, "C5", "C5"},
             {"D3", {VK_RIGHT, 0}, "F3", "F3"},
             {"F3", {VK_LEFT, 0}, "D3", "D3"},
             {"G3", {VK_RIGHT, 0}, "H2", "H2:I3"},
             {"H2", {VK_RIGHT, 0}, "J2", "J2"},
             {"H2", {VK_DOWN, 0}, "H4", "H4"},
             {"H2", {VK_LEFT, 0}, "G2", "G2"},
             {"I4", {VK_UP, 0}, "H2", "H2:I3"},
             {"C3", {VK_HOME, 0}, "A3", "A3"},
             {"C3", {VK_HOME, KEY_CTRL}, "A1", "A1"},
             {"A1", {VK_END, KEY_CTRL}, "I8", "I8"},
             {"C3", {VK_RIGHT, KEY_CTRL | KEY_SHIFT}, "C3", "C3:D3"},
             {"C3", {VK_DOWN, KEY_SHIFT}, "C3", "C3:C4"},
             {"C3", {VK_UP, KEY_SHIFT}, "C3", "C2:C3"},
             {"C3", {VK_LEFT, KEY_SHIFT}, "C3", "B3:C3"},
             {"C3", {VK_HOME, KEY_CTRL | KEY_SHIFT}, "C3", "A1:C3"},
             {"C3", {VK_END, KEY_CTRL | KEY_SHIFT}, "C3", "C2:I8"},
             {"G2", {VK_RIGHT, KEY_SHIFT}, "G2", "G2:I3"},
             {"C3", {VK_SPACE, KEY_CTRL}, "C3", "C:C"},
             {"C3", {VK_SPACE, KEY_SHIFT}, "C3", "2:3"},
             {"C3", {'A', KEY_CTRL}, "C3", "1:65536"},
             {"C3", {VK_SPACE, KEY_CTRL | KEY_SHIFT}, "C3", "1:65536"},
         }) {
        TearDown();
        SetUp();
        for (const char* cell : {"B2", "C2", "D2", "B3", "C3", "D3", "B4", "C4", "D4", "F2", "C8"})
            Enter(cell, "1");
        HideRow(5);
        HideColumn(4);
        ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("H2", "I3")));
        RefreshView();
        Select(row.from);
        PressKey(row.key.key, row.key.modifiers);
        EXPECT_EQ(Active(), row.to) << row.from << " key " << row.key.key << ' ' << row.key.modifiers;
        EXPECT_EQ(Selection(), row.selection) << row.from << " key " << row.key.key << ' ' << row.key.modifiers;
    }
}

TEST_F(NavigationTest, WhatTheOutlineLeavesAndReachesIsPaintedAnew) {
    const auto outline = [] {
        PaintHeadless();
        std::vector<PixelRect> rects;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_INVERT) rects.push_back(record.rect);
        return rects;
    };
    Select("C5");
    std::vector<PixelRect> all = outline();
    HeadlessFrame().dirty.Truncate(0);
    SelectRange("E8", "F9");
    const Array<PixelRect> dirty = std::move(HeadlessFrame().dirty);
    for (const PixelRect& rect : outline()) all.push_back(rect);
    ASSERT_EQ(all.size(), 8u);
    for (const PixelRect& rect : all) {
        bool covered = false;
        for (const PixelRect& part : dirty) covered |= IntersectRects(part, rect) == rect;
        EXPECT_TRUE(covered) << rect.left << ' ' << rect.top;
    }
}

TEST_F(NavigationTest, CellsWithAFormatOnlyStopNoJump) {
    Enter("A5", "1");
    u16 bold = 0;
    CellFormat format;
    format.horizontal = 2;
    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, bold));
    for (const i32 row : {2, 5}) PutCell(CurrentSheet()->cells, row, 0)->format = bold;
    PressKey(VK_DOWN, KEY_CTRL);
    EXPECT_EQ(Active(), "A5");
    PressKey(VK_DOWN, KEY_CTRL);
    EXPECT_EQ(Active(), "A65536");
}

TEST_F(NavigationTest, WholeLinesGrowByLines) {
    Select("C3");
    PressKey(VK_SPACE, KEY_CTRL);
    PressKey(VK_RIGHT, KEY_SHIFT);
    EXPECT_EQ(Selection(), "C:D");
    PressKey(VK_LEFT, KEY_SHIFT);
    PressKey(VK_LEFT, KEY_SHIFT);
    EXPECT_EQ(Selection(), "B:C");
    Select("C3");
    PressKey(VK_SPACE, KEY_SHIFT);
    PressKey(VK_DOWN, KEY_SHIFT);
    EXPECT_EQ(Selection(), "3:4");
    EXPECT_EQ(First(), "0,0");
}

TEST_F(NavigationTest, EndThenEnterGoesToTheLastCellOfTheRow) {
    Enter("B2", "1");
    Enter("F2", "1");
    Select("C2");
    PressKey(VK_END);
    PressKey(VK_RETURN);
    EXPECT_EQ(Active(), "F2");
    EXPECT_FALSE(Shell().endMode);
    Select("B2");
    PressKey(VK_END);
    PressKey(VK_RETURN, KEY_SHIFT);
    EXPECT_EQ(Selection(), "B2:F2");
    Select("C5");
    PressKey(VK_END);
    PressKey(VK_RETURN);
    EXPECT_EQ(Active(), "C5");
    PressKey(VK_END);
    PressKey(VK_END);
    EXPECT_FALSE(Shell().endMode);
}

TEST_F(NavigationTest, TabAndEnterStepAndTurnBackWithShift) {
    Select("C3");
    for (const auto& [key, modifiers, to] : {std::tuple{VK_TAB, 0u, "D3"},
                                             {VK_TAB, u32{KEY_SHIFT}, "C3"},
                                             {VK_RETURN, 0u, "C4"},
                                             {VK_RETURN, u32{KEY_SHIFT}, "C3"}}) {
        PressKey(key, modifiers);
        EXPECT_EQ(Active(), to);
    }
    SelectRange("B2", "C3");
    for (const auto& [key, modifiers, to] : {std::tuple{VK_TAB, u32{KEY_SHIFT}, "C3"},
                                             {VK_TAB, u32{KEY_SHIFT}, "B3"},
                                             {VK_RETURN, u32{KEY_SHIFT}, "B2"},
                                             {VK_RETURN, u32{KEY_SHIFT}, "C3"},
                                             {VK_RETURN, 0u, "B2"}}) {
        PressKey(key, modifiers);
        EXPECT_EQ(Active(), to);
        EXPECT_EQ(Selection(), "B2:C3");
    }
    // Inside a selection hidden lines and the inner cells of a merge are passed.
    HideColumn(2);
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B3", "C3")));
    SelectRange("B2", "D3");
    for (const char* to : {"D2", "B3", "D3", "B2"}) {
        PressKey(VK_TAB);
        EXPECT_EQ(Active(), to);
    }
}

TEST_F(NavigationTest, TheViewFollowsTheActiveCellNoFartherThanItMust) {
    // 29 rows and 13 columns are shown whole.
    struct Case {
        const char* cell;
        const char* first;
    };
    for (const Case& row : {Case{"A29", "0,0"},
                            {"A30", "1,0"},
                            {"A29", "1,0"},
                            {"A2", "1,0"},
                            {"A1", "0,0"},
                            {"M1", "0,0"},
                            {"N1", "0,1"},
                            {"B1", "0,1"},
                            {"A1", "0,0"},
                            {"A500", "471,0"},
                            {"AZ500", "471,39"},
                            {"IV65536", "65507,243"},
                            {"A1", "0,0"}}) {
        Select(row.cell);
        EXPECT_EQ(First(), row.first) << row.cell;
    }
    // A taller row leaves room for fewer.
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {29, ROW_CUSTOM_HEIGHT, 17 * 15 * 4}));
    RefreshView();
    Select("A30");
    EXPECT_EQ(First(), "4,0");
}

TEST_F(NavigationTest, AFrozenViewHoldsItsPanes) {
    Select("C5");
    PickCommand(423);
    const SheetView& view = CurrentSheet()->view;
    EXPECT_EQ(view.splitRow, 4);
    EXPECT_EQ(view.splitColumn, 2);
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
    Select("A100");
    EXPECT_EQ(First(), "75,2");
    Select("B2");  // in the fixed pane: nothing moves
    EXPECT_EQ(First(), "75,2");
    Select("C5");
    EXPECT_EQ(First(), "4,2");
    PressKey(VK_HOME);
    EXPECT_EQ(Active(), "C5");
    Select("F9");
    PressKey(VK_HOME, KEY_CTRL);
    EXPECT_EQ(Active(), "C5");
    ScrollTo(0, 0);
    EXPECT_EQ(First(), "4,2");
    PickCommand(130);
    EXPECT_EQ(view.splitRow, 0);
    EXPECT_EQ(First(), "0,0");
}

TEST_F(NavigationTest, AViewIsFrozenAboveAndLeftOfTheActiveCell) {
    struct Case {
        i32 firstRow, firstColumn;
        const char* active;
        i32 splitRow, splitColumn, frozenRow, frozenColumn;
        const char* first;
    };
    for (const Case& row : {Case{0, 0, "A4", 3, 0, 0, 0, "3,0"},
                            {0, 0, "D1", 0, 3, 0, 0, "0,3"},
                            {10, 5, "H15", 14, 7, 10, 5, "14,7"},
                            {10, 5, "F15", 14, 0, 10, 5, "14,5"},
                            {10, 5, "H11", 0, 7, 10, 5, "10,7"}}) {
        Select(row.active);
        ScrollTo(row.firstRow, row.firstColumn);
        PickCommand(423);
        const SheetView& view = CurrentSheet()->view;
        EXPECT_EQ(view.splitRow, row.splitRow) << row.active;
        EXPECT_EQ(view.splitColumn, row.splitColumn) << row.active;
        EXPECT_EQ(view.frozenFirstRow, row.frozenRow) << row.active;
        EXPECT_EQ(view.frozenFirstColumn, row.frozenColumn) << row.active;
        EXPECT_EQ(First(), row.first) << row.active;
        PickCommand(423);
        EXPECT_EQ(First(), std::to_string(row.firstRow) + "," + std::to_string(row.firstColumn));
        EXPECT_EQ(view.splitRow + view.splitColumn + view.frozenFirstRow + view.frozenFirstColumn, 0);
    }
    // There is nothing above or left of the first cell shown.
    Select("A1");
    ScrollTo(0, 0);
    PickCommand(423);
    EXPECT_FALSE(IsFrozen(*CurrentSheet()));
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B3", "C4")));
    Select("C4");
    PickCommand(423);
    EXPECT_EQ(CurrentSheet()->view.splitRow, 2);
    EXPECT_EQ(CurrentSheet()->view.splitColumn, 1);
}

TEST_F(NavigationTest, AltWithPageKeysTurnsThePageSideways) {
    Select("B3");
    PressKey(VK_NEXT, KEY_ALT);
    EXPECT_EQ(Active(), "O3");
    EXPECT_EQ(First(), "0,13");
    PressKey(VK_PRIOR, KEY_ALT);
    EXPECT_EQ(Active(), "B3");
    EXPECT_EQ(First(), "0,0");
    PressKey(VK_PRIOR, KEY_ALT);
    EXPECT_EQ(Active(), "A3");
    PressKey(VK_NEXT, KEY_SHIFT);
    EXPECT_EQ(Selection(), "A3:A32");
    EXPECT_EQ(First(), "29,0");
}

TEST_F(NavigationTest, CtrlTabStepsThroughTheBooksThatAreSeen) {
    for (int i = 0; i < 3; ++i) PickCommand(110);
    BookAt(1)->hiddenLink = 1;
    SelectBook(0);
    for (const i32 book : {2, 3, 0}) {
        PressKey(VK_TAB, KEY_CTRL);
        EXPECT_EQ(CurrentBook(), book);
    }
    for (const i32 book : {3, 2, 0}) {
        PressKey(VK_TAB, KEY_CTRL | KEY_SHIFT);
        EXPECT_EQ(CurrentBook(), book);
    }
}

TEST_F(NavigationTest, EachSheetKeepsItsOwnSelectionAndCorner) {
    PickCommand(163);
    Select("C3");
    PressKey(VK_PRIOR, KEY_CTRL);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    Select("E7");
    PressKey(VK_NEXT, KEY_CTRL);
    EXPECT_EQ(Active(), "C3");
    PressKey(VK_DOWN, KEY_SHIFT);
    EXPECT_EQ(Selection(), "C3:C4");
    SelectSheet(7);
    SelectSheet(-1);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
}

TEST_F(NavigationTest, ADragOnHeadersSelectsWholeLinesAndShiftExtends) {
    const Layout& layout = Shell().layout;
    const i32 y = layout.grid.top + 3, x = layout.grid.left + 3;
    const auto column = [&](u32 i) { return (layout.columns[i].start + layout.columns[i].end) / 2; };
    const auto row = [&](u32 i) { return (layout.rows[i].start + layout.rows[i].end) / 2; };
    DragMouse(column(3), y, column(1), y);
    EXPECT_EQ(Selection(), "B:D");
    EXPECT_EQ(Active(), "D1");
    Send(WM_LBUTTONDOWN, column(5), y, KEY_SHIFT);
    Send(WM_LBUTTONUP, column(5), y);
    EXPECT_EQ(Selection(), "D:F");
    DragMouse(x, row(2), x, row(4));
    EXPECT_EQ(Selection(), "3:5");
    EXPECT_EQ(Active(), "A3");
    Send(WM_LBUTTONDOWN, x, row(0), KEY_SHIFT);
    Send(WM_LBUTTONUP, x, row(0));
    EXPECT_EQ(Selection(), "1:3");
    // A scrolled view gives the first cell that is seen.
    ScrollTo(10, 5);
    ClickMouse(column(1), y);
    EXPECT_EQ(Active(), "G11");
    EXPECT_EQ(Selection(), "G:G");
    ClickMouse(x, row(1));
    EXPECT_EQ(Active(), "F12");
}

TEST_F(NavigationTest, EdgesOfHeadersAreNearTheirLines) {
    const Layout& layout = Shell().layout;
    const i32 y = layout.grid.top + 3, x = layout.grid.left + 3;
    const i32 right = layout.columns[1].end, bottom = layout.rows[1].end;
    const auto pointer = [](i32 px, i32 py) {
        Send(WM_MOUSEMOVE, px, py);
        return HeadlessFrame().pointer;
    };
    for (i32 at = right - 9; at < right + 7; ++at)
        EXPECT_EQ(pointer(at, y), at >= right - 6 && at < right + 3 ? POINTER_COLUMN_EDGE : POINTER_ARROW)
            << at - right;
    for (i32 at = bottom - 8; at < bottom + 7; ++at)
        EXPECT_EQ(pointer(x, at), at >= bottom - 5 && at < bottom + 3 ? POINTER_ROW_EDGE : POINTER_ARROW)
            << at - bottom;
    // Before the first line there is no edge.
    EXPECT_EQ(pointer(layout.columns[0].start + 1, y), POINTER_ARROW);
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_EQ(pointer(right - 1, y), POINTER_ARROW);
    EXPECT_EQ(pointer(x, bottom - 1), POINTER_ARROW);
    DragMouse(right - 1, y, right + 20, y);
    EXPECT_EQ(layout.columns[1].end, right);
}

TEST_F(NavigationTest, ADragOutOfTheCellsScrollsThatWayUntilItIsBack) {
    const Layout& layout = Shell().layout;
    i32 x = 0, y = 0;
    CellPoint("F12", x, y);
    struct Case {
        i32 x, y;
        const char* first;  // from row 20, column 20
    };
    const PixelRect cells = layout.cells;
    for (const Case& row : {Case{x, cells.bottom, "21,20"},
                            {x, cells.bottom + 19, "22,20"},
                            {x, cells.bottom + 39, "23,20"},
                            {x, cells.top - 1, "19,20"},
                            {x, cells.top - 20, "18,20"},
                            {cells.right, y, "20,21"},
                            {cells.right + 39, y, "20,22"},
                            {cells.left - 1, y, "20,19"},
                            {cells.left - 40, y, "20,18"},
                            {cells.right, cells.bottom, "21,21"}}) {
        ScrollTo(20, 20);
        Send(WM_LBUTTONDOWN, x, y);
        EXPECT_TRUE(HeadlessFrame().captured);
        Send(WM_MOUSEMOVE, row.x, row.y);
        EXPECT_TRUE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
        Timer(TIMER_AUTO_SCROLL);
        EXPECT_EQ(First(), row.first) << row.x << ' ' << row.y;
        Send(WM_MOUSEMOVE, x, y);
        EXPECT_FALSE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
        Send(WM_LBUTTONUP, x, y);
        EXPECT_FALSE(HeadlessFrame().captured);
    }
    // A timer that comes late ends.
    HeadlessFrame().timers[TIMER_AUTO_SCROLL] = true;
    Timer(TIMER_AUTO_SCROLL);
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
}

TEST_F(NavigationTest, ADragAlongHeadersScrollsOnlyAlongThem) {
    const Layout& layout = Shell().layout;
    const PixelRect cells = layout.cells;
    ScrollTo(20, 20);
    Send(WM_LBUTTONDOWN, layout.columns[2].start + 20, layout.grid.top + 3);
    Send(WM_MOUSEMOVE, cells.right + 5, cells.bottom + 30);
    Timer(TIMER_AUTO_SCROLL);
    EXPECT_EQ(First(), "20,21");
    Send(WM_LBUTTONUP, cells.right + 5, cells.bottom + 30);
    ScrollTo(20, 20);
    Send(WM_LBUTTONDOWN, layout.grid.left + 3, layout.rows[2].start + 7);
    Send(WM_MOUSEMOVE, cells.right + 5, cells.bottom + 5);
    Timer(TIMER_AUTO_SCROLL);
    EXPECT_EQ(First(), "21,20");
    Send(WM_LBUTTONUP, cells.right + 5, cells.bottom + 5);
}

TEST_F(NavigationTest, ThePopupsOfTheStatusLineAndTheTabs) {
    const Layout& layout = Shell().layout;
    HeadlessFrame().popupAnswer = 3;
    Send(WM_RBUTTONDOWN, 100, layout.statusBar.top + 5);
    EXPECT_EQ(Shell().aggregate, 2);
    ASSERT_EQ(HeadlessFrame().popupItems.Count(), 7u);
    EXPECT_EQ(Narrow(HeadlessFrame().popupItems[0].text), "无");
    EXPECT_EQ(Narrow(HeadlessFrame().popupItems[6].text), "求和");
    EXPECT_EQ(HeadlessFrame().popupChecked, 6);
    Send(WM_LBUTTONDBLCLK, 100, layout.statusBar.top + 5);  // dismissed
    EXPECT_EQ(HeadlessFrame().popupChecked, 2);
    EXPECT_EQ(Shell().aggregate, 2);
    PickCommand(163);
    PickCommand(163);
    CurrentWorkbook()->sheets[1]->hidden = 1;
    HeadlessFrame().popupAnswer = 1;
    Send(WM_LBUTTONDBLCLK, layout.tabs.left + 5, layout.tabs.top + 5);
    ASSERT_EQ(HeadlessFrame().popupItems.Count(), 2u);
    EXPECT_EQ(HeadlessFrame().popupChecked, 1);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
}

TEST_F(NavigationTest, TheRightButtonPicksTheCellUnderItUnlessItIsSelected) {
    i32 x = 0, y = 0;
    CellPoint("C3", x, y);
    Enter("C3", "1");
    HeadlessFrame().popupAnswer = 142;
    Send(WM_RBUTTONDOWN, x, y);
    EXPECT_EQ(Active(), "C3");
    EXPECT_EQ(Shown("C3"), "");
    SelectRange("B2", "D4");
    Send(WM_RBUTTONDOWN, x, y);
    EXPECT_EQ(Selection(), "B2:D4");
    CellPoint("F6", x, y);
    TypeText(u"1");
    HeadlessFrame().popupItems.Truncate(0);
    Send(WM_RBUTTONDOWN, x, y);
    EXPECT_TRUE(HeadlessFrame().popupItems.IsEmpty());
    EXPECT_TRUE(IsEditing());
}

}  // namespace
}  // namespace tally
