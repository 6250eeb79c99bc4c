// The exact pixels of every kind of drawing, as a sum of each, and what a clip may change of them: nothing
// inside.

#include <functional>
#include <string>
#include <vector>

#include "platform/headless/HeadlessDrawing.h"
#include "raster/Outline.h"
#include "raster/Raster.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u32 BLACK = 0, WHITE = 0xFFFFFF, RED = 0x0000FF;
constexpr i32 SIDE = 64;

class PixelsTest : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ResetHeadlessDrawing();
        ASSERT_TRUE(MakePicture(picture, SIDE, SIDE, WHITE));
        target = MakeRasterTarget(surface);
    }
    void Clean() {
        std::fill(picture.pixels.begin(), picture.pixels.end(), WHITE);
        target.clip = {0, 0, SIDE, SIDE};
    }
    std::vector<u32> Pixels() { return {picture.pixels.begin(), picture.pixels.end()}; }
    // FNV-1a over all pixels.
    u32 Sum() const {
        u32 sum = 2166136261u;
        for (const u32 pixel : picture.pixels)
            for (u32 shift = 0; shift < 24; shift += 8) sum = (sum ^ (pixel >> shift & 0xFF)) * 16777619u;
        return sum;
    }

    Picture picture;
    RasterSurface surface{&picture, &HeadlessFonts()};
    DrawTarget target;
};

// Lines from the middle in 24 directions, each of another colour, so that their order shows, too.
void DrawFan(DrawTarget& target, Pen pen) {
    static constexpr PixelPoint ends[] = {{60, 32}, {60, 39}, {58, 48}, {52, 52}, {48, 59}, {39, 61},
                                          {32, 60}, {25, 60}, {17, 58}, {12, 52}, {5, 49},  {3, 39},
                                          {4, 32},  {4, 25},  {6, 17},  {12, 12}, {16, 5},  {25, 3},
                                          {32, 4},  {39, 4},  {49, 6},  {52, 12}, {60, 18}, {61, 24}};
    for (const PixelPoint& end : ends) {
        DrawLine(target, 32, 32, end.x, end.y, pen);
        DrawLine(target, end.x, end.y, (end.x + 32) / 2, (end.y + 40) / 2, pen);
        pen.colour += 0x010305;
    }
}

// A star, a ring in a ring, a zigzag with points that repeat, a ring of one point and one of two.
void DrawRings(DrawTarget& target, const Pen& pen, FillRule rule, u8 pattern) {
    static constexpr PixelPoint points[] = {
        {30, 2},  {46, 55}, {3, 20},  {57, 20}, {14, 55}, {35, 30}, {61, 33}, {60, 62}, {38, 58},
        {41, 37}, {55, 38}, {54, 55}, {44, 52}, {2, 40},  {8, 44},  {8, 44},  {2, 48},  {9, 61},
        {2, 61},  {20, 5},  {50, 5},  {55, 9},  {-7, 12}, {9, -5},  {75, 8}};
    static constexpr u32 ends[] = {5, 9, 13, 19, 20, 22, 25};
    DrawPolygon(target, {points, ends}, rule, pen, {.colour = RED, .pattern = pattern, .backColour = 0x80FF80});
    DrawPolyline(target, std::span(points).subspan(13, 6), pen);
}

