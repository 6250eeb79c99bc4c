#include "raster/Raster.h"

#include <climits>
#include <string>
#include <vector>

#include "platform/headless/HeadlessDrawing.h"
#include "raster/Curves.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u32 BLACK = 0, WHITE = 0xFFFFFF, RED = 0x0000FF;

// A white picture, shown as rows of "." for white and "#" for anything else.
class RasterTest : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ResetHeadlessDrawing();
        Size(12, 9);
    }
    void Size(i32 width, i32 height) {
        ASSERT_TRUE(MakePicture(picture, width, height, WHITE));
        target = MakeRasterTarget(surface);
    }
    void Clean() { std::fill(picture.pixels.begin(), picture.pixels.end(), WHITE); }
    using Rows = std::vector<std::string>;
    Rows Shown() {
        Rows rows;
        for (i32 y = 0; y < picture.height; ++y) {
            std::string row;
            for (i32 x = 0; x < picture.width; ++x) row += PixelAt(picture, x, y) == WHITE ? '.' : '#';
            rows.push_back(row);
        }
        Clean();
        return rows;
    }
    int Ink() {
        int count = 0;
        for (const u32 pixel : picture.pixels) count += pixel != WHITE;
        Clean();
        return count;
    }

    Picture picture;
    RasterSurface surface{&picture, &HeadlessFonts()};
    DrawTarget target;
};

TEST_F(RasterTest, ALineHasItsFirstPixelAndNotItsLast) {
    Size(7, 5);
    struct Case {
        i32 x1, y1, x2, y2;
        Rows shown;
    };
    const Case cases[] = {
        {1, 1, 5, 1, {".......", ".####..", ".......", ".......", "......."}},
        {5, 1, 1, 1, {".......", "..####.", ".......", ".......", "......."}},
        {2, 0, 2, 4, {"..#....", "..#....", "..#....", "..#....", "......."}},
        {2, 4, 2, 0, {".......", "..#....", "..#....", "..#....", "..#...."}},
        {0, 0, 4, 4, {"#......", ".#.....", "..#....", "...#...", "......."}},
        {0, 4, 6, 1, {".......", ".....#.", "...##..", ".##....", "#......"}},
        {3, 3, 3, 3, {".......", ".......", ".......", ".......", "......."}},
    };
    for (const Case& row : cases) {
        DrawLine(target, row.x1, row.y1, row.x2, row.y2, {BLACK});
        EXPECT_EQ(Shown(), row.shown) << row.x1 << "," << row.y1 << " " << row.x2 << "," << row.y2;
    }
}

TEST_F(RasterTest, TheLinesOfAPolylineMeetAndDashesRunOnThroughThem) {
    const PixelPoint points[] = {{1, 1}, {8, 1}, {8, 6}, {1, 6}};
    DrawPolyline(target, points, {BLACK});
    EXPECT_EQ(Shown(), (Rows{"............", ".########...", "........#...", "........#...", "........#...",
                             "........#...", "..#######...", "............", "............"}));
    DrawPolyline(target, points, {BLACK, PEN_DOT});
    EXPECT_EQ(Shown(), (Rows{"............", ".###...##...", "........#...", "............", "............",
                             "............", "..#...###...", "............", "............"}));
    // A unit of two makes all lengths twice as long.
    DrawLine(target, 0, 0, 12, 0, {BLACK, PEN_DOT, 1, 2});
    EXPECT_EQ(Shown()[0], "######......");
}

