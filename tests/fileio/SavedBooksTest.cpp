#include <algorithm>
#include <functional>
#include <tuple>
#include "fileio/biff/CarriedRecords.h"

#include "formula/FormulaText.h"
#include "formula/Links.h"
#include "formula/Recalculation.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Saving.h"

// Whole books that are saved and come back.

namespace tally {
namespace {

using SavedBooks = Saving;

constexpr u32 olderForm = DUMP_ALL & ~u32{DUMP_RULES | DUMP_MERGES | DUMP_LINKS};

TEST_F(SavedBooks, SomethingOfEverythingComesBack) {
    MakeRichBook();
    ExpectReturn(8);
    EXPECT_EQ(losses, 0u);
}

TEST_F(SavedBooks, TheOlderFormKeepsWhatItHasRoomForAndNamesTheRest) {
    MakeRichBook();
    // Of a long text it keeps 2,048 bytes.
    PutText(1, 0, u"short");
    CurrentWorkbook()->currentSheet = 1;
    PutText(1, 0, u"short");
    Save(7);
    EXPECT_EQ(losses, LOSS_MERGES | LOSS_RULES | LOSS_HYPERLINKS);
    ExpectReturn(7, olderForm);
    for (u16 id : {u16{229}, u16{432}, u16{440}, u16{434}, u16{252}, u16{430}}) EXPECT_TRUE(Find(id).empty());
    EXPECT_FALSE(Find(158).empty());  // a filter is kept
}

TEST_F(SavedBooks, SavingTwiceAndSavingWhatWasReadGiveTheSameBytes) {
    MakeRichBook();
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        const std::vector<u8> first = File();
        Save(form);
        EXPECT_EQ(File(), first);
        Reopen();
        Save(form);
        const std::vector<u8> again = File();
        Reopen();
        Save(form);
        EXPECT_EQ(File(), again);
    }
}

TEST_F(SavedBooks, WhatSaysNothingDoesNotReachIntoTheFile) {
    const auto extent = [&](u8 form) {
        Save(form);
        const WrittenRecord record = Find(512)[0];
        const std::vector<u8> first = File();
        EXPECT_EQ(Find(520).size(), form == 8 ? record.Long(4) : record.Word(2));
        const std::string told = form == 8
                                     ? std::to_string(record.Long(4)) + " " + std::to_string(record.Word(10))
                                     : std::to_string(record.Word(2)) + " " + std::to_string(record.Word(6));
        Reopen();
        Save(form);
        EXPECT_TRUE(File() == first) << told;
        return told;
    };
    const auto anew = [&](const std::function<void(Sheet&)>& fill) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Put(3, 2, 1);
        fill(*CurrentSheet());
    };
    struct Row {
        std::function<void(Sheet&)> fill;
        const char *form8, *form7;
    };
    const Row rows[] = {
        {[](Sheet&) {}, "4 3", "4 3"},
        {[](Sheet&) { PutBlank(100, 50, 15); }, "4 3", "4 3"},
        {[](Sheet&) { PutBlank(100, 50, 16); }, "101 51", "101 51"},
        {[](Sheet& s) {
             ASSERT_TRUE(SetColumnInfo(s.columns, {50, 0, 2000, 16}));
             PutBlank(100, 50, 16);
             PutBlank(99, 50, 15);
             PutBlank(98, 60, 15);
         },
         "100 51", "100 51"},
        {[](Sheet& s) {
             PutBlank(100, 4, 16);
             PutBlank(100, 50, 15);
             ASSERT_TRUE(SetRowInfo(s.rows, {200, ROW_CUSTOM_HEIGHT, 400}));
         },
         "201 5", "201 5"},
        {[](Sheet& s) {
             ASSERT_TRUE(s.mergedAreas.Append({1, 9, 1, 8}));
         },
         "10 9", "4 3"},
        {[](Sheet&) { Put(20000, 40, 1); }, "20001 41", "16384 3"},
    };
    for (const Row& row : rows) {
        anew(row.fill);
        EXPECT_EQ(extent(8), row.form8);
        anew(row.fill);
        EXPECT_EQ(extent(7), row.form7);
    }
}

