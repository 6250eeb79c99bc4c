#include <string>

#include "base/LongOperation.h"
#include "formula/Compiler.h"
#include "formula/EngineState.h"
#include "formula/SheetCalculation.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// What a calculation does not finish: the cell keeps its value and stays stale, and somebody is told.
class Bounds : public Sandbox {
  protected:
    // As a file gives it: with a value that is to be worked out again.
    static void Put(std::string_view cell, const std::string& formula, double value) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(value), tokens));
        SetStale(CurrentSheet()->cells, *GetCell(CurrentSheet()->cells, row, column));
    }
    static u8 State(std::string_view cell) { return CellAtName(cell)->calcState; }
    static void Calculate() { CalculateBook(CurrentBook()); }
    static u32 Stops(EvaluationStop why) { return TakeCalculationReport().stops[why]; }
};

TEST_F(Bounds, NamesThatDoubleEachOtherEnd) {
    DefineName("n_0", "=1");
    for (i32 i = 1; i < 60; ++i) {
        const std::string inner = "n_" + std::to_string(i - 1);
        DefineName("n_" + std::to_string(i), "=" + inner + "+" + inner);
    }
    Budget().steps = 1u << 16;
    EXPECT_EQ(Eval("=n_10"), "1024");
    EXPECT_EQ(Eval("=n_59"), "#N/A");
    EXPECT_EQ(Stops(STOP_BOUND), 1u);
    Put("A1", "=n_59", 7);
    Put("A2", "=A1+1", 8);
    Put("A3", "=n_10", 9);
    Put("A4", "=IF(A3>0,3,A1)", 10);
    Calculate();
    EXPECT_EQ(Shown("A1"), "7");
    EXPECT_EQ(State("A1"), CALC_STALE);
    // Who needs it cannot be worked out either; who only names it can.
    EXPECT_EQ(Shown("A2"), "8");
    EXPECT_EQ(State("A2"), CALC_STALE);
    EXPECT_EQ(Shown("A3"), "1024");
    EXPECT_EQ(Shown("A4"), "3");
    EXPECT_EQ(Stops(STOP_BOUND), 2u);
    // Not begun again by itself ...
    Calculate();
    EXPECT_EQ(Shown("A2"), "8");
    EXPECT_EQ(Stops(STOP_BOUND), 0u);
    // ... but with F9, and when something in it has changed.
    MarkAllStale();
    Calculate();
    EXPECT_EQ(Stops(STOP_BOUND), 2u);
    DefineName("n_20", "=5");
    DefineName("n_59", "=n_20+1");
    Calculate();
    EXPECT_EQ(Shown("A1"), "6");
    EXPECT_EQ(Shown("A2"), "7");
    EXPECT_EQ(Stops(STOP_BOUND), 0u);
}

TEST_F(Bounds, TheTextsOfAllCellsTogetherHaveABound) {
    Budget().texts = 100000;
    for (i32 row = 1; row <= 10; ++row) Put("A" + std::to_string(row), "=REPT(\"x\",30000+B1)", row);
    Put("C1", "=LEN(A1)", 0);
    Put("C2", "=REPT(\"y\",200)", 0);
    Calculate();
    u32 done = 0;
    for (i32 row = 1; row <= 10; ++row) {
        const CellRecord* cell = CellAtName("A" + std::to_string(row));
        done += cell->calcState == CALC_CURRENT;
        if (cell->calcState == CALC_STALE) EXPECT_EQ(cell->value.number, row);
    }
    EXPECT_EQ(done, 3u);
    EXPECT_EQ(Stops(STOP_BOUND), 7u);
    EXPECT_EQ(Shown("C1"), "30000");
    EXPECT_EQ(State("C2"), CALC_CURRENT);
    EXPECT_EQ(LongTextCharacters(), 90000u);
    // When they are shorter all have room.
    Enter("B1", "-25000");
    Calculate();
    EXPECT_EQ(LongTextCharacters(), 50000u);
    EXPECT_EQ(Stops(STOP_BOUND), 0u);
}

TEST_F(Bounds, AnArrayBeyondTheBoundKeepsTheValueOfTheFile) {
    Budget().elements = 1000;
    Put("A1", "=SUMPRODUCT(B1:B1200*2)", 5);
    Put("A2", "=SUMPRODUCT(B1:B300*2)", 5);
    Calculate();
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Shown("A2"), "0");
    EXPECT_EQ(Stops(STOP_BOUND), 1u);
}

TEST_F(Bounds, ASearchBeyondItsBoundKeepsTheValueOfTheFile) {
    Enter("B1", "=REPT(\"a\",24000)");
    Put("A1", "=SEARCH(B1&\"b\",B1&B1)", 5);
    Put("A2", "=SEARCH(\"b\",B1&\"b\")", 5);
    Calculate();
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(State("A1"), CALC_STALE);
    EXPECT_EQ(Shown("A2"), "24001");
    EXPECT_EQ(Stops(STOP_BOUND), 1u);
}

// ---- the user has had enough ----------------------------------------------------------------------

struct Asked {
    u32 begun = 0, ended = 0, steps = 0, cancelAt = 0;
    u64 done = 0;
};
Asked asked;

class Interrupted : public Bounds {
  protected:
    void SetUp() override {
        Bounds::SetUp();
        asked = Asked();
        LongOperations() = {[](LongOperationKind) { ++asked.begun; },
                            [](u64 done, u64) {
                                ++asked.steps;
                                asked.done = done;
                            },
                            [] { return asked.cancelAt && asked.steps >= asked.cancelAt; },
                            [] { ++asked.ended; }};
    }
};