TEST_F(RasterTest, AWideLineLiesAroundItsOwnPixels) {
    struct Case {
        i32 width;
        PixelRect across, down;
    };
    for (const Case& row : {Case{2, {2, 3, 9, 5}, {3, 1, 5, 7}},
                            {3, {2, 3, 9, 6}, {3, 1, 6, 7}},
                            {4, {2, 2, 9, 6}, {2, 1, 6, 7}},
                            {5, {2, 2, 9, 7}, {2, 1, 7, 7}}}) {
        DrawLine(target, 2, 4, 9, 4, {BLACK, PEN_SOLID, row.width});
        const Rows across = Shown();
        FillRect(target, row.across, BLACK);
        EXPECT_EQ(across, Shown()) << row.width;
        DrawLine(target, 4, 1, 4, 7, {BLACK, PEN_SOLID, row.width});
        const Rows down = Shown();
        FillRect(target, row.down, BLACK);
        EXPECT_EQ(down, Shown()) << row.width;
    }
    DrawLine(target, 0, 2, 12, 2, {BLACK, PEN_DOT, 2});
    EXPECT_EQ(Shown()[1], "###...###...");
    DrawLine(target, 1, -1, 9, -1, {BLACK, PEN_SOLID, 5});  // only a part of it is inside
    EXPECT_EQ(Shown()[1], ".########...");
}

TEST_F(RasterTest, AWideSlantedLineIsAsWideAsItsPen) {
    Size(60, 60);
    DrawLine(target, 10, 10, 50, 40, {BLACK, PEN_SOLID, 6});
    EXPECT_NEAR(Ink(), 50 * 6, 12);
    // Corners are filled: without them a wedge would be open.
    const PixelPoint corner[] = {{10, 50}, {30, 10}, {50, 50}};
    DrawPolyline(target, corner, {BLACK, PEN_SOLID, 9});
    EXPECT_EQ(PixelAt(picture, 30, 7), BLACK);
    EXPECT_EQ(PixelAt(picture, 30, 4), WHITE);
}

TEST_F(RasterTest, APolygonFillsByItsRule) {
    // Two squares that go round the same way, one inside the other.
    const PixelPoint points[] = {{1, 1}, {10, 1}, {10, 8}, {1, 8}, {3, 3}, {7, 3}, {7, 6}, {3, 6}};
    const u32 ends[] = {4, 8};
    DrawPolygon(target, {points, ends}, FILL_ALTERNATE, NO_PEN, {.colour = RED});
    EXPECT_EQ(Shown(), (Rows{"............", ".#########..", ".#########..", ".##....###..", ".##....###..",
                             ".##....###..", ".#########..", ".#########..", "............"}));
    DrawPolygon(target, {points, ends}, FILL_WINDING, NO_PEN, {.colour = RED});
    FillRect(target, {1, 1, 10, 8}, WHITE);
    EXPECT_EQ(Ink(), 0);
    DrawPolygon(target, {points, ends}, FILL_WINDING, {BLACK}, NO_BRUSH);
    EXPECT_EQ(Shown(), (Rows{"............", ".##########.", ".#........#.", ".#.#####..#.", ".#.#...#..#.",
                             ".#.#...#..#.", ".#.#####..#.", ".#........#.", ".##########."}));
}

TEST_F(RasterTest, PolygonsThatShareAnEdgeNeitherOverlapNorLeaveAGap) {
    Size(40, 40);
    const PixelPoint a[] = {{3, 2}, {37, 9}, {21, 36}}, b[] = {{37, 9}, {39, 39}, {21, 36}};
    const u32 ends[] = {3};
    DrawPolygon(target, {a, ends}, FILL_ALTERNATE, NO_PEN, {.colour = RED});
    const int first = Ink();
    DrawPolygon(target, {b, ends}, FILL_ALTERNATE, NO_PEN, {.colour = RED});
    const int second = Ink();
    DrawPolygon(target, {a, ends}, FILL_ALTERNATE, NO_PEN, {.colour = RED});
    DrawPolygon(target, {b, ends}, FILL_ALTERNATE, NO_PEN, {.colour = RED});
    EXPECT_EQ(Ink(), first + second);
    const PixelPoint whole[] = {{3, 2}, {37, 9}, {39, 39}, {21, 36}};
    const u32 end[] = {4};
    DrawPolygon(target, {whole, end}, FILL_ALTERNATE, NO_PEN, {.colour = RED});
    EXPECT_EQ(Ink(), first + second);
}

