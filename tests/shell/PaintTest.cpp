#include <algorithm>

#include "formula/Compiler.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class PaintTest : public ShellSandbox {
  protected:
    static void Give(std::string_view cell, CellFormat format) {
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        record->format = index;
    }
    static PixelRect Cell(i32 row, i32 column) {
        return AreaPixels(
            {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column), static_cast<u8>(column)});
    }
    static bool Filled(const PixelRect& rect, u32 colour) {
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_FILL && record.rect == rect && record.colour == colour) return true;
        return false;
    }
    static std::vector<PixelRect> Inverted() {
        std::vector<PixelRect> found;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_INVERT) found.push_back(record.rect);
        return found;
    }
    static std::vector<i32> LeftEdges(const std::vector<const char*>& texts) {
        std::vector<i32> edges;
        for (const char* text : texts) {
            const DrawRecord* record = FindDrawn(text);
            edges.push_back(record ? record->rect.left : -1);
        }
        return edges;
    }
    // Relative references are meant from A1 at the first cell of the area.
    static ConditionalCondition& Condition(const RefArea& area, const char* formula) {
        ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
        ConditionalCondition* condition = format ? format->conditions.AppendDefault() : nullptr;
        EXPECT_NE(condition, nullptr);
        EXPECT_TRUE(format->areas.Append(area));
        condition->type = 2;
        FormulaPlace place;
        place.book = CurrentBook();
        place.relativeForm = true;
        EXPECT_TRUE(CompileFormula(place, Wide(formula), 'V', condition->formula1));
        return *condition;
    }
};

TEST_F(PaintTest, AConditionThatHoldsGivesFillFontAndColour) {
    Enter("B2", "5");
    Enter("B3", "50");
    ConditionalCondition& rule = Condition({0, 9, 1, 1}, "=A1>10");
    rule.hasPattern = true;
    rule.backColour = {true, 10};  // red by its back colour alone
    rule.bold = {true, 1};
    rule.hasFontColour = true;
    rule.fontColour = 12;  // blue
    PaintHeadless();
    EXPECT_TRUE(Filled(Cell(2, 1), 0x0000FF));
    EXPECT_FALSE(Filled(Cell(1, 1), 0x0000FF));
    const DrawRecord* plain = FindDrawn("5");
    const DrawRecord* marked = FindDrawn("50");
    ASSERT_TRUE(plain && marked);
    EXPECT_EQ(plain->colour, 0u);
    EXPECT_EQ(marked->colour, 0xFF0000u);
    EXPECT_EQ(HeadlessFontList()[static_cast<u32>(marked->font) - 1].weight, 700);
    EXPECT_EQ(HeadlessFontList()[static_cast<u32>(plain->font) - 1].weight, 400);
    Enter("B3", "1");
    PaintHeadless();
    EXPECT_FALSE(Filled(Cell(2, 1), 0x0000FF));
}

TEST_F(PaintTest, ACircleAmongWhatIsSeenIsNamedInTheColumnHeadersUntilAnyOfItChanges) {
    PaintHeadless();
    EXPECT_FALSE(FindDrawn("CIR"));
    Enter("A1", "=B1+1");
    Enter("B1", "=A1");
    PaintHeadless();
    const DrawRecord* mark = FindDrawn("CIR");
    ASSERT_TRUE(mark);
    const Layout& layout = Shell().layout;
    EXPECT_GE(mark->rect.top, layout.grid.top);
    EXPECT_LE(mark->rect.top, layout.cells.top);
    const i32 middle = (layout.cells.left + layout.cells.right) / 2;
    EXPECT_NEAR(mark->rect.left, middle - 10, 20);
    PaintHeadless();
    EXPECT_FALSE(FindDrawn("CIR"));
    Enter("B1", "=A1");
    CurrentSheet()->viewFlags = static_cast<u16>(CurrentSheet()->viewFlags & ~VIEW_HEADERS);
    PaintHeadless();
    EXPECT_FALSE(FindDrawn("CIR"));
}

