#include "model/RuleLists.h"

#include <functional>

#include "model/Tokens.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u8 tokens1[] = {1, 2, 3}, tokens2[] = {4, 5};

void Tokens(FormulaTokens& target, ByteView bytes) {
    FreeTokens(target);
    ASSERT_TRUE(MakeTokens(target, bytes, {}));
}

// A rule with something in every field.
void Fill(ValidationRule& rule) {
    rule.kind = 1;
    rule.errorStyle = 1;
    rule.comparison = 3;
    ASSERT_TRUE(rule.inputTitle.Assign(u"a") && rule.errorTitle.Assign(u"b") && rule.inputText.Assign(u"c") &&
                rule.errorText.Assign(u"d"));
    Tokens(rule.formula1, tokens1);
    Tokens(rule.formula2, tokens2);
}
void Fill(ConditionalFormat& format) {
    format.priority = 3;
    for (u32 i = 0; i < 2; ++i) {
        ConditionalCondition* condition = format.conditions.AppendDefault();
        ASSERT_TRUE(condition);
        condition->comparison = 4 + i;
        Tokens(condition->formula1, tokens1);
        Tokens(condition->formula2, tokens2);
    }
}

template <typename Rule>
using Changes = std::vector<std::function<void(Rule&)>>;

// Every field that tells two rules apart.
Changes<ValidationRule> ChangesOf(const ValidationRule&) {
    return {[](auto& r) { r.kind = 2; },
            [](auto& r) { r.errorStyle = 2; },
            [](auto& r) { r.literalList = 1; },
            [](auto& r) { r.ignoreBlank = 0; },
            [](auto& r) { r.noDropArrow = 1; },
            [](auto& r) { r.showInput = 0; },
            [](auto& r) { r.showError = 0; },
            [](auto& r) { r.comparison = 4; },
            [](auto& r) { ASSERT_TRUE(r.inputTitle.Assign(u"x")); },
            [](auto& r) { ASSERT_TRUE(r.errorTitle.Assign(u"x")); },
            [](auto& r) { ASSERT_TRUE(r.inputText.Assign(u"x")); },
            [](auto& r) { ASSERT_TRUE(r.errorText.Assign(u"x")); },
            [](auto& r) { Tokens(r.formula1, tokens2); },
            [](auto& r) { Tokens(r.formula2, tokens1); }};
}
Changes<ConditionalFormat> ChangesOf(const ConditionalFormat&) {
    using Condition = ConditionalCondition;
    Changes<ConditionalFormat> changes = {[](auto& f) { f.priority = 4; },
                                          [](auto& f) {
                                              FreeTokens(f.conditions[1].formula1),
                                                  FreeTokens(f.conditions[1].formula2),
                                                  f.conditions.RemoveLast();
                                          },
                                          [](auto& f) { f.conditions[1].type = 2; },
                                          [](auto& f) { f.conditions[1].comparison = 9; },
                                          [](auto& f) { Tokens(f.conditions[0].formula1, tokens2); },
                                          [](auto& f) { Tokens(f.conditions[1].formula2, tokens1); },
                                          [](auto& f) { f.conditions[0].hasFontColour = true; },
                                          [](auto& f) { f.conditions[0].fontColour = 5; },
                                          [](auto& f) { f.conditions[0].hasBorders = true; },
                                          [](auto& f) { f.conditions[0].hasPattern = true; }};
    for (OverrideByte Condition::*byte :
         {&Condition::strikeout, &Condition::italic, &Condition::bold, &Condition::underline,
          &Condition::leftStyle, &Condition::rightStyle, &Condition::topStyle, &Condition::bottomStyle,
          &Condition::pattern, &Condition::patternColour, &Condition::backColour}) {
        changes.push_back([byte](auto& f) { (f.conditions[0].*byte).present = true; });
        changes.push_back([byte](auto& f) { (f.conditions[1].*byte).value = 1; });
    }
    for (u8 Condition::*colour :
         {&Condition::leftColour, &Condition::rightColour, &Condition::topColour, &Condition::bottomColour})
        changes.push_back([colour](auto& f) { f.conditions[0].*colour = 1; });
    return changes;
}

template <typename Rule>
class RuleLists : public testing::Test {
  protected:
    ~RuleLists() override { EXPECT_EQ(allocator.LiveBlocks(), 0u); }
    static Rule& Add(Array<Rule>& rules, std::initializer_list<RefArea> areas) {
        Rule* rule = rules.AppendDefault();
        EXPECT_TRUE(rule);
        Fill(*rule);
        for (const RefArea& area : areas) EXPECT_TRUE(rule->areas.Append(area));
        return *rule;
    }
    static std::string Areas(const Array<Rule>& rules) {
        std::string all;
        for (const Rule& rule : rules) {
            for (const RefArea& a : rule.areas)
                all += std::to_string(a.firstRow) + "-" + std::to_string(a.lastRow) + " ";
            all += "| ";
        }
        return all;
    }
    test::FailingAllocator allocator;
};

using Kinds = testing::Types<ValidationRule, ConditionalFormat>;
TYPED_TEST_SUITE(RuleLists, Kinds);

