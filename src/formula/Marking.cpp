#include "base/Text.h"
#include "formula/DataTables.h"
#include "formula/Dependents.h"
#include "formula/Precedents.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"

// Who becomes stale when something changes.

namespace tally {
namespace {

struct ChangedCell {
    Sheet* sheet;
    u16 row;
    u8 column;
};

// One area that a name's formula reads, on sheets firstSheet to lastSheet of a book.
struct NameReach {
    DefinedName* name;
    i32 book;
    i32 firstSheet;
    i32 lastSheet;
    RefArea area;
};

struct Marking {
    Array<TrialCell>* trial = nullptr;  // what becomes stale is kept there and nobody is told
    Array<ChangedCell> waiting;
    Array<NameReach> nameReach;
    bool anyNameStale = false;
    bool alwaysDone = false;
    bool failed = false;
};

void NoCell(i32, i32, i32, i32) {}
void NoRow(i32, i32, i32) {}
RecalculationCalls viewCalls = {NoCell, NoRow};

CellRecord* CellOf(const FormulaCell& formula) {
    return GetCell(formula.sheet->cells, formula.row, formula.column);
}

// Sets a formula stale and puts it among the changed ones, unless it is stale or running already.
void MarkFormula(FormulaCell& formula, void* context) {
    Marking& marking = *static_cast<Marking*>(context);
    CellRecord* cell = CellOf(formula);
    if (!cell || cell->calcState < CALC_CURRENT) return;
    if (marking.trial && !KeepForTrial(*marking.trial, *formula.sheet, formula.row, *cell))
        marking.failed = true;
    SetStale(formula.sheet->cells, *cell);
    // Without memory the cell is stale all the same; only its own dependents are not followed.
    if (!marking.waiting.Append({formula.sheet, formula.row, formula.column})) marking.failed = true;
}

// ---- names ----------------------------------------------------------------------------------------

void MarkName(Marking& marking, DefinedName& name) {
    name.stale = 1;
    marking.anyNameStale = true;
}

// What a name's formula reads. A plain reference lies on the sheet of the name's scope, or on any.
void AddNameReach(Marking& marking, i32 book, DefinedName& name) {
    u32 at = 0;
    TokenPrecedent precedent;
    while (NextPrecedent(name.tokens, at, precedent)) {
        PrecedentSheets sheets = {book, name.sheet ? name.sheet - 1 : 0,
                                  name.sheet ? name.sheet - 1 : MAX_SHEETS};
        if (precedent.externIndex >= 0 && !ResolvePrecedent(book, 0, precedent.externIndex, sheets)) continue;
        marking.failed =
            !marking.nameReach.Append({&name, sheets.book, sheets.first, sheets.last, precedent.area}) ||
            marking.failed;
    }
}

// Names that change with everything, and what the others read. Without a formula that uses a name
// there is nobody to tell.
void BeginNames(Marking& marking) {
    if (NameUsers().IsEmpty()) return;
    for (u32 b = 0; b < Books().books.Count(); ++b) {
        for (DefinedName& name : Books().books[b]->names) {
            if (!HasFormula(name.tokens)) continue;
            AddNameReach(marking, static_cast<i32>(b), name);
            if (TokensAreVolatile(name.tokens)) MarkName(marking, name);
        }
    }
}

void MarkNamesOf(Marking& marking, const Sheet& sheet, const RefArea& area) {
    for (const NameReach& reach : marking.nameReach) {
        if (reach.name->stale || reach.book != sheet.book || sheet.index < reach.firstSheet ||
            sheet.index > reach.lastSheet || !AreasMeet(reach.area, area)) {
            continue;
        }
        MarkName(marking, *reach.name);
    }
}

// Whether tokens of a book use a name that is stale.
bool UsesStaleName(i32 book, const FormulaTokens& tokens) {
    const Workbook& own = *BookAt(book);
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        const u8 folded = FoldToken(tokens.bytes[at]);
        if (folded == ptgName && at + 3 <= tokens.length) {
            const u32 row = ReadU16(tokens.bytes + at + 1);
            if (row < 1 || row > own.names.Count()) continue;
            if (own.names[row - 1].stale) return true;
            // A local name of the same text may stand for it.
            for (const DefinedName& name : own.names) {
                if (name.stale && EqualIgnoringCase(name.text, own.names[row - 1].text)) return true;
            }
        } else if (folded == ptgNameX && at + 5 <= tokens.length) {
            const u32 externIndex = ReadU16(tokens.bytes + at + 1);
            const u32 row = ReadU16(tokens.bytes + at + 3);
            if (externIndex >= own.externSheets.Count() || row < 1) continue;
            const i16 linkRow = own.externSheets[externIndex].externBook;
            if (linkRow < 0 || static_cast<u32>(linkRow) >= own.externBooks.Count()) continue;
            const ExternBook& link = own.externBooks[static_cast<u32>(linkRow)];
            if (link.kind == EXTERN_SELF && row <= own.names.Count() && own.names[row - 1].stale) return true;
            const i32 other = link.kind == EXTERN_FILE ? FindOpenBook(link.path, false) : -1;
            if (other < 0 || row > link.names.Count()) continue;
            for (const DefinedName& name : BookAt(other)->names) {
                if (name.stale && EqualIgnoringCase(name.text, link.names[row - 1].text)) return true;
            }
        }
    }
    return false;
}

// Names that use stale names become stale, until nothing changes.
void SpreadNames(Marking& marking) {
    for (bool changed = true; changed;) {
        changed = false;
        for (u32 b = 0; b < Books().books.Count(); ++b) {
            for (DefinedName& name : Books().books[b]->names) {
                if (name.stale || !HasFormula(name.tokens) || !UsesStaleName(static_cast<i32>(b), name.tokens))
                    continue;
                MarkName(marking, name);
                changed = true;
            }
        }
    }
}

void MarkNameUsers(Marking& marking) {
    for (FormulaCell* formula : NameUsers()) {
        if (UsesStaleName(formula->sheet->book, formula->tokens)) MarkFormula(*formula, &marking);
    }
}

void ClearNames() {
    for (Workbook* book : Books().books) {
        for (DefinedName& name : book->names) name.stale = 0;
    }
}

// ---- the road of a change -------------------------------------------------------------------------

void MarkAlways(Marking& marking) {
    if (marking.alwaysDone) return;
    marking.alwaysDone = true;
    for (FormulaCell* formula : AlwaysCalculated()) MarkFormula(*formula, &marking);
}

void Spread(Marking& marking) {
    while (!marking.waiting.IsEmpty()) {
        const ChangedCell changed = marking.waiting.Last();
        marking.waiting.RemoveLast();
        if (!marking.trial)
            viewCalls.cellChanged(changed.sheet->book, changed.sheet->index, changed.row, changed.column);
        MarkNamesOf(marking, *changed.sheet, {changed.row, changed.row, changed.column, changed.column});
        VisitDependents(*changed.sheet, changed.row, changed.column, MarkFormula, &marking);
        MarkAlways(marking);
    }
}

// Everything stale: what is left when the index cannot be built.
void MarkWithoutIndex() {
    for (const Workbook* book : Books().books) {
        for (Sheet* sheet : book->sheets) {
            if (!(sheet->kind & SHEET_WORKSHEET)) continue;
            for (const FormulaCell* formula : sheet->cells.formulas) {
                CellRecord* cell = CellOf(*formula);
                if (cell && cell->calcState >= CALC_CURRENT) SetStale(sheet->cells, *cell);
            }
        }
    }
}

void RunMarking(Marking& marking) {
    Spread(marking);
    // Each round of names may reach cells that other names read.
    for (u32 rounds = 0; marking.anyNameStale && rounds < 64; ++rounds) {
        marking.anyNameStale = false;
        SpreadNames(marking);
        MarkNameUsers(marking);
        Spread(marking);
    }
    ClearNames();
    if (marking.failed) MarkWithoutIndex();
}

bool Begin(Marking& marking) {
    if (!EnsureDependents()) {
        MarkWithoutIndex();
        return false;
    }
    BeginVisits();
    BeginNames(marking);
    return true;
}

}  // namespace

