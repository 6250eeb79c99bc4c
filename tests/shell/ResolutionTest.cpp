// The frame on screens of several resolutions: what has a size grows with them, and lines stay one pixel.

#include <algorithm>
#include <utility>

#include "base/Number.h"
#include "editing/Validation.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

constexpr i32 resolutions[] = {96, 120, 144, 168, 192, 288};

class ResolutionTest : public ShellSandbox {
  protected:
    static const Layout& Lay() { return Shell().layout; }
    static void ComeTo(i32 dpi) {
        Headless().dotsPerInch = dpi;
        ShellMessage message;
        message.message = WM_DPICHANGED;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static i32 Height(const PixelRect& rect) { return rect.bottom - rect.top; }
    static i32 Width(const PixelRect& rect) { return rect.right - rect.left; }
    // A length of a screen with 96 to the inch, in the pixels of one with `dpi`.
    static i32 On(i32 dpi, i32 length) { return (length * dpi + 48) / 96; }
    static void MoveTo(i32 x, i32 y) {
        ShellMessage message;
        message.message = WM_MOUSEMOVE;
        message.x = x;
        message.y = y;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static void GiveList(std::string_view cell) {
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        ASSERT_NE(rule, nullptr);
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        rule->kind = RULE_LIST;
        ASSERT_TRUE(rule->areas.Append(
            {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column), static_cast<u8>(column)}));
    }
};

TEST_F(ResolutionTest, StripsAndBarsGrowWithTheScreen) {
    for (const i32 command : {418, 438}) PickCommand(command);
    HeadlessFrame().width = 2400;
    HeadlessFrame().height = 1800;
    for (const i32 dpi : resolutions) {
        SCOPED_TRACE(dpi);
        ComeTo(dpi);
        const i32 line = On(dpi, 13) + 3;
        EXPECT_EQ(Height(Lay().toolbar), On(dpi, 25));
        EXPECT_EQ(Height(Lay().entryLine), line + On(dpi, 8));
        EXPECT_EQ(Height(Lay().statusBar), line + On(dpi, 6));
        EXPECT_EQ(Height(Lay().tabs), On(dpi, 16));
        EXPECT_EQ(Width(Lay().tabScroller), 2 * On(dpi, 17));
        EXPECT_EQ(Width(HeadlessFrame().verticalBar.place), On(dpi, 16));
        EXPECT_EQ(Height(HeadlessFrame().horizontalBar.place), On(dpi, 16));
        EXPECT_EQ(HeadlessFrame().verticalBar.place.right, Lay().width);
        EXPECT_EQ(HeadlessFrame().horizontalBar.place.bottom, Lay().statusBar.top);
        EXPECT_EQ(HeadlessFrame().edits[ENTRY_LINE].place, Lay().entryLine);
        i32 width = 0, height = 0;
        Fonts().textExtent(0, u"Sheet1", width, height);
        Array<SheetTab> tabs;
        ASSERT_TRUE(ShownTabs(tabs));
        EXPECT_EQ(tabs[0].right - tabs[0].left, width + 2 * On(dpi, 8));
        EXPECT_EQ(Height({0, Lay().rows[0].start, 1, Lay().rows[0].end}),
                  MulDiv(GetRowHeight(*CurrentSheet(), 0), dpi, 1440));
    }
}

TEST_F(ResolutionTest, ButtonsGrowWithTheScreenAndStandApart) {
    for (const i32 command : {418, 438}) PickCommand(command);
    HeadlessFrame().width = 2400;
    for (const i32 dpi : resolutions) {
        SCOPED_TRACE(dpi);
        ComeTo(dpi);
        i32 right = On(dpi, 2);
        BandNumber band = ToolbarButtons()[0].band;
        for (std::size_t i = 0; i < ToolbarButtons().size(); ++i) {
            const PixelRect place = ButtonPlace(i);
            if (std::exchange(band, ToolbarButtons()[i].band) != ToolbarButtons()[i].band) right += On(dpi, 9);
            EXPECT_EQ(place.left, right);
            EXPECT_EQ(Width(place), On(dpi, 22));
            EXPECT_EQ(Height(place), On(dpi, 22));
            EXPECT_GE(place.top, 0);
            EXPECT_LE(place.bottom, Lay().toolbar.bottom);
            right = place.right;
        }
        // The press goes where the button is now.
        const PixelRect sum = ButtonPlace(8);
        ClickMouse(sum.right - 2, sum.bottom - 2);
        EXPECT_TRUE(IsEditing());
        PressKey(VK_ESCAPE);
    }
}

TEST_F(ResolutionTest, PicturesFillTheirButtonsAtEverySize) {
    HeadlessFrame().width = 2400;
    for (const i32 dpi : resolutions) {
        SCOPED_TRACE(dpi);
        ComeTo(dpi);
        PaintHeadless();
        const PixelRect place = ButtonPlace(0);
        PixelRect ink{10000, 10000, 0, 0};
        for (const DrawRecord& record : HeadlessFrame().drawing) {
            if (record.kind != DRAW_FILL || record.rect.left < place.left || record.rect.right > place.right ||
                record.rect.bottom > place.bottom || record.colour != 0x404040)
                continue;
            ink = {std::min(ink.left, record.rect.left), std::min(ink.top, record.rect.top),
                   std::max(ink.right, record.rect.right), std::max(ink.bottom, record.rect.bottom)};
        }
        const i32 margin = (On(dpi, 22) - On(dpi, 16)) / 2;
        EXPECT_EQ(ink, (PixelRect{place.left + margin + On(dpi, 3), place.top + margin + On(dpi, 1),
                                  place.left + margin + On(dpi, 13), place.top + margin + On(dpi, 15)}));
    }
}

TEST_F(ResolutionTest, LinesStayOnePixel) {
    for (const i32 dpi : resolutions) {
        SCOPED_TRACE(dpi);
        ComeTo(dpi);
        PaintHeadless();
        int edges = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing) {
            if (record.kind != DRAW_LINE || (record.colour != 0x808080 && record.colour != 0xC0C0C0)) continue;
            EXPECT_EQ(record.pen.width, 1);
            ++edges;
        }
        EXPECT_GT(edges, 20);
        // A frame around a button under the pointer.
        const PixelRect place = ButtonPlace(0);
        MoveTo(place.left + 2, place.top + 2);
        PaintHeadless();
        bool found = false;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            found |= record.kind == DRAW_FILL && record.colour == 0xA0A0A0 &&
                     record.rect == PixelRect{place.left, place.top, place.right, place.top + 1};
        EXPECT_TRUE(found);
        MoveTo(-1, -1);
    }
}

