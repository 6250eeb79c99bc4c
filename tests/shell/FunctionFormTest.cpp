#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class FunctionFormTest : public ShellSandbox {
  protected:
    static void Pick(std::string_view category, std::string_view function) {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"函数分类", Wide(category)) &&
                    EnterInDialog(u"函数名", Wide(function)));
        PickCommand(167);
    }
    static bool Understood() { return HeadlessDialogs().shown.Last().understood; }
    static std::string Selected() {
        const HeadlessEdit& line = HeadlessFrame().edits[ENTRY_LINE];
        return Narrow(line.text).substr(static_cast<std::size_t>(line.start),
                                        static_cast<std::size_t>(line.end - line.start));
    }
};

TEST_F(FunctionFormTest, TheCallIsTypedWithItsFirstArgumentSelected) {
    Pick("财务", "PMT");
    EXPECT_TRUE(Understood());
    EXPECT_EQ(Line(), "=PMT(rate,term,[pv],[fv],[type])");
    EXPECT_EQ(Selected(), "rate");
    EXPECT_EQ(Shell().entryMode, ENTRY_ENTER);
    TypeText(u"0.1");
    EXPECT_EQ(Line(), "=PMT(0.1,term,[pv],[fv],[type])");
}

TEST_F(FunctionFormTest, WhatIsLeftOfOptionalArgumentsIsNoPartOfTheEntry) {
    struct Row {
        std::string_view category, function, typed, rest, formula;
    };
    // What is typed over the first argument, what the rest of the line is edited to, what is stored.
    constexpr Row rows[] = {
        {"财务", "PMT", "0.1", "=PMT(0.1,12,[pv],[fv],[type])", "=PMT(0.1,12)"},
        {"财务", "PMT", "0.1", "=PMT(0.1,12,100,[fv],[type])", "=PMT(0.1,12,100)"},
        {"财务", "PMT", "0.1", "=PMT(0.1,12,100,[fv],1)", "=PMT(0.1,12,100,,1)"},
        {"财务", "PMT", "0.1", "=2*PMT(0.1,12,[pv],[fv],[type])+1", "=2*PMT(0.1,12)+1"},
        {"全部", "SUM", "A5:A6", "=SUM(A5:A6,[number2,])", "=SUM(A5:A6)"},
        {"全部", "DCOUNT", "A5:B9", "=DCOUNT(A5:B9,[field],D5:D6)", "=DCOUNT(A5:B9,,D5:D6)"},
    };
    for (const Row& row : rows) {
        Pick(row.category, row.function);
        TypeText(Wide(row.typed));
        ShellPlatform().setEditText(ENTRY_LINE, Wide(row.rest));
        PressKey(VK_RETURN);
        PressKey(VK_UP);
        EXPECT_EQ(Line(), row.formula);
    }
    // In a line of the user's own the brackets stand for what they are.
    TypeText(u"=PMT(0.1,12,[pv])");
    PressKey(VK_RETURN);
    EXPECT_TRUE(IsEditing());
}

TEST_F(FunctionFormTest, AFunctionWithoutArgumentsLeavesTheCaretBehindIt) {
    Pick("日期与时间", "NOW");
    EXPECT_EQ(Line(), "=NOW()");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 6);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 6);
}

TEST_F(FunctionFormTest, InAFormulaTheCallGoesToTheCaret) {
    TypeText(u"=1+");
    Pick("全部", "SUM");
    EXPECT_EQ(Line(), "=1+SUM(number1,[number2,])");
    EXPECT_EQ(Selected(), "number1");
}

TEST_F(FunctionFormTest, TheSeparatorIsThatOfTheRegion) {
    Region("de-DE");
    Pick("数学与三角函数", "MOD");
    EXPECT_EQ(Line(), "=MOD(number;divisor)");
}

TEST_F(FunctionFormTest, BothHalvesOfTheTableAreListedByCategory) {
    Pick("科学记数", "BESSELJ");  // of the add-in half
    EXPECT_TRUE(Understood());
    PressKey(VK_ESCAPE);
    Pick("财务", "MOD");
    EXPECT_FALSE(Understood());
    PressKey(VK_ESCAPE);
    Pick("全部", "GOTO");  // a control of macros
    EXPECT_FALSE(Understood());
    PressKey(VK_ESCAPE);
    Pick("宏控件", "GOTO");
    EXPECT_FALSE(Understood());
}

TEST_F(FunctionFormTest, AMacroSheetListsControlsAndIfAmongThem) {
    PickCommand(166);
    Pick("宏控件", "GOTO");
    EXPECT_TRUE(Understood());
    EXPECT_EQ(Line().substr(0, 6), "=GOTO(");
    PressKey(VK_ESCAPE);
    Pick("宏控件", "IF");
    EXPECT_TRUE(Understood());
}

TEST_F(FunctionFormTest, IsRefusedOnAProtectedCellAndCancelledWithoutATrace) {
    ASSERT_TRUE(AnswerDialog(false));
    PickCommand(167);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Line(), "");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    PickCommand(167);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
}

TEST_F(FunctionFormTest, TheFirstFunctionOfACategoryIsChosenFirst) {
    ASSERT_TRUE(AnswerDialog(true));
    PickCommand(167);
    EXPECT_EQ(Line().substr(0, 5), "=ABS(");
    PressKey(VK_ESCAPE);
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"函数分类", u"日期与时间"));
    PickCommand(167);
    EXPECT_EQ(Line().substr(0, 6), "=DATE(");
}

}  // namespace
}  // namespace tally
