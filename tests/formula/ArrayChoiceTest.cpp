#include "formula/ArrayChoice.h"

#include "formula/Coercion.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/Recalculation.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

struct Row {
    const char* formula;
    const char* expected;
};

class ArrayChoice : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        const char* entries[][2] = {{"D1", "a"}, {"D2", "b"},  {"D3", "a"},   {"E1", "1"},  {"E2", "2"},
                                    {"E3", "4"}, {"F1", "10"}, {"F2", "x"},   {"F3", "20"}, {"G1", "2"},
                                    {"G2", "1"}, {"G3", "3"},  {"H1", "TRUE"}};
        for (const auto& entry : entries) Enter(entry[0], entry[1]);
    }
    // The elements of a formula entered as an array formula over as many cells, as they are shown.
    static std::string Array(std::string_view formula, i32 rows, i32 columns) {
        std::string out;
        for (i32 row = 0; row < rows; ++row) {
            for (i32 column = 0; column < columns; ++column) {
                FormulaPlace place;
                place.book = CurrentBook();
                place.arrayMode = true;
                FormulaTokens tokens;
                EXPECT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
                Value result;
                EvalContext context = {CurrentBook(), 0, 0, 0, 1};
                EXPECT_TRUE(EvaluateFormula(tokens, result, context));
                FreeTokens(tokens);
                DerefValue(result, context);
                out += out.empty() ? "" : column ? "," : ";";
                Value element;
                if (result.type == VT_ARRAY) {
                    EXPECT_EQ(static_cast<i32>(ArrayRows(result)), rows) << formula;
                    EXPECT_EQ(static_cast<i32>(result.columns), columns) << formula;
                    CopyValue(element, result.elements[row * columns + column]);
                } else {
                    CopyValue(element, result);
                }
                FreeValue(result);
                out += TextOfValue(element);
                FreeValue(element);
            }
        }
        return out;
    }
    static std::string TextOfValue(const Value& value) {
        switch (value.type) {
            case VT_NUMBER: return std::to_string(static_cast<int>(value.number));
            case VT_STRING: return Narrow(TextOf(value));
            case VT_BOOL: return value.boolean ? "TRUE" : "FALSE";
            case VT_ERROR: return Narrow(ErrorText(value.error));
            default: return "-";
        }
    }
};

TEST_F(ArrayChoice, IfInAnArrayFormulaChoosesElementByElement) {
    const Row rows[] = {
        {"=SUM(IF(D1:D3=\"a\",E1:E3,0))", "5"},      {"=SUM(IF(D1:D3=\"a\",E1:E3))", "5"},
        {"=SUM(IF(D1:D3=\"a\",E1:E3,F1:F3))", "5"},  {"=SUM(IF(D1:D3=\"a\",IF(E1:E3>1,E1:E3,0),100))", "104"},
        {"=MAX(IF(D1:D3=\"a\",E1:E3))", "4"},        {"=AVERAGE(IF(D1:D3<>\"a\",E1:E3))", "2"},
        {"=SUM(IF(D1:D3=\"a\",1/0,0))", "#DIV/0!"},  {"=SUM(IF(D1:D3=\"none\",1/0,7))", "21"},
        {"=COUNT(IF(D1:D3=\"a\",E1:E3,\"\"))", "2"}, {"=SUM(IF(D1:D3=\"a\",,5))", "5"},
        {"=COUNT(IF(D1:D3=\"a\",,5))", "3"},         {"=SUM(IF(E1:E3=2,{10,20},{1;2;3}))", "38"},
    };
    for (const Row& row : rows) EXPECT_EQ(Array(row.formula, 1, 1), row.expected) << row.formula;
    EXPECT_EQ(Array("=IF(E1:E3>1,\"big\",E1:E3)", 3, 1), "1;big;big");
    EXPECT_EQ(Array("=IF(E1:E3>1,TRUE)", 3, 1), "FALSE;TRUE;TRUE");
    EXPECT_EQ(Array("=IF(F1:F3,1,2)", 3, 1), "1;#VALUE!;1");
    EXPECT_EQ(Array("=IF(E1:E3>1,E1:E2,0)", 3, 1), "0;2;#N/A");
    EXPECT_EQ(Array("=IF({TRUE;FALSE},{1,2},3)", 2, 2), "1,2;3,3");
    EXPECT_EQ(Array("=IF({TRUE,#REF!},{1;2},3)", 2, 2), "1,#REF!;2,#REF!");
}

