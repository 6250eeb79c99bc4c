#include "model/CellStore.h"
#include "shell/Layout.h"
#include "shell/Selection.h"
#include "shell/ShellState.h"
#include "shell/headless/HeadlessPlatform.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class EntryTest : public ShellSandbox {};

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
    HeadlessFrame().entryFocused = true;
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

}  // namespace
}  // namespace tally
