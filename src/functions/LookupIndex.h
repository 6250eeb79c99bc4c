#pragma once
// Lookups in a column that give the places which a scan would find.

#include "model/ModelTypes.h"

namespace tally {

enum LookupRule : u8 {
    FIRST_EQUAL,  // the first element that equals: Near numbers, texts without regard to case
    WALK_DOWN,    // the walk from the first element that ends at an equal one, or before the first below
};

// A part of a column, all of it up to date.
struct LookupColumn {
    Sheet* sheet;
    i32 column;
    i32 firstRow;
    i32 lastRow;
};

constexpr i32 LOOKUP_NONE = -1;

// False when the question must be answered by a scan: by what the value is, for lack of memory, or because the
// column is short or new here. Otherwise `row` is the sheet's row that was found, or LOOKUP_NONE. Texts with
// wildcards are no concern of this: the caller asks with plain ones only.
bool FindInColumn(const LookupColumn& where, const Value& value, LookupRule rule, i32& row);

}  // namespace tally