TEST_F(PaintTest, AConditionsBorderComesBeforeTheCellsOwn) {
    CellFormat own;
    own.rightStyle = 1;
    own.rightColour = 12;
    Give("B2", own);
    const auto rightEdge = [&](u32 colour) {
        PaintHeadless();
        const PixelRect cell = Cell(1, 1);
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_LINE && record.rect.left == cell.right - 1 &&
                record.rect.right == cell.right - 1 && record.colour == colour &&
                record.rect.bottom == cell.bottom)
                return true;
        return false;
    };
    EXPECT_TRUE(rightEdge(0xFF0000));
    ConditionalCondition& rule = Condition({1, 1, 2, 2}, "=TRUE");  // of the neighbour, on its left edge
    rule.hasBorders = true;
    rule.leftStyle = {true, 1};
    rule.leftColour = 10;
    EXPECT_TRUE(rightEdge(0x0000FF));
    EXPECT_FALSE(rightEdge(0xFF0000));
}

TEST_F(PaintTest, AConditionMayTakeACellsBorderAway) {
    CellFormat own;
    own.rightStyle = own.bottomStyle = 1;
    own.rightColour = own.bottomColour = 12;
    Give("B2", own);
    const auto lines = [&] {
        PaintHeadless();
        int count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            count += record.kind == DRAW_LINE && record.colour == 0xFF0000;
        return count;
    };
    EXPECT_EQ(lines(), 2);
    ConditionalCondition& rule = Condition({1, 1, 1, 1}, "=TRUE");
    rule.hasBorders = true;
    rule.leftStyle = {true, 0};
    EXPECT_EQ(lines(), 2);
    rule.rightStyle = {true, 0};
    EXPECT_EQ(lines(), 1);
    rule.bottomStyle = {true, 0};
    EXPECT_EQ(lines(), 0);
}

TEST_F(PaintTest, AMergeTakesTheConditionOfItsFirstCell) {
    Enter("B2", "1");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({1, 2, 1, 2}));
    ConditionalCondition& rule = Condition({1, 1, 1, 1}, "=TRUE");
    rule.hasPattern = true;
    rule.backColour = {true, 10};
    PaintHeadless();
    EXPECT_TRUE(Filled(AreaPixels({1, 2, 1, 2}), 0x0000FF));
}

TEST_F(PaintTest, ADistributedTextFillsItsCell) {
    CellFormat spread;
    spread.horizontal = 7;
    Give("B2", spread);
    Enter("B2", "ab c d");
    PaintHeadless();
    // 53 pixels for pieces of 14, 7 and 7: 25 to spare on two gaps.
    const i32 left = Cell(1, 1).left + 1;
    EXPECT_EQ(LeftEdges({"ab", "c", "d"}), (std::vector<i32>{left, left + 14 + 13, left + 21 + 25}));
    Enter("B2", "一二x");
    PaintHeadless();
    EXPECT_EQ(LeftEdges({"一", "二", "x"}), (std::vector<i32>{left, left + 13 + 10, left + 26 + 20}));
}

TEST_F(PaintTest, ADistributedTextWithoutAGapIsCentredAndANumberStandsLeft) {
    CellFormat spread;
    spread.horizontal = 7;
    Give("B2", spread);
    Give("B3", spread);
    Enter("B2", "abcd");
    Enter("B3", "77");
    PaintHeadless();
    const PixelRect cell = Cell(1, 1);
    EXPECT_EQ(FindDrawn("abcd")->rect.left, cell.left + (56 - 28 - 1) / 2);
    EXPECT_EQ(FindDrawn("77")->rect.left, cell.left + 1);
}

TEST_F(PaintTest, ATurnedTextStandsInsideItsCell) {
    CellFormat up, down;
    up.rotation = 90;
    down.rotation = 180;
    up.horizontal = down.horizontal = 1;
    Give("B2", up);
    Give("C2", down);
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {1, ROW_CUSTOM_HEIGHT, 1500}));  // 100 pixels
    RefreshChrome();
    Enter("B2", "upward");
    Enter("C2", "downward");
    PaintHeadless();
    const PixelRect cell = Cell(1, 1);
    // 42 long: turned upwards it begins where its box ends.
    EXPECT_EQ(FindDrawn("upward")->rect.left, cell.left + 1);
    EXPECT_EQ(FindDrawn("upward")->rect.top, cell.bottom - 42 - 1 + 42);
    // 56 long: turned downwards it begins its own height to the right.
    EXPECT_EQ(FindDrawn("downward")->rect.left, Cell(1, 2).left + 1 + 16);
    EXPECT_EQ(FindDrawn("downward")->rect.top, cell.bottom - 56 - 1);
}

