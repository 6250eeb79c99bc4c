#include "editing/Fill.h"

#include <algorithm>
#include <utility>

#include "editing/AreaChange.h"
#include "editing/Guards.h"
#include "editing/Undo.h"
#include "editing/VisibleRuns.h"
#include "formula/TokenRebasing.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// The parts of an area that a filter leaves visible, by rows and then by columns.
bool VisibleParts(const Sheet& sheet, const RefArea& area, Array<RefArea>& parts) {
    if (!HasHiddenFilterRows(sheet)) return parts.Append(area);
    Array<LineRun> rows, columns;
    if (!VisibleRowRuns(sheet, area, rows) || !VisibleColumnRuns(sheet, area, columns)) return false;
    for (const LineRun& row : rows) {
        for (const LineRun& column : columns) {
            if (!parts.Append({static_cast<u16>(row.first), static_cast<u16>(row.last),
                               static_cast<u8>(column.first), static_cast<u8>(column.last)}))
                return false;
        }
    }
    return true;
}

// ---- one fill -------------------------------------------------------------------------------------

// One of the source's columns or rows.
struct SourcePlace {
    const SavedCell* cell = nullptr;  // null for a cell that is not there
    u16 format = 0;                   // that its copies get
};

struct FillRun {
    AreaChange change;
    RefArea source;
    bool down;  // the source is a row, else a column
    CellBlock block;
    Array<SourcePlace> places;
    Array<RefArea> parts;  // of the target, sorted
    Array<SavedCell> old;
    u32 nextOld = 0;
    u16 columnFormats[MAX_COLUMNS];
};

Sheet& SheetOf(const FillRun& run) { return *SheetAt(run.change.book, run.change.sheet); }

// On a protected sheet what is filled stays open to change.
bool TargetFormat(const FillRun& run, u16 format, u16& out) {
    Workbook& book = *BookAt(run.change.book);
    out = format;
    if (!(SheetOf(run).viewFlags & VIEW_PROTECTED)) return true;
    CellFormat open = ResolveCellFormat(book, format);
    if (!(open.flags & FORMAT_LOCKED)) return true;
    open.flags = static_cast<u16>(open.flags & ~FORMAT_LOCKED);
    return FindOrAddCellFormat(book, open, out);
}

bool CaptureSource(FillRun& run) {
    const RefArea& source = run.source;
    if (!CaptureBlock(run.block, run.change.book, run.change.sheet, source, BLOCK_BUT_COMMENTS)) return false;
    const i32 count =
        run.down ? source.lastColumn - source.firstColumn + 1 : source.lastRow - source.firstRow + 1;
    if (!run.places.Resize(static_cast<u32>(count))) return false;
    for (const SavedCell& cell : run.block.cells) {
        const i32 place = run.down ? cell.column - source.firstColumn : cell.row - source.firstRow;
        run.places[static_cast<u32>(place)].cell = &cell;
    }
    for (i32 i = 0; i < count; ++i) {
        const u16 format = GetCellFormat(SheetOf(run), source.firstRow + (run.down ? 0 : i),
                                         source.firstColumn + (run.down ? i : 0));
        if (!TargetFormat(run, format, run.places[static_cast<u32>(i)].format)) return false;
    }
    return true;
}

bool CopyFormula(const FillRun& run, const SavedCell& source, i32 row, i32 column, FormulaTokens& out) {
    CopyTokens(out, source.tokens);
    TokenRebase rebase;
    rebase.mode = REBASE_RELATIVE;
    rebase.sourceBook = rebase.targetBook = run.change.book;
    rebase.sourceSheet = run.change.sheet;
    rebase.rowDelta = row - source.row;
    rebase.columnDelta = column - source.column;
    rebase.area = run.source;
    if (RebaseTokens(rebase, out)) return true;
    FreeTokens(out);
    return false;
}

SavedCell CellAtPlace(const SourcePlace& place, i32 row, i32 column) {
    SavedCell cell;
    cell.row = static_cast<u16>(row);
    cell.column = static_cast<u8>(column);
    cell.format = place.format;
    return cell;
}

// A copy of a source cell for a place of the target.
bool PutCopy(FillRun& run, const SourcePlace& place, i32 row, i32 column) {
    const SavedCell& source = *place.cell;
    SavedCell cell = CellAtPlace(place, row, column);
    cell.calcState = source.calcState;
    cell.alwaysCalculate = source.alwaysCalculate;
    if (HasFormula(source.tokens)) {
        cell.calcState = CALC_STALE;
        if (!CopyFormula(run, source, row, column, cell.tokens)) return false;
    }
    CopyValue(cell.value, source.value);
    if (run.change.cells.Append(cell)) return true;
    FreeValue(cell.value);
    FreeTokens(cell.tokens);
    return false;
}

