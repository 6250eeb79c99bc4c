#include "raster/Curves.h"

#include <algorithm>
#include <cmath>

namespace tally {
namespace {

// Places count in halves of a pixel from the middle of the ellipse, so that the middle of a pixel is a whole
// one.
struct Ellipse {
    i64 sumX, sumY;  // left + right, top + bottom: where the middle lies
    double width, height;
};
struct Ray {
    double x, y;
};

// The columns of a row, `right` outside; empty when left == right.
struct RowSpan {
    i32 left = 0, right = 0;
};

Ellipse EllipseIn(const PixelRect& rect, i32 inset) {
    return {i64{rect.left} + rect.right, i64{rect.top} + rect.bottom,
            static_cast<double>(i64{rect.right} - rect.left - 2 * i64{inset}),
            static_cast<double>(i64{rect.bottom} - rect.top - 2 * i64{inset})};
}

RowSpan SpanOf(const Ellipse& ellipse, i32 y) {
    const double down = static_cast<double>(2 * i64{y} + 1 - ellipse.sumY);
    if (ellipse.width <= 0 || std::abs(down) >= ellipse.height) return {};
    const double part = down / ellipse.height;
    const auto reach = static_cast<i64>(std::floor(ellipse.width * std::sqrt(1 - part * part)));
    // Columns x with |2 x + 1 - sumX| at most `reach`.
    const i64 low = ellipse.sumX - 1 - reach, high = ellipse.sumX - 1 + reach;
    const i64 left = (low + (low & 1)) / 2, right = (high - (high & 1)) / 2 + 1;
    if (left >= right) return {};
    return {static_cast<i32>(left), static_cast<i32>(right)};
}

// Above zero when b lies within half a turn counter-clockwise from a.
double Across(const Ray& a, const Ray& b) { return a.y * b.x - a.x * b.y; }

Ray RayThrough(const Ellipse& ellipse, const PixelPoint& point) {
    return {static_cast<double>(2 * i64{point.x} - ellipse.sumX),
            static_cast<double>(2 * i64{point.y} - ellipse.sumY)};
}

Ray OnCurve(const Ellipse& ellipse, const Ray& ray) {
    const double x = ray.x / ellipse.width, y = ray.y / ellipse.height;
    const double length = std::sqrt(x * x + y * y);
    return length > 0 ? Ray{ray.x / length, ray.y / length} : Ray{ellipse.width, 0};
}

// What a kind cuts out of its ellipse.
struct Cut {
    bool whole;
    bool chord;
    Ray start, end;  // of a chord on the curve
};

Cut CutOf(const Shape& shape, const Ellipse& ellipse) {
    Cut cut = {shape.kind == SHAPE_ELLIPSE, shape.kind == SHAPE_CHORD, RayThrough(ellipse, shape.start),
               RayThrough(ellipse, shape.end)};
    const double along = cut.start.x * cut.end.x + cut.start.y * cut.end.y;
    cut.whole |= Across(cut.start, cut.end) == 0 && along >= 0;
    if (!cut.chord) return cut;
    cut.start = OnCurve(ellipse, cut.start);
    cut.end = OnCurve(ellipse, cut.end);
    return cut;
}

// From the start's ray on to before the end's.
bool IsBetween(const Cut& cut, Ray at) {
    if (at.x == 0 && at.y == 0) at.x = 1;
    const double turn = Across(cut.start, cut.end), fromStart = Across(cut.start, at),
                 fromEnd = Across(cut.end, at);
    if (turn > 0) return fromStart >= 0 && fromEnd < 0;
    if (turn < 0) return !(fromEnd >= 0 && fromStart < 0);
    return fromStart > 0 || (fromStart == 0 && cut.start.x * at.x + cut.start.y * at.y > 0);
}

bool IsInside(const Cut& cut, const Ray& at, bool border) {
    if (!cut.chord || border) return IsBetween(cut, at);
    return Across({cut.end.x - cut.start.x, cut.end.y - cut.start.y},
                  {at.x - cut.start.x, at.y - cut.start.y}) <= 0;
}

void GiveSpan(const Ellipse& ellipse, const Cut& cut, bool border, i32 y, i32 left, i32 right,
              const PixelRect& clip, PixelSink sink) {
    left = std::max(left, clip.left);
    right = std::min(right, clip.right);
    if (left >= right) return;
    if (cut.whole) return sink.fill(sink.context, {left, y, right, y + 1});
    i32 begin = left;
    const auto down = static_cast<double>(2 * i64{y} + 1 - ellipse.sumY);
    for (i32 x = left; x <= right; ++x) {
        const bool inside =
            x < right && IsInside(cut, {static_cast<double>(2 * i64{x} + 1 - ellipse.sumX), down}, border);
        if (inside) continue;
        if (begin < x) sink.fill(sink.context, {begin, y, x, y + 1});
        begin = x + 1;
    }
}

// What of a row the curve leaves free: inside the border, for one of a pixel what has all four neighbours
// inside.
RowSpan FreeOf(const Ellipse& outer, const Ellipse& inner, i32 width, i32 y) {
    if (width > 1) return SpanOf(inner, y);
    const RowSpan above = SpanOf(outer, y - 1), own = SpanOf(outer, y), below = SpanOf(outer, y + 1);
    const RowSpan free = {std::max({above.left, own.left + 1, below.left}),
                          std::min({above.right, own.right - 1, below.right})};
    const bool none = above.left == above.right || below.left == below.right || free.left >= free.right;
    return none ? RowSpan() : free;
}

PixelPoint PixelOf(const Ellipse& ellipse, const Ray& ray) {
    return {static_cast<i32>(std::floor((ray.x + static_cast<double>(ellipse.sumX)) / 2)),
            static_cast<i32>(std::floor((ray.y + static_cast<double>(ellipse.sumY)) / 2))};
}

}  // namespace

void ScanCurveInside(const Shape& shape, const PixelRect& clip, PixelSink sink) {
    const Ellipse ellipse = EllipseIn(shape.rect, 0);
    const Cut cut = CutOf(shape, ellipse);
    for (i32 y = std::max(shape.rect.top, clip.top); y < std::min(shape.rect.bottom, clip.bottom); ++y) {
        const RowSpan span = SpanOf(ellipse, y);
        GiveSpan(ellipse, cut, false, y, span.left, span.right, clip, sink);
    }
}

void ScanCurveBorder(const Shape& shape, i32 width, const PixelRect& clip, PixelSink sink) {
    const Ellipse outer = EllipseIn(shape.rect, 0), inner = EllipseIn(shape.rect, width);
    const Cut cut = CutOf(shape, outer);
    for (i32 y = std::max(shape.rect.top, clip.top); y < std::min(shape.rect.bottom, clip.bottom); ++y) {
        const RowSpan span = SpanOf(outer, y);
        const RowSpan free = FreeOf(outer, inner, width, y);
        if (free.left == free.right) {
            GiveSpan(outer, cut, true, y, span.left, span.right, clip, sink);
            continue;
        }
        GiveSpan(outer, cut, true, y, span.left, free.left, clip, sink);
        GiveSpan(outer, cut, true, y, free.right, span.right, clip, sink);
    }
}

i32 StraightSides(const Shape& shape, PixelPoint (&points)[3]) {
    const Ellipse full = EllipseIn(shape.rect, 0);
    // The curve's own pixels, whose middles lie half a pixel inside.
    const Ellipse ellipse = {full.sumX, full.sumY, std::max(full.width - 1, 0.0),
                             std::max(full.height - 1, 0.0)};
    if ((shape.kind != SHAPE_CHORD && shape.kind != SHAPE_PIE) || CutOf(shape, full).whole ||
        ellipse.width == 0 || ellipse.height == 0)
        return 0;
    const PixelPoint start = PixelOf(ellipse, OnCurve(ellipse, RayThrough(full, shape.start)));
    const PixelPoint end = PixelOf(ellipse, OnCurve(ellipse, RayThrough(full, shape.end)));
    const bool pie = shape.kind == SHAPE_PIE;
    points[0] = start;
    points[1] = pie ? PixelOf(full, {0, 0}) : end;
    points[2] = end;
    return pie ? 2 : 1;
}

CurveSweep SweepOf(const Shape& shape, double inset) {
    Ellipse ellipse = EllipseIn(shape.rect, 0);
    const Cut cut = CutOf({SHAPE_ARC, shape.rect, shape.start, shape.end}, ellipse);
    if (cut.whole || shape.kind == SHAPE_ELLIPSE) return {};
    ellipse.width = std::max(1.0, ellipse.width - 2 * inset);
    ellipse.height = std::max(1.0, ellipse.height - 2 * inset);
    const auto degrees = [&](const Ray& ray) {
        constexpr double DEGREE = 3.14159265358979323846 / 180;
        return std::atan2((0 - ray.y) / ellipse.height, ray.x / ellipse.width) / DEGREE;
    };
    const double from = degrees(cut.start), to = degrees(cut.end);
    return {from, to <= from ? to + 360 - from : to - from};
}

}  // namespace tally
