// Whatever a step of the user changes on the screen is painted anew: the pixels that differ between two whole
// pictures were invalidated by the step.

#include <map>

#include "editing/Undo.h"
#include "formula/Compiler.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

// Whether rectangles from `next` on cover a rectangle between them.
bool AreCovering(const Array<PixelRect>& parts, u32 next, const PixelRect& rect) {
    if (IsEmptyRect(rect)) return true;
    for (; next < parts.Count(); ++next) {
        const PixelRect met = IntersectRects(parts[next], rect);
        if (IsEmptyRect(met)) continue;
        return AreCovering(parts, next + 1, {rect.left, rect.top, rect.right, met.top}) &&
               AreCovering(parts, next + 1, {rect.left, met.bottom, rect.right, rect.bottom}) &&
               AreCovering(parts, next + 1, {rect.left, met.top, met.left, met.bottom}) &&
               AreCovering(parts, next + 1, {met.right, met.top, rect.right, met.bottom});
    }
    return false;
}

class RepaintStory : public ShellSandbox {
  protected:
    // A small frame, as each step paints it twice.
    void SetUp() override {
        ShellSandbox::SetUp();
        HeadlessFrame().width = 380;
        HeadlessFrame().height = 240;
        RefreshChrome();
    }
    using Picture = std::map<std::string, std::pair<int, PixelRect>>;

    static PixelRect PlaceOf(const DrawRecord& record) {
        PixelRect rect = record.rect;
        if (record.kind == DRAW_LINE) {
            if (rect.left == rect.right) ++rect.right;
            if (rect.top == rect.bottom) ++rect.bottom;
        }
        return IntersectRects(rect, record.clip);
    }
    static Picture Whole() {
        PaintHeadless();
        Picture picture;
        for (const DrawRecord& record : HeadlessFrame().drawing) {
            const PixelRect& r = record.rect;
            char text[128];
            std::snprintf(text, sizeof text, "%d %d,%d,%d,%d %06X %06X %d %d ", record.kind, r.left, r.top,
                          r.right, r.bottom, record.colour, record.backColour, record.style, record.font);
            auto& entry = picture[text + Narrow(record.text)];
            ++entry.first;
            entry.second = PlaceOf(record);
        }
        return picture;
    }
    template <typename Act>
    static void Step(const char* name, Act act) {
        const Picture before = Whole();
        HeadlessFrame().dirty.Truncate(0);
        act();
        const Array<PixelRect> dirty = std::move(HeadlessFrame().dirty);
        const Picture after = Whole();
        bool differs = false;
        const auto compare = [&](const Picture& one, const Picture& other) {
            for (const auto& [record, entry] : one) {
                const auto found = other.find(record);
                if (found != other.end() && found->second.first == entry.first) continue;
                differs = true;
                EXPECT_TRUE(AreCovering(dirty, 0, entry.second)) << name << ": " << record;
            }
        };
        compare(before, after);
        compare(after, before);
        EXPECT_TRUE(differs) << name << " changes nothing";
    }
    static void Mouse(u32 number, i32 x, i32 y) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = y;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static void Key(const char* name, u32 key, u32 modifiers = 0) {
        Step(name, [&] { PressKey(key, modifiers); });
    }
    static void Command(const char* name, i32 command) {
        Step(name, [&] { PickCommand(command); });
    }
    static void Range(std::string_view first, std::string_view last) {
        const RefArea area = AreaOf(first, last);
        SelectArea(area, true, area.firstRow, area.firstColumn, false);
    }
};

