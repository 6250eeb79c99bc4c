#include "support/ShellSandbox.h"

#include "base/Memory.h"
#include "display/LocaleSettings.h"
#include "formula/FormulaText.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/Shell.h"
#include "shell/grid/Layout.h"
#include "shell/grid/ShownCells.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"

namespace tally {

void BeginBareProgram() {
    UseHeadlessPlatform();
    Headless().filesInMemory = true;
    Headless().fixedClock = true;
    ResetHeadlessShell();
    UseHeadlessShell();
    ResetShell();
}

void EndBareProgram() {
    UseHeadlessShell();
    StopShell();
    ResetHeadlessShell();
    ResetLocaleSettings();
    ResetHeadlessPlatform();
}

void ShellSandbox::SetUp() {
    Sandbox::SetUp();
    ResetBooks();
    Headless().filesInMemory = true;
    ResetHeadlessShell();
    UseHeadlessShell();
    ResetShell();
    StartShell(u"");
    ASSERT_EQ(CurrentBook(), 0);
}

void ShellSandbox::TearDown() {
    ResetShell();
    ResetHeadlessShell();
    Sandbox::TearDown();
}

void ShellSandbox::Select(std::string_view cell) {
    i32 row = 0, column = 0;
    ReadCellName(cell, row, column);
    SelectCell(row, column, true);
}

std::string ShellSandbox::Active() {
    WideText text;
    EXPECT_TRUE(StatusText(0, text));
    return Narrow(text);
}

std::string ShellSandbox::Selection() {
    WideText text;
    EXPECT_TRUE(AreaToText(CurrentBook(), CurrentWorkbook()->currentSheet, CurrentSheet()->view.selection,
                           AREA_ALL_RELATIVE | AREA_USE_A1, 0, 0, text));
    return Narrow(text);
}

std::string ShellSandbox::Line() { return Narrow(HeadlessFrame().edits[ENTRY_LINE].text); }

void ShellSandbox::PaintHeadless(bool all) {
    NoteShownChange();
    BringShownUpToDate();
    Shell().shown.aggregateChanged = true;
    RefreshAggregate();
    tally::PaintHeadless(all);
}

std::string ShellSandbox::Readout() {
    Shell().shown.aggregateChanged = true;
    RefreshAggregate();
    WideText text;
    EXPECT_TRUE(StatusText(1, text));
    return Narrow(text);
}

void ShellSandbox::CellPoint(std::string_view cell, i32& x, i32& y) {
    i32 row = 0, column = 0;
    ReadCellName(cell, row, column);
    const PixelRect rect = AreaPixels(
        {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column), static_cast<u8>(column)});
    ASSERT_FALSE(IsEmptyRect(rect)) << cell << " is not shown";
    x = (rect.left + rect.right) / 2;
    y = (rect.top + rect.bottom) / 2;
}

void ShellSandbox::ClickCell(std::string_view cell, u32 modifiers) {
    i32 x = 0, y = 0;
    CellPoint(cell, x, y);
    ClickMouse(x, y, modifiers);
}

int ShellSandbox::CountDrawn(std::string_view text) {
    int count = 0;
    for (const DrawRecord& record : HeadlessFrame().drawing)
        count += record.kind == DRAW_TEXT && Narrow(record.text) == text;
    return count;
}

const DrawRecord* ShellSandbox::FindDrawn(std::string_view text) {
    for (const DrawRecord& record : HeadlessFrame().drawing)
        if (record.kind == DRAW_TEXT && Narrow(record.text) == text) return &record;
    return nullptr;
}

bool ShellSandbox::IsEnabled(MenuId menu, i32 command) {
    Array<MenuItem> items;
    EXPECT_TRUE(FrameCallsInUse().menuItems(menu, items));
    for (const MenuItem& item : items)
        if (item.command == command) return item.enabled;
    ADD_FAILURE() << "no item " << command;
    return false;
}

}  // namespace tally
