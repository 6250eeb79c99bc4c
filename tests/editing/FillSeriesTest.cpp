#include "editing/FillSeries.h"

#include "display/Calendar.h"
#include "editing/StoreEntry.h"
#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Series : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ConnectUndo();
    }
    void TearDown() override {
        ConnectUndo();
        Sandbox::TearDown();
    }
    // As the user types it, with the format that it proposes.
    static void Type(std::string_view cell, std::string_view text) {
        EntryTarget target;
        target.book = CurrentBook();
        target.sheet = CurrentWorkbook()->currentSheet;
        ReadCellName(cell, target.refRow, target.refColumn);
        target.area = {static_cast<u16>(target.refRow), static_cast<u16>(target.refRow),
                       static_cast<u8>(target.refColumn), static_cast<u8>(target.refColumn)};
        target.undoKind = -1;
        i32 outcome = 0;
        ASSERT_TRUE(StoreEntry(target, Wide(text), outcome));
    }
    static void Select(u16 firstRow, u16 lastRow, u8 firstColumn, u8 lastColumn) {
        CurrentSheet()->view.selection = {firstRow, lastRow, firstColumn, lastColumn};
    }
    static bool Fill(i32 type, double step, i32 unit = SERIES_DAY) {
        SeriesRequest request;
        request.type = type;
        request.step = step;
        request.unit = unit;
        return FillSeries(request);
    }
    // What stands down a column, separated by blanks.
    static std::string Column(char column, i32 rows) {
        std::string out;
        for (i32 row = 1; row <= rows; ++row) {
            const std::string shown = Shown(std::string(1, column) + std::to_string(row));
            out += (row > 1 ? " " : "") + (shown.empty() ? "-" : shown);
        }
        return out;
    }
    static std::string Proposed(i32 direction) {
        WideText text;
        EXPECT_TRUE(ProposedStep(direction, text));
        return Narrow(text);
    }
};

TEST_F(Series, LinearAndGrowth) {
    Enter("A1", "1");
    Enter("B1", "2");
    Select(0, 4, 0, 0);
    ASSERT_TRUE(Fill(SERIES_LINEAR, 2.5));
    EXPECT_EQ(Column('A', 5), "1 3.5 6 8.5 11");
    Select(0, 4, 1, 1);
    ASSERT_TRUE(Fill(SERIES_GROWTH, -3));
    EXPECT_EQ(Column('B', 5), "2 -6 18 -54 162");
}

TEST_F(Series, AlongRowsEachRowIsALine) {
    Enter("A1", "1");
    Enter("A2", "x");
    Enter("A3", "10");
    Enter("C2", "stays");
    Select(0, 2, 0, 2);
    SeriesRequest request;
    request.direction = SERIES_ROWS;
    ASSERT_TRUE(FillSeries(request));
    EXPECT_EQ(Column('C', 3), "3 stays 12");
    EXPECT_EQ(Column('B', 3), "2 - 11");
}

TEST_F(Series, ALineThatBeginsWithNoNumberStays) {
    Enter("A1", "text");
    Enter("A2", "old");
    Enter("B1", "=1+2");
    Enter("D1", "TRUE");
    Enter("D2", "7");
    Enter("E1", "5");
    Select(0, 2, 0, 4);
    ASSERT_TRUE(Fill(SERIES_LINEAR, 1));
    EXPECT_EQ(Column('A', 3), "text old -");
    EXPECT_EQ(Column('B', 3), "3 4 5");
    EXPECT_EQ(Column('C', 3), "- - -");
    EXPECT_EQ(Column('D', 3), "TRUE 7 -");
    EXPECT_EQ(Column('E', 3), "5 6 7");
    EXPECT_NE(CellAtName("B1")->formula, nullptr);
}

TEST_F(Series, TheStopValueEndsALine) {
    struct Row {
        double start, step, stop;
        const char* expected;
    };
    const Row rows[] = {{1, 1, 3, "1 2 3 old old"},    {1, 1, 0, "1 old old old old"},
                        {1, -1, -1, "1 0 -1 old old"}, {1, -1, 5, "1 old old old old"},
                        {1, 0, 5, "1 1 1 1 1"},        {4, 0, 3, "4 old old old old"},
                        {1, 1, 2.5, "1 2 old old old"}};
    for (const Row& row : rows) {
        Enter("A1", std::to_string(static_cast<int>(row.start)));
        for (const char* cell : {"A2", "A3", "A4", "A5"}) Enter(cell, "old");
        Select(0, 4, 0, 0);
        SeriesRequest request;
        request.step = row.step;
        request.hasStop = true;
        request.stop = row.stop;
        ASSERT_TRUE(FillSeries(request));
        EXPECT_EQ(Column('A', 5), row.expected);
    }
}

