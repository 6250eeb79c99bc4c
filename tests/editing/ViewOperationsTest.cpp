#include "editing/ViewOperations.h"

#include "base/MessageTable.h"
#include "editing/ApplyFormat.h"
#include "editing/LineSizes.h"
#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class ViewOperations : public Sandbox {
  protected:
    Sheet* sheet = nullptr;

    void SetUp() override {
        Sandbox::SetUp();
        sheet = CurrentSheet();
        CurrentWorkbook()->dirty = 0;
    }
    static i32 LastKind() { return UndoCount() ? LastUndo()->kind : -1; }
    static void AddSheets(i32 count) {
        for (i32 i = 0; i < count; ++i)
            ASSERT_TRUE(InsertSheet(static_cast<i32>(CurrentWorkbook()->sheets.Count()), nullptr,
                                    SHEET_WORKSHEET, false, true));
    }
};

// The view scrolled to D11 before the panes are frozen at a cell.
struct FreezeRow {
    i32 row, column;
    i32 splitRow, splitColumn, frozenRow, frozenColumn;
};
constexpr FreezeRow freezes[] = {
    {12, 5, 12, 5, 10, 3},  // both
    {12, 3, 12, 0, 10, 3},  // in the first column shown: rows only
    {10, 5, 0, 5, 10, 3},   // in the first row shown: columns only
    {12, 1, 12, 0, 10, 3},  // left of what is shown
};

TEST_F(ViewOperations, PanesFreezeAtTheCellAndComeBackWhereTheyBegan) {
    for (const FreezeRow& row : freezes) {
        sheet->view.firstRow = 10;
        sheet->view.firstColumn = 3;
        ASSERT_TRUE(FreezePanes({0, 0, row.row, row.column}));
        const SheetView& view = sheet->view;
        EXPECT_TRUE(sheet->viewFlags & VIEW_FROZEN);
        EXPECT_EQ(view.splitRow, row.splitRow);
        EXPECT_EQ(view.splitColumn, row.splitColumn);
        EXPECT_EQ(view.frozenFirstRow, row.frozenRow);
        EXPECT_EQ(view.frozenFirstColumn, row.frozenColumn);
        EXPECT_EQ(view.firstRow, row.row);
        EXPECT_EQ(view.firstColumn, row.column);
        EXPECT_EQ(LastKind(), UNDO_FREEZE);
        EXPECT_FALSE(FreezePanes({0, 0, 30, 30}));  // once
        ASSERT_TRUE(UnfreezePanes(0, 0));
        EXPECT_FALSE(sheet->viewFlags & VIEW_FROZEN);
        EXPECT_EQ(view.firstRow, row.frozenRow);
        EXPECT_EQ(view.firstColumn, row.frozenColumn);
        EXPECT_EQ(view.splitRow + view.splitColumn + view.frozenFirstRow + view.frozenFirstColumn, 0);
        EXPECT_EQ(LastKind(), UNDO_UNFREEZE);
        EXPECT_FALSE(UnfreezePanes(0, 0));
    }
}

TEST_F(ViewOperations, OneOfTheFirstLinesShownIsEnoughToFreeze) {
    const struct {
        i32 firstRow, firstColumn, row, column;
        bool freezes;
    } table[] = {{0, 0, 3, 0, true}, {0, 0, 0, 3, true}, {3, 3, 3, 3, false}, {3, 5, 5, 5, true},
                 {5, 3, 5, 5, true}, {3, 5, 3, 3, true}, {5, 3, 3, 3, true},  {3, 5, 3, 5, false},
                 {5, 3, 3, 5, true}, {0, 0, 0, 0, false}};
    for (const auto& row : table) {
        sheet->view.firstRow = static_cast<u16>(row.firstRow);
        sheet->view.firstColumn = static_cast<u8>(row.firstColumn);
        EXPECT_EQ(FreezePanes({0, 0, row.row, row.column}), row.freezes) << &row - table;
        EXPECT_EQ(UnfreezePanes(0, 0), row.freezes) << &row - table;
    }
}

