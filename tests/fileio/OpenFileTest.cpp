#include "fileio/OpenFile.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "fileio/biff/BiffReader.h"
#include "fileio/biff/LoadState.h"
#include "fileio/text/TextFiles.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BiffBuilder.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class OpeningFiles : public Sandbox {
  protected:
    static bool Open(const std::vector<u8>& bytes, WideView path = u"a.xls") {
        return OpenFileFromMemory(path, bytes, OPEN_SILENT_LINKS);
    }
    static std::string Box() { return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text); }
    // A book of one sheet with the records that `body` adds.
    static std::vector<u8> OneSheet(const std::function<void(BiffBuilder&)>& body, u8 version = 8,
                                    const std::function<void(BiffBuilder&)>& globals = {}) {
        BiffBuilder b(version);
        b.Globals({"Data"}, globals);
        b.Bof(16);
        body(b);
        return b.Eof().File();
    }
};

TEST_F(OpeningFiles, TheTypeIsThatOfTheLastFourCharacters) {
    EXPECT_EQ(FileTypeOf(u"a.xls"), FILE_XLS);
    EXPECT_EQ(FileTypeOf(u"a.CSV"), FILE_CSV);
    EXPECT_EQ(FileTypeOf(u".xls"), FILE_UNKNOWN);
    EXPECT_EQ(FileTypeOf(u"a.xlsx"), FILE_UNKNOWN);
    EXPECT_EQ(FileTypeOf(u"dir/b.TxT"), FILE_TXT);
    EXPECT_EQ(FileTypeOf(u""), FILE_UNKNOWN);
}

TEST_F(OpeningFiles, RefusalsHaveTheirMessagesAndLeaveNoBook) {
    struct Row {
        std::vector<u8> bytes;
        WideView path;
        const char* message;
    };
    BiffBuilder locked;
    locked.Bof(5).Record(47, {{0, 6}});
    BiffBuilder elsewhere;
    elsewhere.Globals({"A"});
    std::vector<u8> renamed = elsewhere.File();
    for (std::size_t i = 0; i + 16 < renamed.size(); ++i) {
        if (renamed[i] == 'W' && renamed[i + 2] == 'o' && renamed[i + 4] == 'r') renamed[i] = 'X';
    }
    const Row rows[] = {
        {{1}, u"a.xls", "Invalid data in input file"},
        {{}, u"a.xls", "Invalid data in input file"},
        {{9, 8, 0, 0}, u"a.xls", "Invalid data in input file"},
        {{0xD0, 0xCF, 1, 2, 3}, u"a.xls", "Workbook not found in file"},
        {renamed, u"a.xls", "Workbook not found in file"},
        {locked.File(), u"a.xls", "This file is password protected"},
        {{1}, u"a.doc", "File type not recognised"},
        {{'"', 'a'}, u"a.csv", "Invalid data in input file"},
    };
    const u32 books = Books().books.Count();
    BookAt(0)->dirty = 1;
    for (const Row& row : rows) {
        EXPECT_FALSE(Open(row.bytes, row.path));
        EXPECT_EQ(Box(), row.message);
        EXPECT_EQ(Books().books.Count(), books);
        EXPECT_EQ(CurrentBook(), 0);
    }
    Headless().filesInMemory = true;
    EXPECT_FALSE(OpenFile(u"none.xls", 0));
    EXPECT_EQ(Box(), "不能读取文件\nnone.xls");
}

TEST_F(OpeningFiles, TheUntouchedFirstBookIsReplaced) {
    ASSERT_TRUE(Open(OneSheet([](BiffBuilder& b) { b.Number(0, 0, 1); })));
    EXPECT_EQ(Books().books.Count(), 1u);
    // A book of that name is open: it is only made current.
    ASSERT_TRUE(OpenFile(u"elsewhere/A.XLS", 0));
    EXPECT_EQ(Books().books.Count(), 1u);
}

