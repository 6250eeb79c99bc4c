#include <vector>

#include "formula/Coercion.h"
#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/KeptNumbers.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class EngineEdges : public Sandbox {};

TEST_F(EngineEdges, AnArrayOverAScalarKeepsAnErrorForEachElement) {
    EnterArray("A1", "B1", "={1,2}/0");
    EXPECT_EQ(Shown("A1"), "#DIV/0!");
    EXPECT_EQ(Shown("B1"), "#DIV/0!");
}

TEST_F(EngineEdges, ARowAndAColumnMakeARectangle) {
    EnterArray("A1", "B2", "={1,2}+{10;20}");
    EXPECT_EQ(Shown("A1"), "11");
    EXPECT_EQ(Shown("B1"), "12");
    EXPECT_EQ(Shown("A2"), "21");
    EXPECT_EQ(Shown("B2"), "22");
}

TEST_F(EngineEdges, OutsideTheSmallerOperandIsNotAvailable) {
    EnterArray("A1", "C1", "={1,2,3}+{1,2}");
    EXPECT_EQ(Shown("A1"), "2");
    EXPECT_EQ(Shown("B1"), "4");
    EXPECT_EQ(Shown("C1"), "#N/A");
}

TEST_F(EngineEdges, AnErrorOnTheLeftReplacesEveryElementAndOneOnTheRightOnlyTheNumbers) {
    EnterArray("A1", "B1", "=#NUM!+{1,#REF!}");
    EXPECT_EQ(Shown("A1"), "#NUM!");
    EXPECT_EQ(Shown("B1"), "#NUM!");
    EnterArray("A2", "B2", "={1,#REF!}+#NUM!");
    EXPECT_EQ(Shown("A2"), "#NUM!");
    EXPECT_EQ(Shown("B2"), "#REF!");
}

TEST_F(EngineEdges, ChooseBeyondItsChoicesIsAValueError) {
    EXPECT_EQ(Eval("=CHOOSE(3,1,2)"), "#VALUE!");
    EXPECT_EQ(Eval("=CHOOSE(0,1,2)"), "#VALUE!");
    EXPECT_EQ(Eval("=CHOOSE(2,1,2)+10"), "12");
}

TEST_F(EngineEdges, AnIndirectReferenceFollowsTheChangedCell) {
    Enter("A1", "1");
    Enter("B1", "=INDIRECT(\"A1\")*10");
    Enter("C1", "=B1+1");
    EXPECT_EQ(Shown("C1"), "11");
    Enter("A1", "2");
    EXPECT_EQ(Shown("B1"), "20");
    EXPECT_EQ(Shown("C1"), "21");
}

TEST_F(EngineEdges, ASumReachedThroughANameSeesItsStaleCells) {
    DefineName("cells", "=Sheet1!$B$1:$B$100");
    Enter("A1", "1");
    for (i32 row = 1; row <= 100; ++row) Enter("B" + std::to_string(row), "=A$1");
    Enter("C1", "=SUM(cells)");
    Enter("C2", "=SUM(B1:B100)");
    EXPECT_EQ(Shown("C1"), "100");
    EXPECT_EQ(Shown("C2"), "100");
    Enter("A1", "2");
    // Nothing but this sum asks for the cells of column B.
    EXPECT_EQ(Shown("C1"), "200");
    EXPECT_EQ(Shown("C2"), "200");
    MarkAllStale();
    CellAtName("A1")->value = NumberValue(3);
    EXPECT_EQ(Shown("C1"), "300");
}

// The second change finds the ranges as the first marking left them.
TEST_F(EngineEdges, EachMarkingGoesThroughTheRangesAnew) {
    Enter("A1", "1");
    for (i32 row = 1; row <= 40; ++row) {
        const std::string number = std::to_string(row);
        Enter("B" + number, "=A$1");
        Enter("C" + number, "=SUM(B$1:B" + number + ")");
        Enter("D" + number, "=SUM(A$1:B" + number + ")");
    }
    for (i32 value = 2; value < 6; ++value) {
        Enter("A1", std::to_string(value));
        for (i32 row = 1; row <= 40; ++row) {
            const std::string number = std::to_string(row);
            EXPECT_EQ(CellAtName("C" + number)->calcState, CALC_STALE);
            EXPECT_EQ(Shown("C" + number), std::to_string(value * row));
            EXPECT_EQ(Shown("D" + number), std::to_string(value * (row + 1)));
        }
        // A range that came in between, and a cell in the middle.
        Enter("E" + std::to_string(value), "=SUM(B" + std::to_string(value) + ":B30)");
        Enter("B20", "=A$1");
        EXPECT_EQ(CellAtName("C19")->calcState, CALC_CURRENT);
        EXPECT_EQ(CellAtName("C20")->calcState, CALC_STALE);
    }
}

TEST_F(EngineEdges, ANameOfAnotherBookCarriesChangesOver) {
    Enter("B1", "3");
    DefineName("base", "=Sheet1!$B$1");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Enter("A1", "=Book1!base+1");
    EXPECT_EQ(Shown("A1"), "4");
    Books().currentBook = 0;
    Enter("B1", "10");
    Books().currentBook = 1;
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_STALE);
    EXPECT_EQ(Shown("A1"), "11");
}

TEST_F(EngineEdges, EveryStaleCellOfABookIsCalculatedForASave) {
    Enter("A1", "1");
    Enter("IV65536", "=A1+1");
    Enter("A1", "5");
    EXPECT_EQ(CellAtName("IV65536")->calcState, CALC_STALE);
    CalculateBook(CurrentBook());
    EXPECT_EQ(CellAtName("IV65536")->value.number, 6);
}

