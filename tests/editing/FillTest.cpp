#include "editing/Fill.h"

#include <set>

#include "editing/FillSeries.h"
#include "editing/PasteTargets.h"
#include "editing/Undo.h"
#include "fileio/SaveFile.h"
#include "formula/FormulaText.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/RuleLists.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/MemoryFiles.h"
#include "support/BookDump.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class Filling : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ConnectUndo();
    }
    void TearDown() override {
        ConnectUndo();
        Sandbox::TearDown();
    }
    static void Select(std::string_view first, std::string_view last) {
        CurrentSheet()->view.selection = AreaOf(first, last);
    }
    static u16 Look(u8 horizontal, u16 flags = FORMAT_LOCKED) {
        CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
        format.horizontal = horizontal;
        format.flags = flags;
        u16 index = 0;
        EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        return index;
    }
    static std::string Box() { return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text); }
};

TEST_F(Filling, DownCopiesTheFirstRowWithItsReferences) {
    Enter("A1", "5");
    Enter("B1", "=A1*2+$A$1+A$1");
    Enter("C1", "text");
    Enter("D1", "TRUE");
    Enter("A2", "7");
    Enter("D3", "old");
    Select("B1", "D3");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(FormulaOf("B2"), "=A2*2+$A$1+A$1");
    EXPECT_EQ(FormulaOf("B3"), "=A3*2+$A$1+A$1");
    EXPECT_EQ(Shown("B2"), "24");
    EXPECT_EQ(Shown("C3"), "text");
    EXPECT_EQ(Shown("D3"), "TRUE");
    EXPECT_EQ(FormulaOf("B1"), "=A1*2+$A$1+A$1");
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
}

TEST_F(Filling, EveryDirectionTakesItsEdge) {
    struct Row {
        bool (*fill)(bool);
        i32 kind;
        const char* source;
        const char* filled;
        const char* formula;
    };
    const Row rows[] = {{FillDown, UNDO_FILL_DOWN, "C3", "C5", "=A5"},
                        {FillUp, UNDO_FILL_UP, "C5", "C3", "=A3"},
                        {FillRight, UNDO_FILL_RIGHT, "C3", "E3", "=C3"},
                        {FillLeft, UNDO_FILL_LEFT, "E3", "C3", "=A3"}};
    for (const Row& row : rows) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        ConnectUndo();
        i32 line = 0, column = 0;
        ReadCellName(row.source, line, column);
        Enter(row.source, "=" + std::string(1, static_cast<char>('A' + column - 2)) + std::to_string(line + 1));
        Select("C3", "E5");
        ASSERT_TRUE(row.fill(true));
        EXPECT_EQ(FormulaOf(row.filled), row.formula);
        ASSERT_EQ(UndoCount(), 1u);
        EXPECT_EQ(LastUndo()->kind, row.kind);
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(CellAtName(row.filled), nullptr);
        EXPECT_NE(FormulaOf(row.source), "");
    }
}

TEST_F(Filling, OneLineTakesItsNeighbour) {
    Enter("B2", "x");
    Select("B3", "B3");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("B3"), "x");
    Select("C3", "C3");
    ASSERT_TRUE(FillRight(true));
    EXPECT_EQ(Shown("C3"), "x");
    Select("B1", "B1");
    ASSERT_TRUE(FillUp(true));
    EXPECT_EQ(Shown("B1"), "x");
    Select("A1", "A1");
    ASSERT_TRUE(FillLeft(true));
    EXPECT_EQ(Shown("A1"), "x");
}

TEST_F(Filling, AtTheEdgesOfTheSheetNothingHappens) {
    Enter("A1", "x");
    Enter("IV65536", "y");
    for (const auto& [fill, cell] : {std::pair<bool (*)(bool), const char*>(FillDown, "C1"),
                                     {FillRight, "A5"},
                                     {FillUp, "C65536"},
                                     {FillLeft, "IV5"}}) {
        Select(cell, cell);
        EXPECT_TRUE(fill(true));
        EXPECT_EQ(CellAtName(cell), nullptr);
    }
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    // One line further in there is a neighbour.
    for (const auto& [fill, cell, shown] :
         {std::tuple<bool (*)(bool), const char*, const char*>(FillDown, "A2", "x"),
          {FillRight, "B1", "x"},
          {FillUp, "IV65535", "y"},
          {FillLeft, "IU65536", "y"}}) {
        Select(cell, cell);
        EXPECT_TRUE(fill(true));
        EXPECT_EQ(Shown(cell), shown) << cell;
    }
}