void DrawShapes(DrawTarget& target, ShapeKind kind, const Pen& pen, u8 pattern) {
    struct Place {
        PixelRect rect;
        PixelPoint start, end;
    };
    // Wide, high, of one and two pixels, over the edges, with rays in all quarters, alike and opposite.
    static constexpr Place places[] = {
        {{2, 2, 33, 20}, {40, 4}, {1, 9}},      {{35, 1, 62, 28}, {36, 2}, {61, 27}},
        {{3, 22, 12, 60}, {7, 60}, {12, 30}},   {{14, 24, 44, 54}, {44, 39}, {14, 39}},
        {{46, 30, 63, 47}, {63, 30}, {46, 47}}, {{46, 50, 60, 51}, {0, 0}, {60, 60}},
        {{46, 53, 60, 55}, {60, 50}, {46, 55}}, {{61, 50, 62, 63}, {61, 50}, {61, 63}},
        {{48, 57, 50, 62}, {50, 59}, {48, 57}}, {{52, 58, 53, 59}, {0, 9}, {9, 0}},
        {{-9, 54, 30, 80}, {30, 56}, {-9, 58}}, {{54, -8, 75, 9}, {60, 60}, {60, 60}},
        {{16, 56, 44, 61}, {30, 58}, {44, 56}}, {{5, 5, 5, 9}, {1, 1}, {2, 2}},
    };
    for (const Place& place : places)
        DrawShape(target, {kind, place.rect, place.start, place.end}, pen,
                  {.colour = RED, .pattern = pattern, .backColour = 0x80FF80});
}

struct Drawing {
    std::string name;
    std::function<void(DrawTarget&)> draw;
    u32 sum;
};

std::vector<Drawing> AllDrawings() {
    constexpr PenStyle styles[] = {PEN_SOLID, PEN_DASH, PEN_DOT, PEN_DASH_DOT, PEN_DASH_DOT_DOT};
    constexpr ShapeKind kinds[] = {SHAPE_RECTANGLE, SHAPE_ELLIPSE, SHAPE_ARC, SHAPE_CHORD, SHAPE_PIE};
    std::vector<Drawing> all;
    for (const PenStyle style : styles) {
        for (const i32 width : {1, 2, 3, 6}) {
            const Pen pen = {0x102030, style, width, width == 3 ? 2 : 1};
            const std::string name = std::to_string(style) + " wide " + std::to_string(width);
            all.push_back({"fan " + name, [=](DrawTarget& on) { DrawFan(on, pen); }, 0});
            all.push_back(
                {"rings " + name, [=](DrawTarget& on) { DrawRings(on, pen, FILL_WINDING, BRUSH_NULL); }, 0});
            for (const ShapeKind kind : kinds)
                all.push_back({"shape " + std::to_string(kind) + " " + name,
                               [=](DrawTarget& on) { DrawShapes(on, kind, pen, BRUSH_NULL); }, 0});
        }
    }
    for (const u8 pattern : {BRUSH_SOLID, u8{7}}) {
        for (const FillRule rule : {FILL_ALTERNATE, FILL_WINDING})
            all.push_back({"filled " + std::to_string(rule) + " " + std::to_string(pattern),
                           [=](DrawTarget& on) { DrawRings(on, NO_PEN, rule, pattern); }, 0});
        for (const ShapeKind kind : kinds)
            all.push_back({"filled shape " + std::to_string(kind) + " " + std::to_string(pattern),
                           [=](DrawTarget& on) { DrawShapes(on, kind, NO_PEN, pattern); }, 0});
    }
    return all;
}

