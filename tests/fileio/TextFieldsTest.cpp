#include <algorithm>

#include "fileio/SaveFile.h"
#include "fileio/text/TextEntry.h"
#include "fileio/text/TextFiles.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

// Delimited text field by field: how the bytes of a file become cells, and how cells become bytes.

namespace tally {
namespace {

class TextFields : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        Headless().filesInMemory = true;
    }
    static bool Open(std::string_view text, WideView path = u"data.csv", char16_t delimiter = 0) {
        ForgetBooks();
        return OpenFileFromMemory(path, ByteView(reinterpret_cast<const u8*>(text.data()), text.size()),
                                  OPEN_SILENT_LINKS, delimiter);
    }
    // The cells of a text: "A1=value" each, texts in brackets, "!" for the prefix, "~" for broken lines.
    static std::string Cells(std::string_view text, WideView path = u"data.csv", char16_t delimiter = 0) {
        if (!Open(text, path, delimiter)) return "refused";
        std::string out;
        for (const CellRow& row : CurrentSheet()->cells.rows) {
            for (u32 i = 0; i < row.count; ++i) {
                const CellRecord& cell = row.cells[i];
                const u16 flags = ResolveCellFormat(*CurrentWorkbook(), cell.format).flags;
                std::string name(1, static_cast<char>('A' + cell.column));
                name += std::to_string(row.row + 1);
                const bool isText = cell.value.type == VT_STRING;
                const std::string shown = isText         ? "[" + Narrow(TextOf(cell.value)) + "]"
                                          : cell.formula ? FormulaOf(name)
                                                         : Shown(name);
                out += name + "=" + shown + (flags & FORMAT_QUOTE_PREFIX ? "!" : "") +
                       (flags & FORMAT_WRAP ? "~" : "") + " ";
            }
        }
        return out;
    }
    static std::string Written(WideView path = u"out.csv", u32* lost = nullptr) {
        u32 losses = 0;
        EXPECT_TRUE(SaveText(CurrentBook(), path, FileTypeOf(path), losses));
        if (lost) *lost = losses;
        const MemoryFile* file = FindMemoryFile(path);
        return file ? std::string(file->bytes.begin(), file->bytes.end()) : "none";
    }
    static void PutValue(i32 row, i32 column, Value value, u16 numberFormat = 0, u16 flags = 0) {
        CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
        format.flags |= flags;
        format.numberFormat = numberFormat;
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, index, value, FormulaTokens()));
    }
};

TEST_F(TextFields, FieldsEndWhereTheyShould) {
    struct Row {
        std::string_view text, cells;
    };
    for (const Row& row : {
             Row{"", ""},
             {"a", "A1=[a] "},
             {"a\r", "A1=[a] "},
             {"a\n", "A1=[a] "},
             {"a\r\nb", "A1=[a] A2=[b] "},
             {"a\rb", "A1=[a] A2=[b] "},
             {"a\nb", "A1=[a] A2=[b] "},
             {"a\n\rb", "A1=[a] A3=[b] "},
             {"a\r\r\nb", "A1=[a] A3=[b] "},
             {"\nb", "A2=[b] "},
             {",b", "B1=[b] "},
             {",,\n,b", "B2=[b] "},
             {"a,b\nc,d", "A1=[a] B1=[b] A2=[c] B2=[d] "},
             {"a\tb", "A1=[a\tb] "},
             {" a ", "A1=[ a ] "},
             {"a\"b\"", "A1=[a\"b\"] "},
             {"\"a\"", "A1=[a] "},
             {"\"a\",b", "A1=[a] B1=[b] "},
             {"\"a\"\nb", "A1=[a] A2=[b] "},
             {"\"a\"\rb", "A1=[a] A2=[b] "},
             {"\"a\"\r\nb", "A1=[a] A2=[b] "},
             {"\"a,b\"", "A1=[a,b] "},
             {"\"a\"\"\"", "A1=[a\"] "},
             {"\"\"\"\"", "A1=[\"] "},
             {"\"\"", ""},
             {"\"\",b", "B1=[b] "},
             {"\"a\"b\"c\",d", "A1=[ab\"c\"] B1=[d] "},
             {"\"a\"b\nc", "A1=[ab] A2=[c] "},
             {"\"a\" \r\nc", "A1=[a ] A2=[c] "},
             {"\"a\nb\"", "A1=[a\nb]~ "},
             {"\"a\r\nb\"", "A1=[a\rb] "},
             {"\"a\rb\"", "A1=[a\rb] "},
             {"\"a\n\nb\"x,y", "A1=[a\n\nbx]~ B1=[y] "},
             {"\"1\"", "A1=[1]! "},
             {"\"1\" ", "A1=1 "},
             {"\"1\n\"", "A1=[1\n]~ "},
             {"\"1,000\"", "A1=[1,000]! "},
             {"\"a1\"", "A1=[a1] "},
             {"\"=1+1\"", "A1==1+1 "},
             {"\"TRUE\"", "A1=TRUE "},
             {"'7", "A1=[7]! "},
             {"'", "A1=[]! "},
             {"\"'7\"", "A1=[7]! "},
             {"a'", "A1=[a'] "},
             {"\"", "refused"},
             {"\"a\"\"", "refused"},
             {"a,\"b\n", "refused"},
         })
        EXPECT_EQ(Cells(row.text), row.cells) << testing::PrintToString(row.text);
}

