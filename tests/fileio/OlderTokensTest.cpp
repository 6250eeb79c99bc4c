#include <string>
#include <vector>

#include "fileio/OpenFile.h"
#include "model/CellStore.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// The token strings of the older forms, byte by byte: as they stand in a file, in memory, and in a saved file.

namespace tally {
namespace {

Bytes Joined(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts) out.insert(out.end(), part.begin(), part.end());
    return out;
}

Bytes Word(std::size_t value) { return {static_cast<u8>(value), static_cast<u8>(value >> 8)}; }

// Tokens, then "|" and what stands behind them.
std::string Parts(const Bytes& all, std::size_t length) {
    const auto cut = all.begin() + static_cast<std::ptrdiff_t>(std::min(length, all.size()));
    const Bytes extra(cut, all.end());
    return Digits(Bytes(all.begin(), cut)) + (extra.empty() ? "" : " | " + Digits(extra));
}

std::string InMemory(const FormulaTokens& tokens) {
    return Parts(Bytes(tokens.bytes, tokens.bytes + tokens.length + tokens.extraLength), tokens.length);
}

class OlderTokens : public Saving {
  protected:
    // The two halves of "tokens | extra", as a file has them behind the length of the first.
    static Bytes Counted(const std::string& text, bool shortLength = false) {
        const std::size_t cut = std::min(text.find('|'), text.size());
        const Bytes tokens = Hex(text.substr(0, cut));
        Bytes length = Word(tokens.size());
        if (shortLength) length.pop_back();
        return Joined({length, tokens, cut < text.size() ? Hex(text.substr(cut + 1)) : Bytes()});
    }
    static Bytes NameRecord(u8 form, const std::string& tokens) {
        const Bytes counted = Counted(tokens);
        Bytes body =
            Joined({{0, 0, 0, 1, counted[0], counted[1]}, Bytes(8), form == 8 ? Bytes{0} : Bytes(), {'n'}});
        body.insert(body.end(), counted.begin() + 2, counted.end());
        return body;
    }
    // A book whose A1 is of those tokens, with the result 3, and whose one name is of those.
    static void Open(u8 form, const std::string& cell, const std::string& name = "1E 05 00") {
        ResetBooks();
        BiffBuilder b(form);
        b.Globals({"One"}, [&](BiffBuilder& globals) { globals.Raw(24, NameRecord(form, name)); });
        b.Bof(16).Raw(6, Joined({Bytes(6), DoubleBytes(3), Bytes(6), Counted(cell)})).Eof();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS)) << cell;
    }
    // The same of a bare file of the second, third or fourth form.
    static void OpenBare(int version, const std::string& cell) {
        ResetBooks();
        const bool two = version == 2;
        BiffBuilder b(7);
        b.Raw(two ? 9 : version == 3 ? 521 : 1033, {static_cast<u8>(version), 0, 16, 0, 0, 0});
        b.Raw(two ? 24 : 536, Joined({{0, 0, 0, 1}, two ? Bytes{3} : Bytes{3, 0}, {'n', 0x1E, 5, 0}}));
        const Bytes head = two ? Bytes(7) : Bytes(6);
        b.Raw(two            ? 6
              : version == 3 ? 518
                             : 1030,
              Joined({head, DoubleBytes(3), two ? Bytes(1) : Bytes(2), Counted(cell, two)}));
        ASSERT_TRUE(OpenFileFromMemory(u"old.xls", b.Stream(), OPEN_SILENT_LINKS)) << cell;
    }
    static std::string CellInMemory() {
        const CellRecord* cell = CellAtName("A1");
        return cell && cell->formula ? InMemory(cell->formula->tokens) : "no formula";
    }
    std::string CellInFile() {
        const auto records = Find(6);
        if (records.empty()) return "no formula";
        const Bytes& body = records[0].body;
        return Parts(Bytes(body.begin() + 22, body.end()), records[0].Word(20));
    }
    std::string NameInFile(u8 form) {
        const auto records = Find(24);
        if (records.empty()) return "no name";
        const Bytes& body = records[0].body;
        return Parts(Bytes(body.begin() + (form == 8 ? 16 : 15), body.end()), records[0].Word(4));
    }
};

