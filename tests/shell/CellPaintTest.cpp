// Fills, grid lines and borders of cells, merged ones among them, and the outline of the selection.

#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class CellPaintTest : public ShellSandbox {
  protected:
    static constexpr u32 GRID_LINE = 0xC0C0C0, WHITE = 0xFFFFFF, RED = 0x0000FF, BLUE = 0xFF0000;

    static RefArea Area(std::string_view first, std::string_view last) { return AreaOf(first, last); }
    static PixelRect Cell(std::string_view name) { return AreaPixels(Area(name, name)); }
    static void Give(std::string_view cell, const CellFormat& format) {
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        record->format = index;
    }
    static CellFormat Filled(u8 pattern, u8 fore, u8 back) {
        CellFormat format;
        format.pattern = pattern;
        format.patternColour = fore;
        format.backColour = back;
        return format;
    }
    // The last fill or pattern over a whole rectangle: "colour" or "pattern:fore on back".
    static std::string GroundOf(const PixelRect& rect) {
        PaintHeadless();
        char text[64] = "none";
        for (const DrawRecord& record : HeadlessFrame().drawing) {
            if (!(record.rect == rect)) continue;
            if (record.kind == DRAW_FILL) std::snprintf(text, sizeof text, "%06X", record.colour);
            if (record.kind == DRAW_PATTERN)
                std::snprintf(text, sizeof text, "%d:%06X on %06X", record.style, record.colour,
                              record.backColour);
        }
        return text;
    }
    static bool HasGridLine(const PixelRect& ends) {
        for (const DrawRecord& record : HeadlessFrame().drawing)
            if (record.kind == DRAW_LINE && record.rect == ends && record.colour == GRID_LINE) return true;
        return false;
    }
    // Grid lines at the right edge and below: "rb".
    static std::string GridOf(const PixelRect& r) {
        std::string all;
        if (HasGridLine({r.right - 1, r.top, r.right - 1, r.bottom - 1})) all += 'r';
        if (HasGridLine({r.left, r.bottom - 1, r.right, r.bottom - 1})) all += 'b';
        return all;
    }
    // Coloured lines along an edge, as offsets from it with the style of the pen: "-1/0 0/0".
    static std::string LinesAt(bool horizontal, i32 at, i32 from, i32 to, u32 colour) {
        std::string all;
        for (const DrawRecord& record : HeadlessFrame().drawing) {
            if (record.kind != DRAW_LINE || record.colour != colour) continue;
            const PixelRect& r = record.rect;
            if (horizontal ? r.top != r.bottom || r.left != from || r.right != to
                           : r.left != r.right || r.top != from || r.bottom != to)
                continue;
            const i32 offset = (horizontal ? r.top : r.left) - at;
            if (offset < -3 || offset > 3) continue;
            all += (all.empty() ? "" : " ") + std::to_string(offset) + "/" + std::to_string(record.style);
        }
        return all;
    }
    static std::string RightLines(const PixelRect& r, u32 colour) {
        return LinesAt(false, r.right - 1, r.top - 1, r.bottom, colour);
    }
    static std::string BottomLines(const PixelRect& r, u32 colour) {
        return LinesAt(true, r.bottom - 1, r.left - 1, r.right, colour);
    }
};

TEST_F(CellPaintTest, ACellHasTheGroundOfItsFormat) {
    struct Case {
        u8 pattern, fore, back;
        const char* ground;
        const char* grid;
    };
    for (const Case& row : {Case{0, 10, 12, "FFFFFF", "rb"},
                            {1, 10, 12, "FF0000", ""},
                            {2, 10, 12, "2:0000FF on FF0000", ""},
                            {18, 10, 12, "18:0000FF on FF0000", ""},
                            {19, 10, 12, "FF0000", ""},
                            {1, 64, 65, "FFFFFF", ""},
                            {3, 64, 65, "3:000000 on FFFFFF", ""}}) {
        Give("B2", Filled(row.pattern, row.fore, row.back));
        EXPECT_EQ(GroundOf(Cell("B2")), row.ground) << int{row.pattern};
        EXPECT_EQ(GridOf(Cell("B2")), row.grid) << int{row.pattern};
        EXPECT_EQ(GridOf(Cell("B3")), "rb");
    }
}

TEST_F(CellPaintTest, TheSelectionIsInverseButForItsActiveCell) {
    Enter("C3", "in");
    Enter("B2", "active");
    Enter("E5", "out");
    Give("C2", Filled(1, 64, 10));
    Give("B3", Filled(4, 10, 12));
    SelectArea(Area("B2", "C3"), true, 1, 1, false);
    EXPECT_EQ(GroundOf(Cell("B2")), "FFFFFF");
    EXPECT_EQ(GroundOf(Cell("C3")), "000000");
    EXPECT_EQ(GroundOf(Cell("C2")), "FFFF00");
    EXPECT_EQ(GroundOf(Cell("B3")), "4:FFFF00 on 00FFFF");
    EXPECT_EQ(GroundOf(Cell("D3")), "FFFFFF");
    EXPECT_EQ(GroundOf(Cell("B4")), "FFFFFF");
    EXPECT_EQ(FindDrawn("in")->colour, WHITE);
    EXPECT_EQ(FindDrawn("active")->colour, 0u);
    EXPECT_EQ(FindDrawn("out")->colour, 0u);
    PressKey(VK_TAB);
    EXPECT_EQ(GroundOf(Cell("B2")), "000000");
    EXPECT_EQ(GroundOf(Cell("C2")), "0000FF");
    Select("B2");
    EXPECT_EQ(GroundOf(Cell("B2")), "FFFFFF");
}

