#pragma once
// A captured rectangle of cells and what hangs on them.

#include "model/SavedCells.h"

namespace tally {

// What a capture takes, what a restoration puts back and what a clearing removes.
enum BlockMask : u32 {
    BLOCK_CELLS = 1,
    BLOCK_COLUMNS = 2,
    BLOCK_ARRAYS = 4,
    BLOCK_MERGES = 8,
    BLOCK_VALIDATION = 16,
    BLOCK_CONDITIONAL = 32,
    BLOCK_COMMENTS = 64,
    BLOCK_OBJECTS = 128,
    BLOCK_HYPERLINKS = 256,
    BLOCK_ALL = 511,
    BLOCK_BUT_COMMENTS = 447,
    BLOCK_BUT_OBJECTS = 383,
    BLOCK_NO_OBJECTS = 319,  // neither comments nor objects
    BLOCK_BY_PASTE = 380,    // what a paste overwrites beyond cells and column information
    BLOCK_BY_ENTRY = 271,    // what typing can change
};

// A hyperlink with its place in the sheet's list.
struct SavedLink {
    u32 place = 0;
    Hyperlink link;
};

struct CellBlock {
    i32 book = 0, sheet = 0;
    RefArea area;
    u32 mask = 0;
    bool visibleOnly = false;  // hidden rows and columns are left out, positions are compressed
    Array<SavedCell> cells;    // by row, then column
    Array<ColumnInfo> columns;
    Array<ArrayEntry> arrays;  // that touch the area
    Array<RefArea> merges;     // likewise
    Array<SavedLink> links;    // likewise
    // Those that touch the area, their areas cut to it.
    Array<ValidationRule> validations;
    Array<ConditionalFormat> formats;
};

// Captures what the mask names. False, with the block empty, when memory fails.
[[nodiscard]] bool CaptureBlock(CellBlock& block, i32 book, i32 sheet, const RefArea& area, u32 mask);
void FreeBlock(CellBlock& block);
// Appends copies of the hyperlinks that touch an area.
[[nodiscard]] bool SaveLinks(Array<SavedLink>& links, const Sheet& sheet, const RefArea& area);
[[nodiscard]] bool CopyLink(Hyperlink& target, const Hyperlink& source);

}  // namespace tally
