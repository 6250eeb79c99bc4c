#pragma once
// The arithmetic of Paste Special. It works on values and, by splicing token strings, on formulas.

#include "model/ModelTypes.h"

namespace tally {

enum PasteOperation : i32 {
    PASTE_NONE = 1,
    PASTE_ADD = 2,
    PASTE_SUBTRACT = 3,
    PASTE_MULTIPLY = 4,
    PASTE_DIVIDE = 5,
};

// A cell's content in passing. Whoever holds it owns both parts.
struct CellContent {
    FormulaTokens tokens;
    Value value;
};
void FreeContent(CellContent& content);

// Puts `target` and `source` together into `target`: target, operator, source. Where they do not go together
// the target stays as it is. False when memory fails.
[[nodiscard]] bool CombineContent(CellContent& target, const CellContent& source, i32 operation);

}  // namespace tally
