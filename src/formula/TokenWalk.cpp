#include "formula/TokenWalk.h"

#include <bit>
#include <cstring>

namespace tally {
namespace {

u32 ExtendedSize(u8 sub) {
    switch (sub) {
        case 1:
        case 2:
        case 3:
        case 6:
        case 7:
        case 12:
        case 13:
        case 14:
        case 15:
        case 16:
        case 29: return 5;
        case 10:
        case 11: return 14;
        default: return 1;
    }
}

}  // namespace

u32 VariableOperandBytes(const u8* bytes, u32 length, u32 position) {
    const auto byteAt = [&](u32 offset) {
        return position + offset < length ? bytes[position + offset] : u8{0};
    };
    switch (FoldToken(bytes[position])) {
        case ptgStr: return (byteAt(2) + 1u) * byteAt(1) + 2u;
        case ptgAttr:
            if (byteAt(1) == ATTR_CHOOSE) return 2u * (u32{byteAt(2)} | u32{byteAt(3)} << 8) + 5u;
            return 3;
        default: return ExtendedSize(byteAt(1));
    }
}

bool TokensAreWhole(const FormulaTokens& tokens) {
    for (u32 position = 0; position < tokens.length;) {
        const u32 size = OperandBytes(tokens.bytes, tokens.length, position);
        if (size >= tokens.length - position) return false;
        position += size + 1;
    }
    return true;
}

double ReadF64(const u8* p) {
    const u64 bits = u64{ReadU32(p)} | u64{ReadU32(p + 4)} << 32;
    return std::bit_cast<double>(bits);
}

void PutF64(u8* p, double v) {
    const u64 bits = std::bit_cast<u64>(v);
    PutU32(p, static_cast<u32>(bits));
    PutU32(p + 4, static_cast<u32>(bits >> 32));
}

RefArea ReadAreaOperand(const u8* operand, u8& nibble) {
    nibble = static_cast<u8>(((operand[7] >> 2) | operand[5]) >> 4);
    return {ReadU16(operand), ReadU16(operand + 2), operand[4], operand[6]};
}

RefArea ReadRefOperand(const u8* operand, u8& nibble) {
    nibble = static_cast<u8>(((operand[3] >> 2) | operand[3]) >> 4);
    const u16 row = ReadU16(operand);
    return {row, row, operand[2], operand[2]};
}

void WriteAreaOperand(u8* operand, const RefArea& area, u8 nibble) {
    PutU16(operand, area.firstRow);
    PutU16(operand + 2, area.lastRow);
    operand[4] = area.firstColumn;
    operand[5] = static_cast<u8>((nibble & (FIRST_ROW_RELATIVE | FIRST_COLUMN_RELATIVE)) << 4);
    operand[6] = area.lastColumn;
    operand[7] = static_cast<u8>((nibble & (LAST_ROW_RELATIVE | LAST_COLUMN_RELATIVE)) << 6);
}

void WriteRefOperand(u8* operand, u16 row, u8 column, u8 nibble) {
    PutU16(operand, row);
    operand[2] = column;
    operand[3] = static_cast<u8>((nibble & (FIRST_ROW_RELATIVE | FIRST_COLUMN_RELATIVE)) << 4);
}

}  // namespace tally
