#include <algorithm>
#include <bit>

#include "fileio/biff/SaveState.h"
#include "model/CellStore.h"
#include "model/Formats.h"
#include "support/Saving.h"

// Which records a save writes, in which order and with which bytes.

namespace tally {
namespace {

using SavedRecords = Saving;

std::vector<u16> Without(std::vector<u16> ids, std::initializer_list<u16> left) {
    std::erase_if(ids, [&](u16 id) { return std::find(left.begin(), left.end(), id) != left.end(); });
    return ids;
}

TEST_F(SavedRecords, AFreshBookIsOneSheetInAStreamFilledUpTo4096Bytes) {
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        EXPECT_EQ(Stream().size(), 4096u);
        EXPECT_EQ(File().size() % 512, 0u);
        EXPECT_EQ(Find(133).size(), 1u);
        EXPECT_EQ(losses, 0u);
    }
    Save(8);
    ASSERT_EQ(Find(252).size(), 1u);
    EXPECT_EQ(Find(252)[0].body, std::vector<u8>(8, 0));
    ASSERT_EQ(Find(255).size(), 1u);
    EXPECT_EQ(Find(255)[0].body, (std::vector<u8>{8, 0}));
}

TEST_F(SavedRecords, TheNewerFormHasItsOrderOfRecords) {
    Save(8);
    const std::vector<u16> expected = {2057, 225, 193, 226, 66,  353, 317, 156, 25,  18,
                                       19,   431, 444, 61,  64,  141, 34,  14,  439, 218,  // globals
                                       352,  133, 23,  252, 255, 10,                       //
                                       2057, 523, 13,  12,  15,  17,  16,  95,  42,  43,
                                       130,  128, 549, 129, 20,  21,  131, 132, 85,  512,  // the sheet
                                       520,  215, 574, 160, 29,  10};
    // Fonts and formats stand in front of USESELFS.
    EXPECT_EQ(Without(Ids(), {49, 1054, 224, 659}), expected);
    EXPECT_EQ(Find(49).size(), 4u);
    EXPECT_EQ(Find(224).size(), 21u);
    EXPECT_EQ(Find(659).size(), 6u);
}

TEST_F(SavedRecords, TheOlderFormHasItsOrderOfRecords) {
    Save(7);
    const std::vector<u16> expected = {2057, 225, 193, 191, 192, 226, 66,  156, 25,   18,  19, 61,
                                       64,   141, 34,  14,  218, 146, 133, 10,  2057, 523, 13, 12,
                                       15,   17,  16,  95,  42,  43,  130, 128, 549,  129, 20, 21,
                                       131,  132, 85,  512, 520, 215, 574, 29,  10};
    EXPECT_EQ(Without(Ids(), {49, 1054, 224, 659}), expected);
    // The versions of the two kinds of substream differ in this form.
    EXPECT_EQ(Find(2057)[0].Word(0), 1280u);
    EXPECT_EQ(Find(2057)[1].Word(0), 1536u);
    EXPECT_EQ(Find(2057)[0].body.size(), 8u);
}

TEST_F(SavedRecords, SheetsAreFoundByTheirPositions) {
    AddSheet(u"Second");
    AddSheet(u"Module", SHEET_MODULE);
    AddSheet(u"Macro", SHEET_MACRO);
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        const auto bofs = Find(2057);
        const auto sheets = Find(133);
        ASSERT_EQ(bofs.size(), 5u);
        ASSERT_EQ(sheets.size(), 4u);
        for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(sheets[i].Long(0), bofs[i + 1].at);
        EXPECT_EQ(bofs[3].Word(2), 6u);
        EXPECT_EQ(bofs[4].Word(2), 64u);
        EXPECT_EQ(sheets[2].body[5], 6);
        EXPECT_EQ(sheets[3].body[5], 1);
    }
}

