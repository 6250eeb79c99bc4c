#pragma once
// The contract of drawing: one target for the window, pictures, paper and records, and a table of few
// operations on it. Coordinates are the target's own pixels, y downwards; colours are 0x00BBGGRR.
//
// Which pixels are drawn, on every target:
// - The right and bottom of a rectangle lie outside. A fill of {l, t, r, b} covers the columns l to r - 1 and
//   the rows t to b - 1; a rectangle's outline lies inside it, on column l, row t, column r - 1 and row b - 1.
// - A line one pixel wide covers its first pixel and not its last, one pixel for each step along its longer
//   axis. The lines of a polyline meet, so only the last pixel of the last one is left out; a closed outline
//   has all.
// - A wider line covers `width` pixels across, width / 2 of them before its own pixel, and ends flat where a
//   line of one pixel does; where two of them meet at an angle the corner is round.
// - A polygon's points are corners of pixels when it is filled: it covers the pixels whose middle lies inside,
//   of those on its edge the left and upper ones, so that neighbours meet without a gap and without an
//   overlap. Its outline is the closed line through the pixels of the same numbers.
// - An ellipse fills the pixels whose middle lies inside the ellipse in its rectangle; its outline lies
//   inside.
// - Lines and fills are never smoothed; of a text the font decides.
// - Paper gets lines, polygons, curves and patterns as such: their edges lie where these rules put them, to a
//   pixel of the printer. What is on paper cannot be inverted: nothing happens.
// - Dashes are counted in pixels from the start of a polyline, whatever the clip shows of it; what lies
//   between them is left as it was. The dots of a pattern lie on a raster that begins at the target's corner,
//   so that neighbours meet without a seam; each is one pixel, at a printer as many as show one of the screen.

#include "base/Array.h"

namespace tally {

// right and bottom lie outside.
struct PixelRect {
    i32 left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const PixelRect&) const = default;
};
inline bool IsEmptyRect(const PixelRect& rect) { return rect.left >= rect.right || rect.top >= rect.bottom; }
inline bool RectHolds(const PixelRect& rect, i32 x, i32 y) {
    return x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
}
inline bool RectsMeet(const PixelRect& a, const PixelRect& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}
inline PixelRect IntersectRects(const PixelRect& a, const PixelRect& b) {
    return {a.left > b.left ? a.left : b.left, a.top > b.top ? a.top : b.top,
            a.right < b.right ? a.right : b.right, a.bottom < b.bottom ? a.bottom : b.bottom};
}

struct PixelPoint {
    i32 x = 0, y = 0;
    bool operator==(const PixelPoint&) const = default;
};

// ---- fonts -------------------------------------------------------------------------------------------

struct FontRequest {
    WideView faceName;
    i32 pixelHeight = 13;  // of the em square
    u16 weight = 400;
    bool italic = false;
    bool underline = false;
    bool strikeout = false;
    u8 charSet = 0;
    i32 escapement = 0;  // tenths of a degree, counter-clockwise
};

// A font of the table's owner; 0 is the font of the frame. Equal requests give the same handle, so
// that asking again costs a look-up. Nothing is read from disk before a font is first asked for.
using FontHandle = i32;

// How much of each pixel a drawn text covers, 0 to 255, row by row from the top.
struct TextMask {
    i32 left = 0, top = 0;  // of its first pixel, from the point at which the text is drawn
    i32 width = 0, height = 0;
    Array<u8> coverage;
};

struct FontTable {
    FontHandle (*findFont)(const FontRequest& request);
    // Of the text on one line, not turned, in pixels.
    void (*textExtent)(FontHandle font, WideView text, i32& width, i32& height);
    // The text as `DrawingTable::text` draws it, the part of it inside `wanted`, which counts as the mask's
    // places do. False when memory fails.
    bool (*textMask)(FontHandle font, WideView text, const PixelRect& wanted, TextMask& mask);
};

// ---- pens and brushes --------------------------------------------------------------------------------

enum PenStyle : u8 {
    PEN_SOLID = 0,
    PEN_DASH = 1,
    PEN_DOT = 2,
    PEN_DASH_DOT = 3,
    PEN_DASH_DOT_DOT = 4,
    PEN_NULL = 5
};

struct Pen {
    u32 colour = 0;
    PenStyle style = PEN_SOLID;
    i32 width = 1;  // pixels of the target
    i32 unit = 1;   // how many pixels stand for one of the lengths of dashes
    bool operator==(const Pen&) const = default;
};
constexpr Pen NO_PEN = {0, PEN_NULL, 1, 1};

