#include "formula/KeptNumbers.h"

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "formula/Compiler.h"
#include "formula/Evaluator.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class KeptNumbersOfColumns : public Sandbox {
  protected:
    static CellStore& Store() { return CurrentSheet()->cells; }
    static void Put(i32 row, i32 column, Value value) {
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, value, FormulaTokens()));
        TouchColumn(Store(), column);
    }
    // A formula with a value, as it stands after it was worked out.
    static void PutFormula(i32 row, i32 column, Value value, const char16_t* text = u"=1") {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        ASSERT_TRUE(CompileFormula(place, text, 'V', tokens));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, value, tokens));
        GetCell(Store(), row, column)->calcState = CALC_CURRENT;
        TouchColumn(Store(), column);
    }
    static RefArea Rows(i32 first, i32 last, i32 column = 0, i32 lastColumn = -1) {
        return {static_cast<u16>(first), static_cast<u16>(last), static_cast<u8>(column),
                static_cast<u8>(lastColumn < 0 ? column : lastColumn)};
    }
    static bool Take(const RefArea& area, NumberRange& range, bool allKinds = false) {
        return LocateNumbersOn(*CurrentSheet(), area, allKinds, range) && TakeNumbers(range);
    }
    static bool Takes(i32 first, i32 last, i32 column = 0) {
        NumberRange range;
        return Take(Rows(first, last, column), range);
    }
};

TEST_F(KeptNumbersOfColumns, AreAskedForFromSixtyFourCellsOn) {
    NumberRange range;
    Sheet& sheet = *CurrentSheet();
    EXPECT_TRUE(LocateNumbersOn(sheet, Rows(0, 63), false, range));
    EXPECT_FALSE(LocateNumbersOn(sheet, Rows(0, 62), false, range));
    EXPECT_TRUE(LocateNumbersOn(sheet, Rows(10, 41, 3, 4), false, range));
    EXPECT_FALSE(LocateNumbersOn(sheet, Rows(10, 40, 3, 4), false, range));
    EXPECT_FALSE(LocateNumbersOn(sheet, Rows(10, 30, 3, 5), false, range));
    EXPECT_TRUE(LocateNumbersOn(sheet, Rows(0, MAX_ROWS - 1, 0, 255), true, range));
    EXPECT_EQ(range.sheet, &sheet);
    EXPECT_TRUE(range.allKinds);
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_CHART, false, false));
    EXPECT_FALSE(LocateNumbersOn(*CurrentSheet(), Rows(0, 63), false, range));
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_MACRO, false, false));
    EXPECT_TRUE(LocateNumbersOn(*CurrentSheet(), Rows(0, 63), false, range));
}

TEST_F(KeptNumbersOfColumns, AnArgumentIsAnAreaHereOrOnOneOtherSheet) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    const EvalContext context{CurrentBook(), 0, 0, 0, 0};
    const auto located = [&](const ResolvedRef& target, u16 areas, NumberRange& range) {
        i32 index = -1;
        EXPECT_TRUE(AddExternRef(target, index));
        Value reference = RefValue(index, areas);
        for (u16 i = 0; i < areas; ++i) reference.areas->areas[i] = Rows(5, 204, 1);
        const bool found = LocateNumbers(reference, context, false, range);
        FreeValue(reference);
        return found;
    };
    NumberRange range;
    ASSERT_TRUE(located({0, 0, 1, 1}, 1, range));
    EXPECT_EQ(range.sheet, SheetAt(0, 1));
    EXPECT_EQ(range.area, Rows(5, 204, 1));
    EXPECT_FALSE(located({0, 0, 1, 1}, 2, range));
    EXPECT_FALSE(located({0, 0, 0, 1}, 1, range));
    Value area;
    area.type = VT_AREA;
    area.area = Rows(5, 204, 1);
    ASSERT_TRUE(LocateNumbers(area, context, true, range));
    EXPECT_EQ(range.sheet, SheetAt(0, 0));
    EXPECT_TRUE(range.allKinds);
    area.area = Rows(5, 6, 1);
    EXPECT_FALSE(LocateNumbers(area, context, true, range));
    EXPECT_FALSE(LocateNumbers(NumberValue(5), context, true, range));
    EXPECT_FALSE(LocateNumbers(ErrorValue(ERR_REF), context, true, range));
}

