#include "functions/DateMath.h"

#include <algorithm>

#include "display/Calendar.h"

namespace tally {
namespace {

constexpr i64 MONDAY_OFFSET = 2415019;
constexpr i32 FRIDAY = 4;

}  // namespace

i32 WeekdayOf(i64 serial) {
    const i64 rest = (serial + MONDAY_OFFSET) % 7;
    return static_cast<i32>(rest < 0 ? rest + 7 : rest);
}

i32 Days360(i32 start, i32 end, bool european) {
    i32 y1 = 0, m1 = 0, d1 = 0, y2 = 0, m2 = 0, d2 = 0;
    SerialToDate(start, y1, m1, d1);
    SerialToDate(end, y2, m2, d2);
    if (european) {
        d1 = std::min(d1, 30);
        d2 = std::min(d2, 30);
    } else {
        if (d1 == 31 || (m1 == 2 && d1 >= 28)) d1 = 30;
        if (d2 == 31 && d1 < 30) {
            d2 = 1;
            ++m2;
        } else if (d2 == 31) {
            d2 = 30;
        }
    }
    const i64 days = (i64{y2} - y1) * 360 + (m2 - m1) * 30 - d1 + d2;
    return static_cast<i32>(std::clamp(days, i64{INT32_MIN}, i64{INT32_MAX}));
}

i32 AddMonths(i32 serial, i32 months) {
    i32 year = 0, month = 0, day = 0;
    SerialToDate(serial, year, month, day);
    const i64 total = i64{year} * 12 + month - 1 + months;
    const i64 toYear = total >= 0 ? total / 12 : (total - 11) / 12;
    const i32 toMonth = static_cast<i32>(total - toYear * 12) + 1;
    return DateToSerial(static_cast<i32>(toYear), toMonth,
                        std::min(day, DaysInMonth(static_cast<i32>(toYear), toMonth)));
}

i64 AddWorkdays(i64 serial, i64 count) {
    if (count == 0) return serial;
    i32 weekday = WeekdayOf(serial);
    const i64 rest = count % 5;
    if (weekday > FRIDAY) {
        serial += count > 0 ? FRIDAY - weekday : 7 - weekday;
        weekday = count > 0 ? FRIDAY : 0;
    }
    serial += count / 5 * 7 + rest;
    if (weekday + rest > FRIDAY) serial += 2;
    if (weekday + rest < 0) serial -= 2;
    return serial;
}

}  // namespace tally
