// The window on a dark desktop: what the toolkit paints takes the desktop's colours, the sheet and its strips
// keep their own, and all of it can be read.

#include <gtest/gtest.h>

#include <QApplication>
#include <QMenu>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include "desktop/Contrast.h"
#include "platform/qt/QtFrame.h"
#include "shell/frame/Shell.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

class DarkThemeTest : public testing::Test {
  protected:
    void SetUp() override {
        CloseSettings();
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
        QApplication::setPalette(DarkPalette());
        SetPlatform(&QtPlatform());
        SetShellPlatform(&QtShellPlatform());
        OpenFrame(ShellFrameCalls());
        StartShell(WideView());
        ShowFrame();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&FrameInUse()->window));
    }
    void TearDown() override {
        StopShell();
        CloseSettings();
        QApplication::setPalette(QPalette());
    }
    static QRect RectOf(const PixelRect& rect) {
        return QRect(rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
    }
    static double InClient(const QRect& part) {
        return ContrastOf(FrameInUse()->client.grab().toImage(), part);
    }
    static QColor GroundOf(const QImage& image, const QPoint& place) { return image.pixelColor(place); }

    QTemporaryDir folder;
};

TEST_F(DarkThemeTest, TheEntryLineIsReadable) {
    QPlainTextEdit& line = EditBox(ENTRY_LINE);
    QTest::keyClicks(&line, "=SUM(A1:A3)");
    const QImage image = line.grab().toImage();
    EXPECT_GE(ContrastOf(image, QRect(2, 2, 60, line.height() - 4)), READABLE);
    EXPECT_LT(GroundOf(image, QPoint(image.width() - 5, image.height() / 2)).lightness(), 100);
}

TEST_F(DarkThemeTest, TheSheetAndItsStripsKeepTheirColoursAndAreReadable) {
    QTest::keyClicks(&EditBox(ENTRY_LINE), "12345678");
    QTest::keyClick(&EditBox(ENTRY_LINE), Qt::Key_Return);
    const auto& layout = Shell().layout;
    const QRect grid = RectOf(layout.grid), cells = RectOf(layout.cells);
    EXPECT_GE(InClient(QRect(cells.left(), grid.top(), 300, cells.top() - grid.top())), READABLE) << "columns";
    EXPECT_GE(InClient(QRect(grid.left(), cells.top(), cells.left() - grid.left(), 200)), READABLE) << "rows";
    EXPECT_GE(InClient(QRect(cells.left() + 2, cells.top() + 2, 60, 14)), READABLE) << "cells";
    EXPECT_GE(InClient(RectOf(layout.tabs)), READABLE) << "tabs";
    EXPECT_GE(InClient(RectOf(layout.statusBar)), READABLE) << "the status bar";
    EXPECT_GE(InClient(RectOf(layout.toolbar)), VISIBLE) << "the toolbars";
    const QImage image = FrameInUse()->client.grab().toImage();
    EXPECT_EQ(GroundOf(image, cells.center()), QColor(Qt::white));
}

TEST_F(DarkThemeTest, MenusAreReadable) {
    QMenuBar& bar = FrameInUse()->menuBar;
    const QImage titles = bar.grab().toImage();
    for (QAction* action : bar.actions()) {
        EXPECT_GE(ContrastOf(titles, bar.actionGeometry(action)), READABLE) << action->text().toStdString();
        QMenu* menu = action->menu();
        ASSERT_NE(menu, nullptr);
        menu->popup(QPoint(0, 0));
        ASSERT_TRUE(QTest::qWaitForWindowExposed(menu));
        const QImage items = menu->grab().toImage();
        for (QAction* item : menu->actions()) {
            if (item->isSeparator() || !item->isEnabled() || item->text().isEmpty()) continue;
            EXPECT_GE(ContrastOf(items, menu->actionGeometry(item)), READABLE) << item->text().toStdString();
        }
        menu->close();
    }
}

}  // namespace
}  // namespace tally
