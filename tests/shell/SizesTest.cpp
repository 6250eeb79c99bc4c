#include "shell/grid/Sizes.h"

#include <functional>

#include "editing/LineSizes.h"
#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class SizesTest : public ShellSandbox {
  protected:
    static u16 FormatOf(u16 fontHeight, u16 flags) {
        CellFormat format;
        format.flags = flags;
        const FontRecord font = ResolveFont(*CurrentWorkbook(), 0);
        EXPECT_TRUE(FindOrAddFont(*CurrentWorkbook(), WideView(font.faceName), false, false, false, false,
                                  fontHeight, font.colour, format.font));
        u16 index = 0;
        EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        return index;
    }
    static void GiveFormat(std::string_view cell, u16 format) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        record->format = format;
    }
    static u16 Height(i32 row) { return GetRowHeight(*CurrentSheet(), row); }
    static u16 Width(i32 column) { return GetColumnWidth(*CurrentSheet(), column); }
    static void TypeAndEnter(std::string_view text) {
        TypeText(Wide(text));
        PressKey(VK_RETURN);
    }
    static void DoubleClick(i32 x, i32 y) {
        ShellMessage message;
        message.message = WM_LBUTTONDBLCLK;
        message.x = x;
        message.y = y;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
};

constexpr u16 PLAIN = 255;

TEST_F(SizesTest, AnOrdinaryEntryLeavesTheRowPlain) {
    TypeAndEnter("text");
    EXPECT_EQ(Height(0), PLAIN);
    EXPECT_TRUE(CurrentSheet()->rows.IsEmpty());
}

TEST_F(SizesTest, ARowFollowsTheFontOfWhatIsEntered) {
    GiveFormat("A1", FormatOf(600, FORMAT_LOCKED));  // 30 points: 40 pixels, a line of 43
    TypeAndEnter("big");
    EXPECT_EQ(Height(0), 44 * 15);
    GiveFormat("A1", DEFAULT_CELL_FORMAT);
    Select("A1");
    TypeAndEnter("small");
    EXPECT_EQ(Height(0), PLAIN);
    EXPECT_TRUE(CurrentSheet()->rows.IsEmpty());
}

TEST_F(SizesTest, ALineFeedMakesTheRowTwoLinesHigh) {
    TypeText(u"one");
    PressKey(VK_RETURN, KEY_ALT);
    TypeText(u"two");
    PressKey(VK_RETURN);
    EXPECT_EQ(Height(0), (2 * 16 + 1) * 15);
}

TEST_F(SizesTest, AWrappedTextTakesTheLinesThatItsColumnNeeds) {
    GiveFormat("A1", FormatOf(195, FORMAT_LOCKED | FORMAT_WRAP));
    TypeAndEnter("aaaa bbbb cccc");  // 56 pixels hold seven letters
    EXPECT_EQ(Height(0), (3 * 16 + 1) * 15);
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 0, 0, 1}));
    Select("A1");
    TypeAndEnter("aaaa bbbb cccc");
    EXPECT_EQ(Height(0), PLAIN);
}

TEST_F(SizesTest, ARowOfTheUsersOwnHeightAndAHiddenOneStayAsTheyAre) {
    ASSERT_TRUE(SetRowHeights(*CurrentSheet(), {0, 0, 0, 255}, 400));
    ASSERT_TRUE(HideRows(*CurrentSheet(), {1, 1, 0, 255}, true));
    const u16 big = FormatOf(600, FORMAT_LOCKED);
    Select("A1");
    for (const char* cell : {"A1", "A2"}) {
        GiveFormat(cell, big);
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        SelectArea({static_cast<u16>(row), static_cast<u16>(row), 0, 0}, true, row, 0, true);
        TypeAndEnter("x");
    }
    EXPECT_EQ(Height(0), 400);
    EXPECT_EQ(Height(1), 0);
    Select("A1");
    PickCommand(392);
    EXPECT_EQ(Height(0), 44 * 15);
}

TEST_F(SizesTest, ATallMergeHasNoSayInTheHeightOfItsRows) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 1, 0, 0}));
    GiveFormat("A1", FormatOf(600, FORMAT_LOCKED));
    TypeAndEnter("big");
    EXPECT_EQ(Height(0), PLAIN);
}

