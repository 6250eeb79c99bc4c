#include <bit>
#include <random>

#include "base/MessageTable.h"
#include "fileio/OpenFile.h"
#include "fileio/pocket/PocketFormats.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/PocketBuilder.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class PocketReading : public Sandbox {
  protected:
    static bool Open(const std::vector<u8>& bytes, WideView path = u"a.pxl") {
        return OpenFileFromMemory(path, bytes, OPEN_SILENT_LINKS);
    }
    static bool Open(const PocketBuilder& b) {
        ResetBooks();
        return Open(b.bytes);
    }
    static const CellFormat& FormatOf(std::string_view cell) {
        return ResolveCellFormat(*CurrentWorkbook(), CellAtName(cell)->format);
    }
};

TEST_F(PocketReading, AnEmptyFileIsAnEmptyBook) {
    for (WideView path : {u"a.pxl", u"a.pxt", u"A.PXL"}) {
        ResetBooks();
        ASSERT_TRUE(Open({}, path));
        EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 1u);
        EXPECT_EQ(CurrentSheet()->cells.count, 0u);
        EXPECT_TRUE(Headless().boxes.IsEmpty());
    }
}

TEST_F(PocketReading, CellsOfEveryKind) {
    PocketBuilder b;
    b.OneSheet();
    b.Record(1, {{0, 2}, {0, 1}, {0, 2}}).Number(0, 1, 0, -2.5).Label(65535, 255, 0, u"中a");
    b.Record(5, {{1, 2}, {0, 1}, {0, 2}, {1, 1}, {0, 1}});
    b.Record(5, {{1, 2}, {1, 1}, {0, 2}, {42, 1}, {1, 1}});
    b.Record(5, {{1, 2}, {2, 1}, {0, 2}, {7, 1}, {9, 1}});
    b.Label(2, 0, 0, u"");
    ASSERT_TRUE(Open(b));
    EXPECT_EQ(Narrow(CurrentSheet()->name), "Data");
    EXPECT_EQ(CurrentSheet()->kind, SHEET_WORKSHEET);
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_BLANK);
    EXPECT_EQ(CellAtName("B1")->value.number, -2.5);
    EXPECT_EQ(Shown("IV65536"), "中a");
    EXPECT_EQ(Shown("A2"), "TRUE");
    EXPECT_EQ(Shown("B2"), "#N/A");
    EXPECT_EQ(Shown("C2"), "#DIV/0!");
    EXPECT_EQ(CellAtName("A3")->value.type, VT_STRING);
    EXPECT_EQ(CurrentSheet()->cells.count, 7u);
}

TEST_F(PocketReading, FormulasWithTheirResults) {
    const u64 special = 0xFFFFull << 48;
    PocketBuilder b;
    b.OneSheet().Number(0, 0, 0, 5);
    b.Formula(0, 1, {0x44, 0, 0xC0, 0, 0x1E, 3, 0, 5}, 15);
    b.Formula(1, 1, {0x17, 2, 1, 'a', 0, 0x2D, 0x4E}, std::bit_cast<double>(special));
    b.Record(7, {{2, 2}}).Text(u"a中");
    b.Formula(2, 1, {0x1D, 1}, std::bit_cast<double>(special | 1 | 1 << 16));
    b.Formula(3, 1, {0x1C, 7}, std::bit_cast<double>(special | 2 | 7 << 16));
    b.Formula(4, 1, {0x1D, 1}, std::bit_cast<double>(special | 3));
    ASSERT_TRUE(Open(b));
    EXPECT_EQ(FormulaOf("B1"), "=A1*3");
    EXPECT_EQ(CellAtName("B1")->value.number, 15);
    EXPECT_EQ(FormulaOf("B2"), "=\"a中\"");
    EXPECT_EQ(Shown("B2"), "a中");
    EXPECT_EQ(Shown("B3"), "TRUE");
    EXPECT_EQ(Shown("B4"), "#DIV/0!");
    EXPECT_EQ(CellAtName("B5")->value.type, VT_STRING);
    for (const char* cell : {"B1", "B2", "B3", "B4", "B5"})
        EXPECT_EQ(CellAtName(cell)->calcState, CALC_CURRENT);
}

TEST_F(PocketReading, AStringRecordMakesTheLastCellCurrent) {
    PocketBuilder b;
    // HYPERLINK is stale after a load unless its text came with it.
    const std::vector<u8> link = {0x17, 1, 1, 'x', 0, 0x42, 1, 0x67, 0x01};
    b.OneSheet().Formula(0, 0, link, 0).Formula(0, 1, link, 0).Record(7, {{1, 2}}).Text(u"y");
    b.Number(0, 2, 0, 1).Record(7, {{1, 2}}).Text(u"z");
    ASSERT_TRUE(Open(b));
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_STALE);
    EXPECT_EQ(CellAtName("B1")->calcState, CALC_CURRENT);
    EXPECT_EQ(Shown("B1"), "y");
    EXPECT_EQ(Shown("C1"), "z");
}

