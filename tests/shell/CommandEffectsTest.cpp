// What commands, keys and the mouse do besides their operation: what they pass on, what is scrolled, recorded
// and asked for.

#include "base/MessageTable.h"
#include "editing/ApplyFormat.h"
#include "editing/NameOperations.h"
#include "editing/Undo.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/CellLook.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class CommandEffects : public ShellSandbox {
  protected:
    void TearDown() override {
        HeadlessDialogs().whileOpen = nullptr;
        ShellSandbox::TearDown();
    }
    static void SelectCells(std::string_view first, std::string_view last) {
        const RefArea area = AreaOf(first, last);
        SelectArea(area, true, area.firstRow, area.firstColumn, true);
    }
    static bool Send(u32 number, i32 x, i32 y, u32 modifiers = 0) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = y;
        message.modifiers = modifiers;
        return FrameCallsInUse().sendMessage(message);
    }
};

TEST_F(CommandEffects, EachFillIsRecordedAndUndone) {
    const struct {
        i32 command;
        const char *first, *last, *source, *target;
    } rows[] = {{135, "B2", "B4", "B2", "B4"},
                {136, "B2", "D2", "B2", "D2"},
                {137, "B2", "B4", "B4", "B2"},
                {138, "B2", "D2", "D2", "B2"}};
    for (const auto& row : rows) {
        Enter(row.source, "7");
        SelectCells(row.first, row.last);
        const u32 before = UndoCount();
        PickCommand(row.command);
        EXPECT_EQ(UndoCount(), before + 1) << row.command;
        EXPECT_EQ(Shown(row.target), "7") << row.command;
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(CellAtName(row.target), nullptr) << row.command;
        SelectCells("A1", "H9");
        PickCommand(140);
    }
}

// The lines between cells are offered where there are several of them, whatever row and column the area begins
// in.
TEST_F(CommandEffects, TheFormatDialogIsAskedForTheAreaAsItIs) {
    const struct {
        const char *first, *last;
        bool rows, columns;
    } areas[] = {{"C5", "C5", false, false}, {"A5", "C5", false, true}, {"E3", "E9", true, false},
                 {"B1", "D1", false, true},  {"A2", "A3", true, false}, {"G7", "H8", true, true}};
    static bool rows = false, columns = false;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        rows = columns = false;
        for (const Control& control : dialog.controls) {
            if (control.row.text == MSG_BORDER_HORIZONTAL) rows = control.enabled && control.shown;
            if (control.row.text == MSG_BORDER_VERTICAL) columns = control.enabled && control.shown;
        }
    };
    for (const auto& area : areas) {
        SelectCells(area.first, area.last);
        PressKey('1', KEY_CTRL);
        EXPECT_EQ(rows, area.rows) << area.first;
        EXPECT_EQ(columns, area.columns) << area.first;
    }
}

