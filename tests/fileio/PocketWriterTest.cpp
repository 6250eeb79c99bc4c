#include <algorithm>
#include <bit>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "fileio/SaveFile.h"
#include "fileio/pocket/PocketFormats.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/MemoryFiles.h"
#include "support/BookDump.h"
#include "support/FailingAllocator.h"
#include "support/PocketBuilder.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class PocketWriting : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        Headless().filesInMemory = true;
    }
    // The current book as a file; `losses` gets what was left out.
    static std::vector<u8> Saved(WideView path = u"out.pxl") {
        losses = 0;
        EXPECT_TRUE(WriteBookFile(CurrentBook(), path, FileTypeOf(path), losses));
        const MemoryFile* file = FindMemoryFile(path);
        return file ? std::vector<u8>(file->bytes.begin(), file->bytes.end()) : std::vector<u8>();
    }
    static void Reopen() {
        const std::vector<u8> bytes = Saved();
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"again.pxl", bytes, OPEN_SILENT_LINKS));
    }
    static void AddSheet(WideView name, i32 kind = SHEET_WORKSHEET) {
        ASSERT_TRUE(
            InsertSheet(static_cast<i32>(CurrentWorkbook()->sheets.Count()), &name, kind, false, false));
    }
    static void SetLook(std::string_view cell, const std::function<void(CellFormat&)>& change) {
        CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
        change(format);
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        CellAtName(cell)->format = index;
    }
    static inline u32 losses = 0;
};

// A book whose tables hold little, so that the whole file can be told.
void MakeSmallBook() {
    Workbook& book = *CurrentWorkbook();
    book.fonts.Truncate(1);
    FontRecord& font = book.fonts[0];
    font = FontRecord();
    std::copy_n(u"Arial", 5, font.faceName);
    font.family = 2;
    font.charSet = 1;
    font.underline = 1;
    book.numberFormats.Truncate(3);
    u16 id = 0;
    EXPECT_TRUE(FindOrAddNumberFormat(book, u"0.000", id));
    EXPECT_TRUE(FindOrAddNumberFormat(book, u"m/d", id));
    EXPECT_TRUE(FindOrAddNumberFormat(book, u"0.0000", id));
    CellFormat format;
    format.numberFormat = id;
    EXPECT_TRUE(FindOrAddCellFormat(book, format, id));
    book.fileCodePage = 936;
    book.country[0] = 86;
    book.country[1] = 49;
}

TEST_F(PocketWriting, TheBytesOfASmallFile) {
    MakeSmallBook();
    Enter("A1", "1.5");
    Enter("B1", "=A1*2");
    Enter("A2", "中a");
    Enter("C2", "TRUE");
    Enter("D2", "#N/A");
    Enter("E2", "=\"x\"&A2");
    CellAtName("A1")->format = 21;
    Sheet& sheet = *CurrentSheet();
    sheet.zoomPercent = 150;
    RowInfo row = {3, ROW_HIDDEN | ROW_CUSTOM_HEIGHT, 500};
    ASSERT_TRUE(SetRowInfo(sheet.rows, row));
    for (u8 column : {u8{2}, u8{3}})
        ASSERT_TRUE(SetColumnInfo(sheet.columns, {column, COLUMN_HIDDEN, 1000, 21}));
    sheet.view.activeRow = 1;
    sheet.view.activeColumn = 2;
    sheet.view.selection = {1, 4, 2, 3};
    sheet.view.firstRow = 7;
    sheet.view.firstColumn = 3;

    PocketBuilder b;
    b.Bof(5).Record(66, {{936, 2}}).Record(140, {{86, 2}, {49, 2}}).Record(160, {{3, 2}, {2, 2}});
    b.Record(61, {{31, 2}, {0, 2}});
    b.Record(49, {{200, 2}, {0, 2}, {255, 2}, {400, 2}, {0, 2}, {1, 1}, {2, 1}, {1, 1}, {0, 1}, {5, 1}})
        .Text(u"Arial");
    b.Record(30, {{5, 1}}).Text(u"0.000").Record(30, {{6, 1}}).Text(u"0.0000");
    const auto xf = [&](u8 code) {
        b.Xf({{2, code},
              {4, 255},
              {5, 255},
              {6, 255},
              {7, 255},
              {8, 2},
              {10, 0x30},
              {12, 56},
              {14, 57},
              {16, 56},
              {17, 56},
              {18, 56},
              {19, 56}});
    };
    xf(0);
    xf(234);
    b.Sheet(u"Sheet1").Record(10, {});
    b.Bof(16).Record(37, {{0, 2}, {255, 2}}).Record(85, {{0, 2}, {2048, 2}, {0, 2}});
    b.Record(125, {{2, 2}, {3, 2}, {1000, 2}, {1, 2}, {1, 1}}).Record(8, {{3, 2}, {500, 2}, {3, 2}, {0, 2}});
    b.Number(0, 0, 1, 1.5).Formula(0, 1, {0x44, 0, 0xC0, 0, 0x1E, 2, 0, 5}, 3).Label(1, 0, 0, u"中a");
    b.Record(5, {{1, 2}, {2, 1}, {0, 2}, {1, 1}, {0, 1}}).Record(5, {{1, 2}, {3, 1}, {0, 2}, {42, 1}, {1, 1}});
    b.Formula(1, 4, {0x17, 1, 1, 'x', 0, 0x44, 1, 0xC0, 0, 8}, std::bit_cast<double>(0xFFFFull << 48));
    b.Record(7, {{3, 2}}).Text(u"x中a");
    b.Record(62, {{7, 2}, {3, 1}, {0, 1}, {0, 1}}).Record(29, {{1, 2}, {2, 1}, {1, 2}, {4, 2}, {2, 1}, {3, 1}});
    b.Record(10, {});
    EXPECT_EQ(Saved(), b.bytes);
    EXPECT_EQ(losses, 0u);
    EXPECT_EQ(Saved(u"out.pxt"), b.bytes);
}

