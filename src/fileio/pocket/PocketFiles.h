#pragma once
// The compact form for handhelds (pxl, pxt): records of a one-byte id without a length, worksheets only,
// text in 16-bit characters.

#include "base/Platform.h"
#include "fileio/biff/LoadState.h"

namespace tally {

// Reads a file into the new book of `load`, to the end of the bytes. A record that the end cuts off is left
// out. False for a password, with a box, and when memory fails.
[[nodiscard]] bool ReadPocket(LoadState& load, ByteView file);

}  // namespace tally
