#include "platform/qt/QtPainting.h"

#include <QImage>
#include <algorithm>
#include <cstdlib>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtFonts.h"
#include "platform/qt/QtText.h"

namespace tally {
namespace {

PaintTarget& TargetOf(void* target) { return *static_cast<PaintTarget*>(target); }
QRect ToQRect(const PixelRect& rect) {
    return QRect(rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
}
QColor ToQColor(u32 colour) { return QColor::fromRgb(colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF); }
// The toolkit counts the other way round.
u32 ToPixel(u32 colour) {
    return 0xFF000000u | (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
}

void ApplyClip(PaintTarget& target, const PixelRect& clip) {
    if (target.applied == clip) return;
    target.painter->setClipRect(ToQRect(clip));
    target.applied = clip;
}

// Fills are cut to the clip by arithmetic: the painter's own clip changes for texts only.
bool CutToClip(PaintTarget& target, const PixelRect& rect, PixelRect& cut) {
    cut = IntersectRects(rect, target.clip);
    if (IsEmptyRect(cut)) return false;
    if (IntersectRects(target.applied, cut) != cut) ApplyClip(target, target.whole);
    return true;
}

void QtSetClip(void* target, const PixelRect& clip) {
    TargetOf(target).clip = IntersectRects(clip, TargetOf(target).whole);
}

void QtFillRect(void* target, const PixelRect& rect, u32 colour) {
    PixelRect cut;
    if (CutToClip(TargetOf(target), rect, cut))
        TargetOf(target).painter->fillRect(ToQRect(cut), ToQColor(colour));
}

// Cell patterns 2 to 18 as eight rows of eight pixels, the leftmost in the highest bit; a bit is the
// pattern's colour. Drawn from the published names of the patterns.
constexpr u8 cellPatterns[17][8] = {
    {0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55},  // 50 %
    {0x77, 0xDD, 0x77, 0xDD, 0x77, 0xDD, 0x77, 0xDD},  // 75 %
    {0x88, 0x22, 0x88, 0x22, 0x88, 0x22, 0x88, 0x22},  // 25 %
    {0xFF, 0xFF, 0x00, 0x00, 0xFF, 0xFF, 0x00, 0x00},  // horizontal stripe
    {0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC, 0xCC},  // vertical stripe
    {0xCC, 0x66, 0x33, 0x99, 0xCC, 0x66, 0x33, 0x99},  // reverse diagonal stripe
    {0x33, 0x66, 0xCC, 0x99, 0x33, 0x66, 0xCC, 0x99},  // diagonal stripe
    {0xCC, 0xCC, 0x33, 0x33, 0xCC, 0xCC, 0x33, 0x33},  // diagonal crosshatch
    {0xFF, 0x66, 0xFF, 0x99, 0xFF, 0x66, 0xFF, 0x99},  // thick diagonal crosshatch
    {0xFF, 0x00, 0x00, 0x00, 0xFF, 0x00, 0x00, 0x00},  // thin horizontal stripe
    {0x88, 0x88, 0x88, 0x88, 0x88, 0x88, 0x88, 0x88},  // thin vertical stripe
    {0x88, 0x44, 0x22, 0x11, 0x88, 0x44, 0x22, 0x11},  // thin reverse diagonal stripe
    {0x11, 0x22, 0x44, 0x88, 0x11, 0x22, 0x44, 0x88},  // thin diagonal stripe
    {0xFF, 0x88, 0x88, 0x88, 0xFF, 0x88, 0x88, 0x88},  // thin horizontal crosshatch
    {0x88, 0x55, 0x22, 0x55, 0x88, 0x55, 0x22, 0x55},  // thin diagonal crosshatch
    {0x88, 0x00, 0x22, 0x00, 0x88, 0x00, 0x22, 0x00},  // 12.5 %
    {0x80, 0x00, 0x08, 0x00, 0x80, 0x00, 0x08, 0x00},  // 6.25 %
};

void QtPatternRect(void* target, const PixelRect& rect, u8 pattern, u32 colour, u32 backColour) {
    if (pattern < 2 || pattern > 18) return QtFillRect(target, rect, pattern == 1 ? colour : backColour);
    PixelRect cut;
    if (!CutToClip(TargetOf(target), rect, cut)) return;
    QImage tile(8, 8, QImage::Format_RGB32);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            tile.setPixel(x, y, ToPixel(cellPatterns[pattern - 2][y] >> (7 - x) & 1 ? colour : backColour));
        }
    }
    QBrush brush;
    brush.setTextureImage(tile);
    TargetOf(target).painter->fillRect(ToQRect(cut), brush);
}

// Lengths drawn and left out in turn, in pixels, as users of one-pixel pens know them.
struct PenDashes {
    u8 count;
    u8 lengths[6];
};
constexpr PenDashes penDashes[] = {
    {0, {}}, {2, {18, 6}}, {2, {3, 3}}, {4, {9, 6, 3, 6}}, {6, {9, 3, 3, 3, 3, 3}},
};

// Whether step `step` of a line is drawn, and the step at which that changes.
bool PenDraws(PenStyle style, i64 step, i64& end) {
    const PenDashes& dashes = penDashes[style <= PEN_DASH_DOT_DOT ? style : PEN_SOLID];
    i64 period = 0;
    for (u8 i = 0; i < dashes.count; ++i) period += dashes.lengths[i];
    if (period == 0) {
        end = INT64_MAX;
        return true;
    }
    end = step - step % period;
    for (u8 i = 0; i < dashes.count; ++i) {
        end += dashes.lengths[i];
        if (step < end) return i % 2 == 0;
    }
    return false;
}

// Ends farther out than this move no pixel that can be seen, and their products would not fit.
constexpr i32 FARTHEST_PIXEL = 1 << 28;

// A line counted in steps along its longer axis; the other axis follows by whole pixels.
struct LineSteps {
    i64 major, minor;          // start
    i64 majorSign, minorSign;  // -1 or 1
    i64 steps, rise;           // lengths along both axes
    bool upright;              // the longer axis is y
};

void DrawLineSteps(PaintTarget& target, const LineSteps& line, i64 from, i64 to, const QColor& colour) {
    const i64 edge = line.upright ? target.clip.left : target.clip.top;
    const i64 farEdge = line.upright ? target.clip.right : target.clip.bottom;
    const auto pixel = [&](i64 first, i64 count, i64 minor) {
        if (minor < edge || minor >= farEdge) return;
        const i64 last = first + line.majorSign * (count - 1);
        const auto low = static_cast<i32>(std::min(first, last)),
                   high = static_cast<i32>(std::max(first, last) + 1);
        const auto across = static_cast<i32>(minor);
        const PixelRect rect =
            line.upright ? PixelRect{across, low, across + 1, high} : PixelRect{low, across, high, across + 1};
        PixelRect cut;
        if (CutToClip(target, rect, cut)) target.painter->fillRect(ToQRect(cut), colour);
    };
    if (line.rise == 0) return pixel(line.major + line.majorSign * from, to - from, line.minor);
    for (i64 step = from; step < to; ++step) {
        const i64 climbed = (2 * line.rise * step + line.steps) / (2 * line.steps);
        pixel(line.major + line.majorSign * step, 1, line.minor + line.minorSign * climbed);
    }
}

void QtLine(void* target, i32 x1, i32 y1, i32 x2, i32 y2, u32 colour, PenStyle style) {
    PaintTarget& paint = TargetOf(target);
    for (i32* end : {&x1, &y1, &x2, &y2}) *end = std::clamp(*end, -FARTHEST_PIXEL, FARTHEST_PIXEL);
    const i64 width = std::abs(i64{x2} - x1), height = std::abs(i64{y2} - y1);
    LineSteps line = {x1, y1, x2 < x1 ? -1 : 1, y2 < y1 ? -1 : 1, width, height, height > width};
    if (line.upright) {
        std::swap(line.major, line.minor);
        std::swap(line.majorSign, line.minorSign);
        std::swap(line.steps, line.rise);
    }
    // Only the steps inside the clip are walked: a line may end far outside.
    const i64 low = line.upright ? paint.clip.top : paint.clip.left;
    const i64 high = line.upright ? paint.clip.bottom : paint.clip.right;
    const i64 first = line.majorSign > 0 ? low - line.major : line.major - high + 1;
    const i64 last = line.majorSign > 0 ? high - line.major : line.major - low + 1;
    const i64 end = std::min(line.steps, last);
    const QColor pen = ToQColor(colour);
    for (i64 step = std::max<i64>(0, first), next = 0; step < end; step = next) {
        const bool drawn = PenDraws(style, step, next);
        next = std::min(next, end);
        if (drawn) DrawLineSteps(paint, line, step, next, pen);
    }
}

void QtInvertRect(void* target, const PixelRect& rect) {
    PixelRect cut;
    if (!CutToClip(TargetOf(target), rect, cut)) return;
    QPainter& painter = *TargetOf(target).painter;
    painter.setCompositionMode(QPainter::RasterOp_NotDestination);
    painter.fillRect(ToQRect(cut), Qt::white);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

void QtDrawText(void* target, i32 x, i32 y, const PixelRect& clip, FontHandle font, u32 colour, WideView text) {
    PaintTarget& paint = TargetOf(target);
    const PixelRect cut = IntersectRects(clip, paint.clip);
    if (text.empty() || IsEmptyRect(cut)) return;
    ApplyClip(paint, cut);
    const LoadedFont& loaded = FontOf(font);
    QPainter& painter = *paint.painter;
    if (paint.font != font) {
        painter.setFont(loaded.font);
        paint.font = font;
    }
    painter.setPen(ToQColor(colour));
    if (loaded.request.escapement == 0) {
        painter.drawText(QPoint(x, y + loaded.metrics.ascent()), BorrowQString(text));
        return;
    }
    const QTransform straight = painter.transform();
    painter.translate(x, y);
    painter.rotate(-loaded.request.escapement / 10.0);
    painter.drawText(QPoint(0, loaded.metrics.ascent()), BorrowQString(text));
    painter.setTransform(straight);
}

const DrawingTable drawingTable = {
    QtFindFont, QtTextExtent, QtSetClip, QtFillRect, QtPatternRect, QtLine, QtInvertRect, QtDrawText,
};

}  // namespace

const DrawingTable& QtDrawing() { return drawingTable; }

PaintTarget MakePaintTarget(QPainter& painter, const PixelRect& whole) {
    PaintTarget target;
    target.painter = &painter;
    target.whole = target.clip = whole;
    ApplyClip(target, whole);
    return target;
}

}  // namespace tally
