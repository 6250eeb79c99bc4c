// The real window on screens of several resolutions, with the shell behind it.

#include <gtest/gtest.h>

#include <QApplication>
#include <QScreen>
#include <QTest>
#include <QWindow>

#include "base/Number.h"
#include "model/BookTable.h"
#include "platform/qt/QtFonts.h"
#include "platform/qt/QtFrame.h"
#include "shell/frame/Shell.h"
#include "shell/frame/Toolbars.h"
#include "shell/grid/Layout.h"
#include "shell/state/ShellState.h"

namespace tally {
namespace {

class ScreensTest : public testing::Test {
  protected:
    void SetUp() override {
        if (QGuiApplication::screens().size() < 2) GTEST_SKIP() << "the toolkit shows one screen only";
        ResetBooks();
        ResetShell();
        SetShellPlatform(&QtShellPlatform());
        OpenFrame(ShellFrameCalls());
        StartShell(u"");
        ShowFrame();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&FrameInUse()->window));
        Settle();
    }
    void TearDown() override {
        if (FrameInUse()) MoveTo(96);
        ResetBooks();
        ResetShell();
        UseFrameCalls(FrameCalls());
    }
    static void Settle() {
        for (int i = 0; i < 5; ++i) QApplication::processEvents();
    }
    static void MoveTo(int dpi) {
        for (QScreen* screen : QGuiApplication::screens()) {
            if (qRound(screen->logicalDotsPerInchY()) != dpi) continue;
            FrameInUse()->window.windowHandle()->setScreen(screen);
            Settle();
            return;
        }
        ADD_FAILURE() << "no screen of " << dpi;
    }
};

TEST_F(ScreensTest, EverythingFollowsTheScreenThatTheWindowComesTo) {
    const QSize first = FrameInUse()->window.size();
    const Layout& layout = Shell().layout;
    for (const int dpi : {120, 144, 168, 192, 96}) {
        SCOPED_TRACE(dpi);
        MoveTo(dpi);
        ScreenMetrics metrics = {};
        QtPlatform().getScreenMetrics(metrics);
        EXPECT_EQ(metrics.logPixelsX, dpi);
        EXPECT_EQ(metrics.logPixelsY, dpi);
        EXPECT_EQ(FontOf(0).font.pixelSize(), MulDiv(13, dpi, 96));
        EXPECT_EQ(QApplication::font().pixelSize(), MulDiv(13, dpi, 96));
        EXPECT_EQ(layout.dpi, dpi);
        EXPECT_EQ(layout.metrics.dpiX, dpi);
        EXPECT_EQ(layout.toolbar.bottom, MulDiv(25, dpi, 96));
        EXPECT_EQ(FrameInUse()->vertical.width(), MulDiv(16, dpi, 96));
        EXPECT_EQ(FrameInUse()->horizontal.height(), MulDiv(16, dpi, 96));
        EXPECT_EQ(EditBox(ENTRY_LINE).height(), metrics.fontHeight + MulDiv(8, dpi, 96));
        EXPECT_EQ(layout.width, FrameInUse()->client.width());
        EXPECT_EQ(layout.height, FrameInUse()->client.height());
        EXPECT_EQ(FrameInUse()->client.geometry().top(), FrameInUse()->menuBar.height());
        EXPECT_NEAR(
            FrameInUse()->window.width(),
            std::min(MulDiv(first.width(), dpi, 96), FrameInUse()->window.screen()->availableSize().width()),
            4);
    }
}

TEST_F(ScreensTest, ThePaintIsToldTheResolution) {
    static i32 told;
    told = 0;
    FrameInUse()->calls.sendMessage = [](const ShellMessage& message) {
        if (message.message == WM_PAINT) told = message.target->dpiY;
        return ShellFrameCalls().sendMessage(message);
    };
    for (const int dpi : {144, 96}) {
        MoveTo(dpi);
        FrameInUse()->client.repaint();
        EXPECT_EQ(told, dpi);
    }
}

}  // namespace
}  // namespace tally
