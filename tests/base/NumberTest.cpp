#include "base/Number.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace tally {
namespace {

std::string General(double value, int precision) {
    char text[NUMBER_TEXT_ROOM];
    return {text, PrintGeneral(value, precision, text)};
}

std::string Reference(double value, int precision) {
    char text[64];
    std::snprintf(text, sizeof text, "%-.*G", precision, value);
    return text;
}

TEST(Number, GeneralHasTheFormOfTheLibrary) {
    for (double value :
         {0.0, 1.0, -1.0, 0.1, 1e20, 1e-5, 123456789012345678.0, 1.0 / 3, 1e15, 1e14, 99999999999999.95}) {
        EXPECT_EQ(General(value, 15), Reference(value, 15));
    }
}

TEST(Number, GeneralEqualsTheLibraryOnRandomNumbers) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 200000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (!(value == value) || value > 1e308 || value < -1e308) continue;
        const int precision = 1 + static_cast<int>(random() % 17);
        ASSERT_EQ(General(value, precision), Reference(value, precision)) << precision;
        const double decimal =
            static_cast<double>(static_cast<std::int64_t>(random() % 2000000000) - 1000000000) / 1000;
        ASSERT_EQ(General(decimal, 15), Reference(decimal, 15));
    }
}

TEST(Number, MulDivRoundsHalvesAwayFromZero) {
    EXPECT_EQ(MulDiv(1, 1, 2), 1);
    EXPECT_EQ(MulDiv(-1, 1, 2), -1);
    EXPECT_EQ(MulDiv(7, 2048, 256), 56);
    EXPECT_EQ(MulDiv(1, 1, 0), -1);
    EXPECT_EQ(MulDiv(0x7FFFFFFF, 2, 1), -1);
}

}  // namespace
}  // namespace tally
