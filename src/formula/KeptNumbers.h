#pragma once
// The numbers of columns side by side in the order of their cells, for all questions about parts of them:
// windows, ranges that grow, whole columns asked about again and again. Good until a cell of theirs changes. A
// column of constants is taken whole; of one with formulas the rows that are up to date.

#include "base/Array.h"
#include "formula/FormulaTypes.h"
#include "formula/KeptStore.h"
#include "formula/SideBySide.h"

namespace tally {

struct PlacedError {
    u16 row;
    u8 error;
};

// A question about rows that was asked, and by how much it lay behind the one before it.
struct AskedRows {
    const void* tag = nullptr;
    i32 first = 0, last = 0;
    i32 firstStep = 0, lastStep = 0;
};

constexpr u32 ASKED_ROWS = 16;
constexpr u32 ASKED_BEGINS = 16;
constexpr u32 LEVELS = 4;
constexpr u32 LEVEL_WIDTH = 16;

struct KeptNumbers {
    KeptItem item;
    u32 version = 0;
    u32 generation = 0;            // another one when the places of the numbers are other ones
    bool oddNumber = false;        // not finite: every question reads for itself
    i32 firstRow = 0, behind = 0;  // the rows taken
    u32 scanned = 0;               // rows read for questions that could not be answered from here
    ExactRange exact;              // of the numbers
    Array<double> numbers;
    Array<u16> rows;
    Array<u16> others;  // rows of the filled cells that gave no number
    Array<PlacedError> errors;
    Array<u16> subtotals;  // rows of formulas that call SUBTOTAL, as far as looked for
    i32 subtotalsBehind = 0;
    // The first greatest and the first least of 16, 256, ... numbers.
    Array<double> most[LEVELS], least[LEVELS];
    AskedRows asked[ASKED_ROWS];
    u32 nextAsked = 0;
    u64 begins[ASKED_BEGINS] = {};  // of a place and a tag
    u32 nextBegin = 0;
    u32 orderScanned = 0;  // numbers of questions about order that found none kept
    u64 orderClock = 0;
};

// A question: an area on one sheet, and where its numbers stand once they are taken.
struct NumberRange {
    Sheet* sheet = nullptr;
    RefArea area;
    bool allKinds = false;  // texts count as 0 and booleans as 0 or 1
    u32 version = 0;
    KeptNumbers* kept = nullptr;
    u32 begin = 0, end = 0;
    i32 error = -1;                      // the first error in the area
    u32 othersBegin = 0, othersEnd = 0;  // places of the filled cells without a number

    u32 Count() const { return end - begin; }
    u32 Filled() const { return Count() + othersEnd - othersBegin; }
    const double* Numbers() const { return kept->numbers.Data() + begin; }
};

// False for arguments that are no area on one sheet with cells, and for those too small to be worth it.
bool LocateNumbers(const Value& argument, const EvalContext& context, bool allKinds, NumberRange& range);
bool LocateNumbersOn(Sheet& sheet, const RefArea& area, bool allKinds, NumberRange& range);
// Finds the numbers of a located range. False when the cells must be read: some wait for their calculation, the
// column is new here and long, or memory fails. Pointers hold until the next call.
bool TakeNumbers(NumberRange& range);
// Another area of the same columns, within the rows taken. False with an error inside.
bool PartOf(const NumberRange& whole, i32 firstRow, i32 lastRow, NumberRange& part);
bool CallsSubtotal(const CellRecord& cell);
// Whether a cell of a taken range calls SUBTOTAL.
bool HoldsSubtotal(NumberRange& range);

// The first greatest and the first least number of a taken range that has any.
double GreatestOf(const NumberRange& range);
double LeastOf(const NumberRange& range);

// What was made of an area as it is now. A tag is the address of what made it.
bool RecallValue(const NumberRange& range, const void* tag, Value& value);
// A number or an error.
void RememberValue(const NumberRange& range, const void* tag, const Value& value);
// True when a question of this kind began at this number not long ago.
bool BeganBefore(KeptNumbers& kept, u32 begin, const void* tag);
// Notes a question about rows. Not null when it lies as far behind an earlier one of its kind as that behind
// one before; whoever answers the next ones of the line as well moves it on.
AskedRows* NextInLine(KeptNumbers& kept, i32 first, i32 last, const void* tag);

void ResetKeptNumbers();

}  // namespace tally
