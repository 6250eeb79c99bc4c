#include "shell/frame/Toolbars.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/MessageTable.h"
#include "model/BookTable.h"
#include "shell/frame/Bands.h"
#include "shell/frame/Tables.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

constexpr ToolbarButton buttons[] = {
    {BAND_STANDARD, 110, MSG_TIP_NEW},      {BAND_STANDARD, 111, MSG_TIP_OPEN},
    {BAND_STANDARD, 113, MSG_TIP_SAVE},     {BAND_STANDARD, 130, MSG_TIP_UNDO},
    {BAND_STANDARD, 131, MSG_TIP_CUT},      {BAND_STANDARD, 132, MSG_TIP_COPY},
    {BAND_STANDARD, 133, MSG_TIP_PASTE},    {BAND_STANDARD, 167, MSG_TIP_FUNCTION},
    {BAND_STANDARD, 389, MSG_TIP_AUTO_SUM}, {BAND_FORMAT, 432, MSG_TIP_BOLD},
    {BAND_FORMAT, 433, MSG_TIP_ITALIC},     {BAND_FORMAT, 434, MSG_TIP_UNDERLINE},
    {BAND_FORMAT, 435, MSG_TIP_LEFT},       {BAND_FORMAT, 436, MSG_TIP_CENTRE},
    {BAND_FORMAT, 437, MSG_TIP_RIGHT},      {BAND_ENTRY, 439, MSG_TIP_CANCEL},
    {BAND_ENTRY, 440, MSG_TIP_ENTER},       {BAND_ENTRY, 441, MSG_TIP_ARRAY},
    {BAND_ENTRY, 442, MSG_TIP_FILL},        {BAND_ENTRY, 443, MSG_TIP_NEW_LINE},
};
constexpr std::size_t BUTTONS = std::size(buttons);

// Lengths on a screen with 96 pixels to the inch.
constexpr i32 BUTTON_SIZE = 22, IMAGE_SIZE = 16;
constexpr u32 FACE = 0xF0F0F0, LIGHT = 0xE0D8D0, PRESSED = 0xD0C0B0, EDGE = 0xA0A0A0;
constexpr u32 INK = 0x404040, GREY = 0xB0B0B0, WHITE = 0xFFFFFF, BLUE = 0xB06030, RED = 0x3030C0,
              GREEN = 0x309030, SAND = 0x80C8E8;

// A picture is a few strokes on a square of 16 pixels, which grow with it.
enum StrokeKind : u8 { STROKE_LINE, STROKE_FILL, STROKE_FRAME };
struct Stroke {
    i32 command;
    StrokeKind kind;
    i8 x1, y1, x2, y2;
    u32 colour;
};
constexpr Stroke strokes[] = {
    {110, STROKE_FILL, 3, 1, 13, 15, WHITE}, {110, STROKE_FRAME, 3, 1, 13, 15, INK},
    {110, STROKE_LINE, 9, 1, 13, 5, INK},    {111, STROKE_FILL, 1, 3, 7, 6, SAND},
    {111, STROKE_FILL, 1, 5, 15, 14, SAND},  {111, STROKE_FRAME, 1, 5, 15, 14, INK},
    {113, STROKE_FILL, 2, 2, 14, 14, BLUE},  {113, STROKE_FILL, 5, 2, 11, 6, WHITE},
    {113, STROKE_FILL, 4, 9, 12, 14, WHITE}, {113, STROKE_FRAME, 2, 2, 14, 14, INK},
    {130, STROKE_LINE, 2, 6, 7, 1, BLUE},    {130, STROKE_LINE, 2, 6, 7, 11, BLUE},
    {130, STROKE_LINE, 2, 6, 11, 6, BLUE},   {130, STROKE_LINE, 11, 6, 13, 8, BLUE},
    {130, STROKE_LINE, 13, 8, 13, 12, BLUE}, {130, STROKE_LINE, 13, 12, 8, 12, BLUE},
    {131, STROKE_LINE, 4, 1, 10, 10, INK},   {131, STROKE_LINE, 11, 1, 5, 10, INK},
    {131, STROKE_FRAME, 3, 10, 7, 14, BLUE}, {131, STROKE_FRAME, 9, 10, 13, 14, BLUE},
    {132, STROKE_FILL, 2, 1, 10, 11, WHITE}, {132, STROKE_FRAME, 2, 1, 10, 11, INK},
    {132, STROKE_FILL, 6, 5, 14, 15, WHITE}, {132, STROKE_FRAME, 6, 5, 14, 15, BLUE},
    {133, STROKE_FILL, 2, 2, 13, 15, SAND},  {133, STROKE_FRAME, 2, 2, 13, 15, INK},
    {133, STROKE_FILL, 5, 1, 10, 4, INK},    {133, STROKE_FILL, 5, 6, 14, 15, WHITE},
    {133, STROKE_FRAME, 5, 6, 14, 15, BLUE}, {435, STROKE_LINE, 2, 3, 14, 3, INK},
    {435, STROKE_LINE, 2, 6, 10, 6, INK},    {435, STROKE_LINE, 2, 9, 14, 9, INK},
    {435, STROKE_LINE, 2, 12, 10, 12, INK},  {436, STROKE_LINE, 2, 3, 14, 3, INK},
    {436, STROKE_LINE, 4, 6, 12, 6, INK},    {436, STROKE_LINE, 2, 9, 14, 9, INK},
    {436, STROKE_LINE, 4, 12, 12, 12, INK},  {437, STROKE_LINE, 2, 3, 14, 3, INK},
    {437, STROKE_LINE, 6, 6, 14, 6, INK},    {437, STROKE_LINE, 2, 9, 14, 9, INK},
    {437, STROKE_LINE, 6, 12, 14, 12, INK},  {439, STROKE_LINE, 3, 3, 13, 13, RED},
    {439, STROKE_LINE, 4, 3, 14, 13, RED},   {439, STROKE_LINE, 12, 3, 2, 13, RED},
    {439, STROKE_LINE, 13, 3, 3, 13, RED},   {440, STROKE_LINE, 2, 8, 6, 12, GREEN},
    {440, STROKE_LINE, 2, 9, 6, 13, GREEN},  {440, STROKE_LINE, 6, 12, 14, 4, GREEN},
    {440, STROKE_LINE, 6, 13, 14, 5, GREEN}, {442, STROKE_FILL, 2, 2, 7, 7, BLUE},
    {442, STROKE_FRAME, 2, 2, 14, 14, INK},  {442, STROKE_LINE, 2, 7, 14, 7, INK},
    {442, STROKE_LINE, 7, 2, 7, 14, INK},    {443, STROKE_LINE, 12, 3, 12, 9, INK},
    {443, STROKE_LINE, 12, 9, 3, 9, INK},    {443, STROKE_LINE, 3, 9, 7, 5, INK},
    {443, STROKE_LINE, 3, 9, 7, 13, INK},
};

