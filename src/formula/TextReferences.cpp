#include "formula/TextReferences.h"

#include <algorithm>

#include "base/Text.h"
#include "formula/FormulaScanner.h"
#include "formula/FormulaText.h"
#include "formula/FormulaTypes.h"

namespace tally {
namespace {

// Characters that identifiers, numbers and references are made of.
bool IsWordChar(char16_t c) {
    return IsAsciiLetter(c) || IsAsciiDigit(c) || c > 127 || WideView(u"_\\.?$!").find(c) != WideView::npos;
}

i32 SkipWord(WideView text, i32 at) {
    const i32 end = static_cast<i32>(text.size());
    while (at < end && IsWordChar(text[static_cast<std::size_t>(at)])) ++at;
    return at;
}

i32 OwnSheetOf(const FormulaPlace& place, const RefPrefix& prefix) {
    if (prefix.kind == PREFIX_NONE) return place.sheet;
    return prefix.kind == PREFIX_OWN && prefix.firstSheet == prefix.lastSheet ? prefix.firstSheet : -1;
}

// The operand at a place: `found` when it is a reference. Returns the place behind it.
i32 ReadOperand(const FormulaPlace& place, WideView text, i32 at, TextReference& reference, bool& found) {
    const i32 end = static_cast<i32>(text.size());
    RefPrefix prefix;
    ScanPrefix(place, text, at, end, false, prefix);
    u8 nibble = 0;
    const i32 behind = prefix.kind == PREFIX_INVALID
                           ? NO_POSITION
                           : ParseReference(place, text, at, end, nullptr, reference.area, nibble);
    found = behind > at;
    // A quote that is never closed takes all that follows.
    if (!found && prefix.kind == PREFIX_NONE && CharAt(text, at, end) == u'\'') return end;
    if (!found) return std::max({prefix.behind, SkipWord(text, prefix.behind), at + 1});
    reference.start = at;
    reference.end = behind;
    reference.cells = prefix.behind;
    reference.sheet = OwnSheetOf(place, prefix);
    return behind;
}

// One corner without its "$": letters and digits.
struct CornerText {
    WideView letters, digits;
    bool columnAbsolute = false, rowAbsolute = false;
};

CornerText ReadCorner(WideView text) {
    CornerText corner;
    std::size_t at = 0;
    const auto dollar = [&] { return at < text.size() && text[at] == u'$' && ++at; };
    const bool first = dollar();
    std::size_t from = at;
    while (at < text.size() && IsAsciiLetter(text[at])) ++at;
    corner.letters = text.substr(from, at - from);
    corner.columnAbsolute = first && !corner.letters.empty();
    corner.rowAbsolute = corner.letters.empty() ? first : dollar();
    corner.digits = text.substr(at);
    return corner;
}

bool AppendCorner(WideView text, ReferenceForm form, WideText& out) {
    const CornerText corner = ReadCorner(text);
    const bool column = form == FORM_ABSOLUTE || form == FORM_COLUMN_ABSOLUTE;
    const bool row = form == FORM_ABSOLUTE || form == FORM_ROW_ABSOLUTE;
    return (!column || corner.letters.empty() || out.Append(u'$')) && out.Append(corner.letters) &&
           (!row || corner.digits.empty() || out.Append(u'$')) && out.Append(corner.digits);
}

bool IsReferenceText(WideView text, bool useA1) {
    FormulaPlace place;
    place.useA1 = useA1;
    RefArea area;
    u8 nibble = 0;
    const i32 length = static_cast<i32>(text.size());
    return ParseReference(place, text, 0, length, nullptr, area, nibble) == length;
}

}  // namespace

bool FindTextReferences(const FormulaPlace& place, WideView text, Array<TextReference>& out) {
    const i32 end = static_cast<i32>(std::min<std::size_t>(text.size(), MAX_FORMULA_TEXT));
    text = text.substr(0, static_cast<std::size_t>(end));
    out.Truncate(0);
    for (i32 at = 0; at < end;) {
        const char16_t c = text[static_cast<std::size_t>(at)];
        if (c == u'"') {
            at = std::max(ScanString(text, at, end), at + 1);
        } else if (c == u'{') {
            // Constants alone stand in an array.
            const std::size_t close = text.find(u'}', static_cast<std::size_t>(at));
            at = close == WideView::npos ? end : static_cast<i32>(close) + 1;
        } else if (IsWordChar(c) || c == u'\'' || c == u'[') {
            TextReference reference;
            bool found = false;
            at = ReadOperand(place, text, at, reference, found);
            if (found && !out.Append(reference)) return false;
        } else {
            ++at;
        }
    }
    return true;
}

ReferenceForm FormOfReference(WideView cells) {
    const CornerText corner = ReadCorner(cells.substr(0, cells.find(u':')));
    if (corner.letters.empty()) return corner.rowAbsolute ? FORM_ABSOLUTE : FORM_RELATIVE;
    if (corner.digits.empty()) return corner.columnAbsolute ? FORM_ABSOLUTE : FORM_RELATIVE;
    if (corner.columnAbsolute) return corner.rowAbsolute ? FORM_ABSOLUTE : FORM_COLUMN_ABSOLUTE;
    return corner.rowAbsolute ? FORM_ROW_ABSOLUTE : FORM_RELATIVE;
}

bool AppendInForm(WideView cells, ReferenceForm form, WideText& out) {
    const std::size_t colon = cells.find(u':');
    if (!AppendCorner(cells.substr(0, colon), form, out)) return false;
    return colon == WideView::npos || (out.Append(u':') && AppendCorner(cells.substr(colon + 1), form, out));
}

bool WithSheetNames(const FormulaPlace& place, WideView text, WideText& out) {
    Array<TextReference> references;
    WideText prefix;
    if (!FindTextReferences(place, text, references) ||
        !AreaToText(place.book, place.sheet, RefArea{}, AREA_USE_A1 | AREA_WITH_SHEET, 0, 0, prefix))
        return false;
    const WideView name = prefix.View().substr(0, prefix.View().rfind(u'!') + 1);
    out.Truncate(0);
    std::size_t at = 0;
    for (const TextReference& reference : references) {
        if (reference.cells != reference.start) continue;
        const auto start = static_cast<std::size_t>(reference.start);
        if (!out.Append(text.substr(at, start - at)) || !out.Append(name)) return false;
        at = start;
    }
    return out.Append(text.substr(at));
}

bool IsNameText(WideView text) {
    const FormulaPlace place;
    NameParts parts;
    const i32 length = static_cast<i32>(text.size());
    if (text.empty() || text.size() > 255 || !ScanName(place, text, 0, length, parts)) return false;
    if (parts.prefix.kind != PREFIX_NONE || parts.behind != length) return false;
    for (const bool truth : {false, true})
        if (EqualIgnoringCase(text, BoolText(truth))) return false;
    return !IsReferenceText(text, true) && !IsReferenceText(text, false);
}

}  // namespace tally
