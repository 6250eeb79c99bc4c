#include "editing/PasteBlock.h"

#include <algorithm>

#include "editing/Clipboard.h"
#include "editing/PasteTargets.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

// Whether a paste puts a block that was cut in one new place on its sheet, where its old place is still empty.
bool MovesBlock(const PasteRequest& request, const ClipboardBlock& held, Sheet& sheet,
                const Array<RefArea>& targets) {
    const CellBlock& block = held.block;
    if (!held.fromCut || block.book != request.book || block.sheet != request.sheet) return false;
    if (request.mode != PASTE_ALL || request.operation != PASTE_NONE || request.transpose) return false;
    if (targets.Count() != 1 || targets[0] == block.area ||
        targets[0].lastRow - targets[0].firstRow != block.area.lastRow - block.area.firstRow ||
        targets[0].lastColumn - targets[0].firstColumn != block.area.lastColumn - block.area.firstColumn)
        return false;
    bool empty = true;
    WalkArea(sheet.cells, block.area, [&empty](u16, const CellRecord& cell) {
        empty = cell.calcState == CALC_BLANK && !cell.formula;
        return empty;
    });
    return empty;
}

}  // namespace

i32 PlainPasteMode() { return Clipboard().block.visibleOnly ? PASTE_VALUES_AND_FORMATS : PASTE_ALL; }

bool PasteBlock(const PasteRequest& request) {
    const ClipboardBlock& held = Clipboard();
    Sheet* sheet = SheetAt(request.book, request.sheet);
    if (!held.blockExists || !sheet || !(sheet->kind & SHEET_WITH_CELLS)) return false;
    u32 rows = held.block.area.lastRow - held.block.area.firstRow + 1u,
        columns = held.block.area.lastColumn - held.block.area.firstColumn + 1u;
    if (request.transpose) std::swap(rows, columns);
    Array<RefArea> targets;
    if (!ListTargets(*sheet, request.area, targets) || targets.IsEmpty() ||
        !FitTargets(*sheet, rows, columns, targets))
        return false;
    RestoreOrder order;
    order.block = &held.block;
    order.rowPlaces = held.rowPlaces.Span();
    order.columnPlaces = held.columnPlaces.Span();
    order.book = request.book;
    order.sheet = request.sheet;
    order.targets = targets.Span();
    order.mode = request.mode;
    order.operation = request.operation;
    order.skipBlanks = request.skipBlanks;
    order.transpose = request.transpose;
    order.isCut = held.fromCut;
    order.mask = MaskOfMode(request.mode);
    order.undoKind = request.undoKind;
    AreaMove move;
    if (MovesBlock(request, held, *sheet, targets)) {
        move = {request.book, request.sheet, held.block.area, targets[0].firstRow - held.block.area.firstRow,
                targets[0].firstColumn - held.block.area.firstColumn};
        order.move = &move;
    }
    if (!RestoreBlock(order)) return false;
    if (request.growSelection) GrowSelection(*sheet, targets);
    return true;
}

}  // namespace tally
