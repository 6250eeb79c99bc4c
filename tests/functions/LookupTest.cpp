#include <string>
#include <vector>

#include "base/Number.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/Tokens.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Lookup : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
    // The numbers of an array formula's result, rows apart by ";".
    static std::string EvalArray(std::string_view formula) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.sheet = CurrentWorkbook()->currentSheet;
        place.arrayMode = true;
        FormulaTokens tokens;
        if (!CompileFormula(place, Wide(formula), 'A', tokens)) return "fault";
        const EvalContext context{place.book, place.sheet, 0, 0, 1};
        Value result;
        EXPECT_TRUE(EvaluateFormula(tokens, result, context));
        WideText text;
        for (u32 i = 0; result.type == VT_ARRAY && i < ArrayElementCount(result); ++i) {
            const Value& element = result.elements[i];
            if (i) EXPECT_TRUE(text.Append(i % result.columns ? u',' : u';'));
            EXPECT_TRUE(element.type == VT_NUMBER ? AppendInteger(text, static_cast<i64>(element.number))
                                                  : text.Append(u'?'));
        }
        FreeValue(result);
        FreeTokens(tokens);
        return Narrow(text);
    }
    // Fruits and prices in B1:C5.
    static void FillTable() {
        const char* fruits[] = {"apple", "Banana", "cherry", "5", "TRUE"};
        for (int i = 0; i < 5; ++i) {
            Enter("B" + std::to_string(i + 1), fruits[i]);
            Enter("C" + std::to_string(i + 1), std::to_string(10 * (i + 1)));
        }
    }
};

TEST_F(Lookup, ApproximateLookupScansUpwardFromTheLastRow) { EXPECT_EQ(Eval("=VLOOKUP(5,{1;9;3},1)"), "3"); }

TEST_F(Lookup, ExactLookupUsesTheWildcard) {
    FillTable();
    Check({{"=VLOOKUP(\"a*\",B1:C5,2,FALSE)", "10"},
           {"=VLOOKUP(\"?AN*\",B1:C5,2,FALSE)", "20"},
           {"=VLOOKUP(\"a\",B1:C5,2,FALSE)", "#N/A"}});
}

TEST_F(Lookup, TablesOfCellsAndOfConstants) {
    FillTable();
    Enter("D9", "apple");
    Check({{"=VLOOKUP(\"BANANA\",B1:C5,2,FALSE)", "20"},
           {"=VLOOKUP(\"banana\",B:C,2)", "20"},
           {"=VLOOKUP(\"blue\",B1:C5,2)", "20"},
           {"=VLOOKUP(\"aaa\",B1:C5,2)", "#N/A"},
           {"=VLOOKUP(7,B1:C5,2)", "40"},
           {"=VLOOKUP(7,B1:C5,2,FALSE)", "#N/A"},
           {"=VLOOKUP(4,B1:C5,2)", "#N/A"},
           {"=VLOOKUP(TRUE,B1:C5,2)", "50"},
           {"=VLOOKUP(FALSE,B1:C5,2)", "#N/A"},
           {"=VLOOKUP(5,B1:C5,0)", "#VALUE!"},
           {"=VLOOKUP(5,B1:C5,-1)", "#VALUE!"},
           {"=VLOOKUP(5,B1:C5,3)", "#REF!"},
           {"=VLOOKUP(5,B1:C5,1E+20)", "#REF!"},
           {"=VLOOKUP(5,B1:C5,2.9)", "40"},
           {"=VLOOKUP(1/0,B1:C5,2)", "#DIV/0!"},
           {"=VLOOKUP(5,(B1:C5,E1:F2),2)", "#N/A"},
           {"=VLOOKUP(5,7,1)", "#N/A"},
           {"=VLOOKUP(5,B1:C5,\"x\")", "#VALUE!"},
           {"=VLOOKUP(D9,B1:C5,2,0)", "10"},
           {"=VLOOKUP(E9,B1:C5,2,0)", "#N/A"},
           {"=HLOOKUP(\"b\",{\"a\",\"b\";1,2},2,FALSE)", "2"},
           {"=HLOOKUP(\"b\",{\"a\",\"c\",\"b\";1,2,3},2)", "3"},
           {"=HLOOKUP(20,B2:C5,3)", "40"},
           {"=HLOOKUP(19,B2:C5,3)", "#N/A"},
           {"=HLOOKUP(20,B2:C5,5)", "#REF!"},
           {"=HLOOKUP(20,B2:C5,0)", "#VALUE!"},
           {"=VLOOKUP(0.3,{1,2;0.3,3},2,FALSE)", "3"},
           {"=VLOOKUP(0.1+0.2,{1,2;0.3,3},2,FALSE)", "3"}});
}

