#include "editing/InsertDelete.h"

#include "base/MessageTable.h"
#include "display/LocaleSettings.h"
#include "editing/ClearArea.h"
#include "editing/InsertDeleteFixture.h"
#include "editing/SheetOperations.h"
#include "editing/ShiftBlock.h"
#include "editing/StoreEntry.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/RandomBook.h"

namespace tally {
namespace {

// ---- room ---------------------------------------------------------------------------------------------

TEST_F(InsertAndDelete, FormatsInTheLastRowGiveWayAndValuesDoNot) {
    Enter("A1", "x");
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 65535, 3, 16, Value(), FormulaTokens()));
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(0, 0)));
    EXPECT_EQ(Shown("A2"), "x");
    EXPECT_EQ(CellAtName("D65536"), nullptr);
    ASSERT_TRUE(UndoLast());
    Enter("D65536", "5");
    EXPECT_FALSE(InsertRowsOrCellsDown(Rows(0, 0)));
    EXPECT_EQ(LastBox(), "No room to insert rows");
    EXPECT_EQ(Shown("A1"), "x");
    EXPECT_FALSE(InsertRowsOrCellsDown({0, 0, 2, 4}));
    EXPECT_EQ(LastBox(), "No room to insert cells");
    EXPECT_TRUE(InsertRowsOrCellsDown({0, 0, 0, 1}));
}

TEST_F(InsertAndDelete, TheLastColumnsMustBeEmpty) {
    Enter("IV3", "=1");
    EXPECT_FALSE(InsertColumnsOrCellsRight({0, 65535, 4, 4}));
    EXPECT_EQ(LastBox(), "No room to insert columns");
    EXPECT_FALSE(InsertColumnsOrCellsRight({2, 2, 4, 4}));
    EXPECT_EQ(LastBox(), "No room to insert cells");
    EXPECT_TRUE(InsertColumnsOrCellsRight({3, 3, 4, 4}));
    EXPECT_EQ(UndoCount(), 1u);
}

TEST_F(InsertAndDelete, RowsInsertedAtTheEndOfTheSheetMoveNothing) {
    Enter("A1", "=SUM(B2:B65536)");
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 65535, 3, 16, Value(), FormulaTokens()));
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(65530, 65535)));
    EXPECT_EQ(Formula("A1"), "=SUM(B2:B65536)");
    EXPECT_EQ(CellAtName("D65536"), nullptr);
    ASSERT_TRUE(UndoLast());
    EXPECT_NE(CellAtName("D65536"), nullptr);
}

TEST_F(InsertAndDelete, DeletingDownToTheLastRowLeavesReferencesAsTheyAre) {
    Enter("A1", "=SUM(B1:B20)");
    Enter("B5", "4");
    Enter("B15", "8");
    EXPECT_EQ(Shown("A1"), "12");
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(10, 65535)));
    EXPECT_EQ(Formula("A1"), "=SUM(B1:B20)");
    EXPECT_EQ(Shown("A1"), "4");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("A1"), "12");
}

// ---- what refuses ---------------------------------------------------------------------------------------

TEST_F(InsertAndDelete, AMergedAreaAcrossTheEdgeRefusesAndOneInsideTravels) {
    Protect({4, 6, 1, 2});
    EXPECT_FALSE(InsertRowsOrCellsDown(Rows(5, 5)));
    EXPECT_EQ(LastBox(), "不能对合并单元格作部分改动");
    EXPECT_FALSE(DeleteRowsOrCellsUp(Rows(5, 5)));
    EXPECT_FALSE(InsertRowsOrCellsDown({0, 0, 2, 2}));
    EXPECT_EQ(UndoCount(), 0u);
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(2, 3)));
    EXPECT_EQ(CurrentSheet()->mergedAreas[0], (RefArea{6, 8, 1, 2}));
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(6, 8)));
    EXPECT_TRUE(CurrentSheet()->mergedAreas.IsEmpty());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->mergedAreas[0], (RefArea{6, 8, 1, 2}));
}