TEST_F(SavedRecords, IndexAndBlocksLeadToRowsAndCells) {
    for (i32 row : {0, 1, 31, 32, 40, 95}) {
        Put(row, 2, row + 0.5);
        Put(row, 4, 0.123);
    }
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        const auto records = Records();
        const auto index = Find(523)[0];
        const auto blocks = Find(215);
        ASSERT_EQ(blocks.size(), 3u);
        const std::size_t head = form == 8 ? 16 : 12;
        ASSERT_EQ(index.body.size(), head + 12);
        EXPECT_EQ(form == 8 ? index.Long(8) : index.Word(6), 96u);
        for (std::size_t b = 0; b < 3; ++b) {
            EXPECT_EQ(index.Long(head + b * 4), blocks[b].at);
            const std::size_t firstRow = blocks[b].at - blocks[b].Long(0);
            std::size_t at = firstRow + 20;
            std::vector<std::size_t> starts;
            for (std::size_t r = 0; r < 32; ++r) starts.push_back(at += blocks[b].Word(4 + r * 2));
            const auto recordAt = [&](std::size_t place) {
                return std::find_if(records.begin(), records.end(),
                                    [&](const auto& x) { return x.at == place; });
            };
            ASSERT_NE(recordAt(firstRow), records.end());
            EXPECT_EQ(recordAt(firstRow)->id, 520);
            EXPECT_EQ(recordAt(firstRow)->Word(0), b * 32);
            ASSERT_NE(recordAt(starts[0]), records.end());
            if (b == 0) {
                EXPECT_EQ(recordAt(starts[0])->Word(0), 0u);
                EXPECT_EQ(recordAt(starts[1])->Word(0), 1u);
                EXPECT_EQ(recordAt(starts[31])->Word(0), 31u);
            }
        }
        // All rows stand there, also empty ones.
        EXPECT_EQ(Find(520).size(), 96u);
    }
}

TEST_F(SavedRecords, RowsTellHeightAndHiding) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(SetRowInfo(sheet.rows, {1, ROW_CUSTOM_HEIGHT, 400}));
    ASSERT_TRUE(SetRowInfo(sheet.rows, {2, ROW_HIDDEN | ROW_DEFAULT_HEIGHT, 0}));
    Put(3, 7, 1);
    Save();
    const auto rows = Find(520);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[0].body, (std::vector<u8>{0, 0, 0, 0, 8, 0, 255, 0, 0, 0, 0, 0, 0, 1, 0, 0}));
    EXPECT_EQ(rows[1].Word(6), 400u);
    EXPECT_EQ(rows[1].body[12], 0x40);
    EXPECT_EQ(rows[2].body[12], 0x20);
    EXPECT_EQ(rows[3].body[13], 1);
}

// ---- cells ------------------------------------------------------------------------------------------------

TEST_F(SavedRecords, NumbersTakeTheFirstOfTheShortFormsThatFits) {
    struct Row {
        double number;
        int form;  // bits 0 and 1 of the RK; -1 none
    };
    for (const Row& row : {Row{0.5, 0},
                           {3, 0},
                           {0.01, 1},
                           {12345678, 2},
                           {123456.78, 3},
                           {1.1, -1},
                           {1.001, -1},
                           {-123456.78, 3},
                           {-0.01, 1},
                           {0, 0},
                           {-0.0, 0},
                           {536870911, 2},
                           {-536870911, 2},
                           {-536870912, 0},
                           {536870913, -1},
                           {1e300, -1},
                           {0.1 + 0.2, -1},
                           {1.0 / 3, -1},
                           {-12345678, 2}}) {
        u32 rk = 0;
        const bool fits = EncodeRk(row.number, rk);
        EXPECT_EQ(fits, row.form >= 0) << row.number;
        if (!fits) continue;
        EXPECT_EQ(static_cast<int>(rk & 3), row.form) << row.number;
        EXPECT_EQ(std::bit_cast<u64>(DecodeRk(rk)), std::bit_cast<u64>(row.number)) << row.number;
    }
}

TEST_F(SavedRecords, EveryShortFormComesBackToTheBit) {
    u64 state = 1;
    int short_ = 0;
    for (int i = 0; i < 200000; ++i) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        const double whole = static_cast<double>(static_cast<i32>(state >> 33)) - (i % 2 ? 1 << 30 : 0);
        const double number = i % 3 == 0   ? whole / 100
                              : i % 3 == 1 ? whole / 4096
                                           : std::bit_cast<double>(state);
        u32 rk = 0;
        if (!EncodeRk(number, rk)) continue;
        ++short_;
        ASSERT_EQ(std::bit_cast<u64>(DecodeRk(rk)), std::bit_cast<u64>(number)) << number;
    }
    EXPECT_GT(short_, 1000);
}

TEST_F(SavedRecords, NeighbouringNumbersShareARecordUpToOneUnderTheTextFormat) {
    const u16 text = FormatWith(49);
    for (i32 column = 0; column < 4; ++column) Put(0, column, column);
    Put(0, 4, 4, text);
    Put(0, 5, 5);
    Put(0, 7, 7);
    Put(0, 8, 1.001);
    Save();
    const auto multiple = Find(189);
    ASSERT_EQ(multiple.size(), 1u);
    EXPECT_EQ(multiple[0].body.size(), 6u + 4 * 6);
    EXPECT_EQ(multiple[0].Word(28), 3u);
    EXPECT_EQ(Find(638).size(), 3u);
    EXPECT_EQ(Find(515).size(), 1u);
    Reopen();
    EXPECT_EQ(Shown("E1"), "4");
    EXPECT_EQ(Shown("I1"), "1.001");
}

