#include <cmath>
#include <string>

#include "support/Sandbox.h"

namespace tally {
namespace {

class Regression : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

// SUMPRODUCT wants arrays of one shape, so each row shows the shape of the result too.
TEST_F(Regression, CoefficientsStandInReverseOrderWithTheInterceptLast) {
    Check({{"=ROUND(SUMPRODUCT(LINEST({1;9;5;7},{0;4;2;3}),{1,100}),9)", "102"},
           {"=ROUND(SUMPRODUCT(LINEST({1,9,5,7},{0,4,2,3}),{1,100}),9)", "102"},
           {"=ROUND(SUMPRODUCT(LINEST({5,7,9}),{1,100}),9)", "302"},
           {"=ROUND(SUMPRODUCT(LINEST({2,4,6},{1,2,3},FALSE),{1,100}),9)", "2"},
           {"=ROUND(SUMPRODUCT(LINEST({3;6;5;8},{1,1;2,2;3,1;4,2}),{1,10,100}),9)", "12"},
           {"=ROUND(SUMPRODUCT(LINEST({3,6,5,8},{1,2,3,4;1,2,1,2}),{1,10,100}),9)", "12"},
           {"=ROUND(SUMPRODUCT(LINEST({3,6;5,8},{1,2;3,4}),{10,1}),9)", "16"},
           {"=LINEST({1;2;3},{1;2})", "#REF!"},
           {"=LINEST({1,2;3,4},{1;2})", "#REF!"},
           {"=LINEST({1;\"x\"},{1;2})", "#VALUE!"},
           {"=LINEST({1;2},{1;TRUE})", "#VALUE!"},
           {"=LINEST({1;#N/A},{1;2})", "#N/A"}});
}

// y = 3, 6, 5, 9 at 1, 2, 3, 4: the slope is 1.7, the intercept 1.5, and 4.3 of 18.75 stay unexplained.
TEST_F(Regression, Statistics) {
    const std::string fit = "LINEST({3;6;5;9},{1;2;3;4},TRUE,TRUE)";
    const auto cell = [&](const char* mask) { return Eval("=ROUND(SUMPRODUCT(" + fit + "," + mask + "),9)"); };
    EXPECT_EQ(cell("{1,0;0,0;0,0;0,0;0,0}"), "1.7");
    EXPECT_EQ(cell("{0,1;0,0;0,0;0,0;0,0}"), "1.5");
    EXPECT_EQ(cell("{0,0;1,0;0,0;0,0;0,0}"), "0.655743852");
    EXPECT_EQ(cell("{0,0;0,1;0,0;0,0;0,0}"), "1.7958285");
    EXPECT_EQ(cell("{0,0;0,0;1,0;0,0;0,0}"), "0.770666667");
    EXPECT_EQ(cell("{0,0;0,0;0,1;0,0;0,0}"), "1.46628783");
    EXPECT_EQ(cell("{0,0;0,0;0,0;1,0;0,0}"), "6.720930233");
    EXPECT_EQ(cell("{0,0;0,0;0,0;0,1;0,0}"), "2");
    EXPECT_EQ(cell("{0,0;0,0;0,0;0,0;1,0}"), "14.45");
    EXPECT_EQ(cell("{0,0;0,0;0,0;0,0;0,1}"), "4.3");
    // Three columns leave cells without a meaning.
    EXPECT_EQ(
        Eval(
            "=SUMPRODUCT(LINEST({3;6;5;9;1},{1,1;2,5;3,1;4,2;5,7},TRUE,TRUE),{0,0,0;0,0,0;0,0,0;0,0,0;0,0,0})"),
        "#N/A");
    EXPECT_EQ(Eval("=SUMPRODUCT(LINEST({3;6;5;9;1},{1;2;3;4;5},FALSE,TRUE),{0,0;0,0;0,0;0,0;0,0})"), "#N/A");
}

TEST_F(Regression, CollinearColumnsGetNothing) {
    Check({{"=ROUND(SUMPRODUCT(LINEST({1;9;5;7},{0,0;4,8;2,4;3,6}),{100,1,10}),9)", "12"},
           // 1 + 2 a + 5 c beside b = 2 a + 3, and beside b = 7.
           {"=ROUND(SUMPRODUCT(LINEST({8;15;12;44;26},{1,5,1;2,7,2;3,9,1;4,11,7;5,13,3}),{100,1,10,1000}),9)",
            "1520"},
           {"=ROUND(SUMPRODUCT(LINEST({8;15;12;44;26},{7,1,1;7,2,2;7,3,1;7,4,7;7,5,3}),{100,10,1,1000}),9)",
            "1520"},
           {"=ROUND(SUMPRODUCT(LINEST({5;7;9},{4;4;4}),{100,1}),9)", "7"},
           {"=ROUND(SUMPRODUCT(LINEST({5},{4}),{100,1}),9)", "5"},
           {"=ROUND(SUMPRODUCT(LINEST({3;6;5},{1,0.1;2,0.2;3,0.3}),{100,1,0}),9)", "1"}});
    // The degrees of freedom do not count the second column either.
    const std::string fit = "LINEST({3;6;5;9},{1,0.1;2,0.2;3,0.3;4,0.4},TRUE,TRUE)";
    EXPECT_EQ(Eval("=INDEX(" + fit + ",4,2)"), "2");
    EXPECT_EQ(Eval("=INDEX(" + fit + ",2,1)"), "0");
    EXPECT_EQ(Eval("=INDEX(" + fit + ",3,3)"), "#N/A");
}

TEST_F(Regression, PredictionsTakeTheShapeOfTheirPlaces) {
    Check({{"=ROUND(SUMPRODUCT(TREND({1;9;5;7},{0;4;2;3},{5;6}),{1;100}),9)", "1311"},
           {"=ROUND(SUMPRODUCT(TREND({5,7,9}),{1,10,100}),9)", "975"},
           {"=ROUND(SUMPRODUCT(TREND({5,7,9},,{4,5}),{1,100}),9)", "1311"},
           {"=ROUND(SUMPRODUCT(TREND({3;6;5;8},{1,1;2,2;3,1;4,2},{0,1;1,0}),{1;10}),9)", "12"},
           {"=ROUND(SUMPRODUCT(TREND({3,6,5,8},{1,2,3,4;1,2,1,2},{0,1;1,0}),{1,10}),9)", "12"},
           {"=ROUND(TREND({2,4,6},{1,2,3},5,FALSE),9)", "10"},
           {"=TREND({3;6;5;8},{1,1;2,2;3,1;4,2},{0,1,2})", "#REF!"},
           {"=TREND({1;2},{1;2},\"x\")", "#VALUE!"}});
}

TEST_F(Regression, LogarithmicForms) {
    Check({{"=ROUND(SUMPRODUCT(LOGEST({6;12;24;48},{1;2;3;4}),{1,100}),9)", "302"},
           {"=ROUND(SUMPRODUCT(LOGEST({2;4;8},{1;2;3},FALSE),{1,100}),9)", "102"},
           {"=LOGEST({1;0},{1;2})", "#NUM!"},
           {"=ROUND(GROWTH({6;12;24},{1;2;3},4),9)", "48"},
           {"=ROUND(SUMPRODUCT(GROWTH({6;12;24}),{1;10;100}),9)", "2526"},
           {"=GROWTH({1;-1},{1;2})", "#NUM!"}});
}

TEST_F(Regression, KnownValuesMayBeReferences) {
    for (int i = 1; i <= 4; ++i) {
        Enter("B" + std::to_string(i), std::to_string(2 * i + 5));
        Enter("C" + std::to_string(i), std::to_string(i));
        Enter("D" + std::to_string(i), std::to_string(i * i));
    }
    Check({{"=ROUND(INDEX(LINEST(B1:B4,C1:C4),1,2),9)", "5"},
           {"=ROUND(INDEX(LINEST(B1:B4,C1:D4),1,2),9)", "2"},
           {"=ROUND(INDEX(LINEST(B1:B4,C1:D4),1,1),9)", "0"},
           {"=ROUND(TREND(B1:B4,C1:C4,10),9)", "25"},
           {"=LINEST(B1:B5,C1:C5)", "#VALUE!"},
           {"=LINEST(B1:B4,C1:C3)", "#REF!"}});
}

// Longley's data of 1967, a proof of programs for least squares; the certified values are NIST's.
TEST_F(Regression, NearlyCollinearDataKeepsItsDigits) {
    constexpr const char* DATA[16][7] = {{"60323", "83", "234289", "2356", "1590", "107608", "1947"},
                                         {"61122", "88.5", "259426", "2325", "1456", "108632", "1948"},
                                         {"60171", "88.2", "258054", "3682", "1616", "109773", "1949"},
                                         {"61187", "89.5", "284599", "3351", "1650", "110929", "1950"},
                                         {"63221", "96.2", "328975", "2099", "3099", "112075", "1951"},
                                         {"63639", "98.1", "346999", "1932", "3594", "113270", "1952"},
                                         {"64989", "99", "365385", "1870", "3547", "115094", "1953"},
                                         {"63761", "100", "363112", "3578", "3350", "116219", "1954"},
                                         {"66019", "101.2", "397469", "2904", "3048", "117388", "1955"},
                                         {"67857", "104.6", "419180", "2822", "2857", "118734", "1956"},
                                         {"68169", "108.4", "442769", "2936", "2798", "120445", "1957"},
                                         {"66513", "110.8", "444546", "4681", "2637", "121950", "1958"},
                                         {"68655", "112.6", "482704", "3813", "2552", "123366", "1959"},
                                         {"69564", "114.2", "502601", "3931", "2514", "125368", "1960"},
                                         {"69331", "115.7", "518173", "4806", "2572", "127852", "1961"},
                                         {"70551", "116.9", "554894", "4007", "2827", "130081", "1962"}};
    for (int row = 0; row < 16; ++row) {
        for (int column = 0; column < 7; ++column)
            Enter(std::string(1, static_cast<char>('B' + column)) + std::to_string(row + 1), DATA[row][column]);
    }
    struct Place {
        int row, column;
        double certified;
    };
    constexpr Place PLACES[] = {{1, 1, 1829.15146461355},
                                {1, 2, -0.0511041056535807},
                                {1, 3, -1.03322686717359},
                                {1, 4, -2.02022980381683},
                                {1, 5, -0.0358191792925910},
                                {1, 6, 15.0618722713733},
                                {1, 7, -3482258.63459582},
                                {2, 1, 455.478499142212},
                                {2, 7, 890420.383607373},
                                {3, 1, 0.995479004577296},
                                {3, 2, 304.854073561965},
                                {4, 1, 330.285339234588},
                                {4, 2, 9}};
    for (const Place& place : PLACES) {
        const std::string at = std::to_string(place.row) + "," + std::to_string(place.column);
        const double value = std::stod(Eval("=INDEX(LINEST(B1:B16,C1:H16,TRUE,TRUE)," + at + ")"));
        EXPECT_NEAR(value, place.certified, std::fabs(place.certified) * 1e-13) << at;
    }
}

}  // namespace
}  // namespace tally
