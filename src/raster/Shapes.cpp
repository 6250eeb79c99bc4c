#include "raster/Shapes.h"

#include <algorithm>
#include <cstdlib>

#include "raster/Curves.h"

namespace tally {
namespace {

struct Filler {
    DrawTarget& target;
    const Brush& brush;
};
void FillPart(void* context, const PixelRect& rect) {
    const Filler& filler = *static_cast<const Filler*>(context);
    filler.target.table->fillRect(filler.target, rect, filler.brush);
}
PixelSink SinkOf(Filler& filler) { return {FillPart, &filler}; }

void FillPiece(void* context, const Outline& piece) {
    Filler& filler = *static_cast<Filler*>(context);
    IgnoreFailure(ScanOutline(piece, FILL_WINDING, filler.target.clip, SinkOf(filler)));
}

// A wide stretch along an axis is a rectangle, with every pixel as the rules have it.
void FillBar(Filler& filler, const PixelPoint& from, const PixelPoint& to, const Pen& pen, i64& passed) {
    struct Widened {
        Filler& filler;
        i32 width;
        bool upright;
    } widened = {filler, pen.width, from.x == to.x};
    const auto widen = [](void* context, const PixelRect& thin) {
        const Widened& wide = *static_cast<const Widened*>(context);
        PixelRect rect = thin;
        i32& low = wide.upright ? rect.left : rect.top;
        i32& high = wide.upright ? rect.right : rect.bottom;
        low -= wide.width / 2;
        high = low + wide.width;
        FillPart(&wide.filler, rect);
    };
    // The thin line may lie outside the clip when a part of the wide one does not.
    PixelRect near = filler.target.clip;
    (widened.upright ? near.left : near.top) -= pen.width;
    (widened.upright ? near.right : near.bottom) += pen.width;
    ScanLine(from, to, pen, near, passed, {widen, &widened});
}

constexpr i32 MAX_PEN_WIDTH = 1 << 16;

FinePoint MiddleOf(const PixelPoint& point, i32 width) {
    const i32 shift = width % 2 ? FINE / 2 : 0;
    return {ToFine(point.x) + shift, ToFine(point.y) + shift};
}

void StrokeWide(Filler& filler, std::span<const PixelPoint> points, bool closed, const Pen& pen) {
    if (points.size() == 2 && (points[0].x == points[1].x || points[0].y == points[1].y)) {
        i64 passed = 0;
        FillBar(filler, points[0], points[1], pen, passed);
        return;
    }
    Array<FinePoint> fine;
    for (const PixelPoint& point : points)
        if (!fine.Append(MiddleOf(point, pen.width))) return;
    IgnoreFailure(StrokeLine(fine.Span(), closed, pen, filler.target.clip, {FillPiece, &filler}));
}

void Stroke(DrawTarget& target, std::span<const PixelPoint> points, bool closed, Pen pen) {
    if (points.size() < 2 || pen.style == PEN_NULL || pen.width <= 0 || IsEmptyRect(target.clip)) return;
    pen.width = std::min(pen.width, MAX_PEN_WIDTH);
    const Brush brush = {.colour = pen.colour};
    Filler filler{target, brush};
    if (pen.width > 1) {
        StrokeWide(filler, points, closed, pen);
        return;
    }
    i64 passed = 0;
    for (std::size_t i = 0; i + 1 < points.size(); ++i)
        ScanLine(points[i], points[i + 1], pen, target.clip, passed, SinkOf(filler));
    if (!closed) return;
    ScanLine(points.back(), points.front(), pen, target.clip, passed, SinkOf(filler));
    const PixelPoint& only = points.front();
    if (passed == 0) FillPart(&filler, {only.x, only.y, only.x + 1, only.y + 1});
}

void FillRings(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Brush& brush) {
    Outline outline;
    for (const PixelPoint& point : rings.points)
        if (!outline.points.Append({ToFine(point.x), ToFine(point.y)})) return;
    for (const u32 end : rings.ends)
        if (!outline.ends.Append(std::min(end, outline.points.Count()))) return;
    Filler filler{target, brush};
    IgnoreFailure(ScanOutline(outline, rule, target.clip, SinkOf(filler)));
}

// ---- shapes ------------------------------------------------------------------------------------------

void OutlineRect(DrawTarget& target, const PixelRect& rect, const Pen& pen) {
    const auto width =
        static_cast<i32>(std::min({i64{pen.width}, i64{rect.right} - rect.left, i64{rect.bottom} - rect.top}));
    if (pen.style == PEN_SOLID) {
        const PixelRect inside = {rect.left + width, rect.top + width, rect.right - width, rect.bottom - width};
        const PixelRect sides[4] = {
            {rect.left, rect.top, rect.right, rect.top + width},
            {rect.left, std::max(inside.bottom, rect.top + width), rect.right, rect.bottom},
            {rect.left, inside.top, rect.left + width, inside.bottom},
            {std::max(inside.right, rect.left + width), inside.top, rect.right, inside.bottom}};
        for (const PixelRect& side : sides) FillRect(target, side, pen.colour);
        return;
    }
    const i32 before = width / 2, behind = width - before;
    const PixelPoint corners[4] = {{rect.left + before, rect.top + before},
                                   {rect.right - behind, rect.top + before},
                                   {rect.right - behind, rect.bottom - behind},
                                   {rect.left + before, rect.bottom - behind}};
    Stroke(target, corners, true, pen);
}

// The lines of a chord or a pie, with their last pixels, which the curve need not meet.
void StrokeSides(DrawTarget& target, const Shape& shape, const Pen& pen) {
    PixelPoint points[3];
    const i32 sides = StraightSides(shape, points);
    if (!sides) return;
    Stroke(target, std::span(points, static_cast<std::size_t>(sides) + 1), false, pen);
    const PixelPoint& last = points[sides];
    if (pen.width == 1) FillRect(target, {last.x, last.y, last.x + 1, last.y + 1}, pen.colour);
}

void DashCurve(DrawTarget& target, const Shape& shape, const Pen& pen) {
    Array<FinePoint> points;
    bool closed = true;
    if (!CurvePoints(shape, pen.width * FINE / 2, points, closed)) return;
    const Brush brush = {.colour = pen.colour};
    Filler filler{target, brush};
    if (pen.width > 1) IgnoreFailure(StrokeLine(points.Span(), closed, pen, target.clip, {FillPiece, &filler}));
    else ScanCurve(points.Span(), closed, pen, target.clip, SinkOf(filler));
}

void StrokeCurve(DrawTarget& target, const Shape& shape, Pen pen) {
    pen.width = std::min(pen.width, MAX_PEN_WIDTH);
    if (pen.style != PEN_SOLID) {
        DashCurve(target, shape, pen);
        return;
    }
    const Brush brush = {.colour = pen.colour};
    Filler filler{target, brush};
    ScanCurveBorder(shape, pen.width, target.clip, SinkOf(filler));
    StrokeSides(target, shape, pen);
}

}  // namespace

void PolylineByRects(DrawTarget& target, std::span<const PixelPoint> points, const Pen& pen) {
    Stroke(target, points, false, pen);
}

void PolygonByRects(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Pen& pen,
                    const Brush& brush) {
    if (brush.pattern != BRUSH_NULL) FillRings(target, rings, rule, brush);
    u32 start = 0;
    for (const u32 end : rings.ends) {
        if (end > rings.points.size()) return;
        if (end > start) Stroke(target, rings.points.subspan(start, end - start), true, pen);
        start = std::max(start, end);
    }
}

void ShapeByRects(DrawTarget& target, const Shape& shape, const Pen& pen, const Brush& brush) {
    if (IsEmptyRect(shape.rect)) return;
    const bool filled = brush.pattern != BRUSH_NULL && shape.kind != SHAPE_ARC;
    const bool outlined = pen.style != PEN_NULL && pen.width > 0;
    if (shape.kind == SHAPE_RECTANGLE) {
        if (filled) FillRect(target, shape.rect, brush);
        if (outlined) OutlineRect(target, shape.rect, pen);
        return;
    }
    Filler filler{target, brush};
    if (filled) ScanCurveInside(shape, target.clip, SinkOf(filler));
    if (outlined) StrokeCurve(target, shape, pen);
}

bool StretchPicture(const PictureView& picture, const PixelRect& place, const PixelRect& cut,
                    Array<u32>& pixels) {
    if (IsEmptyRect(cut) || picture.width <= 0 || picture.height <= 0) return pixels.ResizeRaw(0);
    const i64 width = i64{place.right} - place.left, height = i64{place.bottom} - place.top;
    const auto columns = static_cast<std::size_t>(cut.right - cut.left);
    if (!pixels.ResizeRaw(columns * static_cast<std::size_t>(cut.bottom - cut.top))) return false;
    u32* out = pixels.Data();
    for (i32 y = cut.top; y < cut.bottom; ++y) {
        const i64 row = (2 * (i64{y} - place.top) + 1) * picture.height / (2 * height);
        const u32* source = picture.pixels + row * picture.width;
        for (i32 x = cut.left; x < cut.right; ++x)
            *out++ = source[(2 * (i64{x} - place.left) + 1) * picture.width / (2 * width)];
    }
    return true;
}

}  // namespace tally
