#include "editing/RestoreBlock.h"

#include <algorithm>

#include "editing/AreaLists.h"
#include "editing/FollowCut.h"
#include "editing/PasteFormats.h"
#include "editing/PasteTargets.h"
#include "editing/RestoreLists.h"
#include "editing/WorkRows.h"
#include "formula/TokenRebasing.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// A block on its way over targets, row by row.
struct Restorer {
    const RestoreOrder& order;
    WorkRows work;
    PasteFormats formats;
    RefArea whole;  // the block's
    i32 tileRows = 0, tileColumns = 0;
    u16 newFormats[MAX_COLUMNS] = {};    // of the target's columns afterwards
    u16 blankFormats[MAX_COLUMNS] = {};  // of the block's columns
    // Cells of the block that the row in work is laid from, by their distance from the first; null is blank.
    const SavedCell* line[MAX_COLUMNS] = {};
    i32 lineFrom = -1;  // what the line was read for, a row of the block or, transposed, a column
};

// ---- reading ----------------------------------------------------------------------------------------------

const SavedCell* FindSaved(const Array<SavedCell>& cells, i32 row, i32 column) {
    const i32 wanted = row * MAX_COLUMNS + column;
    const SavedCell* found = std::lower_bound(
        cells.begin(), cells.end(), wanted,
        [](const SavedCell& cell, i32 key) { return cell.row * MAX_COLUMNS + cell.column < key; });
    return found != cells.end() && found->row == row && found->column == column ? found : nullptr;
}

void ReadLine(Restorer& run, i32 from) {
    if (run.lineFrom == from) return;
    run.lineFrom = from;
    const Array<SavedCell>& cells = run.order.block->cells;
    const RefArea& whole = run.whole;
    if (run.order.transpose) {
        for (i32 i = 0; i < run.tileColumns; ++i) run.line[i] = FindSaved(cells, whole.firstRow + i, from);
        return;
    }
    std::fill_n(run.line, run.tileColumns, nullptr);
    const SavedCell* cell = std::lower_bound(cells.begin(), cells.end(), from,
                                             [](const SavedCell& c, i32 row) { return c.row < row; });
    for (; cell != cells.end() && cell->row == from; ++cell) run.line[cell->column - whole.firstColumn] = cell;
}

void CopyContent(CellContent& content, const WorkCell& work) {
    if (!work.stands) return;
    if (work.isNew) {
        CopyTokens(content.tokens, work.cell.tokens);
        CopyValue(content.value, work.cell.value);
        return;
    }
    if (work.old->formula) CopyTokens(content.tokens, work.old->formula->tokens);
    CopyValue(content.value, work.old->value);
}

bool IsBlank(const SavedCell* cell) {
    return !cell || (!HasFormula(cell->tokens) && cell->value.type == VT_EMPTY);
}

// ---- one cell ---------------------------------------------------------------------------------------------

// Where a cell comes from, in the block, and where it goes.
struct CellWay {
    i32 row = 0, column = 0;
    i32 targetRow = 0, targetColumn = 0;
    RefArea tile;  // the first cell counts
};

bool AdjustTokens(const Restorer& run, const CellWay& way, FormulaTokens& tokens) {
    const RestoreOrder& order = run.order;
    TokenRebase rebase;
    rebase.sourceBook = order.block->book;
    rebase.sourceSheet = order.block->sheet;
    rebase.targetBook = order.book;
    rebase.targetSheet = order.sheet;
    rebase.area = run.whole;
    rebase.rowDelta = way.targetRow - PlaceOfRow(order, way.row);
    rebase.columnDelta = way.targetColumn - PlaceOfColumn(order, way.column);
    const bool sameSheet = order.book == order.block->book && order.sheet == order.block->sheet;
    if (sameSheet && !rebase.rowDelta && !rebase.columnDelta) return true;
    if (order.transpose) {
        rebase.mode = REBASE_TRANSPOSE;
        rebase.rowDelta = way.tile.firstRow - run.whole.firstRow;
        rebase.columnDelta = way.tile.firstColumn - run.whole.firstColumn;
    } else {
        rebase.mode = order.isCut ? REBASE_CUT : REBASE_RELATIVE;
    }
    return RebaseTokens(rebase, tokens);
}

// What a source brings by itself, the arithmetic left out.
bool SourceContent(const Restorer& run, const SavedCell* source, const CellWay& way, CellContent& content) {
    const i32 mode = run.order.mode;
    if (!source) return true;
    CopyValue(content.value, source->value);
    if (run.order.book != run.order.block->book && !MakePlainText(content.value)) return false;
    if (mode == PASTE_VALUES || mode == PASTE_VALUES_AND_FORMATS || !HasFormula(source->tokens)) return true;
    CopyTokens(content.tokens, source->tokens);
    return AdjustTokens(run, way, content.tokens);
}