TEST_F(ArrayChoice, ASingleConditionStillRunsOneBranch) {
    EXPECT_EQ(Array("=IF(H1,E1:E3,1/0)", 3, 1), "1;2;4");
    EXPECT_EQ(Array("=SUM(IF({FALSE},{1,2},{4,8}))", 1, 1), "12");
}

TEST_F(ArrayChoice, ChooseInAnArrayFormulaTakesEachElementsBranch) {
    EXPECT_EQ(Array("=CHOOSE(G1:G3,E1:E3,F1:F3,\"c\")", 3, 1), "10;2;c");
    EXPECT_EQ(Array("=CHOOSE(G1:G3,E1:E3,F1:F3)", 3, 1), "10;2;#VALUE!");
    EXPECT_EQ(Array("=CHOOSE({1,2},E1:E3,D1:D3)", 3, 2), "1,a;2,b;4,a");
    EXPECT_EQ(Array("=CHOOSE({2.9,0,\"x\"},1,2)", 1, 3), "2,#VALUE!,#VALUE!");
}

TEST_F(ArrayChoice, AnArrayArgumentOfAPlainFormulaChoosesToo) {
    const Row rows[] = {
        {"=SUMPRODUCT(IF(D1:D3=\"a\",E1:E3,0))", "5"},
        {"=VLOOKUP(2,IF({1,0},E1:E3,D1:D3),2,FALSE)", "b"},
        {"=VLOOKUP(\"b\",IF({1,0},D1:D3,E1:E3),2,FALSE)", "2"},
        {"=VLOOKUP(\"b\",CHOOSE({1,2},D1:D3,E1:E3),2,FALSE)", "2"},
        {"=SUM(IF({1,0,1},5,7))", "17"},
        {"=SUM(CHOOSE({1,2,2},5,7))", "19"},
        {"=SUM(IF({1,0},{2,3},{4,5}),{6,7})", "20"},
        {"=SUM(IF({0,1},{2,3},IF({1,0},{8,9},{4,5})),{6,7})", "24"},
        {"=SUM(CHOOSE({2,1},{1,2},{30,40},{100,200}),{1000})", "1032"},
        {"=IF({1,0},5,6)", "5"},
        {"=1+IF({0,1},5,6)", "7"},
        {"=SUM(IF({1,0},5,6)*2,3)", "25"},
    };
    for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
}

// Calls as some programs write them, without the jumps.
TEST_F(ArrayChoice, ACallWithoutItsJumpsChoosesToo) {
    // {TRUE,FALSE}, 5, 7, IF with three arguments, the sum of its result.
    const u8 bytes[] = {0x60, 0, 0, 0, 0, 0, 0, 0, 0x1E, 5, 0, 0x1E, 7, 0, 0x22, 3, 1, 0, 0x19, 0x10, 0, 0};
    const u8 extra[] = {1, 0, 0, VT_BOOL, 1, 0, 0, 0, 0, 0, 0, 0, VT_BOOL, 0, 0, 0, 0, 0, 0, 0, 0};
    FormulaTokens tokens;
    ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes, sizeof bytes), ByteView(extra, sizeof extra)));
    Value result;
    EvaluateFormula(tokens, result, {CurrentBook(), 0, 0, 0, 0});
    EXPECT_EQ(TextOfValue(result), "12");
    FreeValue(result);
    FreeTokens(tokens);
}

}  // namespace
}  // namespace tally
