// Where the text of a cell stands: by its alignment, in several lines, over its neighbours.

#include <set>

#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

// A character of the ordinary font is 7 pixels wide here, a wide one 13; a line is 16 high.
class TextPlaceTest : public ShellSandbox {
  protected:
    static constexpr u32 GRID_LINE = 0xC0C0C0;

    static CellFormat Aligned(u8 horizontal, u8 vertical = 2) {
        CellFormat format;
        format.horizontal = horizontal;
        format.vertical = vertical;
        return format;
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
    static PixelRect Cell(std::string_view name) {
        i32 row = 0, column = 0;
        ReadCellName(name, row, column);
        return AreaPixels(
            {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column), static_cast<u8>(column)});
    }
    static void SizeColumns(i32 first, i32 last, i32 pixels) {
        for (i32 column = first; column <= last; ++column) {
            ColumnInfo info;
            info.column = static_cast<u8>(column);
            info.flags = 0;
            info.width = static_cast<u16>((pixels * 256 + 3) / 7);
            ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, info));
        }
        RefreshChrome();
        ASSERT_EQ(ColumnPixels(*CurrentSheet(), first), pixels);
    }
    static void SizeRow(i32 row, i32 pixels) {
        ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows,
                               {static_cast<u16>(row), ROW_CUSTOM_HEIGHT, static_cast<u16>(pixels * 15)}));
        RefreshChrome();
        ASSERT_EQ(RowPixels(*CurrentSheet(), row), pixels);
    }
    // The texts that were drawn inside a cell, in the order of the paint, as offsets from its corner.
    static std::string DrawnIn(std::string_view cell) {
        PaintHeadless();
        const PixelRect place = Cell(cell);
        std::string all;
        for (const DrawRecord& record : HeadlessFrame().drawing) {
            if (record.kind != DRAW_TEXT || !RectHolds(place, record.rect.left, record.rect.top)) continue;
            if (record.clip.top != place.top) continue;
            all += (all.empty() ? "" : " ") + Narrow(record.text) + "@" +
                   std::to_string(record.rect.left - place.left) + "," +
                   std::to_string(record.rect.top - place.top);
        }
        return all;
    }
    // The columns that a text may be seen in: "A:C".
    static std::string ColumnsOf(std::string_view text) {
        const DrawRecord* record = FindDrawn(text);
        if (!record) return "nothing";
        std::string from, to;
        for (char name = 'A'; name <= 'J'; ++name) {
            const PixelRect cell = Cell({std::string(1, name) + "2"});
            if (IsEmptyRect(cell)) continue;
            if (cell.left == record->clip.left) from = name;
            if (cell.right - 1 == record->clip.right) to = name;
        }
        return from + ":" + to;
    }
    // Columns of row 2 whose right edge has a grid line.
    static std::string Edges() {
        std::string all;
        for (char name = 'A'; name <= 'H'; ++name) {
            const PixelRect cell = Cell({std::string(1, name) + "2"});
            for (const DrawRecord& record : HeadlessFrame().drawing)
                if (record.kind == DRAW_LINE && record.colour == GRID_LINE &&
                    record.rect == PixelRect{cell.right - 1, cell.top, cell.right - 1, cell.bottom - 1})
                    all += name;
        }
        return all;
    }
};

