#include "editing/Clipboard.h"

#include "base/MessageTable.h"
#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/RandomBook.h"

namespace tally {
namespace {

class ClipboardCells : public Sandbox {
  protected:
    static bool Copy(std::string_view first, std::string_view last) {
        return CopyCells(CurrentBook(), CurrentWorkbook()->currentSheet, AreaOf(first, last));
    }
    static bool Cut(std::string_view first, std::string_view last) {
        return CutCells(CurrentBook(), CurrentWorkbook()->currentSheet, AreaOf(first, last));
    }
    static std::string Text() {
        WideText text;
        EXPECT_TRUE(ClipboardBlockText(text));
        return Narrow(text);
    }
    static void HideRow(i32 row) {
        EXPECT_TRUE(SetRowInfo(CurrentSheet()->rows, {static_cast<u16>(row), ROW_HIDDEN, 255}));
        CurrentSheet()->filterState = FILTER_ADVANCED;
    }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
};

TEST_F(ClipboardCells, TheTextHasTabsBetweenCellsAndLineEndsBetweenRows) {
    Enter("A1", "1");
    Enter("B1", "=A1*2");
    Enter("A2", "text");
    Enter("C2", "TRUE");
    ASSERT_TRUE(Copy("A1", "C2"));
    EXPECT_EQ(Text(), "1\t2\r\ntext\t\tTRUE");
}

TEST_F(ClipboardCells, TheTextEndsWithTheLastCellThatShowsSomething) {
    Enter("B2", "x");
    Enter("B4", "y");
    EXPECT_TRUE(InsertCell(*CurrentSheet(), 5, 3, 16, Value(), FormulaTokens()));
    ASSERT_TRUE(Copy("A1", "E9"));
    EXPECT_EQ(Text(), "\r\n\tx\r\n\r\n\ty");
    ASSERT_TRUE(Copy("D1", "E3"));
    EXPECT_EQ(Text(), "");
}

TEST_F(ClipboardCells, TheTextShowsFormulasWhereTheSheetDoes) {
    Enter("A1", "3");
    Enter("B1", "=A1+1");
    CurrentSheet()->viewFlags |= VIEW_FORMULAS;
    ASSERT_TRUE(Copy("A1", "B1"));
    EXPECT_EQ(Text(), "3\t=A1+1");
}

TEST_F(ClipboardCells, TheTextFollowsTheNumberFormat) {
    Workbook& book = *CurrentWorkbook();
    CellFormat format = book.cellFormats[15];
    format.numberFormat = 10;
    u16 percent = 0;
    ASSERT_TRUE(FindOrAddCellFormat(book, format, percent));
    EXPECT_TRUE(InsertCell(*CurrentSheet(), 0, 0, percent, NumberValue(0.5), FormulaTokens()));
    ASSERT_TRUE(Copy("A1", "A1"));
    EXPECT_EQ(Text(), "50.00%");
}

TEST_F(ClipboardCells, StaleFormulasAreCopiedWithTheirNewValues) {
    Enter("A1", "1");
    Enter("A2", "=A1*10");
    Enter("A1", "7");
    ASSERT_TRUE(Copy("A2", "A2"));
    EXPECT_EQ(Clipboard().block.cells[0].value.number, 70);
    Enter("A1", "8");
    ASSERT_TRUE(Cut("A2", "A2"));
    EXPECT_EQ(Clipboard().block.cells[0].value.number, 80);
}

TEST_F(ClipboardCells, HiddenRowsOfAFilterAreLeftOut) {
    for (i32 row = 1; row <= 5; ++row) Enter("B" + std::to_string(row), std::to_string(row));
    HideRow(1);
    HideRow(3);
    ASSERT_TRUE(Copy("B1", "B5"));
    EXPECT_EQ(Text(), "1\r\n3\r\n5");
    const ClipboardBlock& held = Clipboard();
    EXPECT_TRUE(held.block.visibleOnly);
    EXPECT_EQ(held.block.area, AreaOf("B1", "B3"));
    ASSERT_EQ(held.rowPlaces.Count(), 3u);
    EXPECT_EQ(held.rowPlaces[2], 4);
    EXPECT_EQ(held.block.cells[2].row, 2);
}

TEST_F(ClipboardCells, RowsHiddenByHandAreCopied) {
    for (i32 row = 1; row <= 3; ++row) Enter("B" + std::to_string(row), std::to_string(row));
    HideRow(1);
    CurrentSheet()->filterState = 0;
    ASSERT_TRUE(Copy("B1", "B3"));
    EXPECT_EQ(Text(), "1\r\n2\r\n3");
    EXPECT_FALSE(Clipboard().block.visibleOnly);
}

TEST_F(ClipboardCells, AnAutoFilterHidesOnlyWhenAColumnHasACriterion) {
    const struct {
        bool top10;
        u8 first, second;
        bool visibleOnly;
    } rows[] = {{false, 0, 0, false}, {true, 0, 0, true}, {false, 6, 0, true}, {false, 0, 12, true}};
    Enter("B1", "1");
    HideRow(1);
    Sheet& sheet = *CurrentSheet();
    sheet.filterState = FILTER_AUTO;
    ASSERT_NE(sheet.filterColumns.AppendDefault(), nullptr);
    for (const auto& row : rows) {
        FilterColumn& column = sheet.filterColumns[0];
        column.top10 = row.top10;
        column.conditions[0].kind = row.first;
        column.conditions[1].kind = row.second;
        ASSERT_TRUE(Copy("B1", "B3"));
        EXPECT_EQ(Clipboard().block.visibleOnly, row.visibleOnly);
        // Rows that are all shown, or all hidden, are an ordinary block.
        ASSERT_TRUE(Copy("B3", "B4"));
        EXPECT_FALSE(Clipboard().block.visibleOnly);
        ASSERT_TRUE(Copy("B2", "B2"));
        EXPECT_FALSE(Clipboard().block.visibleOnly);
    }
}

TEST_F(ClipboardCells, AMergedAreaThatIsPartlyHiddenRefusesTheCopy) {
    Enter("A1", "1");
    ASSERT_TRUE(Copy("A1", "A1"));
    EXPECT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("A2", "B4")));
    HideRow(2);
    EXPECT_FALSE(Copy("A1", "C6"));
    EXPECT_EQ(LastBox(), Narrow(Message(MSG_PART_OF_MERGE)));
    EXPECT_EQ(Text(), "1");
    // One that is hidden whole does not.
    HideRow(1);
    HideRow(3);
    EXPECT_TRUE(Copy("A1", "C6"));
    EXPECT_EQ(Clipboard().block.merges.Count(), 0u);
}