TEST_F(TextFields, EntriesAreWhatTheyWouldBeTyped) {
    struct Row {
        std::string_view text, cells;
    };
    for (const Row& row : {
             Row{"1", "A1=1 "},
             {"-1.50", "A1=-1.5 "},
             {"1e3", "A1=1000 "},
             {"50%", "A1=50% "},
             {"$5", "A1=$5 "},
             {"12/25/2000", "A1=12/25/2000 "},
             {"3:04", "A1=3:04 "},
             {"TRUE,false", "A1=TRUE B1=FALSE "},
             {"#N/A,#REF!", "A1=#N/A B1=#REF! "},
             {"=A2", "A1==A2 "},
             {"=", "A1=[=] "},
             {"=TODAY()", "A1==TODAY() "},
             {"-foo", "A1=[-foo] "},
         }) {
        EXPECT_EQ(Cells(row.text), row.cells) << row.text;
    }
    // What a formula yields may propose a format; the one of the date is there.
    ASSERT_TRUE(Open("=TODAY()"));
    EXPECT_NE(ResolveCellFormat(*CurrentWorkbook(), CellAtName("A1")->format).numberFormat, 0);
    EXPECT_TRUE(CellAtName("A1")->formula->alwaysCalculate);
    ASSERT_TRUE(Open("=1+1"));
    EXPECT_EQ(CellAtName("A1")->format, DEFAULT_CELL_FORMAT);
    EXPECT_FALSE(CellAtName("A1")->formula->alwaysCalculate);
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_STALE);
}

TEST_F(TextFields, EqualEntriesShareAFormat) {
    ASSERT_TRUE(Open("1/2/2000,50%,'x,1/2/2000\n5%,$1,1/3/2000,'y\n"));
    EXPECT_EQ(CellAtName("A1")->format, CellAtName("D1")->format);
    EXPECT_EQ(CellAtName("A1")->format, CellAtName("C2")->format);
    EXPECT_EQ(CellAtName("B1")->format, CellAtName("A2")->format);
    EXPECT_EQ(CellAtName("C1")->format, CellAtName("D2")->format);
    EXPECT_NE(CellAtName("A1")->format, CellAtName("B1")->format);
    EXPECT_NE(CellAtName("B1")->format, CellAtName("B2")->format);
    EXPECT_NE(CellAtName("A1")->format, CellAtName("C1")->format);
}

TEST_F(TextFields, TheDelimiterIsThatOfTheTypeOrTheOneGiven) {
    struct Row {
        const char* region;
        WideView path;
        char16_t delimiter;
        std::string_view text, cells;
    };
    for (const Row& row : {Row{"en-US", u"a.csv", 0, "a,b;c\td", "A1=[a] B1=[b;c\td] "},
                           {"de-DE", u"a.csv", 0, "a,b;c\td", "A1=[a,b] B1=[c\td] "},
                           {"en-US", u"a.txt", 0, "a,b;c\td", "A1=[a,b;c] B1=[d] "},
                           {"en-US", u"a.txt", u';', "a,b;c\td", "A1=[a,b] B1=[c\td] "},
                           {"en-US", u"a.csv", u'b', "a,b;c\td", "A1=[a,] B1=[;c\td] "},
                           // A line's end as the delimiter goes on in the same row.
                           {"en-US", u"a.csv", u'\r', "a\rb\nc", "A1=[a] B1=[b] A2=[c] "},
                           {"en-US", u"a.csv", u'\n', "a\nb\rc", "A1=[a] B1=[b] A2=[c] "}}) {
        Region(row.region);
        EXPECT_EQ(Cells(row.text, row.path, row.delimiter), row.cells) << row.text;
    }
}

