#include "shell/dialogs/Dialogs.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTest>
#include <QTimer>

#include "base/MessageTable.h"
#include "platform/qt/QtFrame.h"
#include "shell/dialogs/Pickers.h"

namespace tally {
namespace {

enum Id : i32 {
    LABEL = 100,
    NAME,
    SIDE,
    LEFT,
    RIGHT,
    ITEMS,
    DROP,
    COUNT,
    FLAG,
    TABS,
    PAGE_ONE,
    PAGE_TWO,
    DEEP,
    AREA,
    SAMPLE
};

constexpr ControlRow rows[] = {
    {.id = LABEL, .kind = CONTROL_LABEL, .text = 26, .cell = {0, 0}},
    {.id = NAME, .kind = CONTROL_EDIT, .cell = {0, 1}, .width = 20},
    {.id = SIDE, .kind = CONTROL_GROUP, .text = 27, .cell = {1, 0, 2}},
    {.id = LEFT, .kind = CONTROL_RADIO, .text = 28, .cell = {0, 0}, .container = SIDE},
    {.id = RIGHT, .kind = CONTROL_RADIO, .text = 29, .cell = {1, 0}, .container = SIDE},
    {.id = ITEMS, .kind = CONTROL_LIST, .cell = {2, 0}, .lines = 4},
    {.id = DROP, .kind = CONTROL_DROP_LIST, .cell = {2, 1}},
    {.id = COUNT, .kind = CONTROL_SPIN, .cell = {3, 0}},
    {.id = FLAG, .kind = CONTROL_CHECK, .text = 33, .cell = {3, 1}},
    {.id = TABS, .kind = CONTROL_PAGES, .cell = {4, 0, 2}},
    {.id = PAGE_ONE, .kind = CONTROL_PAGE, .text = 35, .container = TABS},
    {.id = PAGE_TWO, .kind = CONTROL_PAGE, .text = 36, .container = TABS},
    {.id = DEEP, .kind = CONTROL_EDIT, .cell = {0, 0}, .container = PAGE_TWO},
    {.id = AREA, .kind = CONTROL_REFERENCE, .cell = {5, 0, 2}},
    {.id = SAMPLE, .kind = CONTROL_PAINTED, .cell = {6, 0}, .width = 10, .lines = 2},
};

struct Seen {
    QString name, deep;
    i32 radio = 0, item = -1, drop = -1, count = 0;
    bool flag = false;
    i32 paints = 0, clicks = 0, clickX = -1;
};
Seen seen;
void (*use)(QDialog& dialog) = nullptr;

bool Procedure(Dialog& dialog, const DialogEvent& event) {
    switch (event.kind) {
        case DIALOG_START:
            for (const WideView item : {u"red", u"green", u"blue"})
                EXPECT_TRUE(AddControlItem(dialog, ITEMS, item, item != u"green") &&
                            AddControlItem(dialog, DROP, item));
            SetControlRange(dialog, COUNT, 1, 12);
            SetControlChoice(dialog, LEFT, 1);
            SetControlChoice(dialog, DROP, 1);
            EnableControl(dialog, FLAG, false);
            return SetControlText(dialog, NAME, u"given");
        case DIALOG_CHANGED:
            if (event.control == NAME) EnableControl(dialog, FLAG, !ControlText(dialog, NAME).empty());
            return true;
        case DIALOG_PAINT:
            ++seen.paints;
            FillRect(*event.target, event.paint, 0x0000FF);
            return true;
        case DIALOG_MOUSE:
            if (event.value == static_cast<i32>(WM_LBUTTONDOWN)) {
                ++seen.clicks;
                seen.clickX = event.x;
            }
            return true;
        case DIALOG_ACCEPT:
            if (ControlText(dialog, NAME) == u"no") return false;
            seen.name = QString::fromStdU16String(std::u16string(ControlText(dialog, NAME)));
            seen.deep = QString::fromStdU16String(std::u16string(ControlText(dialog, DEEP)));
            seen.radio = ChosenRadio(dialog, LEFT);
            seen.item = ControlChoice(dialog, ITEMS);
            seen.drop = ControlChoice(dialog, DROP);
            seen.count = ControlChoice(dialog, COUNT);
            seen.flag = IsChecked(dialog, FLAG);
            return true;
        default: return true;
    }
}
constexpr DialogTable table = {.title = 25, .rows = rows, .procedure = Procedure};

class DialogsOnScreen : public testing::Test {
  protected:
    void SetUp() override {
        seen = Seen();
        SetShellPlatform(&QtShellPlatform());
        UseFrameCalls({.sendMessage = [](const ShellMessage&) { return false; },
                       .translateAccelerator = [](u32, u32) { return false; },
                       .editKeyDown = [](EditHandle, u32, u32) { return false; },
                       .editChar = [](EditHandle, u32, u32) { return false; },
                       .editClick = [](EditHandle) { return true; },
                       .menuItems = [](MenuId, Array<MenuItem>&) { return true; },
                       .layOutDialog = LayOutDialog});
    }
    // Runs the dialog and `act` while it is shown; Esc ends it if that did not.
    static bool Show(void (*act)(QDialog& dialog)) {
        use = act;
        OnceShown(nullptr, [](QDialog& dialog) {
            use(dialog);
            if (dialog.isVisible()) QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        return RunDialog(table, nullptr);
    }
    // Acts on the dialog in front as soon as one other than `below` is to be seen, however long that takes.
    template <typename Act>
    static void OnceShown(QDialog* below, Act act) {
        QTimer::singleShot(1, [below, act] {
            auto* dialog = qobject_cast<QDialog*>(TopDialogWindow());
            if (dialog && dialog != below && dialog->isVisible()) act(*dialog);
            else OnceShown(below, act);
        });
    }
    static QAbstractButton* Button(QDialog& dialog, const QString& text) {
        for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>())
            if (button->text() == text) return button;
        ADD_FAILURE() << "no button " << text.toStdString();
        return nullptr;
    }
};

TEST_F(DialogsOnScreen, ShowWhatTheRecordHoldsAndEscCancels) {
    EXPECT_FALSE(Show([](QDialog& dialog) {
        EXPECT_FALSE(dialog.windowTitle().isEmpty());
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), "given");
        EXPECT_EQ(dialog.findChild<QComboBox*>()->currentText(), "green");
        EXPECT_EQ(dialog.findChild<QListWidget*>()->currentRow(), -1);
        EXPECT_EQ(dialog.findChild<QListWidget*>()->item(1)->flags(), Qt::NoItemFlags);
        const auto radios = dialog.findChildren<QRadioButton*>();
        ASSERT_EQ(radios.size(), 2);
        EXPECT_TRUE(radios[0]->isChecked());
        EXPECT_FALSE(dialog.findChild<QCheckBox*>()->isEnabled());
        EXPECT_EQ(dialog.findChild<QTabBar*>()->count(), 2);
        EXPECT_FALSE(dialog.findChild<QGroupBox*>()->title().isEmpty());
        // The first control that can has the focus, and its label leads to it.
        EXPECT_EQ(dialog.focusWidget(), dialog.findChild<QLineEdit*>());
        EXPECT_EQ(dialog.findChild<QLabel*>()->buddy(), dialog.findChild<QLineEdit*>());
        EXPECT_FALSE(dialog.findChild<QLineEdit*>()->accessibleName().isEmpty());
    }));
    EXPECT_TRUE(seen.name.isEmpty());
}

TEST_F(DialogsOnScreen, WidgetsStandWhereTheShellPlacesThemWithoutCoveringEachOther) {
    EXPECT_FALSE(Show([](QDialog& dialog) {
        const auto edits = dialog.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
        EXPECT_GT(edits.size(), 12);
        for (QWidget* widget : edits) {
            if (!widget->isVisible()) continue;
            EXPECT_TRUE(dialog.rect().contains(widget->geometry())) << widget->metaObject()->className();
            for (QWidget* other : edits) {
                if (other == widget || !other->isVisible() || qobject_cast<QGroupBox*>(other) ||
                    qobject_cast<QGroupBox*>(widget))
                    continue;
                EXPECT_FALSE(widget->geometry().intersects(other->geometry()))
                    << widget->metaObject()->className() << " " << other->metaObject()->className();
            }
        }
    }));
}

TEST_F(DialogsOnScreen, KeysAndClicksReachTheRecord) {
    EXPECT_TRUE(Show([](QDialog& dialog) {
        auto* name = dialog.findChild<QLineEdit*>();
        name->selectAll();
        QTest::keyClicks(name, "typed");
        EXPECT_TRUE(dialog.findChild<QCheckBox*>()->isEnabled());
        QTest::mouseClick(dialog.findChildren<QRadioButton*>()[1], Qt::LeftButton, {}, QPoint(5, 8));
        dialog.findChild<QCheckBox*>()->click();
        auto* list = dialog.findChild<QListWidget*>();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(2)).center());
        auto* drop = dialog.findChild<QComboBox*>();
        drop->setCurrentIndex(2);
        emit drop->activated(2);
        dialog.findChild<QSpinBox*>()->setValue(7);
        dialog.findChild<QTabBar*>()->setCurrentIndex(1);
        auto* deep = dialog.focusWidget();
        for (QLineEdit* edit : dialog.findChildren<QLineEdit*>())
            if (edit->isVisible() && edit->text().isEmpty() && edit->actions().isEmpty() &&
                edit->parentWidget() == &dialog)
                deep = edit;
        QTest::keyClicks(deep, "below");
        QTest::keyClick(name, Qt::Key_Return);
        EXPECT_FALSE(dialog.isVisible());
    }));
    EXPECT_EQ(seen.name, "typed");
    EXPECT_EQ(seen.deep, "below");
    EXPECT_EQ(seen.radio, RIGHT);
    EXPECT_EQ(seen.item, 2);
    EXPECT_EQ(seen.drop, 2);
    EXPECT_EQ(seen.count, 7);
    EXPECT_TRUE(seen.flag);
}

