#include <numeric>

#include "fileio/OpenFile.h"
#include "fileio/biff/PrinterBlock.h"
#include "support/BiffBuilder.h"
#include "support/HexBytes.h"
#include "support/Saving.h"

// The printer's block in both forms, and the records of the page that a bit by itself does not show.

namespace tally {
namespace {

constexpr u16 PLS = 77, CONTINUE = 60, HEADER = 20;

// The block of the 95 form: two names of 32 bytes with 38 bytes between them, and the driver's own bytes.
Bytes NarrowBlock(const std::string& device, const std::string& form, u16 size, std::size_t more) {
    Bytes out(32 + 38 + 32 + more);
    std::copy(device.begin(), device.end(), out.begin());
    std::iota(out.begin() + 32, out.begin() + 70, u8{100});
    out[36] = static_cast<u8>(size);
    out[37] = static_cast<u8>(size >> 8);
    std::copy(form.begin(), form.end(), out.begin() + 70);
    std::iota(out.begin() + 102, out.end(), u8{200});
    return out;
}
// The same in the 97 form.
Bytes WideBlock(const std::u16string& device, const std::u16string& form, u16 size, std::size_t more) {
    Bytes out(64 + 38 + 64 + more);
    const auto put = [&](const std::u16string& text, std::size_t at) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            out[at + 2 * i] = static_cast<u8>(text[i]);
            out[at + 2 * i + 1] = static_cast<u8>(text[i] >> 8);
        }
    };
    put(device, 0);
    std::iota(out.begin() + 64, out.begin() + 102, u8{100});
    out[68] = static_cast<u8>(size);
    out[69] = static_cast<u8>(size >> 8);
    put(form, 102);
    std::iota(out.begin() + 166, out.end(), u8{200});
    return out;
}

class PageRecords : public Saving {
  protected:
    static Bytes Widened(u16 page, const Bytes& narrow) {
        Array<u8> out;
        EXPECT_TRUE(WidenPrinter(page, narrow, out));
        return {out.begin(), out.end()};
    }
    static Bytes Narrowed(u16 page, const Bytes& wide) {
        Array<u8> out;
        EXPECT_TRUE(NarrowPrinter(page, wide, out));
        return {out.begin(), out.end()};
    }
    static void SetPrinter(const Bytes& block) {
        Array<u8>& printer = CurrentSheet()->page.printer;
        printer.Truncate(0);
        ASSERT_TRUE(printer.AppendMany(block.data(), block.size()));
    }
    static Bytes Printer() {
        const Array<u8>& printer = CurrentSheet()->page.printer;
        return {printer.begin(), printer.end()};
    }
    static void OpenSheet(u8 form, const std::function<void(BiffBuilder&)>& fill) {
        BiffBuilder b(form);
        b.Globals({"One"}).Bof(16);
        fill(b);
        b.Eof();
        ResetBooks();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
    }
};

TEST_F(PageRecords, APrintersBlockHasItsNamesInTheWidthOfTheForm) {
    struct Row {
        u16 page;
        std::string device, form;
        std::u16string wideDevice, wideForm;
    };
    const Row rows[] = {
        {1252, "Laser", "A4", u"Laser", u"A4"},
        {1252, "", "", u"", u""},
        {1252, std::string(31, 'd'), std::string(31, 'f'), std::u16string(31, u'd'), std::u16string(31, u'f')},
        {1252, "caf\xE9", "\x80", u"caf\u00E9", u"\u20AC"},
        {936, "\xD6\xD0", "\xCE\xC4.", u"\u4E2D", u"\u6587."},
    };
    for (const Row& row : rows) {
        for (const std::size_t more : {std::size_t{0}, std::size_t{7}}) {
            const Bytes narrow = NarrowBlock(row.device, row.form, 156, more);
            const Bytes wide = WideBlock(row.wideDevice, row.wideForm, 220, more);
            EXPECT_EQ(Digits(Widened(row.page, narrow)), Digits(wide)) << row.device;
            EXPECT_EQ(Digits(Narrowed(row.page, wide)), Digits(narrow)) << row.device;
        }
    }
    // A name has a zero at its end, and the size goes round at 16 bits.
    EXPECT_EQ(Digits(Widened(1252, NarrowBlock(std::string(32, 'd'), "A", 0xFFFE, 0))),
              Digits(WideBlock(std::u16string(31, u'd'), u"A", 62, 0)));
    EXPECT_EQ(Digits(Narrowed(1252, WideBlock(std::u16string(32, u'd'), u"A", 62, 0))),
              Digits(NarrowBlock(std::string(31, 'd'), "A", 0xFFFE, 0)));
}

