#include <map>
#include <vector>

#include "formula/FormulaTypes.h"
#include "support/Sandbox.h"

// Add-in functions in array formulas: each element is what the function alone gives.

namespace tally {
namespace {

class AddInArrays : public Sandbox {
  protected:
    // The arguments of a call by themselves.
    static std::vector<std::string> Split(const std::string& text) {
        std::vector<std::string> parts(1);
        bool inside = false;
        for (char c : text) {
            inside = inside != (c == '{' || c == '}');
            if (c == ',' && !inside) {
                parts.emplace_back();
            } else {
                parts.back() += c;
            }
        }
        return parts;
    }
    static std::string Call(const std::string& name, const std::vector<std::string>& arguments) {
        std::string text = "=" + name + "(";
        for (std::size_t i = 0; i < arguments.size(); ++i) text += (i ? "," : "") + arguments[i];
        return text + ")";
    }
};

// A call that has a value and one with other arguments; an argument that is wanted whole is an array here.
struct SampleCall {
    const char* first;
    const char* second;
};
const std::map<std::string, SampleCall> samples = {
    {"ACCRINT", {"39000,39200,39100,0.1,1000,2,0", "39010,39210,39110,0.2,2000,4,1"}},
    {"ACCRINTM", {"39000,39200,0.1,1000,0", "39010,39210,0.2,2000,1"}},
    {"AMORDEGRC", {"2400,39679,39813,300,1,0.15,1", "2500,39680,39814,200,2,0.2,0"}},
    {"AMORLINC", {"2400,39679,39813,300,1,0.15,1", "2500,39680,39814,200,2,0.2,0"}},
    {"BESSELI", {"1.5,1", "2.5,2"}},
    {"BESSELJ", {"1.5,1", "2.5,2"}},
    {"BESSELK", {"1.5,1", "2.5,2"}},
    {"BESSELY", {"1.5,1", "2.5,2"}},
    {"BIN2DEC", {"101", "111"}},
    {"BIN2HEX", {"101,4", "111,6"}},
    {"BIN2OCT", {"101,4", "111,6"}},
    {"COMPLEX", {"1,2,\"i\"", "3,4,\"j\""}},
    {"CONVERT", {"1,\"m\",\"ft\"", "2,\"yd\",\"in\""}},
    {"COUPDAYBS", {"39107,39767,2,1", "39108,39768,4,0"}},
    {"COUPDAYS", {"39107,39767,2,1", "39108,39768,4,0"}},
    {"COUPDAYSNC", {"39107,39767,2,1", "39108,39768,4,0"}},
    {"COUPNCD", {"39107,39767,2,1", "39108,39768,4,0"}},
    {"COUPNUM", {"39107,39767,2,1", "39108,39768,4,0"}},
    {"COUPPCD", {"39107,39767,2,1", "39108,39768,4,0"}},
    {"CUMIPMT", {"0.01,36,5000,2,9,0", "0.02,48,6000,1,5,1"}},
    {"CUMPRINC", {"0.01,36,5000,2,9,0", "0.02,48,6000,1,5,1"}},
    {"DEC2BIN", {"9,6", "3,4"}},
    {"DEC2HEX", {"90,6", "33,4"}},
    {"DEC2OCT", {"90,6", "33,4"}},
    {"DELTA", {"5,5", "4,4"}},
    {"DISC", {"39107,39248,97.975,100,1", "39108,39258,95,99,0"}},
    {"DOLLARDE", {"1.02,16", "1.1,8"}},
    {"DOLLARFR", {"1.125,16", "1.5,8"}},
    {"DURATION", {"39448,42370,0.08,0.09,2,1", "39449,42400,0.05,0.04,4,0"}},
    {"EDATE", {"39000,1", "39100,2"}},
    {"EFFECT", {"0.0525,4", "0.06,12"}},
    {"EOMONTH", {"39000,1", "39100,2"}},
    {"ERF", {"0.5,1.5", "0.25,2"}},
    {"ERFC", {"0.5", "1.5"}},
    {"FACTDOUBLE", {"6", "7"}},
    {"FVSCHEDULE", {"1,{0.09,0.11,0.1}", "2,{0.09,0.11,0.1}"}},
    {"GCD", {"{24,36}", "{24,36}"}},
    {"GESTEP", {"5,4", "3,7"}},
    {"HEX2BIN", {"\"F\",8", "\"7\",4"}},
    {"HEX2DEC", {"\"A5\"", "\"FF\""}},
    {"HEX2OCT", {"\"F\",3", "\"3B4E\",5"}},
    {"IMABS", {"\"5+12i\"", "\"3+4i\""}},
    {"IMAGINARY", {"\"5+12i\"", "\"3+4i\""}},
    {"IMARGUMENT", {"\"5+12i\"", "\"3+4i\""}},
    {"IMCONJUGATE", {"\"5+12i\"", "\"3+4i\""}},
    {"IMCOS", {"\"1+i\"", "\"2+i\""}},
    {"IMDIV", {"\"5+12i\",\"1+i\"", "\"3+4i\",\"2-i\""}},
    {"IMEXP", {"\"1+i\"", "\"2+i\""}},
    {"IMLN", {"\"3+4i\"", "\"2+i\""}},
    {"IMLOG10", {"\"3+4i\"", "\"2+i\""}},
    {"IMLOG2", {"\"3+4i\"", "\"2+i\""}},
    {"IMPOWER", {"\"2+3i\",3", "\"1+i\",2"}},
    {"IMPRODUCT", {"{\"3+4i\",\"5-3i\"}", "{\"3+4i\",\"5-3i\"}"}},
    {"IMREAL", {"\"6-9i\"", "\"3+4i\""}},
    {"IMSIN", {"\"3+4i\"", "\"2+i\""}},
    {"IMSQRT", {"\"1+i\"", "\"3+4i\""}},
    {"IMSUB", {"\"13+4i\",\"5+3i\"", "\"3+4i\",\"1+i\""}},
    {"IMSUM", {"{\"3+4i\",\"5-3i\"}", "{\"3+4i\",\"5-3i\"}"}},
    {"INTRATE", {"39493,39583,1000000,1014420,2", "39494,39600,100,110,0"}},
    {"ISEVEN", {"2", "3"}},
    {"ISODD", {"3", "2"}},
    {"LCM", {"{24,36}", "{24,36}"}},
    {"MDURATION", {"39448,42370,0.08,0.09,2,1", "39449,42400,0.05,0.04,4,0"}},
    {"MROUND", {"10,3", "21,4"}},
    {"MULTINOMIAL", {"{2,3,4}", "{2,3,4}"}},
    {"NETWORKDAYS", {"39722,39873,{39778,39786}", "39723,39874,{39778,39786}"}},
    {"NOMINAL", {"0.053543,4", "0.06,12"}},
    {"OCT2BIN", {"7,3", "3,4"}},
    {"OCT2DEC", {"54", "77"}},
    {"OCT2HEX", {"100,4", "77,6"}},
    {"ODDFPRICE",
     {"39763,44256,39736,39873,0.0785,0.0625,100,2,1", "39764,44256,39737,39873,0.05,0.04,110,2,0"}},
    {"ODDFYIELD", {"39763,44256,39736,39873,0.0575,84.5,100,2,0", "39764,44256,39737,39873,0.05,90,110,2,1"}},
    {"ODDLPRICE", {"39485,39614,39370,0.0375,0.0405,100,2,0", "39486,39615,39371,0.05,0.04,110,4,1"}},
    {"ODDLYIELD", {"39558,39614,39440,0.0375,99.875,100,2,0", "39559,39615,39441,0.05,98,110,4,1"}},
    {"PRICE", {"39493,43054,0.0575,0.065,100,2,0", "39494,43055,0.05,0.04,110,4,1"}},
    {"PRICEDISC", {"39494,39508,0.0525,100,2", "39495,39600,0.06,110,0"}},
    {"PRICEMAT", {"39493,39551,39397,0.061,0.061,0", "39494,39552,39398,0.05,0.04,1"}},
    {"QUOTIENT", {"5,2", "17,4"}},
    {"RANDBETWEEN", {"3,3", "3,3"}},
    {"RECEIVED", {"39493,39583,1000000,0.0575,2", "39494,39600,500,0.04,0"}},
    {"SERIESSUM", {"0.5,0,2,{1,-0.5,0.25}", "0.25,1,3,{1,-0.5,0.25}"}},
    {"SQRTPI", {"1", "2"}},
    {"TBILLEQ", {"39538,39600,0.0914", "39539,39650,0.05"}},
    {"TBILLPRICE", {"39538,39600,0.09", "39539,39650,0.05"}},
    {"TBILLYIELD", {"39538,39600,98.45", "39539,39650,97"}},
    {"WEEKNUM", {"39516,1", "39600,2"}},
    {"WORKDAY", {"39722,151,{39778,39786}", "39723,20,{39778,39786}"}},
    {"XIRR",
     {"{-10000,2750,4250,3250,2750},{39448,39508,39751,39859,39904},0.1",
      "{-10000,2750,4250,3250,2750},{39448,39508,39751,39859,39904},0.2"}},
    {"XNPV", {"0.09,{-10000,2750,4250},{39448,39508,39751}", "0.1,{-10000,2750,4250},{39448,39508,39751}"}},
    {"YEARFRAC", {"39448,39659,0", "39400,39700,1"}},
    {"YIELD", {"39493,42689,0.0575,95.04287,100,2,0", "39494,42690,0.05,90,110,4,1"}},
    {"YIELDDISC", {"39494,39508,99.795,100,2", "39495,39600,98,110,0"}},
    {"YIELDMAT", {"39522,39755,39394,0.0625,100.0123,0", "39523,39756,39395,0.05,99,1"}},
};

TEST_F(AddInArrays, EveryFunctionIsRepeatedOverTheCellsOfEachOfItsArguments) {
    int repeated = 0;
    for (i32 row = MAIN_FUNCTIONS; row < FUNCTION_ROWS; ++row) {
        const FunctionEntry& entry = FunctionTable[row];
        if (entry.category >= CATEGORY_MACRO_CONTROL) continue;
        const std::string name = Narrow(entry.name);
        ASSERT_TRUE(samples.count(name)) << name;
        const std::vector<std::string> first = Split(samples.at(name).first);
        const std::vector<std::string> second = Split(samples.at(name).second);
        EXPECT_NE(Eval(Call(name, first))[0], '#') << Call(name, first);
        for (std::size_t i = 0; i < first.size(); ++i) {
            if (first[i][0] == '{') continue;
            CurrentSheet()->arrayFormulas.Truncate(0);
            // A value, another one, and an empty cell.
            Enter("J1", "=" + first[i]);
            Enter("J2", "=" + second[i]);
            std::vector<std::string> arguments = first;
            arguments[i] = "J1:J3";
            EnterArray("K1", "K3", Call(name, arguments));
            for (const char* line : {"1", "2", "3"}) {
                arguments[i] = std::string("J") + line;
                if (name == "RANDBETWEEN" && line[0] == '3') continue;  // a choice of four numbers
                const std::string alone = Eval(Call(name, arguments));
                EXPECT_EQ(Shown(std::string("K") + line), alone) << Call(name, arguments);
            }
            ++repeated;
        }
    }
    EXPECT_GT(repeated, 250);
}

TEST_F(AddInArrays, AColumnAndARowMakeARectangle) {
    Enter("A1", "5");
    Enter("A2", "9");
    Enter("B4", "4");
    Enter("C4", "6");
    EnterArray("E1", "F2", "=DEC2BIN(A1:A2,B4:C4)");
    EXPECT_EQ(Shown("E1") + " " + Shown("F1"), "0101 000101");
    EXPECT_EQ(Shown("E2") + " " + Shown("F2"), "1001 001001");
}

TEST_F(AddInArrays, ArraysThatAreWorkedOutAndAreasOfOtherSheetsAreRepeatedToo) {
    Enter("A1", "1");
    Enter("A2", "10");
    EnterArray("C1", "C2", "=BIN2DEC(A1:A2&\"1\")");
    EXPECT_EQ(Shown("C1") + " " + Shown("C2"), "3 5");
    EnterArray("D1", "D2", "=BIN2DEC(Sheet1!A1:A2)");
    EXPECT_EQ(Shown("D1") + " " + Shown("D2"), "1 2");
    EnterArray("E1", "E1", "=SUM(BIN2DEC(A1:A2))");
    EXPECT_EQ(Shown("E1"), "3");
}

TEST_F(AddInArrays, AreasThatAreWantedWholeStayWhole) {
    Enter("A1", "24");
    Enter("A2", "36");
    EnterArray("C1", "C2", "=GCD(A1:A2)");
    EXPECT_EQ(Shown("C1") + " " + Shown("C2"), "12 12");
    Enter("B1", "39815");
    Enter("B2", "39816");
    EnterArray("D1", "D2", "=WORKDAY(39813,A1:A2-22,B1:B2)-39813");
    EXPECT_EQ(Shown("D1") + " " + Shown("D2"), "5 21");
}

}  // namespace
}  // namespace tally