TEST_F(InsertAndDelete, AnArrayAcrossTheEdgeRefusesAndOneInsideTravels) {
    ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{4, 6, 1, 1}, 0, 0}));
    for (i32 row = 4; row <= 6; ++row) Enter("B" + std::to_string(row + 1), "=SUM(A1:A2)");
    EXPECT_FALSE(InsertRowsOrCellsDown(Rows(5, 5)));
    EXPECT_EQ(LastBox(), "不能改变数组的某一部分");
    EXPECT_FALSE(DeleteColumnsOrCellsLeft({5, 5, 0, 0}));
    ASSERT_TRUE(InsertColumnsOrCellsRight({0, 65535, 0, 0}));
    EXPECT_EQ(CurrentSheet()->arrayFormulas[0].area, (RefArea{4, 6, 2, 2}));
    EXPECT_EQ(Formula("C5"), "=SUM(B1:B2)");
}

TEST_F(InsertAndDelete, AMergeUnderWhichCellsWouldSlideRefuses) {
    Protect({65535, 65535, 0, 3});
    EXPECT_FALSE(InsertRowsOrCellsDown({0, 0, 0, 1}));
    EXPECT_EQ(LastBox(), "不能对合并单元格作部分改动");
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(0, 0)));
    EXPECT_TRUE(CurrentSheet()->mergedAreas.IsEmpty());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->mergedAreas.Count(), 1u);
}

// ---- filters --------------------------------------------------------------------------------------------

TEST_F(InsertAndDelete, DeletingTheHeaderOfAFilterEndsItAndUndoDoesNotBringItBack) {
    FilterOver({2, 9, 1, 3});
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {5, ROW_HIDDEN, 0}));
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(3, 4)));
    EXPECT_EQ(CurrentSheet()->filterState, FILTER_AUTO);
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(2, 2)));
    EXPECT_EQ(CurrentSheet()->filterState, 0);
    u16 flags = 0;
    GetRowInfo(CurrentSheet()->rows, 2, flags);
    EXPECT_FALSE(flags & ROW_HIDDEN);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->filterState, 0);
}

TEST_F(InsertAndDelete, ColumnsOfAFilteredListCannotBeDeleted) {
    FilterOver({2, 9, 1, 3});
    Enter("C3", "x");
    EXPECT_FALSE(DeleteColumnsOrCellsLeft({0, 65535, 2, 2}));
    EXPECT_EQ(LastBox(), "当“自动筛选”生效时，不能在清单中插入或删除数据列");
    CurrentSheet()->filterState = FILTER_ADVANCED;
    EXPECT_FALSE(DeleteColumnsOrCellsLeft({20, 20, 0, 1}));
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_TRUE(DeleteColumnsOrCellsLeft({0, 65535, 5, 6}));
    EXPECT_EQ(Shown("C3"), "x");
}

// ---- what follows ---------------------------------------------------------------------------------------

TEST_F(InsertAndDelete, FormulasNamesAndOtherSheetsFollow) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Enter("A1", "=SUM(Sheet1!A1:A10)");
    CurrentWorkbook()->currentSheet = 0;
    DefineName("data", "=Sheet1!$A$5");
    Enter("A5", "7");
    Enter("B1", "=data+A5");
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(2, 3)));
    EXPECT_EQ(Formula("B1"), "=data+A7");
    EXPECT_EQ(Shown("B1"), "14");
    CurrentWorkbook()->currentSheet = 1;
    EXPECT_EQ(Formula("A1"), "=SUM(Sheet1!A1:A12)");
    EXPECT_EQ(Shown("A1"), "7");
}

