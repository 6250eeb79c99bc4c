#include "editing/Undo.h"

#include "base/MessageTable.h"
#include "editing/ClearArea.h"
#include "editing/Fill.h"
#include "editing/InsertDelete.h"
#include "editing/SheetOperations.h"
#include "editing/StoreEntry.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "functions/FunctionState.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/FailingAllocator.h"
#include "support/RandomBook.h"

namespace tally {
namespace {

class UndoList : public Sandbox {
  protected:
    static void FreshBook() {
        ResetBooks();
        ConnectUndo();
        // Sums and lookups are kept by sheet numbers, which begin anew.
        ResetFormulaEngine();
        ResetFunctions();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
    }
    static bool Type(std::string_view cell, std::string_view text, bool isArray = false) {
        EntryTarget target;
        target.book = CurrentBook();
        target.sheet = CurrentWorkbook()->currentSheet;
        ReadCellName(cell, target.refRow, target.refColumn);
        target.area = {static_cast<u16>(target.refRow), static_cast<u16>(target.refRow),
                       static_cast<u8>(target.refColumn), static_cast<u8>(target.refColumn)};
        target.isArray = isArray;
        i32 outcome = 0;
        return StoreEntry(target, Wide(text), outcome);
    }
};

TEST_F(UndoList, SixteenEntriesComeBackAndTheFirstOfSeventeenDoesNot) {
    for (i32 i = 1; i <= 17; ++i) ASSERT_TRUE(Type("A" + std::to_string(i), std::to_string(i)));
    EXPECT_EQ(UndoCount(), 16u);
    for (i32 i = 0; i < 16; ++i) EXPECT_TRUE(UndoLast());
    EXPECT_FALSE(UndoLast());
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(CurrentSheet()->cells.count, 1u);
}

TEST_F(UndoList, UndoIsForgottenAndHasNoUndoOfItsOwn) {
    ASSERT_TRUE(Type("A1", "1"));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_FALSE(UndoLast());
}

TEST_F(UndoList, AnEntryOverAFormulaGivesTheFormulaBack) {
    ASSERT_TRUE(Type("A1", "5"));
    ASSERT_TRUE(Type("B1", "=A1*2"));
    ASSERT_TRUE(Type("C1", "=B1+1"));
    ASSERT_TRUE(Type("B1", "text"));
    EXPECT_EQ(Shown("C1"), "#VALUE!");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("C1"), "11");
    ASSERT_TRUE(Type("A1", "6"));
    EXPECT_EQ(Shown("C1"), "13");
}

TEST_F(UndoList, TheLabelNamesTheOperation) {
    EXPECT_TRUE(UndoLabel().empty());
    ASSERT_TRUE(Type("A1", "1"));
    EXPECT_EQ(UndoLabel(), u"键入");
    ASSERT_TRUE(InsertRowsOrCellsDown({0, 0, 0, 255}));
    EXPECT_EQ(UndoLabel(), u"插入行");
}

TEST_F(UndoList, EveryKindHasALabel) {
    for (u16 kind = 0; kind < UNDO_KINDS; ++kind)
        EXPECT_FALSE(Message(static_cast<u16>(MSG_UNDO_FIRST + kind)).empty()) << kind;
    EXPECT_EQ(Message(static_cast<u16>(u16{MSG_UNDO_FIRST} + i32{UNDO_INSERT_WORKSHEET})), u"插入工作表");
    EXPECT_EQ(Message(20), u"插入工作表");
    EXPECT_EQ(Message(41), u"删除宏表");
    EXPECT_EQ(Message(static_cast<u16>(u16{MSG_UNDO_FIRST} + i32{UNDO_COPY_SHEET})), u"复制工作表");
    EXPECT_EQ(Message(static_cast<u16>(u16{MSG_UNDO_FIRST} + i32{UNDO_TEXT_TO_COLUMNS})), u"列中的文本");
}

TEST_F(UndoList, AClosedBookTakesItsRecordsAlong) {
    ASSERT_TRUE(Type("A1", "first"));
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    ASSERT_TRUE(Type("A1", "second"));
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    ASSERT_TRUE(Type("A1", "third"));
    ASSERT_TRUE(Type("A1", "fourth"));
    RemoveBook(0);
    ASSERT_EQ(UndoCount(), 3u);
    EXPECT_EQ(UndoRecords()[0].book, 0);
    EXPECT_EQ(UndoRecords()[1].book, 1);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Shown("A1"), "third");
}

