// The box at the left of the entry line.

#include "editing/NameOperations.h"
#include "editing/Undo.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class NameBoxTest : public ShellSandbox {
  protected:
    static std::string Box() { return Narrow(HeadlessFrame().edits[NAME_BOX].text); }
    static std::string Message() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
    // Clicks into the box and types over what it holds.
    static void Type(WideView text, u32 key = VK_RETURN) {
        EXPECT_FALSE(FrameCallsInUse().editClick(NAME_BOX));
        EXPECT_EQ(HeadlessFrame().focus, NAME_BOX);
        TypeText(text);
        if (key) PressKey(key);
    }
    static bool IsLeft() { return HeadlessFrame().focus == EDIT_NONE && !Shell().naming; }
    static void Send(u32 number, i32 x, i32 y) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = y;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static void PressArrow(i32 answer) {
        HeadlessFrame().popupAnswer = answer;
        const PixelRect& arrow = Shell().layout.nameArrow;
        Send(WM_LBUTTONDOWN, arrow.left + 3, arrow.top + 3);
        Send(WM_LBUTTONUP, arrow.left + 3, arrow.top + 3);
    }
};

TEST_F(NameBoxTest, ItStandsBesideTheEntryLineAndGoesWithIt) {
    const Layout& layout = Shell().layout;
    EXPECT_EQ(layout.nameBox, (PixelRect{0, 25, 110, 49}));
    EXPECT_EQ(layout.nameArrow, (PixelRect{93, 25, 110, 49}));
    EXPECT_EQ(HeadlessFrame().edits[NAME_BOX].place, (PixelRect{0, 25, 93, 49}));
    PickCommand(419);
    EXPECT_TRUE(IsEmptyRect(layout.nameBox));
    EXPECT_TRUE(IsEmptyRect(HeadlessFrame().edits[NAME_BOX].place));
}

TEST_F(NameBoxTest, ItShowsTheActiveCell) {
    EXPECT_EQ(Box(), "A1");
    Select("C7");
    EXPECT_EQ(Box(), "C7");
    PressKey(VK_DOWN);
    EXPECT_EQ(Box(), "C8");
    PressKey(VK_RIGHT, KEY_SHIFT);
    EXPECT_EQ(Box(), "C8");
    PickCommand(163);
    EXPECT_EQ(Box(), "A1");
    PressKey(VK_PRIOR, KEY_CTRL);
    EXPECT_EQ(Box(), "C8");
}

TEST_F(NameBoxTest, WhileTheMouseSelectsItShowsTheSize) {
    i32 x = 0, y = 0;
    CellPoint("B2", x, y);
    Send(WM_LBUTTONDOWN, x, y);
    EXPECT_EQ(Box(), "B2");
    CellPoint("D5", x, y);
    Send(WM_MOUSEMOVE, x, y);
    EXPECT_EQ(Box(), "4 × 3");
    CellPoint("B3", x, y);
    Send(WM_MOUSEMOVE, x, y);
    EXPECT_EQ(Box(), "2 × 1");
    Send(WM_LBUTTONUP, x, y);
    EXPECT_EQ(Box(), "B2");
}

TEST_F(NameBoxTest, ItLeadsToReferencesAndNames) {
    PickCommand(163);
    CurrentWorkbook()->currentSheet = 0;
    SelectSheet(0);
    DefineName("rate", "=Sheet2!$B$3:$C$4");
    struct Case {
        const char16_t* typed;
        i32 sheet;
        const char* selection;
    };
    const Case cases[] = {{u"d5", 0, "D5"},        {u"B2:C9", 0, "B2:C9"}, {u" C:D ", 0, "C:D"},
                          {u"Sheet2!E6", 1, "E6"}, {u"F1", 1, "F1"},       {u"rate", 1, "B3:C4"},
                          {u"Sheet1!A2", 0, "A2"}, {u"RATE", 1, "B3:C4"}};
    for (const Case& row : cases) {
        Type(row.typed);
        EXPECT_TRUE(IsLeft());
        EXPECT_EQ(CurrentWorkbook()->currentSheet, row.sheet) << Narrow(row.typed);
        EXPECT_EQ(Selection(), row.selection) << Narrow(row.typed);
        EXPECT_EQ(Box(), Active());
    }
    // Like Go To it remembers the way back.
    EXPECT_EQ(Narrow(Shell().goToTarget), "Sheet1!A2");
    EXPECT_TRUE(Headless().boxes.IsEmpty());
    EXPECT_EQ(UndoCount(), 1u);  // of the inserted sheet
}

TEST_F(NameBoxTest, ANewNameIsGivenToTheSelection) {
    SelectArea({1, 3, 1, 2}, true, 1, 1, false);
    Type(u"prices");
    EXPECT_TRUE(IsLeft());
    EXPECT_EQ(Box(), "B2");
    ASSERT_EQ(UndoCount(), 1u);
    EXPECT_EQ(LastUndo()->kind, UNDO_ADD_NAME);
    Enter("A1", "=ROWS(prices)&COLUMNS(prices)");
    EXPECT_EQ(Shown("A1"), "32");
    Select("H9");
    Type(u"prices");
    EXPECT_EQ(Selection(), "B2:C4");
    while (UndoCount()) PickCommand(130);
    EXPECT_EQ(Shown("A1"), "#NAME?");
}

