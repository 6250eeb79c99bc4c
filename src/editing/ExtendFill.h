#pragma once
// Cells carried on beyond the area that they stand in, copied or continued, as a fill handle does.

#include "model/ModelTypes.h"

namespace tally {

struct ExtendRequest {
    RefArea source;
    RefArea target;         // above or below it and as wide, or beside it and as high
    bool otherWay = false;  // what would be copied is continued, and the other way round
};

// Each line of the source goes on into the target of the current sheet. Several numbers go on as a series,
// dates too, a single one by days; all else is copied again and again. The other way, a single number goes on
// by ones. False when it was refused, the user having been told, or memory failed; nothing has changed then.
[[nodiscard]] bool ExtendFill(const ExtendRequest& request);

// The rows below an area of the current sheet beside which the column to its left holds something without a
// gap, or that to its right when the left one does not; false when there are none.
bool RowsBeside(const RefArea& area, RefArea& target);

}  // namespace tally