// ---- when they are taken --------------------------------------------------------------------------

TEST_F(KeptNumbersOfColumns, OfConstantsAreTakenOnceQuestionsHaveReadAsMuchAsThereIs) {
    for (i32 row = 0; row < 256; ++row) Put(row, 0, NumberValue(row));
    EXPECT_FALSE(Takes(0, 63));
    EXPECT_FALSE(Takes(100, 163));
    EXPECT_FALSE(Takes(192, 254));
    EXPECT_FALSE(Takes(0, 63));  // 255 read
    EXPECT_TRUE(Takes(1000, 1063));
    EXPECT_TRUE(Takes(0, 63));
    EXPECT_TRUE(Takes(60000, 65535));
    // A change begins anew.
    Put(7, 0, NumberValue(1));
    EXPECT_FALSE(Takes(0, 127));
    Put(7, 0, NumberValue(2));
    EXPECT_FALSE(Takes(0, 127));
    EXPECT_TRUE(Takes(0, 127));
    // All columns of a question count.
    NumberRange range;
    EXPECT_TRUE(Take(Rows(0, 255, 0, 1), range));
    Put(9, 1, NumberValue(2));
    EXPECT_FALSE(Take(Rows(0, 127, 0, 1), range));
    EXPECT_TRUE(Takes(0, 127));
}

TEST_F(KeptNumbersOfColumns, OfFormulasAreTakenAsFarAsTheyAreAskedFor) {
    for (i32 row = 0; row < 300; ++row) Put(row, 0, NumberValue(row));
    PutFormula(1000, 0, NumberValue(5));
    NumberRange range;
    ASSERT_TRUE(Take(Rows(100, 199), range));
    EXPECT_EQ(range.kept->firstRow, 100);
    EXPECT_EQ(range.kept->behind, 200);
    EXPECT_EQ(range.Count(), 100u);
    const u32 generation = range.kept->generation;
    // What overlaps or touches goes on below.
    ASSERT_TRUE(Take(Rows(150, 249), range));
    ASSERT_TRUE(Take(Rows(250, 313), range));
    EXPECT_EQ(range.kept->firstRow, 100);
    EXPECT_EQ(range.kept->behind, 314);
    EXPECT_EQ(range.Count(), 50u);
    EXPECT_EQ(range.kept->generation, generation);
    // What lies apart is taken with all between, for as many rows as were read.
    for (i32 i = 0; i < 4; ++i) EXPECT_FALSE(Takes(315, 379)) << i;
    EXPECT_EQ(range.kept->behind, 314);
    ASSERT_TRUE(Take(Rows(315, 379), range));
    EXPECT_EQ(range.kept->firstRow, 100);
    EXPECT_EQ(range.kept->behind, 380);
    EXPECT_EQ(range.Count(), 0u);
    EXPECT_NE(range.kept->generation, generation);
    // 301 rows are filled, which is less than the rows from here to there.
    for (i32 i = 0; i < 4; ++i) EXPECT_FALSE(Takes(0, 63)) << i;
    ASSERT_TRUE(Take(Rows(0, 63), range));
    EXPECT_EQ(range.kept->firstRow, 0);
    EXPECT_EQ(range.kept->behind, 380);
}