struct Pair {
    const char* old;
    const char* wide;
};

TEST_F(OlderTokens, TokensOfCellsGrowAndShrinkAgain) {
    constexpr Pair rows[] = {
        {"1C 2A", "1C 2A"},
        {"1D 01 1E 34 12 03", "1D 01 1E 34 12 03"},
        {"1F 00 00 00 00 00 00 F8 3F", "1F 00 00 00 00 00 00 F8 3F"},
        // References: rows of 14 bits with two flags, in each of the kinds.
        {"44 02 C0 03", "44 02 00 03 C0"},
        {"24 02 40 03", "24 02 00 03 40"},
        {"64 FF BF FF", "64 FF 3F FF 80"},
        {"4A 02 C0 03", "4A 02 00 03 C0"},
        {"25 01 00 FF 3F 00 01", "25 01 00 FF 3F 00 00 01 00"},
        {"25 00 40 FE BF 02 FF", "25 00 00 FE 3F 02 40 FF 80"},
        {"25 00 C0 FF FF 00 01", "25 00 00 FF FF 00 C0 01 C0"},
        {"2B 02 80 04 40 03 05", "2B 02 00 04 00 03 80 05 40"},
        // Sizes of what stands behind.
        {"29 04 00 44 02 C0 03", "29 05 00 44 02 00 03 C0"},
        {"49 08 00 44 02 C0 03 44 03 C0 03 10", "49 0A 00 44 02 00 03 C0 44 03 00 03 C0 10"},
        {"27 2A 00 00 00 04 00 44 02 C0 03", "27 2A 00 00 00 05 00 44 02 00 03 C0"},
        {"28 00 00 00 00 04 00 44 02 C0 03", "28 00 00 00 00 05 00 44 02 00 03 C0"},
        // Texts, the second one with a character that takes two bytes.
        {"17 02 41 E9", "17 02 00 41 E9"},
        {"17 02 41 80 15", "17 02 01 41 00 AC 20 15"},
        {"17 00", "17 00 00"},
        // Attributes and their jumps.
        {"44 00 C0 00 19 10 00 00", "44 00 00 00 C0 19 10 00 00"},
        {"19 40 00 02 1E 05 00", "19 40 00 02 1E 05 00"},
        {"44 00 C0 00 19 02 08 00 44 01 C0 00 19 08 0B 00 17 02 6E 6F 19 08 03 00 42 03 01 00",
         "44 00 00 00 C0 19 02 09 00 44 01 00 00 C0 19 08 0C 00 17 02 00 6E 6F 19 08 03 00 42 03 01 00"},
        {"44 00 C0 01 19 04 02 00 06 00 0E 00 15 00 44 01 C0 01 19 08 0A 00 17 01 78 19 08 03 00 42 03 64 00",
         "44 00 00 01 C0 19 04 02 00 06 00 0F 00 17 00 44 01 00 01 C0 19 08 0B 00 17 01 00 78 19 08 03 00 42 "
         "03 "
         "64 00"},
        {"1E 05 00 41 18 00", "1E 05 00 41 18 00"},
        {"1E 05 00 1E 06 00 42 02 04 00", "1E 05 00 1E 06 00 42 02 04 00"},
        {"43 01 00 00 00 00 00 00 00 00 00 00 00 00 00", "43 01 00 00 00"},
        // An array: its counts are whole in the older form and one less in the newer.
        {"60 00 00 00 00 00 00 00 | 02 01 00 01 00 00 00 00 00 00 F8 3F 02 02 61 E9",
         "60 00 00 00 00 00 00 00 | 01 00 00 01 00 00 00 00 00 00 F8 3F 02 02 00 01 61 00 E9 00"},
        {"60 00 00 00 00 00 00 00 | 01 02 00 04 01 00 00 00 00 00 00 00 10 2A 00 00 00 00 00 00 00",
         "60 00 00 00 00 00 00 00 | 00 01 00 04 01 00 00 00 00 00 00 00 10 2A 00 00 00 00 00 00 00"},
    };
    for (const Pair& row : rows) {
        Open(7, row.old);
        EXPECT_EQ(CellInMemory(), row.wide);
        Save(7);
        EXPECT_EQ(CellInFile(), row.old);
        EXPECT_EQ(losses, 0u) << row.old;
    }
}

