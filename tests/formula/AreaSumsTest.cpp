#include "formula/AreaSums.h"

#include <random>

#include "base/LongOperation.h"
#include "formula/Compiler.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class AreaSums : public Sandbox {
  protected:
    static void Put(i32 row, i32 column, Value value) {
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, value, FormulaTokens()));
        TouchColumn(CurrentSheet()->cells, column);
    }
    // A formula as a reader puts it: stale.
    static void PutStale(i32 row, i32 column, const std::string& formula) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.sheet = CurrentWorkbook()->currentSheet;
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, Value(), tokens));
        TouchColumn(CurrentSheet()->cells, column);
    }
    static RefArea Area(i32 first, i32 last, i32 column, i32 lastColumn) {
        return {static_cast<u16>(first), static_cast<u16>(last), static_cast<u8>(column),
                static_cast<u8>(lastColumn)};
    }
    static Value Sum(const Value& value) { return SumValue(value, {CurrentBook(), 0, 0, 0, 0}); }
};

// Small and large areas, from nothing and from a sum that is there already; the cells in the order of the walk.
TEST_F(AreaSums, AreThoseOfAddingCellByCell) {
    std::mt19937 random(5);
    const auto below = [&](i32 n) { return static_cast<i32>(random() % static_cast<u32>(n)); };
    u32 bad = 0;
    for (i32 round = 0; round < 12; ++round) {
        ASSERT_TRUE(InsertSheet(0, nullptr, SHEET_WORKSHEET, false, false));
        CellStore& store = CurrentSheet()->cells;
        const bool whole = round % 2;
        for (i32 row = 0; row < 200; ++row) {
            for (i32 column = 0; column < 6; ++column) {
                switch (below(8)) {
                    case 0: break;
                    case 1: Put(row, column, below(2) ? TextValue(u"5") : BoolValue(true)); break;
                    case 2:
                        if (round % 3 == 0 && !below(40))
                            Put(row, column, ErrorValue(below(2) ? ERR_NUM : ERR_NA));
                        break;
                    default:
                        Put(row, column, NumberValue(whole ? below(1000) - 500 : below(1 << 30) / 7.0 - 1e7));
                }
            }
        }
        for (i32 question = 0; question < 300; ++question) {
            const i32 first = below(200), column = below(6);
            const i32 last = first + below(question % 2 ? 6 : 150), lastColumn = std::min(5, column + below(3));
            const RefArea area = Area(first, last, column, lastColumn);
            double sum = below(2) ? 0 : below(1 << 20) / 3.0, expected = sum;
            i32 error = -1, expectedError = -1;
            WalkArea(store, area, [&](u16, const CellRecord& cell) {
                if (cell.value.type == VT_ERROR) expectedError = cell.value.error;
                else if (cell.value.type == VT_NUMBER) expected += cell.value.number;
                return expectedError < 0;
            });
            const bool good = AddArea(CurrentBook(), 0, area, sum, error);
            ASSERT_EQ(good, expectedError < 0);
            if (good) ASSERT_EQ(sum, expected) << first << ':' << last << ' ' << column << ':' << lastColumn;
            else ASSERT_EQ(error, expectedError);
            bad += !good;
        }
    }
    EXPECT_GT(bad, 50u);
}

TEST_F(AreaSums, StaleCellsAreWorkedOutOnTheWay) {
    for (i32 row = 0; row < 20; ++row) {
        Put(row, 0, NumberValue(row));
        PutStale(row, 1, "=A" + std::to_string(row + 1) + "*10");
        Put(row, 3, NumberValue(100000));
    }
    double sum = 1;
    i32 error = -1;
    ASSERT_TRUE(AddArea(CurrentBook(), 0, Area(2, 5, 0, 2), sum, error));
    EXPECT_EQ(sum, 1 + 11 * 14);
    for (i32 row = 0; row < 20; ++row)
        EXPECT_EQ(GetCell(CurrentSheet()->cells, row, 1)->calcState == CALC_CURRENT, row >= 2 && row <= 5);
}

TEST_F(AreaSums, WhatIsNoCellAddsNothing) {
    double sum = 7;
    i32 error = -1;
    EXPECT_TRUE(AddArea(CurrentBook(), 0, Area(0, 9, 0, 9), sum, error));
    EXPECT_TRUE(AddArea(CurrentBook(), 5, Area(0, 9, 0, 9), sum, error));
    EXPECT_TRUE(AddArea(CurrentBook() + 1, 0, Area(0, 9, 0, 9), sum, error));
    Put(20, 0, NumberValue(1));
    EXPECT_TRUE(AddArea(CurrentBook(), 0, Area(0, 19, 0, 9), sum, error));
    EXPECT_TRUE(AddArea(CurrentBook(), 0, Area(21, 40, 0, 9), sum, error));
    EXPECT_TRUE(AddArea(CurrentBook(), 0, Area(0, 40, 1, 9), sum, error));
    EXPECT_EQ(sum, 7);
}

