// Roads of a user with cut, copy and paste, over books, filters and undo.

#include "editing/Clipboard.h"
#include "editing/Undo.h"
#include "formula/FormulaText.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class ClipboardRoads : public ShellSandbox {
  protected:
    static void TypeAt(std::string_view cell, std::string_view text) {
        Select(cell);
        TypeText(Wide(text));
        PressKey(VK_RETURN);
    }
    static void SelectTo(std::string_view first, std::string_view last) {
        i32 row = 0, column = 0, lastRow = 0, lastColumn = 0;
        ReadCellName(first, row, column);
        ReadCellName(last, lastRow, lastColumn);
        SelectArea({static_cast<u16>(row), static_cast<u16>(lastRow), static_cast<u8>(column),
                    static_cast<u8>(lastColumn)},
                   true, row, column, true);
    }
    static void Copy() { PressKey('C', KEY_CTRL); }
    static void Cut() { PressKey('X', KEY_CTRL); }
    static void Paste() { PressKey('V', KEY_CTRL); }
    static void Undo() { PressKey('Z', KEY_CTRL); }
    static std::string Formula(std::string_view cell) {
        const CellRecord* record = CellAtName(cell);
        WideText text;
        if (!record || !record->formula) return "";
        EXPECT_TRUE(FormulaToText(CurrentBook(), record->formula->tokens, 0, 0, true, text));
        return Narrow(text);
    }
};

TEST_F(ClipboardRoads, ATableIsMovedAndEverythingThatReadsItFollows) {
    TypeAt("A1", "2");
    TypeAt("A2", "3");
    TypeAt("A3", "=A1*A2");
    TypeAt("C1", "=A3+1");
    SelectTo("A1", "A3");
    Cut();
    EXPECT_EQ(Shown("C1"), "1");
    Select("E5");
    Paste();
    EXPECT_EQ(Formula("E7"), "=E5*E6");
    EXPECT_EQ(Formula("C1"), "=E7+1");
    EXPECT_EQ(Shown("C1"), "7");
    EXPECT_EQ(Selection(), "E5:E7");
    Undo();
    Undo();
    EXPECT_EQ(Formula("C1"), "=A3+1");
    EXPECT_EQ(Shown("C1"), "7");
    EXPECT_EQ(Active(), "A1");
}

TEST_F(ClipboardRoads, CellsGoFromBookToBookAndUndoComesBackToTheRightOne) {
    TypeAt("A1", "50%");
    TypeAt("B1", "=A1*2");
    SelectTo("A1", "B1");
    Copy();
    PickCommand(110);
    ASSERT_EQ(CurrentBook(), 1);
    TypeAt("C3", "old");
    Select("C3");
    Paste();
    EXPECT_EQ(Shown("C3"), "50%");
    EXPECT_EQ(Formula("D3"), "=C3*2");
    SelectBook(0);
    Undo();
    EXPECT_EQ(CurrentBook(), 1);
    EXPECT_EQ(Shown("C3"), "old");
    // The block goes with its book; what the clipboard says in text is still there.
    SelectBook(0);
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    PickCommand(112);
    EXPECT_FALSE(Clipboard().blockExists);
    Select("A9");
    Paste();
    EXPECT_EQ(Shown("A9"), "50%");
    EXPECT_EQ(Shown("B9"), "1");
}

TEST_F(ClipboardRoads, RowsGrowWithPastedLinesAndShrinkWithUndo) {
    const WideView text = u"one\ntwo\nthree\r\nfour";
    CopyElsewhere(&text);
    Select("A1");
    Paste();
    const u16 high = GetRowHeight(*CurrentSheet(), 0);
    EXPECT_GT(high, 2 * GetRowHeight(*CurrentSheet(), 1));
    SelectTo("A1", "A1");
    Copy();
    Select("C5");
    Paste();
    EXPECT_EQ(GetRowHeight(*CurrentSheet(), 4), high);
    Undo();
    EXPECT_LT(GetRowHeight(*CurrentSheet(), 4), high);
    Undo();
    EXPECT_LT(GetRowHeight(*CurrentSheet(), 0), high);
}

TEST_F(ClipboardRoads, WhatIsPastedIsPainted) {
    TypeAt("A1", "shown");
    Select("A1");
    Copy();
    SelectTo("B2", "B4");
    HeadlessFrame().dirty.Truncate(0);
    Paste();
    PaintHeadless(false);
    EXPECT_GE(CountDrawn("shown"), 3);
    SelectTo("B2", "B3");
    HeadlessFrame().dirty.Truncate(0);
    Cut();
    EXPECT_FALSE(HeadlessFrame().dirty.IsEmpty());
    PaintHeadless();
    EXPECT_EQ(CountDrawn("shown"), 2);
}

TEST_F(ClipboardRoads, TheEntryLineTakesCopiedCellsAsText) {
    TypeAt("A1", "12");
    Select("A1");
    Copy();
    Select("B1");
    TypeText(u"=");
    PickCommand(133);
    PressKey(VK_RETURN);
    EXPECT_EQ(Formula("B1"), "=12");
}

}  // namespace
}  // namespace tally
