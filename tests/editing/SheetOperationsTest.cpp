#include "editing/SheetOperations.h"

#include <map>

#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u8 oneToken[] = {ptgInt, 1, 0};
constexpr u8 twoToken[] = {ptgInt, 2, 0};

class SheetOperations : public Sandbox {
  protected:
    // "abc" are three worksheets, in upper case hidden ones; a digit is a chart.
    static void MakeSheets(std::string_view names) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            const bool upper = names[i] >= 'A' && names[i] <= 'Z', chart = names[i] < 'A';
            const char16_t letter = static_cast<char16_t>(names[i]);
            const WideView name(&letter, 1);
            ASSERT_TRUE(
                InsertSheet(static_cast<i32>(i), &name, chart ? SHEET_CHART : SHEET_WORKSHEET, false, false));
            CurrentSheet()->hidden = upper;
        }
        RemoveSheet(0, static_cast<i32>(names.size()));
        CurrentWorkbook()->currentSheet = 0;
    }
    static std::string Names() {
        std::string all;
        for (const Sheet* sheet : CurrentWorkbook()->sheets) all += Narrow(WideView(sheet->name));
        return all;
    }
    static std::string CurrentName() { return Narrow(WideView(CurrentSheet()->name)); }
    static void GoTo(std::string_view name) {
        CurrentWorkbook()->currentSheet = FindSheet(CurrentBook(), Wide(name));
        ASSERT_GE(CurrentWorkbook()->currentSheet, 0);
    }
    // What the dump tells of one sheet, without its number and name.
    static std::string Told(i32 sheet) {
        const std::string start = "sheet " + std::to_string(sheet) + " ";
        const std::string name = Narrow(WideView(SheetAt(CurrentBook(), sheet)->name));
        std::string all;
        for (std::string line : DumpBook(CurrentBook())) {
            if (!line.starts_with(start)) continue;
            line = line.substr(start.size());
            all += (line.starts_with(name + " kind") ? line.substr(name.size()) : line) + "\n";
        }
        return all;
    }
    static void PutFormulas(FormulaTokens& one, FormulaTokens& two) {
        ASSERT_TRUE(MakeTokens(one, oneToken, {}));
        ASSERT_TRUE(MakeTokens(two, twoToken, {}));
    }
};

// ---- copies -------------------------------------------------------------------------------------------

void FillView(Sheet& sheet) {
    sheet.zoomPercent = 75;
    sheet.viewFlags = VIEW_FORMULAS | VIEW_HEADERS | VIEW_FROZEN | VIEW_PROTECTED | VIEW_HEIGHT_DIFFERS;
    sheet.defaultColumnWidth = 1111;
    sheet.defaultRowHeight = 333;
    sheet.passwordHash = 0xBEEF;
    sheet.tabColour = 11;
    sheet.view = {7, 6, {7, 9, 6, 8}, 20, 10, 2, 1, 4, 3, 0, 0};
}

void FillFilter(Sheet& sheet) {
    sheet.filterState = FILTER_AUTO;
    for (int i = 0; i < 3; ++i) {
        FilterColumn* column = sheet.filterColumns.AppendDefault();
        ASSERT_TRUE(column);
        column->top10 = i == 1;
        column->top = i != 1;
        column->percent = i == 1;
        column->count = static_cast<u16>(7 + i);
        column->threshold = 1.5 + i;
        column->joinOr = i == 2;
        column->conditions[0].kind = 6;
        column->conditions[0].comparison = static_cast<u8>(2 + i);
        column->conditions[1].kind = static_cast<u8>(i == 2 ? 6 : 14);
        column->conditions[1].comparison = 5;
        ASSERT_TRUE(column->conditions[0].text.Assign(u"first") && column->conditions[1].text.Assign(u"other"));
    }
}

void FillPage(PageSettings& page) {
    ASSERT_TRUE(page.header.Assign(u"head") && page.footer.Assign(u"foot"));
    page.leftMargin = 1;
    page.rightMargin = 2;
    page.topMargin = 3;
    page.bottomMargin = 4;
    page.printHeaders = 1;
    page.printGridlines = 2;
    page.gridSet = 3;
    page.centreHorizontally = 4;
    page.centreVertically = 5;
    page.fitToPage = 6;
    for (u16 i = 0; i < 4; ++i) page.guts[i] = static_cast<u16>(i + 21);
    const u8 setup[] = {1, 2, 3}, printer[] = {4, 5};
    ASSERT_TRUE(page.setup.AppendMany(setup, 3) && page.printer.AppendMany(printer, 2));
}