TEST_F(SavedBooks, ASaveLeavesPathAndChangedFlagAlone) {
    Enter("A1", "1");
    CurrentWorkbook()->dirty = 1;
    Save();
    EXPECT_EQ(CurrentWorkbook()->dirty, 1u);
    EXPECT_EQ(Narrow(CurrentWorkbook()->path), "Book1");
}

TEST_F(SavedBooks, RowsBeyondTheOlderFormAreLostAndTheOthersIntact) {
    Put(0, 0, 1);
    Put(16383, 1, 2);
    Put(16384, 0, 3);
    Put(65535, 255, 4);
    Enter("B1", "=A16384");
    Enter("B2", "=A16385");
    Enter("B3", "=SUM(A1:A65536)");
    Enter("B4", "=SUM(A5:A20000)");
    Save(7);
    EXPECT_EQ(losses, LOSS_ROWS);
    EXPECT_EQ(Find(520).size(), 16384u);
    EXPECT_EQ(Find(512)[0].Word(2), 16384u);
    Reopen();
    EXPECT_EQ(LastUsedRow(*CurrentSheet()), 16383);
    EXPECT_EQ(Shown("A1"), "1");
    EXPECT_EQ(Shown("B16384"), "2");
    EXPECT_EQ(FormulaOf("B1"), "=A16384");
    EXPECT_EQ(FormulaOf("B2"), "=#REF!");
    EXPECT_EQ(FormulaOf("B3"), "=SUM(A:A)");
    EXPECT_EQ(FormulaOf("B4"), "=SUM(A5:A16384)");
    EXPECT_EQ(Shown("B2"), "3");  // the value stays
}

TEST_F(SavedBooks, TheLastCellOfTheSheetComesBack) {
    Put(65535, 255, 4);
    PutText(0, 255, u"x");
    ExpectReturn(8);
    EXPECT_EQ(Find(523)[0].body.size(), 16u + 2048 * 4);
    EXPECT_EQ(Find(512)[0].Long(4), 65536u);
    EXPECT_EQ(Find(512)[0].Word(10), 256u);
}

TEST_F(SavedBooks, ArrayFormulasBelongTogetherAgain) {
    for (u8 form : {u8{8}, u8{7}}) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Put(0, 0, 2);
        Put(1, 0, 3);
        const FormulaTokens tokens = Tokens({0x25, 0, 0, 1, 0, 0, 0xC0, 0, 0xC0, 0x1E, 2, 0, 0x05});
        for (const auto& [row, column] : {std::pair{0, 3}, {1, 3}, {4, 1}, {5, 1}}) {
            FormulaTokens own;
            CopyTokens(own, tokens);
            ASSERT_TRUE(InsertCell(*CurrentSheet(), row, column, 15, NumberValue(1), own));
        }
        FormulaTokens owned = tokens;
        FreeTokens(owned);
        // Two arrays in one order of rows and another one of the list.
        ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{4, 5, 1, 1}}));
        ASSERT_TRUE(CurrentSheet()->arrayFormulas.Append({{0, 1, 3, 3}}));
        Save(form);
        const auto records = Records();
        for (std::size_t i = 0; i < records.size(); ++i) {
            if (records[i].id != 545) continue;
            EXPECT_EQ(records[i - 1].id, 6);
            EXPECT_EQ(records[i - 1].Word(20), 5u);
            EXPECT_EQ(records[i - 1].body[22], 1);
            EXPECT_EQ(records[i - 1].Word(23), records[i].Word(0));
        }
        EXPECT_EQ(Find(545).size(), 2u);
        Reopen();
        ASSERT_EQ(CurrentSheet()->arrayFormulas.Count(), 2u);
        EXPECT_NE(FindArray(*CurrentSheet(), 5, 1), nullptr);
        EXPECT_EQ(FormulaOf("D2"), "=A1:A2*2");
    }
}

