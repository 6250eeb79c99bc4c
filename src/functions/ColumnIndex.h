#pragma once
// The numbers and texts of a column's part, and the orders over them that lookups, counts and sums share. A
// column is taken when the scans through it have cost as much as that costs, and is good until one of its cells
// changes.

#include "base/Text.h"
#include "formula/KeptStore.h"
#include "functions/LookupIndex.h"

namespace tally {

constexpr i32 SHORTEST_INDEX = 48;  // rows; a scan of fewer costs no more

struct PlacedNumber {
    double number;
    u16 row;
};

// The numbers and texts of a column's part by ascending row. The orders are made when first needed; an order
// over texts holds places in `texts`.
struct ColumnIndex {
    KeptItem item;
    u32 version = 0;
    i32 column = 0;
    i32 firstRow = 0;
    i32 lastRow = 0;
    i32 firstUsed = MAX_ROWS;  // of all elements
    i32 lastUsed = -1;
    Array<double> numbers;
    Array<u16> numberRows;
    Array<TextBlock*> texts;  // one use of each
    Array<u16> textRows;
    Array<PlacedNumber> sorted;  // by number, then row
    Array<u32> table;            // place + 1 of a text's first cell by hash; 0 is free
    Array<u32> nextEqual;        // place + 1 of the next equal text
    Array<u32> equals;           // how many are equal, at the first one's place
    u32 differentTexts = 0;
    Array<u32> firstTexts;  // places of the first ones, when they are few
    Array<u16> otherRows;   // booleans and errors
    Array<u32> textOrder;   // places by text, then row
    Array<double> least;    // the least number up to each place
    Array<u32> leastText;   // the same of texts, by their places

    ~ColumnIndex() {
        for (TextBlock* text : texts) ReleaseText(text);
    }
};

// Places [begin, end) in an order.
struct Places {
    u32 begin, end;
};

// The index that answers for a part of a column; null when it must be scanned. With `whole` one index of all
// the column serves, where it is a column of constants, and the answer is to be cut to the part.
ColumnIndex* IndexOf(const LookupColumn& where, bool whole);
// Whether the part holds every element of the index.
bool Covers(const LookupColumn& where, const ColumnIndex& index);
// Whether going over `matches` equal cells of the whole column costs no more than a scan of the part would.
bool IsWorthwhile(const LookupColumn& where, const ColumnIndex& index, u32 matches);
inline bool Holds(const LookupColumn& where, i32 row) { return row >= where.firstRow && row <= where.lastRow; }

// Make an order when it is first needed; false when memory fails.
bool SortNumbers(ColumnIndex& index);
bool HashTexts(ColumnIndex& index);
bool SortTexts(ColumnIndex& index);

u32 FirstNotBelow(const Array<PlacedNumber>& sorted, double number);
u32 FirstAbove(const Array<PlacedNumber>& sorted, double number);
// The numbers that are Near to one: neighbours in the order.
Places NearPlaces(const ColumnIndex& index, double number);
// The slot of a text in the table, or the free one where it belongs.
u32 TextSlot(const ColumnIndex& index, WideView text);

}  // namespace tally
