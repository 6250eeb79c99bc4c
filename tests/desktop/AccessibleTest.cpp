// The window as clients of the desktop's accessibility see it.

#include <gtest/gtest.h>

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QApplication>
#include <QTest>
#include <utility>

#include "base/MessageTable.h"
#include "desktop/WholeProgram.h"
#include "model/BookTable.h"
#include "platform/qt/QtAccessible.h"
#include "platform/qt/QtText.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

struct HeardEvents {
    std::string focused;  // cells that came to the focus, as "name|value|description "
    std::string names;    // that have changed
    int values = 0, selections = 0, states = 0;
};
HeardEvents heard;

void Hear(QAccessibleEvent* event) {
    heard.values += event->type() == QAccessible::ValueChanged;
    heard.selections += event->type() == QAccessible::SelectionWithin;
    heard.states += event->type() == QAccessible::StateChanged;
    if (event->type() == QAccessible::NameChanged)
        heard.names += event->accessibleInterface()->text(QAccessible::Name).toStdString() + " ";
    if (event->type() != QAccessible::Focus) return;
    const QAccessibleInterface& object = *event->accessibleInterface();
    for (const QAccessible::Text kind : {QAccessible::Name, QAccessible::Value, QAccessible::Description})
        heard.focused += object.text(kind).toStdString() + (kind == QAccessible::Description ? " " : "|");
}

class DesktopAccessible : public WholeProgram {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(WholeProgram::SetUp());
        FrameInUse()->window.activateWindow();
        ASSERT_TRUE(QTest::qWaitFor([] { return EditBox(ENTRY_LINE).hasFocus(); }));
        // A book of two sheets.
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        SelectSheet(0);
        heard = HeardEvents();
        UseAccessibleSink(Hear);
    }
    void TearDown() override {
        QAccessible::setActive(false);
        UseAccessibleSink(nullptr);
        CloseAccessible();
        WholeProgram::TearDown();
    }
    static QAccessibleInterface* Client() {
        return QAccessible::queryAccessibleInterface(&FrameInUse()->client);
    }
    // The first object of a role and name below another one.
    static QAccessibleInterface* Find(QAccessible::Role role, const QString& name,
                                      QAccessibleInterface* in = Client()) {
        for (int i = 0; i < in->childCount(); ++i) {
            QAccessibleInterface* child = in->child(i);
            if (child->role() == role && child->text(QAccessible::Name) == name) return child;
            if (QAccessibleInterface* found = Find(role, name, child)) return found;
        }
        return nullptr;
    }
    // What came to the focus since the last question.
    static std::string Focused() { return std::exchange(heard.focused, {}); }
    static void Type(const char* text) { QTest::keyClicks(FrameInUse()->window.focusWidget(), text); }
    static void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(FrameInUse()->window.focusWidget(), key, modifiers);
    }
};

TEST_F(DesktopAccessible, NothingIsToldOrMadeBeforeAClientAsks) {
    QAccessible::setActive(false);
    EXPECT_FALSE(QtAccessibleWatched());
    Key(Qt::Key_Right);
    EXPECT_EQ(Focused(), "");
    QAccessible::setActive(true);
    EXPECT_TRUE(QtAccessibleWatched());
    Key(Qt::Key_Right);
    EXPECT_EQ(Focused(), "C1|| ");
}

void ExpectSound(QAccessibleInterface& object, int depth, int& count) {
    ASSERT_LT(depth, 5);
    for (int i = 0; i < object.childCount(); ++i) {
        QAccessibleInterface* child = object.child(i);
        ASSERT_NE(child, nullptr) << i;
        EXPECT_TRUE(child->isValid());
        EXPECT_EQ(child->parent(), &object) << child->text(QAccessible::Name).toStdString();
        EXPECT_EQ(object.indexOfChild(child), i);
        EXPECT_EQ(object.child(i), child) << "the same object each time";
        ++count;
        if (child->role() != QAccessible::EditableText && child->role() != QAccessible::ScrollBar)
            ExpectSound(*child, depth + 1, count);
    }
    EXPECT_EQ(object.child(object.childCount()), nullptr);
    EXPECT_EQ(object.child(-1), nullptr);
}

TEST_F(DesktopAccessible, TheTreeIsSoundAndNamed) {
    QAccessible::setActive(true);
    int count = 0;
    ExpectSound(*Client(), 0, count);
    EXPECT_GT(count, 60);
    EXPECT_NE(Find(QAccessible::PageTab, "Sheet2"), nullptr);
    EXPECT_NE(Find(QAccessible::ColumnHeader, "C"), nullptr);
    EXPECT_NE(Find(QAccessible::RowHeader, "7"), nullptr);
    EXPECT_NE(Find(QAccessible::StaticText, "A1"), nullptr);
    QAccessibleInterface* line = Find(QAccessible::EditableText, "编辑栏");
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->object(), &EditBox(ENTRY_LINE));
    QAccessibleInterface* cell = Find(QAccessible::Cell, "A1");
    ASSERT_NE(cell, nullptr);
    EXPECT_TRUE(cell->state().focused && cell->state().selected);
    EXPECT_EQ(Client()->focusChild(), cell);
    const PixelRect place = AreaPixels({0, 0, 0, 0});
    const QPoint corner = FrameInUse()->client.mapToGlobal(QPoint(place.left, place.top));
    EXPECT_EQ(cell->rect(), QRect(corner, QSize(place.right - place.left, place.bottom - place.top)));
    // By place: a tab within its list.
    QAccessibleInterface* tab = Find(QAccessible::PageTab, "Sheet2");
    QAccessibleInterface* list = Client()->childAt(tab->rect().center().x(), tab->rect().center().y());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->role(), QAccessible::PageTabList);
    EXPECT_EQ(list->childAt(tab->rect().center().x(), tab->rect().center().y()), tab);
}