TEST_F(ClipboardCells, ListsOfAFilteredBlockMoveTogether) {
    Sheet& sheet = *CurrentSheet();
    Hyperlink* link = sheet.hyperlinks.AppendDefault();
    link->area = AreaOf("A2", "A5");
    EXPECT_TRUE(sheet.mergedAreas.Append(AreaOf("B5", "C5")));
    HideRow(1);
    HideRow(3);
    ASSERT_TRUE(Copy("A1", "C6"));
    EXPECT_EQ(Clipboard().block.links[0].link.area, AreaOf("A2", "A3"));
    EXPECT_EQ(Clipboard().block.merges[0], AreaOf("B3", "C3"));
}

TEST_F(ClipboardCells, CutTakesTheCellsAwayAtOnceAndUndoKeepsTheBlock) {
    Enter("A1", "1");
    Enter("B1", "=A1+1");
    const std::string before = DumpBooks();
    ASSERT_TRUE(Cut("A1", "A1"));
    EXPECT_EQ(CellAtName("A1"), nullptr);
    EXPECT_EQ(Shown("B1"), "1");
    EXPECT_TRUE(Clipboard().fromCut);
    EXPECT_EQ(UndoLabel(), u"剪切");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpBooks(), before);
    EXPECT_TRUE(Clipboard().blockExists);
    EXPECT_EQ(Text(), "1");
}

TEST_F(ClipboardCells, CutRefusesInTheOrderOfTheGuards) {
    Sheet& sheet = *CurrentSheet();
    Enter("A1", "1");
    EXPECT_TRUE(sheet.arrayFormulas.Append({AreaOf("A1", "A3"), 0, 0}));
    EXPECT_TRUE(sheet.mergedAreas.Append(AreaOf("B1", "B3")));
    EXPECT_FALSE(Cut("B1", "B2"));
    EXPECT_EQ(LastBox(), Narrow(Message(MSG_PART_OF_MERGE)));
    EXPECT_FALSE(Cut("A1", "B2"));
    EXPECT_EQ(LastBox(), Narrow(Message(MSG_PART_OF_ARRAY)));
    sheet.viewFlags |= VIEW_PROTECTED;
    EXPECT_FALSE(Cut("A1", "B2"));
    EXPECT_EQ(LastBox(), Narrow(Message(MSG_PROTECTED_CELL)));
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_FALSE(Clipboard().blockExists);
    EXPECT_EQ(Shown("A1"), "1");
}