RecalculationCalls& RecalculationView() { return viewCalls; }

void MarkDependents(i32 book, i32 sheet, i32 row, i32 column) {
    Sheet* changed = SheetAt(book, sheet);
    Marking marking;
    if (!changed || !(changed->kind & SHEET_WORKSHEET) || !Begin(marking)) return;
    if (!marking.waiting.Append({changed, static_cast<u16>(row), static_cast<u8>(column)}))
        return MarkWithoutIndex();
    RunMarking(marking);
}

void MarkDependentsOfArea(i32 book, i32 sheet, const RefArea& area) {
    Sheet* changed = SheetAt(book, sheet);
    Marking marking;
    if (!changed || !(changed->kind & SHEET_WORKSHEET) || !Begin(marking)) return;
    const u32 cells = (area.lastRow - area.firstRow + 1u) * (area.lastColumn - area.firstColumn + 1u);
    if (cells > 64 + IndexedFormulas() / 8) {
        MarkNamesOf(marking, *changed, area);
        VisitReadersOfArea(*changed, area, MarkFormula, &marking);
        MarkAlways(marking);
        return RunMarking(marking);
    }
    for (i32 row = area.firstRow; row <= area.lastRow && !marking.failed; ++row) {
        for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
            marking.failed = marking.failed ||
                             !marking.waiting.Append({changed, static_cast<u16>(row), static_cast<u8>(column)});
        }
        Spread(marking);
    }
    RunMarking(marking);
}

