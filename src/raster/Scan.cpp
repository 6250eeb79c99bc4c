#include "raster/Scan.h"

#include <algorithm>
#include <cstdlib>

namespace tally {
namespace {

i64 FloorDiv(i64 a, i64 b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }
i64 CeilDiv(i64 a, i64 b) { return -FloorDiv(-a, b); }

// ---- filled outlines ---------------------------------------------------------------------------------

// An edge over the rows whose middle it crosses.
struct FillEdge {
    FinePoint from, to;
    i32 firstRow, endRow;
    i32 winding;
};
struct Crossing {
    i32 column;  // the first pixel behind it
    i32 winding;
};

// The first row whose middle lies at or below a fine place.
i32 RowFrom(i32 y) { return static_cast<i32>(CeilDiv(i64{y} - FINE / 2, FINE)); }

bool AddEdge(const FinePoint& a, const FinePoint& b, const PixelRect& clip, Array<FillEdge>& edges) {
    FillEdge edge = {a, b, RowFrom(std::min(a.y, b.y)), RowFrom(std::max(a.y, b.y)), a.y > b.y ? -1 : 1};
    edge.firstRow = std::max(edge.firstRow, clip.top);
    edge.endRow = std::min(edge.endRow, clip.bottom);
    return edge.firstRow >= edge.endRow || edges.Append(edge);
}

bool CollectEdges(const Outline& outline, const PixelRect& clip, Array<FillEdge>& edges) {
    u32 start = 0;
    for (const u32 end : outline.ends) {
        for (u32 i = start; i < end; ++i) {
            const u32 next = i + 1 < end ? i + 1 : start;
            if (!AddEdge(outline.points[i], outline.points[next], clip, edges)) return false;
        }
        start = end;
    }
    std::sort(edges.begin(), edges.end(),
              [](const FillEdge& a, const FillEdge& b) { return a.firstRow < b.firstRow; });
    return true;
}

i32 CrossingColumn(const FillEdge& edge, i32 row) {
    const i64 height = i64{edge.to.y} - edge.from.y, width = i64{edge.to.x} - edge.from.x;
    const i64 down = i64{row} * FINE + FINE / 2 - edge.from.y;
    const i64 column = CeilDiv((i64{edge.from.x} - FINE / 2) * height + down * width, FINE * height);
    return static_cast<i32>(column);
}

// Spans of rows one below the other become one rectangle where they are the same.
struct SpanJoiner {
    PixelSink sink;
    PixelRect waiting;