TEST_F(PocketWriting, WhatIsOrdinaryIsLeftOut) {
    MakeSmallBook();
    CurrentWorkbook()->country[0] = CurrentWorkbook()->country[1] = 0;
    PocketBuilder b;
    b.Bof(5).Record(66, {{936, 2}}).Record(61, {{31, 2}, {0, 2}}).Record(49, {{200, 2}});
    const std::vector<u8> bytes = Saved();
    EXPECT_TRUE(std::equal(b.bytes.begin(), b.bytes.end(), bytes.begin()));
}

TEST_F(PocketWriting, EmptyResultsAndBlankCells) {
    Enter("A1", "=B9");
    Enter("A2", "x");
    CellAtName("A1")->value = Value();
    FreeCellContents(CurrentSheet()->cells, *CellAtName("A2"));
    const std::vector<u8> bytes = Saved();
    PocketBuilder b;
    b.Formula(0, 0, {0x44, 8, 0xC0, 1}, 0).Record(1, {{1, 2}, {0, 1}, {0, 2}});
    EXPECT_NE(std::search(bytes.begin(), bytes.end(), b.bytes.begin(), b.bytes.end()), bytes.end());
}

TEST_F(PocketWriting, EveryCodeComesBackAsItsFormat) {
    const std::span<const PocketNumberFormat> codes = PocketNumberFormats();
    for (u32 i = 0; i < codes.size(); ++i) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        u16 id = codes[i].id;
        if (id == POCKET_TEXT_FORMAT) ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), codes[i].text, id));
        const std::string text = Narrow(GetNumberFormatText(*CurrentWorkbook(), id));
        Enter("A1", "1");
        SetLook("A1", [&](CellFormat& format) { format.numberFormat = id; });
        const std::vector<u8> bytes = Saved();
        // No FORMAT record is needed: the first own code does not occur.
        const auto first = std::find_if(codes.begin(), codes.end(), [&](const PocketNumberFormat& row) {
            return row.id == codes[i].id && row.text == codes[i].text;
        });
        const u8 code = static_cast<u8>(first - codes.begin());
        PocketBuilder xf;
        xf.Record(224, {{0, 2}, {code, 2}, {0xFFFFFFFF, 4}, {2, 2}});
        EXPECT_NE(std::search(bytes.begin(), bytes.end(), xf.bytes.begin(), xf.bytes.end()), bytes.end()) << i;
        Reopen();
        const u16 back = ResolveCellFormat(*CurrentWorkbook(), CellAtName("A1")->format).numberFormat;
        EXPECT_EQ(Narrow(GetNumberFormatText(*CurrentWorkbook(), back)), text) << i;
    }
}

