#include "platform/headless/HeadlessShell.h"

#include <algorithm>
#include <array>

#include "base/Text.h"
#include "platform/headless/HeadlessDialogs.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/headless/HeadlessPrinting.h"

namespace tally {
namespace {

HeadlessShellState frame;

// ---- the frame ------------------------------------------------------------------------------------------

void SetTitle(WideView title) { IgnoreFailure(frame.title.Assign(title)); }
void ClientSize(i32& width, i32& height) {
    width = frame.width;
    height = frame.height;
}
void Invalidate(const PixelRect& rect) {
    if (IsEmptyRect(rect)) return;
    ++frame.invalidations;
    IgnoreFailure(frame.dirty.Append(rect));
}
void SetCapture(bool on) { frame.captured = on; }
void StartTimer(i32 timer, i32) { frame.timers[timer & 7] = true; }
void KillTimer(i32 timer) { frame.timers[timer & 7] = false; }
void SetFullScreen(bool on) { frame.fullScreen = on; }
void Quit() { frame.hasQuit = true; }
void FocusFrame() { frame.focus = EDIT_NONE; }
void SetToolTip(WideView text) { IgnoreFailure(frame.toolTip.Assign(text)); }
void SetPointer(PointerShape shape) { frame.pointer = shape; }
void AcceptFiles(bool on) { frame.acceptsFiles = on; }
i32 TrackPopup(const Array<MenuItem>& items, i32 x, i32 y) {
    frame.popupItems.Clear();
    frame.popupX = x;
    frame.popupY = y;
    frame.popupChecked = -1;
    for (u32 i = items.Count(); i-- > 0;)
        if (items[i].checked) frame.popupChecked = static_cast<i32>(i);
    for (const MenuItem& item : items) {
        MenuItem* own = frame.popupItems.AppendDefault();
        if (!own || !own->text.Assign(item.text)) break;
        own->command = item.command;
        own->popup = item.popup;
        own->enabled = item.enabled;
        own->checked = item.checked;
        own->newColumn = item.newColumn;
        own->paintedWidth = item.paintedWidth;
        own->paintedHeight = item.paintedHeight;
    }
    const i32 answer = std::exchange(frame.popupAnswer, 0);
    // What is grey or not there cannot be chosen.
    for (const MenuItem& item : items)
        if (item.command == answer && item.enabled) return answer;
    return 0;
}

// ---- edit controls -------------------------------------------------------------------------------------

void PlaceEdit(EditHandle edit, const PixelRect& place, bool shown) {
    frame.edits[edit].place = shown ? place : PixelRect();
}
bool EditText(EditHandle edit, WideText& out) { return out.Assign(frame.edits[edit].text); }
void SetEditText(EditHandle edit, WideView text) {
    IgnoreFailure(frame.edits[edit].text.Assign(text));
    frame.edits[edit].start = frame.edits[edit].end = 0;
}
void EditSelection(EditHandle edit, i32& start, i32& end) {
    start = frame.edits[edit].start;
    end = frame.edits[edit].end;
}
void SelectEdit(EditHandle edit, i32 start, i32 end) {
    HeadlessEdit& box = frame.edits[edit];
    const i32 length = static_cast<i32>(box.text.Length());
    box.start = std::clamp(start, 0, length);
    box.end = std::clamp(end, box.start, length);
}
void ReplaceEditSelection(EditHandle edit, WideView text) {
    HeadlessEdit& box = frame.edits[edit];
    const u32 start = static_cast<u32>(box.start);
    box.text.Remove(start, static_cast<u32>(box.end) - start);
    IgnoreFailure(box.text.Insert(start, text));
    box.start = box.end = static_cast<i32>(start + text.size());
}
void FocusEdit(EditHandle edit) { frame.focus = edit; }
void ActOnEdit(EditHandle edit, EditAction action) {
    HeadlessEdit& box = frame.edits[edit];
    WideText copied;
    if (action == EDIT_PASTE && ReadClipboardText(copied)) ReplaceEditSelection(edit, copied);
    if (action == EDIT_CUT || action == EDIT_COPY) {
        const WideView selected =
            box.text.View().substr(static_cast<u32>(box.start), static_cast<u32>(box.end - box.start));
        CopyElsewhere(&selected);
    }
    if (action == EDIT_CUT) ReplaceEditSelection(edit, u"");
}
bool EditCanUndo(EditHandle) { return false; }

void SetScrollBar(bool vertical, const ScrollBarState& state) {
    (vertical ? frame.verticalBar : frame.horizontalBar) = state;
}

// ---- dialogs, settings, clipboard -------------------------------------------------------------------------

bool OpenFileDialog(std::span<const FileFilter>, WideText& path) {
    const bool chosen = !frame.dialogPath.IsEmpty() && path.Assign(frame.dialogPath);
    frame.dialogPath.Truncate(0);
    return chosen;
}
bool SaveFileDialog(std::span<const FileFilter> filters, i32& filter, WideText& path) {
    frame.offeredFilter = filter;
    IgnoreFailure(frame.offeredPath.Assign(path));
    if (!OpenFileDialog(filters, path)) return false;
    if (frame.dialogFilter >= 0) filter = frame.dialogFilter;
    for (std::size_t i = 0; i < filters.size() && frame.dialogFilter < 0; ++i) {
        const WideView end = filters[i].pattern.substr(1);
        const bool fits = path.Length() > end.size() &&
                          EqualIgnoringCase(path.View().substr(path.Length() - end.size()), end);
        if (!fits) continue;
        filter = static_cast<i32>(i);
        break;
    }
    return true;
}
SettingRow* FindSetting(WideView section, WideView key) {
    for (SettingRow& row : frame.settings)
        if (EqualIgnoringCase(row.section, section) && EqualIgnoringCase(row.key, key)) return &row;
    return nullptr;
}
bool ReadSetting(WideView section, WideView key, WideText& out) {
    const SettingRow* row = FindSetting(section, key);
    return row && out.Assign(row->value);
}
bool WriteSetting(WideView section, WideView key, WideView value) {
    SettingRow* row = FindSetting(section, key);
    if (!row) {
        row = frame.settings.AppendDefault();
        if (!row || !row->section.Assign(section) || !row->key.Assign(key)) return false;
    }
    return row->value.Assign(value);
}
HeadlessClip* FindClip(u32 format) {
    for (HeadlessClip& clip : frame.clips)
        if (clip.format == format) return &clip;
    return nullptr;
}
// A text without a character is none.
bool ClipboardHas(u32 format) {
    const HeadlessClip* clip = frame.clipboardLocked ? nullptr : FindClip(format);
    return clip && (!clip->bytes.IsEmpty() || format >= CF_FIRST_NAMED);
}
bool ReadClipboard(u32 format, Array<u8>& out) {
    out.Truncate(0);
    return ClipboardHas(format) &&
           out.AppendMany(FindClip(format)->bytes.Data(), FindClip(format)->bytes.Count());
}
bool PutClipboard(std::span<const ClipboardItem> items) {
    if (frame.clipboardLocked) return false;
    frame.clips.Clear();
    for (const ClipboardItem& item : items) {
        HeadlessClip* clip = frame.clips.AppendDefault();
        if (!clip || !clip->bytes.AppendMany(item.bytes.data(), item.bytes.size())) return false;
        clip->format = item.format;
    }
    return true;
}
bool KeyWaits(WaitingKeys keys) {
    ++frame.keyQuestions;
    if (frame.waitingKeys.IsEmpty()) return false;
    bool found = keys == WAITING_ANY;
    for (const u32 key : frame.waitingKeys) found = found || key == VK_ESCAPE;
    frame.waitingKeys.Clear();
    return found;
}
void RepaintNow() {
    ++frame.repaints;
    PaintHeadless(false);
}
bool AccessibleWatched() { return frame.accessibleWatched; }
void AccessibleChanged(u32 changes) { IgnoreFailure(frame.accessibleChanges.Append(changes)); }
bool OpenExternally(WideView path) {
    WideText own;
    IgnoreFailure(own.Assign(path) && frame.opened.Append(std::move(own)));
    return frame.opensExternally;
}

const ShellPlatformTable shellTable = {
    SetTitle,           ClientSize,        Invalidate,        SetCapture,
    StartTimer,         KillTimer,         SetFullScreen,     Quit,
    FocusFrame,         SetToolTip,        SetPointer,        AcceptFiles,
    &HeadlessFonts(),   TrackPopup,        PlaceEdit,         EditText,
    SetEditText,        EditSelection,     SelectEdit,        ReplaceEditSelection,
    FocusEdit,          ActOnEdit,         EditCanUndo,       SetScrollBar,
    OpenFileDialog,     SaveFileDialog,    RunHeadlessDialog, ShowHeadlessDialog,
    SyncHeadlessDialog, ReadSetting,       WriteSetting,      ClipboardHas,
    ReadClipboard,      PutClipboard,      OpenExternally,    KeyWaits,
    RepaintNow,         AccessibleWatched, AccessibleChanged, &HeadlessPrinting(),
};

ShellMessage MouseMessage(u32 number, i32 x, i32 y, u32 modifiers = 0) {
    ShellMessage message;
    message.message = number;
    message.x = x;
    message.y = y;
    message.modifiers = modifiers;
    return message;
}

void SendPaint(const PixelRect& rect) {
    DrawTarget target = MakeRecordTarget(frame.drawing, frame.width, frame.height, Headless().dotsPerInch,
                                         Headless().dotsPerInch);
    target.clip = rect;
    ShellMessage message;
    message.message = WM_PAINT;
    message.target = &target;
    message.paint = rect;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

// What an edit control does with a key that nobody swallowed.
void EditKey(EditHandle edit, u32 key) {
    HeadlessEdit& box = frame.edits[edit];
    const i32 start = box.start, length = static_cast<i32>(box.text.Length());
    if (key == VK_LEFT) SelectEdit(edit, start - 1, start - 1);
    if (key == VK_RIGHT) SelectEdit(edit, box.end + 1, box.end + 1);
    if (key == VK_HOME) SelectEdit(edit, 0, 0);
    if (key == VK_END) SelectEdit(edit, length, length);
    if (key == VK_BACK && box.start == box.end && start > 0) box.start = start - 1;
    if (key == VK_BACK) ReplaceEditSelection(edit, u"");
    FrameCallsInUse().editChanged(edit);
}

void SendChar(char16_t c, u32 modifiers) {
    if (const EditHandle edit = frame.focus; edit != EDIT_NONE) {
        if (FrameCallsInUse().editChar(edit, c, modifiers) || c < 32) return;
        ReplaceEditSelection(edit, WideView(&c, 1));
        FrameCallsInUse().editChanged(edit);
        return;
    }
    ShellMessage message;
    message.message = WM_CHAR;
    message.key = c;
    message.modifiers = modifiers;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

}  // namespace

HeadlessShellState& HeadlessFrame() { return frame; }
void UseHeadlessShell() { SetShellPlatform(&shellTable); }
void ResetHeadlessShell() {
    frame = HeadlessShellState();
    ResetClipboardFormats();
    ResetHeadlessPrinter();
    ResetHeadlessDialogs();
    ResetHeadlessDrawing();
}

// What a key types; 0 for nothing.
static char16_t CharacterOf(u32 key, u32 modifiers) {
    if (key == VK_RETURN || key == VK_TAB || key == VK_ESCAPE || key == VK_BACK)
        return static_cast<char16_t>(key);
    if (modifiers & (KEY_CTRL | KEY_ALT)) return 0;
    if (key == VK_SPACE || (key >= '0' && key <= '9' && !(modifiers & KEY_SHIFT)))
        return static_cast<char16_t>(key);
    if (key < 'A' || key > 'Z') return 0;
    return static_cast<char16_t>(modifiers & KEY_SHIFT ? key : key - 'A' + 'a');
}

void PressKey(u32 key, u32 modifiers) {
    if (FrameCallsInUse().translateAccelerator(key, modifiers)) return;
    if (const EditHandle edit = frame.focus; edit != EDIT_NONE) {
        if (FrameCallsInUse().editKeyDown(edit, key, modifiers)) return;
        if (key == VK_BACK || !CharacterOf(key, modifiers)) {
            EditKey(edit, key);
            return;
        }
    } else {
        ShellMessage message;
        message.message = WM_KEYDOWN;
        message.key = key;
        message.modifiers = modifiers;
        if (FrameCallsInUse().sendMessage(message)) return;
        if (key == VK_APPS) {
            message = ShellMessage();
            message.message = WM_CONTEXTMENU;
            message.x = message.y = -1;
            IgnoreFailure(FrameCallsInUse().sendMessage(message));
        }
    }
    if (const char16_t c = CharacterOf(key, modifiers)) SendChar(c, modifiers);
}

void TypeText(WideView text) {
    for (const char16_t c : text) SendChar(c, 0);
}

void ClickMouse(i32 x, i32 y, u32 modifiers) {
    IgnoreFailure(FrameCallsInUse().sendMessage(MouseMessage(WM_LBUTTONDOWN, x, y, modifiers)));
    IgnoreFailure(FrameCallsInUse().sendMessage(MouseMessage(WM_LBUTTONUP, x, y, modifiers)));
}

void DragMouse(i32 fromX, i32 fromY, i32 toX, i32 toY) {
    IgnoreFailure(FrameCallsInUse().sendMessage(MouseMessage(WM_LBUTTONDOWN, fromX, fromY)));
    IgnoreFailure(FrameCallsInUse().sendMessage(MouseMessage(WM_MOUSEMOVE, toX, toY)));
    IgnoreFailure(FrameCallsInUse().sendMessage(MouseMessage(WM_LBUTTONUP, toX, toY)));
}

void TurnWheel(i32 notches) {
    ShellMessage message;
    message.message = WM_MOUSEWHEEL;
    message.wheel = notches < 0 ? -120 : 120;
    for (i32 i = 0; i < (notches < 0 ? -notches : notches); ++i)
        IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

void PickCommand(i32 command) {
    ShellMessage message;
    message.message = WM_COMMAND;
    message.command = command;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

void DropFiles(std::span<const WideView> paths) {
    Array<WideText> owned;
    for (const WideView path : paths) {
        WideText* own = owned.AppendDefault();
        if (!own || !own->Assign(path)) return;
    }
    if (frame.acceptsFiles && owned.Count()) FrameCallsInUse().filesDropped({owned.begin(), owned.Count()});
}

void CloseFrame() {
    ShellMessage message;
    message.message = WM_CLOSE;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

void CopyElsewhere(const WideView* text) {
    Array<u8> narrow;
    const bool good = text && Platform().wideCharToMultiByte(Platform().getACP(), *text, narrow) &&
                      PutClipboard(std::array<ClipboardItem, 2>{
                          {{CF_UNICODETEXT, ClipboardBytes(*text)}, {CF_TEXT, narrow.Span()}}});
    if (!good) frame.clips.Clear();
}

void ForgetClipboardFormat(u32 format) {
    for (u32 i = frame.clips.Count(); i-- > 0;)
        if (frame.clips[i].format == format) frame.clips.RemoveAt(i);
}

void PaintHeadless(bool all) {
    frame.drawing.Truncate(0);
    Array<PixelRect> rects = std::move(frame.dirty);
    if (all) {
        rects.Truncate(0);
        IgnoreFailure(rects.Append({0, 0, frame.width, frame.height}));
    }
    for (const PixelRect& rect : rects) SendPaint(rect);
}

void PaintHeadlessPart(const PixelRect& rect) {
    frame.drawing.Truncate(0);
    SendPaint(rect);
}

void PaintPopupItem(u32 item, u32 state) {
    frame.drawing.Truncate(0);
    if (item >= frame.popupItems.Count() || !IsPainted(frame.popupItems[item])) return;
    const MenuItem& painted = frame.popupItems[item];
    DrawTarget target = MakeRecordTarget(frame.drawing, painted.paintedWidth, painted.paintedHeight,
                                         Headless().dotsPerInch, Headless().dotsPerInch);
    ShellMessage message;
    message.message = WM_DRAWITEM;
    message.command = painted.command;
    message.target = &target;
    message.paint = target.clip;
    message.itemState = state;
    IgnoreFailure(FrameCallsInUse().sendMessage(message));
}

}  // namespace tally
