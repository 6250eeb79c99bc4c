#include "editing/AreaContents.h"

#include "editing/AreaLists.h"
#include "editing/Undo.h"
#include "editing/WorkRows.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/RuleLists.h"
#include "model/Tokens.h"
#include "support/BookDump.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

constexpr u32 parts[] = {BLOCK_CELLS,      BLOCK_COLUMNS,     BLOCK_ARRAYS,     BLOCK_MERGES,
                         BLOCK_VALIDATION, BLOCK_CONDITIONAL, BLOCK_HYPERLINKS, CONTENTS_ROWS};

constexpr RefArea INNER = {1, 2, 1, 2};

class Contents : public Sandbox {
  protected:
    // One of everything in B2:C3, and one of everything beside it.
    void SetUp() override {
        Sandbox::SetUp();
        Sheet& sheet = *CurrentSheet();
        for (const char* cell : {"A1", "B2", "C3", "D4"}) Enter(cell, "1");
        Enter("B3", "=A1+1");
        for (const u8 column : {u8{0}, u8{1}, u8{2}, u8{3}})
            ASSERT_TRUE(SetColumnInfo(sheet.columns, {column, 0, static_cast<u16>(1000 + column), 15}));
        for (const u16 row : {u16{0}, u16{1}, u16{2}, u16{3}})
            ASSERT_TRUE(SetRowInfo(sheet.rows, {row, 0, static_cast<u16>(300 + row)}));
        for (const RefArea& area : {AreaOf("B2", "C2"), AreaOf("F6", "F7")}) {
            ASSERT_TRUE(sheet.arrayFormulas.Append({area, 0, 0}));
            ASSERT_TRUE(sheet.mergedAreas.Append(area));
            DataTable table;
            table.area = area;
            ASSERT_TRUE(sheet.dataTables.Append(table));
            Link(area);
            ValidationRule* rule = sheet.validations.AppendDefault();
            ASSERT_TRUE(rule && rule->areas.Append(area));
            rule->kind = area.firstRow;
            ConditionalFormat* format = sheet.conditionalFormats.AppendDefault();
            ASSERT_TRUE(format && format->areas.Append(area));
            format->priority = area.firstRow;
        }
    }
    static void Link(const RefArea& area) {
        Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
        ASSERT_TRUE(link && link->target.Assign(u"to") && link->location.Assign(u"at"));
        link->area = area;
        link->kind = 8;
    }
};

TEST_F(Contents, ACaptureHoldsWhatItsMaskNamesAndNothingElse) {
    for (const u32 part : parts) {
        AreaContents contents;
        ASSERT_TRUE(SaveContents(contents, *CurrentSheet(), INNER, part));
        EXPECT_EQ(contents.serial, CurrentSheet()->serial);
        EXPECT_EQ(contents.area, INNER);
        EXPECT_EQ(contents.mask, part);
        EXPECT_EQ(contents.cells.Count(), part == BLOCK_CELLS ? 3u : 0u) << part;
        EXPECT_EQ(contents.columns.Count(), part == BLOCK_COLUMNS ? 2u : 0u) << part;
        EXPECT_EQ(contents.rows.Count(), part == CONTENTS_ROWS ? 2u : 0u) << part;
        EXPECT_EQ(contents.links.Count(), part == BLOCK_HYPERLINKS ? 1u : 0u) << part;
        EXPECT_EQ(contents.arrays.Count(), part == BLOCK_ARRAYS ? 2u : 0u) << part;
        EXPECT_EQ(contents.tables.Count(), part == BLOCK_ARRAYS ? 2u : 0u) << part;
        EXPECT_EQ(contents.merges.Count(), part == BLOCK_MERGES ? 2u : 0u) << part;
        const bool rules = part == BLOCK_VALIDATION || part == BLOCK_CONDITIONAL;
        ASSERT_EQ(contents.rules.Count(), rules ? 1u : 0u) << part;
        if (rules) {
            EXPECT_EQ(contents.rules[0].hasValidations, part == BLOCK_VALIDATION);
            EXPECT_EQ(contents.rules[0].hasFormats, part == BLOCK_CONDITIONAL);
            EXPECT_EQ(contents.rules[0].validations.Count(), part == BLOCK_VALIDATION ? 2u : 0u);
            EXPECT_EQ(contents.rules[0].formats.Count(), part == BLOCK_CONDITIONAL ? 2u : 0u);
        }
        if (part == BLOCK_COLUMNS) EXPECT_EQ(contents.columns[0].column, 1);
        if (part == CONTENTS_ROWS) EXPECT_EQ(contents.rows[1].row, 2);
        FreeContents(contents);
    }
}

