// What is shown of the active cell and its surroundings: its line, where the view goes, the pointer, its font.

#include "base/Number.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Places.h"
#include "shell/grid/CellLook.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class ActiveCellTest : public ShellSandbox {
  protected:
    static void SelectRows(u16 first, u16 last) {
        SelectArea({first, last, 0, MAX_COLUMNS - 1}, true, first, 0, false);
    }
    static PointerShape PointerAt(i32 x, i32 y) {
        ShellMessage message;
        message.message = WM_MOUSEMOVE;
        message.x = x;
        message.y = y;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
        return HeadlessFrame().pointer;
    }
};

TEST_F(ActiveCellTest, TheLineShowsTheFirstCellOfAMerge) {
    Enter("B2", "first");
    Enter("C4", "last");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B2", "C4")));
    for (const char* cell : {"B2", "A1", "B2"}) {
        Select(cell);
        EXPECT_EQ(Line(), *cell == 'B' ? "first" : "");
    }
    TypeText(u"x");
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Line(), "first");
}

TEST_F(ActiveCellTest, WhatChangesByItselfIsBroughtUpToDateWithEveryOperation) {
    Headless().fixedClock = true;
    Headless().clock = {2024, 5, 6, 7, 8, 9, 0};
    Enter("A1", "=HOUR(NOW())");
    Enter("B5", "gone soon");
    EXPECT_EQ(Shown("A1"), "7");
    Headless().clock.hour = 13;
    Select("B5");
    PressKey(VK_DELETE);
    EXPECT_EQ(Shown("A1"), "13");
}

TEST_F(ActiveCellTest, ScrollingStopsAtTheLastLineThatIsSeen) {
    for (u16 row = 0; row < 3; ++row) ASSERT_TRUE(SetRowInfo(CurrentSheet()->rows, {row, ROW_HIDDEN, 0}));
    for (u8 column = 0; column < 2; ++column)
        ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {column, COLUMN_HIDDEN, 0, DEFAULT_CELL_FORMAT}));
    struct Case {
        bool vertical;
        i32 from, count, to;
    };
    for (const Case& row : {Case{true, 9, -4, 5},
                            {true, 5, -9, 3},
                            {true, 3, -1, 3},
                            {true, 3, 2, 5},
                            {true, 0, 1, 3},
                            {false, 6, -3, 3},
                            {false, 4, -9, 2},
                            {false, 2, -1, 2},
                            {false, 2, 3, 5},
                            {true, 7, 0, 7}}) {
        ScrollTo(row.vertical ? row.from : 0, row.vertical ? 0 : row.from);
        ScrollLines(row.vertical, row.count);
        const SheetView& view = CurrentSheet()->view;
        EXPECT_EQ(row.vertical ? i32{view.firstRow} : i32{view.firstColumn}, row.to)
            << row.vertical << " " << row.from << " " << row.count;
    }
}

TEST_F(ActiveCellTest, PagesEndAtTheEdgesOfTheSheet) {
    struct Case {
        const char* from;
        u32 key;
        const char* to;
    };
    for (const Case& row : {Case{"C2", VK_PRIOR, "C1"},
                            {"C1", VK_PRIOR, "C1"},
                            {"C65530", VK_NEXT, "C65536"},
                            {"C65536", VK_NEXT, "C65536"}}) {
        Select(row.from);
        PressKey(row.key);
        EXPECT_EQ(Active(), row.to) << row.from;
    }
    Select("D100");
    const i32 page = WholeRowsShown();
    PressKey(VK_NEXT);
    EXPECT_EQ(Active(), "D" + std::to_string(100 + page));
    PressKey(VK_PRIOR);
    EXPECT_EQ(Active(), "D100");
}

TEST_F(ActiveCellTest, AnEdgeOfOneOfManySelectedRowsSizesThemAll) {
    struct Case {
        u16 first, last;
        i32 dragged;
        u16 sizedFirst, sizedLast;
    };
    for (const Case& row :
         {Case{1, 3, 2, 1, 3}, {1, 3, 1, 1, 3}, {1, 3, 3, 1, 3}, {1, 3, 4, 4, 4}, {1, 3, 0, 0, 0}}) {
        TearDown();
        SetUp();
        SelectRows(row.first, row.last);
        const u16 plain = GetRowHeight(*CurrentSheet(), 9);
        const ShownLine line = Shell().layout.rows[static_cast<u32>(row.dragged)];
        const i32 x = Shell().layout.grid.left + 3;
        DragMouse(x, line.end - 1, x, line.end + 9);
        for (u16 at = 0; at < 6; ++at)
            EXPECT_EQ(GetRowHeight(*CurrentSheet(), at) != plain, at >= row.sizedFirst && at <= row.sizedLast)
                << row.dragged << " row " << at;
    }
}

