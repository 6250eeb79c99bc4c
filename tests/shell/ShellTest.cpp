#include <set>

#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/frame/Settings.h"
#include "shell/frame/Shell.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/BiffBuilder.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class ShellTest : public ShellSandbox {};

void Put(std::string_view path, std::string_view bytes) {
    ASSERT_TRUE(PutMemoryFile(Wide(path), ByteView(reinterpret_cast<const u8*>(bytes.data()), bytes.size())));
}

u16 FormatWithNumber(u16 number, u16 flags = FORMAT_LOCKED) {
    CellFormat format;
    format.numberFormat = number;
    format.flags = flags;
    u16 index = 0;
    EXPECT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
    return index;
}

void GiveFormat(std::string_view cell, u16 format) {
    i32 row = 0, column = 0;
    ReadCellName(cell, row, column);
    CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
    ASSERT_NE(record, nullptr);
    record->format = format;
}

// ---- tables -------------------------------------------------------------------------------------------

TEST_F(ShellTest, TheCommandTableHas259RowsAscendingAndUnique) {
    ASSERT_EQ(CommandTable().size(), 259u);
    for (std::size_t i = 1; i < CommandTable().size(); ++i)
        EXPECT_LT(CommandTable()[i - 1].id, CommandTable()[i].id);
    for (const i32 id : {110, 127, 150, 185, 323, 330, 389, 431, 445}) {
        bool found = false;
        for (const CommandRow& row : CommandTable()) found |= row.id == id;
        EXPECT_TRUE(found) << id;
    }
}

TEST_F(ShellTest, EveryMessageHasOneRow) {
    std::set<u32> seen;
    for (const FrameMessageRow& row : FrameMessageTable()) EXPECT_TRUE(seen.insert(row.message).second);
    ShellMessage unknown;
    unknown.message = 0x7777;
    EXPECT_FALSE(FrameCallsInUse().sendMessage(unknown));
}

TEST_F(ShellTest, AcceleratorsLeadToRowsOfTheCommandTable) {
    ASSERT_EQ(AcceleratorTable().size(), 27u);
    for (const Accelerator& key : AcceleratorTable()) {
        bool found = false;
        for (const CommandRow& row : CommandTable()) found |= row.id == key.command;
        EXPECT_TRUE(found) << key.command;
    }
}

TEST_F(ShellTest, ACommandThatIsNotBuiltStandsGreyAndDoesNothing) {
    EXPECT_FALSE(IsEnabled(MENU_DATA, 424));
    PickCommand(424);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_TRUE(IsEnabled(MENU_FILE, 110));
}

TEST_F(ShellTest, MenusStandAtTheirPositions) {
    Array<MenuItem> items;
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_FILE, items));
    EXPECT_EQ(items[2].popup, MENU_RECENT);
    EXPECT_EQ(items[6].popup, MENU_WINDOWS);
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_EDIT, items));
    EXPECT_EQ(items[7].popup, MENU_FILL);
    EXPECT_EQ(items[8].popup, MENU_CLEAR);
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_INSERT, items));
    EXPECT_EQ(items[4].popup, MENU_CHART);
    EXPECT_EQ(items[8].popup, MENU_NAME);
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_FORMAT, items));
    EXPECT_EQ(items[10].popup, MENU_DATA);
    ASSERT_TRUE(FrameCallsInUse().menuItems(MENU_SHEET, items));
    EXPECT_EQ(items[5].popup, MENU_ZOOM);
}

// ---- books --------------------------------------------------------------------------------------------

