// The same operations on a picture of the core and on one of the toolkit: one set of rules for pixels.

#include <gtest/gtest.h>

#include <QImage>
#include <random>
#include <string>
#include <vector>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtPainting.h"
#include "raster/Raster.h"

namespace tally {
namespace {

constexpr i32 WIDTH = 90, HEIGHT = 70;

class TwoTargets {
  public:
    TwoTargets() : image(WIDTH, HEIGHT, QImage::Format_RGB32) {
        EXPECT_TRUE(MakePicture(picture, WIDTH, HEIGHT, 0xFFFFFF));
        image.fill(Qt::white);
        painter.begin(&image);
        toolkit = MakePaintTarget(surface, painter, {0, 0, WIDTH, HEIGHT});
        core = MakeRasterTarget(rasterSurface);
    }
    ~TwoTargets() { painter.end(); }

    template <typename Act>
    void Both(Act act) {
        act(core);
        act(toolkit);
    }
    u32 ToolkitAt(i32 x, i32 y) const {
        const QRgb pixel = image.pixel(x, y);
        return static_cast<u32>(qRed(pixel) | qGreen(pixel) << 8 | qBlue(pixel) << 16);
    }
    // Pixels whose colours are farther apart than `room` in a channel.
    int Differing(i32 room) const {
        int count = 0;
        for (i32 y = 0; y < HEIGHT; ++y) {
            for (i32 x = 0; x < WIDTH; ++x) {
                const u32 a = PixelAt(picture, x, y), b = ToolkitAt(x, y);
                bool far = false;
                for (u32 shift = 0; shift < 24; shift += 8)
                    far |= std::abs(static_cast<i32>(a >> shift & 0xFF) - static_cast<i32>(b >> shift & 0xFF)) >
                           room;
                count += far;
            }
        }
        return count;
    }
    int Ink(u32 ground = 0xFFFFFF) const {
        int count = 0;
        for (const u32 pixel : picture.pixels) count += pixel != 0xFFFFFF && pixel != ground;
        return count;
    }

    Picture picture;
    DrawTarget core, toolkit;

  private:
    RasterSurface rasterSurface{&picture, &QtFontTable()};
    QImage image;
    QPainter painter;
    QtSurface surface;
};

struct Dice {
    std::mt19937 engine;
    i32 Below(i32 limit) { return static_cast<i32>(engine() % static_cast<u32>(limit)); }
    u32 Colour() { return static_cast<u32>(engine() & 0xFFFFFF); }
    PixelPoint Point() { return {Below(WIDTH + 40) - 20, Below(HEIGHT + 40) - 20}; }
    PixelRect Rect() {
        const PixelPoint a = Point();
        return {a.x, a.y, a.x + Below(50), a.y + Below(50)};
    }
    Brush AnyBrush() { return {Colour(), static_cast<u8>(Below(20)), Below(4) == 0, Colour()}; }
    Pen AnyPen() { return {Colour(), static_cast<PenStyle>(Below(6)), 1 + Below(3) * Below(3), 1 + Below(2)}; }
};

void AnyOperation(Dice& dice, TwoTargets& targets) {
    PixelPoint points[6];
    for (PixelPoint& point : points) point = dice.Point();
    const PixelRect rect = dice.Rect();
    const Pen pen = dice.AnyPen();
    const Brush brush = dice.AnyBrush();
    const auto count = static_cast<std::size_t>(2 + dice.Below(5));
    const u32 ends[2] = {3, 6};
    u32 pixels[12];
    for (u32& pixel : pixels) pixel = dice.Colour();
    const auto kind = static_cast<ShapeKind>(dice.Below(5));
    const FillRule rule = dice.Below(2) ? FILL_WINDING : FILL_ALTERNATE;
    const PixelRect clip = dice.Rect();
    const bool clipped = dice.Below(4) == 0;
    const i32 operation = dice.Below(7);
    targets.Both([&](DrawTarget& target) {
        const PixelRect former = clipped ? PushClip(target, clip) : target.clip;
        switch (operation) {
            case 0: FillRect(target, rect, brush); break;
            case 1: InvertRect(target, rect); break;
            case 2: DrawPolyline(target, std::span(points, count), pen); break;
            case 3: DrawPolygon(target, {points, ends}, rule, pen, brush); break;
            case 4: DrawShape(target, {kind, rect, points[0], points[1]}, pen, brush); break;
            case 5: DrawPicture(target, rect, {4, 3, pixels}); break;
            default: DrawLine(target, points[0].x, points[0].y, points[1].x, points[0].y, pen); break;
        }
        PopClip(target, former);
    });
}

TEST(TwoTargetsTest, AnyOperationsGiveTheSamePixelsOnBoth) {
    for (u32 seed = 1; seed <= 60; ++seed) {
        Dice dice{std::mt19937(seed)};
        TwoTargets targets;
        for (int i = 0; i < 40; ++i) {
            AnyOperation(dice, targets);
            ASSERT_EQ(targets.Differing(0), 0) << "seed " << seed << " operation " << i;
        }
        EXPECT_GT(targets.Ink(), 100);
    }
}

TEST(TwoTargetsTest, TextsComeOutAlikeAtAnyAngle) {
    for (const i32 escapement : {0, 300, 450, 900, 1350, 1800, 2700, 3150}) {
        TwoTargets targets;
        constexpr u32 GROUND = 0x80FFC0;
        FontRequest request;
        request.faceName = u"Arial";
        request.pixelHeight = 15;
        request.escapement = escapement;
        const FontHandle font = QtFontTable().findFont(request);
        targets.Both([&](DrawTarget& target) {
            FillRect(target, {0, 0, WIDTH, 30}, GROUND);
            DrawText(target, 45, 35, font, 0x802010, u"Hxg, 12");
            DrawClippedText(target, 5, 5, {5, 0, 25, 12}, font, 0x0000FF, u"clipped");
        });
        EXPECT_GT(targets.Ink(GROUND), 60) << escapement;
        // A letter on the slant may lie a fraction of a pixel apart.
        if (escapement % 900 == 0) EXPECT_EQ(targets.Differing(3), 0) << escapement;
        EXPECT_LE(targets.Differing(128), 12) << escapement;
        EXPECT_LE(targets.Differing(40), targets.Ink(GROUND) / 4) << escapement;
    }
}

TEST(TwoTargetsTest, ATextOutsideThePictureDrawsNothing) {
    TwoTargets targets;
    for (const PixelPoint& place :
         {PixelPoint{-500, 10}, {WIDTH + 500, 10}, {10, -500}, {10, INT32_MAX}, {INT32_MIN, 5}})
        targets.Both([&](DrawTarget& target) { DrawText(target, place.x, place.y, 0, 0, u"far"); });
    EXPECT_EQ(targets.Ink(), 0);
    EXPECT_EQ(targets.Differing(0), 0);
}

}  // namespace
}  // namespace tally