bool MakeContent(const Restorer& run, const SavedCell* source, const CellWay& way, const WorkCell& target,
                 CellContent& content) {
    if (run.order.mode == PASTE_FORMATS) {
        CopyContent(content, target);
        return true;
    }
    if (run.order.operation == PASTE_NONE) return SourceContent(run, source, way, content);
    CellContent right;
    CopyContent(content, target);
    const bool good =
        SourceContent(run, source, way, right) && CombineContent(content, right, run.order.operation);
    FreeContent(right);
    return good;
}

bool MakeFormat(Restorer& run, const SavedCell* source, const CellWay& way, u16& format) {
    const u16 kept = WorkFormat(run.work, way.targetColumn);
    format = kept;
    if (run.order.mode == PASTE_FORMULAS || run.order.mode == PASTE_VALUES) return true;
    const u16 own = source ? source->format : run.blankFormats[way.column];
    return PastedFormat(run.formats, own, kept, format);
}

bool PasteCell(Restorer& run, const SavedCell* source, const CellWay& way) {
    if (run.order.skipBlanks && IsBlank(source)) return true;
    CellContent content;
    SavedCell cell;
    if (!MakeContent(run, source, way, run.work.cells[way.targetColumn], content) ||
        !MakeFormat(run, source, way, cell.format)) {
        FreeContent(content);
        return false;
    }
    cell.tokens = content.tokens;
    cell.value = content.value;
    const RestoreOrder& order = run.order;
    if (order.place && !order.place(order.context, way.targetRow, way.targetColumn, cell)) {
        FreeContent(content);
        return true;
    }
    StoreWorkCell(run.work, way.targetColumn, cell, run.newFormats[way.targetColumn]);
    return true;
}

// ---- rows -------------------------------------------------------------------------------------------------

bool PasteRow(Restorer& run, const RefArea& target, i32 row) {
    const TileStart origin = TileOrigin(run.order, target);
    const i32 inTile = (row - origin.row) % run.tileRows;
    const bool transpose = run.order.transpose;
    CellWay way;
    way.targetRow = row;
    way.tile.firstRow = static_cast<u16>(row - inTile);
    if (transpose) way.column = run.whole.firstColumn + inTile;
    else way.row = run.whole.firstRow + inTile;
    ReadLine(run, transpose ? way.column : way.row);
    i32 along = (target.firstColumn - origin.column) % run.tileColumns;
    for (i32 column = target.firstColumn; column <= target.lastColumn; ++column) {
        way.targetColumn = column;
        way.tile.firstColumn = static_cast<u8>(column - along);
        if (transpose) way.row = run.whole.firstRow + along;
        else way.column = run.whole.firstColumn + along;
        if (!PasteCell(run, run.line[along], way)) return false;
        if (++along == run.tileColumns) along = 0;
    }
    return true;
}

// Targets ascend by their first row; the window of those that a row lies in moves down with it.
bool PasteRows(Restorer& run) {
    const std::span<const RefArea> targets = run.order.targets;
    const RefArea& area = run.work.after.area;
    std::size_t from = 0;
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        LoadWorkRow(run.work, row);
        while (from < targets.size() && targets[from].lastRow < row) ++from;
        bool good = true;
        for (std::size_t i = from; i < targets.size() && targets[i].firstRow <= row; ++i)
            if (targets[i].lastRow >= row) good = good && PasteRow(run, targets[i], row);
        if (!PutWorkRow(run.work, good)) return false;
    }
    return true;
}

// ---- the whole --------------------------------------------------------------------------------------------

u16 ColumnFormat(const Array<ColumnInfo>& columns, i32 column) {
    u16 flags = 0, format = DEFAULT_CELL_FORMAT;
    IgnoreFailure(GetColumnInfo(columns, column, flags, format));
    return format;
}

