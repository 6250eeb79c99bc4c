#include "platform/headless/HeadlessDrawing.h"

#include <algorithm>
#include <cmath>

#include "base/Number.h"
#include "platform/headless/HeadlessPlatform.h"

namespace tally {
namespace {

struct HeadlessDrawingState {
    Array<HeadlessFont> fonts;
};
HeadlessDrawingState state;

constexpr i32 LINE_SPACE = 3;

i32 FrameFontHeight() { return MulDiv(13, Headless().dotsPerInch, 96); }

// ---- fonts -------------------------------------------------------------------------------------------

FontHandle FindFont(const FontRequest& request) {
    HeadlessFont font;
    const std::size_t length = std::min<std::size_t>(request.faceName.size(), 31);
    std::copy_n(request.faceName.data(), length, font.faceName);
    font.pixelHeight = request.pixelHeight;
    font.weight = request.weight;
    font.italic = request.italic;
    font.underline = request.underline;
    font.strikeout = request.strikeout;
    font.escapement = request.escapement;
    for (u32 i = 0; i < state.fonts.Count(); ++i) {
        const HeadlessFont& known = state.fonts[i];
        if (WideView(known.faceName) == WideView(font.faceName) && known.pixelHeight == font.pixelHeight &&
            known.weight == font.weight && known.italic == font.italic && known.underline == font.underline &&
            known.strikeout == font.strikeout && known.escapement == font.escapement)
            return static_cast<FontHandle>(i + 1);
    }
    return state.fonts.Append(font) ? static_cast<FontHandle>(state.fonts.Count()) : 0;
}

const HeadlessFont* FontAt(FontHandle font) {
    const u32 row = static_cast<u32>(font) - 1;
    return font > 0 && row < state.fonts.Count() ? &state.fonts[row] : nullptr;
}

i32 CharacterWidth(char16_t c, i32 size) { return c >= 0x2E80 ? size : (size + 1) / 2; }

void TextExtent(FontHandle font, WideView text, i32& width, i32& height) {
    const HeadlessFont* known = FontAt(font);
    const i32 size = known ? known->pixelHeight : FrameFontHeight();
    width = 0;
    for (const char16_t c : text) width += CharacterWidth(c, size);
    height = size + LINE_SPACE;
}

// Whether a place of the text's own box, from its corner, lies in the box of a character.
bool IsInk(WideView text, i32 size, double x, double y) {
    if (x < 0 || y < 2 || y >= size + LINE_SPACE - 2) return false;
    double place = 0;
    for (const char16_t c : text) {
        const i32 width = CharacterWidth(c, size);
        if (x < place + width) return c != u' ' && x >= place + 1;
        place += width;
    }
    return false;
}

struct Turn {
    double cosine, sine;
};
Turn TurnOf(i32 escapement) {
    switch ((escapement % 3600 + 3600) % 3600) {
        case 0: return {1, 0};
        case 900: return {0, 1};
        case 1800: return {-1, 0};
        case 2700: return {0, -1};
        default: break;
    }
    const double angle = escapement * 3.14159265358979323846 / 1800;
    return {std::cos(angle), std::sin(angle)};
}

// The rectangle around a box of that size, turned about its corner.
PixelRect TurnedPlace(const Turn& turn, double width, double height) {
    const double x[4] = {0, width * turn.cosine, height * turn.sine, width * turn.cosine + height * turn.sine};
    const double y[4] = {0, -width * turn.sine, height * turn.cosine, height * turn.cosine - width * turn.sine};
    return {static_cast<i32>(std::floor(*std::min_element(x, x + 4))),
            static_cast<i32>(std::floor(*std::min_element(y, y + 4))),
            static_cast<i32>(std::ceil(*std::max_element(x, x + 4))),
            static_cast<i32>(std::ceil(*std::max_element(y, y + 4)))};
}

bool DrawTextMask(FontHandle font, WideView text, const PixelRect& wanted, TextMask& mask) {
    const HeadlessFont* known = FontAt(font);
    const i32 size = known ? known->pixelHeight : FrameFontHeight();
    const Turn turn = TurnOf(known ? known->escapement : 0);
    i32 width = 0, height = 0;
    TextExtent(font, text, width, height);
    const PixelRect place = IntersectRects(TurnedPlace(turn, width, height), wanted);
    mask.coverage.Truncate(0);
    mask.left = place.left;
    mask.top = place.top;
    mask.width = mask.height = 0;
    if (IsEmptyRect(place)) return true;
    mask.width = place.right - place.left;
    mask.height = place.bottom - place.top;
    u8* out =
        mask.coverage.AppendRaw(static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height));
    if (!out) return false;
    for (i32 row = place.top; row < place.bottom; ++row) {
        for (i32 column = place.left; column < place.right; ++column) {
            const double x = column + 0.5, y = row + 0.5;
            const bool ink =
                IsInk(text, size, x * turn.cosine - y * turn.sine, x * turn.sine + y * turn.cosine);
            *out++ = ink ? 255 : 0;
        }
    }
    return true;
}

constexpr FontTable fontTable = {FindFont, TextExtent, DrawTextMask};

// ---- the record --------------------------------------------------------------------------------------

DrawRecord* Record(DrawTarget& target, DrawKind kind, const PixelRect& rect, u32 colour) {
    DrawRecord* record = static_cast<Array<DrawRecord>*>(target.own)->AppendDefault();
    if (!record) return nullptr;
    record->kind = kind;
    record->rect = rect;
    record->clip = target.clip;
    record->colour = colour;
    return record;
}

PixelRect PlaceOf(std::span<const PixelPoint> points) {
    if (points.empty()) return PixelRect();
    PixelRect place = {points[0].x, points[0].y, points[0].x, points[0].y};
    for (const PixelPoint& point : points)
        place = {std::min(place.left, point.x), std::min(place.top, point.y), std::max(place.right, point.x),
                 std::max(place.bottom, point.y)};
    return place;
}

void RecordFill(DrawTarget& target, const PixelRect& rect, const Brush& brush) {
    const bool pattern = brush.pattern >= BRUSH_FIRST_PATTERN;
    DrawRecord* record = brush.pattern == BRUSH_NULL
                             ? nullptr
                             : Record(target, pattern ? DRAW_PATTERN : DRAW_FILL, rect, brush.colour);
    if (!record) return;
    record->brush = brush;
    if (!pattern) return;
    record->style = brush.pattern;
    record->backColour = brush.backColour;
}

void RecordInvert(DrawTarget& target, const PixelRect& rect) {
    IgnoreFailure(Record(target, DRAW_INVERT, rect, 0) != nullptr);
}

void RecordPolyline(DrawTarget& target, std::span<const PixelPoint> points, const Pen& pen) {
    if (points.empty() || pen.style == PEN_NULL) return;
    const bool line = points.size() == 2;
    const PixelRect rect =
        line ? PixelRect{points[0].x, points[0].y, points[1].x, points[1].y} : PlaceOf(points);
    DrawRecord* record = Record(target, line ? DRAW_LINE : DRAW_POLYLINE, rect, pen.colour);
    if (!record) return;
    record->style = pen.style;
    record->pen = pen;
    if (!line) IgnoreFailure(record->points.AppendMany(points.data(), points.size()));
}

void RecordPolygon(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Pen& pen,
                   const Brush& brush) {
    DrawRecord* record = Record(target, DRAW_POLYGON, PlaceOf(rings.points), brush.colour);
    if (!record) return;
    record->pen = pen;
    record->brush = brush;
    record->rule = rule;
    IgnoreFailure(record->points.AppendMany(rings.points.data(), rings.points.size()) &&
                  record->ends.AppendMany(rings.ends.data(), rings.ends.size()));
}

void RecordShape(DrawTarget& target, const Shape& shape, const Pen& pen, const Brush& brush) {
    DrawRecord* record = Record(target, DRAW_SHAPE, shape.rect, brush.colour);
    if (!record) return;
    record->style = shape.kind;
    record->pen = pen;
    record->brush = brush;
    record->start = shape.start;
    record->end = shape.end;
}

void RecordPicture(DrawTarget& target, const PixelRect& place, const PictureView& picture) {
    DrawRecord* record = Record(target, DRAW_PICTURE, place, 0);
    if (!record) return;
    const i64 count = i64{picture.width} * picture.height;
    if (count <= 0 || !record->picture.AppendMany(picture.pixels, static_cast<std::size_t>(count))) return;
    record->pictureWidth = picture.width;
    record->pictureHeight = picture.height;
}

void RecordText(DrawTarget& target, i32 x, i32 y, FontHandle font, u32 colour, WideView text) {
    i32 width = 0, height = 0;
    TextExtent(font, text, width, height);
    DrawRecord* record = Record(target, DRAW_TEXT, {x, y, x + width, y + height}, colour);
    if (!record) return;
    record->font = font;
    IgnoreFailure(record->text.Assign(text));
}

constexpr DrawingTable recordTable = {RecordFill,  RecordInvert,  RecordPolyline, RecordPolygon,
                                      RecordShape, RecordPicture, RecordText};

void ReplayOne(const DrawRecord& record, DrawTarget& target) {
    const PixelRect& r = record.rect;
    const PolygonRings rings = {record.points.Span(), record.ends.Span()};
    switch (record.kind) {
        case DRAW_FILL:
        case DRAW_PATTERN: FillRect(target, r, record.brush); break;
        case DRAW_INVERT: InvertRect(target, r); break;
        case DRAW_LINE: DrawLine(target, r.left, r.top, r.right, r.bottom, record.pen); break;
        case DRAW_POLYLINE: DrawPolyline(target, rings.points, record.pen); break;
        case DRAW_POLYGON: DrawPolygon(target, rings, record.rule, record.pen, record.brush); break;
        case DRAW_SHAPE:
            DrawShape(target, {static_cast<ShapeKind>(record.style), r, record.start, record.end}, record.pen,
                      record.brush);
            break;
        case DRAW_TEXT: DrawText(target, r.left, r.top, record.font, record.colour, record.text); break;
        case DRAW_PICTURE:
            DrawPicture(target, r, {record.pictureWidth, record.pictureHeight, record.picture.Data()});
            break;
    }
}

}  // namespace

DrawTarget MakeRecordTarget(Array<DrawRecord>& records, i32 width, i32 height, i32 dpiX, i32 dpiY,
                            bool printer) {
    return {.table = &recordTable,
            .own = &records,
            .width = width,
            .height = height,
            .dpiX = dpiX,
            .dpiY = dpiY,
            .printer = printer,
            .clip = {0, 0, width, height}};
}

void ReplayDrawing(const Array<DrawRecord>& records, DrawTarget& target) {
    for (const DrawRecord& record : records) {
        const PixelRect former = PushClip(target, record.clip);
        ReplayOne(record, target);
        PopClip(target, former);
    }
}

const FontTable& HeadlessFonts() { return fontTable; }
Array<HeadlessFont>& HeadlessFontList() { return state.fonts; }
void ResetHeadlessDrawing() { state = HeadlessDrawingState(); }

}  // namespace tally
