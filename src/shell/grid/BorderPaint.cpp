#include "shell/grid/BorderPaint.h"

#include <array>
#include <initializer_list>

#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

struct BorderLine {
    i32 width;
    PenStyle pen;
};
// By the border style of the file format, 0 none to 13.
constexpr std::array<BorderLine, 14> borderLines = {{
    {0, PEN_SOLID},
    {1, PEN_SOLID},
    {2, PEN_SOLID},
    {1, PEN_DASH},
    {1, PEN_DOT},
    {3, PEN_SOLID},
    {3, PEN_SOLID},
    {1, PEN_DOT},
    {2, PEN_DASH},
    {1, PEN_DASH_DOT},
    {2, PEN_DASH_DOT},
    {1, PEN_DASH_DOT_DOT},
    {2, PEN_DASH_DOT_DOT},
    {2, PEN_DASH_DOT},
}};
constexpr u8 BORDER_DOUBLE = 6;

struct Edge {
    u8 style;
    u8 colour;
};

void PaintEdge(DrawTarget& target, const Workbook& book, bool horizontal, i32 unit, i32 at, i32 from, i32 to,
               Edge edge) {
    PaintBorderLine(target, horizontal, unit, at, from, to, edge.style, PaletteColour(book, edge.colour, 0));
}

const CellFormat& FormatAt(const Workbook& book, const Sheet& sheet, i32 row, i32 column) {
    return ResolveCellFormat(book, GetCellFormat(sheet, row, column));
}

// An edge that a condition draws; style 0 when it draws none.
Edge Overriding(const ConditionalCondition* condition, OverrideByte ConditionalCondition::*style,
                u8 ConditionalCondition::*colour) {
    if (!condition || !condition->hasBorders || !(condition->*style).present) return {0, 0};
    return {(condition->*style).value, condition->*colour};
}
Edge LeftOf(const ConditionalCondition* c) {
    return Overriding(c, &ConditionalCondition::leftStyle, &ConditionalCondition::leftColour);
}
Edge RightOf(const ConditionalCondition* c) {
    return Overriding(c, &ConditionalCondition::rightStyle, &ConditionalCondition::rightColour);
}
Edge TopOf(const ConditionalCondition* c) {
    return Overriding(c, &ConditionalCondition::topStyle, &ConditionalCondition::topColour);
}
Edge BottomOf(const ConditionalCondition* c) {
    return Overriding(c, &ConditionalCondition::bottomStyle, &ConditionalCondition::bottomColour);
}

// A cell's own edge, where its condition says nothing of it. One of style 0 takes the cell's own away.
Edge OwnEdge(const ConditionalCondition* condition, OverrideByte ConditionalCondition::*style, Edge own) {
    return condition && condition->hasBorders && (condition->*style).present ? Edge{0, 0} : own;
}

// The first one that is drawn.
Edge FirstOf(std::initializer_list<Edge> edges) {
    for (const Edge& edge : edges)
        if (edge.style) return edge;
    return {0, 0};
}

}  // namespace

void PaintBorderLine(DrawTarget& target, bool horizontal, i32 unit, i32 at, i32 from, i32 to, u8 style,
                     u32 colour) {
    const BorderLine& line = borderLines[style < borderLines.size() ? style : 1];
    const Pen pen = {colour, line.pen, unit, unit};
    const i32 first = at - (line.width > 1 ? unit : 0) + unit / 2;
    for (i32 i = 0; i < line.width; ++i) {
        if (style == BORDER_DOUBLE && i == 1) continue;
        const i32 place = first + i * unit;
        if (horizontal) DrawLine(target, from, place, to, place, pen);
        else DrawLine(target, place, from, place, to, pen);
    }
}

void PaintCellBorders(DrawTarget& target, const GridMetrics& metrics, const Workbook& book, const Sheet& sheet,
                      i32 row, i32 column, const PixelRect& rect, const RefArea* merge,
                      const BorderConditions& conditions) {
    const CellFormat& own = FormatAt(book, sheet, row, column);
    const CellFormat none;
    const CellFormat& next = column + 1 < MAX_COLUMNS ? FormatAt(book, sheet, row, column + 1) : none;
    const CellFormat& under = row + 1 < MAX_ROWS ? FormatAt(book, sheet, row + 1, column) : none;
    const Edge right = FirstOf(
        {RightOf(conditions.own), LeftOf(conditions.right),
         OwnEdge(conditions.own, &ConditionalCondition::rightStyle, {own.rightStyle, own.rightColour}),
         OwnEdge(conditions.right, &ConditionalCondition::leftStyle, {next.leftStyle, next.leftColour})});
    const Edge bottom = FirstOf(
        {BottomOf(conditions.own), TopOf(conditions.below),
         OwnEdge(conditions.own, &ConditionalCondition::bottomStyle, {own.bottomStyle, own.bottomColour}),
         OwnEdge(conditions.below, &ConditionalCondition::topStyle, {under.topStyle, under.topColour})});
    const Edge left = FirstOf({LeftOf(conditions.own), OwnEdge(conditions.own, &ConditionalCondition::leftStyle,
                                                               {own.leftStyle, own.leftColour})});
    const Edge top = FirstOf({TopOf(conditions.own), OwnEdge(conditions.own, &ConditionalCondition::topStyle,
                                                             {own.topStyle, own.topColour})});
    const i32 x = metrics.lineX, y = metrics.lineY;
    if (right.style && !(merge && column < merge->lastColumn))
        PaintEdge(target, book, false, x, rect.right - x, rect.top - y, rect.bottom, right);
    if (bottom.style && !(merge && row < merge->lastRow))
        PaintEdge(target, book, true, y, rect.bottom - y, rect.left - x, rect.right, bottom);
    if (!column && left.style) PaintEdge(target, book, false, x, rect.left, rect.top - y, rect.bottom, left);
    if (!row && top.style) PaintEdge(target, book, true, y, rect.top, rect.left - x, rect.right, top);
}

}  // namespace tally
