#include <algorithm>

#include "fileio/OpenFile.h"
#include "fileio/biff/NarrowText.h"
#include "formula/Links.h"
#include "model/CellStore.h"
#include "model/DefaultFormats.h"
#include "model/Formats.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/BiffBuilder.h"
#include "support/RecordLint.h"
#include "support/Saving.h"

// What a form has room for: lengths of records and texts, and the letters of a code page.

namespace tally {
namespace {

class FormBounds : public Saving {
  protected:
    std::string Lint(u8 form) {
        Save(form);
        return LintText(LintWorkbook(Stream(), form));
    }
    static void NameSheet(i32 index, std::u16string_view name) {
        Sheet& sheet = *CurrentWorkbook()->sheets[static_cast<u32>(index)];
        std::fill(std::begin(sheet.name), std::end(sheet.name), u'\0');
        std::copy(name.begin(), name.end(), sheet.name);
    }
    static std::string SheetNames() {
        std::string out;
        for (const Sheet* sheet : CurrentWorkbook()->sheets) out += Narrow(WideView(sheet->name)) + "|";
        return out;
    }
    std::size_t Longest() const {
        std::size_t longest = 0;
        for (const WrittenRecord& record : Records()) longest = std::max(longest, record.body.size());
        return longest;
    }
};

TEST_F(FormBounds, NoRecordIsLongerThanItsFormHasRoomFor) {
    Sheet& sheet = *CurrentSheet();
    ASSERT_TRUE(sheet.page.printer.Resize(20000));
    sheet.page.printer[68] = 220;
    PutText(0, 0, std::u16string(40000, u'x'));
    PutText(1, 0, std::u16string(40000, u'\u6f22'));
    ASSERT_TRUE(sheet.page.header.Assign(std::u16string(300, u'h')));
    // A formula with a constant of 70 rows of 30 numbers behind it.
    std::string constant = "=SUM({";
    for (int row = 0; row < 70; ++row) {
        constant += row ? ";" : "";
        for (int column = 0; column < 30; ++column)
            constant += (column ? "," : "") + std::to_string(row + column);
    }
    Enter("B1", constant + "})");
    Enter("B2", "=\"" + std::string(250, 'y') + "\"&A1");
    for (u8 form : {u8{8}, u8{7}}) {
        EXPECT_EQ(Lint(form), "");
        EXPECT_LE(Longest(), form == 8 ? 8224u : 2080u);
        EXPECT_TRUE(losses & LOSS_TEXT);
        EXPECT_TRUE(losses & LOSS_FORMULAS);
        EXPECT_EQ(Find(20)[0].body.size(), form == 8 ? 3u + 255 : 1u + 255);
        const auto printer = Find(77);
        ASSERT_EQ(printer.size(), 1u);
        EXPECT_EQ(printer[0].body.size(), form == 8 ? 8224u : 2080u);
    }
    Save(8);
    Reopen();
    EXPECT_EQ(CellAtName("A1")->value.text->length, 32767u);
    EXPECT_EQ(CellAtName("A2")->value.text->length, 32767u);
    EXPECT_EQ(FormulaOf("B1"), "=#N/A");
    EXPECT_EQ(CurrentSheet()->page.printer.Count(), 20000u);
}

TEST_F(FormBounds, AFormulaThatFillsItsRecordIsKept) {
    for (const int rows : {68, 69, 70, 71, 72, 73, 74, 75, 76}) {
        // Numbers of 9 bytes behind 22 bytes and the tokens; the bound lies between two of these.
        std::string formula = "=SUM({";
        for (int row = 0; row < rows; ++row) {
            formula += row ? ";" : "";
            for (int column = 0; column < 12; ++column) formula += (column ? ",1" : "1");
        }
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        Enter("A1", formula + "})");
        const FormulaTokens& tokens = CellAtName("A1")->formula->tokens;
        const bool fits = 22u + tokens.length + tokens.extraLength <= 8224;
        Save(8);
        EXPECT_EQ(losses & LOSS_FORMULAS, fits ? 0u : u32{LOSS_FORMULAS}) << rows;
        EXPECT_LE(Longest(), 8224u);
    }
}

TEST_F(FormBounds, ThereAreAtLeastSixteenFormatsOfFontsThatThereAre) {
    Workbook& book = *CurrentWorkbook();
    book.cellFormats.Truncate(3);
    book.fonts.Truncate(1);
    book.cellFormats[2].font = 9;  // there is none of that number
    book.styles.Truncate(0);
    ASSERT_TRUE(book.styles.Resize(2));
    book.styles[0].xf = STYLE_BUILT_IN | 2;
    book.styles[1].xf = STYLE_BUILT_IN | 3;  // of a format that there is not
    book.styles[1].builtInId = 3;
    for (u8 form : {u8{8}, u8{7}}) {
        EXPECT_EQ(Lint(form), "");
        EXPECT_EQ(Find(224).size(), 16u);
        EXPECT_EQ(Find(49).size(), 1u);
        EXPECT_EQ(Find(224)[2].Word(0), 0u);
        EXPECT_EQ(Find(659).size(), 1u);
    }
}

TEST_F(FormBounds, MergedAreasAreWrittenInOrderAndNoneTouchesAnother) {
    Array<RefArea>& merges = CurrentSheet()->mergedAreas;
    constexpr RefArea given[] = {{8, 9, 0, 1}, {0, 3, 4, 5}, {0, 3, 0, 1}, {3, 4, 1, 2},
                                 {3, 4, 2, 3}, {5, 5, 5, 5}, {4, 4, 0, 1}, {2, 6, 5, 6}};
    for (const RefArea& area : given) ASSERT_TRUE(merges.Append(area));
    EXPECT_EQ(Lint(8), "");
    EXPECT_EQ(losses, u32{LOSS_MERGES});
    ASSERT_EQ(Find(229).size(), 1u);
    const WrittenRecord record = Find(229)[0];
    std::string written;
    for (std::size_t at = 2; at < record.body.size(); at += 8)
        for (std::size_t i = 0; i < 8; i += 2)
            written += std::to_string(record.Word(at + i)) + (i < 6 ? " " : ";");
    EXPECT_EQ(record.Word(0), 5u);
    EXPECT_EQ(written, "0 3 0 1;0 3 4 5;3 4 2 3;4 4 0 1;8 9 0 1;");
    // Those that do not touch are all kept, whatever their order.
    merges.Truncate(0);
    for (u16 i = 0; i < 3000; ++i)
        ASSERT_TRUE(merges.Append(
            {static_cast<u16>((i * 7919) % 3000 * 2), static_cast<u16>((i * 7919) % 3000 * 2 + 1), 3, 4}));
    EXPECT_EQ(Lint(8), "");
    EXPECT_EQ(losses, 0u);
    EXPECT_EQ(Find(229).size(), 3u);
}

TEST_F(FormBounds, ARuleOfManyAreasIsSeveralOfFew) {
    ValidationRule* rule = CurrentSheet()->validations.AppendDefault();
    rule->kind = 3;
    ASSERT_TRUE(rule->inputText.Assign(std::u16string(255, u'\u6f22')));
    ASSERT_TRUE(rule->errorText.Assign(std::u16string(255, u'\u5b57')));
    for (u16 i = 0; i < 1000; ++i)
        ASSERT_TRUE(rule->areas.Append({static_cast<u16>(i * 2), static_cast<u16>(i * 2), 3, 3}));
    EXPECT_EQ(Lint(8), "");
    EXPECT_EQ(losses, 0u);
    EXPECT_EQ(Find(446).size(), 3u);
    EXPECT_EQ(Find(434)[0].Long(14), 3u);
    Reopen();
    u32 areas = 0;
    for (const ValidationRule& read : CurrentSheet()->validations) areas += read.areas.Count();
    EXPECT_EQ(areas, 1000u);
}

TEST_F(FormBounds, ALongListOfALinkedBooksSheetsGoesOn) {
    ExternBook* linked = CurrentWorkbook()->externBooks.AppendDefault();
    ASSERT_TRUE(linked->path.Assign(u"\u0001other.xls"));
    for (int i = 0; i < 1200; ++i) {
        WideText name;
        ASSERT_TRUE(name.Assign(Wide("Sheet number " + std::to_string(i) + (i % 3 ? "" : "\xE5\xAD\x97"))));
        ASSERT_TRUE(linked->sheetNames.Append(std::move(name)));
    }
    ASSERT_TRUE(CurrentWorkbook()->externSheets.Append({0, 1199, 1199}));
    EXPECT_EQ(Lint(8), "");
    EXPECT_EQ(losses, 0u);
    Reopen();
    const ExternBook& read = CurrentWorkbook()->externBooks[0];
    ASSERT_EQ(read.sheetNames.Count(), 1200u);
    EXPECT_EQ(Narrow(read.sheetNames[1198]), "Sheet number 1198");
    EXPECT_EQ(Narrow(read.sheetNames[1197]), "Sheet number 1197\xE5\xAD\x97");
}

// ---- the user's name ------------------------------------------------------------------------------------

TEST_F(FormBounds, TheUsersNameGoesBackAsItWasRead) {
    struct Row {
        u8 form;
        std::vector<u8> body;
    };
    std::vector<u8> wide = {2, 0, 1, 0x22, 0x6F, 'A', 0}, narrow = {3, 0, 0, 'A', 'n', 0xE9},
                    old = {4, 'A', 'n', 'n', 0xE9};
    for (std::vector<u8>* body : {&wide, &narrow}) body->resize(112, ' ');
    wide[111] = 'x';  // what stands behind the name is kept, too
    old.resize(32, ' ');
    for (const Row& row : {Row{8, wide}, {8, narrow}, {7, old}}) {
        ResetBooks();
        BiffBuilder b(row.form);
        b.Globals({"A"}, [&](BiffBuilder& g) { g.Raw(92, row.body); }).Bof(16).Eof();
        ASSERT_TRUE(OpenFileFromMemory(u"a.xls", b.File(), OPEN_SILENT_LINKS));
        Save(row.form);
        ASSERT_EQ(Find(92).size(), 1u);
        EXPECT_EQ(Find(92)[0].body, row.body);
        // In the other form it is the same name.
        const u8 other = row.form == 8 ? 7 : 8;
        EXPECT_EQ(Lint(other), "");
        const std::vector<u8> body = Find(92)[0].body;
        std::vector<u8> expected;
        if (row.body == narrow) expected = {3, 'A', 'n', 0xE9};
        if (row.body == wide) expected = {2, '?', 'A'};
        if (row.body == old) expected = {4, 0, 0, 'A', 'n', 'n', 0xE9};
        expected.resize(other == 8 ? 112 : 32, ' ');
        EXPECT_EQ(body, expected);
    }
}

// ---- code pages -----------------------------------------------------------------------------------------

TEST_F(FormBounds, NamesThatThePageLacksStayDistinct) {
    NameSheet(0, u"\u6f22\u00f1");  // no page has both
    AddSheet(u"\u5b57\u00f1");
    AddSheet(u"__");
    AddSheet(u"_\u00f1");
    AddSheet(std::u16string(31, u'\u5b57'));
    AddSheet(std::u16string(30, u'\u5b57') + u"\u6f22");
    CurrentWorkbook()->currentSheet = 0;
    DefineName("\xE6\xBC\xA2", "=1");
    DefineName("\xE5\xAD\x97", "=2");
    DefineName("\xE5\xAD\x97", "=3", 2);
    DefineName("x\xE6\xBC\xA2", "=4");
    Enter("A1", "=\xE6\xBC\xA2+\xE5\xAD\x97*10");
    Enter("A2", "='\xE5\xAD\x97\xC3\xB1'!A1+__!B2");
    EXPECT_EQ(Lint(7), "");
    EXPECT_EQ(losses, u32{LOSS_CHARACTERS});
    EXPECT_EQ(CurrentWorkbook()->codePage, 1252);
    Reopen();
    EXPECT_EQ(SheetNames(), "_\xC3\xB1_2|_\xC3\xB1_3|__|_\xC3\xB1|" + std::string(31, '_') + "|" +
                                std::string(19, '_') + "_2|");
    EXPECT_EQ(FormulaOf("A1"), "=_+__2*10");
    EXPECT_EQ(FormulaOf("A2"), "=_\xC3\xB1_3!A1+__!B2");
    EXPECT_EQ(Shown("A1"), "21");
    const Array<DefinedName>& names = CurrentWorkbook()->names;
    ASSERT_EQ(names.Count(), 4u);
    EXPECT_EQ(Narrow(names[2].text), "_");
    EXPECT_EQ(names[2].sheet, 2);
    EXPECT_EQ(Narrow(names[3].text), "x_");
}

TEST_F(FormBounds, ABookHasAPageThatHoldsItsLetters) {
    struct Row {
        std::u16string text;
        u16 own, page;
        bool lost;
    };
    // The book's own page where that will do; else the one that lacks nothing.
    for (const Row& row : {Row{u"plain", 1252, 1252, false},
                           {u"\u00e9", 1252, 1252, false},
                           {u"\u041f", 1252, 1251, false},
                           {u"\u0105\u0119", 1252, 1250, false},
                           {u"\u03b1\u03ac", 1252, 1253, false},
                           {u"\u0e01", 1252, 874, false},
                           {u"\u3042\u3044", 1252, 932, false},
                           {u"\u7b80\u4f53", 1252, 936, false},
                           {u"\uac00", 1252, 949, false},
                           {u"\u3042", 936, 936, false},
                           {u"\u0e01\u6f22", 1252, 1252, true}}) {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        CurrentWorkbook()->codePage = CurrentWorkbook()->fileCodePage = row.own;
        PutText(0, 0, row.text);
        EXPECT_EQ(ChooseCodePage(*CurrentWorkbook()), row.page) << Narrow(row.text);
        Save(7);
        EXPECT_EQ(Find(66)[0].Word(0), row.page);
        EXPECT_EQ(losses, row.lost ? u32{LOSS_CHARACTERS} : 0u);
        Reopen();
        if (!row.lost) EXPECT_EQ(Shown("A1"), Narrow(row.text));
    }
}

TEST_F(FormBounds, ABookThatNamesNoPageHasTheOneThatLacksLeast) {
    CurrentWorkbook()->fileCodePage = 1200;
    PutText(0, 0, u"\u0e01\u6f22\u5b57\u56fd");
    EXPECT_EQ(ChooseCodePage(*CurrentWorkbook()), 932);
    PutText(0, 1, u"\u0e02\u0e03\u0e04\u0e05");
    EXPECT_EQ(ChooseCodePage(*CurrentWorkbook()), 874);
}

TEST_F(FormBounds, LettersOfEveryPlaceCount) {
    const auto page = [] { return ChooseCodePage(*CurrentWorkbook()); };
    const auto anew = [] {
        ResetBooks();
        EXPECT_TRUE(CreateWorkbook(nullptr, false));
    };
    NameSheet(0, u"\u041f");
    EXPECT_EQ(page(), 1251);
    anew();
    ASSERT_TRUE(CurrentSheet()->page.header.Assign(u"\u041f"));
    EXPECT_EQ(page(), 1251);
    anew();
    ASSERT_TRUE(CurrentSheet()->page.footer.Assign(u"\u041f"));
    EXPECT_EQ(page(), 1251);
    anew();
    Enter("A1", "=LEN(\"\xD0\x9F\")");
    EXPECT_EQ(page(), 1251);
    anew();
    DefineName("n", "=\"\xD0\x9F\"");
    EXPECT_EQ(page(), 1251);
    anew();
    DefineName("\xD0\x9F", "=1");
    EXPECT_EQ(page(), 1251);
    anew();
    u16 id = 0;
    ASSERT_TRUE(FindOrAddNumberFormat(*CurrentWorkbook(), u"0\"\u041f\"", id));
    EXPECT_EQ(page(), 1251);
    anew();
    CurrentWorkbook()->fonts[0].faceName[0] = u'\u041f';
    EXPECT_EQ(page(), 1251);
    anew();
    ExternBook* linked = CurrentWorkbook()->externBooks.AppendDefault();
    ASSERT_TRUE(linked->path.Assign(u"\u041f"));
    EXPECT_EQ(page(), 1251);
    anew();
    linked = CurrentWorkbook()->externBooks.AppendDefault();
    ASSERT_TRUE(linked->sheetNames.AppendDefault()->Assign(u"\u041f"));
    EXPECT_EQ(page(), 1251);
}

TEST_F(FormBounds, TheRegionsSignOfMoneySurvivesAPageThatHasItInFullWidthAlone) {
    for (const char* region : {"zh-CN", "ja-JP", "ko-KR"}) {
        ForgetBooks();
        Region(region);
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        const u16 own = CurrentWorkbook()->codePage;
        std::u16string before[4];
        for (u16 i = 0; i < 4; ++i)
            before[i] = GetNumberFormatText(*CurrentWorkbook(), static_cast<u16>(5 + i));
        EXPECT_NE(before[0].find_first_of(u"\u00A5\u20A9"), std::u16string::npos);
        Save(7);
        EXPECT_EQ(losses, 0u) << region;
        EXPECT_EQ(Find(66)[0].Word(0), own) << region;
        Reopen();
        for (u16 i = 0; i < 4; ++i)
            EXPECT_EQ(GetNumberFormatText(*CurrentWorkbook(), static_cast<u16>(5 + i)), before[i]) << region;
    }
    // Elsewhere the sign is kept in the width that the page has.
    ForgetBooks();
    Region("zh-CN");
    ASSERT_TRUE(CreateWorkbook(nullptr, false));
    PutText(0, 0, u"\u00A5\u4e2d");
    Save(7);
    EXPECT_EQ(losses, u32{LOSS_CHARACTERS});
    Reopen();
    EXPECT_EQ(Shown("A1"), "\xEF\xBF\xA5\xE4\xB8\xAD");
}

}  // namespace
}  // namespace tally
