#pragma once
// Taking things away from an area.

#include "model/ModelTypes.h"

namespace tally {

// All: contents, formats, arrays and merges inside, rules and hyperlinks.
enum ClearMode : u8 { CLEAR_ALL, CLEAR_FORMATS, CLEAR_CONTENTS };

// Takes things away from an area of the current sheet, with undo and without a question. False when memory
// fails; nothing has changed then.
[[nodiscard]] bool ClearArea(const RefArea& area, ClearMode mode);

}  // namespace tally
