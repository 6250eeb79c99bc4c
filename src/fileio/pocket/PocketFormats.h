#pragma once
// Fonts, number formats and cell formats of the pocket form.

#include "fileio/biff/FormatRecords.h"
#include "fileio/biff/LoadState.h"

namespace tally {

// A number format by its code: the id of a built-in one, or a text when the id is POCKET_TEXT_FORMAT.
struct PocketNumberFormat {
    u16 id;
    WideView text;
};
constexpr u16 POCKET_TEXT_FORMAT = 65535;
constexpr u16 POCKET_FORMAT_CODES = 72;
// Codes from this on are the file's own formats in order of arrival; those between are General.
constexpr u16 POCKET_FIRST_OWN_CODE = 233;
// Own formats of a file beyond this many are General: each one is looked for among all those before it.
constexpr u32 MOST_POCKET_FORMATS = 16384;
// One row a code.
std::span<const PocketNumberFormat> PocketNumberFormats();

// The file's cell format 0 is the book's row 15; format n is row 20 + n.
constexpr u16 POCKET_FORMAT_SHIFT = 20;

// Bits of an XF: one, one and no place further on than in memory.
constexpr u8 POCKET_LOCKED = 2, POCKET_HIDDEN = 4, POCKET_PREFIX = 8;
// Bits of a ROW.
constexpr u16 POCKET_ROW_HIDDEN = 1, POCKET_ROW_OWN_HEIGHT = 2;
// The bits of a window that say what is hidden and not, as in memory, what is shown.
constexpr u8 POCKET_HIDES = VIEW_GRIDLINES | VIEW_HEADERS;

constexpr std::size_t POCKET_FONT_SIZE = 15, POCKET_XF_SIZE = 22;

// What the formats of a file have come to so far.
struct PocketFormatReader {
    u16 codeIds[POCKET_FORMAT_CODES] = {};  // id plus 1 of each code; 0 not looked up yet
    Array<u16> ownIds;                      // of FORMAT records, in order of arrival
    bool formatSeen = false;
};

[[nodiscard]] bool ReadPocketFormat(LoadState& load, PocketFormatReader& formats, WideView text);
[[nodiscard]] bool ReadPocketXf(LoadState& load, PocketFormatReader& formats, ByteView body);
// The book's row for a cell format of the file.
u16 PocketCellFormat(const Workbook& book, u16 xf);

}  // namespace tally
