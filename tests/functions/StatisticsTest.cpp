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
           {"=MEDIAN(B1:B4,5,,TRUE)", "2"},
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
           {"=MODE({3,3,1,1,2})", "3"},
           {"=MODE({2,1,3,1,3})", "1"},
           {"=MODE(1,2,1,2,2)", "2"},
           {"=MODE(2,2,\"1\",#N/A)", "#VALUE!"},
           {"=MODE(2,2,#N/A,\"1\")", "#N/A"},
           {"=MODE(1,1,TRUE,2,2)", "1"},
           {"=MODE(2,2,D1)", "#VALUE!"},
           {"=MODE(D1)", "#VALUE!"},
           {"=MODE(2,2,D1:D2)", "2"},
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
           {"=PERCENTRANK({1},1)", "1"},
           {"=PERCENTRANK(D1:D3,1)", "#NUM!"}});
}

// SUMPRODUCT wants two arrays of one shape, so each row shows the shape too.
TEST_F(Statistics, FrequenciesAreAColumnWithOneRowMoreThanBins) {
    Check({{"=SUMPRODUCT(FREQUENCY({79,85,78,85,83,81,95,88,97},{70,79,89}),{1;10;100;1000})", "2520"},
           // An equal bin comes away empty.
           {"=SUMPRODUCT(FREQUENCY({1,2,3,4},{3,1,3}),{1;10;100;1000})", "1021"},
           {"=SUMPRODUCT(FREQUENCY({-1,0,1,2},D1:D3),{1;10})", "22"},
           {"=SUMPRODUCT(FREQUENCY({1,\"x\",TRUE},1),{1;10})", "1"},
           {"=SUM(FREQUENCY(D1:D3,{1,2}))", "0"},
           {"=SUM(FREQUENCY({1,#REF!},{1,2}))", "#REF!"},
           {"=SUM(FREQUENCY({1},{1,#N/A}))", "#N/A"}});
}

TEST_F(Statistics, NormalFamily) {
    Check({{"=ROUND(NORMSDIST(1.333333),8)", "0.90878873"},
           {"=NORMSDIST(0)", "0.5"},
           {"=NORMSDIST(50)", "1"},
           {"=NORMSDIST(-50)", "0"},
           {"=NORMDIST(42,40,1.5,TRUE)", "0.908788780274132"},
           {"=NORMDIST(42,40,1.5,FALSE)", "0.109340049783996"},
           {"=NORMDIST(42,40,0,TRUE)", "#NUM!"},
           {"=NORMSINV(0.908788780274132)", "1.33333333333333"},
           {"=NORMSINV(0)", "#NUM!"},
           {"=NORMSINV(1.1)", "#NUM!"},
           {"=NORMSINV(0.5)", "0"},
           {"=ROUND(NORMINV(0.908789,40,1.5),4)", "42"},
           {"=NORMINV(0.5,40,0)", "#NUM!"},
           {"=NORMINV(-0.5,40,1)", "#NUM!"},
           {"=ROUND(LOGNORMDIST(4,3.5,1.2),9)", "0.039083556"},
           {"=LOGNORMDIST(0,3.5,1.2)", "#NUM!"},
           {"=ROUND(LOGINV(0.039084,3.5,1.2),4)", "4"},
           {"=LOGINV(0,3.5,1.2)", "#NUM!"},
           {"=LOGINV(1,3.5,1.2)", "#NUM!"},
           {"=ROUND(STANDARDIZE(42,40,1.5),9)", "1.333333333"},
           {"=STANDARDIZE(42,40,0)", "#NUM!"},
           {"=ROUND(CONFIDENCE(0.05,2.5,50),6)", "0.692952"},
           {"=CONFIDENCE(0,2.5,50)", "#NUM!"},
           {"=CONFIDENCE(0.05,2.5,0.9)", "#NUM!"},
           {"=ROUND(FISHER(0.75),9)", "0.972955075"},
           {"=FISHER(1)", "#NUM!"},
           {"=FISHER(-1)", "#NUM!"},
           {"=ROUND(FISHERINV(0.972955),6)", "0.75"}});
}

