// What the window tells of itself to those who do not see it.

#include <set>
#include <utility>

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "model/Formats.h"
#include "platform/Accessible.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/FailingAllocator.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class AccessibleTest : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        Tell();
    }
    void TearDown() override {
        items = Array<AccessibleItem>();
        ShellSandbox::TearDown();
    }
    void Tell() { ASSERT_TRUE(FrameCallsInUse().accessibleItems(items)); }
    // The only item of a role; an empty one when there is none.
    const AccessibleItem& Only(AccessibleRole role) {
        static const AccessibleItem none;
        Tell();
        const AccessibleItem* found = nullptr;
        for (const AccessibleItem& item : items) {
            if (item.role != role) continue;
            EXPECT_EQ(found, nullptr);
            found = &item;
        }
        return found ? *found : none;
    }
    // Names of the children of the only item of a role, those that are selected in brackets.
    std::string Names(AccessibleRole role, AccessibleRole child) {
        const AccessibleItem& parent = Only(role);
        std::string names;
        for (u32 i = parent.firstChild; i < parent.firstChild + parent.children; ++i) {
            if (items[i].role != child) continue;
            const std::string name = Narrow(items[i].name);
            names += (items[i].states & ACCESSIBLE_SELECTED ? "[" + name + "]" : name) + " ";
        }
        return names;
    }
    // The active cell as "address|value|formula".
    std::string Cell() {
        const AccessibleItem& cell = Only(ACCESSIBLE_CELL);
        return Narrow(cell.name) + "|" + Narrow(cell.value) + "|" + Narrow(cell.description);
    }
    // What was told since the last question, but that something may have changed.
    static std::string Told() {
        std::string told;
        for (const u32 changes : HeadlessFrame().accessibleChanges) {
            if (changes & ACCESSIBLE_FOCUS_MOVED) told += 'f';
            if (changes & ACCESSIBLE_VALUE_CHANGED) told += 'v';
            if (changes & ACCESSIBLE_SELECTION_CHANGED) told += 's';
        }
        HeadlessFrame().accessibleChanges.Truncate(0);
        return told;
    }

    Array<AccessibleItem> items;
};

TEST_F(AccessibleTest, TheItemsAreOneTreeInWhichAllCanBeToldApart) {
    ASSERT_GT(items.Count(), 60u);
    EXPECT_EQ(items[0].role, ACCESSIBLE_WINDOW);
    EXPECT_EQ(items[0].parent, -1);
    EXPECT_EQ(Narrow(items[0].name), Narrow(HeadlessFrame().title));
    std::set<std::pair<int, u32>> seen;
    u32 children = 0;
    int focused = 0;
    for (u32 i = 0; i < items.Count(); ++i) {
        const AccessibleItem& item = items[i];
        EXPECT_TRUE(seen.insert({item.role, item.key}).second) << i;
        children += item.children;
        focused += (item.states & ACCESSIBLE_FOCUSED) != 0;
        for (u32 c = item.firstChild; c < item.firstChild + item.children; ++c)
            EXPECT_EQ(items[c].parent, static_cast<i32>(i));
        if (item.role != ACCESSIBLE_STATUS_PART) EXPECT_FALSE(item.name.IsEmpty()) << i;
        if (!i || IsEmptyRect(item.place)) continue;
        // Each lies in what it belongs to.
        const PixelRect& around = items[static_cast<u32>(item.parent)].place;
        EXPECT_EQ(IntersectRects(item.place, around), item.place) << i;
    }
    EXPECT_EQ(children + 1, items.Count());
    EXPECT_EQ(focused, 1);
    std::string strips;
    for (u32 i = 1; i <= items[0].children; ++i) strips += std::to_string(items[i].role) + " ";
    EXPECT_EQ(strips, "1 3 4 9 11 ");
}

TEST_F(AccessibleTest, TheActiveCellTellsItsAddressItsValueAndItsFormula) {
    TypeText(u"12.5%");
    PressKey(VK_RETURN);
    Enter("A2", "text");
    Enter("A3", "=A1*2");
    Enter("A4", "=1/0");
    Enter("A5", "TRUE");
    Enter("A6", "=A2&\"!\"");
    EnterArray("A7", "A8", "=A1:A2");
    const std::pair<const char*, const char*> rows[] = {
        {"A1", "A1|12.50%|"},       {"A2", "A2|text|"},       {"A3", "A3|0.25|=A1*2"},
        {"A4", "A4|#DIV/0!|=1/0"},  {"A5", "A5|TRUE|"},       {"A6", "A6|text!|=A2&\"!\""},
        {"A8", "A8|text|{=A1:A2}"}, {"IV65536", "IV65536||"},
    };
    for (const auto& [cell, told] : rows) {
        Select(cell);
        PaintHeadless();
        EXPECT_EQ(Cell(), told);
        EXPECT_TRUE(Only(ACCESSIBLE_CELL).states & ACCESSIBLE_FOCUSED);
    }
}

