// What typing, keys and commands do to the entry line.

#include "editing/Undo.h"
#include "formula/Compiler.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class EntryKeysTest : public ShellSandbox {
  protected:
    static void Give(std::string_view cell, const CellFormat& format) {
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        record->format = index;
    }
    static void GiveNumberFormat(std::string_view cell, u16 number) {
        CellFormat format;
        format.numberFormat = number;
        Give(cell, format);
    }
    static void MoveTo(i32 x, i32 y) {
        ShellMessage message;
        message.message = WM_MOUSEMOVE;
        message.x = x;
        message.y = y;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static std::string HintOf(std::string_view cell) {
        i32 x = 0, y = 0;
        MoveTo(1, 1);
        CellPoint(cell, x, y);
        MoveTo(x, y);
        return Narrow(HeadlessFrame().toolTip);
    }
};

TEST_F(EntryKeysTest, WhatIsTypedIntoAnotherEditControlIsNoEntry) {
    Enter("A1", "old");
    Select("A2");
    Select("A1");
    ShellPlatform().placeEdit(COMMENT_EDIT, {100, 100, 200, 200}, true);
    ShellPlatform().focusEdit(COMMENT_EDIT);
    TypeText(u"=note");
    PressKey(VK_HOME);
    PressKey(VK_RETURN);
    EXPECT_EQ(Narrow(HeadlessFrame().edits[COMMENT_EDIT].text), "=note");
    EXPECT_EQ(HeadlessFrame().edits[COMMENT_EDIT].start, 0);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Line(), "old");
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    // And the line keeps its own text beside it.
    ClickCell("B2");
    ShellPlatform().focusFrame();
    TypeText(u"12");
    EXPECT_EQ(Line(), "12");
    EXPECT_EQ(Narrow(HeadlessFrame().edits[COMMENT_EDIT].text), "=note");
}

TEST_F(EntryKeysTest, AReferenceBeginsBehindAnOperatorOfAFormula) {
    struct Case {
        const char16_t* typed;
        bool begins;
    };
    for (const Case& row :
         {Case{u"=", true}, {u"-", true},    {u"+", true},    {u"=1+", true}, {u"=1-", true},
          {u"=2*", true},   {u"=2/", true},  {u"=2^", true},  {u"=2&", true}, {u"=2=", true},
          {u"=2<", true},   {u"=2>", true},  {u"=B9:", true}, {u"=(", true},  {u"=MAX(1,", true},
          {u"=1 ", true},   {u"=1", false},  {u"=B9", false}, {u"x+", false}, {u"(", false},
          {u"7", false},    {u"=(1)", false}}) {
        TearDown();
        SetUp();
        Select("B2");
        TypeText(row.typed);
        PressKey(VK_DOWN);
        const std::string typed = Narrow(row.typed);
        if (row.begins) {
            EXPECT_EQ(Line(), typed + "B3");
            EXPECT_EQ(Active(), "B2");
        } else {
            EXPECT_FALSE(IsEditing()) << typed;
            EXPECT_EQ(Active(), "B3") << typed;
        }
    }
}

TEST_F(EntryKeysTest, KeysMoveTheReferenceAsTheyMoveTheCell) {
    for (const char* cell : {"D2", "D5", "F9"}) Enter(cell, "1");
    struct Case {
        std::initializer_list<std::pair<u32, u32>> keys;
        const char* line;
    };
    for (const Case& row : {Case{{{VK_RIGHT, 0}}, "=C2"},
                            {{{VK_RIGHT, KEY_CTRL}}, "=D2"},
                            {{{VK_RIGHT, KEY_CTRL}, {VK_DOWN, KEY_CTRL}}, "=D5"},
                            {{{VK_RIGHT, KEY_CTRL}, {VK_DOWN, KEY_CTRL | KEY_SHIFT}}, "=D2:D5"},
                            {{{VK_END, 0}, {VK_RIGHT, 0}}, "=D2"},
                            {{{VK_HOME, 0}}, "=A2"},
                            {{{VK_HOME, KEY_CTRL}}, "=A1"},
                            {{{VK_END, KEY_CTRL}}, "=F9"},
                            {{{VK_NEXT, 0}}, "=B31"},
                            {{{VK_UP, 0}, {VK_UP, 0}}, "=B1"},
                            {{{VK_DOWN, KEY_SHIFT}, {VK_RIGHT, KEY_SHIFT}}, "=B2:C3"},
                            {{{VK_LEFT, KEY_SHIFT}, {VK_UP, KEY_SHIFT}}, "=A1:B2"},
                            {{{VK_DOWN, KEY_SHIFT}, {VK_RIGHT, 0}}, "=C3"}}) {
        Select("B2");
        TypeText(u"=");
        for (const auto& [key, modifiers] : row.keys) PressKey(key, modifiers);
        EXPECT_EQ(Line(), row.line);
        EXPECT_TRUE(IsEditing());
        EXPECT_FALSE(Shell().endMode);
        PressKey(VK_ESCAPE);
    }
    EXPECT_EQ(CellAtName("B2"), nullptr);
}

