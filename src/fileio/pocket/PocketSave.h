#pragma once
// What the parts of the pocket form's writer share.

#include "fileio/biff/SaveState.h"

namespace tally {

// A record of `size` bytes behind its id, for the caller to fill in before anything else is written.
// Never null.
u8* BeginPocketRecord(BiffWriter& writer, u8 id, std::size_t size);
inline void WritePocketText(SaveState& save, WideView text) { WriteCharacters(save.writer, text, true); }

// FONT, FORMAT and XF records; numbers the cell formats.
void WritePocketFormats(SaveState& save, PocketNumbers& numbers);

void WritePocketSheet(SaveState& save, const Sheet& sheet);

}  // namespace tally
