#pragma once
// Dialogs as constant tables. A table names the controls of a dialog and one procedure for what happens to
// them; the record of an open dialog holds what each control shows. The shell works out the places, the toolkit
// puts widgets there, tells what the user does through the User... routines, and shows what became stale.

#include "base/Array.h"
#include "base/WideText.h"
#include "platform/Drawing.h"

namespace tally {

enum ControlKind : u8 {
    CONTROL_LABEL,      // leads to the control behind it in the table
    CONTROL_EDIT,       // one line of text
    CONTROL_MULTILINE,  // several
    CONTROL_SECRET,     // one line that is not to be read on the screen
    CONTROL_CHECK,      // `choice` is 0 or 1; -1 begins undecided
    CONTROL_RADIO,      // 0 or 1; a row of them in one container excludes each other
    CONTROL_LIST,       // a list box, `choice` is the item or -1
    CONTROL_DROP_LIST,  // a list that drops down
    CONTROL_COMBO,      // the same with a line that can be typed into: `text`
    CONTROL_BUTTON,
    CONTROL_SPIN,       // a whole number in `choice` between `minimum` and `maximum`
    CONTROL_SCROLL,     // the same by a scroll bar
    CONTROL_GROUP,      // a frame with a title around the controls that name it as their container
    CONTROL_PAGES,      // the pages that name it as their container, one shown at a time: `choice`
    CONTROL_PAGE,       // a page; its text is the tab's
    CONTROL_REFERENCE,  // a line that the grid writes references into while it has the focus
    CONTROL_PAINTED,    // the procedure paints it and gets its mouse
};

enum ControlFlags : u16 {
    CONTROL_GREY = 1,           // begins so
    CONTROL_HIDDEN = 2,         // likewise
    CONTROL_NEW_SET = 4,        // of radio buttons: the first of another row in the same container
    CONTROL_DEFAULT = 8,        // of buttons: Enter presses it
    CONTROL_RIGHT = 16,         // the text stands at the right
    CONTROL_NO_TABS = 32,       // of pages: led by buttons, as a wizard's
    CONTROL_NATURAL = 64,       // not stretched over its cells
    CONTROL_RELATIVE = 128,     // of reference edits: references without "$"
    CONTROL_FILL_HEIGHT = 256,  // stretched downwards, too
    CONTROL_PICKER = 512,       // of painted controls: it has items and a choice, as a drop list has
};

// Where a control stands among those of its container: a cell of a grid whose lines take the room that their
// contents want.
struct LayoutCell {
    i16 row = 0, column = 0;
    i16 columns = 1;  // that it spans
    i16 rows = 1;
};

// Numbers of a dialog's own controls begin here; OK and Cancel are IDOK and IDCANCEL.
constexpr i32 FIRST_CONTROL = 100;

// One row of a dialog's table.
struct ControlRow {
    i32 id = 0;
    ControlKind kind = CONTROL_LABEL;
    u16 text = 0;  // message number; 0 for none
    LayoutCell cell = {};
    i16 width = 0;      // in digits; 0 for what the content wants
    i16 lines = 0;      // of lists, several lines and painted controls; 0 for the kind's own
    i32 container = 0;  // number of the group or page around it; 0 is the dialog
    u16 flags = 0;
};

struct Dialog;

enum DialogEventKind : u8 {
    DIALOG_START,         // before it is shown: controls are filled
    DIALOG_CHANGED,       // the user changed a control
    DIALOG_PRESSED,       // a button
    DIALOG_DOUBLE_CLICK,  // on a list; true accepts the dialog
    DIALOG_PAGE_LEFT,     // `value` is the page asked for; false stays
    DIALOG_FOCUS,         // a control got the focus
    DIALOG_ACCEPT,        // OK; false keeps the dialog open, the reason having been shown
    DIALOG_CANCEL,        // Cancel or Escape; false keeps it open
    DIALOG_TIMER,         // every `timer` milliseconds
    DIALOG_PAINT,         // a painted control: `target` and `paint`
    DIALOG_MOUSE,         // on a painted control: `value` is the message, x and y count from its corner
    DIALOG_KEY,           // in a painted control: `value` is the KeyCode
    DIALOG_END,           // it is gone from the screen; `value` tells whether it was accepted
};

struct DialogEvent {
    DialogEventKind kind = DIALOG_START;
    i32 control = 0;
    i32 value = 0;
    i32 x = 0, y = 0;
    DrawTarget* target = nullptr;
    PixelRect paint = {};  // the place of the control on the target
};

// True goes on as usual, which is the answer to every kind that a procedure does not know.
using DialogProcedure = bool (*)(Dialog& dialog, const DialogEvent& event);

enum DialogButtons : u8 { BUTTONS_OK_CANCEL, BUTTONS_CLOSE, BUTTONS_NONE };

struct DialogTable {
    u16 title = 0;  // message number
    std::span<const ControlRow> rows;
    DialogProcedure procedure = nullptr;
    DialogButtons buttons = BUTTONS_OK_CANCEL;
};

struct DialogItem {
    WideText text;
    bool enabled = true;
};

// What a control shows now.
struct Control {
    ControlRow row;
    i32 container = -1;  // index of the control around it
    bool enabled = true, shown = true;
    bool stale = true;  // the toolkit does not show it as it is
    WideText label;     // labels, buttons, checks, radios, groups, pages
    WideText text;      // what is typed into it
    i32 choice = 0;
    i32 minimum = 0, maximum = 100;
    i32 selectStart = -1, selectEnd = -1;  // of the text, to be selected; -1: as it is
    Array<DialogItem> items;
    bool itemsStale = false;
    PixelRect place;  // on the dialog
};

// An open dialog. Its memory is the shell's; the toolkit hangs what it needs on `widgets`.
struct Dialog {
    const DialogTable* table = nullptr;
    void* context = nullptr;  // the caller's
    WideText title;
    Array<Control> controls;
    i32 width = 0, height = 0;  // of its inside, in pixels
    i32 focus = 0;              // the control that is to have the focus; 0 the first that can
    i32 timer = 0;              // milliseconds; 0 for none
    i32 shrunkTo = 0;           // the reference edit that alone is shown
    bool modeless = false;      // the frame goes on meanwhile
    bool ended = false, accepted = false;
    bool placesStale = false;  // it was laid out anew
    void* widgets = nullptr;
};

// ---- what procedures and callers ask and set -------------------------------------------------------------
// A control that a dialog does not have is nobody's: reading gives the default, setting does nothing.

Control* FindControl(Dialog& dialog, i32 id);
const Control* FindControl(const Dialog& dialog, i32 id);
WideView ControlText(const Dialog& dialog, i32 id);
i32 ControlChoice(const Dialog& dialog, i32 id);
bool IsChecked(const Dialog& dialog, i32 id);
// Whether a control has items to choose from.
bool HasItems(const ControlRow& row);
// The radio button that is chosen in the row that `id` belongs to; 0 for none.
i32 ChosenRadio(const Dialog& dialog, i32 id);

// False when memory fails.
[[nodiscard]] bool SetControlText(Dialog& dialog, i32 id, WideView text);
[[nodiscard]] bool SetControlLabel(Dialog& dialog, i32 id, WideView label);
[[nodiscard]] bool AddControlItem(Dialog& dialog, i32 id, WideView text, bool enabled = true);
void ClearControlItems(Dialog& dialog, i32 id);
// Of a radio button: chosen, and the others of its row not.
void SetControlChoice(Dialog& dialog, i32 id, i32 choice);
void SetControlRange(Dialog& dialog, i32 id, i32 minimum, i32 maximum);
void EnableControl(Dialog& dialog, i32 id, bool enabled);
void ShowControl(Dialog& dialog, i32 id, bool shown);
// The whole text selected, and the focus there.
void SelectControlText(Dialog& dialog, i32 id);
// A painted control is to be painted anew.
void RepaintControl(Dialog& dialog, i32 id);
void EndDialog(Dialog& dialog, bool accepted);
// Whether a control is to be seen: it and all around it are shown, on the page that is chosen.
bool IsControlVisible(const Dialog& dialog, const Control& control);
// Whether it and all around it are enabled, too.
bool IsControlReachable(const Dialog& dialog, const Control& control);

// ---- what a user does, as the toolkit tells it ------------------------------------------------------------
// Each acts on a control that can be reached and sends the events that follow.

void UserEdits(Dialog& dialog, i32 id, WideView text);
// An item, a number, a page; 0 or 1 of a check; of a radio button anything.
void UserChooses(Dialog& dialog, i32 id, i32 choice);
void UserPresses(Dialog& dialog, i32 id);
void UserDoubleClicks(Dialog& dialog, i32 id);
void UserFocuses(Dialog& dialog, i32 id);
// The button beside a reference edit: the dialog shrinks to it, or grows again.
void UserShrinks(Dialog& dialog, i32 id);
// Enter and Escape, where no control wants them.
void UserAccepts(Dialog& dialog);
void UserCancels(Dialog& dialog);
bool SendDialogEvent(Dialog& dialog, const DialogEvent& event);
// It is gone from the screen: the grid lets go of it, and DIALOG_END is sent.
void FinishDialog(Dialog& dialog);

}  // namespace tally
