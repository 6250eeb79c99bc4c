#include "editing/RuleOperations.h"

#include <algorithm>
#include <utility>

#include "base/Memory.h"
#include "editing/AreaLists.h"
#include "editing/Undo.h"
#include "editing/Validation.h"
#include "model/AreaList.h"
#include "model/BookTable.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"

namespace tally {
namespace {

Sheet* GridOf(i32 book, i32 sheet) {
    Sheet* found = SheetAt(book, sheet);
    return found && (found->kind & SHEET_WITH_CELLS) ? found : nullptr;
}

// Which of its formulas a kind of rule has a use for.
u32 FormulasOf(const ValidationRule& rule) {
    if (rule.kind == RULE_ANY) return 0;
    const bool compares = rule.kind != RULE_LIST && rule.kind != RULE_CUSTOM;
    return compares && rule.comparison <= 1 ? 2 : 1;
}

void DropUnusedFormulas(ValidationRule& rule) {
    const u32 used = FormulasOf(rule);
    if (used < 1) FreeTokens(rule.formula1);
    if (used < 2) FreeTokens(rule.formula2);
    if (rule.kind != RULE_LIST) rule.literalList = 0;
}

bool SaysSomething(const ValidationRule& rule) {
    return rule.kind != RULE_ANY || !rule.inputTitle.IsEmpty() || !rule.inputText.IsEmpty() ||
           !rule.errorTitle.IsEmpty() || !rule.errorText.IsEmpty();
}

// A record without a place of its own in the order of files is equal to one with the same conditions.
bool SameRule(const ValidationRule& fresh, const ValidationRule& old) { return EqualRules(fresh, old); }
bool SameRule(ConditionalFormat& fresh, const ConditionalFormat& old) {
    const u16 priority = std::exchange(fresh.priority, old.priority);
    const bool same = EqualRules(fresh, old);
    fresh.priority = priority;
    return same;
}

// An equal rule gets the area, or `fresh` goes behind the others with it. False when memory fails; `fresh` is
// then still the caller's.
template <typename Rule>
bool AddRule(Array<Rule>& rules, Rule& fresh, const RefArea& area) {
    for (Rule& old : rules) {
        if (!SameRule(fresh, old)) continue;
        if (!old.areas.Append(area)) return false;
        SortAreas(old.areas);
        FreeRule(fresh);
        return true;
    }
    fresh.areas.Truncate(0);
    if (!fresh.areas.Append(area) || !rules.Reserve(std::size_t{rules.Count()} + 1)) return false;
    IgnoreFailure(rules.Append(std::move(fresh)));
    return true;
}

// The list as it will be takes the place of the sheet's. Both `fresh` and the list of before are freed,
// whatever comes of it.
template <typename Rule>
bool ReplaceRules(Sheet& sheet, Array<Rule>& list, const RefArea& area, Rule& fresh, bool adds, i32 kind,
                  u32 mask) {
    Array<Rule> made;
    bool changes = true;
    const bool good =
        RulesWithout(list, std::span(&area, 1), true, changes, made) && (!adds || AddRule(made, fresh, area));
    if (!good || !adds) FreeRule(fresh);
    if (good) {
        IgnoreFailure(RecordBlock(kind, sheet.book, sheet.index, area, mask));
        std::swap(list, made);
        BookAt(sheet.book)->dirty = 1;
    }
    FreeRules(made);
    return good;
}

}  // namespace

bool ApplyValidation(const ValidationRequest& request) {
    Sheet* sheet = GridOf(request.book, request.sheet);
    ValidationRule fresh;
    if (!sheet || !CopyRule(fresh, *request.rule)) return false;
    DropUnusedFormulas(fresh);
    return ReplaceRules(*sheet, sheet->validations, request.area, fresh, SaysSomething(fresh), UNDO_VALIDATION,
                        BLOCK_VALIDATION);
}

u32 CountValidations(const Sheet& sheet, const RefArea& area) {
    return static_cast<u32>(
        std::count_if(sheet.validations.begin(), sheet.validations.end(),
                      [&](const ValidationRule& rule) { return AnyAreaMeets(rule.areas, area); }));
}

i32 FirstValidation(const Sheet& sheet, const RefArea& area) {
    for (u32 i = 0; i < sheet.validations.Count(); ++i)
        if (AnyAreaMeets(sheet.validations[i].areas, area)) return static_cast<i32>(i);
    return -1;
}

bool HasLook(const ConditionalCondition& c) {
    const bool font =
        c.strikeout.present || c.italic.present || c.bold.present || c.underline.present || c.hasFontColour;
    const bool borders = c.hasBorders && (c.leftStyle.present || c.rightStyle.present || c.topStyle.present ||
                                          c.bottomStyle.present);
    const bool fill = c.hasPattern && (c.pattern.present || c.patternColour.present || c.backColour.present);
    return font || borders || fill;
}

void CopyCondition(ConditionalCondition& target, const ConditionalCondition& source) {
    target = source;
    CopyTokens(target.formula1, source.formula1);
    CopyTokens(target.formula2, source.formula2);
}

void FreeCondition(ConditionalCondition& condition) {
    FreeTokens(condition.formula1);
    FreeTokens(condition.formula2);
}

u32 GatherConditions(const Sheet& sheet, const RefArea& area,
                     const ConditionalCondition* (&out)[MAX_CONDITIONS]) {
    u32 count = 0;
    for (const ConditionalFormat& format : sheet.conditionalFormats) {
        if (!AnyAreaMeets(format.areas, area)) continue;
        for (const ConditionalCondition& condition : format.conditions)
            if (count < MAX_CONDITIONS) out[count++] = &condition;
    }
    return count;
}

bool ApplyConditionalFormats(const ConditionalRequest& request) {
    Sheet* sheet = GridOf(request.book, request.sheet);
    ConditionalFormat fresh;
    if (!sheet || !fresh.conditions.Reserve(MAX_CONDITIONS)) return false;
    for (const ConditionEdit& edit : request.conditions) {
        if (edit.deleted || !HasLook(edit.condition) || fresh.conditions.Count() >= MAX_CONDITIONS) continue;
        ConditionalCondition* kept = fresh.conditions.AppendDefault();
        CopyCondition(*kept, edit.condition);
    }
    return ReplaceRules(*sheet, sheet->conditionalFormats, request.area, fresh, !fresh.conditions.IsEmpty(),
                        UNDO_CONDITIONAL, BLOCK_CONDITIONAL);
}

}  // namespace tally
