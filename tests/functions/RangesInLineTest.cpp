#include <algorithm>
#include <bit>
#include <cmath>
#include <random>
#include <vector>

#include "base/Text.h"
#include "formula/AreaSums.h"
#include "formula/Recalculation.h"
#include "functions/Handlers.h"
#include "functions/KeptOrder.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

// Ranges that grow, shrink, move on and come again, against the same cells given as an array, of which nothing
// is kept: every result is the same to the bit.

namespace tally {
namespace {

struct Asked {
    const char* name;
    void (*handler)(Value* arguments, Value& result, const EvalContext& context);
    int numbers = 0;       // behind the range
    bool inFront = false;  // the number stands before it
};

constexpr Asked functions[] = {
    {"SUM", CallSum},
    {"AVERAGE", CallAverage},
    {"AVERAGEA", CallAveragea},
    {"MAX", CallMax},
    {"MIN", CallMin},
    {"MAXA", CallMaxa},
    {"MINA", CallMina},
    {"COUNT", CallCount},
    {"COUNTA", CallCounta},
    {"STDEV", CallStdev},
    {"STDEVPA", CallStdevpa},
    {"VAR", CallVar},
    {"VARP", CallVarp},
    {"PRODUCT", CallProduct},
    {"SUMSQ", CallSumsq},
    {"MEDIAN", CallMedian},
    {"MODE", CallMode},
    {"DEVSQ", CallDevsq},
    {"SMALL", CallSmall, 1},
    {"LARGE", CallLarge, 1},
    {"PERCENTILE", CallPercentile, 1},
    {"RANK", CallRank, 1, true},
    {"PERCENTRANK", CallPercentrank, 1},
    {"QUARTILE", CallQuartile, 1},
};

class RangesInLine : public Sandbox {
  protected:
    std::mt19937 random{31};
    bool whole = false;  // numbers that add up without rounding
    u32 Pick(u32 count) { return static_cast<u32>(random() % count); }

