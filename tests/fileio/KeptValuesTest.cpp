#include "editing/SheetOperations.h"
#include "fileio/OpenFile.h"
#include "formula/Evaluator.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "model/Tokens.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Saving.h"

// Formulas that ask for what is not there keep the values that they have.

namespace tally {
namespace {

class KeptValues : public Saving {
  protected:
    // The bytes of a book whose A1 holds that number.
    std::vector<u8> BookOf(const char* number) {
        ForgetBooks();
        EXPECT_TRUE(CreateWorkbook(nullptr, true));
        Enter("A1", number);
        Save();
        return File();
    }
    static void NewBook(WideView path) {
        ForgetBooks();
        ASSERT_TRUE(CreateWorkbook(&path, false));
        if (!CurrentSheet()) {
            const WideView name = u"Sheet1";
            ASSERT_TRUE(InsertSheet(0, &name, SHEET_WORKSHEET, false, false));
        }
    }
    static void MakeCurrent(WideView path) { Books().currentBook = FindOpenBook(path, false); }
    static void OpenOther(const std::vector<u8>& bytes) {
        ASSERT_TRUE(OpenFileFromMemory(u"b.xls", bytes, OPEN_SILENT_LINKS));
        MakeCurrent(u"a.xls");
    }
    static void CloseOther() {
        RemoveBook(FindOpenBook(u"b.xls", false));
        MakeCurrent(u"a.xls");
        DropDependents();
    }
    static void Recalculate() {
        MarkAllStale();
        CalculateBook(CurrentBook());
    }
    static bool IsKept(std::string_view cell) { return CellAtName(cell)->formula->kept; }
};

TEST_F(KeptValues, AFormulaOverAClosedBookKeepsItsValueUntilTheBookIsOpened) {
    const std::vector<u8> five = BookOf("5"), seven = BookOf("7");
    NewBook(u"a.xls");
    OpenOther(five);
    const char* formulas[] = {"=[b.xls]Sheet1!A1*2", "=SUM([b.xls]Sheet1!A1:A3)+5",
                              "=IF(ISERROR([b.xls]Sheet1!A1),\"none\",10)",
                              "=INDIRECT(\"[b.xls]Sheet1!A1\")*2"};
    int row = 1;
    for (const char* formula : formulas) Enter("A" + std::to_string(row++), formula);
    Enter("B1", "=A1+1");
    for (const char* cell : {"A1", "A2", "A3", "A4"}) ASSERT_EQ(Shown(cell), "10") << cell;
    CloseOther();
    for (int round = 0; round < 2; ++round) {
        Recalculate();
        for (const char* cell : {"A1", "A2", "A3", "A4"}) {
            EXPECT_EQ(Shown(cell), "10") << cell;
            EXPECT_TRUE(IsKept(cell)) << cell;
        }
        EXPECT_EQ(Shown("B1"), "11");
        EXPECT_FALSE(IsKept("B1"));
    }
    OpenOther(seven);
    EXPECT_EQ(Shown("A1") + " " + Shown("A2") + " " + Shown("A3") + " " + Shown("A4"), "14 12 10 14");
    EXPECT_EQ(Shown("B1"), "15");
    for (const char* cell : {"A1", "A2", "A3", "A4"}) EXPECT_FALSE(IsKept(cell)) << cell;
}

TEST_F(KeptValues, ASaveAndAnOpeningAloneKeepThem) {
    const std::vector<u8> five = BookOf("5");
    NewBook(u"a.xls");
    OpenOther(five);
    Enter("A1", "=[b.xls]Sheet1!A1*2");
    Enter("A2", "=A1&\"x\"");
    CloseOther();
    Recalculate();
    Save();
    Reopen();
    EXPECT_EQ(Shown("A1") + " " + Shown("A2"), "10 10x");
    Recalculate();
    EXPECT_EQ(Shown("A1") + " " + Shown("A2"), "10 10x");
}

TEST_F(KeptValues, ANewFormulaHasNothingToKeep) {
    NewBook(u"a.xls");
    Enter("A1", "=[gone.xls]Sheet1!A1");
    Enter("A2", "=nosuch(1)");
    EXPECT_EQ(Shown("A1") + " " + Shown("A2"), "#REF! #NAME?");
}

TEST_F(KeptValues, UnknownFunctionsOfUsersAndAddInsKeepTheirValues) {
    NewBook(u"a.xls");
    Enter("A1", "=nosuch(1)");
    Workbook& book = *CurrentWorkbook();
    const i32 row = FindOrAddExternBook(book, EXTERN_ADDIN);
    ASSERT_GE(row, 0);
    const i32 name = FindOrAddExternName(book.externBooks[static_cast<u32>(row)], u"NOSUCHADDIN");
    const i32 link = FindExternSheet(book, row, EXTERN_NO_SHEET, EXTERN_NO_SHEET);
    u8 bytes[] = {0x39, 0, 0, 0, 0, 0, 0, 0x1E, 1, 0, 0x42, 2, 0xFF, 0};
    PutU16(bytes + 1, static_cast<u32>(link));
    PutU16(bytes + 3, static_cast<u32>(name) + 1);
    FormulaTokens tokens;
    ASSERT_TRUE(MakeTokens(tokens, ByteView(bytes, sizeof bytes), {}));
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 1, 0, 15, NumberValue(43), tokens));
    CellAtName("A1")->value = NumberValue(42);
    Recalculate();
    EXPECT_EQ(Shown("A1") + " " + Shown("A2"), "42 43");
    EXPECT_TRUE(IsKept("A1") && IsKept("A2"));
    // A name that means nothing is no function, and what is known to lead nowhere is an error.
    Enter("A3", "=nosuch2");
    CellAtName("A3")->value = NumberValue(44);
    Recalculate();
    EXPECT_EQ(Shown("A3"), "#NAME?");
}

