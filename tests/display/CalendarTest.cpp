// Dates far away, and numbers in less and less room.

#include "display/Calendar.h"

#include <gtest/gtest.h>

#include "display/NumberFormatter.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

TEST(Calendar, DatesBeyondTheNumbersOfDaysStayAtTheirEnds) {
    EXPECT_EQ(DateToSerial(INT32_MAX, 1, 1), INT32_MAX);
    EXPECT_EQ(DateToSerial(INT32_MIN, 1, 1), INT32_MIN);
    EXPECT_EQ(DateToSerial(6000000, 1, 1), INT32_MAX);
    EXPECT_EQ(DateToSerial(-6000000, 1, 1), INT32_MIN);
    EXPECT_LT(DateToSerial(5000000, 1, 1), INT32_MAX);
    EXPECT_GT(DateToSerial(-5000000, 1, 1), INT32_MIN);
    EXPECT_EQ(DateToSerial(2000, 1, INT32_MAX), INT32_MAX);
}

// With an exponent: the most digits of fifteen down to two that have room.
class ShrinkingNumbers : public Sandbox {};
TEST_F(ShrinkingNumbers, LoseOneDigitAfterAnother) {
    const TextMeasure onePixel = {[](const void*, WideView text) { return static_cast<i32>(text.size()); },
                                  nullptr};
    for (const double value : {1.23456789012345e20, -9.87654321987654e-30, 1.5e200}) {
        for (i32 width = 1; width < 25; ++width) {
            WideText wanted, text;
            for (i32 precision = 15; precision >= 2; --precision) {
                wanted.Truncate(0);
                ASSERT_TRUE(FormatGeneral(value, precision, wanted));
                if (static_cast<i32>(wanted.Length()) <= width) break;
            }
            ASSERT_TRUE(FormatNumber(value, u"General", &onePixel, width, false, nullptr, text));
            if (static_cast<i32>(text.Length()) <= width)
                EXPECT_NE(text.View().find(wanted.View()), WideView::npos)
                    << value << " " << width << " " << Narrow(text) << " " << Narrow(wanted);
        }
    }
}

}  // namespace
}  // namespace tally
