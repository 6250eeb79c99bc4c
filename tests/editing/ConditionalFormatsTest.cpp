#include "editing/ConditionalFormats.h"

#include "formula/Compiler.h"
#include "model/Tokens.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class ConditionalFormatsTest : public Sandbox {
  protected:
    // Relative references of the formulas are meant from A1.
    static void AddCondition(ConditionalFormat& format, u32 type, u32 comparison, const char* first,
                             const char* second = nullptr) {
        ConditionalCondition* condition = format.conditions.AppendDefault();
        ASSERT_NE(condition, nullptr);
        condition->type = type;
        condition->comparison = comparison;
        FormulaPlace place;
        place.book = CurrentBook();
        place.relativeForm = true;
        ASSERT_TRUE(CompileFormula(place, Wide(first), 'V', condition->formula1));
        if (second) ASSERT_TRUE(CompileFormula(place, Wide(second), 'V', condition->formula2));
    }
    static ConditionalFormat& AddFormat(const RefArea& area) {
        ConditionalFormat* format = CurrentSheet()->conditionalFormats.AppendDefault();
        EXPECT_NE(format, nullptr);
        EXPECT_TRUE(format->areas.Append(area));
        return *format;
    }
    static void FreeFormats() {
        for (ConditionalFormat& format : CurrentSheet()->conditionalFormats) {
            for (ConditionalCondition& condition : format.conditions) {
                FreeTokens(condition.formula1);
                FreeTokens(condition.formula2);
            }
        }
        CurrentSheet()->conditionalFormats.Clear();
    }
    // Place of the condition in force in its format, or -1.
    static int InForce(std::string_view cell) {
        i32 row = 0, column = 0;
        ReadCellName(cell, row, column);
        const ConditionalCondition* found = FindConditionalFormat(CurrentBook(), 0, row, column);
        for (const ConditionalFormat& format : CurrentSheet()->conditionalFormats)
            for (u32 i = 0; i < format.conditions.Count(); ++i)
                if (found == &format.conditions[i]) return static_cast<int>(i);
        return -1;
    }
};

constexpr RefArea COLUMN_A = {0, 99, 0, 0};

// A limit or a condition may be a reference that is only known when it is evaluated.
TEST_F(ConditionalFormatsTest, AReferenceStandsForItsCell) {
    Enter("A1", "5");
    Enter("A2", "5");
    Enter("B1", "3");
    Enter("B2", "8");
    ConditionalFormat& format = AddFormat(COLUMN_A);
    AddCondition(format, 1, 5, "=OFFSET(A1,0,1)");
    AddCondition(format, 2, 0, "=OFFSET(A1,0,2)");
    EXPECT_EQ(InForce("A1"), 0);
    EXPECT_EQ(InForce("A2"), -1);
    Enter("C2", "TRUE");
    EXPECT_EQ(InForce("A2"), 1);
    Enter("C2", "=1/0");
    EXPECT_EQ(InForce("A2"), -1);
    FreeFormats();
}

TEST_F(ConditionalFormatsTest, ComparisonsOfTheValue) {
    const struct {
        u32 comparison;
        const char* second;
        bool below, at, between, atSecond, above;  // 1, 2, 3, 4 and 5 against 2 (and 4)
    } rows[] = {
        {1, "=4", false, true, true, true, false},       {2, "=4", true, false, false, false, true},
        {3, nullptr, false, true, false, false, false},  {4, nullptr, true, false, true, true, true},
        {5, nullptr, false, false, true, true, true},    {6, nullptr, true, false, false, false, false},
        {7, nullptr, false, true, true, true, true},     {8, nullptr, true, true, false, false, false},
        {9, nullptr, false, false, false, false, false}, {1, nullptr, false, false, false, false, false},
    };
    for (const char* entry : {"1", "2", "3", "4", "5"}) Enter("A" + std::string(entry), entry);
    for (const auto& row : rows) {
        FreeFormats();
        AddCondition(AddFormat(COLUMN_A), 1, row.comparison, "=2", row.second);
        EXPECT_EQ(InForce("A1") == 0, row.below) << row.comparison;
        EXPECT_EQ(InForce("A2") == 0, row.at) << row.comparison;
        EXPECT_EQ(InForce("A3") == 0, row.between) << row.comparison;
        EXPECT_EQ(InForce("A4") == 0, row.atSecond) << row.comparison;
        EXPECT_EQ(InForce("A5") == 0, row.above) << row.comparison;
    }
}

