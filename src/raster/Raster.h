#pragma once
// Pictures in memory as targets, without a toolkit: the same pixels on every machine but for the texts, which
// are the platform's.

#include "platform/Drawing.h"

namespace tally {

// 0x00BBGGRR, the topmost row first.
struct Picture {
    i32 width = 0, height = 0;
    Array<u32> pixels;
};
constexpr i32 MAX_PICTURE_SIDE = 32767;
constexpr i64 MAX_PICTURE_PIXELS = i64{1} << 26;

// A picture of one colour. False when memory fails or a side is out of bounds.
[[nodiscard]] bool MakePicture(Picture& picture, i32 width, i32 height, u32 colour);
PictureView ViewOf(const Picture& picture);
// The colour of a pixel; 0 outside.
u32 PixelAt(const Picture& picture, i32 x, i32 y);

// What a picture's target draws on and with; it stays where it is as long as the target is used. What has been
// drawn stands in the picture at once. Without fonts no texts are drawn.
struct RasterSurface {
    Picture* picture = nullptr;
    const FontTable* fonts = nullptr;
};
DrawTarget MakeRasterTarget(RasterSurface& surface, i32 dpiX = 96, i32 dpiY = 96);

}  // namespace tally