TEST_F(PocketReading, CellsFlaggedAlwaysAreCalculated) {
    PocketBuilder b;
    b.OneSheet()
        .Number(0, 0, 0, 5)
        .Formula(0, 1, {0x44, 0, 0xC0, 0}, 1, 1)
        .Formula(0, 2, {0x44, 0, 0xC0, 0}, 1, 0);
    ASSERT_TRUE(Open(b));
    EXPECT_TRUE(CellAtName("B1")->formula->alwaysCalculate);
    EXPECT_EQ(Shown("B1"), "5");
    EXPECT_EQ(Shown("C1"), "1");
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
}

TEST_F(PocketReading, TokensAreWidened) {
    PocketBuilder b;
    b.Bof(5).Sheet(u"One").Sheet(u"Two").Sheet(u"Three").Record(10, {});
    b.Bof(16).Number(0, 0, 0, 1).Number(1, 0, 0, 2);
    // SUM over an area, an absolute reference and whole columns.
    b.Formula(0, 2, {0x25, 0, 0xC0, 1, 0xC0, 0, 0, 0x22, 1, 4, 0}, 3);
    b.Formula(1, 2, {0x44, 0xFF, 0x3F, 0xFF}, 0);
    b.Formula(2, 2, {0x25, 0, 0, 0xFF, 0x3F, 0, 1, 0x22, 1, 4, 0}, 3);
    // IF with its jumps around tokens that grow: IF(A1,A2,A1:A2).
    b.Formula(3, 2, {0x44, 0, 0xC0, 0, 0x19, 2, 8, 0,    0x44, 1, 0xC0, 0,    0x19, 8, 14, 0,
                     0x45, 0, 0xC0, 1, 0xC0, 0, 0, 0x19, 8,    3, 0,    0x42, 3,    1, 0},
              2);
    // Two!A1 and One:Three!A1:B2; the sheet numbers of the file, no table of links.
    std::vector<u8> single = {0x5A, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0xC0, 0};
    std::vector<u8> spread = {0x3B, 1, 0, 9,    9, 9,    9, 9, 9,    9, 9, 0, 0,
                              2,    0, 0, 0xC0, 1, 0xC0, 0, 1, 0x22, 1, 4, 0};
    std::vector<u8> beyond = {0x5A, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 7, 0, 7, 0, 0, 0xC0, 0};
    b.Formula(4, 2, single, 7).Formula(5, 2, spread, 7).Formula(6, 2, beyond, 0);
    // An offset from the formula's own cell.
    b.Formula(7, 2, {0x4C, 0xFF, 0xFF, 0xFF}, 0);
    b.Record(10, {}).Bof(16).Number(0, 0, 0, 7).Record(10, {}).Bof(16).Number(1, 1, 0, 4);
    ASSERT_TRUE(Open(b));
    EXPECT_EQ(FormulaOf("C1"), "=SUM(A1:A2)");
    EXPECT_EQ(FormulaOf("C2"), "=$IV$16384");
    EXPECT_EQ(FormulaOf("C3"), "=SUM($A:$B)");
    EXPECT_EQ(FormulaOf("C4"), "=IF(A1,A2,A1:A2)");
    EXPECT_EQ(FormulaOf("C5"), "=Two!A1");
    EXPECT_EQ(FormulaOf("C6"), "=SUM(One:Three!A1:B2)");
    EXPECT_EQ(FormulaOf("C7"), "=#REF!A1");
    EXPECT_EQ(FormulaOf("C8"), "=B7");
    EXPECT_EQ(CurrentWorkbook()->externBooks[0].kind, EXTERN_SELF);
    MarkAllStale();
    EXPECT_EQ(Shown("C1"), "3");
    EXPECT_EQ(Shown("C4"), "2");
    EXPECT_EQ(Shown("C5"), "7");
    EXPECT_EQ(Shown("C6"), "14");
}

