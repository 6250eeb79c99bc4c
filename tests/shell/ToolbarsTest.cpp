#include "shell/frame/Toolbars.h"

#include <set>

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "shell/frame/Bands.h"
#include "shell/frame/Settings.h"
#include "shell/frame/Shell.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class ToolbarsTest : public ShellSandbox {
  protected:
    static std::size_t ButtonOf(i32 command) {
        for (std::size_t i = 0; i < ToolbarButtons().size(); ++i)
            if (ToolbarButtons()[i].command == command) return i;
        ADD_FAILURE() << "no button " << command;
        return 0;
    }
    static PixelRect PlaceOf(i32 command) { return ButtonPlace(ButtonOf(command)); }
    static bool Enabled(i32 command) { return CommandEnabled(ToolbarButtons()[ButtonOf(command)].command); }
    static void Press(i32 command) {
        const PixelRect place = PlaceOf(command);
        ASSERT_FALSE(IsEmptyRect(place));
        ClickMouse(place.left + 5, place.top + 5);
    }
    static void MoveTo(i32 x, i32 y) {
        ShellMessage message;
        message.message = WM_MOUSEMOVE;
        message.x = x;
        message.y = y;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
};

TEST_F(ToolbarsTest, TheStandardBarIsSeenFirstAndTheOthersFromTheMenu) {
    EXPECT_FALSE(IsEmptyRect(PlaceOf(110)));
    EXPECT_TRUE(IsEmptyRect(PlaceOf(432)));
    EXPECT_TRUE(IsEmptyRect(PlaceOf(440)));
    EXPECT_EQ(Shell().layout.entryLine.top, Shell().layout.toolbar.bottom);
    for (const i32 command : {418, 438}) PickCommand(command);
    EXPECT_FALSE(IsEmptyRect(PlaceOf(432)));
    EXPECT_FALSE(IsEmptyRect(PlaceOf(440)));
    for (const i32 command : {417, 418, 438}) PickCommand(command);
    EXPECT_EQ(Shell().layout.entryLine.top, 0);
}

TEST_F(ToolbarsTest, ButtonsStandSideBySideAndEachHasItsTip) {
    for (const i32 command : {418, 438}) PickCommand(command);
    i32 right = 0;
    std::set<i32> commands;
    for (std::size_t i = 0; i < ToolbarButtons().size(); ++i) {
        const PixelRect place = ButtonPlace(i);
        EXPECT_GE(place.left, right);
        right = place.right;
        EXPECT_TRUE(commands.insert(ToolbarButtons()[i].command).second);
        EXPECT_FALSE(Message(ToolbarButtons()[i].tip).empty());
        MoveTo(place.left + 3, place.top + 3);
        EXPECT_EQ(Narrow(HeadlessFrame().toolTip), Narrow(Message(ToolbarButtons()[i].tip)));
    }
    MoveTo(Shell().layout.cells.left + 5, Shell().layout.cells.top + 5);
    EXPECT_TRUE(HeadlessFrame().toolTip.IsEmpty());
    EXPECT_EQ(commands.size(), 20u);
    PaintHeadless();
}

