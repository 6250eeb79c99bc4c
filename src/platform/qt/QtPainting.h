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

// What the tables of operations on a painter have in common.
QtSurface& SurfaceOf(DrawTarget& target);
QRect ToQRect(const PixelRect& rect);
QColor ToQColor(u32 colour);
// The toolkit's pixel of a colour.
u32 ToPixel(u32 colour);
void ApplyClip(QtSurface& surface, const PixelRect& clip);
// What of a rectangle may be drawn on, false for nothing; the painter's clip lets it through then.
bool CutToClip(DrawTarget& target, const PixelRect& rect, PixelRect& cut);
// The dots of a pattern, each as many pixels as one of the screen takes. Good until the next question.
const QBrush& DotsOf(DrawTarget& target, const Brush& brush);
void QtFillRect(DrawTarget& target, const PixelRect& rect, const Brush& brush);
void QtDrawText(DrawTarget& target, i32 x, i32 y, FontHandle font, u32 colour, WideView text);

// Paper, which keeps lines and curves as such (QtPaper.cpp).
const DrawingTable& QtPaperTable();

// A target on a painter that is begun; the surface stays where it is as long as the target is used. `whole` is
// what must be painted. A printer's target is paper.
DrawTarget MakePaintTarget(QtSurface& surface, QPainter& painter, const PixelRect& whole, bool printer = false);

}  // namespace tally
