#include "formula/Precedents.h"

#include <algorithm>

#include "formula/Links.h"

namespace tally {
namespace {

constexpr u16 volatileFixed[] = {244, 74, 63, 221};      // INFO NOW RAND TODAY
constexpr u16 volatileVariable[] = {125, 148, 78, 344};  // CELL INDIRECT OFFSET SUBTOTAL

constexpr u16 FUNCTION_HYPERLINK = 359;

template <std::size_t N>
bool Holds(const u16 (&ids)[N], u16 id) {
    return std::find(std::begin(ids), std::end(ids), id) != std::end(ids);
}

bool IsVolatileCall(const FormulaTokens& tokens, u32 at) {
    const u8 folded = FoldToken(tokens.bytes[at]);
    if (folded == ptgFunc && at + 3 <= tokens.length)
        return Holds(volatileFixed, ReadU16(tokens.bytes + at + 1));
    if (folded == ptgFuncVar && at + 4 <= tokens.length)
        return Holds(volatileVariable, ReadU16(tokens.bytes + at + 2));
    return false;
}

bool IsHyperlinkCall(const FormulaTokens& tokens, u32 at) {
    return FoldToken(tokens.bytes[at]) == ptgFuncVar && at + 4 <= tokens.length &&
           ReadU16(tokens.bytes + at + 2) == FUNCTION_HYPERLINK;
}

RefArea Ordered(RefArea area) {
    if (area.firstRow > area.lastRow) std::swap(area.firstRow, area.lastRow);
    if (area.firstColumn > area.lastColumn) std::swap(area.firstColumn, area.lastColumn);
    return area;
}

}  // namespace

bool NextPrecedent(const FormulaTokens& tokens, u32& at, TokenPrecedent& out) {
    while (at < tokens.length) {
        const u32 here = at;
        at = NextToken(tokens.bytes, tokens.length, at) + 1;
        const u8 folded = FoldToken(tokens.bytes[here]);
        const bool outside = folded == ptgRef3d || folded == ptgArea3d;
        const bool oneCell = folded == ptgRef || folded == ptgRef3d;
        if (!outside && !oneCell && folded != ptgArea) continue;
        const u32 start = here + (outside ? 3 : 1);
        if (start + (oneCell ? 4 : 8) > tokens.length) return false;
        u8 nibble = 0;
        out.externIndex = outside ? ReadU16(tokens.bytes + here + 1) : -1;
        out.area = Ordered(oneCell ? ReadRefOperand(tokens.bytes + start, nibble)
                                   : ReadAreaOperand(tokens.bytes + start, nibble));
        return true;
    }
    return false;
}

bool TokensUseNames(const FormulaTokens& tokens) {
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        const u8 folded = FoldToken(tokens.bytes[at]);
        if (folded == ptgName || folded == ptgNameX) return true;
    }
    return false;
}

bool TokensAreVolatile(const FormulaTokens& tokens) {
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        if (IsVolatileCall(tokens, at)) return true;
    }
    return false;
}

TokenTraits ReadTokenTraits(const FormulaTokens& tokens) {
    TokenTraits traits;
    for (u32 at = 0; at < tokens.length; at = NextToken(tokens.bytes, tokens.length, at) + 1) {
        switch (FoldToken(tokens.bytes[at])) {
            case ptgRange: traits.alwaysCalculate = true; break;
            case ptgRefN:
            case ptgAreaN: traits.offsets = true; break;
            case ptgFunc:
            case ptgFuncVar:
                traits.alwaysCalculate |= IsVolatileCall(tokens, at);
                traits.hyperlink |= IsHyperlinkCall(tokens, at);
                break;
            default: break;
        }
    }
    return traits;
}

bool TokensAlwaysCalculate(const FormulaTokens& tokens) { return ReadTokenTraits(tokens).alwaysCalculate; }

bool ResolvePrecedent(i32 book, i32 sheet, i32 externIndex, PrecedentSheets& out) {
    if (externIndex < 0) {
        out = {book, sheet, sheet};
        return true;
    }
    ResolvedRef ref;
    ref.book = book;
    if (!ResolveOpenExternRef(externIndex, ref) || ref.firstSheet < 0 || ref.lastSheet < ref.firstSheet)
        return false;
    out = {ref.targetBook, ref.firstSheet, ref.lastSheet};
    return true;
}

}  // namespace tally
