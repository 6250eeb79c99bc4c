#pragma once
// The whole program in its frame on the toolkit, with settings of its own.

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include "platform/qt/QtFrame.h"
#include "shell/frame/Shell.h"

namespace tally {

class WholeProgram : public testing::Test {
  protected:
    void SetUp() override {
        CloseSettings();
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
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
    }

    const QTemporaryDir folder;
};

}  // namespace tally
