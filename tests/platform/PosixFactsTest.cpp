#include <gtest/gtest.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/Text.h"
#include "platform/headless/HeadlessPlatform.h"
#include "platform/posix/CodePages.h"
#include "platform/posix/NamedTemporaries.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/Regions.h"
#include "platform/posix/SystemFacts.h"

// What regions, code pages and the system itself are told to be.

namespace tally {
namespace {

namespace fs = std::filesystem;

std::string Utf8(WideView text) {
    std::string out(Utf8Length(text), '\0');
    Utf8FromWide(text, out.data());
    return out;
}

std::string Item(const Region& region, i32 item) {
    WideText out;
    EXPECT_TRUE(RegionItem(region, item, out)) << item;
    return Utf8(out);
}

TEST(Regions, HaveTheirSignsAndOrders) {
    constexpr i32 items[] = {LOCALE_SDECIMAL,    LOCALE_STHOUSAND, LOCALE_SLIST,  LOCALE_SCURRENCY,
                             LOCALE_ICURRDIGITS, LOCALE_INEGCURR,  LOCALE_SDATE,  LOCALE_STIME,
                             LOCALE_SSHORTDATE,  LOCALE_IDATE,     LOCALE_ITLZERO};
    const struct {
        const char* tag;
        u32 page;
        const char* shown[std::size(items)];
    } rows[] = {
        {"en-US", 1252, {".", ",", ",", "$", "2", "0", "/", ":", "M/d/yyyy", "0", "0"}},
        {"en-GB", 1252, {".", ",", ",", "£", "2", "1", "/", ":", "dd/MM/yyyy", "1", "1"}},
        {"zh-CN", 936, {".", ",", ",", "¥", "2", "2", "/", ":", "yyyy/M/d", "2", "0"}},
        {"zh-TW", 950, {".", ",", ",", "NT$", "2", "1", "/", ":", "yyyy/M/d", "2", "1"}},
        {"ja-JP", 932, {".", ",", ",", "¥", "0", "1", "/", ":", "yyyy/MM/dd", "2", "0"}},
        {"ko-KR", 949, {".", ",", ",", "₩", "0", "1", "-", ":", "yyyy-MM-dd", "2", "0"}},
        {"de-DE", 1252, {",", ".", ";", "€", "2", "8", ".", ":", "dd.MM.yyyy", "1", "1"}},
        {"fr-FR", 1252, {",", "\u00A0", ";", "€", "2", "8", "/", ":", "dd/MM/yyyy", "1", "1"}},
        {"es-ES", 1252, {",", ".", ";", "€", "2", "8", "/", ":", "dd/MM/yyyy", "1", "0"}},
        {"it-IT", 1252, {",", ".", ";", "€", "2", "8", "/", ":", "dd/MM/yyyy", "1", "1"}},
        {"nl-NL", 1252, {",", ".", ";", "€", "2", "12", "-", ":", "d-M-yyyy", "1", "1"}},
        {"pt-BR", 1252, {",", ".", ";", "R$", "2", "9", "/", ":", "dd/MM/yyyy", "1", "1"}},
        {"ru-RU", 1251, {",", "\u00A0", ";", "₽", "2", "8", ".", ":", "dd.MM.yyyy", "1", "0"}},
        {"pl-PL", 1250, {",", "\u00A0", ";", "zł", "2", "8", ".", ":", "dd.MM.yyyy", "1", "1"}},
        {"sv-SE", 1252, {",", "\u00A0", ";", "kr", "2", "8", "-", ":", "yyyy-MM-dd", "2", "1"}},
    };
    for (const auto& row : rows) {
        bool exact = false;
        const Region& region = FindRegion(row.tag, &exact);
        EXPECT_TRUE(exact);
        EXPECT_STREQ(region.tag, row.tag);
        EXPECT_EQ(region.ansiCodePage, row.page) << row.tag;
        for (std::size_t i = 0; i < std::size(items); ++i)
            EXPECT_EQ(Item(region, items[i]), row.shown[i]) << row.tag << " " << items[i];
    }
}

TEST(Regions, CountDaysFromMondayAndMonthsFromJanuary) {
    const Region& english = FindRegion("en-US", nullptr);
    const char* days[] = {"Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};
    const char* months[] = {"January", "February", "March",     "April",   "May",      "June",
                            "July",    "August",   "September", "October", "November", "December"};
    for (i32 i = 0; i < 7; ++i) {
        EXPECT_EQ(Item(english, LOCALE_SDAYNAME1 + i), days[i]);
        EXPECT_EQ(Item(english, LOCALE_SABBREVDAYNAME1 + i), std::string(days[i]).substr(0, 3));
    }
    for (i32 i = 0; i < 12; ++i) {
        EXPECT_EQ(Item(english, LOCALE_SMONTHNAME1 + i), months[i]);
        EXPECT_EQ(Item(english, LOCALE_SABBREVMONTHNAME1 + i), std::string(months[i]).substr(0, 3));
    }
    EXPECT_EQ(Item(english, LOCALE_S1159), "AM");
    EXPECT_EQ(Item(english, LOCALE_S2359), "PM");
    const Region& german = FindRegion("de-DE", nullptr);
    EXPECT_EQ(Item(german, LOCALE_SDAYNAME1 + 6), "Sonntag");
    EXPECT_EQ(Item(german, LOCALE_S1159), "");
    WideText out;
    for (const i32 unknown : {0, LOCALE_SABBREVMONTHNAME1 + 12, 99999})
        EXPECT_FALSE(RegionItem(english, unknown, out)) << unknown;
}

TEST(Regions, AreFoundByTheirLanguageToo) {
    const struct {
        const char* tag;
        const char* found;
        bool exact;
    } rows[] = {{"de-AT", "de-DE", true},   {"de", "de-DE", true},    {"en", "en-US", true},
                {"en-AU", "en-US", true},   {"zh-HK", "zh-CN", true}, {"xx-YY", "en-US", false},
                {"", "en-US", false},       {"-DE", "en-US", false},  {"d", "en-US", false},
                {"deu-DE", "en-US", false}, {"zh-TW", "zh-TW", true}};
    for (const auto& row : rows) {
        bool exact = !row.exact;
        EXPECT_STREQ(FindRegion(row.tag, &exact).tag, row.found) << row.tag;
        EXPECT_EQ(exact, row.exact) << row.tag;
    }
}

TEST(Regions, TheEnvironmentIsAskedInItsOrder) {
    const struct {
        const char* all;
        const char* numeric;
        const char* lang;
        const char* expected;
    } rows[] = {
        {"de_DE", "fr_FR", "sv_SE", "de-DE"},
        {"", "fr_FR", "sv_SE", "fr-FR"},
        {nullptr, "", "sv_SE.UTF-8", "sv-SE"},
        {nullptr, nullptr, nullptr, "en-US"},
        {"POSIX", "fr_FR", "", "en-US"},
        {"C.UTF-8", nullptr, nullptr, "en-US"},
        {"Cx", nullptr, nullptr, "Cx"},
        {".UTF-8", nullptr, nullptr, "en-US"},
        {"a234567890123456789012345678901234567890", nullptr, nullptr, "a2345678901234567890123456789012345"},
    };
    const char* names[] = {"LC_ALL", "LC_NUMERIC", "LANG"};
    for (const auto& row : rows) {
        const char* values[] = {row.all, row.numeric, row.lang};
        for (i32 i = 0; i < 3; ++i) values[i] ? setenv(names[i], values[i], 1) : unsetenv(names[i]);
        char tag[36];
        RegionTagFromEnvironment(tag);
        EXPECT_STREQ(tag, row.expected);
    }
    for (const char* name : names) unsetenv(name);
}

class CodePages : public testing::Test {
  protected:
    void SetUp() override { UseHeadlessPlatform(); }
    void TearDown() override { ResetHeadlessPlatform(); }
    static std::string Bytes(u32 page, WideView text) {
        Array<u8> out;
        EXPECT_TRUE(IcuToBytes(page, text, out)) << page;
        return {reinterpret_cast<const char*>(out.Data()), out.Count()};
    }
    static std::string Text(u32 page, std::string_view bytes) {
        WideText out;
        EXPECT_TRUE(IcuToWide(page, ByteView(reinterpret_cast<const u8*>(bytes.data()), bytes.size()), out))
            << page;
        return Utf8(out);
    }
};

TEST_F(CodePages, OfManyNumbersAreKnownByTheirTables) {
    const struct {
        u32 page;
        std::string_view bytes;
        const char* text;
    } rows[] = {
        {708, "\xC7", "ا"},
        {720, "\x9F", "ا"},
        {874, "\xA1", "ก"},
        {1201, {"\0A", 2}, "A"},
        {1200, {"A\0", 2}, "A"},
        {10006, "\xE1", "α"},
        {10007, "\x80", "А"},
        {10029, "\x8A", "ä"},
        {10081, "\xDD", "ı"},
        {20127, "A", "A"},
        {20866, "\xC1", "а"},
        {21866, "\xC1", "а"},
        {20932, "\xC6\xFC", "日"},
        {51932, "\xC6\xFC", "日"},
        {51949, "\xC7\xD1", "한"},
        {51936, "\xD6\xD0", "中"},
        {32768, "\x8A", "ä"},
        {32769, "\xE4", "ä"},
        {50220, "\x1B$B\x46\x7C\x1B(B", "日"},
        {52936, "~{VP~}", "中"},
        {65000, "+AOQ-", "ä"},
        {28592, "\xB1", "ą"},
        {28605, "\xA4", "€"},
        {1257, "\xE0", "ą"},
        {1258, "\xFE", "₫"},
        {866, "\xA0", "а"},
    };
    for (const auto& row : rows) EXPECT_EQ(Text(row.page, row.bytes), row.text) << row.page;
    for (const u32 page : {37u, 500u}) EXPECT_EQ(Text(page, "\xC1"), "A") << page;
    for (const u32 page : {1361u, 28590u, 28606u, 873u, 1249u, 1259u, 99999u}) {
        WideText out;
        const u8 high = 0xE4;
        EXPECT_FALSE(IcuIsValidCodePage(page)) << page;
        EXPECT_FALSE(IcuToWide(page, ByteView(&high, 1), out)) << page;
        Array<u8> bytes;
        EXPECT_FALSE(IcuToBytes(page, u"x", bytes)) << page;
    }
    // Whatever the page, letters below 128 need no table.
    EXPECT_EQ(Text(99999, "plain"), "plain");
}

TEST_F(CodePages, WhatAPageLacksIsAQuestionMark) {
    for (const u32 page : {1252u, 936u, 932u, 437u, 1251u, 10000u, 20127u})
        EXPECT_EQ(Bytes(page, u"a\u0E01b"), "a?b") << page;
    EXPECT_EQ(Bytes(65001, u"a\u0E01b"), "a\u0E01b");
    EXPECT_EQ(Bytes(65001, u""), "");
}

TEST_F(CodePages, LeadBytesStandInTheirRanges) {
    const struct {
        u32 page;
        std::vector<std::pair<int, int>> ranges;
    } rows[] = {{932, {{0x81, 0x9F}, {0xE0, 0xFC}}},
                {936, {{0x81, 0xFE}}},
                {949, {{0x81, 0xFE}}},
                {950, {{0x81, 0xFE}}},
                {1361, {}},
                {1252, {}},
                {65001, {}},
                {20932, {}}};
    for (const auto& row : rows) {
        for (int byte = 0; byte < 256; ++byte) {
            bool leads = false;
            for (const auto& [first, last] : row.ranges) leads = leads || (byte >= first && byte <= last);
            EXPECT_EQ(IcuIsLeadByte(row.page, static_cast<u8>(byte)), leads) << row.page << " " << byte;
        }
    }
}

// More pages than converters are kept, in turn and again, each from its beginning.
TEST_F(CodePages, TakeTurns) {
    const std::pair<u32, const char*> pages[] = {{1252, "é"}, {1251, "й"}, {1250, "é"},
                                                 {1253, "ι"}, {437, "Θ"},  {1254, "é"}};
    for (int round = 0; round < 3; ++round) {
        for (const auto& [page, text] : pages) EXPECT_EQ(Text(page, "\xE9"), text) << page;
        EXPECT_EQ(Bytes(50220, u"日"), "\x1B$B\x46\x7C\x1B(B");
        EXPECT_EQ(Text(50220, "\x1B$B\x46\x7C"), "日");
        EXPECT_EQ(Text(50220, "F|"), "F|");
    }
    ResetCodePages();
    EXPECT_EQ(Text(1252, "\xE9"), "é");
}

TEST_F(CodePages, LongTextsOfAnyLengthCrossTheChunks) {
    for (const std::size_t length : {0u, 1u, 255u, 256u, 511u, 512u, 513u, 1024u, 1025u}) {
        const std::string bytes(length, '\xE9');
        std::string text;
        for (std::size_t i = 0; i < length; ++i) text += "é";
        EXPECT_EQ(Text(1252, bytes), text) << length;
        EXPECT_EQ(Text(1252, "plain " + bytes), "plain " + text) << length;
        EXPECT_EQ(Bytes(1252, std::u16string(length, u'é')), bytes) << length;
        EXPECT_EQ(Bytes(936, std::u16string(length, u'中')).size(), 2 * length) << length;
    }
    // Appended to what is there.
    Array<u8> out;
    ASSERT_TRUE(IcuToBytes(1252, u"a", out) && IcuToBytes(1252, u"é", out) && IcuToBytes(65001, u"é", out));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.Data()), out.Count()), "a\xE9\xC3\xA9");
}

