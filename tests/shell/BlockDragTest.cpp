// The selection drawn with the mouse by its corner and by its edge.

#include "base/MessageTable.h"
#include "editing/Clipboard.h"
#include "editing/Undo.h"
#include "editing/ViewOperations.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/Layout.h"
#include "shell/grid/SelectionMarks.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class BlockDragTest : public ShellSandbox {
  protected:
    static void Send(u32 number, i32 x, i32 y, u32 modifiers = 0) {
        ShellMessage message;
        message.message = number;
        message.x = x;
        message.y = y;
        message.modifiers = modifiers;
        EXPECT_TRUE(FrameCallsInUse().sendMessage(message));
    }
    static void Send(u32 number, std::string_view cell, u32 modifiers = 0) {
        i32 x = 0, y = 0;
        CellPoint(cell, x, y);
        Send(number, x, y, modifiers);
    }
    static RefArea Area(std::string_view text) {
        const std::size_t colon = text.find(':');
        return colon == std::string_view::npos ? AreaOf(text, text)
                                               : AreaOf(text.substr(0, colon), text.substr(colon + 1));
    }
    static void SelectText(std::string_view text) {
        const RefArea area = Area(text);
        SelectArea(area, true, area.firstRow, area.firstColumn, false);
    }
    static void PressHandle(u32 number = WM_LBUTTONDOWN, u32 modifiers = 0) {
        const PixelRect place = FillHandlePlace(*CurrentSheet());
        ASSERT_FALSE(IsEmptyRect(place));
        Send(number, (place.left + place.right) / 2, (place.top + place.bottom) / 2, modifiers);
    }
    // On the left edge, in the first row.
    static void PressEdge() {
        const RefArea area = CurrentSheet()->view.selection;
        const PixelRect first = AreaPixels({area.firstRow, area.firstRow, area.firstColumn, area.firstColumn});
        Send(WM_LBUTTONDOWN, first.left, (first.top + first.bottom) / 2);
    }
    static void DragHandle(std::string_view to, u32 modifiers = 0) {
        PressHandle();
        Send(WM_MOUSEMOVE, to);
        Send(WM_LBUTTONUP, to, modifiers);
    }
    static void DragEdge(std::string_view to, u32 modifiers = 0) {
        PressEdge();
        Send(WM_MOUSEMOVE, to);
        Send(WM_LBUTTONUP, to, modifiers);
    }
    static void EnterAll(std::string_view first, const std::vector<const char*>& texts, bool down = true) {
        i32 row = 0, column = 0;
        ReadCellName(first, row, column);
        for (const char* text : texts) {
            SelectCell(row, column, true);
            TypeText(Wide(text));
            PressKey(VK_RETURN);
            ++(down ? row : column);
        }
    }
    // What the cells of an area show, row by row.
    static std::string Cells(std::string_view text) {
        const RefArea area = Area(text);
        std::string all;
        for (i32 row = area.firstRow; row <= area.lastRow; ++row)
            for (i32 column = area.firstColumn; column <= area.lastColumn; ++column)
                all += ' ' + Shown(std::string(1, static_cast<char>('A' + column)) + std::to_string(row + 1));
        return all.substr(1);
    }
    static std::string Box() { return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text); }
};