TEST_F(OpeningFiles, AFailedFirstOpenLeavesTheEmptyBookOpen) {
    ASSERT_EQ(Narrow(CurrentWorkbook()->path), "Book1");
    ASSERT_FALSE(BookAt(0)->dirty);
    EXPECT_FALSE(Open({1}, u"a.xls"));
    EXPECT_FALSE(Open({0xD0, 0xCF, 1, 2, 3}, u"b.xls"));
    EXPECT_FALSE(Open({'"', 'a'}, u"c.csv"));
    ASSERT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(CurrentBook(), 0);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book1");
    // One that is good takes its place; a changed one stays.
    ASSERT_TRUE(Open(OneSheet([](BiffBuilder& b) { b.Number(0, 0, 1); })));
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(CurrentBook(), 0);
    EXPECT_EQ(SheetAt(0, 0)->book, 0);
    EXPECT_EQ(Shown("A1"), "1");
    ForgetBooks();
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    BookAt(0)->dirty = 1;
    ASSERT_TRUE(Open(OneSheet([](BiffBuilder& b) { b.Number(0, 0, 1); })));
    EXPECT_EQ(Books().books.Count(), 2u);
    EXPECT_EQ(CurrentBook(), 1);
}

// Each sheet that is added must cost the same: with a square in it this took seconds.
TEST_F(OpeningFiles, AsManySheetsAsABookCanHaveAreOpened) {
    BiffBuilder b;
    std::vector<std::string> names;
    for (i32 i = 0; i < MAX_SHEETS; ++i) names.push_back("S" + std::to_string(i));
    b.Globals(names);
    for (i32 i = 0; i < MAX_SHEETS; ++i) b.Bof(16).Number(0, 0, i).Eof();
    ASSERT_TRUE(Open(b.File()));
    const Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.sheets.Count(), u32{MAX_SHEETS});
    for (const i32 i : {0, 1, 12345, MAX_SHEETS - 1}) {
        const Sheet& sheet = *book.sheets[static_cast<u32>(i)];
        EXPECT_EQ(sheet.index, i);
        EXPECT_EQ(sheet.book, CurrentBook());
        EXPECT_EQ(Narrow(sheet.name), "S" + std::to_string(i));
        EXPECT_EQ(SheetAt(CurrentBook(), i)->cells.rows.Count(), 1u);
    }
}

TEST_F(OpeningFiles, TheOutcomeTellsWhyAFileWasNotOpened) {
    Headless().filesInMemory = true;
    const u8 none[] = {'n', 'o'};
    ASSERT_TRUE(PutMemoryFile(u"bad.xls", none));
    ASSERT_TRUE(PutMemoryFile(u"short.xlt", ByteView(none, 1)));
    ASSERT_TRUE(PutMemoryFile(u"good.csv", none));
    struct Row {
        WideView path;
        ReadOutcome outcome;
    };
    for (const Row& row : {Row{u"none.xls", READ_MISSING},
                           {u"bad.xls", READ_UNWANTED},
                           {u"short.xlt", READ_UNWANTED},
                           {u"good.csv", READ_GOOD}}) {
        ReadOutcome outcome = READ_GOOD;
        EXPECT_EQ(OpenFile(row.path, 0, 0, &outcome), row.outcome == READ_GOOD);
        EXPECT_EQ(outcome, row.outcome) << Narrow(row.path);
    }
    EXPECT_TRUE(CurrentWorkbook()->stamp.known);
    EXPECT_FALSE(FileHasChanged(*CurrentWorkbook(), u"good.csv"));
    ASSERT_TRUE(PutMemoryFile(u"good.csv", none));
    EXPECT_TRUE(FileHasChanged(*CurrentWorkbook(), u"good.csv"));
}

