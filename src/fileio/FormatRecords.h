#pragma once
// Fields of fonts, cell formats and the palette.

#include "base/Base.h"

namespace tally {

// Rotations in the order of the older forms' two bits.
constexpr u8 quarterTurns[] = {0, 255, 90, 180};
constexpr u16 MISSING_FONT = 4;  // a number that no FONT record has
constexpr u8 ALIGNMENT_WRAPS = 8;
constexpr u8 SOLID_PATTERN = 1;
// Colours of text and window, which no palette has.
constexpr u8 TEXT_COLOUR = 64, WINDOW_COLOUR = 65;
constexpr u32 PALETTE_FIRST = 8, PALETTE_COLOURS = 56;

}  // namespace tally