TEST_F(SavedBooks, AFormulaThatLeadsOnlyToAnArrayThatIsNotThereKeepsItsValue) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 4, 4, 15, NumberValue(7), Tokens({0x01, 2, 0, 2, 0})));
    GetCell(CurrentSheet()->cells, 4, 4)->calcState = CALC_CURRENT;
    Put(4, 5, 8);
    Save();
    EXPECT_EQ(losses, LOSS_FORMULAS);
    Reopen();
    ASSERT_NE(CellAtName("E5")->formula, nullptr);
    EXPECT_EQ(CellAtName("E5")->value.number, 7);
    EXPECT_EQ(Shown("F5"), "8");
}

TEST_F(SavedBooks, DataTablesGoBackWithTheirRecord) {
    for (u8 form : {u8{8}, u8{7}}) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        // Two tables side by side, and a part whose table is not there.
        for (const auto& [row, column, owner] :
             {std::tuple{2, 1, u8{1}}, {2, 4, u8{4}}, {3, 1, u8{1}}, {3, 4, u8{4}}, {9, 9, u8{7}}}) {
            ASSERT_TRUE(
                InsertCell(*CurrentSheet(), row, column, 15, NumberValue(row), Tokens({0x02, 2, 0, owner, 0})));
            GetCell(CurrentSheet()->cells, row, column)->calcState = CALC_CURRENT;
        }
        for (u8 column : {u8{1}, u8{4}})
            ASSERT_TRUE(CurrentSheet()->dataTables.Append({{2, 3, column, column}, 4, {7, 8, 9, 10}}));
        Save(form);
        EXPECT_EQ(losses, LOSS_FORMULAS);
        const auto tables = Find(566);
        ASSERT_EQ(tables.size(), 2u);
        EXPECT_EQ(tables[1].body, (std::vector<u8>{2, 0, 3, 0, 4, 4, 4, 0, 7, 0, 8, 0, 9, 0, 10, 0}));
        const auto ids = Ids();
        EXPECT_EQ(*(std::find(ids.begin(), ids.end(), 566) - 1), 6);
        const auto formulas = Find(6);
        EXPECT_EQ(formulas[3].body[22], 2);
        EXPECT_EQ(formulas[4].body[22], 0x1C);  // "#N/A"
        Reopen();
        EXPECT_EQ(CurrentSheet()->dataTables.Count(), 2u);
        EXPECT_EQ(CellAtName("E4")->formula->tokens.bytes[0], 2);
        EXPECT_EQ(CellAtName("J10")->value.number, 9);
    }
}

TEST_F(SavedBooks, LongTextResultsAreWhole) {
    Enter("A1", "=REPT(\"ab\",16000)");
    Enter("A2", "=REPT(\"\u6f22\",30000)");
    Enter("A3", "=\"\"");
    ExpectReturn(8);
    EXPECT_EQ(TextOf(CellAtName("A1")->value).size(), 32000u);
    EXPECT_EQ(TextOf(CellAtName("A2")->value).size(), 30000u);
}

TEST_F(SavedBooks, CircularFormulasAreSavedAsTheyStand) {
    Enter("A1", "=B1+1");
    Enter("B1", "=A1+1");
    Save();
    Reopen();
    EXPECT_EQ(FormulaOf("A1"), "=B1+1");
}

// ---- names and links
// -----------------------------------------------------------------------------------------

