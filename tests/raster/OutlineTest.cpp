// Strokes as pieces, dashes by their steps, and the points of curves.

#include "raster/Outline.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

using Pieces = std::vector<std::vector<FinePoint>>;

constexpr PixelRect EVERYTHING = {-1000, -1000, 1000, 1000};

Pieces PiecesOf(std::span<const FinePoint> points, bool closed, const Pen& pen,
                const PixelRect& seen = EVERYTHING) {
    Pieces pieces;
    const auto take = [](void* context, const Outline& piece) {
        EXPECT_EQ(piece.ends.Count(), 1u);
        EXPECT_EQ(piece.ends[0], piece.points.Count());
        static_cast<Pieces*>(context)->push_back({piece.points.begin(), piece.points.end()});
    };
    EXPECT_TRUE(StrokeLine(points, closed, pen, seen, {take, &pieces}));
    return pieces;
}

FinePoint At(i32 x, i32 y) { return {ToFine(x), ToFine(y)}; }

constexpr PixelPoint WAYS[] = {{1, 0},   {1, 1},  {0, 1},  {-1, 1}, {-1, 0},
                               {-1, -1}, {0, -1}, {1, -1}, {2, 1},  {-1, 3}};

TEST(Strokes, ARoundCornerStandsWhereTheWayTurnsAndNowhereElse) {
    const Pen pen = {0, PEN_SOLID, 4};
    for (const PixelPoint& first : WAYS) {
        for (const PixelPoint& second : WAYS) {
            const FinePoint a = At(30, 50), b = At(30 + 7 * first.x, 50 + 7 * first.y),
                            c = At(30 + 7 * first.x + 5 * second.x, 50 + 7 * first.y + 5 * second.y);
            const std::size_t corner = first == second ? 0 : 1;
            const FinePoint once[] = {a, b, c}, twice[] = {a, b, b, b, c, c};
            EXPECT_EQ(PiecesOf(once, false, pen).size(), 2 + corner)
                << first.x << first.y << second.x << second.y;
            EXPECT_EQ(PiecesOf(twice, false, pen), PiecesOf(once, false, pen));
            EXPECT_EQ(PiecesOf(once, false, {0, PEN_SOLID, 1}).size(), 2u);
            // Back to the start as well.
            const PixelPoint back = {-7 * first.x - 5 * second.x, -7 * first.y - 5 * second.y};
            if (back.x * first.y == back.y * first.x) continue;
            EXPECT_EQ(PiecesOf(once, true, pen).size(), 6u) << first.x << first.y << second.x << second.y;
            EXPECT_EQ(PiecesOf(twice, true, pen), PiecesOf(once, true, pen));
        }
    }
    const FinePoint same[] = {At(3, 3), At(3, 3), At(3, 3)};
    EXPECT_TRUE(PiecesOf(same, true, pen).empty());
    EXPECT_TRUE(PiecesOf(std::span(same, 1), true, pen).empty());
    EXPECT_TRUE(PiecesOf({}, true, pen).empty());
}

TEST(Strokes, ACornerIsARingAroundItsPoint) {
    for (const i32 width : {2, 3, 9}) {
        const FinePoint points[] = {At(-20, 4), At(5, 7), At(5, 90)};
        const Pieces pieces = PiecesOf(points, false, {0, PEN_SOLID, width});
        ASSERT_EQ(pieces.size(), 3u);
        const std::vector<FinePoint>& ring = pieces[1];
        ASSERT_EQ(ring.size(), 16u);
        for (std::size_t i = 0; i < 16; ++i) {
            const double angle = std::atan2(ring[i].y - points[1].y, ring[i].x - points[1].x);
            const double turn = std::remainder(angle - static_cast<double>(i) * 2 * M_PI / 16, 2 * M_PI);
            EXPECT_NEAR(turn, 0, 0.06) << width << " " << i;
            EXPECT_NEAR(std::hypot(ring[i].x - points[1].x, ring[i].y - points[1].y), width * FINE / 2.0, 0.8);
        }
    }
}

