// Every key that users of such a program know, through the dispatch.

#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class KeysTest : public ShellSandbox {
  protected:
    // Numbers in B2:C4 and in F9, the cell after B2 selected.
    static void MakeSheet() {
        for (const char* cell : {"B2", "C2", "B3", "C3", "B4", "C4", "F9"}) Enter(cell, "1");
    }
};

TEST_F(KeysTest, KeysThatSelectAndMove) {
    struct Case {
        const char* from;  // area; its first cell is active
        u32 key, modifiers;
        const char* selection;
        const char* active;
    };
    constexpr u32 BOTH = KEY_CTRL | KEY_SHIFT;
    const Case cases[] = {
        {"B2", 'A', KEY_CTRL, "1:65536", "B2"},
        {"D7", VK_HOME, KEY_CTRL, "A1", "A1"},
        {"D7", VK_HOME, 0, "A7", "A7"},
        {"D7", VK_HOME, KEY_SHIFT, "A7:D7", "D7"},
        {"D7", VK_HOME, BOTH, "A1:D7", "D7"},
        {"A1", VK_END, KEY_CTRL, "F9", "F9"},
        {"B2", VK_END, BOTH, "B2:F9", "B2"},
        {"B2", VK_DOWN, KEY_CTRL, "B4", "B4"},
        {"B2", VK_DOWN, BOTH, "B2:B4", "B2"},
        {"B4", VK_UP, BOTH, "B2:B4", "B4"},
        {"B2", VK_RIGHT, BOTH, "B2:C2", "B2"},
        {"C2", VK_LEFT, BOTH, "B2:C2", "C2"},
        {"B4", VK_DOWN, BOTH, "B4:B65536", "B4"},
        {"C2", VK_RIGHT, BOTH, "C2:IV2", "C2"},
        {"F9", VK_UP, KEY_CTRL, "F1", "F1"},
        {"B2", VK_DOWN, KEY_SHIFT, "B2:B3", "B2"},
        {"B2:C3", VK_SPACE, KEY_CTRL, "B:C", "B2"},
        {"B2:C3", VK_SPACE, KEY_SHIFT, "2:3", "B2"},
        {"B2:C3", VK_SPACE, BOTH, "1:65536", "B2"},
    };
    MakeSheet();
    for (const Case& row : cases) {
        const std::string_view from = row.from;
        const std::size_t colon = from.find(':');
        const RefArea area =
            AreaOf(from.substr(0, colon), colon == std::string_view::npos ? from : from.substr(colon + 1));
        SelectArea(area, true, area.firstRow, area.firstColumn, true);
        PressKey(row.key, row.modifiers);
        if (std::string_view(row.selection) == "1:65536")
            EXPECT_TRUE(CurrentSheet()->view.selection == (RefArea{0, 65535, 0, 255})) << row.from << row.key;
        else EXPECT_EQ(Selection(), row.selection) << row.from << " key " << row.key << '+' << row.modifiers;
        EXPECT_EQ(Active(), row.active) << row.from << " key " << row.key << '+' << row.modifiers;
        EXPECT_FALSE(IsEditing());
    }
}

TEST_F(KeysTest, KeysThatChangeTheSheet) {
    PickCommand(163);
    PickCommand(163);
    CurrentWorkbook()->sheets[1]->hidden = 1;
    const auto current = [] { return CurrentWorkbook()->currentSheet; };
    PressKey(VK_PRIOR, KEY_CTRL);
    EXPECT_EQ(current(), 0);
    PressKey(VK_PRIOR, KEY_CTRL);
    EXPECT_EQ(current(), 0);
    PressKey(VK_NEXT, KEY_CTRL);
    EXPECT_EQ(current(), 2);
    PressKey(VK_NEXT, KEY_CTRL);
    EXPECT_EQ(current(), 2);
}

TEST_F(KeysTest, KeysThatChangeTheLook) {
    const auto font = [] {
        const CellRecord* cell = CellAtName("B2");
        return ResolveFont(*CurrentWorkbook(), ResolveCellFormat(*CurrentWorkbook(), cell->format).font);
    };
    Enter("B2", "1");
    Select("B2");
    const bool headers = (CurrentSheet()->viewFlags & VIEW_FORMULAS) != 0;
    for (const bool on : {true, false}) {
        PressKey('B', KEY_CTRL);
        EXPECT_EQ(font().weight > 400, on);
        PressKey('I', KEY_CTRL);
        EXPECT_EQ((font().attributes & FONT_ITALIC) != 0, on);
        PressKey('U', KEY_CTRL);
        EXPECT_EQ(font().underline != 0, on);
        // Either code of the key shows formulas.
        PressKey(on ? VK_OEM_3 : VK_OEM_8, KEY_CTRL);
        EXPECT_EQ((CurrentSheet()->viewFlags & VIEW_FORMULAS) != 0, headers != on);
    }
    EXPECT_EQ(UndoCount(), 8u);
}

