#include "editing/ShiftBlock.h"

#include <algorithm>

#include "editing/AreaLists.h"
#include "formula/DataTables.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/Carried.h"
#include "model/CellShift.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// ---- working out ----------------------------------------------------------------------------------

// Formulas often share their bytes; what became of the last ones serves the next.
struct LastChange {
    FormulaTokens before;  // one more user, so that the bytes stay
    FormulaTokens after;
};

struct Preparation {
    ShiftPlan* plan;
    UndoRecord* record;
    RefArea lost;
    LastChange last;
};

bool SaveLost(Preparation& p, const TokenChange& place, const FormulaTokens& tokens) {
    return !p.record || SaveTokens(p.record->contents.tokens, place, tokens);
}

// The new tokens of a formula whose bytes must not be written.
bool RewrittenCopy(Preparation& p, const FormulaTokens& tokens, MoveView& view, bool isName,
                   FormulaTokens& out) {
    if (p.last.before.bytes == tokens.bytes && !isName) {
        CopyTokens(out, p.last.after);
        return true;
    }
    CopyTokens(out, tokens);
    if (!UnshareTokens(out)) {
        FreeTokens(out);
        return false;
    }
    if (isName) AdjustNameForMove(out, view);
    else AdjustForMove(out, view);
    if (isName) return true;
    FreeTokens(p.last.before);
    FreeTokens(p.last.after);
    CopyTokens(p.last.before, tokens);
    CopyTokens(p.last.after, out);
    return true;
}

bool PrepareFormula(Preparation& p, FormulaCell& formula, MoveView& view) {
    const bool inside = view.plainMoves && AreaHolds(view.move.from, formula.row, formula.column);
    if (view.plainMoves && !inside && AreaHolds(p.lost, formula.row, formula.column)) return true;
    const u32 effect = EffectOfMove(formula.tokens, view);
    if (MoveChangesValue(effect, inside) && !p.plan->stale.formulas.Append(&formula)) return false;
    const bool lost = p.record && (effect & MOVE_LOST);
    // Where the formula stands after the shift back, which is where it stands now.
    TokenChange change = ChangeOfCell(formula);
    if (lost && !SaveLost(p, change, formula.tokens)) return false;
    if (!(effect & MOVE_CHANGED)) return true;
    if ((lost || TokenUsers(formula.tokens) > 1) &&
        !RewrittenCopy(p, formula.tokens, view, false, change.tokens))
        return false;
    return AppendTokenChange(p.plan->changes, change);
}

bool PrepareSheet(Preparation& p, Sheet& sheet, const MoveView& bookView, bool withLists) {
    MoveView view = bookView;
    view.plainMoves = sheet.book == view.move.book && sheet.index == view.move.sheet;
    if (!SeesMove(view)) return true;
    // The same bytes mean other cells on another sheet.
    FreeTokens(p.last.before);
    FreeTokens(p.last.after);
    for (FormulaCell* formula : sheet.cells.formulas)
        if (!PrepareFormula(p, *formula, view)) return false;
    if (!withLists || (sheet.validations.IsEmpty() && sheet.conditionalFormats.IsEmpty())) return true;
    SavedRules made;
    if (!ShiftedRules(sheet, view, made)) return false;
    if (!made.hasValidations && !made.hasFormats) return true;
    SavedRules* place = p.plan->rules.AppendDefault();
    if (!place) {
        FreeSavedRules(made);
        return false;
    }
    *place = std::move(made);
    return true;
}

bool PrepareNames(Preparation& p, i32 book, const MoveView& bookView) {
    Workbook& workbook = *BookAt(book);
    for (u32 i = 0; i < workbook.names.Count(); ++i) {
        DefinedName& name = workbook.names[i];
        if (!HasFormula(name.tokens)) continue;
        MoveView view = bookView;
        // A plain reference lies on the sheet of the name's scope.
        view.plainMoves = book == view.move.book && name.sheet == view.move.sheet + 1;
        const u32 effect = EffectOfNameMove(name.tokens, view);
        const i32 row = static_cast<i32>(i);
        if ((effect & (MOVE_CHANGED | MOVE_MET)) && !p.plan->stale.names.Append({book, row})) return false;
        TokenChange change = ChangeOfName(book, row);
        if ((effect & MOVE_LOST) && !SaveLost(p, change, name.tokens)) return false;
        if (!(effect & MOVE_CHANGED)) continue;
        if (!RewrittenCopy(p, name.tokens, view, true, change.tokens) ||
            !AppendTokenChange(p.plan->changes, change))
            return false;
    }
    return true;
}

