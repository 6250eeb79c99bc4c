// Keys and the mouse at random on the whole program's real window, its menus, boxes and dialogs.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QWheelEvent>
#include <cstdlib>
#include <random>

#include "platform/qt/QtDesktop.h"
#include "shell/frame/Shell.h"
#include "support/BookInvariants.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr Qt::Key keys[] = {Qt::Key_Return, Qt::Key_Return,   Qt::Key_Escape, Qt::Key_Tab,    Qt::Key_Backspace,
                            Qt::Key_Delete, Qt::Key_Left,     Qt::Key_Right,  Qt::Key_Up,     Qt::Key_Down,
                            Qt::Key_Home,   Qt::Key_End,      Qt::Key_PageUp, Qt::Key_F2,     Qt::Key_F4,
                            Qt::Key_F9,     Qt::Key_PageDown, Qt::Key_Space,  Qt::Key_Equal,  Qt::Key_Semicolon,
                            Qt::Key_1,      Qt::Key_5,        Qt::Key_A,      Qt::Key_B,      Qt::Key_C,
                            Qt::Key_D,      Qt::Key_F,        Qt::Key_K,      Qt::Key_R,      Qt::Key_S,
                            Qt::Key_V,      Qt::Key_X,        Qt::Key_Z,      Qt::Key_Period, Qt::Key_Alt};

struct RandomUser {
    std::mt19937 random{20261122};
    int acts = 0, dialogs = 0, menus = 0;
    QWidget* front = nullptr;
    int patience = 0;   // acts that are left to what lies in front
    bool ends = false;  // closes what is open, and then the program
    std::string fault;
};
RandomUser* user = nullptr;

u32 Below(u32 count) { return static_cast<u32>(user->random() % count); }

Qt::KeyboardModifiers AnyModifiers() {
    constexpr Qt::KeyboardModifier all[] = {Qt::NoModifier, Qt::NoModifier, Qt::NoModifier, Qt::ShiftModifier,
                                            Qt::ControlModifier};
    return all[Below(std::size(all))];
}

// Posted, so that what they open runs in the loop and not inside of the one who acts.
void PostKey(QWidget* target) {
    const Qt::Key key = keys[Below(std::size(keys))];
    const Qt::KeyboardModifiers modifiers = AnyModifiers();
    // Ctrl+Q and its like are the toolkit's and nobody's here; what ends the program is tried apart.
    const bool prints = key >= Qt::Key_Space && key <= Qt::Key_Z && !(modifiers & Qt::ControlModifier);
    const QString text = prints ? QString(QChar(static_cast<char16_t>(key))) : QString();
    QApplication::postEvent(target, new QKeyEvent(QEvent::KeyPress, key, modifiers, text));
    QApplication::postEvent(target, new QKeyEvent(QEvent::KeyRelease, key, modifiers, text));
}

void PostMouse(QEvent::Type type, QWidget* target, QPoint at, Qt::MouseButton button) {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(button);
    QApplication::postEvent(target, new QMouseEvent(type, QPointF(at), target->mapToGlobal(QPointF(at)), button,
                                                    held, AnyModifiers()));
}

QPoint AnyPlace(const QWidget& window) {
    return {static_cast<int>(Below(static_cast<u32>(window.width() + 1))),
            static_cast<int>(Below(static_cast<u32>(window.height() + 1)))};
}

void CloseLater(QWidget* window) { QMetaObject::invokeMethod(window, &QWidget::close, Qt::QueuedConnection); }

void UseMouse(QWidget* window) {
    const QPoint at = AnyPlace(*window);
    QWidget* target = window->childAt(at);
    if (!target) target = window;
    const QPoint inside = target->mapFrom(window, at);
    const Qt::MouseButton button = Below(6) ? Qt::LeftButton : Qt::RightButton;
    PostMouse(QEvent::MouseButtonPress, target, inside, button);
    for (u32 i = Below(4); i > 0; --i) PostMouse(QEvent::MouseMove, target, AnyPlace(*target), button);
    PostMouse(QEvent::MouseButtonRelease, target, Below(2) ? inside : AnyPlace(*target), button);
    if (Below(8) == 0) PostMouse(QEvent::MouseButtonDblClick, target, inside, Qt::LeftButton);
}

// The menu bar's popups one after another, and an item of what is open.
void UseMenu(QWidget* front) {
    if (auto* menu = qobject_cast<QMenu*>(front)) {
        const QList<QAction*> items = menu->actions();
        if (items.isEmpty()) return CloseLater(menu);
        QAction* item = items[static_cast<qsizetype>(Below(static_cast<u32>(items.size())))];
        const QPoint at = menu->actionGeometry(item).center();
        PostMouse(QEvent::MouseMove, menu, at, Qt::NoButton);
        PostMouse(QEvent::MouseButtonPress, menu, at, Qt::LeftButton);
        PostMouse(QEvent::MouseButtonRelease, menu, at, Qt::LeftButton);
        return;
    }
    auto* bar = front->findChild<QMenuBar*>();
    if (!bar || bar->actions().isEmpty()) return;
    QAction* item = bar->actions()[static_cast<qsizetype>(Below(static_cast<u32>(bar->actions().size())))];
    PostMouse(QEvent::MouseButtonPress, bar, bar->actionGeometry(item).center(), Qt::LeftButton);
    PostMouse(QEvent::MouseButtonRelease, bar, bar->actionGeometry(item).center(), Qt::LeftButton);
}

