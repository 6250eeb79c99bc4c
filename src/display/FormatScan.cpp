#include <algorithm>
#include <cmath>

#include "base/Text.h"
#include "display/Calendar.h"
#include "display/FormatRun.h"
#include "display/LocaleSettings.h"

namespace tally {
namespace {

constexpr i32 MAX_SECOND_DECIMALS = 3;
constexpr i32 MAX_FIXED_DIGITS = 7;
constexpr i32 SECONDS_PER_DAY = 86400;
constexpr double LAST_SERIAL = 2147480000.0;

std::size_t RunLength(WideView text, std::size_t at) {
    std::size_t i = at;
    while (i < text.size() && IsPlaceholder(text[i])) ++i;
    return i - at;
}

// A denominator of digits that does not begin with a place is fixed.
i32 FixedDenominator(WideView format, std::size_t at, i32& width) {
    i32 value = 0;
    width = 0;
    if (at >= format.size() || format[at] == u'0') return 0;
    for (; at < format.size() && IsAsciiDigit(format[at]) && width < MAX_FIXED_DIGITS; ++at, ++width)
        value = value * 10 + (format[at] - u'0');
    return value;
}

void ScanSlash(FormatScan& scan, WideView format, std::size_t at) {
    std::size_t start = at;
    while (start > 0 && IsPlaceholder(format[start - 1])) --start;
    i32 width = 0;
    const i32 fixed = FixedDenominator(format, at + 1, width);
    if (!fixed) width = static_cast<i32>(RunLength(format, at + 1));
    if (scan.fraction || start == at || !width) return;
    scan.fraction = true;
    scan.numeratorStart = start;
    scan.numeratorWidth = static_cast<i32>(at - start);
    scan.denominatorWidth = width;
    scan.fixedDenominator = fixed;
}

// Commas behind a place separate thousands, or scale when no place follows. Returns the position behind them.
std::size_t ScanCommas(FormatScan& scan, WideView format, std::size_t at) {
    if (at == 0 || !IsPlaceholder(format[at - 1])) return at + 1;
    std::size_t end = at;
    while (end < format.size() && format[end] == u',') ++end;
    if (end < format.size() && IsPlaceholder(format[end])) {
        scan.grouping = true;
    } else {
        scan.scalingCommas += static_cast<i32>(end - at);
    }
    return end;
}

// The seconds at `at` and the decimals that follow them.
void ScanSeconds(FormatScan& scan, WideView format, std::size_t at) {
    while (at < format.size() && AsciiUpper(format[at]) == u'S') ++at;
    if (at < format.size() && format[at] == u']') ++at;
    if (at >= format.size() || format[at] != u'.') return;
    const std::size_t from = ++at;
    while (at < format.size() && format[at] == u'0') ++at;
    scan.secondDecimals = std::max(scan.secondDecimals, static_cast<i32>(at - from));
    scan.secondDecimals = std::min(scan.secondDecimals, MAX_SECOND_DECIMALS);
}

// A bracket that counts hours, minutes or seconds.
void ScanBracket(FormatScan& scan, WideView format, std::size_t at) {
    const char16_t letter = at + 1 < format.size() ? AsciiUpper(format[at + 1]) : u'\0';
    if (letter != u'H' && letter != u'M' && letter != u'S') return;
    scan.usesDates = scan.usesTimes = true;
    if (letter == u'S') ScanSeconds(scan, format, at + 1);
}

// Handles one character of the first scan and returns the position behind it.
std::size_t ScanCharacter(FormatScan& scan, WideView format, std::size_t at) {
    const char16_t next = at + 1 < format.size() ? format[at + 1] : u'\0';
    switch (AsciiUpper(format[at])) {
        case u'[': ScanBracket(scan, format, at); return std::max(BehindLiteral(format, at), at + 1);
        case u'"':
        case u'*':
        case u'\\':
        case u'_': return BehindLiteral(format, at);
        case u'#':
        case u'0':
            if (AsciiUpper(next) == u'E' && at + 2 < format.size() &&
                (format[at + 2] == u'+' || format[at + 2] == u'-')) {
                scan.scientific = true;
                scan.exponentAt = at + 1;
                return at + 3;
            }
            break;
        case u'%': ++scan.percents; break;
        case u',': return ScanCommas(scan, format, at);
        case u'/': ScanSlash(scan, format, at); break;
        case u'S':
            scan.usesDates = scan.usesTimes = true;
            ScanSeconds(scan, format, at);
            break;
        case u'H': scan.usesDates = scan.usesTimes = true; break;
        case u'D':
        case u'M':
        case u'Y':
        case u'A':
        case u'P': scan.usesDates = true; break;
        default:
            // May begin a local half-day word.
            if (format[at] > 0x7F || WideView(Locale().aUpper) == format.substr(at, 1) ||
                WideView(Locale().aLower) == format.substr(at, 1)) {
                scan.usesDates = true;
            }
            break;
    }
    return at + 1;
}

// Where the count of the integer places ends whatever stands there.
std::size_t IntegerLimit(const FormatScan& scan, WideView format) {
    std::size_t limit = format.size();
    if (scan.scientific) limit = std::min(limit, scan.exponentAt);
    if (scan.fraction) limit = std::min(limit, scan.numeratorStart);
    return limit;
}

void CountPlaces(FormatScan& scan, WideView format) {
    const std::size_t limit = IntegerLimit(scan, format);
    bool behindPoint = false;
    for (std::size_t i = 0; i < format.size();) {
        const std::size_t behind = BehindLiteral(format, i);
        const char16_t c = format[i];
        if (behind == i && IsPlaceholder(c)) {
            if (i >= limit) {
                scan.exponentPlaces += scan.scientific && i >= scan.exponentAt;
            } else if (behindPoint) {
                ++scan.decimalPlaces;
            } else {
                ++scan.integerPlaces;
                scan.hashPlaces += c == u'#';
            }
        }
        if (behind == i && c == u'.') behindPoint = true;
        i = behind == i ? i + 1 : behind;
    }
}

bool Holds(WideView format, const WideText& word) {
    return !word.IsEmpty() && format.find(word.View()) != WideView::npos;
}

bool IsTwelveHour(WideView format) {
    if (format.find(u'/') == WideView::npos) return false;  // all the words hold one
    const LocaleSettings& s = Locale();
    return Holds(format, s.ampmUpper) || Holds(format, s.ampmLower) || Holds(format, s.apUpper) ||
           Holds(format, s.apLower);
}

}  // namespace

std::size_t BehindLiteral(WideView format, std::size_t at) {
    switch (format[at]) {
        case u'"': return BehindQuotedText(format, at);
        case u'*':
        case u'\\':
        case u'_': return std::min(at + 2, format.size());
        case u'[': {
            const std::size_t close = format.find(u']', at);
            return close == WideView::npos ? at : close + 1;
        }
        default: return at;
    }
}

FormatScan ScanFormat(WideView section) {
    FormatScan scan;
    for (std::size_t i = 0; i < section.size();) i = ScanCharacter(scan, section, i);
    CountPlaces(scan, section);
    scan.twelveHour = scan.usesDates && IsTwelveHour(section);
    return scan;
}

void WorkOutDates(FormatRun& run) {
    run.days = std::trunc(run.unscaled);
    const i32 offset = run.date1904 ? DATE_1904_OFFSET : 0;
    const i32 scale = static_cast<i32>(PowerOfTen(run.scan.secondDecimals));
    i32 ticks = static_cast<i32>((run.unscaled - run.days) * scale * SECONDS_PER_DAY + 0.5);
    if (ticks >= scale * SECONDS_PER_DAY) {
        ticks = 0;
        // A date alone is not rounded.
        if (run.scan.usesTimes) ++run.days;
    }
    SerialToDate(static_cast<i32>(std::min(run.days, LAST_SERIAL)) + offset, run.year, run.month, run.day);
    const double weekday = run.days + offset + 5;
    run.weekday = static_cast<i32>(weekday < 2147483648.0 ? static_cast<double>(static_cast<i64>(weekday) % 7)
                                                          : std::fmod(weekday, 7.0));
    const i32 seconds = ticks / scale;
    run.secondTicks = ticks % scale;
    run.hour = seconds / 3600;
    run.minute = seconds / 60 % 60;
    run.second = seconds % 60;
    run.afternoon = run.hour >= 12;
}

}  // namespace tally