TEST_F(Filling, TheSheetOnTopIsTheOneThatIsFilled) {
    Enter("A1", "first");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("A1", "second");
    Select("A1", "A2");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("A2"), "second");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(CellAtName("A2"), nullptr);
    Books().currentBook = 0;
    EXPECT_EQ(CellAtName("A2"), nullptr);
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    EXPECT_FALSE(FillDown(true));
}

TEST_F(Filling, BlankSourcesEmptyTheirPlacesAndKeepTheLook) {
    Enter("A2", "old");
    Enter("B2", "old");
    Enter("B1", "x");
    CellAtName("B1")->format = Look(2);
    FreeCellContents(CurrentSheet()->cells, *CellAtName("B1"));
    Select("A1", "B2");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(CellAtName("A2"), nullptr);
    ASSERT_NE(CellAtName("B2"), nullptr);
    EXPECT_EQ(CellAtName("B2")->format, CellAtName("B1")->format);
    EXPECT_EQ(CellAtName("B2")->calcState, CALC_BLANK);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("A2"), "old");
    EXPECT_EQ(Shown("B2"), "old");
}

TEST_F(Filling, RefusalsChangeNothing) {
    Enter("A1", "x");
    Enter("A2", "y");
    Select("A1", "A3");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({2, 2, 0, 1}));
    EXPECT_FALSE(FillDown(true));
    EXPECT_EQ(Box(), "不能对合并单元格作部分改动");
    CurrentSheet()->mergedAreas.Truncate(0);
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{2, 3, 0, 0}, 0, 0}));
    EXPECT_FALSE(FillDown(true));
    EXPECT_EQ(Box(), "不能改变数组的某一部分");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_FALSE(FillDown(true));
    EXPECT_EQ(Box(), "单元格有保护");
    EXPECT_EQ(Headless().boxes.Count(), 3u);
    EXPECT_EQ(Shown("A2"), "y");
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(Filling, OnAProtectedSheetCopiesStayOpen) {
    Enter("A1", "x");
    Enter("A2", "y");
    CellAtName("A2")->format = Look(0, 0);
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    Select("A1", "A2");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("A2"), "x");
    EXPECT_EQ(ResolveCellFormat(*CurrentWorkbook(), CellAtName("A2")->format).flags & FORMAT_LOCKED, 0);
}

TEST_F(Filling, ArraysAndMergesOfTheSourceAreCopied) {
    Enter("A1", "=D1:E1");
    Enter("B1", "=D1:E1");
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{0, 0, 0, 1}, 0, 0}));
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({0, 0, 2, 3}));
    Enter("A3", "1");
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{2, 2, 0, 0}, 0, 0}));
    Select("A1", "D3");
    ASSERT_TRUE(FillDown(true));
    const Array<ArrayEntry>& arrays = CurrentSheet()->arrayFormulas;
    ASSERT_EQ(arrays.Count(), 3u);
    EXPECT_EQ(arrays[1].area, (RefArea{1, 1, 0, 1}));
    EXPECT_EQ(arrays[2].area, (RefArea{2, 2, 0, 1}));
    EXPECT_EQ(CurrentSheet()->mergedAreas.Count(), 3u);
    EXPECT_EQ(CurrentSheet()->mergedAreas[2], (RefArea{2, 2, 2, 3}));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->arrayFormulas.Count(), 2u);
    EXPECT_EQ(CurrentSheet()->mergedAreas.Count(), 1u);
}

void AddRule(Sheet& sheet, const RefArea& area) {
    ValidationRule rule;
    rule.kind = 1;
    ASSERT_TRUE(rule.areas.Append(area) && sheet.validations.Append(std::move(rule)));
}