TEST_F(Lookup, TablesOnOtherSheets) {
    FillTable();
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_WORKSHEET, false, false));
    Check({{"=VLOOKUP(\"cherry\",Sheet1!B1:C5,2,FALSE)", "30"},
           {"=VLOOKUP(\"cherry\",Sheet1:Sheet2!B1:C5,2,FALSE)", "#VALUE!"},
           {"=MATCH(\"cherry\",Sheet1!B1:B5,0)", "3"},
           {"=ROWS(Sheet1!B1:C5)", "5"},
           {"=INDEX(Sheet1!B1:C5,3,2)", "30"},
           {"=SUM(OFFSET(Sheet1!C1,1,0,2))", "50"}});
}

TEST_F(Lookup, FormulasInTheTableAreCalculatedFirst) {
    Enter("B1", "1");
    Enter("B2", "=B1+1");
    Enter("B3", "=B2+1");
    Enter("C3", "=B3*100");
    Enter("D1", "=VLOOKUP(3,B1:C3,2,FALSE)");
    EXPECT_EQ(Shown("D1"), "300");
    Enter("B1", "5");
    EXPECT_EQ(Shown("D1"), "#N/A");
    Enter("D1", "=VLOOKUP(7,B1:C3,2,FALSE)");
    EXPECT_EQ(Shown("D1"), "700");
}

TEST_F(Lookup, DescendingMatchStopsAtTheFirstElementNotAbove) {
    EXPECT_EQ(Eval("=MATCH(2,{1,2,3},-1)"), "#N/A");
}

TEST_F(Lookup, MatchWalksFromTheFirst) {
    FillTable();
    Check(
        {{"=MATCH(2,{1,2,3})", "2"},    {"=MATCH(2.5,{1,2,3},1)", "2"},      {"=MATCH(0,{1,2,3},1)", "#N/A"},
         {"=MATCH(5,{1,9,3},1)", "1"},  {"=MATCH(4,{5,4,3},-1)", "2"},       {"=MATCH(3.5,{5,4,3},-1)", "2"},
         {"=MATCH(3,{1,2,3},0)", "3"},  {"=MATCH(2,{2,2,3},1)", "1"},        {"=MATCH(\"B*\",B1:B5,0)", "2"},
         {"=MATCH(\"B*\",B1:B5)", "1"}, {"=MATCH(\"CHERRY\",B1:B5,1)", "3"}, {"=MATCH(\"blue\",B1:B5,1)", "2"},
         {"=MATCH(5,B1:B5,0)", "4"},    {"=MATCH(TRUE,B1:B5,0)", "5"},       {"=MATCH(20,B2:C2,0)", "2"},
         {"=MATCH(1,B1:C5,0)", "#N/A"}, {"=MATCH(20,C:C,0)", "2"},           {"=MATCH(1/0,B1:B5,0)", "#DIV/0!"},
         {"=MATCH(1,1,0)", "#N/A"},     {"=MATCH(E5,B1:B9,0)", "#N/A"}});
}

TEST_F(Lookup, LookupInBothForms) {
    FillTable();
    Check({{"=LOOKUP(25,C1:C5,B1:B5)", "Banana"},
           {"=LOOKUP(5,C1:C5,B1:B5)", "#N/A"},
           {"=LOOKUP(2,{1,2,3},{\"a\",\"b\",\"c\"})", "b"},
           {"=LOOKUP(2,{1,2,3},{\"a\";\"b\";\"c\"})", "b"},
           {"=LOOKUP(3,{1,2,3},{\"a\",\"b\"})", "#REF!"},
           {"=LOOKUP(3,{1,2,3},{1,2;3,4})", "#N/A"},
           {"=LOOKUP(2,{1,2,3;4,5,6})", "5"},
           {"=LOOKUP(3,{1,4;2,5;3,6})", "6"},
           {"=LOOKUP(2,{1,4;2,5})", "5"},
           {"=LOOKUP(\"cat\",B1:C3)", "20"},
           {"=LOOKUP(1/0,B1:C3)", "#DIV/0!"}});
}

