// What drawing leaves in a PDF file: shapes as paths and patterns, and the same figure as on a picture.

#include <gtest/gtest.h>

#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <functional>
#include <random>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtText.h"
#include "raster/Raster.h"

namespace tally {
namespace {

constexpr u32 BLACK = 0, WHITE = 0xFFFFFF, RED = 0x0000FF, BLUE = 0xFF0000;
constexpr i32 SIDE = 420;

using Draw = std::function<void(DrawTarget&)>;

// The operators of a page's content that paint or build, in their order, one letter group each.
struct PageContent {
    QByteArray text;
    int Count(const char* op) const {
        int count = 0;
        for (const QByteArray& line : text.split('\n')) {
            const QList<QByteArray> words = line.simplified().split(' ');
            for (const QByteArray& word : words) count += word == op;
        }
        return count;
    }
};

class PaperTest : public testing::Test {
  protected:
    void TearDown() override { printer.release(); }

    // Prints one page; false when anything of it failed.
    bool Print(const Draw& draw) {
        const QString path = Path();
        if (!printer.chooseFile(ViewOf(path)) || !printer.capabilities(paper) || !printer.beginDocument(u"x"))
            return false;
        DrawTarget* target = printer.beginPage();
        if (!target) return false;
        draw(*target);
        if (!printer.endPage() || !printer.endDocument()) return false;
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) bytes = file.readAll();
        return !bytes.isEmpty();
    }
    QString Path() const { return folder.filePath(QStringLiteral("page.pdf")); }

    // The first stream of the file that is compressed text and paints.
    PageContent Content() const {
        for (qsizetype at = bytes.indexOf("stream\n"); at >= 0; at = bytes.indexOf("stream\n", at + 1)) {
            if (bytes.mid(at - 60, 60).indexOf("/FlateDecode") < 0) continue;
            QByteArray packed("\0\x40\0\0", 4);  // room for what comes out
            packed += bytes.mid(at + 7, bytes.indexOf("endstream", at) - at - 7);
            const QByteArray text = qUncompress(packed);
            if (text.contains(" cm\n") || text.contains(" re\n")) return {text};
        }
        return {};
    }

    // The corner of the printable part as another program shows it. False without that program.
    bool Shown(Picture& picture) const {
        const QString out = folder.filePath(QStringLiteral("out"));
        const QString side = QString::number(SIDE);
        QProcess process;
        process.start(QStringLiteral("pdftoppm"),
                      {"-r", "600", "-x", QString::number(paper.offsetX), "-y", QString::number(paper.offsetY),
                       "-W", side, "-H", side, "-singlefile", Path(), out});
        if (!process.waitForFinished() || process.exitCode()) return false;
        const QImage image = QImage(out + QStringLiteral(".ppm")).convertToFormat(QImage::Format_RGB32);
        if (image.width() != SIDE || image.height() != SIDE || !MakePicture(picture, SIDE, SIDE, WHITE))
            return false;
        u32* pixel = picture.pixels.Data();
        for (i32 y = 0; y < SIDE; ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (i32 x = 0; x < SIDE; ++x)
                *pixel++ = static_cast<u32>(qRed(line[x]) | qGreen(line[x]) << 8 | qBlue(line[x]) << 16);
        }
        return true;
    }

