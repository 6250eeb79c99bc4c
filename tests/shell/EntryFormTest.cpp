// F4 in the entry line, F4 and Ctrl+Y beside it, and the double click.

#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class EntryFormTest : public ShellSandbox {
  protected:
    static void Caret(i32 start, i32 end) { ShellPlatform().selectEdit(ENTRY_LINE, start, end); }
    static void DoubleClick(std::string_view cell, u32 modifiers = 0) {
        ShellMessage message;
        message.message = WM_LBUTTONDBLCLK;
        message.modifiers = modifiers;
        CellPoint(cell, message.x, message.y);
        ClickMouse(message.x, message.y, modifiers);
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
        message.message = WM_LBUTTONUP;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static bool IsBold(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        const Workbook& book = *CurrentWorkbook();
        return ResolveFont(book, ResolveCellFormat(book, GetCellFormat(*CurrentSheet(), row, column)).font)
                   .weight > 400;
    }
};

TEST_F(EntryFormTest, F4TurnsTheReferenceAtTheCaretThroughItsForms) {
    TypeText(u"=A1+B2:C3");
    for (const char* line : {"=A1+$B$2:$C$3", "=A1+B$2:C$3", "=A1+$B2:$C3", "=A1+B2:C3"}) {
        PressKey(VK_F4);
        EXPECT_EQ(Line(), line);
        EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, static_cast<i32>(Line().size()));
        EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, static_cast<i32>(Line().size()));
    }
    Caret(2, 2);
    PressKey(VK_F4);
    EXPECT_EQ(Line(), "=$A$1+B2:C3");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 5);
}

TEST_F(EntryFormTest, F4TurnsAllReferencesOfASpanAlike) {
    TypeText(u"=A1+$B$2+Sheet1!C3+D4");
    Caret(1, 15);
    PressKey(VK_F4);
    EXPECT_EQ(Line(), "=$A$1+$B$2+Sheet1!$C$3+D4");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 1);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 22);
    PressKey(VK_F4);
    EXPECT_EQ(Line(), "=A$1+B$2+Sheet1!C$3+D4");
}

TEST_F(EntryFormTest, F4TurnsALineBetweenTwoForms) {
    TypeText(u"=SUM(C:C");
    for (const char* line : {"=SUM($C:$C", "=SUM(C:C", "=SUM($C:$C"}) {
        PressKey(VK_F4);
        EXPECT_EQ(Line(), line);
    }
}

TEST_F(EntryFormTest, F4TurnsWhatWasPointedAt) {
    Select("B2");
    TypeText(u"=");
    PressKey(VK_UP);
    PressKey(VK_F4);
    EXPECT_EQ(Line(), "=$B$1");
    EXPECT_FALSE(Shell().point.active);
    PressKey(VK_RETURN);
    EXPECT_EQ(FormulaOf("B2"), "=$B$1");
}

TEST_F(EntryFormTest, F4LeavesWhatIsNoReferenceOfAFormula) {
    const struct {
        const char16_t* typed;
        i32 start, end;
    } rows[] = {{u"A1", 2, 2}, {u"=\"A1\"", 3, 3}, {u"=A1+1", 5, 5}, {u"=A1", 0, 0}, {u"=LOG10(1)", 4, 4}};
    for (const auto& row : rows) {
        TypeText(row.typed);
        Caret(row.start, row.end);
        PressKey(VK_F4);
        EXPECT_EQ(Line(), Narrow(row.typed));
        EXPECT_TRUE(IsEditing());
        PressKey(VK_ESCAPE);
    }
}

TEST_F(EntryFormTest, TheLastLookIsGivenAgainAndNotTurnedOver) {
    Select("A1");
    PressKey('B', KEY_CTRL);
    PressKey(VK_F4);
    EXPECT_TRUE(IsBold("A1"));
    Select("C3");
    PressKey('Y', KEY_CTRL);
    EXPECT_TRUE(IsBold("C3"));
    PressKey('Z', KEY_CTRL);
    EXPECT_FALSE(IsBold("C3"));
}

TEST_F(EntryFormTest, RepeatedCommandsDoNotAskAgain) {
    Enter("A5", "5");
    Select("A5");
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"整行", u""));
    PickCommand(160);
    ASSERT_EQ(Shown("A6"), "5");
    const u32 shown = HeadlessDialogs().shown.Count();
    Select("A1");
    PressKey(VK_F4);
    EXPECT_EQ(Shown("A7"), "5");
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"行高", u"30"));
    PickCommand(391);
    Select("B7");
    PressKey(VK_F4);
    EXPECT_EQ(GetRowHeight(*CurrentSheet(), 6), 600);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), shown + 1);
}

TEST_F(EntryFormTest, ClearingIsRepeatedAndRefusedWhereItWouldBe) {
    for (const char* cell : {"A1", "B1", "C1"}) Enter(cell, "1");
    const u32 records = UndoCount();
    PressKey(VK_F4);
    EXPECT_EQ(UndoCount(), records);  // nothing was run yet
    Select("A1");
    PressKey(VK_DELETE);
    Select("B1");
    PressKey(VK_F4);
    EXPECT_EQ(Shown("B1"), "");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    Select("C1");
    PressKey(VK_F4);
    EXPECT_EQ(Shown("C1"), "1");
    EXPECT_EQ(Narrow(Headless().boxes.Last().text), "单元格有保护");
}

TEST_F(EntryFormTest, ADoubleClickEditsTheCellWithTheCaretAtItsEnd) {
    Enter("B2", "=1+1");
    DoubleClick("B2");
    EXPECT_EQ(Shell().entryMode, ENTRY_EDIT);
    EXPECT_EQ(Line(), "=1+1");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 4);
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
    EXPECT_FALSE(HeadlessFrame().captured);
    PressKey(VK_ESCAPE);
    EXPECT_EQ(FormulaOf("B2"), "=1+1");
}

TEST_F(EntryFormTest, ADoubleClickOnALockedCellOnlySelectsIt) {
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    DoubleClick("C4");
    EXPECT_EQ(Active(), "C4");
    EXPECT_FALSE(IsEditing());
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    CurrentSheet()->viewFlags &= static_cast<u16>(~VIEW_PROTECTED);
    DoubleClick("D5", KEY_SHIFT);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Selection(), "C4:D5");
}

}  // namespace
}  // namespace tally
