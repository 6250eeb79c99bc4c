// What each command needs, asked in all the ways that lead to it: menus, buttons, keys and the dispatch.

#include <functional>
#include <string>
#include <vector>

#include "editing/Undo.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/BookDump.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

struct State {
    const char* name;
    std::function<void()> make;
    const char* grey;  // the commands with a handler that cannot be run, as ranges
};

void Pick(i32 row, i32 column) { SelectCell(row, column, true); }
void SelectWhole(const RefArea& area) { SelectArea(area, true, area.firstRow, area.firstColumn, false); }

const State states[] = {
    {"a new book", [] {}, "130 133-134 145 401-402 439-443"},
    {"no book", [] { PickCommand(112); },
     "112-114 130-139 141-142 144-146 149-150 160-163 166-168 170-171 330 389-420 422-423 429 432-445"},
    {"typing", [] { TypeText(u"1"); },
     "110-111 118-126 130 133-139 141-142 144-146 149-150 160-163 166 168 330 390-420 422-423 429 438"},
    {"a text on the clipboard",
     [] {
         const WideView text = u"x";
         CopyElsewhere(&text);
     },
     "130 145 401-402 439-443"},
    {"a protected sheet", [] { CurrentSheet()->viewFlags |= VIEW_PROTECTED; },
     "130 133-139 144-145 160-162 330 390-399 401-402 422 429 439-443"},
    {"whole rows",
     [] {
         SelectWhole({2, 4, 0, 255});
     },
     "130 133-134 145 162 401-402 439-443"},
    {"whole columns",
     [] {
         SelectWhole({0, 65535, 2, 4});
     },
     "130 133-134 145 161 401-402 439-443"},
    {"two sheets", [] { PickCommand(163); }, "133-134 402 439-443"},
    {"one of two sheets hidden",
     [] {
         PickCommand(163);
         PickCommand(401);
     },
     "133-134 145 401 439-443"},
    {"a macro sheet", [] { PickCommand(166); }, "133-134 330 402 429 439-443"},
    {"a chart sheet",
     [] {
         ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, true, false));
         SelectSheet(1);
     },
     "131-139 141-142 144 149-150 160-162 167-168 170-171 330 389-399 402-412 422-423 429 432-437 439-445"},
    {"an object selected", [] { CurrentSheet()->selectedObject = 0; },
     "130 133-139 141-142 144-145 160-162 168 390-399 401-402 422-423 429 439-443"},
    {"an object selected on a protected sheet",
     [] {
         CurrentSheet()->selectedObject = 0;
         CurrentSheet()->viewFlags |= VIEW_PROTECTED;
     },
     "130 133-139 141-142 144-145 160-162 168 330 390-399 401-402 422-423 429 439-443"},
    {"a protected macro sheet with a text on the clipboard",
     [] {
         PickCommand(166);
         CurrentSheet()->viewFlags |= VIEW_PROTECTED;
         const WideView text = u"x";
         CopyElsewhere(&text);
     },
     "135-139 144 160-162 330 390-399 402 422 429 439-443"},
    {"typing with a text on the clipboard",
     [] {
         const WideView text = u"x";
         CopyElsewhere(&text);
         TypeText(u"2");
     },
     "110-111 118-126 130 134-139 141-142 144-146 149-150 160-163 166 168 330 390-420 422-423 429 438"},
    {"the whole sheet",
     [] {
         SelectWhole({0, 65535, 0, 255});
     },
     "130 133-134 145 161-162 401-402 439-443"},
    {"frozen panes",
     [] {
         Pick(1, 1);
         PickCommand(423);
     },
     "133-134 145 401-402 439-443"},
    {"a chart sheet alone with a hidden worksheet",
     [] {
         ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, true, false));
         BookAt(0)->sheets[0]->hidden = 1;
         SelectSheet(1);
     },
     "131-139 141-142 144-145 149-150 160-162 167-168 170-171 330 389-399 401 403-412 422-423 429 432-437 "
     "439-445"},
    {"whole rows of a filtered protected sheet",
     [] {
         CurrentSheet()->filterState = FILTER_AUTO;
         CurrentSheet()->viewFlags |= VIEW_PROTECTED;
         SelectWhole({2, 4, 0, 255});
     },
     "130 133-139 144-145 160-162 330 390-399 401-402 422 429 439-443"},
    {"a filter and a plain range", [] { CurrentSheet()->filterState = FILTER_AUTO; },
     "130 133-134 144-145 160 401-402 439-443"},
    {"a filter and whole rows",
     [] {
         CurrentSheet()->filterState = FILTER_AUTO;
         SelectWhole({2, 4, 0, 255});
     },
     "130 133-134 145 162 401-402 439-443"},
};

