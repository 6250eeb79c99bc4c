#pragma once
// A block of cells carried to another place of its sheet, as the mouse does it. The clipboard keeps what it
// holds.

#include "model/ModelTypes.h"

namespace tally {

struct CarryRequest {
    i32 book = 0, sheet = 0;
    RefArea from;
    i32 row = 0, column = 0;  // where its first cell goes; the block stays on the sheet
    bool copy = false;
};

// The block in its new place.
RefArea CarriedArea(const CarryRequest& request);
// Whether cells with content would be lost: those of the target, but for the ones that are carried away.
bool CoversContent(const CarryRequest& request);

// Whether a locked cell, a cut array or a cut merge is in the way; the user has then been told.
bool RefuseCarry(const CarryRequest& request);

// Moves as cutting and pasting do, or copies as copying and pasting do, with one undo. False when it was
// refused, the user having been told, or memory failed; nothing has changed then.
[[nodiscard]] bool CarryCells(const CarryRequest& request);

}  // namespace tally
