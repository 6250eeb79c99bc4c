#include "platform/qt/QtPainting.h"

#include <QImage>
#include <QPaintDevice>
#include <algorithm>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtFonts.h"
#include "platform/qt/QtText.h"
#include "raster/Shapes.h"

namespace tally {

QtSurface& SurfaceOf(DrawTarget& target) { return *static_cast<QtSurface*>(target.own); }
QRect ToQRect(const PixelRect& rect) {
    return QRect(rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
}
QColor ToQColor(u32 colour) { return QColor::fromRgb(colour & 0xFF, colour >> 8 & 0xFF, colour >> 16 & 0xFF); }
u32 ToPixel(u32 colour) {
    return 0xFF000000u | (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
}

void ApplyClip(QtSurface& surface, const PixelRect& clip) {
    if (surface.applied == clip) return;
    surface.painter->setClipRect(ToQRect(clip));
    surface.applied = clip;
}

// Fills are cut to the clip by arithmetic: the painter's own clip changes for texts only.
bool CutToClip(DrawTarget& target, const PixelRect& rect, PixelRect& cut) {
    QtSurface& surface = SurfaceOf(target);
    cut = IntersectRects(IntersectRects(rect, target.clip), surface.whole);
    if (IsEmptyRect(cut)) return false;
    if (IntersectRects(surface.applied, cut) != cut) ApplyClip(surface, surface.whole);
    return true;
}

const QBrush& DotsOf(DrawTarget& target, const Brush& brush) {
    QtSurface& surface = SurfaceOf(target);
    if (surface.brush == brush) return surface.dots;
    const i32 across = ScreenPixelX(target), down = ScreenPixelY(target);
    QImage tile(8 * across, 8 * down, QImage::Format_ARGB32_Premultiplied);
    for (i32 y = 0; y < tile.height(); ++y) {
        for (i32 x = 0; x < tile.width(); ++x) {
            const bool dot = PatternDot(brush.pattern, x / across, y / down);
            tile.setPixel(x, y, dot ? ToPixel(brush.colour) : brush.clear ? 0 : ToPixel(brush.backColour));
        }
    }
    surface.dots = QBrush();
    surface.dots.setTextureImage(tile);
    surface.brush = brush;
    return surface.dots;
}

void QtFillRect(DrawTarget& target, const PixelRect& rect, const Brush& brush) {
    PixelRect cut;
    if (brush.pattern == BRUSH_NULL || !CutToClip(target, rect, cut)) return;
    QPainter& painter = *SurfaceOf(target).painter;
    if (brush.pattern == BRUSH_SOLID) painter.fillRect(ToQRect(cut), ToQColor(brush.colour));
    else painter.fillRect(ToQRect(cut), DotsOf(target, brush));
}

void QtDrawText(DrawTarget& target, i32 x, i32 y, FontHandle font, u32 colour, WideView text) {
    QtSurface& surface = SurfaceOf(target);
    const PixelRect cut = IntersectRects(target.clip, surface.whole);
    if (text.empty() || IsEmptyRect(cut)) return;
    ApplyClip(surface, cut);
    const LoadedFont& loaded = FontOf(font);
    QPainter& painter = *surface.painter;
    if (surface.font != font) {
        painter.setFont(loaded.font);
        surface.font = font;
    }
    painter.setPen(ToQColor(colour));
    PaintFontText(painter, loaded, x, y, text);
}

namespace {

void QtInvertRect(DrawTarget& target, const PixelRect& rect) {
    PixelRect cut;
    if (!CutToClip(target, rect, cut)) return;
    QPainter& painter = *SurfaceOf(target).painter;
    painter.setCompositionMode(QPainter::RasterOp_NotDestination);
    painter.fillRect(ToQRect(cut), Qt::white);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
}

void QtDrawPicture(DrawTarget& target, const PixelRect& place, const PictureView& picture) {
    PixelRect cut;
    Array<u32> pixels;
    if (!CutToClip(target, place, cut) || !StretchPicture(picture, place, cut, pixels) || pixels.IsEmpty())
        return;
    for (u32& pixel : pixels) pixel = ToPixel(pixel);
    const int width = cut.right - cut.left;
    const QImage image(reinterpret_cast<const uchar*>(pixels.Data()), width, cut.bottom - cut.top, width * 4,
                       QImage::Format_RGB32);
    SurfaceOf(target).painter->drawImage(QPoint(cut.left, cut.top), image);
}

constexpr DrawingTable drawingTable = {
    QtFillRect, QtInvertRect, PolylineByRects, PolygonByRects, ShapeByRects, QtDrawPicture, QtDrawText,
};

}  // namespace

DrawTarget MakePaintTarget(QtSurface& surface, QPainter& painter, const PixelRect& whole, bool printer) {
    const QPaintDevice* device = painter.device();
    surface = QtSurface();
    surface.painter = &painter;
    surface.whole = whole;
    ApplyClip(surface, whole);
    return {.table = printer ? &QtPaperTable() : &drawingTable,
            .own = &surface,
            .width = device ? device->width() : whole.right,
            .height = device ? device->height() : whole.bottom,
            .dpiX = device ? std::max(1, device->logicalDpiX()) : 96,
            .dpiY = device ? std::max(1, device->logicalDpiY()) : 96,
            .printer = printer,
            .clip = whole};
}

}  // namespace tally
