#include "formula/AreaSums.h"
#include "formula/Recalculation.h"

#include <algorithm>
#include <random>
#include <set>

#include "formula/Compiler.h"
#include "formula/Precedents.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Recalculation : public Sandbox {
  protected:
    // Puts a formula without calculating it, as a reader does.
    static void Put(i32 row, i32 column, std::string_view formula) {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, Value(), tokens));
    }
    static void PutNumber(i32 row, i32 column, double number) {
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(number), FormulaTokens()));
    }
};

TEST_F(Recalculation, ASumIfWithAShorterSumRangeFollowsAllCellsThatItAddsUp) {
    const char* formulas[] = {"=SUMIF(A1:A3,1,B1)",       "=SUMIF(Sheet1!A1:A3,1,Sheet1!B1:B2)",
                              "=SUMIF(A1:A3,A1*1,B1:C1)", "=1+SUMIF(A1:A3,IF(TRUE,1,2),B1)-1",
                              "=SUMIF(keys,1,values)",    "=SUM(5,SUMIF(A1:A3,1,B1),-5)"};
    DefineName("keys", "=Sheet1!$A$1:$A$3");
    DefineName("values", "=Sheet1!$B$1");
    for (int i = 1; i <= 3; ++i) Enter("A" + std::to_string(i), "1");
    int row = 1;
    for (const char* formula : formulas) Enter("D" + std::to_string(row++), formula);
    for (const char* cell : {"B1", "B2", "B3"}) {
        const std::string before = Shown("D1");
        Enter(cell, "10");
        for (row = 1; row <= 6; ++row)
            EXPECT_EQ(Shown("D" + std::to_string(row)), std::to_string(std::stoi(before) + 10)) << cell << row;
    }
    // What is only compared is not added up.
    EXPECT_FALSE(CellAtName("D1")->formula->alwaysCalculate);
    EXPECT_TRUE(CellAtName("D5")->formula->alwaysCalculate);
    Enter("D7", "=SUMIF(keys,1)");
    Enter("D8", "=SUMIF(keys,1,B1:B3)");
    EXPECT_FALSE(CellAtName("D7")->formula->alwaysCalculate || CellAtName("D8")->formula->alwaysCalculate);
}

TEST_F(Recalculation, AChangeReachesWhatDependsOnIt) {
    Enter("A1", "1");
    Enter("B1", "=A1*2");
    Enter("C1", "=SUM(A1:B1)");
    Enter("D1", "=5");
    Enter("A1", "10");
    EXPECT_EQ(CellAtName("B1")->calcState, CALC_STALE);
    EXPECT_EQ(CellAtName("C1")->calcState, CALC_STALE);
    EXPECT_EQ(CellAtName("D1")->calcState, CALC_CURRENT);
    EXPECT_EQ(Shown("C1"), "30");
    EXPECT_EQ(Shown("B1"), "20");
}

TEST_F(Recalculation, ACircleEndsAndIsSeen) {
    Enter("A1", "=B1");
    Enter("B1", "=A1");
    EXPECT_EQ(Shown("A1"), "0");
    EXPECT_EQ(Shown("B1"), "0");
    EXPECT_EQ(CurrentWorkbook()->circularSeen, 1u);
    Enter("C1", "=C1+1");
    // Calculated when it was stored, and once more because it reads itself.
    EXPECT_EQ(Shown("C1"), "2");
    EXPECT_EQ(Shown("C1"), "2");
}

TEST_F(Recalculation, LongChainsNeedNoDeepStack) {
    constexpr i32 LENGTH = 60000;
    for (i32 row = 0; row < LENGTH - 1; ++row) Put(row, 0, "=A" + std::to_string(row + 2) + "+1");
    PutNumber(LENGTH - 1, 0, 1);
    EXPECT_EQ(Shown("A1"), "60000");
    // Down the other way.
    PutNumber(0, 2, 1);
    for (i32 row = 1; row < LENGTH; ++row) Put(row, 2, "=C" + std::to_string(row) + "+1");
    EXPECT_EQ(Shown("C60000"), "60000");
    Enter("C1", "2");
    EXPECT_EQ(Shown("C60000"), "60001");
}

TEST_F(Recalculation, VolatileFormulasFollowEveryEditAndNotTheClock) {
    Enter("A1", "=RAND()");
    const std::string first = Shown("A1");
    EXPECT_EQ(Shown("A1"), first);
    Enter("Z9", "1");
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_STALE);
    EXPECT_NE(Shown("A1"), first);
}