TEST_F(Statistics, GammaAndBetaFamilies) {
    Check({{"=ROUND(GAMMALN(4),9)", "1.791759469"},
           {"=GAMMALN(1)", "0"},
           {"=GAMMALN(0)", "#NUM!"},
           {"=ROUND(GAMMADIST(10,9,2,FALSE),9)", "0.03263902"},
           {"=ROUND(GAMMADIST(10,9,2,TRUE),9)", "0.068093635"},
           {"=GAMMADIST(0,1,1,FALSE)", "0"},
           {"=GAMMADIST(1,171,1,FALSE)", "#NUM!"},
           {"=GAMMADIST(171,171,1,TRUE)>0.5", "TRUE"},
           {"=GAMMADIST(-1,1,1,TRUE)", "#NUM!"},
           {"=GAMMADIST(1,0,1,TRUE)", "#NUM!"},
           {"=GAMMADIST(1,1,0,TRUE)", "#NUM!"},
           {"=ROUND(GAMMAINV(0.068094,9,2),2)", "10"},
           {"=GAMMAINV(1.1,9,2)", "#NUM!"},
           {"=GAMMAINV(0.5,0,2)", "#NUM!"},
           {"=ROUND(CHIDIST(18.307,10),8)", "0.05000059"},
           {"=CHIDIST(1,0.9)", "#NUM!"},
           {"=CHIDIST(-1,2)", "#NUM!"},
           {"=CHIDIST(2,2.9)=CHIDIST(2,2)", "TRUE"},
           {"=ROUND(CHIINV(0.05,10),6)", "18.307038"},
           {"=CHIINV(1,10)", "0"},
           {"=CHIINV(1.1,10)", "#NUM!"},
           {"=CHIINV(0.5,0)", "#NUM!"},
           {"=CHIINV(0.5,100000000000)", "#NUM!"},
           {"=ROUND(BETADIST(2,8,10,1,3),9)", "0.685470581"},
           {"=BETADIST(0,8,10)", "0"},
           {"=BETADIST(1,8,10)", "1"},
           {"=BETADIST(2,8,10)", "#NUM!"},
           {"=BETADIST(1,8,10,1,1)", "#NUM!"},
           {"=BETADIST(0.5,0,10)", "#NUM!"},
           {"=ROUND(BETAINV(0.685470581,8,10,1,3),6)", "2"},
           {"=BETAINV(-0.1,8,10)", "#NUM!"},
           {"=ROUND(WEIBULL(105,20,100,TRUE),9)", "0.92958139"},
           {"=ROUND(WEIBULL(105,20,100,FALSE),9)", "0.035588864"},
           {"=WEIBULL(-1,20,100,TRUE)", "#NUM!"},
           {"=ROUND(EXPONDIST(0.2,10,TRUE),9)", "0.864664717"},
           {"=ROUND(EXPONDIST(0.2,10,FALSE),8)", "1.35335283"},
           {"=EXPONDIST(1,0,TRUE)", "#NUM!"}});
}

TEST_F(Statistics, StudentAndFisherFamilies) {
    Check({{"=ROUND(TDIST(1.959999998,60,2),9)", "0.05464493"},
           {"=ROUND(TDIST(1.959999998,60,1),9)", "0.027322465"},
           {"=TDIST(0,5.9,2)", "1"},
           {"=TDIST(-1,5,2)", "#NUM!"},
           {"=TDIST(1,0.9,2)", "#NUM!"},
           {"=TDIST(1,5,3)", "#NUM!"},
           {"=ROUND(FDIST(15.20686486,6,4),8)", "0.01"},
           {"=FDIST(-1,6,4)", "#NUM!"},
           {"=FDIST(1,0,4)", "#NUM!"},
           {"=FDIST(0,6,4)", "1"},
           {"=TINV(2,10)", "#NUM!"},
           {"=TINV(0.5,100000000000)", "#NUM!"},
           {"=FINV(-1,1,1)", "#NUM!"},
           {"=TINV(0.05,0)", "#NUM!"}});
}