TEST_F(ClipboardCells, OnAProtectedSheetACutCellStaysUnlocked) {
    Sheet& sheet = *CurrentSheet();
    Workbook& book = *CurrentWorkbook();
    CellFormat format = book.cellFormats[15];
    format.flags = 0;
    u16 unlocked = 0;
    ASSERT_TRUE(FindOrAddCellFormat(book, format, unlocked));
    for (const u8 column : {u8{0}, u8{2}})
        EXPECT_TRUE(InsertCell(sheet, 0, column, unlocked, NumberValue(5), FormulaTokens()));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {1, 0, 2000, unlocked}));
    sheet.viewFlags |= VIEW_PROTECTED;
    ASSERT_TRUE(Cut("A1", "C1"));
    EXPECT_EQ(sheet.cells.count, 2u);
    ASSERT_NE(CellAtName("C1"), nullptr);
    EXPECT_EQ(CellAtName("C1")->format, unlocked);
    ASSERT_NE(CellAtName("A1"), nullptr);
    EXPECT_EQ(CellAtName("A1")->format, unlocked);
    EXPECT_EQ(CellAtName("A1")->calcState, CALC_BLANK);
}

TEST_F(ClipboardCells, CuttingWholeColumnsTakesTheirWidthsAndUndoBringsThemBack) {
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, 0, 5000, 15}));
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {2, 0, 6000, 15}));
    const std::string before = DumpBooks();
    ASSERT_TRUE(CutCells(0, 0, {0, 65535, 1, 1}));
    ASSERT_EQ(CurrentSheet()->columns.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->columns[0].column, 2);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpBooks(), before);
}

TEST_F(ClipboardCells, TheBlockGoesWithItsBook) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Enter("A1", "5");
    ASSERT_TRUE(Copy("A1", "A1"));
    RemoveBook(0);
    ASSERT_TRUE(Clipboard().blockExists);
    EXPECT_EQ(Clipboard().block.book, 0);
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    RemoveBook(0);
    EXPECT_FALSE(Clipboard().blockExists);
}

TEST_F(ClipboardCells, UndoOfACutGivesRandomBooksBack) {
    for (u32 seed = 1; seed <= 60; ++seed) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        std::mt19937 random(seed);
        FillBookAtRandom(random);
        const std::string before = DumpBooks();
        const u16 row = static_cast<u16>(random() % 15);
        const u8 column = static_cast<u8>(random() % 10);
        RefArea area = {row, static_cast<u16>(row + random() % 12), column,
                        static_cast<u8>(column + random() % 6)};
        if (seed % 7 == 0) area = {0, 65535, column, static_cast<u8>(column + 2)};
        if (!CutCells(0, 0, area)) continue;
        WalkArea(CurrentSheet()->cells, area, [](u16, const CellRecord&) {
            ADD_FAILURE();
            return false;
        });
        ASSERT_TRUE(UndoLast());
        ASSERT_EQ(DumpBooks(), before) << seed;
    }
}