TEST_F(PocketReading, NamesWithTheirScope) {
    PocketBuilder b;
    b.Bof(5).Sheet(u"One").Sheet(u"Two");
    const std::vector<u8> area = {0x3B, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, 0};
    b.Record(24, {{0x21, 2}, {5, 1}, {area.size(), 2}, {0xFFFF, 2}}).Text(u"Whole").Raw(area);
    b.Record(24, {{0, 2}, {5, 1}, {4, 2}, {1, 2}}).Text(u"Local").Raw({0x44, 0xFF, 0xBF, 0});
    b.Record(24, {{0, 2}, {5, 1}, {0, 2}, {0, 2}}).Text(u"Blank");
    b.Record(10, {}).Bof(16).Formula(0, 0, {0x23, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x22, 1, 4, 0}, 9);
    b.Bof(16).Number(0, 0, 0, 4).Number(1, 0, 0, 5);
    ASSERT_TRUE(Open(b));
    const Array<DefinedName>& names = CurrentWorkbook()->names;
    ASSERT_EQ(names.Count(), 3u);
    EXPECT_EQ(Narrow(names[0].text), "Whole");
    EXPECT_EQ(names[0].flags, 1u);
    EXPECT_EQ(names[0].sheet, 0u);
    EXPECT_EQ(names[1].sheet, 2u);
    EXPECT_EQ(names[2].sheet, 1u);
    EXPECT_EQ(names[2].tokens.bytes, nullptr);
    // A distance of one row up wraps.
    ASSERT_EQ(names[1].tokens.length, 5u);
    EXPECT_EQ(names[1].tokens.bytes[1], 0xFF);
    EXPECT_EQ(names[1].tokens.bytes[2], 0xFF);
    EXPECT_EQ(FormulaOf("A1"), "=SUM(Whole)");
    MarkAllStale();
    EXPECT_EQ(Shown("A1"), "9");
}

