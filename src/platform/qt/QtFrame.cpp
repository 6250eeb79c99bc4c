#include "platform/qt/QtFrame.h"

#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QPainter>
#include <QTranslator>
#include <algorithm>
#include <clocale>
#include <optional>
#include <string>

#include "base/MessageTable.h"
#include "base/Text.h"
#include "platform/posix/CodePages.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixForeign.h"
#include "platform/posix/PosixRecovery.h"
#include "platform/qt/QtAccessible.h"
#include "platform/qt/QtFonts.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

std::optional<QApplication> application;
std::optional<Frame> frame;
std::optional<QTranslator> translator;

void QtSetTitle(WideView title) {
    if (frame) frame->window.setWindowTitle(ToQString(title));
}

void QtClientSize(i32& width, i32& height) {
    width = frame ? frame->client.width() : 0;
    height = frame ? frame->client.height() : 0;
}

void QtInvalidate(const PixelRect& rect) {
    if (!frame || IsEmptyRect(rect)) return;
    const QRect client = frame->client.rect();
    const PixelRect cut = IntersectRects(rect, {0, 0, client.width(), client.height()});
    if (!IsEmptyRect(cut)) frame->client.update(cut.left, cut.top, cut.right - cut.left, cut.bottom - cut.top);
}

// The toolkit gives a widget the moves outside it as long as a button is down; with none, the shell
// must ask for them.
void QtSetCapture(bool on) {
    if (!frame) return;
    if (on && QApplication::mouseButtons() == Qt::NoButton) frame->client.grabMouse();
    else if (!on && QWidget::mouseGrabber() == &frame->client) frame->client.releaseMouse();
}

QTimer* FindTimer(i32 timer) {
    return frame && timer > 0 && timer < TIMER_COUNT ? &frame->timers[timer] : nullptr;
}
void QtStartTimer(i32 timer, i32 milliseconds) {
    if (QTimer* found = FindTimer(timer)) found->start(std::max(1, milliseconds));
}
void QtKillTimer(i32 timer) {
    if (QTimer* found = FindTimer(timer)) found->stop();
}

void QtSetFullScreen(bool on) {
    if (!frame) return;
    const Qt::WindowStates states = frame->window.windowState();
    frame->window.setWindowState(on ? states | Qt::WindowFullScreen : states & ~Qt::WindowFullScreen);
}

void QtQuit() {
    if (frame) frame->quitting = true;
    QCoreApplication::quit();
}
void QtFocusFrame() {
    if (!frame) return;
    frame->wanted = EDIT_NONE;
    FocusWanted();
}

void QtSetToolTip(WideView text) {
    if (frame) frame->client.setToolTip(ToQString(text));
}

