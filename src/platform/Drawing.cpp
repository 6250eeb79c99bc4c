#include "platform/Drawing.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "base/Number.h"

namespace tally {
namespace {

// Cell patterns 2 to 18 as eight rows of eight pixels, the leftmost in the highest bit; a bit is the
// pattern's colour. Drawn from the published names of the patterns.
constexpr u8 cellPatterns[][8] = {
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
static_assert(std::size(cellPatterns) == BRUSH_LAST_PATTERN - BRUSH_FIRST_PATTERN + 1);

constexpr i32 SCREEN_DPI = 96;

i32 ScreenPixel(const DrawTarget& target, i32 dpi) {
    return target.printer ? std::max(1, MulDiv(1, dpi, SCREEN_DPI)) : 1;
}

}  // namespace

bool PatternDot(u8 pattern, i32 x, i32 y) {
    if (pattern < BRUSH_FIRST_PATTERN || pattern > BRUSH_LAST_PATTERN) return pattern == BRUSH_SOLID;
    return cellPatterns[pattern - BRUSH_FIRST_PATTERN][y & 7] >> (7 - (x & 7)) & 1;
}

PixelRect PushClip(DrawTarget& target, const PixelRect& clip) {
    const PixelRect former = target.clip;
    target.clip = IntersectRects(former, clip);
    return former;
}
void PopClip(DrawTarget& target, const PixelRect& former) { target.clip = former; }

i32 ScreenPixelX(const DrawTarget& target) { return ScreenPixel(target, target.dpiX); }
i32 ScreenPixelY(const DrawTarget& target) { return ScreenPixel(target, target.dpiY); }

void FillRect(DrawTarget& target, const PixelRect& rect, const Brush& brush) {
    target.table->fillRect(target, rect, brush);
}
void FillRect(DrawTarget& target, const PixelRect& rect, u32 colour) {
    target.table->fillRect(target, rect, {.colour = colour});
}
void InvertRect(DrawTarget& target, const PixelRect& rect) { target.table->invertRect(target, rect); }
void DrawLine(DrawTarget& target, i32 x1, i32 y1, i32 x2, i32 y2, const Pen& pen) {
    const std::array<PixelPoint, 2> ends = {{{x1, y1}, {x2, y2}}};
    target.table->polyline(target, ends, pen);
}
void DrawPolyline(DrawTarget& target, std::span<const PixelPoint> points, const Pen& pen) {
    target.table->polyline(target, points, pen);
}
void DrawPolygon(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Pen& pen,
                 const Brush& brush) {
    target.table->polygon(target, rings, rule, pen, brush);
}
void DrawShape(DrawTarget& target, const Shape& shape, const Pen& pen, const Brush& brush) {
    target.table->shape(target, shape, pen, brush);
}
void DrawPicture(DrawTarget& target, const PixelRect& place, const PictureView& picture) {
    target.table->picture(target, place, picture);
}
void DrawText(DrawTarget& target, i32 x, i32 y, FontHandle font, u32 colour, WideView text) {
    target.table->text(target, x, y, font, colour, text);
}
void DrawClippedText(DrawTarget& target, i32 x, i32 y, const PixelRect& clip, FontHandle font, u32 colour,
                     WideView text) {
    const PixelRect former = PushClip(target, clip);
    target.table->text(target, x, y, font, colour, text);
    PopClip(target, former);
}

}  // namespace tally
