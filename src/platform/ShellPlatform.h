#pragma once
// What the shell needs of a windowing toolkit: one table of operations, and the messages that come back.
// The frame's client area is painted by the shell (grid, headers, tabs, status bar); the toolkit owns the
// menu bar, the edit controls, the two scroll bars and the dialogs of files.

#include <iterator>
#include <span>

#include "base/Platform.h"
#include "platform/Clipboard.h"
#include "platform/Drawing.h"
#include "platform/Printing.h"

namespace tally {

// ---- messages from the toolkit, with their published numbers -----------------------------------------

enum MessageNumber : u32 {
    WM_SIZE = 0x0005,
    WM_SETFOCUS = 0x0007,
    WM_PAINT = 0x000F,
    WM_CLOSE = 0x0010,
    WM_QUERYENDSESSION = 0x0011,  // the process may be ended soon, without another word
    WM_DRAWITEM = 0x002B,
    WM_NOTIFY = 0x004E,
    WM_HELP = 0x0053,
    WM_CONTEXTMENU = 0x007B,  // by a key; the mouse sends WM_RBUTTONDOWN
    WM_KEYDOWN = 0x0100,
    WM_CHAR = 0x0102,
    WM_IME_STARTCOMPOSITION = 0x010D,
    WM_COMMAND = 0x0111,
    WM_TIMER = 0x0113,
    WM_HSCROLL = 0x0114,
    WM_VSCROLL = 0x0115,
    WM_INITMENUPOPUP = 0x0117,
    WM_MOUSEMOVE = 0x0200,
    WM_LBUTTONDOWN = 0x0201,
    WM_LBUTTONUP = 0x0202,
    WM_LBUTTONDBLCLK = 0x0203,
    WM_RBUTTONDOWN = 0x0204,
    WM_MOUSEWHEEL = 0x020A,
    WM_MOUSEHWHEEL = 0x020E,
    WM_DPICHANGED = 0x02E0,  // the screen has another resolution: PlatformTable::getScreenMetrics tells
};

// Virtual keys, with their published numbers; letters and digits are their capital characters.
enum KeyCode : u32 {
    VK_BACK = 0x08,
    VK_TAB = 0x09,
    VK_RETURN = 0x0D,
    VK_ESCAPE = 0x1B,
    VK_SPACE = 0x20,
    VK_PRIOR = 0x21,  // PageUp
    VK_NEXT = 0x22,   // PageDown
    VK_END = 0x23,
    VK_HOME = 0x24,
    VK_LEFT = 0x25,
    VK_UP = 0x26,
    VK_RIGHT = 0x27,
    VK_DOWN = 0x28,
    VK_INSERT = 0x2D,
    VK_DELETE = 0x2E,
    VK_APPS = 0x5D,     // the menu key
    VK_DECIMAL = 0x6E,  // of the number pad
    VK_F2 = 0x71,
    VK_F3 = 0x72,
    VK_F4 = 0x73,
    VK_F5 = 0x74,
    VK_F9 = 0x78,
    VK_OEM_1 = 0xBA,       // ;
    VK_OEM_PLUS = 0xBB,    // =
    VK_OEM_COMMA = 0xBC,   // ,
    VK_OEM_PERIOD = 0xBE,  // .
    VK_OEM_3 = 0xC0,       // `
    VK_OEM_8 = 0xDF,
};

enum KeyModifiers : u32 { KEY_SHIFT = 1, KEY_CTRL = 2, KEY_ALT = 4 };

enum ScrollCode : i32 {
    SB_LINEUP = 0,
    SB_LINEDOWN = 1,
    SB_PAGEUP = 2,
    SB_PAGEDOWN = 3,
    SB_THUMBPOSITION = 4,
    SB_THUMBTRACK = 5
};

enum CommandSender : u8 { SENDER_MENU = 0, SENDER_TOOLBAR = 1, SENDER_ENTRY_LINE = 2, SENDER_OTHER = 3 };

// One message; which fields count depends on its number.
struct ShellMessage {
    u32 message = 0;
    u32 key = 0;         // WM_KEYDOWN: KeyCode; WM_CHAR: the UTF-16 unit
    u32 modifiers = 0;   // KeyModifiers, for keys and the mouse
    i32 x = 0, y = 0;    // mouse; WM_SIZE: the new client size
    i32 wheel = 0;       // WM_MOUSEWHEEL: above zero is away from the user; WM_MOUSEHWHEEL: to the right
    i32 command = 0;     // WM_COMMAND; WM_TIMER: the timer; WM_INITMENUPOPUP: the MenuId
    i32 scrollCode = 0;  // WM_HSCROLL, WM_VSCROLL
    i32 scrollPosition = 0;
    CommandSender sender = SENDER_MENU;
    bool minimised = false;  // WM_SIZE
    // WM_PAINT: the frame's client area; WM_DRAWITEM: where the item of the menu is shown
    DrawTarget* target = nullptr;
    PixelRect paint;    // WM_PAINT: what must be painted; WM_DRAWITEM: the item's place
    u32 itemState = 0;  // WM_DRAWITEM of the item with the number `command`: MenuItemState
};

// ---- menus -------------------------------------------------------------------------------------------

// The popups, by number; each is one constant table. MENU_BAR holds the top level.
enum MenuId : i32 {
    MENU_NONE = -1,
    MENU_BAR,
    MENU_FILE,
    MENU_RECENT,
    MENU_WINDOWS,
    MENU_EDIT,
    MENU_FILL,
    MENU_CLEAR,
    MENU_INSERT,
    MENU_CHART,
    MENU_NAME,
    MENU_CONTROLS,
    MENU_DRAWING,
    MENU_SHAPES,
    MENU_SHAPE_FIRST,  // seven palettes
    MENU_SHAPE_LAST = MENU_SHAPE_FIRST + 6,
    MENU_FORMAT,
    MENU_ROW,
    MENU_COLUMN,
    MENU_SHEET,
    MENU_ZOOM,
    MENU_VIEW,
    MENU_VIEW_FILE,
    MENU_TOOLBARS,
    MENU_DATA,
    MENU_FILTER,
    MENU_COUNT,
};

enum MenuItemState : u32 { ITEM_SELECTED = 1, ITEM_GREY = 2, ITEM_CHECKED = 4 };

// An item as it is now. The text has "&" for the letter and "\t" before the key that it names. In a popup with
// columns or painted items no item is a popup.
struct MenuItem {
    i32 command = 0;           // 0: a popup or a separator
    MenuId popup = MENU_NONE;  // of a popup item
    bool enabled = true;
    bool checked = false;
    WideText text;           // empty: a separator
    bool newColumn = false;  // it stands on top of a column beside the items before it
    // In pixels: the shell paints the item by WM_DRAWITEM. Its text is what it is called.
    i32 paintedWidth = 0, paintedHeight = 0;
};
inline bool IsPainted(const MenuItem& item) { return item.paintedWidth > 0 && item.paintedHeight > 0; }

// ---- edit controls -----------------------------------------------------------------------------------

// The controls that text is typed into within the frame's client area, above what the shell paints there. Each
// is there once and holds text, caret and place for itself, shown or not; one at most has the focus.
enum EditHandle : i32 { EDIT_NONE = -1, ENTRY_LINE, COMMENT_EDIT, TEXT_BOX_EDIT, NAME_BOX, EDIT_COUNT };

struct EditTraits {
    bool wraps;  // lines break at the edge; otherwise they run on behind it
};
constexpr EditTraits editTraits[] = {{.wraps = false}, {.wraps = true}, {.wraps = true}, {.wraps = false}};
static_assert(std::size(editTraits) == EDIT_COUNT);

enum EditAction : i32 { EDIT_UNDO, EDIT_CUT, EDIT_COPY, EDIT_PASTE };

// ---- scroll bars -------------------------------------------------------------------------------------

struct ScrollBarState {
    bool shown = false;
    PixelRect place;
    i32 position = 0;
    i32 page = 1;
    i32 maximum = 0;  // greatest position
};

enum PointerShape : u8 {
    POINTER_ARROW,
    POINTER_CELL,
    POINTER_COLUMN_EDGE,
    POINTER_ROW_EDGE,
    POINTER_LINK,
    POINTER_WAIT,
    POINTER_FILL,  // a thin cross
    POINTER_MOVE   // four arrows
};

enum TimerId : i32 {
    TIMER_AUTO_SCROLL = 1,
    TIMER_COMMENT_HINT = 2,
    TIMER_TRUST = 3,       // a formula wanted a file, and the user is asked outside the calculation
    TIMER_JOURNAL = 4,     // something is to be written to the journal
    TIMER_LOST_BOOKS = 5,  // books that were not saved may be there to be offered
};

// A row of a file dialog's type list: "*.csv" and what it is called.
struct FileFilter {
    WideView name;
    WideView pattern;
};

// What the user may press while the program is busy.
enum WaitingKeys : u8 { WAITING_ESCAPE, WAITING_ANY };

struct Dialog;
struct AccessibleItem;

struct ShellPlatformTable {
    // ---- the frame ---------------------------------------------------------------------------------
    void (*setTitle)(WideView title);
    void (*clientSize)(i32& width, i32& height);
    // WM_PAINT comes later, for the pieces that many of these make up together.
    void (*invalidate)(const PixelRect& rect);
    void (*setCapture)(bool on);  // mouse moves come from outside the frame as well
    void (*startTimer)(i32 timer, i32 milliseconds);
    void (*killTimer)(i32 timer);
    void (*setFullScreen)(bool on);
    void (*quit)();  // leaves the message loop
    void (*focusFrame)();
    // What is shown beside the pointer when it rests on the frame; empty for nothing.
    void (*setToolTip)(WideView text);
    void (*setPointer)(PointerShape shape);
    // Whether files may be dropped on the frame, to come by FrameCalls::filesDropped. At first they may not.
    void (*acceptFiles)(bool on);
    // The fonts of the frame and of all that is drawn in pixels.
    const FontTable* fonts;

