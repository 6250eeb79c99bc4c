#include "fileio/biff/NarrowText.h"
#include "fileio/biff/SaveState.h"
#include "model/CellStore.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Saving.h"

// Texts of the 95 form: the letters that a page lacks, and names that stay apart.

namespace tally {
namespace {

class NarrowNames : public Saving {
  protected:
    void NewBook() {
        ResetBooks();
        ASSERT_TRUE(CreateWorkbook(nullptr, false));
        CurrentWorkbook()->codePage = CurrentWorkbook()->fileCodePage = 1252;
    }
    // With letters that no page has all of, so that the book stays in its own.
    void NewMixedBook() {
        NewBook();
        PutText(50, 0, u"\u00f1\u0E01\u5B57");
    }
    static std::string SheetNames() {
        std::string out;
        for (const Sheet* sheet : CurrentWorkbook()->sheets) out += Narrow(WideView(sheet->name)) + "|";
        return out;
    }
    static void AddName(WideView text, u16 sheet = 0) {
        DefinedName* name = CurrentWorkbook()->names.AppendDefault();
        ASSERT_TRUE(name->text.Assign(text));
        name->sheet = sheet;
        const u8 one[] = {0x1E, 1, 0};
        ASSERT_TRUE(MakeTokens(name->tokens, one, {}));
    }
    // The names that come back from a save in the 95 form.
    std::string NamesBack() {
        Save(7);
        Reopen();
        std::string out;
        for (const DefinedName& name : CurrentWorkbook()->names) out += Narrow(name.text) + "|";
        return out;
    }
    static std::string Twin(u16 page, std::u16string_view text) {
        WideText out;
        EXPECT_TRUE(WidenTwins(page, text, out));
        return Narrow(out);
    }
};

TEST_F(NarrowNames, WhatAPageLacksIsAnUnderlineAndANumberTellsEqualsApart) {
    NewMixedBook();
    for (const WideView name :
         {u"\u5B57", u"\u6F22", u"_", u"\u4E2D", u"__", u"\u56FD\u56FD", u"a\u5B57", u"A_"})
        AddName(name);
    EXPECT_EQ(NamesBack(), "__2|__3|_|__4|__|___2|a__2|A_|");
    EXPECT_EQ(losses, u32{LOSS_CHARACTERS});
    // A pair of two units is one letter, one without its other half is one, too.
    NewMixedBook();
    for (const WideView name : {u"x\xD83D\xDE00y", u"\xD83Dy", u"\xDE00y", u"y\xD83D"}) AddName(name);
    EXPECT_EQ(NamesBack(), "x_y|_y|_y_2|y_|");
}

TEST_F(NarrowNames, NumbersGoOnBeyondTen) {
    NewMixedBook();
    std::string expected = "_|";
    for (char16_t i = 0; i < 12; ++i) AddName(std::u16string(1, static_cast<char16_t>(0x4E00 + i)));
    for (int i = 2; i <= 12; ++i) expected += "__" + std::to_string(i) + "|";
    EXPECT_EQ(NamesBack(), expected);
}

TEST_F(NarrowNames, NamesOfDifferentSheetsMayBeEqual) {
    NewMixedBook();
    AddSheet(u"Two");
    AddName(u"\u5B57");
    AddName(u"\u6F22", 1);
    AddName(u"\u4E2D", 2);
    AddName(u"_", 2);
    AddName(u"\u56FD", 1);
    EXPECT_EQ(NamesBack(), "_|_|__2|_|__2|");
    // Names of sheets never.
    NewMixedBook();
    AddSheet(u"\u5B57");
    AddSheet(u"\u6F22");
    Save(7);
    Reopen();
    EXPECT_EQ(SheetNames(), "Sheet1|_|__2|");
}

TEST_F(NarrowNames, NamesAreCutToTheBytesThatTheFormHas) {
    NewMixedBook();
    AddName(std::u16string(254, u'\u5B57'));
    AddName(std::u16string(255, u'\u5B57'));
    const std::string cut(250, '_');
    EXPECT_EQ(NamesBack(), cut + "|" + std::string(238, '_') + "_2|");
    // A letter of two bytes counts as two.
    NewMixedBook();
    CurrentWorkbook()->codePage = CurrentWorkbook()->fileCodePage = 932;
    AddName(std::u16string(125, u'\u5B57') + u"\u0E01");
    AddName(std::u16string(124, u'\u5B57') + u"\u0E01");
    std::string letters;
    for (int i = 0; i < 124; ++i) letters += "\xE5\xAD\x97";
    EXPECT_EQ(NamesBack(), letters + "\xE5\xAD\x97|" + letters + "_|");
}

TEST_F(NarrowNames, ALetterBehindAsciiIsOne) {
    // The code 128 has no byte of its own in the western page.
    NewMixedBook();
    AddName(u"a\u0080\u5B57");
    AddName(u"b\u007F");
    EXPECT_EQ(NamesBack(), "a__|b\x7F|");
}

TEST_F(NarrowNames, SignsOfMoneyHaveTwinsInFullWidth) {
    struct Row {
        char16_t narrow, wide;
    };
    for (const Row& row : {Row{0xA2, 0xFFE0},
                           {0xA3, 0xFFE1},
                           {0xA5, 0xFFE5},
                           {0x20A9, 0xFFE6},
                           {0xAC, 0xFFE2},
                           {0xA6, 0xFFE4}}) {
        const std::u16string narrow(1, row.narrow), wide(1, row.wide);
        EXPECT_TRUE(EqualButForTwins(narrow, wide));
        EXPECT_TRUE(EqualButForTwins(u"a" + wide, u"a" + narrow));
        EXPECT_FALSE(EqualButForTwins(narrow, u"a"));
        EXPECT_FALSE(EqualButForTwins(narrow, narrow + u"a"));
        // A page that has the sign leaves it.
        Array<u8> bytes;
        WideText back;
        const bool has = Platform().wideCharToMultiByte(932, narrow, bytes) &&
                         Platform().multiByteToWideChar(932, bytes.Span(), back) && back.View() == narrow;
        EXPECT_EQ(Twin(932, u"x" + narrow + u"y"), Narrow(u"x" + (has ? narrow : wide) + u"y"));
    }
    EXPECT_EQ(Twin(936, u"\u00A5\u5B57q"), "\xEF\xBF\xA5\xE5\xAD\x97q");
    EXPECT_EQ(Twin(1252, u"\u00A5\u5B57q"), "\xC2\xA5\xE5\xAD\x97q");
    EXPECT_FALSE(EqualButForTwins(u"\u00A5", u"\uFFE1"));
}

TEST_F(NarrowNames, ThePageIsChosenByAllLettersAndTwinsCountAsThere) {
    struct Row {
        std::u16string_view text;
        u16 own;
        bool named;
        u16 page;
    };
    // 936 has the signs of pounds and yen in full width alone.
    for (const Row& row : {Row{u"\u00A5\u5B57", 936, true, 936},
                           {u"\u00A5\u00A3\u5B57", 936, true, 936},
                           {u"\u00A5\u5B57\u0E01", 936, true, 936},
                           {u"\u00A5\u5B57\u0E01", 936, false, 936},
                           {u"\u0E01\u0E02\u5B57", 936, true, 936},
                           {u"\u0E01\u0E02\u5B57", 936, false, 874},
                           {u"\u0E01\u0E02", 936, true, 874},
                           {u"\u05D0", 1252, true, 1255},
                           {u"\u0627", 1252, true, 1256},
                           {u"\u0101", 1252, true, 1257},
                           {u"\u01A1", 1252, true, 1258},
                           {u"\u011F", 1252, true, 1254},
                           {u"\u56D6", 1252, true, 936},
                           {u"\xD83D\xDE00", 1252, true, 1252}}) {
        NewBook();
        CurrentWorkbook()->codePage = row.own;
        CurrentWorkbook()->fileCodePage = row.named ? row.own : u16{1200};
        PutText(0, 0, row.text);
        EXPECT_EQ(ChooseCodePage(*CurrentWorkbook()), row.page) << Narrow(row.text) << " " << row.own;
    }
}

TEST_F(NarrowNames, LettersInTextsOfFormulasCountAsFarAsTheyGo) {
    struct Row {
        std::initializer_list<u8> tokens;
        u16 page;
    };
    for (const Row& row : {Row{{0x17, 1, 1, 0x1F, 0x04}, 1251},
                           {{0x17, 1, 0, 0xE9}, 1252},
                           {{0x17, 2, 1, 'a', 0, 0x1F, 0x04}, 1251},
                           {{0x17, 1, 1, 'a', 0, 0x17, 1, 1, 0x1F, 0x04}, 1251},
                           {{0x1E, 0x1F, 0x04, 0x17, 1, 1, 0x1F, 0x04}, 1251},
                           {{0x1E, 0x1F, 0x04}, 1252}}) {
        NewBook();
        FormulaTokens tokens;
        ASSERT_TRUE(MakeTokens(tokens, ByteView(row.tokens.begin(), row.tokens.size()), {}));
        ASSERT_TRUE(InsertCell(*CurrentSheet(), 0, 0, 15, NumberValue(1), tokens));
        EXPECT_EQ(ChooseCodePage(*CurrentWorkbook()), row.page);
    }
}

}  // namespace
}  // namespace tally