TEST_F(ShellTest, AQuotedPathThatDoesNotExistGivesTheFirstBookWithoutABox) {
    ResetBooks();
    ResetShell();
    StartShell(u"\"/nowhere/none.csv\"");
    ASSERT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book1");
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(ShellTest, AQuotedPathOnTheCommandLineOpensThatFile) {
    Put("/in.csv", "7,8\n");
    ResetBooks();
    ResetShell();
    StartShell(u"\"/in.csv\"");
    EXPECT_EQ(Shown("B1"), "8");
}

TEST_F(ShellTest, OpeningReplacesTheUntouchedFirstBookAndLeavesATouchedOne) {
    Put("/a.csv", "1\n");
    EXPECT_TRUE(OpenBookFile(u"/a.csv", true));
    EXPECT_EQ(Books().books.Count(), 1u);
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman - a.csv");
    ResetBooks();
    PickCommand(110);
    TypeText(u"5");
    PressKey(VK_RETURN);
    Put("/b.csv", "2\n");
    EXPECT_TRUE(OpenBookFile(u"/b.csv", true));
    EXPECT_EQ(Books().books.Count(), 2u);
}

TEST_F(ShellTest, ClosingTheLastBookLeavesAnEmptyFrameAndCtrlNStillWorks) {
    PickCommand(112);
    EXPECT_EQ(CurrentBook(), -1);
    EXPECT_EQ(Narrow(HeadlessFrame().title), "Tallyman");
    EXPECT_FALSE(HeadlessFrame().verticalBar.shown);
    for (const PixelRect* place : {&Shell().layout.grid, &Shell().layout.cells, &Shell().layout.statusBar,
                                   &Shell().layout.tabs, &Shell().layout.tabScroller})
        EXPECT_TRUE(IsEmptyRect(*place));
    PaintHeadless();
    PressKey(VK_DOWN);
    TypeText(u"x");
    EXPECT_FALSE(IsEnabled(MENU_FILE, 112));
    PressKey('N', KEY_CTRL);
    EXPECT_EQ(CurrentBook(), 0);
    EXPECT_EQ(Active(), "A1");
}

TEST_F(ShellTest, TheTenthRecentFilePushesOutTheOldest) {
    for (int i = 1; i <= 10; ++i) AddRecentFile(Wide("/f" + std::to_string(i)));
    ASSERT_EQ(Shell().recent.Count(), 9u);
    EXPECT_EQ(Narrow(Shell().recent[0]), "/f10");
    EXPECT_EQ(Narrow(Shell().recent[8]), "/f2");
    AddRecentFile(u"/F8");
    EXPECT_EQ(Narrow(Shell().recent[0]), "/F8");
    EXPECT_EQ(Narrow(Shell().recent[1]), "/f10");
    EXPECT_EQ(Narrow(Shell().recent[2]), "/f9");
    EXPECT_EQ(Narrow(Shell().recent[3]), "/f7");
    EXPECT_EQ(Shell().recent.Count(), 9u);
}

TEST_F(ShellTest, ARecentFileThatCannotBeOpenedIsDropped) {
    AddRecentFile(u"/gone.csv");
    PickCommand(118);
    EXPECT_TRUE(Shell().recent.IsEmpty());
    EXPECT_EQ(Headless().boxes.Count(), 1u);
}

TEST_F(ShellTest, SettingsComeBackAndANegativeNumberIsTheDefault) {
    Shell().aggregate = 2;
    Shell().statusBarShown = false;
    AddRecentFile(u"/one.csv");
    SaveSettings();
    ResetShell();
    LoadSettings();
    EXPECT_EQ(Shell().aggregate, 2);
    EXPECT_FALSE(Shell().statusBarShown);
    ASSERT_EQ(Shell().recent.Count(), 1u);
    EXPECT_TRUE(ShellPlatform().writeSetting(u"Options", u"StsBarFunc", u"-3"));
    LoadSettings();
    EXPECT_EQ(Shell().aggregate, 6);
}

// ---- keys ---------------------------------------------------------------------------------------------

TEST_F(ShellTest, EndModeStaysForTheEntryLineAndGoesWithAnyOtherCommand) {
    PressKey(VK_END);
    ASSERT_TRUE(Shell().endMode);
    ShellMessage message;
    message.message = WM_COMMAND;
    message.command = 999;
    message.sender = SENDER_ENTRY_LINE;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    EXPECT_TRUE(Shell().endMode);
    message.sender = SENDER_MENU;
    EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    EXPECT_FALSE(Shell().endMode);
}

TEST_F(ShellTest, CtrlDownOnAnEmptyColumnLandsOnTheLastRow) {
    PressKey(VK_DOWN, KEY_CTRL);
    EXPECT_EQ(Active(), "A65536");
    PressKey(VK_RIGHT, KEY_CTRL);
    EXPECT_EQ(Active(), "IV65536");
    PressKey(VK_DOWN);
    EXPECT_EQ(Active(), "IV65536");
    PressKey(VK_HOME, KEY_CTRL);
    EXPECT_EQ(Active(), "A1");
}

TEST_F(ShellTest, EndThenUpActsAsCtrlUpAndEndModeGoesOff) {
    Enter("A3", "1");
    Select("A9");
    PressKey(VK_END);
    PressKey(VK_UP);
    EXPECT_EQ(Active(), "A3");
    EXPECT_FALSE(Shell().endMode);
}

TEST_F(ShellTest, AJumpStopsAtTheEndOfARun) {
    for (const char* cell : {"A2", "A3", "A4", "A8"}) Enter(cell, "1");
    Select("A2");
    for (const char* stop : {"A4", "A8", "A65536"}) {
        PressKey(VK_DOWN, KEY_CTRL);
        EXPECT_EQ(Active(), stop);
    }
}

TEST_F(ShellTest, ShiftHomeExtendsToTheFirstColumnAndKeepsTheActiveCell) {
    Select("D5");
    PressKey(VK_HOME, KEY_SHIFT);
    EXPECT_EQ(Selection(), "A5:D5");
    EXPECT_EQ(Active(), "D5");
    PressKey(VK_DOWN, KEY_SHIFT);
    EXPECT_EQ(Selection(), "A5:D6");
}

TEST_F(ShellTest, AMergeOnThePathIsSteppedOverAsOneCell) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({1, 3, 0, 1}));
    PressKey(VK_DOWN);
    EXPECT_EQ(Active(), "A2");
    EXPECT_EQ(Selection(), "A2:B4");
    PressKey(VK_DOWN);
    EXPECT_EQ(Active(), "A5");
    PressKey(VK_UP);
    EXPECT_EQ(Active(), "A2");
}

