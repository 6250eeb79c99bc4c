#include "editing/RuleOperations.h"

#include "editing/ClearArea.h"
#include "editing/ConditionalFormats.h"
#include "editing/PasteFixture.h"
#include "editing/RuleFormulas.h"
#include "editing/Undo.h"
#include "editing/Validation.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"
#include "support/FailingAllocator.h"

namespace tally {
namespace {

std::string AreasOf(const Array<RefArea>& areas) {
    std::string out;
    for (const RefArea& area : areas)
        out += std::string(1, static_cast<char>('A' + area.firstColumn)) + std::to_string(area.firstRow + 1) +
               ":" + std::string(1, static_cast<char>('A' + area.lastColumn)) +
               std::to_string(area.lastRow + 1) + " ";
    return out;
}

FormulaTokens Tokens(const char* text, i32 row = 0, i32 column = 0) {
    FormulaPlace place;
    place.book = CurrentBook();
    place.row = row;
    place.column = column;
    FormulaTokens tokens;
    EXPECT_EQ(ReadConditionValue(place, Wide(text), tokens), 0) << text;
    return tokens;
}

class RuleOperations : public Sandbox {
  protected:
    // A rule of the caller's own, freed at the end.
    struct Rule : ValidationRule {
        Rule(u32 ofKind, u32 compares, const char* first, const char* second = nullptr) {
            kind = ofKind;
            comparison = compares;
            if (first) formula1 = Tokens(first);
            if (second) formula2 = Tokens(second);
        }
        ~Rule() { FreeRule(*this); }
        Rule(const Rule&) = delete;
        Rule& operator=(const Rule&) = delete;
    };
    static bool Apply(const ValidationRule& rule, std::string_view first, std::string_view last) {
        return ApplyValidation({CurrentBook(), 0, AreaOf(first, last), &rule});
    }
    // "1 A1:A3 | 2 B1:B2 B4:B9 ", the kinds with their areas.
    static std::string Rules() {
        std::string out;
        for (const ValidationRule& rule : CurrentSheet()->validations)
            out += (out.empty() ? "" : "| ") + std::to_string(rule.kind) + " " + AreasOf(rule.areas);
        return out;
    }
};

TEST_F(RuleOperations, TheSameRuleOnTwoSelectionsIsOneRuleWithTwoAreas) {
    ASSERT_TRUE(Apply(Rule(1, 4, "5"), "C1", "C3"));
    CurrentWorkbook()->dirty = 0;
    ASSERT_TRUE(Apply(Rule(1, 4, "5"), "A1", "A3"));
    EXPECT_EQ(Rules(), "1 A1:A3 C1:C3 ");
    EXPECT_NE(CurrentWorkbook()->dirty, 0);
    // Any field makes another rule.
    Rule other(1, 4, "5");
    other.ignoreBlank = 0;
    ASSERT_TRUE(Apply(other, "E1", "E1"));
    ASSERT_TRUE(Apply(Rule(1, 4, "6"), "F1", "F1"));
    EXPECT_EQ(Rules(), "1 A1:A3 C1:C3 | 1 E1:E1 | 1 F1:F1 ");
    EXPECT_EQ(UndoCount(), 4u);
    for (u32 i = 0; i < 4; ++i) {
        EXPECT_EQ(LastUndo()->kind, i32{UNDO_VALIDATION});
        ASSERT_TRUE(UndoLast());
    }
    EXPECT_EQ(Rules(), "");
}

TEST_F(RuleOperations, ARuleTakesThePlaceOfTheOthersInItsArea) {
    ASSERT_TRUE(Apply(Rule(1, 4, "5"), "A1", "C9"));
    ASSERT_TRUE(Apply(Rule(2, 4, "5"), "E1", "E2"));
    ASSERT_TRUE(Apply(Rule(6, 4, "5"), "B4", "B6"));
    EXPECT_EQ(Rules(), "1 A1:A9 C1:C9 B1:B3 B7:B9 | 2 E1:E2 | 6 B4:B6 ");
    ASSERT_TRUE(Apply(Rule(2, 4, "5"), "B4", "E6"));
    EXPECT_EQ(FindRule(*CurrentSheet(), 4, 1), 1);
    EXPECT_EQ(CurrentSheet()->validations.Count(), 2u);  // the one inside is gone
    // Undo brings the rule back as it was, with its areas.
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Rules(), "1 A1:A9 C1:C9 B1:B3 B7:B9 | 2 E1:E2 | 6 B4:B6 ");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Rules(), "1 A1:C9 | 2 E1:E2 ");
}

