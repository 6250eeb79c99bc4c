#include "support/Monkey.h"

#include <algorithm>

#include "editing/Undo.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessShell.h"
#include "shell/entry/EntryEditor.h"
#include "shell/frame/Tables.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr std::size_t TRAIL = 40;
// A book that has grown beyond this is put away, so that a million acts end in time.
constexpr u32 MOST_CELLS = 60000;
constexpr int DIALOG_ACTS = 12;

Monkey* inDialog = nullptr;  // the one whose dialog is open

u32 Below(Monkey& monkey, std::size_t count) {
    return static_cast<u32>(monkey.random() % static_cast<u32>(count));
}
template <typename T, std::size_t N>
const T& OneOf(Monkey& monkey, const T (&all)[N]) {
    return all[Below(monkey, N)];
}

void Note(Monkey& monkey, std::string act) {
    monkey.trail.push_back(std::move(act));
    if (monkey.trail.size() > TRAIL) monkey.trail.pop_front();
}

// ---- what is typed --------------------------------------------------------------------------------------

constexpr WideView typedTexts[] = {u"1",
                                   u"-2.5",
                                   u"1e300",
                                   u"12%",
                                   u"1/2/2003",
                                   u"12:30",
                                   u"text",
                                   u"TRUE",
                                   u"#N/A",
                                   u"'007",
                                   u"中文字",
                                   u"a much longer text that runs over its neighbours",
                                   u"=",
                                   u"=A1",
                                   u"=A1+B2*3",
                                   u"=SUM(A1:C9)",
                                   u"=SUM(A:A)",
                                   u"=IF(A1>1,B1,\"x\")",
                                   u"=Sheet2!A1",
                                   u"=VLOOKUP(A1,A1:C9,2,FALSE)",
                                   u"=INDIRECT(\"B\"&2)",
                                   u"=OFFSET(A1,1,1)",
                                   u"=1/0",
                                   u"={1,2;3,4}",
                                   u"=TRANSPOSE(A1:B2)",
                                   u"=NOW()",
                                   u"=RAND()",
                                   u"=foo",
                                   u"=SUM(",
                                   u"=\"",
                                   u"=[x.xls]S!A1",
                                   u"+",
                                   u"-",
                                   u"()",
                                   u"''",
                                   u"$1,234.50",
                                   u"line\nline",
                                   u"\t",
                                   u"=A1:A3 A2:B2",
                                   u"=-(-A1)",
                                   u"=R[1]C",
                                   u"0.##",
                                   u"A1:B5",
                                   u"C3",
                                   u"10",
                                   u"400",
                                   u"65536",
                                   u"Name1",
                                   u"\xD83D",
                                   u"\xFFFF",
                                   u"&",
                                   u"2:4",
                                   u"B:D",
                                   u"[Red]0;@"};

WideView AnyText(Monkey& monkey) { return OneOf(monkey, typedTexts); }

constexpr u32 keys[] = {VK_BACK,   VK_TAB,    VK_RETURN,  VK_RETURN,   VK_ESCAPE,    VK_SPACE,     VK_PRIOR,
                        VK_NEXT,   VK_END,    VK_HOME,    VK_LEFT,     VK_UP,        VK_RIGHT,     VK_DOWN,
                        VK_INSERT, VK_DELETE, VK_APPS,    VK_F2,       VK_F4,        VK_F9,        VK_OEM_1,
                        VK_OEM_3,  VK_OEM_8,  VK_DECIMAL, VK_OEM_PLUS, VK_OEM_COMMA, VK_OEM_PERIOD};

void PressAnyKey(Monkey& monkey) {
    const u32 letters = Below(monkey, 4);
    const u32 key = letters ? OneOf(monkey, keys) : static_cast<u32>(u'0' + Below(monkey, 43));
    const u32 modifiers = Below(monkey, 2) ? 0 : Below(monkey, 8);
    Note(monkey, "key " + std::to_string(key) + "/" + std::to_string(modifiers));
    PressKey(key, modifiers);
}