TEST(Strokes, ABarIsAsWideAsThePenAndAsLongAsTheLine) {
    for (const PixelPoint& way : WAYS) {
        for (const i32 width : {2, 5}) {
            const FinePoint a = At(11, -7), b = At(11 + 6 * way.x, -7 + 6 * way.y);
            const FinePoint line[] = {a, b};
            const Pieces pieces = PiecesOf(line, false, {0, PEN_SOLID, width});
            ASSERT_EQ(pieces.size(), 1u);
            const std::vector<FinePoint>& bar = pieces[0];
            ASSERT_EQ(bar.size(), 4u);
            const double length = std::hypot(b.x - a.x, b.y - a.y);
            const double acrossX = -(b.y - a.y) / length * width * FINE / 2,
                         acrossY = (b.x - a.x) / length * width * FINE / 2;
            const double wanted[4][2] = {{a.x + acrossX, a.y + acrossY},
                                         {b.x + acrossX, b.y + acrossY},
                                         {b.x - acrossX, b.y - acrossY},
                                         {a.x - acrossX, a.y - acrossY}};
            for (std::size_t i = 0; i < 4; ++i) {
                EXPECT_NEAR(bar[i].x, wanted[i][0], 0.51) << i;
                EXPECT_NEAR(bar[i].y, wanted[i][1], 0.51) << i;
            }
        }
    }
}

// Dashes are counted in pixels along the longer axis, run on through corners, and are bars of their own.
TEST(Strokes, DashesFollowTheirStepsInEveryDirection) {
    for (const PixelPoint& way : WAYS) {
        const i32 longer = std::max(std::abs(way.x), std::abs(way.y));
        const FinePoint a = At(100, -60), b = At(100 + 30 * way.x, -60 + 30 * way.y),
                        c = At(100 + 60 * way.x, -60 + 60 * way.y);
        const FinePoint whole[] = {a, c}, halves[] = {a, b, c};
        const Pen pen = {0, PEN_DASH, 4};
        const Pieces pieces = PiecesOf(whole, false, pen);
        const i32 steps = 60 * longer;
        ASSERT_EQ(pieces.size(), static_cast<std::size_t>((steps + 23) / 24));
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const double from = 24.0 * static_cast<double>(i) / steps,
                         to = std::min(1.0, (24.0 * static_cast<double>(i) + 18) / steps);
            const double x1 = (pieces[i][0].x + pieces[i][3].x) / 2.0,
                         x2 = (pieces[i][1].x + pieces[i][2].x) / 2.0;
            const double y1 = (pieces[i][0].y + pieces[i][3].y) / 2.0,
                         y2 = (pieces[i][1].y + pieces[i][2].y) / 2.0;
            EXPECT_NEAR(x1, a.x + from * (c.x - a.x), 1);
            EXPECT_NEAR(y1, a.y + from * (c.y - a.y), 1);
            EXPECT_NEAR(x2, a.x + to * (c.x - a.x), 1);
            EXPECT_NEAR(y2, a.y + to * (c.y - a.y), 1);
        }
        // In two lines: as many, and one more where a dash goes over the corner.
        const bool across = 30 * longer % 24 > 0 && 30 * longer % 24 < 18;
        EXPECT_EQ(PiecesOf(halves, false, pen).size(), pieces.size() + across);
        // What is not seen may be left out, never what is.
        for (i32 low = -200; low < 200; low += 37) {
            const PixelRect seen = {low, low - 90, low + 40, low - 50};
            const Pieces some = PiecesOf(whole, false, pen, seen);
            std::size_t next = 0;
            for (const std::vector<FinePoint>& piece : pieces) {
                bool meets = true;
                i32 left = piece[0].x, right = left, top = piece[0].y, bottom = top;
                for (const FinePoint& point : piece) {
                    left = std::min(left, point.x), right = std::max(right, point.x);
                    top = std::min(top, point.y), bottom = std::max(bottom, point.y);
                }
                meets = RectsMeet({left / FINE, top / FINE, right / FINE + 1, bottom / FINE + 1}, seen);
                const bool given = next < some.size() && some[next] == piece;
                next += given;
                EXPECT_TRUE(given || !meets) << way.x << way.y << " " << low;
            }
            EXPECT_EQ(next, some.size());
        }
    }
}

