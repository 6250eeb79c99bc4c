// What an input method composes is the edit control's from its first key, over the grid as well: the control
// shows what is unfinished and takes what is committed.

#include <QApplication>
#include <QInputMethod>
#include <QTextBlock>
#include <QTextLayout>

#include "platform/qt/QtFrame.h"

namespace tally {
namespace {

// Long enough for the keys that are on their way.
constexpr int QUIET_TIME = 300;

// The control that shows what is composed.
EditHandle ShownBy() {
    const Frame* frame = FrameInUse();
    if (frame->composing != EDIT_NONE) return frame->composing;
    return frame->wanted == EDIT_NONE ? ENTRY_LINE : frame->wanted;
}
QString Unfinished() { return EditBox(ShownBy()).textCursor().block().layout()->preeditAreaText(); }

// A composition that was given up is still held by some input methods, and would be committed when another
// window gets the focus. At once would be too soon: what is typed ahead would go with it, and some end a
// composition before they commit it.
void ForgetComposition() {
    if (Unfinished().isEmpty()) QGuiApplication::inputMethod()->reset();
}

void MoveFocus() {
    if (FrameInUse() && FrameInUse()->composing == EDIT_NONE) FocusWanted();
}

// An input method that loses the focus commits what it holds. In the midst of its own commit it still holds
// that, and the text would come twice.
void MoveFocusSoon() { QMetaObject::invokeMethod(&FrameInUse()->client, MoveFocus, Qt::QueuedConnection); }

// The shell opens a control for what begins over the grid. False where there is nothing to type into.
bool OpenControl() {
    Frame* frame = FrameInUse();
    // The focus stays where it is until the shell has said which.
    frame->composing = ENTRY_LINE;
    SendPlain(WM_IME_STARTCOMPOSITION);
    if (!FrameInUse()) return false;
    frame->composing = EDIT_NONE;
    if (frame->wanted == EDIT_NONE) QGuiApplication::inputMethod()->reset();
    else if (frame->wanted == ENTRY_LINE) FocusWanted();
    else frame->composing = frame->wanted;
    return frame->wanted != EDIT_NONE;
}

}  // namespace

void ConnectInputMethod() {
    QTimer& timer = FrameInUse()->givenUp;
    timer.setSingleShot(true);
    timer.setInterval(QUIET_TIME);
    QObject::connect(&timer, &QTimer::timeout, &FrameInUse()->window, ForgetComposition);
}

bool Compose(EditHandle edit, QInputMethodEvent* event) {
    Frame* frame = FrameInUse();
    const bool unfinished = !event->preeditString().isEmpty();
    if (event->commitString().isEmpty() && !unfinished && !Unfinished().isEmpty()) frame->givenUp.start();
    else frame->givenUp.stop();
    if (frame->wanted == EDIT_NONE) {
        if (!unfinished) return SendCharacters(event->commitString(), 0);
        if (!OpenControl()) return true;
    }
    if (frame->composing == EDIT_NONE || frame->composing == edit)
        return OfferCharacters(edit, event->commitString(), 0);
    QCoreApplication::sendEvent(&EditBox(frame->composing), event);
    if (!FrameInUse() || unfinished) return true;
    frame->composing = EDIT_NONE;
    MoveFocusSoon();
    return true;
}

// Of the text around its place it is told once it composes; before, the line shows what stands in the cell.
bool AnswerInputMethod(EditHandle edit, QInputMethodQueryEvent* event) {
    const Frame* frame = FrameInUse();
    if (frame->wanted == edit) return false;
    const QWidget &box = EditBox(ShownBy()), &asked = EditBox(edit);
    const u32 queries = static_cast<u32>(event->queries().toInt());
    for (int bit = 0; bit < 32; ++bit) {
        const auto query = static_cast<Qt::InputMethodQuery>(queries & 1u << bit);
        if (!query) continue;
        if (query == Qt::ImEnabled) {
            event->setValue(query, true);
        } else if (query == Qt::ImCursorRectangle || query == Qt::ImAnchorRectangle) {
            event->setValue(query, box.inputMethodQuery(query).toRect().translated(box.pos() - asked.pos()));
        } else if (frame->composing != EDIT_NONE) {
            event->setValue(query, box.inputMethodQuery(query));
        }
    }
    event->accept();
    return true;
}

void FinishComposition() {
    if (Unfinished().isEmpty()) return;
    QGuiApplication::inputMethod()->commit();
    // Not every input method knows how, nor any that has lost the focus.
    if (!FrameInUse() || Unfinished().isEmpty()) return;
    QInputMethodEvent event;
    event.setCommitString(Unfinished());
    QCoreApplication::sendEvent(&EditBox(ShownBy()), &event);
    if (!FrameInUse()) return;
    FrameInUse()->composing = EDIT_NONE;
    QGuiApplication::inputMethod()->reset();
}

}  // namespace tally
