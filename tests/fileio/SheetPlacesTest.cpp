#include "fileio/OpenFile.h"
#include "model/CellStore.h"
#include "support/BiffBuilder.h"
#include "support/Sandbox.h"

// Which substream is which sheet, and what of a stream is a sheet's own.

namespace tally {
namespace {

class SheetPlaces : public Sandbox {
  protected:
    static bool Open(const std::vector<u8>& bytes) {
        return OpenFileFromMemory(u"a.xls", bytes, OPEN_SILENT_LINKS);
    }
    // What A1 of each sheet shows, "-" for nothing.
    static std::string FirstCells() {
        std::string out;
        for (u32 i = 0; i < CurrentWorkbook()->sheets.Count(); ++i) {
            CurrentWorkbook()->currentSheet = static_cast<i32>(i);
            const std::string shown = CellAtName("A1") ? Shown("A1") : "-";
            out += (i ? " " : "") + shown;
        }
        return out;
    }
};

// A BOUNDSHEET whose position is filled in later; returns where.
u32 BoundSheet(BiffBuilder& b, char name) {
    b.Raw(133, {0, 0, 0, 0, 0, 0, 1, 0, static_cast<u8>(name)});
    return StreamOffset(b.writer) - 9;
}

void SheetOf(BiffBuilder& b, double number) { b.Bof(16).Number(0, 0, number).Eof(); }

TEST_F(SheetPlaces, ThePositionInTheListTellsWhichSubstreamIsWhichSheet) {
    for (const bool told : {true, false}) {
        ResetBooks();
        BiffBuilder b;
        b.Bof(5);
        const u32 first = BoundSheet(b, 'A'), second = BoundSheet(b, 'B'), third = BoundSheet(b, 'C');
        b.Eof();
        const auto begin = [&](u32 place) {
            if (told) PatchU32(b.writer, StreamOffset(b.writer), place);
        };
        begin(third);
        SheetOf(b, 3);
        begin(first);
        SheetOf(b, 1);
        begin(second);
        SheetOf(b, 2);
        ASSERT_TRUE(Open(b.File()));
        // Without positions the sheets come as they stand.
        EXPECT_EQ(FirstCells(), told ? "1 2 3" : "3 1 2");
    }
}

TEST_F(SheetPlaces, ASubstreamThatTheListDoesNotLeadToIsNoSheet) {
    BiffBuilder b;
    b.Bof(5);
    const u32 first = BoundSheet(b, 'A'), second = BoundSheet(b, 'B');
    b.Eof();
    SheetOf(b, 9);  // left over
    PatchU32(b.writer, StreamOffset(b.writer), second);
    SheetOf(b, 2);
    PatchU32(b.writer, StreamOffset(b.writer), first);
    SheetOf(b, 1);
    ASSERT_TRUE(Open(b.File()));
    EXPECT_EQ(FirstCells(), "1 2");
}

TEST_F(SheetPlaces, APositionThatLeadsNowhereLeavesTheOrderOfTheFile) {
    BiffBuilder b;
    b.Bof(5);
    const u32 first = BoundSheet(b, 'A'), second = BoundSheet(b, 'B'), third = BoundSheet(b, 'C');
    b.Eof();
    PatchU32(b.writer, 77, first);
    PatchU32(b.writer, 0xFFFFFFFF, third);
    SheetOf(b, 1);
    PatchU32(b.writer, StreamOffset(b.writer), second);
    SheetOf(b, 2);
    SheetOf(b, 3);
    ASSERT_TRUE(Open(b.File()));
    EXPECT_EQ(FirstCells(), "1 2 3");
}

TEST_F(SheetPlaces, TwoEntriesOfOnePositionAreOneSheetAndAnEmptyOne) {
    BiffBuilder b;
    b.Bof(5);
    const u32 first = BoundSheet(b, 'A'), second = BoundSheet(b, 'B');
    b.Eof();
    PatchU32(b.writer, StreamOffset(b.writer), first);
    PatchU32(b.writer, StreamOffset(b.writer), second);
    SheetOf(b, 1);
    SheetOf(b, 2);
    ASSERT_TRUE(Open(b.File()));
    EXPECT_EQ(FirstCells(), "1 -");
}

TEST_F(SheetPlaces, RecordsOfACustomViewAreNotTheSheets) {
    BiffBuilder b;
    b.Globals({"Data"}).Bof(16).Record(160, {{1, 2}, {2, 2}}).Raw(20, {2, 0, 0, 'o', 'k'});
    b.Record(426, {{0, 50}}).Record(160, {{3, 2}, {1, 2}}).Raw(20, {3, 0, 0, 'b', 'a', 'd'});
    b.Record(427, {{1, 2}}).Number(0, 0, 7);
    // An unfinished one ends with the sheet.
    b.Record(426, {{0, 50}}).Number(0, 1, 8).Eof();
    ASSERT_TRUE(Open(b.File()));
    EXPECT_EQ(CurrentSheet()->zoomPercent, 50);
    EXPECT_EQ(Narrow(CurrentSheet()->page.header), "ok");
    EXPECT_EQ(Shown("A1"), "7");
    EXPECT_EQ(CellAtName("B1"), nullptr);
}

// ---- shared strings -----------------------------------------------------------------------------------

// The texts of a string table that is cut into records of at most `room` bytes; where characters go on in
// the next record, an option byte stands ahead of them.
struct TableCutter {
    std::vector<std::vector<u8>> records{{}};
    std::size_t room;
    explicit TableCutter(std::size_t room) : room(room) {}
    void Put(const std::vector<u8>& bytes) {
        for (u8 byte : bytes) {
            if (records.back().size() == room) records.push_back({});
            records.back().push_back(byte);
        }
    }
    // A string whose header stays in one record, as the published form has it.
    void String(const std::string& text, std::size_t runs, std::size_t phonetic) {
        std::vector<u8> head = {static_cast<u8>(text.size()), static_cast<u8>(text.size() >> 8),
                                static_cast<u8>((runs ? 8 : 0) | (phonetic ? 4 : 0))};
        if (runs) head.insert(head.end(), {static_cast<u8>(runs), 0});
        if (phonetic)
            head.insert(head.end(), {static_cast<u8>(phonetic), static_cast<u8>(phonetic >> 8), 0, 0});
        if (records.back().size() + head.size() >= room) records.push_back({});
        Put(head);
        for (char c : text) {
            if (records.back().size() == room) records.push_back({0});
            records.back().push_back(static_cast<u8>(c));
        }
        Put(std::vector<u8>(runs * 4 + phonetic, 'p'));
    }
};

TEST_F(SheetPlaces, SharedStringsComeWholeWhereverTheirRecordsEnd) {
    struct Text {
        std::string text;
        std::size_t runs, phonetic;
    };
    const Text texts[] = {{"plain", 0, 0},   {"runs", 3, 0},   {"", 0, 0},
                          {"spoken", 0, 70}, {"both", 2, 150}, {"long and longer", 0, 0},
                          {"", 1, 40},       {"last", 0, 0}};
    for (std::size_t room = 20; room < 120; ++room) {
        ResetBooks();
        TableCutter table(room);
        table.Put({8, 0, 0, 0, 8, 0, 0, 0});
        for (const Text& row : texts) table.String(row.text, row.runs, row.phonetic);
        BiffBuilder b;
        b.Globals({"Data"}, [&](BiffBuilder& globals) {
            for (std::size_t i = 0; i < table.records.size(); ++i)
                globals.Raw(i ? u16{60} : u16{252}, table.records[i]);
        });
        b.Bof(16);
        for (u32 i = 0; i < std::size(texts); ++i) b.Record(253, {{i, 2}, {0, 2}, {0, 2}, {i, 4}});
        ASSERT_TRUE(Open(b.Eof().File()));
        for (u32 i = 0; i < std::size(texts); ++i)
            EXPECT_EQ(Shown("A" + std::to_string(i + 1)), texts[i].text) << room;
    }
}

}  // namespace
}  // namespace tally