TEST_F(SavedRecords, BlanksShareARecordAndThoseThatSayNothingAreDropped) {
    ASSERT_TRUE(SetColumnInfo(CurrentSheet()->columns, {1, 0, 3000, 16}));
    PutBlank(0, 0, 16);
    PutBlank(0, 1, 16);  // as its column
    PutBlank(0, 2, 16);
    PutBlank(0, 3, 17);
    PutBlank(0, 4, 15);  // as any column
    Save();
    ASSERT_EQ(Find(513).size(), 1u);
    EXPECT_EQ(Find(513)[0].Word(2), 0u);
    ASSERT_EQ(Find(190).size(), 1u);
    EXPECT_EQ(Find(190)[0].body, (std::vector<u8>{0, 0, 2, 0, 16, 0, 17, 0, 3, 0}));
}

TEST_F(SavedRecords, BooleansAndErrorsHaveTheirRecord) {
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 0, 15, BoolValue(true), FormulaTokens()));
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 1, 15, ErrorValue(ERR_NA), FormulaTokens()));
    Save();
    const auto records = Find(517);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].body[6], 1);
    EXPECT_EQ(records[0].body[7], 0);
    EXPECT_EQ(records[1].body[6], 42);
    EXPECT_EQ(records[1].body[7], 1);
}

TEST_F(SavedRecords, FormulasHoldTheirResults) {
    Enter("A1", "=1+1");
    Enter("A2", "=\"a\"&\"b\"");
    Enter("A3", "=1=1");
    Enter("A4", "=NA()");
    Enter("A5", "=RAND()");
    Save();
    const auto formulas = Find(6);
    ASSERT_EQ(formulas.size(), 5u);
    EXPECT_EQ(DoubleAt(formulas[0].body, 6), 2);
    EXPECT_EQ(formulas[1].Word(12), 0xFFFFu);
    EXPECT_EQ(formulas[1].body[6], 0);
    ASSERT_EQ(Find(519).size(), 1u);
    EXPECT_EQ(Find(519)[0].body, (std::vector<u8>{2, 0, 0, 'a', 'b'}));
    EXPECT_EQ(formulas[2].body[6], 1);
    EXPECT_EQ(formulas[2].body[8], 1);
    EXPECT_EQ(formulas[3].body[6], 2);
    EXPECT_EQ(formulas[3].body[8], 42);
    EXPECT_EQ(formulas[0].Word(14), 0u);
    EXPECT_EQ(formulas[4].Word(14), 1u);
}

TEST_F(SavedRecords, AStaleCellIsCalculatedBeforeItIsWritten) {
    Enter("A1", "1");
    Enter("B1", "=A1*10");
    CellRecord* cell = CellAtName("B1");
    SetStale(CurrentSheet()->cells, *cell);
    FreeValue(cell->value);
    cell->value = NumberValue(-1);
    Save();
    EXPECT_EQ(DoubleAt(Find(6)[0].body, 6), 10);
}

// ---- shared strings
// ------------------------------------------------------------------------------------------

TEST_F(SavedRecords, TextsAreSortedAndStandOnce) {
    PutText(0, 0, u"pear");
    PutText(1, 0, u"apple");
    PutText(2, 0, u"pear");
    PutText(3, 0, u"\u6f22");
    AddSheet(u"Other");
    PutText(0, 0, u"Zebra");
    Save();
    const auto table = Find(252)[0];
    EXPECT_EQ(table.Long(0), 5u);
    EXPECT_EQ(table.Long(4), 4u);
    const std::vector<u8> expected = {5,   0,   0, 'Z', 'e', 'b', 'r', 'a', 5,   0, 0, 'a', 'p',  'p',
                                      'l', 'e', 4, 0,   0,   'p', 'e', 'a', 'r', 1, 0, 1,   0x22, 0x6F};
    EXPECT_EQ(std::vector<u8>(table.body.begin() + 8, table.body.end()), expected);
    std::vector<u32> indexes;
    for (const auto& cell : Find(253)) indexes.push_back(cell.Long(6));
    EXPECT_EQ(indexes, (std::vector<u32>{2, 1, 2, 3, 0}));
}

