#include "editing/Undo.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class SheetCommandsTest : public ShellSandbox {
  protected:
    static void Answer(WideView field, WideView value) {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(field, value));
    }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
};

TEST_F(SheetCommandsTest, HeightsAndWidthsByNumber) {
    SelectArea({1, 2, 1, 2}, true, 1, 1, false);
    Answer(u"行高", u"30.5");
    PickCommand(391);
    Answer(u"列宽", u"10.5");
    PickCommand(395);
    for (i32 line : {1, 2}) {
        EXPECT_EQ(GetRowHeight(*CurrentSheet(), line), 610);
        EXPECT_EQ(GetColumnWidth(*CurrentSheet(), line), 2688);
    }
    EXPECT_EQ(GetRowHeight(*CurrentSheet(), 3), 255);
    Answer(u"行高", u"0");
    PickCommand(391);
    EXPECT_EQ(GetRowHeight(*CurrentSheet(), 1), 0);
    Answer(u"标准列宽", u"3");
    PickCommand(399);
    EXPECT_EQ(GetColumnWidth(*CurrentSheet(), 9), 768);
    EXPECT_EQ(GetColumnWidth(*CurrentSheet(), 1), 2688);
}

TEST_F(SheetCommandsTest, SizesBeyondTheLimitsAreRefusedAndAskedAgain) {
    Answer(u"行高", u"409.1");
    Answer(u"行高", u"409");
    PickCommand(391);
    EXPECT_EQ(LastBox(), "行高必须在 0 至 409 之间");
    EXPECT_EQ(GetRowHeight(*CurrentSheet(), 0), 8180);
    Answer(u"列宽", u"x");
    PickCommand(395);
    EXPECT_EQ(LastBox(), "列宽必须在 0 至 255 字符之间");
    EXPECT_EQ(GetColumnWidth(*CurrentSheet(), 0), 2048);
    Answer(u"列宽", u"255");
    PickCommand(395);
    EXPECT_EQ(GetColumnWidth(*CurrentSheet(), 0), 65280);
    PaintHeadless();
}

TEST_F(SheetCommandsTest, ASheetIsRenamed) {
    PickCommand(163);
    const struct {
        const char* name;
        const char* message;
    } faults[] = {{"", "Name must be 1-31 characters"},
                  {"a name of more than thirty-one cha", "Name must be 1-31 characters"},
                  {"a/b", "Name contains invalid characters"},
                  {"sheet1", "Name must be unique"}};
    for (const auto& fault : faults) {
        Answer(u"名称", Wide(fault.name));
        PickCommand(400);
        EXPECT_EQ(LastBox(), fault.message);
        EXPECT_EQ(Narrow(WideView(CurrentSheet()->name)), "Sheet2");
    }
    Enter("A1", "=Sheet2!B1");
    Answer(u"名称", u"SHEET2");  // its own name in another case
    PickCommand(400);
    Answer(u"名称", u"一月");
    PickCommand(400);
    Select("B5");
    Select("A1");
    EXPECT_EQ(Line(), "=一月!B1");
    PaintHeadless();
    EXPECT_EQ(CountDrawn("一月"), 1);
}

TEST_F(SheetCommandsTest, AHiddenSheetIsShownAgain) {
    EXPECT_FALSE(IsEnabled(MENU_SHEET, 402));
    PickCommand(163);
    PickCommand(401);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    EXPECT_TRUE(IsEnabled(MENU_SHEET, 402));
    Answer(u"工作表", u"Sheet2");
    PickCommand(402);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    EXPECT_EQ(CurrentSheet()->hidden, 0);
}

TEST_F(SheetCommandsTest, NamesViewsAndProtectionAreUndone) {
    Answer(u"名称", u"一月");
    PickCommand(400);
    for (const i32 command : {403, 404, 405, 412, 423}) {
        Select("C3");
        PickCommand(command);
    }
    Answer(u"密码", u"x");
    PickCommand(411);
    EXPECT_EQ(UndoCount(), 7u);
    while (UndoCount()) ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Narrow(WideView(CurrentSheet()->name)), "Sheet1");
    EXPECT_EQ(CurrentSheet()->viewFlags, 0x66);
    EXPECT_EQ(CurrentSheet()->zoomPercent, 100);
    EXPECT_EQ(CurrentSheet()->passwordHash, 0);
}

TEST_F(SheetCommandsTest, ZoomByNumber) {
    Answer(u"显示比例(&Z) %", u"401");
    PickCommand(410);
    EXPECT_EQ(LastBox(), "Zoom percent must be between 10 and 400");
    EXPECT_EQ(CurrentSheet()->zoomPercent, 100);
    Answer(u"显示比例(&Z) %", u"130");
    PickCommand(410);
    EXPECT_EQ(CurrentSheet()->zoomPercent, 130);
}

TEST_F(SheetCommandsTest, ProtectionWithAPasswordComesOffWithItOnly) {
    Answer(u"密码", u"password");
    PickCommand(411);
    EXPECT_NE(CurrentSheet()->viewFlags & VIEW_PROTECTED, 0);
    EXPECT_EQ(CurrentSheet()->passwordHash, 0x83AF);
    TypeText(u"1");
    EXPECT_EQ(LastBox(), "单元格有保护");
    Answer(u"密码", u"Password");
    PickCommand(411);
    EXPECT_EQ(LastBox(), "输入的密码不正确");
    EXPECT_NE(CurrentSheet()->viewFlags & VIEW_PROTECTED, 0);
    Answer(u"密码", u"password");
    PickCommand(411);
    EXPECT_EQ(CurrentSheet()->viewFlags & VIEW_PROTECTED, 0);
    EXPECT_EQ(CurrentSheet()->passwordHash, 0);
}

TEST_F(SheetCommandsTest, ProtectionWithoutAPasswordAsksNothingToComeOff) {
    Answer(u"密码", u"");
    PickCommand(411);
    EXPECT_NE(CurrentSheet()->viewFlags & VIEW_PROTECTED, 0);
    PickCommand(411);
    EXPECT_EQ(CurrentSheet()->viewFlags & VIEW_PROTECTED, 0);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
}

TEST_F(SheetCommandsTest, WhatIsProtectedOrSizedIsAChangedBook) {
    struct Case {
        i32 command;
        WideView field, value;
    };
    for (const Case& row : {Case{411, u"密码", u""},
                            {391, u"行高", u"20"},
                            {395, u"列宽", u"20"},
                            {399, u"标准列宽", u"20"},
                            {400, u"名称", u"x"},
                            {410, u"显示比例(&Z) %", u"80"},
                            {393, u"", u""},
                            {397, u"", u""},
                            {392, u"", u""},
                            {412, u"", u""},
                            {423, u"", u""}}) {
        TearDown();
        SetUp();
        Select("B2");
        ASSERT_EQ(CurrentWorkbook()->dirty, 0u);
        if (!row.field.empty()) Answer(row.field, row.value);
        PickCommand(row.command);
        EXPECT_NE(CurrentWorkbook()->dirty, 0u) << row.command;
        EXPECT_EQ(UndoCount(), 1u) << row.command;
    }
}

}  // namespace
}  // namespace tally