TEST_F(SavedBooks, BuiltInNamesGoByTheirCodes) {
    struct Row {
        const char* name;
        std::vector<u8> form8, form7;  // text bytes; empty: the name itself
        bool coded8, coded7;
    };
    const std::vector<Row> rows = {
        {"Print_Area", {6}, {6}, true, true},
        {"auto_open", {1}, {1}, true, true},
        {"Auto_Open_More", {1, '_', 'M', 'o', 'r', 'e'}, {1, '_', 'M', 'o', 'r', 'e'}, true, true},
        {"Auto_Activate", {10}, {10}, true, true},
        {"Auto_Activate_x", {}, {10, '_', 'x'}, false, true},
        {"_FilterDatabase", {13}, {}, true, false},
        {"Plain", {}, {}, false, false},
    };
    for (const Row& row : rows) DefineName(row.name, "=Sheet1!$A$1");
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        const auto names = Find(24);
        ASSERT_EQ(names.size(), rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const std::string text = rows[i].name;
            const std::vector<u8>& coded = form == 8 ? rows[i].form8 : rows[i].form7;
            const std::vector<u8> expected = coded.empty() ? std::vector<u8>(text.begin(), text.end()) : coded;
            const std::size_t start = form == 8 ? 15 : 14;
            EXPECT_EQ((names[i].Word(0) & 0x20) != 0, form == 8 ? rows[i].coded8 : rows[i].coded7) << text;
            EXPECT_EQ(names[i].body[3], expected.size()) << text;
            EXPECT_TRUE(
                std::equal(expected.begin(), expected.end(), names[i].body.begin() + static_cast<i32>(start)))
                << text;
        }
    }
    Save(8);
    Reopen();
    EXPECT_EQ(Narrow(CurrentWorkbook()->names[1].text), "Auto_Open");  // in the built-in spelling
    EXPECT_EQ(Narrow(CurrentWorkbook()->names[2].text), "Auto_Open_More");
    EXPECT_EQ(Narrow(CurrentWorkbook()->names[4].text), "Auto_Activate_x");
}

TEST_F(SavedBooks, NamesWithoutAFormulaStayWhileANumberDependsOnThem) {
    Enter("A1", "=SUM(later)");
    DefineName("rate", "=2");
    AddName(*CurrentWorkbook(), u"unused", 0);
    Save();
    EXPECT_EQ(Find(24).size(), 2u);
    Reopen();
    EXPECT_EQ(FormulaOf("A1"), "=SUM(later)");
    DefineName("more", "=later");
    EXPECT_EQ(Shown("A1"), "#NAME?");
}

TEST_F(SavedBooks, ManyLinkedSheetsTakeSeveralRecords) {
    Workbook& book = *CurrentWorkbook();
    ExternBook* other = book.externBooks.AppendDefault();
    ASSERT_TRUE(other->path.Assign(u"other.xls"));
    for (i16 i = 0; i < 3000; ++i) ASSERT_TRUE(book.externSheets.Append({0, i, static_cast<i16>(i + 1)}));
    Save();
    EXPECT_EQ(Find(60).size(), 2u);
    Reopen();
    ASSERT_EQ(CurrentWorkbook()->externSheets.Count(), 3000u);
    EXPECT_EQ(CurrentWorkbook()->externSheets[2999].firstSheet, 2999);
    EXPECT_EQ(CurrentWorkbook()->externSheets[1400].lastSheet, 1401);
}

TEST_F(SavedBooks, RelativeNamesKeepTheirDistances) {
    // One row up and one column to the left.
    const i32 row = AddName(*CurrentWorkbook(), u"upleft", 0);
    CurrentWorkbook()->names[static_cast<u32>(row)].tokens = Tokens({0x24, 0xFF, 0xFF, 0xFF, 0xC0});
    Put(0, 0, 42);
    Enter("B2", "=upleft");
    EXPECT_EQ(Shown("B2"), "42");
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        Reopen();
        MarkAllStale();
        EXPECT_EQ(Shown("B2"), "42") << int{form};
    }
}

