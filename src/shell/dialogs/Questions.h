#pragma once
// What the commands ask the user, each a dialog. Every one shows, waits, and tells what was chosen; nothing is
// changed.

#include "base/Array.h"
#include "base/WideText.h"
#include "editing/ApplyFormat.h"
#include "editing/FillSeries.h"
#include "editing/NameOperations.h"
#include "editing/PasteBlock.h"
#include "editing/RuleOperations.h"
#include "formula/Compiler.h"

namespace tally {

// ---- one line, one item ----------------------------------------------------------------------------------

struct LineQuestion {
    u16 title = 0, label = 0;  // messages
    WideText text;             // comes in as what the line begins with, goes out as what was typed
    bool secret = false;
    bool reference = false;  // the grid may write into it
    // The message that refuses a text, 0 for a good one. Null takes any.
    u16 (*fault)(WideView text, const void* context) = nullptr;
    // OK stays grey without it. Null: it never is.
    bool (*acceptable)(WideView text) = nullptr;
    const void* context = nullptr;
};
bool AskLine(LineQuestion& question);

struct ItemQuestion {
    u16 title = 0, label = 0;
    std::span<const WideView> items;
    i32 choice = 0;
};
bool AskItem(ItemQuestion& question);

// ---- books that were not saved -----------------------------------------------------------------------------

enum LostBookChoice : u8 { LOST_BOOK_LATER, LOST_BOOK_OPEN, LOST_BOOK_DISCARD };
struct LostBooksQuestion {
    std::span<const WideView> items;
    std::span<LostBookChoice> choices;  // of each; what nothing is chosen for stays as it comes in
};
void AskLostBooks(LostBooksQuestion& question);

// ---- cells -------------------------------------------------------------------------------------------------

// The four ways of inserting and deleting cells, in the order of the screen.
enum CellWay : i32 { WAY_NONE = -1, WAY_COLUMNS_SIDEWAYS, WAY_ROWS_DOWN, WAY_WHOLE_ROWS, WAY_WHOLE_COLUMNS };
// WAY_NONE when cancelled.
CellWay AskInsertWay();
CellWay AskDeleteWay();

// How a held block goes into the cells: mode, operation, what is skipped, whether it is turned.
bool AskPasteSpecial(PasteRequest& request);
// The request comes in as what the dialog proposes.
bool AskSeries(SeriesRequest& request);

struct LinkChoice {
    WideText target, location;
};
bool AskHyperlink(LinkChoice& choice);

// The pages that are asked for.
enum FormatPageBit : u32 {
    FORMAT_PAGE_NUMBER = 1,
    FORMAT_PAGE_ALIGNMENT = 2,
    FORMAT_PAGE_FONT = 4,
    FORMAT_PAGE_BORDER = 8,
    FORMAT_PAGE_PATTERN = 16,
    FORMAT_PAGE_PROTECTION = 32,
    FORMAT_PAGES_ALL = 63,
    FORMAT_PAGES_OF_TEXT = 60,  // an object's text has no number and no place in a cell
};
struct CellFormatQuestion {
    i32 book = 0;
    u32 pages = FORMAT_PAGES_ALL;
    FormatRequest look;      // what is shown; what is not present begins undecided
    bool namedFonts = true;  // the face and the size can be chosen
    bool rows = true;        // there is a line between rows, and between columns
    bool columns = true;
    i32 sheet = -1, row = 0, column = 0;  // the cell that is shown under the number format; -1 for none
    // What the user touched, and nothing else; the fill in the dialog's order of colours. The number format is
    // told by its kind, -1 for untouched, as `FormatForEntry` takes it.
    FormatRequest request;
    i32 formatKind = -1, formatSubKind = 0;
    WideText formatText;
};
bool AskCellFormat(CellFormatQuestion& question);

// A row of the function table; false when none was chosen.
bool AskFunction(bool onWorksheet, u16& row);

// The rule comes in as what the dialog begins with and goes out as what was chosen; its formulas stay the
// caller's to free either way. Relative references are meant from the cell of `place`.
struct ValidationQuestion {
    FormulaPlace place;
    ValidationRule rule;
};
bool AskValidation(ValidationQuestion& question);

// Likewise the conditions, those beyond what a record holds excepted.
struct ConditionalQuestion {
    FormulaPlace place;
    ConditionEdit edits[MAX_CONDITIONS];
    u32 count = 0;  // of the conditions that came in
    // Asks for the look of a condition; false when cancelled. Without it the button stands grey.
    bool (*askLook)(ConditionalCondition& condition) = nullptr;
};
bool AskConditionalFormats(ConditionalQuestion& question);

// ---- names -------------------------------------------------------------------------------------------------

// The names of a book, seen from a cell. Adding and deleting are done while the dialog is open.
struct NamesQuestion {
    NameRequest seen;  // name and formula are not used
    WideText formula;  // that a new name is offered
    // False: it was refused, and the user was told; `fault` is the message.
    bool (*define)(const NameRequest& request, u16& fault);
    void (*remove)(i32 book, i32 name);
};
// Done when it returns, however it was closed.
void AskNames(NamesQuestion& question);

// ---- sheets ------------------------------------------------------------------------------------------------

struct MoveSheetChoice {
    i32 before = 0;  // the count of sheets: to the end
    bool copy = false;
};
bool AskMoveSheet(i32 book, MoveSheetChoice& choice);
// A palette index, 0 for none; comes in as what the tab has.
bool AskTabColour(i32 book, u8& colour);
// A hidden sheet of a book; -1 when cancelled or there is none.
i32 AskHiddenSheet(i32 book);

}  // namespace tally
