#include <algorithm>
#include <random>

#include "formula/ArrayIndex.h"
#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

// An array formula is worked out once for all its cells; what each cell shows is what it would give alone.

namespace tally {
namespace {

class ArrayResults : public Sandbox {
  protected:
    static std::string NameOf(i32 row, i32 column) {
        return std::string(1, static_cast<char>('A' + column)) + std::to_string(row + 1);
    }
    // What the cell's formula gives when it is run for that cell alone.
    static Value Alone(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        const EvalContext context{CurrentBook(), 0, row, column, 1};
        Value result;
        EvaluateFormula(CellAtName(cell)->formula->tokens, result, context);
        ReduceToScalar(result, context);
        if (result.type == VT_EMPTY) result = NumberValue(0);
        return result;
    }
    static std::string Text(Value value) {
        CoerceValue(value, VT_STRING, {CurrentBook(), 0, 0, 0, 0});
        const std::string text = Narrow(TextOf(value));
        FreeValue(value);
        return text;
    }
    static u8 StateOf(std::string_view cell) { return CellAtName(cell)->calcState; }
    static void ExpectAsAlone(std::string_view first, std::string_view last, const std::string& formula) {
        const RefArea area = AreaOf(first, last);
        for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
            for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
                const std::string cell = NameOf(row, column);
                BringUpToDate(CurrentBook(), 0, row, column);
                Value shown;
                CopyValue(shown, CellAtName(cell)->value);
                EXPECT_EQ(Text(shown), Text(Alone(cell))) << formula << " in " << cell;
            }
        }
    }
};

TEST_F(ArrayResults, OneCellThatIsReadBringsAllCellsOfItsArrayUpToDate) {
    for (int i = 1; i <= 3; ++i) Enter("A" + std::to_string(i), std::to_string(i));
    EnterArray("B1", "B3", "=A1:A3*10");
    Enter("A2", "7");
    for (const char* cell : {"B1", "B2", "B3"}) EXPECT_EQ(StateOf(cell), CALC_STALE) << cell;
    EXPECT_EQ(Shown("B2"), "70");
    for (const char* cell : {"B1", "B2", "B3"}) EXPECT_EQ(StateOf(cell), CALC_CURRENT) << cell;
    EXPECT_EQ(Shown("B1") + " " + Shown("B3"), "10 30");
}

TEST_F(ArrayResults, EnteringAnArrayCalculatesItWithItsLastCell) {
    Enter("A1", "5");
    EnterArray("B1", "C2", "=A1+{1,2;3,4}");
    for (const char* cell : {"B1", "B2", "C1", "C2"}) EXPECT_EQ(StateOf(cell), CALC_CURRENT) << cell;
    EXPECT_EQ(Shown("B1") + Shown("C1") + Shown("B2") + Shown("C2"), "6789");
}

TEST_F(ArrayResults, ASmallerResultIsRepeatedOrEndsInNA) {
    EnterArray("A1", "B3", "={1;2}");
    EXPECT_EQ(Shown("A1") + Shown("B1") + Shown("A2") + Shown("B2"), "1122");
    EXPECT_EQ(Shown("A3") + Shown("B3"), "#N/A#N/A");
    EnterArray("D1", "E3", "={1,2}");
    EXPECT_EQ(Shown("D3") + Shown("E3"), "12");
    EnterArray("G1", "G2", "=5");
    EXPECT_EQ(Shown("G1") + Shown("G2"), "55");
    EnterArray("H1", "H2", "=Z1:Z2");
    EXPECT_EQ(Shown("H1") + Shown("H2"), "00");
}