class CommandRulesTest : public ShellSandbox {
  protected:
    void Make(const State& state) {
        TearDown();
        SetUp();
        for (const i32 command : {418, 438}) PickCommand(command);  // all buttons are shown
        state.make();
    }
    // Ranges go on over numbers that are no command, or have no handler.
    static std::string Grey() {
        std::string all;
        i32 first = -1, last = -1;
        const auto close = [&] {
            if (first < 0) return;
            all += (all.empty() ? "" : " ") + std::to_string(first);
            if (last != first) all += "-" + std::to_string(last);
            first = -1;
        };
        i32 previous = 0;
        for (const CommandRow& row : CommandTable()) {
            if (row.id != previous + 1) close();
            previous = row.id;
            if (row.handler && !CommandEnabled(row.id)) {
                if (first < 0) first = row.id;
                last = row.id;
            } else {
                close();
            }
        }
        close();
        return all;
    }
    // What a command could do, in short.
    static std::string Everything() {
        std::string all;
        for (u32 i = 0; i < Books().books.Count(); ++i)
            for (const std::string& line : DumpBook(static_cast<i32>(i))) all += line + "\n";
        const ShellState& shell = Shell();
        const Sheet* sheet = CurrentSheet();
        all += std::to_string(CurrentBook()) + "," + std::to_string(UndoCount()) + "," +
               std::to_string(Headless().boxes.Count()) + "," +
               std::to_string(HeadlessDialogs().shown.Count()) + "," + std::to_string(shell.entryMode) + "," +
               std::to_string(shell.options5) + "," + std::to_string(shell.statusBarShown) + Line();
        for (const bool hidden : shell.bandHidden) all += hidden ? "h" : "s";
        if (sheet)
            all += Selection() + std::to_string(sheet->view.firstRow) + "," +
                   std::to_string(sheet->view.firstColumn) + "," + std::to_string(sheet->viewFlags) + "," +
                   std::to_string(sheet->zoomPercent) + "," + std::to_string(sheet->hidden);
        if (const Workbook* book = CurrentWorkbook()) all += book->dirty ? "dirty" : "clean";
        WideText copied;
        IgnoreFailure(ReadClipboardText(copied));
        return all + Narrow(copied);
    }
};

TEST_F(CommandRulesTest, WhichCommandsAreGreyInEachState) {
    for (const State& state : states) {
        Make(state);
        EXPECT_EQ(Grey(), state.grey) << state.name;
    }
}

TEST_F(CommandRulesTest, WhatIsGreyDoesNothingByACommandAButtonOrAKey) {
    for (const State& state : states) {
        Make(state);
        const std::string before = Everything();
        for (const CommandRow& row : CommandTable()) {
            if (CommandEnabled(row.id)) continue;
            EXPECT_TRUE(RunCommand(row.id)) << row.id;
            for (const CommandSender sender : {SENDER_MENU, SENDER_TOOLBAR})
                EXPECT_TRUE(SendCommand(row.id, sender)) << row.id;
        }
        for (std::size_t i = 0; i < ToolbarButtons().size(); ++i) {
            const PixelRect place = ButtonPlace(i);
            if (!CommandEnabled(ToolbarButtons()[i].command) && !IsEmptyRect(place))
                ClickMouse(place.left + 5, place.top + 5);
        }
        for (const Accelerator& key : AcceleratorTable())
            if (!CommandEnabled(key.command)) {
                EXPECT_TRUE(FrameCallsInUse().translateAccelerator(key.key, key.modifiers)) << key.command;
            }
        EXPECT_EQ(Everything(), before) << state.name;
    }
}

TEST_F(CommandRulesTest, ButtonsStandAsTheirCommandsDo) {
    for (const State& state : states) {
        Make(state);
        // Any message settles the buttons.
        ShellMessage any;
        any.message = WM_TIMER;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(any));
        for (std::size_t i = 0; i < ToolbarButtons().size(); ++i)
            EXPECT_EQ(Shell().toolbar.enabled >> i & 1, CommandEnabled(ToolbarButtons()[i].command))
                << state.name << ' ' << ToolbarButtons()[i].command;
    }
}

// A menu's item is as its command, and grey where the menus ask for more.
TEST_F(CommandRulesTest, ItemsOfMenusStandAsTheirCommandsDo) {
    for (const State& state : states) {
        Make(state);
        for (i32 menu = MENU_BAR; menu < MENU_COUNT; ++menu) {
            Array<MenuItem> items;
            ASSERT_TRUE(FrameCallsInUse().menuItems(static_cast<MenuId>(menu), items));
            for (const MenuItem& item : items) {
                const CommandRow* row = FindCommandRow(item.command);
                if (!row) continue;
                const bool more = RulesThatHold(row->menuRules) == row->menuRules;
                EXPECT_EQ(item.enabled, CommandEnabled(item.command) && more)
                    << state.name << ' ' << item.command;
            }
        }
        Array<MenuItem> items;
        ASSERT_TRUE(GridMenu(items));
        const bool wholeSheet =
            CurrentSheet() && RulesThatHold(NEEDS_SHEET | NOT_ROWS | NOT_COLUMNS) == NEEDS_SHEET;
        for (const MenuItem& item : items) {
            // Of a whole sheet nothing is left to make room beside, nor to close up.
            const bool offered = !wholeSheet || item.command != 144;
            EXPECT_TRUE(item.text.IsEmpty() || item.enabled == (offered && CommandEnabled(item.command)))
                << state.name << ' ' << item.command;
        }
    }
}

TEST_F(CommandRulesTest, OnlyAFewMenusAskForMoreThanTheCommand) {
    std::vector<i32> more;
    for (const CommandRow& row : CommandTable())
        if (row.menuRules) more.push_back(row.id);
    EXPECT_EQ(more, (std::vector<i32>{131, 132, 167}));
}

// The button that pastes a function works in the middle of a formula; the menu's item waits for its end.
TEST_F(CommandRulesTest, AFunctionIsPastedByItsButtonWhileAFormulaIsTyped) {
    TypeText(u"=1+");
    EXPECT_TRUE(CommandEnabled(167));
    EXPECT_FALSE(IsEnabled(MENU_INSERT, 167));
    PressKey(VK_ESCAPE);
    EXPECT_TRUE(IsEnabled(MENU_INSERT, 167));
}

TEST_F(CommandRulesTest, AScreenSidewaysStoresWhatIsTypedFirst) {
    TypeText(u"5");
    PressKey(VK_NEXT, KEY_ALT);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_NE(Active(), "A1");
}

}  // namespace
}  // namespace tally