    // ---- menus -------------------------------------------------------------------------------------
    // Shows a popup at a client position and waits: the chosen command, or 0.
    i32 (*trackPopup)(const Array<MenuItem>& items, i32 x, i32 y);

    // ---- edit controls -----------------------------------------------------------------------------
    // In client pixels.
    void (*placeEdit)(EditHandle edit, const PixelRect& place, bool shown);
    bool (*editText)(EditHandle edit, WideText& out);
    void (*setEditText)(EditHandle edit, WideView text);  // the caret goes to the start
    // In UTF-16 units; what lies outside the text is moved to its ends.
    void (*editSelection)(EditHandle edit, i32& start, i32& end);
    void (*selectEdit)(EditHandle edit, i32 start, i32 end);
    void (*replaceEditSelection)(EditHandle edit, WideView text);  // the caret goes behind it
    void (*focusEdit)(EditHandle edit);                            // focusFrame takes it away again
    void (*editAction)(EditHandle edit, EditAction action);
    bool (*editCanUndo)(EditHandle edit);

    // ---- scroll bars -------------------------------------------------------------------------------
    void (*setScrollBar)(bool vertical, const ScrollBarState& state);

    // ---- dialogs -----------------------------------------------------------------------------------
    // The chosen path; false when the user cancelled. `filter` comes in as the row to start with.
    bool (*openFileDialog)(std::span<const FileFilter> filters, WideText& path);
    bool (*saveFileDialog)(std::span<const FileFilter> filters, i32& filter, WideText& path);
    // Shows a dialog whose places are worked out, and waits until it has ended. The frame stays alive: it
    // paints and sends its messages, of which the shell takes what an open dialog leaves it.
    void (*runDialog)(Dialog& dialog);
    // The same without waiting: DIALOG_END tells that it is gone.
    void (*showDialog)(Dialog& dialog);
    // Shows what became stale of an open dialog outside of its own events.
    void (*syncDialog)(Dialog& dialog);