    void Give(i32 left, i32 right, i32 row, bool only) {
        if (only && waiting.bottom == row && waiting.left == left && waiting.right == right) {
            ++waiting.bottom;
            return;
        }
        Flush();
        if (only) waiting = {left, row, right, row + 1};
        else sink.fill(sink.context, {left, row, right, row + 1});
    }
    void Flush() {
        if (!IsEmptyRect(waiting)) sink.fill(sink.context, waiting);
        waiting = PixelRect();
    }
};

void FillRow(const Array<Crossing>& crossings, FillRule rule, const PixelRect& clip, i32 row,
             SpanJoiner& spans) {
    i32 winding = 0;
    for (u32 i = 0; i + 1 < crossings.Count(); ++i) {
        winding += crossings[i].winding;
        const bool inside = rule == FILL_WINDING ? winding != 0 : i % 2 == 0;
        const i32 left = std::max(crossings[i].column, clip.left);
        const i32 right = std::min(crossings[i + 1].column, clip.right);
        if (inside && left < right) spans.Give(left, right, row, crossings.Count() == 2);
    }
}

// ---- lines -------------------------------------------------------------------------------------------

// Ends farther out than this move no pixel that can be seen, and their products would not fit.
constexpr i32 FARTHEST_PIXEL = 1 << 28;

// A line counted in steps along its longer axis; the other axis follows by whole pixels.
struct LineSteps {
    i64 major, minor;          // start
    i64 majorSign, minorSign;  // -1 or 1
    i64 steps, rise;           // lengths along both axes
    bool upright;              // the longer axis is y
};

LineSteps StepsOf(PixelPoint a, PixelPoint b) {
    for (i32* place : {&a.x, &a.y, &b.x, &b.y}) *place = std::clamp(*place, -FARTHEST_PIXEL, FARTHEST_PIXEL);
    const i64 width = std::abs(i64{b.x} - a.x), height = std::abs(i64{b.y} - a.y);
    LineSteps line = {a.x, a.y, b.x < a.x ? -1 : 1, b.y < a.y ? -1 : 1, width, height, height > width};
    if (line.upright) {
        std::swap(line.major, line.minor);
        std::swap(line.majorSign, line.minorSign);
        std::swap(line.steps, line.rise);
    }
    return line;
}

void GiveRun(const LineSteps& line, i64 from, i64 to, i64 minor, const PixelRect& clip, PixelSink sink) {
    const i64 edge = line.upright ? clip.left : clip.top, farEdge = line.upright ? clip.right : clip.bottom;
    if (minor < edge || minor >= farEdge) return;
    const i64 first = line.major + line.majorSign * from, last = line.major + line.majorSign * (to - 1);
    const auto low = static_cast<i32>(std::min(first, last)),
               high = static_cast<i32>(std::max(first, last) + 1);
    const auto across = static_cast<i32>(minor);
    const PixelRect rect =
        line.upright ? PixelRect{across, low, across + 1, high} : PixelRect{low, across, high, across + 1};
    const PixelRect cut = IntersectRects(rect, clip);
    if (!IsEmptyRect(cut)) sink.fill(sink.context, cut);
}

// The pixels of some steps, those beside each other in one piece.
void GiveSteps(const LineSteps& line, i64 from, i64 to, const PixelRect& clip, PixelSink sink) {
    if (line.rise == 0) return GiveRun(line, from, to, line.minor, clip, sink);
    i64 begin = from, climbed = (2 * line.rise * from + line.steps) / (2 * line.steps);
    for (i64 step = from + 1; step <= to; ++step) {
        const i64 now = (2 * line.rise * step + line.steps) / (2 * line.steps);
        if (step < to && now == climbed) continue;
        GiveRun(line, begin, step, line.minor + line.minorSign * climbed, clip, sink);
        begin = step;
        climbed = now;
    }
}

// ---- curves ------------------------------------------------------------------------------------------

// Pixels one behind the other; the last two are held back until it is known whether the corner between them
// goes.
struct CurveWalk {
    const Pen& pen;
    const PixelRect& clip;
    PixelSink sink;
    i64 passed = 0;
    PixelPoint held[2] = {};
    i32 count = 0;
    PixelPoint first = {};
    bool started = false;

