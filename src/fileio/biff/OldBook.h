#pragma once
// What the readers of bare files share: files of records without a container, as the oldest forms wrote them.

#include "fileio/biff/LoadState.h"

namespace tally {

struct OldReader {
    LoadState& load;
    int version;            // of the file or, in a workbook of several sheets, of its sheet: 2, 3 or 4
    bool workbook = false;  // the sheets stand in it one behind the other
    bool passed = false;    // the records belong to a sheet without cells
    // Whether the sheet has lists of its own; they stand behind those of the sheets before it.
    bool ownFonts = false, ownFormats = false, ownNumberFormats = false;
    u32 fontBase = 0;
};

// Below this number a record has the layout of the oldest form, whatever file it stands in.
constexpr u16 FIRST_NEWER_RECORD = 0x200;
inline bool IsOldest(u16 id) { return id < FIRST_NEWER_RECORD; }

// The cell format of a cell record: an attribute's number format in the oldest layout, else an XF's number.
[[nodiscard]] bool OldCellFormat(OldReader& r, u16 id, ByteView body, u16& index);
[[nodiscard]] bool ReadOldFormat(OldReader& r, u16 id, ByteView body);
[[nodiscard]] bool ReadOldFont(OldReader& r, u16 id, ByteView body);
void ReadOldFontColour(OldReader& r, ByteView body);
[[nodiscard]] bool ReadOldXf(OldReader& r, u16 id, ByteView body);

}  // namespace tally
