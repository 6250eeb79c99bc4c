#pragma once
// A formula that goes to another cell or another book, and what is left of one when a sheet or a name goes.

#include "formula/TokenReferences.h"
#include "model/ModelTypes.h"

namespace tally {

enum RebaseMode : i32 {
    REBASE_TRANSPOSE = 0,  // rows and columns change places around the first cell of `area`
    REBASE_RELATIVE = 2,   // fill and paste: relative fields go with the formula
    REBASE_CUT = 6,        // references into `area` of the source sheet go with its cells
    REBASE_NOTHING = 8,    // positions stay; names and extern rows follow the book
};

struct TokenRebase {
    i32 mode = REBASE_RELATIVE;
    i32 sourceBook = 0;
    i32 sourceSheet = 0;
    i32 targetBook = 0;
    i32 targetSheet = -1;  // of a cut: what names the source sheet and goes along names this one; -1: no change
    i32 rowDelta = 0;      // from a place in the source to that in the target
    i32 columnDelta = 0;
    RefArea area;  // the block that is copied or cut
};

// Rewrites tokens that stood in the source for a cell of the target. A reference that would leave the
// sheet takes its error form. A name or link that finds no memory stays as it is; false only when the
// tokens could not be made private, and they are then as they were.
[[nodiscard]] bool RebaseTokens(const TokenRebase& rebase, FormulaTokens& tokens);

// Whether a token refers to a sheet through one of the extern rows for which `rows` is set.
bool RefersThroughRows(const FormulaTokens& tokens, std::span<const u8> rows);
// The sheet behind those rows is gone: their references take the error form. Unshared tokens only.
void MarkSheetDeleted(FormulaTokens& tokens, std::span<const u8> rows);

// Names that give way to others: for each row of a book's names the row that takes its place, mostly the
// same. Whether tokens use a name that gives way.
bool UsesRetargetedName(const Workbook& book, const FormulaTokens& tokens, std::span<const u16> rows);
// Users of those names go over to the others. Unshared tokens only.
void RetargetNames(const Workbook& book, FormulaTokens& tokens, std::span<const u16> rows);

}  // namespace tally
