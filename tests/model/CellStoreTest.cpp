#include "model/CellStore.h"

#include <map>
#include <random>

#include "base/Number.h"
#include "model/AreaList.h"
#include "model/Tokens.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class CellStores : public Sandbox {};

TEST_F(CellStores, AnEmptyStoreHasNothingAtItsStart) {
    CellStore store;
    CellPosition position;
    EXPECT_FALSE(FindCell(store, 0, 0, position));
    EXPECT_EQ(CellIndex(store, position), 0u);
    EXPECT_TRUE(AtEnd(store, position));
}

TEST_F(CellStores, ABlankCellKeepsOnlyItsFormat) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(InsertCell(sheet, 3, 4, 7, Value(), FormulaTokens()));
    const CellRecord* cell = GetCell(sheet.cells, 3, 4);
    EXPECT_EQ(cell->calcState, CALC_BLANK);
    EXPECT_EQ(cell->value.type, VT_EMPTY);
    EXPECT_EQ(GetCellFormat(sheet, 3, 4), 7);
}

TEST_F(CellStores, TheDefaultFormatIs15WhereNoColumnRecordStands) {
    Sheet& sheet = *CurrentSheet();
    for (u8 column = 0; column < 200; column = static_cast<u8>(column + 2)) {
        ASSERT_TRUE(SetColumnInfo(sheet.columns, {column, 0, 100, 3}));
    }
    EXPECT_EQ(GetCellFormat(sheet, 0, 2), 3);
    EXPECT_EQ(GetCellFormat(sheet, 0, 3), 15);
    u16 flags = 0;
    EXPECT_EQ(GetRowInfo(sheet.rows, 5, flags), 0);
    EXPECT_EQ(flags, ROW_DEFAULT_HEIGHT);
}

TEST_F(CellStores, TheLastCellIsStorableAndRowsComeFirst) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(InsertCell(sheet, 65535, 255, 15, NumberValue(1), FormulaTokens()));
    ASSERT_TRUE(InsertCell(sheet, 2, 0, 15, NumberValue(2), FormulaTokens()));
    ASSERT_TRUE(InsertCell(sheet, 1, 200, 15, NumberValue(3), FormulaTokens()));
    CellPosition position;
    EXPECT_EQ(RowAt(sheet.cells, position), 1);
    NextCell(sheet.cells, position);
    EXPECT_EQ(RowAt(sheet.cells, position), 2);
    NextCell(sheet.cells, position);
    EXPECT_EQ(RowAt(sheet.cells, position), 65535);
    NextCell(sheet.cells, position);
    EXPECT_TRUE(AtEnd(sheet.cells, position));
    EXPECT_EQ(PutCell(sheet.cells, 65536, 0), nullptr);
    EXPECT_EQ(PutCell(sheet.cells, 0, 256), nullptr);
    EXPECT_EQ(PutCell(sheet.cells, -1, 0), nullptr);
}

TEST_F(CellStores, ReplacingAFormulaKeepsTheRecordAndItsNeighbours) {
    Enter("A1", "1");
    Enter("B1", "=A1");
    Enter("C1", "3");
    CellPosition before, after;
    ASSERT_TRUE(FindCell(CurrentSheet()->cells, 0, 2, before));
    Enter("B1", "7");
    ASSERT_TRUE(FindCell(CurrentSheet()->cells, 0, 2, after));
    EXPECT_EQ(before.index, after.index);
    EXPECT_EQ(CellAtName("B1")->formula, nullptr);
}

TEST_F(CellStores, AgreesWithAMapUnderRandomChanges) {
    std::mt19937 random(3);
    CellStore& store = CurrentSheet()->cells;
    std::map<std::pair<i32, i32>, double> expected;
    for (i32 step = 0; step < 20000; ++step) {
        const i32 row = static_cast<i32>(random() % 120), column = static_cast<i32>(random() % 40);
        if (random() % 3) {
            ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(step), FormulaTokens()));
            expected[{row, column}] = step;
        } else {
            CellPosition position;
            const bool found = FindCell(store, row, column, position);
            ASSERT_EQ(found, expected.count({row, column}) != 0);
            if (found) RemoveCell(store, position);
            expected.erase({row, column});
        }
        if (step % 997) continue;
        auto it = expected.begin();
        for (CellPosition p; !AtEnd(store, p); NextCell(store, p), ++it) {
            ASSERT_NE(it, expected.end());
            ASSERT_EQ(it->first, std::make_pair(i32{RowAt(store, p)}, i32{CellAt(store, p).column}));
            ASSERT_EQ(it->second, CellAt(store, p).value.number);
        }
        ASSERT_EQ(it, expected.end());
        ASSERT_EQ(store.count, expected.size());
    }
}

