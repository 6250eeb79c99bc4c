#include "model/SavedCells.h"

#include <map>
#include <random>

#include "model/CellStore.h"
#include "model/Tokens.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u8 oneByte[] = {0x1E, 1, 0};

struct Told {
    double number;
    u16 format;
    bool formula, always;
    bool operator==(const Told&) const = default;
};
using Cells = std::map<std::pair<i32, i32>, Told>;

std::ostream& operator<<(std::ostream& out, const Told& told) {
    return out << told.number << " " << told.format << " " << told.formula << told.always;
}

// The cells of the sheet, and whether what they tell of each other agrees.
Cells Read(Sheet& sheet) {
    CellStore& store = sheet.cells;
    Cells cells;
    u32 formulas = 0;
    u32 inColumn[MAX_COLUMNS] = {};
    for (CellPosition p; !AtEnd(store, p); NextCell(store, p)) {
        const CellRecord& cell = CellAt(store, p);
        Told& told = cells[{RowAt(store, p), cell.column}];
        told = {cell.value.number, cell.format, cell.formula != nullptr,
                cell.formula && cell.formula->alwaysCalculate};
        EXPECT_EQ(GetCell(store, RowAt(store, p), cell.column), &cell);
        if (!cell.formula) continue;
        ++formulas;
        ++inColumn[cell.column];
        EXPECT_EQ(cell.formula->row, RowAt(store, p));
        EXPECT_EQ(cell.formula->column, cell.column);
        EXPECT_EQ(cell.formula->sheet, &sheet);
        EXPECT_EQ(store.formulas[cell.formula->listIndex], cell.formula);
    }
    EXPECT_EQ(cells.size(), store.count);
    EXPECT_EQ(formulas, store.formulas.Count());
    for (i32 c = 0; c < MAX_COLUMNS; ++c) EXPECT_EQ(inColumn[c], store.formulasInColumn[c]) << c;
    for (const CellRow& row : store.rows) EXPECT_GT(row.count, 0);
    return cells;
}

bool Put(Sheet& sheet, i32 row, i32 column, double number, bool formula) {
    FormulaTokens tokens;
    if (formula && !MakeTokens(tokens, oneByte, {})) return false;
    if (!InsertCell(sheet, row, column, static_cast<u16>(15 + row % 3), NumberValue(number), tokens))
        return false;
    if (formula) GetCell(sheet.cells, row, column)->formula->alwaysCalculate = row % 2;
    return true;
}

class SavedCellLists : public Sandbox {
  protected:
    static Sheet& Here() { return *CurrentSheet(); }
    RefArea Area() {
        const auto rows = std::minmax({Below(12), Below(12)}), columns = std::minmax({Below(8), Below(8)});
        return {static_cast<u16>(rows.first), static_cast<u16>(rows.second), static_cast<u8>(columns.first),
                static_cast<u8>(columns.second)};
    }
    i32 Below(u32 n) { return static_cast<i32>(random() % n); }
    void Scatter(i32 count, double from) {
        for (i32 i = 0; i < count; ++i) ASSERT_TRUE(Put(Here(), Below(12), Below(8), from + i, Below(3) == 0));
    }
    std::mt19937 random{11};
};

TEST_F(SavedCellLists, ACellIsSavedWithAllThatItHas) {
    ASSERT_TRUE(Put(Here(), 3, 2, 7, true));
    GetCell(Here().cells, 3, 2)->calcState = CALC_CURRENT;
    ASSERT_TRUE(InsertCell(Here(), 4, 1, 9, TextValue(u"text"), FormulaTokens()));
    ASSERT_TRUE(InsertCell(Here(), 5, 1, 9, Value(), FormulaTokens()));
    Array<SavedCell> saved;
    ASSERT_TRUE(SaveCells(Here().cells, {3, 4, 1, 2}, saved));
    ASSERT_EQ(saved.Count(), 2u);
    EXPECT_EQ(saved[0].row, 3);
    EXPECT_EQ(saved[0].column, 2);
    EXPECT_EQ(saved[0].value.number, 7);
    EXPECT_EQ(saved[0].calcState, CALC_CURRENT);
    EXPECT_TRUE(saved[0].alwaysCalculate);
    EXPECT_EQ(TokenUsers(saved[0].tokens), 2u);
    EXPECT_EQ(TextOf(saved[1].value), u"text");
    EXPECT_EQ(saved[1].format, 9);
    EXPECT_FALSE(saved[1].alwaysCalculate);
    EXPECT_FALSE(HasFormula(saved[1].tokens));
    FreeSavedCells(saved);
    EXPECT_TRUE(saved.IsEmpty());
    EXPECT_EQ(TokenUsers(GetCell(Here().cells, 3, 2)->formula->tokens), 1u);
}

