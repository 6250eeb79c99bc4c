#include "editing/ViewOperations.h"

#include <algorithm>

#include "base/MessageTable.h"
#include "base/Platform.h"
#include "editing/SheetOperations.h"
#include "editing/Undo.h"
#include "model/AreaList.h"
#include "model/BookTable.h"

namespace tally {
namespace {

// A sheet with cells, or null.
Sheet* GridOf(i32 book, i32 sheet) {
    Sheet* found = SheetAt(book, sheet);
    return found && (found->kind & SHEET_WITH_CELLS) ? found : nullptr;
}

void Record(const Sheet& sheet, i32 kind) {
    IgnoreFailure(RecordUndo(sheet.book, sheet.index, kind));
    BookAt(sheet.book)->dirty = 1;
}

struct FlagKind {
    u16 flag;
    i32 kind;
};
constexpr FlagKind flagKinds[] = {
    {VIEW_GRIDLINES, UNDO_GRIDLINES}, {VIEW_HEADERS, UNDO_HEADERS}, {VIEW_FORMULAS, UNDO_SHOW_FORMULAS}};

// The published verifier of 16 bits over the password's narrow characters; 0 without a password.
bool PasswordHash(const Workbook& book, WideView password, u16& hash) {
    Array<u8> bytes;
    hash = 0;
    if (password.empty()) return true;
    if (!Platform().wideCharToMultiByte(book.codePage, password, bytes) &&
        !Platform().wideCharToMultiByte(Platform().getACP(), password, bytes))
        return false;
    const auto turn = [](u32 h) { return (h >> 14 & 1) | (h << 1 & 0x7FFF); };
    u32 h = 0;
    for (u32 i = bytes.Count(); i-- > 0;) h = turn(h) ^ bytes[i];
    hash = static_cast<u16>(turn(h) ^ bytes.Count() ^ 0xCE4B);
    return true;
}

u32& BarFlag(Workbook& book, BookBar bar) {
    return bar == BAR_VERTICAL_SCROLL     ? book.showVerticalScrollBar
           : bar == BAR_HORIZONTAL_SCROLL ? book.showHorizontalScrollBar
                                          : book.showSheetTabs;
}

}  // namespace

bool FreezePanes(const FreezeRequest& request) {
    Sheet* sheet = GridOf(request.book, request.sheet);
    if (!sheet || (sheet->viewFlags & VIEW_FROZEN)) return false;
    SheetView& view = sheet->view;
    i32 row = std::clamp(request.row, 0, MAX_ROWS - 1), column = std::clamp(request.column, 0, MAX_COLUMNS - 1);
    if (const RefArea* merge = FindMerge(*sheet, row, column)) {
        row = merge->firstRow;
        column = merge->firstColumn;
    }
    if (row == view.firstRow && column == view.firstColumn) return false;
    Record(*sheet, UNDO_FREEZE);
    sheet->viewFlags |= VIEW_FROZEN;
    view.splitRow = static_cast<u16>(row > view.firstRow ? row : 0);
    view.splitColumn = static_cast<u8>(column > view.firstColumn ? column : 0);
    view.frozenFirstRow = view.splitRow == view.firstRow ? u16{0} : view.firstRow;
    view.frozenFirstColumn = view.splitColumn == view.firstColumn ? u8{0} : view.firstColumn;
    view.firstRow = static_cast<u16>(row);
    view.firstColumn = static_cast<u8>(column);
    return true;
}

bool UnfreezePanes(i32 book, i32 sheetIndex) {
    Sheet* sheet = GridOf(book, sheetIndex);
    if (!sheet || !(sheet->viewFlags & VIEW_FROZEN)) return false;
    Record(*sheet, UNDO_UNFREEZE);
    SheetView& view = sheet->view;
    sheet->viewFlags &= static_cast<u16>(~VIEW_FROZEN);
    view.firstRow = view.frozenFirstRow;
    view.firstColumn = view.frozenFirstColumn;
    view.frozenFirstRow = view.splitRow = 0;
    view.frozenFirstColumn = view.splitColumn = 0;
    return true;
}

bool SetZoom(i32 book, i32 sheetIndex, i32 percent) {
    Sheet* sheet = GridOf(book, sheetIndex);
    if (!sheet || percent < MIN_ZOOM || percent > MAX_ZOOM) return false;
    Record(*sheet, UNDO_ZOOM);
    sheet->zoomPercent = percent;
    return true;
}

bool SetViewFlag(const ViewFlagRequest& request) {
    Sheet* sheet = GridOf(request.book, request.sheet);
    for (const FlagKind& row : flagKinds) {
        if (!sheet || row.flag != request.flag) continue;
        Record(*sheet, row.kind);
        sheet->viewFlags =
            static_cast<u16>(request.on ? sheet->viewFlags | row.flag : sheet->viewFlags & ~row.flag);
        return true;
    }
    return false;
}

void ShowBookBar(i32 book, BookBar bar, bool shown) {
    Workbook* found = BookAt(book);
    if (!found) return;
    BarFlag(*found, bar) = shown;
    found->dirty = 1;
}

bool IsBookBarShown(const Workbook& book, BookBar bar) {
    return BarFlag(const_cast<Workbook&>(book), bar) != 0;
}

u16 SheetNameFault(i32 book, i32 sheet, WideView name) {
    if (name.empty() || name.size() > static_cast<std::size_t>(MAX_SHEET_NAME)) return MSG_NAME_LENGTH;
    if (name.find_first_of(u"\\/?*[]:") != WideView::npos) return MSG_NAME_CHARACTERS;
    const i32 other = FindSheet(book, name);
    return other >= 0 && other != sheet ? u16{MSG_NAME_NOT_UNIQUE} : u16{0};
}

bool NameSheet(i32 book, i32 sheetIndex, WideView name) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    if (!sheet || SheetNameFault(book, sheetIndex, name)) return false;
    const bool recorded = RecordUndo(book, sheetIndex, UNDO_RENAME_SHEET);
    if (!RenameSheet(*sheet, name)) {
        if (recorded) DropLastUndo();
        return false;
    }
    BookAt(book)->dirty = 1;
    return true;
}

