// What is seen comes up to date between messages, and a paint only paints.

#include "shell/grid/ShownCells.h"

#include "editing/LineSizes.h"
#include "formula/Compiler.h"
#include "formula/Recalculation.h"
#include "formula/SheetCalculation.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/PaintGuard.h"
#include "shell/grid/Layout.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class ShownCellsTest : public ShellSandbox {
  protected:
    static void MakeStale(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* found = GetCell(CurrentSheet()->cells, row, column);
        ASSERT_TRUE(found && found->formula) << cell;
        found->calcState = CALC_STALE;
    }
    static bool IsStale(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        const CellRecord* found = GetCell(CurrentSheet()->cells, row, column);
        return found && found->calcState == CALC_STALE;
    }
    static void Condition(const RefArea& area, const char* formula, u8 colour) {
        ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
        ConditionalCondition* condition = format ? format->conditions.AppendDefault() : nullptr;
        ASSERT_TRUE(condition && format->areas.Append(area));
        condition->type = 2;
        condition->hasPattern = true;
        condition->backColour = {true, colour};
        FormulaPlace place;
        place.book = CurrentBook();
        place.relativeForm = true;
        ASSERT_TRUE(CompileFormula(place, Wide(formula), 'V', condition->formula1));
    }
    static void TypeInto(std::string_view cell, std::u16string_view text) {
        Select(cell);
        TypeText(text);
        PressKey(VK_RETURN);
    }
    // A message that changes nothing.
    static void Nothing() {
        ShellMessage message;
        message.message = WM_MOUSEMOVE;
        message.x = message.y = -1;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static i32 Fills(u32 colour) {
        i32 count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            count += record.kind == DRAW_FILL && record.colour == colour;
        return count;
    }
};

TEST_F(ShownCellsTest, OnlyWhatIsSeenIsCalculatedAndOnlyAfterAChange) {
    for (const char* cell : {"A1", "C3", "C5", "C900", "IV3"}) {
        Enter(cell, "=1+1");
        MakeStale(cell);
    }
    Enter("B3", "x");
    Select("A1");
    ASSERT_TRUE(HideRows(*CurrentSheet(), {4, 4, 0, 255}, true));
    RefreshChrome();
    for (const char* cell : {"A1", "C3", "C5", "C900", "IV3"}) MakeStale(cell);
    Nothing();
    EXPECT_FALSE(IsStale("A1"));
    EXPECT_FALSE(IsStale("C3"));
    EXPECT_FALSE(
        IsStale("IV3"));  // nothing stands between it and what is shown, so that its text may reach there
    EXPECT_TRUE(IsStale("C5"));  // its row is hidden
    EXPECT_TRUE(IsStale("C900"));
    MakeStale("A1");
    Nothing();
    EXPECT_TRUE(IsStale("A1"));  // nobody said that anything changed
    tally::PaintHeadless();
    EXPECT_TRUE(IsStale("A1"));  // and a paint does not look
}

TEST_F(ShownCellsTest, WhatComesIntoViewComesUpToDateBeforeItIsPainted) {
    Enter("A60", "=1+1");
    Select("A1");
    Nothing();
    MakeStale("A60");
    TurnWheel(-55);
    EXPECT_FALSE(IsStale("A60"));
    EXPECT_EQ(Shell().layout.rows[0].index, 55);
}

TEST_F(ShownCellsTest, TheFirstCellOfAMergeThatIsSeenInPartComesUpToDate) {
    Enter("A1", "=1+1");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 9, 0, 1}));
    Select("C3");
    Nothing();
    MakeStale("A1");
    TurnWheel(-5);
    EXPECT_FALSE(IsStale("A1"));
}

TEST_F(ShownCellsTest, ConditionsAreEvaluatedAfterTheMessageAndNotInThePaint) {
    Enter("B2", "5");
    Condition({0, 9, 1, 1}, "=A1>10", 10);  // red
    TypeInto("B2", u"50");
    tally::PaintHeadless();
    EXPECT_GT(Fills(0x0000FF), 0);
    // The condition's cell behind the program's back: the paint shows what it was told.
    GetCell(CurrentSheet()->cells, 1, 1)->value.number = 5;
    tally::PaintHeadless();
    EXPECT_GT(Fills(0x0000FF), 0);
    PressKey(VK_F9);
    InvalidateAll();
    Nothing();
    tally::PaintHeadless();
    EXPECT_EQ(Fills(0x0000FF), 0);
}

