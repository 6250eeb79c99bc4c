#include "model/Carried.h"

#include <algorithm>

namespace tally {
namespace {

constexpr u64 MIX = 0x9E3779B97F4A7C15u;

u64 KeyOf(const RefArea& from, i32 rows, i32 columns) {
    u64 key = 0;
    for (const i32 part :
         {i32{from.firstRow}, i32{from.lastRow}, i32{from.firstColumn}, i32{from.lastColumn}, rows, columns}) {
        key = (key ^ static_cast<u32>(part)) * MIX;
        key ^= key >> 29;
    }
    return key;
}

u32 HashName(WideView name) {
    u32 hash = 2166136261u;
    for (const char16_t c : name) hash = (hash ^ c) * 16777619u;
    return hash;
}

// Most sheets stand where they were read.
const Sheet* SheetOfMark(const Workbook& book, const SheetMark& mark) {
    const std::ptrdiff_t place = &mark - book.sheetsRead.begin();
    if (place < static_cast<std::ptrdiff_t>(book.sheets.Count()) &&
        book.sheets[static_cast<u32>(place)]->serial == mark.serial)
        return book.sheets[static_cast<u32>(place)];
    for (const Sheet* sheet : book.sheets)
        if (sheet->serial == mark.serial) return sheet;
    return nullptr;
}

}  // namespace

void NoteMove(Sheet& sheet, const RefArea& from, i32 rowDelta, i32 columnDelta) {
    const RefArea target = {
        static_cast<u16>(from.firstRow + rowDelta), static_cast<u16>(from.lastRow + rowDelta),
        static_cast<u8>(from.firstColumn + columnDelta), static_cast<u8>(from.lastColumn + columnDelta)};
    CellMoves& moves = sheet.moves;
    if (!moves.list.IsEmpty() && moves.list.Last().what == KeyOf(target, -rowDelta, -columnDelta)) {
        moves.list.RemoveLast();
        return;
    }
    const CellMove move = {std::min(from.firstRow, target.firstRow),
                           std::min(from.firstColumn, target.firstColumn), KeyOf(from, rowDelta, columnDelta)};
    if (!moves.list.Append(move)) moves.uncounted = true;
}

bool HasMovedWithin(const Sheet& sheet, i32 lastRow, i32 lastColumn) {
    if (sheet.moves.uncounted) return true;
    return std::any_of(sheet.moves.list.begin(), sheet.moves.list.end(),
                       [&](const CellMove& move) { return move.row <= lastRow && move.column <= lastColumn; });
}

bool MarkSheetsRead(Workbook& book) {
    book.sheetsRead.Truncate(0);
    for (const Sheet* sheet : book.sheets)
        if (!book.sheetsRead.Append({sheet->serial, HashName(sheet->name)})) return false;
    return true;
}

bool SheetsWereRemoved(const Workbook& book) {
    return std::any_of(book.sheetsRead.begin(), book.sheetsRead.end(),
                       [&](const SheetMark& mark) { return !SheetOfMark(book, mark); });
}

bool SheetsWereRenamed(const Workbook& book) {
    return std::any_of(book.sheetsRead.begin(), book.sheetsRead.end(), [&](const SheetMark& mark) {
        const Sheet* sheet = SheetOfMark(book, mark);
        return sheet && HashName(sheet->name) != mark.nameHash;
    });
}

}  // namespace tally
