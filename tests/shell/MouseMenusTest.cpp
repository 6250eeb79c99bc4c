// The right button on the grid and its headers, and the wheel.

#include "model/CellStore.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class MouseMenusTest : public ShellSandbox {
  protected:
    static void Send(u32 number, i32 x, i32 y, i32 wheel = 0, u32 modifiers = 0) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = y;
        message.wheel = wheel;
        message.modifiers = modifiers;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static std::string Texts() {
        std::string all;
        for (const MenuItem& item : HeadlessFrame().popupItems)
            all += (all.empty() ? "" : " ") + (item.text.IsEmpty() ? "-" : Narrow(item.text));
        return all;
    }
    static i32 MiddleOf(const ShownLine& line) { return (line.start + line.end) / 2; }
    // The right button in the headers of a column or a row, by its place on the screen.
    static void RightOnColumn(u32 column) {
        Send(WM_RBUTTONDOWN, MiddleOf(Shell().layout.columns[column]), Shell().layout.grid.top + 3);
    }
    static void RightOnRow(u32 row) {
        Send(WM_RBUTTONDOWN, Shell().layout.grid.left + 3, MiddleOf(Shell().layout.rows[row]));
    }
};

constexpr const char* common =
    "剪切(&T) 复制(&C) 粘贴(&P) 选择性粘贴(&S)... - 插入(&I) 删除(&D) 清除内容(&A) - ";

TEST_F(MouseMenusTest, InTheHeadersItSelectsWholeLinesAndShowsTheirMenu) {
    RightOnColumn(2);
    EXPECT_EQ(Selection(), "C:C");
    EXPECT_EQ(Active(), "C1");
    EXPECT_EQ(Texts(), std::string(common) + "单元格格式(&O)... 设置列宽(&W)... 隐藏(&H) 取消隐藏(&U)");
    RightOnRow(4);
    EXPECT_EQ(Selection(), "5:5");
    EXPECT_EQ(Active(), "A5");
    EXPECT_EQ(Texts(), std::string(common) + "单元格格式(&O)... 设置行高(&E)... 隐藏(&H) 取消隐藏(&U)");
    Send(WM_RBUTTONDOWN, Shell().layout.grid.left + 3, Shell().layout.grid.top + 3);
    EXPECT_TRUE(CurrentSheet()->view.selection == (RefArea{0, 65535, 0, 255}));
    EXPECT_EQ(Texts(), std::string(common) + "单元格格式(&O)...");
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
}

TEST_F(MouseMenusTest, TheMenuKeyShowsTheMenuOfTheCellsAtTheActiveOne) {
    SelectArea({1, 4, 1, 3}, true, 2, 2, false);
    const PixelRect cell = AreaPixels({2, 2, 2, 2});
    Send(WM_RBUTTONDOWN, cell.left + 1, cell.top + 1);
    const std::string byMouse = Texts();
    EXPECT_FALSE(byMouse.empty());
    HeadlessFrame().popupItems.Clear();
    HeadlessFrame().popupX = HeadlessFrame().popupY = -7;
    PressKey(VK_APPS);
    EXPECT_EQ(Selection(), "B2:D5");
    EXPECT_EQ(Active(), "C3");
    EXPECT_EQ(HeadlessFrame().popupX, cell.left);
    EXPECT_EQ(HeadlessFrame().popupY, cell.bottom);
    EXPECT_EQ(Texts(), byMouse);
    // While something is typed the key is the line's.
    TypeText(u"1");
    HeadlessFrame().popupX = -7;
    PressKey(VK_APPS);
    EXPECT_EQ(HeadlessFrame().popupX, -7);
}

TEST_F(MouseMenusTest, LinesThatAreSelectedStaySelected) {
    SelectArea({0, 65535, 1, 3}, true, 0, 1, false);
    RightOnColumn(2);
    EXPECT_EQ(Selection(), "B:D");
    RightOnColumn(4);
    EXPECT_EQ(Selection(), "E:E");
    SelectArea({1, 3, 0, 255}, true, 1, 0, false);
    RightOnRow(2);
    EXPECT_EQ(Selection(), "2:4");
    RightOnRow(5);
    EXPECT_EQ(Selection(), "6:6");
    // A line is not selected because some of its cells are.
    SelectArea({1, 3, 1, 3}, true, 1, 1, false);
    RightOnColumn(2);
    EXPECT_EQ(Selection(), "C:C");
}

TEST_F(MouseMenusTest, ACommandOfTheMenuActsOnTheLinesUnderThePointer) {
    Enter("C1", "x");
    HeadlessFrame().popupAnswer = 162;
    RightOnColumn(2);
    EXPECT_EQ(Shown("C1"), "");
    EXPECT_EQ(Shown("D1"), "x");
    HeadlessFrame().popupAnswer = 144;
    RightOnColumn(2);
    EXPECT_EQ(Shown("C1"), "x");
    HeadlessFrame().popupAnswer = 393;
    RightOnRow(3);
    EXPECT_EQ(GetRowHeight(*CurrentSheet(), 3), 0);
}

TEST_F(MouseMenusTest, WhileSomethingIsTypedTheHeadersHaveNoMenu) {
    TypeText(u"=1");
    RightOnColumn(2);
    EXPECT_EQ(Selection(), "A1");
    EXPECT_EQ(Texts(), "");
}

TEST_F(MouseMenusTest, TheWheelTurnsLinesAndWithShiftOrSidewaysColumns) {
    const SheetView& view = CurrentSheet()->view;
    struct Case {
        u32 message;
        i32 wheel;
        u32 modifiers;
        i32 row, column;  // first ones afterwards
    };
    const Case cases[] = {
        {WM_MOUSEWHEEL, -120, 0, 11, 10},         {WM_MOUSEWHEEL, 120, 0, 9, 10},
        {WM_MOUSEWHEEL, -120, KEY_SHIFT, 10, 11}, {WM_MOUSEWHEEL, 120, KEY_SHIFT, 10, 9},
        {WM_MOUSEHWHEEL, 120, 0, 10, 11},         {WM_MOUSEHWHEEL, -120, 0, 10, 9},
        {WM_MOUSEHWHEEL, 120, KEY_SHIFT, 10, 11}, {WM_MOUSEHWHEEL, 0, 0, 10, 10},
    };
    for (const Case& row : cases) {
        ScrollTo(10, 10);
        Send(row.message, 300, 300, row.wheel, row.modifiers);
        EXPECT_EQ(view.firstRow, row.row) << row.message << ' ' << row.wheel << ' ' << row.modifiers;
        EXPECT_EQ(view.firstColumn, row.column) << row.message << ' ' << row.wheel << ' ' << row.modifiers;
    }
}

}  // namespace
}  // namespace tally
