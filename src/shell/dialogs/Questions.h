#pragma once
// What the commands ask the user, each a dialog. Every one shows, waits, and tells what was chosen; nothing is
// changed.

#include "base/Array.h"
#include "base/WideText.h"
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
    NameRequest seen;                            // name and formula are not used
    WideText formula;                            // that a new name is offered
    bool (*define)(const NameRequest& request);  // false: it was refused, and the user was told
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
bool AskTabColour(const Workbook& book, u8& colour);
// A hidden sheet of a book; -1 when cancelled or there is none.
i32 AskHiddenSheet(i32 book);

}  // namespace tally
