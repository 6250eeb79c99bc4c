#include "formula/FormulaScanner.h"

#include <cmath>

#include "base/Text.h"
#include "display/EntryScanners.h"
#include "display/LocaleSettings.h"

namespace tally {
namespace {

i32 ScanDigits(WideView text, i32 at, i32 end) {
    while (IsAsciiDigit(CharAt(text, at, end))) ++at;
    return at;
}

// The position behind an exponent, or `at` when none stands there.
i32 ScanExponent(WideView text, i32 at, i32 end) {
    i32 p = SkipBlanks(text, at, end);
    if (AsciiUpper(CharAt(text, p, end)) != u'E') return at;
    p = SkipBlanks(text, p + 1, end);
    const char16_t sign = CharAt(text, p, end);
    if (sign == u'+' || sign == u'-') p = SkipBlanks(text, p + 1, end);
    const i32 behind = ScanDigits(text, p, end);
    return behind > p ? behind : at;
}

WideView Span(WideView text, i32 start, i32 stop) {
    return text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(stop - start));
}

}  // namespace

char16_t ListSeparator() { return Locale().listSeparator; }

bool IsOperatorChar(char16_t c) {
    switch (c) {
        case u'&':
        case u'*':
        case u'^':
        case u':':
        case u'=':
        case u'>':
        case u'<':
        case u'-':
        case u'%':
        case u'+':
        case u'/': return true;
        default: return c == ListSeparator();
    }
}

bool CanStartOperand(char16_t c) { return c && c != u')' && c != u',' && c != u' ' && !IsOperatorChar(c); }

i32 OperatorLength(WideView text, i32 at, i32 end) {
    const char16_t c = CharAt(text, at, end);
    const char16_t next = CharAt(text, at + 1, end);
    if (c == u'>') return next == u'=' ? 2 : 1;
    if (c == u'<') return next == u'=' || next == u'>' ? 2 : 1;
    return c != u'%' && IsOperatorChar(c) ? 1 : 0;
}

i32 ScanNumber(WideView text, i32 at, i32 end) {
    const i32 start = at;
    i32 p = ScanDigits(text, at, end);
    if (CharAt(text, p, end) == Locale().decimalSeparator) {
        const i32 behind = ScanDigits(text, p + 1, end);
        if (p == at && behind == p + 1) return NO_POSITION;
        p = behind;
    }
    p = ScanExponent(text, p, end);
    double value = 0;
    if (!ParseNumber(text, static_cast<std::size_t>(start), static_cast<std::size_t>(p), value, false))
        return NO_POSITION;
    return p;
}

bool StartsNumber(WideView text, i32 at, i32 end) {
    const char16_t c = CharAt(text, at, end);
    if (c == Locale().decimalSeparator) return true;
    return IsAsciiDigit(c) && CharAt(text, ScanDigits(text, at, end), end) != u':';
}

i32 ScanString(WideView text, i32 at, i32 end) {
    for (i32 p = at + 1; p < end; ++p) {
        if (CharAt(text, p, end) != u'"') continue;
        if (CharAt(text, p + 1, end) != u'"') return p + 1;
        ++p;
    }
    return end;
}

i32 MatchingParenthesis(WideView text, i32 at, i32 end) {
    i32 depth = 0;
    for (i32 p = at; p < end; ++p) {
        const char16_t c = CharAt(text, p, end);
        if (c == u'(') ++depth;
        if (c == u')' && --depth == 0) return p;
    }
    return NO_POSITION;
}

i32 ScanError(WideView text, i32 at, i32 end, i32& behind) {
    if (CharAt(text, at, end) != u'#') return -1;
    for (i32 error = 0; error < ERROR_COUNT; ++error) {
        const WideView word = ErrorText(error);
        if (!StartsWithIgnoringCase(Span(text, at, end), word)) continue;
        behind = at + static_cast<i32>(word.size());
        return error;
    }
    return -1;
}

char16_t ArrayColumnSeparator() { return ListSeparator() == u',' ? u',' : u'\\'; }

bool ScanArrayElement(WideView text, i32 at, i32 end, ArrayElement& element) {
    element.start = SkipBlanks(text, at, end);
    i32 p = element.start;
    if (CharAt(text, p, end) == u'"') {
        p = ScanString(text, p, end);
        element.stop = p;
        p = SkipBlanks(text, p, end);
    } else {
        while (p < end) {
            const char16_t c = CharAt(text, p, end);
            if (c == ArrayColumnSeparator() || c == u';' || c == u'}' || c == u'{' || c == u'"') break;
            ++p;
        }
        element.stop = p;
        while (element.stop > element.start && CharAt(text, element.stop - 1, end) == u' ') --element.stop;
    }
    element.separator = p;
    const char16_t c = CharAt(text, p, end);
    return element.stop > element.start && (c == ArrayColumnSeparator() || c == u';' || c == u'}');
}

bool ParseConstant(WideView text, i32 start, i32 stop, Value& value) {
    const WideView span = Span(text, start, stop);
    for (i32 truth = 0; truth < 2; ++truth) {
        if (EqualIgnoringCase(span, BoolText(truth != 0))) {
            value = BoolValue(truth != 0);
            return true;
        }
    }
    i32 behind = 0;
    const i32 error = ScanError(text, start, stop, behind);
    if (error >= 0 && behind == stop) {
        value = ErrorValue(error);
        return true;
    }
    double number = 0;
    if (ParseNumber(span, 0, span.size(), number, false)) {
        value = NumberValue(number);
        return true;
    }
    // Only the outer pair of quotes goes: what stands between is printed back as it is.
    const bool quoted = span.size() >= 2 && span.front() == u'"' && span.back() == u'"';
    value = TextValue(quoted ? span.substr(1, span.size() - 2) : span);
    return value.type == VT_STRING;
}

}  // namespace tally
