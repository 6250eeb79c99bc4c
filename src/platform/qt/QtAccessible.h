#pragma once
// What the shell tells of its painting, as objects of the toolkit's accessibility. Nothing of it is made before
// a client asks.

#include "platform/qt/QtFrame.h"

class QAccessibleEvent;

namespace tally {

bool QtAccessibleWatched();
void QtAccessibleChanged(u32 changes);
// Where the events go: to the toolkit, or to a test, as it passes them on for real clients only. Null: back to
// it.
using AccessibleSink = void (*)(QAccessibleEvent* event);
void UseAccessibleSink(AccessibleSink sink);
// From now on the toolkit asks here how the frame's client area is described.
void ConnectAccessible();
// The keyboard has come to the client area: what has it there is told.
void TellAccessibleFocus();
// The objects go before the frame does.
void CloseAccessible();

}  // namespace tally