TEST_F(PocketWriting, AChangedBuiltInFormatGoesByItsText) {
    Enter("A1", "1");
    SetLook("A1", [](CellFormat& format) { format.numberFormat = 2; });
    ASSERT_TRUE(ReplaceNumberFormat(*CurrentWorkbook(), 2, u"0.00000"));
    Reopen();
    EXPECT_EQ(Shown("A1"), "1.00000");
}

TEST_F(PocketWriting, LooksOfCellsComeBack) {
    Enter("A1", "1");
    Enter("B1", "2");
    Enter("C1", "3");
    u16 font = 0;
    ASSERT_TRUE(FindOrAddFont(*CurrentWorkbook(), u"Tahoma", true, true, true, true, 300, 12, font));
    ASSERT_GE(font, 4);
    SetLook("A1", [&](CellFormat& format) {
        format.font = font;
        format.flags = FORMAT_HIDDEN | FORMAT_QUOTE_PREFIX | FORMAT_WRAP;
        format.horizontal = 3;
        format.vertical = 0;
        format.pattern = 1;
        format.backColour = 13;
        format.topStyle = format.bottomStyle = 1;
        format.topColour = 7;
        format.bottomColour = 63;
        format.spare = 5;
    });
    SetLook("B1", [&](CellFormat& format) {
        format.vertical = 4;
        format.pattern = 9;
        format.patternColour = 8;
        format.backColour = 2;
        format.leftStyle = format.rightStyle = 1;
    });
    SetLook("C1", [&](CellFormat& format) {
        format.rotation = 45;
        format.topStyle = 6;
    });
    Reopen();
    EXPECT_EQ(losses, LOSS_FORMATS);
    const Workbook& book = *CurrentWorkbook();
    const CellFormat& a = ResolveCellFormat(book, CellAtName("A1")->format);
    EXPECT_EQ(a.flags, FORMAT_HIDDEN | FORMAT_QUOTE_PREFIX | FORMAT_WRAP);
    EXPECT_EQ(a.horizontal, 3);
    EXPECT_EQ(a.vertical, 0);
    EXPECT_EQ(a.pattern, 1);
    EXPECT_EQ(a.patternColour, 64);
    EXPECT_EQ(a.backColour, 13);
    EXPECT_EQ(a.topStyle, 1);
    EXPECT_EQ(a.leftStyle, 0);
    EXPECT_EQ(a.bottomStyle, 1);
    EXPECT_EQ(a.rightStyle, 0);
    EXPECT_EQ(a.topColour, 7);
    EXPECT_EQ(a.bottomColour, 63);
    EXPECT_EQ(a.leftColour, 64);
    EXPECT_EQ(a.spare, 5);
    const FontRecord& tahoma = ResolveFont(book, a.font);
    EXPECT_EQ(Narrow(tahoma.faceName), "Tahoma");
    EXPECT_EQ(tahoma.height, 300);
    EXPECT_EQ(tahoma.colour, 12);
    EXPECT_EQ(tahoma.weight, 700);
    EXPECT_EQ(tahoma.underline, 1);
    EXPECT_EQ(tahoma.attributes, FONT_ITALIC | FONT_STRIKEOUT);
    const CellFormat& other = ResolveCellFormat(book, CellAtName("B1")->format);
    EXPECT_EQ(other.vertical, 4);
    EXPECT_EQ(other.pattern, 9);
    EXPECT_EQ(other.patternColour, 8);
    // The first colours of the palette are those from 8 on.
    EXPECT_EQ(other.backColour, 10);
    EXPECT_EQ(other.leftStyle, 1);
    EXPECT_EQ(other.rightStyle, 1);
    const CellFormat& third = ResolveCellFormat(book, CellAtName("C1")->format);
    EXPECT_EQ(third.rotation, 0);
    EXPECT_EQ(third.topStyle, 1);
}

