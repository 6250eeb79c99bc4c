#include "editing/Guards.h"

#include "editing/VisibleRuns.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Guards : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
        format.flags = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, open));
    }
    // What a refusal says; empty when there is none. One box at most.
    template <typename Guard>
    static std::string Said(Guard guard, const RefArea& area) {
        Headless().boxes.Clear();
        const bool refused = guard(*CurrentSheet(), area);
        EXPECT_EQ(Headless().boxes.Count(), refused ? 1u : 0u);
        return refused ? Narrow(Headless().boxes.Last().text) : "";
    }
    void Open(std::string_view cell) {
        Enter(cell, "1");
        CellAtName(cell)->format = open;
    }
    u16 open = 0;
};

constexpr const char* LOCKED = "单元格有保护";
constexpr const char* ARRAY = "不能改变数组的某一部分";
constexpr const char* MERGE = "不能对合并单元格作部分改动";

TEST_F(Guards, OneLockedCellAnywhereInTheAreaIsEnough) {
    for (const char* cell : {"B2", "C2", "B3", "C3"}) Open(cell);
    EXPECT_EQ(Said(RefuseLockedCell, AreaOf("A1", "D4")), "");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_EQ(Said(RefuseLockedCell, AreaOf("B2", "C3")), "");
    for (const auto& [first, last] :
         {std::pair("A2", "C3"), {"B1", "C3"}, {"B2", "D3"}, {"B2", "C4"}, {"A1", "A1"}})
        EXPECT_EQ(Said(RefuseLockedCell, AreaOf(first, last)), LOCKED) << first << last;
    // The last cell of the area alone.
    CellAtName("C3")->format = DEFAULT_CELL_FORMAT;
    EXPECT_EQ(Said(RefuseLockedCell, AreaOf("B2", "C3")), LOCKED);
    EXPECT_EQ(Said(RefuseLockedCell, AreaOf("B2", "C2")), "");
}

// Below the last used row every cell of a column looks as the column does.
TEST_F(Guards, EmptyCellsAreLockedAsTheirColumnIs) {
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, 0, 2000, open}));
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_EQ(Said(RefuseLockedCell, {0, 65535, 1, 1}), "");
    EXPECT_EQ(Said(RefuseLockedCell, {100, 65535, 1, 1}), "");
    EXPECT_EQ(Said(RefuseLockedCell, {100, 65535, 1, 2}), LOCKED);
    EXPECT_EQ(Said(RefuseLockedCell, {100, 100, 0, 1}), LOCKED);
    Enter("B5", "x");
    CellAtName("B5")->format = DEFAULT_CELL_FORMAT;
    EXPECT_EQ(Said(RefuseLockedCell, {0, 65535, 1, 1}), LOCKED);
    EXPECT_EQ(Said(RefuseLockedCell, {0, 3, 1, 1}), "");
    EXPECT_EQ(Said(RefuseLockedCell, {4, 4, 1, 1}), LOCKED);
    EXPECT_EQ(Said(RefuseLockedCell, {5, 65535, 1, 1}), "");
    // Every cell of column C is open as far as it is used, the column is not.
    for (i32 row = 1; row <= 5; ++row) Open("C" + std::to_string(row));
    EXPECT_EQ(Said(RefuseLockedCell, AreaOf("C1", "C5")), "");
    EXPECT_EQ(Said(RefuseLockedCell, AreaOf("C1", "C6")), LOCKED);
}

TEST_F(Guards, ArraysAndMergesAreCutWhenAPartStaysOutside) {
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({AreaOf("B2", "C3"), 0, 0}));
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("F2", "G3")));
    DataTable table;
    table.area = AreaOf("B7", "C8");
    ASSERT_TRUE(CurrentSheet()->dataTables.Append(table));
    const struct {
        const char *first, *last;
        bool array, merge, met;
    } rows[] = {
        {"B2", "C3", false, false, false}, {"A1", "D4", false, false, false}, {"B2", "C2", true, false, false},
        {"C3", "D4", true, false, false},  {"A1", "A9", false, false, false}, {"F2", "G3", false, false, true},
        {"E1", "H9", false, false, true},  {"G3", "G3", false, true, true},   {"C1", "F9", false, true, true},
        {"B8", "C9", true, false, false},  {"B7", "C8", false, false, false}, {"D2", "E3", false, false, false},
    };
    for (const auto& row : rows) {
        const RefArea area = AreaOf(row.first, row.last);
        const bool cutsArray = row.array || std::string_view(row.first) == "C1";
        EXPECT_EQ(Said(RefuseCutArray, area), cutsArray ? ARRAY : "") << row.first << row.last;
        EXPECT_EQ(Said(RefuseCutMerge, area), row.merge ? MERGE : "") << row.first << row.last;
        EXPECT_EQ(Said(RefuseMetMerge, area), row.met ? MERGE : "") << row.first << row.last;
    }
}

TEST_F(Guards, TheOrderIsProtectedArrayMerge) {
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({AreaOf("A1", "B1"), 0, 0}));
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("A2", "B2")));
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    const RefArea area = AreaOf("A1", "A2");
    EXPECT_EQ(Said(RefuseEdit, area), LOCKED);
    CurrentSheet()->viewFlags &= static_cast<u16>(~VIEW_PROTECTED);
    EXPECT_EQ(Said(RefuseEdit, area), ARRAY);
    CurrentSheet()->arrayFormulas.Clear();
    EXPECT_EQ(Said(RefuseEdit, area), MERGE);
    CurrentSheet()->mergedAreas.Clear();
    EXPECT_EQ(Said(RefuseEdit, area), "");
}