TEST_F(Statistics, InversesAreExact) {
    const struct {
        const char* formula;
        double exact;
    } ROWS[] = {
        {"=TINV(0.05,10)", 2.2281388519862747157},
        {"=TINV(0.05,1)", 12.706204736174703938},
        {"=TINV(1E-10,3)", 2804.2938253395256062},
        {"=TINV(0.9999,7)", 0.00012987301419951928865},
        {"=TINV(0.5,2)", 0.81649658092772603273},
        {"=TINV(0.3,1000)", 1.0369711108273987592},
        {"=TINV(0.0001,1000000)", 3.8906075818030655458},
        {"=TINV(0.2,1E+10)", 1.281551565629258944},
        {"=FINV(0.3,6,4)", 1.7808589164781885578},
        {"=FINV(0.01,1,1)", 4052.1806954768289531},
        {"=FINV(1E-12,5,9)", 1402.0060727740482622},
        {"=FINV(0.99,3,200)", 0.038192951270474150944},
        {"=FINV(0.5,1000,7)", 1.1023477619568997795},
        {"=GAMMAINV(0.5,3,1)", 2.6740603137235603179},
        {"=GAMMAINV(0.9,9,2)", 25.989423082637212519},
        {"=GAMMAINV(1E-10,0.5,1)", 7.8539816339744836685e-21},
        {"=GAMMAINV(1-2^-20,0.2,10)", 103.97064478521224583},
        {"=GAMMAINV(0.25,5000,0.001)", 4.9521264217573659081},
        {"=CHIINV(0.05,1)", 3.8414588206941258653},
        {"=CHIINV(0.5,10)", 9.3418177655919674406},
        {"=CHIINV(1E-15,4)", 76.415296461198965399},
        {"=CHIINV(0.9999,3)", 0.0052148323290275945543},
        {"=BETAINV(0.3,0.5,0.5)", 0.20610737385376342131},
        {"=BETAINV(0.685470581,8,10)", 0.49999999998157137764},
        {"=BETAINV(1E-09,2,3)", 0.000012910055600322021971},
        {"=BETAINV(0.999,0.1,4)", 0.60758869373566859568},
        {"=BETAINV(0.5,2000,3000)", 0.39998666562641756255},
    };
    for (const auto& row : ROWS) {
        Enter("A1", row.formula);
        EXPECT_NEAR(CellAtName("A1")->value.number, row.exact, row.exact * 1e-13) << row.formula;
    }
}

TEST_F(Statistics, InversesAtTheEndsOfTheirShares) {
    Check({{"=TINV(1,5)", "0"},
           {"=TINV(0,5)", "#NUM!"},
           {"=FINV(1,5,6)", "0"},
           {"=FINV(0,5,6)", "#NUM!"},
           {"=GAMMAINV(0,5,6)", "0"},
           {"=GAMMAINV(1,5,6)", "#NUM!"},
           {"=CHIINV(1,5)", "0"},
           {"=CHIINV(0,5)", "#NUM!"},
           {"=BETAINV(0,5,6,2,4)", "2"},
           {"=BETAINV(1,5,6,2,4)", "4"},
           {"=TINV(-0.1,5)", "#NUM!"},
           {"=TINV(0.1,0.5)", "#NUM!"},
           {"=FINV(1.1,5,6)", "#NUM!"},
           {"=GAMMAINV(0.5,0,6)", "#NUM!"}});
}

