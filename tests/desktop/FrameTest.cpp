#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QKeyEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>
#include <QWheelEvent>
#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "base/MessageTable.h"
#include "platform/qt/QtFrame.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

struct Heard {
    std::vector<ShellMessage> messages;
    std::vector<u32> entryCharacters, entryKeys;
    std::vector<EditHandle> asked, changed;  // edit controls
    std::vector<std::string> dropped;
    u32 accelerator = 0;  // the key that is taken
    bool swallowCharacters = false;
    bool clicksPass = true;
    bool quitOnClose = true;
    bool takesKeys = true;
};
Heard heard;

bool HearMessage(const ShellMessage& message) {
    heard.messages.push_back(message);
    if (message.message == WM_PAINT) FillRect(*message.target, message.paint, 0x00FF00);
    if (message.message == WM_CLOSE && heard.quitOnClose) QtShellPlatform().quit();
    return heard.takesKeys || message.message != WM_KEYDOWN;
}
bool TakeAccelerator(u32 key, u32) { return key == heard.accelerator; }
bool HearEntryKey(EditHandle edit, u32 key, u32) {
    heard.asked.push_back(edit);
    heard.entryKeys.push_back(key);
    return false;
}
bool HearEntryCharacter(EditHandle, u32 character, u32) {
    heard.entryCharacters.push_back(character);
    return heard.swallowCharacters;
}
bool HearEntryClick(EditHandle) { return heard.clicksPass; }

bool AddItem(Array<MenuItem>& items, WideView text, i32 command, MenuId popup, bool enabled = true,
             bool checked = false) {
    MenuItem item;
    item.command = command;
    item.popup = popup;
    item.enabled = enabled;
    item.checked = checked;
    return item.text.Assign(text) && items.Append(std::move(item));
}
bool GiveItems(MenuId menu, Array<MenuItem>& items) {
    switch (menu) {
        case MENU_BAR:
            return AddItem(items, u"文件(&F)", 0, MENU_FILE) && AddItem(items, u"编辑(&E)", 0, MENU_EDIT);
        case MENU_FILE:
            return AddItem(items, u"新建(&N)\tCtrl+N", 110, MENU_NONE) && AddItem(items, u"", 0, MENU_NONE) &&
                   AddItem(items, u"最近的(&R)", 0, MENU_RECENT) &&
                   AddItem(items, u"关闭(&C)", 112, MENU_NONE, false, true);
        case MENU_RECENT: return AddItem(items, u"a.xls", 118, MENU_NONE);
        default: return true;
    }
}

class FrameTest : public testing::Test {
  protected:
    void SetUp() override {
        heard = Heard();
        SetShellPlatform(&shell);
        OpenFrame({HearMessage, TakeAccelerator, HearEntryKey, HearEntryCharacter, HearEntryClick, GiveItems});
        ShowFrame();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&FrameInUse()->window));
        Settle();
        heard.messages.clear();
    }
    static void Settle() {
        for (int i = 0; i < 5; ++i) QApplication::processEvents();
    }
    static std::vector<ShellMessage> Of(u32 number) {
        std::vector<ShellMessage> found;
        for (const ShellMessage& message : heard.messages) {
            if (message.message == number) found.push_back(message);
        }
        return found;
    }
    static std::string EntryText(EditHandle edit = ENTRY_LINE) {
        WideText text;
        EXPECT_TRUE(QtShellPlatform().editText(edit, text));
        return Narrow(text);
    }

    const ShellPlatformTable& shell = QtShellPlatform();
};

TEST(FrameLife, OpensPaintsOnceAndCloses) {
    heard = Heard();
    OpenFrame({HearMessage, TakeAccelerator, HearEntryKey, HearEntryCharacter, HearEntryClick, GiveItems});
    ShowFrame();
    QTimer::singleShot(50, [] { FrameInUse()->window.close(); });
    EXPECT_EQ(RunMessageLoop(), 0);
    int paints = 0, closes = 0;
    for (const ShellMessage& message : heard.messages) {
        paints += message.message == WM_PAINT;
        closes += message.message == WM_CLOSE;
    }
    EXPECT_EQ(paints, 1);
    EXPECT_EQ(closes, 1);
}

TEST_F(FrameTest, TheFrameStaysWhenTheShellDoesNotQuit) {
    heard.quitOnClose = false;
    FrameInUse()->window.close();
    EXPECT_EQ(Of(WM_CLOSE).size(), 1u);
    EXPECT_TRUE(FrameInUse()->window.isVisible());
}

TEST_F(FrameTest, ManyInvalidationsArePaintedOnce) {
    shell.invalidate({10, 10, 20, 20});
    shell.invalidate({40, 15, 50, 30});
    shell.invalidate({60, 60, 60, 90});
    Settle();
    // Every pixel of the two once, and no other.
    int painted[40][60] = {};
    for (const ShellMessage& message : Of(WM_PAINT))
        for (i32 y = message.paint.top; y < message.paint.bottom; ++y)
            for (i32 x = message.paint.left; x < message.paint.right; ++x) ++painted[y][x];
    for (i32 y = 0; y < 40; ++y)
        for (i32 x = 0; x < 60; ++x)
            ASSERT_EQ(painted[y][x], RectHolds({10, 10, 20, 20}, x, y) || RectHolds({40, 15, 50, 30}, x, y));
}

