#include "support/DrawingText.h"

#include "support/Sandbox.h"

namespace tally {
namespace {

std::string HexText(u32 colour) {
    std::string out;
    for (i32 shift = 20; shift >= 0; shift -= 4) out += "0123456789ABCDEF"[colour >> shift & 15];
    return out;
}

}  // namespace

std::string RectText(const PixelRect& rect) {
    return std::to_string(rect.left) + "," + std::to_string(rect.top) + "-" + std::to_string(rect.right) + "," +
           std::to_string(rect.bottom);
}

std::string LineText(WideView text) {
    std::string out;
    for (const char c : Narrow(text)) out += c == '\n' ? "\\n" : c == '\t' ? "\\t" : std::string(1, c);
    return out;
}

std::string DrawingText(const Array<DrawRecord>& records, const char* indent) {
    static constexpr const char* names[] = {"fill",     "pattern", "line",  "invert", "text",
                                            "polyline", "polygon", "shape", "picture"};
    std::string out;
    for (const DrawRecord& record : records) {
        out += indent + std::string(names[record.kind]) + " " + RectText(record.rect) + " in " +
               RectText(record.clip);
        out += " " + HexText(record.colour) + " " + HexText(record.backColour) + " " +
               std::to_string(record.style);
        if (record.kind == DRAW_TEXT) {
            const HeadlessFont font =
                record.font > 0 ? HeadlessFontList()[static_cast<u32>(record.font) - 1] : HeadlessFont();
            out += " '" + LineText(record.text) + "' " + LineText(font.faceName) + " " +
                   std::to_string(font.pixelHeight) + " " + std::to_string(font.weight) +
                   (font.italic ? " italic" : "") + (font.underline ? " underline" : "") + " " +
                   std::to_string(font.escapement);
        }
        if (record.kind == DRAW_LINE || record.kind == DRAW_POLYLINE || record.kind == DRAW_SHAPE ||
            record.kind == DRAW_POLYGON)
            out += " pen " + HexText(record.pen.colour) + " " + std::to_string(record.pen.style) + " " +
                   std::to_string(record.pen.width);
        for (const PixelPoint& point : record.points)
            out += " " + std::to_string(point.x) + "," + std::to_string(point.y);
        out += "\n";
    }
    return out;
}

}  // namespace tally
