#pragma once
// The drawing operations that the grid and its neighbours need: one table, and a target that only the
// table's owner knows. Coordinates are pixels of the frame's client area; colours are 0x00BBGGRR.

#include "base/Base.h"

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

enum PenStyle : u8 { PEN_SOLID = 0, PEN_DASH = 1, PEN_DOT = 2, PEN_DASH_DOT = 3, PEN_DASH_DOT_DOT = 4 };

struct DrawingTable {
    FontHandle (*findFont)(const FontRequest& request);
    void (*textExtent)(FontHandle font, WideView text, i32& width, i32& height);

    // Everything below draws inside the clip only; a fresh target is clipped to what must be painted.
    void (*setClip)(void* target, const PixelRect& clip);
    void (*fillRect)(void* target, const PixelRect& rect, u32 colour);
    // One of the 17 cell patterns, 2 to 18 (1 is fillRect).
    void (*patternRect)(void* target, const PixelRect& rect, u8 pattern, u32 colour, u32 backColour);
    // A horizontal or vertical line of whole pixels from (x1, y1) to just before (x2, y2), or a slanted one.
    void (*line)(void* target, i32 x1, i32 y1, i32 x2, i32 y2, u32 colour, PenStyle style);
    // Every colour becomes its complement; twice restores it.
    void (*invertRect)(void* target, const PixelRect& rect);
    // The top left corner of the text's box is at (x, y); drawn inside `clip` and the target's clip.
    void (*text)(void* target, i32 x, i32 y, const PixelRect& clip, FontHandle font, u32 colour, WideView text);
};

}  // namespace tally
