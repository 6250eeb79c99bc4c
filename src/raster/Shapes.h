#pragma once
// Rows for the table of a target whose owner only fills rectangles: all else is made of these, so that every
// target of the kind has the same pixels. When memory fails the operation, or the rest of it, is not drawn.

#include "platform/Drawing.h"

namespace tally {

void PolylineByRects(DrawTarget& target, std::span<const PixelPoint> points, const Pen& pen);
void PolygonByRects(DrawTarget& target, const PolygonRings& rings, FillRule rule, const Pen& pen,
                    const Brush& brush);
void ShapeByRects(DrawTarget& target, const Shape& shape, const Pen& pen, const Brush& brush);

// The part `cut` of a picture stretched into `place`, row by row; `cut` lies inside `place`. False when memory
// fails.
[[nodiscard]] bool StretchPicture(const PictureView& picture, const PixelRect& place, const PixelRect& cut,
                                  Array<u32>& pixels);

}  // namespace tally