TEST_F(SheetOperations, ACopyHasAllThatTheSheetHas) {
    Sheet& sheet = *CurrentSheet();
    Enter("A1", "1");
    Enter("A2", "text");
    Enter("A3", "=A1+1");
    Enter("B4", "=TRUE");
    Enter("C5", "=NOW()");
    EnterArray("D1", "D2", "=A1:A2");
    ASSERT_TRUE(InsertCell(sheet, 30, 9, 17, Value(), {}));
    ASSERT_TRUE(SetColumnInfo(sheet.columns, {2, 0, 999, 17}) && SetRowInfo(sheet.rows, {3, 0, 777}));
    ASSERT_TRUE(sheet.mergedAreas.Append({9, 10, 1, 2}) && sheet.objects.Append({5, 6}));
    FillView(sheet);
    FillFilter(sheet);
    FillPage(sheet.page);
    Hyperlink* link = sheet.hyperlinks.AppendDefault();
    ASSERT_TRUE(link && link->target.Assign(u"to") && link->location.Assign(u"at"));
    link->area = {4, 5, 1, 2};
    link->kind = 3;
    ValidationRule* rule = sheet.validations.AppendDefault();
    ASSERT_TRUE(rule && rule->errorText.Assign(u"no") && rule->areas.Append({1, 2, 3, 4}));
    PutFormulas(rule->formula1, rule->formula2);
    ConditionalFormat* format = sheet.conditionalFormats.AppendDefault();
    ASSERT_TRUE(format && format->areas.Append({5, 6, 7, 8}) && format->conditions.AppendDefault());
    PutFormulas(format->conditions[0].formula1, format->conditions[0].formula2);

    ASSERT_TRUE(CopySheet(1));
    const Sheet& made = *SheetAt(0, 1);
    const Sheet& source = *SheetAt(0, 0);
    EXPECT_EQ(CurrentSheet(), &made);
    EXPECT_EQ(Told(1), Told(0));
    EXPECT_EQ(made.viewFlags, source.viewFlags);
    EXPECT_EQ(made.defaultColumnWidth, 1111);
    EXPECT_EQ(made.defaultRowHeight, 333);
    EXPECT_EQ(made.passwordHash, 0xBEEF);
    EXPECT_EQ(made.tabColour, 11);
    EXPECT_EQ(made.hyperlinks[0].kind, 3);
    ASSERT_EQ(made.objects.Count(), 1u);
    EXPECT_EQ(made.objects[0].id, 6);
    EXPECT_EQ(GetCell(made.cells, 30, 9)->format, 17);
    for (u32 i = 0; i < 3; ++i) {
        EXPECT_EQ(made.filterColumns[i].threshold, 1.5 + i);
        EXPECT_EQ(made.filterColumns[i].count, 7u + i);
        EXPECT_EQ(made.filterColumns[i].top, i != 1);
        EXPECT_EQ(made.filterColumns[i].percent, i == 1);
    }
    EXPECT_TRUE(CellAtName("C5")->formula->alwaysCalculate);
    EXPECT_FALSE(CellAtName("A3")->formula->alwaysCalculate);
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
}

TEST_F(SheetOperations, ACopyIsCalculatedFromItsOwnCells) {
    Enter("A1", "1");
    Enter("A2", "=A1+1");
    EXPECT_EQ(Shown("A2"), "2");
    ASSERT_TRUE(CopySheet(1));
    EXPECT_EQ(CellAtName("A2")->calcState, CALC_CURRENT);
    EXPECT_EQ(Shown("A2"), "2");
    Enter("A1", "5");
    EXPECT_EQ(Shown("A2"), "6");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Shown("A2"), "2");
}

TEST_F(SheetOperations, ADataTableOfACopyFollowsTheInputOfTheCopy) {
    Enter("A1", "1");
    Enter("B3", "=A1*10");
    Enter("A4", "2");
    const DataTable table = {{3, 3, 1, 1}, 0, {0, 0, 0, 0}};
    const u8 part[5] = {ptgTbl, 3, 0, 1, 0};
    FormulaTokens tokens;
    ASSERT_TRUE(CurrentSheet()->dataTables.Append(table) && MakeTokens(tokens, ByteView(part, 5), {}));
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 3, 1, 15, Value(), tokens));
    DropDependents();
    EXPECT_EQ(Shown("B4"), "20");
    ASSERT_TRUE(CopySheet(1));
    Enter("A4", "3");
    EXPECT_EQ(Shown("B4"), "30");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Shown("B4"), "20");
}

