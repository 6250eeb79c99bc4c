// Cells measured and painted by the metrics of any target, whatever the window shows.

#include "shell/grid/GridMetrics.h"

#include "model/CellStore.h"
#include "model/Formats.h"
#include "raster/Raster.h"
#include "shell/grid/CellPaint.h"
#include "shell/grid/Layout.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class GridMetricsTest : public ShellSandbox {
  protected:
    // Columns A to D and rows 1 to 5 at the corner of a target.
    static void Paint(DrawTarget& target, const GridMetrics& metrics) {
        Array<ShownLine> rows, columns;
        i32 y = 0, x = 0;
        for (i32 row = 0; row < 5; ++row) {
            const i32 size = RowPixels(metrics, *CurrentSheet(), row);
            if (size) ASSERT_TRUE(rows.Append({row, y, y + size}));
            y += size;
        }
        for (i32 column = 0; column < 4; ++column) {
            const i32 size = ColumnPixels(metrics, *CurrentSheet(), column);
            if (size) ASSERT_TRUE(columns.Append({column, x, x + size}));
            x += size;
        }
        CellsPaint cells{.target = target,
                         .metrics = metrics,
                         .book = CurrentWorkbook(),
                         .sheet = CurrentSheet(),
                         .rows = rows.Span(),
                         .columns = columns.Span(),
                         .clip = {0, 0, x, y},
                         .merges = {}};
        PaintCellArea(cells);
    }
    static void Give(std::string_view cell, const CellFormat& format) {
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        record->format = index;
    }
    static const DrawRecord* Find(const Array<DrawRecord>& records, DrawKind kind, const PixelRect& rect,
                                  u32 colour) {
        for (const DrawRecord& record : records)
            if (record.kind == kind && record.rect == rect && record.colour == colour) return &record;
        return nullptr;
    }
};

TEST_F(GridMetricsTest, SizesFollowTheMetricsAndNotTheWindow) {
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, 0, 256 * 20, DEFAULT_CELL_FORMAT}));
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {2, COLUMN_HIDDEN, 2048, DEFAULT_CELL_FORMAT}));
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {1, ROW_CUSTOM_HEIGHT, 600}));
    struct Case {
        i32 digit, dpi, zoom;
        i32 first, wide, row, high;
    };
    for (const Case& c : {Case{7, 96, 100, 56, 140, 17, 40},
                          {7, 96, 200, 112, 280, 34, 80},
                          {44, 600, 100, 352, 880, 106, 250},
                          {1, 10, 10, 1, 1, 1, 1}}) {
        const GridMetrics metrics = MetricsAt(*CurrentSheet(), c.digit, c.dpi, c.dpi, c.zoom);
        EXPECT_EQ(ColumnPixels(metrics, *CurrentSheet(), 0), c.first) << c.dpi;
        EXPECT_EQ(ColumnPixels(metrics, *CurrentSheet(), 1), c.wide) << c.dpi;
        EXPECT_EQ(ColumnPixels(metrics, *CurrentSheet(), 2), 0);
        EXPECT_EQ(RowPixels(metrics, *CurrentSheet(), 0), c.row) << c.dpi;
        EXPECT_EQ(RowPixels(metrics, *CurrentSheet(), 1), c.high) << c.dpi;
    }
    CurrentSheet()->viewFlags |= VIEW_FORMULAS;
    EXPECT_EQ(ColumnPixels(MetricsAt(*CurrentSheet(), 7, 96, 96, 100), *CurrentSheet(), 0), 112);
}