TEST_F(OlderTokens, AListOfAreasGrowsInFrontOfAnArray) {
    constexpr Pair rows[] = {
        {"26 00 00 00 00 04 00 44 02 C0 03 | 02 00 02 00 03 00 04 05 06 00 07 00 08 FF",
         "26 00 00 00 00 05 00 44 02 00 03 C0 | 02 00 02 00 03 00 04 00 05 00 06 00 07 00 08 00 FF 00"},
        {"26 00 00 00 00 04 00 44 02 C0 03 60 00 00 00 00 00 00 00 03 | 01 00 02 00 03 00 04 05 01 01 00 02 01 "
         "61",
         "26 00 00 00 00 05 00 44 02 00 03 C0 60 00 00 00 00 00 00 00 03 | 01 00 02 00 03 00 04 00 05 00 00 00 "
         "00 "
         "02 01 00 01 61 00"},
        {"60 00 00 00 00 00 00 00 60 00 00 00 00 00 00 00 03 | 01 01 00 02 01 61 01 01 00 02 01 62",
         "60 00 00 00 00 00 00 00 60 00 00 00 00 00 00 00 03 | 00 00 00 02 01 00 01 61 00 00 00 00 02 01 00 01 "
         "62 "
         "00"},
        // A list that the record cuts off ends with its last whole area.
        {"26 00 00 00 00 04 00 44 02 C0 03 | 02 00 02 00 03 00 04 05 06 00 07 00 08",
         "26 00 00 00 00 05 00 44 02 00 03 C0 | 01 00 02 00 03 00 04 00 05 00"},
    };
    for (const Pair& row : rows) {
        Open(7, row.old);
        EXPECT_EQ(CellInMemory(), row.wide);
    }
}

TEST_F(OlderTokens, MarksOfOtherSheetsArePassedOver) {
    constexpr Pair rows[] = {{"02 05 00 03 00", "02 05 00 03 00"},
                             {"1A 01 02 03 04 05 06 07 08 09 0A 1E 05 00", "1E 05 00"},
                             {"1E 05 00 1B 01 02 03 04 1E 06 00 03", "1E 05 00 1E 06 00 03"}};
    for (const Pair& row : rows) {
        Open(7, row.old);
        EXPECT_EQ(CellInMemory(), row.wide);
    }
}

TEST_F(OlderTokens, RelativeRowsOfNamesAreDistancesOfTheWholeSheet) {
    constexpr Pair rows[] = {
        {"44 FF FF FF", "44 FF FF FF C0"},
        {"44 FF 7F 02", "44 FF 3F 02 40"},  // the column alone is relative
        {"44 00 A0 02", "44 00 E0 02 80"},
        {"44 FF 9F 02", "44 FF 1F 02 80"},
        {"4C FF FF FF", "4C FF FF FF C0"},
        {"25 00 00 FF BF 00 01", "25 00 00 FF FF 00 00 01 80"},
        {"25 00 00 FF 3F 00 01", "25 00 00 FF FF 00 00 01 00"},
        {"4D FE FF 01 C0 FF 01", "4D FE FF 01 00 FF C0 01 C0"},
    };
    for (const Pair& row : rows) {
        Open(7, "1E 01 00", row.old);
        EXPECT_EQ(InMemory(CurrentWorkbook()->names[0].tokens), row.wide);
        Save(7);
        EXPECT_EQ(NameInFile(7), row.old);
    }
}

