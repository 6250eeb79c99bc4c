#include "formula/Evaluator.h"
#include "formula/TokenReferences.h"

#include "formula/Coercion.h"
#include "formula/Compiler.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

struct Row {
    const char* formula;
    const char* expected;
};

class Evaluator : public Sandbox {
  protected:
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

TEST_F(Evaluator, ArraysCalculateAsTheirElementsDo) {
    const char* values[] = {"0",     "1",     "-2.5", "1E+308", "TRUE", "FALSE",
                            "\"3\"", "\"x\"", "\"\"", "#N/A",   "#REF!"};
    const char* operators[] = {"+", "-", "*", "/", "^", "&", "=", "<>", "<", "<=", ">", ">="};
    for (const std::string op : operators) {
        for (const std::string a : values) {
            for (const std::string b : values) {
                const std::string alone = Eval("=" + a + op + b);
                // Of the same shape, of others, and with a scalar on either side.
                EXPECT_EQ(Eval("=INDEX({9," + a + "}" + op + "{9," + b + "},1,2)"), alone) << a << op << b;
                EXPECT_EQ(Eval("=INDEX({9," + a + "}" + op + "{9," + b + ";9,9},1,2)"), alone) << a << op << b;
                EXPECT_EQ(Eval("=INDEX(" + a + op + "{9," + b + "},1,2)"), alone) << a << op << b;
                if (b[0] != '#')
                    EXPECT_EQ(Eval("=INDEX({9," + a + "}" + op + b + ",1,2)"), alone) << a << op << b;
            }
        }
    }
}

TEST_F(Evaluator, OperatorsOnScalars) {
    Check({{"=1+\"2\"", "3"},
           {"=1+\"a\"", "#VALUE!"},
           {"=TRUE+1", "2"},
           {"=0^0", "#NUM!"},
           {"=0^-1", "#DIV/0!"},
           {"=(-8)^(1/3)", "#NUM!"},
           {"=1/0", "#DIV/0!"},
           {"=2^3^2", "64"},
           {"=-2^2", "4"},
           {"=\"a\"=\"A\"", "TRUE"},
           {"=\"a\"<\"b\"", "TRUE"},
           {"=1<\"a\"", "TRUE"},
           {"=\"a\"<TRUE", "TRUE"},
           {"=TRUE>\"z\"", "TRUE"},
           {"=0.1+0.2=0.3", "TRUE"},
           {"=1E-20=2E-20", "FALSE"},
           {"=-\"3\"", "-3"},
           {"=5%", "0.05"},
           {"=\"a\"&1.5&TRUE", "a1.5TRUE"},
           {"=1E308*10", "#NUM!"},
           {"=#N/A+#REF!", "#N/A"},
           {"=1+#REF!", "#REF!"},
           {"=\"x\"&#N/A", "#N/A"},
           {"=-TRUE", "-1"},
           {"=1>=1", "TRUE"},
           {"=1<>2", "TRUE"},
           {"=10-2-3", "5"},
           {"=2*3%", "0.06"}});
}

TEST_F(Evaluator, AFunctionRepeatedOverAColumnAndARowReadsTheColumnByRows) {
    Check({{"=SUM(ROUND({1.26;2.34},{1,0}))", "6.6"},
           {"=SUM(ROUND({1.26,2.34},{1;0}))", "6.6"},
           {"=INDEX(ROUND({1.26;2.34;3.45},{1,0}),3,1)", "3.5"},
           {"=INDEX(MID({\"abc\";\"def\"},{1,2,3},1),2,3)", "f"},
           // An argument wider than the result is still read by the result's columns.
           {"=INDEX(ROUND({1,2,3;4,5,6},{0,0;0,0}),2,1)", "3"}});
    for (const char* cell : {"C1", "C2", "C3", "C4"})
        Enter(cell, cell[1] == '3' ? "xb" : cell[1] == '4' ? "ab" : "a");
    Check({{"=SUMPRODUCT(--ISNUMBER(SEARCH({\"a\",\"b\"},C1:C4)))", "5"}});
}

TEST_F(Evaluator, EqualityFoldsCaseAndNothingElse) {
    Check({{"=\"a\"=\"A\"", "TRUE"},
           {"=\"\u00e9\"=\"\u00c9\"", "TRUE"},
           {"=\"\uff41\"=\"\uff21\"", "TRUE"},
           {"=\"a\"=\"\uff41\"", "FALSE"},
           {"=\"a\"<>\"\uff41\"", "TRUE"},
           {"=\"1\"=\"\uff11\"", "FALSE"},
           {"=\"\u3042\"=\"\u30a2\"", "FALSE"},
           {"=\"\u30a2\"=\"\uff71\"", "FALSE"},
           {"=\"e\"=\"\u00e9\"", "FALSE"},
           {"=\"\u00e9\"<\"f\"", "TRUE"},
           {"=\"\u3042\"<\"\u30a4\"", "TRUE"},
           {"=OR(\"\u3042\"<\"\u30a2\",\"\u3042\">\"\u30a2\")", "TRUE"},
           {"=\"a-b\"=\"A-B\"", "TRUE"}});
}

TEST_F(Evaluator, AMinusZeroHasNoSignInATexts) {
    Check({{"=(0*-1)&\"\"", "0"},
           {"=\"a\"&-0", "a0"},
           {"=TEXT(0*-1,\"General\")", "0"},
           {"=-(0)&\"\"", "0"},
           {"=LEN(ROUND(-0.4,0))", "1"},
           {"=FIXED(0*-1,1)", "0.0"},
           {"=COMPLEX(0*-1,1)", "i"}});
}

TEST_F(Evaluator, OperatorsBroadcastOverArrays) {
    Check({{"=SUM({1,2}+{1;2})", "12"},
           {"={1,2,3}+1", "2"},
           {"=SUM({1,2}/1)", "3"},
           {"={1,2}/0", "#DIV/0!"},
           {"=SUM(({1,2,3}+{1,2}))", "#N/A"},
           {"=SUM(-{1,2})", "-3"},
           {"=SUM(({1,2,3}>1)*1)", "2"},
           {"={1,2}=#N/A", "#N/A"}});
}

TEST_F(Evaluator, EmptyCellsTakeTheTypeOfTheOtherSide) {
    Check({{"=B1=\"\"", "TRUE"},
           {"=B1=0", "TRUE"},
           {"=B1+1", "1"},
           {"=B1=FALSE", "TRUE"},
           {"=B1&\"x\"", "x"},
           {"=B1=B2", "TRUE"}});
}

TEST_F(Evaluator, ReferencesIntersectUniteAndRange) {
    Enter("A2", "1");
    Enter("A3", "2");
    Enter("B2", "4");
    Enter("B3", "8");
    Check({{"=SUM(A1:A3 B2:B4)", "#NULL!"},
           {"=SUM(A1:B3 A2:B2)", "5"},
           {"=SUM((A2,B3))", "9"},
           {"=SUM(A2:B2:A3)", "15"},
           {"=SUM((A2,B3,A2))", "10"},
           {"=1:2", "#VALUE!"}});
}

TEST_F(Evaluator, ListsRangesAndIntersectionsLieOnOneSheet) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("B1", "5");
    CurrentWorkbook()->currentSheet = 0;
    Enter("B1", "1");
    Enter("C1", "2");
    Enter("B2", "4");
    const std::pair<const char*, const char*> rows[] = {
        {"=SUM((B1,C1))", "3"},
        {"=SUM((Sheet1!B1,C1))", "3"},
        {"=SUM((C1,Sheet1!B1))", "3"},
        {"=INDEX((C1,Sheet1!B1),1,1,1)", "2"},
        {"=INDEX((C1,Sheet1!B1),1,1,2)", "1"},
        {"=INDEX((Sheet1!B1,C1),1,1,1)", "1"},
        {"=INDEX((Sheet1!B1,C1),1,1,2)", "2"},
        {"=AREAS((B1,C1,B1:C1))", "3"},
        {"=SUM((Sheet2!B1,Sheet2!C1))", "5"},
        {"=SUM((B1,Sheet2!B1))", "#VALUE!"},
        {"=SUM((Sheet2!B1,B1))", "#VALUE!"},
        {"=SUM((Sheet2!B1,Sheet1!B1))", "#VALUE!"},
        {"=SUM(B1:C1 C1:D1)", "2"},
        {"=SUM(B1:B2 B2:C2)", "4"},
        {"=SUM(B1 C1)", "#NULL!"},
        {"=SUM(B1:C1 B2:C2)", "#NULL!"},
        {"=SUM(Sheet2!A1:C1 Sheet2!B1:B2)", "5"},
        {"=SUM(Sheet2!B1:C1 B1:C1)", "#REF!"},
        {"=SUM(INDEX(B1:B2,2):C1)", "7"},
        {"=SUM(C1:INDEX(B1:B2,2))", "7"},
    };
    for (const auto& [formula, expected] : rows) EXPECT_EQ(Eval(formula), expected) << formula;
}