TEST_F(RasterTest, AStarIsHollowByOneRuleAndFullByTheOther) {
    Size(60, 60);
    const PixelPoint star[] = {{30, 2}, {46, 55}, {3, 20}, {57, 20}, {14, 55}};
    const u32 ends[] = {5};
    DrawPolygon(target, {star, ends}, FILL_ALTERNATE, NO_PEN, {.colour = BLACK});
    EXPECT_EQ(PixelAt(picture, 30, 30), WHITE);
    EXPECT_EQ(PixelAt(picture, 30, 10), BLACK);
    Clean();
    DrawPolygon(target, {star, ends}, FILL_WINDING, NO_PEN, {.colour = BLACK});
    EXPECT_EQ(PixelAt(picture, 30, 30), BLACK);
}

TEST_F(RasterTest, ARectanglesOutlineLiesInside) {
    DrawShape(target, {SHAPE_RECTANGLE, {2, 1, 9, 6}, {}, {}}, {BLACK}, NO_BRUSH);
    EXPECT_EQ(Shown(), (Rows{"............", "..#######...", "..#.....#...", "..#.....#...", "..#.....#...",
                             "..#######...", "............", "............", "............"}));
    DrawShape(target, {SHAPE_RECTANGLE, {2, 1, 9, 6}, {}, {}}, {BLACK, PEN_SOLID, 2}, NO_BRUSH);
    EXPECT_EQ(Shown()[3], "..##...##...");
    DrawShape(target, {SHAPE_RECTANGLE, {2, 1, 9, 6}, {}, {}}, {BLACK, PEN_DOT}, NO_BRUSH);
    EXPECT_EQ(Shown()[1], "..###...#...");
    DrawShape(target, {SHAPE_RECTANGLE, {2, 1, 9, 6}, {}, {}}, {BLACK, PEN_SOLID, 50}, {.colour = RED});
    FillRect(target, {2, 1, 9, 6}, WHITE);
    EXPECT_EQ(Ink(), 0);
    for (const PixelRect& small : {PixelRect{4, 4, 5, 5}, {4, 4, 6, 5}, {4, 4, 5, 7}}) {
        for (const PenStyle style : {PEN_SOLID, PEN_DASH}) {
            DrawShape(target, {SHAPE_RECTANGLE, small, {}, {}}, {BLACK, style}, NO_BRUSH);
            EXPECT_EQ(Ink(), (small.right - small.left) * (small.bottom - small.top));
        }
    }
}

TEST_F(RasterTest, AnEllipseLiesInItsRectangleAndIsTheSameOnAllSides) {
    DrawShape(target, {SHAPE_ELLIPSE, {1, 1, 10, 8}, {}, {}}, NO_PEN, {.colour = BLACK});
    EXPECT_EQ(Shown(), (Rows{"............", "...#####....", "..#######...", ".#########..", ".#########..",
                             ".#########..", "..#######...", "...#####....", "............"}));
    DrawShape(target, {SHAPE_ELLIPSE, {1, 1, 10, 8}, {}, {}}, {BLACK}, NO_BRUSH);
    EXPECT_EQ(Shown(), (Rows{"............", "...#####....", "..#.....#...", ".#.......#..", ".#.......#..",
                             ".#.......#..", "..#.....#...", "...#####....", "............"}));
    Size(64, 64);
    for (i32 size = 1; size < 60; ++size) {
        const PixelRect rect = {2, 2, 2 + size, 2 + (size + 3) / 2};
        for (const i32 width : {0, 1, 3}) {
            DrawShape(target, {SHAPE_ELLIPSE, rect, {}, {}}, {BLACK, width ? PEN_SOLID : PEN_NULL, width},
                      width ? NO_BRUSH : Brush{.colour = BLACK});
            Rows rows;
            for (i32 y = rect.top; y < rect.bottom; ++y) {
                std::string row;
                for (i32 x = rect.left; x < rect.right; ++x) row += PixelAt(picture, x, y) == WHITE ? '.' : '#';
                rows.push_back(row);
            }
            {
                EXPECT_EQ(rows, Rows(rows.rbegin(), rows.rend())) << size << " " << width;
                for (const std::string& row : rows)
                    EXPECT_EQ(row, std::string(row.rbegin(), row.rend())) << size << " " << width;
            }
            EXPECT_NE(rows.front().find('#'), std::string::npos) << size << " " << width;
            FillRect(target, rect, WHITE);
            EXPECT_EQ(Ink(), 0) << size << " " << width;
        }
    }
}

