#include "formula/Compiler.h"
#include "formula/TokenWalk.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class FormulaScaling : public Sandbox {};

// Compiles a text of repeated pieces; what compiles must be whole.
void CompileLong(std::string_view piece, std::size_t size) {
    std::string text = "=";
    while (text.size() + piece.size() < size) text += piece;
    FormulaPlace place;
    place.book = CurrentBook();
    FormulaTokens tokens;
    if (CompileFormula(place, Wide(text + "1"), 'V', tokens)) {
        EXPECT_TRUE(TokensAreWhole(tokens)) << piece;
    }
    FreeTokens(tokens);
}

// A scan that read the rest of the text again for each operand would show in the time of this test.
TEST_F(FormulaScaling, LongTextsOfEveryPieceEnd) {
    for (const char* piece : {"a:",   "A1:",        "A1:B1:", "1+",  "foo+", "A1,",   "a ",    "(",  "-",
                              "SUM(", "CHOOSE(1,",  "IF(1,",  "[a]", "'a'!", "{1}+",  "(1)+",  "1%", "[",
                              "x[",   "Sheet1!A1+", "foo(",   "A1(", "'",    "\"\"&", "((1)+", "a."}) {
        CompileLong(piece, 32000);
        CompileLong(piece, 65000);
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
