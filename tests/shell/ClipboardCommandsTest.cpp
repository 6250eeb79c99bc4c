#include "base/MessageTable.h"
#include "editing/Clipboard.h"
#include "editing/Undo.h"
#include "formula/FormulaText.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

enum Commands : i32 { UNDO = 130, CUT = 131, COPY = 132, PASTE = 133, PASTE_SPECIAL = 134 };

class ClipboardCommands : public ShellSandbox {
  protected:
    static void SelectFromTo(std::string_view first, std::string_view last) {
        i32 row = 0, column = 0, lastRow = 0, lastColumn = 0;
        ReadCellName(first, row, column);
        ReadCellName(last, lastRow, lastColumn);
        SelectLines(row, lastRow, column, lastColumn);
    }
    static void SelectLines(i32 row, i32 lastRow, i32 column, i32 lastColumn) {
        SheetView& view = CurrentSheet()->view;
        view.selection = {static_cast<u16>(row), static_cast<u16>(lastRow), static_cast<u8>(column),
                          static_cast<u8>(lastColumn)};
        view.activeRow = static_cast<u16>(row);
        view.activeColumn = static_cast<u8>(column);
    }
    static void CopyFrom(std::string_view first, std::string_view last) {
        SelectFromTo(first, last);
        PickCommand(COPY);
    }
    static void PasteAt(std::string_view first, std::string_view last) {
        SelectFromTo(first, last);
        PickCommand(PASTE);
    }
    static void Special(std::string_view at, std::initializer_list<std::pair<WideView, WideView>> entries) {
        SelectFromTo(at, at);
        EXPECT_TRUE(AnswerDialog(true));
        for (const auto& [field, value] : entries) EXPECT_TRUE(EnterInDialog(field, value));
        PickCommand(PASTE_SPECIAL);
        EXPECT_TRUE(HeadlessDialogs().shown.Last().understood);
    }
    static std::string Formula(std::string_view cell) {
        const CellRecord* record = CellAtName(cell);
        WideText text;
        if (!record || !record->formula) return "";
        EXPECT_TRUE(FormulaToText(CurrentBook(), record->formula->tokens, 0, 0, true, text));
        return Narrow(text);
    }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
    static void Elsewhere(WideView text) { CopyElsewhere(&text); }
    static void Hide(i32 row) {
        EXPECT_TRUE(SetRowInfo(CurrentSheet()->rows, {static_cast<u16>(row), ROW_HIDDEN, 255}));
        CurrentSheet()->filterState = FILTER_ADVANCED;
    }
};

TEST_F(ClipboardCommands, TwoRowsOverSixTileThreeTimesAndOverFiveAreRefused) {
    Enter("A1", "1");
    Enter("A2", "2");
    CopyFrom("A1", "A2");
    PasteAt("C1", "C6");
    for (const char* cell : {"C1", "C3", "C5"}) EXPECT_EQ(Shown(cell), "1") << cell;
    for (const char* cell : {"C2", "C4", "C6"}) EXPECT_EQ(Shown(cell), "2") << cell;
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    PasteAt("E1", "E5");
    EXPECT_EQ(LastBox(), "剪贴板数据与选定区域的大小形状不同");
    EXPECT_EQ(Narrow(Headless().boxes.Last().title), "Tallyman");
    EXPECT_EQ(Shown("E1"), "");
    EXPECT_EQ(UndoCount(), 1u);
}

TEST_F(ClipboardCommands, OneCellFillsALargeSelection) {
    Enter("A1", "7");
    CopyFrom("A1", "A1");
    PasteAt("B2", "F40");
    EXPECT_EQ(Shown("B2"), "7");
    EXPECT_EQ(Shown("F40"), "7");
    EXPECT_EQ(Shown("G40"), "");
    EXPECT_EQ(CurrentSheet()->cells.count, 1u + 5 * 39);
    EXPECT_EQ(Selection(), "B2:F40");
}

