#include "model/AreaList.h"

#include <algorithm>

namespace tally {
namespace {

bool RangesTouch(i32 firstA, i32 lastA, i32 firstB, i32 lastB) {
    return firstA <= lastB + 1 && firstB <= lastA + 1;
}

bool Join(RefArea& a, const RefArea& b) {
    const bool sameColumns = a.firstColumn == b.firstColumn && a.lastColumn == b.lastColumn;
    const bool sameRows = a.firstRow == b.firstRow && a.lastRow == b.lastRow;
    if (!(sameColumns && RangesTouch(a.firstRow, a.lastRow, b.firstRow, b.lastRow)) &&
        !(sameRows && RangesTouch(a.firstColumn, a.lastColumn, b.firstColumn, b.lastColumn))) {
        return false;
    }
    a = {std::min(a.firstRow, b.firstRow), std::max(a.lastRow, b.lastRow),
         std::min(a.firstColumn, b.firstColumn), std::max(a.lastColumn, b.lastColumn)};
    return true;
}

}  // namespace

void MergeAreas(Array<RefArea>& areas) {
    for (bool joined = true; joined;) {
        joined = false;
        for (u32 i = 0; i < areas.Count(); ++i) {
            for (u32 j = i + 1; j < areas.Count();) {
                if (Join(areas[i], areas[j])) {
                    areas.RemoveAt(j);
                    joined = true;
                } else {
                    ++j;
                }
            }
        }
    }
}

}  // namespace tally
