#include "editing/PasteText.h"

#include <vector>

#include "editing/PasteFixture.h"
#include "editing/Undo.h"
#include "formula/Recalculation.h"
#include "support/FailingAllocator.h"

namespace tally {
namespace {

// ---- text -------------------------------------------------------------------------------------------------

TEST_F(Paste, TheShapeOfAText) {
    const struct {
        WideView text;
        u32 rows, columns;
    } rows[] = {
        {u"", 0, 0},          {u"a", 1, 1},        {u"a\r\n", 1, 1},           {u"a\r", 1, 1},
        {u"a\tb\r\nc", 2, 2}, {u"\r\n\r\n", 2, 1}, {u"a\r\rb", 3, 1},          {u"\t", 1, 2},
        {u"a\nb", 1, 1},      {u"\r\n\tx", 2, 2},  {u"a\tb\r\nc\td\te", 2, 3},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ShapeOfText(row.text).rows, row.rows) << Narrow(row.text);
        EXPECT_EQ(ShapeOfText(row.text).columns, row.columns) << Narrow(row.text);
    }
}

TEST_F(Paste, ATextCellKeepsPastedText) {
    Put("A1", Format([](CellFormat& f) { f.numberFormat = 49; }));
    ASSERT_TRUE(PasteText(At("A1"), u"=1+1\t=1+1"));
    EXPECT_EQ(CellAtName("A1")->value.type, VT_STRING);
    EXPECT_EQ(Shown("B1"), "2");
}

TEST_F(Paste, AnEmptyFieldEmptiesItsCellAndAnEmptyTextNothing) {
    Enter("A1", "1");
    Enter("B1", "2");
    EXPECT_FALSE(PasteText(At("A1"), u""));
    EXPECT_EQ(UndoCount(), 0u);
    ASSERT_TRUE(PasteText(At("A1"), u"\t3"));
    EXPECT_EQ(CellAtName("A1"), nullptr);
    EXPECT_EQ(Shown("B1"), "3");
}

TEST_F(Paste, PastedTextEndsArraysMergesAndHyperlinksInside) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(sheet.mergedAreas.Append(AreaOf("A1", "B1")));
    ASSERT_TRUE(sheet.arrayFormulas.Append({AreaOf("A2", "B2"), 0, 0}));
    AddLink("A1", "B2", "inside");
    AddLink("A1", "C1", "beyond");
    AddRule("A1", "A1", 3);
    const std::string before = DumpBooks();
    ASSERT_TRUE(PasteText(At("A1"), u"1\t2\r\n3\t4"));
    EXPECT_TRUE(sheet.mergedAreas.IsEmpty());
    EXPECT_TRUE(sheet.arrayFormulas.IsEmpty());
    EXPECT_EQ(Links(), "beyond@0.0 ");
    EXPECT_EQ(sheet.validations.Count(), 1u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Links(), "inside@0.0 beyond@0.0 ");
}

TEST_F(Paste, ATextThatFindsNoMemoryChangesNothing) {
    ForgetBooks();
    bool failed = true;
    for (u64 n = 1; failed; ++n) {
        test::FailingAllocator allocator;
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Enter("A1", "old");
        const std::string before = DumpBooks();
        const PasteRequest request = At("A1");
        allocator.FailAt(n);
        const bool pasted = PasteText(request, u"new\t=SUM(B1:B4)+1\t50%\r\n1/2/2003\t'x");
        failed = allocator.HasFailed();
        allocator.StopFailing();
        if (!pasted) ASSERT_EQ(DumpBooks(), before) << n;
        else EXPECT_EQ(Shown("A1"), "new");
        ForgetBooks();
        ASSERT_EQ(allocator.LiveBlocks(), 0u) << n;
    }
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
}

// ---- text, tile by tile -----------------------------------------------------------------------------------

