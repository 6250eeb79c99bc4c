#pragma once
// From formula text to tokens. Three scanners work on the text by position: the check, the step over
// one operand, and the compiler, which assumes that the check has passed.

#include "formula/FormulaTypes.h"
#include "model/Tokens.h"

namespace tally {

constexpr u32 TOKEN_ROOM = 1024;  // bytes of tokens a compiled formula may have

// Tokens in the making, in caller-owned room.
struct TokenBuffer {
    u8 tokens[TOKEN_ROOM];
    u32 length = 0;
    Array<u8> extra;      // array constants
    bool failed = false;  // the room or the memory ran out
};

// Where a formula's text stands and how it is to be read.
struct FormulaPlace {
    i32 book = 0;
    i32 sheet = 0;
    i32 row = 0;  // base of R1C1 offsets and, with relativeForm, of relative references
    i32 column = 0;
    bool useA1 = true;
    bool relativeForm = false;
    bool arrayMode = false;
};

// Position where the check stopped: `end` when the text is well formed, -1 for a fault without a
// better position. `resultFormat`, when given and -1, takes the format that the first function
// proposes.
i32 CheckFormulaSyntax(const FormulaPlace& place, WideView text, i32 start, i32 end, bool unionAllowed,
                       i32* resultFormat);
// The position behind one operand and its trailing blanks.
i32 SkipOperand(const FormulaPlace& place, WideView text, i32 start, i32 end);
// Compiles checked text with a class letter (V cells, R names). False when it does not fit.
[[nodiscard]] bool CompileFormulaText(const FormulaPlace& place, WideView text, char classLetter,
                                      TokenBuffer& out);
// The check and the compiler together, into an owned token string. False for a fault in the text,
// for too many tokens or when memory fails.
[[nodiscard]] bool CompileFormula(const FormulaPlace& place, WideView text, char classLetter,
                                  FormulaTokens& out);

// A reference at `start`: returns its end or -1. A null `externIndex` only checks and adds no rows;
// else it gets -1 for the formula's own sheet. `nibble` gets the four relative bits.
i32 ParseReference(const FormulaPlace& place, WideView text, i32 start, i32 end, i32* externIndex,
                   RefArea& area, u8& nibble);

}  // namespace tally