TEST_F(UndoList, TheBookOfTheRecordBecomesCurrent) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(Type("A1", "first"));
    CurrentWorkbook()->currentSheet = 0;
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    EXPECT_EQ(CurrentBook(), 1);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(CurrentBook(), 0);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    EXPECT_EQ(Shown("A1"), "");
}

TEST_F(UndoList, TheViewComesBack) {
    Sheet& sheet = *CurrentSheet();
    sheet.view.selection = {3, 5, 1, 2};
    sheet.view.activeRow = 3;
    ASSERT_TRUE(RecordUndo(0, 0, UNDO_ZOOM));
    sheet.zoomPercent = 200;
    sheet.viewFlags ^= VIEW_GRIDLINES;
    sheet.view = SheetView();
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet.zoomPercent, 100);
    EXPECT_TRUE(sheet.viewFlags & VIEW_GRIDLINES);
    EXPECT_EQ(sheet.view.activeRow, 3);
    EXPECT_EQ(sheet.view.selection, (RefArea{3, 5, 1, 2}));
}

TEST_F(UndoList, AShownSheetHidesAgainAndKeepsItsView) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Sheet& shown = *CurrentSheet();
    ASSERT_TRUE(RecordUndo(0, 1, UNDO_SHOW_SHEET));
    shown.zoomPercent = 50;
    ASSERT_TRUE(UndoLast());
    EXPECT_TRUE(shown.hidden);
    EXPECT_EQ(shown.zoomPercent, 50);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 0);
    // The only visible sheet stays.
    ASSERT_TRUE(RecordUndo(0, 0, UNDO_SHOW_SHEET));
    ASSERT_TRUE(UndoLast());
    EXPECT_FALSE(CurrentSheet()->hidden);
}

// The sheet behind it becomes the one that is seen, the one before it where there is none behind.
TEST_F(UndoList, OfASheetThatHidesAgainTheNextOneIsSeen) {
    for (i32 sheet = 0; sheet < 3; ++sheet) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        while (CurrentWorkbook()->sheets.Count() < 3)
            ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        ASSERT_TRUE(RecordUndo(0, sheet, UNDO_SHOW_SHEET));
        ASSERT_TRUE(UndoLast());
        EXPECT_TRUE(SheetAt(0, sheet)->hidden);
        EXPECT_EQ(CurrentWorkbook()->currentSheet, sheet == 2 ? 1 : sheet + 1);
    }
}

// ---- every kind over books at random --------------------------------------------------------------

RefArea RandomArea(std::mt19937& random) {
    const i32 row = static_cast<i32>(random() % 20), column = static_cast<i32>(random() % 12);
    return {static_cast<u16>(row), static_cast<u16>(row + static_cast<i32>(random() % 4)),
            static_cast<u8>(column), static_cast<u8>(column + static_cast<i32>(random() % 3))};
}
RefArea WholeRows(RefArea area) { return {area.firstRow, area.lastRow, 0, 255}; }
RefArea WholeColumns(RefArea area) { return {0, 65535, area.firstColumn, area.lastColumn}; }

struct Operation {
    const char* name;
    bool (*run)(std::mt19937& random);  // false: refused, and nothing has changed
};

