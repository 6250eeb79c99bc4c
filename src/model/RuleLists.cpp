#include "model/RuleLists.h"

#include <algorithm>

#include "model/AreaList.h"
#include "model/Tokens.h"

namespace tally {
namespace {

// ---- what a rule holds, as numbers ----------------------------------------------------------------

struct Hash {
    u64 value = 0xCBF29CE484222325ull;

    void Add(u64 number) {
        value ^= number;
        value *= 0x100000001B3ull;
    }
    void Add(WideView text) {
        Add(u64{text.size()});
        for (const char16_t c : text) Add(u64{c});
    }
    void Add(const FormulaTokens& tokens) {
        Add(u64{tokens.length});
        for (u32 i = 0; i < TokenBytes(tokens); ++i) Add(u64{tokens.bytes[i]});
    }
};

u64 HashOf(const ValidationRule& r) {
    Hash hash;
    for (const u32 field : {r.kind, r.errorStyle, r.literalList, r.ignoreBlank, r.noDropArrow, r.showInput,
                            r.showError, r.comparison})
        hash.Add(u64{field});
    for (const WideText* text : {&r.inputTitle, &r.errorTitle, &r.inputText, &r.errorText})
        hash.Add(text->View());
    hash.Add(r.formula1);
    hash.Add(r.formula2);
    return hash.value;
}

u64 HashOf(const ConditionalFormat& format) {
    Hash hash;
    hash.Add(u64{format.priority});
    for (const ConditionalCondition& c : format.conditions) {
        hash.Add(u64{c.type});
        hash.Add(u64{c.comparison});
        hash.Add(c.formula1);
        hash.Add(c.formula2);
        for (const OverrideByte* byte :
             {&c.strikeout, &c.italic, &c.bold, &c.underline, &c.leftStyle, &c.rightStyle, &c.topStyle,
              &c.bottomStyle, &c.pattern, &c.patternColour, &c.backColour})
            hash.Add(u64{byte->present} << 8 | byte->value);
        hash.Add(u64{c.fontHeight} << 32 | u64{c.hasFontColour} << 16 | c.fontColour);
        for (const u8 colour : {c.leftColour, c.rightColour, c.topColour, c.bottomColour})
            hash.Add(u64{colour});
    }
    return hash.value;
}

bool EqualBytes(const OverrideByte& a, const OverrideByte& b) {
    return a.present == b.present && a.value == b.value;
}

bool EqualConditions(const ConditionalCondition& a, const ConditionalCondition& b) {
    return a.type == b.type && a.comparison == b.comparison && EqualTokens(a.formula1, b.formula1) &&
           EqualTokens(a.formula2, b.formula2) && EqualBytes(a.strikeout, b.strikeout) &&
           EqualBytes(a.italic, b.italic) && EqualBytes(a.bold, b.bold) &&
           EqualBytes(a.underline, b.underline) && a.hasFontColour == b.hasFontColour &&
           a.fontColour == b.fontColour && a.fontHeight == b.fontHeight && a.hasBorders == b.hasBorders &&
           EqualBytes(a.leftStyle, b.leftStyle) && EqualBytes(a.rightStyle, b.rightStyle) &&
           EqualBytes(a.topStyle, b.topStyle) && EqualBytes(a.bottomStyle, b.bottomStyle) &&
           a.leftColour == b.leftColour && a.rightColour == b.rightColour && a.topColour == b.topColour &&
           a.bottomColour == b.bottomColour && a.hasPattern == b.hasPattern &&
           EqualBytes(a.pattern, b.pattern) && EqualBytes(a.patternColour, b.patternColour) &&
           EqualBytes(a.backColour, b.backColour);
}

// ---- the same for both kinds ----------------------------------------------------------------------

template <typename Rule>
void FreeAll(Array<Rule>& rules) {
    for (Rule& rule : rules) FreeRule(rule);
    rules.Clear();
}

template <typename Rule>
Rule* AppendCopy(Array<Rule>& target, const Rule& source) {
    Rule* rule = target.AppendDefault();
    if (!rule) return nullptr;
    if (CopyRule(*rule, source)) return rule;
    target.RemoveLast();
    return nullptr;
}

template <typename Rule>
bool CopyAll(Array<Rule>& target, const Array<Rule>& source) {
    for (const Rule& rule : source) {
        Rule* copy = AppendCopy(target, rule);
        if (copy && copy->areas.AppendMany(rule.areas.Data(), rule.areas.Count())) continue;
        FreeAll(target);
        return false;
    }
    return true;
}

template <typename Rule>
bool CopyTouching(Array<Rule>& target, const Array<Rule>& source, const RefArea& area) {
    for (const Rule& rule : source) {
        if (!AnyAreaMeets(rule.areas, area)) continue;
        Rule* copy = AppendCopy(target, rule);
        bool good = copy != nullptr;
        for (const RefArea& part : rule.areas)
            if (good && AreasMeet(part, area)) good = copy->areas.Append(CommonArea(part, area));
        if (good) continue;
        FreeAll(target);
        return false;
    }
    return true;
}

template <typename Rule>
bool AnyTouches(const Array<Rule>& rules, const RefArea& area) {
    return std::any_of(rules.begin(), rules.end(),
                       [&area](const Rule& rule) { return AnyAreaMeets(rule.areas, area); });
}

// Drops the rules without areas.
template <typename Rule>
void DropEmpty(Array<Rule>& rules) {
    u32 kept = 0;
    for (u32 i = 0; i < rules.Count(); ++i) {
        if (rules[i].areas.IsEmpty()) {
            FreeRule(rules[i]);
            continue;
        }
        if (kept != i) rules[kept] = std::move(rules[i]);
        ++kept;
    }
    rules.Truncate(kept);
}

template <typename Rule>
void RemoveIn(Array<Rule>& rules, const RefArea& area) {
    for (Rule& rule : rules) IgnoreFailure(SubtractArea(rule.areas, area));
    DropEmpty(rules);
}

struct HashedRule {
    u64 hash;
    u32 rule;
};

// Rules with the same hash stand together, earlier ones first.
template <typename Rule>
void MergeEqual(Array<Rule>& rules) {
    if (rules.Count() < 2) return;
    Array<HashedRule> order;
    if (!order.Reserve(rules.Count())) return;
    for (u32 i = 0; i < rules.Count(); ++i) IgnoreFailure(order.Append({HashOf(rules[i]), i}));
    std::sort(order.begin(), order.end(), [](const HashedRule& a, const HashedRule& b) {
        return a.hash != b.hash ? a.hash < b.hash : a.rule < b.rule;
    });
    bool merged = false;
    for (u32 i = 0; i + 1 < order.Count(); ++i) {
        Rule& first = rules[order[i].rule];
        if (first.areas.IsEmpty()) continue;
        bool grown = false;
        for (u32 j = i + 1; j < order.Count() && order[j].hash == order[i].hash; ++j) {
            Rule& later = rules[order[j].rule];
            if (later.areas.IsEmpty() || !EqualRules(first, later) ||
                !first.areas.AppendMany(later.areas.Data(), later.areas.Count()))
                continue;
            later.areas.Clear();
            grown = true;
        }
        if (grown) SortAreas(first.areas);
        merged = merged || grown;
    }
    if (merged) DropEmpty(rules);
}

}  // namespace

void FreeRule(ValidationRule& rule) {
    VisitRuleFormulas(rule, [](FormulaTokens& tokens) { FreeTokens(tokens); });
}
void FreeRule(ConditionalFormat& rule) {
    VisitRuleFormulas(rule, [](FormulaTokens& tokens) { FreeTokens(tokens); });
}

bool CopyRule(ValidationRule& target, const ValidationRule& source) {
    target.kind = source.kind;
    target.errorStyle = source.errorStyle;
    target.literalList = source.literalList;
    target.ignoreBlank = source.ignoreBlank;
    target.noDropArrow = source.noDropArrow;
    target.inputMethod = source.inputMethod;
    target.showInput = source.showInput;
    target.showError = source.showError;
    target.comparison = source.comparison;
    if (!target.inputTitle.Assign(source.inputTitle) || !target.errorTitle.Assign(source.errorTitle) ||
        !target.inputText.Assign(source.inputText) || !target.errorText.Assign(source.errorText)) {
        target = ValidationRule();
        return false;
    }
    CopyTokens(target.formula1, source.formula1);
    CopyTokens(target.formula2, source.formula2);
    return true;
}

bool CopyRule(ConditionalFormat& target, const ConditionalFormat& source) {
    target.priority = source.priority;
    if (!target.conditions.AppendMany(source.conditions.Data(), source.conditions.Count())) return false;
    for (ConditionalCondition& condition : target.conditions) {
        // The bytes are copied; the tokens get one more user each.
        const FormulaTokens first = condition.formula1, second = condition.formula2;
        CopyTokens(condition.formula1, first);
        CopyTokens(condition.formula2, second);
    }
    return true;
}

bool EqualRules(const ValidationRule& a, const ValidationRule& b) {
    return a.kind == b.kind && a.errorStyle == b.errorStyle && a.literalList == b.literalList &&
           a.ignoreBlank == b.ignoreBlank && a.noDropArrow == b.noDropArrow && a.inputMethod == b.inputMethod &&
           a.showInput == b.showInput && a.showError == b.showError && a.comparison == b.comparison &&
           a.inputTitle.View() == b.inputTitle.View() && a.errorTitle.View() == b.errorTitle.View() &&
           a.inputText.View() == b.inputText.View() && a.errorText.View() == b.errorText.View() &&
           EqualTokens(a.formula1, b.formula1) && EqualTokens(a.formula2, b.formula2);
}

bool EqualRules(const ConditionalFormat& a, const ConditionalFormat& b) {
    return a.priority == b.priority && a.conditions.Count() == b.conditions.Count() &&
           std::equal(a.conditions.begin(), a.conditions.end(), b.conditions.begin(), EqualConditions);
}

void FreeRules(Array<ValidationRule>& rules) { FreeAll(rules); }
void FreeRules(Array<ConditionalFormat>& rules) { FreeAll(rules); }
bool CopyRules(Array<ValidationRule>& target, const Array<ValidationRule>& source) {
    return CopyAll(target, source);
}
bool CopyRules(Array<ConditionalFormat>& target, const Array<ConditionalFormat>& source) {
    return CopyAll(target, source);
}
bool CopyRulesIn(Array<ValidationRule>& target, const Array<ValidationRule>& source, const RefArea& area) {
    return CopyTouching(target, source, area);
}
bool CopyRulesIn(Array<ConditionalFormat>& target, const Array<ConditionalFormat>& source,
                 const RefArea& area) {
    return CopyTouching(target, source, area);
}
bool AnyRuleTouches(const Array<ValidationRule>& rules, const RefArea& area) { return AnyTouches(rules, area); }
bool AnyRuleTouches(const Array<ConditionalFormat>& rules, const RefArea& area) {
    return AnyTouches(rules, area);
}
void RemoveRulesIn(Array<ValidationRule>& rules, const RefArea& area) { RemoveIn(rules, area); }
void RemoveRulesIn(Array<ConditionalFormat>& rules, const RefArea& area) { RemoveIn(rules, area); }
void MergeEqualRules(Array<ValidationRule>& rules) { MergeEqual(rules); }
void MergeEqualRules(Array<ConditionalFormat>& rules) { MergeEqual(rules); }

}  // namespace tally
