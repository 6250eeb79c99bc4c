#include "shell/grid/Sizes.h"

#include <algorithm>

#include "base/Number.h"
#include "display/DisplayText.h"
#include "editing/LineSizes.h"
#include "formula/FormulaText.h"
#include "formula/SheetCalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/grid/CellLook.h"
#include "shell/grid/CellPaint.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

// What measuring needs, at the screen's own scale whatever the zoom.
struct Fitter {
    const Workbook& book;
    Sheet& sheet;
    ScreenMetrics screen;
    Array<i32> lineHeights;  // by cell format, 0 not asked yet
};

bool StartFitter(Fitter& fitter) {
    Platform().getScreenMetrics(fitter.screen);
    fitter.screen.digitWidth = DigitWidth(fitter.book, fitter.screen);
    return fitter.lineHeights.Resize(fitter.book.cellFormats.Count());
}

FontHandle FontFor(const Fitter& fitter, u16 format) {
    return FontOfLook(fitter.book, ResolveCellFormat(fitter.book, format), nullptr, fitter.screen.logPixelsY);
}

i32 LineHeight(Fitter& fitter, u16 format) {
    i32 height = format < fitter.lineHeights.Count() ? fitter.lineHeights[format] : 0;
    if (height) return height;
    i32 width = 0;
    Fonts().textExtent(FontFor(fitter, format), u"0", width, height);
    if (format < fitter.lineHeights.Count()) fitter.lineHeights[format] = height;
    return height;
}

// Pixels that a cell wants of its row; 0 when it has no say.
i32 WantedPixels(Fitter& fitter, i32 row, const CellRecord& cell) {
    const RefArea* merge =
        fitter.sheet.mergedAreas.IsEmpty() ? nullptr : FindMerge(fitter.sheet, row, cell.column);
    if (merge && merge->firstRow != merge->lastRow) return 0;
    const i32 line = LineHeight(fitter, cell.format);
    const CellFormat& format = ResolveCellFormat(fitter.book, cell.format);
    if (merge || cell.value.type != VT_STRING || !(format.flags & FORMAT_WRAP)) return line + 1;
    const i32 width = MulDiv(fitter.screen.digitWidth, GetColumnWidth(fitter.sheet, cell.column), 256);
    if (width <= 0) return line + 1;
    return line * CountTextLines(FontFor(fitter, cell.format), TextOf(cell.value), width) + 1;
}

i32 WantedHeight(Fitter& fitter, const CellRow& row) {
    i32 pixels = 0;
    for (u32 i = 0; i < row.count; ++i) pixels = std::max(pixels, WantedPixels(fitter, row.row, row.cells[i]));
    const i32 height = MulDiv(pixels, 1440, std::max(1, fitter.screen.logPixelsY));
    return std::clamp<i32>(height, DefaultRowHeight(fitter.sheet), MAX_ROW_HEIGHT);
}

bool SameRow(const RowInfo& a, const RowInfo& b) {
    return a.flags == b.flags && a.format == b.format && (a.flags & ROW_DEFAULT_HEIGHT || a.height == b.height);
}

// ---- columns ------------------------------------------------------------------------------------------

bool ShownText(const Fitter& fitter, i32 row, const CellRecord& cell, WideText& out) {
    if (cell.formula && (fitter.sheet.viewFlags & VIEW_FORMULAS))
        return FormulaToText(fitter.sheet.book, cell.formula->tokens, row, cell.column, true, out);
    return DisplayText(fitter.book, cell.value, cell.format, out);
}

// Pixels of the longest line of a cell's text.
i32 TextPixels(const Fitter& fitter, u16 cellFormat, WideView text) {
    const FontHandle font = FontFor(fitter, cellFormat);
    i32 widest = 0;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(u'\n', at), text.size());
        i32 width = 0, height = 0;
        Fonts().textExtent(font, text.substr(at, end - at), width, height);
        widest = std::max(widest, width);
        at = end + 1;
    }
    return widest;
}

}  // namespace

