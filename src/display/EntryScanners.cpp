#include "display/EntryScanners.h"

#include <algorithm>
#include <cmath>

#include "base/Platform.h"
#include "base/Text.h"
#include "display/Calendar.h"
#include "display/LocaleSettings.h"

namespace tally {
namespace {

constexpr i32 SIGNIFICANT_DIGITS = 15;
constexpr i32 MAX_EXPONENT_TEXT = 100000;
constexpr i32 MAX_RUN_VALUE = 100000000;

// A place in a text that is read from left to right up to `end`.
struct Reader {
    WideView text;
    std::size_t at;
    std::size_t end;

    bool AtEnd() const { return at >= end; }
    char16_t Now() const { return at < end ? text[at] : u'\0'; }
    char16_t Next() const { return at + 1 < end ? text[at + 1] : u'\0'; }
    bool AtDigit() const { return at < end && IsAsciiDigit(text[at]); }
    // Passes over blanks; true when there was one.
    bool SkipBlanks() {
        const std::size_t from = at;
        while (at < end && text[at] == u' ') ++at;
        return at > from;
    }
    bool Take(char16_t c) {
        if (at >= end || text[at] != c) return false;
        ++at;
        return true;
    }
    // A run of digits with its length; values are capped where they stop to matter.
    bool TakeDigits(i32& value, i32& length) {
        const std::size_t from = at;
        i64 read = 0;
        for (; AtDigit(); ++at) read = std::min<i64>(read * 10 + (text[at] - u'0'), MAX_RUN_VALUE);
        value = static_cast<i32>(read);
        length = static_cast<i32>(std::min<std::size_t>(at - from, MAX_RUN_VALUE));
        return at > from;
    }
};

// The mantissa of a number: digits, separators of thousands, decimals.
struct Mantissa {
    double value = 0;
    i32 significant = 0;
};

bool ThreeDigitsFollow(const Reader& r) {
    for (std::size_t i = 1; i <= 3; ++i) {
        if (r.at + i >= r.end || !IsAsciiDigit(r.text[r.at + i])) return false;
    }
    return r.at + 4 >= r.end || !IsAsciiDigit(r.text[r.at + 4]);
}

void ReadIntegerPart(Reader& r, bool allowThousands, char16_t thousands, Mantissa& m) {
    for (;; ++r.at) {
        if (r.AtDigit()) {
            m.value *= 10.0;
            if (m.significant < SIGNIFICANT_DIGITS) m.value += r.Now() - u'0';
            if (m.value != 0) ++m.significant;
        } else if (!(allowThousands && r.Now() == thousands && !r.AtEnd() && ThreeDigitsFollow(r))) {
            return;
        }
    }
}

void ReadDecimals(Reader& r, Mantissa& m) {
    // The scale is accumulated: the last bits of the value depend on it.
    double scale = 1.0;
    for (; r.AtDigit(); ++r.at) {
        scale *= 0.1;
        if (m.significant >= SIGNIFICANT_DIGITS) continue;
        m.value += (r.Now() - u'0') * scale;
        if (m.value != 0) ++m.significant;
    }
}

bool ReadExponent(Reader& r, double& value) {
    if (r.Now() != u'E' && r.Now() != u'e') return false;
    ++r.at;
    r.SkipBlanks();
    const bool negative = r.Now() == u'-';
    if (negative || r.Now() == u'+') ++r.at;
    r.SkipBlanks();
    i32 exponent = 0, length = 0;
    if (!r.TakeDigits(exponent, length)) return false;
    r.SkipBlanks();
    if (!r.AtEnd()) return false;
    exponent = std::min(exponent, MAX_EXPONENT_TEXT);
    value *= std::pow(10.0, negative ? -exponent : exponent);
    return true;
}

bool IsUsableResult(double value, bool significant) {
    return std::isfinite(value) && (value != 0 || !significant);
}

// ---- times ----------------------------------------------------------------------------------------

struct TimeItems {
    i32 hour = 0, minute = 0, second = 0;
    i32 fraction = 0, fractionDigits = 0;
    i32 id = 20;
};

// How many characters of a half-day word stand at the reader's place.
std::size_t MatchedCharacters(const Reader& r, WideView word) {
    std::size_t i = 0;
    while (i < word.size() && r.at + i < r.end && UpperChar(r.text[r.at + i]) == word[i]) ++i;
    return i;
}

bool TakeHalfDay(Reader& r, TimeItems& t) {
    r.SkipBlanks();
    const LocaleSettings& s = Locale();
    const std::size_t am = MatchedCharacters(r, s.amUpper);
    const std::size_t pm = MatchedCharacters(r, s.pmUpper);
    if (am && (am == s.amUpper.Length() || am == 1)) {
        if (t.hour > 12) return false;
        if (t.hour == 12) t.hour = 0;
        r.at += am;
    } else if (pm && (pm == s.pmUpper.Length() || pm == 1)) {
        if (t.hour > 12) return false;
        if (t.hour < 12) t.hour += 12;
        r.at += pm;
    } else {
        return false;
    }
    t.id -= 2;
    r.SkipBlanks();
    return r.AtEnd();
}

bool TakeFraction(Reader& r, TimeItems& t) {
    // Ten digits decide the hundred-thousandths already.
    for (; r.AtDigit(); ++r.at) {
        if (t.fractionDigits >= 8) continue;
        t.fraction = t.fraction * 10 + (r.Now() - u'0');
        ++t.fractionDigits;
    }
    if (!t.fractionDigits) return false;
    if (r.AtEnd()) return true;
    return r.Now() == u' ' && TakeHalfDay(r, t);
}

// Behind the minutes.
bool TakeAfterMinutes(Reader& r, TimeItems& t, char16_t separator) {
    i32 length = 0;
    if (r.AtEnd()) return true;
    if (r.Now() == u' ') return TakeHalfDay(r, t);
    if (r.Take(Locale().decimalSeparator)) {
        t.second = t.minute;
        t.minute = t.hour;
        t.hour = 0;
        return TakeFraction(r, t);
    }
    if (!r.Take(separator)) return false;
    r.SkipBlanks();
    if (r.AtEnd()) return true;
    if (!r.TakeDigits(t.second, length)) return false;
    t.id = 21;
    if (r.AtEnd()) return true;
    if (r.Now() == u' ') return TakeHalfDay(r, t);
    return r.Take(Locale().decimalSeparator) && TakeFraction(r, t);
}

bool TakeTime(Reader& r, TimeItems& t) {
    const char16_t separator = Locale().timeSeparator[0];
    i32 length = 0;
    if (!r.TakeDigits(t.hour, length) || r.AtEnd()) return false;
    if (r.Now() == u' ') return TakeHalfDay(r, t);
    if (!r.Take(separator)) return false;
    r.SkipBlanks();
    if (r.AtEnd()) return true;
    return r.TakeDigits(t.minute, length) && TakeAfterMinutes(r, t, separator);
}

bool ParseTime(Reader r, double& out, i32& timeId) {
    TimeItems t;
    if (!TakeTime(r, t)) return false;
    i64 milliseconds = 0;
    if (t.fractionDigits) {
        milliseconds = i64{t.fraction} * 100;
        for (i32 i = 1; i < t.fractionDigits; ++i) milliseconds /= 10;
        t.id = 47;
    }
    out = TimeToSerial(t.hour, t.minute, t.second, static_cast<i32>(milliseconds));
    timeId = t.id;
    return true;
}

// ---- dates ----------------------------------------------------------------------------------------

struct DateItem {
    i32 value = 0;
    i32 length = 0;
};

struct DateItems {
    DateItem a, b, c;
    i32 monthPosition = 0;  // 1 or 2: that item is a month's name
    bool leadingBlanks = false;
    bool dashA = false, commaA = false, dashB = false, commaB = false;
    bool three = false;
    double time = 0;
    i32 timeId = 0;
};

bool TakeName(Reader& r, WideView name) {
    if (name.empty() || !StartsWithIgnoringCase(r.text.substr(r.at, r.end - r.at), name)) return false;
    r.at += name.size();
    return true;
}

bool TakeMonthName(Reader& r, DateItem& item) {
    const LocaleSettings& s = Locale();
    const char16_t initial = AsciiLower(r.Now());
    const bool letter = initial >= u'a' && initial <= u'z';
    if (letter ? !(s.monthInitials >> (initial - u'a') & 1) : !s.otherMonthInitials) return false;
    const bool shortNames = s.monthShort[0][0] != u'1';
    for (i32 pass = 0; pass < (shortNames ? 2 : 1); ++pass) {
        for (i32 i = 0; i < 12; ++i) {
            const WideView name = pass ? WideView(s.monthShort[i]) : WideView(s.monthName[i]);
            if (letter && !name.empty() && name[0] < 0x80 && AsciiLower(name[0]) != initial) continue;
            if (!TakeName(r, name)) continue;
            item = {i + 1, 1};
            return true;
        }
    }
    return false;
}

// Blanks, perhaps a separator, blanks. False for a comma without a blank behind it and at the end.
bool TakeSeparator(Reader& r, bool& dash, bool& comma) {
    r.SkipBlanks();
    if (r.AtEnd()) return false;
    if (r.Now() == Locale().dateSeparator[0] || r.Now() == u'-') {
        ++r.at;
        dash = true;
    } else if (r.Now() == u',') {
        if (r.Next() != u' ') return false;
        ++r.at;
        comma = true;
    }
    r.SkipBlanks();
    return !r.AtEnd();
}

bool TakeItems(Reader& r, DateItems& d) {
    d.leadingBlanks = r.SkipBlanks();
    if (r.AtEnd()) return false;
    if (TakeMonthName(r, d.a)) {
        d.monthPosition = 1;
    } else if (!r.TakeDigits(d.a.value, d.a.length)) {
        return false;
    }
    if (!TakeSeparator(r, d.dashA, d.commaA)) return false;
    if (d.monthPosition == 0 && TakeMonthName(r, d.b)) {
        d.monthPosition = 2;
    } else if (!r.TakeDigits(d.b.value, d.b.length)) {
        return false;
    }
    const bool spaced = r.SkipBlanks();
    if (r.AtEnd() || (spaced && ParseTime(r, d.time, d.timeId))) return true;
    d.three = true;
    if (!TakeSeparator(r, d.dashB, d.commaB) || !r.TakeDigits(d.c.value, d.c.length)) return false;
    r.SkipBlanks();
    return r.AtEnd() || ParseTime(r, d.time, d.timeId);
}

i32 ThisYear() {
    SystemTime now;
    Platform().getLocalTime(now);
    return now.year;
}

i32 FullYear(i32 year) { return year > 99 ? year : year < 30 ? 2000 + year : 1900 + year; }

bool IsYear(DateItem y) {
    if (y.length > 4) return false;
    return y.value > 99 ? y.value >= 1900 : y.length <= 2;
}
bool IsMonth(DateItem m) { return m.length <= 2 && m.value >= 1 && m.value <= 12; }
bool IsDay(DateItem d, DateItem month, i32 year) {
    return d.length <= 2 && d.value >= 1 && d.value <= DaysInMonth(year, month.value);
}

struct CivilDate {
    i32 year = 0, month = 0, day = 0;
};

bool YearMonthDay(DateItem year, DateItem month, DateItem day, CivilDate& out) {
    if (!IsYear(year) || !IsMonth(month) || !IsDay(day, month, FullYear(year.value))) return false;
    out = {FullYear(year.value), month.value, day.value};
    return true;
}
bool DayOfThisYear(DateItem month, DateItem day, CivilDate& out) {
    const i32 year = ThisYear();
    if (!IsMonth(month) || !IsDay(day, month, year)) return false;
    out = {year, month.value, day.value};
    return true;
}
bool FirstOfMonth(DateItem month, DateItem year, CivilDate& out) {
    if (!IsMonth(month) || !IsYear(year)) return false;
    out = {FullYear(year.value), month.value, 1};
    return true;
}

bool ResolveThree(const DateItems& d, char16_t order, CivilDate& out) {
    if (d.monthPosition == 2) {
        if (d.leadingBlanks) return false;
        if (order == u'0' && (d.commaA || d.commaB)) return false;
        if (order == u'1' && d.commaA && !d.dashB && !d.commaB) return false;
        return order == u'0' || order == u'1' ? YearMonthDay(d.c, d.b, d.a, out)
                                              : YearMonthDay(d.a, d.b, d.c, out);
    }
    if (d.monthPosition == 1) {
        if (order != u'0' || !(d.commaB || (d.commaA && d.dashB))) return false;
        return YearMonthDay(d.c, d.a, d.b, out);
    }
    if (d.leadingBlanks || !d.dashA || !d.dashB) return false;
    if (d.a.length == 4 && d.a.value >= 1900 && YearMonthDay(d.a, d.b, d.c, out)) return true;
    if (order == u'1') return YearMonthDay(d.c, d.b, d.a, out);
    return order == u'0' ? YearMonthDay(d.c, d.a, d.b, out) : YearMonthDay(d.a, d.b, d.c, out);
}

bool ResolveTwoNumbers(const DateItems& d, char16_t order, CivilDate& out) {
    if (d.leadingBlanks || !d.dashA) return false;
    if (order == u'0') return DayOfThisYear(d.a, d.b, out) || FirstOfMonth(d.a, d.b, out);
    if (order == u'1') {
        if (d.b.value == 0) return false;
        return d.b.value < 13 ? DayOfThisYear(d.b, d.a, out) : FirstOfMonth(d.a, d.b, out);
    }
    if (d.a.value == 0) return false;
    if (d.a.value < 13) return DayOfThisYear(d.a, d.b, out);
    return DayOfThisYear(d.b, d.a, out) || FirstOfMonth(d.b, d.a, out);
}

bool ResolveTwo(const DateItems& d, char16_t order, CivilDate& out) {
    if (d.commaA) return false;
    if (d.monthPosition == 2) {
        return order == u'0' || order == u'1' ? DayOfThisYear(d.b, d.a, out) : FirstOfMonth(d.b, d.a, out);
    }
    if (d.monthPosition == 1) {
        if (order == u'1') return FirstOfMonth(d.a, d.b, out);
        if (DayOfThisYear(d.a, d.b, out)) return true;
        return order == u'0' && FirstOfMonth(d.a, d.b, out);
    }
    return ResolveTwoNumbers(d, order, out);
}

}  // namespace

bool ParseNumber(WideView text, std::size_t start, std::size_t end, double& out, bool allowThousands) {
    Reader r{text, start, std::min(end, text.size())};
    const LocaleSettings& s = Locale();
    r.SkipBlanks();
    const bool negative = r.Now() == u'-';
    if (negative || r.Now() == u'+') ++r.at;
    r.SkipBlanks();
    if (r.AtEnd()) return false;
    if (!r.AtDigit() && !(r.Now() == s.decimalSeparator && IsAsciiDigit(r.Next()))) return false;
    Mantissa m;
    ReadIntegerPart(r, allowThousands, s.thousandsSeparator, m);
    if (r.Take(s.decimalSeparator)) ReadDecimals(r, m);
    double value = negative ? -m.value : m.value;
    r.SkipBlanks();
    if (!r.AtEnd() && !ReadExponent(r, value)) return false;
    if (!IsUsableResult(value, m.significant > 0)) return false;
    out = value;
    return true;
}

bool ParseMixedFraction(WideView text, std::size_t start, std::size_t end, double& out, i32& digits) {
    Reader r{text, start, std::min(end, text.size())};
    r.SkipBlanks();
    const bool negative = r.Now() == u'-';
    if (negative || r.Now() == u'+') ++r.at;
    r.SkipBlanks();
    double parts[3] = {};
    std::size_t denominatorAt = 0;
    for (int i = 0; i < 3; ++i) {
        if (i == 1 && !r.SkipBlanks()) return false;
        if (i == 2 && !r.Take(u'/')) return false;
        if (!r.AtDigit()) return false;
        denominatorAt = r.at;
        for (; r.AtDigit(); ++r.at) parts[i] = parts[i] * 10.0 + (r.Now() - u'0');
    }
    std::size_t denominatorEnd = r.at;
    r.SkipBlanks();
    if (!r.AtEnd() || parts[2] == 0) return false;
    const double value = parts[0] + parts[1] / parts[2];
    if (!IsUsableResult(value, parts[0] != 0 || parts[1] != 0)) return false;
    while (text[denominatorAt] == u'0') ++denominatorAt;
    digits = static_cast<i32>(denominatorEnd - denominatorAt);
    out = negative ? -value : value;
    return true;
}

bool ParseTimeEntry(WideView text, double& out, i32& timeId) {
    return ParseTime({text, 0, text.size()}, out, timeId);
}

bool ParseDateEntry(WideView text, bool date1904, double& out, i32& timeId) {
    Reader r{text, 0, text.size()};
    DateItems d;
    CivilDate date;
    if (!TakeItems(r, d)) return false;
    const char16_t order = Locale().dateOrder[0];
    if (!(d.three ? ResolveThree(d, order, date) : ResolveTwo(d, order, date))) return false;
    out = DateToSerial(date.year, date.month, date.day) + d.time - (date1904 ? DATE_1904_OFFSET : 0);
    timeId = d.timeId;
    return true;
}

}  // namespace tally