TEST_F(RasterTest, APieRunsCounterClockwiseFromItsStart) {
    Size(41, 41);
    struct Case {
        PixelPoint start, end;
        const char* quarters;  // of upper right, upper left, lower left, lower right, those that are filled
    };
    const PixelPoint east{40, 20}, north{20, 0}, west{0, 20}, south{20, 40};
    for (const Case& row : {Case{east, north, "1..."},
                            {north, west, ".2.."},
                            {west, south, "..3."},
                            {south, east, "...4"},
                            {north, east, ".234"},
                            {east, west, "12.."},
                            {south, north, "1..4"},
                            {west, west, "1234"}}) {
        for (const ShapeKind kind : {SHAPE_PIE, SHAPE_CHORD}) {
            DrawShape(target, {kind, {0, 0, 40, 40}, row.start, row.end}, NO_PEN, {.colour = BLACK});
            std::string quarters;
            // Near the curve, where chords are filled as well.
            constexpr i32 IN = 9, OUT = 31;
            quarters += PixelAt(picture, OUT, IN) == BLACK ? '1' : '.';
            quarters += PixelAt(picture, IN, IN) == BLACK ? '2' : '.';
            quarters += PixelAt(picture, IN, OUT) == BLACK ? '3' : '.';
            quarters += PixelAt(picture, OUT, OUT) == BLACK ? '4' : '.';
            EXPECT_EQ(quarters, row.quarters) << kind;
            Clean();
        }
    }
    // A pie has its middle, a chord has not; an arc has nothing inside and no way back.
    DrawShape(target, {SHAPE_PIE, {0, 0, 40, 40}, east, north}, NO_PEN, {.colour = BLACK});
    EXPECT_EQ(PixelAt(picture, 22, 17), BLACK);
    EXPECT_NEAR(Ink(), 314, 12);
    DrawShape(target, {SHAPE_CHORD, {0, 0, 40, 40}, east, north}, NO_PEN, {.colour = BLACK});
    EXPECT_EQ(PixelAt(picture, 22, 17), WHITE);
    EXPECT_NEAR(Ink(), 314 - 200, 12);
    DrawShape(target, {SHAPE_ARC, {0, 0, 40, 40}, east, north}, {BLACK}, {.colour = RED});
    EXPECT_EQ(PixelAt(picture, 30, 10), WHITE);
    const int arc = Ink();
    EXPECT_NEAR(arc, 28, 3);
    DrawShape(target, {SHAPE_PIE, {0, 0, 40, 40}, east, north}, {BLACK}, NO_BRUSH);
    EXPECT_NEAR(Ink(), arc + 40, 3);
    DrawShape(target, {SHAPE_CHORD, {0, 0, 40, 40}, east, north}, {BLACK}, NO_BRUSH);
    EXPECT_NEAR(Ink(), arc + 20, 3);
}

TEST_F(RasterTest, TheSlicesOfAPieMakeAWholeOne) {
    Size(61, 61);
    const PixelPoint rays[] = {{60, 25}, {41, 2}, {7, 12}, {3, 50}, {40, 59}};
    int sum = 0;
    for (int i = 0; i < 5; ++i) {
        DrawShape(target, {SHAPE_PIE, {2, 2, 58, 58}, rays[i], rays[(i + 1) % 5]}, NO_PEN, {.colour = BLACK});
        sum += Ink();
    }
    DrawShape(target, {SHAPE_ELLIPSE, {2, 2, 58, 58}, {}, {}}, NO_PEN, {.colour = BLACK});
    const int whole = Ink();
    EXPECT_EQ(sum, whole);
    for (int i = 0; i < 5; ++i)
        DrawShape(target, {SHAPE_PIE, {2, 2, 58, 58}, rays[i], rays[(i + 1) % 5]}, NO_PEN, {.colour = BLACK});
    EXPECT_EQ(Ink(), sum);  // none overlaps another
}