TYPED_TEST(RuleLists, RulesDifferInEachOfTheirFieldsAndACopyInNone) {
    for (const auto& change : ChangesOf(TypeParam())) {
        Array<TypeParam> rules;
        this->Add(rules, {{1, 1, 0, 0}});
        TypeParam& changed = this->Add(rules, {{2, 2, 0, 0}});
        EXPECT_TRUE(EqualRules(rules[0], rules[1]));
        change(changed);
        EXPECT_FALSE(EqualRules(rules[0], rules[1]));
        EXPECT_FALSE(EqualRules(rules[1], rules[0]));
        MergeEqualRules(rules);
        EXPECT_EQ(this->Areas(rules), "1-1 | 2-2 | ");
        TypeParam copy;
        ASSERT_TRUE(CopyRule(copy, changed));
        EXPECT_TRUE(EqualRules(copy, changed));
        EXPECT_TRUE(copy.areas.IsEmpty());
        FreeRules(rules);
        VisitRuleFormulas(copy, [](FormulaTokens& tokens) { EXPECT_LE(TokenUsers(tokens), 1u); });
        FreeRule(copy);
    }
}

TYPED_TEST(RuleLists, EqualRulesBecomeOneAtThePlaceOfTheFirst) {
    Array<TypeParam> rules;
    const auto change = ChangesOf(TypeParam())[0];
    this->Add(rules, {{9, 9, 0, 0}});
    change(this->Add(rules, {{2, 2, 0, 0}}));
    this->Add(rules, {{4, 4, 0, 0}, {1, 1, 0, 0}});
    change(this->Add(rules, {{3, 3, 5, 5}}));
    this->Add(rules, {{6, 6, 0, 0}});
    MergeEqualRules(rules);
    EXPECT_EQ(this->Areas(rules), "1-1 4-4 6-6 9-9 | 2-2 3-3 | ");
    FreeRules(rules);
    this->Add(rules, {{9, 9, 0, 0}, {1, 1, 0, 0}});
    MergeEqualRules(rules);
    EXPECT_EQ(this->Areas(rules), "9-9 1-1 | ");
    FreeRules(rules);
    EXPECT_TRUE(rules.IsEmpty());
}

TYPED_TEST(RuleLists, CopiesHaveTheAreasWholeOrCutToAPart) {
    Array<TypeParam> rules, whole, part;
    this->Add(rules, {{0, 9, 0, 3}, {20, 29, 0, 3}});
    this->Add(rules, {{40, 49, 0, 3}});
    this->Add(rules, {{7, 7, 9, 9}, {8, 12, 3, 4}});
    ASSERT_TRUE(CopyRules(whole, rules));
    EXPECT_EQ(this->Areas(whole), "0-9 20-29 | 40-49 | 7-7 8-12 | ");
    EXPECT_TRUE(EqualRules(whole[2], rules[2]));
    ASSERT_TRUE(CopyRulesIn(part, rules, {5, 9, 3, 3}));
    EXPECT_EQ(this->Areas(part), "5-9 | 8-9 | ");
    EXPECT_TRUE(AnyRuleTouches(rules, {9, 9, 3, 3}));
    EXPECT_TRUE(AnyRuleTouches(rules, {7, 7, 9, 200}));
    EXPECT_FALSE(AnyRuleTouches(rules, {10, 19, 0, 2}));
    EXPECT_FALSE(AnyRuleTouches(part, {0, 1, 3, 3}));
    FreeRules(rules);
    FreeRules(whole);
    FreeRules(part);
}

TYPED_TEST(RuleLists, WhatIsTakenOutOfAllRulesLeavesNoEmptyOne) {
    Array<TypeParam> rules;
    this->Add(rules, {{0, 9, 0, 0}});
    this->Add(rules, {{4, 5, 0, 0}});
    this->Add(rules, {{4, 4, 0, 0}, {30, 31, 0, 0}});
    RemoveRulesIn(rules, {4, 6, 0, 255});
    EXPECT_EQ(this->Areas(rules), "0-3 7-9 | 30-31 | ");
    RemoveRulesIn(rules, {0, 65535, 1, 1});
    EXPECT_EQ(this->Areas(rules), "0-3 7-9 | 30-31 | ");
    RemoveRulesIn(rules, {0, 65535, 0, 0});
    EXPECT_TRUE(rules.IsEmpty());
}

TYPED_TEST(RuleLists, ACopyIsMadeWholeOrNotAtAll) {
    Array<TypeParam> rules;
    for (u16 i = 0; i < 3; ++i) this->Add(rules, {{i, i, 0, 0}, {u16(9 + i), u16(9 + i), 0, 0}});
    QuietMemoryScope quiet;
    for (u64 n = 1; n < 200; ++n) {
        Array<TypeParam> whole, part;
        this->allocator.FailAt(n);
        const bool good = CopyRules(whole, rules);
        this->allocator.StopFailing();
        EXPECT_EQ(whole.Count(), good ? 3u : 0u);
        this->allocator.FailAt(n);
        const bool goodPart = CopyRulesIn(part, rules, {0, 1, 0, 0});
        this->allocator.StopFailing();
        EXPECT_EQ(part.Count(), goodPart ? 2u : 0u);
        FreeRules(whole);
        FreeRules(part);
        if (good && goodPart) break;
        ASSERT_LT(n, 199u);
    }
    FreeRules(rules);
}

}  // namespace
}  // namespace tally