// The column records of the union, those of the block laid over each tile.
bool RestoreColumns(Restorer& run) {
    const RefArea& area = run.work.after.area;
    const Array<ColumnInfo>& source = run.order.block->columns;
    run.work.after.mask |= BLOCK_COLUMNS;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        const RefArea* target = nullptr;
        for (const RefArea& t : run.order.targets)
            if (column >= t.firstColumn && column <= t.lastColumn) target = &t;
        i32 wanted = column;
        if (target)
            wanted = run.whole.firstColumn + (column - TileOrigin(run.order, *target).column) % run.tileColumns;
        for (const ColumnInfo& info : target ? source : run.work.sheet.columns) {
            if (info.column != wanted) continue;
            ColumnInfo placed = info;
            placed.column = static_cast<u8>(column);
            if (target &&
                !PastedFormat(run.formats, info.format, run.work.columnFormats[column], placed.format))
                return false;
            if (!run.work.after.columns.Append(placed)) return false;
            run.newFormats[column] = placed.format;
        }
        if (target && (run.work.after.columns.IsEmpty() || run.work.after.columns.Last().column != column))
            run.newFormats[column] = DEFAULT_CELL_FORMAT;
    }
    return true;
}

bool StartRestorer(Restorer& run) {
    const RestoreOrder& order = run.order;
    run.whole = order.block->area;
    run.tileRows = TileRows(order);
    run.tileColumns = TileColumns(order);
    run.formats.sourceBook = order.block->book;
    run.formats.targetBook = order.book;
    run.formats.unlocks = (run.work.sheet.viewFlags & VIEW_PROTECTED) != 0;
    run.formats.keepsBorders = order.mode == PASTE_BUT_BORDERS;
    if (!StartWork(run.work)) return false;
    std::copy_n(run.work.columnFormats, MAX_COLUMNS, run.newFormats);
    for (i32 column = 0; column < MAX_COLUMNS; ++column)
        run.blankFormats[column] = ColumnFormat(order.block->columns, column);
    return !BringsColumns(order) || RestoreColumns(run);
}

bool BringsCells(const RestoreOrder& order) {
    return order.mode != PASTE_COMMENTS && order.mode != PASTE_VALIDATION;
}

// Whether the contents that a block brings over its whole tiles alone are more than may stand, so that none of
// them need be made.
bool IsBeyondRoom(const Restorer& run) {
    const RestoreOrder& order = run.order;
    if (order.mode == PASTE_FORMATS || order.operation != PASTE_NONE) return false;
    const Array<SavedCell>& cells = order.block->cells;
    const auto full = static_cast<u64>(
        std::count_if(cells.begin(), cells.end(), [](const SavedCell& cell) { return !IsBlank(&cell); }));
    u64 tiles = 0;
    for (const RefArea& target : order.targets)
        tiles += u64{(target.lastRow - target.firstRow + 1u) / static_cast<u32>(run.tileRows)} *
                 ((target.lastColumn - target.firstColumn + 1u) / static_cast<u32>(run.tileColumns));
    return full * tiles > MAX_PASTED_CELLS;
}

// Everything that will stand in the union of the targets.
bool PrepareAfter(const RestoreOrder& order, Sheet& sheet, AreaContents& after) {
    Restorer run{order, {sheet, after}, {}, {}};
    if (!StartRestorer(run)) return false;
    if (BringsCells(order)) {
        after.mask |= BLOCK_CELLS;
        if (IsBeyondRoom(run) || !PasteRows(run)) return false;
    }
    if (order.move && !CollectFollowers(*order.move, after.tokens)) return false;
    return KeepArraysAndMerges(sheet, order.targets, after) && RestoreArrays(order, after) &&
           RestoreMerges(order, after) && RestoreRules(order, sheet, after) &&
           RestoreLinks(order, sheet, run.work.drops.Span(), after);
}

}  // namespace

u32 MaskOfMode(i32 mode) {
    switch (mode) {
        case PASTE_ALL:
        case PASTE_BUT_BORDERS: return BLOCK_COMMENTS | BLOCK_VALIDATION | BLOCK_CONDITIONAL | BLOCK_HYPERLINKS;
        case PASTE_FORMATS: return BLOCK_CONDITIONAL;
        case PASTE_COMMENTS: return BLOCK_COMMENTS;
        case PASTE_VALIDATION: return BLOCK_VALIDATION;
        case PASTE_VALUES_AND_FORMATS: return BLOCK_COMMENTS | BLOCK_VALIDATION | BLOCK_CONDITIONAL;
        default: return 0;
    }
}

bool RestoreBlock(const RestoreOrder& order) {
    Sheet* sheet = SheetAt(order.book, order.sheet);
    if (!sheet || order.targets.empty()) return false;
    const u64 failures = FailedAllocations();
    AreaContents after;
    StartContents(after, *sheet, UnionOf(order.targets), 0);
    const bool good = PrepareAfter(order, *sheet, after);
    return FinishArea(after, good, failures, order.undoKind, order.undoMask);
}

}  // namespace tally
