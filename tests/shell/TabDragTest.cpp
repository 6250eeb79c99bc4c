// The tabs of the sheets under the mouse.

#include "editing/Undo.h"
#include "editing/ViewOperations.h"
#include "platform/headless/HeadlessDialogs.h"
#include "shell/grid/Layout.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class TabDragTest : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        PickCommand(163);
        PickCommand(163);
        ASSERT_EQ(Order(), "Sheet1 Sheet2 [Sheet3]");
    }
    static void Send(u32 number, i32 x, u32 modifiers = 0) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = Shell().layout.tabs.top + 5;
        message.modifiers = modifiers;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    // The names in their order, hidden ones in "()", the current one in "[]".
    static std::string Order() {
        std::string all;
        const Workbook& book = *CurrentWorkbook();
        for (u32 i = 0; i < book.sheets.Count(); ++i) {
            const std::string name = Narrow(WideView(book.sheets[i]->name));
            all += (all.empty() ? "" : " ") + (book.sheets[i]->hidden                     ? "(" + name + ")"
                                               : static_cast<i32>(i) == book.currentSheet ? "[" + name + "]"
                                                                                          : name);
        }
        return all;
    }
    static SheetTab Tab(i32 sheet) {
        Array<SheetTab> tabs;
        EXPECT_TRUE(ShownTabs(tabs));
        for (const SheetTab& tab : tabs)
            if (tab.sheet == sheet) return tab;
        ADD_FAILURE() << "no tab " << sheet;
        return {};
    }
    static i32 Middle(i32 sheet) { return (Tab(sheet).left + Tab(sheet).right) / 2; }
    static void Drag(i32 sheet, i32 x, u32 modifiers = 0) {
        Send(WM_LBUTTONDOWN, Middle(sheet));
        Send(WM_MOUSEMOVE, x);
        Send(WM_LBUTTONUP, x, modifiers);
    }
    static std::string Texts() {
        std::string all;
        for (const MenuItem& item : HeadlessFrame().popupItems)
            all += (all.empty() ? "" : " ") + (item.text.IsEmpty() ? "-" : Narrow(item.text));
        return all;
    }
};

TEST_F(TabDragTest, ATabThatIsDrawnElsewhereMovesItsSheet) {
    struct Case {
        i32 sheet;
        i32 over;    // the tab that it is let go over
        i32 beside;  // of its middle
        u32 modifiers;
        const char* order;
        i32 kind;  // of undo; -1 nothing happened
    };
    const Case cases[] = {
        {2, 0, -1, 0, "[Sheet3] Sheet1 Sheet2", UNDO_MOVE_SHEET},
        {2, 0, 1, 0, "Sheet1 [Sheet3] Sheet2", UNDO_MOVE_SHEET},
        {0, 2, -1, 0, "Sheet2 [Sheet1] Sheet3", UNDO_MOVE_SHEET},
        {0, 2, 1, 0, "Sheet2 Sheet3 [Sheet1]", UNDO_MOVE_SHEET},
        {0, 2, 300, 0, "Sheet2 Sheet3 [Sheet1]", UNDO_MOVE_SHEET},
        {1, 1, 6, 0, "Sheet1 [Sheet2] Sheet3", -1},
        {1, 1, -6, 0, "Sheet1 [Sheet2] Sheet3", -1},
        {1, 0, 1, 0, "Sheet1 [Sheet2] Sheet3", -1},
        {1, 2, -1, 0, "Sheet1 [Sheet2] Sheet3", -1},
        {0, 2, 1, KEY_CTRL, "Sheet1 Sheet2 Sheet3 [Sheet4]", UNDO_COPY_SHEET},
        {0, 2, -1, KEY_CTRL, "Sheet1 Sheet2 [Sheet4] Sheet3", UNDO_COPY_SHEET},
        {1, 1, 6, KEY_CTRL, "Sheet1 Sheet2 [Sheet4] Sheet3", UNDO_COPY_SHEET},
        // A press alone is none of it.
        {1, 1, 4, KEY_CTRL, "Sheet1 [Sheet2] Sheet3", -1},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.order + std::to_string(row.beside));
        const u32 undos = UndoCount();
        Drag(row.sheet, Middle(row.over) + row.beside, row.modifiers);
        EXPECT_EQ(Order(), row.order);
        EXPECT_EQ(Shell().gesture, GESTURE_NONE);
        EXPECT_FALSE(HeadlessFrame().captured);
        EXPECT_EQ(UndoCount(), undos + (row.kind >= 0));
        if (row.kind < 0) continue;
        EXPECT_EQ(LastUndo()->kind, row.kind);
        PickCommand(130);
        EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 3u);
        EXPECT_EQ(Narrow(WideView(CurrentWorkbook()->sheets[0]->name)), "Sheet1");
    }
}

TEST_F(TabDragTest, HiddenSheetsKeepTheirPlaces) {
    ASSERT_TRUE(HideSheet(CurrentBook(), 1));
    Drag(2, Middle(0) - 1);
    EXPECT_EQ(Order(), "[Sheet3] Sheet1 (Sheet2)");
    PickCommand(130);
    Drag(0, Middle(2) + 1);
    EXPECT_EQ(Order(), "(Sheet2) Sheet3 [Sheet1]");
}