TEST_F(OpeningFiles, CellsOfEveryKind) {
    for (u8 version : {u8{8}, u8{7}}) {
        ResetBooks();
        ASSERT_TRUE(Open(OneSheet(
            [](BiffBuilder& b) {
                b.Number(0, 0, 1.5).Label(0, 1, "text");
                b.Record(638, {{1, 2}, {0, 2}, {0, 2}, {(5u << 2) | 2, 4}});
                b.Record(189, {{2, 2}, {1, 2}, {0, 2}, {(7u << 2) | 2, 4}, {0, 2}, {0x3FF00000, 4}, {99, 2}});
                b.Record(517, {{3, 2}, {0, 2}, {0, 2}, {1, 1}, {0, 1}});
                b.Record(517, {{3, 2}, {1, 2}, {0, 2}, {42, 1}, {1, 1}});
                b.Record(513, {{4, 2}, {0, 2}, {0, 2}});
                b.Record(190, {{5, 2}, {0, 2}, {0, 2}, {0, 2}, {1, 2}});
                b.Number(0, 300, 1);  // no such column
            },
            version)));
        EXPECT_EQ(CurrentWorkbook()->biffVersion, version);
        EXPECT_EQ(Narrow(CurrentSheet()->name), "Data");
        EXPECT_EQ(Shown("A1"), "1.5");
        EXPECT_EQ(Shown("B1"), "text");
        EXPECT_EQ(Shown("A2"), "5");
        EXPECT_EQ(Shown("B3"), "7");
        EXPECT_EQ(Shown("C3"), "1");
        EXPECT_EQ(Shown("A4"), "TRUE");
        EXPECT_EQ(Shown("B4"), "#N/A");
        EXPECT_EQ(CellAtName("A5")->calcState, CALC_BLANK);
        EXPECT_EQ(CellAtName("B6")->calcState, CALC_BLANK);
        EXPECT_EQ(CurrentSheet()->cells.count, 10u);
    }
}

TEST_F(OpeningFiles, SharedStringsCrossRecordBoundaries) {
    // "AB", then "cd|ef" split with a change of width, then "gh" with runs behind it in the next record.
    const std::vector<u8> sst = {4, 0, 0, 0, 4, 0, 0, 0, 2, 0, 0, 'A', 'B', 4, 0, 0, 'c', 'd'};
    const std::vector<u8> more = {1, 'e', 0, 'f', 0, 2, 0, 8, 1, 0, 'g', 'h'};
    const std::vector<u8> rest = {1, 2, 3, 4, 1, 0, 1, 'Z', 0};
    ASSERT_TRUE(Open(OneSheet(
        [](BiffBuilder& b) {
            for (u32 i = 0; i < 5; ++i) b.Record(253, {{i, 2}, {0, 2}, {0, 2}, {i, 4}});
        },
        8, [&](BiffBuilder& b) { b.Raw(252, sst).Raw(60, more).Raw(60, rest); })));
    EXPECT_EQ(Shown("A1"), "AB");
    EXPECT_EQ(Shown("A2"), "cdef");
    EXPECT_EQ(Shown("A3"), "gh");
    EXPECT_EQ(Shown("A4"), "Z");
    EXPECT_EQ(Shown("A5"), "");  // an index beyond the table
}

TEST_F(OpeningFiles, FormulasKeepTheirSavedValues) {
    ASSERT_TRUE(Open(OneSheet([](BiffBuilder& b) {
        b.Number(0, 0, 2);
        b.Formula(0, 1, {0x1E, 1, 0, 0x1E, 1, 0, 3}, 99);     // =1+1, saved as 99
        b.Formula(0, 2, {0x1E, 1, 0, 0x1E, 1, 0, 3}, 99, 2);  // to be calculated on load
        b.Formula(0, 3, {0x1E, 7, 0, 0x12, 0x15}, 7);         // five bytes that are no ptgExp
        std::vector<u8> text = {0,    0, 4, 0, 0, 0, 0, 0, 0, 0,    0, 0, 0xFF,
                                0xFF, 0, 0, 0, 0, 0, 0, 4, 0, 0x17, 1, 0, 'q'};
        b.Raw(6, text).Record(519, {{3, 2}, {0, 1}, {'x', 1}, {'y', 1}, {'z', 1}});
        b.Label(1, 0, "old").Record(519, {{3, 2}, {0, 1}, {'n', 1}, {'e', 1}, {'w', 1}});
        b.Formula(1, 1, {0x17, 1, 0, 'u', 0x42, 1, 0x67, 1}, 0);  // =HYPERLINK("u")
    })));
    EXPECT_EQ(Shown("B1"), "99");
    EXPECT_EQ(FormulaOf("B1"), "=1+1");
    EXPECT_EQ(Shown("C1"), "2");
    EXPECT_EQ(FormulaOf("D1"), "=(+7)");
    EXPECT_EQ(CellAtName("E1")->calcState, CALC_CURRENT);
    EXPECT_EQ(Shown("E1"), "xyz");
    EXPECT_EQ(Shown("A2"), "new");
    EXPECT_EQ(CellAtName("B2")->calcState, CALC_STALE);
}

