#include <QCoreApplication>
#include <QElapsedTimer>
#include <QKeyEvent>

#include "base/LongOperation.h"
#include "platform/qt/QtFrame.h"

// While an operation lasts the desktop is looked at now and then: Escape ends the operation, and nothing else
// that the user does reaches the window in the middle of it.

namespace tally {
namespace {

constexpr qint64 PATIENCE = 500;  // milliseconds before the first look
constexpr qint64 LOOK_EVERY = 100;

struct Waiting {
    QElapsedTimer begun;
    qint64 nextLook = 0;
    bool escaped = false;
    bool pressed = false;  // any key but the shifting ones
    bool hidden = false;   // a paint has been held back
};
Waiting waiting;

void NoteKey(int key) {
    if (key == Qt::Key_Escape) waiting.escaped = true;
    // Keys that only change others are numbered from here to there.
    if (key < Qt::Key_Shift || key > Qt::Key_ScrollLock) waiting.pressed = true;
}

class WaitTap : public QObject {
  public:
    bool eventFilter(QObject*, QEvent* event) override {
        switch (event->type()) {
            case QEvent::KeyPress:
            case QEvent::ShortcutOverride: NoteKey(static_cast<QKeyEvent*>(event)->key()); return true;
            case QEvent::Expose:
            case QEvent::Paint:
            case QEvent::UpdateRequest: waiting.hidden = true; return true;
            case QEvent::KeyRelease:
            case QEvent::Shortcut:
            case QEvent::InputMethod:
            case QEvent::MouseButtonPress:
            case QEvent::MouseButtonRelease:
            case QEvent::MouseButtonDblClick:
            case QEvent::MouseMove:
            case QEvent::Wheel:
            case QEvent::ContextMenu:
            case QEvent::DragEnter:
            case QEvent::Drop:
            case QEvent::Close:
            case QEvent::Timer: return true;
            default: return false;
        }
    }
};

void Begin(LongOperationKind) {
    waiting.begun.start();
    waiting.nextLook = PATIENCE;
    waiting.escaped = waiting.pressed = waiting.hidden = false;
}

void Step(u64, u64) {}

void Look() {
    WaitTap tap;
    QCoreApplication::instance()->installEventFilter(&tap);
    QCoreApplication::processEvents();
    waiting.nextLook = waiting.begun.elapsed() + LOOK_EVERY;
}

bool Cancelled() {
    if (!waiting.escaped && waiting.begun.elapsed() >= waiting.nextLook && FrameInUse()) Look();
    return waiting.escaped;
}

void End() {
    if (!waiting.hidden || !FrameInUse()) return;
    // The toolkit asks no second time for what it believes asked for already.
    QCoreApplication::postEvent(&FrameInUse()->window, new QEvent(QEvent::UpdateRequest));
    FrameInUse()->window.update();
}

}  // namespace

bool QtKeyWaits(WaitingKeys keys) {
    if (!FrameInUse()) return false;
    if (!waiting.begun.isValid()) waiting.begun.start();
    if (waiting.begun.elapsed() >= waiting.nextLook) {
        Look();
        End();
    }
    const bool waits = keys == WAITING_ANY ? waiting.pressed : waiting.escaped;
    waiting.escaped = waiting.pressed = false;
    return waits;
}

void ConnectWaiting() { LongOperations() = {Begin, Step, Cancelled, End}; }

}  // namespace tally
