// Roads of a user through the first window.

#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class FirstWindow : public ShellSandbox {
  protected:
    static void TypeAndEnter(std::string_view text) {
        TypeText(Wide(text));
        PressKey(VK_RETURN);
    }
    static void GiveNumberFormat(std::string_view cell, u16 number) {
        CellFormat format;
        format.numberFormat = number;
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        record->format = index;
    }
};

TEST_F(FirstWindow, TypingNumbersAndASumShowsTheSum) {
    TypeAndEnter("1");
    TypeAndEnter("2");
    TypeAndEnter("=SUM(A1:A2)");
    EXPECT_EQ(Active(), "A4");
    EXPECT_EQ(Shown("A3"), "3");
    PressKey(VK_UP);
    EXPECT_EQ(Line(), "=SUM(A1:A2)");
    Select("A1");
    TypeAndEnter("10");
    EXPECT_EQ(Shown("A3"), "12");
    PaintHeadless();
    EXPECT_GE(CountDrawn("12"), 1);
}

TEST_F(FirstWindow, EscapeLeavesTheCellAsItWas) {
    TypeAndEnter("old");
    PressKey(VK_UP);
    TypeText(u"new");
    EXPECT_EQ(Line(), "new");
    EXPECT_EQ(HeadlessFrame().focus, ENTRY_LINE);
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Line(), "old");
    EXPECT_EQ(Shown("A1"), "old");
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(HeadlessFrame().focus, EDIT_NONE);
}

TEST_F(FirstWindow, F2EditsAtTheEndAndTabMovesRight) {
    TypeAndEnter("ab");
    PressKey(VK_UP);
    PressKey(VK_F2);
    EXPECT_EQ(Shell().entryMode, ENTRY_EDIT);
    TypeText(u"c");
    PressKey(VK_LEFT);
    TypeText(u"-");
    PressKey(VK_TAB);
    EXPECT_EQ(Shown("A1"), "ab-c");
    EXPECT_EQ(Active(), "B1");
}

TEST_F(FirstWindow, AnArrowCommitsWhatIsTypedAndMoves) {
    TypeText(u"5");
    PressKey(VK_RIGHT);
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Active(), "B1");
    TypeText(u"6");
    PressKey(VK_F2);
    PressKey(VK_LEFT);
    EXPECT_TRUE(IsEditing());
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 0);
}

TEST_F(FirstWindow, ABadFormulaShowsOneBoxAndKeepsTheText) {
    TypeAndEnter("=1+");
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "There is an error in the formula you entered");
    EXPECT_EQ(Shell().entryMode, ENTRY_EDIT);
    EXPECT_EQ(Line(), "=1+");
    TypeText(u"1");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "2");
}

TEST_F(FirstWindow, AMinusAloneIsTextAndAMinusWithAnUnknownNameIsRefused) {
    TypeAndEnter("-");
    EXPECT_EQ(Shown("A1"), "-");
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    TypeAndEnter("-x");
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_TRUE(IsEditing());
    EXPECT_EQ(CellAtName("A2"), nullptr);
}

TEST_F(FirstWindow, AnArrayOverAMergeIsRefusedBeforeAnythingChanges) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 1, 0, 0}));
    TypeText(u"=1");
    PressKey(VK_RETURN, KEY_CTRL | KEY_SHIFT);
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "在合并单元格中数组公式无效");
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
    EXPECT_TRUE(CurrentSheet()->arrayFormulas.IsEmpty());
}

TEST_F(FirstWindow, AnArrayFormulaFillsItsAreaAndItsPartsAreGuarded) {
    SelectArea({0, 1, 1, 1}, true, 0, 1, true);
    TypeText(u"={1;2}*10");
    PressKey(VK_RETURN, KEY_CTRL | KEY_SHIFT);
    EXPECT_EQ(Shown("B1"), "10");
    EXPECT_EQ(Shown("B2"), "20");
    EXPECT_EQ(Line().front(), '{');
    Select("B1");
    TypeText(u"5");
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_FALSE(IsEditing());
}

TEST_F(FirstWindow, AnArraySelectedWholeIsReplacedByANewOne) {
    SelectArea({0, 1, 1, 1}, true, 0, 1, true);
    TypeText(u"={1;2}*10");
    PressKey(VK_RETURN, KEY_CTRL | KEY_SHIFT);
    TypeText(u"={1;2}*100");
    PressKey(VK_RETURN, KEY_CTRL | KEY_SHIFT);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_EQ(Shown("B2"), "200");
    EXPECT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
}

TEST_F(FirstWindow, ATextCellKeepsAFormulaAsText) {
    GiveNumberFormat("A1", 49);
    TypeAndEnter("=1+1");
    EXPECT_EQ(Shown("A1"), "=1+1");
    PressKey(VK_UP);
    EXPECT_EQ(Line(), "=1+1");
}