TEST_F(PocketReading, NamesMayStandInFrontOfTheSheets) {
    PocketBuilder b;
    const auto name = [&](std::u16string_view text, u16 tab) {
        b.Record(24, {{0, 2}, {text.size(), 1}, {18, 2}, {0xFFFF, 2}}).Text(text);
        b.Record(0x5A, {{0xFFFF, 2}, {0, 8}, {tab, 2}, {tab, 2}, {0, 2}, {0, 1}});
    };
    b.Bof(5);
    name(u"Second", 1);
    name(u"Never", 2);
    b.Sheet(u"One").Sheet(u"Two").Record(10, {}).Bof(16);
    b.Formula(0, 0, {0x43, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0);
    b.Formula(0, 1, {0x43, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 0);
    b.Bof(16).Number(0, 0, 0, 6);
    ASSERT_TRUE(Open(b));
    MarkAllStale();
    EXPECT_EQ(Shown("A1"), "6");
    EXPECT_EQ(Shown("B1"), "#REF!");
}

TEST_F(PocketReading, CellFormatsStandFromRow21OnAndTheFirstIsTheDefault) {
    PocketBuilder b;
    b.Bof(5).Xf({{10, 1}}).Xf({{10, 2}}).Xf({{10, 3}}).Sheet(u"S").Record(10, {}).Bof(16);
    b.Number(0, 0, 0, 1).Number(0, 1, 1, 1).Number(0, 2, 2, 1).Number(0, 3, 3, 1).Number(0, 4, 0xFFFF, 1);
    ASSERT_TRUE(Open(b));
    EXPECT_EQ(CurrentWorkbook()->cellFormats.Count(), 23u);
    EXPECT_EQ(CellAtName("A1")->format, 15u);
    EXPECT_EQ(CellAtName("B1")->format, 21u);
    EXPECT_EQ(CellAtName("C1")->format, 22u);
    EXPECT_EQ(CellAtName("D1")->format, 15u);
    EXPECT_EQ(CellAtName("E1")->format, 15u);
    EXPECT_EQ(FormatOf("A1").horizontal, 1);
    EXPECT_EQ(FormatOf("B1").horizontal, 2);
    EXPECT_EQ(FormatOf("C1").horizontal, 3);
    // A file without formats leaves those of a new book.
    ASSERT_TRUE(Open(PocketBuilder().OneSheet().Number(0, 0, 0, 1).Number(0, 1, 1, 1)));
    EXPECT_EQ(CurrentWorkbook()->cellFormats.Count(), 21u);
    EXPECT_EQ(CellAtName("B1")->format, 15u);
}

TEST_F(PocketReading, FieldsOfACellFormat) {
    PocketBuilder b;
    b.Bof(5);
    b.Xf({{0, 1},
          {8, 0x0E},
          {10, 0x1A},
          {11, 0x05},
          {12, 2},
          {14, 3},
          {16, 1},
          {17, 2},
          {18, 3},
          {19, 255},
          {20, 2},
          {21, 9}});
    b.Xf({{8, 0}, {10, 0x30}, {11, 0x0A}, {12, 255}, {14, 254}, {15, 1}, {20, 3}});
    b.Xf({{12, 10}, {14, 255}, {20, 1}});
    b.Sheet(u"S").Record(10, {}).Bof(16).Number(0, 0, 0, 1).Number(0, 1, 1, 1).Number(0, 2, 2, 1);
    ASSERT_TRUE(Open(b));
    const CellFormat& a = FormatOf("A1");
    EXPECT_EQ(a.font, 1);
    EXPECT_EQ(a.flags, FORMAT_LOCKED | FORMAT_HIDDEN | FORMAT_QUOTE_PREFIX | FORMAT_WRAP);
    EXPECT_EQ(a.horizontal, 2);
    EXPECT_EQ(a.vertical, 0);
    EXPECT_EQ(a.rotation, 0);
    EXPECT_EQ(a.topStyle, 1);
    EXPECT_EQ(a.leftStyle, 0);
    EXPECT_EQ(a.bottomStyle, 1);
    EXPECT_EQ(a.rightStyle, 0);
    EXPECT_EQ(a.patternColour, 10);
    EXPECT_EQ(a.backColour, 11);
    EXPECT_EQ(a.topColour, 9);
    EXPECT_EQ(a.leftColour, 10);
    EXPECT_EQ(a.bottomColour, 11);
    EXPECT_EQ(a.pattern, 2);
    EXPECT_EQ(a.spare, 9);
    const CellFormat& other = FormatOf("B1");
    EXPECT_EQ(other.flags, 0);
    EXPECT_EQ(other.vertical, 2);
    EXPECT_EQ(other.topStyle, 0);
    EXPECT_EQ(other.leftStyle, 1);
    EXPECT_EQ(other.bottomStyle, 0);
    EXPECT_EQ(other.rightStyle, 1);
    EXPECT_EQ(other.patternColour, 64);
    EXPECT_EQ(other.backColour, 65);
    // A solid cell shows its back colour: the fore colour of the file.
    EXPECT_EQ(FormatOf("C1").backColour, 18);
    EXPECT_EQ(FormatOf("C1").patternColour, 65);
    EXPECT_EQ(FormatOf("C1").vertical, 2);
}

TEST_F(PocketReading, ABorderColourOf255Wraps) {
    PocketBuilder b;
    b.Bof(5).Xf({{16, 255}, {17, 255}, {18, 255}, {19, 255}}).Sheet(u"S").Bof(16).Number(0, 0, 0, 1);
    ASSERT_TRUE(Open(b));
    const CellFormat& format = FormatOf("A1");
    EXPECT_EQ(format.topColour, 7);
    EXPECT_EQ(format.leftColour, 7);
    EXPECT_EQ(format.bottomColour, 7);
    EXPECT_EQ(format.rightColour, 7);
}

// The number format of a cell whose format has that code.
std::string TextOfCode(u32 code, const PocketBuilder& own = {}) {
    PocketBuilder b;
    b.Bof(5).Raw(own.bytes).Xf({}).Xf({{2, static_cast<u8>(code)}, {3, static_cast<u8>(code >> 8)}});
    b.Sheet(u"S").Bof(16).Number(0, 0, 1, 1);
    ResetBooks();
    EXPECT_TRUE(OpenFileFromMemory(u"a.pxl", b.bytes, 0));
    const Workbook& book = *CurrentWorkbook();
    const u16 id = ResolveCellFormat(book, GetCell(CurrentSheet()->cells, 0, 0)->format).numberFormat;
    EXPECT_LT(FindNumberFormat(book, id), book.numberFormats.Count());
    return Narrow(GetNumberFormatText(book, id));
}

TEST_F(PocketReading, FormatCodes) {
    struct Row {
        u32 code;
        const char* text;
    };
    const Row rows[] = {{0, "General"},
                        {1, "0.00"},
                        {2, "0.00_);(0.00)"},
                        {7, "0"},
                        {8, "0_);(0)"},
                        {9, "\"$\"#,##0.00"},
                        {11, "\"$\"#,##0"},
                        {17, "m/d"},
                        {21, "dd-mmm-yy"},
                        {22, "dd\\-mmm\\-yy"},
                        {25, "mmmm\\ d\\,\\ yyyy"},
                        {26, "m/d/yy\\ h:mm\\ AM/PM"},
                        {33, "0%"},
                        {36, "#\\ ?\?\?/?\?\?"},
                        {38, "0.E+00"},
                        {39, "@"},
                        {42, "General"},
                        {46, "General"},
                        {48, "yyyy/m/d h:mm AM/PM"},
                        {52, "yy-mm-dd"},
                        {53, "d\\.m"},
                        {56, "d\\. mmm"},
                        {59, "mmm-yy"},
                        {64, "dd mm yy"},
                        {71, "d \\d\\e mmmm \\d\\e yyyy"},
                        {72, "General"},
                        {150, "General"},
                        {232, "General"},
                        {233, "General"}};
    for (const Row& row : rows) EXPECT_EQ(TextOfCode(row.code), row.text) << row.code;
    // Every code has a format.
    for (u32 code = 0; code < 300; ++code) EXPECT_NE(TextOfCode(code), "") << code;
}

TEST_F(PocketReading, FormatsOfTheFileByArrival) {
    PocketBuilder own;
    own.Record(30, {{5, 1}})
        .Text(u"0.000")
        .Record(30, {{7, 1}})
        .Text(u"GENERAL")
        .Record(30, {{4, 1}})
        .Text(u"0.00");
    EXPECT_EQ(TextOfCode(233, own), "0.000");
    EXPECT_EQ(TextOfCode(234, own), "General");
    EXPECT_EQ(TextOfCode(235, own), "0.00");
    EXPECT_EQ(TextOfCode(236, own), "General");
    PocketBuilder many;
    for (u16 i = 0; i < 100; ++i) many.Record(30, {{2, 1}, {'0', 2}, {0x4E00u + i, 2}});
    EXPECT_EQ(TextOfCode(233 + 99, many), Narrow(std::u16string{u'0', 0x4E00 + 99}));
}

TEST_F(PocketReading, Fonts) {
    PocketBuilder b;
    b.Bof(5);
    const auto font = [&](u32 colour, std::u16string_view name) {
        b.Record(49, {{240, 2},
                      {10, 2},
                      {colour, 2},
                      {700, 2},
                      {0, 2},
                      {1, 1},
                      {2, 1},
                      {134, 1},
                      {0, 1},
                      {name.size(), 1}})
            .Text(name);
    };
    font(255, u"Tahoma");
    font(2, std::u16string(40, u'x'));
    font(0xFFFF, u"");
    b.Sheet(u"S");
    ASSERT_TRUE(Open(b));
    const Array<FontRecord>& fonts = CurrentWorkbook()->fonts;
    ASSERT_EQ(fonts.Count(), 3u);
    EXPECT_EQ(fonts[0].height, 240);
    EXPECT_EQ(fonts[0].attributes, 10);
    EXPECT_EQ(fonts[0].colour, 32767);
    EXPECT_EQ(fonts[0].weight, 700);
    EXPECT_EQ(fonts[0].underline, 1);
    EXPECT_EQ(fonts[0].charSet, 134);
    EXPECT_EQ(Narrow(fonts[0].faceName), "Tahoma");
    EXPECT_EQ(fonts[1].colour, 10);
    EXPECT_EQ(WideView(fonts[1].faceName).size(), 31u);
    EXPECT_EQ(fonts[2].colour, 7);
    // A file without fonts leaves those of a new book.
    ASSERT_TRUE(Open(PocketBuilder().OneSheet()));
    EXPECT_EQ(CurrentWorkbook()->fonts.Count(), 4u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    // A format whose font the file does not have takes the first one.
    PocketBuilder lacking;
    lacking.Bof(5).Record(49, {{200, 2}, {0, 13}}).Xf({{0, 9}}).Sheet(u"S").Bof(16).Number(0, 0, 0, 1);
    ASSERT_TRUE(Open(lacking));
    EXPECT_EQ(FormatOf("A1").font, 0);
    EXPECT_EQ(CurrentWorkbook()->cellFormats[16].font, 0);
}

TEST_F(PocketReading, FieldsOfTheBook) {
    PocketBuilder b;
    b.Bof(5).Record(66, {{1252, 2}}).Record(140, {{86, 2}, {49, 2}}).Record(160, {{3, 2}, {2, 2}});
    b.Record(61, {{31, 2}, {1, 2}}).Sheet(u"One").Sheet(u"Two").Record(10, {});
    b.Bof(16).Record(10, {}).Bof(16).Record(160, {{1, 2}, {2, 2}});
    ASSERT_TRUE(Open(b));
    const Workbook& book = *CurrentWorkbook();
    EXPECT_EQ(book.biffVersion, 8);
    EXPECT_EQ(book.fileCodePage, 1252);
    EXPECT_EQ(book.codePage, 1252);
    EXPECT_EQ(book.country[0], 86);
    EXPECT_EQ(book.country[1], 49);
    EXPECT_EQ(book.currentSheet, 1);
    EXPECT_EQ(book.sheets[0]->zoomPercent, 150);
    EXPECT_EQ(book.sheets[1]->zoomPercent, 150);
    // Without a zoom of the book each sheet has its own.
    PocketBuilder own;
    own.Bof(5).Sheet(u"One").Sheet(u"Two").Record(61, {{31, 2}, {9, 2}});
    own.Bof(16)
        .Record(160, {{1, 2}, {100, 2}})
        .Bof(16)
        .Record(160, {{1, 2}, {2, 2}})
        .Bof(16)
        .Record(160, {{9, 2}, {1, 2}});
    ASSERT_TRUE(Open(own));
    EXPECT_EQ(CurrentWorkbook()->sheets[0]->zoomPercent, 10);
    EXPECT_EQ(CurrentWorkbook()->sheets[1]->zoomPercent, 50);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    // A page that cannot be converted is kept for the file alone.
    ASSERT_TRUE(Open(PocketBuilder().Bof(5).Record(66, {{77, 2}})));
    EXPECT_EQ(CurrentWorkbook()->fileCodePage, 77);
    EXPECT_NE(CurrentWorkbook()->codePage, 77);
}

TEST_F(PocketReading, RowsColumnsAndDefaults) {
    PocketBuilder b;
    b.Bof(5).Xf({}).Xf({}).Sheet(u"S").Bof(16);
    b.Record(37, {{0, 2}, {300, 2}}).Record(85, {{0, 2}, {2560, 2}, {0, 2}});
    b.Record(8, {{4, 2}, {0x8000 + 400, 2}, {1, 2}, {0, 2}}).Record(8, {{2, 2}, {500, 2}, {2, 2}, {0, 2}});
    b.Record(125, {{1, 2}, {3, 2}, {1000, 2}, {1, 2}, {1, 1}})
        .Record(125, {{255, 2}, {256, 2}, {70, 2}, {0, 2}, {0, 1}});
    ASSERT_TRUE(Open(b));
    const Sheet& sheet = *CurrentSheet();
    EXPECT_EQ(DefaultRowHeight(sheet), 300);
    EXPECT_EQ(DefaultColumnWidth(sheet), 2560);
    u16 flags = 0, format = 0;
    EXPECT_EQ(GetRowInfo(sheet.rows, 4, flags), 400);
    EXPECT_EQ(flags, ROW_HIDDEN);
    EXPECT_EQ(GetRowInfo(sheet.rows, 2, flags), 500);
    EXPECT_EQ(flags, ROW_CUSTOM_HEIGHT);
    EXPECT_EQ(sheet.rows[0].row, 2);
    for (i32 column : {1, 2, 3}) {
        EXPECT_EQ(GetColumnInfo(sheet.columns, column, flags, format), 1000);
        EXPECT_EQ(flags, COLUMN_HIDDEN);
        EXPECT_EQ(format, 21);
    }
    GetColumnInfo(sheet.columns, 4, flags, format);
    EXPECT_EQ(flags, COLUMN_DEFAULT_WIDTH);
    EXPECT_EQ(sheet.columns.Count(), 3u);
}

TEST_F(PocketReading, ViewsOfASheet) {
    const auto view = [](u8 flags) {
        PocketBuilder b;
        b.OneSheet().Record(62, {{7, 2}, {3, 1}, {flags, 1}, {0, 1}});
        b.Record(65, {{2, 2}, {4, 2}, {30, 2}, {20, 2}, {0, 1}});
        b.Record(29, {{5, 2}, {6, 1}, {9, 2}, {4, 2}, {7, 1}, {6, 1}});
        return Open(b);
    };
    const auto shown = [] { return CurrentSheet()->viewFlags & 15; };
    ASSERT_TRUE(view(0));
    EXPECT_EQ(shown(), VIEW_GRIDLINES | VIEW_HEADERS);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 7);
    EXPECT_EQ(CurrentSheet()->view.firstColumn, 3);
    EXPECT_EQ(CurrentSheet()->view.splitRow, 0);
    EXPECT_EQ(CurrentSheet()->view.activeRow, 5);
    EXPECT_EQ(CurrentSheet()->view.activeColumn, 6);
    EXPECT_EQ(CurrentSheet()->view.selection, (RefArea{4, 9, 6, 7}));
    ASSERT_TRUE(view(1 | 2));
    EXPECT_EQ(shown(), VIEW_FORMULAS | VIEW_HEADERS);
    ASSERT_TRUE(view(4));
    EXPECT_EQ(shown(), VIEW_GRIDLINES);
    ASSERT_TRUE(view(8));
    EXPECT_EQ(shown(), VIEW_GRIDLINES | VIEW_HEADERS | VIEW_FROZEN);
    EXPECT_EQ(CurrentSheet()->view.frozenFirstRow, 7);
    EXPECT_EQ(CurrentSheet()->view.frozenFirstColumn, 3);
    EXPECT_EQ(CurrentSheet()->view.splitRow, 11);
    EXPECT_EQ(CurrentSheet()->view.splitColumn, 5);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 30);
    EXPECT_EQ(CurrentSheet()->view.firstColumn, 20);
}

TEST_F(PocketReading, AnUnknownIdIsOneByte) {
    PocketBuilder b;
    b.OneSheet().Raw({2, 0, 255, 100, 200}).Number(0, 0, 0, 8).Raw({11}).Number(0, 1, 0, 9);
    ASSERT_TRUE(Open(b));
    EXPECT_EQ(Shown("A1"), "8");
    EXPECT_EQ(Shown("B1"), "9");
}

TEST_F(PocketReading, APasswordIsRefused) {
    PocketBuilder b;
    b.OneSheet().Number(0, 0, 0, 1).Record(47, {});
    ResetBooks();
    EXPECT_FALSE(Open(b.bytes));
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "This file is password protected");
    EXPECT_EQ(Books().books.Count(), 0u);
}

