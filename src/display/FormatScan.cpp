#include <algorithm>
#include <cmath>

#include "base/Text.h"
#include "display/Calendar.h"
#include "display/FormatRun.h"
#include "display/LocaleSettings.h"

namespace tally {
namespace {

constexpr i32 MAX_SECOND_DECIMALS = 9;
constexpr double LAST_SERIAL = 2147480000.0;

std::size_t RunLength(WideView text, std::size_t at) {
    std::size_t i = at;
    while (i < text.size() && IsPlaceholder(text[i])) ++i;
    return i - at;
}

void ScanSlash(FormatScan& scan, WideView format, std::size_t at) {
    std::size_t start = at;
    while (start > 0 && IsPlaceholder(format[start - 1])) --start;
    scan.fraction = true;
    scan.numeratorStart = start;
    scan.numeratorWidth = static_cast<i32>(at - start);
    scan.denominatorWidth = static_cast<i32>(RunLength(format, at + 1));
}

void ScanComma(FormatScan& scan, WideView format, std::size_t at) {
    if (at == 0 || !IsPlaceholder(format[at - 1])) return;
    if (at + 1 < format.size() && IsPlaceholder(format[at + 1])) {
        scan.grouping = true;
    } else {
        ++scan.scalingCommas;
    }
}

// Handles one character of the first scan and returns the position behind it.
std::size_t ScanCharacter(FormatScan& scan, WideView format, std::size_t at) {
    const char16_t next = at + 1 < format.size() ? format[at + 1] : u'\0';
    switch (AsciiUpper(format[at])) {
        case u'"': return BehindQuotedText(format, at);
        case u'*':
        case u'\\':
        case u'_': return at + 2;
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
        case u',': ScanComma(scan, format, at); break;
        case u'.': scan.hasPoint = true; break;
        case u'/': ScanSlash(scan, format, at); break;
        case u'S':
            scan.usesDates = true;
            if (next == u'.') {
                std::size_t i = at + 2;
                while (i < format.size() && format[i] == u'0') ++i;
                scan.secondDecimals = std::min(static_cast<i32>(i - at - 2), MAX_SECOND_DECIMALS);
            }
            break;
        case u'D':
        case u'H':
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
    std::size_t i = 0;
    while (i < limit) {
        const char16_t c = format[i];
        if (c == u'"') {
            i = BehindQuotedText(format, i);
            continue;
        }
        if (c == u'[') {
            const std::size_t close = format.find(u']', i);
            i = close == WideView::npos ? format.size() : close + 1;
            continue;
        }
        if (c == u'.' && scan.hasPoint) break;
        if (IsPlaceholder(c)) ++scan.integerPlaces;
        if (c == u'#') ++scan.hashPlaces;
        if (c == u'0') ++scan.zeroPlaces;
        ++i;
    }
    for (; i < limit; ++i) scan.decimalPlaces += IsPlaceholder(format[i]);
    if (!scan.scientific) return;
    for (i = scan.exponentAt; i < format.size(); ++i) scan.exponentPlaces += IsPlaceholder(format[i]);
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

FormatScan ScanFormat(WideView section) {
    FormatScan scan;
    for (std::size_t i = 0; i < section.size();) i = ScanCharacter(scan, section, i);
    CountPlaces(scan, section);
    scan.twelveHour = scan.usesDates && IsTwelveHour(section);
    return scan;
}

void WorkOutDates(FormatRun& run) {
    const double days = std::min(std::trunc(run.unscaled), LAST_SERIAL);
    const i32 offset = run.date1904 ? DATE_1904_OFFSET : 0;
    SerialToDate(static_cast<i32>(days) + offset, run.year, run.month, run.day);
    const double weekday = std::trunc(run.unscaled + offset + 5);
    run.weekday = static_cast<i32>(weekday < 2147483648.0 ? static_cast<double>(static_cast<i64>(weekday) % 7)
                                                          : std::fmod(weekday, 7.0));
    run.tickScale = PowerOfTen(run.scan.secondDecimals);
    run.ticks = std::trunc((run.unscaled - std::trunc(run.unscaled)) * run.tickScale * 86400 + 0.5);
    const i32 seconds = static_cast<i32>(run.ticks / run.tickScale);
    run.hour = seconds / 3600;
    run.minute = seconds / 60 % 60;
    run.second = seconds % 60;
    if (!run.scan.twelveHour) return;
    run.afternoon = run.hour >= 12;
    if (run.hour == 0) run.hour = 12;
    if (run.hour > 12) run.hour -= 12;
}

}  // namespace tally
