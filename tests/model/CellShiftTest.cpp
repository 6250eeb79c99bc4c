#include "model/CellShift.h"

#include <map>
#include <random>

#include "model/CellStore.h"
#include "model/Tokens.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

using Cells = std::map<std::pair<i32, i32>, double>;

constexpr u8 oneByte[] = {0x1E, 1, 0};

void Put(Sheet& sheet, i32 row, i32 column, double number, bool formula) {
    FormulaTokens tokens;
    if (formula) ASSERT_TRUE(MakeTokens(tokens, oneByte, {}));
    ASSERT_TRUE(InsertCell(sheet, row, column, 15, NumberValue(number), tokens));
}

Cells Read(const CellStore& store) {
    Cells cells;
    for (CellPosition p; !AtEnd(store, p); NextCell(store, p)) {
        cells[{RowAt(store, p), CellAt(store, p).column}] = CellAt(store, p).value.number;
    }
    return cells;
}

// The order, the counts and the place that each formula keeps must agree with the cells.
void CheckWhole(CellStore& store) {
    u32 cells = 0, formulas = 0;
    u32 inColumn[MAX_COLUMNS] = {};
    i32 before = -1;
    for (CellPosition p; !AtEnd(store, p); NextCell(store, p)) {
        const CellRecord& cell = CellAt(store, p);
        const i32 key = RowAt(store, p) * MAX_COLUMNS + cell.column;
        ASSERT_LT(before, key);
        before = key;
        ++cells;
        CellPosition found;
        ASSERT_TRUE(FindCell(store, RowAt(store, p), cell.column, found));
        if (!cell.formula) continue;
        ++formulas;
        ++inColumn[cell.column];
        ASSERT_EQ(cell.formula->row, RowAt(store, p));
        ASSERT_EQ(cell.formula->column, cell.column);
        ASSERT_EQ(store.formulas[cell.formula->listIndex], cell.formula);
    }
    ASSERT_EQ(cells, store.count);
    ASSERT_EQ(formulas, store.formulas.Count());
    for (i32 c = 0; c < MAX_COLUMNS; ++c) ASSERT_EQ(inColumn[c], store.formulasInColumn[c]) << c;
}

Cells Shifted(const Cells& cells, bool byRow, i32 first, i32 count) {
    Cells result;
    for (const auto& [place, number] : cells) {
        i32 at = byRow ? place.first : place.second;
        if (at >= first) {
            if (count < 0 && at < first - count) continue;
            at += count;
        }
        if (at >= (byRow ? MAX_ROWS : MAX_COLUMNS)) continue;
        result[byRow ? std::make_pair(at, place.second) : std::make_pair(place.first, at)] = number;
    }
    return result;
}

Cells Moved(const Cells& cells, const RefArea& area, i32 rows, i32 columns) {
    Cells result;
    for (const auto& [place, number] : cells) {
        const bool inTarget = AreaHolds(area, place.first - rows, place.second - columns);
        if (!AreaHolds(area, place.first, place.second) && !inTarget) result[place] = number;
    }
    for (const auto& [place, number] : cells) {
        const i32 row = place.first + rows, column = place.second + columns;
        if (!AreaHolds(area, place.first, place.second)) continue;
        if (row >= 0 && row < MAX_ROWS && column >= 0 && column < MAX_COLUMNS) result[{row, column}] = number;
    }
    return result;
}

class CellShifts : public Sandbox {
  protected:
    static Sheet& Here() { return *CurrentSheet(); }
};

TEST_F(CellShifts, RowsPushedOffTheSheetAreReleased) {
    Put(Here(), 0, 0, 1, true);
    Put(Here(), 65534, 1, 2, true);
    Put(Here(), 65535, 2, 3, true);
    InsertCellRows(Here().cells, 0, 1);
    EXPECT_EQ(Read(Here().cells), (Cells{{{1, 0}, 1}, {{65535, 1}, 2}}));
    CheckWhole(Here().cells);
    InsertCellRows(Here().cells, 0, MAX_ROWS * 2);
    EXPECT_EQ(Here().cells.count, 0u);
    CheckWhole(Here().cells);
}

TEST_F(CellShifts, ColumnsPushedOffTheSheetAreReleased) {
    Put(Here(), 0, 255, 1, true);
    Put(Here(), 1, 0, 2, true);
    InsertCellColumns(Here().cells, 0, 1);
    EXPECT_EQ(Read(Here().cells), (Cells{{{1, 1}, 2}}));
    CheckWhole(Here().cells);
    DeleteCellColumns(Here().cells, 0, 256);
    EXPECT_EQ(Here().cells.count, 0u);
}

