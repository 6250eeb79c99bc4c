#pragma once
// Rules for what may be typed into a cell.

#include "model/ModelTypes.h"

namespace tally {

enum RuleKind : u32 {
    RULE_ANY = 0,
    RULE_WHOLE,
    RULE_DECIMAL,
    RULE_LIST,
    RULE_DATE,
    RULE_TIME,
    RULE_LENGTH,
    RULE_CUSTOM
};

// The first rule of the sheet's list that covers a cell, or -1.
i32 FindRule(const Sheet& sheet, i32 row, i32 column);
// Whether the value that a cell holds now satisfies a rule.
bool PassesRule(i32 book, i32 sheet, i32 row, i32 column, const ValidationRule& rule);
// What the list of a cell's rule offers, in its order: the texts that its cells show, or its items. At most
// 1,024; empty texts are left out. False when memory fails.
[[nodiscard]] bool RuleListItems(i32 book, i32 sheet, i32 row, i32 column, Array<WideText>& items);
// Tests the cells of an area that have just been stored, row by row, and asks the user about each that fails.
// False when one must go: `outcome` is then ENTRY_RETRY or ENTRY_CANCELLED.
bool CheckEntryRules(i32 book, i32 sheet, const RefArea& area, i32& outcome);

}  // namespace tally