constexpr u8 BRUSH_NULL = 0, BRUSH_SOLID = 1, BRUSH_FIRST_PATTERN = 2, BRUSH_LAST_PATTERN = 18;

struct Brush {
    u32 colour = 0;
    u8 pattern =
        BRUSH_SOLID;     // null, solid, or one of the 17 patterns of cells; others count as solid in backColour
    bool clear = false;  // what lies between a pattern's dots is left as it was
    u32 backColour = 0xFFFFFF;  // between the dots
    bool operator==(const Brush&) const = default;
};
constexpr Brush NO_BRUSH = {0, BRUSH_NULL, false, 0xFFFFFF};

// Whether the dot of a pattern at a place of the raster has the pattern's colour.
bool PatternDot(u8 pattern, i32 x, i32 y);

// ---- shapes and pictures -----------------------------------------------------------------------------

// Several rings, each closed by itself.
struct PolygonRings {
    std::span<const PixelPoint> points;
    std::span<const u32> ends;  // behind the last point of each ring, ascending
};
enum FillRule : u8 { FILL_ALTERNATE = 1, FILL_WINDING = 2 };

// The curves lie on the ellipse in the shape's rectangle and run counter-clockwise from where the ray from its
// middle through `start` meets it to the one through `end`; when both are the same, all the way round.
enum ShapeKind : u8 { SHAPE_RECTANGLE, SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE };
struct Shape {
    ShapeKind kind = SHAPE_RECTANGLE;
    PixelRect rect;
    PixelPoint start, end;  // of arcs, chords and pies
};

// 32 bits a pixel, the topmost row first; what it points to is not its own.
struct PictureView {
    i32 width = 0, height = 0;
    const u32* pixels = nullptr;
};

// ---- targets -----------------------------------------------------------------------------------------

struct DrawTarget;

struct DrawingTable {
    // All of them draw inside the target's clip only. An empty rectangle, a null pen and a null brush draw
    // nothing.
    void (*fillRect)(DrawTarget& target, const PixelRect& rect, const Brush& brush);
    // Every colour becomes its complement; twice restores it.
    void (*invertRect)(DrawTarget& target, const PixelRect& rect);
    void (*polyline)(DrawTarget& target, std::span<const PixelPoint> points, const Pen& pen);
    void (*polygon)(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Pen& pen,
                    const Brush& brush);
    // An arc has no inside to fill.
    void (*shape)(DrawTarget& target, const Shape& shape, const Pen& pen, const Brush& brush);
    // The whole picture into a rectangle, each pixel the nearest of the picture.
    void (*picture)(DrawTarget& target, const PixelRect& place, const PictureView& picture);
    // The top left corner of the text's box is at (x, y); a turned text turns about it.
    void (*text)(DrawTarget& target, i32 x, i32 y, FontHandle font, u32 colour, WideView text);
};

// What is drawn on, as its owner made it. It lives as long as the drawing.
struct DrawTarget {
    const DrawingTable* table = nullptr;
    void* own = nullptr;  // the owner's
    i32 width = 0, height = 0;
    i32 dpiX = 96, dpiY = 96;  // pixels to the inch
    bool printer = false;
    PixelRect clip;  // in force: at first all that may be drawn on
};

// Cuts the clip to a rectangle and gives back what PopClip restores.
[[nodiscard]] PixelRect PushClip(DrawTarget& target, const PixelRect& clip);
void PopClip(DrawTarget& target, const PixelRect& former);

// Pixels of the target that stand for one of a screen: 1 but at a printer.
i32 ScreenPixelX(const DrawTarget& target);
i32 ScreenPixelY(const DrawTarget& target);

// ---- the operations, by the target's table -----------------------------------------------------------
void FillRect(DrawTarget& target, const PixelRect& rect, u32 colour);
void FillRect(DrawTarget& target, const PixelRect& rect, const Brush& brush);
void InvertRect(DrawTarget& target, const PixelRect& rect);
void DrawLine(DrawTarget& target, i32 x1, i32 y1, i32 x2, i32 y2, const Pen& pen);
void DrawPolyline(DrawTarget& target, std::span<const PixelPoint> points, const Pen& pen);
void DrawPolygon(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Pen& pen,
                 const Brush& brush);
void DrawShape(DrawTarget& target, const Shape& shape, const Pen& pen, const Brush& brush);
void DrawPicture(DrawTarget& target, const PixelRect& place, const PictureView& picture);
void DrawText(DrawTarget& target, i32 x, i32 y, FontHandle font, u32 colour, WideView text);
// Inside `clip` as well.
void DrawClippedText(DrawTarget& target, i32 x, i32 y, const PixelRect& clip, FontHandle font, u32 colour,
                     WideView text);

}  // namespace tally
