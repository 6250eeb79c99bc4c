#include "editing/Undo.h"
#include "formula/Compiler.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class EntryTest : public ShellSandbox {
  protected:
    // A1:A3 take numbers above 10.
    static ValidationRule& AddRule() {
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        EXPECT_NE(rule, nullptr);
        EXPECT_TRUE(rule->areas.Append({0, 2, 0, 0}));
        rule->kind = 2;
        rule->comparison = 4;
        FormulaPlace place;
        place.book = CurrentBook();
        EXPECT_TRUE(CompileFormula(place, u"=10", 'V', rule->formula1));
        return *rule;
    }
    static void Answer(i32 answer) { ASSERT_TRUE(Headless().answers.Append(answer)); }
};

TEST_F(EntryTest, ReferencesOfWholeLinesAreWrittenFromTheHeaders) {
    const Layout& layout = Shell().layout;
    const i32 inHeader = layout.grid.top + 3, inRows = layout.grid.left + 3;
    TypeText(u"=SUM(");
    ClickMouse(layout.columns[2].start + 20, inHeader);
    EXPECT_EQ(Line(), "=SUM(C:C");
    ClickMouse(layout.columns[4].start + 20, inHeader, KEY_SHIFT);
    EXPECT_EQ(Line(), "=SUM(C:E");
    DragMouse(layout.columns[1].start + 20, inHeader, layout.columns[3].start + 20, layout.rows[5].start + 5);
    EXPECT_EQ(Line(), "=SUM(B:D");
    ClickMouse(inRows, layout.rows[2].start + 8);
    EXPECT_EQ(Line(), "=SUM(3:3");
    ClickMouse(inRows, inHeader);
    EXPECT_EQ(Line(), "=SUM(1:65536");
    EXPECT_EQ(Shell().entryMode, ENTRY_ENTER);
    EXPECT_EQ(Selection(), "A1");
}

TEST_F(EntryTest, AClickOnAHeaderCommitsWhatIsNoFormula) {
    TypeText(u"5");
    ClickMouse(Shell().layout.columns[2].start + 20, Shell().layout.grid.top + 3);
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Selection(), "C:C");
}

TEST_F(EntryTest, ShiftSpaceAndCtrlSpaceWidenTheReferenceToWholeLines) {
    Select("B3");
    TypeText(u"=SUM(");
    PressKey(VK_SPACE, KEY_SHIFT);
    EXPECT_EQ(Line(), "=SUM(3:3");
    PressKey(VK_DOWN);
    EXPECT_EQ(Line(), "=SUM(B4");
    PressKey(VK_SPACE, KEY_CTRL);
    EXPECT_EQ(Line(), "=SUM(B:B");
    TypeText(u")");
    PressKey(VK_RETURN);
    EXPECT_EQ(Active(), "B4");
}

TEST_F(EntryTest, TheDecimalKeyOfTheNumberPadTypesTheSeparatorOfTheRegion) {
    Region("de-DE");
    const auto pressDecimal = [] {
        PressKey(VK_DECIMAL);
        TypeText(u".");
    };
    pressDecimal();
    EXPECT_EQ(Line(), ",");
    TypeText(u"5");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "0,5");
    TypeText(u"1");
    HeadlessFrame().focus = ENTRY_LINE;
    pressDecimal();
    TypeText(u"2.");
    EXPECT_EQ(Line(), "1,2.");
}

TEST_F(EntryTest, AFillOfMoreCellsThanFourMillionsIsRefusedAndTheTextStays) {
    SelectArea({0, 65535, 0, 255}, true, 0, 0, false);
    TypeText(u"1");
    PressKey(VK_RETURN, KEY_CTRL);
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_TRUE(IsEditing());
    EXPECT_EQ(Line(), "1");
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
    PressKey(VK_ESCAPE);
    SelectArea({0, 65535, 1, 1}, true, 0, 1, false);
    TypeText(u"1");
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(CurrentSheet()->cells.count, 65536u);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
}

TEST_F(EntryTest, AReferenceThatAFillLeadsOffTheSheetIsAnError) {
    Enter("A65536", "7");
    SelectArea({0, 1, 1, 1}, true, 1, 1, false);  // B2 is the active cell
    TypeText(u"=A1+$A$1+A:A");
    PressKey(VK_RETURN, KEY_CTRL);
    Select("B1");
    EXPECT_EQ(Line(), "=#REF!+$A$1+A:A");
    EXPECT_EQ(Shown("B1"), "#REF!");
    Select("B2");
    EXPECT_EQ(Line(), "=A1+$A$1+A:A");
}