TEST_F(OpeningFiles, SharedFormulasLandOnEachCellsOwnPosition) {
    const std::vector<u8> exp = {1, 0, 0, 1, 0};
    ASSERT_TRUE(Open(OneSheet([&](BiffBuilder& b) {
        b.Number(0, 0, 10).Number(1, 0, 20);
        b.Formula(0, 1, exp, 0, 8 | 2);
        // =RC[-1]*2 over B1:B2: ptgRefN with column offset 255 and both parts relative.
        b.Record(1212, {{0, 2},
                        {1, 2},
                        {1, 1},
                        {1, 1},
                        {2, 2},
                        {9, 2},
                        {0x4C, 1},
                        {0, 2},
                        {0xC0FF, 2},
                        {0x1E, 1},
                        {2, 2},
                        {5, 1}});
        b.Formula(1, 1, exp, 0, 8 | 2);
    })));
    EXPECT_EQ(FormulaOf("B1"), "=A1*2");
    EXPECT_EQ(FormulaOf("B2"), "=A2*2");
    EXPECT_EQ(Shown("B2"), "40");
}

TEST_F(OpeningFiles, ArrayFormulasAreRememberedAsAreas) {
    const std::vector<u8> exp = {1, 0, 0, 0, 0};
    ASSERT_TRUE(Open(OneSheet([&](BiffBuilder& b) {
        b.Formula(0, 0, exp, 5);
        b.Record(545, {{0, 2}, {1, 2}, {0, 1}, {0, 1}, {0, 2}, {0, 4}, {3, 2}, {0x1E, 1}, {5, 2}});
        b.Formula(1, 0, exp, 5);
    })));
    ASSERT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->arrayFormulas[0].area, (RefArea{0, 1, 0, 0}));
    EXPECT_EQ(FormulaOf("A2"), "=5");
}

TEST_F(OpeningFiles, RecordsOfTheView) {
    ASSERT_TRUE(Open(OneSheet([](BiffBuilder& b) {
        b.Record(125, {{250, 2}, {256, 2}, {1000, 2}, {0, 2}, {1, 2}, {0, 2}});
        b.Record(520, {{7, 2}, {0, 2}, {0, 2}, {0xFFFF, 2}, {0, 4}, {0x60, 1}, {0, 3}});
        b.Record(160, {{1, 2}, {100, 2}});
        b.Record(574, {{6, 2}, {12, 2}, {3, 1}, {0, 5}});
        b.Record(65, {{1, 2}, {1, 2}, {5, 2}, {5, 2}, {0, 2}});
        b.Record(229, {{1, 2}, {0, 2}, {2, 2}, {0, 2}, {1, 2}})
            .Record(229, {{1, 2}, {4, 2}, {4, 2}, {0, 2}, {3, 2}});
        b.Record(85, {{9, 2}}).Record(18, {{1, 2}}).Record(2146, {{0, 16}, {13, 1}});
        b.Record(29, {{3, 1}, {5, 2}, {2, 2}, {0, 2}, {1, 2}, {5, 2}, {6, 2}, {2, 1}, {3, 1}});
    })));
    const Sheet& sheet = *CurrentSheet();
    EXPECT_EQ(sheet.columns.Count(), 6u);
    EXPECT_EQ(GetColumnWidth(sheet, 255), 0);
    u16 flags = 0;
    EXPECT_EQ(GetRowInfo(sheet.rows, 7, flags), 0x7FFF);
    EXPECT_EQ(flags, ROW_HIDDEN | ROW_CUSTOM_HEIGHT);
    EXPECT_EQ(sheet.zoomPercent, 10);
    EXPECT_EQ(sheet.view.firstRow, 12);  // the pane is not frozen and changes nothing
    EXPECT_EQ(sheet.mergedAreas.Count(), 2u);
    EXPECT_EQ(sheet.defaultColumnWidth, 9 << 8);
    EXPECT_TRUE(sheet.viewFlags & VIEW_PROTECTED);
    EXPECT_EQ(sheet.tabColour, 13);
    EXPECT_EQ(sheet.view.selection, (RefArea{5, 6, 2, 3}));
}