TEST_F(SheetOperations, ACopyOfAChartHasItsRecordsAndTheirForm) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    const u8 bytes[] = {9, 8, 7};
    CarriedRecords& carried = CurrentSheet()->carried;
    ASSERT_TRUE(carried.bytes.AppendMany(bytes, 3) && carried.runs.Append({1, 0, 3}));
    carried.form = 7;
    ASSERT_TRUE(CopySheet(0));
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    EXPECT_EQ(CurrentSheet()->kind, SHEET_CHART);
    EXPECT_EQ(Told(0), Told(2));
    EXPECT_EQ(CurrentSheet()->carried.form, 7);
    ASSERT_EQ(CurrentSheet()->carried.runs.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->carried.runs[0].length, 3u);
    ASSERT_EQ(CurrentSheet()->carried.bytes.Count(), 3u);
    EXPECT_EQ(CurrentSheet()->carried.bytes[2], 7);
}

TEST_F(SheetOperations, TheOwnNamesOfACopySpeakOfTheCopyAndOthersStay) {
    MakeSheets("ab");
    Enter("A1", "5");
    DefineName("own", "=a!$A$1", 1);
    DefineName("far", "=b!$A$1", 1);
    DefineName("all", "=a!$A$1", 0);
    Workbook& book = *CurrentWorkbook();
    ASSERT_GE(AddName(book, u"unset", 1), 0);
    ASSERT_GE(AddName(book, u"later", 2), 0);
    book.names[static_cast<u32>(FindName(book, u"own", 1))].flags = 1;
    ASSERT_TRUE(CopySheet(1));
    Enter("A1", "7");
    Enter("B1", "=own");
    Enter("B2", "=all");
    EXPECT_EQ(Shown("B1"), "7");
    EXPECT_EQ(Shown("B2"), "5");
    const i32 own = FindName(book, u"own", 2), unset = FindName(book, u"unset", 2);
    ASSERT_GE(own, 0);
    ASSERT_GE(unset, 0);
    EXPECT_GE(FindName(book, u"far", 2), 0);
    EXPECT_EQ(book.names[static_cast<u32>(own)].flags, 1);
    EXPECT_FALSE(HasFormula(book.names[static_cast<u32>(unset)].tokens));
    EXPECT_GE(FindName(book, u"own", 1), 0);
    EXPECT_GE(FindName(book, u"unset", 1), 0);
    EXPECT_GE(FindName(book, u"later", 3), 0);
    EXPECT_EQ(FindName(book, u"later", 2), -1);
    EXPECT_EQ(FindName(book, u"all", 2), -1);
}

TEST_F(SheetOperations, ACopyInsideARangeOfSheetsCountsInIt) {
    MakeSheets("abc");
    for (const char* name : {"a", "b", "c"}) {
        GoTo(name);
        Enter("A1", "1");
    }
    Enter("B1", "=SUM(a:b!A1)");
    EXPECT_EQ(Shown("B1"), "2");
    GoTo("b");
    ASSERT_TRUE(CopySheet(1));
    GoTo("c");
    EXPECT_EQ(Shown("B1"), "3");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentName(), "b");
    GoTo("c");
    EXPECT_EQ(Shown("B1"), "2");
}

// ---- deleting -----------------------------------------------------------------------------------------

TEST_F(SheetOperations, ASheetMayGoWhileAVisibleOneAndAWorksheetStay) {
    struct Row {
        const char* sheets;
        i32 removed;
        bool may;
    };
    for (const Row& row :
         {Row{"a", 0, false}, Row{"ab", 0, true}, Row{"ab", 1, true}, Row{"aB", 0, false}, Row{"aB", 1, true},
          Row{"a1", 0, false}, Row{"a1", 1, true}, Row{"AB1", 2, false}, Row{"A1", 0, false},
          Row{"A1", 1, false}, Row{"AB1", 0, true}, Row{"ab", 2, false}, Row{"ab", -1, false}}) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        MakeSheets(row.sheets);
        EXPECT_EQ(CanDeleteSheet(0, row.removed), row.may) << row.sheets << " " << row.removed;
    }
}

