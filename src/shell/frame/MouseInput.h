#pragma once
// The mouse on the frame.

#include "platform/ShellPlatform.h"

namespace tally {

bool MouseDown(const ShellMessage& message);
bool MouseMove(const ShellMessage& message);
bool MouseUp(const ShellMessage& message);
bool MouseDouble(const ShellMessage& message);
bool MouseRight(const ShellMessage& message);
// The menu key: the menu of the cells at the active one.
bool MenuByKey(const ShellMessage& message);
bool MouseWheel(const ShellMessage& message);
bool GestureTimer(const ShellMessage& message);

}  // namespace tally
