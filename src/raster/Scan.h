#pragma once
// From outlines and lines to pixels. Nothing outside `clip` is looked at for longer than it takes to pass it.

#include "raster/Outline.h"

namespace tally {

// Gets what is covered, rectangle by rectangle, inside the clip.
struct PixelSink {
    void (*fill)(void* context, const PixelRect& rect);
    void* context;
};

// The pixels whose middle lies inside. False when memory fails.
[[nodiscard]] bool ScanOutline(const Outline& outline, FillRule rule, const PixelRect& clip, PixelSink sink);

// A straight line of one pixel from a point to before another. `passed` counts the pixels of the lines before
// it and is moved on.
void ScanLine(const PixelPoint& from, const PixelPoint& to, const Pen& pen, const PixelRect& clip, i64& passed,
              PixelSink sink);

// A curve of one pixel through fine points: the pixels that hold its points, no two of them meeting at a corner
// where a slanted step would do.
void ScanCurve(std::span<const FinePoint> points, bool closed, const Pen& pen, const PixelRect& clip,
               PixelSink sink);

}  // namespace tally
