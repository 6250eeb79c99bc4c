#include <functional>

#include "fileio/OpenFile.h"
#include "formula/FormulaText.h"
#include "formula/TokenWalk.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BiffBuilder.h"
#include "support/FailingAllocator.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

using Bytes = std::vector<u8>;

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Bytes Zeros(std::size_t count) { return Bytes(count); }
Bytes Word(u32 value) { return {static_cast<u8>(value), static_cast<u8>(value >> 8)}; }
Bytes Long(u32 value) { return Word(value) + Word(value >> 16); }
Bytes Narrow8(const std::string& text) {
    return Word(static_cast<u32>(text.size())) + Bytes{0} + Bytes(text.begin(), text.end());
}
Bytes Utf16(const std::string& text) {
    Bytes out;
    for (char c : text) out = out + Word(static_cast<u8>(c));
    return out;
}

// The records of a worksheet, opened as a book of one sheet.
class SheetRecords : public Sandbox {
  protected:
    using Fill = std::function<void(BiffBuilder&)>;
    static Bytes File(const Fill& body, u8 version = 8, const Fill& globals = {}) {
        BiffBuilder b(version);
        b.Globals({"Data", "Two"}, globals).Bof(16);
        body(b);
        return b.Eof().Bof(16).Eof().File();
    }
    static bool Open(const Fill& body, u8 version = 8, const Fill& globals = {}) {
        return OpenFileFromMemory(u"a.xls", File(body, version, globals), OPEN_SILENT_LINKS);
    }
    static std::string TextOfTokens(const FormulaTokens& tokens, i32 row = 0, i32 column = 0) {
        WideText text;
        EXPECT_TRUE(FormulaToText(CurrentBook(), tokens, row, column, true, text));
        return Narrow(text);
    }
};

TEST_F(SheetRecords, AContinueBehindNothingIsSkipped) {
    ASSERT_TRUE(Open([](BiffBuilder& b) {
        b.Number(0, 0, 1).Raw(60, Zeros(30)).Raw(93, Zeros(26)).Raw(60, Zeros(8)).Number(1, 0, 2);
    }));
    EXPECT_EQ(CurrentSheet()->cells.count, 2u);
}

TEST_F(SheetRecords, FrozenPanesScrollByThePaneRecord) {
    const auto open = [](u32 columns, u32 rows) {
        ResetBooks();
        return Open([&](BiffBuilder& b) {
            b.Record(574, {{8, 2}, {4, 2}, {2, 1}, {0, 5}});
            b.Record(65, {{columns, 2}, {rows, 2}, {20, 2}, {9, 2}, {0, 2}});
        });
    };
    ASSERT_TRUE(open(3, 2));
    const SheetView* view = &CurrentSheet()->view;
    EXPECT_EQ(view->frozenFirstRow, 4);
    EXPECT_EQ(view->frozenFirstColumn, 2);
    EXPECT_EQ(view->splitRow, 6);
    EXPECT_EQ(view->splitColumn, 5);
    EXPECT_EQ(view->firstRow, 20);
    EXPECT_EQ(view->firstColumn, 9);
    ASSERT_TRUE(open(0, 2));
    view = &CurrentSheet()->view;
    EXPECT_EQ(view->frozenFirstColumn, 0);
    EXPECT_EQ(view->splitColumn, 0);
    EXPECT_EQ(view->splitRow, 6);
    ASSERT_TRUE(open(0xFFFF, 0xFFFF));  // held within the sheet
    EXPECT_EQ(CurrentSheet()->view.splitRow, 65535);
    EXPECT_EQ(CurrentSheet()->view.splitColumn, 255);
}

