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

// ---- a shift --------------------------------------------------------------------------------------

bool PrepareShiftBack(UndoRecord& record, Sheet& sheet, ShiftPlan& plan, CellPatch& patch,
                      Array<Hyperlink>& linkRoom) {
    const AreaMove move = {sheet.book, sheet.index, record.moved, record.rowDelta, record.columnDelta};
    const AreaContents& contents = record.contents;
    const bool shifts = record.rowDelta || record.columnDelta;
    if (shifts && !PrepareShift(plan, InverseMove(move), nullptr, false)) return false;
    return ReserveMarks(plan.stale, contents.tokens) && MakeLinkRoom(sheet, contents.links, linkRoom) &&
           PrepareCells(patch, sheet, contents.area, contents.cells.Span(), sheet.cells.rows.Count() + 1);
}

void RestoreLists(UndoRecord& record, Sheet& sheet, Array<Hyperlink>& linkRoom) {
    AreaContents& contents = record.contents;
    std::swap(sheet.arrayFormulas, contents.arrays);
    std::swap(sheet.dataTables, contents.tables);
    std::swap(sheet.mergedAreas, contents.merges);
    for (SavedRules& rules : contents.rules) SwapRules(rules);
    ReturnLinks(sheet, contents.links, linkRoom);
    if (record.linkAreas.Count() == sheet.hyperlinks.Count())
        for (u32 i = 0; i < record.linkAreas.Count(); ++i) sheet.hyperlinks[i].area = record.linkAreas[i];
    if (contents.mask & (CONTENTS_ROWS | BLOCK_COLUMNS)) {
        std::swap(sheet.page.rowBreaks, record.rowBreaks);
        std::swap(sheet.page.columnBreaks, record.columnBreaks);
    }
    if (contents.mask & CONTENTS_ROWS) std::swap(sheet.rows, contents.rows);
    if (contents.mask & BLOCK_COLUMNS) std::swap(sheet.columns, contents.columns);
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
    IndexNewFormulas(*sheet, patch.formulas);
    PutTokenChanges(record.contents.tokens, plan.stale);
    MarkShifted(plan);
    if (!shifts) MarkDependentsOfArea(sheet->book, sheet->index, record.contents.area);
    DropShift(plan);
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

bool RestoreContents(UndoRecord& record) { return PutContents(record.contents); }

using Inverse = bool (*)(UndoRecord& record);
struct InverseRow {
    i32 kind;
    Inverse inverse;
};
// Kinds that are not here put their area back, as far as they have recorded one, and the view.
constexpr InverseRow inverseRows[] = {
    {UNDO_DELETE_ROWS, RestoreShift},       {UNDO_DELETE_COLUMNS, RestoreShift},
    {UNDO_DELETE_WORKSHEET, ReturnSheet},   {UNDO_DELETE_CHART, ReturnSheet},
    {UNDO_INSERT_CELLS, RestoreShift},      {UNDO_INSERT_ROWS, RestoreShift},
    {UNDO_INSERT_COLUMNS, RestoreShift},    {UNDO_INSERT_WORKSHEET, DeleteAgain},
    {UNDO_INSERT_CHART, DeleteAgain},       {UNDO_ADD_NAME, RestoreName},
    {UNDO_CHANGE_NAME, RestoreName},        {UNDO_DELETE_NAME, RestoreName},
    {UNDO_DELETE_MACRO_SHEET, ReturnSheet}, {UNDO_INSERT_MACRO_SHEET, DeleteAgain},
    {UNDO_DELETE_CELLS, RestoreShift},      {UNDO_HIDE_SHEET, ShowAgain},
    {UNDO_SHOW_SHEET, HideAgain},           {UNDO_MOVE_SHEET, MoveBack},
    {UNDO_COPY_SHEET, DeleteAgain},
};

Inverse InverseOf(const UndoRecord& record) {
    for (const InverseRow& row : inverseRows)
        if (row.kind == record.kind) return row.inverse;
    return RestoreContents;
}

void RestoreView(const SavedView& saved, Sheet& sheet) {
    if (WideView(sheet.name) != WideView(saved.name)) IgnoreFailure(RenameSheet(sheet, saved.name));
    sheet.zoomPercent = saved.zoomPercent;
    sheet.viewFlags = saved.viewFlags;
    sheet.defaultColumnWidth = saved.defaultColumnWidth;
    sheet.defaultRowHeight = saved.defaultRowHeight;
    sheet.passwordHash = saved.passwordHash;
    sheet.tabColour = saved.tabColour;
    sheet.view = saved.view;
}

}  // namespace

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