QWidget* FrontWindow() {
    if (QWidget* popup = QApplication::activePopupWidget()) return popup;
    if (QWidget* modal = QApplication::activeModalWidget()) return modal;
    // A dialog disables the one that it lies on; without a window manager it need not become the active window.
    QWidget* active = QApplication::activeWindow();
    if (active && active->isEnabled()) return active;
    QWidget* frame = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible() || !window->isEnabled() || window->windowType() == Qt::ToolTip) continue;
        if (qobject_cast<QDialog*>(window)) return window;
        frame = window;
    }
    return frame;
}

void Press(QAbstractButton* button) {
    PostMouse(QEvent::MouseButtonPress, button, button->rect().center(), Qt::LeftButton);
    PostMouse(QEvent::MouseButtonRelease, button, button->rect().center(), Qt::LeftButton);
}

// One thing after another is closed, the program last; what is asked is answered with No.
void CloseFront() {
    QWidget* front = FrontWindow();
    if (auto* box = qobject_cast<QMessageBox*>(front)) {
        for (QAbstractButton* button : box->buttons())
            if (box->buttonRole(button) == QMessageBox::NoRole) return Press(button);
    }
    if (auto* dialog = qobject_cast<QDialog*>(front)) return dialog->reject();
    if (front) CloseLater(front);
}

void Act() {
    if (user->ends) return CloseFront();
    ++user->acts;
    if (user->acts % 64 == 0 && user->fault.empty()) user->fault = BrokenInvariant();
    QWidget* front = FrontWindow();
    if (!front) return;
    if (front != user->front) user->patience = 100;
    user->front = front;
    const bool inTheWay = front == QApplication::activePopupWidget() || qobject_cast<QDialog*>(front);
    if (inTheWay && user->patience-- <= 0) return CloseFront();
    user->dialogs += qobject_cast<QDialog*>(front) != nullptr;
    user->menus += qobject_cast<QMenu*>(front) != nullptr;
    // No file but those of the tests is written.
    if (auto* files = qobject_cast<QFileDialog*>(front)) return files->reject();
    QWidget* focus = QApplication::focusWidget();
    if (qobject_cast<QMenu*>(front) && Below(3)) return UseMenu(front);
    switch (Below(12)) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4: PostKey(focus && focus->window() == front ? focus : front); return;
        case 5: {
            const QList<QAbstractButton*> buttons = front->findChildren<QAbstractButton*>();
            if (buttons.isEmpty()) return UseMouse(front);
            QAbstractButton* button = buttons[static_cast<qsizetype>(Below(static_cast<u32>(buttons.size())))];
            return Press(button);
        }
        case 6: {
            const QPoint at = AnyPlace(*front);
            QApplication::postEvent(front,
                                    new QWheelEvent(at, front->mapToGlobal(at), QPoint(),
                                                    {0, 120 - static_cast<int>(Below(3)) * 120}, Qt::NoButton,
                                                    AnyModifiers(), Qt::NoScrollPhase, false));
            return;
        }
        case 7:
        case 8: return UseMenu(front);
        default: UseMouse(front);
    }
}

// TALLYMAN_MONKEY_SECONDS asks for that long a time.
TEST(Monkey, TheRealWindowBearsAnything) {
    const char* asked = std::getenv("TALLYMAN_MONKEY_SECONDS");
    const qint64 limit = asked ? std::atoll(asked) * 1000 : 60000;
    const int most = asked ? std::numeric_limits<int>::max() : 400;
    RandomUser own;
    user = &own;
    const QTemporaryDir folder;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    SetShellPlatform(&QtShellPlatform());
    QElapsedTimer clock;
    clock.start();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        own.ends = own.acts >= most || clock.elapsed() > limit;
        Act();
    });
    timer.start(0);
    // The program may be ended before.
    while (!own.ends && own.fault.empty()) {
        OpenFrame(ShellFrameCalls());
        StartShell(u"");
        ShowFrame();
        EXPECT_EQ(RunMessageLoop(), 0);
        StopShell();
    }
    timer.stop();
    EXPECT_EQ(own.fault, "");
    EXPECT_GT(own.dialogs, 0);
    EXPECT_GT(own.menus, 0);
    RecordProperty("acts", own.acts);
    RecordProperty("dialogs", own.dialogs);
    RecordProperty("menus", own.menus);
}

}  // namespace
}  // namespace tally
