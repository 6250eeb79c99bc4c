#include "raster/Raster.h"

#include <algorithm>

#include "raster/Shapes.h"

namespace tally {
namespace {

RasterSurface& SurfaceOf(DrawTarget& target) { return *static_cast<RasterSurface*>(target.own); }

// The part of a rectangle that may be drawn on: the clip cannot leave the picture, whatever was put there.
PixelRect Drawable(const DrawTarget& target, const PixelRect& rect) {
    return IntersectRects(IntersectRects(rect, target.clip), {0, 0, target.width, target.height});
}
u32* RowOf(DrawTarget& target, i32 y) {
    Picture& picture = *SurfaceOf(target).picture;
    return picture.pixels.Data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width);
}

void RasterFillRect(DrawTarget& target, const PixelRect& rect, const Brush& brush) {
    const PixelRect cut = Drawable(target, rect);
    if (IsEmptyRect(cut) || brush.pattern == BRUSH_NULL) return;
    const i32 across = ScreenPixelX(target), down = ScreenPixelY(target);
    for (i32 y = cut.top; y < cut.bottom; ++y) {
        u32* const row = RowOf(target, y);
        if (brush.pattern == BRUSH_SOLID) {
            std::fill(row + cut.left, row + cut.right, brush.colour);
            continue;
        }
        for (i32 x = cut.left; x < cut.right; ++x) {
            if (PatternDot(brush.pattern, x / across, y / down)) row[x] = brush.colour;
            else if (!brush.clear) row[x] = brush.backColour;
        }
    }
}

void RasterInvertRect(DrawTarget& target, const PixelRect& rect) {
    const PixelRect cut = Drawable(target, rect);
    for (i32 y = cut.top; y < cut.bottom && cut.left < cut.right; ++y) {
        u32* const row = RowOf(target, y);
        for (i32 x = cut.left; x < cut.right; ++x) row[x] ^= 0xFFFFFF;
    }
}

void RasterPicture(DrawTarget& target, const PixelRect& place, const PictureView& picture) {
    const PixelRect cut = Drawable(target, place);
    Array<u32> pixels;
    if (IsEmptyRect(cut) || !StretchPicture(picture, place, cut, pixels) || pixels.IsEmpty()) return;
    const u32* from = pixels.Data();
    const i32 width = cut.right - cut.left;
    for (i32 y = cut.top; y < cut.bottom; ++y, from += width)
        std::copy_n(from, width, RowOf(target, y) + cut.left);
}

u32 Blend(u32 ground, u32 colour, u32 coverage) {
    u32 result = 0;
    for (u32 shift = 0; shift < 24; shift += 8) {
        const u32 mixed = (colour >> shift & 0xFF) * coverage + (ground >> shift & 0xFF) * (255 - coverage);
        result |= (mixed + 127) / 255 << shift;
    }
    return result;
}

void RasterText(DrawTarget& target, i32 x, i32 y, FontHandle font, u32 colour, WideView text) {
    const FontTable* fonts = SurfaceOf(target).fonts;
    const PixelRect seen = Drawable(target, target.clip);
    if (!fonts || text.empty() || IsEmptyRect(seen)) return;
    // Texts that begin farther out than this are not seen.
    constexpr i32 FARTHEST_TEXT = 1 << 24;
    if (x < -FARTHEST_TEXT || x > FARTHEST_TEXT || y < -FARTHEST_TEXT || y > FARTHEST_TEXT) return;
    TextMask mask;
    if (!fonts->textMask(font, text, {seen.left - x, seen.top - y, seen.right - x, seen.bottom - y}, mask))
        return;
    const PixelRect place = {x + mask.left, y + mask.top, x + mask.left + mask.width,
                             y + mask.top + mask.height};
    const PixelRect cut = Drawable(target, place);
    for (i32 row = cut.top; row < cut.bottom; ++row) {
        u32* const pixels = RowOf(target, row);
        const u8* const coverage =
            mask.coverage.Data() + static_cast<std::ptrdiff_t>(row - place.top) * mask.width - place.left;
        for (i32 column = cut.left; column < cut.right; ++column)
            pixels[column] = Blend(pixels[column], colour, coverage[column]);
    }
}

constexpr DrawingTable rasterTable = {RasterFillRect, RasterInvertRect, PolylineByRects, PolygonByRects,
                                      ShapeByRects,   RasterPicture,    RasterText};

}  // namespace

bool MakePicture(Picture& picture, i32 width, i32 height, u32 colour) {
    if (width < 0 || height < 0 || width > MAX_PICTURE_SIDE || height > MAX_PICTURE_SIDE ||
        i64{width} * height > MAX_PICTURE_PIXELS)
        return false;
    if (!picture.pixels.ResizeRaw(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)))
        return false;
    picture.width = width;
    picture.height = height;
    std::fill(picture.pixels.begin(), picture.pixels.end(), colour);
    return true;
}

PictureView ViewOf(const Picture& picture) { return {picture.width, picture.height, picture.pixels.Data()}; }

u32 PixelAt(const Picture& picture, i32 x, i32 y) {
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return 0;
    return picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                          static_cast<std::size_t>(x)];
}

DrawTarget MakeRasterTarget(RasterSurface& surface, i32 dpiX, i32 dpiY) {
    const Picture& picture = *surface.picture;
    return {.table = &rasterTable,
            .own = &surface,
            .width = picture.width,
            .height = picture.height,
            .dpiX = dpiX,
            .dpiY = dpiY,
            .printer = false,
            .clip = {0, 0, picture.width, picture.height}};
}

}  // namespace tally