TEST_F(TextFields, ASheetIsCalledAsTheFileWithoutItsEnding) {
    struct Row {
        WideView path;
        const char* name;
    };
    for (const Row& row : {Row{u"dir/data.csv", "data"},
                           {u"a.b.csv", "a.b"},
                           {u"0123456789012345678901234567890.csv", "0123456789012345678901234567890"},
                           {u"012345678901234567890123456.csv", "012345678901234567890123456"},
                           {u"0123456789012345678901234567.csv", "0123456789012345678901234567"},
                           {u"abc.012345678901234567890123456789.csv", "abc"},
                           {u"x/.csv", "Sheet1"}}) {
        ASSERT_TRUE(Open("1", row.path, u','));
        EXPECT_EQ(Narrow(CurrentSheet()->name), row.name);
        EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
        EXPECT_EQ(CurrentWorkbook()->dirty, 0u);
    }
}

TEST_F(TextFields, RowsOfSeveralLinesAreAsHighAsTheirTallestText) {
    ASSERT_TRUE(Open("a,b\n\"1\n2\",\"1\n2\n3\",x\nc\n7,\"\n\"\n" + ("\"" + std::string(100, '\n') + "\"")));
    const Sheet& sheet = *CurrentSheet();
    const u16 line = DefaultRowHeight(sheet);
    EXPECT_EQ(GetRowHeight(sheet, 0), line);
    EXPECT_EQ(GetRowHeight(sheet, 1), 3 * line);
    EXPECT_EQ(GetRowHeight(sheet, 2), line);
    EXPECT_EQ(GetRowHeight(sheet, 3), 2 * line);
    EXPECT_EQ(GetRowHeight(sheet, 4), 8180);
    EXPECT_EQ(sheet.rows.Count(), 3u);
    // Without a quoted line nothing is measured.
    ASSERT_TRUE(Open("a\nb\n"));
    EXPECT_EQ(CurrentSheet()->rows.Count(), 0u);
}

// ---- writing ------------------------------------------------------------------------------------------------

TEST_F(TextFields, ValuesAreWrittenAsTheyShow) {
    const struct {
        Value value;
        u16 format, flags;
        const char* text;
    } rows[] = {
        {NumberValue(0.1 + 0.2), 0, 0, "0.3"},
        {NumberValue(1.0 / 3), 0, 0, "0.333333333333333"},
        {NumberValue(-2.5), 0, 0, "-2.5"},
        {NumberValue(1e20), 0, 0, "1E+20"},
        {NumberValue(1234.5), 4, 0, "\"1,234.50\""},
        {NumberValue(0.5), 9, 0, "50%"},
        {NumberValue(5), 0, FORMAT_QUOTE_PREFIX, "\"5\""},
        {BoolValue(true), 0, 0, "TRUE"},
        {BoolValue(false), 4, 0, "FALSE"},
        {ErrorValue(ERR_DIV0), 0, 0, "#DIV/0!"},
        {Value(), 0, 0, ""},
        {Value(), 4, FORMAT_QUOTE_PREFIX, ""},
        {TextValue(u""), 0, 0, ""},
        {TextValue(u""), 0, FORMAT_QUOTE_PREFIX, "\"\""},
        {TextValue(u"x"), 49, 0, "x"},
        {TextValue(u"a\"b"), 0, 0, "\"a\"\"b\""},
        {TextValue(u"\""), 0, 0, "\"\"\"\""},
        {TextValue(u"\"\"x\""), 0, 0, "\"\"\"\"\"x\"\"\""},
        {TextValue(u"a\rb"), 0, 0, "\"a\rb\""},
        {TextValue(u"a\nb"), 0, 0, "\"a\nb\""},
        {TextValue(u"a,b"), 0, 0, "\"a,b\""},
        {TextValue(u"a;b\tc"), 0, 0, "a;b\tc"},
        {TextValue(u"\u00e9\""), 0, 0, "\"\xC3\xA9\"\"\""},
    };
    for (const auto& row : rows) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        PutValue(0, 0, row.value, row.format, row.flags);
        EXPECT_EQ(Written(), std::string(row.text) + "\r\n");
    }
    // A text under a format with a section of its own.
    ForgetBooks();
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    u16 id = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), u"0;-0;0;\"<\"@\">\"", id));
    PutValue(0, 0, TextValue(u"x"), id);
    EXPECT_EQ(Written(), "<x>\r\n");
}