TEST_F(ShownCellsTest, APaintWhoseConditionsAreGoneDoesWithoutThem) {
    Enter("B2", "50");
    Condition({0, 9, 1, 1}, "=A1>10", 10);
    TypeInto("B3", u"50");
    tally::PaintHeadless();
    EXPECT_GT(Fills(0x0000FF), 0);
    CurrentSheet()->conditionalFormats.Truncate(0);
    tally::PaintHeadless();
    EXPECT_EQ(Fills(0x0000FF), 0);
}

// A box inside a message paints what is known, and the end of the message what it missed.
TEST_F(ShownCellsTest, WhatIsPaintedInsideAMessageIsPaintedAgainAfterIt) {
    Enter("A1", "=1+1");
    Nothing();
    Headless().boxShown = [](WideView, u32) {
        CurrentSheet()->cells.rows[0].cells[0].calcState = CALC_STALE;
        InvalidateAll();
        tally::PaintHeadless(false);
        EXPECT_TRUE(IsStale("A1"));
        EXPECT_TRUE(HeadlessFrame().dirty.IsEmpty());
    };
    Select("C3");
    TypeText(u"=1+");
    PressKey(VK_RETURN);  // refused with a box
    Headless().boxShown = nullptr;
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_FALSE(IsStale("A1"));
    bool whole = false;
    for (const PixelRect& rect : HeadlessFrame().dirty) whole |= rect == Shell().layout.grid;
    EXPECT_TRUE(whole);
}

TEST_F(ShownCellsTest, TheReadoutIsWorkedOutWithTheMessageThatChangesTheSelection) {
    for (const char* cell : {"A1", "A2", "A3"}) Enter(cell, "=2");
    Select("A1");
    PressKey(VK_DOWN, KEY_SHIFT);
    EXPECT_EQ(Narrow(Shell().shown.aggregate), "求和=4");
    PressKey(VK_DOWN, KEY_SHIFT);
    EXPECT_EQ(Narrow(Shell().shown.aggregate), "求和=6");
    PressKey(VK_DOWN);
    EXPECT_EQ(Narrow(Shell().shown.aggregate), "");
}

TEST_F(ShownCellsTest, ABoxAFileAndACalculationInAPaintAreCounted) {
    Enter("A1", "=1+1");
    Shell().countsPaintFaults = true;
    {
        const PaintGuard guard;
        EXPECT_EQ(Shell().paintFaults, 0u);
        ShowMessage(u"no");
        EXPECT_EQ(Shell().paintFaults, 1u);
        Array<u8> bytes;
        IgnoreFailure(Platform().readFile(u"/no", bytes));
        EXPECT_EQ(Shell().paintFaults, 2u);
        CalculateArea(*CurrentSheet(), {0, 0, 0, 0});
        EXPECT_EQ(Shell().paintFaults, 3u);
    }
    ShowMessage(u"yes");
    CalculateArea(*CurrentSheet(), {0, 0, 0, 0});
    EXPECT_EQ(Shell().paintFaults, 3u);
    EXPECT_EQ(Headless().boxes.Count(), 2u);
}

// Everything that can be on the screen at once, painted: none of it evaluates.
TEST_F(ShownCellsTest, NoPaintHasFaults) {
    Shell().countsPaintFaults = true;
    Enter("A1", "=NOW()");
    Enter("A2", "=[other.xls]Sheet1!A1+1");
    Enter("B2", "=B2+1");
    Condition({0, 9, 0, 1}, "=A1>10", 10);
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({4, 5, 0, 1}));
    for (const i32 command : {412, 404, 403, 405, 423, 163, 421}) {
        PickCommand(command);
        tally::PaintHeadless();
        for (const char* cell : {"A1", "A2"}) {
            CellRecord* stale = GetCell(CurrentWorkbook()->sheets[0]->cells, cell[1] - '1', 0);
            ASSERT_NE(stale, nullptr);
            stale->calcState = CALC_STALE;
        }
        tally::PaintHeadless();
    }
    PressKey('A', KEY_CTRL);
    tally::PaintHeadless();
    EXPECT_EQ(Shell().paintFaults, 0u);
}

}  // namespace
}  // namespace tally