TEST_F(Lookup, IndexOfRowZeroIsTheColumnAsAReference) {
    for (int i = 1; i <= 3; ++i) Enter("C" + std::to_string(i), std::to_string(i));
    Check({{"=SUM(INDEX(B1:D3,0,2))", "6"},
           {"=ISREF(INDEX(B1:D3,0,2))", "TRUE"},
           {"=CELL(\"ADDRESS\",INDEX(B1:D3,0,2))", "$C$1"},
           {"=ROWS(INDEX(B1:D3,0,2))", "3"},
           {"=COLUMNS(INDEX(B1:D3,0,2))", "1"}});
}

TEST_F(Lookup, AnErrorAsTheTableIsTheResult) {
    Enter("D1", "=1/0");
    Check({{"=VLOOKUP(1,#REF!,1)", "#REF!"},
           {"=VLOOKUP(1,1/0,1)", "#DIV/0!"},
           {"=HLOOKUP(1,#NUM!,1,FALSE)", "#NUM!"},
           {"=MATCH(1,#NAME?,0)", "#NAME?"},
           {"=LOOKUP(1,#NULL!)", "#NULL!"},
           {"=LOOKUP(1,{1,2},#REF!)", "#REF!"},
           {"=VLOOKUP(#N/A,#REF!,1)", "#N/A"},
           {"=MATCH(1,5,0)", "#N/A"},
           {"=MATCH(1,D1,0)", "#N/A"}});
}

// What files hold of lookups over lists that are not sorted.
TEST_F(Lookup, AscendingLookupsGoByHalvesAmongCells) {
    const char* numbers[] = {"INTEGRAL", "0", "1", "2", "534", "9999999999", "-9999999999", "-534", "-2", "-1"};
    const char* row[] = {"DOUBLE", "BLANK", "STRING", "REF", "AREA (rows)"};
    const char* colours[] = {"black", "red", "green", "yellow", "violet", "brown"};
    for (int i = 0; i < 10; ++i) {
        Enter("B" + std::to_string(i + 1), numbers[i]);
        Enter("C" + std::to_string(i + 1), std::to_string(i + 1));
    }
    for (int i = 0; i < 5; ++i) Enter(std::string(1, static_cast<char>('E' + i)) + "1", row[i]);
    for (int i = 0; i < 6; ++i) Enter("E" + std::to_string(i + 3), colours[i]);
    Check({{"=VLOOKUP(534,B1:C7,2)", "5"},
           {"=VLOOKUP(-1,B1:C7,2,TRUE)", "#N/A"},
           {"=LOOKUP(534,B1:B10,C1:C10)", "5"},
           {"=LOOKUP(\"DOUBLE\",E1:I1)", "DOUBLE"},
           {"=HLOOKUP(\"STRING\",E1:I1,1)", "STRING"},
           {"=MATCH(\"green\",E3:E8,1)", "3"},
           {"=MATCH(\"green\",E3:E8)", "3"},
           {"=LOOKUP(9E+307,B:B)", "-1"},
           {"=LOOKUP(\"zzz\",B:B)", "INTEGRAL"},
           {"=MATCH(9E+307,B1:B10)", "10"},
           {"=VLOOKUP(5,{1;9;3},1)", "3"}});
}

TEST_F(Lookup, HalvesFindTheLastOfEqualElementsAndPassOverOtherCells) {
    const char* column[] = {"1", "", "2", "2", "x", "2", "", "TRUE", "3", "#N/A", "3", "7"};
    for (int i = 0; i < 12; ++i) {
        if (*column[i]) Enter("B" + std::to_string(i + 1), column[i]);
    }
    Check({{"=MATCH(0,B1:B12)", "#N/A"},
           {"=MATCH(1,B1:B12)", "1"},
           {"=MATCH(1.5,B1:B12)", "1"},
           {"=MATCH(2,B1:B12)", "6"},
           {"=MATCH(2.5,B1:B12)", "6"},
           {"=MATCH(3,B1:B12)", "11"},
           {"=MATCH(6,B1:B12)", "11"},
           {"=MATCH(7,B1:B12)", "12"},
           {"=MATCH(8,B:B)", "12"},
           {"=MATCH(\"x\",B1:B12)", "5"},
           {"=MATCH(\"y\",B1:B12)", "5"},
           {"=MATCH(\"a\",B1:B12)", "#N/A"},
           {"=MATCH(7,D1:D12)", "#N/A"}});
}