TEST_F(Statistics, DiscreteDistributions) {
    Check({{"=BINOMDIST(6,10,0.5,FALSE)", "0.205078125"},
           {"=BINOMDIST(6.9,10.9,0.5,FALSE)", "0.205078125"},
           {"=BINOMDIST(6,10,0.5,TRUE)", "0.828125"},
           {"=BINOMDIST(0,10,0,FALSE)", "1"},
           {"=BINOMDIST(10,10,1,TRUE)", "1"},
           {"=BINOMDIST(3,10,1,TRUE)", "0"},
           {"=BINOMDIST(11,10,0.5,TRUE)", "#NUM!"},
           {"=BINOMDIST(-1,10,0.5,TRUE)", "#NUM!"},
           {"=BINOMDIST(1,10,1.5,TRUE)", "#NUM!"},
           {"=ROUND(BINOMDIST(5000000,10000000,0.5,FALSE),12)", "0.000252313246"},
           {"=CRITBINOM(6,0.5,0.75)", "4"},
           {"=CRITBINOM(1,0.5,0.5)", "0"},
           {"=CRITBINOM(6,0.5,0)", "0"},
           {"=CRITBINOM(6,0.5,1)", "6"},
           {"=CRITBINOM(-1,0.5,0.5)", "#NUM!"},
           {"=CRITBINOM(6,1.5,0.5)", "#NUM!"},
           {"=CRITBINOM(6,0.5,1.5)", "#NUM!"},
           {"=ROUND(HYPGEOMDIST(1,4,8,20),9)", "0.363261094"},
           {"=HYPGEOMDIST(5,4,8,20)", "#NUM!"},
           {"=HYPGEOMDIST(0,15,8,20)", "#NUM!"},
           {"=HYPGEOMDIST(1,4,21,20)", "#NUM!"},
           {"=HYPGEOMDIST(8,20,8,20)", "1"},
           {"=ROUND(NEGBINOMDIST(10,5,0.25),9)", "0.05504866"},
           {"=NEGBINOMDIST(0,1,1)", "1"},
           {"=NEGBINOMDIST(-1,5,0.25)", "#NUM!"},
           {"=NEGBINOMDIST(1,0,0.25)", "#NUM!"},
           {"=ROUND(POISSON(2,5,FALSE),9)", "0.084224337"},
           {"=ROUND(POISSON(2,5,TRUE),9)", "0.124652019"},
           {"=POISSON(0,0,TRUE)", "1"},
           {"=POISSON(0,0,FALSE)", "1"},
           {"=POISSON(-1,5,TRUE)", "#NUM!"},
           {"=POISSON(1,-5,TRUE)", "#NUM!"},
           {"=PERMUT(100,3)", "970200"},
           {"=PERMUT(3,0)", "1"},
           {"=PERMUT(3,4)", "#NUM!"},
           {"=PERMUT(3,-1)", "#NUM!"},
           {"=PERMUT(0,0)", "#NUM!"},
           {"=PERMUT(1E+200,1E+199)", "#NUM!"}});
}