// In the order of AllDrawings; a changed rule of pixels changes them, and each is then to be looked at.
constexpr u32 sums[] = {
    0x54C17924, 0xB2496932, 0x0F578FB4, 0x20257EBC, 0x572953D0, 0x80222C0C, 0x71FBE047, 0x35ED29B7, 0x2C561BC3,
    0x541CB3B9, 0xFDC93972, 0xCBB29454, 0xC2D0F900, 0xDF5556E8, 0xD7221420, 0xF144EDB6, 0xE68772BE, 0x751D58AF,
    0x60FD8C27, 0xB60A9AA6, 0x966BC16B, 0x0C8A8398, 0x4C94AC66, 0xA8D20787, 0xB46F78A7, 0x788BE6FF, 0x8C3F368B,
    0x76CEB71B, 0xD45B12C5, 0x46EFB89D, 0x9DA29FE2, 0x157E9FFC, 0x843D971E, 0x210385FD, 0xB093A39F, 0x5C4C76EB,
    0xC23AB844, 0xFF909F08, 0x0E62D548, 0x80379BCC, 0x9D738C07, 0xED99A1E9, 0xD7221420, 0x9F0CD452, 0x47665287,
    0x4101797A, 0xA3515B32, 0x85FD26D7, 0x99957F2B, 0x58259A8F, 0xDD1F5C4A, 0x113AA18E, 0xB3888536, 0x73F2DCD8,
    0x1202D84A, 0xD36CC8D6, 0xF86C7815, 0x9A77D2AB, 0xED04A687, 0x907D8F13, 0x5BE61C45, 0x8EE9CE33, 0x1C69022C,
    0x853A4AD1, 0x4A6FE87B, 0x404EB886, 0x360B212A, 0x8607F447, 0xE7385882, 0x58E70575, 0x7DA0043E, 0x21580995,
    0xBABD51AE, 0xE197F586, 0x9DE1A539, 0x20017AD5, 0xB8CA551B, 0x977E8F38, 0x8AD5E2BC, 0xDADC8F51, 0x1CEF6094,
    0x2DDF2CBE, 0x333C0E7A, 0xE2248225, 0xDB6ABCA9, 0x4E884BED, 0x94895F46, 0x6CA720FD, 0xD0F9A2E1, 0x9D82D13B,
    0xC2BC619D, 0xAA06D3E6, 0x84914B92, 0x46AF7912, 0x09EDF7DF, 0xAB212F34, 0xB542867D, 0x9F278D18, 0xF5B25EE9,
    0xB102ECB6, 0x5118279A, 0x90F420D5, 0x52646DA0, 0xF1574D58, 0x307FAF76, 0x183054AC, 0xEC22ADD5, 0xE5DF8C0F,
    0x5316D222, 0x82951FBD, 0x9A53506E, 0xEEE721FD, 0xFC16AF07, 0xB28BF1B1, 0xDF5B5308, 0x6511E648, 0x13632FEA,
    0x63E8FC23, 0xC18CF91D, 0x12D84D2D, 0xFB282C08, 0x1007E628, 0xB81DCC79, 0x933AADA4, 0xD11926BF, 0x129C9CC3,
    0xF885D2C6, 0xFBB39211, 0x94E50B41, 0xA99CB751, 0xC0B9A108, 0x091D35D4, 0xD73608AF, 0x8F36CEED, 0x7AA8B1A2,
    0xBF02DBA4, 0x3CFE78ED, 0xCBBE3CDE, 0x94906660, 0x4C5F8AB0, 0x1C84C267, 0x54080117, 0x7FCBFBD9, 0x035B6B83,
    0x187D0DC5, 0xDE15C75B, 0xB3774BFB, 0x2D925523, 0x791A349F, 0x80664BD3, 0x8E2F0DEF, 0x187D0DC5, 0xF4F46261,
    0xE1D47367,
};

TEST_F(PixelsTest, EveryDrawingHasItsExactPixels) {
    const std::vector<Drawing> all = AllDrawings();
    ASSERT_EQ(std::size(sums), all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i].draw(target);
        EXPECT_EQ(Sum(), sums[i]) << all[i].name;
        Clean();
    }
}

TEST_F(PixelsTest, AClipChangesNothingInside) {
    const PixelRect clips[] = {
        {10, 7, 41, 50}, {31, 31, 33, 33}, {0, 0, 64, 5}, {50, 0, 64, 64}, {0, 40, 9, 64}};
    for (const Drawing& drawing : AllDrawings()) {
        drawing.draw(target);
        const std::vector<u32> whole = Pixels();
        Clean();
        for (const PixelRect& clip : clips) {
            target.clip = clip;
            drawing.draw(target);
            int wrong = 0;
            for (i32 y = 0; y < SIDE; ++y)
                for (i32 x = 0; x < SIDE; ++x)
                    wrong += PixelAt(picture, x, y) !=
                             (RectHolds(clip, x, y) ? whole[static_cast<std::size_t>(y * SIDE + x)] : WHITE);
            EXPECT_EQ(wrong, 0) << drawing.name << " in " << clip.left << "," << clip.top;
            Clean();
        }
    }
}