TEST_F(PaintTest, TheOutlineIsOpenWhereTheSelectionGoesOnBeyondTheView) {
    SelectArea({2, 4, 1, 2}, true, 2, 1, false);
    PaintHeadless();
    EXPECT_EQ(Inverted().size(), 4u);
    SelectArea({2, 65535, 1, 2}, true, 2, 1, false);
    PaintHeadless();
    EXPECT_EQ(Inverted().size(), 3u);
    ScrollTo(3, 2);
    PaintHeadless();
    const std::vector<PixelRect> open = Inverted();  // the right edge only
    ASSERT_EQ(open.size(), 1u);
    EXPECT_EQ(open[0].right, Cell(3, 2).right);
}

TEST_F(PaintTest, HiddenRowsAtTheEdgeDoNotOpenTheOutline) {
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {1, ROW_HIDDEN, 0}));
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {4, ROW_HIDDEN, 0}));
    RefreshChrome();
    SelectArea({1, 4, 1, 2}, true, 2, 1, false);
    PaintHeadless();
    EXPECT_EQ(Inverted().size(), 4u);
}

TEST_F(PaintTest, AFrozenSheetShowsOneOutlineAcrossItsPanes) {
    Select("B3");
    PickCommand(423);
    SelectArea({1, 5, 0, 3}, true, 1, 0, false);
    PaintHeadless();
    for (const PixelRect& rect : Inverted()) {
        EXPECT_GE(rect.left, Shell().layout.cells.left - 1);
        EXPECT_LE(rect.bottom, AreaPixels({1, 5, 0, 3}).bottom);
    }
    EXPECT_EQ(Inverted().size(), 16u);  // four edges, each cut by the four panes
}

TEST_F(PaintTest, ALineMarksTheEdgesOfWhatIsFrozen) {
    const auto edges = [] {
        PaintHeadless();
        std::vector<PixelRect> found;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_LINE && record.colour == 0 &&
                std::find(found.begin(), found.end(), record.rect) == found.end())
                found.push_back(record.rect);
        return found;
    };
    EXPECT_TRUE(edges().empty());
    Select("C4");
    PickCommand(423);
    const PixelRect& cells = Shell().layout.cells;
    const PixelRect corner = Cell(2, 1);
    const std::vector<PixelRect> both = {{cells.left, corner.bottom - 1, cells.right, corner.bottom - 1},
                                         {corner.right - 1, cells.top, corner.right - 1, cells.bottom}};
    EXPECT_EQ(edges(), both);
    ScrollTo(20, 10);
    EXPECT_EQ(edges(), both);
    PickCommand(423);
    EXPECT_TRUE(edges().empty());
    ScrollTo(0, 0);
    Select("A4");
    PickCommand(423);
    EXPECT_EQ(
        edges(),
        (std::vector<PixelRect>{{cells.left, Cell(2, 1).bottom - 1, cells.right, Cell(2, 1).bottom - 1}}));
}

TEST_F(PaintTest, TheWorkOfAPaintFollowsItsRectangle) {
    for (i32 row = 0; row < 40; ++row)
        for (i32 column = 0; column < 20; ++column)
            ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, DEFAULT_CELL_FORMAT,
                                   NumberValue(row * 100 + column), FormulaTokens()));
    PaintHeadless();
    const u32 whole = HeadlessFrame().drawing.Count();
    const PixelRect cell = Cell(5, 5);
    PaintHeadlessPart({cell.left + 4, cell.top + 4, cell.left + 5, Shell().layout.grid.bottom});
    EXPECT_LT(HeadlessFrame().drawing.Count(), whole / 3);
}

}  // namespace
}  // namespace tally