// The strip is 800 wide: 2 before the first button, 22 a button, 9 between bands. Standard has 9 buttons,
// format 6, entry 5; 110, 432 and 439 are their first ones.
TEST_F(ToolbarsTest, BandsStandInTheOrderOfTheirIndexesAndAreAsWideAsTheyWere) {
    for (const i32 command : {418, 438}) PickCommand(command);
    constexpr i32 STANDARD = 9 * 22, FORMAT = 6 * 22, ENTRY = 5 * 22;
    const struct {
        BandLayout standard, format, entry;
        i32 lefts[3];
    } rows[] = {
        {{0, 0, 0}, {2, 0, 0}, {3, 0, 0}, {2, 2 + STANDARD + 9, 2 + STANDARD + 9 + FORMAT + 9}},
        {{2, 0, 0}, {0, 0, 0}, {1, 0, 0}, {2 + FORMAT + 9 + ENTRY + 9, 2, 2 + FORMAT + 9}},
        {{3, 0, 0}, {2, 0, 0}, {0, 0, 0}, {2 + ENTRY + 9 + FORMAT + 9, 2 + ENTRY + 9, 2}},
        // The same index: by number.
        {{5, 0, 0}, {5, 0, 0}, {5, 0, 0}, {2, 2 + STANDARD + 9, 2 + STANDARD + 9 + FORMAT + 9}},
        // A width of its own; too small a one counts as that of the buttons.
        {{0, 0, 300}, {2, 0, 10}, {3, 0, 0}, {2, 2 + 300 + 9, 2 + 300 + 9 + FORMAT + 9}},
        // No wider than leaves the others their room; the first takes it.
        {{0, 0, 790}, {2, 0, 790}, {3, 0, 0}, {2, 800 - 2 - ENTRY - 9 - FORMAT, 800 - 2 - ENTRY}},
        {{0, 0, 400}, {2, 0, 790}, {3, 0, 0}, {2, 2 + 400 + 9, 800 - 2 - ENTRY}},
        // That of the frame is no wish.
        {{0, 0, 800}, {2, 0, 2000000000}, {3, 0, 0}, {2, 2 + STANDARD + 9, 2 + STANDARD + 9 + FORMAT + 9}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Shell().bands[BAND_STANDARD] = row.standard;
        Shell().bands[BAND_FORMAT] = row.format;
        Shell().bands[BAND_ENTRY] = row.entry;
        EXPECT_EQ(PlaceOf(110).left, row.lefts[0]);
        EXPECT_EQ(PlaceOf(432).left, row.lefts[1]);
        EXPECT_EQ(PlaceOf(439).left, row.lefts[2]);
        EXPECT_EQ(PlaceOf(111).left, row.lefts[0] + 22);
        EXPECT_EQ(PlaceOf(443).left, row.lefts[2] + 4 * 22);
    }
    // Where a band is hidden the others have its room.
    PickCommand(417);
    EXPECT_EQ(PlaceOf(432).left, 2);
}

// By its grip a band is drawn wider or narrower, past its neighbours and beneath the entry line; where it was
// left it stands at the next start.
TEST_F(ToolbarsTest, BandsAreMovedByTheirGripsAndStayWhereTheyWereLeft) {
    for (const i32 command : {418, 438}) PickCommand(command);
    const auto lefts = [] {
        return std::to_string(PlaceOf(110).left) + " " + std::to_string(PlaceOf(432).left) + " " +
               std::to_string(PlaceOf(439).left);
    };
    const auto drag = [](BandNumber band, i32 dx, i32 dy = 0) {
        const PixelRect grip = GripPlace(band);
        ASSERT_FALSE(IsEmptyRect(grip));
        DragMouse(grip.left + 4, grip.top + 10, grip.left + 4 + dx, grip.top + 10 + dy);
        EXPECT_FALSE(HeadlessFrame().captured);
    };
    ASSERT_EQ(lefts(), "2 209 350");
    EXPECT_TRUE(IsEmptyRect(GripPlace(BAND_STANDARD)));  // nothing stands before it
    EXPECT_EQ(GripPlace(BAND_FORMAT), (PixelRect{200, 0, 209, 25}));
    drag(BAND_FORMAT, 91);
    EXPECT_EQ(lefts(), "2 300 441");
    drag(BAND_FORMAT, -40);
    EXPECT_EQ(lefts(), "2 260 401");
    drag(BAND_FORMAT, -58);  // no narrower than the buttons before it
    EXPECT_EQ(lefts(), "2 209 350");
    drag(BAND_FORMAT, 197);  // past the middle of the next one
    EXPECT_EQ(lefts(), "2 406 209");
    drag(BAND_FORMAT, -320);
    EXPECT_EQ(lefts(), "143 2 350");  // past both at once
    // The buttons are pressed where they stand now, and the space between them presses none.
    MoveTo(PlaceOf(439).left + 3, 10);
    EXPECT_EQ(Narrow(HeadlessFrame().toolTip), Narrow(Message(MSG_TIP_CANCEL)));
    MoveTo(GripPlace(BAND_ENTRY).left + 3, 10);
    EXPECT_TRUE(HeadlessFrame().toolTip.IsEmpty());
    PaintHeadless();
    const PixelRect strip = Shell().layout.toolbar, line = Shell().layout.entryLine;
    drag(BAND_STANDARD, 0, 40);
    EXPECT_EQ(Shell().layout.entryLine.top, 0);
    EXPECT_EQ(Shell().layout.toolbar.top, Shell().layout.entryLine.bottom);
    EXPECT_EQ(Shell().layout.toolbar.bottom, line.bottom);
    EXPECT_EQ(Shell().layout.grid.top, line.bottom);
    EXPECT_EQ(PlaceOf(110).top, Shell().layout.toolbar.top + 1);
    drag(BAND_ENTRY, 15);
    SaveSettings();
    ResetShell();
    ResetBooks();
    StartShell(u"");
    EXPECT_EQ(Shell().layout.entryLine.top, 0);
    EXPECT_EQ(lefts(), "143 2 365");
    drag(BAND_STANDARD, 0, -30);
    EXPECT_EQ(Shell().layout.toolbar, strip);
    EXPECT_EQ(Shell().layout.entryLine, line);
    // Without the entry line there is nothing to go below.
    PickCommand(419);
    drag(BAND_STANDARD, 0, 100);
    EXPECT_EQ(Shell().layout.toolbar, strip);
}

TEST_F(ToolbarsTest, AButtonRunsItsCommandWhenItIsReleasedOverIt) {
    Enter("A1", "2");
    Enter("A2", "3");
    Select("A3");
    Press(389);
    EXPECT_EQ(Line(), "=SUM(A1:A2)");
    PressKey(VK_ESCAPE);
    const PixelRect place = PlaceOf(389);
    DragMouse(place.left + 5, place.top + 5, place.left + 5, place.top + 100);
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(Selection(), "A3");
}

TEST_F(ToolbarsTest, ButtonsFollowWhatCanBeDone) {
    EXPECT_FALSE(Enabled(130));
    EXPECT_TRUE(Enabled(389));
    EXPECT_FALSE(Enabled(440));
    PickCommand(438);
    TypeText(u"5");
    EXPECT_TRUE(Enabled(440));
    EXPECT_FALSE(Enabled(110));
    HeadlessFrame().dirty.Truncate(0);
    Press(440);
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_FALSE(Enabled(440));
    EXPECT_TRUE(Enabled(130));
    Press(130);
    EXPECT_EQ(Shown("A1"), "");
    CurrentWorkbook()->dirty = 0;
    PickCommand(112);
    EXPECT_FALSE(Enabled(389));
    EXPECT_FALSE(Enabled(113));
    EXPECT_TRUE(Enabled(110));
    Press(110);
    EXPECT_EQ(CurrentBook(), 0);
}

TEST_F(ToolbarsTest, AButtonWhoseStateChangesIsPaintedAnew) {
    HeadlessFrame().dirty.Truncate(0);
    TypeText(u"5");
    PressKey(VK_RETURN);
    bool seen = false;
    for (const PixelRect& rect : HeadlessFrame().dirty) seen |= rect == PlaceOf(130);
    EXPECT_TRUE(seen);
}

TEST_F(ToolbarsTest, FullScreenHidesThem) {
    PickCommand(421);
    EXPECT_TRUE(IsEmptyRect(PlaceOf(110)));
    EXPECT_TRUE(IsEmptyRect(Shell().layout.entryLine));
    PickCommand(421);
    EXPECT_FALSE(IsEmptyRect(PlaceOf(110)));
}

TEST_F(ToolbarsTest, ThePointerTellsWhatAPressWouldDo) {
    const Layout& layout = Shell().layout;
    const ShownLine column = layout.columns[2], row = layout.rows[2];
    MoveTo(column.end - 2, layout.grid.top + 3);
    EXPECT_EQ(HeadlessFrame().pointer, POINTER_COLUMN_EDGE);
    MoveTo(column.start + 20, layout.grid.top + 3);
    EXPECT_EQ(HeadlessFrame().pointer, POINTER_ARROW);
    MoveTo(layout.grid.left + 3, row.end - 2);
    EXPECT_EQ(HeadlessFrame().pointer, POINTER_ROW_EDGE);
    MoveTo(column.start + 20, row.start + 5);
    EXPECT_EQ(HeadlessFrame().pointer, POINTER_CELL);
    Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
    ASSERT_NE(link, nullptr);
    link->area = {2, 2, 2, 2};
    MoveTo(column.start + 21, row.start + 5);
    EXPECT_EQ(HeadlessFrame().pointer, POINTER_LINK);
    CurrentSheet()->viewFlags |= VIEW_PROTECTED;
    MoveTo(column.end - 2, layout.grid.top + 3);
    EXPECT_EQ(HeadlessFrame().pointer, POINTER_ARROW);
}

}  // namespace
}  // namespace tally