TEST_F(PixelsTest, DashesAreCountedFromAFarStart) {
    constexpr i32 FAR = 1000003;
    for (const i32 width : {1, 2, 5}) {
        for (const i32 unit : {1, 4}) {
            for (int way = 0; way < 4; ++way) {
                const Pen pen = {BLACK, PEN_DOT, width, unit};
                const bool upright = way & 1, back = way & 2;
                const i32 from = back ? FAR : -FAR, to = -from;
                if (upright) DrawLine(target, 20, from, 20, to, pen);
                else DrawLine(target, from, 20, to, 20, pen);
                for (i32 i = 0; i < SIDE; ++i) {
                    const i32 step = back ? from - i : i - from;
                    const u32 expected = step % (6 * unit) < 3 * unit ? BLACK : WHITE;
                    EXPECT_EQ(upright ? PixelAt(picture, 20, i) : PixelAt(picture, i, 20), expected)
                        << width << " " << unit << " " << way << " " << i;
                }
                Clean();
            }
        }
    }
}

TEST_F(PixelsTest, EachPenHasItsDashes) {
    struct Case {
        PenStyle style;
        const char* shown;  // 48 steps in pieces of 3
    };
    for (const Case& row : {Case{PEN_SOLID, "################"},
                            {PEN_DASH, "######..######.."},
                            {PEN_DOT, "#.#.#.#.#.#.#.#."},
                            {PEN_DASH_DOT, "###..#..###..#.."},
                            {PEN_DASH_DOT_DOT, "###.#.#.###.#.#."}}) {
        i64 end = -1;
        std::string shown;
        for (i64 step = 0; step < 48; step += 3) {
            const bool drawn = PenDraws({BLACK, row.style}, step, end);
            shown += drawn ? '#' : '.';
            EXPECT_GT(end, step);
            for (const i64 more : {1, 2}) {
                i64 same = -1;
                EXPECT_EQ(PenDraws({BLACK, row.style}, step + more, same), drawn);
                EXPECT_EQ(same, end);
            }
        }
        EXPECT_EQ(shown, row.shown) << int{row.style};
    }
}

TEST_F(PixelsTest, ARayThatIsNoneCutsNothingOut) {
    DrawShape(target, {SHAPE_ELLIPSE, {2, 2, 42, 32}, {}, {}}, NO_PEN, {.colour = BLACK});
    const std::vector<u32> whole = Pixels();
    for (const auto& [start, end] : {std::pair<PixelPoint, PixelPoint>{{22, 17}, {2, 2}},
                                     {{42, 17}, {22, 17}},
                                     {{22, 17}, {22, 17}},
                                     {{42, 17}, {32, 17}}}) {
        Clean();
        DrawShape(target, {SHAPE_PIE, {2, 2, 42, 32}, start, end}, NO_PEN, {.colour = BLACK});
        EXPECT_EQ(Pixels(), whole) << start.x << "," << end.x;
    }
}

TEST_F(PixelsTest, APictureHasItsBounds) {
    Picture made;
    struct Case {
        i32 width, height;
        bool good;
    };
    for (const Case& row : {Case{0, 0, true},
                            {0, 5, true},
                            {5, 0, true},
                            {-1, 5, false},
                            {5, -1, false},
                            {32767, 1, true},
                            {32768, 1, false},
                            {1, 32767, true},
                            {1, 32768, false},
                            {8193, 8192, false}})
        EXPECT_EQ(MakePicture(made, row.width, row.height, RED), row.good) << row.width << "x" << row.height;
    ASSERT_TRUE(MakePicture(made, 3, 2, RED));
    EXPECT_EQ(ViewOf(made).width, 3);
    EXPECT_EQ(ViewOf(made).height, 2);
    made.pixels[5] = 0x123456;
    for (i32 y = -1; y <= 2; ++y)
        for (i32 x = -1; x <= 3; ++x) {
            const bool inside = x >= 0 && x < 3 && y >= 0 && y < 2;
            EXPECT_EQ(PixelAt(made, x, y), !inside ? 0 : x == 2 && y == 1 ? 0x123456 : RED) << x << "," << y;
        }
    const DrawTarget paper = MakeRasterTarget(surface, 120, 144);
    EXPECT_EQ(paper.dpiX, 120);
    EXPECT_EQ(paper.dpiY, 144);
    EXPECT_EQ(paper.width, SIDE);
    EXPECT_EQ(paper.height, SIDE);
    EXPECT_FALSE(paper.printer);
}

