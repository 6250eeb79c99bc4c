#pragma once
// The selection drawn with the mouse: by its corner over the cells that it is to fill, by its edge to another
// place.

#include "platform/ShellPlatform.h"

namespace tally {

// True when a press there takes the handle or an edge of the selection: the gesture has begun.
bool PressBlock(const ShellMessage& message);
// The pointer is over a cell.
void DragBlock(i32 row, i32 column);
// The end of the gesture: fills, clears, moves or copies. False when the pointer has never left the cell that
// it took an edge in, so that it was a click.
bool DropBlock(const ShellMessage& message);
// Fills down beside a neighbour. False when the place is not the handle's.
bool DoubleOnHandle(const ShellMessage& message);
// What the pointer looks like there: POINTER_ARROW for a place that is neither the handle's nor an edge's.
PointerShape BlockPointer(i32 x, i32 y);

}  // namespace tally