TEST_F(ActiveCellTest, ThePointerIsAnArrowOutsideTheGrid) {
    const PixelRect& grid = Shell().layout.grid;
    const PixelRect& cells = Shell().layout.cells;
    EXPECT_EQ(PointerAt(cells.left + 5, cells.top + 5), POINTER_CELL);
    EXPECT_EQ(PointerAt(grid.left + 1, grid.top + 1), POINTER_CELL);
    EXPECT_EQ(PointerAt(grid.left + 1, grid.top - 1), POINTER_ARROW);
    EXPECT_EQ(PointerAt(cells.left + 5, grid.bottom), POINTER_ARROW);
    EXPECT_EQ(PointerAt(grid.right, cells.top + 5), POINTER_ARROW);
    EXPECT_EQ(PointerAt(grid.right - 1, cells.top + 5), POINTER_CELL);
}

TEST_F(ActiveCellTest, AConditionChangesOnlyWhatItSays) {
    const Workbook& book = *CurrentWorkbook();
    const FontRecord& own = ResolveFont(book, 0);
    CellFormat format;
    FontRequest plain;
    plain.faceName = WideView(own.faceName);
    plain.pixelHeight = MulDiv(own.height, 96, 1440);
    plain.weight = own.weight;
    plain.charSet = own.charSet;
    struct Case {
        OverrideByte ConditionalCondition::*part;
        void (*change)(FontRequest&, bool on);
    };
    for (const Case& row :
         {Case{&ConditionalCondition::bold, [](FontRequest&font, bool on) { font.weight = on ? 700 : 400; }},
          {&ConditionalCondition::italic, [](FontRequest&font, bool on) { font.italic = on; }},
          {&ConditionalCondition::strikeout, [](FontRequest&font, bool on) { font.strikeout = on; }},
          {&ConditionalCondition::underline, [](FontRequest&font, bool on) { font.underline = on; }}}) {
        for (const u8 value : {u8{0}, u8{1}}) {
            ConditionalCondition condition;
            condition.*row.part = {true, value};
            FontRequest expected = plain;
            row.change(expected, value != 0);
            EXPECT_EQ(FontOfLook(book, format, &condition, 96), HeadlessFonts().findFont(expected));
            condition.*row.part = {false, 1};
            EXPECT_EQ(FontOfLook(book, format, &condition, 96), HeadlessFonts().findFont(plain));
        }
    }
    struct Turn {
        u8 rotation;
        i32 escapement;
    };
    for (const Turn& row : {Turn{0, 0},
                            {1, 10},
                            {45, 450},
                            {90, 900},
                            {91, 3590},
                            {135, 3150},
                            {180, 2700},
                            {181, 0},
                            {255, 0}}) {
        format.rotation = row.rotation;
        FontRequest expected = plain;
        expected.escapement = row.escapement;
        EXPECT_EQ(FontOfLook(book, format, nullptr, 96), HeadlessFonts().findFont(expected))
            << int{row.rotation};
    }
    ConditionalCondition red;
    EXPECT_EQ(ColourOfLook(book, format, &red), own.colour);
    red.hasFontColour = true;
    red.fontColour = 10;
    EXPECT_EQ(ColourOfLook(book, format, &red), 10);
    EXPECT_EQ(ColourOfLook(book, format, nullptr), own.colour);
}

TEST_F(ActiveCellTest, AGrownRowMovesTheLinesBelowIt) {
    TypeText(u"one");
    PressKey(VK_RETURN, KEY_ALT);
    TypeText(u"two");
    const i32 before = Shell().layout.rows[1].start;
    PressKey(VK_RETURN);
    EXPECT_EQ(Shell().layout.rows[1].start, before + 16);
}

TEST_F(ActiveCellTest, WithoutABookNoPlaceIsFound) {
    SheetArea place;
    EXPECT_TRUE(FindPlace(u"B2", place));
    EXPECT_FALSE(FindPlace(u"", place));
    ForgetBooks();
    EXPECT_FALSE(FindPlace(u"B2", place));
}

}  // namespace
}  // namespace tally