TEST_F(AccessibleTest, AProtectedFormulaIsNotTold) {
    Enter("A1", "=1+2");
    CellFormat format;
    format.flags |= FORMAT_HIDDEN;
    u16 index = 0;
    ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
    CellAtName("A1")->format = index;
    EXPECT_EQ(Cell(), "A1|3|=1+2");
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    EXPECT_EQ(Cell(), "A1|3|");
}

TEST_F(AccessibleTest, ArrowKeysMoveTheCellAndItsPlace) {
    Enter("B2", "7");
    PressKey(VK_RIGHT);
    PressKey(VK_DOWN);
    EXPECT_EQ(Cell(), "B2|7|");
    EXPECT_EQ(Only(ACCESSIBLE_CELL).place, AreaPixels(AreaOf("B2", "B2")));
    const u32 key = Only(ACCESSIBLE_CELL).key;
    PressKey(VK_DOWN);
    EXPECT_NE(Only(ACCESSIBLE_CELL).key, key);
    PressKey(VK_UP);
    EXPECT_EQ(Only(ACCESSIBLE_CELL).key, key);
    // Scrolled out of view it has no place.
    ScrollTo(100, 0);
    EXPECT_TRUE(IsEmptyRect(Only(ACCESSIBLE_CELL).place));
    EXPECT_EQ(Cell(), "B2|7|");
}

TEST_F(AccessibleTest, MergedCellsAreOneCell) {
    Enter("B2", "m");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B2", "C4")));
    Select("C3");
    EXPECT_EQ(Cell(), "B2|m|");
    EXPECT_EQ(Only(ACCESSIBLE_CELL).place, AreaPixels(AreaOf("B2", "C4")));
    EXPECT_TRUE(Only(ACCESSIBLE_AREA).name.IsEmpty());
}

TEST_F(AccessibleTest, ASelectionOfMoreThanTheActiveCellIsAnItem) {
    EXPECT_TRUE(Only(ACCESSIBLE_AREA).name.IsEmpty());
    Select("B2");
    PressKey(VK_RIGHT, KEY_SHIFT);
    PressKey(VK_DOWN, KEY_SHIFT);
    EXPECT_EQ(Narrow(Only(ACCESSIBLE_AREA).name), "B2:C3");
    EXPECT_EQ(Only(ACCESSIBLE_AREA).place, AreaPixels(AreaOf("B2", "C3")));
    EXPECT_TRUE(Only(ACCESSIBLE_AREA).states & ACCESSIBLE_SELECTED);
    EXPECT_EQ(Cell(), "B2||");
    const std::string headers = Names(ACCESSIBLE_GRID, ACCESSIBLE_COLUMN_HEADER);
    EXPECT_EQ(headers.substr(0, 16), "A [B] [C] D E F ");
    EXPECT_EQ(Names(ACCESSIBLE_GRID, ACCESSIBLE_ROW_HEADER).substr(0, 14), "1 [2] [3] 4 5 ");
    SelectArea(AreaOf("B1", "B65536"), true, 0, 1, false);
    EXPECT_EQ(Narrow(Only(ACCESSIBLE_AREA).name), "B:B");
}

TEST_F(AccessibleTest, HeadersThatAreNotShownAreNotTold) {
    EXPECT_FALSE(Names(ACCESSIBLE_GRID, ACCESSIBLE_ROW_HEADER).empty());
    CurrentSheet()->viewFlags &= static_cast<u16>(~VIEW_HEADERS);
    RefreshChrome();
    EXPECT_EQ(Names(ACCESSIBLE_GRID, ACCESSIBLE_ROW_HEADER), "");
    EXPECT_EQ(Names(ACCESSIBLE_GRID, ACCESSIBLE_COLUMN_HEADER), "");
}

TEST_F(AccessibleTest, TabsHaveTheNamesOfTheSheetsThatAreShown) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_WORKSHEET, false, false));
    SelectSheet(0);
    EXPECT_EQ(Names(ACCESSIBLE_TAB_LIST, ACCESSIBLE_TAB), "[Sheet1] Sheet2 Sheet3 ");
    SelectSheet(2);
    CurrentWorkbook()->sheets[1]->hidden = 1;
    EXPECT_EQ(Names(ACCESSIBLE_TAB_LIST, ACCESSIBLE_TAB), "Sheet1 [Sheet3] ");
    EXPECT_EQ(Narrow(Only(ACCESSIBLE_GRID).name), "Sheet3");
}

TEST_F(AccessibleTest, ButtonsTellTheirTipAndWhetherTheyCanBePressed) {
    Tell();
    std::size_t told = 0;
    for (std::size_t i = 0; i < ToolbarButtons().size(); ++i) {
        const ToolbarButton& button = ToolbarButtons()[i];
        const i32 at = FindAccessible(items.Span(), ACCESSIBLE_BUTTON, static_cast<u32>(button.command));
        if (IsEmptyRect(ButtonPlace(i))) {
            EXPECT_LT(at, 0);
            continue;
        }
        ASSERT_GE(at, 0);
        ++told;
        EXPECT_EQ(items[static_cast<u32>(at)].name.View(), Message(button.tip));
        EXPECT_EQ(items[static_cast<u32>(at)].place, ButtonPlace(i));
    }
    EXPECT_GT(told, 5u);
    const auto disabled = [&](i32 command) {
        Tell();
        const i32 at = FindAccessible(items.Span(), ACCESSIBLE_BUTTON, static_cast<u32>(command));
        return (items[static_cast<u32>(at)].states & ACCESSIBLE_DISABLED) != 0;
    };
    EXPECT_TRUE(disabled(130)) << "nothing to undo";
    EXPECT_FALSE(disabled(110));
    TypeText(u"1");
    PressKey(VK_RETURN);
    EXPECT_FALSE(disabled(130));
}