// Sorted columns, with gaps, duplicates and texts among the numbers: the last element that is not above.
TEST_F(Lookup, HalvesFindWhatAScanFindsInASortedColumn) {
    for (int length = 1; length < 40; ++length) {
        std::string formula;
        int previous = 0;
        std::vector<int> values(40, -1);
        for (int row = 0; row < length; ++row) {
            const std::string cell = "B" + std::to_string(row + 1);
            Enter(cell, "");
            previous += row * 7 % 3;
            if (row % 5 == 3) Enter(cell, "text");
            if (row % 5 == 4) continue;
            if (row % 5 != 3) Enter(cell, std::to_string(values[static_cast<std::size_t>(row)] = previous));
        }
        for (int wanted = -1; wanted <= previous + 1; ++wanted) {
            int last = 0;
            for (int row = 0; row < length; ++row) {
                const int value = values[static_cast<std::size_t>(row)];
                if (value >= 0 && value <= wanted) last = row + 1;
            }
            EXPECT_EQ(Eval("=MATCH(" + std::to_string(wanted) + ",B1:B" + std::to_string(length) + ")"),
                      last ? std::to_string(last) : "#N/A")
                << length << " " << wanted;
        }
    }
}

TEST_F(Lookup, IndexPicksFromReferencesAndArrays) {
    FillTable();
    Check({{"=INDEX(B1:C5,3,2)", "30"},
           {"=INDEX(B1:C5,3.9,2.9)", "30"},
           {"=SUM(INDEX(B1:C5,3,0))", "30"},
           {"=ROWS(INDEX(B1:C5,,))", "5"},
           {"=ROWS(INDEX(B1:C5,0,0))", "5"},
           {"=INDEX(C1:C5,2)", "20"},
           {"=INDEX(B2:C2,2)", "20"},
           {"=INDEX(B2:C2,3)", "#REF!"},
           {"=INDEX(B1:C5,6,1)", "#REF!"},
           {"=INDEX(B1:C5,1,3)", "#REF!"},
           {"=INDEX(B1:C5,-1,1)", "#VALUE!"},
           {"=INDEX(B1:C5,1,-1)", "#VALUE!"},
           {"=INDEX(B1:C5,9,-1)", "#VALUE!"},
           {"=INDEX(C1:C5,-1)", "#VALUE!"},
           {"=INDEX(B2:C2,-1)", "#VALUE!"},
           {"=INDEX(B1:C5,1)", "#REF!"},
           {"=INDEX(B1:C5,0)", "#REF!"},
           {"=INDEX(B1:C5,-1)", "#VALUE!"},
           {"=SUM(INDEX(B1:C5,3))", "#REF!"},
           {"=INDEX({1,2;3,4},-1,1)", "#VALUE!"},
           {"=INDEX(B1:C5,1E+20,1)", "#REF!"},
           {"=INDEX((B1:B5,C1:C5),4,1,2)", "40"},
           {"=INDEX((B1:B5,C1:C5),4,1)", "5"},
           {"=INDEX((B1:B5,C1:C5),4,1,3)", "#REF!"},
           {"=INDEX((B1:B5,C1:C5),4,1,0)", "#REF!"},
           {"=INDEX({1,2;3,4},2,1)", "3"},
           {"=SUM(INDEX({1,2;3,4},0,2))", "6"},
           {"=SUM(INDEX({1,2;3,4},2,0))", "7"},
           {"=SUM(INDEX({1,2;3,4},0,0))", "10"},
           {"=INDEX({1,2,3},2)", "2"},
           {"=INDEX({1,2;3,4},3,1)", "#REF!"},
           {"=INDEX({1,2;3,4},1,1,2)", "#REF!"},
           {"=INDEX({\"a\",\"b\"},1,2)", "b"},
           {"=INDEX(B1:C5,\"x\",1)", "#VALUE!"}});
}

TEST_F(Lookup, OffsetAboveTheSheetIsNoReference) { EXPECT_EQ(Eval("=OFFSET(A1,-1,0)"), "#REF!"); }

