#include "functions/FormatCode.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Information : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
    // A text cell or blank cell of that number format and alignment.
    static void Style(std::string_view cell, std::u16string_view format, u8 horizontal = 0,
                      bool locked = true) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        Workbook& book = *CurrentWorkbook();
        CellFormat candidate = ResolveCellFormat(book, DEFAULT_CELL_FORMAT);
        ASSERT_TRUE(FindOrAddNumberFormat(book, format, candidate.numberFormat));
        candidate.horizontal = horizontal;
        if (!locked) candidate.flags = 0;
        CellRecord* at = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(at, nullptr);
        ASSERT_TRUE(FindOrAddCellFormat(book, candidate, at->format));
    }
};

TEST_F(Information, ALibraryIsClosedToAWorksheet) {
    Check({{"=CALL(\"library\",\"routine\")", "#VALUE!"},
           {"=CALL(\"library\",\"routine\",\"J\",1,2)", "#VALUE!"},
           {"=ERROR.TYPE(CALL(1,2))", "3"}});
}

TEST_F(Information, KindsOfValuesAreTold) {
    Enter("B1", "1");
    Enter("B2", "text");
    Enter("B3", "TRUE");
    Enter("B4", "=1/0");
    Enter("B5", "=NA()");
    Enter("B7", "=\"\"");
    Check({{"=ISBLANK(B6)", "TRUE"},    {"=ISBLANK(B1)", "FALSE"},     {"=ISBLANK(B7)", "FALSE"},
           {"=ISBLANK(\"\")", "FALSE"}, {"=ISERR(B4)", "TRUE"},        {"=ISERR(B5)", "FALSE"},
           {"=ISERR(B1)", "FALSE"},     {"=ISERROR(B4)", "TRUE"},      {"=ISERROR(B5)", "TRUE"},
           {"=ISERROR(B2)", "FALSE"},   {"=ISLOGICAL(B3)", "TRUE"},    {"=ISLOGICAL(B1)", "FALSE"},
           {"=ISNA(B5)", "TRUE"},       {"=ISNA(B4)", "FALSE"},        {"=ISNONTEXT(B2)", "FALSE"},
           {"=ISNONTEXT(B6)", "TRUE"},  {"=ISNONTEXT(1)", "TRUE"},     {"=ISNUMBER(B1)", "TRUE"},
           {"=ISNUMBER(B2)", "FALSE"},  {"=ISNUMBER(\"1\")", "FALSE"}, {"=ISTEXT(B2)", "TRUE"},
           {"=ISTEXT(B6)", "FALSE"},    {"=ISTEXT(B7)", "TRUE"},       {"=ISREF(B1)", "TRUE"},
           {"=ISREF(B1:B3)", "TRUE"},   {"=ISREF(1)", "FALSE"},        {"=ISREF(\"B1\")", "FALSE"},
           {"=ISEVEN(2.9)", "TRUE"},    {"=ISEVEN(-3)", "FALSE"},      {"=ISODD(-3.5)", "TRUE"},
           {"=ISODD(0)", "FALSE"},      {"=ISODD(\"x\")", "#VALUE!"},  {"=ISEVEN(1/0)", "#DIV/0!"}});
}

TEST_F(Information, NumbersOfValues) {
    Enter("B1", "7");
    Enter("B2", "TRUE");
    Enter("B3", "text");
    Enter("B4", "=1/0");
    Check({{"=N(B1)", "7"},
           {"=N(B2)", "1"},
           {"=N(FALSE)", "0"},
           {"=N(B3)", "0"},
           {"=N(\"7\")", "0"},
           {"=N(B9)", "0"},
           {"=N(B4)", "#DIV/0!"},
           {"=N(B1:B4)", "7"}});
}

TEST_F(Information, TypeIsTheTagOfTheValue) {
    Enter("B1", "7");
    Check({{"=TYPE(1)", "1"},
           {"=TYPE(\"a\")", "2"},
           {"=TYPE(TRUE)", "4"},
           {"=TYPE(#N/A)", "16"},
           {"=TYPE({1,2})", "64"},
           {"=TYPE(B1)", "1"}});
}

