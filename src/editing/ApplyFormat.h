#pragma once
// The look of cells: a request names the fields that change.

#include "model/ModelTypes.h"

namespace tally {

struct FormatField {
    bool present = false;
    i32 value = 0;
};
struct FaceField {
    bool present = false;
    char16_t value[std::size(FontRecord{}.faceName)] = {};
};
// A line and the palette index of its colour; style 0 takes the line away.
struct EdgeField {
    bool present = false;
    u8 style = 0, colour = 0;
};

struct FormatRequest {
    FormatField numberFormat;
    FormatField horizontal, vertical, wrap;
    FormatField merge;  // 1: the area becomes one cell; 0: its merged areas are split
    FormatField rotation;
    FaceField fontName;
    FormatField bold, italic, underline, strikeout;      // 0 or 1
    FormatField fontSize;                                // twips
    FormatField fontColour;                              // palette index
    EdgeField topEdge, leftEdge, bottomEdge, rightEdge;  // of the area
    EdgeField innerHorizontal, innerVertical;            // between its cells
    FormatField pattern, patternColour, backColour;
    bool dialogOrder = false;  // a solid fill shows patternColour, as in files; else backColour
    FormatField locked, hidden;
};

// More cells than this take no format at once, whole columns excepted.
constexpr i64 MAX_FORMATTED_CELLS = 4'194'304;

// The look of an area of a sheet, with undo. False with nothing changed when it was refused (a locked cell,
// more cells than that, a merge or a split that cuts an array or a merged area), the user having been told.
[[nodiscard]] bool FormatArea(i32 book, i32 sheet, const RefArea& area, const FormatRequest& request);

// The index of a row's format with what the request changes for the cell at that place of an area; row -1 is
// that of a column. False when memory fails.
[[nodiscard]] bool ApplyToFormat(Workbook& book, u16 index, const FormatRequest& request, i32 row, i32 column,
                                 const RefArea& area, u16& newIndex);
// Gives the cells of an area the request's look: those that do not exist are made, of whole columns only the
// columns' own format changes beside the cells that exist. Borders of the cells around the area that would
// show another line on its edges go. Merging keeps the first content of the area, in its first cell. Refusals
// and the record for undo are the caller's. A cell that memory has no format for keeps its own; false when one
// did, or, with nothing changed, when memory did not suffice for the merge.
bool ApplyFormat(Sheet& sheet, const RefArea& area, const FormatRequest& request);

}  // namespace tally