TEST_F(SavedBooks, LinksToOtherBooksAndAddInsComeBackInBothForms) {
    Workbook& book = *CurrentWorkbook();
    ExternBook* other = book.externBooks.AppendDefault();
    ASSERT_TRUE(other->path.Assign(u"\u0001dir\u0003other.xls"));
    for (WideView name : {u"One", u"Tw\u00f6"}) {
        WideText text;
        ASSERT_TRUE(text.Assign(name) && other->sheetNames.Append(std::move(text)));
    }
    const i32 addIn = FindOrAddExternBook(book, EXTERN_ADDIN);
    ASSERT_EQ(FindOrAddExternName(book.externBooks[static_cast<u32>(addIn)], u"EDATE"), 0);
    ASSERT_EQ(FindOrAddExternName(book.externBooks[static_cast<u32>(addIn)], u"EOMONTH"), 1);
    const i32 file = FindExternSheet(book, 0, 1, 1);
    const i32 functions = FindExternSheet(book, addIn, EXTERN_NO_SHEET, EXTERN_NO_SHEET);
    ASSERT_GE(file, 0);
    const auto f = static_cast<u8>(file), x = static_cast<u8>(functions);
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 0, 15, NumberValue(5),
                           Tokens({0x5A, f, 0, 3, 0, 2, 0xC0, 0x1E, 1, 0, 0x03})));
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 1, 0, 15, NumberValue(6),
                           Tokens({0x39, x, 0, 2, 0, 0, 0, 0x1E, 1, 0, 0x1E, 2, 0, 0x42, 3, 255, 0})));
    const std::string link = FormulaOf("A1"), call = FormulaOf("A2");
    EXPECT_EQ(call, "=EOMONTH(1,2)");
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        EXPECT_EQ(losses, 0u);
        Reopen();
        EXPECT_EQ(FormulaOf("A1"), link);
        EXPECT_EQ(FormulaOf("A2"), call);
    }
}

TEST_F(SavedBooks, FormulasThatTheOlderFormLacksKeepTheirValue) {
    Put(0, 0, 4);
    Enter("B1", "=AVERAGEA(A1,6)");
    Enter("B2", "=AVERAGE(A1,6)");
    Save(7);
    EXPECT_EQ(losses, LOSS_FORMULAS);
    EXPECT_EQ(DoubleAt(Find(6)[0].body, 6), 5);
    Reopen();
    EXPECT_EQ(CellAtName("B1")->value.number, 5);
    EXPECT_EQ(FormulaOf("B1"), "=#N/A");
    EXPECT_EQ(FormulaOf("B2"), "=AVERAGE(A1,6)");
}

TEST_F(SavedBooks, CharactersThatThePageLacksAreMarked) {
    const WideView name = u"\u6f22\u5b57";
    std::copy(name.begin(), name.end(), CurrentSheet()->name);
    CurrentSheet()->name[2] = 0;
    PutText(0, 0, u"a\u6f22b\u00f1");  // no page has both
    Save(7);
    EXPECT_EQ(losses, LOSS_CHARACTERS);
    Reopen();
    EXPECT_EQ(Shown("A1"), "a?b\u00f1");
    EXPECT_EQ(Narrow(WideView(CurrentSheet()->name)), "__");
}

TEST_F(SavedBooks, TextsBeyondTheOlderFormsRoomAreCut) {
    PutText(0, 0, std::u16string(3000, u'x'));
    Save(7);
    EXPECT_EQ(losses, LOSS_TEXT);
    Reopen();
    EXPECT_EQ(TextOf(CellAtName("A1")->value).size(), 2048u);
}

TEST_F(SavedBooks, AChartSheetGoesOutAsItCameIn) {
    AddSheet(u"Chart", SHEET_CHART);
    Sheet& sheet = *CurrentSheet();
    const u8 records[] = {0xA0, 0, 4, 0, 3, 0, 4, 0, 0x33, 0x10, 0, 0};
    ASSERT_TRUE(CarryBytes(sheet.carried, SHEET_BEGIN, 8, records));
    ExpectReturn(8);
    ExpectReturn(8);  // nothing is added on the way
    Save(7);
    EXPECT_EQ(losses, LOSS_CHARTS);
}

