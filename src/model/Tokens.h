#pragma once
// Ownership of token strings. A copy is one more user of the block; a change goes to a private copy.

#include "model/ModelTypes.h"

namespace tally {

inline bool HasFormula(const FormulaTokens& tokens) { return tokens.bytes != nullptr; }
inline u32 TokenBytes(const FormulaTokens& tokens) { return u32{tokens.length} + tokens.extraLength; }

// A block of length + extraLength bytes for the caller to fill in; false when memory fails.
[[nodiscard]] bool MakeTokens(FormulaTokens& target, u16 length, u16 extraLength);
[[nodiscard]] bool MakeTokens(FormulaTokens& target, ByteView tokens, ByteView extra);
// One more user of the same bytes, extra data included; a null source gives null.
void CopyTokens(FormulaTokens& target, const FormulaTokens& source);
// Clears the lengths and gives the bytes back.
void FreeTokens(FormulaTokens& tokens);
// How many holders use the same bytes; 0 for no formula.
u32 TokenUsers(const FormulaTokens& tokens);
// Makes this holder the only user of its bytes, so that they may be written.
[[nodiscard]] bool UnshareTokens(FormulaTokens& tokens);
bool EqualTokens(const FormulaTokens& a, const FormulaTokens& b);

}  // namespace tally