TEST_F(Interrupted, AHoldOnEndsWhereItStandsAndNothingBeginsByItself) {
    for (i32 row = 0; row < 3000; ++row)
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, 1, 15, NumberValue(1), FormulaTokens()));
    // Each row goes over thousands of cells.
    for (i32 row = 1; row <= 200; ++row)
        Put("A" + std::to_string(row),
            "=SUMPRODUCT((B$1:B$3000=1)*(B$1:B$3000<" + std::to_string(row + 1) + "))", 7);
    asked.cancelAt = 5;
    Calculate();
    EXPECT_EQ(asked.steps, 5u);
    EXPECT_EQ(asked.begun, 1u);
    EXPECT_EQ(asked.ended, 1u);
    EXPECT_EQ(Stops(STOP_CANCELLED), 1u);
    u32 stale = 0;
    for (i32 row = 1; row <= 200; ++row) {
        const CellRecord* cell = CellAtName("A" + std::to_string(row));
        stale += cell->calcState == CALC_STALE;
        EXPECT_EQ(cell->value.number, cell->calcState == CALC_STALE ? 7 : 3000);
    }
    EXPECT_GT(stale, 100u);
    EXPECT_LT(stale, 200u);
    // A paint does not begin it again; an edit does, and so does who asks for all of it.
    asked.cancelAt = 0;
    CalculateArea(*CurrentSheet(), {0, 199, 0, 0});
    u32 after = 0;
    for (i32 row = 1; row <= 200; ++row) after += State("A" + std::to_string(row)) == CALC_STALE;
    EXPECT_EQ(after, stale);
    Enter("D1", "1");
    CalculateArea(*CurrentSheet(), {0, 199, 0, 0});
    for (i32 row = 1; row <= 200; ++row) EXPECT_EQ(Shown("A" + std::to_string(row)), "3000");
    EXPECT_EQ(Stops(STOP_CANCELLED), 0u);
}

TEST_F(Interrupted, OneLongCallIsLeftInTheMiddle) {
    for (i32 row = 0; row < 2000; ++row) {
        for (i32 column = 1; column < 101; ++column)
            ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(1), FormulaTokens()));
    }
    for (const char* formula : {"=SUMPRODUCT(B1:CW2000)", "=SUM((B1:CW2000)*1)", "=COUNTIF(B1:CW2000,\">0\")",
                                "=SUM(B1:CW2000,B1:CV2000)", "=MAX(B1:CW2000)", "=MIN(B1:CV2000)"}) {
        Put("A1", formula, 7);
        asked = Asked();
        asked.cancelAt = 1;
        Calculate();
        EXPECT_EQ(asked.steps, 1u) << formula;
        EXPECT_LT(asked.done, 140000u) << formula;
        EXPECT_EQ(Shown("A1"), "7") << formula;
        EXPECT_EQ(State("A1"), CALC_STALE) << formula;
        Enter("D3000", "1");
    }
}

// Two hundred thousand products of cells that are read in one go.
TEST_F(Interrupted, AProductOfMatricesIsLeftInTheMiddle) {
    for (i32 row = 0; row < 60; ++row) {
        for (i32 column = 1; column < 61; ++column)
            ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(1), FormulaTokens()));
    }
    Put("A1", "=SUM(MMULT(B1:BI60,B1:BI60))", 7);
    asked.cancelAt = 2;
    Calculate();
    EXPECT_EQ(asked.steps, 2u);
    EXPECT_EQ(Shown("A1"), "7");
    EXPECT_EQ(State("A1"), CALC_STALE);
    asked.cancelAt = 0;
    Enter("D3000", "1");
    EXPECT_EQ(Shown("A1"), "216000");
}

TEST_F(Interrupted, AChainThatNeedsTheCellEndsWithIt) {
    for (i32 row = 2; row <= 4000; ++row)
        Put("A" + std::to_string(row), "=OFFSET(B" + std::to_string(row) + ",-1,-1)+1", 7);
    asked.cancelAt = 1;
    EXPECT_EQ(Shown("A4000"), "7");
    for (const FormulaCell* formula : CurrentSheet()->cells.formulas)
        EXPECT_NE(GetCell(CurrentSheet()->cells, formula->row, 0)->calcState, CALC_CALCULATING);
    asked.cancelAt = 0;
    Enter("D1", "1");
    EXPECT_EQ(Shown("A4000"), "3999");
}

// ---- memory ---------------------------------------------------------------------------------------

TEST_F(Bounds, WithoutMemoryACellKeepsItsValueAndIsWorkedOutLater) {
    u32 refused = 0;
    for (u64 n = 1; n < 400; ++n) {
        ForgetBooks();
        test::FailingAllocator allocator;
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Put("A1", "=REPT(\"x\",1000)&\"y\"", 7);
        Put("A2", "=SUM({1,2,3}*2)", 8);
        Put("A3", "=LEN(A1)+INDIRECT(\"A2\")", 9);
        allocator.FailAt(n);
        Calculate();
        const bool failed = allocator.HasFailed();
        allocator.StopFailing();
        const char* cells[] = {"A1", "A2", "A3"};
        for (i32 i = 0; failed && i < 3; ++i) {
            const CellRecord* cell = CellAtName(cells[i]);
            if (cell->calcState == CALC_STALE) EXPECT_EQ(cell->value.number, 7 + i) << n;
            else EXPECT_NE(cell->value.type, VT_ERROR) << n;
        }
        EXPECT_EQ(TakeCalculationReport().stops[STOP_MEMORY], failed ? 1u : 0u) << n;
        Calculate();
        EXPECT_EQ(Shown("A3"), "1013") << n;
        refused += failed;
        ForgetBooks();
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
        if (!failed) break;
    }
    EXPECT_GT(refused, 10u);
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

}  // namespace
}  // namespace tally