TEST_F(Statistics, CorrelationAndTheLineThroughPairs) {
    Enter("B1", "1");
    Enter("B2", "x");
    Enter("B3", "3");
    Enter("B4", "5");
    Enter("C1", "2");
    Enter("C2", "100");
    Enter("C3", "6");
    Enter("C4", "10");
    Check({{"=ROUND(CORREL({3,2,4,5,6},{9,7,12,15,17}),9)", "0.997054486"},
           {"=ROUND(PEARSON({9,7,5,3,1},{10,6,1,5,3}),9)", "0.699378606"},
           {"=ROUND(RSQ({2,3,9,1,8,7,5},{6,5,11,7,5,4,4}),9)", "0.057950192"},
           {"=COVAR({3,2,4,5,6},{9,7,12,15,17})", "5.2"},
           {"=ROUND(SLOPE({2,3,9,1,8,7,5},{6,5,11,7,5,4,4}),9)", "0.305555556"},
           {"=ROUND(INTERCEPT({2,3,9,1,8},{6,5,11,7,5}),9)", "0.048387097"},
           {"=ROUND(FORECAST(30,{6,7,9,15,21},{20,28,31,38,40}),6)", "10.607253"},
           {"=ROUND(STEYX({2,3,9,1,8,7,5},{6,5,11,7,5,4,4}),9)", "3.30571895"},
           {"=SLOPE(C1:C4,B1:B4)", "2"},
           {"=INTERCEPT(C1:C4,B1:B4)", "0"},
           {"=CORREL(B1:B4,C1:C4)", "1"},
           {"=CORREL({1,2},{1,2,3})", "#N/A"},
           {"=CORREL({1,2},{1;2})", "1"},
           {"=CORREL({1,2},{3,3})", "#DIV/0!"},
           {"=CORREL({1},{2})", "#DIV/0!"},
           {"=COVAR(D1:D3,E1:E3)", "#DIV/0!"},
           {"=SLOPE({1,2},{3,3})", "#DIV/0!"},
           {"=STEYX({1,2},{1,2})", "#DIV/0!"},
           {"=SLOPE({1,#NUM!},{1,2})", "#NUM!"},
           {"=SLOPE(#NAME?,{1,2})", "#NAME?"},
           {"=FTEST({1,2},#NAME?)", "#NAME?"},
           {"=FORECAST(\"x\",{1,2},{1,2})", "#VALUE!"}});
}

TEST_F(Statistics, TestsOfMeansVariancesAndShares) {
    Check({{"=ROUND(FTEST({6,7,9,15,21},{20,28,31,38,40}),9)", "0.648317847"},
           {"=FTEST({1,2},{3,3})", "#DIV/0!"},
           {"=ROUND(FTEST({1,2,3,4},{2,3,5}),12)", "0.743994778167"},
           {"=ROUND(FTEST({2,3,5},{1,2,3,4,\"x\"}),12)", "0.743994778167"},
           {"=FTEST({1,2,3},{2})", "#DIV/0!"},
           {"=FTEST({1,#NULL!},{#N/A})", "#NULL!"},
           {"=ROUND(TTEST({1,2,3,4},{2,3,5},2,2),12)", "0.468156840832"},
           {"=ROUND(TTEST({1,2,3,4},{2,3,5},2,3),12)", "0.488660202794"},
           {"=ROUND(TTEST({1,2,3,4},{2,3,\"a\",9},1,2),12)", "0.162068069963"},
           {"=ROUND(TTEST({1,2,3,4},{2,3,\"a\",9},1,1),12)", "0.111111111111"},
           {"=TTEST({1,2,3},{2},1,2)", "#DIV/0!"},
           {"=TTEST({2},{1,2,3},1,3)", "#DIV/0!"},
           {"=TTEST({1,1},{1,1},1,3)", "#DIV/0!"},
           {"=TTEST({1,2},{1,#N/A},1,3)", "#N/A"},
           {"=ROUND(TTEST({3,4,5,8,9,1,2,4,5},{6,19,3,2,14,4,5,17,1},2,1),9)", "0.196015785"},
           {"=ROUND(TTEST({3,4,5,8,9,1,2,4,5},{6,19,3,2,14,4,5,17,1},2,2),9)", "0.191995887"},
           {"=ROUND(TTEST({3,4,5,8,9,1,2,4,5},{6,19,3,2,14,4,5,17,1},1,3),9)", "0.101146962"},
           {"=TTEST({1,2},{3,4},3,1)", "#NUM!"},
           {"=TTEST({1,2},{3,4},1,4)", "#NUM!"},
           {"=TTEST({1},{3},1,1)", "#DIV/0!"},
           {"=TTEST({1,2},{2,3},1,1)", "#DIV/0!"},
           {"=TTEST({1,2},{1,2,3},1,1)", "#N/A"},
           {"=ROUND(ZTEST({3,6,7,8,6,5,4,2,1,9},4),9)", "0.090574197"},
           {"=ROUND(ZTEST({3,6,7,8,6,5,4,2,1,9},4,2),6)", "0.040995"},
           {"=ZTEST({3,6},4,0)", "#NUM!"},
           {"=ZTEST({3},4)", "#DIV/0!"},
           {"=ZTEST(D1:D3,4)", "#DIV/0!"},
           {"=PROB({0,1,2,3},{0.2,0.3,0.1,0.4},2)", "0.1"},
           {"=PROB({0,1,2,3},{0.2,0.3,0.1,0.4},1,3)", "0.8"},
           {"=PROB({0,1},{0.2,0.3},1)", "#NUM!"},
           {"=PROB({0,1},{0,1},1)", "#NUM!"},
           {"=PROB({0,1,2},{0.2,0.8},1)", "#N/A"},
           {"=ROUND(CHITEST({58,35;11,25;10,23},{45.35,47.65;17.56,18.44;16.09,16.91}),9)", "0.000308192"},
           {"=CHITEST({1},{1})", "#N/A"},
           {"=CHITEST({1,2},{1,0})", "#DIV/0!"},
           {"=CHITEST({\"a\",2},{1,\"b\"})", "#DIV/0!"},
           {"=CHITEST({1,2},{1,-1})", "#NUM!"},
           {"=CHITEST({1,2},{1,2})", "1"},
           {"=CHITEST({1,2},{1,2,3})", "#N/A"}});
}