TEST_F(Recalculation, WhatReadsMoreThanItsCellsIsStaleAfterEveryEdit) {
    const std::pair<const char*, bool> rows[] = {
        {"=INFO(\"NUMFILE\")", true},
        {"=NOW()", true},
        {"=RAND()", true},
        {"=TODAY()", true},
        {"=CELL(\"ROW\",B1)", true},
        {"=INDIRECT(\"B1\")", true},
        {"=OFFSET(B1,0,0)", true},
        {"=SUBTOTAL(9,B1)", true},
        {"=SUM(B1:INDEX(B1:B2,2))", true},
        {"=1+ABS(INFO(\"NUMFILE\"))", true},
        {"=askedByName", true},
        {"=restByName", false},
        {"=INDEX(B1:B2,1)", false},
        {"=ABS(B1)", false},
        {"=SUM(B1,B2)", false},
        {"=HYPERLINK(\"x\")", false},
        {"=T(B1)", false},
        {"=PI()", false},
    };
    DefineName("askedByName", "=INFO(\"NUMFILE\")");
    DefineName("restByName", "=Sheet1!$B$1");
    int row = 1;
    for (const auto& [formula, always] : rows) Enter("A" + std::to_string(row++), formula);
    for (int i = 1; i < row; ++i) IgnoreFailure(Shown("A" + std::to_string(i)).empty());
    Enter("Z9", "1");
    row = 1;
    for (const auto& [formula, always] : rows) {
        EXPECT_EQ(CellAtName("A" + std::to_string(row++))->calcState == CALC_STALE, always) << formula;
    }
}

TEST_F(Recalculation, NamesCarryChangesOn) {
    Enter("B1", "3");
    DefineName("base", "=Sheet1!$B$1");
    DefineName("twice", "=base*2");
    Enter("A1", "=twice+1");
    EXPECT_EQ(Shown("A1"), "7");
    Enter("B1", "10");
    EXPECT_EQ(Shown("A1"), "21");
}

TEST_F(Recalculation, MacroSheetsAreNotMarked) {
    Enter("A1", "1");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_MACRO, false, false));
    FormulaPlace place;
    place.book = CurrentBook();
    place.sheet = 1;
    CellInput input;
    ASSERT_TRUE(CompileFormula(place, u"=Sheet1!A1", 'V', input.tokens));
    ASSERT_TRUE(SetCell(CurrentBook(), 1, input, true, false));
    CellAtName("A1")->calcState = CALC_CURRENT;
    CurrentWorkbook()->currentSheet = 0;
    Enter("A1", "2");
    CurrentWorkbook()->currentSheet = 1;
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_CURRENT);
}

TEST_F(Recalculation, ReplacingAFormulaByANumberEndsItsDependence) {
    Enter("A1", "1");
    Enter("B1", "=A1");
    Enter("B1", "5");
    Enter("A1", "2");
    EXPECT_EQ(Shown("B1"), "5");
    EXPECT_EQ(CurrentSheet()->cells.formulas.Count(), 0u);
}

// Who a change must reach, by the scan over all formulas that the index stands for.
std::set<std::pair<i32, i32>> LiteralMarking(const Sheet& sheet, i32 row, i32 column) {
    std::set<std::pair<i32, i32>> stale;
    std::vector<std::pair<i32, i32>> waiting = {{row, column}};
    while (!waiting.empty()) {
        const auto [r, c] = waiting.back();
        waiting.pop_back();
        for (const FormulaCell* formula : sheet.cells.formulas) {
            if (stale.count({formula->row, formula->column})) continue;
            u32 at = 0;
            TokenPrecedent precedent;
            bool reads = false;
            while (NextPrecedent(formula->tokens, at, precedent))
                reads = reads || AreaHolds(precedent.area, r, c);
            if (!reads) continue;
            stale.insert({formula->row, formula->column});
            waiting.push_back({formula->row, formula->column});
        }
    }
    return stale;
}