TEST_F(AreaSums, TakeArraysAreasAndReferencesAndNothingElse) {
    for (i32 row = 0; row < 4; ++row) Put(row, 0, NumberValue(1 << row));
    EXPECT_EQ(Sum(AreaValue(Area(0, 2, 0, 0))).number, 7);
    Value array = ArrayValue(2, 2);
    array.elements[0] = NumberValue(1);
    array.elements[1] = BoolValue(true);
    array.elements[3] = NumberValue(4);
    EXPECT_EQ(Sum(array).number, 5);
    array.elements[1] = ErrorValue(ERR_NUM);
    array.elements[3] = ErrorValue(ERR_NA);
    EXPECT_EQ(Sum(array).type, VT_ERROR);
    EXPECT_EQ(Sum(array).error, ERR_NUM);
    FreeValue(array);
    for (const Value& value : {NumberValue(5), BoolValue(true), Value()}) {
        EXPECT_EQ(Sum(value).type, VT_ERROR);
        EXPECT_EQ(Sum(value).error, ERR_VALUE);
    }
}

TEST_F(AreaSums, OfReferencesGoThroughAllAreasOfAllSheetsWithCells) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(InsertSheet(3, nullptr, SHEET_WORKSHEET, false, false));
    for (const i32 sheet : {0, 2, 3}) {
        CurrentWorkbook()->currentSheet = sheet;
        for (i32 row = 0; row < 3; ++row) Put(row, 0, NumberValue((sheet + 1) * 10 + row));
    }
    const auto sum = [](i32 first, i32 last, std::initializer_list<RefArea> areas) {
        i32 index = -1;
        EXPECT_TRUE(AddExternRef({0, 0, first, last}, index));
        Value reference = RefValue(index, static_cast<u16>(areas.size()));
        std::copy(areas.begin(), areas.end(), reference.areas->areas);
        const Value result = SumValue(reference, {0, 0, 0, 0, 0});
        FreeValue(reference);
        return result.type == VT_NUMBER ? std::to_string(static_cast<i32>(result.number))
                                        : Narrow(ErrorText(result.error));
    };
    EXPECT_EQ(sum(0, 0, {Area(0, 0, 0, 0)}), "10");
    EXPECT_EQ(sum(0, 0, {Area(0, 0, 0, 0), Area(1, 2, 0, 0), Area(2, 2, 0, 0)}), "45");
    EXPECT_EQ(sum(0, 3, {Area(1, 1, 0, 0)}), "83");
    EXPECT_EQ(sum(2, 3, {Area(0, 0, 0, 0), Area(2, 2, 0, 0)}), "144");
    EXPECT_EQ(sum(1, 1, {Area(0, 0, 0, 0)}), "0");
    EXPECT_EQ(sum(-2, -2, {Area(0, 0, 0, 0)}), "#REF!");
    CurrentWorkbook()->currentSheet = 2;
    Put(1, 0, ErrorValue(ERR_DIV0));
    EXPECT_EQ(sum(0, 3, {Area(1, 1, 0, 0)}), "#DIV/0!");
    EXPECT_EQ(sum(0, 3, {Area(0, 0, 0, 0)}), "80");
    Value lost = RefValue(99, 1);
    EXPECT_EQ(Sum(lost).error, ERR_REF);
    FreeValue(lost);
}

// Sums over moving and growing ranges, in columns whose numbers add up exactly and in such that round.
TEST_F(AreaSums, OfWindowsInFormulasAreThoseOfAddingCellByCell) {
    for (const double unit : {1.0, 0.1}) {
        for (i32 row = 0; row < 400; ++row) Put(row, 0, NumberValue((row * 37 % 101 - 50) * unit));
        for (i32 row = 0; row < 250; ++row) {
            const std::string first = std::to_string(row + 1), last = std::to_string(row + 120);
            PutStale(row, 1, "=SUM(A" + first + ":A" + last + ")");
            PutStale(row, 2, "=SUM(A$1:A" + last + ")");
            PutStale(row, 3, "=SUM(A" + first + ":A$400)");
            PutStale(row, 4, "=SUM(5,A" + first + ":A" + last + ")");
            PutStale(row, 5, "=SUM(A" + std::to_string(250 - row) + ":A" + std::to_string(370 - row) + ")");
        }
        CalculateBook(CurrentBook());
        const auto expected = [&](double sum, i32 first, i32 last) {
            for (i32 row = first; row <= last; ++row)
                sum += GetCell(CurrentSheet()->cells, row, 0)->value.number;
            return sum;
        };
        for (i32 row = 0; row < 250; ++row) {
            const auto shown = [&](i32 column) {
                return GetCell(CurrentSheet()->cells, row, column)->value.number;
            };
            ASSERT_EQ(shown(1), expected(0, row, row + 119)) << row;
            ASSERT_EQ(shown(2), expected(0, 0, row + 119)) << row;
            ASSERT_EQ(shown(3), expected(0, row, 399)) << row;
            ASSERT_EQ(shown(4), expected(5, row, row + 119)) << row;
            ASSERT_EQ(shown(5), expected(0, 249 - row, 369 - row)) << row;
        }
    }
}

}  // namespace
}  // namespace tally