TEST_F(SizesTest, BestFitOfAColumnHoldsItsWidestText) {
    Enter("B1", "a text of twenty-six chars");
    Enter("B2", "=1/3");
    Enter("B9", "an even longer text that is outside");
    SelectArea({0, 1, 1, 1}, true, 0, 1, true);
    PickCommand(396);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 1), 26 * 7 + 3);
    EXPECT_EQ(Width(0), 2048);
    PaintHeadless();
    EXPECT_EQ(CountDrawn("#"), 0);
}

TEST_F(SizesTest, BestFitLeavesAnEmptyColumnAndOneUnderAWideMerge) {
    Enter("B1", "a very long title over two columns");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 0, 1, 2}));
    SelectArea({0, 65535, 1, 3}, true, 0, 1, true);
    PickCommand(396);
    EXPECT_TRUE(CurrentSheet()->columns.IsEmpty());
}

TEST_F(SizesTest, ADoubleClickOnAHeaderEdgeFits) {
    Enter("B1", "a text of twenty-six chars");
    GiveFormat("A3", FormatOf(600, FORMAT_LOCKED));
    const Layout& layout = Shell().layout;
    DoubleClick(layout.columns[1].end - 4, layout.grid.top + 2);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 1), 26 * 7 + 3);
    DoubleClick(layout.grid.left + 2, layout.rows[3].start + 2);  // the edge of the row above
    EXPECT_EQ(Height(2), 44 * 15);
    EXPECT_NE(CurrentWorkbook()->dirty, 0u);
}

TEST_F(SizesTest, AnEdgeOfOneOfManySelectedColumnsSizesThemAll) {
    SelectArea({0, 65535, 1, 3}, true, 0, 1, false);
    const ShownLine third = Shell().layout.columns[2];
    const i32 y = Shell().layout.grid.top + 3;
    DragMouse(third.end - 1, y, third.end + 13, y);
    for (i32 column : {1, 2, 3}) EXPECT_EQ(ColumnPixels(*CurrentSheet(), column), 56 + 14);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 4), 56);
}

TEST_F(SizesTest, TheEdgeIsSeenWhileItIsDragged) {
    const ShownLine second = Shell().layout.columns[1];
    ShellMessage message;
    message.message = WM_LBUTTONDOWN;
    message.x = second.end - 1;
    message.y = Shell().layout.grid.top + 3;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    HeadlessFrame().dirty.Truncate(0);
    message.message = WM_MOUSEMOVE;
    message.x += 20;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    PaintHeadless(false);
    bool seen = false;
    for (const DrawRecord& record : HeadlessFrame().drawing)
        seen |= record.kind == DRAW_INVERT && record.rect.right == second.end + 20 &&
                record.rect.right - record.rect.left == 1;
    EXPECT_TRUE(seen);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 1), second.end - second.start);
    message.message = WM_LBUTTONUP;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 1), second.end - second.start + 20);
    PaintHeadless();
    for (const DrawRecord& record : HeadlessFrame().drawing)
        EXPECT_FALSE(record.kind == DRAW_INVERT && record.rect.bottom == Shell().layout.grid.bottom);
}

TEST_F(SizesTest, RowsAndColumnsAreHiddenAndComeBackAsTheyWere) {
    ASSERT_TRUE(SetRowHeights(*CurrentSheet(), {2, 2, 0, 255}, 500));
    SelectArea({1, 3, 0, 255}, true, 1, 0, false);
    PickCommand(393);
    for (i32 row : {1, 2, 3}) EXPECT_EQ(Height(row), 0);
    PickCommand(394);
    EXPECT_EQ(Height(1), PLAIN);
    EXPECT_EQ(Height(2), 500);
    EXPECT_EQ(CurrentSheet()->rows.Count(), 1u);
    SelectArea({0, 65535, 1, 2}, true, 0, 1, false);
    PickCommand(397);
    EXPECT_EQ(Width(1), 0);
    PickCommand(398);
    EXPECT_EQ(Width(1), 2048);
}

TEST_F(SizesTest, AllRowsAreHiddenAtOnce) {
    SelectArea({0, 65535, 0, 255}, true, 0, 0, false);
    PickCommand(393);
    EXPECT_EQ(CurrentSheet()->rows.Count(), 65536u);
    EXPECT_TRUE(Shell().layout.rows.IsEmpty());
    PaintHeadless();
    PickCommand(394);
    EXPECT_TRUE(CurrentSheet()->rows.IsEmpty());
}

