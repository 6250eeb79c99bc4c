#include <iterator>
#include <string>
#include <vector>

#include "base/Memory.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/Recalculation.h"
#include "functions/CriteriaIndex.h"
#include "functions/FormulaFile.h"
#include "model/CellStore.h"
#include "support/FailingAllocator.h"

// Each request for memory fails once: what comes out is the value, an error or nothing, and never another
// value.

namespace tally {
namespace {

class FunctionMemory : public FormulaFile {
  protected:
    static void Fill() {
        for (i32 row = 0; row < 90; ++row) {
            const double number = row % 11 + row / 30.0;
            IgnoreFailure(
                InsertCell(*CurrentSheet(), row, 1, DEFAULT_CELL_FORMAT, NumberValue(number), FormulaTokens()));
            IgnoreFailure(
                InsertCell(*CurrentSheet(), row, 2, DEFAULT_CELL_FORMAT,
                           row % 5 ? TextValue(Wide("t" + std::to_string(row % 7))) : NumberValue(row % 9),
                           FormulaTokens()));
        }
    }
    static std::string TextOfValue(const Value& value) {
        switch (value.type) {
            case VT_NUMBER: return std::to_string(value.number);
            case VT_STRING: return Narrow(TextOf(value));
            case VT_BOOL: return value.boolean ? "TRUE" : "FALSE";
            case VT_ERROR: return Narrow(ErrorText(value.error));
            default: return "";
        }
    }
    static std::string Evaluated(const FormulaTokens& tokens) {
        Value result;
        const bool good = EvaluateFormula(tokens, result, {CurrentBook(), 0, 200, 9, 0});
        std::string text = TextOfValue(result);
        for (u32 i = 0; result.type == VT_ARRAY && i < ArrayElementCount(result); ++i)
            text += TextOfValue(result.elements[i]) + ";";
        FreeValue(result);
        return good ? text : "stopped";
    }
};

constexpr const char* formulas[] = {
    "MMULT({1,2;3,4},{5;6})",
    "MINVERSE({2,1,0;1,2,1;0,1,2})",
    "MDETERM({2,1,0,0;1,2,1,0;0,1,2,1;0,0,1,2})",
    "TRANSPOSE({1,\"a\";TRUE,4})",
    "FREQUENCY({1,2,3},{1,2})",
    "FREQUENCY({1,2,3},D1)",
    "LINEST({1,3,4},{1,2,3},TRUE,TRUE)",
    "TREND({1,3,4},{1,2,3},{5,6})",
    "GROWTH({1,3,4},{1,2,3},{5,6})",
    "LOGEST({1,3,4})",
    "MODE({1,2,2,3})",
    "MEDIAN({1,2,9})",
    "LARGE({4,7,2},2)",
    "PERCENTILE({4,7,2},0.25)",
    "TRIMMEAN({4,7,2,9},0.5)",
    "NPV(0.1,{1,2},3)",
    "IRR({-100,60,60})",
    "XNPV(0.1,{-100,60},{400,765})",
    "MIRR({-100,60,60},0.1,0.1)",
    "GCD({12,18},24)",
    "MULTINOMIAL(2,3)",
    "SERIESSUM(2,0,1,{1,2})",
    "FVSCHEDULE(1,{0.1,0.2})",
    "NETWORKDAYS(37653,37700,{37660,37661})",
    "WORKDAY(37653,5,{37660,37661})",
    "IMSUM({\"1+i\",\"2\"},\"3i\")",
    "IMPRODUCT(\"1+i\",\"2-i\")",
    "IMSQRT(\"3+4i\")",
    "COMPLEX(3,-4,\"j\")",
    "DEC2BIN(9,6)",
    "HEX2OCT(\"1FF\")",
    "ROMAN(1499,0)",
    "TEXT(1234.5,\"#,##0.00\")",
    "FIXED(1234.567,1)",
    "DOLLAR(-1234.567)",
    "SUBSTITUTE(\"a-b-c\",\"-\",\"+++\")",
    "SUBSTITUTE(\"a-b-c\",\"-\",\"\",2)",
    "REPLACE(\"abcdef\",2,3,\"xyz1\")",
    "REPT(\"ab\",3)",
    "MID(\"abcdef\",2,3)",
    "LEFT(\"abcdef\",2)",
    "PROPER(\"ab cd\")",
    "UPPER(\"ab\")",
    "LOWER(\"AB\")",
    "TRIM(\"  a  b \")",
    "CLEAN(\"ab\")",
    "CHAR(65)",
    "CONCATENATE(\"a\",1.5,TRUE)",
    "ADDRESS(3,4,1,TRUE,\"My sheet\")",
    "CELL(\"address\",B2)",
    "CELL(\"format\",B2)",
    "INFO(\"origin\")",
    "INDEX({1,2;3,4},0,2)",
    "INDEX({\"a\",\"b\"},1,2)",
    "VLOOKUP(3,{1,\"a\";3,\"b\"},2)",
    "CHOOSE(2,\"a\",\"b\")",
    "AND(\"TRUE\",1)",
    "SUM(\"1\",TRUE,{1,2})",
    "SUMPRODUCT(B1:B9,B2:B10)",
    "CORREL(B1:B9,B2:B10)",
    "COUNTIF({1},1)",
    "SUM(OFFSET(B1,1,0,3,1))",
    "SUM(INDIRECT(\"B1:B3\"))",
    "ROWS(INDEX((B1:B3,C1:C2),0,0,2))",
    "DSUM(B5:C40,1,C5:C9)",
    "DGET(B5:C40,C5,C5:C6)",
    "DCOUNTA(B5:C40,\"t4\",C5:C9)",
    "COUNTIF(C1:C9,C2)",
    "SUMIF(C1:C9,C2,B1:B9)",
    "LOOKUP(\"t2\",C1:C9)",
    "MATCH(\"t2\",C1:C9,0)",
    "HLOOKUP(\"t2\",B1:C9,3,FALSE)",
    "CELL(\"contents\",C2)",
    "CELL(\"type\",C2)",
    "CELL(\"filename\")",
    "INFO(\"directory\")",
    "N(C2)",
    "T(C2)",
    "ISTEXT(C2)",
    "COUNTBLANK(B1:C9)",
    "IMSUM(B1:B4)",
    "WORKDAY(37653,5,B1:B3)",
    "AND(B1:B9)",
    "IF({1,0},C1:C2,\"x\")",
};

TEST_F(FunctionMemory, EveryFunctionEndsWithItsValueOrAnError) {
    std::vector<std::string> all(std::begin(formulas), std::end(formulas));
    for (const std::string& line : LinesOf("calls.txt")) {
        if (!line.empty() && line[0] != '#') all.push_back(line.substr(0, line.rfind(')') + 1));
    }
    u32 refused = 0;
    for (const std::string& formula : all) {
        ForgetBooks();
        test::FailingAllocator allocator;
        {
            QuietMemoryScope quiet;
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            Fill();
            FormulaTokens tokens;
            const bool compiled = CompileFormula({CurrentBook(), 0, 200, 9}, Wide("=" + formula), 'R', tokens);
            const std::string expected = compiled ? Evaluated(tokens) : "fault";
            EXPECT_NE(expected, "fault") << formula;
            for (u64 n = 1; compiled && n < 300 && !formula.starts_with("RAND"); ++n) {
                allocator.FailAt(n);
                const std::string found = Evaluated(tokens);
                const bool failed = allocator.HasFailed();
                allocator.StopFailing();
                IgnoreFailure(TakeCalculationReport().stops[STOP_MEMORY] > 0);
                EXPECT_TRUE(found == expected ||
                            (failed && (found.find('#') != std::string::npos || found == "stopped")))
                    << formula << " request " << n << " gives " << found << " for " << expected;
                if (!failed) break;
                ++refused;
            }
            if (!formula.starts_with("RAND")) EXPECT_EQ(Evaluated(tokens), expected) << formula;
            FreeTokens(tokens);
        }
        ForgetBooks();
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << formula;
    }
    EXPECT_GT(refused, 500u);
}

TEST_F(FunctionMemory, WhatIsKeptOfAColumnAnswersRightOrNotAtAll) {
    const char16_t* texts[] = {u"t3", u"<>t3", u">t2", u"<=t4", u"5", u"<>5", u">=3", u"<4", u"=2", u""};
    u32 refused = 0, answered = 0;
    for (const char16_t* text : texts) {
        bool failed = true;
        for (u64 n = 1; failed && n < 200; ++n) {
            ForgetBooks();
            test::FailingAllocator allocator;
            {
                QuietMemoryScope quiet;
                ASSERT_TRUE(CreateWorkbook(nullptr, false));
                Fill();
                Value criteria = TextValue(text);
                const Criteria taken = TakeCriteria(criteria);
                double sum = 0;
                u32 count = 0;
                for (i32 row = 0; row < 90; ++row) {
                    if (!Matches(taken, GetCell(CurrentSheet()->cells, row, 2)->value)) continue;
                    ++count;
                    sum += GetCell(CurrentSheet()->cells, row, 1)->value.number;
                }
                const LookupColumn where = {CurrentSheet(), 2, 0, 89};
                allocator.FailAt(n);
                for (int round = 0; round < 3; ++round) {
                    u32 counted = 0;
                    double summed = 0;
                    i32 row = LOOKUP_NONE;
                    if (CountInColumn(where, taken, counted)) {
                        EXPECT_EQ(counted, count) << Narrow(text) << " request " << n;
                        ++answered;
                    }
                    if (SumInColumn(where, taken, {CurrentSheet(), 1, 0}, summed)) {
                        EXPECT_EQ(summed, sum) << Narrow(text) << " request " << n;
                        ++answered;
                    }
                    if (FindInColumn(where, criteria, FIRST_EQUAL, row) && taken.kind == CRITERIA_EQUAL &&
                        !taken.isNumber && count)
                        EXPECT_TRUE(Matches(taken, GetCell(CurrentSheet()->cells, row, 2)->value)) << n;
                }
                failed = allocator.HasFailed();
                allocator.StopFailing();
                refused += failed;
                FreeValue(criteria);
            }
            ForgetBooks();
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << Narrow(text) << " request " << n;
        }
        EXPECT_FALSE(failed) << Narrow(text);
    }
    EXPECT_GT(refused, 100u);
    EXPECT_GT(answered, 1000u);
}

}  // namespace
}  // namespace tally