TEST_F(NameBoxTest, WhatIsNeitherIsRefusedAndStaysToBeChanged) {
    DefineName("tax", "=0.2");
    struct Case {
        const char16_t* typed;
        const char* message;
    };
    const Case cases[] = {
        {u"two words", "Invalid name"}, {u"tax", "Invalid location"}, {u"Nosheet!A1", nullptr}};
    for (const Case& row : cases) {
        Headless().boxes.Clear();
        Type(row.typed);
        EXPECT_EQ(Headless().boxes.Count(), 1u) << Narrow(row.typed);
        if (row.message && std::string_view(row.message) != "Invalid name") EXPECT_EQ(Message(), row.message);
        EXPECT_EQ(Box(), Narrow(row.typed));
        EXPECT_EQ(HeadlessFrame().focus, NAME_BOX);
        EXPECT_EQ(HeadlessFrame().edits[NAME_BOX].start, 0);
        EXPECT_EQ(HeadlessFrame().edits[NAME_BOX].end, static_cast<i32>(WideView(row.typed).size()));
        EXPECT_EQ(UndoCount(), 0u);
        PressKey(VK_ESCAPE);
        EXPECT_TRUE(IsLeft());
        EXPECT_EQ(Box(), "A1");
    }
    Enter("A1", "=tax");
    EXPECT_EQ(Shown("A1"), "0.2");
}

TEST_F(NameBoxTest, ItIsLeftWithoutAnyEffect) {
    struct Case {
        const char* how;
        void (*leave)();
    };
    const Case cases[] = {
        {"escape",
         [] {
             PressKey(VK_ESCAPE);
             EXPECT_EQ(HeadlessFrame().focus, EDIT_NONE);
         }},
        {"tab", [] { PressKey(VK_TAB); }},
        {"a cell", [] { ClickCell("A1"); }},
        {"the entry line", [] { EXPECT_TRUE(FrameCallsInUse().editClick(ENTRY_LINE)); }},
        {"a command", [] { PickCommand(142); }},
        {"a key of a command", [] { PressKey('D', KEY_CTRL); }},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.how);
        Type(u"D5", 0);
        EXPECT_EQ(Box(), "D5");
        row.leave();
        EXPECT_FALSE(Shell().naming);
        EXPECT_EQ(Box(), "A1");
        EXPECT_EQ(Selection(), "A1");
        PressKey(VK_ESCAPE);
    }
    Type(u"   ");
    EXPECT_TRUE(IsLeft());
    EXPECT_EQ(Selection(), "A1");
}

TEST_F(NameBoxTest, TheKeysOfTheClipboardAreItsOwn) {
    Enter("A1", "cell");
    Type(u"E7", 0);
    ShellPlatform().selectEdit(NAME_BOX, 0, 2);
    PressKey('X', KEY_CTRL);
    EXPECT_EQ(Box(), "");
    EXPECT_EQ(Shown("A1"), "cell");
    PressKey('V', KEY_CTRL);
    EXPECT_EQ(Box(), "E7");
    PressKey(VK_RETURN);
    EXPECT_EQ(Selection(), "E7");
}

TEST_F(NameBoxTest, WhatIsBeingTypedIntoACellIsStoredFirst) {
    TypeText(u"12");
    Type(u"B2");
    EXPECT_EQ(Shown("A1"), "12");
    EXPECT_EQ(Selection(), "B2");
    TypeText(u"=1+");
    EXPECT_FALSE(FrameCallsInUse().editClick(NAME_BOX));
    EXPECT_FALSE(Shell().naming);
    EXPECT_EQ(HeadlessFrame().focus, ENTRY_LINE);
    EXPECT_EQ(Line(), "=1+");
}

TEST_F(NameBoxTest, ItsArrowListsTheNames) {
    PressArrow(1);  // there is none
    EXPECT_TRUE(HeadlessFrame().popupItems.IsEmpty());
    DefineName("first", "=Sheet1!$B$2");
    DefineName("tax", "=0.2");
    DefineName("own", "=Sheet1!$C$3:$C$4", 1);
    PressArrow(3);
    ASSERT_EQ(HeadlessFrame().popupItems.Count(), 3u);
    EXPECT_EQ(Narrow(HeadlessFrame().popupItems[0].text), "first");
    EXPECT_EQ(Narrow(HeadlessFrame().popupItems[2].text), "Sheet1!own");
    EXPECT_EQ(HeadlessFrame().popupX, 0);
    EXPECT_EQ(HeadlessFrame().popupY, Shell().layout.nameBox.bottom);
    EXPECT_EQ(Selection(), "C3:C4");
    PressArrow(1);
    EXPECT_EQ(Selection(), "B2");
    PressArrow(2);
    EXPECT_EQ(Message(), "Invalid location");
    EXPECT_EQ(Selection(), "B2");
    PressArrow(0);
    EXPECT_EQ(Selection(), "B2");
}

TEST_F(NameBoxTest, OnAProtectedSheetNamesCanStillBeGiven) {
    // As by their command.
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    const bool enabled = IsEnabled(MENU_NAME, 168);
    Type(u"prices");
    EXPECT_EQ(UndoCount(), enabled ? 1u : 0u);
}

}  // namespace
}  // namespace tally
