#pragma once
// The BIFF8 token set and the one routine that steps over it.

#include "model/Tokens.h"

namespace tally {

enum Ptg : u8 {
    ptgExp = 0x01,
    ptgTbl = 0x02,
    ptgAdd = 0x03,
    ptgSub = 0x04,
    ptgMul = 0x05,
    ptgDiv = 0x06,
    ptgPower = 0x07,
    ptgConcat = 0x08,
    ptgLT = 0x09,
    ptgLE = 0x0A,
    ptgEQ = 0x0B,
    ptgGE = 0x0C,
    ptgGT = 0x0D,
    ptgNE = 0x0E,
    ptgIsect = 0x0F,
    ptgUnion = 0x10,
    ptgRange = 0x11,
    ptgUplus = 0x12,
    ptgUminus = 0x13,
    ptgPercent = 0x14,
    ptgParen = 0x15,
    ptgMissArg = 0x16,
    ptgStr = 0x17,
    ptgExtended = 0x18,
    ptgAttr = 0x19,
    ptgErr = 0x1C,
    ptgBool = 0x1D,
    ptgInt = 0x1E,
    ptgNum = 0x1F,
    ptgArray = 0x20,
    ptgFunc = 0x21,
    ptgFuncVar = 0x22,
    ptgName = 0x23,
    ptgRef = 0x24,
    ptgArea = 0x25,
    ptgMemArea = 0x26,
    ptgMemErr = 0x27,
    ptgMemNoMem = 0x28,
    ptgMemFunc = 0x29,
    ptgRefErr = 0x2A,
    ptgAreaErr = 0x2B,
    ptgRefN = 0x2C,
    ptgAreaN = 0x2D,
    ptgMemAreaN = 0x2E,
    ptgMemNoMemN = 0x2F,
    ptgNameX = 0x39,
    ptgRef3d = 0x3A,
    ptgArea3d = 0x3B,
    ptgRefErr3d = 0x3C,
    ptgAreaErr3d = 0x3D,
};

enum AttrKind : u8 {
    ATTR_VOLATILE = 0x01,
    ATTR_IF = 0x02,
    ATTR_CHOOSE = 0x04,
    ATTR_GOTO = 0x08,
    ATTR_SUM = 0x10,
    ATTR_SPACE = 0x40,
    ATTR_SPACE_VOLATILE = 0x41,
};

// Class bits of a token byte.
constexpr u8 CLASS_REFERENCE = 0x20;
constexpr u8 CLASS_VALUE = 0x40;
constexpr u8 CLASS_ARRAY = 0x60;

// Flag bits of a reference's column word, high byte.
constexpr u8 ROW_RELATIVE = 0x80;
constexpr u8 COLUMN_RELATIVE = 0x40;
// The same four bits of an area as a nibble.
constexpr u8 FIRST_ROW_RELATIVE = 8;
constexpr u8 FIRST_COLUMN_RELATIVE = 4;
constexpr u8 LAST_ROW_RELATIVE = 2;
constexpr u8 LAST_COLUMN_RELATIVE = 1;

// The token number without its class: 0x20, 0x40 and 0x60 forms fold to 0x20.
inline u8 FoldToken(u8 token) { return static_cast<u8>((token & 0x40 ? token | 0x20 : token) & 0x3F); }

// Stands in tokenSizes for a token whose operands tell their size themselves.
constexpr u8 VARIABLE_OPERANDS = 255;
// Bytes behind the first byte, by folded token number.
inline constexpr u8 tokenSizes[64] = {
    /* 00 */ 0, 4, 4, 0, 0, 0, 0, 0,   0,   0,   0, 0,  0, 0,  0, 0,
    /* 10 */ 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 0, 0,  1, 1,  2, 8,
    /* 20 */ 7, 2, 3, 4, 4, 8, 6, 6,   6,   2,   4, 8,  4, 8,  2, 2,
    /* 30 */ 0, 0, 0, 0, 0, 0, 0, 0,   0,   6,   6, 10, 6, 10, 0, 0,
};
// The same for those; missing operand bytes read as zero.
u32 VariableOperandBytes(const u8* bytes, u32 length, u32 position);
// The same for any token, whatever lies behind `length`.
inline u32 OperandBytes(const u8* bytes, u32 length, u32 position) {
    const u8 size = tokenSizes[FoldToken(bytes[position])];
    return size == VARIABLE_OPERANDS ? VariableOperandBytes(bytes, length, position) : size;
}
// The position of the last byte of the token at `position`; add one for the next token. Never
// passes `length` - 1, so that a walk over damaged tokens ends.
inline u32 NextToken(const u8* bytes, u32 length, u32 position) {
    if (position >= length) return position;
    const u32 size = OperandBytes(bytes, length, position);
    return size >= length - position ? length - 1 : position + size;
}
// True when every token of the stream and its operands lie inside `length`.
bool TokensAreWhole(const FormulaTokens& tokens);

inline u16 ReadU16(const u8* p) { return static_cast<u16>(p[0] | (p[1] << 8)); }
inline u32 ReadU32(const u8* p) { return u32{p[0]} | (u32{p[1]} << 8) | (u32{p[2]} << 16) | (u32{p[3]} << 24); }
double ReadF64(const u8* p);
inline void PutU16(u8* p, u32 v) {
    p[0] = static_cast<u8>(v);
    p[1] = static_cast<u8>(v >> 8);
}
inline void PutU32(u8* p, u32 v) {
    PutU16(p, v & 0xFFFF);
    PutU16(p + 2, v >> 16);
}
void PutF64(u8* p, double v);

// ptgArea operands (8 bytes) and ptgRef operands (4 bytes) as an area with its nibble, and back.
RefArea ReadAreaOperand(const u8* operand, u8& nibble);
RefArea ReadRefOperand(const u8* operand, u8& nibble);
void WriteAreaOperand(u8* operand, const RefArea& area, u8 nibble);
void WriteRefOperand(u8* operand, u16 row, u8 column, u8 nibble);

// Whether a function number is in a list.
template <std::size_t N>
bool IsOneOf(const u16 (&ids)[N], u16 id) {
    for (const u16 each : ids)
        if (each == id) return true;
    return false;
}

}  // namespace tally
