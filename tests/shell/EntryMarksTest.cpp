// What is shown of a formula while it is typed: frames around its references, the arguments of the call.

#include "shell/entry/EntryMarks.h"

#include <array>

#include "display/LocaleSettings.h"
#include "editing/Undo.h"
#include "formula/FormulaText.h"
#include "formula/FormulaTypes.h"
#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/Layout.h"
#include "shell/grid/SelectionMarks.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class EntryMarksTest : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        SelectSheet(0);
    }
    // The frames as "A1:0 B2:C3:1 ", with the sheet before those of another one.
    static std::string Frames() {
        std::string all;
        for (const ReferenceFrame& frame : Shell().marks.frames) {
            WideText text;
            EXPECT_TRUE(AreaToText(CurrentBook(), frame.sheet, frame.area, AREA_ALL_RELATIVE | AREA_USE_A1, 0,
                                   0, text));
            if (frame.sheet != CurrentWorkbook()->currentSheet) all += std::to_string(frame.sheet) + "!";
            all += Narrow(text) + "=" + std::to_string(frame.colour) + " ";
        }
        return all;
    }
    // The hint as "SUM(*number1*,[number2,...])"; empty without one.
    static std::string Hint() {
        const EntryMarks& marks = Shell().marks;
        WideText text;
        i32 start = 0, end = 0;
        if (marks.call.row < 0) return "";
        EXPECT_TRUE(CallText(marks.call, text, start, end));
        const std::string whole = Narrow(text);
        const auto from = static_cast<std::size_t>(start), to = static_cast<std::size_t>(end);
        if (from == to) return whole;
        return whole.substr(0, from) + "*" + whole.substr(from, to - from) + "*" + whole.substr(to);
    }
    static void TypeAnew(std::string_view text) {
        if (IsEditing()) PressKey(VK_ESCAPE);
        TypeText(Wide(text));
    }
    // The frame's four edges in its colour, as the last paint drew them.
    static int EdgesDrawn(u32 colour) {
        int count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            count += record.kind == DRAW_FILL && record.colour == colour;
        return count;
    }
};

TEST_F(EntryMarksTest, EachReferenceOfTheFormulaHasAFrameInAColourOfItsOwn) {
    const std::pair<const char*, const char*> rows[] = {
        {"=A1", "A1=0 "},
        {"=A1+B2", "A1=0 B2=1 "},
        {"=a1+B2:C3*$A$1+A$1", "A1=0 B2:C3=1 "},
        {"+A1", "A1=0 "},
        {"-D4:E5", "D4:E5=0 "},
        {"=\"A1\"&C1", "C1=0 "},
        {"=SUM(A:A,2:3)", "A:A=0 2:3=1 "},
        {"=A1+A2+A3+A4+A5+A6+A7+A8+A1", "A1=0 A2=1 A3=2 A4=3 A5=4 A6=5 A7=6 A8=0 "},
        {"=Sheet2!B1+B1", "1!B1=0 B1=1 "},
        {"=Sheet1!B1+B1", "B1=0 "},
        {"=Sheet1:Sheet2!B1+Z9", "Z9=0 "},
        {"=LOG10(5)+A1B+XFD1", ""},
        {"=", ""},
        {"A1", ""},
        {"7", ""},
    };
    for (const auto& [typed, frames] : rows) {
        TypeAnew(typed);
        EXPECT_EQ(Frames(), frames) << typed;
    }
}

TEST_F(EntryMarksTest, FramesFollowEachChangeOfTheLineAndGoWithTheEdit) {
    Select("D4");
    TypeText(u"=A1");
    EXPECT_EQ(Frames(), "A1=0 ");
    TypeText(u"2");
    EXPECT_EQ(Frames(), "A12=0 ");
    PressKey(VK_BACK);
    PressKey(VK_BACK);
    EXPECT_EQ(Frames(), "");
    PressKey(VK_BACK);
    PressKey(VK_UP);  // pointed at
    EXPECT_EQ(Frames(), "D3=0 ");
    PressKey(VK_UP, KEY_SHIFT);
    EXPECT_EQ(Frames(), "D2:D3=0 ");
    PressKey(VK_F4);
    EXPECT_EQ(Line(), "=$D$2:$D$3");
    EXPECT_EQ(Frames(), "D2:D3=0 ");
    TypeText(u"+");
    ClickCell("B2");
    EXPECT_EQ(Frames(), "D2:D3=0 B2=1 ");
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Frames(), "");
    TypeText(u"=A1");
    PressKey(VK_RETURN);
    EXPECT_EQ(Frames(), "");
    // An edit of what stands there shows them at once.
    Select("D4");
    PressKey('E', KEY_CTRL);
    ASSERT_EQ(Line(), "=A1");
    EXPECT_EQ(Frames(), "A1=0 ");
    PressKey(VK_RETURN);
    EXPECT_EQ(Frames(), "");
}

TEST_F(EntryMarksTest, AReferenceIntoAMergeFramesAllOfIt) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B2", "C3")));
    Select("E5");
    TypeText(u"=B2+C9");
    EXPECT_EQ(Frames(), "B2:C3=0 C9=1 ");
}