TEST_F(Filling, RulesAndLinksGoWithTheCells) {
    Sheet& sheet = *CurrentSheet();
    AddRule(sheet, {0, 0, 0, 0});
    AddRule(sheet, {2, 2, 1, 1});
    sheet.validations[1].kind = 3;
    ASSERT_NE(sheet.conditionalFormats.AppendDefault(), nullptr);
    ASSERT_TRUE(sheet.conditionalFormats[0].areas.Append({0, 0, 1, 1}));
    for (const RefArea& area : {RefArea{0, 0, 0, 0}, RefArea{3, 3, 0, 0}}) {
        Hyperlink* link = sheet.hyperlinks.AppendDefault();
        ASSERT_TRUE(link && link->target.Assign(u"http://x"));
        link->area = area;
    }
    Enter("B1", "1");
    Select("A1", "B4");
    const auto before = DumpBook(CurrentBook());
    ASSERT_TRUE(FillDown(true));
    ASSERT_EQ(sheet.validations.Count(), 1u);
    EXPECT_EQ(sheet.validations[0].kind, 1u);
    EXPECT_TRUE(AnyRuleTouches(sheet.validations, {3, 3, 0, 0}));
    EXPECT_FALSE(AnyRuleTouches(sheet.validations, {0, 9, 1, 1}));
    EXPECT_TRUE(AnyRuleTouches(sheet.conditionalFormats, {3, 3, 1, 1}));
    EXPECT_FALSE(AnyRuleTouches(sheet.conditionalFormats, {4, 4, 1, 1}));
    ASSERT_EQ(sheet.hyperlinks.Count(), 4u);
    for (u16 row = 0; row < 4; ++row) {
        EXPECT_EQ(sheet.hyperlinks[row].area, (RefArea{row, row, 0, 0}));
        EXPECT_EQ(Narrow(sheet.hyperlinks[row].target), "http://x");
    }
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
}

TEST_F(Filling, RowsThatAFilterHidesStayAsTheyAre) {
    for (i32 row = 1; row <= 5; ++row) Enter("A" + std::to_string(row), std::to_string(row));
    for (u16 row : {u16{1}, u16{3}}) ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {row, ROW_HIDDEN, 255}));
    Select("A1", "A5");
    CurrentSheet()->filterState = FILTER_ADVANCED;
    ASSERT_TRUE(FillDown(true));
    const char* expected[] = {"1", "2", "1", "4", "1"};
    for (u32 i = 0; i < 5; ++i) EXPECT_EQ(Shown("A" + std::to_string(i + 1)), expected[i]);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("A5"), "5");
    // Sideways each row takes its own first cell.
    Select("A1", "B5");
    ASSERT_TRUE(FillRight(true));
    EXPECT_EQ(Shown("B3"), "3");
    EXPECT_EQ(CellAtName("B4"), nullptr);
    // Rows that were hidden by hand are filled.
    CurrentSheet()->filterState = 0;
    Select("A1", "A5");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("A2"), "1");
}

// A part of the target that a hidden column makes begin inside the source keeps to the source's columns.
TEST_F(Filling, APartOfTheTargetTakesItsOwnColumnsOfTheSource) {
    const char* names[] = {"A", "B", "C", "D"};
    for (u32 i = 0; i < 4; ++i) Enter(std::string(names[i]) + "1", std::to_string(i + 1));
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {1, COLUMN_HIDDEN, 2048, DEFAULT_CELL_FORMAT}));
    Hyperlink* link = sheet.hyperlinks.AppendDefault();
    ASSERT_TRUE(link && link->target.Assign(u"http://x"));
    link->area = AreaOf("D1", "D1");
    AddRule(sheet, {0, 0, 1, 2});
    Select("A1", "D3");
    sheet.filterState = FILTER_ADVANCED;
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("A3"), "1");
    EXPECT_EQ(CellAtName("B2"), nullptr);
    EXPECT_EQ(Shown("C2"), "3");
    EXPECT_EQ(Shown("D3"), "4");
    ASSERT_EQ(sheet.hyperlinks.Count(), 3u);
    EXPECT_EQ(sheet.hyperlinks[1].area, AreaOf("D2", "D2"));
    EXPECT_EQ(sheet.hyperlinks[2].area, AreaOf("D3", "D3"));
    EXPECT_TRUE(AnyRuleTouches(sheet.validations, AreaOf("C2", "C3")));
    EXPECT_FALSE(AnyRuleTouches(sheet.validations, AreaOf("B2", "B3")));
    EXPECT_FALSE(AnyRuleTouches(sheet.validations, AreaOf("D1", "D3")));
}