TEST_F(Information, TypeOfAnEmptyCellIsNoNumber) { EXPECT_EQ(Eval("=TYPE(B1)"), "#VALUE!"); }

TEST_F(Information, ErrorTypeOfWhatIsNoErrorIsNotAvailable) {
    Check({{"=ERROR.TYPE(1)", "#N/A"},
           {"=ERROR.TYPE(#NULL!)", "1"},
           {"=ERROR.TYPE(1/0)", "2"},
           {"=ERROR.TYPE(#VALUE!)", "3"},
           {"=ERROR.TYPE(#REF!)", "4"},
           {"=ERROR.TYPE(#NAME?)", "5"},
           {"=ERROR.TYPE(#NUM!)", "6"},
           {"=ERROR.TYPE(NA())", "7"}});
}

TEST_F(Information, BlankCellsAreThoseWithoutTextToShow) {
    Enter("B1", "1");
    Enter("B2", "=\"\"");
    Enter("B3", "=NA()");
    Check({{"=COUNTBLANK(B1:B5)", "3"},
           {"=COUNTBLANK(C:C)", "65536"},
           {"=COUNTBLANK(B3:B5)", "2"},
           {"=COUNTBLANK(C3:E7)", "15"},
           {"=COUNTBLANK(B2:IV9)", "2039"},
           {"=COUNTBLANK((B1:B2,B4))", "#VALUE!"},
           {"=COUNTBLANK(B1)", "0"}});
}

TEST_F(Information, CellTellsPlaceAndContents) {
    Enter("B2", "text");
    Enter("B3", "=1/0");
    Check({{"=CELL(\"address\",B2:C9)", "$B$2"},
           {"=CELL(\"ADDRESS\")", "$A$1"},
           {"=CELL(\"COL\",B2)", "2"},
           {"=CELL(\"row\",B2:C9)", "2"},
           {"=CELL(\"CONTENTS\",B2)", "text"},
           {"=CELL(\"CONTENTS\",B3)", "#DIV/0!"},
           {"=CELL(\"CONTENTS\",C2)", "0"},
           {"=CELL(\"PARENTHESES\",B2)", "0"},
           {"=CELL(\"TYPE\",B2)", "l"},
           {"=CELL(\"TYPE\",B3)", "v"},
           {"=CELL(\"TYPE\",C2)", "b"},
           {"=CELL(\"PROTECT\",C2)", "1"},
           {"=CELL(\"FILENAME\")", ""},
           {"=CELL(\"nothing\",B2)", "#VALUE!"},
           {"=CELL(1/0,B2)", "#DIV/0!"}});
    const double width = GetColumnWidth(*CurrentSheet(), 1) / 256.0;
    EXPECT_EQ(Eval("=CELL(\"WIDTH\",B1)=" + std::to_string(width)), "TRUE");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    EXPECT_EQ(Eval("=CELL(\"address\",Sheet1!B2)"), "Sheet1!$B$2");
}

TEST_F(Information, CellColourIsAlwaysZero) {
    Style("B1", u"[Red]0;[Blue]-0");
    EXPECT_EQ(Eval("=CELL(\"COLOR\",B1)"), "0");
}

TEST_F(Information, CellTellsPrefixAndLock) {
    Enter("B1", "text");
    Enter("B2", "text");
    Enter("B3", "text");
    Enter("B4", "text");
    Enter("B5", "5");
    Enter("B6", "=\"text\"");
    Style("B2", u"General", 2);
    Style("B3", u"General", 3, false);
    Style("B4", u"General", 4);
    Check({{"=CELL(\"PREFIX\",B1)", "'"},
           {"=CELL(\"PREFIX\",B2)", "^"},
           {"=CELL(\"PREFIX\",B3)", "\""},
           {"=CELL(\"PREFIX\",B4)", ""},
           {"=CELL(\"PREFIX\",B5)", ""},
           {"=CELL(\"PREFIX\",B6)", ""},
           {"=CELL(\"PROTECT\",B3)", "0"},
           {"=CELL(\"PROTECT\",B4)", "1"}});
}