TEST_F(CellPaintTest, AMergeIsOneCellWithItsOwnGroundLinesAndText) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(Area("B2", "C3")));
    Enter("B2", "both");
    const auto whole = [] { return AreaPixels(Area("B2", "C3")); };
    EXPECT_EQ(GroundOf(whole()), "FFFFFF");
    const PixelRect r = whole();
    EXPECT_TRUE(HasGridLine({r.left, r.bottom - 1, r.right, r.bottom - 1}));
    EXPECT_TRUE(HasGridLine({r.right - 1, r.top, r.right - 1, r.bottom}));
    for (const char* part : {"B2", "C2", "B3", "C3"}) EXPECT_EQ(GridOf(Cell(part)), "") << part;
    EXPECT_EQ(FindDrawn("both")->rect.left, r.left + 1);
    EXPECT_EQ(FindDrawn("both")->rect.top, r.bottom - 16 - 1);
    // Among others that are selected it is inverse as a whole, and as the active one it is not.
    SelectArea(Area("A1", "D4"), true, 0, 0, false);
    EXPECT_EQ(GroundOf(whole()), "000000");
    EXPECT_EQ(FindDrawn("both")->colour, WHITE);
    SelectArea(Area("A1", "D4"), true, 1, 1, false);
    EXPECT_EQ(GroundOf(whole()), "FFFFFF");
    EXPECT_EQ(GroundOf(Cell("A1")), "000000");
    EXPECT_EQ(FindDrawn("both")->colour, 0u);
    Give("B2", Filled(1, 64, 10));
    EXPECT_EQ(GroundOf(whole()), "0000FF");
    EXPECT_FALSE(HasGridLine({r.left, r.bottom - 1, r.right, r.bottom - 1}));
    EXPECT_FALSE(HasGridLine({r.right - 1, r.top, r.right - 1, r.bottom}));
    Give("B2", CellFormat());
    PickCommand(403);
    PaintHeadless();
    EXPECT_FALSE(HasGridLine({r.left, r.bottom - 1, r.right, r.bottom - 1}));
}

TEST_F(CellPaintTest, AMergeThatBeginsOutsideTheViewKeepsItsPlace) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(Area("B2", "D6")));
    Enter("B2", "both");
    const PixelRect before = AreaPixels(Area("B2", "D6"));
    const i32 width = Cell("B2").right - Cell("B2").left, height = Cell("B2").bottom - Cell("B2").top;
    ScrollTo(3, 2);  // A, B and three rows are gone
    PaintHeadless();
    const DrawRecord* text = FindDrawn("both");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->rect.left, before.left - 2 * width + 1);
    EXPECT_EQ(text->rect.top, before.bottom - 3 * height - 16 - 1);
    EXPECT_EQ(text->clip.left, Shell().layout.cells.left);
    EXPECT_EQ(text->clip.top, Shell().layout.cells.top);
    EXPECT_EQ(text->clip.right, Cell("D4").right);
}

TEST_F(CellPaintTest, EachStyleOfABorderHasItsLines) {
    const char* lines[] = {"",         "0/0", "-1/0 0/0", "0/1", "0/2",      "-1/0 0/0 1/0", "-1/0 1/0", "0/2",
                           "-1/1 0/1", "0/3", "-1/3 0/3", "0/4", "-1/4 0/4", "-1/3 0/3",     "0/0"};
    for (u8 style = 0; style < std::size(lines); ++style) {
        CellFormat format;
        format.rightStyle = format.bottomStyle = style;
        format.rightColour = 10;
        format.bottomColour = 12;
        Give("B2", format);
        PaintHeadless();
        EXPECT_EQ(RightLines(Cell("B2"), RED), lines[style]) << int{style};
        EXPECT_EQ(BottomLines(Cell("B2"), BLUE), lines[style]) << int{style};
    }
}