TEST_F(FirstWindow, AFillStoresThreeDifferentRelativeFormulas) {
    TypeAndEnter("7");
    TypeAndEnter("8");
    TypeAndEnter("9");
    SelectArea({0, 2, 1, 1}, true, 0, 1, true);
    TypeText(u"=A1");
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Shown("B1"), "7");
    EXPECT_EQ(Shown("B2"), "8");
    EXPECT_EQ(Shown("B3"), "9");
    Select("B3");
    EXPECT_EQ(Line(), "=A3");
}

TEST_F(FirstWindow, DigitsInAPercentCellGiveAPercentage) {
    GiveNumberFormat("A1", 9);
    TypeText(u"12");
    EXPECT_EQ(Line(), "12%");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "12%");
}

TEST_F(FirstWindow, APercentCellTakesSignsPercentsAndDatesAsTheyAreMeant) {
    struct Case {
        const char16_t* typed;
        const char* line;
        const char* shown;
    };
    for (const Case& row : {Case{u"8%", "8%%", "8%"},
                            {u"-7", "-7%", "-7%"},
                            {u".5", ".5%", "0.50%"},
                            {u"1/2/2003", "1/2/2003%", "1/2/2003"},
                            {u"-B9", "-B9%", "0%"},
                            {u"8", "8%", "8%"}}) {
        Select("A1");
        GiveNumberFormat("A1", 9);
        TypeText(row.typed);
        EXPECT_EQ(Line(), row.line);
        PressKey(VK_RETURN);
        EXPECT_EQ(Shown("A1"), row.shown) << row.line;
    }
}

TEST_F(FirstWindow, ATextFormatUnderAnyNumberKeepsWhatIsTyped) {
    u16 id = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), u"0.0\"x\"", id));
    ASSERT_TRUE(ReplaceNumberFormat(*CurrentWorkbook(), id, u"@"));
    GiveNumberFormat("A1", id);
    for (const char* typed : {"=1+1", "12", "1/2/2003", "-x", "TRUE"}) {
        Select("A1");
        TypeAndEnter(typed);
        EXPECT_EQ(CellAtName("A1")->value.type, VT_STRING) << typed;
        EXPECT_EQ(Shown("A1"), typed);
    }
}

TEST_F(FirstWindow, ADateCellKeepsItsFormatUnderAPlainNumber) {
    GiveNumberFormat("A1", 14);
    TypeAndEnter("40000");
    ASSERT_NE(CellAtName("A1"), nullptr);
    EXPECT_EQ(ResolveCellFormat(*CurrentWorkbook(), CellAtName("A1")->format).numberFormat, 14);
}

TEST_F(FirstWindow, ALockedCellOfAProtectedSheetIsRefused) {
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    TypeText(u"1");
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "单元格有保护");
    EXPECT_FALSE(IsEditing());
}

TEST_F(FirstWindow, KeysAndTheMouseWriteReferences) {
    TypeAndEnter("3");
    TypeAndEnter("4");
    TypeText(u"=");
    PressKey(VK_UP);
    EXPECT_EQ(Line(), "=A2");
    PressKey(VK_UP, KEY_SHIFT);
    EXPECT_EQ(Line(), "=A1:A2");
    PressKey(VK_UP);
    TypeText(u"+");
    ClickCell("A2");
    PressKey(VK_RETURN);
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    EXPECT_EQ(Active(), "A4");
}

TEST_F(FirstWindow, TheMouseSelectsCellsRowsColumnsAndTheWholeSheet) {
    i32 x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    CellPoint("B2", x1, y1);
    CellPoint("D6", x2, y2);
    DragMouse(x1, y1, x2, y2);
    EXPECT_EQ(Selection(), "B2:D6");
    EXPECT_EQ(Active(), "B2");
    ClickCell("C3");
    ClickCell("E4", KEY_SHIFT);
    EXPECT_EQ(Selection(), "C3:E4");
    const Layout& layout = Shell().layout;
    ClickMouse(x1, layout.grid.top + 3);
    EXPECT_EQ(Selection(), "B:B");
    ClickMouse(layout.grid.left + 3, y2);
    EXPECT_EQ(Selection(), "6:6");
    ClickMouse(layout.grid.left + 3, layout.grid.top + 3);
    EXPECT_EQ(CurrentSheet()->view.selection, (RefArea{0, 65535, 0, 255}));
}

TEST_F(FirstWindow, ADragBelowTheGridScrollsWithTheTimer) {
    i32 x = 0, y = 0;
    CellPoint("B2", x, y);
    ShellMessage message;
    message.message = WM_LBUTTONDOWN;
    message.x = x;
    message.y = y;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    message.message = WM_MOUSEMOVE;
    message.y = HeadlessFrame().height + 50;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    EXPECT_TRUE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
    const i32 last = CurrentSheet()->view.selection.lastRow;
    ShellMessage timer;
    timer.message = WM_TIMER;
    timer.command = TIMER_AUTO_SCROLL;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(FrameCallsInUse().sendMessage(timer));
    EXPECT_GT(CurrentSheet()->view.selection.lastRow, last);
    message.message = WM_LBUTTONUP;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
    EXPECT_FALSE(HeadlessFrame().captured);
}

