#pragma once
// What a formula reads, from its tokens.

#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"

namespace tally {

// One reference of a token string as the marking and the calculation see it.
struct TokenPrecedent {
    i32 externIndex = -1;
    RefArea area;
};
// The area of `wanted`'s rows and columns that begins where `given` does, as far as the sheet goes.
RefArea WithShapeOf(const RefArea& given, const RefArea& wanted);
// The next reference at or behind `at`, which moves behind it; false at the end.
bool NextPrecedent(const FormulaTokens& tokens, u32& at, TokenPrecedent& out);
// The same for a formula of a cell; a part of a data table reads the table's formula and its own headings.
bool NextPrecedent(const FormulaCell& formula, u32& at, TokenPrecedent& out);
// What a load asks of a formula, found in one walk.
struct TokenTraits {
    bool alwaysCalculate = false;  // as TokensAlwaysCalculate
    bool hyperlink = false;        // calls HYPERLINK
    bool offsets = false;          // holds references as offsets from the cell
};
TokenTraits ReadTokenTraits(const FormulaTokens& tokens);
// The sheets that a precedent of a formula on (book, sheet) lies on; false when it cannot be resolved.
struct PrecedentSheets {
    i32 book = 0;
    i32 first = 0;
    i32 last = 0;
};
bool ResolvePrecedent(i32 book, i32 sheet, i32 externIndex, PrecedentSheets& out);

}  // namespace tally
