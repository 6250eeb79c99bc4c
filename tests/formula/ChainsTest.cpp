#include "formula/Compiler.h"
#include "formula/EngineState.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// Chains of cells that the tokens do not show: through OFFSET, INDIRECT and names.
class Chains : public Sandbox {
  protected:
    // As a reader puts it: not calculated.
    static void Put(i32 row, i32 column, const std::string& formula) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.row = row;
        place.column = column;
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, Value(), tokens));
        BuildPrecedents(*GetCell(CurrentSheet()->cells, row, column)->formula);
    }
    static void PutNumber(i32 row, i32 column, double number) {
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(number), FormulaTokens()));
    }
    // `link` stands for the cell above; rows 1 to `rows` of column B count up.
    static void PutCounting(const std::string& link, i32 rows) {
        PutNumber(0, 1, 1);
        for (i32 row = 1; row < rows; ++row) {
            std::string formula = link;
            for (std::size_t at; (at = formula.find('#')) != formula.npos;)
                formula.replace(at, 1, std::to_string(row + 1));
            Put(row, 1, "=" + formula + "+1");
        }
    }
};

TEST_F(Chains, ARunningTotalByOffsetOver600Rows) {
    for (i32 row = 0; row < 600; ++row) {
        PutNumber(row, 0, row + 1);
        const std::string number = std::to_string(row + 1);
        Put(row, 1, row ? "=OFFSET(A" + number + ",-1,1)+A" + number : "=A1");
    }
    EXPECT_EQ(Shown("B600"), "180300");
    EXPECT_EQ(Shown("B300"), "45150");
    Enter("A1", "101");
    EXPECT_EQ(Shown("B600"), "180400");
}

TEST_F(Chains, AsLongAsTheSheetWhateverTheLink) {
    DefineName("above", "=Sheet1!A65536");
    const struct {
        const char* link;
        i32 rows;
    } cases[] = {{"OFFSET(A#,-1,1)", MAX_ROWS},
                 {"above", MAX_ROWS},
                 {"INDIRECT(\"B\"&ROW(A#)-1)", 5000},
                 {"SUM(IF(TRUE,above))", 5000}};
    for (const auto& [link, rows] : cases) {
        PutCounting(link, rows);
        EXPECT_EQ(Shown("B" + std::to_string(rows)), std::to_string(rows)) << link;
        EXPECT_EQ(Shown("B" + std::to_string(rows / 2)), std::to_string(rows / 2)) << link;
        EXPECT_EQ(TakeCalculationReport().stops[STOP_BOUND], 0u);
    }
}

TEST_F(Chains, FromAFormulaThatBelongsToNoCell) {
    PutCounting("OFFSET(A#,-1,1)", 5000);
    EXPECT_EQ(Eval("=B5000*2"), "10000");
    PutCounting("INDIRECT(\"B\"&ROW(A#)-1)", 5000);
    EXPECT_EQ(Eval("=SUM(OFFSET(B1,4998,0,2))"), "9999");
}

TEST_F(Chains, AReferenceThatIsTheWholeResultIsFollowedAsWell) {
    PutNumber(0, 1, 7);
    FormulaPlace place;
    place.book = CurrentBook();
    for (i32 row = 1; row < 5000; ++row) {
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, Wide("=OFFSET(A" + std::to_string(row + 1) + ",-1,1)"), 'R', tokens));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, 1, 15, Value(), tokens));
    }
    EXPECT_EQ(Shown("B5000"), "7");
}

TEST_F(Chains, ManyDeepChainsInOneFormula) {
    for (i32 column = 1; column < 60; ++column) {
        PutNumber(0, column, column);
        for (i32 row = 1; row < 200; ++row) {
            const std::string number = std::to_string(row + 1);
            Put(row, column, "=OFFSET(A" + number + ",-1," + std::to_string(column) + ")+1");
        }
    }
    Enter("A1000", "=SUM(OFFSET(A1,199,1,1,59))");
    EXPECT_EQ(Shown("A1000"), std::to_string(59 * 60 / 2 + 59 * 199));
}

TEST_F(Chains, ACircleThroughOffsetEnds) {
    for (i32 row = 0; row < 500; ++row)
        Put(row, 1, "=OFFSET($B$1," + std::to_string((row + 499) % 500) + ",0)+1");
    Shown("B300");
    EXPECT_EQ(CurrentWorkbook()->circularSeen, 1u);
    for (i32 row = 0; row < 500; ++row) {
        CalculateCell(CurrentBook(), 0, row, 1);
        EXPECT_EQ(GetCell(CurrentSheet()->cells, row, 1)->calcState, CALC_CURRENT);
    }
}

TEST_F(Chains, NamesInNamesHaveADepthAndTheirUsersHaveNot) {
    DefineName("n_0", "=1");
    for (i32 i = 1; i < 300; ++i) DefineName("n_" + std::to_string(i), "=n_" + std::to_string(i - 1) + "+1");
    EXPECT_EQ(Eval("=n_198"), "199");
    EXPECT_EQ(Eval("=n_199"), "#NUM!");
    // The depth of one cell is no part of the next one's.
    Put(0, 0, "=n_198");
    for (i32 row = 1; row < 300; ++row) Put(row, 0, "=INDIRECT(\"A\"&" + std::to_string(row) + ")+n_198");
    EXPECT_EQ(Shown("A300"), "59700");
    DefineName("again", "=again+1");
    EXPECT_EQ(Eval("=again"), "#NUM!");
}

TEST_F(Chains, WhatOneCellSpendsIsNotTakenFromTheOthers) {
    for (i32 row = 0; row < 500; ++row) PutNumber(row, 0, 1);
    Budget().elements = 2000;
    // A thousand elements each: the area as an array and its product.
    for (i32 row = 0; row < 50; ++row)
        Put(row, 1, row ? "=SUMPRODUCT(A$1:A$500*2)+INDIRECT(\"B" + std::to_string(row) + "\")" : "=0");
    EXPECT_EQ(Shown("B50"), "49000");
    EXPECT_EQ(TakeCalculationReport().stops[STOP_BOUND], 0u);
}

}  // namespace
}  // namespace tally