TEST_F(FirstWindow, AHeaderEdgeDraggedSizesTheColumnAndDrawnToNothingHidesIt) {
    const Layout& layout = Shell().layout;
    const ShownLine second = layout.columns[1];
    const i32 y = layout.grid.top + 3;
    DragMouse(second.end - 1, y, second.end + 29, y);
    EXPECT_NEAR(ColumnPixels(*CurrentSheet(), 1), second.end - second.start + 30, 1);
    const ShownLine wide = layout.columns[1];
    DragMouse(wide.end - 1, y, wide.start - 20, y);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 1), 0);
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
}

TEST_F(FirstWindow, TheWheelScrollsOneLineANotch) {
    TurnWheel(-3);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 3);
    TurnWheel(1);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 2);
    EXPECT_EQ(Active(), "A1");
    TurnWheel(9);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 0);
}

TEST_F(FirstWindow, ATabClickedShowsItsSheet) {
    PickCommand(163);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    Array<SheetTab> tabs;
    ASSERT_TRUE(ShownTabs(tabs));
    ASSERT_EQ(tabs.Count(), 2u);
    ClickMouse(tabs[0].left + 2, Shell().layout.tabs.top + 2);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    PressKey(VK_NEXT, KEY_CTRL);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
}

TEST_F(FirstWindow, ABookOpenedFromTheMenuIsShown) {
    const std::string_view text = "x,1\ny,2\n";
    ASSERT_TRUE(PutMemoryFile(u"/list.csv", ByteView(reinterpret_cast<const u8*>(text.data()), text.size())));
    ASSERT_TRUE(HeadlessFrame().dialogPath.Assign(u"/list.csv"));
    PressKey('O', KEY_CTRL);
    EXPECT_EQ(Line(), "x");
    PaintHeadless();
    EXPECT_GE(CountDrawn("y"), 1);
    Array<MenuItem> recent;
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_RECENT, recent));
    ASSERT_EQ(recent.Count(), 1u);
    EXPECT_EQ(Narrow(recent[0].text), "list.csv");
}

TEST_F(FirstWindow, SavingAsTextWritesTheFileAndSettlesTheQuestion) {
    TypeAndEnter("hello");
    ASSERT_TRUE(HeadlessFrame().dialogPath.Assign(u"/out.csv"));
    PickCommand(114);
    const MemoryFile* file = FindMemoryFile(u"/out.csv");
    ASSERT_NE(file, nullptr);
    EXPECT_NE(std::string(file->bytes.begin(), file->bytes.end()).find("hello"), std::string::npos);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    CloseFrame();
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_TRUE(HeadlessFrame().hasQuit);
}

TEST_F(FirstWindow, ClosingAsksAndCancelKeepsTheBook) {
    TypeAndEnter("hello");
    CloseFrame();
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "是否保存对 Book1 的更改？");
    EXPECT_EQ(Headless().boxes[0].flags & 15u, u32{MB_YESNOCANCEL});
    EXPECT_FALSE(HeadlessFrame().hasQuit);
    EXPECT_EQ(Shown("A1"), "hello");
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    CloseFrame();
    EXPECT_TRUE(HeadlessFrame().hasQuit);
    EXPECT_EQ(CurrentBook(), -1);
}

TEST_F(FirstWindow, ACancelledCloseKeepsWhatIsBeingTyped) {
    TypeAndEnter("hello");
    TypeText(u"half");
    CloseFrame();
    EXPECT_FALSE(HeadlessFrame().hasQuit);
    EXPECT_TRUE(IsEditing());
    EXPECT_EQ(Line(), "half");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A2"), "half");
}

TEST_F(FirstWindow, YesToASaveThatFailsKeepsTheBookOpen) {
    TypeAndEnter("hello");
    CurrentWorkbook()->untitled = false;
    ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/book.xls"));
    ASSERT_TRUE(Headless().answers.Append(IDYES));
    Headless().fileOperations = 0;
    Headless().failFileOperation = 1;
    CloseFrame();
    EXPECT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_FALSE(HeadlessFrame().hasQuit);
    EXPECT_EQ(Shown("A1"), "hello");
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
}

TEST_F(FirstWindow, DeleteClearsTheSelectionAndWhatDependsOnItFollows) {
    TypeAndEnter("4");
    TypeAndEnter("=A1*2");
    Select("A1");
    PressKey(VK_DELETE);
    EXPECT_EQ(Shown("A1"), "");
    EXPECT_EQ(Shown("A2"), "0");
}

}  // namespace
}  // namespace tally
