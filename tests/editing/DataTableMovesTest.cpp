// Data tables among the edits that move, overwrite and take away cells.

#include "editing/ClearArea.h"
#include "editing/Clipboard.h"
#include "editing/InsertDelete.h"
#include "editing/PasteBlock.h"
#include "editing/SheetOperations.h"
#include "editing/StoreEntry.h"
#include "formula/DataTables.h"
#include "formula/Dependents.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// A1 is the input, C1 the formula, B2:B4 the values and C2:C4 the results; E5 stands below all of it.
class DataTableMoves : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        ConnectUndo();
        Enter("A1", "10");
        Enter("C1", "=A1*2");
        for (int i = 2; i <= 4; ++i) Enter("B" + std::to_string(i), std::to_string(i));
        DataTable table;
        table.area = AreaOf("C2", "C4");
        ASSERT_TRUE(CurrentSheet()->dataTables.Append(table));
        for (u16 row = 1; row <= 3; ++row) {
            const u8 bytes[5] = {ptgTbl, 1, 0, 2, 0};
            FormulaTokens tokens;
            ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes, 5), {}));
            ASSERT_TRUE(InsertCell(*CurrentSheet(), row, 2, 15, NumberValue(-77), tokens));
        }
        DropDependents();
        ASSERT_EQ(Results("C2", "C3", "C4"), "4 6 8");
    }
    void TearDown() override {
        ConnectUndo();
        Sandbox::TearDown();
    }
    static std::string Results(const char* a, const char* b, const char* c) {
        return Shown(a) + " " + Shown(b) + " " + Shown(c);
    }
    static const DataTable& Table() { return CurrentSheet()->dataTables[0]; }
    static std::string LastBox() {
        return Headless().boxes.IsEmpty() ? "" : Narrow(Headless().boxes.Last().text);
    }
};

TEST_F(DataTableMoves, ATableGoesWithItsRowsAndColumns) {
    ASSERT_TRUE(InsertRowsOrCellsDown({0, 1, 0, 255}));
    EXPECT_EQ(Table().area, AreaOf("C4", "C6"));
    EXPECT_EQ(Results("C4", "C5", "C6"), "4 6 8");
    ASSERT_TRUE(InsertColumnsOrCellsRight({0, 65535, 0, 0}));
    EXPECT_EQ(Table().area, AreaOf("D4", "D6"));
    Enter("B3", "0");  // the input has gone along
    Enter("D3", "=B3*5");
    EXPECT_EQ(Results("D4", "D5", "D6"), "10 15 20");
    while (UndoCount()) ASSERT_TRUE(UndoLast());
    EXPECT_EQ(Table().area, AreaOf("C2", "C4"));
    EXPECT_EQ(Results("C2", "C3", "C4"), "10 15 20");
    Enter("B2", "50");
    EXPECT_EQ(Shown("C2"), "250");
}

TEST_F(DataTableMoves, OnlyTheInputMovesWhenCellsAreInsertedAboveIt) {
    ASSERT_TRUE(InsertRowsOrCellsDown(AreaOf("A1", "A1")));
    EXPECT_EQ(Table().inputs[0], 1);
    EXPECT_EQ(Table().inputs[1], 0);
    EXPECT_EQ(Table().area, AreaOf("C2", "C4"));
    Enter("B2", "30");
    EXPECT_EQ(Results("C2", "C3", "C4"), "60 6 8");
}

TEST_F(DataTableMoves, AnEditThatCutsATableIsRefused) {
    EXPECT_FALSE(InsertRowsOrCellsDown({2, 2, 0, 255}));
    EXPECT_EQ(LastBox(), "不能改变数组的某一部分");
    Headless().boxes.Clear();
    EXPECT_FALSE(DeleteRowsOrCellsUp({3, 3, 0, 255}));
    EXPECT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_FALSE(CutCells(CurrentBook(), 0, AreaOf("C2", "C3")));
    EXPECT_EQ(Results("C2", "C3", "C4"), "4 6 8");
    EXPECT_EQ(UndoCount(), 0u);
}

TEST_F(DataTableMoves, ALostInputLeavesAnErrorUntilUndone) {
    ASSERT_TRUE(DeleteColumnsOrCellsLeft({0, 65535, 0, 0}));
    EXPECT_EQ(Table().area, AreaOf("B2", "B4"));
    EXPECT_TRUE(Table().flags & TABLE_INPUT_LOST);
    EXPECT_FALSE(Table().flags & TABLE_SECOND_LOST);
    EXPECT_EQ(Shown("B2"), "#REF!");
    ASSERT_TRUE(UndoLast());
    EXPECT_FALSE(Table().flags & TABLE_INPUT_LOST);
    EXPECT_EQ(Results("C2", "C3", "C4"), "4 6 8");
}

TEST_F(DataTableMoves, ATableThatIsTakenAwayComesBackWithUndo) {
    const auto takeAway = [](int way) {
        switch (way) {
            case 0: return ClearArea(AreaOf("C2", "C9"), CLEAR_ALL);
            case 1: return ClearArea(AreaOf("C1", "C4"), CLEAR_CONTENTS);
            case 2: return DeleteRowsOrCellsUp({1, 3, 0, 255});
            case 3: return CutCells(CurrentBook(), 0, AreaOf("B1", "C4"));
            default: {
                EntryTarget target;
                target.area = AreaOf("C2", "C4");
                target.refRow = 1;
                target.refColumn = 2;
                target.isFill = true;
                i32 outcome = 0;
                return StoreEntry(target, u"1", outcome);
            }
        }
    };
    for (int way = 0; way < 5; ++way) {
        const auto before = DumpBook(CurrentBook());
        ASSERT_TRUE(takeAway(way)) << way;
        EXPECT_EQ(CurrentSheet()->dataTables.Count(), 0u) << way;
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "") << way;
        ASSERT_EQ(CurrentSheet()->dataTables.Count(), 1u) << way;
        EXPECT_EQ(Results("C2", "C3", "C4"), "4 6 8") << way;
    }
}

TEST_F(DataTableMoves, ACopiedSheetHasItsTable) {
    ASSERT_TRUE(CopySheet(1));
    ASSERT_EQ(CurrentSheet()->dataTables.Count(), 1u);
    EXPECT_EQ(Results("C2", "C3", "C4"), "4 6 8");
    Enter("B3", "7");
    EXPECT_EQ(Results("C2", "C3", "C4"), "4 14 8");
    CurrentWorkbook()->currentSheet = 0;
    EXPECT_EQ(Results("C2", "C3", "C4"), "4 6 8");
}

}  // namespace
}  // namespace tally
