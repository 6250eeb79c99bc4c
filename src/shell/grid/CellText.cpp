// The placing of a text in its cell.

#include <algorithm>
#include <cmath>

#include "base/Number.h"
#include "model/Formats.h"
#include "shell/grid/CellPaint.h"

namespace tally {
namespace {

constexpr u8 ALIGN_LEFT = 1, ALIGN_CENTRE = 2, ALIGN_RIGHT = 3, ALIGN_FILL = 4, ALIGN_ACROSS = 6,
             ALIGN_SPREAD = 7;
constexpr u8 STACKED = 255;
constexpr double RADIANS = 0.017453292519943295;

// `width` is of the text or a part of it.
i32 TextLeft(const PixelRect& cell, const CellText& text, u8 alignment, i32 width) {
    switch (alignment) {
        case ALIGN_CENTRE:
        case ALIGN_ACROSS:
        case ALIGN_SPREAD: return cell.left + (cell.right - cell.left - width - text.marginX) / 2;
        case ALIGN_RIGHT: return cell.right - width - 2 * text.marginX;
        default: return cell.left + text.marginX;
    }
}

i32 TextTop(const PixelRect& cell, const CellText& text, i32 height) {
    const u8 alignment = text.format->vertical;
    if (alignment == 1) return cell.top + (cell.bottom - cell.top - height) / 2;
    return alignment == 2 ? cell.bottom - height - text.marginY : cell.top;
}

// What a text that fills its cell, is spread over it or wrapped leaves free of the width.
constexpr i32 WIDE_MARGIN = 3;

// The text as often as the width allows, at least once.
void PaintFilled(DrawTarget& target, const PixelRect& cell, const PixelRect& clip, const CellText& text) {
    const i32 room = cell.right - cell.left - WIDE_MARGIN * text.marginX;
    const i32 width = std::max(text.width, 1);
    const i32 y = TextTop(cell, text, text.height);
    for (i32 i = 0; i < std::max(1, room / width); ++i)
        DrawClippedText(target, cell.left + text.marginX + i * width, y, clip, text.font, text.colour,
                        text.text);
}

void PaintStacked(DrawTarget& target, const PixelRect& cell, const PixelRect& clip, const CellText& text) {
    const i32 total = text.height * static_cast<i32>(std::min<std::size_t>(text.text.size(), 1000));
    i32 y = TextTop(cell, text, total);
    const u8 across = text.format->horizontal ? text.format->horizontal : ALIGN_CENTRE;
    for (std::size_t i = 0; i < text.text.size() && y < clip.bottom; ++i, y += text.height) {
        const WideView one = text.text.substr(i, 1);
        i32 width = 0, height = 0;
        Fonts().textExtent(text.font, one, width, height);
        DrawClippedText(target, TextLeft(cell, text, across, width), y, clip, text.font, text.colour, one);
    }
}

i32 TextWidth(FontHandle font, WideView text) {
    i32 width = 0, height = 0;
    Fonts().textExtent(font, text, width, height);
    return width;
}

// How many characters of a text fit into `room`, at least one of a text that is not empty.
std::size_t FittingLength(FontHandle font, WideView text, i32 room) {
    std::size_t low = 1, high = 16;
    while (high < text.size() && TextWidth(font, text.substr(0, high)) <= room) {
        low = high;
        high *= 2;
    }
    high = std::min(high, text.size());
    while (low < high) {
        const std::size_t middle = (low + high + 1) / 2;
        if (TextWidth(font, text.substr(0, middle)) <= room) low = middle;
        else high = middle - 1;
    }
    return std::min(low, text.size());
}

bool IsWide(char16_t c) { return c >= 12288 && c <= 40959; }

// Length of the line that begins `text`, and of what is passed before the next one. A line ends at a line
// feed, behind a blank or at a wide character; the blanks behind it hang over.
std::size_t FitLine(FontHandle font, WideView text, i32 room, std::size_t& skip) {
    std::size_t fits = FittingLength(font, text, room);
    const std::size_t lineFeed = text.substr(0, fits + 1).find(u'\n');
    skip = lineFeed != WideView::npos;
    if (skip) return lineFeed;
    if (fits == text.size()) return fits;
    for (std::size_t end = fits; end > 0; --end) {
        if (text[end - 1] != u' ' && text[end] != u' ' && !IsWide(text[end - 1]) && !IsWide(text[end]))
            continue;
        fits = end;
        break;
    }
    while (fits < text.size() && text[fits] == u' ') ++fits;
    skip = fits < text.size() && text[fits] == u'\n';
    return fits;
}

struct TextLine {
    u32 start, length;
};

bool SplitLines(FontHandle font, WideView text, i32 room, Array<TextLine>& lines) {
    constexpr u32 MAX_LINES = 512;
    for (std::size_t at = 0; at < text.size() && lines.Count() < MAX_LINES;) {
        std::size_t skip = 0;
        const std::size_t length = FitLine(font, text.substr(at), room, skip);
        if (!lines.Append({static_cast<u32>(at), static_cast<u32>(length)})) return false;
        at += length + skip;
    }
    // A line feed at the end opens one more line.
    return text.empty() || text.back() != u'\n' || lines.Append({static_cast<u32>(text.size()), 0});
}

void PaintWrapped(DrawTarget& target, const PixelRect& cell, const PixelRect& clip, const CellText& text,
                  u8 alignment) {
    Array<TextLine> lines;
    if (!SplitLines(text.font, text.text, std::max(1, cell.right - cell.left - WIDE_MARGIN * text.marginX),
                    lines))
        return;
    i32 y = TextTop(cell, text, text.height * static_cast<i32>(lines.Count()));
    y = std::max(y, cell.top);
    for (const TextLine& line : lines) {
        if (y >= clip.bottom) return;
        WideView part = text.text.substr(line.start, line.length);
        while (!part.empty() && part.back() == u' ') part.remove_suffix(1);
        i32 width = 0, height = 0;
        Fonts().textExtent(text.font, part, width, height);
        if (y + height > clip.top)
            DrawClippedText(target, TextLeft(cell, text, alignment, width), y, clip, text.font, text.colour,
                            part);
        y += text.height;
    }
}

// Where a turned text begins inside its box.
struct TurnedStart {
    i32 x = 0, y = 0;
};

// The box of a turned text takes the place of the plain one. Upwards the text begins at the lower left, its own
// height off the left edge; downwards at the top.
TurnedStart TurnedBox(CellText& text) {
    const u8 rotation = text.format->rotation;
    const bool down = rotation > 90;
    const double angle = (down ? rotation - 90 : rotation) * RADIANS;
    const double w = text.width, h = text.height;
    text.width = static_cast<i32>(std::lround(w * std::cos(angle) + h * std::sin(angle)));
    text.height = static_cast<i32>(std::lround(w * std::sin(angle) + h * std::cos(angle)));
    if (down) return {static_cast<i32>(std::lround(h * std::sin(angle))), 0};
    return {0, static_cast<i32>(std::lround(w * std::sin(angle)))};
}

// The pieces that a spread text keeps together: wide characters one by one, other runs between blanks.
struct SpreadPiece {
    u32 start, length;
    i32 width;
};

bool SplitPieces(FontHandle font, WideView text, Array<SpreadPiece>& pieces, i32& total) {
    total = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == u' ') {
            ++at;
            continue;
        }
        std::size_t end = at + 1;
        while (!IsWide(text[at]) && end < text.size() && text[end] != u' ' && !IsWide(text[end])) ++end;
        const i32 width = TextWidth(font, text.substr(at, end - at));
        if (!pieces.Append({static_cast<u32>(at), static_cast<u32>(end - at), width})) return false;
        total += width;
        at = end;
    }
    return true;
}

