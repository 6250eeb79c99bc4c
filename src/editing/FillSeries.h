#pragma once
// Progressions from the first cells of a selection.

#include "model/ModelTypes.h"

namespace tally {

enum SeriesDirection : i32 { SERIES_ROWS = 1, SERIES_COLUMNS = 2 };
enum SeriesType : i32 { SERIES_LINEAR = 1, SERIES_GROWTH = 2, SERIES_DATE = 3 };
enum SeriesUnit : i32 { SERIES_DAY = 1, SERIES_WEEKDAY = 2, SERIES_MONTH = 3, SERIES_YEAR = 4 };

struct SeriesRequest {
    i32 direction = SERIES_COLUMNS;
    i32 type = SERIES_LINEAR;
    i32 unit = SERIES_DAY;  // of a date series
    double step = 1;
    bool hasStop = false;
    double stop = 0;
};

// Along a column when the selection is taller than wide.
i32 ProposedDirection(const RefArea& selection);
// The difference of the first two cells in that direction when both hold numbers, else 1, as the dialog shows
// it.
[[nodiscard]] bool ProposedStep(i32 direction, WideText& out);
// Continues each line of the current sheet's selection that begins with a number; the others stay. False when
// it was refused, the user having been told, or memory failed; nothing has changed then.
[[nodiscard]] bool FillSeries(const SeriesRequest& request);

}  // namespace tally