TEST_F(AccessibleTest, TheStatusBarTellsWhatItShows) {
    Enter("A1", "1");
    Enter("A2", "2");
    SelectArea(AreaOf("A1", "A2"), true, 0, 0, false);
    PressKey(VK_END);
    const std::string parts = Names(ACCESSIBLE_STATUS_BAR, ACCESSIBLE_STATUS_PART);
    EXPECT_EQ(parts.substr(0, 3), "A1 ");
    EXPECT_NE(parts.find("3"), std::string::npos) << parts;
    EXPECT_NE(parts.find(Narrow(Message(MSG_STATUS_END))), std::string::npos);
    Shell().statusBarShown = false;
    RefreshChrome();
    EXPECT_TRUE(Only(ACCESSIBLE_STATUS_BAR).name.IsEmpty());
}

TEST_F(AccessibleTest, WhileTheLineIsEditedItHasTheFocus) {
    EXPECT_EQ(Only(ACCESSIBLE_EDIT).key, u32{ENTRY_LINE});
    EXPECT_FALSE(Only(ACCESSIBLE_EDIT).states & ACCESSIBLE_FOCUSED);
    TypeText(u"x");
    EXPECT_TRUE(Only(ACCESSIBLE_EDIT).states & ACCESSIBLE_FOCUSED);
    EXPECT_FALSE(Only(ACCESSIBLE_CELL).states & ACCESSIBLE_FOCUSED);
}

TEST_F(AccessibleTest, NamesAreOfTheLanguageInForce) {
    const AccessibleRole named[] = {ACCESSIBLE_TOOLBAR, ACCESSIBLE_EDIT, ACCESSIBLE_TAB_LIST,
                                    ACCESSIBLE_STATUS_BAR};
    for (const AccessibleRole role : named) EXPECT_GT(Only(role).name[0], 0x4E00) << role;
    SetLanguage(LANGUAGE_ENGLISH);
    for (const AccessibleRole role : named) EXPECT_LT(Only(role).name[0], 0x7F) << role;
    EXPECT_EQ(Narrow(Only(ACCESSIBLE_EDIT).name), "Formula bar");
    SetLanguage(LANGUAGE_CHINESE);
}

TEST_F(AccessibleTest, NothingIsToldWhileNobodyListens) {
    PressKey(VK_RIGHT);
    TypeText(u"1");
    PressKey(VK_RETURN);
    EXPECT_EQ(HeadlessFrame().accessibleChanges.Count(), 0u);
}

TEST_F(AccessibleTest, WhatChangesIsTold) {
    Enter("B1", "=A1+1");
    HeadlessFrame().accessibleWatched = true;
    PressKey(VK_RIGHT);
    EXPECT_EQ(Told(), "fs") << "the first time all is new";
    PressKey(VK_LEFT);
    EXPECT_EQ(Told(), "fs");
    PressKey(VK_RIGHT, KEY_SHIFT);
    EXPECT_EQ(Told(), "s");
    PressKey(VK_RIGHT);
    EXPECT_EQ(Told(), "fs");
    // B1 is active; its value changes with A1's.
    Enter("A1", "41");
    PressKey(VK_F9);
    EXPECT_EQ(Told(), "v");
    EXPECT_EQ(Cell(), "B1|42|=A1+1");
    TurnWheel(-3);
    EXPECT_EQ(Told(), "");
    TypeText(u"5");
    EXPECT_EQ(Told(), "f") << "the line has it";
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Told(), "fv") << "back from the line, with a new value";
    PickCommand(130);
    EXPECT_EQ(Told(), "v");
    TypeText(u"5");
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Told(), "ff") << "there and back";
    PickCommand(110);
    EXPECT_EQ(Told(), "fs") << "another book";
    HeadlessFrame().accessibleWatched = false;
    PressKey(VK_DOWN);
    HeadlessFrame().accessibleWatched = true;
    TurnWheel(-1);
    EXPECT_EQ(Told(), "fs") << "who listens anew hears where the focus is";
}

TEST_F(AccessibleTest, RefusedMemoryEndsCleanly) {
    Enter("A1", "=1+1");
    items = Array<AccessibleItem>();
    u64 failAt = 1;
    for (bool good = false; !good; ++failAt) {
        test::FailingAllocator allocator(failAt);
        Array<AccessibleItem> told;
        good = FrameCallsInUse().accessibleItems(told);
        EXPECT_EQ(good, !allocator.HasFailed()) << failAt;
        ASSERT_LT(failAt, 2000u);
    }
    EXPECT_GT(failAt, 60u);
}

}  // namespace
}  // namespace tally
