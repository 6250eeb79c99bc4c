#pragma once
// The type decisions of the formula language.

#include "formula/FormulaTypes.h"
#include "model/ModelTypes.h"

namespace tally {

// Converts in place. The result is `wanted` or VT_ERROR; there is no failure return.
void CoerceValue(Value& value, u16 wanted, const EvalContext& context);
// A reference to the value of one cell by implicit intersection; inside an array formula to an array.
void DerefValue(Value& value, const EvalContext& context);
// An array to the one element that the context's cell selects.
void ArrayValueToScalar(Value& value, const EvalContext& context);
// What a cell keeps of a result: references dereferenced, arrays reduced.
void ReduceToScalar(Value& value, const EvalContext& context);
// The cell's value as a copy, empty when there is no cell. A stale cell is calculated first; a cell
// being calculated sets the current book's circularSeen and gives its old value.
void GetCellValue(i32 book, i32 sheet, i32 row, i32 column, Value& target);
// The same decision for a cell in hand: true when its value may be read now. The cell must be
// fetched anew after a call that had to calculate.
void BringUpToDate(i32 book, i32 sheet, i32 row, i32 column);
// General with `precision` digits and the user's decimal separator, appended to `out`.
[[nodiscard]] bool NumberToText(double number, i32 precision, WideText& out);
bool TextToNumber(WideView text, double& number);
// A reference list or a defined name as text to a VT_REF, or an error.
void TextToReference(Value& value, const EvalContext& context, bool useA1);

// The one area and sheet that a reference leads to. False leaves the error in `error`: ERR_VALUE for
// more than one area, ERR_REF for no or several sheets.
struct SheetArea {
    i32 book = 0;
    i32 sheet = 0;
    RefArea area;
};
bool ResolveSingleArea(const Value& reference, const EvalContext& context, SheetArea& out, i32& error);

}  // namespace tally
