#include "functions/FormulaFile.h"

namespace tally {
namespace {

class Securities : public FormulaFile {};

TEST_F(Securities, BondsAgreeWithWorkedOutValues) { Check("bonds.txt"); }
TEST_F(Securities, OddPeriodsAgreeWithWorkedOutValues) { Check("oddperiods.txt"); }
TEST_F(Securities, Rules) { Check("securities.txt"); }

}  // namespace
}  // namespace tally