TEST_F(SheetRecords, PageSettings) {
    ASSERT_TRUE(Open([](BiffBuilder& b) {
        b.Raw(20, Narrow8("&Lhead")).Raw(21, {}).Raw(38, DoubleBytes(0.75)).Raw(41, DoubleBytes(1.25));
        b.Raw(42, {1, 0}).Raw(43, {1, 0}).Raw(131, {1, 0}).Raw(129, {0, 1});
        b.Raw(161, {9, 0, 50, 0}).Raw(128, Word(1) + Word(2) + Word(3) + Word(4));
        b.Raw(77, {1, 0, 'm', 'a', 'c'});  // not the form that is kept
        b.Raw(77, {0, 0, 'd', 'e', 'v'}).Raw(60, {'m', 'o', 'r', 'e'}).Raw(77, {0, 0, 'n', 'o'});
    }));
    const PageSettings& page = CurrentSheet()->page;
    EXPECT_EQ(Narrow(page.header), "&Lhead");
    EXPECT_TRUE(page.footer.IsEmpty());
    EXPECT_EQ(page.leftMargin, 0.75);
    EXPECT_EQ(page.rightMargin, 0);
    EXPECT_EQ(page.bottomMargin, 1.25);
    EXPECT_TRUE(page.printHeaders && page.printGridlines && page.centreHorizontally && page.fitToPage);
    EXPECT_FALSE(page.centreVertically);
    ASSERT_EQ(page.setup.Count(), 34u);
    EXPECT_EQ(page.setup[2], 50);
    EXPECT_EQ(page.guts[3], 4);
    EXPECT_EQ(std::string(page.printer.begin(), page.printer.end()), "devmore");
}

TEST_F(SheetRecords, ThePrintersNarrowBlockBecomesWide) {
    Bytes block(156 - 2 + 2);
    block[2] = 'P';
    block[2 + 36] = 148;  // size of the block's own part
    block[2 + 70] = 'F';  // name of the form
    ASSERT_TRUE(Open([&](BiffBuilder& b) { b.Raw(77, block); }, 7));
    const Array<u8>& printer = CurrentSheet()->page.printer;
    ASSERT_EQ(printer.Count(), 154u + 64);
    EXPECT_EQ(printer[0], 'P');
    EXPECT_EQ(ReadU16(printer.Data() + 68), 148 + 64);
    EXPECT_EQ(printer[64 + 38], 'F');
}

TEST_F(SheetRecords, ValidationRules) {
    const Bytes absent = Word(1) + Bytes{0, 0};
    const Bytes area1 = Word(0) + Word(3) + Word(1) + Word(1), area2 = Word(4) + Word(9) + Word(1) + Word(1);
    ASSERT_TRUE(Open([&](BiffBuilder& b) {
        b.Raw(434, Word(0) + Long(11) + Long(22) + Long(7) + Long(1));
        b.Raw(446, Long(1u | 2u << 4 | 1u << 8 | 1u << 19 | 6u << 20) + Narrow8("title") + absent +
                       Narrow8("text") + absent + Word(3) + Word(0) + Bytes{0x1E, 10, 0} + Word(0) + Word(0) +
                       Word(2) + area1 + area2);
    }));
    const Sheet& sheet = *CurrentSheet();
    EXPECT_EQ(sheet.promptX, 11);
    EXPECT_EQ(sheet.promptY, 22);
    EXPECT_EQ(sheet.dropDownId, 7u);
    ASSERT_EQ(sheet.validations.Count(), 1u);
    const ValidationRule& rule = sheet.validations[0];
    EXPECT_EQ(rule.kind, 1u);
    EXPECT_EQ(rule.errorStyle, 2u);
    EXPECT_EQ(rule.comparison, 6u);
    EXPECT_TRUE(rule.ignoreBlank && rule.showError);
    EXPECT_FALSE(rule.literalList || rule.noDropArrow || rule.showInput);
    EXPECT_EQ(Narrow(rule.inputTitle), "title");
    EXPECT_TRUE(rule.errorTitle.IsEmpty());
    EXPECT_EQ(Narrow(rule.inputText), "text");
    EXPECT_EQ(TextOfTokens(rule.formula1), "=10");
    EXPECT_EQ(rule.formula2.length, 0);
    ASSERT_EQ(rule.areas.Count(), 1u);  // the two touch and become one
    EXPECT_EQ(rule.areas[0], (RefArea{0, 9, 1, 1}));
}

