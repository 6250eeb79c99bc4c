#include <QApplication>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QUrl>
#include <QWheelEvent>
#include <cstdlib>

#include "platform/qt/QtAccessible.h"
#include "platform/qt/QtFrame.h"
#include "platform/qt/QtPainting.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

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

bool SendMenuKey() {
    ShellMessage message;
    message.message = WM_CONTEXTMENU;
    message.x = message.y = -1;
    return Send(message);
}

bool PressGridKey(const QKeyEvent* event) {
    Frame* frame = FrameInUse();
    ShellMessage message;
    message.message = WM_KEYDOWN;
    message.key = KeyCodeOf(event->key(), event->modifiers());
    message.modifiers = ModifiersOf(event->modifiers());
    if (message.key && frame->calls.translateAccelerator(message.key, message.modifiers)) return true;
    if (event->key() == Qt::Key_F1) return SendPlain(WM_HELP), true;
    // With Alt a key is the menu bar's.
    if (message.modifiers & KEY_ALT) return true;
    const bool taken = message.key && Send(message);
    if (message.key == VK_APPS) return taken || SendMenuKey(), true;
    return SendCharacters(TypedText(event->key(), event->modifiers(), event->text()), message.modifiers);
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

bool PressKey(EditHandle edit, QKeyEvent* event) {
    // What an input method leaves to the program ends what is unfinished, but for keys that only hold.
    if (KeyCodeOf(event->key(), event->modifiers()) || !event->text().isEmpty()) FinishComposition();
    Frame* frame = FrameInUse();
    if (!frame) return true;
    if (frame->wanted == EDIT_NONE) return PressGridKey(event);
    if (frame->wanted == edit) return PressEditKey(edit, event);
    // The focus is still on its way.
    FocusWanted();
    return frame->wanted == edit || QCoreApplication::sendEvent(&EditBox(frame->wanted), event);
}

// Those that lie on this machine; the others the toolkit could not name by a path.
QStringList FilesOf(const QMimeData* data) {
    QStringList paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) paths.append(url.toLocalFile());
    return paths;
}

bool OfferFiles(QDropEvent* event) {
    if (FilesOf(event->mimeData()).isEmpty()) return event->ignore(), true;
    // The files stay where they are, whatever the other program proposes.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    return true;
}

void OpenDropped(const QStringList& paths) {
    Array<WideText> owned;
    for (const QString& path : paths) {
        WideText* own = owned.AppendDefault();
        if (!own || !own->Assign(ViewOf(path))) return;
    }
    if (FrameInUse()) FrameInUse()->calls.filesDropped({owned.begin(), owned.Count()});
}

// The other program waits for the end of the event, and opening may ask.
bool TakeFiles(QDropEvent* event) {
    const QStringList paths = FilesOf(event->mimeData());
    OfferFiles(event);
    if (!paths.isEmpty())
        QMetaObject::invokeMethod(
            &FrameInUse()->window, [paths] { OpenDropped(paths); }, Qt::QueuedConnection);
    return true;
}

}  // namespace

bool SendPlain(u32 number) {
    ShellMessage message;
    message.message = number;
    return Send(message);
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

bool OfferCharacters(EditHandle edit, const QString& text, u32 modifiers) {
    bool swallowed = false;
    for (QChar unit : text)
        swallowed |= FrameInUse() && FrameInUse()->calls.editChar(edit, unit.unicode(), modifiers);
    return swallowed;
}

bool HandleWindowEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::Resize: PlaceChildren(); return false;
        case QEvent::WindowStateChange:
            if (FrameInUse()->window.isMinimized()) SendSize(true);
            return false;
        case QEvent::DragEnter:
        case QEvent::DragMove: return OfferFiles(static_cast<QDropEvent*>(event));
        case QEvent::Drop: return TakeFiles(static_cast<QDropEvent*>(event));
        case QEvent::Close:
            // The shell asks its questions and quits itself, or stays.
            event->ignore();
            FinishComposition();
            SendPlain(WM_CLOSE);
            return true;
        default: return false;
    }
}

bool HandleClientEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::Paint: return PaintClient(static_cast<QPaintEvent*>(event));
        case QEvent::Resize: SendSize(false); return false;
        case QEvent::KeyPress: return PressGridKey(static_cast<QKeyEvent*>(event));
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
    Frame* frame = FrameInUse();
    switch (event->type()) {
        case QEvent::Enter: return SendPointerLeft();
        case QEvent::FocusIn:
            // A click on the grid has led here, or the window came to the front.
            if (edit != ENTRY_LINE || frame->wanted == ENTRY_LINE || frame->composing != EDIT_NONE)
                return false;
            frame->wanted = EDIT_NONE;
            SendPlain(WM_SETFOCUS);
            TellAccessibleFocus();
            return false;
        case QEvent::FocusOut: FinishComposition(); return false;
        case QEvent::KeyPress: return PressKey(edit, static_cast<QKeyEvent*>(event));
        case QEvent::InputMethod: return Compose(edit, static_cast<QInputMethodEvent*>(event));
        case QEvent::InputMethodQuery:
            return AnswerInputMethod(edit, static_cast<QInputMethodQueryEvent*>(event));
        default: return false;
    }
}

bool HandleEditClick(EditHandle edit, QEvent* event) {
    if (event->type() != QEvent::MouseButtonPress && event->type() != QEvent::MouseButtonDblClick) return false;
    FinishComposition();
    if (!FrameInUse()) return true;
    const bool passes = FrameInUse()->calls.editClick(edit);
    if (!FrameInUse()) return true;
    // The toolkit has given the control the focus already.
    if (passes) QtFocusEdit(edit);
    else FocusWanted();
    return !passes;
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
