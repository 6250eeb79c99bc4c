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

}  // namespace
}  // namespace tally