TEST_F(Contents, ABlockHoldsWhatItsMaskNamesOfWhatTouchesTheArea) {
    for (const u32 part : parts) {
        if (part == CONTENTS_ROWS) continue;
        CellBlock block;
        ASSERT_TRUE(CaptureBlock(block, CurrentBook(), 0, INNER, part));
        EXPECT_EQ(block.area, INNER);
        EXPECT_EQ(block.mask, part);
        EXPECT_EQ(block.book, CurrentBook());
        EXPECT_EQ(block.sheet, 0);
        EXPECT_EQ(block.cells.Count(), part == BLOCK_CELLS ? 3u : 0u) << part;
        EXPECT_EQ(block.columns.Count(), part == BLOCK_COLUMNS ? 2u : 0u) << part;
        EXPECT_EQ(block.arrays.Count(), part == BLOCK_ARRAYS ? 1u : 0u) << part;
        EXPECT_EQ(block.merges.Count(), part == BLOCK_MERGES ? 1u : 0u) << part;
        EXPECT_EQ(block.links.Count(), part == BLOCK_HYPERLINKS ? 1u : 0u) << part;
        EXPECT_EQ(block.validations.Count(), part == BLOCK_VALIDATION ? 1u : 0u) << part;
        EXPECT_EQ(block.formats.Count(), part == BLOCK_CONDITIONAL ? 1u : 0u) << part;
        if (part == BLOCK_COLUMNS) EXPECT_EQ(block.columns[1].width, 1002);
        if (part == BLOCK_HYPERLINKS) {
            EXPECT_EQ(block.links[0].place, 0u);
            EXPECT_EQ(block.links[0].link.kind, 8);
            EXPECT_EQ(Narrow(block.links[0].link.target), "to");
            EXPECT_EQ(Narrow(block.links[0].link.location), "at");
        }
        FreeBlock(block);
    }
    CellBlock block;
    EXPECT_FALSE(CaptureBlock(block, CurrentBook(), 1, INNER, BLOCK_ALL));
    EXPECT_FALSE(CaptureBlock(block, 7, 0, INNER, BLOCK_ALL));
}

// Each part alone: emptied, put back, and nothing else has changed.
TEST_F(Contents, PuttingContentsInPlaceTouchesWhatItsMaskNames) {
    Sheet& sheet = *CurrentSheet();
    const auto before = DumpBook(CurrentBook());
    for (const u32 part : parts) {
        AreaContents saved, empty;
        ASSERT_TRUE(SaveContents(saved, sheet, INNER, part));
        StartContents(empty, sheet, INNER, part);
        if (part == BLOCK_VALIDATION || part == BLOCK_CONDITIONAL) {
            SavedRules* rules = empty.rules.AppendDefault();
            ASSERT_TRUE(rules && SheetRulesWithout(sheet, std::span(&INNER, 1), *rules));
            if (part == BLOCK_CONDITIONAL) rules->hasValidations = false;
            else rules->hasFormats = false;
        }
        ASSERT_TRUE(PutContents(empty));
        EXPECT_NE(DumpBook(CurrentBook()), before) << part;
        EXPECT_EQ(GetCell(sheet.cells, 1, 1) == nullptr, part == BLOCK_CELLS);
        EXPECT_EQ(sheet.columns.Count(), part == BLOCK_COLUMNS ? 2u : 4u);
        EXPECT_EQ(sheet.rows.Count(), part == CONTENTS_ROWS ? 2u : 4u);
        EXPECT_EQ(sheet.hyperlinks.Count(), part == BLOCK_HYPERLINKS ? 1u : 2u);
        EXPECT_EQ(sheet.mergedAreas.Count(), part == BLOCK_MERGES ? 0u : 2u);
        EXPECT_EQ(sheet.arrayFormulas.Count(), part == BLOCK_ARRAYS ? 0u : 2u);
        EXPECT_EQ(sheet.dataTables.Count(), part == BLOCK_ARRAYS ? 0u : 2u);
        EXPECT_EQ(sheet.validations.Count(), part == BLOCK_VALIDATION ? 1u : 2u);
        EXPECT_EQ(sheet.conditionalFormats.Count(), part == BLOCK_CONDITIONAL ? 1u : 2u);
        EXPECT_TRUE(AnyRuleTouches(sheet.validations, AreaOf("F6", "F6")));
        ASSERT_TRUE(PutContents(saved));
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "") << part;
        FreeContents(saved);
        FreeContents(empty);
    }
}