TEST_F(PageRecords, ABlockThatIsCutOffKeepsWhatThereIs) {
    const Bytes whole = NarrowBlock("Laser", "A4", 156, 3);
    const Bytes wide = WideBlock(u"Laser", u"A4", 220, 3);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const Bytes made = Widened(1252, {whole.begin(), whole.begin() + static_cast<i32>(length)});
        // The names are always whole; the fields between them are as many as there are.
        const std::size_t fields = length < 32 ? 0 : std::min<std::size_t>(length - 32, 38);
        ASSERT_EQ(made.size(), 128 + fields + (length > 102 ? length - 102 : 0)) << length;
        if (length > 31) EXPECT_TRUE(std::equal(made.begin(), made.begin() + 64, wide.begin())) << length;
        // The size among them is changed when both of its bytes are there.
        if (fields == 5) EXPECT_EQ(made[68], 156);
        if (fields == 6) EXPECT_EQ(made[68], 220);
    }
    EXPECT_TRUE(IsWholePrinter(Bytes(166)));
    EXPECT_FALSE(IsWholePrinter(Bytes(165)));
}

TEST_F(PageRecords, ThePrintersRecordIsThatOfTheForm) {
    const Bytes narrow = NarrowBlock("Laser", "A4", 156, 9), wide = WideBlock(u"Laser", u"A4", 220, 9);
    for (const u8 form : {u8{8}, u8{7}}) {
        SetPrinter(wide);
        Save(form);
        ASSERT_EQ(Find(PLS).size(), 1u);
        Bytes body = {0, 0};
        const Bytes& block = form == 8 ? wide : narrow;
        body.insert(body.end(), block.begin(), block.end());
        EXPECT_EQ(Digits(Find(PLS)[0].body), Digits(body));
        Reopen();
        EXPECT_EQ(Digits(Printer()), Digits(wide));
    }
    // A block without both names has no form of 1995.
    SetPrinter(Bytes(165, 1));
    Save(7);
    EXPECT_TRUE(Find(PLS).empty());
    Save(8);
    EXPECT_EQ(Find(PLS).size(), 1u);
    SetPrinter(Bytes(166, 1));
    Save(7);
    EXPECT_EQ(Find(PLS).size(), 1u);
    SetPrinter({});
    Save(8);
    EXPECT_TRUE(Find(PLS).empty());
}

TEST_F(PageRecords, TheFirstPrinterOfThisKindOfMachineCountsWithAllThatFollowsIt) {
    OpenSheet(8, [](BiffBuilder& b) {
        b.Raw(PLS, {1, 0, 9, 9}).Raw(PLS, {0, 0, 1, 2}).Raw(CONTINUE, {3}).Raw(CONTINUE, {4, 5});
        b.Raw(PLS, {0, 0, 8, 8});
    });
    EXPECT_EQ(Digits(Printer()), "01 02 03 04 05");
    OpenSheet(7, [](BiffBuilder& b) {
        Bytes body = {0, 0};
        const Bytes block = NarrowBlock("Laser", "A4", 156, 0);
        body.insert(body.end(), block.begin(), block.end());
        b.Raw(PLS, body).Raw(CONTINUE, {7, 8});
    });
    Bytes wide = WideBlock(u"Laser", u"A4", 220, 0);
    wide.insert(wide.end(), {7, 8});
    EXPECT_EQ(Digits(Printer()), Digits(wide));
}