TEST_F(PocketReading, WhatTheEndOfTheFileCutsOffIsLeftOut) {
    PocketBuilder b;
    b.OneSheet().Number(0, 0, 0, 1);
    const std::size_t whole = b.bytes.size();
    b.Number(0, 0, 0, 2);
    for (std::size_t size = whole; size < b.bytes.size(); ++size) {
        ResetBooks();
        ASSERT_TRUE(
            Open(std::vector<u8>(b.bytes.begin(), b.bytes.begin() + static_cast<std::ptrdiff_t>(size))));
        EXPECT_EQ(Shown("A1"), "1");
    }
    // A text goes as far as the file; a formula without its last tokens is its value.
    PocketBuilder text;
    text.OneSheet().Record(4, {{0, 2}, {0, 1}, {0, 2}, {5, 2}}).Text(u"ab").Raw({'c'});
    ASSERT_TRUE(Open(text));
    EXPECT_EQ(Shown("A1"), "ab");
    PocketBuilder formula;
    formula.OneSheet().Formula(0, 0, {0x44, 0, 0xC0, 0, 0x1E, 3}, 15);
    formula.bytes[formula.bytes.size() - 8] = 9;
    ASSERT_TRUE(Open(formula));
    EXPECT_EQ(CellAtName("A1")->formula, nullptr);
    EXPECT_EQ(Shown("A1"), "15");
}

