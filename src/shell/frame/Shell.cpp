#include "shell/frame/Shell.h"

#include <algorithm>
#include <utility>

#include "base/MessageTable.h"
#include "display/LocaleSettings.h"
#include "editing/Clipboard.h"
#include "editing/Undo.h"
#include "fileio/OpenFile.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "functions/FunctionState.h"
#include "functions/Random.h"
#include "model/BookTable.h"
#include "model/Trust.h"
#include "recovery/Journal.h"
#include "shell/commands/Commands.h"
#include "shell/commands/Places.h"
#include "shell/dialogs/Dialogs.h"
#include "shell/entry/EntryEditor.h"
#include "shell/entry/EntryMarks.h"
#include "shell/frame/AccessibleItems.h"
#include "shell/frame/FramePaint.h"
#include "shell/frame/MouseInput.h"
#include "shell/frame/NameBox.h"
#include "shell/frame/PaintGuard.h"
#include "shell/frame/Recovery.h"
#include "shell/frame/Settings.h"
#include "shell/frame/ShapePalettes.h"
#include "shell/frame/Tables.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/GridPaint.h"
#include "shell/grid/Layout.h"
#include "shell/grid/ShownCells.h"
#include "shell/grid/Sizes.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

bool OnChar(const ShellMessage& message) {
    if (message.modifiers & KEY_CTRL) return true;
    if (!HasCells(CurrentSheet())) return true;
    if (IsEditing()) {
        // The frame has no keyboard of its own while something is typed.
        if (!LineChar(message.key, message.modifiers)) StartTyping(static_cast<char16_t>(message.key));
        return true;
    }
    const bool shift = (message.modifiers & KEY_SHIFT) != 0;
    switch (message.key) {
        case VK_TAB: TabMove(shift); break;
        case u'\r': {
            const SheetView& view = CurrentSheet()->view;
            if (Shell().endMode || shift || !FollowHyperlink(view.activeRow, view.activeColumn))
                EnterMove(shift);
            break;
        }
        case VK_ESCAPE: break;
        default:
            if (message.key == u' ' && shift) break;
            SetEndMode(false);
            StartTyping(TypedSeparator(message.key));
    }
    return true;
}

bool OnClose(const ShellMessage&) {
    if (!CloseAllBooks()) return true;
    Shell().closing = true;
    ShellPlatform().quit();
    return true;
}

bool OnCommand(const ShellMessage& message) {
    if (message.sender != SENDER_ENTRY_LINE) SetEndMode(false);
    if (message.sender <= SENDER_TOOLBAR && RunCommand(message.command)) return true;
    const i32 book = message.command - 540;
    if (book >= 0 && BookAt(book) && CommitBeforeMove()) SelectBook(book);
    return true;
}

bool OnHelp(const ShellMessage&) {
    WideText path;
    if (Platform().programDirectory(path) && path.Append(u"TlyHelp.htm"))
        IgnoreFailure(ShellPlatform().openExternally(path));
    return true;
}

bool OnScroll(const ShellMessage& message) {
    ScrollBy(message.message == WM_VSCROLL, message.scrollCode, message.scrollPosition);
    return true;
}

bool OnComposition(const ShellMessage&) {
    if (!IsEditing() && HasCells(CurrentSheet())) {
        ShellPlatform().setEditText(ENTRY_LINE, u"");
        BeginEdit(ENTRY_ENTER);
    }
    return false;
}

bool OnMenu(const ShellMessage&) { return true; }

bool OnKey(const ShellMessage& message) {
    if (message.key == VK_ESCAPE && BreakGesture()) return true;
    if (IsEditing()) return LineKeyDown(message.key, message.modifiers);
    NoteDecimalKey(message.key);
    if (GridKey(message.key, message.modifiers)) return true;
    const bool repeats =
        (message.key == VK_F4 && !message.modifiers) || (message.key == u'Y' && message.modifiers == KEY_CTRL);
    return repeats && RepeatLastCommand();
}

bool OnPaint(const ShellMessage& message) {
    const PaintGuard guard;
    // What memory refuses is left out of the picture; a box would only ask for the next paint.
    const QuietMemoryScope quiet;
    Shell().painted = true;
    Shell().shown.painted |= Shell().shown.changed;
    if (message.target) PaintFrame(*message.target, message.paint);
    return true;
}

bool OnFocus(const ShellMessage&) {
    if (IsEditing()) ShellPlatform().focusEdit(ENTRY_LINE);
    return true;
}

// Nobody may be there to answer a question any more.
bool OnEndSession(const ShellMessage&) {
    FlushJournal();
    return true;
}

constexpr i32 ASK_SOON = 1, ASK_LATER = 500;  // milliseconds

void AskSoonForLinks() {
    for (const Workbook* book : Books().books) {
        if (!book->wantedLink.IsEmpty()) return ShellPlatform().startTimer(TIMER_TRUST, ASK_SOON);
    }
}