TEST_F(RasterTest, ACurveOfOnePixelHasNoPixelToSpare) {
    Size(120, 120);
    for (i32 size = 9; size < 110; size += 10) {
        DrawShape(target, {SHAPE_ELLIPSE, {3, 3, 3 + size, 3 + size}, {}, {}}, {BLACK}, NO_BRUSH);
        // Eight-connected, without corners: as many pixels as four times the side of the eighth allows.
        const double octants = 8 * (size - 1) / 2.0 * 0.70710678;
        EXPECT_NEAR(Ink(), octants, 6) << size;
    }
}

TEST_F(RasterTest, PatternsAndTheirGround) {
    FillRect(target, {0, 0, 12, 9}, {.colour = BLACK, .pattern = 11, .backColour = WHITE});
    Rows stripes(9, "............");
    stripes[0] = stripes[4] = stripes[8] = "############";
    EXPECT_EQ(Shown(), stripes);
    FillRect(target, {0, 0, 12, 9}, RED);
    FillRect(target, {0, 0, 12, 9}, {.colour = BLACK, .pattern = 11, .clear = true, .backColour = WHITE});
    EXPECT_EQ(PixelAt(picture, 3, 1), RED);
    EXPECT_EQ(PixelAt(picture, 3, 4), BLACK);
    Clean();
    FillRect(target, {0, 0, 12, 9}, NO_BRUSH);
    EXPECT_EQ(Ink(), 0);
    for (u8 pattern = BRUSH_FIRST_PATTERN; pattern <= BRUSH_LAST_PATTERN; ++pattern) {
        constexpr int share[] = {32, 48, 16, 32, 32, 32, 32, 32, 48, 16, 16, 16, 16, 28, 24, 8, 4};
        FillRect(target, {3, 1, 11, 9}, {.colour = BLACK, .pattern = pattern, .backColour = WHITE});
        EXPECT_EQ(Ink(), share[pattern - BRUSH_FIRST_PATTERN]) << int{pattern};
    }
}

TEST_F(RasterTest, DotsForAPrinterAreAsLargeAsThoseOfAScreen) {
    const Brush brush = {.colour = BLACK, .pattern = 7, .backColour = WHITE};
    FillRect(target, {0, 0, 8, 4}, brush);
    const Rows screen = Shown();
    target = MakeRasterTarget(surface, 192, 288);
    target.printer = true;
    FillRect(target, {0, 0, 12, 9}, brush);
    const Rows paper = Shown();
    for (std::size_t y = 0; y < 9; ++y)
        for (std::size_t x = 0; x < 12; ++x) EXPECT_EQ(paper[y][x], screen[y / 3][x / 2]) << x << " " << y;
}

