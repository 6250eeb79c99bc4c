#include "base/Text.h"
#include "formula/FormulaScanner.h"
#include "formula/Links.h"

namespace tally {
namespace {

// A macro function is not for worksheets.
constexpr u8 FIRST_MACRO_CATEGORY = CATEGORY_MACRO_CONTROL;

struct Check {
    const FormulaPlace& place;
    WideView text;
    i32 end;
    i32* resultFormat;
    bool onWorksheet;
    bool leadingSign;  // the text begins with a sign: an unknown name makes it no formula
    i32 depth = 0;

    char16_t At(i32 at) const { return CharAt(text, at, end); }
};

i32 CheckSpan(Check& c, i32 start, i32 end, bool unionAllowed);

// The position behind an array constant at `at`, or -1: all rows as long as the first.
i32 CheckArray(const Check& c, i32 at) {
    i32 columns = 0;
    i32 inRow = 0;
    for (i32 p = at + 1;;) {
        ArrayElement element;
        if (!ScanArrayElement(c.text, p, c.end, element)) return NO_POSITION;
        ++inRow;
        const char16_t separator = c.At(element.separator);
        p = element.separator + 1;
        if (separator != u';' && separator != u'}') continue;
        if (columns && inRow != columns) return NO_POSITION;
        columns = inRow;
        inRow = 0;
        if (columns > MAX_COLUMNS) return NO_POSITION;
        if (separator == u'}') return p;
    }
}

i32 CheckParentheses(Check& c, i32 at, i32 end) {
    const i32 close = MatchingParenthesis(c.text, at, end);
    if (close < 0 || ++c.depth > MAX_NESTING) return NO_POSITION;
    const i32 stop = CheckSpan(c, at + 1, close, true);
    --c.depth;
    return stop == close ? close + 1 : NO_POSITION;
}

bool RequiredRemains(std::string_view signature, std::size_t from) {
    for (std::size_t i = from; i < signature.size(); ++i) {
        if (signature[i] >= 'A' && signature[i] <= 'Z') return true;
    }
    return false;
}

// The argument list whose "(" stands at `open`; the position behind its ")", or -1.
i32 CheckArguments(Check& c, i32 open, i32 end, std::string_view signature) {
    if (++c.depth > MAX_NESTING) return NO_POSITION;
    i32 p = SkipBlanks(c.text, open + 1, end);
    std::size_t i = 0;
    for (; i < signature.size(); ++i) {
        if (c.At(p) == u')' && p < end && !RequiredRemains(signature, i)) break;
        if (i > 0) {
            if (p >= end || c.At(p) != ListSeparator()) return NO_POSITION;
            p = SkipBlanks(c.text, p + 1, end);
        }
        const bool isEmpty = p < end && (c.At(p) == ListSeparator() || c.At(p) == u')');
        if (isEmpty) {
            // Between separators any argument may be left empty; nothing at all is no argument.
            if (i == 0 && c.At(p) == u')' && RequiredRemains(signature, 0)) return NO_POSITION;
            continue;
        }
        p = CheckSpan(c, p, end, false);
        if (p < 0) return NO_POSITION;
    }
    --c.depth;
    return p < end && c.At(p) == u')' ? p + 1 : NO_POSITION;
}

bool IsKnownName(const Check& c, const NameParts& name) {
    if (name.prefix.kind != PREFIX_NONE) return true;
    for (i32 truth = 0; truth < 2; ++truth) {
        if (EqualIgnoringCase(name.identifier, BoolText(truth != 0))) return true;
    }
    const Workbook* book = BookAt(c.place.book);
    return book && (FindName(*book, name.identifier, 0) >= 0 ||
                    FindName(*book, name.identifier, static_cast<u16>(c.place.sheet + 1)) >= 0);
}

i32 CheckName(Check& c, i32 at, i32 end) {
    NameParts name;
    if (!ScanName(c.place, c.text, at, end, name)) return at;
    if (name.prefix.kind == PREFIX_BANG && c.onWorksheet) return at;
    if (!name.isCall) return c.leadingSign && !IsKnownName(c, name) ? at : name.behind;
    std::string_view signature = UNKNOWN_SIGNATURE;
    if (name.function >= 0) {
        const FunctionEntry& entry = FunctionTable[name.function];
        if (c.onWorksheet && entry.category >= FIRST_MACRO_CATEGORY && entry.category != CATEGORY_NONE)
            return NO_POSITION;
        if (c.resultFormat && *c.resultFormat == -1) *c.resultFormat = entry.proposedFormat;
        signature = entry.signature;
    }
    return CheckArguments(c, name.behind, end, signature);
}

// One operand without its signs: the position behind it, `at` when none stands there, -1 for a fault.
i32 CheckOperand(Check& c, i32 at, i32 end) {
    const char16_t first = CharAt(c.text, at, end);
    if (first == u'"') return ScanString(c.text, at, end);
    if (first == u'(') return CheckParentheses(c, at, end);
    if (first == u'{') return CheckArray(c, at);
    if (StartsNumber(c.text, at, end)) return ScanNumber(c.text, at, end);
    if (!CanStartOperand(first)) return at;
    RefArea area;
    u8 nibble = 0;
    const i32 reference = ParseReference(c.place, c.text, at, end, nullptr, area, nibble);
    if (reference >= 0) {
        if (first == u'!' && c.onWorksheet) return at;
        return CharAt(c.text, reference, end) == u'(' ? CheckArguments(c, reference, end, UNKNOWN_SIGNATURE)
                                                      : reference;
    }
    i32 behind = 0;
    if (ScanError(c.text, at, end, behind) >= 0) return behind;
    return CheckName(c, at, end);
}

// Behind an operand: the position of the next operand, or where the check stops with `stopped` set.
i32 CheckOperator(Check& c, i32 at, i32 end, bool unionAllowed, bool& stopped) {
    const i32 behind = SkipBlanks(c.text, at, end);
    bool blanks = behind > at;
    i32 p = behind;
    stopped = true;
    while (CharAt(c.text, p, end) == u'%') {
        const i32 next = SkipBlanks(c.text, p + 1, end);
        blanks = next > p + 1;
        p = next;
    }
    if (p >= end) return end;
    const char16_t operatorChar = CharAt(c.text, p, end);
    if (operatorChar == u')' || (operatorChar == ListSeparator() && !unionAllowed)) return p;
    const i32 length = OperatorLength(c.text, p, end);
    if (!length && !blanks) return p;
    stopped = false;
    return SkipBlanks(c.text, p + length, end);
}

i32 CheckSpan(Check& c, i32 start, i32 end, bool unionAllowed) {
    for (i32 p = SkipBlanks(c.text, start, end);;) {
        if (p >= end) return NO_POSITION;
        const char16_t first = CharAt(c.text, p, end);
        if (first == u'+' || first == u'-') {
            p = SkipBlanks(c.text, p + 1, end);
            unionAllowed = false;
            continue;
        }
        const i32 behind = CheckOperand(c, p, end);
        if (behind < 0) return NO_POSITION;
        if (behind == p) return p;
        bool stopped = false;
        p = CheckOperator(c, behind, end, unionAllowed, stopped);
        if (stopped) return p;
    }
}

Check MakeCheck(const FormulaPlace& place, WideView text, i32 end, i32* resultFormat) {
    const Sheet* sheet = SheetAt(place.book, place.sheet);
    const std::size_t first = text.find_first_not_of(u' ');
    const char16_t sign = first == WideView::npos ? u'\0' : text[first];
    return {place,
            text,
            end,
            resultFormat,
            !sheet || (sheet->kind & SHEET_WORKSHEET) != 0,
            sign == u'+' || sign == u'-'};
}

}  // namespace

i32 CheckFormulaSyntax(const FormulaPlace& place, WideView text, i32 start, i32 end, bool unionAllowed,
                       i32* resultFormat) {
    if (end > static_cast<i32>(text.size()) || end > MAX_FORMULA_TEXT) return NO_POSITION;
    Check check = MakeCheck(place, text, end, resultFormat);
    if (start == 0 && end > 1 && text[0] == u'=') start = 1;
    return CheckSpan(check, start, end, unionAllowed);
}

i32 SkipOperand(const FormulaPlace& place, WideView text, i32 start, i32 end) {
    if (end > static_cast<i32>(text.size()) || end > MAX_FORMULA_TEXT) return NO_POSITION;
    Check check = MakeCheck(place, text, end, nullptr);
    check.leadingSign = false;
    i32 p = SkipBlanks(text, start, end);
    while (CharAt(text, p, end) == u'+' || CharAt(text, p, end) == u'-') p = SkipBlanks(text, p + 1, end);
    const i32 behind = CheckOperand(check, p, end);
    return behind < 0 ? behind : SkipBlanks(text, behind, end);
}

}  // namespace tally