// Others are a letter or two.
struct Letters {
    i32 command;
    WideView text;
    u16 weight;
    bool italic, underline;
};
constexpr Letters letters[] = {
    {167, u"fx", 400, true, false}, {389, u"Σ", 700, false, false}, {432, u"B", 700, false, false},
    {433, u"I", 400, true, false},  {434, u"U", 400, false, true},  {441, u"{ }", 700, false, false},
};

i32 ButtonAt(i32 x, i32 y) {
    for (std::size_t i = 0; i < BUTTONS; ++i)
        if (RectHolds(ButtonPlace(i), x, y)) return static_cast<i32>(i);
    return -1;
}

void InvalidateButton(i32 button) {
    if (button >= 0) ShellPlatform().invalidate(ButtonPlace(static_cast<std::size_t>(button)));
}

void SetHover(i32 button) {
    Toolbar& toolbar = Shell().toolbar;
    if (toolbar.hover == button) return;
    InvalidateButton(toolbar.hover);
    InvalidateButton(button);
    toolbar.hover = button;
    Shell().hintRow = Shell().hintColumn = -1;
    ShellPlatform().setToolTip(button >= 0 ? Message(buttons[button].tip) : WideView());
}

// The edges of a rectangle, inside it.
void PaintEdges(DrawTarget& target, const PixelRect& rect, i32 thickness, u32 colour) {
    FillRect(target, {rect.left, rect.top, rect.right, rect.top + thickness}, colour);
    FillRect(target, {rect.left, rect.bottom - thickness, rect.right, rect.bottom}, colour);
    FillRect(target, {rect.left, rect.top, rect.left + thickness, rect.bottom}, colour);
    FillRect(target, {rect.right - thickness, rect.top, rect.right, rect.bottom}, colour);
}

void PaintStroke(DrawTarget& target, const Stroke& stroke, i32 x, i32 y, bool enabled) {
    const u32 colour = enabled ? stroke.colour : stroke.colour == WHITE ? FACE : GREY;
    const i32 x1 = x + ScreenLength(stroke.x1), y1 = y + ScreenLength(stroke.y1);
    const i32 x2 = x + ScreenLength(stroke.x2), y2 = y + ScreenLength(stroke.y2);
    const i32 thickness = std::max(1, ScreenLength(1));
    switch (stroke.kind) {
        case STROKE_LINE: DrawLine(target, x1, y1, x2, y2, {colour, PEN_SOLID, thickness}); break;
        case STROKE_FILL: FillRect(target, {x1, y1, x2, y2}, colour); break;
        case STROKE_FRAME: PaintEdges(target, {x1, y1, x2, y2}, thickness, colour); break;
    }
}