// Degrees are those of the circle: a ray through the corner of the rectangle is at 45 of them.
TEST(CurvesTest, ASweepRunsCounterClockwiseBetweenItsRays) {
    const PixelRect flat = {0, 0, 200, 100};
    const PixelPoint east = {200, 50}, corner = {200, 0}, north = {100, 0}, west = {0, 50}, south = {100, 99};
    const struct {
        ShapeKind kind;
        PixelPoint start, end;
        double inset, from, length;
    } rows[] = {
        {SHAPE_ARC, east, north, 0, 0, 90},
        {SHAPE_ARC, north, east, 0, 90, 270},
        {SHAPE_PIE, corner, west, 0, 45, 135},
        {SHAPE_CHORD, west, corner, 0, 180, 225},
        {SHAPE_PIE, south, east, 10, -90, 90},
        {SHAPE_PIE, east, east, 0, 0, 360},
        {SHAPE_ELLIPSE, east, north, 0, 0, 360},
        {SHAPE_PIE, east, {900, 50}, 0, 0, 360},
        {SHAPE_ARC, {100, 50}, north, 0, 0, 360},
        // Farther inside the ellipse is flatter: the same ray meets it at a steeper place.
        {SHAPE_ARC, east, corner, 30, 0, 60.2551},
    };
    for (const auto& row : rows) {
        const CurveSweep sweep = SweepOf({row.kind, flat, row.start, row.end}, row.inset);
        EXPECT_NEAR(sweep.from, row.from, 1e-4) << row.from << "+" << row.length;
        EXPECT_NEAR(sweep.length, row.length, 1e-4) << row.from << "+" << row.length;
    }
}

TEST_F(RasterTest, InvertTwiceRestores) {
    FillRect(target, {0, 0, 6, 9}, 0x123456);
    InvertRect(target, {3, 0, 9, 9});
    EXPECT_EQ(PixelAt(picture, 3, 0), 0xEDCBA9u);
    EXPECT_EQ(PixelAt(picture, 8, 8), BLACK);
    InvertRect(target, {3, 0, 9, 9});
    EXPECT_EQ(PixelAt(picture, 3, 0), 0x123456u);
    EXPECT_EQ(PixelAt(picture, 8, 8), WHITE);
}

TEST_F(RasterTest, APictureIsStretchedIntoItsPlaceByTheNearestPixel) {
    const u32 pixels[] = {1, 2, 3, 4, 5, 6};
    const PictureView source = {3, 2, pixels};
    const auto row = [&](i32 y, i32 from, i32 to) {
        std::string text;
        for (i32 x = from; x < to; ++x)
            text += PixelAt(picture, x, y) == WHITE ? '.' : static_cast<char>('0' + PixelAt(picture, x, y));
        return text;
    };
    DrawPicture(target, {2, 1, 11, 5}, source);
    EXPECT_EQ(row(0, 0, 12), "............");
    EXPECT_EQ(row(1, 0, 12), "..111222333.");
    EXPECT_EQ(row(2, 0, 12), "..111222333.");
    EXPECT_EQ(row(3, 0, 12), "..444555666.");
    EXPECT_EQ(row(5, 0, 12), "............");
    Clean();
    DrawPicture(target, {0, 0, 2, 1}, source);  // smaller: the middles are met
    EXPECT_EQ(row(0, 0, 3), "46.");
    Clean();
    target.clip = {5, 0, 8, 9};
    DrawPicture(target, {2, 1, 11, 5}, source);
    EXPECT_EQ(row(1, 0, 12), ".....222....");
    Clean();
    target.clip = {0, 0, 12, 9};
    DrawPicture(target, {-2000000000, -5, 2000000000, 5}, source);
    EXPECT_EQ(row(4, 0, 12), "555555555555");
    DrawPicture(target, {0, 0, 5, 5}, {0, 0, nullptr});
}

