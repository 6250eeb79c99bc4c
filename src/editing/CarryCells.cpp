#include "editing/CarryCells.h"

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "editing/Clipboard.h"
#include "editing/Guards.h"
#include "editing/PasteBlock.h"
#include "editing/PasteTargets.h"
#include "editing/Undo.h"
#include "editing/WorkRows.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"

namespace tally {
namespace {

// Whether the target cuts an area that is not carried along.
bool Cuts(const RefArea& target, const RefArea& from, const RefArea& area) {
    return AreasMeet(target, area) && !AreaHoldsArea(target, area) && !AreaHoldsArea(from, area);
}

bool Refuse(u16 message) {
    ShowMessage(Message(message));
    return true;
}

// What the paste behind the cut would refuse, told before anything is cut.
bool RefusesMove(const Sheet& sheet, const RefArea& from, const RefArea& target) {
    if (RefuseLockedCell(sheet, from) || RefuseLockedCell(sheet, target)) return true;
    for (const ArrayEntry& entry : sheet.arrayFormulas)
        if (Cuts(target, from, entry.area)) return Refuse(MSG_PART_OF_ARRAY);
    for (const DataTable& table : sheet.dataTables)
        if (Cuts(target, from, table.area)) return Refuse(MSG_PART_OF_ARRAY);
    if (RefuseCutArray(sheet, from)) return true;
    for (const RefArea& merge : sheet.mergedAreas)
        if (Cuts(target, from, merge)) return Refuse(MSG_PART_OF_MERGE);
    return RefuseCutMerge(sheet, from);
}

bool Paste(const CarryRequest& request, i32 undoKind) {
    PasteRequest paste;
    paste.book = request.book;
    paste.sheet = request.sheet;
    paste.area = {static_cast<u16>(request.row), static_cast<u16>(request.row), static_cast<u8>(request.column),
                  static_cast<u8>(request.column)};
    paste.mode = PlainPasteMode();
    paste.growSelection = false;
    paste.undoKind = undoKind;
    return PasteBlock(paste);
}

// One record holds both steps: all between the two places.
bool Move(const CarryRequest& request) {
    const RefArea places[] = {request.from, CarriedArea(request)};
    if (!RecordBlock(UNDO_PASTE, request.book, request.sheet, UnionOf(places), BLOCK_ALL)) return RefuseSize();
    if (!CutCellsContinued(request.book, request.sheet, request.from)) {
        DropLastUndo();
        return false;
    }
    if (Paste(request, UNDO_CONTINUED)) return true;
    // What memory refuses even now can still be undone by the user.
    IgnoreFailure(UndoLast());
    return false;
}

}  // namespace

RefArea CarriedArea(const CarryRequest& request) {
    const RefArea& from = request.from;
    return {static_cast<u16>(request.row), static_cast<u16>(request.row + from.lastRow - from.firstRow),
            static_cast<u8>(request.column),
            static_cast<u8>(request.column + from.lastColumn - from.firstColumn)};
}

bool CoversContent(const CarryRequest& request) {
    Sheet* sheet = SheetAt(request.book, request.sheet);
    bool covers = false;
    if (!sheet) return false;
    WalkArea(sheet->cells, CarriedArea(request), [&](u16 row, const CellRecord& cell) {
        const bool carried = !request.copy && AreaHolds(request.from, row, cell.column);
        covers = !carried && (cell.formula || cell.calcState != CALC_BLANK);
        return !covers;
    });
    return covers;
}

bool RefuseCarry(const CarryRequest& request) {
    const Sheet* sheet = SheetAt(request.book, request.sheet);
    if (!sheet) return false;
    const RefArea target = CarriedArea(request);
    return request.copy ? RefuseEdit(*sheet, target) : RefusesMove(*sheet, request.from, target);
}

bool CarryCells(const CarryRequest& request) {
    const Sheet* sheet = SheetAt(request.book, request.sheet);
    if (!sheet || !(sheet->kind & SHEET_WITH_CELLS) || RefuseCarry(request)) return false;
    ClipboardBlock aside = SetClipboardAside();
    const bool good = request.copy
                          ? CopyCells(request.book, request.sheet, request.from) && Paste(request, UNDO_PASTE)
                          : Move(request);
    ReturnClipboard(std::move(aside));
    return good;
}

}  // namespace tally