TEST_F(EntryMarksTest, FramesArePaintedOnTheSheetThatTheyAreOn) {
    Select("H9");
    TypeText(u"=B2:C3+Sheet2!B2+Sheet2!D4");
    PaintHeadless();
    EXPECT_EQ(EdgesDrawn(referenceColours[0]), 4);
    EXPECT_EQ(EdgesDrawn(referenceColours[1]), 0);
    const PixelRect area = AreaPixels(AreaOf("B2", "C3"));
    for (const DrawRecord& record : HeadlessFrame().drawing) {
        if (record.kind != DRAW_FILL || record.colour != referenceColours[0]) continue;
        EXPECT_EQ(IntersectRects(record.rect, area), record.rect);
        EXPECT_EQ(std::min(record.rect.right - record.rect.left, record.rect.bottom - record.rect.top), 2);
    }
    // The sheet that is shown meanwhile.
    CurrentWorkbook()->currentSheet = 1;
    RefreshChrome();
    PaintHeadless();
    EXPECT_EQ(EdgesDrawn(referenceColours[0]), 0);
    EXPECT_EQ(EdgesDrawn(referenceColours[1]), 4);
    EXPECT_EQ(EdgesDrawn(referenceColours[2]), 4);
    // References without a sheet stay those of the sheet that the entry is for.
    TypeText(u"+E7");
    ASSERT_EQ(Shell().marks.frames.Count(), 4u);
    EXPECT_EQ(Shell().marks.frames[3].sheet, 0);
    CurrentWorkbook()->currentSheet = 0;
    PressKey(VK_ESCAPE);
}

TEST_F(EntryMarksTest, EdgesBehindTheEndOfTheViewAreNotDrawn) {
    Select("H9");
    TypeText(u"=B:B");
    PaintHeadless();
    // Its lower edge is out of sight.
    EXPECT_EQ(EdgesDrawn(referenceColours[0]), 3);
    PressKey(VK_ESCAPE);
    TypeText(u"=IV65536");
    PaintHeadless();
    EXPECT_EQ(EdgesDrawn(referenceColours[0]), 0);
}

TEST_F(EntryMarksTest, OnlyWhatChangesOfTheFramesIsPaintedAgain) {
    Select("H9");
    TypeText(u"=B2:E20+A1");
    HeadlessFrame().dirty.Truncate(0);
    TypeText(u"*G3");
    const PixelRect added = AreaPixels(AreaOf("G3", "G3"));
    u32 onCells = 0;
    for (const PixelRect& rect : HeadlessFrame().dirty) {
        if (!RectsMeet(rect, Shell().layout.cells)) continue;
        ++onCells;
        EXPECT_EQ(IntersectRects(rect, added), rect);
    }
    EXPECT_GT(onCells, 0u);
    HeadlessFrame().dirty.Truncate(0);
    TypeText(u"+1");
    for (const PixelRect& rect : HeadlessFrame().dirty) EXPECT_FALSE(RectsMeet(rect, Shell().layout.cells));
}

// ---- the hint ----------------------------------------------------------------------------------------------

TEST_F(EntryMarksTest, TheCallThatTheCaretIsInShowsItsArguments) {
    const std::pair<const char*, const char*> rows[] = {
        {"=SUM(", "SUM(*number1*,[number2,...])"},
        {"=sum(A1", "SUM(*number1*,[number2,...])"},
        {"=SUM(A1,", "SUM(number1,[*number2*,...])"},
        {"=SUM(A1,2,", "SUM(number1,[number2,*...*])"},
        {"=SUM(A1,2,3,4,5", "SUM(number1,[number2,*...*])"},
        {"=IF(A1>2,", "IF(logical_test,[*value_if_true*],[value_if_false])"},
        {"=IF(SUM(1,2),", "IF(logical_test,[*value_if_true*],[value_if_false])"},
        {"=IF(SUM(1,2", "SUM(number1,[*number2*,...])"},
        {"=IF(1,2,3,4", "IF(logical_test,[value_if_true],[value_if_false])"},
        {"=SUM((A1+2,3", "SUM(*number1*,[number2,...])"},
        {"=SUM({1,2,3", "SUM(*number1*,[number2,...])"},
        {"=SUM({1,2,3},", "SUM(number1,[*number2*,...])"},
        {"=SUM(\"a,(b\",", "SUM(number1,[*number2*,...])"},
        {"=SUM(\"a,(b", "SUM(*number1*,[number2,...])"},
        {"=SUM('a,(b'!A1,", "SUM(number1,[*number2*,...])"},
        {"=NOW(", "NOW()"},
        {"=1+PI()*VLOOKUP(A1,B:C,", "VLOOKUP(lookup_value,table_range,*col_index_num*,[range_lookup])"},
        {"-SUM(", "SUM(*number1*,[number2,...])"},
        {"=SUM(1)", ""},
        {"=SUM", ""},
        {"=(1,2", ""},
        {"=NOSUCH(1", ""},
        {"=SUM(NOSUCH(1", ""},
        {"=SUM(NOSUCH(1)", "SUM(*number1*,[number2,...])"},
        {"SUM(", ""},
        {"=)SUM(", "SUM(*number1*,[number2,...])"},
    };
    for (const auto& [typed, hint] : rows) {
        TypeAnew(typed);
        EXPECT_EQ(Hint(), hint) << typed;
        EXPECT_EQ(IsEmptyRect(CallHintPlace()), *hint == 0) << typed;
    }
}

