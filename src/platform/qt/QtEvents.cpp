#include <QApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QWheelEvent>
#include <cstdlib>

#include "platform/qt/QtFrame.h"
#include "platform/qt/QtPainting.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

bool SendPlain(u32 number) {
    ShellMessage message;
    message.message = number;
    return Send(message);
}

bool SendMouse(u32 number, const QMouseEvent* event) {
    ShellMessage message;
    message.message = number;
    const QPoint place = event->position().toPoint();
    message.x = place.x();
    message.y = place.y();
    message.modifiers = ModifiersOf(event->modifiers());
    Send(message);
    return true;
}

bool PressMouse(const QMouseEvent* event, bool isDouble) {
    if (event->button() == Qt::LeftButton)
        return SendMouse(isDouble ? WM_LBUTTONDBLCLK : WM_LBUTTONDOWN, event);
    if (event->button() == Qt::RightButton) return SendMouse(WM_RBUTTONDOWN, event);
    return false;
}

// A finger on a pad comes in many small pieces, which are gathered to notches.
void SendNotches(u32 number, int angle, int& gathered, const QWheelEvent* event) {
    constexpr int NOTCH = 120;
    if (angle == 0) return;
    if ((angle < 0) != (gathered < 0)) gathered = 0;
    gathered += angle;
    const int notches = gathered / NOTCH;
    gathered -= notches * NOTCH;
    ShellMessage message;
    message.message = number;
    message.wheel = notches < 0 ? -NOTCH : NOTCH;
    message.x = event->position().toPoint().x();
    message.y = event->position().toPoint().y();
    message.modifiers = ModifiersOf(event->modifiers());
    for (int i = 0; i < std::abs(notches) && FrameInUse(); ++i) Send(message);
}

bool SendWheel(const QWheelEvent* event) {
    SendNotches(WM_MOUSEWHEEL, event->angleDelta().y(), FrameInUse()->wheel, event);
    // The toolkit counts to the left.
    if (Frame* frame = FrameInUse())
        SendNotches(WM_MOUSEHWHEEL, -event->angleDelta().x(), frame->sidewaysWheel, event);
    return true;
}

void SendSize(bool minimised) {
    Frame* frame = FrameInUse();
    ShellMessage message;
    message.message = WM_SIZE;
    message.x = frame->client.width();
    message.y = frame->client.height();
    message.minimised = minimised;
    Send(message);
}

// The widget is inside its paint event here, so it may be painted on.
void SendPaint(QPainter& painter, const QRect& rect) {
    QtSurface surface;
    DrawTarget target =
        MakePaintTarget(surface, painter, {rect.left(), rect.top(), rect.right() + 1, rect.bottom() + 1});
    ShellMessage message;
    message.message = WM_PAINT;
    message.target = &target;
    message.paint = target.clip;
    Send(message);
}

// A moved selection is a few narrow pieces far apart; their common rectangle would be the whole window.
bool PaintClient(const QPaintEvent* event) {
    constexpr int MAX_PIECES = 16;
    const QRegion& region = event->region();
    QPainter painter(&FrameInUse()->client);
    if (region.rectCount() > MAX_PIECES) SendPaint(painter, region.boundingRect());
    else
        for (const QRect& piece : region) SendPaint(painter, piece);
    return true;
}

bool SendCharacters(const QString& text, u32 modifiers) {
    ShellMessage message;
    message.message = WM_CHAR;
    message.modifiers = modifiers;
    for (QChar unit : text) {
        message.key = unit.unicode();
        Send(message);
    }
    return true;
}

bool SendMenuKey() {
    ShellMessage message;
    message.message = WM_CONTEXTMENU;
    message.x = message.y = -1;
    return Send(message);
}

