#include <gtest/gtest.h>

#include <set>
#include <string>

#include "base/Text.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/posix/CodePages.h"
#include "platform/posix/Regions.h"

namespace tally {
namespace {

class PlatformText : public testing::Test {
  protected:
    void SetUp() override { UseHeadlessPlatform(); }
    void TearDown() override { ResetHeadlessPlatform(); }
    static std::u16string ToWide(u32 page, std::string_view bytes) {
        WideText out;
        EXPECT_TRUE(Platform().multiByteToWideChar(
            page, ByteView(reinterpret_cast<const u8*>(bytes.data()), bytes.size()), out));
        return std::u16string(out.View());
    }
    static std::string ToBytes(u32 page, WideView text) {
        Array<u8> out;
        EXPECT_TRUE(Platform().wideCharToMultiByte(page, text, out));
        return {reinterpret_cast<const char*>(out.Data()), out.Count()};
    }
    static std::u16string Item(i32 item) {
        WideText out;
        EXPECT_TRUE(Platform().getLocaleInfo(item, out));
        return std::u16string(out.View());
    }
};

TEST_F(PlatformText, CodePagesConvertBothWays) {
    struct Row {
        u32 page;
        std::string_view bytes;
        WideView text;
    };
    const Row rows[] = {
        {1252, "caf\xE9 \x80", u"café €"},
        {936, "A\xD6\xD0\xCE\xC4 1", u"A中文 1"},
        {932, "\x93\xFA\x96\x7B", u"日本"},
        {949, "\xC7\xD1\xB1\xDB", u"한글"},
        {950, "\xA4\xA4\xA4\xE5", u"中文"},
        {1251, "\xCF\xF0\xE8", u"При"},
        {1250, "\xB3\xF3\x9F", u"łóź"},
        {437, "\x81\xE1", u"üß"},
        {850, "\x81\xE1", u"üß"},
        {10000, "\x8A\xA7", u"äß"},
        {28591, "\xE4", u"ä"},
        {65001, "\xE4\xB8\xAD", u"中"},
        {54936, "\xD6\xD0\x95\x32\x82\x39", u"中𠀃"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ToWide(row.page, row.bytes), row.text) << row.page;
        EXPECT_EQ(ToBytes(row.page, row.text), row.bytes) << row.page;
    }
}

TEST_F(PlatformText, PageZeroIsThatOfTheRegion) {
    EXPECT_EQ(ToWide(0, "\xE9"), u"é");
    ASSERT_TRUE(SetHeadlessRegion("zh-CN"));
    EXPECT_EQ(ToWide(0, "\xD6\xD0"), u"中");
    EXPECT_TRUE(Platform().isDBCSLeadByteEx(0, 0xD6));
    EXPECT_FALSE(Platform().isDBCSLeadByteEx(1252, 0xD6));
    EXPECT_FALSE(Platform().isDBCSLeadByteEx(65001, 0xD6));
}

TEST_F(PlatformText, UnknownPagesFail) {
    WideText out;
    const u8 high[2] = {0x80, 0x81};
    EXPECT_FALSE(Platform().multiByteToWideChar(12345, ByteView(high), out));
    EXPECT_FALSE(Platform().isValidCodePage(12345));
    EXPECT_TRUE(Platform().isValidCodePage(1252));
    EXPECT_TRUE(Platform().isValidCodePage(65001));
}

TEST_F(PlatformText, LongTextsCrossTheChunksOfTheConverter) {
    const std::u16string text(5000, u'é');
    const std::string bytes = ToBytes(1252, text);
    EXPECT_EQ(bytes, std::string(5000, '\xE9'));
    EXPECT_EQ(ToWide(1252, bytes), text);
}

TEST_F(PlatformText, RegionsAnswerEveryItem) {
    for (const char* tag : {"en-US", "en-GB", "zh-CN", "zh-TW", "ja-JP", "ko-KR", "de-DE", "fr-FR", "es-ES",
                            "it-IT", "nl-NL", "pt-BR", "ru-RU", "pl-PL", "sv-SE"}) {
        ASSERT_TRUE(SetHeadlessRegion(tag));
        for (i32 item :
             {LOCALE_SLIST, LOCALE_SDECIMAL, LOCALE_STHOUSAND, LOCALE_SCURRENCY, LOCALE_SDATE, LOCALE_STIME,
              LOCALE_SSHORTDATE, LOCALE_ICURRDIGITS, LOCALE_INEGCURR, LOCALE_IDATE, LOCALE_ITLZERO}) {
            EXPECT_FALSE(Item(item).empty()) << tag << " " << item;
        }
        std::set<std::u16string> days, months;
        for (i32 i = 0; i < 7; ++i) days.insert(Item(LOCALE_SDAYNAME1 + i));
        for (i32 i = 0; i < 12; ++i) months.insert(Item(LOCALE_SMONTHNAME1 + i));
        EXPECT_EQ(days.size(), 7u) << tag;
        EXPECT_EQ(months.size(), 12u) << tag;
        EXPECT_FALSE(days.count(u"")) << tag;
        EXPECT_FALSE(Item(LOCALE_SABBREVMONTHNAME1 + 11).empty()) << tag;
        EXPECT_FALSE(Item(LOCALE_SABBREVDAYNAME1 + 6).empty()) << tag;
    }
    WideText out;
    EXPECT_FALSE(Platform().getLocaleInfo(9999, out));
}

TEST_F(PlatformText, RegionFollowsTheLanguageWhenTheCountryIsUnknown) {
    ASSERT_TRUE(SetHeadlessRegion("de-AT"));
    EXPECT_STREQ(Platform().localeTag(), "de-DE");
    EXPECT_EQ(Item(LOCALE_SDECIMAL), u",");
    EXPECT_EQ(Item(LOCALE_SMONTHNAME1 + 2), u"März");
    EXPECT_FALSE(SetHeadlessRegion("xx-XX"));
    EXPECT_FALSE(SetHeadlessRegion(""));
    EXPECT_STREQ(Platform().localeTag(), "de-DE");
}

TEST_F(PlatformText, EnvironmentNamesTheRegion) {
    struct Row {
        const char* variable;
        const char* expected;
    };
    for (const Row& row : {Row{"de_DE.UTF-8", "de-DE"}, Row{"zh_CN@pinyin", "zh-CN"}, Row{"C", "en-US"},
                           Row{"", "en-US"}, Row{"sv", "sv"}}) {
        setenv("LC_ALL", row.variable, 1);
        unsetenv("LC_NUMERIC");
        unsetenv("LANG");
        char tag[36];
        RegionTagFromEnvironment(tag);
        EXPECT_STREQ(tag, row.expected);
    }
    unsetenv("LC_ALL");
}

TEST_F(PlatformText, BoxesAreRecordedAndAnsweredFromTheScript) {
    ASSERT_TRUE(Headless().answers.Append(IDYES));
    EXPECT_EQ(Platform().messageBox(u"save?", u"t", MB_YESNOCANCEL), IDYES);
    EXPECT_EQ(Platform().messageBox(u"save?", u"t", MB_YESNOCANCEL), IDCANCEL);
    EXPECT_EQ(Platform().messageBox(u"sure?", u"t", MB_YESNO), IDNO);
    ShowMessageWith(u"不能读取文件\n%s", u"a.xls");
    ASSERT_EQ(Headless().boxes.Count(), 4u);
    EXPECT_EQ(Headless().boxes[3].text.View(), u"不能读取文件\na.xls");
    EXPECT_EQ(Headless().boxes[3].title.View(), PROGRAM_NAME);
}

TEST_F(PlatformText, MemoryFilesAndFailuresOnDemand) {
    Headless().filesInMemory = true;
    const OutputHandle file = Platform().createFile(u"a.csv");
    ASSERT_NE(file, 0);
    ASSERT_TRUE(Platform().writeFile(file, "abc", 3));
    ASSERT_TRUE(Platform().patchFile(file, 1, "X", 1));
    EXPECT_EQ(FindMemoryFile(u"a.csv"), nullptr);
    ASSERT_TRUE(Platform().closeFile(file));
    Array<u8> bytes;
    ASSERT_TRUE(Platform().readFile(u"a.csv", bytes));
    ASSERT_EQ(bytes.Count(), 3u);
    EXPECT_EQ(bytes[1], 'X');
    // The second operation from now fails: create works, write does not, and the file stays.
    Headless().failFileOperation = Headless().fileOperations + 2;
    const OutputHandle again = Platform().createFile(u"a.csv");
    ASSERT_NE(again, 0);
    EXPECT_FALSE(Platform().writeFile(again, "zz", 2));
    Platform().abandonFile(again);
    ASSERT_TRUE(Platform().readFile(u"a.csv", bytes));
    EXPECT_EQ(bytes.Count(), 3u);
}

TEST(SessionLanguage, ChineseSessionsReadChineseAndAllOthersEnglish) {
    const struct {
        const char *own, *all, *messages, *lang;
        Language language;
    } rows[] = {
        {nullptr, nullptr, nullptr, nullptr, LANGUAGE_ENGLISH},
        {nullptr, nullptr, nullptr, "zh_CN.UTF-8", LANGUAGE_CHINESE},
        {nullptr, nullptr, nullptr, "zh", LANGUAGE_CHINESE},
        {nullptr, nullptr, nullptr, "zh.utf8", LANGUAGE_CHINESE},
        {nullptr, nullptr, nullptr, "zh@pinyin", LANGUAGE_CHINESE},
        {nullptr, nullptr, nullptr, "zha_CN", LANGUAGE_ENGLISH},
        {nullptr, nullptr, nullptr, "de_DE.UTF-8", LANGUAGE_ENGLISH},
        {nullptr, nullptr, "zh_TW", "en_US.UTF-8", LANGUAGE_CHINESE},
        {nullptr, nullptr, "en_US.UTF-8", "zh_CN.UTF-8", LANGUAGE_ENGLISH},
        {nullptr, "C", "zh_CN", "zh_CN", LANGUAGE_ENGLISH},
        {nullptr, "zh_CN.UTF-8", "en_US", "en_US", LANGUAGE_CHINESE},
        {nullptr, "", "", "zh_CN", LANGUAGE_CHINESE},
        {"zh", "C", nullptr, "en_US", LANGUAGE_CHINESE},
        {"en", "zh_CN", nullptr, nullptr, LANGUAGE_ENGLISH},
        {"", "zh_CN", nullptr, nullptr, LANGUAGE_CHINESE},
        {"klingon", "zh_CN", nullptr, nullptr, LANGUAGE_CHINESE},
    };
    const auto put = [](const char* name, const char* value) {
        value ? setenv(name, value, 1) : unsetenv(name);
    };
    for (const auto& row : rows) {
        put("TALLYMAN_LANGUAGE", row.own);
        put("LC_ALL", row.all);
        put("LC_MESSAGES", row.messages);
        put("LANG", row.lang);
        EXPECT_EQ(LanguageFromEnvironment(), row.language)
            << (row.own ? row.own : "-") << ' ' << (row.all ? row.all : "-") << ' '
            << (row.messages ? row.messages : "-") << ' ' << (row.lang ? row.lang : "-");
    }
    for (const char* name : {"TALLYMAN_LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) unsetenv(name);
}

}  // namespace
}  // namespace tally
