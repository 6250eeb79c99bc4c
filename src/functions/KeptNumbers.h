#pragma once
// The numbers of areas that are read again and again, in the order of the cells and in their own order, and
// what was made of all of them. An area is entered when it is read a second time, and is good until one of its
// cells changes.

#include "formula/FormulaTypes.h"
#include "model/ModelTypes.h"

namespace tally {

// Makes one value of all the numbers; may put them into another order.
using FinishNumbers = Value (*)(Array<double>& values);

struct MadeValue {
    FinishNumbers finish;
    Value value;  // a number or an error
};

struct KeptNumbers {
    u32 serial = 0;  // of the sheet; 0 is none
    u32 version = 0;
    RefArea area;
    bool allKinds = false;  // texts count as 0 and booleans as 0 or 1
    bool filled = false;
    bool tooLarge = false;
    u64 used = 0;
    u32 filledCells = 0;  // of any kind
    i32 error = -1;       // the first error, behind which no number is read
    Array<double> values;
    Array<double> sorted;
    Array<MadeValue> made;
};

// The numbers of an argument that is one area on one sheet, all of it up to date. Null when they must be read
// anew: for other arguments, small areas, and those that are new here.
KeptNumbers* NumbersOf(const Value& argument, const EvalContext& context, bool allKinds);
// The numbers in ascending order; null when memory fails.
const Array<double>* SortedNumbers(KeptNumbers& kept);
// What `finish` makes of the numbers, or the error among them. False when memory fails.
bool MakeValue(KeptNumbers& kept, FinishNumbers finish, Value& result);

void ResetKeptNumbers();

}  // namespace tally
