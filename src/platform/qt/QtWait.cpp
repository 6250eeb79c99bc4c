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
    bool hidden = false;  // a paint has been held back
};
Waiting waiting;

class WaitTap : public QObject {
  public:
    bool eventFilter(QObject*, QEvent* event) override {
        switch (event->type()) {
            case QEvent::KeyPress:
            case QEvent::ShortcutOverride:
                if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) waiting.escaped = true;
                return true;
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
    waiting.escaped = waiting.hidden = false;
}

void Step(u64, u64) {}

bool Cancelled() {
    const qint64 now = waiting.begun.elapsed();
    if (waiting.escaped || now < waiting.nextLook || !FrameInUse()) return waiting.escaped;
    WaitTap tap;
    QCoreApplication::instance()->installEventFilter(&tap);
    QCoreApplication::processEvents();
    waiting.nextLook = waiting.begun.elapsed() + LOOK_EVERY;
    return waiting.escaped;
}

void End() {
    if (!waiting.hidden || !FrameInUse()) return;
    // The toolkit asks no second time for what it believes asked for already.
    QCoreApplication::postEvent(&FrameInUse()->window, new QEvent(QEvent::UpdateRequest));
    FrameInUse()->window.update();
}

}  // namespace

void ConnectWaiting() { LongOperations() = {Begin, Step, Cancelled, End}; }

}  // namespace tally
