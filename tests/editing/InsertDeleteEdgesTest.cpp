#include "editing/InsertDeleteFixture.h"
#include "editing/Undo.h"
#include "model/RuleLists.h"

namespace tally {
namespace {

// ---- the edges of the sheet -----------------------------------------------------------------------------

TEST_F(InsertAndDelete, DeletingToTheLastColumnLeavesReferencesAsTheyAre) {
    Enter("A1", "=SUM(A2:T2)");
    Enter("E2", "4");
    Enter("O2", "8");
    Enter("IV3", "1");
    EXPECT_EQ(Shown("A1"), "12");
    for (const RefArea& area : {RefArea{0, 65535, 10, 255}, RefArea{1, 1, 10, 255}}) {
        ASSERT_TRUE(DeleteColumnsOrCellsLeft(area));
        EXPECT_EQ(Formula("A1"), "=SUM(A2:T2)");
        EXPECT_EQ(Shown("A1"), "4");
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(Shown("A1"), "12");
        EXPECT_EQ(Shown("IV3"), "1");
    }
    // One column less, and what is left moves.
    ASSERT_TRUE(DeleteColumnsOrCellsLeft({0, 65535, 10, 254}));
    EXPECT_EQ(Shown("K3"), "1");
}

TEST_F(InsertAndDelete, SizesOfDeletedLinesAtTheEndOfTheSheetGo) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(SetRowInfo(sheet.rows, {9, 0, 300}) && SetRowInfo(sheet.rows, {20, 0, 400}));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {9, 0, 3000, 15}) &&
                SetColumnInfo(sheet.columns, {20, 0, 4000, 15}));
    ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(10, 65535)));
    EXPECT_EQ(sheet.rows.Count(), 1u);
    EXPECT_EQ(sheet.columns.Count(), 2u);
    ASSERT_TRUE(DeleteColumnsOrCellsLeft({0, 65535, 10, 255}));
    EXPECT_EQ(sheet.columns.Count(), 1u);
    ASSERT_TRUE(UndoLast());
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet.rows.Count(), 2u);
    EXPECT_EQ(sheet.columns.Count(), 2u);
    // Cells alone leave the sizes.
    ASSERT_TRUE(DeleteRowsOrCellsUp({10, 65535, 0, 254}));
    ASSERT_TRUE(DeleteColumnsOrCellsLeft({0, 65534, 10, 255}));
    EXPECT_EQ(sheet.rows.Count(), 2u);
    EXPECT_EQ(sheet.columns.Count(), 2u);
}

TEST_F(InsertAndDelete, PageBreaksGoWithTheirLinesAndComeBack) {
    PageSettings& page = CurrentSheet()->page;
    for (const u16 at : {u16{3}, u16{8}}) {
        PageBreak brk;
        brk.at = at;
        ASSERT_TRUE(page.rowBreaks.Append(brk) && page.columnBreaks.Append(brk));
    }
    const auto places = [](const Array<PageBreak>& breaks) {
        std::string out;
        for (const PageBreak& brk : breaks) out += std::to_string(brk.at) + " ";
        return out;
    };
    const struct {
        bool (*edit)(const RefArea&);
        RefArea area;
        const char *rows, *columns;
    } table[] = {
        {InsertRowsOrCellsDown, {5, 6, 0, 255}, "3 10 ", "3 8 "},
        {DeleteRowsOrCellsUp, {5, 6, 0, 255}, "3 6 ", "3 8 "},
        {DeleteRowsOrCellsUp, {3, 3, 0, 255}, "7 ", "3 8 "},
        {InsertColumnsOrCellsRight, {0, 65535, 5, 6}, "3 8 ", "3 10 "},
        {DeleteColumnsOrCellsLeft, {0, 65535, 0, 0}, "3 8 ", "2 7 "},
        {DeleteColumnsOrCellsLeft, {0, 65535, 8, 9}, "3 8 ", "3 "},
        {InsertRowsOrCellsDown, {5, 6, 0, 9}, "3 8 ", "3 8 "},
        {DeleteColumnsOrCellsLeft, {0, 9, 0, 0}, "3 8 ", "3 8 "},
    };
    for (const auto& row : table) {
        ASSERT_TRUE(row.edit(row.area));
        EXPECT_EQ(places(page.rowBreaks), row.rows) << &row - table;
        EXPECT_EQ(places(page.columnBreaks), row.columns) << &row - table;
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(places(page.rowBreaks), "3 8 ") << &row - table;
        EXPECT_EQ(places(page.columnBreaks), "3 8 ") << &row - table;
    }
}