TEST_F(EngineEdges, AChainThroughNamesNeedsNoDepth) {
    DefineName("above", "=Sheet1!A65536");  // one row up
    Enter("A1", "1");
    for (i32 row = 2; row <= 2000; ++row) {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, u"=above+1", 'V', tokens));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row - 1, 0, 15, Value(), tokens));
    }
    EXPECT_EQ(Shown("A2000"), "2000");
    EXPECT_EQ(Shown("A50"), "50");
}

// Tens of thousands of operators over a large array, as only a damaged file holds them.
TEST_F(EngineEdges, AnEndlessRowOfOperatorsOverALargeArrayEnds) {
    for (const u8 closing : {u8{0x14}, u8{0x15}, u8{0x13}}) {             // percent, parentheses, minus
        std::vector<u8> bytes = {0x65, 0, 0, 0xFF, 0x3F, 0, 0, 0x7F, 0};  // A1:DX16384 as an array
        bytes.insert(bytes.end(), 60000, closing);
        FormulaTokens tokens;
        ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes.data(), bytes.size()), {}));
        Value result;
        ASSERT_TRUE(EvaluateFormula(tokens, result, {CurrentBook(), 0, 0, 0, 0}));
        EXPECT_EQ(result.type, VT_ERROR);
        EXPECT_EQ(result.error, ERR_NA);
        FreeValue(result);
        FreeTokens(tokens);
    }
    // The next evaluation begins anew.
    EXPECT_EQ(Eval("=SUM(ABS({-1,2}))"), "3");
}

TEST_F(EngineEdges, ACircleLeavesTheOldValuesWhereItCloses) {
    Enter("A1", "5");
    Enter("B1", "=A1");
    EXPECT_EQ(CurrentWorkbook()->circularSeen, 0u);
    Enter("A1", "=B1");
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Shown("B1"), "5");
}

struct StoredFormula {
    i32 row;
    i32 column;
    const char16_t* text;
    const char* expected;  // once A1 holds 3
};
constexpr StoredFormula formulasOfALife[] = {
    {0, 1, u"=A1*2", "6"},
    {1, 1, u"=SUM(A1:A80)+B1", "88"},
    {2, 1, u"=\"x\"&A1&\"y\"", "x3y"},
    {3, 1, u"=SUM({1,2}*A1:B1)", "18"},
    {4, 1, u"=IF(A1>2,B2,1/0)", "88"},
    {5, 1, u"=SUM(ABS(-{1,2,3}))", "6"},
    {6, 1, u"=B8+1", "1"},
    {7, 1, u"=B7+1", "2"},
};

// Stores the formulas of a small book, changes what they read and calculates them. False when an
// allocation failed on the way.
bool LiveALife() {
    if (!CreateWorkbook(nullptr, false)) return false;
    bool good = true;
    for (i32 row = 0; row < 80; ++row)
        good = InsertCell(*CurrentSheet(), row, 0, 15, NumberValue(1), FormulaTokens()) && good;
    for (const StoredFormula& formula : formulasOfALife) {
        FormulaPlace place;
        place.book = CurrentBook();
        CellInput input;
        input.row = static_cast<u16>(formula.row);
        input.column = static_cast<u8>(formula.column);
        input.format = 15;
        good = CompileFormula(place, formula.text, 'V', input.tokens) && good;
        good = SetCell(CurrentBook(), 0, input, true, false) && good;
    }
    CellInput input;
    input.format = 15;
    input.value = NumberValue(2);
    good = SetCell(CurrentBook(), 0, input, true, false) && good;
    CalculateBook(CurrentBook());
    return good;
}

TEST_F(EngineEdges, AFailedAllocationLosesNothingAndALaterCalculationIsRight) {
    for (const bool forEver : {false, true}) {
        for (u64 n = 1; n < 3000; ++n) {
            ResetBooks();
            ResetFormulaEngine();
            test::FailingAllocator allocator(n, forEver);
            {
                QuietMemoryScope quiet;
                const bool good = LiveALife();
                allocator.StopFailing();
                if (good) {
                    Sheet& sheet = *CurrentSheet();
                    CellInput input;
                    input.format = 15;
                    input.value = NumberValue(3);
                    ASSERT_TRUE(SetCell(CurrentBook(), 0, input, true, false));
                    MarkAllStale();
                    for (const StoredFormula& formula : formulasOfALife) {
                        if (formula.row >= 6) continue;  // a circle counts on
                        ASSERT_TRUE(CalculateCell(CurrentBook(), 0, formula.row, formula.column));
                        const CellRecord* cell = GetCell(sheet.cells, formula.row, formula.column);
                        ASSERT_NE(cell, nullptr);
                        EXPECT_EQ(cell->calcState, CALC_CURRENT);
                        EXPECT_EQ(Shown("B" + std::to_string(formula.row + 1)), formula.expected) << n;
                    }
                    CalculateBook(CurrentBook());
                    for (const FormulaCell* formula : sheet.cells.formulas)
                        EXPECT_EQ(GetCell(sheet.cells, formula->row, formula->column)->calcState, CALC_CURRENT);
                }
                ResetBooks();
                ResetFormulaEngine();
            }
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
            if (!allocator.HasFailed()) break;
            ASSERT_LT(n, 2999u);
        }
    }
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

}  // namespace
}  // namespace tally
