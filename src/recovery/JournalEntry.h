#pragma once
// An entry of the journal: what some areas of a book hold now, so that putting it there again, however often,
// leaves the book as it was when the entry was made.

#include "editing/AreaContents.h"
#include "recovery/JournalBytes.h"

namespace tally {

// What an entry tells of a sheet, beside the sheet's own fields: an area, as far as a mask goes (BlockMask and
// CONTENTS_ROWS). A mask of 0 tells the fields alone.
struct ChangeNote {
    u32 serial = 0;  // of the sheet
    RefArea area;
    u32 mask = 0;
};

// The masks that an entry can hold.
constexpr u32 JOURNAL_MASK = BLOCK_CELLS | BLOCK_COLUMNS | BLOCK_ARRAYS | BLOCK_MERGES | BLOCK_VALIDATION |
                             BLOCK_CONDITIONAL | BLOCK_HYPERLINKS | CONTENTS_ROWS;

// Tables of a book that only grow between two snapshots. What was there before need not be told again.
struct TableSizes {
    u32 externSheets = 0;
    u32 names = 0;
};
TableSizes SizesOf(const Workbook& book);

// Lists of a sheet as they were last told, by a hash, so that long ones are not told again for each cell.
struct ToldLists {
    u32 serial = 0;
    u64 arrays = 0, merges = 0;
};

// Appends the bytes of an entry. `told` are the sizes and lists that the journal has, and are brought up to
// what it will have. Notes of sheets that are gone say nothing. False when memory fails.
[[nodiscard]] bool WriteJournalEntry(i32 book, std::span<const ChangeNote> notes, TableSizes& sizes,
                                     Array<ToldLists>& told, Array<u8>& out);
// Puts an entry into a book. False when the bytes are no entry that fits the book, or memory fails: what stands
// in front of that place has been put there.
[[nodiscard]] bool ApplyJournalEntry(i32 book, ByteView bytes);

}  // namespace tally