TEST_F(EntryMarksTest, TheHintFollowsTheCaretAndLeavesWithItTheCall) {
    Enter("B2", "=1+SUM(2,3)+4");
    Select("A1");
    Select("B2");
    PressKey('E', KEY_CTRL);
    EXPECT_EQ(Hint(), "");
    const auto caret = [](i32 at) {
        ShellPlatform().selectEdit(ENTRY_LINE, at - 1, at - 1);
        PressKey(VK_RIGHT);
        return Hint();
    };
    EXPECT_EQ(caret(6), "");
    EXPECT_EQ(caret(7), "SUM(*number1*,[number2,...])");
    EXPECT_EQ(caret(8), "SUM(*number1*,[number2,...])");
    EXPECT_EQ(caret(9), "SUM(number1,[*number2*,...])");
    EXPECT_EQ(caret(10), "SUM(number1,[*number2*,...])");
    EXPECT_EQ(caret(11), "");
    EXPECT_EQ(caret(9), "SUM(number1,[*number2*,...])");
    PressKey(VK_RETURN);
    EXPECT_EQ(Hint(), "");
    EXPECT_EQ(Narrow(CellAtName("B2")->formula ? u"stored" : u""), "stored");
}

TEST_F(EntryMarksTest, TheHintTakesNeitherKeysNorTheFocus) {
    Select("B2");
    TypeText(u"=SUM(");
    ASSERT_NE(Hint(), "");
    EXPECT_EQ(HeadlessFrame().focus, ENTRY_LINE);
    PressKey(VK_UP);
    EXPECT_EQ(Line(), "=SUM(B1");
    EXPECT_EQ(Hint(), "SUM(*number1*,[number2,...])");
    PressKey(VK_ESCAPE);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Hint(), "");
    EXPECT_TRUE(IsEmptyRect(CallHintPlace()));
}

TEST_F(EntryMarksTest, TheHintStandsUnderTheLineWithTheArgumentInBold) {
    Select("H9");
    TypeText(u"=SUM(1,");
    PaintHeadless();
    const PixelRect place = CallHintPlace();
    EXPECT_EQ(place.top, Shell().layout.entryLine.bottom);
    EXPECT_EQ(IntersectRects(place, Shell().layout.grid), place);
    const DrawRecord *before = FindDrawn("SUM(number1,["), *bold = FindDrawn("number2"),
                     *behind = FindDrawn(",...])");
    ASSERT_TRUE(before && bold && behind);
    EXPECT_EQ(HeadlessFontList()[bold->font - 1].weight, 700);
    EXPECT_EQ(before->font, behind->font);
    EXPECT_NE(before->font, bold->font);
    EXPECT_LE(before->rect.right, bold->rect.left);
    EXPECT_LE(bold->rect.right, behind->rect.left);
    for (const DrawRecord* record : {before, bold, behind})
        EXPECT_EQ(IntersectRects(record->rect, place), record->rect);
    PressKey(VK_ESCAPE);
    PaintHeadless();
    EXPECT_EQ(FindDrawn("number2"), nullptr);
}

TEST_F(EntryMarksTest, TheHintHasTheSeparatorOfTheRegion) {
    Region("de-DE");
    TypeText(u"=SUM(1;");
    EXPECT_EQ(Hint(), "SUM(number1;[*number2*;...])");
    PressKey(VK_ESCAPE);
    Region("en-US");
}

TEST_F(EntryMarksTest, EveryFunctionWithArgumentsCanBeShownAtEachOfThem) {
    int marked = 0;
    for (i32 row = 0; row < FUNCTION_ROWS; ++row) {
        for (i32 argument = 0; argument < 31; ++argument) {
            WideText text;
            i32 start = -1, end = -1;
            ASSERT_TRUE(CallText({row, argument}, text, start, end));
            const i32 length = static_cast<i32>(text.Length());
            ASSERT_TRUE(start >= 0 && start <= end && end < length) << row;
            marked += start < end;
            EXPECT_EQ(text.View().substr(0, FunctionTable[row].name.size()), FunctionTable[row].name);
            EXPECT_EQ(text[static_cast<u32>(length) - 1], u')');
        }
    }
    EXPECT_GT(marked, 1000);
}

TEST_F(EntryMarksTest, BracketsWithoutEndAreBounded) {
    std::u16string deep = u"=SUM(";
    for (int i = 0; i < 5000; ++i) deep += u'(';
    EXPECT_EQ(FindCall(deep, static_cast<i32>(deep.size())).row, -1);
    EXPECT_GE(FindCall(deep, 5).row, 0);
    EXPECT_EQ(FindCall(u"=SUM(", -3).row, -1);
    EXPECT_GE(FindCall(u"=SUM(", 99).row, 0);
}

}  // namespace
}  // namespace tally
