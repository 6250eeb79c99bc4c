// Where commands, keys and the mouse begin and end to do something: the last
// number, pixel or cell that they take and the first that they do not.

#include <string>

#include "base/MessageTable.h"
#include "editing/ApplyFormat.h"
#include "editing/EntryRecognition.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/Settings.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/DrawingText.h"
#include "support/Golden.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class CommandBounds : public ShellSandbox {
  protected:
    void TearDown() override {
        HeadlessDialogs().whileOpen = nullptr;
        ShellSandbox::TearDown();
    }
    static bool Send(u32 number, i32 x, i32 y) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = y;
        return FrameCallsInUse().sendMessage(message);
    }
};

TEST_F(CommandBounds, OneEntryFillsAsManyCellsAsAreAllowed) {
    // One row more than fits into 256 columns.
    SelectArea({10, 16394, 0, 255}, true, 10, 0, true);
    TypeText(u"1");
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->cells.count, 0u);
    if (IsEditing()) CancelEntry();
    // Far down and far to the right a cell is one cell.
    SelectArea({65530, 65535, 250, 255}, true, 65530, 250, true);
    TypeText(u"1");
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->cells.count, 36u);
}

TEST_F(CommandBounds, NumbersOfTheSettings) {
    const struct {
        const char* text;
        u32 number;
    } rows[] = {{"2147483647", 2147483647u},
                {"2147483648", 0},
                {"99999999999999999999", 0},
                {"007", 7},
                {"", 0},
                {"1x", 0},
                {"-1", 0},
                {"0", 0}};
    for (const auto& row : rows) {
        Shell().options5 = 99;
        ASSERT_TRUE(ShellPlatform().writeSetting(u"Options", u"Options5", Wide(row.text)));
        LoadSettings();
        EXPECT_EQ(Shell().options5, row.number) << row.text;
    }
}

// From the last pixel that is the line's own to the first that is the next
// one's.
TEST_F(CommandBounds, ADoubleClickFitsNearAnEdge) {
    Select("A1");
    const Layout& layout = Shell().layout;
    for (const bool column : {true, false}) {
        const i32 edge = (column ? layout.columns : layout.rows)[1].end;
        const i32 x = column ? edge : (layout.grid.left + layout.cells.left) / 2;
        const i32 y = column ? (layout.grid.top + layout.cells.top) / 2 : edge;
        std::string fits;
        for (i32 offset = -7; offset <= 6; ++offset) {
            Select("D9");
            IgnoreFailure(Send(WM_LBUTTONDBLCLK, column ? x + offset : x, column ? y : y + offset));
            const RefArea& selection = CurrentSheet()->view.selection;
            const bool isPressed =
                Shell().gesture != GESTURE_NONE || selection.lastRow == 65535 || selection.lastColumn == 255;
            IgnoreFailure(Send(WM_LBUTTONUP, column ? x + offset : x, column ? y : y + offset));
            fits += isPressed ? '-' : 'f';
        }
        EXPECT_EQ(fits, "--fffffffff---") << column;
        // On a cell and in the corner it does not.
        const u32 popups = HeadlessFrame().popupItems.Count();
        IgnoreFailure(Send(WM_LBUTTONDBLCLK, layout.grid.left + 1, layout.grid.top + 1));
        EXPECT_EQ(HeadlessFrame().popupItems.Count(), popups);
        if (IsEditing()) CancelEntry();
    }
}

