// What draws nothing, rings with odd ends, and pictures stretched into their places.

#include "raster/Shapes.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "raster/Raster.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u32 BLACK = 0, WHITE = 0xFFFFFF, RED = 0x0000FF;

class ShapesTest : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ASSERT_TRUE(MakePicture(picture, 30, 30, WHITE));
        target = MakeRasterTarget(surface);
    }
    std::vector<u32> Taken() {
        std::vector<u32> pixels(picture.pixels.begin(), picture.pixels.end());
        std::fill(picture.pixels.begin(), picture.pixels.end(), WHITE);
        return pixels;
    }
    i64 Ink() {
        const std::vector<u32> pixels = Taken();
        return std::count_if(pixels.begin(), pixels.end(), [](u32 pixel) { return pixel != WHITE; });
    }

    Picture picture;
    RasterSurface surface{&picture, nullptr};
    DrawTarget target;
};

TEST_F(ShapesTest, APenWithoutWidthOrStyleAndAnEmptyPlaceDrawNothing) {
    const PixelPoint points[] = {{4, 4}, {20, 9}, {8, 22}};
    const u32 ends[] = {3};
    const PixelRect full = target.clip, place = {3, 4, 22, 25};
    struct Row {
        Pen pen;
        PixelRect clip, rect;
        bool draws;
    };
    const Row rows[] = {{{BLACK, PEN_SOLID, 1}, full, place, true},
                        {{BLACK, PEN_DOT, 1}, full, place, true},
                        {{BLACK, PEN_DOT, 4}, full, place, true},
                        {{BLACK, PEN_SOLID, 0}, full, place, false},
                        {{BLACK, PEN_DOT, 0}, full, place, false},
                        {{BLACK, PEN_SOLID, -1}, full, place, false},
                        {{BLACK, PEN_DOT, -1}, full, place, false},
                        {{BLACK, PEN_NULL, 1}, full, place, false},
                        {{BLACK, PEN_NULL, 4}, full, place, false},
                        {{BLACK, PEN_SOLID, 9}, {9, 9, 9, 20}, place, false},
                        {{BLACK, PEN_SOLID, 9}, {9, 20, 19, 20}, place, false},
                        {{BLACK, PEN_DOT, 9}, {9, 9, 9, 20}, place, false}};
    for (const Row& row : rows) {
        target.clip = row.clip;
        const std::size_t at = static_cast<std::size_t>(&row - rows);
        PolylineByRects(target, points, row.pen);
        EXPECT_EQ(Ink() > 0, row.draws) << "polyline " << at;
        PolylineByRects(target, std::span(points, 2), row.pen);
        EXPECT_EQ(Ink() > 0, row.draws) << "line " << at;
        PolygonByRects(target, {points, ends}, FILL_WINDING, row.pen, NO_BRUSH);
        EXPECT_EQ(Ink() > 0, row.draws) << "polygon " << at;
        for (const ShapeKind kind : {SHAPE_RECTANGLE, SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
            ShapeByRects(target, {kind, row.rect, {22, 4}, {3, 9}}, row.pen, NO_BRUSH);
            EXPECT_EQ(Ink() > 0, row.draws) << "shape " << kind << " " << at;
        }
    }
    target.clip = full;
    const Pen pen = {BLACK};
    PolylineByRects(target, {}, pen);
    PolylineByRects(target, std::span(points, 1), pen);
    const u32 one[] = {1};
    PolygonByRects(target, {points, one}, FILL_WINDING, pen, {.colour = RED});
    PolygonByRects(target, {{}, {}}, FILL_WINDING, pen, {.colour = RED});
    for (const PixelRect& empty : {PixelRect{5, 5, 5, 9}, {5, 5, 9, 5}, {9, 5, 5, 9}, {5, 9, 9, 5}})
        for (const ShapeKind kind : {SHAPE_RECTANGLE, SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE})
            for (const i32 width : {1, 5})
                ShapeByRects(target, {kind, empty, {22, 4}, {3, 9}}, {BLACK, PEN_SOLID, width},
                             {.colour = RED});
    EXPECT_EQ(Ink(), 0);
}

// A brush fills what a pen leaves, in its own colour; a null brush and an arc have no inside.
TEST_F(ShapesTest, TheInsideIsTheBrushsAndTheEdgeThePens) {
    for (const ShapeKind kind : {SHAPE_RECTANGLE, SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
        const Shape shape = {kind, {3, 4, 22, 25}, {22, 4}, {3, 9}};
        ShapeByRects(target, shape, NO_PEN, {.colour = RED});
        const std::vector<u32> inside = Taken();
        EXPECT_EQ(std::count(inside.begin(), inside.end(), RED) > 0, kind != SHAPE_ARC);
        for (const i32 width : {1, 3}) {
            ShapeByRects(target, shape, {BLACK, PEN_SOLID, width}, NO_BRUSH);
            const std::vector<u32> edge = Taken();
            EXPECT_GT(std::count(edge.begin(), edge.end(), BLACK), 9);
            ShapeByRects(target, shape, {BLACK, PEN_SOLID, width}, {.colour = RED});
            std::vector<u32> both = inside;
            for (std::size_t i = 0; i < both.size(); ++i)
                if (edge[i] == BLACK) both[i] = BLACK;
            EXPECT_EQ(Taken(), both) << kind << " " << width;
        }
    }
}

TEST_F(ShapesTest, EndsBehindTheLastPointStandForIt) {
    const PixelPoint points[] = {{2, 2}, {25, 4}, {12, 26}, {1, 20}};
    const u32 good[] = {4}, beyond[] = {99}, none[] = {0, 4}, twice[] = {4, 4, 4};
    PolygonByRects(target, {points, good}, FILL_WINDING, NO_PEN, {.colour = RED});
    const std::vector<u32> filled = Taken();
    PolygonByRects(target, {points, good}, FILL_WINDING, {BLACK}, NO_BRUSH);
    const std::vector<u32> edge = Taken();
    for (const std::span<const u32> ends : {std::span<const u32>(none), std::span<const u32>(twice)}) {
        PolygonByRects(target, {points, ends}, FILL_WINDING, NO_PEN, {.colour = RED});
        EXPECT_EQ(Taken(), filled);
        PolygonByRects(target, {points, ends}, FILL_WINDING, {BLACK}, NO_BRUSH);
        EXPECT_EQ(Taken(), edge);
    }
    // The outline of such a ring, and what follows, is left out.
    PolygonByRects(target, {points, beyond}, FILL_WINDING, NO_PEN, {.colour = RED});
    EXPECT_EQ(Taken(), filled);
    PolygonByRects(target, {points, beyond}, FILL_WINDING, {BLACK}, NO_BRUSH);
    EXPECT_EQ(Ink(), 0);
    // Without points no end is one.
    PolygonByRects(target, {{}, beyond}, FILL_WINDING, {BLACK}, {.colour = RED});
    EXPECT_EQ(Ink(), 0);
}

TEST_F(ShapesTest, ARingOfTwoEqualPointsIsOnePixel) {
    for (const i32 width : {1}) {
        const PixelPoint points[] = {{7, 9}, {7, 9}};
        const u32 ends[] = {2};
        PolygonByRects(target, {points, ends}, FILL_WINDING, {BLACK, PEN_SOLID, width}, NO_BRUSH);
        EXPECT_EQ(PixelAt(picture, 7, 9), BLACK);
        EXPECT_EQ(Ink(), 1);
        PolylineByRects(target, points, {BLACK, PEN_SOLID, width});
        EXPECT_EQ(Ink(), 0);
    }
}

TEST_F(ShapesTest, RingsAboveEachOtherKeepTheirGap) {
    const PixelPoint points[] = {{3, 2},  {9, 2},  {9, 5},  {3, 5},  {3, 8},  {9, 8},  {9, 12}, {3, 12},
                                 {3, 12}, {8, 12}, {8, 14}, {3, 14}, {4, 14}, {8, 14}, {8, 17}, {4, 17}};
    const u32 ends[] = {4, 8, 12, 16};
    PolygonByRects(target, {points, ends}, FILL_WINDING, NO_PEN, {.colour = RED});
    const std::vector<u32> filled = Taken();
    for (const PixelRect& rect : {PixelRect{3, 2, 9, 5}, {3, 8, 9, 12}, {3, 12, 8, 14}, {4, 14, 8, 17}})
        FillRect(target, rect, RED);
    EXPECT_EQ(Taken(), filled);
}

TEST_F(ShapesTest, APenWiderThanAnythingIsAsWideAsTheWidest) {
    for (const PenStyle style : {PEN_SOLID, PEN_DOT}) {
        for (const ShapeKind kind : {SHAPE_RECTANGLE, SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE}) {
            std::vector<u32> shown[2];
            for (const int at : {0, 1}) {
                const Pen pen = {BLACK, style, at ? INT32_MAX : 1 << 16};
                ShapeByRects(target, {kind, {3, 4, 22, 25}, {22, 4}, {3, 9}}, pen, NO_BRUSH);
                shown[at] = Taken();
            }
            EXPECT_EQ(shown[0], shown[1]) << kind << " " << style;
        }
    }
}

// A point that repeats changes nothing, at any width.
TEST_F(ShapesTest, RepeatedPointsChangeNothing) {
    const PixelPoint once[] = {{5, 5}, {24, 8}, {10, 24}},
                     twice[] = {{5, 5}, {5, 5}, {24, 8}, {24, 8}, {10, 24}, {10, 24}};
    const u32 three[] = {3}, six[] = {6};
    for (const PenStyle style : {PEN_SOLID, PEN_DOT}) {
        for (const i32 width : {1, 2, 3, 6, 9}) {
            const Pen pen = {BLACK, style, width};
            PolylineByRects(target, once, pen);
            const std::vector<u32> line = Taken();
            PolylineByRects(target, twice, pen);
            EXPECT_EQ(Taken(), line) << style << " " << width;
            PolygonByRects(target, {once, three}, FILL_WINDING, pen, {.colour = RED});
            const std::vector<u32> ring = Taken();
            PolygonByRects(target, {twice, six}, FILL_WINDING, pen, {.colour = RED});
            EXPECT_EQ(Taken(), ring) << style << " " << width;
        }
    }
}

// Each pixel is the one of the picture that lies under its middle.
TEST_F(ShapesTest, APictureIsStretchedByTheMiddlesOfItsPixels) {
    std::vector<u32> source;
    for (u32 i = 0; i < 35; ++i) source.push_back(100 + i);
    const struct { i32 width, height; } sizes[] = {{1, 1}, {7, 5}, {5, 7}, {35, 1}};
    const PixelRect places[] = {{0, 0, 7, 5}, {3, 8, 10, 13}, {-4, -9, 9, 2}, {5, -3, 6, 30}, {2, 2, 40, 4}};
    for (const auto& size : sizes) {
        for (const PixelRect& place : places) {
            const PixelRect cuts[] = {
                place,
                {place.left, place.top, place.left + 1, place.top + 1},
                {place.right - 1, place.bottom - 2, place.right, place.bottom},
                {(place.left + place.right) / 2, place.top, place.right, place.bottom - 1}};
            for (const PixelRect& cut : cuts) {
                Array<u32> pixels;
                ASSERT_TRUE(StretchPicture({size.width, size.height, source.data()}, place, cut, pixels));
                std::vector<u32> wanted;
                for (i32 y = cut.top; y < cut.bottom; ++y) {
                    for (i32 x = cut.left; x < cut.right; ++x) {
                        const double across = (x - place.left + 0.5) / (place.right - place.left) * size.width;
                        const double down = (y - place.top + 0.5) / (place.bottom - place.top) * size.height;
                        wanted.push_back(source[static_cast<std::size_t>(std::floor(down + 1e-9) * size.width +
                                                                         std::floor(across + 1e-9))]);
                    }
                }
                EXPECT_EQ(std::vector<u32>(pixels.begin(), pixels.end()), wanted)
                    << size.width << " " << place.left << " " << cut.left;
            }
        }
    }
}

TEST_F(ShapesTest, APictureWithoutPixelsOrPlaceGivesNone) {
    const u32 source[] = {1, 2, 3, 4};
    const PixelRect place = {1, 1, 9, 9};
    const struct {
        PictureView picture;
        PixelRect cut;
    } rows[] = {{{0, 2, source}, place},       {{2, 0, source}, place},        {{-1, 2, source}, place},
                {{2, -1, source}, place},      {{2, 2, source}, {4, 4, 4, 9}}, {{2, 2, source}, {4, 4, 9, 4}},
                {{2, 2, source}, {9, 4, 4, 9}}};
    for (const auto& row : rows) {
        Array<u32> pixels;
        ASSERT_TRUE(pixels.Append(7u));
        EXPECT_TRUE(StretchPicture(row.picture, place, row.cut, pixels));
        EXPECT_TRUE(pixels.IsEmpty());
    }
    test::FailingAllocator allocator(1);
    Array<u32> pixels;
    EXPECT_FALSE(StretchPicture({2, 2, source}, place, place, pixels));
    Picture made;
    allocator.FailAt(1);
    EXPECT_FALSE(MakePicture(made, 2, 2, RED));
    EXPECT_EQ(made.width, 0);
}

}  // namespace
}  // namespace tally
