#include "formula/DataTables.h"
#include "formula/Dependents.h"
#include "formula/EngineState.h"
#include "formula/Precedents.h"

// Who becomes stale when something changes.

namespace tally {
namespace {

struct ChangedCell {
    Sheet* sheet;
    u16 row;
    u8 column;
};

struct Marking {
    Array<TrialCell>* trial = nullptr;  // what becomes stale is kept there and nobody is told
    Array<ChangedCell> waiting;
    bool alwaysDone = false;
    bool builtBefore = false;  // the index stood when the marking began
    bool failed = false;
};

CellRecord* CellOf(const FormulaCell& formula) {
    return GetCell(formula.sheet->cells, formula.row, formula.column);
}

// Sets a formula stale and puts it among the changed ones, unless it is stale or running already. What a bound
// has stopped may now come to its end, and so may what reads it.
void MarkFormula(FormulaCell& formula, void* context) {
    Marking& marking = *static_cast<Marking*>(context);
    CellRecord* cell = CellOf(formula);
    // A trial leaves alone what was stale before it.
    const bool again = formula.stopped && !marking.trial;
    if (!cell || (cell->calcState < CALC_CURRENT && !again)) return;
    if (marking.trial && !KeepForTrial(*marking.trial, *formula.sheet, formula.row, *cell))
        marking.failed = true;
    formula.stopped = false;
    SetStale(formula.sheet->cells, *cell);
    // Without memory the cell is stale all the same; only its own dependents are not followed.
    if (!marking.waiting.Append({formula.sheet, formula.row, formula.column})) marking.failed = true;
}

// ---- the road of a change -------------------------------------------------------------------------

void MarkAlways(Marking& marking) {
    if (marking.alwaysDone) return;
    marking.alwaysDone = true;
    VisitAlways(MarkFormula, &marking);
}

void Spread(Marking& marking) {
    while (!marking.waiting.IsEmpty()) {
        const ChangedCell changed = marking.waiting.Last();
        marking.waiting.RemoveLast();
        if (!marking.trial)
            Engine().view.cellChanged(changed.sheet->book, changed.sheet->index, changed.row, changed.column);
        VisitDependents(*changed.sheet, changed.row, changed.column, MarkFormula, &marking);
        MarkAlways(marking);
    }
}

// Everything stale: what is left when the index cannot be built.
void MarkWithoutIndex() {
    for (const Workbook* book : Books().books) {
        for (Sheet* sheet : book->sheets) {
            if (!(sheet->kind & SHEET_WORKSHEET)) continue;
            for (FormulaCell* formula : sheet->cells.formulas) {
                CellRecord* cell = CellOf(*formula);
                formula->stopped = false;
                if (cell && cell->calcState >= CALC_CURRENT) SetStale(sheet->cells, *cell);
            }
        }
    }
}

void RunMarking(Marking& marking) {
    Spread(marking);
    if (marking.failed) MarkWithoutIndex();
}

void MarkUsers(Marking& marking, const ChangedName& name) {
    const Workbook* book = BookAt(name.book);
    if (!book || name.name < 0 || static_cast<u32>(name.name) >= book->names.Count()) return;
    VisitNameUsers(name.book, book->names[static_cast<u32>(name.name)].text, MarkFormula, &marking);
}

// Names got other formulas: what an index from before knows of them is not true any more.
void ForgetMeanings(const Marking& marking, std::span<const ChangedName> names) {
    if (!names.empty() && marking.builtBefore) DropDependents();
}

void MarkOfCurrentBook(FormulaCell& formula, void* marking) {
    if (formula.sheet->book == CurrentBook()) MarkFormula(formula, marking);
}

// Whether a formula of the book's worksheets, or a name that one may use, has no fixed inputs.
bool HasVolatile(const Workbook& book) {
    for (const DefinedName& name : book.names) {
        if (HasFormula(name.tokens) && TokensAlwaysCalculate(name.tokens)) return true;
    }
    for (const Sheet* sheet : book.sheets) {
        if (!(sheet->kind & SHEET_WORKSHEET)) continue;
        for (const FormulaCell* formula : sheet->cells.formulas) {
            if (formula->alwaysCalculate) return true;
        }
    }
    return false;
}

bool Begin(Marking& marking) {
    // Something has changed: a calculation that the user had enough of may begin again.
    Engine().suspended = false;
    marking.builtBefore = HasDependents();
    if (!EnsureDependents()) {
        MarkWithoutIndex();
        return false;
    }
    BeginVisits();
    return true;
}

}  // namespace

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
    for (const ChangedName& name : names) MarkUsers(marking, name);
    MarkAlways(marking);
    RunMarking(marking);
    ForgetMeanings(marking, names);
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
    Marking marking;
    const ChangedName changed = {book, name};
    if (!Begin(marking)) return;
    MarkUsers(marking, changed);
    RunMarking(marking);
    ForgetMeanings(marking, std::span(&changed, 1));
}

bool MarkVolatileCells() {
    const Workbook* book = CurrentWorkbook();
    Marking marking;
    if (!book || !HasVolatile(*book) || !Begin(marking)) return false;
    VisitAlways(MarkOfCurrentBook, &marking);
    RunMarking(marking);
    return true;
}

void MarkAllStale() {
    Engine().suspended = false;
    MarkWithoutIndex();
}

}  // namespace tally