TEST_F(PageRecords, TextsOfThePageHaveTheCountOfTheirForm) {
    PageSettings& page = CurrentSheet()->page;
    ASSERT_TRUE(page.header.Assign(u"&C\u00E9") && page.footer.Assign(u"\u5B57"));
    Save(8);
    EXPECT_EQ(Digits(Find(HEADER)[0].body), "03 00 00 26 43 E9");
    EXPECT_EQ(Digits(Find(HEADER + 1)[0].body), "01 00 01 57 5B");
    ASSERT_TRUE(page.footer.Assign(u""));
    Save(7);
    EXPECT_EQ(Digits(Find(HEADER)[0].body), "03 26 43 E9");
    EXPECT_TRUE(Find(HEADER + 1)[0].body.empty());
    Reopen();
    EXPECT_EQ(CurrentSheet()->page.header.View(), u"&C\u00E9");
    EXPECT_TRUE(CurrentSheet()->page.footer.IsEmpty());
    for (const std::size_t length : {std::size_t{255}, std::size_t{256}}) {
        for (const u8 form : {u8{8}, u8{7}}) {
            ASSERT_TRUE(CurrentSheet()->page.header.Assign(std::u16string(length, u'h')));
            Save(form);
            EXPECT_EQ(losses, length == 255 ? 0u : u32{LOSS_TEXT});
            EXPECT_EQ(Find(HEADER)[0].body.size(), form == 8 ? 258u : 256u);
        }
    }
}

TEST_F(PageRecords, BreaksAreAsManyAsTheFormHolds) {
    struct Row {
        u8 form;
        u32 count;
        u16 last;  // row of the last break
        u32 written;
    };
    for (const Row& row : {Row{8, 0, 0, 0},
                           {8, 1026, 0xFFFF, 1026},
                           {8, 1027, 0xFFFF, 1026},
                           {7, 1026, 0x3FFF, 1026},
                           {7, 1027, 0x3FFF, 1026},
                           {7, 3, 0x4000, 2},
                           {7, 1, 0x4000, 0}}) {
        Array<PageBreak>& breaks = CurrentSheet()->page.rowBreaks;
        breaks.Truncate(0);
        for (u16 i = 0; i < row.count; ++i)
            ASSERT_TRUE(breaks.Append({i + 1u < row.count ? i : row.last, 3, 200}));
        CurrentSheet()->page.columnBreaks.Truncate(0);
        ASSERT_TRUE(CurrentSheet()->page.columnBreaks.Append({7, 1, 0xFFFF}));
        Save(row.form);
        EXPECT_EQ(losses, row.written == row.count ? 0u : u32{LOSS_OUTLINES}) << row.count;
        ASSERT_EQ(Find(27).size(), row.written ? 1u : 0u);
        ASSERT_EQ(Find(26).size(), 1u);
        EXPECT_EQ(Digits(Find(26)[0].body), row.form == 8 ? "01 00 07 00 01 00 FF FF" : "01 00 07 00");
        if (!row.written) continue;
        const WrittenRecord record = Find(27)[0];
        EXPECT_EQ(record.Word(0), row.written);
        EXPECT_EQ(record.body.size(), 2 + row.written * (row.form == 8 ? 6u : 2u));
        if (row.form == 8) EXPECT_EQ(record.Word(4) + record.Word(6) * 1000, 3u + 200 * 1000);
        Reopen();
        const Array<PageBreak>& read = CurrentSheet()->page.rowBreaks;
        ASSERT_EQ(read.Count(), row.written);
        EXPECT_EQ(read[0].last, row.form == 8 ? 200 : 255);
        EXPECT_EQ(read[0].first, row.form == 8 ? 3 : 0);
        EXPECT_EQ(CurrentSheet()->page.columnBreaks[0].last, 0xFFFF);
    }
}