TEST(SystemFacts, AreThoseOfTheSystem) {
    u64 total = 0, available = 0;
    ASSERT_TRUE(PosixMemoryStatus(total, available));
    std::ifstream in("/proc/meminfo");
    std::string word;
    u64 kilobytes = 0;
    in >> word >> kilobytes;
    ASSERT_EQ(word, "MemTotal:");
    EXPECT_EQ(total, kilobytes * 1024);
    EXPECT_GT(available, 0u);
    EXPECT_LT(available, total);
    utsname names;
    ASSERT_EQ(uname(&names), 0);
    u32 major = 0, minor = 0, wantedMajor = 0, wantedMinor = 0;
    ASSERT_TRUE(PosixVersion(major, minor));
    ASSERT_EQ(std::sscanf(names.release, "%u.%u", &wantedMajor, &wantedMinor), 2);
    EXPECT_EQ(major, wantedMajor);
    EXPECT_EQ(minor, wantedMinor);
    WideText path;
    ASSERT_TRUE(PosixCurrentDirectory(path));
    EXPECT_EQ(Utf8(path), fs::current_path().string());
    ASSERT_TRUE(PosixProgramDirectory(path));
    EXPECT_EQ(Utf8(path), fs::read_symlink("/proc/self/exe").parent_path().string() + "/");
}