TEST_F(ClipboardCells, ACutThatFindsNoMemoryChangesNothing) {
    std::mt19937 random(5);
    FillBookAtRandom(random);
    const std::string before = DumpBooks();
    ForgetBooks();
    u32 refused = 0;
    bool failed = true;
    for (u64 n = 1; failed && n < 5000; ++n) {
        test::FailingAllocator allocator;
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        random.seed(5);
        FillBookAtRandom(random);
        ASSERT_EQ(DumpBooks(), before);
        allocator.FailAt(n);
        const bool cut = CutCells(0, 0, {0, 40, 0, 20});
        failed = allocator.HasFailed();
        allocator.StopFailing();
        refused += !cut;
        const bool undone = cut && UndoCount();
        if (undone) ASSERT_TRUE(UndoLast());
        if (!cut || undone) ASSERT_EQ(DumpBooks(), before) << n;
        ForgetBooks();
        ASSERT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_FALSE(failed);
    EXPECT_GT(refused, 10u);
}

// ---- what a filter hides, part by part ------------------------------------------------------------------

// Rows 2 and 4 and columns B and D of A1:E5 are hidden: of five lines 0, 2 and 4 are left.
class CompressedBlocks : public ClipboardCells {
  protected:
    void SetUp() override {
        ClipboardCells::SetUp();
        for (const u16 line : {u16{1}, u16{3}}) {
            HideRow(line);
            ASSERT_TRUE(
                SetColumnInfo(CurrentSheet()->columns, {static_cast<u8>(line), COLUMN_HIDDEN, 2000, 15}));
        }
    }
    static const CellBlock& Block() {
        EXPECT_TRUE(Copy("A1", "E5"));
        return Clipboard().block;
    }
};

TEST_F(CompressedBlocks, CellsOfVisibleLinesMoveTogether) {
    for (const char column : {'A', 'B', 'C', 'D', 'E'})
        for (const char row : {'1', '2', '3', '4', '5'})
            Enter(std::string{column, row}, std::to_string(10 * (column - 'A') + row - '1'));
    const CellBlock& block = Block();
    EXPECT_EQ(block.area, AreaOf("A1", "C3"));
    EXPECT_TRUE(block.visibleOnly);
    ASSERT_EQ(block.cells.Count(), 9u);
    for (u32 i = 0; i < 9; ++i) {
        EXPECT_EQ(block.cells[i].row, i / 3);
        EXPECT_EQ(block.cells[i].column, i % 3);
        EXPECT_EQ(block.cells[i].value.number, 20 * (i % 3) + 2 * (i / 3));
    }
    EXPECT_EQ(Text(), "0\t20\t40\r\n2\t22\t42\r\n4\t24\t44");
    const ClipboardBlock& held = Clipboard();
    ASSERT_EQ(held.rowPlaces.Count(), 3u);
    ASSERT_EQ(held.columnPlaces.Count(), 3u);
    for (u32 i = 0; i < 3; ++i) {
        EXPECT_EQ(held.rowPlaces[i], 2 * i);
        EXPECT_EQ(held.columnPlaces[i], 2 * i);
    }
}

// Visible lines side by side are one run, and each of them is left.
TEST_F(CompressedBlocks, EachLineOfARunIsLeft) {
    for (const char column : {'D', 'E', 'F', 'G', 'H'})
        for (const char row : {'4', '5', '6', '7', '8'})
            Enter(std::string{column, row}, std::to_string(10 * (column - 'A') + row - '1'));
    ASSERT_TRUE(Copy("D4", "H8"));
    const CellBlock& block = Clipboard().block;
    EXPECT_EQ(block.area, AreaOf("D4", "G7"));
    ASSERT_EQ(block.cells.Count(), 16u);
    for (u32 i = 0; i < 16; ++i) {
        EXPECT_EQ(block.cells[i].row, 3 + i / 4);
        EXPECT_EQ(block.cells[i].column, 3 + i % 4);
        EXPECT_EQ(block.cells[i].value.number, 10 * (4 + i % 4) + 4 + i / 4);
    }
}

TEST_F(CompressedBlocks, AreasOfListsLoseTheirHiddenLines) {
    const struct {
        const char *first, *last;
        const char* compressed[2];  // null: nothing is visible
    } rows[] = {
        {"A1", "A1", {"A1", "A1"}},       {"B2", "B2", {nullptr, nullptr}}, {"A2", "A2", {nullptr, nullptr}},
        {"B1", "B1", {nullptr, nullptr}}, {"C3", "C3", {"B2", "B2"}},       {"E5", "E5", {"C3", "C3"}},
        {"A1", "E5", {"A1", "C3"}},       {"B2", "D4", {"B2", "B2"}},       {"B2", "E5", {"B2", "C3"}},
        {"A1", "D4", {"A1", "B2"}},       {"A1", "B2", {"A1", "A1"}},       {"D4", "E5", {"C3", "C3"}},
        {"C3", "D4", {"B2", "B2"}},       {"E5", "H9", {"C3", "C3"}},       {"D4", "D9", {nullptr, nullptr}},
    };
    for (const auto& row : rows) {
        Sheet& sheet = *CurrentSheet();
        sheet.arrayFormulas.Clear();
        sheet.hyperlinks.Clear();
        sheet.validations.Clear();
        sheet.conditionalFormats.Clear();
        const RefArea area = AreaOf(row.first, row.last);
        ASSERT_TRUE(sheet.arrayFormulas.Append({area, 0, 0}));
        sheet.hyperlinks.AppendDefault()->area = area;
        ASSERT_TRUE(sheet.validations.AppendDefault()->areas.Append(area));
        ASSERT_TRUE(sheet.conditionalFormats.AppendDefault()->areas.Append(area));
        // One more behind it shows that the rest of a list moves up.
        const RefArea corner = AreaOf("E1", "E1");
        ASSERT_TRUE(sheet.arrayFormulas.Append({corner, 0, 0}));
        sheet.hyperlinks.AppendDefault()->area = corner;
        const CellBlock& block = Block();
        const u32 count = row.compressed[0] ? 2 : 1;
        ASSERT_EQ(block.arrays.Count(), count) << row.first << row.last;
        ASSERT_EQ(block.links.Count(), count) << row.first << row.last;
        EXPECT_EQ(block.arrays[count - 1].area, AreaOf("C1", "C1")) << row.first << row.last;
        EXPECT_EQ(block.links[count - 1].link.area, AreaOf("C1", "C1")) << row.first << row.last;
        ASSERT_EQ(block.validations.Count(), 1u);
        ASSERT_EQ(block.formats.Count(), 1u);
        EXPECT_EQ(block.validations[0].areas.Count(), count - 1) << row.first << row.last;
        EXPECT_EQ(block.formats[0].areas.Count(), count - 1) << row.first << row.last;
        if (count == 1) continue;
        const RefArea expected = AreaOf(row.compressed[0], row.compressed[1]);
        EXPECT_EQ(block.arrays[0].area, expected) << row.first << row.last;
        EXPECT_EQ(block.links[0].link.area, expected) << row.first << row.last;
        EXPECT_EQ(block.validations[0].areas[0], expected) << row.first << row.last;
        EXPECT_EQ(block.formats[0].areas[0], expected) << row.first << row.last;
    }
}

TEST_F(CompressedBlocks, MergesAreWholeOrGoneOrRefuse) {
    const struct {
        const char *first, *last;
        bool refuses;
        const char* kept;
    } rows[] = {
        {"A1", "B1", true, nullptr},  {"A1", "A2", true, nullptr},  {"C3", "D3", true, nullptr},
        {"D4", "E5", true, nullptr},  {"B1", "B5", false, nullptr}, {"A2", "E2", false, nullptr},
        {"D4", "D5", false, nullptr}, {"F6", "G7", false, nullptr}, {"A1", "C1", true, nullptr},
    };
    for (const auto& row : rows) {
        CurrentSheet()->mergedAreas.Clear();
        ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf(row.first, row.last)));
        Headless().boxes.Clear();
        EXPECT_EQ(Copy("A1", "E5"), !row.refuses) << row.first << row.last;
        EXPECT_EQ(Headless().boxes.Count(), row.refuses ? 1u : 0u);
        if (!row.refuses) EXPECT_TRUE(Clipboard().block.merges.IsEmpty()) << row.first << row.last;
    }
}

