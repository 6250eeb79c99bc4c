#include <algorithm>
#include <cmath>

#include "base/Platform.h"
#include "base/Text.h"
#include "display/Calendar.h"
#include "display/EntryScanners.h"
#include "functions/DateArguments.h"
#include "functions/DateMath.h"
#include "functions/Handlers.h"

namespace tally {
namespace {

bool ThreeIntegers(Value* arguments, Value& result, const EvalContext& context, i32& a, i32& b, i32& c) {
    return IntegerArgument(arguments[0], result, context, a) &&
           IntegerArgument(arguments[1], result, context, b) &&
           IntegerArgument(arguments[2], result, context, c);
}

struct DateParts {
    i32 year, month, day;
};

DateParts PartsOf(i32 serial) {
    DateParts parts{};
    SerialToDate(serial, parts.year, parts.month, parts.day);
    return parts;
}

template <typename Part>
void PartOfDate(Value* arguments, Value& result, const EvalContext& context, Part part) {
    i32 serial = 0;
    if (!DateArgument(arguments[0], result, context, serial)) return;
    // A time alone stands on the day before the first of January 1900, which belongs to that month.
    const DateParts parts = serial == 0 ? DateParts{1900, 1, 0} : PartsOf(serial);
    result = serial < 0 ? ErrorValue(ERR_NUM) : NumberValue(parts.*part);
}

void PartOfTime(Value* arguments, Value& result, const EvalContext& context, i32 which) {
    double serial = 0;
    i32 parts[3] = {};
    if (!NumberArgument(arguments[0], result, context, serial)) return;
    SerialToTime(serial, parts[0], parts[1], parts[2]);
    result = NumberValue(parts[which]);
}

// ---- DATEDIF --------------------------------------------------------------------------------------

i64 WholeMonths(const DateParts& from, const DateParts& to) {
    return (i64{to.year} - from.year) * 12 + to.month - from.month - (to.day < from.day ? 1 : 0);
}

bool BeforeInYear(const DateParts& a, const DateParts& b) {
    return a.month != b.month ? a.month < b.month : a.day < b.day;
}

i64 DaysSinceAnniversary(const DateParts& from, const DateParts& to, i32 end) {
    const i32 thisYear = DateToSerial(to.year, from.month, from.day);
    return i64{end} - (thisYear <= end ? thisYear : DateToSerial(to.year - 1, from.month, from.day));
}

i64 DaysSinceMonth(const DateParts& from, const DateParts& to, i32 end) {
    if (to.day >= from.day) return to.day - from.day;
    return i64{end} - DateToSerial(to.year, to.month - 1, from.day);
}

// False for a unit that there is none of.
bool DateDifference(i32 start, i32 end, WideView unit, i64& out) {
    const DateParts from = PartsOf(start);
    const DateParts to = PartsOf(end);
    if (EqualIgnoringCase(unit, u"y")) out = i64{to.year} - from.year - (BeforeInYear(to, from) ? 1 : 0);
    else if (EqualIgnoringCase(unit, u"m")) out = WholeMonths(from, to);
    else if (EqualIgnoringCase(unit, u"d")) out = i64{end} - start;
    else if (EqualIgnoringCase(unit, u"ym")) out = WholeMonths(from, to) % 12;
    else if (EqualIgnoringCase(unit, u"yd")) out = DaysSinceAnniversary(from, to, end);
    else if (EqualIgnoringCase(unit, u"md")) out = DaysSinceMonth(from, to, end);
    else return false;
    return true;
}

// ---- weekdays and holidays ------------------------------------------------------------------------

bool IsWeekday(i64 serial) { return WeekdayOf(serial) < 5; }

struct Holidays {
    const EvalContext& context;
    Array<i32> days;  // serials of the 1900 system
    i32 error = -1;
};

bool TakeHoliday(const VisitedValue& visited, void* state) {
    Holidays& holidays = *static_cast<Holidays*>(state);
    if (visited.value->type == VT_EMPTY) return true;
    Value result;
    Value value;
    CopyValue(value, *visited.value);
    if (value.type == VT_STRING) CoerceValue(value, VT_NUMBER, holidays.context);
    i32 serial = 0;
    if (value.type != VT_NUMBER) holidays.error = ERR_VALUE;
    else if (!DateArgument(value, result, holidays.context, serial)) holidays.error = result.error;
    else if (!holidays.days.Append(serial)) holidays.error = ERR_NA;
    FreeValue(value);
    return holidays.error < 0;
}

// False with the error in `result`.
bool ReadHolidays(Value& argument, Value& result, Holidays& holidays) {
    const bool many = argument.type == VT_AREA || argument.type == VT_REF || argument.type == VT_ARRAY;
    double number = 0;
    if (!many && !IsMissing(argument) && !NumberArgument(argument, result, holidays.context, number))
        return false;
    i32 error = -1;
    if (VisitValues(argument, holidays.context, TakeHoliday, &holidays, error)) return true;
    result = ErrorValue(holidays.error >= 0 ? holidays.error : error >= 0 ? error : i32{ERR_VALUE});
    return false;
}

i64 CountWorkdays(i32 start, i32 end, const Array<i32>& holidays) {
    if (start > end) return -CountWorkdays(end, start, holidays);
    i64 a = start, b = end;
    i32 wa = WeekdayOf(a), wb = WeekdayOf(b);
    if (wa > 4) {
        a += 7 - wa;
        wa = 0;
    }
    if (wb > 4) {
        b -= wb - 4;
        wb = 4;
    }
    i64 count = (wb - wa + 5) % 5 + 5 * ((b - a) / 7) + 1;
    for (const i32 day : holidays) count -= day >= start && day <= end && IsWeekday(day) ? 1 : 0;
    return count;
}

// Each holiday on a weekday that is met on the way costs one weekday more. The holidays are in the order
// of travel, so that those met through the additional days are seen too.
i64 PassHolidays(i32 start, i32 days, const Array<i32>& holidays) {
    const i32 direction = days < 0 ? -1 : 1;
    i64 result = AddWorkdays(start, days);
    i64 passed = start;
    for (const i32 day : holidays) {
        const bool ahead = (day - passed) * direction > 0;
        if (!ahead || (result - day) * direction < 0 || !IsWeekday(day)) continue;
        passed = day;
        result = AddWorkdays(result, direction);
    }
    return result;
}

}  // namespace

void CallDate(Value* arguments, Value& result, const EvalContext& context) {
    i32 year = 0, month = 0, day = 0;
    if (!ThreeIntegers(arguments, result, context, year, month, day)) return;
    if (year < 1900) year += 1900;
    result = DateValue(DateToSerial(year, month, day), context);
}

void CallTime(Value* arguments, Value& result, const EvalContext& context) {
    i32 hour = 0, minute = 0, second = 0;
    if (!ThreeIntegers(arguments, result, context, hour, minute, second)) return;
    const double serial = TimeToSerial(hour, minute, second, 0);
    // Whole days fall away.
    result = serial < 0 ? ErrorValue(ERR_NUM) : NumberValue(serial - std::floor(serial));
}

void CallDatevalue(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    double serial = 0;
    i32 timeId = 0;
    if (!TextArgument(arguments[0], result, context, text)) return;
    const bool good = ParseDateEntry(text, SystemOffset(context) != 0, serial, timeId);
    result = good ? NumberValue(std::trunc(serial)) : ErrorValue(ERR_VALUE);
}

void CallTimevalue(Value* arguments, Value& result, const EvalContext& context) {
    WideView text;
    double serial = 0;
    i32 timeId = 0;
    if (!TextArgument(arguments[0], result, context, text)) return;
    result = ParseTimeEntry(text, serial, timeId) ? NumberValue(serial) : ErrorValue(ERR_VALUE);
}

void CallDay(Value* arguments, Value& result, const EvalContext& context) {
    PartOfDate(arguments, result, context, &DateParts::day);
}
void CallMonth(Value* arguments, Value& result, const EvalContext& context) {
    PartOfDate(arguments, result, context, &DateParts::month);
}
void CallYear(Value* arguments, Value& result, const EvalContext& context) {
    PartOfDate(arguments, result, context, &DateParts::year);
}
void CallHour(Value* arguments, Value& result, const EvalContext& context) {
    PartOfTime(arguments, result, context, 0);
}
void CallMinute(Value* arguments, Value& result, const EvalContext& context) {
    PartOfTime(arguments, result, context, 1);
}
void CallSecond(Value* arguments, Value& result, const EvalContext& context) {
    PartOfTime(arguments, result, context, 2);
}

void CallNow(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(arguments);
    SystemTime now = {};
    Platform().getLocalTime(now);
    CalculateAlways(context);
    result = DateValue(DateToSerial(now.year, now.month, now.day) +
                           TimeToSerial(now.hour, now.minute, now.second, now.milliseconds),
                       context);
}

void CallToday(Value* arguments, Value& result, const EvalContext& context) {
    IgnoreFailure(arguments);
    SystemTime now = {};
    Platform().getLocalTime(now);
    CalculateAlways(context);
    result = DateValue(DateToSerial(now.year, now.month, now.day), context);
}

void CallWeekday(Value* arguments, Value& result, const EvalContext& context) {
    i32 serial = 0;
    double type = 0;
    if (!DateArgument(arguments[0], result, context, serial) ||
        !OptionalNumber(arguments[1], result, context, 1, type)) {
        return;
    }
    const i32 weekday = WeekdayOf(serial);
    type = std::trunc(type);
    result = NumberValue(type == 2 ? weekday + 1 : type == 3 ? weekday : (weekday + 1) % 7 + 1);
}

void CallDays360(Value* arguments, Value& result, const EvalContext& context) {
    i32 start = 0, end = 0;
    bool european = false;
    if (!TwoDates(arguments, result, context, start, end)) return;
    if (!IsMissing(arguments[2]) && !BoolArgument(arguments[2], result, context, european)) return;
    result = NumberValue(Days360(start, end, european));
}

void CallDatedif(Value* arguments, Value& result, const EvalContext& context) {
    i32 start = 0, end = 0;
    WideView unit;
    i64 difference = 0;
    if (!TwoDates(arguments, result, context, start, end) || !TextArgument(arguments[2], result, context, unit))
        return;
    const bool good = start <= end && DateDifference(start, end, unit, difference);
    result = good ? NumberValue(static_cast<double>(difference)) : ErrorValue(ERR_NUM);
}

void CallEdate(Value* arguments, Value& result, const EvalContext& context) {
    i32 start = 0, months = 0;
    if (DateArgument(arguments[0], result, context, start) &&
        IntegerArgument(arguments[1], result, context, months)) {
        result = DateValue(AddMonths(start, months), context);
    }
}

void CallEomonth(Value* arguments, Value& result, const EvalContext& context) {
    i32 start = 0, months = 0;
    if (!DateArgument(arguments[0], result, context, start) ||
        !IntegerArgument(arguments[1], result, context, months)) {
        return;
    }
    const DateParts moved = PartsOf(AddMonths(start, months));
    result = DateValue(DateToSerial(moved.year, moved.month, DaysInMonth(moved.year, moved.month)), context);
}

void CallYearfrac(Value* arguments, Value& result, const EvalContext& context) {
    i32 start = 0, end = 0, basis = 0;
    if (!TwoDates(arguments, result, context, start, end) ||
        !OptionalInteger(arguments[2], result, context, 0, basis)) {
        return;
    }
    if (start > end) std::swap(start, end);
    const double days = static_cast<double>(end) - start;
    switch (basis) {
        case 0: result = NumberValue(Days360(start, end, false) / 360.0); return;
        case 1:
        case 3: result = NumberValue(days / 365); return;
        case 2: result = NumberValue(days / 360); return;
        case 4: result = NumberValue(Days360(start, end, true) / 360.0); return;
        default: result = ErrorValue(ERR_NUM); return;
    }
}

void CallNetworkdays(Value* arguments, Value& result, const EvalContext& context) {
    i32 start = 0, end = 0;
    Holidays holidays{context, {}};
    if (!TwoDates(arguments, result, context, start, end) || !ReadHolidays(arguments[2], result, holidays))
        return;
    result = NumberValue(static_cast<double>(CountWorkdays(start, end, holidays.days)));
}

void CallWorkday(Value* arguments, Value& result, const EvalContext& context) {
    i32 start = 0, days = 0;
    Holidays holidays{context, {}};
    if (!DateArgument(arguments[0], result, context, start) ||
        !IntegerArgument(arguments[1], result, context, days) ||
        !ReadHolidays(arguments[2], result, holidays)) {
        return;
    }
    std::sort(holidays.days.begin(), holidays.days.end());
    if (days < 0) std::reverse(holidays.days.begin(), holidays.days.end());
    result = DateValue(static_cast<double>(PassHolidays(start, days, holidays.days)), context);
}

void CallWeeknum(Value* arguments, Value& result, const EvalContext& context) {
    i32 serial = 0;
    double type = 0;
    if (!DateArgument(arguments[0], result, context, serial) ||
        !OptionalNumber(arguments[1], result, context, 1, type)) {
        return;
    }
    const i32 newYear = DateToSerial(PartsOf(serial).year, 1, 1);
    // Days of the first week before 1 January.
    const i64 before = std::trunc(type) == 2 ? WeekdayOf(newYear) : (WeekdayOf(newYear) + 1) % 7;
    result = NumberValue(static_cast<double>((i64{serial} - newYear + before) / 7 + 1));
}

}  // namespace tally