TEST_F(EntryKeysTest, AReferenceTakesTheWholeMergeAndIsReplacedWhileItIsPointedAt) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("C3", "D4")));
    Select("B3");
    TypeText(u"=1+");
    PressKey(VK_RIGHT);
    EXPECT_EQ(Line(), "=1+C3:D4");
    ClickCell("F6");
    EXPECT_EQ(Line(), "=1+F6");
    ClickCell("G7", KEY_SHIFT);
    EXPECT_EQ(Line(), "=1+F6:G7");
    TypeText(u"*");
    ClickCell("A1");
    EXPECT_EQ(Line(), "=1+F6:G7*A1");
    i32 x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    CellPoint("B8", x1, y1);
    CellPoint("C9", x2, y2);
    DragMouse(x1, y1, x2, y2);
    EXPECT_EQ(Line(), "=1+F6:G7*B8:C9");
    EXPECT_EQ(Selection(), "B3");
}

TEST_F(EntryKeysTest, APercentCellIsOfferedAPercentSignForNumbersOnly) {
    struct Case {
        u16 format;
        char16_t typed;
        const char* line;
    };
    for (const Case& row : {Case{9, u'0', "0%"},
                            {9, u'9', "9%"},
                            {10, u'5', "5%"},
                            {9, u'-', "-%"},
                            {9, u'+', "+%"},
                            {9, u'.', ".%"},
                            {9, u'/', "/"},
                            {9, u':', ":"},
                            {9, u'a', "a"},
                            {9, u'=', "="},
                            {9, u',', ","},
                            {11, u'5', "5"},
                            {8, u'5', "5"}}) {
        GiveNumberFormat("A1", row.format);
        TypeText(WideView(&row.typed, 1));
        EXPECT_EQ(Line(), row.line) << row.format;
        PressKey(VK_ESCAPE);
    }
}

TEST_F(EntryKeysTest, TypingAndErasingOpenAnEmptyLine) {
    Enter("A1", "old");
    Select("A1");
    PressKey(VK_BACK);
    EXPECT_TRUE(IsEditing());
    EXPECT_EQ(Line(), "");
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Line(), "old");
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Shown("A1"), "old");
    ShellMessage control;
    control.message = WM_CHAR;
    control.key = 7;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(control));
    EXPECT_FALSE(IsEditing());
    control.key = u'x';
    control.modifiers = KEY_CTRL;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(control));
    EXPECT_FALSE(IsEditing());
}

TEST_F(EntryKeysTest, TheKeyThatCommitsTellsWhereToGo) {
    struct Case {
        u32 key, modifiers;
        const char* active;
    };
    for (const Case& row : {Case{VK_RETURN, 0, "C4"},
                            {VK_RETURN, KEY_SHIFT, "C2"},
                            {VK_TAB, 0, "D3"},
                            {VK_TAB, KEY_SHIFT, "B3"},
                            {VK_UP, 0, "C2"},
                            {VK_LEFT, 0, "B3"},
                            {VK_HOME, 0, "A3"},
                            {VK_RETURN, KEY_CTRL, "C3"}}) {
        Select("C3");
        PressKey(VK_DELETE);
        TypeText(u"7");
        PressKey(row.key, row.modifiers);
        EXPECT_EQ(Shown("C3"), "7");
        EXPECT_EQ(Active(), row.active);
        EXPECT_FALSE(IsEditing());
        EXPECT_EQ(HeadlessFrame().focus, EDIT_NONE);
    }
}