TEST_F(DialogsOnScreen, ADoubleClickOnAnItemAccepts) {
    EXPECT_TRUE(Show([](QDialog& dialog) {
        auto* list = dialog.findChild<QListWidget*>();
        const QPoint at = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
    }));
    EXPECT_EQ(seen.item, 0);
}

TEST_F(DialogsOnScreen, OneInAnotherTakesKeysAndTheMouseWhichTheOuterDoesNot) {
    EXPECT_TRUE(Show([](QDialog& outer) {
        OnceShown(&outer, [&outer](QDialog& inner) {
            EXPECT_TRUE(inner.isEnabled());
            EXPECT_FALSE(outer.isEnabled());
            auto* name = inner.findChild<QLineEdit*>();
            name->selectAll();
            QTest::keyClicks(name, "inner");
            QTest::mouseClick(Button(inner, QStringLiteral("确定")), Qt::LeftButton);
        });
        EXPECT_TRUE(RunDialog(table, nullptr));
        EXPECT_EQ(seen.name, "inner");
        EXPECT_TRUE(outer.isEnabled());
        QTest::mouseClick(Button(outer, QStringLiteral("确定")), Qt::LeftButton);
    }));
    EXPECT_EQ(seen.name, "given");
}

TEST_F(DialogsOnScreen, OneThatDoesNotAcceptStays) {
    EXPECT_FALSE(Show([](QDialog& dialog) {
        auto* name = dialog.findChild<QLineEdit*>();
        name->selectAll();
        QTest::keyClicks(name, "no");
        QTest::keyClick(name, Qt::Key_Return);
        EXPECT_TRUE(dialog.isVisible());
    }));
}

