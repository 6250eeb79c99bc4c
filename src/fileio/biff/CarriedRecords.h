#pragma once
// Records that nothing here understands: where they stand among those that are written, what they are, and
// when they would say what is no longer so.

#include "fileio/biff/BiffReader.h"
#include "fileio/biff/SaveState.h"
#include "model/CarriedTypes.h"

namespace tally {

// The groups of records in the globals and in a sheet, in the order in which they are written.
enum GlobalsGroup : u16 {
    GLOBALS_BEGIN,
    GLOBALS_INTERFACE,
    GLOBALS_USER,
    GLOBALS_CODE_PAGE,
    GLOBALS_TABS,
    GLOBALS_PROTECTION,
    GLOBALS_WINDOW,
    GLOBALS_BACKUP,
    GLOBALS_DATES,
    GLOBALS_FORMATS,
    GLOBALS_STYLES,
    GLOBALS_PALETTE,
    GLOBALS_SELF_NAMES,
    GLOBALS_SHEETS,
    GLOBALS_COUNTRY,
    GLOBALS_LINKS,
    GLOBALS_NAMES,
    GLOBALS_DRAWINGS,
    GLOBALS_STRINGS,
};
enum SheetGroup : u16 {
    SHEET_BEGIN,
    SHEET_INDEX,
    SHEET_CALCULATION,
    SHEET_GRID,
    SHEET_PAGE_TEXTS,
    SHEET_SETUP,
    SHEET_PROTECTION,
    SHEET_COLUMN_WIDTH,
    SHEET_FILTER,
    SHEET_LINK_TABLE,
    SHEET_COLUMNS,
    SHEET_DIMENSIONS,
    SHEET_CELLS,
    SHEET_WINDOW,
    SHEET_SELECTION,
    SHEET_STANDARD_WIDTH,
    SHEET_MERGES,
    SHEET_CONDITIONS,
    SHEET_HYPERLINKS,
    SHEET_VALIDATION,
    SHEET_TAIL,
};
constexpr u16 NO_PLACE = 0xFFFF;

// Where a record belongs: for one that is written its own group, for others where the format wants them.
// NO_PLACE: behind whatever stood in front of it.
u16 PlaceInGlobals(u16 id);
u16 PlaceInSheet(u16 id);
// Whether a record that no reader takes is written anew, or means nothing any more.
bool IsWrittenAnew(bool globals, u16 id);

// Adds a part of a stream to what is carried. False when memory fails.
[[nodiscard]] bool CarryBytes(CarriedRecords& carried, u16 place, u8 form, ByteView bytes);
// Whether a record begins a block that is carried whole, and how far that goes: a substream, or the records
// of a custom view. False when the stream ends inside.
bool BeginsBlock(u16 id);
// `last` gets the place of its last record.
[[nodiscard]] bool SkipBlock(BiffStream& stream, u16 id, std::size_t* last = nullptr);

// ---- saving -----------------------------------------------------------------------------------------------

// Kinds of carried records, as bits.
enum CarriedKind : u32 {
    CARRIED_HOUSEKEEPING = 1,  // nobody misses it
    CARRIED_DRAWINGS = 2,
    CARRIED_COMMENTS = 4,
    CARRIED_CHARTS = 8,
    CARRIED_PIVOTS = 16,
    CARRIED_MACROS = 32,
    CARRIED_VIEWS = 64,
    CARRIED_PLACES = 128,  // of cells, in any other way
    CARRIED_OTHERS = 256,
};

// Works out what of the book's carried bytes goes into this save: the losses, the kinds to leave out, and
// the entries of the container. False when memory fails.
[[nodiscard]] bool PlanCarried(SaveState& save);
// What a form without any of it loses.
u32 CarriedLosses(const Workbook& book);
// Writes the runs of one place; `sheet` is null for the globals.
void WriteCarried(SaveState& save, const Sheet* sheet, u16 place);

}  // namespace tally