    void Put(i32 row, i32 column, Value value) {
        IgnoreFailure(InsertCell(*CurrentSheet(), row, column, DEFAULT_CELL_FORMAT, value, FormulaTokens()));
    }
    // Decimals, whose sums depend on the order, and values that are equal but not the same.
    double Number() {
        if (whole) return static_cast<double>(Pick(4000)) / 4 - 300;
        constexpr double odd[] = {0, -0.0, 1e-9, -1e9, 3, 3 + 1e-15, 0.1, 1e15};
        return Pick(6) ? (static_cast<double>(Pick(20000)) - 9000) / 100 : odd[Pick(std::size(odd))];
    }
    Value Any(bool mixed, bool errors) {
        if (mixed && !Pick(7)) return TextValue(u"text");
        if (mixed && !Pick(9)) return BoolValue(Pick(2));
        if (errors && !Pick(40)) return ErrorValue(static_cast<i32>(Pick(ERROR_COUNT)));
        return NumberValue(Number());
    }
    void Fill(bool mixed, bool errors) {
        FreeStore(CurrentSheet()->cells);
        for (i32 row = 0; row < 420; ++row) {
            for (i32 column = 1; column < 4; ++column) {
                if (!mixed || Pick(10)) Put(row, column, Any(mixed, errors));
            }
        }
    }
    static Value ArrayOf(const RefArea& area) {
        const u32 columns = area.lastColumn - area.firstColumn + 1u;
        Value array = ArrayValue(area.lastRow - area.firstRow + 1u, static_cast<u16>(columns));
        WalkArea(CurrentSheet()->cells, area, [&](u16 row, const CellRecord& cell) {
            const u32 at = (row - area.firstRow) * columns + (cell.column - u32{area.firstColumn});
            CopyValue(array.elements[at], cell.value);
            return true;
        });
        return array;
    }
    static Value Call(const Asked& function, Value range, double number) {
        Value arguments[MAX_ARGUMENTS];
        arguments[function.inFront ? 1 : 0] = range;
        if (function.numbers) arguments[function.inFront ? 0 : 1] = NumberValue(number);
        Value result;
        function.handler(arguments, result, {CurrentBook(), 0, 0, 0, 0});
        for (Value& argument : arguments) FreeValue(argument);
        return result;
    }
    static std::string Bits(const Value& value) {
        if (value.type == VT_NUMBER)
            return std::to_string(value.number) + " = " + std::to_string(std::bit_cast<u64>(value.number));
        return value.type == VT_ERROR ? "error " + std::to_string(value.error) : "type";
    }
    void Compare(const Asked& function, const RefArea& area) {
        double number = Pick(4) ? Pick(9) : Number();
        if (std::string_view(function.name).starts_with("PERCENT")) number = Pick(11) / 10.0;
        EXPECT_EQ(Bits(Call(function, AreaValue(area), number)), Bits(Call(function, ArrayOf(area), number)))
            << function.name << " " << area.firstRow << ":" << area.lastRow << " of " << number;
    }
};

struct Step {
    i32 first, last;
};
// From row to row: growing, moving on by one and by two, back, shrinking, and the same again.
constexpr Step steps[] = {{0, 1}, {1, 1}, {2, 2}, {-1, -1}, {1, 0}, {0, -3}, {1, 3}, {0, 0}, {-1, 2}};

TEST_F(RangesInLine, GiveWhatReadingGives) {
    for (int table = 0; table < 6; ++table) {
        whole = table > 3;
        Fill(table % 3 != 0, table % 3 == 2);
        for (const Asked& function : functions) {
            for (const Step& step : steps) {
                const u8 column = static_cast<u8>(1 + Pick(2)),
                         lastColumn = static_cast<u8>(column + (Pick(4) == 0));
                i32 first = 100, last = 260;
                for (int i = 0; i < 45; ++i, first += step.first, last += step.last) {
                    if (last - first < 20) break;
                    Compare(function, {static_cast<u16>(first), static_cast<u16>(last), column, lastColumn});
                }
            }
        }
    }
}

TEST_F(RangesInLine, InterleavedLinesAndChangedCellsGiveWhatReadingGives) {
    Fill(false, false);
    i32 at = 0;
    for (int round = 0; round < 1500; ++round) {
        const Asked& function = functions[Pick(std::size(functions))];
        at = (at + 1) % 200;
        switch (Pick(4)) {
            case 0: Compare(function, {0, static_cast<u16>(at + 80), 1, 1}); break;
            case 1: Compare(function, {static_cast<u16>(at), static_cast<u16>(at + 90), 1, 1}); break;
            case 2: Compare(function, {static_cast<u16>(at), 419, 2, 3}); break;
            default: Compare(function, {static_cast<u16>(Pick(200)), static_cast<u16>(300 + Pick(120)), 1, 1});
        }
        if (Pick(20) == 0) Put(static_cast<i32>(Pick(420)), static_cast<i32>(1 + Pick(3)), Any(true, false));
    }
}

// Each formula reads those above it, which are calculated one by one.
TEST_F(RangesInLine, OverTheirOwnColumnGiveWhatReadingGives) {
    constexpr const char* own[] = {
        "MAX(B$1:B#)",   "SUM(B$1:B#)/#",  "AVERAGE(B$1:B#)",        "COUNT(B$1:B#)", "SMALL(B$1:B#,2)",
        "STDEV(B$1:B#)", "MEDIAN(B$1:B#)", "COUNTIF(B$1:B#,\">3\")", "MIN(B$1:B#)",   "RANK(B2,B$1:B#)"};
    for (const std::string_view formula : own) {
        FreeStore(CurrentSheet()->cells);
        for (int row = 1; row <= 160; ++row) {
            Enter("A" + std::to_string(row), std::to_string(Pick(1000) / 7.0));
            std::string text = "=A" + std::to_string(row);
            for (const char c : row > 3 ? "+" + std::string(formula) : std::string())
                text += c == '#' ? std::to_string(row - 1) : std::string(1, c);
            Enter("B" + std::to_string(row), text);
        }
        const auto shown = [] {
            std::string all;
            WalkArea(CurrentSheet()->cells, {0, 159, 1, 1}, [&](u16, const CellRecord& cell) {
                all += Bits(cell.value) + ",";
                return true;
            });
            return all;
        };
        for (int round = 0; round < 4; ++round) {
            Enter("A" + std::to_string(1 + Pick(160)), std::to_string(Pick(1000) / 7.0));
            CalculateBook(CurrentBook());
            const std::string kept = shown();
            // From the last row back, each cell reads what stands above it anew.
            MarkAllStale();
            for (i32 row = 0; row < 160; ++row) {
                ResetKeptNumbers();
                ASSERT_TRUE(CalculateCell(CurrentBook(), 0, row, 1));
            }
            EXPECT_EQ(kept, shown()) << formula;
        }
    }
}

TEST_F(RangesInLine, SubtotalsGiveWhatReadingGives) {
    Fill(true, false);
    const auto subtotal = [&](i32 code, i32 first, i32 last) {
        return Eval("=SUBTOTAL(" + std::to_string(code) + ",B" + std::to_string(first) + ":B" +
                    std::to_string(last) + ")");
    };
    for (i32 code = 1; code <= 11; ++code) {
        if (code == 6) continue;
        for (i32 last = 200; last < 240; ++last) {
            const std::string kept = subtotal(code, 1, last);
            ResetKeptNumbers();
            EXPECT_EQ(kept, subtotal(code, 1, last)) << code;
        }
    }
    // One that counts others, and one that came later.
    Enter("B300", "=SUBTOTAL(9,B1:B299)");
    const std::string total = Eval("=SUBTOTAL(9,B1:B299)");
    for (int round = 0; round < 3; ++round) EXPECT_EQ(subtotal(9, 1, 300), total);
    Enter("B200", "=SUBTOTAL(9,B1:B100)");
    const std::string less = Eval("=SUM(B1:B199)+SUM(B201:B299)");
    for (int round = 0; round < 3; ++round) EXPECT_EQ(subtotal(9, 1, 300), less);
}

TEST_F(RangesInLine, SumsOfSeveralRangesGoOnFromWhatStandsBeforeThem) {
    for (const bool exact : {false, true}) {
        whole = exact;
        Fill(false, false);
        for (u16 first = 0; first < 120; ++first) {
            const RefArea areas[] = {
                {first, static_cast<u16>(first + 200), 1, 1}, {10, 400, 2, 3}, {first, 419, 3, 3}};
            Value arguments[MAX_ARGUMENTS], result;
            double literal = 0;
            for (int i = 0; i < 3; ++i) {
                arguments[i] = AreaValue(areas[i]);
                WalkArea(CurrentSheet()->cells, areas[i], [&](u16, const CellRecord& cell) {
                    literal += cell.value.number;
                    return true;
                });
            }
            CallSum(arguments, result, {CurrentBook(), 0, 0, 0, 0});
            EXPECT_EQ(Bits(result), Bits(NumberValue(literal))) << first;
        }
    }
}

// ---- numbers that add up exactly ----------------------------------------------------------------------

TEST_F(RangesInLine, ExactNumbersAreThoseWhoseSumsDoNotRound) {
    const struct {
        std::initializer_list<double> numbers;
        bool exact;
    } cases[] = {
        {{}, true},
        {{0, -0.0}, true},
        {{1, 2, -3}, true},
        {{0.25, 1 << 20, -0.5}, true},
        {{0.1}, true},
        {{0.1, 0.1}, false},
        {{0.1, 0.2}, false},
        {{0x1p900}, true},
        {{0x1p900, 1}, false},
        {{5e-324, 5e-324}, true},
        {{5e-324, 1}, false},
        {{0x1p51, 0x1p51 - 1}, true},
        {{0x1p51, 0x1p51}, true},
        {{0x1p51, 0x1p51, 1}, false},
        {{0x1p52 - 1, 0.5}, false},
        {{0x1.8p-1030, 0x1p-1028}, true},
    };
    for (const auto& row : cases) {
        ExactRange exact;
        for (const double number : row.numbers) exact.Add(number);
        EXPECT_EQ(exact.Holds(), row.exact) << "case " << &row - cases;
    }
    // What is found exact has one sum in whatever order.
    int found = 0;
    for (int round = 0; round < 2000; ++round) {
        std::vector<double> numbers(3 + Pick(6));
        ExactRange exact;
        for (double& number : numbers) {
            number =
                std::ldexp(static_cast<double>(Pick(1 << 30)) - (1 << 29), static_cast<int>(Pick(40)) - 20);
            exact.Add(number);
        }
        if (!exact.Holds()) continue;
        double sum = 0, again = 0;
        for (const double number : numbers) sum += number;
        std::shuffle(numbers.begin(), numbers.end(), random);
        for (const double number : numbers) again += number;
        EXPECT_EQ(sum, again);
        ++found;
    }
    EXPECT_GT(found, 50);
}

// ---- the room for all of it -------------------------------------------------------------------------

TEST_F(RangesInLine, AsManyColumnsAsASheetHasAreKeptSideBySide) {
    for (i32 row = 0; row < 100; ++row) {
        for (i32 column = 0; column < 200; ++column) Put(row, column, NumberValue(row * column));
    }
    u32 generations[200] = {};
    for (int round = 0; round < 3; ++round) {
        for (u8 column = 0; column < 200; ++column) {
            NumberRange range;
            ASSERT_TRUE(LocateNumbersOn(*CurrentSheet(), {0, 99, column, column}, false, range));
            ASSERT_TRUE(TakeNumbers(range));
            ASSERT_EQ(range.Count(), 100u);
            if (round) ASSERT_EQ(range.kept->generation, generations[column]);
            generations[column] = range.kept->generation;
        }
    }
}

struct Weight {
    KeptItem item;
    Array<u8> bytes;
};

TEST_F(RangesInLine, WhatWasUsedLeastGoesWhenTheRoomIsFull) {
    const auto key = [](u64 number) { return KeptKey{7, KEPT_RUN, 0, number, 0}; };
    ResetKept();
    constexpr std::size_t share = KEPT_BYTES / 10 - 100;
    for (u64 i = 0; i < 10; ++i) NoteKeptSize(KeptRecord<Weight>(key(i))->item, share);
    TrimKept();
    EXPECT_LE(KeptBytes(), KEPT_BYTES);
    for (u64 i = 0; i < 10; ++i) EXPECT_NE(FindKept(key(i)), nullptr);
    ASSERT_NE(FindKept(key(0)), nullptr);
    NoteKeptSize(KeptRecord<Weight>(key(10))->item, share + 10);
    // Nothing goes before the next question.
    EXPECT_NE(FindKept(key(2)), nullptr);
    TrimKept();
    EXPECT_LE(KeptBytes(), KEPT_BYTES);
    EXPECT_EQ(FindKept(key(1)), nullptr);
    for (const u64 i : {0, 2, 3, 9, 10}) EXPECT_NE(FindKept(key(i)), nullptr) << i;
    DropKept(FindKept(key(3)));
    EXPECT_EQ(FindKept(key(3)), nullptr);
    EXPECT_EQ(KeptBytes(), share * 9 + 10);
    ResetKept();
    EXPECT_EQ(KeptBytes(), 0u);
    EXPECT_EQ(FindKept(key(0)), nullptr);
}

TEST_F(RangesInLine, OneQuestionMoreThanTheRoomHoldsIsAnsweredAndForgotten) {
    for (i32 row = 0; row < 3000; ++row) {
        for (i32 column = 0; column < 60; ++column) Put(row, column, NumberValue(row + column));
    }
    for (int round = 0; round < 40; ++round) {
        const u8 last = static_cast<u8>(59 - round / 2);
        const Value sum = SumValue(AreaValue({0, 2999, 0, last}), {CurrentBook(), 0, 0, 0, 0});
        EXPECT_EQ(sum.number, 3000.0 * (last + 1) * (2999 + last) / 2);
        EXPECT_LE(KeptBytes(), KEPT_BYTES + (4u << 20));
    }
}

}  // namespace
}  // namespace tally
