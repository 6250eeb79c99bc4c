#include "editing/ApplyFormat.h"

#include <algorithm>
#include <utility>

#include "base/MessageTable.h"
#include "editing/AreaLists.h"
#include "editing/FormatMerge.h"
#include "editing/Guards.h"
#include "editing/Undo.h"
#include "formula/Recalculation.h"
#include "model/BookTable.h"
#include "model/CellStore.h"
#include "model/Formats.h"

namespace tally {
namespace {

constexpr u16 BOLD_WEIGHT = 400;  // above it a font is bold

// ---- one format ------------------------------------------------------------------------------------------

bool AnyFontField(const FormatRequest& request) {
    return request.fontName.present || request.bold.present || request.italic.present ||
           request.underline.present || request.strikeout.present || request.fontSize.present ||
           request.fontColour.present;
}

bool AnyEdge(const FormatRequest& request) {
    return request.topEdge.present || request.leftEdge.present || request.bottomEdge.present ||
           request.rightEdge.present || request.innerHorizontal.present || request.innerVertical.present;
}

bool Chosen(const FormatField& field, bool old) { return field.present ? field.value != 0 : old; }

template <typename T>
void SetField(T& target, const FormatField& field) {
    if (field.present) target = static_cast<T>(field.value);
}

void SetFlag(u16& flags, u16 flag, const FormatField& field) {
    if (field.present) flags = static_cast<u16>(field.value ? flags | flag : flags & ~flag);
}

bool ApplyFont(Workbook& book, const FormatRequest& request, u16& index) {
    const FontRecord old = ResolveFont(book, index);
    u16 height = old.height, colour = old.colour;
    SetField(height, request.fontSize);
    SetField(colour, request.fontColour);
    return FindOrAddFont(book, WideView(request.fontName.present ? request.fontName.value : old.faceName),
                         Chosen(request.bold, old.weight > BOLD_WEIGHT),
                         Chosen(request.italic, (old.attributes & FONT_ITALIC) != 0),
                         Chosen(request.underline, old.underline != 0),
                         Chosen(request.strikeout, (old.attributes & FONT_STRIKEOUT) != 0), height, colour,
                         index);
}

// The four borders of a format, and which field of a request is theirs on the area's edge and inside it.
struct BorderSide {
    u8 CellFormat::*style;
    u8 CellFormat::*colour;
    EdgeField FormatRequest::*edge;
    EdgeField FormatRequest::*inner;
};
enum : u32 { SIDE_TOP, SIDE_LEFT, SIDE_BOTTOM, SIDE_RIGHT, SIDES };
constexpr BorderSide sides[SIDES] = {
    {&CellFormat::topStyle, &CellFormat::topColour, &FormatRequest::topEdge, &FormatRequest::innerHorizontal},
    {&CellFormat::leftStyle, &CellFormat::leftColour, &FormatRequest::leftEdge, &FormatRequest::innerVertical},
    {&CellFormat::bottomStyle, &CellFormat::bottomColour, &FormatRequest::bottomEdge,
     &FormatRequest::innerHorizontal},
    {&CellFormat::rightStyle, &CellFormat::rightColour, &FormatRequest::rightEdge,
     &FormatRequest::innerVertical},
};
// The side of the neighbour that faces a side.
constexpr u32 Facing(u32 side) { return (side + 2) % SIDES; }
static_assert(Facing(SIDE_TOP) == SIDE_BOTTOM && Facing(SIDE_RIGHT) == SIDE_LEFT);

// On which edges of the area a cell lies, 1 << side.
u32 EdgesOf(i32 row, i32 column, const RefArea& area) {
    return u32{row == area.firstRow} << SIDE_TOP | u32{column == area.firstColumn} << SIDE_LEFT |
           u32{row == area.lastRow} << SIDE_BOTTOM | u32{column == area.lastColumn} << SIDE_RIGHT;
}

void ApplyBorders(CellFormat& format, const FormatRequest& request, u32 edges) {
    for (u32 i = 0; i < SIDES; ++i) {
        const EdgeField& line = request.*(edges >> i & 1 ? sides[i].edge : sides[i].inner);
        if (!line.present) continue;
        format.*sides[i].style = line.style;
        format.*sides[i].colour = line.colour;
    }
}

constexpr u8 SOLID = 1, AUTOMATIC_PATTERN = 64, AUTOMATIC_BACK = 65;

// A solid fill holds its two colours exchanged.
void ExchangeSolid(CellFormat& format) {
    if (format.pattern == SOLID) std::swap(format.patternColour, format.backColour);
}

void ApplyFill(CellFormat& format, const FormatRequest& request) {
    if (!request.pattern.present && !request.patternColour.present && !request.backColour.present) return;
    if (request.dialogOrder) ExchangeSolid(format);
    SetField(format.pattern, request.pattern);
    SetField(format.patternColour, request.patternColour);
    SetField(format.backColour, request.backColour);
    if (request.dialogOrder) {
        ExchangeSolid(format);
    } else if (!format.pattern) {
        format.patternColour = AUTOMATIC_PATTERN;
        if (request.pattern.present) format.backColour = AUTOMATIC_BACK;
        else if (request.backColour.present) format.pattern = SOLID;
    } else if (format.pattern == SOLID) {
        format.patternColour = AUTOMATIC_PATTERN;
    }
    if (format.patternColour == AUTOMATIC_BACK) format.patternColour = AUTOMATIC_PATTERN;
    if (format.backColour == AUTOMATIC_PATTERN) format.backColour = AUTOMATIC_BACK;
}

bool ApplyAtEdges(Workbook& book, u16 index, const FormatRequest& request, u32 edges, u16& newIndex) {
    CellFormat format = ResolveCellFormat(book, index);
    SetField(format.numberFormat, request.numberFormat);
    SetField(format.horizontal, request.horizontal);
    SetFlag(format.flags, FORMAT_WRAP, request.wrap);
    SetField(format.vertical, request.vertical);
    SetField(format.rotation, request.rotation);
    if (AnyFontField(request) && !ApplyFont(book, request, format.font)) return false;
    ApplyBorders(format, request, edges);
    ApplyFill(format, request);
    SetFlag(format.flags, FORMAT_LOCKED, request.locked);
    SetFlag(format.flags, FORMAT_HIDDEN, request.hidden);
    return FindOrAddCellFormat(book, format, newIndex);
}

// ---- the cells of an area --------------------------------------------------------------------------------

constexpr u32 EDGE_SETS = 1u << SIDES;

// Many cells share a format, so that each is worked out once for each kind of place in the area.
struct Applied {
    Workbook& book;
    Sheet& sheet;
    const RefArea& area;
    const FormatRequest& request;
    bool edged;          // the place of a cell counts
    u32 listed;          // formats that were there at the beginning
    Array<i32> indexes;  // by the place and the old index, -1 not known yet; empty without room for it
    bool good = true;    // every cell got its format
};

void ApplyTo(Applied& applied, u16& index, i32 row, i32 column) {
    const u32 edges = applied.edged ? EdgesOf(row, column, applied.area) : 0;
    const u32 place = edges * applied.listed + index;
    const bool listed = index < applied.listed && place < applied.indexes.Count();
    if (listed && applied.indexes[place] >= 0) {
        index = static_cast<u16>(applied.indexes[place]);
        return;
    }
    u16 changed = 0;
    if (!ApplyAtEdges(applied.book, index, applied.request, edges, changed)) {
        applied.good = false;
        return;
    }
    if (listed) applied.indexes[place] = changed;
    index = changed;
}

void FormatCell(Applied& applied, i32 row, i32 column) {
    u16 format = GetCellFormat(applied.sheet, row, column);
    ApplyTo(applied, format, row, column);
    CellRecord* cell = PutCell(applied.sheet.cells, row, column);
    if (cell) cell->format = format;
    else applied.good = false;
}

void FormatColumns(Applied& applied) {
    const RefArea& area = applied.area;
    Sheet& sheet = applied.sheet;
    for (i32 column = area.firstColumn; column <= area.lastColumn; ++column) {
        ColumnInfo info;
        info.column = static_cast<u8>(column);
        info.width = GetColumnInfo(sheet.columns, column, info.flags, info.format);
        ApplyTo(applied, info.format, -1, column);
        applied.good = SetColumnInfo(sheet.columns, info) && applied.good;
    }
    WalkArea(sheet.cells, area, [&](u16 row, CellRecord& cell) {
        ApplyTo(applied, cell.format, row, cell.column);
        return true;
    });
}

// ---- the cells around it ---------------------------------------------------------------------------------
// Inside the area both cells at a line have been given it, so that only the cells around are looked at.

// Takes a border away unless it shows the line already. False when it stays.
bool ClearBorder(Applied& applied, u16& index, u32 side, const EdgeField& line) {
    CellFormat format = ResolveCellFormat(applied.book, index);
    u8 &style = format.*sides[side].style, &colour = format.*sides[side].colour;
    if (!style || (style == line.style && colour == line.colour)) return false;
    style = colour = 0;
    if (FindOrAddCellFormat(applied.book, format, index)) return true;
    applied.good = false;
    return false;
}

// A cell inside a merged area only looks across the area's own edge.
bool LooksAcross(const Sheet& sheet, i32 row, i32 column, u32 side) {
    const RefArea* merge = FindMerge(sheet, row, column);
    return !merge || (EdgesOf(row, column, *merge) >> side & 1);
}

struct Neighbour {
    i32 row, column;
};
bool FindNeighbour(i32 row, i32 column, u32 side, Neighbour& neighbour) {
    constexpr i32 down[SIDES] = {-1, 0, 1, 0}, right[SIDES] = {0, -1, 0, 1};
    neighbour = {row + down[side], column + right[side]};
    return neighbour.row >= 0 && neighbour.row < MAX_ROWS && neighbour.column >= 0 &&
           neighbour.column < MAX_COLUMNS;
}

void TreatNeighbour(Applied& applied, i32 row, i32 column, u32 side, bool makes) {
    Sheet& sheet = applied.sheet;
    Neighbour at;
    if (!FindNeighbour(row, column, side, at) || !LooksAcross(sheet, row, column, side)) return;
    const bool exists = GetCell(sheet.cells, at.row, at.column) != nullptr;
    if (!exists && !makes) return;
    u16 format = GetCellFormat(sheet, at.row, at.column);
    if (!ClearBorder(applied, format, Facing(side), applied.request.*sides[side].edge) && exists) return;
    CellRecord* cell = PutCell(sheet.cells, at.row, at.column);
    if (cell) cell->format = format;
    else applied.good = false;
}

// The cells of the area on one of its edges.
RefArea EdgeLine(const RefArea& area, u32 side) {
    RefArea line = area;
    if (side == SIDE_TOP) line.lastRow = area.firstRow;
    if (side == SIDE_BOTTOM) line.firstRow = area.lastRow;
    if (side == SIDE_LEFT) line.lastColumn = area.firstColumn;
    if (side == SIDE_RIGHT) line.firstColumn = area.lastColumn;
    return line;
}

void TreatNeighbours(Applied& applied) {
    for (u32 side = 0; side < SIDES; ++side) {
        if (!(applied.request.*sides[side].edge).present) continue;
        const RefArea line = EdgeLine(applied.area, side);
        for (i32 row = line.firstRow; row <= line.lastRow; ++row)
            for (i32 column = line.firstColumn; column <= line.lastColumn; ++column)
                TreatNeighbour(applied, row, column, side, true);
    }
}

// Beside whole columns: the column's format, and the cells beside those that exist.
void TreatColumnNeighbours(Applied& applied) {
    Sheet& sheet = applied.sheet;
    for (const u32 side : {SIDE_LEFT, SIDE_RIGHT}) {
        const EdgeField& line = applied.request.*sides[side].edge;
        const RefArea edge = EdgeLine(applied.area, side);
        Neighbour at;
        if (!line.present || !FindNeighbour(0, edge.firstColumn, side, at)) continue;
        ColumnInfo info;
        info.column = static_cast<u8>(at.column);
        info.width = GetColumnInfo(sheet.columns, at.column, info.flags, info.format);
        if (ClearBorder(applied, info.format, Facing(side), line))
            applied.good = SetColumnInfo(sheet.columns, info) && applied.good;
        for (u32 slot = 0; slot < sheet.cells.rows.Count(); ++slot) {
            const i32 row = sheet.cells.rows[slot].row;
            if (GetCell(sheet.cells, row, edge.firstColumn))
                TreatNeighbour(applied, row, edge.firstColumn, side, false);
        }
    }
}

void WantHeights(const Sheet& sheet, const RefArea& area) {
    const i32 last = std::min<i32>(area.lastRow, LastUsedRow(sheet));
    for (i32 row = area.firstRow; row <= last; ++row)
        RecalculationView().rowHeightWanted(sheet.book, sheet.index, row);
}

// The cells that a request may change: those around an edge, too.
RefArea ReachOf(const RefArea& area, const FormatRequest& request) {
    RefArea reach = area;
    if (!AnyEdge(request)) return reach;
    reach.firstRow = static_cast<u16>(std::max(0, area.firstRow - 1));
    reach.lastRow = static_cast<u16>(std::min(MAX_ROWS - 1, area.lastRow + 1));
    reach.firstColumn = static_cast<u8>(std::max(0, area.firstColumn - 1));
    reach.lastColumn = static_cast<u8>(std::min(MAX_COLUMNS - 1, area.lastColumn + 1));
    return reach;
}

bool Refuses(const Sheet& sheet, const RefArea& area, const FormatRequest& request) {
    if (RefuseLockedCell(sheet, area)) return true;
    const bool merges = request.merge.present && request.merge.value;
    return (merges && RefuseCutArray(sheet, area)) || (request.merge.present && RefuseCutMerge(sheet, area));
}

}  // namespace

bool ApplyToFormat(Workbook& book, u16 index, const FormatRequest& request, i32 row, i32 column,
                   const RefArea& area, u16& newIndex) {
    return ApplyAtEdges(book, index, request, EdgesOf(row, column, area), newIndex);
}

bool ApplyFormat(Sheet& sheet, const RefArea& area, const FormatRequest& request) {
    Workbook& book = *BookAt(sheet.book);
    if (request.merge.present && !ChangeMerges(sheet, area, request.merge.value != 0)) return false;
    Applied applied{book, sheet, area, request, AnyEdge(request), book.cellFormats.Count(), {}};
    // Without room for the list each cell's format is looked for.
    if (applied.indexes.Resize(applied.listed * (applied.edged ? EDGE_SETS : 1)))
        for (i32& index : applied.indexes) index = -1;
    if (IsWholeColumns(area)) {
        FormatColumns(applied);
        TreatColumnNeighbours(applied);
    } else {
        for (i32 row = area.firstRow; row <= area.lastRow; ++row)
            for (i32 column = area.firstColumn; column <= area.lastColumn; ++column)
                FormatCell(applied, row, column);
        TreatNeighbours(applied);
    }
    book.dirty = 1;
    if (request.fontName.present || request.bold.present || request.italic.present || request.fontSize.present)
        WantHeights(sheet, area);
    if (request.numberFormat.present || request.locked.present) IgnoreFailure(MarkVolatileCells());
    return applied.good;
}

bool FormatArea(i32 book, i32 sheetIndex, const RefArea& area, const FormatRequest& request) {
    Sheet* sheet = SheetAt(book, sheetIndex);
    if (!sheet || Refuses(*sheet, area, request)) return false;
    const i64 cells = i64{area.lastRow - area.firstRow + 1} * (area.lastColumn - area.firstColumn + 1);
    if (!IsWholeColumns(area) && cells > MAX_FORMATTED_CELLS) {
        ShowMessage(Message(MSG_OUT_OF_MEMORY));
        return false;
    }
    // Cells and columns with their formats, the heights that fonts may change, and what a merge takes away.
    const u32 lists = request.merge.present ? BLOCK_ARRAYS | BLOCK_MERGES | BLOCK_HYPERLINKS : 0u;
    IgnoreFailure(RecordBlock(UNDO_CELL_FORMAT, book, sheetIndex, ReachOf(area, request),
                              BLOCK_CELLS | BLOCK_COLUMNS | lists));
    // A cell that memory has no format for keeps its own.
    IgnoreFailure(ApplyFormat(*sheet, area, request));
    return true;
}

}  // namespace tally
