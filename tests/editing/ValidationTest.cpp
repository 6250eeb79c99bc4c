#include "editing/Validation.h"

#include "base/MessageTable.h"
#include "editing/StoreEntry.h"
#include "formula/Compiler.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class ValidationTest : public Sandbox {
  protected:
    static FormulaTokens Tokens(const char* text) {
        FormulaPlace place;
        place.book = CurrentBook();
        place.relativeForm = true;
        FormulaTokens tokens;
        EXPECT_TRUE(CompileFormula(place, Wide(text), 'R', tokens)) << text;
        return tokens;
    }
    // On A1:A9, relative references meant from A1.
    static ValidationRule& Rule(u32 kind, u32 comparison, const char* first, const char* second = nullptr) {
        for (ValidationRule& old : CurrentSheet()->validations) {
            FreeTokens(old.formula1);
            FreeTokens(old.formula2);
        }
        CurrentSheet()->validations.Clear();
        ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
        EXPECT_NE(rule, nullptr);
        EXPECT_TRUE(rule->areas.Append({0, 8, 0, 0}));
        rule->kind = kind;
        rule->comparison = comparison;
        if (first) rule->formula1 = Tokens(first);
        if (second) rule->formula2 = Tokens(second);
        return *rule;
    }
    static bool Passes(const char* entry, const char* cell = "A1") {
        Enter(cell, entry);
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        return PassesRule(CurrentBook(), 0, row, column, CurrentSheet()->validations[0]);
    }
    static i32 Check(i32 answer, bool& good) {
        Headless().boxes.Clear();
        Headless().answers.Clear();
        Headless().answersUsed = 0;
        EXPECT_TRUE(Headless().answers.Append(answer));
        i32 outcome = ENTRY_STORED;
        good = CheckEntryRules(CurrentBook(), 0, {0, 0, 0, 0}, outcome);
        return outcome;
    }
};

TEST_F(ValidationTest, NumbersAgainstTheirLimits) {
    const struct {
        u32 comparison;
        bool below, atFirst, between, atSecond, above;  // 1, 2, 3, 4, 5 against 2 and 4
    } rows[] = {
        {0, false, true, true, true, false},   {1, true, false, false, false, true},
        {2, false, true, false, false, false}, {3, true, false, true, true, true},
        {4, false, false, true, true, true},   {5, true, false, false, false, false},
        {6, false, true, true, true, true},    {7, true, true, false, false, false},
    };
    for (const u32 kind : {1u, 2u, 4u, 5u}) {
        for (const auto& row : rows) {
            Rule(kind, row.comparison, "=2", "=4");
            EXPECT_EQ(Passes("1"), row.below) << kind << row.comparison;
            EXPECT_EQ(Passes("2"), row.atFirst) << kind << row.comparison;
            EXPECT_EQ(Passes("3"), row.between) << kind << row.comparison;
            EXPECT_EQ(Passes("4"), row.atSecond) << kind << row.comparison;
            EXPECT_EQ(Passes("5"), row.above) << kind << row.comparison;
        }
    }
}

TEST_F(ValidationTest, AWholeNumberHasNoFractionAndATextIsNoNumber) {
    Rule(1, 4, "=0");
    EXPECT_TRUE(Passes("7"));
    EXPECT_FALSE(Passes("7.5"));
    EXPECT_FALSE(Passes("seven"));
    EXPECT_FALSE(Passes("TRUE"));
    Rule(2, 4, "=0");
    EXPECT_TRUE(Passes("7.5"));
}

TEST_F(ValidationTest, AFormulaWithoutANumberFailsTheTest) {
    Rule(2, 4, "=1/0");
    EXPECT_FALSE(Passes("7"));
    Rule(2, 0, "=1", "=\"x\"");
    EXPECT_FALSE(Passes("7"));
    Rule(2, 4, nullptr);
    EXPECT_FALSE(Passes("7"));
}

TEST_F(ValidationTest, ARelativeLimitIsThatOfEachCell) {
    Rule(2, 4, "=B1");
    Enter("B1", "5");
    Enter("B2", "=B1*10");
    EXPECT_TRUE(Passes("6", "A1"));
    EXPECT_FALSE(Passes("6", "A2"));
}