TEST(Strokes, WithoutMemoryEachIsRefused) {
    const FinePoint points[] = {At(0, 0), At(40, 0), At(40, 40)};
    const auto take = [](void*, const Outline&) {};
    for (const PenStyle style : {PEN_SOLID, PEN_DASH}) {
        u64 requests = 0;
        {
            test::FailingAllocator allocator;
            EXPECT_TRUE(StrokeLine(points, false, {0, style, 3}, EVERYTHING, {take, nullptr}));
            requests = allocator.Requests();
        }
        EXPECT_GE(requests, 6u);
        for (u64 n = 1; n <= requests; ++n) {
            test::FailingAllocator allocator(n);
            EXPECT_FALSE(StrokeLine(points, false, {0, style, 3}, EVERYTHING, {take, nullptr})) << n;
            EXPECT_EQ(allocator.LiveBlocks(), 0u);
        }
    }
}

TEST(Dashes, AUnitStretchesThemAndAnUnknownStyleIsSolid) {
    for (const i32 unit : {-3, 0, 1, 4}) {
        const i64 scale = std::max(1, unit);
        const i64 lengths[] = {9, 6, 3, 6};
        i64 step = 0, end = 0;
        for (int i = 0; i < 12; ++i) {
            EXPECT_EQ(PenDraws({0, PEN_DASH_DOT, 1, unit}, step, end), i % 2 == 0) << unit << " " << i;
            EXPECT_EQ(end, step + lengths[i % 4] * scale);
            EXPECT_EQ(PenDraws({0, PEN_DASH_DOT, 1, unit}, end - 1, end), i % 2 == 0);
            EXPECT_EQ(end, step + lengths[i % 4] * scale);
            step = end;
        }
    }
    for (const PenStyle style : {PEN_SOLID, PEN_NULL, static_cast<PenStyle>(200)}) {
        i64 end = 0;
        EXPECT_TRUE(PenDraws({0, style}, 12345, end));
        EXPECT_EQ(end, INT64_MAX);
    }
}

TEST(FinePlaces, AreMovedToWhereTheirProductsFit) {
    EXPECT_EQ(ToFine(0), 0);
    EXPECT_EQ(ToFine(-3), -48);
    EXPECT_EQ(ToFine(FARTHEST_FINE), FARTHEST_FINE * FINE);
    EXPECT_EQ(ToFine(FARTHEST_FINE + 1), FARTHEST_FINE * FINE);
    EXPECT_EQ(ToFine(-FARTHEST_FINE - 1), -FARTHEST_FINE * FINE);
    EXPECT_EQ(ToFine(INT32_MIN), -FARTHEST_FINE * FINE);
}

struct Curve {
    std::vector<FinePoint> points;
    bool closed;
};
Curve CurveOf(const Shape& shape, i32 inset) {
    Array<FinePoint> points;
    bool closed = false;
    EXPECT_TRUE(CurvePoints(shape, inset, points, closed));
    return {{points.begin(), points.end()}, closed};
}