TEST_F(RasterTest, NothingIsDrawnOutsideTheClipNorOutsideThePicture) {
    const PixelPoint points[] = {{-50, -50}, {100, -20}, {60, 90}, {-40, 70}};
    const u32 ends[] = {4}, pixels[] = {BLACK};
    for (const PixelRect& clip :
         {PixelRect{3, 2, 7, 5}, {-9, -9, 99, 99}, {INT_MIN, 0, INT_MAX, 3}, {5, 5, 5, 5}, {8, 8, 2, 2}}) {
        const PixelRect allowed = IntersectRects(clip, {0, 0, 12, 9});
        target.clip = clip;
        for (int operation = 0; operation < 8; ++operation) {
            switch (operation) {
                case 0: FillRect(target, {-90, -90, 90, 90}, BLACK); break;
                case 1: DrawLine(target, -30, 4, 50, 4, {BLACK, PEN_SOLID, 30}); break;
                case 2: DrawPolyline(target, points, {BLACK, PEN_SOLID, 90}); break;
                case 3:
                    DrawPolygon(target, {points, ends}, FILL_WINDING, {BLACK, PEN_SOLID, 3}, {.colour = BLACK});
                    break;
                case 4:
                    DrawShape(target, {SHAPE_ELLIPSE, {-90, -90, 110, 110}, {}, {}}, NO_PEN, {.colour = BLACK});
                    break;
                case 5: DrawPicture(target, {-9, -9, 40, 40}, {1, 1, pixels}); break;
                case 6: DrawText(target, -20, -3, 0, BLACK, u"WWWWWWWWWWW"); break;
                default: InvertRect(target, {-90, -90, 90, 90}); break;
            }
            FillRect(target, allowed, WHITE);
            EXPECT_EQ(Ink(), 0) << operation;
        }
        target.clip = clip;
        FillRect(target, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, BLACK);
        const i64 area =
            IsEmptyRect(allowed) ? 0 : i64{allowed.right - allowed.left} * (allowed.bottom - allowed.top);
        EXPECT_EQ(Ink(), area);
    }
}

TEST_F(RasterTest, PlacesAtTheEndsOfNumbersEndCleanly) {
    const i32 far[] = {INT_MIN, -1, 5, INT_MAX};
    const u32 ends[] = {2, 4, 99};
    for (const i32 a : far) {
        for (const i32 b : far) {
            const PixelPoint points[] = {{a, b}, {b, a}, {a, a}, {b, b}};
            for (const PenStyle style : {PEN_SOLID, PEN_DOT}) {
                for (const i32 width : {-1, 0, 1, 4, INT_MAX}) {
                    const Pen pen = {BLACK, style, width, width};
                    DrawPolyline(target, points, pen);
                    DrawPolygon(target, {points, std::span(ends, 2)}, FILL_WINDING, pen, {.colour = BLACK});
                }
            }
            DrawPolygon(target, {points, ends}, FILL_ALTERNATE, {BLACK}, {.colour = BLACK});
            for (const i32 width : {INT_MIN, 1, INT_MAX})
                for (const ShapeKind kind : {SHAPE_RECTANGLE, SHAPE_PIE})
                    DrawShape(target, {kind, {a, a, b, b}, points[0], points[1]}, {BLACK, PEN_SOLID, width},
                              {.colour = BLACK});
        }
    }
    DrawLine(target, INT_MIN, 5, INT_MAX, 5, {BLACK});
    Clean();
    DrawLine(target, 0, 0, INT_MAX, INT_MAX, {BLACK});
    EXPECT_EQ(PixelAt(picture, 7, 7), BLACK);
    EXPECT_FALSE(MakePicture(picture, -1, 5, WHITE));
    EXPECT_FALSE(MakePicture(picture, 32768, 1, WHITE));
    EXPECT_FALSE(MakePicture(picture, 32767, 32767, WHITE));
}

TEST_F(RasterTest, TextsAreThePlatformsMask) {
    DrawText(target, 1, 0, 0, RED, u"i");  // a box 7 wide without its first column, 16 high without two rows
    Rows shown = Shown();
    EXPECT_EQ(shown[1], "............");
    EXPECT_EQ(shown[2], "..######....");
    EXPECT_EQ(shown[8], "..######....");
    DrawClippedText(target, 1, 0, {4, 3, 6, 4}, 0, RED, u"i");
    shown = Shown();
    EXPECT_EQ(shown[3], "....##......");
    EXPECT_EQ(shown[4], "............");
    FontRequest request;
    request.pixelHeight = 6;
    request.escapement = 900;
    // Turned upwards: three pixels a character towards the top.
    DrawText(target, 2, 8, HeadlessFonts().findFont(request), RED, u"i i");
    EXPECT_EQ(Shown(), (Rows{"....#####...", "............", "............", "............", "............",
                             "....#####...", "....#####...", "............", "............"}));
    surface.fonts = nullptr;
    DrawText(target, 1, 0, 0, RED, u"i");
    EXPECT_EQ(Ink(), 0);
}

