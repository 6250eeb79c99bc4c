#pragma once
// Lists of rectangles, and one rectangle against another.

#include "model/ModelTypes.h"

namespace tally {

// The same area with its ends in order.
RefArea OrderedArea(RefArea area);

// Joins any two areas that share both columns and touch, or both rows and touch, until no pair is left.
void MergeAreas(Array<RefArea>& areas);
// By first row, first column, last row, last column.
void SortAreas(Array<RefArea>& areas);

// The pieces of an area that a rectangle cuts it into: those beside it have the area's whole height,
// those above and below only the rectangle's columns.
enum AreaPiece : u8 { PIECE_LEFT, PIECE_RIGHT, PIECE_ABOVE, PIECE_BELOW, PIECE_INSIDE, PIECE_COUNT };
struct AreaSplit {
    RefArea pieces[PIECE_COUNT];
    u8 present = 0;  // bit 1 << AreaPiece

    bool Has(AreaPiece piece) const { return (present >> piece & 1) != 0; }
};
AreaSplit SplitArea(const RefArea& area, const RefArea& rectangle);

// Sorts an area's cells into those inside the rectangle and those outside, in the order of AreaPiece.
[[nodiscard]] bool SplitAreaInto(const RefArea& area, const RefArea& rectangle, Array<RefArea>& inside,
                                 Array<RefArea>& outside);
// Takes a rectangle out of every area of a list. When memory fails the list is as it was.
[[nodiscard]] bool SubtractArea(Array<RefArea>& areas, const RefArea& rectangle);
// Whether any area of the list has a cell in the rectangle.
bool AnyAreaMeets(const Array<RefArea>& areas, const RefArea& rectangle);
inline bool IsWholeRows(const RefArea& area) {
    return area.firstColumn == 0 && area.lastColumn == MAX_COLUMNS - 1;
}
inline bool IsWholeColumns(const RefArea& area) { return area.firstRow == 0 && area.lastRow == MAX_ROWS - 1; }
// Whether an area lies partly inside a rectangle and partly outside.
inline bool IsCut(const RefArea& area, const RefArea& rectangle) {
    return AreasMeet(area, rectangle) && !AreaHoldsArea(rectangle, area);
}
// The common cells of two areas that meet.
RefArea CommonArea(const RefArea& a, const RefArea& b);

}  // namespace tally