TEST_F(ClipboardCommands, ThreeColumnsFromTheLastColumnHaveNoRoom) {
    Enter("A1", "1");
    CopyFrom("A1", "C1");
    PasteAt("IV1", "IV1");
    EXPECT_EQ(LastBox(), "No room to paste data");
    CopyFrom("A1", "A3");
    PasteAt("A65535", "A65535");
    EXPECT_EQ(LastBox(), "No room to paste data");
    PasteAt("A65534", "A65534");
    EXPECT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_EQ(Shown("A65534"), "1");
}

TEST_F(ClipboardCommands, WholeColumnsDoNotFitBelowTheFirstRow) {
    SelectLines(0, 65535, 0, 0);
    PickCommand(COPY);
    PasteAt("B2", "B2");
    EXPECT_EQ(LastBox(), "No room to paste data");
    PasteAt("B1", "B1");
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->view.selection, (RefArea{0, 65535, 1, 1}));
}

TEST_F(ClipboardCommands, ThePastedSizeIsSelected) {
    Enter("A1", "1");
    CopyFrom("A1", "B3");
    PasteAt("D5", "D5");
    EXPECT_EQ(Selection(), "D5:E7");
    EXPECT_EQ(Active(), "D5");
}

TEST_F(ClipboardCommands, MultiplyingAFormulaByANumberPutsItInParentheses) {
    Enter("A1", "5");
    Enter("B1", "=A1");
    Enter("C1", "2");
    CopyFrom("C1", "C1");
    Special("B1", {{u"运算", u"乘法"}});
    EXPECT_EQ(Formula("B1"), "=(A1)*2");
    EXPECT_EQ(Shown("B1"), "10");
    PickCommand(UNDO);
    EXPECT_EQ(Formula("B1"), "=A1");
}

TEST_F(ClipboardCommands, DividingByABlankIsADivisionByZero) {
    Enter("A1", "5");
    CopyFrom("B1", "B1");
    Special("A1", {{u"运算", u"除"}});
    EXPECT_EQ(Shown("A1"), "#DIV/0!");
}

TEST_F(ClipboardCommands, ArithmeticOfValuesAndFormulas) {
    const struct {
        const char *target, *source, *formula, *shown;
    } rows[] = {
        {"5", "2", "", "7"},
        {"5", "=1+1", "=5+(1+1)", "7"},
        {"=2*3", "=1+1", "=(2*3)+(1+1)", "8"},
        {"", "=1+1", "=0+(1+1)", "2"},
        {"text", "=1+1", "", "text"},
        {"text", "2", "", "text"},
        {"TRUE", "2", "", "TRUE"},
        {"=2*3", "", "=(2*3)+0", "6"},
        {"=2*3", "text", "=2*3", "6"},
        {"=2*3", "TRUE", "=2*3", "6"},
        {"", "3", "", "3"},
    };
    for (const auto& row : rows) {
        Enter("A1", row.target);
        Enter("B1", row.source);
        CopyFrom("B1", "B1");
        Special("A1", {{u"运算", u"求和"}});
        EXPECT_EQ(Formula("A1"), row.formula) << row.target << " + " << row.source;
        EXPECT_EQ(Shown("A1"), row.shown) << row.target << " + " << row.source;
    }
}

TEST_F(ClipboardCommands, TheOtherOperations) {
    const struct {
        WideView item;
        const char* shown;
    } rows[] = {{u"减", "6"}, {u"乘法", "16"}, {u"除", "4"}};
    for (const auto& row : rows) {
        Enter("A1", "8");
        Enter("B1", "2");
        CopyFrom("B1", "B1");
        Special("A1", {{u"运算", row.item}});
        EXPECT_EQ(Shown("A1"), row.shown);
    }
    Enter("A1", "1e300");
    CopyFrom("A1", "A1");
    Special("A1", {{u"运算", u"乘法"}});
    EXPECT_EQ(Shown("A1"), "#NUM!");
}

TEST_F(ClipboardCommands, CutThenUndoRestoresTheCellsAndLeavesTheBlock) {
    Enter("A1", "1");
    Enter("A2", "=A1+1");
    SelectFromTo("A1", "A2");
    PickCommand(CUT);
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
    PickCommand(UNDO);
    EXPECT_EQ(Shown("A2"), "2");
    PasteAt("C1", "C1");
    EXPECT_EQ(Formula("C2"), "=C1+1");
}

