#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "formula/FormulaTypes.h"
#include "functions/Criteria.h"
#include "functions/Handlers.h"
#include "functions/RoundDigits.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

TEST(FunctionTable, BothHalvesAreSortedAndHaveTheirCounts) {
    i32 returnsFalse = 0, returnsNA = 0, returnsTrue = 0;
    for (i32 i = 0; i < FUNCTION_ROWS; ++i) {
        const FunctionEntry& entry = FunctionTable[i];
        ASSERT_FALSE(entry.name.empty());
        ASSERT_NE(entry.handler, nullptr);
        ASSERT_LE(entry.signature.size(), static_cast<std::size_t>(MAX_ARGUMENTS));
        for (char c : entry.signature) ASSERT_NE(std::string("RVCQTUWrvcqtuw").find(c), std::string::npos);
        if (i && i != MAIN_FUNCTIONS) ASSERT_TRUE(FunctionTable[i - 1].name < entry.name) << Narrow(entry.name);
        returnsFalse += entry.handler == ReturnFalse;
        returnsNA += entry.handler == ReturnNA;
        returnsTrue += entry.handler == ReturnTrue;
    }
    EXPECT_EQ(returnsFalse, 296 + 19 + 1);
    EXPECT_EQ(returnsNA, 15);
    EXPECT_EQ(returnsTrue, 2);
}

TEST(FunctionTable, RowsAreFoundByNameAndNumber) {
    for (i32 i = 0; i < MAIN_FUNCTIONS; ++i) {
        const WideView name = FunctionTable[i].name;
        EXPECT_EQ(FindFunction(name), i);
        // Three old names share a number with a newer one.
        if (name == u"MOVE" || name == u"PLACEMENT" || name == u"SIZE") continue;
        EXPECT_EQ(FindFunctionById(FunctionTable[i].id), i) << Narrow(name);
    }
    for (i32 i = MAIN_FUNCTIONS; i < FUNCTION_ROWS; ++i) EXPECT_EQ(FindAddInFunction(FunctionTable[i].name), i);
    EXPECT_EQ(FindFunction(u"sum"), FindFunction(u"SUM"));
    EXPECT_EQ(FindFunction(u"GCD"), -1);
    EXPECT_EQ(FindFunction(u""), -1);
    EXPECT_EQ(FindFunctionById(255), -1);
    EXPECT_EQ(FindFunctionById(0xFFFF), -1);
    EXPECT_EQ(Narrow(FunctionNameById(0x8000 | 30)), "A1.R1C1");
    EXPECT_EQ(Narrow(FunctionNameById(4)), "SUM");
    EXPECT_EQ(FindFunctionById(512), -1);
    EXPECT_EQ(FindFunctionById(0x8000 | 512), -1);
    EXPECT_EQ(Narrow(FunctionNameById(0x8000 | 14)), "WINDOW.MOVE");
    EXPECT_EQ(Narrow(FunctionNameById(0x8000 | 207)), "OBJECT.PROPERTIES");
    EXPECT_EQ(Narrow(FunctionNameById(32809)), "TABLE");
}

// The names of a hint, an open tail counted once.
std::vector<std::string> HintNames(std::string hint, bool& open) {
    open = hint.ends_with(", ...]");
    if (open) hint.replace(hint.size() - 6, 6, "]");
    std::vector<std::string> names;
    for (std::size_t at = 0; at <= hint.size();) {
        const std::size_t end = std::min(hint.find(", ", at), hint.size());
        names.push_back(hint.substr(at, end - at));
        at = end + 2;
    }
    return names;
}

