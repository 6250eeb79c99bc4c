// The ends of the program that do not come from its window: the system asks it to end, or the session does.

#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <QDialog>
#include <QSessionManager>
#include <QSocketNotifier>
#include <QTimer>
#include <csignal>

#include "platform/qt/QtFrame.h"

namespace tally {
namespace {

// A signal may come at any moment; it leaves a byte here, and the message loop finds it.
int signalPipe[2] = {-1, -1};

void OnSignal(int) {
    const char byte = 0;
    IgnoreFailure(write(signalPipe[1], &byte, 1) == 1);
}

// As the window's close button, once nothing modal stands in front of it: questions are asked there.
void CloseAsTheUserDoes() {
    if (!FrameInUse()) return;
    QWidget* open = QApplication::activePopupWidget();
    if (!open) open = QApplication::activeModalWidget();
    if (!open) {
        ShellMessage message;
        message.message = WM_CLOSE;
        Send(message);
        return;
    }
    if (auto* dialog = qobject_cast<QDialog*>(open)) dialog->reject();
    else open->close();
    QTimer::singleShot(0, &FrameInUse()->window, CloseAsTheUserDoes);
}

// Whoever asked may not wait for the answers.
void KeepWhatIsUnsaved() {
    ShellMessage message;
    message.message = WM_QUERYENDSESSION;
    if (FrameInUse()) Send(message);
}

void ReadSignals() {
    char bytes[16];
    while (read(signalPipe[0], bytes, sizeof bytes) > 0) {
    }
    KeepWhatIsUnsaved();
    CloseAsTheUserDoes();
}

void CommitSession(QSessionManager& manager) {
    switch (EndOfSession(
        [](void* context) { return static_cast<QSessionManager*>(context)->allowsInteraction(); }, &manager)) {
        case SESSION_STAYS: return manager.cancel();
        case SESSION_ENDS: return manager.release();
        case SESSION_WAS_NOT_ASKED: return;
    }
}

}  // namespace

SessionEnd EndOfSession(bool (*mayAsk)(void* context), void* context) {
    KeepWhatIsUnsaved();
    if (!FrameInUse() || !mayAsk(context)) return SESSION_WAS_NOT_ASKED;
    FrameInUse()->quitting = false;
    CloseAsTheUserDoes();
    return FrameInUse() && !FrameInUse()->quitting ? SESSION_STAYS : SESSION_ENDS;
}

void ConnectSession() {
    QWidget* window = &FrameInUse()->window;
    QObject::connect(qGuiApp, &QGuiApplication::commitDataRequest, window, CommitSession, Qt::DirectConnection);
    if (signalPipe[0] < 0 && pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, window);
    QObject::connect(notifier, &QSocketNotifier::activated, window, ReadSignals);
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGHUP}) sigaction(number, &action, nullptr);
    QObject::connect(window, &QObject::destroyed, [] {
        for (const int number : {SIGTERM, SIGHUP}) signal(number, SIG_DFL);
    });
}

}  // namespace tally
