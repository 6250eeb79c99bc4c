#pragma once
// Fields of fonts, cell formats and the palette, and the one reader of fonts.

#include "base/WideText.h"

namespace tally {

// Of fonts of handhelds.
constexpr u16 POCKET_AUTOMATIC = 255;   // a colour of the file
constexpr u16 POCKET_COLOUR_SHIFT = 8;  // from a colour of the file to the palette

struct LoadState;

// Rotations in the order of the older forms' two bits.
constexpr u8 quarterTurns[] = {0, 255, 90, 180};
constexpr u16 MISSING_FONT = 4;  // a number that no FONT record has
constexpr u8 ALIGNMENT_WRAPS = 8;
constexpr u8 SOLID_PATTERN = 1;
// Colours of text and window, which no palette has.
constexpr u8 TEXT_COLOUR = 64, WINDOW_COLOUR = 65;
constexpr u8 BARE_TEXT_COLOUR = 24, BARE_WINDOW_COLOUR = 25;  // their numbers in bare files
constexpr u32 PALETTE_FIRST = 8, PALETTE_COLOURS = 56;

// Layouts of FONT: that of the 95 and 97 forms, which handhelds share but for colours and the name's place,
// that of bare files, and that of the oldest ones, which has no colour.
enum FontLayout : u8 { FONT_OF_BOOKS, FONT_OF_HANDHELDS, FONT_OF_BARE, FONT_OF_OLDEST };
// Adds a font of any form to the book. `name` is that of a handheld's, which stands behind the record.
[[nodiscard]] bool ReadFont(LoadState& load, FontLayout layout, ByteView body, WideView name = {});

}  // namespace tally