    void Give(const PixelPoint& pixel) {
        i64 end = 0;
        if (PenDraws(pen, passed++, end) && RectHolds(clip, pixel.x, pixel.y))
            sink.fill(sink.context, {pixel.x, pixel.y, pixel.x + 1, pixel.y + 1});
    }
    void Step(const PixelPoint& pixel) {
        if (!started) first = pixel;
        started = true;
        if (count && held[count - 1] == pixel) return;
        if (count == 2 && std::abs(pixel.x - held[0].x) == 1 && std::abs(pixel.y - held[0].y) == 1) {
            held[1] = pixel;
            return;
        }
        if (count == 2) {
            Give(held[0]);
            held[0] = held[1];
            count = 1;
        }
        held[count++] = pixel;
    }
    // Behind a stretch that is not seen.
    void Jump(const PixelPoint& pixel, i64 steps) {
        Flush();
        passed += steps;
        Step(pixel);
    }
    void Flush() {
        for (i32 i = 0; i < count; ++i) Give(held[i]);
        count = 0;
    }
};

PixelPoint PixelOf(i64 x, i64 y) {
    return {static_cast<i32>(FloorDiv(x, FINE)), static_cast<i32>(FloorDiv(y, FINE))};
}

void WalkPiece(const FinePoint& a, const FinePoint& b, CurveWalk& walk) {
    const i64 dx = i64{b.x} - a.x, dy = i64{b.y} - a.y;
    const PixelPoint low = PixelOf(std::min(a.x, b.x), std::min(a.y, b.y));
    const PixelPoint high = PixelOf(std::max(a.x, b.x), std::max(a.y, b.y));
    const i64 steps = std::max<i64>(1, (std::max(std::abs(dx), std::abs(dy)) + FINE / 2 - 1) / (FINE / 2));
    // Short pieces are walked where they are not seen, too: only that counts the dashes exactly.
    constexpr i64 LONGEST_UNSEEN = 512;
    if (steps > LONGEST_UNSEEN && !RectsMeet({low.x, low.y, high.x + 1, high.y + 1}, walk.clip)) {
        walk.Jump(PixelOf(b.x, b.y), steps / 2);
        return;
    }
    for (i64 i = 1; i <= steps; ++i)
        walk.Step(PixelOf(a.x + FloorDiv(dx * i, steps), a.y + FloorDiv(dy * i, steps)));
}

}  // namespace

bool ScanOutline(const Outline& outline, FillRule rule, const PixelRect& clip, PixelSink sink) {
    Array<FillEdge> edges;
    if (IsEmptyRect(clip)) return true;
    if (!CollectEdges(outline, clip, edges)) return false;
    Array<FillEdge> active;
    Array<Crossing> crossings;
    SpanJoiner spans{sink, {}};
    u32 next = 0;
    i32 row = edges.IsEmpty() ? clip.bottom : edges[0].firstRow;
    for (; row < clip.bottom && (next < edges.Count() || !active.IsEmpty()); ++row) {
        while (next < edges.Count() && edges[next].firstRow <= row)
            if (!active.Append(edges[next++])) return false;
        crossings.Truncate(0);
        u32 kept = 0;
        for (const FillEdge& edge : active) {
            if (edge.endRow <= row) continue;
            if (!crossings.Append({CrossingColumn(edge, row), edge.winding})) return false;
            active[kept++] = edge;
        }
        active.Truncate(kept);
        std::sort(crossings.begin(), crossings.end(),
                  [](const Crossing& a, const Crossing& b) { return a.column < b.column; });
        FillRow(crossings, rule, clip, row, spans);
    }
    spans.Flush();
    return true;
}

void ScanLine(const PixelPoint& from, const PixelPoint& to, const Pen& pen, const PixelRect& clip, i64& passed,
              PixelSink sink) {
    const LineSteps line = StepsOf(from, to);
    // Only the steps inside the clip are walked: a line may end far outside.
    const i64 low = line.upright ? clip.top : clip.left, high = line.upright ? clip.bottom : clip.right;
    const i64 first = line.majorSign > 0 ? low - line.major : line.major - high + 1;
    const i64 last = line.majorSign > 0 ? high - line.major : line.major - low + 1;
    const i64 end = std::min(line.steps, last);
    for (i64 step = std::max<i64>(0, first), next = 0; step < end; step = next) {
        const bool drawn = PenDraws(pen, passed + step, next);
        next = next == INT64_MAX ? end : std::min(next - passed, end);
        if (drawn) GiveSteps(line, step, next, clip, sink);
    }
    passed += line.steps;
}

void ScanCurve(std::span<const FinePoint> points, bool closed, const Pen& pen, const PixelRect& clip,
               PixelSink sink) {
    if (points.empty()) return;
    CurveWalk walk{pen, clip, sink};
    walk.Step(PixelOf(points[0].x, points[0].y));
    for (std::size_t i = 0; i + 1 < points.size(); ++i) WalkPiece(points[i], points[i + 1], walk);
    if (closed && points.size() > 1) WalkPiece(points.back(), points[0], walk);
    // A closed one ends on its first pixel, which stands already.
    if (closed && walk.count > 1 && walk.held[walk.count - 1] == walk.first) --walk.count;
    walk.Flush();
}

}  // namespace tally