TEST_F(FrameTest, TooManyPiecesArePaintedAsOne) {
    for (i32 i = 0; i < 20; ++i) shell.invalidate({10 * i, 10 * i, 10 * i + 5, 10 * i + 5});
    Settle();
    const auto paints = Of(WM_PAINT);
    ASSERT_EQ(paints.size(), 1u);
    EXPECT_TRUE(paints[0].paint == (PixelRect{0, 0, 195, 195}));
}

TEST_F(FrameTest, WhatIsPaintedIsShown) {
    const QImage shown = FrameInUse()->client.grab().toImage();
    EXPECT_EQ(shown.pixelColor(100, 100), QColor(0, 255, 0));
    i32 width = 0, height = 0;
    shell.clientSize(width, height);
    EXPECT_EQ(shown.width(), width);
    EXPECT_EQ(shown.height(), height);
    EXPECT_LT(height, FrameInUse()->window.height());  // the menu bar lies above
}

TEST_F(FrameTest, KeysComeAsKeysAndCharacters) {
    QTest::keyClick(&FrameInUse()->client, 'A', Qt::ShiftModifier);
    ASSERT_EQ(Of(WM_KEYDOWN).size(), 1u);
    EXPECT_EQ(Of(WM_KEYDOWN)[0].key, u32{'A'});
    EXPECT_EQ(Of(WM_KEYDOWN)[0].modifiers, u32{KEY_SHIFT});
    ASSERT_EQ(Of(WM_CHAR).size(), 1u);
    EXPECT_EQ(Of(WM_CHAR)[0].key, u32{'A'});
}

TEST_F(FrameTest, CtrlTypesNothing) {
    QTest::keyClick(&FrameInUse()->client, Qt::Key_Semicolon, Qt::ControlModifier);
    ASSERT_EQ(Of(WM_KEYDOWN).size(), 1u);
    EXPECT_EQ(Of(WM_KEYDOWN)[0].key, u32{VK_OEM_1});
    EXPECT_TRUE(Of(WM_CHAR).empty());
}