TEST_F(OpeningFiles, ZoomOneToOneIsAHundred) {
    ASSERT_TRUE(Open(OneSheet([](BiffBuilder& b) { b.Record(160, {{1, 2}, {1, 2}}); })));
    EXPECT_EQ(CurrentSheet()->zoomPercent, 100);
}

TEST_F(OpeningFiles, GlobalsFillTheTables) {
    ASSERT_TRUE(Open(OneSheet(
        [](BiffBuilder& b) { b.Number(0, 0, 0.5, 1); }, 8,
        [](BiffBuilder& b) {
            b.Record(34, {{1, 2}});
            b.Record(146, {{2, 2}, {0x112233, 4}, {0x445566, 4}});
            for (int i = 0; i < 6; ++i)
                b.Record(49, {{200u + i, 2},
                              {2, 2},
                              {10, 2},
                              {700, 2},
                              {0, 2},
                              {1, 1},
                              {0, 3},
                              {1, 1},
                              {0, 1},
                              {'A', 1}});
            b.Record(1054, {{164, 2}, {4, 2}, {0, 1}, {0x25302E30, 4}});
            b.Record(1054, {{165, 2}, {7, 2}, {0, 1}, {0x454E4547, 4}, {0x4C4152, 3}});
            b.Record(224, {{4, 2}, {164, 2}, {1, 2}, {0, 14}});
            b.Record(224, {{5, 2},
                           {164, 2},
                           {1, 1},
                           {0, 1},
                           {0x2A, 1},
                           {90, 1},
                           {0, 2},
                           {0x4321, 2},
                           {0, 2},
                           {0, 2},
                           {0, 1},
                           {4, 1},
                           {0x0A0B, 2}});
            b.Record(224, {{0, 2}, {999, 2}, {1, 2}, {0, 14}});
            b.Record(24, {{0x20, 2}, {0, 1}, {2, 1}, {0, 2}, {0, 2}, {0, 2}, {0, 4}, {0, 1}, {6, 1}, {'X', 1}});
        })));
    const Workbook& book = *CurrentWorkbook();
    EXPECT_EQ(book.date1904, 1u);
    EXPECT_EQ(book.palette[8], 0x112233u);
    EXPECT_EQ(book.palette[10], 0x0000FFu);  // red of the default palette stays
    ASSERT_EQ(book.fonts.Count(), 6u);
    EXPECT_EQ(book.cellFormats[0].font, 4);
    EXPECT_EQ(book.cellFormats[1].font, 4);
    EXPECT_EQ(book.cellFormats[1].leftStyle, 1);
    EXPECT_EQ(book.cellFormats[1].rightStyle, 2);
    EXPECT_EQ(book.cellFormats[1].topStyle, 3);
    EXPECT_EQ(book.cellFormats[1].bottomStyle, 4);
    EXPECT_TRUE(book.cellFormats[1].flags & FORMAT_WRAP);
    EXPECT_EQ(book.cellFormats[1].rotation, 90);
    EXPECT_EQ(book.cellFormats[1].pattern, 1);
    EXPECT_EQ(book.cellFormats[1].backColour, 0x0B);  // exchanged for a solid fill
    EXPECT_EQ(book.cellFormats[2].numberFormat, 0);
    EXPECT_EQ(Narrow(GetNumberFormatText(book, 165)), "General");
    EXPECT_EQ(Shown("A1"), "50.0%");
    ASSERT_EQ(book.names.Count(), 1u);
    EXPECT_EQ(Narrow(book.names[0].text), "Print_AreaX");
    EXPECT_EQ(book.names[0].flags, 0);
}

