#include "raster/Outline.h"

#include <algorithm>
#include <cmath>

namespace tally {
namespace {

// As users of one-pixel pens know them; what is not used is 0.
struct PenDashes {
    u8 lengths[6];
};
constexpr PenDashes penDashes[] = {
    {{}}, {{18, 6}}, {{3, 3}}, {{9, 6, 3, 6}}, {{9, 3, 3, 3, 3, 3}},
};
static_assert(std::size(penDashes) == PEN_NULL);

constexpr double HALF_TURN = 3.14159265358979323846;

i32 RoundFine(double value) { return static_cast<i32>(std::floor(value + 0.5)); }

struct Direction {
    double x = 1, y = 0;
};
Direction Normalised(double x, double y) {
    const double length = std::sqrt(x * x + y * y);
    return length > 0 ? Direction{x / length, y / length} : Direction();
}

i64 PeriodOf(const Pen& pen) {
    const PenDashes& dashes = penDashes[pen.style < PEN_NULL ? pen.style : PEN_SOLID];
    i64 period = 0;
    for (const u8 length : dashes.lengths) period += length * i64{std::max(1, pen.unit)};
    return period;
}

// ---- strokes -----------------------------------------------------------------------------------------

bool AddRing(Outline& outline, std::span<const FinePoint> points) {
    return outline.points.AppendMany(points.data(), points.size()) &&
           outline.ends.Append(outline.points.Count());
}

bool GivePiece(std::span<const FinePoint> points, OutlineSink sink) {
    Outline piece;
    if (!AddRing(piece, points)) return false;
    sink.take(sink.context, piece);
    return true;
}

// A stretch of a straight line, from and to fractions of it.
bool GiveBar(const FinePoint& a, const FinePoint& b, double from, double to, i32 width, OutlineSink sink) {
    const double dx = double{1} * b.x - a.x, dy = double{1} * b.y - a.y;
    const Direction along = Normalised(dx, dy);
    const double acrossX = -along.y * width * FINE / 2, acrossY = along.x * width * FINE / 2;
    const double x1 = a.x + dx * from, y1 = a.y + dy * from, x2 = a.x + dx * to, y2 = a.y + dy * to;
    const FinePoint corners[4] = {{RoundFine(x1 + acrossX), RoundFine(y1 + acrossY)},
                                  {RoundFine(x2 + acrossX), RoundFine(y2 + acrossY)},
                                  {RoundFine(x2 - acrossX), RoundFine(y2 - acrossY)},
                                  {RoundFine(x1 - acrossX), RoundFine(y1 - acrossY)}};
    return GivePiece(corners, sink);
}

bool GiveCorner(const FinePoint& at, i32 width, OutlineSink sink) {
    constexpr i32 CORNERS = 16;
    FinePoint ring[CORNERS];
    for (i32 i = 0; i < CORNERS; ++i) {
        const double angle = 2 * HALF_TURN * i / CORNERS;
        ring[i] = {at.x + RoundFine(std::cos(angle) * width * FINE / 2),
                   at.y + RoundFine(std::sin(angle) * width * FINE / 2)};
    }
    return GivePiece(ring, sink);
}

// The point to which the way goes on behind a line's end, passing over repeated ones; the end itself where it
// goes no farther.
FinePoint PointBehind(std::span<const FinePoint> points, bool closed, std::size_t end) {
    const std::size_t count = points.size(), more = closed ? count : count - end;
    for (std::size_t i = 1; i < more; ++i) {
        const FinePoint& next = points[(end + i) % count];
        if (next != points[end]) return next;
    }
    return points[end];
}

// Whether the way goes straight on at a point.
bool IsStraight(const FinePoint& a, const FinePoint& b, const FinePoint& c) {
    const i64 x1 = i64{b.x} - a.x, y1 = i64{b.y} - a.y, x2 = i64{c.x} - b.x, y2 = i64{c.y} - b.y;
    return x1 * y2 == x2 * y1 && x1 * x2 + y1 * y2 >= 0;
}

// The dashes of a straight line, counted in pixels along its longer axis.
bool GiveDashes(const FinePoint& a, const FinePoint& b, const Pen& pen, const PixelRect& seen, i64& passed,
                OutlineSink sink) {
    const bool upright = std::abs(i64{b.y} - a.y) > std::abs(i64{b.x} - a.x);
    const i64 from = upright ? a.y : a.x, to = upright ? b.y : b.x;
    const i64 steps = std::max<i64>(1, std::abs(to - from) / FINE);
    const i64 low = i64{upright ? seen.top : seen.left} - pen.width;
    const i64 high = i64{upright ? seen.bottom : seen.right} + pen.width;
    const i64 first = from < to ? low - from / FINE : from / FINE - high;
    const i64 last = from < to ? high - from / FINE : from / FINE - low;
    const double whole = static_cast<double>(steps);
    const i64 period = PeriodOf(pen);
    i64 end = 0, step = std::max<i64>(0, first);
    // A dash is drawn from its own beginning, or its corners would lie elsewhere for another clip.
    if (period > 0) step = std::max<i64>(0, step - (passed + step) % period);
    for (; step < std::min(steps, last); step = end) {
        const bool drawn = PenDraws(pen, passed + step, end);
        end = std::min(end - passed, steps);
        if (drawn && !GiveBar(a, b, static_cast<double>(step) / whole, static_cast<double>(end) / whole,
                              pen.width, sink))
            return false;
    }
    passed += steps;
    return true;
}

// ---- curves ------------------------------------------------------------------------------------------

// A quarter of the circle is cut into as many pieces as keep a chord within a fraction of a pixel of the arc.
constexpr i32 MOST_PIECES = 256;
i32 QuarterPieces(double radius) {
    i32 pieces = 8;
    while (pieces < MOST_PIECES && radius / FINE > pieces * pieces / 4.0) pieces *= 2;
    return pieces;
}

// Directions from the first axis, where they all lie before, to the second by halving: exact at both, and the
// same on every machine.
void QuarterDirections(i32 pieces, Direction* out) {
    out[pieces] = {0, 1};
    for (i32 step = pieces; step > 1; step /= 2)
        for (i32 i = 0; i < pieces; i += step)
            out[i + step / 2] = Normalised(out[i].x + out[i + step].x, out[i].y + out[i + step].y);
}

struct Ellipse {
    double x, y, radiusX, radiusY;
};
FinePoint PointAt(const Ellipse& ellipse, const Direction& direction) {
    return {RoundFine(ellipse.x + ellipse.radiusX * direction.x),
            RoundFine(ellipse.y - ellipse.radiusY * direction.y)};
}

// Where the ray through a point leaves the middle; the ellipse made a circle, upwards positive.
Direction RayThrough(const Ellipse& ellipse, const PixelPoint& point) {
    if (ellipse.radiusX <= 0 || ellipse.radiusY <= 0) return Direction();
    return Normalised((ToFine(point.x) - ellipse.x) / ellipse.radiusX,
                      (ellipse.y - ToFine(point.y)) / ellipse.radiusY);
}

double AngleOf(const Direction& direction) {
    const double angle = std::atan2(direction.y, direction.x);
    return angle < 0 ? angle + 2 * HALF_TURN : angle;
}

bool AppendNew(Array<FinePoint>& points, const FinePoint& point) {
    return (!points.IsEmpty() && points.Last() == point) || points.Append(point);
}

// The directions of all four quarters, counter-clockwise, from `first` on to before `last`, both in pieces.
bool AppendQuarters(const Ellipse& ellipse, const Direction* quarter, i32 pieces, i32 first, i32 last,
                    Array<FinePoint>& points) {
    for (i32 i = first; i < last; ++i) {
        const Direction& d = quarter[i % pieces];
        const Direction turned[4] = {{d.x, d.y}, {-d.y, d.x}, {-d.x, -d.y}, {d.y, -d.x}};
        if (!AppendNew(points, PointAt(ellipse, turned[i / pieces % 4]))) return false;
    }
    return true;
}

}  // namespace

i32 ToFine(i32 pixels) { return std::clamp(pixels, -FARTHEST_FINE, FARTHEST_FINE) * FINE; }

bool PenDraws(const Pen& pen, i64 step, i64& end) {
    const PenDashes& dashes = penDashes[pen.style < PEN_NULL ? pen.style : PEN_SOLID];
    const i64 unit = std::max(1, pen.unit);
    const i64 period = PeriodOf(pen);
    if (period == 0) {
        end = INT64_MAX;
        return true;
    }
    end = step - step % period;
    // The lengths add up to the period, so one of them holds the step.
    u32 dash = 0;
    while (step >= (end += dashes.lengths[dash] * unit)) ++dash;
    return dash % 2 == 0;
}

bool StrokeLine(std::span<const FinePoint> points, bool closed, const Pen& pen, const PixelRect& seen,
                OutlineSink sink) {
    const std::size_t count = points.size();
    const std::size_t lines = count < 2 ? 0 : closed ? count : count - 1;
    i64 passed = 0;
    for (std::size_t i = 0; i < lines; ++i) {
        const std::size_t next = (i + 1) % count;
        const FinePoint &a = points[i], &b = points[next];
        if (a == b) continue;
        const bool good = pen.style == PEN_SOLID ? GiveBar(a, b, 0, 1, pen.width, sink)
                                                 : GiveDashes(a, b, pen, seen, passed, sink);
        if (!good) return false;
        if (pen.width > 1 && pen.style == PEN_SOLID && !IsStraight(a, b, PointBehind(points, closed, next)) &&
            !GiveCorner(b, pen.width, sink))
            return false;
    }
    return true;
}

bool CurvePoints(const Shape& shape, i32 inset, Array<FinePoint>& points, bool& closed) {
    const i32 left = ToFine(shape.rect.left) + inset, right = ToFine(shape.rect.right) - inset;
    const i32 top = ToFine(shape.rect.top) + inset, bottom = ToFine(shape.rect.bottom) - inset;
    const Ellipse ellipse = {(double{1} * left + right) / 2, (double{1} * top + bottom) / 2,
                             std::max(0.0, (double{1} * right - left) / 2),
                             std::max(0.0, (double{1} * bottom - top) / 2)};
    Direction quarter[MOST_PIECES + 1];
    const i32 pieces = QuarterPieces(std::max(ellipse.radiusX, ellipse.radiusY));
    QuarterDirections(pieces, quarter);
    const Direction start = RayThrough(ellipse, shape.start), end = RayThrough(ellipse, shape.end);
    const double from = AngleOf(start);
    double to = AngleOf(end);
    closed = shape.kind != SHAPE_ARC;
    if (shape.kind == SHAPE_ELLIPSE || (start.x == end.x && start.y == end.y)) {
        closed = true;
        return AppendQuarters(ellipse, quarter, pieces, 0, 4 * pieces, points);
    }
    if (to <= from) to += 2 * HALF_TURN;
    const double piece = HALF_TURN / 2 / pieces;
    return AppendNew(points, PointAt(ellipse, start)) &&
           AppendQuarters(ellipse, quarter, pieces, static_cast<i32>(std::floor(from / piece)) + 1,
                          static_cast<i32>(std::ceil(to / piece)), points) &&
           AppendNew(points, PointAt(ellipse, end)) &&
           (shape.kind != SHAPE_PIE || AppendNew(points, {RoundFine(ellipse.x), RoundFine(ellipse.y)}));
}

}  // namespace tally