TEST_F(Statistics, ArgumentsFarBeyondUseEndWithoutAWrongNumber) {
    Check({{"=BETAINV(0.5,1E-300,1E300)<1E-300", "TRUE"},
           {"=BETADIST(0.5,1E300,1E300)", "#NUM!"},
           {"=BINOMDIST(5E14,1E15,0.5,TRUE)", "#NUM!"},
           {"=CRITBINOM(1E15,0.5,0.3)", "#NUM!"},
           {"=ROUND(FINV(0.3,99999999999,99999999999)-1,11)", "3.31661E-06"},
           {"=GAMMAINV(0.3,1E300,1E300)", "#NUM!"},
           {"=GAMMALN(1E308)", "#NUM!"},
           {"=TDIST(1E300,5,2)", "0"},
           {"=TDIST(1E-300,5,2)", "1"},
           {"=LARGE({1,2},1E300)", "#NUM!"},
           {"=QUARTILE({1,2,3},1E300)", "#NUM!"},
           {"=PERCENTRANK({1,2,4},3,2147483647)", "0.75"},
           {"=WEIBULL(0,0.5,1,FALSE)", "#NUM!"},
           {"=ROUND(BINOMDIST(5000000,10000000,0.5,TRUE),12)", "0.500126156623"},
           {"=INDEX(LINEST({1E+300;2E+300},{1E+300;2E+300}),1,1)", "#NUM!"}});
}

TEST_F(Statistics, EveryAreaOfAReferenceIsRead) {
    for (const char* cell : {"B1", "B2", "B3", "D1", "D2"}) Enter(cell, cell[0] == 'B' ? "3" : "8");
    Enter("C1", "text");
    Enter("F1", "=1/0");
    Check({{"=MEDIAN((B1:C3,D1:D2))", "3"},
           {"=MEDIAN((B1,C1:D2))", "8"},
           {"=MODE(B1:B3,D1:D2)", "3"},
           {"=LARGE((B1:B3,D1:D2),2)", "8"},
           {"=RANK(3,(B1:B3,D1:D2))", "3"},
           {"=MEDIAN(B1:F3)", "#DIV/0!"},
           {"=SMALL(F1:F3,1)", "#DIV/0!"},
           {"=PERCENTILE(B1:B3,F1)", "#DIV/0!"},
           {"=CORREL(B1:B3,F1:F3)", "#DIV/0!"},
           {"=CORREL(B1:B3,D1:D2)", "#N/A"}});
}

}  // namespace
}  // namespace tally
