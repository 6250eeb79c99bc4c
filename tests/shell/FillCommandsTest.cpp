#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/Tables.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class FillCommands : public ShellSandbox {
  protected:
    static void Type(std::string_view cell, std::string_view text) {
        Select(cell);
        TypeText(Wide(text));
        PressKey(VK_RETURN);
    }
    static void SelectArea(const RefArea& area) { CurrentSheet()->view.selection = area; }
    static std::string Box() { return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text); }
};

TEST_F(FillCommands, TheFourFillsAndTheirKeys) {
    Type("A1", "7");
    SelectArea({0, 2, 0, 0});
    PressKey('D', KEY_CTRL);
    EXPECT_EQ(Shown("A3"), "7");
    SelectArea({2, 2, 0, 2});
    PressKey('R', KEY_CTRL);
    EXPECT_EQ(Shown("C3"), "7");
    Type("C5", "9");
    SelectArea({3, 4, 2, 2});
    EXPECT_TRUE(RunCommand(137));
    EXPECT_EQ(Shown("C4"), "9");
    SelectArea({4, 4, 1, 2});
    EXPECT_TRUE(RunCommand(138));
    EXPECT_EQ(Shown("B5"), "9");
}

TEST_F(FillCommands, WhileTypingNothingIsFilled) {
    Type("A1", "7");
    Select("A2");
    TypeText(u"x");
    EXPECT_TRUE(RunCommand(135));
    PressKey(VK_ESCAPE);
    EXPECT_EQ(CellAtName("A2"), nullptr);
}

TEST_F(FillCommands, TheSeriesDialogOffersWhatTheSelectionSays) {
    Type("A1", "1");
    Type("A2", "4");
    Type("B1", "2");
    SelectArea({0, 4, 0, 0});
    EXPECT_TRUE(RunCommand(139));  // cancelled
    ASSERT_EQ(HeadlessDialogs().shown.Count(), 1u);
    EXPECT_EQ(Narrow(HeadlessDialogs().shown[0].title), "系列");
    EXPECT_EQ(CellAtName("A3"), nullptr);
    ASSERT_TRUE(AnswerDialog(true));
    EXPECT_TRUE(RunCommand(139));
    EXPECT_EQ(Shown("A5"), "13");
    // Along rows the proposal follows.
    SelectArea({0, 0, 0, 2});
    ASSERT_TRUE(AnswerDialog(true));
    EXPECT_TRUE(RunCommand(139));
    EXPECT_EQ(Shown("C1"), "3");
}

TEST_F(FillCommands, TheSeriesDialogIsReadWhole) {
    Type("A1", "1/30/2004");
    SelectArea({0, 5, 0, 0});
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"类型", u"日期") &&
                EnterInDialog(u"日期单位", u"工作日") && EnterInDialog(u"步长值", u"2") &&
                EnterInDialog(u"终止值", u"2/5/2004"));
    EXPECT_TRUE(RunCommand(139));
    EXPECT_TRUE(HeadlessDialogs().shown.Last().understood);
    EXPECT_EQ(Shown("A2"), "2/3/2004");
    EXPECT_EQ(Shown("A3"), "2/5/2004");
    EXPECT_EQ(CellAtName("A4"), nullptr);
    // The unit of a date means nothing to other series.
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"日期单位", u"年"));
    EXPECT_TRUE(RunCommand(139));
    EXPECT_FALSE(HeadlessDialogs().shown.Last().understood);
}

TEST_F(FillCommands, AnEmptyStepIsOneAndATextIsRefused) {
    Type("A1", "5");
    SelectArea({0, 1, 0, 0});
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"步长值", u""));
    EXPECT_TRUE(RunCommand(139));
    EXPECT_EQ(Shown("A2"), "6");
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"步长值", u"two"));
    EXPECT_TRUE(RunCommand(139));
    EXPECT_EQ(Box(), "请输入数字");
    EXPECT_EQ(Shown("A2"), "6");
}

}  // namespace
}  // namespace tally