TEST_F(ValidationTest, AListOfCellsComparesLikeWithLike) {
    Enter("C1", "red");
    Enter("C2", "12");
    Enter("C3", "TRUE");
    Enter("C4", "=1/0");
    Rule(3, 0, "=$C$1:$C$4");
    for (const char* entry : {"RED", "12", "TRUE", "#DIV/0!"}) EXPECT_TRUE(Passes(entry)) << entry;
    for (const char* entry : {"blue", "13", "FALSE", "#N/A", "'12"}) EXPECT_FALSE(Passes(entry)) << entry;
    DefineName("colours", "=Sheet1!$C$1:$C$2");
    Rule(3, 0, "=colours");
    EXPECT_TRUE(Passes("Red"));
    EXPECT_FALSE(Passes("TRUE"));
}

TEST_F(ValidationTest, ALiteralListHasItsItemsBetweenZeroCharacters) {
    ValidationRule& rule = Rule(3, 0, nullptr);
    rule.literalList = 1;
    const u8 tokens[] = {0x17, 10, 0, 'r', 'e', 'd', 0, ' ', ' ', '1', '2', 0, 'x'};
    ASSERT_TRUE(MakeTokens(rule.formula1, {tokens, sizeof tokens}, {}));
    for (const char* entry : {"Red", "12", "X"}) EXPECT_TRUE(Passes(entry)) << entry;
    for (const char* entry : {"re", "1", "13", "TRUE"}) EXPECT_FALSE(Passes(entry)) << entry;
}

TEST_F(ValidationTest, TheLengthIsThatOfTheTextShownInFull) {
    Rule(6, 7, "=5");
    EXPECT_TRUE(Passes("abcde"));
    EXPECT_FALSE(Passes("abcdef"));
    EXPECT_TRUE(Passes("12345"));
    EXPECT_FALSE(Passes("=1/3"));
    EXPECT_TRUE(Passes("FALSE"));
    Rule(6, 7, "=4");
    EXPECT_FALSE(Passes("FALSE"));
    EXPECT_TRUE(Passes("TRUE"));
}

TEST_F(ValidationTest, ACustomFormulaMustGiveTrue) {
    Rule(7, 0, "=AND(A1>B1,ISNUMBER(A1))");
    Enter("B1", "3");
    EXPECT_TRUE(Passes("4"));
    EXPECT_FALSE(Passes("2"));
    Rule(7, 0, "=1/0");
    EXPECT_FALSE(Passes("2"));
}

TEST_F(ValidationTest, TheFirstRuleThatCoversACellCounts) {
    Rule(2, 4, "=0");
    ValidationRule* second = CurrentSheet()->validations.AppendDefault();
    ASSERT_NE(second, nullptr);
    ASSERT_TRUE(second->areas.Append({5, 12, 0, 0}));
    EXPECT_EQ(FindRule(*CurrentSheet(), 5, 0), 0);
    EXPECT_EQ(FindRule(*CurrentSheet(), 9, 0), 1);
    EXPECT_EQ(FindRule(*CurrentSheet(), 9, 1), -1);
}

