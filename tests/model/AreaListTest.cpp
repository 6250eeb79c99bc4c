#include "model/AreaList.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "support/FailingAllocator.h"

namespace tally {
namespace {

// A small sheet, so that a set of its cells is the literal truth about an area.
constexpr i32 SIDE = 12;
using CellSet = std::set<std::pair<i32, i32>>;

CellSet CellsOf(const RefArea& area) {
    CellSet cells;
    for (i32 r = area.firstRow; r <= area.lastRow; ++r)
        for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) cells.insert({r, c});
    return cells;
}

template <typename List>
CellSet CellsOfAll(const List& areas) {
    CellSet cells;
    for (const RefArea& area : areas) cells.merge(CellsOf(area));
    return cells;
}

std::size_t CountAll(const Array<RefArea>& areas) {
    std::size_t count = 0;
    for (const RefArea& area : areas) count += CellsOf(area).size();
    return count;
}

class AreaLists : public testing::Test {
  protected:
    RefArea RandomArea() {
        std::uniform_int_distribution<i32> pick(0, SIDE - 1);
        const auto rows = std::minmax({pick(random), pick(random)});
        const auto columns = std::minmax({pick(random), pick(random)});
        return {static_cast<u16>(rows.first), static_cast<u16>(rows.second), static_cast<u8>(columns.first),
                static_cast<u8>(columns.second)};
    }
    std::mt19937 random{7};
};

TEST_F(AreaLists, ASplitHasEveryCellOnceAndNoneOfTheRectangleOutside) {
    for (int round = 0; round < 20000; ++round) {
        const RefArea area = RandomArea(), rectangle = RandomArea();
        Array<RefArea> inside, outside;
        ASSERT_TRUE(SplitAreaInto(area, rectangle, inside, outside));
        CellSet in, out;
        for (const auto& cell : CellsOf(area))
            (AreaHolds(rectangle, cell.first, cell.second) ? in : out).insert(cell);
        ASSERT_EQ(CellsOfAll(inside), in);
        ASSERT_EQ(CellsOfAll(outside), out);
        ASSERT_EQ(CountAll(outside), out.size());
        ASSERT_LE(outside.Count(), 4u);
        ASSERT_EQ(IsCut(area, rectangle), !in.empty() && !out.empty());
    }
}

TEST_F(AreaLists, TheSidesOfASplitHaveTheWholeHeight) {
    const AreaSplit split = SplitArea({0, 9, 0, 9}, {3, 5, 4, 6});
    EXPECT_EQ(split.pieces[PIECE_LEFT], (RefArea{0, 9, 0, 3}));
    EXPECT_EQ(split.pieces[PIECE_RIGHT], (RefArea{0, 9, 7, 9}));
    EXPECT_EQ(split.pieces[PIECE_ABOVE], (RefArea{0, 2, 4, 6}));
    EXPECT_EQ(split.pieces[PIECE_BELOW], (RefArea{6, 9, 4, 6}));
    EXPECT_EQ(split.pieces[PIECE_INSIDE], (RefArea{3, 5, 4, 6}));
    EXPECT_EQ(split.present, 31);
}

TEST_F(AreaLists, SubtractingLeavesTheOtherCellsOfEveryArea) {
    for (int round = 0; round < 5000; ++round) {
        Array<RefArea> areas;
        for (auto i = random() % 5; i > 0; --i) ASSERT_TRUE(areas.Append(RandomArea()));
        CellSet expected = CellsOfAll(areas);
        const RefArea rectangle = RandomArea();
        for (const auto& cell : CellsOf(rectangle)) expected.erase(cell);
        ASSERT_TRUE(SubtractArea(areas, rectangle));
        ASSERT_EQ(CellsOfAll(areas), expected);
    }
}

TEST_F(AreaLists, AreasThatDoNotMeetKeepTheirPlaceInTheList) {
    Array<RefArea> areas;
    for (const RefArea area : {RefArea{9, 9, 0, 0}, RefArea{1, 3, 0, 0}, RefArea{5, 5, 0, 0}})
        ASSERT_TRUE(areas.Append(area));
    ASSERT_TRUE(SubtractArea(areas, {2, 2, 0, 0}));
    ASSERT_EQ(areas.Count(), 4u);
    EXPECT_EQ(areas[0], (RefArea{9, 9, 0, 0}));
    EXPECT_EQ(areas[1], (RefArea{1, 1, 0, 0}));
    EXPECT_EQ(areas[2], (RefArea{3, 3, 0, 0}));
    EXPECT_EQ(areas[3], (RefArea{5, 5, 0, 0}));
}

TEST_F(AreaLists, MergingKeepsTheCellsAndLeavesNoPairToJoin) {
    for (int round = 0; round < 5000; ++round) {
        Array<RefArea> areas;
        for (auto i = random() % 9; i > 0; --i) ASSERT_TRUE(areas.Append(RandomArea()));
        const CellSet expected = CellsOfAll(areas);
        MergeAreas(areas);
        ASSERT_EQ(CellsOfAll(areas), expected);
        for (u32 i = 0; i < areas.Count(); ++i) {
            for (u32 j = i + 1; j < areas.Count(); ++j) {
                const RefArea &a = areas[i], &b = areas[j];
                const bool rows = a.firstRow == b.firstRow && a.lastRow == b.lastRow;
                const bool columns = a.firstColumn == b.firstColumn && a.lastColumn == b.lastColumn;
                ASSERT_FALSE(rows && a.firstColumn <= b.lastColumn + 1 && b.firstColumn <= a.lastColumn + 1);
                ASSERT_FALSE(columns && a.firstRow <= b.lastRow + 1 && b.firstRow <= a.lastRow + 1);
            }
        }
    }
}

TEST_F(AreaLists, AListIsWholeWhenMemoryFails) {
    for (u64 n = 1;; ++n) {
        test::FailingAllocator allocator(n);
        {
            QuietMemoryScope quiet;
            Array<RefArea> areas;
            allocator.StopFailing();
            for (i32 i = 0; i < 10; ++i)
                ASSERT_TRUE(areas.Append({static_cast<u16>(i * 3), static_cast<u16>(i * 3 + 1), 0, 9}));
            allocator.FailAt(n);
            const bool good = SubtractArea(areas, {0, 100, 4, 5});
            ASSERT_EQ(areas.Count(), good ? 20u : 10u);
        }
        ASSERT_EQ(allocator.LiveBlocks(), 0u);
        if (!allocator.HasFailed()) break;
    }
}

}  // namespace
}  // namespace tally