TEST_F(SheetRecords, ConditionalFormats) {
    Bytes font(118);
    font[68] = 0x82;  // italic, struck out
    font[72] = 0xBC;
    font[73] = 2;  // 700
    font[80] = 10;
    font[88] = 0x80;  // the strike-out is not modified
    font[96] = 1;     // nor the underline
    const u32 flags = 1u << 26 | 1u << 27 | 1u << 28 | 1u << 29 | 0xE << 10 | 6u << 16;
    const Bytes head = {1, 5};
    const Bytes alignment(8, 0xFF), border = Word(0x4321) + Long(5u | 6u << 7 | 7u << 16 | 8u << 23) + Word(0);
    const Bytes pattern = Word(3 << 10) + Word(12 | 13 << 7);
    ASSERT_TRUE(Open([&](BiffBuilder& b) {
        b.Raw(433, head);  // of no format: ignored
        b.Raw(432, Word(1) + Word(1) + Zeros(8) + Word(1) + Word(2) + Word(5) + Word(0) + Word(3));
        b.Raw(433, head + Word(3) + Word(4) + Long(flags) + Word(0) + font + alignment + border + pattern +
                       Bytes{0x1E, 7, 0} + Bytes{0x17, 1, 0, 'z'});
        for (int i = 0; i < 5; ++i) b.Raw(433, {2, 0});
    }));
    ASSERT_EQ(CurrentSheet()->conditionalFormats.Count(), 1u);
    const ConditionalFormat& format = CurrentSheet()->conditionalFormats[0];
    ASSERT_EQ(format.areas.Count(), 1u);
    EXPECT_EQ(format.areas[0], (RefArea{2, 5, 0, 3}));
    ASSERT_EQ(format.conditions.Count(), 3u);
    const ConditionalCondition& c = format.conditions[0];
    EXPECT_EQ(c.comparison, 5u);
    EXPECT_EQ(TextOfTokens(c.formula1), "=7");
    EXPECT_EQ(TextOfTokens(c.formula2), "=\"z\"");
    EXPECT_TRUE(c.italic.present && c.italic.value && c.bold.present && c.bold.value);
    EXPECT_FALSE(c.strikeout.present || c.underline.present);
    EXPECT_TRUE(c.hasFontColour);
    EXPECT_EQ(c.fontColour, 10);
    EXPECT_TRUE(c.hasBorders && c.leftStyle.present);
    EXPECT_FALSE(c.rightStyle.present || c.topStyle.present || c.bottomStyle.present);
    EXPECT_EQ(c.leftStyle.value, 1);
    EXPECT_EQ(c.bottomStyle.value, 4);
    EXPECT_EQ(c.rightColour, 6);
    EXPECT_EQ(c.bottomColour, 8);
    EXPECT_TRUE(c.hasPattern && c.pattern.present);
    EXPECT_EQ(c.pattern.value, 3);
    EXPECT_EQ(c.patternColour.value, 12);
    EXPECT_EQ(c.backColour.value, 13);
    EXPECT_FALSE(c.patternColour.present || c.backColour.present);
}

TEST_F(SheetRecords, Hyperlinks) {
    const Bytes area = Word(1) + Word(2) + Word(3) + Word(4) + Zeros(16) + Long(2);
    const Bytes described = Long(2) + Utf16("d") + Word(0);
    const std::string url = "http://x";
    const Bytes moniker = Bytes{0xE0} + Zeros(15) + Long(18) + Utf16(url) + Word(0);
    const Bytes place = Long(3) + Utf16("A1") + Word(0);
    const Bytes file = Bytes{3} + Zeros(15) + Word(2) + Long(6) + Bytes{'b', '.', 'x', 'l', 's', 0} +
                       Zeros(24) + Long(4) + Zeros(4);
    ASSERT_TRUE(Open([&](BiffBuilder& b) {
        b.Raw(440, area + Long(1 | 0x14 | 8) + described + moniker + place);
        b.Raw(440, area + Long(1 | 8) + file + place);
        b.Raw(440, area + Long(1 | 0x100) + Long(6) + Utf16("\\\\s\\f") + Word(0));
        b.Raw(440, area + Long(8) + place);
        b.Raw(440, area + Long(1 | 8 | 0x14) + Long(0xFFFFFFFF));  // cut off
    }));
    const Array<Hyperlink>& links = CurrentSheet()->hyperlinks;
    ASSERT_EQ(links.Count(), 5u);
    EXPECT_EQ(links[0].area, (RefArea{1, 2, 3, 4}));
    EXPECT_EQ(links[0].kind, 1);
    const char* expected[][2] = {
        {"http://x", "A1"}, {"..\\..\\b.xls", "A1"}, {"\\\\s\\f", ""}, {"", "A1"}, {"", ""}};
    for (u32 i = 0; i < 5; ++i) {
        EXPECT_EQ(Narrow(links[i].target), expected[i][0]) << i;
        EXPECT_EQ(Narrow(links[i].location), expected[i][1]) << i;
    }
}