TEST_F(Information, CellFileNameHoldsPathBookAndSheet) {
    ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/home/me/Budget.xls"));
    CurrentWorkbook()->untitled = false;
    EXPECT_EQ(Eval("=CELL(\"FILENAME\")"), "/home/me/[Budget.xls]Sheet1");
    ASSERT_TRUE(CurrentWorkbook()->path.Assign(u"/home/me/sheet1.csv"));
    EXPECT_EQ(Eval("=CELL(\"FILENAME\")"), "/home/me/sheet1.csv");
}

TEST_F(Information, CellFormatCodeOfTwoDecimalsAndOfGeneral) {
    Style("B1", u"0.00");
    Check({{"=CELL(\"FORMAT\",B1)", "F2"}, {"=CELL(\"FORMAT\",B2)", "G"}});
}

TEST_F(Information, FormatCodes) {
    struct Row {
        std::u16string_view format;
        u16 id;
        const char* code;
    };
    const Row rows[] = {
        {u"General", 0, "G"},
        {u"@", 49, "G"},
        {u"0", 1, "F0"},
        {u"#,##0.00", 4, "F2"},
        {u"#,##0.00_);[Red](#,##0.00)", 40, "F2"},
        {u"$#,##0_);($#,##0)", 5, "C0"},
        {u"\"¥\"#,##0.00", 60, "C2"},
        {u"_($* #,##0.00_);_($* (#,##0.00);_($* \"-\"??_);_(@_)", 44, "C2"},
        {u"[$€-407] 0.0", 60, "C1"},
        {u"[$-409]0.0", 60, "F1"},
        {u"0%", 9, "P0"},
        {u"0.00%", 10, "P2"},
        {u"0.00E+00", 11, "S2"},
        {u"##0.0E+0", 48, "S1"},
        {u"# ?/?", 12, "S0"},
        {u"m/d/yy", 14, "D4"},
        {u"mmm-yy", 17, "D4"},
        {u"m/d/yy h:mm", 22, "D4"},
        {u"h:mm AM/PM", 18, "D7"},
        {u"h:mm:ss AM/PM", 19, "D6"},
        {u"h:mm", 20, "D9"},
        {u"h:mm:ss", 21, "D8"},
        {u"[h]:mm:ss", 46, "D8"},
        {u"mm:ss.0", 47, "D8"},
        {u"\"dhm\"0", 60, "F0"},
        {u"\"open", 60, "G"},
        {u"[h", 60, "G"},
        {u"0\\", 60, "F0"},
        {u"", 60, "G"},
    };
    for (const Row& row : rows) {
        WideText code;
        ASSERT_TRUE(AppendFormatCode(row.format, row.id, code));
        EXPECT_EQ(Narrow(code), row.code) << Narrow(row.format);
    }
}

TEST_F(Information, InfoOfTheRecalculationNeverVaries) {
    EXPECT_EQ(Eval("=INFO(\"RECALC\")"), "自动");
    EXPECT_EQ(Eval("=INFO(\"recalc\")"), "自动");
}

TEST_F(Information, InfoTellsOfProgramAndSystem) {
    CurrentSheet()->view.firstRow = 4;
    CurrentSheet()->view.firstColumn = 2;
    Check({{"=INFO(\"RELEASE\")", "8.0e"},
           {"=INFO(\"SYSTEM\")", "pcdos"},
           {"=INFO(\"NUMFILE\")", "1"},
           {"=INFO(\"ORIGIN\")", "$A:$C$5"},
           {"=INFO(\"TOTMEM\")>0", "TRUE"},
           {"=INFO(\"MEMAVAIL\")>0", "TRUE"},
           {"=INFO(\"MEMUSED\")<INFO(\"TOTMEM\")", "TRUE"},
           {"=INFO(\"OSVERSION\")>0", "TRUE"},
           {"=INFO(\"nothing\")", "#N/A"},
           {"=INFO(1/0)", "#DIV/0!"}});
}

}  // namespace
}  // namespace tally
