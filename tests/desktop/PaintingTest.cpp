#include <gtest/gtest.h>

#include <QImage>
#include <climits>
#include <string>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtPainting.h"

namespace tally {
namespace {

constexpr u32 RED = 0x0000FF, BLACK = 0, WHITE = 0xFFFFFF;

// A white picture with a target on it.
class PaintingTest : public testing::Test {
  protected:
    static constexpr i32 WIDTH = 48, HEIGHT = 32;

    PaintingTest() : image(WIDTH, HEIGHT, QImage::Format_RGB32) {
        image.fill(Qt::white);
        painter.begin(&image);
        target = MakePaintTarget(surface, painter, {0, 0, WIDTH, HEIGHT});
    }
    ~PaintingTest() override { painter.end(); }

    // 0x00BBGGRR, as the drawing operations count.
    u32 At(i32 x, i32 y) const {
        const QRgb pixel = image.pixel(x, y);
        return static_cast<u32>(qRed(pixel) | qGreen(pixel) << 8 | qBlue(pixel) << 16);
    }
    // The smallest rectangle around what is no longer white.
    PixelRect Ink() const {
        PixelRect ink = {WIDTH, HEIGHT, 0, 0};
        for (i32 y = 0; y < HEIGHT; ++y) {
            for (i32 x = 0; x < WIDTH; ++x) {
                if (At(x, y) == WHITE) continue;
                ink = {std::min(ink.left, x), std::min(ink.top, y), std::max(ink.right, x + 1),
                       std::max(ink.bottom, y + 1)};
            }
        }
        return ink;
    }
    i32 InkCount() const {
        i32 count = 0;
        for (i32 y = 0; y < HEIGHT; ++y) {
            for (i32 x = 0; x < WIDTH; ++x) count += At(x, y) != WHITE;
        }
        return count;
    }
    // A row of pixels: "#" for ink.
    std::string Row(i32 y, i32 from, i32 to) const {
        std::string row;
        for (i32 x = from; x < to; ++x) row += At(x, y) == WHITE ? '.' : '#';
        return row;
    }
    void Line(i32 x1, i32 y1, i32 x2, i32 y2, PenStyle style = PEN_SOLID) {
        DrawLine(target, x1, y1, x2, y2, {BLACK, style});
    }

