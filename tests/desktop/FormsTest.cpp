#include "platform/Forms.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>

#include "platform/qt/QtFrame.h"

namespace tally {
namespace {

class FormsOnScreen : public testing::Test {
  protected:
    Form form;

    void SetUp() override {
        constexpr WideView ways[] = {u"右移", u"下移", u"整行"}, names[] = {u"Sheet1", u"Sheet2"};
        ASSERT_TRUE(form.title.Assign(u"插入") && AddChoice(form, FIELD_RADIO, u"方式", ways, 1) &&
                    AddEdit(form, u"步长值:", u"1") && AddCheck(form, u"转置(&E)", false) &&
                    AddChoice(form, FIELD_LIST, u"之前:", names, 0) &&
                    AddChoice(form, FIELD_DROP_LIST, u"类型:", names, 1) && AddLabel(form, u"说明"));
        form.fields[0].greyItems = 1;
    }
    // Runs `use` while the form is shown; Esc ends it if `use` did not.
    bool Show(void (*use)(QDialog& dialog)) {
        QTimer::singleShot(10, [use] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            use(*dialog);
            if (dialog->isVisible()) QTest::keyClick(dialog, Qt::Key_Escape);
        });
        return QtShowForm(form);
    }
    static void Press(QDialog& dialog, const char* text) {
        for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>()) {
            if (button->text() == QString::fromUtf8(text)) return button->click();
        }
        ADD_FAILURE() << "no button " << text;
    }
};

TEST_F(FormsOnScreen, ShowWhatTheRecordHoldsAndEscCancels) {
    EXPECT_FALSE(Show([](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("插入"));
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), "1");
        EXPECT_EQ(dialog.findChild<QComboBox*>()->currentText(), "Sheet2");
        EXPECT_EQ(dialog.findChild<QListWidget*>()->currentRow(), 0);
        const auto radios = dialog.findChildren<QRadioButton*>();
        ASSERT_EQ(radios.size(), 3);
        EXPECT_FALSE(radios[0]->isEnabled());
        EXPECT_TRUE(radios[1]->isChecked());
    }));
    EXPECT_EQ(form.fields[0].choice, 1);
}

TEST_F(FormsOnScreen, AChangeMayBringOtherItemsAndGreyTheAcceptance) {
    form.changed = [](Form& changed, u32 field) {
        if (field != 4) return;
        changed.fields[3].items.Truncate(0);
        WideText item;
        ASSERT_TRUE(item.Assign(u"only") && changed.fields[3].items.Append(std::move(item)));
        changed.fields[3].choice = 0;
        changed.acceptable = false;
    };
    EXPECT_FALSE(Show([](QDialog& dialog) {
        auto* list = dialog.findChild<QListWidget*>();
        EXPECT_EQ(list->count(), 2);
        auto* drop = dialog.findChild<QComboBox*>();
        drop->setCurrentIndex(0);
        emit drop->activated(0);
        ASSERT_EQ(list->count(), 1);
        EXPECT_EQ(list->item(0)->text(), "only");
        EXPECT_EQ(list->currentRow(), 0);
        Press(dialog, "确定");  // grey
        EXPECT_TRUE(dialog.isVisible());
    }));
}

TEST_F(FormsOnScreen, GiveBackWhatTheUserChose) {
    EXPECT_TRUE(Show([](QDialog& dialog) {
        dialog.findChildren<QRadioButton*>()[2]->click();
        dialog.findChild<QLineEdit*>()->setText(QStringLiteral("2,5 元"));
        dialog.findChild<QCheckBox*>()->click();
        dialog.findChild<QListWidget*>()->setCurrentRow(1);
        dialog.findChild<QComboBox*>()->setCurrentIndex(0);
        Press(dialog, "确定");
    }));
    EXPECT_EQ(form.fields[0].choice, 2);
    EXPECT_EQ(form.fields[1].text.View(), WideView(u"2,5 元"));
    EXPECT_EQ(form.fields[2].choice, 1);
    EXPECT_EQ(form.fields[3].choice, 1);
    EXPECT_EQ(form.fields[4].choice, 0);
}

TEST_F(FormsOnScreen, StayOpenUntilAcceptedAndFollowChanges) {
    form.fields[1].enabled = false;
    form.changed = [](Form& changed, u32 field) {
        if (field == 2) changed.fields[1].enabled = changed.fields[2].choice != 0;
    };
    form.accept = [](Form& asked) { return asked.fields[2].choice != 0; };
    EXPECT_TRUE(Show([](QDialog& dialog) {
        Press(dialog, "确定");
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_FALSE(dialog.findChild<QLineEdit*>()->isEnabled());
        dialog.findChild<QCheckBox*>()->click();
        EXPECT_TRUE(dialog.findChild<QLineEdit*>()->isEnabled());
        Press(dialog, "确定");
        EXPECT_FALSE(dialog.isVisible());
    }));
}

}  // namespace
}  // namespace tally
