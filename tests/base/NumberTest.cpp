#include "base/Number.h"

#include <gtest/gtest.h>

#include <cmath>
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

TEST(Number, FifteenDigitsWithoutAnExponentEqualTheLibrary) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 500000; ++i) {
        const int magnitude = static_cast<int>(random() % 22) - 6;
        double value = std::ldexp(static_cast<double>(random() >> 11), -53) * std::pow(10.0, magnitude);
        // Short in binary: halves of the sixteenth digit are frequent.
        if (i % 4 == 0) value = std::floor(std::ldexp(value, i % 24)) / std::ldexp(1.0, i % 24);
        if (i % 4 == 1) value = std::round(value * 100) / 100;
        if (i & 16) value = -value;
        ASSERT_EQ(General(value, 15), Reference(value, 15)) << std::hexfloat << value;
    }
    for (double power : {1e-5, 1e-4, 1e-3, 1e-2, 0.1, 1.0, 10.0, 1e9, 1e13, 1e14, 1e15, 1e16}) {
        double below = power, above = power;
        for (int i = 0; i < 20; ++i) {
            ASSERT_EQ(General(below, 15), Reference(below, 15)) << std::hexfloat << below;
            ASSERT_EQ(General(above, 15), Reference(above, 15)) << std::hexfloat << above;
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, 1e300);
        }
    }
    for (double tie : {123456789012344.5, 123456789012345.5, 12345678901234.25, 12345678901234.75})
        EXPECT_EQ(General(tie, 15), Reference(tie, 15));
}

// Around each power of ten the number of digits decides whether there is an exponent, at every precision.
TEST(Number, EveryPrecisionEqualsTheLibraryAroundThePowersOfTen) {
    for (int precision = 1; precision <= 17; ++precision) {
        for (int power = -7; power <= 19; ++power) {
            const double ten = std::pow(10.0, power);
            for (double value : {ten, ten * 9, ten - ten / 8, ten * 1.5, ten * 9.996, ten - 1, ten + 1,
                                 std::nextafter(ten, 0.0), std::nextafter(ten, 1e300)}) {
                ASSERT_EQ(General(value, precision), Reference(value, precision)) << precision;
                ASSERT_EQ(General(-value, precision), Reference(-value, precision)) << precision;
            }
        }
        for (double value : {0.0, -0.0, 0.5, -2.5, 123.456, 99999.5, 1e-300, 5e-324, 1.7e308})
            ASSERT_EQ(General(value, precision), Reference(value, precision)) << precision;
    }
}

TEST(Number, WhatIsNoNumberHasItsName) {
    EXPECT_EQ(General(INFINITY, 15), "INF");
    EXPECT_EQ(General(-INFINITY, 9), "-INF");
    EXPECT_EQ(General(std::nan(""), 15), "NAN");
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
