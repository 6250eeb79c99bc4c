#pragma once
// The drawing operations on a painter of the toolkit.

#include <QPainter>

#include "platform/Drawing.h"

namespace tally {

// What DrawingTable's targets are. The painter draws whole pixels and has neither scale nor smooth lines.
struct PaintTarget {
    QPainter* painter = nullptr;
    PixelRect whole;       // what must be painted
    PixelRect clip;        // the clip in force, inside `whole`
    PixelRect applied;     // the clip that the painter has now; empty when none was set yet
    FontHandle font = -1;  // the font that the painter has now
};

PaintTarget MakePaintTarget(QPainter& painter, const PixelRect& whole);

}  // namespace tally