    // ---- settings ----------------------------------------------------------------------------------
    // Values of the user's own store, by section and key; false when there is none.
    bool (*readSetting)(WideView section, WideView key, WideText& out);
    bool (*writeSetting)(WideView section, WideView key, WideView value);

    // ---- clipboard (Clipboard.h) -------------------------------------------------------------------
    // Each opens the clipboard, acts and closes it again.
    bool (*clipboardHas)(u32 format);
    // The bytes of one format; false, and `out` empty, when it is not there or cannot be read.
    bool (*readClipboard)(u32 format, Array<u8>& out);
    // Empties the clipboard and puts all of these there; false when some of them are not.
    bool (*putClipboard)(std::span<const ClipboardItem> items);

    // Shows a file or a page in the program that the user has for it.
    bool (*openExternally)(WideView path);

    // ---- while something lasts ---------------------------------------------------------------------
    // Whether the user has pressed Escape, or any key, since the last question. Nothing that the user does
    // reaches the window meanwhile, and nothing is painted; asking often costs nothing.
    bool (*keyWaits)(WaitingKeys keys);
    // WM_PAINT comes at once for what was invalidated.
    void (*repaintNow)();

    // ---- those who do not see the window (Accessible.h) ---------------------------------------------
    // Whether anybody listens; as long as nobody does nothing is worked out.
    bool (*accessibleWatched)();
    // AccessibleChange bits, after each call that may have changed something. What FrameCalls::accessibleItems
    // told before is out of date.
    void (*accessibleChanged)(u32 changes);

