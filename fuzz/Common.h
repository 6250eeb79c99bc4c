#pragma once
// What the fuzz targets share: a clean program for each input.

#include "base/WideText.h"

namespace tally {

// The headless platform in en-US with a fixed clock and files in memory, and one new book.
void BeginRun();
// Ends the process when the run read files of its own that the target does not account for, or any other.
void EndRun(u32 ownReads = 0);
// The input as UTF-16 text.
[[nodiscard]] bool InputText(const u8* data, std::size_t size, WideText& out);
// Opens the input as a file of that name and lets go of it again, calculated once.
void OpenInput(const u8* data, std::size_t size, WideView name);

}  // namespace tally
