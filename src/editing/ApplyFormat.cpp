#include "editing/ApplyFormat.h"

#include "base/MessageTable.h"
#include "editing/Guards.h"
#include "editing/Undo.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr u16 BOLD_WEIGHT = 400;  // above it a font is bold

bool AnyFontField(const FormatRequest& request) {
    return request.bold.present || request.italic.present || request.underline.present ||
           request.strikeout.present || request.fontSize.present || request.fontColour.present;
}

bool Chosen(const FormatField& field, bool old) { return field.present ? field.value != 0 : old; }

void SetFlag(u16& flags, u16 flag, const FormatField& field) {
    if (field.present) flags = static_cast<u16>(field.value ? flags | flag : flags & ~flag);
}

bool ApplyFont(Workbook& book, const FormatRequest& request, u16& index) {
    const FontRecord old = ResolveFont(book, index);
    const u16 height = request.fontSize.present ? static_cast<u16>(request.fontSize.value) : old.height;
    const u16 colour = request.fontColour.present ? static_cast<u16>(request.fontColour.value) : old.colour;
    return FindOrAddFont(book, WideView(old.faceName), Chosen(request.bold, old.weight > BOLD_WEIGHT),
                         Chosen(request.italic, (old.attributes & FONT_ITALIC) != 0),
                         Chosen(request.underline, old.underline != 0),
                         Chosen(request.strikeout, (old.attributes & FONT_STRIKEOUT) != 0), height, colour,
                         index);
}

// Many cells share a format, so that each is worked out once.
struct Applied {
    Workbook& book;
    const FormatRequest& request;
    Array<i32> indexes;  // by the old index, -1 not known yet
};

bool NewFormat(Applied& applied, u16 old, u16& index) {
    const bool listed = old < applied.indexes.Count();
    if (listed && applied.indexes[old] >= 0) {
        index = static_cast<u16>(applied.indexes[old]);
        return true;
    }
    if (!ApplyToFormat(applied.book, old, applied.request, index)) return false;
    if (listed) applied.indexes[old] = index;
    return true;
}

bool FormatColumns(Sheet& sheet, const RefArea& area, Applied& applied) {
    bool good = true;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        ColumnInfo info;
        info.column = static_cast<u8>(column);
        info.width = GetColumnInfo(sheet.columns, column, info.flags, info.format);
        good = NewFormat(applied, info.format, info.format) && SetColumnInfo(sheet.columns, info) && good;
    }
    WalkArea(sheet.cells, area, [&](u16, CellRecord& cell) {
        good = NewFormat(applied, cell.format, cell.format) && good;
        return true;
    });
    return good;
}

bool FormatCell(Sheet& sheet, i32 row, i32 column, Applied& applied) {
    u16 format = GetCellFormat(sheet, row, column);
    if (!NewFormat(applied, format, format)) return false;
    CellRecord* cell = PutCell(sheet.cells, row, column);
    if (cell) cell->format = format;
    return cell != nullptr;
}

}  // namespace

bool ApplyToFormat(Workbook& book, u16 index, const FormatRequest& request, u16& newIndex) {
    CellFormat format = ResolveCellFormat(book, index);
    if (request.numberFormat.present) format.numberFormat = static_cast<u16>(request.numberFormat.value);
    if (request.horizontal.present) format.horizontal = static_cast<u8>(request.horizontal.value);
    SetFlag(format.flags, FORMAT_WRAP, request.wrap);
    if (request.vertical.present) format.vertical = static_cast<u8>(request.vertical.value);
    if (request.rotation.present) format.rotation = static_cast<u8>(request.rotation.value);
    if (AnyFontField(request) && !ApplyFont(book, request, format.font)) return false;
    SetFlag(format.flags, FORMAT_LOCKED, request.locked);
    SetFlag(format.flags, FORMAT_HIDDEN, request.hidden);
    return FindOrAddCellFormat(book, format, newIndex);
}

bool ApplyFormat(Sheet& sheet, const RefArea& area, const FormatRequest& request) {
    Workbook& book = *BookAt(sheet.book);
    Applied applied{book, request, {}};
    // Without room for the list each cell's format is looked for.
    if (applied.indexes.Resize(book.cellFormats.Count()))
        for (i32& index : applied.indexes) index = -1;
    bool good = true;
    if (area.firstRow == 0 && area.lastRow == MAX_ROWS - 1) {
        good = FormatColumns(sheet, area, applied);
    } else {
        for (i32 row = area.firstRow; row <= area.lastRow; ++row)
            for (i32 column = area.firstColumn; column <= area.lastColumn; ++column)
                good = FormatCell(sheet, row, column, applied) && good;
    }
    book.dirty = 1;
    if (request.numberFormat.present || request.locked.present) IgnoreFailure(MarkVolatileCells());
    return good;
}

bool FormatArea(i32 book, i32 sheetIndex, const RefArea& area, const FormatRequest& request) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    if (!sheet || RefuseLockedCell(*sheet, area)) return false;
    const bool wholeColumns = area.firstRow == 0 && area.lastRow == MAX_ROWS - 1;
    const i64 cells = i64{area.lastRow - area.firstRow + 1} * (area.lastColumn - area.firstColumn + 1);
    if (!wholeColumns && cells > MAX_FORMATTED_CELLS) {
        ShowMessage(Message(MSG_OUT_OF_MEMORY));
        return false;
    }
    // Cells and columns with their formats, and the heights that fonts may change.
    IgnoreFailure(RecordBlock(UNDO_CELL_FORMAT, book, sheetIndex, area, BLOCK_CELLS | BLOCK_COLUMNS));
    // A cell that memory has no format for keeps its own.
    IgnoreFailure(ApplyFormat(*sheet, area, request));
    return true;
}

}  // namespace tally
