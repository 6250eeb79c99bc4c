#include "formula/Precedents.h"

#include <algorithm>

#include "formula/DataTables.h"
#include "formula/FormulaTypes.h"
#include "formula/Links.h"
#include "model/AreaList.h"

namespace tally {
namespace {

constexpr u16 volatileFixed[] = {244, 74, 63, 221};      // INFO NOW RAND TODAY
constexpr u16 volatileVariable[] = {125, 148, 78, 344};  // CELL INDIRECT OFFSET SUBTOTAL

constexpr u16 FUNCTION_HYPERLINK = 359;

bool IsVolatileCall(const FormulaTokens& tokens, u32 at) {
    const u8 folded = FoldToken(tokens.bytes[at]);
    if (folded == ptgFunc && at + 3 <= tokens.length)
        return IsOneOf(volatileFixed, ReadU16(tokens.bytes + at + 1));
    if (folded == ptgFuncVar && at + 4 <= tokens.length)
        return IsOneOf(volatileVariable, ReadU16(tokens.bytes + at + 2));
    return false;
}

bool IsHyperlinkCall(const FormulaTokens& tokens, u32 at) {
    return FoldToken(tokens.bytes[at]) == ptgFuncVar && at + 4 <= tokens.length &&
           ReadU16(tokens.bytes + at + 2) == FUNCTION_HYPERLINK;
}

// ---- what SUMIF adds up ---------------------------------------------------------------------------

constexpr u16 FUNCTION_SUMIF = 345;
constexpr u32 MOST_OPERANDS = 64;  // that wait for their operator or call; more are not followed

// What the operands of a token string are, as far as they are plain references.
struct OperandStack {
    struct Operand {
        bool isArea = false;
        RefArea area;
    };
    Operand operands[MOST_OPERANDS];
    u32 count = 0;

    void Push(Operand operand) {
        if (count < MOST_OPERANDS) operands[count] = operand;
        ++count;
    }
    void Replace(u32 taken) {
        count -= std::min(taken, count);
        Push({});
    }
};

u32 ArgumentsOfCall(const u8* token, u8 folded) {
    if (folded == ptgFuncVar) return token[1] & 0x7F;
    const i32 row = FindFunctionById(ReadU16(token + 1));
    return row < 0 ? 0 : static_cast<u32>(FunctionTable[row].signature.size());
}

// What a whole token does to the stack.
void StepOperands(OperandStack& stack, const u8* token) {
    const u8 folded = FoldToken(*token);
    u8 nibble = 0;
    switch (folded) {
        case ptgRef: return stack.Push({true, OrderedArea(ReadRefOperand(token + 1, nibble))});
        case ptgArea: return stack.Push({true, OrderedArea(ReadAreaOperand(token + 1, nibble))});
        case ptgRef3d: return stack.Push({true, OrderedArea(ReadRefOperand(token + 3, nibble))});
        case ptgArea3d: return stack.Push({true, OrderedArea(ReadAreaOperand(token + 3, nibble))});
        case ptgFunc:
        case ptgFuncVar: return stack.Replace(ArgumentsOfCall(token, folded));
        case ptgUplus:
        case ptgUminus:
        case ptgPercent: return stack.Replace(1);
        case ptgParen:
        case ptgExp:
        case ptgTbl:
        case ptgMemArea:
        case ptgMemFunc: return;
        case ptgAttr: return token[1] == ATTR_SUM ? stack.Replace(1) : void();
        default: break;
    }
    if (folded >= ptgAdd && folded <= ptgRange) return stack.Replace(2);
    stack.Push({});
}

// The reference at `here` when it is what SUMIF adds up: extended to the shape of what is compared.
RefArea SummedArea(const FormulaTokens& tokens, u32 here, u32 next, const RefArea& given) {
    if (next + 4 > tokens.length || FoldToken(tokens.bytes[next]) != ptgFuncVar ||
        ReadU16(tokens.bytes + next + 2) != FUNCTION_SUMIF || (tokens.bytes[next + 1] & 0x7F) != 3) {
        return given;
    }
    OperandStack stack;
    for (u32 at = 0; at < here; at = NextToken(tokens.bytes, tokens.length, at) + 1)
        StepOperands(stack, tokens.bytes + at);
    if (stack.count < 2 || stack.count > MOST_OPERANDS || !stack.operands[stack.count - 2].isArea) return given;
    const RefArea reached = WithShapeOf(given, stack.operands[stack.count - 2].area);
    return {given.firstRow, std::max(given.lastRow, reached.lastRow), given.firstColumn,
            std::max(given.lastColumn, reached.lastColumn)};
}

}  // namespace

RefArea WithShapeOf(const RefArea& given, const RefArea& wanted) {
    const i32 lastRow = std::min(given.firstRow + (wanted.lastRow - wanted.firstRow), MAX_ROWS - 1);
    const i32 lastColumn =
        std::min(given.firstColumn + (wanted.lastColumn - wanted.firstColumn), MAX_COLUMNS - 1);
    return {given.firstRow, static_cast<u16>(lastRow), given.firstColumn, static_cast<u8>(lastColumn)};
}

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
        out.area = OrderedArea(oneCell ? ReadRefOperand(tokens.bytes + start, nibble)
                                       : ReadAreaOperand(tokens.bytes + start, nibble));
        out.area = SummedArea(tokens, here, at, out.area);
        return true;
    }
    return false;
}

bool NextPrecedent(const FormulaCell& formula, u32& at, TokenPrecedent& out) {
    if (!IsTablePart(formula.tokens)) return NextPrecedent(formula.tokens, at, out);
    const DataTable* table = TableOf(formula);
    TablePlaces places;
    if (!table || !PlacesOf(*table, formula.row, formula.column, places) || at >= places.count) return false;
    out = {-1, places.reads[at++]};
    return true;
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