TEST_F(TabDragTest, AMarkShowsThePlace) {
    const auto marks = [](i32 x) {
        PaintHeadless(false);
        const PixelRect& strip = Shell().layout.tabs;
        int count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            count += record.kind == DRAW_FILL && record.rect == PixelRect{x, strip.top, x + 3, strip.bottom};
        return count;
    };
    PaintHeadless();
    Send(WM_LBUTTONDOWN, Middle(2));
    Send(WM_MOUSEMOVE, Middle(1) - 1);
    EXPECT_GT(marks(Tab(1).left - 1), 0);
    Send(WM_MOUSEMOVE, Middle(0) - 1);
    EXPECT_EQ(marks(Tab(1).left - 1), 0);
    Send(WM_MOUSEMOVE, Tab(2).right + 50);
    EXPECT_GT(marks(Tab(2).right - 1), 0);
    PressKey(VK_ESCAPE);
    EXPECT_EQ(marks(Tab(2).right - 1), 0);
    const u32 undos = UndoCount();
    Send(WM_LBUTTONUP, Middle(0));
    EXPECT_EQ(UndoCount(), undos);
    EXPECT_EQ(Order(), "Sheet1 Sheet2 [Sheet3]");
}

TEST_F(TabDragTest, BeyondTheStripItsTabsGoOn) {
    for (int i = 0; i < 8; ++i) PickCommand(163);
    Shell().firstTab = 0;
    const PixelRect strip = Shell().layout.tabs;
    Send(WM_LBUTTONDOWN, Middle(0));
    Shell().firstTab = 0;
    Send(WM_MOUSEMOVE, strip.right + 20);
    EXPECT_TRUE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
    ShellMessage tick;
    tick.message = WM_TIMER;
    tick.command = TIMER_AUTO_SCROLL;
    for (int i = 0; i < 20; ++i) EXPECT_TRUE(FrameCallsInUse().sendMessage(tick));
    EXPECT_GT(Shell().firstTab, 0);
    // As far as there are more, and no further.
    Array<SheetTab> tabs;
    ASSERT_TRUE(ShownTabs(tabs));
    EXPECT_LE(tabs.Last().right, strip.right);
    EXPECT_EQ(tabs.Last().sheet, 10);
    Send(WM_LBUTTONUP, strip.right + 20);
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
    EXPECT_EQ(Narrow(WideView(CurrentWorkbook()->sheets[10]->name)), "Sheet1");
}

TEST_F(TabDragTest, WhatIsTypedIsStoredFirstOrHoldsTheTab) {
    TypeText(u"7");
    Drag(0, Middle(2) + 1);
    EXPECT_EQ(Order(), "Sheet2 Sheet3 [Sheet1]");
    CurrentWorkbook()->currentSheet = 1;
    EXPECT_EQ(Shown("A1"), "7");
    CurrentWorkbook()->currentSheet = 2;
    TypeText(u"=1+");
    Drag(0, Middle(2) + 1);
    EXPECT_EQ(Order(), "Sheet2 Sheet3 [Sheet1]");
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
}

TEST_F(TabDragTest, TheRightButtonSelectsTheTabAndShowsItsMenu) {
    Send(WM_RBUTTONDOWN, Middle(1));
    EXPECT_EQ(Order(), "Sheet1 [Sheet2] Sheet3");
    EXPECT_EQ(Texts(),
              "插入(&I) 删除工作表(&L) 重命名(&R)... 移动或复制工作表(&M)... - 工作表标签颜色(&T)... "
              "保护(&P)... - 隐藏(&H) 取消隐藏(&U)...");
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"名称", u"Prices"));
    HeadlessFrame().popupAnswer = 400;
    Send(WM_RBUTTONDOWN, Middle(0));
    EXPECT_EQ(Order(), "[Prices] Sheet2 Sheet3");
    // Nothing is hidden, so that this is grey.
    HeadlessFrame().popupAnswer = 402;
    Send(WM_RBUTTONDOWN, Middle(0));
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
    HeadlessFrame().popupAnswer = 401;
    Send(WM_RBUTTONDOWN, Middle(2));
    EXPECT_EQ(Order(), "Prices [Sheet2] (Sheet3)");
    // Beside the tabs and while something is typed there is no menu.
    HeadlessFrame().popupItems.Clear();
    Send(WM_RBUTTONDOWN, Tab(1).right + 20);
    TypeText(u"1");
    Send(WM_RBUTTONDOWN, Middle(0));
    EXPECT_EQ(Texts(), "");
    EXPECT_EQ(Order(), "Prices [Sheet2] (Sheet3)");
}

TEST_F(TabDragTest, TheRightButtonOnTheArrowsListsTheSheets) {
    HeadlessFrame().popupAnswer = 2;
    Send(WM_RBUTTONDOWN, Shell().layout.tabScroller.left + 3);
    EXPECT_EQ(Texts(), "Sheet1 Sheet2 Sheet3");
    EXPECT_EQ(Order(), "Sheet1 [Sheet2] Sheet3");
}

}  // namespace
}  // namespace tally