// What a formula wanted to read is asked for when nothing else goes on.
bool OnTimer(const ShellMessage& message) {
    if (message.command == TIMER_JOURNAL || message.command == TIMER_LOST_BOOKS) return RecoveryTimer(message);
    if (message.command != TIMER_TRUST) return GestureTimer(message);
    ShellPlatform().killTimer(TIMER_TRUST);
    if (IsEditing() || Shell().messageDepth > 1 || Shell().gesture != GESTURE_NONE) {
        ShellPlatform().startTimer(TIMER_TRUST, ASK_LATER);
        return true;
    }
    for (u32 i = 0; i < Books().books.Count(); ++i) {
        if (AskForWantedLinks(static_cast<i32>(i))) InvalidateAll();
    }
    // What could be read may want to read more.
    BringShownUpToDate();
    AskSoonForLinks();
    return true;
}

bool OnSize(const ShellMessage& message) {
    if (message.minimised) return true;
    RefreshChrome();
    ScrollTabs();
    return true;
}

// Text is shown in other sizes now, and what is measured in it with it.
bool OnResolution(const ShellMessage&) {
    NoteShownChange();
    RefreshChrome();
    ScrollTabs();
    return true;
}

constexpr FrameMessageRow frameMessages[] = {
    {WM_CHAR, OnChar},
    {WM_CLOSE, OnClose},
    {WM_QUERYENDSESSION, OnEndSession},
    {WM_COMMAND, OnCommand},
    {WM_CONTEXTMENU, MenuByKey},
    {WM_DPICHANGED, OnResolution},
    {WM_HELP, OnHelp},
    {WM_HSCROLL, OnScroll},
    {WM_VSCROLL, OnScroll},
    {WM_IME_STARTCOMPOSITION, OnComposition},
    {WM_INITMENUPOPUP, OnMenu},
    {WM_KEYDOWN, OnKey},
    {WM_LBUTTONDBLCLK, MouseDouble},
    {WM_LBUTTONDOWN, MouseDown},
    {WM_LBUTTONUP, MouseUp},
    {WM_MOUSEMOVE, MouseMove},
    {WM_RBUTTONDOWN, MouseRight},
    {WM_MOUSEWHEEL, MouseWheel},
    {WM_MOUSEHWHEEL, MouseWheel},
    {WM_DRAWITEM, PaintShapeItem},
    {WM_PAINT, OnPaint},
    {WM_SETFOCUS, OnFocus},
    {WM_SIZE, OnSize},
    {WM_TIMER, OnTimer},
};

void CellChanged(i32 book, i32 sheet, i32 row, i32 column) {
    if (book != CurrentBook() || !CurrentWorkbook() || CurrentWorkbook()->currentSheet != sheet) return;
    if (!HasShellPlatform()) return;
    NoteShownChange();
    InvalidateArea(
        {static_cast<u16>(row), static_cast<u16>(row), static_cast<u8>(column), static_cast<u8>(column)});
}

// While a message is handled; a box or a dialog handles others inside it.
struct MessageScope {
    MessageScope() {
        if (!Shell().messageDepth++) Shell().memoryTold = false;
    }
    ~MessageScope() { --Shell().messageDepth; }
    MessageScope(const MessageScope&) = delete;
    MessageScope& operator=(const MessageScope&) = delete;
};

// One box for all that one message of the frame was refused.
void OutOfMemory() {
    if (std::exchange(Shell().memoryTold, true)) return;
    ShowMessage(Message(MSG_OUT_OF_MEMORY));
}

// What bounds or the user have stopped is told when the message that it happened in has been handled.
void CalculationStopped(EvaluationStop why) { Shell().toldStop = std::max(Shell().toldStop, why); }

void TellStop() {
    const EvaluationStop why = std::exchange(Shell().toldStop, STOP_NONE);
    if (why == STOP_BOUND) ShowMessage(Message(MSG_CALCULATION_BOUND));
    if (why == STOP_CANCELLED) ShowMessage(Message(MSG_CALCULATION_STOPPED));
}

// What follows each call of the toolkit but a paint. What is seen comes up to date here and not in the paint,
// where neither a box nor a file has a place, and not inside another message, which may be half done.
void SettleCall(bool refreshToolbars, bool askForLinks) {
    FitWantedRows();
    if (Shell().messageDepth == 1) {
        SettleEntryMarks();
        BringShownUpToDate();
        RefreshAggregate();
        TellStop();
        TellAccessible();
        KeepChanges();
    }
    if (refreshToolbars) RefreshToolbars();
    if (askForLinks) AskSoonForLinks();
}

// What the user does beside the name box takes its focus away.
bool LeavesNameBox(u32 message) {
    constexpr u32 messages[] = {WM_LBUTTONDOWN, WM_LBUTTONDBLCLK, WM_RBUTTONDOWN, WM_COMMAND,
                                WM_KEYDOWN,     WM_CHAR,          WM_CONTEXTMENU, WM_SETFOCUS};
    return std::find(std::begin(messages), std::end(messages), message) != std::end(messages);
}