TEST_F(PageRecords, BreaksThatARecordDoesNotHoldAreNotRead) {
    OpenSheet(8, [](BiffBuilder& b) { b.Raw(27, {5, 0, 1, 0, 2, 0, 3, 0, 9, 0, 9, 0, 9}); });
    ASSERT_EQ(CurrentSheet()->page.rowBreaks.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->page.rowBreaks[0].last, 3);
    OpenSheet(7, [](BiffBuilder& b) { b.Raw(27, {5, 0, 1, 0, 2, 0, 3}); });
    EXPECT_EQ(CurrentSheet()->page.rowBreaks.Count(), 2u);
}

TEST_F(PageRecords, ProtectionIsInTheRecordsOfWhatIsProtected) {
    for (u32 bits = 0; bits < 8; ++bits) {
        Sheet& sheet = *CurrentSheet();
        sheet.viewFlags =
            static_cast<u16>(bits & 1 ? sheet.viewFlags | VIEW_PROTECTED : sheet.viewFlags & ~VIEW_PROTECTED);
        sheet.options.protectScenarios = bits & 2 ? 3 : 0;
        sheet.options.protectObjects = bits & 4 ? 5 : 0;
        sheet.passwordHash = 0x1234;
        Save();
        std::string found;
        bool inSheet = false;
        for (const WrittenRecord& record : Records()) {
            inSheet = inSheet || record.id == 523;
            for (const u16 id : {u16{18}, u16{221}, u16{99}, u16{19}})
                if (inSheet && record.id == id)
                    found += std::to_string(id) + ":" + std::to_string(record.Word(0)) + " ";
        }
        EXPECT_EQ(found, std::string(bits & 1 ? "18:1 " : "") + (bits & 2 ? "221:3 " : "") +
                             (bits & 4 ? "99:5 " : "") + (bits & 1 ? "19:4660 " : ""));
    }
}

TEST_F(PageRecords, ASetupOfAnOlderFormIsFilledUp) {
    const Bytes given = {9, 0, 100, 0, 1, 0, 1, 0, 1, 0, 2, 0, 88, 2, 88, 2};
    OpenSheet(8, [&](BiffBuilder& b) { b.Raw(161, given); });
    const Array<u8>& setup = CurrentSheet()->page.setup;
    Bytes expected = given;
    for (const u8 byte : Hex("00 00 00 00 00 00 E0 3F 00 00 00 00 00 00 E0 3F 01 00")) expected.push_back(byte);
    EXPECT_EQ(Digits({setup.begin(), setup.end()}), Digits(expected));
    // A whole one stays, and what is behind it goes.
    Bytes whole(40);
    std::iota(whole.begin(), whole.end(), u8{1});
    OpenSheet(8, [&](BiffBuilder& b) { b.Raw(161, given).Raw(161, whole); });
    const Array<u8>& second = CurrentSheet()->page.setup;
    EXPECT_EQ(Digits({second.begin(), second.end()}), Digits({whole.begin(), whole.begin() + 34}));
}

TEST_F(PageRecords, OnlyMarginsThatAreSetAreWritten) {
    for (u32 bits = 0; bits < 16; ++bits) {
        PageSettings& page = CurrentSheet()->page;
        double* const margins[] = {&page.leftMargin, &page.rightMargin, &page.topMargin, &page.bottomMargin};
        for (u32 i = 0; i < 4; ++i) *margins[i] = bits >> i & 1 ? -0.5 - i : 0;
        Save();
        for (u16 i = 0; i < 4; ++i) {
            const auto records = Find(static_cast<u16>(38 + i));
            ASSERT_EQ(records.size(), bits >> i & 1u);
            if (!records.empty()) EXPECT_EQ(DoubleAt(records[0].body, 0), -0.5 - i);
        }
    }
}

}  // namespace
}  // namespace tally
