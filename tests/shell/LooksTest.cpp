// What the window offers, as kept texts: every dialog with its controls, places
// and painted parts, every menu, and the drawing of the toolbars.
//   TALLYMAN_RENEW_GOLDEN=1 build/dev/test_shell --gtest_filter='ShellLooks*'
// writes them anew; what has changed is then to be read in the difference.

#include <optional>
#include <string>

#include "model/BookTable.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessDrawing.h"
#include "platform/headless/HeadlessPlatform.h"
#include "shell/commands/Commands.h"
#include "shell/dialogs/Questions.h"
#include "shell/frame/Shell.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/DrawingText.h"
#include "support/FailingAllocator.h"
#include "support/Golden.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

std::string kept;

void AddRecords(const Array<DrawRecord>& records, const char* indent) { kept += DrawingText(records, indent); }

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

// What is done with each dialog while it is open.
void (*whileShown)(Dialog& dialog) = AddDialog;

void SelectCells(const RefArea& area) { SelectArea(area, true, area.firstRow, area.firstColumn, true); }

// Every dialog that the program has, as a user meets it; each is cancelled.
struct DialogRow {
    const char* name;
    void (*ask)();
    bool acts = false;  // something is done while it is open
};
constexpr DialogRow dialogRows[] = {
    {"insert", [] { EXPECT_EQ(AskInsertWay(), WAY_NONE); }},
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
         if (!choice.target.Assign(u"http://a.b/c") || !choice.location.Assign(u"A1")) return;
         EXPECT_FALSE(AskHyperlink(choice));
     }},
    {"hyperlink of a cell",
     [] {
         SelectCells({6, 6, 3, 3});
         PickCommand(330);
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
         SelectCells({4, 4, 2, 2});
         PressKey('1', KEY_CTRL);
     }},
    {"cell format of a row",
     [] {
         SelectCells({1, 1, 0, 2});
         PressKey('1', KEY_CTRL);
     }},
    {"cell format of a column",
     [] {
         SelectCells({0, 2, 1, 1});
         PressKey('1', KEY_CTRL);
     }},
    {"cell format of several",
     [] {
         SelectCells({0, 2, 0, 2});
         PressKey('1', KEY_CTRL);
     }},
    {"validation",
     [] {
         SelectCells({1, 1, 1, 1});
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
             whileShown(dialog);
         };
         PickCommand(168);
     },
     true},
    {"cell format with a fill",
     [] {
         CellFormatQuestion question;
         question.pages = FORMAT_PAGES_ALL;
         question.look.pattern = {true, 1};
         question.look.patternColour = {true, 10};
         question.look.backColour = {true, 13};
         EXPECT_FALSE(AskCellFormat(question));
     }},
    {"cell format with an automatic fill",
     [] {
         CellFormatQuestion question;
         question.look.pattern = {true, 1};
         EXPECT_FALSE(AskCellFormat(question));
     }},
    {"cell format with a pattern and edges",
     [] {
         CellFormatQuestion question;
         question.look.pattern = {true, 4};
         question.look.backColour = {true, 11};
         question.look.topEdge = {true, 5, 10};
         question.look.leftEdge = {true, 6, 11};
         question.look.bottomEdge = {true, 1, 12};
         question.look.rightEdge = {true, 13, 64};
         question.look.innerHorizontal = {true, 3, 13};
         question.look.innerVertical = {true, 0, 64};
         question.look.locked = {true, 1};
         question.look.hidden = {true, 0};
         question.look.wrap = {true, 1};
         question.look.horizontal = {true, 2};
         question.look.vertical = {true, 1};
         question.look.rotation = {true, 45};
         question.look.fontColour = {true, 10};
         question.look.fontSize = {true, 400};
         question.look.bold = question.look.italic = question.look.underline = {true, 1};
         EXPECT_FALSE(AskCellFormat(question));
     }},
};

class ShellLooks : public ShellSandbox {
  protected:
    void SetUp() override {
        ShellSandbox::SetUp();
        kept.clear();
        HeadlessDialogs().whileOpen = whileShown = AddDialog;
    }
    void TearDown() override {
        ShellSandbox::TearDown();
        std::string().swap(kept);
    }
};

TEST_F(ShellLooks, OfTheDialogs) {
    Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
    ASSERT_TRUE(link && link->target.Assign(u"http://d.e/f") && link->location.Assign(u"Sheet1!B2"));
    link->area = AreaOf("D7", "D8");
    Enter("A1", "1.5");
    Enter("A2", "text");
    Enter("C5", "1234.5");
    DefineName("rate", "=Sheet1!$A$1", 0);
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    for (const DialogRow& row : dialogRows) {
        kept += std::string("== ") + row.name + "\n";
        const u32 before = HeadlessDialogs().shown.Count();
        row.ask();
        EXPECT_EQ(HeadlessDialogs().shown.Count(), before + 1) << row.name;
    }
    ExpectGolden("dialogs.txt", kept);
}

// ---- without memory
// ------------------------------------------------------------------------------------------

