#include "formula/Compiler.h"

#include "formula/FormulaText.h"

#include "formula/Links.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Compiler : public Sandbox {};

TEST_F(Compiler, AFormulaHas1024BytesOfTokensWithThoseThatMakeItVolatile) {
    // Each operand takes three bytes and each operator one.
    const auto compiles = [](std::string text, int operands) {
        for (int i = 1; i < operands; ++i) text += "+1";
        return Compiled(text) != "fault";
    };
    EXPECT_TRUE(compiles("=1%", 256));
    EXPECT_FALSE(compiles("=1%%", 256));
    EXPECT_FALSE(compiles("=1", 257));
    EXPECT_TRUE(compiles("=NOW()%", 255));
    EXPECT_FALSE(compiles("=NOW()%%", 255));
    EXPECT_FALSE(compiles("=NOW()", 256));
}

TEST_F(Compiler, AnAreaOfOneCellKeepsItsSecondCorner) {
    for (const char* formula : {"=SUM(B1:B1)", "=B1:B1", "=SUM($B$1:$B$1,B1)", "=ROWS(B1:B1)", "=SUM(B1:$B$1)",
                                "=SUM(Sheet1!B1:B1)", "=SUM('Sheet1'!B1)"})
        EXPECT_EQ(Printed(formula), std::string(formula) == "=SUM('Sheet1'!B1)" ? "=SUM(Sheet1!B1)" : formula);
    EXPECT_EQ(Compiled("=ROWS(B1:B1)").substr(0, 2), "25");
    EXPECT_EQ(Compiled("=ROWS(B1)").substr(0, 2), "24");
}

TEST_F(Compiler, RowNumbersMayHaveLeadingZeros) {
    EXPECT_EQ(Printed("=B01"), "=B1");
    EXPECT_EQ(Printed("=SUM($B$0010:C0020)"), "=SUM($B$10:C20)");
    EXPECT_EQ(Printed("=SUM(01:03)"), "=SUM(1:3)");
    EXPECT_EQ(Printed("=B0065536"), "=B65536");
    EXPECT_EQ(Printed("=B0065537"), "=B0065537");
    EXPECT_EQ(Printed("=B00"), "=B00");
}

TEST_F(Compiler, TokensAreExact) {
    struct Row {
        const char* formula;
        const char* tokens;
    };
    const Row rows[] = {
        {"=1+2*3", "1E01001E02001E03000503"},
        {"=(1+2)*3", "1E01001E020003151E030005"},
        {"=2^3^2", "1E02001E0300071E020007"},
        {"=-A1^2", "44000000C0131E020007"},
        {"=-5", "1F00000000000014C0"},
        {"=5%", "1E050014"},
        {"=70000", "1F000000000017F140"},
        {"=65535", "1EFFFF"},
        {"=\"a\"\"b\"", "170300612262"},
        {"=TRUE", "1D01"},
        {"=#N/A", "1C2A"},
        {"=A1 B2", "24000000C024010001C00F"},
        {"=A1 + B2", "44000000C044010001C003"},
        {"=SUM(A1:A3)", "250000020000C000C019100000"},
        {"=SUM(A1,A2)", "24000000C024010000C042020400"},
        {"=$A1", "440000008 0"},
        {"=A$1:B2", "450000010000400 1C0"},
        {"=ABS(A1)", "44000000C0411800"},
        {"=NOW()", "19010000414A00"},
        {"=IF(1,2)", "1E0100190207001E02001908030042020100"},
        {"=IF(1,2,3)", "1E0100190207001E020019080A001E03001908030042030100"},
        {"=IF(1)", "1E010042010100"},
        {"={1,2;3,4}",
         "4000000000000000|01010001000000000000F03F0100000000000000400100000000000008400100000000000010 40"},
        {"=SUM(1,)", "1E01001642020400"},
        {"=A:A", "450000FFFF00400040"},
        {"=1:1", "45000000000080FF80"},
    };
    for (const Row& row : rows) {
        std::string expected;
        for (const char* c = row.tokens; *c; ++c) {
            if (*c != ' ') expected += *c;
        }
        EXPECT_EQ(Compiled(row.formula), expected) << row.formula;
    }
}