TEST_F(KeptNumbersOfColumns, EndWhereACellWaits) {
    for (i32 row = 0; row < 300; ++row) PutFormula(row, 0, NumberValue(row));
    for (i32 row = 0; row < 300; ++row) Put(row, 1, NumberValue(1000 + row));
    SetStale(Store(), *GetCell(Store(), 200, 0));
    NumberRange range;
    EXPECT_FALSE(Take(Rows(50, 250), range));
    ASSERT_TRUE(Take(Rows(50, 199), range));
    EXPECT_EQ(range.Count(), 150u);
    EXPECT_EQ(range.Numbers()[0], 50);
    EXPECT_FALSE(Take(Rows(50, 200), range));
    // Of a row with a cell that waits nothing is kept, on whichever side the others stand.
    for (const RefArea& area : {Rows(50, 250, 0, 1), Rows(50, 199, 0, 1), Rows(50, 200, 0, 1)}) {
        const bool taken = Take(area, range);
        EXPECT_EQ(taken, area.lastRow == 199);
        if (taken) EXPECT_EQ(range.Count(), 300u);
    }
    GetCell(Store(), 200, 0)->calcState = CALC_CURRENT;
    ASSERT_TRUE(Take(Rows(50, 250, 0, 1), range));
    EXPECT_EQ(range.Count(), 402u);
    ASSERT_TRUE(Take(Rows(50, 250), range));
    EXPECT_EQ(range.Count(), 201u);
    EXPECT_EQ(range.Numbers()[150], 200);
    // Errors and texts of such a row go too.
    Put(100, 1, ErrorValue(ERR_NUM));
    Put(100, 2, TextValue(u"x"));
    PutFormula(100, 3, NumberValue(1));
    PutFormula(300, 3, NumberValue(1));
    SetStale(Store(), *GetCell(Store(), 100, 3));
    EXPECT_FALSE(Take(Rows(0, 200, 1, 3), range));
    GetCell(Store(), 100, 3)->calcState = CALC_CURRENT;
    ASSERT_TRUE(Take(Rows(0, 200, 1, 3), range));
    EXPECT_EQ(range.Filled(), 203u);
    EXPECT_EQ(range.kept->errors.Count(), 1u);
}

TEST_F(KeptNumbersOfColumns, WithRowsAboveThatWaitThoseAskedForAreTakenAlone) {
    for (i32 row = 0; row < 400; ++row) PutFormula(row, 0, NumberValue(row));
    NumberRange range;
    ASSERT_TRUE(Take(Rows(10, 109), range));
    SetStale(Store(), *GetCell(Store(), 150, 0));
    ASSERT_TRUE(Take(Rows(10, 109), range));
    // From row 10 on they would end at the stale one.
    bool taken = false;
    for (i32 i = 0; i < 4 && !taken; ++i) taken = Take(Rows(200, 299), range);
    ASSERT_TRUE(taken);
    EXPECT_EQ(range.kept->firstRow, 200);
    EXPECT_EQ(range.kept->behind, 300);
    EXPECT_EQ(range.Count(), 100u);
    EXPECT_EQ(range.Numbers()[99], 299);
}

TEST_F(KeptNumbersOfColumns, ANumberThatIsNoneLeavesEveryQuestionToTheCells) {
    for (const double odd : {std::numeric_limits<double>::infinity(), std::nan("")}) {
        for (i32 row = 0; row < 200; ++row) PutFormula(row, 0, NumberValue(row));
        GetCell(Store(), 150, 0)->value = NumberValue(odd);
        TouchColumn(Store(), 0);
        EXPECT_FALSE(Takes(0, 199));
        EXPECT_FALSE(Takes(100, 199));
        EXPECT_TRUE(Takes(0, 149));
        GetCell(Store(), 150, 0)->value = NumberValue(3);
        TouchColumn(Store(), 0);
        EXPECT_TRUE(Takes(0, 199));
    }
}

// ---- what they are --------------------------------------------------------------------------------

struct Literal {
    std::vector<double> numbers;
    u32 others = 0;
    i32 error = -1;
    bool waits = false;
    bool subtotal = false;
};

Literal Walk(CellStore& store, const RefArea& area, bool allKinds) {
    Literal out;
    WalkArea(store, area, [&](u16, const CellRecord& cell) {
        out.waits = out.waits || cell.calcState < CALC_CURRENT;
        out.subtotal = out.subtotal || CallsSubtotal(cell);
        switch (cell.value.type) {
            case VT_EMPTY: break;
            case VT_NUMBER: out.numbers.push_back(cell.value.number); break;
            case VT_STRING:
            case VT_BOOL:
                if (!allKinds) ++out.others;
                else out.numbers.push_back(cell.value.type == VT_BOOL && cell.value.boolean ? 1 : 0);
                break;
            default:
                ++out.others;
                if (out.error < 0) out.error = cell.value.error;
        }
        return true;
    });
    return out;
}