bool TypeAnything(std::mt19937& random) {
    const char* texts[] = {"5", "text", "", "=local2", "=A1+1", "=SUM($A$1:$C$3)"};
    EntryTarget target;
    target.book = CurrentBook();
    target.sheet = CurrentWorkbook()->currentSheet;
    target.area = RandomArea(random);
    target.isFill = random() % 2;
    target.isArray = !target.isFill && random() % 3 == 0;
    if (!target.isFill && !target.isArray) {
        target.area.lastRow = target.area.firstRow;
        target.area.lastColumn = target.area.firstColumn;
    }
    target.refRow = target.area.firstRow;
    target.refColumn = target.area.firstColumn;
    for (const ArrayEntry& entry : CurrentSheet()->arrayFormulas)
        if (AreasMeet(entry.area, target.area) && !AreaHoldsArea(target.area, entry.area)) return false;
    i32 outcome = 0;
    return StoreEntry(target, Wide(texts[random() % (target.refRow > 2 ? 6 : 4)]), outcome);
}

bool HideRows(std::mt19937& random) {
    const RefArea area = RandomArea(random);
    if (!RecordRows(UNDO_HIDE_ROWS, CurrentBook(), CurrentSheet()->index, area)) return false;
    for (i32 row = area.firstRow; row <= area.lastRow; ++row)
        if (!SetRowInfo(CurrentSheet()->rows, {static_cast<u16>(row), ROW_HIDDEN, 0})) return false;
    return true;
}

bool WidenColumns(std::mt19937& random) {
    const RefArea area = RandomArea(random);
    if (!RecordColumns(UNDO_COLUMN_WIDTH, CurrentBook(), CurrentSheet()->index, area)) return false;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column)
        if (!SetColumnInfo(CurrentSheet()->columns, {static_cast<u8>(column), 0, 999, 17})) return false;
    return true;
}

bool HideSheet(std::mt19937&) {
    if (CurrentSheet()->hidden || NextSheet(CurrentBook()) == CurrentSheet()->index) return false;
    if (!RecordUndo(CurrentBook(), CurrentSheet()->index, UNDO_HIDE_SHEET)) return false;
    CurrentSheet()->hidden = 1;
    CurrentWorkbook()->currentSheet = NextSheet(CurrentBook());
    return true;
}

bool RenameSheet(std::mt19937&) {
    if (!RecordUndo(CurrentBook(), CurrentSheet()->index, UNDO_RENAME_SHEET)) return false;
    CurrentSheet()->name[0] = u'x';
    return true;
}

bool ChangeName(std::mt19937&) {
    if (!RecordName(UNDO_CHANGE_NAME, CurrentBook(), 0)) return false;
    DefinedName& name = CurrentWorkbook()->names[0];
    FreeTokens(name.tokens);
    name.flags = 1;
    MarkDependentsOfName(CurrentBook(), 0);
    return name.text.Assign(u"other");
}

bool DeleteName(std::mt19937&) {
    if (!RecordName(UNDO_DELETE_NAME, CurrentBook(), 1)) return false;
    FreeTokens(CurrentWorkbook()->names[1].tokens);
    MarkDependentsOfName(CurrentBook(), 1);
    return true;
}

bool AddName(std::mt19937&) {
    Workbook& book = *CurrentWorkbook();
    const i32 row = AddName(book, u"fresh", 0);
    if (row < 0) return false;
    const u8 tokens[] = {ptgInt, 1, 0};
    if (!MakeTokens(book.names[static_cast<u32>(row)].tokens, tokens, {})) return false;
    return RecordName(UNDO_ADD_NAME, CurrentBook(), row);
}

bool ClearSome(std::mt19937& random, ClearMode mode) {
    RefArea area = RandomArea(random);
    if (random() % 4 == 0) area = WholeColumns(area);
    for (const ArrayEntry& entry : CurrentSheet()->arrayFormulas)
        if (AreasMeet(entry.area, area) && !AreaHoldsArea(area, entry.area)) return false;
    return ClearArea(area, mode);
}