TEST_F(ViewOperations, AChartAndASheetThatIsNotThereTakeNoneOfIt) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    CurrentWorkbook()->dirty = 0;
    DropUndoOfBook(0);
    for (const i32 at : {1, 2, -1}) {
        EXPECT_FALSE(FreezePanes({0, at, 3, 3})) << at;
        EXPECT_FALSE(UnfreezePanes(0, at)) << at;
        EXPECT_FALSE(SetViewFlag({0, at, VIEW_FORMULAS, true})) << at;
        EXPECT_FALSE(SetHyperlink({0, at, {1, 1, 1, 1}, u"http://x", u""})) << at;
    }
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0);
}

TEST_F(ViewOperations, TheFirstCellShownFreezesNothingAndAMergeCountsFromItsStart) {
    EXPECT_FALSE(FreezePanes({0, 0, 0, 0}));
    EXPECT_EQ(UndoCount(), 0u);
    EXPECT_EQ(CurrentWorkbook()->dirty, 0);
    ASSERT_TRUE(sheet->mergedAreas.Append({4, 8, 2, 6}));
    ASSERT_TRUE(FreezePanes({0, 0, 6, 5}));
    EXPECT_EQ(sheet->view.splitRow, 4);
    EXPECT_EQ(sheet->view.splitColumn, 2);
    EXPECT_NE(CurrentWorkbook()->dirty, 0);
    EXPECT_FALSE(FreezePanes({0, 7, 6, 5}));
    EXPECT_FALSE(FreezePanes({3, 0, 6, 5}));
}

TEST_F(ViewOperations, TheScaleHasItsBounds) {
    for (const auto& [percent, good] :
         {std::pair{9, false}, {10, true}, {400, true}, {401, false}, {0, false}}) {
        sheet->zoomPercent = 77;
        EXPECT_EQ(SetZoom(0, 0, percent), good) << percent;
        EXPECT_EQ(sheet->zoomPercent, good ? percent : 77);
    }
    EXPECT_EQ(UndoCount(), 2u);
    EXPECT_EQ(LastKind(), UNDO_ZOOM);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet->zoomPercent, 77);
}

TEST_F(ViewOperations, EachFlagOfTheViewHasItsOwnRecord) {
    for (const auto& [flag, kind] : {std::pair{VIEW_GRIDLINES, UNDO_GRIDLINES},
                                     {VIEW_HEADERS, UNDO_HEADERS},
                                     {VIEW_FORMULAS, UNDO_SHOW_FORMULAS}}) {
        for (const bool on : {true, false, true}) {
            ASSERT_TRUE(SetViewFlag({0, 0, static_cast<u16>(flag), on}));
            EXPECT_EQ((sheet->viewFlags & flag) != 0, on);
            EXPECT_EQ(LastKind(), kind);
        }
    }
    const u32 records = UndoCount();
    EXPECT_FALSE(SetViewFlag({0, 0, VIEW_FROZEN, true}));
    EXPECT_EQ(UndoCount(), records);
}

TEST_F(ViewOperations, ATabTakesAColourOfThePaletteOrNone) {
    for (const auto& [colour, good] :
         {std::pair{u8{7}, false}, {u8{8}, true}, {u8{63}, true}, {u8{64}, false}, {u8{0}, true}}) {
        sheet->tabColour = 20;
        CurrentWorkbook()->dirty = 0;
        EXPECT_EQ(SetTabColour(0, 0, colour), good) << i32{colour};
        EXPECT_EQ(sheet->tabColour, good ? colour : 20);
        EXPECT_EQ(CurrentWorkbook()->dirty != 0, good);
    }
    EXPECT_EQ(UndoCount(), 3u);
    EXPECT_EQ(Narrow(UndoLabel()), "标签颜色");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet->tabColour, 20);
    EXPECT_TRUE(SetTabColour(0, 0, 20));  // nothing to do
    EXPECT_EQ(UndoCount(), 2u);
    EXPECT_FALSE(SetTabColour(0, 7, 20));
}

