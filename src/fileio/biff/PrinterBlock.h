#pragma once
// The printer's block of settings behind a page: as the 97 form has it, with its two names of 32 characters in
// 16 bits each, and as the 95 form has it, with 8 bits each.

#include "base/Array.h"

namespace tally {

// Appends the block in the other form. False when memory fails.
[[nodiscard]] bool WidenPrinter(u16 codePage, ByteView narrow, Array<u8>& out);
[[nodiscard]] bool NarrowPrinter(u16 codePage, ByteView wide, Array<u8>& out);
// Whether a block is long enough to be brought to the 95 form.
bool IsWholePrinter(ByteView wide);

}  // namespace tally