TEST_F(BlockDragTest, TheHandleFillsIntoAllFourDirections) {
    struct Case {
        std::vector<const char*> entries;  // from C6 on
        bool down;
        const char* selected;
        const char* to;
        u32 modifiers;
        const char* filled;
        const char* shown;
        const char* afterwards;  // selection
        i32 kind;
    };
    const Case cases[] = {
        // Several numbers go on, a single one is copied; Ctrl turns both round.
        {{"1", "3"}, true, "C6:C7", "C10", 0, "C8:C10", "5 7 9", "C6:C10", UNDO_FILL_SERIES},
        {{"1", "3"}, true, "C6:C7", "C10", KEY_CTRL, "C8:C10", "1 3 1", "C6:C10", UNDO_FILL_DOWN},
        {{"1", "3"}, true, "C6:C7", "C3", 0, "C3:C5", "-5 -3 -1", "C3:C7", UNDO_FILL_SERIES},
        {{"1", "3"}, true, "C6:C7", "C3", KEY_CTRL, "C3:C5", "3 1 3", "C3:C7", UNDO_FILL_UP},
        {{"1", "3"}, false, "C6:D6", "G6", 0, "E6:G6", "5 7 9", "C6:G6", UNDO_FILL_SERIES},
        {{"1", "3"}, false, "C6:D6", "A6", KEY_CTRL, "A6:B6", "1 3", "A6:D6", UNDO_FILL_LEFT},
        {{"1", "3"}, false, "C6:D6", "G6", KEY_CTRL, "E6:G6", "1 3 1", "C6:G6", UNDO_FILL_RIGHT},
        {{"7"}, true, "C6", "C8", 0, "C7:C8", "7 7", "C6:C8", UNDO_FILL_DOWN},
        {{"7"}, true, "C6", "C8", KEY_CTRL, "C7:C8", "8 9", "C6:C8", UNDO_FILL_SERIES},
        {{"7"}, true, "C6", "C4", KEY_CTRL, "C4:C5", "5 6", "C4:C6", UNDO_FILL_SERIES},
        {{"0.1", "0.2", "0.3"}, true, "C6:C8", "C10", 0, "C9:C10", "0.4 0.5", "C6:C10", UNDO_FILL_SERIES},
        // The straight line nearest to numbers in uneven steps.
        {{"1", "2", "6"}, true, "C6:C8", "C10", 0, "C9:C10", "8 10.5", "C6:C10", UNDO_FILL_SERIES},
        // Texts and mixed lines are copied again and again.
        {{"a", "b"}, true, "C6:C7", "C10", 0, "C8:C10", "a b a", "C6:C10", UNDO_FILL_DOWN},
        {{"a", "b"}, true, "C6:C7", "C3", 0, "C3:C5", "b a b", "C3:C7", UNDO_FILL_UP},
        {{"1", "b"}, true, "C6:C7", "C10", 0, "C8:C10", "1 b 1", "C6:C10", UNDO_FILL_DOWN},
        {{"1", "b"}, true, "C6:C7", "C10", KEY_CTRL, "C8:C10", "1 b 1", "C6:C10", UNDO_FILL_DOWN},
        // Days, months and years.
        {{"2/27/2004"},
         true,
         "C6",
         "C9",
         0,
         "C7:C9",
         "2/28/2004 2/29/2004 3/1/2004",
         "C6:C9",
         UNDO_FILL_SERIES},
        {{"2/27/2004"}, true, "C6", "C8", KEY_CTRL, "C7:C8", "2/27/2004 2/27/2004", "C6:C8", UNDO_FILL_DOWN},
        {{"1/15/2004", "2/15/2004"},
         true,
         "C6:C7",
         "C9",
         0,
         "C8:C9",
         "3/15/2004 4/15/2004",
         "C6:C9",
         UNDO_FILL_SERIES},
        {{"1/15/2004", "2/15/2004"},
         true,
         "C6:C7",
         "C4",
         0,
         "C4:C5",
         "11/15/2003 12/15/2003",
         "C4:C7",
         UNDO_FILL_SERIES},
        {{"1/15/2004", "1/15/2006"}, true, "C6:C7", "C8", 0, "C8", "1/15/2008", "C6:C8", UNDO_FILL_SERIES},
        {{"1/1/2004", "1/8/2004"}, true, "C6:C7", "C8", 0, "C8", "1/15/2004", "C6:C8", UNDO_FILL_SERIES},
        // Formulas go along as they do when they are copied.
        {{"5", "=C6*2"}, true, "C7", "C9", 0, "C8:C9", "20 40", "C7:C9", UNDO_FILL_DOWN},
    };
    int number = 0;
    for (const Case& row : cases) {
        SCOPED_TRACE(std::to_string(number++) + " " + row.filled);
        EnterAll("C6", row.entries, row.down);
        SelectText(row.selected);
        const u32 undos = UndoCount();
        DragHandle(row.to, row.modifiers);
        EXPECT_EQ(Cells(row.filled), row.shown);
        EXPECT_EQ(Selection(), row.afterwards);
        EXPECT_EQ(Active(), std::string(row.selected).substr(0, 2));
        ASSERT_EQ(UndoCount(), std::min(undos + 1, 16u));
        EXPECT_EQ(LastUndo()->kind, row.kind);
        PickCommand(130);
        EXPECT_EQ(CellAtName(std::string_view(row.filled).substr(0, 2)), nullptr);
        EXPECT_EQ(Selection(), row.selected);
        SelectText("A1:H20");
        PickCommand(140);
    }
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(BlockDragTest, EachLineGoesOnByItself) {
    EnterAll("B2", {"1", "2"});
    EnterAll("C2", {"x", "y"});
    EnterAll("D2", {"10", "=D2+1"});
    SelectText("B2:D3");
    DragHandle("D5");
    EXPECT_EQ(Cells("B4:D5"), "3 x 10 4 y 11");
}

TEST_F(BlockDragTest, ASeriesEndsWhereItsDatesDo) {
    EnterAll("C6", {"1/2/1900", "1/1/1900"});
    SelectText("C6:C7");
    DragHandle("C9");
    EXPECT_EQ(Shown("C8"), "12/31/1899");
    EXPECT_EQ(CellAtName("C9"), nullptr);
}

TEST_F(BlockDragTest, TheLongerWayDecidesAcrossOrDown) {
    Enter("C6", "7");
    SelectText("C6");
    DragHandle("E7");  // two columns are wider than a row is high
    EXPECT_EQ(Selection(), "C6:E6");
    SelectText("C6");
    DragHandle("D14");  // eight rows are higher than a column is wide
    EXPECT_EQ(Selection(), "C6:C14");
}

TEST_F(BlockDragTest, DrawnBackTheHandleClears) {
    struct Case {
        const char* to;
        const char* kept;  // selection afterwards
        const char* shown;
    };
    const Case cases[] = {{"C4", "B3:C4", "1 2 3 4  "},
                          {"B5", "B3:B5", "1  3  5 "},
                          {"C5", "B3:C5", "1 2 3 4 5 6"},
                          {"C3", "B3:C3", "1 2    "}};
    for (const Case& row : cases) {
        SCOPED_TRACE(row.to);
        EnterAll("B3", {"1", "3", "5"});
        EnterAll("C3", {"2", "4", "6"});
        SelectText("B3:C5");
        const u32 undos = UndoCount();
        DragHandle(row.to);
        EXPECT_EQ(Selection(), row.kept);
        EXPECT_EQ(Cells("B3:C5"), row.shown);
        if (std::string_view(row.to) == "C5") {
            EXPECT_EQ(UndoCount(), undos);
            continue;
        }
        EXPECT_EQ(LastUndo()->kind, UNDO_CLEAR);
        PickCommand(130);
        EXPECT_EQ(Cells("B3:C5"), "1 2 3 4 5 6");
    }
}

TEST_F(BlockDragTest, ADoubleClickOnTheHandleFillsBesideANeighbour) {
    EnterAll("B2", {"1", "1", "1", "1"});
    EnterAll("D2", {"1", "1", "1", "1", "1", "1"});
    Enter("C2", "=B2+1");
    SelectText("C2");
    PressHandle(WM_LBUTTONDOWN);
    PressHandle(WM_LBUTTONUP);
    PressHandle(WM_LBUTTONDBLCLK);
    EXPECT_EQ(Selection(), "C2:C5");
    EXPECT_EQ(Cells("C3:C6"), "2 2 2 ");
    // Without a neighbour on the left the one on the right counts, without any nothing happens.
    SelectText("E2");
    Enter("E2", "7");
    PressHandle(WM_LBUTTONDBLCLK);
    EXPECT_EQ(Selection(), "E2:E7");
    EXPECT_EQ(Cells("E2:E8"), "7 7 7 7 7 7 ");
    SelectText("H9");
    const u32 undos = UndoCount();
    PressHandle(WM_LBUTTONDBLCLK);
    EXPECT_EQ(Selection(), "H9");
    EXPECT_EQ(UndoCount(), undos);
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
}

TEST_F(BlockDragTest, WhatGuardsCellsRefusesTheFill) {
    struct Case {
        const char* message;
        void (*prepare)();
    };
    const Case cases[] = {
        {"不能对合并单元格作部分改动",
         [] {
             EXPECT_TRUE(CurrentSheet()->mergedAreas.Append({4, 5, 2, 2}));
         }},
        {"不能改变数组的某一部分", [] { EnterArray("C5", "D5", "=1"); }},
        {"单元格有保护",
         [] {
             EXPECT_TRUE(ProtectSheet({CurrentBook(), CurrentSheet()->index, true, WideText()}));
         }},
    };
    for (const Case& row : cases) {
        ResetBooks();
        PickCommand(110);
        Enter("C3", "1");
        row.prepare();
        SelectText("C3");
        const u32 undos = UndoCount();
        DragHandle("C5");
        EXPECT_EQ(Box(), row.message);
        EXPECT_EQ(UndoCount(), undos);
        EXPECT_EQ(CellAtName("C4"), nullptr);
        EXPECT_EQ(Selection(), "C3");
        EXPECT_EQ(Shell().gesture, GESTURE_NONE);
    }
}

TEST_F(BlockDragTest, AnEdgeMovesTheBlockAndCtrlCopiesIt) {
    Enter("B2", "1");
    Enter("B3", "=B2+1");
    Enter("F1", "=B3");
    Enter("F2", "=$B$2");
    SelectText("B2:B3");
    DragEdge("D5");
    EXPECT_EQ(Selection(), "D5:D6");
    EXPECT_EQ(Active(), "D5");
    EXPECT_EQ(CellAtName("B2"), nullptr);
    EXPECT_EQ(Cells("D5:D6"), "1 2");
    EXPECT_EQ(FormulaOf("D6"), "=D5+1");
    // What refers to the cells goes along.
    EXPECT_EQ(FormulaOf("F1"), "=D6");
    EXPECT_EQ(FormulaOf("F2"), "=$D$5");
    const u32 undos = UndoCount();
    PickCommand(130);
    EXPECT_EQ(UndoCount(), undos - 1);
    EXPECT_EQ(Cells("B2:B3"), "1 2");
    EXPECT_EQ(CellAtName("D5"), nullptr);
    EXPECT_EQ(FormulaOf("F1"), "=B3");
    EXPECT_EQ(FormulaOf("F2"), "=$B$2");
    EXPECT_EQ(Selection(), "B2:B3");
    DragEdge("D5", KEY_CTRL);
    EXPECT_EQ(Cells("B2:B3"), "1 2");
    EXPECT_EQ(Cells("D5:D6"), "1 2");
    EXPECT_EQ(FormulaOf("D6"), "=D5+1");
    EXPECT_EQ(FormulaOf("F1"), "=B3");
    EXPECT_EQ(Selection(), "D5:D6");
    PickCommand(130);
    EXPECT_EQ(CellAtName("D5"), nullptr);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(BlockDragTest, AMoveOverItsOwnPlaceLosesNothing) {
    EnterAll("B2", {"1", "2", "3"});
    SelectText("B2:B4");
    DragEdge("B3");
    EXPECT_EQ(Cells("B2:B5"), " 1 2 3");
    EXPECT_EQ(Selection(), "B3:B5");
    PickCommand(130);
    EXPECT_EQ(Cells("B2:B5"), "1 2 3 ");
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(BlockDragTest, WhatIsOnTheClipboardStaysThere) {
    Enter("H1", "held");
    SelectText("H1");
    PickCommand(132);
    Enter("B2", "1");
    for (const u32 modifiers : {u32{0}, u32{KEY_CTRL}}) {
        SelectText(modifiers ? "D5" : "B2");
        DragEdge(modifiers ? "D8" : "D5", modifiers);
    }
    ASSERT_TRUE(Clipboard().blockExists);
    EXPECT_FALSE(Clipboard().fromCut);
    SelectText("A10");
    PickCommand(133);
    EXPECT_EQ(Shown("A10"), "held");
}

TEST_F(BlockDragTest, FullTargetCellsAreAskedFor) {
    struct Case {
        u32 modifiers;
        i32 answer;
        const char* from;
        const char* to;
    };
    const Case cases[] = {
        {0, IDNO, "1", "9"}, {0, IDYES, "", "1"}, {KEY_CTRL, IDNO, "1", "9"}, {KEY_CTRL, IDYES, "1", "1"}};
    for (const Case& row : cases) {
        Enter("B2", "1");
        Enter("D5", "9");
        SelectText("B2");
        Headless().boxes.Clear();
        EXPECT_TRUE(Headless().answers.Append(row.answer));
        DragEdge("D5", row.modifiers);
        ASSERT_EQ(Headless().boxes.Count(), 1u);
        EXPECT_EQ(Box(), "目标单元格中已有内容。\n是否替换？");
        EXPECT_EQ(Shown("B2"), row.from);
        EXPECT_EQ(Shown("D5"), row.to);
        EXPECT_EQ(Selection(), row.answer == IDYES ? "D5" : "B2");
    }
}

TEST_F(BlockDragTest, WhatGuardsCellsRefusesTheMoveBeforeAnythingIsCut) {
    struct Case {
        const char* message;
        u32 modifiers;
        void (*prepare)();
    };
    const auto merge = [] { EXPECT_TRUE(CurrentSheet()->mergedAreas.Append({4, 5, 3, 3})); };
    const auto array = [] { EnterArray("D5", "E5", "=1"); };
    const auto lock = [] {
        EXPECT_TRUE(ProtectSheet({CurrentBook(), CurrentSheet()->index, true, WideText()}));
    };
    const Case cases[] = {
        {"不能对合并单元格作部分改动", 0, merge},
        {"不能对合并单元格作部分改动", KEY_CTRL, merge},
        {"不能改变数组的某一部分", 0, array},
        {"不能改变数组的某一部分", KEY_CTRL, array},
        {"不能改变数组的某一部分", 0, [] { EnterArray("C3", "C4", "=1"); }},
        {"单元格有保护", 0, lock},
        {"单元格有保护", KEY_CTRL, lock},
    };
    for (const Case& row : cases) {
        ResetBooks();
        PickCommand(110);
        row.prepare();
        if (!CellAtName("C3") && !(CurrentSheet()->viewFlags & VIEW_PROTECTED)) Enter("C3", "1");
        SelectText("C3");
        const u32 undos = UndoCount();
        Headless().boxes.Clear();
        DragEdge("D5", row.modifiers);
        ASSERT_EQ(Headless().boxes.Count(), 1u) << row.message;
        EXPECT_EQ(Box(), row.message);
        EXPECT_EQ(UndoCount(), undos);
        EXPECT_EQ(Selection(), "C3");
        if (!(CurrentSheet()->viewFlags & VIEW_PROTECTED)) EXPECT_EQ(Shown("C3"), "1");
    }
}

TEST_F(BlockDragTest, ABlockStaysOnTheSheet) {
    Enter("B2", "1");
    SelectText("B2:C3");
    Send(WM_MOUSEMOVE, "E9");
    PressEdge();
    // Taken in its second row by the lower right, it would leave the sheet at the top left.
    Send(WM_MOUSEMOVE, "A1");
    EXPECT_TRUE(Shell().drag.frame == Area("A1:B2"));
    const PixelRect& cells = Shell().layout.cells;
    Send(WM_LBUTTONUP, cells.left + 1, cells.top + 1);
    EXPECT_EQ(Selection(), "A1:B2");
    EXPECT_EQ(Shown("A1"), "1");
}

TEST_F(BlockDragTest, EscapeBreaksOff) {
    EnterAll("B2", {"1", "2"});
    SelectText("B2:B3");
    for (const bool edge : {false, true}) {
        if (edge) PressEdge();
        else PressHandle();
        EXPECT_TRUE(HeadlessFrame().captured);
        Send(WM_MOUSEMOVE, "B6");
        EXPECT_EQ(Shell().gesture, edge ? GESTURE_CARRY : GESTURE_FILL);
        PressKey(VK_ESCAPE);
        EXPECT_EQ(Shell().gesture, GESTURE_NONE);
        EXPECT_FALSE(HeadlessFrame().captured);
        const u32 undos = UndoCount();
        Send(WM_LBUTTONUP, "B6");
        EXPECT_EQ(UndoCount(), undos);
        EXPECT_EQ(Cells("B2:B6"), "1 2   ");
        EXPECT_EQ(Selection(), "B2:B3");
    }
    // So does an edit that has begun in the midst of it.
    PressHandle();
    TypeText(u"x");
    Send(WM_LBUTTONUP, "B6");
    EXPECT_EQ(Line(), "x");
    PressKey(VK_ESCAPE);
    EXPECT_EQ(Cells("B2:B6"), "1 2   ");
}

TEST_F(BlockDragTest, APressOnAnEdgeThatStaysThereIsAClick) {
    SelectText("B2:C5");
    const PixelRect rect = AreaPixels(Area("B2:C5"));
    i32 x = 0, y = 0;
    CellPoint("B4", x, y);
    ClickMouse(rect.left, y);
    EXPECT_EQ(Selection(), "B4");
    EXPECT_EQ(Shell().gesture, GESTURE_NONE);
    // On the other side of the edge as well.
    SelectText("B2:C5");
    ClickMouse(rect.left - 1, y);
    EXPECT_EQ(Selection(), "A4");
    // One that goes away and comes back does nothing.
    SelectText("B2:C5");
    PressEdge();
    Send(WM_MOUSEMOVE, "E9");
    Send(WM_MOUSEMOVE, "B2");
    const u32 undos = UndoCount();
    Send(WM_LBUTTONUP, "B2");
    EXPECT_EQ(Selection(), "B2:C5");
    EXPECT_EQ(UndoCount(), undos);
    // With Shift an edge is a cell as any other.
    Send(WM_LBUTTONDOWN, rect.left, y, KEY_SHIFT);
    EXPECT_EQ(Shell().gesture, GESTURE_CELLS);
    EXPECT_EQ(Selection(), "B2:B4");
}

TEST_F(BlockDragTest, ThePointerTellsTheHandleAndTheEdges) {
    SelectText("B2:C5");
    const PixelRect rect = AreaPixels(Area("B2:C5")), handle = FillHandlePlace(*CurrentSheet());
    const auto pointer = [](i32 x, i32 y) {
        Send(WM_MOUSEMOVE, x, y);
        return HeadlessFrame().pointer;
    };
    i32 x = 0, y = 0;
    CellPoint("B4", x, y);
    for (i32 at = rect.left - 4; at < rect.left + 5; ++at)
        EXPECT_EQ(pointer(at, y), at >= rect.left - 2 && at < rect.left + 2 ? POINTER_MOVE : POINTER_CELL)
            << at;
    for (i32 at = rect.right - 5; at < rect.right + 5; ++at)
        EXPECT_EQ(pointer(at, y), at >= rect.right - 2 && at < rect.right + 2 ? POINTER_MOVE : POINTER_CELL)
            << at;
    for (i32 at = rect.top - 4; at < rect.top + 5; ++at)
        EXPECT_EQ(pointer(x, at), at >= rect.top - 2 && at < rect.top + 2 ? POINTER_MOVE : POINTER_CELL) << at;
    for (i32 at = rect.bottom - 5; at < rect.bottom + 5; ++at)
        EXPECT_EQ(pointer(x, at), at >= rect.bottom - 2 && at < rect.bottom + 2 ? POINTER_MOVE : POINTER_CELL)
            << at;
    EXPECT_EQ(handle.right, rect.right + 2);
    EXPECT_EQ(handle.bottom, rect.bottom + 2);
    EXPECT_EQ(handle.right - handle.left, 7);
    EXPECT_EQ(pointer(handle.left, handle.top), POINTER_FILL);
    EXPECT_EQ(pointer(handle.right - 1, handle.bottom - 1), POINTER_FILL);
    EXPECT_EQ(pointer(handle.left - 1, handle.top - 1), POINTER_CELL);
    // While something is typed both are cells.
    TypeText(u"1");
    EXPECT_EQ(pointer(handle.left, handle.top), POINTER_CELL);
    EXPECT_EQ(pointer(rect.left, y), POINTER_CELL);
}

TEST_F(BlockDragTest, TheHandleIsPaintedWhereTheCornerIsShown) {
    const auto squares = [] {
        PaintHeadless();
        int count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            count += record.kind == DRAW_FILL && record.rect == FillHandlePlace(*CurrentSheet());
        return count;
    };
    SelectText("B2:C5");
    EXPECT_EQ(squares(), 1);
    // Not where rows or columns go on beyond what is shown.
    SelectArea({0, 65535, 1, 1}, true, 0, 1, false);
    EXPECT_TRUE(IsEmptyRect(FillHandlePlace(*CurrentSheet())));
    SelectArea({1, 1, 0, 255}, true, 1, 0, false);
    EXPECT_TRUE(IsEmptyRect(FillHandlePlace(*CurrentSheet())));
    // Nor on a cell that it would cover.
    SelectText("B2");
    EXPECT_FALSE(IsEmptyRect(FillHandlePlace(*CurrentSheet())));
    EXPECT_TRUE(SetZoom(CurrentBook(), CurrentSheet()->index, 50));
    RefreshChrome();
    EXPECT_TRUE(IsEmptyRect(FillHandlePlace(*CurrentSheet())));
}

TEST_F(BlockDragTest, AFrameGoesWithThePointer) {
    SelectText("B2:C3");
    const auto frames = [](const char* text) {
        PaintHeadless(false);
        const PixelRect rect = AreaPixels(Area(text));
        int count = 0;
        for (const DrawRecord& record : HeadlessFrame().drawing)
            count += record.kind == DRAW_FILL &&
                     record.rect == PixelRect{rect.left, rect.bottom - 2, rect.right, rect.bottom};
        return count;
    };
    PressEdge();
    Send(WM_MOUSEMOVE, "E6");
    EXPECT_GT(frames("E6:F7"), 0);
    Send(WM_MOUSEMOVE, "E9");
    EXPECT_EQ(frames("E6:F7"), 0);
    Send(WM_MOUSEMOVE, "E10");
    EXPECT_GT(frames("E10:F11"), 0);
    PressKey(VK_ESCAPE);
    EXPECT_EQ(frames("E10:F11"), 0);
}

TEST_F(BlockDragTest, AtTheEdgeOfTheWindowTheViewGoesOn) {
    Enter("B2", "1");
    SelectText("B2");
    PressHandle();
    const PixelRect& cells = Shell().layout.cells;
    i32 x = 0, y = 0;
    CellPoint("B2", x, y);
    Send(WM_MOUSEMOVE, x, cells.bottom + 5);
    EXPECT_TRUE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
    const i32 last = Shell().drag.frame.lastRow;
    ShellMessage tick;
    tick.message = WM_TIMER;
    tick.command = TIMER_AUTO_SCROLL;
    for (int i = 0; i < 30; ++i) EXPECT_TRUE(FrameCallsInUse().sendMessage(tick));
    EXPECT_GE(Shell().drag.frame.lastRow, last + 30);
    const i32 filled = Shell().drag.frame.lastRow;
    Send(WM_LBUTTONUP, x, cells.bottom + 5);
    EXPECT_FALSE(HeadlessFrame().timers[TIMER_AUTO_SCROLL]);
    EXPECT_EQ(CurrentSheet()->view.selection.lastRow, filled);
    EXPECT_EQ(GetCell(CurrentSheet()->cells, filled, 1)->value.number, 1);
}

}  // namespace
}  // namespace tally