TEST_F(Evaluator, IfRunsOneBranchOnly) {
    Check({{"=IF(TRUE,1)", "1"},
           {"=IF(FALSE,1)", "FALSE"},
           {"=IF(1/0,1,2)", "#DIV/0!"},
           {"=IF(FALSE,1/0,2)", "2"},
           {"=IF(TRUE,1,1/0)", "1"},
           {"=IF(1)", "0"},
           {"=IF(0)", "FALSE"},
           {"=IF(\"x\",1,2)", "#VALUE!"},
           {"=IF(1,)", "0"},
           {"=1+IF(1=2,5,IF(2=2,6,7))*2", "13"},
           {"=CHOOSE(1/0,1)", "#DIV/0!"},
           {"=CHOOSE(1.9,1,2)", "1"}});
}

TEST_F(Evaluator, ArraysOfABranchNotTakenKeepTheirPlace) {
    Check({{"=SUM(IF(TRUE,{2,3},{4,5}),{6,7})", "18"},
           {"=SUM(IF(FALSE,{2,3},{4,5}),{6,7})", "22"},
           {"=MMULT(IF(FALSE,{2,3},{4,5}),IF(TRUE,{6;7},{8;9}))", "59"},
           {"=SUM(CHOOSE(2,{1},{\"a\",2},{3}),{40})", "42"},
           {"=SUM(IF(#N/A,{1},{2}))", "#N/A"}});
}

