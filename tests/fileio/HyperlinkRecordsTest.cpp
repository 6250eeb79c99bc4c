#include "fileio/OpenFile.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// HLINK byte by byte: what is written for each kind of target, and what is read of what other programs write.

namespace tally {
namespace {

constexpr u16 HLINK = 440;
constexpr char STANDARD[] = "D0 C9 EA 79 F9 BA CE 11 8C 82 00 AA 00 4B A9 0B 02 00 00 00 ";
constexpr char URL[] = "E0 C9 EA 79 F9 BA CE 11 8C 82 00 AA 00 4B A9 0B ";
constexpr char FILE_LINK[] = "03 03 00 00 00 00 00 00 C0 00 00 00 00 00 00 46 ";
constexpr char FILLER[] = "FF FF AD DE 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ";

class HyperlinkRecords : public Saving {
  protected:
    static void Link(WideView target, WideView location = {}) {
        Hyperlink* link = CurrentSheet()->hyperlinks.AppendDefault();
        link->area = {0x1234, 0x2345, 0x56, 0x67};
        ASSERT_TRUE(link->target.Assign(target) && link->location.Assign(location));
    }
    // The record of one link without the area and class that they all begin with.
    Bytes Written(WideView target, WideView location = {}) {
        CurrentSheet()->hyperlinks.Truncate(0);
        Link(target, location);
        Save();
        const auto records = Find(HLINK);
        if (records.size() != 1) return {};
        const Bytes& body = records[0].body;
        const Bytes head = Hex(std::string("34 12 45 23 56 00 67 00 ") + STANDARD);
        EXPECT_EQ(Digits({body.begin(), body.begin() + 28}), Digits(head));
        return {body.begin() + 28, body.end()};
    }
    // The link that a record of these bytes, behind the area and class, is read as: target, "|", location.
    static std::string Read(const Bytes& rest) {
        Bytes body = Hex(std::string("02 00 03 00 04 00 05 00 ") + STANDARD);
        body.insert(body.end(), rest.begin(), rest.end());
        BiffBuilder b;
        b.Globals({"One"}).Bof(16).Raw(HLINK, body).Eof();
        ResetBooks();
        if (!OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS)) return "not opened";
        if (CurrentSheet()->hyperlinks.Count() != 1) return "no link";
        const Hyperlink& link = CurrentSheet()->hyperlinks[0];
        EXPECT_EQ(link.area.firstRow, 2);
        EXPECT_EQ(link.area.lastRow, 3);
        EXPECT_EQ(link.area.firstColumn, 4);
        EXPECT_EQ(link.area.lastColumn, 5);
        EXPECT_EQ(link.kind, 1);
        return Narrow(link.target) + "|" + Narrow(link.location);
    }
};

TEST_F(HyperlinkRecords, EachKindOfTargetHasItsBytes) {
    struct Row {
        WideView target, location;
        std::string rest;
    };
    const std::string file = FILE_LINK, filler = FILLER;
    const Row rows[] = {
        {u"", u"", "00 00 00 00"},
        {u"", u"S!A1", "08 00 00 00 05 00 00 00 53 00 21 00 41 00 31 00 00 00"},
        {u"ab:c", u"", std::string("03 00 00 00 ") + URL + "0A 00 00 00 61 00 62 00 3A 00 63 00 00 00"},
        {u"ab:c", u"X",
         std::string("0B 00 00 00 ") + URL +
             "0A 00 00 00 61 00 62 00 3A 00 63 00 00 00 02 00 00 00 58 00 00 00"},
        {u"\\\\a\\b", u"", "03 01 00 00 06 00 00 00 5C 00 5C 00 61 00 5C 00 62 00 00 00"},
        {u"C:\\d", u"",
         "03 00 00 00 " + file + "00 00 05 00 00 00 43 3A 5C 64 00 " + filler +
             "0E 00 00 00 08 00 00 00 03 00 43 00 3A 00 5C 00 64 00"},
        {u"..\\..\\u", u"L",
         "09 00 00 00 " + file + "02 00 02 00 00 00 75 00 " + filler +
             "08 00 00 00 02 00 00 00 03 00 75 00 02 00 00 00 4C 00 00 00"},
        // What the page lacks is a question mark in the one form and whole in the other.
        {u"\u5B57d", u"",
         "01 00 00 00 " + file + "00 00 03 00 00 00 3F 64 00 " + filler +
             "0A 00 00 00 04 00 00 00 03 00 57 5B 64 00"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Digits(Written(row.target, row.location)), Digits(Hex(row.rest))) << Narrow(row.target);
        EXPECT_EQ(losses, 0u);
        Reopen();
        ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
        EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].target), Narrow(row.target));
        EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].location), Narrow(row.location));
    }
}

