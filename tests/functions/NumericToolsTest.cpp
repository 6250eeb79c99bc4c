#include <gtest/gtest.h>

#include <cmath>

#include "functions/DoubleDouble.h"
#include "functions/RootSearch.h"

namespace tally {
namespace {

// The low part shows what a double cannot hold.
void ExpectParts(const DoubleDouble& x, double high, double low) {
    EXPECT_EQ(x.high, high);
    EXPECT_NEAR(x.low, low, std::fabs(low) * 1e-12 + 1e-45);
}

TEST(DoubleDouble, SumsAndProductsKeepWhatADoubleDrops) {
    ExpectParts(ExactSum(1, 0x1p-80), 1, 0x1p-80);
    ExpectParts(ExactSum(0x1p-80, 1), 1, 0x1p-80);
    ExpectParts(ExactProduct(1 + 0x1p-40, 1 + 0x1p-40), 1 + 0x1p-39, 0x1p-80);
    ExpectParts(ExactProduct(1 + 0x1p-40, 1 - 0x1p-40), 1, -0x1p-80);
    const DoubleDouble a{3, 0x1p-60}, b{2, -0x1p-70};
    ExpectParts(a + b, 5, 0x1p-60 - 0x1p-70);
    ExpectParts(a - b, 1, 0x1p-60 + 0x1p-70);
    ExpectParts(a * b, 6, 2 * 0x1p-60 - 3 * 0x1p-70);
    ExpectParts(-a, -3, -0x1p-60);
    // What is left when the high parts cancel.
    EXPECT_EQ(Nearest(a - DoubleDouble(3.0)), 0x1p-60);
    EXPECT_EQ(Nearest(a), 3);
}

TEST(DoubleDouble, QuotientsAndRootsComeBack) {
    const DoubleDouble third = DoubleDouble(1.0) / DoubleDouble(3.0);
    EXPECT_EQ(third.high, 1.0 / 3);
    EXPECT_LE(std::fabs(Nearest(third * DoubleDouble(3.0) - DoubleDouble(1.0))), 1e-31);
    const DoubleDouble ratio = DoubleDouble{7, 0x1p-58} / DoubleDouble{11, -0x1p-57};
    EXPECT_LE(std::fabs(Nearest(ratio * DoubleDouble{11, -0x1p-57} - DoubleDouble{7, 0x1p-58})), 1e-30);
    const DoubleDouble root = SquareRoot(DoubleDouble(2.0));
    EXPECT_EQ(root.high, std::sqrt(2.0));
    EXPECT_LE(std::fabs(Nearest(root * root - DoubleDouble(2.0))), 1e-30);
    EXPECT_EQ(Nearest(SquareRoot(DoubleDouble(0.0))), 0);
    EXPECT_EQ(Nearest(DoubleDouble(0.0) / DoubleDouble(5.0)), 0);
    EXPECT_TRUE(std::isinf(Nearest(DoubleDouble(1.0) / DoubleDouble(0.0))));
}

TEST(RootSearch, BetweenTwoSignsItEndsAtTheLastDigits) {
    const struct {
        double (*function)(double);
        double low, high, root;
    } ROWS[] = {{[](double x) { return x * x * x - 2; }, 0, 4, 1.2599210498948731648},
                {[](double x) { return 2 - x * x * x; }, 4, 0, 1.2599210498948731648},
                {[](double x) { return std::cos(x) - x; }, 0, 1, 0.73908513321516064166},
                {[](double x) { return std::exp(x) - 1e-8; }, -100, 0, -18.420680743952365472},
                {[](double x) { return (x - 0.3) * (x - 0.3) * (x - 0.3); }, 0, 1, 0.3},
                {[](double x) { return x < 7 ? -1.0 : 1.0; }, -1e9, 1e9, 7},
                {[](double x) { return x - 1; }, 1, 5, 1},
                {[](double x) { return x - 5; }, 1, 5, 5}};
    for (const auto& row : ROWS) {
        i32 calls = 0;
        const auto f = [&](double x) {
            ++calls;
            return row.function(x);
        };
        const double root = RootBetween(row.low, row.function(row.low), row.high, row.function(row.high), f);
        EXPECT_NEAR(root, row.root, row.root == 0.3 ? 1e-5 : std::fabs(row.root) * 1e-15);
        EXPECT_LE(calls, 150);
    }
    // A smooth function takes few steps.
    i32 calls = 0;
    RootBetween(0.0, -2, 4.0, 62, [&](double x) {
        ++calls;
        return x * x * x - 2;
    });
    EXPECT_LE(calls, 13);
    EXPECT_TRUE(std::isnan(RootBetween(0.0, -1, 1.0, 1, [](double) { return NAN; })));
}

TEST(RootSearch, ARisingFunctionIsFollowedBothWays) {
    for (double root : {1e-300, 1e-9, 0.5, 0.999, 1.0, 1.001, 17.0, 1e12, 1e300}) {
        for (double spread : {1e-9, 0.01, 0.5}) {
            i32 calls = 0;
            const double found = RisingRoot(1, spread, [&](double x) {
                ++calls;
                return std::log(x / root);
            });
            EXPECT_NEAR(found / root, 1, 1e-14) << root;
            EXPECT_LE(calls, 90) << root;
        }
    }
    EXPECT_EQ(RisingRoot(1, 0.1, [](double) { return 1.0; }), 0);
    EXPECT_TRUE(std::isinf(RisingRoot(1, 0.1, [](double) { return -1.0; })));
    EXPECT_TRUE(std::isnan(RisingRoot(1, 0.1, [](double x) { return x > 3 ? NAN : -1.0; })));
    EXPECT_TRUE(std::isnan(RisingRoot(1, 0.1, [](double x) { return x < 0.2 ? NAN : 1.0; })));
    // A good start is not left by much.
    double farthest = 0;
    RisingRoot(1000, 1e-6, [&](double x) {
        farthest = std::fmax(farthest, std::fabs(x - 1000));
        return x - 1000.0001;
    });
    EXPECT_LE(farthest, 0.01);
}

}  // namespace
}  // namespace tally
