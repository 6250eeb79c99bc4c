#pragma once
// Drawing without a screen: a record of what was drawn, and fonts of fixed metrics. A character is half as wide
// as its font is high, a wide one as wide; in a mask each is a box.

#include "base/WideText.h"
#include "platform/Drawing.h"

namespace tally {

enum DrawKind : u8 {
    DRAW_FILL,
    DRAW_PATTERN,
    DRAW_LINE,
    DRAW_INVERT,
    DRAW_TEXT,
    DRAW_POLYLINE,
    DRAW_POLYGON,
    DRAW_SHAPE,
    DRAW_PICTURE
};

// One drawing operation, as it reached the target.
struct DrawRecord {
    DrawKind kind = DRAW_FILL;
    PixelRect rect;  // of a line its ends, of a text its box, of points what they lie in
    PixelRect clip;
    u32 colour = 0;      // of a fill the brush's, of a line the pen's
    u32 backColour = 0;  // of a pattern
    u8 style = 0;        // PenStyle of a line; the number of a pattern; the kind of a shape
    FontHandle font = 0;
    WideText text;
    Pen pen;
    Brush brush;
    FillRule rule = FILL_ALTERNATE;
    PixelPoint start, end;     // of a shape
    Array<PixelPoint> points;  // of polylines and polygons
    Array<u32> ends;
    i32 pictureWidth = 0, pictureHeight = 0;
    Array<u32> picture;
};

struct HeadlessFont {
    char16_t faceName[32] = {};
    i32 pixelHeight = 13;
    u16 weight = 400;
    bool italic = false, underline = false, strikeout = false;
    i32 escapement = 0;
};

// A target of that size that appends to `records`, which stays where it is as long as the target is used.
DrawTarget MakeRecordTarget(Array<DrawRecord>& records, i32 width, i32 height, i32 dpiX = 96, i32 dpiY = 96,
                            bool printer = false);
// Draws records again on another target, each inside the clip that it had.
void ReplayDrawing(const Array<DrawRecord>& records, DrawTarget& target);

const FontTable& HeadlessFonts();
// The fonts asked for so far; a handle is the place in it plus 1.
Array<HeadlessFont>& HeadlessFontList();
void ResetHeadlessDrawing();

}  // namespace tally