// A place that gets nothing stays only for a look that its column does not give it.
bool PutPlace(FillRun& run, i32 row, i32 column) {
    const i32 at = run.down ? column - run.source.firstColumn : row - run.source.firstRow;
    const SourcePlace& place = run.places[static_cast<u32>(at)];
    const SavedCell* source = place.cell;
    if (source && (HasFormula(source->tokens) || source->value.type != VT_EMPTY))
        return PutCopy(run, place, row, column);
    return place.format == run.columnFormats[column] ||
           run.change.cells.Append(CellAtPlace(place, row, column));
}

// Whether a place lies in a part. Places are asked for by row, then column; `first` is the first part that may
// hold one of this row.
bool InParts(const FillRun& run, u32& first, i32 row, i32 column) {
    while (first < run.parts.Count() && run.parts[first].lastRow < row) ++first;
    for (u32 i = first; i < run.parts.Count() && run.parts[i].firstRow <= row; ++i) {
        if (AreaHolds(run.parts[i], row, column)) return true;
    }
    return false;
}

void TakeColumnFormats(FillRun& run) {
    std::fill(std::begin(run.columnFormats), std::end(run.columnFormats), DEFAULT_CELL_FORMAT);
    for (const ColumnInfo& info : SheetOf(run).columns) run.columnFormats[info.column] = info.format;
}

// The cells of the target: copies in its visible parts, what stands there elsewhere.
bool MakeCells(FillRun& run) {
    const RefArea& area = run.change.area;
    const i32 lines = run.down ? area.lastRow - area.firstRow + 1 : area.lastColumn - area.firstColumn + 1;
    if (u64{run.block.cells.Count()} * static_cast<u32>(lines) > MOST_CHANGED_CELLS) return RefuseSize();
    const bool whole = run.parts.Count() == 1 && run.parts[0] == area;
    if (!whole && !SaveCells(SheetOf(run).cells, area, run.old)) return false;
    TakeColumnFormats(run);
    u32 firstPart = 0;
    for (i32 row = area.firstRow; row <= area.lastRow; ++row) {
        for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
            const bool isOld = run.nextOld < run.old.Count() && run.old[run.nextOld].row == row &&
                               run.old[run.nextOld].column == column;
            SavedCell* old = isOld ? &run.old[run.nextOld++] : nullptr;
            if (whole || InParts(run, firstPart, row, column)) {
                if (!PutPlace(run, row, column)) return false;
            } else if (old) {
                if (!run.change.cells.Append(*old)) return false;
                *old = SavedCell();
            }
        }
        if (run.change.cells.Count() > MOST_CHANGED_CELLS) return RefuseSize();
    }
    return true;
}

// ---- what hangs on the cells ----------------------------------------------------------------------

// Calls put(row delta, column delta) for each copy of the source in a part of the target.
template <typename Put>
bool VisitCopies(const FillRun& run, const RefArea& part, Put put) {
    const i32 first =
        run.down ? part.firstRow - run.source.firstRow : part.firstColumn - run.source.firstColumn;
    const i32 count = run.down ? part.lastRow - part.firstRow : part.lastColumn - part.firstColumn;
    for (i32 i = 0; i <= count; ++i) {
        if (!put(run.down ? first + i : 0, run.down ? 0 : first + i)) return false;
    }
    return true;
}

RefArea Moved(const RefArea& area, i32 rows, i32 columns) {
    return {static_cast<u16>(area.firstRow + rows), static_cast<u16>(area.lastRow + rows),
            static_cast<u8>(area.firstColumn + columns), static_cast<u8>(area.lastColumn + columns)};
}

// An area of the source, drawn over a whole part of the target. False when the part has none of it.
bool Drawn(const FillRun& run, const RefArea& area, const RefArea& part, RefArea& out) {
    out = part;
    RefArea across = part;
    if (run.down) {
        across.firstColumn = area.firstColumn;
        across.lastColumn = area.lastColumn;
    } else {
        across.firstRow = area.firstRow;
        across.lastRow = area.lastRow;
    }
    if (!AreasMeet(across, part)) return false;
    out = CommonArea(across, part);
    return true;
}

bool AddArraysAndMerges(FillRun& run, const RefArea& part) {
    return VisitCopies(run, part, [&](i32 rows, i32 columns) {
        for (const ArrayEntry& entry : run.block.arrays) {
            const RefArea area = Moved(entry.area, rows, columns);
            if (AreaHoldsArea(run.source, entry.area) && AreaHoldsArea(part, area) &&
                !run.change.arrays.Append({area, 0, 0}))
                return false;
        }
        for (const RefArea& merge : run.block.merges) {
            const RefArea area = Moved(merge, rows, columns);
            if (AreaHoldsArea(run.source, merge) && AreaHoldsArea(part, area) &&
                !run.change.merges.Append(area))
                return false;
        }
        return true;
    });
}

bool AddLinks(FillRun& run, const RefArea& part) {
    for (const SavedLink& saved : run.block.links) {
        RefArea area;
        if (!Drawn(run, saved.link.area, part, area)) continue;
        Hyperlink* link = run.change.links.AppendDefault();
        if (!link || !CopyLink(*link, saved.link)) return false;
        link->area = area;
    }
    return true;
}

