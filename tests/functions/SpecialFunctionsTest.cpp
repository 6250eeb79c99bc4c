#include "functions/SpecialFunctions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tally {
namespace {

void ExpectClose(double actual, double expected, double relative, double x) {
    EXPECT_LE(std::fabs(actual - expected), std::fabs(expected) * relative + 1e-320)
        << actual << " for " << expected << " at " << x;
}

// The expected values were worked out with sixty digits.
TEST(SpecialFunctions, NormalDistribution) {
    constexpr double ROWS[][2] = {{-38, 2.8854283600687843e-316},
                                  {-10, 7.619853024160526066e-24},
                                  {-5.5, 1.8989562465887719384e-8},
                                  {-2, 2.27501319481792072e-2},
                                  {-1.96, 2.4997895148220436213e-2},
                                  {-0.5, 3.0853753872598689636e-1},
                                  {0.0001, 5.0003989422797365289e-1},
                                  {1, 8.4134474606854294859e-1},
                                  {1.96, 9.7500210485177956379e-1},
                                  {3, 9.9865010196836990547e-1},
                                  {8, 9.999999999999993779e-1},
                                  {-41, 0},
                                  {41, 1}};
    for (const auto& row : ROWS)
        ExpectClose(NormalCdf(row[0]), row[1], 5e-15 + row[0] * row[0] * 2e-16, row[0]);
}

TEST(SpecialFunctions, NormalInverse) {
    constexpr double ROWS[][2] = {{1e-300, -3.7047096299361199237e+1},
                                  {1e-20, -9.2623400897984075796},
                                  {1e-05, -4.2648907939228246102},
                                  {0.025, -1.9599639845400542118},
                                  {0.07, -1.4757910281791706856},
                                  {0.3, -5.2440051270804081597e-1},
                                  {0.5001, 2.5066283008800749239e-4},
                                  {0.9, 1.2815515655446005935},
                                  {0.975, 1.9599639845400538556},
                                  {0.999999, 4.7534243088170877657},
                                  {0.5, 0}};
    for (const auto& row : ROWS) ExpectClose(NormalInverse(row[0]), row[1], 1e-14, row[0]);
    EXPECT_TRUE(std::isinf(NormalInverse(0)));
    EXPECT_TRUE(std::isnan(NormalInverse(-0.1)));
    EXPECT_TRUE(std::isnan(NormalInverse(1.1)));
}

TEST(SpecialFunctions, IncompleteGamma) {
    constexpr double ROWS[][4] = {{0.001, 0.01, 9.3857065252612898538e-1, 6.1429347473871014617e-2},
                                  {0.5, 0.5, 6.8268949213708589717e-1, 3.1731050786291410283e-1},
                                  {3, 2.5, 6.9378108158672159912e-1, 3.0621891841327840088e-1},
                                  {30, 2.5, 9.9999999998784543022e-1, 1.2154569777183038948e-11},
                                  {100, 100, 5.1329879827914866486e-1, 4.8670120172085133514e-1},
                                  {90, 100, 1.582209891864301681e-1, 8.417790108135698319e-1},
                                  {150, 100, 9.9999407545966451608e-1, 5.9245403354839158294e-6},
                                  {5, 50, 2.1810592140784887595e-32, 1.0},
                                  {10000, 9990, 5.4115796055714057193e-1, 4.5884203944285942807e-1},
                                  {1e6, 1e6, 5.0013298076087259124e-1, 4.9986701923912740876e-1},
                                  {1.001e6, 1e6, 8.4134478636834029163e-1, 1.5865521363165970837e-1},
                                  {9.98e5, 1e6, 2.2696114006736802806e-2, 9.7730388599326319719e-1},
                                  {2.00003e10, 2e10, 9.8305222635838845461e-1, 1.6947773641611545391e-2}};
    for (const auto& row : ROWS) {
        ExpectClose(IncompleteGammaP(row[0], row[1]), row[2], 3e-14, row[0]);
        ExpectClose(IncompleteGammaQ(row[0], row[1]), row[3], 3e-14, row[0]);
    }
    EXPECT_EQ(IncompleteGammaP(0, 1), 0);
    EXPECT_EQ(IncompleteGammaQ(0, 1), 1);
    EXPECT_TRUE(std::isnan(IncompleteGammaP(1, 0)));
    EXPECT_EQ(IncompleteGammaQ(std::numeric_limits<double>::infinity(), 3), 0);
}

TEST(SpecialFunctions, IncompleteGammaIsSmoothWhereTheMethodChanges) {
    for (double shift : {-3.0, -1.0, 0.0, 1.0, 3.0}) {
        const double below = IncompleteGammaQ(999999.0 + shift * std::sqrt(999999.0), 999999.0);
        const double above = IncompleteGammaQ(1000001.0 + shift * std::sqrt(1000001.0), 1000001.0);
        EXPECT_NEAR(below, above, 1e-9) << shift;
    }
}

TEST(SpecialFunctions, IncompleteBeta) {
    constexpr double ROWS[][4] = {{0.5, 0.5, 0.5, 0.5},
                                  {0.2, 2, 3, 1.8080000000000001705e-1},
                                  {0.9, 2, 30, 1.0},
                                  {0.01, 0.1, 5, 7.690889207843462751e-1},
                                  {0.3, 300, 700, 5.0367118286076760796e-1},
                                  {0.28, 300, 700, 8.2390976510590526265e-2},
                                  {0.999, 1000, 0.5, 1.57247274266723828e-1},
                                  {1e-10, 0.5, 0.5, 6.3661977237819168421e-6},
                                  {0.4, 1.5, 80, 0.99999999999999999}};
    for (const auto& row : ROWS) ExpectClose(IncompleteBeta(row[0], row[1], row[2]), row[3], 3e-14, row[0]);
    EXPECT_EQ(IncompleteBeta(0, 2, 3), 0);
    EXPECT_EQ(IncompleteBeta(1, 2, 3), 1);
    EXPECT_TRUE(std::isnan(IncompleteBeta(0.5, 0, 0)));
    EXPECT_TRUE(std::isnan(IncompleteBeta(0.5, -1, 2)));
    EXPECT_TRUE(std::isnan(IncompleteBeta(0.5, 2, -1)));
    // An order of 0 has all its weight at one end.
    EXPECT_EQ(IncompleteBeta(0, 0, 2), 0);
    EXPECT_EQ(IncompleteBeta(0.5, 0, 2), 1);
    EXPECT_EQ(IncompleteBeta(0.5, 2, 0), 0);
    EXPECT_EQ(IncompleteBeta(1, 2, 0), 1);
    // Orders far beyond any use end too, whatever comes out.
    const double far = IncompleteBeta(0.5, 1e300, 1e300);
    EXPECT_TRUE(std::isnan(far) || (far >= 0 && far <= 1));
}

TEST(SpecialFunctions, InversesComeBackToTheirStart) {
    for (double p : {1e-12, 0.001, 0.3, 0.5, 0.9, 0.9999}) {
        for (double a : {0.3, 1.0, 4.5, 200.0}) {
            for (double b : {0.6, 2.0, 90.0}) {
                const double x = InverseBeta(p, a, b);
                if (x > 1e-300 && x < 0.999) ExpectClose(IncompleteBeta(x, a, b), p, 1e-12, x);
            }
            ExpectClose(IncompleteGammaQ(InverseChiHalf(a, p), a), p, 1e-12, a);
        }
    }
    EXPECT_EQ(InverseBeta(0, 2, 3), 0);
    EXPECT_EQ(InverseBeta(1, 2, 3), 1);
    EXPECT_EQ(InverseChiHalf(2, 1), 0);
}

}  // namespace
}  // namespace tally
