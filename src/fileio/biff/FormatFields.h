#pragma once
// Where the fields of an XF stand in the two forms: for reader and writer.

#include "model/ModelTypes.h"

namespace tally {

// So many bits, from bit `first` on, of the 32 that begin at byte `at`.
struct XfField {
    u8 CellFormat::*field;
    u8 at, first, bits;
};
constexpr XfField xfFields8[] = {
    {&CellFormat::horizontal, 4, 16, 3},     {&CellFormat::vertical, 4, 20, 3},
    {&CellFormat::rotation, 4, 24, 8},       {&CellFormat::layout, 8, 0, 8},
    {&CellFormat::leftStyle, 8, 16, 4},      {&CellFormat::rightStyle, 8, 20, 4},
    {&CellFormat::topStyle, 8, 24, 4},       {&CellFormat::bottomStyle, 8, 28, 4},
    {&CellFormat::leftColour, 12, 0, 7},     {&CellFormat::rightColour, 12, 7, 7},
    {&CellFormat::diagonals, 12, 14, 2},     {&CellFormat::topColour, 14, 0, 7},
    {&CellFormat::bottomColour, 14, 7, 7},   {&CellFormat::diagonalColour, 14, 14, 7},
    {&CellFormat::diagonalStyle, 14, 21, 4}, {&CellFormat::pattern, 14, 26, 6},
    {&CellFormat::patternColour, 16, 16, 7}, {&CellFormat::backColour, 16, 23, 7},
};
// The rotation, of two bits, is one of the quarter turns.
constexpr XfField xfFields95[] = {
    {&CellFormat::horizontal, 4, 16, 3},  {&CellFormat::vertical, 4, 20, 3},
    {&CellFormat::rotation, 4, 24, 2},    {&CellFormat::patternColour, 8, 0, 7},
    {&CellFormat::backColour, 8, 7, 7},   {&CellFormat::pattern, 8, 16, 6},
    {&CellFormat::bottomStyle, 8, 22, 3}, {&CellFormat::bottomColour, 8, 25, 7},
    {&CellFormat::topStyle, 12, 0, 3},    {&CellFormat::leftStyle, 12, 3, 3},
    {&CellFormat::rightStyle, 12, 6, 3},  {&CellFormat::topColour, 12, 9, 7},
    {&CellFormat::leftColour, 12, 16, 7}, {&CellFormat::rightColour, 12, 23, 7},
};
constexpr std::size_t XF_BYTES = 20, XF_BYTES_95 = 16;
constexpr std::size_t XF_FONT_AT = 0, XF_NUMBER_FORMAT_AT = 2, XF_FLAGS_AT = 4, XF_ALIGNMENT_AT = 6;
constexpr std::size_t XF_OWN_AT = 9, XF_OWN_AT_95 = 7;  // the upper six bits of a byte
constexpr u32 XF_FLAG_BITS = 15, XF_PARENT_SHIFT = 4;

}  // namespace tally
