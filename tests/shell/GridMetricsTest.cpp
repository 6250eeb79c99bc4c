// Cells measured and painted by the metrics of any target, whatever the window shows.

#include "shell/grid/GridMetrics.h"

#include "model/CellStore.h"
#include "model/Formats.h"
#include "raster/Raster.h"
#include "shell/grid/CellLook.h"
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
    for (const Case& c : {Case{7, 96, 100, 64, 140, 17, 40},
                          {7, 96, 200, 128, 280, 34, 80},
                          {44, 600, 100, 402, 880, 106, 250},
                          {1, 10, 10, 1, 1, 1, 1}}) {
        const GridMetrics metrics = MetricsAt(*CurrentSheet(), c.digit, c.dpi, c.dpi, c.zoom);
        EXPECT_EQ(ColumnPixels(metrics, *CurrentSheet(), 0), c.first) << c.dpi;
        EXPECT_EQ(ColumnPixels(metrics, *CurrentSheet(), 1), c.wide) << c.dpi;
        EXPECT_EQ(ColumnPixels(metrics, *CurrentSheet(), 2), 0);
        EXPECT_EQ(RowPixels(metrics, *CurrentSheet(), 0), c.row) << c.dpi;
        EXPECT_EQ(RowPixels(metrics, *CurrentSheet(), 1), c.high) << c.dpi;
    }
    CurrentSheet()->viewFlags |= VIEW_FORMULAS;
    EXPECT_EQ(ColumnPixels(MetricsAt(*CurrentSheet(), 7, 96, 96, 100), *CurrentSheet(), 0), 128);
}

// Eight digits alone would be too narrow for what another program showed in such a column.
TEST_F(GridMetricsTest, AColumnWithoutAWidthOfItsOwnHasRoomBesideItsDigits) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {1, 0, 2048, DEFAULT_CELL_FORMAT}));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {2, COLUMN_DEFAULT_WIDTH, 99, DEFAULT_CELL_FORMAT}));
    ASSERT_TRUE(
        SetColumnInfo(sheet.columns, {3, COLUMN_HIDDEN | COLUMN_DEFAULT_WIDTH, 2048, DEFAULT_CELL_FORMAT}));
    struct Case {
        u16 width;  // 0: the standard one
        i32 digit, dpi, pixels, own;
    };
    for (const Case& c : {Case{0, 7, 96, 64, 56},
                          {0, 6, 96, 56, 48},
                          {0, 8, 96, 72, 64},
                          {0, 9, 96, 80, 72},
                          {0, 12, 96, 104, 96},
                          {0, 10, 144, 91, 80},
                          {0, 44, 600, 402, 352},
                          {2560, 7, 96, 80, 56},  // ten digits
                          {256, 7, 96, 16, 56},
                          {2341, 7, 96, 64, 56},  // no whole number of digits: the room is in it
                          {65280, 7, 96, 1792, 56}}) {
        sheet.viewFlags = static_cast<u16>(c.width ? sheet.viewFlags & ~VIEW_STANDARD_WIDTH
                                                   : sheet.viewFlags | VIEW_STANDARD_WIDTH);
        sheet.defaultColumnWidth = c.width;
        const GridMetrics metrics = MetricsAt(sheet, c.digit, c.dpi, c.dpi, 100);
        EXPECT_EQ(ColumnPixels(metrics, sheet, 0), c.pixels) << c.width << " " << c.digit;
        EXPECT_EQ(ColumnPixels(metrics, sheet, 1), c.own) << c.digit;
        EXPECT_EQ(ColumnPixels(metrics, sheet, 2), c.pixels) << c.width << " " << c.digit;
        EXPECT_EQ(ColumnPixels(metrics, sheet, 3), 0);
    }
}

// The digit is that of the book's first font, whatever that is, and the frame's where the book has none.
TEST_F(GridMetricsTest, ColumnsAreCountedInTheDigitsOfTheBooksOwnFont) {
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    Workbook& book = *CurrentWorkbook();
    struct Case {
        u16 height;
        i32 digit;
    };
    for (const Case& c :
         {Case{200, 7}, {160, 6}, {180, 6}, {220, 8}, {240, 8}, {280, 10}, {480, 16}, {20, 1}}) {
        book.fonts[0].height = c.height;
        EXPECT_EQ(DigitWidth(book, screen), c.digit) << c.height;
        RefreshChrome();
        EXPECT_EQ(Shell().layout.metrics.digitWidth, c.digit) << c.height;
    }
    book.fonts[0].height = 240;
    screen.logPixelsY = 192;
    EXPECT_EQ(DigitWidth(book, screen), 16);
    const Workbook empty;
    EXPECT_EQ(DigitWidth(empty, screen), screen.digitWidth);
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
    // Columns are 402 wide, rows 106 high.
    constexpr u32 GRID_LINE = 0xC0C0C0;
    const DrawRecord* line = Find(records, DRAW_LINE, {402, 209, 804, 209}, GRID_LINE);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->pen.width, 6);
    line = Find(records, DRAW_LINE, {801, 106, 801, 206}, GRID_LINE);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->pen.width, 6);
    // The border takes the grid line's pixels and as many before them.
    for (const i32 x : {795, 801}) {
        line = Find(records, DRAW_LINE, {x, 312, x, 424}, 0x0000FF);
        ASSERT_NE(line, nullptr) << x;
        EXPECT_EQ(line->pen.width, 6);
    }
    line = Find(records, DRAW_LINE, {396, 421, 804, 421}, 0xFF0000);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->pen, (Pen{0xFF0000, PEN_DASH, 6, 6}));
    for (const DrawRecord& record : records) {
        if (record.kind != DRAW_TEXT) continue;
        const HeadlessFont& font = HeadlessFontList()[static_cast<u32>(record.font) - 1];
        EXPECT_EQ(font.pixelHeight, 83);  // ten points
        if (Narrow(record.text) == "text") EXPECT_EQ(record.rect.left, 402 + 6);
        if (Narrow(record.text) == "12") EXPECT_EQ(record.rect.right, 3 * 402 - 12);
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
    const i32 width = 4 * 64, height = 5 * 17;
    // The window's cells lie at another place, where a pattern begins elsewhere.
    for (i32 y = 0; y < height; ++y) {
        for (i32 x = 0; x < width; ++x) {
            if (x >= 2 * 64 - 2 && x < 3 * 64 && y >= 2 * 17 - 2 && y < 3 * 17) continue;
            ASSERT_EQ(PixelAt(own, x, y), PixelAt(window, layout.cells.left + x, layout.cells.top + y))
                << x << ',' << y;
        }
    }
}

}  // namespace
}  // namespace tally