TEST_F(ClipboardCommands, ACutBlockCanBePastedAgainWithReferencesThatMove) {
    Enter("A1", "1");
    Enter("A2", "=A1+B1");
    SelectFromTo("A1", "A2");
    PickCommand(CUT);
    PasteAt("C3", "C3");
    EXPECT_EQ(Formula("C4"), "=C3+B1");
    PasteAt("E1", "E1");
    EXPECT_EQ(Formula("E2"), "=E1+B1");
    EXPECT_EQ(Formula("C4"), "=C3+B1");
}

TEST_F(ClipboardCommands, AFilteredListIsPastedAsValues) {
    Enter("A1", "1");
    Enter("A2", "2");
    Enter("A3", "=A1+A2");
    Hide(1);
    CopyFrom("A1", "A3");
    CurrentSheet()->filterState = 0;
    PasteAt("C1", "C1");
    EXPECT_EQ(Shown("C1"), "1");
    EXPECT_EQ(Shown("C2"), "3");
    EXPECT_EQ(Formula("C2"), "");
    EXPECT_EQ(Shown("C3"), "");
}

TEST_F(ClipboardCommands, APasteSkipsRowsThatAFilterHides) {
    Enter("A1", "7");
    Enter("C3", "old");
    CopyFrom("A1", "A1");
    Hide(2);
    PasteAt("C1", "C5");
    for (const char* cell : {"C1", "C2", "C4", "C5"}) EXPECT_EQ(Shown(cell), "7") << cell;
    EXPECT_EQ(Shown("C3"), "old");
    PickCommand(UNDO);
    EXPECT_EQ(CurrentSheet()->cells.count, 2u);
}

TEST_F(ClipboardCommands, APasteThatDoesNotFitOneVisibleRunIsRefusedWhole) {
    Enter("A1", "1");
    Enter("A2", "2");
    CopyFrom("A1", "A2");
    Hide(4);
    PasteAt("C1", "C8");  // runs of four and three rows
    EXPECT_EQ(LastBox(), "剪贴板数据与选定区域的大小形状不同");
    EXPECT_EQ(Shown("C1"), "");
    PasteAt("C4", "C6");  // runs of one row each grow, over the hidden one as well
    EXPECT_EQ(Shown("C4"), "1");
    EXPECT_EQ(Shown("C5"), "2");
    EXPECT_EQ(Shown("C6"), "1");
    EXPECT_EQ(Shown("C7"), "2");
}

TEST_F(ClipboardCommands, AnotherProgramsCopyTurnsThePasteIntoAPasteOfText) {
    Enter("A1", "=1+1");
    CopyFrom("A1", "A1");
    Elsewhere(u"from elsewhere");
    PasteAt("B1", "B1");
    EXPECT_EQ(Shown("B1"), "from elsewhere");
    EXPECT_FALSE(Clipboard().blockExists);
    CopyFrom("A1", "A1");
    CopyElsewhere(nullptr);
    PasteAt("B2", "B2");
    EXPECT_EQ(Shown("B2"), "");
    EXPECT_FALSE(CanPaste());
    PasteClipboard();
    EXPECT_EQ(Shown("B2"), "");
    EXPECT_FALSE(Clipboard().blockExists);
}

TEST_F(ClipboardCommands, CopyPutsBothFormsOfTheTextAndTheMarkerOnTheClipboard) {
    Enter("A1", "1");
    Enter("B1", "é");
    CopyFrom("A1", "B1");
    const ShellPlatformTable& shell = ShellPlatform();
    WideText text;
    Array<u8> bytes;
    ASSERT_TRUE(ReadClipboardText(text));
    EXPECT_EQ(text.View(), WideView(u"1\té"));
    ASSERT_TRUE(shell.readClipboard(CF_TEXT, bytes));
    ASSERT_EQ(bytes.Count(), 3u);
    EXPECT_EQ(bytes[2], 0xE9);
    EXPECT_TRUE(shell.clipboardHas(CF_PRIVATE));
}