TEST_F(SavedRecords, TheBucketOfTheStringIndexGrowsWithTheStrings) {
    i32 row = 0;
    const auto fill = [&](i32 count) {
        for (; row < count; ++row) {
            std::u16string text = u"t";
            for (i32 n = row; n; n /= 10) text.push_back(static_cast<char16_t>(u'0' + n % 10));
            PutText(row, 0, text + u"x");
        }
    };
    for (const auto& [count, bucket] : {std::pair{1027, 8u}, {8216, 8u}, {8217, 9u}, {9243, 9u}, {9244, 10u}}) {
        fill(count);
        Save();
        const auto index = Find(255)[0];
        EXPECT_EQ(index.Word(0), bucket) << count;
        EXPECT_EQ((index.body.size() - 2) / 8, (static_cast<u32>(count) + bucket - 1) / bucket);
        // Every entry leads to the head of a string.
        const std::vector<u8> stream = Stream();
        const auto records = Records();
        for (std::size_t e = 2; e < index.body.size(); e += 8) {
            const u32 at = index.Long(e);
            EXPECT_EQ(stream[at + 3], 't');
            const auto owner = std::partition_point(records.begin(), records.end(),
                                                    [&](const WrittenRecord& r) { return r.at < at; }) -
                               1;
            EXPECT_EQ(index.Word(e + 4), at - owner->at);
        }
    }
    Reopen();
    EXPECT_EQ(Shown("A9244"), "t3429x");
}

TEST_F(SavedRecords, ALongStringGoesOnInAContinueThatBeginsWithTheFlag) {
    const std::u16string narrow(10000, u'n'), wide(9000, u'\u5b57');
    PutText(0, 0, narrow);
    Save();
    const auto records = Records();
    const auto table = std::find_if(records.begin(), records.end(), [](const auto& r) { return r.id == 252; });
    ASSERT_NE(table, records.end());
    EXPECT_EQ(table->body.size(), 8224u);
    const auto next = table + 1;
    ASSERT_EQ(next->id, 60);
    EXPECT_EQ(next->body.size(), 1 + 10000 - (8224 - 11u));
    EXPECT_EQ(next->body[0], 0);
    EXPECT_EQ(next->body[1], 'n');
    PutText(1, 0, wide);
    PutText(2, 0, u"");
    ExpectReturn(8);
}

TEST_F(SavedRecords, StringsThatEndNearARecordsEndComeBack) {
    // 8,224 less 8 and less the string in front leaves 0 to 8 bytes.
    for (std::size_t left = 0; left < 9; ++left) {
        PutText(0, 0, std::u16string(8224 - 8 - 3 - left, u'a'));
        PutText(1, 0, u"b\u4e00c");
        PutText(2, 0, u"bc");
        Save();
        const auto before = DumpBook(CurrentBook());
        Reopen();
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "") << left;
    }
}

// ---- formats and the rest of the globals
// ---------------------------------------------------------------------

TEST_F(SavedRecords, TheRegionsFormatsAreNeverWritten) {
    for (u16 id : {u16{14}, u16{20}, u16{22}, u16{3}}) {
        ASSERT_TRUE(ReplaceNumberFormat(*CurrentWorkbook(), id, u"yyyy"));
    }
    ASSERT_TRUE(ReplaceNumberFormat(*CurrentWorkbook(), 164, u"0.000"));
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        std::vector<u32> ids;
        for (const auto& format : Find(1054)) ids.push_back(format.Word(0));
        for (u32 id : {14u, 20u, 22u, 1u, 49u}) EXPECT_EQ(std::count(ids.begin(), ids.end(), id), 0) << id;
        for (u32 id : {3u, 164u}) EXPECT_EQ(std::count(ids.begin(), ids.end(), id), 1) << id;
    }
}

TEST_F(SavedRecords, FontsFromTheFifthOnAreRaised) {
    Workbook& book = *CurrentWorkbook();
    u16 font = 0;
    ASSERT_TRUE(FindOrAddFont(book, u"Courier", true, false, false, false, 240, 10, font));
    ASSERT_EQ(font, 4);
    CellFormat format = ResolveCellFormat(book, 15);
    format.font = font;
    u16 index = 0;
    ASSERT_TRUE(FindOrAddCellFormat(book, format, index));
    Put(0, 0, 1, index);
    Save();
    EXPECT_EQ(Find(224)[index].Word(0), 5u);
    EXPECT_EQ(Find(224)[15].Word(0), 0u);
    ExpectReturn(8);
    ExpectReturn(7);
}

