#pragma once
// Formulas and names that get other tokens, and what must be marked for it.

#include "formula/Recalculation.h"
#include "model/ModelTypes.h"

namespace tally {

// The tokens that a formula had, or is to have, and where it stands.
struct TokenChange {
    FormulaCell* cell = nullptr;  // known only while nothing can close, delete or move it
    u32 serial = 0;               // of the cell's sheet; 0: a defined name
    u16 row = 0;
    u8 column = 0;
    i32 book = 0, name = 0;  // of a name
    FormulaTokens tokens;    // owned
};

TokenChange ChangeOfCell(FormulaCell& cell);
TokenChange ChangeOfName(i32 book, i32 name);
// Appends a change, whose tokens pass over. They are released when memory fails.
[[nodiscard]] bool AppendTokenChange(Array<TokenChange>& changes, TokenChange change);
// The same with one more user of the tokens that stand there.
[[nodiscard]] bool SaveTokens(Array<TokenChange>& saved, TokenChange place, const FormulaTokens& tokens);
void FreeTokenChanges(Array<TokenChange>& changes);
// The tokens of the cell or name that a change with a known cell speaks of.
FormulaTokens& TokensOf(const TokenChange& change);

// What is to be calculated again.
struct Marks {
    Array<FormulaCell*> formulas;
    Array<ChangedName> names;
};
// Makes the room that PutTokenChanges needs.
[[nodiscard]] bool ReserveMarks(Marks& marks, const Array<TokenChange>& changes);
// Exchanges the tokens of every place with those of its change and adds what stands there to the marks. A
// place that is gone is passed over.
void PutTokenChanges(Array<TokenChange>& changes, Marks& marks);
void MarkAll(const Marks& marks);

Sheet* FindSheetBySerial(u32 serial);

}  // namespace tally
