// Each allocation of an operation, and then of its undo, fails once on a small book that has one of everything:
// the operation is refused whole or done whole, then perhaps without undo.

#include <functional>

#include "display/LocaleSettings.h"
#include "editing/ApplyFormat.h"
#include "editing/CarryCells.h"
#include "editing/ClearArea.h"
#include "editing/ExtendFill.h"
#include "editing/Fill.h"
#include "editing/FillSeries.h"
#include "editing/InsertDelete.h"
#include "editing/PasteFixture.h"
#include "editing/PasteText.h"
#include "editing/RuleOperations.h"
#include "editing/SheetOperations.h"
#include "editing/StoreEntry.h"
#include "editing/Undo.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"
#include "support/FailingAllocator.h"

namespace tally {
namespace {

class ShortMemory : public Paste {
  protected:
    static void Reads(FormulaTokens& tokens, u8 letter, i32 externRow, u16 row) {
        const u8 length = externRow < 0 ? 5 : 7;
        ASSERT_TRUE(MakeTokens(tokens, length, 0));
        tokens.bytes[0] = letter;
        if (externRow >= 0) PutU16(tokens.bytes + 1, static_cast<u32>(externRow));
        WriteRefOperand(tokens.bytes + length - 4, row, 0, 0);
    }
    static void MakeBook() {
        ASSERT_TRUE(InsertSheet(1, nullptr, SHEET_WORKSHEET, false, false));
        Enter("B1", "=Sheet1!A5*2");
        Enter("B2", "=SUM(Sheet1:Sheet2!A6)");
        Sheet& other = *CurrentSheet();
        CurrentWorkbook()->currentSheet = 0;
        Sheet& sheet = *CurrentSheet();
        for (const char* cell : {"A2", "B2", "A5", "A6", "C6"}) Enter(cell, "3");
        Enter("B3", "text");
        Enter("C2", "=A2+$A$5");
        Enter("C3", "=C2&\"x\"");
        Enter("H1", "=SUM(A2:A6)+Sheet2!B1");
        EnterArray("E10", "E11", "=A5:A6");
        DefineName("near", "=Sheet1!$A$5");
        DefineName("near", "=Sheet1!$A$6", 1);
        DefineName("own", "=Sheet1!$C$6", 1);
        Enter("H2", "=near+own");
        ASSERT_TRUE(sheet.mergedAreas.Append(AreaOf("F10", "G10")));
        DataTable table;
        table.area = AreaOf("J20", "J21");
        ASSERT_TRUE(sheet.dataTables.Append(table));
        AddLink("B3", "B3", "inside");
        AddLink("H9", "H9", "beyond");
        i32 extern1 = 0;
        ASSERT_TRUE(AddExternRef({0, 0, 0, 0}, extern1));
        Reads(AddRule("A2", "C3", 1).formula1, ptgRefN | 0x40, -1, 4);
        Reads(AddCondition("B2", "D6").conditions[0].formula1, ptgRefN | 0x40, -1, 4);
        ValidationRule* rule = other.validations.AppendDefault();
        ASSERT_TRUE(rule && rule->areas.Append(AreaOf("A1", "A1")));
        Reads(rule->formula2, ptgRef3d | 0x40, extern1, 4);
        ASSERT_TRUE(SetColumnInfo(sheet.columns, {1, 0, 3000, 17}) && SetRowInfo(sheet.rows, {2, 0, 400}));
        sheet.view.selection = AreaOf("A2", "C6");
        MarkAllStale();
    }
    static bool Store(const RefArea& area, WideView text, bool array) {
        EntryTarget target;
        target.book = CurrentBook();
        target.area = area;
        target.refRow = target.area.firstRow;
        target.refColumn = target.area.firstColumn;
        target.isArray = array;
        target.isFill = !array;
        i32 outcome = 0;
        return StoreEntry(target, text, outcome);
    }
    // What the process holds beside the books goes, too.
    void LeaveNothing() {
        Sandbox::TearDown();
        ResetLocaleSettings();
    }
    static std::string State() {
        MarkAllStale();
        return DumpBooks();
    }