TEST_F(SavedRecords, FormatsOfCellsHaveTheirBits) {
    Workbook& book = *CurrentWorkbook();
    CellFormat f = ResolveCellFormat(book, 15);
    f.flags = FORMAT_HIDDEN | FORMAT_WRAP | FORMAT_QUOTE_PREFIX;
    f.horizontal = 3;
    f.vertical = 1;
    f.rotation = 90;
    f.pattern = 1;
    f.patternColour = 27;
    f.backColour = 42;
    f.leftStyle = 1;
    f.rightStyle = 2;
    f.topStyle = 3;
    f.bottomStyle = 13;
    f.leftColour = 8;
    f.rightColour = 9;
    f.topColour = 10;
    f.bottomColour = 11;
    u16 index = 0;
    ASSERT_TRUE(FindOrAddCellFormat(book, f, index));
    Put(0, 0, 1, index);
    Save(8);
    const auto xf = Find(224)[index];
    EXPECT_EQ(xf.Word(4), 10u);
    EXPECT_EQ(xf.Word(6), 3u | 8 | 1 << 4 | 90 << 8);
    EXPECT_EQ(xf.Word(10), 1u | 2 << 4 | 3 << 8 | 13 << 12);
    EXPECT_EQ(xf.Word(12), 8u | 9 << 7);
    EXPECT_EQ(xf.Long(14), 10u | 11 << 7 | 1u << 26);
    // A solid cell's own colour is the file's fore colour.
    EXPECT_EQ(xf.Word(18), 42u | 27 << 7);
    EXPECT_EQ(Find(224)[0].Word(4), 0xFFF5u);
    const auto before = DumpBook(CurrentBook());
    Save(7);
    EXPECT_EQ(losses, LOSS_FORMATS);
    EXPECT_EQ(Find(224)[index].body.size(), 16u);
    EXPECT_EQ(Find(224)[index].body[7] & 3, 2);
    EXPECT_EQ(Find(224)[index].Long(8) >> 22 & 7, 3u);
    Save(8);
    Reopen();
    EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "");
}

TEST_F(SavedRecords, RotationsOfTheOlderFormAreThree) {
    struct Row {
        u8 rotation;
        u8 code;
        u32 losses;
    };
    for (const Row& row : {Row{0, 0, 0}, {255, 1, 0}, {90, 2, 0}, {180, 3, 0}, {45, 0, LOSS_FORMATS}}) {
        CurrentWorkbook()->cellFormats[15].rotation = row.rotation;
        Save(7);
        EXPECT_EQ(Find(224)[15].body[7] & 3, row.code) << int{row.rotation};
        EXPECT_EQ(losses, row.losses);
    }
}

TEST_F(SavedRecords, APaletteIsWrittenWhenItIsAnother) {
    Save(8);
    EXPECT_TRUE(Find(146).empty());
    CurrentWorkbook()->palette[8] = 0x123456;
    Save(8);
    ASSERT_EQ(Find(146).size(), 1u);
    EXPECT_EQ(Find(146)[0].body.size(), 226u);
    EXPECT_EQ(Find(146)[0].Long(2), 0x123456u);
    ExpectReturn(8);
}

TEST_F(SavedRecords, ZoomIsAFractionInLowestTerms) {
    Save(8);
    EXPECT_EQ(Find(160)[0].body, (std::vector<u8>{1, 0, 1, 0}));
    Save(7);
    EXPECT_TRUE(Find(160).empty());
    CurrentSheet()->zoomPercent = 75;
    for (u8 form : {u8{8}, u8{7}}) {
        Save(form);
        EXPECT_EQ(Find(160)[0].body, (std::vector<u8>{3, 0, 4, 0}));
    }
}

TEST_F(SavedRecords, UserNameAndCountryGoBackAsTheyCame) {
    Workbook& book = *CurrentWorkbook();
    const u8 name[] = {0, 'A', 'n', 'n', 'a'};
    ASSERT_TRUE(book.userName.AppendMany(name, 5));
    book.userNameLength = 4;
    book.country[0] = 1;
    book.country[1] = 86;
    Save(8);
    ASSERT_EQ(Find(92).size(), 1u);
    EXPECT_EQ(Find(92)[0].body.size(), 112u);
    EXPECT_EQ(Find(92)[0].body[3], 'A');
    EXPECT_EQ(Find(140)[0].Word(2), 86u);
    Save(7);
    EXPECT_EQ(Find(92)[0].body.size(), 32u);
    EXPECT_EQ(Find(92)[0].body[0], 4);
    EXPECT_EQ(Find(92)[0].body[1], 'A');
}

}  // namespace
}  // namespace tally
