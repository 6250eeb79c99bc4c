
#include <random>

#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/KeptNumbers.h"
#include "formula/Recalculation.h"
#include "functions/Handlers.h"
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

// Whatever is kept by lookups, counts, sums and aggregates, an edit leaves the sheet as a calculation from
// nothing would.
TEST_F(KeptAreas, EditsLeaveWhatAFreshCalculationGives) {
    constexpr const char* questions[] = {
        "=VLOOKUP(\"k#\",C1:D90,2,FALSE)",
        "=MATCH(#,A1:A90,0)",
        "=MATCH(#,A1:A90)",
        "=VLOOKUP(#,A1:B90,2)",
        "=VLOOKUP(#,B1:D90,3,FALSE)",
        "=COUNTIF(C1:C90,\"k#\")",
        "=COUNTIF(A1:A90,\">#\")",
        "=COUNTIF(B2:B80,#)",
        "=SUMIF(C1:C90,\"k#\",A1:A90)",
        "=SUMIF(A1:A70,#,B1:B70)",
        "=MAX(A1:B90)",
        "=RANK(#,A1:A90)",
        "=PERCENTILE(B1:B90,0.#)",
        "=COUNTA(A1:D90)",
        "=SUM(A1:A90)-SUM(B1:B90)",
        "=MEDIAN(A1:A90)",
        "=COUNT(B1:B90)",
        "=LOOKUP(#,A1:A90,B1:B90)",
    };
    const auto constant = [&] { return std::to_string(static_cast<int>(Pick(9))); };
    const auto any = [&](int column, int row) -> std::string {
        if (column == 2) return "k" + constant();
        if (column == 1 && Pick(3)) return "=A" + std::to_string(row) + "*2-" + constant();
        if (column == 3 && Pick(4) == 0) return "=MAX(A1:A90)-" + constant();
        if (Pick(30) == 0) return "=1/0";
        return Pick(10) ? constant() : "text";
    };
    for (int row = 1; row <= 90; ++row) {
        for (int column = 0; column < 4; ++column)
            Enter(std::string(1, static_cast<char>('A' + column)) + std::to_string(row), any(column, row));
    }
    int places = 0;
    for (const std::string question : questions) {
        for (int copy = 0; copy < 3; ++copy) {
            std::string text = question;
            text.replace(text.find('#') == std::string::npos ? text.size() : text.find('#'),
                         text.find('#') == std::string::npos ? 0 : 1, constant());
            Enter("F" + std::to_string(++places), text);
        }
    }
    const auto all = [&] {
        std::string shown;
        for (int i = 1; i <= places; ++i) shown += Shown("F" + std::to_string(i)) + "|";
        return shown;
    };
    for (int round = 0; round < 150; ++round) {
        for (u32 edits = Pick(3) + 1; edits > 0; --edits) {
            const int row = static_cast<int>(Pick(90)) + 1, column = static_cast<int>(Pick(4));
            Enter(std::string(1, static_cast<char>('A' + column)) + std::to_string(row), any(column, row));
        }
        const std::string kept = all();
        ResetKeptNumbers();
        MarkAllStale();
        CalculateBook(CurrentBook());
        ASSERT_EQ(kept, all()) << "round " << round;
        all();
    }
}

TEST_F(KeptAreas, SmallAreasAreReadAndNewOnesAreTakenWhenThatCostsNoMore) {
    for (int row = 1; row <= 400; ++row) Enter("B" + std::to_string(row), std::to_string(row));
    const auto takes = [&](const RefArea& area) {
        NumberRange range;
        return LocateNumbers(AreaValue(area), {CurrentBook(), 0, 0, 0, 0}, false, range) && TakeNumbers(range);
    };
    ResetKeptNumbers();
    EXPECT_FALSE(takes({0, 62, 1, 1}));
    // The whole column is taken once its parts have been read as often as that costs.
    EXPECT_FALSE(takes({0, 149, 1, 1}));
    EXPECT_FALSE(takes({0, 149, 1, 1}));
    EXPECT_TRUE(takes({0, 149, 1, 1}));
    EXPECT_TRUE(takes({200, 399, 1, 1}));
    EXPECT_TRUE(takes({100, 65535, 1, 1}));
    ResetKeptNumbers();
    EXPECT_TRUE(takes({0, 399, 1, 1}));
}

}  // namespace
}  // namespace tally