TEST_F(GridMetricsTest, PaperHasLinesFontsAndMarginsOfItsOwnResolution) {
    Enter("B2", "text");
    Enter("C3", "12");
    CellFormat edged;
    edged.rightStyle = 2;  // two lines wide
    edged.bottomStyle = 3;
    edged.rightColour = 10;
    edged.bottomColour = 12;
    Give("B4", edged);
    Array<DrawRecord> records;
    DrawTarget paper = MakeRecordTarget(records, 5000, 7000, 600, 600, true);
    const GridMetrics metrics = MetricsOn(paper, *CurrentSheet(), 44, 100);
    EXPECT_EQ(metrics.lineX, 6);
    EXPECT_EQ(metrics.lineY, 6);
    Paint(paper, metrics);
    // Columns are 352 wide, rows 106 high.
    constexpr u32 GRID_LINE = 0xC0C0C0;
    const DrawRecord* line = Find(records, DRAW_LINE, {352, 209, 704, 209}, GRID_LINE);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->pen.width, 6);
    line = Find(records, DRAW_LINE, {701, 106, 701, 206}, GRID_LINE);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->pen.width, 6);
    // The border takes the grid line's pixels and as many before them.
    for (const i32 x : {695, 701}) {
        line = Find(records, DRAW_LINE, {x, 312, x, 424}, 0x0000FF);
        ASSERT_NE(line, nullptr) << x;
        EXPECT_EQ(line->pen.width, 6);
    }
    line = Find(records, DRAW_LINE, {346, 421, 704, 421}, 0xFF0000);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->pen, (Pen{0xFF0000, PEN_DASH, 6, 6}));
    for (const DrawRecord& record : records) {
        if (record.kind != DRAW_TEXT) continue;
        const HeadlessFont& font = HeadlessFontList()[static_cast<u32>(record.font) - 1];
        EXPECT_EQ(font.pixelHeight, 83);  // ten points
        if (Narrow(record.text) == "text") EXPECT_EQ(record.rect.left, 352 + 6);
        if (Narrow(record.text) == "12") EXPECT_EQ(record.rect.right, 3 * 352 - 12);
    }
    EXPECT_EQ(Find(records, DRAW_INVERT, {}, 0), nullptr);
}

TEST_F(GridMetricsTest, WhatTheWindowShowsDoesNotChangeAPicture) {
    Enter("A1", "12.5");
    Enter("B2", "some longer text");
    CellFormat filled;
    filled.pattern = 9;
    Give("C3", filled);
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("A4", "B5")));
    Enter("A4", "merged");
    const auto draw = [](Picture& picture) {
        RasterSurface surface{&picture, &HeadlessFonts()};
        DrawTarget target = MakeRasterTarget(surface, 120, 120);
        Paint(target, MetricsOn(target, *CurrentSheet(), 9, 100));
    };
    Picture before, after;
    ASSERT_TRUE(MakePicture(before, 320, 120, 0x123456));
    ASSERT_TRUE(MakePicture(after, 320, 120, 0x123456));
    draw(before);
    CurrentSheet()->zoomPercent = 250;
    CurrentSheet()->view.selection = AreaOf("A1", "D5");
    CurrentSheet()->view.firstRow = 3;
    RefreshChrome();
    draw(after);
    EXPECT_TRUE(std::equal(before.pixels.begin(), before.pixels.end(), after.pixels.begin()));
    int ink = 0;
    for (const u32 pixel : after.pixels) ink += pixel == 0;
    EXPECT_GT(ink, 500);
}

TEST_F(GridMetricsTest, APictureWithTheWindowsMetricsIsWhatTheWindowShows) {
    Enter("A1", "12.5");
    Enter("B2", "some text that runs over the cell");
    CellFormat filled;
    filled.pattern = 5;
    filled.rightStyle = filled.bottomStyle = 12;
    Give("C3", filled);
    Select("H20");
    PaintHeadless();
    const Layout& layout = Shell().layout;
    Picture window, own;
    ASSERT_TRUE(MakePicture(window, 800, 600, 0) && MakePicture(own, 800, 600, 0));
    RasterSurface windowSurface{&window, &HeadlessFonts()}, ownSurface{&own, &HeadlessFonts()};
    DrawTarget windowTarget = MakeRasterTarget(windowSurface), target = MakeRasterTarget(ownSurface);
    ReplayDrawing(HeadlessFrame().drawing, windowTarget);
    Paint(target, layout.metrics);
    const i32 width = 4 * 56, height = 5 * 17;
    // The window's cells lie at another place, where a pattern begins elsewhere.
    for (i32 y = 0; y < height; ++y) {
        for (i32 x = 0; x < width; ++x) {
            if (x >= 2 * 56 - 2 && x < 3 * 56 && y >= 2 * 17 - 2 && y < 3 * 17) continue;
            ASSERT_EQ(PixelAt(own, x, y), PixelAt(window, layout.cells.left + x, layout.cells.top + y))
                << x << ',' << y;
        }
    }
}

}  // namespace
}  // namespace tally