bool SendMessageToFrame(const ShellMessage& message) {
    if (Shell().naming && LeavesNameBox(message.message)) {
        LeaveNameBox();
        ShellPlatform().focusFrame();
    }
    for (const FrameMessageRow& row : frameMessages) {
        if (row.message != message.message) continue;
        const MessageScope scope;
        const bool taken = TakenByDialog(message) || row.handler(message);
        if (message.message != WM_PAINT && message.message != WM_DRAWITEM)
            SettleCall(message.message != WM_MOUSEMOVE, message.message != WM_TIMER);
        return taken;
    }
    return false;
}

bool TranslateAccelerator(u32 key, u32 modifiers) {
    for (const Accelerator& row : AcceleratorTable()) {
        if (row.key != key || row.modifiers != modifiers) continue;
        if (NameBoxCommand(row.command)) return true;
        SendCommand(row.command);
        return true;
    }
    return false;
}

// What each edit control does with what FrameCalls tell of it.
struct EditRow {
    bool (*keyDown)(u32 key, u32 modifiers) = [](u32, u32) { return false; };
    bool (*character)(u32 character, u32 modifiers) = [](u32, u32) { return false; };
    bool (*click)() = [] { return true; };
};
constexpr EditRow editRows[] = {
    {LineKeyDown, LineChar, LineClick}, {}, {}, {.keyDown = NameBoxKey, .click = NameBoxClick}};
static_assert(std::size(editRows) == EDIT_COUNT);

bool EditKeyDown(EditHandle edit, u32 key, u32 modifiers) {
    const MessageScope scope;
    const bool taken = Shell().modal || editRows[edit].keyDown(key, modifiers);
    SettleCall(true, true);
    return taken;
}

bool EditChar(EditHandle edit, u32 character, u32 modifiers) {
    const MessageScope scope;
    const bool taken = Shell().modal || editRows[edit].character(character, modifiers);
    SettleCall(true, true);
    return taken;
}

bool EditClick(EditHandle edit) {
    const MessageScope scope;
    if (edit != NAME_BOX) LeaveNameBox();
    const bool taken = !Shell().modal && editRows[edit].click();
    SettleCall(true, true);
    return taken;
}

void EditChanged(EditHandle) {
    const MessageScope scope;
    SettleCall(false, false);
}

constexpr i32 OPEN_FILE = 111;

// As that command does it, where that is not grey and nothing is asked.
void FilesDropped(std::span<const WideText> paths) {
    const MessageScope scope;
    for (const WideText& path : paths)
        if (Shell().messageDepth == 1 && !Shell().modal && CommandEnabled(OPEN_FILE))
            IgnoreFailure(OpenBookFile(path, true));
    SettleCall(true, true);
}

constexpr FrameCalls shellCalls = {
    SendMessageToFrame, TranslateAccelerator, EditKeyDown,  EditChar,    EditClick,
    BuildMenu,          DialogFocused,        LayOutDialog, EditChanged, BuildAccessibleItems,
    FilesDropped};

// The path of a command line, without the quotes around it.
WideView CommandPath(WideView line) {
    if (line.size() >= 2 && line.front() == u'"' && line.back() == u'"') return line.substr(1, line.size() - 2);
    return line;
}

}  // namespace

std::span<const FrameMessageRow> FrameMessageTable() { return frameMessages; }

const FrameCalls& ShellFrameCalls() { return shellCalls; }

void StartShell(WideView commandLine) {
    UseFrameCalls(shellCalls);
    IgnoreFailure(ReadLocaleSettings());
    SetOutOfMemoryNotice(OutOfMemory);
    RecalculationView().cellChanged = CellChanged;
    RecalculationView().rowHeightWanted = WantRowHeight;
    RecalculationView().calculationStopped = CalculationStopped;
    ConnectLinkOpener();
    ConnectUndo();
    ConnectClipboard();
    LoadSettings();
    ConnectJournal(Shell().journalOn);
    const WideView path = CommandPath(commandLine);
    const bool opened = !path.empty() && Platform().fileExists(path) && OpenBookFile(path, true);
    if (!opened) IgnoreFailure(MakeFirstBook());
    if (Shell().options5 & OPTION_FULL_SCREEN) ShellPlatform().setFullScreen(true);
    if (CurrentBook() >= 0) SelectBook(CurrentBook());
    else RefreshChrome();
    BringShownUpToDate();
    RefreshAggregate();
    AskSoonForLinks();
    SearchLostBooks();
    ShellPlatform().focusFrame();
    ShellPlatform().acceptFiles(true);
}

void OpenAnotherFile(WideView path) {
    const MessageScope scope;
    if (!path.empty() && Platform().fileExists(path)) IgnoreFailure(OpenBookFile(path, true));
    SettleCall(true, true);
}

void StopShell() {
    SaveSettings();
    SetOutOfMemoryNotice(nullptr);
    CloseJournal();
    ResetBooks();
    ResetFormulaEngine();
    ResetFunctions();
    ResetTrust();
    ResetShell();
}

}  // namespace tally