TEST_F(SheetRecords, Filters) {
    const Bytes none = Zeros(10);
    ASSERT_TRUE(Open([&](BiffBuilder& b) {
        b.Raw(155, {}).Raw(157, Word(3));
        b.Raw(158, Word(0) + Word(0x0005) + Bytes{6, 2} + Zeros(4) + Bytes{2, 0, 0, 0} + Bytes{2, 4} +
                       Long((12u << 2) | 2) + Zeros(4) + Bytes{0, 'a', 'b'});
        b.Raw(158, Word(1) + Word(0x10 | 0x40 | 501u << 7) + none + none);
        b.Raw(158, Word(2) + Word(4) + Bytes{4, 1} + DoubleBytes(2.5) + none);
        b.Raw(158, Word(3) + Word(0x10));  // of no column
    }));
    EXPECT_EQ(CurrentSheet()->filterState, FILTER_AUTO);
    const Array<FilterColumn>& columns = CurrentSheet()->filterColumns;
    ASSERT_EQ(columns.Count(), 3u);
    EXPECT_TRUE(columns[0].joinOr);
    EXPECT_EQ(Narrow(columns[0].conditions[0].text), "ab");
    EXPECT_EQ(columns[0].conditions[1].kind, 6);  // a number becomes a text
    EXPECT_EQ(Narrow(columns[0].conditions[1].text), "12");
    EXPECT_TRUE(columns[1].top10 && columns[1].percent);
    EXPECT_FALSE(columns[1].top);
    EXPECT_EQ(columns[1].count, 500);
    EXPECT_EQ(Narrow(columns[2].conditions[0].text), "2.5");
}

TEST_F(SheetRecords, RichTextLosesItsRuns) {
    ASSERT_TRUE(Open([](BiffBuilder& b) { b.Raw(214, Zeros(6) + Word(2) + Bytes{'h', 'i', 1, 0, 5}); }, 7));
    EXPECT_EQ(Shown("A1"), "hi");
}

TEST_F(SheetRecords, SharedRowsWrapAtTheSheetsEnd) {
    const Bytes exp = {1, 0, 0, 0, 0};
    ASSERT_TRUE(Open([&](BiffBuilder& b) {
        b.Formula(0, 0, exp, 0, 8);
        // One row up and one column to the left of each cell.
        b.Raw(1212,
              Word(0) + Word(0) + Bytes{0, 0, 0, 1} + Word(5) + Bytes{0x4C} + Word(0xFFFF) + Word(0xC0FF));
    }));
    EXPECT_EQ(FormulaOf("A1"), "=IV65536");
}

TEST_F(SheetRecords, AFormulaWithoutItsSharedRecordKeepsItsValue) {
    ASSERT_TRUE(Open([](BiffBuilder& b) { b.Formula(0, 0, {1, 9, 0, 9, 0}, 5, 8).Number(0, 1, 6); }));
    EXPECT_EQ(Shown("A1"), "5");
    EXPECT_EQ(Shown("B1"), "6");
}

// ---- tokens of the 95 form ------------------------------------------------------------------------

class WidenedTokens : public SheetRecords {
  protected:
    static std::string Widened(const Bytes& tokens, const Bytes& extra = {}, const Fill& globals = {},
                               const Fill& before = {}) {
        ResetBooks();
        const Bytes body = Zeros(20) + Word(static_cast<u32>(tokens.size())) + tokens + extra;
        const auto sheet = [&](BiffBuilder& b) {
            if (before) before(b);
            b.Raw(6, body);
        };
        if (!Open(sheet, 7, globals)) return "not opened";
        return FormulaOf("A1");
    }
};