TEST(FunctionTable, HintsOfWorksheetFunctionsFollowTheirSignatures) {
    for (const FunctionEntry& entry : FunctionTable) {
        const std::string name = Narrow(entry.name);
        const bool left =
            (entry.handler == ReturnFalse && name != "FALSE") || (entry.handler == ReturnNA && name != "NA");
        if (left || entry.category >= CATEGORY_MACRO_CONTROL) {
            EXPECT_TRUE(!left || entry.argumentHint.empty()) << name;
            continue;
        }
        ASSERT_FALSE(entry.argumentHint.empty()) << name;
        if (entry.signature.empty()) {
            // Listed, with nothing to fill in.
            EXPECT_EQ(Narrow(entry.argumentHint), " ") << name;
            continue;
        }
        bool open = false;
        const std::vector<std::string> names = HintNames(Narrow(entry.argumentHint), open);
        if (open) {
            EXPECT_LT(names.size(), entry.signature.size()) << name;
            EXPECT_GE(entry.signature.size(), 29u) << name;
        } else {
            EXPECT_EQ(names.size(), entry.signature.size()) << name;
        }
        for (std::size_t i = 0; i < std::min(names.size(), entry.signature.size()); ++i) {
            const bool optional = entry.signature[i] >= 'a';
            EXPECT_EQ(names[i].front() == '[' && names[i].back() == ']', optional) << name << " " << names[i];
            EXPECT_EQ(names[i].find_first_not_of("[]abcdefghijklmnopqrstuvwxyz0123456789_"), std::string::npos)
                << name;
        }
    }
    EXPECT_EQ(Narrow(FunctionTable[FindFunction(u"PMT")].argumentHint), "rate, term, [pv], [fv], [type]");
    EXPECT_EQ(Narrow(FunctionTable[FindFunction(u"SUBTOTAL")].argumentHint), "function_num, ref1, [ref2, ...]");
    EXPECT_EQ(Narrow(FunctionTable[FindFunction(u"DCOUNT")].argumentHint), "database, [field], criteria");
}

class Functions : public Sandbox {
  protected:
    struct Row {
        const char* formula;
        const char* expected;
    };
    static void Check(std::initializer_list<Row> rows) {
        for (const Row& row : rows) EXPECT_EQ(Eval(row.formula), row.expected) << row.formula;
    }
};

TEST_F(Functions, PlainMath) {
    Check({{"=ABS(-2)", "2"},
           {"=ACOS(2)", "#NUM!"},
           {"=LN(0)", "#NUM!"},
           {"=LN(-1)", "#NUM!"},
           {"=LOG10(100)", "2"},
           {"=SQRT(-1)", "#NUM!"},
           {"=SQRT(16)", "4"},
           {"=ATAN2(0,0)", "#DIV/0!"},
           {"=ATAN2(1,0)", "0"},
           {"=ROUND(PI(),4)", "3.1416"},
           {"=SIGN(-3)", "-1"},
           {"=INT(-1.5)", "-2"},
           {"=MOD(-1,3)", "2"},
           {"=MOD(1,-3)", "-2"},
           {"=MOD(1,0)", "#DIV/0!"},
           {"=FACT(5)", "120"},
           {"=FACT(171)", "#NUM!"},
           {"=FACT(170)>1", "TRUE"},
           {"=FACT(-1)", "#NUM!"},
           {"=COMBIN(5,2)", "10"},
           {"=COMBIN(2,5)", "#NUM!"},
           {"=COMBIN(1E+15,1E+14)", "#NUM!"},
           {"=EVEN(1.5)", "2"},
           {"=EVEN(-1)", "-2"},
           {"=ODD(0)", "1"},
           {"=ODD(-2)", "-3"},
           {"=CEILING(2.5,1)", "3"},
           {"=CEILING(-2,1)", "#NUM!"},
           {"=CEILING(2,0)", "0"},
           {"=FLOOR(2,0)", "#DIV/0!"},
           {"=FLOOR(2.5,1)", "2"},
           {"=LOG(8,2)", "3"},
           {"=LOG(8,1)", "#DIV/0!"},
           {"=LOG(100)", "2"},
           {"=LOG(0)", "#NUM!"},
           {"=POWER(0,0)", "#NUM!"},
           {"=POWER(0,-1)", "#DIV/0!"},
           {"=POWER(-8,1/3)", "#NUM!"},
           {"=POWER(2,10)", "1024"},
           {"=TRUNC(-1.57,1)", "-1.5"},
           {"=TRUNC(1.9)", "1"},
           {"=DEGREES(PI())", "180"},
           {"=QUOTIENT(7,2)", "3"},
           {"=QUOTIENT(7,0)", "#DIV/0!"},
           {"=MROUND(7,2)", "8"},
           {"=MROUND(7,-2)", "#NUM!"},
           {"=SQRTPI(-1)", "#NUM!"},
           {"=FACTDOUBLE(6)", "48"},
           {"=GCD(12,18)", "6"},
           {"=LCM(4,6)", "12"},
           {"=GCD(-1)", "#NUM!"},
           {"=MULTINOMIAL(2,3)", "10"},
           {"=MULTINOMIAL(2,3,4)", "1260"},
           {"=MULTINOMIAL(0,0)", "1"},
           {"=MULTINOMIAL(1E+9,2)", "5.000000015E+17"},
           {"=MULTINOMIAL(4294967296,1E+9)", "#NUM!"},
           {"=SERIESSUM(2,0,1,{1,1,1})", "7"},
           {"=ABS(\"x\")", "#VALUE!"},
           {"=ABS(#REF!)", "#REF!"}});
}

