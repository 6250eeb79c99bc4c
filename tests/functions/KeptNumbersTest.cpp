#include "functions/KeptNumbers.h"

#include <random>

#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "functions/Handlers.h"
#include "functions/LookupIndex.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

// Functions over areas that are kept against the same functions over areas that are read anew.

namespace tally {
namespace {

class KeptAreas : public Sandbox {
  protected:
    std::mt19937 random{23};
    u32 Pick(u32 count) { return static_cast<u32>(random() % count); }

    void Put(i32 row, i32 column, Value value) {
        IgnoreFailure(InsertCell(*CurrentSheet(), row, column, DEFAULT_CELL_FORMAT, value, FormulaTokens()));
    }
    Value Any(bool errors) {
        constexpr double numbers[] = {0, 1, 1 + 1e-15, 1 - 2e-16, -3, 2, 1e300, 5e-324, 0.1};
        switch (Pick(errors ? 13 : 12)) {
            case 0: return BoolValue(Pick(2));
            case 1: return TextValue(u"text");
            case 2:
            case 3:
            case 4: return NumberValue(numbers[Pick(std::size(numbers))]);
            case 12: return ErrorValue(static_cast<i32>(Pick(ERROR_COUNT)));
            default: return NumberValue(Pick(400) / 8.0);
        }
    }
    void FillArea(bool errors) {
        for (i32 row = 0; row < 60; ++row) {
            for (i32 column = 1; column < 3; ++column) {
                CellPosition position;
                if (FindCell(CurrentSheet()->cells, row, column, position))
                    RemoveCell(CurrentSheet()->cells, position);
                if (Pick(8)) Put(row, column, Any(errors && row > 40));
            }
        }
    }
};

constexpr const char* formulas[] = {
    "=AVERAGE(B1:C60)",       "=AVERAGEA(B1:C60)",     "=MAX(B1:C60)",
    "=MAXA(B1:C60)",          "=MIN(B1:C60)",          "=MINA(B1:C60)",
    "=COUNT(B1:C60)",         "=COUNTA(B1:C60)",       "=STDEV(B1:C60)",
    "=VARPA(B1:C60)",         "=MEDIAN(B1:C60)",       "=MODE(B1:C60)",
    "=LARGE(B1:C60,#)",       "=SMALL(B1:C60,#)",      "=PERCENTILE(B1:C60,0.#)",
    "=QUARTILE(B1:C60,#)",    "=RANK(#,B1:C60)",       "=RANK(#,B1:C60,1)",
    "=PERCENTRANK(B1:C60,#)", "=GEOMEAN(B1:C60)",      "=DEVSQ(B1:C60)",
    "=SKEW(B1:C60)",          "=TRIMMEAN(B1:C60,0.#)",
};

TEST_F(KeptAreas, GiveWhatReadingGives) {
    for (int table = 0; table < 60; ++table) {
        FillArea(table % 3 == 0);
        for (const std::string formula : formulas) {
            std::string text = formula;
            if (const std::size_t at = text.find('#'); at != std::string::npos)
                text.replace(at, 1, std::to_string(Pick(6)));
            ResetKeptNumbers();
            const std::string anew = Eval(text);
            Eval(text);
            EXPECT_EQ(Eval(text), anew) << text;
            EXPECT_EQ(Eval(text), anew) << text;
        }
    }
}

TEST_F(KeptAreas, FollowEditsAndFormulas) {
    for (int row = 1; row <= 100; ++row) Enter("B" + std::to_string(row), std::to_string(row));
    Enter("D1", "=MAX(B1:B100)");
    Enter("D2", "=MAX(B1:B100)");
    Enter("D3", "=MAX(B1:B100)+RANK(50,B1:B100)+COUNTA(B1:B100)");
    EXPECT_EQ(Shown("D1") + " " + Shown("D2") + " " + Shown("D3"), "100 100 251");
    Enter("B7", "=B8*100");
    EXPECT_EQ(Shown("D1") + " " + Shown("D2") + " " + Shown("D3"), "800 800 952");
    Enter("B8", "9");
    EXPECT_EQ(Shown("D2") + " " + Shown("D3"), "900 1052");
    Enter("B9", "=1/0");
    EXPECT_EQ(Shown("D1") + " " + Shown("D3"), "#DIV/0! #DIV/0!");
    Enter("B9", "x");
    EXPECT_EQ(Shown("D1") + " " + Shown("D3"), "900 1052");
}

TEST_F(KeptAreas, SmallAreasAndNewOnesAreRead) {
    for (int row = 1; row <= 100; ++row) Enter("B" + std::to_string(row), std::to_string(row));
    ResetKeptNumbers();
    const EvalContext context{CurrentBook(), 0, 0, 0, 0};
    const Value area = AreaValue({0, 99, 1, 1});
    EXPECT_EQ(NumbersOf(AreaValue({0, 9, 1, 1}), context, false), nullptr);
    EXPECT_EQ(NumbersOf(area, context, false), nullptr);
    ASSERT_NE(NumbersOf(area, context, false), nullptr);
    EXPECT_EQ(NumbersOf(area, context, false)->values.Count(), 100u);
    EXPECT_EQ(NumbersOf(area, context, true), nullptr);
    EXPECT_EQ(NumbersOf(NumberValue(1), context, false), nullptr);
}

}  // namespace
}  // namespace tally
