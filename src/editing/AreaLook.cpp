#include "editing/AreaLook.h"

#include <algorithm>
#include <utility>

#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr u16 BOLD_WEIGHT = 400;  // above it a font is bold

// What is gathered: the first cell sets a field, a cell that differs takes it away for good.
struct Gathering {
    const Workbook& book;
    FormatRequest look;
    bool any = false;  // fields that every cell has
    // Edges and inner lines: whether a cell has been seen that has the line.
    bool seen[6] = {};
    i32 lastFormat = -1;
    u32 lastPlace = 0;
};

void Agree(FormatField& field, bool first, i32 value) {
    if (first) field = {true, value};
    else if (field.value != value) field.present = false;
}

void AgreeOnFace(FaceField& field, bool first, const FontRecord& font) {
    if (first) {
        field.present = true;
        std::copy(std::begin(font.faceName), std::end(font.faceName), field.value);
    } else if (WideView(field.value) != WideView(font.faceName)) {
        field.present = false;
    }
}

constexpr FormatField FormatRequest::*plainFields[] = {
    &FormatRequest::numberFormat, &FormatRequest::horizontal,    &FormatRequest::vertical,
    &FormatRequest::wrap,         &FormatRequest::merge,         &FormatRequest::rotation,
    &FormatRequest::bold,         &FormatRequest::italic,        &FormatRequest::underline,
    &FormatRequest::strikeout,    &FormatRequest::fontSize,      &FormatRequest::fontColour,
    &FormatRequest::pattern,      &FormatRequest::patternColour, &FormatRequest::backColour,
    &FormatRequest::locked,       &FormatRequest::hidden,
};

enum Line : u32 { LINE_TOP, LINE_LEFT, LINE_BOTTOM, LINE_RIGHT, LINE_HORIZONTAL, LINE_VERTICAL };
constexpr EdgeField FormatRequest::*lineFields[] = {
    &FormatRequest::topEdge,   &FormatRequest::leftEdge,        &FormatRequest::bottomEdge,
    &FormatRequest::rightEdge, &FormatRequest::innerHorizontal, &FormatRequest::innerVertical,
};

void AgreeOnLine(Gathering& g, Line line, u8 style, u8 colour) {
    EdgeField& field = g.look.*lineFields[line];
    // Of no line the colour does not count.
    const EdgeField value = {true, style, style ? colour : u8{0}};
    if (!std::exchange(g.seen[line], true)) field = value;
    else if (field.style != value.style || field.colour != value.colour) field.present = false;
}

// Where a cell stands: bit 0 in the first row of the area, 1 the first column, 2 the last row, 3 the last
// column.
void AddLines(Gathering& g, const CellFormat& f, u32 place) {
    AgreeOnLine(g, place & 1 ? LINE_TOP : LINE_HORIZONTAL, f.topStyle, f.topColour);
    AgreeOnLine(g, place & 2 ? LINE_LEFT : LINE_VERTICAL, f.leftStyle, f.leftColour);
    AgreeOnLine(g, place & 4 ? LINE_BOTTOM : LINE_HORIZONTAL, f.bottomStyle, f.bottomColour);
    AgreeOnLine(g, place & 8 ? LINE_RIGHT : LINE_VERTICAL, f.rightStyle, f.rightColour);
}

void AddFont(Gathering& g, const FontRecord& font, bool first) {
    FormatRequest& look = g.look;
    AgreeOnFace(look.fontName, first, font);
    Agree(look.bold, first, font.weight > BOLD_WEIGHT);
    Agree(look.italic, first, (font.attributes & FONT_ITALIC) != 0);
    Agree(look.underline, first, font.underline != 0);
    Agree(look.strikeout, first, (font.attributes & FONT_STRIKEOUT) != 0);
    Agree(look.fontSize, first, font.height);
    Agree(look.fontColour, first, font.colour);
}