void ExpectAsWalked(NumberRange& range, bool allKinds, u32& subtotals) {
    const Literal expected = Walk(range.sheet->cells, range.area, allKinds);
    ASSERT_FALSE(expected.waits);
    ASSERT_EQ(range.Count(), expected.numbers.size());
    ASSERT_EQ(range.Filled(), expected.numbers.size() + expected.others);
    ASSERT_EQ(range.error, expected.error);
    for (u32 i = 0; i < range.Count(); ++i) ASSERT_EQ(range.Numbers()[i], expected.numbers[i]) << i;
    ASSERT_EQ(HoldsSubtotal(range), expected.subtotal);
    subtotals += expected.subtotal;
    if (!range.Count()) return;
    double most = expected.numbers[0], least = most;
    for (const double number : expected.numbers) {
        most = most < number ? number : most;
        least = number < least ? number : least;
    }
    ASSERT_EQ(GreatestOf(range), most);
    ASSERT_EQ(LeastOf(range), least);
    ASSERT_EQ(std::signbit(GreatestOf(range)), std::signbit(most));
    ASSERT_EQ(std::signbit(LeastOf(range)), std::signbit(least));
}

// Columns of all kinds of cells, with and without formulas, changed between questions.
TEST_F(KeptNumbersOfColumns, AreThoseOfAWalkOverTheCells) {
    std::mt19937 random(3);
    const auto below = [&](i32 n) { return static_cast<i32>(random() % static_cast<u32>(n)); };
    u32 asked = 0, taken = 0, errors = 0, subtotals = 0, parts = 0;
    for (i32 round = 0; round < 24; ++round) {
        const bool plain = round % 2, dense = round % 3 == 0, errorsToo = round % 4 < 2;
        ASSERT_TRUE(InsertSheet(0, nullptr, SHEET_WORKSHEET, false, false));
        const auto change = [&](i32 row, i32 column) {
            Value value;
            switch (dense ? 0 : below(errorsToo ? 40 : 38)) {
                case 38:
                case 39: value = ErrorValue(below(2) ? ERR_NUM : ERR_NA); break;
                case 30: value = TextValue(u"text"); break;
                case 31:
                case 32: value = BoolValue(below(2) != 0); break;
                case 33: break;
                case 34: value = NumberValue(-0.0); break;
                case 35: value = NumberValue(0.0); break;
                default: value = NumberValue(below(100) - 50);
            }
            if (plain || column == 1) Put(row, column, value);
            else PutFormula(row, column, value, below(100) ? u"=1" : u"=SUBTOTAL(9,Z1)");
            if (!plain && column != 1 && !below(300)) SetStale(Store(), *GetCell(Store(), row, column));
        };
        for (i32 row = 0; row < 700; ++row) {
            for (i32 column = 0; column < 3; ++column) {
                if (dense ? column == 0 : below(10) > 0) change(row, column);
            }
        }
        for (i32 question = 0; question < 60; ++question) {
            const i32 first = below(300), last = first + 63 + below(600), column = below(3);
            const RefArea area = Rows(first, last, column, std::min(2, column + below(2)));
            const bool allKinds = below(3) == 0;
            NumberRange range;
            ++asked;
            if (Take(area, range, allKinds)) {
                ++taken;
                errors += range.error >= 0;
                ASSERT_NO_FATAL_FAILURE(ExpectAsWalked(range, allKinds, subtotals)) << round;
                NumberRange part;
                const i32 from = below(700), to = from + below(300) - 5;
                const bool inside = from <= to && from >= range.kept->firstRow && to < range.kept->behind;
                const bool has = PartOf(range, from, to, part);
                ASSERT_EQ(has,
                          inside && Walk(Store(), Rows(from, to, column, area.lastColumn), false).error < 0);
                if (has) ASSERT_NO_FATAL_FAILURE(ExpectAsWalked(part, allKinds, subtotals));
                parts += has;
            }
            if (question % 20 == 19) change(below(700), below(3));
        }
    }
    EXPECT_GT(taken, asked / 3);
    EXPECT_GT(errors, 20u);
    EXPECT_GT(subtotals, 20u);
    EXPECT_GT(parts, 50u);
}

