#include <cmath>
#include <limits>

#include "base/SharedText.h"
#include "fileio/OpenFile.h"
#include "fileio/biff/RichText.h"
#include "model/CellStore.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// Cells byte by byte: what is written for each, and what is read of records that other programs write.

namespace tally {
namespace {

class CellBytes : public Saving {
  protected:
    // A text with runs (first character and font each) and phonetic bytes.
    static void PutRuns(i32 row, std::u16string_view text, std::initializer_list<u32> runs, u32 phonetic = 0) {
        TextBlock* block = MakeTextRoom(text.size(), RUN_COUNT_BYTES + runs.size() * 2 + phonetic);
        ASSERT_NE(block, nullptr);
        std::copy(text.begin(), text.end(), block->characters);
        u8* out = TextTailBytes(block);
        PutU16(out, static_cast<u32>(runs.size() / 2));
        out += RUN_COUNT_BYTES;
        for (const u32 word : runs) {
            PutU16(out, word);
            out += 2;
        }
        std::fill_n(out, phonetic, u8{0x99});
        ASSERT_TRUE(InsertCell(*CurrentSheet(), row, 0, 15, OwnedTextValue(block), FormulaTokens()));
    }
    // The records of the cells, "id: bytes".
    std::vector<std::string> Cells() const {
        constexpr u16 ids[] = {6, 189, 190, 214, 253, 513, 515, 516, 517, 519, 545, 566, 638, 60};
        std::vector<std::string> out;
        bool inCells = false;
        for (const WrittenRecord& record : Records()) {
            inCells = (inCells || record.id == 520) && record.id != 574;
            if (inCells && std::find(std::begin(ids), std::end(ids), record.id) != std::end(ids))
                out.push_back(std::to_string(record.id) + ": " + Digits(record.body));
        }
        return out;
    }
    using Lines = std::vector<std::string>;
    static void OpenSheet(u8 form, const std::function<void(BiffBuilder&)>& fill) {
        BiffBuilder b(form);
        b.Globals({"One"}).Bof(16);
        fill(b);
        b.Eof();
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
    }
    // The cells that were read, one after the other.
    static std::string Read() {
        std::string out;
        for (const CellRow& row : CurrentSheet()->cells.rows) {
            for (u32 i = 0; i < row.count; ++i) {
                const CellRecord& cell = row.cells[i];
                out += std::to_string(row.row) + "," + std::to_string(cell.column) + "/" +
                       std::to_string(cell.format) + "=";
                const Value& v = cell.value;
                if (v.type == VT_NUMBER) out += std::to_string(v.number);
                if (v.type == VT_STRING) out += "'" + Narrow(TextOf(v)) + "'";
                if (v.type == VT_BOOL) out += v.boolean ? "T" : "F";
                if (v.type == VT_ERROR) out += "#" + std::to_string(v.error);
                out += " ";
            }
        }
        return out;
    }
};

TEST_F(CellBytes, EachKindOfCellHasItsRecord) {
    Put(0x1234, 0xFE, 1.1, 17);
    Put(0x1235, 0x01, 3, 18);
    PutBlank(0x1235, 0x03, 17);
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0x1236, 5, 16, BoolValue(false), FormulaTokens()));
    ASSERT_TRUE(InsertCell(*CurrentSheet(), 0x1236, 6, 16, ErrorValue(ERR_NAME), FormulaTokens()));
    PutText(0x1237, 7, u"t\u00e9", 19);
    const Lines same = {"515: 34 12 FE 00 11 00 9A 99 99 99 99 99 F1 3F", "638: 35 12 01 00 12 00 00 00 08 40",
                        "513: 35 12 03 00 11 00", "517: 36 12 05 00 10 00 00 00",
                        "517: 36 12 06 00 10 00 1D 01"};
    Lines form8 = same, form7 = same;
    form8.push_back("253: 37 12 07 00 13 00 00 00 00 00");
    form7.push_back("516: 37 12 07 00 13 00 02 00 74 E9");
    Save(8);
    EXPECT_EQ(Cells(), form8);
    Save(7);
    EXPECT_EQ(Cells(), form7);
}

