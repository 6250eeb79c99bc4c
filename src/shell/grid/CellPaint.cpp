#include "shell/grid/CellPaint.h"

#include <algorithm>

#include "display/DisplayText.h"
#include "display/NumberFormatter.h"
#include "formula/FormulaText.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "shell/grid/BorderPaint.h"
#include "shell/grid/CellLook.h"
#include "shell/grid/GridMetrics.h"

namespace tally {
namespace {

constexpr u32 GRID_COLOUR = 0xC0C0C0;
constexpr u32 WHITE = 0xFFFFFF;

struct RowCell {
    bool merged = false;
    bool filled = false;   // its fill hides the grid lines
    bool spilled = false;  // no grid line at its right edge
};

// The condition of a cell that is painted; a null line has none.
const ConditionalCondition* ConditionAt(const CellsPaint& pane, const ShownLine* row, const ShownLine* column) {
    return row && column && pane.conditionAt ? pane.conditionAt(*pane.sheet, *row, *column) : nullptr;
}

// Where a line of so many pixels is drawn that ends with the cell.
i32 LinePlace(i32 end, i32 pixels) { return end - pixels + pixels / 2; }

const ShownLine* LineOf(std::span<const ShownLine> lines, i32 index) {
    const auto found = std::lower_bound(lines.begin(), lines.end(), index,
                                        [](const ShownLine& line, i32 wanted) { return line.index < wanted; });
    return found != lines.end() && found->index == index ? &*found : nullptr;
}

bool IsBlank(const CellRecord* cell) { return !cell || (!cell->formula && cell->calcState == CALC_BLANK); }

const RefArea* MergeAt(const CellsPaint& pane, i32 row, i32 column) {
    for (const RefArea& merge : pane.merges)
        if (AreaHolds(merge, row, column)) return &merge;
    return nullptr;
}

bool IsInverted(const CellsPaint& pane, i32 row, i32 column) {
    if (!pane.selection || IsOneCell(*pane.selection) || !AreaHolds(*pane.selection, row, column)) return false;
    const SheetView& view = pane.sheet->view;
    if (const RefArea* merge = MergeAt(pane, view.activeRow, view.activeColumn))
        return !AreaHolds(*merge, row, column);
    return row != view.activeRow || column != view.activeColumn;
}

void PaintBackground(const CellsPaint& pane, const PixelRect& rect, const CellFormat& format, bool inverted) {
    const u32 flip = inverted ? WHITE : 0;
    const u32 back = (format.pattern ? PaletteColour(*pane.book, format.backColour, WHITE) : WHITE) ^ flip;
    const u32 fore = PaletteColour(*pane.book, format.patternColour, 0) ^ flip;
    if (format.pattern >= BRUSH_FIRST_PATTERN && format.pattern <= BRUSH_LAST_PATTERN)
        FillRect(pane.target, rect, {.colour = fore, .pattern = format.pattern, .backColour = back});
    else FillRect(pane.target, rect, back);  // a solid cell shows its back colour
}

// The pixel at which a column begins, also one that lies left of what the pane shows.
i32 ColumnPixel(const CellsPaint& pane, i32 column) {
    const ShownLine& first = pane.columns.front();
    const ShownLine& last = pane.columns.back();
    i32 place = column < first.index ? first.start : last.end;
    for (i32 i = first.index - 1; i >= column && column < first.index; --i)
        place -= ColumnPixels(pane.metrics, *pane.sheet, i);
    if (column < first.index) return place;
    const auto found = std::lower_bound(pane.columns.begin(), pane.columns.end(), column,
                                        [](const ShownLine& line, i32 wanted) { return line.index < wanted; });
    if (found != pane.columns.end()) return found->start;
    for (i32 i = last.index + 1; i < column; ++i) place += ColumnPixels(pane.metrics, *pane.sheet, i);
    return place;
}

i32 MeasureText(const void* context, WideView text) {
    i32 width = 0, height = 0;
    Fonts().textExtent(*static_cast<const FontHandle*>(context), text, width, height);
    return width;
}

// A cell's text, measured and ready to paint into `width` pixels. False when it shows nothing.
bool PrepareText(const CellsPaint& pane, i32 row, const CellRecord& cell, const ConditionalCondition* condition,
                 i32 width, WideText& room, CellText& out) {
    const bool formulas = (pane.sheet->viewFlags & VIEW_FORMULAS) != 0 && cell.formula;
    out.format = &ResolveCellFormat(*pane.book, cell.format);
    out.valueType = formulas ? u16{VT_STRING} : cell.value.type;
    out.font = FontOfLook(*pane.book, *out.format, condition, pane.metrics.dpiY);
    const TextMeasure measure{MeasureText, &out.font};
    u16 sectionColour = AUTOMATIC_COLOUR;
    if (formulas) {
        if (!FormulaToText(pane.sheet->book, cell.formula->tokens, row, cell.column, true, room)) return false;
    } else if (cell.value.type == VT_NUMBER) {
        if (!FormatNumber(cell.value.number, GetNumberFormatText(*pane.book, out.format->numberFormat),
                          &measure, width - pane.metrics.lineX, pane.book->date1904 != 0, &sectionColour, room))
            return false;
    } else if (!DisplayText(*pane.book, cell.value, cell.format, room)) {
        return false;
    }
    out.marginX = pane.metrics.lineX;
    out.marginY = pane.metrics.lineY;
    out.text = room;
    if (out.text.empty()) return false;
    Fonts().textExtent(out.font, out.text, out.width, out.height);
    const u16 fontColour = ColourOfLook(*pane.book, *out.format, condition);
    out.colour = PaletteColour(*pane.book, sectionColour != AUTOMATIC_COLOUR ? sectionColour : fontColour, 0);
    return true;
}

bool MaySpill(const CellText& text) {
    return text.valueType == VT_STRING && !(text.format->flags & FORMAT_WRAP) && text.format->rotation != 255 &&
           (text.format->horizontal <= 3 || text.format->horizontal == 6);
}

// How far a text runs over its neighbours: first and last column that it may use.
void SpillRange(const CellsPaint& pane, i32 row, i32 column, const CellText& text, i32& first, i32& last) {
    first = last = column;
    if (!MaySpill(text)) return;
    const u8 alignment = EffectiveAlignment(*text.format, text.valueType);
    i32 room = ColumnPixels(pane.metrics, *pane.sheet, column);
    if (text.format->horizontal != 6 && text.width + 2 <= room) return;
    const auto empty = [&](i32 at) {
        return IsBlank(GetCell(pane.sheet->cells, row, at)) && !MergeAt(pane, row, at);
    };
    const i32 spare = alignment == 2 || alignment == 6 ? (text.width + 3 - room) / 2 : text.width + 2 - room;
    if (alignment == 6) {
        while (last + 1 < MAX_COLUMNS && empty(last + 1) && GetCell(pane.sheet->cells, row, last + 1) &&
               ResolveCellFormat(*pane.book, GetCellFormat(*pane.sheet, row, last + 1)).horizontal == 6)
            ++last;
        return;
    }
    for (i32 need = spare; alignment != 3 && need > 0 && last + 1 < MAX_COLUMNS && empty(last + 1); ++last)
        need -= ColumnPixels(pane.metrics, *pane.sheet, last + 1);
    for (i32 need = spare; alignment != 1 && need > 0 && first > 0 && empty(first - 1); --first)
        need -= ColumnPixels(pane.metrics, *pane.sheet, first - 1);
}

struct RowPainter {
    CellsPaint& pane;
    const ShownLine& line;
    std::span<RowCell> cells;  // beside pane.columns
};

void PaintRowBackground(RowPainter& painter) {
    CellsPaint& pane = painter.pane;
    for (std::size_t i = 0; i < pane.columns.size(); ++i) {
        const ShownLine& column = pane.columns[i];
        RowCell& cell = painter.cells[i];
        cell = RowCell();
        cell.merged = MergeAt(pane, painter.line.index, column.index) != nullptr;
        if (cell.merged) continue;
        const u16 format = GetCellFormat(*pane.sheet, painter.line.index, column.index);
        const CellFormat look =
            FillOf(ResolveCellFormat(*pane.book, format), ConditionAt(pane, &painter.line, &column));
        cell.filled = look.pattern != 0;
        PaintBackground(pane, {column.start, painter.line.start, column.end, painter.line.end}, look,
                        IsInverted(pane, painter.line.index, column.index));
    }
}

// Paints one cell's text over the columns that it may use.
void PaintRowText(RowPainter& painter, CellRecord& cell) {
    CellsPaint& pane = painter.pane;
    const i32 row = painter.line.index;
    if (MergeAt(pane, row, cell.column) || !GetColumnWidth(*pane.sheet, cell.column)) return;
    WideText room;
    CellText text;
    const ConditionalCondition* condition = ConditionAt(pane, &painter.line, LineOf(pane.columns, cell.column));
    if (!PrepareText(pane, row, cell, condition, ColumnPixels(pane.metrics, *pane.sheet, cell.column), room,
                     text))
        return;
    i32 first = 0, last = 0;
    SpillRange(pane, row, cell.column, text, first, last);
    if (last < pane.columns.front().index || first > pane.columns.back().index) return;
    const i32 clipLeft = ColumnPixel(pane, first), clipRight = ColumnPixel(pane, last + 1);
    PixelRect home{ColumnPixel(pane, cell.column), painter.line.start, 0, painter.line.end};
    home.right = home.left + ColumnPixels(pane.metrics, *pane.sheet, cell.column);
    if (text.format->horizontal == 6) home.right = clipRight;
    for (std::size_t i = 0; i < pane.columns.size(); ++i) {
        if (pane.columns[i].index >= first && pane.columns[i].index < last) painter.cells[i].spilled = true;
    }
    const u32 flip = IsInverted(pane, row, cell.column) ? WHITE : 0;
    text.colour ^= flip;
    const PixelRect clip = IntersectRects(
        {clipLeft, painter.line.start, clipRight - pane.metrics.lineX, painter.line.end - pane.metrics.lineY},
        pane.clip);
    if (!IsEmptyRect(clip)) PaintCellText(pane.target, home, clip, text);
}

// The cells of a row whose text can be seen: those shown, and the nearest with content on either side.
void PaintRowTexts(RowPainter& painter) {
    CellsPaint& pane = painter.pane;
    CellStore& store = pane.sheet->cells;
    const u32 slot = FindRowSlot(store, painter.line.index);
    if (slot >= store.rows.Count() || store.rows[slot].row != painter.line.index) return;
    CellRow& row = store.rows[slot];
    u32 first = FindInRow(row, pane.columns.front().index);
    while (first > 0 && IsBlank(&row.cells[first - 1])) --first;
    if (first > 0) --first;
    for (u32 i = first; i < row.count; ++i) {
        CellRecord& cell = row.cells[i];
        if (IsBlank(&cell)) continue;
        PaintRowText(painter, cell);
        if (cell.column > pane.columns.back().index) return;
    }
}

void PaintRowGrid(RowPainter& painter) {
    const CellsPaint& pane = painter.pane;
    const GridMetrics& metrics = pane.metrics;
    if (!(pane.sheet->viewFlags & VIEW_GRIDLINES)) return;
    for (std::size_t i = 0; i < pane.columns.size(); ++i) {
        const ShownLine& column = pane.columns[i];
        const RowCell& cell = painter.cells[i];
        if (cell.merged || cell.filled) continue;
        const i32 bottom = LinePlace(painter.line.end, metrics.lineY),
                  right = LinePlace(column.end, metrics.lineX);
        DrawLine(pane.target, column.start, bottom, column.end, bottom,
                 {GRID_COLOUR, PEN_SOLID, metrics.lineY});
        if (!cell.spilled)
            DrawLine(pane.target, right, painter.line.start, right, painter.line.end - metrics.lineY,
                     {GRID_COLOUR, PEN_SOLID, metrics.lineX});
    }
}

// The whole rectangle of a merge, as far as it lies beyond the pane too.
PixelRect MergePixels(const CellsPaint& pane, const RefArea& merge) {
    PixelRect rect;
    rect.left = ColumnPixel(pane, merge.firstColumn);
    rect.right = ColumnPixel(pane, merge.lastColumn + 1);
    const ShownLine& first = pane.rows.front();
    rect.top = first.start;
    for (i32 i = first.index - 1; i >= merge.firstRow; --i) rect.top -= RowPixels(pane.metrics, *pane.sheet, i);
    for (const ShownLine& line : pane.rows)
        if (line.index < merge.firstRow) rect.top = line.end;
    rect.bottom = rect.top;
    // Rows below the pane are not seen, so that a few screens of them are enough.
    const i32 enough = pane.clip.bottom + 4096 * pane.metrics.lineY;
    for (i32 i = merge.firstRow; i <= merge.lastRow && rect.bottom < enough; ++i)
        rect.bottom += RowPixels(pane.metrics, *pane.sheet, i);
    return rect;
}

void PaintMerge(CellsPaint& pane, u32 index) {
    const RefArea& merge = pane.merges[index];
    const ConditionalCondition* condition =
        pane.conditionOfMerge ? pane.conditionOfMerge(*pane.sheet, merge) : nullptr;
    const PixelRect rect = MergePixels(pane, merge);
    const CellFormat format =
        FillOf(ResolveCellFormat(*pane.book, GetCellFormat(*pane.sheet, merge.firstRow, merge.firstColumn)),
               condition);
    const bool inverted = IsInverted(pane, merge.firstRow, merge.firstColumn);
    const PixelRect clip = IntersectRects(rect, pane.clip);
    if (IsEmptyRect(clip)) return;
    PaintBackground(pane, rect, format, inverted);
    if ((pane.sheet->viewFlags & VIEW_GRIDLINES) && !format.pattern) {
        const i32 bottom = LinePlace(rect.bottom, pane.metrics.lineY);
        const i32 right = LinePlace(rect.right, pane.metrics.lineX);
        DrawLine(pane.target, rect.left, bottom, rect.right, bottom,
                 {GRID_COLOUR, PEN_SOLID, pane.metrics.lineY});
        DrawLine(pane.target, right, rect.top, right, rect.bottom,
                 {GRID_COLOUR, PEN_SOLID, pane.metrics.lineX});
    }
    CellRecord* cell = GetCell(pane.sheet->cells, merge.firstRow, merge.firstColumn);
    WideText room;
    CellText text;
    if (!cell || !PrepareText(pane, merge.firstRow, *cell, condition, rect.right - rect.left, room, text))
        return;
    if (inverted) text.colour ^= WHITE;
    PaintCellText(pane.target, rect, clip, text);
}

void PaintPaneBorders(const CellsPaint& pane) {
    for (const ShownLine& row : pane.rows) {
        const ShownLine* below = LineOf(pane.rows, row.index + 1);
        for (const ShownLine& column : pane.columns) {
            const BorderConditions conditions{
                ConditionAt(pane, &row, &column),
                ConditionAt(pane, &row,
                            pane.sheet->conditionalFormats.IsEmpty() ? nullptr
                                                                     : LineOf(pane.columns, column.index + 1)),
                ConditionAt(pane, below, &column)};
            PaintCellBorders(pane.target, pane.metrics, *pane.book, *pane.sheet, row.index, column.index,
                             {column.start, row.start, column.end, row.end},
                             MergeAt(pane, row.index, column.index), conditions);
        }
    }
}

}  // namespace

void PaintCellArea(CellsPaint& pane) {
    if (pane.rows.empty() || pane.columns.empty() || pane.columns.size() > MAX_COLUMNS) return;
    const RefArea seen{static_cast<u16>(pane.rows.front().index), static_cast<u16>(pane.rows.back().index),
                       static_cast<u8>(pane.columns.front().index), static_cast<u8>(pane.columns.back().index)};
    pane.merges.Truncate(0);
    for (const RefArea& merge : pane.sheet->mergedAreas)
        if (AreasMeet(merge, seen) && !pane.merges.Append(merge)) return;
    const PixelRect former = PushClip(pane.target, pane.clip);
    RowCell cells[MAX_COLUMNS];
    for (const ShownLine& line : pane.rows) {
        RowPainter painter{pane, line, std::span(cells, pane.columns.size())};
        PaintRowBackground(painter);
        PaintRowTexts(painter);
        PaintRowGrid(painter);
    }
    for (u32 i = 0; i < pane.merges.Count(); ++i) PaintMerge(pane, i);
    PaintPaneBorders(pane);
    PopClip(pane.target, former);
}

}  // namespace tally