TEST_F(KeptNumbersOfColumns, ExtremesOfManyNumbersAreFoundWhereverTheyStand) {
    constexpr i32 COUNT = 5000;
    for (i32 row = 0; row < COUNT; ++row) Put(row, 0, NumberValue(0));
    NumberRange range;
    for (const i32 place : {0, 1, 15, 16, 17, 255, 256, 4095, 4096, 4097, 4990, COUNT - 1}) {
        GetCell(Store(), place, 0)->value = NumberValue(place % 2 ? 1 : -1);
        TouchColumn(Store(), 0);
        ASSERT_TRUE(Take(Rows(0, COUNT - 1), range));
        EXPECT_EQ(GreatestOf(range), place % 2 ? 1 : 0) << place;
        EXPECT_EQ(LeastOf(range), place % 2 ? 0 : -1) << place;
        if (place >= 100) {
            ASSERT_TRUE(Take(Rows(0, place), range));
            EXPECT_EQ(GreatestOf(range) + LeastOf(range), place % 2 ? 1 : -1) << place;
            ASSERT_TRUE(Take(Rows(0, place - 1), range));
            EXPECT_EQ(GreatestOf(range) + LeastOf(range), 0) << place;
        }
        if (place < 4900) {
            ASSERT_TRUE(Take(Rows(place, COUNT - 1), range));
            EXPECT_EQ(GreatestOf(range) + LeastOf(range), place % 2 ? 1 : -1) << place;
            ASSERT_TRUE(Take(Rows(place + 1, COUNT - 1), range));
            EXPECT_EQ(GreatestOf(range) + LeastOf(range), 0) << place;
        }
        GetCell(Store(), place, 0)->value = NumberValue(0);
    }
}

TEST_F(KeptNumbersOfColumns, PartsLieWithinTheRowsTaken) {
    for (i32 row = 0; row < 300; ++row) PutFormula(row, 0, row == 250 ? ErrorValue(ERR_NUM) : NumberValue(row));
    NumberRange range, part;
    ASSERT_TRUE(Take(Rows(100, 260), range));
    const struct {
        i32 first, last;
        bool good;
    } rows[] = {{100, 249, true}, {99, 249, false},  {101, 101, true},  {110, 109, false},
                {251, 260, true}, {251, 261, false}, {200, 250, false}, {100, 260, false}};
    for (const auto& row : rows) {
        ASSERT_EQ(PartOf(range, row.first, row.last, part), row.good) << row.first << ' ' << row.last;
        if (!row.good) continue;
        EXPECT_EQ(part.area, Rows(row.first, row.last));
        EXPECT_EQ(part.Count(), static_cast<u32>(row.last - row.first + 1));
        EXPECT_EQ(part.Numbers()[0], row.first);
    }
}

TEST_F(KeptNumbersOfColumns, SubtotalsAmongThemAreSeenWhereTheyStand) {
    for (i32 row = 0; row < 400; ++row)
        PutFormula(row, 0, NumberValue(1), row == 150 || row == 300 ? u"=SUBTOTAL(9,Z1)" : u"=2");
    NumberRange range;
    for (i32 round = 0; round < 2; ++round) {
        const struct {
            i32 first, last;
            bool holds;
        } rows[] = {{0, 149, false}, {0, 150, true},   {50, 149, false},  {150, 220, true}, {151, 299, false},
                    {0, 299, true},  {151, 300, true}, {301, 399, false}, {0, 399, true},   {10, 149, false}};
        for (const auto& row : rows) {
            ASSERT_TRUE(Take(Rows(row.first, row.last), range)) << row.first << ' ' << row.last;
            EXPECT_EQ(HoldsSubtotal(range), row.holds) << row.first << ' ' << row.last;
        }
        TouchColumn(Store(), 0);
    }
    // Constants call nothing.
    for (i32 row = 0; row < 64; ++row) Put(row, 5, NumberValue(1));
    ASSERT_TRUE(Take(Rows(0, 399, 5), range));
    EXPECT_FALSE(HoldsSubtotal(range));
}

// ---- what was made of them ------------------------------------------------------------------------

constexpr char tags[40] = {};