TEST_F(Lookup, OffsetMovesAndResizes) {
    for (int i = 1; i <= 5; ++i) Enter("C" + std::to_string(i), std::to_string(i));
    Check({{"=OFFSET(B1,2,1)", "3"},
           {"=SUM(OFFSET(C1:C2,1,0))", "5"},
           {"=SUM(OFFSET(C1,0,0,5,1))", "15"},
           {"=SUM(OFFSET(C1,1,0,3))", "9"},
           {"=ROWS(OFFSET(B1:C5,0,0,,1))", "5"},
           {"=OFFSET(B1,0,0,0)", "#REF!"},
           {"=OFFSET(B1,0,0,1,-1)", "#REF!"},
           {"=OFFSET(B1,0,255)", "#REF!"},
           {"=OFFSET(B1,65536,0)", "#REF!"},
           {"=ROW(OFFSET(B1,65535,0))", "65536"},
           {"=OFFSET(B2,65535,0)", "#REF!"},
           {"=OFFSET(B1,1E+30,1E+30)", "#REF!"},
           {"=OFFSET((B1,C1),1,0)", "#VALUE!"},
           {"=OFFSET(B1,1/0,0)", "#DIV/0!"}});
    Enter("D1", "=OFFSET(B1,E1,1)");
    EXPECT_EQ(Shown("D1"), "1");
    Enter("E1", "4");
    EXPECT_EQ(Shown("D1"), "5");
}

TEST_F(Lookup, IndirectReadsBothNotations) {
    Enter("C2", "7");
    Enter("D1", "C2");
    DefineName("prices", "=Sheet1!$C$1:$C$3");
    Check({{"=INDIRECT(\"C2\")", "7"},
           {"=INDIRECT(D1)", "7"},
           {"=INDIRECT(\"R2C3\",FALSE)", "7"},
           {"=INDIRECT(\"R[1]C[2]\",FALSE)", "7"},
           {"=SUM(INDIRECT(\"Sheet1!B1:C3\"))", "7"},
           {"=SUM(INDIRECT(\"prices\"))", "7"},
           {"=INDIRECT(\"nothing here\")", "#REF!"},
           {"=INDIRECT(\"\")", "#REF!"},
           {"=INDIRECT(\"R2C3\",TRUE)", "#REF!"},
           {"=INDIRECT(1/0)", "#DIV/0!"},
           {"=INDIRECT(\"C2\",\"x\")", "#VALUE!"}});
}

TEST_F(Lookup, AddressOfRowZeroIsNoAddress) { EXPECT_EQ(Eval("=ADDRESS(0,1)"), "#VALUE!"); }

TEST_F(Lookup, AddressesInEveryForm) {
    Check({{"=ADDRESS(2,3)", "$C$2"},
           {"=ADDRESS(2,3,2)", "C$2"},
           {"=ADDRESS(2,3,3)", "$C2"},
           {"=ADDRESS(2,3,4)", "C2"},
           {"=ADDRESS(2,3,5)", "$C$2"},
           {"=ADDRESS(2,3,6)", "C$2"},
           {"=ADDRESS(2,3,7)", "$C2"},
           {"=ADDRESS(2,3,8)", "C2"},
           {"=ADDRESS(2,3,9)", "#VALUE!"},
           {"=ADDRESS(2,3,0)", "#VALUE!"},
           {"=ADDRESS(2,3,1,FALSE)", "R2C3"},
           {"=ADDRESS(2,3,2,FALSE)", "R2C[3]"},
           {"=ADDRESS(2,3,4,FALSE)", "R[2]C[3]"},
           {"=ADDRESS(2,3,1,TRUE,\"Plan\")", "Plan!$C$2"},
           {"=ADDRESS(2,3,1,TRUE,\"My Plan\")", "'My Plan'!$C$2"},
           {"=ADDRESS(2,3,1,TRUE,\"2000\")", "'2000'!$C$2"},
           {"=ADDRESS(2,3,1,FALSE,\"It's\")", "'It''s'!R2C3"},
           {"=ADDRESS(2,3,3,TRUE,\"[Book1]Sheet1\")", "[Book1]Sheet1!$C2"},
           {"=ADDRESS(2,3,3,TRUE,\"[My Book]Sheet1\")", "'[My Book]Sheet1'!$C2"},
           {"=ADDRESS(2,3,3,TRUE,\"[Book1\")", "'[Book1'!$C2"},
           {"=ADDRESS(65536,256)", "$IV$65536"},
           {"=ADDRESS(65537,1)", "#VALUE!"},
           {"=ADDRESS(1,257)", "#VALUE!"},
           {"=ADDRESS(1,1E+20)", "#VALUE!"},
           {"=ADDRESS(1,1,0)", "#VALUE!"},
           {"=ADDRESS(1,\"x\")", "#VALUE!"}});
}