TEST_F(PocketWriting, CellsWithFormatsBelowTheFirstOwnOneKeepTheirLook) {
    Enter("A1", "1");
    Enter("B1", "1");
    CurrentWorkbook()->cellFormats[3].horizontal = 2;
    CurrentWorkbook()->cellFormats[20].horizontal = 3;
    CellAtName("A1")->format = 3;
    CellAtName("B1")->format = 20;
    Reopen();
    EXPECT_EQ(ResolveCellFormat(*CurrentWorkbook(), CellAtName("A1")->format).horizontal, 2);
    EXPECT_EQ(ResolveCellFormat(*CurrentWorkbook(), CellAtName("B1")->format).horizontal, 3);
    EXPECT_EQ(ResolveCellFormat(*CurrentWorkbook(), CellAtName("B1")->format).numberFormat, 9);
    EXPECT_EQ(CurrentWorkbook()->cellFormats.Count(), 23u);
}

TEST_F(PocketWriting, FormulasThatHandheldsLackAreValues) {
    AddSheet(u"Macro", SHEET_MACRO);
    BookAt(0)->currentSheet = 0;
    Enter("A1", "3");
    Enter("A2", "4");
    DefineName("Rates", "={1,2}");
    DefineName("Area", "=Sheet1!$A$1:$A$2");
    DefineName("Both", "=Area+Rates");
    struct Row {
        const char* formula;
        bool kept;
    };
    const Row rows[] = {
        {"=A1+A2*2^3-50%", true},
        {"=SUM(A1:A2,A$1)", true},
        {"=IF(A1>2,\"yes\",\"no\")", true},
        {"=IF(A1>2,IF(A2>9,1,A2),CHOOSE(2,A1,A2,\"中\"))", true},
        {"=SUM(A:A)", true},
        {"=SUM(1:2)", true},
        {"=SUM(Area)", true},
        {"=Sheet1!A1", true},
        {"=-(A1)&TRUE", true},
        {"=INDEX(A1:A2,2)", true},
        {"=VLOOKUP(3,A1:A2,1,FALSE)", true},
        {"=SUM({1,2})", false},
        {"=AVERAGEA(A1:A2)", false},  // later than the form
        {"=SUM(Rates)", false},
        {"=SUM(Both)", false},
        {"=Macro!A1", false},
        {"=SUM(A1:A20000)", false},
        {"=A16385", false},
        {"=EDATE(A1,1)", false},  // an add-in's
        {"=ASC(\"x\")", false},   // without a working routine
    };
    for (u32 i = 0; i < std::size(rows); ++i) Enter("C" + std::to_string(i + 1), rows[i].formula);
    std::vector<std::string> shown;
    for (u32 i = 0; i < std::size(rows); ++i) shown.push_back(Shown("C" + std::to_string(i + 1)));
    Reopen();
    EXPECT_EQ(losses, LOSS_FORMULAS | LOSS_NAMES | LOSS_SHEET_KINDS);
    for (u32 i = 0; i < std::size(rows); ++i) {
        const std::string cell = "C" + std::to_string(i + 1);
        EXPECT_EQ(FormulaOf(cell), rows[i].kept ? rows[i].formula : "");
        EXPECT_EQ(Shown(cell), shown[i]) << rows[i].formula;
    }
    MarkAllStale();
    for (u32 i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(Shown("C" + std::to_string(i + 1)), shown[i]) << rows[i].formula;
    }
}

TEST_F(PocketWriting, ArrayFormulasAreValues) {
    Enter("A1", "3");
    Enter("B1", "=A1*2");
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{0, 0, 1, 1}, 0, 0}));
    Reopen();
    EXPECT_EQ(FormulaOf("B1"), "");
    EXPECT_EQ(Shown("B1"), "6");
    EXPECT_EQ(losses, LOSS_FORMULAS);
}