bool FillSome(std::mt19937& random) {
    constexpr bool (*fills[])(bool) = {FillDown, FillRight, FillUp, FillLeft};
    RefArea& selection = CurrentSheet()->view.selection;
    const RefArea kept = selection;
    selection = RandomArea(random);
    const u32 before = UndoCount();
    const bool good = fills[random() % 4](true) && UndoCount() > before;
    // The record has the selection of the fill, which is not what is undone here.
    selection = kept;
    if (good) LastUndo()->view.view.selection = kept;
    return good;
}

const Operation operations[] = {
    {"fill", FillSome},
    {"type", TypeAnything},
    {"insert rows", [](std::mt19937& r) { return InsertRowsOrCellsDown(WholeRows(RandomArea(r))); }},
    {"insert columns", [](std::mt19937& r) { return InsertColumnsOrCellsRight(WholeColumns(RandomArea(r))); }},
    {"insert cells down", [](std::mt19937& r) { return InsertRowsOrCellsDown(RandomArea(r)); }},
    {"insert cells right", [](std::mt19937& r) { return InsertColumnsOrCellsRight(RandomArea(r)); }},
    {"delete rows", [](std::mt19937& r) { return DeleteRowsOrCellsUp(WholeRows(RandomArea(r))); }},
    {"delete columns", [](std::mt19937& r) { return DeleteColumnsOrCellsLeft(WholeColumns(RandomArea(r))); }},
    {"delete cells up", [](std::mt19937& r) { return DeleteRowsOrCellsUp(RandomArea(r)); }},
    {"delete cells left", [](std::mt19937& r) { return DeleteColumnsOrCellsLeft(RandomArea(r)); }},
    {"delete to the last row",
     [](std::mt19937&) {
         return DeleteRowsOrCellsUp({9, 65535, 0, 255});
     }},
    {"delete to the last column",
     [](std::mt19937&) {
         return DeleteColumnsOrCellsLeft({0, 65535, 5, 255});
     }},
    {"delete sheet", [](std::mt19937&) { return DeleteSheet(CurrentSheet()->index, -1); }},
    {"insert sheet",
     [](std::mt19937& r) {
         return InsertSheet(static_cast<i32>(r() % 5), nullptr, r() % 2 ? SHEET_WORKSHEET : SHEET_MACRO, true,
                            false);
     }},
    {"insert chart",
     [](std::mt19937& r) { return InsertSheet(static_cast<i32>(r() % 5), nullptr, SHEET_CHART, true, false); }},
    {"move sheet",
     [](std::mt19937& r) {
         const u32 before = UndoCount();
         return MoveSheet(CurrentBook(), CurrentSheet()->index, static_cast<i32>(r() % 5)) &&
                UndoCount() > before;
     }},
    {"copy sheet", [](std::mt19937& r) { return CopySheet(static_cast<i32>(r() % 5)); }},
    {"clear all", [](std::mt19937& r) { return ClearSome(r, CLEAR_ALL); }},
    {"clear formats", [](std::mt19937& r) { return ClearSome(r, CLEAR_FORMATS); }},
    {"clear contents", [](std::mt19937& r) { return ClearSome(r, CLEAR_CONTENTS); }},
    {"hide rows", HideRows},
    {"column width", WidenColumns},
    {"hide sheet", HideSheet},
    {"rename sheet", RenameSheet},
    {"change name", ChangeName},
    {"delete name", DeleteName},
    {"add name", AddName},
};

void MakeBooks(std::mt19937& random) {
    FillBookAtRandom(random);
    MarkAllStale();
    CurrentWorkbook()->currentSheet = static_cast<i32>(random() % 3);
}

// Whether calculating everything meets a circle, as cells that slide into an area that stays can make one.
// What such cells show depends on what they showed before.
bool HasCircle() {
    CurrentWorkbook()->circularSeen = 0;
    MarkAllStale();
    CalculateBook(CurrentBook());
    return CurrentWorkbook()->circularSeen != 0;
}