    const FontTable& fonts = QtFontTable();
    QImage image;
    QPainter painter;
    QtSurface surface;
    DrawTarget target;
};

void ExpectRect(const PixelRect& rect, const PixelRect& wanted) {
    EXPECT_EQ(rect.left, wanted.left);
    EXPECT_EQ(rect.top, wanted.top);
    EXPECT_EQ(rect.right, wanted.right);
    EXPECT_EQ(rect.bottom, wanted.bottom);
}

TEST_F(PaintingTest, LineHasItsFirstPixelAndNotItsLast) {
    const struct {
        i32 x1, y1, x2, y2;
        PixelRect ink;
        i32 count;
    } rows[] = {
        {5, 7, 15, 7, {5, 7, 15, 8}, 10},      // to the right
        {15, 7, 5, 7, {6, 7, 16, 8}, 10},      // to the left
        {5, 7, 5, 17, {5, 7, 6, 17}, 10},      // down
        {5, 17, 5, 7, {5, 8, 6, 18}, 10},      // up
        {5, 7, 15, 17, {5, 7, 15, 17}, 10},    // slanted
        {15, 17, 5, 12, {6, 12, 16, 18}, 10},  // slanted, backwards
        {5, 7, 5, 7, {WIDTH, HEIGHT, 0, 0}, 0},
    };
    for (const auto& row : rows) {
        FillRect(target, {0, 0, WIDTH, HEIGHT}, WHITE);
        Line(row.x1, row.y1, row.x2, row.y2);
        ExpectRect(Ink(), row.ink);
        EXPECT_EQ(InkCount(), row.count);
    }
}

TEST_F(PaintingTest, SlantedLineIsOnePixelAStep) {
    Line(0, 0, 8, 8);
    for (i32 i = 0; i < 8; ++i) EXPECT_EQ(At(i, i), BLACK) << i;
    EXPECT_EQ(At(8, 8), WHITE);
}

TEST_F(PaintingTest, DashesCountPixelsFromTheStartOfTheLine) {
    const struct {
        PenStyle style;
        const char* row;
    } rows[] = {
        {PEN_SOLID, "################################"},
        {PEN_DASH, "##################......########"},
        {PEN_DOT, "###...###...###...###...###...##"},
        {PEN_DASH_DOT, "#########......###......########"},
        {PEN_DASH_DOT_DOT, "#########...###...###...########"},
    };
    for (const auto& row : rows) {
        FillRect(target, {0, 0, WIDTH, HEIGHT}, WHITE);
        Line(4, 3, 36, 3, row.style);
        EXPECT_EQ(Row(3, 4, 36), row.row);
    }
}

TEST_F(PaintingTest, ClipDoesNotMoveTheDashes) {
    target.clip = {10, 0, 30, HEIGHT};
    Line(4, 3, 36, 3, PEN_DOT);
    EXPECT_EQ(Row(3, 4, 36), "......###...###...###...##......");
}

TEST_F(PaintingTest, LineThatEndsFarOutsideDrawsWhatIsInside) {
    Line(INT_MIN, 5, INT_MAX, 5);
    Line(9, INT_MAX, 9, INT_MIN);
    EXPECT_EQ(InkCount(), WIDTH + HEIGHT - 1);
    Line(0, 0, INT_MAX, INT_MAX);
    EXPECT_EQ(At(31, 31), BLACK);
}

TEST_F(PaintingTest, FillCoversItsRectangleExactly) {
    FillRect(target, {3, 4, 13, 9}, RED);
    ExpectRect(Ink(), {3, 4, 13, 9});
    EXPECT_EQ(InkCount(), 50);
    EXPECT_EQ(At(3, 4), RED);
    EXPECT_EQ(qRed(image.pixel(3, 4)), 255);
    FillRect(target, {20, 4, 20, 9}, RED);
    FillRect(target, {25, 9, 20, 4}, RED);
    EXPECT_EQ(InkCount(), 50);
}

TEST_F(PaintingTest, InvertGivesTheComplementAndTwiceRestores) {
    FillRect(target, {0, 0, 10, 10}, 0x123456);
    const QImage before = image.copy();
    InvertRect(target, {5, 5, 15, 15});
    EXPECT_EQ(At(5, 5), 0xEDCBA9u);
    EXPECT_EQ(At(14, 14), BLACK);
    EXPECT_EQ(At(4, 5), 0x123456u);
    EXPECT_EQ(At(15, 14), WHITE);
    InvertRect(target, {5, 5, 15, 15});
    EXPECT_EQ(image, before);
}

TEST_F(PaintingTest, PatternsHaveTheirShareOfPixels) {
    constexpr i32 share[17] = {32, 48, 16, 32, 32, 32, 32, 32, 48, 16, 16, 16, 16, 28, 24, 8, 4};
    for (u8 pattern = 2; pattern <= 18; ++pattern) {
        FillRect(target, {0, 0, WIDTH, HEIGHT}, WHITE);
        FillRect(target, {3, 5, 11, 13}, {.colour = BLACK, .pattern = pattern, .backColour = WHITE});
        EXPECT_EQ(InkCount(), share[pattern - 2]) << int{pattern};
    }
}

TEST_F(PaintingTest, PatternsOfNeighboursMeetWithoutASeam) {
    FillRect(target, {0, 0, 24, 16}, {.colour = RED, .pattern = 7, .backColour = BLACK});
    const QImage whole = image.copy();
    FillRect(target, {0, 0, WIDTH, HEIGHT}, WHITE);
    FillRect(target, {0, 0, 11, 16}, {.colour = RED, .pattern = 7, .backColour = BLACK});
    FillRect(target, {11, 0, 24, 16}, {.colour = RED, .pattern = 7, .backColour = BLACK});
    EXPECT_EQ(image, whole);
}

TEST_F(PaintingTest, NothingIsDrawnOutsideTheClip) {
    const PixelRect clip = {10, 10, 14, 13}, all = {0, 0, WIDTH, HEIGHT};
    const PixelRect former = PushClip(target, clip);
    DrawClippedText(target, 0, 4, all, 0, BLACK, u"WWWWWW");
    FillRect(target, all, RED);
    ExpectRect(Ink(), clip);
    InvertRect(target, all);
    ExpectRect(Ink(), clip);
    FillRect(target, all, {.colour = BLACK, .pattern = 1, .backColour = WHITE});
    Line(0, 0, WIDTH, HEIGHT);
    Line(0, 11, WIDTH, 11);
    DrawClippedText(target, 0, 4, all, 0, BLACK, u"WWWWWW");
    ExpectRect(Ink(), clip);
    // A new clip takes the place of the old one.
    PopClip(target, former);
    IgnoreFailure(PushClip(target, {-5, -5, 2, 2}));
    FillRect(target, all, RED);
    EXPECT_EQ(At(1, 1), RED);
    EXPECT_EQ(At(2, 2), WHITE);
}

TEST_F(PaintingTest, TheClipCannotLeaveWhatMustBePainted) {
    target = MakePaintTarget(surface, painter, {5, 5, 9, 9});
    target.clip = {0, 0, WIDTH, HEIGHT};
    FillRect(target, {0, 0, WIDTH, HEIGHT}, RED);
    ExpectRect(Ink(), {5, 5, 9, 9});
}

TEST_F(PaintingTest, TextStaysInItsBox) {
    i32 width = 0, height = 0;
    fonts.textExtent(0, u"Hello", width, height);
    ASSERT_LT(width, WIDTH - 8);
    DrawClippedText(target, 4, 6, {0, 0, WIDTH, HEIGHT}, 0, BLACK, u"Hello");
    const PixelRect ink = Ink();
    EXPECT_GT(InkCount(), 20);
    EXPECT_GE(ink.left, 4);
    EXPECT_GE(ink.top, 6);
    EXPECT_LE(ink.right, 4 + width);
    EXPECT_LE(ink.bottom, 6 + height);
    // The text reaches to within two pixels of both ends of its measured width.
    EXPECT_LE(ink.left, 6);
    EXPECT_GE(ink.right, 4 + width - 2);
}

TEST_F(PaintingTest, TextIsCutAtItsOwnClip) {
    const PixelRect clip = {6, 0, 13, HEIGHT};
    DrawClippedText(target, 0, 6, clip, 0, BLACK, u"MMMMMM");
    const PixelRect ink = Ink();
    EXPECT_GT(InkCount(), 10);
    EXPECT_GE(ink.left, 6);
    EXPECT_LE(ink.right, 13);
    // The next fill is not cut by it.
    FillRect(target, {30, 1, 32, 3}, RED);
    EXPECT_EQ(At(31, 2), RED);
}

TEST_F(PaintingTest, RotatedTextTurnsAboutTheCornerOfItsBox) {
    FontRequest request;
    request.faceName = u"Arial";
    request.escapement = 900;
    const FontHandle upright = fonts.findFont(request);
    DrawClippedText(target, 10, 30, {0, 0, WIDTH, HEIGHT}, upright, BLACK, u"il");
    const PixelRect ink = Ink();
    EXPECT_GT(InkCount(), 3);
    EXPECT_GE(ink.left, 10);
    EXPECT_LE(ink.bottom, 31);
    EXPECT_GT(ink.top, 18);
}

TEST_F(PaintingTest, TextIsAsWideAsItsCharacters) {
    i32 whole = 0, part = 0, sum = 0, height = 0;
    fonts.textExtent(0, u"0123456789", whole, height);
    fonts.textExtent(0, u"0", part, height);
    EXPECT_EQ(whole, 10 * part);
    fonts.textExtent(0, u"AVToWa", whole, height);
    for (char16_t c : std::u16string_view(u"AVToWa")) {
        fonts.textExtent(0, WideView(&c, 1), part, height);
        sum += part;
    }
    EXPECT_EQ(whole, sum);
    fonts.textExtent(0, u"", whole, height);
    EXPECT_EQ(whole, 0);
    EXPECT_GT(height, 0);
}

TEST_F(PaintingTest, EqualFontRequestsGiveOneHandle) {
    FontRequest request;
    request.faceName = u"Arial";
    request.pixelHeight = 20;
    const FontHandle plain = fonts.findFont(request);
    EXPECT_GT(plain, 0);
    std::u16string copy = u"Arial";
    request.faceName = copy;
    EXPECT_EQ(fonts.findFont(request), plain);
    request.weight = 700;
    const FontHandle bold = fonts.findFont(request);
    EXPECT_NE(bold, plain);
    i32 plainWidth = 0, boldWidth = 0, height = 0;
    fonts.textExtent(plain, u"small", plainWidth, height);
    fonts.textExtent(bold, u"small", boldWidth, height);
    EXPECT_GT(boldWidth, plainWidth);
    // Who draws with a handle that was never given out draws with the font of the frame.
    i32 frameHeight = 0, otherHeight = 0;
    fonts.textExtent(0, u"x", plainWidth, frameHeight);
    fonts.textExtent(99999, u"x", plainWidth, otherHeight);
    EXPECT_EQ(otherHeight, frameHeight);
}

TEST(ScreenMetricsTest, TheDefaultFontHasWholePixels) {
    ScreenMetrics metrics = {};
    QtPlatform().getScreenMetrics(metrics);
    EXPECT_EQ(metrics.logPixelsX, 96);
    EXPECT_EQ(metrics.logPixelsY, 96);
    EXPECT_EQ(metrics.digitWidth, 7);
    EXPECT_EQ(metrics.fontHeight - metrics.internalLeading, 13);
    EXPECT_EQ(metrics.family, 0x22);
}

TEST(ScreenMetricsTest, FacesAreKnownByName) {
    u8 family = 0, charSet = 99;
    ASSERT_TRUE(QtPlatform().findFontFace(u"Liberation Sans", family, charSet));
    EXPECT_EQ(family, 0x22);
    EXPECT_EQ(charSet, 0);
    ASSERT_TRUE(QtPlatform().findFontFace(u"Liberation Serif", family, charSet));
    EXPECT_EQ(family, 0x12);
    ASSERT_TRUE(QtPlatform().findFontFace(u"Liberation Mono", family, charSet));
    EXPECT_EQ(family, 0x31);
    EXPECT_FALSE(QtPlatform().findFontFace(u"No Such Face", family, charSet));
    EXPECT_FALSE(QtPlatform().findFontFace(u"", family, charSet));
}

}  // namespace
}  // namespace tally