TEST_F(PocketReading, SheetRecordsOutsideTheSheetsHaveNoPlace) {
    PocketBuilder b;
    b.Bof(5).Number(0, 0, 0, 1).Label(0, 1, 0, u"x").Sheet(u"S").Formula(0, 2, {0x1E, 3, 0}, 3);
    b.Record(8, {{4, 2}, {400, 2}, {1, 2}, {0, 2}}).Bof(16).Number(1, 0, 0, 4).Bof(16).Number(2, 0, 0, 5);
    b.Label(3, 0, 0, u"y").Record(7, {{1, 2}}).Text(u"z").Record(29, {{0, 9}});
    ASSERT_TRUE(Open(b));
    EXPECT_EQ(CurrentSheet()->cells.count, 1u);
    EXPECT_EQ(Shown("A2"), "4");
    EXPECT_TRUE(CurrentSheet()->rows.IsEmpty());
}

// A whole file of every record, for what damages it.
PocketBuilder EveryRecord() {
    PocketBuilder b;
    b.Bof(5).Record(66, {{1252, 2}}).Record(140, {{1, 2}, {1, 2}}).Record(160, {{3, 2}, {2, 2}});
    b.Record(61, {{31, 2}, {1, 2}});
    b.Record(49, {{200, 2}, {0, 2}, {255, 2}, {400, 2}, {0, 2}, {0, 1}, {0, 1}, {0, 1}, {0, 1}, {5, 1}})
        .Text(u"Arial");
    b.Record(30, {{5, 1}}).Text(u"0.000").Xf({}).Xf({{2, 233}}).Xf({{2, 26}});
    b.Sheet(u"One").Sheet(u"Two");
    b.Record(24, {{0, 2}, {3, 1}, {18, 2}, {0xFFFF, 2}}).Text(u"Rat");
    b.Raw({0x5A, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, 0});
    b.Record(10, {}).Bof(16).Record(37, {{0, 2}, {300, 2}}).Record(85, {{0, 2}, {2560, 2}, {0, 2}});
    b.Record(125, {{1, 2}, {3, 2}, {1000, 2}, {1, 2}, {1, 1}}).Record(8, {{4, 2}, {400, 2}, {1, 2}, {0, 2}});
    b.Record(1, {{0, 2}, {0, 1}, {1, 2}}).Number(0, 1, 1, 2.5).Label(0, 2, 0, u"text");
    b.Record(5, {{0, 2}, {3, 1}, {0, 2}, {1, 1}, {0, 1}});
    b.Formula(1, 0, {0x23, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x44, 0, 0xC0, 1, 3}, 4);
    b.Formula(1, 1, {0x17, 2, 1, 'a', 0, 'b', 0}, std::bit_cast<double>(0xFFFFull << 48))
        .Record(7, {{2, 2}})
        .Text(u"ab");
    b.Record(62, {{7, 2}, {3, 1}, {8, 1}, {0, 1}}).Record(65, {{2, 2}, {4, 2}, {30, 2}, {20, 2}, {0, 1}});
    b.Record(29, {{5, 2}, {6, 1}, {4, 2}, {9, 2}, {6, 1}, {7, 1}}).Record(10, {});
    b.Bof(16).Number(0, 0, 2, 1.5).Record(10, {});
    return b;
}