TEST_F(TextPlaceTest, EachAlignmentHasItsPlaceInTheCell) {
    SizeColumns(1, 1, 100);
    SizeRow(1, 60);
    struct Case {
        const char* entry;
        u8 horizontal, vertical;
        const char* drawn;
    };
    for (const Case& row : {
             Case{"ab", 0, 2, "ab@1,43"},
             {"ab", 0, 1, "ab@1,22"},
             {"ab", 0, 0, "ab@1,0"},
             {"ab", 1, 2, "ab@1,43"},
             {"ab", 2, 2, "ab@42,43"},
             {"ab", 3, 2, "ab@84,43"},
             {"ab", 6, 2, "ab@42,43"},
             {"12", 0, 2, "12@84,43"},
             {"12", 1, 0, "12@1,0"},
             {"12", 2, 1, "12@42,22"},
             {"12", 7, 2, "12@1,43"},
             {"TRUE", 0, 2, "TRUE@35,43"},
             {"=1/0", 0, 2, "#DIV/0!@25,43"},
             {"=1/0", 3, 2, "#DIV/0!@49,43"},
             {"abcd", 4, 2, "abcd@1,43 abcd@29,43 abcd@57,43"},
             {"1234", 4, 1, "1234@1,22 1234@29,22 1234@57,22"},
             {"abcdefg", 4, 2, "abcdefg@1,43"},
         }) {
        Enter("B2", row.entry);
        Give("B2", Aligned(row.horizontal, row.vertical));
        EXPECT_EQ(DrawnIn("B2"), row.drawn)
            << row.entry << ' ' << int{row.horizontal} << ' ' << int{row.vertical};
    }
}

TEST_F(TextPlaceTest, AStackedTextHasOneCharacterALine) {
    SizeColumns(1, 1, 100);
    SizeRow(1, 60);
    struct Case {
        const char* entry;
        u8 horizontal, vertical;
        const char* drawn;
    };
    for (const Case& row : {
             Case{"abc", 0, 2, "a@46,11 b@46,27 c@46,43"},
             {"abc", 1, 0, "a@1,0 b@1,16 c@1,32"},
             {"ab", 3, 1, "a@91,14 b@91,30"},
             {"12", 0, 2, "1@46,27 2@46,43"},
             {"abcdef", 1, 0, "a@1,0 b@1,16 c@1,32 d@1,48"},
         }) {
        Enter("B2", row.entry);
        CellFormat format = Aligned(row.horizontal, row.vertical);
        format.rotation = 255;
        Give("B2", format);
        EXPECT_EQ(DrawnIn("B2"), row.drawn) << row.entry;
    }
}

TEST_F(TextPlaceTest, AWrappedTextIsBrokenByItsCellsWidth) {
    SizeColumns(1, 1, 70);  // nine characters
    SizeRow(1, 100);
    struct Case {
        const char16_t* entry;
        u8 horizontal, vertical;
        const char* drawn;
    };
    for (const Case& row : {
             Case{u"aaaa bbbb cccc", 1, 0, "aaaa bbbb@1,0 cccc@1,16"},
             {u"aaaa bbbbb cccc", 1, 0, "aaaa@1,0 bbbbb@1,16 cccc@1,32"},
             {u"aaaaaaaaaaaa", 1, 0, "aaaaaaaaa@1,0 aaa@1,16"},
             {u"aaaaaaaaa   b", 1, 0, "aaaaaaaaa@1,0 b@1,16"},
             {u"aa bb", 1, 0, "aa bb@1,0"},
             {u"a\nb", 1, 0, "a@1,0 b@1,16"},
             {u"a\n\nb", 1, 0, "a@1,0 @1,16 b@1,32"},
             {u"aaaaaaaaa\nb", 1, 0, "aaaaaaaaa@1,0 b@1,16"},
             {u"aaaaaaaaa \nb", 1, 0, "aaaaaaaaa@1,0 b@1,16"},
             {u"中中中中中中", 1, 0, "中中中中中@1,0 中@1,16"},
             {u"aaa中中中bb", 1, 0, "aaa中中中@1,0 bb@1,16"},
             {u"a b", 2, 0, "a b@24,0"},
             {u"aaaa bbbb cc", 3, 0, "aaaa bbbb@5,0 cc@54,16"},
             {u"a\nb", 1, 2, "a@1,67 b@1,83"},
             {u"a\nb", 1, 1, "a@1,34 b@1,50"},
             {u"a\nb\nc\nd\ne\nf\ng\nh", 1, 2, "a@1,0 b@1,16 c@1,32 d@1,48 e@1,64 f@1,80 g@1,96"},
         }) {
        Enter("B2", Narrow(row.entry));
        CellFormat format = Aligned(row.horizontal, row.vertical);
        format.flags |= FORMAT_WRAP;
        Give("B2", format);
        EXPECT_EQ(DrawnIn("B2"), row.drawn);
    }
    // A number is not broken.
    Enter("B2", "1234");
    EXPECT_EQ(DrawnIn("B2"), "1234@1,83");
}