TEST_F(Series, Dates) {
    struct Row {
        const char* start;
        i32 unit;
        double step;
        const char* expected;
    };
    const Row rows[] = {
        {"12/30/2003", SERIES_DAY, 1, "12/30/2003 12/31/2003 1/1/2004 1/2/2004"},
        // A Friday; then over a weekend, from within one, and backwards.
        {"1/2/2004", SERIES_WEEKDAY, 1, "1/2/2004 1/5/2004 1/6/2004 1/7/2004"},
        {"1/3/2004", SERIES_WEEKDAY, 1, "1/3/2004 1/5/2004 1/6/2004 1/7/2004"},
        {"1/5/2004", SERIES_WEEKDAY, -1, "1/5/2004 1/2/2004 1/1/2004 12/31/2003"},
        {"1/2/2004", SERIES_WEEKDAY, 6, "1/2/2004 1/12/2004 1/20/2004 1/28/2004"},
        {"1/2/2004", SERIES_WEEKDAY, 0, "1/2/2004 1/2/2004 1/2/2004 1/2/2004"},
        // 31 February is 2 or 3 March.
        {"1/31/2003", SERIES_MONTH, 1, "1/31/2003 3/3/2003 4/3/2003 5/3/2003"},
        {"1/31/2004", SERIES_MONTH, 1, "1/31/2004 3/2/2004 4/2/2004 5/2/2004"},
        {"1/15/2004", SERIES_MONTH, -2, "1/15/2004 11/15/2003 9/15/2003 7/15/2003"},
        {"2/29/2004", SERIES_YEAR, 1, "2/29/2004 3/1/2005 3/1/2006 3/1/2007"},
        {"2/29/2004", SERIES_YEAR, 4, "2/29/2004 2/29/2008 2/29/2012 2/29/2016"},
        {"1/1/2004", SERIES_DAY, 1.9, "1/1/2004 1/2/2004 1/3/2004 1/4/2004"},
    };
    for (const Row& row : rows) {
        Type("A1", row.start);
        Select(0, 3, 0, 0);
        ASSERT_TRUE(Fill(SERIES_DATE, row.step, row.unit));
        EXPECT_EQ(Column('A', 4), row.expected) << row.start << " " << row.step;
    }
}

TEST_F(Series, DatesOfABookThatBeginsIn1904) {
    CurrentWorkbook()->date1904 = 1;
    Type("A1", "1/31/2004");
    const double first = CellAtName("A1")->value.number;
    Select(0, 2, 0, 0);
    ASSERT_TRUE(Fill(SERIES_DATE, 1, SERIES_MONTH));
    EXPECT_EQ(Column('A', 3), "1/31/2004 3/2/2004 4/2/2004");
    EXPECT_EQ(CellAtName("A2")->value.number, first + 31);
    EXPECT_EQ(CellAtName("A2")->value.number + DATE_1904_OFFSET, DateToSerial(2004, 3, 2));
}

TEST_F(Series, OutsideOfTheCalendarALineEnds) {
    for (const auto& [start, unit, step] : {std::tuple("2958465", SERIES_DAY, 1.0),
                                            {"1", SERIES_MONTH, -5.0},
                                            {"1", SERIES_DAY, 1e300},
                                            {"1", SERIES_YEAR, 2e6},
                                            {"1", SERIES_MONTH, -2e6},
                                            {"-5", SERIES_WEEKDAY, 1.0},
                                            {"1E300", SERIES_DAY, 1.0}}) {
        Enter("A1", start);
        Enter("A2", "old");
        Select(0, 3, 0, 0);
        ASSERT_TRUE(Fill(SERIES_DATE, step, unit));
        EXPECT_EQ(Shown("A2"), "old") << start;
    }
    Enter("A1", "1E300");
    Select(0, 3, 0, 0);
    ASSERT_TRUE(Fill(SERIES_GROWTH, 1e10));
    EXPECT_EQ(Shown("A2"), "old");
}