TEST_F(KeptValues, ASheetThatAnOpenBookDoesNotHaveIsARefError) {
    const std::vector<u8> five = BookOf("5");
    NewBook(u"a.xls");
    OpenOther(five);
    Enter("A1", "=[b.xls]Sheet1!A1");
    for (ExternBook& link : CurrentWorkbook()->externBooks) {
        if (link.kind == EXTERN_FILE) ASSERT_TRUE(link.sheetNames[0].Assign(u"Missing"));
    }
    Recalculate();
    EXPECT_EQ(Shown("A1"), "#REF!");
}

TEST_F(KeptValues, RenamingASheetRepairsTheLinksOfOtherOpenBooks) {
    const std::vector<u8> five = BookOf("5");
    NewBook(u"a.xls");
    OpenOther(five);
    Enter("A1", "=[b.xls]Sheet1!A1*2");
    const i32 other = FindOpenBook(u"b.xls", false);
    ASSERT_TRUE(RecordUndo(other, 0, UNDO_RENAME_SHEET));
    ASSERT_TRUE(RenameSheet(*SheetAt(other, 0), u"A longer name"));
    EXPECT_EQ(WideView(SheetAt(other, 0)->name), u"A longer name");
    EXPECT_EQ(FormulaOf("A1"), "='[b.xls]A longer name'!A1*2");
    Recalculate();
    EXPECT_EQ(Shown("A1"), "10");
    EXPECT_FALSE(IsKept("A1"));
    MakeCurrent(u"b.xls");
    ASSERT_TRUE(UndoLast());
    MakeCurrent(u"a.xls");
    EXPECT_EQ(FormulaOf("A1"), "=[b.xls]Sheet1!A1*2");
    Recalculate();
    EXPECT_EQ(Shown("A1"), "10");
    EXPECT_FALSE(IsKept("A1"));
}

TEST_F(KeptValues, AnArrayOverAClosedBookKeepsEachOfItsValues) {
    const std::vector<u8> five = BookOf("5");
    NewBook(u"a.xls");
    OpenOther(five);
    EnterArray("A1", "A3", "=[b.xls]Sheet1!A1*{1;2;3}");
    CloseOther();
    Recalculate();
    EXPECT_EQ(Shown("A1") + " " + Shown("A2") + " " + Shown("A3"), "5 10 15");
}

TEST_F(KeptValues, ABookInTheBackgroundShowsNoBox) {
    const u8 garbage[] = {1, 2, 3, 4};
    Headless().boxes.Truncate(0);
    EXPECT_FALSE(OpenFileFromMemory(u"bad.xls", ByteView(garbage, 4), OPEN_HIDDEN_LINK | OPEN_SILENT_LINKS));
    EXPECT_EQ(Headless().boxes.Count(), 0u);
    EXPECT_FALSE(OpenFileFromMemory(u"bad.xls", ByteView(garbage, 4), OPEN_SILENT_LINKS));
    EXPECT_EQ(Headless().boxes.Count(), 1u);
}

TEST_F(KeptValues, IndirectReadsCellsAndNamesOfOtherOpenBooks) {
    const std::vector<u8> five = BookOf("5");
    NewBook(u"a.xls");
    OpenOther(five);
    MakeCurrent(u"b.xls");
    DefineName("price", "=Sheet1!$A$1");
    DefineName("local", "=Sheet1!$A$1", 1);
    MakeCurrent(u"a.xls");
    Enter("C1", "8");
    DefineName("own", "=Sheet1!$C$1");
    const char* good[][2] = {
        {"=INDIRECT(\"[b.xls]Sheet1!A1\")", "5"},         {"=INDIRECT(\"'[b.xls]Sheet1'!$A$1\")", "5"},
        {"=INDIRECT(\"[b.xls]Sheet1!R1C1\",FALSE)", "5"}, {"=INDIRECT(\"b.xls!price\")", "5"},
        {"=INDIRECT(\"b.xls!price\",FALSE)", "5"},        {"=INDIRECT(\"[b.xls]Sheet1!local\")", "5"},
        {"=INDIRECT(\"[b.xls]Sheet1!price\")", "5"},      {"=INDIRECT(\"own\",FALSE)", "8"},
        {"=INDIRECT(\"Sheet1!own\",FALSE)", "8"},         {"=SUM(INDIRECT(\"b.xls!price\"),1)", "6"},
        {"=INDIRECT(\"b.xls!nothing\")", "#REF!"},        {"=INDIRECT(\"b.xls!local\")", "#REF!"},
        {"=INDIRECT(\"[b.xls]Nowhere!price\")", "#REF!"}};
    for (const auto& row : good) EXPECT_EQ(Eval(row[0]), row[1]) << row[0];
}

}  // namespace
}  // namespace tally