TEST_F(ConditionalFormatsTest, TheFirstConditionThatHoldsIsInForce) {
    ConditionalFormat& format = AddFormat(COLUMN_A);
    AddCondition(format, 1, 5, "=10");
    AddCondition(format, 1, 5, "=5");
    Enter("A1", "20");
    Enter("A2", "7");
    Enter("A3", "1");
    EXPECT_EQ(InForce("A1"), 0);
    EXPECT_EQ(InForce("A2"), 1);
    EXPECT_EQ(InForce("A3"), -1);
    EXPECT_EQ(InForce("B1"), -1);
}

TEST_F(ConditionalFormatsTest, OfTwoFormatsOnACellOnlyTheFirstIsUsed) {
    AddCondition(AddFormat(COLUMN_A), 1, 5, "=10");
    AddCondition(AddFormat(COLUMN_A), 1, 6, "=10");
    Enter("A1", "5");
    EXPECT_EQ(InForce("A1"), -1);
}

TEST_F(ConditionalFormatsTest, AnErrorMatchesNoComparisonButAFormula) {
    ConditionalFormat& format = AddFormat(COLUMN_A);
    AddCondition(format, 1, 4, "=1");
    AddCondition(format, 2, 0, "=ISERROR(A1)");
    Enter("A1", "=1/0");
    EXPECT_EQ(InForce("A1"), 1);
    Enter("A1", "2");
    EXPECT_EQ(InForce("A1"), 0);
}

TEST_F(ConditionalFormatsTest, AFormulaThatGivesAnErrorSkipsItsCondition) {
    ConditionalFormat& format = AddFormat(COLUMN_A);
    AddCondition(format, 1, 1, "=1", "=1/0");
    AddCondition(format, 1, 5, "=1/0");
    AddCondition(format, 2, 0, "=1/0");
    Enter("A1", "5");
    EXPECT_EQ(InForce("A1"), -1);
}

TEST_F(ConditionalFormatsTest, ARelativeFormulaIsEvaluatedAtEachCell) {
    AddCondition(AddFormat(COLUMN_A), 2, 0, "=B1>A1");
    Enter("A1", "1");
    Enter("B1", "=A1+1");
    Enter("A2", "5");
    Enter("B2", "=A1+1");
    EXPECT_EQ(InForce("A1"), 0);
    EXPECT_EQ(InForce("A2"), -1);
    Enter("A1", "9");
    EXPECT_EQ(InForce("A2"), 0);
}

TEST_F(ConditionalFormatsTest, AConditionFormulaGivesATruth) {
    const struct {
        const char* formula;
        bool holds;
    } rows[] = {{"=TRUE", true},   {"=FALSE", false}, {"=5", true},      {"=0", false},   {"=-1", true},
                {"=\"x\"", false}, {"=C1", false},    {"=B1:B2", false}, {"=$B$1", true}, {"=\"TRUE\"", true}};
    Enter("B1", "1");
    for (const auto& row : rows) {
        FreeFormats();
        AddCondition(AddFormat(COLUMN_A), 2, 0, row.formula);
        EXPECT_EQ(InForce("A5") == 0, row.holds) << row.formula;
    }
}

TEST_F(ConditionalFormatsTest, AFormatHoldsOverEachOfItsAreasAndNowhereElse) {
    ConditionalFormat& format = AddFormat(AreaOf("B2", "C3"));
    ASSERT_TRUE(format.areas.Append(AreaOf("E5", "E5")));
    AddCondition(format, 2, 0, "=TRUE");
    for (const char* cell : {"B2", "C2", "B3", "C3", "E5"}) EXPECT_EQ(InForce(cell), 0) << cell;
    for (const char* cell : {"A2", "B1", "D3", "C4", "E4", "F5"}) EXPECT_EQ(InForce(cell), -1) << cell;
    EXPECT_EQ(FindConditionalFormat(CurrentBook(), 1, 1, 1), nullptr);
    EXPECT_EQ(FindConditionalFormat(7, 0, 1, 1), nullptr);
}

}  // namespace
}  // namespace tally