TEST_F(Functions, RoundingWorksOnPrintedDigits) {
    Check({{"=ROUND(2.5,0)", "3"},
           {"=ROUND(-2.5,0)", "-3"},
           {"=ROUND(1.005,2)", "1.01"},
           {"=ROUNDUP(0.1,-1)", "10"},
           {"=ROUNDDOWN(9,-1)", "0"},
           {"=ROUND(1234,-2)", "1200"},
           {"=ROUND(0.5,0)", "1"},
           {"=ROUNDUP(1.0000000000000004,0)", "1"},
           {"=ROUND(99.995,2)", "100"},
           {"=ROUNDDOWN(-1.99,1)", "-1.9"},
           {"=ROUND(5,400)", "5"},
           {"=ROUND(5,-400)", "0"},
           {"=ROUND(1E+20,2)", "1E+20"},
           {"=ROUND(0,2)", "0"},
           {"=ROUNDUP(12.1,0)", "13"},
           {"=ROUND(15,-1)", "20"}});
}

TEST_F(Functions, Logic) {
    Check({{"=AND(TRUE,1)", "TRUE"},
           {"=AND(TRUE,0)", "FALSE"},
           {"=OR(FALSE,0)", "FALSE"},
           {"=OR(FALSE,\"TRUE\")", "TRUE"},
           {"=AND(\"x\")", "#VALUE!"},
           {"=AND(B1:B3)", "#VALUE!"},
           {"=NOT(0)", "TRUE"},
           {"=OR(1/0,TRUE)", "#DIV/0!"},
           {"=TRUE()", "TRUE"},
           {"=FALSE()", "FALSE"},
           {"=NA()", "#N/A"},
           {"=LEFTB(\"a\",1)", "#N/A"}});
    Enter("B1", "text");
    Enter("B2", "more");
    EXPECT_EQ(Eval("=AND(B1:B3)"), "#VALUE!");
    Enter("B3", "0");
    EXPECT_EQ(Eval("=AND(B1:B3)"), "FALSE");
    EXPECT_EQ(Eval("=OR(B1:B3,1)"), "TRUE");
}

TEST_F(Functions, SumsAndProducts) {
    Enter("B1", "1");
    Enter("B2", "2");
    Enter("B3", "x");
    Enter("B4", "TRUE");
    Check({{"=SUM(B1:B4)", "3"},
           {"=SUM(B1:B4,\"4\",TRUE)", "8"},
           {"=PRODUCT(B1:B4)", "2"},
           {"=SUMSQ(B1:B2,3)", "14"},
           {"=SUMPRODUCT({1,2},{3,4})", "11"},
           {"=SUMPRODUCT({1,2},{3;4})", "#VALUE!"},
           {"=SUMX2MY2({2,3},{1,1})", "11"},
           {"=SUMX2PY2({2,3},{1,1})", "15"},
           {"=SUMXMY2({2,3},{1,1})", "5"},
           {"=SUMXMY2({2,3},{1})", "#N/A"},
           {"=SUMX2MY2(#NAME?,{2,3})", "#NAME?"},
           {"=SUMPRODUCT({1,2},#NAME?)", "#NAME?"},
           {"=SUM({1,#N/A})", "#N/A"},
           {"=COUNT(B1:B4)", "2"},
           {"=COUNTA(B1:B5)", "4"},
           {"=AVERAGE(B1:B4)", "1.5"},
           {"=MAX(B1:B4)", "2"},
           {"=MINA(B1:B4)", "0"},
           {"=VAR(1,2,3)", "1"},
           {"=STDEVP(5)", "0"},
           {"=STDEV(5)", "#DIV/0!"}});
}