TEST_F(EntryTest, ARefusedEntryThatIsCancelledLeavesTheOldValueAndTheEditor) {
    AddRule();
    Enter("A1", "20");
    Enter("B1", "=A1+1");
    const u32 undos = UndoCount();
    CurrentWorkbook()->dirty = 0;
    TypeText(u"5");
    Answer(IDCANCEL);
    PressKey(VK_RETURN);
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Headless().boxes[0].flags, u32{MB_RETRYCANCEL | MB_ICONSTOP});
    EXPECT_EQ(Shown("A1"), "20");
    EXPECT_EQ(Shown("B1"), "21");
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Line(), "20");
    EXPECT_EQ(Active(), "A1");
    EXPECT_EQ(UndoCount(), undos);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
}

TEST_F(EntryTest, ARefusedEntryThatIsTriedAgainStandsSelectedInTheLine) {
    AddRule();
    TypeText(u"5");
    Answer(IDRETRY);
    PressKey(VK_RETURN);
    EXPECT_EQ(Shell().entryMode, ENTRY_EDIT);
    EXPECT_EQ(Line(), "5");
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 0);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 1);
    EXPECT_EQ(HeadlessFrame().focus, ENTRY_LINE);
    EXPECT_EQ(Shown("A1"), "");
    TypeText(u"12");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "12");
    EXPECT_EQ(Headless().boxes.Count(), 1u);
}

TEST_F(EntryTest, AWarningThatIsAnsweredYesKeepsTheEntry) {
    AddRule().errorStyle = 1;
    TypeText(u"5");
    Answer(IDYES);
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Active(), "A2");
}

TEST_F(EntryTest, AFillIsTestedCellByCellAndGoesAsAWhole) {
    AddRule();
    Enter("C1", "20");
    Enter("C2", "1");
    Enter("C3", "30");
    SelectArea({0, 3, 0, 0}, true, 0, 0, false);
    TypeText(u"=C1");
    Answer(IDCANCEL);
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    for (const char* cell : {"A1", "A2", "A3", "A4"}) EXPECT_EQ(Shown(cell), "") << cell;
}

TEST_F(EntryTest, TheListOfARuleIsOfferedBesideItsCell) {
    ValidationRule& rule = AddRule();
    FreeTokens(rule.formula1);
    rule.kind = 3;
    FormulaPlace place;
    place.book = CurrentBook();
    ASSERT_TRUE(CompileFormula(place, u"=$C$1:$C$4", 'R', rule.formula1));
    Enter("C1", "red & green");
    Enter("C2", "12");
    Enter("C4", "=C2*2");
    Select("B9");
    EXPECT_TRUE(IsEmptyRect(ListArrowPlace()));
    Select("A2");
    const PixelRect arrow = ListArrowPlace();
    ASSERT_FALSE(IsEmptyRect(arrow));
    EXPECT_EQ(arrow.left, AreaPixels({1, 1, 0, 0}).right);
    PaintHeadless();
    HeadlessFrame().popupAnswer = 3;
    ClickMouse(arrow.left + 3, arrow.top + 3);
    ASSERT_EQ(HeadlessFrame().popupItems.Count(), 3u);
    EXPECT_EQ(Narrow(HeadlessFrame().popupItems[0].text), "red && green");
    EXPECT_EQ(Shown("A2"), "24");
    EXPECT_EQ(Active(), "A2");
    EXPECT_EQ(UndoRecords()[UndoCount() - 1].kind, UNDO_DATA_FORM);
    ClickMouse(arrow.left + 3, arrow.top + 3);  // nothing is chosen
    EXPECT_EQ(Shown("A2"), "24");
    // A merge has the rule of its first cell, and takes what is chosen there.
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("A2", "B5")));
    Select("B9");
    Select("A2");
    const PixelRect wide = ListArrowPlace();
    HeadlessFrame().popupAnswer = 1;
    ClickMouse(wide.left + 3, wide.top + 3);
    EXPECT_EQ(Shown("A2"), "red & green");
    EXPECT_EQ(Shown("A5"), "");
    CurrentSheet()->validations[0].noDropArrow = 1;
    EXPECT_TRUE(IsEmptyRect(ListArrowPlace()));
}

TEST_F(EntryTest, WhatARuleAsksForIsSaidWhereThePointerRests) {
    ValidationRule& rule = AddRule();
    ASSERT_TRUE(rule.inputTitle.Assign(u"Price") && rule.inputText.Assign(u"Above 10"));
    const auto moveTo = [](std::string_view cell) {
        ShellMessage message;
        message.message = WM_MOUSEMOVE;
        CellPoint(cell, message.x, message.y);
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    };
    moveTo("A2");
    EXPECT_EQ(Narrow(HeadlessFrame().toolTip), "Price\nAbove 10");
    moveTo("B2");
    EXPECT_TRUE(HeadlessFrame().toolTip.IsEmpty());
    CurrentSheet()->validations[0].showInput = 0;
    moveTo("A2");
    EXPECT_TRUE(HeadlessFrame().toolTip.IsEmpty());
}

}  // namespace
}  // namespace tally