// What a dialog says and offers, in one number; where memory fails its controls
// may stand elsewhere.
u64 Mark(const Dialog& dialog) {
    u64 mark = dialog.controls.Count();
    const auto add = [&mark](u64 number) { mark = (mark ^ number) * 1099511628211u; };
    const auto addText = [&add](WideView text) {
        for (const char16_t c : text) add(c);
        add(0x10000);
    };
    addText(dialog.title);
    for (const Control& control : dialog.controls) {
        addText(control.label);
        addText(control.text);
        add(static_cast<u64>(control.choice));
        add(u64{control.enabled} * 2 + control.shown);
        for (const auto& item : control.items) addText(item.text);
    }
    return mark;
}

u64 shownMark;
void KeepMark(Dialog& dialog) { shownMark = Mark(dialog); }

class ShellLooksWithoutMemory : public ShellSandbox {
  protected:
    void SetUp() override {
        UseHeadlessPlatform();
        EndBareProgram();
        allocator.emplace();
        BeginBareProgram();
        StartShell(u"");
        ASSERT_EQ(CurrentBook(), 0);
    }
    void TearDown() override {
        EndBareProgram();
        EXPECT_EQ(allocator->LiveBlocks(), 0u);
        allocator.reset();
    }
    std::optional<test::FailingAllocator> allocator;
};

TEST_F(ShellLooksWithoutMemory, ADialogIsShownWholeOrNotAtAll) {
    Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
    ASSERT_TRUE(link && link->target.Assign(u"http://d.e/f") && link->location.Assign(u"Sheet1!B2"));
    link->area = AreaOf("D7", "D8");
    Enter("A1", "1.5");
    Enter("A2", "text");
    Enter("C5", "1234.5");
    DefineName("rate", "=Sheet1!$A$1", 0);
    whileShown = KeepMark;
    for (const DialogRow& row : dialogRows) {
        if (row.acts) continue;
        HeadlessDialogs().whileOpen = KeepMark;
        row.ask();  // fonts are found once
        const u64 first = allocator->Requests();
        shownMark = 0;
        row.ask();
        const u64 whole = shownMark;
        // Of a large dialog a part of them, evenly spread.
        const u64 step = (allocator->Requests() - first) / 60 + 1;
        EXPECT_NE(whole, 0u) << row.name;
        u32 refused = 0;
        for (u64 n = 1;; n += step) {
            HeadlessDialogs().whileOpen = KeepMark;
            shownMark = 0;
            Headless().boxes.Truncate(0);
            const u64 before = FailedAllocations();
            allocator->FailAt(n);
            row.ask();
            allocator->StopFailing();
            EXPECT_TRUE(shownMark == whole || shownMark == 0) << row.name << ", request " << n;
            EXPECT_LE(Headless().boxes.Count(), 1u);
            refused += !shownMark;
            if (FailedAllocations() == before || HasFailure()) break;
        }
        EXPECT_GT(refused, 0u) << row.name;
    }
}

TEST_F(ShellLooksWithoutMemory, AChangedBookIsClosedOnlyAfterItsQuestion) {
    for (u64 n = 1;; ++n) {
        Enter("A1", "1");
        CurrentWorkbook()->dirty = 1;
        Headless().boxes.Truncate(0);
        Headless().answers.Truncate(0);
        Headless().answersUsed = 0;
        ASSERT_TRUE(Headless().answers.Append(IDNO));
        const u64 before = FailedAllocations();
        allocator->FailAt(n);
        const bool stays = CloseBook(0, CLOSE_ASK);
        allocator->StopFailing();
        EXPECT_EQ(CurrentBook() >= 0, stays) << n;
        if (!stays) EXPECT_EQ(Headless().answersUsed, 1u) << n;
        const bool failed = FailedAllocations() != before;
        if (!stays) {
            PickCommand(110);
            ASSERT_EQ(CurrentBook(), 0);
        }
        if (!failed || HasFailure()) break;
    }
}

TEST_F(ShellLooksWithoutMemory, AFileIsOpenedOrNotAndRememberedByItsWholeName) {
    const std::string_view text = "1,2\n";
    ASSERT_TRUE(PutMemoryFile(u"/kept.csv", ByteView(reinterpret_cast<const u8*>(text.data()), text.size())));
    Enter("A1", "1");
    CurrentWorkbook()->dirty = 1;
    const u32 books = Books().books.Count();
    for (u64 n = 1;; ++n) {
        const u64 before = FailedAllocations();
        allocator->FailAt(n);
        const bool good = OpenBookFile(u"/kept.csv", true);
        allocator->StopFailing();
        EXPECT_EQ(Books().books.Count(), books + good) << n << " " << Shell().recent.Count();
        EXPECT_LE(Shell().recent.Count(), 1u);
        for (const WideText& path : Shell().recent) EXPECT_EQ(Narrow(path), "/kept.csv") << n;
        if (good) EXPECT_FALSE(CloseBook(CurrentBook(), CLOSE_DISCARD));
        if (FailedAllocations() == before || HasFailure()) break;
    }
    EXPECT_EQ(Shell().recent.Count(), 1u);
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
