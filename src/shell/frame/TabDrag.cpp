#include "shell/frame/TabDrag.h"

#include <cstdlib>

#include "model/BookTable.h"
#include "shell/commands/Commands.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/MouseInput.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

namespace tally {
namespace {

constexpr i32 SCROLL_STEP_MILLISECONDS = 200;
constexpr i32 DRAG_BEGINS = 5;  // pixels of a screen with 96 to the inch, from the press
constexpr i32 MOVE_SHEET = 146;

// The sheet of the tab at a pixel; -1 beside them.
i32 TabAt(i32 x) {
    Array<SheetTab> tabs;
    if (!ShownTabs(tabs)) return -1;
    for (const SheetTab& tab : tabs)
        if (x >= tab.left && x < tab.right) return tab.sheet;
    return -1;
}

// The sheet in front of whose tab, or behind the last one, a tab would stand that is let go there.
i32 PlaceAt(i32 x) {
    Array<SheetTab> tabs;
    if (!ShownTabs(tabs) || tabs.IsEmpty()) return -1;
    for (const SheetTab& tab : tabs)
        if (x < (tab.left + tab.right) / 2) return tab.sheet;
    return tabs.Last().sheet + 1;
}

}  // namespace

void PressTab(const ShellMessage& message) {
    const i32 sheet = TabAt(message.x);
    if (sheet < 0 || !CommitBeforeMove()) return;
    // What is seen of the strip stays under the pointer where it can.
    SelectSheet(sheet);
    if (!CommandEnabled(MOVE_SHEET)) return;
    Shell().tab = {sheet, -1, message.x};
    StartGesture(GESTURE_TAB);
}

void DragTab(i32 x) {
    TabDrag& tab = Shell().tab;
    if (tab.before < 0 && std::abs(x - tab.pressX) < ScreenLength(DRAG_BEGINS)) return;
    const PixelRect& strip = Shell().layout.tabs;
    if (x < strip.left || x >= strip.right)
        ShellPlatform().startTimer(TIMER_AUTO_SCROLL, SCROLL_STEP_MILLISECONDS);
    else ShellPlatform().killTimer(TIMER_AUTO_SCROLL);
    const i32 before = PlaceAt(x);
    if (before == tab.before) return;
    tab.before = before;
    ShellPlatform().invalidate(strip);
}

void ScrollTabDrag() {
    const PixelRect& strip = Shell().layout.tabs;
    const i32 x = Shell().gestureX;
    Array<SheetTab> tabs;
    const bool more = ShownTabs(tabs) && !tabs.IsEmpty() && tabs.Last().right > strip.right;
    if (x < strip.left) StepTabs(-1);
    else if (x >= strip.right && more) StepTabs(1);
    DragTab(x);
}

void DropTab(const ShellMessage& message) {
    const TabDrag tab = Shell().tab;
    EndGesture();
    const Workbook* book = CurrentWorkbook();
    // Keys may have led elsewhere meanwhile.
    if (!book || book->currentSheet != tab.sheet || tab.before < 0 || !CommandEnabled(MOVE_SHEET)) return;
    const bool copy = (message.modifiers & KEY_CTRL) != 0;
    if (copy || (tab.before != tab.sheet && tab.before != tab.sheet + 1)) PlaceCurrentSheet(tab.before, copy);
}

void TabPopup(i32 x, i32 y) {
    const i32 sheet = TabAt(x);
    if (sheet < 0 || IsEditing()) return;
    SelectSheet(sheet);
    Array<MenuItem> items;
    if (!SheetMenu(items)) return;
    const i32 command = ShellPlatform().trackPopup(items, x, y);
    if (command > 0) IgnoreFailure(RunCommand(command));
}

void SheetsPopup(i32 x, i32 y) {
    const Workbook* book = CurrentWorkbook();
    Array<MenuItem> items;
    for (u32 i = 0; book && i < book->sheets.Count(); ++i) {
        if (book->sheets[i]->hidden) continue;
        WideText label;
        if (!AppendPlainLabel(label, WideView(book->sheets[i]->name)) ||
            !AddMenuItem(items, static_cast<i32>(i) + 1, label, true,
                         static_cast<i32>(i) == book->currentSheet))
            return;
    }
    const i32 chosen = ShellPlatform().trackPopup(items, x, y);
    if (chosen > 0 && CommitBeforeMove()) SelectSheet(chosen - 1);
}

}  // namespace tally