TEST_F(CommandBounds, TheListOpensBelowItsCell) {
    ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
    ASSERT_TRUE(rule && rule->areas.Append(AreaOf("B2", "B9")));
    rule->kind = 3;
    rule->literalList = 1;
    CurrentSheet()->validations.RemoveAt(0);
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"允许", u"列表") &&
                EnterInDialog(u"源", u"red,green,b&w"));
    SelectArea(AreaOf("B2", "B9"), true, 1, 1, true);
    PickCommand(429);
    ASSERT_EQ(CurrentSheet()->validations.Count(), 1u);
    Select("B3");
    const PixelRect arrow = ListArrowPlace();
    const PixelRect cell = AreaPixels(AreaOf("B3", "B3"));
    HeadlessFrame().popupAnswer = 0;
    IgnoreFailure(Send(WM_LBUTTONDOWN, arrow.left + 1, arrow.top + 1));
    IgnoreFailure(Send(WM_LBUTTONUP, arrow.left + 1, arrow.top + 1));
    ASSERT_EQ(HeadlessFrame().popupItems.Count(), 3u);
    EXPECT_EQ(HeadlessFrame().popupX, cell.left);
    EXPECT_EQ(HeadlessFrame().popupY, cell.bottom);
    for (u32 i = 0; i < 3; ++i) {
        EXPECT_EQ(HeadlessFrame().popupItems[i].command, static_cast<i32>(i) + 1);
        EXPECT_TRUE(HeadlessFrame().popupItems[i].enabled);
        EXPECT_FALSE(HeadlessFrame().popupItems[i].checked);
    }
    EXPECT_EQ(CellAtName("B3"), nullptr);
    const char* stored[] = {"red", "green", "b&w"};
    for (i32 i = 1; i <= 3; ++i) {
        HeadlessFrame().popupAnswer = i;
        IgnoreFailure(Send(WM_LBUTTONDOWN, arrow.left + 1, arrow.top + 1));
        IgnoreFailure(Send(WM_LBUTTONUP, arrow.left + 1, arrow.top + 1));
        EXPECT_EQ(Shown("B3"), stored[i - 1]);
        EXPECT_EQ(Line(), stored[i - 1]);
    }
}

TEST_F(CommandBounds, ALinkKeepsItsCellsAndANewOneTakesTheSelection) {
    const auto answer = [](WideView target) {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"0", target));
        PickCommand(330);
    };
    SelectArea(AreaOf("B2", "C4"), true, 1, 1, true);
    answer(u"http://example.org/");
    const Array<Hyperlink>& links = CurrentSheet()->hyperlinks;
    ASSERT_EQ(links.Count(), 1u);
    EXPECT_EQ(links[0].area, AreaOf("B2", "C4"));
    for (const char* cell : {"B2", "C4", "B4"}) {
        Select(cell);
        answer(u"http://example.com/");
        ASSERT_EQ(links.Count(), 1u) << cell;
        EXPECT_EQ(links[0].area, AreaOf("B2", "C4"));
        EXPECT_EQ(Narrow(links[0].target), "http://example.com/");
    }
    for (const char* cell : {"A2", "D4", "C5", "B1"}) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        EXPECT_EQ(FindHyperlink(row, column), -1);
    }
    Select("D4");
    answer(u"http://example.net/");
    ASSERT_EQ(links.Count(), 2u);
    EXPECT_EQ(links[1].area, AreaOf("D4", "D4"));
    Select("C4");
    answer(u"");
    ASSERT_EQ(links.Count(), 1u);
    EXPECT_EQ(links[0].area, AreaOf("D4", "D4"));
}

TEST_F(CommandBounds, EachButtonOfALookTurnsItOnAndOff) {
    const auto look = [] {
        const Workbook& book = *CurrentWorkbook();
        const CellFormat& format = ResolveCellFormat(book, GetCellFormat(*CurrentSheet(), 1, 1));
        const FontRecord& font = ResolveFont(book, format.font);
        return std::to_string(font.weight) + (font.attributes & FONT_ITALIC ? " italic" : "") +
               (font.underline ? " underlined" : "") + " " + std::to_string(format.horizontal);
    };
    SelectArea(AreaOf("B2", "C3"), true, 1, 1, true);
    const struct {
        i32 command;
        const char* result;
    } rows[] = {
        {432, "700 0"}, {432, "400 0"}, {433, "400 italic 0"}, {433, "400 0"}, {434, "400 underlined 0"},
        {434, "400 0"}, {435, "400 1"}, {436, "400 2"},        {437, "400 3"}, {437, "400 0"},
        {435, "400 1"}, {435, "400 0"}};
    for (const auto& row : rows) {
        PickCommand(row.command);
        EXPECT_EQ(look(), row.result) << row.command;
    }
}

