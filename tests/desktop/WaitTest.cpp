// Escape while something lasts, with the whole program on the toolkit.

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QTest>

#include "base/LongOperation.h"
#include "desktop/WholeProgram.h"

namespace tally {
namespace {

class DesktopWait : public WholeProgram {
  protected:
    static void Post(int key) {
        QCoreApplication::postEvent(&FrameInUse()->client,
                                    new QKeyEvent(QEvent::KeyPress, key, Qt::NoModifier));
    }
    // Goes on for a second at most; true when it was left before.
    static bool Last() {
        const LongOperation work(OPERATION_CALCULATE);
        QElapsedTimer clock;
        for (clock.start(); clock.elapsed() < 1000;) {
            if (!GoOn(1 << 16)) return true;
        }
        return false;
    }
};

TEST_F(DesktopWait, EscapeEndsWhatLasts) {
    Post(Qt::Key_Escape);
    EXPECT_TRUE(Last());
    // Pressed for that one only.
    EXPECT_FALSE(Last());
}

TEST_F(DesktopWait, WhatWasNotPaintedMeanwhileIsPaintedAfterwards) {
    FrameInUse()->client.update();
    EXPECT_FALSE(Last());
    struct Tap : QObject {
        bool eventFilter(QObject*, QEvent* event) override {
            painted = painted || event->type() == QEvent::Paint;
            return false;
        }
        bool painted = false;
    } tap;
    FrameInUse()->client.installEventFilter(&tap);
    EXPECT_TRUE(QTest::qWaitFor([&] { return tap.painted; }, 1000));
    tap.painted = false;
    FrameInUse()->client.update();
    EXPECT_TRUE(QTest::qWaitFor([&] { return tap.painted; }, 1000));
    FrameInUse()->client.removeEventFilter(&tap);
}

TEST_F(DesktopWait, AWaitingKeyIsFoundOnceAndGoesNowhere) {
    EXPECT_FALSE(ShellPlatform().keyWaits(WAITING_ANY));
    const struct {
        int key;
        bool isEscape, isAny;
    } rows[] = {{Qt::Key_Escape, true, true}, {Qt::Key_A, false, true}, {Qt::Key_Shift, false, false}};
    for (const auto& row : rows) {
        for (const WaitingKeys keys : {WAITING_ESCAPE, WAITING_ANY}) {
            QTest::qSleep(600);
            Post(row.key);
            EXPECT_EQ(ShellPlatform().keyWaits(keys), keys == WAITING_ANY ? row.isAny : row.isEscape)
                << row.key;
            EXPECT_FALSE(ShellPlatform().keyWaits(WAITING_ANY)) << row.key;
        }
    }
    EXPECT_TRUE(EditBox(ENTRY_LINE).toPlainText().isEmpty());
}

TEST_F(DesktopWait, OtherKeysDoNotReachTheWindow) {
    Post(Qt::Key_A);
    EXPECT_FALSE(Last());
    QCoreApplication::processEvents();
    EXPECT_TRUE(EditBox(ENTRY_LINE).toPlainText().isEmpty());
}

}  // namespace
}  // namespace tally