bool Prepare(Preparation& p, bool withLists) {
    for (u32 b = 0; b < Books().books.Count(); ++b) {
        const i32 book = static_cast<i32>(b);
        const MoveView view = ViewOfMove(p.plan->move, book, -1);
        if (!view.externMoves && book != p.plan->move.book) continue;
        for (Sheet* sheet : BookAt(book)->sheets)
            if (!PrepareSheet(p, *sheet, view, withLists)) return false;
        if (!PrepareNames(p, book, view)) return false;
    }
    return true;
}

// ---- acting ---------------------------------------------------------------------------------------

// What of the lost cells nothing comes to stand on, because less moves than is lost. False when there is none.
bool BaredArea(const AreaMove& move, RefArea& bared) {
    const RefArea target = TargetOf(move);
    bared = LostArea(move);
    if (move.rowDelta > 0) bared.lastRow = std::min(bared.lastRow, static_cast<u16>(target.firstRow - 1));
    if (move.rowDelta < 0) bared.firstRow = std::max(bared.firstRow, static_cast<u16>(target.lastRow + 1));
    if (move.columnDelta > 0)
        bared.lastColumn = std::min(bared.lastColumn, static_cast<u8>(target.firstColumn - 1));
    if (move.columnDelta < 0)
        bared.firstColumn = std::max(bared.firstColumn, static_cast<u8>(target.lastColumn + 1));
    return bared.firstRow <= bared.lastRow && bared.firstColumn <= bared.lastColumn;
}

bool ShiftCells(CellStore& store, const AreaMove& move) {
    const RefArea& from = move.from;
    const i32 rows = move.rowDelta, columns = move.columnDelta;
    if (IsWholeRows(from) && rows > 0 && from.lastRow + rows == MAX_ROWS - 1) {
        InsertCellRows(store, from.firstRow, rows);
    } else if (IsWholeRows(from) && rows < 0 && from.lastRow == MAX_ROWS - 1) {
        DeleteCellRows(store, from.firstRow + rows, -rows);
    } else if (IsWholeColumns(from) && columns > 0 && from.lastColumn + columns == MAX_COLUMNS - 1) {
        InsertCellColumns(store, from.firstColumn, columns);
    } else if (IsWholeColumns(from) && columns < 0 && from.lastColumn == MAX_COLUMNS - 1) {
        DeleteCellColumns(store, from.firstColumn + columns, -columns);
    } else {
        if (!MoveCells(store, from, rows, columns)) return false;
        RefArea bared;
        if (BaredArea(move, bared)) RemoveCells(store, bared);
    }
    return true;
}

void MoveAreaWith(RefArea& area, const AreaMove& move) {
    if (!AreaHolds(move.from, area.firstRow, area.firstColumn)) return;
    area.firstRow = static_cast<u16>(area.firstRow + move.rowDelta);
    area.firstColumn = static_cast<u8>(area.firstColumn + move.columnDelta);
    area.lastRow = static_cast<u16>(std::min(area.lastRow + move.rowDelta, MAX_ROWS - 1));
    area.lastColumn = static_cast<u8>(std::min(area.lastColumn + move.columnDelta, MAX_COLUMNS - 1));
}

bool IsInput(const DataTable& table, u32 which, const RefArea& area) {
    const bool used = which == 0 || (table.flags & TABLE_TWO_INPUTS);
    return used && AreaHolds(area, table.inputs[which * 2], table.inputs[which * 2 + 1]);
}

// A table's results go along, and so do its input cells, each where it stands.
void MoveTableWith(DataTable& table, const AreaMove& move) {
    MoveAreaWith(table.area, move);
    for (u32 i = 0; i < 2; ++i) {
        if (!IsInput(table, i, move.from)) continue;
        table.inputs[i * 2] = static_cast<u16>(table.inputs[i * 2] + move.rowDelta);
        table.inputs[i * 2 + 1] = static_cast<u16>(table.inputs[i * 2 + 1] + move.columnDelta);
    }
}

// Input cells that are gone leave their tables without a result.
void LoseInputs(Sheet& sheet, const RefArea& lost) {
    for (DataTable& table : sheet.dataTables) {
        if (IsInput(table, 0, lost)) table.flags |= TABLE_INPUT_LOST;
        if (IsInput(table, 1, lost)) table.flags |= TABLE_SECOND_LOST;
    }
}

// The results of tables are worked out again, since their headings may be others.
bool AppendTableParts(const Sheet& sheet, Array<FormulaCell*>& stale) {
    if (sheet.dataTables.IsEmpty()) return true;
    for (FormulaCell* formula : sheet.cells.formulas)
        if (IsTablePart(formula->tokens) && !stale.Append(formula)) return false;
    return true;
}

