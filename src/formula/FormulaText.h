#pragma once
// From tokens back to formula text.

#include "formula/FormulaTypes.h"
#include "model/Tokens.h"

namespace tally {

// Writes the formula, "=" first, into `out`. row and column are the context of ptgRefN and ptgAreaN
// and the base of relative R1C1 output. False when memory fails.
[[nodiscard]] bool FormulaToText(i32 book, const FormulaTokens& tokens, i32 row, i32 column, bool useA1,
                                 WideText& out);

enum AreaTextFlags : u16 {
    AREA_LAST_COLUMN_RELATIVE = 1,
    AREA_LAST_ROW_RELATIVE = 2,
    AREA_FIRST_COLUMN_RELATIVE = 4,
    AREA_FIRST_ROW_RELATIVE = 8,
    AREA_USE_A1 = 16,
    AREA_WITH_SHEET = 32,
    AREA_WITH_BOOK = 64,
    AREA_WITH_EQUALS = 128,
    AREA_BOTH_CORNERS = 256,  // of one cell, too
    AREA_ALL_RELATIVE = 15,
};
[[nodiscard]] bool AreaToText(i32 book, i32 sheet, const RefArea& area, u16 flags, i32 row, i32 column,
                              WideText& out);
// "A1" and "$A$1" forms of one cell.
[[nodiscard]] bool CellToText(i32 row, i32 column, bool rowAbsolute, bool columnAbsolute, WideText& out);
[[nodiscard]] bool AppendColumnLetters(i32 column, WideText& out);
// Book and sheet prefix of a 3-D reference, "!" included, appended to `out`.
[[nodiscard]] bool SheetPrefix(i32 book, i32 externIndex, bool withBrackets, bool forceQuotes, WideText& out);
// True when a sheet or book name must be quoted in a prefix.
bool NeedsQuotes(WideView name);

}  // namespace tally
