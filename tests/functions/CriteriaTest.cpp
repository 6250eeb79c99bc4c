#include "functions/Criteria.h"

#include <bit>
#include <random>

#include "base/Text.h"
#include "formula/Coercion.h"
#include "functions/CriteriaIndex.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

// Criteria taken apart once, and counts and sums kept of a column, against the rules cell by cell.

namespace tally {
namespace {

// ---- the rules as they are told -------------------------------------------------------------------

WideView TextOfScalar(const Value& value) {
    return value.type == VT_BOOL ? BoolText(value.boolean != 0) : ErrorText(value.error);
}

bool ReadsAsBool(WideView text) {
    return EqualIgnoringCase(text, BoolText(false)) || EqualIgnoringCase(text, BoolText(true));
}

// How a rest of criteria text compares with a cell for "=" and for no operator.
bool EqualsRest(WideView rest, const Value& cell) {
    double a = 0, b = 0;
    switch (cell.type) {
        case VT_NUMBER: return TextToNumber(rest, a) && Near(a, cell.number);
        case VT_STRING:
            if (ReadsAsBool(rest)) return false;
            return WildcardMatch(rest, TextOf(cell), false) ||
                   (TextToNumber(rest, a) && TextToNumber(TextOf(cell), b) && Near(a, b));
        case VT_BOOL:
        case VT_ERROR: return EqualIgnoringCase(rest, TextOfScalar(cell));
        default: return false;
    }
}

bool DiffersFromRest(WideView rest, const Value& cell) {
    double a = 0, b = 0;
    switch (cell.type) {
        case VT_NUMBER: return !TextToNumber(rest, a) || !Near(a, cell.number);
        case VT_STRING:
            if (ReadsAsBool(rest)) return true;
            if (WildcardMatch(rest, TextOf(cell), false)) return false;
            return !(TextToNumber(rest, a) && TextToNumber(TextOf(cell), b)) || !Near(a, b);
        case VT_BOOL:
        case VT_ERROR: return !EqualIgnoringCase(rest, TextOfScalar(cell));
        default: return true;
    }
}

enum Order : i32 { ORDER_LESS, ORDER_LESS_EQUAL, ORDER_GREATER, ORDER_GREATER_EQUAL };

bool InOrder(Order order, double difference) {
    switch (order) {
        case ORDER_LESS: return difference < 0;
        case ORDER_LESS_EQUAL: return difference <= 0;
        case ORDER_GREATER: return difference > 0;
        default: return difference >= 0;
    }
}

bool IsPlainText(WideView text) {
    double number = 0;
    return !TextToNumber(text, number) && !EqualIgnoringCase(text, BoolText(false)) &&
           !EqualIgnoringCase(text, BoolText(true)) && ErrorFromText(text) < 0;
}

bool BoolInOrder(Order order, WideView rest, bool cell) {
    switch (order) {
        case ORDER_GREATER_EQUAL:
            return EqualIgnoringCase(rest, BoolText(false)) ||
                   (EqualIgnoringCase(rest, BoolText(true)) && cell);
        case ORDER_LESS_EQUAL:
            return EqualIgnoringCase(rest, BoolText(true)) ||
                   (EqualIgnoringCase(rest, BoolText(false)) && !cell);
        case ORDER_GREATER: return EqualIgnoringCase(rest, BoolText(false)) && cell;
        default: return EqualIgnoringCase(rest, BoolText(true)) && !cell;
    }
}

bool OrderMatch(Order order, WideView rest, const Value& cell) {
    double number = 0;
    switch (cell.type) {
        case VT_NUMBER: return TextToNumber(rest, number) && InOrder(order, cell.number - number);
        case VT_STRING: return IsPlainText(rest) && InOrder(order, CompareIgnoringCase(TextOf(cell), rest));
        case VT_BOOL: return BoolInOrder(order, rest, cell.boolean != 0);
        default: return false;
    }
}

bool TextCriteria(WideView c, const Value& cell) {
    if (c.empty()) return cell.type == VT_EMPTY || (cell.type == VT_STRING && TextOf(cell).empty());
    if (c[0] != u'=' && c[0] != u'<' && c[0] != u'>') return EqualsRest(c, cell);
    const char16_t second = c.size() > 1 ? c[1] : u'\0';
    if (c[0] == u'=') {
        if (cell.type == VT_EMPTY) return c.size() == 1;
        return c.size() >= 2 && EqualsRest(c.substr(1), cell);
    }
    if (c[0] == u'<' && second == u'>') {
        if (cell.type == VT_EMPTY) return c.size() != 2;
        return c.size() < 3 || DiffersFromRest(c.substr(2), cell);
    }
    if (second == u'=') {
        return c.size() > 2 &&
               OrderMatch(c[0] == u'<' ? ORDER_LESS_EQUAL : ORDER_GREATER_EQUAL, c.substr(2), cell);
    }
    return c.size() > 1 && OrderMatch(c[0] == u'<' ? ORDER_LESS : ORDER_GREATER, c.substr(1), cell);
}

bool Literally(const Value& criteria, const Value& cell) {
    switch (criteria.type) {
        case VT_EMPTY: return cell.type == VT_NUMBER && cell.number == 0;
        case VT_NUMBER: {
            if (cell.type == VT_NUMBER) return Near(cell.number, criteria.number);
            double number = 0;
            return cell.type == VT_STRING && TextToNumber(TextOf(cell), number) &&
                   Near(number, criteria.number);
        }
        case VT_BOOL: return cell.type == VT_BOOL && (cell.boolean != 0) == (criteria.boolean != 0);
        case VT_ERROR: return cell.type == VT_ERROR && cell.error == criteria.error;
        case VT_STRING: return TextCriteria(TextOf(criteria), cell);
        default: return false;
    }
}

// ---------------------------------------------------------------------------------------------------

class CriteriaRules : public Sandbox {
  protected:
    std::mt19937 random{11};
    u32 Pick(u32 count) { return static_cast<u32>(random() % count); }