TEST_F(InsertAndDelete, AFormulaInAnotherBookFollows) {
    Enter("A5", "7");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    i32 row = 0;
    ASSERT_TRUE(AddExternRef({1, 0, 0, 0}, row));
    FormulaTokens tokens;
    ASSERT_TRUE(MakeTokens(tokens, 7, 0));
    tokens.bytes[0] = ptgRef3d | 0x40;
    PutU16(tokens.bytes + 1, static_cast<u32>(row));
    WriteRefOperand(tokens.bytes + 3, 4, 0, 0);
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 0, 15, Value(), tokens));
    EXPECT_EQ(Shown("A1"), "7");
    Books().currentBook = 0;
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(0, 1)));
    Enter("A7", "9");
    Books().currentBook = 1;
    EXPECT_EQ(Shown("A1"), "9");
    Books().currentBook = 0;
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(6, 6)));
    Books().currentBook = 1;
    EXPECT_EQ(Shown("A1"), "#REF!");
    ASSERT_TRUE(UndoLast());
    Books().currentBook = 1;
    EXPECT_EQ(Shown("A1"), "9");
}

TEST_F(InsertAndDelete, AFormulaWithoutFixedInputsSeesTheMove) {
    Enter("A5", "7");
    Enter("C1", "=INDIRECT(\"A6\")");
    EXPECT_EQ(Shown("C1"), "0");
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(2, 2)));
    EXPECT_EQ(Shown("C1"), "7");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("C1"), "0");
}

TEST_F(InsertAndDelete, ARowFormulaFollowsItsCell) {
    Enter("A3", "=ROW()*10+COLUMN()");
    EXPECT_EQ(Shown("A3"), "31");
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(0, 0)));
    EXPECT_EQ(Shown("A4"), "41");
    ASSERT_TRUE(InsertColumnsOrCellsRight({0, 65535, 0, 0}));
    EXPECT_EQ(Shown("B4"), "42");
    ASSERT_TRUE(UndoLast());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("A3"), "31");
}

TEST_F(InsertAndDelete, AWholeColumnSeesWhatMovesInIt) {
    Enter("A5", "7");
    Enter("C1", "=MATCH(7,A:A,0)");
    EXPECT_EQ(Shown("C1"), "5");
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(2, 3)));
    EXPECT_EQ(Formula("C1"), "=MATCH(7,A:A,0)");
    EXPECT_EQ(Shown("C1"), "7");
}

TEST_F(InsertAndDelete, ARuleLosesTheDeletedRowsAndStaysOne) {
    Rule({{0, 9, 0, 0}});
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(3, 4)));
    const Sheet& sheet = *CurrentSheet();
    ASSERT_EQ(sheet.validations.Count(), 1u);
    ASSERT_EQ(sheet.validations[0].areas.Count(), 2u);
    EXPECT_EQ(sheet.validations[0].areas[0], (RefArea{0, 2, 0, 0}));
    EXPECT_EQ(sheet.validations[0].areas[1], (RefArea{3, 7, 0, 0}));
    ASSERT_TRUE(UndoLast());
    ASSERT_EQ(sheet.validations[0].areas.Count(), 1u);
    EXPECT_EQ(sheet.validations[0].areas[0], (RefArea{0, 9, 0, 0}));
}

// A rule over A1:A10 with one reference, and a row put in at the sixth: what the rules look at afterwards.
TEST_F(InsertAndDelete, TheReferencesOfARuleFollowTheCells) {
    struct Row {
        u16 row;
        u8 nibble;
        std::vector<u16> after;  // of each rule
    };
    const Row rows[] = {
        {7, 0, {8}},                   // $A$8: both parts look at $A$9 and stay one rule
        {2, 0, {2}},                   // $A$3
        {0, FIRST_ROW_RELATIVE, {0}},  // the cell itself
        // The cell above leads off the sheet from A1; from the part that moves it is A5, which stays.
        {65535, FIRST_ROW_RELATIVE, {65535, 65534}},
        {7, FIRST_ROW_RELATIVE, {8, 7}},  // seven down: for A1 that is A8, which moves, for the part that
                                          // moves with it nothing changes
    };
    for (const Row& row : rows) {
        CurrentSheet()->validations.Clear();
        ValidationRule& rule = Rule({{0, 9, 0, 0}});
        ASSERT_TRUE(MakeTokens(rule.formula1, 5, 0));
        rule.formula1.bytes[0] = ptgRefN | 0x40;
        WriteRefOperand(rule.formula1.bytes + 1, row.row, 0, row.nibble);
        ASSERT_TRUE(InsertRowsOrCellsDown(Rows(5, 5)));
        const Array<ValidationRule>& rules = CurrentSheet()->validations;
        ASSERT_EQ(rules.Count(), row.after.size()) << row.row;
        for (u32 i = 0; i < rules.Count(); ++i) {
            EXPECT_EQ(FoldToken(rules[i].formula1.bytes[0]), ptgRefN) << row.row;
            EXPECT_EQ(ReadU16(rules[i].formula1.bytes + 1), row.after[i]) << row.row;
        }
        ASSERT_TRUE(UndoLast());
        ASSERT_EQ(rules.Count(), 1u);
        EXPECT_EQ(ReadU16(rules[0].formula1.bytes + 1), row.row);
        FreeTokens(CurrentSheet()->validations[0].formula1);
    }
}

