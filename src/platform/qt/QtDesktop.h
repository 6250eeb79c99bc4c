#pragma once
// The desktop platform on Qt 6: both tables of operations, and the frame with its message loop. This header
// names nothing of the toolkit, so that a program or a test needs none of its headers.

#include "platform/ShellPlatform.h"

namespace tally {

const PlatformTable& QtPlatform();
const ShellPlatformTable& QtShellPlatform();
const FontTable& QtFontTable();

// Starts the toolkit and puts QtPlatform() in force. `count` and `arguments` must outlive CloseDesktop; the
// toolkit takes its own options out of them.
void OpenDesktop(int& count, char** arguments);
// Makes the frame and its children, hidden. Messages go to `calls` from now on.
void OpenFrame(const FrameCalls& calls);
// Fills the menu bar and shows the frame.
void ShowFrame();
// Runs until ShellPlatformTable::quit.
int RunMessageLoop();
// Takes down what OpenDesktop and OpenFrame have made.
void CloseDesktop();

}  // namespace tally