TEST_F(InsertAndDelete, AChartTakesNoCells) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    for (bool (*edit)(const RefArea&) :
         {InsertRowsOrCellsDown, InsertColumnsOrCellsRight, DeleteRowsOrCellsUp, DeleteColumnsOrCellsLeft})
        EXPECT_FALSE(edit({1, 1, 1, 1}));
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(InsertAndDelete, EachEditHasItsKind) {
    const struct {
        bool (*edit)(const RefArea&);
        i32 whole, part;
        bool rows;
    } table[] = {{InsertRowsOrCellsDown, UNDO_INSERT_ROWS, UNDO_INSERT_CELLS, true},
                 {InsertColumnsOrCellsRight, UNDO_INSERT_COLUMNS, UNDO_INSERT_CELLS, false},
                 {DeleteRowsOrCellsUp, UNDO_DELETE_ROWS, UNDO_DELETE_CELLS, true},
                 {DeleteColumnsOrCellsLeft, UNDO_DELETE_COLUMNS, UNDO_DELETE_CELLS, false}};
    for (const auto& row : table) {
        ASSERT_TRUE(row.edit(row.rows ? RefArea{2, 3, 0, 255} : RefArea{0, 65535, 2, 3}));
        EXPECT_EQ(LastUndo()->kind, row.whole);
        ASSERT_TRUE(row.edit({2, 3, 2, 3}));
        EXPECT_EQ(LastUndo()->kind, row.part);
        // Whole lines of the other direction are cells like all others.
        if (row.rows) {
            ASSERT_TRUE(row.edit({2, 3, 1, 255}));
            EXPECT_EQ(LastUndo()->kind, row.part);
        } else {
            ASSERT_TRUE(row.edit({1, 65535, 2, 3}));
            EXPECT_EQ(LastUndo()->kind, row.part);
        }
    }
}

// A rule beside the cells that move looks at where they went, and each part of a rule from its first cell.
TEST_F(InsertAndDelete, ARuleBesideTheMovedCellsLooksAtWhereTheyWent) {
    ValidationRule& rule = Rule({{2, 2, 7, 7}, {0, 1, 9, 9}});
    ASSERT_TRUE(MakeTokens(rule.formula1, 5, 0));
    rule.formula1.bytes[0] = ptgRefN | 0x40;
    WriteRefOperand(rule.formula1.bytes + 1, 4, 0, 0);
    ASSERT_TRUE(InsertRowsOrCellsDown({4, 4, 0, 0}));
    EXPECT_EQ(ReadU16(CurrentSheet()->validations[0].formula1.bytes + 1), 5);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(ReadU16(CurrentSheet()->validations[0].formula1.bytes + 1), 4);
    // Three rows below the first area's first cell lies row 5, which moves; below the second's nothing does.
    WriteRefOperand(CurrentSheet()->validations[0].formula1.bytes + 1, 3, 0, FIRST_ROW_RELATIVE);
    ASSERT_TRUE(InsertRowsOrCellsDown({5, 5, 0, 0}));
    EXPECT_EQ(ReadU16(CurrentSheet()->validations[0].formula1.bytes + 1), 4);
    ASSERT_TRUE(UndoLast());
    FreeTokens(CurrentSheet()->validations[0].formula1);
}