TEST_F(ShellTest, TabOnAProtectedSheetWalksOnlyUnlockedCells) {
    Enter("D4", "1");
    GiveFormat("B2", FormatWithNumber(0, 0));
    GiveFormat("C3", FormatWithNumber(0, 0));
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    for (const char* stop : {"B2", "C3", "B2"}) {
        PressKey(VK_TAB);
        EXPECT_EQ(Active(), stop);
    }
}

TEST_F(ShellTest, TabOnAProtectedSheetWithoutUnlockedCellsStays) {
    Enter("D4", "1");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    Select("B2");
    PressKey(VK_TAB);
    EXPECT_EQ(Active(), "B2");
}

TEST_F(ShellTest, TabAndEnterWalkASelection) {
    SelectArea({0, 1, 0, 1}, true, 0, 0, true);
    for (const char* stop : {"B1", "A2", "B2", "A1"}) {
        PressKey(VK_TAB);
        EXPECT_EQ(Active(), stop);
    }
    for (const char* stop : {"A2", "B1"}) {
        PressKey(VK_RETURN);
        EXPECT_EQ(Active(), stop);
    }
    EXPECT_EQ(Selection(), "A1:B2");
}

TEST_F(ShellTest, PageDownMovesViewAndCellByTheRowsShown) {
    const i32 page = WholeRowsShown();
    PressKey(VK_NEXT);
    EXPECT_EQ(CurrentSheet()->view.activeRow, page);
    EXPECT_EQ(CurrentSheet()->view.firstRow, page);
    PressKey(VK_PRIOR);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 0);
}

TEST_F(ShellTest, ArrowsPassHiddenRows) {
    RowInfo hidden;
    hidden.row = 1;
    hidden.flags = ROW_HIDDEN;
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, hidden));
    PressKey(VK_DOWN);
    EXPECT_EQ(Active(), "A3");
}

TEST_F(ShellTest, AFrozenSheetScrollsOnlyTheMovingPane) {
    Select("B3");
    PickCommand(423);
    ASSERT_TRUE(IsFrozen(*CurrentSheet()));
    TurnWheel(-5);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 7);
    EXPECT_NE(FindShown(Shell().layout.rows, 0), nullptr);
    EXPECT_EQ(FindShown(Shell().layout.rows, 3), nullptr);
    TurnWheel(100);
    EXPECT_EQ(CurrentSheet()->view.firstRow, 2);
    PickCommand(423);
    EXPECT_FALSE(IsFrozen(*CurrentSheet()));
    EXPECT_EQ(CurrentSheet()->view.firstRow, 0);
}

// ---- sizes and painting -------------------------------------------------------------------------------------

TEST_F(ShellTest, ZoomTenStillDrawsCellsOfOnePixel) {
    ColumnInfo narrow;
    narrow.column = 0;
    narrow.flags = 0;
    narrow.width = 1;
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, narrow));
    CurrentSheet()->zoomPercent = 10;
    RefreshChrome();
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 0), 1);
    PaintHeadless();
    RowInfo flat;
    flat.row = 0;
    flat.flags = 0;
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, flat));
    EXPECT_EQ(RowPixels(*CurrentSheet(), 0), 0);
}