// What is stale after an operation is all that has other values after calculating everything.
void ExpectNothingForgotten(const char* name) {
    const std::string lazy = DumpBooks();
    if (HasCircle()) return;
    ASSERT_EQ(DumpBooks(), lazy) << name;
}

TEST_F(UndoList, UndoBringsBackWhatWasForEveryKind) {
    for (const Operation& operation : operations) {
        int done = 0;
        for (u32 seed = 1; seed <= 20; ++seed) {
            FreshBook();
            std::mt19937 random(seed);
            MakeBooks(random);
            const std::string before = DumpBooks();
            const bool good = operation.run(random);
            if (!good) {
                ASSERT_EQ(DumpBooks(), before) << operation.name << " refused, seed " << seed;
                ASSERT_EQ(UndoCount(), 0u);
                continue;
            }
            ++done;
            ASSERT_NO_FATAL_FAILURE(ExpectNothingForgotten(operation.name)) << seed;
            ASSERT_EQ(UndoCount(), 1u) << operation.name;
            ASSERT_TRUE(UndoLast());
            ASSERT_EQ(DumpBooks(), before) << operation.name << ", seed " << seed;
            ASSERT_NO_FATAL_FAILURE(ExpectNothingForgotten(operation.name)) << "undone, " << seed;
        }
        EXPECT_GE(done, 4) << operation.name;
    }
}

TEST_F(UndoList, ManyOperationsAreUndoneInTurn) {
    for (u32 seed = 1; seed <= 14; ++seed) {
        FreshBook();
        std::mt19937 random(seed * 77);
        MakeBooks(random);
        std::vector<std::string> states;
        while (states.size() < 16) {
            const std::string before = DumpBooks();
            const Operation& operation = operations[random() % std::size(operations)];
            if (!(CurrentSheet()->kind & SHEET_WITH_CELLS)) CurrentWorkbook()->currentSheet = 0;
            // References over a chart come to speak of other sheets, and so in circles.
            if (std::string_view(operation.name) == "insert chart" || !operation.run(random)) continue;
            CurrentWorkbook()->circularSeen = 0;
            IgnoreFailure(DumpBooks());
            if (CurrentWorkbook()->circularSeen) {
                ASSERT_TRUE(UndoLast());
                ASSERT_EQ(DumpBooks(), before);
                continue;
            }
            states.push_back(before);
        }
        for (; !states.empty(); states.pop_back()) {
            const std::string label = Narrow(UndoLabel());
            ASSERT_TRUE(UndoLast());
            ASSERT_EQ(DumpBooks(), states.back()) << label << ", seed " << seed;
        }
    }
}

// ---- what a record holds ------------------------------------------------------------------------------

TEST_F(UndoList, EveryFieldOfTheViewComesBack) {
    Sheet& sheet = *CurrentSheet();
    sheet.zoomPercent = 75;
    sheet.viewFlags = VIEW_FORMULAS | VIEW_FROZEN;
    sheet.defaultColumnWidth = 1111;
    sheet.defaultRowHeight = 333;
    sheet.passwordHash = 0xBEEF;
    sheet.tabColour = 11;
    sheet.view.splitRow = 4;
    ASSERT_TRUE(RecordUndo(0, 0, UNDO_PROTECT));
    EXPECT_EQ(LastUndo()->sheet, 0);
    EXPECT_EQ(LastUndo()->serial, sheet.serial);
    sheet.zoomPercent = 100;
    sheet.viewFlags = 0;
    sheet.defaultColumnWidth = sheet.defaultRowHeight = sheet.passwordHash = 0;
    sheet.tabColour = 0;
    sheet.view = SheetView();
    CurrentWorkbook()->dirty = 0;
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet.zoomPercent, 75);
    EXPECT_EQ(sheet.viewFlags, VIEW_FORMULAS | VIEW_FROZEN);
    EXPECT_EQ(sheet.defaultColumnWidth, 1111);
    EXPECT_EQ(sheet.defaultRowHeight, 333);
    EXPECT_EQ(sheet.passwordHash, 0xBEEF);
    EXPECT_EQ(sheet.tabColour, 11);
    EXPECT_EQ(sheet.view.splitRow, 4);
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
}

