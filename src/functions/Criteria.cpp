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

bool StartsWith(const Criteria& criteria, WideView text) {
    if (!criteria.hasWildcards) return StartsWithIgnoringCase(text, criteria.rest);
    for (std::size_t length = 0; length <= text.size(); ++length) {
        if (WildcardMatch(criteria.rest, text.substr(0, length), false)) return true;
    }
    return false;
}

// Whether the rest of a criteria text is what a text cell holds, by its characters or as a number.
bool EqualsText(const Criteria& criteria, WideView text) {
    if (criteria.isBool) return false;
    if (criteria.fromStart && StartsWith(criteria, text)) return true;
    if (criteria.hasWildcards ? WildcardMatch(criteria.rest, text, false)
                              : EqualIgnoringCase(criteria.rest, text))
        return true;
    double number = 0;
    return criteria.isNumber && TextToNumber(text, number) && Near(criteria.number, number);
}

bool EqualsRest(const Criteria& criteria, const Value& cell) {
    switch (cell.type) {
        case VT_NUMBER: return criteria.isNumber && Near(criteria.number, cell.number);
        case VT_STRING: return EqualsText(criteria, TextOf(cell));
        case VT_BOOL: return !criteria.noBooleans && EqualIgnoringCase(criteria.rest, TextOfScalar(cell));
        case VT_ERROR: return EqualIgnoringCase(criteria.rest, TextOfScalar(cell));
        default: return false;
    }
}

bool InOrder(CriteriaKind kind, double difference) {
    switch (kind) {
        case CRITERIA_LESS: return difference < 0;
        case CRITERIA_LESS_EQUAL: return difference <= 0;
        case CRITERIA_GREATER: return difference > 0;
        default: return difference >= 0;
    }
}

bool IsPlainText(WideView text) {
    return !EqualIgnoringCase(text, BoolText(false)) && !EqualIgnoringCase(text, BoolText(true)) &&
           ErrorFromText(text) < 0;
}

bool BoolInOrder(CriteriaKind kind, WideView rest, bool cell) {
    const bool isFalse = EqualIgnoringCase(rest, BoolText(false));
    const bool isTrue = EqualIgnoringCase(rest, BoolText(true));
    switch (kind) {
        case CRITERIA_GREATER_EQUAL: return isFalse || (isTrue && cell);
        case CRITERIA_LESS_EQUAL: return isTrue || (isFalse && !cell);
        case CRITERIA_GREATER: return isFalse && cell;
        default: return isTrue && !cell;
    }
}

bool OrderMatch(const Criteria& criteria, const Value& cell) {
    switch (cell.type) {
        case VT_NUMBER: return criteria.isNumber && InOrder(criteria.kind, cell.number - criteria.number);
        case VT_STRING:
            return criteria.isPlain && InOrder(criteria.kind, CompareIgnoringCase(TextOf(cell), criteria.rest));
        case VT_BOOL: return BoolInOrder(criteria.kind, criteria.rest, cell.boolean != 0);
        default: return false;
    }
}

// The operator in front of a criteria text; `rest` gets what stands behind it.
CriteriaKind OperatorOf(WideView text, WideView& rest) {
    struct Row {
        WideView sign;
        CriteriaKind kind;
    };
    constexpr Row operators[] = {
        {u"=", CRITERIA_EQUAL},       {u"<>", CRITERIA_DIFFERENT}, {u">=", CRITERIA_GREATER_EQUAL},
        {u"<=", CRITERIA_LESS_EQUAL}, {u">", CRITERIA_GREATER},    {u"<", CRITERIA_LESS},
    };
    for (const Row& row : operators) {
        if (!text.starts_with(row.sign)) continue;
        rest = text.substr(row.sign.size());
        return row.kind;
    }
    rest = text;
    return CRITERIA_EQUAL;
}

Criteria TakeTextCriteria(WideView text) {
    Criteria criteria;
    criteria.kind = OperatorOf(text, criteria.rest);
    if (text.empty()) {
        // Empty cells and empty texts.
        criteria.matchesEmpty = true;
        return criteria;
    }
    if (criteria.rest.empty()) {
        criteria.matchesEmpty = criteria.kind == CRITERIA_EQUAL;
        criteria.matchesFilled = criteria.kind == CRITERIA_DIFFERENT;
        criteria.kind = CRITERIA_NEVER;
        return criteria;
    }
    criteria.matchesEmpty = criteria.kind == CRITERIA_DIFFERENT;
    criteria.isNumber = TextToNumber(criteria.rest, criteria.number);
    criteria.isPlain = !criteria.isNumber && IsPlainText(criteria.rest);
    criteria.isBool =
        EqualIgnoringCase(criteria.rest, BoolText(false)) || EqualIgnoringCase(criteria.rest, BoolText(true));
    criteria.hasWildcards = criteria.rest.find_first_of(u"*?~") != WideView::npos;
    return criteria;
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

Criteria TakeCriteria(const Value& value) {
    Criteria criteria;
    switch (value.type) {
        case VT_EMPTY: criteria.kind = CRITERIA_ZERO; break;
        case VT_NUMBER:
            criteria.kind = CRITERIA_NUMBER;
            criteria.number = value.number;
            break;
        case VT_BOOL:
            criteria.kind = CRITERIA_BOOL;
            criteria.code = value.boolean != 0;
            break;
        case VT_ERROR:
            criteria.kind = CRITERIA_ERROR;
            criteria.code = value.error;
            break;
        case VT_STRING: return TakeTextCriteria(TextOf(value));
        default: break;
    }
    return criteria;
}

Criteria TakeDatabaseCriteria(const Value& value) {
    Criteria criteria = TakeCriteria(value);
    if (value.type != VT_STRING) return criteria;
    const WideView text = TextOf(value);
    criteria.isBool = false;
    criteria.noBooleans = true;
    criteria.fromStart = criteria.kind == CRITERIA_EQUAL && !text.starts_with(u'=');
    if (text.empty()) criteria.matchesEmpty = false;
    return criteria;
}

bool Matches(const Criteria& criteria, const Value& cell) {
    if (cell.type == VT_EMPTY) return criteria.matchesEmpty;
    double number = 0;
    switch (criteria.kind) {
        case CRITERIA_NEVER: return criteria.matchesFilled;
        case CRITERIA_ZERO: return cell.type == VT_NUMBER && cell.number == 0;
        case CRITERIA_NUMBER:
            if (cell.type == VT_NUMBER) return Near(cell.number, criteria.number);
            return cell.type == VT_STRING && TextToNumber(TextOf(cell), number) &&
                   Near(number, criteria.number);
        case CRITERIA_BOOL: return cell.type == VT_BOOL && (cell.boolean != 0) == (criteria.code != 0);
        case CRITERIA_ERROR: return cell.type == VT_ERROR && cell.error == criteria.code;
        case CRITERIA_EQUAL: return EqualsRest(criteria, cell);
        case CRITERIA_DIFFERENT: return !EqualsRest(criteria, cell);
        default: return OrderMatch(criteria, cell);
    }
}

bool CriteriaMatch(const Value& criteria, const Value& cell) { return Matches(TakeCriteria(criteria), cell); }

}  // namespace tally