TEST_F(CellBytes, NeighboursShareARecordOnlyWhileTheyAreAlike) {
    // Numbers with a short form, one without, a gap, and one that is a formula's.
    for (i32 column : {0, 1, 2, 4, 5}) Put(0, column, column + 1);
    Put(0, 6, 1.1);
    Put(0, 7, 8);
    for (i32 column : {0, 1, 3, 4}) PutBlank(1, column, static_cast<u16>(16 + column));
    Put(1, 5, 1);
    PutBlank(1, 6, 16);
    Save();
    EXPECT_EQ(Cells(),
              (Lines{"189: 00 00 00 00 0F 00 00 00 F0 3F 0F 00 00 00 00 40 0F 00 00 00 08 40 02 00",
                     "189: 00 00 04 00 0F 00 00 00 14 40 0F 00 00 00 18 40 05 00",
                     "515: 00 00 06 00 0F 00 9A 99 99 99 99 99 F1 3F", "638: 00 00 07 00 0F 00 00 00 20 40",
                     "190: 01 00 00 00 10 00 11 00 01 00", "190: 01 00 03 00 13 00 14 00 04 00",
                     "638: 01 00 05 00 0F 00 00 00 F0 3F", "513: 01 00 06 00 10 00"}));
    Reopen();
    EXPECT_EQ(Read(),
              "0,0/15=1.000000 0,1/15=2.000000 0,2/15=3.000000 0,4/15=5.000000 0,5/15=6.000000 0,6/15=1.100000 "
              "0,7/15=8.000000 1,0/16= 1,1/17= 1,3/19= 1,4/20= 1,5/15=1.000000 1,6/16= ");
}

TEST_F(CellBytes, FormulasHoldTheirResultInEightBytes) {
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        Value value;
        const char* result;
    } rows[] = {{NumberValue(0.5), "00 00 00 00 00 00 E0 3F"},
                {NumberValue(infinity), "02 00 24 00 00 00 FF FF"},
                {NumberValue(-infinity), "02 00 24 00 00 00 FF FF"},
                {NumberValue(std::nan("")), "02 00 24 00 00 00 FF FF"},
                {Value(), "00 00 00 00 00 00 00 00"},
                {BoolValue(true), "01 00 01 00 00 00 FF FF"},
                {BoolValue(false), "01 00 00 00 00 00 FF FF"},
                {ErrorValue(ERR_REF), "02 00 17 00 00 00 FF FF"},
                {ErrorValue(ERR_NA), "02 00 2A 00 00 00 FF FF"}};
    for (const auto& row : rows) {
        ASSERT_TRUE(InsertCell(*CurrentSheet(), 0x123, 2, 16, row.value, Tokens({0x1E, 7, 0})));
        GetCell(CurrentSheet()->cells, 0x123, 2)->calcState = CALC_CURRENT;
        for (const u8 form : {u8{8}, u8{7}}) {
            Save(form);
            EXPECT_EQ(Cells(), Lines{std::string("6: 23 01 02 00 10 00 ") + row.result +
                                     " 00 00 00 00 00 00 03 00 1E 07 00"});
        }
    }
}

TEST_F(CellBytes, RunsOfTheOlderFormAreBytesAsFarAsTheyGo) {
    PutRuns(0, u"abc", {1, 1, 2, 2});
    PutRuns(1, u"abc", {255, 255, 256, 1});
    PutRuns(2, u"abc", {1, 256});
    PutRuns(3, u"abc", {1, 5}, 3);
    PutRuns(4, u"abc", {});
    Save(7);
    EXPECT_EQ(losses, u32{LOSS_RICH_TEXT});
    EXPECT_EQ(
        Cells(),
        (Lines{"214: 00 00 00 00 0F 00 03 00 61 62 63 02 01 01 02 02",
               "214: 01 00 00 00 0F 00 03 00 61 62 63 01 FF FF", "516: 02 00 00 00 0F 00 03 00 61 62 63",
               "214: 03 00 00 00 0F 00 03 00 61 62 63 01 01 05", "516: 04 00 00 00 0F 00 03 00 61 62 63"}));
    // A count is one byte, and a record of 2,080 bytes has room for so many behind a long text.
    for (const u32 letters : {3u, 2048u}) {
        for (const u32 runs : {11u, 12u, 255u, 256u}) {
            TextBlock* block = MakeTextRoom(letters, RUN_COUNT_BYTES + runs * RUN_BYTES);
            ASSERT_NE(block, nullptr);
            std::fill_n(block->characters, letters, u'x');
            std::fill_n(TextTailBytes(block), RUN_COUNT_BYTES + runs * RUN_BYTES, u8{0});
            PutU16(TextTailBytes(block), runs);
            ResetBooks();
            ASSERT_TRUE(CreateWorkbook(nullptr, false));
            ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 0, 15, OwnedTextValue(block), FormulaTokens()));
            Save(7);
            // 8 bytes, the text, the count and two for each.
            const u32 most = letters == 3 ? 255 : (2080 - 8 - 2048 - 1) / 2;
            EXPECT_EQ(losses, runs > most ? u32{LOSS_RICH_TEXT} : 0u) << runs;
            ASSERT_EQ(Find(214).size(), 1u);
            EXPECT_EQ(Find(214)[0].body[8 + letters], std::min(runs, most));
            EXPECT_EQ(Find(214)[0].body.size(), 9 + letters + 2 * std::min(runs, most));
        }
    }
}