TEST_F(SavedBooks, StreamsBeyondTheHeadersFatSectorsAreWhole) {
    // 109 FAT sectors cover 7,087,104 bytes of stream.
    for (i32 row = 0; row < 125; ++row)
        PutText(row, 0, std::u16string(32767, static_cast<char16_t>(0x4E00 + row * 7)));
    Save();
    EXPECT_GT(Stream().size(), 8000000u);
    const std::vector<u8> file = File();
    EXPECT_GT(LongAt(file, 44), 109u);
    EXPECT_EQ(LongAt(file, 72), 1u);
    const auto before = DumpBook(CurrentBook(), DUMP_VALUES);
    Reopen();
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook(), DUMP_VALUES)), "");
}

// ---- many of a kind
// ------------------------------------------------------------------------------------------

TEST_F(SavedBooks, ManySheetsNamesFormatsAndStringsComeBack) {
    Workbook& book = *CurrentWorkbook();
    for (int i = 0; i < 1000; ++i) {
        u16 id = 0;
        ASSERT_TRUE(FindOrAddNumberFormat(book, Wide("0.0\"n" + std::to_string(i) + "\""), id));
        Put(i, 0, i * 1.5, FormatWith(id));
        PutText(i, 1, Wide("text " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 97), 'z')));
    }
    for (int i = 0; i < 500; ++i)
        DefineName("name" + std::to_string(i), "=Sheet1!$A$" + std::to_string(i + 1), static_cast<u16>(i % 3));
    for (int i = 1; i < 200; ++i) {
        AddSheet(Wide("S" + std::to_string(i) + (i % 2 ? " odd" : "\u5b57")));
        PutText(i, i % 256, u"here");
    }
    ExpectReturn(8);
}

TEST_F(SavedBooks, ManyMergesTakeSeveralRecords) {
    for (u32 i = 0; i < 1030; ++i) {
        const auto row = static_cast<u16>(i * 2);
        ASSERT_TRUE(CurrentSheet()->mergedAreas.Append({row, static_cast<u16>(row + 1), 0, 1}));
    }
    ExpectReturn(8);
    const auto records = Find(229);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Word(0), 1027u);
    EXPECT_EQ(records[1].Word(0), 3u);
}

TEST_F(SavedBooks, RandomBooksComeBackInBothForms) {
    u64 state = 12345;
    const auto next = [&](u32 below) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<u32>(state >> 33) % below;
    };
    static constexpr const char* formulas[] = {"=A1+B2",       "=SUM(A1:C9)",      "=IF(A1>2,\"yes\",1=2)",
                                               "=-A1^2%",      "=\"a\"&B3",        "=VLOOKUP(1,A1:C9,2,FALSE)",
                                               "=SUM(A1,B:B)", "={1,2}+1",         "=CHOOSE(2,A1,B1,C1)",
                                               "=1/0",         "=INDEX(A1:C9,2,2)"};
    for (int round = 0; round < 40; ++round) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        for (u32 i = next(300); i--;) {
            const i32 row = static_cast<i32>(next(next(2) ? 40 : 16384)), column = static_cast<i32>(next(12));
            const u16 format = static_cast<u16>(15 + next(6));
            switch (next(6)) {
                case 0: Put(row, column, next(1000), format); break;
                case 1: Put(row, column, next(100000) / 100.0, format); break;
                case 2: Put(row, column, next(100000) / 7.0, format); break;
                case 3:
                    PutText(row, column, std::u16string(next(40), static_cast<char16_t>(u'a' + next(26))));
                    break;
                case 4: PutBlank(row, column, format); break;
                default: Enter("M" + std::to_string(row + 1), formulas[next(std::size(formulas))]); break;
            }
        }
        ExpectReturn(8);
        ExpectReturn(7, olderForm);
    }
}

}  // namespace
}  // namespace tally