TEST_F(OpeningFiles, LinksOfTheThreeKinds) {
    ASSERT_TRUE(Open(OneSheet([](BiffBuilder& b) { b.Number(0, 0, 1); }, 8,
                              [](BiffBuilder& b) {
                                  b.Record(430, {{1, 2}, {0x0401, 2}})
                                      .Record(430, {{1, 2}, {0x3A01, 2}})
                                      .Record(430, {{0, 2}, {1, 2}, {0, 2}});
                                  b.Record(430, {{0, 2}, {1, 2}, {0, 1}, {'q', 1}});
                                  b.Record(430, {{1, 2},
                                                 {5, 2},
                                                 {0, 1},
                                                 {'b', 1},
                                                 {'.', 1},
                                                 {'x', 1},
                                                 {'l', 1},
                                                 {'s', 1},
                                                 {2, 2},
                                                 {0, 1},
                                                 {'S', 1},
                                                 {'1', 1}});
                                  b.Record(23, {{1, 2}, {4, 2}, {0, 2}, {0, 2}});
                              })));
    const Workbook& book = *CurrentWorkbook();
    ASSERT_EQ(book.externBooks.Count(), 5u);
    EXPECT_EQ(book.externBooks[0].kind, EXTERN_SELF);
    EXPECT_EQ(book.externBooks[1].kind, EXTERN_ADDIN);
    EXPECT_EQ(book.externBooks[2].kind, EXTERN_CURRENT);
    EXPECT_EQ(book.externBooks[3].kind, EXTERN_FILE);
    EXPECT_EQ(Narrow(book.externBooks[3].path), "q");
    EXPECT_EQ(Narrow(book.externBooks[4].sheetNames[0]), "S1");
    EXPECT_EQ(book.externSheets[0].externBook, 4);
}

TEST_F(OpeningFiles, SubstreamsOfOtherKindsArePassedOver) {
    BiffBuilder b;
    b.Globals({"One", "Two", "Three"});
    b.Bof(0x100).Number(0, 0, 5).Eof();  // of no known type
    b.Bof(16).Number(0, 0, 1);
    b.Bof(32).Number(5, 5, 9).Eof();  // a chart on the sheet
    b.Number(1, 0, 2).Eof();
    b.Bof(64).Number(0, 0, 3).Eof();
    ASSERT_TRUE(Open(b.File()));
    EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 3u);
    EXPECT_EQ(SheetAt(CurrentBook(), 0)->cells.count, 2u);
    EXPECT_EQ(SheetAt(CurrentBook(), 1)->kind, SHEET_MACRO);
    EXPECT_EQ(SheetAt(CurrentBook(), 2)->cells.count, 0u);
}

TEST_F(OpeningFiles, SheetsBeyondThoseOfTheGlobalsAreNotRead) {
    BiffBuilder b;
    b.Globals({"One", "Two"});
    b.Bof(16).Number(0, 0, 1).Eof();
    b.Bof(16).Number(0, 0, 2).Eof();
    b.Bof(16).Number(0, 0, 3).Number(1, 0, 4);  // and without its end
    ASSERT_TRUE(Open(b.File()));
    ASSERT_EQ(CurrentWorkbook()->sheets.Count(), 2u);
    EXPECT_EQ(SheetAt(CurrentBook(), 0)->cells.count, 1u);
    EXPECT_EQ(SheetAt(CurrentBook(), 1)->cells.count, 1u);
    EXPECT_EQ(Shown("A1"), "1");
}