TEST_F(Evaluator, SumsSkipTextsAndStopAtErrors) {
    Enter("A1", "1");
    Enter("A2", "#N/A");
    Enter("A3", "5");
    EXPECT_EQ(Eval("=SUM(A1:A3)"), "#N/A");
    Enter("A2", "text");
    EXPECT_EQ(Eval("=SUM(A1:A3)"), "6");
    EXPECT_EQ(Eval("=SUM(\"3\",TRUE,2)"), "6");
    EXPECT_EQ(Eval("=SUM(\"x\")"), "#VALUE!");
}

TEST_F(Evaluator, ImplicitIntersectionReadsTheOwnRow) {
    Enter("A1", "10");
    Enter("A2", "20");
    Enter("A3", "30");
    Enter("C2", "=A1:A3");
    Enter("C5", "=A1:A3");
    Enter("D1", "=A1:B2");
    EXPECT_EQ(Shown("C2"), "20");
    EXPECT_EQ(Shown("C5"), "#VALUE!");
    EXPECT_EQ(Shown("D1"), "#VALUE!");
}

TEST_F(Evaluator, ArrayFormulasLiftScalarFunctions) {
    Sheet& sheet = *CurrentSheet();
    for (u8 column = 0; column < 2; ++column) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.arrayMode = true;
        CellInput input;
        input.column = column;
        ASSERT_TRUE(CompileFormula(place, u"=ABS({-1,2})", 'V', input.tokens));
        if (column == 0) {
            ASSERT_TRUE(sheet.arrayFormulas.Append({{0, 0, 0, 1}, 0, 0}));
        }
        ASSERT_TRUE(SetCell(CurrentBook(), 0, input, true, false));
    }
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(Shown("B1"), "2");
}

TEST_F(Evaluator, ASheetLocalNameHidesAGlobalOne) {
    DefineName("rate", "=5");
    Enter("A1", "=rate*2");
    EXPECT_EQ(Shown("A1"), "10");
    DefineName("rate", "=7", 1);
    EXPECT_EQ(Shown("A1"), "14");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("A1", "=rate*2");
    EXPECT_EQ(Shown("A1"), "10");
}

TEST_F(Evaluator, ANameStartsToWorkWhenItIsDefined) {
    Enter("A1", "=later+1");
    EXPECT_EQ(Shown("A1"), "#NAME?");
    DefineName("later", "=41");
    EXPECT_EQ(Shown("A1"), "42");
    EXPECT_EQ(CurrentWorkbook()->names.Count(), 1u);
}

TEST_F(Evaluator, ANameThatRefersToItselfEnds) {
    DefineName("again", "=again+1");
    EXPECT_EQ(Eval("=again"), "#NUM!");
}

TEST_F(Evaluator, ARelativeNameCountsFromTheCellThatUsesIt) {
    DefineName("up", "=A1");
    FormulaTokens& tokens = CurrentWorkbook()->names[0].tokens;
    ASSERT_TRUE(UnshareTokens(tokens));
    EXPECT_TRUE(AbsoluteTokens(tokens, -1, -1));  // defined with the active cell on B2
    Enter("B2", "7");
    Enter("C3", "=up");
    EXPECT_EQ(Shown("C3"), "7");
}

TEST_F(Evaluator, AMacroFunctionThroughANameIsFalseOnAWorksheet) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    DefineName("macro", "=GET.CELL(1)");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Eval("=macro"), "FALSE");
}

