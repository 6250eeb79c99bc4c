#pragma once
// Outlines in fractions of a pixel: what pens and shapes cover, before it becomes pixels.

#include "platform/Drawing.h"

namespace tally {

// Fractions of a pixel; a pixel's middle is at FINE / 2 behind its corner.
constexpr i32 FINE = 16;
// Places farther out than this, in pixels, are moved there: products of fine places must fit.
constexpr i32 FARTHEST_FINE = 1 << 24;

struct FinePoint {
    i32 x = 0, y = 0;
    bool operator==(const FinePoint&) const = default;
};

// Rings as in PolygonRings.
struct Outline {
    Array<FinePoint> points;
    Array<u32> ends;
};

// What becomes of each piece of a stroke; the pieces may overlap.
struct OutlineSink {
    void (*take)(void* context, const Outline& piece);
    void* context;
};

i32 ToFine(i32 pixels);

// The pieces of a pen's stroke along a line: its dashes, and a round corner where two lines meet. Dashes
// outside `seen` may be left out. False when memory fails.
[[nodiscard]] bool StrokeLine(std::span<const FinePoint> points, bool closed, const Pen& pen,
                              const PixelRect& seen, OutlineSink sink);

// The curve of a shape whose ellipse lies `inset` fine units inside the shape's rectangle; of a chord and a pie
// the way back as well. `closed` tells whether it ends where it began. False when memory fails.
[[nodiscard]] bool CurvePoints(const Shape& shape, i32 inset, Array<FinePoint>& points, bool& closed);

// Lengths drawn and left out in turn, in units of the pen; whether a step of a line is drawn, and the step at
// which that changes.
bool PenDraws(const Pen& pen, i64 step, i64& end);

}  // namespace tally