TEST_F(ShellTest, ANumberThatDoesNotFitFillsWithHashes) {
    Enter("B2", "1234567");
    Enter("C2", "1");
    PaintHeadless();
    EXPECT_EQ(CountDrawn("#"), 0);
    ColumnInfo narrow;
    narrow.column = 1;
    narrow.flags = 0;
    narrow.width = 3 * 256;
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, narrow));
    RefreshChrome();
    PaintHeadless();
    EXPECT_GE(CountDrawn("#"), 2);
    EXPECT_EQ(CountDrawn("1234567"), 0);
}

TEST_F(ShellTest, AGeneralNumberGivesUpDecimalsBeforeItGivesWay) {
    // A digit measures 7 pixels here, a column of n characters 7 n, of which one is the grid line's.
    struct Row {
        const char* entry;
        u16 characters;
        const char* shown;
    };
    const Row rows[] = {
        {"=1/3", 16, "0.3333333333333"},
        {"=1/3", 8, "0.33333"},
        {"=1/3", 4, "0.3"},
        {"=1/3", 3, "0"},
        {"=-2/3", 8, "-0.6667"},
        {"=-2/3", 4, "-1"},
        {"1234.56", 6, "1235"},
        {"1234.56", 5, "1235"},
        {"1234.56", 4, "#"},
        {"=15*10^19/7", 8, "2.1E+19"},
        {"=15*10^19/7", 6, "#"},
        {"99.999", 5, "100"},
    };
    for (const Row& row : rows) {
        Enter("B2", row.entry);
        ColumnInfo column;
        column.column = 1;
        column.flags = 0;
        column.width = static_cast<u16>(row.characters * 256);
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, column));
        RefreshChrome();
        PaintHeadlessPart(AreaPixels({1, 1, 1, 1}));
        EXPECT_GE(CountDrawn(row.shown), 1) << row.entry << " in " << row.characters;
    }
}

TEST_F(ShellTest, ATextIsClippedByItsNeighbourAndRunsOverEmptyOnes) {
    Enter("A1", "a text that is far too long for one column");
    PaintHeadless();
    const DrawRecord* spilled = FindDrawn("a text that is far too long for one column");
    ASSERT_NE(spilled, nullptr);
    const i32 wide = spilled->clip.right;
    Enter("B1", "x");
    PaintHeadless();
    const DrawRecord* clipped = FindDrawn("a text that is far too long for one column");
    ASSERT_NE(clipped, nullptr);
    EXPECT_LT(clipped->clip.right, wide);
    EXPECT_LE(clipped->clip.right, AreaPixels({0, 0, 1, 1}).left);
}

TEST_F(ShellTest, ATextSpillsInFromAColumnThatIsScrolledAway) {
    Enter("A1", "a text that is far too long for one column");
    ScrollTo(0, 1);
    PaintHeadless();
    EXPECT_EQ(CountDrawn("a text that is far too long for one column"), 1);
}

TEST_F(ShellTest, AMergedCellIsDrawnOnceAcrossTheMerge) {
    Enter("B2", "title");
    Enter("C3", "inner");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({1, 3, 1, 3}));
    PaintHeadless();
    EXPECT_EQ(CountDrawn("title"), 1);
    EXPECT_EQ(CountDrawn("inner"), 0);
    const PixelRect merge = AreaPixels({1, 3, 1, 3});
    bool filled = false;
    for (const DrawRecord& record : HeadlessFrame().drawing)
        filled |= record.kind == DRAW_FILL && record.rect == merge;
    EXPECT_TRUE(filled);
}

TEST_F(ShellTest, AWrappedTextBreaksAtBlanksAndKeepsThemOffTheNextLine) {
    Enter("A1", "first   second third");
    CellFormat format;
    format.flags |= FORMAT_WRAP;
    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, PutCell(CurrentSheet()->cells, 0, 0)->format));
    ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {0, 0, 1200}));
    RefreshView();
    PaintHeadless();
    EXPECT_EQ(CountDrawn("first"), 1);
    EXPECT_EQ(CountDrawn("second"), 1);
    EXPECT_EQ(CountDrawn("third"), 1);
}

