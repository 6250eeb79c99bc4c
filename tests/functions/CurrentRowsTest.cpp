#include "functions/CurrentRows.h"

#include <random>

#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class CurrentRows : public Sandbox {
  protected:
    static constexpr i32 ROWS = 60;
    std::mt19937 random{11};
    i32 Pick(i32 count) { return static_cast<i32>(random() % static_cast<u32>(count)); }

    // Some cells of two columns wait; a third one holds constants.
    void Fill(i32 waiting) {
        for (i32 row = 0; row < ROWS; ++row) {
            Enter("A" + std::to_string(row + 1), "=1+1");
            if (row % 3) Enter("B" + std::to_string(row + 1), "=2+2");
            Enter("C" + std::to_string(row + 1), "3");
        }
        for (i32 i = 0; i < waiting; ++i) Toggle(Pick(ROWS), Pick(2));
    }
    static void Toggle(i32 row, i32 column) {
        CellRecord* cell = GetCell(CurrentSheet()->cells, row, column);
        if (!cell) return;
        cell->calcState = cell->calcState == CALC_STALE ? CALC_CURRENT : CALC_STALE;
        ++CurrentSheet()->cells.columnVersion[column];
    }
    static bool NoneWaits(const RefArea& area) {
        for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
            for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
                const CellRecord* cell = GetCell(CurrentSheet()->cells, row, column);
                if (cell && cell->calcState < CALC_CURRENT) return false;
            }
        }
        return true;
    }
    static RefArea Area(i32 first, i32 last, i32 column, i32 lastColumn) {
        return {static_cast<u16>(first), static_cast<u16>(last), static_cast<u8>(column),
                static_cast<u8>(lastColumn)};
    }
};

TEST_F(CurrentRows, EndInFrontOfTheFirstThatWaits) {
    Fill(0);
    Toggle(20, 0);
    for (const i32 behind : {19, 20, 21, 40}) {
        for (i32 first = 0; first < 30; ++first) {
            for (const i32 last : {behind, behind - 1, behind + 1}) {
                if (last < first) continue;
                EXPECT_EQ(IsCurrent(*CurrentSheet(), Area(first, last, 0, 0)), first > 20 || last < 20)
                    << first << " " << last;
            }
        }
    }
}

TEST_F(CurrentRows, AreThoseThatALookFinds) {
    for (i32 table = 0; table < 6; ++table) {
        Fill(table);
        i32 current = 0;
        for (i32 round = 0; round < 2000; ++round) {
            const i32 first = Pick(ROWS), last = first + Pick(ROWS + 10 - first);
            const i32 column = Pick(3), lastColumn = column + Pick(3 - column);
            const RefArea area = Area(first, last, column, lastColumn);
            const bool none = NoneWaits(area);
            ASSERT_EQ(IsCurrent(*CurrentSheet(), area), none) << round << " rows " << first << " to " << last
                                                              << " columns " << column << " to " << lastColumn;
            current += none;
            if (Pick(12) == 0) Toggle(Pick(ROWS), Pick(2));
        }
        EXPECT_GT(current, 50);
    }
}

}  // namespace
}  // namespace tally