void TypeAnything(Monkey& monkey) {
    const WideView text = AnyText(monkey);
    Note(monkey, "type " + Narrow(text));
    TypeText(text);
    if (Below(monkey, 3)) PressKey(VK_RETURN, Below(monkey, 3) ? 0 : Below(monkey, 4));
}

// A command that does something; the end of the program is tried apart.
i32 AnyCommand(Monkey& monkey) {
    const std::span<const CommandRow> table = CommandTable();
    for (;;) {
        const CommandRow& row = table[Below(monkey, table.size())];
        if (row.handler && row.id != 127) return row.id;
    }
}

// ---- the mouse ------------------------------------------------------------------------------------------

void Send(u32 number, i32 x, i32 y, u32 modifiers) {
    ShellMessage message;
    message.message = number;
    message.x = x;
    message.y = y;
    message.modifiers = modifiers;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

// Mostly on the frame, and often on its edges.
i32 AnyPlace(Monkey& monkey, i32 extent) {
    return static_cast<i32>(Below(monkey, static_cast<std::size_t>(extent + 40))) - 20;
}

void UseMouse(Monkey& monkey) {
    HeadlessShellState& frame = HeadlessFrame();
    const i32 x = AnyPlace(monkey, frame.width), y = AnyPlace(monkey, frame.height);
    const u32 modifiers = Below(monkey, 3) ? 0 : Below(monkey, 8);
    const u32 kind = Below(monkey, 7);
    Note(monkey, "mouse " + std::to_string(kind) + " at " + std::to_string(x) + "," + std::to_string(y));
    switch (kind) {
        case 0:
        case 1: ClickMouse(x, y, modifiers); return;
        case 2: {
            // Dragged over some places; now and then the button is never let go.
            Send(WM_LBUTTONDOWN, x, y, modifiers);
            for (u32 i = Below(monkey, 4); i > 0; --i)
                Send(WM_MOUSEMOVE, AnyPlace(monkey, frame.width), AnyPlace(monkey, frame.height), modifiers);
            if (Below(monkey, 8))
                Send(WM_LBUTTONUP, AnyPlace(monkey, frame.width), AnyPlace(monkey, frame.height), modifiers);
            return;
        }
        case 3:
            ClickMouse(x, y, modifiers);
            Send(WM_LBUTTONDBLCLK, x, y, modifiers);
            Send(WM_LBUTTONUP, x, y, modifiers);
            return;
        case 4: {
            // Popups of lists number their items from 1.
            frame.popupAnswer = Below(monkey, 2) ? AnyCommand(monkey) : static_cast<i32>(Below(monkey, 12));
            Send(WM_RBUTTONDOWN, x, y, modifiers);
            frame.popupAnswer = 0;
            return;
        }
        case 5: Send(WM_MOUSEMOVE, x, y, modifiers); return;
        default: {
            ShellMessage message;
            message.message = Below(monkey, 3) ? WM_MOUSEWHEEL : WM_MOUSEHWHEEL;
            message.wheel = (static_cast<i32>(Below(monkey, 7)) - 3) * 60;
            message.x = x;
            message.y = y;
            message.modifiers = modifiers;
            IgnoreFailure(FrameCallsInUse().sendMessage(message));
        }
    }
}

void Scroll(Monkey& monkey) {
    ShellMessage message;
    message.message = Below(monkey, 2) ? WM_VSCROLL : WM_HSCROLL;
    message.scrollCode = static_cast<i32>(Below(monkey, 8));
    message.scrollPosition = static_cast<i32>(Below(monkey, 70000)) - 100;
    Note(monkey, "scroll " + std::to_string(message.scrollCode));
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

// ---- dialogs and boxes ----------------------------------------------------------------------------------

void TouchPainted(Monkey& monkey, Dialog& dialog, i32 id) {
    DialogEvent event;
    event.control = id;
    constexpr u32 mouse[] = {WM_LBUTTONDOWN, WM_MOUSEMOVE, WM_LBUTTONUP, WM_LBUTTONDBLCLK};
    event.kind = Below(monkey, 2) ? DIALOG_MOUSE : DIALOG_KEY;
    event.value = static_cast<i32>(event.kind == DIALOG_MOUSE ? OneOf(monkey, mouse) : OneOf(monkey, keys));
    event.x = AnyPlace(monkey, 200);
    event.y = AnyPlace(monkey, 100);
    IgnoreFailure(SendDialogEvent(dialog, event));
}

void TouchControl(Monkey& monkey, Dialog& dialog) {
    if (dialog.controls.IsEmpty()) return;
    const Control& control = dialog.controls[Below(monkey, dialog.controls.Count())];
    const i32 id = control.row.id;
    if (control.row.kind == CONTROL_PAINTED && Below(monkey, 2)) return TouchPainted(monkey, dialog, id);
    switch (Below(monkey, 6)) {
        case 0: UserEdits(dialog, id, AnyText(monkey)); return;
        case 1: UserPresses(dialog, id); return;
        case 2: UserFocuses(dialog, id); return;
        case 3: UserShrinks(dialog, id); return;
        case 4: UserDoubleClicks(dialog, id); return;
        default: UserChooses(dialog, id, static_cast<i32>(Below(monkey, 12)) - 1);
    }
}

void UseDialog(Dialog& dialog) {
    Monkey& monkey = *inDialog;
    ++monkey.dialogs;
    Note(monkey, "dialog " + Narrow(dialog.title));
    if (HeadlessDialogs().depth > 4) return;
    for (u32 i = Below(monkey, DIALOG_ACTS); i > 0 && !dialog.ended; --i) {
        if (Below(monkey, 6)) TouchControl(monkey, dialog);
        else if (Below(monkey, 2)) UseMouse(monkey);
        else PaintHeadless(true);
    }
    for (u32 tries = Below(monkey, 4); tries > 0 && !dialog.ended; --tries) UserAccepts(dialog);
    if (!dialog.ended) UserCancels(dialog);
}

void PrepareAnswers(Monkey& monkey) {
    HeadlessState& state = Headless();
    state.answers.Truncate(0);
    state.answersUsed = 0;
    state.boxes.Clear();
    constexpr i32 answers[] = {IDOK, IDYES, IDNO, IDNO, IDCANCEL};
    for (int i = 0; i < 4; ++i) IgnoreFailure(state.answers.Append(OneOf(monkey, answers)));
    HeadlessDialogs().shown.Clear();
    HeadlessDialogs().whileOpen = UseDialog;
    HeadlessFrame().opened.Clear();
    HeadlessFrame().waitingKeys.Clear();
    if (Below(monkey, 50) == 0) IgnoreFailure(HeadlessFrame().waitingKeys.Append(VK_ESCAPE));
}

// ---- commands and files ---------------------------------------------------------------------------------

constexpr WideView paths[] = {u"/m/one.xls",  u"/m/two.xls",  u"/m/three.csv", u"/m/four.txt",
                              u"/m/five.pxl", u"/m/none.doc", u"/m/six.xlt"};

void PickAnything(Monkey& monkey) {
    // Most of them wait for the entry to end.
    if (IsEditing() && Below(monkey, 4)) PressKey(Below(monkey, 2) ? VK_RETURN : VK_ESCAPE);
    constexpr i32 often[] = {111, 113, 114, 114, 118, 119, 130, 130, 130, 132, 133, 133};
    const i32 id = Below(monkey, 5) ? AnyCommand(monkey) : OneOf(monkey, often);
    Note(monkey, "command " + std::to_string(id));
    HeadlessFrame().dialogFilter = static_cast<i32>(Below(monkey, 8)) - 2;
    if (id == 111 || id == 114) IgnoreFailure(HeadlessFrame().dialogPath.Assign(OneOf(monkey, paths)));
    monkey.commands += CommandEnabled(id);
    monkey.undone += id == 130 && !IsEditing() && UndoCount() > 0;
    const u32 before = Headless().fileOperations;
    PickCommand(id);
    HeadlessFrame().dialogPath.Truncate(0);
    const bool used = Headless().fileOperations > before;
    monkey.saved += used && (id == 113 || id == 114);
    monkey.opened += used && (id == 111 || (id >= 118 && id <= 126));
}

void OpenMenu(Monkey& monkey) {
    const i32 menu = static_cast<i32>(Below(monkey, MENU_COUNT));
    Note(monkey, "menu " + std::to_string(menu));
    ShellMessage message;
    message.message = WM_INITMENUPOPUP;
    message.command = menu;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
    Array<MenuItem> items;
    IgnoreFailure(FrameCallsInUse().menuItems(static_cast<MenuId>(menu), items));
    if (items.IsEmpty()) return;
    const MenuItem& item = items[Below(monkey, items.Count())];
    if (item.command && item.command != 127 && item.enabled) PickCommand(item.command);
}

void ChangeSurroundings(Monkey& monkey) {
    const u32 kind = Below(monkey, 8);
    Note(monkey, "surroundings " + std::to_string(kind));
    HeadlessShellState& frame = HeadlessFrame();
    ShellMessage message;
    switch (kind) {
        case 0:
            frame.width = static_cast<i32>(Below(monkey, 1400));
            frame.height = static_cast<i32>(Below(monkey, 900));
            message.message = WM_SIZE;
            message.x = frame.width;
            message.y = frame.height;
            message.minimised = Below(monkey, 6) == 0;
            break;
        case 1:
            Headless().dotsPerInch = 96 + static_cast<i32>(Below(monkey, 4)) * 24;
            message.message = WM_DPICHANGED;
            break;
        case 2: {
            const WideView text = AnyText(monkey);
            CopyElsewhere(Below(monkey, 8) ? &text : nullptr);
            return;
        }
        case 3: message.message = WM_IME_STARTCOMPOSITION; break;
        case 4: message.message = WM_SETFOCUS; break;
        default:
            message.message = WM_TIMER;
            message.command = static_cast<i32>(Below(monkey, 8));
            if (!frame.timers[message.command]) return;
    }
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

// Someone who has gone on for long begins anew.
void KeepSmall(Monkey& monkey) {
    const Workbook* book = CurrentWorkbook();
    u32 cells = 0;
    if (book)
        for (const Sheet* sheet : book->sheets) cells += sheet->cells.count;
    const bool many = book && (cells > MOST_CELLS || book->sheets.Count() > 40 || Books().books.Count() > 6);
    if (book && !many) return;
    Note(monkey, book ? "close" : "new");
    Headless().answers.Truncate(0);
    Headless().answersUsed = 0;
    IgnoreFailure(Headless().answers.Append(IDNO));
    PressKey(VK_ESCAPE);
    PickCommand(book ? 112 : 110);
}

}  // namespace

void ActAtRandom(Monkey& monkey) {
    ++monkey.acts;
    inDialog = &monkey;
    KeepSmall(monkey);
    PrepareAnswers(monkey);
    const u32 kind = Below(monkey, 20);
    if (kind < 4) PressAnyKey(monkey);
    else if (kind < 7) TypeAnything(monkey);
    else if (kind < 11) UseMouse(monkey);
    else if (kind < 12) Scroll(monkey);
    else if (kind < 17) PickAnything(monkey);
    else if (kind < 19) OpenMenu(monkey);
    else ChangeSurroundings(monkey);
    SettleOpenDialogs();
    PaintHeadless(Below(monkey, 16) == 0);
}

void TakeAllBack(Monkey& monkey) {
    PrepareAnswers(monkey);
    PressKey(VK_ESCAPE);
    PressKey(VK_ESCAPE);
    while (UndoCount() > 0) {
        const u32 before = UndoCount();
        Note(monkey, "undo");
        IgnoreFailure(UndoLast());
        if (UndoCount() >= before) break;
    }
    PaintHeadless(true);
}

std::string TrailOf(const Monkey& monkey) {
    std::string text = "act " + std::to_string(monkey.acts) + ":";
    for (const std::string& act : monkey.trail) text += "\n  " + act;
    return text;
}

}  // namespace tally