TEST_F(ClipboardCommands, AClipboardThatCannotBeOpenedKeepsTheBlockAndHasNoText) {
    Enter("A1", "1");
    HeadlessFrame().clipboardLocked = true;
    CopyFrom("A1", "A1");
    EXPECT_TRUE(Clipboard().blockExists);
    HeadlessFrame().clipboardLocked = false;
    EXPECT_FALSE(ShellPlatform().clipboardHas(CF_UNICODETEXT));
}

TEST_F(ClipboardCommands, WhileTypingTheCommandsGoToTheLine) {
    Enter("A1", "5");
    CopyFrom("A1", "A1");
    TypeText(u"abc");
    HeadlessFrame().edits[ENTRY_LINE].start = 0;
    HeadlessFrame().edits[ENTRY_LINE].end = 3;
    PickCommand(CUT);
    EXPECT_EQ(Line(), "");
    PickCommand(PASTE);
    EXPECT_EQ(Line(), "abc");
    PickCommand(PASTE_SPECIAL);
    EXPECT_TRUE(HeadlessDialogs().shown.IsEmpty());
    EXPECT_EQ(Shown("A1"), "5");
}

TEST_F(ClipboardCommands, WhatIsEnabled) {
    EXPECT_TRUE(IsEnabled(MENU_EDIT, CUT));
    EXPECT_TRUE(IsEnabled(MENU_EDIT, COPY));
    EXPECT_FALSE(IsEnabled(MENU_EDIT, PASTE));
    EXPECT_FALSE(IsEnabled(MENU_EDIT, PASTE_SPECIAL));
    PickCommand(COPY);
    EXPECT_TRUE(IsEnabled(MENU_EDIT, PASTE));
    EXPECT_TRUE(IsEnabled(MENU_EDIT, PASTE_SPECIAL));
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_TRUE(IsEnabled(MENU_EDIT, PASTE_SPECIAL));
    CurrentSheet()->viewFlags &= static_cast<u16>(~VIEW_PROTECTED);
    TypeText(u"x");
    EXPECT_TRUE(IsEnabled(MENU_EDIT, PASTE));
    EXPECT_FALSE(IsEnabled(MENU_EDIT, PASTE_SPECIAL));
    PressKey(VK_ESCAPE);
    CopyElsewhere(nullptr);
    EXPECT_FALSE(IsEnabled(MENU_EDIT, PASTE));
    Elsewhere(u"t");
    EXPECT_TRUE(IsEnabled(MENU_EDIT, PASTE));
}

TEST_F(ClipboardCommands, TheOperationIsForModesThatBringContent) {
    Enter("A1", "5");
    Enter("B1", "2");
    CopyFrom("B1", "B1");
    // Chosen before the mode that has none.
    Special("A1", {{u"运算", u"求和"}, {u"粘贴", u"格式"}});
    EXPECT_EQ(Shown("A1"), "5");
}

TEST_F(ClipboardCommands, ThreeTargetsOfPasteSpecial) {
    Enter("A1", "1");
    Enter("A2", "=A1+1");
    CopyFrom("A1", "A2");
    Special("C1", {{u"粘贴", u"数值"}});
    EXPECT_EQ(Shown("C2"), "2");
    EXPECT_EQ(Formula("C2"), "");
    Special("D1", {{u"转置", u"1"}});
    EXPECT_EQ(Shown("D1"), "1");
    EXPECT_EQ(Shown("E1"), "2");
    EXPECT_EQ(Formula("E1"), "=D1+1");
    Enter("F2", "kept");
    CopyFrom("B1", "B2");
    Special("F1", {{u"忽略空白", u"1"}});
    EXPECT_EQ(Shown("F2"), "kept");
    Special("F1", {});
    EXPECT_EQ(Shown("F2"), "");
}

TEST_F(ClipboardCommands, ACancelledDialogPastesNothing) {
    Enter("A1", "1");
    CopyFrom("A1", "A1");
    SelectFromTo("B1", "B1");
    ASSERT_TRUE(AnswerDialog(false));
    PickCommand(PASTE_SPECIAL);
    EXPECT_EQ(Shown("B1"), "");
    EXPECT_EQ(HeadlessDialogs().shown.Last().title.View(), WideView(u"选择性粘贴"));
}