    std::u16string Text() {
        constexpr WideView texts[] = {u"",      u" ",    u"a",     u"A",    u"ab",   u"aB",      u"b",
                                      u"1",     u"1.0",  u"01",    u"1e0",  u"2",    u"-3",      u"10%",
                                      u"TRUE",  u"true", u"FALSE", u"#N/A", u"#n/a", u"#DIV/0!", u"1/2/2003",
                                      u"12:30", u"jan",  u"JAN 5", u"$5",   u"*",    u"?",       u"~*",
                                      u"a*",    u"?b",   u"<",     u">b",   u"=1",   u"<>"};
        return std::u16string(texts[Pick(std::size(texts))]);
    }
    Value Any() {
        constexpr double numbers[] = {0,  -0.0, 1,   1 + 1e-15, 1 - 2e-16,         2,
                                      -3, 5,    0.1, 37623,     0.520833333333333, 1e300};
        switch (Pick(9)) {
            case 0: return BoolValue(Pick(2));
            case 1: return ErrorValue(static_cast<i32>(Pick(ERROR_COUNT)));
            case 2: return Value();
            case 3:
            case 4:
            case 5: return TextValue(Text());
            default: return NumberValue(numbers[Pick(std::size(numbers))]);
        }
    }
    Value AnyCriteria() {
        constexpr WideView operators[] = {u"=", u"<>", u"<", u">", u"<=", u">=", u"", u""};
        if (Pick(3) == 0) return Any();
        return TextValue(std::u16string(operators[Pick(std::size(operators))]) + Text());
    }
    static std::string Name(const Value& value) {
        if (value.type == VT_STRING) return "text " + Narrow(TextOf(value));
        if (value.type == VT_NUMBER) return "number " + std::to_string(value.number);
        return "type " + std::to_string(value.type);
    }
    void Put(i32 row, i32 column, Value value) {
        if (value.type == VT_EMPTY) return;
        IgnoreFailure(InsertCell(*CurrentSheet(), row, column, DEFAULT_CELL_FORMAT, value, FormulaTokens()));
    }
};

TEST_F(CriteriaRules, TrueMeansTheBooleanAndTheEmptyTextWhatShowsNothing) {
    Enter("B1", "TRUE");
    Enter("B2", "'TRUE");
    Enter("B3", "=\"\"");
    Enter("B5", "x");
    Enter("B6", "FALSE");
    for (int row = 1; row <= 6; ++row) Enter("C" + std::to_string(row), std::to_string(1 << row));
    const char* rows[][2] = {{"=COUNTIF(B1:B6,\"TRUE\")", "1"},
                             {"=COUNTIF(B1:B6,\"=true\")", "1"},
                             {"=COUNTIF(B1:B6,TRUE)", "1"},
                             {"=COUNTIF(B2,\"TRUE\")", "0"},
                             {"=COUNTIF(B1:B6,\"<>TRUE\")", "5"},
                             {"=COUNTIF(B1:B6,\"FALSE\")", "1"},
                             {"=COUNTIF(B1:B6,\"\")", "2"},
                             {"=COUNTIF(B3,\"\")", "1"},
                             {"=COUNTIF(B4,\"\")", "1"},
                             {"=COUNTIF(B1:B6,\"=\")", "1"},
                             {"=COUNTIF(B3,\"=\")", "0"},
                             {"=SUMIF(B1:B6,\"\",C1:C6)", "24"},
                             {"=SUMIF(B1:B6,\"TRUE\",C1:C6)", "2"},
                             {"=SUMIF(B1:B6,\"=\",C1:C6)", "16"}};
    for (const auto& row : rows) EXPECT_EQ(Eval(row[0]), row[1]) << row[0];
}

TEST_F(CriteriaRules, TakenApartMatchWhatTheRulesMatch) {
    for (int round = 0; round < 60000; ++round) {
        Value criteria = AnyCriteria(), cell = Any();
        EXPECT_EQ(CriteriaMatch(criteria, cell), Literally(criteria, cell))
            << Name(criteria) << " / " << Name(cell);
        FreeValue(criteria);
        FreeValue(cell);
    }
}

TEST_F(CriteriaRules, KeptCountsAndSumsAreThoseOfAVisit) {
    int counted = 0, summed = 0, differing = 0, ordered = 0;
    for (int table = 0; table < 40; ++table) {
        // Columns of one kind, with and without a heading, and of all kinds.
        const u32 kind = Pick(3);
        for (i32 row = 0; row < 150; ++row) {
            Value value = Any();
            while (kind && row && value.type != VT_EMPTY && value.type != (kind == 1 ? VT_NUMBER : VT_STRING)) {
                FreeValue(value);
                value = Any();
            }
            Put(row, 0, value);
            Put(row, 1, Pick(4) ? NumberValue(Pick(1000) / 7.0) : Any());
        }
        for (int round = 0; round < 300; ++round) {
            Value criteria = AnyCriteria();
            const i32 first = Pick(3) ? 0 : static_cast<i32>(Pick(60));
            const LookupColumn where = {CurrentSheet(), 0, first,
                                        Pick(3) ? 149 : first + 50 + static_cast<i32>(Pick(60))};
            const i32 down = static_cast<i32>(Pick(3)) * 5;
            const Criteria taken = TakeCriteria(criteria);
            double literalSum = 0, sum = 0;
            u32 literalCount = 0, count = 0;
            // Cells that are stored come first, then those that are none and match as empties do.
            for (const bool stored : {true, false}) {
                for (i32 row = where.firstRow; row <= where.lastRow; ++row) {
                    const CellRecord* cell = GetCell(where.sheet->cells, row, 0);
                    const CellRecord* beside = GetCell(where.sheet->cells, row + down, 1);
                    if ((cell != nullptr) != stored) continue;
                    if (cell ? !Literally(criteria, cell->value) : !taken.matchesEmpty) continue;
                    ++literalCount;
                    if (beside && beside->value.type == VT_NUMBER) literalSum += beside->value.number;
                }
            }
            if (CountInColumn(where, taken, count)) {
                ++counted;
                differing += taken.kind == CRITERIA_DIFFERENT;
                EXPECT_EQ(count, literalCount) << Name(criteria);
            }
            if (SumInColumn(where, taken, {where.sheet, 1, down}, sum)) {
                ++summed;
                ordered += taken.kind >= CRITERIA_LESS;
                EXPECT_EQ(std::bit_cast<u64>(sum), std::bit_cast<u64>(literalSum)) << Name(criteria);
            }
            FreeValue(criteria);
        }
    }
    EXPECT_GT(counted, 4000);
    EXPECT_GT(summed, 3000);
    EXPECT_GT(differing, 200);
    EXPECT_GT(ordered, 500);
}

// Keys of many classes, so that several blocks of them are summed up; numbers that add up exactly and such that
// round.
TEST_F(CriteriaRules, SumsAboveBelowAndApartFromAKeyAreThoseOfAWalk) {
    constexpr const char16_t* operators[] = {u">", u"<", u">=", u"<=", u"<>"};
    int summed = 0;
    for (int table = 0; table < 8; ++table) {
        FreeStore(CurrentSheet()->cells);
        for (i32 row = 0; row < 500; ++row) {
            const u32 key = Pick(90);
            if (Pick(9))
                Put(row, 0, Pick(3) ? NumberValue(key / 4.0) : TextValue(Wide("k" + std::to_string(key % 60))));
            if (Pick(9)) Put(row, 1, NumberValue(table % 2 ? Pick(1000) / 8.0 : Pick(1000) / 7.0));
        }
        for (int round = 0; round < 250; ++round) {
            const u32 key = Pick(92);
            const std::string text = Pick(2) ? std::to_string(key / 4.0) : "K" + std::to_string(key % 62);
            Value criteria = TextValue(std::u16string(operators[Pick(5)]) + Wide(text));
            const Criteria taken = TakeCriteria(criteria);
            double literal = 0, sum = 0;
            for (const bool stored : {true, false}) {
                for (i32 row = 0; row < 500; ++row) {
                    const CellRecord* cell = GetCell(CurrentSheet()->cells, row, 0);
                    const CellRecord* beside = GetCell(CurrentSheet()->cells, row, 1);
                    if ((cell != nullptr) != stored || !beside) continue;
                    if (cell ? Matches(taken, cell->value) : taken.matchesEmpty)
                        literal += beside->value.number;
                }
            }
            if (SumInColumn({CurrentSheet(), 0, 0, 499}, taken, {CurrentSheet(), 1, 0}, sum)) {
                ++summed;
                EXPECT_EQ(std::bit_cast<u64>(sum), std::bit_cast<u64>(literal)) << Narrow(TextOf(criteria));
            }
            FreeValue(criteria);
        }
    }
    EXPECT_GT(summed, 1900);
}

TEST_F(CriteriaRules, PartsThatMoveAlongAColumnAreServedByOneIndex) {
    for (i32 row = 0; row < 400; ++row)
        Put(row, 0, row % 2 ? NumberValue(row % 7) : TextValue(row % 4 ? u"a" : u"b"));
    const LookupColumn all = {CurrentSheet(), 0, 0, 399};
    Value text = TextValue(u"B");
    const Criteria number = TakeCriteria(NumberValue(3)), letter = TakeCriteria(text);
    u32 count = 0;
    // The first scans pay for the index; then every part has its answer.
    for (int round = 0; round < 3; ++round) IgnoreFailure(CountInColumn(all, number, count));
    for (i32 first = 0; first < 300; ++first) {
        const LookupColumn part = {CurrentSheet(), 0, first, first + 60};
        u32 numbers = 0, letters = 0;
        i32 firstLetter = LOOKUP_NONE, found = LOOKUP_NONE;
        for (i32 row = first; row <= first + 60; ++row) {
            numbers += row % 2 && row % 7 == 3;
            letters += row % 4 == 0;
            if (row % 4 == 0 && firstLetter == LOOKUP_NONE) firstLetter = row;
        }
        ASSERT_TRUE(CountInColumn(part, number, count));
        EXPECT_EQ(count, numbers);
        ASSERT_TRUE(CountInColumn(part, letter, count));
        EXPECT_EQ(count, letters);
        ASSERT_TRUE(FindInColumn(part, text, FIRST_EQUAL, found));
        EXPECT_EQ(found, firstLetter);
    }
    FreeValue(text);
}

// So many that texts are not read as numbers one by one.
TEST_F(CriteriaRules, TextsThatReadAsTheNumberCountAmongManyOthers) {
    for (i32 row = 0; row < 100; ++row)
        Put(row, 0,
            row % 10 == 3   ? TextValue(u"5")
            : row % 10 == 4 ? NumberValue(5)
                            : TextValue(Wide("t" + std::to_string(row))));
    for (i32 row = 0; row < 100; ++row) Put(row, 1, NumberValue(row));
    for (int round = 0; round < 4; ++round) {
        EXPECT_EQ(Eval("=COUNTIF(A2:A100,5)"), "20") << round;
        EXPECT_EQ(Eval("=COUNTIF(A2:A100,\"=5\")"), "20") << round;
        EXPECT_EQ(Eval("=COUNTIF(A2:A100,\"<>5\")"), "79") << round;
        EXPECT_EQ(Eval("=SUMIF(A2:A100,5,B2:B100)"), "970") << round;
        EXPECT_EQ(Eval("=COUNTIF(A2:A100,\"\")"), "0") << round;
        EXPECT_EQ(Eval("=COUNTIF(A60:A199,\"\")"), "99") << round;
    }
}

TEST_F(CriteriaRules, CountsAndSumsFollowEdits) {
    for (int row = 1; row <= 100; ++row) {
        Enter("A" + std::to_string(row), row % 2 ? "odd" : "even");
        Enter("B" + std::to_string(row), std::to_string(row));
    }
    Enter("C1", "=COUNTIF(A1:A100,\"Odd\")");
    Enter("C2", "=COUNTIF(A1:A100,\"odd\")");
    Enter("C3", "=SUMIF(A1:A100,\"odd\",B1:B100)");
    Enter("C4", "=SUMIF(A1:A100,\"odd\",B2:B101)");
    Enter("C5", "=COUNTIF(B1:B100,\">90\")");
    Enter("C6", "=COUNTIF(B1:B100,5)");
    const auto shown = [] {
        std::string all;
        for (int row = 1; row <= 6; ++row) all += Shown("C" + std::to_string(row)) + " ";
        return all;
    };
    EXPECT_EQ(shown(), "50 50 2500 2550 10 1 ");
    Enter("A2", "ODD");
    EXPECT_EQ(shown(), "51 51 2502 2553 10 1 ");
    Enter("B2", "=5*1");
    EXPECT_EQ(shown(), "51 51 2505 2556 10 2 ");
    Enter("B3", "=1/0");
    EXPECT_EQ(shown(), "51 51 2502 2553 10 2 ");
    Enter("A1", "x");
    EXPECT_EQ(shown(), "50 50 2501 2548 10 2 ");
}

}  // namespace
}  // namespace tally