// More lines go than there are behind them: what stood between is gone all the same, whole lines or cells.
TEST_F(InsertAndDelete, WhatIsDeletedGoesWhereFewLinesComeUpFromBehind) {
    const struct {
        bool (*edit)(const RefArea&);
        RefArea whole, part;
        const char *before, *first, *middle, *gone, *behind;
        RefArea inside;
    } table[] = {
        {DeleteRowsOrCellsUp,
         {4, 65533, 0, 255},
         {4, 65533, 1, 2},
         "B4",
         "B5",
         "B100",
         "C99",
         "B65535",
         {90, 95, 1, 2}},
        {DeleteColumnsOrCellsLeft,
         {0, 65535, 4, 253},
         {1, 2, 4, 253},
         "D2",
         "E2",
         "Z2",
         "AA3",
         "IU2",
         {1, 2, 40, 45}},
    };
    for (const auto& row : table) {
        for (const RefArea& area : {row.whole, row.part}) {
            ForgetBooks();
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            Sheet& sheet = *CurrentSheet();
            for (const char* cell : {row.before, row.first, row.middle, row.behind}) Enter(cell, cell);
            ASSERT_TRUE(sheet.mergedAreas.Append(row.inside) && sheet.arrayFormulas.Append({row.inside, 0, 0}));
            Rule({row.inside});
            sheet.hyperlinks.AppendDefault()->area = row.inside;
            // A formula among the cells that go, and one beside them that reads one.
            Enter(row.gone, std::string("=") + row.behind);
            Enter("A1", std::string("=") + row.middle + "&\"!\"");
            const std::string before = DumpBooks();
            EXPECT_EQ(Shown("A1"), std::string(row.middle) + "!");
            ASSERT_TRUE(row.edit(area));
            EXPECT_EQ(Shown("A1"), "!");
            EXPECT_EQ(Shown(row.before), row.before);
            EXPECT_EQ(Shown(row.first), row.behind);
            EXPECT_EQ(Shown(row.middle), "");
            EXPECT_EQ(Shown(row.behind), "");
            EXPECT_EQ(sheet.cells.count, 3u);
            EXPECT_TRUE(sheet.mergedAreas.IsEmpty());
            EXPECT_TRUE(sheet.arrayFormulas.IsEmpty());
            EXPECT_TRUE(sheet.validations.IsEmpty());
            EXPECT_TRUE(sheet.hyperlinks.IsEmpty());
            ASSERT_TRUE(UndoLast());
            EXPECT_EQ(DumpBooks(), before);
        }
    }
}

TEST_F(InsertAndDelete, OneListOfRulesMayLieInWhatIsDeletedAlone) {
    for (const bool validation : {true, false}) {
        Sheet& sheet = *CurrentSheet();
        FreeRules(sheet.validations);
        FreeRules(sheet.conditionalFormats);
        const RefArea kept = {2, 3, 0, 0}, all = {2, 30, 0, 0};
        Rule({validation ? all : kept});
        ConditionalFormat* format = sheet.conditionalFormats.AppendDefault();
        ASSERT_TRUE(format && format->areas.Append(validation ? kept : all));
        ASSERT_TRUE(DeleteRowsOrCellsUp(Rows(10, 65535)));
        EXPECT_EQ(sheet.validations[0].areas[0], validation ? (RefArea{2, 9, 0, 0}) : kept);
        EXPECT_EQ(sheet.conditionalFormats[0].areas[0], validation ? kept : (RefArea{2, 9, 0, 0}));
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(sheet.validations[0].areas[0], validation ? all : kept);
        EXPECT_EQ(sheet.conditionalFormats[0].areas[0], validation ? kept : all);
    }
}