TEST_F(Functions, CriteriaCountAndSum) {
    Enter("B1", "ABC");
    Enter("B2", "5");
    Enter("B3", "*");
    Enter("B5", "apple");
    Enter("C1", "10");
    Enter("C2", "20");
    Enter("C3", "40");
    Enter("C5", "80");
    Check({{"=COUNTIF(B1:B6,\"a*\")", "2"},
           {"=COUNTIF(B1:B6,\"~*\")", "1"},
           {"=COUNTIF(B1:B6,\"<>\")", "4"},
           {"=COUNTIF(B1:B6,\"=\")", "2"},
           {"=COUNTIF(B1:B6,5)", "1"},
           {"=COUNTIF(B1:B6,\">4\")", "1"},
           {"=COUNTIF(B1:B6,\">=apple\")", "1"},
           {"=COUNTIF(B1:B6,\"?bc\")", "1"},
           {"=SUMIF(B1:B6,\"a*\",C1)", "90"},
           {"=SUMIF(B1:B6,\">1\")", "5"},
           {"=SUMIF(B1:B6,\"zzz\",C1:C6)", "0"},
           {"=COUNTIF((B1:B2,B3),1)", "#VALUE!"},
           {"=COUNTIF(B1:B6,\"<>5\")", "5"}});
}

TEST_F(Functions, WildcardsEndOnLongTexts) {
    EXPECT_TRUE(WildcardMatch(u"*a*a*a*b", std::u16string(5000, u'a') + u"b", false));
    EXPECT_FALSE(WildcardMatch(u"*a*a*a*a*a*a*a*b", std::u16string(5000, u'a'), false));
    EXPECT_TRUE(WildcardMatch(u"", u"", false));
    EXPECT_FALSE(WildcardMatch(u"", u"a", false));
    EXPECT_TRUE(WildcardMatch(u"A~?c", u"a?C", false));
    EXPECT_FALSE(WildcardMatch(u"abc", u"ABC", true));
    EXPECT_FALSE(WildcardMatch(u"ab?", u"ab", false));
}

TEST_F(Functions, SubtotalsSkipSubtotals) {
    Enter("B1", "1");
    Enter("B2", "3");
    Enter("B3", "=SUBTOTAL(9,B1:B2)");
    Enter("B4", "5");
    Check({{"=SUBTOTAL(9,B1:B4)", "9"},
           {"=SUBTOTAL(1,B1:B4)", "3"},
           {"=SUBTOTAL(2,B1:B4)", "3"},
           {"=SUBTOTAL(3,B1:B4)", "3"},
           {"=SUBTOTAL(4,B1:B4)", "5"},
           {"=SUBTOTAL(6,B1:B4)", "15"},
           {"=SUBTOTAL(12,B1:B4)", "#VALUE!"},
           {"=SUBTOTAL(100,B1:B4)", "#VALUE!"},
           {"=SUBTOTAL(112,B1:B4)", "#VALUE!"},
           {"=SUBTOTAL(109,B1:B4)", "9"},
           {"=SUBTOTAL(1,D1:D2)", "#DIV/0!"},
           {"=SUBTOTAL(10,B1:B4)", "4"},
           {"=SUBTOTAL(9,B1)", "1"}});
}

