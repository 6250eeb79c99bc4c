#include "editing/RuleFormulas.h"

#include <cmath>

#include "base/Memory.h"
#include "base/MessageTable.h"
#include "display/LocaleSettings.h"
#include "editing/EntryRecognition.h"
#include "formula/Coercion.h"
#include "formula/Evaluator.h"
#include "formula/FormulaText.h"
#include "formula/TokenWalk.h"

namespace tally {
namespace {

constexpr std::size_t MOST_CHARACTERS = 255;  // of a text in a formula
constexpr u16 FORMAT_SHORT_DATE = 14, FORMAT_LONG_TIME = 21;

FormulaPlace RulePlace(const FormulaPlace& place) {
    FormulaPlace rule = place;
    rule.useA1 = rule.relativeForm = true;
    rule.arrayMode = false;
    return rule;
}

bool IsBlankText(WideView text) { return text.find_first_not_of(u' ') == WideView::npos; }

// What was meant as a formula and is none.
bool IsFailedFormula(WideView text) {
    return text.size() > 1 && WideView(u"=-+").find(text.front()) != WideView::npos;
}

// 0 or the message of a fault, told from one of the memory.
u16 Compile(const FormulaPlace& place, WideView text, char letter, u16 fault, FormulaTokens& out) {
    const u64 failures = FailedAllocations();
    if (CompileFormula(place, text, letter, out)) return 0;
    return FailedAllocations() == failures ? fault : RULE_NO_MEMORY;
}

bool MakeNumber(double number, FormulaTokens& out) {
    u8 bytes[9] = {ptgInt};
    const bool small = number >= 0 && number <= 0xFFFF && number == std::trunc(number) && !std::signbit(number);
    if (small) {
        PutU16(bytes + 1, static_cast<u32>(number));
        return MakeTokens(out, {bytes, 3}, {});
    }
    bytes[0] = ptgNum;
    PutF64(bytes + 1, number);
    return MakeTokens(out, {bytes, 9}, {});
}

// At most MOST_CHARACTERS, one byte each where that is enough.
bool MakeText(WideView text, FormulaTokens& out) {
    bool wide = false;
    for (const char16_t c : text) wide = wide || c > 0xFF;
    const std::size_t size = wide ? 2 : 1;
    if (!MakeTokens(out, static_cast<u16>(3 + text.size() * size), 0)) return false;
    out.bytes[0] = ptgStr;
    out.bytes[1] = static_cast<u8>(text.size());
    out.bytes[2] = wide;
    for (std::size_t i = 0; i < text.size(); ++i) {
        out.bytes[3 + i * size] = static_cast<u8>(text[i] & 0xFF);
        if (wide) out.bytes[4 + i * size] = static_cast<u8>(text[i] >> 8);
    }
    return true;
}

u16 MakeConstant(bool made) { return made ? u16{0} : RULE_NO_MEMORY; }

// The area that a text names as a list. 0, the message of its shape, or `MSG_RULE_NEEDS_LIST` when it names
// none.
u16 ReadReference(const FormulaPlace& place, WideView text, FormulaTokens& out) {
    if (const u16 fault = Compile(place, text, 'R', MSG_RULE_NEEDS_LIST, out)) return fault;
    const EvalContext context{place.book, place.sheet, place.row, place.column, 0};
    Value value;
    SheetArea area;
    i32 error = 0;
    const bool found = EvaluateFormula(out, value, context) && ResolveSingleArea(value, context, area, error);
    FreeValue(value);
    if (!found) {
        FreeTokens(out);
        return MSG_RULE_NEEDS_LIST;
    }
    if (area.area.firstRow == area.area.lastRow || area.area.firstColumn == area.area.lastColumn) return 0;
    FreeTokens(out);
    return MSG_RULE_SINGLE_LINE;
}

// Items as they are typed, a zero character between them instead of the separator.
u16 MakeItems(WideView text, FormulaTokens& out) {
    if (text.size() > MOST_CHARACTERS || IsBlankText(text)) return MSG_RULE_NEEDS_LIST;
    char16_t items[MOST_CHARACTERS];
    for (std::size_t i = 0; i < text.size(); ++i)
        items[i] = text[i] == Locale().listSeparator ? u'\0' : text[i];
    return MakeConstant(MakeText({items, text.size()}, out));
}

// ---- back to text -----------------------------------------------------------------------------------------

// The number or the text that is the whole of a formula; empty for any other.
bool ConstantOf(const FormulaPlace& place, const FormulaTokens& tokens, Value& value) {
    const u8 first = tokens.bytes[0];
    const bool constant = (first == ptgInt && tokens.length == 3) || (first == ptgNum && tokens.length == 9) ||
                          (first == ptgStr && tokens.length >= 3 &&
                           tokens.length == 3u + tokens.bytes[1] * (tokens.bytes[2] & 1 ? 2u : 1u));
    return constant && EvaluateFormula(tokens, value, {place.book, place.sheet, place.row, place.column, 0});
}

bool NumberBox(const FormulaPlace& place, const Value& value, RuleShow show, WideText& out) {
    // A time shows as one while it is within a day, a date as one while there are dates.
    if (show == SHOW_DATE && value.number >= 1) return EditableText(place.book, value, FORMAT_SHORT_DATE, out);
    if (show == SHOW_TIME && value.number >= 0 && value.number < 1)
        return EditableText(place.book, value, FORMAT_LONG_TIME, out);
    return EditableText(place.book, value, 0, out);
}

bool ItemsBox(WideView items, WideText& out) {
    for (const char16_t c : items)
        if (!out.Append(c ? c : Locale().listSeparator)) return false;
    return true;
}

bool ReadsAsText(const FormulaPlace& place, WideView text) {
    EntryResult ignored;
    return !IsBlankText(text) && !IsFailedFormula(text) && ClassifyEntry(place, text, ignored) == ENTRY_TEXT;
}

}  // namespace

u16 ReadRuleLimit(const FormulaPlace& at, WideView text, FormulaTokens& out) {
    const FormulaPlace place = RulePlace(at);
    if (IsBlankText(text)) return MSG_RULE_LIMIT_MISSING;
    EntryResult entry;
    switch (ClassifyEntry(place, text, entry)) {
        case ENTRY_FORMULA: return Compile(place, text, 'V', MSG_RULE_NEEDS_NUMBER, out);
        case ENTRY_NUMBER: return MakeConstant(MakeNumber(entry.number, out));
        default: return MSG_RULE_NEEDS_NUMBER;
    }
}

u16 ReadRuleList(const FormulaPlace& at, WideView text, FormulaTokens& out, bool& literal) {
    const FormulaPlace place = RulePlace(at);
    literal = false;
    while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
    const bool formula = !text.empty() && text.front() == u'=';
    // A bare text counts as a reference when it is one as it stands; names want the "=".
    RefArea area;
    u8 nibble = 0;
    const auto end = static_cast<i32>(text.size());
    if (formula || ParseReference(place, text, 0, end, nullptr, area, nibble) == end)
        return ReadReference(place, text, out);
    literal = true;
    return MakeItems(text, out);
}

u16 ReadRuleTest(const FormulaPlace& at, WideView text, FormulaTokens& out) {
    return IsBlankText(text) ? u16{MSG_RULE_NEEDS_FORMULA}
                             : Compile(RulePlace(at), text, 'V', MSG_RULE_NEEDS_FORMULA, out);
}

u16 ReadConditionValue(const FormulaPlace& at, WideView text, FormulaTokens& out) {
    const FormulaPlace place = RulePlace(at);
    if (IsBlankText(text)) return MSG_RULE_LIMIT_MISSING;
    EntryResult entry;
    switch (ClassifyEntry(place, text, entry)) {
        case ENTRY_NUMBER: return MakeConstant(MakeNumber(entry.number, out));
        case ENTRY_TEXT:
            if (IsFailedFormula(text) || text.size() > MOST_CHARACTERS) return MSG_FORMULA_ERROR;
            return MakeConstant(MakeText(text, out));
        default: return Compile(place, text, 'V', MSG_FORMULA_ERROR, out);
    }
}

bool RuleFormulaText(const FormulaPlace& at, const FormulaTokens& tokens, RuleShow show, WideText& out) {
    out.Truncate(0);
    if (!HasFormula(tokens) || !tokens.length) return true;
    const FormulaPlace place = RulePlace(at);
    Value value;
    if (ConstantOf(place, tokens, value)) {
        bool shown = false, good = true;
        if (value.type == VT_NUMBER) {
            shown = true;
            good = NumberBox(place, value, show, out);
        } else if (value.type == VT_STRING && (show == SHOW_ITEMS || ReadsAsText(place, TextOf(value)))) {
            shown = true;
            good = ItemsBox(TextOf(value), out);
        }
        FreeValue(value);
        if (shown || !good) return good;
    }
    return FormulaToText(place.book, tokens, place.row, place.column, true, out);
}

}  // namespace tally
