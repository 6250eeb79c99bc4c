#pragma once
// The mouse on the frame.

#include "shell/state/ShellState.h"

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

// What the mouse does from a press on until it is let go.
void StartGesture(Gesture gesture);
void EndGesture();
// Ends one that would change something, with nothing changed. False when there is none.
bool BreakGesture();

}  // namespace tally
