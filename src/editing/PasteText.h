#pragma once
// A text of another program over the selection.

#include "editing/PasteBlock.h"

namespace tally {

// How many rows and columns a text has: a row ends with "\r", the last one with the text; a tab stands between
// columns, of which the widest row counts. No rows in an empty text.
struct TextShape {
    u32 rows = 0, columns = 0;
};
TextShape ShapeOfText(WideView text);

// Pastes a text as if each field were typed, tile by tile; of the request only place and selection count. The
// refusals come first, each with its box. False with nothing changed.
[[nodiscard]] bool PasteText(const PasteRequest& request, WideView text);

}  // namespace tally
