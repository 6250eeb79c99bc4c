#pragma once
// What CELL says about a number format.

#include "base/WideText.h"

namespace tally {

enum FormatCodeKind : u8 {
    FORMAT_KIND_GENERAL,  // and text
    FORMAT_KIND_NUMBER,
    FORMAT_KIND_CURRENCY,
    FORMAT_KIND_SCIENTIFIC,  // and fractions
    FORMAT_KIND_PERCENT,
    FORMAT_KIND_DATE,
    FORMAT_KIND_TIME,
};
struct FormatClass {
    FormatCodeKind kind = FORMAT_KIND_GENERAL;
    u8 decimals = 0;
};
// By the first section of a format in file form.
FormatClass ClassifyFormat(WideView format);
// The code of a format, such as "F2", appended.
[[nodiscard]] bool AppendFormatCode(WideView format, u16 id, WideText& out);

}  // namespace tally
