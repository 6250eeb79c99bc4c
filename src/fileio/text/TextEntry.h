#pragma once
// From a field of a text file to a cell.

#include "model/BookTable.h"

namespace tally {

// Formats that recognition has proposed so far, so that a column of dates looks its format up once.
struct KnownFormat {
    i32 kind = 0;
    i32 subKind = 0;
    bool prefixed = false;
    bool wrapped = false;
    u16 cellFormat = 0;
};

struct TextEntry {
    i32 book = 0;
    i32 sheet = 0;
    Array<KnownFormat> formats;
};

// Recognises a field and stores it in its cell. `quoted`: a number in it stays a text. False when memory
// fails.
[[nodiscard]] bool StoreTextEntry(TextEntry& entry, i32 row, i32 column, WideView field, bool quoted);
// Gives every row that holds a text of several lines the height that shows them.
void FitRowHeights(i32 book, i32 sheet);

}  // namespace tally
