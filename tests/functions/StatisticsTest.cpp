#include "support/Sandbox.h"

namespace tally {
namespace {

class Statistics : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

TEST_F(Statistics, WhatCountsInAReferenceAndGivenDirectly) {
    Enter("B1", "text");
    Enter("B2", "3");
    Enter("B3", "TRUE");
    Enter("C1", "more");
    Check({{"=AVERAGE(C1:C3)", "#DIV/0!"},
           {"=AVERAGE(\"3\",5)", "4"},
           {"=AVERAGE(\"x\",5)", "#VALUE!"},
           {"=MAX(D1:D9)", "0"},
           {"=MEDIAN(B1:B4)", "3"},
           {"=MEDIAN(B1:B4,5,,TRUE)", "3"},
           {"=MEDIAN({1,\"2\",TRUE,4})", "2.5"},
           {"=MEDIAN({1,#N/A})", "#N/A"},
           {"=VARA(B1:B4)", "2.33333333333333"},
           {"=ROUND(VARPA(B1:B4),6)", "1.555556"},
           {"=ROUND(STDEVA(B1:B4),6)", "1.527525"},
           {"=ROUND(STDEVPA(B1:B4),6)", "1.247219"},
           {"=VARA(C1)", "#DIV/0!"},
           {"=VARPA(C1)", "0"},
           {"=STDEVA(D1:D3)", "#DIV/0!"}});
}

TEST_F(Statistics, MeansAndShapes) {
    Check({{"=AVEDEV(4,5,6,7,5,4,3)", "1.02040816326531"},
           {"=AVEDEV(D1:D3)", "#NUM!"},
           {"=DEVSQ(4,5,8,7,11,4,3)", "48"},
           {"=DEVSQ(D1:D3)", "#NUM!"},
           {"=ROUND(GEOMEAN(4,5,8,7,11,4,3),6)", "5.476987"},
           {"=GEOMEAN(1,0)", "#NUM!"},
           {"=GEOMEAN(D1)", "#NUM!"},
           {"=ROUND(HARMEAN(4,5,8,7,11,4,3),6)", "5.028376"},
           {"=HARMEAN(1,-1)", "#NUM!"},
           {"=HARMEAN(D1)", "#NUM!"},
           {"=ROUND(KURT(3,4,5,2,3,4,5,6,4,7),9)", "-0.151799637"},
           {"=KURT(1,2,3)", "#DIV/0!"},
           {"=KURT(2,2,2,2)", "#DIV/0!"},
           {"=ROUND(SKEW(3,4,5,2,3,4,5,6,4,7),9)", "0.359543071"},
           {"=SKEW(1,2)", "#DIV/0!"},
           {"=SKEW(2,2,2)", "#DIV/0!"}});
}

TEST_F(Statistics, MiddlesAndModes) {
    Check({{"=MEDIAN(3,1,2)", "2"},
           {"=MEDIAN(4,1,3,2)", "2.5"},
           {"=MEDIAN(D1:D3)", "#NUM!"},
           {"=MODE({5.6,4,4,3,2,4})", "4"},
           {"=MODE({3,3,1,1,2})", "1"},
           {"=MODE({1,2,3})", "#N/A"},
           {"=MODE(D1:D3)", "#N/A"},
           {"=TRIMMEAN({4,5,6,7,2,3,4,5,1,2,3},0.2)", "3.77777777777778"},
           {"=TRIMMEAN({1,2,3},-0.1)", "#NUM!"},
           {"=TRIMMEAN({1,2,3},1.1)", "#NUM!"},
           {"=TRIMMEAN({1,2,9},1)", "2"},
           {"=TRIMMEAN({1,2},1)", "#NUM!"},
           {"=TRIMMEAN(D1:D3,0)", "#NUM!"}});
}

TEST_F(Statistics, PercentilesStayInsideTheData) {
    Check({{"=PERCENTILE({1,3,2,4},0.3)", "1.9"},
           {"=PERCENTILE({1,3,2,4},1)", "4"},
           {"=PERCENTILE({1,3,2,4},0)", "1"},
           {"=PERCENTILE({7},1)", "7"},
           {"=PERCENTILE({1,2},1.01)", "#NUM!"},
           {"=PERCENTILE({1,2},-0.01)", "#NUM!"},
           {"=PERCENTILE(D1:D3,0.5)", "#NUM!"},
           {"=PERCENTILE({1,2},\"x\")", "#VALUE!"},
           {"=QUARTILE({1,2,4,7,8,9,10,12},1)", "3.5"},
           {"=QUARTILE({1,2,4,7,8,9,10,12},1.9)", "3.5"},
           {"=QUARTILE({1,2},4.9)", "2"},
           {"=QUARTILE({1,2},5)", "#NUM!"},
           {"=QUARTILE({1,2},-1)", "#NUM!"}});
}

TEST_F(Statistics, LargestSmallestAndRanks) {
    Enter("B1", "7");
    Enter("B2", "3.5");
    Enter("B3", "3.5");
    Enter("B4", "1");
    Enter("B5", "2");
    Enter("C1", "=0.1+0.2");
    Check({{"=LARGE({3,5,3,5,4},3)", "4"},
           {"=LARGE({3,5,4},1.9)", "5"},
           {"=LARGE({3,5,4},0)", "#NUM!"},
           {"=LARGE({3,5,4},4)", "#NUM!"},
           {"=SMALL({3,5,4},2)", "4"},
           {"=SMALL(D1:D3,1)", "#NUM!"},
           {"=RANK(7,B1:B5,1)", "5"},
           {"=RANK(7,B1:B5)", "1"},
           {"=RANK(3.5,B1:B5,1)", "3"},
           {"=RANK(2,B1:B5,0.9)", "4"},
           {"=RANK(5,B1:B5)", "#N/A"},
           // Both ways of writing three tenths are the same value here.
           {"=RANK(0.3,C1)", "1"},
           {"=RANK(0.3,C1,1)", "1"},
           {"=RANK(0.300000000001,C1)", "#N/A"}});
}

TEST_F(Statistics, PercentRanks) {
    Check({{"=PERCENTRANK({13,12,11,8,4,3,2,1,1,1},2)", "0.333"},
           {"=PERCENTRANK({13,12,11,8,4,3,2,1,1,1},4)", "0.555"},
           {"=PERCENTRANK({13,12,11,8,4,3,2,1,1,1},8)", "0.666"},
           {"=PERCENTRANK({13,12,11,8,4,3,2,1,1,1},5)", "0.583"},
           {"=PERCENTRANK({13,12,11,8,4,3,2,1,1,1},5,1)", "0.5"},
           {"=PERCENTRANK({1,2,3,4,5,6,7,8,9,10,11},4)", "0.3"},
           {"=PERCENTRANK({1,2},0)", "#N/A"},
           {"=PERCENTRANK({1,2},3)", "#N/A"},
           {"=PERCENTRANK({1,2},1,0)", "#NUM!"},
           {"=PERCENTRANK({1},1)", "#NUM!"},
           {"=PERCENTRANK(D1:D3,1)", "#NUM!"}});
}

// SUMPRODUCT wants two arrays of one shape, so each row shows the shape too.
TEST_F(Statistics, FrequenciesAreAColumnWithOneRowMoreThanBins) {
    Check({{"=SUMPRODUCT(FREQUENCY({79,85,78,85,83,81,95,88,97},{70,79,89}),{1;10;100;1000})", "2520"},
           {"=SUMPRODUCT(FREQUENCY({1,2,3},{3,1,3}),{1;10;100})", "21"},
           {"=SUMPRODUCT(FREQUENCY({-1,0,1,2},D1:D3),{1;10})", "22"},
           {"=SUMPRODUCT(FREQUENCY({1,\"x\",TRUE},1),{1;10})", "1"},
           {"=SUM(FREQUENCY(D1:D3,{1,2}))", "0"},
           {"=SUM(FREQUENCY({1,#REF!},{1,2}))", "#REF!"},
           {"=SUM(FREQUENCY({1},{1,#N/A}))", "#N/A"}});
}

}  // namespace
}  // namespace tally