TEST_F(SheetOperations, TheSheetThatIsCurrentAfterADeletion) {
    struct Row {
        const char* sheets;
        const char* current;
        const char* removed;
        const char* next;   // asked for; "" takes the neighbour
        const char* after;  // with undo
        const char* plain;  // without
    };
    const Row rows[] = {
        {"abcd", "b", "b", "", "c", "c"},  {"abcd", "d", "d", "", "c", "c"},  {"abcd", "a", "a", "", "b", "b"},
        {"abcd", "a", "c", "", "d", "a"},  {"abcd", "d", "b", "", "c", "d"},  {"aBCd", "a", "a", "", "d", "d"},
        {"aBCd", "d", "d", "", "a", "a"},  {"abCD", "b", "b", "", "a", "a"},  {"aBcd", "c", "c", "", "d", "d"},
        {"aBc", "c", "c", "", "a", "a"},   {"aBC", "a", "a", "", "B", "B"},   {"ABc", "c", "c", "", "B", "B"},
        {"AbC", "b", "b", "", "A", "A"},   {"abcd", "b", "b", "d", "d", "c"}, {"abcd", "b", "b", "a", "a", "c"},
        {"abcd", "b", "c", "d", "d", "b"}, {"abcd", "d", "c", "a", "a", "d"},
    };
    for (const Row& row : rows) {
        for (const bool plain : {false, true}) {
            ForgetBooks();
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            MakeSheets(row.sheets);
            GoTo(row.current);
            const i32 removed = FindSheet(0, Wide(row.removed));
            const i32 next = *row.next ? FindSheet(0, Wide(row.next)) : -1;
            ASSERT_TRUE(plain ? DeleteSheetPlain(0, removed) : DeleteSheet(removed, next));
            EXPECT_EQ(CurrentName(), plain ? row.plain : row.after) << row.sheets << " " << row.removed;
            EXPECT_EQ(UndoCount(), plain ? 0u : 1u);
            EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
            if (plain) continue;
            ASSERT_TRUE(UndoLast());
            EXPECT_EQ(Names(), row.sheets);
        }
    }
}

