#include <cmath>
#include <random>

#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/FormulaTypes.h"
#include "support/Sandbox.h"

// Every row of the table called with arguments that it does not expect.

namespace tally {
namespace {

class EveryFunction : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        const char* column[] = {"1", "-2.5", "text", "TRUE", "=1/0", "1E+308", "0"};
        for (int row = 0; row < 7; ++row) Enter("B" + std::to_string(row + 1), column[row]);
        for (int row = 0; row < 9; ++row) Enter("C" + std::to_string(row + 1), std::to_string(row * 0.75 - 1));
        Enter("D1", "Name");
        Enter("E1", "Amount");
        Enter("D2", "a*");
        Enter("E2", "5");
        const WideView second = u"Second";
        ASSERT_TRUE(InsertSheet(1, &second, SHEET_WORKSHEET, false, false));
        BookAt(CurrentBook())->currentSheet = 0;
    }
};

constexpr std::string_view arguments[] = {
    "0",
    "1",
    "-1",
    "2.5",
    "1E+308",
    "-1E+308",
    "5E-324",
    "4294967296",
    "\"\"",
    "\"a*?~\"",
    "\"1\"",
    "\"1/2/2003\"",
    "\"3+4i\"",
    "TRUE",
    "#N/A",
    "#DIV/0!",
    "",
    "B1",
    "B1:B7",
    "C1:C9",
    "B1:E9",
    "Z9",
    "B:B",
    "3:3",
    "A1:IV65536",
    "Second!A1:B2",
    "(B1:B2,C1:C2)",
    "{1}",
    "{1,2,3}",
    "{1;2}",
    "{1,\"a\";TRUE,#N/A}",
    "D1:E2",
    "REPT(\"x\",70000)",
    "IF({1,0},B1,C1)",
    "\"*\"",
    "10",
    "40000",
    "0.5",
};

void ExpectScalar(const Value& value, const std::string& formula) {
    switch (value.type) {
        case VT_EMPTY: return;
        case VT_NUMBER: EXPECT_TRUE(std::isfinite(value.number)) << formula; return;
        case VT_STRING: EXPECT_NE(value.text, nullptr) << formula; return;
        case VT_BOOL: EXPECT_TRUE(value.boolean == 0 || value.boolean == 1) << formula; return;
        case VT_ERROR: EXPECT_TRUE(value.error >= 0 && value.error < ERROR_COUNT) << formula; return;
        default: ADD_FAILURE() << formula << " leaves a value of type " << value.type;
    }
}

void ExpectWellFormed(const Value& value, const std::string& formula) {
    if (value.type == VT_AREA) return;
    if (value.type == VT_REF) {
        EXPECT_GT(value.areas->count, 0) << formula;
    } else if (value.type == VT_ARRAY) {
        EXPECT_GT(value.columns, 0) << formula;
        for (u32 i = 0; i < ArrayElementCount(value); ++i) ExpectScalar(value.elements[i], formula);
    } else {
        ExpectScalar(value, formula);
    }
}

std::string CallText(const FunctionEntry& entry, std::mt19937& random) {
    std::size_t count = 0;
    while (count < entry.signature.size() && entry.signature[count] < 'a') ++count;
    const std::size_t optional = entry.signature.size() - count;
    if (optional) count += random() % (optional < 4 ? optional + 1 : 4);
    std::string text = "=" + Narrow(entry.name) + "(";
    for (std::size_t i = 0; i < count; ++i) {
        if (i) text += ',';
        text += arguments[random() % std::size(arguments)];
    }
    return text + ")";
}

TEST_F(EveryFunction, LeavesAProperValueWhateverItIsGiven) {
    std::mt19937 random(20260102);
    int called = 0;
    for (const FunctionEntry& entry : FunctionTable) {
        if (entry.category >= CATEGORY_MACRO_CONTROL) continue;
        for (int round = 0; round < 20; ++round) {
            const std::string formula = CallText(entry, random);
            const FormulaPlace place{CurrentBook(), 0, 11, 9};
            FormulaTokens tokens;
            if (!CompileFormula(place, Wide(formula), 'R', tokens)) continue;
            Value result;
            EvaluateFormula(tokens, result, {CurrentBook(), 0, 11, 9, round & 1});
            ExpectWellFormed(result, formula);
            FreeValue(result);
            FreeTokens(tokens);
            ++called;
        }
    }
    EXPECT_GT(called, 4000);
}

// The sum over a formula's elements when it is entered as an array, or its error.
std::string EnteredAsArray(std::string_view formula) {
    FormulaPlace place{CurrentBook(), 0, 11, 9};
    place.arrayMode = true;
    FormulaTokens tokens;
    if (!CompileFormula(place, Wide(formula), 'A', tokens)) return "fault";
    Value result;
    EvaluateFormula(tokens, result, {CurrentBook(), 0, 11, 9, 1});
    double sum = 0;
    std::string shown;
    if (result.type == VT_ERROR) shown = Narrow(ErrorText(result.error));
    for (u32 i = 0; result.type == VT_ARRAY && i < ArrayElementCount(result); ++i)
        sum += result.elements[i].number;
    FreeValue(result);
    FreeTokens(tokens);
    return shown.empty() ? std::to_string(sum) : shown;
}

TEST_F(EveryFunction, AFunctionRepeatedOverAnArrayEndsHoweverLargeTheOtherIs) {
    EXPECT_EQ(EnteredAsArray("=LARGE(ROW(1:300)*1,ROW(1:300))"), "45150.000000");
    EXPECT_EQ(EnteredAsArray("=LARGE(ROW(1:65536)*1,ROW(1:65536))"), "#N/A");
}

}  // namespace
}  // namespace tally