TEST_F(WidenedTokens, JumpsOfChooseFollowTheirTargets) {
    // =CHOOSE(B1,B2,"x"): three offsets and two jumps over what follows.
    const Bytes tokens = {0x44, 0,    0xC0, 1,  0x19, 4,    2, 0,   6,    0, 14, 0, 21,   0, 0x44, 1, 0xC0,
                          1,    0x19, 8,    10, 0,    0x17, 1, 'x', 0x19, 8, 3,  0, 0x42, 3, 100,  0};
    for (const auto& [index, shown] : {std::pair{1, "7"}, std::pair{2, "x"}}) {
        ResetBooks();
        ASSERT_TRUE(Open(
            [&](BiffBuilder& b) { b.Formula(0, 0, tokens, 0, 2).Number(0, 1, index).Number(1, 1, 7); }, 7));
        EXPECT_EQ(FormulaOf("A1"), "=CHOOSE(B1,B2,\"x\")");
        EXPECT_EQ(Shown("A1"), shown);
    }
}

TEST_F(WidenedTokens, ReferencesBeyondTheSheet) {
    const Bytes own = Word(0xFFFF) + Zeros(8) + Word(1) + Word(1);
    EXPECT_EQ(Widened(Bytes{0x5A} + own + Word(0xC004) + Bytes{2}), "=Two!C5");
    EXPECT_EQ(Widened(Bytes{0x5B} + own + Word(0) + Word(0x4001) + Bytes{0, 1}), "=Two!$A$1:B$2");
    const Fill table = [](BiffBuilder& b) {
        const std::string text = "\x03Two";
        b.Raw(22, Word(1)).Raw(23, Bytes{3, 3} + Bytes(text.begin() + 1, text.end()));
    };
    EXPECT_EQ(
        Widened(Bytes{0x5A} + Word(1) + Zeros(8) + Word(0) + Word(0) + Word(0xC000) + Bytes{0}, {}, {}, table),
        "=Two!A1");
    // The table of the globals is not that of a sheet.
    const Fill other = [](BiffBuilder& b) {
        const std::string text =
            "\x04"
            "Data";
        b.Raw(22, Word(1)).Raw(23, Bytes{4, 3} + Bytes(text.begin() + 1, text.end()));
    };
    EXPECT_EQ(Widened(Bytes{0x5A} + Word(1) + Zeros(8) + Word(0) + Word(0) + Word(0xC000) + Bytes{0}, {}, other,
                      table),
              "=Two!A1");
}

TEST_F(WidenedTokens, AllRowsOfTheOlderFormAreAllRows) {
    EXPECT_EQ(Widened(Bytes{0x25} + Word(0) + Word(0x3FFF) + Bytes{0, 1}), "=$A:$B");
    EXPECT_EQ(Widened(Bytes{0x25} + Word(1) + Word(0x3FFF) + Bytes{0, 1}), "=$A$2:$B$16384");
}

TEST_F(SheetRecords, NamesInFrontOfTheSheetsKeepTheirSheets) {
    // In the older form the names stand before the sheets that they lead to.
    const std::string text = "\x03Two";
    const Bytes token = Bytes{0x3A} + Word(0xFFFF) + Zeros(8) + Word(1) + Word(1) + Word(4) + Bytes{2};
    ASSERT_TRUE(Open([](BiffBuilder& b) { b.Number(0, 0, 1); }, 7,
                     [&](BiffBuilder& b) {
                         b.Raw(22, Word(1)).Raw(23, Bytes{3, 3} + Bytes(text.begin() + 1, text.end()));
                         b.Raw(24, Word(0) + Bytes{0, 1} + Word(static_cast<u32>(token.size())) + Word(1) +
                                       Zeros(6) + Bytes{'n'} + token);
                     }));
    const DefinedName& name = CurrentWorkbook()->names[0];
    EXPECT_EQ(name.sheet, 2);
    WideText shown;
    ASSERT_TRUE(FormulaToText(CurrentBook(), name.tokens, 0, 0, true, shown));
    EXPECT_EQ(Narrow(shown), "=Two!$C$5");
}

TEST_F(SheetRecords, ALongResultGoesOnInContinueRecords) {
    ASSERT_TRUE(Open([](BiffBuilder& b) {
        b.Formula(0, 0, {0x1E, 1, 0}, 0);
        b.Raw(519, Word(5) + Bytes{0, 'a', 'b'})
            .Raw(60, Bytes{1} + Word(0x4E00) + Word('c'))
            .Raw(60, Bytes{0, 'd'});
        b.Number(0, 1, 6);
    }));
    EXPECT_EQ(Narrow(TextOf(CellAtName("A1")->value)), "ab\u4e00cd");
    EXPECT_EQ(Shown("B1"), "6");
}

