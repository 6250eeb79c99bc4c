#include "platform/headless/HeadlessForms.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class FormsTest : public ShellSandbox {
  protected:
    static bool Fill(Form& form) {
        constexpr WideView directions[] = {u"活动单元格右移", u"活动单元格下移", u"整行(&R)"};
        return form.title.Assign(u"插入") && AddChoice(form, FIELD_RADIO, u"插入", directions, 1) &&
               AddEdit(form, u"步长值:", u"1") && AddCheck(form, u"转置(&E)", false) && AddLabel(form, u"说明");
    }
};

TEST_F(FormsTest, AFormWithoutAnAnswerIsCancelled) {
    Form form;
    ASSERT_TRUE(Fill(form));
    EXPECT_FALSE(ShowForm(form));
    ASSERT_EQ(HeadlessForms().shown.Count(), 1u);
    EXPECT_EQ(Narrow(HeadlessForms().shown[0].title), "插入");
    EXPECT_FALSE(HeadlessForms().shown[0].accepted);
}

TEST_F(FormsTest, FieldsAreNamedByLabelOrNumberAndItemsToo) {
    Form form;
    ASSERT_TRUE(Fill(form));
    ASSERT_TRUE(AnswerForm(true) && EnterInForm(u"插入", u"整行") && EnterInForm(u"步长值", u"2.5") &&
                EnterInForm(u"2", u"1"));
    EXPECT_TRUE(ShowForm(form));
    EXPECT_TRUE(HeadlessForms().shown[0].understood);
    EXPECT_EQ(form.fields[0].choice, 2);
    EXPECT_EQ(Narrow(form.fields[1].text), "2.5");
    EXPECT_EQ(form.fields[2].choice, 1);
}

TEST_F(FormsTest, WhatAFieldDoesNotTakeIsTold) {
    Form form;
    ASSERT_TRUE(Fill(form));
    form.fields[0].greyItems = 1;
    form.fields[1].enabled = false;
    for (const auto& [field, value] : {std::pair<WideView, WideView>(u"插入", u"0"),
                                       {u"插入", u"左移"},
                                       {u"步长值", u"3"},
                                       {u"说明", u"3"},
                                       {u"7", u"3"}}) {
        ASSERT_TRUE(AnswerForm(true) && EnterInForm(field, value));
        EXPECT_TRUE(ShowForm(form));
        EXPECT_FALSE(HeadlessForms().shown.Last().understood) << Narrow(field);
    }
    EXPECT_EQ(form.fields[0].choice, 1);
    EXPECT_EQ(Narrow(form.fields[1].text), "1");
}

TEST_F(FormsTest, AChangeMayEnableOtherFields) {
    Form form;
    ASSERT_TRUE(Fill(form));
    form.fields[1].enabled = false;
    form.changed = [](Form& changed, u32 field) {
        if (field == 2) changed.fields[1].enabled = changed.fields[2].choice != 0;
    };
    ASSERT_TRUE(AnswerForm(true) && EnterInForm(u"转置", u"1") && EnterInForm(u"步长值", u"9"));
    EXPECT_TRUE(ShowForm(form));
    EXPECT_EQ(Narrow(form.fields[1].text), "9");
}

TEST_F(FormsTest, AFormThatDoesNotAcceptStaysForTheNextAnswer) {
    Form form;
    ASSERT_TRUE(Fill(form));
    form.accept = [](Form& asked) { return asked.fields[1].text.View() == u"5"; };
    ASSERT_TRUE(AnswerForm(true) && EnterInForm(u"步长值", u"x") && AnswerForm(true) &&
                EnterInForm(u"步长值", u"5"));
    EXPECT_TRUE(ShowForm(form));
    EXPECT_EQ(HeadlessForms().shown.Count(), 1u);

    ASSERT_TRUE(AnswerForm(true) && EnterInForm(u"步长值", u"x") && AnswerForm(false));
    EXPECT_FALSE(ShowForm(form));
}

TEST_F(FormsTest, AFieldBeginsWithWhatItIsGiven) {
    Form form;
    constexpr WideView items[] = {u"one", u"two"};
    ASSERT_TRUE(AddCheck(form, u"on", true) && AddCheck(form, u"off", false) &&
                AddChoice(form, FIELD_RADIO, u"which", items, 1) && AddEdit(form, u"text", u"given"));
    EXPECT_EQ(form.fields[0].choice, 1);
    EXPECT_EQ(form.fields[1].choice, 0);
    EXPECT_EQ(form.fields[2].choice, 1);
    ASSERT_EQ(form.fields[2].items.Count(), 2u);
    EXPECT_EQ(Narrow(form.fields[2].items[1]), "two");
    EXPECT_EQ(Narrow(form.fields[3].text), "given");
}

}  // namespace
}  // namespace tally