void PaintLetters(DrawTarget& target, const Letters& picture, const PixelRect& place, bool enabled) {
    FontRequest request;
    request.faceName = u"Arial";
    request.pixelHeight = ScreenLength(IMAGE_SIZE - 2);
    request.weight = picture.weight;
    request.italic = picture.italic;
    request.underline = picture.underline;
    const FontHandle font = Fonts().findFont(request);
    i32 width = 0, height = 0;
    Fonts().textExtent(font, picture.text, width, height);
    DrawClippedText(target, place.left + (place.right - place.left - width) / 2,
                    place.top + (place.bottom - place.top - height) / 2, place, font, enabled ? INK : GREY,
                    picture.text);
}

void PaintButton(DrawTarget& target, std::size_t index) {
    const Toolbar& toolbar = Shell().toolbar;
    const PixelRect place = ButtonPlace(index);
    const bool enabled = (toolbar.enabled >> index & 1) != 0;
    const bool hovered = toolbar.hover == static_cast<i32>(index) && enabled;
    if (hovered) {
        FillRect(target, place, toolbar.pressed == static_cast<i32>(index) ? PRESSED : LIGHT);
        PaintEdges(target, place, 1, EDGE);
    }
    const i32 margin = (place.right - place.left - ScreenLength(IMAGE_SIZE)) / 2;
    for (const Stroke& stroke : strokes)
        if (stroke.command == buttons[index].command)
            PaintStroke(target, stroke, place.left + margin, place.top + margin, enabled);
    for (const Letters& picture : letters)
        if (picture.command == buttons[index].command) PaintLetters(target, picture, place, enabled);
}

}  // namespace

std::span<const ToolbarButton> ToolbarButtons() { return buttons; }

i32 ButtonsWidth(BandNumber band) {
    const auto count = std::count_if(std::begin(buttons), std::end(buttons),
                                     [band](const ToolbarButton& button) { return button.band == band; });
    return static_cast<i32>(count) * ScreenLength(BUTTON_SIZE);
}

PixelRect ButtonPlace(std::size_t button) {
    const PixelRect& strip = Shell().layout.toolbar;
    const BandNumber band = buttons[button].band;
    if (IsEmptyRect(strip) || !IsBandShown(band)) return PixelRect();
    const i32 size = ScreenLength(BUTTON_SIZE);
    std::size_t before = 0;
    for (std::size_t i = 0; i < button; ++i) before += buttons[i].band == band;
    const i32 left = BandLeft(band) + static_cast<i32>(before) * size;
    const i32 top = strip.top + (strip.bottom - strip.top - size) / 2;
    return {left, top, left + size, top + size};
}

void RefreshToolbars() {
    Toolbar& toolbar = Shell().toolbar;
    if (IsEmptyRect(Shell().layout.toolbar)) return;
    u32 enabled = 0;
    for (std::size_t i = 0; i < BUTTONS; ++i) enabled |= u32{CommandEnabled(buttons[i].command)} << i;
    for (std::size_t i = 0; i < BUTTONS; ++i)
        if ((enabled ^ toolbar.enabled) >> i & 1) InvalidateButton(static_cast<i32>(i));
    toolbar.enabled = enabled;
}

void PaintToolbars(DrawTarget& target) {
    const PixelRect& strip = Shell().layout.toolbar;
    FillRect(target, strip, FACE);
    PaintGrips(target);
    for (std::size_t i = 0; i < BUTTONS; ++i)
        if (!IsEmptyRect(ButtonPlace(i))) PaintButton(target, i);
}

bool PressToolbar(i32 x, i32 y) {
    if (!RectHolds(Shell().layout.toolbar, x, y)) return false;
    SetHover(ButtonAt(x, y));
    if (PressGrip(x, y)) return true;
    Shell().toolbar.pressed = Shell().toolbar.hover;
    InvalidateButton(Shell().toolbar.pressed);
    return true;
}

bool MoveOnToolbar(i32 x, i32 y) {
    if (DragGrip(x, y)) return true;
    SetHover(ButtonAt(x, y));
    return Shell().toolbar.pressed >= 0 || RectHolds(Shell().layout.toolbar, x, y);
}

bool ReleaseToolbar(i32 x, i32 y) {
    if (ReleaseGrip()) return true;
    const i32 pressed = std::exchange(Shell().toolbar.pressed, -1);
    if (pressed < 0) return false;
    InvalidateButton(pressed);
    const ToolbarButton& button = buttons[pressed];
    if (ButtonAt(x, y) != pressed) return true;
    IgnoreFailure(SendCommand(button.command, SENDER_TOOLBAR));
    return true;
}

}  // namespace tally
