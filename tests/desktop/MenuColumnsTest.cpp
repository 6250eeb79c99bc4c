// Menus with columns and painted items, shown, walked through and chosen from.

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <functional>
#include <vector>

#include "platform/qt/QtFrame.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

struct Painted {
    i32 command;
    PixelRect place;
    u32 state;
};
struct Heard {
    std::vector<Painted> painted;
    std::vector<i32> commands;
};
Heard heard;

bool HearMessage(const ShellMessage& message) {
    if (message.message == WM_COMMAND) heard.commands.push_back(message.command);
    if (message.message == WM_CLOSE) QtShellPlatform().quit();
    if (message.message != WM_DRAWITEM) return true;
    heard.painted.push_back({message.command, message.paint, message.itemState});
    FillRect(*message.target, message.paint, 0x0000FF);
    return true;
}

// Two columns of three: texts, one of them grey, and painted items; a third of one painted item.
bool GiveColumns(Array<MenuItem>& items) {
    struct Row {
        WideView text;
        i32 command;
        bool newColumn, painted, enabled, checked;
    };
    for (const Row& row :
         {Row{u"&One", 1, false, false, true, false}, Row{u"T&wo", 2, false, false, false, false},
          Row{u"T&hree", 3, false, false, true, true}, Row{u"oval", 4, true, true, true, false},
          Row{u"box", 5, false, true, true, true}, Row{u"star", 6, false, true, false, false},
          Row{u"heart", 7, true, true, true, false}}) {
        if (!AddMenuItem(items, row.command, row.text, row.enabled, row.checked)) return false;
        items.Last().newColumn = row.newColumn;
        if (row.painted) items.Last().paintedWidth = 30, items.Last().paintedHeight = 20;
    }
    return true;
}
bool GiveItems(MenuId menu, Array<MenuItem>& items) {
    if (menu == MENU_INSERT) return GiveColumns(items);
    if (menu != MENU_BAR && menu != MENU_EDIT) return true;
    MenuItem item;
    item.popup = menu == MENU_BAR ? MENU_EDIT : MENU_INSERT;
    return item.text.Assign(u"&Menu") && items.Append(std::move(item));
}

class MenuColumnsTest : public testing::Test {
  protected:
    void SetUp() override {
        heard = Heard();
        FrameCalls calls = FrameCallsInUse();
        calls.sendMessage = HearMessage;
        calls.menuItems = GiveItems;
        OpenFrame(calls);
        ShowFrame();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&FrameInUse()->window));
    }
    // What the popup gives when the user does that in it.
    static i32 Tracked(const std::function<void(QWidget& popup)>& act) {
        Array<MenuItem> items;
        EXPECT_TRUE(GiveColumns(items));
        QTimer::singleShot(20, [&] {
            QApplication::processEvents();
            if (QWidget* popup = QApplication::activePopupWidget()) act(*popup);
            QTest::qWait(1);
            if (QWidget* popup = QApplication::activePopupWidget()) popup->close();
        });
        return QtShellPlatform().trackPopup(items, 20, 20);
    }
    static void Press(Qt::Key key) {
        QWidget* popup = QApplication::activePopupWidget();
        ASSERT_NE(popup, nullptr);
        QTest::keyClick(popup->focusWidget() ? popup->focusWidget() : popup, key);
    }
    static QWidget& Columns(QWidget& popup) {
        return *popup.findChild<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    }
};

TEST_F(MenuColumnsTest, ColumnsStandBesideEachOtherAndPaintedItemsHaveTheirSizes) {
    EXPECT_EQ(Tracked([](QWidget& popup) { Columns(popup).repaint(); }), 0);
    ASSERT_GE(heard.painted.size(), 4u);
    const Painted *oval = nullptr, *box = nullptr, *star = nullptr, *heart = nullptr;
    for (const Painted& item : heard.painted) {
        (item.command == 4 ? oval : item.command == 5 ? box : item.command == 6 ? star : heart) = &item;
        EXPECT_EQ(item.place.right - item.place.left, 30);
        EXPECT_EQ(item.place.bottom - item.place.top, 20);
    }
    ASSERT_TRUE(oval && box && star && heart);
    EXPECT_GT(oval->place.left, 20);  // beside the texts
    EXPECT_EQ(oval->place.top, 0);
    EXPECT_EQ(box->place.left, oval->place.left);
    EXPECT_EQ(box->place.top, 20);
    EXPECT_EQ(star->place.top, 40);
    EXPECT_EQ(heart->place.left, oval->place.right);
    EXPECT_EQ(heart->place.top, 0);
    EXPECT_EQ(box->state, ITEM_CHECKED);
    EXPECT_EQ(star->state, ITEM_GREY);
}

