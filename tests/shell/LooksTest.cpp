// What the window offers, as kept texts: every dialog with its controls, places and painted parts, every menu,
// and the drawing of the toolbars.
//   TALLYMAN_RENEW_GOLDEN=1 build/dev/test_shell --gtest_filter='ShellLooks*'
// writes them anew; what has changed is then to be read in the difference.

#include <string>

#include "model/BookTable.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessDrawing.h"
#include "shell/dialogs/Questions.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/Golden.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

std::string kept;

std::string RectText(const PixelRect& rect) {
    return std::to_string(rect.left) + "," + std::to_string(rect.top) + "-" + std::to_string(rect.right) + "," +
           std::to_string(rect.bottom);
}

std::string HexText(u32 colour) {
    std::string out;
    for (i32 shift = 20; shift >= 0; shift -= 4) out += "0123456789ABCDEF"[colour >> shift & 15];
    return out;
}

// Line breaks and tabs of a text shown.
std::string LineText(WideView text) {
    std::string out;
    for (const char c : Narrow(text)) out += c == '\n' ? "\\n" : c == '\t' ? "\\t" : std::string(1, c);
    return out;
}

void AddRecords(const Array<DrawRecord>& records, const char* indent) {
    static constexpr const char* names[] = {"fill",     "pattern", "line",  "invert", "text",
                                            "polyline", "polygon", "shape", "picture"};
    for (const DrawRecord& record : records) {
        kept += indent + std::string(names[record.kind]) + " " + RectText(record.rect) + " in " +
                RectText(record.clip);
        kept += " " + HexText(record.colour) + " " + HexText(record.backColour) + " " +
                std::to_string(record.style);
        if (record.kind == DRAW_TEXT) {
            const HeadlessFont font =
                record.font > 0 ? HeadlessFontList()[static_cast<u32>(record.font) - 1] : HeadlessFont();
            kept += " '" + LineText(record.text) + "' " + LineText(font.faceName) + " " +
                    std::to_string(font.pixelHeight) + " " + std::to_string(font.weight) +
                    (font.italic ? " italic" : "") + (font.underline ? " underline" : "") + " " +
                    std::to_string(font.escapement);
        }
        if (record.kind == DRAW_LINE || record.kind == DRAW_POLYLINE || record.kind == DRAW_SHAPE ||
            record.kind == DRAW_POLYGON)
            kept += " pen " + HexText(record.pen.colour) + " " + std::to_string(record.pen.style) + " " +
                    std::to_string(record.pen.width);
        for (const PixelPoint& point : record.points)
            kept += " " + std::to_string(point.x) + "," + std::to_string(point.y);
        kept += "\n";
    }
}

void AddPainted(Dialog& dialog) {
    for (const Control& control : dialog.controls) {
        if (control.row.kind != CONTROL_PAINTED || !IsControlVisible(dialog, control)) continue;
        Array<DrawRecord> records;
        DrawTarget target = MakeRecordTarget(records, dialog.width, dialog.height);
        IgnoreFailure(SendDialogEvent(
            dialog,
            {.kind = DIALOG_PAINT, .control = control.row.id, .target = &target, .paint = control.place}));
        kept += "  painted " + std::to_string(control.row.id) + "\n";
        AddRecords(records, "    ");
    }
}

void AddControl(const Control& control) {
    static constexpr const char* kinds[] = {"label", "edit",  "lines", "secret",    "check",  "radio",
                                            "list",  "drop",  "combo", "button",    "spin",   "scroll",
                                            "group", "pages", "page",  "reference", "painted"};
    static_assert(std::size(kinds) == CONTROL_PAINTED + 1);
    kept += " " + std::to_string(control.row.id) + " " + kinds[control.row.kind] + " in " +
            std::to_string(control.container) + " at " + RectText(control.place) + " '" +
            LineText(control.label) + "' '" + LineText(control.text) + "' " + std::to_string(control.choice);
    if (control.row.kind == CONTROL_SPIN || control.row.kind == CONTROL_SCROLL)
        kept += " of " + std::to_string(control.minimum) + " to " + std::to_string(control.maximum);
    kept += std::string(control.enabled ? "" : " grey") + (control.shown ? "" : " hidden") + " flags " +
            std::to_string(control.row.flags) + "\n";
    constexpr u32 MOST_ITEMS = 80;
    for (u32 i = 0; i < control.items.Count() && i < MOST_ITEMS; ++i)
        kept += "   '" + LineText(control.items[i].text) + (control.items[i].enabled ? "'\n" : "' grey\n");
    if (control.items.Count() > MOST_ITEMS)
        kept += "   and so on, " + std::to_string(control.items.Count()) + "\n";
}

void AddDialog(Dialog& dialog) {
    kept += "'" + LineText(dialog.title) + "' " + std::to_string(dialog.width) + "x" +
            std::to_string(dialog.height) + " focus " + std::to_string(dialog.focus) + "\n";
    for (const Control& control : dialog.controls) AddControl(control);
    AddPainted(dialog);
    for (u32 i = 0; i < dialog.controls.Count(); ++i) {
        if (dialog.controls[i].row.kind != CONTROL_PAGES) continue;
        i32 pages = 0;
        for (const Control& page : dialog.controls) pages += page.container == static_cast<i32>(i);
        for (i32 page = 1; page < pages; ++page) {
            kept += "  page " + std::to_string(page) + "\n";
            UserChooses(dialog, dialog.controls[i].row.id, page);
            AddPainted(dialog);
        }
    }
}

