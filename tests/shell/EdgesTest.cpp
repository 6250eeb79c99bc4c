// The edges of moving, of pointing and of what is typed, each as a user comes to it.

#include "editing/ApplyFormat.h"
#include "editing/Undo.h"
#include "editing/ViewOperations.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class EdgesTest : public ShellSandbox {
  protected:
    static void Type(WideView text, u32 key = VK_RETURN, u32 modifiers = 0) {
        TypeText(text);
        PressKey(key, modifiers);
    }
    static void Format(std::string_view first, std::string_view last, FormatField FormatRequest::*field,
                       i32 value) {
        FormatRequest request;
        request.*field = {true, value};
        ASSERT_TRUE(FormatArea(CurrentBook(), CurrentSheet()->index, AreaOf(first, last), request));
    }
    static void Protect() {
        ASSERT_TRUE(ProtectSheet({CurrentBook(), CurrentSheet()->index, true, WideText()}));
    }
    static std::string Box() { return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text); }
};

TEST_F(EdgesTest, JumpsEndAtTheEdgesOfTheSheet) {
    PressKey(VK_DOWN, KEY_CTRL);
    EXPECT_EQ(Active(), "A65536");
    PressKey(VK_DOWN);
    EXPECT_EQ(Active(), "A65536");
    PressKey(VK_RIGHT, KEY_CTRL);
    EXPECT_EQ(Active(), "IV65536");
    PressKey(VK_RIGHT);
    EXPECT_EQ(Active(), "IV65536");
    PressKey(VK_TAB);
    EXPECT_EQ(Active(), "IV65536");
    PressKey(VK_END);
    EXPECT_TRUE(Shell().endMode);
    PressKey(VK_UP);
    EXPECT_EQ(Active(), "IV1");
    EXPECT_FALSE(Shell().endMode);
}

TEST_F(EdgesTest, AMergeOnTheWayIsOneCell) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B3", "C5")));
    Select("C2");
    for (const auto& [key, to] : {std::pair{VK_DOWN, "B3"},
                                  {VK_DOWN, "B6"},
                                  {VK_UP, "B3"},
                                  {VK_RIGHT, "D3"},
                                  {VK_LEFT, "B3"},
                                  {VK_LEFT, "A3"}}) {
        PressKey(key);
        EXPECT_EQ(Active(), to);
    }
}

TEST_F(EdgesTest, OnAProtectedSheetTabAndEnterWalkItsUnlockedCells) {
    Enter("D5", "1");
    Format("B2", "B2", &FormatRequest::locked, 0);
    Format("D2", "D2", &FormatRequest::locked, 0);
    Format("C4", "C4", &FormatRequest::locked, 0);
    Protect();
    struct Case {
        u32 key, modifiers;
        const char* way[4];
    };
    const Case cases[] = {{VK_TAB, 0, {"D2", "C4", "B2", "D2"}},
                          {VK_TAB, KEY_SHIFT, {"C4", "D2", "B2", "C4"}},
                          {VK_RETURN, 0, {"C4", "D2", "B2", "C4"}},
                          {VK_RETURN, KEY_SHIFT, {"D2", "C4", "B2", "D2"}}};
    for (const Case& row : cases) {
        Select("B2");
        for (const char* to : row.way) {
            PressKey(row.key, row.modifiers);
            EXPECT_EQ(Active(), to) << row.key << '+' << row.modifiers;
        }
    }
    // A selection is walked within itself.
    SelectArea(AreaOf("B2", "C4"), true, 1, 1, false);
    for (const char* to : {"C4", "B2"}) {
        PressKey(VK_TAB);
        EXPECT_EQ(Active(), to);
        EXPECT_EQ(Selection(), "B2:C4");
    }
}

TEST_F(EdgesTest, AProtectedSheetWithoutUnlockedCellsHoldsTheActiveOne) {
    Enter("D5", "1");
    Protect();
    Select("B2");
    for (const u32 key : {VK_TAB, VK_RETURN}) {
        PressKey(key);
        EXPECT_EQ(Active(), "B2");
    }
    SelectArea(AreaOf("B2", "C4"), true, 1, 1, false);
    PressKey(VK_TAB);
    EXPECT_EQ(Active(), "B2");
    EXPECT_EQ(Selection(), "B2:C4");
}

