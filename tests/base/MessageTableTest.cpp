// The texts of both languages beside each other.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/MessageRows.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

class MessageTableTest : public testing::Test {
  protected:
    void TearDown() override { ResetLanguage(); }
};

// What a text has to have in both languages, in its order: places to be filled in, lines.
std::u16string Skeleton(WideView text) {
    std::u16string all;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\n') all += u'\n';
        if (text[i] == u'%' && i + 1 < text.size() && (text[i + 1] == u's' || text[i + 1] == u'd'))
            all += text.substr(i, 2);
    }
    return all;
}

// The letter that leads to an item or a field: how many, and whether it is at all.
std::size_t Letters(WideView text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), u'&'));
}

bool Asks(WideView text) { return text.find(u"...") != WideView::npos; }
WideView KeyOf(WideView text) { return text.substr(std::min(text.find(u'\t'), text.size())); }

bool IsForeignToEnglish(char16_t c) { return c > 0x7E; }

constexpr u16 FIRST_LABEL = 1100,
              LAST_LABEL = 1999;  // buttons, menus and forms, where "&" stands before a letter

TEST_F(MessageTableTest, BothLanguagesHoldTheSameNumbers) {
    const auto chinese = ChineseRows(), english = EnglishRows();
    ASSERT_EQ(chinese.size(), english.size());
    for (std::size_t i = 0; i < chinese.size(); ++i) EXPECT_EQ(chinese[i].number, english[i].number) << i;
    EXPECT_TRUE(AreMessageRowsSound(chinese));
    EXPECT_TRUE(AreMessageRowsSound(english));
}

TEST_F(MessageTableTest, ATextThatIsNotThereOrStandsTwiceIsFound) {
    constexpr MessageRow good[] = {{1, u"a"}, {3, u"b"}}, twice[] = {{1, u"a"}, {1, u"b"}},
                         back[] = {{3, u"a"}, {1, u"b"}}, empty[] = {{1, u"a"}, {2, u""}};
    EXPECT_TRUE(AreMessageRowsSound(good));
    EXPECT_FALSE(AreMessageRowsSound(twice));
    EXPECT_FALSE(AreMessageRowsSound(back));
    EXPECT_FALSE(AreMessageRowsSound(empty));
}

TEST_F(MessageTableTest, TextsAgreeInWhatIsFilledInAndInTheirMarks) {
    for (const MessageRow& row : ChineseRows()) {
        SetLanguage(LANGUAGE_ENGLISH);
        const WideView english = Message(row.number);
        EXPECT_EQ(Skeleton(row.text), Skeleton(english)) << Narrow(english);
        EXPECT_EQ(Asks(row.text), Asks(english)) << Narrow(english);
        EXPECT_EQ(KeyOf(row.text), KeyOf(english)) << Narrow(english);
        EXPECT_EQ(row.text.back() == u':', english.back() == u':') << Narrow(english);
        if (row.number < FIRST_LABEL || row.number > LAST_LABEL) continue;
        EXPECT_EQ(Letters(row.text), Letters(english)) << Narrow(english);
        EXPECT_LE(Letters(english), 1u) << Narrow(english);
        EXPECT_NE(english.back(), u'&') << Narrow(english);
    }
}

TEST_F(MessageTableTest, EnglishTextsAreWrittenInItsLetters) {
    for (const MessageRow& row : EnglishRows())
        EXPECT_TRUE(std::none_of(row.text.begin(), row.text.end(), IsForeignToEnglish)) << Narrow(row.text);
}

TEST_F(MessageTableTest, TheTextIsThatOfTheLanguageInForce) {
    EXPECT_EQ(CurrentLanguage(), LANGUAGE_CHINESE);
    EXPECT_EQ(Message(MSG_OUT_OF_MEMORY), u"内存不足");
    SetLanguage(LANGUAGE_ENGLISH);
    EXPECT_EQ(CurrentLanguage(), LANGUAGE_ENGLISH);
    EXPECT_EQ(Message(MSG_OUT_OF_MEMORY), u"Out of memory");
    EXPECT_EQ(Message(static_cast<u16>(MSG_UNDO_FIRST + 4)), u"Delete Rows");
    EXPECT_EQ(Message(static_cast<u16>(MSG_CATEGORY_FIRST + 1)), u"Financial");
    EXPECT_EQ(Message(0), WideView());
    for (const int unknown : {int{LANGUAGE_COUNT}, 7, 255}) {
        SetLanguage(LANGUAGE_ENGLISH);
        SetLanguage(static_cast<Language>(unknown));
        EXPECT_EQ(CurrentLanguage(), LANGUAGE_CHINESE) << unknown;
    }
    SetLanguage(LANGUAGE_ENGLISH);
    ResetLanguage();
    EXPECT_EQ(CurrentLanguage(), LANGUAGE_CHINESE);
}

TEST_F(MessageTableTest, EveryNumberFindsItsOwnTextAndTheOthersNone) {
    for (const Language language : {LANGUAGE_CHINESE, LANGUAGE_ENGLISH}) {
        SetLanguage(language);
        const auto rows = language == LANGUAGE_CHINESE ? ChineseRows() : EnglishRows();
        std::size_t next = 0;
        for (u32 number = 0; number <= 0xFFFF; ++number) {
            const bool stands = next < rows.size() && rows[next].number == number;
            ASSERT_EQ(Message(static_cast<u16>(number)), stands ? rows[next].text : WideView()) << number;
            next += stands;
        }
        EXPECT_EQ(next, rows.size());
    }
}

// Where a number is the first of a row of them, the last one stands as well.
TEST_F(MessageTableTest, NumbersThatAreCountedFromAFirstOneAreComplete) {
    const struct {
        u16 first, count;
    } rows[] = {{MSG_UNDO_FIRST, 59},
                {MSG_CATEGORY_FIRST, 13},
                {MSG_TRUST_USE_FIRST, 7},
                {MSG_LOSS_FIRST, 28},
                {MSG_AGGREGATE_FIRST, 7}};
    for (const auto& row : rows)
        for (u16 i = 0; i < row.count; ++i)
            EXPECT_FALSE(Message(static_cast<u16>(row.first + i)).empty()) << row.first + i;
}

}  // namespace
}  // namespace tally
