// What an input method composes over a cell, with the whole program on the toolkit.

#include <gtest/gtest.h>

#include <QApplication>
#include <QInputMethodEvent>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>

#include "desktop/WholeProgram.h"
#include "editing/SheetOperations.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "shell/selection/Selection.h"
#include "shell/state/ShellState.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class InputMethodTest : public WholeProgram {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(WholeProgram::SetUp());
        FrameInUse()->client.setFocus();
        QApplication::processEvents();
    }
    // As an input method sends it: to the window that has the focus.
    static void Compose(const char* unfinished, const char* committed = "") {
        QInputMethodEvent event(QString::fromUtf8(unfinished), {});
        event.setCommitString(QString::fromUtf8(committed));
        QApplication::sendEvent(Focus(), &event);
    }
    static QWidget* Focus() { return FrameInUse()->window.focusWidget(); }
    static bool IsInLine() { return FrameInUse()->wanted == ENTRY_LINE; }
    static void Press(Qt::Key key) { QTest::keyClick(Focus(), key); }
    static std::string Line() {
        WideText text;
        EXPECT_TRUE(QtShellPlatform().editText(ENTRY_LINE, text));
        return Narrow(text);
    }
    static std::string Unfinished() {
        return EditBox(ENTRY_LINE).textCursor().block().layout()->preeditAreaText().toStdString();
    }
    static std::string TextAt(i32 row, i32 column) {
        const CellRecord* cell = GetCell(CurrentSheet()->cells, row, column);
        return cell && cell->value.type == VT_STRING ? Narrow(TextOf(cell->value)) : "";
    }
};

TEST_F(InputMethodTest, TheLineOwnsTheCompositionFromTheFirstKey) {
    Compose("n");
    EXPECT_TRUE(IsEditing());
    EXPECT_TRUE(IsInLine());
    EXPECT_EQ(Unfinished(), "n");
    EXPECT_EQ(Line(), "");
    Compose("ni");
    Compose("ni hao");
    EXPECT_EQ(Unfinished(), "ni hao");
    Compose("", "你好");
    EXPECT_EQ(Line(), "你好");
    EXPECT_EQ(Unfinished(), "");
    EXPECT_TRUE(IsInLine());
    Compose("ma");
    EXPECT_EQ(Unfinished(), "ma");
    Compose("", "吗");
    EXPECT_EQ(Line(), "你好吗");
    Press(Qt::Key_Return);
    EXPECT_EQ(TextAt(0, 0), "你好吗");
    EXPECT_FALSE(IsInLine());
    // And again on the next cell.
    Compose("w");
    Compose("", "我");
    Press(Qt::Key_Return);
    EXPECT_EQ(TextAt(1, 0), "我");
}

// Some commit what is done while they go on composing.
TEST_F(InputMethodTest, APartMayBeCommittedWhileTheRestGoesOn) {
    Compose("nihao");
    Compose("hao", "你");
    EXPECT_EQ(Line(), "你");
    EXPECT_EQ(Unfinished(), "hao");
    EXPECT_TRUE(IsInLine());
    Compose("", "好");
    EXPECT_EQ(Line(), "你好");
    EXPECT_TRUE(IsInLine());
}

TEST_F(InputMethodTest, WhatIsGivenUpLeavesAnEmptyLine) {
    Compose("n");
    Compose("");
    EXPECT_EQ(Line(), "");
    EXPECT_TRUE(IsEditing());
    EXPECT_TRUE(IsInLine());
    Press(Qt::Key_Escape);
    EXPECT_FALSE(IsEditing());
    EXPECT_FALSE(IsInLine());
}

// Dead keys and full-width marks come without anything unfinished.
TEST_F(InputMethodTest, WhatIsCommittedAtOnceIsTyped) {
    Compose("", "é");
    EXPECT_TRUE(IsInLine());
    EXPECT_EQ(Line(), "é");
    Compose("", "t");
    QTest::keyClicks(Focus(), "e");
    EXPECT_EQ(Line(), "éte");
    Press(Qt::Key_Return);
    EXPECT_EQ(TextAt(0, 0), "éte");
    Compose("", "，。");
    EXPECT_EQ(Line(), "，。");
    Press(Qt::Key_Return);
    EXPECT_EQ(TextAt(1, 0), "，。");
    // A surrogate pair is one character of two units.
    Compose("", "𠀀");
    Press(Qt::Key_Return);
    EXPECT_EQ(TextAt(2, 0), "𠀀");
}

TEST_F(InputMethodTest, ADeadKeyThatShowsItselfGivesOneLetter) {
    Compose("´");
    Compose("", "á");
    QTest::keyClicks(Focus(), "b");
    EXPECT_EQ(Line(), "áb");
}

TEST_F(InputMethodTest, QuestionsAreAnsweredForTheLineWhileItComposes) {
    const auto ask = [](Qt::InputMethodQuery query) {
        QInputMethodQueryEvent event(query);
        QApplication::sendEvent(&EditBox(ENTRY_LINE), &event);
        return event.value(query);
    };
    EXPECT_TRUE(ask(Qt::ImEnabled).toBool());
    EXPECT_FALSE(ask(Qt::ImSurroundingText).isValid());
    Compose("n");
    Compose("x", "你好");
    EXPECT_EQ(ask(Qt::ImSurroundingText).toString().toStdString(), "你好");
    EXPECT_EQ(ask(Qt::ImCursorPosition).toInt(), 2);
    const QRect place = ask(Qt::ImCursorRectangle).toRect();
    EXPECT_TRUE(EditBox(ENTRY_LINE).rect().intersects(place));
    Compose("", "");
}

// Each change of the focus would take from an input method what it composes.
TEST_F(InputMethodTest, TheFocusStaysInTheLine) {
    EXPECT_EQ(Focus(), &EditBox(ENTRY_LINE));
    EXPECT_FALSE(IsInLine());
    Compose("n");
    Compose("", "你");
    Press(Qt::Key_Return);
    EXPECT_FALSE(IsInLine());
    QtShellPlatform().placeEdit(ENTRY_LINE, {}, false);
    QTest::mouseClick(&FrameInUse()->client, Qt::LeftButton, {}, QPoint(200, 200));
    EXPECT_EQ(Focus(), &EditBox(ENTRY_LINE));
    EXPECT_LT(EditBox(ENTRY_LINE).geometry().bottom(), 0);
}

TEST_F(InputMethodTest, AClickOrAnotherWindowEndsTheComposition) {
    const RefArea first = CurrentSheet()->view.selection;
    Compose("ni");
    QTest::mouseClick(&FrameInUse()->client, Qt::LeftButton, {}, QPoint(200, 200));
    EXPECT_NE(CurrentSheet()->view.selection.firstRow, first.firstRow);
    EXPECT_EQ(TextAt(first.firstRow, first.firstColumn), "ni");
    EXPECT_EQ(Unfinished(), "");
    Compose("hao");
    QFocusEvent away(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    QApplication::sendEvent(&EditBox(ENTRY_LINE), &away);
    EXPECT_EQ(Line(), "hao");
    EXPECT_EQ(Unfinished(), "");
    EXPECT_TRUE(IsEditing());
}

TEST_F(InputMethodTest, WhereNothingCanBeTypedNothingIsComposed) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, true, false));
    SelectSheet(1);
    Compose("n");
    EXPECT_FALSE(IsEditing());
    EXPECT_EQ(FrameInUse()->composing, EDIT_NONE);
    EXPECT_EQ(Unfinished(), "");
}

}  // namespace
}  // namespace tally