TEST_F(HyperlinkRecords, DescriptionAndFrameStandInFrontOfTheTargetAndComeBack) {
    const std::string url = std::string(URL) + "0A 00 00 00 61 00 62 00 3A 00 63 00 00 00";
    const std::string text = "03 00 00 00 6E 00 6F 00 00 00 ", frame = "02 00 00 00 66 00 00 00 ";
    const struct {
        WideView description, frame;
        std::string rest;
    } rows[] = {{u"no", u"", "17 00 00 00 " + text + url},
                {u"", u"f", "83 00 00 00 " + frame + url},
                {u"no", u"f", "97 00 00 00 " + text + frame + url}};
    for (const auto& row : rows) {
        CurrentSheet()->hyperlinks.Truncate(0);
        Link(u"ab:c", u"");
        Hyperlink& link = CurrentSheet()->hyperlinks[0];
        ASSERT_TRUE(link.description.Assign(row.description) && link.frame.Assign(row.frame));
        Save();
        const Bytes body = Find(HLINK)[0].body;
        EXPECT_EQ(Digits({body.begin() + 28, body.end()}), Digits(Hex(row.rest)));
        Reopen();
        ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
        EXPECT_EQ(CurrentSheet()->hyperlinks[0].description.View(), row.description);
        EXPECT_EQ(CurrentSheet()->hyperlinks[0].frame.View(), row.frame);
        EXPECT_EQ(CurrentSheet()->hyperlinks[0].target.View(), WideView(u"ab:c"));
    }
}

TEST_F(HyperlinkRecords, ASchemeMakesAnAddressAndADriveAFile) {
    struct Row {
        WideView target;
        u8 flags, moniker;  // and the first byte behind the flags
    };
    for (const Row& row : {Row{u"http://x", 3, 0xE0},
                           {u"a1+-.z:x", 3, 0xE0},
                           {u"ab:", 3, 0xE0},
                           {u"ab", 1, 3},
                           {u"ab/c:d", 1, 3},
                           {u"1a:x", 1, 3},
                           {u"+a:x", 1, 3},
                           {u"a_b:x", 1, 3},
                           {u"a:x", 3, 3},
                           {u"a:", 3, 3},
                           {u"a", 1, 3},
                           {u":", 1, 3},
                           {u":ab", 1, 3},
                           {u"\\a", 1, 3},
                           {u"a\\\\b", 1, 3}}) {
        const Bytes rest = Written(row.target);
        ASSERT_GT(rest.size(), 4u);
        EXPECT_EQ(rest[0], row.flags) << Narrow(row.target);
        EXPECT_EQ(rest[4], row.moniker) << Narrow(row.target);
        Reopen();
        EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].target), Narrow(row.target));
    }
}

TEST_F(HyperlinkRecords, LevelsUpAreCountedAsFarAsTheCountGoes) {
    std::u16string path;
    for (int i = 0; i < 260; ++i) path += u"..\\";
    const Bytes rest = Written(path + u"x");
    ASSERT_GT(rest.size(), 26u);
    EXPECT_EQ(rest[20], 255);
    EXPECT_EQ(rest[21], 0);
    EXPECT_EQ(rest[22], 5 * 3 + 1 + 1);
    Reopen();
    EXPECT_EQ(CurrentSheet()->hyperlinks[0].target.View(), path + u"x");
}

