#pragma once
// The references of a token string, one after the other, for those who rewrite them.

#include "formula/TokenWalk.h"

namespace tally {

// A ptgRef, ptgArea, ptgRefN, ptgAreaN, ptgRef3d or ptgArea3d. The fields may be changed and written back.
struct TokenReference {
    u32 at = 0;       // of the token
    u32 operand = 0;  // of the row
    i32 externIndex = -1;
    bool oneCell = false;
    bool relativeForm = false;  // ptgRefN, ptgAreaN: relative fields are offsets
    u8 nibble = 0;              // FIRST_ROW_RELATIVE ... LAST_COLUMN_RELATIVE
    i32 firstRow = 0, lastRow = 0, firstColumn = 0, lastColumn = 0;

    bool AllRows() const { return firstRow == 0 && lastRow == MAX_ROWS - 1; }
    bool AllColumns() const { return firstColumn == 0 && lastColumn == MAX_COLUMNS - 1; }
};

// Reads the reference that the token at `at` is; false when it is none, or cut off.
bool ReadReference(const FormulaTokens& tokens, u32 at, TokenReference& out);
// The next reference at or behind `at`, which moves behind it; false at the end.
bool NextReference(const FormulaTokens& tokens, u32& at, TokenReference& out);
// Writes fields and nibble back. The tokens must be unshared and the fields on the sheet.
void WriteReference(FormulaTokens& tokens, const TokenReference& reference);
// Turns the token into its error form, keeping class and operands. The tokens must be unshared.
void LoseReference(FormulaTokens& tokens, const TokenReference& reference);
// Adds a place to the relative fields, with wrap; an axis that the reference spans completely stays.
void PlaceReference(TokenReference& reference, i32 row, i32 column);
// The same for all references of a name's formula, which holds offsets from A1. True when any is relative. The
// tokens must be unshared.
bool AbsoluteTokens(FormulaTokens& tokens, i32 row, i32 column);
// Whether all four fields lie on a sheet.
bool IsOnSheet(const TokenReference& reference);

}  // namespace tally