TEST_F(OlderTokens, TheOldestFormsHaveShorterTokens) {
    struct Row {
        int version;
        const char* old;
        const char* wide;
    };
    constexpr Row rows[] = {
        {2, "02 05 00 03", "02 05 00 03 00"},
        {3, "02 05 00 03 01", "02 05 00 03 01"},
        {4, "02 05 00 03 01", "02 05 00 03 01"},
        {2, "1A 01 02 03 04 05 06 07 1E 05 00", "1E 05 00"},
        {3, "1A 01 02 03 04 05 06 07 08 09 0A 1E 05 00", "1E 05 00"},
        {2, "1B 01 02 03 1E 05 00", "1E 05 00"},
        {4, "1B 01 02 03 04 1E 05 00", "1E 05 00"},
        {2, "1E 05 00 41 18", "1E 05 00 41 18 00"},
        {3, "1E 05 00 41 18", "1E 05 00 41 18 00"},
        {4, "1E 05 00 41 18 00", "1E 05 00 41 18 00"},
        {2, "1E 05 00 42 01 04", "1E 05 00 42 01 04 00"},
        {3, "1E 05 00 42 01 04", "1E 05 00 42 01 04 00"},
        {4, "1E 05 00 42 01 04 01", "1E 05 00 42 01 04 01"},
        {2, "58 01 05", "42 01 05 80"},
        {3, "58 01 05", "42 01 05 80"},
        {2, "43 01 00 00 00 00 00 00 15", "43 01 00 00 00 15"},
        {3, "43 01 00 00 00 00 00 00 00 00 00 15", "43 01 00 00 00 15"},
        {4, "43 01 00 00 00 00 00 00 00 00 00 15", "43 01 00 00 00 15"},
        {2, "44 02 C0 03 15", "44 02 00 03 C0 15"},
        {4, "25 01 40 05 80 03 04 15", "25 01 00 05 00 03 40 04 80 15"},
        {2, "27 2A 00 00 04 44 02 C0 03", "27 2A 00 00 00 05 00 44 02 00 03 C0"},
        {3, "27 2A 00 00 00 04 00 44 02 C0 03", "27 2A 00 00 00 05 00 44 02 00 03 C0"},
        {2, "28 00 00 00 04 44 02 C0 03", "28 00 00 00 00 05 00 44 02 00 03 C0"},
        {2, "29 04 44 02 C0 03", "29 05 00 44 02 00 03 C0"},
        {4, "29 04 00 44 02 C0 03", "29 05 00 44 02 00 03 C0"},
        {2, "2E 04 44 02 C0 03", "2E 05 00 44 02 00 03 C0"},
        {3, "2F 04 00 44 02 C0 03", "2F 05 00 44 02 00 03 C0"},
        {2, "19 40 05 1E 05 00", "19 40 05 00 1E 05 00"},
        // An IF and a CHOOSE, whose jumps are bytes in the oldest form.
        {2, "44 00 C0 00 19 02 07 44 01 C0 00 19 08 08 17 01 6E 19 08 02 42 03 01",
         "44 00 00 00 C0 19 02 09 00 44 01 00 00 C0 19 08 0B 00 17 01 00 6E 19 08 03 00 42 03 01 00"},
        {2, "44 00 C0 01 19 04 02 03 0A 10 44 01 C0 01 19 08 08 17 01 78 19 08 02 42 03 64",
         "44 00 00 01 C0 19 04 02 00 06 00 0F 00 17 00 44 01 00 01 C0 19 08 0B 00 17 01 00 78 19 08 03 00 42 "
         "03 "
         "64 00"},
        {2, "60 00 00 00 00 00 00 15 | 01 01 00 02 01 61",
         "60 00 00 00 00 00 00 00 15 | 00 00 00 02 01 00 01 61 00"},
        {3, "60 00 00 00 00 00 00 00 15 | 01 01 00 02 01 61",
         "60 00 00 00 00 00 00 00 15 | 00 00 00 02 01 00 01 61 00"},
    };
    for (const Row& row : rows) {
        OpenBare(row.version, row.old);
        EXPECT_EQ(CellInMemory(), row.wide) << row.version;
    }
}