TEST_F(KeptNumbersOfColumns, AValueIsRecalledForTheSameQuestionAndVersion) {
    for (i32 row = 0; row < 200; ++row) Put(row, 0, NumberValue(row));
    NumberRange range, other;
    Value value;
    ASSERT_TRUE(Take(Rows(0, 199), range));
    EXPECT_FALSE(RecallValue(range, tags, value));
    RememberValue(range, tags, NumberValue(12.5));
    RememberValue(range, tags + 1, ErrorValue(ERR_NUM));
    ASSERT_TRUE(RecallValue(range, tags, value));
    EXPECT_EQ(value.type, VT_NUMBER);
    EXPECT_EQ(value.number, 12.5);
    ASSERT_TRUE(RecallValue(range, tags + 1, value));
    EXPECT_EQ(value.type, VT_ERROR);
    EXPECT_EQ(value.error, ERR_NUM);
    EXPECT_FALSE(RecallValue(range, tags + 2, value));
    ASSERT_TRUE(Take(Rows(0, 198), other));
    EXPECT_FALSE(RecallValue(other, tags, value));
    ASSERT_TRUE(Take(Rows(0, 199), other, true));
    EXPECT_FALSE(RecallValue(other, tags, value));
    // Only numbers and errors are remembered.
    Value text = TextValue(u"x");
    RememberValue(range, tags + 3, text);
    RememberValue(range, tags + 4, BoolValue(true));
    FreeValue(text);
    EXPECT_FALSE(RecallValue(range, tags + 3, value));
    EXPECT_FALSE(RecallValue(range, tags + 4, value));
    RememberValue(range, tags, NumberValue(13));
    ASSERT_TRUE(RecallValue(range, tags, value));
    EXPECT_EQ(value.number, 13);
    TouchColumn(Store(), 0);
    ASSERT_TRUE(Take(Rows(0, 199), other));
    EXPECT_FALSE(RecallValue(other, tags, value));
    RememberValue(other, tags, NumberValue(14));
    ASSERT_TRUE(RecallValue(other, tags, value));
    EXPECT_EQ(value.number, 14);
    EXPECT_FALSE(RecallValue(range, tags, value));
    ResetFormulaEngine();
    EXPECT_FALSE(RecallValue(other, tags, value));
}

TEST_F(KeptNumbersOfColumns, OfManyValuesTheLatestAreRecalledAndNoneForAnother) {
    NumberRange range;
    Value value;
    const auto question = [&](i32 i) {
        EXPECT_TRUE(LocateNumbersOn(*CurrentSheet(), Rows(i % 100, 200 + i / 100), false, range));
    };
    constexpr i32 FEW = 400;
    for (i32 i = 0; i < FEW; ++i) {
        question(i);
        RememberValue(range, tags, NumberValue(i));
    }
    i32 found = 0;
    for (i32 i = 0; i < FEW; ++i) {
        question(i);
        if (!RecallValue(range, tags, value)) continue;
        EXPECT_EQ(value.number, i);
        ++found;
    }
    EXPECT_GT(found, FEW - 8);
    constexpr i32 MANY = 20000;
    for (i32 i = 0; i < MANY; ++i) {
        question(i);
        RememberValue(range, tags, NumberValue(-i));
        ASSERT_TRUE(RecallValue(range, tags, value));
        ASSERT_EQ(value.number, -i);
    }
    // What gives way is what came first to its place.
    found = 0;
    for (i32 i = MANY - 1000; i < MANY; ++i) {
        question(i);
        found += RecallValue(range, tags, value);
    }
    EXPECT_GT(found, 950);
    found = 0;
    for (i32 i = 0; i < 10000; ++i) {
        question(i);
        found += RecallValue(range, tags, value);
    }
    EXPECT_LT(found, 500);
}

TEST_F(KeptNumbersOfColumns, WhereAQuestionBeganIsKnownForTheLastSixteen) {
    KeptNumbers kept;
    EXPECT_FALSE(BeganBefore(kept, 0, tags));
    EXPECT_TRUE(BeganBefore(kept, 0, tags));
    EXPECT_FALSE(BeganBefore(kept, 0, tags + 1));
    EXPECT_FALSE(BeganBefore(kept, 1, tags));
    EXPECT_TRUE(BeganBefore(kept, 0, tags + 1));
    for (u32 i = 10; i < 10 + ASKED_BEGINS - 1; ++i) EXPECT_FALSE(BeganBefore(kept, i, tags)) << i;
    // The oldest two have given way; those behind them stand.
    EXPECT_TRUE(BeganBefore(kept, 1, tags));
    for (u32 i = 10; i < 10 + ASKED_BEGINS - 1; ++i) EXPECT_TRUE(BeganBefore(kept, i, tags)) << i;
    EXPECT_FALSE(BeganBefore(kept, 0, tags));
    EXPECT_FALSE(BeganBefore(kept, 1, tags));
}

