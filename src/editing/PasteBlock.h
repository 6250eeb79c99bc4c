#pragma once
// The clipboard's block over the selection.

#include "editing/RestoreBlock.h"

namespace tally {

struct PasteRequest {
    i32 book = 0, sheet = 0;
    RefArea area;  // the selection
    i32 mode = PASTE_ALL;
    i32 operation = PASTE_NONE;
    bool skipBlanks = false;
    bool transpose = false;
    bool growSelection = true;
    i32 undoKind = UNDO_PASTE;
    bool special = false;  // Paste Special brings no drawing objects
};

// What plain Paste does with the block that is held.
i32 PlainPasteMode();

// Pastes the block that is held. The refusals come first, each with its box. False with nothing changed.
[[nodiscard]] bool PasteBlock(const PasteRequest& request);

}  // namespace tally