TEST_F(RasterTest, CoverageMixesWithTheGround) {
    static constexpr FontTable half = {
        [](const FontRequest&) { return FontHandle{0}; },
        [](FontHandle, WideView, i32& width, i32& height) { width = height = 1; },
        [](FontHandle, WideView, const PixelRect&, TextMask& mask) {
            mask.width = 3;
            mask.height = 1;
            const u8 bytes[] = {0, 51, 255};
            return mask.coverage.AppendMany(bytes, 3);
        },
    };
    surface.fonts = &half;
    FillRect(target, {0, 0, 12, 9}, 0x6400C8);
    DrawText(target, 4, 2, 0, 0x00FFC8, u"x");
    EXPECT_EQ(PixelAt(picture, 4, 2), 0x6400C8u);
    EXPECT_EQ(PixelAt(picture, 5, 2), 0x5033C8u);
    EXPECT_EQ(PixelAt(picture, 6, 2), 0x00FFC8u);
}

TEST_F(RasterTest, TheRecordDrawsTheSamePictureAgain) {
    Array<DrawRecord> records;
    DrawTarget record = MakeRecordTarget(records, 40, 30);
    const auto draw = [](DrawTarget& on) {
        const PixelPoint points[] = {{2, 3}, {30, 5}, {17, 28}, {5, 20}};
        const u32 ends[] = {4}, pixels[] = {0x10, 0x2000, 0x30, 0x400000};
        FillRect(on, {0, 0, 40, 10}, 0x8080FF);
        FillRect(on, {0, 10, 40, 20}, {.colour = 1, .pattern = 9, .backColour = 2});
        DrawPolygon(on, {points, ends}, FILL_WINDING, {0x123456, PEN_DASH, 2}, {.colour = 0x445566});
        const PixelRect former = PushClip(on, {3, 3, 33, 22});
        DrawPolyline(on, points, {RED});
        DrawShape(on, {SHAPE_PIE, {4, 4, 36, 26}, {36, 4}, {4, 4}}, {7}, {.colour = 9});
        DrawPicture(on, {20, 2, 39, 12}, {2, 2, pixels});
        PopClip(on, former);
        DrawLine(on, 0, 29, 40, 29, {5, PEN_DOT});
        DrawText(on, 2, 12, 0, 0x777777, u"ab");
        InvertRect(on, {10, 0, 20, 30});
    };
    Size(40, 30);
    draw(target);
    Array<u32> direct;
    ASSERT_TRUE(direct.AppendMany(picture.pixels.Data(), picture.pixels.Count()));
    Clean();
    draw(record);
    EXPECT_EQ(records.Count(), 9u);
    ReplayDrawing(records, target);
    EXPECT_TRUE(std::equal(direct.begin(), direct.end(), picture.pixels.begin()));
    EXPECT_GT(Ink(), 800);
}

TEST_F(RasterTest, WithoutMemoryADrawingEndsCleanly) {
    const PixelPoint points[] = {{1, 1}, {10, 2}, {8, 8}, {2, 6}};
    const u32 ends[] = {4};
    bool failed = true;
    for (u32 fail = 1; failed && fail < 200; ++fail) {
        test::FailingAllocator failing(fail);
        DrawPolygon(target, {points, ends}, FILL_WINDING, {BLACK, PEN_DASH, 3}, {.colour = RED});
        DrawShape(target, {SHAPE_PIE, {1, 1, 9, 8}, {9, 1}, {1, 1}}, {BLACK, PEN_SOLID, 2}, {.colour = RED});
        DrawText(target, 0, 0, 0, BLACK, u"ab");
        failed = failing.HasFailed();
    }
    EXPECT_FALSE(failed);
    EXPECT_GT(Ink(), 20);
}

}  // namespace
}  // namespace tally