TEST_F(PixelsTest, EachPartOfAColourIsMixedAndRounded) {
    static u8 coverage = 0;
    static constexpr FontTable dot = {
        [](const FontRequest&) { return FontHandle{0}; },
        [](FontHandle, WideView, i32& width, i32& height) { width = height = 1; },
        [](FontHandle, WideView, const PixelRect&, TextMask& mask) {
            mask.left = 2;
            mask.top = 3;
            mask.width = mask.height = 1;
            return mask.coverage.Append(coverage);
        },
    };
    surface.fonts = &dot;
    for (const u32 covered : {0u, 1u, 63u, 127u, 128u, 200u, 254u, 255u}) {
        coverage = static_cast<u8>(covered);
        Clean();
        FillRect(target, {0, 0, SIDE, SIDE}, 0x10FF80);
        DrawText(target, 5, 6, 0, 0xF00037, u"x");
        u32 expected = 0;
        for (const u32 shift : {0u, 8u, 16u}) {
            const double ground = 0x10FF80 >> shift & 0xFF, ink = 0xF00037 >> shift & 0xFF;
            expected |= static_cast<u32>((ink * covered + ground * (255 - covered)) / 255 + 0.5) << shift;
        }
        EXPECT_EQ(PixelAt(picture, 7, 9), expected) << covered;
        EXPECT_EQ(PixelAt(picture, 6, 9), 0x10FF80u);
        EXPECT_EQ(PixelAt(picture, 7, 8), 0x10FF80u);
    }
}

TEST_F(PixelsTest, AFontIsAskedForWhatIsSeenAndNotFromFarAway) {
    static Array<PixelRect> asked;
    static constexpr FontTable font = {
        [](const FontRequest&) { return FontHandle{0}; },
        [](FontHandle, WideView, i32& width, i32& height) { width = height = 1; },
        [](FontHandle, WideView, const PixelRect& wanted, TextMask&) {
            EXPECT_TRUE(asked.Append(wanted));
            return false;
        },
    };
    surface.fonts = &font;
    target.clip = {10, 20, 30, 60};
    DrawText(target, 4, 5, 0, BLACK, u"x");
    ASSERT_EQ(asked.Count(), 1u);
    EXPECT_EQ(asked[0], (PixelRect{6, 15, 26, 55}));
    asked.Truncate(0);
    constexpr i32 FARTHEST = 1 << 24;
    struct Case {
        i32 x, y;
        u32 times;
    };
    for (const Case& row : {Case{FARTHEST, 0, 1},
                            {-FARTHEST, 0, 1},
                            {0, FARTHEST, 1},
                            {0, -FARTHEST, 1},
                            {FARTHEST + 1, 0, 0},
                            {-FARTHEST - 1, 0, 0},
                            {0, FARTHEST + 1, 0},
                            {0, -FARTHEST - 1, 0}}) {
        DrawText(target, row.x, row.y, 0, BLACK, u"x");
        EXPECT_EQ(asked.Count(), row.times) << row.x << "," << row.y;
        asked.Truncate(0);
    }
    DrawText(target, 0, 0, 0, BLACK, {});
    target.clip = {5, 5, 5, 9};
    DrawText(target, 0, 0, 0, BLACK, u"x");
    EXPECT_EQ(asked.Count(), 0u);
    asked.Clear();
}

}  // namespace
}  // namespace tally
