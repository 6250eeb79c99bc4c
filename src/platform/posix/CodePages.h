#pragma once
// Code pages by their published numbers, on the converters of ICU.

#include "base/Platform.h"

namespace tally {

// The rows of PlatformTable of the same names. A byte without a counterpart becomes the page's
// substitute, a character a question mark; page 0 is that of getACP.
bool IcuIsValidCodePage(u32 codePage);
bool IcuIsLeadByte(u32 codePage, u8 byte);
bool IcuToWide(u32 codePage, ByteView bytes, WideText& out);
bool IcuToBytes(u32 codePage, WideView text, Array<u8>& out);

// Closes the converters that are kept open.
void ResetCodePages();

}  // namespace tally