TEST_F(ResolutionTest, TheArrowOfAListAndTheEdgesToDragGrow) {
    GiveList("B2");
    Select("B2");
    for (const i32 dpi : resolutions) {
        SCOPED_TRACE(dpi);
        ComeTo(dpi);
        EXPECT_EQ(Width(ListArrowPlace()), On(dpi, 17));
        const ShownLine column = Lay().columns[1];
        const i32 y = Lay().grid.top + 3;
        MoveTo(column.end - On(dpi, 6), y);
        EXPECT_EQ(HeadlessFrame().pointer, POINTER_COLUMN_EDGE);
        MoveTo(column.end - On(dpi, 6) - 1, y);
        EXPECT_EQ(HeadlessFrame().pointer, POINTER_ARROW);
        MoveTo(column.end + On(dpi, 3) - 1, y);
        EXPECT_EQ(HeadlessFrame().pointer, POINTER_COLUMN_EDGE);
        MoveTo(column.end + On(dpi, 3), y);
        EXPECT_EQ(HeadlessFrame().pointer, POINTER_ARROW);
    }
}

TEST_F(ResolutionTest, TheWayBackGivesTheFirstPlacesAgain) {
    const PixelRect grid = Lay().grid, cells = Lay().cells, status = Lay().statusBar, button = ButtonPlace(3);
    const u32 rows = Lay().rows.Count();
    ComeTo(168);
    EXPECT_LT(Lay().rows.Count(), rows);
    EXPECT_NE(Lay().grid, grid);
    ComeTo(96);
    EXPECT_EQ(Lay().grid, grid);
    EXPECT_EQ(Lay().cells, cells);
    EXPECT_EQ(Lay().statusBar, status);
    EXPECT_EQ(ButtonPlace(3), button);
    EXPECT_EQ(Lay().rows.Count(), rows);
}

TEST_F(ResolutionTest, AnOpenDialogIsLaidOutForTheNewScreen) {
    static int times;
    times = 0;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        const i32 width = dialog.width, height = dialog.height, bar = Height(Lay().toolbar);
        ComeTo(192);
        EXPECT_EQ(Height(Lay().toolbar), 2 * bar);
        FrameCallsInUse().layOutDialog(dialog);
        // A digit has 7 pixels at first and 13 here.
        EXPECT_NEAR(dialog.width, width * 13 / 7, width / 16);
        EXPECT_NEAR(dialog.height, 2 * height, height / 4);
        for (const Control& control : dialog.controls) {
            EXPECT_GE(control.place.left, 0);
            EXPECT_LE(control.place.right, dialog.width);
            EXPECT_LE(control.place.bottom, dialog.height);
        }
        ++times;
    };
    PickCommand(391);
    HeadlessDialogs().whileOpen = nullptr;
    EXPECT_EQ(times, 1);
}

}  // namespace
}  // namespace tally