void MarkChanged(std::span<FormulaCell* const> formulas, std::span<const ChangedName> names) {
    Marking marking;
    if ((formulas.empty() && names.empty()) || !Begin(marking)) return;
    for (FormulaCell* formula : formulas) {
        if (formula->sheet->kind & SHEET_WORKSHEET) MarkFormula(*formula, &marking);
    }
    for (const ChangedName& name : names) {
        Workbook* book = BookAt(name.book);
        if (book && static_cast<u32>(name.name) < book->names.Count())
            MarkName(marking, book->names[static_cast<u32>(name.name)]);
    }
    MarkAlways(marking);
    RunMarking(marking);
}

void MarkForTrial(std::span<const TrialCell> inputs, Array<TrialCell>& marked) {
    Marking marking;
    marking.trial = &marked;
    if (!Begin(marking)) return;
    for (const TrialCell& input : inputs) {
        Sheet* sheet = SheetAt(input.book, input.sheet);
        if (sheet && !marking.waiting.Append({sheet, input.row, input.column})) marking.failed = true;
    }
    RunMarking(marking);
}

void MarkDependentsOfName(i32 book, i32 name) {
    Workbook* workbook = BookAt(book);
    Marking marking;
    if (!workbook || name < 0 || static_cast<u32>(name) >= workbook->names.Count()) return;
    // The formulas that use names may have been compiled since.
    if (!Begin(marking)) return;
    MarkName(marking, workbook->names[static_cast<u32>(name)]);
    RunMarking(marking);
}

bool MarkVolatileCells() {
    const Workbook* book = CurrentWorkbook();
    Marking marking;
    bool any = false;
    for (u32 i = 0; book && i < book->sheets.Count() && !any; ++i) {
        if (!(book->sheets[i]->kind & SHEET_WORKSHEET)) continue;
        for (const FormulaCell* formula : book->sheets[i]->cells.formulas)
            any = any || formula->alwaysCalculate;
    }
    if (!any || !Begin(marking)) return any;
    for (FormulaCell* formula : AlwaysCalculated()) {
        if (formula->sheet->book == CurrentBook()) MarkFormula(*formula, &marking);
    }
    RunMarking(marking);
    return true;
}

void MarkAllStale() { MarkWithoutIndex(); }

}  // namespace tally