// The source's rules of one kind over the parts of the target.
template <typename Rule>
bool AddRules(const FillRun& run, const Array<Rule>& source, Array<Rule>& target) {
    for (const Rule& rule : source) {
        Rule copy;
        bool good = CopyRule(copy, rule);
        for (const RefArea& part : run.parts) {
            for (const RefArea& area : rule.areas) {
                RefArea drawn;
                if (Drawn(run, area, part, drawn)) good = good && copy.areas.Append(drawn);
            }
        }
        bool kept = false;
        if (good && !copy.areas.IsEmpty()) good = kept = target.Append(std::move(copy));
        if (!kept) FreeRule(copy);
        if (!good) return false;
    }
    return true;
}

bool MakeLists(FillRun& run) {
    AreaChange& change = run.change;
    if (!run.block.merges.IsEmpty() && !TakeMerges(change)) return false;
    for (const RefArea& part : run.parts) {
        if (!ClearArraysAndLinks(change, part) || !ClearRules(change, part)) return false;
    }
    for (const RefArea& part : run.parts) {
        if (!AddArraysAndMerges(run, part) || !AddLinks(run, part)) return false;
    }
    if (!AddRules(run, run.block.validations, change.validations) ||
        !AddRules(run, run.block.formats, change.formats))
        return false;
    MergeEqualRules(change.validations);
    MergeEqualRules(change.formats);
    return true;
}

bool RefusesParts(const FillRun& run) {
    const Sheet& sheet = SheetOf(run);
    for (const RefArea& part : run.parts) {
        if (RefuseLockedCell(sheet, part) || RefuseCutArray(sheet, part)) return true;
    }
    return false;
}

void EndFill(FillRun& run) {
    FreeSavedCells(run.old);
    FreeBlock(run.block);
    DropChange(run.change);
}

// ---- the four directions --------------------------------------------------------------------------

struct FillRow {
    i32 kind;
    bool down;  // along columns
    bool last;  // from the last row or column
};
constexpr FillRow fillRows[] = {{UNDO_FILL_DOWN, true, false},
                                {UNDO_FILL_RIGHT, false, false},
                                {UNDO_FILL_UP, true, true},
                                {UNDO_FILL_LEFT, false, true}};

// Splits `count` lines from `first` on into the source and the others. One line takes its neighbour, `most`
// being the sheet's last one; false when there is none.
bool SplitLines(i32 first, i32 last, bool fromLast, i32 most, i32& source, i32& begin, i32& end) {
    begin = first;
    end = last;
    if (first == last) {
        source = fromLast ? last + 1 : first - 1;
        return source >= 0 && source <= most;
    }
    source = fromLast ? end-- : begin++;
    return true;
}

bool FillSelection(const FillRow& row, bool record) {
    const Sheet* sheet = CurrentSheet();
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    RefArea target = sheet->view.selection;
    RefArea source = target;
    i32 line = 0, begin = 0, end = 0;
    if (row.down) {
        if (!SplitLines(target.firstRow, target.lastRow, row.last, MAX_ROWS - 1, line, begin, end)) return true;
        source.firstRow = source.lastRow = static_cast<u16>(line);
        target.firstRow = static_cast<u16>(begin);
        target.lastRow = static_cast<u16>(end);
    } else {
        if (!SplitLines(target.firstColumn, target.lastColumn, row.last, MAX_COLUMNS - 1, line, begin, end))
            return true;
        source.firstColumn = source.lastColumn = static_cast<u8>(line);
        target.firstColumn = static_cast<u8>(begin);
        target.lastColumn = static_cast<u8>(end);
    }
    return FillBlock(source, target, record, row.kind);
}

}  // namespace

bool FillBlock(const RefArea& source, const RefArea& target, bool record, i32 kind) {
    const Sheet* sheet = CurrentSheet();
    if (RefuseMetMerge(*sheet, target)) return false;
    FillRun run{};
    run.change.book = CurrentBook();
    run.change.sheet = CurrentWorkbook()->currentSheet;
    run.change.area = target;
    run.source = source;
    run.down = source.firstRow == source.lastRow && source.firstColumn == target.firstColumn &&
               source.lastColumn == target.lastColumn;
    bool good = VisibleParts(*sheet, target, run.parts) && !RefusesParts(run) && CaptureSource(run) &&
                MakeCells(run) && MakeLists(run) && PrepareChange(run.change);
    if (good) {
        if (record)
            IgnoreFailure(RecordBlock(kind, run.change.book, run.change.sheet, target, BLOCK_NO_OBJECTS));
        CommitChange(run.change);
    }
    EndFill(run);
    return good;
}

bool FillDown(bool record) { return FillSelection(fillRows[0], record); }
bool FillRight(bool record) { return FillSelection(fillRows[1], record); }
bool FillUp(bool record) { return FillSelection(fillRows[2], record); }
bool FillLeft(bool record) { return FillSelection(fillRows[3], record); }

}  // namespace tally
