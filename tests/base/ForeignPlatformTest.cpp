// Names against patterns, the words of a program's line, and what stands until a platform comes.

#include "base/ForeignPlatform.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/Sandbox.h"

namespace tally {
namespace {

TEST(FilePatterns, MatchNames) {
    const struct {
        const char16_t* pattern;
        const char16_t* name;
        bool matches;
    } rows[] = {
        {u"*.*", u"book.xls", true},
        {u"*.*", u"README", true},
        {u"*", u"book.xls", true},
        {u"*.xls", u"book.xls", true},
        {u"*.xls", u"BOOK.XLS", true},
        {u"*.xls", u"book.xlsx", false},
        {u"*.xls", u"xls", false},
        {u"*.xls*", u"book.xlsx", true},
        {u"b??k.xls", u"book.xls", true},
        {u"b?k.xls", u"book.xls", false},
        {u"book.*", u"book", true},
        {u"book.*", u"books", false},
        {u"book.*", u"book.a.b", true},
        {u"*o*k*", u"book", true},
        {u"*o*z*", u"book", false},
        {u"", u"book", false},
        {u"?", u"", false},
        {u"*", u"", true},
        {u"*a*b", u"aab", true},
        {u"*a*b", u"aba", false},
        {u"a", u"aa", false},
        {u"", u"", true},
        {u"a**", u"a", true},
        {u"*a", u"ba", true},
        {u"*ab", u"aab", true},
        {u"*ab*cd", u"aabcacd", true},
        {u"*a?", u"aab", true},
        {u"\u00C9*", u"\u00E9t\u00E9", true},
        {u".*", u"", true},
        {u"b.*", u"a", false},
        {u"a.*.*", u"a.b", false},
        {u"a.*.*", u"a.b.c", true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MatchesFilePattern(row.name, row.pattern), row.matches)
            << Narrow(row.pattern) << " " << Narrow(row.name);
}

TEST(ProgramLines, FallIntoWords) {
    const struct {
        const char16_t* line;
        std::vector<std::string> words;
    } rows[] = {
        {u"a", {"a"}},
        {u"  a\t b  ", {"a", "b"}},
        {u"\"a b\" c", {"a b", "c"}},
        {u"\"a b\"c", {"a b", "c"}},
        {u"a \"b", {"a", "b"}},
        {u"\ta\tb c", {"a", "b", "c"}},
        {u"ab\"c d\"", {"ab\"c", "d\""}},
        {u"\"a\tb\" \"c\"", {"a\tb", "c"}},
        {u"\"\" a", {"", "a"}},
        {u"a; b | $(c) `d`", {"a;", "b", "|", "$(c)", "`d`"}},
    };
    for (const auto& row : rows) {
        WideView rest = row.line;
        for (const std::string& word : row.words)
            EXPECT_EQ(Narrow(NextProgramWord(rest)), word) << Narrow(row.line);
        EXPECT_TRUE(NextProgramWord(rest).empty()) << Narrow(row.line);
        EXPECT_TRUE(rest.empty()) << Narrow(row.line);
    }
}

TEST(ForeignRows, WithoutAPlatformEverythingFails) {
    const ForeignTable* before = &ForeignPlatform();
    SetForeignPlatform(nullptr);
    const ForeignTable& table = ForeignPlatform();
    Array<WideText> names;
    EXPECT_FALSE(table.deleteFile(u"/tmp/x"));
    EXPECT_FALSE(table.listFolder(u"/*.*", 9, names));
    EXPECT_EQ(table.startProcess(u"true", SW_SHOWNORMAL), 0u);
    EXPECT_EQ(table.loadLibrary(u"libm.so.6"), nullptr);
    EXPECT_EQ(table.findProcedure(nullptr, u"sqrt"), nullptr);
    table.freeLibrary(nullptr);
    const ForeignTable other = table;
    SetForeignPlatform(&other);
    EXPECT_EQ(&ForeignPlatform(), &other);
    SetForeignPlatform(before);
    EXPECT_EQ(&ForeignPlatform(), before);
}

}  // namespace
}  // namespace tally
