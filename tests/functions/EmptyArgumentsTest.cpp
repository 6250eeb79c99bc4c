#include <string>

#include "support/Sandbox.h"

// Arguments that are written but empty, and those that are not written.

namespace tally {
namespace {

struct Row {
    const char* formula;
    const char* expected;
};

class EmptyArguments : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        const char* entries[][2] = {{"D1", "1"},  {"D2", "2"},  {"D3", "3"},
                                    {"E1", "10"}, {"E2", "20"}, {"E3", "30"}};
        for (const auto& entry : entries) Enter(entry[0], entry[1]);
    }
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

TEST_F(EmptyArguments, AreZeroFalseOrTheEmptyText) {
    Check({{"=VLOOKUP(2.5,D1:E3,2,)", "#N/A"},
           {"=VLOOKUP(2,D1:E3,2,)", "20"},
           {"=HLOOKUP(5,D1:E3,1,)", "#N/A"},
           {"=MATCH(2.5,D1:D3,)", "#N/A"},
           {"=MATCH(2,D1:D3,)", "2"},
           {"=ROUND(12.6,)", "13"},
           {"=ROUND(,2)", "0"},
           {"=SUBSTITUTE(\"axa\",\"x\",)", "aa"},
           {"=IF(,1,2)", "2"},
           {"=IF(1,,2)", "0"},
           {"=IF(0,1,)", "0"},
           {"=LEFT(\"abc\",)", ""},
           {"=RIGHT(\"abc\",)", ""},
           {"=FIND(\"b\",\"abc\",)", "#VALUE!"},
           {"=FIXED(1234.567,)", "1,235"},
           {"=FIXED(1234.567,1,)", "1,234.6"},
           {"=CONCATENATE(\"a\",,\"b\")", "ab"},
           {"=INDIRECT(\"D2\",)", "#REF!"},
           {"=CHOOSE(1,,5)", "0"},
           {"=CHOOSE(2,5,)", "0"},
           {"=TEXT(,\"0.0\")", "0.0"},
           {"=EXACT(\"\",)", "TRUE"},
           {"=POWER(2,)", "1"},
           {"=MOD(5,)", "#DIV/0!"},
           {"=REPT(\"x\",)", ""},
           {"=DATE(2000,1,)", "36525"},
           {"=HYPERLINK(\"x\",)", "0"},
           {"=LOG(100,)", "#NUM!"},
           {"=PMT(0.1,2,100,,1)=PMT(0.1,2,100,0,1)", "TRUE"},
           {"=SUM(CHOOSE({1,2},,5))", "5"}});
}

TEST_F(EmptyArguments, CountAmongTheValuesOfAnAggregate) {
    Check({{"=SUM(,3)", "3"},
           {"=SUM(3,)", "3"},
           {"=AVERAGE(,3)", "1.5"},
           {"=COUNT(,3)", "2"},
           {"=COUNTA(,3)", "2"},
           {"=MAX(,-3)", "0"},
           {"=MIN(3,)", "0"},
           {"=PRODUCT(,3)", "0"},
           {"=AND(TRUE,)", "FALSE"},
           {"=OR(FALSE,)", "FALSE"},
           {"=OR(TRUE,)", "TRUE"},
           {"=MIN(D1:D3,)", "0"},
           {"=COUNT(D1:D3,)", "4"}});
}

TEST_F(EmptyArguments, WhatIsNotWrittenTakesItsDefault) {
    Check({{"=VLOOKUP(2.5,D1:E3,2)", "20"},
           {"=MATCH(2.5,D1:D3)", "2"},
           {"=LEFT(\"abc\")", "a"},
           {"=FIXED(1234.567)", "1,234.57"},
           {"=FIND(\"b\",\"abc\")", "2"},
           {"=LOG(100)", "2"},
           {"=COUNT(3)", "1"},
           {"=COUNTA(3)", "1"},
           {"=MIN(3)", "3"},
           {"=AND(TRUE)", "TRUE"},
           {"=INDIRECT(\"D2\")", "2"},
           {"=HYPERLINK(\"x\")", "x"}});
}

TEST_F(EmptyArguments, AnEmptyCellIsAWrittenArgument) {
    Check({{"=VLOOKUP(2.5,D1:E3,2,Z9)", "#N/A"},
           {"=MATCH(2.5,D1:D3,Z9)", "#N/A"},
           {"=LEFT(\"abc\",Z9)", ""},
           {"=SUMPRODUCT(LEN(LEFT(\"abc\",{1,2})))", "3"}});
}

// References and sizes that are left out keep what they stand for.
TEST_F(EmptyArguments, PlacesAndSizesTakeTheirDefaultsEitherWay) {
    Check({{"=ADDRESS(2,3,)", "$C$2"},
           {"=ADDRESS(2,3,4,)", "C2"},
           {"=ADDRESS(2,3,,,\"S\")", "S!$C$2"},
           {"=ADDRESS(2,3,4,,\"S\")", "S!C2"},
           {"=ADDRESS(2,3,1,1,)", "$C$2"},
           {"=SUM(OFFSET(D1,0,0,,2))", "11"},
           {"=SUM(OFFSET(D1,0,0,3,))", "6"},
           {"=SUM(OFFSET(D1:E2,1,0,,))", "55"},
           {"=SUM(OFFSET(D1,,1))", "10"},
           {"=SUM(INDEX(D1:E3,2,))", "22"},
           {"=SUM(INDEX(D1:E3,,2))", "60"},
           {"=INDEX(D1:E1,2)", "10"},
           {"=SUM(INDEX(D1:E1,1,))", "11"},
           {"=TREND(E1:E3,,4)", "40"},
           {"=ERF(1,)=ERF(1)", "TRUE"}});
}

TEST_F(EmptyArguments, CanBeTypedBetweenSeparatorsOnly) {
    for (const char* formula :
         {"=ROUND(D1,)", "=IF(,1,2)", "=SUM(,D1)", "=VLOOKUP(D1,D1:E3,2,)", "=ROUND(,)",
          "=SUBSTITUTE(D1,\"x\",)", "=CHOOSE(1,,5)", "=AND(TRUE,)", "=SUM(,,D1,,)", "=ABS(1)"})
        EXPECT_EQ(Printed(formula), formula);
    for (const char* formula : {"=ABS()", "=ROUND(D1)", "=SUM()", "=IF()", "=ROUND(1,2,)", "=ABS(,)", "=PI(,)"})
        EXPECT_EQ(Compiled(formula), "fault") << formula;
    EXPECT_EQ(Printed("=PI()"), "=PI()");
    EXPECT_EQ(Printed("=ROW()"), "=ROW()");
}

}  // namespace
}  // namespace tally
