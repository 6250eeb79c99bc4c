#pragma once
// Ellipses and what is cut out of them, row by row: every pixel is decided by itself, so that a figure is the
// same on all its sides, and the slices of one ellipse make up the whole.

#include "raster/Scan.h"

namespace tally {

// The pixels whose middle lies inside an ellipse, chord or pie.
void ScanCurveInside(const Shape& shape, const PixelRect& clip, PixelSink sink);
// The pixels of its curve, `width` wide and inside the rectangle; a chord's and a pie's straight sides are not
// among them.
void ScanCurveBorder(const Shape& shape, i32 width, const PixelRect& clip, PixelSink sink);
// The corners of a chord or a pie, as the pixels in which its straight sides begin and end: one side or two.
i32 StraightSides(const Shape& shape, PixelPoint (&points)[3]);

// A curve for targets that know curves: where it begins and how far it runs counter-clockwise, in degrees of
// the circle that was stretched to the ellipse `inset` pixels inside the shape's rectangle; a whole one runs
// 360.
struct CurveSweep {
    double from = 0, length = 360;
};
CurveSweep SweepOf(const Shape& shape, double inset);

}  // namespace tally
