#pragma once
// Integer scaling and the printing of numbers, independent of the C locale.

#include "base/WideText.h"

namespace tally {

// a * b / c with a 64-bit product, rounded to the nearest, halves away from zero; -1 for c = 0 or a
// result that does not fit.
i32 MulDiv(i32 a, i32 b, i32 c);

constexpr std::size_t NUMBER_TEXT_ROOM = 32;  // enough for PrintGeneral
constexpr std::size_t FIXED_TEXT_ROOM = 700;  // enough for PrintFixed with up to 323 places

// The C form "%-.*G": `precision` significant digits (1 to 17), no trailing zeros, "E+20" exponents
// of at least two digits. Returns the length; nothing is terminated.
std::size_t PrintGeneral(double value, int precision, char* out);
// The C form "%.*f", exact to the last digit. Returns the length.
std::size_t PrintFixed(double value, int places, char* out);
// The shortest text that reads back to the same double. Returns the length.
std::size_t PrintShortest(double value, char* out);
// Decimal digits of an integer. Returns the length.
std::size_t PrintInteger(i64 value, char* out);
[[nodiscard]] bool AppendInteger(WideText& out, i64 value);

// Reads a number in the C form, '.' as separator, from the whole of `text`.
[[nodiscard]] bool ReadPlainNumber(std::string_view text, double& out);

}  // namespace tally