class ShellLooks : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        kept.clear();
        HeadlessDialogs().whileOpen = AddDialog;
    }
    void TearDown() override {
        ShellSandbox::TearDown();
        std::string().swap(kept);
    }
    static void SelectCells(std::string_view first, std::string_view last) {
        const RefArea area = AreaOf(first, last);
        SelectArea(area, true, area.firstRow, area.firstColumn, true);
    }
};

TEST_F(ShellLooks, OfTheDialogs) {
    Enter("A1", "1.5");
    Enter("A2", "text");
    Enter("C5", "1234.5");
    DefineName("rate", "=Sheet1!$A$1", 0);
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    struct Case {
        const char* name;
        void (*ask)();
    };
    for (const Case& row : {
             Case{"insert", [] { EXPECT_EQ(AskInsertWay(), WAY_NONE); }},
             {"delete", [] { EXPECT_EQ(AskDeleteWay(), WAY_NONE); }},
             {"paste special",
              [] {
                  PasteRequest request;
                  EXPECT_FALSE(AskPasteSpecial(request));
              }},
             {"series",
              [] {
                  SeriesRequest request;
                  EXPECT_FALSE(AskSeries(request));
              }},
             {"hyperlink",
              [] {
                  LinkChoice choice;
                  EXPECT_TRUE(choice.target.Assign(u"http://a.b/c") && choice.location.Assign(u"A1"));
                  EXPECT_FALSE(AskHyperlink(choice));
              }},
             {"function",
              [] {
                  u16 function = 0;
                  EXPECT_FALSE(AskFunction(true, function));
              }},
             {"move sheet",
              [] {
                  MoveSheetChoice choice;
                  EXPECT_FALSE(AskMoveSheet(CurrentBook(), choice));
              }},
             {"line",
              [] {
                  LineQuestion question;
                  question.title = question.label = 26;
                  EXPECT_FALSE(AskLine(question));
              }},
             {"secret",
              [] {
                  LineQuestion question;
                  question.title = question.label = 26;
                  question.secret = true;
                  EXPECT_FALSE(AskLine(question));
              }},
             {"reference",
              [] {
                  LineQuestion question;
                  question.title = question.label = 26;
                  question.reference = true;
                  EXPECT_FALSE(AskLine(question));
              }},
             {"item",
              [] {
                  const WideView items[] = {u"a", u"b"};
                  ItemQuestion question;
                  question.title = question.label = 26;
                  question.items = items;
                  EXPECT_FALSE(AskItem(question));
              }},
             {"cell format of one cell",
              [] {
                  Select("C5");
                  PressKey('1', KEY_CTRL);
              }},
             {"cell format of a row",
              [] {
                  SelectCells("A2", "C2");
                  PressKey('1', KEY_CTRL);
              }},
             {"cell format of a column",
              [] {
                  SelectCells("B1", "B3");
                  PressKey('1', KEY_CTRL);
              }},
             {"cell format of several",
              [] {
                  SelectCells("A1", "C3");
                  PressKey('1', KEY_CTRL);
              }},
             {"validation",
              [] {
                  Select("B2");
                  PickCommand(429);
              }},
             {"conditions", [] { PickCommand(422); }},
             {"tab colour", [] { PickCommand(413); }},
             {"names", [] { PickCommand(168); }},
             {"names, one chosen",
              [] {
                  HeadlessDialogs().whileOpen = [](Dialog& dialog) {
                      for (const Control& control : dialog.controls)
                          if (control.row.kind == CONTROL_LIST) UserChooses(dialog, control.row.id, 0);
                      AddDialog(dialog);
                  };
                  PickCommand(168);
              }},
         }) {
        kept += std::string("== ") + row.name + "\n";
        const u32 before = HeadlessDialogs().shown.Count();
        row.ask();
        EXPECT_EQ(HeadlessDialogs().shown.Count(), before + 1) << row.name;
    }
    ExpectGolden("dialogs.txt", kept);
}

TEST_F(ShellLooks, OfTheMenus) {
    for (i32 menu = MENU_BAR; menu < MENU_COUNT; ++menu) {
        Array<MenuItem> items;
        ASSERT_TRUE(FrameCallsInUse().menuItems(static_cast<MenuId>(menu), items));
        kept += "== menu " + std::to_string(menu) + "\n";
        for (const MenuItem& item : items)
            kept += " " + std::to_string(item.command) + " opens " + std::to_string(item.popup) + " '" +
                    LineText(item.text) + "'" + (item.enabled ? "" : " grey") +
                    (item.checked ? " checked" : "") + "\n";
    }
    ExpectGolden("menus.txt", kept);
}

TEST_F(ShellLooks, OfTheToolbars) {
    for (const i32 command : {418, 438}) PickCommand(command);
    for (const bool editing : {false, true}) {
        if (editing) PressKey(VK_F2);
        RefreshToolbars();
        for (const i32 hover : {-1, 0, 3}) {
            Shell().toolbar.hover = hover;
            Shell().toolbar.pressed = hover == 0 ? 0 : -1;
            Array<DrawRecord> records;
            DrawTarget target = MakeRecordTarget(records, 900, 60);
            PaintToolbars(target);
            kept += std::string("== ") + (editing ? "while typing" : "ready") +
                    (hover < 0 ? "" : ", the mouse over one") + "\n";
            AddRecords(records, " ");
        }
    }
    Shell().toolbar.hover = Shell().toolbar.pressed = -1;
    ExpectGolden("toolbars.txt", kept);
}

}  // namespace
}  // namespace tally