TEST_F(Paste, TextIsTiledOverItsTargets) {
    ASSERT_TRUE(PasteText(At(AreaOf("B2", "E5")), u"1\t2\r\n3\t4"));
    for (const char row : {'2', '4'}) {
        for (const char column : {'B', 'D'}) {
            EXPECT_EQ(Shown(std::string{column, row}), "1");
            EXPECT_EQ(Shown(std::string{static_cast<char>(column + 1), row}), "2");
            EXPECT_EQ(Shown(std::string{column, static_cast<char>(row + 1)}), "3");
            EXPECT_EQ(Shown(std::string{static_cast<char>(column + 1), static_cast<char>(row + 1)}), "4");
        }
    }
    EXPECT_EQ(CurrentSheet()->cells.count, 16u);
    EXPECT_EQ(CurrentSheet()->view.selection, (RefArea{0, 4, 0, 4}));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
}

TEST_F(Paste, TextGoesIntoWhatAFilterLeavesVisible) {
    Sheet& sheet = *CurrentSheet();
    Enter("B2", "old");
    Enter("B3", "old");
    ASSERT_TRUE(SetRowInfo(sheet.rows, {2, ROW_HIDDEN, 255}));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {2, COLUMN_HIDDEN, 2000, 15}));
    sheet.filterState = FILTER_ADVANCED;
    ASSERT_TRUE(PasteText(At(AreaOf("B2", "D5")), u"7"));
    for (const char* cell : {"B2", "D2", "B4", "D4", "B5", "D5"}) EXPECT_EQ(Shown(cell), "7") << cell;
    EXPECT_EQ(Shown("B3"), "old");
    for (const char* cell : {"C2", "D3", "C4"}) EXPECT_EQ(CellAtName(cell), nullptr) << cell;
}

TEST_F(Paste, RowsOfTextEndWithAReturnAndMayBeShort) {
    Enter("B2", "old");
    Enter("A2", "old");
    ASSERT_TRUE(PasteText(At("A1"), u"1\t2\r3\r\n5\t=A1+1\r"));
    EXPECT_EQ(Shown("A1") + Shown("B1"), "12");
    EXPECT_EQ(Shown("A2"), "3");
    EXPECT_EQ(Shown("A3") + Shown("B3"), "52");
    EXPECT_EQ(FormulaOf("B3"), "=A1+1");
    EXPECT_EQ(CellAtName("A4"), nullptr);
    // What a row does not reach stays.
    EXPECT_EQ(Shown("B2"), "old");
    EXPECT_FALSE(PasteText(At(AreaOf("A1", "A2")), u"1\r2\r3"));
    PasteRequest request = At("A1");
    request.growSelection = false;
    CurrentSheet()->view.selection = AreaOf("A1", "A1");
    ASSERT_TRUE(PasteText(request, u"1\t2"));
    EXPECT_EQ(CurrentSheet()->view.selection, AreaOf("A1", "A1"));
    request.sheet = 1;
    EXPECT_FALSE(PasteText(request, u"1"));
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    EXPECT_FALSE(PasteText(request, u"1"));
}

std::vector<i32> wantedRows;

TEST_F(Paste, TheRowsThatWereWrittenWaitToBeFitted) {
    const auto before = RecalculationView().rowHeightWanted;
    RecalculationView().rowHeightWanted = [](i32, i32, i32 row) { wantedRows.push_back(row); };
    ASSERT_TRUE(PasteText(At("H3"), u"1\r2\r3"));
    EXPECT_EQ(wantedRows, (std::vector<i32>{2, 3, 4}));
    RecalculationView().rowHeightWanted = before;
}

TEST_F(Paste, OnlyFormulasWithoutFixedInputsAreAlwaysCalculated) {
    ASSERT_TRUE(PasteText(At("A1"), u"=B1\t5\t=RAND()"));
    EXPECT_FALSE(CellAtName("A1")->formula->alwaysCalculate);
    EXPECT_TRUE(CellAtName("C1")->formula->alwaysCalculate);
}

}  // namespace
}  // namespace tally
