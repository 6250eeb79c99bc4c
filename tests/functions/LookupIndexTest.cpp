#include "functions/LookupIndex.h"

#include <cmath>
#include <random>

#include "base/Text.h"
#include "functions/Criteria.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

// The kept orders of a column against the scans that they stand for.

namespace tally {
namespace {

class Lookups : public Sandbox {
  protected:
    std::mt19937 random{7};
    u32 Pick(u32 count) { return static_cast<u32>(random() % count); }

    double Number() {
        constexpr double numbers[] = {0,         -0.0, 1,     1 + 2e-16, 1 - 1e-15, 1 + 1e-15,
                                      1 + 3e-15, -1,   1e300, 5e-324,    7,         8};
        const u32 pick = Pick(20);
        return pick < std::size(numbers) ? numbers[pick] : static_cast<double>(Pick(60)) - 20;
    }
    std::u16string Text() {
        constexpr WideView texts[] = {u"", u"a", u"A", u"b", u"\u00E9", u"\u00C9", u"Z", u"ab", u"AB ", u"10"};
        const u32 pick = Pick(16);
        return std::u16string(pick < std::size(texts) ? texts[pick] : Wide("t" + std::to_string(Pick(40))));
    }
    Value Any() {
        const u32 kind = Pick(12);
        if (kind < 5) return NumberValue(Number());
        if (kind < 10) return TextValue(Text());
        return kind == 10 ? BoolValue(Pick(2)) : ErrorValue(ERR_NA);
    }
    void Put(i32 row, Value value) {
        IgnoreFailure(InsertCell(*CurrentSheet(), row, 2, DEFAULT_CELL_FORMAT, value, FormulaTokens()));
    }
    // Sorted columns and such with a few elements out of order are what users have.
    void FillSorted() {
        for (i32 row = 0; row < 200; ++row) {
            Put(row, NumberValue(Pick(30) ? row / 3 : Number()));
            char16_t text[2] = {static_cast<char16_t>(u'a' + row / 8), 0};
            if (row % 2) Put(row, TextValue(Pick(30) ? std::u16string(text) : Text()));
        }
    }
    void FillMixed() {
        for (i32 row = 0; row < 200; ++row) {
            if (Pick(6)) Put(row, Any());
        }
    }
    void CompareAll(int rounds);
};

int Order(const Value& a, const Value& b) {
    if (a.type == VT_NUMBER) return a.number < b.number ? -1 : a.number > b.number;
    return CompareIgnoringCase(TextOf(a), TextOf(b));
}
bool Equal(const Value& a, const Value& b) {
    return a.type == VT_NUMBER ? Near(a.number, b.number) : Order(a, b) == 0;
}

i32 Scan(const LookupColumn& where, const Value& value, LookupRule rule) {
    i32 best = LOOKUP_NONE;
    for (i32 row = where.firstRow; row <= where.lastRow; ++row) {
        const CellRecord* cell = GetCell(where.sheet->cells, row, where.column);
        if (!cell || cell->value.type != value.type) continue;
        if (Equal(value, cell->value)) return row;
        if (rule == FIRST_EQUAL) continue;
        if (Order(cell->value, value) <= 0) return best;
        best = row;
    }
    return best;
}

void Lookups::CompareAll(int rounds) {
    int answered = 0;
    for (int round = 0; round < rounds; ++round) {
        const i32 first = static_cast<i32>(Pick(3)) * 40;
        const LookupColumn where = {CurrentSheet(), 2, first, first + 60 + static_cast<i32>(Pick(2)) * 60};
        const auto rule = static_cast<LookupRule>(Pick(2));
        Value value = Pick(2) ? NumberValue(Number()) : TextValue(Text());
        i32 row = LOOKUP_NONE;
        if (FindInColumn(where, value, rule, row)) {
            ++answered;
            EXPECT_EQ(row, Scan(where, value, rule))
                << "rule " << int{rule} << " value "
                << (value.type == VT_NUMBER ? std::to_string(value.number) : Narrow(TextOf(value)));
        }
        FreeValue(value);
    }
    EXPECT_GT(answered, rounds / 2);
}

TEST_F(Lookups, FindWhatAScanFinds) {
    for (int table = 0; table < 30; ++table) {
        table % 2 ? FillMixed() : FillSorted();
        CompareAll(400);
    }
}

TEST_F(Lookups, FollowEveryChangeOfTheColumn) {
    FillMixed();
    int answered = 0;
    for (int round = 0; round < 3000; ++round) {
        const LookupColumn where = {CurrentSheet(), 2, 0, 199};
        Value value = Pick(2) ? NumberValue(Number()) : TextValue(Text());
        const auto rule = static_cast<LookupRule>(Pick(2));
        for (int again = 0; again < 2; ++again) {
            i32 row = LOOKUP_NONE;
            if (!FindInColumn(where, value, rule, row)) continue;
            ++answered;
            ASSERT_EQ(row, Scan(where, value, rule));
        }
        FreeValue(value);
        if (Pick(3)) continue;
        const i32 at = static_cast<i32>(Pick(200));
        CellPosition position;
        if (!Pick(2)) {
            Put(at, Any());
        } else if (FindCell(CurrentSheet()->cells, at, 2, position)) {
            RemoveCell(CurrentSheet()->cells, position);
        }
    }
    EXPECT_GT(answered, 2500);
}

TEST_F(Lookups, ShortColumnsNewColumnsAndOtherTypesAreScanned) {
    FillMixed();
    i32 row = 0;
    EXPECT_FALSE(FindInColumn({CurrentSheet(), 2, 0, 9}, NumberValue(1), FIRST_EQUAL, row));
    EXPECT_FALSE(FindInColumn({CurrentSheet(), 2, 0, 199}, NumberValue(1), FIRST_EQUAL, row));
    EXPECT_TRUE(FindInColumn({CurrentSheet(), 2, 0, 199}, NumberValue(1), FIRST_EQUAL, row));
    EXPECT_FALSE(FindInColumn({CurrentSheet(), 2, 0, 199}, BoolValue(true), FIRST_EQUAL, row));
}

TEST_F(Lookups, FormulasOverAKeptColumnSeeEditsAtOnce) {
    for (int row = 1; row <= 120; ++row) {
        Enter("A" + std::to_string(row), "key" + std::to_string(row));
        Enter("B" + std::to_string(row), std::to_string(row * 10));
    }
    Enter("D1", "=VLOOKUP(\"KEY70\",A1:B120,2,FALSE)");
    Enter("D2", "=VLOOKUP(\"key70\",A1:B120,2,FALSE)");
    Enter("D3", "=MATCH(\"key9?\",A1:A120,0)");
    Enter("D4", "=VLOOKUP(705,B1:B120,1)");
    Enter("D5", "=MATCH(705,B1:B120)");
    EXPECT_EQ(Shown("D1") + Shown("D2") + Shown("D3") + Shown("D4") + Shown("D5"), "7007009070070");
    Enter("A20", "key70");
    EXPECT_EQ(Shown("D1") + " " + Shown("D2"), "200 200");
    Enter("B20", "=1+1");
    EXPECT_EQ(Shown("D2"), "2");
    // A formula in the column that is looked through, and one in a circle with its own table.
    Enter("A10", "=\"key\"&(60+10)");
    EXPECT_EQ(Shown("D1") + " " + Shown("D2"), "100 100");
    Enter("E1", "none");
    Enter("A10", "=\"key\"&E1");
    EXPECT_EQ(Shown("D1"), "2");
    Enter("E1", "70");
    EXPECT_EQ(Shown("D1"), "100");
    Enter("B119", "=VLOOKUP(\"key119\",A1:B120,2,FALSE)");
    EXPECT_EQ(Shown("B119"), "0");
    EXPECT_EQ(Shown("D2"), "100");
}

}  // namespace
}  // namespace tally
