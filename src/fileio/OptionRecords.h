#pragma once
// Records of one word that a book keeps for its file, by the field that holds them: for reader and writer.

#include "fileio/LoadState.h"

namespace tally {

struct BookOptionRecord {
    u16 id;
    u16 BookOptions::*field;
};
constexpr BookOptionRecord bookOptionRecords[] = {
    {14, &BookOptions::precision},       {18, &BookOptions::protectStructure},
    {19, &BookOptions::passwordHash},    {25, &BookOptions::protectWindows},
    {64, &BookOptions::backup},          {141, &BookOptions::hideObjects},
    {156, &BookOptions::functionGroups}, {218, &BookOptions::saveNoLinks},
    {352, &BookOptions::selfNames},      {431, &BookOptions::protectRevisions},
    {439, &BookOptions::refreshAll},     {444, &BookOptions::revisionPassword},
};

struct SheetOptionRecord {
    u16 id;
    u16 SheetOptions::*field;
};
// The settings of calculation stand in every sheet, in this order.
constexpr SheetOptionRecord calculationRecords[] = {
    {13, &SheetOptions::calculationMode},
    {12, &SheetOptions::iterations},
    {15, &SheetOptions::referenceMode},
    {17, &SheetOptions::iteration},
};
constexpr u16 RECORD_DELTA = 16, RECORD_SAVERECALC = 95, RECORD_OBJPROTECT = 99, RECORD_SCENPROTECT = 221;
constexpr u16 RECORD_VERTICAL_BREAKS = 26, RECORD_HORIZONTAL_BREAKS = 27;

// Flags of WINDOW2 that are kept as they are: zeros, the grid's own colour, direction, outline marks, page
// view.
constexpr u16 WINDOW_KEPT = 0x08F0;

// Bits of ROW and COLINFO.
constexpr u8 ROW_LEVEL_BITS = 7, ROW_IS_COLLAPSED = 0x10, ROW_IS_HIDDEN = 0x20, ROW_HAS_HEIGHT = 0x40,
             ROW_HAS_FORMAT = 0x80;
constexpr u16 ROW_FORMAT_BITS = 0x0FFF;
constexpr u16 COLUMN_IS_HIDDEN = 1, COLUMN_IS_SET = 2, COLUMN_IS_FITTED = 4, COLUMN_IS_COLLAPSED = 0x1000;

}  // namespace tally
