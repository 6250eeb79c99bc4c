#include "editing/Clipboard.h"

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "display/DisplayText.h"
#include "editing/AreaLists.h"
#include "editing/Guards.h"
#include "editing/VisibleRuns.h"
#include "editing/WorkRows.h"
#include "formula/FormulaText.h"
#include "formula/SheetCalculation.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "model/Tokens.h"

namespace tally {
namespace {

ClipboardBlock clipboard;

void FreeClipboard(ClipboardBlock& held) {
    FreeBlock(held.block);
    held = ClipboardBlock();
}

void BookClosing(i32 book) {
    DropUndoOfBook(book);
    if (!clipboard.blockExists) return;
    if (clipboard.block.book == book) DropClipboardBlock();
    else if (clipboard.block.book > book) --clipboard.block.book;
}

// ---- visible cells only -----------------------------------------------------------------------------------

// How the lines of a sheet come together when the hidden ones are left out.
struct Compression {
    Array<LineRun> rows, columns;
};

// The place of a line among the visible ones from `first` on; `low` gives that of the next visible one for a
// hidden line, else that of the one before.
i32 CompressedPlace(const Array<LineRun>& runs, i32 first, i32 line, bool low) {
    i32 place = first;
    for (const LineRun& run : runs) {
        if (line < run.first) return low ? place : place - 1;
        if (line <= run.last) return place + line - run.first;
        place += run.last - run.first + 1;
    }
    return low ? place : place - 1;
}

// False when nothing of the area is visible.
bool CompressArea(const Compression& compression, const RefArea& whole, RefArea& area) {
    const i32 top = CompressedPlace(compression.rows, whole.firstRow, area.firstRow, true),
              bottom = CompressedPlace(compression.rows, whole.firstRow, area.lastRow, false),
              left = CompressedPlace(compression.columns, whole.firstColumn, area.firstColumn, true),
              right = CompressedPlace(compression.columns, whole.firstColumn, area.lastColumn, false);
    if (top > bottom || left > right) return false;
    area = {static_cast<u16>(top), static_cast<u16>(bottom), static_cast<u8>(left), static_cast<u8>(right)};
    return true;
}

// A list of records with an area each, compressed; those with nothing visible go.
template <typename Record, typename AreaOf>
void CompressList(const Compression& compression, const RefArea& whole, Array<Record>& list, AreaOf areaOf) {
    u32 kept = 0;
    for (u32 i = 0; i < list.Count(); ++i) {
        RefArea& area = areaOf(list[i]);
        if (AreasMeet(area, whole)) area = CommonArea(area, whole);
        if (!CompressArea(compression, whole, area)) continue;
        if (kept != i) std::swap(list[kept], list[i]);
        ++kept;
    }
    list.Truncate(kept);
}

template <typename Rule>
void CompressRules(const Compression& compression, const RefArea& whole, Array<Rule>& rules) {
    for (Rule& rule : rules)
        CompressList(compression, whole, rule.areas, [](RefArea& area) -> RefArea& { return area; });
}

bool IsHidden(const Array<LineRun>& runs, i32 line) {
    for (const LineRun& run : runs)
        if (line >= run.first && line <= run.last) return false;
    return true;
}

void CompressCells(const Compression& compression, const RefArea& whole, Array<SavedCell>& cells) {
    bool hidden[MAX_COLUMNS] = {};
    i32 places[MAX_COLUMNS] = {};
    for (i32 column = whole.firstColumn; column <= whole.lastColumn; ++column) {
        hidden[column] = IsHidden(compression.columns, column);
        places[column] = CompressedPlace(compression.columns, whole.firstColumn, column, true);
    }
    // Cells and runs both ascend by row.
    u32 run = 0, kept = 0;
    i32 before = whole.firstRow;  // place of the run's first row
    for (u32 i = 0; i < cells.Count(); ++i) {
        SavedCell cell = cells[i];
        for (; run < compression.rows.Count() && compression.rows[run].last < cell.row; ++run)
            before += compression.rows[run].last - compression.rows[run].first + 1;
        if (run == compression.rows.Count() || cell.row < compression.rows[run].first || hidden[cell.column]) {
            FreeValue(cell.value);
            FreeTokens(cell.tokens);
            continue;
        }
        cell.row = static_cast<u16>(before + cell.row - compression.rows[run].first);
        cell.column = static_cast<u8>(places[cell.column]);
        cells[kept++] = cell;
    }
    cells.Truncate(kept);
}

template <typename Place>
bool ListPlaces(const Array<LineRun>& runs, Array<Place>& places) {
    for (const LineRun& run : runs)
        for (i32 line = run.first; line <= run.last; ++line)
            if (!places.Append(static_cast<Place>(line))) return false;
    return true;
}

bool CompressBlock(ClipboardBlock& held, const Compression& compression) {
    CellBlock& block = held.block;
    const RefArea whole = block.area;
    if (!ListPlaces(compression.rows, held.rowPlaces) || !ListPlaces(compression.columns, held.columnPlaces))
        return false;
    const auto itself = [](RefArea& area) -> RefArea& { return area; };
    CompressCells(compression, whole, block.cells);
    CompressList(compression, whole, block.arrays, [](ArrayEntry& entry) -> RefArea& { return entry.area; });
    CompressList(compression, whole, block.merges, itself);
    CompressList(compression, whole, block.links, [](SavedLink& saved) -> RefArea& { return saved.link.area; });
    CompressRules(compression, whole, block.validations);
    CompressRules(compression, whole, block.formats);
    u32 kept = 0;
    for (ColumnInfo info : block.columns) {
        if (IsHidden(compression.columns, info.column)) continue;
        info.column =
            static_cast<u8>(CompressedPlace(compression.columns, whole.firstColumn, info.column, true));
        block.columns[kept++] = info;
    }
    block.columns.Truncate(kept);
    block.area.lastRow = static_cast<u16>(whole.firstRow + held.rowPlaces.Count() - 1);
    block.area.lastColumn = static_cast<u8>(whole.firstColumn + held.columnPlaces.Count() - 1);
    block.visibleOnly = true;
    return true;
}

// Whether a merged area of the selection has hidden and visible cells.
bool RefusesHiddenMerge(const Sheet& sheet, const Compression& compression, const RefArea& area) {
    for (const RefArea& merge : sheet.mergedAreas) {
        if (!AreasMeet(merge, area)) continue;
        RefArea visible = merge;
        const bool any = CompressArea(compression, area, visible);
        if (!any) continue;
        if (visible.lastRow - visible.firstRow == merge.lastRow - merge.firstRow &&
            visible.lastColumn - visible.firstColumn == merge.lastColumn - merge.firstColumn)
            continue;
        ShowMessage(Message(MSG_PART_OF_MERGE));
        return true;
    }
    return false;
}

// Keeps what was captured in the place of the block before.
void Keep(ClipboardBlock& held, bool fromCut) {
    held.blockExists = true;
    held.fromCut = fromCut;
    held.serial = SheetAt(held.block.book, held.block.sheet)->serial;
    FreeClipboard(clipboard);
    clipboard = std::move(held);
}

// ---- text -------------------------------------------------------------------------------------------------

bool CellText(WideText& out, const CellBlock& block, const Sheet& sheet, const SavedCell& cell) {
    out.Truncate(0);
    return HasFormula(cell.tokens) && (sheet.viewFlags & VIEW_FORMULAS)
               ? FormulaToText(block.book, cell.tokens, cell.row, cell.column, true, out)
               : DisplayText(*BookAt(block.book), cell.value, cell.format, out);
}

// ---- cutting ----------------------------------------------------------------------------------------------

// The cells that stay behind a cut. On a protected sheet an unlocked cell stays unlocked.
bool CellsBehindCut(AreaContents& after, const Sheet& sheet, const CellBlock& block) {
    if (!(sheet.viewFlags & VIEW_PROTECTED)) return true;
    for (const SavedCell& cell : block.cells) {
        u16 flags = 0, format = 0;
        IgnoreFailure(GetColumnInfo(sheet.columns, cell.column, flags, format));
        if (cell.format == format) continue;
        SavedCell blank;
        blank.row = cell.row;
        blank.column = cell.column;
        blank.format = cell.format;
        if (!after.cells.Append(blank)) return false;
    }
    return true;
}

bool TakeAway(const Sheet& sheet, const CellBlock& block, i32 undoKind) {
    AreaContents after;
    StartContents(after, sheet, block.area, BLOCK_CELLS);
    if (IsWholeColumns(block.area) && !(sheet.viewFlags & VIEW_PROTECTED)) after.mask |= BLOCK_COLUMNS;
    const bool good = CellsBehindCut(after, sheet, block) && EmptyLists(sheet, after) &&
                      ReplaceArea(after, undoKind, BLOCK_ALL);
    FreeContents(after);
    return good;
}

bool CutAway(i32 book, i32 sheet, const RefArea& area, i32 undoKind) {
    Sheet* source = SheetAt(book, sheet);
    if (!source || RefuseEdit(*source, area)) return false;
    CalculateArea(*source, area);
    ClipboardBlock held;
    if (!CaptureBlock(held.block, book, sheet, area, BLOCK_ALL) || !TakeAway(*source, held.block, undoKind)) {
        FreeClipboard(held);
        return false;
    }
    Keep(held, true);
    return true;
}

}  // namespace

const ClipboardBlock& Clipboard() {
    if (clipboard.blockExists) {
        const Sheet* sheet = FindSheetBySerial(clipboard.serial);
        clipboard.block.sheet = sheet ? sheet->index : -1;
    }
    return clipboard;
}

void ConnectClipboard() {
    DropClipboardBlock();
    Calls().bookClosing = BookClosing;
}

void DropClipboardBlock() { FreeClipboard(clipboard); }

bool CopyCells(i32 book, i32 sheet, const RefArea& area) {
    Sheet* source = SheetAt(book, sheet);
    if (!source) return false;
    const bool visibleOnly = IsPartlyHidden(*source, area);
    Compression compression;
    if (visibleOnly) {
        if (!VisibleRowRuns(*source, area, compression.rows) ||
            !VisibleColumnRuns(*source, area, compression.columns))
            return false;
        if (RefusesHiddenMerge(*source, compression, area)) return false;
    }
    CalculateArea(*source, area);
    DropClipboardBlock();
    ClipboardBlock held;
    if (!CaptureBlock(held.block, book, sheet, area, BLOCK_ALL) ||
        (visibleOnly && !CompressBlock(held, compression))) {
        FreeClipboard(held);
        return false;
    }
    Keep(held, false);
    return true;
}

bool CutCells(i32 book, i32 sheet, const RefArea& area) { return CutAway(book, sheet, area, UNDO_CUT); }
bool CutCellsContinued(i32 book, i32 sheet, const RefArea& area) {
    return CutAway(book, sheet, area, UNDO_CONTINUED);
}

ClipboardBlock SetClipboardAside() {
    ClipboardBlock aside = std::move(clipboard);
    clipboard = ClipboardBlock();
    return aside;
}

void ReturnClipboard(ClipboardBlock&& aside) {
    FreeClipboard(clipboard);
    clipboard = std::move(aside);
}

bool ClipboardBlockText(WideText& out) {
    out.Truncate(0);
    const CellBlock& block = Clipboard().block;
    const Sheet* sheet = clipboard.blockExists ? SheetAt(block.book, block.sheet) : nullptr;
    if (!sheet) return true;
    // A cell that shows nothing counts only where formulas are shown.
    const bool countsAll = (sheet->viewFlags & VIEW_FORMULAS) != 0;
    i32 row = block.area.firstRow, column = block.area.firstColumn;
    WideText text;
    for (const SavedCell& cell : block.cells) {
        if (!CellText(text, block, *sheet, cell)) return false;
        if (text.IsEmpty() && !countsAll) continue;
        for (; row < cell.row; ++row) {
            if (!out.Append(u"\r\n")) return false;
            column = block.area.firstColumn;
        }
        if (!out.AppendRun(u'\t', static_cast<std::size_t>(cell.column - column)) || !out.Append(text))
            return false;
        column = cell.column;
    }
    return true;
}

}  // namespace tally