TEST_F(CompressedBlocks, ColumnRecordsAreThoseOfTheVisibleColumns) {
    for (const u8 column : {u8{0}, u8{2}, u8{4}})
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {column, 0, static_cast<u16>(3000 + column), 15}));
    const CellBlock& block = Block();
    ASSERT_EQ(block.columns.Count(), 3u);
    for (u8 i = 0; i < 3; ++i) {
        EXPECT_EQ(block.columns[i].column, i);
        EXPECT_EQ(block.columns[i].width, 3000 + 2 * i);
    }
}

TEST_F(ClipboardCells, TheBlockIsThatOfItsBookWhenOthersClose) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    Enter("A1", "1");
    ASSERT_TRUE(Copy("A1", "A1"));
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    RemoveBook(2);
    EXPECT_TRUE(Clipboard().blockExists);
    EXPECT_EQ(Clipboard().block.book, 1);
    RemoveBook(0);
    EXPECT_TRUE(Clipboard().blockExists);
    EXPECT_EQ(Clipboard().block.book, 0);
    RemoveBook(0);
    EXPECT_FALSE(Clipboard().blockExists);
}

TEST_F(ClipboardCells, OfASheetThatIsNotThereNothingIsTaken) {
    EXPECT_FALSE(CopyCells(CurrentBook(), 1, AreaOf("A1", "A1")));
    EXPECT_FALSE(CutCells(CurrentBook(), 1, AreaOf("A1", "A1")));
    EXPECT_FALSE(CopyCells(3, 0, AreaOf("A1", "A1")));
    EXPECT_FALSE(Clipboard().blockExists);
    EXPECT_EQ(Text(), "");
    EXPECT_EQ(UndoCount(), 0u);
}

}  // namespace
}  // namespace tally