TEST_F(FrameTest, AcceleratorsComeFirstInBothWindows) {
    heard.accelerator = 'S';
    QTest::keyClick(&FrameInUse()->client, Qt::Key_S, Qt::ControlModifier);
    shell.placeEdit(ENTRY_LINE, {0, 0, 200, 24}, true);
    QTest::keyClick(&EditBox(ENTRY_LINE), Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(Of(WM_KEYDOWN).empty());
    EXPECT_TRUE(heard.entryKeys.empty());
}

TEST(KeyCodes, KeysHaveTheirPublishedNumbers) {
    const struct {
        int key;
        Qt::KeyboardModifiers modifiers;
        u32 code;
    } rows[] = {
        {Qt::Key_PageUp, Qt::NoModifier, VK_PRIOR},
        {Qt::Key_PageDown, Qt::ControlModifier, VK_NEXT},
        {Qt::Key_F2, Qt::NoModifier, VK_F2},
        {Qt::Key_F9, Qt::NoModifier, VK_F9},
        {Qt::Key_Backtab, Qt::ShiftModifier, VK_TAB},
        {Qt::Key_Enter, Qt::KeypadModifier, VK_RETURN},
        {Qt::Key_Left, Qt::KeypadModifier, VK_LEFT},
        {Qt::Key_5, Qt::KeypadModifier, 0x65},
        {Qt::Key_Dollar, Qt::ShiftModifier, '4'},
        {Qt::Key_Colon, Qt::ShiftModifier, VK_OEM_1},
        {Qt::Key_AsciiTilde, Qt::ShiftModifier, VK_OEM_3},
        {Qt::Key_Shift, Qt::ShiftModifier, 0},
    };
    for (const auto& row : rows) EXPECT_EQ(KeyCodeOf(row.key, row.modifiers), row.code) << row.key;
    EXPECT_EQ(TypedText(Qt::Key_Backtab, Qt::ShiftModifier, ""), "\t");
    EXPECT_EQ(TypedText(Qt::Key_Enter, Qt::KeypadModifier, "\n"), "\r");
    EXPECT_EQ(TypedText(Qt::Key_Delete, Qt::NoModifier, "\x7f"), "");
}

TEST_F(FrameTest, TheMouseComesInPixelsOfTheClient) {
    QTest::mousePress(&FrameInUse()->client, Qt::LeftButton, Qt::ControlModifier, QPoint(33, 44));
    QTest::mouseRelease(&FrameInUse()->client, Qt::LeftButton, Qt::NoModifier, QPoint(35, 46));
    QTest::mousePress(&FrameInUse()->client, Qt::RightButton, Qt::NoModifier, QPoint(3, 4));
    ASSERT_EQ(Of(WM_LBUTTONDOWN).size(), 1u);
    EXPECT_EQ(Of(WM_LBUTTONDOWN)[0].x, 33);
    EXPECT_EQ(Of(WM_LBUTTONDOWN)[0].y, 44);
    EXPECT_EQ(Of(WM_LBUTTONDOWN)[0].modifiers, u32{KEY_CTRL});
    ASSERT_EQ(Of(WM_LBUTTONUP).size(), 1u);
    EXPECT_EQ(Of(WM_LBUTTONUP)[0].x, 35);
    EXPECT_EQ(Of(WM_RBUTTONDOWN).size(), 1u);
}

TEST_F(FrameTest, SmallPiecesOfTheWheelAreGatheredToNotches) {
    const auto turn = [](int angle) {
        QWheelEvent event(QPointF(50, 50), QPointF(50, 50), QPoint(), QPoint(0, angle), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&FrameInUse()->client, &event);
    };
    turn(-120);
    ASSERT_EQ(Of(WM_MOUSEWHEEL).size(), 1u);
    EXPECT_LT(Of(WM_MOUSEWHEEL)[0].wheel, 0);
    for (int i = 0; i < 7; ++i) turn(-40);
    EXPECT_EQ(Of(WM_MOUSEWHEEL).size(), 3u);
    turn(100);  // the other way: what was left is forgotten
    EXPECT_EQ(Of(WM_MOUSEWHEEL).size(), 3u);
    turn(20);
    ASSERT_EQ(Of(WM_MOUSEWHEEL).size(), 4u);
    EXPECT_GT(Of(WM_MOUSEWHEEL)[3].wheel, 0);
    turn(240);
    EXPECT_EQ(Of(WM_MOUSEWHEEL).size(), 6u);
}

TEST_F(FrameTest, AWheelTurnedSidewaysCountsToTheRight) {
    const auto turn = [](QPoint angle) {
        QWheelEvent event(QPointF(10, 10), QPointF(10, 10), QPoint(), angle, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&FrameInUse()->client, &event);
    };
    turn({-60, 0});
    EXPECT_TRUE(Of(WM_MOUSEHWHEEL).empty());
    turn({-60, 0});
    ASSERT_EQ(Of(WM_MOUSEHWHEEL).size(), 1u);
    EXPECT_GT(Of(WM_MOUSEHWHEEL)[0].wheel, 0);
    turn({240, 0});
    ASSERT_EQ(Of(WM_MOUSEHWHEEL).size(), 3u);
    EXPECT_LT(Of(WM_MOUSEHWHEEL)[2].wheel, 0);
    EXPECT_TRUE(Of(WM_MOUSEWHEEL).empty());
}

TEST_F(FrameTest, ASignalToEndClosesTheFrameAsTheUserDoes) {
    heard.quitOnClose = false;
    raise(SIGTERM);
    Settle();
    EXPECT_EQ(Of(WM_QUERYENDSESSION).size(), 1u);
    EXPECT_EQ(Of(WM_CLOSE).size(), 1u);
    EXPECT_TRUE(FrameInUse()->window.isVisible());
}

// The number of the messages that the shell got at the end of a session, and what became of it.
std::string MessagesAtTheEnd(bool mayAsk) {
    const SessionEnd end = EndOfSession([](void* asks) { return *static_cast<bool*>(asks); }, &mayAsk);
    std::string text = end == SESSION_ENDS ? "ends" : end == SESSION_STAYS ? "stays" : "was not asked";
    for (const ShellMessage& message : heard.messages)
        if (message.message == WM_QUERYENDSESSION || message.message == WM_CLOSE)
            text += message.message == WM_CLOSE ? ", close" : ", keep";
    return text;
}

TEST_F(FrameTest, TheEndOfTheSessionKeepsWhatIsUnsavedAndThenClosesTheFrame) {
    heard.messages.clear();
    EXPECT_EQ(MessagesAtTheEnd(true), "ends, keep, close");
}

TEST_F(FrameTest, ACancelKeepsTheSession) {
    heard.quitOnClose = false;
    heard.messages.clear();
    EXPECT_EQ(MessagesAtTheEnd(true), "stays, keep, close");
}

TEST_F(FrameTest, WhereNobodyMayBeAskedWhatIsUnsavedIsKeptAndNothingClosed) {
    heard.messages.clear();
    EXPECT_EQ(MessagesAtTheEnd(false), "was not asked, keep");
    EXPECT_TRUE(FrameInUse()->window.isVisible());
}

TEST_F(FrameTest, ASignalToEndCancelsTheBoxInFrontOfTheFrameFirst) {
    heard.quitOnClose = false;
    QTimer::singleShot(0, [] { raise(SIGTERM); });
    EXPECT_EQ(QtMessageBox(u"text", u"title", MB_YESNOCANCEL), IDCANCEL);
    EXPECT_TRUE(Of(WM_CLOSE).empty());
    Settle();
    EXPECT_EQ(Of(WM_CLOSE).size(), 1u);
}

TEST_F(FrameTest, TheFrameHasALeastSize) {
    FrameInUse()->window.resize(10, 10);
    Settle();
    EXPECT_GE(FrameInUse()->window.width(), 320);
    EXPECT_GE(FrameInUse()->window.height(), 200);
}

TEST_F(FrameTest, TheEntryLineKeepsItsTextAsItIs) {
    shell.setEditText(ENTRY_LINE, u"a\u00A0b\nc\u4E2D");
    EXPECT_EQ(EntryText(), "a\u00A0b\nc\u4E2D");
    i32 start = -1, end = -1;
    shell.editSelection(ENTRY_LINE, start, end);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, 0);
    shell.selectEdit(ENTRY_LINE, 1, 3);
    shell.editSelection(ENTRY_LINE, start, end);
    EXPECT_EQ(start, 1);
    EXPECT_EQ(end, 3);
    shell.replaceEditSelection(ENTRY_LINE, u"XYZ");
    EXPECT_EQ(EntryText(), "aXYZ\nc\u4E2D");
    shell.editSelection(ENTRY_LINE, start, end);
    EXPECT_EQ(start, 4);
    EXPECT_EQ(end, 4);
    EXPECT_TRUE(shell.editCanUndo(ENTRY_LINE));
    shell.editAction(ENTRY_LINE, EDIT_UNDO);
    EXPECT_EQ(EntryText(), "a\u00A0b\nc\u4E2D");
    shell.selectEdit(ENTRY_LINE, -5, 9999);
    shell.editSelection(ENTRY_LINE, start, end);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, 6);
}

