#include "formula/ReferenceAdjustment.h"

#include <map>
#include <optional>
#include <random>
#include <set>

#include "formula/Compiler.h"
#include "formula/FormulaText.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

using CellSet = std::set<std::pair<i32, i32>>;

CellSet CellsOf(const RefArea& area) {
    CellSet cells;
    for (i32 r = area.firstRow; r <= area.lastRow; ++r)
        for (i32 c = area.firstColumn; c <= area.lastColumn; ++c) cells.insert({r, c});
    return cells;
}

FormulaTokens AreaTokens(const RefArea& area, u8 nibble, bool oneCell = false) {
    FormulaTokens tokens;
    EXPECT_TRUE(MakeTokens(tokens, oneCell ? 5 : 9, 0));
    tokens.bytes[0] = oneCell ? u8{ptgRef} : u8{ptgArea};
    if (oneCell) WriteRefOperand(tokens.bytes + 1, area.firstRow, area.firstColumn, nibble);
    else WriteAreaOperand(tokens.bytes + 1, area, nibble);
    return tokens;
}

// Null: the token has its error form.
std::optional<RefArea> AreaOfTokens(const FormulaTokens& tokens) {
    u8 nibble = 0;
    const u8 folded = FoldToken(tokens.bytes[0]);
    if (folded == ptgRef) return ReadRefOperand(tokens.bytes + 1, nibble);
    if (folded == ptgArea) return ReadAreaOperand(tokens.bytes + 1, nibble);
    return std::nullopt;
}

class ReferenceAdjustments : public Sandbox {
  protected:
    RefArea RandomArea(i32 side) {
        std::uniform_int_distribution<i32> pick(0, side - 1);
        const auto rows = std::minmax({pick(random), pick(random)});
        const auto columns = std::minmax({pick(random), pick(random)});
        return {static_cast<u16>(rows.first), static_cast<u16>(rows.second), static_cast<u8>(columns.first),
                static_cast<u8>(columns.second)};
    }
    AreaMove RandomMove() {
        AreaMove move;
        move.from = RandomArea(10);
        std::uniform_int_distribution<i32> pick(-4, 4);
        if (random() % 2) move.rowDelta = std::max(pick(random), -i32{move.from.firstRow});
        if (!move.rowDelta) move.columnDelta = std::max(pick(random), -i32{move.from.firstColumn});
        return move;
    }
    std::optional<RefArea> Moved(const RefArea& area, const AreaMove& move, u8 nibble = 0) {
        MoveView view = ViewOfMove(move, 0, 0);
        FormulaTokens tokens = AreaTokens(area, nibble, IsOneCell(area));
        AdjustForMove(tokens, view);
        const std::optional<RefArea> result = AreaOfTokens(tokens);
        FreeTokens(tokens);
        return result;
    }
    // A formula's text after a move on the current sheet.
    std::string After(std::string_view formula, const AreaMove& move) {
        FormulaPlace place;
        place.book = CurrentBook();
        FormulaTokens tokens;
        EXPECT_TRUE(CompileFormula(place, Wide(formula), 'V', tokens)) << formula;
        MoveView view = ViewOfMove(move, 0, 0);
        AdjustForMove(tokens, view);
        WideText text;
        EXPECT_TRUE(FormulaToText(0, tokens, 0, 0, true, text));
        FreeTokens(tokens);
        return Narrow(text);
    }
    static AreaMove InsertRows(i32 row, i32 count) {
        return {0, 0, {static_cast<u16>(row), static_cast<u16>(65535 - count), 0, 255}, count, 0};
    }
    static AreaMove DeleteRows(i32 row, i32 count) {
        return {0, 0, {static_cast<u16>(row + count), 65535, 0, 255}, -count, 0};
    }
    static AreaMove InsertColumns(i32 column, i32 count) {
        return {0, 0, {0, 65535, static_cast<u8>(column), static_cast<u8>(255 - count)}, 0, count};
    }
    std::mt19937 random{11};
};

// ---- the table of corner states against sets of cells -------------------------------------------------

u8 LiteralState(const RefArea& r, const CellSet& from, const CellSet& to) {
    const std::pair<i32, i32> corners[] = {{r.firstRow, r.firstColumn},
                                           {r.firstRow, r.lastColumn},
                                           {r.lastRow, r.firstColumn},
                                           {r.lastRow, r.lastColumn}};
    u32 state = 0;
    for (u32 i = 0; i < 4; ++i) {
        if (from.contains(corners[i])) state |= 0x80u >> i;
        else if (to.contains(corners[i])) state |= 0x08u >> i;
    }
    return static_cast<u8>(state);
}

struct Fields {
    i32 r1, r2, c1, c2;
};

