// Paper: lines, polygons, curves and patterns reach the printer as such, not as the pixels that they cover.

#include <QImage>
#include <QPainterPath>
#include <algorithm>

#include "platform/qt/QtPainting.h"
#include "raster/Curves.h"
#include "raster/Shapes.h"

namespace tally {
namespace {

// Places farther out than this are moved there.
constexpr i32 FARTHEST = FARTHEST_FINE;

qreal PlaceOf(i32 pixel) { return std::clamp(pixel, -FARTHEST, FARTHEST); }
QPointF CornerOf(const PixelPoint& point) { return {PlaceOf(point.x), PlaceOf(point.y)}; }

// The painter's clip is changed only where it must be: each change is a part of the file.
bool OpenClip(DrawTarget& target, const QRectF& ink) {
    QtSurface& surface = SurfaceOf(target);
    const PixelRect cut = IntersectRects(target.clip, surface.whole);
    const QRectF room = ToQRect(cut);
    if (IsEmptyRect(cut) || !room.intersects(ink.adjusted(-1, -1, 1, 1))) return false;
    const bool free = room.contains(ink) && QRectF(ToQRect(surface.applied)).contains(ink);
    if (!free) ApplyClip(surface, cut);
    return true;
}

void FillPath(DrawTarget& target, const QPainterPath& path, const Brush& brush) {
    if (brush.pattern == BRUSH_NULL || !OpenClip(target, path.controlPointRect())) return;
    SurfaceOf(target).painter->fillPath(
        path, brush.pattern == BRUSH_SOLID ? QBrush(ToQColor(brush.colour)) : DotsOf(target, brush));
}

void StrokePath(DrawTarget& target, const QPainterPath& path, const Pen& pen) {
    const qreal room = pen.width;
    if (!OpenClip(target, path.controlPointRect().adjusted(-room, -room, room, room))) return;
    SurfaceOf(target).painter->strokePath(
        path, QPen(ToQColor(pen.colour), pen.width, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
}

// ---- dashes ------------------------------------------------------------------------------------------

void AddPiece(void* context, const Outline& piece) {
    QPainterPath& path = *static_cast<QPainterPath*>(context);
    for (u32 i = 0; i < piece.points.Count(); ++i) {
        const QPointF point = QPointF(piece.points[i].x, piece.points[i].y) / FINE;
        if (i == 0) path.moveTo(point);
        else path.lineTo(point);
    }
    path.closeSubpath();
}

// Dashes are counted the same way on every target, so that they are pieces here, too: all in one path.
void DashPath(DrawTarget& target, std::span<const FinePoint> points, bool closed, const Pen& pen) {
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    if (StrokeLine(points, closed, pen, target.clip, {AddPiece, &path}))
        FillPath(target, path, {.colour = pen.colour});
}

// ---- lines and polygons ------------------------------------------------------------------------------

bool DrawsNothing(const Pen& pen) { return pen.style == PEN_NULL || pen.width <= 0; }

void StrokePoints(DrawTarget& target, std::span<const PixelPoint> points, bool closed, const Pen& pen) {
    if (points.size() < 2 || DrawsNothing(pen)) return;
    // The middle of what the pen covers.
    const i32 shift = pen.width % 2 ? FINE / 2 : 0;
    if (pen.style != PEN_SOLID) {
        Array<FinePoint> fine;
        for (const PixelPoint& point : points)
            if (!fine.Append({ToFine(point.x) + shift, ToFine(point.y) + shift})) return;
        DashPath(target, fine.Span(), closed, pen);
        return;
    }
    QPainterPath path(CornerOf(points[0]));
    for (const PixelPoint& point : points.subspan(1)) path.lineTo(CornerOf(point));
    if (closed) path.closeSubpath();
    path.translate(qreal(shift) / FINE, qreal(shift) / FINE);
    StrokePath(target, path, pen);
}

void PaperPolyline(DrawTarget& target, std::span<const PixelPoint> points, const Pen& pen) {
    const bool straight = points.size() == 2 && (points[0].x == points[1].x || points[0].y == points[1].y);
    // One rectangle, or one a dash.
    if (straight) PolylineByRects(target, points, pen);
    else StrokePoints(target, points, false, pen);
}

void PaperPolygon(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Pen& pen,
                  const Brush& brush) {
    QPainterPath path;
    path.setFillRule(rule == FILL_WINDING ? Qt::WindingFill : Qt::OddEvenFill);
    std::size_t start = 0;
    for (const u32 ringEnd : rings.ends) {
        const std::size_t end = std::min<std::size_t>(ringEnd, rings.points.size());
        for (std::size_t i = start; i < end; ++i) {
            if (i == start) path.moveTo(CornerOf(rings.points[i]));
            else path.lineTo(CornerOf(rings.points[i]));
        }
        if (end > start) path.closeSubpath();
        start = std::max(start, end);
    }
    FillPath(target, path, brush);
    start = 0;
    for (const u32 end : rings.ends) {
        if (end > rings.points.size()) return;
        if (end > start) StrokePoints(target, rings.points.subspan(start, end - start), true, pen);
        start = std::max<std::size_t>(start, end);
    }
}

// ---- curves ------------------------------------------------------------------------------------------

QPainterPath CurvePath(const Shape& shape, qreal inset) {
    const PixelRect& r = shape.rect;
    const QRectF place =
        QRectF(CornerOf({r.left, r.top}), CornerOf({r.right, r.bottom})).adjusted(inset, inset, -inset, -inset);
    const CurveSweep sweep = SweepOf(shape, inset);
    QPainterPath path;
    if (sweep.length == 360 && shape.kind != SHAPE_ARC) {
        path.addEllipse(place);
        return path;
    }
    if (shape.kind == SHAPE_PIE) path.moveTo(place.center());
    else path.arcMoveTo(place, sweep.from);
    path.arcTo(place, sweep.from, sweep.length);
    if (shape.kind != SHAPE_ARC) path.closeSubpath();
    return path;
}

void StrokeCurve(DrawTarget& target, const Shape& shape, Pen pen) {
    const PixelRect& r = shape.rect;
    pen.width = static_cast<i32>(std::min({i64{pen.width}, i64{r.right} - r.left, i64{r.bottom} - r.top}));
    if (pen.style == PEN_SOLID) {
        StrokePath(target, CurvePath(shape, pen.width / 2.0), pen);
        return;
    }
    Array<FinePoint> points;
    bool closed = true;
    if (CurvePoints(shape, pen.width * FINE / 2, points, closed)) DashPath(target, points.Span(), closed, pen);
}

void PaperShape(DrawTarget& target, const Shape& shape, const Pen& pen, const Brush& brush) {
    if (IsEmptyRect(shape.rect)) return;
    if (shape.kind == SHAPE_RECTANGLE) {
        ShapeByRects(target, shape, pen, brush);
        return;
    }
    if (shape.kind != SHAPE_ARC) FillPath(target, CurvePath(shape, 0), brush);
    if (!DrawsNothing(pen)) StrokeCurve(target, shape, pen);
}

// ---- pictures ----------------------------------------------------------------------------------------

void PaperInvert(DrawTarget&, const PixelRect&) {}

// As many pixels as the picture has, not as the printer would have there.
void PaperPicture(DrawTarget& target, const PixelRect& place, const PictureView& picture) {
    if (IsEmptyRect(place) || picture.width <= 0 || picture.height <= 0 || !OpenClip(target, ToQRect(place)))
        return;
    QImage image(picture.width, picture.height, QImage::Format_RGB32);
    if (image.isNull()) return;
    const u32* source = picture.pixels;
    for (i32 y = 0; y < picture.height; ++y) {
        QRgb* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (i32 x = 0; x < picture.width; ++x) line[x] = ToPixel(*source++);
    }
    SurfaceOf(target).painter->drawImage(ToQRect(place), image);
}

constexpr DrawingTable paperTable = {
    QtFillRect, PaperInvert, PaperPolyline, PaperPolygon, PaperShape, PaperPicture, QtDrawText,
};

}  // namespace

const DrawingTable& QtPaperTable() { return paperTable; }

}  // namespace tally