TEST_F(Contents, LinksGoBackToTheirOldPlaces) {
    Sheet& sheet = *CurrentSheet();
    for (const char* cell : {"C3", "G7", "B3", "G8"}) Link(AreaOf(cell, cell));
    // Areas in the order of the list: B2, F6, C3, G7, B3, G8.
    AreaContents saved, empty;
    ASSERT_TRUE(SaveContents(saved, sheet, INNER, BLOCK_HYPERLINKS));
    ASSERT_EQ(saved.links.Count(), 3u);
    EXPECT_EQ(saved.links[2].place, 4u);
    StartContents(empty, sheet, INNER, BLOCK_HYPERLINKS);
    ASSERT_TRUE(PutContents(empty));
    ASSERT_EQ(sheet.hyperlinks.Count(), 3u);
    EXPECT_EQ(sheet.hyperlinks[0].area, AreaOf("F6", "F7"));
    EXPECT_EQ(sheet.hyperlinks[1].area, AreaOf("G7", "G7"));
    EXPECT_EQ(sheet.hyperlinks[2].area, AreaOf("G8", "G8"));
    ASSERT_TRUE(PutContents(saved));
    ASSERT_EQ(sheet.hyperlinks.Count(), 6u);
    const char* cells[] = {"B2", "F6", "C3", "G7", "B3", "G8"};
    for (u32 i = 0; i < 6; ++i) {
        const RefArea first = AreaOf(cells[i], cells[i]);
        EXPECT_EQ(sheet.hyperlinks[i].area.firstRow, first.firstRow) << i;
        EXPECT_EQ(sheet.hyperlinks[i].area.firstColumn, first.firstColumn) << i;
        EXPECT_EQ(Narrow(sheet.hyperlinks[i].target), "to") << i;
    }
    FreeContents(saved);
}

TEST_F(Contents, OfASheetThatIsGoneNothingIsPut) {
    AreaContents contents;
    ASSERT_TRUE(SaveContents(contents, *CurrentSheet(), INNER, BLOCK_ALL));
    contents.serial = 0xFFFFFFFF;
    const auto before = DumpBook(CurrentBook());
    EXPECT_TRUE(PutContents(contents));
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
    EXPECT_FALSE(ReplaceArea(contents, UNDO_PASTE, BLOCK_ALL));
    EXPECT_EQ(UndoCount(), 0u);
    FreeContents(contents);
}

TEST_F(Contents, ReplacingIsRecordedUnderAnyKindButOneBelowZero) {
    for (const i32 kind : {i32{UNDO_TYPING}, i32{UNDO_PASTE}, -1}) {
        AreaContents empty;
        StartContents(empty, *CurrentSheet(), INNER, BLOCK_CELLS);
        CurrentWorkbook()->dirty = 0;
        ASSERT_TRUE(ReplaceArea(empty, kind, BLOCK_CELLS));
        EXPECT_EQ(UndoCount(), kind < 0 ? 0u : 1u);
        EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
        EXPECT_EQ(CellAtName("B2"), nullptr);
        FreeContents(empty);
        if (kind < 0) break;
        EXPECT_EQ(LastUndo()->kind, kind);
        ASSERT_TRUE(UndoLast());
        EXPECT_EQ(Shown("B2"), "1");
    }
}

