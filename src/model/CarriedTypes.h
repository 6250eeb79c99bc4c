#pragma once
// What a file holds and nothing here understands: it stays with the book as bytes, and goes back into a file
// of the same form.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

// Bytes of records in the form (7 or 8) that they came in.
struct CarriedBytes {
    Array<u8> bytes;
    u8 form = 0;
};

// Records that follow each other in a substream, with their headers.
struct CarriedRun {
    u16 place = 0;  // behind which of the records that are written it stands
    u32 start = 0;  // in CarriedRecords::bytes
    u32 length = 0;
};

// The carried records of a substream, in the order of the file.
struct CarriedRecords {
    Array<CarriedRun> runs;
    Array<u8> bytes;
    u8 form = 0;
    Array<u16> links;  // the rows of externSheets that the sheet's own table of the 95 form names
};

// A stream or storage of the container; the first of a list is the root.
struct CarriedEntry {
    WideText name;
    u8 kind = 0;  // as in the directory: 1 storage, 2 stream, 5 root
    u32 parent = 0;
    u8 classId[16] = {};
    u32 state = 0;
    u8 times[16] = {};
    Array<u8> bytes;
};

// A sheet as it was when the carried bytes were read.
struct SheetMark {
    u32 serial = 0;
    u32 nameHash = 0;
};

// Cells that went elsewhere since, each move by its area and way. A move and its inverse cancel out.
struct CellMove {
    u16 row = 0;  // from here on cells stand elsewhere
    u8 column = 0;
    u64 what = 0;  // tells the move and its inverse
    bool operator==(const CellMove&) const = default;
};
struct CellMoves {
    Array<CellMove> list;
    bool uncounted = false;  // memory failed: everything may have moved
};

}  // namespace tally
