#include "editing/NameOperations.h"
#include "editing/Undo.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class NameCommandTest : public ShellSandbox {
  protected:
    // Fills the dialog in, presses what stands last, and ends it.
    static void Names(bool accept, std::initializer_list<std::pair<WideView, WideView>> entries) {
        ASSERT_TRUE(AnswerDialog(accept));
        for (const auto& [field, value] : entries) ASSERT_TRUE(EnterInDialog(field, value));
        PickCommand(168);
        EXPECT_TRUE(HeadlessDialogs().shown.Last().understood);
    }
    static std::string FormulaOfName(WideView name) {
        const i32 row = FindWrittenName(0, CurrentWorkbook()->currentSheet, name);
        WideText out;
        return row >= 0 && NameFormula(0, row, 0, 0, out) ? Narrow(out) : "none";
    }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
};

// What the open dialog shows, as the test's routine saw it.
std::string seen;
void See(Dialog& dialog) {
    seen.clear();
    for (const Control& control : dialog.controls) {
        if (control.row.kind == CONTROL_LIST) {
            for (const DialogItem& item : control.items) seen += Narrow(item.text) + "|";
        } else if (control.row.kind == CONTROL_REFERENCE) {
            seen += Narrow(control.text);
        } else if (control.row.kind == CONTROL_BUTTON && control.row.text && !control.enabled) {
            seen += "-";
        }
    }
}

TEST_F(NameCommandTest, TheSelectionIsOfferedAndTakenUnderAName) {
    SelectArea({1, 2, 1, 2}, true, 1, 1, true);
    HeadlessDialogs().whileOpen = See;
    Names(true, {{u"名称", u"block"}});
    EXPECT_EQ(seen, "--=Sheet1!$B$2:$C$3");
    EXPECT_EQ(FormulaOfName(u"block"), "=Sheet1!$B$2:$C$3");
    EXPECT_EQ(LastUndo()->kind, UNDO_ADD_NAME);
    Names(false, {});
    EXPECT_EQ(seen, "block|--=Sheet1!$B$2:$C$3");
}

TEST_F(NameCommandTest, AddAndDeleteActAtOnceAndTheCellsFollow) {
    Enter("A1", "=rate*2469");
    Select("B5");
    PaintHeadless();
    EXPECT_EQ(CountDrawn("#NAME?"), 1);
    Names(false, {{u"名称", u"rate"}, {u"引用位置", u"=0.5"}, {u"添加", u""}});
    PaintHeadless(false);
    EXPECT_NE(FindDrawn("1234.5"), nullptr);
    EXPECT_EQ(CountDrawn("#NAME?"), 0);
    EXPECT_EQ(FormulaOfName(u"rate"), "=0.5");
    Names(false, {{u"名称", u"RATE"}, {u"删除", u""}});
    EXPECT_EQ(FormulaOfName(u"rate"), "none");
    EXPECT_EQ(Shown("A1"), "#NAME?");
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(Shown("A1"), "1234.5");
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(Shown("A1"), "#NAME?");
}

TEST_F(NameCommandTest, AChosenNameShowsWhatItStandsFor) {
    DefineName("rates", "=Sheet1!$F$7");
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        UserChooses(dialog, 102, 0);
        seen = Narrow(ControlText(dialog, 101)) + " " + Narrow(ControlText(dialog, 107));
    };
    const u32 undo = UndoCount();
    Names(true, {});
    EXPECT_EQ(seen, "rates =Sheet1!$F$7");
    EXPECT_EQ(UndoCount(), undo);  // nothing was changed in it
    Names(true, {{u"引用位置", u"=Sheet1!$F$8"}});
    EXPECT_EQ(FormulaOfName(u"rates"), "=Sheet1!$F$8");
    EXPECT_EQ(LastUndo()->kind, UNDO_CHANGE_NAME);
}

TEST_F(NameCommandTest, WhatIsNoNameOrNoFormulaIsToldOnceAndTheDialogStays) {
    const struct {
        const char16_t *name, *formula;
        const char* box;
    } rows[] = {
        {u"A1", u"=1", "名称无效"},
        {u"two words", u"=1", "名称无效"},
        {u"rate", u"=1+", "There is an error in the formula you entered"},
    };
    for (const auto& row : rows) {
        Headless().boxes.Clear();
        const u32 undo = UndoCount();
        Names(true, {{u"名称", row.name}, {u"引用位置", row.formula}});
        EXPECT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(LastBox(), row.box);
        EXPECT_FALSE(HeadlessDialogs().shown.Last().accepted);
        EXPECT_EQ(UndoCount(), undo);
    }
}

TEST_F(NameCommandTest, ARelativeNameIsSeenFromTheActiveCell) {
    Select("B2");
    Names(true, {{u"名称", u"corner"}, {u"引用位置", u"=A1"}});
    Enter("B2", "5");
    Enter("C3", "=corner");
    EXPECT_EQ(Shown("C3"), "5");
}

TEST_F(NameCommandTest, TheNameLeadsThereFromGoTo) {
    Names(true, {{u"名称", u"far"}, {u"引用位置", u"=$M$90:$N$91"}});
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"弟用位置", u"FAR"));
    PressKey('G', KEY_CTRL);
    EXPECT_EQ(Selection(), "M90:N91");
}

TEST_F(NameCommandTest, TheCommandIsGreyWhileSomethingIsTyped) {
    EXPECT_TRUE(IsEnabled(MENU_NAME, 168));
    TypeText(u"1");
    EXPECT_FALSE(IsEnabled(MENU_NAME, 168));
}

}  // namespace
}  // namespace tally