TEST_F(MenuColumnsTest, KeysWalkThroughAndAcrossTheColumns) {
    struct Case {
        std::vector<Qt::Key> keys;
        i32 chosen;
    };
    const Case cases[] = {
        {{Qt::Key_Down, Qt::Key_Return}, 1},
        {{Qt::Key_Down, Qt::Key_Down, Qt::Key_Return}, 3},  // over the grey one
        {{Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Enter}, 4},
        {{Qt::Key_Up, Qt::Key_End, Qt::Key_Space}, 7},
        {{Qt::Key_Down, Qt::Key_Up, Qt::Key_Return}, 7},
        {{Qt::Key_Down, Qt::Key_End, Qt::Key_Down, Qt::Key_Return}, 1},
        {{Qt::Key_Down, Qt::Key_Right, Qt::Key_Return}, 4},
        {{Qt::Key_Down, Qt::Key_Right, Qt::Key_Down, Qt::Key_Right, Qt::Key_Return}, 7},
        {{Qt::Key_Down, Qt::Key_Right, Qt::Key_Down, Qt::Key_Left, Qt::Key_Home, Qt::Key_Return}, 1},
        {{Qt::Key_Down, Qt::Key_H}, 3},
        {{Qt::Key_Down, Qt::Key_W}, 0},  // grey
        {{Qt::Key_Down, Qt::Key_Escape}, 0},
    };
    for (const Case& row : cases) {
        const i32 chosen = Tracked([&](QWidget&) {
            for (const Qt::Key key : row.keys) Press(key);
        });
        EXPECT_EQ(chosen, row.chosen) << &row - cases;
    }
}

TEST_F(MenuColumnsTest, TheMouseLightsUpAnItemAndChoosesIt) {
    const i32 chosen = Tracked([](QWidget& popup) {
        QWidget& columns = Columns(popup);
        columns.repaint();
        PixelRect box, star;
        for (const Painted& item : heard.painted) {
            if (item.command == 5) box = item.place;
            if (item.command == 6) star = item.place;
        }
        heard.painted.clear();
        QTest::mouseMove(&columns, QPoint(box.left + 3, box.top + 3));
        QApplication::processEvents();
        bool lit = false;
        for (const Painted& item : heard.painted)
            lit |= item.command == 5 && item.state == (ITEM_SELECTED | ITEM_CHECKED);
        EXPECT_TRUE(lit);
        // A grey one and the room below a short column are nothing to choose.
        for (const PixelPoint& place :
             {PixelPoint{star.left + 3, star.top + 3}, {star.right + 3, star.top + 3}}) {
            QTest::mouseClick(&columns, Qt::LeftButton, {}, QPoint(place.x, place.y));
            EXPECT_TRUE(popup.isVisible());
        }
        QTest::mouseClick(&columns, Qt::LeftButton, {}, QPoint(box.left + 3, box.top + 3));
    });
    EXPECT_EQ(chosen, 5);
    EXPECT_TRUE(heard.commands.empty());
}

TEST_F(MenuColumnsTest, APopupOfTheBarSendsTheCommandOnceAndIsGoneBefore) {
    QMenu* outer = FrameInUse()->menuBar.actions()[0]->menu<QMenu*>();
    ASSERT_NE(outer, nullptr);
    outer->popup(QPoint(50, 50));
    QTest::keyClick(outer, Qt::Key_Down);
    QTest::keyClick(outer, Qt::Key_Right);
    QWidget* inner = QApplication::activePopupWidget();
    ASSERT_NE(inner, nullptr);
    ASSERT_NE(inner, outer);
    for (const Qt::Key key : {Qt::Key_Home, Qt::Key_Right, Qt::Key_Return}) Press(key);
    EXPECT_EQ(heard.commands, std::vector<i32>{4});
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
}

}  // namespace
}  // namespace tally
