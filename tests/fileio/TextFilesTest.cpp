#include "fileio/SaveFile.h"
#include "fileio/text/TextFiles.h"

#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class DelimitedText : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        Headless().filesInMemory = true;
        losses = 0;
    }
    static bool Read(std::string_view text, WideView path = u"data.csv", char16_t delimiter = 0) {
        return OpenFileFromMemory(path, ByteView(reinterpret_cast<const u8*>(text.data()), text.size()),
                                  OPEN_SILENT_LINKS, delimiter);
    }
    static std::string Written(WideView path = u"out.csv") {
        EXPECT_TRUE(SaveText(CurrentBook(), path, FileTypeOf(path), losses));
        const MemoryFile* file = FindMemoryFile(path);
        return file ? std::string(reinterpret_cast<const char*>(file->bytes.Data()), file->bytes.Count())
                    : "none";
    }
    // What opening these bytes and saving them again writes.
    static std::string ThereAndBack(std::string_view text) {
        losses = 0;
        return Read(text) ? Written() : "not read";
    }
    static inline u32 losses = 0;
    static void PutText(i32 row, i32 column, WideView text, u16 flags = 0) {
        CellFormat format = ResolveCellFormat(*CurrentWorkbook(), 15);
        format.flags |= flags;
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, index, TextValue(text), FormulaTokens()));
    }
};

TEST_F(DelimitedText, QuotedFields) {
    ASSERT_TRUE(Read("\"a\"\"b\",\"abc\"def,\"123\",\"x,y\"\r\n\"l1\nl2\",\"\"\n"));
    EXPECT_EQ(Shown("A1"), "a\"b");
    EXPECT_EQ(Shown("B1"), "abcdef");
    EXPECT_EQ(Shown("C1"), "123");
    EXPECT_EQ(CellAtName("C1")->value.type, VT_STRING);
    EXPECT_EQ(Shown("D1"), "x,y");
    EXPECT_EQ(Shown("A2"), "l1\nl2");
    EXPECT_GT(GetRowHeight(*CurrentSheet(), 1), 255);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    EXPECT_EQ(Narrow(CurrentSheet()->name), "data");
    EXPECT_EQ(Written(), "\"a\"\"b\",abcdef,\"123\",\"x,y\"\r\n\"l1\nl2\",,,\r\n");
}

TEST_F(DelimitedText, FieldsAreRecognisedAsTyped) {
    ASSERT_TRUE(Read("1.5,12/25/2000,TRUE,#N/A,=1+2,50%,$5,text,-abc,'007,3 PM\n"));
    EXPECT_EQ(Shown("A1"), "1.5");
    EXPECT_EQ(Shown("B1"), "12/25/2000");
    EXPECT_EQ(CellAtName("C1")->value.type, VT_BOOL);
    EXPECT_EQ(CellAtName("D1")->value.type, VT_ERROR);
    EXPECT_EQ(Shown("E1"), "3");
    EXPECT_EQ(Shown("F1"), "50%");
    EXPECT_EQ(Shown("G1"), "$5");
    EXPECT_EQ(CellAtName("I1")->value.type, VT_STRING);
    EXPECT_EQ(Shown("J1"), "007");
    EXPECT_EQ(Shown("K1"), "3:00 PM");
}

TEST_F(DelimitedText, LineEndsAndEmptyFields) {
    ASSERT_TRUE(Read("1,\r2\n\n\r\n3,,4"));
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(CellAtName("B1"), nullptr);
    EXPECT_EQ(Shown("A2"), "2");
    EXPECT_EQ(Shown("A5"), "3");
    EXPECT_EQ(Shown("C5"), "4");
    EXPECT_EQ(CurrentSheet()->cells.count, 4u);
}

TEST_F(DelimitedText, LimitsAndOpenQuotesAreRefused) {
    BookAt(0)->dirty = 1;
    for (const std::string& text :
         {std::string("\"abc"), std::string(256, ',') + "x", std::string(65536, '\n') + "x"}) {
        Headless().boxes.Clear();
        EXPECT_FALSE(Read(text));
        ASSERT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(Narrow(Headless().boxes[0].text), "Invalid data in input file");
        EXPECT_EQ(Books().books.Count(), 1u);
    }
    EXPECT_TRUE(Read(std::string(255, ',') + "x\n"));
    EXPECT_TRUE(Read(std::string(65535, '\n') + "x", u"rows.csv"));
}

TEST_F(DelimitedText, SeparatorsBehindTheLastCell) {
    Enter("A1", "x");
    Enter("C1", "y");
    Enter("A2", "z");
    EXPECT_EQ(Written(), "x,,y\r\nz,,\r\n");
    EXPECT_EQ(Written(u"out.txt"), "x\t\ty\r\nz\r\n");
}