TEST_F(Compiler, ChooseJumpsLandBehindTheCall) {
    EXPECT_EQ(Compiled("=CHOOSE(1,2,3)"),
              "1E0100190402000600"
              "0D00"
              "1400"
              "1E0200"
              "19080A00"
              "1E0300"
              "19080300"
              "42036400");
    EXPECT_EQ(Eval("=CHOOSE(1,2,3)"), "2");
    EXPECT_EQ(Eval("=CHOOSE(2,2,3)"), "3");
    EXPECT_EQ(Eval("=CHOOSE(3,2,3)"), "#VALUE!");
    EXPECT_EQ(Eval("=1+CHOOSE(2,2,3,4)*10"), "31");
}

TEST_F(Compiler, FaultsAreRefused) {
    for (const char* formula : {"=SUM(1,2",     "=(1",         "=1+",      "=*1", "=1 2 *",  "=)",    "=ABS()",
                                "=ABS(1,2)",    "=PI(1)",      "={1,2;3}", "={}", "=\"a\"&", "=1..2", "=A1:",
                                "=GET.CELL(1)", "=Missing!A1", "='x'",     "=1,", "=((((",   "=IF()", "=!A1"}) {
        EXPECT_EQ(Compiled(formula), "fault") << formula;
    }
}

TEST_F(Compiler, CheckStopsWhereTheFaultIs) {
    FormulaPlace place;
    place.book = CurrentBook();
    EXPECT_EQ(CheckFormulaSyntax(place, u"=SUM(1,2", 0, 8, true, nullptr), -1);
    EXPECT_EQ(CheckFormulaSyntax(place, u"=1+2", 0, 4, true, nullptr), 4);
    EXPECT_EQ(CheckFormulaSyntax(place, u"=1)", 0, 3, true, nullptr), 2);
    EXPECT_EQ(CheckFormulaSyntax(place, u"A1,B1", 0, 5, false, nullptr), 2);
    EXPECT_EQ(SkipOperand(place, u"SUM(1,2) +3", 0, 11), 9);
}

TEST_F(Compiler, AParenthesisInsideAStringBreaksTheCount) { EXPECT_EQ(Compiled("=(\"(\")"), "fault"); }

TEST_F(Compiler, AnUnclosedStringIsAccepted) { EXPECT_EQ(Compiled("=\"abc"), "170300616263"); }

TEST_F(Compiler, WhatIsCalculatedAgainAfterEachEditSaysSoInFront) {
    for (const char* formula : {"=INFO(\"RECALC\")", "=NOW()", "=RAND()", "=TODAY()", "=CELL(\"ROW\",B1)",
                                "=INDIRECT(\"B1\")", "=OFFSET(B1,0,0)", "=1+ABS(INFO(\"RECALC\"))"})
        EXPECT_EQ(Compiled(formula).substr(0, 8), "19010000") << formula;
    for (const char* formula : {"=SUBTOTAL(9,B1)", "=INDEX(B1:B2,1)", "=ABS(B1)", "=PI()"})
        EXPECT_NE(Compiled(formula).substr(0, 8), "19010000") << formula;
}

TEST_F(Compiler, UnknownNamesAreAddedWithoutAFormula) {
    EXPECT_EQ(Compiled("=foo"), "4301000000");
    ASSERT_EQ(CurrentWorkbook()->names.Count(), 1u);
    EXPECT_EQ(Narrow(CurrentWorkbook()->names[0].text), "foo");
    EXPECT_FALSE(HasFormula(CurrentWorkbook()->names[0].tokens));
    EXPECT_EQ(Eval("=foo"), "#NAME?");
}

TEST_F(Compiler, TheFirstFunctionProposesAFormat) {
    FormulaPlace place;
    place.book = CurrentBook();
    for (const auto& [text, expected] :
         {std::pair{u"=NOW()", 22}, {u"=SUM(TODAY(),1)", 14}, {u"=ABS(NOW())", 0}, {u"=1+1", -1}}) {
        i32 proposal = -1;
        const i32 length = static_cast<i32>(std::u16string(text).size());
        EXPECT_EQ(CheckFormulaSyntax(place, text, 0, length, true, &proposal), length);
        EXPECT_EQ(proposal, expected);
    }
}

TEST_F(Compiler, ASignBeforeAnUnknownNameIsNoFormula) {
    FormulaPlace place;
    place.book = CurrentBook();
    EXPECT_NE(CheckFormulaSyntax(place, u"-abc", 0, 4, true, nullptr), 4);
    EXPECT_EQ(CheckFormulaSyntax(place, u"-A1", 0, 3, true, nullptr), 3);
    EXPECT_EQ(CheckFormulaSyntax(place, u"+SUM(1)", 0, 7, true, nullptr), 7);
}

