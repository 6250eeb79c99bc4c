#include "formula/TokenReferences.h"

namespace tally {

bool ReadReference(const FormulaTokens& tokens, u32 at, TokenReference& out) {
    const u8 folded = FoldToken(tokens.bytes[at]);
    out.externIndex = -1;
    out.oneCell = out.relativeForm = false;
    out.at = at;
    out.operand = at + 1;
    switch (folded) {
        case ptgRefN: out.relativeForm = true; [[fallthrough]];
        case ptgRef: out.oneCell = true; break;
        case ptgAreaN: out.relativeForm = true; break;
        case ptgArea: break;
        case ptgRef3d: out.oneCell = true; [[fallthrough]];
        case ptgArea3d: out.operand = at + 3; break;
        default: return false;
    }
    if (out.operand + (out.oneCell ? 4 : 8) > tokens.length) return false;
    const u8* operand = tokens.bytes + out.operand;
    if (out.operand == at + 3) out.externIndex = ReadU16(tokens.bytes + at + 1);
    const RefArea area =
        out.oneCell ? ReadRefOperand(operand, out.nibble) : ReadAreaOperand(operand, out.nibble);
    out.firstRow = area.firstRow;
    out.lastRow = area.lastRow;
    out.firstColumn = area.firstColumn;
    out.lastColumn = area.lastColumn;
    return true;
}

bool NextReference(const FormulaTokens& tokens, u32& at, TokenReference& out) {
    while (at < tokens.length) {
        const u32 here = at;
        at = NextToken(tokens.bytes, tokens.length, at) + 1;
        if (ReadReference(tokens, here, out)) return true;
    }
    return false;
}

void WriteReference(FormulaTokens& tokens, const TokenReference& reference) {
    u8* operand = tokens.bytes + reference.operand;
    const RefArea area = {static_cast<u16>(reference.firstRow), static_cast<u16>(reference.lastRow),
                          static_cast<u8>(reference.firstColumn), static_cast<u8>(reference.lastColumn)};
    if (reference.oneCell) {
        WriteRefOperand(operand, area.firstRow, area.firstColumn, reference.nibble);
    } else {
        WriteAreaOperand(operand, area, reference.nibble);
    }
}

void LoseReference(FormulaTokens& tokens, const TokenReference& reference) {
    u8& token = tokens.bytes[reference.at];
    const u8 folded = FoldToken(token);
    const u8 lost = reference.externIndex >= 0 ? (reference.oneCell ? ptgRefErr3d : ptgAreaErr3d)
                                               : (reference.oneCell ? ptgRefErr : ptgAreaErr);
    // The class stands in the two bits above, which the fold leaves out of the difference.
    token = static_cast<u8>(token + lost - folded);
}

void PlaceReference(TokenReference& reference, i32 row, i32 column) {
    if (reference.AllRows()) row = 0;
    if (reference.AllColumns()) column = 0;
    if (reference.nibble & FIRST_ROW_RELATIVE) reference.firstRow = (reference.firstRow + row) & 0xFFFF;
    if (reference.nibble & LAST_ROW_RELATIVE) reference.lastRow = (reference.lastRow + row) & 0xFFFF;
    if (reference.nibble & FIRST_COLUMN_RELATIVE)
        reference.firstColumn = (reference.firstColumn + column) & 0xFF;
    if (reference.nibble & LAST_COLUMN_RELATIVE) reference.lastColumn = (reference.lastColumn + column) & 0xFF;
}

bool AbsoluteTokens(FormulaTokens& tokens, i32 row, i32 column) {
    bool relative = false;
    u32 at = 0;
    for (TokenReference reference; NextReference(tokens, at, reference);) {
        relative = relative || reference.nibble;
        PlaceReference(reference, row, column);
        WriteReference(tokens, reference);
    }
    return relative;
}

bool IsOnSheet(const TokenReference& reference) {
    return reference.firstRow >= 0 && reference.lastRow >= 0 && reference.firstRow < MAX_ROWS &&
           reference.lastRow < MAX_ROWS && reference.firstColumn >= 0 && reference.lastColumn >= 0 &&
           reference.firstColumn < MAX_COLUMNS && reference.lastColumn < MAX_COLUMNS;
}

}  // namespace tally