// The directory entries of the two property sets, which are empty, are made over for the tests.
TEST_F(OpeningFiles, WorkbookIsTakenBeforeBook) {
    BiffBuilder b;
    b.Globals({"New"});
    b.Bof(16).Number(0, 0, 8).Eof();
    std::vector<u8> file = b.File();
    const std::size_t directory = (std::size_t{LongAt(file, 48)} + 1) * 512;
    const auto name = [&](std::size_t entry, std::string_view text) {
        u8* at = file.data() + directory + entry * 128;
        std::fill(at, at + 64, u8{0});
        for (std::size_t i = 0; i < text.size(); ++i) at[i * 2] = static_cast<u8>(text[i]);
        at[64] = static_cast<u8>((text.size() + 1) * 2);
    };
    // "Book" stands first in the directory and is empty: were it read, no sheet would get its cell.
    name(2, "Workbook");
    std::copy_n(file.begin() + static_cast<std::ptrdiff_t>(directory + 128 + 116), 8,
                file.begin() + static_cast<std::ptrdiff_t>(directory + 256 + 116));
    name(1, "Book");
    std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(directory + 128 + 116), 8, u8{0});
    ASSERT_TRUE(Open(file));
    EXPECT_EQ(Narrow(CurrentSheet()->name), "New");
    EXPECT_EQ(Shown("A1"), "8");
}

TEST_F(OpeningFiles, OneCharacterExternSheetsOfThe95Form) {
    struct Row {
        u8 first;
        ExternSheetKind kind;
        const char* text;
    };
    const Row rows[] = {
        {0, EXTERNSHEET_NONE, ""},    {4, EXTERNSHEET_OWN, ""},     {':', EXTERNSHEET_ADDIN, ""},
        {'q', EXTERNSHEET_TEXT, "q"}, {';', EXTERNSHEET_TEXT, ";"},
    };
    LoadState load;
    load.book = 0;
    load.biffVersion = 7;
    for (const Row& row : rows) {
        const u8 body[] = {1, row.first};
        ASSERT_TRUE(ReadExternSheet(load, body));
        EXPECT_EQ(load.externTable.Last().kind, row.kind) << row.text;
        EXPECT_EQ(Narrow(load.externTable.Last().text), row.text);
    }
    // The mark of the same book is not counted by the length, and is kept.
    const u8 same[] = {2, 3, 'A', 'b', 'x'};
    ASSERT_TRUE(ReadExternSheet(load, same));
    EXPECT_EQ(Narrow(load.externTable.Last().text),
              "\x03"
              "Ab");
    EXPECT_EQ(load.externTable.Count(), 6u);
}

TEST_F(OpeningFiles, Biff5FormulasAreWidened) {
    ASSERT_TRUE(Open(OneSheet(
        [](BiffBuilder& b) {
            b.Number(0, 0, 4).Number(1, 0, 6);
            b.Formula(0, 1, {0x25, 0, 0xC0, 1, 0xC0, 0, 0, 0x19, 0x10, 0, 0}, 10);  // =SUM(A1:A2)
            b.Formula(1, 1, {0x44, 0, 0xC0, 0, 0x17, 1, 'x', 8}, 0);                // =A1&"x"
            // =IF(A1,A2,"no"): the jumps grow with the references.
            b.Formula(2, 1, {0x44, 0, 0xC0, 0, 0x19, 2,   8,    0, 0x44, 1, 0xC0, 0, 0x19, 8,
                             11,   0, 0x17, 2, 'n',  'o', 0x19, 8, 3,    0, 0x42, 3, 1,    0},
                      0, 2);
        },
        7)));
    EXPECT_EQ(FormulaOf("B1"), "=SUM(A1:A2)");
    EXPECT_EQ(FormulaOf("B2"), "=A1&\"x\"");
    EXPECT_EQ(FormulaOf("B3"), "=IF(A1,A2,\"no\")");
    EXPECT_EQ(Shown("B3"), "6");
}