TEST_F(KeysTest, KeysThatOpenDialogs) {
    struct Case {
        u32 key, modifiers;
        const char* title;
    };
    const Case cases[] = {
        {VK_F5, 0, "定位"},
        {'G', KEY_CTRL, "定位"},
        {VK_F3, KEY_SHIFT, "粘贴函数"},
        {'1', KEY_CTRL, "单元格格式"},
        {'K', KEY_CTRL, nullptr},
    };
    for (const Case& row : cases) {
        const u32 shown = HeadlessDialogs().shown.Count();
        PressKey(row.key, row.modifiers);
        ASSERT_EQ(HeadlessDialogs().shown.Count(), shown + 1) << row.key;
        if (row.title) EXPECT_EQ(Narrow(HeadlessDialogs().shown.Last().title), row.title);
        EXPECT_FALSE(IsEditing());
    }
    // A function is wanted in the midst of a formula as well.
    TypeText(u"=1+");
    const u32 shown = HeadlessDialogs().shown.Count();
    PressKey(VK_F3, KEY_SHIFT);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), shown + 1);
    EXPECT_EQ(Line(), "=1+");
    PressKey(VK_F5);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), shown + 1);
    PressKey(VK_F3);
    EXPECT_EQ(HeadlessDialogs().shown.Count(), shown + 1);
}

TEST_F(KeysTest, KeysThatFillAndEdit) {
    Enter("B2", "5");
    SelectArea({1, 3, 1, 1}, true, 1, 1, false);
    PressKey('D', KEY_CTRL);
    EXPECT_EQ(Shown("B4"), "5");
    SelectArea({1, 1, 1, 3}, true, 1, 1, false);
    PressKey('R', KEY_CTRL);
    EXPECT_EQ(Shown("D2"), "5");
    Select("B2");
    PressKey(VK_F2);
    EXPECT_EQ(Shell().entryMode, ENTRY_EDIT);
    EXPECT_EQ(Line(), "5");
    PressKey(VK_F2);
    EXPECT_EQ(Shell().entryMode, ENTRY_ENTER);
    PressKey(VK_RETURN, KEY_ALT);
    EXPECT_EQ(Line(), "5\n");
    TypeText(u"x");
    PressKey(VK_RETURN);
    EXPECT_EQ(Shown("B2"), "5\nx");
    SelectArea({5, 6, 1, 2}, true, 5, 1, false);
    TypeText(u"7");
    PressKey(VK_RETURN, KEY_CTRL);
    EXPECT_EQ(Shown("B6") + Shown("C6") + Shown("B7") + Shown("C7"), "7777");
    EXPECT_EQ(Selection(), "B6:C7");
    TypeText(u"=ROW(A1:A2)*1");
    PressKey(VK_RETURN, KEY_CTRL | KEY_SHIFT);
    EXPECT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
    EXPECT_EQ(Shown("B6") + Shown("C7"), "12");
    PressKey(VK_DELETE);
    EXPECT_EQ(Shown("B6"), "");
    EXPECT_EQ(UndoLabel().size() > 0, true);
    PressKey('Z', KEY_CTRL);
    EXPECT_EQ(Shown("B6"), "1");
}

TEST_F(KeysTest, KeysThatWriteTheDateAndTheTime) {
    Headless().clock = {2004, 2, 27, 15, 41, 30, 0};
    struct Case {
        u32 key, modifiers;
        const char* line;
    };
    const Case cases[] = {{VK_OEM_1, KEY_CTRL, "2/27/2004"},
                          {VK_OEM_COMMA, KEY_CTRL, "2/27/2004"},
                          {VK_OEM_1, KEY_CTRL | KEY_SHIFT, "15:41"},
                          {VK_OEM_PERIOD, KEY_CTRL, "15:41"}};
    for (const Case& row : cases) {
        PressKey(row.key, row.modifiers);
        EXPECT_EQ(Line().substr(0, std::string_view(row.line).size()), row.line);
        EXPECT_EQ(Shell().entryMode, ENTRY_ENTER);
        PressKey(VK_ESCAPE);
    }
}

TEST_F(KeysTest, F9CalculatesAll) {
    Enter("A1", "1");
    Enter("A2", "=A1+1");
    CellAtName("A1")->value.number = 7;
    PressKey(VK_F9);
    EXPECT_EQ(Shown("A2"), "8");
}

}  // namespace
}  // namespace tally
