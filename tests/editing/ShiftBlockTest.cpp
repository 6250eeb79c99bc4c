#include "editing/ShiftBlock.h"

#include <cstdlib>

#include "editing/InsertDelete.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class ShiftedSheets : public Sandbox {
  protected:
    static Sheet& Fresh() {
        ForgetBooks();
        EXPECT_TRUE(CreateWorkbook(nullptr, false));
        return *CurrentSheet();
    }
    // Whole rows or whole columns from `at` on: inserted, or deleted when the count is below zero.
    static bool Change(bool byRow, i32 at, i32 count) {
        const u16 from = static_cast<u16>(at), to = static_cast<u16>(at + std::abs(count) - 1);
        const RefArea rows = {from, to, 0, 255};
        const RefArea columns = {0, 65535, static_cast<u8>(from), static_cast<u8>(to)};
        if (count > 0) return byRow ? InsertRowsOrCellsDown(rows) : InsertColumnsOrCellsRight(columns);
        return byRow ? DeleteRowsOrCellsUp(rows) : DeleteColumnsOrCellsLeft(columns);
    }
};

// ---- a frozen pane ------------------------------------------------------------------------------------

struct Pane {
    i32 scrolled, split, first;
    bool operator==(const Pane&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Pane& pane) {
    return out << pane.scrolled << " " << pane.split << " " << pane.first;
}

Pane PaneOf(const SheetView& view, bool rows) {
    return rows ? Pane{view.frozenFirstRow, view.splitRow, view.firstRow}
                : Pane{view.frozenFirstColumn, view.splitColumn, view.firstColumn};
}

void SetPane(SheetView& view, bool rows, const Pane& pane) {
    if (rows) {
        view.frozenFirstRow = static_cast<u16>(pane.scrolled);
        view.splitRow = static_cast<u16>(pane.split);
        view.firstRow = static_cast<u16>(pane.first);
    } else {
        view.frozenFirstColumn = static_cast<u8>(pane.scrolled);
        view.splitColumn = static_cast<u8>(pane.split);
        view.firstColumn = static_cast<u8>(pane.first);
    }
}

TEST_F(ShiftedSheets, AFrozenSplitGoesWithWhatIsPutInOrTakenOutAboveIt) {
    struct Row {
        Pane before;
        i32 at, count;
        Pane after;
    };
    const Row rows[] = {
        {{0, 5, 8}, 2, 2, {0, 7, 10}}, {{0, 5, 8}, 5, 1, {0, 6, 9}},  {{0, 5, 8}, 6, 1, {0, 5, 8}},
        {{0, 5, 8}, 0, 3, {0, 8, 11}}, {{0, 5, 8}, 2, -2, {0, 3, 6}}, {{0, 5, 8}, 4, -4, {0, 4, 7}},
        {{0, 5, 8}, 5, -2, {0, 5, 8}}, {{0, 5, 8}, 0, -9, {0, 0, 3}}, {{3, 5, 8}, 0, -4, {3, 3, 6}},
        {{3, 5, 8}, 4, -1, {3, 4, 7}}, {{0, 5, 5}, 2, -2, {0, 3, 3}}, {{0, 0, 8}, 2, 2, {0, 0, 8}},
    };
    const Pane other = {1, 40, 41};
    for (const bool byRow : {true, false}) {
        for (const Row& row : rows) {
            Sheet& sheet = Fresh();
            sheet.viewFlags |= VIEW_FROZEN;
            SetPane(sheet.view, byRow, row.before);
            SetPane(sheet.view, !byRow, other);
            ASSERT_TRUE(Change(byRow, row.at, row.count));
            EXPECT_EQ(PaneOf(sheet.view, byRow), row.after) << byRow << " " << &row - rows;
            EXPECT_EQ(PaneOf(sheet.view, !byRow), other) << byRow << " " << &row - rows;
            ASSERT_TRUE(UndoLast());
            EXPECT_EQ(PaneOf(sheet.view, byRow), row.before) << byRow << " " << &row - rows;
        }
    }
}

TEST_F(ShiftedSheets, AFrozenSplitStaysOnTheSheet) {
    Sheet& sheet = Fresh();
    sheet.viewFlags |= VIEW_FROZEN;
    SetPane(sheet.view, false, {0, 250, 253});
    ASSERT_TRUE(Change(false, 2, 4));
    EXPECT_EQ(PaneOf(sheet.view, false), (Pane{0, 254, 255}));
    ASSERT_TRUE(Change(false, 2, 4));
    EXPECT_EQ(PaneOf(sheet.view, false), (Pane{0, 255, 255}));
    SetPane(sheet.view, true, {0, 65530, 65533});
    ASSERT_TRUE(Change(true, 2, 4));
    EXPECT_EQ(PaneOf(sheet.view, true), (Pane{0, 65534, 65535}));
    ASSERT_TRUE(Change(true, 2, 4));
    EXPECT_EQ(PaneOf(sheet.view, true), (Pane{0, 65535, 65535}));
}

TEST_F(ShiftedSheets, ASplitThatIsNotFrozenStaysAndSoDoesOneBesideMovedCells) {
    Sheet& sheet = Fresh();
    sheet.view.splitRow = sheet.view.splitColumn = 5;
    ASSERT_TRUE(Change(true, 1, 1) && Change(false, 1, 1));
    sheet.viewFlags |= VIEW_FROZEN;
    ASSERT_TRUE(InsertRowsOrCellsDown({1, 1, 0, 3}));
    ASSERT_TRUE(InsertColumnsOrCellsRight({0, 7, 1, 1}));
    EXPECT_EQ(sheet.view.splitRow, 5);
    EXPECT_EQ(sheet.view.splitColumn, 5);
}

// ---- lists --------------------------------------------------------------------------------------------

TEST_F(ShiftedSheets, SizesGoWithWholeRowsAndColumnsAlone) {
    for (const bool byRow : {true, false}) {
        Sheet& sheet = Fresh();
        const auto last = [&] { return byRow ? i32{sheet.rows.Last().row} : i32{sheet.columns.Last().column}; };
        ASSERT_TRUE(SetRowInfo(sheet.rows, {9, 0, 600}) && SetColumnInfo(sheet.columns, {9, 0, 600, 15}));
        ASSERT_TRUE(Change(byRow, 3, 2));
        EXPECT_EQ(last(), 11);
        ASSERT_TRUE(Change(byRow, 12, 1));
        EXPECT_EQ(last(), 11);
        ASSERT_TRUE(Change(byRow, 0, -4));
        EXPECT_EQ(last(), 7);
        ASSERT_TRUE(InsertRowsOrCellsDown({1, 1, 0, 3}));
        ASSERT_TRUE(InsertColumnsOrCellsRight({1, 3, 1, 1}));
        EXPECT_EQ(last(), 7);
        EXPECT_EQ(byRow ? sheet.columns.Last().column : sheet.rows.Last().row, 9);
    }
}

TEST_F(ShiftedSheets, MergesArraysAndLinksGoWithTheirFirstCell) {
    struct Row {
        RefArea area;
        i32 rows, columns;
        RefArea before, after;
    };
    const Row rows[] = {
        {{4, 9, 2, 5}, 3, 0, {5, 6, 2, 3}, {8, 9, 2, 3}},  {{4, 9, 2, 5}, 0, 2, {5, 6, 2, 3}, {5, 6, 4, 5}},
        {{4, 9, 2, 5}, -2, 0, {4, 4, 2, 5}, {2, 2, 2, 5}}, {{4, 9, 2, 5}, 0, -1, {4, 9, 2, 2}, {4, 9, 1, 1}},
        {{4, 9, 2, 5}, 3, 0, {3, 3, 2, 3}, {3, 3, 2, 3}},  {{4, 9, 2, 5}, 3, 0, {5, 6, 6, 7}, {5, 6, 6, 7}},
    };
    for (const Row& row : rows) {
        Sheet& sheet = Fresh();
        Hyperlink* link = sheet.hyperlinks.AppendDefault();
        ASSERT_TRUE(link && sheet.mergedAreas.Append(row.before) &&
                    sheet.arrayFormulas.Append({row.before, 0, 0}));
        link->area = row.before;
        ASSERT_TRUE(ShiftBlock(row.area, row.rows, row.columns));
        ASSERT_EQ(sheet.mergedAreas.Count() + sheet.arrayFormulas.Count() + sheet.hyperlinks.Count(), 3u);
        EXPECT_EQ(sheet.mergedAreas[0], row.after) << &row - rows;
        EXPECT_EQ(sheet.arrayFormulas[0].area, row.after) << &row - rows;
        EXPECT_EQ(sheet.hyperlinks[0].area, row.after) << &row - rows;
        EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
    }
}

TEST_F(ShiftedSheets, WhatLiesInTheLostCellsGoesAndTheOthersStay) {
    Sheet& sheet = Fresh();
    for (const RefArea& area : {RefArea{1, 1, 1, 1}, RefArea{3, 3, 2, 3}, RefArea{8, 8, 2, 3}}) {
        Hyperlink* link = sheet.hyperlinks.AppendDefault();
        ASSERT_TRUE(link && sheet.mergedAreas.Append(area) && sheet.arrayFormulas.Append({area, 0, 0}));
        link->area = area;
        link->kind = static_cast<u16>(area.firstRow);
    }
    // Rows 5 to 9 of the block go up by three: what stood in rows 2 to 4 is lost.
    ASSERT_TRUE(ShiftBlock({5, 9, 2, 5}, -3, 0));
    ASSERT_EQ(sheet.mergedAreas.Count(), 2u);
    ASSERT_EQ(sheet.arrayFormulas.Count(), 2u);
    ASSERT_EQ(sheet.hyperlinks.Count(), 2u);
    EXPECT_EQ(sheet.mergedAreas[0], (RefArea{1, 1, 1, 1}));
    EXPECT_EQ(sheet.mergedAreas[1], (RefArea{5, 5, 2, 3}));
    EXPECT_EQ(sheet.hyperlinks[1].kind, 8);
    EXPECT_EQ(sheet.arrayFormulas[1].area, (RefArea{5, 5, 2, 3}));
}

TEST_F(ShiftedSheets, TheLostAreaIsWhatTheBlockCovers) {
    struct Row {
        i32 rows, columns;
        RefArea lost;
    };
    const RefArea from = {4, 9, 2, 5};
    for (const Row& row : {Row{2, 0, {10, 11, 2, 5}}, Row{-2, 0, {2, 3, 2, 5}}, Row{0, 2, {4, 9, 6, 7}},
                           Row{0, -1, {4, 9, 1, 1}}, Row{1, 0, {10, 10, 2, 5}}, Row{-1, 0, {3, 3, 2, 5}},
                           Row{0, 1, {4, 9, 6, 6}}, Row{0, -2, {4, 9, 0, 1}}, Row{8, 0, {10, 17, 2, 5}},
                           Row{0, 9, {4, 9, 6, 14}}}) {
        EXPECT_EQ(LostArea({0, 0, from, row.rows, row.columns}), row.lost) << row.rows << " " << row.columns;
    }
}

}  // namespace
}  // namespace tally