TEST_F(SheetOperations, TheLastSheetAndOneThatIsNotThereStay) {
    EXPECT_FALSE(DeleteSheet(0, -1));
    EXPECT_FALSE(DeleteSheetPlain(0, 0));
    MakeSheets("ab");
    EXPECT_FALSE(DeleteSheet(2, -1));
    EXPECT_FALSE(DeleteSheet(-1, -1));
    EXPECT_FALSE(DeleteSheetPlain(0, 2));
    EXPECT_FALSE(DeleteSheetPlain(1, 0));
    EXPECT_EQ(Names(), "ab");
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(SheetOperations, NamesWithoutAFormulaFollowTheirSheets) {
    MakeSheets("abc");
    Workbook& book = *CurrentWorkbook();
    ASSERT_GE(AddName(book, u"mine", 2), 0);
    ASSERT_GE(AddName(book, u"later", 3), 0);
    ASSERT_GE(AddName(book, u"sooner", 1), 0);
    ASSERT_GE(AddName(book, u"both", 2), 0);
    DefineName("both", "=8", 0);
    ASSERT_TRUE(DeleteSheet(1, -1));
    EXPECT_GE(FindName(book, u"mine", 0), 0);
    EXPECT_EQ(FindName(book, u"mine", 2), -1);
    EXPECT_GE(FindName(book, u"later", 2), 0);
    EXPECT_GE(FindName(book, u"sooner", 1), 0);
    EXPECT_EQ(FindName(book, u"both", 2), -1);
    GoTo("a");
    Enter("A1", "=both");
    EXPECT_EQ(Shown("A1"), "8");
    ASSERT_TRUE(UndoLast());
    for (const auto& [name, sheet] :
         std::map<std::u16string, u16>{{u"mine", u16{2}}, {u"later", u16{3}}, {u"sooner", u16{1}}}) {
        const i32 row = FindName(book, name, sheet);
        ASSERT_GE(row, 0) << Narrow(name);
        EXPECT_FALSE(HasFormula(book.names[static_cast<u32>(row)].tokens));
        EXPECT_EQ(FindName(book, name, 0), -1);
    }
    EXPECT_GE(FindName(book, u"both", 2), 0);
    EXPECT_GE(FindName(book, u"both", 0), 0);
}

TEST_F(SheetOperations, ANameThatGivesWayLeavesAHiddenRowAndComesBackWhole) {
    MakeSheets("ab");
    DefineName("both", "=10", 0);
    DefineName("both", "=20", 2);
    Workbook& book = *CurrentWorkbook();
    const u32 row = static_cast<u32>(FindName(book, u"both", 2));
    book.names[row].shortcut = 5;
    book.names[row].flags = 6;
    ASSERT_TRUE(DeleteSheet(1, -1));
    EXPECT_EQ(Narrow(book.names[row].text), "_Removed" + std::to_string(row));
    EXPECT_EQ(book.names[row].flags, 1);
    EXPECT_EQ(book.names[row].shortcut, 0);
    EXPECT_EQ(book.names[row].sheet, 0);
    EXPECT_FALSE(HasFormula(book.names[row].tokens));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(book.names[row].flags, 6);
    EXPECT_EQ(book.names[row].shortcut, 5);
    EXPECT_EQ(book.names[row].sheet, 2);
    EXPECT_TRUE(HasFormula(book.names[row].tokens));
}

TEST_F(SheetOperations, ReferencesToADeletedSheetAreLostAndToOthersStay) {
    MakeSheets("abcd");
    for (const char* name : {"b", "c", "d"}) {
        GoTo(name);
        Enter("A1", name[0] == 'b' ? "1" : name[0] == 'c' ? "10" : "100");
    }
    GoTo("a");
    const std::map<std::string, std::string> cells = {
        {"A1", "=b!A1"}, {"A2", "=c!A1"}, {"A3", "=d!A1"}, {"A4", "=SUM(b:d!A1)"}, {"A5", "=SUM(c:d!A1)"}};
    for (const auto& [cell, formula] : cells) Enter(cell, formula);
    const auto shown = [] {
        return Shown("A1") + " " + Shown("A2") + " " + Shown("A3") + " " + Shown("A4") + " " + Shown("A5");
    };
    ASSERT_EQ(shown(), "1 10 100 111 110");
    ASSERT_TRUE(DeleteSheet(2, 0));
    EXPECT_EQ(shown(), "1 #REF! 100 101 #REF!");
    EXPECT_EQ(FormulaOf("A3"), "=d!A1");
    ASSERT_TRUE(UndoLast());
    GoTo("a");
    EXPECT_EQ(shown(), "1 10 100 111 110");
    ASSERT_TRUE(DeleteSheet(1, 0));
    EXPECT_EQ(shown(), "#REF! 10 100 #REF! 110");
    EXPECT_EQ(FormulaOf("A5"), "=SUM(c:d!A1)");
    // Rows that were added since make room when the sheet comes back.
    Enter("A6", "=d!A1");
    Enter("A7", "=SUM(a:d!A1)");
    Enter("A1", "0");
    GoTo("a");
    ASSERT_TRUE(UndoLast());
    GoTo("a");
    EXPECT_EQ(Shown("A6"), "100");
    EXPECT_EQ(FormulaOf("A6"), "=d!A1");
    EXPECT_EQ(FormulaOf("A7"), "=SUM(a:d!A1)");
}

TEST_F(SheetOperations, RulesThatReadADeletedSheetLoseItAndGetItBack) {
    MakeSheets("ab");
    ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
    ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
    ASSERT_TRUE(rule && format && rule->areas.Append({0, 0, 0, 0}) && format->areas.Append({0, 0, 0, 0}));
    ConditionalCondition* condition = format->conditions.AppendDefault();
    i32 row = 0;
    ASSERT_TRUE(condition && AddExternRef({0, 0, 1, 1}, row));
    for (FormulaTokens* tokens : {&rule->formula2, &condition->formula1}) {
        ASSERT_TRUE(MakeTokens(*tokens, 7, 0));
        std::fill_n(tokens->bytes, 7, u8{0});
        tokens->bytes[0] = ptgRef3d | 0x20;
        PutU16(tokens->bytes + 1, static_cast<u32>(row));
    }
    const std::string before = Told(0);
    ASSERT_TRUE(DeleteSheet(1, 0));
    EXPECT_EQ(CurrentSheet()->validations[0].formula2.bytes[0] & 31, ptgRefErr3d & 31);
    EXPECT_EQ(CurrentSheet()->conditionalFormats[0].conditions[0].formula1.bytes[0] & 31, ptgRefErr3d & 31);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Told(0), before);
}

// ---- moving and names ---------------------------------------------------------------------------------