// Two columns to the right of a rule's first cell: of the first part that is what moves, of the second nothing.
TEST_F(InsertAndDelete, AColumnOfARuleIsSeenFromItsFirstCell) {
    for (const u8 column : {u8{0}, u8{3}}) {
        FreeRules(CurrentSheet()->validations);
        ValidationRule& rule = Rule({{9, 9, column, static_cast<u8>(column + 1)}});
        ASSERT_TRUE(MakeTokens(rule.formula1, 5, 0));
        rule.formula1.bytes[0] = ptgRefN | 0x40;
        WriteRefOperand(rule.formula1.bytes + 1, 4, 2, FIRST_COLUMN_RELATIVE);
        ASSERT_TRUE(InsertColumnsOrCellsRight({4, 4, 2, 2}));
        EXPECT_EQ(ReadU16(CurrentSheet()->validations[0].formula1.bytes + 1), 4);
        // From column A that is C5, which goes to D5; from D it is F5, which goes to G5.
        EXPECT_EQ(CurrentSheet()->validations[0].formula1.bytes[3], 3) << int{column};
        ASSERT_TRUE(UndoLast());
        ASSERT_TRUE(InsertColumnsOrCellsRight({4, 4, 4, 4}));
        EXPECT_EQ(CurrentSheet()->validations[0].formula1.bytes[3], column ? 3 : 2) << int{column};
        ASSERT_TRUE(UndoLast());
    }
    FreeRules(CurrentSheet()->validations);
}

TEST_F(InsertAndDelete, BothInputsOfATableGoWithTheirCells) {
    DataTable table;
    table.area = {30, 31, 8, 9};
    table.flags = TABLE_TWO_INPUTS;
    const u16 inputs[] = {1, 1, 20, 5};
    std::copy_n(inputs, 4, table.inputs);
    ASSERT_TRUE(CurrentSheet()->dataTables.Append(table));
    const struct {
        bool (*edit)(const RefArea&);
        RefArea area;
        u16 after[4];
    } rows[] = {{InsertColumnsOrCellsRight, {0, 65535, 3, 3}, {1, 1, 20, 6}},
                {InsertColumnsOrCellsRight, {0, 65535, 0, 1}, {1, 3, 20, 7}},
                {InsertRowsOrCellsDown, {1, 3, 0, 255}, {4, 1, 23, 5}},
                {DeleteRowsOrCellsUp, {10, 11, 0, 255}, {1, 1, 18, 5}}};
    for (const auto& row : rows) {
        ASSERT_TRUE(row.edit(row.area));
        for (u32 i = 0; i < 4; ++i)
            EXPECT_EQ(CurrentSheet()->dataTables[0].inputs[i], row.after[i]) << &row - rows << " " << i;
        ASSERT_TRUE(UndoLast());
        for (u32 i = 0; i < 4; ++i) EXPECT_EQ(CurrentSheet()->dataTables[0].inputs[i], inputs[i]);
    }
}

// A reference of a name that says no sheet lies on the sheet of the name's scope.
TEST_F(InsertAndDelete, AReferenceWithoutASheetMovesInNamesOfItsScope) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    for (u16 scope = 0; scope < 3; ++scope) {
        const i32 row = AddName(*CurrentWorkbook(), u"plain", scope);
        ASSERT_GE(row, 0);
        FormulaTokens& tokens = CurrentWorkbook()->names[static_cast<u32>(row)].tokens;
        ASSERT_TRUE(MakeTokens(tokens, 5, 0));
        tokens.bytes[0] = ptgRef;
        WriteRefOperand(tokens.bytes + 1, 4, 0, 0);
    }
    ASSERT_TRUE(InsertRowsOrCellsDown(Rows(2, 2)));
    for (u32 scope = 0; scope < 3; ++scope)
        EXPECT_EQ(ReadU16(CurrentWorkbook()->names[scope].tokens.bytes + 1), scope == 1 ? 5 : 4) << scope;
    ASSERT_TRUE(UndoLast());
    for (const DefinedName& name : CurrentWorkbook()->names) EXPECT_EQ(ReadU16(name.tokens.bytes + 1), 4);
}

}  // namespace
}  // namespace tally
