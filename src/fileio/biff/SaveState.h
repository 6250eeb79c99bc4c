#pragma once
// What the writers of one workbook share while it is saved. It lives for one save. A writer that has run
// out of memory goes on without effect; `writer.failed` tells at the end.

#include "fileio/biff/BiffWriter.h"
#include "fileio/biff/NarrowText.h"
#include "fileio/biff/TokenRewrite.h"
#include "fileio/common/FileForms.h"
#include "model/BookTable.h"

namespace tally {

// The texts of all cells without a formula, each once, in the order of their code units.
struct StringTable {
    Array<TextBlock*> blocks;  // sorted; the uses are the cells' own
    Array<u32> indexes;        // of a block's text in the file; equal texts share one
    Array<u32> slots;          // hash of the blocks: place plus 1, 0 free
    u32 unique = 0;
    u32 references = 0;
};

// An EXTERNSHEET record of the 95 form. Rows of the book's own sheets have no extern book.
constexpr i32 OWN_BOOK = -1;
struct LinkEntry {
    i32 externBook = OWN_BOOK;
    i32 sheet = EXTERN_NO_SHEET;
    bool usesNames = false;
};

// The table of one substream of the 95 form; `entryOf` keeps what each row of externSheets came to.
struct LinkTable {
    Array<LinkEntry> entries;
    Array<u16> entryOf;  // 1-based; 0 not looked up yet
};

constexpr u16 NOT_IN_POCKET = 0xFFFF;

// The numbers that rows of the book have in the file.
struct PocketNumbers {
    Array<u16> sheets;   // NOT_IN_POCKET for what is no worksheet
    Array<u16> names;    // from 1; 0 for a name that the form cannot hold
    Array<u16> formats;  // of cellFormats; 0 for a row that no cell uses
};
// False for a function that handhelds do not have.
bool IsPocketFunction(u16 function);

// A text of the older form in place of one that its code page cannot hold.
struct RenamedText {
    u32 index = 0;
    WideText text;
};

// What of the book's carried bytes stays out of a save, as CarriedKind bits.
struct CarriedPlan {
    u32 droppedGlobals = 0;
    Array<u32> droppedSheets;
    Array<bool> droppedEntries;
};

struct SaveState {
    i32 book = -1;
    u8 biffVersion = 8;
    u16 codePage = 0;
    u32 losses = 0;  // SaveLoss bits
    BiffWriter writer;
    Array<u32> boundSheets;  // stream offsets of the sheets' positions
    StringTable strings;
    CarriedPlan carried;
    LinkTable links;
    Array<RenamedText> renamedSheets;       // ascending, of the book's sheets
    Array<RenamedText> renamedNames;        // and of its names
    const PocketNumbers* pocket = nullptr;  // in the pocket form
    TokenRewrite narrowed;                  // the tokens that NarrowTokens gave last
    Array<u8> narrow;                       // the text that NarrowText gave last
    WideText wide;                          // scratch
    BiffWriter body;                        // a record whose length shows at its end
};

inline const Workbook& SavedBook(const SaveState& save) { return *BookAt(save.book); }

// ---- text -------------------------------------------------------------------------------------------------

// True when a character does not fit a byte.
bool IsWide(WideView text);
// At most `most` characters; no pair of surrogates is cut in two.
WideView CutText(SaveState& save, WideView text, std::size_t most);
// The text in the book's code page, at most `most` bytes. Valid until the next call.
ByteView NarrowText(SaveState& save, WideView text, std::size_t most);
// What stands for the name of a sheet, and for a name, in the file.
WideView WrittenSheetName(const SaveState& save, i32 sheet);
WideView WrittenName(const SaveState& save, u32 name);
// The characters in one or two bytes each.
void WriteCharacters(BiffWriter& to, WideView text, bool wide);
// Count byte, then the text: option byte and characters, or the bytes of the code page.
void WriteShortString(SaveState& save, BiffWriter& to, WideView text);
// The same behind a count of two bytes.
void WriteLongString(SaveState& save, BiffWriter& to, WideView text);

// A record of one such text; what does not fit goes on in CONTINUE records, each with an option byte.
void WriteSplitString(SaveState& save, u16 id, WideView text);

// The most bytes of a record's body in the form of the file.
inline std::size_t RoomOf(const SaveState& save) {
    return save.biffVersion == 8 ? RECORD_ROOM : RECORD_ROOM_95;
}
// Starts a record in save.body; EndBody writes it. What no record can hold is left out, and false.
void BeginBody(SaveState& save);
bool EndBody(SaveState& save, u16 id);

// ---- names of the 95 form
// ------------------------------------------------------------------------------

// Finds texts for the names that the page cannot hold, each unlike all others; false when memory fails.
[[nodiscard]] bool FitNames(SaveState& save);

// ---- globals ----------------------------------------------------------------------------------------------

void WriteGlobals(SaveState& save);
void WriteBof(SaveState& save, u32 type);
void WriteFontsAndFormats(SaveState& save);
void WriteExternBooks(SaveState& save);
void WriteNames(SaveState& save);
// XCT and CRN of one sheet of a linked file; nothing when its values are not known.
void WriteLinkValues(SaveState& save, const ExternBook& book, i32 sheet);
// Collects the texts of all cells; false when memory fails.
[[nodiscard]] bool BuildStringTable(const Workbook& book, StringTable& table);
u32 StringIndex(const StringTable& table, const TextBlock* text);
void WriteStringTable(SaveState& save);

// ---- links and tokens of the 95 form
// ---------------------------------------------------------------------------

// The 1-based entry of an extern index, added when absent; 0 when the form has none for it.
u16 LinkEntryOf(SaveState& save, u32 externIndex);
// The 1-based entry of a sheet of this book; EXTERN_NO_SHEET stands for the book itself.
u16 OwnSheetEntry(SaveState& save, i32 sheet);
// Enters what the tokens refer to.
void CollectLinks(SaveState& save, const FormulaTokens& tokens);
// Enters what the sheet's own table had, in its order, so that the numbers in carried records stay right.
void KeepLinkNumbers(SaveState& save, const Sheet& sheet);
void CollectSheetLinks(SaveState& save, const Sheet& sheet);
// EXTERNCOUNT and the entries; nothing when there are none.
void WriteLinkTable(SaveState& save);
void ClearLinkTable(SaveState& save);
// Tokens of "#N/A", in place of those that a form cannot hold.
constexpr u8 NOT_AVAILABLE[] = {ptgErr, 42};
// From BIFF8 to the 95 token form, or the pocket one, into save.narrowed.out; the first `length` bytes of it
// are the tokens. False when that form has no such tokens: "#N/A" is put there instead. `offsets`: relative
// rows are distances that wrap, as in names.
bool NarrowTokens(SaveState& save, const FormulaTokens& tokens, bool offsets, u16& length);

// Tokens as they go into a record: the bytes with what follows them, and how many of them are tokens.
struct TokenImage {
    ByteView bytes;
    u16 length = 0;
};
// In the form of the file; valid until the next call.
TokenImage ImageOfTokens(SaveState& save, const FormulaTokens& tokens, bool offsets = false);

// The whole file of the pocket form: BOF to the last EOF.
void WritePocket(SaveState& save);

// ---- sheets -----------------------------------------------------------------------------------------------

void WriteSheet(SaveState& save, i32 sheet);
// From the print flags to the protection.
void WritePageRecords(SaveState& save, const Sheet& sheet);
void WriteColumns(SaveState& save, const Sheet& sheet);
void WriteFilterRecords(SaveState& save, const Sheet& sheet);
// Rows up to `lastRow` with their cells; `indexBlocks` is the stream offset of the block offsets in INDEX.
void WriteRowBlocks(SaveState& save, const Sheet& sheet, i32 lastRow, i32 lastColumn, u32 indexBlocks);
// WINDOW2 to SELECTION; `current` for the sheet that the book opens with.
void WriteViewRecords(SaveState& save, const Sheet& sheet, bool current);
// The 9 bytes of PANE.
void PutPane(const SaveState& save, const SheetView& view, u8* out);
// SCL, which stands among the records of the view.
void WriteZoom(SaveState& save, const Sheet& sheet);
// SHEETEXT, and the zoom of a sheet without a view.
void WriteSheetTail(SaveState& save, const Sheet& sheet);
void WriteMerges(SaveState& save, const Sheet& sheet);
void WriteConditionalFormats(SaveState& save, const Sheet& sheet);
void WriteHyperlinks(SaveState& save, const Sheet& sheet);
void WriteValidations(SaveState& save, const Sheet& sheet);

// The array formulas of a sheet, walked down with the rows.
struct ArrayCursor {
    Array<u32> order;         // of sheet.arrayFormulas, by first row
    Array<u32> active;        // those that reach the current row
    Array<bool> begun;        // the ARRAY record has been written
    Array<bool> tablesBegun;  // of sheet.dataTables: the TABLE record has been written
    u32 next = 0;
};
[[nodiscard]] bool BeginArrays(const Sheet& sheet, ArrayCursor& cursor);
[[nodiscard]] bool EnterRow(const Sheet& sheet, ArrayCursor& cursor, i32 row);

struct CellWriting {
    SaveState& save;
    const Sheet& sheet;
    u16 columnFormats[MAX_COLUMNS];
    ArrayCursor arrays;
};
// The formats of the columns, one for each of MAX_COLUMNS.
void FillColumnFormats(const Sheet& sheet, u16* formats);
// Whether a cell holds anything that its column does not say; one that does not is left out.
bool SaysSomething(const u16* columnFormats, const CellRecord& cell);
void WriteRowCells(CellWriting& w, const CellRow& row);
void WriteFormulaCell(CellWriting& w, u16 row, const CellRecord& cell);

// The greatest row of a form, numbered from 0.
constexpr u16 LAST_ROW_95 = 0x3FFF;
inline i32 LastRowOf(const SaveState& save) { return save.biffVersion == 8 ? MAX_ROWS - 1 : LAST_ROW_95; }

// The place in the sheet's list of the array that holds a cell of the row entered, or -1.
i32 FindActiveArray(const Sheet& sheet, const ArrayCursor& cursor, i32 row, i32 column);

// The 8 bytes of a formula's result. A text follows in a record of its own.
void PutResult(u8* out, const Value& value);

// Neighbouring columns of one width, format and visibility.
struct ColumnRun {
    u8 first, last;
    bool hidden;
    u16 width, format;
    u16 flags;  // ColumnFlags
};
// The next run behind column record `at` that is not as ordinary columns are; false when there is none.
[[nodiscard]] bool NextColumnRun(const Sheet& sheet, u32& at, ColumnRun& run);

// The form in which a number fits an RK record; false when it has none that gives it back to the bit.
[[nodiscard]] bool EncodeRk(double number, u32& rk);

}  // namespace tally