TEST_F(FrameTest, TypingInTheEntryLineAsksTheShellFirst) {
    shell.placeEdit(ENTRY_LINE, {0, 0, 200, 24}, true);
    shell.focusEdit(ENTRY_LINE);
    QTest::keyClicks(&EditBox(ENTRY_LINE), "12");
    EXPECT_EQ(EntryText(), "12");
    heard.swallowCharacters = true;
    QTest::keyClick(&EditBox(ENTRY_LINE), Qt::Key_Return);
    EXPECT_EQ(EntryText(), "12");
    EXPECT_EQ(heard.entryCharacters, (std::vector<u32>{'1', '2', '\r'}));
    EXPECT_EQ(heard.entryKeys, (std::vector<u32>{'1', '2', VK_RETURN}));
    QTest::keyClick(&EditBox(ENTRY_LINE), Qt::Key_Return, Qt::AltModifier);
    EXPECT_EQ(EntryText(), "12\n");
}

TEST_F(FrameTest, TwoEditControlsAreOpenAtOnceAndTellOfTheUsersChangesOnly) {
    FrameInUse()->calls.editChanged = [](EditHandle edit) { heard.changed.push_back(edit); };
    EXPECT_FALSE(FrameInUse()->edits[COMMENT_EDIT]) << "made only when it is needed";
    shell.placeEdit(COMMENT_EDIT, {}, false);
    i32 start = -1, end = -1;
    shell.editSelection(COMMENT_EDIT, start, end);
    EXPECT_EQ(end, 0);
    EXPECT_FALSE(FrameInUse()->edits[COMMENT_EDIT]);
    shell.placeEdit(ENTRY_LINE, {0, 0, 200, 24}, true);
    shell.placeEdit(COMMENT_EDIT, {40, 60, 140, 160}, true);
    shell.setEditText(ENTRY_LINE, u"line");
    shell.setEditText(COMMENT_EDIT, u"a note that is longer than its control is wide");
    shell.selectEdit(ENTRY_LINE, 1, 3);
    shell.selectEdit(COMMENT_EDIT, 1, 1);
    shell.replaceEditSelection(COMMENT_EDIT, u"ny");
    shell.focusEdit(COMMENT_EDIT);
    Settle();
    EXPECT_TRUE(heard.changed.empty());
    QPlainTextEdit &line = EditBox(ENTRY_LINE), &comment = EditBox(COMMENT_EDIT);
    EXPECT_TRUE(line.isVisible() && comment.isVisible());
    EXPECT_EQ(FrameInUse()->window.focusWidget(), &comment);
    EXPECT_EQ(comment.geometry(), QRect(40, 60, 100, 100));
    EXPECT_GT(comment.document()->firstBlock().layout()->lineCount(), 1) << "it wraps";
    EXPECT_EQ(line.document()->firstBlock().layout()->lineCount(), 1);
    QTest::keyClicks(&comment, "12");
    EXPECT_EQ(EntryText(COMMENT_EDIT).substr(0, 9), "any12 not");
    EXPECT_EQ(EntryText(), "line");
    EXPECT_EQ(heard.asked, (std::vector<EditHandle>(2, COMMENT_EDIT)));
    ASSERT_FALSE(heard.changed.empty());
    heard.changed.clear();
    QTest::keyClick(&comment, Qt::Key_Left);
    EXPECT_EQ(heard.changed, (std::vector<EditHandle>{COMMENT_EDIT})) << "the caret alone";
    shell.focusEdit(ENTRY_LINE);
    heard.changed.clear();
    QTest::keyClick(&line, Qt::Key_X);
    EXPECT_EQ(EntryText(), "lxe");
    for (const EditHandle edit : heard.changed) EXPECT_EQ(edit, ENTRY_LINE);
    EXPECT_FALSE(heard.changed.empty());
    shell.editAction(ENTRY_LINE, EDIT_UNDO);
    EXPECT_EQ(EntryText(), "line");
    EXPECT_EQ(EntryText(COMMENT_EDIT).substr(0, 9), "any12 not");
    shell.placeEdit(COMMENT_EDIT, {40, 60, 140, 160}, false);
    EXPECT_TRUE(line.isVisible() && !comment.isVisible());
}