TEST_F(UndoList, NamesComeBackWhole) {
    Workbook& book = *CurrentWorkbook();
    DefineName("first", "=1");
    DefineName("second", "=2");
    for (const i32 row : {0, 1}) {
        const std::string text = row ? "second" : "first", old = row ? "2" : "1";
        Enter("A1", "=" + text);
        EXPECT_EQ(Shown("A1"), old);
        for (const i32 kind : {UNDO_CHANGE_NAME, UNDO_DELETE_NAME}) {
            DefinedName& name = book.names[static_cast<u32>(row)];
            name.flags = 6;
            name.shortcut = 65;
            ASSERT_TRUE(RecordName(kind, 0, row));
            ASSERT_EQ(UndoCount(), 1u);
            FreeTokens(name.tokens);
            name.flags = 0;
            name.shortcut = 0;
            name.sheet = 1;
            ASSERT_TRUE(name.text.Assign(u"other"));
            MarkDependentsOfName(0, row);
            ASSERT_TRUE(UndoLast());
            EXPECT_EQ(Narrow(name.text), text);
            EXPECT_EQ(name.flags, 6);
            EXPECT_EQ(name.shortcut, 65);
            EXPECT_EQ(name.sheet, 0);
            EXPECT_EQ(Shown("A1"), old);
        }
        ASSERT_TRUE(RecordName(UNDO_ADD_NAME, 0, row));
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(Shown("A1"), "#NAME?");
    }
    for (const i32 row : {-1, 2}) EXPECT_FALSE(RecordName(UNDO_CHANGE_NAME, 0, row));
    EXPECT_FALSE(RecordName(UNDO_CHANGE_NAME, 1, 0));
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(UndoList, InsertedSheetsHaveTheRecordOfTheirKind) {
    for (const auto& [sheet, kind] : {std::pair<i32, i32>(SHEET_WORKSHEET, UNDO_INSERT_WORKSHEET),
                                      {SHEET_CHART, UNDO_INSERT_CHART},
                                      {SHEET_MACRO, UNDO_INSERT_MACRO_SHEET},
                                      {SHEET_MODULE, -1}}) {
        ASSERT_TRUE(InsertSheet(1, nullptr, sheet, true, false));
        ASSERT_EQ(UndoCount(), kind < 0 ? 0u : 1u) << sheet;
        if (kind < 0) break;
        EXPECT_EQ(LastUndo()->kind, kind);
        EXPECT_EQ(LastUndo()->serial, SheetAt(0, 1)->serial);
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 1u);
    }
}

TEST_F(UndoList, DeletedSheetsHaveTheRecordOfTheirKind) {
    for (const auto& [sheet, kind] : {std::pair<i32, i32>(SHEET_WORKSHEET, UNDO_DELETE_WORKSHEET),
                                      {SHEET_CHART, UNDO_DELETE_CHART},
                                      {SHEET_MACRO, UNDO_DELETE_MACRO_SHEET}}) {
        ASSERT_TRUE(InsertSheet(1, nullptr, sheet, false, false));
        ASSERT_TRUE(DeleteSheet(1, -1));
        EXPECT_EQ(LastUndo()->kind, kind);
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(SheetAt(0, 1)->kind, sheet);
        ASSERT_TRUE(DeleteSheetPlain(0, 1));
        EXPECT_EQ(UndoCount(), 0u);
    }
}

