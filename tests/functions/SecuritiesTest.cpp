#include "functions/FormulaFile.h"

namespace tally {
namespace {

class Securities : public FormulaFile {};

TEST_F(Securities, Coupons) { Check("coupons.txt"); }

}  // namespace
}  // namespace tally
