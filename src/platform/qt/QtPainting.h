#pragma once
// The drawing operations on a painter of the toolkit.

#include <QPainter>

#include "platform/Drawing.h"

namespace tally {

// What the targets here draw with. The painter draws whole pixels and has neither scale nor smooth lines.
struct QtSurface {
    QPainter* painter = nullptr;
    PixelRect whole;         // what may be drawn on, whatever the clip is
    PixelRect applied;       // the clip that the painter has now
    FontHandle font = -1;    // the font that the painter has now
    Brush brush = NO_BRUSH;  // the pattern that `dots` holds
    QBrush dots;
};

// A target on a painter that is begun; the surface stays where it is as long as the target is used. `whole` is
// what must be painted.
DrawTarget MakePaintTarget(QtSurface& surface, QPainter& painter, const PixelRect& whole, bool printer = false);

}  // namespace tally