TEST_F(FrameTest, AClickThatTheShellSwallowsDoesNotMoveTheCaret) {
    shell.placeEdit(ENTRY_LINE, {0, 0, 200, 24}, true);
    shell.setEditText(ENTRY_LINE, u"123456");
    heard.clicksPass = false;
    QTest::mouseClick(EditBox(ENTRY_LINE).viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 8));
    i32 start = -1, end = -1;
    shell.editSelection(ENTRY_LINE, start, end);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(FrameInUse()->wanted, EDIT_NONE);
    heard.clicksPass = true;
    QTest::mouseClick(EditBox(ENTRY_LINE).viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(100, 8));
    shell.editSelection(ENTRY_LINE, start, end);
    EXPECT_EQ(start, 6);
    EXPECT_EQ(FrameInUse()->window.focusWidget(), &EditBox(ENTRY_LINE));
    QTest::keyClick(&EditBox(ENTRY_LINE), 'x', Qt::AltModifier);
    EXPECT_EQ(EntryText(), "123456");
}

TEST_F(FrameTest, ScrollBarsSendTheirStepsAndStandWhereTheShellSays) {
    ScrollBarState state;
    state.shown = true;
    state.place = {300, 0, 316, 200};
    state.position = 10;
    state.page = 20;
    state.maximum = 100;
    shell.setScrollBar(true, state);
    EXPECT_TRUE(heard.messages.empty());
    QScrollBar& bar = FrameInUse()->vertical;
    EXPECT_EQ(bar.geometry(), QRect(300, 0, 16, 200));
    bar.triggerAction(QAbstractSlider::SliderSingleStepAdd);
    bar.triggerAction(QAbstractSlider::SliderPageStepSub);
    const auto scrolls = Of(WM_VSCROLL);
    ASSERT_EQ(scrolls.size(), 2u);
    EXPECT_EQ(scrolls[0].scrollCode, SB_LINEDOWN);
    EXPECT_EQ(scrolls[1].scrollCode, SB_PAGEUP);
    EXPECT_EQ(bar.value(), 10);
    bar.setSliderPosition(42);
    bar.triggerAction(QAbstractSlider::SliderMove);
    ASSERT_FALSE(Of(WM_VSCROLL).empty());
    EXPECT_EQ(Of(WM_VSCROLL).back().scrollCode, SB_THUMBTRACK);
    EXPECT_EQ(Of(WM_VSCROLL).back().scrollPosition, 42);
}

TEST_F(FrameTest, MenusFillThemselvesWhenTheyOpen) {
    const auto bar = FrameInUse()->menuBar.actions();
    ASSERT_EQ(bar.size(), 2);
    EXPECT_EQ(bar[0]->text(), QStringLiteral("文件(&F)"));
    QMenu* file = bar[0]->menu<QMenu*>();
    ASSERT_NE(file, nullptr);
    for (int i = 0; i < 2; ++i) file->popup(QPoint(0, 0)), file->close();
    ASSERT_EQ(Of(WM_INITMENUPOPUP).size(), 2u);
    EXPECT_EQ(Of(WM_INITMENUPOPUP)[0].command, MENU_FILE);
    const auto items = file->actions();
    ASSERT_EQ(items.size(), 4);
    EXPECT_EQ(items[0]->text(), QStringLiteral("新建(&N)\tCtrl+N"));
    EXPECT_TRUE(items[0]->shortcut().isEmpty());
    EXPECT_TRUE(items[1]->isSeparator());
    EXPECT_FALSE(items[3]->isEnabled());
    EXPECT_TRUE(items[3]->isChecked());
    items[0]->trigger();
    QMenu* recent = items[2]->menu<QMenu*>();
    ASSERT_NE(recent, nullptr);
    recent->popup(QPoint(0, 0));
    recent->close();
    ASSERT_EQ(recent->actions().size(), 1);
    recent->actions()[0]->trigger();
    const auto commands = Of(WM_COMMAND);
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].command, 110);
    EXPECT_EQ(commands[1].command, 118);
    EXPECT_EQ(commands[1].sender, SENDER_MENU);
}

TEST_F(FrameTest, TrackPopupGivesTheChosenCommandOrNone) {
    Array<MenuItem> items;
    ASSERT_TRUE(AddItem(items, u"一", 31, MENU_NONE) && AddItem(items, u"二", 32, MENU_NONE));
    QTimer::singleShot(20, [] {
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Down);
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Down);
        QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Return);
    });
    EXPECT_EQ(shell.trackPopup(items, 20, 20), 32);
    QTimer::singleShot(20, [] { QApplication::activePopupWidget()->close(); });
    EXPECT_EQ(shell.trackPopup(items, 20, 20), 0);
    EXPECT_TRUE(Of(WM_COMMAND).empty());
}