TEST_F(PocketWriting, SheetsAreNumberedWithoutTheOthers) {
    AddSheet(u"Macro", SHEET_MACRO);
    AddSheet(u"Chart", SHEET_CHART);
    AddSheet(u"Second");
    Enter("A1", "7");
    AddSheet(u"Third");
    Enter("A1", "9");
    Enter("A2", "=Second!A1+Sheet1!A1");
    Enter("A3", "=SUM(Second:Third!A1)");
    DefineName("Local", "=Third!$A$1", 5);
    DefineName("Lost", "=1", 2);
    Enter("A4", "=Local");
    EXPECT_EQ(Shown("A3"), "16");
    Reopen();
    EXPECT_EQ(losses, LOSS_SHEET_KINDS | LOSS_CHARTS | LOSS_NAMES);
    const Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.sheets.Count(), 3u);
    EXPECT_EQ(book.currentSheet, 2);
    EXPECT_EQ(Narrow(book.sheets[1]->name), "Second");
    EXPECT_EQ(FormulaOf("A2"), "=Second!A1+Sheet1!A1");
    EXPECT_EQ(FormulaOf("A3"), "=SUM(Second:Third!A1)");
    ASSERT_EQ(book.names.Count(), 1u);
    EXPECT_EQ(Narrow(book.names[0].text), "Local");
    EXPECT_EQ(book.names[0].sheet, 3);
    EXPECT_EQ(FormulaOf("A4"), "=Local");
    MarkAllStale();
    EXPECT_EQ(Shown("A2"), "7");
    EXPECT_EQ(Shown("A3"), "16");
    EXPECT_EQ(Shown("A4"), "9");
}

TEST_F(PocketWriting, NamesComeBackWithTheirOffsetsAndNumbers) {
    DefineName("Gone", "={1}");
    DefineName("Below", "=A2");
    DefineName("Columns", "=Sheet1!$A:$B");
    Enter("B1", "=Below+SUM(Columns)");
    Enter("B3", "=Unknown");
    CurrentWorkbook()->names[1].flags = 1;
    Reopen();
    const Array<DefinedName>& names = CurrentWorkbook()->names;
    ASSERT_EQ(names.Count(), 3u);
    EXPECT_EQ(Narrow(names[0].text), "Below");
    EXPECT_EQ(names[0].flags, 1);
    EXPECT_EQ(names[0].sheet, 0);
    EXPECT_EQ(Narrow(names[2].text), "Unknown");
    EXPECT_EQ(names[2].tokens.bytes, nullptr);
    EXPECT_EQ(FormulaOf("B1"), "=Below+SUM(Columns)");
    EXPECT_EQ(FormulaOf("B3"), "=Unknown");
    EXPECT_EQ(Shown("B3"), "#NAME?");
}

TEST_F(PocketWriting, FrozenPanesComeBack) {
    Sheet& sheet = *CurrentSheet();
    sheet.viewFlags = static_cast<u16>((sheet.viewFlags & ~15) | VIEW_FORMULAS | VIEW_FROZEN);
    sheet.view.frozenFirstRow = 2;
    sheet.view.splitRow = 5;
    sheet.view.frozenFirstColumn = 1;
    sheet.view.splitColumn = 4;
    sheet.view.firstRow = 40;
    sheet.view.firstColumn = 30;
    const std::vector<u8> bytes = Saved();
    PocketBuilder b;
    b.Record(62, {{2, 2}, {1, 1}, {15, 1}, {1, 1}}).Record(65, {{3, 2}, {3, 2}, {40, 2}, {30, 2}, {0, 1}});
    EXPECT_NE(std::search(bytes.begin(), bytes.end(), b.bytes.begin(), b.bytes.end()), bytes.end());
    Reopen();
    const SheetView& view = CurrentSheet()->view;
    EXPECT_EQ(CurrentSheet()->viewFlags & 15, VIEW_FORMULAS | VIEW_FROZEN);
    EXPECT_EQ(view.frozenFirstRow, 2);
    EXPECT_EQ(view.splitRow, 5);
    EXPECT_EQ(view.splitColumn, 4);
    EXPECT_EQ(view.firstRow, 40);
    EXPECT_EQ(view.firstColumn, 30);
}