// Hyperlinks that lie wholly or partly in the lost area go to the plan.
void TakeLinks(Sheet& sheet, ShiftPlan& plan, const RefArea& lost) {
    if (!plan.links.Capacity()) return;
    u32 kept = 0;
    for (u32 i = 0; i < sheet.hyperlinks.Count(); ++i) {
        Hyperlink& link = sheet.hyperlinks[i];
        if (AreasMeet(link.area, lost)) {
            IgnoreFailure(plan.links.Append({i, std::move(link)}));
            continue;
        }
        if (kept != i) sheet.hyperlinks[kept] = std::move(link);
        ++kept;
    }
    sheet.hyperlinks.Truncate(kept);
}

void ShiftLists(Sheet& sheet, ShiftPlan& plan) {
    const AreaMove& move = plan.move;
    RemoveLists(sheet, plan, LostArea(move));
    for (ArrayEntry& entry : sheet.arrayFormulas) MoveAreaWith(entry.area, move);
    for (DataTable& table : sheet.dataTables) MoveTableWith(table, move);
    for (RefArea& merge : sheet.mergedAreas) MoveAreaWith(merge, move);
    for (Hyperlink& link : sheet.hyperlinks) MoveAreaWith(link.area, move);
}

// A frozen pane keeps its rows: the split goes with what is put in or taken out above it.
i32 MovedSplit(i32 split, i32 scrolled, i32 first, i32 delta) {
    if (delta > 0) return first <= split ? split + delta : split;
    const i32 removed = std::clamp(split - (first + delta), 0, -delta);
    return std::max(split - removed, scrolled);
}

// Breaks go with the row or column that they stand in front of; those of deleted ones go.
void ShiftBreaks(Array<PageBreak>& breaks, i32 first, i32 delta, i32 end) {
    u32 kept = 0;
    for (const PageBreak& old : breaks) {
        PageBreak moved = old;
        if (old.at >= first) {
            if (delta < 0 && old.at < first - delta) continue;
            if (old.at + delta >= end) continue;
            moved.at = static_cast<u16>(old.at + delta);
        }
        breaks[kept++] = moved;
    }
    breaks.Truncate(kept);
}

void ShiftSizes(Sheet& sheet, const AreaMove& move) {
    SheetView& view = sheet.view;
    const bool frozen = (sheet.viewFlags & VIEW_FROZEN) != 0;
    if (IsWholeRows(move.from) && move.rowDelta) {
        const i32 first = move.from.firstRow + std::min(move.rowDelta, 0);
        ShiftRowInfos(sheet.rows, first, move.rowDelta);
        ShiftBreaks(sheet.page.rowBreaks, first, move.rowDelta, MAX_ROWS);
        if (!frozen || !view.splitRow) return;
        const i32 split = MovedSplit(view.splitRow, view.frozenFirstRow, move.from.firstRow, move.rowDelta);
        const i32 top = view.firstRow + split - view.splitRow;
        view.splitRow = static_cast<u16>(std::min(split, MAX_ROWS - 1));
        view.firstRow = static_cast<u16>(std::clamp(top, i32{view.splitRow}, MAX_ROWS - 1));
    } else if (IsWholeColumns(move.from) && move.columnDelta) {
        const i32 first = move.from.firstColumn + std::min(move.columnDelta, 0);
        ShiftColumnInfos(sheet.columns, first, move.columnDelta);
        ShiftBreaks(sheet.page.columnBreaks, first, move.columnDelta, MAX_COLUMNS);
        if (!frozen || !view.splitColumn) return;
        const i32 split =
            MovedSplit(view.splitColumn, view.frozenFirstColumn, move.from.firstColumn, move.columnDelta);
        const i32 left = view.firstColumn + split - view.splitColumn;
        view.splitColumn = static_cast<u8>(std::min(split, MAX_COLUMNS - 1));
        view.firstColumn = static_cast<u8>(std::clamp(left, i32{view.splitColumn}, MAX_COLUMNS - 1));
    }
}

void PutTokens(ShiftPlan& plan) {
    const Sheet* sheet = nullptr;
    MoveView view;
    for (TokenChange& change : plan.changes) {
        FormulaTokens& tokens = TokensOf(change);
        if (change.tokens.bytes) {
            std::swap(tokens, change.tokens);
            FreeTokens(change.tokens);
            continue;
        }
        if (change.cell->sheet != sheet) {
            sheet = change.cell->sheet;
            view = ViewOfMove(plan.move, sheet->book, sheet->index);
        }
        AdjustForMove(tokens, view);
    }
    plan.changes.Clear();
}

}  // namespace