TEST_F(Compiler, DeepNestingEndsAsAFault) {
    std::string deep = "=";
    for (int i = 0; i < 20000; ++i) deep += "(";
    deep += "1";
    for (int i = 0; i < 20000; ++i) deep += ")";
    EXPECT_EQ(Compiled(deep), "fault");
    std::string signs = "=";
    for (int i = 0; i < 30000; ++i) signs += "-";
    EXPECT_EQ(Compiled(signs + "A1"), "fault");
    EXPECT_EQ(Compiled("=" + std::string(60000, '1')), "fault");
}

TEST_F(Compiler, WithoutACommaAsListSeparatorTheBackslashSeparatesColumns) {
    Region("de-DE");
    EXPECT_EQ(Eval("=SUM({1\\2;3\\4})"), "10");
    EXPECT_EQ(Eval("=SUM(1,5;2)"), "3,5");
    EXPECT_EQ(Printed("={1\\2;3\\4}"), "={1\\2;3\\4}");
}

class FormulaPrinter : public Sandbox {};

TEST_F(FormulaPrinter, PrintsBackWhatWasTyped) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    WideView spaced = u"My Sheet", digits = u"2000";
    ASSERT_TRUE(InsertSheet(2, &spaced, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(InsertSheet(3, &digits, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    for (const char* formula : {"=(1+2)*3",
                                "=1+2*3",
                                "=-A1",
                                "=SUM(A1:A3)",
                                "='My Sheet'!A1",
                                "='2000'!A1:B2",
                                "=Sheet2!$A$1",
                                "=Sheet1:Sheet2!A1",
                                "=A:A",
                                "=A:B",
                                "=1:5",
                                "=\"a\"\"b\"",
                                "=A1&\"x\"",
                                "=A1<>B1",
                                "=A1>=B1",
                                "=5%",
                                "=+A1",
                                "=IF(A1,1,2)",
                                "=CHOOSE(1,2,3)",
                                "=SUM(A1,B1)",
                                "=NOW()+1",
                                "=GCD(4,6)",
                                "=foo+1",
                                "=bar(1,2)",
                                "={1,\"a\";TRUE,#N/A}",
                                "={\"a\"\"b\"}",
                                "=$A$1:B$2",
                                "=1.5E+20",
                                "=SUM((A1,B1))",
                                "=A1:B2 B1:B3",
                                "=INDEX(A1:B2,1,2):C3",
                                "=#REF!+1"}) {
        EXPECT_EQ(Printed(formula), formula);
    }
    EXPECT_EQ(Printed("= 1 + 2"), "=1+2");
    EXPECT_EQ(Printed("=sum(a1:a3)"), "=SUM(A1:A3)");
    EXPECT_EQ(Printed("=A3:A1"), "=A1:A3");
}

TEST_F(FormulaPrinter, NamesOfOtherBooksKeepTheirSheets) {
    for (const char* formula : {"=[Other.xls]Sheet1!total", "=Other.xls!total", "=[Other.xls]Sheet1!A1+1"})
        EXPECT_EQ(Printed(formula), formula);
}

TEST_F(FormulaPrinter, ADeletedSheetPrintsAsARefError) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Printed("=Sheet2!A1"), "=Sheet2!A1");
    CurrentWorkbook()->externSheets[0].firstSheet = CurrentWorkbook()->externSheets[0].lastSheet = -1;
    FormulaTokens tokens;
    const u8 bytes[] = {0x5A, 0, 0, 0, 0, 0, 0xC0};
    ASSERT_TRUE(MakeTokens(tokens, bytes, {}));
    WideText text;
    ASSERT_TRUE(FormulaToText(CurrentBook(), tokens, 0, 0, true, text));
    EXPECT_EQ(Narrow(text), "=#REF!A1");
    FreeTokens(tokens);
}

TEST_F(FormulaPrinter, RelativeR1C1OfTheSameCellIsRC) {
    WideText text;
    ASSERT_TRUE(AreaToText(CurrentBook(), 0, {3, 3, 2, 2}, AREA_ALL_RELATIVE, 3, 2, text));
    EXPECT_EQ(Narrow(text), "RC");
    text.Truncate(0);
    ASSERT_TRUE(AreaToText(CurrentBook(), 0, {3, 5, 2, 2}, 0, 0, 0, text));
    EXPECT_EQ(Narrow(text), "R4C3:R6C3");
}

}  // namespace
}  // namespace tally