TEST_F(PocketWriting, WhatTheFormCannotHoldIsNamed) {
    struct Row {
        std::function<void(Workbook&, Sheet&)> change;
        u32 loss;
    };
    const Row rows[] = {
        {[](Workbook&, Sheet& s) {
             IgnoreFailure(s.mergedAreas.Append({0, 1, 0, 1}));
         },
         LOSS_MERGES},
        {[](Workbook&, Sheet& s) { IgnoreFailure(s.validations.AppendDefault()); }, LOSS_RULES},
        {[](Workbook&, Sheet& s) { IgnoreFailure(s.conditionalFormats.AppendDefault()); }, LOSS_RULES},
        {[](Workbook&, Sheet& s) { IgnoreFailure(s.hyperlinks.AppendDefault()); }, LOSS_HYPERLINKS},
        {[](Workbook&, Sheet& s) { IgnoreFailure(s.objects.AppendDefault()); }, LOSS_OBJECTS},
        {[](Workbook&, Sheet& s) { s.filterState = FILTER_AUTO; }, LOSS_FILTERS},
        {[](Workbook&, Sheet& s) { s.hidden = 1; }, LOSS_SHEET_STATE},
        {[](Workbook&, Sheet& s) { s.viewFlags |= VIEW_PROTECTED; }, LOSS_SHEET_STATE},
        {[](Workbook&, Sheet& s) { s.tabColour = 9; }, LOSS_SHEET_STATE},
        {[](Workbook&, Sheet& s) { IgnoreFailure(s.page.header.Assign(u"&P")); }, LOSS_PAGE},
        {[](Workbook& b, Sheet&) { b.date1904 = 1; }, LOSS_DATES},
        {[](Workbook&, Sheet&) {}, 0},
    };
    for (const Row& row : rows) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        row.change(*CurrentWorkbook(), *CurrentSheet());
        Saved();
        EXPECT_EQ(losses, row.loss);
        EXPECT_TRUE(!row.loss || !SaveLossText(row.loss).empty());
    }
}

TEST_F(PocketWriting, StaleCellsAreCalculatedOnTheWay) {
    Enter("A1", "=B1+1");
    Enter("B1", "4");
    MarkAllStale();
    Reopen();
    EXPECT_EQ(CellAtName("A1")->value.number, 5);
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_CURRENT);
}

TEST_F(PocketWriting, CellsOfEveryPlaceComeBack) {
    Enter("A1", "1");
    Enter("IV1", "text");
    Enter("A65536", "=A1");
    Enter("IV65536", "2");
    const auto before =
        DumpBook(CurrentBook(), DUMP_VALUES | DUMP_FORMULAS | DUMP_LOOKS | DUMP_SIZES | DUMP_VIEWS);
    Reopen();
    EXPECT_EQ(losses, 0u);
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook(), DUMP_VALUES | DUMP_FORMULAS | DUMP_LOOKS |
                                                                 DUMP_SIZES | DUMP_VIEWS)),
              "");
}

TEST_F(PocketWriting, AFailedWriteLeavesTheOldFileAndSaysSo) {
    Enter("A1", "new");
    const u8 old[] = {'o', 'l', 'd'};
    ASSERT_TRUE(PutMemoryFile(u"out.pxl", old));
    for (u32 n = 1; n <= 3; ++n) {
        Headless().boxes.Clear();
        Headless().failFileOperation = Headless().fileOperations + n;
        EXPECT_FALSE(WriteBookFile(CurrentBook(), u"out.pxl", FILE_PXL, losses));
        EXPECT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(FindMemoryFile(u"out.pxl")->bytes.Count(), 3u);
    }
    Headless().failFileOperation = 0;
    EXPECT_TRUE(WriteBookFile(CurrentBook(), u"out.pxl", FILE_PXL, losses));
}

TEST_F(PocketWriting, AnyFailedAllocationLeavesTheOldFile) {
    AddSheet(u"Second");
    DefineName("Area", "=Second!$A$1:$A$2");
    DefineName("Rates", "={1,2}");
    Enter("A1", "=SUM(Area)&\"中\"");
    Enter("A2", "=SUM(Rates)");
    Enter("B1", "text");
    u16 id = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), u"0.000", id));
    SetLook("B1", [&](CellFormat& format) { format.numberFormat = id; });
    const std::vector<u8> book = Saved();
    ResetBooks();
    const u8 old[] = {'o', 'l', 'd'};
    bool done = false;
    for (u64 n = 1; !done; ++n) {
        ASSERT_LT(n, 2000u);
        Headless().files.Clear();
        ResetMemoryFiles();
        test::FailingAllocator allocator;
        ASSERT_TRUE(OpenFileFromMemory(u"in.pxl", book, OPEN_SILENT_LINKS));
        MarkAllStale();
        ASSERT_TRUE(PutMemoryFile(u"out.pxl", old));
        allocator.FailAt(n);
        const bool good = WriteBookFile(CurrentBook(), u"out.pxl", FILE_PXL, losses);
        done = !allocator.HasFailed();
        allocator.StopFailing();
        EXPECT_EQ(FindMemoryFile(u"out.pxl")->bytes.Count() == sizeof old, !good) << n;
        EXPECT_EQ(good, done) << n;
        EXPECT_EQ(Headless().boxes.IsEmpty(), good);
        ResetBooks();
        DropDependents();
        Headless().files.Clear();
        Headless().boxes.Clear();
        ResetMemoryFiles();
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
}

