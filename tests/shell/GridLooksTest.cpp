// What the grid and the strips around it look like, as a kept text of their drawing.
//   TALLYMAN_RENEW_GOLDEN=1 build/dev/test_shell --gtest_filter='ShellLooks*'
// writes it anew; what has changed is then to be read in the difference.

#include <string>

#include "editing/LineSizes.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/grid/InputMessage.h"
#include "shell/grid/Layout.h"
#include "shell/grid/RuleHints.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/DrawingText.h"
#include "support/Golden.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class ShellLooksOfTheGrid : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        Resize(480, 300);
    }
    static void Resize(i32 width, i32 height) {
        HeadlessFrame().width = width;
        HeadlessFrame().height = height;
        ShellMessage message;
        message.message = WM_SIZE;
        message.x = width;
        message.y = height;
        IgnoreFailure(FrameCallsInUse().sendMessage(message));
    }
    static PixelRect Pixels(std::string_view first, std::string_view last) {
        return AreaPixels(AreaOf(first, last));
    }
    void Keep(const char* name, const PixelRect& part) {
        PaintHeadless();
        PaintHeadlessPart(part);
        kept += std::string("== ") + name + "\n" + DrawingText(HeadlessFrame().drawing, " ");
    }
    static void Give(std::string_view cell, const CellFormat& format) {
        u16 index = 0;
        ASSERT_TRUE(FindOrAddCellFormat(*CurrentWorkbook(), format, index));
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        CellRecord* record = PutCell(CurrentSheet()->cells, row, column);
        ASSERT_NE(record, nullptr);
        record->format = index;
    }
    std::string kept;
};

TEST_F(ShellLooksOfTheGrid, WithItsStrips) {
    Enter("A1", "12.5");
    Enter("B2", "text");
    CurrentSheet()->tabColour = 10;
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    SelectSheet(0);
    Select("B2");
    const Layout& layout = Shell().layout;
    Shell().endMode = true;
    Keep("headers and first cells", {0, layout.grid.top, 160, layout.grid.top + 50});
    Keep("tabs and status", {0, layout.tabs.top, 480, 300});
    Shell().endMode = false;
    CurrentSheet()->zoomPercent = 60;
    RefreshChrome();
    Keep("scaled", {0, layout.grid.top, 90, layout.grid.top + 30});
    CurrentSheet()->zoomPercent = 100;
    RefreshChrome();
    for (const Gesture gesture : {GESTURE_RESIZE_COLUMN, GESTURE_RESIZE_ROW}) {
        Shell().gesture = gesture;
        Shell().gestureLine = 1;
        Shell().gestureX = layout.columns[1].end + 7;
        Shell().gestureY = layout.rows[1].end + 7;
        Keep("a line that is sized", {0, layout.grid.top, 70, layout.grid.top + 40});
    }
    Shell().gesture = GESTURE_NONE;
    ScrollTo(65530, 254);
    Keep("behind the last cell", {layout.columns.Last().end - 20, layout.rows.Last().end - 20, 480, 300});
    ExpectGolden("strips.txt", kept);
}

TEST_F(ShellLooksOfTheGrid, OfTheMarks) {
    const Layout& layout = Shell().layout;
    PickCommand(403);  // no grid lines
    SelectArea(AreaOf("B2", "C4"), true, 1, 1, true);
    const PixelRect around = {layout.columns[0].end - 4, layout.rows[0].end - 4, layout.columns[2].end + 8,
                              layout.rows[3].end + 8};
    Keep("a selection", around);
    for (const Gesture gesture : {GESTURE_FILL, GESTURE_CARRY}) {
        Shell().gesture = gesture;
        Shell().drag.frame = AreaOf("B2", "C3");
        Keep("a block that is dragged", around);
    }
    Shell().gesture = GESTURE_NONE;
    Select("A1");
    ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
    ASSERT_TRUE(rule && rule->areas.Append(AreaOf("A1", "D60")));
    ASSERT_TRUE(
        rule->inputTitle.Assign(u"Heading") &&
        rule->inputText.Assign(u"one\r\n\ntwo words that are so many that one line does not take them"));
    rule->kind = 3;
    const i32 last = static_cast<i32>(layout.rows.Count()) - 3;
    for (const auto& [row, column] : {std::pair{1, 1}, {last, 2}, {1, 5}}) {
        SelectCell(row, column, true);
        kept += RectText(InputMessagePlace()) + " and " + RectText(ListArrowPlace()) + "\n";
        PixelRect part = InputMessagePlace();
        part.bottom = std::min(part.bottom, part.top + 60);
        if (row == 1) Keep("a message", part);
        Keep("an arrow", ListArrowPlace());
    }
    ExpectGolden("marks.txt", kept);
}

