#include "editing/Undo.h"
#include "formula/FormulaText.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class AutoSumTest : public ShellSandbox {
  protected:
    static void SelectRange(std::string_view first, std::string_view last) {
        i32 row1 = 0, column1 = 0, row2 = 0, column2 = 0;
        ReadCellName(first, row1, column1);
        ReadCellName(last, row2, column2);
        SelectArea({static_cast<u16>(row1), static_cast<u16>(row2), static_cast<u8>(column1),
                    static_cast<u8>(column2)},
                   true, row1, column1, true);
    }
    static std::string Formula(std::string_view cell) {
        const CellRecord* record = CellAtName(cell);
        if (!record || !record->formula) return "";
        WideText text;
        EXPECT_TRUE(FormulaToText(CurrentBook(), record->formula->tokens, 0, 0, true, text));
        return Narrow(text);
    }
    static std::string Selected() {
        const HeadlessEdit& line = HeadlessFrame().edits[ENTRY_LINE];
        return Narrow(line.text).substr(static_cast<std::size_t>(line.start),
                                        static_cast<std::size_t>(line.end - line.start));
    }
    static void Sum() { PressKey(VK_OEM_PLUS, KEY_ALT); }
};

TEST_F(AutoSumTest, ProposesTheRunAboveWithTheReferenceSelected) {
    for (const char* cell : {"B1", "B3", "B4"}) Enter(cell, "1");
    Select("B5");
    Sum();
    EXPECT_EQ(Line(), "=SUM(B3:B4)");
    EXPECT_EQ(Selected(), "B3:B4");
    EXPECT_EQ(Shell().entryMode, ENTRY_ENTER);
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("B5"), "2");
}

TEST_F(AutoSumTest, ProposesTheRunToTheLeftThenWhatIsFartherUpThenFartherLeft) {
    for (const char* cell : {"A9", "B9", "C9"}) Enter(cell, "1");
    Enter("D2", "5");
    Enter("D3", "text");
    Select("D9");
    Sum();
    EXPECT_EQ(Line(), "=SUM(A9:C9)");
    PressKey(VK_ESCAPE);
    Enter("C9", "x");
    Sum();
    EXPECT_EQ(Line(), "=SUM(D2:D8)");
    PressKey(VK_ESCAPE);
    Enter("D2", "");
    Sum();
    EXPECT_EQ(Line(), "=SUM(A9:C9)");
}

TEST_F(AutoSumTest, ABooleanOnTheWayEndsTheSearch) {
    Enter("A1", "5");
    Enter("A3", "TRUE");
    Enter("A4", "text");
    Select("A6");
    Sum();
    EXPECT_EQ(Line(), "=SUM()");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 5);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 5);
}

TEST_F(AutoSumTest, UnderAFilterWithACriterionTheCallIsASubtotal) {
    Enter("A1", "5");
    Enter("A2", "6");
    CurrentSheet()->filterState = FILTER_AUTO;
    Select("A3");
    Sum();
    EXPECT_EQ(Line(), "=SUM(A1:A2)");
    PressKey(VK_ESCAPE);
    RowInfo hidden;
    hidden.row = 1;
    hidden.flags = ROW_HIDDEN;
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, hidden));
    ASSERT_TRUE(CurrentSheet()->filterColumns.Resize(1));
    CurrentSheet()->filterColumns[0].top10 = true;
    Sum();
    EXPECT_EQ(Line(), "=SUBTOTAL(9,A1:A2)");
    EXPECT_EQ(Selected(), "A1:A2");
    PressKey(VK_ESCAPE);
    SelectRange("A1", "A2");
    Sum();
    EXPECT_EQ(Formula("A3"), "=SUBTOTAL(9,A1:A2)");
    EXPECT_EQ(CellAtName("A3")->formula->tokens.length, 16);
    EXPECT_EQ(Shown("A3"), "5");
}

TEST_F(AutoSumTest, ARowOfNumbersIsSummedInTheFirstFreeCell) {
    for (const char* cell : {"A1", "B1", "C1", "E1"}) Enter(cell, "2");
    SelectRange("A1", "C1");
    Sum();
    EXPECT_EQ(Formula("D1"), "=SUM(A1:C1)");
    EXPECT_EQ(CellAtName("D1")->formula->tokens.length, 13);
    EXPECT_EQ(Shown("D1"), "6");
    EXPECT_EQ(Selection(), "A1:D1");
    EXPECT_EQ(Active(), "A1");
    // The last cell holds a sum now: nothing more.
    Sum();
    EXPECT_EQ(Formula("F1"), "");
    SelectRange("A1", "B1");
    Sum();
    EXPECT_EQ(Formula("F1"), "=SUM(A1:B1)");
}

