#include "display/NumberFormatter.h"

#include <algorithm>
#include <cmath>

#include "base/Number.h"
#include "base/Text.h"
#include "display/FormatRun.h"
#include "display/FormatSections.h"
#include "display/LocaleSettings.h"
#include "display/ScannedFormats.h"

namespace tally {
namespace {

constexpr WideView generalFormat = u"General";
constexpr i32 GENERAL_DIGITS = 15;

bool HoldsTextMark(WideView section) {
    for (std::size_t i = 0; i < section.size();) {
        const std::size_t behind = BehindLiteral(section, i);
        if (behind == i && section[i] == u'@') return true;
        i = behind == i ? i + 1 : behind;
    }
    return false;
}

// The section that shows texts: the fourth, which may be empty, or a last one that holds "@". Null when texts
// are shown as they are.
const FormatSection* TextSection(const FormatSection (&sections)[FORMAT_SECTIONS]) {
    int last = FORMAT_SECTIONS - 1;
    while (last > 0 && sections[last].state == SECTION_ABSENT && sections[last].text.empty()) --last;
    const FormatSection& section = sections[last];
    const bool applies = last == FORMAT_SECTIONS - 1 || HoldsTextMark(section.text);
    return applies && section.text != generalFormat ? &section : nullptr;
}

bool CopyQuoted(WideView section, std::size_t& at, WideText& out) {
    const std::size_t close = section.find(u'"', at + 1);
    const std::size_t end = close == WideView::npos ? section.size() : close;
    const bool good = out.Append(section.substr(at + 1, end - at - 1));
    at = end;
    return good;
}

}  // namespace

double RoundToInteger(double x) {
    if (x < 0) return -std::floor(0.5 - x);
    const double plain = std::floor(x + 0.5);
    const double nudged = std::floor(std::nextafter(x, x + 0.05) + 0.5);
    return nudged >= plain ? nudged : plain;
}

bool FormatGeneral(double value, i32 precision, WideText& out) {
    char text[NUMBER_TEXT_ROOM];
    // A zero has no sign.
    const std::size_t length = PrintGeneral(value + 0.0, precision, text);
    const char16_t separator = Locale().decimalSeparator;
    char16_t wide[NUMBER_TEXT_ROOM];
    for (std::size_t i = 0; i < length; ++i) {
        wide[i] = text[i] == '.' ? separator : static_cast<char16_t>(text[i]);
    }
    return out.Append(WideView(wide, length));
}

bool FormatNumber(double value, WideView format, const TextMeasure* measure, i32 width, bool date1904,
                  u16* colour, WideText& out) {
    out.Truncate(0);
    if (!measure && format == generalFormat) {
        return (value >= 0 || out.Append(u'-')) && FormatGeneral(std::fabs(value), GENERAL_DIGITS, out);
    }
    const ScannedFormat* kept = FindScannedFormat(format);
    FormatSection parsed[FORMAT_SECTIONS];
    if (!kept) ParseFormatSections(format, parsed);
    const FormatSection(&sections)[FORMAT_SECTIONS] = kept ? kept->sections : parsed;
    const SectionChoice choice = ChooseSection(sections, value);
    if (choice.kind == CHOICE_BLANK) return true;
    if (choice.minus && !out.Append(u'-')) return false;
    if (choice.kind == CHOICE_GENERAL && !measure) return FormatGeneral(std::fabs(value), GENERAL_DIGITS, out);
    FormatRun run;
    run.format = choice.kind == CHOICE_GENERAL ? generalFormat : sections[choice.section].text;
    if (choice.kind == CHOICE_SECTION && sections[choice.section].colour != NO_COLOUR && colour) {
        *colour = sections[choice.section].colour;
    }
    run.value = run.unscaled = std::fabs(value);
    run.date1904 = date1904;
    run.measure = measure;
    run.width = width;
    run.out = &out;
    run.scan = kept && choice.kind == CHOICE_SECTION ? kept->scans[choice.section] : ScanFormat(run.format);
    if (run.scan.usesDates) WorkOutDates(run);
    WorkOutDigits(run);
    if (choice.minus && run.showsZero) out.Truncate(0);
    return WriteFormatted(run);
}

bool FormatTextValue(WideView text, WideView format, WideText& out) {
    out.Truncate(0);
    if (format == generalFormat) return out.Append(text);
    const ScannedFormat* kept = FindScannedFormat(format);
    FormatSection parsed[FORMAT_SECTIONS];
    if (!kept) ParseFormatSections(format, parsed);
    const FormatSection* const chosen = TextSection(kept ? kept->sections : parsed);
    if (!chosen) return out.Append(text);
    const WideView section = chosen->text;
    bool good = true;
    for (std::size_t i = 0; good && i < section.size(); ++i) {
        switch (section[i]) {
            case u'"': good = CopyQuoted(section, i, out); break;
            case u'@': good = out.Append(text); break;
            case u'\\':
                if (++i < section.size()) good = out.Append(section[i]);
                break;
            case u'_':
                ++i;
                good = out.Append(u' ');
                break;
            case u'*': ++i; break;
            case u'[': i = std::max(BehindLiteral(section, i), i + 1) - 1; break;
            default: good = out.Append(section[i]); break;
        }
    }
    return good;
}

}  // namespace tally
