#include <chrono>

#include "formula/Compiler.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class FormulaScaling : public Sandbox {};

// Milliseconds that the check and the compiler take for a text of repeated pieces.
double Milliseconds(std::string_view piece, std::size_t size) {
    std::string text = "=";
    while (text.size() + piece.size() < size) text += piece;
    const std::u16string wide = Wide(text + "1");
    FormulaPlace place;
    place.book = CurrentBook();
    FormulaTokens tokens;
    const auto start = std::chrono::steady_clock::now();
    IgnoreFailure(CompileFormula(place, wide, 'V', tokens));
    const auto stop = std::chrono::steady_clock::now();
    FreeTokens(tokens);
    return std::chrono::duration<double, std::milli>(stop - start).count();
}

// Generous for a loaded machine: a scan that is read again for each operand takes longer.
TEST_F(FormulaScaling, LongTextsEndSoon) {
    for (const char* piece : {"a:",   "A1:",        "A1:B1:", "1+",  "foo+", "A1,",   "a ",    "(",  "-",
                              "SUM(", "CHOOSE(1,",  "IF(1,",  "[a]", "'a'!", "{1}+",  "(1)+",  "1%", "[",
                              "x[",   "Sheet1!A1+", "foo(",   "A1(", "'",    "\"\"&", "((1)+", "a."}) {
        EXPECT_LT(Milliseconds(piece, 32000), 60) << piece;
        EXPECT_LT(Milliseconds(piece, 65000), 60) << piece;
    }
}

TEST_F(FormulaScaling, ARangeMayEndOnAnotherSheetsCell) {
    EXPECT_EQ(Compiled("=A1:B1:Sheet1!C1"), "250000000000C001C03A0000000002C011");
    EXPECT_EQ(Printed("=A1:B1:Sheet1!C1"), "=A1:B1:Sheet1!C1");
    EXPECT_EQ(Printed("=Sheet1:Sheet1!C1"), "=Sheet1!C1");
    // Two sheets make a prefix; what stands before them is a name and the operator of ranges.
    EXPECT_EQ(Compiled("=foo:Sheet1:Sheet1!C1"), "23010000003A0000000002C011");
    EXPECT_EQ(Compiled("=Missing:Sheet1!C1"), "fault");
}

}  // namespace
}  // namespace tally
