#pragma once
// What is typed into the boxes of rules, as the formulas that rules hold, and back.

#include "formula/Compiler.h"

namespace tally {

// What the fault routines return beside the number of a message: memory failed, and the user knows.
constexpr u16 RULE_NO_MEMORY = 0xFFFF;

// Each reads one box at the active cell, from which relative references are meant (`place`; relativeForm and
// the like count for nothing), and gives 0 with the formula in `out`, or the message that refuses the text.

// The limit of a number, a date, a time or a length: a number or a formula.
u16 ReadRuleLimit(const FormulaPlace& place, WideView text, FormulaTokens& out);
// A reference to one row or column of cells, or items between list separators; `literal` tells which.
u16 ReadRuleList(const FormulaPlace& place, WideView text, FormulaTokens& out, bool& literal);
// A formula of the user's own.
u16 ReadRuleTest(const FormulaPlace& place, WideView text, FormulaTokens& out);
// A value or the formula of a condition: a formula, else a number or a text as it is.
u16 ReadConditionValue(const FormulaPlace& place, WideView text, FormulaTokens& out);

// How a box shows a constant: as a number, as the dates and times of the entry line.
enum RuleShow : u8 { SHOW_PLAIN, SHOW_DATE, SHOW_TIME, SHOW_ITEMS };
// What a box shows of a formula, so that it reads as the same again; empty for none. False when memory fails.
[[nodiscard]] bool RuleFormulaText(const FormulaPlace& place, const FormulaTokens& tokens, RuleShow show,
                                   WideText& out);

}  // namespace tally