TEST_F(SheetOperations, AMovedSheetStandsBeforeTheOther) {
    struct Row {
        i32 from, before;
        const char* after;
    };
    for (const Row& row : {Row{0, 3, "bcad"}, Row{0, 4, "bcda"}, Row{3, 0, "dabc"}, Row{1, 3, "acbd"},
                           Row{2, 1, "acbd"}, Row{1, 1, "abcd"}, Row{1, 2, "abcd"}, Row{3, 4, "abcd"}}) {
        for (const char* current : {"a", "b", "c", "d"}) {
            ForgetBooks();
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            MakeSheets("abcd");
            DefineName("of", "=1", 3);
            GoTo(current);
            ASSERT_TRUE(MoveSheet(0, row.from, row.before));
            EXPECT_EQ(Names(), row.after);
            EXPECT_EQ(CurrentName(), current) << row.after;
            const bool moved = std::string(row.after) != "abcd";
            EXPECT_EQ(CurrentWorkbook()->dirty, moved ? 1u : 0u);
            EXPECT_EQ(UndoCount(), moved ? 1u : 0u);
            EXPECT_EQ(CurrentWorkbook()->names[0].sheet, FindSheet(0, u"c") + 1);
            for (i32 i = 0; i < 4; ++i) EXPECT_EQ(SheetAt(0, i)->index, i);
            if (!moved) continue;
            ASSERT_TRUE(UndoLast());
            EXPECT_EQ(Names(), "abcd");
            EXPECT_EQ(CurrentWorkbook()->names[0].sheet, 3);
        }
    }
    EXPECT_FALSE(MoveSheet(0, 0, 6));
    EXPECT_FALSE(MoveSheet(0, 4, 0));
    EXPECT_FALSE(MoveSheet(0, -1, 0));
}

TEST_F(SheetOperations, ALongNameIsCutAtThirtyOneUnits) {
    const std::u16string thirtyOne(31, u'n');
    ASSERT_TRUE(RenameSheet(*CurrentSheet(), thirtyOne + u"more"));
    EXPECT_EQ(WideView(CurrentSheet()->name), thirtyOne);
    ASSERT_TRUE(RenameSheet(*CurrentSheet(), u"x"));
    EXPECT_EQ(CurrentName(), "x");
}

// ---- other books --------------------------------------------------------------------------------------

TEST_F(SheetOperations, WhatOtherBooksReadOfASheetFollowsItsDeletion) {
    MakeSheets("ab");
    GoTo("b");
    Enter("A1", "7");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    i32 row = 0;
    ASSERT_TRUE(AddExternRef({1, 0, 1, 1}, row));
    FormulaTokens tokens;
    ASSERT_TRUE(MakeTokens(tokens, 7, 0));
    std::fill_n(tokens.bytes, 7, u8{0});
    tokens.bytes[0] = ptgRef3d | 0x40;
    PutU16(tokens.bytes + 1, static_cast<u32>(row));
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 0, 15, Value(), tokens));
    EXPECT_EQ(Shown("A1"), "7");
    Books().currentBook = 0;
    ASSERT_TRUE(DeleteSheet(1, 0));
    Books().currentBook = 1;
    const std::string without = Shown("A1");
    EXPECT_NE(without, "7");
    ASSERT_TRUE(UndoLast());
    Books().currentBook = 1;
    EXPECT_EQ(Shown("A1"), "7");
}

TEST_F(SheetOperations, OneListOfRulesMayReadADeletedSheetAlone) {
    for (const bool validation : {true, false}) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        MakeSheets("ab");
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
        ASSERT_TRUE(rule && format && rule->areas.Append({0, 0, 0, 0}) && format->areas.Append({0, 0, 0, 0}));
        ConditionalCondition* condition = format->conditions.AppendDefault();
        i32 row = 0;
        ASSERT_TRUE(condition && AddExternRef({0, 0, 1, 1}, row));
        FormulaTokens& tokens = validation ? rule->formula1 : condition->formula2;
        ASSERT_TRUE(MakeTokens(tokens, 7, 0));
        std::fill_n(tokens.bytes, 7, u8{0});
        tokens.bytes[0] = ptgRef3d | 0x20;
        PutU16(tokens.bytes + 1, static_cast<u32>(row));
        const std::string before = Told(0);
        ASSERT_TRUE(DeleteSheet(1, 0));
        const FormulaTokens& after = validation ? CurrentSheet()->validations[0].formula1
                                                : CurrentSheet()->conditionalFormats[0].conditions[0].formula2;
        EXPECT_EQ(after.bytes[0] & 31, ptgRefErr3d & 31);
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(Told(0), before);
    }
}

}  // namespace
}  // namespace tally
