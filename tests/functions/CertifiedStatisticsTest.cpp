#include <cmath>
#include <string>
#include <vector>

#include "functions/LeastSquares.h"
#include "functions/RunningMoments.h"
#include "support/Sandbox.h"

// The reference data of NIST for statistics of one variable and linear fits, as far as a rule generates it.

namespace tally {
namespace {

class CertifiedStatistics : public Sandbox {
  protected:
    static double Number(const std::string& formula) {
        Enter("A1", formula);
        return CellAtName("A1")->value.number;
    }
    static void ExpectDigits(const std::string& formula, double certified, double digits) {
        const double off = std::fabs(Number(formula) - certified);
        EXPECT_LE(off, std::fabs(certified) * std::pow(10.0, -digits)) << formula;
    }
    // From B1 downwards.
    static void EnterColumn(const std::vector<double>& values) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            Enter("B" + std::to_string(i + 1), "0");
            CellAtName("B" + std::to_string(i + 1))->value.number = values[i];
        }
    }
};

// Polynomials of the fifth degree at 0, 1, ... 20, with coefficients of 1 and growing noise.
class Wampler : public CertifiedStatistics {
  protected:
    static void EnterPolynomial(double noise) {
        constexpr double NOISE[21] = {759,   -2048, 2048,  -2048, 2523,  -2048, 2048,
                                      -2048, 1838,  -2048, 2048,  -2048, 1838,  -2048,
                                      2048,  -2048, 2523,  -2048, 2048,  -2048, 759};
        for (int x = 0; x <= 20; ++x) {
            const double y = 1 + x * (1 + x * (1 + x * (1 + x * (1.0 + x)))) + noise * NOISE[x];
            const std::string row = std::to_string(x + 1);
            Enter("B" + row, std::to_string(static_cast<long long>(y)));
            Enter("C" + row, std::to_string(x));
            for (int power = 2; power <= 5; ++power)
                Enter(std::string(1, static_cast<char>('B' + power)) + row,
                      "=C" + row + "^" + std::to_string(power));
        }
    }
    static std::string At(int row, int column) {
        return "=INDEX(LINEST(B1:B21,C1:G21,TRUE,TRUE)," + std::to_string(row) + "," + std::to_string(column) +
               ")";
    }
};

TEST_F(Wampler, ExactPolynomialsGiveExactCoefficients) {
    EnterPolynomial(0);
    for (int column = 1; column <= 6; ++column) {
        ExpectDigits(At(1, column), 1, 15);
        EXPECT_LE(Number(At(2, column)), 1e-15) << column;
    }
    ExpectDigits(At(3, 1), 1, 15);
    EXPECT_LE(Number(At(5, 2)), 1e-15);
}

TEST_F(Wampler, NoiseLeavesTheCoefficients) {
    constexpr double ERRORS[6] = {0.112324854679312, 5.64566512170752, 101.475507550350,
                                  779.343524331583,  2363.55173469681, 2152.32624678170};
    const struct {
        double noise, determination, f;
    } SETS[] = {{1, 0.999995559025820, 675524.458240122},
                {100, 0.957478440825662, 67.5524458240122},
                {10000, 0.224668921574940E-02, 6.75524458240122E-03}};
    for (const auto& set : SETS) {
        EnterPolynomial(set.noise);
        for (int column = 1; column <= 6; ++column) {
            ExpectDigits(At(1, column), 1, 14.5);
            ExpectDigits(At(2, column), ERRORS[column - 1] * set.noise, 14.2);
        }
        ExpectDigits(At(3, 1), set.determination, 14.2);
        ExpectDigits(At(3, 2), 2360.14502379268 * set.noise, 14.2);
        ExpectDigits(At(4, 1), set.f, 14.2);
        EXPECT_EQ(Number(At(4, 2)), 15);
        ExpectDigits(At(5, 2), 83554268.0 * set.noise * set.noise, 14.5);
    }
}

TEST_F(CertifiedStatistics, LinesThroughTheOrigin) {
    for (int i = 0; i <= 10; ++i) {
        Enter("B" + std::to_string(i + 1), std::to_string(130 + i));
        Enter("C" + std::to_string(i + 1), std::to_string(60 + i));
    }
    const std::string fit = "=INDEX(LINEST(B1:B11,C1:C11,FALSE,TRUE),";
    ExpectDigits(fit + "1,1)", 2.07438016528926, 14.5);
    ExpectDigits(fit + "2,1)", 0.165289256198347E-01, 14.5);
    ExpectDigits(fit + "3,1)", 0.999365492298663, 14.5);
    ExpectDigits(fit + "3,2)", 3.56753034006338, 14.5);
    ExpectDigits(fit + "4,1)", 15750.25, 14.5);
    ExpectDigits(fit + "5,1)", 200457.727272727, 14.5);
    ExpectDigits(fit + "5,2)", 127.272727272727, 14.5);
}