TEST_F(Filling, WhatReadsTheFilledCellsFollows) {
    Enter("A1", "2");
    Enter("B1", "=SUM(A1:A3)");
    EXPECT_EQ(Shown("B1"), "2");
    Select("A1", "A3");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("B1"), "6");
    Enter("A3", "10");
    EXPECT_EQ(Shown("B1"), "14");
    Enter("C1", "=A1");
    Select("C1", "C3");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("C3"), "10");
    // A copied formula is known to the index of dependents.
    Enter("A3", "11");
    EXPECT_EQ(Shown("C3"), "11");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CellAtName("C3"), nullptr);
}

TEST_F(Filling, AWholeColumnIsFilled) {
    Enter("A1", "=ROW()");
    Select("A1", "A65536");
    ASSERT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("A65536"), "65536");
    EXPECT_EQ(CurrentSheet()->cells.count, 65536u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->cells.count, 1u);
}

TEST_F(Filling, MoreThanFourMillionCellsAreRefused) {
    for (char16_t column = 0; column < 65; ++column) {
        CellInput input;
        input.column = static_cast<u8>(column);
        input.value = NumberValue(1);
        ASSERT_TRUE(SetCell(CurrentBook(), 0, input, false, false));
    }
    CurrentSheet()->view.selection = {0, 65535, 0, 64};
    EXPECT_FALSE(FillDown(true));
    EXPECT_EQ(Box(), "内存不足");
    EXPECT_EQ(CurrentSheet()->cells.count, 65u);
    // What stays blank counts nothing.
    CurrentSheet()->view.selection = {0, 65535, 100, 255};
    EXPECT_TRUE(FillDown(true));
}

TEST_F(Filling, WithoutARecordNothingIsUndone) {
    Enter("A1", "x");
    Select("A1", "A2");
    ASSERT_TRUE(FillDown(false));
    EXPECT_EQ(Shown("A2"), "x");
    EXPECT_EQ(UndoCount(), 0u);
}

// Each allocation of a fill fails once: it is refused whole, or done, then perhaps without undo.
TEST_F(Filling, AnyFailedAllocationLeavesTheSheetAsItWas) {
    Enter("A1", "=B1&\"x\"");
    Enter("B1", "text");
    Enter("A3", "old");
    Enter("C9", "=A3");
    Headless().filesInMemory = true;
    u32 losses = 0;
    ASSERT_TRUE(WriteBookFile(CurrentBook(), u"book.pxl", FILE_PXL, losses));
    const MemoryFile* file = FindMemoryFile(u"book.pxl");
    const std::vector<u8> bytes(file->bytes.begin(), file->bytes.end());
    Headless().files.Clear();
    ResetMemoryFiles();
    ResetBooks();
    for (bool series : {false, true}) {
        bool done = false;
        for (u64 n = 1; !done; ++n) {
            ASSERT_LT(n, 2000u);
            test::FailingAllocator allocator;
            {
                const QuietMemoryScope quiet;
                ASSERT_TRUE(OpenFileFromMemory(u"in.pxl", bytes, OPEN_SILENT_LINKS));
                AddRule(*CurrentSheet(), {0, 0, 0, 0});
                CurrentSheet()->view.selection = {0, 4, 0, 1};
                if (series) {
                    CellInput input;
                    input.value = NumberValue(3);
                    ASSERT_TRUE(SetCell(CurrentBook(), 0, input, true, false));
                }
                const auto before = DumpBook(CurrentBook());
                allocator.FailAt(n);
                const bool good = series ? FillSeries(SeriesRequest()) : FillDown(true);
                done = !allocator.HasFailed();
                allocator.StopFailing();
                if (!good) {
                    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "") << n;
                    EXPECT_EQ(UndoCount(), 0u);
                } else {
                    EXPECT_EQ(Shown("A3"), series ? "5" : "textx");
                    if (UndoCount()) {
                        EXPECT_TRUE(UndoLast());
                        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "") << n;
                    }
                }
                EXPECT_TRUE(good || !done);
            }
            ResetBooks();
            ConnectUndo();
            DropDependents();
            Headless().boxes.Clear();
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
        }
    }
}