void AddFormat(Gathering& g, const CellFormat& f, u32 place) {
    const bool first = !std::exchange(g.any, true);
    FormatRequest& look = g.look;
    Agree(look.numberFormat, first, f.numberFormat);
    Agree(look.horizontal, first, f.horizontal);
    Agree(look.vertical, first, f.vertical);
    Agree(look.wrap, first, (f.flags & FORMAT_WRAP) != 0);
    Agree(look.rotation, first, f.rotation);
    AddFont(g, ResolveFont(g.book, f.font), first);
    const bool solid = f.pattern == 1;
    Agree(look.pattern, first, f.pattern);
    Agree(look.patternColour, first, solid ? f.backColour : f.patternColour);
    Agree(look.backColour, first, solid ? f.patternColour : f.backColour);
    Agree(look.locked, first, (f.flags & FORMAT_LOCKED) != 0);
    Agree(look.hidden, first, (f.flags & FORMAT_HIDDEN) != 0);
    AddLines(g, f, place);
}

// Cells that stand one behind the other mostly look the same.
void Add(Gathering& g, u16 format, u32 place) {
    if (g.lastFormat == format && g.lastPlace == place) return;
    g.lastFormat = format;
    g.lastPlace = place;
    AddFormat(g, ResolveCellFormat(g.book, format), place);
}

u32 PlaceIn(const RefArea& area, i32 row, i32 column) {
    return u32{row == area.firstRow} | u32{column == area.firstColumn} << 1 | u32{row == area.lastRow} << 2 |
           u32{column == area.lastColumn} << 3;
}

// Of the cells of a column that do not exist: in the area's first row, in its last, between them.
struct ColumnCount {
    i32 cells = 0;
    bool first = false, last = false;
};

void AddMissing(Gathering& g, const Sheet& sheet, const RefArea& area, i32 column, const ColumnCount& count) {
    u16 flags = 0, format = 0;
    IgnoreFailure(GetColumnInfo(sheet.columns, column, flags, format));
    if (!count.first) Add(g, format, PlaceIn(area, area.firstRow, column));
    if (!count.last) Add(g, format, PlaceIn(area, area.lastRow, column));
    const i32 between = area.lastRow - area.firstRow - 1;
    const i32 ends = i32{count.first} + (area.lastRow > area.firstRow && count.last);
    if (between > 0 && count.cells - ends < between) Add(g, format, PlaceIn(area, area.firstRow + 1, column));
}

void AddMerges(FormatRequest& look, const Sheet& sheet, const RefArea& area) {
    const RefArea* merge = FindMerge(sheet, area.firstRow, area.firstColumn);
    if (merge && *merge == area) look.merge = {true, 1};
    else if (!AnyAreaMeets(sheet.mergedAreas, area)) look.merge = {true, 0};
}

}  // namespace

FormatRequest LookOfArea(const Sheet& sheet, const RefArea& area) {
    Gathering g{*BookAt(sheet.book), {}};
    g.look.dialogOrder = true;
    ColumnCount counts[MAX_COLUMNS];
    for (u32 slot = FindRowSlot(sheet.cells, area.firstRow); slot < sheet.cells.rows.Count(); ++slot) {
        const CellRow& row = sheet.cells.rows[slot];
        if (row.row > area.lastRow) break;
        for (u32 i = FindInRow(row, area.firstColumn); i < row.count; ++i) {
            const CellRecord& cell = row.cells[i];
            if (cell.column > area.lastColumn) break;
            ColumnCount& count = counts[cell.column];
            ++count.cells;
            count.first |= row.row == area.firstRow;
            count.last |= row.row == area.lastRow;
            Add(g, cell.format, PlaceIn(area, row.row, cell.column));
        }
    }
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column)
        AddMissing(g, sheet, area, column, counts[column]);
    AddMerges(g.look, sheet, area);
    return g.look;
}

FormatRequest LookOfFormat(const Workbook& book, const CellFormat& format) {
    Gathering g{book, {}};
    g.look.dialogOrder = true;
    AddFormat(g, format, 15);
    return g.look;
}

bool AnyField(const FormatRequest& request) {
    bool any = request.fontName.present;
    for (const auto field : plainFields) any = any || (request.*field).present;
    for (const auto field : lineFields) any = any || (request.*field).present;
    return any;
}

void TakeFields(FormatRequest& look, const FormatRequest& request) {
    if (request.fontName.present) look.fontName = request.fontName;
    for (const auto field : plainFields)
        if ((request.*field).present) look.*field = request.*field;
    for (const auto field : lineFields)
        if ((request.*field).present) look.*field = request.*field;
}

}  // namespace tally
