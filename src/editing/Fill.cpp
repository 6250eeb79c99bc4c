#include "editing/Fill.h"

#include "editing/Guards.h"
#include "editing/PasteTargets.h"
#include "editing/RestoreBlock.h"
#include "model/BookTable.h"

namespace tally {
namespace {

bool RefusesParts(const Sheet& sheet, const Array<RefArea>& parts) {
    for (const RefArea& part : parts)
        if (RefuseLockedCell(sheet, part) || RefuseCutArray(sheet, part)) return true;
    return false;
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

bool FillBlock(const RefArea& source, const RefArea& target, bool record, i32 kind, const FillWay& way) {
    const Sheet* sheet = CurrentSheet();
    if (RefuseMetMerge(*sheet, target)) return false;
    Array<RefArea> parts;
    CellBlock block;
    if (!ListTargets(*sheet, target, parts) || RefusesParts(*sheet, parts)) return false;
    if (parts.IsEmpty()) return true;
    if (!CaptureBlock(block, sheet->book, sheet->index, source, BLOCK_BUT_COMMENTS)) return false;
    RestoreOrder order;
    order.block = &block;
    order.book = sheet->book;
    order.sheet = sheet->index;
    order.targets = parts.Span();
    // Each column of a part takes its own cell of the source, and each row.
    order.origin = &target;
    order.rowsBefore = way.rowsBefore;
    order.columnsBefore = way.columnsBefore;
    order.place = way.place;
    order.context = way.context;
    order.mask = BLOCK_VALIDATION | BLOCK_CONDITIONAL | BLOCK_HYPERLINKS;
    order.undoKind = record ? kind : UNDO_NONE;
    order.undoMask = BLOCK_NO_OBJECTS;
    const bool good = RestoreBlock(order);
    FreeBlock(block);
    return good;
}

bool FillDown(bool record) { return FillSelection(fillRows[0], record); }
bool FillRight(bool record) { return FillSelection(fillRows[1], record); }
bool FillUp(bool record) { return FillSelection(fillRows[2], record); }
bool FillLeft(bool record) { return FillSelection(fillRows[3], record); }

}  // namespace tally
