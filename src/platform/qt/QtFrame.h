#pragma once
// The frame's widgets and how their events become messages.

#include <QInputMethodEvent>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTimer>
#include <QWidget>
#include <optional>

#include "platform/qt/QtDesktop.h"

namespace tally {

constexpr i32 TIMER_COUNT = 8;  // numbered from 1

// Null before OpenFrame.
struct Frame;
Frame* FrameInUse();

// Hands every event of what it is installed on to a routine, which tells whether the event ends there. What
// comes while the frame is taken down is nobody's.
class EventTap : public QObject {
  public:
    using Handler = bool (*)(QEvent* event);
    explicit EventTap(Handler handler) : handler_(handler) {}
    bool eventFilter(QObject*, QEvent* event) override { return FrameInUse() && handler_(event); }

  private:
    Handler handler_;
};

// The same for an edit control.
class EditTap : public QObject {
  public:
    using Handler = bool (*)(EditHandle edit, QEvent* event);
    EditTap(EditHandle edit, Handler handler) : edit_(edit), handler_(handler) {}
    bool eventFilter(QObject*, QEvent* event) override { return FrameInUse() && handler_(edit_, event); }

  private:
    EditHandle edit_;
    Handler handler_;
};

// One edit control of the shell; made when it is first shown, written into or given the focus.
struct EditControl {
    EditControl(EditHandle edit, QWidget& parent);

    EditTap keys, clicks;
    QPlainTextEdit box;
    i32 ownChanges = 0;  // rows of the table that act on it now
};

// While the grid has the keyboard, the toolkit's focus is in the entry line: an input method would lose what it
// composes if the focus went there with the first letter.
struct Frame {
    explicit Frame(const FrameCalls& frameCalls);

    FrameCalls calls;
    EventTap windowTap, clientTap;
    QWidget window;
    QMenuBar menuBar{&window};
    QWidget client{&window};
    std::optional<EditControl> edits[EDIT_COUNT];
    QScrollBar vertical{Qt::Vertical, &client}, horizontal{Qt::Horizontal, &client};
    QTimer timers[TIMER_COUNT];
    int wheel = 0, sidewaysWheel = 0;  // of the wheel, what is not yet a notch
    EditHandle wanted = EDIT_NONE;     // what the shell gave the keyboard; none: the grid
    // An input method has an unfinished text, which began in the line and is shown by this other control.
    EditHandle composing = EDIT_NONE;
    QTimer givenUp;                      // since a composition ended with nothing
    bool quitting = false;               // the message loop has been told to end
    i32 dpi = 96;                        // that everything is laid out for
    QMetaObject::Connection resolution;  // to the screen that the window is on
};

bool Send(const ShellMessage& message);
bool SendPlain(u32 number);
// A WM_CHAR for each unit; true.
bool SendCharacters(const QString& text, u32 modifiers);
// True when the shell swallowed one of the characters, which the control must not take then.
bool OfferCharacters(EditHandle edit, const QString& text, u32 modifiers);
// The parent of dialogs: the dialog that is open, else the frame, when there is one.
QWidget* DialogParent();

// ---- events ------------------------------------------------------------------------------------------
bool HandleWindowEvent(QEvent* event);
bool HandleClientEvent(QEvent* event);
bool HandleEditEvent(EditHandle edit, QEvent* event);
bool HandleEditClick(EditHandle edit, QEvent* event);
void ConnectScrollBar(QScrollBar& bar, u32 message);
void PlaceChildren();

// ---- keys --------------------------------------------------------------------------------------------
// The KeyCode of a key of the toolkit; 0 when it has none. The digits of the number pad are told apart.
u32 KeyCodeOf(int key, Qt::KeyboardModifiers modifiers);
u32 ModifiersOf(Qt::KeyboardModifiers modifiers);
// The text that a key types, as characters arrive: nothing while Ctrl or Alt is held.
QString TypedText(int key, Qt::KeyboardModifiers modifiers, const QString& text);

// ---- the input method (QtInputMethod.cpp) -------------------------------------------------------------
void ConnectInputMethod();
// What it composes where the focus is. True when the control must not take it.
bool Compose(EditHandle edit, QInputMethodEvent* event);
// True when it has been told what it asks.
bool AnswerInputMethod(EditHandle edit, QInputMethodQueryEvent* event);
// What is unfinished goes into the control that shows it, as it stands. To be called before what may store its
// text.
void FinishComposition();

// ---- menus -------------------------------------------------------------------------------------------
// Fills the menu bar anew; its popups fill themselves when they open.
void FillMenuBar();
i32 QtTrackPopup(const Array<MenuItem>& items, i32 x, i32 y);

// ---- the screen --------------------------------------------------------------------------------------
// The first size of the window and its least one, for the screen that it is on.
void SizeWindow();
// The window is shown: from now on it follows the resolution of the screen that it is on.
void ConnectScreens();

// ---- the end of the session -------------------------------------------------------------------------
// A signal to end and the end of the session close the frame as the user does.
void ConnectSession();
enum SessionEnd : unsigned char { SESSION_ENDS, SESSION_STAYS, SESSION_WAS_NOT_ASKED };
// The session is about to end: what is unsaved is kept, then, where the user may be asked, the frame closes as
// ever. A Cancel keeps the session.
SessionEnd EndOfSession(bool (*mayAsk)(void* context), void* context);

// ---- waiting ----------------------------------------------------------------------------------------
// Escape ends what lasts long.
void ConnectWaiting();
bool QtKeyWaits(WaitingKeys keys);

// ---- rows of the tables --------------------------------------------------------------------------------
// The region of the environment, for the rows that tell of it.
void ReadUserRegion();
i32 QtMessageBox(WideView text, WideView title, u32 flags);
bool QtOpenFileDialog(std::span<const FileFilter> filters, WideText& path);
bool QtSaveFileDialog(std::span<const FileFilter> filters, i32& filter, WideText& path);
void QtRunDialog(Dialog& dialog);
void QtShowDialog(Dialog& dialog);
void QtSyncDialog(Dialog& dialog);
// The window of the dialog that is in front; null without one.
QWidget* TopDialogWindow();
// Works the places of all open dialogs out anew.
void LayOutDialogViews();
void CloseDialogViews();
bool QtReadSetting(WideView section, WideView key, WideText& out);
bool QtWriteSetting(WideView section, WideView key, WideView value);
void CloseSettings();
bool QtOpenExternally(WideView path);
// Before the first question about the clipboard.
void ConnectClipboardChanges();
bool QtClipboardHas(u32 format);
bool QtReadClipboard(u32 format, Array<u8>& out);
bool QtPutClipboard(std::span<const ClipboardItem> items);
const PrinterTable& QtPrinting();

// The widget of an edit control, made when there is none yet. There must be a frame.
QPlainTextEdit& EditBox(EditHandle edit);
void QtPlaceEdit(EditHandle edit, const PixelRect& place, bool shown);
bool QtEditText(EditHandle edit, WideText& out);
void QtSetEditText(EditHandle edit, WideView text);
void QtEditSelection(EditHandle edit, i32& start, i32& end);
void QtSelectEdit(EditHandle edit, i32 start, i32 end);
void QtReplaceEditSelection(EditHandle edit, WideView text);
void QtFocusEdit(EditHandle edit);
// Puts the toolkit's focus where it belongs.
void FocusWanted();
void QtEditAction(EditHandle edit, EditAction action);
bool QtEditCanUndo(EditHandle edit);

}  // namespace tally