TEST_F(DelimitedText, QuotingOnWriting) {
    PutText(0, 0, u"1,5");
    PutText(0, 1, u"a\tb");
    PutText(0, 2, u"plain", FORMAT_QUOTE_PREFIX);
    EXPECT_EQ(Written(), "\"1,5\",a\tb,\"plain\"\r\n");
    EXPECT_EQ(Written(u"out.txt"), "\"1,5\"\ta\tb\t\"plain\"\r\n");
}

TEST_F(DelimitedText, TheListSeparatorOfTheRegion) {
    Region("de-DE");
    ASSERT_TRUE(Read("1,5;2\n"));
    EXPECT_EQ(CellAtName("A1")->value.number, 1.5);
    EXPECT_EQ(Written(), "1,5;2\r\n");
}

TEST_F(DelimitedText, CodePagesBothWays) {
    Headless().textCodePage = 936;
    ASSERT_TRUE(Read("\xD6\xD0\xCE\xC4,1\n"));
    EXPECT_EQ(Shown("A1"), "中文");
    EXPECT_EQ(Written(), "\xD6\xD0\xCE\xC4,1\r\n");
}

TEST_F(DelimitedText, WhatIsNoUtf8IsInTheRegionsPageAndGoesBackInIt) {
    constexpr std::string_view gbk = "\xD6\xD0\xCE\xC4,\xB1\xED\xB8\xF1,1\r\nplain,,\r\n";
    Region("zh-CN");
    EXPECT_EQ(ThereAndBack(gbk), gbk);
    EXPECT_EQ(CurrentWorkbook()->textCodePage, 936);
    EXPECT_EQ(Shown("A1"), "中文");
    // In another region the same bytes are other characters, and still come back.
    ForgetBooks();
    Region("en-US");
    EXPECT_EQ(ThereAndBack(gbk), gbk);
    EXPECT_EQ(Shown("A1"), "ÖÐÎÄ");
    EXPECT_EQ(losses, 0u);
    // A page that was asked for is taken whatever the bytes look like.
    ForgetBooks();
    Headless().textCodePage = 1252;
    EXPECT_EQ(ThereAndBack("\xC3\xA9\r\n"), "\xC3\xA9\r\n");
    EXPECT_EQ(Shown("A1"), "Ã©");
}

TEST_F(DelimitedText, OnlyWellFormedTextIsUtf8) {
    struct Row {
        std::string_view text;
        u16 page;
    };
    for (const Row& row : {Row{"", 65001},
                           {"abc", 65001},
                           {"\xC2\x80", 65001},
                           {"\xDF\xBF", 65001},
                           {"\xC1\x80", 1252},
                           {"\x80", 1252},
                           {"\xC2", 1252},
                           {"\xC2 ", 1252},
                           {"\xE0\xA0\x80", 65001},
                           {"\xE0\x9F\xBF", 1252},
                           {"\xE4\xB8\xAD\xE6\x96\x87", 65001},
                           {"\xE4\xB8\xAD\xE6\x96", 1252},
                           {"\xE4\xB8 ", 1252},
                           {"\xED\x9F\xBF", 65001},
                           {"\xED\xA0\x80", 1252},
                           {"\xEE\x80\x80", 65001},
                           {"\xF0\x90\x80\x80", 65001},
                           {"\xF0\x8F\xBF\xBF", 1252},
                           {"\xF4\x8F\xBF\xBF", 65001},
                           {"\xF4\x90\x80\x80", 1252},
                           {"\xF0\x9F\x98\x41", 1252},
                           {"\xF5\x80\x80\x80", 1252}}) {
        const ByteView bytes(reinterpret_cast<const u8*>(row.text.data()), row.text.size());
        EXPECT_EQ(CodingOfText(bytes).page, row.page) << testing::PrintToString(row.text);
        EXPECT_EQ(CodingOfText(bytes).mark, 0);
    }
}

TEST_F(DelimitedText, AByteOrderMarkIsTakenAndKept) {
    using namespace std::string_view_literals;
    struct Row {
        std::string_view text, shown;
        u16 page;
    };
    for (const Row& row : {Row{"\xEF\xBB\xBF"
                               "1,\xC3\xA9\r\n"sv,
                               "é", 65001},
                           {"\xFF\xFE"
                            "1\0,\0\xE9\0\r\0\n\0"sv,
                            "é", 1200},
                           {"\xFE\xFF\0"
                            "1\0,\0\xE9\0\r\0\n"sv,
                            "é", 1201},
                           {"\xFF\xFE"
                            "1\0,\0\x2D\x4E\r\0\n\0"sv,
                            "中", 1200},
                           {"\xEF\xBB\xBF"sv, "", 65001},
                           {"\xFF\xFE"sv, "", 1200}}) {
        ForgetBooks();
        EXPECT_EQ(ThereAndBack(row.text), row.text) << row.page;
        EXPECT_EQ(CurrentWorkbook()->textCodePage, row.page);
        EXPECT_EQ(losses, 0u);
        if (row.shown.empty()) continue;
        EXPECT_EQ(CellAtName("A1")->value.type, VT_NUMBER);
        EXPECT_EQ(Shown("B1"), row.shown);
    }
    // A mark is no mark in the middle, and a part of one is none.
    ForgetBooks();
    EXPECT_EQ(ThereAndBack("a\xEF\xBB\xBF\r\n"), "a\xEF\xBB\xBF\r\n");
    EXPECT_FALSE(CurrentWorkbook()->textMark);
    EXPECT_EQ(CodingOfText({}).page, 65001);
}