namespace fs = std::filesystem;

// The lines of a dump without what the form keeps for the book alone or not at all: zoom, what the default
// height differs from, the file's own texts of formats that follow the region, and the name of the file.
std::vector<std::string> Comparable(std::vector<std::string> lines) {
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with("book ") || line.find(" filter ") != std::string::npos ||
               line.find("[1.") != std::string::npos;
    });
    for (std::string& line : lines) {
        const std::size_t zoom = line.find(" zoom ");
        if (zoom != std::string::npos) line.erase(zoom, line.find(' ', zoom + 6) - zoom);
        if (line.find(" default ") != std::string::npos) line.pop_back();
        const std::size_t look = line.find(" look ");
        const std::size_t format = look == std::string::npos ? look : line.find(" | ", look);
        if (format != std::string::npos) line.erase(format, line.rfind(" | ", line.rfind(" | ") - 9) - format);
        // The colours 0 to 7 come back as the equal ones from 8 on.
        int pattern = 0, fore = 0, back = 0;
        const std::size_t borders = line.rfind(" | ");
        const std::size_t fill = look == std::string::npos ? look : line.rfind(" | ", borders - 1);
        if (fill != std::string::npos &&
            std::sscanf(line.c_str() + fill, " | %d %d %d", &pattern, &fore, &back) == 3) {
            const std::string folded = " | " + std::to_string(pattern) + " " +
                                       std::to_string(fore < 8 ? fore + 8 : fore) + " " +
                                       std::to_string(back < 8 ? back + 8 : back);
            line.replace(fill, borders - fill, folded);
        }
    }
    return lines;
}

u32 PartsKept(u32 losses) {
    u32 parts = DUMP_VALUES | DUMP_VIEWS;
    if (!(losses & LOSS_FORMULAS)) parts |= DUMP_FORMULAS;
    if (!(losses & LOSS_FORMATS)) parts |= DUMP_LOOKS | DUMP_SIZES;
    if (!(losses & LOSS_NAMES)) parts |= DUMP_NAMES;
    return parts;
}

// Every workbook of a folder named by the environment comes back but for what the save has told.
TEST_F(PocketWriting, AFolderOfRealWorkbooks) {
    const char* folder = std::getenv("TALLYMAN_CORPUS");
    if (!folder) GTEST_SKIP() << "TALLYMAN_CORPUS is not set";
    int compared = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() != ".xls") continue;
        Headless().filesInMemory = false;
        Headless().boxes.Clear();
        ResetBooks();
        Array<u8> bytes;
        ASSERT_TRUE(Platform().readFile(Wide(entry.path().string()), bytes));
        if (!OpenFileFromMemory(u"1.xls", bytes.Span(), OPEN_SILENT_LINKS)) continue;
        Headless().filesInMemory = true;
        const std::vector<u8> first = Saved(u"1.pxl");
        EXPECT_EQ(Saved(u"2.pxl"), first) << entry.path();
        if (losses & (LOSS_SHEET_KINDS | LOSS_CHARTS)) continue;
        const u32 parts = PartsKept(losses);
        const auto before = Comparable(DumpBook(CurrentBook(), parts));
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"1.pxl", first, OPEN_SILENT_LINKS)) << entry.path();
        EXPECT_EQ(DumpDifference(before, Comparable(DumpBook(CurrentBook(), parts))), "") << entry.path();
        ++compared;
    }
    EXPECT_GT(compared, 100);
}

}  // namespace
}  // namespace tally