TEST_F(InsertAndDelete, EqualRulesBecomeOneWithoutComparingAllPairs) {
    for (i32 i = 0; i < 3000; ++i) Rule({{static_cast<u16>(i + 1), static_cast<u16>(i + 1), 0, 0}});
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(0, 0)));
    ASSERT_EQ(CurrentSheet()->validations.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->validations[0].areas.Count(), 3000u);
    EXPECT_EQ(CurrentSheet()->validations[0].areas[0], (RefArea{2, 2, 0, 0}));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->validations.Count(), 3000u);
}

TEST_F(InsertAndDelete, AFrozenSplitGoesWithItsRows) {
    Sheet& sheet = *CurrentSheet();
    sheet.viewFlags |= VIEW_FROZEN;
    sheet.view.splitRow = 5;
    sheet.view.firstRow = 8;
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(2, 3)));
    EXPECT_EQ(sheet.view.splitRow, 7);
    EXPECT_EQ(sheet.view.firstRow, 10);
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(8, 8)));
    EXPECT_EQ(sheet.view.splitRow, 7);
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(5, 9)));
    EXPECT_EQ(sheet.view.splitRow, 5);
    ASSERT_TRUE(UndoLast());
    ASSERT_TRUE(UndoLast());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet.view.splitRow, 5);
    EXPECT_EQ(sheet.view.firstRow, 8);
}

TEST_F(InsertAndDelete, AHyperlinkGoesWithItsCell) {
    Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
    link->area = {4, 4, 1, 1};
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(0, 1)));
    EXPECT_EQ(CurrentSheet()->hyperlinks[0].area, (RefArea{6, 6, 1, 1}));
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(6, 6)));
    EXPECT_TRUE(CurrentSheet()->hyperlinks.IsEmpty());
    ASSERT_TRUE(UndoLast());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentSheet()->hyperlinks[0].area, (RefArea{4, 4, 1, 1}));
}

TEST_F(InsertAndDelete, AShiftByHandMovesCellsAndFormulas) {
    Enter("A1", "5");
    Enter("C1", "=A1");
    ASSERT_TRUE(ShiftBlock({0, 0, 0, 0}, 3, 0));
    EXPECT_EQ(Shown("A4"), "5");
    EXPECT_EQ(Formula("C1"), "=A4");
}

// ---- sheets ---------------------------------------------------------------------------------------------

TEST_F(InsertAndDelete, ACopyBeforeTheSheetItselfLeavesItOneFurther) {
    Enter("A1", "=ROW()");
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(CopySheet(0));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    ASSERT_TRUE(DeleteSheetPlain(0, 1));
    ASSERT_TRUE(CopySheet(0));
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    EXPECT_EQ(Narrow(SheetAt(0, 0)->name), "Sheet2");
    EXPECT_EQ(Narrow(SheetAt(0, 1)->name), "Sheet1");
    ASSERT_TRUE(UndoLast());
    ASSERT_EQ(CurrentWorkbook()->sheets.Count(), 1u);
    EXPECT_EQ(Narrow(SheetAt(0, 0)->name), "Sheet1");
}

