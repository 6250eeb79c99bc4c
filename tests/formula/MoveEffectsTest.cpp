#include <algorithm>

#include "formula/Compiler.h"
#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/ReferenceAdjustment.h"
#include "support/Sandbox.h"

// What a move means for formulas that are not rewritten, or not only.

namespace tally {
namespace {

class MoveEffects : public Sandbox {
  protected:
    // The bits for a formula of the first sheet, as letters: Changed Lost Met Placed Reshaped Whole Staying.
    static std::string Bits(u32 effect) {
        std::string out;
        for (u32 bit = 0; bit < 7; ++bit) {
            if (effect >> bit & 1) out += "CLMPRWS"[bit];
        }
        return effect >> 7 ? "?" : out;
    }
    static FormulaTokens Tokens(std::string_view formula) {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        EXPECT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
        return tokens;
    }
    static std::string Effect(std::string_view formula, const AreaMove& move) {
        FormulaTokens tokens = Tokens(formula);
        MoveView view = ViewOfMove(move, 0, 0), again = ViewOfMove(move, 0, 0);
        const u32 effect = EffectOfMove(tokens, view);
        EXPECT_EQ(AdjustForMove(tokens, again), effect) << formula;
        FreeTokens(tokens);
        return Bits(effect);
    }
    static AreaMove Move(const char* first, const char* last, i32 rows, i32 columns) {
        return {0, 0, AreaOf(first, last), rows, columns};
    }
};

// A reference that stays is met when it shares a cell with what is moved, what is covered, or what lies
// between.
TEST_F(MoveEffects, AReferenceIsMetByWhatMovesUnderItAndByTheCellsBetween) {
    const AreaMove moves[] = {Move("D4", "E5", 3, 0), Move("D7", "E8", -3, 0), Move("D4", "E5", 0, 3),
                              Move("G4", "H5", 0, -3)};
    for (const AreaMove& move : moves) {
        const RefArea from = move.from, to = TargetOf(move);
        const RefArea around = {std::min(from.firstRow, to.firstRow), std::max(from.lastRow, to.lastRow),
                                std::min(from.firstColumn, to.firstColumn),
                                std::max(from.lastColumn, to.lastColumn)};
        u32 met = 0;
        for (i32 row = 0; row < 11; ++row) {
            for (i32 column = 0; column < 11; ++column) {
                for (const i32 size : {0, 1}) {
                    WideText text;
                    ASSERT_TRUE(text.Append(u"=SUM(") && CellToText(row, column, false, false, text) &&
                                text.Append(u':') &&
                                CellToText(row + size, column + size, false, false, text) && text.Append(u')'));
                    std::string effect = Effect(Narrow(text), move);
                    if (effect.find('C') != std::string::npos) continue;
                    std::erase(effect, 'L');  // the way back may cut it
                    const RefArea area = {static_cast<u16>(row), static_cast<u16>(row + size),
                                          static_cast<u8>(column), static_cast<u8>(column + size)};
                    EXPECT_EQ(effect, AreasMeet(area, around) ? "M" : "") << Narrow(text);
                    met += AreasMeet(area, around);
                }
            }
        }
        EXPECT_GT(met, 4u);
    }
}

TEST_F(MoveEffects, AreToldForEachKindOfFormula) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    ASSERT_TRUE(InsertSheet(2, nullptr, SHEET_WORKSHEET, false, false));
    CurrentWorkbook()->currentSheet = 0;
    DefineName("rate", "=5");
    // The block B2:C3 goes to B12:C13.
    const AreaMove move = Move("B2", "C3", 10, 0);
    const std::pair<const char*, const char*> rows[] = {
        {"=B2", "C"},
        {"=A1", ""},
        {"=B12", "CLR"},
        {"=SUM(B2:C3)", "C"},
        {"=SUM(B12:C13)", "CLR"},
        {"=SUM(B3:C4)", "LM"},
        {"=SUM(B2:C4)", "LM"},
        {"=SUM(B11:C12)", "CLR"},
        {"=SUM(B2:B4)", "LM"},
        {"=ROW(B2)", "CP"},
        {"=COLUMN(A1)", "P"},
        {"=SUMIF(A1:A2,1,A5)", "PS"},
        {"=rate", "P"},
        {"=A1:A2 A1", "P"},
        {"=1+2", ""},
        {"=PI()", ""},
        {"=ABS(B2:C3)", "CW"},
        {"=ABS(E2:E3)", "S"},
        {"=SUM(E2:E3)", ""},
        {"=INDEX(B2:C3,1,1)", "CW"},
        {"=INDEX(E2:E3,1)", "S"},
        {"=SUM(INDEX(E2:E3,1))", "S"},
        {"=SUM(B2)+INDEX(1,1)", "C"},
        {"=SUMPRODUCT(B2:C3*2)", "C"},
        {"=Sheet1!B2", "C"},
        {"=Sheet2!B2", ""},
        {"=SUM(Sheet1:Sheet3!B2)", "M"},
        {"=SUM(Sheet1:Sheet3!A1)", ""},
        {"=SUM(Sheet2:Sheet3!B2)", ""},
        {"=SUM(Sheet1:Sheet2!B2)", "M"},
    };
    for (const auto& [formula, bits] : rows) EXPECT_EQ(Effect(formula, move), bits) << formula;
}

// Sums of whole areas, wherever they stand; all others may hand an area on.
TEST_F(MoveEffects, OnlyCallsThatTakeAreasWholeDoNotHandThemOn) {
    const AreaMove move = Move("B2", "C3", 10, 0);
    const std::pair<const char*, bool> rows[] = {
        {"COUNT(#)", true},       {"SUM(#)", true},       {"AVERAGE(#)", true},     {"MIN(#)", true},
        {"MAX(#)", true},         {"STDEV(#)", true},     {"VAR(#)", true},         {"NPV(1,#)", false},
        {"COUNTA(#)", true},      {"PRODUCT(#)", true},   {"STDEVP(#)", true},      {"VARP(#)", true},
        {"MEDIAN(#)", true},      {"LARGE(#,1)", true},   {"SMALL(#,1)", true},     {"COUNTIF(#,1)", true},
        {"COUNTBLANK(#)", true},  {"ROWS(#)", false},     {"INDEX(#,1,1)", false},  {"OFFSET(#,1,1)", false},
        {"IF(1,#)", false},       {"CHOOSE(1,#)", false}, {"VLOOKUP(1,#,1)", true}, {"MATCH(1,#)", true},
        {"HLOOKUP(1,#,1)", true}, {"RANK(1,#)", true},    {"SUMPRODUCT(#)", true},  {"COLUMNS(#)", false},
        {"LOOKUP(1,#)", false},
    };
    for (const auto& [call, whole] : rows) {
        std::string moved = std::string("=") + call, stays = moved;
        moved.replace(moved.find('#'), 1, "B2:C3");
        stays.replace(stays.find('#'), 1, "E2:F3");
        EXPECT_EQ(Effect(moved, move).find('W') == std::string::npos, whole) << moved << Effect(moved, move);
        EXPECT_EQ(Effect(stays, move).find('S') == std::string::npos, whole) << stays;
    }
}

TEST_F(MoveEffects, AValueMayBeAnotherByTheTableOfEffects) {
    const struct {
        u32 effect;
        bool whenMoving, whenStaying;
    } rows[] = {
        {0, false, false},
        {MOVE_CHANGED, false, false},
        {MOVE_LOST, false, false},
        {MOVE_MET, true, true},
        {MOVE_RESHAPED, true, true},
        {MOVE_PLACED, true, false},
        {MOVE_PLACED | MOVE_CHANGED, true, true},
        {MOVE_WHOLE_AREA, false, true},
        {MOVE_STAYING_AREA, true, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(MoveChangesValue(row.effect, true), row.whenMoving) << row.effect;
        EXPECT_EQ(MoveChangesValue(row.effect, false), row.whenStaying) << row.effect;
    }
}

TEST_F(MoveEffects, ANameThatIsMovedKeepsItsOffsetsAndTellsWhatIsLost) {
    const AreaMove move = Move("B2", "C3", 10, 0);
    const std::pair<const char*, const char*> rows[] = {
        {"=Sheet1!$B$2", "C"},
        {"=Sheet1!$B$12", "CLR"},
        {"=Sheet1!B2", ""},
        {"=Sheet1!$A$1", ""},
        {"=Sheet1!$B$2:$C$4", "L"},
        {"=Sheet1!$B$2:$C$3", "C"},
        {"=SUM(Sheet1!$B11:$C$12)", "CLR"},
    };
    for (const auto& [formula, bits] : rows) {
        FormulaTokens tokens = Tokens(formula);
        MoveView view = ViewOfMove(move, 0, -1), again = view;
        const u32 effect = EffectOfNameMove(tokens, view);
        std::string text = Bits(effect);
        std::erase_if(text, [](char c) { return c == 'W' || c == 'S' || c == 'M'; });
        EXPECT_EQ(text, bits) << formula;
        EXPECT_EQ(AdjustNameForMove(tokens, again), effect) << formula;
        FreeTokens(tokens);
    }
}

TEST_F(MoveEffects, OtherBooksFollowTheirLinks) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    FormulaPlace place;
    place.book = 1;
    FormulaTokens tokens;
    ASSERT_TRUE(CompileFormula(place, u"=B2+[Book1]Sheet1!B2+[Book1]Sheet1!A1", 'V', tokens));
    const AreaMove move = {0, 0, AreaOf("B2", "C3"), 10, 0};
    MoveView view = ViewOfMove(move, 1, 0);
    EXPECT_FALSE(view.plainMoves);
    EXPECT_TRUE(SeesMove(view));
    EXPECT_EQ(Bits(AdjustForMove(tokens, view)), "C");
    WideText text;
    ASSERT_TRUE(FormulaToText(1, tokens, 0, 0, true, text));
    EXPECT_EQ(Narrow(text), "=B2+[Book1]Sheet1!B12+[Book1]Sheet1!A1");
    FreeTokens(tokens);
    MoveView none = ViewOfMove({1, 0, AreaOf("B2", "C3"), 10, 0}, 0, 0);
    EXPECT_FALSE(SeesMove(none));
}

}  // namespace
}  // namespace tally