TEST_F(TextPlaceTest, ATextRunsOverAsManyFreeNeighboursAsItNeeds) {
    struct Case {
        i32 pixels;  // of each column
        u8 horizontal;
        u32 length;
        const char* columns;
        const char* edges;  // right edges with a grid line
    };
    for (const Case& row : {
             Case{72, 1, 10, "D:D", "ABCDEFGH"},
             {72, 1, 11, "D:E", "ABCEFGH"},
             {72, 0, 20, "D:E", "ABCEFGH"},
             {71, 1, 20, "D:E", "ABCEFGH"},
             {71, 1, 21, "D:F", "ABCFGH"},
             {72, 3, 10, "D:D", "ABCDEFGH"},
             {72, 3, 11, "C:D", "ABDEFGH"},
             {71, 3, 20, "C:D", "ABDEFGH"},
             {71, 3, 21, "B:D", "ADEFGH"},
             {72, 2, 10, "D:D", "ABCDEFGH"},
             {72, 2, 11, "C:E", "ABEFGH"},
             {71, 2, 30, "C:E", "ABEFGH"},
             {71, 2, 31, "B:F", "AFGH"},
             {72, 4, 21, "D:D", "ABCDEFGH"},
             {72, 5, 21, "D:D", "ABCDEFGH"},
         }) {
        SizeColumns(0, 8, row.pixels);
        const std::string text(row.length, 'x');
        Enter("D2", text);
        Give("D2", Aligned(row.horizontal));
        PaintHeadless();
        EXPECT_EQ(ColumnsOf(text), row.columns) << int{row.horizontal} << ' ' << row.length;
        EXPECT_EQ(Edges(), row.edges) << int{row.horizontal} << ' ' << row.length;
    }
}

TEST_F(TextPlaceTest, WhatStopsATextAtItsNeighbour) {
    SizeColumns(0, 8, 72);
    const std::string text(60, 'x');  // six columns
    Enter("D2", text);
    Give("D2", Aligned(2));
    Enter("F2", "y");
    Enter("B2", "=1");
    PaintHeadless();
    EXPECT_EQ(ColumnsOf(text), "C:E");
    Enter("F2", "");
    Give("F2", Aligned(1));  // a format alone is no content
    PaintHeadless();
    EXPECT_EQ(ColumnsOf(text), "C:G");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 1, 5, 5}));
    PaintHeadless();
    EXPECT_EQ(ColumnsOf(text), "C:E");
    // At the sheet's first column there is no farther neighbour.
    Enter("A2", text);
    Give("A2", Aligned(3));
    Enter("B2", "");
    Enter("D2", "");
    PaintHeadless();
    EXPECT_EQ(ColumnsOf(text), "A:A");
}

TEST_F(TextPlaceTest, OnlyATextInOneLineRunsOver) {
    SizeColumns(0, 8, 72);
    Enter("B2", "123456789012345");
    PaintHeadless();
    EXPECT_EQ(Edges(), "ABCDEFGH");
    Enter("B2", "=IF(TRUE,1/0)");
    SizeColumns(1, 1, 40);
    PaintHeadless();
    EXPECT_EQ(FindDrawn("#DIV/0!"), nullptr);
    EXPECT_GE(CountDrawn("#"), 2);
    Enter("B2", "a long text of words");
    CellFormat wrapped;
    wrapped.flags |= FORMAT_WRAP;
    Give("B2", wrapped);
    PaintHeadless();
    EXPECT_EQ(Edges(), "ABCDEFGH");
    CellFormat stacked;
    stacked.rotation = 255;
    Give("B2", stacked);
    PaintHeadless();
    EXPECT_EQ(Edges(), "ABCDEFGH");
}