TEST_F(CommandBounds, WhatStandsAtAnotherRowThanColumnIsFound) {
    EnterArray("E10", "E11", "=ROW(A1:A2)");
    Enter("C5", "=1+1");
    Select("E10");
    EXPECT_EQ(Line(), "{=ROW(A1:A2)}");
    Select("E11");
    EXPECT_EQ(Line(), "{=ROW(A1:A2)}");
    Select("C5");
    EXPECT_EQ(Line(), "=1+1");
    // An arrow into a merge stops at its first cell, one out of it passes all of
    // it.
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("C15", "E17")));
    const struct {
        const char* from;
        u32 key;
        const char* to;
    } moves[] = {{"B16", VK_RIGHT, "C15"}, {"F17", VK_LEFT, "C15"},  {"D14", VK_DOWN, "C15"},
                 {"E18", VK_UP, "C15"},    {"C15", VK_RIGHT, "F15"}, {"C15", VK_DOWN, "C18"},
                 {"C15", VK_LEFT, "B15"},  {"C15", VK_UP, "C14"}};
    for (const auto& move : moves) {
        Select(move.from);
        PressKey(move.key);
        const SheetView& view = CurrentSheet()->view;
        i32 row = 0, column = 0;
        ReadCellName(move.to, row, column);
        EXPECT_EQ(view.activeRow, row) << move.from << " to " << move.to;
        EXPECT_EQ(view.activeColumn, column) << move.from << " to " << move.to;
    }
}

// In both ways of Enter and Tab each cell of a selection has its turn, but for
// those inside of merges.
TEST_F(CommandBounds, AWalkPassesEachCellOfTheSelection) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("C4", "D5")));
    const struct {
        u32 key, modifiers;
        const char* cells;
    } rows[] = {{VK_TAB, 0, "C3 D3 B4 C4 B5 B3 "},
                {VK_TAB, KEY_SHIFT, "B5 C4 B4 D3 C3 B3 "},
                {VK_RETURN, 0, "B4 B5 C3 C4 D3 B3 "},
                {VK_RETURN, KEY_SHIFT, "D3 C4 C3 B5 B4 B3 "}};
    for (const auto& row : rows) {
        SelectArea(AreaOf("B3", "D5"), true, 2, 1, true);
        std::string cells;
        for (int i = 0; i < 6; ++i) {
            PressKey(row.key, row.modifiers);
            cells += Active() + " ";
        }
        EXPECT_EQ(cells, row.cells);
        EXPECT_EQ(Selection(), "B3:D5");
    }
}

TEST_F(CommandBounds, AnotherBookBeginsWithItsFirstTab) {
    for (int i = 1; i < 4; ++i) ASSERT_TRUE(InsertSheet(i, nullptr, SHEET_WORKSHEET, false, false));
    Shell().firstTab = 2;
    Shell().endMode = true;
    PickCommand(110);
    EXPECT_EQ(Shell().firstTab, 0);
    EXPECT_FALSE(Shell().endMode);
    EXPECT_EQ(CurrentBook(), 1);
}

// ---- every kind of number
// -----------------------------------------------------------------------------------

i32 wantedCategory, wantedType, types;
std::string shownSample;

void ChooseNumber(Dialog& dialog) {
    i32 lists[2] = {}, found = 0;
    for (const Control& control : dialog.controls)
        if (control.row.kind == CONTROL_LIST && found < 2) lists[found++] = control.row.id;
    UserChooses(dialog, lists[0], wantedCategory);
    types = static_cast<i32>(FindControl(dialog, lists[1])->items.Count());
    if (FindControl(dialog, lists[1])->enabled) UserChooses(dialog, lists[1], wantedType);
    shownSample.clear();
    for (const Control& control : dialog.controls)
        if (control.row.kind == CONTROL_LABEL && !control.row.text && shownSample.empty())
            shownSample = LineText(control.label);
    UserAccepts(dialog);
}

TEST_F(CommandBounds, EveryTypeOfANumber) {
    std::string kept;
    Enter("A1", "36966.563553");
    for (wantedCategory = 0; wantedCategory < FORMAT_KINDS; ++wantedCategory) {
        wantedType = 0;
        types = 1;
        for (; wantedType < types; ++wantedType) {
            CellFormatQuestion question;
            question.sheet = 0;
            question.look.numberFormat = {true, 0};
            HeadlessDialogs().whileOpen = ChooseNumber;
            const bool accepted = AskCellFormat(question);
            kept += std::to_string(wantedCategory) + " " + std::to_string(wantedType) + " of " +
                    std::to_string(types) + (accepted ? "" : " refused") + ": kind " +
                    std::to_string(question.formatKind) + " " + std::to_string(question.formatSubKind) + " '" +
                    LineText(question.formatText) + "' shows '" + shownSample + "'\n";
        }
    }
    std::string().swap(shownSample);
    ExpectGolden("numbers.txt", kept);
}

}  // namespace
}  // namespace tally