TEST_F(ArrayResults, WhatDependsOnTheCellItselfIsWorkedOutForEach) {
    EnterArray("A1", "A3", "=ROW()");
    EXPECT_EQ(Shown("A1") + Shown("A2") + Shown("A3"), "123");
    EnterArray("C1", "E1", "=COLUMN()*1");
    EXPECT_EQ(Shown("C1") + Shown("D1") + Shown("E1"), "345");
    EnterArray("G1", "G2", "=CELL(\"row\")");
    EXPECT_EQ(Shown("G1") + Shown("G2"), "12");
    EnterArray("H1", "H2", "=INDIRECT(\"RC[-1]\",FALSE)*10");
    EXPECT_EQ(Shown("H1") + Shown("H2"), "1020");
    EnterArray("J1", "J2", "=RAND()");
    EXPECT_NE(CellAtName("J1")->value.number, CellAtName("J2")->value.number);
    // The cell on the right of the one that asks.
    DefineName("beside", "=Sheet1!B1");
    Enter("O1", "3");
    Enter("O2", "4");
    EnterArray("N1", "N2", "=beside*10");
    EXPECT_EQ(Shown("N1") + Shown("N2"), "3040");
    EnterArray("L1", "L2", "=INDEX({10;20},G1:G2)");
    ExpectAsAlone("L1", "L2", "INDEX");
}

TEST_F(ArrayResults, ACellOfAnArrayInACircleKeepsItsOwnOldValue) {
    Enter("A1", "1");
    EnterArray("B1", "B3", "=B1:B3+A1");
    CurrentWorkbook()->circularSeen = 0;
    Enter("A1", "2");
    for (const char* cell : {"B2", "B1", "B3"}) EXPECT_NE(Shown(cell), "") << cell;
    EXPECT_EQ(CurrentWorkbook()->circularSeen, 1u);
}

TEST_F(ArrayResults, CellsWithAnotherFormulaInsideTheAreaAreLeftAlone) {
    for (int i = 1; i <= 3; ++i) Enter("A" + std::to_string(i), std::to_string(i));
    EnterArray("B1", "B3", "=A1:A3*10");
    // As an older program may have left it.
    Enter("B2", "=A2+0.5");
    Enter("A1", "4");
    Enter("A2", "6");
    EXPECT_EQ(Shown("B1") + " " + Shown("B2") + " " + Shown("B3"), "40 6.5 30");
}

TEST_F(ArrayResults, CellsWhoseFormulaAsksForAClosedBookKeepTheirValuesAndNewOnesHaveNone) {
    EnterArray("A1", "A3", "=[gone.xls]Sheet1!A1+{1;2;3}");
    EXPECT_EQ(Shown("A1") + Shown("A2") + Shown("A3"), "#REF!#REF!#REF!");
    CellAtName("A1")->value = NumberValue(7);
    CellAtName("A2")->value = Value();
    CellAtName("A3")->value = NumberValue(9);
    MarkAllStale();
    EXPECT_EQ(Shown("A1") + Shown("A2") + Shown("A3"), "7#REF!9");
    EXPECT_TRUE(CellAtName("A3")->formula->kept);
    EXPECT_FALSE(CellAtName("A2")->formula->kept);
}

TEST_F(ArrayResults, RandomArraysShowWhatEachCellGivesAlone) {
    const char* operands[] = {"A1:A4", "B1:B4", "A1:D1", "A1:B2", "{1;2;3;4}", "{1,2,3}", "A1",
                              "B2:D4", "2",     "\"x\"", "D1:D4", "{5}",       "A1:D4",   "Sheet1!A1:A4"};
    const char* shapes[] = {"%1+%2",
                            "%1*%2",
                            "%1&%2",
                            "%1=%2",
                            "IF(%1>1,%2,%1)",
                            "ROUND(%1,1)+%2",
                            "MMULT(%1,%2)",
                            "TRANSPOSE(%1)*%2",
                            "INDEX(%1,%2)",
                            "SUM(%1)+%2",
                            "ROW(%1)-%2",
                            "LEFT(%1&\"abc\",%2)",
                            "SUMIF(%1,%2)",
                            "VLOOKUP(%1,A1:B4,2)+%2",
                            "CHOOSE(%1,%2,7)",
                            "-%1",
                            "OFFSET(A1,1,0,2,2)+%2",
                            "%1"};
    std::mt19937 random(20261121);
    for (int round = 0; round < 300; ++round) {
        CurrentSheet()->arrayFormulas.Truncate(0);
        for (int i = 0; i < 6; ++i) {
            const char* contents[] = {"1", "2", "3.5", "text", "TRUE", "=1/0", "", "-1"};
            Enter(NameOf(static_cast<i32>(random() % 4), static_cast<i32>(random() % 4)),
                  contents[random() % 8]);
        }
        std::string formula = std::string("=") + shapes[random() % std::size(shapes)];
        for (const char* slot : {"%1", "%2"}) {
            const std::string operand = operands[random() % std::size(operands)];
            for (std::size_t at; (at = formula.find(slot)) != std::string::npos;)
                formula.replace(at, 2, operand);
        }
        const std::string last = NameOf(static_cast<i32>(random() % 5), static_cast<i32>(5 + random() % 3));
        EnterArray("F1", last, formula);
        ExpectAsAlone("F1", last, formula);
        Enter(NameOf(static_cast<i32>(random() % 4), static_cast<i32>(random() % 4)), "9");
        ExpectAsAlone("F1", last, formula);
    }
}