TEST_F(Evaluator, DamagedTokensEndCleanly) {
    const u8 streams[][6] = {
        {0x03, 0x03, 0x03, 0x03, 0x03, 0x03}, {0x17, 0xFF, 1, 0, 0, 0},       {0x19, 0x04, 0xFF, 0xFF, 0, 0},
        {0x42, 0x7F, 0xFF, 0x00, 0, 0},       {0x19, 0x08, 0xFF, 0xFF, 0, 0}, {0x60, 0, 0, 0, 0, 0},
        {0x43, 0xFF, 0xFF, 0, 0, 0},          {0x5A, 0xFF, 0x7F, 0, 0, 0},    {0x29, 0xFF, 0xFF, 0x24, 0, 0}};
    for (const auto& stream : streams) {
        for (u16 length = 1; length <= 6; ++length) {
            FormulaTokens tokens;
            ASSERT_TRUE(MakeTokens(tokens, ByteView(stream, length), {}));
            Value result;
            EvaluateFormula(tokens, result, {CurrentBook(), 0, 0, 0, 0});
            FreeValue(result);
            FreeTokens(tokens);
        }
    }
}

class Coercions : public Sandbox {
  protected:
    static Value Coerced(Value value, u16 wanted) {
        CoerceValue(value, wanted, {CurrentBook(), 0, 1, 3, 0});
        return value;
    }
    static double Number(WideView text) {
        Value value = Coerced(TextValue(text), VT_NUMBER);
        return value.type == VT_NUMBER ? value.number : -999 - value.error;
    }
};

TEST_F(Coercions, TextsToNumbers) {
    EXPECT_EQ(Number(u"abc"), -999 - ERR_VALUE);
    EXPECT_EQ(Number(u"1e3"), 1000);
    EXPECT_EQ(Number(u"12%"), 0.12);
    EXPECT_EQ(Number(u"3 1/2"), 3.5);
    EXPECT_EQ(Number(u"TRUE"), -999 - ERR_VALUE);
    EXPECT_EQ(Number(u"(5)"), -5);
    EXPECT_EQ(Number(u"$1,234"), 1234);
    EXPECT_EQ(Number(u"=1"), -999 - ERR_VALUE);
}

TEST_F(Coercions, TheOddCellsOfTheTable) {
    EXPECT_EQ(Coerced(Value(), VT_ARRAY).error, ERR_VALUE);
    Value text = Coerced(Value(), VT_STRING);
    EXPECT_EQ(text.type, VT_STRING);
    EXPECT_EQ(Coerced(ErrorValue(ERR_DIV0), VT_BOOL).error, ERR_VALUE);
    Value word = Coerced(ErrorValue(ERR_NA), VT_STRING);
    EXPECT_EQ(Narrow(TextOf(word)), "#N/A");
    FreeValue(word);
    EXPECT_EQ(Coerced(TextValue(u"x"), VT_AREA).error, ERR_REF);
    EXPECT_EQ(Coerced(NumberValue(1), VT_AREA).error, ERR_VALUE);
    EXPECT_EQ(Coerced(ErrorValue(ERR_NUM), VT_NUMBER).error, ERR_NUM);
}

TEST_F(Coercions, AReferenceOverTwoSheetsIsNoScalar) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Eval("=Sheet1:Sheet2!B1+1"), "#REF!");
    EXPECT_EQ(Eval("=SUM(Sheet1:Sheet2!B1)"), "0");
}

TEST_F(Coercions, AWholeColumnCountsItsRows) {
    Value array = ArrayValue(65536, 2);
    ASSERT_EQ(array.type, VT_ARRAY);
    EXPECT_EQ(array.rows, 0);
    EXPECT_EQ(ArrayElementCount(array), 131072u);
    FreeValue(array);
}

TEST(TokenWalk, StepsOverVariableTokens) {
    const u8 text[] = {0x17, 3, 1, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(NextToken(text, sizeof text, 0), 8u);
    const u8 choose[] = {0x19, 4, 2, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(NextToken(choose, sizeof choose, 0), 9u);
    EXPECT_EQ(FoldToken(0x44), FoldToken(0x64));
    EXPECT_EQ(FoldToken(0x44), 0x24);
    const u8 cut[] = {0x1F, 0};
    EXPECT_EQ(NextToken(cut, sizeof cut, 0), 1u);
}

TEST(TokenWalk, CopyingKeepsTheTrailingData) {
    FormulaTokens tokens, copy;
    const u8 bytes[] = {1, 2, 3};
    ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes, 1), ByteView(bytes + 1, 2)));
    CopyTokens(copy, tokens);
    ASSERT_TRUE(UnshareTokens(copy));
    EXPECT_EQ(copy.extraLength, 2);
    EXPECT_EQ(copy.bytes[2], 3);
    FreeTokens(tokens);
    FreeTokens(copy);
}

}  // namespace
}  // namespace tally
