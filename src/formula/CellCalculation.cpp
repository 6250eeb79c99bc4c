#include <algorithm>

#include "base/LongOperation.h"
#include "formula/ArrayIndex.h"
#include "formula/ArrayResults.h"
#include "formula/Coercion.h"
#include "formula/DataTables.h"
#include "formula/EngineState.h"
#include "formula/EvaluationNotes.h"
#include "formula/Precedents.h"
#include "model/BookTable.h"

// How a stale cell and all that it needs comes up to date: an explicit stack of frames, so that a long
// chain costs heap and not process stack.

namespace tally {
namespace {

struct Frame {
    i32 book = 0;
    i32 sheet = 0;
    u16 row = 0;
    u8 column = 0;
    u32 tokenAt = 0;       // where the next precedent is looked for
    bool walking = false;  // an area is being walked
    PrecedentSheets sheets;
    RefArea area;
    i32 walkSheet = 0;
    i32 walkRow = 0;  // the walk goes on with this cell
    i32 walkColumn = 0;
};

// Rows of a column that this run has found to hold no stale cell.
struct CleanRows {
    i32 from = 0;
    i32 behind = 0;
};
struct CleanSheet {
    u32 serial = 0;
    CleanRows columns[MAX_COLUMNS];
};

struct CalculationRun {
    Array<Frame> frames;
    Array<CleanSheet*> clean;
    ~CalculationRun() {
        for (CleanSheet* sheet : clean) DestroyRecord(sheet);
    }
};

CleanSheet* CleanOf(CalculationRun& run, const Sheet& sheet) {
    for (CleanSheet* known : run.clean) {
        if (known->serial == sheet.serial) return known;
    }
    CleanSheet* added = CreateRecord<CleanSheet>();
    if (!added) return nullptr;
    added->serial = sheet.serial;
    if (run.clean.Append(added)) return added;
    DestroyRecord(added);
    return nullptr;
}

bool HasFormulas(const Sheet& sheet, const RefArea& area) {
    if (sheet.cells.formulas.IsEmpty()) return false;
    for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) {
        if (sheet.cells.formulasInColumn[c]) return true;
    }
    return false;
}

// The first row of an area that the run has not yet found clean.
i32 FirstUncleanRow(CalculationRun& run, const Sheet& sheet, const RefArea& area) {
    const CleanSheet* clean = CleanOf(run, sheet);
    i32 first = area.lastRow + 1;
    for (i32 c = area.firstColumn; clean && c <= area.lastColumn; ++c) {
        if (!sheet.cells.formulasInColumn[c]) continue;
        const CleanRows& rows = clean->columns[c];
        first = std::min(first, rows.from <= area.firstRow && rows.behind > area.firstRow ? rows.behind
                                                                                          : i32{area.firstRow});
    }
    return clean ? first : i32{area.firstRow};
}

void NoteClean(CalculationRun& run, const Sheet& sheet, const RefArea& area) {
    CleanSheet* clean = area.lastRow > area.firstRow ? CleanOf(run, sheet) : nullptr;
    for (i32 c = area.firstColumn; clean && c <= area.lastColumn; ++c) {
        CleanRows& rows = clean->columns[c];
        const bool joins =
            rows.from <= area.lastRow + 1 && area.firstRow <= rows.behind && rows.behind > rows.from;
        if (joins) {
            rows.from = std::min(rows.from, i32{area.firstRow});
            rows.behind = std::max(rows.behind, area.lastRow + 1);
        } else if (area.lastRow + 1 - area.firstRow > rows.behind - rows.from) {
            rows = {area.firstRow, area.lastRow + 1};
        }
    }
}

// Begins the walk of a frame's area on one sheet; false when nothing is to be walked there.
bool BeginSheet(CalculationRun& run, Frame& frame) {
    const Sheet* sheet = SheetAt(frame.sheets.book, frame.walkSheet);
    if (!sheet || !(sheet->kind & SHEET_WORKSHEET) || !HasFormulas(*sheet, frame.area)) return false;
    frame.walkRow = IsOneCell(frame.area) ? i32{frame.area.firstRow} : FirstUncleanRow(run, *sheet, frame.area);
    frame.walkColumn = frame.area.firstColumn;
    return frame.walkRow <= frame.area.lastRow;
}

// The next stale formula of the area on the frame's sheet, from where the walk stands.
bool FindStale(const Frame& frame, i32& row, i32& column) {
    Sheet& sheet = *SheetAt(frame.sheets.book, frame.walkSheet);
    CellPosition position;
    FindCell(sheet.cells, frame.walkRow, frame.walkColumn, position);
    for (; position.slot < sheet.cells.rows.Count(); ++position.slot, position.index = 0) {
        const CellRow& cells = sheet.cells.rows[position.slot];
        if (cells.row > frame.area.lastRow) return false;
        u32 i = std::max(position.index, frame.area.firstColumn ? FindInRow(cells, frame.area.firstColumn) : 0);
        for (; i < cells.count && cells.cells[i].column <= frame.area.lastColumn; ++i) {
            if (cells.cells[i].calcState != CALC_STALE || !cells.cells[i].formula) continue;
            row = cells.row;
            column = cells.cells[i].column;
            return true;
        }
    }
    return false;
}

// Steps on in the area that the frame walks. True with the next cell to calculate.
bool WalkOn(CalculationRun& run, Frame& frame, i32& row, i32& column) {
    while (frame.walking) {
        if (SheetAt(frame.sheets.book, frame.walkSheet) && FindStale(frame, row, column)) {
            // Behind the cell, wherever its row ends.
            frame.walkRow = row;
            frame.walkColumn = column + 1;
            return true;
        }
        if (const Sheet* sheet = SheetAt(frame.sheets.book, frame.walkSheet))
            NoteClean(run, *sheet, frame.area);
        frame.walking = false;
        while (frame.walkSheet < frame.sheets.last && !frame.walking) {
            ++frame.walkSheet;
            frame.walking = BeginSheet(run, frame);
        }
    }
    return false;
}

// Begins the walk of the frame's next precedent; false when there is none left.
bool BeginPrecedent(CalculationRun& run, Frame& frame, const FormulaCell& formula) {
    TokenPrecedent precedent;
    while (NextPrecedent(formula, frame.tokenAt, precedent)) {
        if (!ResolvePrecedent(frame.book, frame.sheet, precedent.externIndex, frame.sheets)) continue;
        frame.area = precedent.area;
        for (frame.walkSheet = frame.sheets.first; frame.walkSheet <= frame.sheets.last; ++frame.walkSheet) {
            frame.walking = BeginSheet(run, frame);
            if (frame.walking) return true;
        }
    }
    return false;
}

CellRecord* FrameCell(const Frame& frame) {
    Sheet* sheet = SheetAt(frame.book, frame.sheet);
    CellRecord* cell = sheet ? GetCell(sheet->cells, frame.row, frame.column) : nullptr;
    return cell && cell->formula ? cell : nullptr;
}

bool PushFrame(CalculationRun& run, i32 book, i32 sheet, i32 row, i32 column) {
    Frame frame;
    frame.book = book;
    frame.sheet = sheet;
    frame.row = static_cast<u16>(row);
    frame.column = static_cast<u8>(column);
    CellRecord* cell = FrameCell(frame);
    if (!cell || cell->formula->stopped) return true;
    if (!run.frames.Append(frame)) return false;
    // What was kept of a value that could be read until now is worth nothing any more.
    if (cell->calcState >= CALC_CURRENT) TouchColumn(SheetAt(book, sheet)->cells, column);
    cell->calcState = CALC_CALCULATING;
    return true;
}

// A data table tries its inputs in turn: it cannot be begun anew in the middle, so that what it reads is
// calculated on the spot.
bool CalculateWholeTable(Value& result, const EvalContext& context) {
    ++Engine().evaluation.solid;
    const bool completed = CalculateTable(result, context);
    --Engine().evaluation.solid;
    return completed;
}

// What a formula whose inputs are up to date gives now, and what its evaluation has met. False when the run was
// abandoned by a macro.
bool Evaluate(const FormulaTokens& tokens, Value& result, const EvalContext& context, u32& notes) {
    const u64 failures = FailedAllocations();
    const OwnEvaluation own;
    const u32 outer = ExchangeNotes(0);
    const bool completed =
        IsTablePart(tokens) ? CalculateWholeTable(result, context) : RunFormula(tokens, result, context);
    if (completed && (result.type == VT_REF || result.type == VT_AREA)) DerefValue(result, context);
    notes = ExchangeNotes(outer);
    if (FailedAllocations() != failures) StopEvaluation(STOP_MEMORY);
    if ((result.type & (VT_STRING | VT_ARRAY)) && LongTextCharacters() > Budget().texts)
        StopEvaluation(STOP_BOUND);
    if (!ReadCells(1) || !completed) return completed;
    if (context.arrayMode && !(notes & NOTE_PLACE)) ShareArrayResult(result, (notes & NOTE_AWAY) != 0, context);
    const u32 beside = ExchangeNotes(0);
    ReduceToScalar(result, context);
    IgnoreFailure(ExchangeNotes(beside));
    if (result.type == VT_EMPTY) result = NumberValue(0);
    return true;
}

// Runs the formula of a frame whose inputs are up to date. Nothing is stored when the evaluation was stopped
// or, with a return of false, abandoned.
bool Finish(const Frame& frame) {
    const CellRecord* cell = FrameCell(frame);
    if (!cell) return true;
    const Sheet& sheet = *SheetAt(frame.book, frame.sheet);
    EvalContext context{frame.book, frame.sheet, frame.row, frame.column, 0};
    if (!sheet.arrayFormulas.IsEmpty())
        context.arrayMode = ArrayOfCell(sheet, frame.row, frame.column) != nullptr;
    Value result;
    u32 notes = 0;
    const bool completed = Evaluate(cell->formula->tokens, result, context, notes);
    CellRecord* target = FrameCell(frame);
    if (!target || !completed || EvaluationStopped()) {
        FreeValue(result);
        if (target && !completed) target->calcState = CALC_STALE;
        return completed;
    }
    // What asked for something that is away keeps what it had; a new formula has nothing to keep.
    target->formula->kept = (notes & NOTE_AWAY) && target->value.type != VT_EMPTY;
    if (target->formula->kept) {
        FreeValue(result);
    } else {
        FreeValue(target->value);
        target->value = result;
    }
    target->calcState = CALC_CURRENT;
    NoteCalculated(frame.book, frame.sheet, frame.row, frame.column);
    return true;
}

// Gives up: what was on the path is stale again, and a later read tries anew.
void Abandon(CalculationRun& run) {
    for (const Frame& frame : run.frames) {
        CellRecord* cell = FrameCell(frame);
        if (cell && cell->calcState == CALC_CALCULATING) cell->calcState = CALC_STALE;
    }
    run.frames.Truncate(0);
}

// The calculation is over because of a stop, which goes on to what it is a part of, or is told.
void EndByStop() {
    EvaluationState& e = Engine().evaluation;
    if (e.depth > 1) return;
    NoteStop(e.stop);
    e.stop = STOP_NONE;
}

// What follows when the evaluation of the last frame was stopped. A wanted cell becomes a frame above it, after
// which it is begun anew; a formula beyond the bounds stays stale, and the others go on. False when the
// calculation is over.
bool Recover(CalculationRun& run) {
    EvaluationState& e = Engine().evaluation;
    if (e.stop == STOP_BOUND) {
        if (CellRecord* cell = FrameCell(run.frames.Last())) {
            cell->calcState = CALC_STALE;
            cell->formula->stopped = true;
        }
        run.frames.RemoveLast();
        e.stop = STOP_NONE;
        NoteStop(STOP_BOUND);
        return true;
    }
    if (e.stop == STOP_WANTS_CELL && e.calculations == 1) {
        e.stop = STOP_NONE;
        if (PushFrame(run, e.wanted.book, e.wanted.sheet, e.wanted.row, e.wanted.column)) return true;
        e.stop = STOP_MEMORY;
    }
    EndByStop();
    return false;
}

// False when the calculation did not come to its end.
bool Calculate(CalculationRun& run, i32 book, i32 sheet, i32 row, i32 column) {
    if (!PushFrame(run, book, sheet, row, column)) {
        StopEvaluation(STOP_MEMORY);
        EndByStop();
        return false;
    }
    while (!run.frames.IsEmpty()) {
        Frame& frame = run.frames.Last();
        const CellRecord* cell = FrameCell(frame);
        i32 nextRow = 0;
        i32 nextColumn = 0;
        bool good = true;
        if (cell && (frame.walking || BeginPrecedent(run, frame, *cell->formula))) {
            good = !WalkOn(run, frame, nextRow, nextColumn) ||
                   PushFrame(run, frame.sheets.book, frame.walkSheet, nextRow, nextColumn);
            if (good) continue;
            StopEvaluation(STOP_MEMORY);
        } else {
            const Frame done = frame;
            good = Finish(done);
        }
        if (good && !EvaluationStopped()) {
            run.frames.RemoveLast();
        } else if (!EvaluationStopped() || !Recover(run)) {
            Abandon(run);
            return false;
        }
    }
    return true;
}

// Stands around each calculation, which counts as a level of depth.
struct CalculationScope {
    CalculationScope() {
        ++Engine().evaluation.depth;
        ++Engine().evaluation.calculations;
    }
    ~CalculationScope() {
        --Engine().evaluation.depth;
        --Engine().evaluation.calculations;
    }
    CalculationScope(const CalculationScope&) = delete;
    CalculationScope& operator=(const CalculationScope&) = delete;

    LongOperation work{OPERATION_CALCULATE};
    QuietMemoryScope quiet;
    CalculationRun run;
};

}  // namespace

bool CalculateCell(i32 book, i32 sheet, i32 row, i32 column) {
    CalculationScope scope;
    return Calculate(scope.run, book, sheet, row, column);
}

void CalculateBook(i32 book) {
    CalculationScope scope;
    const Workbook* workbook = BookAt(book);
    for (u32 i = 0; workbook && i < workbook->sheets.Count(); ++i) {
        if (!(workbook->sheets[i]->kind & SHEET_WORKSHEET)) continue;
        for (u32 f = 0; f < workbook->sheets[i]->cells.formulas.Count(); ++f) {
            const FormulaCell& formula = *workbook->sheets[i]->cells.formulas[f];
            const CellRecord* cell = GetCell(workbook->sheets[i]->cells, formula.row, formula.column);
            if (!cell || cell->calcState != CALC_STALE) continue;
            if (!Calculate(scope.run, book, static_cast<i32>(i), formula.row, formula.column)) return;
            // A calculation may open a book, which moves the table.
            workbook = BookAt(book);
            if (!workbook || i >= workbook->sheets.Count()) return;
        }
    }
}

}  // namespace tally