TEST_F(ValidationTest, EachStyleHasItsButtonsAndWhatTheyMean) {
    const struct {
        u32 style;
        u32 flags;
        const char* text;
        std::vector<std::pair<i32, i32>> outcomes;  // answer, outcome
    } rows[] = {
        {0, MB_RETRYCANCEL | MB_ICONSTOP, "输入值非法", {{IDRETRY, ENTRY_RETRY}, {IDCANCEL, ENTRY_CANCELLED}}},
        {1,
         MB_YESNOCANCEL | MB_ICONWARNING,
         "输入值非法\n是否继续?",
         {{IDYES, ENTRY_STORED}, {IDNO, ENTRY_RETRY}, {IDCANCEL, ENTRY_CANCELLED}}},
        {2,
         MB_OKCANCEL | MB_ICONINFORMATION,
         "输入值非法",
         {{IDOK, ENTRY_STORED}, {IDCANCEL, ENTRY_CANCELLED}}},
    };
    for (const auto& row : rows) {
        Rule(2, 4, "=10").errorStyle = row.style;
        Enter("A1", "5");
        for (const auto& [answer, outcome] : row.outcomes) {
            bool good = false;
            EXPECT_EQ(Check(answer, good), outcome);
            EXPECT_EQ(good, outcome == ENTRY_STORED);
            ASSERT_EQ(Headless().boxes.Count(), 1u);
            EXPECT_EQ(Headless().boxes[0].flags, row.flags);
            EXPECT_EQ(Narrow(Headless().boxes[0].text), row.text);
            EXPECT_EQ(Narrow(Headless().boxes[0].title), "Tallyman");
        }
    }
    ValidationRule& rule = Rule(2, 4, "=10");
    ASSERT_TRUE(rule.errorTitle.Assign(u"Price") && rule.errorText.Assign(u"Too low"));
    bool good = false;
    Check(IDCANCEL, good);
    EXPECT_EQ(Narrow(Headless().boxes[0].title), "Price");
    EXPECT_EQ(Narrow(Headless().boxes[0].text), "Too low");
}

TEST_F(ValidationTest, NothingIsAskedOfABlankCellOrByASilentRule) {
    bool good = false;
    Rule(2, 4, "=10");
    Check(IDCANCEL, good);
    EXPECT_TRUE(good);
    Enter("A1", "5");
    Rule(2, 4, "=10").showError = 0;
    Check(IDCANCEL, good);
    EXPECT_TRUE(good);
    Rule(0, 4, "=10");
    Check(IDCANCEL, good);
    EXPECT_TRUE(good);
    EXPECT_TRUE(Headless().boxes.IsEmpty());
}

TEST_F(ValidationTest, EachCellIsTestedByItsOwnRule) {
    Rule(2, 4, "=10").areas.Clear();
    ASSERT_TRUE(CurrentSheet()->validations[0].areas.Append(AreaOf("C2", "D3")));
    i32 outcome = -1;
    for (const char* cell : {"C2", "D2", "C3", "D3"}) {
        for (const char* each : {"B1", "C2", "D2", "C3", "D3", "E4"}) Enter(each, "11");
        EXPECT_TRUE(CheckEntryRules(CurrentBook(), 0, AreaOf("B1", "E4"), outcome)) << cell;
        Enter(cell, "9");
        Headless().answers.Clear();
        Headless().answersUsed = 0;
        ASSERT_TRUE(Headless().answers.Append(IDCANCEL));
        EXPECT_FALSE(CheckEntryRules(CurrentBook(), 0, AreaOf("B1", "E4"), outcome)) << cell;
        EXPECT_EQ(outcome, ENTRY_CANCELLED);
        // What is not in the area is not asked for.
        EXPECT_TRUE(CheckEntryRules(CurrentBook(), 0, AreaOf("B1", "B4"), outcome));
    }
    Enter("B1", "9");
    EXPECT_TRUE(CheckEntryRules(CurrentBook(), 0, AreaOf("B1", "B1"), outcome));
    EXPECT_TRUE(CheckEntryRules(CurrentBook(), 1, AreaOf("C2", "D3"), outcome));
}

// A number typed as a formula counts as what it gives.
TEST_F(ValidationTest, AFormulaInTheCellIsTestedByItsValue) {
    Rule(2, 4, "=10");
    bool good = true;
    Enter("A1", "=4+5");
    Check(IDCANCEL, good);
    EXPECT_FALSE(good);
    Enter("A1", "=4+7");
    Check(IDCANCEL, good);
    EXPECT_TRUE(good);
    Enter("A1", "=\"\"");
    Check(IDCANCEL, good);
    EXPECT_FALSE(good);
}

TEST_F(ValidationTest, AStyleThatIsNoneIsThatOfStop) {
    Rule(2, 4, "=10").errorStyle = 3;
    Enter("A1", "5");
    bool good = true;
    EXPECT_EQ(Check(IDCANCEL, good), ENTRY_CANCELLED);
    EXPECT_EQ(Headless().boxes[0].flags, u32{MB_RETRYCANCEL | MB_ICONSTOP});
}

