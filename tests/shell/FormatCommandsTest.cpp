#include "editing/ApplyFormat.h"
#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class FormatCommandsTest : public ShellSandbox {
  protected:
    static const CellFormat& FormatOf(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        return ResolveCellFormat(*CurrentWorkbook(), GetCellFormat(*CurrentSheet(), row, column));
    }
    static bool IsBold(std::string_view cell) { return FontOf(cell).weight > 400; }
    static const FontRecord& FontOf(std::string_view cell) {
        return ResolveFont(*CurrentWorkbook(), FormatOf(cell).font);
    }
};

TEST_F(FormatCommandsTest, TheActiveCellDecidesTheNewState) {
    Enter("A1", "x");
    Enter("B1", "y");
    PressKey('B', KEY_CTRL);
    EXPECT_TRUE(IsBold("A1"));
    EXPECT_FALSE(IsBold("B1"));
    SelectArea({0, 0, 0, 1}, true, 0, 1, true);  // B1 is active
    PressKey('B', KEY_CTRL);
    EXPECT_TRUE(IsBold("A1"));
    EXPECT_TRUE(IsBold("B1"));
    PressKey('B', KEY_CTRL);
    EXPECT_FALSE(IsBold("A1"));
    PressKey('I', KEY_CTRL);
    PressKey('U', KEY_CTRL);
    EXPECT_NE(FontOf("A1").attributes & FONT_ITALIC, 0);
    EXPECT_EQ(FontOf("B1").underline, 1);
    EXPECT_EQ(Shown("A1"), "x");
    PaintHeadless();
    EXPECT_TRUE(HeadlessFontList()[static_cast<u32>(FindDrawn("x")->font) - 1].italic);
}

TEST_F(FormatCommandsTest, AnAlignmentThatTheActiveCellHasGoesBackToGeneral) {
    PickCommand(436);
    EXPECT_EQ(FormatOf("A1").horizontal, 2);
    PickCommand(437);
    EXPECT_EQ(FormatOf("A1").horizontal, 3);
    PickCommand(437);
    EXPECT_EQ(FormatOf("A1").horizontal, 0);
}

TEST_F(FormatCommandsTest, EmptyCellsAreMadeBlankAndWholeColumnsOnlyTakeTheFormat) {
    SelectArea({1, 2, 1, 2}, true, 1, 1, true);
    PickCommand(432);
    EXPECT_EQ(CurrentSheet()->cells.count, 4u);
    EXPECT_EQ(CellAtName("C3")->calcState, CALC_BLANK);
    Enter("F5", "1");
    SelectArea({0, 65535, 4, 5}, true, 0, 4, false);
    PickCommand(432);
    EXPECT_EQ(CurrentSheet()->cells.count, 5u);
    EXPECT_TRUE(IsBold("E900"));
    EXPECT_TRUE(IsBold("F5"));
    Enter("E9", "later");
    EXPECT_TRUE(IsBold("E9"));
}

TEST_F(FormatCommandsTest, IsUndoneWithTheColumnsFormat) {
    Enter("A1", "x");
    PickCommand(432);
    SelectArea({0, 65535, 2, 2}, true, 0, 2, false);
    PickCommand(435);
    EXPECT_EQ(FormatOf("C40").horizontal, 1);
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(FormatOf("C40").horizontal, 0);
    EXPECT_TRUE(IsBold("A1"));
    PressKey('Z', KEY_CTRL);
    EXPECT_FALSE(IsBold("A1"));
    EXPECT_EQ(Shown("A1"), "x");
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(FormatCommandsTest, IsRefusedOnLockedCellsAndOverTooMany) {
    SelectArea({1, 65535, 0, 255}, true, 1, 0, false);
    PickCommand(432);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
    Select("A1");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    PickCommand(432);
    EXPECT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_FALSE(IsBold("A1"));
}

TEST_F(FormatCommandsTest, ARequestChangesOnlyItsFields) {
    CellFormat own;
    own.numberFormat = 9;
    own.horizontal = 3;
    own.pattern = 1;
    own.topStyle = 5;
    u16 index = 0, changed = 0;
    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), own, index));
    FormatRequest request;
    request.fontSize = {true, 400};
    request.wrap = {true, 1};
    request.locked = {true, 0};
    ASSERT_TRUE(ApplyToFormat(*CurrentWorkbook(), index, request, 0, 0, {}, changed));
    const CellFormat& now = ResolveCellFormat(*CurrentWorkbook(), changed);
    EXPECT_EQ(ResolveFont(*CurrentWorkbook(), now.font).height, 400);
    EXPECT_EQ(now.flags, FORMAT_WRAP);
    EXPECT_EQ(now.numberFormat, 9);
    EXPECT_EQ(now.horizontal, 3);
    EXPECT_EQ(now.pattern, 1);
    EXPECT_EQ(now.topStyle, 5);
}

}  // namespace
}  // namespace tally
