// The screen that the window is on. The shell counts in its pixels, so that all is laid out anew where the
// window comes to a screen of another resolution, or that of its own changes.

#include <QApplication>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <utility>

#include "base/Number.h"
#include "platform/qt/QtFonts.h"
#include "platform/qt/QtFrame.h"

namespace tally {
namespace {

// On a screen with 96 pixels to the inch.
constexpr QSize FIRST_SIZE(1024, 720);
// A menu, a line and a few cells.
constexpr QSize LEAST_SIZE(320, 200);

// `size` from a screen of one resolution to another's, not beyond what is there.
QSize OnScreen(const Frame& frame, QSize size, i32 from, i32 to) {
    const QScreen* screen = frame.window.screen();
    const QSize room = screen ? screen->availableSize() : size;
    const QSize scaled(MulDiv(size.width(), to, from), MulDiv(size.height(), to, from));
    // What is too large by itself stays so: where the screen's own manager puts it is not known here.
    return scaled.boundedTo(room.expandedTo(size));
}

void UseFrameFont() {
    DropFrameFont();
    QApplication::setFont(FontOf(0).font);
}

void FollowScreen() {
    Frame* frame = FrameInUse();
    if (!frame) return;
    const i32 now = ScreenDpi(true), before = std::exchange(frame->dpi, now);
    if (now == before) return;
    UseFrameFont();
    frame->window.setMinimumSize(OnScreen(*frame, LEAST_SIZE, 96, now));
    const auto fixed = Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized;
    if (!(frame->window.windowState() & fixed))
        frame->window.resize(OnScreen(*frame, frame->window.size(), before, now));
    PlaceChildren();
    ShellMessage message;
    message.message = WM_DPICHANGED;
    Send(message);
    LayOutDialogViews();
}

void WatchScreen(QScreen* screen) {
    Frame* frame = FrameInUse();
    if (!frame) return;
    QObject::disconnect(frame->resolution);
    if (screen)
        frame->resolution =
            QObject::connect(screen, &QScreen::logicalDotsPerInchChanged, &frame->window, FollowScreen);
    FollowScreen();
}

}  // namespace

void SizeWindow() {
    Frame* frame = FrameInUse();
    if (!frame) return;
    frame->dpi = ScreenDpi(true);
    // An earlier window may have been on another screen.
    UseFrameFont();
    frame->window.setMinimumSize(OnScreen(*frame, LEAST_SIZE, 96, frame->dpi));
    frame->window.resize(OnScreen(*frame, FIRST_SIZE, 96, frame->dpi));
}

void ConnectScreens() {
    Frame* frame = FrameInUse();
    QWindow* handle = frame ? frame->window.windowHandle() : nullptr;
    if (!handle) return;
    QObject::connect(handle, &QWindow::screenChanged, &frame->window, WatchScreen);
    WatchScreen(frame->window.screen());
}

}  // namespace tally
