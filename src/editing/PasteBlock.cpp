#include "editing/PasteBlock.h"

#include <algorithm>

#include "editing/Clipboard.h"
#include "editing/PasteTargets.h"
#include "model/BookTable.h"

namespace tally {

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
    if (!RestoreBlock(order)) return false;
    if (request.growSelection) GrowSelection(*sheet, targets);
    return true;
}

}  // namespace tally