    const PrinterTable& printer = *QtShellPlatform().printer;
    QTemporaryDir folder;
    PrinterCapabilities paper;
    QByteArray bytes;
};

const PixelPoint TRIANGLE[] = {{20, 380}, {200, 20}, {390, 360}};
const u32 THREE[] = {3};
// An outer and an inner square, both the same way round.
const PixelPoint SQUARES[] = {{20, 20},   {380, 20},  {380, 380}, {20, 380},
                              {120, 120}, {280, 120}, {280, 280}, {120, 280}};
const u32 FOUR_EIGHT[] = {4, 8};

TEST_F(PaperTest, AnOperationIsAFewWordsInTheFile) {
    const Pen line = {RED, PEN_SOLID, 7};
    const Brush solid = {BLUE}, dotted = {.colour = BLUE, .pattern = 7, .backColour = WHITE};
    const Shape pie = {SHAPE_PIE, {10, 10, 400, 300}, {400, 0}, {0, 20}};
    struct Case {
        const char* name;
        Draw draw;
        int evenOdd, winding, strokes, curves;
    };
    const Case cases[] = {
        {"triangle",
         [&](DrawTarget& t) {
             DrawPolygon(t, {TRIANGLE, THREE}, FILL_WINDING, NO_PEN, solid);
         },
         0, 1, 0, 0},
        {"its outline",
         [&](DrawTarget& t) {
             DrawPolygon(t, {TRIANGLE, THREE}, FILL_WINDING, line, NO_BRUSH);
         },
         0, 0, 1, 0},
        {"ring",
         [&](DrawTarget& t) {
             DrawPolygon(t, {SQUARES, FOUR_EIGHT}, FILL_ALTERNATE, NO_PEN, solid);
         },
         1, 0, 0, 0},
        {"polyline", [&](DrawTarget& t) { DrawPolyline(t, TRIANGLE, line); }, 0, 0, 1, 0},
        {"dashes",
         [&](DrawTarget& t) {
             DrawPolyline(t, TRIANGLE, {RED, PEN_DASH, 6, 6});
         },
         0, 1, 0, 0},
        {"ellipse",
         [&](DrawTarget& t) {
             DrawShape(t, {SHAPE_ELLIPSE, pie.rect, {}, {}}, line, solid);
         },
         1, 0, 1, 8},
        {"pie", [&](DrawTarget& t) { DrawShape(t, pie, NO_PEN, solid); }, 1, 0, 0, 2},
        {"arc",
         [&](DrawTarget& t) {
             DrawShape(t, {SHAPE_ARC, pie.rect, pie.start, pie.end}, line, solid);
         },
         0, 0, 1, 2},
        {"pattern",
         [&](DrawTarget& t) {
             FillRect(t, {20, 20, 400, 400}, dotted);
         },
         0, 1, 0, 0},
        {"pattern in a triangle",
         [&](DrawTarget& t) {
             DrawPolygon(t, {TRIANGLE, THREE}, FILL_WINDING, NO_PEN, dotted);
         },
         0, 1, 0, 0},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(Print(row.draw));
        const PageContent content = Content();
        EXPECT_EQ(content.Count("f*"), row.evenOdd) << content.text.toStdString();
        EXPECT_EQ(content.Count("f"), row.winding) << content.text.toStdString();
        EXPECT_EQ(content.Count("S"), row.strokes) << content.text.toStdString();
        EXPECT_EQ(content.Count("c"), row.curves);
        EXPECT_LT(content.text.size(), 2500);
        EXPECT_LT(bytes.size(), 9000);
    }
}

struct Dice {
    std::mt19937 engine;
    i32 Below(i32 limit) { return static_cast<i32>(engine() % static_cast<u32>(limit)); }
    u32 Colour() { return static_cast<u32>(engine() & 0x7F7F7F); }
    PixelPoint Point() { return {Below(SIDE + 100) - 50, Below(SIDE + 100) - 50}; }
    PixelRect Rect() {
        const PixelPoint a = Point();
        return {a.x, a.y, a.x + Below(300), a.y + Below(300)};
    }
    Brush AnyBrush() { return {Colour(), static_cast<u8>(Below(20)), Below(4) == 0, Colour()}; }
    Pen AnyPen() { return {Colour(), static_cast<PenStyle>(Below(6)), 1 + Below(4) * Below(5), 4 + Below(8)}; }
};

// Any operation, from numbers at random.
void DrawAny(Dice dice, DrawTarget& target) {
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
    const PixelRect former = dice.Below(3) ? target.clip : PushClip(target, dice.Rect());
    switch (dice.Below(6)) {
        case 0: FillRect(target, rect, brush); break;
        case 1: DrawPolyline(target, std::span(points, count), pen); break;
        case 2: DrawPolygon(target, {points, ends}, rule, pen, brush); break;
        case 3: DrawPicture(target, rect, {4, 3, pixels}); break;
        case 4: DrawLine(target, points[0].x, points[0].y, points[1].x, points[0].y, pen); break;
        default: DrawShape(target, {kind, rect, points[0], points[1]}, pen, brush); break;
    }
    PopClip(target, former);
}

// Whether a picture has one colour around a pixel: no edge and no needle's end is near.
bool IsPlain(const Picture& picture, i32 x, i32 y) {
    constexpr i32 NEAR = 2;
    const u32 own = PixelAt(picture, x, y);
    for (i32 down = -NEAR; down <= NEAR; ++down)
        for (i32 across = -NEAR; across <= NEAR; ++across)
            if (PixelAt(picture, x + across, y + down) != own) return false;
    return true;
}

TEST_F(PaperTest, AnythingLooksAsOnAPicture) {
    i64 ink = 0;
    for (u32 seed = 1; seed <= 40; ++seed) {
        const auto draw = [seed](DrawTarget& target) {
            for (u32 i = 0; i < 3; ++i) DrawAny({std::mt19937(seed * 10 + i)}, target);
        };
        ASSERT_TRUE(Print(draw));
        Picture printed, drawn;
        if (!Shown(printed)) GTEST_SKIP() << "pdftoppm is missing";
        ASSERT_TRUE(MakePicture(drawn, SIDE, SIDE, WHITE));
        RasterSurface surface{&drawn, nullptr};
        DrawTarget target = MakeRasterTarget(surface, 600, 600);
        target.printer = true;  // dots of the same size
        draw(target);
        int other = 0;
        for (i32 y = 2; y < SIDE - 2; ++y) {
            for (i32 x = 2; x < SIDE - 2; ++x) {
                const u32 pixel = PixelAt(drawn, x, y);
                ink += pixel != WHITE;
                other += pixel != PixelAt(printed, x, y) && IsPlain(drawn, x, y) && IsPlain(printed, x, y);
            }
        }
        EXPECT_EQ(other, 0) << "seed " << seed;
    }
    EXPECT_GT(ink, 40 * SIDE * SIDE / 20);
}

// Both fill rules, inside and outside, at places that are told one by one.
TEST_F(PaperTest, ATriangleAndARingHaveTheirPixelsInsideAndOutside) {
    const PixelPoint rays[] = {{10, 10}, {200, 10}, {10, 200}};
    for (const FillRule rule : {FILL_ALTERNATE, FILL_WINDING}) {
        ASSERT_TRUE(Print([&](DrawTarget& target) {
            DrawPolygon(target, {SQUARES, FOUR_EIGHT}, rule, NO_PEN, {BLUE});
            DrawPolygon(target, {rays, THREE}, rule, NO_PEN, {RED});
            DrawShape(target, {SHAPE_PIE, {140, 140, 260, 260}, {260, 200}, {200, 140}}, NO_PEN, {BLACK});
        }));
        EXPECT_LT(bytes.size(), 2500);
        Picture shown;
        if (!Shown(shown)) GTEST_SKIP() << "pdftoppm is missing";
        const u32 hole = rule == FILL_ALTERNATE ? WHITE : BLUE;
        const struct {
            i32 x, y;
            u32 colour;
        } places[] = {
            {13, 13, RED},    {100, 105, RED},  {108, 108, BLUE},  {12, 190, RED},    {12, 205, WHITE},
            {205, 12, WHITE}, {22, 378, BLUE},  {378, 22, BLUE},   {382, 200, WHITE}, {118, 200, BLUE},
            {122, 200, hole}, {278, 122, hole}, {282, 122, BLUE},  {203, 197, BLACK}, {240, 160, BLACK},
            {203, 203, hole}, {197, 197, hole}, {257, 197, BLACK}, {255, 145, hole},
        };
        for (const auto& place : places)
            EXPECT_EQ(PixelAt(shown, place.x, place.y), place.colour) << place.x << ", " << place.y;
    }
}

// What lies far outside draws what of it is inside and no more.
TEST_F(PaperTest, PlacesFarOutsideAreCut) {
    const PixelPoint far[] = {{-2000000000, 100}, {2000000000, 100}, {200, 2000000000}};
    ASSERT_TRUE(Print([&](DrawTarget& target) {
        DrawPolygon(target, {far, THREE}, FILL_ALTERNATE, {RED, PEN_SOLID, 6}, {BLUE});
        DrawPolyline(target, far, {BLACK, PEN_DOT, 6, 6});
        DrawShape(target, {SHAPE_ELLIPSE, {-2000000000, -2000000000, 2000000000, 50}, {}, {}}, NO_PEN, {RED});
        DrawShape(target, {SHAPE_PIE, {5, 5, 6, 400}, {5, 5}, {5, 5}}, {BLACK, PEN_SOLID, 9}, {RED});
        DrawPolygon(target, {}, FILL_ALTERNATE, {BLACK}, {RED});
        DrawPolyline(target, std::span(far, 1), {BLACK});
        DrawShape(target, {SHAPE_ELLIPSE, {9, 9, 9, 90}, {}, {}}, {BLACK}, {RED});
        DrawPicture(target, {0, 0, 9, 9}, {0, 0, nullptr});
    }));
    EXPECT_LT(bytes.size(), 20000);
    Picture shown;
    if (!Shown(shown)) GTEST_SKIP() << "pdftoppm is missing";
    EXPECT_EQ(PixelAt(shown, 200, 25), RED);
    EXPECT_EQ(PixelAt(shown, 200, 75), WHITE);
    EXPECT_EQ(PixelAt(shown, 200, 250), BLUE);
}

}  // namespace
}  // namespace tally
