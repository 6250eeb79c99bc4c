#include "functions/FormatCode.h"

#include <algorithm>

#include "base/Number.h"
#include "base/Text.h"
#include "display/FormatSections.h"
#include "display/LocaleSettings.h"

namespace tally {
namespace {

// What a section is seen to hold.
struct Marks {
    bool digits = false;
    bool currency = false;
    bool percent = false;
    bool exponent = false;
    bool fraction = false;
    bool day = false;
    bool month = false;  // or minutes: the hours beside it tell
    bool hour = false;
    bool general = false;
    bool behindPoint = false;
    u8 decimals = 0;
};

bool IsCurrencySymbol(WideView text, std::size_t at) {
    const WideView own = Locale().currencySymbol;
    if (!own.empty() && text.substr(at, own.size()) == own) return true;
    return WideView(u"$¥£€￥").find(text[at]) != WideView::npos;
}

// "[h]" and its like are times, "[$...]" names a currency unless only a language follows.
void MarkBracket(WideView inside, Marks& marks) {
    if (inside.empty()) return;
    const char16_t c = AsciiLower(inside[0]);
    const bool one = inside.find_first_not_of(inside[0]) == WideView::npos;
    if (one && (c == u'h' || c == u'm' || c == u's')) marks.hour = true;
    if (c == u'$' && inside.size() > 1 && inside[1] != u'-') marks.currency = true;
}

// One plain character, and what follows it if they belong together; the position behind.
std::size_t MarkPlain(WideView text, std::size_t at, Marks& marks) {
    const WideView rest = text.substr(at);
    for (WideView word : {WideView(u"AM/PM"), WideView(u"A/P")}) {
        if (!StartsWithIgnoringCase(rest, word)) continue;
        marks.hour = true;
        return at + word.size();
    }
    if (StartsWithIgnoringCase(rest, u"General")) {
        marks.general = true;
        return at + 7;
    }
    const char16_t c = AsciiLower(rest[0]);
    const bool isDigit = c == u'0' || c == u'#' || c == u'?';
    if (isDigit && marks.behindPoint && marks.decimals < 99) ++marks.decimals;
    if (!isDigit) marks.behindPoint = c == u'.' && !marks.exponent;
    marks.digits = marks.digits || isDigit;
    marks.percent = marks.percent || c == u'%';
    marks.exponent = marks.exponent || (c == u'e' && rest.size() > 1 && (rest[1] == u'+' || rest[1] == u'-'));
    marks.fraction = marks.fraction || (c == u'/' && marks.digits);
    marks.day = marks.day || c == u'd' || c == u'y';
    marks.month = marks.month || c == u'm';
    marks.hour = marks.hour || c == u'h' || c == u's';
    marks.currency = marks.currency || IsCurrencySymbol(text, at);
    return at + 1;
}

void MarkSection(WideView text, Marks& marks) {
    for (std::size_t i = 0; i < text.size();) {
        const char16_t c = text[i];
        if (c == u'"') {
            const std::size_t close = std::min(text.find(u'"', i + 1), text.size());
            for (++i; i < close; ++i) marks.currency = marks.currency || IsCurrencySymbol(text, i);
            i = close + 1;
        } else if (c == u'[') {
            const std::size_t close = std::min(text.find(u']', i), text.size());
            MarkBracket(text.substr(i + 1, close - i - 1), marks);
            i = close + 1;
        } else if (c == u'\\') {
            if (i + 1 < text.size()) marks.currency = marks.currency || IsCurrencySymbol(text, i + 1);
            i += 2;
        } else if (c == u'_' || c == u'*') {
            i += 2;
        } else {
            i = MarkPlain(text, i, marks);
        }
    }
}

FormatCodeKind KindOf(const Marks& marks) {
    if (marks.general) return FORMAT_KIND_GENERAL;
    if (marks.day || (marks.month && !marks.hour)) return FORMAT_KIND_DATE;
    if (marks.hour) return FORMAT_KIND_TIME;
    if (!marks.digits) return FORMAT_KIND_GENERAL;
    if (marks.percent) return FORMAT_KIND_PERCENT;
    if (marks.exponent || marks.fraction) return FORMAT_KIND_SCIENTIFIC;
    return marks.currency ? FORMAT_KIND_CURRENCY : FORMAT_KIND_NUMBER;
}

}  // namespace

FormatClass ClassifyFormat(WideView format) {
    FormatSection sections[FORMAT_SECTIONS];
    ParseFormatSections(format, sections);
    Marks marks;
    MarkSection(sections[0].text, marks);
    return {KindOf(marks), marks.decimals};
}

bool AppendFormatCode(WideView format, u16 id, WideText& out) {
    const FormatClass found = ClassifyFormat(format);
    char16_t letter = u'G';
    switch (found.kind) {
        case FORMAT_KIND_GENERAL: return out.Append(u'G');
        case FORMAT_KIND_DATE: return out.Append(u"D4");
        case FORMAT_KIND_TIME:
            return out.Append(id == 18 ? u"D7" : id == 19 ? u"D6" : id == 20 ? u"D9" : u"D8");
        case FORMAT_KIND_NUMBER: letter = u'F'; break;
        case FORMAT_KIND_CURRENCY: letter = u'C'; break;
        case FORMAT_KIND_SCIENTIFIC: letter = u'S'; break;
        case FORMAT_KIND_PERCENT: letter = u'P'; break;
    }
    return out.Append(letter) && AppendInteger(out, found.decimals);
}

}  // namespace tally