TEST_F(DesktopAccessible, TheCellThatKeysComeToIsTold) {
    QAccessible::setActive(true);
    Type("12%");
    Key(Qt::Key_Tab);
    Type("=A1*2");
    heard = HeardEvents();
    Key(Qt::Key_Return);
    EXPECT_EQ(Focused(), "B2|| ") << "once, and not where it was stored";
    Key(Qt::Key_Up);
    EXPECT_EQ(Focused(), "B1|0.24|=A1*2 ");
    Key(Qt::Key_Left);
    EXPECT_EQ(Focused(), "A1|12%| ");
    Key(Qt::Key_Right);
    heard = HeardEvents();
    QAccessibleInterface* cell = Find(QAccessible::Cell, "B1");
    ASSERT_NE(cell, nullptr);
    ASSERT_NE(cell->textInterface(), nullptr);
    EXPECT_EQ(cell->textInterface()->text(0, cell->textInterface()->characterCount()), "0.24");
    EXPECT_EQ(cell->actionInterface(), nullptr);
    // A value that changes where one stands.
    Key(Qt::Key_Delete);
    EXPECT_EQ(heard.values, 1);
    EXPECT_EQ(Focused(), "");
    heard = HeardEvents();
    Key(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(heard.selections, 1);
    EXPECT_EQ(Focused(), "");
    EXPECT_NE(Find(QAccessible::Grouping, "B1:C1"), nullptr);
}

TEST_F(DesktopAccessible, TheKeyboardComesBackFromTheLineToTheCell) {
    QAccessible::setActive(true);
    Type("x");
    EXPECT_FALSE(Find(QAccessible::Cell, "A1")->state().focused);
    EXPECT_EQ(Client()->focusChild(), QAccessible::queryAccessibleInterface(&EditBox(ENTRY_LINE)));
    heard = HeardEvents();
    Key(Qt::Key_Escape);
    EXPECT_NE(Focused().find("A1||"), std::string::npos);
    EXPECT_TRUE(Find(QAccessible::Cell, "A1")->state().focused);
}

TEST_F(DesktopAccessible, WhatAClientMayHaveTakenOverIsToldWhenItChanges) {
    QAccessible::setActive(true);
    QAccessibleInterface* tab = Find(QAccessible::PageTab, "Sheet2");
    ASSERT_NE(tab, nullptr);
    Key(Qt::Key_Right);
    Key(Qt::Key_Left);
    const QAccessible::Id empty = QAccessible::uniqueId(Find(QAccessible::Cell, "A1"));
    Type("=1+2");
    Key(Qt::Key_Return);
    heard = HeardEvents();
    Key(Qt::Key_Up);
    EXPECT_EQ(heard.focused, "A1|3|=1+2 ");
    EXPECT_NE(QAccessible::uniqueId(Find(QAccessible::Cell, "A1")), empty) << "visited while it was empty";
    heard = HeardEvents();
    WideText name;
    ASSERT_TRUE(name.Assign(u"Second"));
    std::copy(name.View().begin(), name.View().end() + 1, CurrentWorkbook()->sheets[1]->name);
    SelectSheet(1);
    Key(Qt::Key_Down);
    EXPECT_NE(heard.names.find("Second "), std::string::npos) << heard.names;
    EXPECT_EQ(tab->text(QAccessible::Name), "Second");
    EXPECT_GE(heard.states, 2) << "one tab is no longer selected, another is";
}

TEST_F(DesktopAccessible, ManyVisitedCellsLeaveFewObjects) {
    QAccessible::setActive(true);
    QAccessibleInterface* first = Find(QAccessible::Cell, "A1");
    const QAccessible::Id id = QAccessible::uniqueId(first);
    for (int i = 0; i < 100; ++i) Key(Qt::Key_Down);
    EXPECT_EQ(QAccessible::accessibleInterface(id), nullptr);
    EXPECT_NE(Find(QAccessible::Cell, "A101"), nullptr);
    for (int i = 0; i < 100; ++i) Key(Qt::Key_Up);
    EXPECT_NE(Find(QAccessible::Cell, "A1"), nullptr);
}

TEST_F(DesktopAccessible, ButtonsAndTabsCanBePressed) {
    QAccessible::setActive(true);
    QAccessibleInterface* tab = Find(QAccessible::PageTab, "Sheet2");
    ASSERT_NE(tab->actionInterface(), nullptr);
    tab->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(CurrentWorkbook()->currentSheet, 1);
    EXPECT_TRUE(Find(QAccessible::PageTab, "Sheet2")->state().selected);
    EXPECT_FALSE(Find(QAccessible::PageTab, "Sheet1")->state().selected);
    const ToolbarButton& button = ToolbarButtons()[0];
    ASSERT_EQ(button.command, 110);
    QAccessibleInterface* added = Find(QAccessible::PushButton, ToQString(Message(button.tip)));
    ASSERT_NE(added, nullptr);
    EXPECT_FALSE(added->state().disabled);
    const i32 before = CurrentBook();
    added->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_NE(CurrentBook(), before);
}

}  // namespace
}  // namespace tally