TEST_F(CellShifts, ShiftsOutsideTheSheetDoNothing) {
    Put(Here(), 3, 3, 1, false);
    const Cells before = Read(Here().cells);
    InsertCellRows(Here().cells, -1, 2);
    InsertCellRows(Here().cells, 65536, 2);
    DeleteCellRows(Here().cells, 0, 0);
    DeleteCellRows(Here().cells, 0, -4);
    InsertCellColumns(Here().cells, 256, 1);
    DeleteCellColumns(Here().cells, -1, 1);
    EXPECT_EQ(Read(Here().cells), before);
    ASSERT_TRUE(MoveCells(Here().cells, {3, 3, 3, 3}, 0, -4));
    EXPECT_EQ(Here().cells.count, 0u);
}

TEST_F(CellShifts, AgreeWithAMapUnderRandomChanges) {
    std::mt19937 random(7);
    const auto below = [&](i32 n) { return static_cast<i32>(random() % static_cast<u32>(n)); };
    CellStore& store = Here().cells;
    for (i32 step = 0; step < 2500; ++step) {
        // Near the ends of the sheet, so that cells fall off.
        const i32 top = below(2) ? 0 : MAX_ROWS - 40, left = below(2) ? 0 : MAX_COLUMNS - 20;
        for (i32 i = 0; i < 6; ++i)
            Put(Here(), top + below(40), left + below(20), step * 10 + i, below(3) == 0);
        const Cells before = Read(store);
        const i32 row = top + below(40), column = left + below(20), count = 1 + below(4);
        Cells expected;
        switch (below(5)) {
            case 0:
                InsertCellRows(store, row, count);
                expected = Shifted(before, true, row, count);
                break;
            case 1:
                DeleteCellRows(store, row, count);
                expected = Shifted(before, true, row, -std::min(count, MAX_ROWS - row));
                break;
            case 2:
                InsertCellColumns(store, column, count);
                expected = Shifted(before, false, column, count);
                break;
            case 3:
                DeleteCellColumns(store, column, count);
                expected = Shifted(before, false, column, -std::min(count, MAX_COLUMNS - column));
                break;
            default: {
                const RefArea area = {static_cast<u16>(row), static_cast<u16>(std::min(row + below(9), 65535)),
                                      static_cast<u8>(column),
                                      static_cast<u8>(std::min(column + below(9), 255))};
                const i32 rows = below(21) - 10, columns = below(13) - 6;
                ASSERT_TRUE(MoveCells(store, area, rows, columns));
                expected = Moved(before, area, rows, columns);
            }
        }
        ASSERT_EQ(Read(store), expected) << step;
        ASSERT_NO_FATAL_FAILURE(CheckWhole(store)) << step;
    }
}

TEST_F(CellShifts, SizeRecordsFollow) {
    Array<RowInfo> rows;
    for (u16 row : std::initializer_list<u16>{2, 5, 6, 65535}) ASSERT_TRUE(SetRowInfo(rows, {row, 0, row}));
    ShiftRowInfos(rows, 5, 2);
    ASSERT_EQ(rows.Count(), 3u);
    EXPECT_EQ(rows[1].row, 7);
    EXPECT_EQ(rows[2].row, 8);
    ShiftRowInfos(rows, 2, -6);
    ASSERT_EQ(rows.Count(), 1u);
    EXPECT_EQ(rows[0].row, 2);
    EXPECT_EQ(rows[0].height, 6);
    Array<ColumnInfo> columns;
    for (u8 column : std::initializer_list<u8>{1, 255}) ASSERT_TRUE(SetColumnInfo(columns, {column, 0, 9, 15}));
    ShiftColumnInfos(columns, 0, 1);
    ASSERT_EQ(columns.Count(), 1u);
    EXPECT_EQ(columns[0].column, 2);
}

// A move is made whole or not at all, whichever allocation fails.
TEST(CellShiftMemory, AFailedMoveLeavesTheCellsInPlace) {
    for (u64 n = 1;; ++n) {
        test::FailingAllocator allocator(n);
        QuietMemoryScope quiet;
        bool moved = false;
        {
            Sheet sheet;
            bool built = true;
            for (i32 i = 0; i < 24 && built; ++i) {
                FormulaTokens tokens;
                if (i % 5 == 0) built = MakeTokens(tokens, oneByte, {});
                built = built && InsertCell(sheet, i / 3, i % 3, 15, TextValue(u"x"), tokens);
            }
            if (built) {
                const u32 count = sheet.cells.count;
                moved = MoveCells(sheet.cells, {1, 5, 0, 1}, 2, 1);
                if (!moved) EXPECT_EQ(sheet.cells.count, count);
                CheckWhole(sheet.cells);
            }
            FreeStore(sheet.cells);
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
        if (moved && !allocator.HasFailed()) break;
    }
}

}  // namespace
}  // namespace tally