TEST_F(ShellTest, ASolidCellShowsTheForeColourOfItsFile) {
    BiffBuilder builder;
    builder.Globals({"Sheet1"}, [](BiffBuilder& globals) {
        // A cell format with pattern 1, fore colour 42 (pale green), back colour 27.
        const std::initializer_list<BiffBuilder::Item> format = {
            {0, 2}, {0, 2}, {1, 2}, {0x20, 4}, {0, 4}, {1u << 26, 4}, {42 | 27 << 7, 2}};
        for (int i = 0; i < 22; ++i) globals.Record(0xE0, format);
    });
    builder.Bof(0x10).Number(1, 1, 5, 21).Eof();
    const std::vector<u8> file = builder.File();
    ASSERT_TRUE(PutMemoryFile(u"/solid.xls", ByteView(file.data(), file.size())));
    ASSERT_TRUE(OpenBookFile(u"/solid.xls", true));
    PaintHeadless();
    const PixelRect cell = AreaPixels({1, 1, 1, 1});
    int fills = 0;
    for (const DrawRecord& record : HeadlessFrame().drawing) {
        if (record.kind != DRAW_FILL || !(record.rect == cell)) continue;
        EXPECT_EQ(record.colour, 0xCCFFCCu);
        ++fills;
    }
    EXPECT_EQ(fills, 1);
}

TEST_F(ShellTest, ShowingFormulasDoublesTheColumnsAndStoresNothing) {
    Enter("A1", "=1+1");
    const i32 before = ColumnPixels(*CurrentSheet(), 0);
    const u16 stored = GetColumnWidth(*CurrentSheet(), 0);
    PressKey(VK_OEM_8, KEY_CTRL);
    EXPECT_EQ(ColumnPixels(*CurrentSheet(), 0), 2 * before);
    EXPECT_EQ(GetColumnWidth(*CurrentSheet(), 0), stored);
    PaintHeadless();
    EXPECT_EQ(CountDrawn("=1+1"), 1);
    PressKey(VK_OEM_3, KEY_CTRL);
    PaintHeadless();
    EXPECT_EQ(CountDrawn("2"), 2);  // the cell and the row's number
}

TEST_F(ShellTest, APaintOfOneCellTouchesOnlyThatCell) {
    PaintHeadless();
    const u32 whole = HeadlessFrame().drawing.Count();
    PressKey(VK_DOWN);
    PaintHeadless(false);
    EXPECT_LT(HeadlessFrame().drawing.Count(), whole);
    PaintHeadlessPart(AreaPixels({4, 4, 4, 4}));
    EXPECT_LT(HeadlessFrame().drawing.Count(), whole / 5);
}

TEST_F(ShellTest, TheReadoutCountsWhatItsSelectorLooksAt) {
    Enter("A1", "1");
    Enter("A2", "2.5");
    Enter("A3", "text");
    SelectArea({0, 2, 0, 0}, true, 0, 0, true);
    const char* expected[] = {"", "平均值=1.75", "计数=3", "计数值=2", "最大值=2.5", "最小值=1", "求和=3.5"};
    for (i32 i = 0; i < 7; ++i) {
        Shell().aggregate = i;
        EXPECT_EQ(Readout(), expected[i]);
    }
    SelectArea({1, 2, 0, 0}, true, 1, 0, true);
    EXPECT_EQ(Readout(), "");
    Shell().aggregate = 2;
    EXPECT_EQ(Readout(), "计数=2");
}

// Hidden rows, blanks, errors and truths: what each selector counts, and results without a number.
TEST_F(ShellTest, TheReadoutPassesWhatIsHiddenAndTakesNumbersOnly) {
    const char* cells[] = {"4", "x", "=1/0", "TRUE", "10", "", "=3*2"};
    for (int i = 0; i < 7; ++i) {
        const std::string name = "A" + std::to_string(i + 1);
        if (*cells[i]) Enter(name, cells[i]);
    }
    Enter("B1", "1E308");
    Enter("B2", "1E308");
    const auto readouts = [] {
        std::string all;
        for (i32 i = 1; i < 7; ++i) {
            Shell().aggregate = i;
            all += (i > 1 ? " " : "") + Readout();
        }
        return all;
    };
    SelectArea({0, 6, 0, 0}, true, 0, 0, true);
    EXPECT_EQ(readouts(), "平均值=6.66666666666667 计数=6 计数值=3 最大值=10 最小值=4 求和=20");
    SelectArea({4, 4, 0, 0}, true, 4, 0, true);
    PickCommand(393);
    SelectArea({0, 6, 0, 0}, true, 0, 0, true);
    EXPECT_EQ(readouts(), "平均值=5 计数=5 计数值=2 最大值=6 最小值=4 求和=10");
    // A sum beyond all numbers is not shown; the mean of the same is.
    SelectArea({0, 1, 1, 1}, true, 0, 1, true);
    EXPECT_EQ(readouts(), "平均值=1E+308 计数=2 计数值=2 最大值=1E+308 最小值=1E+308 ");
    SelectArea({1, 3, 0, 0}, true, 1, 0, true);
    EXPECT_EQ(readouts(), " 计数=3    ");
}

}  // namespace
}  // namespace tally