TEST_F(PocketReading, DamagedFilesEndCleanly) {
    const PocketBuilder whole = EveryRecord();
    ASSERT_TRUE(Open(whole));
    EXPECT_EQ(FormulaOf("A2"), "");
    BookAt(0)->currentSheet = 0;
    EXPECT_EQ(FormulaOf("A2"), "=Rat+B1");
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::vector<u8> bytes = whole.bytes;
        for (u32 i = 0; i <= random() % 4; ++i) bytes[random() % bytes.size()] = static_cast<u8>(random());
        if (round % 3 == 0)
            bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(random() % bytes.size()), bytes.end());
        ResetBooks();
        Headless().boxes.Clear();
        if (!Open(bytes)) {
            EXPECT_EQ(Headless().boxes.Count(), 1u);
            continue;
        }
        MarkAllStale();
        CalculateBook(CurrentBook());
    }
}

TEST_F(PocketReading, AnyFailedAllocationLeavesNoBook) {
    const PocketBuilder whole = EveryRecord();
    ResetBooks();
    bool done = false;
    for (u64 n = 1; !done; ++n) {
        ASSERT_LT(n, 5000u);
        test::FailingAllocator allocator(n);
        {
            QuietMemoryScope quiet;
            if (!OpenFileFromMemory(u"m.pxl", whole.bytes, 0)) EXPECT_EQ(Books().books.Count(), 0u);
            ResetBooks();
            DropDependents();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
        done = !allocator.HasFailed();
    }
}

// What three bytes of a file can cost has a bound.
TEST_F(PocketReading, SheetsWithoutEndStayWithinBounds) {
    PocketBuilder b;
    b.Bof(5);
    for (int i = 0; i < 40000; ++i) b.Record(133, {{0, 2}});
    ASSERT_TRUE(Open(b));
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 20000 + b.bytes.size() / 125);
}