// A broad white cross with a dark edge, beside which the toolkit's own thin one can be told.
QCursor CellCursor() {
    constexpr int SIZE = 19, ARM = 5, MARGIN = 2;
    QImage image(SIZE, SIZE, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const QRect across(MARGIN, (SIZE - ARM) / 2, SIZE - 2 * MARGIN, ARM);
    const QRect upright((SIZE - ARM) / 2, MARGIN, ARM, SIZE - 2 * MARGIN);
    for (const QRect& arm : {across, upright}) painter.fillRect(arm, Qt::black);
    for (const QRect& arm : {across, upright}) painter.fillRect(arm.adjusted(1, 1, -1, -1), Qt::white);
    painter.end();
    return QCursor(QPixmap::fromImage(image), SIZE / 2, SIZE / 2);
}

void QtSetPointer(PointerShape shape) {
    constexpr Qt::CursorShape shapes[] = {Qt::ArrowCursor,  Qt::BitmapCursor,       Qt::SplitHCursor,
                                          Qt::SplitVCursor, Qt::PointingHandCursor, Qt::WaitCursor,
                                          Qt::CrossCursor,  Qt::SizeAllCursor};
    if (!frame || frame->client.cursor().shape() == shapes[shape]) return;
    frame->client.setCursor(shape == POINTER_CELL ? CellCursor() : QCursor(shapes[shape]));
}

void QtAcceptFiles(bool on) {
    if (frame) frame->window.setAcceptDrops(on);
}

// What is invalidated waits as a request to the window.
void QtRepaintNow() {
    if (frame) QCoreApplication::sendPostedEvents(&frame->window, QEvent::UpdateRequest);
}

void QtSetScrollBar(bool vertical, const ScrollBarState& state) {
    if (!frame) return;
    QScrollBar& bar = vertical ? frame->vertical : frame->horizontal;
    const PixelRect& place = state.place;
    bar.setGeometry(place.left, place.top, std::max(0, place.right - place.left),
                    std::max(0, place.bottom - place.top));
    bar.setPageStep(std::max(1, state.page));
    bar.setRange(0, std::max(0, state.maximum));
    // A thumb in the user's hand stays there.
    if (!bar.isSliderDown()) bar.setValue(state.position);
    bar.setVisible(state.shown);
}

const ShellPlatformTable shellTable = {
    .setTitle = QtSetTitle,
    .clientSize = QtClientSize,
    .invalidate = QtInvalidate,
    .setCapture = QtSetCapture,
    .startTimer = QtStartTimer,
    .killTimer = QtKillTimer,
    .setFullScreen = QtSetFullScreen,
    .quit = QtQuit,
    .focusFrame = QtFocusFrame,
    .setToolTip = QtSetToolTip,
    .setPointer = QtSetPointer,
    .acceptFiles = QtAcceptFiles,
    .fonts = &QtFontTable(),
    .trackPopup = QtTrackPopup,
    .placeEdit = QtPlaceEdit,
    .editText = QtEditText,
    .setEditText = QtSetEditText,
    .editSelection = QtEditSelection,
    .selectEdit = QtSelectEdit,
    .replaceEditSelection = QtReplaceEditSelection,
    .focusEdit = QtFocusEdit,
    .editAction = QtEditAction,
    .editCanUndo = QtEditCanUndo,
    .setScrollBar = QtSetScrollBar,
    .openFileDialog = QtOpenFileDialog,
    .saveFileDialog = QtSaveFileDialog,
    .runDialog = QtRunDialog,
    .showDialog = QtShowDialog,
    .syncDialog = QtSyncDialog,
    .readSetting = QtReadSetting,
    .writeSetting = QtWriteSetting,
    .clipboardHas = QtClipboardHas,
    .readClipboard = QtReadClipboard,
    .putClipboard = QtPutClipboard,
    .openExternally = QtOpenExternally,
    .keyWaits = QtKeyWaits,
    .repaintNow = QtRepaintNow,
    .accessibleWatched = QtAccessibleWatched,
    .accessibleChanged = QtAccessibleChanged,
    .printer = &QtPrinting(),
};

void SendTimer(i32 timer) {
    ShellMessage message;
    message.message = WM_TIMER;
    message.command = timer;
    Send(message);
}

// The toolkit's own words, such as those within the dialogs of files, are English without this. Where its
// translations are not installed they stay so.
void TranslateToolkit() {
    if (CurrentLanguage() != LANGUAGE_CHINESE) return;
    translator.emplace();
    if (translator->load(QStringLiteral("qtbase_zh_CN"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&*translator);
}

// Desktops take the icon of the file of this name, or what the window brings along.
void ShowIcon() {
    QGuiApplication::setDesktopFileName(QStringLiteral("tallyman"));
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128})
        icon.addFile(QStringLiteral(":/icons/tallyman-%1.png").arg(size), QSize(size, size));
    QApplication::setWindowIcon(icon);
}

// Of what the toolkit says while it starts only its failure counts, in one line; it would end with a core file.
void HearStart(QtMsgType type, const QMessageLogContext&, const QString&) {
    if (type != QtFatalMsg) return;
    const WideView reason = Message(MSG_DISPLAY_NOT_OPENED);
    std::string text(Utf8Length(reason), '\0');
    Utf8FromWide(reason, text.data());
    text = "tallyman: " + text + "\n";
    IgnoreFailure(write(STDERR_FILENO, text.data(), text.size()) > 0);
    _exit(1);
}

}  // namespace