TEST_F(RepaintStory, MovesAndSelections) {
    for (const char* cell : {"A1", "A2", "B2", "D9"}) Enter(cell, "12");
    Key("an arrow", VK_DOWN);
    Key("a jump", VK_DOWN, KEY_CTRL);
    Key("back", VK_HOME, KEY_CTRL);
    Key("a larger selection", VK_RIGHT, KEY_SHIFT);
    Key("a still larger one", VK_DOWN, KEY_SHIFT);
    Key("the next cell of it", VK_TAB);
    Key("and the one below", VK_RETURN);
    Key("a page", VK_NEXT);
    Key("whole columns", VK_SPACE, KEY_CTRL);
    Key("all", 'A', KEY_CTRL);
    Key("one cell again", VK_UP);
    Key("end mode", VK_END);
    Key("end mode off", VK_END);
    Step("a click", [] { ClickCell("C12"); });
    Step("a turn of the wheel", [] { TurnWheel(-2); });
    Step("a place far away", [] { Select("AZ900"); });
    Step("a corner", [] { PressKey(VK_HOME, KEY_CTRL); });
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B4", "C6")));
    InvalidateAll();
    Step("a merge", [] { Select("B4"); });
    Step("away from it", [] { Select("E4"); });
    Range("A3", "D8");
    Step("the active cell inside the selection", [] { SelectArea(AreaOf("A3", "D8"), true, 3, 1, false); });
    Step("and out of the merge", [] { PressKey(VK_TAB); });
}

TEST_F(RepaintStory, WhatIsShownOfAFormulaWhileItIsTyped) {
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("C6", "D7")));
    Select("D4");
    Step("a call", [] { TypeText(u"=SUM("); });
    Step("a reference", [] { TypeText(u"A1"); });
    Step("another one", [] { TypeText(u",B2:C3"); });
    Step("a third argument", [] { TypeText(u","); });
    Key("one that is pointed at", VK_DOWN);
    Key("and grows", VK_DOWN, KEY_SHIFT);
    Step("into a merge", [] { TypeText(u"+C7"); });
    Key("shorter", VK_BACK);
    Step("the end of the call", [] { TypeText(u"1)"); });
    Step("another call", [] { TypeText(u"*LEN("); });
    Step("and its end", [] { TypeText(u"A1)"); });
    Key("stored", VK_RETURN);
    Key("there", VK_UP);
    Step("edited", [] { PressKey('E', KEY_CTRL); });
    Key("the caret", VK_LEFT);
    Key("before the call", VK_HOME);
    Key("given up", VK_ESCAPE);
}

TEST_F(RepaintStory, EntriesAndTheirUndo) {
    Step("a number", [] {
        TypeText(u"5");
        PressKey(VK_RETURN);
    });
    Step("a formula", [] {
        TypeText(u"=A1*2");
        PressKey(VK_RETURN);
    });
    Step("another precedent", [] {
        Select("A1");
        TypeText(u"7");
        PressKey(VK_RETURN, KEY_CTRL);
    });
    Step("a text that runs over", [] {
        Select("A4");
        TypeText(u"a text that is too long for its cell");
        PressKey(VK_RETURN, KEY_CTRL);
    });
    Key("it is deleted", VK_DELETE);
    Key("and comes back", 'Z', KEY_CTRL);
    Step("typing begins", [] { TypeText(u"="); });
    Key("a reference", VK_DOWN);
    Key("another one", VK_DOWN);
    Key("a larger one", VK_RIGHT, KEY_SHIFT);
    Key("given up", VK_ESCAPE);
    Range("A1", "B6");
    Command("filled to the right", 136);
    Command("undone", 130);
    Range("A1", "B6");
    Command("cleared", 140);
    Command("undone again", 130);
    Command("bold", 432);
    Command("centred", 436);
    Range("A1", "A2");
    Command("cut", 131);
    Step("pasted", [] {
        Select("C3");
        PickCommand(133);
    });
    Step("a sum", [] {
        Range("C3", "C4");
        PickCommand(389);
    });
    Step("a link", [] {
        Headless().boxes.Truncate(0);
        Select("F1");
        TypeText(u"7");
        PressKey(VK_F9);
        PressKey(VK_RETURN);
    });
}