TEST_F(SheetRecords, TheWideCodePageIsNotThatOfNarrowText) {
    const u16 before = CurrentWorkbook()->codePage;
    ASSERT_TRUE(Open([](BiffBuilder&) {}, 8, [](BiffBuilder& b) { b.Raw(66, Word(1200)); }));
    EXPECT_EQ(CurrentWorkbook()->fileCodePage, 1200);
    EXPECT_EQ(CurrentWorkbook()->codePage, before);
    ASSERT_TRUE(Open([](BiffBuilder&) {}, 8, [](BiffBuilder& b) { b.Raw(66, Word(1251)); }));
    EXPECT_EQ(CurrentWorkbook()->codePage, 1251);
}

TEST_F(SheetRecords, HyperlinksTakeTheWholePathAndPassOverTheFrame) {
    const Bytes file = {3, 3, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};
    ASSERT_TRUE(Open([&](BiffBuilder& b) {
        b.Raw(440, Zeros(8) + Zeros(20) + Long(1 | 0x80) + Long(2) + Word('f') + Word(0) + file + Word(1) +
                       Long(2) + Bytes{'?', 0} + Zeros(24) + Long(6 + 2) + Long(2) + Word(3) + Word(0x4E00));
    }));
    ASSERT_EQ(CurrentSheet()->hyperlinks.Count(), 1u);
    EXPECT_EQ(Narrow(CurrentSheet()->hyperlinks[0].target), "..\\\u4e00");
}

TEST_F(WidenedTokens, ArrayConstants) {
    EXPECT_EQ(
        Widened(Bytes{0x60} + Zeros(7), Bytes{2} + Word(2) + Bytes{1} + DoubleBytes(1) + Bytes{2, 1, 'q'} +
                                            Bytes{4, 1} + Zeros(7) + Bytes{16, 42} + Zeros(7)),
        "={1,\"q\";TRUE,#N/A}");
}

TEST_F(WidenedTokens, TextsGoThroughTheCodePage) {
    const Fill page = [](BiffBuilder& b) { b.Raw(66, Word(1251)); };
    EXPECT_EQ(Widened({0x17, 2, 0xC0, 'b'}, {}, page), "=\"Аb\"");
}

TEST_F(WidenedTokens, NamesShrink) {
    const Fill names = [](BiffBuilder& b) {
        b.Raw(24,
              Bytes{0, 0, 0, 3} + Word(3) + Word(0) + Word(0) + Zeros(4) + Bytes{'n', 'u', 'm', 0x1E, 7, 0});
    };
    EXPECT_EQ(Widened(Bytes{0x43} + Word(1) + Zeros(12) + Bytes{0x1E, 1, 0, 3}, {}, names), "=num+1");
}