TEST_F(RuleOperations, WhatAKindHasNoUseForIsLeftOut) {
    const struct {
        u32 kind, comparison;
        bool first, second, literal;
    } rows[] = {
        {0, 0, false, false, false}, {1, 0, true, true, false},  {1, 1, true, true, false},
        {1, 2, true, false, false},  {2, 7, true, false, false}, {4, 0, true, true, false},
        {5, 1, true, true, false},   {6, 3, true, false, false}, {6, 1, true, true, false},
        {3, 0, true, false, true},   {7, 0, true, false, false},
    };
    for (const auto& row : rows) {
        Rule rule(row.kind, row.comparison, "1", "2");
        rule.literalList = 1;
        ASSERT_TRUE(rule.inputText.Assign(u"said"));
        ASSERT_TRUE(Apply(rule, "A1", "A1"));
        ASSERT_EQ(CurrentSheet()->validations.Count(), 1u);
        const ValidationRule& kept = CurrentSheet()->validations[0];
        EXPECT_EQ(HasFormula(kept.formula1), row.first) << row.kind << row.comparison;
        EXPECT_EQ(HasFormula(kept.formula2), row.second) << row.kind << row.comparison;
        EXPECT_EQ(kept.literalList != 0, row.literal) << row.kind;
        EXPECT_TRUE(HasFormula(rule.formula1) && HasFormula(rule.formula2));  // the caller's are his own
    }
}

TEST_F(RuleOperations, ARuleForAnyValueIsKeptForWhatItSays) {
    ASSERT_TRUE(Apply(Rule(1, 4, "5"), "A1", "A9"));
    ASSERT_TRUE(Apply(Rule(0, 0, nullptr), "A4", "A4"));
    EXPECT_EQ(Rules(), "1 A1:A3 A5:A9 ");
    WideText ValidationRule::*const texts[] = {&ValidationRule::inputTitle, &ValidationRule::inputText,
                                               &ValidationRule::errorTitle, &ValidationRule::errorText};
    for (WideText ValidationRule::*text : texts) {
        Rule rule(0, 0, nullptr);
        ASSERT_TRUE((rule.*text).Assign(u"x"));
        ASSERT_TRUE(Apply(rule, "A4", "A4"));
        EXPECT_EQ(Rules(), "1 A1:A3 A5:A9 | 0 A4:A4 ");
        EXPECT_TRUE(PassesRule(CurrentBook(), 0, 3, 0, CurrentSheet()->validations[1]));
    }
}

TEST_F(RuleOperations, ClearingAllRemovesRulesAndClearingContentsLeavesThem) {
    ASSERT_TRUE(Apply(Rule(1, 4, "5"), "A1", "A9"));
    ASSERT_TRUE(ClearArea(AreaOf("A4", "A5"), CLEAR_CONTENTS));
    EXPECT_EQ(Rules(), "1 A1:A9 ");
    ASSERT_TRUE(ClearArea(AreaOf("A4", "A5"), CLEAR_ALL));
    EXPECT_EQ(Rules(), "1 A1:A3 A6:A9 ");
}