TEST_F(TextFields, SeparatorsFillALineInTheOneFormAndEndItInTheOther) {
    PutValue(1, 1, NumberValue(1));
    PutValue(1, 3, NumberValue(2));
    PutValue(3, 0, NumberValue(3));
    EXPECT_EQ(Written(u"out.csv"), ",,,\r\n,1,,2\r\n,,,\r\n3,,,\r\n");
    EXPECT_EQ(Written(u"out.txt"), "\r\n\t1\t\t2\r\n\r\n3\r\n");
    PutValue(4, 255, NumberValue(4));
    EXPECT_EQ(Written(u"out.txt"), "\r\n\t1\t\t2\r\n\r\n3\r\n" + std::string(255, '\t') + "4\r\n");
    const std::string csv = Written(u"out.csv");
    EXPECT_EQ(std::count(csv.begin(), csv.end(), ','), 5 * 255);
}

TEST_F(TextFields, ThePointAndTheSeparatorAreThoseOfTheRegion) {
    Region("de-DE");
    PutValue(0, 0, NumberValue(1.5));
    PutValue(0, 1, TextValue(u"a;b"));
    PutValue(0, 2, TextValue(u"a,b"));
    EXPECT_EQ(Written(u"out.csv"), "1,5;\"a;b\";a,b\r\n");
    EXPECT_EQ(Written(u"out.txt"), "1,5\t\"a;b\"\ta,b\r\n");
}

TEST_F(TextFields, LongFilesAreWrittenInPieces) {
    std::string expected;
    for (i32 row = 0; row < 5000; ++row) {
        PutValue(row, 0, NumberValue(row));
        PutValue(row, 1, TextValue(u"some text of a line \u00e9"));
        expected += std::to_string(row) + ",some text of a line \xC3\xA9\r\n";
    }
    EXPECT_TRUE(Written() == expected);
    // Each piece is a step on the disk that may fail.
    const u64 before = Headless().fileOperations;
    EXPECT_TRUE(Written() == expected);
    EXPECT_EQ(Headless().fileOperations - before, 2u + expected.size() / 65536 + 1);
}

TEST_F(TextFields, OtherCodingsThanTheCommonOneAreWrittenWhole) {
    const auto save = [](u16 page, bool mark, u32& lost) {
        CurrentWorkbook()->textCodePage = page;
        CurrentWorkbook()->textMark = mark;
        return Written(u"out.csv", &lost);
    };
    u32 lost = 0;
    PutValue(0, 0, NumberValue(1.5));
    PutValue(0, 1, TextValue(u"\u00e9\u4e2d"));
    using namespace std::string_literals;
    EXPECT_EQ(save(1200, true, lost),
              "\xFF\xFE"
              "1\0.\0005\0,\0\xE9\0\x2D\x4E\r\0\n\0"s);
    EXPECT_EQ(save(1201, true, lost),
              "\xFE\xFF\0"
              "1\0.\0005\0,\0\xE9\x4E\x2D\0\r\0\n"s);
    EXPECT_EQ(save(1201, false, lost),
              "\0"
              "1\0.\0005\0,\0\xE9\x4E\x2D\0\r\0\n"s);
    EXPECT_EQ(save(65001, true, lost),
              "\xEF\xBB\xBF"
              "1.5,\xC3\xA9\xE4\xB8\xAD\r\n");
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(save(1252, true, lost), "1.5,\xE9?\r\n");
    EXPECT_EQ(lost, u32{LOSS_CHARACTERS});
    EXPECT_EQ(save(936, false, lost), "1.5,\xA8\xA6\xD6\xD0\r\n");
    EXPECT_EQ(lost, 0u);
    // A sheet without cells is its mark alone, and so is one that has none of them.
    CurrentSheet()->kind = SHEET_CHART;
    EXPECT_EQ(save(65001, true, lost), "\xEF\xBB\xBF");
    EXPECT_EQ(save(65001, false, lost), "");
}

TEST_F(TextFields, ShownFormulasAreQuotedAsTextsAre) {
    Enter("A1", "=SUM(1,2)");
    Enter("B1", "=1+2");
    Enter("C1", "5");
    CurrentSheet()->viewFlags |= VIEW_FORMULAS;
    EXPECT_EQ(Written(), "\"=SUM(1,2)\",=1+2,5\r\n");
}

}  // namespace
}  // namespace tally