TEST_F(WidenedTokens, CutOffTokensEndCleanly) {
    const Bytes whole = Bytes{0x44, 0, 0xC0, 0, 0x19, 4, 200, 0, 6, 0, 0x17, 250, 'x'} + Bytes{0x5A, 0xFF} +
                        Bytes{0x26, 0, 0, 0, 0, 0xFF, 0xFF};
    for (std::size_t n = 1; n <= whole.size(); ++n) {
        ResetBooks();
        const Bytes tokens(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
        EXPECT_TRUE(Open([&](BiffBuilder& b) { b.Formula(0, 0, tokens, 3); }, 7)) << n;
        EXPECT_TRUE(CellAtName("A1")) << n;
    }
}

// ---- bare files -----------------------------------------------------------------------------------

Bytes BareRecord(u32 id, const Bytes& body) { return Word(id) + Word(static_cast<u32>(body.size())) + body; }

// An array formula over A1:A2 in the oldest form.
Bytes BareArray() {
    const auto formula = [](u32 row) {
        return BareRecord(6, Word(row) + Zeros(5) + DoubleBytes(5) + Bytes{0, 4, 1, 0, 0, 0});
    };
    return BareRecord(9, {2, 0, 16, 0}) + formula(0) +
           BareRecord(33, Word(0) + Word(1) + Bytes{0, 0, 0, 3, 0x1E, 5, 0}) + formula(1);
}

TEST_F(SheetRecords, ArraysOfTheOldestForm) {
    ASSERT_TRUE(OpenFileFromMemory(u"old.xls", BareArray(), OPEN_SILENT_LINKS));
    EXPECT_EQ(FormulaOf("A1"), "=5");
    EXPECT_EQ(FormulaOf("A2"), "=5");
    ASSERT_EQ(CurrentSheet()->arrayFormulas.Count(), 1u);
    EXPECT_EQ(CurrentSheet()->arrayFormulas[0].area, (RefArea{0, 1, 0, 0}));
}

TEST_F(SheetRecords, BareFilesOfTheFourthForm) {
    const auto cell = [](u32 row, u32 format) { return Word(row) + Word(0) + Word(format); };
    const Bytes file = BareRecord(1033, {4, 0, 16, 0}) +
                       BareRecord(1054, Word(0) + Bytes{7, 'G', 'e', 'n', 'e', 'r', 'a', 'l'}) +
                       BareRecord(1054, Word(0) + Bytes{4, '0', '.', '0', '0'}) + BareRecord(1091, Zeros(12)) +
                       BareRecord(1091, Bytes{0, 1} + Zeros(10)) +
                       BareRecord(515, cell(0, 1) + DoubleBytes(2)) +
                       BareRecord(516, cell(1, 0) + Word(2) + Bytes{'h', 'i'}) +
                       BareRecord(1030, cell(2, 1) + DoubleBytes(4) + Word(0) + Word(10) +
                                            Bytes{0x44, 0, 0xC0, 0, 0x1E, 2, 0, 5, 0x12, 0x15}) +
                       BareRecord(638, cell(3, 9) + Long((7u << 2) | 2));  // a format beyond the table
    ASSERT_TRUE(OpenFileFromMemory(u"four.xls", file, OPEN_SILENT_LINKS));
    EXPECT_EQ(Shown("A1"), "2.00");
    EXPECT_EQ(Shown("A2"), "hi");
    EXPECT_EQ(FormulaOf("A3"), "=(+A1*2)");
    EXPECT_EQ(Shown("A3"), "4.00");
    EXPECT_EQ(Shown("A4"), "7");
}

// ---- lack of memory -------------------------------------------------------------------------------

// Opens with the n-th allocation failing, for every n; nothing may be left behind.
void OpenWithoutMemory(const Bytes& bytes) {
    ResetBooks();
    bool done = false;
    for (u64 n = 1; !done; ++n) {
        ASSERT_LT(n, 2000u);
        test::FailingAllocator allocator(n);
        {
            QuietMemoryScope quiet;
            IgnoreFailure(OpenFileFromMemory(u"m.xls", bytes, OPEN_SILENT_LINKS));
            ResetBooks();
            Headless().boxes.Clear();
        }
        EXPECT_EQ(allocator.LiveBlocks(), 0u) << n;
        done = !allocator.HasFailed();
    }
}

TEST_F(SheetRecords, NoAllocationFailureBreaksABareFile) { OpenWithoutMemory(BareArray()); }

TEST_F(SheetRecords, NoAllocationFailureBreaksTheRules) {
    const Bytes absent = Word(1) + Bytes{0, 0};
    const Bytes bytes = File([&](BiffBuilder& b) {
        b.Raw(446, Long(1) + Narrow8("t") + absent + absent + absent + Word(3) + Word(0) + Bytes{0x1E, 1, 0} +
                       Word(0) + Word(0) + Word(1) + Zeros(8));
        b.Raw(432, Zeros(12) + Word(1) + Zeros(8))
            .Raw(433, Bytes{2, 0} + Word(3) + Zeros(8) + Bytes{0x1E, 1, 0});
        b.Raw(440, Zeros(28) + Long(8) + Long(2) + Utf16("A") + Word(0));
        b.Raw(157, Word(1))
            .Raw(158, Zeros(4) + Bytes{2, 1} + Zeros(18))
            .Raw(20, Narrow8("h"))
            .Raw(77, Zeros(40));
        b.Formula(0, 0, {1, 0, 0, 0, 0}, 1).Raw(545, Zeros(12) + Word(3) + Bytes{0x1E, 5, 0});
    });
    OpenWithoutMemory(bytes);
}

}  // namespace
}  // namespace tally