TEST_F(ValidationTest, ARuleOfAnotherKindOrWithoutAComparisonHolds) {
    Rule(0, 0, nullptr);
    EXPECT_TRUE(Passes("x"));
    Rule(8, 0, nullptr);
    EXPECT_TRUE(Passes("x"));
    Rule(2, 8, "=1");
    EXPECT_FALSE(Passes("1"));
}

// ---- the drop list -------------------------------------------------------------------------------------

class ValidationLists : public ValidationTest {
  protected:
    static std::string Items(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        Array<WideText> items;
        EXPECT_TRUE(RuleListItems(CurrentBook(), 0, row, column, items));
        std::string all;
        for (const WideText& item : items) all += Narrow(item) + "|";
        return all;
    }
};

TEST_F(ValidationLists, ItemsAreTheShownTextsOfTheArea) {
    Enter("C2", "red");
    Enter("C3", "8%");
    Enter("C5", "=C3+1");
    Enter("D2", "other");
    Rule(3, 0, "=$C$2:$C$5");
    EXPECT_EQ(Items("A1"), "red|0.08|1.08|");
    EXPECT_EQ(Items("A9"), "red|0.08|1.08|");
    EXPECT_EQ(Items("A10"), "");
    EXPECT_EQ(Items("B1"), "");
    Enter("C3", "2");
    EXPECT_EQ(Items("A1"), "red|2|3|");
    Rule(3, 0, "=$C$2:$D$2");
    EXPECT_EQ(Items("A1"), "red|other|");
    // Relative references go with the cell.
    Rule(3, 0, "=C1:C2");
    EXPECT_EQ(Items("A1"), "red|");
    EXPECT_EQ(Items("A2"), "red|2|");
}

TEST_F(ValidationLists, ItemsOfALiteralListStandBetweenZeroCharacters) {
    ValidationRule& rule = Rule(3, 0, nullptr);
    rule.literalList = 1;
    const u8 tokens[] = {0x17, 10, 0, 'r', 'e', 'd', 0, ' ', ' ', '1', ' ', 0, 'x'};
    ASSERT_TRUE(MakeTokens(rule.formula1, {tokens, sizeof tokens}, {}));
    EXPECT_EQ(Items("A1"), "red|1 |x|");
    // A literal that is no text, and a text that is no literal, have no items.
    rule.literalList = 0;
    EXPECT_EQ(Items("A1"), "");
    Enter("C2", "red");
    Rule(3, 0, "=$C$2").literalList = 1;
    EXPECT_EQ(Items("A1"), "");
    CurrentSheet()->validations[0].literalList = 0;
    EXPECT_EQ(Items("A1"), "red|");
}

TEST_F(ValidationLists, OnlyAListHasItems) {
    Enter("C2", "red");
    for (const u32 kind : {0u, 1u, 2u, 4u, 5u, 6u, 7u}) {
        Rule(kind, 0, "=$C$2");
        EXPECT_EQ(Items("A1"), "") << kind;
    }
    Rule(3, 0, nullptr);
    EXPECT_EQ(Items("A1"), "");
    Rule(3, 0, "=1/0");
    EXPECT_EQ(Items("A1"), "");
}

TEST_F(ValidationLists, NoMoreThanAThousandAndTwentyFourItemsAreListed) {
    for (u16 row = 0; row < 1030; ++row)
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, 2, 15, NumberValue(row), FormulaTokens()));
    Rule(3, 0, "=$C$1:$C$1030");
    Array<WideText> items;
    ASSERT_TRUE(RuleListItems(CurrentBook(), 0, 0, 0, items));
    ASSERT_EQ(items.Count(), 1024u);
    EXPECT_EQ(Narrow(items[1023]), "1023");
    // Every cell of the list is still a valid entry.
    EXPECT_TRUE(Passes("1029"));
    EXPECT_FALSE(Passes("1030"));
}

}  // namespace
}  // namespace tally
