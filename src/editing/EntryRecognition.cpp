#include "editing/EntryRecognition.h"

#include <cmath>

#include "base/Number.h"
#include "base/Text.h"
#include "display/DisplayText.h"
#include "display/EntryScanners.h"
#include "display/LocaleSettings.h"
#include "display/NumberFormatter.h"
#include "model/BookTable.h"
#include "model/Formats.h"

namespace tally {
namespace {

struct Entry {
    const FormulaPlace& place;
    WideView text;
    std::size_t first;  // first and last non-blank characters
    std::size_t last;
    EntryResult& result;
};

EntryKind Number(Entry& e, double value, i32 formatKind, i32 subKind) {
    e.result.number = value;
    e.result.formatKind = formatKind;
    e.result.subKind = subKind;
    return ENTRY_NUMBER;
}

i32 DecimalSubKind(const Entry& e) { return e.text.find(Locale().decimalSeparator) != WideView::npos ? 2 : 0; }

// Numbers, percents and mixed fractions, in the order in which they are tried.
bool TryNumber(Entry& e, EntryKind& kind) {
    double value = 0;
    i32 digits = 0;
    const std::size_t end = e.text.size();
    const bool percent = e.last > e.first && e.text[e.last] == u'%';
    if (ParseNumber(e.text, e.first, end, value, true)) {
        kind = Number(e, value, KIND_PLAIN, 0);
    } else if (percent && ParseNumber(e.text, e.first, e.last, value, true)) {
        kind = Number(e, value * 0.01, KIND_PERCENT, DecimalSubKind(e));
    } else if (ParseMixedFraction(e.text, e.first, end, value, digits)) {
        kind = Number(e, value, KIND_FRACTION, digits);
    } else if (percent && ParseMixedFraction(e.text, e.first, e.last, value, digits)) {
        kind = Number(e, value * 0.01, KIND_PERCENT, 2);
    } else {
        return false;
    }
    return true;
}

EntryKind CheckFormula(Entry& e, std::size_t start) {
    const i32 end = static_cast<i32>(e.text.size());
    return CheckFormulaSyntax(e.place, e.text, static_cast<i32>(start), end, true, &e.result.formatProposal) ==
                   end
               ? ENTRY_FORMULA
               : ENTRY_TEXT;
}

bool IsDate1904(const Entry& e) {
    const Workbook* book = BookAt(e.place.book);
    return book && book->date1904;
}

EntryKind ClassifyDigits(Entry& e) {
    EntryKind kind = ENTRY_TEXT;
    double value = 0;
    i32 id = 0;
    if (TryNumber(e, kind)) return kind;
    if (ParseDateEntry(e.text, IsDate1904(e), value, id)) return Number(e, value, KIND_DATE, id);
    if (ParseTimeEntry(e.text, value, id)) return Number(e, value, KIND_TIME, id);
    return ENTRY_TEXT;
}

EntryKind ClassifyOther(Entry& e) {
    for (i32 truth = 0; truth < 2; ++truth) {
        if (!EqualIgnoringCase(e.text, BoolText(truth != 0))) continue;
        e.result.boolean = truth;
        return ENTRY_BOOL;
    }
    const i32 error = e.text[0] == u'#' ? ErrorFromText(e.text) : -1;
    if (error >= 0) {
        e.result.error = error;
        return ENTRY_ERROR;
    }
    const WideView symbol = Locale().currencySymbol;
    double value = 0;
    i32 id = 0;
    if (!symbol.empty() && StartsWithIgnoringCase(e.text.substr(e.first), symbol)) {
        if (!ParseNumber(e.text, e.first + symbol.size(), e.text.size(), value, true)) return ENTRY_TEXT;
        return Number(e, value, KIND_CURRENCY, DecimalSubKind(e));
    }
    if (e.text[e.first] == u'(' && e.text[e.last] == u')') {
        return ParseNumber(e.text, e.first + 1, e.last, value, true) ? Number(e, -value, KIND_PLAIN, 0)
                                                                     : ENTRY_TEXT;
    }
    if (ParseDateEntry(e.text, IsDate1904(e), value, id)) return Number(e, value, KIND_DATE, id);
    return ENTRY_TEXT;
}

bool AppendDecimals(WideText& out, i32 places) {
    return places <= 0 ||
           (out.Append(u'.') && out.AppendRun(u'0', static_cast<std::size_t>(places < 30 ? places : 30)));
}

bool AppendSymbol(WideText& out) {
    const WideView symbol = Locale().currencySymbol;
    if (symbol == u"$") return out.Append(symbol);
    return out.Append(u'"') && out.Append(symbol) && out.Append(u'"');
}

bool BuildEntryFormat(const Workbook& book, i32 kind, i32 n, WideView custom, WideText& out) {
    const std::size_t marks = static_cast<std::size_t>(n > 0 && n < 30 ? n : 1);
    switch (kind) {
        case KIND_FIXED: return out.Append(u'0') && AppendDecimals(out, n);
        case KIND_CURRENCY: return AppendSymbol(out) && out.Append(u"#,##0") && AppendDecimals(out, n);
        case KIND_ACCOUNTING: return AppendSymbol(out) && out.Append(u"* #,##0") && AppendDecimals(out, n);
        case KIND_DATE:
            return out.Append(Locale().shortDateFormat) &&
                   (n == 0 || (out.Append(u' ') && out.Append(GetNumberFormatText(book, static_cast<u16>(n)))));
        case KIND_TIME: return out.Append(Locale().longTimeFormat);
        case KIND_PERCENT: return out.Append(u'0') && AppendDecimals(out, n) && out.Append(u'%');
        case KIND_FRACTION:
            return out.Append(u"# ") && out.AppendRun(u'?', marks) && out.Append(u'/') &&
                   out.AppendRun(u'?', marks);
        case KIND_SCIENTIFIC: return out.Append(u'0') && AppendDecimals(out, n) && out.Append(u"E+00");
        case KIND_TEXT: return out.Append(u'@');
        default: return out.Append(custom);
    }
}

// The position behind what a format shows as it stands: quoted text, a character behind "\\", "_" or
// "*", and a bracket other than [h], [m] and [s], such as a colour's. The same position when the
// character at it has a meaning.
std::size_t BehindLiteral(WideView format, std::size_t at) {
    switch (format[at]) {
        case u'"': {
            const std::size_t close = format.find(u'"', at + 1);
            return close == WideView::npos ? format.size() : close + 1;
        }
        case u'\\':
        case u'_':
        case u'*': return at + 2;
        case u'[': {
            const std::size_t close = format.find(u']', at);
            if (close == WideView::npos) return at + 1;
            return format.substr(at + 1, close - at - 1).find_first_not_of(u"hHmMsS") == WideView::npos
                       ? at + 1
                       : close + 1;
        }
        default: return at;
    }
}

// Whether one of some lower-case letters stands in a format with a meaning.
bool HoldsAny(WideView format, WideView letters) {
    for (std::size_t i = 0; i < format.size();) {
        const std::size_t behind = BehindLiteral(format, i);
        if (behind == i && letters.find(AsciiLower(format[i])) != WideView::npos) return true;
        i = behind == i ? i + 1 : behind;
    }
    return false;
}

constexpr double DAYS_PER_SECOND = 1.0 / 86400;

// The date or time of a number, when typing it again gives the number to the second; else nothing.
bool EditableMoment(double number, WideView format, bool date1904, WideText& out) {
    const bool isDate = HoldsAny(format, u"dy");
    if (number < 0 || (!isDate && (number >= 1 || !HoldsAny(format, u"hs")))) return true;
    WideText pattern;
    if (!pattern.Append(isDate ? Locale().shortDateFormat : Locale().longTimeFormat)) return false;
    if (isDate && number != std::trunc(number) &&
        (!pattern.Append(u' ') || !pattern.Append(Locale().longTimeFormat))) {
        return false;
    }
    if (!FormatNumber(number, pattern, nullptr, 0, date1904, nullptr, out)) return false;
    double again = 0;
    i32 id = 0;
    const bool read = isDate ? ParseDateEntry(out, date1904, again, id) : ParseTimeEntry(out, again, id);
    if (!read || std::fabs(again - number) > DAYS_PER_SECOND) out.Truncate(0);
    return true;
}

bool EditableNumber(const Workbook& book, double number, WideView format, WideText& out) {
    if (format != u"General") {
        if (HoldsAny(format, u"%")) return FormatGeneral(number * 100, 15, out) && out.Append(u'%');
        if (!EditableMoment(number, format, book.date1904 != 0, out)) return false;
        if (!out.IsEmpty()) return true;
    }
    return FormatGeneral(number, 15, out);
}

}  // namespace

EntryKind ClassifyEntry(const FormulaPlace& place, WideView text, EntryResult& result) {
    result = EntryResult();
    if (text.empty()) return ENTRY_EMPTY;
    Entry e{place, text, text.find_first_not_of(u' '), text.find_last_not_of(u' '), result};
    if (text[0] == u'=') {
        const std::size_t start = text.find_first_not_of(u' ', 1);
        return start == WideView::npos ? ENTRY_TEXT : CheckFormula(e, start);
    }
    if (e.first == WideView::npos) return ENTRY_TEXT;
    const char16_t c = text[e.first];
    if (c == u'+' || c == u'-') {
        EntryKind kind = ENTRY_TEXT;
        if (TryNumber(e, kind)) return kind;
        return CheckFormula(e, e.first);
    }
    return IsAsciiDigit(c) || c == Locale().decimalSeparator ? ClassifyDigits(e) : ClassifyOther(e);
}

bool FormatForEntry(i32 book, i32 formatKind, i32 subKind, WideView custom, u16& formatId) {
    formatId = 0;
    if (formatKind == KIND_PLAIN) return true;
    if (formatKind == KIND_TIME && subKind) {
        formatId = static_cast<u16>(subKind);
        return true;
    }
    WideText text;
    Workbook* workbook = BookAt(book);
    return workbook && BuildEntryFormat(*workbook, formatKind, subKind, custom, text) &&
           FindOrAddNumberFormat(*workbook, text, formatId);
}

bool EntryFormatText(i32 book, i32 formatKind, i32 subKind, WideView custom, WideText& out) {
    out.Truncate(0);
    const Workbook* workbook = BookAt(book);
    if (!workbook) return false;
    if (formatKind == KIND_PLAIN) return out.Append(u"General");
    if (formatKind == KIND_TIME && subKind)
        return out.Append(GetNumberFormatText(*workbook, static_cast<u16>(subKind)));
    return BuildEntryFormat(*workbook, formatKind, subKind, custom, out);
}

WideView WithoutOfferedPercent(WideView text) {
    const std::size_t sign = text.find_last_not_of(u' ');
    if (sign == WideView::npos || text[sign] != u'%') return text;
    double value = 0;
    i32 digits = 0;
    if (ParseNumber(text, 0, sign, value, true) || ParseMixedFraction(text, 0, sign, value, digits))
        return text;
    return text.substr(0, sign);
}

bool TakesProposedFormat(u16 current, i32 proposed) {
    return proposed > 0 && current != 2 && !(current >= 5 && current <= 8) &&
           !(current >= 14 && current <= 22) && current < 49;
}

bool ShowsDate(const Workbook& book, u16 numberFormat) {
    return HoldsAny(GetNumberFormatText(book, numberFormat), u"dy");
}

bool EditableText(i32 book, const Value& value, u16 numberFormat, WideText& out) {
    out.Truncate(0);
    const Workbook* workbook = BookAt(book);
    if (!workbook) return false;
    if (value.type != VT_NUMBER) return DisplayValue(*workbook, value, 0, out);
    return EditableNumber(*workbook, value.number, GetNumberFormatText(*workbook, numberFormat), out);
}

}  // namespace tally
