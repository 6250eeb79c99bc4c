#pragma once
// What the parts of the pocket form's writer share.

#include "fileio/SaveState.h"

namespace tally {

constexpr u16 NOT_IN_POCKET = 0xFFFF;

// The numbers that rows of the book have in the file.
struct PocketNumbers {
    Array<u16> sheets;   // NOT_IN_POCKET for what is no worksheet
    Array<u16> names;    // from 1; 0 for a name that the form cannot hold
    Array<u16> formats;  // of cellFormats; 0 for a row that no cell uses
};

// A record of `size` bytes behind its id, for the caller to fill in before anything else is written.
// Never null.
u8* BeginPocketRecord(BiffWriter& writer, u8 id, std::size_t size);
inline void WritePocketText(SaveState& save, WideView text) { WriteCharacters(save.writer, text, true); }

// FONT, FORMAT and XF records; numbers the cell formats.
void WritePocketFormats(SaveState& save, PocketNumbers& numbers);

void WritePocketSheet(SaveState& save, const Sheet& sheet);

// False for a function that handhelds do not have.
bool IsPocketFunction(u16 function);

}  // namespace tally