TEST_F(Functions, SubtotalsFromAHundredOnSkipRowsHiddenByHand) {
    for (const char* cell : {"B1", "B2", "B3", "B4"})
        Enter(cell, cell[1] == '2' ? "30" : cell[1] == '4' ? "x" : "4");
    const char* shown[] = {"12.6666666666667",
                           "3",
                           "4",
                           "30",
                           "4",
                           "480",
                           "15.0111069989303",
                           "12.2565175405668",
                           "38",
                           "225.333333333333",
                           "150.222222222222"};
    const auto check = [](int code, const std::string& expected) {
        const std::string formula = "=SUBTOTAL(" + std::to_string(code) + ",B1:B4)";
        EXPECT_EQ(Eval(formula), expected) << formula;
    };
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {1, ROW_HIDDEN, 255}));
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {3, ROW_HIDDEN, 255}));
    const char* visible[] = {"4", "2", "2", "4", "4", "16", "0", "0", "8", "0", "0"};
    for (int i = 0; i < 11; ++i) {
        check(i + 1, shown[i]);
        check(i + 101, visible[i]);
    }
    // In a filtered list the plain codes skip what is hidden, too.
    CurrentSheet()->filterState = FILTER_AUTO;
    for (int i = 0; i < 11; ++i) check(i + 1, visible[i]);
}

TEST_F(Functions, Matrices) {
    Check({{"=MDETERM({1,2;3,4})", "-2"},
           {"=MDETERM({3})", "3"},
           {"=MDETERM({1,2,3})", "#VALUE!"},
           {"=MDETERM({1,\"x\";2,3})", "#VALUE!"},
           {"=SUM(MMULT({1,2;3,4},{1;1}))", "10"},
           {"=MMULT({1,2},{1,2})", "#VALUE!"},
           {"=SUM(MINVERSE({2,0;0,4}))", "0.75"},
           {"=MINVERSE({1,2;2,4})", "#NUM!"},
           {"=MINVERSE({4})", "0.25"},
           {"=MDETERM({2,0,0;0,3,0;0,0,4})", "24"},
           {"=ROUND(MDETERM({2,1,0,0;1,2,1,0;0,1,2,1;0,0,1,2}),9)", "5"},
           {"=ROUND(SUM(MINVERSE({2,0,0;0,4,0;0,0,5})),9)", "0.95"}});
}

TEST_F(Functions, RomanNumerals) {
    Check({{"=ROMAN(499)", "CDXCIX"},
           {"=ROMAN(499,1)", "LDVLIV"},
           {"=ROMAN(499,2)", "XDIX"},
           {"=ROMAN(499,3)", "VDIV"},
           {"=ROMAN(499,4)", "ID"},
           {"=ROMAN(0)", ""},
           {"=ROMAN(4000)", "#VALUE!"},
           {"=ROMAN(1999,TRUE)", "MCMXCIX"},
           {"=ROMAN(3,5)", "#VALUE!"},
           {"=ROMAN(3,\"x\")", "#VALUE!"}});
}

TEST_F(Functions, RandomNumbersFollowTheClock) {
    // The first number of the seed 1, and that it has bits down to the last one of a double below 1.
    EXPECT_EQ(Eval("=RAND()"), "0.566561575172281");
    EXPECT_EQ(Eval("=SUMPRODUCT(--(MOD(RAND()*2^26,1)=0))"), "0");
    EXPECT_EQ(Eval("=RANDBETWEEN(5,5)"), "5");
    EXPECT_EQ(Eval("=RANDBETWEEN(6,5)"), "#NUM!");
}

// A file may hold the call without the jumps that the compiler puts beside it.
TEST_F(Functions, IfWithoutJumpsChoosesToo) {
    const struct {
        Value test, yes, no;
        const char* expected;
    } rows[] = {{BoolValue(true), NumberValue(5), NumberValue(6), "5"},
                {BoolValue(false), NumberValue(5), NumberValue(6), "6"},
                {NumberValue(2), NumberValue(5), NumberValue(6), "5"},
                {ErrorValue(ERR_NA), NumberValue(5), NumberValue(6), "#VALUE!"}};
    for (const auto& row : rows) {
        Value arguments[MAX_ARGUMENTS] = {row.test, row.yes, row.no};
        Value result;
        CallIf(arguments, result, {CurrentBook(), 0, 0, 0, 0});
        EXPECT_EQ(result.type == VT_NUMBER ? std::to_string(static_cast<int>(result.number))
                                           : Narrow(ErrorText(result.error)),
                  row.expected);
    }
}

TEST_F(Functions, CommandsThatDoNothingYieldFalse) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    EXPECT_EQ(Eval("=ADD.MENU(1,2)"), "FALSE");
}

}  // namespace
}  // namespace tally