TEST_F(CellBytes, SharedTextsCarryRunsAndPhoneticsAndStandOnceWithThem) {
    PutRuns(0, u"b", {0, 1});
    PutRuns(1, u"b", {}, 2);
    PutText(2, 0, u"b");
    PutRuns(3, u"b", {0, 1});
    PutRuns(4, u"\u5B57", {0, 7, 1, 8}, 3);
    PutText(5, 0, u"a");
    Save();
    ASSERT_EQ(Find(252).size(), 1u);
    EXPECT_EQ(
        Digits(Find(252)[0].body),
        "06 00 00 00 05 00 00 00 01 00 00 61 01 00 00 62 01 00 04 02 00 00 00 62 99 99 "
        "01 00 08 01 00 62 00 00 01 00 01 00 0D 02 00 03 00 00 00 57 5B 00 00 07 00 01 00 08 00 99 99 99");
    EXPECT_EQ(Digits(Find(255)[0].body).substr(0, 5), "08 00");
    EXPECT_EQ(Cells(), (Lines{"253: 00 00 00 00 0F 00 03 00 00 00", "253: 01 00 00 00 0F 00 02 00 00 00",
                              "253: 02 00 00 00 0F 00 01 00 00 00", "253: 03 00 00 00 0F 00 03 00 00 00",
                              "253: 04 00 00 00 0F 00 04 00 00 00", "253: 05 00 00 00 0F 00 00 00 00 00"}));
    const Lines first = Cells();
    const std::string table = Digits(Find(252)[0].body);
    Reopen();
    Save();
    EXPECT_EQ(Cells(), first);
    EXPECT_EQ(Digits(Find(252)[0].body), table);
}

TEST_F(CellBytes, TextsWithRunsComeBackWhereverTheirRecordsEnd) {
    // Texts that fill the record up to each of its last bytes, then one whose head, letters and runs are cut.
    for (u32 left = 0; left < 34; ++left) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        PutText(0, 0, std::u16string(8224 - 8 - 3 - left, u'a'));
        PutRuns(1, u"b\u5B57c", {0, 1, 1, 2, 2, 3}, 5);
        PutRuns(2, u"cde", {0, 4}, 2);
        PutText(3, 0, u"d");
        Save();
        for (const WrittenRecord& record : Records()) EXPECT_LE(record.body.size(), 8224u);
        const auto before = DumpBook(CurrentBook());
        Reopen();
        EXPECT_EQ(DumpDifference(before, DumpBook(CurrentBook())), "") << left;
    }
}

// ---- reading ------------------------------------------------------------------------------------------------

