#include "shell/commands/Places.h"

#include "formula/Links.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class PlacesTest : public ShellSandbox {
  protected:
    static void GoTo(std::string_view target) {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"弟用位置", Wide(target)));
        PressKey('G', KEY_CTRL);
    }
    static void Link(std::string_view cell, std::string_view target, std::string_view location) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
        ASSERT_NE(link, nullptr);
        link->area = {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column),
                      static_cast<u8>(column)};
        ASSERT_TRUE(link->target.Assign(Wide(target)) && link->location.Assign(Wide(location)));
    }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
    static void PutCsv(std::string_view path) {
        const std::string_view text = "linked\n";
        ASSERT_TRUE(PutMemoryFile(Wide(path), ByteView(reinterpret_cast<const u8*>(text.data()), text.size())));
    }
};

TEST_F(PlacesTest, GoToSelectsAReferenceANameAndAnotherSheet) {
    GoTo("C5:D9");
    EXPECT_EQ(Selection(), "C5:D9");
    EXPECT_EQ(Active(), "C5");
    DefineName("rates", "=Sheet1!$F$7");
    GoTo("Rates");
    EXPECT_EQ(Active(), "F7");
    PickCommand(163);
    GoTo("Sheet1!Z900");
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    EXPECT_EQ(Active(), "Z900");
    EXPECT_GT(CurrentSheet()->view.firstRow, 800);
}

TEST_F(PlacesTest, GoToBeginsWithTheWayBack) {
    Select("B2");
    GoTo("M40");
    EXPECT_EQ(Narrow(Shell().goToTarget), "Sheet1!B2");
    ASSERT_TRUE(AnswerDialog(true));
    PressKey('G', KEY_CTRL);
    EXPECT_EQ(Active(), "B2");
    EXPECT_EQ(Narrow(Shell().goToTarget), "Sheet1!M40");
}

TEST_F(PlacesTest, WhatIsNoReferenceCannotBeAccepted) {
    Select("B2");
    PickCommand(163);
    CurrentSheet()->hidden = 1;
    SelectSheet(0);
    for (const char* text : {"nowhere", "1+1", "", "Sheet9!A1", "Sheet2!A1", "A1,C1", "A70000"}) {
        GoTo(text);
        EXPECT_EQ(Active(), "B2") << text;
        EXPECT_FALSE(HeadlessDialogs().shown.Last().accepted) << text;
    }
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(PlacesTest, LookingForAPlaceInAnotherBookLeavesNoLink) {
    PutCsv("/other.csv");
    ASSERT_TRUE(OpenBookFile(u"/other.csv", false));
    PickCommand(110);
    const u32 books = CurrentWorkbook()->externBooks.Count();
    GoTo("[other.csv]other!B3");
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/other.csv");
    EXPECT_EQ(Active(), "B3");
    for (const Workbook* book : Books().books) EXPECT_LE(book->externBooks.Count(), books);
    ASSERT_TRUE(AnswerDialog(true));
    PressKey('G', KEY_CTRL);
    EXPECT_EQ(Active(), "A1");
    EXPECT_NE(Narrow(CurrentWorkbook()->path), "/other.csv");
}

TEST_F(PlacesTest, AClickOrEnterFollowsALinkToAPlace) {
    Link("B2", "", "Sheet1!D20");
    ClickCell("B2");
    EXPECT_EQ(Active(), "D20");
    EXPECT_FALSE(HeadlessFrame().captured);
    Select("B2");
    PressKey(VK_RETURN);
    EXPECT_EQ(Active(), "D20");
    Select("B2");
    PressKey(VK_RETURN, KEY_SHIFT);
    EXPECT_EQ(Active(), "B1");
}

TEST_F(PlacesTest, ALinkToASpreadsheetOpensItHere) {
    PutCsv("/linked.csv");
    Link("A1", "/linked.csv", "linked!C3");
    PressKey(VK_RETURN);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "/linked.csv");
    EXPECT_EQ(Active(), "C3");
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(PlacesTest, ALinkThatLeadsNowhereSaysSo) {
    Link("A1", "/none.csv", "A5");
    Link("A2", "", "no place");
    PressKey(VK_RETURN);
    EXPECT_EQ(LastBox(), "Invalid link");
    EXPECT_EQ(Active(), "A1");
    Select("A2");
    PressKey(VK_RETURN);
    EXPECT_EQ(LastBox(), "Invalid location");
    EXPECT_EQ(Headless().boxes.Count(), 2u);
}

TEST_F(PlacesTest, WhatLeadsOutOfTheProgramIsAskedOnceAndNoIsTheDefault) {
    Headless().trust = TRUST_ASK;
    Link("A1", "http://example.org/", "");
    PressKey(VK_RETURN);
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Headless().boxes[0].flags & 0xFu, u32{MB_YESNO});
    EXPECT_NE(Headless().boxes[0].flags & MB_DEFBUTTON2, 0u);
    PressKey(VK_RETURN);
    EXPECT_EQ(LastBox(), "Invalid link");  // refused for as long as the book is open
    EXPECT_EQ(Headless().boxes.Count(), 2u);
}

TEST_F(PlacesTest, ALinkIsMadeChangedTakenAwayAndUndone) {
    SelectArea({1, 2, 1, 1}, true, 1, 1, false);
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"位置", u"Sheet1!D20"));
    PressKey('K', KEY_CTRL);
    ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->hyperlinks[0].area, (RefArea{1, 2, 1, 1}));
    EXPECT_EQ(CurrentSheet()->hyperlinks[0].kind, 1);
    ClickCell("B3");
    EXPECT_EQ(Active(), "D20");
    Select("B3");  // the link of the active cell is changed as a whole
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"位置", u"A7"));
    PressKey('K', KEY_CTRL);
    ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->hyperlinks[0].area, (RefArea{1, 2, 1, 1}));
    PressKey(VK_RETURN);
    EXPECT_EQ(Active(), "A7");
    Select("B3");
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"位置", u""));
    PressKey('K', KEY_CTRL);
    EXPECT_TRUE(CurrentSheet()->hyperlinks.IsEmpty());
    for (const char* location : {"A7", "Sheet1!D20"}) {
        PressKey('Z', KEY_CTRL);
        ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
        EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].location), location);
    }
    PressKey('Z', KEY_CTRL);
    EXPECT_TRUE(CurrentSheet()->hyperlinks.IsEmpty());
}

TEST_F(PlacesTest, AClosedPlatformLetsNothingOutAndAsksNothing) {
    Headless().trust = TRUST_CLOSED;
    Link("A1", "http://example.org/", "");
    PressKey(VK_RETURN);
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(LastBox(), "Invalid link");
}

TEST_F(PlacesTest, APageIsShownByAnotherProgramAndThePlaceHere) {
    Headless().trust = TRUST_OPEN;
    HeadlessFrame().opensExternally = true;
    Link("A1", "http://example.org/", "D20");
    PressKey(VK_RETURN);
    ASSERT_EQ(HeadlessFrame().opened.Count(), 1u);
    EXPECT_EQ(Narrow(HeadlessFrame().opened[0]), "http://example.org/");
    EXPECT_EQ(Active(), "D20");
    Link("B1", "mailto:somebody", "");
    ClickCell("B1");
    EXPECT_EQ(Narrow(HeadlessFrame().opened.Last()), "mailto:somebody");
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    HeadlessFrame().opensExternally = false;
    ClickCell("B1");
    EXPECT_EQ(LastBox(), "Invalid link");
}

}  // namespace
}  // namespace tally