TEST_F(RepaintStory, LinesSheetsAndViews) {
    for (const char* cell : {"A1", "B2", "C3", "D4"}) Enter(cell, "12");
    Select("B2");
    Command("a row more", 161);
    Command("a column more", 162);
    Command("taken back", 130);
    Command("hidden rows", 393);
    Command("seen again", 394);
    Command("hidden columns", 397);
    Command("and back", 398);
    Step("a height", [] {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"行高", u"40"));
        PickCommand(391);
    });
    Step("a standard width", [] {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"标准列宽", u"12"));
        PickCommand(399);
    });
    Step("the best height", [] { PickCommand(392); });
    Command("a frozen view", 423);
    Command("thawed", 423);
    Command("no grid lines", 403);
    Command("no headers", 404);
    Command("headers", 404);
    Command("formulas", 412);
    Command("values", 412);
    Command("a larger scale", 406);
    Command("the scale of the selection", 409);
    Command("the plain scale", 407);
    Command("no vertical bar", 414);
    Command("no horizontal bar", 415);
    Command("no tabs", 416);
    Command("tabs", 416);
    Command("no toolbar", 417);
    Command("the format bar", 418);
    Command("no formula line", 419);
    Command("no status line", 420);
    Command("a full screen", 421);
    Command("the frame again", 421);
    Command("another sheet", 163);
    Step("a name", [] {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"名称", u"January"));
        PickCommand(400);
    });
    Step("another place among the sheets", [] {
        ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"下列选定工作表之前", u"0"));
        PickCommand(146);
    });
    Command("the other sheet is hidden", 401);
    Step("and shown", [] {
        ASSERT_TRUE(AnswerDialog(true));
        PickCommand(402);
    });
    Command("deleted", 145);
    Command("and back again", 130);
    Command("another book", 110);
    Command("closed", 112);
    Step("the last one closed", [] {
        ASSERT_TRUE(Headless().answers.Append(IDNO));
        PickCommand(112);
    });
}

TEST_F(RepaintStory, TheMouse) {
    const Layout& layout = Shell().layout;
    for (const char* cell : {"A1", "B2", "C3", "D4"}) Enter(cell, "12");
    const i32 y = layout.grid.top + 4, edge = layout.columns[1].end - 1;
    Step("an edge is taken", [&] {
        Mouse(WM_LBUTTONDOWN, edge, y);
        Mouse(WM_MOUSEMOVE, edge + 6, y);
    });
    Step("and moved", [&] { Mouse(WM_MOUSEMOVE, edge + 40, y); });
    Step("and dropped", [&] { Mouse(WM_LBUTTONUP, edge + 40, y); });
    const i32 x = layout.grid.left + 4, low = layout.rows[2].end - 1;
    Step("a row's edge", [&] {
        Mouse(WM_LBUTTONDOWN, x, low);
        Mouse(WM_MOUSEMOVE, x, low + 9);
    });
    Step("moved", [&] { Mouse(WM_MOUSEMOVE, x, low + 30); });
    Step("dropped", [&] { Mouse(WM_LBUTTONUP, x, low + 30); });
    Step("a button under the pointer", [] { Mouse(WM_MOUSEMOVE, 10, 10); });
    Step("another one", [] { Mouse(WM_MOUSEMOVE, 35, 10); });
    Step("pressed", [] { Mouse(WM_LBUTTONDOWN, 35, 10); });
    Step("let go elsewhere", [] {
        Mouse(WM_MOUSEMOVE, 300, 150);
        Mouse(WM_LBUTTONUP, 300, 150);
    });
    Step("another readout", [&] {
        SelectArea(AreaOf("A1", "D4"), true, 0, 0, false);
        HeadlessFrame().popupAnswer = 3;
        Mouse(WM_RBUTTONDOWN, 100, layout.statusBar.top + 5);
    });
    Step("another one of the same selection", [&] {
        HeadlessFrame().popupAnswer = 4;
        Mouse(WM_RBUTTONDOWN, 100, layout.statusBar.top + 5);
    });
    for (int i = 0; i < 9; ++i) PickCommand(163);
    SelectSheet(0);
    Step("the tabs are passed", [&] { ClickMouse(30, layout.tabs.top + 4); });
    Step("and back", [&] { ClickMouse(4, layout.tabs.top + 4); });
    Step("another tab", [&] { ClickMouse(layout.tabs.left + 80, layout.tabs.top + 4); });
}

TEST_F(RepaintStory, TheArrowOfAList) {
    ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
    ASSERT_TRUE(rule && rule->areas.Append(AreaOf("B2", "B4")));
    rule->kind = 3;
    rule->literalList = 1;
    Select("A2");
    Step("it comes with its cell", [] { Select("B2"); });
    Step("it goes on", [] { Select("B3"); });
    Step("it goes while something is typed", [] { TypeText(u"1"); });
    Step("it comes back", [] { PressKey(VK_ESCAPE); });
    Step("it goes", [] { Select("D3"); });
}

}  // namespace
}  // namespace tally