TEST_F(DialogsOnScreen, TheShellPaintsItsOwnControlsAndHasTheirMouse) {
    EXPECT_FALSE(Show([](QDialog& dialog) {
        QWidget* sample = nullptr;
        for (QWidget* widget : dialog.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
            if (widget->metaObject() == &QWidget::staticMetaObject) sample = widget;
        ASSERT_NE(sample, nullptr);
        const QImage picture = sample->grab().toImage();
        EXPECT_EQ(picture.pixelColor(3, 3), QColor(255, 0, 0));
        QTest::mouseClick(sample, Qt::LeftButton, {}, QPoint(4, 5));
    }));
    EXPECT_GT(seen.paints, 0);
    EXPECT_EQ(seen.clicks, 1);
    EXPECT_EQ(seen.clickX, 4);
}

TEST_F(DialogsOnScreen, AReferenceEditShrinksItAndEscBringsItBack) {
    EXPECT_FALSE(Show([](QDialog& dialog) {
        const int height = dialog.height();
        QLineEdit* area = nullptr;
        for (QLineEdit* edit : dialog.findChildren<QLineEdit*>())
            if (!edit->actions().isEmpty()) area = edit;
        ASSERT_NE(area, nullptr);
        area->actions()[0]->trigger();
        EXPECT_LT(dialog.height(), height / 3);
        EXPECT_FALSE(dialog.findChild<QListWidget*>()->isVisible());
        EXPECT_TRUE(area->isVisible());
        QTest::keyClick(&dialog, Qt::Key_Escape);
        EXPECT_EQ(dialog.height(), height);
        EXPECT_TRUE(dialog.isVisible());
    }));
}

// ---- what begins undecided, and what the shell paints
// --------------------------------------------------------

enum : i32 { UNDECIDED = 100, PICKED };
constexpr ControlRow pickRows[] = {
    {.id = UNDECIDED, .kind = CONTROL_CHECK, .text = 26, .cell = {0, 0}},
    {.id = PICKED, .kind = CONTROL_PAINTED, .cell = {1, 0}, .width = 16, .lines = 1, .flags = CONTROL_PICKER},
};
constexpr PickerRow picked = {PICKED, PICK_PATTERN};
i32 chosen[2];

bool PickProcedure(Dialog& dialog, const DialogEvent& event) {
    if (HandlePicker(dialog, event, {&picked, 1}, 0)) return true;
    if (event.kind == DIALOG_START) {
        SetControlChoice(dialog, UNDECIDED, -1);
        if (!FillPicker(dialog, picked, 0)) return false;
        SetControlChoice(dialog, PICKED, 0);
    }
    if (event.kind == DIALOG_ACCEPT) {
        chosen[0] = ControlChoice(dialog, UNDECIDED);
        chosen[1] = ControlChoice(dialog, PICKED);
    }
    return true;
}
constexpr DialogTable pickTable = {.title = 25, .rows = pickRows, .procedure = PickProcedure};

QWidget* Described(QDialog& dialog, WideView text) {
    for (QWidget* widget : dialog.findChildren<QWidget*>())
        if (widget->accessibleDescription() == QString::fromStdU16String(std::u16string(text))) return widget;
    return nullptr;
}

TEST_F(DialogsOnScreen, AnUndecidedCheckIsSeenAsSuchAndAPickerIsReadAndMovedByKeys) {
    chosen[0] = chosen[1] = -2;
    QTimer::singleShot(10, [] {
        auto* dialog = qobject_cast<QDialog*>(TopDialogWindow());
        ASSERT_NE(dialog, nullptr);
        auto* check = dialog->findChild<QCheckBox*>();
        ASSERT_NE(check, nullptr);
        EXPECT_EQ(check->checkState(), Qt::PartiallyChecked);
        check->click();
        EXPECT_EQ(check->checkState(), Qt::Checked);
        QWidget* picker = Described(*dialog, Message(MSG_PICK_NONE));
        ASSERT_NE(picker, nullptr);
        QTest::keyClick(picker, Qt::Key_Down);
        QTest::keyClick(picker, Qt::Key_Down);
        EXPECT_NE(picker->accessibleDescription(),
                  QString::fromStdU16String(std::u16string(Message(MSG_PICK_NONE))));
        const QImage painted = picker->grab().toImage();
        EXPECT_FALSE(painted.isNull());
        QTest::keyClick(dialog, Qt::Key_Return);
        if (dialog->isVisible()) QTest::keyClick(dialog, Qt::Key_Escape);
    });
    EXPECT_TRUE(RunDialog(pickTable, nullptr));
    EXPECT_EQ(chosen[0], 1);
    EXPECT_EQ(chosen[1], 2);
}

}  // namespace
}  // namespace tally