TEST_F(ShellLooksOfTheGrid, OfTextsInTheirCells) {
    struct Look {
        u8 horizontal, vertical, rotation;
        bool wraps;
    };
    static constexpr Look looks[] = {
        {0, 2, 0, false},  {1, 0, 0, false},  {2, 1, 0, false},   {3, 2, 0, false},   {4, 1, 0, false},
        {5, 2, 0, false},  {6, 0, 0, false},  {7, 1, 0, false},   {0, 1, 255, false}, {3, 2, 255, false},
        {1, 0, 45, false}, {2, 1, 90, false}, {3, 2, 135, false}, {0, 2, 180, false}, {0, 0, 0, true},
        {2, 1, 0, true},   {3, 2, 0, true},   {7, 2, 0, true},    {4, 2, 0, true},    {0, 3, 0, false},
    };
    Select("H40");
    ScrollTo(0, 0);
    ASSERT_TRUE(SetRowHeights(*CurrentSheet(), AreaOf("A2", "A2"), 1200));
    RefreshChrome();
    for (const auto& [name, entry] : {std::pair{"words", "so we go on"},
                                      {"number", "1234.5"},
                                      {"wide number", "123456789012"},
                                      {"truth", "TRUE"},
                                      {"fault", "=1/0"},
                                      {"letters", "甲乙 丙"},
                                      {"much", "so much that it goes beyond"}}) {
        for (std::size_t i = 0; i < std::size(looks); ++i) {
            CellFormat format;
            format.horizontal = looks[i].horizontal;
            format.vertical = looks[i].vertical;
            format.rotation = looks[i].rotation;
            if (looks[i].wraps) format.flags |= FORMAT_WRAP;
            Enter("B2", entry);
            Give("B2", format);
            PaintHeadless();
            PaintHeadlessPart(Pixels("A2", "D2"));
            kept += std::string("== ") + name + " " + std::to_string(i) + "\n";
            for (const DrawRecord& record : HeadlessFrame().drawing) {
                if (record.kind != DRAW_TEXT || record.rect.bottom <= Shell().layout.cells.top) continue;
                kept += " '" + LineText(record.text) + "' " + RectText(record.rect) + " in " +
                        RectText(record.clip) + "\n";
            }
        }
    }
    ExpectGolden("texts.txt", kept);
}

TEST_F(ShellLooksOfTheGrid, OfBordersAndGrounds) {
    Select("H40");
    ScrollTo(0, 0);
    PickCommand(403);
    CellFormat format;
    format.topStyle = 5;
    format.topColour = 10;
    format.leftStyle = 6;
    format.leftColour = 11;
    format.bottomStyle = 8;
    format.bottomColour = 12;
    format.rightStyle = 13;
    format.rightColour = 13;
    for (const char* cell : {"A1", "C3"}) Give(cell, format);
    for (const i32 zoom : {100, 200}) {
        CurrentSheet()->zoomPercent = zoom;
        RefreshChrome();
        Keep("borders", Pixels("A1", "A1"));
        Keep("borders inside", Pixels("C3", "C3"));
    }
    CurrentSheet()->zoomPercent = 100;
    RefreshChrome();
    for (const u8 pattern : {u8{1}, u8{2}, u8{18}}) {
        CellFormat ground;
        ground.pattern = pattern;
        ground.patternColour = 10;
        ground.backColour = 13;
        Give("B2", ground);
        Keep("a ground", Pixels("B2", "B2"));
    }
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("B2", "C3")));
    Keep("a merge", Pixels("B2", "C3"));
    ExpectGolden("borders.txt", kept);
}

}  // namespace
}  // namespace tally