TEST_F(Lookup, ChooseTakesTheArgumentAsItStands) {
    Enter("B1", "4");
    Enter("B2", "5");
    Check({{"=CHOOSE(2,\"a\",\"b\")", "b"},
           {"=CHOOSE(2.9,\"a\",\"b\")", "b"},
           {"=SUM(CHOOSE(1,B1:B2,9))", "9"},
           {"=ISREF(CHOOSE(1,B1,9))", "TRUE"},
           {"=CHOOSE(0,1,2)", "#VALUE!"},
           {"=CHOOSE(3,1,2)", "#VALUE!"},
           {"=CHOOSE(1/0,1,2)", "#DIV/0!"}});
}

TEST_F(Lookup, RowsAndColumns) {
    Check({{"=ROW()", "1"},
           {"=COLUMN()", "1"},
           {"=ROW(C5:D9)", "5"},
           {"=COLUMN(C5:D9)", "3"},
           {"=ROW((A1,B2))", "#VALUE!"},
           {"=ROWS(C5:D9)", "5"},
           {"=COLUMNS(C5:D9)", "2"},
           {"=ROWS({1,2;3,4;5,6})", "3"},
           {"=COLUMNS({1,2;3,4;5,6})", "2"},
           {"=ROWS(PI())", "1"},
           {"=COLUMNS(\"text\")", "1"},
           {"=COLUMNS(1/0)", "#DIV/0!"},
           {"=ROWS(A:A)", "65536"},
           {"=ROWS((A1,B2))", "#VALUE!"},
           {"=AREAS(A1:B9)", "1"},
           {"=AREAS((A1,B2,C3:D4))", "3"}});
    Enter("C4", "=ROW()*10+COLUMN()");
    EXPECT_EQ(Shown("C4"), "43");
}

TEST_F(Lookup, TransposeSwapsTheSides) {
    Check({{"=INDEX(TRANSPOSE({1,2,3;4,5,6}),3,2)", "6"},
           {"=INDEX(TRANSPOSE({1,2,3;4,5,6}),2,1)", "2"},
           {"=ROWS(TRANSPOSE({1,2,3;4,5,6}))", "3"},
           {"=COLUMNS(TRANSPOSE({1,2,3;4,5,6}))", "2"},
           {"=TRANSPOSE(5)", "5"}});
}

TEST_F(Lookup, ArrayFormulasGetWholeLines) {
    Enter("B1", "1");
    Enter("C1", "2");
    Enter("B2", "3");
    Enter("C2", "4");
    EXPECT_EQ(EvalArray("=ROW(C5:D8)"), "5;6;7;8");
    EXPECT_EQ(EvalArray("=COLUMN(C5:E8)"), "3,4,5");
    EXPECT_EQ(EvalArray("=TRANSPOSE(B1:C2)"), "1,3;2,4");
    EXPECT_EQ(EvalArray("=MATCH({3,1},B1:B2,0)"), "2,1");
    EXPECT_EQ(EvalArray("=VLOOKUP({1;3},B1:C2,2,FALSE)"), "2;4");
    EXPECT_EQ(EvalArray("=N({TRUE,2})"), "1,2");
}

// The columns hold more cells than an array may: a lookup that copied its table would yield "#N/A".
TEST_F(Lookup, LongTablesAreReadWhereTheyLie) {
    for (int i = 0; i < 2000; ++i) Enter("B" + std::to_string(i + 1), std::to_string(i));
    Enter("C2000", "7");
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(Eval("=VLOOKUP(1999,B:IV,2,FALSE)"), "7");
}

TEST_F(Lookup, HyperlinkShowsItsNameAndMarksTheCell) {
    Check({{"=HYPERLINK(\"http://example.org\")", "http://example.org"},
           {"=HYPERLINK(\"http://example.org\",\"here\")", "here"},
           {"=HYPERLINK(\"http://example.org\",7)", "7"},
           {"=HYPERLINK(1/0,7)", "#DIV/0!"}});
    EXPECT_EQ(CurrentSheet()->hyperlinks.Count(), 0u);
    Enter("B2", "=HYPERLINK(C2,\"here\")");
    Enter("C2", "http://example.org");
    EXPECT_EQ(Shown("B2"), "here");
    ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->hyperlinks[0].area, (RefArea{1, 1, 1, 1}));
    EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].target), "http://example.org");
    Enter("C2", "#Sheet1!D4");
    EXPECT_EQ(Shown("B2"), "here");
    ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
    EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].location), "Sheet1!D4");
    EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].target), "");
    Enter("B2", "gone");
    EXPECT_EQ(CurrentSheet()->hyperlinks.Count(), 0u);
}

}  // namespace
}  // namespace tally