TEST_F(Contents, FormulasThatComeBackFollowTheirInputs) {
    AreaContents saved, empty;
    ASSERT_TRUE(SaveContents(saved, *CurrentSheet(), INNER, BLOCK_CELLS));
    StartContents(empty, *CurrentSheet(), INNER, BLOCK_CELLS);
    Enter("G1", "=B3*10");
    EXPECT_EQ(Shown("G1"), "20");
    ASSERT_TRUE(PutContents(empty));
    EXPECT_EQ(Shown("G1"), "0");
    ASSERT_TRUE(PutContents(saved));
    EXPECT_EQ(Shown("G1"), "20");
    Enter("A1", "5");
    EXPECT_EQ(Shown("G1"), "60");
    FreeContents(saved);
}

// ---- lists without some areas --------------------------------------------------------------------------

TEST_F(Contents, ListsAreKeptBesideTheTargetsAlone) {
    const Sheet& sheet = *CurrentSheet();
    const RefArea far = AreaOf("K9", "K9"), both[] = {AreaOf("C2", "C2"), AreaOf("F7", "F7")};
    const struct {
        std::span<const RefArea> targets;
        u32 left;
    } rows[] = {{std::span(&far, 1), 2}, {std::span(both, 1), 1}, {std::span(both + 1, 1), 1}, {both, 0}};
    for (const auto& row : rows) {
        AreaContents after;
        ASSERT_TRUE(KeepArraysAndMerges(sheet, row.targets, after));
        EXPECT_EQ(after.mask, u32{BLOCK_ARRAYS} | BLOCK_MERGES);
        EXPECT_EQ(after.arrays.Count(), row.left);
        EXPECT_EQ(after.tables.Count(), row.left);
        EXPECT_EQ(after.merges.Count(), row.left);
        SavedRules rules;
        ASSERT_TRUE(SheetRulesWithout(sheet, row.targets, rules));
        EXPECT_EQ(rules.serial, sheet.serial);
        // Rules that nothing touches are not copied.
        EXPECT_EQ(rules.hasValidations, row.left < 2);
        EXPECT_EQ(rules.hasFormats, row.left < 2);
        EXPECT_EQ(rules.validations.IsEmpty(), row.left == 2);
        EXPECT_EQ(rules.formats.IsEmpty(), row.left == 2);
        FreeSavedRules(rules);
        FreeContents(after);
    }
    EXPECT_FALSE(MeetsAny({}, far));
    EXPECT_FALSE(MeetsAny(both, far));
    EXPECT_TRUE(MeetsAny(both, AreaOf("F1", "G7")));
}

TEST_F(Contents, ArraysAndTablesGoThatLieWhollyInside) {
    Sheet& sheet = *CurrentSheet();
    RemoveArraysInside(sheet, AreaOf("B2", "B2"));
    EXPECT_EQ(sheet.arrayFormulas.Count(), 2u);
    RemoveArraysInside(sheet, AreaOf("A1", "C3"));
    ASSERT_EQ(sheet.arrayFormulas.Count(), 1u);
    ASSERT_EQ(sheet.dataTables.Count(), 1u);
    EXPECT_EQ(sheet.arrayFormulas[0].area, AreaOf("F6", "F7"));
    EXPECT_EQ(sheet.dataTables[0].area, AreaOf("F6", "F7"));
}

// ---- other tokens --------------------------------------------------------------------------------------

class TokenChanges : public Sandbox {
  protected:
    static FormulaTokens Number(u8 number) {
        FormulaTokens tokens;
        const u8 bytes[] = {ptgInt, number, 0};
        EXPECT_TRUE(MakeTokens(tokens, bytes, {}));
        return tokens;
    }
    static void Add(Array<TokenChange>& changes, u32 serial, u16 row, i32 book, i32 name, u8 number) {
        TokenChange change;
        change.serial = serial;
        change.row = row;
        change.book = book;
        change.name = name;
        change.tokens = Number(number);
        ASSERT_TRUE(AppendTokenChange(changes, change));
    }
};