// The table, line by line. False: the reference is lost.
bool LiteralTable(u8 state, Fields& f, const Fields& t, i32 dr, i32 dc) {
    if (state == 240) f = {f.r1 + dr, f.r2 + dr, f.c1 + dc, f.c2 + dc};
    if (state == 15) return false;
    if (state == 3) f.r2 = t.r1 - 1;
    if (state == 5) f.c2 = t.c1 - 1;
    if (state == 10) f.c1 = t.c2 + 1;
    if (state == 12) f.r1 = t.r2 + 1;
    if (state == 48) f.r2 += dr;
    if (state == 60) f = {std::max(f.r1 + dr, t.r1), f.r2 + dr, f.c1, f.c2};
    if (state == 80) f.c2 += dc;
    if (state == 90) f = {f.r1, f.r2, std::max(f.c1 + dc, t.c1), f.c2 + dc};
    if (state == 130 || state == 195) f = {f.r1 + dr, std::min(f.r2 + dr, t.r2), f.c1, f.c2};
    if (state == 132 || state == 165) f = {f.r1, f.r2, f.c1 + dc, std::min(f.c2 + dc, t.c2)};
    return true;
}

TEST_F(ReferenceAdjustments, EveryCornerStateActsByTheTable) {
    std::map<u8, int> seen;
    for (int round = 0; round < 60000; ++round) {
        const RefArea area = RandomArea(14);
        const AreaMove move = RandomMove();
        const RefArea target = TargetOf(move);
        const u8 state = LiteralState(area, CellsOf(move.from), CellsOf(target));
        ++seen[state];
        Fields fields = {area.firstRow, area.lastRow, area.firstColumn, area.lastColumn};
        const Fields to = {target.firstRow, target.lastRow, target.firstColumn, target.lastColumn};
        const bool kept = LiteralTable(state, fields, to, move.rowDelta, move.columnDelta);
        const std::optional<RefArea> result = Moved(area, move);
        ASSERT_EQ(result.has_value(), kept) << i32{state};
        if (!kept) continue;
        ASSERT_EQ(*result, (RefArea{static_cast<u16>(fields.r1), static_cast<u16>(fields.r2),
                                    static_cast<u8>(fields.c1), static_cast<u8>(fields.c2)}))
            << i32{state};
    }
    for (const int state : {240, 15, 3, 5, 10, 12, 48, 60, 80, 90, 130, 195, 132, 165, 0})
        EXPECT_GT(seen[static_cast<u8>(state)], 20) << state;
}

// Cells keep their identity while rows are inserted and deleted; the reference is the smallest rectangle
// around those that are left.
TEST_F(ReferenceAdjustments, InsertedAndDeletedRowsAndColumnsFollowTheCells) {
    for (int round = 0; round < 20000; ++round) {
        const RefArea area = RandomArea(12);
        const bool rows = random() % 2, insert = random() % 2;
        const i32 at = static_cast<i32>(random() % 12), count = 1 + static_cast<i32>(random() % 5);
        AreaMove move;
        if (rows) move = insert ? InsertRows(at, count) : DeleteRows(at, count);
        else if (insert) move = InsertColumns(at, count);
        else move = {0, 0, {0, 65535, static_cast<u8>(at + count), 255}, 0, -count};
        RefArea expected;
        bool any = false;
        for (auto [r, c] : CellsOf(area)) {
            i32& place = rows ? r : c;
            if (!insert && place >= at && place < at + count) continue;
            if (place >= at) place += insert ? count : -count;
            const RefArea cell = {static_cast<u16>(r), static_cast<u16>(r), static_cast<u8>(c),
                                  static_cast<u8>(c)};
            if (!any) expected = cell;
            expected = {std::min(expected.firstRow, cell.firstRow), std::max(expected.lastRow, cell.lastRow),
                        std::min(expected.firstColumn, cell.firstColumn),
                        std::max(expected.lastColumn, cell.lastColumn)};
            any = true;
        }
        const std::optional<RefArea> result = Moved(area, move);
        ASSERT_EQ(result.has_value(), any);
        if (any) ASSERT_EQ(*result, expected);
    }
}

TEST_F(ReferenceAdjustments, WhatIsNotLostComesBackWithTheInverseMove) {
    for (int round = 0; round < 40000; ++round) {
        const RefArea area = RandomArea(14);
        const AreaMove move = RandomMove();
        MoveView view = ViewOfMove(move, 0, 0);
        FormulaTokens tokens = AreaTokens(area, 0, IsOneCell(area));
        const u32 effect = AdjustForMove(tokens, view);
        const std::optional<RefArea> moved = AreaOfTokens(tokens);
        ASSERT_EQ((effect & MOVE_CHANGED) != 0, !moved || *moved != area);
        MoveView back = ViewOfMove(InverseMove(move), 0, 0);
        AdjustForMove(tokens, back);
        const std::optional<RefArea> result = AreaOfTokens(tokens);
        ASSERT_EQ((effect & MOVE_LOST) == 0, result && *result == area);
        FreeTokens(tokens);
    }
}