TEST_F(AutoSumTest, AFreeLastCellOfARowTakesTheSumOfTheOthers) {
    Enter("A1", "2");
    Enter("B1", "3");
    SelectRange("A1", "C1");
    Sum();
    EXPECT_EQ(Formula("C1"), "=SUM(A1:B1)");
    EXPECT_EQ(Selection(), "A1:C1");
}

TEST_F(AutoSumTest, AnEmptyRowSumsWhatStandsAboveItsColumns) {
    for (const char* cell : {"A1", "A2", "B2", "D1"}) Enter(cell, "2");
    SelectRange("A4", "D4");
    Sum();
    EXPECT_EQ(Formula("A4"), "=SUM(A1:A3)");
    EXPECT_EQ(Formula("B4"), "=SUM(B2:B3)");
    EXPECT_EQ(Formula("C4"), "");
    EXPECT_EQ(Formula("D4"), "=SUM(D1:D3)");
    SelectRange("F4", "G4");
    Sum();
    EXPECT_EQ(Line(), "=SUM()");
}

TEST_F(AutoSumTest, SeveralRowsAreSummedInTheFirstFreeRow) {
    for (const char* cell : {"A1", "A2", "B1", "C3"}) Enter(cell, "2");
    SelectRange("A1", "C2");
    Sum();
    EXPECT_EQ(Formula("A4"), "=SUM(A1:A2)");
    EXPECT_EQ(Formula("B4"), "=SUM(B1:B2)");
    EXPECT_EQ(Formula("C4"), "");
    EXPECT_EQ(Selection(), "A1:C4");
    Sum();
    EXPECT_EQ(Formula("A5"), "");
}

TEST_F(AutoSumTest, AFreeLastRowTakesTheSumsItself) {
    Enter("A1", "2");
    Enter("A2", "=A1*2");
    SelectRange("A1", "A3");
    Sum();
    EXPECT_EQ(Formula("A3"), "=SUM(A1:A2)");
    EXPECT_EQ(Shown("A3"), "6");
    EXPECT_EQ(Selection(), "A1:A3");
}

TEST_F(AutoSumTest, WholeColumnsAreSummedInTheirLastRow) {
    Enter("B7", "2");
    SelectArea({0, 65535, 0, 255}, true, 0, 0, false);
    Sum();
    EXPECT_EQ(Formula("B65536"), "=SUM(B1:B65535)");
    EXPECT_EQ(Formula("A65536"), "");
}

TEST_F(AutoSumTest, WhileTypingItFillsTheSelection) {
    SelectRange("A1", "A2");
    TypeText(u"7");
    Sum();
    EXPECT_EQ(Shown("A1"), "7");
    EXPECT_EQ(Shown("A2"), "7");
}

TEST_F(AutoSumTest, AllSumsOfOneCommandAreOneUndo) {
    for (const char* cell : {"A1", "A2", "B1"}) Enter(cell, "2");
    Enter("A3", "");
    SelectRange("A1", "B2");
    Sum();
    EXPECT_EQ(UndoCount(), 1u);
    EXPECT_TRUE(UndoLast());
    EXPECT_EQ(Formula("A3"), "");
    EXPECT_EQ(Formula("B3"), "");
    EXPECT_EQ(Selection(), "A1:B2");
}

TEST_F(AutoSumTest, IsRefusedOnAProtectedCell) {
    Enter("A1", "2");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    SelectRange("A1", "A2");
    Sum();
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(CellAtName("A2"), nullptr);
}

TEST_F(AutoSumTest, ASumInAnyColumnOfTheLastRowLeavesTheBlockAsItIs) {
    for (const char* sum : {"A3", "B3", "C3"}) {
        TearDown();
        SetUp();
        for (const char* cell : {"A1", "B1", "C1", "A2", "B2", "C2"}) Enter(cell, "2");
        Enter(sum, "=SUM(A1:A2)");
        SelectRange("A1", "C3");
        Sum();
        EXPECT_EQ(Selection(), "A1:C3") << sum;
        EXPECT_EQ(Formula("A4"), "") << sum;
        EXPECT_EQ(UndoCount(), 0u);
    }
}

TEST_F(AutoSumTest, AMergedCellIsOneCellThatBeginsAtItsCorner) {
    Enter("A1", "2");
    Enter("B1", "3");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("A2", "B2")));
    Select("A2");
    Sum();
    EXPECT_EQ(Line(), "=SUM(A1)");
}

}  // namespace
}  // namespace tally