    // ---- printing ----------------------------------------------------------------------------------
    const PrinterTable* printer;
};

// The toolkit in force; set before StartShell. Never null afterwards.
const ShellPlatformTable& ShellPlatform();
void SetShellPlatform(const ShellPlatformTable* table);
bool HasShellPlatform();
inline const FontTable& Fonts() { return *ShellPlatform().fonts; }

// ---- what the toolkit calls --------------------------------------------------------------------------

// Where the frame's messages go; StartShell puts the shell's rows in force. Until then nothing is taken.
struct FrameCalls {
    // One message of the frame. False when the shell leaves it to the toolkit.
    bool (*sendMessage)(const ShellMessage& message);
    // A key in any window: true when an accelerator took it.
    bool (*translateAccelerator)(u32 key, u32 modifiers);
    // An edit control asks before it acts: a key goes down (KeyCode), a character arrives (UTF-16 unit). True:
    // swallowed.
    bool (*editKeyDown)(EditHandle edit, u32 key, u32 modifiers);
    bool (*editChar)(EditHandle edit, u32 character, u32 modifiers);
    // A click on it. False: swallowed, the edit control must not take it.
    bool (*editClick)(EditHandle edit);
    // The items of a popup as they are now: labels, grey, checks. MENU_BAR gives the top level. Called when the
    // popup is about to open, after WM_INITMENUPOPUP. False when memory fails.
    bool (*menuItems)(MenuId menu, Array<MenuItem>& items);
    // An open dialog's focus has moved: a reference edit lets the grid write into it.
    void (*dialogFocused)(Dialog& dialog) = [](Dialog&) {};
    // Works the places of an open dialog's controls out anew.
    void (*layOutDialog)(Dialog& dialog) = [](Dialog&) {};
    // The user has changed the text or the caret of an edit control. What the shell does through the rows of
    // the platform it knows and is not told; one change may be told more than once.
    void (*editChanged)(EditHandle edit) = [](EditHandle) {};
    // All that is painted, told as a tree of items (Accessible.h). False when memory fails.
    bool (*accessibleItems)(Array<AccessibleItem>& items) = [](Array<AccessibleItem>&) { return true; };
    // The user has dropped files on the frame, one at least. Called when the program they came from is done.
    void (*filesDropped)(std::span<const WideText> paths) = [](std::span<const WideText>) {};
};
const FrameCalls& FrameCallsInUse();
void UseFrameCalls(const FrameCalls& calls);
// WM_COMMAND as a menu item sends it. False when nobody takes it.
bool SendCommand(i32 command, CommandSender sender = SENDER_MENU);

// ---- menu items --------------------------------------------------------------------------------------
// A text as a label that shows every "&" in it.
[[nodiscard]] bool AppendPlainLabel(WideText& label, WideView text);
[[nodiscard]] bool AddMenuItem(Array<MenuItem>& items, i32 command, WideView text, bool enabled, bool checked);

}  // namespace tally