// ---- what users see -----------------------------------------------------------------------------------

TEST_F(ReferenceAdjustments, ARowInsertedAboveMovesAnAreaAndOneInsideGrowsIt) {
    EXPECT_EQ(After("=SUM(A5:A10)", InsertRows(2, 1)), "=SUM(A6:A11)");
    EXPECT_EQ(After("=SUM(A5:A10)", InsertRows(4, 1)), "=SUM(A6:A11)");
    EXPECT_EQ(After("=SUM(A5:A10)", InsertRows(6, 1)), "=SUM(A5:A11)");
    EXPECT_EQ(After("=SUM($A$5:$A$10)", InsertRows(6, 2)), "=SUM($A$5:$A$12)");
}

TEST_F(ReferenceAdjustments, DeletedRowsLoseACellAndShrinkAnArea) {
    EXPECT_EQ(After("=A7", DeleteRows(4, 6)), "=#REF!");
    EXPECT_EQ(After("=SUM(A1:A20)", DeleteRows(4, 6)), "=SUM(A1:A14)");
}

TEST_F(ReferenceAdjustments, AWholeColumnIsNotMovedByARowInsert) {
    EXPECT_EQ(After("=SUM(A:A)", InsertRows(3, 5)), "=SUM(A:A)");
    EXPECT_EQ(After("=SUM(B:C)", InsertColumns(0, 1)), "=SUM(C:D)");
    EXPECT_EQ(After("=SUM(3:3)", InsertColumns(0, 1)), "=SUM(3:3)");
}

TEST_F(ReferenceAdjustments, ACellCutOntoAnotherTakesItsPlaceInFormulas) {
    const AreaMove cut = {0, 0, {0, 0, 0, 0}, 0, 1};
    EXPECT_EQ(After("=B1", cut), "=#REF!");
    EXPECT_EQ(After("=A1", cut), "=B1");
}

TEST_F(ReferenceAdjustments, OnlyReferencesToTheMovedSheetFollow) {
    ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
    FormulaPlace place;
    place.book = 0;
    place.sheet = 1;
    FormulaTokens tokens;
    ASSERT_TRUE(CompileFormula(place, u"=A1+Sheet1!A1+Sheet2!A1", 'V', tokens));
    MoveView view = ViewOfMove(InsertRows(0, 1), 0, 1);
    EXPECT_TRUE(AdjustForMove(tokens, view) & MOVE_CHANGED);
    WideText text;
    ASSERT_TRUE(FormulaToText(0, tokens, 0, 0, true, text));
    EXPECT_EQ(Narrow(text), "=A1+Sheet1!A2+Sheet2!A1");
    FreeTokens(tokens);
}

TEST_F(ReferenceAdjustments, ALostReferenceKeepsItsClassAndOperands) {
    for (const int token : {0x24, 0x44, 0x64}) {
        FormulaTokens tokens = AreaTokens({6, 6, 0, 0}, 12, true);
        tokens.bytes[0] = static_cast<u8>(token);
        MoveView view = ViewOfMove(DeleteRows(4, 6), 0, 0);
        const u32 effect = AdjustForMove(tokens, view);
        EXPECT_TRUE(effect & MOVE_LOST);
        EXPECT_EQ(tokens.bytes[0], token + 6);
        EXPECT_EQ(ReadU16(tokens.bytes + 1), 6);
        FreeTokens(tokens);
    }
}

TEST_F(ReferenceAdjustments, OffsetsOfNamesStayAndTheirFixedFieldsMove) {
    const AreaMove move = InsertRows(0, 3);
    const auto name = [&](const RefArea& area, u8 nibble) {
        FormulaTokens tokens = AreaTokens(area, nibble);
        MoveView view = ViewOfMove(move, 0, 0);
        AdjustNameForMove(tokens, view);
        const RefArea result = *AreaOfTokens(tokens);
        FreeTokens(tokens);
        return result;
    };
    EXPECT_EQ(name({1, 4, 0, 0}, 0), (RefArea{4, 7, 0, 0}));
    EXPECT_EQ(name({1, 4, 0, 0}, 15), (RefArea{1, 4, 0, 0}));
    EXPECT_EQ(name({1, 4, 0, 0}, FIRST_ROW_RELATIVE), (RefArea{1, 7, 0, 0}));
    EXPECT_EQ(name({1, 4, 0, 0}, LAST_ROW_RELATIVE | FIRST_COLUMN_RELATIVE), (RefArea{4, 4, 0, 0}));
}