TEST_F(CellPaintTest, AnEdgeBelongsToTheCellBeforeItThenToTheOneBehind) {
    CellFormat left, top, right, bottom;
    left.leftStyle = right.rightStyle = top.topStyle = bottom.bottomStyle = 1;
    left.leftColour = top.topColour = 12;
    right.rightColour = bottom.bottomColour = 10;
    Give("C2", left);
    Give("B3", top);
    PaintHeadless();
    EXPECT_EQ(RightLines(Cell("B2"), BLUE), "0/0");
    EXPECT_EQ(BottomLines(Cell("B2"), BLUE), "0/0");
    CellFormat both = right;
    both.bottomStyle = 1;
    both.bottomColour = 10;
    Give("B2", both);
    PaintHeadless();
    EXPECT_EQ(RightLines(Cell("B2"), RED), "0/0");
    EXPECT_EQ(BottomLines(Cell("B2"), RED), "0/0");
    EXPECT_EQ(RightLines(Cell("B2"), BLUE), "");
    EXPECT_EQ(BottomLines(Cell("B2"), BLUE), "");
    // The first column and row have their outer edges too.
    CellFormat corner = left;
    corner.topStyle = 1;
    corner.topColour = 10;
    Give("A1", corner);
    PaintHeadless();
    const PixelRect a1 = Cell("A1");
    EXPECT_EQ(LinesAt(false, a1.left, a1.top - 1, a1.bottom, BLUE), "0/0");
    EXPECT_EQ(LinesAt(true, a1.top, a1.left - 1, a1.right, RED), "0/0");
    // No others do: their edge is the neighbour's.
    const PixelRect c2 = Cell("C2");
    EXPECT_EQ(LinesAt(false, c2.left, c2.top - 1, c2.bottom, BLUE), "");
    EXPECT_EQ(LinesAt(true, Cell("B3").top, c2.left - 1, c2.right, BLUE), "");
}

TEST_F(CellPaintTest, InsideAMergeThereAreNoBorders) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(Area("B2", "C3")));
    CellFormat format;
    format.rightStyle = format.bottomStyle = 1;
    format.rightColour = 10;
    format.bottomColour = 12;
    for (const char* cell : {"B2", "C2", "B3", "C3"}) Give(cell, format);
    PaintHeadless();
    for (const char* cell : {"B2", "B3"}) EXPECT_EQ(RightLines(Cell(cell), RED), "") << cell;
    for (const char* cell : {"C2", "C3"}) EXPECT_EQ(RightLines(Cell(cell), RED), "0/0") << cell;
    for (const char* cell : {"B2", "C2"}) EXPECT_EQ(BottomLines(Cell(cell), BLUE), "") << cell;
    for (const char* cell : {"B3", "C3"}) EXPECT_EQ(BottomLines(Cell(cell), BLUE), "0/0") << cell;
}

TEST_F(CellPaintTest, TheSelectionIsOutlined) {
    SelectArea(Area("B2", "C4"), true, 1, 1, false);
    PaintHeadless();
    std::vector<PixelRect> edges;
    for (const DrawRecord& record : HeadlessFrame().drawing)
        if (record.kind == DRAW_INVERT) edges.push_back(record.rect);
    const PixelRect r = AreaPixels(Area("B2", "C4"));
    const std::vector<PixelRect> expected = {{r.left - 1, r.top - 1, r.right, r.top},
                                             {r.left - 1, r.top, r.left, r.bottom - 2},
                                             {r.left - 1, r.bottom - 2, r.right, r.bottom},
                                             {r.right - 2, r.top, r.right, r.bottom - 2}};
    EXPECT_EQ(edges, expected);
    TypeText(u"=");
    PressKey(VK_RIGHT);  // the reference that is being written has an outline of its own
    PaintHeadless();
    int count = 0;
    for (const DrawRecord& record : HeadlessFrame().drawing) count += record.kind == DRAW_INVERT;
    EXPECT_EQ(count, 8);
}

TEST_F(CellPaintTest, AHiddenColumnShowsNoTextAndLetsOthersPass) {
    Enter("B2", "unseen");
    Enter("C2", "seen");
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, COLUMN_HIDDEN, 0, DEFAULT_CELL_FORMAT}));
    RefreshChrome();
    PaintHeadless();
    EXPECT_EQ(FindDrawn("unseen"), nullptr);
    EXPECT_NE(FindDrawn("seen"), nullptr);
    EXPECT_EQ(FindDrawn("B"), nullptr);
    EXPECT_EQ(Cell("C2").left, Cell("A2").right);
}

TEST_F(CellPaintTest, ATextComesInFromBothSidesOfTheView) {
    const std::string text(30, 'x');  // four columns and a bit
    const Array<ShownLine>& columns = Shell().layout.columns;
    CellFormat right;
    right.horizontal = 3;
    ScrollTo(0, 10);
    const i32 last = columns.Last().index;
    std::string beyond;
    for (i32 n = last + 3; n >= 0; n = n / 26 - 1)
        beyond.insert(beyond.begin(), static_cast<char>('A' + n % 26));
    Enter(beyond + "2", text);
    Give(beyond + "2", right);
    Enter("J3", text);
    PaintHeadless();
    ASSERT_NE(FindDrawn(text), nullptr);
    EXPECT_EQ(CountDrawn(text), 2);
    Enter("K3", "y");
    PaintHeadless();
    EXPECT_EQ(CountDrawn(text), 1);
    // One that ends before the view is not drawn at all.
    Enter("K3", "");
    ScrollTo(0, 14);
    PaintHeadless();
    EXPECT_EQ(CountDrawn(text), 1);
}

}  // namespace
}  // namespace tally