TEST(Temporaries, LeaveASignalThatIsIgnoredAsItIs) {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGHUP, SIG_IGN);
        IgnoreFailure(NoteTemporary("/nowhere/at/all"));
        raise(SIGHUP);
        _exit(7);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
}

TEST(Temporaries, HaveSoManyPlacesAndGiveThemBack) {
    const char* names[9] = {"/nowhere/1", "/nowhere/2", "/nowhere/3", "/nowhere/4", "/nowhere/5",
                            "/nowhere/6", "/nowhere/7", "/nowhere/8", "/nowhere/9"};
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 8; ++i) EXPECT_TRUE(NoteTemporary(names[i])) << i;
        EXPECT_FALSE(NoteTemporary(names[8]));
        ForgetTemporary(names[8]);
        EXPECT_FALSE(NoteTemporary(names[8]));
        ForgetTemporary(names[3]);
        EXPECT_TRUE(NoteTemporary(names[8]));
        EXPECT_FALSE(NoteTemporary(names[3]));
        for (const char* name : names) ForgetTemporary(name);
    }
}

// A signal takes all of them along, and leaves alone what was forgotten; one that is ignored ends nothing.
TEST(Temporaries, GoWithTheProcess) {
    std::string folder = (fs::temp_directory_path() / "tallyman-facts-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    for (const int number : {SIGTERM}) {
        std::string paths[3];
        for (int i = 0; i < 3; ++i) std::ofstream(paths[i] = folder + "/" + std::to_string(i)) << "x";
        const pid_t child = fork();
        if (child == 0) {
            signal(SIGUSR1, SIG_IGN);
            for (const std::string& path : paths) IgnoreFailure(NoteTemporary(path.c_str()));
            ForgetTemporary(paths[1].c_str());
            raise(SIGUSR1);
            raise(number);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << number;
        EXPECT_FALSE(fs::exists(paths[0])) << number;
        EXPECT_TRUE(fs::exists(paths[1])) << number;
        EXPECT_FALSE(fs::exists(paths[2])) << number;
    }
    fs::remove_all(folder);
}

}  // namespace
}  // namespace tally