bool HideSheet(i32 book, i32 sheetIndex) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    Workbook* owner = BookAt(book);
    if (!sheet || sheet->hidden) return false;
    const i32 current = owner->currentSheet;
    owner->currentSheet = sheetIndex;
    i32 next = NextSheet(book);
    if (next == sheetIndex) next = PreviousSheet(book);
    owner->currentSheet = current;
    if (next == sheetIndex) return false;
    Record(*sheet, UNDO_HIDE_SHEET);
    sheet->hidden = 1;
    if (current == sheetIndex) owner->currentSheet = next;
    return true;
}

bool ShowSheet(i32 book, i32 sheetIndex) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    if (!sheet || !sheet->hidden || sheet->kind == SHEET_MODULE) return false;
    Record(*sheet, UNDO_SHOW_SHEET);
    sheet->hidden = 0;
    BookAt(book)->currentSheet = sheetIndex;
    return true;
}

bool ProtectSheet(const ProtectRequest& request) {
    Sheet* sheet = SheetAt(request.book, request.sheet);
    u16 hash = 0;
    if (!sheet || !PasswordHash(*BookAt(request.book), request.password, hash)) return false;
    const bool is = (sheet->viewFlags & VIEW_PROTECTED) != 0;
    if (is == request.on) return true;
    if (is && sheet->passwordHash && sheet->passwordHash != hash) return false;
    Record(*sheet, UNDO_PROTECT);
    sheet->viewFlags = static_cast<u16>(sheet->viewFlags ^ VIEW_PROTECTED);
    sheet->passwordHash = request.on ? hash : u16{0};
    return true;
}

bool SetTabColour(i32 book, i32 sheetIndex, u8 colour) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    if (!sheet || (colour && (colour < FIRST_TAB_COLOUR || colour > LAST_TAB_COLOUR))) return false;
    if (sheet->tabColour == colour) return true;
    Record(*sheet, UNDO_TAB_COLOUR);
    sheet->tabColour = colour;
    return true;
}

bool SetHyperlink(const HyperlinkRequest& request) {
    Sheet* sheet = GridOf(request.book, request.sheet);
    Hyperlink fresh;
    fresh.area = request.area;
    if (!sheet || !fresh.target.Assign(request.target) || !fresh.location.Assign(request.location) ||
        !sheet->hyperlinks.Reserve(std::size_t{sheet->hyperlinks.Count()} + 1))
        return false;
    IgnoreFailure(RecordBlock(UNDO_HYPERLINK, request.book, request.sheet, request.area, BLOCK_HYPERLINKS));
    for (u32 i = sheet->hyperlinks.Count(); i-- > 0;)
        if (AreaHoldsArea(request.area, sheet->hyperlinks[i].area)) sheet->hyperlinks.RemoveAt(i);
    if (!fresh.target.IsEmpty() || !fresh.location.IsEmpty())
        IgnoreFailure(sheet->hyperlinks.Append(std::move(fresh)));
    BookAt(request.book)->dirty = 1;
    return true;
}

}  // namespace tally
