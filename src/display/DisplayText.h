#pragma once
// What a cell shows when it has room enough.

#include "model/ModelTypes.h"

namespace tally {

// The text of a value under a number format id of the book, into `out` (overwritten): numbers through
// the format, with 15 digits under "General"; texts through its text section; "TRUE" and "FALSE";
// error texts; nothing for an empty value. False when memory fails.
[[nodiscard]] bool DisplayValue(const Workbook& book, const Value& value, u16 numberFormat, WideText& out);
// The same under a cell format's index.
[[nodiscard]] bool DisplayText(const Workbook& book, const Value& value, u16 cellFormat, WideText& out);

}  // namespace tally