TEST_F(EdgesTest, WhatCannotBeAFormulaIsTextOrRefused) {
    struct Case {
        const char16_t* typed;
        const char* box;
        const char* shown;
    };
    constexpr const char* refused = "There is an error in the formula you entered";
    const Case cases[] = {{u"-", "", "-"},      {u"=", "", "="},       {u"-x", refused, ""},
                          {u"+x", refused, ""}, {u"=1+", refused, ""}, {u"-1", "", "-1"},
                          {u"-A2", "", "0"},    {u"'=1+", "", "=1+"},  {u"=SUM(", refused, ""}};
    for (const Case& row : cases) {
        Select("A1");
        PressKey(VK_DELETE);
        Headless().boxes.Clear();
        Type(row.typed);
        EXPECT_EQ(Box(), row.box) << Narrow(row.typed);
        const bool stored = !*row.box;
        EXPECT_EQ(Active(), stored ? "A2" : "A1") << Narrow(row.typed);
        EXPECT_EQ(Shell().entryMode, stored ? ENTRY_NONE : ENTRY_EDIT);
        if (!stored) EXPECT_EQ(Line(), Narrow(row.typed));
        PressKey(VK_ESCAPE);
        EXPECT_EQ(Shown("A1"), row.shown) << Narrow(row.typed);
    }
}

TEST_F(EdgesTest, TheFormatOfACellSaysWhatIsTyped) {
    // Text keeps what is typed as it is.
    Format("A1", "A1", &FormatRequest::numberFormat, 49);
    Type(u"=1+1");
    EXPECT_EQ(Shown("A1"), "=1+1");
    Select("A1");
    EXPECT_EQ(Line(), "=1+1");
    // A percent cell takes percents.
    Format("B1", "B1", &FormatRequest::numberFormat, 9);
    Select("B1");
    TypeText(u"12");
    EXPECT_EQ(Line(), "12%");
    PressKey(VK_RETURN);
    EXPECT_EQ(CellAtName("B1")->value.number, 0.12);
    // A date keeps its format under a plain number.
    Select("C1");
    Type(u"2/27/2004");
    Select("C1");
    Type(u"38045");
    EXPECT_EQ(Shown("C1"), "2/28/2004");
}

TEST_F(EdgesTest, AFillStoresTheFormulaAsEachCellSeesIt) {
    for (const char* cell : {"A1", "A2", "A3"}) Enter(cell, cell);
    SelectArea(AreaOf("C1", "C3"), true, 0, 2, false);
    Type(u"=A1", VK_RETURN, KEY_CTRL);
    EXPECT_EQ(FormulaOf("C1") + FormulaOf("C2") + FormulaOf("C3"), "=A1=A2=A3");
    EXPECT_EQ(Selection(), "C1:C3");
    EXPECT_EQ(UndoCount(), 1u);
    // Seen from the active cell, wherever it stands in the selection.
    SelectArea(AreaOf("D1", "D3"), true, 1, 3, false);
    Type(u"=A2", VK_RETURN, KEY_CTRL);
    EXPECT_EQ(FormulaOf("D1") + FormulaOf("D2") + FormulaOf("D3"), "=A1=A2=A3");
}

TEST_F(EdgesTest, AnArrayOverAMergeIsRefusedBeforeAnythingChanges) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B2", "B3")));
    SelectArea(AreaOf("B1", "C3"), true, 0, 1, false);
    Type(u"=1", VK_RETURN, KEY_CTRL | KEY_SHIFT);
    EXPECT_EQ(Box(), "在合并单元格中数组公式无效");
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_TRUE(IsEditing());
    EXPECT_EQ(Line(), "=1");
}

TEST_F(EdgesTest, AKeyThatDoesNotWalkEndsPointing) {
    for (const u32 key : {u32{VK_F2}, u32{VK_DELETE}, u32{VK_INSERT}}) {
        Select("B2");
        TypeText(u"=");
        PressKey(VK_DOWN);
        EXPECT_EQ(Line(), "=B3");
        EXPECT_TRUE(Shell().point.active);
        PressKey(key);
        EXPECT_FALSE(Shell().point.active) << key;
        EXPECT_EQ(Line(), "=B3");
        PressKey(VK_ESCAPE);
    }
}

TEST_F(EdgesTest, AnArrayKeepsItsEditorOpenForKeysThatWouldLeaveIt) {
    EnterArray("B2", "B3", "=1");
    SelectArea(AreaOf("B2", "B3"), true, 1, 1, false);
    TypeText(u"=2");
    ASSERT_EQ(Shell().entryMode, ENTRY_ENTER);
    for (const u32 key : {VK_DOWN, VK_END, VK_HOME, VK_NEXT}) {
        Headless().boxes.Clear();
        PressKey(key);
        EXPECT_EQ(Box(), "不能改变数组的某一部分") << key;
        EXPECT_EQ(Headless().boxes.Count(), 1u) << key;
        EXPECT_TRUE(IsEditing());
        EXPECT_FALSE(Shell().endMode);
        EXPECT_EQ(Selection(), "B2:B3");
    }
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Shown("B3"), "1");
}

}  // namespace
}  // namespace tally