TEST_F(HyperlinkRecords, ALinkThatNoRecordHoldsIsLeftOutAndNamed) {
    // 32 bytes, those of the address's class and length, and two for each character and the zero.
    const std::size_t most = (8224 - 32 - 20) / 2 - 1;
    for (const std::size_t length : {most, most + 1, std::size_t{40000}}) {
        CurrentSheet()->hyperlinks.Truncate(0);
        Link(u"ab:" + std::u16string(length - 3, u'x'));
        Link(u"c");
        Save();
        EXPECT_EQ(losses, length == most ? 0u : u32{LOSS_HYPERLINKS}) << length;
        ASSERT_EQ(Find(HLINK).size(), length == most ? 2u : 1u) << length;
        EXPECT_EQ(Find(HLINK).back().body[28], 1);
    }
}

TEST_F(HyperlinkRecords, DescriptionAndFrameAreReadInFrontOfTheTarget) {
    const std::string url = std::string(URL) + "06 00 00 00 68 00 69 00 00 00 ";
    const std::string text = "03 00 00 00 6E 00 6F 00 00 00 ", frame = "02 00 00 00 66 00 00 00 ";
    const std::string place = "02 00 00 00 41 00 00 00";
    const struct {
        std::string rest;
        const char* link;
    } rows[] = {
        {"03 00 00 00 " + url, "hi|"},
        {"0B 00 00 00 " + url + place, "hi|A"},
        {"17 00 00 00 " + text + url, "hi|"},
        {"13 00 00 00 " + text + url, "hi|"},
        {"07 00 00 00 " + text + url, "hi|"},
        {"1F 00 00 00 " + text + url + place, "hi|A"},
        {"83 00 00 00 " + frame + url, "hi|"},
        {"9F 00 00 00 " + text + frame + url + place, "hi|A"},
        {"9C 00 00 00 " + text + frame + place, "|A"},
        {"00 00 00 00 " + url, "|"},
    };
    for (const auto& row : rows) EXPECT_EQ(Read(Hex(row.rest)), row.link) << row.rest;
}

TEST_F(HyperlinkRecords, TargetsOfOtherProgramsAreRead) {
    const std::string file = FILE_LINK, filler = FILLER;
    const struct {
        std::string rest;
        const char* link;
    } rows[] = {
        // A path that stands in the code page alone, with levels up and a place behind it.
        {"09 00 00 00 " + file + "02 00 03 00 00 00 64 E9 00 " + filler + "00 00 00 00 02 00 00 00 42 00 00 00",
         "..\\..\\d\xC3\xA9|B"},
        // The form in 16 bits counts where there is one.
        {"09 00 00 00 " + file + "00 00 02 00 00 00 3F 00 " + filler +
             "08 00 00 00 02 00 00 00 03 00 57 5B 02 00 00 00 42 00 00 00",
         "\xE5\xAD\x97|B"},
        // An address with more behind its zero, inside the count.
        {std::string("0B 00 00 00 ") + URL +
             "0A 00 00 00 68 00 69 00 00 00 99 99 99 99 02 00 00 00 42 00 00 00",
         "hi|B"},
        {"0B 01 00 00 03 00 00 00 5C 00 5C 00 00 00 02 00 00 00 42 00 00 00", "\\\\|B"},
        // Cut off.
        {std::string("03 00 00 00 ") + URL + "FF FF FF FF 68 00", "h|"},
        {"03 01 00 00 FF FF FF 7F 68 00", "h|"},
        {"01 00 00 00 " + file + "00 00 FF FF FF FF 64 65", "de|"},
        {"08 00 00 00 FF FF FF FF 42 00", "|B"},
        {"03 00 00 00", "|"},
    };
    for (const auto& row : rows) EXPECT_EQ(Read(Hex(row.rest)), row.link) << row.rest;
}

TEST_F(HyperlinkRecords, NoMoreThan256LevelsUpAreRead) {
    const std::string filler = FILLER;
    const std::string link = Read(
        Hex(std::string("01 00 00 00 ") + FILE_LINK + "2C 01 02 00 00 00 64 00 " + filler + "00 00 00 00"));
    EXPECT_EQ(link.size(), 256u * 3 + 2);
}

}  // namespace
}  // namespace tally