TEST_F(OlderTokens, WhatLiesBehindTheLastRowIsDeletedOrCut) {
    constexpr Pair rows[] = {
        {"44 00 40 03 C0", "4A 00 C0 03"},
        {"44 FF 3F 03 C0", "44 FF FF 03"},
        {"4A 00 40 03 00", "4A 00 00 03"},
        {"25 05 00 00 40 00 00 01 00", "25 05 00 FF 3F 00 01"},
        {"65 00 40 01 40 00 00 01 00", "6B 00 00 FF 3F 00 01"},
        {"2B 00 40 01 40 00 00 01 00", "2B 00 00 FF 3F 00 01"},
        {"3A 00 00 00 40 02 00", "3C FF FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02"},
        {"3B 00 00 02 00 00 40 02 00 03 00", "3B FF FF 00 00 00 00 00 00 00 00 00 00 00 00 02 00 FF 3F 02 03"},
        {"3B 00 00 00 40 00 40 02 00 03 00", "3D FF FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 FF 3F 02 03"},
        {"3D 00 00 00 40 00 40 02 00 03 00", "3D FF FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 FF 3F 02 03"},
    };
    for (const Pair& row : rows) {
        Open(8, row.old);
        Workbook& book = *CurrentWorkbook();
        book.externBooks.Clear();
        book.externBooks.AppendDefault()->kind = EXTERN_SELF;
        ASSERT_TRUE(book.externSheets.Append({0, 0, 0}));
        Save(7);
        EXPECT_EQ(CellInFile(), row.wide) << row.old;
    }
}

TEST_F(OlderTokens, FormulasThatTheFormLacksAreTheirValues) {
    struct Row {
        const char* tokens;
        bool lost;
    };
    constexpr Row rows[] = {
        {"1E 01 00 41 65 01", false},  // the last function of the older form, and the one behind it
        {"1E 01 00 41 66 01", true},    {"1E 01 00 42 01 65 01", false},
        {"1E 01 00 42 01 66 01", true}, {"1E 01 00 42 01 66 81", false},  // a command has numbers of its own
        {"43 01 00 00 00", false},      {"43 00 00 00 00", true},
        {"43 02 00 00 00", true},        // there is one name
        {"39 00 00 01 00 00 00", true},  // no link of that number
        {"3A 05 00 00 00 02 00", true},
    };
    for (const Row& row : rows) {
        Open(8, row.tokens);
        Save(7);
        EXPECT_EQ(CellInFile() == "1C 2A", row.lost) << row.tokens;
        EXPECT_EQ(losses, row.lost ? u32{LOSS_FORMULAS} : 0u) << row.tokens;
        Reopen();
        EXPECT_EQ(CellAtName("A1")->value.number, 3) << row.tokens;
    }
}

TEST_F(OlderTokens, AListOfAreasIsWorkedOutAnew) {
    // The list stands in front of an array, whose block comes behind that of the list.
    Open(8,
         "26 00 00 00 00 05 00 44 02 00 03 C0 60 00 00 00 00 00 00 00 03 | "
         "02 00 02 00 02 00 03 00 03 00 04 00 04 00 05 00 05 00 00 00 00 01 00 00 00 00 00 00 F8 3F");
    Save(7);
    EXPECT_EQ(CellInFile(),
              "29 04 00 44 02 C0 03 60 00 00 00 00 00 00 00 03 | 01 01 00 01 00 00 00 00 00 00 F8 3F");
}

}  // namespace
}  // namespace tally