TEST_F(Filling, WhereNothingIsVisibleNothingIsFilled) {
    Enter("A1", "x");
    Enter("A2", "old");
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {1, ROW_HIDDEN, 255}));
    CurrentSheet()->filterState = FILTER_ADVANCED;
    Select("A1", "A2");
    EXPECT_TRUE(FillDown(true));
    EXPECT_EQ(Shown("A2"), "old");
    EXPECT_EQ(UndoCount(), 0u);
}

// The line that is copied from is no part of what is filled: a merge in it is copied.
TEST_F(Filling, AMergeOfTheSourceRefusesNothing) {
    const struct {
        bool (*fill)(bool);
        RefArea merge, copy;
    } rows[] = {{FillDown, {1, 1, 1, 2}, {3, 3, 1, 2}},
                {FillUp, {3, 3, 1, 2}, {1, 1, 1, 2}},
                {FillRight, {1, 2, 1, 1}, {1, 2, 3, 3}},
                {FillLeft, {1, 2, 3, 3}, {1, 2, 1, 1}}};
    for (const auto& row : rows) {
        CurrentSheet()->mergedAreas.Clear();
        ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(row.merge));
        Select("B2", "D4");
        ASSERT_TRUE(row.fill(true));
        const Array<RefArea>& merges = CurrentSheet()->mergedAreas;
        ASSERT_EQ(merges.Count(), 3u);
        EXPECT_TRUE(merges[0] == row.merge);
        EXPECT_TRUE(merges[1] == row.copy || merges[2] == row.copy);
        // One that stands in what is filled does refuse.
        CurrentSheet()->mergedAreas.Clear();
        ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(row.copy));
        EXPECT_FALSE(row.fill(true));
    }
}

// The same along rows: a part of the target that begins below a hidden row keeps to its own rows of the source.
TEST_F(Filling, APartOfTheTargetTakesItsOwnRowsOfTheSource) {
    for (i32 row = 1; row <= 4; ++row) Enter("A" + std::to_string(row), std::to_string(row));
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(SetRowInfo(sheet.rows, {1, ROW_HIDDEN, 255}));
    for (const RefArea& area : {AreaOf("A4", "A4"), AreaOf("A1", "A1")}) {
        Hyperlink* link = sheet.hyperlinks.AppendDefault();
        ASSERT_TRUE(link && link->target.Assign(u"http://x"));
        link->area = area;
    }
    AddRule(sheet, AreaOf("A2", "A3"));
    Select("A1", "C4");
    sheet.filterState = FILTER_ADVANCED;
    ASSERT_TRUE(FillRight(true));
    EXPECT_EQ(Shown("C1") + Shown("C3") + Shown("C4"), "134");
    EXPECT_EQ(CellAtName("C2"), nullptr);
    std::set<std::pair<u16, u8>> links;
    for (const Hyperlink& link : sheet.hyperlinks) {
        EXPECT_EQ(link.area.firstRow, link.area.lastRow);
        EXPECT_EQ(link.area.firstColumn, link.area.lastColumn);
        links.insert({link.area.firstRow, link.area.firstColumn});
    }
    EXPECT_EQ(links, (std::set<std::pair<u16, u8>>{{0, 0}, {0, 1}, {0, 2}, {3, 0}, {3, 1}, {3, 2}}));
    EXPECT_TRUE(AnyRuleTouches(sheet.validations, AreaOf("C3", "C3")));
    for (const char* cell : {"B1", "B2", "B4", "C1", "C2", "C4", "D3"})
        EXPECT_FALSE(AnyRuleTouches(sheet.validations, AreaOf(cell, cell))) << cell;
}

}  // namespace
}  // namespace tally