bool FitRows(Sheet& sheet, const RefArea& area, bool automatic) {
    Fitter fitter{*BookAt(sheet.book), sheet, {}, {}};
    if (!StartFitter(fitter)) return false;
    const auto passes = [automatic](const RowInfo& info) {
        return automatic && (info.flags & (ROW_CUSTOM_HEIGHT | ROW_HIDDEN));
    };
    Array<RowInfo> changes;
    const auto change = [&](const RowInfo& old, i32 height) {
        RowInfo info = old;
        const bool plain = height == DefaultRowHeight(sheet);
        info.flags = static_cast<u16>((old.flags & (ROW_HIDDEN | ROW_KEPT)) | (plain ? ROW_DEFAULT_HEIGHT : 0));
        info.height = static_cast<u16>(height);
        return SameRow(old, info) || changes.Append(info);
    };
    // Rows with cells, and in between those that have a record only.
    u32 record = 0;
    while (record < sheet.rows.Count() && sheet.rows[record].row < area.firstRow) ++record;
    const auto bareRows = [&](i32 limit) {
        for (; record < sheet.rows.Count() && sheet.rows[record].row < limit; ++record)
            if (!passes(sheet.rows[record]) && !change(sheet.rows[record], DefaultRowHeight(sheet)))
                return false;
        return true;
    };
    const CellStore& store = sheet.cells;
    for (u32 slot = FindRowSlot(store, area.firstRow);
         slot < store.rows.Count() && store.rows[slot].row <= area.lastRow; ++slot) {
        const CellRow& row = store.rows[slot];
        if (!bareRows(row.row)) return false;
        if (record < sheet.rows.Count() && sheet.rows[record].row == row.row) ++record;
        const RowInfo old = RowInfoOf(sheet, row.row);
        if (!passes(old) && !change(old, WantedHeight(fitter, row))) return false;
    }
    if (!bareRows(area.lastRow + 1)) return false;
    return !changes.IsEmpty() && MergeRows(sheet, changes);
}

bool FitColumns(Sheet& sheet, const RefArea& area) {
    CalculateArea(sheet, area);
    Fitter fitter{*BookAt(sheet.book), sheet, {}, {}};
    if (!StartFitter(fitter)) return false;
    i32 widest[MAX_COLUMNS] = {};
    WideText text;
    WalkArea(sheet.cells, area, [&](u16 row, CellRecord& cell) {
        const RefArea* merge = sheet.mergedAreas.IsEmpty() ? nullptr : FindMerge(sheet, row, cell.column);
        if (merge && merge->firstColumn != merge->lastColumn) return true;
        text.Truncate(0);
        if (!ShownText(fitter, row, cell, text)) return false;
        if (!text.IsEmpty())
            widest[cell.column] = std::max(widest[cell.column], TextPixels(fitter, cell.format, text));
        return true;
    });
    constexpr i32 MARGIN = 3;  // what a text leaves free on both sides
    const i32 digit = std::max(1, fitter.screen.digitWidth * (sheet.viewFlags & VIEW_FORMULAS ? 2 : 1));
    return ChangeColumns(sheet, area, [&](ColumnInfo& info) {
        if (!widest[info.column] || (info.flags & COLUMN_HIDDEN)) return;
        const i64 width = ((i64{widest[info.column]} + MARGIN) * 256 + digit - 1) / digit;
        info.flags = static_cast<u16>(info.flags & COLUMN_OUTLINE);
        info.width = static_cast<u16>(std::min<i64>(width, MAX_COLUMN_WIDTH));
    });
}

void WantRowHeight(i32 book, i32 sheet, i32 row) {
    WantedRows& wanted = Shell().wantedRows;
    if (wanted.book != book || wanted.sheet != sheet) {
        FitWantedRows();
        wanted = {book, sheet, {static_cast<u16>(row), static_cast<u16>(row), 0, MAX_COLUMNS - 1}};
        return;
    }
    wanted.area.firstRow = static_cast<u16>(std::min<i32>(wanted.area.firstRow, row));
    wanted.area.lastRow = static_cast<u16>(std::max<i32>(wanted.area.lastRow, row));
}

void FitWantedRows() {
    const WantedRows rows = std::exchange(Shell().wantedRows, WantedRows());
    if (rows.book < 0) return;
    Sheet* sheet = SheetAt(rows.book, rows.sheet);
    if (!HasCells(sheet) || !FitRows(*sheet, rows.area, true)) return;
    if (sheet == CurrentSheet()) RefreshView();
}

}  // namespace tally