TEST_F(TextPlaceTest, ATextAcrossTheSelectionIsCentredOverTheBlankCellsThatContinueIt) {
    SizeColumns(0, 8, 72);
    Enter("B2", "title");
    for (const char* cell : {"B2", "C2", "D2"}) Give(cell, Aligned(6));
    PaintHeadless();
    EXPECT_EQ(ColumnsOf("title"), "B:D");
    EXPECT_EQ(FindDrawn("title")->rect.left, Cell("B2").left + (3 * 72 - 35 - 1) / 2);
    EXPECT_EQ(Edges(), "ADEFGH");
    Enter("D2", "x");
    Give("D2", Aligned(6));
    PaintHeadless();
    EXPECT_EQ(ColumnsOf("title"), "B:C");
    Give("C2", Aligned(2));
    PaintHeadless();
    EXPECT_EQ(ColumnsOf("title"), "B:B");
}

TEST_F(TextPlaceTest, TheFontOfACellIsThatOfItsFormatAtTheScaleOfTheSheet) {
    u16 font = 0;
    ASSERT_TRUE(FindOrAddFont(*CurrentWorkbook(), u"Times", true, true, true, true, 300, 12, font));
    struct Case {
        u8 rotation;
        i32 escapement;
    };
    for (const Case& row : {Case{0, 0}, {1, 10}, {45, 450}, {90, 900}, {91, 3590}, {135, 3150}, {180, 2700}}) {
        CellFormat format;
        format.font = font;
        format.rotation = row.rotation;
        Enter("B2", "look");
        Give("B2", format);
        PaintHeadless();
        const DrawRecord* drawn = FindDrawn("look");
        ASSERT_NE(drawn, nullptr);
        const HeadlessFont& used = HeadlessFontList()[static_cast<u32>(drawn->font) - 1];
        EXPECT_EQ(Narrow(WideView(used.faceName)), "Times");
        EXPECT_EQ(used.pixelHeight, 20);
        EXPECT_EQ(used.weight, 700);
        EXPECT_TRUE(used.italic && used.underline && used.strikeout);
        EXPECT_EQ(used.escapement, row.escapement) << int{row.rotation};
        EXPECT_EQ(drawn->colour, 0xFF0000u);
    }
    CurrentSheet()->zoomPercent = 200;
    RefreshChrome();
    PaintHeadless();
    EXPECT_EQ(HeadlessFontList()[static_cast<u32>(FindDrawn("look")->font) - 1].pixelHeight, 40);
}

TEST_F(TextPlaceTest, AColourOfTheNumberFormatComesBeforeThatOfTheFont) {
    u16 font = 0, number = 0;
    ASSERT_TRUE(FindOrAddFont(*CurrentWorkbook(), u"Arial", false, false, false, false, 200, 12, font));
    ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), u"0;[Red]-0", number));
    CellFormat format;
    format.font = font;
    format.numberFormat = number;
    Enter("B2", "-5");
    Enter("B3", "5");
    Give("B2", format);
    Give("B3", format);
    PaintHeadless();
    EXPECT_EQ(FindDrawn("-5")->colour, 0x0000FFu);
    const DrawRecord* plain = FindDrawn("5");
    for (const DrawRecord& record : HeadlessFrame().drawing)
        if (record.kind == DRAW_TEXT && Narrow(record.text) == "5" && record.rect.left > Cell("B3").left)
            plain = &record;
    EXPECT_EQ(plain->colour, 0xFF0000u);
}

}  // namespace
}  // namespace tally