Frame::Frame(const FrameCalls& frameCalls)
    : calls(frameCalls), windowTap(HandleWindowEvent), clientTap(HandleClientEvent) {
    // The shell paints every pixel of the client area.
    client.setAttribute(Qt::WA_OpaquePaintEvent);
    client.setFocusPolicy(Qt::StrongFocus);
    client.setMouseTracking(true);
    for (QScrollBar* bar : {&vertical, &horizontal}) {
        bar->setFocusPolicy(Qt::NoFocus);
        bar->setCursor(Qt::ArrowCursor);
        bar->setContextMenuPolicy(Qt::NoContextMenu);
        bar->hide();
    }
}

Frame* FrameInUse() { return frame ? &*frame : nullptr; }
bool Send(const ShellMessage& message) { return frame && frame->calls.sendMessage(message); }
QWidget* DialogParent() {
    if (QWidget* open = QApplication::activeModalWidget()) return open;
    if (QWidget* open = TopDialogWindow()) return open;
    return frame && frame->window.isVisible() ? &frame->window : nullptr;
}

void PlaceChildren() {
    if (!frame) return;
    const int width = frame->window.width(), height = frame->window.height();
    const int bar = frame->menuBar.actions().isEmpty() ? 0 : frame->menuBar.heightForWidth(width);
    frame->menuBar.setGeometry(0, 0, width, bar);
    frame->client.setGeometry(0, bar, width, std::max(0, height - bar));
}

const ShellPlatformTable& QtShellPlatform() { return shellTable; }

void OpenDesktop(int& count, char** arguments) {
    // The shell counts in pixels of the screen and follows its dots per inch itself.
    qunsetenv("QT_SCALE_FACTOR");
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0");
    const QtMessageHandler before = qInstallMessageHandler(HearStart);
    application.emplace(count, arguments);
    qInstallMessageHandler(before);
    // The toolkit takes over the user's locale; numbers in the core are always read and written in one form.
    setlocale(LC_NUMERIC, "C");
    TranslateToolkit();
    ReadUserRegion();
    QApplication::setFont(FontOf(0).font);
    ShowIcon();
    QApplication::setQuitOnLastWindowClosed(false);
    SetPlatform(&QtPlatform());
    SetForeignPlatform(&PosixForeign());
    SetRecoveryPlatform(&PosixRecovery());
}

void OpenFrame(const FrameCalls& calls) {
    frame.emplace(calls);
    SizeWindow();
    ConnectWaiting();
    ConnectClipboardChanges();
    ConnectSession();
    ConnectInputMethod();
    ConnectAccessible();
    frame->window.installEventFilter(&frame->windowTap);
    frame->client.installEventFilter(&frame->clientTap);
    ConnectScrollBar(frame->vertical, WM_VSCROLL);
    ConnectScrollBar(frame->horizontal, WM_HSCROLL);
    for (i32 timer = 1; timer < TIMER_COUNT; ++timer) {
        QObject::connect(&frame->timers[timer], &QTimer::timeout, &frame->window,
                         [timer] { SendTimer(timer); });
    }
    frame->client.setFocusProxy(&EditBox(ENTRY_LINE));
    PlaceChildren();
}

void ShowFrame() {
    FillMenuBar();
    frame->window.show();
    ConnectScreens();
    FocusWanted();
}

int RunMessageLoop() { return QApplication::exec(); }

void CloseDesktop() {
    CloseDialogViews();
    CloseAccessible();
    frame.reset();
    CloseSettings();
    QtPrinting().release();
    ResetClipboardFormats();
    ResetFonts();
    ResetPosixFiles();
    ResetPosixForeign();
    ResetCodePages();
    translator.reset();
    application.reset();
    SetForeignPlatform(nullptr);
    SetRecoveryPlatform(nullptr);
    ResetPosixRecovery();
    SetPlatform(nullptr);
}

}  // namespace tally