TEST_F(PocketReading, FormatsWithoutEndStayWithinBounds) {
    PocketBuilder b;
    b.Bof(5);
    for (u32 i = 1; i < 60000; ++i) b.Record(30, {{2, 1}, {'0', 2}, {i, 2}});
    b.Xf({}).Xf({{2, 235}}).Sheet(u"S").Bof(16).Number(0, 0, 1, 1);
    ASSERT_TRUE(Open(b));
    EXPECT_LT(CurrentWorkbook()->numberFormats.Count(), 17000u);
    EXPECT_GT(FormatOf("A1").numberFormat, 49);
}

TEST_F(PocketReading, LinksWithoutEndStayWithinBounds) {
    PocketBuilder b;
    b.Bof(5);
    for (char16_t i = 0; i < 200; ++i) b.Sheet(std::u16string(1, u'A' + i));
    b.Bof(16);
    for (u32 i = 0; i < 40000; ++i) {
        b.Record(6, {{i / 2, 2}, {i % 2, 1}, {0, 2}, {0, 8}, {0, 1}, {18, 2}});
        b.Record(0x5A, {{0xFFFF, 2}, {0, 8}, {i % 200, 2}, {i / 200, 2}, {0, 2}, {0, 1}});
    }
    ASSERT_TRUE(Open(b));
    EXPECT_LT(CurrentWorkbook()->externSheets.Count(), 30002u);
    EXPECT_EQ(FormulaOf("A2"), "=C:A!$A$1");
    EXPECT_EQ(FormulaOf("B20000"), "=#REF!$A$1");
}

}  // namespace
}  // namespace tally