RefArea LostArea(const AreaMove& move) {
    RefArea lost = move.from;
    const RefArea& from = move.from;
    if (move.rowDelta > 0) {
        lost.firstRow = static_cast<u16>(from.lastRow + 1);
        lost.lastRow = static_cast<u16>(std::min(from.lastRow + move.rowDelta, MAX_ROWS - 1));
    } else if (move.rowDelta < 0) {
        lost.firstRow = static_cast<u16>(std::max(from.firstRow + move.rowDelta, 0));
        lost.lastRow = static_cast<u16>(from.firstRow - 1);
    }
    if (move.columnDelta > 0) {
        lost.firstColumn = static_cast<u8>(from.lastColumn + 1);
        lost.lastColumn = static_cast<u8>(std::min(from.lastColumn + move.columnDelta, MAX_COLUMNS - 1));
    } else if (move.columnDelta < 0) {
        lost.firstColumn = static_cast<u8>(std::max(from.firstColumn + move.columnDelta, 0));
        lost.lastColumn = static_cast<u8>(from.firstColumn - 1);
    }
    return lost;
}

bool PrepareShift(ShiftPlan& plan, const AreaMove& move, UndoRecord* record, bool withLists) {
    plan.move = move;
    // Some failures are only seen in the count: a rule's formula that could not be rewritten stays.
    const u64 failures = FailedAllocations();
    Preparation p = {&plan, record, LostArea(move), {}};
    const bool good =
        (!withLists || PrepareLinks(plan, p.lost)) && Prepare(p, withLists) && FailedAllocations() == failures;
    FreeTokens(p.last.before);
    FreeTokens(p.last.after);
    if (!good) DropShift(plan);
    return good;
}

bool PrepareLinks(ShiftPlan& plan, const RefArea& lost) {
    const Sheet* sheet = SheetAt(plan.move.book, plan.move.sheet);
    u32 count = 0;
    for (u32 i = 0; sheet && i < sheet->hyperlinks.Count(); ++i) {
        count += AreasMeet(sheet->hyperlinks[i].area, lost);
        if (!plan.linkAreas.Append(sheet->hyperlinks[i].area)) return false;
    }
    return !count || plan.links.Reserve(count);
}

void RemoveLists(Sheet& sheet, ShiftPlan& plan, const RefArea& lost) {
    TakeLinks(sheet, plan, lost);
    RemoveArraysInside(sheet, lost);
    LoseInputs(sheet, lost);
    u32 kept = 0;
    for (const RefArea& merge : sheet.mergedAreas)
        if (!AreaHoldsArea(lost, merge)) sheet.mergedAreas[kept++] = merge;
    sheet.mergedAreas.Truncate(kept);
}

bool CommitShift(ShiftPlan& plan) {
    Sheet* sheet = SheetAt(plan.move.book, plan.move.sheet);
    // The index would be asked to forget formulas one by one.
    Calls().structureChanged();
    if (!sheet || !ShiftCells(sheet->cells, plan.move)) return false;
    ShiftLists(*sheet, plan);
    ShiftSizes(*sheet, plan.move);
    NoteMove(*sheet, plan.move.from, plan.move.rowDelta, plan.move.columnDelta);
    PutTokens(plan);
    for (SavedRules& rules : plan.rules) SwapRules(rules);
    BookAt(plan.move.book)->dirty = 1;
    return true;
}

void MarkShifted(ShiftPlan& plan) {
    // Formulas without fixed inputs follow every change, those of other books as well.
    const Sheet* moved = SheetAt(plan.move.book, plan.move.sheet);
    bool good = !moved || AppendTableParts(*moved, plan.stale.formulas);
    for (const Workbook* book : Books().books)
        for (const Sheet* sheet : book->sheets)
            for (FormulaCell* formula : sheet->cells.formulas)
                if (formula->alwaysCalculate) good = good && plan.stale.formulas.Append(formula);
    if (good) MarkAll(plan.stale);
    else MarkAllStale();
    RefArea bared;
    if (moved && BaredArea(plan.move, bared)) MarkDependentsOfArea(moved->book, moved->index, bared);
}

void DropShift(ShiftPlan& plan) {
    FreeTokenChanges(plan.changes);
    for (SavedRules& rules : plan.rules) FreeSavedRules(rules);
    plan = ShiftPlan();
}

bool ShiftBlock(const RefArea& area, i32 rowDelta, i32 columnDelta) {
    const Workbook* book = CurrentWorkbook();
    if (!book) return false;
    ShiftPlan plan;
    const AreaMove move = {CurrentBook(), book->currentSheet, area, rowDelta, columnDelta};
    const bool good = PrepareShift(plan, move, nullptr, true) && CommitShift(plan);
    if (good) {
        MarkShifted(plan);
        IgnoreFailure(MarkVolatileCells());
    }
    DropShift(plan);
    return good;
}

}  // namespace tally
