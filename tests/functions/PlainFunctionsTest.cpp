#include "functions/FormulaFile.h"

namespace tally {
namespace {

class PlainFunctions : public FormulaFile {};

TEST_F(PlainFunctions, OfNumbers) { Check("math.txt"); }
TEST_F(PlainFunctions, OverManyValues) { Check("aggregates.txt"); }

}  // namespace
}  // namespace tally