TEST_F(FrameTest, TimersComeUntilTheyAreKilled) {
    const auto came = [](i32 timer) {
        const auto all = Of(WM_TIMER);
        return std::count_if(all.begin(), all.end(),
                             [&](const auto& message) { return message.command == timer; });
    };
    shell.startTimer(TIMER_AUTO_SCROLL, 1);
    shell.startTimer(99, 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return came(TIMER_AUTO_SCROLL) >= 3; }, 30000));
    shell.killTimer(TIMER_AUTO_SCROLL);
    const auto count = came(TIMER_AUTO_SCROLL);
    // While another comes five times, slower than the first, that one stays away.
    shell.startTimer(TIMER_TRUST, 3);
    ASSERT_TRUE(QTest::qWaitFor([&] { return came(TIMER_TRUST) >= 5; }, 30000));
    shell.killTimer(TIMER_TRUST);
    EXPECT_EQ(came(TIMER_AUTO_SCROLL), count);
    EXPECT_EQ(came(99), 0);
}

struct BoxCase {
    u32 flags;
    std::vector<const char*> texts;
    const char* pressed;  // null: Esc
    i32 answer;
};

TEST_F(FrameTest, BoxesHaveTheirButtonsAndAnswers) {
    const BoxCase rows[] = {
        {MB_OK, {"确定"}, "确定", IDOK},
        {MB_OK | MB_ICONSTOP, {"确定"}, nullptr, IDOK},
        {MB_OKCANCEL, {"确定", "取消"}, "确定", IDOK},
        {MB_YESNOCANCEL | MB_ICONQUESTION, {"是(&Y)", "否(&N)", "取消"}, "否(&N)", IDNO},
        {MB_YESNOCANCEL, {"是(&Y)", "否(&N)", "取消"}, nullptr, IDCANCEL},
        {MB_YESNO | MB_DEFBUTTON2, {"是(&Y)", "否(&N)"}, "是(&Y)", IDYES},
        {MB_RETRYCANCEL, {"重试(&R)", "取消"}, "重试(&R)", IDRETRY},
    };
    for (const BoxCase& row : rows) {
        QTimer::singleShot(10, [&row] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->text(), "<b>A</b> & B");
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            EXPECT_EQ(box->windowTitle(), "Tallyman");
            EXPECT_EQ(static_cast<std::size_t>(box->buttons().size()), row.texts.size());
            QAbstractButton* press = nullptr;
            for (const char* text : row.texts) {
                QAbstractButton* found = nullptr;
                for (QAbstractButton* button : box->buttons()) {
                    if (button->text() == QString::fromUtf8(text)) found = button;
                }
                EXPECT_NE(found, nullptr) << text;
                if (row.pressed && std::string(row.pressed) == text) press = found;
            }
            EXPECT_EQ(box->defaultButton()->text(),
                      QString::fromUtf8(row.texts[row.flags & MB_DEFBUTTON2 ? 1 : 0]));
            if (press) press->click();
            else QTest::keyClick(box, Qt::Key_Escape);
        });
        EXPECT_EQ(QtPlatform().messageBox(u"<b>A</b> & B", PROGRAM_NAME, row.flags), row.answer);
    }
}

TEST_F(FrameTest, BoxesAndDialogsOfFilesSpeakTheLanguageInForce) {
    SetLanguage(LANGUAGE_ENGLISH);
    QTimer::singleShot(10, [] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        QStringList texts;
        for (QAbstractButton* button : box->buttons()) texts.append(button->text());
        texts.sort();
        EXPECT_EQ(texts, QStringList({"&No", "&Yes", "Cancel"}));
        QTest::keyClick(box, Qt::Key_Escape);
    });
    EXPECT_EQ(QtPlatform().messageBox(u"?", PROGRAM_NAME, MB_YESNOCANCEL), IDCANCEL);
    const FileFilter filters[] = {{u"Workbooks", u"*.xls *.xlt"}, {u"Bitmap (*.bmp)", u"*.bmp"}};
    for (const bool save : {false, true}) {
        QTimer::singleShot(50, [save] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            EXPECT_EQ(dialog->windowTitle(), save ? "Save As" : "Open");
            EXPECT_EQ(dialog->labelText(QFileDialog::Accept), save ? "&Save" : "&Open");
            EXPECT_EQ(dialog->labelText(QFileDialog::Reject), "Cancel");
            EXPECT_EQ(dialog->labelText(QFileDialog::FileName), "File &name:");
            EXPECT_EQ(dialog->labelText(QFileDialog::FileType), "Files of &type:");
            EXPECT_EQ(dialog->labelText(QFileDialog::LookIn), "Look &in:");
            EXPECT_EQ(dialog->nameFilters(), QStringList({"Workbooks (*.xls *.xlt)", "Bitmap (*.bmp)"}));
            dialog->reject();
        });
        WideText path;
        i32 filter = 1;
        EXPECT_FALSE(save ? shell.saveFileDialog(std::span(filters), filter, path)
                          : shell.openFileDialog(std::span(filters), path));
    }
    ResetLanguage();
}