// The text's pieces over the whole width of the cell. False when it has no gap, or no room to spare.
bool PaintSpread(DrawTarget& target, const PixelRect& cell, const PixelRect& clip, const CellText& text) {
    const i32 room = cell.right - cell.left - WIDE_MARGIN * text.marginX;
    if (text.width >= room) return false;
    Array<SpreadPiece> pieces;
    i32 total = 0;
    if (!SplitPieces(text.font, text.text, pieces, total) || pieces.Count() < 2) return false;
    const i32 y = TextTop(cell, text, text.height);
    const i32 gaps = static_cast<i32>(pieces.Count()) - 1;
    i32 done = 0;
    for (u32 i = 0; i < pieces.Count(); ++i) {
        const i32 x = cell.left + text.marginX + done + MulDiv(room - total, static_cast<i32>(i), gaps);
        DrawClippedText(target, x, y, clip, text.font, text.colour,
                        text.text.substr(pieces[i].start, pieces[i].length));
        done += pieces[i].width;
    }
    return true;
}

}  // namespace

i32 CountTextLines(FontHandle font, WideView text, i32 cellWidth, i32 marginX) {
    Array<TextLine> lines;
    if (!SplitLines(font, text, std::max(1, cellWidth - WIDE_MARGIN * marginX), lines)) return 1;
    return std::max(1, static_cast<i32>(lines.Count()));
}

u8 EffectiveAlignment(const CellFormat& format, u16 valueType) {
    const u8 alignment = format.horizontal;
    if (alignment == ALIGN_SPREAD && valueType != VT_STRING) return ALIGN_LEFT;
    if (alignment) return alignment;
    if (format.rotation == STACKED || valueType == VT_BOOL || valueType == VT_ERROR) return ALIGN_CENTRE;
    return valueType == VT_NUMBER ? ALIGN_RIGHT : ALIGN_LEFT;
}

void PaintCellText(DrawTarget& target, const PixelRect& cell, const PixelRect& clip, CellText text) {
    const CellFormat& format = *text.format;
    u8 alignment = EffectiveAlignment(format, text.valueType);
    if (text.valueType == VT_STRING && alignment != ALIGN_FILL && (format.flags & FORMAT_WRAP)) {
        PaintWrapped(target, cell, clip, text, alignment);
        return;
    }
    if (format.rotation == STACKED) {
        PaintStacked(target, cell, clip, text);
        return;
    }
    TurnedStart turned;
    if (format.rotation && format.rotation <= 180) turned = TurnedBox(text);
    if (text.valueType != VT_STRING && text.width > cell.right - cell.left - text.marginX) {
        text.text = u"#";
        Fonts().textExtent(text.font, text.text, text.width, text.height);
        alignment = ALIGN_FILL;
    }
    if (alignment == ALIGN_FILL) {
        PaintFilled(target, cell, clip, text);
        return;
    }
    if (alignment == ALIGN_SPREAD && !format.rotation && PaintSpread(target, cell, clip, text)) return;
    DrawClippedText(target, TextLeft(cell, text, alignment, text.width) + turned.x,
                    TextTop(cell, text, text.height) + turned.y, clip, text.font, text.colour, text.text);
}

}  // namespace tally