TEST_F(CertifiedStatistics, SpreadsOfNumbersThatShareTheirLeadingDigits) {
    const struct {
        double middle, less, more;
        u32 pairs;
        double deviation, digits;
    } SETS[] = {{10000002, 10000001, 10000003, 1, 1, 15},
                {1.2, 1.1, 1.3, 500, 0.1, 14.5},
                {1000000.2, 1000000.1, 1000000.3, 500, 0.1, 9},
                {10000000.2, 10000000.1, 10000000.3, 500, 0.1, 8}};
    for (const auto& set : SETS) {
        std::vector<double> values{set.middle};
        for (u32 i = 0; i < set.pairs; ++i) values.insert(values.end(), {set.less, set.more});
        EnterColumn(values);
        const std::string area = "(B1:B" + std::to_string(values.size()) + ")";
        ExpectDigits("=STDEV" + area, set.deviation, set.digits);
        ExpectDigits("=DEVSQ" + area, set.pairs * 2 * set.deviation * set.deviation, set.digits - 0.5);
        ExpectDigits("=SQRT(VAR" + area + ")", set.deviation, set.digits);
        ExpectDigits("=SUBTOTAL(7,B1:B" + std::to_string(values.size()) + ")", set.deviation, set.digits);
        ExpectDigits("=AVERAGE" + area, set.middle, 14);
    }
}

// Values about 1E+12 are multiples of 2^-13, so that whole numbers give the squares exactly.
TEST_F(CertifiedStatistics, SpreadsAsFarAsTheRoundedDataAllow) {
    constexpr double BASE = 1e12, UNIT = 0x1p-13;
    std::vector<double> values{BASE + 0.4};
    for (int i = 0; i < 100; ++i) values.insert(values.end(), {BASE + 0.3, BASE + 0.5});
    long long sum = 0, squares = 0;
    for (double value : values) {
        const long long whole = static_cast<long long>((value - BASE) / UNIT);
        sum += whole;
        squares += whole * whole;
    }
    const auto count = static_cast<long double>(values.size());
    const long double exact = (squares - static_cast<long double>(sum) * sum / count) * UNIT * UNIT;
    EnterColumn(values);
    ExpectDigits("=DEVSQ(B1:B201)", static_cast<double>(exact), 15);
    ExpectDigits("=VAR(B1:B201)", static_cast<double>(exact / 200), 15);
    ExpectDigits("=VARP(B1:B201)", static_cast<double>(exact / 201), 15);
    ExpectDigits("=COVAR(B1:B201,B1:B201)", static_cast<double>(exact / 201), 15);
    ExpectDigits("=SLOPE(B1:B201,B1:B201)", 1, 15);
}

TEST_F(CertifiedStatistics, AFirstNumberFarOffCostsNoDigits) {
    RunningMoments moments;
    moments.Add(1e9);
    for (int i = 0; i < 1000; ++i) moments.Add(i % 2 ? 1 : -1);
    // The exact value, worked out with whole numbers: (1E18 + 1000) - 1E18 / 1001.
    EXPECT_NEAR(moments.Squares() / ((1e18 + 1000) - 1e18 / 1001), 1, 1e-15);
    EXPECT_DOUBLE_EQ(moments.Mean(), 1e9 / 1001);
    EXPECT_EQ(moments.Variance(1001, false).error, ERR_DIV0);
    RunningMoments same;
    for (int i = 0; i < 3; ++i) same.Add(0.1);
    EXPECT_EQ(same.Squares(), 0);
}

TEST_F(CertifiedStatistics, CorrelationsKeepTheDigitsBehindALargeMean) {
    for (int i = 0; i < 5; ++i) {
        const std::string row = std::to_string(i + 1);
        Enter("B" + row, std::to_string(100000000 + i));
        Enter("C" + row, std::to_string(900000000 + (i * i) % 7));
    }
    // Of 0 to 4 and 0, 1, 4, 2, 2: squares 10 and 8.8, products 5.
    ExpectDigits("=CORREL(B1:B5,C1:C5)", 5 / std::sqrt(88.0), 15);
    ExpectDigits("=RSQ(B1:B5,C1:C5)", 25 / 88.0, 15);
    ExpectDigits("=SLOPE(C1:C5,B1:B5)", 0.5, 15);
    ExpectDigits("=STEYX(C1:C5,B1:B5)", std::sqrt(2.1), 14.5);
}

TEST(LeastSquares, LongerNumbersCarryADelicateFit) {
    // Powers up to the eighth, each fifty times: enough to lose all the digits of a double.
    const auto observe = [](u32 i, double* x) {
        double y = 0, power = 1;
        for (u32 k = 0; k <= 8; ++k, power *= i % 21) y += x[k] = power;
        return y;
    };
    FitResult fit;
    ASSERT_TRUE(FitLeastSquares(21 * 50, 9, 1, observe, fit));
    for (long double coefficient : fit.coefficients) EXPECT_NEAR(static_cast<double>(coefficient), 1, 1e-15);
    EXPECT_EQ(fit.freedom, 21 * 50 - 9);
    EXPECT_EQ(fit.used, 8);
}

TEST(LeastSquares, HugeValuesFitInWideNumbers) {
    const auto observe = [](u32 i, double* x) {
        x[0] = 1;
        x[1] = 1e200 * (1 + i * 1e-6);
        return 3e200 * (1 + i * 1e-6);
    };
    FitResult fit;
    ASSERT_TRUE(FitLeastSquares(10, 2, 1, observe, fit));
    EXPECT_TRUE(std::isnan(fit.coefficients[1]) ||
                std::fabs(static_cast<double>(fit.coefficients[1]) - 3) < 1e-9);
}

}  // namespace
}  // namespace tally
