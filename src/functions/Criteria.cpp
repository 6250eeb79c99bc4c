#include "functions/Criteria.h"

#include <cmath>

#include "base/Text.h"
#include "formula/Coercion.h"

namespace tally {
namespace {

constexpr double NEAR = 1e-15;

bool EqualCharacters(char16_t a, char16_t b, bool caseSensitive) {
    return a == b || (!caseSensitive && FoldChar(a) == FoldChar(b));
}

// Whether a pattern character at `at` matches; `width` gets the characters of the pattern that it takes.
bool MatchOne(WideView pattern, std::size_t at, char16_t c, bool caseSensitive, std::size_t& width) {
    width = 1;
    if (pattern[at] == u'?') return true;
    if (pattern[at] == u'~' && at + 1 < pattern.size()) {
        const char16_t next = pattern[at + 1];
        if (next == u'*' || next == u'?' || next == u'~') {
            width = 2;
            return EqualCharacters(next, c, caseSensitive);
        }
    }
    return EqualCharacters(pattern[at], c, caseSensitive);
}

WideView TextOfScalar(const Value& value) {
    return value.type == VT_BOOL ? BoolText(value.boolean != 0) : ErrorText(value.error);
}

// How a rest of criteria text compares with a cell for "=" and for no operator.
bool EqualsRest(WideView rest, const Value& cell) {
    double a = 0, b = 0;
    switch (cell.type) {
        case VT_NUMBER: return TextToNumber(rest, a) && Near(a, cell.number);
        case VT_STRING:
            return WildcardMatch(rest, TextOf(cell), false) ||
                   (TextToNumber(rest, a) && TextToNumber(TextOf(cell), b) && Near(a, b));
        case VT_BOOL:
        case VT_ERROR: return EqualIgnoringCase(rest, TextOfScalar(cell));
        default: return false;
    }
}

bool DiffersFromRest(WideView rest, const Value& cell) {
    double a = 0, b = 0;
    switch (cell.type) {
        case VT_NUMBER: return !TextToNumber(rest, a) || !Near(a, cell.number);
        case VT_STRING:
            if (WildcardMatch(rest, TextOf(cell), false)) return false;
            return !(TextToNumber(rest, a) && TextToNumber(TextOf(cell), b)) || !Near(a, b);
        case VT_BOOL:
        case VT_ERROR: return !EqualIgnoringCase(rest, TextOfScalar(cell));
        default: return true;
    }
}

enum Order : i32 { ORDER_LESS, ORDER_LESS_EQUAL, ORDER_GREATER, ORDER_GREATER_EQUAL };

bool InOrder(Order order, double difference) {
    switch (order) {
        case ORDER_LESS: return difference < 0;
        case ORDER_LESS_EQUAL: return difference <= 0;
        case ORDER_GREATER: return difference > 0;
        default: return difference >= 0;
    }
}

bool IsPlainText(WideView text) {
    double number = 0;
    return !TextToNumber(text, number) && !EqualIgnoringCase(text, BoolText(false)) &&
           !EqualIgnoringCase(text, BoolText(true)) && ErrorFromText(text) < 0;
}

bool BoolInOrder(Order order, WideView rest, bool cell) {
    switch (order) {
        case ORDER_GREATER_EQUAL:
            return EqualIgnoringCase(rest, BoolText(false)) ||
                   (EqualIgnoringCase(rest, BoolText(true)) && cell);
        case ORDER_LESS_EQUAL:
            return EqualIgnoringCase(rest, BoolText(true)) ||
                   (EqualIgnoringCase(rest, BoolText(false)) && !cell);
        case ORDER_GREATER: return EqualIgnoringCase(rest, BoolText(false)) && cell;
        default: return EqualIgnoringCase(rest, BoolText(true)) && !cell;
    }
}

bool OrderMatch(Order order, WideView rest, const Value& cell) {
    double number = 0;
    switch (cell.type) {
        case VT_NUMBER: return TextToNumber(rest, number) && InOrder(order, cell.number - number);
        case VT_STRING: return IsPlainText(rest) && InOrder(order, CompareIgnoringCase(TextOf(cell), rest));
        case VT_BOOL: return BoolInOrder(order, rest, cell.boolean != 0);
        default: return false;
    }
}

bool TextCriteria(WideView c, const Value& cell) {
    if (c.empty() || (c[0] != u'=' && c[0] != u'<' && c[0] != u'>')) {
        if (cell.type == VT_EMPTY) return c.empty();
        return !c.empty() && EqualsRest(c, cell);
    }
    const char16_t second = c.size() > 1 ? c[1] : u'\0';
    if (c[0] == u'=') {
        if (cell.type == VT_EMPTY) return c.size() == 1;
        return c.size() >= 2 && EqualsRest(c.substr(1), cell);
    }
    if (c[0] == u'<' && second == u'>') {
        if (cell.type == VT_EMPTY) return c.size() != 2;
        return c.size() < 3 || DiffersFromRest(c.substr(2), cell);
    }
    if (second == u'=') {
        return c.size() > 2 &&
               OrderMatch(c[0] == u'<' ? ORDER_LESS_EQUAL : ORDER_GREATER_EQUAL, c.substr(2), cell);
    }
    return c.size() > 1 && OrderMatch(c[0] == u'<' ? ORDER_LESS : ORDER_GREATER, c.substr(1), cell);
}

}  // namespace

bool Near(double a, double b) { return std::fabs(a - b) <= std::fmin(std::fabs(a), std::fabs(b)) * NEAR; }

bool WildcardMatch(WideView pattern, WideView text, bool caseSensitive) {
    std::size_t p = 0, t = 0;
    // Where the last "*" let the match go on, so that a mismatch goes back there only.
    std::size_t starPattern = WideView::npos, starText = 0;
    while (t < text.size()) {
        std::size_t width = 1;
        if (p < pattern.size() && pattern[p] == u'*') {
            starPattern = ++p;
            starText = t;
        } else if (p < pattern.size() && MatchOne(pattern, p, text[t], caseSensitive, width)) {
            p += width;
            ++t;
        } else if (starPattern != WideView::npos) {
            p = starPattern;
            t = ++starText;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == u'*') ++p;
    return p == pattern.size();
}

bool CriteriaMatch(const Value& criteria, const Value& cell, const EvalContext& context) {
    switch (criteria.type) {
        case VT_EMPTY: return cell.type == VT_NUMBER && cell.number == 0;
        case VT_NUMBER: {
            if (cell.type == VT_NUMBER) return Near(cell.number, criteria.number);
            double number = 0;
            return cell.type == VT_STRING && TextToNumber(TextOf(cell), number) &&
                   Near(number, criteria.number);
        }
        case VT_BOOL: return cell.type == VT_BOOL && (cell.boolean != 0) == (criteria.boolean != 0);
        case VT_ERROR: return cell.type == VT_ERROR && cell.error == criteria.error;
        case VT_STRING: return TextCriteria(TextOf(criteria), cell);
        default: IgnoreFailure(context); return false;
    }
}

}  // namespace tally
