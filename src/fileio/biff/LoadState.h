#pragma once
// What the readers of one workbook share while it is loaded. It lives for one open.

#include "base/SharedText.h"
#include "fileio/biff/BiffReader.h"
#include "model/BookTable.h"

namespace tally {

// An EXTERNSHEET record of the 95 form with the names that follow it.
enum ExternSheetKind : u8 {
    EXTERNSHEET_TEXT = 0,
    EXTERNSHEET_OWN = 1,
    EXTERNSHEET_ADDIN = 2,
    EXTERNSHEET_NONE = 3
};
struct ExternSheetEntry {
    ExternSheetKind kind = EXTERNSHEET_TEXT;
    WideText text;
    Array<WideText> names;
};

// Tokens shared by several cells: SHRFMLA in the local table of a sheet, ARRAY in the other.
struct SharedFormula {
    u16 row = 0;
    u8 column = 0;
    FormulaTokens tokens;
};

struct LoadedCell {
    i32 sheet;
    u16 row;
    u8 column;
};

// Where the sheet list says that a sheet's substream begins.
struct SheetPlace {
    u32 position = 0;
    u32 sheet = 0;
    bool read = false;
};

struct LoadState {
    BiffStream stream;
    i32 book = -1;
    i32 sheet = 0;  // being read
    u8 biffVersion = 8;
    u32 boundSheets = 0;
    Array<SheetPlace> places;  // of the sheets that the list leads to, ascending
    Array<u32> unplaced;       // sheets that it does not lead to: they come in the order of the file
    u32 nextUnplaced = 0;
    Array<u32> sheetPositions;  // as the list has them
    Array<u16> tabIds;          // of the sheets, in the order of the list
    i32 linkBook = -1;          // whose values follow, and of which sheet
    i32 linkSheet = -1;
    i32 activeTab = 0;
    bool windowSeen = false;  // of the book
    bool viewSeen = false;    // of the current sheet
    bool fontsSeen = false;
    bool formatsSeen = false;
    Array<TextBlock*> strings;  // shared strings; one use each
    Array<ExternSheetEntry> externTable;
    Array<SharedFormula> shared;  // of the current sheet
    Array<SharedFormula> arrays;  // of the current sheet
    Array<u16> bareFormats;       // number formats of a bare file, in order of arrival
    u32 formatBase = 0;           // where the cell formats of a bare sheet begin in the book's list
    u32 nameBase = 0;             // and its names
    bool hasVolatiles = false;    // a formula is flagged always-calculate, with a value
    bool lastCellKnown = false;   // a cell has been added: a STRING record belongs to it
    LoadedCell lastCell = {};
    WideText text;  // scratch
    ~LoadState();
};

inline Workbook& LoadedBook(const LoadState& load) { return *BookAt(load.book); }
inline Sheet& LoadedSheet(const LoadState& load) { return *SheetAt(load.book, load.sheet); }
void FreeShared(Array<SharedFormula>& list);

// True at the EOF record, false for an end of the stream, a password or a lack of memory.
[[nodiscard]] bool ReadGlobals(LoadState& load);
[[nodiscard]] bool ReadSheet(LoadState& load);
// The records of a chart or module sheet are kept as they stand.
[[nodiscard]] bool KeepSubstream(LoadState& load);
// A bare file of BIFF2, BIFF3 or BIFF4 records into the current book.
[[nodiscard]] bool ReadOldBook(LoadState& load, u16 bofId);

// ---- pieces that several readers use ---------------------------------------------------------------

// Adds a cell; it becomes the one that a STRING record belongs to. A format out of range is 0.
[[nodiscard]] bool AddCell(LoadState& load, i32 row, i32 column, u16 format, Value value, FormulaTokens tokens);
// A text as a value; the empty text when memory fails is a failure.
[[nodiscard]] bool AddTextCell(LoadState& load, i32 row, i32 column, u16 format, WideView text);
// Replaces the cached text of the last cell added.
[[nodiscard]] bool ReplaceLastText(LoadState& load, WideView text);
// The 8 bytes of a formula's result; false for the kinds that a STRING record follows.
Value CachedValue(ByteView result);
// Turns relative tokens into the positions that they mean for the formula's own cell.
[[nodiscard]] bool PlaceOffsets(FormulaTokens& tokens, u16 row, u8 column);
// The steps behind a formula's insertion: always-calculate flag and state from the file's flags.
void SetFormulaState(LoadState& load, i32 row, i32 column, u16 flags);
// The next sheet of a file: the first one is that of the new book. Longer names are cut.
[[nodiscard]] bool AddBoundSheet(LoadState& load, WideView name, i32 kind, i32 hidden);
void ReadCodePage(LoadState& load, ByteView body);
void ReadPalette(LoadState& load, ByteView body);
// Puts a built-in name in place of its code, which the text begins with.
[[nodiscard]] bool ExpandBuiltIn(WideText& text);
// A record of a sheet by its number; one that no sheet has is passed over.
[[nodiscard]] bool ReadSheetRecord(LoadState& load, u16 id, ByteView body);
[[nodiscard]] bool ReadFormatRecord(LoadState& load, ByteView body);
[[nodiscard]] bool ReadXf(LoadState& load, ByteView body);
[[nodiscard]] bool ReadStyle(LoadState& load, ByteView body);
[[nodiscard]] bool ReadName(LoadState& load, ByteView body);
[[nodiscard]] bool ReadExternSheet(LoadState& load, ByteView body);
[[nodiscard]] bool ReadExternName(LoadState& load, ByteView body);
[[nodiscard]] bool ReadSupbook(LoadState& load, ByteView body);
[[nodiscard]] bool ReadSharedStrings(LoadState& load, ByteView body);
// XCT and CRN: the values that linked files had.
void ReadLinkSheet(LoadState& load, ByteView body);
[[nodiscard]] bool ReadLinkValues(LoadState& load, ByteView body);
// The row of externBooks that an entry of the 95 form stands for, and its one sheet; -1 without memory or text.
i32 ExternBookOfEntry(LoadState& load, const ExternSheetEntry& entry, i32& sheet);
// After the globals of a 95 form: sheets of scoped names.
void ResolveNameSheets(LoadState& load);
// From the 95 token form, `length` bytes of tokens and what follows them, to BIFF8. Failure: memory or
// a stream that does not fit. `offsets`: relative rows are distances that wrap, as in names.
[[nodiscard]] bool WidenTokens(LoadState& load, ByteView tokens, ByteView extra, FormulaTokens& out,
                               bool offsets = false);
// The same from the pocket form. The sheets of names may come later: the caller judges them at the end.
[[nodiscard]] bool WidenPocketTokens(LoadState& load, ByteView tokens, bool offsets, FormulaTokens& out);
// The same from bare files; `version` 2, 3 or 4.
[[nodiscard]] bool WidenOldTokens(LoadState& load, int version, ByteView tokens, ByteView extra,
                                  FormulaTokens& out);

}  // namespace tally