TEST_F(Series, EachCellTakesTheLookOfTheFirst) {
    Type("A1", "5%");
    Enter("A3", "x");
    Select(0, 2, 0, 0);
    ASSERT_TRUE(Fill(SERIES_LINEAR, 0.01));
    EXPECT_EQ(Column('A', 3), "5% 6% 7%");
    EXPECT_EQ(CellAtName("A3")->format, CellAtName("A1")->format);
}

TEST_F(Series, ArraysAndLinksInTheSelectionGoAndComeBack) {
    Enter("A1", "1");
    Enter("B1", "=A1");
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(sheet.arrayFormulas.Append({{0, 0, 1, 1}, 0, 0}));
    ASSERT_TRUE(sheet.arrayFormulas.Append({{9, 9, 1, 1}, 0, 0}));
    Hyperlink* link = sheet.hyperlinks.AppendDefault();
    ASSERT_TRUE(link && link->target.Assign(u"x"));
    link->area = {1, 1, 0, 0};
    Enter("C1", "=SUM(A1:A3)");
    Select(0, 2, 0, 1);
    const auto before = DumpBook(CurrentBook());
    ASSERT_TRUE(Fill(SERIES_LINEAR, 1));
    EXPECT_EQ(sheet.arrayFormulas.Count(), 1u);
    EXPECT_TRUE(sheet.hyperlinks.IsEmpty());
    EXPECT_EQ(Shown("C1"), "6");
    ASSERT_EQ(UndoCount(), 1u);
    EXPECT_EQ(LastUndo()->kind, UNDO_FILL_SERIES);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
    EXPECT_EQ(Shown("C1"), "1");
}

TEST_F(Series, RefusalsChangeNothing) {
    Enter("A1", "1");
    Select(0, 2, 0, 0);
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({1, 1, 0, 1}));
    EXPECT_FALSE(Fill(SERIES_LINEAR, 1));
    EXPECT_EQ(Narrow(Headless().boxes.Last().text), "不能对合并单元格作部分改动");
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{2, 3, 0, 0}, 0, 0}));
    EXPECT_FALSE(Fill(SERIES_LINEAR, 1));
    EXPECT_EQ(Narrow(Headless().boxes.Last().text), "不能改变数组的某一部分");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_FALSE(Fill(SERIES_LINEAR, 1));
    EXPECT_EQ(Narrow(Headless().boxes.Last().text), "单元格有保护");
    EXPECT_EQ(CurrentSheet()->cells.count, 1u);
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(Series, TheDialogsProposals) {
    EXPECT_EQ(ProposedDirection({0, 5, 0, 0}), SERIES_COLUMNS);
    EXPECT_EQ(ProposedDirection({0, 0, 0, 5}), SERIES_ROWS);
    EXPECT_EQ(ProposedDirection({0, 2, 0, 2}), SERIES_ROWS);
    Enter("A1", "1");
    Enter("A2", "3.5");
    Enter("B1", "x");
    Select(0, 4, 0, 1);
    EXPECT_EQ(Proposed(SERIES_COLUMNS), "2.5");
    EXPECT_EQ(Proposed(SERIES_ROWS), "1");
    Select(0, 0, 0, 0);
    EXPECT_EQ(Proposed(SERIES_COLUMNS), "1");
    Enter("A2", "=1/3+1");
    Select(0, 4, 0, 1);
    EXPECT_EQ(Proposed(SERIES_COLUMNS), "0.333333333333333");
}

// The first cells are brought up to date before they are read.
TEST_F(Series, StaleFirstCellsAreCalculated) {
    for (const bool down : {true, false}) {
        Enter("A1", "5");
        for (const char* cell : {"D2", "E2", "D3"}) Enter(cell, "=$A$1*2");
        Shown("D2");
        Enter("A1", "50");
        Select(1, 3, 3, 5);
        SeriesRequest request;
        request.direction = down ? SERIES_COLUMNS : SERIES_ROWS;
        ASSERT_TRUE(FillSeries(request));
        EXPECT_EQ(Shown(down ? "D3" : "E2"), "101");
        EXPECT_EQ(Shown(down ? "E4" : "F3"), "102");
        ASSERT_TRUE(UndoLast());
    }
}

}  // namespace
}  // namespace tally
