#include "editing/TokenChange.h"

#include "formula/Dependents.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {

TokenChange ChangeOfCell(FormulaCell& cell) {
    TokenChange change;
    change.cell = &cell;
    change.serial = cell.sheet->serial;
    change.row = cell.row;
    change.column = cell.column;
    return change;
}

TokenChange ChangeOfName(i32 book, i32 name) {
    TokenChange change;
    change.book = book;
    change.name = name;
    return change;
}

bool AppendTokenChange(Array<TokenChange>& changes, TokenChange change) {
    if (changes.Append(change)) return true;
    FreeTokens(change.tokens);
    return false;
}

bool SaveTokens(Array<TokenChange>& saved, TokenChange place, const FormulaTokens& tokens) {
    place.cell = nullptr;
    CopyTokens(place.tokens, tokens);
    return AppendTokenChange(saved, place);
}

void FreeTokenChanges(Array<TokenChange>& changes) {
    for (TokenChange& change : changes) FreeTokens(change.tokens);
    changes.Clear();
}

FormulaTokens& TokensOf(const TokenChange& change) {
    return change.cell ? change.cell->tokens : BookAt(change.book)->names[static_cast<u32>(change.name)].tokens;
}

bool ReserveMarks(Marks& marks, const Array<TokenChange>& changes) {
    return marks.formulas.Reserve(std::size_t{marks.formulas.Count()} + changes.Count()) &&
           marks.names.Reserve(std::size_t{marks.names.Count()} + changes.Count());
}

void PutTokenChanges(Array<TokenChange>& changes, Marks& marks) {
    Sheet* sheet = nullptr;
    for (TokenChange& change : changes) {
        if (!change.serial) {
            Workbook* book = BookAt(change.book);
            if (!book || static_cast<u32>(change.name) >= book->names.Count()) continue;
            std::swap(book->names[static_cast<u32>(change.name)].tokens, change.tokens);
            IgnoreFailure(marks.names.Append({change.book, change.name}));
            continue;
        }
        if (!sheet || sheet->serial != change.serial) sheet = FindSheetBySerial(change.serial);
        CellRecord* cell = sheet ? GetCell(sheet->cells, change.row, change.column) : nullptr;
        if (!cell || !cell->formula) continue;
        ForgetFormula(*cell->formula);
        std::swap(cell->formula->tokens, change.tokens);
        EnterFormula(*cell->formula);
        IgnoreFailure(marks.formulas.Append(cell->formula));
    }
}

void MarkAll(const Marks& marks) { MarkChanged(marks.formulas.Span(), marks.names.Span()); }

Sheet* FindSheetBySerial(u32 serial) {
    for (const Workbook* book : Books().books)
        for (Sheet* sheet : book->sheets)
            if (sheet->serial == serial) return sheet;
    return nullptr;
}

}  // namespace tally