TEST_F(RuleOperations, RulesOfAnAreaAreCountedAndFound) {
    ASSERT_TRUE(Apply(Rule(1, 4, "5"), "A1", "A3"));
    ASSERT_TRUE(Apply(Rule(2, 4, "5"), "B1", "B3"));
    const Sheet& sheet = *CurrentSheet();
    EXPECT_EQ(CountValidations(sheet, AreaOf("A3", "B9")), 2u);
    EXPECT_EQ(CountValidations(sheet, AreaOf("B3", "C9")), 1u);
    EXPECT_EQ(CountValidations(sheet, AreaOf("A4", "B9")), 0u);
    EXPECT_EQ(FirstValidation(sheet, AreaOf("A3", "B9")), 0);
    EXPECT_EQ(FirstValidation(sheet, AreaOf("B3", "C9")), 1);
    EXPECT_EQ(FirstValidation(sheet, AreaOf("C1", "C9")), -1);
}

TEST_F(RuleOperations, NothingIsAppliedToWhatHasNoCells) {
    const Rule rule(1, 4, "5");
    EXPECT_FALSE(ApplyValidation({CurrentBook(), 7, AreaOf("A1", "A1"), &rule}));
    EXPECT_FALSE(ApplyConditionalFormats({3, 0, AreaOf("A1", "A1"), {}}));
    EXPECT_EQ(UndoCount(), 0u);
}

// ---- conditional formats -----------------------------------------------------------------------------------

class ConditionalOperations : public RuleOperations {
  protected:
    std::vector<ConditionEdit> edits;

    void TearDown() override {
        Forget();
        RuleOperations::TearDown();
    }
    void Forget() {
        for (ConditionEdit& edit : edits) FreeCondition(edit.condition);
        edits.clear();
    }
    // A bold one where a value is above `limit`.
    ConditionalCondition& Add(const char* limit, u32 type = 1) {
        ConditionEdit edit;
        edit.condition.type = type;
        edit.condition.comparison = 5;
        edit.condition.formula1 = Tokens(limit);
        edit.condition.bold = {true, 1};
        edits.push_back(edit);
        return edits.back().condition;
    }
    bool Apply(std::string_view first, std::string_view last) {
        return ApplyConditionalFormats({CurrentBook(), 0, AreaOf(first, last), edits});
    }
    static std::string Formats() {
        std::string out;
        for (const ConditionalFormat& format : CurrentSheet()->conditionalFormats)
            out += (out.empty() ? "" : "| ") + std::to_string(format.conditions.Count()) + " " +
                   AreasOf(format.areas);
        return out;
    }
};

TEST_F(ConditionalOperations, TheSameConditionsOnTwoSelectionsAreOneRecordWithTwoAreas) {
    Add("5");
    ASSERT_TRUE(Apply("C1", "C3"));
    CurrentSheet()->conditionalFormats[0].priority = 7;  // of a file
    ASSERT_TRUE(Apply("A1", "A3"));
    EXPECT_EQ(Formats(), "1 A1:A3 C1:C3 ");
    EXPECT_EQ(CurrentSheet()->conditionalFormats[0].priority, 7);
    edits[0].condition.bold.value = 0;
    ASSERT_TRUE(Apply("E1", "E1"));
    EXPECT_EQ(Formats(), "1 A1:A3 C1:C3 | 1 E1:E1 ");
    EXPECT_EQ(LastUndo()->kind, i32{UNDO_CONDITIONAL});
}

TEST_F(ConditionalOperations, AreasAreCutOutOfTheOthersAndUndoBringsThemBack) {
    Add("5");
    ASSERT_TRUE(Apply("A1", "C9"));
    Forget();
    Add("6");
    ASSERT_TRUE(Apply("B4", "B6"));
    EXPECT_EQ(Formats(), "1 A1:A9 C1:C9 B1:B3 B7:B9 | 1 B4:B6 ");
    CurrentWorkbook()->dirty = 0;
    Forget();
    ASSERT_TRUE(Apply("A4", "C9"));  // none left
    EXPECT_NE(CurrentWorkbook()->dirty, 0);
    EXPECT_EQ(CurrentSheet()->conditionalFormats.Count(), 1u);
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Formats(), "1 A1:A9 C1:C9 B1:B3 B7:B9 | 1 B4:B6 ");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Formats(), "1 A1:C9 ");
    ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Formats(), "");
}

