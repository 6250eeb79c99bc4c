// Samples of borders, fonts and fills.

#include <algorithm>
#include <cstdlib>

#include "base/MessageTable.h"
#include "base/Number.h"
#include "model/BookTable.h"
#include "model/Formats.h"
#include "shell/dialogs/Pickers.h"
#include "shell/grid/BorderPaint.h"

namespace tally {
namespace {

constexpr u32 INK = 0x000000, PAPER = 0xFFFFFF, FRAME = 0x808080, DIM = 0xD0D0D0;
constexpr i32 EXEMPLAR_MARGIN = 14;

u32 ColourOf(i32 book, i32 index, u32 automatic) {
    const Workbook* workbook = BookAt(book);
    return workbook && index >= 0 ? PaletteColour(*workbook, static_cast<u16>(index), automatic) : automatic;
}

// The six lines of an exemplar, where each stands.
struct ExemplarRow {
    EdgeField FormatRequest::*line;
    bool horizontal;
    i32 half;  // 0 first edge, 1 in the middle, 2 last edge
};
constexpr ExemplarRow exemplarLines[] = {
    {&FormatRequest::innerHorizontal, true, 1}, {&FormatRequest::innerVertical, false, 1},
    {&FormatRequest::topEdge, true, 0},         {&FormatRequest::leftEdge, false, 0},
    {&FormatRequest::bottomEdge, true, 2},      {&FormatRequest::rightEdge, false, 2},
};

bool IsOffered(const ExemplarRow& row, bool rows, bool columns) {
    return row.half != 1 || (row.horizontal ? rows : columns);
}

PixelRect CellsOf(const PixelRect& rect) {
    return {rect.left + EXEMPLAR_MARGIN, rect.top + EXEMPLAR_MARGIN, rect.right - EXEMPLAR_MARGIN,
            rect.bottom - EXEMPLAR_MARGIN};
}

// The line's place across its direction.
i32 LinePlace(const PixelRect& cells, const ExemplarRow& row) {
    const i32 first = row.horizontal ? cells.top : cells.left,
              last = row.horizontal ? cells.bottom : cells.right;
    return first + (last - first) * row.half / 2;
}

void PaintPaper(DrawTarget& target, const PixelRect& rect) {
    FillRect(target, rect, PAPER);
    DrawShape(target, {SHAPE_RECTANGLE, rect, {}, {}}, {FRAME, PEN_SOLID, 1, 1}, NO_BRUSH);
}

}  // namespace

void PaintBorderExemplar(DrawTarget& target, const PixelRect& rect, const FormatRequest& look, bool rows,
                         bool columns, i32 book) {
    PaintPaper(target, rect);
    const PixelRect cells = CellsOf(rect);
    for (const ExemplarRow& row : exemplarLines) {
        if (!IsOffered(row, rows, columns)) continue;
        const EdgeField& line = look.*row.line;
        const i32 from = row.horizontal ? cells.left : cells.top,
                  to = row.horizontal ? cells.right : cells.bottom;
        // What the cells do not agree in is a broad grey line.
        if (!line.present) PaintBorderLine(target, row.horizontal, 1, LinePlace(cells, row), from, to, 5, DIM);
        else if (line.style)
            PaintBorderLine(target, row.horizontal, 1, LinePlace(cells, row), from, to + 1, line.style,
                            ColourOf(book, line.colour, INK));
    }
}

EdgeField FormatRequest::*ExemplarLine(const PixelRect& rect, i32 x, i32 y, bool rows, bool columns) {
    const PixelRect cells = CellsOf(rect);
    EdgeField FormatRequest::*nearest = nullptr;
    i32 best = EXEMPLAR_MARGIN;
    for (const ExemplarRow& row : exemplarLines) {
        const i32 distance = std::abs((row.horizontal ? y : x) - LinePlace(cells, row));
        const bool along =
            row.horizontal ? x >= cells.left && x <= cells.right : y >= cells.top && y <= cells.bottom;
        if (!IsOffered(row, rows, columns) || !along || distance >= best) continue;
        best = distance;
        nearest = row.line;
    }
    return nearest;
}

void PaintFontPreview(DrawTarget& target, const PixelRect& rect, const FormatRequest& look, i32 book) {
    PaintPaper(target, rect);
    const Workbook* workbook = BookAt(book);
    const FontRecord plain = workbook ? ResolveFont(*workbook, 0) : FontRecord();
    const auto on = [](const FormatField& field) { return field.present && field.value; };
    FontRequest font;
    font.faceName = WideView(look.fontName.present ? look.fontName.value : plain.faceName);
    const i32 height = look.fontSize.present ? look.fontSize.value : plain.height;
    font.pixelHeight = std::max(1, MulDiv(height, target.dpiY, 1440));
    font.weight = on(look.bold) ? 700 : 400;
    font.italic = on(look.italic);
    font.underline = on(look.underline);
    font.strikeout = on(look.strikeout);
    font.charSet = plain.charSet;
    const FontHandle handle = Fonts().findFont(font);
    const WideView text = Message(MSG_FONT_SAMPLE);
    i32 width = 0, lines = 0;
    Fonts().textExtent(handle, text, width, lines);
    const i32 colour = look.fontColour.present ? look.fontColour.value : i32{AUTOMATIC_COLOUR};
    DrawClippedText(target, std::max(rect.left + 2, (rect.left + rect.right - width) / 2),
                    (rect.top + rect.bottom - lines) / 2,
                    {rect.left + 1, rect.top + 1, rect.right - 1, rect.bottom - 1}, handle,
                    ColourOf(book, colour, INK), text);
}

void PaintFillSample(DrawTarget& target, const PixelRect& rect, const FormatRequest& look, i32 book) {
    PaintPaper(target, rect);
    if (!look.pattern.present || look.pattern.value <= 0) return;
    const u32 fore = ColourOf(book, look.patternColour.present ? look.patternColour.value : 64, INK);
    const u32 back = ColourOf(book, look.backColour.present ? look.backColour.value : 65, PAPER);
    const bool solid = look.pattern.value == 1;
    // A solid fill of the automatic colour is none that is seen.
    const bool automatic = !look.patternColour.present || look.patternColour.value > 63;
    FillRect(target, {rect.left + 2, rect.top + 2, rect.right - 2, rect.bottom - 2},
             Brush{solid && automatic ? PAPER : fore, static_cast<u8>(look.pattern.value), false, back});
}

}  // namespace tally