TEST_F(SavedCellLists, ReturnedFormulasAreStaleOnWorksheetsAlone) {
    for (const i32 kind : {SHEET_WORKSHEET, SHEET_MACRO}) {
        Here().kind = kind;
        ASSERT_TRUE(Put(Here(), 0, 0, 1, true) && Put(Here(), 0, 1, 2, false));
        GetCell(Here().cells, 0, 0)->calcState = CALC_CURRENT;
        Array<SavedCell> saved;
        CellPatch patch;
        const RefArea area = {0, 0, 0, 1};
        ASSERT_TRUE(SaveCells(Here().cells, area, saved));
        const u32 before = Here().cells.columnVersion[1];
        ASSERT_TRUE(PrepareCells(patch, Here(), area, saved.Span(), 0));
        CommitCells(patch, Here());
        EXPECT_EQ(GetCell(Here().cells, 0, 0)->calcState, kind == SHEET_WORKSHEET ? CALC_STALE : CALC_CURRENT);
        EXPECT_EQ(GetCell(Here().cells, 0, 1)->calcState, CALC_CURRENT);
        EXPECT_NE(Here().cells.columnVersion[1], before);
        EXPECT_EQ(patch.formulas, 1u);
        FreeSavedCells(saved);
    }
}

TEST_F(SavedCellLists, PatchesAgreeWithAMapUnderRandomChanges) {
    for (i32 round = 0; round < 600; ++round) {
        FreeStore(Here().cells);
        Scatter(Below(40), round * 100);
        const RefArea area = Area();
        Array<SavedCell> saved;
        ASSERT_TRUE(SaveCells(Here().cells, area, saved));
        const Cells before = Read(Here());
        for (i32 i = Below(10); i > 0; --i) {
            const i32 row = area.firstRow + Below(area.lastRow - area.firstRow + 1u);
            const i32 column = area.firstColumn + Below(area.lastColumn - area.firstColumn + 1u);
            CellPosition place;
            if (Below(2)) ASSERT_TRUE(Put(Here(), row, column, -i, Below(2)));
            else if (FindCell(Here().cells, row, column, place)) RemoveCell(Here().cells, place);
        }
        CellPatch patch;
        ASSERT_TRUE(PrepareCells(patch, Here(), area, saved.Span(), 0));
        const u32 versions[] = {Here().cells.columnVersion[area.firstColumn],
                                Here().cells.columnVersion[area.lastColumn]};
        CommitCells(patch, Here());
        ASSERT_EQ(Read(Here()), before) << round;
        EXPECT_NE(Here().cells.columnVersion[area.firstColumn], versions[0]);
        EXPECT_NE(Here().cells.columnVersion[area.lastColumn], versions[1]);
        EXPECT_TRUE(patch.rows.IsEmpty());
        // The new formulas are the last ones.
        const u32 count = Here().cells.formulas.Count();
        ASSERT_LE(patch.formulas, count);
        for (u32 i = 0; i < count; ++i) {
            const FormulaCell& formula = *Here().cells.formulas[i];
            EXPECT_EQ(AreaHolds(area, formula.row, formula.column), i >= count - patch.formulas);
        }
        FreeSavedCells(saved);
    }
}

TEST(SavedCellMemory, APatchIsWholeOrEmpty) {
    for (u64 n = 1;; ++n) {
        test::FailingAllocator allocator;
        bool good = false;
        {
            QuietMemoryScope quiet;
            Sheet sheet;
            for (i32 i = 0; i < 12; ++i) ASSERT_TRUE(Put(sheet, i / 3, i % 3, i, i % 2));
            Array<SavedCell> saved;
            CellPatch patch;
            const RefArea area = {0, 3, 0, 1};
            allocator.FailAt(n);
            good = SaveCells(sheet.cells, area, saved);
            EXPECT_EQ(saved.Count(), good ? 8u : 0u);
            if (good) {
                for (i32 i = 0; i < 4; ++i) {
                    CellPosition place;
                    ASSERT_TRUE(FindCell(sheet.cells, 1, i % 3, place) || i == 3);
                    if (i < 3) RemoveCell(sheet.cells, place);
                }
                good = PrepareCells(patch, sheet, area, saved.Span(), 2);
                EXPECT_EQ(patch.rows.Count(), good ? 4u : 0u);
                EXPECT_EQ(patch.formulas, good ? 4u : 0u);
            }
            const u32 before = sheet.cells.count;
            if (good && n % 2) {
                CommitCells(patch, sheet);
                EXPECT_EQ(sheet.cells.count, 11u);
            } else {
                DropPatch(patch);
                EXPECT_EQ(sheet.cells.count, before);
            }
            FreeSavedCells(saved);
            FreeStore(sheet.cells);
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u);
        if (good && n % 2) break;
        ASSERT_LT(n, 100u);
    }
}

}  // namespace
}  // namespace tally
