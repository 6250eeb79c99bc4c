#pragma once
// Fonts of the desktop: hinted to whole pixels and unkerned, so that a text is as wide as its characters.

#include <QFont>
#include <QFontMetrics>
#include <QPainter>

#include "base/Platform.h"
#include "platform/Drawing.h"

namespace tally {

struct LoadedFont {
    WideText faceName;
    FontRequest request;  // its view of the name is not used
    QFont font;
    QFontMetrics metrics;
};

// The font of a handle; that of the frame for 0 and for what was never given out.
const LoadedFont& FontOf(FontHandle handle);
void ResetFonts();
// The next question for the frame's font makes it anew, for the screen that the window is on now.
void DropFrameFont();
// Pixels to the inch of the screen that the window is on, without one of the first screen.
i32 ScreenDpi(bool vertical);
// A text with the top left corner of its box at (x, y), about which a turned one turns; the painter has the
// font.
void PaintFontText(QPainter& painter, const LoadedFont& font, i32 x, i32 y, WideView text);

// Rows of the tables of the same names.
FontHandle QtFindFont(const FontRequest& request);
void QtTextExtent(FontHandle font, WideView text, i32& width, i32& height);
bool QtTextMask(FontHandle font, WideView text, const PixelRect& wanted, TextMask& mask);
void QtScreenMetrics(ScreenMetrics& out);
bool QtFindFontFace(WideView faceName, u8& family, u8& charSet);

}  // namespace tally