TEST_F(ViewOperations, BarsOfTheBookAreToldApart) {
    Workbook& book = *CurrentWorkbook();
    for (const BookBar bar : {BAR_VERTICAL_SCROLL, BAR_HORIZONTAL_SCROLL, BAR_SHEET_TABS}) {
        book.dirty = 0;
        ShowBookBar(0, bar, false);
        for (const BookBar other : {BAR_VERTICAL_SCROLL, BAR_HORIZONTAL_SCROLL, BAR_SHEET_TABS})
            EXPECT_EQ(IsBookBarShown(book, other), other != bar);
        EXPECT_NE(book.dirty, 0);
        ShowBookBar(0, bar, true);
    }
    EXPECT_TRUE(book.showVerticalScrollBar && book.showHorizontalScrollBar && book.showSheetTabs);
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(ViewOperations, NamesOfSheetsAreRefusedInTheirOrder) {
    AddSheets(1);
    for (const auto& [name, fault] : {std::pair<WideView, u16>(u"", MSG_NAME_LENGTH),
                                      {u"1234567890123456789012345678901", 0},
                                      {u"12345678901234567890123456789012", MSG_NAME_LENGTH},
                                      {u"[12345678901234567890123456789012", MSG_NAME_LENGTH},
                                      {u"a\\b", MSG_NAME_CHARACTERS},
                                      {u"a/b", MSG_NAME_CHARACTERS},
                                      {u"a?", MSG_NAME_CHARACTERS},
                                      {u"*", MSG_NAME_CHARACTERS},
                                      {u"[a", MSG_NAME_CHARACTERS},
                                      {u"a]", MSG_NAME_CHARACTERS},
                                      {u"a:b", MSG_NAME_CHARACTERS},
                                      {u"sheet2", MSG_NAME_NOT_UNIQUE},
                                      {u"SHEET1", 0},  // its own
                                      {u"a'b!", 0}}) {
        EXPECT_EQ(SheetNameFault(0, 0, name), fault) << Narrow(name);
        if (fault) EXPECT_FALSE(NameSheet(0, 0, name));
    }
    EXPECT_EQ(UndoCount(), 0u);
    ASSERT_TRUE(NameSheet(0, 0, u"January"));
    EXPECT_EQ(WideView(sheet->name), WideView(u"January"));
    EXPECT_EQ(LastKind(), UNDO_RENAME_SHEET);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(WideView(sheet->name), WideView(u"Sheet1"));
}

TEST_F(ViewOperations, AHiddenSheetGivesWayToTheNextVisibleOne) {
    EXPECT_FALSE(HideSheet(0, 0));  // the only one
    AddSheets(2);
    Workbook& book = *CurrentWorkbook();
    book.currentSheet = 1;
    ASSERT_TRUE(HideSheet(0, 1));
    EXPECT_EQ(book.currentSheet, 2);
    EXPECT_FALSE(HideSheet(0, 1));  // hidden already
    ASSERT_TRUE(HideSheet(0, 2));   // the last: the one before
    EXPECT_EQ(book.currentSheet, 0);
    EXPECT_FALSE(HideSheet(0, 0));
    EXPECT_EQ(LastKind(), UNDO_HIDE_SHEET);
    ASSERT_TRUE(ShowSheet(0, 1));
    EXPECT_EQ(book.currentSheet, 1);
    EXPECT_FALSE(ShowSheet(0, 1));
    EXPECT_EQ(LastKind(), UNDO_SHOW_SHEET);
    // One that is not current goes without a change of place.
    ASSERT_TRUE(HideSheet(0, 0));
    EXPECT_EQ(book.currentSheet, 1);
    book.sheets[2]->kind = SHEET_MODULE;
    EXPECT_FALSE(ShowSheet(0, 2));
}

TEST_F(ViewOperations, ProtectionTakesTheVerifierAndGivesWayToTheSamePasswordOnly) {
    // The verifier that other programs store for this password.
    ASSERT_TRUE(ProtectSheet({0, 0, true, u"test"}));
    EXPECT_EQ(sheet->passwordHash, 0xCBEB);
    EXPECT_TRUE(sheet->viewFlags & VIEW_PROTECTED);
    EXPECT_EQ(LastKind(), UNDO_PROTECT);
    const u32 records = UndoCount();
    EXPECT_FALSE(ProtectSheet({0, 0, false, u"Test"}));
    EXPECT_FALSE(ProtectSheet({0, 0, false, u""}));
    EXPECT_TRUE(ProtectSheet({0, 0, true, u"other"}));  // it is
    EXPECT_EQ(sheet->passwordHash, 0xCBEB);
    EXPECT_EQ(UndoCount(), records);
    ASSERT_TRUE(ProtectSheet({0, 0, false, u"test"}));
    EXPECT_FALSE(sheet->viewFlags & VIEW_PROTECTED);
    EXPECT_EQ(sheet->passwordHash, 0);
    // Without a password nothing is asked for.
    ASSERT_TRUE(ProtectSheet({0, 0, true, u""}));
    EXPECT_EQ(sheet->passwordHash, 0);
    EXPECT_TRUE(ProtectSheet({0, 0, false, u"anything"}));
}

TEST_F(ViewOperations, ALinkTakesThePlaceOfThoseInsideItsArea) {
    ASSERT_TRUE(SetHyperlink({0, 0, {1, 1, 1, 1}, u"a.xls", u""}));
    ASSERT_TRUE(SetHyperlink({0, 0, {9, 9, 1, 1}, u"", u"B2"}));
    ASSERT_TRUE(SetHyperlink({0, 0, {0, 3, 0, 3}, u"c.xls", u"D4"}));
    ASSERT_EQ(sheet->hyperlinks.Count(), 2u);
    EXPECT_EQ(sheet->hyperlinks[0].area, (RefArea{9, 9, 1, 1}));
    EXPECT_EQ(sheet->hyperlinks[1].target.View(), WideView(u"c.xls"));
    EXPECT_EQ(sheet->hyperlinks[1].location.View(), WideView(u"D4"));
    EXPECT_EQ(LastKind(), UNDO_HYPERLINK);
    ASSERT_TRUE(SetHyperlink({0, 0, {0, 3, 0, 3}, u"", u""}));
    EXPECT_EQ(sheet->hyperlinks.Count(), 1u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(sheet->hyperlinks.Count(), 2u);
}

// ---- looks ------------------------------------------------------------------------------------------------

TEST_F(ViewOperations, AnAreaTakesALookWithUndoUnlessItIsLockedOrTooLarge) {
    FormatRequest request;
    request.horizontal = {true, 2};
    const auto alignment = [&](i32 row, i32 column) {
        return ResolveCellFormat(*CurrentWorkbook(), GetCellFormat(*sheet, row, column)).horizontal;
    };
    ASSERT_TRUE(FormatArea(0, 0, {1, 2, 1, 3}, request));
    EXPECT_EQ(alignment(2, 3), 2);
    EXPECT_EQ(alignment(3, 3), 0);
    EXPECT_EQ(LastKind(), UNDO_CELL_FORMAT);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(alignment(2, 3), 0);
    EXPECT_FALSE(FormatArea(0, 0, {0, MAX_ROWS - 2, 0, MAX_COLUMNS - 1}, request));
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    sheet->viewFlags |= VIEW_PROTECTED;
    EXPECT_FALSE(FormatArea(0, 0, {1, 2, 1, 3}, request));
    EXPECT_EQ(Headless().boxes.Count(), 2u);
    EXPECT_EQ(UndoCount(), 0u);
    sheet->viewFlags = static_cast<u16>(sheet->viewFlags & ~VIEW_PROTECTED);
    // Whole columns are no number of cells.
    ASSERT_TRUE(FormatArea(0, 0, {0, MAX_ROWS - 1, 0, MAX_COLUMNS - 1}, request));
    EXPECT_EQ(alignment(4000, 200), 2);
}

// ---- lines ------------------------------------------------------------------------------------------------

struct LineRow {
    bool columns;
    LineChange change;
    i32 size, kind;
    i32 height, width;  // of the line afterwards, the other one untouched: -1
};
constexpr LineRow lineRows[] = {
    {false, LINES_SIZE, 500, UNDO_ROW_HEIGHT, 500, -1},
    {false, LINES_SIZE, MAX_ROW_HEIGHT + 1, UNDO_ROW_HEIGHT, MAX_ROW_HEIGHT, -1},
    {false, LINES_SIZE, 0, UNDO_ROW_HEIGHT, 0, -1},
    {false, LINES_HIDE, 7, UNDO_HIDE_ROWS, 0, -1},
    {false, LINES_SHOW, 7, UNDO_SHOW_ROWS, 255, -1},
    {true, LINES_SIZE, 700, UNDO_COLUMN_WIDTH, -1, 700},
    {true, LINES_SIZE, MAX_COLUMN_WIDTH + 1, UNDO_COLUMN_WIDTH, -1, MAX_COLUMN_WIDTH},
    {true, LINES_SIZE, 0, UNDO_COLUMN_WIDTH, -1, 0},
    {true, LINES_HIDE, 7, UNDO_HIDE_COLUMNS, -1, 0},
    {true, LINES_SHOW, 7, UNDO_SHOW_COLUMNS, -1, 2048},
};

TEST_F(ViewOperations, SizesOfLinesChangeWithUndo) {
    for (const LineRow& row : lineRows) {
        const i32 height = GetRowHeight(*sheet, 3), width = GetColumnWidth(*sheet, 4);
        if (row.change == LINES_SHOW) {
            ASSERT_TRUE(ChangeLines({0, 0, row.columns, {2, 5, 2, 5}, LINES_HIDE}));
        }
        CurrentWorkbook()->dirty = 0;
        ASSERT_TRUE(ChangeLines({0, 0, row.columns, {2, 5, 2, 5}, row.change, row.size}));
        EXPECT_EQ(GetRowHeight(*sheet, 3), row.height < 0 ? height : row.height);
        EXPECT_EQ(GetColumnWidth(*sheet, 4), row.width < 0 ? width : row.width);
        EXPECT_EQ(GetRowHeight(*sheet, 6), height);
        EXPECT_EQ(GetColumnWidth(*sheet, 6), width);
        EXPECT_EQ(LastKind(), row.kind);
        EXPECT_NE(CurrentWorkbook()->dirty, 0);
        ASSERT_TRUE(UndoLast());
        if (row.change == LINES_SHOW) ASSERT_TRUE(UndoLast());
        EXPECT_EQ(GetRowHeight(*sheet, 3), height);
        EXPECT_EQ(GetColumnWidth(*sheet, 4), width);
    }
}

TEST_F(ViewOperations, TheStandardWidthIsThatOfColumnsWithoutTheirOwn) {
    ASSERT_TRUE(ChangeLines({0, 0, true, {0, 0, 1, 1}, LINES_SIZE, 700}));
    ASSERT_TRUE(SetStandardWidth(0, 0, 3000));
    EXPECT_EQ(GetColumnWidth(*sheet, 0), 3000);
    EXPECT_EQ(GetColumnWidth(*sheet, 1), 700);
    EXPECT_EQ(LastKind(), UNDO_STANDARD_WIDTH);
    EXPECT_FALSE(SetStandardWidth(0, 0, -1));
    EXPECT_FALSE(SetStandardWidth(0, 0, MAX_COLUMN_WIDTH + 1));
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(GetColumnWidth(*sheet, 0), 2048);
}

}  // namespace
}  // namespace tally