TEST_F(CommandEffects, AFontNameThatIsTooLongIsCut) {
    CellFormatQuestion question;
    HeadlessDialogs().whileOpen = [](Dialog& dialog) {
        for (const Control& control : dialog.controls)
            if (control.row.kind == CONTROL_PAGES) UserChooses(dialog, control.row.id, 2);
        for (const Control& control : dialog.controls) {
            if (control.row.kind != CONTROL_COMBO || !IsControlVisible(dialog, control)) continue;
            UserEdits(dialog, control.row.id, u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN");
            break;
        }
        UserAccepts(dialog);
    };
    ASSERT_TRUE(AskCellFormat(question));
    const FaceField& name = question.request.fontName;
    ASSERT_TRUE(name.present);
    EXPECT_EQ(Narrow(WideView(name.value, std::size(name.value) - 1)), "abcdefghijklmnopqrstuvwxyzABCDE");
    EXPECT_EQ(name.value[std::size(name.value) - 1], 0);
    EXPECT_FALSE(question.request.bold.present);
}

TEST_F(CommandEffects, ANameIsSeenFromTheRowAndTheColumnOfTheActiveCell) {
    Enter("C8", "42");
    Select("B5");
    ASSERT_TRUE(AnswerDialog(true) && EnterInDialog(u"名称", u"above") && EnterInDialog(u"引用位置", u"=A4"));
    PickCommand(168);
    ASSERT_TRUE(HeadlessDialogs().shown.Last().understood);
    Enter("D9", "=above");
    EXPECT_EQ(Shown("D9"), "42");
}

TEST_F(CommandEffects, PointingWithKeysScrollsToTheCell) {
    Select("B2");
    TypeText(u"=");
    for (int i = 0; i < 80; ++i) PressKey(VK_DOWN);
    EXPECT_EQ(Line(), "=B82");
    EXPECT_GT(CurrentSheet()->view.firstRow, 40);
    EXPECT_EQ(CurrentSheet()->view.firstColumn, 0);
    for (int i = 0; i < 40; ++i) PressKey(VK_RIGHT);
    EXPECT_EQ(Line(), "=AP82");
    EXPECT_GT(CurrentSheet()->view.firstColumn, 20);
    PressKey(VK_ESCAPE);
}

TEST_F(CommandEffects, ALinkThatLedOutLeavesNoGesture) {
    Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
    ASSERT_TRUE(link && link->target.Assign(u"http://example.org/"));
    link->area = AreaOf("B2", "B2");
    link->kind = 1;
    Headless().trust = TRUST_CLOSED;
    i32 x = 0, y = 0;
    CellPoint("B2", x, y);
    IgnoreFailure(Send(WM_LBUTTONDOWN, x, y));
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
    EXPECT_FALSE(HeadlessFrame().captured);
    Headless().trust = TRUST_OPEN;
    HeadlessFrame().opensExternally = true;
    Select("A1");
    const u32 opened = HeadlessFrame().opened.Count();
    IgnoreFailure(Send(WM_LBUTTONDOWN, x, y));
    EXPECT_EQ(HeadlessFrame().opened.Count(), opened + 1);
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
}

TEST_F(CommandEffects, AButtonThatIsHeldKeepsTheMouse) {
    for (std::size_t button : {std::size_t{0}, std::size_t{3}}) {
        const PixelRect place = ButtonPlace(button);
        EXPECT_TRUE(PressToolbar(place.left + 2, place.top + 2));
        EXPECT_EQ(Shell().toolbar.pressed, static_cast<i32>(button));
        EXPECT_TRUE(MoveOnToolbar(300, 400));
        EXPECT_EQ(Shell().toolbar.hover, -1);
        EXPECT_TRUE(ReleaseToolbar(300, 400));
        EXPECT_FALSE(MoveOnToolbar(300, 400));
        EXPECT_FALSE(ReleaseToolbar(place.left + 2, place.top + 2));
    }
    EXPECT_FALSE(PressToolbar(300, 400));
    EXPECT_EQ(CurrentBook(), 0);
}

// A wish for another sheet, or book, first fits what was wished before.
TEST_F(CommandEffects, RowsOfSeveralSheetsAreFitted) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    FormatRequest large;
    large.fontSize = {true, 40 * 20};
    for (const i32 sheet : {0, 1}) {
        CurrentWorkbook()->currentSheet = sheet;
        Enter("A4", "x");
        Enter("A9", "x");
        ASSERT_TRUE(FormatArea(0, sheet, AreaOf("A4", "A9"), large));
        FitWantedRows();
        Sheet& cells = *SheetAt(0, sheet);
        for (RowInfo& row : cells.rows) row = {row.row, ROW_DEFAULT_HEIGHT, 255};
    }
    CurrentWorkbook()->currentSheet = 0;
    WantRowHeight(0, 0, 3);
    WantRowHeight(0, 1, 8);
    WantRowHeight(0, 1, 3);
    FitWantedRows();
    const auto height = [](i32 sheet, i32 row) { return GetRowHeight(*SheetAt(0, sheet), row); };
    EXPECT_GT(height(0, 3), 40 * 20);
    EXPECT_EQ(height(0, 8), 255);
    EXPECT_GT(height(1, 3), 40 * 20);
    EXPECT_GT(height(1, 8), 40 * 20);
}

TEST_F(CommandEffects, ADigitIsAsWideAsInTheBooksOwnFont) {
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    screen.digitWidth = 99;
    Workbook& book = *CurrentWorkbook();
    ASSERT_FALSE(book.fonts.IsEmpty());
    i32 before = 0;
    for (const u16 height : {u16{200}, u16{400}, u16{800}}) {
        book.fonts[0].height = height;
        const i32 width = DigitWidth(book, screen);
        EXPECT_GT(width, before);
        EXPECT_NE(width, 99);
        before = width;
    }
    Array<FontRecord> fonts;
    std::swap(fonts, book.fonts);
    EXPECT_EQ(DigitWidth(book, screen), 99);
    std::swap(fonts, book.fonts);
}

// The line that shows where the edge of a header will be is one pixel, at both of its places.
TEST_F(CommandEffects, ADraggedEdgeIsOnePixelThatMoves) {
    PaintHeadless();
    const Layout& layout = Shell().layout;
    const PixelRect grid = layout.grid;
    const i32 edge = layout.columns[1].end, top = (grid.top + layout.cells.top) / 2;
    IgnoreFailure(Send(WM_LBUTTONDOWN, edge - 1, top));
    ASSERT_EQ(Shell().gesture, GESTURE_RESIZE_COLUMN);
    const i32 offset = Shell().gestureOffset;
    HeadlessFrame().dirty.Clear();
    IgnoreFailure(Send(WM_MOUSEMOVE, edge + 29, top));
    const i32 old = edge - 1 - offset - 1, now = edge + 29 - offset - 1;
    ASSERT_EQ(HeadlessFrame().dirty.Count(), 2u);
    EXPECT_EQ(HeadlessFrame().dirty[0], (PixelRect{old, grid.top, old + 1, grid.bottom}));
    EXPECT_EQ(HeadlessFrame().dirty[1], (PixelRect{now, grid.top, now + 1, grid.bottom}));
    IgnoreFailure(Send(WM_LBUTTONUP, edge + 29, top));
    EXPECT_EQ(Shell().layout.columns[1].end, edge + 29 - offset);
    // Without a move nothing is stored.
    const u32 records = UndoCount();
    const i32 end = Shell().layout.columns[1].end;
    IgnoreFailure(Send(WM_LBUTTONDOWN, end - 1, top));
    IgnoreFailure(Send(WM_LBUTTONUP, end - 1, top));
    EXPECT_EQ(UndoCount(), records);
}

}  // namespace
}  // namespace tally
