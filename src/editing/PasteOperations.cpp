#include "editing/PasteOperations.h"

#include <cmath>
#include <cstring>

#include "formula/Coercion.h"
#include "formula/Compiler.h"
#include "formula/TokenWalk.h"
#include "model/Tokens.h"

namespace tally {
namespace {

constexpr u8 operators[] = {ptgAdd, ptgSub, ptgMul, ptgDiv};
u8 OperatorOf(i32 operation) { return operators[operation - PASTE_ADD]; }

// The number that a value counts as: an empty one 0, a text what it reads as.
bool NumberOf(const Value& value, double& number) {
    number = 0;
    switch (value.type) {
        case VT_EMPTY: return true;
        case VT_NUMBER: number = value.number; return true;
        case VT_STRING: return TextToNumber(TextOf(value), number);
        default: return false;
    }
}

Value Calculate(double a, double b, i32 operation) {
    double result = 0;
    switch (operation) {
        case PASTE_ADD: result = a + b; break;
        case PASTE_SUBTRACT: result = a - b; break;
        case PASTE_MULTIPLY: result = a * b; break;
        default:
            if (b == 0) return ErrorValue(ERR_DIV0);
            result = a / b;
            break;
    }
    return std::isfinite(result) ? NumberValue(result) : ErrorValue(ERR_NUM);
}

// One side of the operator: a formula in parentheses, or a number.
struct Operand {
    const FormulaTokens* tokens = nullptr;
    double number = 0;

    u32 Length() const { return tokens ? tokens->length + 1u : 9u; }
    u32 ExtraLength() const { return tokens ? tokens->extraLength : 0u; }
    u8* Write(u8* at) const {
        if (tokens) {
            std::memcpy(at, tokens->bytes, tokens->length);
            at[tokens->length] = ptgParen;
        } else {
            at[0] = ptgNum;
            PutF64(at + 1, number);
        }
        return at + Length();
    }
    u8* WriteExtra(u8* at) const {
        if (!ExtraLength()) return at;
        std::memcpy(at, tokens->bytes + tokens->length, tokens->extraLength);
        return at + tokens->extraLength;
    }
};

bool Splice(CellContent& target, const Operand& left, const Operand& right, i32 operation) {
    const u32 length = left.Length() + right.Length() + 1, extra = left.ExtraLength() + right.ExtraLength();
    // What is longer than a formula may be leaves the target as it is.
    if (length > TOKEN_ROOM || extra > 0xFFFF) return true;
    FormulaTokens spliced;
    if (!MakeTokens(spliced, static_cast<u16>(length), static_cast<u16>(extra))) return false;
    u8* at = right.Write(left.Write(spliced.bytes));
    *at++ = OperatorOf(operation);
    right.WriteExtra(left.WriteExtra(at));
    FreeContent(target);
    target.tokens = spliced;
    return true;
}

}  // namespace

void FreeContent(CellContent& content) {
    FreeTokens(content.tokens);
    ClearValue(content.value);
}

bool CombineContent(CellContent& target, const CellContent& source, i32 operation) {
    const bool targetFormula = HasFormula(target.tokens), sourceFormula = HasFormula(source.tokens);
    Operand left, right;
    if (targetFormula) left.tokens = &target.tokens;
    else if (!NumberOf(target.value, left.number)) return true;
    if (sourceFormula) right.tokens = &source.tokens;
    else if (!NumberOf(source.value, right.number)) return true;
    if (targetFormula || sourceFormula) return Splice(target, left, right, operation);
    const Value result = Calculate(left.number, right.number, operation);
    ClearValue(target.value);
    target.value = result;
    return true;
}

}  // namespace tally
