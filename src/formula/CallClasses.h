#pragma once
// Which class an argument and a call are compiled with.

#include "formula/FormulaTypes.h"

namespace tally {

// The class letter of an argument by its signature letter, when the call itself is wanted as `wanted`.
char ArgumentLetter(char signature, char wanted, bool arrayMode, bool addIn);
// All letters of the signature upper case and a number below the commands'.
bool IsFixedFunction(const FunctionEntry& entry);
// Class bits of the call's token.
u32 FixedCallClass(u16 id, char wanted, bool arrayMode);
u32 VariableCallClass(u16 id, char wanted, bool arrayMode);

}  // namespace tally
