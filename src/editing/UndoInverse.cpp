#include "editing/UndoInverse.h"

#include <algorithm>
#include <cstring>

#include "editing/SheetOperations.h"
#include "editing/ShiftBlock.h"
#include "formula/Dependents.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// ---- sorted size records --------------------------------------------------------------------------

template <typename Record, typename Key>
u32 PlaceOf(const Array<Record>& list, Key Record::*key, i32 wanted) {
    const Record* found = std::lower_bound(list.begin(), list.end(), wanted,
                                           [key](const Record& r, i32 k) { return i32{r.*key} < k; });
    return static_cast<u32>(found - list.begin());
}

// The records of a range give way to the saved ones. Room was made before.
template <typename Record, typename Key>
void ReplaceRange(Array<Record>& list, Key Record::*key, i32 first, i32 last, const Array<Record>& saved) {
    const u32 from = PlaceOf(list, key, first), to = PlaceOf(list, key, last + 1);
    const u32 tail = list.Count() - to, count = from + saved.Count() + tail;
    IgnoreFailure(list.ResizeRaw(std::max(count, list.Count())));
    Record* records = list.Data();
    if (tail) std::memmove(records + from + saved.Count(), records + to, tail * sizeof(Record));
    if (saved.Count()) std::memcpy(records + from, saved.Data(), saved.Count() * sizeof(Record));
    IgnoreFailure(list.ResizeRaw(count));
}

// ---- hyperlinks -----------------------------------------------------------------------------------

// The saved links go among the others, each to its old place. `room` holds all of them.
void ReturnLinks(Sheet& sheet, Array<SavedLink>& saved, Array<Hyperlink>& room) {
    if (!room.Capacity()) return;
    u32 next = 0;
    const auto put = [&](Hyperlink& link) { IgnoreFailure(room.Append(std::move(link))); };
    const auto putSaved = [&] {
        while (next < saved.Count() && saved[next].place <= room.Count()) put(saved[next++].link);
    };
    for (Hyperlink& link : sheet.hyperlinks) {
        putSaved();
        put(link);
    }
    while (next < saved.Count()) put(saved[next++].link);
    sheet.hyperlinks = std::move(room);
}

void DropLinksIn(Sheet& sheet, const RefArea& area) {
    u32 kept = 0;
    for (u32 i = 0; i < sheet.hyperlinks.Count(); ++i) {
        if (AreasMeet(sheet.hyperlinks[i].area, area)) continue;
        if (kept != i) sheet.hyperlinks[kept] = std::move(sheet.hyperlinks[i]);
        ++kept;
    }
    sheet.hyperlinks.Truncate(kept);
}

bool MakeLinkRoom(const Sheet& sheet, const Array<SavedLink>& saved, Array<Hyperlink>& room) {
    return saved.IsEmpty() || room.Reserve(std::size_t{sheet.hyperlinks.Count()} + saved.Count());
}

// ---- an area --------------------------------------------------------------------------------------

// Enters the formulas that a patch has brought into the index of dependents.
void IndexFormulas(Sheet& sheet, u32 count) {
    if (!(sheet.kind & SHEET_WORKSHEET)) return;
    const u32 all = sheet.cells.formulas.Count();
    for (u32 i = all - count; i < all; ++i) EnterFormula(*sheet.cells.formulas[i]);
}

// ---- a shift --------------------------------------------------------------------------------------

bool PrepareShiftBack(UndoRecord& record, Sheet& sheet, ShiftPlan& plan, CellPatch& patch,
                      Array<Hyperlink>& linkRoom) {
    const AreaMove move = {sheet.book, sheet.index, record.moved, record.rowDelta, record.columnDelta};
    const bool shifts = record.rowDelta || record.columnDelta;
    if (shifts && !PrepareShift(plan, InverseMove(move), nullptr, false)) return false;
    return ReserveMarks(record, plan.stale, plan.staleNames) && MakeLinkRoom(sheet, record.links, linkRoom) &&
           PrepareCells(patch, sheet, record.area, record.block.cells.Span(), sheet.cells.rows.Count() + 1);
}

void RestoreLists(UndoRecord& record, Sheet& sheet, Array<Hyperlink>& linkRoom) {
    std::swap(sheet.arrayFormulas, record.arrays);
    std::swap(sheet.mergedAreas, record.merges);
    for (SavedRules& rules : record.rules) SwapRules(rules);
    ReturnLinks(sheet, record.links, linkRoom);
    if (record.linkAreas.Count() == sheet.hyperlinks.Count())
        for (u32 i = 0; i < record.linkAreas.Count(); ++i) sheet.hyperlinks[i].area = record.linkAreas[i];
    if (record.hasRows) std::swap(sheet.rows, record.rows);
    if (record.hasColumns) std::swap(sheet.columns, record.columns);
}