// Every point lies on the ellipse, they go round counter-clockwise in small steps, and begin and end at the
// rays.
TEST(CurveOutlines, GoRoundFromRayToRay) {
    constexpr PixelRect rect = {-40, 10, 60, 70};
    constexpr double X = 10 * FINE, Y = 40 * FINE;
    const PixelPoint rays[] = {{60, 40},  {60, 10},  {10, 0},  {-10, 10},
                               {-40, 40}, {-99, 99}, {10, 90}, {30, 70}};
    for (const i32 inset : {0, 24}) {
        const double radiusX = 50 * FINE - inset, radiusY = 30 * FINE - inset;
        const auto angleOf = [&](double x, double y) {
            return std::atan2((Y - y) / radiusY, (x - X) / radiusX);
        };
        for (const ShapeKind kind : {SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
            for (const PixelPoint& start : rays) {
                for (const PixelPoint& end : rays) {
                    Curve curve = CurveOf({kind, rect, start, end}, inset);
                    const bool whole = kind == SHAPE_ELLIPSE || start == end;
                    EXPECT_EQ(curve.closed, whole || kind != SHAPE_ARC);
                    if (kind == SHAPE_PIE && !whole) {
                        EXPECT_EQ(curve.points.back(), (FinePoint{10 * FINE, 40 * FINE}));
                        curve.points.pop_back();
                    }
                    double turned = 0;
                    for (std::size_t i = 0; i < curve.points.size(); ++i) {
                        const FinePoint& point = curve.points[i];
                        const double x = (point.x - X) / radiusX, y = (point.y - Y) / radiusY;
                        EXPECT_NEAR(x * x + y * y, 1, 0.006);
                        if (!i) continue;
                        const FinePoint& before = curve.points[i - 1];
                        const double step =
                            std::remainder(angleOf(point.x, point.y) - angleOf(before.x, before.y), 2 * M_PI);
                        EXPECT_GT(step, 0);
                        EXPECT_LT(step, 0.11);
                        turned += step;
                    }
                    if (whole) {
                        EXPECT_EQ(curve.points.front(),
                                  (FinePoint{static_cast<i32>(X + radiusX), static_cast<i32>(Y)}));
                        EXPECT_NEAR(turned, 2 * M_PI, 0.11);
                        continue;
                    }
                    const double first = angleOf(start.x * FINE, start.y * FINE);
                    double last = angleOf(end.x * FINE, end.y * FINE);
                    if (last <= first) last += 2 * M_PI;
                    const FinePoint& begin = curve.points.front();
                    EXPECT_NEAR(std::remainder(angleOf(begin.x, begin.y) - first, 2 * M_PI), 0, 0.003);
                    EXPECT_NEAR(turned, last - first, 0.005);
                }
            }
        }
    }
}

TEST(CurveOutlines, HaveMorePointsTheLargerTheyAre) {
    // So many for a quarter: eight, twice as many whenever the radius in pixels goes beyond a quarter of the
    // square.
    const struct {
        i32 radius;
        std::size_t points;
    } rows[] = {{16, 32},    {17, 64},    {64, 64},    {65, 128},    {256, 128},     {257, 256},
                {1024, 256}, {1025, 512}, {4096, 512}, {4097, 1024}, {1000000, 1024}};
    for (const auto& row : rows) {
        for (const bool flat : {false, true}) {
            const i32 other = flat ? row.radius : std::min(row.radius, 12);
            const Curve curve = CurveOf({SHAPE_ELLIPSE, {-row.radius, -other, row.radius, other}, {}, {}}, 0);
            EXPECT_EQ(curve.points.size(), row.points) << row.radius;
        }
        const Curve high = CurveOf({SHAPE_ELLIPSE, {-9, -row.radius, 9, row.radius}, {}, {}}, 0);
        EXPECT_GT(high.points.size(), row.points * 9 / 10) << row.radius;
    }
}

TEST(CurveOutlines, WhatHasNoInsideShrinksToALine) {
    for (const i32 inset : {8, 9, 100}) {
        const Curve thin = CurveOf({SHAPE_ELLIPSE, {5, 0, 6, 40}, {}, {}}, inset);
        for (const FinePoint& point : thin.points) EXPECT_EQ(point.x, 5 * FINE + 8) << inset;
        const Curve low = CurveOf({SHAPE_ARC, {0, 5, 40, 6}, {9, 9}, {3, 3}}, inset);
        for (const FinePoint& point : low.points) EXPECT_EQ(point.y, 5 * FINE + 8) << inset;
    }
}

TEST(CurveOutlines, ARayThatIsNoneGoesToTheRight) {
    constexpr PixelRect rect = {0, 0, 40, 20};
    constexpr PixelPoint middle = {20, 10}, right = {40, 10}, up = {20, 0};
    for (const ShapeKind kind : {SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
        EXPECT_EQ(CurveOf({kind, rect, middle, up}, 0).points, CurveOf({kind, rect, right, up}, 0).points);
        EXPECT_EQ(CurveOf({kind, rect, up, middle}, 0).points, CurveOf({kind, rect, up, right}, 0).points);
        EXPECT_TRUE(CurveOf({kind, rect, middle, right}, 0).closed);
    }
}

TEST(CurveOutlines, WithoutMemoryEachIsRefused) {
    for (const ShapeKind kind : {SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
        bool failed = true;
        for (u64 n = 1; failed; ++n) {
            test::FailingAllocator allocator(n);
            {
                Array<FinePoint> points;
                bool closed = false;
                const bool good = CurvePoints({kind, {0, 0, 40, 30}, {40, 2}, {3, 9}}, 0, points, closed);
                failed = allocator.HasFailed();
                EXPECT_EQ(good, !failed) << kind << " " << n;
            }
            EXPECT_EQ(allocator.LiveBlocks(), 0u);
        }
    }
}

}  // namespace
}  // namespace tally