TEST_F(ArrayResults, ACellAmongManyArraysFindsItsOwn) {
    std::mt19937 random(7);
    Sheet& sheet = *CurrentSheet();
    for (int round = 0; round < 40; ++round) {
        sheet.arrayFormulas.Truncate(0);
        // Side by side and below each other, with room between, in no order.
        for (i32 i = 0; i < 60; ++i) {
            const i32 row = (i % 20) * 5, column = (i / 20) * 4;
            const RefArea area = {static_cast<u16>(row), static_cast<u16>(row + static_cast<i32>(random() % 5)),
                                  static_cast<u8>(column),
                                  static_cast<u8>(column + static_cast<i32>(random() % 4))};
            if (random() % 8) ASSERT_TRUE(sheet.arrayFormulas.Append({area, 0, 0}));
        }
        std::shuffle(sheet.arrayFormulas.begin(), sheet.arrayFormulas.end(), random);
        for (i32 column = 0; column < 13; ++column) TouchColumn(sheet.cells, column);
        for (int question = 0; question < 400; ++question) {
            const i32 row = static_cast<i32>(random() % 103), column = static_cast<i32>(random() % 13);
            EXPECT_EQ(ArrayOfCell(sheet, row, column), FindArray(sheet, row, column)) << row << ' ' << column;
            if (question != 200) continue;
            // An array that goes and one that comes, with the cells that it takes.
            const RefArea gone = sheet.arrayFormulas[3].area;
            sheet.arrayFormulas.RemoveAt(3);
            for (i32 c = gone.firstColumn; c <= gone.lastColumn; ++c) TouchColumn(sheet.cells, c);
            ASSERT_TRUE(sheet.arrayFormulas.Append({{101, 102, 0, 12}, 0, 0}));
            for (i32 c = 0; c < 13; ++c) TouchColumn(sheet.cells, c);
        }
    }
    // Arrays over each other, as a damaged file may have them: the first of the list counts.
    ASSERT_TRUE(sheet.arrayFormulas.Append({{0, 102, 0, 12}, 0, 0}));
    TouchColumn(sheet.cells, 2);
    for (i32 row = 0; row < 103; ++row) EXPECT_EQ(ArrayOfCell(sheet, row, 2), FindArray(sheet, row, 2)) << row;
}

TEST_F(ArrayResults, TheElementsOfALargeArrayAreWorkedOutOnce) {
    // The evaluation's own count of elements bounds the work: one run for each cell would take a thousandfold.
    for (int i = 1; i <= 1000; ++i) Enter("A" + std::to_string(i), std::to_string(i));
    EnterArray("B1", "B1000", "=A1:A1000*2");
    Enter("A1", "5");
    EXPECT_EQ(Shown("B1000"), "2000");
    const RefArea area = AreaOf("B1", "B1000");
    WalkArea(CurrentSheet()->cells, area, [](u16 row, CellRecord& cell) {
        EXPECT_EQ(cell.calcState, CALC_CURRENT) << row;
        return true;
    });
}

}  // namespace
}  // namespace tally