bool RestoreShift(UndoRecord& record) {
    Sheet* sheet = FindSheetBySerial(record.serial);
    if (!sheet) return true;
    ShiftPlan plan;
    CellPatch patch;
    Array<Hyperlink> linkRoom;
    const bool shifts = record.rowDelta || record.columnDelta;
    if (!PrepareShiftBack(record, *sheet, plan, patch, linkRoom) || (shifts && !CommitShift(plan))) {
        DropPatch(patch);
        DropShift(plan);
        return false;
    }
    CommitCells(patch, *sheet);
    RestoreLists(record, *sheet, linkRoom);
    IndexFormulas(*sheet, patch.formulas);
    PutSavedTokens(record, plan.stale, plan.staleNames);
    MarkShifted(plan);
    if (!shifts) MarkDependentsOfArea(sheet->book, sheet->index, record.area);
    DropShift(plan);
    return true;
}

// An area, and the formulas elsewhere that went along with it.
bool RestorePaste(UndoRecord& record) {
    Array<FormulaCell*> stale;
    Array<ChangedName> names;
    if (!ReserveMarks(record, stale, names) || !RestoreArea(record)) return false;
    PutSavedTokens(record, stale, names);
    MarkChanged(stale.Span(), names.Span());
    return true;
}

// ---- the other kinds ------------------------------------------------------------------------------

bool RestoreName(UndoRecord& record) {
    Workbook* book = BookAt(record.book);
    for (SavedName& saved : record.names) {
        if (saved.name < 0 || static_cast<u32>(saved.name) >= book->names.Count()) continue;
        DefinedName& name = book->names[static_cast<u32>(saved.name)];
        if (record.kind == UNDO_ADD_NAME) {
            FreeTokens(name.tokens);
        } else {
            std::swap(name.tokens, saved.tokens);
            std::swap(name.text, saved.text);
            name.flags = saved.flags;
            name.shortcut = saved.shortcut;
            name.sheet = saved.sheet;
        }
        MarkDependentsOfName(record.book, saved.name);
    }
    return true;
}

bool DeleteAgain(UndoRecord& record) {
    const Sheet* sheet = FindSheetBySerial(record.serial);
    if (sheet && !TakeBackInsert(sheet->book, sheet->index)) return false;
    const Sheet* source = FindSheetBySerial(record.sourceSerial);
    if (source && source->book == record.book) BookAt(record.book)->currentSheet = source->index;
    return true;
}

bool ShowAgain(UndoRecord& record) {
    if (Sheet* sheet = FindSheetBySerial(record.serial)) sheet->hidden = 0;
    return true;
}

bool HideAgain(UndoRecord& record) {
    Sheet* sheet = FindSheetBySerial(record.serial);
    if (!sheet) return true;
    Workbook& book = *BookAt(record.book);
    book.currentSheet = sheet->index;
    const i32 next = NextSheet(record.book), previous = PreviousSheet(record.book);
    book.currentSheet = next != sheet->index ? next : previous;
    if (book.currentSheet != sheet->index) sheet->hidden = 1;
    return true;
}

bool MoveBack(UndoRecord& record) {
    MoveSheetBack(record);
    return true;
}

using Inverse = bool (*)(UndoRecord& record);
struct InverseRow {
    i32 kind;
    Inverse inverse;
};
// Kinds that are not here put their area back, as far as they have recorded one, and the view.
constexpr InverseRow inverseRows[] = {
    {UNDO_PASTE, RestorePaste},
    {UNDO_DELETE_ROWS, RestoreShift},
    {UNDO_DELETE_WORKSHEET, ReturnSheet},
    {UNDO_DELETE_CHART, ReturnSheet},
    {UNDO_INSERT_CELLS, RestoreShift},
    {UNDO_INSERT_COLUMNS, RestoreShift},
    {UNDO_INSERT_WORKSHEET, DeleteAgain},
    {UNDO_INSERT_CHART, DeleteAgain},
    {UNDO_ADD_NAME, RestoreName},
    {UNDO_CHANGE_NAME, RestoreName},
    {UNDO_DELETE_NAME, RestoreName},
    {UNDO_DELETE_MACRO_SHEET, ReturnSheet},
    {UNDO_INSERT_MACRO_SHEET, DeleteAgain},
    {UNDO_DELETE_CELLS, RestoreShift},
    {UNDO_HIDE_SHEET, ShowAgain},
    {UNDO_SHOW_SHEET, HideAgain},
    {UNDO_MOVE_SHEET, MoveBack},
    {UNDO_COPY_SHEET, DeleteAgain},
};

Inverse InverseOf(const UndoRecord& record) {
    if (record.structural) return RestoreShift;
    for (const InverseRow& row : inverseRows)
        if (row.kind == record.kind) return row.inverse;
    return RestoreArea;
}