TEST_F(EntryKeysTest, F2ChangesBetweenTheTwoWaysOfEditing) {
    TypeText(u"abc");
    PressKey(VK_RETURN, KEY_CTRL);
    PressKey(VK_F2);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 3);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].end, 3);
    PressKey(VK_HOME);
    EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].start, 0);
    EXPECT_TRUE(IsEditing());
    PressKey(VK_F2);
    PressKey(VK_RIGHT);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Active(), "B1");
}

TEST_F(EntryKeysTest, TheEntryBarCancelsStoresFillsAndBreaksTheLine) {
    TypeText(u"1");
    PickCommand(439);
    EXPECT_EQ(CellAtName("A1"), nullptr);
    TypeText(u"2");
    PickCommand(440);
    EXPECT_EQ(Shown("A1"), "2");
    EXPECT_EQ(Active(), "A1");
    SelectArea(AreaOf("B1", "B2"), true, 0, 1, false);
    TypeText(u"={1;2}");
    PickCommand(441);
    EXPECT_EQ(Shown("B2"), "2");
    SelectArea(AreaOf("C1", "C2"), true, 0, 2, false);
    TypeText(u"=A1");
    PickCommand(442);
    EXPECT_EQ(FormulaOf("C2"), "=A2");
    Select("D1");
    TypeText(u"a");
    PickCommand(443);
    TypeText(u"b");
    PressKey(VK_RETURN, KEY_ALT);
    TypeText(u"c");
    EXPECT_EQ(Line(), "a\nb\nc");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("D1"), "a\nb\nc");
    for (const i32 command : {439, 440, 441, 442, 443}) PickCommand(command);  // nothing is being typed
    EXPECT_EQ(UndoCount(), 4u);
    EXPECT_FALSE(IsEditing());
    // A part of an array is not stored for itself.
    Select("B1");
    PressKey(VK_F2);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Headless().boxes.Count(), 1u);
}

TEST_F(EntryKeysTest, TodayAndNowAreWrittenIntoTheLine) {
    Headless().fixedClock = true;
    Headless().clock = {};
    Headless().clock.year = 2004;
    Headless().clock.month = 3;
    Headless().clock.day = 9;
    Headless().clock.hour = 14;
    Headless().clock.minute = 5;
    PressKey(VK_OEM_1, KEY_CTRL);
    EXPECT_EQ(Line(), "3/9/2004");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("A1"), "3/9/2004");
    PressKey(VK_OEM_1, KEY_CTRL | KEY_SHIFT);
    EXPECT_EQ(Line(), "14:05:00");
    PressKey(VK_RETURN);
    EXPECT_DOUBLE_EQ(CellAtName("A2")->value.number, (14 * 60 + 5) / 1440.0);
    CurrentWorkbook()->date1904 = 1;
    TypeText(u"at ");
    PressKey(VK_OEM_COMMA, KEY_CTRL);
    EXPECT_EQ(Line(), "at 3/9/2004");
    PressKey(VK_ESCAPE);
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    PressKey(VK_OEM_1, KEY_CTRL);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Headless().boxes.Count(), 1u);
}

TEST_F(EntryKeysTest, TheLineShowsWhatMayBeSeen) {
    CellFormat quoted, hidden;
    quoted.flags |= FORMAT_QUOTE_PREFIX;
    hidden.flags |= FORMAT_HIDDEN;
    Enter("A1", "text");
    Give("A1", quoted);
    Enter("A2", "12");
    Give("A2", quoted);
    Enter("A3", "=1+1");
    Give("A3", hidden);
    EnterArray("B1", "B2", "=A2:A3");
    const auto line = [](std::string_view cell) {
        Select("Z9");
        Select(cell);
        return Line();
    };
    EXPECT_EQ(line("A1"), "'text");
    EXPECT_EQ(line("A2"), "12");
    EXPECT_EQ(line("A3"), "=1+1");
    EXPECT_EQ(line("B2"), "{=A2:A3}");
    EXPECT_EQ(line("C7"), "");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_EQ(line("A3"), "");
    EXPECT_EQ(line("A1"), "'text");
    CurrentSheet()->viewFlags = static_cast<u16>(CurrentSheet()->viewFlags & ~VIEW_PROTECTED);
    SelectArea(AreaOf("B1", "B2"), true, 0, 1, false);
    PressKey(VK_F2);
    EXPECT_EQ(Line(), "=A2:A3");
}

