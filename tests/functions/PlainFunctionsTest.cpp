#include <cstdlib>

#include "functions/FormulaFile.h"
#include "model/CellStore.h"

namespace tally {
namespace {

class PlainFunctions : public FormulaFile {};

TEST_F(PlainFunctions, OfNumbers) { Check("math.txt"); }
TEST_F(PlainFunctions, OverManyValues) { Check("aggregates.txt"); }

TEST_F(PlainFunctions, AgreeWithTwoOtherPrograms) { Check("witnessed.txt"); }
TEST_F(PlainFunctions, OverCellsAgreeWithTwoOtherPrograms) { Check("witnessed_cells.txt"); }

TEST_F(PlainFunctions, LargeMatricesAreWorkedOutAtOnce) {
    // 2 on the diagonal and -1 beside it: the determinant is one more than the order.
    for (int i = 0; i < 60; ++i) {
        for (int k = 0; k < 60; ++k) {
            const double element = i == k ? 2 : std::abs(i - k) == 1 ? -1 : 0;
            ASSERT_TRUE(InsertCell(*CurrentSheet(), i + 1, k, DEFAULT_CELL_FORMAT, NumberValue(element),
                                   FormulaTokens()));
        }
    }
    EXPECT_EQ(Eval("=ROUND(MDETERM(A2:BH61),6)"), "61");
    EXPECT_EQ(Eval("=ROUND(SUMPRODUCT(ABS(MMULT(A2:BH61,MINVERSE(A2:BH61)))),6)"), "60");
}

}  // namespace
}  // namespace tally