bool PressClientKey(const QKeyEvent* event) {
    Frame* frame = FrameInUse();
    ShellMessage message;
    message.message = WM_KEYDOWN;
    message.key = KeyCodeOf(event->key(), event->modifiers());
    message.modifiers = ModifiersOf(event->modifiers());
    if (message.key && frame->calls.translateAccelerator(message.key, message.modifiers)) return true;
    if (event->key() == Qt::Key_F1) return SendPlain(WM_HELP), true;
    // With Alt a key is the menu bar's.
    if (message.modifiers & KEY_ALT) return false;
    const bool taken = message.key && Send(message);
    if (message.key == VK_APPS) return taken || SendMenuKey();
    return SendCharacters(TypedText(event->key(), event->modifiers(), event->text()), message.modifiers);
}

// An input method composes in the window that had the focus when it began. It is the text of the edit control
// that the shell opens all the same: that shows what is unfinished and takes what is committed. The focus
// follows when the composition is over, as it would end with the focus.
bool ComposeInClient(QInputMethodEvent* event) {
    Frame* frame = FrameInUse();
    const bool unfinished = !event->preeditString().isEmpty();
    if (frame->composing == EDIT_NONE) {
        if (!unfinished) return SendCharacters(event->commitString(), 0);
        // The line, as long as the shell has not said which: it keeps the focus from moving.
        frame->composing = ENTRY_LINE;
        frame->wanted = EDIT_NONE;
        SendPlain(WM_IME_STARTCOMPOSITION);
        if (!FrameInUse()) return true;
        frame->composing = frame->wanted;
        if (frame->composing == EDIT_NONE) {
            // There is nothing here to type into.
            QGuiApplication::inputMethod()->reset();
            return true;
        }
    }
    QCoreApplication::sendEvent(&EditBox(frame->composing), event);
    if (!FrameInUse() || unfinished) return true;
    frame->composing = EDIT_NONE;
    if (frame->wanted != EDIT_NONE) EditBox(frame->wanted).setFocus();
    return true;
}

// What the input method wants to know of the text around its place: that is the edit control's while it
// composes.
bool AnswerInputMethod(QInputMethodQueryEvent* event) {
    Frame* frame = FrameInUse();
    const bool composing = frame->composing != EDIT_NONE;
    const QWidget& box = EditBox(composing ? frame->composing : ENTRY_LINE);
    const u32 asked = static_cast<u32>(event->queries().toInt());
    for (int bit = 0; bit < 32; ++bit) {
        const auto query = static_cast<Qt::InputMethodQuery>(asked & 1u << bit);
        if (!query) continue;
        if (query == Qt::ImEnabled) {
            event->setValue(query, true);
        } else if (query == Qt::ImCursorRectangle || query == Qt::ImAnchorRectangle) {
            event->setValue(query, box.inputMethodQuery(query).toRect().translated(box.pos()));
        } else if (composing) {
            event->setValue(query, box.inputMethodQuery(query));
        }
    }
    event->accept();
    return true;
}

// A press of the mouse may store what the line holds, so that what is unfinished goes into it first.
void FinishComposition() {
    if (FrameInUse()->composing != EDIT_NONE) QGuiApplication::inputMethod()->commit();
}

// The pointer is no longer over what the shell paints.
bool SendPointerLeft() {
    if (QApplication::mouseButtons() != Qt::NoButton) return false;
    ShellMessage message;
    message.message = WM_MOUSEMOVE;
    message.x = message.y = -1;
    Send(message);
    return false;
}

// True when the shell swallowed one of the characters.
bool OfferCharacters(EditHandle edit, const QString& text, u32 modifiers) {
    bool swallowed = false;
    for (QChar unit : text) swallowed |= FrameInUse()->calls.editChar(edit, unit.unicode(), modifiers);
    return swallowed;
}

bool PressEditKey(EditHandle edit, const QKeyEvent* event) {
    Frame* frame = FrameInUse();
    const u32 key = KeyCodeOf(event->key(), event->modifiers()), modifiers = ModifiersOf(event->modifiers());
    if (key && frame->calls.translateAccelerator(key, modifiers)) return true;
    if (event->key() == Qt::Key_F1) return SendPlain(WM_HELP), true;
    if (key && frame->calls.editKeyDown(edit, key, modifiers)) return true;
    // An editor of plain text has keys of its own that end a line; here they are the shell's alone.
    if (key == VK_RETURN && modifiers & KEY_CTRL) return true;
    if (key == VK_RETURN && modifiers & KEY_ALT) {
        QtReplaceEditSelection(edit, u"\n");
        frame->calls.editChanged(edit);
        return true;
    }
    // With Alt a key is the menu bar's, and its character nobody's.
    if (modifiers & KEY_ALT) return !event->text().isEmpty();
    return OfferCharacters(edit, TypedText(event->key(), event->modifiers(), event->text()), modifiers);
}

}  // namespace