TEST_F(ConditionalOperations, DeletedConditionsAndThoseWithoutALookGo) {
    Add("1");
    Add("2").bold = {};
    Add("3");
    edits[0].deleted = true;
    ASSERT_TRUE(Apply("A1", "A1"));
    ASSERT_EQ(Formats(), "1 A1:A1 ");
    FormulaTokens three = Tokens("3");
    EXPECT_TRUE(EqualTokens(CurrentSheet()->conditionalFormats[0].conditions[0].formula1, three));
    FreeTokens(three);
    edits[2].deleted = true;
    ASSERT_TRUE(Apply("A1", "A1"));
    EXPECT_EQ(Formats(), "");
}

TEST_F(ConditionalOperations, EachPartOfALookCounts) {
    ConditionalCondition c;
    EXPECT_FALSE(HasLook(c));
    for (OverrideByte ConditionalCondition::*part :
         {&ConditionalCondition::strikeout, &ConditionalCondition::italic, &ConditionalCondition::bold,
          &ConditionalCondition::underline}) {
        ConditionalCondition one;
        (one.*part).present = true;
        EXPECT_TRUE(HasLook(one));
    }
    for (OverrideByte ConditionalCondition::*part :
         {&ConditionalCondition::leftStyle, &ConditionalCondition::rightStyle, &ConditionalCondition::topStyle,
          &ConditionalCondition::bottomStyle, &ConditionalCondition::pattern,
          &ConditionalCondition::patternColour, &ConditionalCondition::backColour}) {
        ConditionalCondition one;
        (one.*part).present = true;
        EXPECT_FALSE(HasLook(one));  // not without the part's own flag
        one.hasBorders = one.hasPattern = true;
        EXPECT_TRUE(HasLook(one));
    }
    c.hasBorders = c.hasPattern = true;
    EXPECT_FALSE(HasLook(c));
    c.hasFontColour = true;
    EXPECT_TRUE(HasLook(c));
}

TEST_F(ConditionalOperations, ARelativeFormulaIsThatOfEachCell) {
    Add("=A1>B1", 2);
    ASSERT_TRUE(Apply("A1", "A9"));
    Enter("A1", "1");
    Enter("B1", "2");
    Enter("A2", "3");
    Enter("B2", "2");
    EXPECT_EQ(FindConditionalFormat(CurrentBook(), 0, 0, 0), nullptr);
    EXPECT_NE(FindConditionalFormat(CurrentBook(), 0, 1, 0), nullptr);
}

TEST_F(ConditionalOperations, ConditionsOfTheRecordsThatTouchAreGatheredUpToThree) {
    Add("1");
    ASSERT_TRUE(Apply("A1", "A3"));
    Add("2");
    ASSERT_TRUE(Apply("B1", "B3"));
    Add("3");
    ASSERT_TRUE(Apply("C1", "C3"));
    const ConditionalCondition* found[MAX_CONDITIONS] = {};
    const auto& formats = CurrentSheet()->conditionalFormats;
    EXPECT_EQ(GatherConditions(*CurrentSheet(), AreaOf("A3", "C9"), found), 3u);
    EXPECT_EQ(found[0], &formats[0].conditions[0]);
    EXPECT_EQ(found[1], &formats[1].conditions[0]);
    EXPECT_EQ(found[2], &formats[1].conditions[1]);
    EXPECT_EQ(GatherConditions(*CurrentSheet(), AreaOf("B3", "B9"), found), 2u);
    EXPECT_EQ(found[0], &formats[1].conditions[0]);
    EXPECT_EQ(GatherConditions(*CurrentSheet(), AreaOf("A4", "C9"), found), 0u);
}

}  // namespace
}  // namespace tally