    struct Operation {
        const char* name;
        bool (*prepare)();
        bool (*run)();
        u32 records;  // of undo that it makes, those of the preparation included
    };
    // `n` 0: nothing fails. False when the failing allocation was never reached.
    bool Try(const Operation& operation, u64 n, bool inUndo, std::string& before, std::string& expected) {
        test::FailingAllocator allocator;
        bool reached = false;
        {
            const QuietMemoryScope quiet;
            Sandbox::SetUp();
            MakeBook();
            EXPECT_TRUE(!operation.prepare || operation.prepare());
            const u32 records = UndoCount();
            if (!n) before = State();
            else EXPECT_EQ(State(), before) << operation.name;
            if (n && !inUndo) allocator.FailAt(n);
            const bool good = operation.run();
            if (!inUndo) reached = allocator.HasFailed();
            allocator.StopFailing();
            if (!n) expected = State();
            EXPECT_EQ(State(), good ? expected : before) << operation.name << " at " << n;
            EXPECT_TRUE(good || reached) << operation.name;
            if (!good) EXPECT_EQ(UndoCount(), records) << operation.name << " at " << n;
            if (!n) EXPECT_EQ(UndoCount(), operation.records) << operation.name;
            if (good && UndoCount() > records) {
                if (n && inUndo) allocator.FailAt(n);
                const bool undone = UndoLast();
                if (inUndo) reached = allocator.HasFailed();
                allocator.StopFailing();
                CurrentWorkbook()->currentSheet = 0;
                EXPECT_EQ(State(), undone ? before : expected) << operation.name << " undone at " << n;
                EXPECT_EQ(UndoCount(), undone ? records : records + 1) << operation.name;
                if (!undone) EXPECT_TRUE(UndoLast());
                CurrentWorkbook()->currentSheet = 0;
                EXPECT_EQ(State(), before) << operation.name << " undone later, " << n;
            }
            LeaveNothing();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << operation.name << " at " << n;
        return reached;
    }
    void Exhaust(const Operation& operation) {
        std::string before, expected;
        Try(operation, 0, false, before, expected);
        for (const bool inUndo : {false, true}) {
            for (u64 n = 1; Try(operation, n, inUndo, before, expected); ++n)
                ASSERT_LT(n, 3000u) << operation.name;
        }
    }
};

TEST_F(ShortMemory, AnOperationIsRefusedOrDoneWhole) {
    LeaveNothing();
    const Operation operations[] = {
        {"insert rows", nullptr,
         [] {
             return InsertRowsOrCellsDown({3, 4, 0, 255});
         },
         1},
        {"insert columns", nullptr,
         [] {
             return InsertColumnsOrCellsRight({0, 65535, 1, 1});
         },
         1},
        {"insert cells", nullptr,
         [] {
             return InsertRowsOrCellsDown({3, 4, 0, 0});
         },
         1},
        {"delete rows", nullptr,
         [] {
             return DeleteRowsOrCellsUp({2, 4, 0, 255});
         },
         1},
        {"delete cells", nullptr,
         [] {
             return DeleteColumnsOrCellsLeft({1, 4, 1, 1});
         },
         1},
        {"delete to the end", nullptr,
         [] {
             return DeleteRowsOrCellsUp({2, 65535, 0, 255});
         },
         1},
        {"fill down", nullptr, [] { return FillDown(true); }, 1},
        {"fill left", nullptr, [] { return FillLeft(true); }, 1},
        {"series", nullptr, [] { return FillSeries(SeriesRequest()); }, 1},
        {"clear all", nullptr,
         [] {
             return ClearArea(RefArea{1, 5, 0, 2}, CLEAR_ALL);
         },
         1},
        {"clear columns", nullptr,
         [] {
             return ClearArea({0, 65535, 1, 1}, CLEAR_ALL);
         },
         1},
        {"clear formats", nullptr,
         [] {
             return ClearArea(RefArea{1, 5, 0, 2}, CLEAR_FORMATS);
         },
         1},
        {"clear contents", nullptr,
         [] {
             return ClearArea(RefArea{1, 5, 0, 2}, CLEAR_CONTENTS);
         },
         1},
        {"formula over an area", nullptr,
         [] {
             return Store(RefArea{6, 7, 0, 1}, u"=A2+near", false);
         },
         1},
        {"array", nullptr,
         [] {
             return Store(RefArea{6, 7, 0, 1}, u"=A2:B3", true);
         },
         1},
        {"text", nullptr,
         [] {
             return Store(RefArea{1, 2, 0, 1}, u"some\ntext", false);
         },
         1},
        {"number", nullptr,
         [] {
             return Store(RefArea{1, 1, 0, 0}, u"8.25%", false);
         },
         1},
        {"pasted text", nullptr,
         [] {
             return PasteText(At(RefArea{1, 1, 0, 0}), u"1\tx\r\n=A5\t8%");
         },
         1},
        {"copy and paste",
         [] {
             return CopyCells(0, 0, RefArea{1, 2, 0, 2});
         },
         [] {
             return PasteBlock(At(RefArea{4, 4, 1, 1}));
         },
         1},
        {"paste over tiles",
         [] {
             return CopyCells(0, 0, RefArea{1, 2, 0, 2});
         },
         [] {
             return PasteBlock(At(RefArea{12, 15, 0, 5}));
         },
         1},
        {"cut and paste",
         [] {
             return CutCells(0, 0, RefArea{4, 5, 0, 2});
         },
         [] {
             return PasteBlock(At(RefArea{4, 4, 9, 9}));
         },
         2},
        {"cut and paste over itself",
         [] {
             return CutCells(0, 0, RefArea{4, 5, 0, 2});
         },
         [] {
             return PasteBlock(At(RefArea{5, 5, 1, 1}));
         },
         2},
        {"copy", nullptr,
         [] {
             return CopyCells(0, 0, {1, 5, 0, 2});
         },
         0},
        {"copy what is visible",
         [] {
             return SetRowInfo(CurrentSheet()->rows, {2, ROW_HIDDEN, 255});
         },
         [] {
             CurrentSheet()->filterState = FILTER_ADVANCED;
             const bool good = CopyCells(0, 0, {1, 5, 0, 2});
             CurrentSheet()->filterState = 0;
             return good;
         },
         0},
        {"cut", nullptr,
         [] {
             return CutCells(0, 0, RefArea{1, 5, 0, 2});
         },
         1},
        {"extend", nullptr,
         [] {
             return ExtendFill({RefArea{4, 5, 0, 2}, RefArea{6, 8, 0, 2}});
         },
         1},
        {"move", nullptr,
         [] {
             return CarryCells({0, 0, RefArea{4, 5, 0, 2}, 6, 9});
         },
         1},
        {"move over itself", nullptr,
         [] {
             return CarryCells({0, 0, RefArea{4, 5, 0, 2}, 5, 1});
         },
         1},
        {"move columns", nullptr,
         [] {
             return CarryCells({0, 0, RefArea{0, 65535, 1, 1}, 0, 12});
         },
         1},
        {"copy elsewhere", nullptr,
         [] {
             return CarryCells({0, 0, RefArea{4, 5, 0, 2}, 6, 9, true});
         },
         1},
        {"paste formats",
         [] {
             return CopyCells(0, 0, RefArea{2, 2, 1, 1});
         },
         [] {
             return PasteBlock(At(RefArea{1, 1, 0, 0}, PASTE_FORMATS));
         },
         1},
        {"paste transposed",
         [] {
             return CopyCells(0, 0, RefArea{1, 2, 0, 2});
         },
         [] {
             PasteRequest request = At(RefArea{12, 12, 0, 0});
             request.transpose = true;
             return PasteBlock(request);
         },
         1},
        {"paste sums",
         [] {
             return CopyCells(0, 0, RefArea{1, 2, 0, 2});
         },
         [] {
             PasteRequest request = At(RefArea{4, 4, 0, 0});
             request.operation = PASTE_ADD;
             return PasteBlock(request);
         },
         1},
        {"delete sheet", nullptr, [] { return DeleteSheet(0, 1); }, 1},
        {"delete the other sheet", nullptr, [] { return DeleteSheet(1, 0); }, 1},
        {"copy sheet", nullptr, [] { return CopySheet(1); }, 1},
        {"validation", nullptr,
         [] {
             ValidationRule rule;
             IgnoreFailure(CopyRule(rule, CurrentSheet()->validations[0]));
             const bool good = rule.kind && ApplyValidation({0, 0, RefArea{1, 3, 1, 5}, &rule});
             FreeRule(rule);
             return good;
         },
         1},
        {"conditional formats", nullptr,
         [] {
             ConditionEdit edit;
             CopyCondition(edit.condition, CurrentSheet()->conditionalFormats[0].conditions[0]);
             edit.condition.bold = {true, 1};
             const bool good = ApplyConditionalFormats({0, 0, RefArea{2, 3, 1, 5}, std::span(&edit, 1)});
             FreeCondition(edit.condition);
             return good;
         },
         1},
        {"change name", nullptr,
         [] {
             if (!RecordName(UNDO_CHANGE_NAME, 0, 0)) return false;
             CurrentWorkbook()->names[0].flags = 1;
             return true;
         },
         1},
    };
    for (const Operation& operation : operations) {
        Exhaust(operation);
    }
    Sandbox::SetUp();
}

// Cells that memory has a format for take it, and the caller is told of the others.
TEST_F(ShortMemory, AFormatIsAppliedAsFarAsMemoryGoes) {
    LeaveNothing();
    for (const RefArea& area : {RefArea{1, 2, 0, 2}, RefArea{0, 65535, 0, 1}}) {
        bool reached = true;
        for (u64 n = 1; reached; ++n) {
            test::FailingAllocator allocator;
            {
                const QuietMemoryScope quiet;
                Sandbox::SetUp();
                MakeBook();
                FormatRequest request;
                request.horizontal = {true, 3};
                request.bold = {true, 1};
                allocator.FailAt(n);
                const bool good = ApplyFormat(*CurrentSheet(), area, request);
                reached = allocator.HasFailed();
                allocator.StopFailing();
                u32 changed = 0;
                for (const char* cell : {"A2", "B2", "A3", "B3"}) {
                    const CellFormat& format = CurrentWorkbook()->cellFormats[FormatAt(cell)];
                    const bool bold = ResolveFont(*CurrentWorkbook(), format.font).weight == 700;
                    EXPECT_EQ(format.horizontal == 3, bold);
                    changed += bold;
                }
                EXPECT_TRUE(good ? changed == 4 : reached) << n;
                EXPECT_EQ(Shown("B3"), "text");
                LeaveNothing();
            }
            EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
        }
    }
    Sandbox::SetUp();
}

}  // namespace
}  // namespace tally