TEST_F(Recalculation, MarkingAgreesWithTheLiteralScan) {
    std::mt19937 random(7);
    const auto below = [&](u32 n) { return static_cast<i32>(random() % n); };
    const auto name = [](i32 row, i32 column) {
        return std::string(1, static_cast<char>('A' + column)) + std::to_string(row + 1);
    };
    for (i32 i = 0; i < 300; ++i) {
        const i32 row = below(60), column = below(8);
        std::string formula = "=1";
        // Only cells above feed a formula, so that no circle hides a mark.
        for (i32 k = below(3); k >= 0 && row > 1; --k) {
            const i32 r = below(static_cast<u32>(row)), c = below(8);
            const i32 r2 = std::min(row - 1, r + below(20)), c2 = std::min(7, c + below(3));
            formula += "+" + (below(2) ? "SUM(" + name(r, c) + ":" + name(r2, c2) + ")" : name(r, c));
        }
        Enter(name(row, column), formula);
    }
    for (i32 round = 0; round < 60; ++round) {
        const i32 row = below(60), column = below(8);
        CalculateBook(CurrentBook());
        for (const FormulaCell* formula : CurrentSheet()->cells.formulas) {
            ASSERT_EQ(GetCell(CurrentSheet()->cells, formula->row, formula->column)->calcState, CALC_CURRENT);
        }
        auto expected = LiteralMarking(*CurrentSheet(), row, column);
        // Every third time a whole area, small or so large that the formulas are walked instead.
        const i32 rows = round % 3 ? 1 : 1 + below(40), columns = round % 3 ? 1 : 1 + below(4);
        for (i32 r = row; r < row + rows; ++r)
            for (i32 c = column; c < column + columns; ++c)
                expected.merge(LiteralMarking(*CurrentSheet(), r, c));
        if (round % 3) {
            MarkDependents(CurrentBook(), 0, row, column);
        } else {
            MarkDependentsOfArea(CurrentBook(), 0,
                                 {static_cast<u16>(row), static_cast<u16>(row + rows - 1),
                                  static_cast<u8>(column), static_cast<u8>(column + columns - 1)});
        }
        std::set<std::pair<i32, i32>> stale;
        for (const FormulaCell* formula : CurrentSheet()->cells.formulas) {
            const CellRecord* cell = GetCell(CurrentSheet()->cells, formula->row, formula->column);
            if (cell->calcState == CALC_STALE) stale.insert({formula->row, formula->column});
        }
        ASSERT_EQ(stale, expected) << name(row, column);
        // Some formulas change in between, so that the index is kept up and not only built.
        Enter(name(below(60), below(8)), round % 3 ? "=1+A1" : "4");
    }
}

TEST_F(Recalculation, KeptSumsAgreeWithAddingCellByCell) {
    std::mt19937 random(11);
    for (i32 row = 0; row < 900; ++row) {
        if (random() % 5 == 0) continue;
        PutNumber(row, 0, static_cast<double>(random()) / 7.0 - 1e8);
        if (random() % 3 == 0) PutNumber(row, 1, static_cast<double>(random()) * 1e-7);
    }
    const Sheet& sheet = *CurrentSheet();
    for (i32 round = 0; round < 400; ++round) {
        const u16 first = static_cast<u16>(random() % 30);
        const u16 last = static_cast<u16>(first + random() % (960u - first));
        const u8 lastColumn = random() % 2;
        double expected = 0;
        for (i32 r = first; r <= last; ++r) {
            for (i32 c = 0; c <= lastColumn; ++c) {
                if (const CellRecord* cell = GetCell(sheet.cells, r, c)) expected += cell->value.number;
            }
        }
        double sum = 0;
        i32 error = -1;
        ASSERT_TRUE(AddArea(CurrentBook(), 0, {first, last, 0, lastColumn}, sum, error));
        ASSERT_EQ(sum, expected) << first << ":" << last;
        if (round % 50 == 49) PutNumber(static_cast<i32>(random() % 900), 0, round);
    }
    PutNumber(700, 0, 0);
    CellRecord* cell = GetCell(CurrentSheet()->cells, 700, 0);
    cell->value = ErrorValue(ERR_NUM);
    TouchColumn(CurrentSheet()->cells, 0);
    double sum = 0;
    i32 error = -1;
    EXPECT_FALSE(AddArea(CurrentBook(), 0, {0, 800, 0, 0}, sum, error));
    EXPECT_EQ(error, ERR_NUM);
    EXPECT_TRUE(AddArea(CurrentBook(), 0, {0, 699, 0, 0}, sum, error));
}

TEST_F(Recalculation, RunningSumsOverTheirOwnColumnStayRight) {
    PutNumber(0, 0, 1);
    for (i32 row = 1; row < 200; ++row) Put(row, 0, "=SUM(A$1:A" + std::to_string(row) + ")/1");
    EXPECT_EQ(Shown("A12"), "1024");
    EXPECT_EQ(Shown("A22"), "1048576");
    Enter("A1", "2");
    EXPECT_EQ(Shown("A12"), "2048");
}

}  // namespace
}  // namespace tally
