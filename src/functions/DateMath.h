#pragma once
// Reckoning with dates, in serials of the 1900 system.

#include "base/Base.h"

namespace tally {

// Monday 0 to Sunday 6.
i32 WeekdayOf(i64 serial);
// Months of 30 days between two dates, by the rule of Europe or of the United States.
i32 Days360(i32 start, i32 end, bool european);
// The same day of another month, or that month's last day when it is shorter.
i32 AddMonths(i32 serial, i32 months);
// `count` weekdays further, or back when it is negative; a start on a weekend counts as the weekday before
// or after it.
i64 AddWorkdays(i64 serial, i64 count);

}  // namespace tally