TEST_F(ReferenceAdjustments, ANameIsLostOnlyWhenAFixedFieldIsOverwritten) {
    const auto lost = [&](u8 nibble, const AreaMove& move, const RefArea& area) {
        FormulaTokens tokens = AreaTokens(area, nibble);
        MoveView view = ViewOfMove(move, 0, 0);
        AdjustNameForMove(tokens, view);
        const bool result = !AreaOfTokens(tokens);
        FreeTokens(tokens);
        return result;
    };
    const AreaMove rows = DeleteRows(2, 4);
    EXPECT_TRUE(lost(0, rows, {3, 4, 1, 2}));
    EXPECT_TRUE(lost(FIRST_ROW_RELATIVE, rows, {3, 4, 1, 2}));
    EXPECT_FALSE(lost(FIRST_ROW_RELATIVE | LAST_ROW_RELATIVE, rows, {3, 4, 1, 2}));
    const AreaMove columns = {0, 0, {0, 65535, 6, 255}, 0, -4};
    EXPECT_TRUE(lost(FIRST_ROW_RELATIVE | LAST_ROW_RELATIVE, columns, {3, 4, 3, 4}));
    EXPECT_FALSE(lost(FIRST_COLUMN_RELATIVE | LAST_COLUMN_RELATIVE, columns, {3, 4, 3, 4}));
}

// A rule's offsets name the same cells from the place where the rule stands afterwards.
TEST_F(ReferenceAdjustments, OffsetsOfARuleNameTheSameCellsAfterwards) {
    const auto rule = [&](u16 row, u8 column, RuleBase base, RuleBase newBase, const AreaMove& move) {
        FormulaTokens tokens = AreaTokens({row, row, column, column}, 15, true);
        tokens.bytes[0] = ptgRefN;
        MoveView view = ViewOfMove(move, 0, 0);
        AdjustRuleForMove(tokens, view, base, newBase);
        std::pair<i32, i32> offset = {ReadU16(tokens.bytes + 1), tokens.bytes[3]};
        if (FoldToken(tokens.bytes[0]) != ptgRefN) offset = {-1, -1};
        FreeTokens(tokens);
        return offset;
    };
    const AreaMove insert = InsertRows(3, 2);
    // The rule moves with its cell, the neighbour as well.
    EXPECT_EQ(rule(0, 255, {4, 1}, {6, 1}, insert), std::pair(0, 255));
    // The rule stays above, what it looks at goes down.
    EXPECT_EQ(rule(4, 0, {1, 1}, {1, 1}, insert), std::pair(6, 0));
    // The rule goes down, what it looks at stays above: two rows more to go up.
    EXPECT_EQ(rule(65534, 0, {4, 1}, {6, 1}, insert), std::pair(65532, 0));
    EXPECT_EQ(rule(4, 0, {0, 0}, {0, 0}, DeleteRows(3, 3)), std::pair(-1, -1));
}

TEST_F(ReferenceAdjustments, CornersInAWrongOrderStayOnTheSheet) {
    for (int round = 0; round < 20000; ++round) {
        const auto any = [&](u32 limit) {
            return random() % 3 ? random() % limit : random() % 2 ? limit - 1 : 0;
        };
        const RefArea area = {static_cast<u16>(any(65536)), static_cast<u16>(any(65536)),
                              static_cast<u8>(any(256)), static_cast<u8>(any(256))};
        const AreaMove move = random() % 2 ? InsertRows(static_cast<i32>(any(65000)), 100)
                                           : DeleteRows(static_cast<i32>(any(60000)), 3000);
        FormulaTokens tokens = AreaTokens(area, static_cast<u8>(random() % 16));
        MoveView view = ViewOfMove(move, 0, 0);
        AdjustForMove(tokens, view);
        EXPECT_EQ(tokens.length, 9);
        FreeTokens(tokens);
    }
}

TEST_F(ReferenceAdjustments, SharedTokensAreLeftAloneWhenMemoryFails) {
    test::FailingAllocator allocator;
    {
        QuietMemoryScope quiet;
        FormulaTokens tokens = AreaTokens({5, 5, 0, 0}, 0, true), other;
        CopyTokens(other, tokens);
        MoveView view = ViewOfMove(InsertRows(0, 1), 0, 0);
        allocator.FailAt(1);
        EXPECT_EQ(AdjustForMove(tokens, view), 0u);
        EXPECT_EQ(AreaOfTokens(tokens)->firstRow, 5);
        allocator.StopFailing();
        EXPECT_TRUE(AdjustForMove(tokens, view) & MOVE_CHANGED);
        EXPECT_EQ(AreaOfTokens(tokens)->firstRow, 6);
        EXPECT_EQ(AreaOfTokens(other)->firstRow, 5);
        FreeTokens(tokens);
        FreeTokens(other);
    }
    EXPECT_EQ(allocator.LiveBlocks(), 0u);
}

}  // namespace
}  // namespace tally