TEST_F(KeptNumbersOfColumns, WindowsThatMoveOnByTheSameStepAreALine) {
    KeptNumbers kept;
    EXPECT_EQ(NextInLine(kept, 0, 99, tags), nullptr);
    EXPECT_EQ(NextInLine(kept, 1, 101, tags), nullptr);
    const AskedRows* line = NextInLine(kept, 2, 103, tags);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(line->first, 2);
    EXPECT_EQ(line->last, 103);
    EXPECT_EQ(line->firstStep, 1);
    EXPECT_EQ(line->lastStep, 2);
    // Another step, the same question again, another tag.
    EXPECT_EQ(NextInLine(kept, 3, 104, tags), nullptr);
    EXPECT_NE(NextInLine(kept, 4, 105, tags), nullptr);
    EXPECT_EQ(NextInLine(kept, 4, 105, tags), nullptr);
    EXPECT_EQ(NextInLine(kept, 5, 106, tags + 1), nullptr);
}

TEST_F(KeptNumbersOfColumns, ALineMayStandStillAtOneEndAndGoUpwards) {
    KeptNumbers kept;
    EXPECT_EQ(NextInLine(kept, 500, 900, tags), nullptr);
    EXPECT_EQ(NextInLine(kept, 500, 890, tags), nullptr);
    ASSERT_NE(NextInLine(kept, 500, 880, tags), nullptr);
    EXPECT_EQ(NextInLine(kept, 500, 880, tags + 1), nullptr);
    EXPECT_EQ(NextInLine(kept, 490, 880, tags + 1), nullptr);
    ASSERT_NE(NextInLine(kept, 480, 880, tags + 1), nullptr);
}

TEST_F(KeptNumbersOfColumns, ALineHasStepsOfSixtyFourRowsAtMost) {
    for (const i32 step : {64, -64, 65, -65}) {
        KeptNumbers byFirst, byLast;
        const bool near = std::abs(step) == 64;
        EXPECT_EQ(NextInLine(byFirst, 1000, 2000, tags), nullptr);
        EXPECT_EQ(NextInLine(byFirst, 1000 + step, 2000, tags), nullptr);
        EXPECT_EQ(NextInLine(byFirst, 1000 + 2 * step, 2000, tags) != nullptr, near) << step;
        EXPECT_EQ(NextInLine(byLast, 1000, 2000, tags), nullptr);
        EXPECT_EQ(NextInLine(byLast, 1000, 2000 + step, tags), nullptr);
        EXPECT_EQ(NextInLine(byLast, 1000, 2000 + 2 * step, tags) != nullptr, near) << step;
    }
}

TEST_F(KeptNumbersOfColumns, SixteenLinesGoSideBySide) {
    KeptNumbers kept;
    for (i32 step = 0; step < 5; ++step) {
        for (u32 i = 0; i < ASKED_ROWS; ++i) {
            const i32 first = static_cast<i32>(i) * 1000 + step;
            EXPECT_EQ(NextInLine(kept, first, first + 99, tags) != nullptr, step >= 2) << i << ' ' << step;
        }
    }
    // One more takes the place of the first.
    EXPECT_EQ(NextInLine(kept, 50000, 50099, tags), nullptr);
    EXPECT_EQ(NextInLine(kept, 1005, 1104, tags) != nullptr, true);
    EXPECT_EQ(NextInLine(kept, 5, 104, tags), nullptr);
    // Of two near ones the line with the step goes on.
    KeptNumbers crossing;
    for (i32 step = 0; step < 5; ++step) {
        EXPECT_EQ(NextInLine(crossing, 10 + step * 3, 200 + step * 3, tags) != nullptr, step >= 2) << step;
        EXPECT_EQ(NextInLine(crossing, 100 + step, 290 + step, tags) != nullptr, step >= 2) << step;
    }
}

}  // namespace
}  // namespace tally