bool HandleWindowEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::Resize: PlaceChildren(); return false;
        case QEvent::WindowStateChange:
            if (FrameInUse()->window.isMinimized()) SendSize(true);
            return false;
        case QEvent::Close:
            // The shell asks its questions and quits itself, or stays.
            event->ignore();
            SendPlain(WM_CLOSE);
            return true;
        default: return false;
    }
}

bool HandleClientEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::Paint: return PaintClient(static_cast<QPaintEvent*>(event));
        case QEvent::Resize: SendSize(false); return false;
        case QEvent::FocusIn: SendPlain(WM_SETFOCUS); return false;
        case QEvent::KeyPress: return PressClientKey(static_cast<QKeyEvent*>(event));
        case QEvent::InputMethod: return ComposeInClient(static_cast<QInputMethodEvent*>(event));
        case QEvent::InputMethodQuery: return AnswerInputMethod(static_cast<QInputMethodQueryEvent*>(event));
        case QEvent::MouseButtonPress:
            FinishComposition();
            return FrameInUse() && PressMouse(static_cast<QMouseEvent*>(event), false);
        case QEvent::MouseButtonDblClick: return PressMouse(static_cast<QMouseEvent*>(event), true);
        case QEvent::MouseButtonRelease:
            return static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton &&
                   SendMouse(WM_LBUTTONUP, static_cast<QMouseEvent*>(event));
        case QEvent::MouseMove: return SendMouse(WM_MOUSEMOVE, static_cast<QMouseEvent*>(event));
        case QEvent::Leave: return SendPointerLeft();
        case QEvent::Wheel: return SendWheel(static_cast<QWheelEvent*>(event));
        default: return false;
    }
}

bool HandleEditEvent(EditHandle edit, QEvent* event) {
    if (event->type() == QEvent::Enter) return SendPointerLeft();
    if (event->type() == QEvent::KeyPress) return PressEditKey(edit, static_cast<QKeyEvent*>(event));
    if (event->type() == QEvent::InputMethod) {
        return OfferCharacters(edit, static_cast<QInputMethodEvent*>(event)->commitString(), 0);
    }
    return false;
}

bool HandleEditClick(EditHandle edit, QEvent* event) {
    if (event->type() != QEvent::MouseButtonPress && event->type() != QEvent::MouseButtonDblClick) return false;
    if (FrameInUse()->calls.editClick(edit)) return false;
    // The toolkit has given the control the focus already.
    FrameInUse()->client.setFocus();
    return true;
}

void ConnectScrollBar(QScrollBar& bar, u32 number) {
    const auto send = [&bar, number](ScrollCode code) {
        ShellMessage message;
        message.message = number;
        message.scrollCode = code;
        message.scrollPosition = bar.sliderPosition();
        Send(message);
    };
    QObject::connect(&bar, &QScrollBar::actionTriggered, &bar, [&bar, send](int action) {
        switch (action) {
            case QAbstractSlider::SliderSingleStepSub: send(SB_LINEUP); break;
            case QAbstractSlider::SliderSingleStepAdd: send(SB_LINEDOWN); break;
            case QAbstractSlider::SliderPageStepSub: send(SB_PAGEUP); break;
            case QAbstractSlider::SliderPageStepAdd: send(SB_PAGEDOWN); break;
            case QAbstractSlider::SliderMove: send(SB_THUMBTRACK); return;
            default: return;
        }
        // Where the bar stands after a step is for the shell to say.
        bar.setSliderPosition(bar.value());
    });
    QObject::connect(&bar, &QScrollBar::sliderReleased, &bar, [send] { send(SB_THUMBPOSITION); });
}

}  // namespace tally