TEST_F(FrameTest, SettingsComeBack) {
    QTemporaryDir folder;
    CloseSettings();
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    WideText value;
    EXPECT_FALSE(shell.readSetting(u"Recent files", u"File1", value));
    ASSERT_TRUE(shell.writeSetting(u"Recent files", u"File1", u"/tmp/表, 1; \"x\".xls"));
    CloseSettings();
    ASSERT_TRUE(shell.readSetting(u"Recent files", u"File1", value));
    EXPECT_EQ(value.View(), WideView(u"/tmp/表, 1; \"x\".xls"));
    CloseSettings();
}

TEST_F(FrameTest, TheClipboardHoldsText) {
    const WideView copied = u"1\t2\r\n中\t4\r\n";
    ASSERT_TRUE(PutClipboardText(&copied, {}));
    WideText text;
    Array<u8> bytes;
    EXPECT_TRUE(shell.clipboardHas(CF_UNICODETEXT));
    EXPECT_TRUE(shell.clipboardHas(CF_TEXT));
    EXPECT_TRUE(shell.clipboardHas(CF_PRIVATE));
    ASSERT_TRUE(ReadClipboardText(text));
    EXPECT_EQ(text.View(), copied);
    ASSERT_TRUE(shell.readClipboard(CF_TEXT, bytes));
    EXPECT_EQ(bytes[0], '1');
}

TEST_F(FrameTest, AnotherProgramsTextTakesTheMarkerAway) {
    const WideView copied = u"1";
    ASSERT_TRUE(PutClipboardText(&copied, {}));
    QGuiApplication::clipboard()->setText(QStringLiteral("a\tb\nc"));
    WideText text;
    EXPECT_FALSE(shell.clipboardHas(CF_PRIVATE));
    ASSERT_TRUE(ReadClipboardText(text));
    EXPECT_EQ(text.View(), WideView(u"a\tb\r\nc"));
    QGuiApplication::clipboard()->clear();
    EXPECT_FALSE(shell.clipboardHas(CF_UNICODETEXT));
    ASSERT_TRUE(PutClipboardText(nullptr, {}));
    EXPECT_TRUE(shell.clipboardHas(CF_PRIVATE));
    EXPECT_FALSE(shell.clipboardHas(CF_UNICODETEXT));
}

TEST_F(FrameTest, TheClipboardHoldsSeveralFormatsAtOnce) {
    const auto bytesOf = [](std::string_view text) {
        return ByteView(reinterpret_cast<const u8*>(text.data()), text.size());
    };
    const u32 own = RegisterClipboardFormat(u"Some cells");
    const WideView text = u"1\r\n中";
    const std::string_view csv = "1,2\r\n", page = "<b>1</b>", cells("\0\1\xFF", 3);
    const ClipboardItem items[] = {{CF_UNICODETEXT, ClipboardBytes(text)},
                                   {CF_CSV, bytesOf(csv)},
                                   {CF_HTML, bytesOf(page)},
                                   {own, bytesOf(cells)}};
    ASSERT_TRUE(shell.putClipboard(std::span(items)));
    const QMimeData* offered = QGuiApplication::clipboard()->mimeData();
    EXPECT_EQ(offered->text(), QStringLiteral("1\r\n中"));
    EXPECT_EQ(offered->data(QStringLiteral("text/csv")), QByteArray("1,2\r\n"));
    EXPECT_EQ(offered->html(), QStringLiteral("<b>1</b>"));
    for (const ClipboardItem& item : items) {
        Array<u8> bytes;
        EXPECT_TRUE(shell.clipboardHas(item.format)) << item.format;
        ASSERT_TRUE(shell.readClipboard(item.format, bytes)) << item.format;
        EXPECT_TRUE(std::ranges::equal(bytes.Span(), item.bytes)) << item.format;
    }
    Array<u8> bytes;
    for (const u32 format : {u32{CF_PRIVATE}, u32{CF_DIB}, own + 1, 7u}) {
        EXPECT_FALSE(shell.clipboardHas(format)) << format;
        EXPECT_FALSE(shell.readClipboard(format, bytes)) << format;
    }
}

TEST_F(FrameTest, APictureOnTheClipboardKeepsItsPixels) {
    QImage image(3, 2, QImage::Format_RGB32);
    for (int i = 0; i < 6; ++i) image.setPixel(i % 3, i / 3, qRgb(40 * i, 255 - i, 7));
    QGuiApplication::clipboard()->setImage(image);
    Array<u8> bitmap;
    ASSERT_TRUE(shell.clipboardHas(CF_DIB));
    ASSERT_TRUE(shell.readClipboard(CF_DIB, bitmap));
    EXPECT_EQ(bitmap[0], 40);
    QGuiApplication::clipboard()->clear();
    const ClipboardItem item = {CF_DIB, bitmap.Span()};
    ASSERT_TRUE(shell.putClipboard(std::span(&item, 1)));
    EXPECT_EQ(QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_RGB32), image);
    // What is no bitmap is no picture.
    const ClipboardItem shortened = {CF_DIB, item.bytes.first(20)};
    ASSERT_TRUE(shell.putClipboard(std::span(&shortened, 1)));
    EXPECT_FALSE(shell.readClipboard(CF_DIB, bitmap));
}

