#include "shell/grid/CellLook.h"

#include <algorithm>

#include "base/Number.h"
#include "model/Formats.h"

namespace tally {

CellFormat FillOf(const CellFormat& own, const ConditionalCondition* condition) {
    CellFormat look = own;
    if (!condition || !condition->hasPattern) return look;
    if (condition->pattern.present) look.pattern = condition->pattern.value;
    if (condition->patternColour.present) look.patternColour = condition->patternColour.value;
    if (condition->backColour.present) look.backColour = condition->backColour.value;
    // Files name a plain fill by its back colour alone, or a solid one by its fore colour alone.
    if (!condition->pattern.present && !look.pattern && condition->backColour.present) look.pattern = 1;
    if (look.pattern == 1 && condition->patternColour.present && !condition->backColour.present)
        look.backColour = look.patternColour;
    return look;
}

FontHandle FontOfLook(const Workbook& book, const CellFormat& format, const ConditionalCondition* condition,
                      i32 dpiY) {
    const FontRecord& font = ResolveFont(book, format.font);
    FontRequest request;
    request.faceName = WideView(font.faceName);
    request.pixelHeight = std::max(1, MulDiv(font.height, dpiY, 1440));
    request.weight = font.weight;
    request.italic = (font.attributes & FONT_ITALIC) != 0;
    request.strikeout = (font.attributes & FONT_STRIKEOUT) != 0;
    request.underline = font.underline != 0;
    request.charSet = font.charSet;
    if (condition) {
        if (condition->bold.present) request.weight = condition->bold.value ? 700 : 400;
        if (condition->italic.present) request.italic = condition->italic.value != 0;
        if (condition->strikeout.present) request.strikeout = condition->strikeout.value != 0;
        if (condition->underline.present) request.underline = condition->underline.value != 0;
    }
    const u8 rotation = format.rotation;
    if (rotation >= 1 && rotation <= 90) request.escapement = rotation * 10;
    else if (rotation > 90 && rotation <= 180) request.escapement = (450 - rotation) * 10;
    return Fonts().findFont(request);
}

i32 DigitWidth(const Workbook& book, const ScreenMetrics& screen) {
    CellFormat plain;
    plain.font = 0;
    i32 width = 0, height = 0;
    if (book.fonts.IsEmpty()) return screen.digitWidth;
    Fonts().textExtent(FontOfLook(book, plain, nullptr, screen.logPixelsY), u"0", width, height);
    return width > 0 ? width : screen.digitWidth;
}

u16 ColourOfLook(const Workbook& book, const CellFormat& format, const ConditionalCondition* condition) {
    if (condition && condition->hasFontColour) return condition->fontColour;
    return ResolveFont(book, format.font).colour;
}

}  // namespace tally