TEST_F(CellBytes, RecordsOfCellsAreReadByTheirFields) {
    struct Row {
        u8 form;
        u16 id;
        const char* body;
        const char* cells;
    };
    for (const Row& row : {
             Row{8, 513, "34 12 FE 00 03 00", "4660,254/3= "},
             {8, 515, "34 12 FE 00 03 00 00 00 00 00 00 00 F8 3F", "4660,254/3=1.500000 "},
             {8, 515, "34 12 FE 00 03 00 00 00 00 00 00 00 F0 7F", "4660,254/3=#5 "},
             {8, 515, "34 12 00 01 03 00 00 00 00 00 00 00 F8 3F", ""},
             {8, 515, "34 12 FE 00 15 00 00 00 00 00 00 00 F8 3F", "4660,254/0=1.500000 "},
             {8, 515, "34 12 FE 00 14 00 00 00 00 00 00 00 F8 3F", "4660,254/20=1.500000 "},
             {8, 516, "01 00 02 00 03 00 02 00 00 61 E9", "1,2/3='a\xC3\xA9' "},
             {8, 516, "01 00 02 00 03 00 01 00 01 57 5B", "1,2/3='\xE5\xAD\x97' "},
             {7, 516, "01 00 02 00 03 00 02 00 61 E9", "1,2/3='a\xC3\xA9' "},
             {8, 517, "01 00 02 00 03 00 01 00", "1,2/3=T "},
             {8, 517, "01 00 02 00 03 00 00 00", "1,2/3=F "},
             {8, 517, "01 00 02 00 03 00 07 01", "1,2/3=#1 "},
             {8, 517, "01 00 02 00 03 00 07 02", "1,2/3=#1 "},
             {8, 638, "01 00 02 00 03 00 00 00 F8 3F", "1,2/3=1.500000 "},
             {8, 189, "01 00 02 00 03 00 00 00 F8 3F 04 00 00 00 F0 3F 09 00",
              "1,2/3=1.500000 1,3/4=1.000000 "},
             {8, 189, "01 00 02 00 03 00 00 00 F8 3F 04 00 00 00 F0 3F", "1,2/3=1.500000 "},
             {8, 189, "01 00 FF 00 03 00 00 00 F8 3F 04 00 00 00 F0 3F 09 00", "1,255/3=1.500000 "},
             {8, 189, "01 00 02 00 09 00", ""},
             {8, 190, "01 00 02 00 03 00 04 00 05 00", "1,2/3= 1,3/4= "},
             {8, 190, "01 00 02 00 09 00", ""},
             {8, 190, "01 00", ""},
             {8, 214, "01 00 02 00 03 00 02 00 00 61 62 01 00 01 00 05 00", "1,2/3='ab' "},
             {7, 214, "01 00 02 00 03 00 02 00 61 62 01 01 05", "1,2/3='ab' "},
             {8, 253, "01 00 02 00 03 00 07 00 00 00", "1,2/3='' "},
         }) {
        OpenSheet(row.form, [&](BiffBuilder& b) { b.Raw(row.id, Hex(row.body)); });
        EXPECT_EQ(Read(), row.cells) << row.id << " " << row.body;
    }
}

TEST_F(CellBytes, RunsAreReadAsFarAsTheRecordGoes) {
    struct Row {
        u8 form;
        const char* body;
        const char* runs;
    };
    for (const Row& row : {Row{8, "02 00 00 61 62 02 00 00 00 05 00 01 00 06 00", "00 00 05 00 01 00 06 00"},
                           {8, "02 00 00 61 62 02 00 00 00 05 00 01 00 06", "00 00 05 00"},
                           {8, "02 00 00 61 62 02 00 00 00 05 00", "00 00 05 00"},
                           {8, "02 00 00 61 62 02 00 00 00", ""},
                           {8, "02 00 00 61 62 00 00", ""},
                           {7, "02 00 61 62 02 00 05 01 06", "00 00 05 00 01 00 06 00"},
                           {7, "02 00 61 62 02 00 05 01", "00 00 05 00"},
                           {7, "02 00 61 62 02 00", ""},
                           {7, "02 00 61 62 02", ""},
                           {7, "02 00 61 62 00", ""}}) {
        OpenSheet(row.form,
                  [&](BiffBuilder& b) { b.Raw(214, Hex(std::string("01 00 02 00 03 00 ") + row.body)); });
        const CellRecord* cell = GetCell(CurrentSheet()->cells, 1, 2);
        ASSERT_NE(cell, nullptr);
        EXPECT_EQ(Narrow(TextOf(cell->value)), "ab");
        const ByteView runs = RunBytes(TextTail(cell->value.text));
        EXPECT_EQ(Digits({runs.begin(), runs.end()}), row.runs) << row.body;
    }
}

