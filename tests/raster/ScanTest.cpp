// What scans give: rectangles that are not empty, inside the clip, no pixel twice, and all that lies there.

#include "raster/Scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "raster/Curves.h"
#include "support/FailingAllocator.h"

namespace tally {
namespace {

constexpr i32 SIDE = 48;
constexpr PixelRect EVERYTHING = {0, 0, SIDE, SIDE};

struct Cover {
    PixelRect clip;
    std::vector<int> times = std::vector<int>(SIDE * SIDE);
    int outside = 0, empty = 0;
};
void Take(void* context, const PixelRect& rect) {
    Cover& cover = *static_cast<Cover*>(context);
    cover.empty += IsEmptyRect(rect);
    cover.outside += IntersectRects(rect, cover.clip) != rect;
    const PixelRect cut = IntersectRects(rect, cover.clip);
    for (i32 y = cut.top; y < cut.bottom; ++y)
        for (i32 x = cut.left; x < cut.right; ++x) ++cover.times[static_cast<std::size_t>(y * SIDE + x)];
}

using Scan = std::function<void(const PixelRect& clip, PixelSink sink)>;
Cover CoverOf(const Scan& scan, const PixelRect& clip) {
    Cover cover{clip};
    scan(clip, {Take, &cover});
    return cover;
}

// `once` where no pixel may be given twice. How many pixels there are.
i64 ExpectSound(const Scan& scan, bool once, const std::string& name) {
    const Cover whole = CoverOf(scan, EVERYTHING);
    for (const PixelRect& clip : {EVERYTHING,
                                  PixelRect{10, 7, 31, 40},
                                  {24, 24, 25, 25},
                                  {0, 20, 48, 21},
                                  {20, 0, 21, 48},
                                  {0, 0, 9, 48},
                                  {40, 40, 48, 48},
                                  {5, 5, 5, 9},
                                  {5, 9, 9, 9}}) {
        const Cover cover = CoverOf(scan, clip);
        EXPECT_EQ(cover.outside, 0) << name << " " << clip.left << "," << clip.top;
        EXPECT_EQ(cover.empty, 0) << name << " " << clip.left << "," << clip.top;
        for (i32 y = 0; y < SIDE; ++y) {
            for (i32 x = 0; x < SIDE; ++x) {
                const auto at = static_cast<std::size_t>(y * SIDE + x);
                if (once) EXPECT_LE(cover.times[at], 1) << name << " " << x << "," << y;
                EXPECT_EQ(cover.times[at] > 0, RectHolds(clip, x, y) && whole.times[at] > 0)
                    << name << " " << x << "," << y << " in " << clip.left << "," << clip.top;
            }
        }
    }
    return std::count_if(whole.times.begin(), whole.times.end(), [](int n) { return n > 0; });
}

TEST(Scans, FilledOutlines) {
    const std::vector<std::vector<FinePoint>> rings = {
        {{5, 9}, {700, 40}, {333, 719}},
        {{-900, 100}, {900, 90}, {300, 1900}, {20, -400}},
        {{480, 16}, {736, 735}, {48, 272}, {720, 272}, {224, 735}},
        {{64, 64}, {320, 64}, {320, 320}, {64, 320}, {64, 64}, {160, 160}, {160, 260}, {260, 260}, {260, 160}}};
    for (const auto& ring : rings) {
        for (const bool back : {false, true}) {
            Outline outline;
            std::vector<FinePoint> points = ring;
            if (back) std::reverse(points.begin(), points.end());
            ASSERT_TRUE(outline.points.AppendMany(points.data(), points.size()));
            ASSERT_TRUE(outline.ends.Append(outline.points.Count()));
            for (const FillRule rule : {FILL_ALTERNATE, FILL_WINDING})
                EXPECT_GT(
                    ExpectSound([&](const PixelRect& clip,
                                    PixelSink sink) { EXPECT_TRUE(ScanOutline(outline, rule, clip, sink)); },
                                true, "outline " + std::to_string(&ring - rings.data())),
                    0);
        }
    }
}

// By the rule itself: the crossings to the left of each pixel's middle, in exact arithmetic.
TEST(Scans, APixelIsFilledWhenItsMiddleLiesInside) {
    const std::vector<std::vector<FinePoint>> rings = {
        {{5, 9}, {700, 40}, {333, 719}, {300, 200}},
        {{480, 16}, {736, 735}, {48, 272}, {720, 272}, {224, 735}},
        {{24, 24}, {72, 24}, {72, 72}, {24, 72}},
        {{8, 8}, {40, 8}, {40, 40}, {56, 40}, {56, 8}, {88, 8}, {88, 88}, {8, 88}}};
    for (const auto& ring : rings) {
        Outline outline;
        ASSERT_TRUE(outline.points.AppendMany(ring.data(), ring.size()));
        ASSERT_TRUE(outline.ends.Append(outline.points.Count()));
        for (const FillRule rule : {FILL_ALTERNATE, FILL_WINDING}) {
            const Cover cover =
                CoverOf([&](const PixelRect& clip,
                            PixelSink sink) { EXPECT_TRUE(ScanOutline(outline, rule, clip, sink)); },
                        EVERYTHING);
            for (i32 y = 0; y < SIDE; ++y) {
                for (i32 x = 0; x < SIDE; ++x) {
                    const i64 middleX = x * FINE + FINE / 2, middleY = y * FINE + FINE / 2;
                    i32 crossings = 0, winding = 0;
                    for (std::size_t i = 0; i < ring.size(); ++i) {
                        const FinePoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
                        // Half open: an edge has its upper end and not its lower one.
                        const bool down = a.y < b.y;
                        const FinePoint &top = down ? a : b, &bottom = down ? b : a;
                        if (middleY < top.y || middleY >= bottom.y) continue;
                        const i64 across = (middleX - top.x) * (i64{bottom.y} - top.y) -
                                           (middleY - top.y) * (i64{bottom.x} - top.x);
                        if (across < 0) continue;  // it lies to the right
                        ++crossings;
                        winding += down ? 1 : -1;
                    }
                    const bool inside = rule == FILL_WINDING ? winding != 0 : crossings % 2 != 0;
                    ASSERT_EQ(cover.times[static_cast<std::size_t>(y * SIDE + x)] > 0, inside)
                        << &ring - rings.data() << " " << x << "," << y;
                }
            }
        }
    }
}

TEST(Scans, LinesOfOnePixel) {
    const PixelPoint points[] = {{3, 4},   {40, 4},   {40, 41}, {3, 41}, {-30, 20},
                                 {70, 31}, {20, -50}, {29, 90}, {24, 24}};
    for (const PixelPoint& from : points) {
        for (const PixelPoint& to : points) {
            for (const PenStyle style : {PEN_SOLID, PEN_DASH_DOT}) {
                if (from == to) continue;
                i64 moved = 0;
                const i64 drawn = ExpectSound(
                    [&](const PixelRect& clip, PixelSink sink) {
                        i64 passed = 5;
                        ScanLine(from, to, {0, style}, clip, passed, sink);
                        moved = passed - 5;
                    },
                    true, "line " + std::to_string(from.x) + " " + std::to_string(to.x));
                const i64 steps = std::max(std::abs(from.x - to.x), std::abs(from.y - to.y));
                EXPECT_EQ(moved, steps);
                if (style == PEN_SOLID && RectHolds(EVERYTHING, from.x, from.y) &&
                    RectHolds(EVERYTHING, to.x, to.y))
                    EXPECT_EQ(drawn, steps);
            }
        }
    }
}

TEST(Scans, CurvesAndTheirInside) {
    for (const ShapeKind kind : {SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
        for (const PixelRect& rect : {PixelRect{4, 6, 41, 35}, {-20, 10, 60, 44}, {22, 2, 27, 47}}) {
            const Shape shape = {kind, rect, {45, 3}, {2, 30}};
            const std::string name = "curve " + std::to_string(kind) + " " + std::to_string(rect.left);
            EXPECT_GT(
                ExpectSound([&](const PixelRect& clip, PixelSink sink) { ScanCurveInside(shape, clip, sink); },
                            true, name),
                0);
            for (const i32 width : {1, 2, 5, 99})
                EXPECT_GT(ExpectSound([&](const PixelRect& clip,
                                          PixelSink sink) { ScanCurveBorder(shape, width, clip, sink); },
                                      true, name + " wide " + std::to_string(width)),
                          0);
            Array<FinePoint> points;
            bool closed = false;
            ASSERT_TRUE(CurvePoints(shape, FINE / 2, points, closed));
            for (const PenStyle style : {PEN_SOLID, PEN_DOT})
                EXPECT_GT(ExpectSound(
                              [&](const PixelRect& clip, PixelSink sink) {
                                  ScanCurve(points.Span(), closed, {0, style}, clip, sink);
                              },
                              kind == SHAPE_ELLIPSE, name + " walked"),
                          0);
        }
    }
}

TEST(Scans, WithoutMemoryAnOutlineIsRefused) {
    Outline outline;
    const FinePoint points[] = {{0, 0}, {300, 0}, {300, 300}, {0, 300}};
    ASSERT_TRUE(outline.points.AppendMany(points, 4) && outline.ends.Append(4u));
    bool failed = true;
    for (u64 n = 1; failed; ++n) {
        test::FailingAllocator allocator(n);
        Cover cover{EVERYTHING};
        const bool good = ScanOutline(outline, FILL_WINDING, EVERYTHING, {Take, &cover});
        failed = allocator.HasFailed();
        EXPECT_EQ(good, !failed) << n;
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
        if (n > 1 && !failed) EXPECT_GT(n, 3u);
    }
}

}  // namespace
}  // namespace tally