TEST_F(InsertAndDelete, NamesOfADeletedSheetBecomeGlobalOrGiveWay) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("both", "=10", 0);
    DefineName("both", "=20", 2);
    DefineName("own", "=30", 2);
    Enter("A1", "=both+own");
    EXPECT_EQ(Shown("A1"), "50");
    CurrentWorkbook()->currentSheet = 0;
    // A formula of the other sheet that uses the sheet's own names.
    FormulaTokens tokens;
    ASSERT_TRUE(MakeTokens(tokens, 11, 0));
    std::fill_n(tokens.bytes, 11, u8{0});
    tokens.bytes[0] = tokens.bytes[5] = ptgName | 0x40;
    PutU16(tokens.bytes + 1, static_cast<u32>(FindName(*CurrentWorkbook(), u"both", 2) + 1));
    PutU16(tokens.bytes + 6, static_cast<u32>(FindName(*CurrentWorkbook(), u"own", 2) + 1));
    tokens.bytes[10] = ptgAdd;
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 0, 15, Value(), tokens));
    const std::string before = DumpBooks();
    ASSERT_TRUE(DeleteSheet(1, -1));
    EXPECT_EQ(Formula("A1"), "=both+own");
    EXPECT_EQ(Shown("A1"), "40");
    EXPECT_EQ(FindName(*CurrentWorkbook(), u"both", 2), -1);
    EXPECT_GE(FindName(*CurrentWorkbook(), u"own", 0), 0);
    ASSERT_TRUE(UndoLast());
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(DumpBooks(), before);
}

TEST_F(InsertAndDelete, AnUndefinedGlobalNameTakesTheFormulaOver) {
    Enter("A1", "=late");  // asked for before it is there
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    DefineName("late", "=20", 2);
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Shown("A1"), "#NAME?");
    const std::string before = DumpBooks();
    ASSERT_TRUE(DeleteSheet(1, -1));
    EXPECT_EQ(Shown("A1"), "20");
    // What is left of the row has a text, so that a file can hold it.
    for (const DefinedName& name : CurrentWorkbook()->names) EXPECT_FALSE(name.text.IsEmpty());
    ASSERT_TRUE(UndoLast());
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Shown("A1"), "#NAME?");
    EXPECT_EQ(DumpBooks(), before);
}

TEST_F(InsertAndDelete, ARangeOfSheetsFollowsWhatMovesIntoIt) {
    for (i32 i = 1; i < 4; ++i) ASSERT_TRUE(InsertSheet(i, nullptr, SHEET_WORKSHEET, false, false));
    for (i32 i = 0; i < 4; ++i) {
        CurrentWorkbook()->currentSheet = i;
        Enter("A1", std::to_string(1 << i));
    }
    Enter("B1", "=SUM(Sheet1:Sheet3!A1)");
    EXPECT_EQ(Shown("B1"), "7");
    ASSERT_TRUE(MoveSheet(0, 3, 1));
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    EXPECT_EQ(Shown("B1"), "15");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("B1"), "7");
    ASSERT_TRUE(MoveSheet(0, 0, 4));  // the first end goes behind the last, and the two change places
    CurrentWorkbook()->currentSheet = 2;
    EXPECT_EQ(Shown("B1"), "13");
    ASSERT_TRUE(UndoLast());
    CurrentWorkbook()->currentSheet = 3;
    EXPECT_EQ(Shown("B1"), "7");
}

// ---- memory ---------------------------------------------------------------------------------------------