TEST_F(EntryKeysTest, HintsOfLinksAndRules) {
    struct Case {
        const char16_t *title, *text;
        const char* hint;
    };
    for (const Case& row : {Case{u"Title", u"Text", "Title\nText"},
                            {u"Title", u"", "Title"},
                            {u"", u"Text", "Text"},
                            {u"", u"", ""}}) {
        CurrentSheet()->validations.Truncate(0);
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        ASSERT_TRUE(rule && rule->areas.Append(AreaOf("B2", "B2")) && rule->inputTitle.Assign(row.title) &&
                    rule->inputText.Assign(row.text));
        EXPECT_EQ(HintOf("B2"), row.hint);
    }
    struct Link {
        const char16_t *target, *location;
        const char* hint;
    };
    for (const Link& row :
         {Link{u"/a.csv", u"", "/a.csv"}, {u"/a.csv", u"B2", "/a.csv#B2"}, {u"", u"C3", "#C3"}}) {
        CurrentSheet()->hyperlinks.Truncate(0);
        Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
        ASSERT_TRUE(link && link->target.Assign(row.target) && link->location.Assign(row.location));
        link->area = AreaOf("C2", "C3");
        EXPECT_EQ(HintOf("C3"), row.hint);
        EXPECT_EQ(HeadlessFrame().pointer, POINTER_LINK);
        EXPECT_EQ(HintOf("C4"), "");
        EXPECT_EQ(HeadlessFrame().pointer, POINTER_CELL);
    }
}

TEST_F(EntryKeysTest, TheArrowOfAListStandsBesideItsCellOrInsideTheView) {
    ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
    ASSERT_TRUE(rule && rule->areas.Append({0, 99, 0, 99}));
    rule->kind = 3;
    Select("B2");
    const PixelRect cell = AreaPixels(AreaOf("B2", "B2"));
    EXPECT_EQ(ListArrowPlace(), (PixelRect{cell.right, cell.top, cell.right + 17, cell.bottom - 1}));
    HeadlessFrame().dirty.Truncate(0);
    PaintHeadless();
    int lines = 0;
    const i32 middle = (2 * cell.right + 17) / 2, top = (cell.top + cell.bottom - 1) / 2 - 2;
    for (const DrawRecord& record : HeadlessFrame().drawing) {
        if (record.kind != DRAW_LINE || record.colour != 0x202020) continue;
        EXPECT_EQ(record.rect, (PixelRect{middle - 3 + lines, top + lines, middle + 4 - lines, top + lines}));
        ++lines;
    }
    EXPECT_EQ(lines, 4);
    // A tall cell has it at its foot.
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {1, ROW_CUSTOM_HEIGHT, 1500}));
    RefreshChrome();
    const PixelRect tall = AreaPixels(AreaOf("B2", "B2"));
    EXPECT_EQ(ListArrowPlace(), (PixelRect{tall.right, tall.bottom - 18, tall.right + 17, tall.bottom - 1}));
    const i32 edge = Shell().layout.cells.right;
    Select("N1");
    ScrollTo(0, 0);
    EXPECT_EQ(ListArrowPlace().right, edge);
    EXPECT_EQ(ListArrowPlace().left, edge - 17);
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("C4", "D5")));
    Select("C4");
    EXPECT_EQ(ListArrowPlace().left, AreaPixels(AreaOf("C4", "D5")).right);
    TypeText(u"1");
    EXPECT_TRUE(IsEmptyRect(ListArrowPlace()));
}

TEST_F(EntryKeysTest, APageKeyWithCtrlStoresAndShowsTheOtherSheet) {
    PickCommand(163);
    SelectSheet(0);
    for (const char16_t* typed : {u"7", u"=2+3"}) {
        Select("A1");
        TypeText(typed);
        PressKey(VK_NEXT, KEY_CTRL);
        EXPECT_FALSE(IsEditing());
        EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
        PressKey(VK_PRIOR, KEY_CTRL);
        EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    }
    EXPECT_EQ(Shown("A1"), "5");
    // Behind an operator a reference could begin, but not with these keys.
    TypeText(u"=A1*");
    PressKey(VK_NEXT, KEY_CTRL);
    EXPECT_EQ(Line(), "=A1*");
    EXPECT_EQ(Headless().boxes.Count(), 1u);
}

}  // namespace
}  // namespace tally