TEST_F(UndoList, WhatIsRecordedOfASheetThatIsGoneIsForgotten) {
    for (const i32 kind : {UNDO_SHOW_SHEET, UNDO_HIDE_SHEET, UNDO_MOVE_SHEET, UNDO_COPY_SHEET, UNDO_TYPING,
                           UNDO_INSERT_ROWS, UNDO_INSERT_WORKSHEET, UNDO_ZOOM}) {
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        ASSERT_TRUE(RecordUndo(0, 1, kind));
        ASSERT_TRUE(DeleteSheetPlain(0, 1));
        EXPECT_TRUE(UndoLast()) << kind;
        EXPECT_EQ(CurrentWorkbook()->sheets.Count(), 1u) << kind;
        EXPECT_FALSE(CurrentSheet()->hidden);
        EXPECT_EQ(UndoCount(), 0u);
    }
    EXPECT_FALSE(RecordUndo(0, 1, UNDO_ZOOM));
    EXPECT_FALSE(RecordRows(UNDO_HIDE_ROWS, 0, 1, {}));
    EXPECT_EQ(UndoCount(), 0u);
    DropLastUndo();
    EXPECT_EQ(LastUndo(), nullptr);
}

TEST_F(UndoList, SizesOfRowsAndColumnsComeBackInTheirAreaAlone) {
    Sheet& sheet = *CurrentSheet();
    for (u16 i = 0; i < 6; ++i) {
        ASSERT_TRUE(SetRowInfo(sheet.rows, {i, ROW_CUSTOM_HEIGHT, static_cast<u16>(300 + i)}));
        ASSERT_TRUE(SetColumnInfo(sheet.columns, {static_cast<u8>(i), 0, static_cast<u16>(900 + i), 15}));
    }
    ASSERT_TRUE(RecordRows(UNDO_ROW_HEIGHT, 0, 0, {2, 3, 0, 0}));
    ASSERT_EQ(LastUndo()->contents.rows.Count(), 2u);
    EXPECT_EQ(LastUndo()->contents.columns.Count(), 0u);
    for (RowInfo& row : sheet.rows) row.height = 77;
    ASSERT_TRUE(UndoLast());
    ASSERT_EQ(sheet.rows.Count(), 6u);
    for (u16 i = 0; i < 6; ++i) EXPECT_EQ(sheet.rows[i].height, i == 2 || i == 3 ? 300 + i : 77) << i;
    ASSERT_TRUE(RecordColumns(UNDO_COLUMN_WIDTH, 0, 0, {0, 0, 4, 5}));
    ASSERT_EQ(LastUndo()->contents.columns.Count(), 2u);
    EXPECT_EQ(LastUndo()->contents.rows.Count(), 0u);
    for (ColumnInfo& column : sheet.columns) column.width = 88;
    ASSERT_TRUE(UndoLast());
    for (u16 i = 0; i < 6; ++i) EXPECT_EQ(sheet.columns[i].width, i >= 4 ? 900 + i : 88) << i;
    // Records that came since go, and those that went come back.
    ASSERT_TRUE(RecordRows(UNDO_ROW_HEIGHT, 0, 0, {4, 20, 0, 0}));
    sheet.rows.RemoveAt(4);
    ASSERT_TRUE(SetRowInfo(sheet.rows, {20, ROW_HIDDEN, 1}) && SetRowInfo(sheet.rows, {21, ROW_HIDDEN, 1}));
    ASSERT_TRUE(UndoLast());
    ASSERT_EQ(sheet.rows.Count(), 7u);
    EXPECT_EQ(sheet.rows[4].row, 4);
    EXPECT_EQ(sheet.rows[5].row, 5);
    EXPECT_EQ(sheet.rows[6].row, 21);
}

TEST_F(UndoList, TheListIsEnteredAmongTheCallsOfTheModel) {
    Calls().bookClosing = nullptr;
    ConnectUndo();
    EXPECT_EQ(Calls().bookClosing, &DropUndoOfBook);
}

TEST_F(UndoList, AHiddenSheetShowsAgain) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(RecordUndo(0, 1, UNDO_HIDE_SHEET));
    sheet.hidden = 1;
    CurrentWorkbook()->currentSheet = 0;
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet.hidden, 0);
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
}

}  // namespace
}  // namespace tally
