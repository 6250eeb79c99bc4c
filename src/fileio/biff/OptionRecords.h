#pragma once
// Records of one word that a book keeps for its file, by the field that holds them: for reader and writer.

#include "fileio/biff/LoadState.h"

namespace tally {

struct BookOptionRecord {
    u16 id;
    u16 BookOptions::*field;
};
constexpr BookOptionRecord bookOptionRecords[] = {
    {RECORD_PRECISION, &BookOptions::precision},
    {RECORD_PROTECT, &BookOptions::protectStructure},
    {RECORD_PASSWORD, &BookOptions::passwordHash},
    {RECORD_WINDOWPROTECT, &BookOptions::protectWindows},
    {RECORD_BACKUP, &BookOptions::backup},
    {RECORD_HIDEOBJ, &BookOptions::hideObjects},
    {RECORD_FNGROUPCOUNT, &BookOptions::functionGroups},
    {RECORD_BOOKBOOL, &BookOptions::saveNoLinks},
    {RECORD_USESELFS, &BookOptions::selfNames},
    {RECORD_PROT4REV, &BookOptions::protectRevisions},
    {RECORD_REFRESHALL, &BookOptions::refreshAll},
    {RECORD_PROT4REVPASS, &BookOptions::revisionPassword},
};

struct SheetOptionRecord {
    u16 id;
    u16 SheetOptions::*field;
};
// The settings of calculation stand in every sheet, in this order.
constexpr SheetOptionRecord calculationRecords[] = {
    {RECORD_CALCMODE, &SheetOptions::calculationMode},
    {RECORD_CALCCOUNT, &SheetOptions::iterations},
    {RECORD_REFMODE, &SheetOptions::referenceMode},
    {RECORD_ITERATION, &SheetOptions::iteration},
};

// Flags of WINDOW2 that are kept as they are: zeros, the grid's own colour, direction, outline marks, page
// view.
constexpr u16 WINDOW_KEPT = 0x08F0;

// A bit of WSBOOL; the bytes of SETUP.
constexpr u16 FIT_TO_PAGE = 0x100;
constexpr std::size_t SETUP_BYTES = 34;
// Bits of WINDOW1: what is shown around the sheet.
constexpr u8 SHOWS_HORIZONTAL_BAR = 8, SHOWS_VERTICAL_BAR = 16, SHOWS_TABS = 32;
// States of a sheet in BOUNDSHEET.
constexpr u8 SHEET_STATE_BITS = 3;

// Bits of ROW and COLINFO.
constexpr u8 ROW_LEVEL_BITS = 7, ROW_IS_COLLAPSED = 0x10, ROW_IS_HIDDEN = 0x20, ROW_HAS_HEIGHT = 0x40,
             ROW_HAS_FORMAT = 0x80;
constexpr u16 ROW_FORMAT_BITS = 0x0FFF, ROW_HEIGHT_BITS = 0x7FFF;
constexpr u16 COLUMN_IS_HIDDEN = 1, COLUMN_IS_SET = 2, COLUMN_IS_FITTED = 4, COLUMN_IS_COLLAPSED = 0x1000;

}  // namespace tally
