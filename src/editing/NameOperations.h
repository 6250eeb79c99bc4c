#pragma once
// Defining, changing and deleting names. Each records undo, marks what uses the name as stale and the book as
// changed. Nobody is asked anything.

#include "model/ModelTypes.h"

namespace tally {

// A name and the cell that its relative references are seen from.
struct NameRequest {
    i32 book = 0, sheet = 0;  // the sheet that the formula is written on
    i32 row = 0, column = 0;
    WideView name;     // with a sheet's name and "!" before it: that sheet's own
    WideView formula;  // a "=" at its start may be left out
};
// Gives the name its formula; a name that is there gets another one. False with nothing changed when it is
// refused, `fault` being the message that tells why, or when memory fails, with a `fault` of 0.
[[nodiscard]] bool DefineName(const NameRequest& request, u16& fault);
// Formulas that use it show "#NAME?". False with nothing changed when there is no such name.
[[nodiscard]] bool DeleteName(i32 book, i32 name);

// ---- names as they are listed ------------------------------------------------------------------------------

// A name with a formula that is not hidden.
bool IsListedName(const DefinedName& name);
// The text that names it: "Sheet1!rate" for a sheet's own.
[[nodiscard]] bool NameLabel(i32 book, i32 name, WideText& out);
// The row of a name as it is written on a sheet: of the sheet before "!", else of that sheet, else of the book.
// -1 when there is none with a formula.
i32 FindWrittenName(i32 book, i32 sheet, WideView text);
// Its formula as it reads in a cell.
[[nodiscard]] bool NameFormula(i32 book, i32 name, i32 row, i32 column, WideText& out);

}  // namespace tally
