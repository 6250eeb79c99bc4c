#pragma once
// From a number and a number-format text to the text shown.

#include "base/WideText.h"

namespace tally {

// Measures text in pixels in the cell's font.
struct TextMeasure {
    i32 (*width)(const void* context, WideView text);
    const void* context;
};

// Formats a number into `out` (overwritten). `measure` and `width` (pixels) are given only by the
// cell display and may be null and 0. `colour`, when given, is written only when the chosen section
// has a colour: 0 to 7, an index into the first rows of the palette. `date1904` is the book's date
// system. False when memory fails.
[[nodiscard]] bool FormatNumber(double value, WideView format, const TextMeasure* measure, i32 width,
                                bool date1904, u16* colour, WideText& out);
// The General text with `precision` digits, appended.
[[nodiscard]] bool FormatGeneral(double value, i32 precision, WideText& out);
// A text under the fourth section of a format.
[[nodiscard]] bool FormatTextValue(WideView text, WideView format, WideText& out);
// Nearest integer; x above zero is nudged up by one unit in the last place before the half is added.
double RoundToInteger(double x);

}  // namespace tally