TEST_F(DelimitedText, ABookThatWasNoTextHasThePlatformsPageAndNoMark) {
    Enter("A1", "é");
    EXPECT_EQ(Written(), "\xC3\xA9\r\n");
    EXPECT_EQ(CurrentWorkbook()->textCodePage, 0);
}

TEST_F(DelimitedText, CharactersThatThePageLacksBecomeQuestionMarksAndAreNamed) {
    Region("zh-CN");
    ASSERT_TRUE(Read("\xD6\xD0\n"));
    Enter("B1", "\xF0\x9F\x98\x80x");  // a face
    Enter("C1", "é");                  // the page has it
    EXPECT_EQ(Written(), "\xD6\xD0,?x,\xA8\xA6\r\n");
    EXPECT_EQ(losses, u32{LOSS_CHARACTERS});
}

TEST_F(DelimitedText, WhatATextDoesNotSayOfItsSheetIsNamed) {
    const auto named = [] {
        u32 named = 0;
        EXPECT_TRUE(WriteBookFile(CurrentBook(), u"out.csv", FILE_CSV, named));
        return named;
    };
    Enter("A1", "1");
    EXPECT_EQ(named(), 0u);
    Enter("A2", "=A1");
    EXPECT_EQ(named(), u32{LOSS_FORMULAS});
    CurrentSheet()->viewFlags |= VIEW_FORMULAS;
    EXPECT_EQ(named(), 0u);
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("A1", "B1")));
    EXPECT_EQ(named(), u32{LOSS_MERGES});
    ASSERT_TRUE(CurrentSheet()->hyperlinks.AppendDefault());
    ASSERT_TRUE(CurrentSheet()->validations.AppendDefault());
    DefineName("n", "=1");
    CurrentWorkbook()->date1904 = 1;
    EXPECT_EQ(named(), u32{LOSS_MERGES | LOSS_HYPERLINKS | LOSS_RULES | LOSS_NAMES | LOSS_DATES});
    const WideView name = u"More";
    ASSERT_TRUE(InsertSheet(1, &name, SHEET_MODULE, false, false));
    CurrentWorkbook()->currentSheet = 1;
    EXPECT_EQ(named(), u32{LOSS_SHEETS | LOSS_SHEET_KINDS});
}

TEST_F(DelimitedText, AGivenDelimiterForcesText) {
    ASSERT_TRUE(Read("a|b\n", u"data.xyz", u'|'));
    EXPECT_EQ(Shown("B1"), "b");
}

TEST_F(DelimitedText, AnEmptySheetWritesNothing) { EXPECT_EQ(Written(), ""); }

TEST_F(DelimitedText, FormulasAreWrittenWhereTheSheetShowsThem) {
    Enter("A1", "=1+1");
    EXPECT_EQ(Written(), "2\r\n");
    CurrentSheet()->viewFlags |= VIEW_FORMULAS;
    EXPECT_EQ(Written(), "=1+1\r\n");
}

TEST_F(DelimitedText, AFailedWriteLeavesTheOldFileAndSaysSo) {
    Enter("A1", "new");
    const u8 old[] = {'o', 'l', 'd'};
    ASSERT_TRUE(PutMemoryFile(u"out.csv", old));
    for (u32 n = 1; n <= 3; ++n) {
        Headless().boxes.Clear();
        Headless().failFileOperation = Headless().fileOperations + n;
        EXPECT_FALSE(SaveText(CurrentBook(), u"out.csv", FILE_CSV, losses));
        EXPECT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(FindMemoryFile(u"out.csv")->bytes.Count(), 3u);
    }
    Headless().failFileOperation = 0;
    EXPECT_TRUE(SaveText(CurrentBook(), u"out.csv", FILE_CSV, losses));
}

TEST_F(DelimitedText, StaleCellsAreCalculatedOnTheWay) {
    ASSERT_TRUE(Read("=B1*2,21\n"));
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_STALE);
    EXPECT_EQ(Written(), "42,21\r\n");
}

}  // namespace
}  // namespace tally
