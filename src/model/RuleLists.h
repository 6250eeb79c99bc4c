#pragma once
// The lists of validation rules and conditional formats of a sheet: copies, parts and equal ones. Both kinds
// of rule have the same routines.

#include "model/ModelTypes.h"

namespace tally {

void FreeRule(ValidationRule& rule);
void FreeRule(ConditionalFormat& rule);

// A copy of everything but the areas. False, with `target` empty, when memory fails.
[[nodiscard]] bool CopyRule(ValidationRule& target, const ValidationRule& source);
[[nodiscard]] bool CopyRule(ConditionalFormat& target, const ConditionalFormat& source);

// Equal in everything but the areas.
bool EqualRules(const ValidationRule& a, const ValidationRule& b);
bool EqualRules(const ConditionalFormat& a, const ConditionalFormat& b);

// Calls visit(FormulaTokens&) for each formula of a rule.
template <typename Visit>
void VisitRuleFormulas(ValidationRule& rule, Visit visit) {
    visit(rule.formula1);
    visit(rule.formula2);
}
template <typename Visit>
void VisitRuleFormulas(ConditionalFormat& rule, Visit visit) {
    for (ConditionalCondition& condition : rule.conditions) {
        visit(condition.formula1);
        visit(condition.formula2);
    }
}

void FreeRules(Array<ValidationRule>& rules);
void FreeRules(Array<ConditionalFormat>& rules);
// A copy of a whole list, areas included. False, with `target` empty, when memory fails.
[[nodiscard]] bool CopyRules(Array<ValidationRule>& target, const Array<ValidationRule>& source);
[[nodiscard]] bool CopyRules(Array<ConditionalFormat>& target, const Array<ConditionalFormat>& source);
// Copies of the rules that touch an area, their areas cut to it.
[[nodiscard]] bool CopyRulesIn(Array<ValidationRule>& target, const Array<ValidationRule>& source,
                               const RefArea& area);
[[nodiscard]] bool CopyRulesIn(Array<ConditionalFormat>& target, const Array<ConditionalFormat>& source,
                               const RefArea& area);
bool AnyRuleTouches(const Array<ValidationRule>& rules, const RefArea& area);
bool AnyRuleTouches(const Array<ConditionalFormat>& rules, const RefArea& area);
// Takes an area out of all rules; those left without one go. When memory fails a rule keeps its areas.
void RemoveRulesIn(Array<ValidationRule>& rules, const RefArea& area);
void RemoveRulesIn(Array<ConditionalFormat>& rules, const RefArea& area);
// Equal rules become one: the areas of the later go to the earlier, which are then sorted. Two rules that
// find no memory for it stay two.
void MergeEqualRules(Array<ValidationRule>& rules);
void MergeEqualRules(Array<ConditionalFormat>& rules);

}  // namespace tally
