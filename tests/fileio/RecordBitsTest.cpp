#include <algorithm>
#include <iterator>

#include "fileio/OpenFile.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// Records that come back as they were: each bit of them that a book keeps, one at a time.

namespace tally {
namespace {

constexpr u16 XF = 224, FONT = 49, PANE = 65, WINDOW2 = 574, CONDFMT = 432, CF = 433, AUTOFILTERINFO = 157,
              AUTOFILTER = 158, STYLE = 659;

struct Row {
    u8 form;
    u16 id;
    const char* body;
    const char* kept;  // the bits that come back
};

class RecordBits : public Saving {
  protected:
    static bool IsOfGlobals(u16 id) {
        constexpr u16 ids[] = {14, 34, 49, 61, 64, 140, 141, 156, 218, 224, 352, 431, 439, 444, 659};
        return std::find(std::begin(ids), std::end(ids), id) != std::end(ids);
    }
    static Bytes FormatRecord(u8 form, bool ofStyle) {
        Bytes out(form == 8 ? 20 : 16);
        out[4] = ofStyle ? 0xF5 : 1;
        if (ofStyle) out[5] = 0xFF;
        out[6] = 0x20;
        return out;
    }
    // A book of one sheet in which the record stands, with those that it needs.
    static Bytes FileOf(const Row& row, const Bytes& body) {
        BiffBuilder b(row.form);
        b.Globals({"One"}, [&](BiffBuilder& globals) {
            if (row.id == FONT)
                for (int i = 0; i < 4; ++i) globals.Raw(FONT, Hex(row.body));
            if (row.id == XF || row.id == STYLE)
                for (int i = 0; i < 16; ++i) globals.Raw(XF, FormatRecord(row.form, i < 15));
            if (IsOfGlobals(row.id)) globals.Raw(row.id, body);
        });
        b.Bof(16).Number(0, 0, 1);
        if (row.id == PANE) b.Raw(WINDOW2, Hex("BE 06 00 00 00 00 40 00 00 00 00 00 00 00 00 00 00 00"));
        if (row.id == CF)
            b.Raw(CONDFMT, Hex("01 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 00 00"));
        if (row.id == AUTOFILTER) b.Raw(AUTOFILTERINFO, {9, 0});
        if (!IsOfGlobals(row.id)) b.Raw(row.id, body);
        return b.Eof().File();
    }
    // What a save makes of it.
    Bytes Back(const Row& row, const Bytes& body) {
        ResetBooks();
        EXPECT_TRUE(OpenFileFromMemory(u"a.xls", FileOf(row, body), OPEN_SILENT_LINKS));
        Save(row.form);
        const std::size_t place = row.id == FONT ? 4 : row.id == XF ? 16 : 0;
        const bool own = !IsOfGlobals(row.id);
        std::size_t found = 0;
        bool globals = true;
        for (const WrittenRecord& record : Records()) {
            if (record.id == 10) globals = false;
            if (record.id == row.id && globals != own && found++ == place) return record.body;
        }
        return {};
    }
};

TEST_F(RecordBits, EachThatABookKeepsComesBack) {
    const Row rows[] = {
        // The number of the form, the record, its bytes and those bits.
        {8, 14, "01 00", "01 80"},
        {7, 14, "01 00", "01 80"},
        {8, 34, "01 00", "01 00"},
        {7, 34, "01 00", "01 00"},
        {8, 64, "01 00", "01 80"},
        {7, 64, "01 00", "01 80"},
        {8, 141, "01 00", "01 80"},
        {7, 141, "01 00", "01 80"},
        {8, 218, "01 00", "01 80"},
        {7, 218, "01 00", "01 80"},
        {8, 352, "01 00", "01 80"},
        {8, 431, "01 00", "01 80"},
        {8, 439, "01 00", "01 80"},
        {8, 444, "01 00", "01 80"},
        {7, 156, "0E 00", "01 80"},
        {8, 140, "01 00 01 00", "FF FF FF FF"},
        {7, 140, "01 00 01 00", "FF FF FF FF"},
        {8, 61, "68 01 0E 01 5C 3A BE 23 38 00 00 00 00 00 01 00 58 02",
         "FF FF FF FF FF FF FF FF FF FF 00 00 00 00 00 00 FF FF"},
        {7, 61, "68 01 0E 01 5C 3A BE 23 38 00 00 00 00 00 01 00 58 02",
         "FF FF FF FF FF FF FF FF FF FF 00 00 00 00 00 00 FF FF"},
        {8, 49, "C8 00 00 00 FF 7F 90 01 00 00 00 00 00 00 01 00 41",
         "FF FF FF FF FF FF FF FF FF 00 FF FF FF 00 00 00 FF"},
        {7, 49, "C8 00 00 00 FF 7F 90 01 00 00 00 00 00 00 01 41",
         "FF FF FF FF FF FF FF FF FF 00 FF FF FF 00 00 FF"},
        {8, 224, "00 00 00 00 01 00 20 00 00 00 00 00 00 00 00 00 00 00 C0 20",
         "03 00 1F 00 FB 00 7F FF FF FC FF FF FF FF FF FF FF FD 40 20"},
        {7, 224, "00 00 00 00 01 00 20 00 C0 20 00 00 00 00 00 00",
         "03 00 1F 00 FB 00 7F FF 40 20 FF FF FF FF FF 3F"},
        {8, 659, "00 80 03 FF", "0F 00 FF FF"},
        {7, 659, "00 80 03 FF", "0F 00 FF FF"},
        {8, 659, "01 00 02 00 00 41 42", "0F 00 00 00 00 FF FF"},
        {7, 659, "01 00 02 41 42", "0F 00 00 FF FF"},
        {8, 13, "01 00", "01 80"},
        // Fills and borders in colours of the palette.
        {8, 224, "00 00 02 00 01 00 20 00 00 00 11 11 08 04 08 04 20 08 88 04",
         "00 00 00 00 00 00 00 00 00 00 77 77 07 03 07 03 00 08 07 03"},
        {7, 224, "00 00 02 00 01 00 20 00 88 04 42 10 49 10 08 04",
         "00 00 00 00 00 00 00 00 07 03 02 0E B6 0E 07 03"},
        {7, 13, "01 00", "01 80"},
        {8, 12, "64 00", "01 80"},
        {7, 12, "64 00", "01 80"},
        {8, 15, "01 00", "01 80"},
        {7, 15, "01 00", "01 80"},
        {8, 17, "01 00", "01 80"},
        {7, 17, "01 00", "01 80"},
        {8, 16, "FC A9 F1 D2 4D 62 50 3F", "01 80 01 80 01 80 01 80"},
        {7, 16, "FC A9 F1 D2 4D 62 50 3F", "01 80 01 80 01 80 01 80"},
        {8, 95, "01 00", "01 80"},
        {7, 95, "01 00", "01 80"},
        {8, 42, "01 00", "01 00"},
        {7, 42, "01 00", "01 00"},
        {8, 43, "01 00", "01 00"},
        {7, 43, "01 00", "01 00"},
        {8, 130, "01 00", "01 00"},
        {7, 130, "01 00", "01 00"},
        {8, 131, "01 00", "01 00"},
        {7, 131, "01 00", "01 00"},
        {8, 132, "01 00", "01 00"},
        {7, 132, "01 00", "01 00"},
        {8, 128, "00 00 00 00 00 00 00 00", "01 80 01 80 01 80 01 80"},
        {7, 128, "00 00 00 00 00 00 00 00", "01 80 01 80 01 80 01 80"},
        {8, 129, "C1 04", "FF FF"},
        {7, 129, "C1 04", "FF FF"},
        {8, 549, "01 00 FF 00", "01 00 FF FF"},
        {7, 549, "01 00 FF 00", "01 00 FF FF"},
        {8, 38, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {7, 38, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {8, 39, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {7, 39, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {8, 40, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {7, 40, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {8, 41, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {7, 41, "00 00 00 00 00 00 E8 3F", "01 80 01 80 01 80 01 80"},
        {8, 161,
         "09 00 64 00 01 00 01 00 01 00 02 00 58 02 58 02 00 00 00 00 00 00 E0 3F 00 00 00 00 00 00 E0 3F 01 "
         "00",
         "01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 "
         "80"},
        {7, 161,
         "09 00 64 00 01 00 01 00 01 00 02 00 58 02 58 02 00 00 00 00 00 00 E0 3F 00 00 00 00 00 00 E0 3F 01 "
         "00",
         "01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 80 01 "
         "80"},
        {8, 99, "01 00", "02 80"},
        {7, 99, "01 00", "02 80"},
        {8, 221, "01 00", "02 80"},
        {7, 221, "01 00", "02 80"},
        {8, 85, "08 00", "FF 00"},
        {7, 85, "08 00", "FF 00"},
        {8, 153, "24 09", "01 80"},
        {7, 153, "24 09", "01 80"},
        {8, 520, "00 00 00 00 01 00 FF 00 00 00 00 00 00 01 00 00",
         "00 00 00 00 00 00 FF 7F 00 00 00 00 F7 00 00 70"},
        {7, 520, "00 00 00 00 01 00 FF 00 00 00 00 00 00 01 00 00",
         "00 00 00 00 00 00 FF 7F 00 00 00 00 F7 00 00 70"},
        {8, 125, "02 00 03 00 00 08 0F 00 00 00 00 00", "03 00 FD 00 FF FF 0F 00 07 17 00 00"},
        {7, 125, "02 00 03 00 00 08 0F 00 00 00 00 00", "03 00 FD 00 FF FF 0F 00 07 17 00 00"},
        {8, 574, "B6 06 00 00 00 00 40 00 00 00 00 00 00 00 00 00 00 00",
         "F7 08 FF FF FF 00 FF FF 00 00 FF FF FF FF 00 00 00 00"},
        {7, 574, "B6 06 00 00 00 00 00 00 00 00", "F7 08 FF 3F FF 00 FF FF FF FF"},
        {8, 65, "02 00 03 00 05 00 04 00 00 00", "FD 00 FF FF FF FF FF 00 00 00"},
        {7, 65, "02 00 03 00 05 00 04 00 00 00", "FD 00 FF 3F FF 3F FF 00 00 00"},
        {8, 29, "03 01 00 01 00 00 00 01 00 01 00 02 00 01 02", "00 FF FF FF 00 00 00 00 00 FF FF FF FF FF FF"},
        {7, 29, "03 01 00 01 00 00 00 01 00 01 00 02 00 01 02", "00 FF 3F FF 00 00 00 00 00 FF 3F FF 3F FF FF"},
        {8, 160, "03 00 04 00", "0E 00 11 00"},
        {7, 160, "03 00 04 00", "0E 00 11 00"},
        {8, 229, "01 00 01 00 02 00 03 00 04 00", "00 00 FF FF FF FF FF 00 FF 00"},
        {8, 2146, "62 08 00 00 00 00 00 00 00 00 00 00 14 00 00 00 0D 00 00 00",
         "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 FF 00 00 00"},
        {8, 26, "01 00 03 00 00 00 FF FF", "00 00 FF FF FF FF FF FF"},
        {8, 27, "01 00 03 00 00 00 FF 00", "00 00 FF FF FF FF FF FF"},
        {7, 26, "01 00 03 00", "00 00 FF 3F"},
        {7, 27, "01 00 03 00", "00 00 FF 3F"},
        {8, 432, "00 00 01 00 01 00 02 00 03 00 04 00 01 00 01 00 02 00 03 00 04 00",
         "00 00 FF FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
        {8, 434, "00 00 0B 00 00 00 16 00 00 00 07 00 00 00 00 00 00 00",
         "00 00 FF FF FF FF FF FF FF FF FF FF FF FF 00 00 00 00"},
        {8, 446,
         "02 01 08 00 01 00 00 54 01 00 00 00 01 00 00 54 01 00 00 00 03 00 00 00 1E 0A 00 03 00 00 00 1E 0B "
         "00 01 00 01 00 02 00 03 00 04 00",
         "FF 03 FC 00 00 00 00 FF 00 00 00 FF 00 00 00 FF 00 00 00 FF 00 00 00 00 FF FF FF 00 00 00 00 FF FF "
         "FF 00 00 FF FF FF FF FF 00 FF 00"},
        {8, 158, "03 00 01 00 06 04 00 00 00 00 02 00 00 00 06 03 00 00 00 00 01 00 00 00 00 61 62 00 63",
         "07 00 41 00 00 FF 00 00 00 00 00 00 00 00 00 FE 00 00 00 00 00 00 00 00 00 FF FF 00 FF"},
        {7, 158, "03 00 01 00 06 04 00 00 00 00 02 00 00 00 06 03 00 00 00 00 01 00 00 00 61 62 63",
         "07 00 41 00 00 FF 00 00 00 00 00 00 00 00 00 FE 00 00 00 00 00 00 00 00 FF FF FF"},
        {8, 157, "03 00", "01 00"},
        {7, 157, "03 00", "01 00"},
        {8, 440,
         "01 00 02 00 03 00 04 00 D0 C9 EA 79 F9 BA CE 11 8C 82 00 AA 00 4B A9 0B 02 00 00 00 08 00 00 00 03 "
         "00 00 00 41 00 31 00 00 00",
         "FF FF FF FF FF 00 FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
         "00 00 00 FF FF FF FF 00 00"},
        {8, 433,
         "01 05 03 00 03 00 FF C3 38 34 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
         "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
         "00 00 00 00 00 00 00 00 00 00 FF FF FF FF 00 00 00 00 90 01 00 00 00 00 00 00 0A 00 00 00 00 00 00 "
         "00 18 00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 00 21 43 "
         "05 03 07 04 00 00 00 0C 8C 06 1E 07 00 1E 08 00",
         "FF FF 00 00 00 00 00 3C 07 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
         "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
         "00 00 00 00 00 00 00 00 00 00 00 00 00 00 82 00 00 00 00 00 00 00 FF 00 00 00 FF FF 00 00 00 00 00 "
         "00 82 00 00 00 00 00 00 00 01 00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 FF FF "
         "FF 3F FF 3F 00 00 00 FC FF 3F FF FF FF FF FF FF"},
    };
    for (const Row& row : rows) {
        const Bytes body = Hex(row.body), kept = Hex(row.kept);
        ASSERT_EQ(body.size(), kept.size()) << row.id;
        ASSERT_EQ(Digits(Back(row, body)), row.body) << row.id << " of form " << int{row.form};
        for (std::size_t i = 0; i < body.size() * 8; ++i) {
            if (!(kept[i / 8] >> i % 8 & 1)) continue;
            Bytes changed = body;
            changed[i / 8] = static_cast<u8>(changed[i / 8] ^ 1u << i % 8);
            EXPECT_EQ(Digits(Back(row, changed)), Digits(changed)) << row.id << " of form " << int{row.form};
        }
    }
}

}  // namespace
}  // namespace tally