// ---- what a filter leaves to be seen -------------------------------------------------------------------

std::string Text(const Array<LineRun>& runs) {
    std::string out;
    for (const LineRun& run : runs) out += std::to_string(run.first) + "-" + std::to_string(run.last) + " ";
    return out;
}

class VisibleLines : public Sandbox {
  protected:
    static std::string Rows(u16 first, u16 last) {
        Array<LineRun> runs;
        EXPECT_TRUE(VisibleRowRuns(*CurrentSheet(), {first, last, 0, 0}, runs));
        return Text(runs);
    }
    static std::string Columns(u8 first, u8 last) {
        Array<LineRun> runs;
        EXPECT_TRUE(VisibleColumnRuns(*CurrentSheet(), {0, 0, first, last}, runs));
        return Text(runs);
    }
};

TEST_F(VisibleLines, RunsLieBetweenTheHiddenLines) {
    for (const u16 row : {u16{3}, u16{4}, u16{7}, u16{65535}})
        ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {row, ROW_HIDDEN | ROW_CUSTOM_HEIGHT, 255}));
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {5, ROW_CUSTOM_HEIGHT, 255}));
    EXPECT_EQ(Rows(0, 9), "0-2 5-6 8-9 ");
    EXPECT_EQ(Rows(3, 7), "5-6 ");
    EXPECT_EQ(Rows(3, 4), "");
    EXPECT_EQ(Rows(4, 4), "");
    EXPECT_EQ(Rows(5, 5), "5-5 ");
    EXPECT_EQ(Rows(2, 3), "2-2 ");
    EXPECT_EQ(Rows(4, 5), "5-5 ");
    EXPECT_EQ(Rows(6, 7), "6-6 ");
    EXPECT_EQ(Rows(7, 8), "8-8 ");
    EXPECT_EQ(Rows(8, 65535), "8-65534 ");
    for (const u8 column : {u8{0}, u8{2}, u8{255}})
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {column, COLUMN_HIDDEN, 2000, 15}));
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, COLUMN_USER_WIDTH, 2000, 15}));
    EXPECT_EQ(Columns(0, 255), "1-1 3-254 ");
    EXPECT_EQ(Columns(3, 9), "3-9 ");
    EXPECT_EQ(Columns(2, 2), "");
}

TEST_F(VisibleLines, OnlyAFilterWithACriterionHides) {
    Sheet& sheet = *CurrentSheet();
    EXPECT_FALSE(HasHiddenFilterRows(sheet));
    sheet.filterState = FILTER_ADVANCED;
    EXPECT_TRUE(HasHiddenFilterRows(sheet));
    sheet.filterState = FILTER_AUTO;
    EXPECT_FALSE(HasHiddenFilterRows(sheet));
    ASSERT_TRUE(sheet.filterColumns.AppendDefault() && sheet.filterColumns.AppendDefault());
    EXPECT_FALSE(HasHiddenFilterRows(sheet));
    FilterColumn& column = sheet.filterColumns[1];
    column.top10 = true;
    EXPECT_TRUE(HasHiddenFilterRows(sheet));
    column.top10 = false;
    for (FilterCondition& condition : column.conditions) {
        condition.kind = 6;
        EXPECT_TRUE(HasHiddenFilterRows(sheet));
        sheet.filterState = 0;
        EXPECT_FALSE(HasHiddenFilterRows(sheet));
        sheet.filterState = FILTER_AUTO;
        condition.kind = 0;
    }
}

TEST_F(VisibleLines, PartlyHiddenIsWhatHasHiddenAndShownCells) {
    Sheet& sheet = *CurrentSheet();
    for (const u16 row : {u16{3}, u16{4}}) ASSERT_TRUE(SetRowInfo(sheet.rows, {row, ROW_HIDDEN, 255}));
    for (const u8 column : {u8{6}, u8{7}})
        ASSERT_TRUE(SetColumnInfo(sheet.columns, {column, COLUMN_HIDDEN, 2000, 15}));
    const struct {
        RefArea area;
        bool partly;
    } rows[] = {
        {{0, 2, 0, 5}, false}, {{0, 3, 0, 5}, true},  {{4, 9, 0, 5}, true}, {{3, 4, 0, 5}, false},
        {{3, 3, 0, 5}, false}, {{5, 9, 0, 5}, false}, {{0, 2, 0, 6}, true}, {{0, 2, 7, 9}, true},
        {{0, 2, 6, 7}, false}, {{0, 2, 8, 9}, false}, {{2, 5, 5, 8}, true}, {{3, 4, 5, 8}, false},
        {{2, 5, 6, 7}, false}, {{3, 4, 6, 7}, false}, {{2, 4, 0, 0}, true}, {{3, 5, 0, 0}, true},
    };
    for (const auto& row : rows) {
        sheet.filterState = FILTER_ADVANCED;
        EXPECT_EQ(IsPartlyHidden(sheet, row.area), row.partly) << &row - rows;
        sheet.filterState = 0;
        EXPECT_FALSE(IsPartlyHidden(sheet, row.area)) << &row - rows;
    }
}

}  // namespace
}  // namespace tally