TEST_F(ClipboardCommands, PasteSpecialOfATextAsksForItsForm) {
    Elsewhere(u"1\té");
    Special("A1", {{u"方式", u"文本"}});
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(Shown("B1"), "é");
    Special("A2", {{u"方式", u"Unicode 文本"}});
    EXPECT_EQ(Shown("B2"), "é");
    ForgetClipboardFormat(CF_TEXT);
    Special("A3", {{u"方式", u"0"}});
    EXPECT_EQ(Shown("B3"), "é");
}

TEST_F(ClipboardCommands, PastedTextIsRecognisedAsIfItWereTyped) {
    Elsewhere(u"1\t1/2/2003\t50%\r\n=A1+1\t'quoted\tTRUE\r\n-abc\t#N/A\r\n");
    PasteAt("A1", "A1");
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(CellAtName("B1")->value.number, 37623);
    EXPECT_EQ(Shown("C1"), "50%");
    EXPECT_EQ(Shown("A2"), "2");
    EXPECT_EQ(Shown("B2"), "quoted");
    EXPECT_EQ(CellAtName("C2")->value.type, VT_BOOL);
    EXPECT_EQ(Shown("A3"), "-abc");
    EXPECT_EQ(CellAtName("B3")->value.type, VT_ERROR);
    EXPECT_EQ(Selection(), "A1:C3");
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    PickCommand(UNDO);
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
}

TEST_F(ClipboardCommands, PastedTextIsTiledAndShorterRowsLeaveCellsAlone) {
    Enter("B2", "kept");
    Elsewhere(u"1\t2\r\n3");
    PasteAt("A1", "B4");
    EXPECT_EQ(Shown("A3"), "1");
    EXPECT_EQ(Shown("B3"), "2");
    EXPECT_EQ(Shown("A4"), "3");
    EXPECT_EQ(Shown("B2"), "kept");
    PasteAt("A1", "A3");
    EXPECT_EQ(LastBox(), "剪贴板数据与选定区域的大小形状不同");
    PasteAt("IV1", "IV1");
    EXPECT_EQ(LastBox(), "No room to paste data");
}

TEST_F(ClipboardCommands, RelativeReferencesOfPastedTextAreMeantFromTheirCells) {
    Elsewhere(u"=C1*2");
    Enter("C1", "4");
    PasteAt("A1", "A2");
    EXPECT_EQ(Formula("A1"), "=C1*2");
    EXPECT_EQ(Formula("A2"), "=C1*2");
}

TEST_F(ClipboardCommands, GuardsStandBeforeAPaste) {
    Sheet& sheet = *CurrentSheet();
    Enter("A1", "1");
    CopyFrom("A1", "B2");
    ASSERT_TRUE(sheet.mergedAreas.Append({9, 10, 3, 4}));
    PasteAt("D9", "D9");
    EXPECT_EQ(LastBox(), "不能对合并单元格作部分改动");
    ASSERT_TRUE(sheet.arrayFormulas.Append({{8, 8, 4, 6}, 0, 0}));
    PasteAt("D9", "D9");
    EXPECT_EQ(LastBox(), "不能改变数组的某一部分");
    sheet.viewFlags |= VIEW_PROTECTED;
    PasteAt("D9", "D9");
    EXPECT_EQ(LastBox(), "单元格有保护");
    Elsewhere(u"1\t2\r\n3\t4");
    PasteAt("D9", "D9");
    EXPECT_EQ(LastBox(), "单元格有保护");
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(ClipboardCommands, APasteOfTooManyCellsIsRefused) {
    Enter("A1", "1");
    CopyFrom("A1", "A1");
    SelectLines(0, 65535, 0, 255);
    PickCommand(PASTE);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(LastBox(), Narrow(Message(MSG_OUT_OF_MEMORY)));
    EXPECT_EQ(CurrentSheet()->cells.count, 1u);
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(ClipboardCommands, TheContextMenuHasTheSameCommands) {
    Enter("A1", "1");
    i32 x = 0, y = 0;
    CellPoint("A1", x, y);
    ShellMessage message;
    message.message = WM_RBUTTONDOWN;
    message.x = x;
    message.y = y;
    HeadlessFrame().popupAnswer = COPY;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
    EXPECT_TRUE(Clipboard().blockExists);
}

}  // namespace
}  // namespace tally
