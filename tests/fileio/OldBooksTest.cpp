#include "fileio/OpenFile.h"
#include "fileio/SaveFile.h"
#include "fileio/biff/BiffReader.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BiffBuilder.h"
#include "support/Sandbox.h"

// Files of records without a container.

namespace tally {
namespace {

struct OldFile {
    BiffBuilder b{7};
    OldFile& Raw(u16 id, const std::vector<u8>& body) {
        b.Raw(id, body);
        return *this;
    }
    OldFile& Begin(u16 bof, u16 type = 16) {
        return Raw(bof, {static_cast<u8>(bof >> 8 ? bof >> 8 : 2), 0, static_cast<u8>(type),
                         static_cast<u8>(type >> 8), 0, 0});
    }
    // The layouts of the second and of the later forms.
    OldFile& Number2(u8 row, u8 column, double number, u8 format = 0) {
        std::vector<u8> body = {row, 0, column, 0, 0, format, 0};
        for (u8 byte : DoubleBytes(number)) body.push_back(byte);
        return Raw(3, body);
    }
    OldFile& Number(u8 row, u8 column, double number, u8 xf = 0) {
        std::vector<u8> body = {row, 0, column, 0, xf, 0};
        for (u8 byte : DoubleBytes(number)) body.push_back(byte);
        return Raw(515, body);
    }
    OldFile& Font(const std::string& name, u8 colour) {
        std::vector<u8> body = {200, 0, 1, 0, colour, 0, static_cast<u8>(name.size())};
        body.insert(body.end(), name.begin(), name.end());
        return Raw(561, body);
    }
    OldFile& Format(u16 id, const std::string& text) {
        std::vector<u8> body = id == 1054 ? std::vector<u8>{0, 0} : std::vector<u8>{};
        body.push_back(static_cast<u8>(text.size()));
        body.insert(body.end(), text.begin(), text.end());
        return Raw(id, body);
    }
    std::vector<u8> Bytes() const { return b.Stream(); }
};

constexpr u16 TWO = 9, THREE = 521, FOUR = 1033;

class OldBooks : public Sandbox {
  protected:
    static bool Open(const OldFile& file, WideView path = u"old.xls") {
        return OpenFileFromMemory(path, file.Bytes(), OPEN_SILENT_LINKS);
    }
    static const CellFormat& FormatOf(std::string_view cell) {
        return ResolveCellFormat(*CurrentWorkbook(), CellAtName(cell)->format);
    }
};

TEST_F(OldBooks, FormatsKeepFillsBordersAndProtection) {
    for (const u16 bof : {THREE, FOUR}) {
        const bool four = bof == FOUR;
        ResetBooks();
        OldFile file;
        file.Begin(bof).Font("Arial", 10).Font("Courier", 24).Format(four ? 1054 : 30, "General");
        file.Format(four ? 1054 : 30, "0.00");
        // Pattern 3 of colour 9 on 10; borders 1 of 11, 2 of 12, 3 of 13, 4 of 14; wrapped, at the right.
        const u8 alignment = four ? 3 | 8 | 1 << 4 | 2 << 6 : 3 | 8;
        file.Raw(four ? 1091 : 579, {1, 1, 2, 0, alignment, 0, static_cast<u8>(3 | (9 & 3) << 6),
                                     static_cast<u8>(9 >> 2 | 10 << 3), 1 | 11 << 3, 2 | 12 << 3, 3 | 13 << 3,
                                     static_cast<u8>(4 | 14 << 3)});
        // Solid, in the colours of text and window; an XF of a style.
        file.Raw(four ? 1091 : 579, {0, 0, 1 | 4, 0, 0, 0, static_cast<u8>(1 | (24 & 3) << 6),
                                     static_cast<u8>(24 >> 2 | 25 << 3), 24 << 3, 0, 0, 0});
        file.Number(0, 0, 1.5, 0).Number(0, 1, 2, 1);
        ASSERT_TRUE(Open(file));
        EXPECT_EQ(Shown("A1"), "1.50");
        const CellFormat first = FormatOf("A1"), second = FormatOf("B1");
        EXPECT_EQ(first.font, 1);
        EXPECT_EQ(first.flags, FORMAT_HIDDEN | FORMAT_WRAP);
        EXPECT_EQ(first.horizontal, 3);
        EXPECT_EQ(first.vertical, four ? 1 : 2);
        EXPECT_EQ(first.rotation, four ? 90 : 0);
        EXPECT_EQ(first.pattern, 3);
        EXPECT_EQ(first.patternColour, 9);
        EXPECT_EQ(first.backColour, 10);
        EXPECT_EQ(first.topStyle, 1);
        EXPECT_EQ(first.topColour, 11);
        EXPECT_EQ(first.leftStyle, 2);
        EXPECT_EQ(first.leftColour, 12);
        EXPECT_EQ(first.bottomStyle, 3);
        EXPECT_EQ(first.bottomColour, 13);
        EXPECT_EQ(first.rightStyle, 4);
        EXPECT_EQ(first.rightColour, 14);
        EXPECT_EQ(second.flags, FORMAT_LOCKED | FORMAT_STYLE);
        // A solid cell has its colour behind, as everywhere in a book.
        EXPECT_EQ(second.pattern, 1);
        EXPECT_EQ(second.backColour, 64);
        EXPECT_EQ(second.patternColour, 65);
        EXPECT_EQ(second.topColour, 64);
        const Workbook& book = *CurrentWorkbook();
        EXPECT_EQ(Narrow(book.fonts[0].faceName), "Arial");
        EXPECT_EQ(book.fonts[0].colour, 10);
        EXPECT_EQ(book.fonts[0].weight, 700);
        EXPECT_EQ(book.fonts[1].colour, AUTOMATIC_COLOUR);
    }
}

TEST_F(OldBooks, FontsHaveFourAttributesAndAColour) {
    struct Row {
        u8 attributes, colour;
        u16 weight, kept, underline;
    };
    constexpr Row rows[] = {{0, 24, 400, 0, 0}, {1, 9, 700, 0, 0},  {2, 10, 400, 2, 0},
                            {4, 11, 400, 0, 1}, {8, 12, 400, 8, 0}, {15, 13, 700, 10, 1}};
    for (const u16 bof : {TWO, THREE, FOUR}) {
        ResetBooks();
        OldFile file;
        file.Begin(bof);
        for (const Row& row : rows) {
            if (bof == TWO) {
                // The colour has a record of its own, which belongs to the font in front of it.
                file.Raw(49, {200, 0, row.attributes, 0, 1, 'F'}).Raw(69, {row.colour, 0});
            } else {
                file.Raw(561, {200, 0, row.attributes, 0, row.colour, 0, 1, 'F'});
            }
        }
        ASSERT_TRUE(Open(file.Number(0, 0, 1)));
        const Workbook& book = *CurrentWorkbook();
        ASSERT_EQ(book.fonts.Count(), std::size(rows));
        for (u32 i = 0; i < std::size(rows); ++i) {
            EXPECT_EQ(book.fonts[i].height, 200);
            EXPECT_EQ(book.fonts[i].weight, rows[i].weight) << i;
            EXPECT_EQ(book.fonts[i].attributes, rows[i].kept) << i;
            EXPECT_EQ(book.fonts[i].underline, rows[i].underline) << i;
            EXPECT_EQ(book.fonts[i].colour, rows[i].colour == 24 ? AUTOMATIC_COLOUR : rows[i].colour) << i;
            EXPECT_EQ(Narrow(book.fonts[i].faceName), "F");
        }
    }
}

TEST_F(OldBooks, SizesMarginsAndThePaletteAreKept) {
    OldFile file;
    file.Begin(FOUR)
        .Raw(1091, {0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0})
        .Raw(1091, {0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    file.Raw(146, {2, 0, 1, 2, 3, 0, 4, 5, 6, 0});
    file.Raw(125, {1, 0, 2, 0, 0, 20, 1, 0, 1, 0, 0, 0}).Raw(85, {12, 0}).Raw(153, {0x34, 0x0C});
    file.Raw(549, {1, 0, 0x2C, 1}).Raw(520, {3, 0, 0, 0, 4, 0, 0x58, 2, 0, 0, 0, 0, 0x60, 1, 0, 0});
    std::vector<u8> margin = DoubleBytes(1.25);
    file.Raw(38, margin).Raw(41, DoubleBytes(0.5)).Raw(20, {2, '&', 'P'}).Raw(43, {1, 0}).Raw(131, {1, 0});
    file.Raw(161, {9, 0, 90, 0, 1, 0, 1, 0, 1, 0, 2, 0})
        .Raw(160, {3, 0, 2, 0})
        .Raw(18, {1, 0})
        .Raw(19, {0x34, 0x12});
    file.Raw(574, {0x06, 0, 5, 0, 2, 0, 0, 0, 0, 0});
    ASSERT_TRUE(Open(file));
    const Sheet& sheet = *CurrentSheet();
    EXPECT_EQ(CurrentWorkbook()->palette[8], 0x030201u);
    EXPECT_EQ(CurrentWorkbook()->palette[9], 0x060504u);
    EXPECT_EQ(CurrentWorkbook()->palette[10], 0x0000FFu);
    ASSERT_EQ(sheet.columns.Count(), 2u);
    EXPECT_EQ(sheet.columns[0].column, 1);
    EXPECT_EQ(sheet.columns[1].width, 20 << 8);
    EXPECT_EQ(sheet.columns[1].format, 1);
    EXPECT_TRUE(sheet.columns[1].flags & COLUMN_HIDDEN);
    EXPECT_EQ(sheet.defaultColumnWidth, 0x0C34);
    EXPECT_EQ(sheet.defaultRowHeight, 300);
    ASSERT_EQ(sheet.rows.Count(), 1u);
    EXPECT_EQ(sheet.rows[0].height, 600);
    EXPECT_EQ(sheet.rows[0].flags, ROW_HIDDEN | ROW_CUSTOM_HEIGHT);
    EXPECT_EQ(sheet.page.leftMargin, 1.25);
    EXPECT_EQ(sheet.page.bottomMargin, 0.5);
    EXPECT_EQ(sheet.page.rightMargin, 0);
    EXPECT_EQ(Narrow(sheet.page.header), "&P");
    EXPECT_EQ(sheet.page.printGridlines, 1);
    EXPECT_EQ(sheet.page.centreHorizontally, 1);
    ASSERT_EQ(sheet.page.setup.Count(), 34u);
    EXPECT_EQ(sheet.page.setup[2], 90);
    EXPECT_EQ(DoubleAt(sheet.page.setup.Span(), 16), 0.5);
    EXPECT_EQ(sheet.page.setup[32], 1);
    EXPECT_EQ(sheet.zoomPercent, 150);
    EXPECT_EQ(sheet.passwordHash, 0x1234);
    EXPECT_TRUE(sheet.viewFlags & VIEW_PROTECTED);
    EXPECT_FALSE(sheet.viewFlags & VIEW_FORMULAS);
    EXPECT_EQ(sheet.view.firstRow, 5);
    EXPECT_EQ(sheet.view.firstColumn, 2);
}

TEST_F(OldBooks, TheOldestFormHasSizesAndAViewOfItsOwn) {
    OldFile file;
    file.Begin(TWO).Raw(36, {1, 3, 0, 9}).Raw(37, {0x2C, 0x81});
    file.Raw(8, {4, 0, 0, 0, 1, 0, 0x90, 1, 0, 0, 0}).Raw(8, {5, 0, 0, 0, 1, 0, 0x90, 0x81, 0, 0, 0});
    file.Raw(62, {1, 0, 1, 0, 1, 7, 0, 3, 0, 1, 0, 0, 0, 0}).Number2(0, 0, 4);
    ASSERT_TRUE(Open(file));
    const Sheet& sheet = *CurrentSheet();
    ASSERT_EQ(sheet.columns.Count(), 3u);
    EXPECT_EQ(sheet.columns[2].width, 9 << 8);
    EXPECT_EQ(sheet.columns[2].flags, 0);
    EXPECT_EQ(sheet.defaultRowHeight, 300);
    ASSERT_EQ(sheet.rows.Count(), 1u);
    EXPECT_EQ(sheet.rows[0].row, 4);
    EXPECT_EQ(sheet.rows[0].height, 400);
    EXPECT_TRUE(sheet.viewFlags & VIEW_FORMULAS);
    EXPECT_FALSE(sheet.viewFlags & VIEW_GRIDLINES);
    EXPECT_TRUE(sheet.viewFlags & VIEW_HEADERS);
    EXPECT_EQ(sheet.view.firstRow, 7);
    EXPECT_EQ(sheet.view.firstColumn, 3);
}

TEST_F(OldBooks, RecordsAreReadByTheirOwnNumberWhateverTheFileSays) {
    for (const u16 bof : {TWO, THREE, FOUR}) {
        ResetBooks();
        OldFile file;
        file.Begin(bof).Format(30, "General").Format(1054, "0.0").Number2(0, 0, 1.5, 0x41).Number(0, 1, 2.5);
        file.Raw(4, {0, 0, 2, 0, 0, 0, 0, 2, 'h', 'i'}).Raw(516, {0, 0, 3, 0, 0, 0, 2, 0, 'h', 'o'});
        file.Raw(5, {0, 0, 4, 0, 0, 0, 0, 1, 0}).Raw(517, {0, 0, 5, 0, 0, 0, 7, 1});
        file.Raw(638, {0, 0, 6, 0, 0, 0, 0x16, 0, 0, 0});
        // =A1*2 in the three layouts, each with a text behind it.
        file.Raw(6, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0x44, 0, 0xC0, 0, 0x1E, 2, 0, 5});
        file.Raw(7, {1, 'x'});
        file.Raw(518, {1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8, 0, 0x44, 0, 0xC0, 0, 0x1E, 2, 0, 5});
        file.Raw(519, {1, 0, 'y'});
        // =ABS(A1): the number of a function has one byte before the last of these forms.
        file.Raw(518, {1, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 6, 0, 0x44, 0, 0xC0, 0, 0x41, 24});
        file.Raw(1030, {1, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 0x44, 0, 0xC0, 0, 0x41, 24, 0});
        ASSERT_TRUE(Open(file)) << bof;
        EXPECT_EQ(Shown("A1"), "1.5");
        EXPECT_NE(FormatOf("A1").numberFormat, 0);
        EXPECT_EQ(Shown("B1"), "2.5");
        EXPECT_EQ(Shown("C1"), "hi");
        EXPECT_EQ(Shown("D1"), "ho");
        EXPECT_EQ(Shown("E1"), "TRUE");
        EXPECT_EQ(Shown("F1"), "#DIV/0!");
        EXPECT_EQ(Shown("G1"), "5");
        EXPECT_EQ(FormulaOf("A2"), "=A1*2");
        EXPECT_EQ(FormulaOf("B2"), "=A1*2");
        EXPECT_EQ(FormulaOf("C2"), "=ABS(A1)");
        EXPECT_EQ(FormulaOf("D2"), "=ABS(A1)");
        EXPECT_EQ(Shown("A2"), "x");
        EXPECT_EQ(Shown("B2"), "y");
    }
}

TEST_F(OldBooks, BuiltInNamesAreThatOfTheSheet) {
    OldFile file;
    // Print_Area on A1:B2, then a plain name that is hidden.
    file.Begin(THREE).Raw(536, {0x20, 0, 0, 1, 7, 0, 6, 0x25, 0, 0, 1, 0, 0, 1});
    file.Raw(536, {1, 0, 0, 1, 3, 0, 'n', 0x1E, 5, 0});
    file.Raw(518, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 11, 0, 0x43, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    ASSERT_TRUE(Open(file));
    const Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.names.Count(), 2u);
    EXPECT_EQ(Narrow(book.names[0].text), "Print_Area");
    EXPECT_EQ(book.names[0].sheet, 1);
    EXPECT_EQ(book.names[0].flags, 0);
    EXPECT_EQ(Narrow(book.names[1].text), "n");
    EXPECT_EQ(book.names[1].sheet, 0);
    EXPECT_EQ(book.names[1].flags, 1);
    EXPECT_EQ(FormulaOf("A1"), "=n");
}

TEST_F(OldBooks, APasswordIsSeen) {
    for (const u16 bof : {TWO, THREE, FOUR}) {
        ResetBooks();
        Headless().boxes.Clear();
        OldFile file;
        file.Begin(bof).Raw(47, {1, 2, 3, 4}).Number(0, 0, 1);
        EXPECT_FALSE(Open(file));
        ASSERT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(Narrow(Headless().boxes[0].text), "This file is password protected");
    }
}

// A sheet of a workbook: its header, then its records with fonts, formats and names of its own.
void SheetOfWorkbook(OldFile& file, const std::string& name, double number, const std::string& format,
                     u8 colour) {
    std::vector<u8> header = {0, 0, 0, 0, static_cast<u8>(name.size())};
    header.insert(header.end(), name.begin(), name.end());
    file.Raw(143, header).Begin(FOUR).Font(name, colour).Format(1054, "General").Format(1054, format);
    file.Raw(1091, {0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}).Raw(1091, {0, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    file.Raw(536, {0, 0, 0, 1, 3, 0, 'n', 0x1E, static_cast<u8>(number), 0});
    file.Raw(125, {0, 0, 0, 0, 0, 9, 1, 0, 0, 0, 0, 0});
    file.Number(0, 0, number, 1);
    file.Raw(1030, {1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 11, 0, 0x43, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    file.Raw(10, {});
}

TEST_F(OldBooks, TheSheetsOfAWorkbookStayApart) {
    OldFile file;
    file.Begin(FOUR, 0x100).Raw(66, {0xE4, 4}).Raw(142, {0, 0, 0, 0});
    SheetOfWorkbook(file, "First", 3, "0.0", 10);
    SheetOfWorkbook(file, "Second", 4, "0.000", 12);
    // A chart among them has no cells.
    file.Raw(143, {0, 0, 0, 0, 5, 'C', 'h', 'a', 'r', 't'})
        .Begin(FOUR, 32)
        .Font("C", 9)
        .Number(0, 0, 9)
        .Raw(10, {});
    SheetOfWorkbook(file, "Third", 5, "0.00000", 14);
    file.Raw(10, {});
    ASSERT_TRUE(Open(file));
    Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.sheets.Count(), 4u);
    EXPECT_EQ(book.currentSheet, 0);
    constexpr const char* names[] = {"First", "Second", "Chart", "Third"};
    constexpr const char* shown[] = {"3.0", "4.000", "", "5.00000"};
    for (i32 i = 0; i < 4; ++i) {
        book.currentSheet = i;
        EXPECT_EQ(Narrow(CurrentSheet()->name), names[i]);
        EXPECT_EQ(CurrentSheet()->kind, i == 2 ? SHEET_CHART : SHEET_WORKSHEET);
        if (i == 2) continue;
        EXPECT_EQ(Shown("A1"), shown[i]);
        EXPECT_EQ(FormulaOf("A2"), "=n");
        EXPECT_EQ(Shown("A2"), shown[i]);
        EXPECT_EQ(Narrow(book.fonts[FormatOf("A1").font].faceName), names[i]);
        EXPECT_EQ(CurrentSheet()->columns[0].format, CellAtName("A1")->format);
    }
    EXPECT_EQ(CurrentSheet()->cells.count, 2u);
}

TEST_F(OldBooks, ADamagedWorkbookOfSheetsIsReadAsFarAsItGoes) {
    OldFile file;
    file.Begin(FOUR, 0x100).Number(0, 0, 1);
    SheetOfWorkbook(file, "First", 3, "0.0", 10);
    std::vector<u8> bytes = file.Bytes();
    for (std::size_t length = 2; length <= bytes.size(); length += 3) {
        ResetBooks();
        const std::vector<u8> part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_TRUE(OpenFileFromMemory(u"old.xls", part, OPEN_SILENT_LINKS)) << length;
    }
}

}  // namespace
}  // namespace tally