TEST_F(FrameTest, TheMenuKeyAsksForTheMenuOfTheCells) {
    heard.takesKeys = false;
    QTest::keyClick(&FrameInUse()->client, Qt::Key_Menu);
    ASSERT_FALSE(heard.messages.empty());
    EXPECT_EQ(heard.messages.back().message, u32{WM_CONTEXTMENU});
    EXPECT_EQ(heard.messages.back().x, -1);
    heard.takesKeys = true;
    heard.messages.clear();
    QTest::keyClick(&FrameInUse()->client, Qt::Key_Menu);
    ASSERT_FALSE(heard.messages.empty());
    EXPECT_EQ(heard.messages.back().message, u32{WM_KEYDOWN});
    EXPECT_EQ(heard.messages.back().key, u32{VK_APPS});
}

TEST_F(FrameTest, WhatIsInvalidIsPaintedAtOnceWhenAskedFor) {
    heard.messages.clear();
    shell.invalidate({10, 10, 20, 30});
    EXPECT_TRUE(heard.messages.empty());
    shell.repaintNow();
    ASSERT_EQ(heard.messages.size(), 1u);
    EXPECT_EQ(heard.messages[0].message, u32{WM_PAINT});
    EXPECT_EQ(heard.messages[0].paint, (PixelRect{10, 10, 20, 30}));
    heard.messages.clear();
    shell.repaintNow();
    EXPECT_TRUE(heard.messages.empty());
}

TEST_F(FrameTest, TheWindowBringsItsIconAndItsName) {
    const QIcon icon = FrameInUse()->window.windowIcon();
    for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
        const QImage image = icon.pixmap(size, size).toImage();
        EXPECT_EQ(image.size(), QSize(size, size));
        EXPECT_GT(image.pixelColor(size / 2, size / 8).green(), image.pixelColor(size / 2, size / 8).red());
    }
    EXPECT_EQ(QGuiApplication::desktopFileName(), QStringLiteral("tallyman"));
}

TEST_F(FrameTest, FilesAreTakenOnceTheProgramTheyComeFromIsDone) {
    FrameInUse()->calls.filesDropped = [](std::span<const WideText> paths) {
        for (const WideText& path : paths) heard.dropped.push_back(Narrow(path));
    };
    QMimeData files, links;
    files.setUrls({QUrl::fromLocalFile(QStringLiteral("/a b/\u4E2D.xls")),
                   QUrl(QStringLiteral("http://there/x.xls")), QUrl::fromLocalFile(QStringLiteral("/c.csv"))});
    links.setUrls({QUrl(QStringLiteral("http://there/x.xls"))});
    QWidget& window = FrameInUse()->window;
    EXPECT_FALSE(window.acceptDrops());
    shell.acceptFiles(true);
    EXPECT_TRUE(window.acceptDrops());
    // Over the edit controls as well.
    EXPECT_FALSE(EditBox(ENTRY_LINE).acceptDrops() || EditBox(ENTRY_LINE).viewport()->acceptDrops());
    QDragEnterEvent link(QPoint(5, 5), Qt::CopyAction, &links, Qt::LeftButton, Qt::NoModifier);
    link.accept();
    QApplication::sendEvent(&window, &link);
    EXPECT_FALSE(link.isAccepted());
    QDragEnterEvent enter(QPoint(5, 5), Qt::MoveAction | Qt::CopyAction, &files, Qt::LeftButton,
                          Qt::NoModifier);
    enter.ignore();
    QApplication::sendEvent(&window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(5, 5), Qt::MoveAction | Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    drop.setDropAction(Qt::MoveAction);
    QApplication::sendEvent(&window, &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_EQ(drop.dropAction(), Qt::CopyAction) << "a move would delete the file";
    EXPECT_TRUE(heard.dropped.empty());
    Settle();
    EXPECT_EQ(heard.dropped, (std::vector<std::string>{"/a b/\u4E2D.xls", "/c.csv"}));
}

TEST_F(FrameTest, ThePointerWaits) {
    shell.setPointer(POINTER_WAIT);
    EXPECT_EQ(FrameInUse()->client.cursor().shape(), Qt::WaitCursor);
    shell.setPointer(POINTER_ARROW);
    EXPECT_EQ(FrameInUse()->client.cursor().shape(), Qt::ArrowCursor);
}

TEST_F(FrameTest, TheFrameFillsTheScreenAndComesBack) {
    shell.setFullScreen(true);
    EXPECT_TRUE(FrameInUse()->window.isFullScreen());
    shell.setFullScreen(false);
    EXPECT_FALSE(FrameInUse()->window.isFullScreen());
    shell.setTitle(u"Tallyman - 表1");
    EXPECT_EQ(FrameInUse()->window.windowTitle(), QStringLiteral("Tallyman - 表1"));
}

}  // namespace
}  // namespace tally