TEST_F(OpeningFiles, BareFilesOfTheOldestForm) {
    BiffWriter w;
    const auto record = [&](u16 id, std::vector<u8> body) {
        WriteRecordHeader(w, id, body.size());
        WriteBytes(w, body.data(), body.size());
    };
    record(9, {2, 0, 16, 0});
    record(30, {7, 'G', 'e', 'n', 'e', 'r', 'a', 'l'});
    record(30, {4, '0', '.', '0', '0'});
    record(2, {0, 0, 0, 0, 0, 0x41, 0, 7, 0});  // the format is the low six bits: 0.00
    record(4, {0, 0, 1, 0, 0, 0, 0, 2, 'h', 'i'});
    record(5, {1, 0, 0, 0, 0, 0, 0, 1, 0});
    record(6, {1, 0, 1,  0,    0, 0,    0, 0,    0, 0, 0, 0,    0,  0,
               0, 0, 11, 0x44, 0, 0xC0, 0, 0x1E, 2, 0, 5, 0x41, 24, 0});  // =ABS(A1*2)
    record(7, {3, 'a', 'b', 'c'});
    const std::vector<u8> bytes(w.stream.begin(), w.stream.end());
    ASSERT_TRUE(Open(bytes, u"folder/old name.xls"));
    EXPECT_EQ(Narrow(CurrentSheet()->name), "old name");
    EXPECT_EQ(Shown("A1"), "7.00");
    EXPECT_EQ(Shown("B1"), "hi");
    EXPECT_EQ(Shown("A2"), "TRUE");
    EXPECT_EQ(FormulaOf("B2"), "=ABS(A1*2)");
    EXPECT_EQ(Shown("B2"), "abc");
}

TEST_F(OpeningFiles, AStreamWithoutItsEndIsNoBook) {
    BiffBuilder b;
    b.Globals({"One"}).Bof(16).Number(0, 0, 1);
    BookAt(0)->dirty = 1;
    // The padding of the file reads as empty records up to the end of the stream.
    EXPECT_FALSE(Open(b.File()));
    EXPECT_EQ(Books().books.Count(), 1u);
}

TEST_F(OpeningFiles, NoAllocationFailureBreaksAnything) {
    const std::vector<u8> bytes = OneSheet(
        [](BiffBuilder& b) {
            b.Number(0, 0, 1).Label(0, 1, "abc").Formula(1, 0, {0x44, 0, 0, 0, 0xC0, 0x1E, 1, 0, 3}, 2);
            b.Record(125, {{0, 2}, {3, 2}, {1000, 2}, {0, 2}, {0, 4}})
                .Record(229, {{1, 2}, {0, 2}, {2, 2}, {0, 2}, {1, 2}});
            b.Record(253, {{4, 2}, {0, 2}, {0, 2}, {0, 4}});
        },
        8,
        [](BiffBuilder& b) {
            b.Raw(252, {1, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 'A', 'B'});
            b.Record(
                24,
                {{0, 2}, {0, 1}, {1, 1}, {3, 2}, {0, 2}, {0, 2}, {0, 4}, {0, 1}, {'n', 1}, {0x1E, 1}, {7, 2}});
        });
    ResetBooks();
    DropDependents();
    bool done = false;
    for (u64 n = 1; !done; ++n) {
        ASSERT_LT(n, 5000u);
        test::FailingAllocator allocator(n);
        {
            QuietMemoryScope quiet;
            const bool opened = OpenFileFromMemory(u"m.xls", bytes, OPEN_SILENT_LINKS);
            if (!opened) {
                EXPECT_EQ(Books().books.Count(), 0u);
            } else {
                CellInput input;
                input.value = NumberValue(41);
                IgnoreFailure(SetCell(CurrentBook(), 0, input, true, false));
                MarkAllStale();
                CalculateBook(CurrentBook());
            }
            ResetBooks();
            DropDependents();
            Headless().boxes.Clear();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
        done = !allocator.HasFailed();
    }
}

// Every workbook of a folder named by the environment opens or is refused with a message.
TEST_F(OpeningFiles, AFolderOfRealWorkbooks) {
    const char* folder = std::getenv("TALLYMAN_CORPUS");
    if (!folder) GTEST_SKIP() << "TALLYMAN_CORPUS is not set";
    u32 opened = 0, refused = 0, silent = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".xls") continue;
        Headless().boxes.Clear();
        if (OpenFile(entry.path().u16string(), OPEN_SILENT_LINKS)) {
            ++opened;
            RemoveBook(CurrentBook());
        } else {
            Headless().boxes.IsEmpty() ? ++silent : ++refused;
        }
    }
    RecordProperty("opened", static_cast<int>(opened));
    std::printf("opened %u, refused with a message %u, cut off %u\n", opened, refused, silent);
    EXPECT_GT(opened, 0u);
}

}  // namespace
}  // namespace tally
