#include "shell/grid/InputMessage.h"

#include <algorithm>

#include "editing/Validation.h"
#include "model/BookTable.h"
#include "shell/grid/Layout.h"

namespace tally {
namespace {

constexpr u32 PAPER = 0xE1FFFF, EDGE = 0x808080, INK = 0;
constexpr i32 PADDING = 4, GAP = 2, WIDEST = 240;  // pixels
constexpr u32 MAX_LINES = 16;

struct MessageLine {
    WideView text;
    FontHandle font = 0;
};

struct MessageBox {
    MessageLine lines[MAX_LINES];
    u32 count = 0;
    i32 width = 0, height = 0, lineHeight = 0;
};

i32 WidthOf(FontHandle font, WideView text, i32& height) {
    i32 width = 0;
    Fonts().textExtent(font, text, width, height);
    return width;
}

// The characters that fit into a line, up to a blank where there is one; at least one.
std::size_t FittingPart(FontHandle font, WideView text) {
    i32 height = 0;
    if (WidthOf(font, text, height) <= WIDEST) return text.size();
    std::size_t fits = 1, blank = 0;
    for (std::size_t i = 2; i <= text.size() && WidthOf(font, text.substr(0, i), height) <= WIDEST; ++i) {
        fits = i;
        if (text[i - 1] == u' ') blank = i;
    }
    return blank ? blank : fits;
}

void AddLine(MessageBox& box, FontHandle font, WideView text) {
    if (box.count >= MAX_LINES) return;
    i32 height = 0;
    box.width = std::max(box.width, WidthOf(font, text, height));
    box.lineHeight = std::max(box.lineHeight, height);
    box.lines[box.count++] = {text, font};
}

// A text's own lines, those that are too long in several.
void AddText(MessageBox& box, FontHandle font, WideView text) {
    while (!text.empty() && box.count < MAX_LINES) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        WideView line = text.substr(0, end);
        if (!line.empty() && line.back() == u'\r') line.remove_suffix(1);
        if (line.empty()) AddLine(box, font, u" ");
        while (!line.empty() && box.count < MAX_LINES) {
            const std::size_t part = FittingPart(font, line);
            AddLine(box, font, line.substr(0, part));
            line.remove_prefix(part);
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// Nothing, with a count of 0, when the rule of the active cell says nothing.
MessageBox BoxOfActiveCell(const Sheet& sheet, const RefArea& active) {
    MessageBox box;
    const i32 index = sheet.validations.IsEmpty() ? -1 : FindRule(sheet, active.firstRow, active.firstColumn);
    if (index < 0) return box;
    const ValidationRule& rule = sheet.validations[static_cast<u32>(index)];
    if (!rule.showInput) return box;
    ScreenMetrics screen;
    Platform().getScreenMetrics(screen);
    FontRequest bold;
    bold.faceName = u"Arial";
    bold.pixelHeight = std::max(1, screen.fontHeight - screen.internalLeading);
    bold.weight = 700;
    if (!rule.inputTitle.IsEmpty()) AddText(box, Fonts().findFont(bold), rule.inputTitle);
    AddText(box, 0, rule.inputText);
    box.width += 2 * PADDING;
    box.height = static_cast<i32>(box.count) * box.lineHeight + 2 * PADDING;
    return box;
}

PixelRect PlaceOf(const MessageBox& box, const PixelRect& cell) {
    const PixelRect& cells = Shell().layout.cells;
    if (!box.count || IsEmptyRect(cell)) return PixelRect();
    const i32 left = std::max(cells.left, std::min(cell.left + GAP, cells.right - box.width));
    const bool below =
        cell.bottom + GAP + box.height <= cells.bottom || cell.top - GAP - box.height < cells.top;
    const i32 top = below ? cell.bottom + GAP : cell.top - GAP - box.height;
    return IntersectRects({left, top, left + box.width, top + box.height}, cells);
}

}  // namespace

PixelRect InputMessagePlace() {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || sheet->validations.IsEmpty()) return PixelRect();
    const RefArea active = ActiveArea(*sheet);
    return PlaceOf(BoxOfActiveCell(*sheet, active), AreaPixels(active));
}

void PaintInputMessage(DrawTarget& target) {
    const Sheet* sheet = CurrentSheet();
    if (!HasCells(sheet) || sheet->validations.IsEmpty()) return;
    const RefArea active = ActiveArea(*sheet);
    const MessageBox box = BoxOfActiveCell(*sheet, active);
    const PixelRect place = PlaceOf(box, AreaPixels(active));
    if (IsEmptyRect(place)) return;
    FillRect(target, place, EDGE);
    FillRect(target, {place.left + 1, place.top + 1, place.right - 1, place.bottom - 1}, PAPER);
    for (u32 i = 0; i < box.count; ++i)
        DrawClippedText(target, place.left + PADDING,
                        place.top + PADDING + static_cast<i32>(i) * box.lineHeight, place, box.lines[i].font,
                        INK, box.lines[i].text);
}

}  // namespace tally