TEST_F(CellBytes, ResultsOfFormulasAreReadByTheirKind) {
    const struct {
        const char* result;
        const char* cells;
    } rows[] = {{"00 00 00 00 00 00 F8 3F", "1,2/3=1.500000 "}, {"00 00 00 00 00 00 FF FF", "1,2/3='' "},
                {"03 00 00 00 00 00 FF FF", "1,2/3='' "},       {"01 00 01 00 00 00 FF FF", "1,2/3=T "},
                {"01 00 00 00 00 00 FF FF", "1,2/3=F "},        {"02 00 1D 00 00 00 FF FF", "1,2/3=#4 "},
                {"04 00 01 00 00 00 FF FF", "1,2/3= "},         {"01 00 01 00 00 00 FF FE", "1,2/3="}};
    for (const auto& row : rows) {
        OpenSheet(8, [&](BiffBuilder& b) {
            b.Raw(6, Hex(std::string("01 00 02 00 03 00 ") + row.result + " 00 00 00 00 00 00 03 00 1E 07 00"));
        });
        EXPECT_EQ(Read().substr(0, std::string(row.cells).size()), row.cells) << row.result;
    }
    // Flags: always, on load, both; a link is calculated in any case.
    for (u8 flags = 0; flags < 4; ++flags) {
        OpenSheet(8, [&](BiffBuilder& b) {
            b.Raw(6, {1, 0, 2, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F, flags, 0, 0, 0, 0, 0, 3, 0, 0x1E, 7, 0});
        });
        const CellRecord* cell = GetCell(CurrentSheet()->cells, 1, 2);
        EXPECT_EQ(cell->formula->alwaysCalculate, (flags & 1) != 0);
        EXPECT_EQ(cell->calcState, flags ? CALC_STALE : CALC_CURRENT) << int{flags};
        EXPECT_EQ(CurrentWorkbook()->dirty, flags == 1 ? 1u : 0u) << int{flags};
    }
}

TEST_F(CellBytes, AnArrayReachesFromItsFirstCellToWhereItsRecordSays) {
    struct Row {
        u16 lastRow;
        u8 lastColumn;
        u16 row;
        u8 column;
    };
    for (const Row& row : {Row{9, 8, 9, 8}, {3, 2, 3, 2}, {1, 1, 3, 2}, {9, 1, 9, 2}}) {
        OpenSheet(8, [&](BiffBuilder& b) {
            b.Raw(6, Hex("03 00 02 00 0F 00 00 00 00 00 00 00 F8 3F 00 00 00 00 00 00 05 00 01 03 00 02 00"));
            b.Raw(545, {3, 0, static_cast<u8>(row.lastRow), 0, 2, row.lastColumn, 0, 0, 0, 0, 0, 0, 3, 0, 0x1E,
                        7, 0});
        });
        ASSERT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
        const RefArea area = CurrentSheet()->arrayFormulas[0].area;
        EXPECT_EQ(area.firstRow, 3);
        EXPECT_EQ(area.firstColumn, 2);
        EXPECT_EQ(area.lastRow, row.row);
        EXPECT_EQ(area.lastColumn, row.column);
        EXPECT_EQ(FormulaOf("C4"), "=7");
    }
}

TEST_F(CellBytes, SharedFormulasAreThoseOfTheirSheet) {
    for (const bool shared : {true, false}) {
        BiffBuilder b;
        b.Globals({"One", "Two"});
        for (int sheet = 0; sheet < 2; ++sheet) {
            b.Bof(16).Raw(6, {3, 0, 2, 0, 15, 0, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F, static_cast<u8>(shared ? 8 : 0),
                              0, 0, 0, 0, 0,  5, 0, 1, 3, 0, 2, 0});
            if (!sheet && shared) b.Raw(1212, {3, 0, 4, 0, 2, 2, 0, 2, 3, 0, 0x1E, 7, 0});
            if (!sheet && !shared) b.Raw(545, {3, 0, 4, 0, 2, 2, 0, 0, 0, 0, 0, 0, 3, 0, 0x1E, 7, 0});
            b.Eof();
        }
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
        EXPECT_EQ(FormulaOf("C4"), "=7");
        CurrentWorkbook()->currentSheet = 1;
        EXPECT_EQ(FormulaOf("C4"), "");
        EXPECT_EQ(Shown("C4"), "1.5");
    }
}

}  // namespace
}  // namespace tally
