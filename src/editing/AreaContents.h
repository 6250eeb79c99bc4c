#pragma once
// What an area of a sheet holds and what hangs on it: as it was, which undo keeps, or as it will be, which a
// change makes. Putting contents in place exchanges the two.

#include "editing/CellBlock.h"
#include "editing/TokenChange.h"

namespace tally {

// The rules of one sheet, whole lists.
struct SavedRules {
    u32 serial = 0;
    bool hasValidations = false, hasFormats = false;
    Array<ValidationRule> validations;
    Array<ConditionalFormat> formats;
};

// Beside the masks of a block: the records of the area's rows.
constexpr u32 CONTENTS_ROWS = 512;

struct AreaContents {
    u32 serial = 0;  // of the sheet
    RefArea area;
    u32 mask = 0;               // what counts: BlockMask and CONTENTS_ROWS
    Array<SavedCell> cells;     // by row, then column
    Array<RowInfo> rows;        // of the area's rows
    Array<ColumnInfo> columns;  // of its columns
    Array<SavedLink> links;     // hyperlinks that touch it, each with its place in the sheet's list
    Array<ArrayEntry> arrays;   // the sheet's whole list
    Array<DataTable> tables;    // likewise, with BLOCK_ARRAYS
    Array<RefArea> merges;      // likewise
    Array<SavedRules> rules;    // likewise, of every sheet whose rules change
    Array<TokenChange> tokens;  // of formulas elsewhere
};

// Starts empty contents for an area.
void StartContents(AreaContents& contents, const Sheet& sheet, const RefArea& area, u32 mask);
// Captures what the mask names. False when memory fails; what was captured is then for FreeContents.
[[nodiscard]] bool SaveContents(AreaContents& contents, Sheet& sheet, const RefArea& area, u32 mask);
// Exchanges what the area holds with the contents, as far as the mask goes, indexes the formulas and marks what
// follows from it. All memory is got first: false with nothing changed when there is too little. Cells, rows,
// columns and links of before are released and not kept.
[[nodiscard]] bool PutContents(AreaContents& contents);
void FreeContents(AreaContents& contents);

// Exchanges a sheet's lists of rules with the saved ones.
void SwapRules(SavedRules& rules);
void FreeSavedRules(SavedRules& rules);

// The saved links go among those of the sheet, each to its old place. `room` holds all of them.
[[nodiscard]] bool MakeLinkRoom(const Sheet& sheet, const Array<SavedLink>& saved, Array<Hyperlink>& room);
void ReturnLinks(Sheet& sheet, Array<SavedLink>& saved, Array<Hyperlink>& room);
// Enters the formulas that a patch has brought into the index of dependents.
void IndexNewFormulas(Sheet& sheet, u32 count);

}  // namespace tally