bool FillAndEdit(int which) {
    switch (which) {
        case 0: return InsertRowsOrCellsDown({3, 4, 0, 255});
        case 1: return DeleteRowsOrCellsUp({3, 6, 0, 255});
        case 2: return InsertColumnsOrCellsRight({3, 60, 2, 3});
        case 3: return DeleteColumnsOrCellsLeft({0, 65535, 2, 4});
        case 4: return DeleteRowsOrCellsUp({3, 6, 13, 20});
        case 5: return DeleteRowsOrCellsUp({9, 65535, 0, 255});
        case 6: return DeleteSheet(0, -1);
        case 7: return CopySheet(1);
        case 8: return MoveSheet(0, 0, 3);
        case 9: {
            EntryTarget target;
            target.area = {3, 6, 2, 3};
            target.refRow = 3;
            target.refColumn = 2;
            target.isFill = true;
            i32 outcome = 0;
            return StoreEntry(target, u"=A1+B2", outcome);
        }
        case 10: return ClearArea({2, 9, 1, 6}, CLEAR_ALL);
        default: return ClearArea({2, 9, 1, 6}, CLEAR_FORMATS);
    }
}

// Each refused allocation of an operation and of its undo leaves the book as it was, or does all of it.
TEST_F(InsertAndDelete, EveryRefusedAllocationLeavesTheBookWhole) {
    int done = 0;
    LeaveNothing();
    std::string before;  // always the same book
    for (int which = 0; which < 12; ++which) {
        std::string changed;  // what all of the operation makes of it
        for (const int way : {0, 1, 2, 3}) {
            const bool inUndo = way & 1, forEver = way & 2;
            // A fill that finds no memory at all stops where it is and keeps its record.
            if (which == 9 && forEver && !inUndo) continue;
            bool failed = true;
            for (u64 n = 1; failed; ++n) {
                test::FailingAllocator allocator(0, forEver);
                {
                    QuietMemoryScope quiet;
                    Sandbox::SetUp();
                    std::mt19937 random(5);
                    FillBookAtRandom(random);
                    // Nothing to refuse over arrays and merges.
                    for (Sheet* sheet : CurrentWorkbook()->sheets) {
                        sheet->mergedAreas.Clear();
                        sheet->arrayFormulas.Clear();
                    }
                    u16 look = 0;
                    CellFormat format = ResolveCellFormat(*CurrentWorkbook(), DEFAULT_CELL_FORMAT);
                    format.horizontal = 3;
                    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, look));
                    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {4, 0, 3000, look}));
                    MarkAllStale();
                    if (before.empty()) before = DumpBooks();
                    else CalculateBooks();
                    if (n == 1) ASSERT_EQ(DumpBooks(), before);
                    if (!inUndo) allocator.FailAt(n);
                    const bool good = FillAndEdit(which);
                    failed = allocator.HasFailed();
                    allocator.StopFailing();
                    if (changed.empty() || !inUndo) {
                        const std::string after = DumpBooks();
                        if (inUndo) changed = after;
                        if (!good) ASSERT_EQ(after, before) << which << " refused " << n;
                    } else {
                        CalculateBooks();
                    }
                    if (!good) ASSERT_EQ(UndoCount(), 0u);
                    if (inUndo) {
                        ASSERT_EQ(UndoCount(), 1u);
                        allocator.FailAt(n);
                        const bool undone = UndoLast();
                        failed = allocator.HasFailed();
                        allocator.StopFailing();
                        CurrentWorkbook()->currentSheet = 0;
                        ASSERT_EQ(DumpBooks(), undone ? before : changed) << which << " undo refused " << n;
                        ASSERT_EQ(UndoCount(), undone ? 0u : 1u);
                        if (!undone) {
                            ASSERT_TRUE(UndoLast());
                            ASSERT_EQ(DumpBooks(), before);
                        }
                    } else if (good && UndoCount()) {
                        ASSERT_TRUE(UndoLast());
                        ASSERT_EQ(DumpBooks(), before) << which << " then undone " << n;
                    }
                    ++done;
                    LeaveNothing();
                }
                ASSERT_EQ(allocator.LiveBlocks(), 0u) << which << " at " << n;
            }
        }
    }
    EXPECT_GT(done, 1000);
    Sandbox::SetUp();
}

}  // namespace
}  // namespace tally