TEST_F(CellStores, PixelOffsetsCountOnlyWhatDiffers) {
    Sheet& sheet = *CurrentSheet();
    const i32 width = MulDiv(7, 2048, 256);
    EXPECT_EQ(ColumnLeft(sheet, 100, 0, 7), 100 * width);
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {2, COLUMN_HIDDEN, 0, 15}));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {5, 0, 512, 15}));
    EXPECT_EQ(ColumnLeft(sheet, 100, 0, 7), 98 * width + 14);
    EXPECT_EQ(ColumnLeft(sheet, 5, 512, 7), 4 * width + 7);
    const i32 height = MulDiv(255, 96, 1440);
    ASSERT_TRUE(SetRowInfo(sheet.rows, {1, 0, 300}));
    EXPECT_EQ(RowTop(sheet, 3, 0, 96), 2 * height + 20);
}

TEST_F(CellStores, TheLastUsedRowAndColumn) {
    Sheet& sheet = *CurrentSheet();
    EXPECT_EQ(LastUsedRow(sheet), 0);
    Enter("C7", "1");
    EXPECT_EQ(LastUsedRow(sheet), 6);
    EXPECT_EQ(LastUsedColumn(sheet), 2);
    ASSERT_TRUE(SetRowInfo(sheet.rows, {20, 0, 300}));
    ASSERT_TRUE(sheet.mergedAreas.Append({0, 30, 0, 9}));
    EXPECT_EQ(LastUsedRow(sheet), 30);
    EXPECT_EQ(LastUsedColumn(sheet), 9);
    EXPECT_NE(FindMerge(sheet, 30, 9), nullptr);
    EXPECT_EQ(FindMerge(sheet, 31, 9), nullptr);
}

TEST_F(CellStores, AreasThatTouchAreJoined) {
    Array<RefArea> areas;
    for (const RefArea& area : {RefArea{0, 0, 0, 1}, RefArea{5, 6, 0, 1}, RefArea{1, 4, 0, 1},
                                RefArea{0, 6, 2, 2}, RefArea{9, 9, 0, 2}}) {
        ASSERT_TRUE(areas.Append(area));
    }
    MergeAreas(areas);
    ASSERT_EQ(areas.Count(), 2u);
    EXPECT_EQ(areas[0], (RefArea{0, 6, 0, 2}));
}

TEST(CellStoreMemory, ACellThatCannotBeStoredIsRefusedAndReleased) {
    test::FailingAllocator allocator;
    {
        QuietMemoryScope quiet;
        Sheet sheet;
        const u8 bytes[] = {0x1E, 1, 0};
        for (const auto& [row, column] : {std::pair{MAX_ROWS, 0}, {0, MAX_COLUMNS}, {-1, 0}, {0, -1}}) {
            FormulaTokens tokens;
            ASSERT_TRUE(MakeTokens(tokens, bytes, {}));
            EXPECT_FALSE(InsertCell(sheet, row, column, 15, TextValue(u"text"), tokens));
        }
        EXPECT_EQ(sheet.cells.count, 0u);
        FreeStore(sheet.cells);
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

// One store operation after the other with the n-th allocation failing, until none fails any more.
TEST(CellStoreMemory, AFailedAllocationLeavesTheStoreAsItWas) {
    for (u64 n = 1;; ++n) {
        test::FailingAllocator allocator(n);
        {
            QuietMemoryScope quiet;
            Sheet sheet;
            bool good = true;
            for (i32 row = 0; row < 6 && good; ++row) {
                for (i32 column = 5; column >= 0 && good; --column) {
                    const u32 before = sheet.cells.count;
                    FormulaTokens tokens;
                    const u8 bytes[] = {0x1E, 1, 0};
                    if (column == 2) good = MakeTokens(tokens, bytes, {});
                    if (good) good = InsertCell(sheet, row, column, 15, TextValue(u"text"), tokens);
                    if (!good) EXPECT_EQ(sheet.cells.count, before);
                }
            }
            u32 walked = 0;
            for (CellPosition p; !AtEnd(sheet.cells, p); NextCell(sheet.cells, p)) ++walked;
            EXPECT_EQ(walked, sheet.cells.count);
            FreeStore(sheet.cells);
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
        if (!allocator.HasFailed()) break;
    }
}

}  // namespace
}  // namespace tally