void RestoreView(const SavedView& saved, Sheet& sheet) {
    std::memcpy(sheet.name, saved.name, sizeof sheet.name);
    sheet.zoomPercent = saved.zoomPercent;
    sheet.viewFlags = saved.viewFlags;
    sheet.defaultColumnWidth = saved.defaultColumnWidth;
    sheet.defaultRowHeight = saved.defaultRowHeight;
    sheet.passwordHash = saved.passwordHash;
    sheet.tabColour = saved.tabColour;
    sheet.view = saved.view;
}

}  // namespace

bool RestoreArea(UndoRecord& record) {
    Sheet* sheet = FindSheetBySerial(record.serial);
    if (!sheet) return true;
    CellPatch patch;
    Array<Hyperlink> linkRoom;
    const u32 mask = record.mask;
    const Array<ColumnInfo>& columns = record.hasColumns ? record.columns : record.block.columns;
    const bool good =
        MakeLinkRoom(*sheet, record.block.links, linkRoom) &&
        sheet->rows.Reserve(std::size_t{sheet->rows.Count()} + record.rows.Count()) &&
        sheet->columns.Reserve(std::size_t{sheet->columns.Count()} + columns.Count()) &&
        (!(mask & BLOCK_CELLS) || PrepareCells(patch, *sheet, record.area, record.block.cells.Span(), 0));
    if (!good) return false;
    if (mask & BLOCK_CELLS) {
        CommitCells(patch, *sheet);
        IndexFormulas(*sheet, patch.formulas);
    }
    if (mask & BLOCK_ARRAYS) std::swap(sheet->arrayFormulas, record.arrays);
    if (mask & BLOCK_MERGES) std::swap(sheet->mergedAreas, record.merges);
    for (SavedRules& rules : record.rules) SwapRules(rules);
    if (mask & BLOCK_HYPERLINKS) {
        DropLinksIn(*sheet, record.area);
        ReturnLinks(*sheet, record.block.links, linkRoom);
    }
    const RefArea& area = record.area;
    if (record.hasColumns || (mask & BLOCK_COLUMNS))
        ReplaceRange(sheet->columns, &ColumnInfo::column, area.firstColumn, area.lastColumn, columns);
    if (record.hasRows) ReplaceRange(sheet->rows, &RowInfo::row, area.firstRow, area.lastRow, record.rows);
    if (mask & BLOCK_CELLS) MarkDependentsOfArea(sheet->book, sheet->index, area);
    return true;
}

void PutSavedTokens(UndoRecord& record, Array<FormulaCell*>& stale, Array<ChangedName>& names) {
    Sheet* sheet = nullptr;
    for (SavedTokens& saved : record.tokens) {
        if (saved.holder == HOLDER_NAME) {
            Workbook* book = BookAt(saved.book);
            if (!book || static_cast<u32>(saved.name) >= book->names.Count()) continue;
            std::swap(book->names[static_cast<u32>(saved.name)].tokens, saved.tokens);
            IgnoreFailure(names.Append({saved.book, saved.name}));
            continue;
        }
        if (!sheet || sheet->serial != saved.serial) sheet = FindSheetBySerial(saved.serial);
        CellRecord* cell = sheet ? GetCell(sheet->cells, saved.row, saved.column) : nullptr;
        if (!cell || !cell->formula) continue;
        ForgetFormula(*cell->formula);
        std::swap(cell->formula->tokens, saved.tokens);
        EnterFormula(*cell->formula);
        IgnoreFailure(stale.Append(cell->formula));
    }
}

bool ReserveMarks(const UndoRecord& record, Array<FormulaCell*>& stale, Array<ChangedName>& names) {
    return stale.Reserve(std::size_t{stale.Count()} + record.tokens.Count()) &&
           names.Reserve(std::size_t{names.Count()} + record.tokens.Count());
}

bool RunInverse(UndoRecord& record) {
    if (!BookAt(record.book)) return true;
    if (!InverseOf(record)(record)) return false;
    Books().currentBook = record.book;
    Workbook& book = *BookAt(record.book);
    book.dirty = 1;
    if (Sheet* sheet = FindSheetBySerial(record.serial); sheet && sheet->book == record.book) {
        if (!sheet->hidden) book.currentSheet = sheet->index;
        if (record.kind != UNDO_SHOW_SHEET) RestoreView(record.view, *sheet);
    }
    IgnoreFailure(MarkVolatileCells());
    return true;
}

bool SaveName(SavedName& saved, const Workbook& book, i32 name) {
    const DefinedName& source = book.names[static_cast<u32>(name)];
    saved.name = name;
    saved.flags = source.flags;
    saved.sheet = source.sheet;
    saved.shortcut = source.shortcut;
    CopyTokens(saved.tokens, source.tokens);
    return saved.text.Assign(source.text);
}

}  // namespace tally