TEST_F(TokenChanges, TokensAreExchangedWhereThePlaceIsStillThere) {
    Enter("A1", "=5");
    Enter("A2", "=6");
    Enter("A3", "7");
    DefineName("one", "=1");
    DefineName("two", "=2");
    Enter("B1", "=one+two*10+A1*100+A2*1000");
    EXPECT_EQ(Shown("B1"), "6521");
    const u32 serial = CurrentSheet()->serial;
    Array<TokenChange> changes;
    Add(changes, serial, 1, 0, 0, 8);        // A2
    Add(changes, serial, 2, 0, 0, 99);       // a value
    Add(changes, serial, 9, 0, 0, 99);       // no cell
    Add(changes, serial + 99, 0, 0, 0, 99);  // no sheet
    Add(changes, 0, 0, 0, 1, 3);             // the second name
    Add(changes, 0, 0, 0, 2, 99);            // no name
    Add(changes, 0, 0, 5, 0, 99);            // no book
    Marks marks;
    ASSERT_TRUE(ReserveMarks(marks, changes));
    PutTokenChanges(changes, marks);
    ASSERT_EQ(marks.formulas.Count(), 1u);
    EXPECT_EQ(marks.formulas[0]->row, 1);
    ASSERT_EQ(marks.names.Count(), 1u);
    EXPECT_EQ(marks.names[0].name, 1);
    MarkAll(marks);
    EXPECT_EQ(Shown("B1"), "8531");
    EXPECT_EQ(FormulaOf("A2"), "=8");
    // The change holds what stood there.
    EXPECT_EQ(changes[0].tokens.bytes[1], 6);
    EXPECT_EQ(changes[4].tokens.bytes[1], 2);
    EXPECT_EQ(changes[1].tokens.bytes[1], 99);
    FreeTokenChanges(changes);
    EXPECT_EQ(changes.Count(), 0u);
}

TEST_F(TokenChanges, ACellWithOtherTokensFollowsWhatTheseSpeakOf) {
    Enter("A1", "1");
    Enter("A2", "10");
    Enter("B1", "=A1");
    Enter("C1", "=A2");
    EXPECT_EQ(Shown("B1"), "1");
    Array<TokenChange> changes;
    ASSERT_TRUE(
        SaveTokens(changes, ChangeOfCell(*CellAtName("B1")->formula), CellAtName("C1")->formula->tokens));
    EXPECT_EQ(changes[0].cell, nullptr);
    Marks marks;
    ASSERT_TRUE(ReserveMarks(marks, changes));
    PutTokenChanges(changes, marks);
    MarkAll(marks);
    EXPECT_EQ(Shown("B1"), "10");
    Enter("A2", "20");
    EXPECT_EQ(Shown("B1"), "20");
    FreeTokenChanges(changes);
}

TEST_F(TokenChanges, AClosedBookTakesItsNamesFromTheRecordsOfOthers) {
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    DefineName("one", "=1");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    DefineName("two", "=2");
    ASSERT_TRUE(RecordUndo(2, 0, UNDO_INSERT_ROWS));
    Add(LastUndo()->contents.tokens, 0, 0, 1, 0, 7);
    Add(LastUndo()->contents.tokens, 0, 0, 2, 0, 8);
    Add(LastUndo()->contents.tokens, 0, 0, 0, 0, 9);
    Add(LastUndo()->contents.tokens, CurrentSheet()->serial, 3, 1, 0, 10);
    RemoveBook(1);
    const Array<TokenChange>& left = LastUndo()->contents.tokens;
    ASSERT_EQ(left.Count(), 3u);
    EXPECT_EQ(left[0].book, 1);
    EXPECT_EQ(left[0].tokens.bytes[1], 8);
    EXPECT_EQ(left[1].book, 0);
    EXPECT_EQ(left[2].row, 3);
    EXPECT_EQ(LastUndo()->book, 1);
}

}  // namespace
}  // namespace tally