TEST_F(SizesTest, EveryChangeOfSizesIsOneUndo) {
    ASSERT_TRUE(SetRowHeights(*CurrentSheet(), {2, 2, 0, 255}, 500));
    Enter("B3", "a text of twenty-six chars");
    SelectArea({1, 3, 1, 2}, true, 1, 1, false);
    const i32 y = Shell().layout.grid.top + 3;
    const std::function<void()> changes[] = {[] { PickCommand(392); }, [] { PickCommand(393); },
                                             [] { PickCommand(396); }, [] { PickCommand(397); },
                                             [y] {
                                                 const ShownLine line = Shell().layout.columns[4];
                                                 DragMouse(line.end - 1, y, line.end + 20, y);
                                             }};
    for (const auto& change : changes) {
        const u32 before = UndoCount();
        change();
        EXPECT_EQ(UndoCount(), before + 1);
        EXPECT_TRUE(UndoLast());
        RefreshChrome();
        EXPECT_EQ(Height(2), 500);
        EXPECT_EQ(Height(1), PLAIN);
        EXPECT_EQ(Width(1), 2048);
        EXPECT_EQ(Width(4), 2048);
    }
}

TEST_F(SizesTest, AProtectedSheetKeepsItsSizes) {
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    for (const i32 command : {392, 393, 396, 397}) PickCommand(command);
    EXPECT_TRUE(CurrentSheet()->rows.IsEmpty());
    EXPECT_TRUE(CurrentSheet()->columns.IsEmpty());
}

TEST_F(SizesTest, AnEdgeOutsideWholeSelectedLinesSizesItsOwnLineOnly) {
    const Layout& layout = Shell().layout;
    const i32 y = layout.grid.top + 3, x = layout.grid.left + 3;
    SelectArea(AreaOf("A1", "B3"), true, 0, 0, false);
    const i32 width = ColumnPixels(*CurrentSheet(), 1), height = RowPixels(*CurrentSheet(), 1);
    DragMouse(layout.columns[0].end - 1, y, layout.columns[0].end + 19, y);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 0), width + 20);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 1), width);
    DragMouse(x, layout.rows[0].end - 1, x, layout.rows[0].end + 19);
    EXPECT_EQ(RowPixels(*CurrentSheet(), 0), height + 20);
    EXPECT_EQ(RowPixels(*CurrentSheet(), 1), height);
    // Whole columns, and one beside them.
    SelectArea({0, 65535, 2, 3}, true, 0, 2, false);
    DragMouse(layout.columns[4].end - 1, y, layout.columns[4].end + 19, y);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 3), width);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 4), width + 20);
    DragMouse(layout.columns[3].end - 1, y, layout.columns[3].end + 9, y);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 2), width + 10);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 3), width + 10);
}

TEST_F(SizesTest, BestHeightsOfRowsWithCellsAndWithoutThem) {
    for (const u16 row : {u16{0}, u16{1}, u16{2}, u16{4}})
        ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {row, ROW_CUSTOM_HEIGHT, 900}));
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {5, ROW_CUSTOM_HEIGHT, 900}));
    Enter("A2", "one");
    Enter("A4", "two");
    Enter("A5", "three");
    SelectArea(AreaOf("A1", "A5"), true, 0, 0, false);
    PickCommand(392);
    for (i32 row = 0; row < 5; ++row) EXPECT_EQ(GetRowHeight(*CurrentSheet(), row), 255) << row;
    EXPECT_EQ(GetRowHeight(*CurrentSheet(), 5), 900);
    for (u32 i = 1; i < CurrentSheet()->rows.Count(); ++i)
        EXPECT_LT(CurrentSheet()->rows[i - 1].row, CurrentSheet()->rows[i].row);
}

TEST_F(SizesTest, AColumnThatWasHiddenStillFollowsTheStandardWidth) {
    Select("B2");
    PickCommand(397);
    PickCommand(398);
    CurrentSheet()->defaultColumnWidth = 12 * 256;
    CurrentSheet()->viewFlags = static_cast<u16>(CurrentSheet()->viewFlags & ~VIEW_STANDARD_WIDTH);
    EXPECT_EQ(GetColumnWidth(*CurrentSheet(), 1), 12 * 256);
}

}  // namespace
}  // namespace tally
